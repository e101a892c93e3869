// Strict UTF conversions and the code-page pair of the counted strings. Each answers the count of
// units the whole input gives (written into the output when one is given, which must hold them),
// or CONVERSION_INVALIDE for a bad sequence or a code page it does not know.
#pragma once

#include <cstddef>
#include <cstdint>

namespace base_internal {

inline constexpr int64_t CONVERSION_INVALIDE = -1;

wchar_t cCp1252VersWide(uint8_t by) noexcept;

int64_t nUtf8VersWideStrict(const char* pszTexte, size_t nOctets, wchar_t* pSortie) noexcept;
int64_t nUtf16VersWideStrict(const char16_t* pszTexte, size_t nUnites, wchar_t* pSortie) noexcept;
int64_t nUtf32VersWideStrict(const char32_t* pszTexte, size_t nCaracteres, wchar_t* pSortie) noexcept;
int64_t nWideVersUtf8Strict(const wchar_t* pszTexte, size_t nCaracteres, char* pSortie) noexcept;

int64_t nCodePageVersWide(unsigned int nCodePage, const char* pszTexte, size_t nOctets, wchar_t* pSortie) noexcept;
int64_t nWideVersCodePage(unsigned int nCodePage, const wchar_t* pszTexte, size_t nCaracteres, char* pSortie,
                          char cDefaut) noexcept;

}  // namespace base_internal
