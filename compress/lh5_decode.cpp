// Decoder of the "-lh5-" stream: table-driven Huffman decoding over a 64-bit bit buffer, into a
// window that keeps the last 8 KiB of output for the matches; and the stream's 16-bit CRC.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "compress/internal/lh5_format.h"
#include "compress/lh5.h"

namespace ovlh5 {

using namespace interne;

namespace {

constexpr size_t kTailleEntree = 16384;
constexpr size_t kHistoire = kTailleDictionnaire;
constexpr size_t kZoneDecodage = 64 * 1024;
// A match that starts at the last byte of the zone writes kMatchMax bytes, and match copies go by
// 8-byte words, which may write 7 bytes past their end.
constexpr size_t kMarge = kMatchMax + 16;
constexpr size_t kTailleFenetre = kHistoire + kZoneDecodage + kMarge;
// Bytes the bit reader may take past the declared compressed size before the stream is corrupt.
constexpr uint64_t kAnticipation = 2;

// A decoding table. The first kBits bits of the bit buffer give symbol and length of every code of
// at most kBits bits at once; longer codes, rare, are found canonically from the counts per length.
// Lengths that over-subscribe the code space are refused; those that leave codes unassigned are
// taken, and an unassigned code is answered as corrupt when it is met.
template <int kBits, int kNbSymboles>
class CTable {
public:
    static constexpr uint16_t kLong = 0xFFFF;  // not decoded by the first level

    bool bConstruit(const uint8_t* tabLongueurs) noexcept {
        std::array<uint16_t, kLongueurCodeMax + 1> tabCompte{};
        for (int i = 0; i < kNbSymboles; ++i) {
            if (tabLongueurs[i] > kLongueurCodeMax) return false;
            ++tabCompte[tabLongueurs[i]];
        }
        tabCompte[0] = 0;
        int32_t nLibres = 1;
        for (int l = 1; l <= kLongueurCodeMax; ++l) {
            nLibres = nLibres * 2 - tabCompte[l];
            if (nLibres < 0) return false;
        }
        std::array<uint16_t, kLongueurCodeMax + 2> tabPosition{};
        for (int l = 1; l <= kLongueurCodeMax; ++l) {
            m_tabIndex[l] = tabPosition[l] = static_cast<uint16_t>(l == 1 ? 0 : m_tabIndex[l - 1] + tabCompte[l - 1]);
        }
        for (int i = 0; i < kNbSymboles; ++i)
            if (tabLongueurs[i] != 0) m_tabTries[tabPosition[tabLongueurs[i]]++] = static_cast<uint16_t>(i);

        std::fill(std::begin(m_tabEntree), std::end(m_tabEntree), kLong);
        uint32_t nCode = 0;
        for (int l = 1; l <= kLongueurCodeMax; ++l) {
            m_tabPremier[l] = nCode;
            m_tabCompte[l] = tabCompte[l];
            if (l <= kBits) {
                for (uint32_t k = 0; k < tabCompte[l]; ++k) {
                    const uint16_t wEntree = static_cast<uint16_t>(m_tabTries[m_tabIndex[l] + k] << 5 | l);
                    const uint32_t nDebut = (nCode + k) << (kBits - l);
                    std::fill_n(m_tabEntree + nDebut, size_t{1} << (kBits - l), wEntree);
                }
            }
            nCode = (nCode + tabCompte[l]) << 1;
        }
        return true;
    }

    // One symbol for every code, read with no bits at all.
    void Unique(int nSymbole) noexcept {
        std::fill(std::begin(m_tabEntree), std::end(m_tabEntree), static_cast<uint16_t>(nSymbole << 5));
    }

    uint16_t wEntree(uint64_t nBits) const noexcept { return m_tabEntree[nBits >> (64 - kBits)]; }

