// The path toolkit of CDiskFile: full names, simplification, names and extensions, the file-name
// pattern, and the thin wrappers that carry wide names to the system as UTF-8.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/str_edit.h"
#include "base/tstring.h"
#include "base/unicode.h"
#include "files/disk_file.h"
#include "files/internal/system_name.h"

namespace {

constexpr size_t knTailleChemin = kMaxPath + 1;

bool bEstSeparateur(wchar_t c) noexcept { return c == L'/' || c == L'\\'; }

// Bounded copy with backslashes made slashes; answers the characters copied. The output is always
// terminated when nTaille is at least 1.
size_t nCopieSlash(wchar_t* pszSortie, size_t nTaille, const wchar_t* pszEntree) noexcept {
    if (nTaille == 0) return 0;
    size_t n = 0;
    if (pszEntree != nullptr) {
        for (; pszEntree[n] != 0 && n + 1 < nTaille; ++n) pszSortie[n] = pszEntree[n] == L'\\' ? L'/' : pszEntree[n];
    }
    pszSortie[n] = 0;
    return n;
}

// Removes nLongueur characters at nPosition of a terminated text.
void Supprime(wchar_t* pszTexte, size_t nPosition, size_t nLongueur) noexcept {
    std::wmemmove(pszTexte + nPosition, pszTexte + nPosition + nLongueur,
                  std::wcslen(pszTexte + nPosition + nLongueur) + 1);
}

// "/./" becomes "/" everywhere; a final "/." too (it names the same directory).
void SupprimePoint(wchar_t* pszChemin) noexcept {
    size_t i = 0;
    while (pszChemin[i] != 0) {
        if (pszChemin[i] == L'/' && pszChemin[i + 1] == L'.' && pszChemin[i + 2] == L'/') {
            Supprime(pszChemin, i + 1, 2);  // stay on this slash: "/././" goes whole
        } else if (pszChemin[i] == L'/' && pszChemin[i + 1] == L'.' && pszChemin[i + 2] == 0) {
            pszChemin[i == 0 ? 1 : i] = 0;
        } else {
            ++i;
        }
    }
}

// Whether the component that starts at nDebut and ends before nFin is "..".
bool bComposantePointPoint(const wchar_t* pszChemin, size_t nDebut, size_t nFin) noexcept {
    return nFin - nDebut == 2 && pszChemin[nDebut] == L'.' && pszChemin[nDebut + 1] == L'.';
}

// Collapses "x/../" (and a final "x/..") of an absolute path; at the root ".." stays at the root,
// as the system itself resolves it.
void ReduitPointPointAbsolu(wchar_t* pszChemin) noexcept {
    for (;;) {
        const wchar_t* pszTrouve = std::wcsstr(pszChemin, L"/../");
        size_t nLongueurMotif = 3;  // what follows the slash that is kept: "../"
        if (pszTrouve == nullptr) {
            const size_t nLongueur = std::wcslen(pszChemin);
            if (nLongueur >= 3 && std::wcscmp(pszChemin + nLongueur - 3, L"/..") == 0) {
                pszTrouve = pszChemin + nLongueur - 3;
                nLongueurMotif = 2;
            } else {
                return;
            }
        }
        const size_t nPosition = static_cast<size_t>(pszTrouve - pszChemin);
        size_t nSlash = nPosition;
        while (nSlash > 0 && pszChemin[nSlash - 1] != L'/') --nSlash;
        if (nSlash == 0) {
            // No component before: "/../x" is "/x".
            Supprime(pszChemin, nPosition + 1, nLongueurMotif);
        } else {
            // Close up behind the slash that precedes the component.
            Supprime(pszChemin, nSlash, nPosition + 1 + nLongueurMotif - nSlash);
        }
        // "/a/b/.." names "/a", not "/a/".
        const size_t nLongueur = std::wcslen(pszChemin);
        if (nLongueurMotif == 2 && nLongueur > 1 && pszChemin[nLongueur - 1] == L'/') pszChemin[nLongueur - 1] = 0;
    }
}

}  // namespace

// ============================================================================== full names

