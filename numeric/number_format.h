// Numbers to text and back, in the language's own way: the C-like format language of
// NumeriqueVersChaine, byte sizes, and the conversions between integers, hexadecimal text and
// binary buffers. Engines answer a boolean or a code; the language methods raise the errors.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/any.h"
#include "base/xystring.h"
#include "numeric/money.h"

class IInfoLangue;

// ---------------------------------------------------------------- the format language

// Flags of a parsed format. The low five come from the text; the two high ones are added while
// the value is examined.
enum : unsigned int {
    FMTNUM_GAUCHE = 1,      // "-": left aligned
    FMTNUM_ZERO = 2,        // a width starting with "0": zero filled
    FMTNUM_LONG = 4,        // "L" or "l": accepted, no effect
    FMTNUM_SIGNE = 8,       // "+": a sign even on positive values
    FMTNUM_MILLIERS = 16,   // a last "S" or "s": thousands separators
    FMTNUM_VIRGULE = 32,    // "," before the precision: the locale's decimal point
    FMTNUM_64 = 64,         // the value is a 64-bit integer
    FMTNUM_GRAND = 128,     // the value is a large unsigned integer held apart
};

inline constexpr int FMTNUM_LARGEUR_MAX = 100;   // widths and precisions above this are errors
inline constexpr int FMTNUM_LONGUEUR_UTILE = 16; // characters of a format that count

struct STFormatNumerique {
    unsigned int dwFlags = 0;
    int nLargeur = -1;       // -1: none
    int nPrecision = -1;     // -1: none
    char cConversion = 'f';  // one of E e F f X x D d O o
};

// Parses a format (the first FMTNUM_LONGUEUR_UTILE characters of it) and applies its defaults:
// no letter means "f", "f" and "e" without precision take 6, "x" and "o" drop the thousands
// separators, a left alignment drops the zero filling. False for a text that breaks the grammar or
// a width or precision above FMTNUM_LARGEUR_MAX.
bool bAnalyseFormatNumerique(const wchar_t* pszFormat, STFormatNumerique* pstFormat) noexcept;

// The C library format that prints a value under pstFormat, narrow, with "ll" for the integer
// letters: "%-+012.3f", "%08llx". The buffer holds at least 24 characters. Answers the length.
int nConstruitFormatC(const STFormatNumerique& stFormat, char* pszFormatC) noexcept;

// The small correction applied to a real before it is printed with nPrecision decimals, so that
// a decimal value stored a hair below its text (2.675) rounds as its text reads.
double dCompenseErreurBinaire(double dValeur, int nPrecision) noexcept;

// What NumeriqueVersChaine answers.
enum class EResultatFormat {
    Ok,
    ErreurFormat,     // the format breaks the grammar, or asks for a mask
    ErreurValeur,     // the value cannot be read as a number
};

// The whole of NumeriqueVersChaine: the value under the format, into pclResultat (emptied on an
// error). The locale's separators are read at each call; the system masks take the layouts,
// decimals, separators and currency of the machine's language when it has settings of its own.
EResultatFormat eNumeriqueVersChaine(const CAny& clValeur, const wchar_t* pszFormat, CXYString<wchar_t>* pclResultat,
                                     IInfoLangue* piInfoLangue = nullptr) noexcept;

// ---------------------------------------------------------------- hexadecimal and buffers

// Hexadecimal text of an integer's bytes, from the high end; a positive nGroupe puts a blank every
// nGroupe digits counted from the right. Integer variants give their own bytes, others the ten
// bytes of their CMoney value. False when the value cannot be read as money.
bool bEntierVersHexa(const CAny& clValeur, int nGroupe, CXYString<wchar_t>* pclResultat) noexcept;

enum class EResultatHexa { Ok, CaractereInvalide, TropLong };
// Reads hexadecimal text into the smallest unsigned variant that holds its digits (8, 16, 32 or
// 64 bits), money above 16 digits. On an error the variant is the int 0 and *pcInvalide (when
// not null) the character that stopped the reading.
EResultatHexa eHexaVersEntier(const wchar_t* pszTexte, CAny* pclValeur, wchar_t* pcInvalide) noexcept;

// Options of BufferVersHexa, ored into the item size and the column count.
inline constexpr int HEXA_PETIT_BOUTIEN = 256;  // in the size: items read as little-endian values
inline constexpr int HEXA_AVEC_DUMP = 512;      // in the columns: the printable bytes after each line
inline constexpr int HEXA_COLONNES_DEFAUT = 16;

// Hexadecimal dump of bytes. False when the item size (options removed) is not 1, 2 or 4.
bool bBufferVersHexa(const uint8_t* pbyOctets, int nTaille, int nTailleItem, int nColonnes,
                     CXYString<wchar_t>* pclResultat) noexcept;

enum class EResultatBuffer { Ok, TailleInvalide, CaractereInvalide };
// Reads hexadecimal text, 2 x nTailleItem digits an item, each stored as a little-endian value of
// nTailleItem bytes. Blanks and line breaks are stepped over; a "|" starts a dump that runs to the
// end of its line.
EResultatBuffer eHexaVersBuffer(const wchar_t* pszTexte, int nTailleItem, CZKBIN* pclResultat) noexcept;

enum class EResultatLecture { Ok, TailleInvalide, HorsLimites };
// Reads nTaille bytes (1, 2, 4 or 8) at nDecalage, little-endian, unsigned.
EResultatLecture eBufferVersEntier(const CZKBIN& clBuffer, long nDecalage, int nTaille, long* pnValeur) noexcept;
// Reads a float (4) or a double (8) at nDecalage.
EResultatLecture eBufferVersReel(const CZKBIN& clBuffer, long nDecalage, int nTaille, double* pdValeur) noexcept;

// Whether a variant holds a number or a text that reads as one.
bool bEstNumerique(const CAny& clValeur) noexcept;
