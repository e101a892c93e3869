// Build-time generator: reads the catalogue (functions, constants, variables, class, type
// references, errors, other messages) and writes the descriptor tables, the thunks, the method
// declarations of CComposanteStandard, the names block, the error table, the message block, and
// the readable views of the functions: reference.md and the header of one-line descriptions.
//
//   gencatalogue <catalogue dir> <errors.cat> <messages.cat> <output dir>
//
// Any malformed line stops the build with "file:line: message".
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstdint>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/data_compressor.h"
#include "component/interfaces/type_codes.h"

namespace {

struct STPosition {
    std::string sFile;
    int nLine = 0;
};

[[noreturn]] void Fail(const STPosition& st, const std::string& sMessage) {
    std::fprintf(stderr, "%s:%d: %s\n", st.sFile.c_str(), st.nLine, sMessage.c_str());
    std::exit(1);
}

struct STOverload {
    uint32_t dwResult = 0;
    std::vector<uint32_t> tabArgs;
    bool bVariadic = false, bBit8 = false, bBit25 = false, bNoBody = false;
    std::string sCall;  // empty: null thunk
    STPosition stPos;
};

struct STFunction {
    int nRow = -1;
    std::string sName;
    uint32_t dwAvailability = 0;
    bool bStar = false;
    int nAliasOf = -1;
    std::vector<STOverload> tabOverloads;
    STPosition stPos;
    std::u32string sDoc;  // one line on what the function does; empty until its doc line is read
    std::string sFamily;  // the comment block that heads its group
};

struct STConstant {
    std::string sName;
    uint64_t nStable = 0;
    std::string sKind;
    int64_t nValue = 0;
    std::u32string sText;
    uint32_t dwAvailability = 0;
};

struct STVariable {
    std::string sName;
    int nIndex = 0;
    uint32_t nType = 0;
    uint32_t dwAvailability = 0;
};

struct STProperty {
    std::string sName;
    uint32_t dwIdent = 0;
    uint32_t nType = 0;
    std::string sAccess;
};

struct STError {
    uint32_t nNumber = 0, nResource = 0, nDetail = 0, nLevel = 0;
    std::u32string sMessage;
};

// ---------------------------------------------------------------- lexing helpers

std::string Trim(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return {};
    size_t e = s.find_last_not_of(" \t\r");
    return s.substr(b, e - b + 1);
}

uint64_t nParseNumber(const STPosition& st, const std::string& s) {
    if (s.empty()) Fail(st, "number expected");
    char* pszEnd = nullptr;
    bool bNegative = s[0] == '-';
    uint64_t n = std::strtoull(s.c_str() + (bNegative ? 1 : 0), &pszEnd, 0);
    if (*pszEnd != 0) Fail(st, "bad number '" + s + "'");
    return bNegative ? static_cast<uint64_t>(-static_cast<int64_t>(n)) : n;
}

void AppendUtf32(std::u32string& s, uint32_t c) { s.push_back(static_cast<char32_t>(c)); }

// A double-quoted text with C escapes; UTF-8 in the file becomes UTF-32.
std::u32string sParseQuoted(const STPosition& st, const std::string& sLine, size_t& nPos) {
    if (nPos >= sLine.size() || sLine[nPos] != '"') Fail(st, "text in double quotes expected");
    ++nPos;
    std::u32string sOut;
    while (true) {
        if (nPos >= sLine.size()) Fail(st, "unterminated text");
        unsigned char c = static_cast<unsigned char>(sLine[nPos]);
        if (c == '"') { ++nPos; return sOut; }
        if (c == '\\') {
            if (++nPos >= sLine.size()) Fail(st, "unterminated escape");
            char e = sLine[nPos++];
            switch (e) {
            case 'n': AppendUtf32(sOut, '\n'); break;
            case 'r': AppendUtf32(sOut, '\r'); break;
            case 't': AppendUtf32(sOut, '\t'); break;
            case '\\': AppendUtf32(sOut, '\\'); break;
            case '"': AppendUtf32(sOut, '"'); break;
            case '0': AppendUtf32(sOut, 0); break;
            case 'x': case 'u': {
                size_t nDigits = e == 'x' ? 2 : 4;
                if (nPos + nDigits > sLine.size()) Fail(st, "short escape");
                AppendUtf32(sOut, static_cast<uint32_t>(std::stoul(sLine.substr(nPos, nDigits), nullptr, 16)));
                nPos += nDigits;
                break;
            }
            default: Fail(st, std::string("unknown escape \\") + e);
            }
            continue;
        }
        // UTF-8 decode
        uint32_t cp = c;
        int nMore = 0;
        if (c >= 0xf0) { cp = c & 0x07; nMore = 3; }
        else if (c >= 0xe0) { cp = c & 0x0f; nMore = 2; }
        else if (c >= 0xc0) { cp = c & 0x1f; nMore = 1; }
        ++nPos;
        for (int i = 0; i < nMore; ++i) {
            if (nPos >= sLine.size()) Fail(st, "bad UTF-8");
            cp = (cp << 6) | (static_cast<unsigned char>(sLine[nPos++]) & 0x3f);
        }
        AppendUtf32(sOut, cp);
    }
}

std::vector<std::string> Split(const std::string& s) {
    std::vector<std::string> tab;
    std::istringstream in(s);
    std::string w;
    while (in >> w) tab.push_back(w);
    return tab;
}

bool bKnownCode(uint32_t dwWord) { return ovtype::pszTypeName(dwWord & ovtype::CODE_MASK) != nullptr; }

// f gets each line that holds an entry; fOther each blank or comment line, trimmed.
template <typename F, typename G>
void ForEachLine(const std::string& sPath, F f, G fOther) {
    std::ifstream in(sPath);
    if (!in) {
        std::fprintf(stderr, "%s: cannot open\n", sPath.c_str());
        std::exit(1);
    }
    std::string sLine;
    STPosition st{sPath, 0};
    while (std::getline(in, sLine)) {
        ++st.nLine;
        std::string s = Trim(sLine);
        if (s.empty() || s[0] == '#') fOther(s);
        else f(st, s);
    }
}

template <typename F>
void ForEachLine(const std::string& sPath, F f) {
    ForEachLine(sPath, f, [](const std::string&) {});
}

// ---------------------------------------------------------------- reading the catalogue

// A comment block directly above an fn line (no blank between) names the family of the rows that
// follow, up to the next such block.
std::vector<STFunction> ReadFunctions(const std::string& sPath) {
    std::vector<STFunction> tab;
    std::string sComment, sFamily;
    auto OnOther = [&](const std::string& s) {
        if (s.empty()) { sComment.clear(); return; }
        std::string sText = Trim(s.substr(1));
        if (!sText.empty()) sComment += (sComment.empty() ? "" : " ") + sText;
    };
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        if (s.rfind("fn ", 0) != 0 && s.rfind("doc ", 0) != 0) sComment.clear();
        if (s.rfind("doc ", 0) == 0) {
            if (tab.empty() || !tab.back().tabOverloads.empty()) Fail(st, "a doc line goes directly under its fn line");
            if (!tab.back().sDoc.empty()) Fail(st, "a second doc line");
            size_t nPos = 3;
            while (nPos < s.size() && s[nPos] == ' ') ++nPos;
            std::u32string sDoc = sParseQuoted(st, s, nPos);
            if (!Trim(s.substr(nPos)).empty()) Fail(st, "text after the closing quote");
            if (sDoc.empty()) Fail(st, "an empty doc line");
            for (char32_t c : sDoc)
                if (c < 0x20 || c == 0x7f) Fail(st, "a doc line is one line of printable text");
            tab.back().sDoc = sDoc;
            return;
        }
        if (s.rfind("fn ", 0) == 0) {
            if (!sComment.empty()) sFamily = sComment;
            sComment.clear();
            std::vector<std::string> w = Split(s);
            if (w.size() < 4) Fail(st, "fn <row> <Name> <availability> [*] [alias=<row>]");
            STFunction f;
            f.stPos = st;
            f.nRow = static_cast<int>(nParseNumber(st, w[1]));
            f.sName = w[2];
            f.dwAvailability = static_cast<uint32_t>(nParseNumber(st, w[3]));
            for (size_t i = 4; i < w.size(); ++i) {
                if (w[i] == "*") f.bStar = true;
                else if (w[i].rfind("alias=", 0) == 0) f.nAliasOf = static_cast<int>(nParseNumber(st, w[i].substr(6)));
                else Fail(st, "unknown word '" + w[i] + "'");
            }
            if (f.nRow != static_cast<int>(tab.size())) Fail(st, "rows must run from 0 without a gap; expected " + std::to_string(tab.size()));
            f.sFamily = sFamily;
            tab.push_back(f);
            return;
        }
        if (s.rfind("ov ", 0) != 0) Fail(st, "fn, doc or ov expected");
        if (tab.empty()) Fail(st, "ov before any fn");
        STOverload o;
        o.stPos = st;
        std::string sRest = s.substr(3);
        size_t nEq = sRest.find('=');
        if (nEq != std::string::npos) {
            o.sCall = Trim(sRest.substr(nEq + 1));
            sRest = sRest.substr(0, nEq);
        }
        size_t nOpen = sRest.find('('), nClose = sRest.find(')');
        if (nOpen == std::string::npos || nClose == std::string::npos || nClose < nOpen) Fail(st, "ov <result> (<args>) ...");
        o.dwResult = static_cast<uint32_t>(nParseNumber(st, Trim(sRest.substr(0, nOpen))));
        std::string sArgs = sRest.substr(nOpen + 1, nClose - nOpen - 1);
        std::stringstream in(sArgs);
        std::string sArg;
        while (std::getline(in, sArg, ',')) {
            sArg = Trim(sArg);
            if (sArg.empty()) continue;
            o.tabArgs.push_back(static_cast<uint32_t>(nParseNumber(st, sArg)));
        }
        for (const std::string& w : Split(sRest.substr(nClose + 1))) {
            if (w == "variadic") o.bVariadic = true;
            else if (w == "bit8") o.bBit8 = true;
            else if (w == "bit25") o.bBit25 = true;
            else if (w == "nobody") o.bNoBody = true;
            else Fail(st, "unknown word '" + w + "'");
        }
        if (!bKnownCode(o.dwResult)) Fail(st, "unknown result type code");
        for (uint32_t a : o.tabArgs)
            if (!bKnownCode(a)) Fail(st, "unknown argument type code");
        if (o.tabArgs.size() > ovtype::ARGS_COUNT_MASK) Fail(st, "too many arguments");
        if (tab.back().bStar && !o.sCall.empty()) Fail(st, "a function with no body here has no method");
        if (o.bNoBody && !o.sCall.empty()) Fail(st, "an overload with no body has no method");
        tab.back().tabOverloads.push_back(o);
    }, OnOther);
    for (const STFunction& f : tab) {
        if (f.nAliasOf >= f.nRow) Fail(f.stPos, "an alias names an earlier row");
        size_t n = f.tabOverloads.size();
        if (f.nAliasOf < 0 && (n < 1 || n > 14)) Fail(f.stPos, "1 to 14 overloads");
        if (f.sDoc.empty()) Fail(f.stPos, "a doc line must follow the fn line: doc \"What the function does\"");
    }
    return tab;
}

