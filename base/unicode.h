// Unicode forms: UTF-8, UTF-16 (surrogate pairs joined and split) and UTF-32, to and from the
// library's wide text (UTF-32 wchar_t), and the small UTF-8 helpers the readers of files need.
//
// The counted conversions keep the convention of base/code_pages.h: length -1 for a zero-terminated
// text (the terminator then converted and counted), null output or size 0 to ask for the count,
// at most nPlace units written, and 0 with errno set on failure: EILSEQ for a bad sequence (an
// overlong or truncated UTF-8 sequence, a lone surrogate, a value past U+10FFFF), E2BIG for an
// output too small, EINVAL for a bad argument (null text or length 0).
#pragma once

#include <cstddef>
#include <cstdint>

// The length of a UTF-8 sequence by its lead byte; 0 for a continuation byte or a byte that never
// leads (0xC0, 0xC1, 0xF5 to 0xFF).
extern const unsigned char TabUTF8len[256];

// True for a value that is a Unicode scalar: below 0x110000 and not a surrogate.
constexpr bool bEstScalaireUnicode(uint32_t cCaractere) noexcept {
    return cCaractere < 0x110000 && (cCaractere < 0xD800 || cCaractere > 0xDFFF);
}

// UTF-8 and wide.
int nUTF8ToWide(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept;
int nWideToUTF8(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;
int WideCharToUTF8(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;
// Whole texts in new malloc buffers (null for a null text, a bad sequence or lack of memory).
wchar_t* UTF8ToWide(const char* pszTexte, int nOctets = -1) noexcept;
char* WideToUTF8(const wchar_t* pszTexte, int nCaracteres = -1) noexcept;
// Characters a UTF-8 text gives, and UTF-16 units; the terminator is counted when nOctets is -1.
// 0 on a bad sequence, with errno EILSEQ.
int UTF8ToWideLen(const char* pszTexte, int nOctets) noexcept;
int UTF8ToUTF16Len(const char* pszTexte, int nOctets) noexcept;

// UTF-16 (native byte order) and the others.
int UTF8ToUTF16(const char* pszTexte, int nOctets, char16_t* pszSortie, int nPlace) noexcept;
int UTF16ToUtf8(const char16_t* pszTexte, int nUnites, char* pszSortie, int nPlace) noexcept;
int UTF16ToWideChar(const char16_t* pszTexte, int nUnites, wchar_t* pszSortie, int nPlace) noexcept;
int WideCharToUTF16(const wchar_t* pszTexte, int nCaracteres, char16_t* pszSortie, int nPlace) noexcept;
int UTF8ToUTF32(const char* pszTexte, int nOctets, char32_t* pszSortie, int nPlace) noexcept;
int UTF32ToUTF8(const char32_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept;
// UTF-32 and wide are the same form here; these check the values and copy.
int UTF32ToWideChar(const char32_t* pszTexte, int nCaracteres, wchar_t* pszSortie, int nPlace) noexcept;
int WideCharToUTF32(const wchar_t* pszTexte, int nCaracteres, char32_t* pszSortie, int nPlace) noexcept;

// Between UTF forms and a code page, through wide text (code pages as in base/code_pages.h).
int UTF8ToMultiByte(unsigned int nCodePage, const char* pszTexte, int nOctets, char* pszSortie, int nPlace) noexcept;
int MultiByteToUTF8(unsigned int nCodePage, const char* pszTexte, int nOctets, char* pszSortie, int nPlace) noexcept;
int UTF16ToMultiByte(unsigned int nCodePage, const char16_t* pszTexte, int nUnites, char* pszSortie,
                     int nPlace) noexcept;

// UTF-8 inspection. None reads past nOctets bytes, nor past a zero byte when nOctets is -1.
bool UTF8Valide(const char* pszTexte, int nOctets = -1) noexcept;
// Characters of a valid zero-terminated UTF-8 text, terminator not counted; a broken sequence
// counts as one character per byte that cannot start one.
int UTF8Len(const char* pszTexte) noexcept;
int StrLenUTF8(const char* pszTexte) noexcept;                // same as UTF8Len
int StrNLenUTF8(const char* pszTexte, int nOctets) noexcept;  // within nOctets bytes at most
// Bytes the first nCaracteres characters of a UTF-8 text take (fewer if the text ends first).
int UTF8ByteLen(const char* pszTexte, int nCaracteres) noexcept;
// Bytes of a zero-terminated UTF-8 text, terminator included.
int UTF8ByteLenTotal(const char* pszTexte) noexcept;
// The first character of a UTF-8 text; U+FFFD for a broken sequence, 0 for an empty text.
wchar_t UTF8FirstChar(const char* pszTexte) noexcept;
// The position of the next character (one byte on for a broken sequence; the terminator stays).
const char* UTF8next(const char* pszTexte) noexcept;
// Decodes the character at *ppszTexte, never reading at or past pszFin (null: stop at a zero byte),
// and moves the pointer past it. Answers U+FFFD for a broken sequence, having moved past its bytes
// up to the one that broke it; answers 0 at the end without moving.
wchar_t UTF8_GetNext(const char** ppszTexte, const char* pszFin = nullptr) noexcept;
// Bytes the UTF-8 form of one character takes (0 for a value that is not a scalar), and of a wide
// text (nCaracteres -1: zero-terminated, terminator not counted; 0 on an invalid character).
int STR_nGetNbByteUTF8(wchar_t cCaractere) noexcept;
int nGetUTF8Len(const wchar_t* pszTexte, int nCaracteres = -1) noexcept;

// UTF-16 texts in memory.
int utf16len(const char16_t* pszTexte) noexcept;
int utf16nlen(const char16_t* pszTexte, int nMax) noexcept;
// Copies at most nMax units, stops after a terminator, and pads nothing; answers units copied.
int utf16ncpy(char16_t* pszCible, const char16_t* pszSource, int nMax) noexcept;
// Compares at most nMax units without regard to case (characters of the BMP); -1, 0 or 1.
int utf16nicmp(const char16_t* pszTexte1, const char16_t* pszTexte2, int nMax) noexcept;
// The first place in the first nMax units of pszTexte where pszCherche occurs without regard to
// case, or null.
const char16_t* utf16niutf16(const char16_t* pszTexte, const char16_t* pszCherche, int nMax) noexcept;
