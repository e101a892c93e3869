// The ciphers: the key derivations, the home-made byte mixer, RC5 with its chained blocks and
// nibble-wise tail, and the whole-file cipher behind a sum of the plain bytes.
#include "crypt/ciphers.h"

#include <bit>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/stat.h>

#include "base/code_pages.h"

namespace {

// Both fixed forever: every key this cipher ever derived depends on them. Plain chosen bytes,
// not derived from anything.
constexpr unsigned char kBlocInitial[CCrypt::kTailleCle] = {0x3A, 0xC5, 0x17, 0x8E, 0x62, 0xF1, 0x09, 0xB4,
                                                             0xD8, 0x2F, 0x93, 0x4C, 0xE7, 0x55, 0x1B, 0xA0};
constexpr unsigned char kBlocMelange[CCrypt::kTailleCle] = {0x71, 0x0E, 0xBC, 0x48, 0xA3, 0xD6, 0x2B, 0x95,
                                                            0x5F, 0xE2, 0x84, 0x3D, 0xC9, 0x16, 0x7A, 0xF0};

// Below this, material and work areas live on the stack; above it a password is rare enough to
// pay for malloc.
constexpr size_t kTaillePile = 1024;

// A byte area on the stack when small, on the heap otherwise; null data when memory failed.
class CZoneTravail {
public:
    explicit CZoneTravail(size_t nTaille) noexcept
        : m_pby(nTaille <= sizeof(m_tabPile) ? m_tabPile : static_cast<unsigned char*>(std::malloc(nTaille))) {}
    ~CZoneTravail() {
        if (m_pby != m_tabPile) std::free(m_pby);
    }
    CZoneTravail(const CZoneTravail&) = delete;
    CZoneTravail& operator=(const CZoneTravail&) = delete;
    unsigned char* pby() const noexcept { return m_pby; }

private:
    unsigned char m_tabPile[kTaillePile];
    unsigned char* m_pby;
};

inline uint32_t dwLitLE32(const unsigned char* p) noexcept {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

inline void EcritLE32(unsigned char* p, uint32_t dw) noexcept {
    p[0] = static_cast<unsigned char>(dw);
    p[1] = static_cast<unsigned char>(dw >> 8);
    p[2] = static_cast<unsigned char>(dw >> 16);
    p[3] = static_cast<unsigned char>(dw >> 24);
}

inline uint64_t qwLitLE64(const unsigned char* p) noexcept {
    uint64_t qw;
    std::memcpy(&qw, p, 8);
    if constexpr (std::endian::native == std::endian::big) qw = __builtin_bswap64(qw);
    return qw;
}

inline void EcritLE64(unsigned char* p, uint64_t qw) noexcept {
    if constexpr (std::endian::native == std::endian::big) qw = __builtin_bswap64(qw);
    std::memcpy(p, &qw, 8);
}

}  // namespace

// ================================================================ CCrypt

CCrypt::~CCrypt() = default;

bool CCrypt::bSetCryptKey(const void* pCle, unsigned long nTaille) noexcept {
    std::memset(m_tabCle, 0, kTailleCle);
    if (pCle != nullptr) std::memcpy(m_tabCle, pCle, nTaille < kTailleCle ? nTaille : kTailleCle);
    return true;
}

bool CCrypt::bSetCryptKey(const TCle* pCle) noexcept { return CCrypt::bSetCryptKey(pCle, pCle != nullptr ? kTailleCle : 0); }

bool CCrypt::_bConstruitCle(TCle* pCle, const wchar_t* pszMotDePasse) noexcept {
    if (pszMotDePasse == nullptr) pszMotDePasse = L"";
    const size_t nCaracteres = std::wcslen(pszMotDePasse);
    // Four bytes a character at most (a surrogate pair); the derivations take a 32-bit length.
    if (nCaracteres > UINT_MAX / 4) return false;
    CZoneTravail clMateriau(nCaracteres * 4 + 1);
    unsigned char* pby = clMateriau.pby();
    if (pby == nullptr) return false;

    // Text that code page 1252 holds goes as its 1252 bytes; any other as UTF-16LE, so that two
    // passwords that differ only outside 1252 never share a key.
    bool b1252 = true;
    for (size_t i = 0; i < nCaracteres && b1252; ++i) {
        const int nOctet = STR_ToCP1252(pszMotDePasse[i]);
        b1252 = nOctet >= 0 && STR_FromCP1252(static_cast<unsigned char>(nOctet)) == pszMotDePasse[i];
        if (b1252) pby[i] = static_cast<unsigned char>(nOctet);
    }
    size_t nTaille = nCaracteres;
    if (!b1252) {
        nTaille = 0;
        auto Pousse16 = [&](uint32_t wUnite) {
            pby[nTaille++] = static_cast<unsigned char>(wUnite);
            pby[nTaille++] = static_cast<unsigned char>(wUnite >> 8);
        };
        for (size_t i = 0; i < nCaracteres; ++i) {
            uint32_t c = static_cast<uint32_t>(pszMotDePasse[i]);
            if (c > 0x10FFFF) c = 0xFFFD;  // no UTF-16 form: the replacement character
            if (c >= 0x10000) {
                c -= 0x10000;
                Pousse16(0xD800 | (c >> 10));
                Pousse16(0xDC00 | (c & 0x3FF));
            } else {
                Pousse16(c);
            }
        }
    }
    m_bEchecMemoire = false;
    BuildCryptKeyBinary(pCle, pby, static_cast<unsigned>(nTaille));
    return !m_bEchecMemoire;
}

bool CCrypt::_bConstruitCleAnsi(TCle* pCle, const char* pszMotDePasse) noexcept {
    if (pszMotDePasse == nullptr) pszMotDePasse = "";
    const size_t nTaille = std::strlen(pszMotDePasse);
    if (nTaille > UINT_MAX) return false;
    m_bEchecMemoire = false;
    BuildCryptKeyBinary(pCle, reinterpret_cast<const unsigned char*>(pszMotDePasse), static_cast<unsigned>(nTaille));
    return !m_bEchecMemoire;
}

void CCrypt::BuildCryptKey(TCle* pCle, const wchar_t* pszMotDePasse) noexcept {
    if (pCle != nullptr && !_bConstruitCle(pCle, pszMotDePasse)) std::memset(*pCle, 0, kTailleCle);
}

void CCrypt::BuildCryptKeyAnsi(TCle* pCle, const char* pszMotDePasse) noexcept {
    if (pCle != nullptr && !_bConstruitCleAnsi(pCle, pszMotDePasse)) std::memset(*pCle, 0, kTailleCle);
}

bool CCrypt::bSetPassword(const wchar_t* pszMotDePasse) noexcept {
    TCle tabCle;
    return _bConstruitCle(&tabCle, pszMotDePasse) && bSetCryptKey(&tabCle);
}

bool CCrypt::bSetPasswordAnsi(const char* pszMotDePasse) noexcept {
    TCle tabCle;
    return _bConstruitCleAnsi(&tabCle, pszMotDePasse) && bSetCryptKey(&tabCle);
}

// ================================================================ CCryptHomeMade

CCryptHomeMade::CCryptHomeMade(bool bParSysteme) noexcept : m_dwParSysteme(bParSysteme ? 1 : 0) {}

void CCryptHomeMade::Crypt(unsigned char* d, unsigned long n, const TCle* pCle) noexcept {
    if (d == nullptr || n == 0) return;
    const unsigned char* k = pCle != nullptr ? *pCle : m_tabCle;
    if (n == 1) {
        const uint32_t s = dwLitLE32(k) + dwLitLE32(k + 4) + dwLitLE32(k + 8) + dwLitLE32(k + 12);
        d[0] = static_cast<unsigned char>((d[0] - 0x35) ^ ((s >> 16) + s));
        return;
    }
    d[0] = static_cast<unsigned char>((d[n - 1] + d[0]) ^ k[15]);
    unsigned p = 0;
    // Each step reads the byte before i, so every byte depends on all before it, and writes the
    // mirror byte m as well, so that both ends of the buffer move at every step.
    for (unsigned long i = 1; i < n; ++i) {
        const unsigned long m = n - 1 - i;
        if (i == m) {
            const unsigned char x = static_cast<unsigned char>((d[m - 1] + d[m]) ^ k[15 - p]);
            d[m] = static_cast<unsigned char>((x + 0x11) ^ k[p]);
        } else {
            const unsigned char x = static_cast<unsigned char>((d[i - 1] + d[i] + d[m]) ^ k[15 - p]);
            d[i] = x;
            d[m] = static_cast<unsigned char>((x + d[m]) ^ k[p]);
        }
        p = (p + 1) & 15;
    }
}

void CCryptHomeMade::Uncrypt(unsigned char* d, unsigned long n, const TCle* pCle) noexcept {
    if (d == nullptr || n == 0) return;
    const unsigned char* k = pCle != nullptr ? *pCle : m_tabCle;
    if (n == 1) {
        const uint32_t s = dwLitLE32(k) + dwLitLE32(k + 4) + dwLitLE32(k + 8) + dwLitLE32(k + 12);
        d[0] = static_cast<unsigned char>((d[0] ^ ((s >> 16) + s)) + 0x35);
        return;
    }
    unsigned p = static_cast<unsigned>((n - 2) & 15);
    for (unsigned long i = n - 1; i >= 1; --i) {
        const unsigned long m = n - 1 - i;
        if (i == m) {
            const unsigned char x = static_cast<unsigned char>((d[m] ^ k[p]) - 0x11);
            d[m] = static_cast<unsigned char>((x ^ k[15 - p]) - d[m - 1]);
        } else {
            // The mirror byte first: when i - 1 == m the byte before i is that same byte, and the
            // forward step read it before writing it.
            const unsigned char x = d[i];
            d[m] = static_cast<unsigned char>((d[m] ^ k[p]) - x);
            d[i] = static_cast<unsigned char>((x ^ k[15 - p]) - d[i - 1] - d[m]);
        }
        p = (p - 1) & 15;
    }
    d[0] = static_cast<unsigned char>((d[0] ^ k[15]) - d[n - 1]);
}

void CCryptHomeMade::BuildCryptKeyBinary(TCle* pCle, const unsigned char* pbyMateriau, unsigned nTaille) noexcept {
    if (pCle == nullptr) return;
    // The object's own key as it stands now: the caller may be deriving into that very key.
    TCle tabMelange;
    std::memcpy(tabMelange, m_dwParSysteme != 0 ? m_tabCle : kBlocMelange, kTailleCle);
    unsigned char* k = *pCle;
    std::memcpy(k, kBlocInitial, kTailleCle);
    if (nTaille == 0 || pbyMateriau == nullptr) return;

    CZoneTravail clTravail(nTaille);
    unsigned char* w = clTravail.pby();
    if (w == nullptr) {
        m_bEchecMemoire = true;
        return;
    }
    std::memcpy(w, pbyMateriau, nTaille);
    w[0] = static_cast<unsigned char>(static_cast<signed char>(w[0]) % 29);
    for (unsigned i = 1; i < nTaille; ++i) w[i] ^= w[i - 1];
    Crypt(w, nTaille, &tabMelange);

    const unsigned n = nTaille > kTailleCle ? nTaille : static_cast<unsigned>(kTailleCle);
    for (unsigned i = 0; i < n; ++i)
        k[i & 15] = static_cast<unsigned char>((k[(i + 1) & 15] + w[i % nTaille]) ^ static_cast<unsigned char>(i * n));
}

// ================================================================ CCryptRC5

namespace {

constexpr uint32_t kRC5P = 0xB7E15163;
constexpr uint32_t kRC5Q = 0x9E3779B9;

// The rounds of one 64-bit block, A the high half. Templated on the count so that the usual
// counts unroll.
template <uint32_t R>
inline uint64_t qwChiffreBloc(uint64_t v, const uint32_t* S, uint32_t nTours) noexcept {
    const uint32_t r = R != 0 ? R : nTours;
    uint32_t a = static_cast<uint32_t>(v >> 32) + S[0];
    uint32_t b = static_cast<uint32_t>(v) + S[1];
    for (uint32_t i = 1; i <= r; ++i) {
        a = std::rotl(a ^ b, static_cast<int>(b & 31)) + S[2 * i];
        b = std::rotl(b ^ a, static_cast<int>(a & 31)) + S[2 * i + 1];
    }
    return uint64_t{a} << 32 | b;
}

template <uint32_t R>
inline uint64_t qwDechiffreBloc(uint64_t v, const uint32_t* S, uint32_t nTours) noexcept {
    const uint32_t r = R != 0 ? R : nTours;
    uint32_t a = static_cast<uint32_t>(v >> 32);
    uint32_t b = static_cast<uint32_t>(v);
    for (uint32_t i = r; i >= 1; --i) {
        b = std::rotr(b - S[2 * i + 1], static_cast<int>(a & 31)) ^ a;
        a = std::rotr(a - S[2 * i], static_cast<int>(b & 31)) ^ b;
    }
    return uint64_t{a - S[0]} << 32 | (b - S[1]);
}

// A left rotation of a 4-bit value; the bits shifted out above bit 3 are dropped by the caller's
// "AND 15", after an addition whose carries only go up.
inline uint32_t dwRot4(uint32_t v, uint32_t s) noexcept { return (v << s) | (v >> (4 - s)); }
inline uint32_t dwRot4Droite(uint32_t v, uint32_t s) noexcept { return ((v >> s) | (v << (4 - s))) & 15; }

template <uint32_t R>
void ChiffreRC5(unsigned char* pby, unsigned long nTaille, const uint32_t* S, uint32_t nTours) noexcept {
    const uint32_t r = R != 0 ? R : nTours;
    uint64_t qwChaine = 0;
    unsigned long i = 0;
    for (; i + 8 <= nTaille; i += 8) {
        qwChaine = qwChiffreBloc<R>(qwLitLE64(pby + i) ^ qwChaine, S, r);
        EcritLE64(pby + i, qwChaine);
    }
    uint32_t dwChaine = static_cast<uint32_t>(qwChaine & 0xFF);
    for (; i < nTaille; ++i) {
        const uint32_t by = pby[i] ^ dwChaine;
        uint32_t a = ((by >> 4) + (S[0] & 0xFF)) & 15;
        uint32_t b = ((by & 15) + (S[1] & 0xFF)) & 15;
        for (uint32_t t = 1; t <= r; ++t) {
            a = (dwRot4(a ^ b, b & 3) + (S[2 * t] & 0xFF)) & 15;
            b = (dwRot4(b ^ a, a & 3) + (S[2 * t + 1] & 0xFF)) & 15;
        }
        dwChaine = a << 4 | b;
        pby[i] = static_cast<unsigned char>(dwChaine);
    }
}

template <uint32_t R>
void DechiffreRC5(unsigned char* pby, unsigned long nTaille, const uint32_t* S, uint32_t nTours) noexcept {
    const uint32_t r = R != 0 ? R : nTours;
    uint64_t qwChaine = 0;
    unsigned long i = 0;
    for (; i + 8 <= nTaille; i += 8) {
        const uint64_t qwChiffre = qwLitLE64(pby + i);  // the next block's chain, read before it is overwritten
        EcritLE64(pby + i, qwDechiffreBloc<R>(qwChiffre, S, r) ^ qwChaine);
        qwChaine = qwChiffre;
    }
    uint32_t dwChaine = static_cast<uint32_t>(qwChaine & 0xFF);
    for (; i < nTaille; ++i) {
        const uint32_t byChiffre = pby[i];
        uint32_t a = byChiffre >> 4;
        uint32_t b = byChiffre & 15;
        for (uint32_t t = r; t >= 1; --t) {
            b = dwRot4Droite((b - S[2 * t + 1]) & 15, a & 3) ^ a;
            a = dwRot4Droite((a - S[2 * t]) & 15, b & 3) ^ b;
        }
        a = (a - S[0]) & 15;
        b = (b - S[1]) & 15;
        pby[i] = static_cast<unsigned char>((a << 4 | b) ^ dwChaine);
        dwChaine = byChiffre;
    }
}

// The SHA-like compression of the RC5 key derivation: words as they stand in memory, the SHA-0
// schedule, no feed-forward (the working set runs on from block to block).
void HashLoop(uint32_t* h, const unsigned char* pbyBloc) noexcept {
    uint32_t w[80];
    for (int t = 0; t < 16; ++t) w[t] = dwLitLE32(pbyBloc + 4 * t);
    for (int t = 16; t < 80; ++t) w[t] = w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16];
    uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
    for (int t = 0; t < 80; ++t) {
        uint32_t f, k;
        if (t < 20) {
            f = (b & c) | (~b & d);
            k = 0x5A827999;
        } else if (t < 40) {
            f = b ^ c ^ d;
            k = 0x6ED9EBA1;
        } else if (t < 60) {
            f = (b & c) | (b & d) | (c & d);
            k = 0x8F1BBCDC;
        } else {
            f = b ^ c ^ d;
            k = 0xCA62C1D6;
        }
        const uint32_t x = std::rotl(a, 5) + f + e + k + w[t];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = x;
    }
    h[0] = a;
    h[1] = b;
    h[2] = c;
    h[3] = d;
    h[4] = e;
}

}  // namespace

