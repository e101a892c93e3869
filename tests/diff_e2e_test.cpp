// diffCree and diffApplique through the stand-in machine and ovrun: a difference made and applied
// gives the target back, options and limit behave, and every refusal comes back as its numbered
// error with the empty binary.
#include <gtest/gtest.h>

#include <string>

#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

class DiffEndToEnd : public MachineEndToEnd {};

std::string sTexte(int nGraine, size_t nTaille) {
    std::string s;
    for (int i = 0; s.size() < nTaille; ++i)
        s += "Ligne " + std::to_string(i * 3 + nGraine) + " : \u00e9t\u00e9 \u00e0 No\u00ebl, d\u00e9j\u00e0 \U0001F600\n";
    s.resize(nTaille);
    return s;
}

std::string sAleatoire(size_t nTaille) {
    std::string s(nTaille, '\0');
    uint32_t x = 99;
    for (char& c : s) {
        x = x * 1103515245u + 12345u;
        c = static_cast<char>(x >> 24);
    }
    return s;
}

TEST_F(DiffEndToEnd, ADifferenceGivesTheTargetBackWithEachForm) {
    const std::string sSource = sTexte(0, 20000);
    const std::string sCible = sSource.substr(0, 7000) + "ins\u00e9r\u00e9 \U0001F600" + sSource.substr(9000);
    const struct {
        int nLigne;
        std::vector<CValue> tabArguments;
    } tabCas[] = {
        {__LINE__, {CValue::Buffer(sSource), CValue::Buffer(sCible)}},
        {__LINE__, {CValue::Buffer(sSource), CValue::Buffer(sCible), CValue::Int(4)}},
        {__LINE__, {CValue::Buffer(sSource), CValue::Buffer(sCible), CValue::Int(2), CValue::Int(5)}},
        {__LINE__, {CValue::Buffer(sSource), CValue::Buffer(sCible), CValue::Int(6), CValue::Int(0)}},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome stDiff = stCall("diffCree", c.tabArguments);
        ASSERT_FALSE(stDiff.bError) << "row " << c.nLigne << ": error " << stDiff.stError.nCode;
        EXPECT_EQ(stDiff.clResult.eKind, EValueKind::Buffer);
        EXPECT_LT(stDiff.clResult.sBytes.size(), 1000u) << "row " << c.nLigne;
        const STCallOutcome stCible = stCall("diffApplique", {CValue::Buffer(sSource), stDiff.clResult});
        ASSERT_FALSE(stCible.bError) << "row " << c.nLigne << ": error " << stCible.stError.nCode;
        EXPECT_EQ(stCible.clResult.sBytes, sCible) << "row " << c.nLigne;
    }
}

TEST_F(DiffEndToEnd, RefusalsRaiseTheirNumbers) {
    const std::string sSource = sTexte(1, 3000);
    const std::string sAutre = sAleatoire(3000);
    const STCallOutcome stDiff = stCall("diffCree", {CValue::Buffer(sSource), CValue::Buffer(sSource + "!")});
    ASSERT_FALSE(stDiff.bError);
    std::string sAbime = stDiff.clResult.sBytes;
    sAbime.resize(sAbime.size() - 3);
    const struct {
        int nLigne;
        const char* pszFonction;
        std::vector<CValue> tabArguments;
        int nErreur;
    } tabCas[] = {
        {__LINE__, "diffCree", {CValue::Buffer(sSource), CValue::Buffer(sSource)}, 81656},
        {__LINE__, "diffCree", {CValue::Buffer(""), CValue::Buffer(sSource)}, 81655},
        {__LINE__, "diffCree", {CValue::Buffer(sSource), CValue::Buffer("")}, 81650},
        {__LINE__, "diffCree", {CValue::Buffer(sSource), CValue::Buffer(sAutre), CValue::Int(2), CValue::Int(50)}, 81654},
        {__LINE__, "diffApplique", {CValue::Buffer(sSource), CValue::Buffer(std::string("DIF\0\x1c\0\0", 7))}, 81651},
        {__LINE__, "diffApplique", {CValue::Buffer(sAutre), stDiff.clResult}, 81652},
        {__LINE__, "diffApplique", {CValue::Buffer(sSource), CValue::Buffer(sAbime)}, 81651},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszFonction, c.tabArguments);
        EXPECT_TRUE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLigne;
        EXPECT_EQ(st.clResult.sBytes, "") << "row " << c.nLigne;
    }
    // Without option 2 the limit is not enforced.
    EXPECT_FALSE(stCall("diffCree", {CValue::Buffer(sSource), CValue::Buffer(sAutre), CValue::Int(0), CValue::Int(50)}).bError);
}

TEST(DiffOvrun, MadeAndAppliedFromTheCommandLine) {
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "diffApplique(x\"00010203\", diffCree(x\"00010203\", x\"0001020304\"))", "-e",
                     "diffCree(x\"00\", x\"00\")"});
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte, "x\"0001020304\"\nx\"\"\nerror 81656 (level 3): The source and the target are identical.\n");
}

}  // namespace
}  // namespace ovhost
