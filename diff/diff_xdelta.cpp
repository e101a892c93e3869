// CDiffXDelta: the block matching that computes a difference, its application, and the cut of an
// element file along its versions and parts.
#include <algorithm>
#include <cstring>
#include <memory>

#include "compress/block_compressors.h"
#include "crypt/checksums.h"
#include "diff/diff.h"
#include "diff/internal/sum_table.h"
#include "persist/elt_file.h"

namespace {

constexpr uint32_t kdwBaseAdler = 65521;

uint32_t dwCrc(const uint8_t* pby, size_t n) noexcept {
    return CCrc2::nCalculeCRC32(pby, n, 0, CCrc2::kdwPolynomeIEEE);
}

// The room a coded range of nClair clear bytes may take: the plain head, then at most twice the
// rest (the worst of the block coders) and a header.
uint64_t qwTailleCodeeMax(uint64_t qwClair, uint32_t dwPremierOctetCode) noexcept {
    return qwClair <= dwPremierOctetCode ? qwClair : dwPremierOctetCode + 2 * (qwClair - dwPremierOctetCode) + 16;
}

// The most clear bytes a coded range of qwCode bytes can stand for: each code takes at least 9
// bits and the n-th code of a dictionary stands for at most n bytes. A section that claims to
// rebuild more is damage, refused before its bytes are gathered.
uint64_t qwTailleClaireMax(uint64_t qwCode, uint32_t dwPremierOctetCode) noexcept {
    if (qwCode <= dwPremierOctetCode) return qwCode;
    const uint64_t qwCodes = (qwCode - dwPremierOctetCode) * 8 / 9 + 1;
    return dwPremierOctetCode + (qwCodes > (1u << 20) ? uint64_t{1} << 40 : qwCodes * (qwCodes + 1) / 2);
}

}  // namespace

uint32_t dwAdlerGlisse(uint32_t dwSomme, uint32_t dwLongueur, uint8_t bySortant, uint8_t byEntrant) noexcept {
    // a' = a - out + in; b' = b - n * out + a' (every term reduced modulo the base).
    const uint32_t a = dwSomme & 0xFFFF;
    const uint32_t b = dwSomme >> 16;
    const uint32_t aNouveau = (a + kdwBaseAdler - bySortant + byEntrant) % kdwBaseAdler;
    const uint64_t qwRetrait = (uint64_t{dwLongueur % kdwBaseAdler} * bySortant) % kdwBaseAdler;
    const uint32_t bNouveau = static_cast<uint32_t>((b + kdwBaseAdler - qwRetrait + aNouveau) % kdwBaseAdler);
    return bNouveau << 16 | aNouveau;
}

int CDiffXDelta::s_nNumeroMessage(EErrorType eErreur) noexcept {
    switch (eErreur) {
    case eERREUR_MALFORME: return 81651;
    case eERREUR_CRC_SOURCE: return 81652;
    case eERREUR_CRC_CIBLE: return 81653;
    case eERREUR_LIMITE: return 81654;
    case eERREUR_SOURCE_VIDE: return 81655;
    case eERREUR_IDENTIQUES: return 81656;
    default: return 81650;
    }
}

// ================================================================ matching

