// Characters: the locale the machine gives (code page, LCID, character set, collation), case and
// class of a character, and the mappings (upper, lower, without accents) that compares build on.
// Every function here is reentrant; none reads or changes the process locale.
#pragma once

#include <cstddef>
#include <cstdint>

// The locale information as the library uses it. The machine owns the real one; until it hands
// one over (STR_SetInfoLocale), a built-in locale answers: code page 1252, LCID 0x040C (French),
// character set 0, and the library's own collation.
class IInfoLocale {
public:
    virtual int nGetCodePage() = 0;
    virtual int nGetLCID() = 0;
    virtual int nGetCharset() = 0;
    // Collation, with the system's answer: 1 less, 2 equal, 3 greater, 0 failure. A length of -1
    // means zero-terminated. Flags: COMPARE_IGNORECASE, COMPARE_IGNORENONSPACE,
    // COMPARE_IGNORESYMBOLS, COMPARE_DIGITSASNUMBERS; other bits are the caller's own and ignored.
    virtual int nCompareString(unsigned int nLCID, unsigned int dwFlags, const wchar_t* pszTexte1, int nLongueur1,
                               const wchar_t* pszTexte2, int nLongueur2) = 0;

protected:
    ~IInfoLocale() = default;
};

inline constexpr unsigned int COMPARE_IGNORECASE = 0x1;
inline constexpr unsigned int COMPARE_IGNORENONSPACE = 0x2;  // accents and other marks
inline constexpr unsigned int COMPARE_IGNORESYMBOLS = 0x4;
inline constexpr unsigned int COMPARE_DIGITSASNUMBERS = 0x8;
inline constexpr unsigned int LCID_DEFAUT_UTILISATEUR = 0x400;
inline constexpr unsigned int LCID_FRANCAIS = 0x040C;
inline constexpr int CSTR_LESS_THAN = 1;
inline constexpr int CSTR_EQUAL = 2;
inline constexpr int CSTR_GREATER_THAN = 3;

// The locale in force: the one given, or the built-in one. Null gives the built-in one back.
IInfoLocale* STR_piGetInfoLocale() noexcept;
void STR_SetInfoLocale(IInfoLocale* piLocale) noexcept;
int STR_nGetCurrentCodePage() noexcept;
int STR_nGetCurrentLCID() noexcept;
int STR_nGetSafeCurrentLCID() noexcept;  // never 0: LCID_DEFAUT_UTILISATEUR in its place
int STR_nGetCurrentChangeCharset() noexcept;
// The built-in collation, for a locale given by the machine that has none of its own.
int STR_nCompareStringBuiltIn(unsigned int dwFlags, const wchar_t* pszTexte1, int nLongueur1,
                              const wchar_t* pszTexte2, int nLongueur2) noexcept;

// Tables. ANSI_cTabMaj folds code page 1252 to upper case without accents (a to z, À to Å, Æ, Ç,
// È to Ë, Ì to Ï, Ð, Ñ, Ò to Ö, Ø, Ù to Ü, Ý, ÿ and their small forms to their base letters);
// every other byte stays. pToNoAccentUpper_Latin1 does the same for Latin-1 (ISO 8859-1).
extern const unsigned char ANSI_cTabMaj[256];
extern const unsigned char* const pToNoAccentUpper_Latin1;

// Case of one character, over all of Unicode (simple mappings). The 8-bit forms work in code
// page 1252.
wchar_t STR_ToUpper(wchar_t cCaractere) noexcept;
wchar_t STR_ToLower(wchar_t cCaractere) noexcept;
// In place over nCaracteres characters (-1: up to the terminator).
void STR_ToUpperBuff(wchar_t* pszTexte, int nCaracteres = -1) noexcept;
void STR_ToLowerBuff(wchar_t* pszTexte, int nCaracteres = -1) noexcept;
// In place, zero-terminated; answer the text given (null stays null).
char* my_struprA(char* pszTexte) noexcept;
wchar_t* my_struprW(wchar_t* pszTexte) noexcept;
char* my_strlwrA(char* pszTexte) noexcept;
wchar_t* my_strlwrW(wchar_t* pszTexte) noexcept;
char STR_cToUpperA(char cCaractere) noexcept;  // 1252, accents kept
char STR_cToLowerA(char cCaractere) noexcept;

