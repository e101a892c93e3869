// Memory sizes, version text and environment for the system functions of the language.
#include "system/system_info.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/error.h"
#include "base/internal/utf.h"
#include "base/tstring.h"
#include "system/emulation.h"
#include "system/internal/utf8.h"

extern "C" char** environ;

// ---------------------------------------------------------------- memory

int nTailleSur32Bits(uint64_t nTaille) noexcept {
    return nTaille > static_cast<uint64_t>(INT_MAX) ? INT_MAX : static_cast<int>(nTaille);
}

namespace {

bool bLitStatut(_MEMORYSTATUSEX* pstStatut, CXError* pclErreur) noexcept {
    if (GlobalMemoryStatusEx(pstStatut)) return true;
    const int nErrno = errno;
    if (pclErreur != nullptr) {
        pclErreur->SetUserError(&gstMyModuleInfo8, 80140);
        errno = nErrno;  // the system message follows errno
        pclErreur->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        pclErreur->AddDebugMessageNoFormat(L"##(SysEspace)-memory status unreadable##");
    }
    return false;
}

}  // namespace

bool bSysEspaceTotal(uint64_t* pnTaille, CXError* pclErreur) noexcept {
    *pnTaille = 0;
    _MEMORYSTATUSEX st;
    if (!bLitStatut(&st, pclErreur)) return false;
    *pnTaille = st.ullTotalPhys;
    return true;
}

bool bSysEspace(int nType, uint64_t* pnTaille, CXError* pclErreur) noexcept {
    *pnTaille = 0;
    if (nType != SYS_ESPACE_MEMOIRE_LIBRE && nType != SYS_ESPACE_MEMOIRE_VIRTUELLE) {
        if (pclErreur != nullptr) pclErreur->SetUserError(&gstMyModuleInfo8, 80145, nType);
        return false;
    }
    _MEMORYSTATUSEX st;
    if (!bLitStatut(&st, pclErreur)) return false;
    *pnTaille = nType == SYS_ESPACE_MEMOIRE_LIBRE ? st.ullAvailPhys : st.ullTotalVirtual;
    return true;
}

// ---------------------------------------------------------------- version

namespace {

// Appends UTF-8 bytes as wide characters, never writing past the last slot (kept for the
// terminator). Answers the new length.
size_t nAjouteUtf8(wchar_t* pszTexte, size_t nLongueur, size_t nTaille, const char* pszAjout, size_t nOctets) noexcept {
    if (nLongueur + 1 >= nTaille) return nLongueur;
    const size_t nPlace = nTaille - 1 - nLongueur;
    const size_t n = base_internal::nUtf8VersWide(pszAjout, nOctets, pszTexte + nLongueur, nPlace);
    return nLongueur + (n < nPlace ? n : nPlace);
}

// The n-th (from 0) run of digits among the dot-separated numbers that open the release text;
// false when the release has fewer.
bool bNombreVersion(const char* pszRelease, int nIndex, const char** ppszDebut, size_t* pnOctets) noexcept {
    const char* psz = pszRelease;
    for (int i = 0;; ++i) {
        const char* pszDebut = psz;
        while (*psz >= '0' && *psz <= '9') ++psz;
        if (psz == pszDebut) return false;
        if (i == nIndex) {
            *ppszDebut = pszDebut;
            *pnOctets = static_cast<size_t>(psz - pszDebut);
            return true;
        }
        if (*psz != '.') return false;
        ++psz;
    }
}

}  // namespace

bool bFormateVersion(const struct utsname& stSysteme, int nType, wchar_t* pszTexte, size_t nTaille) noexcept {
    if (pszTexte == nullptr || nTaille == 0) return false;
    pszTexte[0] = 0;
    size_t n = 0;
    const char* pszNombre = nullptr;
    size_t nOctets = 0;
    auto Ajoute = [&](const char* psz, size_t nLongueur) { n = nAjouteUtf8(pszTexte, n, nTaille, psz, nLongueur); };
    switch (nType) {
        case SYS_VERSION_COMPLETE:
            Ajoute(stSysteme.sysname, std::strlen(stSysteme.sysname));
            Ajoute(" ", 1);
            Ajoute(stSysteme.release, std::strlen(stSysteme.release));
            Ajoute(" ", 1);
            Ajoute(stSysteme.version, std::strlen(stSysteme.version));
            break;
        case SYS_VERSION_NUMERO:
            if (bNombreVersion(stSysteme.release, 0, &pszNombre, &nOctets)) {
                Ajoute(pszNombre, nOctets);
                if (bNombreVersion(stSysteme.release, 1, &pszNombre, &nOctets)) {
                    Ajoute(".", 1);
                    Ajoute(pszNombre, nOctets);
                }
            }
            break;
        case SYS_VERSION_BUILD:
            if (bNombreVersion(stSysteme.release, 2, &pszNombre, &nOctets))
                Ajoute(pszNombre, nOctets);
            else
                Ajoute("0", 1);
            break;
        default:
            return false;
    }
    pszTexte[n] = 0;
    return true;
}

