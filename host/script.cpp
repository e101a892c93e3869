// The statement language of ovrun: tokenizer, parser, name resolution and the runner.
#include "host/script.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <set>

#include "component/interfaces/type_codes.h"
#include "host/operators.h"
#include "host/printer.h"
#include "host/utf8.h"

namespace ovhost {

namespace {

// Deep enough for any real use; shallow enough that the recursive parser and runner never come
// near the end of the stack, whatever a hostile script nests.
constexpr int gnMaxNesting = 200;
// Procedures that call the library that calls procedures again: each level costs a walk's frames
// and a thunk's, so the bound is far lower than the nesting of one expression.
constexpr int gnMaxProcedureDepth = 32;
// Operators of one statement: far more than a line holds, few enough for the recursion.
constexpr int gnMaxOperators = 1000;

bool bFail(int nLine, int nColumn, std::string sMessage, STScriptError* pstError) {
    if (pstError != nullptr) {
        pstError->nLine = nLine;
        pstError->nColumn = nColumn;
        pstError->sMessage = std::move(sMessage);
    }
    return false;
}

bool bIsDigit(char c) { return c >= '0' && c <= '9'; }
bool bIsHexDigit(char c) { return bIsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool bIsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool bIsNameChar(char c) { return bIsNameStart(c) || bIsDigit(c); }

int nHexValue(char c) {
    if (bIsDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c - 'A' + 10;
}

// How a character is named in a message: itself when printable ASCII, U+XXXX otherwise.
std::string sDescribeCharacter(int32_t nCodePoint) {
    if (nCodePoint > 0x20 && nCodePoint < 0x7f) return std::string("'") + static_cast<char>(nCodePoint) + "'";
    char szBuffer[16];
    std::snprintf(szBuffer, sizeof szBuffer, "U+%04X", static_cast<unsigned>(nCodePoint));
    return szBuffer;
}

CValue clIntegerValue(int64_t nValue) {
    if (nValue >= std::numeric_limits<int32_t>::min() && nValue <= std::numeric_limits<int32_t>::max())
        return CValue::Int(static_cast<int32_t>(nValue));
    return CValue::Int64(nValue);
}

class CTokenizer {
public:
    explicit CTokenizer(std::string_view sSource) : m_sSource(sSource) {}

    bool bRun(std::vector<STToken>* ptabTokens, STScriptError* pstError) {
        ptabTokens->clear();
        while (m_nOffset < m_sSource.size()) {
            const char c = m_sSource[m_nOffset];
            if (c == ' ' || c == '\t' || c == '\r') {
                Advance(1);
                continue;
            }
            STToken stToken;
            stToken.nLine = m_nLine;
            stToken.nColumn = m_nColumn;
            stToken.nOffset = m_nOffset;
            if (c == '\n') {
                stToken.eKind = ETokenKind::EndOfLine;
                ++m_nOffset;
                ++m_nLine;
                m_nColumn = 1;
            } else if (c == '/' && m_nOffset + 1 < m_sSource.size() && m_sSource[m_nOffset + 1] == '/') {
                if (!bReadComment(&stToken, pstError)) return false;
            } else if (c == '(' || c == ')' || c == ',' || c == '=') {
                stToken.eKind = c == '(' ? ETokenKind::LeftParen
                                : c == ')' ? ETokenKind::RightParen
                                : c == ',' ? ETokenKind::Comma
                                           : ETokenKind::Equals;
                Advance(1);
            } else if (c == '"') {
                if (!bReadText(&stToken, pstError)) return false;
            } else if ((c == 'x' || c == 'X') && m_nOffset + 1 < m_sSource.size() && m_sSource[m_nOffset + 1] == '"') {
                if (!bReadBinary(&stToken, pstError)) return false;
            } else if (bIsNameStart(c)) {
                stToken.eKind = ETokenKind::Name;
                while (m_nOffset < m_sSource.size() && bIsNameChar(m_sSource[m_nOffset])) Advance(1);
                stToken.sText = std::string(m_sSource.substr(stToken.nOffset, m_nOffset - stToken.nOffset));
            } else if (bIsDigit(c) || (c == '-' && bIsDigit(cNext()) && !bAfterValue(*ptabTokens))) {
                if (!bReadNumber(&stToken, pstError)) return false;
            } else if (c == '+' || c == '-' || c == '*' || c == '/' || c == '|' || c == '&' || c == '<' || c == '>') {
                stToken.eKind = ETokenKind::Operator;
                const bool bPair = (c == '<' && (cNext() == '=' || cNext() == '>')) || (c == '>' && cNext() == '=');
                stToken.sText = std::string(m_sSource.substr(m_nOffset, bPair ? 2 : 1));
                Advance(1);
                if (bPair) Advance(1);
            } else {
                size_t nLength;
                int32_t nCodePoint = nDecodeUtf8(m_sSource.substr(m_nOffset), &nLength);
                if (nCodePoint < 0) return bInvalidByte(pstError);
                return bFail(m_nLine, m_nColumn, "unexpected character " + sDescribeCharacter(nCodePoint), pstError);
            }
            stToken.nLength = m_nOffset - stToken.nOffset;
            ptabTokens->push_back(std::move(stToken));
        }
        STToken stEnd;
        stEnd.eKind = ETokenKind::EndOfScript;
        stEnd.nLine = m_nLine;
        stEnd.nColumn = m_nColumn;
        stEnd.nOffset = m_sSource.size();
        ptabTokens->push_back(std::move(stEnd));
        return true;
    }

private:
    // A minus right after a value is the operator ("a-1"); elsewhere it starts a negative number.
    static bool bAfterValue(const std::vector<STToken>& tabTokens) {
        if (tabTokens.empty()) return false;
        const ETokenKind e = tabTokens.back().eKind;
        return e == ETokenKind::Literal || e == ETokenKind::Name || e == ETokenKind::RightParen;
    }

    bool bAtEnd() const { return m_nOffset >= m_sSource.size(); }
    char cCurrent() const { return bAtEnd() ? '\0' : m_sSource[m_nOffset]; }
    char cNext() const { return m_nOffset + 1 < m_sSource.size() ? m_sSource[m_nOffset + 1] : '\0'; }

    // Moves past one character of nBytes bytes.
    void Advance(size_t nBytes) {
        m_nOffset += nBytes;
        ++m_nColumn;
    }

    bool bInvalidByte(STScriptError* pstError) {
        char szBuffer[64];
        std::snprintf(szBuffer, sizeof szBuffer, "invalid UTF-8 byte 0x%02X",
                      static_cast<unsigned char>(m_sSource[m_nOffset]));
        return bFail(m_nLine, m_nColumn, szBuffer, pstError);
    }

    // Reads one character that is not a line end; false on malformed UTF-8.
    bool bReadCharacter(int32_t* pnCodePoint, STScriptError* pstError) {
        size_t nLength;
        *pnCodePoint = nDecodeUtf8(m_sSource.substr(m_nOffset), &nLength);
        if (*pnCodePoint < 0) return bInvalidByte(pstError);
        Advance(nLength);
        return true;
    }

    bool bReadComment(STToken* pstToken, STScriptError* pstError) {
        pstToken->eKind = ETokenKind::Comment;
        Advance(1);
        Advance(1);
        const size_t nStart = m_nOffset;
        while (!bAtEnd() && cCurrent() != '\n') {
            int32_t nCodePoint;
            if (!bReadCharacter(&nCodePoint, pstError)) return false;
        }
        size_t nEnd = m_nOffset;
        if (nEnd > nStart && m_sSource[nEnd - 1] == '\r') --nEnd;
        pstToken->sText = std::string(m_sSource.substr(nStart, nEnd - nStart));
        return true;
    }

    bool bReadHexDigits(size_t nCount, uint32_t* pdwValue, int nLine, int nColumn, const char* pszWhat,
                        STScriptError* pstError) {
        *pdwValue = 0;
        for (size_t n = 0; n < nCount; ++n) {
            if (!bIsHexDigit(cCurrent())) return bFail(nLine, nColumn, pszWhat, pstError);
            *pdwValue = *pdwValue * 16 + static_cast<uint32_t>(nHexValue(cCurrent()));
            Advance(1);
        }
        return true;
    }

    bool bReadEscape(std::wstring* psText, STScriptError* pstError) {
        const int nLine = m_nLine;
        const int nColumn = m_nColumn;
        Advance(1);  // the backslash
        if (bAtEnd() || cCurrent() == '\n') return bFail(nLine, nColumn, "unterminated escape", pstError);
        const char c = cCurrent();
        switch (c) {
        case 'n': psText->push_back(L'\n'); Advance(1); return true;
        case 't': psText->push_back(L'\t'); Advance(1); return true;
        case 'r': psText->push_back(L'\r'); Advance(1); return true;
        case '\\': psText->push_back(L'\\'); Advance(1); return true;
        case '"': psText->push_back(L'"'); Advance(1); return true;
        case '0': psText->push_back(L'\0'); Advance(1); return true;
        case 'x': {
            Advance(1);
            uint32_t dwValue;
            if (!bReadHexDigits(2, &dwValue, nLine, nColumn, "\\x needs two hexadecimal digits", pstError))
                return false;
            psText->push_back(static_cast<wchar_t>(dwValue));
            return true;
        }
        case 'u': {
            Advance(1);
            if (cCurrent() != '{') return bFail(nLine, nColumn, "\\u is written \\u{hex digits}", pstError);
            Advance(1);
            uint32_t dwValue = 0;
            int nDigits = 0;
            while (bIsHexDigit(cCurrent())) {
                if (++nDigits > 6) return bFail(nLine, nColumn, "too many digits in \\u{...}", pstError);
                dwValue = dwValue * 16 + static_cast<uint32_t>(nHexValue(cCurrent()));
                Advance(1);
            }
            if (nDigits == 0 || cCurrent() != '}')
                return bFail(nLine, nColumn, "\\u is written \\u{hex digits}", pstError);
            Advance(1);
            if (dwValue > 0x10ffff) return bFail(nLine, nColumn, "\\u{...} beyond U+10FFFF", pstError);
            if (dwValue >= 0xd800 && dwValue <= 0xdfff)
                return bFail(nLine, nColumn, "\\u{...} names a surrogate, not a character", pstError);
            psText->push_back(static_cast<wchar_t>(dwValue));
            return true;
        }
        default: {
            size_t nLength;
            int32_t nCodePoint = nDecodeUtf8(m_sSource.substr(m_nOffset), &nLength);
            if (nCodePoint < 0) return bInvalidByte(pstError);
            return bFail(nLine, nColumn, "unknown escape \\" + sDescribeCharacter(nCodePoint), pstError);
        }
        }
    }

    bool bReadText(STToken* pstToken, STScriptError* pstError) {
        const int nLine = m_nLine;
        const int nColumn = m_nColumn;
        Advance(1);
        std::wstring sText;
        for (;;) {
            if (bAtEnd() || cCurrent() == '\n') return bFail(nLine, nColumn, "unterminated text", pstError);
            if (cCurrent() == '"') break;
            if (cCurrent() == '\\') {
                if (!bReadEscape(&sText, pstError)) return false;
                continue;
            }
            int32_t nCodePoint;
            if (!bReadCharacter(&nCodePoint, pstError)) return false;
            sText.push_back(static_cast<wchar_t>(nCodePoint));
        }
        Advance(1);
        pstToken->eKind = ETokenKind::Literal;
        pstToken->clValue = CValue::Text(std::move(sText));
        return true;
    }

    bool bReadBinary(STToken* pstToken, STScriptError* pstError) {
        const int nLine = m_nLine;
        const int nColumn = m_nColumn;
        Advance(1);
        Advance(1);
        std::string sBytes;
        int nHalf = -1;
        for (;;) {
            if (bAtEnd() || cCurrent() == '\n') return bFail(nLine, nColumn, "unterminated binary value", pstError);
            const char c = cCurrent();
            if (c == '"') break;
            if (!bIsHexDigit(c)) {
                size_t nLength;
                int32_t nCodePoint = nDecodeUtf8(m_sSource.substr(m_nOffset), &nLength);
                if (nCodePoint < 0) return bInvalidByte(pstError);
                return bFail(m_nLine, m_nColumn,
                             sDescribeCharacter(nCodePoint) + " is not a hexadecimal digit", pstError);
            }
            if (nHalf < 0) {
                nHalf = nHexValue(c);
            } else {
                sBytes.push_back(static_cast<char>(nHalf * 16 + nHexValue(c)));
                nHalf = -1;
            }
            Advance(1);
        }
        if (nHalf >= 0) return bFail(nLine, nColumn, "a binary value needs an even number of hexadecimal digits", pstError);
        Advance(1);
        pstToken->eKind = ETokenKind::Literal;
        pstToken->clValue = CValue::Buffer(std::move(sBytes));
        return true;
    }

    bool bReadDigits() {
        const size_t nStart = m_nOffset;
        while (bIsDigit(cCurrent())) Advance(1);
        return m_nOffset > nStart;
    }

    bool bReadNumber(STToken* pstToken, STScriptError* pstError) {
        const int nLine = m_nLine;
        const int nColumn = m_nColumn;
        const size_t nStart = m_nOffset;
        const bool bNegative = cCurrent() == '-';
        if (bNegative) {
            Advance(1);
            if (!bIsDigit(cCurrent())) return bFail(nLine, nColumn, "'-' is only written before a number", pstError);
        }
        pstToken->eKind = ETokenKind::Literal;
        if (cCurrent() == '0' && (cNext() == 'x' || cNext() == 'X')) {
            Advance(1);
            Advance(1);
            const size_t nDigits = m_nOffset;
            while (bIsHexDigit(cCurrent())) Advance(1);
            if (m_nOffset == nDigits) return bFail(nLine, nColumn, "hexadecimal digits expected after 0x", pstError);
            if (!bNumberEnds(pstError)) return false;
            uint64_t nMagnitude = 0;
            auto stResult = std::from_chars(m_sSource.data() + nDigits, m_sSource.data() + m_nOffset, nMagnitude, 16);
            const uint64_t nLimit = bNegative ? uint64_t{1} << 63 : uint64_t{std::numeric_limits<int64_t>::max()};
            if (stResult.ec != std::errc() || nMagnitude > nLimit)
                return bFail(nLine, nColumn, "integer out of range", pstError);
            const int64_t nValue = bNegative ? static_cast<int64_t>(0 - nMagnitude) : static_cast<int64_t>(nMagnitude);
            pstToken->clValue = clIntegerValue(nValue);
            return true;
        }
        bReadDigits();
        bool bReal = false;
        if (cCurrent() == '.') {
            Advance(1);
            if (!bReadDigits()) return bFail(m_nLine, m_nColumn, "digits expected after the decimal point", pstError);
            bReal = true;
        }
        if (cCurrent() == 'e' || cCurrent() == 'E') {
            Advance(1);
            if (cCurrent() == '+' || cCurrent() == '-') Advance(1);
            if (!bReadDigits()) return bFail(m_nLine, m_nColumn, "digits expected in the exponent", pstError);
            bReal = true;
        }
        if (!bNumberEnds(pstError)) return false;
        const char* pszFirst = m_sSource.data() + nStart;
        const char* pszLast = m_sSource.data() + m_nOffset;
        if (bReal) {
            double dValue = 0;
            auto stResult = std::from_chars(pszFirst, pszLast, dValue);
            if (stResult.ec != std::errc() || stResult.ptr != pszLast)
                return bFail(nLine, nColumn, "real number out of range", pstError);
            pstToken->clValue = CValue::Real(dValue);
        } else {
            int64_t nValue = 0;
            auto stResult = std::from_chars(pszFirst, pszLast, nValue, 10);
            if (stResult.ec != std::errc() || stResult.ptr != pszLast)
                return bFail(nLine, nColumn, "integer out of range", pstError);
            pstToken->clValue = clIntegerValue(nValue);
        }
        return true;
    }

    // A number must not run straight into a name or another dot: "12ab" and "1.2.3" are mistakes.
    bool bNumberEnds(STScriptError* pstError) {
        const char c = cCurrent();
        if (bIsNameChar(c) || c == '.' || c == '"')
            return bFail(m_nLine, m_nColumn, "unexpected '" + std::string(1, c) + "' in a number", pstError);
        return true;
    }

    std::string_view m_sSource;
    size_t m_nOffset = 0;
    int m_nLine = 1;
    int m_nColumn = 1;
};

bool bIsKeyword(std::string_view sName) { return sName == "Vrai" || sName == "Faux" || sName == "Null"; }

class CParser {
public:
    CParser(std::string_view sSource, const std::vector<STToken>& tabTokens)
        : m_sSource(sSource), m_tabTokens(tabTokens) {}

    bool bRun(std::vector<STStatement>* ptabStatements, STScriptError* pstError) {
        ptabStatements->clear();
        bool bLineStart = true;
        while (stCurrent().eKind != ETokenKind::EndOfScript) {
            const STToken& stToken = stCurrent();
            if (stToken.eKind == ETokenKind::EndOfLine) {
                bLineStart = true;
                ++m_nIndex;
                continue;
            }
            if (stToken.eKind == ETokenKind::Comment) {
                if (bLineStart) {
                    STStatement stRemark;
                    stRemark.eKind = EStatementKind::Remark;
                    stRemark.nLine = stToken.nLine;
                    stRemark.nColumn = stToken.nColumn;
                    stRemark.sSource = "//" + stToken.sText;
                    ptabStatements->push_back(std::move(stRemark));
                }
                ++m_nIndex;
                continue;
            }
            bLineStart = false;
            STStatement stStatement;
            if (!bParseStatement(&stStatement, pstError)) return false;
            ptabStatements->push_back(std::move(stStatement));
        }
        return true;
    }

private:
    const STToken& stCurrent() const { return m_tabTokens[m_nIndex]; }
    // The token list always ends with EndOfScript, so looking one ahead stays inside it.
    const STToken& stNext() const { return m_tabTokens[std::min(m_nIndex + 1, m_tabTokens.size() - 1)]; }

    std::string sDescribe(const STToken& stToken) const {
        switch (stToken.eKind) {
        case ETokenKind::Name: return "'" + stToken.sText + "'";
        case ETokenKind::Literal: return "a value";
        case ETokenKind::LeftParen: return "'('";
        case ETokenKind::RightParen: return "')'";
        case ETokenKind::Comma: return "','";
        case ETokenKind::Equals: return "'='";
        case ETokenKind::Operator: return "'" + stToken.sText + "'";
        case ETokenKind::Comment:
        case ETokenKind::EndOfLine:
        case ETokenKind::EndOfScript: return "the end of the line";
        }
        return "?";
    }

    bool bParseStatement(STStatement* pstStatement, STScriptError* pstError) {
        const STToken& stFirst = stCurrent();
        const size_t nFirst = m_nIndex;
        m_nOperators = 0;
        pstStatement->nLine = stFirst.nLine;
        pstStatement->nColumn = stFirst.nColumn;
        if (stFirst.eKind == ETokenKind::Name && stFirst.sText == "procedure" && stNext().eKind == ETokenKind::Name) {
            if (!bParseProcedureHead(pstStatement, pstError)) return false;
        } else if (stFirst.eKind == ETokenKind::Name && stNext().eKind == ETokenKind::Equals) {
            if (bIsKeyword(stFirst.sText))
                return bFail(stFirst.nLine, stFirst.nColumn, stFirst.sText + " cannot be assigned", pstError);
            pstStatement->eKind = EStatementKind::Assignment;
            pstStatement->sTarget = stFirst.sText;
            m_nIndex += 2;
        }
        if (!bParseExpression(&pstStatement->stExpression, 0, pstError)) return false;
        const STToken& stLast = m_tabTokens[m_nIndex - 1];
        pstStatement->sSource = std::string(
            m_sSource.substr(m_tabTokens[nFirst].nOffset, stLast.nOffset + stLast.nLength - m_tabTokens[nFirst].nOffset));
        const STToken& stAfter = stCurrent();
        if (stAfter.eKind != ETokenKind::EndOfLine && stAfter.eKind != ETokenKind::EndOfScript &&
            stAfter.eKind != ETokenKind::Comment)
            return bFail(stAfter.nLine, stAfter.nColumn, "unexpected " + sDescribe(stAfter) + " after the statement",
                         pstError);
        return true;
    }

    // "procedure Name(a, b) =": the head, up to the body's expression.
    bool bParseProcedureHead(STStatement* pstStatement, STScriptError* pstError) {
        ++m_nIndex;
        const STToken& stName = stCurrent();
        pstStatement->eKind = EStatementKind::Procedure;
        pstStatement->sTarget = stName.sText;
        if (bIsKeyword(stName.sText))
            return bFail(stName.nLine, stName.nColumn, stName.sText + " cannot name a procedure", pstError);
        ++m_nIndex;
        if (stCurrent().eKind != ETokenKind::LeftParen)
            return bFail(stCurrent().nLine, stCurrent().nColumn,
                         "expected '(' after procedure " + stName.sText + ", found " + sDescribe(stCurrent()), pstError);
        ++m_nIndex;
        if (stCurrent().eKind == ETokenKind::RightParen) {
            ++m_nIndex;
        } else {
            for (;;) {
                const STToken& stParameter = stCurrent();
                if (stParameter.eKind != ETokenKind::Name || bIsKeyword(stParameter.sText))
                    return bFail(stParameter.nLine, stParameter.nColumn,
                                 "expected a parameter name, found " + sDescribe(stParameter), pstError);
                if (std::find(pstStatement->tabParameters.begin(), pstStatement->tabParameters.end(),
                              stParameter.sText) != pstStatement->tabParameters.end())
                    return bFail(stParameter.nLine, stParameter.nColumn,
                                 "parameter " + stParameter.sText + " is given twice", pstError);
                pstStatement->tabParameters.push_back(stParameter.sText);
                ++m_nIndex;
                const STToken& stSeparator = stCurrent();
                ++m_nIndex;
                if (stSeparator.eKind == ETokenKind::RightParen) break;
                if (stSeparator.eKind != ETokenKind::Comma)
                    return bFail(stSeparator.nLine, stSeparator.nColumn,
                                 "expected ',' or ')' in the parameters of " + stName.sText + ", found " +
                                     sDescribe(stSeparator),
                                 pstError);
            }
        }
        if (stCurrent().eKind != ETokenKind::Equals)
            return bFail(stCurrent().nLine, stCurrent().nColumn,
                         "expected '=' and the procedure's answer, found " + sDescribe(stCurrent()), pstError);
        ++m_nIndex;
        return true;
    }

    // The operator of the current token, "" when it is none: '=' compares inside an expression.
    std::string sOperatorHere() const {
        const STToken& st = stCurrent();
        if (st.eKind == ETokenKind::Operator) return st.sText;
        if (st.eKind == ETokenKind::Equals) return "=";
        return "";
    }

    // Precedence climbing: operands, then operators binding at least nMinimum, left to right.
    bool bParseExpression(STExpression* pstExpression, int nDepth, STScriptError* pstError, int nMinimum = 1) {
        if (!bParseUnary(pstExpression, nDepth, pstError)) return false;
        for (;;) {
            const std::string sOperator = sOperatorHere();
            const int nPrecedence = nOperatorPrecedence(sOperator);
            if (nPrecedence == 0 || nPrecedence < nMinimum) return true;
            const STToken& stOperator = stCurrent();
            // A left-leaning chain grows the tree one level an operator, and the resolver and the
            // runner recurse through it: bound the operators of a statement.
            if (++m_nOperators > gnMaxOperators)
                return bFail(stOperator.nLine, stOperator.nColumn, "too many operators in one statement", pstError);
            STExpression stNode;
            stNode.eKind = EExpressionKind::Operator;
            stNode.nLine = stOperator.nLine;
            stNode.nColumn = stOperator.nColumn;
            stNode.sName = sOperator;
            ++m_nIndex;
            STExpression stRight;
            if (!bParseExpression(&stRight, nDepth + 1, pstError, nPrecedence + 1)) return false;
            stNode.tabArguments.push_back(std::move(*pstExpression));
            stNode.tabArguments.push_back(std::move(stRight));
            *pstExpression = std::move(stNode);
        }
    }

    bool bParseUnary(STExpression* pstExpression, int nDepth, STScriptError* pstError) {
        const STToken& stToken = stCurrent();
        if (nDepth > gnMaxNesting)
            return bFail(stToken.nLine, stToken.nColumn, "expression nested too deeply", pstError);
        if (stToken.eKind == ETokenKind::Operator && stToken.sText == "-") {
            if (++m_nOperators > gnMaxOperators)
                return bFail(stToken.nLine, stToken.nColumn, "too many operators in one statement", pstError);
            pstExpression->eKind = EExpressionKind::Operator;
            pstExpression->nLine = stToken.nLine;
            pstExpression->nColumn = stToken.nColumn;
            pstExpression->sName = "-";
            ++m_nIndex;
            STExpression stOperand;
            if (!bParseUnary(&stOperand, nDepth + 1, pstError)) return false;
            pstExpression->tabArguments.push_back(std::move(stOperand));
            return true;
        }
        if (stToken.eKind == ETokenKind::LeftParen) {
            ++m_nIndex;
            if (!bParseExpression(pstExpression, nDepth + 1, pstError)) return false;
            if (stCurrent().eKind != ETokenKind::RightParen)
                return bFail(stCurrent().nLine, stCurrent().nColumn,
                             "expected ')' to close the '(' at column " + std::to_string(stToken.nColumn) +
                                 ", found " + sDescribe(stCurrent()),
                             pstError);
            ++m_nIndex;
            return true;
        }
        return bParsePrimary(pstExpression, nDepth, pstError);
    }

    bool bParsePrimary(STExpression* pstExpression, int nDepth, STScriptError* pstError) {
        const STToken& stToken = stCurrent();
        if (nDepth > gnMaxNesting)
            return bFail(stToken.nLine, stToken.nColumn, "calls nested too deeply", pstError);
        pstExpression->nLine = stToken.nLine;
        pstExpression->nColumn = stToken.nColumn;
        if (stToken.eKind == ETokenKind::Literal) {
            pstExpression->eKind = EExpressionKind::Literal;
            pstExpression->clValue = stToken.clValue;
            ++m_nIndex;
            return true;
        }
        if (stToken.eKind != ETokenKind::Name)
            return bFail(stToken.nLine, stToken.nColumn,
                         "expected a value, a name or a call, found " + sDescribe(stToken), pstError);
        pstExpression->sName = stToken.sText;
        if (stNext().eKind == ETokenKind::LeftParen) {
            pstExpression->eKind = EExpressionKind::Call;
            m_nIndex += 2;
            if (stCurrent().eKind == ETokenKind::RightParen) {
                ++m_nIndex;
                return true;
            }
            for (;;) {
                STExpression stArgument;
                if (!bParseExpression(&stArgument, nDepth + 1, pstError)) return false;
                pstExpression->tabArguments.push_back(std::move(stArgument));
                const STToken& stSeparator = stCurrent();
                ++m_nIndex;
                if (stSeparator.eKind == ETokenKind::RightParen) return true;
                if (stSeparator.eKind != ETokenKind::Comma)
                    return bFail(stSeparator.nLine, stSeparator.nColumn,
                                 "expected ',' or ')' in the call of " + pstExpression->sName + ", found " +
                                     sDescribe(stSeparator),
                                 pstError);
            }
        }
        ++m_nIndex;
        if (stToken.sText == "Vrai" || stToken.sText == "Faux") {
            pstExpression->eKind = EExpressionKind::Literal;
            pstExpression->clValue = CValue::Bool(stToken.sText == "Vrai");
        } else if (stToken.sText == "Null") {
            pstExpression->eKind = EExpressionKind::Literal;
            pstExpression->clValue = CValue::Null();
        } else {
            pstExpression->eKind = EExpressionKind::Name;
        }
        return true;
    }

    std::string_view m_sSource;
    const std::vector<STToken>& m_tabTokens;
    size_t m_nIndex = 0;
    int m_nOperators = 0;  // in the statement being parsed
};

bool bFits(const STOverloadInfo& stOverload, size_t nCount) {
    const size_t nDeclared = stOverload.tabArguments.size();
    return nCount == nDeclared || (stOverload.bVariadic && nCount >= nDeclared);
}

// "takes 3 arguments", "takes 1 or 2 arguments", "takes 1 or more arguments".
std::string sAcceptedCounts(const STFunctionInfo& stFunction) {
    std::set<size_t> setExact;
    size_t nVariadicFrom = SIZE_MAX;
    for (const STOverloadInfo& stOverload : stFunction.tabOverloads) {
        if (stOverload.bVariadic)
            nVariadicFrom = std::min(nVariadicFrom, stOverload.tabArguments.size());
        else
            setExact.insert(stOverload.tabArguments.size());
    }
    std::vector<std::string> tabParts;
    for (size_t nCount : setExact)
        if (nCount < nVariadicFrom) tabParts.push_back(std::to_string(nCount));
    if (nVariadicFrom != SIZE_MAX) tabParts.push_back(std::to_string(nVariadicFrom) + " or more");
    std::string sOut = "takes ";
    for (size_t n = 0; n < tabParts.size(); ++n) {
        if (n > 0) sOut += n + 1 == tabParts.size() ? " or " : ", ";
        sOut += tabParts[n];
    }
    if (tabParts.empty()) sOut += "no call";
    const bool bSingular = tabParts.size() == 1 && tabParts[0] == "1";
    return sOut + (bSingular ? " argument" : " arguments");
}

class CResolver {
public:
    explicit CResolver(const IScriptHost* piHost) : m_piHost(piHost) {}

    bool bRun(std::vector<STStatement>* ptabStatements, STScriptError* pstError) {
        for (STStatement& stStatement : *ptabStatements) {
            if (stStatement.eKind == EStatementKind::Remark) continue;
            if (stStatement.eKind == EStatementKind::Procedure) {
                if (!bResolveProcedure(&stStatement, pstError)) return false;
                continue;
            }
            if (!bResolve(&stStatement.stExpression, pstError)) return false;
            if (stStatement.eKind == EStatementKind::Assignment) {
                if (m_setVariables.count(stStatement.sTarget) == 0 &&
                    m_piHost->pstFindConstant(stStatement.sTarget) != nullptr)
                    return bFail(stStatement.nLine, stStatement.nColumn,
                                 stStatement.sTarget + " is a constant of the library and cannot be assigned",
                                 pstError);
                m_setVariables.insert(stStatement.sTarget);
            }
        }
        return true;
    }

private:
    bool bResolveProcedure(STStatement* pstStatement, STScriptError* pstError) {
        const std::string& sName = pstStatement->sTarget;
        if (sName == gszRecorderName || m_setProcedures.count(sName) != 0)
            return bFail(pstStatement->nLine, pstStatement->nColumn, "procedure " + sName + " is already defined",
                         pstError);
        if (sName == gszGaugeName)
            return bFail(pstStatement->nLine, pstStatement->nColumn,
                         sName + " is the machine's gauge and cannot name a procedure", pstError);
        if (m_piHost->pstFindFunction(sName) != nullptr || m_piHost->pstFindConstant(sName) != nullptr)
            return bFail(pstStatement->nLine, pstStatement->nColumn,
                         sName + " is a name of the library and cannot name a procedure", pstError);
        // The body sees its parameters and nothing of the script's variables: it may run at any
        // point of a walk, long after the line that defined it.
        std::set<std::string, std::less<>> setScript;
        setScript.swap(m_setVariables);
        m_setVariables.insert(pstStatement->tabParameters.begin(), pstStatement->tabParameters.end());
        // Defined before its body is resolved, so the body may name it (a walk inside a walk).
        m_setProcedures.insert(sName);
        const bool bOk = bResolve(&pstStatement->stExpression, pstError);
        m_setVariables.swap(setScript);
        return bOk;
    }

    bool bResolve(STExpression* pstExpression, STScriptError* pstError) {
        switch (pstExpression->eKind) {
        case EExpressionKind::Literal:
        case EExpressionKind::Variable: return true;
        case EExpressionKind::Name: return bResolveName(pstExpression, pstError);
        case EExpressionKind::Call: return bResolveCall(pstExpression, pstError);
        case EExpressionKind::Operator: return bResolveOperator(pstExpression, pstError);
        }
        return true;
    }

    // Written values are combined now, so that "foLecture + foUnicode" reaches the call as one
    // number and a division by zero in the text stops the script before anything runs.
    bool bResolveOperator(STExpression* pstOperator, STScriptError* pstError) {
        bool bAllLiterals = true;
        for (STExpression& stOperand : pstOperator->tabArguments) {
            if (!bResolve(&stOperand, pstError)) return false;
            bAllLiterals = bAllLiterals && stOperand.eKind == EExpressionKind::Literal;
        }
        if (!bAllLiterals) return true;
        const std::vector<STExpression>& tab = pstOperator->tabArguments;
        CValue clResult;
        std::string sMessage;
        if (!bApplyOperator(pstOperator->sName, tab[0].clValue, tab.size() > 1 ? &tab[1].clValue : nullptr, &clResult,
                            &sMessage))
            return bFail(pstOperator->nLine, pstOperator->nColumn, sMessage, pstError);
        pstOperator->eKind = EExpressionKind::Literal;
        pstOperator->clValue = std::move(clResult);
        pstOperator->tabArguments.clear();
        return true;
    }

    bool bResolveName(STExpression* pstExpression, STScriptError* pstError) {
        if (m_setVariables.count(pstExpression->sName) != 0) {
            pstExpression->eKind = EExpressionKind::Variable;
            return true;
        }
        // The recorder, a procedure and the machine's gauge are handed to a function by name.
        if (pstExpression->sName == gszRecorderName || pstExpression->sName == gszGaugeName ||
            m_setProcedures.count(pstExpression->sName) != 0) {
            pstExpression->eKind = EExpressionKind::Literal;
            pstExpression->clValue = CValue::Text(sWideFromBytes(pstExpression->sName));
            return true;
        }
        if (const STConstantInfo* pstConstant = m_piHost->pstFindConstant(pstExpression->sName)) {
            pstExpression->eKind = EExpressionKind::Literal;
            pstExpression->clValue = pstConstant->clValue;
            return true;
        }
        if (m_piHost->pstFindFunction(pstExpression->sName) != nullptr)
            return bFail(pstExpression->nLine, pstExpression->nColumn,
                         pstExpression->sName + " is a function: call it with ()", pstError);
        return bFail(pstExpression->nLine, pstExpression->nColumn, "unknown name '" + pstExpression->sName + "'",
                     pstError);
    }

    bool bResolveCall(STExpression* pstCall, STScriptError* pstError) {
        const STFunctionInfo* pstFunction = m_piHost->pstFindFunction(pstCall->sName);
        if (pstFunction == nullptr)
            return bFail(pstCall->nLine, pstCall->nColumn, "unknown function '" + pstCall->sName + "'", pstError);
        const size_t nCount = pstCall->tabArguments.size();
        bool bAnyFits = false;
        pstCall->tabWriteBack.assign(nCount, false);
        for (const STOverloadInfo& stOverload : pstFunction->tabOverloads) {
            if (!bFits(stOverload, nCount)) continue;
            bAnyFits = true;
            for (size_t n = 0; n < nCount; ++n) {
                // Arguments past the declared ones repeat the last, variadic, one.
                const uint32_t dwWord = n < stOverload.tabArguments.size() ? stOverload.tabArguments[n]
                                                                           : stOverload.tabArguments.back();
                if ((dwWord & ovtype::FLAG_BY_REFERENCE) != 0) pstCall->tabWriteBack[n] = true;
            }
        }
        if (!bAnyFits)
            return bFail(pstCall->nLine, pstCall->nColumn,
                         pstCall->sName + " " + sAcceptedCounts(*pstFunction) + ", " + std::to_string(nCount) +
                             " given",
                         pstError);
        for (size_t n = 0; n < nCount; ++n) {
            STExpression& stArgument = pstCall->tabArguments[n];
            // A fresh name handed to a by-reference argument declares a variable that receives the
            // function's answer, as an output parameter does in the language.
            if (stArgument.eKind == EExpressionKind::Name && pstCall->tabWriteBack[n] &&
                m_setVariables.count(stArgument.sName) == 0 && m_piHost->pstFindConstant(stArgument.sName) == nullptr) {
                stArgument.eKind = EExpressionKind::Variable;
                m_setVariables.insert(stArgument.sName);
                continue;
            }
            if (!bResolve(&stArgument, pstError)) return false;
        }
        return true;
    }

    const IScriptHost* m_piHost;
    std::set<std::string, std::less<>> m_setVariables;
    std::set<std::string, std::less<>> m_setProcedures;
};

}  // namespace

std::string sFormatScriptError(std::string_view sOrigin, const STScriptError& stError) {
    std::string sOut(sOrigin);
    if (stError.nLine > 0) sOut += ":" + std::to_string(stError.nLine) + ":" + std::to_string(stError.nColumn);
    return sOut + ": " + stError.sMessage;
}

bool bTokenize(std::string_view sSource, std::vector<STToken>* ptabTokens, STScriptError* pstError) {
    return CTokenizer(sSource).bRun(ptabTokens, pstError);
}

bool bParseScript(std::string_view sSource, std::vector<STStatement>* ptabStatements, STScriptError* pstError) {
    std::vector<STToken> tabTokens;
    if (!bTokenize(sSource, &tabTokens, pstError)) return false;
    return CParser(sSource, tabTokens).bRun(ptabStatements, pstError);
}

bool bResolveScript(std::vector<STStatement>* ptabStatements, const IScriptHost& iHost, STScriptError* pstError) {
    return CResolver(&iHost).bRun(ptabStatements, pstError);
}

CScriptRunner::CScriptRunner(IScriptHost* piHost) : m_piHost(piHost) {
    if (m_piHost != nullptr) m_piHost->SetProcedures(this);
}

CScriptRunner::~CScriptRunner() {
    if (m_piHost != nullptr) m_piHost->SetProcedures(nullptr);
}

bool CScriptRunner::bRun(const STStatement& stStatement, STStatementResult* pstResult, STScriptError* pstError) {
    std::lock_guard<std::recursive_mutex> verrou(m_mutexEtat);
    *pstResult = STStatementResult();
    if (stStatement.eKind == EStatementKind::Remark) return true;
    if (stStatement.eKind == EStatementKind::Procedure) {
        m_mapProcedures.insert_or_assign(sWideFromBytes(stStatement.sTarget), stStatement);
        return true;
    }
    m_pstResultEnCours = pstResult;
    m_bEchecProcedure = false;
    const bool bOk = bEvaluate(stStatement.stExpression, &pstResult->clValue, pstResult, pstError);
    m_pstResultEnCours = nullptr;
    if (!bOk) return false;
    // A procedure whose body could not run is the script's mistake, as a call that cannot be made.
    if (m_bEchecProcedure) {
        if (pstError != nullptr) *pstError = m_stEchecProcedure;
        return false;
    }
    if (stStatement.eKind == EStatementKind::Assignment) m_mapVariables[stStatement.sTarget] = pstResult->clValue;
    return true;
}

int CScriptRunner::nTrouveProcedure(std::wstring_view sNom) {
    std::lock_guard<std::recursive_mutex> verrou(m_mutexEtat);
    if (sNom == L"Trace") return 0;
    auto it = m_mapProcedures.find(sNom);
    return it == m_mapProcedures.end() ? -1 : static_cast<int>(it->second.tabParameters.size());
}

// Arguments past the declared parameters are dropped and missing ones are Null: the library
// decides what it pushes, and a procedure takes what it names.
bool CScriptRunner::bExecuteProcedure(std::wstring_view sNom, const std::vector<CValue>& tabArguments,
                                      CValue* pclRetour, std::string* psErreur) {
    std::lock_guard<std::recursive_mutex> verrou(m_mutexEtat);
    try {
        if (sNom == L"Trace") {
            m_tabTrace.push_back(tabArguments);
            if (m_pfnTrace != nullptr) m_pfnTrace(tabArguments);
            *pclRetour = CValue::Bool(true);
            return true;
        }
        auto it = m_mapProcedures.find(sNom);
        if (it == m_mapProcedures.end()) {
            *psErreur = "no procedure " + sUtf8(sNom);
            return false;
        }
        const STStatement& stProcedure = it->second;
        if (m_nProfondeur >= gnMaxProcedureDepth) {
            *psErreur = "procedures call each other too deeply";
            return bNoteEchec(stProcedure, *psErreur);
        }
        std::map<std::string, CValue, std::less<>> mapParametres;
        for (size_t n = 0; n < stProcedure.tabParameters.size(); ++n)
            mapParametres[stProcedure.tabParameters[n]] = n < tabArguments.size() ? tabArguments[n] : CValue::Null();
        mapParametres.swap(m_mapVariables);
        ++m_nProfondeur;
        STStatementResult stLocal;
        STStatementResult* pstResult = m_pstResultEnCours != nullptr ? m_pstResultEnCours : &stLocal;
        STScriptError stError;
        const bool bOk = bEvaluate(stProcedure.stExpression, pclRetour, pstResult, &stError);
        --m_nProfondeur;
        mapParametres.swap(m_mapVariables);
        if (!bOk) {
            *psErreur = "in procedure " + stProcedure.sTarget + ": " + stError.sMessage;
            return bNoteEchec(stProcedure, *psErreur, &stError);
        }
        return true;
    } catch (const std::exception& e) {
        *psErreur = e.what();
        return false;
    }
}

bool CScriptRunner::bNoteEchec(const STStatement& stProcedure, const std::string& sMessage, const STScriptError* pstAt) {
    if (!m_bEchecProcedure) {
        m_bEchecProcedure = true;
        m_stEchecProcedure.nLine = pstAt != nullptr && pstAt->nLine > 0 ? pstAt->nLine : stProcedure.nLine;
        m_stEchecProcedure.nColumn = pstAt != nullptr && pstAt->nLine > 0 ? pstAt->nColumn : stProcedure.nColumn;
        m_stEchecProcedure.sMessage = sMessage;
    }
    return false;
}

const CValue* CScriptRunner::pclVariable(std::string_view sName) const {
    auto it = m_mapVariables.find(sName);
    return it == m_mapVariables.end() ? nullptr : &it->second;
}

bool CScriptRunner::bEvaluate(const STExpression& stExpression, CValue* pclValue, STStatementResult* pstResult,
                              STScriptError* pstError) {
    switch (stExpression.eKind) {
    case EExpressionKind::Literal: *pclValue = stExpression.clValue; return true;
    case EExpressionKind::Variable: {
        // A variable declared by a by-reference argument holds Null until a call writes it.
        const CValue* pclVariableValue = pclVariable(stExpression.sName);
        *pclValue = pclVariableValue != nullptr ? *pclVariableValue : CValue::Null();
        return true;
    }
    case EExpressionKind::Name:
        return bFail(stExpression.nLine, stExpression.nColumn, "unresolved name '" + stExpression.sName + "'",
                     pstError);
    case EExpressionKind::Operator: {
        CValue clLeft;
        CValue clRight;
        if (!bEvaluate(stExpression.tabArguments[0], &clLeft, pstResult, pstError)) return false;
        const bool bBinary = stExpression.tabArguments.size() > 1;
        if (bBinary && !bEvaluate(stExpression.tabArguments[1], &clRight, pstResult, pstError)) return false;
        std::string sMessage;
        if (!bApplyOperator(stExpression.sName, clLeft, bBinary ? &clRight : nullptr, pclValue, &sMessage))
            return bFail(stExpression.nLine, stExpression.nColumn, sMessage, pstError);
        return true;
    }
    case EExpressionKind::Call: break;
    }
    std::vector<CValue> tabArguments(stExpression.tabArguments.size());
    for (size_t n = 0; n < tabArguments.size(); ++n)
        if (!bEvaluate(stExpression.tabArguments[n], &tabArguments[n], pstResult, pstError)) return false;
    STCallOutcome stOutcome;
    std::string sMessage;
    // Every path into bEvaluate holds the state exactly once; the call runs without it, and takes
    // it back on every way out.
    bool bAppele;
    {
        struct STSansEtat {
            std::recursive_mutex& m;
            explicit STSansEtat(std::recursive_mutex& mutex) : m(mutex) { m.unlock(); }
            ~STSansEtat() { m.lock(); }
        } stSansEtat(m_mutexEtat);
        bAppele = m_piHost->bCall(stExpression.sName, tabArguments, &stOutcome, &sMessage);
    }
    if (!bAppele) {
        if (sMessage.empty()) sMessage = "the call of " + stExpression.sName + " could not be made";
        return bFail(stExpression.nLine, stExpression.nColumn, sMessage, pstError);
    }
    if (!stOutcome.sNote.empty()) {
        if (!pstResult->sNote.empty()) pstResult->sNote += "; ";
        pstResult->sNote += stExpression.sName + ": " + stOutcome.sNote;
    }
    if (stOutcome.bError && !pstResult->bError) {
        pstResult->bError = true;
        pstResult->stError = stOutcome.stError;
    }
    for (size_t n = 0; n < tabArguments.size() && n < stExpression.tabWriteBack.size(); ++n) {
        const STExpression& stArgument = stExpression.tabArguments[n];
        if (stExpression.tabWriteBack[n] && stArgument.eKind == EExpressionKind::Variable)
            m_mapVariables[stArgument.sName] = std::move(tabArguments[n]);
    }
    *pclValue = std::move(stOutcome.clResult);
    return true;
}

}  // namespace ovhost
