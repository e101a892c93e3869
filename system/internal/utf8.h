// Wide text to UTF-8 for the borders of the system family: environment, uname, console output.
#pragma once

#include <cstddef>

namespace system_internal {

// Bytes of the UTF-8 form of one character; a value that is no Unicode character (a surrogate,
// past U+10FFFF, negative) counts as U+FFFD.
size_t nOctetsUtf8(wchar_t cCaractere) noexcept;

// The UTF-8 form of a wide text in a malloc buffer, zero-terminated, that the caller frees. Null
// for a null text or when memory fails. pnLongueur, when given, receives the byte count.
char* pszWideVersUtf8Alloue(const wchar_t* pszTexte, size_t* pnLongueur = nullptr) noexcept;

}  // namespace system_internal
