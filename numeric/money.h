// CMoney, the language's exact decimal: an 80-bit two's-complement integer N standing for
// N / 1,000,000, and its arithmetic as a small C-style library of free functions over CMoney*.
//
// Conventions of the library:
// - Functions named pst... answer their first operand, changed in place, or null on overflow or
//   a zero divisor; b... answer a boolean. Nothing throws, nothing allocates, no static state.
// - Each operation rounds its own way: multiplication truncates toward zero; division and
//   pstArrMonetaire round half away from zero; text input cuts decimals past the sixth;
//   pstArrMonetaireInf and pstArrMonetaireSup round down and up (with the unit rule below).
// - A null CMoney* read as an operand of an arithmetic function gives null; the text writers
//   write an empty text for it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "component/interfaces/money_view.h"

class CMoney {
public:
    // The five words, lowest first; the sign is the top bit of m_awMot[4]. Public so that the value
    // stays an aggregate of exactly ten bytes, the layout the machine copies.
    uint16_t m_awMot[MONEY_MOTS];

    // The raw integer N, sign-extended, and its setter (keeps the low 80 bits of n).
    __int128 nGetBrut() const noexcept;
    void SetBrut(__int128 n) noexcept;
};
static_assert(sizeof(CMoney) == sizeof(STMoneyView) && alignof(CMoney) == alignof(STMoneyView));

// Ten words for the engines' wide forms (a 160-bit value, same conventions). The word count of an
// operand is carried by its type, so an engine never reads past the value it is given.
struct STMonetaireLarge {
    uint16_t awMot[2 * MONEY_MOTS];
};

// ---------------------------------------------------------------- constants

inline constexpr CMoney gstMillion{{0x4240, 0x000f, 0, 0, 0}};               // 1.0, also the scale
inline constexpr CMoney gstMoinsUn{{0xbdc0, 0xfff0, 0xffff, 0xffff, 0xffff}};  // -1.0
inline constexpr CMoney gst65536{{0, 1, 0, 0, 0}};                            // raw 65,536
inline constexpr CMoney gclMoneyNULL{{0, 0, 0, 0, 0}};

// Buffer sizes, terminator included, for the writers below.
inline constexpr size_t MONEY_CHAINE_TAILLE = 28;   // decimal text, at most 26 characters
inline constexpr size_t MONEY_HEXA_TAILLE = 21;     // 20 hexadecimal digits
inline constexpr size_t MONEY_OCTALE_TAILLE = 28;   // 27 octal digits

// The machine's decimal type (0x0d) lies outside this library; only the size table of its
// integers stands here: mg_PToN[p] is the number of bytes of a signed integer that holds any
// number of p decimal digits (0 for p = 0).
struct IDecimal {
    static constexpr unsigned char mg_PToN[39] = {0,  1,  1,  2,  2,  3,  3,  4,  4,  4,  5,  5,  6,
                                                  6,  6,  7,  7,  8,  8,  9,  9,  9,  10, 10, 11, 11,
                                                  11, 12, 12, 13, 13, 13, 14, 14, 15, 15, 16, 16, 16};
};

// ---------------------------------------------------------------- text

// Reads decimal text: blanks (space, tab), one sign ("+", "-", U+FF0B, U+FF0D; only the ASCII "-"
// makes the value negative), digits, "." and decimals; any other character ends the number.
// Decimals past the sixth are dropped without rounding. Null on overflow, with the value as far
// as it was built. A null or empty text gives 0.
CMoney* pstChaineVersMonetaire(CMoney* pstMonetaire, const wchar_t* pszTexte) noexcept;
// Writes the exact decimal text: "1.5", "2", "0", "-0.5", trailing zeros removed. The buffer holds
// at least MONEY_CHAINE_TAILLE characters. Answers the buffer.
wchar_t* pszMonetaireVersChaineC(wchar_t* pszTexte, const CMoney* pstMonetaire) noexcept;

// Raw N from hexadecimal text: blanks skipped, at most 20 digits taken from the first; no digit
// gives 0. The ASCII letters of the text are changed to upper case in place.
CMoney* pstChaineHexaVersMonetaire(CMoney* pstMonetaire, wchar_t* pszTexte) noexcept;
// Raw N (two's complement) in upper-case hexadecimal without leading zeros; MONEY_HEXA_TAILLE.
wchar_t* pszMonetaireVersChaineHexa(wchar_t* pszTexte, const CMoney* pstMonetaire) noexcept;
// Raw N in octal, sign-extended to 81 bits (27 digits), without leading zeros; MONEY_OCTALE_TAILLE.
wchar_t* pszMonetaireVersChaineOctale(wchar_t* pszTexte, const CMoney* pstMonetaire) noexcept;

// Reals go through their decimal text with six decimals, so that 0.1 is exactly 100,000 units.
// A NaN or an infinity gives null.
CMoney* pstDoubleVersMonetaire(CMoney* pstMonetaire, double dValeur) noexcept;
double dMonetaireVersDouble(const CMoney* pstMonetaire) noexcept;

// ---------------------------------------------------------------- integers

// The integer times one million; null when that does not fit.
CMoney* pstInt32VersMonetaire(CMoney* pstMonetaire, int nValeur) noexcept;
CMoney* pstTresLongVersMonetaire(CMoney* pstMonetaire, long nValeur) noexcept;
CMoney* pstTresLongSansSigneVersMonetaire(CMoney* pstMonetaire, unsigned long nValeur) noexcept;

