// Characters: locale, case, class, mappings, and the library's own collation.
#include "base/characters.h"

#include <locale.h>
#include <wctype.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cwchar>
#include <string_view>

#include "base/code_pages.h"
#include "base/str_compare.h"
#include "base/unicode.h"

namespace {

bool bEstScalaireUnicodeCaractere(wchar_t cCaractere) noexcept {
    return bEstScalaireUnicode(static_cast<uint32_t>(cCaractere));
}

// ---- tables --------------------------------------------------------------------------------

// Base letters of the accented Latin letters, 16 a row; '.' keeps the character. Beyond what
// canonical decomposition gives, letters with a stroke or a bar (Ø, Đ, Ł, Ħ, Ŧ, ı, Ŀ) lose it too,
// since a tolerant compare must find "Lodz" in "Łódź".
struct STBlocSansAccent {
    uint32_t cDebut;
    std::wstring_view sBases;
};
constexpr STBlocSansAccent BLOCS_SANS_ACCENT[] = {
    {0x00C0,
     L"AAAAAA.CEEEEIIII"
     L"DNOOOOO.OUUUUY.."
     L"aaaaaa.ceeeeiiii"
     L"dnooooo.ouuuuy.y"
     L"AaAaAaCcCcCcCcDd"
     L"DdEeEeEeEeEeGgGg"
     L"GgGgHhHhIiIiIiIi"
     L"Ii..JjKk.LlLlLlL"
     L"lLlNnNnNn...OoOo"
     L"Oo..RrRrRrSsSsSs"
     L"SsTtTtTtUuUuUuUu"
     L"UuUuWwYyYZzZzZz."},
    {0x01CD, L"AaIiOoUuUuUuUuUu"},
    {0x01FA, L"AaÆæOo"},
    {0x0218, L"SsTt"},
};

// Code page 1252 case: a to z and à to þ (but ÷) against A to Z and À to Þ (but ×), and the four
// letters of 0x80 to 0x9F: š Š, œ Œ, ž Ž, ÿ Ÿ.
struct STCasse1252 {
    unsigned char abyMajuscule[256];
    unsigned char abyMinuscule[256];
    constexpr STCasse1252() : abyMajuscule(), abyMinuscule() {
        for (int i = 0; i < 256; ++i) abyMajuscule[i] = abyMinuscule[i] = static_cast<unsigned char>(i);
        for (int i = 'a'; i <= 'z'; ++i) Paire(i - 0x20, i);
        for (int i = 0xE0; i <= 0xFE; ++i)
            if (i != 0xF7) Paire(i - 0x20, i);
        Paire(0x8A, 0x9A);
        Paire(0x8C, 0x9C);
        Paire(0x8E, 0x9E);
        Paire(0x9F, 0xFF);
    }
    constexpr void Paire(int nMajuscule, int nMinuscule) {
        abyMajuscule[nMinuscule] = static_cast<unsigned char>(nMajuscule);
        abyMinuscule[nMajuscule] = static_cast<unsigned char>(nMinuscule);
    }
};
constexpr STCasse1252 CASSE_1252;

struct STTabMaj {
    unsigned char aby[256];
    constexpr STTabMaj() : aby() {
        for (int i = 0; i < 256; ++i) aby[i] = static_cast<unsigned char>(i);
        for (int i = 'a'; i <= 'z'; ++i) aby[i] = static_cast<unsigned char>(i - 0x20);
        Plage(0xC0, 0xC6, 'A'), Plage(0xE0, 0xE6, 'A');
        Plage(0xC7, 0xC7, 'C'), Plage(0xE7, 0xE7, 'C');
        Plage(0xC8, 0xCB, 'E'), Plage(0xE8, 0xEB, 'E');
        Plage(0xCC, 0xCF, 'I'), Plage(0xEC, 0xEF, 'I');
        Plage(0xD0, 0xD0, 'D'), Plage(0xF0, 0xF0, 'D');
        Plage(0xD1, 0xD1, 'N'), Plage(0xF1, 0xF1, 'N');
        Plage(0xD2, 0xD6, 'O'), Plage(0xD8, 0xD8, 'O'), Plage(0xF2, 0xF6, 'O'), Plage(0xF8, 0xF8, 'O');
        Plage(0xD9, 0xDC, 'U'), Plage(0xF9, 0xFC, 'U');
        Plage(0xDD, 0xDD, 'Y'), Plage(0xFD, 0xFD, 'Y'), Plage(0xFF, 0xFF, 'Y');
    }
    constexpr void Plage(int nDebut, int nFin, char cBase) {
        for (int i = nDebut; i <= nFin; ++i) aby[i] = static_cast<unsigned char>(cBase);
    }
};
constexpr STTabMaj TAB_MAJ;

// The C library's Unicode tables, through a locale object of our own so that the process locale
// is neither read nor changed. Null when the system lacks it; the Latin fallbacks then answer.
// The object is freed when the library is unloaded, so a host that loads and unloads the library
// repeatedly does not gather locales.
locale_t hLocaleUnicode() noexcept {
    struct STLocale {
        locale_t h = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
        ~STLocale() {
            if (h != nullptr) freelocale(h);
        }
    };
    static const STLocale s_st;
    return s_st.h;
}

// Without the C library's tables: Latin-1, Latin Extended-A, Greek and Cyrillic.
uint32_t cMajusculeLatine(uint32_t c) noexcept {
    if (c < 0x100) {
        if (c == 0xFF) return 0x178;
        if (c == 0xB5) return 0x39C;
        return (c >= 0xE0 && c <= 0xFE && c != 0xF7) || (c >= 'a' && c <= 'z') ? c - 0x20 : c;
    }
    if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x17F) {
        const bool bPairesDecalees = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
        return bPairesDecalees ? ((c & 1) == 0 ? c - 1 : c) : ((c & 1) == 1 ? c - 1 : c);
    }
    if (c == 0x131) return 'I';
    if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 0x20;
    if (c >= 0x430 && c <= 0x44F) return c - 0x20;
    if (c >= 0x450 && c <= 0x45F) return c - 0x50;
    return c;
}

