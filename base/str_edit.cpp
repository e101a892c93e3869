// Zero-terminated texts: allocation, bounded copies, trimming, replacing, searching, line readers.
#include "base/str_edit.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/characters.h"
#include "base/code_pages.h"
#include "base/internal/utf_codec.h"
#include "base/unicode.h"

namespace {

constexpr wchar_t VIDE_W[1] = {0};

const wchar_t* pszOuVide(const wchar_t* pszTexte) noexcept { return pszTexte != nullptr ? pszTexte : VIDE_W; }

template <class T>
size_t nLongueurBornee(const T* pszTexte, size_t nMax) noexcept {
    if constexpr (sizeof(T) == 1) return strnlen(pszTexte, nMax);
    else return wcsnlen(pszTexte, nMax);
}

// A malloc copy of at most nLongueur characters (-1: all), terminated.
template <class T>
T* pszCopie(const T* pszTexte, int nLongueur) noexcept {
    static const T cVide = 0;
    if (pszTexte == nullptr) pszTexte = &cVide;
    const size_t n = nLongueurBornee(pszTexte, nLongueur < 0 ? SIZE_MAX : static_cast<size_t>(nLongueur));
    auto* pszSortie = static_cast<T*>(malloc((n + 1) * sizeof(T)));
    if (pszSortie == nullptr) return nullptr;
    memcpy(pszSortie, pszTexte, n * sizeof(T));
    pszSortie[n] = 0;
    return pszSortie;
}

template <class T>
bool bRedimensionne(T** ppszTexte, int nCaracteres) noexcept {
    if (ppszTexte == nullptr || nCaracteres < 0) return false;
    const bool bNouveau = *ppszTexte == nullptr;
    void* pNouveau = realloc(*ppszTexte, (static_cast<size_t>(nCaracteres) + 1) * sizeof(T));
    if (pNouveau == nullptr) return false;
    *ppszTexte = static_cast<T*>(pNouveau);
    if (bNouveau) (*ppszTexte)[0] = 0;
    (*ppszTexte)[nCaracteres] = 0;  // cuts a longer text; beyond the terminator of a shorter one
    return true;
}

// Copies at most nMax characters of the source to the target of nTaille, from position nDebut.
template <class T>
int nCopieBornee(T* pszCible, int nTaille, size_t nDebut, const T* pszSource, size_t nMax) noexcept {
    const size_t nPlace = static_cast<size_t>(nTaille) - 1 - nDebut;
    const size_t n = pszSource == nullptr ? 0 : nLongueurBornee(pszSource, nMax < nPlace ? nMax : nPlace);
    memmove(pszCible + nDebut, pszSource != nullptr ? pszSource : pszCible, n * sizeof(T));
    pszCible[nDebut + n] = 0;
    return static_cast<int>(nDebut + n);
}

// Where the text already in a target of nTaille ends; a target with no terminator inside its size
// is cut to fit.
template <class T>
size_t nFinDansCible(T* pszCible, int nTaille) noexcept {
    size_t n = nLongueurBornee(pszCible, static_cast<size_t>(nTaille));
    if (n >= static_cast<size_t>(nTaille)) {
        n = static_cast<size_t>(nTaille) - 1;
        pszCible[n] = 0;
    }
    return n;
}

inline bool bBlanc(wchar_t c) noexcept { return c == L' ' || c == L'\t'; }
inline bool bBlancOuFinDeLigne(wchar_t c) noexcept { return bBlanc(c) || c == L'\r' || c == L'\n'; }

template <class T, class FGarde>
T* pszGarde(T* pszTexte, FGarde fnGarde) noexcept {
    if (pszTexte == nullptr) return pszTexte;
    T* pszEcrit = pszTexte;
    for (const T* pszLu = pszTexte; *pszLu != 0; ++pszLu)
        if (fnGarde(*pszLu)) *pszEcrit++ = *pszLu;
    *pszEcrit = 0;
    return pszTexte;
}

template <class FOte>
wchar_t* pszOteGauche(wchar_t* pszTexte, FOte fnOte) noexcept {
    if (pszTexte == nullptr) return pszTexte;
    size_t nDebut = 0;
    while (pszTexte[nDebut] != 0 && fnOte(pszTexte[nDebut])) ++nDebut;
    if (nDebut != 0) wmemmove(pszTexte, pszTexte + nDebut, wcslen(pszTexte + nDebut) + 1);
    return pszTexte;
}

template <class FOte>
wchar_t* pszOteDroite(wchar_t* pszTexte, FOte fnOte) noexcept {
    if (pszTexte == nullptr) return pszTexte;
    size_t n = wcslen(pszTexte);
    while (n > 0 && fnOte(pszTexte[n - 1])) --n;
    pszTexte[n] = 0;
    return pszTexte;
}

template <class T, class FBlanc>
T* pszPrepare(T* pszTexte, FBlanc fnBlanc) noexcept {
    if (pszTexte == nullptr) return pszTexte;
    T* pszEcrit = pszTexte;
    bool bBlancEnAttente = false;
    for (const T* pszLu = pszTexte; *pszLu != 0; ++pszLu) {
        if (fnBlanc(*pszLu)) {
            bBlancEnAttente = pszEcrit != pszTexte;  // none at the start
            continue;
        }
        if (bBlancEnAttente) *pszEcrit++ = T(' ');
        bBlancEnAttente = false;
        *pszEcrit++ = *pszLu;
    }
    *pszEcrit = 0;
    return pszTexte;
}

// The first place in the first nTexte characters where the pattern of nCherche characters occurs,
// every character read through fnPli.
template <class T, class FPli>
const T* pszCherche(const T* pszTexte, size_t nTexte, const T* pszMotif, size_t nMotif, FPli fnPli) noexcept {
    if (nMotif == 0) return pszTexte;
    for (size_t i = 0; i + nMotif <= nTexte; ++i) {
        size_t k = 0;
        while (k < nMotif && fnPli(pszTexte[i + k]) == fnPli(pszMotif[k])) ++k;
        if (k == nMotif) return pszTexte + i;
    }
    return nullptr;
}

template <class T>
const T* pszChercheDernier(const T* pszTexte, const T* pszMotif) noexcept {
    if (pszTexte == nullptr || pszMotif == nullptr) return nullptr;
    const size_t nTexte = nLongueurBornee(pszTexte, SIZE_MAX);
    const size_t nMotif = nLongueurBornee(pszMotif, SIZE_MAX);
    if (nMotif == 0) return pszTexte;
    for (size_t i = nTexte; i >= nMotif; --i)
        if (memcmp(pszTexte + i - nMotif, pszMotif, nMotif * sizeof(T)) == 0) return pszTexte + i - nMotif;
    return nullptr;
}

const auto PLI_AUCUN_W = [](wchar_t c) { return c; };
const auto PLI_MAJUSCULE_W = [](wchar_t c) { return STR_ToUpper(c); };
const auto PLI_AUCUN_A = [](char c) { return c; };
const auto PLI_MAJUSCULE_A = [](char c) { return STR_cToUpperA(c); };

}  // namespace

