// Encoder of the "-lh5-" stream: LZ77 over an 8 KiB window with hash chains and one step of lazy
// evaluation, and static Huffman blocks of at most 16-bit codes.
#include <algorithm>
#include <cstring>
#include <new>

#include "compress/internal/lh5_format.h"
#include "compress/lh5.h"

namespace ovlh5 {

using namespace interne;

namespace {

constexpr size_t kHistoire = kTailleDictionnaire;
// Bytes read from the source at a time. A match at the current byte and the lazy look at the next
// one need kMatchMax + 1 bytes ahead, kAvanceMin.
constexpr size_t kLecture = 64 * 1024;
constexpr size_t kAvanceMin = kMatchMax + 2;
constexpr size_t kTailleFenetre = kHistoire + 1 + kLecture + kAvanceMin;
// Word reads of the hash and of match comparisons may look this far past the data.
constexpr size_t kRembourrage = 8;

constexpr int kBitsHachage = 15;
// Match search: chains of at most kChaine candidates, a quarter of that once the previous match is
// kBonne long; no look for a longer match after one of kParesseux; a match of 3 further than
// kTropLoin costs more than its three literals.
constexpr int kChaine = 96;
constexpr int kBonne = 16;
constexpr int kParesseux = 48;
constexpr uint32_t kTropLoin = 4096;

// The block boundary of the published encoder: its symbol buffer holds one flag byte per eight
// symbols, one byte per literal and three per match, and a block goes out when fewer than 24 bytes
// of the 16,384 are left at a flag byte.
constexpr size_t kTamponSymboles = 16384;
constexpr size_t kSeuilBloc = kTamponSymboles - 3 * 8;
constexpr size_t kMaxSymboles = kTamponSymboles;
// A block codes each symbol in at most 16 + 16 + 12 bits, plus its tables.
constexpr size_t kTailleSortie = kMaxSymboles * 44 / 8 + 4096;
constexpr uint64_t kPasProgression = 8192;

inline uint32_t nHache(const uint8_t* p) noexcept {
    uint32_t n;
    std::memcpy(&n, p, sizeof n);
    return ((n & 0xFFFFFFu) * 2654435761u) >> (32 - kBitsHachage);
}

inline int nLongueurCommune(const uint8_t* pbyA, const uint8_t* pbyB, int nMax) noexcept {
    int n = 0;
    while (n + 8 <= nMax) {
        uint64_t nA, nB;
        std::memcpy(&nA, pbyA + n, 8);
        std::memcpy(&nB, pbyB + n, 8);
        if (const uint64_t nDiff = nA ^ nB) return n + (__builtin_ctzll(nDiff) >> 3);
        n += 8;
    }
    while (n < nMax && pbyA[n] == pbyB[n]) ++n;
    return n;
}

inline int nBitsDe(uint32_t n) noexcept { return n == 0 ? 0 : 32 - __builtin_clz(n); }

// Code lengths of at most 16 bits for the symbols of non-zero frequency, and their canonical codes.
// Answers the count of symbols used; with fewer than two, *pnSeul is the one (or 0), coded in no bits.
int nConstruitCodes(const uint32_t* tabFreq, int nSymboles, uint8_t* tabLongueurs, uint16_t* tabCodes,
                    int* pnSeul) noexcept {
    uint64_t tabTri[kNbCodesMax];
    int n = 0;
    for (int i = 0; i < nSymboles; ++i) {
        tabLongueurs[i] = 0;
        tabCodes[i] = 0;
        if (tabFreq[i] != 0) tabTri[n++] = uint64_t{tabFreq[i]} << 16 | static_cast<uint64_t>(i);
    }
    if (n < 2) {
        *pnSeul = n == 1 ? static_cast<int>(tabTri[0] & 0xFFFF) : 0;
        return n;
    }
    std::sort(tabTri, tabTri + n);

    // Huffman code lengths in place over the ascending frequencies (Moffat and Katajainen): the
    // first pass leaves parent links, the second internal depths, the third leaf depths.
    uint32_t tabA[kNbCodesMax];
    for (int i = 0; i < n; ++i) tabA[i] = static_cast<uint32_t>(tabTri[i] >> 16);
    {
        tabA[0] += tabA[1];
        int nRacine = 0, nFeuille = 2;
        for (int nSuivant = 1; nSuivant < n - 1; ++nSuivant) {
            if (nFeuille >= n || tabA[nRacine] < tabA[nFeuille]) {
                tabA[nSuivant] = tabA[nRacine];
                tabA[nRacine++] = static_cast<uint32_t>(nSuivant);
            } else {
                tabA[nSuivant] = tabA[nFeuille++];
            }
            if (nFeuille >= n || (nRacine < nSuivant && tabA[nRacine] < tabA[nFeuille])) {
                tabA[nSuivant] += tabA[nRacine];
                tabA[nRacine++] = static_cast<uint32_t>(nSuivant);
            } else {
                tabA[nSuivant] += tabA[nFeuille++];
            }
        }
        tabA[n - 2] = 0;
        for (int nSuivant = n - 3; nSuivant >= 0; --nSuivant) tabA[nSuivant] = tabA[tabA[nSuivant]] + 1;
        int nDispo = 1, nUtilises = 0, nProfondeur = 0;
        nRacine = n - 2;
        int nSuivant = n - 1;
        while (nDispo > 0) {
            while (nRacine >= 0 && tabA[nRacine] == static_cast<uint32_t>(nProfondeur)) {
                ++nUtilises;
                --nRacine;
            }
            while (nDispo > nUtilises) {
                tabA[nSuivant--] = static_cast<uint32_t>(nProfondeur);
                --nDispo;
            }
            nDispo = 2 * nUtilises;
            ++nProfondeur;
            nUtilises = 0;
        }
    }

    // Deeper than 16 bits: clamp, then take the excess of the code space back one unit at a time by
    // moving a leaf of 16 bits under a shallower leaf, which the two then share.
    uint32_t tabCompte[kLongueurCodeMax + 1] = {};
    for (int i = 0; i < n; ++i) ++tabCompte[std::min<uint32_t>(tabA[i], kLongueurCodeMax)];
    uint32_t nEspace = 0;
    for (int l = 1; l <= kLongueurCodeMax; ++l) nEspace += tabCompte[l] << (kLongueurCodeMax - l);
    while (nEspace > (1u << kLongueurCodeMax)) {
        --tabCompte[kLongueurCodeMax];
        for (int l = kLongueurCodeMax - 1; l > 0; --l) {
            if (tabCompte[l] != 0) {
                --tabCompte[l];
                tabCompte[l + 1] += 2;
                break;
            }
        }
        --nEspace;
    }
    // The rarest symbols take the longest codes.
    int k = 0;
    for (int l = kLongueurCodeMax; l > 0; --l)
        for (uint32_t c = tabCompte[l]; c > 0; --c) tabLongueurs[tabTri[k++] & 0xFFFF] = static_cast<uint8_t>(l);

    uint32_t tabProchain[kLongueurCodeMax + 1];
    uint32_t nCode = 0;
    for (int l = 1; l <= kLongueurCodeMax; ++l) {
        tabProchain[l] = nCode;
        nCode = (nCode + tabCompte[l]) << 1;
    }
    for (int i = 0; i < nSymboles; ++i)
        if (tabLongueurs[i] != 0) tabCodes[i] = static_cast<uint16_t>(tabProchain[tabLongueurs[i]]++);
    return n;
}

struct STEncodeur {
    ISource* piSource = nullptr;
    IPuits* piPuits = nullptr;
    IProgression* piProgression = nullptr;
    uint64_t nLimite = 0;
    EResultat eResultat = EResultat::OK;

