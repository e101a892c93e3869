// The one wide printf of the library, with the conventions its portable code was written for:
// %s and %ls take a wide text, %S and %hs an 8-bit UTF-8 text, %c a wide character and %C or %hc an
// 8-bit one; I64, I32 and I are length modifiers. Numbers and pointers print as the C library
// prints them. Used by every caller that formats text: CTString, the message loader, CXError.
#pragma once

#include <cstdarg>
#include <cstddef>

// Writes at most nTaille characters, terminator included, and always terminates when nTaille > 0.
// Answers the length of the whole result (terminator not counted), as snprintf does, or -1 when the
// text cannot be made (a width or precision past WIDE_PRINTF_LARGEUR_MAX, a result past INT_MAX).
// A format that ends inside a conversion stops there.
int vsnwprintfWin(wchar_t* pszBuffer, size_t nTaille, const wchar_t* pszFormat, va_list pArguments) noexcept;
int snwprintfWin(wchar_t* pszBuffer, size_t nTaille, const wchar_t* pszFormat, ...) noexcept;

// The whole result in a malloc buffer that the caller frees. Answers its length, or -1 with
// *ppszSortie null when memory fails or the text cannot be made.
int vaswprintfWin(wchar_t** ppszSortie, const wchar_t* pszFormat, va_list pArguments) noexcept;
int aswprintfWin(wchar_t** ppszSortie, const wchar_t* pszFormat, ...) noexcept;

// Largest width or precision taken from a format or an argument.
inline constexpr int WIDE_PRINTF_LARGEUR_MAX = 1 << 24;
