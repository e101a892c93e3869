// The statement language of ovrun: one statement a line, literals, variables, the library's
// constants and nested calls of its functions. A script is tokenized, parsed and resolved against
// the library as a whole before anything runs, so a mistake on any line runs nothing.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/machine.h"
#include "host/value.h"

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
    Equals,
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
};

struct STExpression {
    EExpressionKind eKind = EExpressionKind::Literal;
    int nLine = 0;
    int nColumn = 0;
    CValue clValue;                         // Literal
    std::string sName;                      // Name, Variable, Call
    std::vector<STExpression> tabArguments;  // Call
    // Call, after resolution: argument positions that some fitting overload takes by reference;
    // a variable given there receives what the function writes.
    std::vector<bool> tabWriteBack;
};

enum class EStatementKind {
    Expression,  // its value is shown
    Assignment,  // sTarget = expression, shows nothing
    Remark,      // a line holding only a comment, kept so the tour can narrate
};

struct STStatement {
    EStatementKind eKind = EStatementKind::Expression;
    int nLine = 0;
    int nColumn = 0;
    std::string sTarget;
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

protected:
    ~IScriptHost() = default;
};

// Binds names in script order: a variable must be assigned on an earlier line (or be handed to a
// by-reference argument, which declares it), otherwise a name is one of the library's constants.
// Checks that every function exists and takes the number of arguments given.
bool bResolveScript(std::vector<STStatement>* ptabStatements, const IScriptHost& iHost,
                    STScriptError* pstError);

struct STStatementResult {
    CValue clValue;
    bool bError = false;  // a call of the statement ended with a language error
    STCallError stError;  // the first such error, in the order the calls ran
    std::string sNote;    // what the machine noted about the statement's calls, if anything
};

// Runs resolved statements one at a time and keeps the variables between them.
class CScriptRunner {
public:
    explicit CScriptRunner(IScriptHost* piHost) : m_piHost(piHost) {}

    // False when a call could not be made at all (no overload for these values, no body here);
    // the error names the call's position and carries the machine's message.
    bool bRun(const STStatement& stStatement, STStatementResult* pstResult, STScriptError* pstError);

    const CValue* pclVariable(std::string_view sName) const;

private:
    bool bEvaluate(const STExpression& stExpression, CValue* pclValue, STStatementResult* pstResult,
                   STScriptError* pstError);

    IScriptHost* m_piHost;
    std::map<std::string, CValue, std::less<>> m_mapVariables;
};

}  // namespace ovhost
