// CVieuxBlocCompresseur: LZW of the older kind, codes of 9 to 15 bits written from the most
// significant end. Every change of state travels in the stream behind the escape code 0x100, so
// the decoder never has to guess the width: 0x100 0 is the string of code 0x100, 0x100 1 a fresh
// dictionary, 0x100 2 one more bit a code, 0x100 3 the end.
//
// The node table is hashed: (character XOR prefix * 8) AND 0x7FFF, the single bytes sitting at
// their own value under the root prefix 0x8001. A collision moves by an odd step of at least 257
// drawn from a multiplicative hash of the prefix and the character, at most 16 times; when no slot
// is found, or the 32,768 codes are all given, the dictionary starts afresh.
#include <cstring>
#include <new>

#include "compress/block_compressors.h"
#include "compress/internal/block_format.h"

namespace {

constexpr uint32_t kEchappement = 0x100;
constexpr uint32_t kSousLitteral = 0;
constexpr uint32_t kSousReset = 1;
constexpr uint32_t kSousLargeur = 2;
constexpr uint32_t kSousFin = 3;
constexpr uint32_t kNbNoeuds = 0x8000;
constexpr uint16_t kPrefixeRacine = 0x8001;
constexpr uint16_t kCaractereVide = 0x1001;
constexpr uint32_t kLargeurMin = 9;
constexpr uint32_t kLargeurMax = 15;
constexpr uint32_t kNbSondes = 16;

// The room kept back while coding: the header and about two codes, rounded up to even.
inline uint32_t dwMarge(uint32_t dwLargeur) noexcept { return (11 + dwLargeur / 4 + 1) & ~1u; }

}  // namespace

struct CVieuxBlocCompresseur::STNoeud {
    uint16_t wPrefixe;
    uint16_t wCaractere;  // kCaractereVide for a free node
    uint16_t wCode;
};

// A string the decoder knows is already in the output: where, and how long.
struct CVieuxBlocCompresseur::STEntreeDecodage {
    uint32_t dwPosition;
    uint32_t dwLongueur;
};

CVieuxBlocCompresseur::CVieuxBlocCompresseur() = default;
CVieuxBlocCompresseur::~CVieuxBlocCompresseur() = default;

void CVieuxBlocCompresseur::_InitDico() noexcept {
    STNoeud* const pstNoeuds = m_pstNoeuds.get();
    for (uint32_t i = 0; i < kNbNoeuds; ++i) pstNoeuds[i] = {0, kCaractereVide, 0};
    for (uint16_t c = 0; c < 256; ++c) pstNoeuds[c] = {kPrefixeRacine, c, c};
    m_dwProchain = kEchappement;
}

int CVieuxBlocCompresseur::_nCherche(uint32_t dwPrefixe, uint8_t byCaractere) const noexcept {
    uint32_t dwSlot = (byCaractere ^ dwPrefixe * 8) & (kNbNoeuds - 1);
    // The step mixes both halves of the key, so that keys meeting in one slot part at once, and is
    // never below 257, so that a key starting among the 256 single bytes leaves them at once.
    const uint32_t dwPas = (((dwPrefixe * 0x9E3779B1u + byCaractere * 0x85EBCA6Bu) >> 18) | 1u) + 0x100;
    for (uint32_t i = 0; i <= kNbSondes; ++i) {
        const STNoeud& st = m_pstNoeuds[dwSlot];
        if (st.wCaractere == kCaractereVide || (st.wPrefixe == dwPrefixe && st.wCaractere == byCaractere))
            return static_cast<int>(dwSlot);
        dwSlot = (dwSlot + dwPas) & (kNbNoeuds - 1);
    }
    return -1;
}

uint32_t CVieuxBlocCompresseur::_dwCompression() {
    const uint32_t dwTaille = m_dwTailleEntree;
    if (static_cast<uint64_t>(m_dwTailleSortie) < static_cast<uint64_t>(dwTaille) + kdwTailleEnteteCopie) return 0;
    // Too short to gain anything once the header and the margin are paid.
    if (dwTaille <= dwMarge(kLargeurMin)) return _dwCompresseCopie();
    if (!m_pstNoeuds) m_pstNoeuds.reset(new STNoeud[kNbNoeuds]);
    _InitDico();

    uint8_t* const pbyPacke = m_pbySortie + kdwTailleEntete;
    ovbloc::STEcrivainMSB stEcrivain{pbyPacke, m_pbySortie + m_dwTailleSortie};
    uint32_t dwLargeur = kLargeurMin;
    // Coding stops, for the stored form, once the packed bytes and the margin reach the input size.
    auto bEmet = [&](uint32_t dwCode) {
        if (static_cast<uint64_t>(stEcrivain.pbyPos - pbyPacke) + dwMarge(dwLargeur) >= dwTaille) return false;
        return stEcrivain.bEcrit(dwCode, dwLargeur);
    };
    auto bEmetChaine = [&](uint32_t dwCode) {
        if (dwCode != kEchappement) return bEmet(dwCode);
        return bEmet(kEchappement) && bEmet(kSousLitteral);
    };

    const uint8_t* const pbyEntree = m_pbyEntree;
    uint32_t dwChaine = pbyEntree[0];
    for (uint32_t dwPos = 1; dwPos < dwTaille; ++dwPos) {
        const uint8_t byCaractere = pbyEntree[dwPos];
        const int nSlot = _nCherche(dwChaine, byCaractere);
        if (nSlot >= 0 && m_pstNoeuds[nSlot].wCaractere != kCaractereVide) {
            dwChaine = m_pstNoeuds[nSlot].wCode;
            continue;
        }
        if (!bEmetChaine(dwChaine)) return _dwCompresseCopie();
        if (nSlot >= 0 && m_dwProchain < kNbNoeuds) {
            m_pstNoeuds[nSlot] = {static_cast<uint16_t>(dwChaine), byCaractere, static_cast<uint16_t>(m_dwProchain)};
            ++m_dwProchain;
            if (m_dwProchain == 1u << dwLargeur && dwLargeur < kLargeurMax) {
                if (!bEmet(kEchappement) || !bEmet(kSousLargeur)) return _dwCompresseCopie();
                ++dwLargeur;
            }
        } else {
            if (!bEmet(kEchappement) || !bEmet(kSousReset)) return _dwCompresseCopie();
            _InitDico();
            dwLargeur = kLargeurMin;
        }
        dwChaine = byCaractere;
    }
    if (!bEmetChaine(dwChaine) || !bEmet(kEchappement) || !bEmet(kSousFin) || !stEcrivain.bVide())
        return _dwCompresseCopie();
    const auto dwPacke = static_cast<uint32_t>(stEcrivain.pbyPos - pbyPacke);
    _EcritEntete(eCOMPRESSEUR_VIEUXBLOC, dwPacke);
    return dwPacke + kdwTailleEntete;
}

