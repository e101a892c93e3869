// Files compacted by former versions: the LZW decoder over byte sources and sinks, and the file
// function that puts the decoded file in place.
#include "compress/old_compacted.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "compress/internal/compacted_common.h"
#include "compress/internal/compacted_lzw.h"

namespace ovcompacte::interne {

using ovlh5::EResultat;

bool bLitEnteteAncien(const uint8_t* pby, size_t nTaille, STEnteteAncien* pstEntete) noexcept {
    if (nTaille < kTailleEnteteAncien || std::memcmp(pby, kMagieAncienne, kTailleMagieAncienne) != 0) return false;
    auto nGrand = [](const uint8_t* p) {
        return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
    };
    pstEntete->nOriginale = nGrand(pby + 13);
    pstEntete->nCompactee = nGrand(pby + 17);
    return true;
}

namespace {

constexpr size_t kTailleEntree = 4096;
constexpr size_t kTailleSortie = 16384;
// A writer that drops its last partial byte leaves at most 13 bits of the last code unwritten:
// two bytes of zeros complete it. Past that, the stream is cut short.
constexpr int kRembourrageMax = 2;

struct STTables {
    uint16_t tabPrefixe[kNbCodes];
    uint8_t tabSuffixe[kNbCodes];
    uint8_t tabPile[kNbCodes + 1];
    uint8_t tabEntree[kTailleEntree];
    uint8_t tabSortie[kTailleSortie];
};

// Codes most significant bit first; the accumulator keeps its nBits valid bits at the top.
class CLecteurCodes {
public:
    CLecteurCodes(ovlh5::ISource* piSource, uint8_t* pbyTampon) noexcept : m_piSource(piSource), m_pby(pbyTampon) {}