wchar_t* STR_pszCreate(const wchar_t* pszTexte, int nLongueur) noexcept { return pszCopie(pszTexte, nLongueur); }
char* STR_pszCreateA(const char* pszTexte, int nLongueur) noexcept { return pszCopie(pszTexte, nLongueur); }
wchar_t* STR_pszCreateW(const wchar_t* pszTexte, int nLongueur) noexcept { return pszCopie(pszTexte, nLongueur); }

wchar_t* STR_pszCreateStandard(const char* pszTexte, int nOctets) noexcept {
    if (pszTexte == nullptr) return pszCopie<wchar_t>(nullptr, 0);
    const size_t n = nLongueurBornee(pszTexte, nOctets < 0 ? SIZE_MAX : static_cast<size_t>(nOctets));
    if (n == 0) return pszCopie<wchar_t>(nullptr, 0);
    if (n > static_cast<size_t>(INT_MAX) - 1) return nullptr;
    const int nCaracteres = MultiByteToWideChar(CP_ACP, 0, pszTexte, static_cast<int>(n), nullptr, 0);
    if (nCaracteres == 0) return nullptr;
    auto* pszSortie = static_cast<wchar_t*>(malloc((static_cast<size_t>(nCaracteres) + 1) * sizeof(wchar_t)));
    if (pszSortie == nullptr) return nullptr;
    if (MultiByteToWideChar(CP_ACP, 0, pszTexte, static_cast<int>(n), pszSortie, nCaracteres) != nCaracteres) {
        free(pszSortie);
        return nullptr;
    }
    pszSortie[nCaracteres] = 0;
    return pszSortie;
}

void STR_Delete(void* pszTexte) noexcept { free(pszTexte); }
void STR_DeleteA(char* pszTexte) noexcept { free(pszTexte); }
void STR_DeleteW(wchar_t* pszTexte) noexcept { free(pszTexte); }

