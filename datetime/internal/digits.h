// Digit readers and writers shared by the date and time families, for 8-bit and wide text. They
// never read past a terminator nor write past the count they are given.
#pragma once

#include <cstddef>
#include <cstdint>

namespace datetime_internal {

template <typename T>
constexpr bool bChiffre(T c) noexcept {
    return c >= static_cast<T>('0') && c <= static_cast<T>('9');
}

// Length of a text, counting at most nMax characters; 0 for null.
template <typename T>
size_t nLongueurBornee(const T* psz, size_t nMax) noexcept {
    if (psz == nullptr) return 0;
    size_t n = 0;
    while (n < nMax && psz[n] != 0) ++n;
    return n;
}

// nNombre digits as a number; false when one of them is not a digit.
template <typename T>
bool bLitChiffres(const T* psz, int nNombre, int* pnValeur) noexcept {
    int nValeur = 0;
    for (int i = 0; i < nNombre; ++i) {
        if (!bChiffre(psz[i])) return false;
        nValeur = nValeur * 10 + static_cast<int>(psz[i] - static_cast<T>('0'));
    }
    *pnValeur = nValeur;
    return true;
}

// nNombre digits of the value, zero-padded on the left; a wider value gives its low digits.
template <typename T>
void EcritChiffres(T* psz, int nNombre, uint32_t nValeur) noexcept {
    for (int i = nNombre - 1; i >= 0; --i) {
        psz[i] = static_cast<T>('0' + nValeur % 10);
        nValeur /= 10;
    }
}

// Copies an ASCII text into a text of width T.
template <typename T>
void CopieAscii(T* pszCible, const char* pszSource) noexcept {
    while ((*pszCible++ = static_cast<T>(static_cast<unsigned char>(*pszSource++))) != 0) {
    }
}

}  // namespace datetime_internal
