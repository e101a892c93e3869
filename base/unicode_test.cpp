// UTF-8, UTF-16 and UTF-32 against Python's codecs, the result codes of bad input, the limits of
// the output, and the fast paths at every alignment.
#include "base/unicode.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/testdata/expected_types.h"

namespace {

std::wstring Wide(const char32_t* pcTexte, size_t n) {
    std::wstring sTexte;
    for (size_t i = 0; i < n; ++i) sTexte.push_back(static_cast<wchar_t>(pcTexte[i]));
    return sTexte;
}

// A heap copy of exactly n bytes, no terminator: a read past it trips the sanitizer.
std::unique_ptr<char[]> Exact(const void* pDonnees, size_t n) {
    std::unique_ptr<char[]> pCopie(new char[n == 0 ? 1 : n]);
    memcpy(pCopie.get(), pDonnees, n);
    return pCopie;
}

TEST(Utf8, DecodesAndRejectsAsPythonDoes) {
    for (const STCasUtf8& stCas : CAS_UTF8) {
        SCOPED_TRACE(stCas.nLigne);
        if (stCas.nOctets == 0) continue;  // a counted text of 0 bytes is a bad argument, below
        auto pTexte = Exact(stCas.pbyOctets, stCas.nOctets);
        const int nOctets = static_cast<int>(stCas.nOctets);
        errno = 0;
        const int nCompte = nUTF8ToWide(pTexte.get(), nOctets, nullptr, 0);
        EXPECT_EQ(UTF8Valide(pTexte.get(), nOctets), stCas.bValide);
        if (!stCas.bValide) {
            EXPECT_EQ(nCompte, 0);
            EXPECT_EQ(errno, EILSEQ);
            wchar_t aszSortie[8];
            EXPECT_EQ(nUTF8ToWide(pTexte.get(), nOctets, aszSortie, 8), 0);
            continue;
        }
        ASSERT_EQ(nCompte, static_cast<int>(stCas.nCaracteres));
        std::wstring sSortie(stCas.nCaracteres, L'\0');
        ASSERT_EQ(nUTF8ToWide(pTexte.get(), nOctets, sSortie.data(), nCompte), nCompte);
        EXPECT_EQ(sSortie, Wide(stCas.pcTexte, stCas.nCaracteres));
        // And back to the same bytes.
        std::string sRetour(stCas.nOctets, '\0');
        ASSERT_EQ(nWideToUTF8(sSortie.data(), nCompte, sRetour.data(), nOctets), nOctets);
        EXPECT_EQ(0, memcmp(sRetour.data(), stCas.pbyOctets, stCas.nOctets));
    }
}

TEST(Utf16, JoinsPairsAndRejectsLoneSurrogatesAsPythonDoes) {
    for (const STCasUtf16& stCas : CAS_UTF16) {
        SCOPED_TRACE(stCas.nLigne);
        const int nUnites = static_cast<int>(stCas.nUnites);
        std::vector<char16_t> tabUnites(stCas.pcUnites, stCas.pcUnites + stCas.nUnites);
        errno = 0;
        const int nCompte = UTF16ToWideChar(tabUnites.data(), nUnites, nullptr, 0);
        if (!stCas.bValide) {
            EXPECT_EQ(nCompte, 0);
            EXPECT_EQ(errno, EILSEQ);
            char aszUtf8[16];
            EXPECT_EQ(UTF16ToUtf8(tabUnites.data(), nUnites, aszUtf8, 16), 0);
            continue;
        }
        ASSERT_EQ(nCompte, static_cast<int>(stCas.nCaracteres));
        std::wstring sSortie(stCas.nCaracteres, L'\0');
        ASSERT_EQ(UTF16ToWideChar(tabUnites.data(), nUnites, sSortie.data(), nCompte), nCompte);
        EXPECT_EQ(sSortie, Wide(stCas.pcTexte, stCas.nCaracteres));
        std::vector<char16_t> tabRetour(stCas.nUnites);
        ASSERT_EQ(WideCharToUTF16(sSortie.data(), nCompte, tabRetour.data(), nUnites), nUnites);
        EXPECT_EQ(tabRetour, tabUnites);
    }
}

TEST(Utf16, SurrogatePairIsOneCharacterAndSplitsBack) {
    const char16_t aszPaire[] = {0xD83D, 0xDE00, 0};
    wchar_t aszSortie[4] = {};
    EXPECT_EQ(UTF16ToWideChar(aszPaire, 2, aszSortie, 4), 1);
    EXPECT_EQ(aszSortie[0], static_cast<wchar_t>(0x1F600));
    EXPECT_EQ(UTF16ToWideChar(aszPaire, -1, aszSortie, 4), 2);  // with its terminator
    char16_t aszRetour[4] = {};
    EXPECT_EQ(WideCharToUTF16(L"\U0001F600", 1, aszRetour, 1), 0);  // a pair needs two units
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(WideCharToUTF16(L"\U0001F600", 1, aszRetour, 2), 2);
    EXPECT_EQ(aszRetour[0], 0xD83D);
    EXPECT_EQ(aszRetour[1], 0xDE00);
    char aszUtf8[8] = {};
    EXPECT_EQ(UTF16ToUtf8(aszPaire, 2, aszUtf8, 8), 4);
    EXPECT_STREQ(aszUtf8, "\xF0\x9F\x98\x80");
    EXPECT_EQ(UTF8ToUTF16Len("\xF0\x9F\x98\x80\xC3\xA9", 6), 3);
}

TEST(Utf8, LengthMinusOneCountsTheTerminator) {
    EXPECT_EQ(UTF8ToWideLen("Noël", -1), 5);
    EXPECT_EQ(nWideToUTF8(L"Noël", -1, nullptr, 0), 6);
    wchar_t aszSortie[5];
    ASSERT_EQ(nUTF8ToWide("Noël", -1, aszSortie, 5), 5);
    EXPECT_STREQ(aszSortie, L"Noël");
}

TEST(Utf8, BadArgumentsAnswerZero) {
    struct {
        int nLigne;
        const char* pszTexte;
        int nOctets;
        int nPlace;
    } const CAS[] = {
        {__LINE__, nullptr, 3, 4},
        {__LINE__, "abc", 0, 4},
        {__LINE__, "abc", -2, 4},
        {__LINE__, "abc", 3, -1},
    };
    wchar_t aszSortie[4];
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        errno = 0;
        EXPECT_EQ(nUTF8ToWide(stCas.pszTexte, stCas.nOctets, aszSortie, stCas.nPlace), 0);
        EXPECT_EQ(errno, EINVAL);
    }
}

