// sCalculeCrc32 and sCalculeCrc16 through the stand-in machine: buffers, 8-bit and wide text give
// the CRC of the bytes the function documents, an empty value gives 0; and from the command line.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

class ChecksumsEndToEnd : public MachineEndToEnd {};

TEST_F(ChecksumsEndToEnd, EachKindOfValueGivesTheCrcOfItsDocumentedBytes) {
    // Wide text goes through CRC-32 as UTF-8 and through CRC-16 by the low byte of each character.
    const std::wstring sLarge = L"\u00c9l\u00e9gant \u00e9t\u00e9 \U0001F3B5";
    const struct {
        int nLigne;
        const char* pszFonction;
        CValue clValeur;
        uint32_t dwAttendu;
    } tabCas[] = {
        {__LINE__, "sCalculeCrc32", CValue::Text(L"123456789"), 0xCBF43926},
        {__LINE__, "sCalculeCrc32", CValue::Ansi("123456789"), 0xCBF43926},
        {__LINE__, "sCalculeCrc32", CValue::Buffer("123456789"), 0xCBF43926},
        {__LINE__, "sCalculeCrc32", CValue::Buffer(std::string("\x00\xff\x41", 3)), 0x6DBE5566},
        {__LINE__, "sCalculeCrc32", CValue::Text(sLarge), 0x61448796},
        {__LINE__, "sCalculeCrc32", CValue::Buffer(""), 0},
        {__LINE__, "sCalculeCrc32", CValue::Text(L""), 0},
        {__LINE__, "sCalculeCrc16", CValue::Buffer("123456789"), 0xBEEF},
        {__LINE__, "sCalculeCrc16", CValue::Text(L"123456789"), 0xBEEF},
        {__LINE__, "sCalculeCrc16", CValue::Text(L"\u00e9t\u00e9\U0001F3E9"), 0x7DD0},
        {__LINE__, "sCalculeCrc16", CValue::Buffer("\xE9t\xE9\xE9"), 0x7DD0},
        {__LINE__, "sCalculeCrc16", CValue::Buffer(""), 0},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszFonction, {c.clValeur});
        EXPECT_FALSE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(static_cast<uint32_t>(st.clResult.nInteger), c.dwAttendu) << "row " << c.nLigne;
    }
}

// A seed carries the CRC over a value cut in two, for buffers and for text (whose UTF-8 form is
// what is summed, so the cut falls between characters); an empty value ignores the seed.
TEST_F(ChecksumsEndToEnd, SeededCrc32ContinuesAcrossACut) {
    struct STCas {
        int nLigne;
        CValue clValeur;
        int32_t nGraine;
        uint32_t dwAttendu;
    };
    const STCas tabCas[] = {
        {__LINE__, CValue::Buffer("6789"), static_cast<int32_t>(3421846044u), 0xCBF43926},
        {__LINE__, CValue::Text(L"6789"), static_cast<int32_t>(3421846044u), 0xCBF43926},
        {__LINE__, CValue::Text(L"é"), 0x12345678, 1810536501},
        {__LINE__, CValue::Buffer(""), 0x12345678, 0},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall("sCalculeCrc32", {c.clValeur, CValue::Int(c.nGraine)});
        EXPECT_FALSE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(static_cast<uint32_t>(st.clResult.nInteger), c.dwAttendu) << "row " << c.nLigne;
    }
}

TEST(ChecksumsOvrun, TextAndBufferFromTheCommandLine) {
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "sCalculeCrc32(\"123456789\")", "-e", "sCalculeCrc32(x\"\")", "-e",
                     "sCalculeCrc16(x\"313233343536373839\")"});
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte, "-873187034\n0\n48879\n");
}

}  // namespace
}  // namespace ovhost
