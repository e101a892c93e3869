// The find primitives of CDiskFile, the two callback walkers and the pull-style walker. Entries come
// in the order the directory gives them; nothing sorts.
#include "files/find.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>

#include "base/str_edit.h"
#include "base/unicode.h"
#include "files/internal/toolkit_error.h"

using ov_files::bEchec;
using ov_files::bReussite;

namespace {

constexpr unsigned int kMsgFindFirst = 28135;
constexpr unsigned int kMsgFindNext = 28136;
constexpr unsigned int kMsgFindClose = 28137;
constexpr int knTaille = kMaxPath + 1;

bool bTermine(CXError* pclErreur) noexcept {
    CDiskFile::_bOnError(true, pclErreur);
    return false;
}

// "directory" + "name" into a buffer of knTaille; false when it does not fit.
bool bJoint(wchar_t* pszSortie, const wchar_t* pszRepertoire, const wchar_t* pszNom, const wchar_t* pszFin = L"") noexcept {
    const size_t n1 = std::wcslen(pszRepertoire), n2 = std::wcslen(pszNom), n3 = std::wcslen(pszFin);
    if (n1 + n2 + n3 > static_cast<size_t>(kMaxPath)) return false;
    std::wmemcpy(pszSortie, pszRepertoire, n1);
    std::wmemcpy(pszSortie + n1, pszNom, n2);
    std::wmemcpy(pszSortie + n1 + n2, pszFin, n3 + 1);
    return true;
}

}  // namespace

// ============================================================================== find primitives

bool CDiskFile::bFindFirst(const wchar_t* pszMotif, _stXFINDDATA* pstFind, uint32_t dwRequis, uint32_t dwExclus,
                           CXError* pclErreur) noexcept {
    if (pstFind == nullptr || pszMotif == nullptr) {
        errno = EINVAL;
        return bEchec(pclErreur, kMsgFindFirst, pszMotif);
    }
    bFindClose(pstFind, nullptr);
    pstFind->dwRequis = dwRequis;
    pstFind->dwExclus = dwExclus;
    pstFind->szNom[0] = 0;
    wchar_t szChemin[knTaille];
    if (std::wcslen(pszMotif) > static_cast<size_t>(kMaxPath)) {
        errno = ENAMETOOLONG;
        return bEchec(pclErreur, kMsgFindFirst, pszMotif);
    }
    std::wcscpy(szChemin, pszMotif);
    pszBackSlash2Slash(szChemin);
    if (wchar_t* pszSlash = std::wcsrchr(szChemin, L'/'); pszSlash != nullptr) {
        std::wcscpy(pstFind->szMotif, pszSlash + 1);
        pszSlash[1] = 0;
        std::wcscpy(pstFind->szRepertoire, szChemin);
    } else {
        if (Unix_getcwd(pstFind->szRepertoire, kMaxPath) == nullptr) return bEchec(pclErreur, kMsgFindFirst, pszMotif);
        DirectoryWithEndSlash(pstFind->szRepertoire);
        std::wcscpy(pstFind->szMotif, szChemin);
    }
    pstFind->pDir = __Unix_opendir(pstFind->szRepertoire);
    if (pstFind->pDir == nullptr) {
        // A directory that is not there simply holds nothing.
        if (errno == ENOENT || errno == ENOTDIR) return bTermine(pclErreur);
        return bEchec(pclErreur, kMsgFindFirst, pszMotif);
    }
    if (bFindNext(pstFind, pclErreur)) return true;
    const int nErrno = errno;
    bFindClose(pstFind, nullptr);
    errno = nErrno;
    return false;
}

