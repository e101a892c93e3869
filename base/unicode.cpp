// Unicode forms to and from the library's wide text, and the UTF-8 and UTF-16 helpers.
#include "base/unicode.h"

#include <cstdlib>
#include <cstring>

#include "base/characters.h"
#include "base/code_pages.h"
#include "base/internal/utf_codec.h"

using namespace base_internal;

const unsigned char TabUTF8len[256] = {
    // 0x00 to 0x7F: one byte
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    // 0x80 to 0xBF: continuation bytes
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    // 0xC0, 0xC1 only ever lead overlong forms
    0, 0, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,
    3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3,
    // 0xF5 and above would lead past U+10FFFF
    4, 4, 4, 4, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
};

namespace {

const uint8_t* pbyOctets(const char* pszTexte) noexcept { return reinterpret_cast<const uint8_t*>(pszTexte); }
uint8_t* pbyOctets(char* pszTexte) noexcept { return reinterpret_cast<uint8_t*>(pszTexte); }

// Decodes UTF-16 into 32-bit units, joining surrogate pairs; a lone surrogate is a bad sequence.
template <class TUnite>
ptrdiff_t nUtf16VersUtf32(const char16_t* pszTexte, size_t nUnites, TUnite* pcSortie, size_t nPlace) noexcept {
    size_t nSortie = 0;
    for (size_t i = 0; i < nUnites; ++i) {
        uint32_t cCaractere = pszTexte[i];
        if (cCaractere >= 0xD800 && cCaractere <= 0xDFFF) {
            if (cCaractere >= 0xDC00 || i + 1 >= nUnites) return CODEC_SEQUENCE_INVALIDE;
            const uint32_t cBas = pszTexte[i + 1];
            if (cBas < 0xDC00 || cBas > 0xDFFF) return CODEC_SEQUENCE_INVALIDE;
            cCaractere = 0x10000 + ((cCaractere - 0xD800) << 10) + (cBas - 0xDC00);
            ++i;
        }
        if (pcSortie != nullptr) {
            if (nSortie >= nPlace) return CODEC_SORTIE_PLEINE;
            pcSortie[nSortie] = static_cast<TUnite>(cCaractere);
        }
        ++nSortie;
    }
    return static_cast<ptrdiff_t>(nSortie);
}

// 32-bit units to UTF-16, splitting what lies past the BMP into a surrogate pair.
template <class TUnite>
ptrdiff_t nUtf32VersUtf16(const TUnite* pcTexte, size_t nCaracteres, char16_t* pszSortie, size_t nPlace) noexcept {
    size_t nSortie = 0;
    for (size_t i = 0; i < nCaracteres; ++i) {
        const auto cCaractere = static_cast<uint32_t>(pcTexte[i]);
        if (!bEstScalaireUnicode(cCaractere)) return CODEC_SEQUENCE_INVALIDE;
        const size_t nUnites = cCaractere < 0x10000 ? 1 : 2;
        if (pszSortie != nullptr) {
            if (nPlace - nSortie < nUnites) return CODEC_SORTIE_PLEINE;
            if (nUnites == 1) {
                pszSortie[nSortie] = static_cast<char16_t>(cCaractere);
            } else {
                pszSortie[nSortie] = static_cast<char16_t>(0xD800 + ((cCaractere - 0x10000) >> 10));
                pszSortie[nSortie + 1] = static_cast<char16_t>(0xDC00 + (cCaractere & 0x3FF));
            }
        }
        nSortie += nUnites;
    }
    return static_cast<ptrdiff_t>(nSortie);
}

// 32-bit units checked and copied (wide and UTF-32 are one form here).
template <class TSource, class TCible>
ptrdiff_t nCopieScalaires(const TSource* pcTexte, size_t nCaracteres, TCible* pcSortie, size_t nPlace) noexcept {
    for (size_t i = 0; i < nCaracteres; ++i)
        if (!bEstScalaireUnicode(static_cast<uint32_t>(pcTexte[i]))) return CODEC_SEQUENCE_INVALIDE;
    if (pcSortie != nullptr) {
        if (nPlace < nCaracteres) return CODEC_SORTIE_PLEINE;
        for (size_t i = 0; i < nCaracteres; ++i) pcSortie[i] = static_cast<TCible>(pcTexte[i]);
    }
    return static_cast<ptrdiff_t>(nCaracteres);
}

// The frame of every counted conversion: arguments checked, then the codec asked once.
template <class TSource, class TCible, class FCodec>
int nConvertit(const TSource* pszTexte, int nLongueur, TCible* pSortie, int nPlace, FCodec fnCodec) noexcept {
    size_t nUnites;
    bool bCompte;
    if (!bLitEntree(pszTexte, nLongueur, &nUnites) || !bLitSortie(pSortie, nPlace, &bCompte)) return 0;
    return nReponseCodec(fnCodec(nUnites, bCompte ? nullptr : pSortie, bCompte ? 0 : static_cast<size_t>(nPlace)));
}

// A whole conversion into a new malloc buffer: counted, then written, then terminated.
template <class TSource, class TCible, class FConvertit>
TCible* pszConvertitAlloue(const TSource* pszTexte, int nLongueur, FConvertit fnConvertit) noexcept {
    if (pszTexte == nullptr) return nullptr;
    if (nLongueur == 0 || (nLongueur == -1 && pszTexte[0] == 0)) {
        auto* pszVide = static_cast<TCible*>(calloc(1, sizeof(TCible)));
        return pszVide;
    }
    const int nCompte = fnConvertit(pszTexte, nLongueur, static_cast<TCible*>(nullptr), 0);
    if (nCompte <= 0) return nullptr;
    // With -1 the count holds the terminator already; otherwise room for one is added.
    const size_t nPlace = static_cast<size_t>(nCompte) + (nLongueur == -1 ? 0 : 1);
    auto* pszSortie = static_cast<TCible*>(malloc(nPlace * sizeof(TCible)));
    if (pszSortie == nullptr) return nullptr;
    if (fnConvertit(pszTexte, nLongueur, pszSortie, nCompte) != nCompte) {
        free(pszSortie);
        return nullptr;
    }
    pszSortie[nPlace - 1] = 0;
    return pszSortie;
}

}  // namespace

