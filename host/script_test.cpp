// Tests of ovrun's script language and printing, against a fake library.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>

#include "component/interfaces/type_codes.h"
#include "host/printer.h"
#include "host/script.h"

namespace ovhost {
namespace {

void ExpectSameValue(const CValue& clActual, const CValue& clExpected, int nLine) {
    SCOPED_TRACE("table row at line " + std::to_string(nLine));
    ASSERT_EQ(pszKindName(clActual.eKind), std::string(pszKindName(clExpected.eKind)));
    EXPECT_EQ(clActual.nInteger, clExpected.nInteger);
    EXPECT_EQ(clActual.dReal, clExpected.dReal);
    EXPECT_EQ(clActual.sText, clExpected.sText);
    EXPECT_EQ(clActual.sBytes, clExpected.sBytes);
}

STScriptError stParseFailure(std::string_view sSource) {
    std::vector<STStatement> tabStatements;
    STScriptError stError;
    EXPECT_FALSE(bParseScript(sSource, &tabStatements, &stError)) << sSource;
    return stError;
}

struct STLiteralCase {
    int nLine;
    const char* pszSource;
    CValue clExpected;
};

TEST(ScriptLiteral, DecodesEveryLiteralForm) {
    const STLiteralCase tabCases[] = {
        {__LINE__, "12", CValue::Int(12)},
        {__LINE__, "-12", CValue::Int(-12)},
        {__LINE__, "0x1F", CValue::Int(31)},
        {__LINE__, "-0x10", CValue::Int(-16)},
        {__LINE__, "2147483647", CValue::Int(2147483647)},
        {__LINE__, "2147483648", CValue::Int64(2147483648LL)},
        {__LINE__, "-2147483648", CValue::Int(std::numeric_limits<int32_t>::min())},
        {__LINE__, "-2147483649", CValue::Int64(-2147483649LL)},
        {__LINE__, "0xFFFFFFFF", CValue::Int64(0xFFFFFFFFLL)},
        {__LINE__, "9223372036854775807", CValue::Int64(std::numeric_limits<int64_t>::max())},
        {__LINE__, "-9223372036854775808", CValue::Int64(std::numeric_limits<int64_t>::min())},
        {__LINE__, "-0x8000000000000000", CValue::Int64(std::numeric_limits<int64_t>::min())},
        {__LINE__, "1.5", CValue::Real(1.5)},
        {__LINE__, "1e3", CValue::Real(1000.0)},
        {__LINE__, "-2.5e-3", CValue::Real(-2.5e-3)},
        {__LINE__, "0.1E+2", CValue::Real(10.0)},
        {__LINE__, "\"\"", CValue::Text(L"")},
        {__LINE__, "\"Élève à l'école, où ça?\"", CValue::Text(L"\u00c9l\u00e8ve \u00e0 l'\u00e9cole, o\u00f9 \u00e7a?")},
        {__LINE__, "\"😀\"", CValue::Text(L"\U0001F600")},
        {__LINE__, "\"\\u{1F600}\\u{e9}\\u{10FFFF}\"", CValue::Text(L"\U0001F600\u00e9\U0010FFFF")},
        {__LINE__, "\"a\\nb\\tc\\rd\\\\e\\\"f\"", CValue::Text(L"a\nb\tc\rd\\e\"f")},
        {__LINE__, "\"\\x41\\xe9\\x00z\"", CValue::Text(std::wstring(L"A\u00e9\0z", 4))},
        {__LINE__, "\"1\\02\"", CValue::Text(std::wstring(L"1\0" L"2", 3))},
        {__LINE__, "\"// not a comment\"", CValue::Text(L"// not a comment")},
        {__LINE__, "x\"0A0b\"", CValue::Buffer(std::string("\x0a\x0b", 2))},
        {__LINE__, "x\"\"", CValue::Buffer("")},
        {__LINE__, "x\"00ff\"", CValue::Buffer(std::string("\x00\xff", 2))},
        {__LINE__, "Vrai", CValue::Bool(true)},
        {__LINE__, "Faux", CValue::Bool(false)},
        {__LINE__, "Null", CValue::Null()},
    };
    for (const STLiteralCase& stCase : tabCases) {
        std::vector<STStatement> tabStatements;
        STScriptError stError;
        ASSERT_TRUE(bParseScript(stCase.pszSource, &tabStatements, &stError))
            << "line " << stCase.nLine << ": " << stError.sMessage;
        ASSERT_EQ(tabStatements.size(), 1u) << "line " << stCase.nLine;
        ASSERT_EQ(tabStatements[0].stExpression.eKind, EExpressionKind::Literal) << "line " << stCase.nLine;
        ExpectSameValue(tabStatements[0].stExpression.clValue, stCase.clExpected, stCase.nLine);
    }
}

struct STErrorCase {
    int nLine;
    std::string sSource;
    int nErrorLine;
    int nErrorColumn;
    const char* pszMessagePart;
};

TEST(ScriptSyntax, ReportsTheFirstMistakeWithItsPlace) {
    const STErrorCase tabCases[] = {
        {__LINE__, "\"abc", 1, 1, "unterminated text"},
        {__LINE__, "\"abc\ndef\"", 1, 1, "unterminated text"},
        {__LINE__, "x = \"a\\qb\"", 1, 7, "unknown escape \\'q'"},
        {__LINE__, "\"\\u{110000}\"", 1, 2, "beyond U+10FFFF"},
        {__LINE__, "\"\\u{D800}\"", 1, 2, "surrogate"},
        {__LINE__, "\"\\u{}\"", 1, 2, "\\u is written"},
        {__LINE__, "\"\\u{1234567}\"", 1, 2, "too many digits"},
        {__LINE__, "\"\\u1F600\"", 1, 2, "\\u is written"},
        {__LINE__, "\"\\x4\"", 1, 2, "two hexadecimal digits"},
        {__LINE__, "x\"ABC\"", 1, 1, "even number"},
        {__LINE__, "x\"AG\"", 1, 4, "'G' is not a hexadecimal digit"},
        {__LINE__, "9223372036854775808", 1, 1, "integer out of range"},
        {__LINE__, "-9223372036854775809", 1, 1, "integer out of range"},
        {__LINE__, "0x8000000000000000", 1, 1, "integer out of range"},
        {__LINE__, "1e999", 1, 1, "real number out of range"},
        {__LINE__, "12ab", 1, 3, "unexpected 'a' in a number"},
        {__LINE__, "1.2.3", 1, 4, "unexpected '.' in a number"},
        {__LINE__, "1.", 1, 3, "digits expected after the decimal point"},
        {__LINE__, "1e+", 1, 4, "digits expected in the exponent"},
        {__LINE__, "0x", 1, 1, "hexadecimal digits expected"},
        {__LINE__, "(1 + 2", 1, 7, "expected ')' to close the '(' at column 1"},
        {__LINE__, "1 + 2)", 1, 6, "unexpected ')' after the statement"},
        {__LINE__, "1 +", 1, 4, "expected a value"},
        {__LINE__, "1 * * 2", 1, 5, "expected a value, a name or a call, found '*'"},
        {__LINE__, "RVB(1, 2", 1, 9, "expected ',' or ')' in the call of RVB, found the end of the line"},
        {__LINE__, "RVB(1 2)", 1, 7, "expected ',' or ')'"},
        {__LINE__, "RVB(1,)", 1, 7, "expected a value, a name or a call, found ')'"},
        {__LINE__, "EstPair(4) 5", 1, 12, "unexpected a value after the statement"},
        {__LINE__, "a = = 1", 1, 5, "found '='"},
        {__LINE__, "Vrai = 1", 1, 1, "Vrai cannot be assigned"},
        {__LINE__, "a = 1\n\n  $", 3, 3, "unexpected character '$'"},
        // Columns count characters: the accented letter is two bytes but one column.
        {__LINE__, "\"é😀\" $", 1, 6, "unexpected character '$'"},
        {__LINE__, "a = 1\n\xff", 2, 1, "invalid UTF-8 byte 0xFF"},
        {__LINE__, "\"\xc3\"", 1, 2, "invalid UTF-8 byte 0xC3"},
        {__LINE__, "// fine\n\"\xed\xa0\x80\"", 2, 2, "invalid UTF-8 byte 0xED"},
        {__LINE__, "// \xc0\xaf overlong", 1, 4, "invalid UTF-8 byte 0xC0"},
        {__LINE__, std::string("a\0b", 3), 1, 2, "unexpected character U+0000"},
        {__LINE__, "\xc2\xa0", 1, 1, "unexpected character U+00A0"},
    };
    for (const STErrorCase& stCase : tabCases) {
        STScriptError stError = stParseFailure(stCase.sSource);
        EXPECT_EQ(stError.nLine, stCase.nErrorLine) << "line " << stCase.nLine << ": " << stError.sMessage;
        EXPECT_EQ(stError.nColumn, stCase.nErrorColumn) << "line " << stCase.nLine << ": " << stError.sMessage;
        EXPECT_NE(stError.sMessage.find(stCase.pszMessagePart), std::string::npos)
            << "line " << stCase.nLine << ": " << stError.sMessage;
    }
}

TEST(ScriptSyntax, SurvivesHostileNesting) {
    std::string sDeep;
    for (int n = 0; n < 100000; ++n) sDeep += "f(";
    EXPECT_NE(stParseFailure(sDeep).sMessage.find("nested too deeply"), std::string::npos);
}

TEST(ScriptSyntax, KeepsStatementTextPlacesAndRemarks) {
    std::vector<STStatement> tabStatements;
    STScriptError stError;
    ASSERT_TRUE(bParseScript("// Première ligne\r\n  x = RVB(1, 2, 3)  // note\r\n\r\nRVBRouge( x )\n", &tabStatements,
                             &stError))
        << stError.sMessage;
    ASSERT_EQ(tabStatements.size(), 3u);
    EXPECT_EQ(tabStatements[0].eKind, EStatementKind::Remark);
    EXPECT_EQ(tabStatements[0].sSource, "// Première ligne");
    EXPECT_EQ(tabStatements[1].eKind, EStatementKind::Assignment);
    EXPECT_EQ(tabStatements[1].sTarget, "x");
    EXPECT_EQ(tabStatements[1].sSource, "x = RVB(1, 2, 3)");
    EXPECT_EQ(tabStatements[1].nLine, 2);
    EXPECT_EQ(tabStatements[1].nColumn, 3);
    EXPECT_EQ(tabStatements[1].stExpression.tabArguments.size(), 3u);
    EXPECT_EQ(tabStatements[2].eKind, EStatementKind::Expression);
    EXPECT_EQ(tabStatements[2].sSource, "RVBRouge( x )");
    EXPECT_EQ(tabStatements[2].nLine, 4);
}

// A library of a few functions whose answers the tests can predict.
class CFakeHost final : public IScriptHost {
public:
    CFakeHost() {
        Add("EstPair", {ovtype::BOOL, {ovtype::INT}});
        Add("RVB", {ovtype::INT, {ovtype::INT, ovtype::INT, ovtype::INT}});
        Add("RVBRouge", {ovtype::INT, {ovtype::INT}});
        Add("Max", {ovtype::REAL, {ovtype::REAL}, 0, 0, true});
        Add("fOuvre", {ovtype::INT, {0x8050, ovtype::INT}}, {ovtype::INT, {0x8050}});
        Add("fFerme", {ovtype::INT, {ovtype::INT}});
        Add("Lit", {ovtype::BOOL, {uint32_t{ovtype::STRING} | ovtype::FLAG_BY_REFERENCE, ovtype::INT}});
        Add("SansCorps", {ovtype::VOID, {}});
        // A walk with a callback: calls the procedure with ("rep/", "f<i>", i) for i = 1..n, until
        // it answers Faux or fails; answers how many calls were made, -1 when one failed.
        Add("Parcours", {ovtype::INT, {ovtype::PROCEDURE, ovtype::INT}});
        STConstantInfo stConstant;
        stConstant.sName = "foLecture";
        stConstant.clValue = CValue::Int(1);
        m_mapConstants["foLecture"] = stConstant;
    }