    // Symbol of a code longer than kBits, -1 if the bits are no code; *pnLongueur its length.
    int nLong(uint64_t nBits, int* pnLongueur) const noexcept {
        for (int l = kBits + 1; l <= kLongueurCodeMax; ++l) {
            const uint32_t nRang = static_cast<uint32_t>(nBits >> (64 - l)) - m_tabPremier[l];
            if (nRang < m_tabCompte[l]) {
                *pnLongueur = l;
                return m_tabTries[m_tabIndex[l] + nRang];
            }
        }
        return -1;
    }

private:
    uint16_t m_tabEntree[size_t{1} << kBits];
    uint32_t m_tabPremier[kLongueurCodeMax + 1] = {};
    uint16_t m_tabCompte[kLongueurCodeMax + 1] = {};
    uint16_t m_tabIndex[kLongueurCodeMax + 1] = {};
    uint16_t m_tabTries[kNbSymboles] = {};
};

inline uint64_t nLitGrandBoutiste64(const uint8_t* p) noexcept {
    uint64_t n;
    std::memcpy(&n, p, sizeof n);
    return __builtin_bswap64(n);
}

// The bit reader's registers, copied into locals by the hot loop. The top nNb bits of nBits are the
// next bits of the stream; the bits below them are either zero or the stream's own next bits, so
// that a refill may OR over them.
struct STLecteur {
    uint64_t nBits = 0;
    int nNb = 0;
    const uint8_t* p = nullptr;
    const uint8_t* pFin = nullptr;

    uint32_t nRegarde(int n) const noexcept { return static_cast<uint32_t>(nBits >> (64 - n)); }
    void Consomme(int n) noexcept {
        nBits <<= n;
        nNb -= n;
    }
};

class CSourceMemoire final : public ISource {
public:
    CSourceMemoire(const uint8_t* pby, size_t nTaille) noexcept : m_pby(pby), m_nReste(nTaille) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override {
        const size_t n = std::min(nTaille, m_nReste);
        if (n > 0) std::memcpy(pby, m_pby, n);
        m_pby += n;
        m_nReste -= n;
        return static_cast<long>(n);
    }

private:
    const uint8_t* m_pby;
    size_t m_nReste;
};

}  // namespace

struct CDecodeurLh5::STEtat {
    ISource* piSource = nullptr;
    uint64_t nDeclaree = 0;      // compressed size the caller declared
    uint64_t nResteSource = 0;   // declared bytes not read from the source yet
    uint64_t nLusSource = 0;     // bytes read from the source
    uint64_t nZeros = 0;         // zero bytes fed past the end of the stream
    STLecteur stLecteur;
    uint32_t nResteBloc = 0;     // symbols left in the current block
    EResultat eEtat = EResultat::OK;

    size_t nFin = 0;             // bytes decoded into the window
    size_t nLivre = 0;           // of which handed to the caller
    uint64_t nBaseFenetre = 0;   // count of output bytes before the window's first byte

    CTable<12, kNbCodesC> tabC;
    CTable<8, kNbCodesT> tabT;
    CTable<8, kNbCodesP> tabP;
    uint8_t tabLongueursC[kNbCodesC];
    uint8_t tabLongueursT[kNbCodesT];
    uint8_t tabLongueursP[kNbCodesP];
    alignas(8) uint8_t tabEntree[kTailleEntree];
    alignas(8) uint8_t tabFenetre[kTailleFenetre];

    // Takes the next piece of the declared stream into tabEntree; false at its end or on a failure.
    bool bRecharge() noexcept {
        while (nResteSource > 0) {
            const size_t nVoulu = static_cast<size_t>(std::min<uint64_t>(nResteSource, kTailleEntree));
            const long n = piSource->nLit(tabEntree, nVoulu);
            if (n < 0) {
                if (eEtat == EResultat::OK) eEtat = EResultat::ECHEC_LECTURE;
                nResteSource = 0;
                return false;
            }
            if (n == 0) {  // a source shorter than declared ends the stream where it ends
                nResteSource = 0;
                return false;
            }
            const size_t nLu = std::min(static_cast<size_t>(n), nVoulu);
            nResteSource -= nLu;
            nLusSource += nLu;
            stLecteur.p = tabEntree;
            stLecteur.pFin = tabEntree + nLu;
            return true;
        }
        return false;
    }