int nUTF8ToWide(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nOctets, pszSortie, nPlace, [&](size_t n, wchar_t* p, size_t nP) {
        return nUtf8VersUtf32(pbyOctets(pszTexte), n, p, nP);
    });
}

int nWideToUTF8(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nCaracteres, pszSortie, nPlace, [&](size_t n, char* p, size_t nP) {
        return nUtf32VersUtf8(pszTexte, n, pbyOctets(p), nP);
    });
}

int WideCharToUTF8(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return nWideToUTF8(pszTexte, nCaracteres, pszSortie, nPlace);
}

wchar_t* UTF8ToWide(const char* pszTexte, int nOctets) noexcept {
    return pszConvertitAlloue<char, wchar_t>(pszTexte, nOctets, nUTF8ToWide);
}

char* WideToUTF8(const wchar_t* pszTexte, int nCaracteres) noexcept {
    return pszConvertitAlloue<wchar_t, char>(pszTexte, nCaracteres, nWideToUTF8);
}

int UTF8ToWideLen(const char* pszTexte, int nOctets) noexcept {
    return nUTF8ToWide(pszTexte, nOctets, nullptr, 0);
}

int UTF8ToUTF16Len(const char* pszTexte, int nOctets) noexcept {
    return UTF8ToUTF16(pszTexte, nOctets, nullptr, 0);
}

