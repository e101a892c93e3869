// Code pages against Python's codecs: single-byte pages byte by byte, texts in multi-byte pages,
// the 1252 holes, unknown pages, and outputs at their limit.
#include "base/code_pages.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/testdata/expected_types.h"
#include "base/unicode.h"

namespace {

std::wstring Wide(const char32_t* pcTexte, size_t n) {
    std::wstring sTexte;
    for (size_t i = 0; i < n; ++i) sTexte.push_back(static_cast<wchar_t>(pcTexte[i]));
    return sTexte;
}

TEST(CodePages, SingleBytePagesMatchPythonByteByByte) {
    for (const STPageAttendue& stPage : PAGES_ATTENDUES) {
        SCOPED_TRACE(stPage.nLigne);
        SCOPED_TRACE(stPage.nCodePage);
        for (int nOctet = 0; nOctet < 256; ++nOctet) {
            const char cOctet = static_cast<char>(nOctet);
            wchar_t cSortie = L'#';
            errno = 0;
            const int nResultat = MultiByteToWideChar(stPage.nCodePage, 0, &cOctet, 1, &cSortie, 1);
            const uint32_t cAttendu = stPage.acCaracteres[nOctet];
            if (cAttendu == 0xFFFFFFFFu) {
                EXPECT_EQ(nResultat, 0) << "byte " << nOctet;
                EXPECT_EQ(errno, EILSEQ);
                continue;
            }
            ASSERT_EQ(nResultat, 1) << "byte " << nOctet;
            EXPECT_EQ(static_cast<uint32_t>(cSortie), cAttendu) << "byte " << nOctet;
            char cRetour = 0;
            ASSERT_EQ(WideCharToMultiByte(stPage.nCodePage, 0, &cSortie, 1, &cRetour, 1), 1);
            EXPECT_EQ(static_cast<unsigned char>(cRetour), nOctet) << "byte " << nOctet;
        }
    }
}

TEST(CodePages, TextsMatchPythonBothWays) {
    for (const STEchantillon& stEchantillon : ECHANTILLONS) {
        SCOPED_TRACE(stEchantillon.nLigne);
        SCOPED_TRACE(stEchantillon.pszCodec);
        const auto* pszOctets = reinterpret_cast<const char*>(stEchantillon.pbyOctets);
        const int nOctets = static_cast<int>(stEchantillon.nOctets);
        const std::wstring sAttendu = Wide(stEchantillon.pcTexte, stEchantillon.nCaracteres);
        const int nCompte = MultiByteToWideChar(stEchantillon.nCodePage, 0, pszOctets, nOctets, nullptr, 0);
        ASSERT_EQ(nCompte, static_cast<int>(sAttendu.size()));
        std::wstring sWide(static_cast<size_t>(nCompte), L'\0');
        ASSERT_EQ(MultiByteToWideChar(stEchantillon.nCodePage, 0, pszOctets, nOctets, sWide.data(), nCompte), nCompte);
        EXPECT_EQ(sWide, sAttendu);
        if (stEchantillon.nCodePage == CP_UTF7) continue;  // several byte forms are equally right
        const int nRetour = WideCharToMultiByte(stEchantillon.nCodePage, 0, sWide.data(), nCompte, nullptr, 0);
        ASSERT_EQ(nRetour, nOctets);
        std::string sOctets(static_cast<size_t>(nRetour), '\0');
        ASSERT_EQ(WideCharToMultiByte(stEchantillon.nCodePage, 0, sWide.data(), nCompte, sOctets.data(), nRetour),
                  nRetour);
        EXPECT_EQ(sOctets, std::string(pszOctets, stEchantillon.nOctets));
    }
}

TEST(CodePages, DirectPathOf1252KeepsTheFiveHoles) {
    const char aszTrous[] = "\x81\x8d\x8f\x90\x9d\x80\xe9";
    wchar_t aszSortie[8] = {};
    ASSERT_EQ(STR_CP1252ToWideChar(aszTrous, 7, aszSortie, 8), 7);
    EXPECT_STREQ(aszSortie, L"\u0081\u008d\u008f\u0090\u009d€é");
    // The system path gives the same, and the way back restores every byte.
    wchar_t aszSysteme[8] = {};
    ASSERT_EQ(MultiByteToWideChar(1252, 0, aszTrous, -1, aszSysteme, 8), 8);
    EXPECT_STREQ(aszSysteme, aszSortie);
    char aszRetour[8] = {};
    ASSERT_EQ(STR_WideCharToCP1252(aszSortie, -1, aszRetour, 8), 8);
    EXPECT_STREQ(aszRetour, aszTrous);
    EXPECT_EQ(STR_FromCP1252(0x9C), L'œ');
    EXPECT_EQ(STR_ToCP1252(L'Ÿ'), 0x9F);
    EXPECT_EQ(STR_ToCP1252(L'\u0100'), -1);
}

TEST(CodePages, UnknownPagesFailWithEinval) {
    const unsigned int PAGES[] = {42, 1234, 65002, 99999};
    for (unsigned int nPage : PAGES) {
        SCOPED_TRACE(nPage);
        wchar_t aszWide[4];
        char aszOctets[4];
        errno = 0;
        EXPECT_EQ(MultiByteToWideChar(nPage, 0, "abc", 3, aszWide, 4), 0);
        EXPECT_EQ(errno, EINVAL);
        errno = 0;
        EXPECT_EQ(WideCharToMultiByte(nPage, 0, L"abc", 3, aszOctets, 4), 0);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(MultiByteToMultiByte(nPage, CP_UTF8, 0, "abc", 3, aszOctets, 4), 0);
        EXPECT_EQ(CodePageToIConv(nPage), nullptr);
    }
    EXPECT_STREQ(CodePageToIConv(CP_ACP), "CP1252");
    EXPECT_STREQ(CodePageToIConv(CP_OEMCP), "CP850");
    EXPECT_TRUE(STR_bCodePageSimpleOctet(1251));
    EXPECT_FALSE(STR_bCodePageSimpleOctet(932));
}

TEST(CodePages, LengthMinusOneCountsTheTerminator) {
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "\xe9t\xe9", -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xc3\xa9t\xc3\xa9", -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(932, 0, "\x93\xfa\x96\x7b", -1, nullptr, 0), 3);
    EXPECT_EQ(WideCharToMultiByte(932, 0, L"日本", -1, nullptr, 0), 5);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"€", -1, nullptr, 0), 4);
}

