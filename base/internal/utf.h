// Decoding of UTF-8 and UTF-16LE bytes into the library's UTF-32 wide text. Malformed input never
// stops a decode: each bad unit becomes U+FFFD, so a message from the system or the resource block
// always reads as something.
#pragma once

#include <cstddef>
#include <cstdint>

namespace base_internal {

inline constexpr char32_t CARACTERE_REMPLACEMENT = 0xFFFD;
inline constexpr size_t LONGUEUR_JUSQUA_ZERO = static_cast<size_t>(-1);

// Reads one character of UTF-8 from pbyTexte, never past pbyFin (or, with pbyFin null, never past
// a zero byte, which it does not consume). Answers the position after it, or null at the end.
const uint8_t* pbyLitUtf8(const uint8_t* pbyTexte, const uint8_t* pbyFin, char32_t* pcCaractere) noexcept;

// Decodes nOctets bytes (LONGUEUR_JUSQUA_ZERO: up to the first zero). Writes at most nPlace
// characters into pszSortie, no terminator, and answers how many the whole text gives.
size_t nUtf8VersWide(const char* pszTexte, size_t nOctets, wchar_t* pszSortie, size_t nPlace) noexcept;

// Same for UTF-16 little-endian; an odd last byte is dropped.
size_t nUtf16LeVersWide(const uint8_t* pbyTexte, size_t nOctets, wchar_t* pszSortie, size_t nPlace) noexcept;

// The whole text in a malloc buffer, zero-terminated; null when memory fails. pnLongueur, when
// given, receives the number of characters.
wchar_t* pszUtf8VersWideAlloue(const char* pszTexte, size_t nOctets, size_t* pnLongueur = nullptr) noexcept;
wchar_t* pszUtf16LeVersWideAlloue(const uint8_t* pbyTexte, size_t nOctets, size_t* pnLongueur = nullptr) noexcept;

// A malloc copy of a wide text; null for a null text or when memory fails.
wchar_t* pszDupliqueWide(const wchar_t* pszTexte) noexcept;

}  // namespace base_internal
