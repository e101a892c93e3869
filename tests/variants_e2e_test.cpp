// Variadic calls through the stand-in machine: Max and Min read their extra arguments as variants
// that the machine fills, and cast them with the machine's own conversions.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/allocator.h"
#include "host/machine.h"
#include "tests/machine_fixture.h"
#include "host/vm.h"

namespace ovhost {
namespace {

CValue Money(const wchar_t* psz) {
    CValue v;
    v.eKind = EValueKind::Money;
    v.sText = psz;
    return v;
}

class VariantsEndToEnd : public MachineEndToEnd {};

TEST_F(VariantsEndToEnd, RealOverloadTakesIntegersRealsTextsAndMoney) {
    struct {
        int nLine;
        const char* pszFonction;
        std::vector<CValue> tabArguments;
        double dAttendu;
    } const tabCas[] = {
        {__LINE__, "Max", {CValue::Int(1), CValue::Real(2.5), CValue::Text(L"3")}, 3},
        {__LINE__, "Min", {CValue::Int(1), CValue::Real(2.5), CValue::Text(L"3")}, 1},
        {__LINE__, "Max", {CValue::Int(7)}, 7},
        {__LINE__, "Min", {CValue::Real(-2.5), CValue::Text(L" -1e1 "), CValue::Int64(4)}, -10},
        {__LINE__, "Max", {CValue::Int(1), Money(L"2.75"), CValue::Bool(true)}, 2.75},
        {__LINE__, "Max", {CValue::Int(1), CValue::Text(L"3,5")}, 3.5},
        {__LINE__, "Min", {CValue::Int(1), CValue::Null()}, 0},
    };
    for (const auto& st : tabCas) {
        const STCallOutcome stOut = stCall(st.pszFonction, st.tabArguments);
        EXPECT_FALSE(stOut.bError) << "line " << st.nLine;
        ASSERT_EQ(stOut.clResult.eKind, EValueKind::Real) << "line " << st.nLine;
        EXPECT_EQ(stOut.clResult.dReal, st.dAttendu) << "line " << st.nLine;
        EXPECT_TRUE(stOut.sNote.empty()) << "line " << st.nLine << ": " << stOut.sNote;
    }
    std::vector<CValue> tabNombreux;
    for (int i = 30; i >= -30; --i) tabNombreux.push_back(CValue::Int(i * 7 % 61));
    EXPECT_EQ(stCall("Max", tabNombreux).clResult.dReal, 60);
    EXPECT_EQ(stCall("Min", tabNombreux).clResult.dReal, -60);
}

TEST_F(VariantsEndToEnd, ATextThatIsNoNumberIsAnErrorNamingIt) {
    const STCallOutcome st = stCall("Max", {CValue::Int(1), CValue::Text(L"Noël \U0001F384"), CValue::Int(9)});
    ASSERT_TRUE(st.bError);
    EXPECT_EQ(st.stError.nCode, 81813);
    EXPECT_NE(st.stError.sMessage.find(L"Noël \U0001F384"), std::wstring::npos);
    EXPECT_EQ(st.clResult.dReal, 0);
}

TEST_F(VariantsEndToEnd, TextOverloadComparesTextsOrBinaryValues) {
    STCallOutcome st = stCall("Max", {CValue::Text(L"Noël"), CValue::Text(L"Zoé"), CValue::Text(L"\U0001F600")});
    ASSERT_EQ(st.clResult.eKind, EValueKind::Text);
    EXPECT_EQ(st.clResult.sText, L"\U0001F600");
    st = stCall("Min", {CValue::Text(L"Noël"), CValue::Text(L"Zoé"), CValue::Int(42)});
    EXPECT_EQ(st.clResult.sText, L"42");
    st = stCall("Max", {CValue::Text(L"b"), CValue::Ansi("\xc3\xa9t\xc3\xa9")});
    ASSERT_EQ(st.clResult.eKind, EValueKind::Ansi) << "an 8-bit winner comes back as 8-bit text";
    EXPECT_EQ(st.clResult.sBytes, "\xc3\xa9t\xc3\xa9");
    st = stCall("Max", {CValue::Buffer("\x0a\x0b"), CValue::Buffer("\x0a\x0c"), CValue::Buffer("\x0a")});
    ASSERT_EQ(st.clResult.eKind, EValueKind::Buffer);
    EXPECT_EQ(st.clResult.sBytes, "\x0a\x0c");
    st = stCall("Max", {CValue::Buffer("\x01"), CValue::Text(L"a")});
    EXPECT_TRUE(st.bError);
    EXPECT_EQ(st.stError.nCode, 81814);
    EXPECT_EQ(st.clResult.eKind, EValueKind::Null);
}

TEST_F(VariantsEndToEnd, VariadicTextsLeaveNoBlockBehind) {
    CStrMemAllocator& cl = CMachineServices::s_Instance().clAllocator();
    const int64_t nAvant = cl.nLiveBlocks();
    for (int i = 0; i < 50; ++i) {
        stCall("Max", {CValue::Int(1), CValue::Text(L"2"), CValue::Text(L"3.5")});
        stCall("Min", {CValue::Text(L"été"), CValue::Text(L"\U0001F600"), CValue::Ansi("x"), CValue::Int(3)});
        stCall("Max", {CValue::Buffer("\x01"), CValue::Buffer("\x02")});
    }
    EXPECT_EQ(cl.nLiveBlocks(), nAvant);
    EXPECT_EQ(cl.nRejectedFrees(), 0);
}

}  // namespace
}  // namespace ovhost