CCryptRC5::CCryptRC5(int nTours) noexcept
    : m_nTours(nTours < 1 ? 1 : nTours > static_cast<int>(kToursMax) ? kToursMax : static_cast<uint32_t>(nTours)) {}

CCryptRC5::~CCryptRC5() { std::free(m_pdwTable); }

void CCryptRC5::_ExpandCle(uint32_t* S) const noexcept {
    const uint32_t t = 2 * m_nTours + 2;
    uint32_t L[4];
    for (int j = 0; j < 4; ++j) L[j] = dwLitLE32(m_tabCle + 4 * j);
    S[0] = kRC5P;
    for (uint32_t i = 1; i < t; ++i) S[i] = S[i - 1] + kRC5Q;
    uint32_t a = 0, b = 0, i = 0, j = 0;
    for (uint32_t k = 0; k < 3 * t; ++k) {
        a = S[i] = std::rotl(S[i] + a + b, 3);
        b = L[j] = std::rotl(L[j] + a + b, static_cast<int>((a + b) & 31));
        i = (i + 1) % t;
        j = (j + 1) & 3;
    }
}

bool CCryptRC5::__bInitTableCle() noexcept {
    // One allocation for the object's life: a new key reuses the table.
    if (m_pdwTable == nullptr) {
        m_pdwTable = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t) * (2 * m_nTours + 2)));
        if (m_pdwTable == nullptr) return false;
    }
    _ExpandCle(m_pdwTable);
    return true;
}

