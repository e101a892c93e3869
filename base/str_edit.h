// Zero-terminated texts in plain buffers: allocation, bounded copies and appends, trimming and
// replacing, searching, and the exported line readers that sibling libraries share.
//
// Bounded forms take the size of the target buffer in characters, terminator included. They never
// write past it and always terminate when it is at least 1; they answer the characters written,
// terminator not counted. A null text reads as the empty text.
#pragma once

#include <cstddef>
#include <cstdio>

// Allocation from the process heap, with a terminator; free with the STR_Delete family.
// nLongueur -1: the whole text; otherwise at most that many characters. Null on lack of memory;
// a null text gives an empty one.
wchar_t* STR_pszCreate(const wchar_t* pszTexte, int nLongueur = -1) noexcept;
char* STR_pszCreateA(const char* pszTexte, int nLongueur = -1) noexcept;
wchar_t* STR_pszCreateW(const wchar_t* pszTexte, int nLongueur = -1) noexcept;
// An 8-bit text in the current code page made into the library's wide text; null when it does
// not convert.
wchar_t* STR_pszCreateStandard(const char* pszTexte, int nOctets = -1) noexcept;
void STR_Delete(void* pszTexte) noexcept;
void STR_DeleteA(char* pszTexte) noexcept;
void STR_DeleteW(wchar_t* pszTexte) noexcept;
// Gives *ppszTexte room for nCaracteres characters plus a terminator, keeping what fits; the text
// is cut and terminated if it was longer. False (and the text untouched) on lack of memory.
bool STR_bResizeA(char** ppszTexte, int nCaracteres) noexcept;
bool STR_bResizeW(wchar_t** ppszTexte, int nCaracteres) noexcept;