bool CDiskFile::bFindNext(_stXFINDDATA* pstFind, CXError* pclErreur) noexcept {
    if (pstFind == nullptr || pstFind->pDir == nullptr) {
        errno = EBADF;
        return bEchec(pclErreur, kMsgFindNext, L"");
    }
    DIR* pDir = static_cast<DIR*>(pstFind->pDir);
    for (;;) {
        errno = 0;
        const struct dirent* pstEntree = ::readdir(pDir);
        if (pstEntree == nullptr) {
            if (errno != 0) return bEchec(pclErreur, kMsgFindNext, pstFind->szRepertoire);
            return bTermine(pclErreur);
        }
        const char* pszNom = pstEntree->d_name;
        if (pszNom[0] == '.' && (pszNom[1] == 0 || (pszNom[1] == '.' && pszNom[2] == 0))) continue;
        // A name that is not UTF-8, or too long for the record, cannot be handed on: it is passed.
        wchar_t szNom[knTaille];
        const int nCaracteres = nUTF8ToWide(pszNom, -1, szNom, knTaille);
        if (nCaracteres <= 0) continue;
        if (!_bFiltreFileName(szNom, pstFind->szMotif)) continue;
        struct stat st;
        // The entry itself: a link is a non-directory of its own size, listed but never entered.
        if (::fstatat(dirfd(pDir), pszNom, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
        uint32_t dwAttributs = static_cast<uint32_t>(st.st_mode & 0777);
        if (S_ISDIR(st.st_mode)) dwAttributs |= eATTR_REPERTOIRE;
        if (szNom[0] == L'.') dwAttributs |= eATTR_CACHE;
        if ((dwAttributs & pstFind->dwRequis) != pstFind->dwRequis || (dwAttributs & pstFind->dwExclus) != 0) continue;
        std::wcscpy(pstFind->szNom, szNom);
        pstFind->dwZero = 0;
        pstFind->dwAttributs = dwAttributs;
        pstFind->oTaille = S_ISDIR(st.st_mode) ? 0 : static_cast<int64_t>(st.st_size);
        struct tm stTm = {};
        localtime_r(&st.st_mtim.tv_sec, &stTm);
        pstFind->stDate.wAnnee = static_cast<uint16_t>(stTm.tm_year + 1900);
        pstFind->stDate.wMois = static_cast<uint16_t>(stTm.tm_mon + 1);
        pstFind->stDate.wJour = static_cast<uint16_t>(stTm.tm_mday);
        pstFind->stDate.wHeure = static_cast<uint16_t>(stTm.tm_hour);
        pstFind->stDate.wMinute = static_cast<uint16_t>(stTm.tm_min);
        pstFind->stDate.wSeconde = static_cast<uint16_t>(stTm.tm_sec);
        pstFind->stDate.wMilliseconde = static_cast<uint16_t>(st.st_mtim.tv_nsec / 1000000);
        pstFind->stDate.wReserve = 0;
        CDiskFile::_bOnError(true, pclErreur);
        return true;
    }
}

bool CDiskFile::bFindClose(_stXFINDDATA* pstFind, CXError* pclErreur) noexcept {
    if (pstFind == nullptr || pstFind->pDir == nullptr) return true;
    DIR* pDir = static_cast<DIR*>(pstFind->pDir);
    pstFind->pDir = nullptr;
    if (::closedir(pDir) != 0) return bEchec(pclErreur, kMsgFindClose, pstFind->szRepertoire);
    CDiskFile::_bOnError(true, pclErreur);
    return true;
}

void CFindFile::TransfertTo(CFindFile& clAutre) noexcept {
    if (&clAutre == this) return;
    clAutre.bFindClose(nullptr);
    clAutre.m_stFind = m_stFind;
    m_stFind.pDir = nullptr;
}

// ============================================================================== callback walkers

namespace {

// A directory stream that is closed on every way out.
struct CRepertoireOuvert {
    DIR* pDir = nullptr;
    explicit CRepertoireOuvert(const wchar_t* pszRepertoire) noexcept
        : pDir(static_cast<DIR*>(CDiskFile::__Unix_opendir(pszRepertoire[0] != 0 ? pszRepertoire : L"./"))) {}
    ~CRepertoireOuvert() {
        if (pDir != nullptr) ::closedir(pDir);
    }
    CRepertoireOuvert(const CRepertoireOuvert&) = delete;
    CRepertoireOuvert& operator=(const CRepertoireOuvert&) = delete;
};

// Calls fnEntree(szNom) for each entry of pszRepertoire (with its end slash, or empty for the
// current directory) that is a directory when bRepertoires, and is not one otherwise, and whose
// name matches pszMotif; false as soon as fnEntree answers false. The walkers need only an
// entry's kind, and most file systems record it in the directory itself (d_type): an entry then
// costs no lstat, and one of the wrong kind not even the conversion of its name. An entry of
// unknown kind is looked at by lstat. A link is never a directory here, so it is never entered.
template <class F>
bool bPourChaqueEntree(const wchar_t* pszRepertoire, const wchar_t* pszMotif, bool bRepertoires, F&& fnEntree) noexcept {
    CRepertoireOuvert clRepertoire(pszRepertoire);
    if (clRepertoire.pDir == nullptr) return true;  // a directory that cannot be read holds nothing
    const bool bToutNom = pszMotif[0] == L'*' && pszMotif[1] == 0;
    for (;;) {
        const struct dirent* pstEntree = ::readdir(clRepertoire.pDir);
        if (pstEntree == nullptr) return true;
        const char* pszNom = pstEntree->d_name;
        if (pszNom[0] == '.' && (pszNom[1] == 0 || (pszNom[1] == '.' && pszNom[2] == 0))) continue;
        bool bRepertoire = pstEntree->d_type == DT_DIR;
        if (pstEntree->d_type == DT_UNKNOWN) {
            struct stat st;
            if (::fstatat(dirfd(clRepertoire.pDir), pszNom, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
            bRepertoire = S_ISDIR(st.st_mode);
        }
        if (bRepertoire != bRepertoires) continue;
        // A name that is not UTF-8, or too long for a path, cannot be handed on: it is passed.
        wchar_t szNom[knTaille];
        if (nUTF8ToWide(pszNom, -1, szNom, knTaille) <= 0) continue;
        if (!bToutNom && !CDiskFile::_bFiltreFileName(szNom, pszMotif)) continue;
        if (!fnEntree(static_cast<const wchar_t*>(szNom))) return false;
    }
}

// One level: the entries that pass the pattern, then (recursive) every subdirectory. Answers false
// only when the callback asked to stop.
bool bParcours(const wchar_t* pszRepertoire, const wchar_t* pszMotif, CDiskFile::PFNDOONFILE pfnRappel,
               void* pContexte, bool bRepertoires, bool bRecursif) noexcept {
    wchar_t szChemin[knTaille];
    // A level whose directory and pattern do not fit a path together lists nothing of its own.
    const size_t nRepertoire = std::wcslen(pszRepertoire);
    if (nRepertoire + std::wcslen(pszMotif) <= static_cast<size_t>(kMaxPath)) {
        const bool bSuite = bPourChaqueEntree(pszRepertoire, pszMotif, bRepertoires, [&](const wchar_t* pszNom) {
            return !bJoint(szChemin, pszRepertoire, pszNom) || pfnRappel(szChemin, pContexte) != 0;
        });
        if (!bSuite) return false;
    }
    if (!bRecursif || nRepertoire + 1 > static_cast<size_t>(kMaxPath)) return true;
    return bPourChaqueEntree(pszRepertoire, L"*", true, [&](const wchar_t* pszNom) {
        wchar_t szSous[knTaille];
        return !bJoint(szSous, pszRepertoire, pszNom, L"/") ||
               bParcours(szSous, pszMotif, pfnRappel, pContexte, bRepertoires, bRecursif);
    });
}

// The same walk through the find primitives, for a pattern that holds a slash: the primitives
// take what stands before its last slash as part of the directory.
bool bParcoursRecherche(const wchar_t* pszRepertoire, const wchar_t* pszMotif, CDiskFile::PFNDOONFILE pfnRappel,
                        void* pContexte, bool bRepertoires, bool bRecursif) noexcept {
    wchar_t szChemin[knTaille];
    CFindFile clRecherche;
    if (bJoint(szChemin, pszRepertoire, pszMotif)) {
        const uint32_t dwRequis = bRepertoires ? uint32_t{CDiskFile::eATTR_REPERTOIRE} : 0u;
        const uint32_t dwExclus = bRepertoires ? 0u : uint32_t{CDiskFile::eATTR_REPERTOIRE};
        for (bool b = clRecherche.bFindFirst(szChemin, dwRequis, dwExclus, nullptr); b; b = clRecherche.bFindNext(nullptr)) {
            if (!bJoint(szChemin, pszRepertoire, clRecherche.pszGetNom())) continue;
            if (pfnRappel(szChemin, pContexte) == 0) return false;
        }
        clRecherche.bFindClose(nullptr);
    }
    if (!bRecursif || !bJoint(szChemin, pszRepertoire, L"*")) return true;
    for (bool b = clRecherche.bFindFirst(szChemin, CDiskFile::eATTR_REPERTOIRE, 0, nullptr); b;
         b = clRecherche.bFindNext(nullptr)) {
        wchar_t szSous[knTaille];
        if (!bJoint(szSous, pszRepertoire, clRecherche.pszGetNom(), L"/")) continue;
        if (!bParcoursRecherche(szSous, pszMotif, pfnRappel, pContexte, bRepertoires, bRecursif)) return false;
    }
    return true;
}

bool bParcoursDepuis(const wchar_t* pszRepertoire, const wchar_t* pszMotif, CDiskFile::PFNDOONFILE pfnRappel,
                     void* pContexte, bool bRepertoires, bool bRecursif) noexcept {
    if (pfnRappel == nullptr) return false;
    wchar_t szRepertoire[knTaille] = L"";
    if (pszRepertoire != nullptr && pszRepertoire[0] != 0) {
        if (std::wcslen(pszRepertoire) >= static_cast<size_t>(kMaxPath)) return false;
        std::wcscpy(szRepertoire, pszRepertoire);
        CDiskFile::pszBackSlash2Slash(szRepertoire);
        CDiskFile::DirectoryWithEndSlash(szRepertoire);
        // A tree that is not there is not walked.
        if (!CDiskFile::bIsADirectory(szRepertoire)) return false;
    }
    const wchar_t* pszMotifPris = pszMotif != nullptr && pszMotif[0] != 0 ? pszMotif : L"*";
    if (std::wcspbrk(pszMotifPris, L"/\\") != nullptr)
        return bParcoursRecherche(szRepertoire, pszMotifPris, pfnRappel, pContexte, bRepertoires, bRecursif);
    return bParcours(szRepertoire, pszMotifPris, pfnRappel, pContexte, bRepertoires, bRecursif);
}

}  // namespace

bool CDiskFile::bDoOnFileTree(const wchar_t* pszRepertoire, const wchar_t* pszMotif, PFNDOONFILE pfnRappel,
                              void* pContexte, unsigned int dwFlags, bool bRecursif) noexcept {
    return bParcoursDepuis(pszRepertoire, pszMotif, pfnRappel, pContexte, false, bRecursif);
}

bool CDiskFile::bDoOnDirectoryTree(const wchar_t* pszRepertoire, const wchar_t* pszMotif, PFNDOONFILE pfnRappel,
                                   void* pContexte, unsigned int dwFlags, bool bRecursif) noexcept {
    return bParcoursDepuis(pszRepertoire, pszMotif, pfnRappel, pContexte, true, bRecursif);
}

// ============================================================================== pull-style walker

bool CParseDir::bGetFirst(const wchar_t* pszRepertoire, const wchar_t* pszMotif, bool bRecursif, wchar_t* pszSortie,
                          unsigned long nTaille, uint32_t dwExclus) noexcept {
    Close();
    const wchar_t* pszMotifPris = pszMotif != nullptr && pszMotif[0] != 0 ? pszMotif : L"*";
    const size_t nMotif = std::wcslen(pszMotifPris);
    wchar_t* pszCopie = static_cast<wchar_t*>(std::realloc(m_pszMotif, (nMotif + 1) * sizeof(wchar_t)));
    if (pszCopie == nullptr) return false;
    m_pszMotif = pszCopie;
    std::wmemcpy(m_pszMotif, pszMotifPris, nMotif + 1);
    m_bRecursif = bRecursif;
    m_dwExclus = dwExclus;
    wchar_t szRepertoire[knTaille] = L"";
    if (pszRepertoire != nullptr && pszRepertoire[0] != 0) {
        if (std::wcslen(pszRepertoire) >= static_cast<size_t>(kMaxPath)) return false;
        std::wcscpy(szRepertoire, pszRepertoire);
        CDiskFile::pszBackSlash2Slash(szRepertoire);
        CDiskFile::DirectoryWithEndSlash(szRepertoire);
    }
    if (!__bStartNewParse(szRepertoire)) return false;
    m_pstDepart = m_pstNiveau;
    return __bFindNextFile(pszSortie, nTaille);
}

bool CParseDir::bGetNext(wchar_t* pszSortie, unsigned long nTaille) noexcept {
    return __bFindNextFile(pszSortie, nTaille);
}

void CParseDir::Close() noexcept {
    while (m_pstNiveau != nullptr) __Close();
    m_pstDepart = nullptr;
    std::free(m_pszMotif);
    m_pszMotif = nullptr;
}

bool CParseDir::__bStartNewParse(const wchar_t* pszRepertoire) noexcept {
    _stPARSELEVEL* pstNiveau = new (std::nothrow) _stPARSELEVEL;
    if (pstNiveau == nullptr) return false;
    std::wcscpy(pstNiveau->szRepertoire, pszRepertoire);
    pstNiveau->pstParent = m_pstNiveau;
    m_pstNiveau = pstNiveau;
    return true;
}

void CParseDir::__Close() noexcept {
    _stPARSELEVEL* pstNiveau = m_pstNiveau;
    if (pstNiveau == nullptr) return;
    CDiskFile::bFindClose(&pstNiveau->stFind, nullptr);
    m_pstNiveau = pstNiveau->pstParent;
    delete pstNiveau;
}

bool CParseDir::__bFindNextFile(wchar_t* pszSortie, unsigned long nTaille) noexcept {
    wchar_t szChemin[knTaille];
    while (m_pstNiveau != nullptr) {
        _stPARSELEVEL* pst = m_pstNiveau;
        bool bTrouve;
        if (!pst->bCommence) {
            pst->bCommence = true;
            bTrouve = bJoint(szChemin, pst->szRepertoire, pst->nEtat == 0 ? m_pszMotif : L"*");
            if (bTrouve) {
                const uint32_t dwRequis = pst->nEtat == 0 ? 0u : uint32_t{CDiskFile::eATTR_REPERTOIRE};
                const uint32_t dwExclus = pst->nEtat == 0 ? (uint32_t{CDiskFile::eATTR_REPERTOIRE} | m_dwExclus) : 0u;
                bTrouve = CDiskFile::bFindFirst(szChemin, &pst->stFind, dwRequis, dwExclus, nullptr);
            }
        } else {
            bTrouve = CDiskFile::bFindNext(&pst->stFind, nullptr);
        }
        if (bTrouve && pst->nEtat == 0) {
            // A path that does not fit the caller's buffer is passed rather than cut into another name.
            if (!bJoint(szChemin, pst->szRepertoire, pst->stFind.szNom) || std::wcslen(szChemin) + 1 > nTaille ||
                pszSortie == nullptr)
                continue;
            std::wcscpy(pszSortie, szChemin);
            return true;
        }
        if (bTrouve) {
            if (bJoint(szChemin, pst->szRepertoire, pst->stFind.szNom, L"/") && !__bStartNewParse(szChemin)) return false;
            continue;
        }
        CDiskFile::bFindClose(&pst->stFind, nullptr);
        if (pst->nEtat == 0 && m_bRecursif) {
            pst->nEtat = 1;
            pst->bCommence = false;
            continue;
        }
        __Close();
    }
    return false;
}