bool CCryptRC5::bSetCryptKey(const void* pCle, unsigned long nTaille) noexcept {
    CCrypt::bSetCryptKey(pCle, nTaille);
    return __bInitTableCle();
}

bool CCryptRC5::bSetCryptKey(const TCle* pCle) noexcept {
    CCrypt::bSetCryptKey(pCle, pCle != nullptr ? kTailleCle : 0);
    return __bInitTableCle();
}

// Without a table (no key ever set, or memory failed when one was) the stored key is expanded
// into the caller's stack block: the data are never left in clear.
const uint32_t* CCryptRC5::_pdwTableOuPile(uint32_t* tabPile) noexcept {
    if (m_pdwTable != nullptr) return m_pdwTable;
    _ExpandCle(tabPile);
    return tabPile;
}

void CCryptRC5::Crypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept {
    if (pCle != nullptr) bSetCryptKey(pCle);
    if (pby == nullptr || nTaille == 0) return;
    uint32_t tabPile[kMotsTableMax];
    const uint32_t* S = _pdwTableOuPile(tabPile);
    switch (m_nTours) {
        case 8: ChiffreRC5<8>(pby, nTaille, S, 8); break;
        case 16: ChiffreRC5<16>(pby, nTaille, S, 16); break;
        default: ChiffreRC5<0>(pby, nTaille, S, m_nTours); break;
    }
}