std::vector<STConstant> ReadConstants(const std::string& sPath) {
    std::vector<STConstant> tab;
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        std::vector<std::string> w = Split(s);
        if (w.size() < 6 || w[0] != "const") Fail(st, "const <Name> <stable number> <kind> <value> <availability>");
        STConstant c;
        c.sName = w[1];
        c.nStable = nParseNumber(st, w[2]);
        c.sKind = w[3];
        if (c.sKind == "text") {
            size_t nPos = s.find('"');
            if (nPos == std::string::npos) Fail(st, "text value expected");
            c.sText = sParseQuoted(st, s, nPos);
            c.dwAvailability = static_cast<uint32_t>(nParseNumber(st, Trim(s.substr(nPos))));
        } else if (c.sKind == "int" || c.sKind == "zero") {
            c.nValue = static_cast<int64_t>(nParseNumber(st, w[4]));
            if (c.sKind == "zero" && c.nValue != 0) Fail(st, "a zero constant has the value 0");
            c.dwAvailability = static_cast<uint32_t>(nParseNumber(st, w[5]));
        } else {
            Fail(st, "kind is int, text or zero");
        }
        tab.push_back(c);
    });
    return tab;
}

std::vector<STVariable> ReadVariables(const std::string& sPath) {
    std::vector<STVariable> tab;
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        std::vector<std::string> w = Split(s);
        if (w.size() != 5 || w[0] != "var") Fail(st, "var <Name> <index> <type code> <availability>");
        tab.push_back({w[1], static_cast<int>(nParseNumber(st, w[2])), static_cast<uint32_t>(nParseNumber(st, w[3])),
                       static_cast<uint32_t>(nParseNumber(st, w[4]))});
    });
    return tab;
}

