// The base of the block compressors (the one-block-at-a-time front, the stored form, the header),
// the text packer over a block, and the front that picks an algorithm by type.
#include "compress/block_compressors.h"

#include <climits>
#include <cstring>
#include <new>

#include "base/data_compressor.h"
#include "compress/internal/block_format.h"

// ================================================================ CCompresseurBase

CCompresseurBase::~CCompresseurBase() = default;

uint32_t CCompresseurBase::dwTailleDecompression(const uint8_t* pbyBloc, uint32_t dwTailleBloc) {
    if (pbyBloc == nullptr || dwTailleBloc == 0) return kdwEchec;
    switch (pbyBloc[0]) {
    case eCOMPRESSEUR_COPIE:
        return dwTailleBloc >= kdwTailleEnteteCopie ? ovbloc::dwLit32(pbyBloc + 1) : kdwEchec;
    case eCOMPRESSEUR_VIEUXBLOC:
    case eCOMPRESSEUR_ZLW:
        return dwTailleBloc >= kdwTailleEntete ? ovbloc::dwLit32(pbyBloc + 5) : kdwEchec;
    default:
        return kdwEchec;
    }
}

uint32_t CCompresseurBase::vdwTailleEntree(const uint8_t* pbyBloc, uint32_t dwTailleBloc) {
    if (pbyBloc == nullptr || dwTailleBloc == 0) return kdwEchec;
    uint64_t qwTaille;
    switch (pbyBloc[0]) {
    case eCOMPRESSEUR_COPIE:
        if (dwTailleBloc < kdwTailleEnteteCopie) return kdwEchec;
        qwTaille = uint64_t{ovbloc::dwLit32(pbyBloc + 1)} + kdwTailleEnteteCopie;
        break;
    case eCOMPRESSEUR_VIEUXBLOC:
    case eCOMPRESSEUR_ZLW:
        if (dwTailleBloc < kdwTailleEntete) return kdwEchec;
        qwTaille = uint64_t{ovbloc::dwLit32(pbyBloc + 1)} + kdwTailleEntete;
        break;
    default:
        return kdwEchec;
    }
    return qwTaille < kdwEchec ? static_cast<uint32_t>(qwTaille) : kdwEchec;
}

uint32_t CCompresseurBase::dwTailleBufferCompression(uint32_t dwTaille) {
    return dwTaille <= kdwEchec - 8 ? dwTaille + 7 : kdwEchec;
}

uint32_t CCompresseurBase::_dwSousVerrou(uint32_t (CCompresseurBase::*pfnTravail)(), const uint8_t* pbyEntree,
                                         uint32_t dwTailleEntree, uint8_t* pbySortie, uint32_t dwTailleSortie,
                                         uint32_t dwEchec) noexcept {
    try {
        std::lock_guard<std::recursive_mutex> clVerrou(m_clMutex);
        m_pbyEntree = pbyEntree;
        m_dwTailleEntree = dwTailleEntree;
        m_pbySortie = pbySortie;
        m_dwTailleSortie = dwTailleSortie;
        uint32_t dwResultat;
        try {
            dwResultat = (this->*pfnTravail)();
        } catch (...) {
            dwResultat = dwEchec;
        }
        m_pbyEntree = nullptr;
        m_dwTailleEntree = 0;
        m_pbySortie = nullptr;
        m_dwTailleSortie = 0;
        return dwResultat;
    } catch (...) {
        return dwEchec;
    }
}

uint32_t CCompresseurBase::dwCompression(const uint8_t* pbyEntree, uint32_t dwTailleEntree, uint8_t* pbySortie,
                                         uint32_t dwTailleSortie) noexcept {
    if ((pbyEntree == nullptr && dwTailleEntree > 0) || pbySortie == nullptr) return 0;
    return _dwSousVerrou(&CCompresseurBase::_dwCompression, pbyEntree, dwTailleEntree, pbySortie, dwTailleSortie, 0);
}

uint32_t CCompresseurBase::dwDecompression(const uint8_t* pbyEntree, uint32_t dwTailleEntree, uint8_t* pbySortie,
                                           uint32_t dwTailleSortie) noexcept {
    if (pbyEntree == nullptr || dwTailleEntree == 0 || (pbySortie == nullptr && dwTailleSortie > 0)) return kdwEchec;
    return _dwSousVerrou(&CCompresseurBase::_dwDecompression, pbyEntree, dwTailleEntree, pbySortie, dwTailleSortie,
                         kdwEchec);
}

void CCompresseurBase::_EcritEntete(uint8_t eType, uint32_t dwTaillePackee) {
    m_pbySortie[0] = eType;
    ovbloc::Ecrit32(m_pbySortie + 1, dwTaillePackee);
    ovbloc::Ecrit32(m_pbySortie + 5, m_dwTailleEntree);
    m_pbySortie[9] = 0;
    m_pbySortie[10] = 0;
}