TEST(CodePages, OutputAtItsLimitNeverOverflows) {
    struct {
        int nLigne;
        unsigned int nCodePage;
        const wchar_t* pszTexte;
    } const CAS[] = {
        {__LINE__, 1252, L"Hélène à Noël"},
        {__LINE__, CP_UTF8, L"Hélène \U0001F600"},
        {__LINE__, 932, L"日本語のテキスト"},
        {__LINE__, 54936, L"Noël \U0001F600"},
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        const int nOctets = WideCharToMultiByte(stCas.nCodePage, 0, stCas.pszTexte, -1, nullptr, 0);
        ASSERT_GT(nOctets, 0);
        std::string sOctets(static_cast<size_t>(nOctets) + 1, '#');
        errno = 0;
        EXPECT_EQ(WideCharToMultiByte(stCas.nCodePage, 0, stCas.pszTexte, -1, sOctets.data(), nOctets - 1), 0);
        EXPECT_EQ(errno, E2BIG);
        EXPECT_EQ(sOctets[static_cast<size_t>(nOctets) - 1], '#');
        ASSERT_EQ(WideCharToMultiByte(stCas.nCodePage, 0, stCas.pszTexte, -1, sOctets.data(), nOctets), nOctets);
        EXPECT_EQ(sOctets[static_cast<size_t>(nOctets)], '#');

        const int nCaracteres = MultiByteToWideChar(stCas.nCodePage, 0, sOctets.data(), nOctets, nullptr, 0);
        ASSERT_EQ(nCaracteres, static_cast<int>(wcslen(stCas.pszTexte)) + 1);
        std::wstring sWide(static_cast<size_t>(nCaracteres) + 1, L'#');
        errno = 0;
        EXPECT_EQ(MultiByteToWideChar(stCas.nCodePage, 0, sOctets.data(), nOctets, sWide.data(), nCaracteres - 1), 0);
        EXPECT_EQ(errno, E2BIG);
        EXPECT_EQ(sWide[static_cast<size_t>(nCaracteres) - 1], L'#');
        ASSERT_EQ(MultiByteToWideChar(stCas.nCodePage, 0, sOctets.data(), nOctets, sWide.data(), nCaracteres),
                  nCaracteres);
        EXPECT_STREQ(sWide.c_str(), stCas.pszTexte);
        EXPECT_EQ(sWide[static_cast<size_t>(nCaracteres)], L'#');
    }
}