void ReadClass(const std::string& sPath, std::string& sClass, int& nTypeRef, std::vector<STProperty>& tabProps) {
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        std::vector<std::string> w = Split(s);
        if (w.size() == 3 && w[0] == "class") {
            sClass = w[1];
            nTypeRef = static_cast<int>(nParseNumber(st, w[2]));
        } else if (w.size() == 5 && w[0] == "prop") {
            if (w[4] != "get" && w[4] != "set" && w[4] != "getset" && w[4] != "getforce") Fail(st, "get, set, getset or getforce");
            tabProps.push_back({w[1], static_cast<uint32_t>(nParseNumber(st, w[2])), static_cast<uint32_t>(nParseNumber(st, w[3])), w[4]});
        } else {
            Fail(st, "class <Name> <typeref> or prop <Name> <ident> <type> <access>");
        }
    });
}

std::vector<std::string> ReadTypeRefs(const std::string& sPath) {
    std::vector<std::string> tab;
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        if (s.rfind("typeref ", 0) != 0) Fail(st, "typeref \"<text>\"");
        size_t nPos = s.find('"');
        if (nPos == std::string::npos) Fail(st, "text expected");
        std::u32string u = sParseQuoted(st, s, nPos);
        std::string a;
        for (char32_t c : u) {
            if (c > 0x7e || c < 0x20) Fail(st, "type references are printable ASCII");
            a.push_back(static_cast<char>(c));
        }
        tab.push_back(a);
    });
    return tab;
}

std::vector<STError> ReadErrors(const std::string& sPath) {
    std::vector<STError> tab;
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        size_t nQuote = s.find('"');
        if (nQuote == std::string::npos) Fail(st, "<number> <resource> <detail> <level> \"<message>\"");
        std::vector<std::string> w = Split(s.substr(0, nQuote));
        if (w.size() != 4) Fail(st, "<number> <resource> <detail> <level> \"<message>\"");
        STError e;
        e.nNumber = static_cast<uint32_t>(nParseNumber(st, w[0]));
        e.nResource = static_cast<uint32_t>(nParseNumber(st, w[1]));
        e.nDetail = static_cast<uint32_t>(nParseNumber(st, w[2]));
        e.nLevel = static_cast<uint32_t>(nParseNumber(st, w[3]));
        e.sMessage = sParseQuoted(st, s, nQuote);
        if (e.nResource <= 257 || e.nResource >= 65535) Fail(st, "resource ids lie between 258 and 65534");
        tab.push_back(e);
    });
    return tab;
}

// The texts of the block that are not error messages: "<resource id> \"<text>\"" per line.
std::vector<std::pair<uint32_t, std::u32string>> ReadMessages(const std::string& sPath) {
    std::vector<std::pair<uint32_t, std::u32string>> tab;
    ForEachLine(sPath, [&](const STPosition& st, const std::string& s) {
        size_t nQuote = s.find('"');
        if (nQuote == std::string::npos) Fail(st, "<resource id> \"<text>\"");
        std::vector<std::string> w = Split(s.substr(0, nQuote));
        if (w.size() != 1) Fail(st, "<resource id> \"<text>\"");
        uint32_t nId = static_cast<uint32_t>(nParseNumber(st, w[0]));
        if (nId <= 257 || nId >= 65535) Fail(st, "resource ids lie between 258 and 65534");
        std::u32string sText = sParseQuoted(st, s, nQuote);
        if (!Trim(s.substr(nQuote)).empty()) Fail(st, "text after the closing quote");
        tab.emplace_back(nId, sText);
    });
    return tab;
}

// ---------------------------------------------------------------- writing C++

std::string Hex(uint64_t n) {
    char sz[32];
    std::snprintf(sz, sizeof sz, "0x%llx", static_cast<unsigned long long>(n));
    return sz;
}

std::string WideLiteral(const std::u32string& s) {
    std::string out = "L\"";
    for (char32_t c : s) {
        if (c == '"' || c == '\\') { out += '\\'; out += static_cast<char>(c); }
        else if (c >= 0x20 && c < 0x7f) out += static_cast<char>(c);
        else {
            char sz[16];
            std::snprintf(sz, sizeof sz, "\\U%08x", static_cast<unsigned>(c));
            out += sz;
        }
    }
    return out + "\"";
}

void AppendUtf8(std::string& s, char32_t c) {
    if (c < 0x80) s += static_cast<char>(c);
    else if (c < 0x800) { s += static_cast<char>(0xc0 | (c >> 6)); s += static_cast<char>(0x80 | (c & 0x3f)); }
    else if (c < 0x10000) { s += static_cast<char>(0xe0 | (c >> 12)); s += static_cast<char>(0x80 | ((c >> 6) & 0x3f)); s += static_cast<char>(0x80 | (c & 0x3f)); }
    else { s += static_cast<char>(0xf0 | (c >> 18)); s += static_cast<char>(0x80 | ((c >> 12) & 0x3f)); s += static_cast<char>(0x80 | ((c >> 6) & 0x3f)); s += static_cast<char>(0x80 | (c & 0x3f)); }
}

void WriteBytes(std::ostream& out, const std::vector<uint8_t>& tab) {
    for (size_t i = 0; i < tab.size(); ++i) {
        out << static_cast<unsigned>(tab[i]) << ',';
        if (i % 24 == 23) out << '\n';
    }
}

