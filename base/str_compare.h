// Comparing texts: plain, without regard to case or accents, by the locale's collation (lexical
// and tolerant), and logical, where runs of digits compare as numbers ("a9" before "a10").
// Every compare answers -1, 0 or 1. A null text compares as the empty text unless the name says
// otherwise (STR_nNullCompare). Lengths of -1 mean zero-terminated.
#pragma once

#include <cstddef>

// Bits of the lexical and logical compares, beside the COMPARE_... flags of base/characters.h.
inline constexpr unsigned int STR_COMPARE_LEXICO = 0x20000000;  // the locale's collation decides
inline constexpr unsigned int STR_COMPARE_LCID_LOCALE = 0x10000000;  // with the locale's LCID

// Plain: byte order for 8-bit text, character value order for wide text.
int STR_nCompareA(const char* pszTexte1, const char* pszTexte2) noexcept;
int STR_nCompareW(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
// The first nMax characters at most.
template <class T>
int STR_nNCompare(const T* pszTexte1, const T* pszTexte2, int nMax) noexcept;
extern template int STR_nNCompare<char>(const char*, const char*, int) noexcept;
extern template int STR_nNCompare<wchar_t>(const wchar_t*, const wchar_t*, int) noexcept;
// Without regard to case: 1252 for 8-bit text (accents kept: é equals É), Unicode for wide.
int STR_nUpCompareA(const char* pszTexte1, const char* pszTexte2) noexcept;
int STR_nUpCompareW(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
// Null before every text, the empty one included; two nulls are equal.
int STR_nNullCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
int STR_nNullNCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2, int nMax) noexcept;
// Null and empty are equal.
int STR_nEmptyNullCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
// Without regard to accents (é equals e, but not E).
int STR_nAcCompare(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
// By the library's own collation, whatever the locale, with COMPARE_... flags.
int STR_ChaineCompareA(const char* pszTexte1, int nLongueur1, const char* pszTexte2, int nLongueur2,
                       unsigned int dwFlags) noexcept;
int STR_ChaineCompareW(const wchar_t* pszTexte1, int nLongueur1, const wchar_t* pszTexte2, int nLongueur2,
                       unsigned int dwFlags) noexcept;

// By the locale's collation. 8-bit text is read in the current code page. When the locale
// cannot compare, the plain order decides.
template <class T>
int __STR_CompareStringEx(unsigned int nLCID, unsigned int dwFlags, const T* pszTexte1, int nLongueur1,
                          const T* pszTexte2, int nLongueur2) noexcept;
template <>
int __STR_CompareStringEx<char>(unsigned int nLCID, unsigned int dwFlags, const char* pszTexte1, int nLongueur1,
                                const char* pszTexte2, int nLongueur2) noexcept;
template <>
int __STR_CompareStringEx<wchar_t>(unsigned int nLCID, unsigned int dwFlags, const wchar_t* pszTexte1,
                                   int nLongueur1, const wchar_t* pszTexte2, int nLongueur2) noexcept;
// Lexical: the flags given plus STR_COMPARE_LEXICO; the LCID is the locale's when the flags hold
// STR_COMPARE_LCID_LOCALE (that bit is taken out), otherwise LCID_DEFAUT_UTILISATEUR.
int STR_nCompareCharLexicoA(char cCaractere1, char cCaractere2, unsigned int dwFlags) noexcept;
int STR_nCompareCharLexicoW(wchar_t cCaractere1, wchar_t cCaractere2, unsigned int dwFlags) noexcept;
int STR_nCompareStringLexicoW(const wchar_t* pszTexte1, int nLongueur1, const wchar_t* pszTexte2, int nLongueur2,
                              unsigned int dwFlags) noexcept;
// Tolerant (souple): without regard to case or accents, LCID_DEFAUT_UTILISATEUR.
int STR_nCompareCharSoupleA(char cCaractere1, char cCaractere2) noexcept;
int STR_nCompareCharSoupleW(wchar_t cCaractere1, wchar_t cCaractere2) noexcept;

// Logical. Runs of digits compare as numbers; leading zeros do not change a number ("a007" and
// "a7" are numerically equal) but order texts that are otherwise equal: the text whose number
// carries more leading zeros comes first. Other runs compare by the locale's collation with
// STR_COMPARE_LEXICO, otherwise by character value.
int STR_nCompareRespecteNumeriqueA(const char* pszTexte1, int nLongueur1, const char* pszTexte2, int nLongueur2,
                                   unsigned int dwFlags) noexcept;
int STR_nCompareRespecteNumeriqueW(const wchar_t* pszTexte1, int nLongueur1, const wchar_t* pszTexte2,
                                   int nLongueur2, unsigned int dwFlags) noexcept;
// Two runs of digits: -1, 0 or 1 by value. *pnNote, when the values are equal and it is still 0,
// receives -1 when the first run has more leading zeros and 1 when the second has.
int __nCompareNumeriqueChaineA(const char* pszChiffres1, int nLongueur1, const char* pszChiffres2, int nLongueur2,
                               int* pnNote) noexcept;
int __nCompareNumeriqueChaineW(const wchar_t* pszChiffres1, int nLongueur1, const wchar_t* pszChiffres2,
                               int nLongueur2, int* pnNote) noexcept;
// The logical compare of two zero-terminated 8-bit texts by byte value, without flags.
int STR_nCmpLogiqueAnsiFast(const char* pszTexte1, const char* pszTexte2) noexcept;
