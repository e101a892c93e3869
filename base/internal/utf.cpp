// UTF-8 and UTF-16LE to UTF-32.
#include "base/internal/utf.h"

#include <cstdlib>
#include <cwchar>

namespace base_internal {

namespace {

bool bEstSuite(const uint8_t* pbyOctet, const uint8_t* pbyFin) noexcept {
    if (pbyFin != nullptr && pbyOctet >= pbyFin) return false;
    return (*pbyOctet & 0xC0) == 0x80;  // a zero byte is never a continuation, so no overread
}

}  // namespace

const uint8_t* pbyLitUtf8(const uint8_t* pbyTexte, const uint8_t* pbyFin, char32_t* pcCaractere) noexcept {
    if (pbyFin != nullptr ? pbyTexte >= pbyFin : *pbyTexte == 0) return nullptr;
    const uint8_t byPremier = *pbyTexte++;
    if (byPremier < 0x80) {
        *pcCaractere = byPremier;
        return pbyTexte;
    }
    int nSuite;
    char32_t cValeur;
    char32_t cMinimum;
    if (byPremier >= 0xC2 && byPremier <= 0xDF) {
        nSuite = 1, cValeur = byPremier & 0x1F, cMinimum = 0x80;
    } else if (byPremier >= 0xE0 && byPremier <= 0xEF) {
        nSuite = 2, cValeur = byPremier & 0x0F, cMinimum = 0x800;
    } else if (byPremier >= 0xF0 && byPremier <= 0xF4) {
        nSuite = 3, cValeur = byPremier & 0x07, cMinimum = 0x10000;
    } else {
        *pcCaractere = CARACTERE_REMPLACEMENT;
        return pbyTexte;
    }
    for (int i = 0; i < nSuite; ++i) {
        if (!bEstSuite(pbyTexte, pbyFin)) {
            *pcCaractere = CARACTERE_REMPLACEMENT;
            return pbyTexte;  // the offending byte starts the next character
        }
        cValeur = (cValeur << 6) | (*pbyTexte++ & 0x3F);
    }
    if (cValeur < cMinimum || cValeur > 0x10FFFF || (cValeur >= 0xD800 && cValeur <= 0xDFFF))
        cValeur = CARACTERE_REMPLACEMENT;
    *pcCaractere = cValeur;
    return pbyTexte;
}

size_t nUtf8VersWide(const char* pszTexte, size_t nOctets, wchar_t* pszSortie, size_t nPlace) noexcept {
    if (pszTexte == nullptr) return 0;
    const auto* pbyTexte = reinterpret_cast<const uint8_t*>(pszTexte);
    const uint8_t* pbyFin = nOctets == LONGUEUR_JUSQUA_ZERO ? nullptr : pbyTexte + nOctets;
    size_t nTotal = 0;
    char32_t cCaractere;
    while ((pbyTexte = pbyLitUtf8(pbyTexte, pbyFin, &cCaractere)) != nullptr) {
        if (nTotal < nPlace) pszSortie[nTotal] = static_cast<wchar_t>(cCaractere);
        ++nTotal;
    }
    return nTotal;
}

size_t nUtf16LeVersWide(const uint8_t* pbyTexte, size_t nOctets, wchar_t* pszSortie, size_t nPlace) noexcept {
    if (pbyTexte == nullptr) return 0;
    const size_t nUnites = nOctets / 2;
    size_t nTotal = 0;
    for (size_t i = 0; i < nUnites; ++i) {
        char32_t cUnite = pbyTexte[2 * i] | (pbyTexte[2 * i + 1] << 8);
        if (cUnite >= 0xD800 && cUnite <= 0xDBFF && i + 1 < nUnites) {
            const char32_t cBasse = pbyTexte[2 * i + 2] | (pbyTexte[2 * i + 3] << 8);
            if (cBasse >= 0xDC00 && cBasse <= 0xDFFF) {
                cUnite = 0x10000 + ((cUnite - 0xD800) << 10) + (cBasse - 0xDC00);
                ++i;
            } else {
                cUnite = CARACTERE_REMPLACEMENT;
            }
        } else if (cUnite >= 0xD800 && cUnite <= 0xDFFF) {
            cUnite = CARACTERE_REMPLACEMENT;
        }
        if (nTotal < nPlace) pszSortie[nTotal] = static_cast<wchar_t>(cUnite);
        ++nTotal;
    }
    return nTotal;
}

namespace {

template <class FDecode>
wchar_t* pszDecodeAlloue(FDecode fnDecode, size_t* pnLongueur) noexcept {
    const size_t nLongueur = fnDecode(nullptr, 0);
    auto* pszSortie = static_cast<wchar_t*>(malloc((nLongueur + 1) * sizeof(wchar_t)));
    if (pszSortie == nullptr) return nullptr;
    fnDecode(pszSortie, nLongueur);
    pszSortie[nLongueur] = 0;
    if (pnLongueur != nullptr) *pnLongueur = nLongueur;
    return pszSortie;
}

}  // namespace

wchar_t* pszUtf8VersWideAlloue(const char* pszTexte, size_t nOctets, size_t* pnLongueur) noexcept {
    if (pszTexte == nullptr) return nullptr;
    return pszDecodeAlloue(
        [&](wchar_t* pszSortie, size_t nPlace) { return nUtf8VersWide(pszTexte, nOctets, pszSortie, nPlace); },
        pnLongueur);
}

wchar_t* pszUtf16LeVersWideAlloue(const uint8_t* pbyTexte, size_t nOctets, size_t* pnLongueur) noexcept {
    if (pbyTexte == nullptr) return nullptr;
    return pszDecodeAlloue(
        [&](wchar_t* pszSortie, size_t nPlace) { return nUtf16LeVersWide(pbyTexte, nOctets, pszSortie, nPlace); },
        pnLongueur);
}

wchar_t* pszDupliqueWide(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return nullptr;
    const size_t nLongueur = wcslen(pszTexte);
    auto* pszCopie = static_cast<wchar_t*>(malloc((nLongueur + 1) * sizeof(wchar_t)));
    if (pszCopie != nullptr) wmemcpy(pszCopie, pszTexte, nLongueur + 1);
    return pszCopie;
}

}  // namespace base_internal