void CCryptRC5::Uncrypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept {
    if (pCle != nullptr) bSetCryptKey(pCle);
    if (pby == nullptr || nTaille == 0) return;
    uint32_t tabPile[kMotsTableMax];
    const uint32_t* S = _pdwTableOuPile(tabPile);
    switch (m_nTours) {
        case 8: DechiffreRC5<8>(pby, nTaille, S, 8); break;
        case 16: DechiffreRC5<16>(pby, nTaille, S, 16); break;
        default: DechiffreRC5<0>(pby, nTaille, S, m_nTours); break;
    }
}

void CCryptRC5::BuildCryptKeyBinary(TCle* pCle, const unsigned char* pbyMateriau, unsigned nTaille) noexcept {
    if (pCle == nullptr) return;
    if (pbyMateriau == nullptr) nTaille = 0;
    uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    uint32_t acc[4] = {h[0], h[1], h[2], h[3]};
    // The padded buffer is never built whole: the material's full blocks are hashed where they
    // lie, and only the last one or two blocks are made on the stack.
    const uint64_t nTotal = (uint64_t{nTaille} + 4 + 63) / 64 * 64;
    const uint64_t nQueue = nTotal - uint64_t{nTaille} / 64 * 64;  // 64 or 128
    const unsigned nPleins = nTaille / 64;
    for (unsigned nBloc = 0; nBloc < nPleins; ++nBloc) {
        HashLoop(h, pbyMateriau + 64 * static_cast<size_t>(nBloc));
        for (int j = 0; j < 4; ++j) acc[j] += h[j];
    }
    unsigned char tabQueue[128] = {};
    const unsigned nReste = nTaille % 64;
    if (nReste != 0) std::memcpy(tabQueue, pbyMateriau + 64 * static_cast<size_t>(nPleins), nReste);
    tabQueue[nReste] = 0x01;
    EcritLE32(tabQueue + nQueue - 4, nTaille);  // over the 0x01 when the material ends 4 bytes short of a block
    for (uint64_t o = 0; o < nQueue; o += 64) {
        HashLoop(h, tabQueue + o);
        for (int j = 0; j < 4; ++j) acc[j] += h[j];
    }
    for (int j = 0; j < 4; ++j) EcritLE32(*pCle + 4 * j, acc[j]);
}

