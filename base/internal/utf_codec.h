// What the counted conversions of base/unicode.h and base/code_pages.h share: reading their
// arguments, answering a failure with errno, and the strict codecs with fast paths for ASCII runs.
#pragma once

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

namespace base_internal {

inline int nEchecConversion(int nErrno) noexcept {
    errno = nErrno;
    return 0;
}

template <class T>
size_t nLongueurJusquaZero(const T* pszTexte) noexcept {
    if constexpr (sizeof(T) == 1) {
        return strlen(reinterpret_cast<const char*>(pszTexte));
    } else if constexpr (sizeof(T) == sizeof(wchar_t)) {
        return wcslen(reinterpret_cast<const wchar_t*>(pszTexte));
    } else {
        size_t n = 0;
        while (pszTexte[n] != 0) ++n;
        return n;
    }
}

// The input of a counted conversion: a non-null text and a length of -1 (zero-terminated, the
// terminator taken in) or above 0. False, errno EINVAL, for anything else.
template <class T>
bool bLitEntree(const T* pszTexte, int nLongueur, size_t* pnUnites) noexcept {
    if (pszTexte == nullptr || nLongueur == 0 || nLongueur < -1) {
        errno = EINVAL;
        return false;
    }
    *pnUnites = nLongueur == -1 ? nLongueurJusquaZero(pszTexte) + 1 : static_cast<size_t>(nLongueur);
    return true;
}

// The output: a negative size is a bad argument; a null buffer or a size of 0 asks for the count.
template <class T>
bool bLitSortie(T* pSortie, int nPlace, bool* pbCompte) noexcept {
    if (nPlace < 0) {
        errno = EINVAL;
        return false;
    }
    *pbCompte = pSortie == nullptr || nPlace == 0;
    return true;
}

// Answer of a conversion that produced nUnites: 0 with EOVERFLOW past what an int can count.
inline int nResultat(size_t nUnites) noexcept {
    if (nUnites > static_cast<size_t>(INT_MAX)) return nEchecConversion(EOVERFLOW);
    return static_cast<int>(nUnites);
}

// Outcome of the raw codecs below.
inline constexpr ptrdiff_t CODEC_SEQUENCE_INVALIDE = -1;
inline constexpr ptrdiff_t CODEC_SORTIE_PLEINE = -2;

// Decodes one UTF-8 character at pbyTexte (at least one byte before pbyFin), strictly: no
// overlong form, no surrogate, nothing past U+10FFFF, no truncated sequence. Answers the bytes it
// took, or 0 for a broken sequence.
inline size_t nDecodeCaractereUtf8(const uint8_t* pbyTexte, const uint8_t* pbyFin, uint32_t* pcCaractere) noexcept {
    const uint32_t byPremier = pbyTexte[0];
    if (byPremier < 0x80) {
        *pcCaractere = byPremier;
        return 1;
    }
    size_t nSuite;
    uint32_t cValeur;
    uint32_t cMinimum;
    if (byPremier >= 0xC2 && byPremier <= 0xDF) {
        nSuite = 1, cValeur = byPremier & 0x1F, cMinimum = 0x80;
    } else if (byPremier >= 0xE0 && byPremier <= 0xEF) {
        nSuite = 2, cValeur = byPremier & 0x0F, cMinimum = 0x800;
    } else if (byPremier >= 0xF0 && byPremier <= 0xF4) {
        nSuite = 3, cValeur = byPremier & 0x07, cMinimum = 0x10000;
    } else {
        return 0;
    }
    if (static_cast<size_t>(pbyFin - pbyTexte) <= nSuite) return 0;
    for (size_t i = 1; i <= nSuite; ++i) {
        const uint32_t bySuite = pbyTexte[i];
        if ((bySuite & 0xC0) != 0x80) return 0;
        cValeur = (cValeur << 6) | (bySuite & 0x3F);
    }
    if (cValeur < cMinimum || cValeur > 0x10FFFF || (cValeur >= 0xD800 && cValeur <= 0xDFFF)) return 0;
    *pcCaractere = cValeur;
    return nSuite + 1;
}

// Writes the UTF-8 form of a scalar value (checked by the caller); answers its bytes.
inline size_t nEncodeCaractereUtf8(uint32_t cCaractere, uint8_t* pbySortie) noexcept {
    if (cCaractere < 0x80) {
        pbySortie[0] = static_cast<uint8_t>(cCaractere);
        return 1;
    }
    if (cCaractere < 0x800) {
        pbySortie[0] = static_cast<uint8_t>(0xC0 | (cCaractere >> 6));
        pbySortie[1] = static_cast<uint8_t>(0x80 | (cCaractere & 0x3F));
        return 2;
    }
    if (cCaractere < 0x10000) {
        pbySortie[0] = static_cast<uint8_t>(0xE0 | (cCaractere >> 12));
        pbySortie[1] = static_cast<uint8_t>(0x80 | ((cCaractere >> 6) & 0x3F));
        pbySortie[2] = static_cast<uint8_t>(0x80 | (cCaractere & 0x3F));
        return 3;
    }
    pbySortie[0] = static_cast<uint8_t>(0xF0 | (cCaractere >> 18));
    pbySortie[1] = static_cast<uint8_t>(0x80 | ((cCaractere >> 12) & 0x3F));
    pbySortie[2] = static_cast<uint8_t>(0x80 | ((cCaractere >> 6) & 0x3F));
    pbySortie[3] = static_cast<uint8_t>(0x80 | (cCaractere & 0x3F));
    return 4;
}

inline size_t nOctetsUtf8(uint32_t cCaractere) noexcept {
    return cCaractere < 0x80 ? 1 : cCaractere < 0x800 ? 2 : cCaractere < 0x10000 ? 3 : 4;
}

// A single-byte code page seen from Unicode: page by page of 256 characters (the BMP only, since
// no single-byte code page holds more), a null page holding none. Byte 0 means "none", except for
// U+0000 itself.
struct STTableInverse {
    const uint8_t* apbyPage[256];
};

// The raw codecs, over 32-bit units (TUnite is wchar_t or char32_t). A null output counts only, but
// the input is still checked. Each answers the count, CODEC_SEQUENCE_INVALIDE, or
// CODEC_SORTIE_PLEINE when nPlace units do not hold the whole result.
// UTF-8 to 32-bit units.
template <class TUnite>
ptrdiff_t nUtf8VersUtf32(const uint8_t* pbyTexte, size_t nOctets, TUnite* pcSortie, size_t nPlace) noexcept;
// 32-bit units to UTF-8; a value that is not a scalar is a bad sequence.
template <class TUnite>
ptrdiff_t nUtf32VersUtf8(const TUnite* pcTexte, size_t nCaracteres, uint8_t* pbySortie, size_t nPlace) noexcept;
// Bytes to 32-bit units through a 256-entry table; an entry of 0xFFFFFFFF is a byte without a
// character (a bad sequence). bAsciiIdentique: the table keeps bytes below 0x80 as they are, which
// allows the fast path.
template <class TUnite>
ptrdiff_t nOctetsVersUtf32(const uint8_t* pbyTexte, size_t nOctets, TUnite* pcSortie, size_t nPlace,
                           const uint32_t* pcTable, bool bAsciiIdentique) noexcept;
// 32-bit units to a single-byte code page; a character it cannot hold becomes byRemplacement.
template <class TUnite>
ptrdiff_t nUtf32VersOctets(const TUnite* pcTexte, size_t nCaracteres, uint8_t* pbySortie, size_t nPlace,
                           const STTableInverse& stTable, bool bAsciiIdentique, uint8_t byRemplacement) noexcept;

// Turns a raw codec's answer into the answer of a counted conversion.
inline int nReponseCodec(ptrdiff_t nCodec) noexcept {
    if (nCodec == CODEC_SEQUENCE_INVALIDE) return nEchecConversion(EILSEQ);
    if (nCodec == CODEC_SORTIE_PLEINE) return nEchecConversion(E2BIG);
    return nResultat(static_cast<size_t>(nCodec));
}

}  // namespace base_internal
