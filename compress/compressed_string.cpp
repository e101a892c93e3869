// Packing a region of a byte vector through the block compressors, compressed strings built on
// it, and the language functions Compresse and Decompresse.
#include <cstring>
#include <new>
#include <vector>

#include "compress/block_compressors.h"
#include "compress/internal/block_format.h"
#include "component/thunk.h"

namespace ovcompresse {

namespace {

constexpr uint8_t kbyMarqueChaine = 0x02;
constexpr size_t kTailleEnteteChaine = 5;  // the mark and the 32-bit method
constexpr size_t kTailleMaxRegion = 0x7FFFFFF0;

// The most bytes a block of types 2 or 4 can give back from dwTaillePackee bytes: each code takes
// at least 9 bits, and the n-th code of a dictionary stands for at most n bytes. A declared size
// past that is damage, refused before anything is allocated for it.
uint64_t qwTailleMaxPlausible(uint32_t dwTaillePackee) noexcept {
    const uint64_t qwCodes = uint64_t{dwTaillePackee} * 8 / 9;
    const uint64_t qwTriangle = qwCodes * (qwCodes + 1) / 2;
    const uint64_t qwChaines = qwCodes * 0x10000;
    return qwTriangle < qwChaines ? qwTriangle : qwChaines;
}

}  // namespace

int g_eGetCompresseurType(int nMethode) noexcept {
    switch (nMethode) {
    case 0:
    case 1: return CCompresseurBase::eCOMPRESSEUR_ZLW;
    case 2: return CCompresseurBase::eCOMPRESSEUR_OVC40;
    default: return -1;
    }
}

bool bPackeRegion(std::vector<uint8_t>* ptabDonnees, size_t nPremierOctetCode, int nMethode) noexcept {
    const int eType = g_eGetCompresseurType(nMethode);
    if (ptabDonnees == nullptr || eType < 0 || nPremierOctetCode > ptabDonnees->size()) return false;
    const size_t nRegion = ptabDonnees->size() - nPremierOctetCode;
    if (nMethode == 0 || nRegion == 0) return true;
    if (nRegion > kTailleMaxRegion) return false;
    try {
        CCompresseur clCompresseur;
        if (!clCompresseur.ChangeMethodeCompression(static_cast<uint8_t>(eType))) return false;
        const uint32_t dwTravail = clCompresseur.dwTailleBufferCompression(static_cast<uint32_t>(nRegion));
        if (dwTravail == CCompresseurBase::kdwEchec) return false;
        std::vector<uint8_t> tabTravail(dwTravail);
        const uint32_t dwPacke = clCompresseur.dwCompression(ptabDonnees->data() + nPremierOctetCode,
                                                             static_cast<uint32_t>(nRegion), tabTravail.data(), dwTravail);
        if (dwPacke == 0) return false;
        ptabDonnees->resize(nPremierOctetCode + dwPacke);
        std::memcpy(ptabDonnees->data() + nPremierOctetCode, tabTravail.data(), dwPacke);
        return true;
    } catch (...) {
        return false;
    }
}

bool bDepackeRegion(std::vector<uint8_t>* ptabDonnees, size_t nPremierOctetCode, int nMethode) noexcept {
    const int eType = g_eGetCompresseurType(nMethode);
    if (ptabDonnees == nullptr || eType < 0 || nPremierOctetCode > ptabDonnees->size()) return false;
    const size_t nRegion = ptabDonnees->size() - nPremierOctetCode;
    if (nMethode == 0 || nRegion == 0) return true;
    if (nRegion > kTailleMaxRegion) return false;
    try {
        CCompresseur clCompresseur;
        if (!clCompresseur.ChangeMethodeCompression(static_cast<uint8_t>(eType))) return false;
        const uint8_t* const pbyRegion = ptabDonnees->data() + nPremierOctetCode;
        const auto dwRegion = static_cast<uint32_t>(nRegion);
        const uint32_t dwOriginale = clCompresseur.dwTailleDecompression(pbyRegion, dwRegion);
        const uint32_t dwEntree = clCompresseur.vdwTailleEntree(pbyRegion, dwRegion);
        if (dwOriginale == CCompresseurBase::kdwEchec || dwEntree == CCompresseurBase::kdwEchec) return false;
        if (eType != CCompresseurBase::eCOMPRESSEUR_OVC40) {
            if (pbyRegion[0] == CCompresseurBase::eCOMPRESSEUR_COPIE ? dwOriginale > dwRegion - 5
                                                                     : dwOriginale > qwTailleMaxPlausible(dwRegion))
                return false;
        }
        std::vector<uint8_t> tabTravail(dwOriginale > dwEntree ? dwOriginale : dwEntree);
        const uint32_t dwEcrits = clCompresseur.dwDecompression(pbyRegion, dwRegion, tabTravail.data(),
                                                                static_cast<uint32_t>(tabTravail.size()),
                                                                static_cast<uint8_t>(eType));
        if (dwEcrits == CCompresseurBase::kdwEchec) return false;
        ptabDonnees->resize(nPremierOctetCode + dwEcrits);
        if (dwEcrits > 0) std::memcpy(ptabDonnees->data() + nPremierOctetCode, tabTravail.data(), dwEcrits);
        return true;
    } catch (...) {
        return false;
    }
}

int _ChaineCompresseA(std::vector<uint8_t>* ptabSortie, const uint8_t* pbyOctets, size_t nTaille,
                      int nMethode) noexcept {
    if (nMethode < 0 || nMethode > kMethodeMax) return eMETHODE_INVALIDE;
    if (ptabSortie == nullptr || (pbyOctets == nullptr && nTaille > 0) || nTaille > kTailleMaxRegion - 16)
        return eMEMOIRE;
    try {
        std::vector<uint8_t> tab;
        const size_t nPremier = nMethode == 2 ? 0 : kTailleEnteteChaine;
        tab.resize(nPremier + 4 + nTaille);
        if (nPremier > 0) {
            tab[0] = kbyMarqueChaine;
            ovbloc::Ecrit32(tab.data() + 1, static_cast<uint32_t>(nMethode));
        }
        ovbloc::Ecrit32(tab.data() + nPremier, static_cast<uint32_t>(nTaille));
        if (nTaille > 0) std::memcpy(tab.data() + nPremier + 4, pbyOctets, nTaille);
        if (!bPackeRegion(&tab, nPremier, nMethode)) return eMEMOIRE;
        *ptabSortie = std::move(tab);
        return eOK;
    } catch (...) {
        return eMEMOIRE;
    }
}

int _ChaineCompresse(std::vector<uint8_t>* ptabSortie, const wchar_t* pszTexte, size_t nNbCaracteres,
                     int nMethode) noexcept {
    if (nNbCaracteres > kTailleMaxRegion / sizeof(wchar_t)) return eMEMOIRE;
    return _ChaineCompresseA(ptabSortie, reinterpret_cast<const uint8_t*>(pszTexte), nNbCaracteres * sizeof(wchar_t),
                             nMethode);
}

int _ChaineDecompresse(std::vector<uint8_t>* ptabSortie, const uint8_t* pbyValeur, size_t nTaille,
                       int nMethode) noexcept {
    if (ptabSortie == nullptr) return eMEMOIRE;
    if (nMethode < 0 || nMethode > kMethodeMax) return eMETHODE_INVALIDE;
    try {
        ptabSortie->clear();
        if (nTaille == 0) return eOK;
        if (pbyValeur == nullptr || nTaille > kTailleMaxRegion) return eDONNEES_ENDOMMAGEES;
        size_t nPremier = 0;
        int nMethodeLue = 2;
        if (nMethode != 2) {
            if (nTaille < kTailleEnteteChaine || pbyValeur[0] != kbyMarqueChaine) return eDONNEES_ENDOMMAGEES;
            const uint32_t dwMethode = ovbloc::dwLit32(pbyValeur + 1);
            if (dwMethode > static_cast<uint32_t>(kMethodeMax)) return eMETHODE_INVALIDE;
            nMethodeLue = static_cast<int>(dwMethode);
            nPremier = kTailleEnteteChaine;
        }
        std::vector<uint8_t> tab(pbyValeur, pbyValeur + nTaille);
        if (!bDepackeRegion(&tab, nPremier, nMethodeLue)) return eDONNEES_ENDOMMAGEES;
        // The packed part holds the length and exactly that many bytes.
        if (tab.size() < nPremier + 4) return eDONNEES_ENDOMMAGEES;
        const uint32_t dwLongueur = ovbloc::dwLit32(tab.data() + nPremier);
        if (dwLongueur != tab.size() - nPremier - 4) return eDONNEES_ENDOMMAGEES;
        ptabSortie->assign(tab.begin() + static_cast<ptrdiff_t>(nPremier + 4), tab.end());
        return eOK;
    } catch (...) {
        return eMEMOIRE;
    }
}

}  // namespace ovcompresse