    // Leaves at least 56 bits in the buffer, zeros past the end of the stream.
    void Remplit(STLecteur& st) noexcept {
        if (st.pFin - st.p >= 8) {
            st.nBits |= nLitGrandBoutiste64(st.p) >> st.nNb;
            st.p += (63 - st.nNb) >> 3;
            st.nNb |= 56;
            return;
        }
        while (st.nNb <= 56) {
            if (st.p == st.pFin) {
                stLecteur = st;
                const bool bEncore = bRecharge();
                st.p = stLecteur.p;
                st.pFin = stLecteur.pFin;
                if (!bEncore) {
                    ++nZeros;
                    st.nNb += 8;
                    continue;
                }
            }
            st.nBits |= static_cast<uint64_t>(*st.p++) << (56 - st.nNb);
            st.nNb += 8;
        }
    }

    uint32_t nLitBits(int n) noexcept {  // n <= 16
        Remplit(stLecteur);
        const uint32_t nValeur = stLecteur.nRegarde(n);
        stLecteur.Consomme(n);
        return nValeur;
    }

    bool bDepasse() const noexcept {
        const uint64_t nPris = nLusSource - static_cast<uint64_t>(stLecteur.pFin - stLecteur.p) + nZeros;
        return nPris * 8 - static_cast<uint64_t>(stLecteur.nNb) > (nDeclaree + kAnticipation) * 8;
    }

    // The code lengths of the code-length table (nSpecial = kSpecialT) or of the position table.
    template <int kBits, int kNb>
    bool bLitLongueursPT(uint8_t* tabLongueurs, int nBitsNombre, int nSpecial, CTable<kBits, kNb>& tab) noexcept {
        const int n = static_cast<int>(nLitBits(nBitsNombre));
        if (n == 0) {
            const int nSymbole = static_cast<int>(nLitBits(nBitsNombre));
            if (nSymbole >= kNb) return false;
            std::fill_n(tabLongueurs, kNb, 0);
            tab.Unique(nSymbole);
            return true;
        }
        if (n > kNb) return false;
        int i = 0;
        while (i < n) {
            Remplit(stLecteur);
            int nLongueur = static_cast<int>(stLecteur.nRegarde(3));
            if (nLongueur == 7) {  // 7 and more: as many more as there are 1 bits before a 0
                uint64_t nSuite = stLecteur.nBits << 3;
                while (nSuite >> 63) {
                    if (++nLongueur > kLongueurCodeMax) return false;
                    nSuite <<= 1;
                }
            }
            stLecteur.Consomme(nLongueur < 7 ? 3 : nLongueur - 3);
            tabLongueurs[i++] = static_cast<uint8_t>(nLongueur);
            if (i == nSpecial) {
                for (uint32_t nZero = nLitBits(2); nZero > 0 && i < kNb; --nZero) tabLongueurs[i++] = 0;
            }
        }
        std::fill(tabLongueurs + i, tabLongueurs + kNb, 0);
        return tab.bConstruit(tabLongueurs);
    }