int UTF8ToUTF16(const char* pszTexte, int nOctets, char16_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nOctets, pszSortie, nPlace, [&](size_t n, char16_t* p, size_t nP) -> ptrdiff_t {
        // Decode a character at a time: UTF-16 output is rare and never hot.
        const uint8_t* pbyCourant = pbyOctets(pszTexte);
        const uint8_t* const pbyFin = pbyCourant + n;
        size_t nSortie = 0;
        while (pbyCourant < pbyFin) {
            uint32_t cCaractere;
            const size_t nPris = nDecodeCaractereUtf8(pbyCourant, pbyFin, &cCaractere);
            if (nPris == 0) return CODEC_SEQUENCE_INVALIDE;
            const ptrdiff_t nUnites = nUtf32VersUtf16(&cCaractere, 1, p != nullptr ? p + nSortie : nullptr,
                                                      p != nullptr ? nP - nSortie : 0);
            if (nUnites < 0) return nUnites;
            nSortie += static_cast<size_t>(nUnites);
            pbyCourant += nPris;
        }
        return static_cast<ptrdiff_t>(nSortie);
    });
}

int UTF16ToUtf8(const char16_t* pszTexte, int nUnites, char* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nUnites, pszSortie, nPlace, [&](size_t n, char* p, size_t nP) -> ptrdiff_t {
        size_t nSortie = 0;
        for (size_t i = 0; i < n;) {
            // One character: one unit, or two for a pair.
            const size_t nLargeur = pszTexte[i] >= 0xD800 && pszTexte[i] <= 0xDBFF && i + 1 < n ? 2 : 1;
            char32_t cCaractere;
            const ptrdiff_t nDecode = nUtf16VersUtf32(pszTexte + i, nLargeur, &cCaractere, 1);
            if (nDecode < 0) return nDecode;
            const ptrdiff_t nOctets = nUtf32VersUtf8(&cCaractere, 1, p != nullptr ? pbyOctets(p) + nSortie : nullptr,
                                                     p != nullptr ? nP - nSortie : 0);
            if (nOctets < 0) return nOctets;
            nSortie += static_cast<size_t>(nOctets);
            i += nLargeur;
        }
        return static_cast<ptrdiff_t>(nSortie);
    });
}

int UTF16ToWideChar(const char16_t* pszTexte, int nUnites, wchar_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nUnites, pszSortie, nPlace,
                      [&](size_t n, wchar_t* p, size_t nP) { return nUtf16VersUtf32(pszTexte, n, p, nP); });
}

int WideCharToUTF16(const wchar_t* pszTexte, int nCaracteres, char16_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nCaracteres, pszSortie, nPlace,
                      [&](size_t n, char16_t* p, size_t nP) { return nUtf32VersUtf16(pszTexte, n, p, nP); });
}

int UTF8ToUTF32(const char* pszTexte, int nOctets, char32_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nOctets, pszSortie, nPlace, [&](size_t n, char32_t* p, size_t nP) {
        return nUtf8VersUtf32(pbyOctets(pszTexte), n, p, nP);
    });
}

int UTF32ToUTF8(const char32_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nCaracteres, pszSortie, nPlace, [&](size_t n, char* p, size_t nP) {
        return nUtf32VersUtf8(pszTexte, n, pbyOctets(p), nP);
    });
}

int UTF32ToWideChar(const char32_t* pszTexte, int nCaracteres, wchar_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nCaracteres, pszSortie, nPlace,
                      [&](size_t n, wchar_t* p, size_t nP) { return nCopieScalaires(pszTexte, n, p, nP); });
}

int WideCharToUTF32(const wchar_t* pszTexte, int nCaracteres, char32_t* pszSortie, int nPlace) noexcept {
    return nConvertit(pszTexte, nCaracteres, pszSortie, nPlace,
                      [&](size_t n, char32_t* p, size_t nP) { return nCopieScalaires(pszTexte, n, p, nP); });
}

int UTF8ToMultiByte(unsigned int nCodePage, const char* pszTexte, int nOctets, char* pszSortie, int nPlace) noexcept {
    return MultiByteToMultiByte(CP_UTF8, nCodePage, 0, pszTexte, nOctets, pszSortie, nPlace);
}