unsigned long CDiskFile::GetFullPathName(const wchar_t* pszNom, unsigned long nTaille, wchar_t* pszSortie,
                                         wchar_t** ppszPartieFichier) noexcept {
    if (ppszPartieFichier != nullptr) *ppszPartieFichier = nullptr;
    if (pszNom == nullptr || pszNom[0] == 0) return 0;
    const size_t nLongueurNom = std::wcslen(pszNom);

    // The whole result is built in a work buffer first, so that the needed size is exact and the
    // caller's buffer is only written when everything fits.
    wchar_t* pszPrefixe = nullptr;
    size_t nLongueurPrefixe = 0;
    bool bSlashEntre = false;
    if (pszNom[0] == L'~') {
        wchar_t szHome[4096];
        if (!Unix_gethomedir(szHome, 4096)) return 0;
        pszPrefixe = STR_pszCreate(szHome);
        if (pszPrefixe == nullptr) return 0;
        nLongueurPrefixe = std::wcslen(pszPrefixe);
    } else if (!bEstSeparateur(pszNom[0])) {
        char* pszCourant = getcwd(nullptr, 0);
        if (pszCourant == nullptr) return errno == ERANGE ? nTaille * 2 : 0;
        pszPrefixe = UTF8ToWide(pszCourant);
        std::free(pszCourant);
        if (pszPrefixe == nullptr) return 0;
        nLongueurPrefixe = std::wcslen(pszPrefixe);
        bSlashEntre = nLongueurPrefixe == 0 || pszPrefixe[nLongueurPrefixe - 1] != L'/';
    }
    const size_t nTotal = nLongueurPrefixe + (bSlashEntre ? 1 : 0) + nLongueurNom;
    wchar_t* pszTravail = static_cast<wchar_t*>(std::malloc((nTotal + 1) * sizeof(wchar_t)));
    if (pszTravail == nullptr) {
        std::free(pszPrefixe);
        return 0;
    }
    if (nLongueurPrefixe > 0) std::wmemcpy(pszTravail, pszPrefixe, nLongueurPrefixe);
    std::free(pszPrefixe);
    size_t nPosition = nLongueurPrefixe;
    if (bSlashEntre) pszTravail[nPosition++] = L'/';
    nCopieSlash(pszTravail + nPosition, nLongueurNom + 1, pszNom);

    // "." first: "a/./../b" must lose "a", which it would not if ".." went first.
    SupprimePoint(pszTravail);
    ReduitPointPointAbsolu(pszTravail);

    const size_t nLongueur = std::wcslen(pszTravail);
    unsigned long nResultat = static_cast<unsigned long>(nLongueur);
    if (pszSortie == nullptr || nLongueur + 1 > nTaille) {
        nResultat = static_cast<unsigned long>(nLongueur + 1);
    } else {
        std::wmemcpy(pszSortie, pszTravail, nLongueur + 1);
    }
    std::free(pszTravail);
    return nResultat;
}

void CDiskFile::SimplifyPath(wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return;
    pszBackSlash2Slash(pszChemin);
    // First sweep: "/./" to "/", staying on the slash so that "/././" goes whole.
    for (size_t i = 0; pszChemin[i] != 0;) {
        if (pszChemin[i] == L'/' && pszChemin[i + 1] == L'.' && pszChemin[i + 2] == L'/') {
            Supprime(pszChemin, i + 1, 2);
        } else {
            ++i;
        }
    }
    // Second sweep: "x/../" goes; ".." that nothing can absorb stays (a relative path that climbs).
    size_t i = 0;
    while (pszChemin[i] != 0) {
        if (!(pszChemin[i] == L'/' && pszChemin[i + 1] == L'.' && pszChemin[i + 2] == L'.' && pszChemin[i + 3] == L'/')) {
            ++i;
            continue;
        }
        if (i == 0) {
            // "/../x" at the root is "/x".
            Supprime(pszChemin, 1, 3);
            continue;
        }
        size_t nDebut = i;
        while (nDebut > 0 && pszChemin[nDebut - 1] != L'/') --nDebut;
        if (bComposantePointPoint(pszChemin, nDebut, i) || nDebut == i) {
            i += 3;  // "../../" or "//../": nothing to absorb, go on behind it
            continue;
        }
        Supprime(pszChemin, nDebut, i + 4 - nDebut);
        i = nDebut > 0 ? nDebut - 1 : 0;
    }
}

bool CDiskFile::bGetUNCName(const wchar_t* pszNom, wchar_t* pszSortie, unsigned long nTaille) noexcept {
    const unsigned long n = GetFullPathName(pszNom, nTaille, pszSortie, nullptr);
    return n != 0 && n < nTaille;
}