    bool bLitLongueursC() noexcept {
        const int n = static_cast<int>(nLitBits(kBitsNbC));
        if (n == 0) {
            const int nSymbole = static_cast<int>(nLitBits(kBitsNbC));
            if (nSymbole >= kNbCodesC) return false;
            std::fill_n(tabLongueursC, kNbCodesC, 0);
            tabC.Unique(nSymbole);
            return true;
        }
        if (n > kNbCodesC) return false;
        int i = 0;
        while (i < n) {
            Remplit(stLecteur);
            const uint16_t wEntree = tabT.wEntree(stLecteur.nBits);
            int nCode, nLongueur;
            if (wEntree != CTable<8, kNbCodesT>::kLong) {
                nCode = wEntree >> 5;
                nLongueur = wEntree & 31;
            } else if ((nCode = tabT.nLong(stLecteur.nBits, &nLongueur)) < 0) {
                return false;
            }
            stLecteur.Consomme(nLongueur);
            if (nCode <= 2) {  // a run of zero lengths
                const int nRun = nCode == 0 ? 1 : nCode == 1 ? static_cast<int>(nLitBits(4)) + 3
                                                             : static_cast<int>(nLitBits(kBitsNbC)) + 20;
                if (nRun > kNbCodesC - i) return false;
                std::fill_n(tabLongueursC + i, nRun, 0);
                i += nRun;
            } else {
                tabLongueursC[i++] = static_cast<uint8_t>(nCode - 2);
            }
        }
        std::fill(tabLongueursC + i, tabLongueursC + kNbCodesC, 0);
        return tabC.bConstruit(tabLongueursC);
    }

    bool bLitEnTete() noexcept {
        nResteBloc = nLitBits(kBitsTailleBloc);
        return bLitLongueursPT(tabLongueursT, kBitsNbT, kSpecialT, tabT) && bLitLongueursC() &&
               bLitLongueursPT(tabLongueursP, kBitsNbP, -1, tabP);
    }

