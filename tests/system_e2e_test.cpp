// The system information functions through the stand-in machine: the built library loaded as the
// machine loads it, each function called by name with the machine's argument vectors and results.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/machine.h"
#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"
#include "host/vm.h"

namespace ovhost {
namespace {

const std::wstring kFrancais = L"Déjà été, où ça ? \U0001F600";

class SystemEndToEnd : public MachineEndToEnd {
protected:
    void TearDown() override {
        unsetenv("OV_E2E_\xC3\x89T\xC3\x89");
        unsetenv("OV_E2E_NO\xC3\x8BL");
    }
    std::wstring sText(const char* pszName, std::vector<CValue> tab) {
        const STCallOutcome st = stCall(pszName, std::move(tab));
        EXPECT_FALSE(st.bError) << pszName;
        return st.clResult.sText;
    }

};

TEST_F(SystemEndToEnd, TheEnvironmentCrossesInUtf8BothWays) {
    setenv("OV_E2E_\xC3\x89T\xC3\x89", "D\xC3\xA9j\xC3\xA0 \xC3\xA9t\xC3\xA9, o\xC3\xB9 \xC3\xA7" "a ? \xF0\x9F\x98\x80", 1);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"OV_E2E_ÉTÉ")}), kFrancais);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"OV_E2E_ABSENTE")}), L"");
    const std::wstring sTout = sText("SysEnvironnement", {});
    EXPECT_NE(sTout.find(L"\r\nOV_E2E_ÉTÉ=" + kFrancais + L"\r\n"), std::wstring::npos);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"")}), sTout) << "the empty name lists it all";
}

TEST_F(SystemEndToEnd, AnyValueTheVariantTakesSetsTheEnvironmentAndNoBlockStays) {
    CStrMemAllocator& clAlloc = CMachineServices::s_Instance().clAllocator();
    CValue clMonnaie;
    clMonnaie.eKind = EValueKind::Money;
    clMonnaie.sText = L"-12.5";
    struct {
        int nLine;
        CValue clValeur;
        std::wstring sAttendu;
    } const tabCases[] = {
        {__LINE__, CValue::Text(L"Noël \U0001F600"), L"Noël \U0001F600"},
        {__LINE__, CValue::Ansi("No\xC3\xABl"), L"Noël"},
        {__LINE__, CValue::Int(42), L"42"},
        {__LINE__, CValue::Real(2.5), L"2.5"},
        {__LINE__, clMonnaie, L"-12.5"},
    };
    const int64_t nAvant = clAlloc.nLiveBlocks();
    for (const auto& stCase : tabCases) {
        const STCallOutcome st = stCall("SysChangeEnvironnement", {CValue::Text(L"OV_E2E_NOËL"), stCase.clValeur});
        EXPECT_FALSE(st.bError) << "line " << stCase.nLine;
        EXPECT_EQ(st.clResult.nInteger, 1) << "line " << stCase.nLine;
        EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"OV_E2E_NOËL")}), stCase.sAttendu) << "line " << stCase.nLine;
    }
    // A value with no text form: refused, the variable left as it was, the variant still released.
    const STCallOutcome st = stCall("SysChangeEnvironnement", {CValue::Text(L"OV_E2E_NOËL"), CValue::Buffer("\x01")});
    EXPECT_EQ(st.clResult.nInteger, 0);
    EXPECT_EQ(st.stError.nCode, 80151);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"OV_E2E_NOËL")}), L"-12.5");
    EXPECT_EQ(clAlloc.nLiveBlocks(), nAvant);
    EXPECT_EQ(clAlloc.nRejectedFrees(), 0);
}

// ovrun stands beside the library it loads by default.
std::string sOvrunPath() {
    const std::string sLibrary = CStandInMachine::s_sDefaultLibraryPath();
    const size_t nSlash = sLibrary.rfind('/');
    return (nSlash == std::string::npos ? std::string(".") : sLibrary.substr(0, nSlash)) + "/ovrun";
}

std::string sRun(const std::vector<std::string>& tabArguments, int* pnStatus) {
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(sOvrunPath(), tabArguments);
    *pnStatus = st.nStatus;
    return st.sTexte;
}

TEST(SystemCommandLine, StringModeIsAWholeNumber) {
    int nStatus = -1;
    for (const char* pszMode : {"1", "-7"}) {
        const std::string sOut = sRun({"--mode-chaine", pszMode, "-e", "EstPair(4)"}, &nStatus);
        EXPECT_EQ(nStatus, 0) << pszMode << ": " << sOut;
        EXPECT_EQ(sOut, "Vrai\n") << pszMode;
    }
    for (const char* pszMode : {"un", "1.5", "99999999999"}) {
        const std::string sOut = sRun({"--mode-chaine", pszMode, "-e", "EstPair(4)"}, &nStatus);
        EXPECT_EQ(nStatus, 2) << pszMode;
        EXPECT_NE(sOut.find("--mode-chaine needs an integer"), std::string::npos) << sOut;
    }
}

TEST_F(SystemEndToEnd, MemorySizesAndTheErrorOfAnUnknownKind) {
    const STCallOutcome stTotal = stCall("SysEspace", {});
    ASSERT_EQ(stTotal.clResult.eKind, EValueKind::Int);
    const STCallOutcome stVirtuelle = stCall("SysEspace", {CValue::Int(2)});
    ASSERT_EQ(stVirtuelle.clResult.eKind, EValueKind::Int64);
    EXPECT_GE(stVirtuelle.clResult.nInteger, stTotal.clResult.nInteger) << "never a wrapped 4-byte size";
    EXPECT_GT(stCall("SysEspace", {CValue::Int(1)}).clResult.nInteger, 0);

    const STCallOutcome st = stCall("SysEspace", {CValue::Int(5)});
    EXPECT_EQ(st.clResult.nInteger, 0);
    EXPECT_EQ(st.stError.nCode, 80145);
    EXPECT_NE(st.stError.sMessage.find(L": 5."), std::wstring::npos);
    EXPECT_FALSE(stCall("SysEspace", {CValue::Int(1)}).bError) << "the next call starts clean";
}

TEST_F(SystemEndToEnd, VersionKindsAndTheSeparator) {
    const std::wstring sComplet = sText("SysVersionWindows", {});
    EXPECT_EQ(sComplet.rfind(L"Linux ", 0), 0u);
    EXPECT_EQ(sText("VersionWindows", {}), sComplet);
    EXPECT_NE(sText("SysVersionWindows", {CValue::Int(3)}).find(L'.'), std::wstring::npos);
    const STCallOutcome st = stCall("SysVersionWindows", {CValue::Int(4)});
    EXPECT_EQ(st.stError.nCode, 80144);
    EXPECT_EQ(st.clResult.sText, L"");

    EXPECT_EQ(sText("fSep", {}), L"/");
    EXPECT_EQ(stCall("TexteLargeur", {CValue::Text(kFrancais)}).clResult.nInteger, 0);
}

}  // namespace
}  // namespace ovhost