bool CDiskFile::bStandardizeExistingFileName(const wchar_t* pszNom, wchar_t* pszSortie, unsigned long nTaille) noexcept {
    return bGetUNCName(pszNom, pszSortie, nTaille);
}

bool CDiskFile::bGetLongPathName(const wchar_t* pszNom, wchar_t* pszSortie, unsigned long nTaille) noexcept {
    return bGetUNCName(pszNom, pszSortie, nTaille);
}

// ============================================================================== names

bool CDiskFile::bValidName(const wchar_t* pszNom) noexcept {
    if (pszNom == nullptr || pszNom[0] == 0) return false;
    return std::wcspbrk(pszNom, L"\\/:*?\"<>|") == nullptr;
}

bool CDiskFile::bValidFullName(const wchar_t* pszNom) noexcept {
    if (pszNom == nullptr || pszNom[0] == 0) return false;
    return std::wcspbrk(pszNom, L"*?\"<>|") == nullptr;
}

void CDiskFile::StandardizeFileName(wchar_t* pszSortie, const wchar_t* pszEntree) noexcept {
    if (pszSortie == nullptr) return;
    size_t n = nCopieSlash(pszSortie, knTailleChemin, pszEntree);
    while (n > 0 && std::iswspace(static_cast<wint_t>(pszSortie[n - 1]))) pszSortie[--n] = 0;
}

bool CDiskFile::bSameFileName(const wchar_t* pszNom1, const wchar_t* pszNom2) noexcept {
    wchar_t sz1[knTailleChemin];
    wchar_t sz2[knTailleChemin];
    StandardizeFileName(sz1, pszNom1);
    StandardizeFileName(sz2, pszNom2);
    return std::wcscmp(sz1, sz2) == 0;
}

const wchar_t* CDiskFile::pszGetPtrToFileName(const wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return nullptr;
    const wchar_t* psz = pszChemin;
    if (std::iswalpha(static_cast<wint_t>(psz[0])) && psz[1] == L':') psz += 2;
    const wchar_t* pszNom = psz;
    for (; *psz != 0; ++psz) {
        if (bEstSeparateur(*psz)) pszNom = psz + 1;
    }
    return pszNom;
}

const wchar_t* CDiskFile::pszGetPtrToExtension(const wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return nullptr;
    const wchar_t* pszNom = pszGetPtrToFileName(pszChemin);
    const wchar_t* pszPoint = std::wcsrchr(pszNom, L'.');
    return pszPoint != nullptr ? pszPoint : pszNom + std::wcslen(pszNom);
}

void CDiskFile::DelExtension(wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return;
    const_cast<wchar_t*>(pszGetPtrToExtension(pszChemin))[0] = 0;
}

void CDiskFile::ChangeExtension(wchar_t* pszChemin, const wchar_t* pszExtension) noexcept {
    if (pszChemin == nullptr) return;
    DelExtension(pszChemin);
    if (pszExtension == nullptr || pszExtension[0] == 0) return;
    size_t n = std::wcslen(pszChemin);
    // The extension may come with or without its dot. One that does not fit is not cut halfway:
    // a path with half an extension names another file.
    const size_t nAjout = std::wcslen(pszExtension) + (pszExtension[0] == L'.' ? 0 : 1);
    if (n + nAjout > static_cast<size_t>(kMaxPath)) return;
    if (pszExtension[0] != L'.') pszChemin[n++] = L'.';
    std::wcscpy(pszChemin + n, pszExtension);
}

void CDiskFile::DirectoryWithEndSlash(wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return;
    const size_t n = std::wcslen(pszChemin);
    // An empty name stays empty: making it "/" would turn "here" into the root.
    if (n == 0 || bEstSeparateur(pszChemin[n - 1]) || n >= static_cast<size_t>(kMaxPath)) return;
    pszChemin[n] = L'/';
    pszChemin[n + 1] = 0;
}

void CDiskFile::DirectoryWithoutEndSlash(wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return;
    size_t n = std::wcslen(pszChemin);
    // The root keeps its one slash: an empty name would mean the current directory.
    while (n > 1 && bEstSeparateur(pszChemin[n - 1])) pszChemin[--n] = 0;
}

// ============================================================================== separators

char* CDiskFile::pszBackSlash2Slash(char* pszChemin) noexcept {
    if (pszChemin != nullptr)
        for (char* p = pszChemin; *p != 0; ++p)
            if (*p == '\\') *p = '/';
    return pszChemin;
}

