// The stored form of a difference: instructions, sections and the whole difference, written and
// read back with every count and size checked against the bytes that hold it.
#include "diff/diff.h"

#include <new>

#include "compress/block_compressors.h"

namespace {

void Ecrit32(std::vector<uint8_t>* ptab, uint32_t dw) {
    const uint8_t aby[4] = {static_cast<uint8_t>(dw), static_cast<uint8_t>(dw >> 8), static_cast<uint8_t>(dw >> 16),
                            static_cast<uint8_t>(dw >> 24)};
    ptab->insert(ptab->end(), aby, aby + 4);
}

}  // namespace

// ================================================================ CLecteurDiff

bool CLecteurDiff::bLit32(uint32_t* pdw) noexcept {
    const uint8_t* pby = pbyLit(4);
    if (pby == nullptr) return false;
    *pdw = uint32_t{pby[0]} | uint32_t{pby[1]} << 8 | uint32_t{pby[2]} << 16 | uint32_t{pby[3]} << 24;
    return true;
}

const uint8_t* CLecteurDiff::pbyLit(size_t nTaille) noexcept {
    if (nTaille > m_nTaille - m_nPosition) return nullptr;
    const uint8_t* pby = m_pby + m_nPosition;
    m_nPosition += nTaille;
    return pby;
}

// ================================================================ CDiffInstruction

void CDiffInstruction::Serialize(std::vector<uint8_t>* ptab) const {
    Ecrit32(ptab, m_eType);
    Ecrit32(ptab, m_dwDebut);
    Ecrit32(ptab, m_dwFin);
}

bool CDiffInstruction::bDeserialize(CLecteurDiff* pclLecteur) noexcept {
    uint32_t dwType = 0;
    if (!pclLecteur->bLit32(&dwType) || !pclLecteur->bLit32(&m_dwDebut) || !pclLecteur->bLit32(&m_dwFin)) return false;
    if (dwType != eDIFF_COPIE && dwType != eDIFF_INSERTION) return false;
    m_eType = static_cast<EDiffInstructionType>(dwType);
    return m_dwDebut <= m_dwFin;
}

// ================================================================ CDiffBufferSection

void CDiffBufferSection::AddCopyInstruction(uint32_t dwDebut, uint32_t dwFin) {
    m_tabInstructions.emplace_back(eDIFF_COPIE, dwDebut, dwFin);
}

void CDiffBufferSection::AddInsertInstruction(const uint8_t* pby, size_t nLongueur) {
    if (nLongueur == 0) return;
    const auto dwDebut = static_cast<uint32_t>(m_tabDonnees.size());
    m_tabDonnees.insert(m_tabDonnees.end(), pby, pby + nLongueur);
    m_tabInstructions.emplace_back(eDIFF_INSERTION, dwDebut, static_cast<uint32_t>(dwDebut + nLongueur));
}

bool CDiffBufferSection::bGetFirstInstruction(CDiffInstruction* pclInstruction, const uint8_t** ppbyDonnees,
                                              uint32_t* pnLongueur) noexcept {
    m_nCurseur = 0;
    return bGetNextInstruction(pclInstruction, ppbyDonnees, pnLongueur);
}

bool CDiffBufferSection::bGetNextInstruction(CDiffInstruction* pclInstruction, const uint8_t** ppbyDonnees,
                                             uint32_t* pnLongueur) noexcept {
    if (m_nCurseur >= m_tabInstructions.size()) return false;
    const CDiffInstruction& cl = m_tabInstructions[m_nCurseur++];
    if (pclInstruction != nullptr) *pclInstruction = cl;
    const bool bInsertion = cl.m_eType == eDIFF_INSERTION && cl.m_dwFin <= m_tabDonnees.size();
    if (ppbyDonnees != nullptr) *ppbyDonnees = bInsertion ? m_tabDonnees.data() + cl.m_dwDebut : nullptr;
    if (pnLongueur != nullptr) *pnLongueur = bInsertion ? cl.m_dwFin - cl.m_dwDebut : 0;
    return true;
}

