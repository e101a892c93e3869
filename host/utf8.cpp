// UTF-8 decoding and encoding shared by the machine and the command line.
#include "host/utf8.h"

namespace ovhost {

int32_t nDecodeUtf8(std::string_view sBytes, size_t* pnLength) {
    *pnLength = sBytes.empty() ? 0 : 1;
    if (sBytes.empty()) return -1;
    const unsigned char byLead = static_cast<unsigned char>(sBytes[0]);
    if (byLead < 0x80) return byLead;
    size_t nLength;
    uint32_t dwCodePoint;
    uint32_t dwMinimum;
    if (byLead >= 0xc2 && byLead <= 0xdf) {
        nLength = 2, dwCodePoint = byLead & 0x1f, dwMinimum = 0x80;
    } else if (byLead >= 0xe0 && byLead <= 0xef) {
        nLength = 3, dwCodePoint = byLead & 0x0f, dwMinimum = 0x800;
    } else if (byLead >= 0xf0 && byLead <= 0xf4) {
        nLength = 4, dwCodePoint = byLead & 0x07, dwMinimum = 0x10000;
    } else {
        return -1;
    }
    if (sBytes.size() < nLength) return -1;
    for (size_t n = 1; n < nLength; ++n) {
        const unsigned char byNext = static_cast<unsigned char>(sBytes[n]);
        if ((byNext & 0xc0) != 0x80) return -1;
        dwCodePoint = (dwCodePoint << 6) | (byNext & 0x3f);
    }
    if (dwCodePoint < dwMinimum || dwCodePoint > 0x10ffff || (dwCodePoint >= 0xd800 && dwCodePoint <= 0xdfff))
        return -1;
    *pnLength = nLength;
    return static_cast<int32_t>(dwCodePoint);
}

void AppendUtf8(uint32_t dwCodePoint, std::string* psOut) {
    if (dwCodePoint > 0x10ffff || (dwCodePoint >= 0xd800 && dwCodePoint <= 0xdfff)) dwCodePoint = 0xfffd;
    if (dwCodePoint < 0x80) {
        psOut->push_back(static_cast<char>(dwCodePoint));
    } else if (dwCodePoint < 0x800) {
        psOut->push_back(static_cast<char>(0xc0 | (dwCodePoint >> 6)));
        psOut->push_back(static_cast<char>(0x80 | (dwCodePoint & 0x3f)));
    } else if (dwCodePoint < 0x10000) {
        psOut->push_back(static_cast<char>(0xe0 | (dwCodePoint >> 12)));
        psOut->push_back(static_cast<char>(0x80 | ((dwCodePoint >> 6) & 0x3f)));
        psOut->push_back(static_cast<char>(0x80 | (dwCodePoint & 0x3f)));
    } else {
        psOut->push_back(static_cast<char>(0xf0 | (dwCodePoint >> 18)));
        psOut->push_back(static_cast<char>(0x80 | ((dwCodePoint >> 12) & 0x3f)));
        psOut->push_back(static_cast<char>(0x80 | ((dwCodePoint >> 6) & 0x3f)));
        psOut->push_back(static_cast<char>(0x80 | (dwCodePoint & 0x3f)));
    }
}

std::string sUtf8(std::wstring_view sText) {
    std::string sOut;
    sOut.reserve(sText.size());
    for (wchar_t c : sText) AppendUtf8(static_cast<uint32_t>(c), &sOut);
    return sOut;
}

std::wstring sWideFromBytes(std::string_view sBytes) {
    std::wstring sOut;
    sOut.reserve(sBytes.size());
    size_t nOffset = 0;
    while (nOffset < sBytes.size()) {
        size_t nLength = 0;
        const int32_t nCodePoint = nDecodeUtf8(sBytes.substr(nOffset), &nLength);
        if (nCodePoint < 0) {
            sOut.clear();
            for (char c : sBytes) sOut.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
            return sOut;
        }
        sOut.push_back(static_cast<wchar_t>(nCodePoint));
        nOffset += nLength;
    }
    return sOut;
}

}  // namespace ovhost
