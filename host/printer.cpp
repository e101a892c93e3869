// Text and JSON forms of ovrun's results.
#include "host/printer.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ovhost {

namespace {

const char gszHexDigits[] = "0123456789abcdef";

void AppendHexByte(unsigned char byValue, std::string* psOut) {
    psOut->push_back(gszHexDigits[byValue >> 4]);
    psOut->push_back(gszHexDigits[byValue & 0x0f]);
}

std::string sHex(std::string_view sBytes) {
    std::string sOut;
    sOut.reserve(sBytes.size() * 2);
    for (char c : sBytes) AppendHexByte(static_cast<unsigned char>(c), &sOut);
    return sOut;
}

// A message may carry line breaks; the text form keeps each result on one line.
std::string sOnOneLine(std::string_view sText) {
    std::string sOut;
    sOut.reserve(sText.size());
    for (size_t n = 0; n < sText.size(); ++n) {
        char c = sText[n];
        if (c == '\r' || c == '\n') {
            if (c == '\r' && n + 1 < sText.size() && sText[n + 1] == '\n') ++n;
            sOut.push_back(' ');
        } else {
            sOut.push_back(c);
        }
    }
    return sOut;
}

std::string sJsonNumber(double dValue) {
    // JSON has no spelling for these; a string keeps them readable rather than losing them.
    if (std::isnan(dValue)) return "\"NaN\"";
    if (std::isinf(dValue)) return dValue > 0 ? "\"Infinity\"" : "\"-Infinity\"";
    char szBuffer[64];
    // to_chars, not printf: the component may switch the C locale to one with a decimal comma.
    auto stResult = std::to_chars(szBuffer, szBuffer + sizeof szBuffer, dValue, std::chars_format::general, 17);
    return std::string(szBuffer, stResult.ptr);
}

}  // namespace

std::string sFormatReal(double dValue) {
    char szBuffer[64];
    auto stResult = std::to_chars(szBuffer, szBuffer + sizeof szBuffer, dValue);
    return std::string(szBuffer, stResult.ptr);
}

std::string sFormatValue(const CValue& clValue) {
    switch (clValue.eKind) {
    case EValueKind::Null: return "Null";
    case EValueKind::Bool: return clValue.nInteger != 0 ? "Vrai" : "Faux";
    case EValueKind::Int:
    case EValueKind::Int64: return std::to_string(clValue.nInteger);
    case EValueKind::Real: return sFormatReal(clValue.dReal);
    case EValueKind::Money:
    case EValueKind::Text:
    case EValueKind::Date:
    case EValueKind::Time:
    case EValueKind::DateTime:
    case EValueKind::Duration: return sUtf8(clValue.sText);
    case EValueKind::Ansi: return clValue.sBytes;
    case EValueKind::Buffer: return "x\"" + sHex(clValue.sBytes) + "\"";
    case EValueKind::Multiple: {
        std::string sOut;
        for (size_t n = 0; n < clValue.tabMembers.size(); ++n) {
            if (n > 0) sOut += ", ";
            sOut += sFormatValue(clValue.tabMembers[n]);
        }
        return sOut;
    }
    }
    return "Null";
}

std::string sFormatCallError(const STCallError& stError) {
    return "error " + std::to_string(stError.nCode) + " (level " + std::to_string(stError.nLevel) +
           "): " + sOnOneLine(sUtf8(stError.sMessage));
}