void CDiffBufferSection::Serialize(std::vector<uint8_t>* ptab) const {
    const uint64_t qwTotal = 40 + uint64_t{CDiffInstruction::kdwTaille} * m_tabInstructions.size() + m_tabDonnees.size();
    Ecrit32(ptab, static_cast<uint32_t>(qwTotal));
    Ecrit32(ptab, kdwTailleEntete);
    Ecrit32(ptab, m_dwGenre);
    Ecrit32(ptab, static_cast<uint32_t>(m_tabInstructions.size()));
    Ecrit32(ptab, m_dwEncodage);
    Ecrit32(ptab, m_dwPremierOctetCode);
    Ecrit32(ptab, m_dwDebutSource);
    Ecrit32(ptab, m_dwFinSource);
    Ecrit32(ptab, m_dwDebutCible);
    Ecrit32(ptab, m_dwFinCible);
    Ecrit32(ptab, static_cast<uint32_t>(m_tabDonnees.size()));
    for (const CDiffInstruction& cl : m_tabInstructions) cl.Serialize(ptab);
    ptab->insert(ptab->end(), m_tabDonnees.begin(), m_tabDonnees.end());
}

// The total size is not trusted: each field is read for itself. A header shorter than the 36
// bytes this reader knows is damage; a longer one comes from a later format and its tail is
// skipped.
bool CDiffBufferSection::bDeserialize(CLecteurDiff* pclLecteur) noexcept {
    try {
        uint32_t dwTotal = 0;
        uint32_t dwTailleEntete = 0;
        if (!pclLecteur->bLit32(&dwTotal) || !pclLecteur->bLit32(&dwTailleEntete) || dwTailleEntete < kdwTailleEntete)
            return false;
        uint32_t dwNbInstruction = 0;
        uint32_t dwTailleDonnees = 0;
        if (!pclLecteur->bLit32(&m_dwGenre) || !pclLecteur->bLit32(&dwNbInstruction) ||
            !pclLecteur->bLit32(&m_dwEncodage) || !pclLecteur->bLit32(&m_dwPremierOctetCode) ||
            !pclLecteur->bLit32(&m_dwDebutSource) || !pclLecteur->bLit32(&m_dwFinSource) ||
            !pclLecteur->bLit32(&m_dwDebutCible) || !pclLecteur->bLit32(&m_dwFinCible) ||
            !pclLecteur->bLit32(&dwTailleDonnees) || !pclLecteur->bSaute(dwTailleEntete - kdwTailleEntete))
            return false;
        if (m_dwDebutSource > m_dwFinSource || m_dwDebutCible > m_dwFinCible) return false;
        // The count must fit in what is left before anything is reserved for it.
        if (dwNbInstruction > pclLecteur->nGetReste() / CDiffInstruction::kdwTaille) return false;
        m_tabInstructions.clear();
        m_tabInstructions.reserve(dwNbInstruction);
        for (uint32_t i = 0; i < dwNbInstruction; ++i) {
            CDiffInstruction cl;
            if (!cl.bDeserialize(pclLecteur)) return false;
            if (cl.m_eType == eDIFF_INSERTION && cl.m_dwFin > dwTailleDonnees) return false;
            m_tabInstructions.push_back(cl);
        }
        const uint8_t* pbyDonnees = pclLecteur->pbyLit(dwTailleDonnees);
        if (pbyDonnees == nullptr && dwTailleDonnees > 0) return false;
        m_tabDonnees.assign(pbyDonnees, pbyDonnees + dwTailleDonnees);
        m_nCurseur = 0;
        return true;
    } catch (...) {
        return false;
    }
}

// ================================================================ CDiffBuffer

