// The system information functions through the stand-in machine: the built library loaded as the
// machine loads it, each function called by name with the machine's argument vectors and results.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/machine.h"

namespace ovhost {
namespace {

const std::wstring kFrancais = L"Déjà été, où ça ? \U0001F600";

class SystemEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        std::string sError;
        ASSERT_TRUE(m_cl.bLoad(CStandInMachine::s_sDefaultLibraryPath(), &sError)) << sError;
    }
    void TearDown() override { unsetenv("OV_E2E_\xC3\x89T\xC3\x89"); }

    STCallOutcome stCall(const char* pszName, std::vector<CValue> tab) {
        STCallOutcome st;
        std::string sError;
        EXPECT_TRUE(m_cl.bCall(pszName, tab, &st, &sError)) << pszName << ": " << sError;
        return st;
    }
    std::wstring sText(const char* pszName, std::vector<CValue> tab) {
        const STCallOutcome st = stCall(pszName, std::move(tab));
        EXPECT_FALSE(st.bError) << pszName;
        return st.clResult.sText;
    }

    CStandInMachine m_cl;
};

TEST_F(SystemEndToEnd, TheEnvironmentCrossesInUtf8BothWays) {
    setenv("OV_E2E_\xC3\x89T\xC3\x89", "D\xC3\xA9j\xC3\xA0 \xC3\xA9t\xC3\xA9, o\xC3\xB9 \xC3\xA7" "a ? \xF0\x9F\x98\x80", 1);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"OV_E2E_ÉTÉ")}), kFrancais);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"OV_E2E_ABSENTE")}), L"");
    const std::wstring sTout = sText("SysEnvironnement", {});
    EXPECT_NE(sTout.find(L"\r\nOV_E2E_ÉTÉ=" + kFrancais + L"\r\n"), std::wstring::npos);
    EXPECT_EQ(sText("SysEnvironnement", {CValue::Text(L"")}), sTout) << "the empty name lists it all";
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

TEST_F(SystemEndToEnd, VersionKindsAndFixedAnswers) {
    const std::wstring sComplet = sText("SysVersionWindows", {});
    EXPECT_EQ(sComplet.rfind(L"Linux ", 0), 0u);
    EXPECT_EQ(sText("VersionWindows", {}), sComplet);
    EXPECT_NE(sText("SysVersionWindows", {CValue::Int(3)}).find(L'.'), std::wstring::npos);
    const STCallOutcome st = stCall("SysVersionWindows", {CValue::Int(4)});
    EXPECT_EQ(st.stError.nCode, 80144);
    EXPECT_EQ(st.clResult.sText, L"");

    EXPECT_EQ(sText("fSep", {}), L"/");
    for (const char* pszNom : {"SysIMEI", "SysNumSerie", "SysRepCarteStockage", "SysVersionIOS"})
        EXPECT_EQ(sText(pszNom, {}), L"") << pszNom;
    EXPECT_EQ(stCall("TexteLargeur", {CValue::Text(kFrancais)}).clResult.nInteger, 0);
}

}  // namespace
}  // namespace ovhost