// ================================================================ creation

CCrypt* pclCreeCrypt(int nMethode) noexcept {
    CCrypt* pclCrypt = nullptr;
    switch (nMethode) {
        case eCRYPT_HOMEMADE: pclCrypt = new (std::nothrow) CCryptHomeMade(true); break;
        case eCRYPT_RC5_8: pclCrypt = new (std::nothrow) CCryptRC5(8); break;
        case eCRYPT_RC5_16: pclCrypt = new (std::nothrow) CCryptRC5(16); break;
        default: return nullptr;
    }
    if (pclCrypt != nullptr) pclCrypt->dwAddRef();
    return pclCrypt;
}

// ================================================================ CCryptFile

namespace {

constexpr unsigned int kMessageMethode = 28253;
constexpr unsigned int kMessageSomme = 28279;
constexpr unsigned int kMessageLecture = 28003;
constexpr unsigned int kMessageEcriture = 28008;

// Level 3, system error 0 and the user message (its parameter is the file's name, when it has one).
void LeveMessage(CXError* pclErreur, unsigned int nIdMessage, const wchar_t* pszNom) noexcept {
    if (pclErreur == nullptr) return;
    pclErreur->RAZ();
    pclErreur->SetErrorLevel(CXError::EL_ERROR3);
    pclErreur->SetSystemErrorMessage(0u, nullptr);
    pclErreur->AddUserMessage(&gstMyModuleInfo8, nIdMessage, pszNom != nullptr ? pszNom : L"");
}

void CopieErreur(CXError* pclCible, IXStream* piSource) noexcept {
    CXError* pclSource = piSource->pclGetXError();
    if (pclCible != nullptr && pclSource != nullptr && pclSource != pclCible) pclCible->Copy(pclSource);
}

// Reading into the one file while writing the other would eat the plain bytes before they are
// read, so the two ends must never be one file (by device and inode: links and other names too).
bool bMemeFichier(int nDescripteur, const struct stat& stAutre) noexcept {
    struct stat st;
    return nDescripteur >= 0 && fstat(nDescripteur, &st) == 0 && st.st_dev == stAutre.st_dev &&
           st.st_ino == stAutre.st_ino;
}

void LeveMemeFichier(CXError* pclErreur, unsigned int nIdMessage, const wchar_t* pszNom) noexcept {
    if (pclErreur == nullptr) return;
    pclErreur->RAZ();
    pclErreur->SetErrorLevel(CXError::EL_ERROR3);
    errno = EINVAL;
    pclErreur->SetSystemErrorParam(static_cast<unsigned int>(EINVAL));
    pclErreur->AddDebugMessageNoFormat(L"##(CCryptFile)-Source and destination are the same file##");
    pclErreur->AddUserMessage(&gstMyModuleInfo8, nIdMessage, pszNom != nullptr ? pszNom : L"");
}

// Fills the run but at the end of the stream, so that a short read of a pipe never moves the run
// boundaries the chaining restarts on.
bool bLitRun(IXStream* piSource, unsigned char* pby, unsigned int* pnLu) noexcept {
    *pnLu = 0;
    while (*pnLu < CCryptFile::kTailleRun) {
        unsigned int nLu = 0;
        if (!piSource->bRead(pby + *pnLu, CCryptFile::kTailleRun - *pnLu, &nLu)) return false;
        if (nLu == 0) break;
        *pnLu += nLu;
    }
    return true;
}

// The run buffer, freed on every path.
struct CTamponRun {
    unsigned char* pby = static_cast<unsigned char*>(std::malloc(CCryptFile::kTailleRun));
    ~CTamponRun() { std::free(pby); }
};

// The cipher, released on every path.
struct CCryptLibere {
    CCrypt* pcl = nullptr;
    ~CCryptLibere() {
        if (pcl != nullptr) pcl->dwRelease();
    }
};

}  // namespace

