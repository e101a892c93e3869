// The checksums of checksums.h, and the language functions sCalculeCrc32 and sCalculeCrc16.
#include "crypt/checksums.h"

#include <array>
#include <mutex>
#include <shared_mutex>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "base/manip.h"
#include "component/thunk.h"

// ================================================================ CCrc

void CCrc::PutByte(uint8_t by) noexcept {
    if (!m_bTableRemplie) return;
    m_dwCrc = (m_dwCrc << 8) ^ m_table[((m_dwCrc >> 24) ^ by) & 0xFF];
}

uint32_t CCrc::CalculeCRC(const uint8_t* pby, size_t nTaille) noexcept {
    m_dwCrc = 0;
    return AddBuffer(pby, nTaille);
}

uint32_t CCrc::AddBuffer(const uint8_t* pby, size_t nTaille) noexcept {
    if (pby == nullptr) return m_dwCrc;
    for (size_t i = 0; i < nTaille; ++i) PutByte(pby[i]);
    return m_dwCrc;
}

// ================================================================ CCrc2

namespace {

uint32_t dwInverseBits(uint32_t dw) noexcept {
    uint32_t dwResultat = 0;
    for (int i = 0; i < 32; ++i, dw >>= 1) dwResultat = (dwResultat << 1) | (dw & 1);
    return dwResultat;
}

// Eight tables: the first is the byte-wise table, table k advances a byte through k more zero
// bytes, so eight input bytes are folded into the register with eight look-ups and no dependency
// between them.
using TableCrc32 = std::array<std::array<uint32_t, 256>, 8>;

void ConstruitTableReflechie(TableCrc32* pTab, uint32_t dwPolynome) noexcept {
    const uint32_t dwReflechi = dwInverseBits(dwPolynome);
    TableCrc32& tab = *pTab;
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ dwReflechi : c >> 1;
        tab[0][n] = c;
    }
    for (uint32_t n = 0; n < 256; ++n)
        for (size_t k = 1; k < 8; ++k) tab[k][n] = (tab[k - 1][n] >> 8) ^ tab[0][tab[k - 1][n] & 0xFF];
}

inline uint32_t dwLit32LE(const uint8_t* pby) noexcept {
    return uint32_t{pby[0]} | uint32_t{pby[1]} << 8 | uint32_t{pby[2]} << 16 | uint32_t{pby[3]} << 24;
}

uint32_t dwCrc32Table(const TableCrc32& tab, const uint8_t* pby, size_t nTaille, uint32_t dwGraine) noexcept {
    uint32_t c = ~dwGraine;
    for (; nTaille >= 8; pby += 8, nTaille -= 8) {
        const uint32_t dwBas = c ^ dwLit32LE(pby);
        const uint32_t dwHaut = dwLit32LE(pby + 4);
        c = tab[7][dwBas & 0xFF] ^ tab[6][(dwBas >> 8) & 0xFF] ^ tab[5][(dwBas >> 16) & 0xFF] ^ tab[4][dwBas >> 24] ^
            tab[3][dwHaut & 0xFF] ^ tab[2][(dwHaut >> 8) & 0xFF] ^ tab[1][(dwHaut >> 16) & 0xFF] ^ tab[0][dwHaut >> 24];
    }
    for (size_t i = 0; i < nTaille; ++i) c = tab[0][(c ^ pby[i]) & 0xFF] ^ (c >> 8);
    return ~c;
}

// The IEEE table never changes and most callers want it: it is built once, apart from the
// shared one, so a call that names the polynomial needs no lock at all.
const TableCrc32& tabCrc32IEEE() noexcept {
    static const TableCrc32 tab = [] {
        TableCrc32 t{};
        ConstruitTableReflechie(&t, CCrc2::kdwPolynomeIEEE);
        return t;
    }();
    return tab;
}

#if defined(__x86_64__)
// The IEEE CRC by carry-less multiplication: four 128-bit lanes fold 64 bytes a step by the
// constants x^(512+-32) and x^(512+32) mod P (reflected), the lanes fold into one, then 128 bits
// reduce to 64 and a Barrett step to 32. The register c is the running one (not inverted); the
// length is a multiple of 16, at least 64.
#define OV_CIBLE_CLMUL __attribute__((target("pclmul,sse4.1")))