    const STFunctionInfo* pstFindFunction(std::string_view sName) const override {
        auto it = m_mapFunctions.find(std::string(sName));
        return it == m_mapFunctions.end() ? nullptr : &it->second;
    }
    const STConstantInfo* pstFindConstant(std::string_view sName) const override {
        auto it = m_mapConstants.find(std::string(sName));
        return it == m_mapConstants.end() ? nullptr : &it->second;
    }

    bool bCall(std::string_view sName, std::vector<CValue>& tabArguments, STCallOutcome* pstOutcome,
               std::string* psError) override {
        tabCalls.push_back(std::string(sName));
        const int64_t nFirst = tabArguments.empty() ? 0 : tabArguments[0].nInteger;
        if (sName == "EstPair") {
            pstOutcome->clResult = CValue::Bool(nFirst % 2 == 0);
        } else if (sName == "RVB") {
            pstOutcome->clResult = CValue::Int(static_cast<int32_t>(
                nFirst + tabArguments[1].nInteger * 256 + tabArguments[2].nInteger * 65536));
        } else if (sName == "RVBRouge") {
            pstOutcome->clResult = CValue::Int(static_cast<int32_t>(nFirst & 0xff));
        } else if (sName == "Lit") {
            tabArguments[0] = CValue::Text(L"écrit 😀");
            pstOutcome->clResult = CValue::Bool(true);
        } else if (sName == "Parcours") {
            int32_t nAppels = 0;
            for (int32_t n = 1; n <= tabArguments[1].nInteger; ++n) {
                if (piProcedures == nullptr || piProcedures->nTrouveProcedure(tabArguments[0].sText) < 0) break;
                ++nAppels;
                CValue clRetour;
                std::string sErreur;
                if (!piProcedures->bExecuteProcedure(
                        tabArguments[0].sText, {CValue::Text(L"rep/"), CValue::Text(L"f" + std::to_wstring(n)), CValue::Int(n)},
                        &clRetour, &sErreur)) {
                    nAppels = -1;
                    break;
                }
                if (clRetour.eKind == EValueKind::Bool && clRetour.nInteger == 0) break;
            }
            pstOutcome->clResult = CValue::Int(nAppels);
        } else if (sName == "fFerme") {
            pstOutcome->clResult = CValue::Int(-1);
            pstOutcome->bError = true;
            pstOutcome->stError.nLevel = 2;
            pstOutcome->stError.nCode = 80022;
            pstOutcome->stError.sMessage = L"Invalid file number: " + std::to_wstring(nFirst) + L".";
        } else {
            *psError = std::string(sName) + " has no body on this platform";
            return false;
        }
        return true;
    }