    // The window: tabFenetre[0] is byte nBase of the source, nFin bytes are there.
    uint64_t nBase = 0;
    size_t nFin = 0;
    uint64_t nLus = 0;
    bool bFinSource = false;
    uint32_t tabTete[size_t{1} << kBitsHachage] = {};
    uint32_t tabPrecedent[kHistoire] = {};

    // The block being gathered.
    size_t nSymboles = 0, nPositions = 0, nOctetsTampon = 0;
    uint32_t tabFreqC[kNbCodesC] = {}, tabFreqP[kNbCodesP] = {};
    uint16_t tabSymboles[kMaxSymboles];
    uint16_t tabPositions[kMaxSymboles];
    uint8_t tabLongueursC[kNbCodesC], tabLongueursT[kNbCodesT], tabLongueursP[kNbCodesP];
    uint16_t tabCodesC[kNbCodesC], tabCodesT[kNbCodesT], tabCodesP[kNbCodesP];

    // Bits out: the low nAcc bits of nAcc64 are not in tabSortie yet.
    uint64_t nAcc64 = 0;
    int nAcc = 0;
    size_t nSortie = 0;
    uint64_t nEcrits = 0;

    alignas(8) uint8_t tabFenetre[kTailleFenetre + kRembourrage] = {};
    alignas(8) uint8_t tabSortie[kTailleSortie];