void PutLE(std::vector<uint8_t>& tab, uint64_t n, int nBytes) {
    for (int i = 0; i < nBytes; ++i) tab.push_back(static_cast<uint8_t>(n >> (8 * i)));
}

// Thunk names must be unique even where two rows carry the same language name.
std::string ThunkBase(const STFunction& f, const std::map<std::string, int>& mapFirstRow) {
    auto it = mapFirstRow.find(f.sName);
    if (it != mapFirstRow.end() && it->second != f.nRow) return f.sName + "_r" + std::to_string(f.nRow);
    return f.sName;
}

std::string ArgType(uint32_t dwWord) {
    uint32_t dwKey = dwWord & (ovtype::CODE_MASK | ovtype::FLAG_BY_REFERENCE);
    return "ovthunk::TArg<" + Hex(dwKey) + ">";
}

// The C++ call a thunk makes, with $n replaced by the n-th argument.
std::string BuildCall(const STOverload& o, bool& bForward, int& nForward, std::string& sMethod, bool& bPlain) {
    bForward = false;
    bPlain = false;
    const STPosition& st = o.stPos;
    if (o.sCall.rfind("forward", 0) == 0) {
        bForward = true;
        nForward = static_cast<int>(nParseNumber(st, Trim(o.sCall.substr(7))));
        return {};
    }
    size_t nOpen = o.sCall.find('(');
    sMethod = Trim(o.sCall.substr(0, nOpen));
    for (char c : sMethod)
        if (!(isalnum(static_cast<unsigned char>(c)) || c == '_')) Fail(st, "bad method name '" + sMethod + "'");
    std::string sArgs;
    if (nOpen == std::string::npos) {
        bPlain = true;
        for (size_t i = 0; i < o.tabArgs.size(); ++i) {
            if (i) sArgs += ", ";
            sArgs += ArgType(o.tabArgs[i]) + "::Lit(ppArguments[" + std::to_string(i) + "])";
        }
    } else {
        size_t nClose = o.sCall.rfind(')');
        if (nClose == std::string::npos || nClose < nOpen) Fail(st, "unbalanced call");
        std::string sIn = o.sCall.substr(nOpen + 1, nClose - nOpen - 1);
        for (size_t i = 0; i < sIn.size(); ++i) {
            if (sIn[i] == '$') {
                size_t j = i + 1;
                while (j < sIn.size() && isdigit(static_cast<unsigned char>(sIn[j]))) ++j;
                if (j == i + 1) Fail(st, "$ without a number");
                size_t n = std::stoul(sIn.substr(i + 1, j - i - 1));
                if (n < 1 || n > o.tabArgs.size()) Fail(st, "$" + std::to_string(n) + " beyond the arguments");
                sArgs += ArgType(o.tabArgs[n - 1]) + "::Lit(ppArguments[" + std::to_string(n - 1) + "])";
                i = j - 1;
            } else {
                sArgs += sIn[i];
            }
        }
    }
    return "pclThis->" + sMethod + "(" + sArgs + ")";
}

// ---------------------------------------------------------------- readable views

std::string Utf8(const std::u32string& s) {
    std::string sOut;
    for (char32_t c : s) AppendUtf8(sOut, c);
    return sOut;
}

// "%41" -> "A"; anything that is not a valid escape stays as it is.
std::string PercentDecoded(const std::string& s) {
    std::string sOut;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '%' && i + 2 < s.size() && isxdigit(static_cast<unsigned char>(s[i + 1])) &&
            isxdigit(static_cast<unsigned char>(s[i + 2]))) {
            sOut += static_cast<char>(std::stoul(s.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            sOut += s[i];
        }
    }
    return sOut;
}

// The type names ovrun prints; a typed object shows the name of its type reference, which the
// table stores percent-encoded twice over.
std::string ReadableType(uint32_t dwWord, const std::vector<std::string>& tabTypeRefs) {
    std::string s = ovtype::pszTypeName(dwWord & ovtype::CODE_MASK);
    if (uint32_t n = dwWord >> ovtype::TYPEREF_SHIFT; n >= 1 && n <= tabTypeRefs.size()) {
        const std::string& sRef = tabTypeRefs[n - 1];
        s += "(" + PercentDecoded(PercentDecoded(sRef.substr(sRef.rfind(':') + 1))) + ")";
    }
    if (dwWord & ovtype::FLAG_BY_REFERENCE) s += "&";
    return s;
}

// Markdown text: the characters that would start emphasis, code, links or HTML are escaped.
std::string MarkdownText(const std::string& s) {
    std::string sOut;
    for (char c : s) {
        if (std::string_view("\\`*_[]<>|").find(c) != std::string_view::npos) sOut += '\\';
        sOut += c;
    }
    return sOut;
}

// The anchor a Markdown renderer gives a heading: lower case, blanks to hyphens, punctuation out.
std::string Anchor(const std::string& sHeading) {
    std::string sOut;
    for (unsigned char c : sHeading) {
        if (isalnum(c) || c == '-' || c == '_' || c >= 0x80) sOut += static_cast<char>(tolower(c));
        else if (c == ' ') sOut += '-';
    }
    return sOut;
}

// Why an overload cannot be called here, what it forwards to, or empty for an ordinary body.
std::string OverloadNote(const STFunction& f, const STOverload& o) {
    if (f.bStar || o.bNoBody || o.sCall.empty()) return "no body on this platform";
    if (o.sCall.rfind("forward", 0) == 0) return "forwarded to library 42, index " + Trim(o.sCall.substr(7));
    return {};
}