uint32_t cMinusculeLatine(uint32_t c) noexcept {
    if (c < 0x100) return (c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 'A' && c <= 'Z') ? c + 0x20 : c;
    if (c == 0x178) return 0xFF;
    if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x17F) {
        const bool bPairesDecalees = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
        return bPairesDecalees ? ((c & 1) == 1 ? c + 1 : c) : ((c & 1) == 0 ? c + 1 : c);
    }
    if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return c + 0x20;
    if (c >= 0x410 && c <= 0x42F) return c + 0x20;
    if (c >= 0x400 && c <= 0x40F) return c + 0x50;
    return c;
}

// ---- the built-in locale ------------------------------------------------------------------

class CInfoLocaleInterne final : public IInfoLocale {
public:
    int nGetCodePage() override { return 1252; }
    int nGetLCID() override { return static_cast<int>(LCID_FRANCAIS); }
    int nGetCharset() override { return 0; }
    int nCompareString(unsigned int, unsigned int dwFlags, const wchar_t* pszTexte1, int nLongueur1,
                       const wchar_t* pszTexte2, int nLongueur2) override {
        return STR_nCompareStringBuiltIn(dwFlags, pszTexte1, nLongueur1, pszTexte2, nLongueur2);
    }
};
CInfoLocaleInterne gclLocaleInterne;
std::atomic<IInfoLocale*> gpiLocale{nullptr};

// ---- collation ----------------------------------------------------------------------------

// One collation element: what decides first (class of the character, then its base letter), then
// its accent, then its case.
struct STElement {
    uint64_t nPrimaire;
    uint32_t nSecondaire;
    uint32_t nTertiaire;
};

enum : uint64_t { RANG_SYMBOLE = 1, RANG_CHIFFRE = 2, RANG_LETTRE = 3 };

// Reads the elements of a text in order. Control characters weigh nothing; ligatures give two
// elements (Æ reads as AE, Œ as OE, ß as ss); symbols vanish under COMPARE_IGNORESYMBOLS.
class CLecteurCollation {
public:
    CLecteurCollation(const wchar_t* pszTexte, size_t nLongueur, unsigned int dwFlags) noexcept
        : m_pszCourant(pszTexte), m_pszFin(pszTexte + nLongueur), m_dwFlags(dwFlags) {}