bool bVersionWindows(int nType, wchar_t* pszTexte, size_t nTaille) noexcept {
    if (pszTexte != nullptr && nTaille > 0) pszTexte[0] = 0;
    struct utsname stSysteme {};
    if (uname(&stSysteme) != 0) return false;
    return bFormateVersion(stSysteme, nType, pszTexte, nTaille);
}

// ---------------------------------------------------------------- environment

namespace {

// The C library's environment is one unguarded array: calls of this library that read or change it
// take turns, so a listing never meets a half-made change. Outside code is not held back by it.
pthread_mutex_t gstVerrouEnvironnement = PTHREAD_MUTEX_INITIALIZER;

class CVerrouEnvironnement {
public:
    CVerrouEnvironnement() noexcept { pthread_mutex_lock(&gstVerrouEnvironnement); }
    ~CVerrouEnvironnement() { pthread_mutex_unlock(&gstVerrouEnvironnement); }
    CVerrouEnvironnement(const CVerrouEnvironnement&) = delete;
    CVerrouEnvironnement& operator=(const CVerrouEnvironnement&) = delete;
};

// Appends UTF-8 text as wide text; bytes that are not UTF-8 become U+FFFD.
bool bAjouteDepuisUtf8(CTString* pclTexte, const char* pszTexte) noexcept {
    size_t nLongueur = 0;
    wchar_t* psz = base_internal::pszUtf8VersWideAlloue(pszTexte, base_internal::LONGUEUR_JUSQUA_ZERO, &nLongueur);
    if (psz == nullptr) return false;
    const bool b = nLongueur > static_cast<size_t>(INT_MAX) ? false : pclTexte->Add(psz, static_cast<int>(nLongueur));
    std::free(psz);
    return b;
}

}  // namespace

bool bLitEnvironnement(const wchar_t* pszNom, CTString* pclValeur) noexcept {
    pclValeur->Vide();
    if (pszNom == nullptr || pszNom[0] == 0) return true;
    char* pszNomUtf8 = system_internal::pszWideVersUtf8Alloue(pszNom);
    if (pszNomUtf8 == nullptr) return false;
    bool bResultat = true;
    {
        CVerrouEnvironnement clVerrou;
        if (const char* pszValeur = getenv(pszNomUtf8)) bResultat = bAjouteDepuisUtf8(pclValeur, pszValeur);
    }
    std::free(pszNomUtf8);
    return bResultat;
}

bool _bChercheEnvironnement(CTString* pclListe) noexcept {
    pclListe->Vide();
    CVerrouEnvironnement clVerrou;
    if (environ == nullptr) return true;
    for (char** ppsz = environ; *ppsz != nullptr; ++ppsz) {
        if (!bAjouteDepuisUtf8(pclListe, *ppsz) || !pclListe->Add(SEPARATEUR_LISTE)) {
            pclListe->Vide();
            return false;
        }
    }
    return true;
}

bool bChangeEnvironnement(const wchar_t* pszNom, const wchar_t* pszValeur, CXError* pclErreur) noexcept {
    auto bEchec = [&](int nErrno) {
        if (pclErreur != nullptr) {
            pclErreur->SetUserError(&gstMyModuleInfo8, 80151, pszNom != nullptr ? pszNom : L"");
            errno = nErrno;  // the system message follows errno
            pclErreur->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        }
        return false;
    };
    // setenv would refuse these too; saying so here keeps the reason exact whatever the C library.
    if (pszNom == nullptr || pszNom[0] == 0 || std::wcschr(pszNom, L'=') != nullptr) return bEchec(EINVAL);
    char* pszNomUtf8 = system_internal::pszWideVersUtf8Alloue(pszNom);
    char* pszValeurUtf8 = system_internal::pszWideVersUtf8Alloue(pszValeur != nullptr ? pszValeur : L"");
    int nResultat = -1;
    int nErrno = ENOMEM;
    if (pszNomUtf8 != nullptr && pszValeurUtf8 != nullptr) {
        CVerrouEnvironnement clVerrou;
        nResultat = setenv(pszNomUtf8, pszValeurUtf8, 1);
        nErrno = errno;
    }
    std::free(pszNomUtf8);
    std::free(pszValeurUtf8);
    return nResultat == 0 ? true : bEchec(nErrno);
}