    // Decodes symbols into the window until nFin reaches nCible (a match may go past it).
    bool bDecodeJusque(size_t nCible) noexcept {
        uint8_t* const pbyFenetre = tabFenetre;
        uint8_t* pbyOut = pbyFenetre + nFin;
        uint8_t* const pbyCible = pbyFenetre + nCible;
        // Output before the window's first byte counts as history too.
        const uint64_t nBase = nBaseFenetre;
        STLecteur st = stLecteur;
        bool bBon = true;
        while (pbyOut < pbyCible) {
            if (nResteBloc == 0) {
                stLecteur = st;
                if (bDepasse() || !bLitEnTete()) {
                    bBon = false;
                    st = stLecteur;
                    break;
                }
                st = stLecteur;
                continue;  // an empty block: the overrun check ends a run of them
            }
            --nResteBloc;
            Remplit(st);
            int nCode, nLongueur;
            uint16_t wEntree = tabC.wEntree(st.nBits);
            if (wEntree != CTable<12, kNbCodesC>::kLong) [[likely]] {
                nCode = wEntree >> 5;
                nLongueur = wEntree & 31;
            } else if ((nCode = tabC.nLong(st.nBits, &nLongueur)) < 0) {
                bBon = false;
                break;
            }
            st.Consomme(nLongueur);
            if (nCode < 256) {
                *pbyOut++ = static_cast<uint8_t>(nCode);
                continue;
            }
            const int nLongueurMatch = nCode - kDecalageLongueur;
            // At most 16 + 16 bits were taken since the refill: 24 remain for the position's 12.
            wEntree = tabP.wEntree(st.nBits);
            int nBitsPosition;
            if (wEntree != CTable<8, kNbCodesP>::kLong) [[likely]] {
                nBitsPosition = wEntree >> 5;
                nLongueur = wEntree & 31;
            } else if ((nBitsPosition = tabP.nLong(st.nBits, &nLongueur)) < 0) {
                bBon = false;
                break;
            }
            st.Consomme(nLongueur);
            uint32_t nDistance = 1;
            if (nBitsPosition > 0) {
                nDistance += 1u << (nBitsPosition - 1);
                if (nBitsPosition > 1) {
                    nDistance += st.nRegarde(nBitsPosition - 1);
                    st.Consomme(nBitsPosition - 1);
                }
            }
            if (nDistance > nBase + static_cast<uint64_t>(pbyOut - pbyFenetre)) {  // before the start
                bBon = false;
                break;
            }
            const uint8_t* pbySource = pbyOut - nDistance;
            if (nDistance >= 8) {
                // Each word reads bytes at least 8 behind what it writes: all are final already.
                for (int k = 0; k < nLongueurMatch; k += 8) std::memcpy(pbyOut + k, pbySource + k, 8);
            } else {
                for (int k = 0; k < nLongueurMatch; ++k) pbyOut[k] = pbySource[k];
            }
            pbyOut += nLongueurMatch;
        }
        stLecteur = st;
        nFin = static_cast<size_t>(pbyOut - pbyFenetre);
        return bBon;
    }
};

CDecodeurLh5::CDecodeurLh5() noexcept = default;
CDecodeurLh5::~CDecodeurLh5() = default;

bool CDecodeurLh5::bDemarre(ISource* piSource, uint64_t nTailleCompressee) noexcept {
    if (!m_pstEtat) {
        m_pstEtat.reset(new (std::nothrow) STEtat);
        if (!m_pstEtat) return false;
    }
    STEtat& st = *m_pstEtat;
    st.piSource = piSource;
    st.nDeclaree = st.nResteSource = nTailleCompressee;
    st.nLusSource = st.nZeros = 0;
    st.stLecteur = STLecteur{};
    st.stLecteur.p = st.stLecteur.pFin = st.tabEntree;
    st.nResteBloc = 0;
    st.eEtat = EResultat::OK;
    st.nFin = st.nLivre = 0;
    st.nBaseFenetre = 0;
    return true;
}

EResultat CDecodeurLh5::eDecode(uint8_t* pbySortie, size_t nTaille) noexcept {
    if (!m_pstEtat) return EResultat::MEMOIRE;
    STEtat& st = *m_pstEtat;
    if (st.piSource == nullptr) return EResultat::CORROMPU;
    while (nTaille > 0 && st.eEtat == EResultat::OK) {
        if (st.nLivre < st.nFin) {
            const size_t n = std::min(nTaille, st.nFin - st.nLivre);
            std::memcpy(pbySortie, st.tabFenetre + st.nLivre, n);
            pbySortie += n;
            nTaille -= n;
            st.nLivre += n;
            continue;
        }
        // Everything decoded was handed over: keep the last 8 KiB as history when room runs out.
        const size_t nPlace = kHistoire + kZoneDecodage;
        if (st.nFin > kHistoire && st.nFin + std::min(nTaille, kZoneDecodage) > nPlace) {
            std::memmove(st.tabFenetre, st.tabFenetre + st.nFin - kHistoire, kHistoire);
            st.nBaseFenetre += st.nFin - kHistoire;
            st.nFin = st.nLivre = kHistoire;
        }
        const size_t nCible = st.nFin + std::min(nTaille, nPlace - st.nFin);
        if (!st.bDecodeJusque(nCible) && st.eEtat == EResultat::OK) st.eEtat = EResultat::CORROMPU;
    }
    if (st.eEtat == EResultat::OK && st.bDepasse()) st.eEtat = EResultat::CORROMPU;
    return st.eEtat;
}

EResultat eDecodeMemoire(const uint8_t* pbySource, size_t nTailleSource, uint8_t* pbySortie,
                         size_t nTailleOriginale) noexcept {
    CSourceMemoire clSource(pbySource, nTailleSource);
    CDecodeurLh5 clDecodeur;
    if (!clDecodeur.bDemarre(&clSource, nTailleSource)) return EResultat::MEMOIRE;
    return clDecodeur.eDecode(pbySortie, nTailleOriginale);
}

namespace {

constexpr std::array<uint16_t, 256> tabCrc16 = [] {
    std::array<uint16_t, 256> tab{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned n = i;
        for (int k = 0; k < 8; ++k) n = (n & 1) ? (n >> 1) ^ 0xA001u : n >> 1;
        tab[i] = static_cast<uint16_t>(n);
    }
    return tab;
}();

}  // namespace

uint16_t wCrc16(uint16_t wCrc, const uint8_t* pby, size_t nTaille) noexcept {
    for (size_t i = 0; i < nTaille; ++i) wCrc = static_cast<uint16_t>(tabCrc16[(wCrc ^ pby[i]) & 0xFF] ^ (wCrc >> 8));
    return wCrc;
}

}  // namespace ovlh5