int CDiffBuffer::nAddSection(CDiffBufferSection* pclSection) noexcept {
    if (pclSection == nullptr) return -1;
    if (!m_tabSections.Ajoute(pclSection)) {
        delete pclSection;
        return -1;
    }
    return m_tabSections.nGetNbElement() - 1;
}

void CDiffBuffer::ClearSections() noexcept {
    for (int i = 0; i < m_tabSections.nGetNbElement(); ++i) delete m_tabSections[i];
    m_tabSections.SupprimeToutEtLibere();
}

bool CDiffBuffer::Serialize(std::vector<uint8_t>* ptab) const noexcept {
    if (ptab == nullptr) return false;
    try {
        std::vector<uint8_t> tabCorps;
        for (int i = 0; i < nGetNbSections(); ++i) m_tabSections[i]->Serialize(&tabCorps);
        if (!ovcompresse::bPackeRegion(&tabCorps, 0, static_cast<int>(m_dwMethodePack))) return false;
        ptab->clear();
        ptab->reserve(kTailleEnteteComplete + tabCorps.size());
        Ecrit32(ptab, mg_dwDiffFileSignature);
        Ecrit32(ptab, kdwTailleEntete);
        Ecrit32(ptab, m_dwVersion);
        Ecrit32(ptab, m_dwMethodePack);
        Ecrit32(ptab, m_dwCrcSource);
        Ecrit32(ptab, m_dwCrcCible);
        Ecrit32(ptab, m_dwTailleBloc);
        Ecrit32(ptab, static_cast<uint32_t>(nGetNbSections()));
        Ecrit32(ptab, m_dwTailleCible);
        ptab->insert(ptab->end(), tabCorps.begin(), tabCorps.end());
        return true;
    } catch (...) {
        return false;
    }
}

bool CDiffBuffer::bDeserialize(const uint8_t* pby, size_t nTaille) noexcept {
    ClearSections();
    if (pby == nullptr) return false;
    CLecteurDiff clLecteur(pby, nTaille);
    uint32_t dwSignature = 0;
    uint32_t dwTailleEntete = 0;
    if (!clLecteur.bLit32(&dwSignature) || !clLecteur.bLit32(&dwTailleEntete)) return false;
    if (dwSignature != mg_dwDiffFileSignature || dwTailleEntete < kdwTailleEntete) return false;
    uint32_t dwNbSections = 0;
    if (!clLecteur.bLit32(&m_dwVersion) || !clLecteur.bLit32(&m_dwMethodePack) || !clLecteur.bLit32(&m_dwCrcSource) ||
        !clLecteur.bLit32(&m_dwCrcCible) || !clLecteur.bLit32(&m_dwTailleBloc) || !clLecteur.bLit32(&dwNbSections) ||
        !clLecteur.bLit32(&m_dwTailleCible) || !clLecteur.bSaute(dwTailleEntete - kdwTailleEntete))
        return false;
    if (m_dwVersion == 0 || m_dwMethodePack > 2) return false;
    try {
        const uint8_t* pbyCorps = clLecteur.pbyLit(clLecteur.nGetReste());
        std::vector<uint8_t> tabCorps(pbyCorps, pbyCorps + (pbyCorps != nullptr ? nTaille - (pbyCorps - pby) : 0));
        if (!ovcompresse::bDepackeRegion(&tabCorps, 0, static_cast<int>(m_dwMethodePack))) return false;
        CLecteurDiff clCorps(tabCorps.data(), tabCorps.size());
        if (dwNbSections > tabCorps.size() / CDiffBufferSection::kdwTailleMin) return false;
        for (uint32_t i = 0; i < dwNbSections; ++i) {
            auto* pclSection = new CDiffBufferSection();
            if (nAddSection(pclSection) < 0) return false;
            if (!pclSection->bDeserialize(&clCorps)) {
                ClearSections();
                return false;
            }
        }
        return true;
    } catch (...) {
        ClearSections();
        return false;
    }
}