TEST(Utf8, OutputAtItsLimitNeverOverflows) {
    // "été 😀": 5 characters. Room for 5 works; room for 4 fails and writes nothing past 4.
    const char* pszTexte = "\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80";
    wchar_t aszSortie[6];
    for (wchar_t& c : aszSortie) c = L'#';
    errno = 0;
    EXPECT_EQ(nUTF8ToWide(pszTexte, static_cast<int>(strlen(pszTexte)), aszSortie, 4), 0);
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(aszSortie[4], L'#');
    EXPECT_EQ(nUTF8ToWide(pszTexte, static_cast<int>(strlen(pszTexte)), aszSortie, 5), 5);
    EXPECT_EQ(aszSortie[5], L'#');

    char aszOctets[11];
    memset(aszOctets, '#', sizeof(aszOctets));
    const wchar_t* pszWide = L"été \U0001F600";  // 10 bytes, the last character 4 of them
    EXPECT_EQ(nWideToUTF8(pszWide, 5, aszOctets, 9), 0);
    EXPECT_EQ(aszOctets[9], '#');
    EXPECT_EQ(nWideToUTF8(pszWide, 5, aszOctets, 10), 10);
    EXPECT_EQ(aszOctets[10], '#');
}

TEST(Utf8, InvalidWideCharactersAreBadSequences) {
    const wchar_t aszSurrogat[] = {L'a', static_cast<wchar_t>(0xD800), 0};
    const wchar_t aszHorsUnicode[] = {static_cast<wchar_t>(0x110000), 0};
    const wchar_t aszNegatif[] = {static_cast<wchar_t>(-1), 0};
    for (const wchar_t* pszTexte : {aszSurrogat, aszHorsUnicode, aszNegatif}) {
        errno = 0;
        EXPECT_EQ(nWideToUTF8(pszTexte, -1, nullptr, 0), 0);
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(WideCharToUTF16(pszTexte, -1, nullptr, 0), 0);
        EXPECT_EQ(nGetUTF8Len(pszTexte), 0);
    }
    const char32_t aszUtf32[] = {0x41, 0xDFFF};
    EXPECT_EQ(UTF32ToWideChar(aszUtf32, 2, nullptr, 0), 0);
    EXPECT_EQ(UTF32ToUTF8(aszUtf32, 1, nullptr, 0), 1);
}

