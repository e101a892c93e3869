// The operators of ovrun's expressions: arithmetic, the flag operators that combine the library's
// option constants by name, and comparisons. The script folds them over written values before
// anything runs, and applies them to call results as it goes.
#pragma once

#include <string>
#include <string_view>

#include "host/value.h"

namespace ovhost {

// Binding strength of a binary operator, higher binds tighter; 0 for a text that is none. As in
// the business languages: "&" multiplies and "|" adds, so flags combine with either, and every
// comparison binds last ("a | b = c" compares the combined flags).
//   3  * / &
//   2  + - |
//   1  = <> < > <= >=
int nOperatorPrecedence(std::string_view sOperator);

// Applies a binary operator, or the unary minus ("-" with pclRight null). False with a message
// for values the operator does not take (texts in arithmetic, money, a division by zero, an
// integer result past 64 bits).
//
// Integers (and booleans) stay integers: an exact division too, any other becomes a real. "+"
// also joins two texts, two 8-bit texts or two buffers. "|" and "&" take integers only; two
// booleans give a boolean. Comparisons take two numbers, or two values of one other kind (texts
// by character, buffers by byte, dates and times by their written form), and give a boolean.
bool bApplyOperator(std::string_view sOperator, const CValue& clLeft, const CValue* pclRight, CValue* pclResult,
                    std::string* psError);

}  // namespace ovhost