    void SetProcedures(IProcedureHost* pi) override { piProcedures = pi; }

    std::vector<std::string> tabCalls;
    IProcedureHost* piProcedures = nullptr;

private:
    void Add(const std::string& sName, STOverloadInfo stFirst, STOverloadInfo stSecond = {}) {
        STFunctionInfo stFunction;
        stFunction.sName = sName;
        stFirst.bHasBody = true;
        stFunction.tabOverloads.push_back(stFirst);
        if (stSecond.dwResult != 0) stFunction.tabOverloads.push_back(stSecond);
        m_mapFunctions[sName] = stFunction;
    }

    std::map<std::string, STFunctionInfo> m_mapFunctions;
    std::map<std::string, STConstantInfo> m_mapConstants;
};

std::vector<STStatement> tabResolved(std::string_view sSource, CFakeHost* pclHost) {
    std::vector<STStatement> tabStatements;
    STScriptError stError;
    EXPECT_TRUE(bParseScript(sSource, &tabStatements, &stError)) << stError.sMessage;
    EXPECT_TRUE(bResolveScript(&tabStatements, *pclHost, &stError)) << stError.sMessage;
    return tabStatements;
}

// A script that parses but that resolution refuses, at the case's place and with its message.
void ExpectResolutionRefused(const STErrorCase& stCase, const CFakeHost& clHost) {
    std::vector<STStatement> tabStatements;
    STScriptError stError;
    ASSERT_TRUE(bParseScript(stCase.sSource, &tabStatements, &stError)) << "line " << stCase.nLine;
    EXPECT_FALSE(bResolveScript(&tabStatements, clHost, &stError)) << "line " << stCase.nLine;
    EXPECT_EQ(stError.nLine, stCase.nErrorLine) << "line " << stCase.nLine;
    EXPECT_EQ(stError.nColumn, stCase.nErrorColumn) << "line " << stCase.nLine;
    EXPECT_NE(stError.sMessage.find(stCase.pszMessagePart), std::string::npos)
        << "line " << stCase.nLine << ": " << stError.sMessage;
}

TEST(ScriptResolution, RefusesUnknownNamesAndWrongCountsWithTheirPlace) {
    const STErrorCase tabCases[] = {
        {__LINE__, "x = 1\nEstPair(Inconnu(x))", 2, 9, "unknown function 'Inconnu'"},
        {__LINE__, "RVB(1, 2)", 1, 1, "RVB takes 3 arguments, 2 given"},
        {__LINE__, "EstPair()", 1, 1, "EstPair takes 1 argument, 0 given"},
        {__LINE__, "fOuvre(\"a\", 1, 2)", 1, 1, "fOuvre takes 1 or 2 arguments, 3 given"},
        {__LINE__, "Max()", 1, 1, "Max takes 1 or more arguments, 0 given"},
        {__LINE__, "EstPair(y)", 1, 9, "unknown name 'y'"},
        // A variable exists from the line that assigns it on, not before.
        {__LINE__, "EstPair(n)\nn = 4", 1, 9, "unknown name 'n'"},
        {__LINE__, "n = n", 1, 5, "unknown name 'n'"},
        {__LINE__, "foLecture = 2", 1, 1, "foLecture is a constant"},
        {__LINE__, "x = EstPair", 1, 5, "EstPair is a function"},
    };
    CFakeHost clHost;
    for (const STErrorCase& stCase : tabCases) ExpectResolutionRefused(stCase, clHost);
    EXPECT_EQ(sFormatScriptError("s.ovs", {2, 9, "unknown name 'y'"}), "s.ovs:2:9: unknown name 'y'");
}

std::vector<STStatementResult> tabRun(std::string_view sSource, CFakeHost* pclHost) {
    std::vector<STStatementResult> tabResults;
    CScriptRunner clRunner(pclHost);
    for (const STStatement& stStatement : tabResolved(sSource, pclHost)) {
        STStatementResult stResult;
        STScriptError stError;
        EXPECT_TRUE(clRunner.bRun(stStatement, &stResult, &stError)) << stError.sMessage;
        tabResults.push_back(stResult);
    }
    return tabResults;
}

TEST(ScriptRun, EvaluatesNestedCallsVariablesAndConstants) {
    CFakeHost clHost;
    auto tabResults = tabRun("n = RVB(1, 2, 3)\nRVBRouge(n)\nEstPair(foLecture)\nn\nRVBRouge(RVB(7, 0, 0))", &clHost);
    ASSERT_EQ(tabResults.size(), 5u);
    ExpectSameValue(tabResults[0].clValue, CValue::Int(1 + 2 * 256 + 3 * 65536), __LINE__);
    ExpectSameValue(tabResults[1].clValue, CValue::Int(1), __LINE__);
    ExpectSameValue(tabResults[2].clValue, CValue::Bool(false), __LINE__);
    ExpectSameValue(tabResults[3].clValue, CValue::Int(197121), __LINE__);
    ExpectSameValue(tabResults[4].clValue, CValue::Int(7), __LINE__);
    // Arguments run before the call that receives them.
    EXPECT_EQ(clHost.tabCalls, (std::vector<std::string>{"RVB", "RVBRouge", "EstPair", "RVB", "RVBRouge"}));
}

TEST(ScriptOperators, CombineWithTheUsualPrecedence) {
    struct STCase {
        int nLine;
        const char* pszSource;
        CValue clExpected;
    };
    const STCase tabCases[] = {
        {__LINE__, "foLecture + 2 * 3", CValue::Int(7)},
        {__LINE__, "(foLecture + 2) * 3", CValue::Int(9)},
        {__LINE__, "8 | foLecture", CValue::Int(9)},
        {__LINE__, "1 | 12 & 4", CValue::Int(5)},
        {__LINE__, "foLecture | 2 = 3", CValue::Bool(true)},
        {__LINE__, "1 + 2 = 3", CValue::Bool(true)},
        {__LINE__, "7-2-1", CValue::Int(4)},
        {__LINE__, "-(2 + 3)", CValue::Int(-5)},
        {__LINE__, "7 / 2", CValue::Real(3.5)},
        {__LINE__, "6 / -3", CValue::Int(-2)},
        {__LINE__, "2147483647 + 1", CValue::Int64(2147483648)},
        {__LINE__, "\"Élan \" + \"😀\"", CValue::Text(L"Élan 😀")},
        {__LINE__, "\"é\" < \"f\"", CValue::Bool(false)},  // by character: é comes after f
        {__LINE__, "x\"01\" + x\"ff\" <> x\"01ff\"", CValue::Bool(false)},
        {__LINE__, "Vrai | Faux", CValue::Bool(true)},
    };
    CFakeHost clHost;
    for (const STCase& stCase : tabCases) {
        auto tabResults = tabRun(stCase.pszSource, &clHost);
        ASSERT_EQ(tabResults.size(), 1u) << "line " << stCase.nLine;
        ExpectSameValue(tabResults[0].clValue, stCase.clExpected, stCase.nLine);
    }
    // Written values fold before anything runs; a call's result is combined when it comes.
    auto tabResults = tabRun("EstPair(RVBRouge(RVB(3, 0, 0)) * 2 + 1) = Faux", &clHost);
    ExpectSameValue(tabResults[0].clValue, CValue::Bool(true), __LINE__);
}

TEST(ScriptOperators, RefuseWhatTheyDoNotTakeBeforeAnythingRuns) {
    const STErrorCase tabCases[] = {
        {__LINE__, "EstPair(1)\nx = 4 / (2 - 2)", 2, 7, "division by zero"},
        {__LINE__, "\"a\" * 2", 1, 5, "'*' does not apply to text and int"},
        {__LINE__, "\"a\" | 1", 1, 5, "'|' does not apply"},
        {__LINE__, "9223372036854775807 + 1", 1, 21, "does not fit in 64 bits"},
        {__LINE__, "-\"a\"", 1, 1, "'-' does not apply to text"},
        {__LINE__, "\"a\" < 1", 1, 5, "'<' does not apply to text and int"},
    };
    CFakeHost clHost;
    for (const STErrorCase& stCase : tabCases) ExpectResolutionRefused(stCase, clHost);
    EXPECT_TRUE(clHost.tabCalls.empty());
    // A long chain is bounded, not a deep recursion.
    std::string sChain = "1";
    for (int n = 0; n < 100000; ++n) sChain += "+1";
    EXPECT_NE(stParseFailure(sChain).sMessage.find("too many operators"), std::string::npos);
}

TEST(ScriptRun, ByReferenceArgumentFillsTheVariable) {
    CFakeHost clHost;
    auto tabResults = tabRun("Lit(sLu, 1)\nsLu\nn = 5\nLit(n, n)\nn", &clHost);
    ASSERT_EQ(tabResults.size(), 5u);
    ExpectSameValue(tabResults[1].clValue, CValue::Text(L"écrit 😀"), __LINE__);
    // Only the by-reference position is written back, even when the same variable is in both:
    // writing back the later, by-value, position would leave 5 there.
    ExpectSameValue(tabResults[4].clValue, CValue::Text(L"écrit 😀"), __LINE__);
}

TEST(ScriptRun, KeepsTheFirstLanguageErrorBesideTheValue) {
    CFakeHost clHost;
    auto tabResults = tabRun("RVB(fFerme(99), fFerme(98), 0)\nEstPair(2)", &clHost);
    ASSERT_EQ(tabResults.size(), 2u);
    EXPECT_TRUE(tabResults[0].bError);
    EXPECT_EQ(tabResults[0].stError.nCode, 80022);
    EXPECT_EQ(tabResults[0].stError.sMessage, L"Invalid file number: 99.");
    ExpectSameValue(tabResults[0].clValue, CValue::Int(-1 - 256), __LINE__);
    EXPECT_FALSE(tabResults[1].bError);
}

TEST(ScriptRun, CallThatCannotBeMadeStopsWithItsPlace) {
    CFakeHost clHost;
    auto tabStatements = tabResolved("x = 1\n  RVBRouge(SansCorps())", &clHost);
    CScriptRunner clRunner(&clHost);
    STStatementResult stResult;
    STScriptError stError;
    ASSERT_TRUE(clRunner.bRun(tabStatements[0], &stResult, &stError));
    ASSERT_FALSE(clRunner.bRun(tabStatements[1], &stResult, &stError));
    EXPECT_EQ(sFormatScriptError("<command line>", stError),
              "<command line>:2:12: SansCorps has no body on this platform");
    EXPECT_EQ(clHost.tabCalls, std::vector<std::string>{"SansCorps"});
}

TEST(ScriptProcedure, RefusesMalformedOrClashingDefinitionsBeforeRunning) {
    const STErrorCase tabSyntax[] = {
        {__LINE__, "procedure P(a, a) = 1", 1, 16, "parameter a is given twice"},
        {__LINE__, "procedure P(a b) = 1", 1, 15, "expected ',' or ')'"},
        {__LINE__, "procedure P(1) = 1", 1, 13, "expected a parameter name"},
        {__LINE__, "procedure P(a)", 1, 15, "expected '='"},
        {__LINE__, "procedure P a = 1", 1, 13, "expected '('"},
        {__LINE__, "procedure Vrai() = 1", 1, 11, "cannot name a procedure"},
    };
    for (const STErrorCase& stCase : tabSyntax) {
        const STScriptError stError = stParseFailure(stCase.sSource);
        EXPECT_EQ(stError.nLine, stCase.nErrorLine) << "line " << stCase.nLine;
        EXPECT_EQ(stError.nColumn, stCase.nErrorColumn) << "line " << stCase.nLine;
        EXPECT_NE(stError.sMessage.find(stCase.pszMessagePart), std::string::npos)
            << "line " << stCase.nLine << ": " << stError.sMessage;
    }
    const STErrorCase tabResolution[] = {
        // The body sees its parameters only, not the script's variables.
        {__LINE__, "x = 1\nprocedure P(a) = EstPair(x)", 2, 26, "unknown name 'x'"},
        {__LINE__, "Parcours(P, 1)\nprocedure P(a) = Vrai", 1, 10, "unknown name 'P'"},
        {__LINE__, "procedure P() = 1\nprocedure P() = 2", 2, 1, "already defined"},
        {__LINE__, "procedure Trace() = 1", 1, 1, "already defined"},
        {__LINE__, "procedure Jauge(n) = 1", 1, 1, "machine's gauge"},
        {__LINE__, "procedure RVB(a) = a", 1, 1, "name of the library"},
        {__LINE__, "procedure P(a) = RVB(a)", 1, 18, "RVB takes 3 arguments"},
    };
    CFakeHost clHost;
    for (const STErrorCase& stCase : tabResolution) {
        std::vector<STStatement> tabStatements;
        STScriptError stError;
        ASSERT_TRUE(bParseScript(stCase.sSource, &tabStatements, &stError)) << "line " << stCase.nLine;
        EXPECT_FALSE(bResolveScript(&tabStatements, clHost, &stError)) << "line " << stCase.nLine;
        EXPECT_EQ(stError.nLine, stCase.nErrorLine) << "line " << stCase.nLine;
        EXPECT_EQ(stError.nColumn, stCase.nErrorColumn) << "line " << stCase.nLine;
        EXPECT_NE(stError.sMessage.find(stCase.pszMessagePart), std::string::npos)
            << "line " << stCase.nLine << ": " << stError.sMessage;
    }
}

TEST(ScriptProcedure, CallbackRunsTheBodyWithThePushedArgumentsAndItsAnswerStopsTheWalk) {
    CFakeHost clHost;
    // Garde answers Faux at once (1 is odd), which ends the walk after one call; Tous goes on.
    auto tabResults = tabRun("x = 7\nprocedure Garde(rep, nom, n) = EstPair(n)\nParcours(Garde, 5)\n"
                             "procedure Tous(rep, nom, n) = Vrai\nParcours(\"Tous\", 4)\nx",
                             &clHost);
    ASSERT_EQ(tabResults.size(), 6u);
    ExpectSameValue(tabResults[2].clValue, CValue::Int(1), __LINE__);
    ExpectSameValue(tabResults[4].clValue, CValue::Int(4), __LINE__);
    // The body's parameters do not leak into the script's variables, nor replace them.
    ExpectSameValue(tabResults[5].clValue, CValue::Int(7), __LINE__);
    // Missing arguments are Null, extra ones dropped: Quatre's d is Null (even for the fake), and
    // Un answers a text, which is no Faux.
    auto tabMore = tabRun("procedure Un(rep) = rep\nprocedure Quatre(a, b, c, d) = EstPair(d)\n"
                          "Parcours(Un, 3)\nParcours(Quatre, 3)",
                          &clHost);
    ExpectSameValue(tabMore[2].clValue, CValue::Int(3), __LINE__);
    ExpectSameValue(tabMore[3].clValue, CValue::Int(3), __LINE__);
}

TEST(ScriptProcedure, RecorderKeepsEachCallAndLetsTheWalkGoOn) {
    CFakeHost clHost;
    auto tabStatements = tabResolved("Parcours(Trace, 3)", &clHost);
    CScriptRunner clRunner(&clHost);
    static std::vector<std::vector<CValue>> s_tabVus;
    s_tabVus.clear();
    clRunner.SetTraceOutput([](const std::vector<CValue>& tab) { s_tabVus.push_back(tab); });
    STStatementResult stResult;
    STScriptError stError;
    ASSERT_TRUE(clRunner.bRun(tabStatements[0], &stResult, &stError)) << stError.sMessage;
    ExpectSameValue(stResult.clValue, CValue::Int(3), __LINE__);
    ASSERT_EQ(clRunner.tabTrace().size(), 3u);
    EXPECT_EQ(s_tabVus.size(), 3u);
    ExpectSameValue(clRunner.tabTrace()[2][1], CValue::Text(L"f3"), __LINE__);
    ExpectSameValue(clRunner.tabTrace()[2][2], CValue::Int(3), __LINE__);
}

TEST(ScriptProcedure, BodyThatCannotRunFailsTheStatementAtTheBodysPlace) {
    CFakeHost clHost;
    auto tabStatements = tabResolved("procedure P(a) = SansCorps()\nParcours(P, 2)\nEstPair(2)", &clHost);
    CScriptRunner clRunner(&clHost);
    STStatementResult stResult;
    STScriptError stError;
    ASSERT_TRUE(clRunner.bRun(tabStatements[0], &stResult, &stError));
    ASSERT_FALSE(clRunner.bRun(tabStatements[1], &stResult, &stError));
    EXPECT_EQ(sFormatScriptError("s", stError), "s:1:18: in procedure P: SansCorps has no body on this platform");
    // The walk saw the failure at once, and the next statement runs clean.
    EXPECT_EQ(std::count(clHost.tabCalls.begin(), clHost.tabCalls.end(), "SansCorps"), 1);
    EXPECT_TRUE(clRunner.bRun(tabStatements[2], &stResult, &stError)) << stError.sMessage;
}

TEST(ScriptProcedure, RunnerIsTheMachinesProcedureHostWhileItLives) {
    CFakeHost clHost;
    {
        CScriptRunner clRunner(&clHost);
        EXPECT_EQ(clHost.piProcedures, &clRunner);
        EXPECT_EQ(clRunner.nTrouveProcedure(L"Trace"), 0);
        EXPECT_EQ(clRunner.nTrouveProcedure(L"Absente"), -1);
    }
    EXPECT_EQ(clHost.piProcedures, nullptr);
}

struct STTextCase {
    int nLine;
    CValue clValue;
    const char* pszText;
    const char* pszJson;
};

CValue clMultiple(std::vector<CValue> tabMembers) {
    CValue clValue;
    clValue.eKind = EValueKind::Multiple;
    clValue.tabMembers = std::move(tabMembers);
    return clValue;
}

CValue clExact(EValueKind eKind, std::wstring sText) {
    CValue clValue = CValue::Text(std::move(sText));
    clValue.eKind = eKind;
    return clValue;
}

TEST(Printer, ShowsEachKindAsTextAndJson) {
    const STTextCase tabCases[] = {
        {__LINE__, CValue::Null(), "Null", "null"},
        {__LINE__, CValue::Bool(true), "Vrai", "true"},
        {__LINE__, CValue::Bool(false), "Faux", "false"},
        {__LINE__, CValue::Int(-42), "-42", "-42"},
        {__LINE__, CValue::Int64(std::numeric_limits<int64_t>::min()), "-9223372036854775808", "-9223372036854775808"},
        {__LINE__, CValue::Real(0.1), "0.1", "0.10000000000000001"},
        {__LINE__, CValue::Real(2.0), "2", "2"},
        {__LINE__, CValue::Real(-2.5e-3), "-0.0025", "-0.0025000000000000001"},
        {__LINE__, CValue::Real(1e300), "1e+300", "1.0000000000000001e+300"},
        {__LINE__, CValue::Real(std::nan("")), "nan", "\"NaN\""},
        {__LINE__, CValue::Real(-HUGE_VAL), "-inf", "\"-Infinity\""},
        {__LINE__, clExact(EValueKind::Money, L"-12.345678"), "-12.345678", "\"-12.345678\""},
        {__LINE__, clExact(EValueKind::Date, L"20240229"), "20240229", "\"20240229\""},
        {__LINE__, CValue::Text(L"Noël à Zürich 😀"), "Noël à Zürich 😀", "\"Noël à Zürich 😀\""},
        {__LINE__, CValue::Text(L"a\"b\\c\nd\x01"), "a\"b\\c\nd\x01", "\"a\\\"b\\\\c\\nd\\u0001\""},
        {__LINE__, CValue::Text(std::wstring(1, static_cast<wchar_t>(0xd800))), "\xef\xbf\xbd", "\"\xef\xbf\xbd\""},
        {__LINE__, CValue::Ansi("caf\xe9 caf\xc3\xa9"), "caf\xe9 caf\xc3\xa9", "\"caf\\\\xe9 café\""},
        {__LINE__, CValue::Buffer(std::string("\x00\xff\x0a", 3)), "x\"00ff0a\"", "\"00ff0a\""},
        {__LINE__, clMultiple({CValue::Int(1), CValue::Bool(true), CValue::Text(L"é")}), "1, Vrai, é",
         "[1,true,\"é\"]"},
    };
    for (const STTextCase& stCase : tabCases) {
        EXPECT_EQ(sFormatValue(stCase.clValue), stCase.pszText) << "line " << stCase.nLine;
        EXPECT_EQ(sJsonValue(stCase.clValue), stCase.pszJson) << "line " << stCase.nLine;
    }
}

TEST(Printer, RealsReadBackExactly) {
    const double tabValues[] = {0.1, 1.0 / 3, 5e-324, 1.7976931348623157e308, 123456789.125, -0.0, 1e21, 4.35};
    for (double dValue : tabValues) {
        const std::string sText = sFormatReal(dValue);
        double dBack = 0;
        std::from_chars(sText.data(), sText.data() + sText.size(), dBack);
        EXPECT_EQ(std::signbit(dBack), std::signbit(dValue)) << sText;
        EXPECT_EQ(dBack, dValue) << sText;
        const std::string sJson = sJsonValue(CValue::Real(dValue));
        std::from_chars(sJson.data(), sJson.data() + sJson.size(), dBack);
        EXPECT_EQ(dBack, dValue) << sJson;
    }
}

TEST(Printer, JsonStringsEscapeWhatJsonForbids) {
    EXPECT_EQ(sJsonString("tab\there\r\n\b\f\x1f"), "\"tab\\there\\r\\n\\b\\f\\u001f\"");
    EXPECT_EQ(sJsonString("\xe2\x80\xa8"), "\"\\u2028\"");
    EXPECT_EQ(sJsonString("😀 é"), "\"😀 é\"");
    // Broken UTF-8 must not reach the output as it stands.
    EXPECT_EQ(sJsonString("a\xff" "b\xf0\x9f"), "\"a\xef\xbf\xbd" "b\xef\xbf\xbd\xef\xbf\xbd\"");
}

TEST(Printer, ErrorLinesStayOnOneLine) {
    STCallError stError;
    stError.nLevel = 2;
    stError.nCode = 80022;
    stError.sMessage = L"Numéro de fichier invalide : 99.\r\nAucun fichier ouvert.\nFin";
    EXPECT_EQ(sFormatCallError(stError), "error 80022 (level 2): Numéro de fichier invalide : 99. Aucun fichier ouvert. Fin");
    stError.sDebug = L"##(CFichier)-Handle=<99>##";
    EXPECT_EQ(sJsonResult("fFerme(99)", CValue::Int(-1), &stError),
              "{\"expr\":\"fFerme(99)\",\"type\":\"int\",\"value\":-1,\"error\":{\"level\":2,\"code\":80022,"
              "\"message\":\"Numéro de fichier invalide : 99.\\r\\nAucun fichier ouvert.\\nFin\","
              "\"debug\":\"##(CFichier)-Handle=<99>##\"}}");
    EXPECT_EQ(sJsonResult("x\"é\"", CValue::Buffer("\x01"), nullptr),
              "{\"expr\":\"x\\\"é\\\"\",\"type\":\"buffer\",\"value\":\"01\",\"error\":null}");
}

std::string sFakeTypeWord(uint32_t dwType) {
    std::string sName = ovtype::pszTypeName(dwType);
    return (dwType & ovtype::FLAG_BY_REFERENCE) != 0 ? sName + "&" : sName;
}

TEST(Printer, DescribesOverloads) {
    STOverloadInfo stOverload{ovtype::INT, {ovtype::INT, ovtype::INT, ovtype::INT}};
    stOverload.bHasBody = true;
    EXPECT_EQ(sDescribeOverload("RVB", stOverload, &sFakeTypeWord), "RVB(int, int, int) -> int");
    STOverloadInfo stVariadic{ovtype::REAL, {ovtype::REAL}};
    stVariadic.bVariadic = true;
    stVariadic.bHasBody = true;
    EXPECT_EQ(sDescribeOverload("Max", stVariadic, &sFakeTypeWord), "Max(real...) -> real");
    STOverloadInfo stNoBody{ovtype::VOID, {uint32_t{ovtype::TEXT} | ovtype::FLAG_BY_REFERENCE}};
    EXPECT_EQ(sDescribeOverload("DateSelecteur", stNoBody, &sFakeTypeWord), "DateSelecteur(text&) -> void [no body]");
}

TEST(Utf8, RejectsWhatIsNotAScalarValue) {
    struct {
        int nLine;
        std::string sBytes;
        int32_t nExpected;
        size_t nLength;
    } const tabCases[] = {
        {__LINE__, "A", 'A', 1},
        {__LINE__, "\xc3\xa9", 0xe9, 2},
        {__LINE__, "\xf0\x9f\x98\x80", 0x1f600, 4},
        {__LINE__, "\xf4\x8f\xbf\xbf", 0x10ffff, 4},
        {__LINE__, "\xc0\xaf", -1, 1},          // overlong
        {__LINE__, "\xe0\x80\xaf", -1, 1},      // overlong
        {__LINE__, "\xed\xa0\x80", -1, 1},      // surrogate
        {__LINE__, "\xf4\x90\x80\x80", -1, 1},  // past U+10FFFF
        {__LINE__, "\xe2\x82", -1, 1},          // cut short
        {__LINE__, "\x80", -1, 1},              // continuation alone
    };
    for (const auto& stCase : tabCases) {
        size_t nLength = 0;
        EXPECT_EQ(nDecodeUtf8(stCase.sBytes, &nLength), stCase.nExpected) << "line " << stCase.nLine;
        EXPECT_EQ(nLength, stCase.nLength) << "line " << stCase.nLine;
    }
}

}  // namespace
}  // namespace ovhost
