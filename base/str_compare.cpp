// Comparing texts: plain, folded, by the locale, and logical.
#include "base/str_compare.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/characters.h"
#include "base/code_pages.h"

namespace {

constexpr wchar_t VIDE_W[1] = {0};
constexpr char VIDE_A[1] = {0};

const wchar_t* pszOuVide(const wchar_t* pszTexte) noexcept { return pszTexte != nullptr ? pszTexte : VIDE_W; }
const char* pszOuVide(const char* pszTexte) noexcept { return pszTexte != nullptr ? pszTexte : VIDE_A; }

// The value a character compares by: bytes unsigned, wide characters as their code.
inline uint32_t nValeur(char c) noexcept { return static_cast<unsigned char>(c); }
inline uint32_t nValeur(wchar_t c) noexcept { return static_cast<uint32_t>(c); }

inline int nSigne(uint32_t n1, uint32_t n2) noexcept { return n1 < n2 ? -1 : (n1 > n2 ? 1 : 0); }

// Compares zero-terminated texts through a fold of each character; at most nMax characters.
template <class T, class FPli>
int nComparePlie(const T* pszTexte1, const T* pszTexte2, size_t nMax, FPli fnPli) noexcept {
    for (size_t i = 0; i < nMax; ++i) {
        const uint32_t c1 = fnPli(pszTexte1[i]);
        const uint32_t c2 = fnPli(pszTexte2[i]);
        if (c1 != c2) return nSigne(c1, c2);
        if (c1 == 0) break;
    }
    return 0;
}

template <class T>
size_t nLongueur(const T* pszTexte, int nLongueur) noexcept {
    if (nLongueur >= 0) return static_cast<size_t>(nLongueur);
    if constexpr (sizeof(T) == 1) return strlen(pszTexte);
    else return wcslen(pszTexte);
}

template <class T>
inline bool bChiffre(T c) noexcept {
    return c >= T('0') && c <= T('9');
}

// A wide copy of 8-bit text in the current code page: on the stack when short. Falls back to the
// bytes read as 1252 when the current code page refuses the text, so that a compare still orders.
class CWideTemporaire {
public:
    CWideTemporaire(const char* pszTexte, size_t nOctets) noexcept {
        if (nOctets == 0) return;
        if (nOctets > sizeof(m_aszPile) / sizeof(m_aszPile[0])) {
            m_pszTas = static_cast<wchar_t*>(malloc(nOctets * sizeof(wchar_t)));
            if (m_pszTas == nullptr) return;
        }
        wchar_t* pszCible = m_pszTas != nullptr ? m_pszTas : m_aszPile;
        const int nOctetsInt = static_cast<int>(nOctets);
        m_nLongueur = MultiByteToWideChar(CP_ACP, 0, pszTexte, nOctetsInt, pszCible, nOctetsInt);
        if (m_nLongueur == 0) m_nLongueur = STR_CP1252ToWideChar(pszTexte, nOctetsInt, pszCible, nOctetsInt);
    }
    ~CWideTemporaire() { free(m_pszTas); }
    CWideTemporaire(const CWideTemporaire&) = delete;
    CWideTemporaire& operator=(const CWideTemporaire&) = delete;