// ================================================================ language functions

namespace {

bool bRapporte(CComposanteStandard* pclThis, int nResultat) {
    switch (nResultat) {
    case ovcompresse::eOK: return true;
    case ovcompresse::eMETHODE_INVALIDE: pclThis->RaiseError(&gstMyModuleInfo8, 80550); break;
    case ovcompresse::eDONNEES_ENDOMMAGEES:
        pclThis->RaiseError(&gstMyModuleInfo8, 80700);
        pclThis->pclGetError()->AddDebugMessageNoFormat(L"##(CCompresseur)-Damaged compressed buffer##");
        break;
    default: pclThis->pclGetError()->SetErrorNoMemory(); break;
    }
    return false;
}

CZKBIN clVersBuffer(CComposanteStandard* pclThis, const std::vector<uint8_t>& tab) {
    CZKBIN cl(tab.data(), static_cast<int>(tab.size()));
    if (cl.bEstNull() && !tab.empty()) pclThis->pclGetError()->SetErrorNoMemory();
    return cl;
}

// Decompressed bytes are wide text when they read as one: whole 32-bit characters, each a Unicode
// scalar value other than zero. Anything else is binary.
bool bEstTexteLarge(const std::vector<uint8_t>& tab) {
    if (tab.size() % sizeof(wchar_t) != 0) return false;
    for (size_t i = 0; i < tab.size(); i += 4) {
        const uint32_t dw = ovbloc::dwLit32(tab.data() + i);
        if (dw == 0 || dw > 0x10FFFF || (dw >= 0xD800 && dw <= 0xDFFF)) return false;
    }
    return true;
}

}  // namespace

