// The one UTF-8 reader of 8-bit text the machine and ovrun share: valid UTF-8 decodes whole, and
// anything else keeps every byte as a character of its own.
#include "host/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace ovhost {
namespace {

TEST(MachineUtf8, BytesBecomeWideTextWithoutLosingAByte) {
    struct {
        int nLine;
        std::string sBytes;
        std::wstring sExpected;
    } const tabCases[] = {
        {__LINE__, "", L""},
        {__LINE__, "No\xC3\xABl \xF0\x9F\x98\x80", L"Noël \U0001F600"},
        {__LINE__, "D\xC3\xA9j\xC3\xA0 \xC3\xA9t\xC3\xA9", L"Déjà été"},
        // Latin-1 bytes are not UTF-8: the whole text is read one byte a character.
        {__LINE__, "No\xEBl", L"No\u00EBl"},
        // One bad sequence after good ones: still byte by byte, the good ones included.
        {__LINE__, "\xC3\xA9\xFF", L"\u00C3\u00A9\u00FF"},
        {__LINE__, "\xC0\xAF", L"\u00C0\u00AF"},               // overlong
        {__LINE__, "\xED\xA0\x80", L"\u00ED\u00A0\u0080"},     // a surrogate
        {__LINE__, "\xF0\x9F\x98", L"\u00F0\u009F\u0098"},     // cut short
        {__LINE__, std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
    };
    for (const auto& stCase : tabCases) {
        EXPECT_EQ(sWideFromBytes(stCase.sBytes), stCase.sExpected) << "line " << stCase.nLine;
    }
}

TEST(MachineUtf8, WideTextRoundTripsAndBadCodePointsBecomeTheReplacement) {
    const std::wstring sFrancais = L"Noël à Paris, où ça ? \U0001F600";
    EXPECT_EQ(sWideFromBytes(sUtf8(sFrancais)), sFrancais);
    EXPECT_EQ(sUtf8(std::wstring(1, static_cast<wchar_t>(0xd800))), "\xEF\xBF\xBD");
    EXPECT_EQ(sUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}

}  // namespace
}  // namespace ovhost