// The source's whole blocks go into the table by their sum, the last block of a sum winning.
// The target is scanned byte by byte: where the b bytes at p have the sum of a block, the match
// runs forward from that block while bytes agree, and counts when it reaches b bytes; otherwise
// the byte joins the pending insert. The sum of the window is rolled while p moves by one, which
// gives the very sums a fresh computation would.
void CDiffXDelta::s_CalculeDelta(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyCible, size_t nCible,
                                 CDiffBufferSection* pclSection) {
    const size_t b = CDiffBuffer::kdwTailleBloc;
    const size_t nBlocs = nSource / b;
    ovdiff::CTableSommes clTable(nBlocs);
    for (size_t i = 0; i < nBlocs; ++i) clTable.Pose(nAdler32(0, pbySource + i * b, b), static_cast<uint32_t>(i * b));

    size_t p = 0;
    size_t nDebutAttente = 0;  // the pending insert is cible[nDebutAttente, p)
    bool bSommeValide = false;
    uint32_t dwSomme = 0;
    while (p < nCible) {
        if (p + b < nCible && !clTable.bVide()) {
            dwSomme = bSommeValide ? dwAdlerGlisse(dwSomme, b, pbyCible[p - 1], pbyCible[p - 1 + b])
                                   : nAdler32(0, pbyCible + p, b);
            bSommeValide = true;
            uint32_t dwOffset = 0;
            if (clTable.bCherche(dwSomme, &dwOffset)) {
                const size_t nMax = std::min(nSource - dwOffset, nCible - p);
                size_t nLongueur = 0;
                while (nLongueur < nMax && pbySource[dwOffset + nLongueur] == pbyCible[p + nLongueur]) ++nLongueur;
                if (nLongueur >= b) {
                    pclSection->AddInsertInstruction(pbyCible + nDebutAttente, p - nDebutAttente);
                    pclSection->AddCopyInstruction(dwOffset, static_cast<uint32_t>(dwOffset + nLongueur));
                    p += nLongueur;
                    nDebutAttente = p;
                    bSommeValide = false;
                    continue;
                }
            }
        }
        ++p;
    }
    pclSection->AddInsertInstruction(pbyCible + nDebutAttente, p - nDebutAttente);
}

bool CDiffXDelta::__bInitDiffBuffers(const CDiffBufferSection& clSection, bool bAvecCible,
                                     std::vector<uint8_t>* ptabSource, std::vector<uint8_t>* ptabCible,
                                     const uint8_t** ppbySource, size_t* pnSource, const uint8_t** ppbyCible,
                                     size_t* pnCible) noexcept {
    if (clSection.m_dwFinSource > m_nSource || clSection.m_dwDebutSource > clSection.m_dwFinSource) return false;
    if (bAvecCible && (clSection.m_dwFinCible > m_nCible || clSection.m_dwDebutCible > clSection.m_dwFinCible))
        return false;
    *ppbySource = m_pbySource + clSection.m_dwDebutSource;
    *pnSource = clSection.m_dwFinSource - clSection.m_dwDebutSource;
    if (bAvecCible) {
        *ppbyCible = m_pbyCible + clSection.m_dwDebutCible;
        *pnCible = clSection.m_dwFinCible - clSection.m_dwDebutCible;
    }
    const int nMethode = __s_eConvertToPackMethod(clSection.m_dwEncodage);
    if (nMethode == 0) return true;
    try {
        // A coded range is compared, and rebuilt, in its clear form.
        ptabSource->assign(*ppbySource, *ppbySource + *pnSource);
        if (clSection.m_dwPremierOctetCode > ptabSource->size() ||
            !ovcompresse::bDepackeRegion(ptabSource, clSection.m_dwPremierOctetCode, nMethode))
            return false;
        *ppbySource = ptabSource->data();
        *pnSource = ptabSource->size();
        if (bAvecCible) {
            ptabCible->assign(*ppbyCible, *ppbyCible + *pnCible);
            if (clSection.m_dwPremierOctetCode > ptabCible->size() ||
                !ovcompresse::bDepackeRegion(ptabCible, clSection.m_dwPremierOctetCode, nMethode))
                return false;
            *ppbyCible = ptabCible->data();
            *pnCible = ptabCible->size();
        }
        return true;
    } catch (...) {
        return false;
    }
}

bool CDiffXDelta::__bComputeDelta(CDiffBufferSection* pclSection) noexcept {
    std::vector<uint8_t> tabSource;
    std::vector<uint8_t> tabCible;
    const uint8_t* pbySource = nullptr;
    const uint8_t* pbyCible = nullptr;
    size_t nSource = 0;
    size_t nCible = 0;
    if (!__bInitDiffBuffers(*pclSection, true, &tabSource, &tabCible, &pbySource, &nSource, &pbyCible, &nCible))
        return false;
    try {
        s_CalculeDelta(pbySource, nSource, pbyCible, nCible, pclSection);
        return true;
    } catch (...) {
        return false;
    }
}

// ================================================================ element files