wchar_t* CDiskFile::pszBackSlash2Slash(wchar_t* pszChemin) noexcept {
    if (pszChemin != nullptr)
        for (wchar_t* p = pszChemin; *p != 0; ++p)
            if (*p == L'\\') *p = L'/';
    return pszChemin;
}

void CDiskFile::pszBackSlash2Slash(CTString* pclChemin) noexcept {
    if (pclChemin != nullptr) pclChemin->Remplace(L"\\", L"/");
}

void CDiskFile::pszBackSlash2Slash(CXYString<wchar_t>* pclChemin) noexcept {
    if (pclChemin == nullptr || std::wcschr(pclChemin->pszGet(), L'\\') == nullptr) return;
    wchar_t* psz = pclChemin->pszGetBuffer(pclChemin->nGetLongueur());
    if (psz != nullptr) pszBackSlash2Slash(psz);
}

char* CDiskFile::pszSlash2BackSlash(char* pszChemin) noexcept {
    if (pszChemin != nullptr)
        for (char* p = pszChemin; *p != 0; ++p)
            if (*p == '/') *p = '\\';
    return pszChemin;
}

wchar_t* CDiskFile::pszSlash2BackSlash(wchar_t* pszChemin) noexcept {
    if (pszChemin != nullptr)
        for (wchar_t* p = pszChemin; *p != 0; ++p)
            if (*p == L'/') *p = L'\\';
    return pszChemin;
}

void CDiskFile::pszSlash2BackSlash(CTString* pclChemin) noexcept {
    if (pclChemin != nullptr) pclChemin->Remplace(L"/", L"\\");
}

void CDiskFile::pszSlash2BackSlash(CXYString<wchar_t>* pclChemin) noexcept {
    if (pclChemin == nullptr || std::wcschr(pclChemin->pszGet(), L'/') == nullptr) return;
    wchar_t* psz = pclChemin->pszGetBuffer(pclChemin->nGetLongueur());
    if (psz != nullptr) pszSlash2BackSlash(psz);
}

void CDiskFile::PrefixeCurrentDirectory(wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return;
    const size_t n = std::wcslen(pszChemin);
    if (n + 2 > static_cast<size_t>(kMaxPath)) return;  // a cut name would be another file
    std::wmemmove(pszChemin + 2, pszChemin, n + 1);
    pszChemin[0] = L'.';
    pszChemin[1] = L'/';
}

// ============================================================================== kinds of names

bool CDiskFile::bIsRelativePath(const wchar_t* pszChemin) noexcept {
    return pszChemin != nullptr && pszChemin[0] == L'.';
}

bool CDiskFile::bIsRelativeFileName(const wchar_t* pszChemin) noexcept {
    return pszChemin == nullptr || !bEstSeparateur(pszChemin[0]);
}

bool CDiskFile::bIsRelativeFileName_WIN32(const wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr || pszChemin[0] == 0) return true;
    if (bEstSeparateur(pszChemin[0])) return false;
    if (std::iswalpha(static_cast<wint_t>(pszChemin[0])) && pszChemin[1] == L':') return false;
    return pszChemin[std::wcslen(pszChemin) - 1] != L':';
}

bool CDiskFile::bUNCName(const wchar_t* pszChemin) noexcept {
    return pszChemin != nullptr && pszChemin[0] == L'\\' && pszChemin[1] == L'\\' &&
           std::wcschr(pszChemin + 2, L'\\') != nullptr;
}

bool CDiskFile::bUNCNameA(const char* pszChemin) noexcept {
    return pszChemin != nullptr && pszChemin[0] == '\\' && pszChemin[1] == '\\' &&
           std::strchr(pszChemin + 2, '\\') != nullptr;
}

bool CDiskFile::bIsAVirtualDirectory(const wchar_t* pszNom) noexcept {
    return pszNom != nullptr && pszNom[0] == L'.' && (pszNom[1] == 0 || (pszNom[1] == L'.' && pszNom[2] == 0));
}

// ============================================================================== joining and splitting