    const wchar_t* psz() const noexcept { return m_pszTas != nullptr ? m_pszTas : m_aszPile; }
    int nLongueur() const noexcept { return m_nLongueur; }

private:
    wchar_t m_aszPile[128];
    wchar_t* m_pszTas = nullptr;
    int m_nLongueur = 0;
};

wchar_t cWideDe(char cCaractere) noexcept {
    wchar_t cWide = 0;
    if (MultiByteToWideChar(CP_ACP, 0, &cCaractere, 1, &cWide, 1) != 1)
        cWide = STR_FromCP1252(static_cast<unsigned char>(cCaractere));
    return cWide;
}

template <class T>
int nCompareNumerique(const T* pszChiffres1, int nLongueur1, const T* pszChiffres2, int nLongueur2,
                      int* pnNote) noexcept {
    if (pszChiffres1 == nullptr || nLongueur1 < 0) nLongueur1 = 0;
    if (pszChiffres2 == nullptr || nLongueur2 < 0) nLongueur2 = 0;
    int nNoteZeros = 0;
    // The surplus of the longer run must be zeros, or its number is the greater.
    while (nLongueur1 > nLongueur2) {
        if (*pszChiffres1 != T('0')) return 1;
        ++pszChiffres1, --nLongueur1;
        nNoteZeros = -1;
    }
    while (nLongueur2 > nLongueur1) {
        if (*pszChiffres2 != T('0')) return -1;
        ++pszChiffres2, --nLongueur2;
        nNoteZeros = 1;
    }
    for (int k = 0; k < nLongueur1; ++k)
        if (pszChiffres1[k] != pszChiffres2[k]) return pszChiffres1[k] < pszChiffres2[k] ? -1 : 1;
    if (pnNote != nullptr && *pnNote == 0) *pnNote = nNoteZeros;
    return 0;
}

// The logical compare without the locale, walking both texts once. Each text ends at its end
// pointer, or, with bTermine, at its terminator. Within two runs of other characters the
// first difference decides, otherwise the run that goes on is the greater; two numbers compare by
// their significant digits, and the leading zeros leave their note for the end.
template <class T, bool bTermine>
int nCompareLogiqueParValeur(const T* psz1, const T* const pszFin1, const T* psz2, const T* const pszFin2) noexcept {
    const auto bFin1 = [pszFin1](const T* p) {
        if constexpr (bTermine) return (void)pszFin1, *p == 0;
        else return p == pszFin1;
    };
    const auto bFin2 = [pszFin2](const T* p) {
        if constexpr (bTermine) return (void)pszFin2, *p == 0;
        else return p == pszFin2;
    };
    // An identical beginning decides nothing and leaves no note: it is skipped at full speed, then
    // the walk resumes at the start of the number it ends in, or inside its run of other
    // characters, where the run rule applies at once.
    const T* const pszDebut1 = psz1;
    if constexpr (bTermine) {
        while (*psz1 == *psz2 && *psz1 != 0) ++psz1, ++psz2;
    } else {
        while (psz1 != pszFin1 && psz2 != pszFin2 && *psz1 == *psz2) ++psz1, ++psz2;
    }
    if (psz1 != pszDebut1) {
        if (bChiffre(psz1[-1])) {
            while (psz1 != pszDebut1 && bChiffre(psz1[-1])) --psz1, --psz2;
        } else {
            const bool bSuite1 = !bFin1(psz1) && !bChiffre(*psz1);
            const bool bSuite2 = !bFin2(psz2) && !bChiffre(*psz2);
            if (bSuite1 && bSuite2) return nSigne(nValeur(*psz1), nValeur(*psz2));
            if (bSuite1 != bSuite2) return bSuite1 ? 1 : -1;
        }
    }
    int nNote = 0;
    while (true) {
        if (bFin2(psz2)) return !bFin1(psz1) ? 1 : nNote;
        if (bFin1(psz1)) return -1;
        const bool bChiffre1 = bChiffre(*psz1);
        const bool bChiffre2 = bChiffre(*psz2);
        if (bChiffre1 && bChiffre2) {
            const T* pszZeros1 = psz1;
            const T* pszZeros2 = psz2;
            while (!bFin1(psz1) && *psz1 == T('0')) ++psz1;
            while (!bFin2(psz2) && *psz2 == T('0')) ++psz2;
            int nPremiere = 0;
            while (true) {
                const bool bSuite1 = !bFin1(psz1) && bChiffre(*psz1);
                const bool bSuite2 = !bFin2(psz2) && bChiffre(*psz2);
                if (!bSuite1 || !bSuite2) {
                    if (bSuite1 != bSuite2) return bSuite1 ? 1 : -1;  // more significant digits
                    break;
                }
                if (nPremiere == 0 && *psz1 != *psz2) nPremiere = *psz1 < *psz2 ? -1 : 1;
                ++psz1, ++psz2;
            }
            if (nPremiere != 0) return nPremiere;
            const ptrdiff_t nZeros1 = psz1 - pszZeros1;  // the runs have as many significant digits
            const ptrdiff_t nZeros2 = psz2 - pszZeros2;
            if (nNote == 0 && nZeros1 != nZeros2) nNote = nZeros1 > nZeros2 ? -1 : 1;
        } else if (bChiffre1 || bChiffre2) {
            return nSigne(nValeur(*psz1), nValeur(*psz2));  // a digit never equals anything else
        } else {
            while (!bFin1(psz1) && !bFin2(psz2) && *psz1 == *psz2 && !bChiffre(*psz1)) ++psz1, ++psz2;
            const bool bSuite1 = !bFin1(psz1) && !bChiffre(*psz1);
            const bool bSuite2 = !bFin2(psz2) && !bChiffre(*psz2);
            if (bSuite1 && bSuite2) return nSigne(nValeur(*psz1), nValeur(*psz2));
            if (bSuite1 != bSuite2) return bSuite1 ? 1 : -1;
        }
    }
}

// The logical compare by the locale's collation, for both widths: runs are measured, numbers
// compared as above, and the other runs handed to the lexical compare.
template <class T>
int nCompareLogiqueLexico(const T* pszTexte1, size_t nLongueur1, const T* pszTexte2, size_t nLongueur2,
                          unsigned int dwFlags) noexcept {
    size_t i = 0;
    size_t j = 0;
    int nNote = 0;
    while (true) {
        if (j >= nLongueur2) return i < nLongueur1 ? 1 : nNote;
        if (i >= nLongueur1) return -1;
        size_t nChiffres1 = 0;
        size_t nChiffres2 = 0;
        while (i + nChiffres1 < nLongueur1 && bChiffre(pszTexte1[i + nChiffres1])) ++nChiffres1;
        while (j + nChiffres2 < nLongueur2 && bChiffre(pszTexte2[j + nChiffres2])) ++nChiffres2;
        int nResultat;
        if (nChiffres1 != 0 && nChiffres2 != 0) {
            nResultat = nCompareNumerique(pszTexte1 + i, static_cast<int>(nChiffres1), pszTexte2 + j,
                                          static_cast<int>(nChiffres2), &nNote);
            i += nChiffres1;
            j += nChiffres2;
        } else if (nChiffres1 != 0 || nChiffres2 != 0) {
            // A number against anything else: the first characters alone decide.
            if constexpr (sizeof(T) == 1) nResultat = STR_nCompareCharLexicoA(pszTexte1[i], pszTexte2[j], dwFlags);
            else nResultat = STR_nCompareCharLexicoW(pszTexte1[i], pszTexte2[j], dwFlags);
            ++i;
            ++j;
        } else {
            size_t nAutres1 = 1;
            size_t nAutres2 = 1;
            while (i + nAutres1 < nLongueur1 && !bChiffre(pszTexte1[i + nAutres1])) ++nAutres1;
            while (j + nAutres2 < nLongueur2 && !bChiffre(pszTexte2[j + nAutres2])) ++nAutres2;
            if constexpr (sizeof(T) == 1) {
                CWideTemporaire clWide1(pszTexte1 + i, nAutres1);
                CWideTemporaire clWide2(pszTexte2 + j, nAutres2);
                nResultat = STR_nCompareStringLexicoW(clWide1.psz(), clWide1.nLongueur(), clWide2.psz(),
                                                      clWide2.nLongueur(), dwFlags);
            } else {
                nResultat = STR_nCompareStringLexicoW(pszTexte1 + i, static_cast<int>(nAutres1), pszTexte2 + j,
                                                      static_cast<int>(nAutres2), dwFlags);
            }
            i += nAutres1;
            j += nAutres2;
        }
        if (nResultat != 0) return nResultat;
    }
}

template <class T>
int nCompareLogique(const T* pszTexte1, size_t nLongueur1, const T* pszTexte2, size_t nLongueur2,
                    unsigned int dwFlags) noexcept {
    if ((dwFlags & STR_COMPARE_LEXICO) != 0)
        return nCompareLogiqueLexico(pszTexte1, nLongueur1, pszTexte2, nLongueur2, dwFlags);
    return nCompareLogiqueParValeur<T, false>(pszTexte1, pszTexte1 + nLongueur1, pszTexte2, pszTexte2 + nLongueur2);
}

}  // namespace

