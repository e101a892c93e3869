// CZLWCompresseur: LZW of 9 to 16 bits a code, least significant bits first, with a hashed
// dictionary that the coder resets when it stops paying off.
//
// The width rule, which coder and decoder must share. The coder emits a code, then adds the new
// string at the next free code; when that makes the next free code pass the limit (next > limit,
// limit = 2^width) the width rises before the following code. The decoder learns each string one
// code late (it needs the first character of the following code), so after its own addition its
// next free code is one below the coder's, and it raises the width when next >= limit. Two places
// keep the two in step where the coder adds nothing:
//   - a failed addition (every probe taken) is followed by a reset; the decoder still counts the
//     string it added on the code before, so the coder raises the width when next == limit before
//     it writes the reset code;
//   - after the last code the coder adds one string of the stand-in character 0x0F, so that the
//     end code 0x101 goes out at the width the decoder expects.
// With the dictionary full (next = 0x10000) neither adds and both stay at 16 bits.
#include <cstring>
#include <new>

#include "compress/block_compressors.h"
#include "compress/internal/block_format.h"

namespace {

constexpr uint32_t kCodeReset = 0;
constexpr uint32_t kCodeFin = 0x101;
constexpr uint32_t kPremierLibre = 0x102;
constexpr uint32_t kNbCodes = 0x10000;
constexpr uint32_t kNbSlots = 0x20000;
constexpr uint32_t kNbSondes = 11;
constexpr uint32_t kLargeurMin = 9;
constexpr uint32_t kLargeurMax = 16;
constexpr uint32_t kLimiteInitiale = 1u << kLargeurMin;
constexpr uint8_t kCaractereFin = 0x0F;

inline uint32_t dwHash(uint32_t dwPrefixe, uint32_t dwCaractere) noexcept {
    return (dwCaractere * 0x200 + 1 + dwPrefixe * 2) & (kNbSlots - 1);
}
// The slot after a collision: the first slot is odd, the probes even, so they never meet it.
inline uint32_t dwSonde(uint32_t dwHashCourant, uint32_t i) noexcept {
    return ((i + 0x3FB + dwHashCourant) & 0xFFFF) * 2;
}

}  // namespace

// A string the decoder knows is already in the output: where, and how long.
struct CZLWCompresseur::STEntreeDecodage {
    uint32_t dwPosition;
    uint32_t dwLongueur;
};

CZLWCompresseur::CZLWCompresseur() = default;
CZLWCompresseur::~CZLWCompresseur() = default;

void CZLWCompresseur::_InitDico() noexcept {
    // Only the codes are cleared: a key counts only beside a code.
    std::memset(m_pwHash.get(), 0, kNbSlots * sizeof(uint16_t));
    m_dwProchain = kPremierLibre;
    m_dwLargeur = kLargeurMin;
    m_dwLimite = kLimiteInitiale;
    m_dMeilleurRatio = 0;
}

bool CZLWCompresseur::_bAjouteDico(uint32_t dwPrefixe, uint8_t byCaractere, uint32_t dwSlot) noexcept {
    m_pdwCles[dwSlot] = dwPrefixe << 8 | byCaractere;
    m_pwHash[dwSlot] = static_cast<uint16_t>(m_dwProchain);
    ++m_dwProchain;
    if (m_dwLargeur < kLargeurMax && m_dwProchain > m_dwLimite) {
        ++m_dwLargeur;
        m_dwLimite <<= 1;
    }
    return true;
}

