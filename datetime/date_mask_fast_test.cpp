// The direct path of numeric masks against the general one: every mask and value of the tables
// goes through both, and whatever the direct path answers must be what the general one writes.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "component/interfaces/machine.h"
#include "component/testing/fake_language.h"
#include "datetime/date_mask.h"

namespace {

using M = CMasqueDateHeure;
constexpr uint16_t VIDE = 65535;

// French names with accents, for the masks that must stay on the general path.
CFakeLangue gclFrancais({L"JJ/MM/AAAA", L"lundi;mardi;mercredi;jeudi;vendredi;samedi;dimanche",
                         L"janvier;f\u00e9vrier;mars;avril;mai;juin;juillet;ao\u00fbt;septembre;octobre;novembre;"
                         L"d\u00e9cembre"},
                        {L"", L"", L"HH:mm:SS"});

// The display the general path writes: the internal text read through its zones, then the mask.
std::wstring AfficheGeneral(const M& clMasque, const wchar_t* pszTexte, int nFlags) {
    const wchar_t* pszForme = clMasque.pszGetFormeInterne()[0] == 0 ? clMasque.pszGetMasqueDateSelonSaisie(0)
                                                                     : clMasque.pszGetFormeInterne();
    _SYSTEMTIME st;
    clMasque._bTexteVersDateHeure(pszTexte, pszForme, &st, 0);
    if (st.wDay == VIDE && st.wMonth == VIDE && st.wYear == 0) st.wYear = VIDE;
    CTString clSortie;
    clMasque.FormateDate(st, &clSortie, nFlags);
    return clSortie.pszGet();
}

// The reading the general path writes: the text read through the mask, then the internal form.
std::wstring LitGeneral(const M& clMasque, const wchar_t* pszTexte, int nFlags, bool bHeure) {
    _SYSTEMTIME st;
    CTString clSortie;
    if (clMasque._bTexteVersDateHeure(pszTexte, clMasque.pszGetMasqueDateSelonSaisie(0), &st, nFlags)) {
        if (bHeure) clMasque.StructtoHourString(st, &clSortie, clMasque.pszGetFormeInterne());
        else clMasque.StructtoDateString(st, &clSortie, clMasque.pszGetFormeInterne());
    }
    return clSortie.pszGet();
}

struct STCas {
    int nLigne;
    const wchar_t* pszMasque;
    bool bDate;
    const wchar_t* pszInterne;
    bool bDirect;  // whether the plain value of the row takes the direct path
};

// A literal outside the Basic Multilingual Plane is one character like any other.
const STCas gtabMasques[] = {
    {__LINE__, L"JJ/MM/AAAA", true, nullptr, true},
    {__LINE__, L"J/M/AA", true, nullptr, true},
    {__LINE__, L"AAAAMMJJ", true, nullptr, true},
    {__LINE__, L"MM-JJ-AA", true, nullptr, true},
    {__LINE__, L"JJ\U0001F600MM\U0001F600AAAA", true, nullptr, true},
    {__LINE__, L"\\JJJ-MM", true, nullptr, true},
    {__LINE__, L"AAAA", true, nullptr, true},
    {__LINE__, L"JJ/MM/AAAA HH:mm:SS:CCC", true, L"AAAAMMJJHHmmSSCCC", true},
    {__LINE__, L"HH:MM:SS:CC", false, L"HHMMSSCC", true},
    {__LINE__, L"H\u00e9MM", false, L"HHMMSS", true},
    // Names, AM/PM and the one-digit zones when reading stay on the general path one way or both.
    {__LINE__, L"JJ MMMM AAAA", true, nullptr, false},
    {__LINE__, L"Jjjj JJ/MM/AAAA", true, nullptr, false},
    {__LINE__, L"HH:MM AM", false, L"HHMMSS", false},
    // Lower-case letters are no zones of a date mask: literals, unless normalising rewrites them.
    {__LINE__, L"jj/mm/aaaa", true, nullptr, true},
};

TEST(DateMaskDirect, DisplayMatchesTheGeneralPath) {
    const wchar_t* tabValeurs[] = {L"20240315",          L"20240229", L"00000000", L"20241399", L"99991231",
                                   L"2024031",           L"2024031x", L"",         L"143025",   L"14302599",
                                   L"20240315143025123", L"0000000000000000"};
    for (const STCas& stCas : gtabMasques) {
        M clMasque(stCas.pszMasque, stCas.bDate, stCas.pszInterne);
        clMasque.vSetInfoLangueMasque(&gclFrancais, 0, 1252);
        for (int nFlags : {0, int{M::FLAG_NORMALISE}}) {
            for (const wchar_t* pszValeur : tabValeurs) {
                wchar_t szDirect[M::TAILLE_RAPIDE];
                const int n = clMasque.nFormateRapide(pszValeur, szDirect, nFlags);
                const std::wstring sGeneral = AfficheGeneral(clMasque, pszValeur, nFlags);
                if (n >= 0) {
                    EXPECT_EQ(std::wstring(szDirect, static_cast<size_t>(n)), sGeneral) << "line " << stCas.nLigne;
                }
                // The oracle leaves out the day of the week, which only masks with names show.
                if (!stCas.bDirect) continue;
                CTString clSortie;
                clMasque.bFormateEx(pszValeur, &clSortie, nFlags);
                EXPECT_EQ(std::wstring(clSortie.pszGet()), sGeneral) << "line " << stCas.nLigne;
            }
        }
        wchar_t szDirect[M::TAILLE_RAPIDE];
        const wchar_t* pszPlain = stCas.pszInterne == nullptr ? L"20240315" : (stCas.bDate ? L"20240315143025123" : L"14302599");
        EXPECT_EQ(clMasque.nFormateRapide(pszPlain, szDirect, 0) >= 0, stCas.bDirect) << "line " << stCas.nLigne;
    }
}

TEST(DateMaskDirect, AKnownDateMatchesItsText) {
    wchar_t szDirect[M::TAILLE_RAPIDE];
    for (const STCas& stCas : gtabMasques) {
        if (stCas.pszInterne != nullptr) continue;
        M clMasque(stCas.pszMasque, stCas.bDate, stCas.pszInterne);
        clMasque.vSetInfoLangueMasque(&gclFrancais, 0, 1252);
        for (const auto& stDate : {std::pair{L"20240229", 20240229}, std::pair{L"00011231", 11231}, std::pair{L"99990101", 99990101}}) {
            const int n = clMasque.nFormateDateRapide(stDate.second / 10000, stDate.second / 100 % 100, stDate.second % 100,
                                                      szDirect, M::FLAG_NORMALISE);
            if (n >= 0) {
                EXPECT_EQ(std::wstring(szDirect, static_cast<size_t>(n)), AfficheGeneral(clMasque, stDate.first, M::FLAG_NORMALISE))
                    << "line " << stCas.nLigne;
            }
        }
        // Out of the range the caller promises, nothing is answered.
        EXPECT_LT(clMasque.nFormateDateRapide(2024, 13, 1, szDirect, 0), 0);
        EXPECT_LT(clMasque.nFormateDateRapide(2024, 3, 0, szDirect, 0), 0);
    }
}

TEST(DateMaskDirect, ReadingMatchesTheGeneralPath) {
    const wchar_t* tabTextes[] = {L"15/03/2024",  L"15/03/24",   L"5/3/24",       L"20240315",   L"03-15-24",
                                  L"15\U0001F60003\U0001F6002024", L"J15-03", L"15/03/2024 14:30:25:123",
                                  L"14:30:25:99", L"14\u00e930",  L"15/03/2024xyz", L"15-03-2024", L"15/3/2024",
                                  L"00/00/0000",  L"15/03",      L"",             L"2024",       L"02:30 PM",
                                  L"15 f\u00e9vrier 2024"};
    const int tabFlags[] = {0, M::FLAG_PIVOT | M::FLAG_STRICT, M::FLAG_LITTERAL_EXACT};
    for (const STCas& stCas : gtabMasques) {
        M clMasque(stCas.pszMasque, stCas.bDate, stCas.pszInterne);
        clMasque.vSetInfoLangueMasque(&gclFrancais, 0, 1252);
        const bool bHeure = !stCas.bDate && !clMasque.bEstMasqueDateEtHeure();
        for (int nFlags : tabFlags) {
            for (const wchar_t* pszTexte : tabTextes) {
                wchar_t szDirect[M::TAILLE_RAPIDE];
                const int n = clMasque.nDeformateRapide(pszTexte, szDirect, nFlags);
                const std::wstring sGeneral = LitGeneral(clMasque, pszTexte, nFlags, bHeure);
                if (n >= 0) {
                    EXPECT_EQ(std::wstring(szDirect, static_cast<size_t>(n)), sGeneral) << "line " << stCas.nLigne;
                }
                CTString clSortie;
                clMasque.DeformateDateHeure(pszTexte, &clSortie, nFlags);
                EXPECT_EQ(std::wstring(clSortie.pszGet()), sGeneral) << "line " << stCas.nLigne;
            }
        }
    }
}

TEST(DateMaskDirect, PlainTextsTakeTheDirectPath) {
    wchar_t sz[M::TAILLE_RAPIDE];
    const M clDate(L"JJ/MM/AA", true, nullptr);
    // A two-digit year: the pivot applies, and a strict reading leaves trailing text to the general path.
    int n = clDate.nDeformateRapide(L"15/03/60", sz, M::FLAG_PIVOT);
    ASSERT_GE(n, 0);
    EXPECT_EQ(std::wstring(sz, static_cast<size_t>(n)), L"19600315");
    EXPECT_LT(clDate.nDeformateRapide(L"15/03/60 ", sz, M::FLAG_PIVOT | M::FLAG_STRICT), 0);
    CTString clSortie;
    clDate.DeformateDateHeure(L"15/03/60 ", &clSortie, M::FLAG_PIVOT | M::FLAG_STRICT);
    EXPECT_TRUE(clSortie.bEstVide());
    // Accented month names never take it, in either direction.
    M clNoms(L"JJ MMMM AAAA", true, nullptr);
    clNoms.vSetInfoLangueMasque(&gclFrancais, 0, 1252);
    EXPECT_LT(clNoms.nFormateRapide(L"20240215", sz, 0), 0);
    clNoms.bFormateEx(L"20240215", &clSortie, 0);
    EXPECT_STREQ(clSortie.pszGet(), L"15 f\u00e9vrier 2024");
}

}  // namespace