bool CCryptFile::__bInitAlgorithme(CCrypt** ppclCrypt, const wchar_t* pszMotDePasse, int nMethode) noexcept {
    if (ppclCrypt == nullptr) return false;
    *ppclCrypt = nullptr;
    if (nMethode != eCRYPT_HOMEMADE && nMethode != eCRYPT_RC5_8 && nMethode != eCRYPT_RC5_16) {
        LeveMessage(m_pclErreur, kMessageMethode, nullptr);
        return false;
    }
    CCrypt* pclCrypt = pclCreeCrypt(nMethode);
    if (pclCrypt == nullptr) {
        if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
        return false;
    }
    if (!pclCrypt->bSetPassword(pszMotDePasse)) {
        pclCrypt->dwRelease();
        LeveMessage(m_pclErreur, kMessageMethode, nullptr);
        return false;
    }
    *ppclCrypt = pclCrypt;
    return true;
}

bool CCryptFile::_bCrypt(CDiskFile* pclSource, const wchar_t* pszMotDePasse, int nMethode) noexcept {
    if (pclSource == nullptr) return false;
    CCryptLibere clCrypt;
    if (!__bInitAlgorithme(&clCrypt.pcl, pszMotDePasse, nMethode)) return false;
    CTamponRun clTampon;
    if (clTampon.pby == nullptr) {
        if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
        return false;
    }
    if (!bSeek(4, eSEEK_DEBUT)) return false;
    uint32_t dwSomme = 0;
    for (;;) {
        unsigned int nLu = 0;
        if (!bLitRun(pclSource, clTampon.pby, &nLu)) {
            CopieErreur(m_pclErreur, pclSource);
            return false;
        }
        if (nLu == 0) break;
        for (unsigned int i = 0; i < nLu; ++i) dwSomme += clTampon.pby[i];
        // A call of its own for each run: the chaining starts again at every run.
        clCrypt.pcl->Crypt(clTampon.pby, nLu, nullptr);
        if (!bWrite(clTampon.pby, nLu, nullptr)) return false;
        if (nLu < kTailleRun) break;
    }
    // A destination that held a longer file must not keep its old tail behind the cipher text.
    if (!bSetSize(oGetOffset(), eGROW_ABSOLU)) return false;
    unsigned char tabSomme[4];
    EcritLE32(tabSomme, dwSomme);
    return bSeek(0, eSEEK_DEBUT) && bWrite(tabSomme, 4, nullptr);
}