uint32_t CZLWCompresseur::_dwCompression() {
    const uint32_t dwTaille = m_dwTailleEntree;
    if (dwTaille < kdwTailleMinimale) return _dwCompresseCopie();
    if (static_cast<uint64_t>(m_dwTailleSortie) < static_cast<uint64_t>(dwTaille) + kdwTailleEnteteCopie) return 0;
    if (!m_pwHash) {
        m_pwHash.reset(new uint16_t[kNbSlots]);
        m_pdwCles.reset(new uint32_t[kNbSlots]);
    }
    _InitDico();

    // The packed form gives way to the stored one as soon as the block would reach the input
    // size + 3 bytes: packed bytes stay below input size + 3 - header.
    uint8_t* const pbyPacke = m_pbySortie + kdwTailleEntete;
    ovbloc::STEcrivainLSB stEcrivain{pbyPacke, m_pbySortie + (static_cast<uint64_t>(dwTaille) + 2)};
    const uint8_t* const pbyEntree = m_pbyEntree;
    const uint32_t* const pdwCles = m_pdwCles.get();
    const uint16_t* const pwHash = m_pwHash.get();

    uint32_t dwChaine = pbyEntree[0] + 1u;
    for (uint32_t dwPos = 1; dwPos < dwTaille; ++dwPos) {
        const uint8_t byCaractere = pbyEntree[dwPos];
        const uint32_t dwCle = dwChaine << 8 | byCaractere;
        uint32_t dwSlot = dwHash(dwChaine, byCaractere);
        uint32_t dwCode = pwHash[dwSlot];
        if (dwCode != 0 && pdwCles[dwSlot] != dwCle) {
            for (uint32_t i = 0; i < kNbSondes; ++i) {
                dwSlot = dwSonde(dwSlot, i);
                dwCode = pwHash[dwSlot];
                if (dwCode == 0 || pdwCles[dwSlot] == dwCle) break;
            }
        }
        if (dwCode != 0 && pdwCles[dwSlot] == dwCle) {
            dwChaine = dwCode;
            continue;
        }
        if (!stEcrivain.bEcrit(dwChaine, m_dwLargeur)) return _dwCompresseCopie();
        if (m_dwProchain < kNbCodes) {
            if (dwCode == 0) {
                _bAjouteDico(dwChaine, byCaractere, dwSlot);
            } else {
                // Every probe taken: a fresh dictionary, announced at the width the decoder holds.
                if (m_dwProchain == m_dwLimite && m_dwLargeur < kLargeurMax) {
                    ++m_dwLargeur;
                    m_dwLimite <<= 1;
                }
                if (!stEcrivain.bEcrit(kCodeReset, m_dwLargeur)) return _dwCompresseCopie();
                _InitDico();
            }
        } else {
            // A full dictionary is kept while it compresses as well as it did at its best.
            const double dRatio =
                (1.0 - static_cast<double>(stEcrivain.pbyPos - pbyPacke) / static_cast<double>(dwPos)) * 100.0;
            if (dRatio > m_dMeilleurRatio) m_dMeilleurRatio = dRatio;
            const double dTolerance = (100.0 - m_dMeilleurRatio) / 100.0 < 0.2 ? 0.2 : 0.0;
            if (m_dMeilleurRatio > dRatio + dTolerance) {
                if (!stEcrivain.bEcrit(kCodeReset, m_dwLargeur)) return _dwCompresseCopie();
                _InitDico();
            }
        }
        dwChaine = byCaractere + 1u;
    }
    if (!stEcrivain.bEcrit(dwChaine, m_dwLargeur)) return _dwCompresseCopie();
    if (m_dwProchain < kNbCodes) {
        // The stand-in string moves the width exactly as the decoder's late addition will.
        uint32_t dwSlot = dwHash(dwChaine, kCaractereFin);
        bool bLibre = pwHash[dwSlot] == 0;
        for (uint32_t i = 0; i < kNbSondes && !bLibre; ++i) {
            dwSlot = dwSonde(dwSlot, i);
            bLibre = pwHash[dwSlot] == 0;
        }
        if (bLibre) {
            _bAjouteDico(dwChaine, kCaractereFin, dwSlot);
        } else if (m_dwProchain == m_dwLimite && m_dwLargeur < kLargeurMax) {
            ++m_dwLargeur;
            m_dwLimite <<= 1;
        }
    }
    if (!stEcrivain.bEcrit(kCodeFin, m_dwLargeur) || !stEcrivain.bVide()) return _dwCompresseCopie();
    const auto dwPacke = static_cast<uint32_t>(stEcrivain.pbyPos - pbyPacke);
    _EcritEntete(eCOMPRESSEUR_ZLW, dwPacke);
    return dwPacke + kdwTailleEntete;
}

