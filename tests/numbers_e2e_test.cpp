// Number formatting functions through the stand-in machine: arguments built by the machine,
// defaults filled by the thunks, results and numbered errors read back as a program sees them.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host/machine.h"
#include "host/vm.h"
#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

class NumbersEndToEnd : public MachineEndToEnd {
protected:
    void TearDown() override { CMachineServices::s_Instance().clInfoLangue().SetLangue(CInfoLangue::LANGUE_FRANCAIS); }
};

TEST_F(NumbersEndToEnd, BuffersAndHexadecimalTextRoundTripWithDefaults) {
    const std::string sOctets("A\xe9\0\xff~", 5);
    STCallOutcome st = stCall("BufferVersHexa", {CValue::Buffer(sOctets)});
    ASSERT_FALSE(st.bError);
    EXPECT_EQ(st.clResult.sText, L"41 E9 00 FF 7E\r\n");
    st = stCall("BufferVersHexa", {CValue::Buffer(sOctets), CValue::Int(1), CValue::Int(2 | 512)});
    EXPECT_EQ(st.clResult.sText, L"41 E9  |A.\r\n00 FF  |..\r\n7E     |~\r\n");
    const std::wstring sDump = st.clResult.sText;
    st = stCall("HexaVersBuffer", {CValue::Text(sDump)});
    ASSERT_FALSE(st.bError);
    EXPECT_EQ(st.clResult.sBytes, sOctets);
    st = stCall("BufferVersEntier", {CValue::Buffer(sOctets)});
    EXPECT_EQ(st.clResult.nInteger, 0xff00e941);
    st = stCall("BufferVersEntier", {CValue::Buffer(sOctets), CValue::Int64(1), CValue::Int(1)});
    EXPECT_EQ(st.clResult.nInteger, 0xe9);
    st = stCall("BufferVersReel", {CValue::Buffer(std::string("\0\0\0\0\0\0\x04\x40", 8))});
    EXPECT_EQ(st.clResult.dReal, 2.5);
}

TEST_F(NumbersEndToEnd, BadInputRaisesTheNumberedErrors) {
    struct {
        int nLine;
        const char* pszName;
        std::vector<CValue> tab;
        int nCode;
    } const tabCas[] = {
        {__LINE__, "HexaVersBuffer", {CValue::Text(L"4é")}, 81833},
        {__LINE__, "BufferVersHexa", {CValue::Buffer("AB"), CValue::Int(8)}, 80700},
        {__LINE__, "BufferVersEntier", {CValue::Buffer("AB"), CValue::Int64(-1), CValue::Int(1)}, 81838},
        {__LINE__, "BufferVersReel", {CValue::Buffer("ABCD"), CValue::Int64(0), CValue::Int(2)}, 80700},
        {__LINE__, "TailleVersChaine", {CValue::Int64(10), CValue::Int(6)}, 81507},
        {__LINE__, "RVB", {CValue::Text(L"FF"), CValue::Text(L"\U0001F600"), CValue::Text(L"0")}, 81813},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszName, c.tab);
        EXPECT_TRUE(st.bError) << "row " << c.nLine;
        EXPECT_EQ(st.stError.nCode, c.nCode) << "row " << c.nLine;
    }
}

TEST_F(NumbersEndToEnd, SizesSpeakTheMachineLanguage) {
    struct {
        int nLine;
        CInfoLangue::ELangue eLangue;
        std::vector<CValue> tab;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, {CValue::Int64(1536)}, L"1,50 Ko"},
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, {CValue::Int64(1), CValue::Int(0)}, L"1 octet"},
        {__LINE__, CInfoLangue::LANGUE_ANGLAIS, {CValue::Int64(1536)}, L"1.50 KB"},
        {__LINE__, CInfoLangue::LANGUE_ANGLAIS, {CValue::Int64(-2), CValue::Int(1)}, L"-2 bytes"},
    };
    for (const auto& c : tabCas) {
        CMachineServices::s_Instance().clInfoLangue().SetLangue(c.eLangue);
        const STCallOutcome st = stCall("TailleVersChaine", c.tab);
        EXPECT_FALSE(st.bError) << "row " << c.nLine;
        EXPECT_EQ(st.clResult.sText, c.pszAttendu) << "row " << c.nLine;
    }
}

// The overloads whose defaults the thunks fill: each one answers as the full call would.
TEST_F(NumbersEndToEnd, DefaultedOverloadsAnswerAsTheFullCall) {
    const std::string sOctets("\x01\x02\x03\x04\x05\x06\x07\x08\0\0\0\0\0\0\x04\x40", 16);
    EXPECT_EQ(stCall("EntierVersHexa", {CValue::Int(-2)}).clResult.sText, L"FFFFFFFE");
    EXPECT_EQ(stCall("BufferVersHexa", {CValue::Buffer(sOctets.substr(0, 4)), CValue::Int(2)}).clResult.sText,
              L"0102 0304\r\n");
    EXPECT_EQ(stCall("BufferVersEntier", {CValue::Buffer(sOctets), CValue::Int64(2)}).clResult.nInteger, 0x06050403);
    EXPECT_EQ(stCall("BufferVersReel", {CValue::Buffer(sOctets), CValue::Int64(8)}).clResult.dReal, 2.5);
}