    bool bSuivant(STElement* pstElement) noexcept {
        if (m_cEnAttente != 0) {
            *pstElement = stElementLettre(m_cEnAttente, m_bAttenteMajuscule);
            m_cEnAttente = 0;
            return true;
        }
        while (m_pszCourant < m_pszFin) {
            const auto c = static_cast<uint32_t>(*m_pszCourant++);
            if (c < 0x20 || (c >= 0x7F && c < 0xA0)) continue;
            if (bEstUnChiffreW(static_cast<wchar_t>(c))) {
                *pstElement = {(RANG_CHIFFRE << 32) | c, 0, 0};
                return true;
            }
            if (bEstUnBlancW(static_cast<wchar_t>(c)) || bPonctuation(static_cast<wchar_t>(c))) {
                if ((m_dwFlags & COMPARE_IGNORESYMBOLS) != 0) continue;
                *pstElement = {(RANG_SYMBOLE << 32) | c, 0, 0};
                return true;
            }
            uint32_t cPremier = 0;
            uint32_t cSecond = 0;
            switch (c) {
                case 0xC6: cPremier = 'A', cSecond = 'E'; break;
                case 0xE6: cPremier = 'a', cSecond = 'e'; break;
                case 0x152: cPremier = 'O', cSecond = 'E'; break;
                case 0x153: cPremier = 'o', cSecond = 'e'; break;
                case 0xDF: cPremier = 's', cSecond = 's'; break;
                default: break;
            }
            if (cPremier != 0) {
                m_cEnAttente = cSecond;
                m_bAttenteMajuscule = cSecond < 'a';
                *pstElement = stElementLettre(cPremier, cPremier < 'a');
                return true;
            }
            const uint32_t cBase = static_cast<uint32_t>(STR_cSansAccent(static_cast<wchar_t>(c)));
            *pstElement = stElementLettre(cBase, bMajusculeW(static_cast<wchar_t>(c)));
            if (cBase != c) pstElement->nSecondaire = static_cast<uint32_t>(STR_ToUpper(static_cast<wchar_t>(c)));
            return true;
        }
        return false;
    }

private:
    static STElement stElementLettre(uint32_t cBase, bool bMajuscule) noexcept {
        const auto cCle = static_cast<uint32_t>(STR_ToUpper(static_cast<wchar_t>(cBase)));
        return {(RANG_LETTRE << 32) | cCle, 0, bMajuscule ? 1u : 0u};
    }

    const wchar_t* m_pszCourant;
    const wchar_t* m_pszFin;
    unsigned int m_dwFlags;
    uint32_t m_cEnAttente = 0;
    bool m_bAttenteMajuscule = false;
};

// Compares the two texts on one level; lower case sorts before upper case, no accent before one.
template <class FNiveau>
int nCompareNiveau(const wchar_t* pszTexte1, size_t nLongueur1, const wchar_t* pszTexte2, size_t nLongueur2,
                   unsigned int dwFlags, FNiveau fnNiveau) noexcept {
    CLecteurCollation clLecteur1(pszTexte1, nLongueur1, dwFlags);
    CLecteurCollation clLecteur2(pszTexte2, nLongueur2, dwFlags);
    STElement stElement1;
    STElement stElement2;
    while (true) {
        const bool bSuite1 = clLecteur1.bSuivant(&stElement1);
        const bool bSuite2 = clLecteur2.bSuivant(&stElement2);
        if (!bSuite1 || !bSuite2) return bSuite1 == bSuite2 ? 0 : (bSuite1 ? 1 : -1);
        const uint64_t nPoids1 = fnNiveau(stElement1);
        const uint64_t nPoids2 = fnNiveau(stElement2);
        if (nPoids1 != nPoids2) return nPoids1 < nPoids2 ? -1 : 1;
    }
}

}  // namespace

