// 8-bit text at the borders: code pages, the system's multi-byte calls as the portable code knows
// them, emulated over the C library's iconv, and the fast paths for UTF-8 and code page 1252.
//
// Counting convention of every counted conversion here: a length of -1 means "up to and including
// the terminator", and the count answered then includes it. A null output or a size of 0 asks for
// the count needed. Otherwise at most nPlace units are written and the count written is answered.
// 0 means failure, with errno set: EINVAL for an unknown code page or a bad argument, EILSEQ for a
// bad sequence in the input, E2BIG for an output too small.
#pragma once

#include <cstddef>
#include <cstdint>

// Code page numbers with a meaning of their own.
inline constexpr unsigned int CP_ACP = 0;         // the current 8-bit code page of the locale
inline constexpr unsigned int CP_OEMCP = 1;       // the console code page (850 here)
inline constexpr unsigned int CP_MACCP = 2;       // the Macintosh code page (10000)
inline constexpr unsigned int CP_THREAD_ACP = 3;  // same as CP_ACP: the locale is process-wide
inline constexpr unsigned int CP_1252 = 1252;
inline constexpr unsigned int CP_UTF7 = 65000;
inline constexpr unsigned int CP_UTF8 = 65001;

// Flags of MultiByteToWideChar. The conversion is strict whatever they say: a bad sequence always
// answers 0. They are accepted so that callers written for the system call compile unchanged.
inline constexpr unsigned int MB_PRECOMPOSED = 0x1;
inline constexpr unsigned int MB_COMPOSITE = 0x2;
inline constexpr unsigned int MB_USEGLYPHCHARS = 0x4;
inline constexpr unsigned int MB_ERR_INVALID_CHARS = 0x8;
// Flags of WideCharToMultiByte, accepted and ignored likewise.
inline constexpr unsigned int WC_COMPOSITECHECK = 0x200;
inline constexpr unsigned int WC_NO_BEST_FIT_CHARS = 0x400;
inline constexpr unsigned int WC_ERR_INVALID_CHARS = 0x80;

// The character written for a wide character that the target code page cannot hold.
inline constexpr char CARACTERE_PAR_DEFAUT = '?';

// The iconv name of a code page (CP_ACP and its kin resolved first), or null when it is unknown.
const char* CodePageToIConv(unsigned int nCodePage) noexcept;
// The code page that CP_ACP, CP_OEMCP, CP_MACCP and CP_THREAD_ACP stand for; others unchanged.
unsigned int STR_nResolveCodePage(unsigned int nCodePage) noexcept;
// True when the code page is known and maps one byte to one character.
bool STR_bCodePageSimpleOctet(unsigned int nCodePage) noexcept;
// The code page of a Windows character set number (0 ANSI, 238 Eastern Europe, 204 Cyrillic...);
// 1252 for one that has none.
unsigned int STR_nCharsetToCodePage(int nCharset) noexcept;

// The system's calls. nOctets / nCaracteres: -1 for a zero-terminated text (terminator counted),
// 0 is a bad argument. pszDefaut and pbDefautUtilise are ignored: a character the code page cannot
// hold becomes CARACTERE_PAR_DEFAUT, except towards UTF-7/UTF-8, where an invalid wide character
// (a surrogate value or one past U+10FFFF) is a bad sequence.
int MultiByteToWideChar(unsigned int nCodePage, unsigned int dwFlags, const char* pszTexte, int nOctets,
                        wchar_t* pszSortie, int nPlace) noexcept;
int WideCharToMultiByte(unsigned int nCodePage, unsigned int dwFlags, const wchar_t* pszTexte, int nCaracteres,
                        char* pszSortie, int nPlace, const char* pszDefaut = nullptr,
                        int* pbDefautUtilise = nullptr) noexcept;
// From one code page to another through wide text.
int MultiByteToMultiByte(unsigned int nCodePageSource, unsigned int nCodePageCible, unsigned int dwFlags,
                         const char* pszTexte, int nOctets, char* pszSortie, int nPlace) noexcept;

// Code page 1252 to wide by table, without iconv. The five bytes that 1252 leaves undefined (0x81,
// 0x8d, 0x8f, 0x90, 0x9d) become U+0081, U+008D, U+008F, U+0090, U+009D, as the system call does;
// every byte therefore converts and the call fails only on its arguments or a short output.
int STR_CP1252ToWideChar(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept;
// And back: the reverse table (U+0081 etc. go back to their byte).
int STR_WideCharToCP1252(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;
// One character each way. STR_ToCP1252 answers -1 for a character that 1252 cannot hold.
wchar_t STR_FromCP1252(unsigned char byCaractere) noexcept;
int STR_ToCP1252(wchar_t cCaractere) noexcept;
// 7-bit ASCII: STR_ToAnsi7 drops accents (é gives e, Œ gives O) and answers CARACTERE_PAR_DEFAUT
// for what has no ASCII form; STR_FromAnsi7 widens a byte below 0x80 and gives U+FFFD otherwise.
char STR_ToAnsi7(wchar_t cCaractere) noexcept;
wchar_t STR_FromAnsi7(char cCaractere) noexcept;

// Shorthands over the two system calls, same conventions.
int STR_CharToWChar(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept;  // current code page
int STR_CharToWChar_AnyCodepage(unsigned int nCodePage, const char* pszTexte, int nOctets, wchar_t* pszSortie,
                                int nPlace) noexcept;
int STR_CharToWChar_CurrentCharset(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept;
int STR_CharToChar_AnyCodepage(unsigned int nCodePageSource, unsigned int nCodePageCible, const char* pszTexte,
                               int nOctets, char* pszSortie, int nPlace) noexcept;
int STR_WCharToAChar(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;  // current
int STR_WCharToChar_AnyCodepage(unsigned int nCodePage, const wchar_t* pszTexte, int nCaracteres, char* pszSortie,
                                int nPlace) noexcept;
int STR_WCharToChar_CurrentCharset(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;
int ANSIToWideChar(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept;  // CP_ACP
int WideCharToANSI(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;

// Whole texts in new malloc buffers, zero-terminated (free with STR_Delete or free). Null for a
// null text, a failed conversion or lack of memory. "X" is the library's own text type, wide.
wchar_t* pszCSTR2XSTR(const char* pszTexte, unsigned int nCodePage = CP_ACP) noexcept;
wchar_t* pszWSTR2XSTR(const wchar_t* pszTexte) noexcept;
char* pszXSTR2CSTR(const wchar_t* pszTexte, unsigned int nCodePage = CP_ACP) noexcept;
wchar_t* pszXSTR2WSTR(const wchar_t* pszTexte) noexcept;