    EResultat eLit(int nLargeur, int* pnCode) noexcept {
        while (m_nBits < nLargeur) {
            uint32_t nOctet = 0;
            if (m_nPos == m_nRempli && !m_bFin) {
                const long n = m_piSource->nLit(m_pby, kTailleEntree);
                if (n < 0) return EResultat::ECHEC_LECTURE;
                m_bFin = n == 0;
                m_nPos = 0;
                m_nRempli = static_cast<size_t>(n);
            }
            if (m_nPos < m_nRempli) {
                nOctet = m_pby[m_nPos++];
            } else if (++m_nRembourrage > kRembourrageMax) {
                return EResultat::CORROMPU;
            }
            m_nAccu |= nOctet << (24 - m_nBits);
            m_nBits += 8;
        }
        *pnCode = static_cast<int>(m_nAccu >> (32 - nLargeur));
        m_nAccu <<= nLargeur;
        m_nBits -= nLargeur;
        return EResultat::OK;
    }

private:
    ovlh5::ISource* m_piSource;
    uint8_t* m_pby;
    size_t m_nPos = 0;
    size_t m_nRempli = 0;
    bool m_bFin = false;
    int m_nRembourrage = 0;
    uint32_t m_nAccu = 0;
    int m_nBits = 0;
};

// Output block that stops exactly at the original size.
class CSortie {
public:
    CSortie(ovlh5::IPuits* piPuits, uint8_t* pby, uint64_t nOriginale) noexcept
        : m_piPuits(piPuits), m_pby(pby), m_nReste(nOriginale) {}
    bool bFini() const noexcept { return m_nReste == 0; }
    // False on a write failure.
    bool bAjoute(uint8_t by) noexcept {
        if (m_nReste == 0) return true;
        m_pby[m_n++] = by;
        --m_nReste;
        return m_n < kTailleSortie || bVide();
    }
    bool bVide() noexcept {
        const size_t n = m_n;
        m_n = 0;
        return n == 0 || m_piPuits->bEcrit(m_pby, n);
    }

private:
    ovlh5::IPuits* m_piPuits;
    uint8_t* m_pby;
    size_t m_n = 0;
    uint64_t m_nReste;
};

}  // namespace

EResultat eDecodeLzw(ovlh5::ISource* piSource, ovlh5::IPuits* piPuits, uint64_t nOriginale) noexcept {
    if (nOriginale == 0) return EResultat::OK;
    std::unique_ptr<STTables> pstTables(new (std::nothrow) STTables);
    if (!pstTables) return EResultat::MEMOIRE;
    STTables& st = *pstTables;
    CLecteurCodes clCodes(piSource, st.tabEntree);
    CSortie clSortie(piPuits, st.tabSortie, nOriginale);

    // Until the first reset the table has no free code: a stream must open with one.
    int nLargeur = kLargeurMin;
    int nSuivant = 0;
    int nLimite = 1 << kLargeurMin;
    int nPrecedent = -1;
    uint8_t byPremier = 0;
    while (!clSortie.bFini()) {
        int nCode = 0;
        EResultat e = clCodes.eLit(nLargeur, &nCode);
        if (e != EResultat::OK) return e;
        if (nCode == kCodeReinit) {
            nLargeur = kLargeurMin;
            nSuivant = kCodeReinit + 1;
            nLimite = 1 << kLargeurMin;
            e = clCodes.eLit(kLargeurMin, &nCode);
            if (e != EResultat::OK) return e;
            if (nCode > 255) return EResultat::CORROMPU;
            nPrecedent = nCode;
            byPremier = static_cast<uint8_t>(nCode);
            if (!clSortie.bAjoute(byPremier)) return EResultat::ECHEC_ECRITURE;
            continue;
        }
        if (nPrecedent < 0) return EResultat::CORROMPU;
        size_t nPile = 0;
        int nCourant = nCode;
        if (nCode >= nSuivant) {
            // The string being defined by this very step: the previous one plus its own first
            // byte. Only the next free code can be that; anything beyond was never defined.
            if (nCode != nSuivant || nSuivant >= kNbCodes) return EResultat::CORROMPU;
            st.tabPile[nPile++] = byPremier;
            nCourant = nPrecedent;
        }
        // Every entry's prefix is a smaller code, so the chain ends; the bound is a second guard.
        while (nCourant > 255) {
            if (nPile >= kNbCodes) return EResultat::CORROMPU;
            st.tabPile[nPile++] = st.tabSuffixe[nCourant];
            nCourant = st.tabPrefixe[nCourant];
        }
        byPremier = static_cast<uint8_t>(nCourant);
        if (!clSortie.bAjoute(byPremier)) return EResultat::ECHEC_ECRITURE;
        while (nPile > 0)
            if (!clSortie.bAjoute(st.tabPile[--nPile])) return EResultat::ECHEC_ECRITURE;
        if (nSuivant < kNbCodes) {
            st.tabPrefixe[nSuivant] = static_cast<uint16_t>(nPrecedent);
            st.tabSuffixe[nSuivant] = byPremier;
            ++nSuivant;
            if (nSuivant >= nLimite && nLargeur < kLargeurMax) {
                ++nLargeur;
                nLimite <<= 1;
            }
        }
        nPrecedent = nCode;
    }
    return clSortie.bVide() ? EResultat::OK : EResultat::ECHEC_ECRITURE;
}

int nLitEnteteAncienFichier(const char* pszNom, STEnteteAncien* pstEntete) noexcept {
    CDescripteur clFd(nOuvreLecture(pszNom, nullptr));
    if (!clFd.bOuvert()) return -1;
    uint8_t tab[kTailleEnteteAncien];
    const ssize_t n = nLitTout(clFd.n(), tab, sizeof tab);
    if (n < 0) return -1;
    return bLitEnteteAncien(tab, static_cast<size_t>(n), pstEntete) ? 0 : -2;
}

namespace {

// The name with its extension replaced by ".$$$"; a dot in a directory name is no extension.
std::string sNomTravail(const std::string& sNom) {
    const size_t nBarre = sNom.rfind('/');
    const size_t nDebutNom = nBarre == std::string::npos ? 0 : nBarre + 1;
    const size_t nPoint = sNom.rfind('.');
    const size_t nFin = nPoint != std::string::npos && nPoint >= nDebutNom ? nPoint : sNom.size();
    return sNom.substr(0, nFin) + ".$$$";
}

}  // namespace

int nDecompacteAncien(const char* pszSource, const char* pszDestination) noexcept {
    try {
        DebutOperation();
        struct stat stSource;
        CDescripteur clSource(nOuvreLecture(pszSource, &stSource));
        if (!clSource.bOuvert()) return CODE_SOURCE;
        uint8_t tabEntete[kTailleEnteteAncien];
        const ssize_t nLu = nLitTout(clSource.n(), tabEntete, sizeof tabEntete);
        if (nLu < 0) return CODE_SOURCE;
        STEnteteAncien stEntete;
        // Checked before any rename: a file of another kind keeps its name.
        if (!bLitEnteteAncien(tabEntete, static_cast<size_t>(nLu), &stEntete)) return CODE_PAS_COMPACTE;

        // Onto itself: the source steps aside under its ".$$$" name, which is read and then
        // deleted; on failure it takes its name back. An existing ".$$$" file is never replaced.
        const bool bSurPlace = pszDestination == nullptr || pszDestination[0] == 0;
        const std::string sDestination = bSurPlace ? pszSource : pszDestination;
        std::string sTravail;
        if (bSurPlace) {
            sTravail = sNomTravail(pszSource);
            if (renameat2(AT_FDCWD, pszSource, AT_FDCWD, sTravail.c_str(), RENAME_NOREPLACE) != 0) return CODE_SOURCE;
        }
        auto nEchec = [&](int nCode) {
            if (bSurPlace) std::rename(sTravail.c_str(), pszSource);
            return nCode;
        };

        if (stEntete.nOriginale > nEspaceLibre(sDestination)) return nEchec(CODE_DISQUE_PLEIN);
        CDestination clDestination;
        if (!clDestination.bPrepare(sDestination, stSource.st_mode & 07777))
            return nEchec(errno == ENOSPC || errno == EDQUOT ? CODE_DISQUE_PLEIN : CODE_DESTINATION);
        CSourceFichier clFlux(clSource.n());
        CPuitsFichier clPuits(clDestination.nFd());
        if (!clFlux.bAlloue() || !clPuits.bAlloue()) return nEchec(CODE_MEMOIRE);
        EResultat e = eDecodeLzw(&clFlux, &clPuits, stEntete.nOriginale);
        if (e == EResultat::OK && !clPuits.bVide()) e = EResultat::ECHEC_ECRITURE;
        switch (e) {
            case EResultat::OK:
                break;
            case EResultat::CORROMPU:
                return nEchec(CODE_CORROMPU);
            case EResultat::ECHEC_LECTURE:
                return nEchec(CODE_SOURCE);
            case EResultat::MEMOIRE:
                return nEchec(CODE_MEMOIRE);
            default:
                return nEchec(clPuits.bArrete() ? CODE_ARRETE : nCodeEcriture(clDestination.nFd(), clPuits.nErrno()));
        }
        if (!clDestination.bPlace(&stSource))
            return nEchec(errno == ENOSPC || errno == EDQUOT ? CODE_DISQUE_PLEIN : CODE_DESTINATION);
        if (bSurPlace) unlink(sTravail.c_str());
        return CODE_OK;
    } catch (...) {
        return CODE_MEMOIRE;
    }
}

}  // namespace ovcompacte::interne

namespace ovcompacte {

int nOldDecompacte(const char* pszSource, const char* pszDestination) noexcept {
    const int nCode = interne::nDecompacteAncien(pszSource, pszDestination);
    switch (nCode) {
        case interne::CODE_OK:
        case interne::CODE_SOURCE:
        case interne::CODE_DESTINATION:
        case interne::CODE_PAS_COMPACTE:
            return nCode;
        case interne::CODE_ARRETE:
            return OLD_ARRETE;
        case interne::CODE_MEMOIRE:
            return OLD_MEMOIRE;
        default:
            return OLD_DISQUE_PLEIN;
    }
}

int64_t lVerifieSiCompresseOld(const char* pszNom) noexcept {
    interne::STEnteteAncien stEntete;
    return interne::nLitEnteteAncienFichier(pszNom, &stEntete) == 0 ? stEntete.nCompactee : 0;
}

}  // namespace ovcompacte
