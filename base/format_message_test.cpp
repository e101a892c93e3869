// The message formatting emulation: numbered inserts and their formats, escapes, line ends and
// widths, refusals with EINVAL, full and allocated buffers, the three argument forms, and the
// printf form.
#include "base/format_message.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr unsigned int CHAINE = FORMAT_MESSAGE_FROM_STRING;

uintptr_t nTexte(const wchar_t* pszTexte) { return reinterpret_cast<uintptr_t>(pszTexte); }
uintptr_t nEntier(long long nValeur) { return static_cast<uintptr_t>(nValeur); }

// The numbered form over an array copied into a heap block of exactly its size, so that an insert
// read past the arguments would be caught.
struct STResultat {
    unsigned int nLongueur;
    int nErrno;
    std::wstring sTexte;
};

STResultat stFormateTableau(unsigned int dwFlags, const wchar_t* pszTexte, const std::vector<uintptr_t>& tabArguments,
                            unsigned int nTaille = 256) {
    std::unique_ptr<uintptr_t[]> ptabExact(new uintptr_t[tabArguments.size() + 1]);
    std::copy(tabArguments.begin(), tabArguments.end(), ptabExact.get());
    std::vector<wchar_t> tabBuffer(nTaille + 1, L'#');
    errno = 0;
    const unsigned int nLongueur = FormatMessageWin(dwFlags, pszTexte, 0, 0, tabBuffer.data(), nTaille,
                                                    ptabExact.get(), static_cast<int>(tabArguments.size()));
    EXPECT_EQ(tabBuffer[nTaille], L'#') << "nothing written past the buffer";
    return {nLongueur, errno, nLongueur > 0 ? std::wstring(tabBuffer.data()) : std::wstring()};
}

TEST(FormatMessageWin, FormatsNumberedInserts) {
    const wchar_t* pszEte = L"été \U0001D11E";
    struct STCas {
        int nLigne;
        unsigned int dwFlags;
        const wchar_t* pszTexte;
        std::vector<uintptr_t> tabArguments;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, CHAINE, L"%1!4.2u!", {3}, L"  03"},
        {__LINE__, CHAINE, L"%1!*.*u!", {5, 3, 1}, L"  001"},
        {__LINE__, CHAINE, L"[%1!*d!|%3]", {4, 7, nTexte(L"x")}, L"[   7|x]"},
        {__LINE__, CHAINE, L"Fichier « %1 » : %2!d! octets", {nTexte(pszEte), nEntier(-12)},
         L"Fichier « été \U0001D11E » : -12 octets"},
        {__LINE__, CHAINE, L"%2 puis %1, encore %2", {nTexte(L"un"), nTexte(L"deux")}, L"deux puis un, encore deux"},
        {__LINE__, CHAINE, L"%1!x!-%1!X!-%1!o!", {255}, L"ff-FF-377"},
        {__LINE__, CHAINE, L"%1!I64d! %1!d! %1!u!", {nEntier(-1)}, L"-1 -1 4294967295"},
        {__LINE__, CHAINE, L"%1!I64u!", {0x123456789ULL}, L"4886718345"},
        {__LINE__, CHAINE, L"<%1!-6s!>", {nTexte(L"é")}, L"<é     >"},
        {__LINE__, CHAINE, L"%1!hs! %2!S!", {reinterpret_cast<uintptr_t>("\xC3\xA9l\xC3\xA8ve"),
                                            reinterpret_cast<uintptr_t>("\xF0\x9D\x84\x9E")},
         L"élève \U0001D11E"},
        {__LINE__, CHAINE, L"%1!c!%2!lc!", {L'é', 0x1D11E}, L"é\U0001D11E"},
        {__LINE__, CHAINE, L"%10", {1, 2, 3, 4, 5, 6, 7, 8, 9, nTexte(L"dix")}, L"dix"},
        {__LINE__, CHAINE, L"%1%2", {nTexte(L"a"), nTexte(L"b")}, L"ab"},
        {__LINE__, CHAINE, L"%1", {0}, L"(null)"},
    };
    for (const auto& stCas : astCas) {
        const STResultat stResultat = stFormateTableau(stCas.dwFlags, stCas.pszTexte, stCas.tabArguments);
        EXPECT_EQ(stResultat.sTexte, stCas.pszAttendu) << "line " << stCas.nLigne;
        EXPECT_EQ(stResultat.nLongueur, wcslen(stCas.pszAttendu)) << "line " << stCas.nLigne;
    }
}