OV_CIBLE_CLMUL inline __m128i xLit(const uint8_t* p) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// One fold: the lane times the two halves of the constant, plus the next 16 bytes.
OV_CIBLE_CLMUL inline __m128i xPlie(__m128i x, __m128i xK, __m128i xSuivant) noexcept {
    return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(x, xK, 0x11), _mm_clmulepi64_si128(x, xK, 0x00)),
                         xSuivant);
}

OV_CIBLE_CLMUL uint32_t dwCrc32Clmul(const uint8_t* pby, size_t nTaille, uint32_t c) noexcept {
    const __m128i xK1K2 = _mm_set_epi64x(0x01c6e41596, 0x0154442bd4);
    const __m128i xK3K4 = _mm_set_epi64x(0x00ccaa009e, 0x01751997d0);
    const __m128i xK5 = _mm_set_epi64x(0, 0x0163cd6124);
    const __m128i xPoly = _mm_set_epi64x(0x01f7011641, 0x01db710641);
    const __m128i xMasque = _mm_setr_epi32(~0, 0, ~0, 0);
    __m128i x1 = _mm_xor_si128(xLit(pby), _mm_cvtsi32_si128(static_cast<int>(c)));
    __m128i x2 = xLit(pby + 16);
    __m128i x3 = xLit(pby + 32);
    __m128i x4 = xLit(pby + 48);
    pby += 64;
    nTaille -= 64;
    for (; nTaille >= 64; pby += 64, nTaille -= 64) {
        x1 = xPlie(x1, xK1K2, xLit(pby));
        x2 = xPlie(x2, xK1K2, xLit(pby + 16));
        x3 = xPlie(x3, xK1K2, xLit(pby + 32));
        x4 = xPlie(x4, xK1K2, xLit(pby + 48));
    }
    x1 = xPlie(x1, xK3K4, x2);
    x1 = xPlie(x1, xK3K4, x3);
    x1 = xPlie(x1, xK3K4, x4);
    for (; nTaille >= 16; pby += 16, nTaille -= 16) x1 = xPlie(x1, xK3K4, xLit(pby));

    // 128 bits to 64.
    __m128i x = _mm_xor_si128(_mm_srli_si128(x1, 8), _mm_clmulepi64_si128(x1, xK3K4, 0x10));
    x = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x, xMasque), xK5, 0x00), _mm_srli_si128(x, 4));
    // Barrett reduction to 32 bits.
    __m128i xQ = _mm_clmulepi64_si128(_mm_and_si128(x, xMasque), xPoly, 0x10);
    xQ = _mm_clmulepi64_si128(_mm_and_si128(xQ, xMasque), xPoly, 0x00);
    return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(x, xQ), 1));
}

bool bClmulDisponible() noexcept {
    static const bool s_b = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
    return s_b;
}
#endif

// The IEEE CRC: long runs by carry-less multiplication where the processor has it, the rest
// through the tables.
uint32_t dwCrc32IEEE(const uint8_t* pby, size_t nTaille, uint32_t dwGraine) noexcept {
#if defined(__x86_64__)
    if (nTaille >= 64 && bClmulDisponible()) {
        const size_t nPlie = nTaille & ~size_t{15};
        const uint32_t c = dwCrc32Clmul(pby, nPlie, ~dwGraine);
        return dwCrc32Table(tabCrc32IEEE(), pby + nPlie, nTaille - nPlie, ~c);
    }
#endif
    return dwCrc32Table(tabCrc32IEEE(), pby, nTaille, dwGraine);
}

// The shared table and the polynomial it was built for. Readers share the lock, so CRCs in several
// threads run side by side; SetPolynome takes it alone while it rebuilds.
struct STTableCrc2 {
    std::shared_mutex mutex;
    uint32_t dwPolynome = CCrc2::kdwPolynomeIEEE;
    TableCrc32 tab{};
    STTableCrc2() { ConstruitTableReflechie(&tab, dwPolynome); }
};

STTableCrc2& stTableCrc2() noexcept {
    static STTableCrc2 st;
    return st;
}

}  // namespace

void CCrc2::SetPolynome(uint32_t dwPolynome) noexcept {
    STTableCrc2& st = stTableCrc2();
    std::unique_lock<std::shared_mutex> verrou(st.mutex);
    if (st.dwPolynome == dwPolynome) return;
    ConstruitTableReflechie(&st.tab, dwPolynome);
    st.dwPolynome = dwPolynome;
}