namespace {

class CCoupeElt {
public:
    CCoupeElt(CDiffBuffer* pclDiff, CEltProjetFile* pclSource, CEltProjetFile* pclCible) noexcept
        : m_pclDiff(pclDiff), m_pclSource(pclSource), m_pclCible(pclCible) {}

    bool bAjoute(int64_t oDebutSource, int64_t oFinSource, int64_t oDebutCible, int64_t oFinCible,
                 uint32_t dwEncodage = 0, uint32_t dwPremierOctetCode = 0) noexcept {
        if (oDebutSource < 0 || oDebutSource > oFinSource || oFinSource > UINT32_MAX || oDebutCible < 0 ||
            oDebutCible > oFinCible || oFinCible > UINT32_MAX)
            return false;
        auto* pcl = new (std::nothrow) CDiffBufferSection(static_cast<uint32_t>(oDebutSource),
                                                          static_cast<uint32_t>(oFinSource), static_cast<uint32_t>(oDebutCible),
                                                          static_cast<uint32_t>(oFinCible), dwEncodage, dwPremierOctetCode);
        if (m_pclDiff->nAddSection(pcl) < 0) return false;
        m_oFinSource = oFinSource;
        m_oFinCible = oFinCible;
        return true;
    }

    bool bAjouteVersion(int nVersion) noexcept {
        if (!m_pclSource->bOuvreVersion(nVersion) || !m_pclCible->bOuvreVersion(nVersion)) return false;
        const int64_t oSource = m_pclSource->oGetOffsetVersion(nVersion);
        const int64_t oCible = m_pclCible->oGetOffsetVersion(nVersion);
        if (oSource >= m_pclSource->dwGetTailleEntete() && oCible >= m_pclCible->dwGetTailleEntete() &&
            !bAjoute(oSource, oSource + 8 + m_pclSource->dwTailleEnteteVersion(), oCible,
                     oCible + 8 + m_pclCible->dwTailleEnteteVersion()))
            return false;
        const int nNbPartie = m_pclSource->nNbPartie();
        if (nNbPartie != m_pclCible->nNbPartie()) return false;
        for (int i = 0; i < nNbPartie; ++i) {
            if (m_pclSource->byGetTypePartie(i) != m_pclCible->byGetTypePartie(i) ||
                m_pclSource->nGetInfoEncodagePartie(i) != m_pclCible->nGetInfoEncodagePartie(i) ||
                m_pclSource->nGetOffsetEncodagePartie(i) != m_pclCible->nGetOffsetEncodagePartie(i))
                return false;
            const auto dwEncodage = static_cast<uint32_t>(m_pclSource->nGetInfoEncodagePartie(i));
            const auto dwPremier = static_cast<uint32_t>(m_pclSource->nGetOffsetEncodagePartie(i));
            const int64_t oPartieSource = m_pclSource->oGetOffsetPartie(i);
            const int64_t oPartieCible = m_pclCible->oGetOffsetPartie(i);
            const bool bMultiSource = (m_pclSource->byGetOptionPartie(i) & CEltProjetFile::kbyOptionMultiLangue) != 0;
            const bool bMultiCible = (m_pclCible->byGetOptionPartie(i) & CEltProjetFile::kbyOptionMultiLangue) != 0;
            if (bMultiSource != bMultiCible) return false;
            if (bMultiSource) {
                const int nNbLangue = m_pclSource->nNbLanguePartie(i);
                if (nNbLangue < 0 || nNbLangue != m_pclCible->nNbLanguePartie(i)) return false;
                const int64_t oCommunSource = m_pclSource->oGetTailleCommunePartie(i);
                const int64_t oCommunCible = m_pclCible->oGetTailleCommunePartie(i);
                if (!bAjoute(oPartieSource, oPartieSource + oCommunSource, oPartieCible, oPartieCible + oCommunCible))
                    return false;
                for (int j = 0; j < nNbLangue; ++j) {
                    STLangueElt stSource;
                    STLangueElt stCible;
                    if (!m_pclSource->bGetInfoLanguePartie(i, j, &stSource) ||
                        !m_pclCible->bGetInfoLanguePartie(i, j, &stCible) ||
                        !bAjoute(stSource.oDebut, stSource.oDebut + stSource.dwTaille, stCible.oDebut,
                                 stCible.oDebut + stCible.dwTaille, dwEncodage, dwPremier))
                        return false;
                }
                continue;
            }
            const uint32_t dwTailleSource = m_pclSource->dwGetTaillePartie(i);
            const uint32_t dwTailleCible = m_pclCible->dwGetTaillePartie(i);
            if (dwTailleSource == 0 && dwTailleCible == 0) continue;
            if (!bAjoute(oPartieSource, oPartieSource + dwTailleSource, oPartieCible, oPartieCible + dwTailleCible,
                         dwEncodage, dwPremier))
                return false;
        }
        const int64_t oFinSource = m_pclSource->oGetFinVersion();
        const int64_t oFinCible = m_pclCible->oGetFinVersion();
        if (oFinSource > m_oFinSource || oFinCible > m_oFinCible)
            return bAjoute(m_oFinSource, oFinSource, m_oFinCible, oFinCible);
        return true;
    }

private:
    CDiffBuffer* m_pclDiff;
    CEltProjetFile* m_pclSource;
    CEltProjetFile* m_pclCible;
    int64_t m_oFinSource = 0;
    int64_t m_oFinCible = 0;
};

}  // namespace

