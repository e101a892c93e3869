// The raw codecs behind the counted conversions. Runs of ASCII, by far the most common case in
// the library's text, go 16 bytes at a time; everything else one character at a time.
#include "base/internal/utf_codec.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace base_internal {

namespace {

inline constexpr size_t BLOC = 16;

#if defined(__SSE2__)
// 16 ASCII bytes widened to 16 units of 32 bits.
template <class TUnite>
inline void ElargitBloc(__m128i vOctets, TUnite* pcSortie) noexcept {
    const __m128i vZero = _mm_setzero_si128();
    const __m128i vBas = _mm_unpacklo_epi8(vOctets, vZero);
    const __m128i vHaut = _mm_unpackhi_epi8(vOctets, vZero);
    auto* pvSortie = reinterpret_cast<__m128i*>(pcSortie);
    _mm_storeu_si128(pvSortie, _mm_unpacklo_epi16(vBas, vZero));
    _mm_storeu_si128(pvSortie + 1, _mm_unpackhi_epi16(vBas, vZero));
    _mm_storeu_si128(pvSortie + 2, _mm_unpacklo_epi16(vHaut, vZero));
    _mm_storeu_si128(pvSortie + 3, _mm_unpackhi_epi16(vHaut, vZero));
}

// True when the 16 units at pcTexte are all below 0x80; then *pvOctets holds them as bytes.
template <class TUnite>
inline bool bBlocAscii(const TUnite* pcTexte, __m128i* pvOctets) noexcept {
    const auto* pvTexte = reinterpret_cast<const __m128i*>(pcTexte);
    const __m128i v0 = _mm_loadu_si128(pvTexte);
    const __m128i v1 = _mm_loadu_si128(pvTexte + 1);
    const __m128i v2 = _mm_loadu_si128(pvTexte + 2);
    const __m128i v3 = _mm_loadu_si128(pvTexte + 3);
    const __m128i vTout = _mm_or_si128(_mm_or_si128(v0, v1), _mm_or_si128(v2, v3));
    const __m128i vHors = _mm_and_si128(vTout, _mm_set1_epi32(static_cast<int>(0xFFFFFF80u)));
    if (_mm_movemask_epi8(_mm_cmpeq_epi32(vHors, _mm_setzero_si128())) != 0xFFFF) return false;
    // Values below 0x80 survive both saturating packs unchanged.
    *pvOctets = _mm_packus_epi16(_mm_packs_epi32(v0, v1), _mm_packs_epi32(v2, v3));
    return true;
}
#endif

}  // namespace

template <class TUnite>
ptrdiff_t nUtf8VersUtf32(const uint8_t* pbyTexte, size_t nOctets, TUnite* pcSortie, size_t nPlace) noexcept {
    const uint8_t* pbyCourant = pbyTexte;
    const uint8_t* const pbyFin = pbyTexte + nOctets;
    size_t nSortie = 0;
    while (pbyCourant < pbyFin) {
#if defined(__SSE2__)
        while (static_cast<size_t>(pbyFin - pbyCourant) >= BLOC) {
            const __m128i vOctets = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyCourant));
            const unsigned int nMasque = static_cast<unsigned int>(_mm_movemask_epi8(vOctets));
            // The ASCII bytes in front of the first other one; widening all 16 is harmless since
            // the output has room for 16 and the units past the run are overwritten next.
            const size_t nAscii = nMasque == 0 ? BLOC : static_cast<size_t>(__builtin_ctz(nMasque));
            if (pcSortie != nullptr) {
                if (nPlace - nSortie < BLOC) break;
                ElargitBloc(vOctets, pcSortie + nSortie);
            }
            pbyCourant += nAscii;
            nSortie += nAscii;
            if (nMasque != 0) break;
        }
        if (pbyCourant >= pbyFin) break;
#endif
        uint32_t cCaractere;
        size_t nPris;
        if (*pbyCourant < 0x80) {
            cCaractere = *pbyCourant;
            nPris = 1;
        } else {
            nPris = nDecodeCaractereUtf8(pbyCourant, pbyFin, &cCaractere);
            if (nPris == 0) return CODEC_SEQUENCE_INVALIDE;
        }
        if (pcSortie != nullptr) {
            if (nSortie >= nPlace) return CODEC_SORTIE_PLEINE;
            pcSortie[nSortie] = static_cast<TUnite>(cCaractere);
        }
        pbyCourant += nPris;
        ++nSortie;
    }
    return static_cast<ptrdiff_t>(nSortie);
}

template <class TUnite>
ptrdiff_t nUtf32VersUtf8(const TUnite* pcTexte, size_t nCaracteres, uint8_t* pbySortie, size_t nPlace) noexcept {
    size_t i = 0;
    size_t nSortie = 0;
    while (i < nCaracteres) {
        size_t nFinScalaire = nCaracteres;
#if defined(__SSE2__)
        while (nCaracteres - i >= BLOC) {
            __m128i vOctets;
            if (!bBlocAscii(pcTexte + i, &vOctets)) break;
            if (pbySortie != nullptr) {
                if (nPlace - nSortie < BLOC) break;
                _mm_storeu_si128(reinterpret_cast<__m128i*>(pbySortie + nSortie), vOctets);
            }
            i += BLOC;
            nSortie += BLOC;
        }
        // A block with other characters goes one by one before the fast path is tried again.
        if (nCaracteres - i > BLOC) nFinScalaire = i + BLOC;
#endif
        for (; i < nFinScalaire; ++i) {
            const auto cCaractere = static_cast<uint32_t>(pcTexte[i]);
            if (cCaractere < 0x80) {
                if (pbySortie != nullptr) {
                    if (nSortie >= nPlace) return CODEC_SORTIE_PLEINE;
                    pbySortie[nSortie] = static_cast<uint8_t>(cCaractere);
                }
                ++nSortie;
                continue;
            }
            if (cCaractere > 0x10FFFF || (cCaractere >= 0xD800 && cCaractere <= 0xDFFF))
                return CODEC_SEQUENCE_INVALIDE;
            const size_t nOctets = nOctetsUtf8(cCaractere);
            if (pbySortie != nullptr) {
                if (nPlace - nSortie < nOctets) return CODEC_SORTIE_PLEINE;
                nEncodeCaractereUtf8(cCaractere, pbySortie + nSortie);
            }
            nSortie += nOctets;
        }
    }
    return static_cast<ptrdiff_t>(nSortie);
}