CZKBIN CComposanteStandard::Compresse(CZKBIN clBuffer, int nMethode) {
    std::vector<uint8_t> tab;
    if (!bRapporte(this, ovcompresse::_ChaineCompresseA(&tab, clBuffer.pbyGet(),
                                                        static_cast<size_t>(clBuffer.nGetTaille()), nMethode)))
        return CZKBIN();
    return clVersBuffer(this, tab);
}

CZKBIN CComposanteStandard::Compresse(const STManipAUB* pstValeur, int nMethode) {
    std::vector<uint8_t> tab;
    int nResultat;
    int nTaille = 0;
    if (pstValeur != nullptr && pstValeur->nType == STManipAUB::TYPE_UNICODE) {
        const auto* psz = reinterpret_cast<const wchar_t*>(pstValeur->pbyGetContenuUtile(&nTaille));
        nResultat = ovcompresse::_ChaineCompresse(&tab, psz, static_cast<size_t>(nTaille) / sizeof(wchar_t), nMethode);
    } else {
        const uint8_t* pby = pstValeur != nullptr ? pstValeur->pbyGetContenuUtile(&nTaille) : nullptr;
        nResultat = ovcompresse::_ChaineCompresseA(&tab, pby, static_cast<size_t>(nTaille), nMethode);
    }
    if (!bRapporte(this, nResultat)) return CZKBIN();
    return clVersBuffer(this, tab);
}

// The form of methods 0 and 1 starts with the byte 2; a packed text stream never does (its first
// digit would be a shift to the charset it starts in), so a buffer of method 2 is read as one.
void CComposanteStandard::Decompresse(CZKBIN clBuffer) {
    STZKAppel* pstAppel = pstGetAppel();
    std::vector<uint8_t> tab;
    const int nMethode = clBuffer.nGetTaille() > 0 && clBuffer.pbyGet()[0] != 0x02 ? 2 : 0;
    const int nResultat = ovcompresse::_ChaineDecompresse(&tab, clBuffer.pbyGet(),
                                                          static_cast<size_t>(clBuffer.nGetTaille()), nMethode);
    if (!bRapporte(this, nResultat)) {
        if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
        return;
    }
    if (pstAppel == nullptr) return;
    if (bEstTexteLarge(tab)) {
        CXYString<wchar_t> clTexte(reinterpret_cast<const wchar_t*>(tab.data()), static_cast<int>(tab.size() / 4));
        if (clTexte.bEstNull() && !tab.empty()) {
            pclGetError()->SetErrorNoMemory();
            return ovthunk::PousseEchec(pstAppel);
        }
        return ovthunk::PousseTexte(pstAppel, clTexte, 0);
    }
    const CZKBIN clResultat = clVersBuffer(this, tab);
    ovthunk::PousseBinaire(pstAppel, clResultat);
}