int STR_nCompareA(const char* pszTexte1, const char* pszTexte2) noexcept {
    const int nResultat = strcmp(pszOuVide(pszTexte1), pszOuVide(pszTexte2));
    return nResultat < 0 ? -1 : (nResultat > 0 ? 1 : 0);
}

int STR_nCompareW(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    return nComparePlie(pszOuVide(pszTexte1), pszOuVide(pszTexte2), SIZE_MAX, [](wchar_t c) { return nValeur(c); });
}

template <class T>
int STR_nNCompare(const T* pszTexte1, const T* pszTexte2, int nMax) noexcept {
    if (nMax <= 0) return 0;
    return nComparePlie(pszOuVide(pszTexte1), pszOuVide(pszTexte2), static_cast<size_t>(nMax),
                        [](T c) { return nValeur(c); });
}
template int STR_nNCompare<char>(const char*, const char*, int) noexcept;
template int STR_nNCompare<wchar_t>(const wchar_t*, const wchar_t*, int) noexcept;

int STR_nUpCompareA(const char* pszTexte1, const char* pszTexte2) noexcept {
    return nComparePlie(pszOuVide(pszTexte1), pszOuVide(pszTexte2), SIZE_MAX,
                        [](char c) { return nValeur(STR_cToUpperA(c)); });
}