// The fast paths take 16 units at a time: a character of every width is put at every position
// of texts around that size, and the result must equal the character-by-character reference.
TEST(Utf8, FastPathsAgreeAtEveryAlignment) {
    const std::vector<std::wstring> tabIntrus = {L"é", L"€", L"\U0001F600", L"\u00A0"};
    for (size_t nLongueur = 1; nLongueur <= 40; ++nLongueur) {
        for (const std::wstring& sIntrus : tabIntrus) {
            for (size_t nPosition = 0; nPosition < nLongueur; ++nPosition) {
                std::wstring sTexte(nLongueur, L'a');
                for (size_t i = 0; i < nLongueur; ++i) sTexte[i] = static_cast<wchar_t>(L'a' + i % 26);
                sTexte[nPosition] = sIntrus[0];
                std::string sReference;
                for (wchar_t c : sTexte) {
                    char aszCaractere[4];
                    const int n = nWideToUTF8(&c, 1, aszCaractere, 4);
                    ASSERT_GT(n, 0);
                    sReference.append(aszCaractere, static_cast<size_t>(n));
                }
                const int nCaracteres = static_cast<int>(sTexte.size());
                std::string sUtf8(sReference.size(), '\0');
                ASSERT_EQ(nWideToUTF8(sTexte.data(), nCaracteres, sUtf8.data(), static_cast<int>(sUtf8.size())),
                          static_cast<int>(sReference.size()));
                ASSERT_EQ(sUtf8, sReference) << nLongueur << " " << nPosition;
                auto pExact = Exact(sUtf8.data(), sUtf8.size());
                std::wstring sRetour(sTexte.size(), L'\0');
                ASSERT_EQ(nUTF8ToWide(pExact.get(), static_cast<int>(sUtf8.size()), sRetour.data(), nCaracteres),
                          nCaracteres);
                ASSERT_EQ(sRetour, sTexte) << nLongueur << " " << nPosition;
                // A bad byte in the same place is caught by the fast path too.
                std::string sCasse = sUtf8;
                sCasse[sReference.size() * nPosition / nLongueur] = '\xFF';
                ASSERT_EQ(nUTF8ToWide(sCasse.data(), static_cast<int>(sCasse.size()), nullptr, 0), 0);
            }
        }
    }
}

TEST(Utf8, AllocatingFormsTerminate) {
    wchar_t* pszWide = UTF8ToWide("Hélène \xF0\x9F\x98\x80");
    ASSERT_NE(pszWide, nullptr);
    EXPECT_STREQ(pszWide, L"Hélène \U0001F600");
    free(pszWide);
    char* pszUtf8 = WideToUTF8(L"Œuvre", 3);
    ASSERT_NE(pszUtf8, nullptr);
    EXPECT_STREQ(pszUtf8, "\xC5\x92uv");
    free(pszUtf8);
    EXPECT_EQ(UTF8ToWide("\xC3"), nullptr);
    wchar_t* pszVide = UTF8ToWide("");
    ASSERT_NE(pszVide, nullptr);
    EXPECT_STREQ(pszVide, L"");
    free(pszVide);
}

TEST(Utf8Helpers, WalkCharactersWithoutReadingPastTheEnd) {
    const char* pszTexte = "a\xC3\xA9\xF0\x9F\x98\x80z";
    EXPECT_EQ(UTF8Len(pszTexte), 4);
    EXPECT_EQ(StrNLenUTF8(pszTexte, 3), 2);
    EXPECT_EQ(UTF8ByteLen(pszTexte, 3), 7);
    EXPECT_EQ(UTF8ByteLenTotal(pszTexte), 9);
    EXPECT_EQ(UTF8FirstChar(pszTexte + 1), L'é');
    EXPECT_EQ(UTF8next(pszTexte + 3), pszTexte + 7);
    EXPECT_EQ(TabUTF8len[0xF0], 4);
    EXPECT_EQ(TabUTF8len[0xC1], 0);
    EXPECT_EQ(STR_nGetNbByteUTF8(L'€'), 3);
    EXPECT_EQ(nGetUTF8Len(L"été"), 5);

    // A sequence cut by the end of the buffer: U+FFFD, and the pointer stops at the end.
    auto pCoupe = Exact("\xE2\x82", 2);
    const char* pszCourant = pCoupe.get();
    EXPECT_EQ(UTF8_GetNext(&pszCourant, pCoupe.get() + 2), static_cast<wchar_t>(0xFFFD));
    EXPECT_EQ(pszCourant, pCoupe.get() + 2);
    EXPECT_EQ(UTF8_GetNext(&pszCourant, pCoupe.get() + 2), 0);
    // Cut by a terminator: the zero is never taken as part of the sequence.
    const char* pszTermine = "\xF0\x9F";
    EXPECT_EQ(UTF8FirstChar(pszTermine), static_cast<wchar_t>(0xFFFD));
    EXPECT_EQ(UTF8next(pszTermine), pszTermine + 2);
}

TEST(Utf16Helpers, BoundedAndCaseInsensitive) {
    const char16_t aszTexte[] = u"Hélène et ÉTÉ";
    EXPECT_EQ(utf16len(aszTexte), 13);
    EXPECT_EQ(utf16nlen(aszTexte, 5), 5);
    EXPECT_EQ(utf16nicmp(u"été", u"ÉTÉ", 3), 0);
    EXPECT_LT(utf16nicmp(u"abc", u"ABD", 3), 0);
    EXPECT_EQ(utf16niutf16(aszTexte, u"été", 13), aszTexte + 10);
    EXPECT_EQ(utf16niutf16(aszTexte, u"été", 12), nullptr);  // the match would end past 12
    char16_t aszCopie[4] = {u'#', u'#', u'#', u'#'};
    EXPECT_EQ(utf16ncpy(aszCopie, u"ab", 4), 3);
    EXPECT_EQ(aszCopie[3], u'#');
}

}  // namespace