uint32_t CCompresseurBase::_dwCompresseCopie() noexcept {
    if (m_dwTailleEntree > kdwEchec - kdwTailleEnteteCopie - 1 ||
        m_dwTailleSortie < m_dwTailleEntree + kdwTailleEnteteCopie)
        return 0;
    m_pbySortie[0] = eCOMPRESSEUR_COPIE;
    ovbloc::Ecrit32(m_pbySortie + 1, m_dwTailleEntree);
    if (m_dwTailleEntree > 0) std::memmove(m_pbySortie + kdwTailleEnteteCopie, m_pbyEntree, m_dwTailleEntree);
    return m_dwTailleEntree + kdwTailleEnteteCopie;
}

uint32_t CCompresseurBase::_dwDecompresseCopie() noexcept {
    if (m_dwTailleEntree < kdwTailleEnteteCopie || m_pbyEntree[0] != eCOMPRESSEUR_COPIE) return kdwEchec;
    const uint32_t dwTaille = ovbloc::dwLit32(m_pbyEntree + 1);
    if (dwTaille > m_dwTailleEntree - kdwTailleEnteteCopie || dwTaille > m_dwTailleSortie || dwTaille == kdwEchec)
        return kdwEchec;
    if (dwTaille > 0) std::memmove(m_pbySortie, m_pbyEntree + kdwTailleEnteteCopie, dwTaille);
    return dwTaille;
}

bool CCompresseurBase::_bLitEntete(uint8_t eType, const uint8_t** ppbyPacke, uint32_t* pdwTaillePackee,
                                   uint32_t* pdwTailleOriginale) const noexcept {
    if (m_dwTailleEntree < kdwTailleEntete || m_pbyEntree[0] != eType || m_pbyEntree[9] != 0 || m_pbyEntree[10] != 0)
        return false;
    const uint32_t dwTaillePackee = ovbloc::dwLit32(m_pbyEntree + 1);
    const uint32_t dwTailleOriginale = ovbloc::dwLit32(m_pbyEntree + 5);
    // The original size is weighed against the output before a byte is written.
    if (dwTaillePackee > m_dwTailleEntree - kdwTailleEntete || dwTailleOriginale > m_dwTailleSortie ||
        dwTailleOriginale == kdwEchec)
        return false;
    *ppbyPacke = m_pbyEntree + kdwTailleEntete;
    *pdwTaillePackee = dwTaillePackee;
    *pdwTailleOriginale = dwTailleOriginale;
    return true;
}

// ================================================================ CCompresseurOVC40

// The packer works on int lengths; a block stays well inside them.
static constexpr uint32_t kdwTailleMaxOVC40 = INT_MAX / 2 - 16;

uint32_t CCompresseurOVC40::dwTailleDecompression(const uint8_t* pbyBloc, uint32_t dwTailleBloc) {
    // At most three bytes for two packed ones, the terminator the unpacker writes, and the length.
    if (dwTailleBloc > kdwTailleMaxOVC40) return kdwEchec;
    return dwTailleBloc + dwTailleBloc / 2 + 2 + 4;
}

uint32_t CCompresseurOVC40::vdwTailleEntree(const uint8_t* pbyBloc, uint32_t dwTailleBloc) { return dwTailleBloc; }

uint32_t CCompresseurOVC40::dwTailleBufferCompression(uint32_t dwTaille) {
    return dwTaille <= kdwTailleMaxOVC40 ? 2 * dwTaille + 1 : kdwEchec;
}

uint32_t CCompresseurOVC40::_dwCompression() {
    if (m_dwTailleEntree < 4) return 0;
    const uint32_t dwLongueur = ovbloc::dwLit32(m_pbyEntree);
    if (dwLongueur > m_dwTailleEntree - 4 || dwLongueur > kdwTailleMaxOVC40) return 0;
    const uint32_t dwSortie = m_dwTailleSortie < kdwTailleMaxOVC40 ? m_dwTailleSortie : kdwTailleMaxOVC40;
    CDataCompressor clPacker;
    int nPacke = 0;
    if (clPacker.nCompress(m_pbySortie, static_cast<int>(dwSortie), &nPacke, m_pbyEntree + 4,
                           static_cast<int>(dwLongueur)) != CDataCompressor::RESULTAT_OK)
        return 0;
    // The packed bytes and the end mark.
    return static_cast<uint32_t>(nPacke) + 1 <= dwSortie ? static_cast<uint32_t>(nPacke) + 1 : 0;
}