void CDiskFile::MakePath(wchar_t* pszSortie, const wchar_t* pszDisque, const wchar_t* pszRepertoire,
                         const wchar_t* pszFichier, const wchar_t* pszExtension) noexcept {
    if (pszSortie == nullptr) return;
    wchar_t szTravail[knTailleChemin];
    size_t n = 0;
    bool bDeborde = false;
    auto Ajoute = [&](const wchar_t* psz) {
        for (; psz != nullptr && *psz != 0; ++psz) {
            if (n >= static_cast<size_t>(kMaxPath)) {
                bDeborde = true;
                return;
            }
            szTravail[n++] = *psz == L'\\' ? L'/' : *psz;
        }
    };
    auto AjouteCaractere = [&](wchar_t c) {
        const wchar_t sz[2] = {c, 0};
        Ajoute(sz);
    };
    Ajoute(pszDisque);
    if (pszRepertoire != nullptr && pszRepertoire[0] != 0) {
        Ajoute(pszRepertoire);
        if (!bEstSeparateur(szTravail[n - 1])) AjouteCaractere(L'/');
    }
    Ajoute(pszFichier);
    if (pszExtension != nullptr && pszExtension[0] != 0) {
        if (pszExtension[0] != L'.') AjouteCaractere(L'.');
        Ajoute(pszExtension);
    }
    // A path cut at the limit would name another file: too long gives the empty name, which no
    // system call accepts.
    if (bDeborde) n = 0;
    szTravail[n] = 0;
    std::wmemcpy(pszSortie, szTravail, n + 1);
}

void CDiskFile::__SplitPath(const wchar_t* pszChemin, wchar_t* pszDisque, wchar_t* pszRepertoire, wchar_t* pszNom,
                            wchar_t* pszExtension) noexcept {
    if (pszDisque != nullptr) pszDisque[0] = 0;
    wchar_t szChemin[knTailleChemin];
    nCopieSlash(szChemin, knTailleChemin, pszChemin);
    const wchar_t* pszFichier = szChemin;
    if (const wchar_t* pszSlash = std::wcsrchr(szChemin, L'/'); pszSlash != nullptr) pszFichier = pszSlash + 1;
    const wchar_t* pszPoint = std::wcsrchr(pszFichier, L'.');
    if (pszPoint == nullptr) pszPoint = pszFichier + std::wcslen(pszFichier);
    if (pszRepertoire != nullptr) {
        const size_t n = static_cast<size_t>(pszFichier - szChemin);
        std::wmemcpy(pszRepertoire, szChemin, n);
        pszRepertoire[n] = 0;
    }
    if (pszNom != nullptr) {
        const size_t n = static_cast<size_t>(pszPoint - pszFichier);
        std::wmemcpy(pszNom, pszFichier, n);
        pszNom[n] = 0;
    }
    if (pszExtension != nullptr) std::wcscpy(pszExtension, pszPoint);
}

// ============================================================================== the pattern

bool CDiskFile::bHasPatternsW(const wchar_t* pszTexte) noexcept {
    return pszTexte != nullptr && std::wcspbrk(pszTexte, L"*?") != nullptr;
}

bool CDiskFile::_bFiltreFileName(const wchar_t* pszNom, const wchar_t* pszMotif) noexcept {
    if (pszNom == nullptr) return false;
    if (pszMotif == nullptr) return true;
    // A final "*.*" asks for every name, with an extension or not, as users of this language
    // expect; it is the same as the final star alone.
    size_t nMotif = std::wcslen(pszMotif);
    if (nMotif >= 3 && std::wcscmp(pszMotif + nMotif - 3, L"*.*") == 0) nMotif -= 2;
    const wchar_t* const pszFinMotif = pszMotif + nMotif;

    const wchar_t* pszEtoile = nullptr;  // the one backtrack point: just behind the last star
    const wchar_t* pszReprise = nullptr;  // where the name resumes when we go back to it
    while (*pszNom != 0) {
        if (pszMotif < pszFinMotif && *pszMotif == L'*') {
            while (pszMotif < pszFinMotif && *pszMotif == L'*') ++pszMotif;
            if (pszMotif == pszFinMotif) return true;
            pszEtoile = pszMotif;
            pszReprise = pszNom;
        } else if (pszMotif < pszFinMotif && (*pszMotif == L'?' || *pszMotif == *pszNom)) {
            ++pszMotif;
            ++pszNom;
        } else if (pszEtoile != nullptr) {
            pszMotif = pszEtoile;
            pszNom = ++pszReprise;
        } else {
            return false;
        }
    }
    while (pszMotif < pszFinMotif && *pszMotif == L'*') ++pszMotif;
    return pszMotif == pszFinMotif;
}