const unsigned char ANSI_cTabMaj[256] = {
#define OV_LIGNE(n) TAB_MAJ.aby[n], TAB_MAJ.aby[n + 1], TAB_MAJ.aby[n + 2], TAB_MAJ.aby[n + 3], \
    TAB_MAJ.aby[n + 4], TAB_MAJ.aby[n + 5], TAB_MAJ.aby[n + 6], TAB_MAJ.aby[n + 7]
    OV_LIGNE(0x00), OV_LIGNE(0x08), OV_LIGNE(0x10), OV_LIGNE(0x18), OV_LIGNE(0x20), OV_LIGNE(0x28),
    OV_LIGNE(0x30), OV_LIGNE(0x38), OV_LIGNE(0x40), OV_LIGNE(0x48), OV_LIGNE(0x50), OV_LIGNE(0x58),
    OV_LIGNE(0x60), OV_LIGNE(0x68), OV_LIGNE(0x70), OV_LIGNE(0x78), OV_LIGNE(0x80), OV_LIGNE(0x88),
    OV_LIGNE(0x90), OV_LIGNE(0x98), OV_LIGNE(0xA0), OV_LIGNE(0xA8), OV_LIGNE(0xB0), OV_LIGNE(0xB8),
    OV_LIGNE(0xC0), OV_LIGNE(0xC8), OV_LIGNE(0xD0), OV_LIGNE(0xD8), OV_LIGNE(0xE0), OV_LIGNE(0xE8),
    OV_LIGNE(0xF0), OV_LIGNE(0xF8),
#undef OV_LIGNE
};
// Latin-1 and 1252 agree from 0xA0 up, and the table leaves 0x80 to 0x9F alone: one table serves.
const unsigned char* const pToNoAccentUpper_Latin1 = ANSI_cTabMaj;

// ---- locale -----------------------------------------------------------------------------------

IInfoLocale* STR_piGetInfoLocale() noexcept {
    IInfoLocale* piLocale = gpiLocale.load(std::memory_order_acquire);
    return piLocale != nullptr ? piLocale : &gclLocaleInterne;
}

void STR_SetInfoLocale(IInfoLocale* piLocale) noexcept { gpiLocale.store(piLocale, std::memory_order_release); }

int STR_nGetCurrentCodePage() noexcept {
    const int nCodePage = STR_piGetInfoLocale()->nGetCodePage();
    return nCodePage > static_cast<int>(CP_THREAD_ACP) ? nCodePage : 1252;  // never loops back to CP_ACP
}

int STR_nGetCurrentLCID() noexcept { return STR_piGetInfoLocale()->nGetLCID(); }

int STR_nGetSafeCurrentLCID() noexcept {
    const int nLCID = STR_nGetCurrentLCID();
    return nLCID != 0 ? nLCID : static_cast<int>(LCID_DEFAUT_UTILISATEUR);
}

int STR_nGetCurrentChangeCharset() noexcept { return STR_piGetInfoLocale()->nGetCharset(); }

int STR_nCompareStringBuiltIn(unsigned int dwFlags, const wchar_t* pszTexte1, int nLongueur1,
                              const wchar_t* pszTexte2, int nLongueur2) noexcept {
    if (pszTexte1 == nullptr || pszTexte2 == nullptr || nLongueur1 < -1 || nLongueur2 < -1) return 0;
    if ((dwFlags & COMPARE_DIGITSASNUMBERS) != 0) {
        // Runs of digits as numbers, the rest by this collation without the flag.
        return STR_nCompareRespecteNumeriqueW(pszTexte1, nLongueur1, pszTexte2, nLongueur2,
                                              (dwFlags & ~COMPARE_DIGITSASNUMBERS) | STR_COMPARE_LEXICO) +
               2;
    }
    const size_t n1 = nLongueur1 < 0 ? wcslen(pszTexte1) : static_cast<size_t>(nLongueur1);
    const size_t n2 = nLongueur2 < 0 ? wcslen(pszTexte2) : static_cast<size_t>(nLongueur2);
    int nResultat = nCompareNiveau(pszTexte1, n1, pszTexte2, n2, dwFlags,
                                   [](const STElement& st) { return st.nPrimaire; });
    if (nResultat == 0 && (dwFlags & COMPARE_IGNORENONSPACE) == 0)
        nResultat = nCompareNiveau(pszTexte1, n1, pszTexte2, n2, dwFlags,
                                   [](const STElement& st) { return static_cast<uint64_t>(st.nSecondaire); });
    if (nResultat == 0 && (dwFlags & COMPARE_IGNORECASE) == 0)
        nResultat = nCompareNiveau(pszTexte1, n1, pszTexte2, n2, dwFlags,
                                   [](const STElement& st) { return static_cast<uint64_t>(st.nTertiaire); });
    return nResultat + 2;
}