uint32_t CCrc2::nCalculeCRC32(const uint8_t* pby, size_t nTaille, uint32_t dwGraine) noexcept {
    if (pby == nullptr) nTaille = 0;
    STTableCrc2& st = stTableCrc2();
    std::shared_lock<std::shared_mutex> verrou(st.mutex);
    if (st.dwPolynome == kdwPolynomeIEEE) return dwCrc32IEEE(pby, nTaille, dwGraine);
    return dwCrc32Table(st.tab, pby, nTaille, dwGraine);
}

uint32_t CCrc2::nCalculeCRC32(const uint8_t* pby, size_t nTaille, uint32_t dwGraine, uint32_t dwPolynome) noexcept {
    if (pby == nullptr) nTaille = 0;
    if (dwPolynome == kdwPolynomeIEEE) return dwCrc32IEEE(pby, nTaille, dwGraine);
    TableCrc32 tab;  // 8 KiB, on the stack: nothing to allocate, nothing to fail
    ConstruitTableReflechie(&tab, dwPolynome);
    return dwCrc32Table(tab, pby, nTaille, dwGraine);
}

// ================================================================ CCrc16

namespace {

const std::array<uint16_t, 256>& tabCrc16() noexcept {
    static const std::array<uint16_t, 256> tab = [] {
        std::array<uint16_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = n << 8;
            for (int k = 0; k < 8; ++k) c = (c & 0x8000) ? (c << 1) ^ 0x1021 : c << 1;
            t[n] = static_cast<uint16_t>(c);
        }
        return t;
    }();
    return tab;
}

inline uint16_t wCrc16Octet(uint16_t wCrc, uint8_t by) noexcept {
    return static_cast<uint16_t>(((wCrc << 8) | by) ^ tabCrc16()[wCrc >> 8]);
}

}  // namespace

uint16_t CCrc16::CalcCrc16(const wchar_t* psz, size_t nLongueur) noexcept {
    uint16_t wCrc = 0;
    if (psz == nullptr) return wCrc;
    for (size_t i = 0; i < nLongueur; ++i) wCrc = wCrc16Octet(wCrc, static_cast<uint8_t>(psz[i] & 0xFF));
    return wCrc;
}

uint16_t CCrc16::CalcCrc16_Byte(const uint8_t* pby, size_t nTaille) noexcept {
    uint16_t wCrc = 0;
    if (pby == nullptr) return wCrc;
    for (size_t i = 0; i < nTaille; ++i) wCrc = wCrc16Octet(wCrc, pby[i]);
    return wCrc;
}

// ================================================================ Adler-32

namespace {

constexpr uint32_t kdwBaseAdler = 65521;
// The most bytes that can be summed in 32 bits before a reduction: 255 n (n + 1) / 2 +
// (n + 1) (BASE - 1) stays below 2^32 for n = 5552.
constexpr size_t kNbMaxAvantModulo = 5552;

}  // namespace

uint32_t nAdler32(uint32_t dwGraine, const uint8_t* pby, size_t nTaille) noexcept {
    if (pby == nullptr) return 1;
    uint32_t a = dwGraine & 0xFFFF;
    uint32_t b = dwGraine >> 16;
    // A seed that is not a valid sum (a half at or above the base) is reduced first so that the
    // bound of the inner loop holds.
    a %= kdwBaseAdler;
    b %= kdwBaseAdler;
    while (nTaille > 0) {
        const size_t n = nTaille < kNbMaxAvantModulo ? nTaille : kNbMaxAvantModulo;
        for (size_t i = 0; i < n; ++i) {
            a += pby[i];
            b += a;
        }
        a %= kdwBaseAdler;
        b %= kdwBaseAdler;
        pby += n;
        nTaille -= n;
    }
    return (b << 16) | a;
}

uint32_t nAdler32Combine(uint32_t dwAdlerA, uint32_t dwAdlerB, int64_t oTailleB) noexcept {
    // A negative length has no meaning; answer a value no sum can have, as the published
    // definition does.
    if (oTailleB < 0) return 0xFFFFFFFF;
    // With B of length n: a = aA + aB - 1, b = bA + bB + n aA - n (all modulo the base).
    const uint32_t n = static_cast<uint32_t>(oTailleB % kdwBaseAdler);
    const uint32_t aA = (dwAdlerA & 0xFFFF) % kdwBaseAdler;
    const uint32_t bA = (dwAdlerA >> 16) % kdwBaseAdler;
    const uint32_t aB = (dwAdlerB & 0xFFFF) % kdwBaseAdler;
    const uint32_t bB = (dwAdlerB >> 16) % kdwBaseAdler;
    const uint64_t a = (uint64_t{aA} + aB + kdwBaseAdler - 1) % kdwBaseAdler;
    const uint64_t b = (uint64_t{bA} + bB + uint64_t{n} * aA + kdwBaseAdler - n) % kdwBaseAdler;
    return static_cast<uint32_t>((b << 16) | a);
}