int MultiByteToUTF8(unsigned int nCodePage, const char* pszTexte, int nOctets, char* pszSortie, int nPlace) noexcept {
    return MultiByteToMultiByte(nCodePage, CP_UTF8, 0, pszTexte, nOctets, pszSortie, nPlace);
}

int UTF16ToMultiByte(unsigned int nCodePage, const char16_t* pszTexte, int nUnites, char* pszSortie,
                     int nPlace) noexcept {
    size_t nUnitesEntree;
    bool bCompte;
    if (!bLitEntree(pszTexte, nUnites, &nUnitesEntree) || !bLitSortie(pszSortie, nPlace, &bCompte)) return 0;
    if (CodePageToIConv(nCodePage) == nullptr) return nEchecConversion(EINVAL);
    const int nCaracteres = UTF16ToWideChar(pszTexte, nUnites, nullptr, 0);
    if (nCaracteres == 0) return 0;
    auto* pszWide = static_cast<wchar_t*>(malloc(static_cast<size_t>(nCaracteres) * sizeof(wchar_t)));
    if (pszWide == nullptr) return nEchecConversion(ENOMEM);
    int nResultat = UTF16ToWideChar(pszTexte, nUnites, pszWide, nCaracteres);
    if (nResultat != 0) nResultat = WideCharToMultiByte(nCodePage, 0, pszWide, nCaracteres, pszSortie, nPlace);
    free(pszWide);
    return nResultat;
}

bool UTF8Valide(const char* pszTexte, int nOctets) noexcept {
    if (pszTexte == nullptr) return false;
    const size_t nLongueur = nOctets < 0 ? strlen(pszTexte) : static_cast<size_t>(nOctets);
    return nUtf8VersUtf32<char32_t>(pbyOctets(pszTexte), nLongueur, nullptr, 0) >= 0;
}

wchar_t UTF8_GetNext(const char** ppszTexte, const char* pszFin) noexcept {
    if (ppszTexte == nullptr || *ppszTexte == nullptr) return 0;
    const uint8_t* pbyCourant = pbyOctets(*ppszTexte);
    const uint8_t* pbyFin = pbyOctets(pszFin);
    if (pbyFin != nullptr ? pbyCourant >= pbyFin : *pbyCourant == 0) return 0;
    if (pbyFin == nullptr) {
        // Without an end, the sequence may run no further than a zero byte, which is never a
        // continuation: measure up to 4 bytes without passing one.
        size_t nDisponible = 1;
        while (nDisponible < 4 && pbyCourant[nDisponible] != 0) ++nDisponible;
        pbyFin = pbyCourant + nDisponible;
    }
    uint32_t cCaractere;
    const size_t nPris = nDecodeCaractereUtf8(pbyCourant, pbyFin, &cCaractere);
    if (nPris != 0) {
        *ppszTexte += nPris;
        return static_cast<wchar_t>(cCaractere);
    }
    // Broken: skip the lead and the continuation bytes that followed it.
    size_t nSaut = 1;
    while (pbyCourant + nSaut < pbyFin && nSaut < 4 && (pbyCourant[nSaut] & 0xC0) == 0x80) ++nSaut;
    *ppszTexte += nSaut;
    return static_cast<wchar_t>(0xFFFD);
}

wchar_t UTF8FirstChar(const char* pszTexte) noexcept {
    const char* pszCourant = pszTexte;
    return UTF8_GetNext(&pszCourant, nullptr);
}

const char* UTF8next(const char* pszTexte) noexcept {
    if (pszTexte == nullptr || *pszTexte == 0) return pszTexte;
    const char* pszCourant = pszTexte;
    UTF8_GetNext(&pszCourant, nullptr);
    return pszCourant;
}

int StrNLenUTF8(const char* pszTexte, int nOctets) noexcept {
    if (pszTexte == nullptr || nOctets <= 0) return 0;
    const char* pszFin = pszTexte + strnlen(pszTexte, static_cast<size_t>(nOctets));
    int nCaracteres = 0;
    while (UTF8_GetNext(&pszTexte, pszFin) != 0) ++nCaracteres;
    return nCaracteres;
}

