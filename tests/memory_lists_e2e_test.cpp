// Memory lists through the stand-in machine and ovrun: French and astral keys and values, sorted
// search, the walk, and the numbered errors of unknown lists, missing keys and oversized values.
#include <gtest/gtest.h>

#include <string>

#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

class MemoryListsEndToEnd : public MachineEndToEnd {
protected:
    void TearDown() override { stCall("MemSupprimeTout", {CValue::Text(L"*")}); }
};

TEST_F(MemoryListsEndToEnd, FrenchAndAstralKeysSortAndFindTheirValues) {
    ASSERT_TRUE(stCall("MemCree", {CValue::Text(L"Fete")}).clResult.nInteger);
    const struct {
        const wchar_t* pszCle;
        CValue clValeur;
    } tabEnreg[] = {
        {L"été", CValue::Text(L"chaud \U0001F31E")},
        {L"\U0001F600", CValue::Int(42)},
        {L"Noël", CValue::Real(24.5)},
        {L"abeille", CValue::Text(L"à l’école")},
    };
    for (const auto& e : tabEnreg)
        ASSERT_TRUE(stCall("MemAjoute", {CValue::Text(L"FETE"), CValue::Text(e.pszCle), e.clValeur}).clResult.nInteger);
    EXPECT_EQ(stCall("MemOccurrence", {CValue::Text(L"fete")}).clResult.nInteger, 4);
    ASSERT_TRUE(stCall("MemTri", {CValue::Text(L"fete"), CValue::Int(1)}).clResult.nInteger);
    // Wide keys order by the bytes of their little-endian characters: the astral one first.
    const wchar_t* apszOrdre[] = {L"\U0001F600", L"Noël", L"abeille", L"été"};
    EXPECT_EQ(stCall("MemPremier", {CValue::Text(L"fete")}).clResult.nInteger, 42);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(stCall("MemValCle", {CValue::Text(L"fete")}).clResult.sText, apszOrdre[i]) << i;
        stCall("MemSuivant", {CValue::Text(L"fete")});
    }
    EXPECT_TRUE(stCall("MemEnDehors", {CValue::Text(L"fete")}).clResult.nInteger);
    const STCallOutcome st = stCall("MemRecherche", {CValue::Text(L"fete"), CValue::Text(L"été")});
    EXPECT_EQ(st.clResult.sText, L"chaud \U0001F31E");
    EXPECT_EQ(stCall("MemEnCours", {CValue::Text(L"fete")}).clResult.nInteger, 4);
    EXPECT_EQ(stCall("MemRecherche", {CValue::Text(L"fete"), CValue::Text(L"à l’école"), CValue::Int(0)}).clResult.nInteger, 3);
}

TEST_F(MemoryListsEndToEnd, BadInputGetsTheNumberedErrors) {
    const struct {
        int nLigne;
        const char* pszFonction;
        std::vector<CValue> tabArguments;
        int nErreur;
    } tabCas[] = {
        {__LINE__, "MemPremier", {CValue::Text(L"inconnue")}, 80261},
        {__LINE__, "MemAjoute", {CValue::Text(L"inconnue"), CValue::Int(1), CValue::Int(2)}, 80261},
        {__LINE__, "MemValCle", {CValue::Text(L"")}, 80262},
        {__LINE__, "MemAjoute", {CValue::Text(L"clé"), CValue::Buffer(std::string(70000, 'x'))}, 80263},
        {__LINE__, "MemAjoute", {CValue::Text(std::wstring(20000, L'é')), CValue::Int(1)}, 80263},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszFonction, c.tabArguments);
        EXPECT_TRUE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLigne;
    }
    EXPECT_EQ(stCall("MemOccurrence", {}).clResult.nInteger, -1) << "nothing was added";
}

TEST(MemoryListsOvrun, AddFindAndWalkFromTheCommandLine) {
    const ovtest::STSortieOvrun st2 = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "MemAjoute(\"clé\", \"Noël \\u{1F600}\")", "-e", "MemAjoute(\"abc\", 7)", "-e",
                     "MemRecherche(\"clé\")", "-e", "MemTri(1)", "-e", "MemPremier()", "-e", "MemSuivant()", "-e",
                     "MemTri(1)"});
    EXPECT_EQ(st2.nStatus, 0);
    EXPECT_EQ(st2.sTexte, "Vrai\nVrai\nNoël 😀\nVrai\n7\nNoël 😀\nFaux\n");
}

}  // namespace
}  // namespace ovhost