    void Ecrit(int n, uint32_t nValeur) noexcept {  // n <= 16, nValeur < 2^n
        nAcc64 = (nAcc64 << n) | nValeur;
        nAcc += n;
        if (nAcc >= 32) {
            nAcc -= 32;
            const uint32_t nMot = __builtin_bswap32(static_cast<uint32_t>(nAcc64 >> nAcc));
            std::memcpy(tabSortie + nSortie, &nMot, 4);
            nSortie += 4;
        }
    }

    // The pending whole bytes go to the sink unless they would make the output reach the limit.
    bool bVide() noexcept {
        if (nEcrits + nSortie >= nLimite) {
            eResultat = EResultat::INCOMPRESSIBLE;
            return false;
        }
        if (nSortie > 0 && !piPuits->bEcrit(tabSortie, nSortie)) {
            eResultat = EResultat::ECHEC_ECRITURE;
            return false;
        }
        nEcrits += nSortie;
        nSortie = 0;
        return true;
    }

    void EcritLongueursPT(const uint8_t* tabLongueurs, int n, int nBitsNombre, int nSpecial) noexcept {
        while (n > 0 && tabLongueurs[n - 1] == 0) --n;
        Ecrit(nBitsNombre, static_cast<uint32_t>(n));
        int i = 0;
        while (i < n) {
            const int k = tabLongueurs[i++];
            if (k <= 6)
                Ecrit(3, static_cast<uint32_t>(k));
            else
                Ecrit(k - 3, (1u << (k - 3)) - 2);  // k - 4 ones and a zero
            if (i == nSpecial) {
                while (i < 6 && tabLongueurs[i] == 0) ++i;
                Ecrit(2, static_cast<uint32_t>(i - 3) & 3);
            }
        }
    }

    // Walks the literal table's code lengths as runs: fTraite(code-length code, extra bits, value).
    template <class F>
    void ParcourtLongueursC(int n, F fTraite) const noexcept {
        int i = 0;
        while (i < n) {
            const int k = tabLongueursC[i++];
            if (k != 0) {
                fTraite(k + 2, 0, 0u);
                continue;
            }
            int nRun = 1;
            while (i < n && tabLongueursC[i] == 0) {
                ++i;
                ++nRun;
            }
            if (nRun <= 2) {
                for (int r = 0; r < nRun; ++r) fTraite(0, 0, 0u);
            } else if (nRun <= 18) {
                fTraite(1, 4, static_cast<uint32_t>(nRun - 3));
            } else if (nRun == 19) {
                fTraite(0, 0, 0u);
                fTraite(1, 4, 15u);
            } else {
                fTraite(2, kBitsNbC, static_cast<uint32_t>(nRun - 20));
            }
        }
    }

    void EnvoieBloc() noexcept {
        int nSeul;
        Ecrit(kBitsTailleBloc, static_cast<uint32_t>(nSymboles));
        if (nConstruitCodes(tabFreqC, kNbCodesC, tabLongueursC, tabCodesC, &nSeul) >= 2) {
            int n = kNbCodesC;
            while (n > 0 && tabLongueursC[n - 1] == 0) --n;
            uint32_t tabFreqT[kNbCodesT] = {};
            ParcourtLongueursC(n, [&](int c, int, uint32_t) { ++tabFreqT[c]; });
            int nSeulT;
            if (nConstruitCodes(tabFreqT, kNbCodesT, tabLongueursT, tabCodesT, &nSeulT) >= 2) {
                EcritLongueursPT(tabLongueursT, kNbCodesT, kBitsNbT, kSpecialT);
            } else {
                Ecrit(kBitsNbT, 0);
                Ecrit(kBitsNbT, static_cast<uint32_t>(nSeulT));
            }
            Ecrit(kBitsNbC, static_cast<uint32_t>(n));
            ParcourtLongueursC(n, [&](int c, int nBits, uint32_t nValeur) {
                Ecrit(tabLongueursT[c], tabCodesT[c]);
                if (nBits > 0) Ecrit(nBits, nValeur);
            });
        } else {
            Ecrit(kBitsNbT, 0);
            Ecrit(kBitsNbT, 0);
            Ecrit(kBitsNbC, 0);
            Ecrit(kBitsNbC, static_cast<uint32_t>(nSeul));
        }
        if (nConstruitCodes(tabFreqP, kNbCodesP, tabLongueursP, tabCodesP, &nSeul) >= 2) {
            EcritLongueursPT(tabLongueursP, kNbCodesP, kBitsNbP, -1);
        } else {
            Ecrit(kBitsNbP, 0);
            Ecrit(kBitsNbP, static_cast<uint32_t>(nSeul));
        }
        size_t j = 0;
        for (size_t i = 0; i < nSymboles; ++i) {
            const uint16_t c = tabSymboles[i];
            Ecrit(tabLongueursC[c], tabCodesC[c]);
            if (c >= 256) {
                const uint32_t p = tabPositions[j++];
                const int nBits = nBitsDe(p);
                Ecrit(tabLongueursP[nBits], tabCodesP[nBits]);
                if (nBits > 1) Ecrit(nBits - 1, p & ((1u << (nBits - 1)) - 1));
            }
        }
        nSymboles = nPositions = nOctetsTampon = 0;
        std::fill(std::begin(tabFreqC), std::end(tabFreqC), 0u);
        std::fill(std::begin(tabFreqP), std::end(tabFreqP), 0u);
        bVide();
    }