// Sections in the order of the files: the global header, then each version block (version 1,
// the first, up to the last, and version 0, the newest, at the end), cut into its header, its
// parts (a multi-language part into its common zone and one range per language), and what
// follows the parts up to the next block.
bool CDiffXDelta::__bComputeSectionsEltProjectFile(CDiffBuffer* pclDiff) noexcept {
    CEltProjetFile clSource;
    CEltProjetFile clCible;
    if (!clSource.bOuvreMemoire(m_pbySource, m_nSource) || !clCible.bOuvreMemoire(m_pbyCible, m_nCible) ||
        clSource.nNbVersion() != clCible.nNbVersion())
        return false;
    CCoupeElt clCoupe(pclDiff, &clSource, &clCible);
    if (!clCoupe.bAjoute(0, clSource.dwGetTailleEntete(), 0, clCible.dwGetTailleEntete())) return false;
    for (int nVersion = 1; nVersion < clSource.nNbVersion(); ++nVersion)
        if (!clCoupe.bAjouteVersion(nVersion)) return false;
    return clCoupe.bAjouteVersion(0);
}

bool CDiffXDelta::__ComputeSections(CDiffBuffer* pclDiff, bool bDecomposition) noexcept {
    if (bDecomposition) {
        if (__bComputeSectionsEltProjectFile(pclDiff)) {
            bool bTout = true;
            for (int i = 0; i < pclDiff->nGetNbSections() && bTout; ++i) bTout = __bComputeDelta(pclDiff->pclGetSectionAt(i));
            if (bTout) return true;
        }
        pclDiff->ClearSections();
    }
    auto* pcl = new (std::nothrow) CDiffBufferSection(0, static_cast<uint32_t>(m_nSource), 0, static_cast<uint32_t>(m_nCible));
    return pclDiff->nAddSection(pcl) >= 0 && __bComputeDelta(pcl);
}

// ================================================================ computing