// ---- case ---------------------------------------------------------------------------------------

wchar_t STR_ToUpper(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    if (c < 0x80) return c >= 'a' && c <= 'z' ? static_cast<wchar_t>(c - 0x20) : cCaractere;
    if (!bEstScalaireUnicodeCaractere(cCaractere)) return cCaractere;
    const locale_t hLocale = hLocaleUnicode();
    if (hLocale != nullptr) return static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), hLocale));
    return static_cast<wchar_t>(cMajusculeLatine(c));
}

wchar_t STR_ToLower(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    if (c < 0x80) return c >= 'A' && c <= 'Z' ? static_cast<wchar_t>(c + 0x20) : cCaractere;
    if (!bEstScalaireUnicodeCaractere(cCaractere)) return cCaractere;
    const locale_t hLocale = hLocaleUnicode();
    if (hLocale != nullptr) return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(c), hLocale));
    return static_cast<wchar_t>(cMinusculeLatine(c));
}

void STR_ToUpperBuff(wchar_t* pszTexte, int nCaracteres) noexcept {
    if (pszTexte == nullptr) return;
    for (int i = 0; nCaracteres < 0 ? pszTexte[i] != 0 : i < nCaracteres; ++i) pszTexte[i] = STR_ToUpper(pszTexte[i]);
}

void STR_ToLowerBuff(wchar_t* pszTexte, int nCaracteres) noexcept {
    if (pszTexte == nullptr) return;
    for (int i = 0; nCaracteres < 0 ? pszTexte[i] != 0 : i < nCaracteres; ++i) pszTexte[i] = STR_ToLower(pszTexte[i]);
}

char STR_cToUpperA(char cCaractere) noexcept {
    return static_cast<char>(CASSE_1252.abyMajuscule[static_cast<unsigned char>(cCaractere)]);
}

char STR_cToLowerA(char cCaractere) noexcept {
    return static_cast<char>(CASSE_1252.abyMinuscule[static_cast<unsigned char>(cCaractere)]);
}

char* my_struprA(char* pszTexte) noexcept {
    if (pszTexte != nullptr)
        for (char* p = pszTexte; *p != 0; ++p) *p = STR_cToUpperA(*p);
    return pszTexte;
}

char* my_strlwrA(char* pszTexte) noexcept {
    if (pszTexte != nullptr)
        for (char* p = pszTexte; *p != 0; ++p) *p = STR_cToLowerA(*p);
    return pszTexte;
}

wchar_t* my_struprW(wchar_t* pszTexte) noexcept {
    STR_ToUpperBuff(pszTexte, -1);
    return pszTexte;
}

wchar_t* my_strlwrW(wchar_t* pszTexte) noexcept {
    STR_ToLowerBuff(pszTexte, -1);
    return pszTexte;
}

// ---- class --------------------------------------------------------------------------------------

bool bMajusculeA(char cCaractere) noexcept {
    return STR_cToLowerA(cCaractere) != cCaractere;
}

bool bMinusculeA(char cCaractere) noexcept {
    return STR_cToUpperA(cCaractere) != cCaractere || cCaractere == '\xDF';  // ß has no capital here
}

bool bMajusculeW(wchar_t cCaractere) noexcept {
    const locale_t hLocale = hLocaleUnicode();
    if (hLocale != nullptr && bEstScalaireUnicodeCaractere(cCaractere))
        return iswupper_l(static_cast<wint_t>(cCaractere), hLocale) != 0;
    return STR_ToLower(cCaractere) != cCaractere;
}

bool bMinusculeW(wchar_t cCaractere) noexcept {
    const locale_t hLocale = hLocaleUnicode();
    if (hLocale != nullptr && bEstScalaireUnicodeCaractere(cCaractere))
        return iswlower_l(static_cast<wint_t>(cCaractere), hLocale) != 0;
    return STR_ToUpper(cCaractere) != cCaractere;
}