int STR_nUpCompareW(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    return nComparePlie(pszOuVide(pszTexte1), pszOuVide(pszTexte2), SIZE_MAX,
                        [](wchar_t c) { return nValeur(STR_ToUpper(c)); });
}

int STR_nNullCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    if (pszTexte1 == nullptr || pszTexte2 == nullptr) return pszTexte1 == pszTexte2 ? 0 : (pszTexte1 == nullptr ? -1 : 1);
    return STR_nCompareW(pszTexte1, pszTexte2);
}

int STR_nNullNCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2, int nMax) noexcept {
    if (pszTexte1 == nullptr || pszTexte2 == nullptr) return pszTexte1 == pszTexte2 ? 0 : (pszTexte1 == nullptr ? -1 : 1);
    return STR_nNCompare(pszTexte1, pszTexte2, nMax);
}

int STR_nEmptyNullCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    return STR_nCompareW(pszTexte1, pszTexte2);
}

int STR_nAcCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept {
    return nComparePlie(pszOuVide(pszTexte1), pszOuVide(pszTexte2), SIZE_MAX,
                        [](wchar_t c) { return nValeur(STR_cSansAccent(c)); });
}

int STR_ChaineCompareW(const wchar_t* pszTexte1, int nLongueur1, const wchar_t* pszTexte2, int nLongueur2,
                       unsigned int dwFlags) noexcept {
    if (pszTexte1 == nullptr) pszTexte1 = VIDE_W, nLongueur1 = 0;
    if (pszTexte2 == nullptr) pszTexte2 = VIDE_W, nLongueur2 = 0;
    return STR_nCompareStringBuiltIn(dwFlags, pszTexte1, nLongueur1, pszTexte2, nLongueur2) - 2;
}

int STR_ChaineCompareA(const char* pszTexte1, int nLongueur1, const char* pszTexte2, int nLongueur2,
                       unsigned int dwFlags) noexcept {
    pszTexte1 = pszOuVide(pszTexte1);
    pszTexte2 = pszOuVide(pszTexte2);
    CWideTemporaire clWide1(pszTexte1, nLongueur(pszTexte1, nLongueur1));
    CWideTemporaire clWide2(pszTexte2, nLongueur(pszTexte2, nLongueur2));
    return STR_ChaineCompareW(clWide1.psz(), clWide1.nLongueur(), clWide2.psz(), clWide2.nLongueur(), dwFlags);
}

template <>
int __STR_CompareStringEx<wchar_t>(unsigned int nLCID, unsigned int dwFlags, const wchar_t* pszTexte1,
                                   int nLongueur1, const wchar_t* pszTexte2, int nLongueur2) noexcept {
    if (pszTexte1 == nullptr) pszTexte1 = VIDE_W, nLongueur1 = 0;
    if (pszTexte2 == nullptr) pszTexte2 = VIDE_W, nLongueur2 = 0;
    const int nReponse =
        STR_piGetInfoLocale()->nCompareString(nLCID, dwFlags, pszTexte1, nLongueur1, pszTexte2, nLongueur2);
    if (nReponse >= CSTR_LESS_THAN && nReponse <= CSTR_GREATER_THAN) return nReponse - CSTR_EQUAL;
    // The locale could not compare: the plain order still gives an answer.
    const size_t n1 = nLongueur(pszTexte1, nLongueur1);
    const size_t n2 = nLongueur(pszTexte2, nLongueur2);
    for (size_t k = 0; k < n1 && k < n2; ++k)
        if (pszTexte1[k] != pszTexte2[k]) return nSigne(nValeur(pszTexte1[k]), nValeur(pszTexte2[k]));
    return n1 == n2 ? 0 : (n1 < n2 ? -1 : 1);
}

template <>
int __STR_CompareStringEx<char>(unsigned int nLCID, unsigned int dwFlags, const char* pszTexte1, int nLongueur1,
                                const char* pszTexte2, int nLongueur2) noexcept {
    pszTexte1 = pszOuVide(pszTexte1);
    pszTexte2 = pszOuVide(pszTexte2);
    CWideTemporaire clWide1(pszTexte1, nLongueur(pszTexte1, nLongueur1));
    CWideTemporaire clWide2(pszTexte2, nLongueur(pszTexte2, nLongueur2));
    return __STR_CompareStringEx<wchar_t>(nLCID, dwFlags, clWide1.psz(), clWide1.nLongueur(), clWide2.psz(),
                                          clWide2.nLongueur());
}