// ============================================================================== system calls

int CDiskFile::Unix_open(const wchar_t* pszNom, int nFlags, int nMode) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::open(clNom.pszGet(), nFlags, static_cast<mode_t>(nMode)) : -1;
}

int CDiskFile::Unix_stat(const wchar_t* pszNom, struct stat* pstStat) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::stat(clNom.pszGet(), pstStat) : -1;
}

int CDiskFile::Unix_lstat(const wchar_t* pszNom, struct stat* pstStat) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::lstat(clNom.pszGet(), pstStat) : -1;
}

int CDiskFile::Unix_access(const wchar_t* pszNom, int nMode) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::access(clNom.pszGet(), nMode) : -1;
}

int CDiskFile::Unix_chmod(const wchar_t* pszNom, unsigned int nMode) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::chmod(clNom.pszGet(), static_cast<mode_t>(nMode)) : -1;
}

int CDiskFile::Unix_unlink(const wchar_t* pszNom) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::unlink(clNom.pszGet()) : -1;
}

int CDiskFile::Unix_chdir(const wchar_t* pszNom) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::chdir(clNom.pszGet()) : -1;
}

wchar_t* CDiskFile::Unix_getcwd(wchar_t* pszSortie, unsigned long nTaille) noexcept {
    if (pszSortie == nullptr || nTaille == 0) {
        errno = EINVAL;
        return nullptr;
    }
    char* pszCourant = getcwd(nullptr, 0);
    if (pszCourant == nullptr) return nullptr;
    const int nCaracteres = UTF8ToWideLen(pszCourant, -1);  // terminator counted
    if (nCaracteres <= 0) {
        std::free(pszCourant);
        errno = EILSEQ;
        return nullptr;
    }
    if (static_cast<unsigned long>(nCaracteres) > nTaille) {
        std::free(pszCourant);
        errno = ERANGE;
        return nullptr;
    }
    nUTF8ToWide(pszCourant, -1, pszSortie, nCaracteres);
    std::free(pszCourant);
    return pszSortie;
}

bool CDiskFile::Unix_gethomedir(wchar_t* pszSortie, unsigned long nTaille) noexcept {
    if (pszSortie == nullptr || nTaille == 0) return false;
    // The password database is the truth; a process without an entry (a container's arbitrary
    // uid) still has its HOME.
    const char* pszHome = nullptr;
    struct passwd stPasswd;
    struct passwd* pstResultat = nullptr;
    char szTampon[4096];
    if (getpwuid_r(getuid(), &stPasswd, szTampon, sizeof(szTampon), &pstResultat) == 0 && pstResultat != nullptr &&
        pstResultat->pw_dir != nullptr && pstResultat->pw_dir[0] != 0)
        pszHome = pstResultat->pw_dir;
    if (pszHome == nullptr) pszHome = std::getenv("HOME");
    if (pszHome == nullptr) {
        errno = ENOENT;
        return false;
    }
    const int nCaracteres = UTF8ToWideLen(pszHome, -1);
    if (nCaracteres <= 0 || static_cast<unsigned long>(nCaracteres) > nTaille) {
        errno = nCaracteres <= 0 ? EILSEQ : ERANGE;
        return false;
    }
    return nUTF8ToWide(pszHome, -1, pszSortie, nCaracteres) > 0;
}

int CDiskFile::__Unix_rename(const wchar_t* pszAncien, const wchar_t* pszNouveau) noexcept {
    const CNomSysteme clAncien(pszAncien);
    if (!clAncien.bValide()) return -1;
    const CNomSysteme clNouveau(pszNouveau);
    return clNouveau.bValide() ? ::rename(clAncien.pszGet(), clNouveau.pszGet()) : -1;
}

int CDiskFile::__Unix_mkdir(const wchar_t* pszNom, unsigned int nMode) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::mkdir(clNom.pszGet(), static_cast<mode_t>(nMode)) : -1;
}

int CDiskFile::__Unix_rmdir(const wchar_t* pszNom) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? ::rmdir(clNom.pszGet()) : -1;
}

void* CDiskFile::__Unix_opendir(const wchar_t* pszNom) noexcept {
    const CNomSysteme clNom(pszNom);
    return clNom.bValide() ? static_cast<void*>(::opendir(clNom.pszGet())) : nullptr;
}