TEST(CodePages, CharactersThePageCannotHoldBecomeTheDefault) {
    char aszSortie[16] = {};
    ASSERT_EQ(WideCharToMultiByte(1252, 0, L"é\U0001F600ž日", -1, aszSortie, 16), 5);
    EXPECT_STREQ(aszSortie, "\xe9?\x9e?");
    ASSERT_EQ(WideCharToMultiByte(932, 0, L"é日", -1, aszSortie, 16), 4);
    EXPECT_STREQ(aszSortie, "?\x93\xfa");
    // EBCDIC writes its own question mark.
    ASSERT_EQ(WideCharToMultiByte(37, 0, L"€", 1, aszSortie, 16), 1);
    EXPECT_EQ(static_cast<unsigned char>(aszSortie[0]), 0x6F);
    // Towards UTF-8 an invalid character is a failure, not a replacement.
    const wchar_t aszSurrogat[] = {static_cast<wchar_t>(0xDC00), 0};
    errno = 0;
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, aszSurrogat, -1, aszSortie, 16), 0);
    EXPECT_EQ(errno, EILSEQ);
    EXPECT_EQ(WideCharToMultiByte(1200, 0, aszSurrogat, -1, aszSortie, 16), 0);
}

TEST(CodePages, BadSequencesInMultiBytePagesFail) {
    struct {
        int nLigne;
        unsigned int nCodePage;
        const char* pszOctets;
    } const CAS[] = {
        {__LINE__, 932, "\x93"},           // lead byte without its trail
        {__LINE__, 936, "a\x81"},
        {__LINE__, CP_UTF8, "\xed\xa0\x80"},
        {__LINE__, 20127, "caf\xe9"},      // ASCII has nothing above 0x7F
        {__LINE__, 1253, "\xaa"},          // a hole of 1253
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        errno = 0;
        EXPECT_EQ(MultiByteToWideChar(stCas.nCodePage, 0, stCas.pszOctets, static_cast<int>(strlen(stCas.pszOctets)),
                                      nullptr, 0),
                  0);
        EXPECT_EQ(errno, EILSEQ);
    }
}

TEST(CodePages, MultiByteToMultiByteGoesThroughWide) {
    char aszUtf8[32] = {};
    ASSERT_EQ(MultiByteToMultiByte(1252, CP_UTF8, 0, "No\xebl \x80", -1, aszUtf8, 32), 10);
    EXPECT_STREQ(aszUtf8, "No\xc3\xabl \xe2\x82\xac");
    char aszCp850[32] = {};
    ASSERT_EQ(UTF8ToMultiByte(850, aszUtf8, -1, aszCp850, 32), 7);
    EXPECT_STREQ(aszCp850, "No\x89l ?");  // the euro sign has no place in 850
    char aszRetour[32] = {};
    ASSERT_EQ(MultiByteToUTF8(850, "\x82t\x82", -1, aszRetour, 32), 6);
    EXPECT_STREQ(aszRetour, "\xc3\xa9t\xc3\xa9");
    ASSERT_EQ(UTF16ToMultiByte(1252, u"Œuvre", -1, aszRetour, 32), 6);
    EXPECT_STREQ(aszRetour, "\x8cuvre");
}

TEST(CodePages, AllocatingFormsAndShorthands) {
    wchar_t* pszWide = pszCSTR2XSTR("Gr\xfc\xdf", 1252);
    ASSERT_NE(pszWide, nullptr);
    EXPECT_STREQ(pszWide, L"Grüß");
    char* pszUtf8 = pszXSTR2CSTR(pszWide, CP_UTF8);
    ASSERT_NE(pszUtf8, nullptr);
    EXPECT_STREQ(pszUtf8, "Gr\xc3\xbc\xc3\x9f");
    free(pszUtf8);
    free(pszWide);
    EXPECT_EQ(pszCSTR2XSTR("\xc3", CP_UTF8), nullptr);
    EXPECT_EQ(STR_ToAnsi7(L'Ê'), 'E');
    EXPECT_EQ(STR_ToAnsi7(L'日'), '?');
    wchar_t aszSortie[8] = {};
    EXPECT_EQ(STR_CharToWChar("\xe7" "a", -1, aszSortie, 8), 3);  // current page: 1252
    EXPECT_STREQ(aszSortie, L"ça");
}

}  // namespace