bool CCryptFile::_bUncrypt(CDiskFile* pclDestination, const wchar_t* pszMotDePasse, int nMethode) noexcept {
    if (pclDestination == nullptr) return false;
    CCryptLibere clCrypt;
    if (!__bInitAlgorithme(&clCrypt.pcl, pszMotDePasse, nMethode)) return false;
    CTamponRun clTampon;
    if (clTampon.pby == nullptr) {
        if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
        return false;
    }
    if (!bSeek(0, eSEEK_DEBUT)) return false;
    unsigned char tabSomme[4];
    unsigned int nLu = 0;
    if (!bRead(tabSomme, 4, &nLu)) return false;
    if (nLu < 4) {  // not even the sum: nothing of ours
        LeveMessage(m_pclErreur, kMessageSomme, pszGetName());
        return false;
    }
    uint32_t dwSomme = dwLitLE32(tabSomme);
    for (;;) {
        if (!bLitRun(this, clTampon.pby, &nLu)) return false;
        if (nLu == 0) break;
        clCrypt.pcl->Uncrypt(clTampon.pby, nLu, nullptr);
        for (unsigned int i = 0; i < nLu; ++i) dwSomme -= clTampon.pby[i];
        if (!pclDestination->bWrite(clTampon.pby, nLu, nullptr)) {
            CopieErreur(m_pclErreur, pclDestination);
            return false;
        }
        if (nLu < kTailleRun) break;
    }
    // The output stays written: a damaged file still gives back what can be given back.
    if (dwSomme != 0) {
        LeveMessage(m_pclErreur, kMessageSomme, pszGetName());
        return false;
    }
    return true;
}

