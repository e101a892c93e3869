// How ovrun shows values: as plain text lines for people and as one JSON object a line for
// programs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/machine.h"
#include "host/utf8.h"
#include "host/value.h"

namespace ovhost {

// The shortest text that reads back as the same double.
std::string sFormatReal(double dValue);

// A value as the text form prints it: texts as they are, Vrai/Faux, x"0a0b", Null, members of a
// multiple value separated by ", ".
std::string sFormatValue(const CValue& clValue);

// "error <number> (level <n>): <message>", on one line whatever the message holds.
std::string sFormatCallError(const STCallError& stError);

// A JSON string literal, quotes included. Malformed UTF-8 in the input becomes U+FFFD.
std::string sJsonString(std::string_view sUtf8Text);

// 8-bit text read as UTF-8, each byte that does not decode written as the four characters \xHH.
std::string sAnsiAsUtf8(std::string_view sBytes);

std::string sJsonValue(const CValue& clValue);

// {"expr":..., "type":..., "value":..., "error":...} on one line, without the newline.
std::string sJsonResult(std::string_view sExpression, const CValue& clValue, const STCallError* pstError);

// "RVB(int, int, int) -> int", "Max(real...) -> real", with " [no body]" where the overload has
// no body on this platform.
std::string sDescribeOverload(std::string_view sName, const STOverloadInfo& stOverload,
                              std::string (*pfnTypeWord)(uint32_t));

}  // namespace ovhost