int UTF8Len(const char* pszTexte) noexcept {
    if (pszTexte == nullptr) return 0;
    int nCaracteres = 0;
    while (UTF8_GetNext(&pszTexte, nullptr) != 0) ++nCaracteres;
    return nCaracteres;
}

int StrLenUTF8(const char* pszTexte) noexcept { return UTF8Len(pszTexte); }

int UTF8ByteLen(const char* pszTexte, int nCaracteres) noexcept {
    if (pszTexte == nullptr || nCaracteres <= 0) return 0;
    const char* pszCourant = pszTexte;
    for (int i = 0; i < nCaracteres && UTF8_GetNext(&pszCourant, nullptr) != 0; ++i) {
    }
    return static_cast<int>(pszCourant - pszTexte);
}

int UTF8ByteLenTotal(const char* pszTexte) noexcept {
    return pszTexte == nullptr ? 0 : static_cast<int>(strlen(pszTexte)) + 1;
}

int STR_nGetNbByteUTF8(wchar_t cCaractere) noexcept {
    const auto cValeur = static_cast<uint32_t>(cCaractere);
    return bEstScalaireUnicode(cValeur) ? static_cast<int>(nOctetsUtf8(cValeur)) : 0;
}

int nGetUTF8Len(const wchar_t* pszTexte, int nCaracteres) noexcept {
    if (pszTexte == nullptr || nCaracteres == 0) return 0;
    const size_t nLongueur = nCaracteres < 0 ? wcslen(pszTexte) : static_cast<size_t>(nCaracteres);
    if (nLongueur == 0) return 0;
    return nReponseCodec(nUtf32VersUtf8(pszTexte, nLongueur, nullptr, 0));
}

int utf16len(const char16_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return 0;
    int n = 0;
    while (pszTexte[n] != 0) ++n;
    return n;
}

int utf16nlen(const char16_t* pszTexte, int nMax) noexcept {
    if (pszTexte == nullptr) return 0;
    int n = 0;
    while (n < nMax && pszTexte[n] != 0) ++n;
    return n;
}

int utf16ncpy(char16_t* pszCible, const char16_t* pszSource, int nMax) noexcept {
    if (pszCible == nullptr || pszSource == nullptr) return 0;
    int n = 0;
    while (n < nMax) {
        pszCible[n] = pszSource[n];
        if (pszSource[n++] == 0) break;
    }
    return n;
}

namespace {

uint32_t cMajuscule16(char16_t cUnite) noexcept {
    // Surrogates stay as they are: case only matters inside the BMP here.
    if (cUnite >= 0xD800 && cUnite <= 0xDFFF) return cUnite;
    return static_cast<uint32_t>(STR_ToUpper(static_cast<wchar_t>(cUnite)));
}

}  // namespace

int utf16nicmp(const char16_t* pszTexte1, const char16_t* pszTexte2, int nMax) noexcept {
    static const char16_t szVide[1] = {0};
    if (pszTexte1 == nullptr) pszTexte1 = szVide;
    if (pszTexte2 == nullptr) pszTexte2 = szVide;
    for (int i = 0; i < nMax; ++i) {
        const uint32_t c1 = cMajuscule16(pszTexte1[i]);
        const uint32_t c2 = cMajuscule16(pszTexte2[i]);
        if (c1 != c2) return c1 < c2 ? -1 : 1;
        if (c1 == 0) break;
    }
    return 0;
}

const char16_t* utf16niutf16(const char16_t* pszTexte, const char16_t* pszCherche, int nMax) noexcept {
    if (pszTexte == nullptr || pszCherche == nullptr) return nullptr;
    const int nTexte = utf16nlen(pszTexte, nMax);
    const int nCherche = utf16len(pszCherche);
    for (int i = 0; i + nCherche <= nTexte; ++i)
        if (utf16nicmp(pszTexte + i, pszCherche, nCherche) == 0) return pszTexte + i;
    return nullptr;
}