// The integer part (truncated toward zero). The b forms answer whether it fits the target, and
// store its low bits in any case; the l forms answer those bits alone.
bool bMonetaireVersInt32(const CMoney* pstMonetaire, int* pnValeur) noexcept;
int lMonetaireVersInt32(const CMoney* pstMonetaire) noexcept;
bool bMonetaireVersTresLong(const CMoney* pstMonetaire, long* pnValeur) noexcept;  // always fits
long lMonetaireVersTresLong(const CMoney* pstMonetaire) noexcept;
bool bMonetaireVersTresLongSansSigne(const CMoney* pstMonetaire, unsigned long* pnValeur) noexcept;
unsigned long lMonetaireVersTresLongSansSigne(const CMoney* pstMonetaire) noexcept;

// ---------------------------------------------------------------- arithmetic: a = a op b

// Addition and subtraction are exact. On overflow the wrapped sum stays in a and the answer is
// null. Besides the range, a sum of two negative operands whose top word is 8000 (hexadecimal) and
// whose lowest word is 0 counts as an overflow: callers have always relied on that test.
CMoney* pstAddMonetaire(CMoney* pstA, const CMoney* pstB) noexcept;
CMoney* pstSubMonetaire(CMoney* pstA, const CMoney* pstB) noexcept;
// Truncated toward zero; null (a unchanged) when the magnitude reaches 2^79.
CMoney* pstMulMonetaire(CMoney* pstA, const CMoney* pstB) noexcept;
// Rounded half away from zero; null (a unchanged) for a zero divisor or a quotient out of range.
CMoney* pstDivMonetaire(CMoney* pstA, const CMoney* pstB) noexcept;

// The engines, on 16-bit words. pstMulInterneC: a times b, divided by one million (truncated) when
// bEchelle is not 0; the result must fit nMots words with its top bit clear. pstDivInterneC: a,
// times the multiplier when there is one, divided by the divisor, rounded half away from zero;
// the quotient must fit nMots words. nMots is 1 to 5 for a CMoney, 1 to 10 for the wide form;
// another count gives null. On null the operand is unchanged.
CMoney* pstMulInterneC(CMoney* pstA, short nMots, const CMoney* pstB, int bEchelle) noexcept;
STMonetaireLarge* pstMulInterneC(STMonetaireLarge* pstA, short nMots, const CMoney* pstB, int bEchelle) noexcept;
CMoney* pstDivInterneC(CMoney* pstA, short nMots, const CMoney* pstDiviseur,
                       const CMoney* pstMultiplicateur) noexcept;
STMonetaireLarge* pstDivInterneC(STMonetaireLarge* pstA, short nMots, const CMoney* pstDiviseur,
                                 const CMoney* pstMultiplicateur) noexcept;

// Raw N times a word, plus a digit character ('0' to '9'; any other character adds nothing), read
// as unsigned. False when the result has its top bit set or does not fit 80 bits.
bool bMulMonetaireWord(CMoney* pstMonetaire, unsigned short wFacteur, wchar_t cChiffre) noexcept;
bool bMul10MonetaireInterneC(CMoney* pstMonetaire, wchar_t cChiffre) noexcept;
bool bMul10Monetaire(CMoney* pstMonetaire) noexcept;

// Two's-complement negation over the first nMots words; the smallest value stays as it is.
void NegMonetaire(CMoney* pstMonetaire) noexcept;
void NegInterne(CMoney* pstMonetaire, short nMots) noexcept;
void NegInterne(STMonetaireLarge* pstMonetaire, short nMots) noexcept;
CMoney* pstAbsMonetaire(CMoney* pstMonetaire) noexcept;

// Add or subtract 1.0 through the addition: false on overflow, the wrapped sum staying.
bool bIncrementeMonetaire(CMoney* pstMonetaire) noexcept;
bool bDecrementeMonetaire(CMoney* pstMonetaire) noexcept;

// Floor (null when the floor of a value near the smallest is out of range) and the fractional
// part of the magnitude: the fractional part of -1.5 is 0.5.
CMoney* pstEntMonetaire(CMoney* pstMonetaire) noexcept;
CMoney* pstDecMonetaire(CMoney* pstMonetaire) noexcept;

// Rounding to n decimals, n from 0 to 5; any other n leaves the value. pstArrMonetaire rounds half
// away from zero; null when the magnitude plus the half unit is out of range.
// pstArrMonetaireInf and pstArrMonetaireSup cut the magnitude to n decimals, then add one unit of
// the n-th decimal to a negative (Inf) or positive (Sup) value whenever the value is not whole,
// even when nothing was cut: Inf(-1.25, 2) is -1.26 and Sup(1.25, 2) is 1.26.
CMoney* pstArrMonetaire(CMoney* pstMonetaire, short nDecimales) noexcept;
CMoney* pstArrMonetaireInf(CMoney* pstMonetaire, short nDecimales) noexcept;
CMoney* pstArrMonetaireSup(CMoney* pstMonetaire, short nDecimales) noexcept;

// ---------------------------------------------------------------- tests and extremes

bool bMonetaireZero(const CMoney* pstMonetaire) noexcept;  // a null pointer counts as zero
// -1, 0 or 1; a null a gives 1, else a null b gives -1.
int nCmpMonetaire(const CMoney* pstA, const CMoney* pstB) noexcept;
int nCmpMonetaireEtInt32(const CMoney* pstA, int nValeur) noexcept;
void SetMonetaireToMin(CMoney* pstMonetaire) noexcept;
void SetMonetaireToMax(CMoney* pstMonetaire) noexcept;

// Ten bytes, big-endian, the top byte plus 128: plain byte comparison of keys orders the values.
void MonetaireVersCleKS(void* pCle, const CMoney* pstMonetaire) noexcept;

// Significant length of a little-endian buffer: bytes without the high zero bytes, and the
// position of the highest set bit plus 1. All zero gives 0 and 0.
void GetSignificativeBitNbr(int* pnOctets, int* pnBits, const void* pBuffer, int nTaille) noexcept;