template <class TUnite>
ptrdiff_t nOctetsVersUtf32(const uint8_t* pbyTexte, size_t nOctets, TUnite* pcSortie, size_t nPlace,
                           const uint32_t* pcTable, bool bAsciiIdentique) noexcept {
    if (pcSortie != nullptr && nPlace < nOctets) {
        // Fails unless the text is bad earlier: check it first, the way the count would.
        for (size_t i = 0; i < nOctets; ++i)
            if (pcTable[pbyTexte[i]] == 0xFFFFFFFFu) return CODEC_SEQUENCE_INVALIDE;
        return CODEC_SORTIE_PLEINE;
    }
    size_t i = 0;
#if defined(__SSE2__)
    if (bAsciiIdentique) {
        while (nOctets - i >= BLOC) {
            const __m128i vOctets = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyTexte + i));
            const unsigned int nMasque = static_cast<unsigned int>(_mm_movemask_epi8(vOctets));
            const size_t nAscii = nMasque == 0 ? BLOC : static_cast<size_t>(__builtin_ctz(nMasque));
            if (pcSortie != nullptr) ElargitBloc(vOctets, pcSortie + i);
            i += nAscii;
            if (nMasque != 0) {
                // The byte that stopped the run, through the table.
                const uint32_t cCaractere = pcTable[pbyTexte[i]];
                if (cCaractere == 0xFFFFFFFFu) return CODEC_SEQUENCE_INVALIDE;
                if (pcSortie != nullptr) pcSortie[i] = static_cast<TUnite>(cCaractere);
                ++i;
            }
        }
    }
#endif
    for (; i < nOctets; ++i) {
        const uint32_t cCaractere = pcTable[pbyTexte[i]];
        if (cCaractere == 0xFFFFFFFFu) return CODEC_SEQUENCE_INVALIDE;
        if (pcSortie != nullptr) pcSortie[i] = static_cast<TUnite>(cCaractere);
    }
    return static_cast<ptrdiff_t>(nOctets);
}

template <class TUnite>
ptrdiff_t nUtf32VersOctets(const TUnite* pcTexte, size_t nCaracteres, uint8_t* pbySortie, size_t nPlace,
                           const STTableInverse& stTable, bool bAsciiIdentique, uint8_t byRemplacement) noexcept {
    // One byte a character, whatever happens: the count is known at once.
    if (pbySortie == nullptr) return static_cast<ptrdiff_t>(nCaracteres);
    if (nPlace < nCaracteres) return CODEC_SORTIE_PLEINE;
    size_t i = 0;
    while (i < nCaracteres) {
        size_t nFinScalaire = nCaracteres;
#if defined(__SSE2__)
        if (bAsciiIdentique) {
            __m128i vOctets;
            while (nCaracteres - i >= BLOC && bBlocAscii(pcTexte + i, &vOctets)) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(pbySortie + i), vOctets);
                i += BLOC;
            }
            if (nCaracteres - i > BLOC) nFinScalaire = i + BLOC;
        }
#endif
        for (; i < nFinScalaire; ++i) {
            const auto cCaractere = static_cast<uint32_t>(pcTexte[i]);
            uint8_t byOctet = 0;
            if (cCaractere < 0x10000) {
                const uint8_t* pbyPage = stTable.apbyPage[cCaractere >> 8];
                if (pbyPage != nullptr) byOctet = pbyPage[cCaractere & 0xFF];
            }
            pbySortie[i] = byOctet != 0 || cCaractere == 0 ? byOctet : byRemplacement;
        }
    }
    return static_cast<ptrdiff_t>(nCaracteres);
}

#define OV_INSTANCIE_CODECS(TUnite)                                                                              \
    template ptrdiff_t nUtf8VersUtf32<TUnite>(const uint8_t*, size_t, TUnite*, size_t) noexcept;                \
    template ptrdiff_t nUtf32VersUtf8<TUnite>(const TUnite*, size_t, uint8_t*, size_t) noexcept;                \
    template ptrdiff_t nOctetsVersUtf32<TUnite>(const uint8_t*, size_t, TUnite*, size_t, const uint32_t*,       \
                                                bool) noexcept;                                                  \
    template ptrdiff_t nUtf32VersOctets<TUnite>(const TUnite*, size_t, uint8_t*, size_t, const STTableInverse&, \
                                                bool, uint8_t) noexcept;
OV_INSTANCIE_CODECS(wchar_t)
OV_INSTANCIE_CODECS(char32_t)
#undef OV_INSTANCIE_CODECS

}  // namespace base_internal
