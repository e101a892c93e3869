// The statement language of ovrun: one statement a line, literals, variables, the library's
// constants, nested calls of its functions, and small procedures that the library's callback forms
// call (`procedure Garde(rep, nom) = Vrai`), beside the built-in recorder `Trace` and the machine's
// progress gauge `Jauge`. A script is tokenized, parsed and resolved against the library as a whole
// before anything runs, so a mistake on any line runs nothing.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/machine.h"
#include "host/value.h"
#include "host/vm.h"

namespace ovhost {

// Where a script went wrong. Lines and columns are 1-based; columns count characters, not bytes.
struct STScriptError {
    int nLine = 0;
    int nColumn = 0;
    std::string sMessage;
};

// "ORIGIN:LINE:COL: message", the form editors and terminals know how to follow.
std::string sFormatScriptError(std::string_view sOrigin, const STScriptError& stError);

enum class ETokenKind {
    Name,
    Literal,     // integer, real, text or binary value, already decoded into clValue
    LeftParen,
    RightParen,
    Comma,
    Equals,      // assignment at the head of a statement, comparison inside an expression
    Operator,    // + - * / | & < > <= >= <>, in sText
    Comment,     // "//" to the end of the line; sText holds what follows the slashes
    EndOfLine,
    EndOfScript,
};

struct STToken {
    ETokenKind eKind = ETokenKind::EndOfScript;
    int nLine = 0;
    int nColumn = 0;
    size_t nOffset = 0;  // byte offset of the token in the source
    size_t nLength = 0;  // byte length of the token in the source
    std::string sText;   // the name, or the comment text
    CValue clValue;      // Literal only
};

// Splits a whole script into tokens, ending with EndOfScript. False at the first malformed token,
// with its position. The source must be UTF-8.
bool bTokenize(std::string_view sSource, std::vector<STToken>* ptabTokens, STScriptError* pstError);

enum class EExpressionKind {
    Literal,   // a written value, or after resolution a constant of the library
    Name,      // before resolution: a bare name
    Variable,  // after resolution
    Call,
    Operator,  // sName the operator; one argument (unary minus) or two
};

struct STExpression {
    EExpressionKind eKind = EExpressionKind::Literal;
    int nLine = 0;
    int nColumn = 0;
    CValue clValue;                         // Literal
    std::string sName;                      // Name, Variable, Call
    std::vector<STExpression> tabArguments;  // Call, Operator
    // Call, after resolution: argument positions that some fitting overload takes by reference;
    // a variable given there receives what the function writes.
    std::vector<bool> tabWriteBack;
};

enum class EStatementKind {
    Expression,  // its value is shown
    Assignment,  // sTarget = expression, shows nothing
    Remark,      // a line holding only a comment, kept so the tour can narrate
    Procedure,   // procedure sTarget(tabParameters) = expression: defines it, shows nothing
};

// The procedure that every script has: it records the arguments of each call, hands them to the
// runner's trace output and answers Vrai, so a walk goes on.
inline constexpr char gszRecorderName[] = "Trace";

struct STStatement {
    EStatementKind eKind = EStatementKind::Expression;
    int nLine = 0;
    int nColumn = 0;
    std::string sTarget;
    std::vector<std::string> tabParameters;  // Procedure
    STExpression stExpression;
    std::string sSource;  // the statement's text without its comment; a Remark's comment text
};

// Parses a whole script. Fails at the first syntax error; nothing is resolved yet.
bool bParseScript(std::string_view sSource, std::vector<STStatement>* ptabStatements,
                  STScriptError* pstError);

// What the script language needs from a library. The command line forwards to the stand-in
// machine; tests give a fake.
class IScriptHost {
public:
    virtual const STFunctionInfo* pstFindFunction(std::string_view sName) const = 0;
    virtual const STConstantInfo* pstFindConstant(std::string_view sName) const = 0;
    // As CStandInMachine::bCall: false when the call cannot be made at all.
    virtual bool bCall(std::string_view sName, std::vector<CValue>& tabArguments,
                       STCallOutcome* pstOutcome, std::string* psError) = 0;
    // Where the machine finds the procedures the library calls back; null withdraws them.
    virtual void SetProcedures(IProcedureHost* /*piProcedures*/) {}

protected:
    ~IScriptHost() = default;
};

// Binds names in script order: a variable must be assigned on an earlier line (or be handed to a
// by-reference argument, which declares it), a procedure defined on an earlier line (its bare name
// then stands for its name as text, as a callback argument wants), otherwise a name is one of the
// library's constants. A procedure's body sees its parameters only. Checks that every function
// exists and takes the number of arguments given.
bool bResolveScript(std::vector<STStatement>* ptabStatements, const IScriptHost& iHost,
                    STScriptError* pstError);

struct STStatementResult {
    CValue clValue;
    bool bError = false;  // a call of the statement ended with a language error
    STCallError stError;  // the first such error, in the order the calls ran
    std::string sNote;    // what the machine noted about the statement's calls, if anything
};

// Runs resolved statements one at a time and keeps the variables between them. While it lives, the
// script's procedures and the recorder are the ones the library can call back.
class CScriptRunner final : public IProcedureHost {
public:
    explicit CScriptRunner(IScriptHost* piHost);
    ~CScriptRunner();
    CScriptRunner(const CScriptRunner&) = delete;
    CScriptRunner& operator=(const CScriptRunner&) = delete;

    // Each call of the recorder: its arguments, in call order.
    const std::vector<std::vector<CValue>>& tabTrace() const { return m_tabTrace; }
    // Told of each call of the recorder as it happens (ovrun prints it).
    void SetTraceOutput(void (*pfnTrace)(const std::vector<CValue>& tabArguments)) { m_pfnTrace = pfnTrace; }

    int nTrouveProcedure(std::wstring_view sNom) override;
    bool bExecuteProcedure(std::wstring_view sNom, const std::vector<CValue>& tabArguments, CValue* pclRetour,
                           std::string* psErreur) override;

    // False when a call could not be made at all (no overload for these values, no body here);
    // the error names the call's position and carries the machine's message.
    bool bRun(const STStatement& stStatement, STStatementResult* pstResult, STScriptError* pstError);

    const CValue* pclVariable(std::string_view sName) const;

private:
    bool bEvaluate(const STExpression& stExpression, CValue* pclValue, STStatementResult* pstResult,
                   STScriptError* pstError);
    // Keeps the first failure of a procedure for the statement that set it off; answers false.
    bool bNoteEchec(const STStatement& stProcedure, const std::string& sMessage,
                    const STScriptError* pstAt = nullptr);

    IScriptHost* m_piHost;
    std::map<std::string, CValue, std::less<>> m_mapVariables;
    std::map<std::wstring, STStatement, std::less<>> m_mapProcedures;
    std::vector<std::vector<CValue>> m_tabTrace;
    void (*m_pfnTrace)(const std::vector<CValue>&) = nullptr;
    int m_nProfondeur = 0;                           // procedures running inside one another
    STStatementResult* m_pstResultEnCours = nullptr;  // the statement whose calls are running
    bool m_bEchecProcedure = false;                   // a procedure failed during the statement
    STScriptError m_stEchecProcedure;
    // The runner's state belongs to one thread at a time: the statement's thread holds it except
    // while the library runs a call, so a procedure called back from another thread (a shared
    // memory zone's notification) waits for a moment between calls.
    std::recursive_mutex m_mutexEtat;
};

}  // namespace ovhost