// ================================================================ language functions

namespace {

// Wide text goes through the CRC as UTF-8, a stack block at a time, so a text of any length needs
// no allocation. A value that is no Unicode scalar value counts as U+FFFD.
uint32_t dwCrc32Utf8(const wchar_t* psz, size_t nLongueur, uint32_t dwGraine) noexcept {
    constexpr size_t kNbCaracteresBloc = 1024;
    uint8_t tabOctets[kNbCaracteresBloc * 4];
    uint32_t dwCrc = dwGraine;
    for (size_t oDebut = 0; oDebut < nLongueur; oDebut += kNbCaracteresBloc) {
        const size_t oFin = nLongueur - oDebut < kNbCaracteresBloc ? nLongueur : oDebut + kNbCaracteresBloc;
        size_t n = 0;
        for (size_t i = oDebut; i < oFin; ++i) {
            uint32_t c = static_cast<uint32_t>(psz[i]);
            if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
            if (c < 0x80) {
                tabOctets[n++] = static_cast<uint8_t>(c);
            } else if (c < 0x800) {
                tabOctets[n++] = static_cast<uint8_t>(0xC0 | (c >> 6));
                tabOctets[n++] = static_cast<uint8_t>(0x80 | (c & 0x3F));
            } else if (c < 0x10000) {
                tabOctets[n++] = static_cast<uint8_t>(0xE0 | (c >> 12));
                tabOctets[n++] = static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F));
                tabOctets[n++] = static_cast<uint8_t>(0x80 | (c & 0x3F));
            } else {
                tabOctets[n++] = static_cast<uint8_t>(0xF0 | (c >> 18));
                tabOctets[n++] = static_cast<uint8_t>(0x80 | ((c >> 12) & 0x3F));
                tabOctets[n++] = static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F));
                tabOctets[n++] = static_cast<uint8_t>(0x80 | (c & 0x3F));
            }
        }
        dwCrc = CCrc2::nCalculeCRC32(tabOctets, n, dwCrc, CCrc2::kdwPolynomeIEEE);
    }
    return dwCrc;
}

}  // namespace

// Bytes of a buffer or of 8-bit text as they are; wide text as UTF-8, so that a text gives the CRC
// of the same text saved as a UTF-8 file. Always the IEEE polynomial, whatever SetPolynome did.
// With a seed, the CRC goes on from it: the CRC of a value split in two is that of its second half
// seeded with that of its first. An empty value answers 0 whatever the seed.
int CComposanteStandard::sCalculeCrc32(const STManipAUB* pstValeur, int nGraine) {
    if (pstValeur == nullptr) return 0;
    int nTaille = 0;
    const uint8_t* pby = pstValeur->pbyGetContenuUtile(&nTaille);
    if (pby == nullptr || nTaille <= 0) return 0;
    const auto dwGraine = static_cast<uint32_t>(nGraine);
    if (pstValeur->nType == STManipAUB::TYPE_UNICODE)
        return static_cast<int>(dwCrc32Utf8(reinterpret_cast<const wchar_t*>(pby),
                                            static_cast<size_t>(nTaille) / sizeof(wchar_t), dwGraine));
    return static_cast<int>(CCrc2::nCalculeCRC32(pby, static_cast<size_t>(nTaille), dwGraine, CCrc2::kdwPolynomeIEEE));
}

// Bytes of a buffer or of 8-bit text; of wide text, the low byte of each character.
int CComposanteStandard::sCalculeCrc16(const STManipAUB* pstValeur) {
    if (pstValeur == nullptr) return 0;
    int nTaille = 0;
    const uint8_t* pby = pstValeur->pbyGetContenuUtile(&nTaille);
    if (pby == nullptr || nTaille <= 0) return 0;
    if (pstValeur->nType == STManipAUB::TYPE_UNICODE)
        return CCrc16::CalcCrc16(reinterpret_cast<const wchar_t*>(pby), static_cast<size_t>(nTaille) / sizeof(wchar_t));
    return CCrc16::CalcCrc16_Byte(pby, static_cast<size_t>(nTaille));
}
