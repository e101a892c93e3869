// The text builder: its growth rule, number forms and the widths it converts between.
#include "base/string_concat.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(StringBuilder, GrowsByWholeStepsOfTheCallersChoice) {
    CXYStringConcat<wchar_t> cl(10);
    EXPECT_EQ(cl.nGetCapacite(), 0);
    ASSERT_TRUE(cl.Add(L"été"));
    EXPECT_EQ(cl.nGetCapacite(), 10);  // (0 + 3) / 10 + 1 steps
    ASSERT_TRUE(cl.Add(L"0123456"));
    EXPECT_EQ(cl.nGetCapacite(), 10);  // exactly full: no growth
    ASSERT_TRUE(cl.AddWide(L"\U0001F600", 1));
    EXPECT_EQ(cl.nGetLongueur(), 11);
    EXPECT_EQ(cl.nGetCapacite(), 20);  // (11 / 10 + 1) steps
    EXPECT_STREQ(cl.pszGet(), L"été0123456\U0001F600");
}

TEST(StringBuilder, NothingForANullTextOrANonPositiveLength) {
    CXYStringConcat<wchar_t> cl;
    ASSERT_TRUE(cl.AddWide(nullptr, 3));
    ASSERT_TRUE(cl.AddWide(L"abc", 0));
    ASSERT_TRUE(cl.AddWide(L"abc", -1));
    EXPECT_EQ(cl.nGetLongueur(), 0);
    EXPECT_STREQ(cl.pszGet(), L"");
    EXPECT_EQ(cl.pszDetache(), nullptr);
}

TEST(StringBuilder, NumbersArePaddedWithZeros) {
    struct {
        int nLigne;
        int64_t nValeur;
        int nLargeur;
        const char* pszAttendu;
    } const tab[] = {
        {__LINE__, 7, 3, "007"},     {__LINE__, 1234, 3, "1234"}, {__LINE__, -7, 4, "-007"},
        {__LINE__, 0, 0, "0"},       {__LINE__, INT64_MIN, 0, "-9223372036854775808"},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CXYStringConcat<char> cl(4);
        ASSERT_TRUE(cl.AddNumber(st.nValeur, st.nLargeur));
        EXPECT_STREQ(cl.pszGet(), st.pszAttendu);
    }
    CXYStringConcat<wchar_t> clW;
    ASSERT_TRUE(clW.AddNumber(7, 3));
    EXPECT_STREQ(clW.pszGet(), L"007");
}

TEST(StringBuilder, HexadecimalAndBinaryTakeTheWidthOfTheirType) {
    CXYStringConcat<char> cl;
    ASSERT_TRUE(cl.AddNumberHexa(static_cast<uint8_t>(0xA)));
    ASSERT_TRUE(cl.AddNumberHexa(static_cast<uint16_t>(0xBEEF)));
    ASSERT_TRUE(cl.AddNumberHexa(static_cast<uint32_t>(0x1F600)));
    ASSERT_TRUE(cl.AddNumberHexa(static_cast<uint64_t>(0xFEDCBA9876543210ULL)));
    EXPECT_STREQ(cl.pszGet(), "0ABEEF0001F600FEDCBA9876543210");
    CXYStringConcat<wchar_t> clB;
    ASSERT_TRUE(clB.AddNumberBinary(0xA5));
    ASSERT_TRUE(clB.AddNumberBinary(0x05, 3));
    EXPECT_STREQ(clB.pszGet(), L"10100101101");
}

TEST(StringBuilder, WidthsConvertOnTheWayIn) {
    CXYStringConcat<char> cl;
    ASSERT_TRUE(cl.AddWide(L"Noël \U0001F384", 6));
    ASSERT_TRUE(cl.AddAnsiToUTF8(" caf\xE9", 5, 1252));
    EXPECT_STREQ(cl.pszGet(), "No\xC3\xABl \xF0\x9F\x8E\x84 caf\xC3\xA9");
    const wchar_t szSurrogat[] = {0xD800, 0};
    EXPECT_FALSE(cl.AddWide(szSurrogat, 1));
    EXPECT_EQ(cl.nGetLongueur(), 16);  // unchanged by the refusal
    CXYStringConcat<wchar_t> clW;
    ASSERT_TRUE(clW.AddAnsi("caf\xC3\xA9 ", -1));
    ASSERT_TRUE(clW.AddAnsi("\x80", 1, 1252));
    EXPECT_STREQ(clW.pszGet(), L"café €");
    EXPECT_FALSE(clW.AddAnsi("\xFF", 1));
    EXPECT_TRUE(clW.bEstEgal(L"café €"));
    EXPECT_FALSE(clW.bEstEgal(L"café"));
    EXPECT_EQ(clW.nPos(L"€"), 5);
    clW.Majuscule();
    EXPECT_STREQ(clW.pszGet(), L"CAFÉ €");
    CXYString<wchar_t> clX;
    ASSERT_EQ(clW.nVersXYString(&clX), 0);
    EXPECT_EQ(clX.nGetLongueur(), 6);
}

TEST(StringBuilder, AppendingItsOwnTextSurvivesTheGrowth) {
    CXYStringConcat<wchar_t> cl(2);
    ASSERT_TRUE(cl.Add(L"ab"));
    for (int i = 0; i < 5; ++i) ASSERT_TRUE(cl.Add(cl.pszGet(), cl.nGetLongueur()));
    EXPECT_EQ(cl.nGetLongueur(), 64);
    std::wstring sAttendu;
    for (int i = 0; i < 32; ++i) sAttendu += L"ab";
    EXPECT_EQ(std::wstring(cl.pszGet()), sAttendu);
}

}  // namespace