bool CCryptFile::bCrypt(const wchar_t* pszSource, const wchar_t* pszMotDePasse, int nMethode) noexcept {
    CDiskFile clSource;
    if (!clSource.bOpen(pszSource, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr)) {
        CopieErreur(m_pclErreur, &clSource);
        return false;
    }
    struct stat stSource;
    if (fstat(clSource.nGetDescripteur(), &stSource) == 0 && bMemeFichier(nGetDescripteur(), stSource)) {
        LeveMemeFichier(m_pclErreur, kMessageLecture, pszSource);
        return false;
    }
    return _bCrypt(&clSource, pszMotDePasse, nMethode);
}

bool CCryptFile::bUncrypt(const wchar_t* pszDestination, const wchar_t* pszMotDePasse, int nMethode) noexcept {
    // Checked before the open, which empties the destination.
    struct stat stDestination;
    if (pszDestination != nullptr && Unix_stat(pszDestination, &stDestination) == 0 &&
        bMemeFichier(nGetDescripteur(), stDestination)) {
        LeveMemeFichier(m_pclErreur, kMessageEcriture, pszDestination);
        return false;
    }
    CDiskFile clDestination;
    if (!clDestination.bOpen(pszDestination, eACCESS_ECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER,
                             nullptr)) {
        CopieErreur(m_pclErreur, &clDestination);
        return false;
    }
    return _bUncrypt(&clDestination, pszMotDePasse, nMethode);
}