namespace {

// The LCID and flags of a lexical compare.
unsigned int nLCIDLexico(unsigned int* pdwFlags) noexcept {
    unsigned int nLCID = LCID_DEFAUT_UTILISATEUR;
    if ((*pdwFlags & STR_COMPARE_LCID_LOCALE) != 0) {
        nLCID = static_cast<unsigned int>(STR_nGetCurrentLCID());
        *pdwFlags &= ~STR_COMPARE_LCID_LOCALE;
    }
    *pdwFlags |= STR_COMPARE_LEXICO;
    return nLCID;
}

}  // namespace

int STR_nCompareCharLexicoW(wchar_t cCaractere1, wchar_t cCaractere2, unsigned int dwFlags) noexcept {
    const unsigned int nLCID = nLCIDLexico(&dwFlags);
    return __STR_CompareStringEx<wchar_t>(nLCID, dwFlags, &cCaractere1, 1, &cCaractere2, 1);
}

int STR_nCompareCharLexicoA(char cCaractere1, char cCaractere2, unsigned int dwFlags) noexcept {
    return STR_nCompareCharLexicoW(cWideDe(cCaractere1), cWideDe(cCaractere2), dwFlags);
}

int STR_nCompareStringLexicoW(const wchar_t* pszTexte1, int nLongueur1, const wchar_t* pszTexte2, int nLongueur2,
                              unsigned int dwFlags) noexcept {
    const unsigned int nLCID = nLCIDLexico(&dwFlags);
    return __STR_CompareStringEx<wchar_t>(nLCID, dwFlags, pszTexte1, nLongueur1, pszTexte2, nLongueur2);
}

int STR_nCompareCharSoupleW(wchar_t cCaractere1, wchar_t cCaractere2) noexcept {
    return __STR_CompareStringEx<wchar_t>(LCID_DEFAUT_UTILISATEUR, COMPARE_IGNORECASE | COMPARE_IGNORENONSPACE,
                                          &cCaractere1, 1, &cCaractere2, 1);
}

int STR_nCompareCharSoupleA(char cCaractere1, char cCaractere2) noexcept {
    return STR_nCompareCharSoupleW(cWideDe(cCaractere1), cWideDe(cCaractere2));
}

int __nCompareNumeriqueChaineA(const char* pszChiffres1, int nLongueur1, const char* pszChiffres2, int nLongueur2,
                               int* pnNote) noexcept {
    return nCompareNumerique(pszChiffres1, nLongueur1, pszChiffres2, nLongueur2, pnNote);
}

int __nCompareNumeriqueChaineW(const wchar_t* pszChiffres1, int nLongueur1, const wchar_t* pszChiffres2,
                               int nLongueur2, int* pnNote) noexcept {
    return nCompareNumerique(pszChiffres1, nLongueur1, pszChiffres2, nLongueur2, pnNote);
}

int STR_nCompareRespecteNumeriqueW(const wchar_t* pszTexte1, int nLongueur1, const wchar_t* pszTexte2,
                                   int nLongueur2, unsigned int dwFlags) noexcept {
    if (pszTexte1 == nullptr) pszTexte1 = VIDE_W, nLongueur1 = 0;
    if (pszTexte2 == nullptr) pszTexte2 = VIDE_W, nLongueur2 = 0;
    return nCompareLogique(pszTexte1, nLongueur(pszTexte1, nLongueur1), pszTexte2, nLongueur(pszTexte2, nLongueur2),
                           dwFlags);
}

int STR_nCompareRespecteNumeriqueA(const char* pszTexte1, int nLongueur1, const char* pszTexte2, int nLongueur2,
                                   unsigned int dwFlags) noexcept {
    if (pszTexte1 == nullptr) pszTexte1 = VIDE_A, nLongueur1 = 0;
    if (pszTexte2 == nullptr) pszTexte2 = VIDE_A, nLongueur2 = 0;
    return nCompareLogique(pszTexte1, nLongueur(pszTexte1, nLongueur1), pszTexte2, nLongueur(pszTexte2, nLongueur2),
                           dwFlags);
}

int STR_nCmpLogiqueAnsiFast(const char* pszTexte1, const char* pszTexte2) noexcept {
    return nCompareLogiqueParValeur<char, true>(pszOuVide(pszTexte1), nullptr, pszOuVide(pszTexte2), nullptr);
}