std::string ReferenceMarkdown(const std::vector<STFunction>& tabFunctions, const std::vector<std::string>& tabTypeRefs) {
    std::vector<std::string> tabFamilies;
    std::map<std::string, int> mapCount;
    for (const STFunction& f : tabFunctions) {
        if (mapCount[f.sFamily]++ == 0) tabFamilies.push_back(f.sFamily);
    }
    int nWithoutBody = 0;
    std::ostringstream body;
    std::string sFamily = "\x01";
    for (const STFunction& f : tabFunctions) {
        if (f.sFamily != sFamily) {
            sFamily = f.sFamily;
            body << "## " << MarkdownText(sFamily.empty() ? "Other functions" : sFamily) << "\n\n";
        }
        const STFunction& fOwner = f.nAliasOf >= 0 ? tabFunctions[static_cast<size_t>(f.nAliasOf)] : f;
        body << "### " << MarkdownText(f.sName) << "\n\n" << MarkdownText(Utf8(f.sDoc)) << "\n\n";
        if (f.nAliasOf >= 0)
            body << "A second row of `" << fOwner.sName << "` (row " << fOwner.nRow << "): the same function.\n\n";
        // Marks shared by every overload are said once, under the overloads.
        std::vector<std::string> tabNotes;
        for (const STOverload& o : fOwner.tabOverloads) {
            STFunction fRow = fOwner;
            fRow.bStar = f.bStar || fOwner.bStar;
            tabNotes.push_back(OverloadNote(fRow, o));
        }
        bool bShared = std::all_of(tabNotes.begin(), tabNotes.end(), [&](const std::string& s) { return s == tabNotes[0]; });
        for (size_t i = 0; i < fOwner.tabOverloads.size(); ++i) {
            const STOverload& o = fOwner.tabOverloads[i];
            body << "- `" << f.sName << "(";
            for (size_t a = 0; a < o.tabArgs.size(); ++a) body << (a ? ", " : "") << ReadableType(o.tabArgs[a], tabTypeRefs);
            body << (o.bVariadic ? "..." : "") << ") -> " << ReadableType(o.dwResult, tabTypeRefs) << "`";
            if (!bShared && !tabNotes[i].empty()) body << " (" << tabNotes[i] << ")";
            body << "\n";
        }
        body << "\nRow " << f.nRow << ", availability " << Hex(f.dwAvailability) << ".";
        if (bShared && !tabNotes.empty() && !tabNotes[0].empty()) {
            std::string sNote = tabNotes[0];
            sNote[0] = static_cast<char>(toupper(static_cast<unsigned char>(sNote[0])));
            body << " " << sNote << ".";
            if (tabNotes[0] == "no body on this platform") ++nWithoutBody;
        }
        body << "\n\n";
    }
    std::ostringstream out;
    out << "# Language functions\n\n"
        << "Generated from the catalogue at build time. " << tabFunctions.size() << " functions in " << tabFamilies.size()
        << " families; " << nWithoutBody << " of them have no body on this platform: the language knows them, a call is "
           "refused.\n\n"
        << "Each overload reads `Name(argument types) -> result type`, with the type names that `ovrun --describe` "
           "prints: `&` marks an argument passed by reference, `...` an argument that may repeat, a name in parentheses "
           "the type of an object. The availability word is the mask the machine tests to admit the function on a "
           "platform and in a mode.\n\n";
    for (const std::string& s : tabFamilies) {
        std::string sHeading = s.empty() ? "Other functions" : s;
        out << "- [" << MarkdownText(sHeading) << "](#" << Anchor(sHeading) << ") (" << mapCount[s] << ")\n";
    }
    out << "\n" << body.str();
    std::string sOut = out.str();
    sOut.pop_back();  // one newline at the end
    return sOut;
}

// A C string literal of UTF-8 text; octal escapes, since a hexadecimal one would swallow a
// following digit or letter.
std::string CLiteral(const std::string& s) {
    std::string sOut = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') { sOut += '\\'; sOut += static_cast<char>(c); }
        else if (c >= 0x20 && c < 0x7f) sOut += static_cast<char>(c);
        else {
            char sz[8];
            std::snprintf(sz, sizeof sz, "\\%03o", c);
            sOut += sz;
        }
    }
    return sOut + "\"";
}