uint32_t CVieuxBlocCompresseur::_dwDecompression() {
    if (m_dwTailleEntree >= 1 && m_pbyEntree[0] == eCOMPRESSEUR_COPIE) return _dwDecompresseCopie();
    const uint8_t* pbyPacke;
    uint32_t dwTaillePackee, dwTailleOriginale;
    if (!_bLitEntete(eCOMPRESSEUR_VIEUXBLOC, &pbyPacke, &dwTaillePackee, &dwTailleOriginale)) return kdwEchec;
    if (!m_pstDecodage) m_pstDecodage.reset(new STEntreeDecodage[kNbNoeuds]);
    STEntreeDecodage* const pstTable = m_pstDecodage.get();
    const uint8_t* pbyLecture = pbyPacke;
    const uint8_t* const pbyFinLecture = pbyPacke + dwTaillePackee;
    uint8_t* const pbySortie = m_pbySortie;
    uint32_t dwEcrits = 0;

    uint32_t dwAccu = 0, dwNbBits = 0, dwLargeur = kLargeurMin, dwProchain = kEchappement;
    bool bPrecedent = false;
    uint32_t dwPositionPrecedent = 0, dwLongueurPrecedent = 0;
    // The next code, or kdwEchec when the input ends first.
    auto dwLit = [&]() -> uint32_t {
        while (dwNbBits < dwLargeur) {
            if (pbyLecture >= pbyFinLecture) return kdwEchec;
            dwAccu = dwAccu << 8 | *pbyLecture++;
            dwNbBits += 8;
        }
        dwNbBits -= dwLargeur;
        const uint32_t dwCode = (dwAccu >> dwNbBits) & ((1u << dwLargeur) - 1);
        dwAccu &= (1u << dwNbBits) - 1;
        return dwCode;
    };
    while (dwEcrits < dwTailleOriginale) {
        const uint32_t dwCode = dwLit();
        if (dwCode == kdwEchec) return kdwEchec;
        if (dwCode == kEchappement) {
            const uint32_t dwSous = dwLit();
            if (dwSous == kSousFin) break;
            if (dwSous == kSousReset) {
                dwLargeur = kLargeurMin;
                dwProchain = kEchappement;
                bPrecedent = false;
                continue;
            }
            if (dwSous == kSousLargeur) {
                if (dwLargeur >= kLargeurMax) return kdwEchec;
                ++dwLargeur;
                continue;
            }
            if (dwSous != kSousLitteral) return kdwEchec;
        }
        // Every string the decoder knows is already in the output: it is copied from there.
        uint32_t dwLongueur;
        if (dwCode < kEchappement) {
            dwLongueur = 1;
            pbySortie[dwEcrits] = static_cast<uint8_t>(dwCode);
        } else if (dwCode < dwProchain) {
            dwLongueur = pstTable[dwCode].dwLongueur;
            if (dwLongueur > dwTailleOriginale - dwEcrits) return kdwEchec;
            std::memcpy(pbySortie + dwEcrits, pbySortie + pstTable[dwCode].dwPosition, dwLongueur);
        } else if (dwCode == dwProchain && bPrecedent && dwProchain < kNbNoeuds) {
            dwLongueur = dwLongueurPrecedent + 1;
            if (dwLongueur > dwTailleOriginale - dwEcrits) return kdwEchec;
            std::memcpy(pbySortie + dwEcrits, pbySortie + dwPositionPrecedent, dwLongueurPrecedent);
            pbySortie[dwEcrits + dwLongueurPrecedent] = pbySortie[dwPositionPrecedent];
        } else {
            return kdwEchec;
        }
        if (bPrecedent && dwProchain < kNbNoeuds) {
            pstTable[dwProchain] = {dwPositionPrecedent, dwLongueurPrecedent + 1};
            ++dwProchain;
        }
        bPrecedent = true;
        dwPositionPrecedent = dwEcrits;
        dwLongueurPrecedent = dwLongueur;
        dwEcrits += dwLongueur;
    }
    return dwEcrits == dwTailleOriginale ? dwEcrits : kdwEchec;
}