uint32_t CZLWCompresseur::_dwDecompression() {
    if (m_dwTailleEntree >= 1 && m_pbyEntree[0] == eCOMPRESSEUR_COPIE) return _dwDecompresseCopie();
    const uint8_t* pbyPacke;
    uint32_t dwTaillePackee, dwTailleOriginale;
    if (!_bLitEntete(eCOMPRESSEUR_ZLW, &pbyPacke, &dwTaillePackee, &dwTailleOriginale)) return kdwEchec;
    if (!m_pstDecodage) m_pstDecodage.reset(new STEntreeDecodage[kNbCodes]);
    STEntreeDecodage* const pstTable = m_pstDecodage.get();
    const uint8_t* pbyLecture = pbyPacke;
    const uint8_t* const pbyFinLecture = pbyPacke + dwTaillePackee;
    uint8_t* const pbySortie = m_pbySortie;
    uint32_t dwEcrits = 0;

    uint32_t dwAccu = 0, dwNbBits = 0;
    uint32_t dwLargeur = kLargeurMin, dwLimite = kLimiteInitiale, dwProchain = kPremierLibre;
    bool bPrecedent = false;  // no string yet since the start or a reset
    uint32_t dwPositionPrecedent = 0, dwLongueurPrecedent = 0;
    while (dwEcrits < dwTailleOriginale) {
        while (dwNbBits < 24 && pbyLecture < pbyFinLecture) {
            dwAccu |= static_cast<uint32_t>(*pbyLecture++) << dwNbBits;
            dwNbBits += 8;
        }
        // Input spent: what is left is the padding of the last byte, read as the end.
        if (dwNbBits < dwLargeur) break;
        const uint32_t dwCode = dwAccu & ((1u << dwLargeur) - 1);
        dwAccu >>= dwLargeur;
        dwNbBits -= dwLargeur;
        if (dwCode == kCodeFin) break;
        if (dwCode == kCodeReset) {
            dwLargeur = kLargeurMin;
            dwLimite = kLimiteInitiale;
            dwProchain = kPremierLibre;
            bPrecedent = false;
            continue;
        }
        uint32_t dwLongueur;
        if (dwCode < kCodeFin) {
            dwLongueur = 1;
            pbySortie[dwEcrits] = static_cast<uint8_t>(dwCode - 1);
        } else if (dwCode < dwProchain) {
            dwLongueur = pstTable[dwCode].dwLongueur;
            if (dwLongueur > dwTailleOriginale - dwEcrits) return kdwEchec;
            std::memcpy(pbySortie + dwEcrits, pbySortie + pstTable[dwCode].dwPosition, dwLongueur);
        } else if (dwCode == dwProchain && bPrecedent && dwProchain < kNbCodes) {
            // The string being defined: the previous one, which ends where this one starts, and its
            // own first character.
            dwLongueur = dwLongueurPrecedent + 1;
            if (dwLongueur > dwTailleOriginale - dwEcrits) return kdwEchec;
            std::memcpy(pbySortie + dwEcrits, pbySortie + dwPositionPrecedent, dwLongueurPrecedent);
            pbySortie[dwEcrits + dwLongueurPrecedent] = pbySortie[dwPositionPrecedent];
        } else {
            return kdwEchec;  // past the table, or a string before any string
        }
        if (bPrecedent && dwProchain < kNbCodes) {
            // The previous string and the first character of this one, which follows it.
            pstTable[dwProchain] = {dwPositionPrecedent, dwLongueurPrecedent + 1};
            ++dwProchain;
            if (dwLargeur < kLargeurMax && dwProchain >= dwLimite) {
                ++dwLargeur;
                dwLimite <<= 1;
            }
        }
        bPrecedent = true;
        dwPositionPrecedent = dwEcrits;
        dwLongueurPrecedent = dwLongueur;
        dwEcrits += dwLongueur;
    }
    return dwEcrits == dwTailleOriginale ? dwEcrits : kdwEchec;
}