TEST(FormatMessageWin, HandlesEscapesAndLineEnds) {
    struct STCas {
        int nLigne;
        unsigned int dwFlags;
        const wchar_t* pszTexte;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, CHAINE, L"test%0test", L"test"},
        {__LINE__, CHAINE, L"%n%r%t", L"\r\n\r\t"},
        {__LINE__, CHAINE, L"a%bb%%c%.d%!", L"a b%c.d!"},
        {__LINE__, CHAINE, L"fin%", L"fin"},
        {__LINE__, CHAINE, L"a\nb", L"a\r\nb"},
        {__LINE__, CHAINE, L"a\rb", L"a\r\nb"},
        {__LINE__, CHAINE, L"a\r\nb", L"a\r\nb"},
        {__LINE__, CHAINE, L"a\n\rb", L"a\r\nb"},
        {__LINE__, CHAINE, L"a\n\nb\r\n\r\nc", L"a\r\n\r\nb\r\n\r\nc"},
        // With a width, line ends of the text become blanks; %n still breaks.
        {__LINE__, CHAINE | FORMAT_MESSAGE_MAX_WIDTH_MASK, L"a\nb\r\nc%nd", L"a b c\r\nd"},
        {__LINE__, CHAINE | 40, L"un\ndeux", L"un deux"},
        // Parameters ignored: inserts and unknown escapes are copied, the others still apply.
        {__LINE__, CHAINE | FORMAT_MESSAGE_IGNORE_INSERTS, L"%1 et %2!d! %% %n%0x", L"%1 et %2!d! %% \r\n"},
    };
    for (const auto& stCas : astCas) {
        const STResultat stResultat = stFormateTableau(stCas.dwFlags, stCas.pszTexte, {});
        EXPECT_EQ(stResultat.sTexte, stCas.pszAttendu) << "line " << stCas.nLigne;
        EXPECT_EQ(stResultat.nLongueur, wcslen(stCas.pszAttendu)) << "line " << stCas.nLigne;
    }
}

TEST(FormatMessageWin, BreaksLinesAtTheLastBlankWithinTheWidth) {
    struct STCas {
        int nLigne;
        unsigned int nLargeur;
        const wchar_t* pszTexte;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, 10, L"Le fichier est ouvert en écriture", L"Le fichier\r\nest ouvert\r\nen\r\nécriture"},
        {__LINE__, 4, L"abcdefghij", L"abcd\r\nefgh\r\nij"},
        {__LINE__, 6, L"%1 fin", L"un \U0001D11E\r\nfin"},
        {__LINE__, 5, L"ab\ncd ef", L"ab cd\r\nef"},
        {__LINE__, 6, L"ab%ncdefgh", L"ab\r\ncdefgh"},
    };
    for (const auto& stCas : astCas) {
        const STResultat stResultat = stFormateTableau(CHAINE | stCas.nLargeur, stCas.pszTexte, {nTexte(L"un \U0001D11E")});
        EXPECT_EQ(stResultat.sTexte, stCas.pszAttendu) << "line " << stCas.nLigne;
    }
}

TEST(FormatMessageWin, RefusesWithEinvalWhatItCannotFormat) {
    struct STCas {
        int nLigne;
        unsigned int dwFlags;
        const wchar_t* pszTexte;
        std::vector<uintptr_t> tabArguments;
    } const astCas[] = {
        {__LINE__, CHAINE, L"%3", {1, 2}},             // insert past the arguments
        {__LINE__, CHAINE, L"%1", {}},
        {__LINE__, CHAINE, L"%1!*.*u!", {5, 3}},       // the stars take the value's place
        {__LINE__, CHAINE, L"%1000", {1}},              // a fourth digit
        {__LINE__, CHAINE, L"%1!d", {1}},               // format not closed
        {__LINE__, CHAINE, L"%1!!", {1}},               // empty format
        {__LINE__, CHAINE, L"%1!f!", {1}},              // no floating point
        {__LINE__, CHAINE, L"%1!n!", {1}},              // no writing through an argument
        {__LINE__, CHAINE, L"%1!d %s!", {1}},            // more than one conversion
        {__LINE__, CHAINE, L"%1!***d!", {1, 2, 3, 4}},  // a third star
        {__LINE__, CHAINE, L"%1!0000000000000000000000000000000000d!", {1}},  // longer than its buffer
        {__LINE__, CHAINE | FORMAT_MESSAGE_FROM_HMODULE, L"x", {}},
        {__LINE__, 0, L"x", {}},                        // neither string nor system
    };
    for (const auto& stCas : astCas) {
        const STResultat stResultat = stFormateTableau(stCas.dwFlags, stCas.pszTexte, stCas.tabArguments);
        EXPECT_EQ(stResultat.nLongueur, 0u) << "line " << stCas.nLigne;
        EXPECT_EQ(stResultat.nErrno, EINVAL) << "line " << stCas.nLigne;
    }
    wchar_t szBuffer[4];
    EXPECT_EQ(FormatMessageWin(CHAINE, nullptr, 0, 0, szBuffer, 4, static_cast<const uintptr_t*>(nullptr), 0), 0u);
    EXPECT_EQ(FormatMessageWin(CHAINE, L"x", 0, 0, szBuffer, 0, static_cast<const uintptr_t*>(nullptr), 0), 0u);
}