std::string sJsonString(std::string_view sUtf8Text) {
    std::string sOut = "\"";
    sOut.reserve(sUtf8Text.size() + 2);
    size_t nOffset = 0;
    while (nOffset < sUtf8Text.size()) {
        size_t nLength;
        int32_t nCodePoint = nDecodeUtf8(sUtf8Text.substr(nOffset), &nLength);
        if (nCodePoint < 0) {
            AppendUtf8(0xfffd, &sOut);
            nOffset += nLength;
            continue;
        }
        switch (nCodePoint) {
        case '"': sOut += "\\\""; break;
        case '\\': sOut += "\\\\"; break;
        case '\b': sOut += "\\b"; break;
        case '\f': sOut += "\\f"; break;
        case '\n': sOut += "\\n"; break;
        case '\r': sOut += "\\r"; break;
        case '\t': sOut += "\\t"; break;
        default:
            // U+2028 and U+2029 are legal JSON but end a line in JavaScript source.
            if (nCodePoint < 0x20 || nCodePoint == 0x2028 || nCodePoint == 0x2029) {
                char szEscape[16];
                std::snprintf(szEscape, sizeof szEscape, "\\u%04x", static_cast<unsigned>(nCodePoint));
                sOut += szEscape;
            } else {
                sOut.append(sUtf8Text.substr(nOffset, nLength));
            }
        }
        nOffset += nLength;
    }
    sOut += '"';
    return sOut;
}

std::string sAnsiAsUtf8(std::string_view sBytes) {
    std::string sOut;
    sOut.reserve(sBytes.size());
    size_t nOffset = 0;
    while (nOffset < sBytes.size()) {
        size_t nLength;
        if (nDecodeUtf8(sBytes.substr(nOffset), &nLength) < 0) {
            sOut += "\\x";
            AppendHexByte(static_cast<unsigned char>(sBytes[nOffset]), &sOut);
        } else {
            sOut.append(sBytes.substr(nOffset, nLength));
        }
        nOffset += nLength;
    }
    return sOut;
}

std::string sJsonValue(const CValue& clValue) {
    switch (clValue.eKind) {
    case EValueKind::Null: return "null";
    case EValueKind::Bool: return clValue.nInteger != 0 ? "true" : "false";
    case EValueKind::Int:
    case EValueKind::Int64: return std::to_string(clValue.nInteger);
    case EValueKind::Real: return sJsonNumber(clValue.dReal);
    case EValueKind::Money:
    case EValueKind::Text:
    case EValueKind::Date:
    case EValueKind::Time:
    case EValueKind::DateTime:
    case EValueKind::Duration: return sJsonString(sUtf8(clValue.sText));
    case EValueKind::Ansi: return sJsonString(sAnsiAsUtf8(clValue.sBytes));
    case EValueKind::Buffer: return "\"" + sHex(clValue.sBytes) + "\"";
    case EValueKind::Multiple: {
        std::string sOut = "[";
        for (size_t n = 0; n < clValue.tabMembers.size(); ++n) {
            if (n > 0) sOut += ",";
            sOut += sJsonValue(clValue.tabMembers[n]);
        }
        return sOut + "]";
    }
    }
    return "null";
}

std::string sJsonResult(std::string_view sExpression, const CValue& clValue, const STCallError* pstError) {
    std::string sOut = "{\"expr\":" + sJsonString(sExpression) + ",\"type\":\"" + pszKindName(clValue.eKind) +
                       "\",\"value\":" + sJsonValue(clValue) + ",\"error\":";
    if (pstError == nullptr) {
        sOut += "null";
    } else {
        sOut += "{\"level\":" + std::to_string(pstError->nLevel) + ",\"code\":" + std::to_string(pstError->nCode) +
                ",\"message\":" + sJsonString(sUtf8(pstError->sMessage)) +
                ",\"debug\":" + sJsonString(sUtf8(pstError->sDebug)) + "}";
    }
    return sOut + "}";
}

std::string sDescribeOverload(std::string_view sName, const STOverloadInfo& stOverload,
                              std::string (*pfnTypeWord)(uint32_t)) {
    std::string sOut(sName);
    sOut += '(';
    for (size_t n = 0; n < stOverload.tabArguments.size(); ++n) {
        if (n > 0) sOut += ", ";
        sOut += pfnTypeWord(stOverload.tabArguments[n]);
    }
    if (stOverload.bVariadic) sOut += "...";
    sOut += ") -> ";
    sOut += pfnTypeWord(stOverload.dwResult);
    if (!stOverload.bHasBody) sOut += " [no body]";
    return sOut;
}

}  // namespace ovhost
