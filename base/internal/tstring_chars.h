// Character-level helpers of the owned strings, one overload per width, so that CTTString<T> is
// written once.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <cwchar>

namespace tstring_internal {

inline size_t nLen(const char* psz) noexcept { return std::strlen(psz); }
inline size_t nLen(const wchar_t* psz) noexcept { return std::wcslen(psz); }
inline size_t nLenN(const char* psz, size_t n) noexcept { return strnlen(psz, n); }
inline size_t nLenN(const wchar_t* psz, size_t n) noexcept { return wcsnlen(psz, n); }
inline const char* pszCherche(const char* psz, const char* pszMotif) noexcept { return std::strstr(psz, pszMotif); }
inline const wchar_t* pszCherche(const wchar_t* psz, const wchar_t* pszMotif) noexcept {
    return std::wcsstr(psz, pszMotif);
}
inline const char* pszCherche(const char* psz, char c) noexcept { return std::strchr(psz, c); }
inline const wchar_t* pszCherche(const wchar_t* psz, wchar_t c) noexcept { return std::wcschr(psz, c); }

// Case of one wide character by the Unicode tables of the C library (Latin-1 when they are not
// installed); 8-bit characters map ASCII letters only.
wchar_t cMajuscule(wchar_t c) noexcept;
wchar_t cMinuscule(wchar_t c) noexcept;
inline char cMajuscule(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
inline char cMinuscule(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
// The letters without accent of a Latin letter (U+00C0 to U+017F), or null when it has none.
const char* pszSansAccent(wchar_t c) noexcept;

template <typename T>
inline bool bBlanc(T c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Formats into a new malloc buffer; answers the length or -1 (*ppsz then null).
int nFormate(wchar_t** ppsz, const wchar_t* pszFormat, va_list pArguments) noexcept;
int nFormate(char** ppsz, const char* pszFormat, va_list pArguments) noexcept;

// The text of an integer.
size_t nEcritEntier(long long nValeur, char* pszSortie) noexcept;  // at least 21 bytes

}  // namespace tstring_internal