bool CDiffXDelta::bComputeDiff(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyCible, size_t nCible,
                               std::vector<uint8_t>* ptabResultat, bool bDecomposition) noexcept {
    m_eErreur = eERREUR_AUCUNE;
    if (pbySource == nullptr || pbyCible == nullptr || ptabResultat == nullptr || nCible == 0)
        return _bEchec(eERREUR_BUFFER);
    if (nSource == 0) return _bEchec(eERREUR_SOURCE_VIDE);
    if (nSource > kdwTailleCibleMax || nCible > kdwTailleCibleMax) return _bEchec(eERREUR_BUFFER);
    m_pbySource = pbySource;
    m_nSource = nSource;
    m_pbyCible = pbyCible;
    m_nCible = nCible;
    CDiffBuffer clDiff;
    clDiff.m_dwCrcSource = dwCrc(pbySource, nSource);
    clDiff.m_dwCrcCible = dwCrc(pbyCible, nCible);
    // Equal sums are only a hint: two buffers are identical when their bytes are.
    if (clDiff.m_dwCrcSource == clDiff.m_dwCrcCible && nSource == nCible && std::memcmp(pbySource, pbyCible, nSource) == 0)
        return _bEchec(eERREUR_IDENTIQUES);
    clDiff.m_dwTailleCible = static_cast<uint32_t>(nCible);
    if (!__ComputeSections(&clDiff, bDecomposition) || !clDiff.Serialize(ptabResultat)) return _bEchec(eERREUR_BUFFER);
    // A cut along the parts re-codes coded parts on the way back; it stands only if that gives
    // the target again, otherwise the difference is made over the whole buffers.
    if (clDiff.nGetNbSections() > 1) {
        CDiffXDelta clVerification;
        if (!clVerification.__bValidateDiff(pbySource, nSource, ptabResultat->data(), ptabResultat->size(), pbyCible,
                                            nCible)) {
            clDiff.ClearSections();
            if (!__ComputeSections(&clDiff, false) || !clDiff.Serialize(ptabResultat)) return _bEchec(eERREUR_BUFFER);
        }
    }
    if (m_nLimite > 0) {
        const auto nPourcent = static_cast<int64_t>(static_cast<double>(ptabResultat->size()) / static_cast<double>(nSource) * 100.0);
        if (nPourcent > m_nLimite) {
            ptabResultat->clear();
            return _bEchec(eERREUR_LIMITE);
        }
    }
    return true;
}

// ================================================================ applying