// Bounded copies and appends.
int STR_nCopy(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept;
int STR_nCopyA(char* pszCible, int nTaille, const char* pszSource) noexcept;
int STR_nCopyW(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept;
// Appends to the text already in the buffer; answers the new length.
int STR_nCat(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept;
int STR_nCatA(char* pszCible, int nTaille, const char* pszSource) noexcept;
int STR_nCatW(wchar_t* pszCible, int nTaille, const wchar_t* pszSource) noexcept;
// Appends at most nMax characters of the source; answers the new length.
int STR_nCatCut(wchar_t* pszCible, int nTaille, const wchar_t* pszSource, int nMax) noexcept;
// Copies at most nMax characters of the source.
int STR_nCut(wchar_t* pszCible, int nTaille, const wchar_t* pszSource, int nMax) noexcept;
int STR_nLen(const wchar_t* pszTexte) noexcept;
int STR_nLenA(const char* pszTexte) noexcept;
int STR_nLenW(const wchar_t* pszTexte) noexcept;
// New texts: the two joined; and the two joined by one '.', unless one already stands between
// them (a name and its extension). Null on lack of memory.
wchar_t* STR_pszConcat(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
wchar_t* STR_pszConcatPoint(const wchar_t* pszTexte1, const wchar_t* pszTexte2) noexcept;
// Pads the text on the right with cCaractere up to nLongueur characters, within the buffer;
// answers the new length.
int STR_Complete(wchar_t* pszTexte, int nTaille, int nLongueur, wchar_t cCaractere) noexcept;
// Every occurrence of pszAncien replaced by pszNouveau, in a new text (null on lack of memory; an
// empty pszAncien changes nothing).
wchar_t* STR_RemplaceW(const wchar_t* pszTexte, const wchar_t* pszAncien, const wchar_t* pszNouveau) noexcept;

// In place. Blanks are space and tab; the Spaces forms also take CR and LF at the ends. Each
// answers the text given.
char* STR_SuppressAllSpacesA(char* pszTexte) noexcept;
wchar_t* STR_SuppressAllSpacesW(wchar_t* pszTexte) noexcept;
wchar_t* STR_SuppressLeftCar(wchar_t* pszTexte, wchar_t cCaractere) noexcept;
wchar_t* STR_SuppressRightCar(wchar_t* pszTexte, wchar_t cCaractere) noexcept;
wchar_t* STR_SuppressSideCar(wchar_t* pszTexte, wchar_t cCaractere) noexcept;
wchar_t* STR_SuppressLeftSpaces(wchar_t* pszTexte) noexcept;
wchar_t* STR_SuppressRightSpaces(wchar_t* pszTexte) noexcept;
wchar_t* STR_SuppressSideSpaces(wchar_t* pszTexte) noexcept;
// A text made ready for tolerant matching: blanks at the ends removed, each inner run of blanks
// made one space.
char* STR_PrepareChaineA(char* pszTexte) noexcept;
wchar_t* STR_PrepareChaineW(wchar_t* pszTexte) noexcept;

// Searching. Each answers the place found in the searched text, or null; an empty pattern is
// found at the start. Case-insensitive forms fold as STR_ToUpper (wide) and 1252 (8-bit).
const wchar_t* STR_StrIStr(const wchar_t* pszTexte, const wchar_t* pszCherche) noexcept;
// Within the first nMax characters of the text.
const wchar_t* STR_pszStrnstr(const wchar_t* pszTexte, const wchar_t* pszCherche, int nMax) noexcept;
// The pattern is given in upper case already; the text is folded as it is read.
const wchar_t* STR_pszUpStrstr(const wchar_t* pszTexte, const wchar_t* pszChercheMajuscule) noexcept;
const char* STR_strnistrA(const char* pszTexte, const char* pszCherche, int nMax) noexcept;
const char* STR_strnstrA(const char* pszTexte, const char* pszCherche, int nMax) noexcept;
// The last occurrence.
const wchar_t* STRRSTR(const wchar_t* pszTexte, const wchar_t* pszCherche) noexcept;
const char* STRRSTRA(const char* pszTexte, const char* pszCherche) noexcept;
const wchar_t* STRRSTRW(const wchar_t* pszTexte, const wchar_t* pszCherche) noexcept;
// The last character of the text that is one of pszEnsemble.
const wchar_t* STRRPBRK(const wchar_t* pszTexte, const wchar_t* pszEnsemble) noexcept;
// The text begins with pszDebut (without regard to case when asked).
bool STR_bDebut(const wchar_t* pszTexte, const wchar_t* pszDebut, bool bSansCasse = false) noexcept;
// Bytes in bytes, bounded on both sides.
const void* xmemmem(const void* pTexte, size_t nTexte, const void* pCherche, size_t nCherche) noexcept;

// Exported helpers. STRG_pszCreate: a malloc copy of at most nLongueur bytes (-1: all), with a
// terminator; null for a null text or on lack of memory. STRG_nGetChar: the next character of a
// UTF-8 stream, -1 at its end; a broken sequence gives U+FFFD for the bytes that began it, and the
// byte that broke it is read again next time. STRG_nGetLine: the next line, its LF kept, into
// *ppszLigne, a malloc buffer of *pnTaille bytes that grows as needed (both may start null and
// 0); answers the length read, or -1 at end of file or on lack of memory.
extern "C" {
__attribute__((visibility("default"))) char* STRG_pszCreate(const char* pszTexte, int nLongueur) noexcept;
__attribute__((visibility("default"))) int STRG_nGetChar(FILE* pstFichier) noexcept;
__attribute__((visibility("default"))) int STRG_nGetLine(FILE* pstFichier, char** ppszLigne, int* pnTaille) noexcept;
}
// The wide forms. A line that is valid UTF-8 is decoded as such, any other as code page 1252, so
// that old files written in 1252 read right; *pnTaille counts characters.
wchar_t* STRG_pszCreate(const wchar_t* pszTexte, int nLongueur) noexcept;
int STRG_nGetLine(FILE* pstFichier, wchar_t** ppszLigne, int* pnTaille) noexcept;
