// UTF-8 as the stand-in machine and ovrun read and write it: one decoder and one encoder for the
// argument conversions, the machine's variants and conversions, the script reader and the printer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ovhost {

// Decodes one UTF-8 sequence at the start of sBytes. Answers the code point and its byte length,
// or -1 (length 1) for a malformed, overlong, surrogate or out-of-range sequence.
int32_t nDecodeUtf8(std::string_view sBytes, size_t* pnLength);

// Appends the UTF-8 form of a code point; surrogates and values past U+10FFFF become U+FFFD.
void AppendUtf8(uint32_t dwCodePoint, std::string* psOut);

std::string sUtf8(std::wstring_view sText);

// 8-bit text as wide text: UTF-8 when the whole text is valid UTF-8, otherwise one character per
// byte (Latin-1), so that no byte is ever lost.
std::wstring sWideFromBytes(std::string_view sBytes);

}  // namespace ovhost