TEST(FormatMessageWin, FullBufferCutsTheTextAndAnswersItsSizeLessOne) {
    const STResultat stResultat = stFormateTableau(CHAINE, L"abc%1def", {nTexte(L"ééé")}, 6);
    EXPECT_EQ(stResultat.nLongueur, 5u);
    EXPECT_EQ(stResultat.sTexte, L"abcéé");
    const STResultat stLigne = stFormateTableau(CHAINE | 4, L"ab cd", {}, 5);
    EXPECT_EQ(stLigne.nLongueur, 4u);
    EXPECT_EQ(stLigne.sTexte, L"ab c") << "a break that no longer fits leaves the line cut as it stood";
}

TEST(FormatMessageWin, AllocatesShrinksAndLeavesNullOnFailure) {
    wchar_t* pszTexte = reinterpret_cast<wchar_t*>(1);
    const uintptr_t anArguments[] = {nTexte(L"Été")};
    EXPECT_EQ(FormatMessageWin(CHAINE | FORMAT_MESSAGE_ALLOCATE_BUFFER, L"%1 \U0001D11E", 0, 0,
                               reinterpret_cast<wchar_t*>(&pszTexte), 0, anArguments, 1),
              5u);
    ASSERT_NE(pszTexte, nullptr);
    EXPECT_STREQ(pszTexte, L"Été \U0001D11E");
    free(pszTexte);

    EXPECT_EQ(FormatMessageWin(CHAINE | FORMAT_MESSAGE_ALLOCATE_BUFFER, L"x", 0, 0,
                               reinterpret_cast<wchar_t*>(&pszTexte), 100, anArguments, 1),
              1u);
    ASSERT_NE(pszTexte, nullptr);
    EXPECT_GE(malloc_usable_size(pszTexte), 100 * sizeof(wchar_t)) << "never below the size asked for";
    free(pszTexte);

    // The allocated buffer holds the size rounded up to 65536 characters, and a text beyond is cut.
    const std::wstring sLong(70000, L'é');
    const uintptr_t anLong[] = {nTexte(sLong.c_str())};
    EXPECT_EQ(FormatMessageWin(CHAINE | FORMAT_MESSAGE_ALLOCATE_BUFFER, L"%1", 0, 0,
                               reinterpret_cast<wchar_t*>(&pszTexte), 0, anLong, 1),
              65535u);
    ASSERT_NE(pszTexte, nullptr);
    EXPECT_EQ(wcslen(pszTexte), 65535u);
    free(pszTexte);

    pszTexte = reinterpret_cast<wchar_t*>(1);
    EXPECT_EQ(FormatMessageWin(CHAINE | FORMAT_MESSAGE_ALLOCATE_BUFFER, L"%2", 0, 0,
                               reinterpret_cast<wchar_t*>(&pszTexte), 0, anArguments, 1),
              0u);
    EXPECT_EQ(pszTexte, nullptr);
}

TEST(FormatMessageWin, SystemTextFollowsTheCodeOrErrno) {
    const std::wstring sAttendu = [] {
        std::wstring s;
        for (const char* psz = strerror(ENOENT); *psz != 0; ++psz) s.push_back(static_cast<unsigned char>(*psz));
        return s;
    }();
    wchar_t szBuffer[256];
    EXPECT_EQ(FormatMessageWin(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, ENOENT, 0, szBuffer, 256,
                               static_cast<const uintptr_t*>(nullptr), 0),
              sAttendu.size());
    EXPECT_EQ(std::wstring(szBuffer), sAttendu);
    errno = ENOENT;
    EXPECT_EQ(FormatMessageWin(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 0, 0, szBuffer, 256,
                               static_cast<const uintptr_t*>(nullptr), 0),
              sAttendu.size());
    EXPECT_EQ(std::wstring(szBuffer), sAttendu);
}

// ---------------------------------------------------------------- the va_list forms

template <class... T>
std::wstring sFormateArgs(unsigned int dwFlags, const wchar_t* pszTexte, T... xArguments) {
    wchar_t szBuffer[512];
    errno = 0;
    const unsigned int nLongueur = FormatMessageWinArgs(dwFlags, pszTexte, 0, 0, szBuffer, 512, xArguments...);
    return nLongueur > 0 ? std::wstring(szBuffer, nLongueur) : L"<" + std::to_wstring(errno) + L">";
}