bool STR_bResizeA(char** ppszTexte, int nCaracteres) noexcept { return bRedimensionne(ppszTexte, nCaracteres); }
bool STR_bResizeW(wchar_t** ppszTexte, int nCaracteres) noexcept { return bRedimensionne(ppszTexte, nCaracteres); }

int STR_nCopyW(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept {
    if (pszCible == nullptr || nTaille <= 0) return 0;
    return nCopieBornee(pszCible, nTaille, 0, pszSource, SIZE_MAX);
}

int STR_nCopy(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept {
    return STR_nCopyW(pszCible, nTaille, pszSource);
}

int STR_nCopyA(char* pszCible, int nTaille, const char* pszSource) noexcept {
    if (pszCible == nullptr || nTaille <= 0) return 0;
    return nCopieBornee(pszCible, nTaille, 0, pszSource, SIZE_MAX);
}

int STR_nCut(wchar_t* pszCible, int nTaille, const wchar_t* pszSource, int nMax) noexcept {
    if (pszCible == nullptr || nTaille <= 0) return 0;
    return nCopieBornee(pszCible, nTaille, 0, pszSource, nMax < 0 ? 0 : static_cast<size_t>(nMax));
}

int STR_nCatW(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept {
    if (pszCible == nullptr || nTaille <= 0) return 0;
    return nCopieBornee(pszCible, nTaille, nFinDansCible(pszCible, nTaille), pszSource, SIZE_MAX);
}

int STR_nCat(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept {
    return STR_nCatW(pszCible, nTaille, pszSource);
}

int STR_nCatA(char* pszCible, int nTaille, const char* pszSource) noexcept {
    if (pszCible == nullptr || nTaille <= 0) return 0;
    return nCopieBornee(pszCible, nTaille, nFinDansCible(pszCible, nTaille), pszSource, SIZE_MAX);
}

int STR_nCatCut(wchar_t* pszCible, int nTaille, const wchar_t* pszSource, int nMax) noexcept {
    if (pszCible == nullptr || nTaille <= 0) return 0;
    return nCopieBornee(pszCible, nTaille, nFinDansCible(pszCible, nTaille), pszSource,
                        nMax < 0 ? 0 : static_cast<size_t>(nMax));
}

int STR_nLenW(const wchar_t* pszTexte) noexcept {
    return pszTexte == nullptr ? 0 : static_cast<int>(wcsnlen(pszTexte, INT_MAX));
}
int STR_nLen(const wchar_t* pszTexte) noexcept { return STR_nLenW(pszTexte); }
int STR_nLenA(const char* pszTexte) noexcept {
    return pszTexte == nullptr ? 0 : static_cast<int>(strnlen(pszTexte, INT_MAX));
}

wchar_t* STR_pszConcat(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    pszTexte1 = pszOuVide(pszTexte1);
    pszTexte2 = pszOuVide(pszTexte2);
    const size_t n1 = wcslen(pszTexte1);
    const size_t n2 = wcslen(pszTexte2);
    auto* pszSortie = static_cast<wchar_t*>(malloc((n1 + n2 + 1) * sizeof(wchar_t)));
    if (pszSortie == nullptr) return nullptr;
    wmemcpy(pszSortie, pszTexte1, n1);
    wmemcpy(pszSortie + n1, pszTexte2, n2 + 1);
    return pszSortie;
}

wchar_t* STR_pszConcatPoint(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    pszTexte1 = pszOuVide(pszTexte1);
    pszTexte2 = pszOuVide(pszTexte2);
    const size_t n1 = wcslen(pszTexte1);
    const bool bPoint = pszTexte2[0] != 0 && pszTexte2[0] != L'.' && (n1 == 0 || pszTexte1[n1 - 1] != L'.');
    if (!bPoint) return STR_pszConcat(pszTexte1, pszTexte2);
    const size_t n2 = wcslen(pszTexte2);
    auto* pszSortie = static_cast<wchar_t*>(malloc((n1 + n2 + 2) * sizeof(wchar_t)));
    if (pszSortie == nullptr) return nullptr;
    wmemcpy(pszSortie, pszTexte1, n1);
    pszSortie[n1] = L'.';
    wmemcpy(pszSortie + n1 + 1, pszTexte2, n2 + 1);
    return pszSortie;
}

int STR_Complete(wchar_t* pszTexte, int nTaille, int nLongueur, wchar_t cCaractere) noexcept {
    if (pszTexte == nullptr || nTaille <= 0) return 0;
    size_t n = nFinDansCible(pszTexte, nTaille);
    const size_t nCible = nLongueur < 0 ? 0 : (static_cast<size_t>(nLongueur) < static_cast<size_t>(nTaille) - 1
                                                   ? static_cast<size_t>(nLongueur)
                                                   : static_cast<size_t>(nTaille) - 1);
    while (n < nCible) pszTexte[n++] = cCaractere;
    pszTexte[n] = 0;
    return static_cast<int>(n);
}

wchar_t* STR_RemplaceW(const wchar_t* pszTexte, const wchar_t* pszAncien, const wchar_t* pszNouveau) noexcept {
    pszTexte = pszOuVide(pszTexte);
    pszAncien = pszOuVide(pszAncien);
    pszNouveau = pszOuVide(pszNouveau);
    const size_t nAncien = wcslen(pszAncien);
    if (nAncien == 0) return STR_pszCreateW(pszTexte);
    const size_t nNouveau = wcslen(pszNouveau);
    size_t nOccurrences = 0;
    for (const wchar_t* p = wcsstr(pszTexte, pszAncien); p != nullptr; p = wcsstr(p + nAncien, pszAncien))
        ++nOccurrences;
    const size_t nTexte = wcslen(pszTexte);
    const size_t nSortie = nTexte - nOccurrences * nAncien + nOccurrences * nNouveau;
    auto* pszSortie = static_cast<wchar_t*>(malloc((nSortie + 1) * sizeof(wchar_t)));
    if (pszSortie == nullptr) return nullptr;
    wchar_t* pszEcrit = pszSortie;
    const wchar_t* pszLu = pszTexte;
    for (const wchar_t* p = wcsstr(pszLu, pszAncien); p != nullptr; p = wcsstr(pszLu, pszAncien)) {
        wmemcpy(pszEcrit, pszLu, static_cast<size_t>(p - pszLu));
        pszEcrit += p - pszLu;
        wmemcpy(pszEcrit, pszNouveau, nNouveau);
        pszEcrit += nNouveau;
        pszLu = p + nAncien;
    }
    wcscpy(pszEcrit, pszLu);
    return pszSortie;
}

char* STR_SuppressAllSpacesA(char* pszTexte) noexcept {
    return pszGarde(pszTexte, [](char c) { return c != ' ' && c != '\t'; });
}

wchar_t* STR_SuppressAllSpacesW(wchar_t* pszTexte) noexcept {
    return pszGarde(pszTexte, [](wchar_t c) { return !bBlanc(c); });
}

wchar_t* STR_SuppressLeftCar(wchar_t* pszTexte, wchar_t cCaractere) noexcept {
    return pszOteGauche(pszTexte, [cCaractere](wchar_t c) { return c == cCaractere; });
}

wchar_t* STR_SuppressRightCar(wchar_t* pszTexte, wchar_t cCaractere) noexcept {
    return pszOteDroite(pszTexte, [cCaractere](wchar_t c) { return c == cCaractere; });
}

wchar_t* STR_SuppressSideCar(wchar_t* pszTexte, wchar_t cCaractere) noexcept {
    return STR_SuppressLeftCar(STR_SuppressRightCar(pszTexte, cCaractere), cCaractere);
}

wchar_t* STR_SuppressLeftSpaces(wchar_t* pszTexte) noexcept { return pszOteGauche(pszTexte, bBlancOuFinDeLigne); }
wchar_t* STR_SuppressRightSpaces(wchar_t* pszTexte) noexcept { return pszOteDroite(pszTexte, bBlancOuFinDeLigne); }
wchar_t* STR_SuppressSideSpaces(wchar_t* pszTexte) noexcept {
    return STR_SuppressLeftSpaces(STR_SuppressRightSpaces(pszTexte));
}

char* STR_PrepareChaineA(char* pszTexte) noexcept {
    return pszPrepare(pszTexte, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

wchar_t* STR_PrepareChaineW(wchar_t* pszTexte) noexcept { return pszPrepare(pszTexte, bBlancOuFinDeLigne); }

const wchar_t* STR_StrIStr(const wchar_t* pszTexte, const wchar_t* pszMotif) noexcept {
    if (pszTexte == nullptr || pszMotif == nullptr) return nullptr;
    return pszCherche(pszTexte, wcslen(pszTexte), pszMotif, wcslen(pszMotif), PLI_MAJUSCULE_W);
}

const wchar_t* STR_pszStrnstr(const wchar_t* pszTexte, const wchar_t* pszMotif, int nMax) noexcept {
    if (pszTexte == nullptr || pszMotif == nullptr || nMax < 0) return nullptr;
    return pszCherche(pszTexte, wcsnlen(pszTexte, static_cast<size_t>(nMax)), pszMotif, wcslen(pszMotif), PLI_AUCUN_W);
}

const wchar_t* STR_pszUpStrstr(const wchar_t* pszTexte, const wchar_t* pszMotifMajuscule) noexcept {
    if (pszTexte == nullptr || pszMotifMajuscule == nullptr) return nullptr;
    const size_t nMotif = wcslen(pszMotifMajuscule);
    if (nMotif == 0) return pszTexte;
    const size_t nTexte = wcslen(pszTexte);
    for (size_t i = 0; i + nMotif <= nTexte; ++i) {
        size_t k = 0;
        while (k < nMotif && STR_ToUpper(pszTexte[i + k]) == pszMotifMajuscule[k]) ++k;
        if (k == nMotif) return pszTexte + i;
    }
    return nullptr;
}

const char* STR_strnistrA(const char* pszTexte, const char* pszMotif, int nMax) noexcept {
    if (pszTexte == nullptr || pszMotif == nullptr || nMax < 0) return nullptr;
    return pszCherche(pszTexte, strnlen(pszTexte, static_cast<size_t>(nMax)), pszMotif, strlen(pszMotif),
                      PLI_MAJUSCULE_A);
}

const char* STR_strnstrA(const char* pszTexte, const char* pszMotif, int nMax) noexcept {
    if (pszTexte == nullptr || pszMotif == nullptr || nMax < 0) return nullptr;
    return pszCherche(pszTexte, strnlen(pszTexte, static_cast<size_t>(nMax)), pszMotif, strlen(pszMotif), PLI_AUCUN_A);
}

const wchar_t* STRRSTRW(const wchar_t* pszTexte, const wchar_t* pszMotif) noexcept {
    return pszChercheDernier(pszTexte, pszMotif);
}
const wchar_t* STRRSTR(const wchar_t* pszTexte, const wchar_t* pszMotif) noexcept {
    return pszChercheDernier(pszTexte, pszMotif);
}
const char* STRRSTRA(const char* pszTexte, const char* pszMotif) noexcept {
    return pszChercheDernier(pszTexte, pszMotif);
}

const wchar_t* STRRPBRK(const wchar_t* pszTexte, const wchar_t* pszEnsemble) noexcept {
    if (pszTexte == nullptr || pszEnsemble == nullptr) return nullptr;
    const wchar_t* pszTrouve = nullptr;
    for (const wchar_t* p = pszTexte; *p != 0; ++p)
        if (wcschr(pszEnsemble, *p) != nullptr) pszTrouve = p;
    return pszTrouve;
}

bool STR_bDebut(const wchar_t* pszTexte, const wchar_t* pszDebut, bool bSansCasse) noexcept {
    pszTexte = pszOuVide(pszTexte);
    pszDebut = pszOuVide(pszDebut);
    for (; *pszDebut != 0; ++pszDebut, ++pszTexte) {
        if (*pszTexte == 0) return false;
        const bool bEgal = bSansCasse ? STR_ToUpper(*pszTexte) == STR_ToUpper(*pszDebut) : *pszTexte == *pszDebut;
        if (!bEgal) return false;
    }
    return true;
}

const void* xmemmem(const void* pTexte, size_t nTexte, const void* pMotif, size_t nMotif) noexcept {
    if (pTexte == nullptr || (pMotif == nullptr && nMotif != 0)) return nullptr;
    if (nMotif == 0) return pTexte;
    return memmem(pTexte, nTexte, pMotif, nMotif);
}

// ---- exported helpers --------------------------------------------------------------------------

namespace {

// Reads one line (its LF kept) into a malloc buffer that grows as needed; answers the bytes read,
// or -1 at end of file, on lack of memory, or for a line past what an int counts (errno EOVERFLOW).
int nLitLigne(FILE* pstFichier, char** ppszLigne, size_t* pnTaille) noexcept {
    size_t nLu = 0;
    int nOctet = 0;
    flockfile(pstFichier);
    while ((nOctet = getc_unlocked(pstFichier)) != EOF) {
        if (nLu + 2 > *pnTaille) {
            if (*pnTaille >= static_cast<size_t>(INT_MAX) / 2) {
                funlockfile(pstFichier);
                errno = EOVERFLOW;
                return -1;
            }
            const size_t nNouvelle = *pnTaille < 64 ? 128 : *pnTaille * 2;
            void* pNouveau = realloc(*ppszLigne, nNouvelle);
            if (pNouveau == nullptr) {
                funlockfile(pstFichier);
                return -1;
            }
            *ppszLigne = static_cast<char*>(pNouveau);
            *pnTaille = nNouvelle;
        }
        (*ppszLigne)[nLu++] = static_cast<char>(nOctet);
        if (nOctet == '\n') break;
    }
    funlockfile(pstFichier);
    if (nLu == 0) return -1;
    (*ppszLigne)[nLu] = 0;
    return static_cast<int>(nLu);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) char* STRG_pszCreate(const char* pszTexte, int nLongueur) noexcept {
    if (pszTexte == nullptr) return nullptr;
    return pszCopie(pszTexte, nLongueur);
}

wchar_t* STRG_pszCreate(const wchar_t* pszTexte, int nLongueur) noexcept {
    if (pszTexte == nullptr) return nullptr;
    return pszCopie(pszTexte, nLongueur);
}

extern "C" __attribute__((visibility("default"))) int STRG_nGetChar(FILE* pstFichier) noexcept {
    if (pstFichier == nullptr) return -1;
    const int nPremier = getc(pstFichier);
    if (nPremier == EOF) return -1;
    if (nPremier < 0x80) return nPremier;
    const size_t nSequence = TabUTF8len[nPremier];
    if (nSequence == 0) return 0xFFFD;
    uint8_t abySequence[4] = {static_cast<uint8_t>(nPremier), 0, 0, 0};
    for (size_t i = 1; i < nSequence; ++i) {
        const int nSuite = getc(pstFichier);
        if (nSuite == EOF) return 0xFFFD;
        if ((nSuite & 0xC0) != 0x80) {
            ungetc(nSuite, pstFichier);  // it may begin the next character
            return 0xFFFD;
        }
        abySequence[i] = static_cast<uint8_t>(nSuite);
    }
    uint32_t cCaractere;
    if (base_internal::nDecodeCaractereUtf8(abySequence, abySequence + nSequence, &cCaractere) == 0) return 0xFFFD;
    return static_cast<int>(cCaractere);
}

extern "C" __attribute__((visibility("default"))) int STRG_nGetLine(FILE* pstFichier, char** ppszLigne,
                                                                    int* pnTaille) noexcept {
    if (pstFichier == nullptr || ppszLigne == nullptr || pnTaille == nullptr) return -1;
    size_t nTaille = *ppszLigne == nullptr || *pnTaille < 0 ? 0 : static_cast<size_t>(*pnTaille);
    const int nLu = nLitLigne(pstFichier, ppszLigne, &nTaille);
    *pnTaille = static_cast<int>(nTaille);
    return nLu;
}

int STRG_nGetLine(FILE* pstFichier, wchar_t** ppszLigne, int* pnTaille) noexcept {
    if (pstFichier == nullptr || ppszLigne == nullptr || pnTaille == nullptr) return -1;
    char* pszOctets = nullptr;
    size_t nTailleOctets = 0;
    const int nOctets = nLitLigne(pstFichier, &pszOctets, &nTailleOctets);
    if (nOctets < 0) {
        free(pszOctets);
        return -1;
    }
    // One byte gives at most one character, whichever way the line decodes.
    int nCaracteres = -1;
    const size_t nNecessaire = static_cast<size_t>(nOctets) + 1;
    if (*ppszLigne == nullptr || *pnTaille < 0 || static_cast<size_t>(*pnTaille) < nNecessaire) {
        void* pNouveau = realloc(*ppszLigne, nNecessaire * sizeof(wchar_t));
        if (pNouveau != nullptr) {
            *ppszLigne = static_cast<wchar_t*>(pNouveau);
            *pnTaille = static_cast<int>(nNecessaire);
        }
    }
    if (*ppszLigne != nullptr && static_cast<size_t>(*pnTaille) >= nNecessaire) {
        nCaracteres = UTF8Valide(pszOctets, nOctets)
                          ? nUTF8ToWide(pszOctets, nOctets, *ppszLigne, nOctets)
                          : STR_CP1252ToWideChar(pszOctets, nOctets, *ppszLigne, nOctets);
        (*ppszLigne)[nCaracteres] = 0;
    }
    free(pszOctets);
    return nCaracteres;
}
