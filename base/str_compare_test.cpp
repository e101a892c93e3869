// Comparing texts: plain and folded orders, the locale's collation, and the logical order.
#include "base/str_compare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/characters.h"

namespace {

int nLogique(const wchar_t* pszTexte1, const wchar_t* pszTexte2, unsigned int dwFlags = 0) {
    return STR_nCompareRespecteNumeriqueW(pszTexte1, -1, pszTexte2, -1, dwFlags);
}

TEST(LogicalCompare, NumbersCompareByValue) {
    struct {
        int nLigne;
        const char* pszTexte1;
        const char* pszTexte2;
        int nAttendu;
    } const CAS[] = {
        {__LINE__, "a10", "a9", 1},
        {__LINE__, "a9", "a10", -1},
        {__LINE__, "a007", "a7", -1},         // equal numbers; more leading zeros first
        {__LINE__, "a7", "a007", 1},
        {__LINE__, "a007b", "a7a", 1},        // the letters decide before the zeros' note
        {__LINE__, "a07x2", "a7x02", -1},     // the first note wins
        {__LINE__, "a1", "ab", -1},           // a digit against a letter: the characters alone
        {__LINE__, "ab", "a1", 1},
        {__LINE__, "file", "file2", -1},
        {__LINE__, "file2", "file", 1},
        {__LINE__, "abc", "abd", -1},
        {__LINE__, "ab", "abc", -1},          // the longer run is the greater
        {__LINE__, "ab1", "abc1", -1},
        {__LINE__, "ab1", "ab.", -1},         // a run that goes on wins, whatever follows the other
        {__LINE__, "a129", "a13", 1},         // the shared "1" belongs to the numbers
        {__LINE__, "x5", "x05", 1},
        {__LINE__, "12345678901234567890", "12345678901234567891", -1},  // past 64 bits
        {__LINE__, "x100", "x99", 1},
        {__LINE__, "", "", 0},
        {__LINE__, "", "0", -1},
        {__LINE__, "same 12", "same 12", 0},
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        EXPECT_EQ(STR_nCompareRespecteNumeriqueA(stCas.pszTexte1, -1, stCas.pszTexte2, -1, 0), stCas.nAttendu);
        EXPECT_EQ(STR_nCmpLogiqueAnsiFast(stCas.pszTexte1, stCas.pszTexte2), stCas.nAttendu);
        const std::wstring sTexte1(stCas.pszTexte1, stCas.pszTexte1 + strlen(stCas.pszTexte1));
        const std::wstring sTexte2(stCas.pszTexte2, stCas.pszTexte2 + strlen(stCas.pszTexte2));
        EXPECT_EQ(nLogique(sTexte1.c_str(), sTexte2.c_str()), stCas.nAttendu);
        // Small letters, digits and blanks order the same by the collation.
        EXPECT_EQ(nLogique(sTexte1.c_str(), sTexte2.c_str(), STR_COMPARE_LEXICO), stCas.nAttendu);
    }
}

TEST(LogicalCompare, NumericRunsCompareAndNote) {
    int nNote = 0;
    EXPECT_EQ(__nCompareNumeriqueChaineW(L"007", 3, L"7", 1, &nNote), 0);
    EXPECT_EQ(nNote, -1);
    EXPECT_EQ(__nCompareNumeriqueChaineW(L"7", 1, L"0007", 4, &nNote), 0);
    EXPECT_EQ(nNote, -1);  // kept from the first
    nNote = 0;
    EXPECT_EQ(__nCompareNumeriqueChaineA("107", 3, "7", 1, &nNote), 1);
    EXPECT_EQ(__nCompareNumeriqueChaineA("0012", 4, "013", 3, &nNote), -1);
}

TEST(LogicalCompare, SortsNamesAsPeopleExpect) {
    std::vector<std::wstring> tabNoms = {L"img12.png", L"img10.png", L"IMG2.png", L"img1.png",
                                         L"img02.png", L"img2.png",  L"éa1",      L"ea1"};
    std::sort(tabNoms.begin(), tabNoms.end(), [](const std::wstring& s1, const std::wstring& s2) {
        return nLogique(s1.c_str(), s2.c_str()) < 0;
    });
    const std::vector<std::wstring> tabAttendu = {L"IMG2.png", L"ea1",       L"img1.png",  L"img02.png",
                                                  L"img2.png", L"img10.png", L"img12.png", L"éa1"};
    EXPECT_EQ(tabNoms, tabAttendu);
}

TEST(LogicalCompare, LexicalFlagHandsLettersToTheLocale) {
    const unsigned int dwSouple = STR_COMPARE_LEXICO | COMPARE_IGNORECASE | COMPARE_IGNORENONSPACE;
    EXPECT_EQ(nLogique(L"Élan2", L"elan10", dwSouple), -1);
    EXPECT_EQ(nLogique(L"Élan10", L"elan10", dwSouple), 0);
    EXPECT_EQ(nLogique(L"été", L"etz", STR_COMPARE_LEXICO), -1);   // the locale: é is an e
    EXPECT_EQ(nLogique(L"été", L"etz"), 1);                        // by value: é is past z
}

TEST(TolerantCompare, AccentsAndCaseDoNotCount) {
    EXPECT_EQ(STR_nCompareCharSoupleW(L'é', L'E'), 0);
    EXPECT_EQ(STR_nCompareCharSoupleW(L'ç', L'C'), 0);
    EXPECT_EQ(STR_nCompareCharSoupleW(L'a', L'b'), -1);
    EXPECT_EQ(STR_nCompareCharSoupleA('\xe9', 'E'), 0);  // é in 1252
    EXPECT_EQ(STR_nCompareCharLexicoW(L'é', L'f', 0), -1);
    EXPECT_EQ(STR_nCompareCharLexicoA('a', 'B', COMPARE_IGNORECASE), -1);
}

// The machine's collation, when given, decides, and sees the LCID and flags the rules ask for.
class CLocaleInversee final : public IInfoLocale {
public:
    int nGetCodePage() override { return 1252; }
    int nGetLCID() override { return 0x809; }
    int nGetCharset() override { return 0; }
    int nCompareString(unsigned int nLCID, unsigned int dwFlags, const wchar_t* pszTexte1, int,
                       const wchar_t* pszTexte2, int) override {
        m_nLCID = nLCID;
        m_dwFlags = dwFlags;
        return *pszTexte1 < *pszTexte2 ? CSTR_GREATER_THAN : (*pszTexte1 > *pszTexte2 ? CSTR_LESS_THAN : CSTR_EQUAL);
    }
    unsigned int m_nLCID = 0;
    unsigned int m_dwFlags = 0;
};

TEST(LexicalCompare, AsksTheLocaleWithItsLcidAndFlags) {
    CLocaleInversee clLocale;
    STR_SetInfoLocale(&clLocale);
    EXPECT_EQ(STR_nCompareCharLexicoW(L'a', L'b', 0x1), 1);
    EXPECT_EQ(clLocale.m_nLCID, LCID_DEFAUT_UTILISATEUR);
    EXPECT_EQ(clLocale.m_dwFlags, 0x1u | STR_COMPARE_LEXICO);
    EXPECT_EQ(STR_nCompareStringLexicoW(L"a", 1, L"b", 1, STR_COMPARE_LCID_LOCALE), 1);
    EXPECT_EQ(clLocale.m_nLCID, 0x809u);
    EXPECT_EQ(clLocale.m_dwFlags, STR_COMPARE_LEXICO);
    EXPECT_EQ(STR_nCompareCharSoupleW(L'a', L'b'), 1);
    EXPECT_EQ(clLocale.m_dwFlags, COMPARE_IGNORECASE | COMPARE_IGNORENONSPACE);
    STR_SetInfoLocale(nullptr);
}

TEST(PlainCompare, OrdersAndFolds) {
    struct {
        int nLigne;
        const wchar_t* pszTexte1;
        const wchar_t* pszTexte2;
        int nPlain;
        int nSansCasse;
        int nSansAccent;
    } const CAS[] = {
        {__LINE__, L"abc", L"abc", 0, 0, 0},
        {__LINE__, L"été", L"ÉTÉ", 1, 0, 1},
        {__LINE__, L"été", L"ete", 1, 1, 0},
        {__LINE__, L"ab", L"abc", -1, -1, -1},
        {__LINE__, L"\U0001F600", L"\uFFFF", 1, 1, 1},  // character values, past the BMP
        {__LINE__, nullptr, L"", 0, 0, 0},
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        EXPECT_EQ(STR_nCompareW(stCas.pszTexte1, stCas.pszTexte2), stCas.nPlain);
        EXPECT_EQ(STR_nUpCompareW(stCas.pszTexte1, stCas.pszTexte2), stCas.nSansCasse);
        EXPECT_EQ(STR_nAcCompare(stCas.pszTexte1, stCas.pszTexte2), stCas.nSansAccent);
    }
    EXPECT_EQ(STR_nUpCompareA("\xe9t\xe9", "\xc9T\xc9"), 0);
    EXPECT_EQ(STR_nCompareA("\xe9", "z"), 1);  // bytes are unsigned
    EXPECT_EQ(STR_nNCompare(L"abcX", L"abcY", 3), 0);
    EXPECT_EQ(STR_nNCompare("abcX", "abcY", 4), -1);
    EXPECT_EQ(STR_nNullCompare(nullptr, L""), -1);
    EXPECT_EQ(STR_nNullCompare(nullptr, nullptr), 0);
    EXPECT_EQ(STR_nEmptyNullCompare(nullptr, L""), 0);
    EXPECT_EQ(STR_nNullNCompare(L"a", nullptr, 3), 1);
    EXPECT_EQ(STR_ChaineCompareW(L"Noël", -1, L"NOEL", -1, COMPARE_IGNORECASE | COMPARE_IGNORENONSPACE), 0);
    EXPECT_EQ(STR_ChaineCompareA("No\xebl", -1, "NOEL", -1, COMPARE_IGNORECASE | COMPARE_IGNORENONSPACE), 0);
    EXPECT_EQ(__STR_CompareStringEx<char>(LCID_FRANCAIS, COMPARE_IGNORECASE, "abc", 3, "ABD", 3), -1);
}

}  // namespace