bool CDiffXDelta::bApplyDiff(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyDiff, size_t nDiff,
                             std::vector<uint8_t>* ptabResultat) noexcept {
    m_eErreur = eERREUR_AUCUNE;
    if (pbySource == nullptr || pbyDiff == nullptr || ptabResultat == nullptr || nSource == 0 || nDiff == 0)
        return _bEchec(eERREUR_BUFFER);
    CDiffBuffer clDiff;
    if (!clDiff.bDeserialize(pbyDiff, nDiff) || clDiff.nGetNbSections() == 0) return _bEchec(eERREUR_MALFORME);
    if (dwCrc(pbySource, nSource) != clDiff.m_dwCrcSource) return _bEchec(eERREUR_CRC_SOURCE);
    const uint32_t dwTailleCible = clDiff.m_dwTailleCible;
    if (dwTailleCible > kdwTailleCibleMax) return _bEchec(eERREUR_MALFORME);
    m_pbySource = pbySource;
    m_nSource = nSource;

    // Before anything is allocated: the sections' target ranges tile the target exactly, and each
    // section's instructions produce what its range claims, so that the target size is backed by
    // instructions actually present and no write can leave its range.
    try {
        std::vector<std::pair<uint32_t, uint32_t>> tabPlages;
        for (int i = 0; i < clDiff.nGetNbSections(); ++i) {
            const CDiffBufferSection& cl = *clDiff.pclGetSectionAt(i);
            if (cl.m_dwFinSource > nSource || cl.m_dwFinCible > dwTailleCible) return _bEchec(eERREUR_MALFORME);
            uint64_t qwProduit = 0;
            for (const CDiffInstruction& clInstruction : cl.tabGetInstructions())
                qwProduit += clInstruction.m_dwFin - clInstruction.m_dwDebut;
            const uint64_t qwPlage = cl.m_dwFinCible - cl.m_dwDebutCible;
            if (__s_eConvertToPackMethod(cl.m_dwEncodage) == 0) {
                if (qwProduit != qwPlage) return _bEchec(eERREUR_MALFORME);
                for (const CDiffInstruction& clInstruction : cl.tabGetInstructions())
                    if (clInstruction.m_eType == eDIFF_COPIE && clInstruction.m_dwFin > cl.m_dwFinSource - cl.m_dwDebutSource)
                        return _bEchec(eERREUR_MALFORME);
            } else if (qwPlage > qwTailleCodeeMax(qwProduit, cl.m_dwPremierOctetCode) ||
                       qwProduit > qwTailleClaireMax(qwPlage, cl.m_dwPremierOctetCode) || qwProduit > kdwTailleCibleMax) {
                return _bEchec(eERREUR_MALFORME);
            }
            tabPlages.emplace_back(cl.m_dwDebutCible, cl.m_dwFinCible);
        }
        std::sort(tabPlages.begin(), tabPlages.end());
        uint32_t dwFin = 0;
        for (const auto& [dwDebut, dwFinPlage] : tabPlages) {
            if (dwDebut != dwFin) return _bEchec(eERREUR_MALFORME);
            dwFin = dwFinPlage;
        }
        if (dwFin != dwTailleCible) return _bEchec(eERREUR_MALFORME);

        ptabResultat->assign(dwTailleCible, 0);
        std::vector<uint8_t> tabSource;
        std::vector<uint8_t> tabAssemble;
        for (int i = 0; i < clDiff.nGetNbSections(); ++i) {
            CDiffBufferSection& cl = *clDiff.pclGetSectionAt(i);
            const uint8_t* pbySourceSection = nullptr;
            size_t nSourceSection = 0;
            if (!__bInitDiffBuffers(cl, false, &tabSource, nullptr, &pbySourceSection, &nSourceSection, nullptr, nullptr))
                return _bEchec(eERREUR_MALFORME);
            const int nMethode = __s_eConvertToPackMethod(cl.m_dwEncodage);
            uint8_t* pbyEcriture = ptabResultat->data() + cl.m_dwDebutCible;
            if (nMethode != 0) {
                tabAssemble.clear();
                tabAssemble.reserve(cl.m_dwFinCible - cl.m_dwDebutCible);
            }
            CDiffInstruction clInstruction;
            const uint8_t* pbyDonnees = nullptr;
            uint32_t nLongueur = 0;
            for (bool bSuite = cl.bGetFirstInstruction(&clInstruction, &pbyDonnees, &nLongueur); bSuite;
                 bSuite = cl.bGetNextInstruction(&clInstruction, &pbyDonnees, &nLongueur)) {
                const uint8_t* pbyDe = pbyDonnees;
                size_t n = nLongueur;
                if (clInstruction.m_eType == eDIFF_COPIE) {
                    if (clInstruction.m_dwFin > nSourceSection) return _bEchec(eERREUR_MALFORME);
                    pbyDe = pbySourceSection + clInstruction.m_dwDebut;
                    n = clInstruction.m_dwFin - clInstruction.m_dwDebut;
                }
                if (n == 0) continue;
                if (nMethode == 0) {
                    std::memcpy(pbyEcriture, pbyDe, n);
                    pbyEcriture += n;
                } else {
                    tabAssemble.insert(tabAssemble.end(), pbyDe, pbyDe + n);
                }
            }
            if (nMethode != 0) {
                if (cl.m_dwPremierOctetCode > tabAssemble.size() ||
                    !ovcompresse::bPackeRegion(&tabAssemble, cl.m_dwPremierOctetCode, nMethode))
                    return _bEchec(eERREUR_MALFORME);
                // Coded again, the range must come out as long as it was in the target.
                if (tabAssemble.size() != cl.m_dwFinCible - cl.m_dwDebutCible) return _bEchec(eERREUR_CRC_CIBLE);
                if (!tabAssemble.empty()) std::memcpy(pbyEcriture, tabAssemble.data(), tabAssemble.size());
            }
        }
    } catch (...) {
        ptabResultat->clear();
        return _bEchec(eERREUR_BUFFER);
    }
    if (dwCrc(ptabResultat->data(), ptabResultat->size()) != clDiff.m_dwCrcCible) {
        ptabResultat->clear();
        return _bEchec(eERREUR_CRC_CIBLE);
    }
    return true;
}

bool CDiffXDelta::__bValidateDiff(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyDiff, size_t nDiff,
                                  const uint8_t* pbyCible, size_t nCible) noexcept {
    std::vector<uint8_t> tab;
    if (!bApplyDiff(pbySource, nSource, pbyDiff, nDiff, &tab)) return false;
    return tab.size() == nCible && (nCible == 0 || std::memcmp(tab.data(), pbyCible, nCible) == 0);
}