bool bEstUnChiffreA(char cCaractere) noexcept { return cCaractere >= '0' && cCaractere <= '9'; }
bool bEstUnChiffreW(wchar_t cCaractere) noexcept { return cCaractere >= L'0' && cCaractere <= L'9'; }

bool bEstUneLettreW(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    if (c < 0x80) return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
    const locale_t hLocale = hLocaleUnicode();
    if (hLocale != nullptr && bEstScalaireUnicodeCaractere(cCaractere))
        return iswalpha_l(static_cast<wint_t>(c), hLocale) != 0;
    return STR_ToUpper(cCaractere) != STR_ToLower(cCaractere);
}

bool bEstUnBlancW(wchar_t cCaractere) noexcept {
    switch (static_cast<uint32_t>(cCaractere)) {
        case ' ': case '\t': case '\r': case '\n': case '\v': case '\f':
        case 0xA0: case 0x1680: case 0x202F: case 0x205F: case 0x3000:
            return true;
        default:
            return cCaractere >= 0x2000 && cCaractere <= 0x200A;
    }
}

bool bEstUnNombreEntierNaturel(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr || *pszTexte == 0) return false;
    for (; *pszTexte != 0; ++pszTexte)
        if (!bEstUnChiffreW(*pszTexte)) return false;
    return true;
}

bool bPonctuation(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    if (c < 0x80) return c > 0x20 && c < 0x7F && !bEstUneLettreW(cCaractere) && !bEstUnChiffreW(cCaractere);
    const locale_t hLocale = hLocaleUnicode();
    if (hLocale != nullptr && bEstScalaireUnicodeCaractere(cCaractere))
        return iswpunct_l(static_cast<wint_t>(c), hLocale) != 0 && iswalnum_l(static_cast<wint_t>(c), hLocale) == 0;
    // Without tables: the Latin-1 signs and the general punctuation block.
    return (c >= 0xA1 && c <= 0xBF && c != 0xAA && c != 0xB5 && c != 0xBA) || c == 0xD7 || c == 0xF7 ||
           (c >= 0x2010 && c <= 0x205E) || (c >= 0x20A0 && c <= 0x20CF);
}

bool bUnprintable(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || !bEstScalaireUnicodeCaractere(cCaractere) ||
           (c & 0xFFFE) == 0xFFFE || (c >= 0xFDD0 && c <= 0xFDEF);
}

bool bLatin1(wchar_t cCaractere) noexcept { return static_cast<uint32_t>(cCaractere) < 0x100; }

bool bExtendedASCII(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    return c >= 0x80 && c < 0x100;
}

bool STR_bWhiteCharOrPunctA(char cCaractere) noexcept {
    return STR_bWhiteCharOrPunctW(STR_FromCP1252(static_cast<unsigned char>(cCaractere)));
}

bool STR_bWhiteCharOrPunctW(wchar_t cCaractere) noexcept {
    return bEstUnBlancW(cCaractere) || bPonctuation(cCaractere);
}

bool STR_bNeContientRienDeLisibleA(const char* pszTexte) noexcept {
    if (pszTexte == nullptr) return true;
    for (; *pszTexte != 0; ++pszTexte) {
        const wchar_t c = STR_FromCP1252(static_cast<unsigned char>(*pszTexte));
        if (!STR_bWhiteCharOrPunctW(c) && !bUnprintable(c)) return false;
    }
    return true;
}

bool STR_bNeContientRienDeLisibleW(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return true;
    for (; *pszTexte != 0; ++pszTexte)
        if (!STR_bWhiteCharOrPunctW(*pszTexte) && !bUnprintable(*pszTexte)) return false;
    return true;
}

bool STR_bContainSpace(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return false;
    for (; *pszTexte != 0; ++pszTexte)
        if (bEstUnBlancW(*pszTexte)) return true;
    return false;
}

bool STR_bIsANSI7(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return true;
    for (; *pszTexte != 0; ++pszTexte)
        if (static_cast<uint32_t>(*pszTexte) >= 0x80) return false;
    return true;
}

bool STR_bIsCp1252(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return true;
    for (; *pszTexte != 0; ++pszTexte)
        if (STR_ToCP1252(*pszTexte) < 0) return false;
    return true;
}

// ---- mappings -----------------------------------------------------------------------------------