TEST(FormatMessageWinArgs, CountsAndWidensItsArguments) {
    EXPECT_EQ(sFormateArgs(CHAINE, L"%1!d! %2!u! %3 %4!c! %5!I64d!", -3, 7u, L"é\U0001D11E", L'ç', -5LL),
              L"-3 7 é\U0001D11E ç -5");
    EXPECT_EQ(sFormateArgs(CHAINE, L"%3 %1 %2 %1", L"a", L"b", L"c"), L"c a b a");
    EXPECT_EQ(sFormateArgs(CHAINE, L"%1!*.*u!", 5, 3, 1), L"  001");
    EXPECT_EQ(sFormateArgs(CHAINE, L"%1!hd!", static_cast<short>(-2)), L"-2");
    EXPECT_EQ(sFormateArgs(CHAINE, L"%3", 1, 2), L"<22>") << "never read past the arguments";
    EXPECT_EQ(sFormateArgs(CHAINE, L"%1"), L"<22>");
    EXPECT_EQ(sFormateArgs(CHAINE, L"sans insert"), L"sans insert");
}

TEST(FormatMessageWinArgs, ListReachesTwoHundredInsertsAndNoMore) {
    auto sAvec = [](const wchar_t* pszTexte, auto stSuite) {
        return [&]<size_t... I>(std::index_sequence<I...>) { return sFormateArgs(CHAINE, pszTexte, (I + 1)...); }(
            stSuite);
    };
    EXPECT_EQ(sAvec(L"%200!d! %1!d! %200!d!", std::make_index_sequence<200>{}), L"200 1 200");
    EXPECT_EQ(sAvec(L"%201!d!", std::make_index_sequence<201>{}), L"<22>");
    // The array form has no such limit.
    std::vector<uintptr_t> tabArguments(300);
    for (size_t i = 0; i < tabArguments.size(); ++i) tabArguments[i] = i + 1;
    EXPECT_EQ(stFormateTableau(CHAINE, L"%300!d!", tabArguments).sTexte, L"300");
}

// ---------------------------------------------------------------- the printf form

unsigned int nFormateW(unsigned int dwFlags, wchar_t* pszBuffer, unsigned int nTaille, const wchar_t* pszFormat, ...) {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const unsigned int nResultat = FormatMessageW(dwFlags, pszFormat, 0, 0, pszBuffer, nTaille, &pArguments);
    va_end(pArguments);
    return nResultat;
}

TEST(FormatMessageW, FormatsWithTheWidePrintf) {
    wchar_t szBuffer[32];
    EXPECT_EQ(nFormateW(CHAINE, szBuffer, 32, L"%s : %d", L"Durée \U0001D11E", 5), 11u);
    EXPECT_STREQ(szBuffer, L"Durée \U0001D11E : 5");
    EXPECT_EQ(nFormateW(CHAINE, szBuffer, 6, L"%s", L"élève studieux"), 5u) << "cut, size less one";
    EXPECT_STREQ(szBuffer, L"élève");
    EXPECT_EQ(nFormateW(CHAINE, szBuffer, 32, L"a\nb"), 3u) << "no line end processing";

    wchar_t* pszTexte = nullptr;
    EXPECT_EQ(nFormateW(CHAINE | FORMAT_MESSAGE_ALLOCATE_BUFFER, reinterpret_cast<wchar_t*>(&pszTexte), 64, L"%d%%", 42),
              3u);
    ASSERT_NE(pszTexte, nullptr);
    EXPECT_STREQ(pszTexte, L"42%");
    EXPECT_GE(malloc_usable_size(pszTexte), 64 * sizeof(wchar_t));
    free(pszTexte);
}

TEST(FormatMessageW, WithoutAListReadsNoArgument) {
    wchar_t szBuffer[16];
    EXPECT_EQ(FormatMessageW(CHAINE, L"100%%", 0, 0, szBuffer, 16, nullptr), 4u);
    EXPECT_STREQ(szBuffer, L"100%");
    errno = 0;
    EXPECT_EQ(FormatMessageW(CHAINE, L"%d", 0, 0, szBuffer, 16, nullptr), 0u);
    EXPECT_EQ(errno, EINVAL);
    wchar_t* pszTexte = reinterpret_cast<wchar_t*>(1);
    EXPECT_EQ(FormatMessageW(CHAINE | FORMAT_MESSAGE_ALLOCATE_BUFFER, L"%*d", 0, 0,
                             reinterpret_cast<wchar_t*>(&pszTexte), 0, nullptr),
              0u);
    EXPECT_EQ(pszTexte, nullptr);
}

}  // namespace