uint32_t CCompresseurOVC40::_dwDecompression() {
    // The stream ends with its zero mark, which the unpacker must not see as a pair.
    if (m_dwTailleEntree == 0 || m_dwTailleEntree > kdwTailleMaxOVC40 || m_pbyEntree[m_dwTailleEntree - 1] != 0 ||
        m_dwTailleSortie < 5)
        return kdwEchec;
    const uint32_t dwPlace = m_dwTailleSortie - 4 < kdwTailleMaxOVC40 ? m_dwTailleSortie - 4 : kdwTailleMaxOVC40;
    CDataCompressor clPacker;
    int nLongueur = static_cast<int>(dwPlace);
    if (clPacker.nDeCompress(m_pbySortie + 4, &nLongueur, m_pbyEntree, static_cast<int>(m_dwTailleEntree - 1)) !=
        CDataCompressor::RESULTAT_OK)
        return kdwEchec;
    ovbloc::Ecrit32(m_pbySortie, static_cast<uint32_t>(nLongueur));
    return static_cast<uint32_t>(nLongueur) + 4;
}

// ================================================================ CCompresseur

CCompresseur::~CCompresseur() = default;

CCompresseurBase* CCompresseur::_pclObjet(uint8_t eType) {
    int nIndice;
    switch (eType) {
    case eCOMPRESSEUR_VIEUXBLOC: nIndice = 0; break;
    case eCOMPRESSEUR_OVC40: nIndice = 2; break;
    default: nIndice = 1; break;
    }
    std::unique_ptr<CCompresseurBase>& pcl = m_apclObjets[nIndice];
    if (!pcl) {
        if (nIndice == 0) pcl = std::make_unique<CVieuxBlocCompresseur>();
        else if (nIndice == 2) pcl = std::make_unique<CCompresseurOVC40>();
        else pcl = std::make_unique<CZLWCompresseur>();
    }
    return pcl.get();
}

bool CCompresseur::ChangeMethodeCompression(uint8_t eType) noexcept {
    uint8_t eNote = eType;
    if (eType != eCOMPRESSEUR_COPIE && eType != eCOMPRESSEUR_VIEUXBLOC && eType != eCOMPRESSEUR_ZLW &&
        eType != eCOMPRESSEUR_OVC40)
        eNote = eCOMPRESSEUR_ZLW;
    try {
        std::lock_guard<std::recursive_mutex> clVerrou(m_clMutex);
        if (eNote == m_eType) return true;
        _pclObjet(eNote);
        m_eType = eNote;
        return true;
    } catch (...) {
        return false;
    }
}

uint32_t CCompresseur::dwTailleDecompression(const uint8_t* pbyBloc, uint32_t dwTailleBloc) {
    if (m_eType == eCOMPRESSEUR_OVC40) return CCompresseurOVC40().dwTailleDecompression(pbyBloc, dwTailleBloc);
    return CCompresseurBase::dwTailleDecompression(pbyBloc, dwTailleBloc);
}

uint32_t CCompresseur::vdwTailleEntree(const uint8_t* pbyBloc, uint32_t dwTailleBloc) {
    if (m_eType == eCOMPRESSEUR_OVC40) return dwTailleBloc;
    return CCompresseurBase::vdwTailleEntree(pbyBloc, dwTailleBloc);
}

uint32_t CCompresseur::dwTailleBufferCompression(uint32_t dwTaille) {
    if (m_eType == eCOMPRESSEUR_OVC40) return CCompresseurOVC40().dwTailleBufferCompression(dwTaille);
    return CCompresseurBase::dwTailleBufferCompression(dwTaille);
}

uint32_t CCompresseur::_dwCompression() {
    return _pclObjet(m_eType)->dwCompression(m_pbyEntree, m_dwTailleEntree, m_pbySortie, m_dwTailleSortie);
}

uint32_t CCompresseur::_dwDecompression() {
    if (m_eType == eCOMPRESSEUR_OVC40)
        return _pclObjet(m_eType)->dwDecompression(m_pbyEntree, m_dwTailleEntree, m_pbySortie, m_dwTailleSortie);
    switch (m_pbyEntree[0]) {
    case eCOMPRESSEUR_COPIE: return _dwDecompresseCopie();
    case eCOMPRESSEUR_VIEUXBLOC:
    case eCOMPRESSEUR_ZLW:
        return _pclObjet(m_pbyEntree[0])->dwDecompression(m_pbyEntree, m_dwTailleEntree, m_pbySortie, m_dwTailleSortie);
    default: return kdwEchec;
    }
}

uint32_t CCompresseur::dwDecompression(const uint8_t* pbyEntree, uint32_t dwTailleEntree, uint8_t* pbySortie,
                                       uint32_t dwTailleSortie, uint8_t eType) noexcept {
    try {
        std::lock_guard<std::recursive_mutex> clVerrou(m_clMutex);
        const uint8_t eAncien = m_eType;
        // Only type 5 is chosen by the caller: every other block names its own algorithm.
        m_eType = eType == eCOMPRESSEUR_OVC40 ? eCOMPRESSEUR_OVC40 : eCOMPRESSEUR_ZLW;
        const uint32_t dwResultat = CCompresseurBase::dwDecompression(pbyEntree, dwTailleEntree, pbySortie, dwTailleSortie);
        m_eType = eAncien;
        return dwResultat;
    } catch (...) {
        return kdwEchec;
    }
}