wchar_t STR_cSansAccent(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    if (c < 0xC0) return cCaractere;
    for (const STBlocSansAccent& stBloc : BLOCS_SANS_ACCENT) {
        if (c < stBloc.cDebut) break;
        const size_t nRang = c - stBloc.cDebut;
        if (nRang < stBloc.sBases.size()) {
            const wchar_t cBase = stBloc.sBases[nRang];
            return cBase == L'.' ? cCaractere : cBase;
        }
    }
    return cCaractere;
}

wchar_t STR_nMapCharEx(wchar_t cCaractere, unsigned int dwFlags) noexcept {
    if ((dwFlags & STR_MAP_SANSACCENT) != 0) cCaractere = STR_cSansAccent(cCaractere);
    if ((dwFlags & STR_MAP_MAJUSCULE) != 0) return STR_ToUpper(cCaractere);
    if ((dwFlags & STR_MAP_MINUSCULE) != 0) return STR_ToLower(cCaractere);
    return cCaractere;
}

char STR_nMapCharExANSI(char cCaractere, unsigned int dwFlags) noexcept {
    if ((dwFlags & STR_MAP_SANSACCENT) != 0) {
        // The table also folds case: a small letter gets its small form back.
        const auto cBase = static_cast<char>(ANSI_cTabMaj[static_cast<unsigned char>(cCaractere)]);
        cCaractere = bMinusculeA(cCaractere) ? STR_cToLowerA(cBase) : cBase;
    }
    if ((dwFlags & STR_MAP_MAJUSCULE) != 0) return STR_cToUpperA(cCaractere);
    if ((dwFlags & STR_MAP_MINUSCULE) != 0) return STR_cToLowerA(cCaractere);
    return cCaractere;
}

wchar_t STR_nMapCharIgnoreCaseAccent(wchar_t cCaractere) noexcept {
    return STR_nMapCharEx(cCaractere, STR_MAP_MAJUSCULE | STR_MAP_SANSACCENT);
}

int STR_nMapStringEx(const wchar_t* pszTexte, int nCaracteres, wchar_t* pszSortie, int nPlace,
                     unsigned int dwFlags) noexcept {
    if (pszTexte == nullptr || nCaracteres == 0 || nCaracteres < -1 || nPlace < 0) {
        errno = EINVAL;
        return 0;
    }
    const size_t nLongueur = nCaracteres == -1 ? wcslen(pszTexte) + 1 : static_cast<size_t>(nCaracteres);
    if (nLongueur > static_cast<size_t>(INT_MAX)) return 0;
    if (pszSortie == nullptr || nPlace == 0) return static_cast<int>(nLongueur);
    if (static_cast<size_t>(nPlace) < nLongueur) {
        errno = E2BIG;
        return 0;
    }
    for (size_t i = 0; i < nLongueur; ++i) pszSortie[i] = STR_nMapCharEx(pszTexte[i], dwFlags);
    return static_cast<int>(nLongueur);
}

int STR_nGetMapStringLenEx(const wchar_t* pszTexte, int nCaracteres, unsigned int dwFlags) noexcept {
    return STR_nMapStringEx(pszTexte, nCaracteres, nullptr, 0, dwFlags);
}

int STR_nCreateMapString(const wchar_t* pszTexte, int nCaracteres, unsigned int dwFlags,
                         wchar_t** ppszSortie) noexcept {
    if (ppszSortie == nullptr) return -1;
    *ppszSortie = nullptr;
    if (pszTexte == nullptr || nCaracteres < -1) return -1;
    const size_t nLongueur = nCaracteres == -1 ? wcslen(pszTexte) : static_cast<size_t>(nCaracteres);
    if (nLongueur >= static_cast<size_t>(INT_MAX)) return -1;
    auto* pszSortie = static_cast<wchar_t*>(malloc((nLongueur + 1) * sizeof(wchar_t)));
    if (pszSortie == nullptr) return -1;
    for (size_t i = 0; i < nLongueur; ++i) pszSortie[i] = STR_nMapCharEx(pszTexte[i], dwFlags);
    pszSortie[nLongueur] = 0;
    *ppszSortie = pszSortie;
    return static_cast<int>(nLongueur);
}