// Variant arguments and results (0x1f) built and read by the machine.
TEST_F(NumbersEndToEnd, VariantFunctionsFormatAndReadNumbers) {
    EXPECT_EQ(stCall("NumeriqueVersChaine", {CValue::Real(2.675), CValue::Text(L".2f")}).clResult.sText, L"2.68");
    EXPECT_EQ(stCall("NumeriqueVersChaine", {CValue::Int(3)}).clResult.sText, L"3");
    STCallOutcome st = stCall("NumeriqueVersChaine", {CValue::Real(1), CValue::Text(L"101f")});
    EXPECT_EQ(st.stError.nCode, 80700);
    EXPECT_NE(st.stError.sMessage.find(L"101f"), std::wstring::npos);
    EXPECT_EQ(stCall("EntierVersHexa", {CValue::Int(255), CValue::Int(2)}).clResult.sText, L"00 00 00 FF");
    EXPECT_EQ(stCall("HexaVersEntier", {CValue::Text(L"0x1FF")}).clResult.nInteger, 0x1ff);
    EXPECT_EQ(stCall("EstNumerique", {CValue::Text(L"12.5")}).clResult.nInteger, 1);
    EXPECT_EQ(stCall("EstNumerique", {CValue::Text(L"été")}).clResult.nInteger, 0);
}

TEST_F(NumbersEndToEnd, SystemMasksFollowTheMachineLanguage) {
    struct {
        int nLine;
        CInfoLangue::ELangue eLangue;
        double dValeur;
        const wchar_t* pszMasque;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, -1234567.891, L"NumSystemMask", L"-1 234 567,89"},
        {__LINE__, CInfoLangue::LANGUE_ANGLAIS, -1234567.891, L"NumSystemMask", L"-1,234,567.89"},
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, -1234.5, L"MoneySystemMask$", L"-1 234,50 \u20ac"},
        {__LINE__, CInfoLangue::LANGUE_ANGLAIS, -1234.5, L"MoneySystemMask$", L"-$1,234.50"},
    };
    for (const auto& c : tabCas) {
        CMachineServices::s_Instance().clInfoLangue().SetLangue(c.eLangue);
        const STCallOutcome st = stCall("NumeriqueVersChaine", {CValue::Real(c.dValeur), CValue::Text(c.pszMasque)});
        EXPECT_FALSE(st.bError) << "row " << c.nLine;
        EXPECT_EQ(st.clResult.sText, c.pszAttendu) << "row " << c.nLine;
    }
}

TEST_F(NumbersEndToEnd, PrintfFormatsTakeTheProcessLocaleInEveryLanguage) {
    CMachineServices::s_Instance().clInfoLangue().SetLangue(CInfoLangue::LANGUE_ANGLAIS);
    EXPECT_EQ(stCall("NumeriqueVersChaine", {CValue::Real(1234567.891), CValue::Text(L"12.2fs")}).clResult.sText,
              L"1 234 567.89");
    // Text with accents and a character past the basic plane reads as no number under a mask.
    EXPECT_EQ(stCall("NumeriqueVersChaine", {CValue::Text(L"d\u00e9j\u00e0 \U0001F600"), CValue::Text(L"NumSystemMask")})
                  .clResult.sText,
              L"0.00");
}

#ifdef OVRUN_PATH
// The whole road from the command line: the language chosen there reaches the masks.
TEST(NumbersOvrun, SystemMasksAndSizesInFrenchAndEnglish) {
    auto sOvrun = [](const char* pszLangue) {
        std::vector<std::string> tab = {"--langue", pszLangue};
        for (const char* psz : {"NumeriqueVersChaine(-1234.5, \"MoneySystemMask$\")",
                                "NumeriqueVersChaine(-1234567.891, \"NumSystemMask\")", "TailleVersChaine(1536)",
                                "TailleVersChaine(1, 1)"}) {
            tab.push_back("-e");
            tab.push_back(psz);
        }
        return ovtest::stLanceOvrun(OVRUN_PATH, tab).sTexte;
    };
    EXPECT_EQ(sOvrun("fr"), "-1 234,50 \u20ac\n-1 234 567,89\n1,50 Ko\n1 octet\n");
    EXPECT_EQ(sOvrun("en"), "-$1,234.50\n-1,234,567.89\n1.50 KB\n1 byte\n");
}
#endif

}  // namespace
}  // namespace ovhost