    // False when the block sent on the way ended the operation.
    bool bSymbole(uint16_t c, size_t nOctets) noexcept {
        if ((nSymboles & 7) == 0) {
            if (nOctetsTampon >= kSeuilBloc) {
                EnvoieBloc();
                if (eResultat != EResultat::OK) return false;
            }
            ++nOctetsTampon;
        }
        tabSymboles[nSymboles++] = c;
        ++tabFreqC[c];
        nOctetsTampon += nOctets;
        return true;
    }
    bool bLitteral(uint8_t by) noexcept { return bSymbole(by, 1); }
    bool bMatch(int nLongueur, uint32_t nDistance) noexcept {
        if (!bSymbole(static_cast<uint16_t>(nLongueur + kDecalageLongueur), 3)) return false;
        tabPositions[nPositions++] = static_cast<uint16_t>(nDistance - 1);
        ++tabFreqP[nBitsDe(nDistance - 1)];
        return true;
    }

    // Keeps the history behind byte i and fills the window from the source; i follows the move.
    void Recharge(size_t& i) noexcept {
        if (i > kHistoire + 1) {
            const size_t nDecalage = i - kHistoire - 1;
            std::memmove(tabFenetre, tabFenetre + nDecalage, nFin - nDecalage);
            nBase += nDecalage;
            nFin -= nDecalage;
            i -= nDecalage;
        }
        while (nFin < kTailleFenetre && !bFinSource) {
            const long n = piSource->nLit(tabFenetre + nFin, kTailleFenetre - nFin);
            if (n < 0) {
                eResultat = EResultat::ECHEC_LECTURE;
                bFinSource = true;
            } else if (n == 0) {
                bFinSource = true;
            } else {
                const size_t nLu = std::min(static_cast<size_t>(n), kTailleFenetre - nFin);
                nFin += nLu;
                nLus += nLu;
            }
        }
    }

    void Insere(size_t i) noexcept {
        const uint32_t nPosition = static_cast<uint32_t>(nBase + i);
        uint32_t& nTete = tabTete[nHache(tabFenetre + i)];
        tabPrecedent[nPosition & (kHistoire - 1)] = nTete;
        nTete = nPosition;
    }

    // The longest match at byte i longer than nMeilleure, up to nMax bytes; nMeilleure if none.
    // Positions are 32-bit: a stale one that aliases a recent distance only offers bytes of the
    // window, which are compared before use.
    int nCherche(size_t i, uint32_t nCandidat, int nMeilleure, int nMax, int nChaine, uint32_t* pnDistance) const noexcept {
        const uint8_t* pbyIci = tabFenetre + i;
        const uint32_t nIci = static_cast<uint32_t>(nBase + i);
        const uint32_t nDistanceMax = static_cast<uint32_t>(std::min(kHistoire, i));
        uint32_t nDistancePrecedente = 0;
        while (nChaine-- > 0) {
            const uint32_t nDistance = nIci - nCandidat;
            // Distances grow along a chain: anything else is a stale link, and ends the walk.
            if (nDistance <= nDistancePrecedente || nDistance > nDistanceMax) break;
            nDistancePrecedente = nDistance;
            const uint8_t* pbyLa = pbyIci - nDistance;
            if (pbyLa[nMeilleure] == pbyIci[nMeilleure] && pbyLa[0] == pbyIci[0] && pbyLa[1] == pbyIci[1]) {
                const int n = nLongueurCommune(pbyLa, pbyIci, nMax);
                if (n > nMeilleure) {
                    nMeilleure = n;
                    *pnDistance = nDistance;
                    if (n >= nMax) break;
                }
            }
            nCandidat = tabPrecedent[nCandidat & (kHistoire - 1)];
        }
        return nMeilleure;
    }