// Class of one character.
bool bMajusculeA(char cCaractere) noexcept;
bool bMajusculeW(wchar_t cCaractere) noexcept;
bool bMinusculeA(char cCaractere) noexcept;
bool bMinusculeW(wchar_t cCaractere) noexcept;
bool bEstUnChiffreA(char cCaractere) noexcept;     // '0' to '9'
bool bEstUnChiffreW(wchar_t cCaractere) noexcept;  // '0' to '9'
bool bEstUneLettreW(wchar_t cCaractere) noexcept;  // a letter of any script
bool bEstUnBlancW(wchar_t cCaractere) noexcept;    // space, tab, CR, LF, VT, FF, no-break space
// A non-empty text of digits only.
bool bEstUnNombreEntierNaturel(const wchar_t* pszTexte) noexcept;
bool bPonctuation(wchar_t cCaractere) noexcept;
bool bUnprintable(wchar_t cCaractere) noexcept;    // a control character or not a character
bool bLatin1(wchar_t cCaractere) noexcept;         // below U+0100
bool bExtendedASCII(wchar_t cCaractere) noexcept;  // U+0080 to U+00FF
bool STR_bWhiteCharOrPunctA(char cCaractere) noexcept;
bool STR_bWhiteCharOrPunctW(wchar_t cCaractere) noexcept;
// Nothing but blanks, punctuation and control characters (a null or empty text included).
bool STR_bNeContientRienDeLisibleA(const char* pszTexte) noexcept;
bool STR_bNeContientRienDeLisibleW(const wchar_t* pszTexte) noexcept;
bool STR_bContainSpace(const wchar_t* pszTexte) noexcept;
bool STR_bIsANSI7(const wchar_t* pszTexte) noexcept;   // every character below U+0080
bool STR_bIsCp1252(const wchar_t* pszTexte) noexcept;  // every character has a 1252 byte

// Mappings. Flags: STR_MAP_MAJUSCULE (1) upper case, STR_MAP_MINUSCULE (0x100) lower case,
// STR_MAP_SANSACCENT (2) base letter without accents. Upper wins over lower when both are given.
inline constexpr unsigned int STR_MAP_MAJUSCULE = 0x1;
inline constexpr unsigned int STR_MAP_SANSACCENT = 0x2;
inline constexpr unsigned int STR_MAP_MINUSCULE = 0x100;
wchar_t STR_nMapCharEx(wchar_t cCaractere, unsigned int dwFlags) noexcept;
char STR_nMapCharExANSI(char cCaractere, unsigned int dwFlags) noexcept;  // 1252
// Upper case without accents: the key of tolerant compares.
wchar_t STR_nMapCharIgnoreCaseAccent(wchar_t cCaractere) noexcept;
// The base letter of an accented Latin letter (é gives e, Ǻ gives A); other characters unchanged.
wchar_t STR_cSansAccent(wchar_t cCaractere) noexcept;
// Maps nCaracteres characters (-1: zero-terminated, terminator counted) into pszSortie, same count
// conventions as the conversions; answers the count, 0 on a bad argument or short output. The
// output may be the input.
int STR_nMapStringEx(const wchar_t* pszTexte, int nCaracteres, wchar_t* pszSortie, int nPlace,
                     unsigned int dwFlags) noexcept;
// Characters the mapping gives (the mappings keep the count, so this is the input's count).
int STR_nGetMapStringLenEx(const wchar_t* pszTexte, int nCaracteres, unsigned int dwFlags) noexcept;
// The mapping of a whole text (nCaracteres -1: zero-terminated) in a new malloc buffer,
// zero-terminated, handed over in *ppszSortie; answers its length, or -1 (and null) on failure.
int STR_nCreateMapString(const wchar_t* pszTexte, int nCaracteres, unsigned int dwFlags, wchar_t** ppszSortie) noexcept;