// One entry per language name, sorted by byte order for a binary search. Rows that share a name
// are one function and must say the same.
std::string DocsHeader(const std::vector<STFunction>& tabFunctions) {
    std::map<std::string, const STFunction*> mapByName;
    for (const STFunction& f : tabFunctions) {
        auto [it, bNew] = mapByName.emplace(f.sName, &f);
        if (!bNew && it->second->sDoc != f.sDoc)
            Fail(f.stPos, "rows " + std::to_string(it->second->nRow) + " and " + std::to_string(f.nRow) + " of " + f.sName +
                              " carry different doc lines");
    }
    std::ostringstream out;
    out << "// Generated from the catalogue by gencatalogue. Do not edit.\n"
           "// One line on what each language function does, by name.\n"
           "#pragma once\n\n"
           "#include <algorithm>\n#include <iterator>\n#include <string_view>\n\n"
           "namespace ovcatalogue {\n\n"
           "struct STFunctionDoc {\n"
           "    const char* pszName;\n"
           "    const char* pszLine;  // UTF-8\n"
           "};\n\n"
           "// Sorted by name in byte order.\n"
           "inline constexpr STFunctionDoc gstFunctionDocs[] = {\n";
    for (const auto& [sName, pf] : mapByName) out << "    {" << CLiteral(sName) << ", " << CLiteral(Utf8(pf->sDoc)) << "},\n";
    out << "};\n\n"
           "// The line of a function, or null for a name the catalogue does not hold. Names are matched\n"
           "// exactly, case included, as the machine matches them.\n"
           "inline const char* pszFunctionDoc(std::string_view sName) {\n"
           "    const auto* pst = std::lower_bound(std::begin(gstFunctionDocs), std::end(gstFunctionDocs), sName,\n"
           "                                       [](const STFunctionDoc& st, std::string_view s) { return st.pszName < s; });\n"
           "    return pst != std::end(gstFunctionDocs) && pst->pszName == sName ? pst->pszLine : nullptr;\n"
           "}\n\n"
           "}  // namespace ovcatalogue\n";
    return out.str();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: gencatalogue <catalogue dir> <errors.cat> <messages.cat> <output dir>\n");
        return 1;
    }
    std::string sDir = argv[1], sOut = argv[4];
    std::vector<STFunction> tabFunctions = ReadFunctions(sDir + "/functions.cat");
    std::vector<STConstant> tabConstants = ReadConstants(sDir + "/constants.cat");
    std::vector<STVariable> tabVariables = ReadVariables(sDir + "/variables.cat");
    std::string sClass;
    int nClassTypeRef = 0;
    std::vector<STProperty> tabProps;
    ReadClass(sDir + "/class.cat", sClass, nClassTypeRef, tabProps);
    std::vector<std::string> tabTypeRefs = ReadTypeRefs(sDir + "/typerefs.cat");
    std::vector<STError> tabErrors = ReadErrors(argv[2]);
    std::vector<std::pair<uint32_t, std::u32string>> tabMessages = ReadMessages(argv[3]);

    // Consistency across files.
    {
        std::set<uint64_t> setStable;
        for (const STConstant& c : tabConstants)
            if (!setStable.insert(c.nStable).second) Fail({sDir + "/constants.cat", 0}, "stable number " + std::to_string(c.nStable) + " twice");
        std::set<int> setIndex;
        for (const STVariable& v : tabVariables)
            if (!setIndex.insert(v.nIndex).second) Fail({sDir + "/variables.cat", 0}, "variable index " + std::to_string(v.nIndex) + " twice");
        std::set<uint32_t> setErrors;
        for (const STError& e : tabErrors)
            if (!setErrors.insert(e.nNumber).second) Fail({argv[2], 0}, "error " + std::to_string(e.nNumber) + " twice");
        if (nClassTypeRef < 1 || nClassTypeRef > static_cast<int>(tabTypeRefs.size())) Fail({sDir + "/class.cat", 0}, "class type reference out of range");
        for (const STFunction& f : tabFunctions)
            for (const STOverload& o : f.tabOverloads) {
                auto check = [&](uint32_t w) {
                    uint32_t n = w >> ovtype::TYPEREF_SHIFT;
                    if (n > tabTypeRefs.size()) Fail(o.stPos, "type reference " + std::to_string(n) + " out of range");
                };
                check(o.dwResult);
                for (uint32_t a : o.tabArgs) check(a);
            }
    }

    // Name numbers: functions, constants, variables, the class, its properties.
    std::vector<std::string> tabNames;
    for (const STFunction& f : tabFunctions) tabNames.push_back(f.sName);
    for (const STConstant& c : tabConstants) tabNames.push_back(c.sName);
    for (const STVariable& v : tabVariables) tabNames.push_back(v.sName);
    tabNames.push_back(sClass);
    for (const STProperty& p : tabProps) tabNames.push_back(p.sName);
    const uint32_t nFirstConstant = static_cast<uint32_t>(tabFunctions.size()) + 1;
    const uint32_t nFirstVariable = nFirstConstant + static_cast<uint32_t>(tabConstants.size());
    const uint32_t nClassNumber = nFirstVariable + static_cast<uint32_t>(tabVariables.size());

    std::map<std::string, int> mapFirstRow;
    for (const STFunction& f : tabFunctions) mapFirstRow.emplace(f.sName, f.nRow);

    // ------------------------------------------------ thunks and method declarations
    std::ostringstream thunks, methods, decls;
    thunks << "// Generated from the catalogue by gencatalogue. Do not edit.\n"
              "#include \"component/thunk.h\"\n\n";
    methods << "// Generated from the catalogue by gencatalogue: the methods that thunks call.\n";
    std::set<std::string> setDeclared, setUsed;
    std::map<std::string, std::string> mapThunkOf;  // "row/overload" -> thunk symbol
    for (const STFunction& f : tabFunctions) {
        std::string sBase = ThunkBase(f, mapFirstRow);
        for (size_t i = 0; i < f.tabOverloads.size(); ++i) {
            const STOverload& o = f.tabOverloads[i];
            if (o.sCall.empty()) continue;
            bool bForward = false, bPlain = false;
            int nForward = 0;
            std::string sMethod;
            std::string sCall = BuildCall(o, bForward, nForward, sMethod, bPlain);
            std::string sThunk = "ZKL_" + sBase + "_" + std::to_string(i);
            mapThunkOf[std::to_string(f.nRow) + "/" + std::to_string(i)] = sThunk;
            decls << "int " << sThunk << "(STZKAppel*, void*, void**) noexcept;\n";
            thunks << "int " << sThunk << "(STZKAppel* pstAppel, void* pclInstance, void** ppArguments) noexcept {\n";
            if (bForward) {
                thunks << "    (void)ppArguments;\n    return ovthunk::nForward(pstAppel, static_cast<CComposanteStandard*>(pclInstance), "
                       << nForward << ");\n}\n\n";
                continue;
            }
            if (o.tabArgs.empty()) thunks << "    (void)ppArguments;\n";
            thunks << "    CComposanteStandard* pclThis = static_cast<CComposanteStandard*>(pclInstance);\n"
                   << "    return ovthunk::nCall<" << Hex(o.dwResult & ovtype::CODE_MASK) << ">(pstAppel, pclThis, [&] { return "
                   << sCall << "; });\n}\n\n";
            setUsed.insert(sMethod);
            if (bPlain) {
                std::string sDecl = "ovthunk::TResult<" + Hex(o.dwResult & ovtype::CODE_MASK) + ">::type " + sMethod + "(";
                for (size_t a = 0; a < o.tabArgs.size(); ++a) {
                    if (a) sDecl += ", ";
                    sDecl += ArgType(o.tabArgs[a]) + "::type";
                }
                sDecl += ");";
                if (setDeclared.insert(sDecl).second) methods << sDecl << "\n";
            }
        }
    }

    // ------------------------------------------------ tables
    std::ostringstream tables;
    tables << "// Generated from the catalogue by gencatalogue. Do not edit.\n"
              "#include \"component/tables.h\"\n\n"
              "namespace {\n\n";
    // Shared signatures: result word, argument words, one zero byte; identical ones stored once.
    std::vector<uint8_t> tabSignatures;
    // Keyed by the bytes as a string: g++ 12 at -O3 warns falsely inside the ordering of vectors.
    std::map<std::string, size_t> mapSignature;
    auto SignatureOffset = [&](const STOverload& o) {
        std::vector<uint8_t> sig;
        PutLE(sig, o.dwResult, 4);
        for (uint32_t a : o.tabArgs) PutLE(sig, a, 4);
        sig.push_back(0);
        const std::string sCle(sig.begin(), sig.end());
        auto it = mapSignature.find(sCle);
        if (it != mapSignature.end()) return it->second;
        size_t n = tabSignatures.size();
        tabSignatures.insert(tabSignatures.end(), sig.begin(), sig.end());
        mapSignature.emplace(sCle, n);
        return n;
    };
    std::ostringstream overloads;
    for (const STFunction& f : tabFunctions) {
        if (f.tabOverloads.empty()) continue;
        overloads << "const STZKSurcharge gst" << ThunkBase(f, mapFirstRow) << "8[] = {\n";
        for (size_t i = 0; i < f.tabOverloads.size(); ++i) {
            const STOverload& o = f.tabOverloads[i];
            auto it = mapThunkOf.find(std::to_string(f.nRow) + "/" + std::to_string(i));
            uint32_t dwArgs = static_cast<uint32_t>(o.tabArgs.size()) | (o.bVariadic ? ovtype::ARGS_VARIADIC : 0u) |
                              (o.bBit8 ? ovtype::ARGS_BIT8 : 0u);
            overloads << "    {" << (it == mapThunkOf.end() ? "nullptr" : "&" + it->second) << ", "
                      << (o.bBit25 ? "0x2000000u" : "0u") << ", 0u, gbySignatures8 + " << SignatureOffset(o) << ", "
                      << Hex(dwArgs) << "u, 0u},\n";
        }
        overloads << "};\n";
    }
    // The class constructor takes no argument and gives nothing: its signature joins the blob
    // before the blob is written.
    const size_t nConstructorSignature = SignatureOffset(STOverload{});
    tables << "alignas(8) const uint8_t gbySignatures8[] = {\n";
    WriteBytes(tables, tabSignatures);
    tables << "};\n\n" << overloads.str() << "\n";

    // Texts of text constants.
    for (size_t i = 0; i < tabConstants.size(); ++i)
        if (tabConstants[i].sKind == "text")
            tables << "const wchar_t gszConstante" << i << "[] = " << WideLiteral(tabConstants[i].sText) << ";\n";
    tables << "const wchar_t gszVide[] = L\"\";\n";
    for (size_t i = 0; i < tabTypeRefs.size(); ++i) tables << "const char gszTypeRef" << i << "[] = \"" << tabTypeRefs[i] << "\";\n";
    tables << "\n}  // namespace\n\n";

    tables << "const STZKFonction __gstTabFonction8[] = {\n";
    for (const STFunction& f : tabFunctions) {
        const STFunction& fOwner = f.tabOverloads.empty() ? tabFunctions[f.nAliasOf] : f;
        int nIndex = f.nAliasOf >= 0 ? tabFunctions[f.nAliasOf].nRow : f.nRow;
        tables << "    {{" << f.nRow + 1 << "u, 0u, 0u, 0u, " << Hex(f.dwAvailability) << "u, 1u}, " << nIndex << ", 8, "
               << fOwner.tabOverloads.size() << ", 0u, gst" << ThunkBase(fOwner, mapFirstRow) << "8},  // " << f.sName << "\n";
    }
    tables << "};\n\n";

    tables << "const STZKConstante __gstTabConstante8[] = {\n";
    for (size_t i = 0; i < tabConstants.size(); ++i) {
        const STConstant& c = tabConstants[i];
        uint32_t nType = c.sKind == "int" ? ovtype::INT : c.sKind == "text" ? ovtype::TEXT : 0u;
        tables << "    {{" << nFirstConstant + i << "u, 0u, " << c.nStable << "u, 0u, " << Hex(c.dwAvailability) << "u, 0u}, {";
        if (c.sKind == "text") tables << ".psz = gszConstante" << i;
        else tables << ".n = " << c.nValue << "LL";
        tables << "}, 8, " << Hex(nType) << ", {}},  // " << c.sName << "\n";
    }
    tables << "};\n\n";

    tables << "const STZKVariable __gstTabVariable8[] = {\n";
    for (size_t i = 0; i < tabVariables.size(); ++i) {
        const STVariable& v = tabVariables[i];
        tables << "    {{" << nFirstVariable + i << "u, 0u, 0u, 0u, " << Hex(v.dwAvailability) << "u, 0u}, " << v.nIndex << ", 8, "
               << Hex(v.nType) << ", 0u},  // " << v.sName << "\n";
    }
    tables << "};\n\n";

    tables << "const char* const __gstTabTypeRef8[] = {";
    for (size_t i = 0; i < tabTypeRefs.size(); ++i) tables << (i ? ", " : "") << "gszTypeRef" << i;
    tables << "};\n\n";

    // The class and its properties. Their thunks arrive with the processes family.
    tables << "const STZKPropriete gstTabProprieteClasse" << sClass << "8[] = {\n";
    for (size_t i = 0; i < tabProps.size(); ++i) {
        const STProperty& p = tabProps[i];
        bool bGet = p.sAccess != "set", bSet = p.sAccess == "set" || p.sAccess == "getset";
        uint64_t nWord = p.sName == "ExecutionInteractive" ? 0x1eb204691ULL : 0x1eb204690ULL;
        tables << "    {" << nClassNumber + 1 + i << "u, " << Hex(p.dwIdent) << "u, 0u, 0u, " << Hex(nWord) << "u, " << Hex(p.nType)
               << "u, nullptr, 0u, nullptr, nullptr, " << (bGet && bSet ? "0x202u" : "0x2u") << "},  // " << p.sName << "\n";
    }
    tables << "};\n\n"
           << "const STZKSurcharge gstTabSyntaxeConstructeurClasse" << sClass << "8[] = {\n"
           << "    {nullptr, 0u, 0u, gbySignatures8 + " << nConstructorSignature << ", 0u, 0u},\n};\n\n";
    tables << "const STZKClasse ZKL_C" << sClass << " = {" << nClassNumber << "u, 0u, 0u, 0u, gszTypeRef" << nClassTypeRef - 1
           << ", 0x1eb204690u, 2u, nullptr, nullptr, 0u, gstTabSyntaxeConstructeurClasse" << sClass << "8, 1u, {}, "
           << tabProps.size() << "u, gstTabProprieteClasse" << sClass << "8, {}, nullptr, {}, nullptr, 0u};\n"
           << "const STZKClasse* const __gpstTabClasse8[] = {&ZKL_C" << sClass << "};\n\n";

    tables << "const wchar_t* const __gpszTabAide8[] = {gszVide, gszVide, gszVide, nullptr};\n"
              "const wchar_t* const __gpszTabDescription8[] = {gszVide, gszVide, gszVide, nullptr};\n\n";

    // Names block.
    std::vector<uint8_t> tabNameBlock;
    PutLE(tabNameBlock, tabNames.size(), 4);
    for (const std::string& s : tabNames) {
        if (s.size() > 255) Fail({sDir, 0}, "name too long: " + s);
        tabNameBlock.push_back(static_cast<uint8_t>(s.size()));
        tabNameBlock.insert(tabNameBlock.end(), s.begin(), s.end());
    }
    tables << "const uint8_t gbyBlocNom[] = {\n";
    WriteBytes(tables, tabNameBlock);
    tables << "};\n\n";

    std::ostringstream counts;
    counts << "// Generated from the catalogue by gencatalogue. Do not edit.\n#pragma once\n\n"
           << "inline constexpr int gnNbFonction8 = " << tabFunctions.size() << ";\n"
           << "inline constexpr int gnNbConstante8 = " << tabConstants.size() << ";\n"
           << "inline constexpr int gnNbVariable8 = " << tabVariables.size() << ";\n"
           << "inline constexpr int gnNbTypeRef8 = " << tabTypeRefs.size() << ";\n"
           << "inline constexpr int gnNbClasse8 = 1;\n"
           << "inline constexpr int gnTailleBlocNom8 = " << tabNameBlock.size() << ";\n"
           << "inline constexpr int gnNbErrorDef8 = " << tabErrors.size() << ";\n";

    std::string sTables = tables.str();

    // ------------------------------------------------ errors and messages
    std::ostringstream errors;
    errors << "// Generated from the error catalogue by gencatalogue. Do not edit.\n"
              "#include \"base/module_info.h\"\n\n"
              "extern const _stErrorDef gstErrorDef8[] = {\n";
    std::map<uint32_t, std::u32string> mapMessages;
    for (const STError& e : tabErrors) {
        errors << "    {" << e.nNumber << "u, " << e.nResource << "u, " << e.nDetail << "u, " << Hex(e.nLevel) << "u},\n";
        auto [it, bNew] = mapMessages.emplace(e.nResource, e.sMessage);
        if (!bNew && it->second != e.sMessage) Fail({argv[2], 0}, "resource " + std::to_string(e.nResource) + " has two different texts");
    }
    for (const auto& [nId, sText] : tabMessages)
        if (!mapMessages.emplace(nId, sText).second)
            Fail({argv[3], 0}, "resource " + std::to_string(nId) + " is already an error message or given twice");
    errors << "};\n\n";
    // Message block: records of (size, id, flags, data length, data), ids rising, bracketed by
    // the two marker records, ended by a zero size. Texts are UTF-8 packed by CDataCompressor
    // (flag bit 6 clear); the markers stay plain so that a tool can find the block in the library.
    std::vector<uint8_t> tabBlock;
    auto AddRecord = [&](uint32_t nId, const std::string& sData) {
        size_t nSize = 7 + sData.size();
        if (nSize > 0xffff) Fail({argv[2], 0}, "message too long");
        PutLE(tabBlock, nSize, 2);
        PutLE(tabBlock, nId, 2);
        tabBlock.push_back(0);
        PutLE(tabBlock, sData.size(), 2);
        tabBlock.insert(tabBlock.end(), sData.begin(), sData.end());
    };
    AddRecord(257, "ORVANE RES BLOC UTF16 START ");
    for (const auto& [nId, sText] : mapMessages) {
        std::string s;
        for (char32_t c : sText) AppendUtf8(s, c);
        if (s.size() > 0xffff) Fail({argv[2], 0}, "message too long");
        // Measured first, then packed: the packed length is known before the buffer is made.
        CDataCompressor clPacker;
        const auto* pbyText = reinterpret_cast<const uint8_t*>(s.data());
        int nPacked = 0;
        clPacker.nCompress(nullptr, 0, &nPacked, pbyText, static_cast<int>(s.size()));
        std::vector<uint8_t> tabPacked(static_cast<size_t>(nPacked) + 1);
        if (clPacker.nCompress(tabPacked.data(), static_cast<int>(tabPacked.size()), &nPacked, pbyText,
                               static_cast<int>(s.size())) != CDataCompressor::RESULTAT_OK)
            Fail({argv[2], 0}, "resource " + std::to_string(nId) + " could not be packed");
        AddRecord(nId, std::string(tabPacked.begin(), tabPacked.begin() + nPacked));
    }
    AddRecord(65535, "ORVANE RES BLOC UTF16 STOP");
    PutLE(tabBlock, 0, 2);
    errors << "extern const uint8_t _pbyBufferRes8[] = {\n";
    WriteBytes(errors, tabBlock);
    errors << "};\nextern const int gnTailleBufferRes8 = " << tabBlock.size() << ";\n";

    auto Write = [&](const std::string& sName, const std::string& sText) {
        std::string sPath = sOut + "/" + sName;
        // Leave an unchanged file alone so that ninja does not rebuild what depends on it.
        std::ifstream in(sPath, std::ios::binary);
        std::stringstream old;
        old << in.rdbuf();
        if (in && old.str() == sText) return;
        std::ofstream out(sPath, std::ios::binary);
        out << sText;
        if (!out) {
            std::fprintf(stderr, "%s: cannot write\n", sPath.c_str());
            std::exit(1);
        }
    };
    Write("catalogue_thunks.cpp", thunks.str());
    Write("catalogue_thunks.h", "// Generated. Do not edit.\n#pragma once\n#include \"component/interfaces/machine.h\"\n" + decls.str());
    Write("catalogue_methods.inc", methods.str());
    Write("catalogue_tables.cpp", "#include \"generated/catalogue_thunks.h\"\n" + sTables);
    Write("catalogue_errors.cpp", errors.str());
    Write("catalogue_counts.h", counts.str());
    Write("reference.md", ReferenceMarkdown(tabFunctions, tabTypeRefs));
    Write("catalogue_docs.h", DocsHeader(tabFunctions));
    return 0;
}