    void Encode() noexcept {
        size_t i = 0;
        int nPrecedente = kMatchMin - 1;
        uint32_t nDistancePrecedente = 0;
        bool bEnAttente = false;  // the byte before i is neither sent nor covered by a match
        uint64_t nProchainAppel = kPasProgression;
        for (;;) {
            if (nFin - i < kAvanceMin && !bFinSource) Recharge(i);
            if (eResultat != EResultat::OK) return;
            const size_t nAvance = nFin - i;
            if (nAvance == 0) break;
            if (piProgression != nullptr && nBase + i >= nProchainAppel) {
                nProchainAppel = nBase + i + kPasProgression;
                if (!piProgression->bContinue(nBase + i)) {
                    eResultat = EResultat::ARRETE;
                    return;
                }
            }
            int nLongueur = kMatchMin - 1;
            uint32_t nDistance = 0;
            if (nAvance >= static_cast<size_t>(kMatchMin)) {
                const uint32_t nCandidat = tabTete[nHache(tabFenetre + i)];
                Insere(i);
                const int nMax = static_cast<int>(std::min<size_t>(kMatchMax, nAvance));
                if (nPrecedente < kParesseux && nPrecedente < nMax) {
                    nLongueur = nCherche(i, nCandidat, std::max(nPrecedente, kMatchMin - 1), nMax,
                                         nPrecedente >= kBonne ? kChaine / 4 : kChaine, &nDistance);
                    if (nLongueur == kMatchMin && nDistance > kTropLoin) nLongueur = kMatchMin - 1;
                }
            }
            if (nPrecedente >= kMatchMin && nLongueur <= nPrecedente) {
                if (!bMatch(nPrecedente, nDistancePrecedente)) return;
                const size_t nFinMatch = i - 1 + static_cast<size_t>(nPrecedente);
                for (size_t k = i + 1; k < nFinMatch && nFin - k >= static_cast<size_t>(kMatchMin); ++k) Insere(k);
                i = nFinMatch;
                bEnAttente = false;
                nPrecedente = kMatchMin - 1;
                continue;
            }
            if (bEnAttente && !bLitteral(tabFenetre[i - 1])) return;
            bEnAttente = true;
            nPrecedente = nLongueur;
            nDistancePrecedente = nDistance;
            ++i;
        }
        if (bEnAttente && !bLitteral(tabFenetre[i - 1])) return;
        // The last block; an empty source still gets one, empty, so that the stream is never void.
        if (nSymboles > 0 || nEcrits + nSortie == 0) {
            EnvoieBloc();
            if (eResultat != EResultat::OK) return;
        }
        if (nAcc > 0) {  // the last bits, padded with zeros to a byte
            Ecrit((8 - nAcc % 8) % 8, 0);
            while (nAcc >= 8) {
                nAcc -= 8;
                tabSortie[nSortie++] = static_cast<uint8_t>(nAcc64 >> nAcc);
            }
        }
        bVide();
    }
};

}  // namespace

STEncodage stEncode(ISource* piSource, IPuits* piPuits, uint64_t nLimiteSortie, IProgression* piProgression) noexcept {
    STEncodage stResultat;
    std::unique_ptr<STEncodeur> pstEncodeur(new (std::nothrow) STEncodeur);
    if (!pstEncodeur) {
        stResultat.eResultat = EResultat::MEMOIRE;
        return stResultat;
    }
    STEncodeur& st = *pstEncodeur;
    st.piSource = piSource;
    st.piPuits = piPuits;
    st.piProgression = piProgression;
    st.nLimite = nLimiteSortie;
    st.Encode();
    stResultat.eResultat = st.eResultat;
    stResultat.nLus = st.nLus;
    stResultat.nEcrits = st.nEcrits;
    return stResultat;
}

}  // namespace ovlh5
