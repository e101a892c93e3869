// CZKBIN: binary values on counted blocks. Operations that build a new value from pieces build it
// aside and take it only once whole, so that a failure leaves the old value.
#include <cstring>

#include "base/xystring.h"

CZKBIN& CZKBIN::operator=(const CZKBIN& clAutre) noexcept {
    CBaseStrMem::s_AddRefStrMem(clAutre.m_pData);
    CBaseStrMem::s_ReleaseStrMem(m_pData);
    m_pData = clAutre.m_pData;
    return *this;
}

CZKBIN& CZKBIN::operator=(CZKBIN&& clAutre) noexcept {
    if (this != &clAutre) {
        CBaseStrMem::s_ReleaseStrMem(m_pData);
        m_pData = clAutre.m_pData;
        clAutre.m_pData = nullptr;
    }
    return *this;
}

CZKBIN CZKBIN::s_clAdopte(void* pBloc) noexcept {
    CZKBIN cl;
    cl.m_pData = pBloc;
    return cl;
}

void* CZKBIN::pDetache() noexcept {
    void* p = m_pData;
    m_pData = nullptr;
    return p;
}

int CZKBIN::SetUtilSize(int nTailleUtile) noexcept {
    if (nTailleUtile < 0 || nTailleUtile > nGetCapacite()) return STRMEM_ERREUR_TAILLE;
    if (m_pData == nullptr) return 0;
    const int n = CBaseStrMem::s_nPrepareEcriture(&m_pData, nGetCapacite());
    if (n != 0) return n;
    CBaseStrMem::s_pstEntete(m_pData)->nTailleUtile = nTailleUtile;
    return 0;
}

void CZKBIN::Assign(const CZKBIN* pclAutre, int) noexcept {
    if (pclAutre == nullptr)
        *this = CZKBIN();
    else
        *this = *pclAutre;
}

int CZKBIN::nAssign(const void* pOctets, int nLongueur, unsigned int) noexcept {
    return CBaseStrMem::s_nAffecte(&m_pData, pOctets, nLongueur, true);
}

int CZKBIN::nAssignInit(const void* pOctets, int nLongueur) noexcept {
    CZKBIN cl;
    const int n = CBaseStrMem::s_nAffecte(&cl.m_pData, pOctets, nLongueur, true);
    if (n == 0) *this = std::move(cl);
    return n;
}

void CZKBIN::Take(CZKBIN* pclAutre) noexcept {
    if (pclAutre != nullptr && pclAutre != this) *this = std::move(*pclAutre);
}

int CZKBIN::nConcat(const void* pOctets, int nLongueur) noexcept {
    return CBaseStrMem::s_nConcat(&m_pData, pOctets, nLongueur);
}

int CZKBIN::nConcatInit(const CZKBIN& clA, const CZKBIN& clB, unsigned int) noexcept {
    CZKBIN cl(clA);
    const int n = cl.nConcat(clB);
    if (n == 0) *this = std::move(cl);
    return n;
}

int CZKBIN::nConcatSeparateur(const CZKBIN& clSeparateur, const CZKBIN& clAjout, int bSeparateurSiVide) noexcept {
    CZKBIN cl(*this);
    int n = 0;
    if (!bEstVide() || bSeparateurSiVide) n = cl.nConcat(clSeparateur);
    if (n == 0) n = cl.nConcat(clAjout);
    if (n == 0) *this = std::move(cl);
    return n;
}

int CZKBIN::nRepete(const CZKBIN& clMotif, int nFois) noexcept {
    const int64_t nMotif = clMotif.nGetTaille();
    if (nFois <= 0 || nMotif == 0) {
        *this = CZKBIN();
        return 0;
    }
    const int64_t nTotal = nMotif * nFois;
    if (nTotal >= STRMEM_TAILLE_MAX) return STRMEM_ERREUR_TAILLE;
    CZKBIN clGarde(clMotif);  // the pattern may be this value
    CZKBIN cl;
    int n = CBaseStrMem::nAllocStrMem(&cl.m_pData, nTotal);
    if (n != 0) return n;
    uint8_t* p = static_cast<uint8_t*>(cl.m_pData);
    for (int i = 0; i < nFois; ++i) std::memcpy(p + i * nMotif, clGarde.pbyGet(), static_cast<size_t>(nMotif));
    CBaseStrMem::s_SetLongueur(cl.m_pData, static_cast<int>(nTotal));
    CBaseStrMem::s_pstEntete(cl.m_pData)->nTailleUtile = static_cast<int>(nTotal);
    *this = std::move(cl);
    return 0;
}

int CZKBIN::nSetSize(int nTaille, unsigned int dwFlags) noexcept {
    if (nTaille < 0) return STRMEM_ERREUR_TAILLE;
    const int nAncienne = nGetTaille();
    if (nTaille <= nAncienne) return Tronque(nTaille);
    const int n = CBaseStrMem::s_nPrepareEcriture(&m_pData, nTaille, dwFlags);
    if (n != 0) return n;
    std::memset(static_cast<uint8_t*>(m_pData) + nAncienne, 0, static_cast<size_t>(nTaille - nAncienne));
    CBaseStrMem::s_SetLongueur(m_pData, nTaille);
    return 0;
}

int CZKBIN::nSetMemorySize(int nTaille, unsigned int dwFlags) noexcept {
    if (nTaille < 0) return STRMEM_ERREUR_TAILLE;
    if (nTaille < nGetTaille()) nTaille = nGetTaille();
    if (m_pData != nullptr && nTaille <= nGetCapacite() && nGetRef() < 2) return 0;
    if (nTaille == 0) return 0;
    return CBaseStrMem::s_nPrepareEcriture(&m_pData, nTaille, dwFlags);
}

int CZKBIN::Tronque(int nTaille) noexcept {
    if (nTaille >= nGetTaille()) return 0;
    if (nTaille <= 0) {
        *this = CZKBIN();
        return 0;
    }
    return CBaseStrMem::s_nPrepareEcriture(&m_pData, nTaille);
}

int CZKBIN::Remplace(int nPosition, int nLongueur, const CZKBIN& clPar) noexcept {
    const int nTaille = nGetTaille();
    if (nPosition < 0) nPosition = 0;
    if (nPosition > nTaille) nPosition = nTaille;
    if (nLongueur < 0 || nLongueur > nTaille - nPosition) nLongueur = nTaille - nPosition;
    const int64_t nNouvelle = static_cast<int64_t>(nTaille) - nLongueur + clPar.nGetTaille();
    if (nNouvelle >= STRMEM_TAILLE_MAX) return STRMEM_ERREUR_TAILLE;
    CZKBIN cl;
    int n = cl.nAssign(pbyGet(), nPosition);
    if (n == 0 && nNouvelle > 0) n = CBaseStrMem::s_nPrepareEcriture(&cl.m_pData, nNouvelle);
    if (n == 0) n = cl.nConcat(clPar);
    if (n == 0) n = cl.nConcat(pbyGet() + nPosition + nLongueur, nTaille - nPosition - nLongueur);
    if (n != 0) return n;
    if (!cl.bEstNull()) CBaseStrMem::s_pstEntete(cl.m_pData)->nTailleUtile = cl.nGetTaille();
    *this = std::move(cl);
    return 0;
}

int CZKBIN::nMilieu(CZKBIN* pclCible, int nDebut, int nLongueur) const noexcept {
    if (pclCible == nullptr) return 0;
    const int nTaille = nGetTaille();
    if (nDebut < 0) nDebut = 0;
    if (nDebut >= nTaille) {
        *pclCible = CZKBIN();
        return 0;
    }
    if (nLongueur < 0 || nLongueur > nTaille - nDebut) nLongueur = nTaille - nDebut;
    if (nDebut == 0 && nLongueur == nTaille) {
        *pclCible = *this;  // the whole value: share it
        return 0;
    }
    return pclCible->nAssignInit(pbyGet() + nDebut, nLongueur);
}

CZKBIN CZKBIN::clMilieu(int nDebut, int nLongueur) const noexcept {
    CZKBIN cl;
    nMilieu(&cl, nDebut, nLongueur);
    return cl;
}

int CZKBIN::nPos(const void* pOctets, int nLongueur, int nDebut) const noexcept {
    const int nTaille = nGetTaille();
    if (nDebut < 0) nDebut = 0;
    if (nDebut > nTaille || nLongueur < 0) return -1;
    if (nLongueur == 0) return nDebut;
    if (pOctets == nullptr) return -1;
    const void* p = memmem(pbyGet() + nDebut, static_cast<size_t>(nTaille - nDebut), pOctets, static_cast<size_t>(nLongueur));
    return p == nullptr ? -1 : static_cast<int>(static_cast<const uint8_t*>(p) - pbyGet());
}

namespace {

int nCompareOctets(const uint8_t* pA, int nA, const uint8_t* pB, int nB) noexcept {
    const int nCommun = nA < nB ? nA : nB;
    const int n = nCommun > 0 ? std::memcmp(pA, pB, static_cast<size_t>(nCommun)) : 0;
    if (n != 0) return n < 0 ? -1 : 1;
    return nA == nB ? 0 : (nA < nB ? -1 : 1);
}

}  // namespace

int CZKBIN::nCompare(const CZKBIN& clA, const CZKBIN& clB) noexcept {
    return nCompareOctets(clA.pbyGet(), clA.nGetTaille(), clB.pbyGet(), clB.nGetTaille());
}

int CZKBIN::nCompare(const CZKBIN& clA, const CZKBIN& clB, int nLongueur) noexcept {
    if (nLongueur < 0) nLongueur = 0;
    const int nA = clA.nGetTaille() < nLongueur ? clA.nGetTaille() : nLongueur;
    const int nB = clB.nGetTaille() < nLongueur ? clB.nGetTaille() : nLongueur;
    return nCompareOctets(clA.pbyGet(), nA, clB.pbyGet(), nB);
}

bool CZKBIN::bCommencePar(const void* pOctets, int nLongueur) const noexcept {
    if (nLongueur <= 0) return nLongueur == 0;
    return nLongueur <= nGetTaille() && pOctets != nullptr && std::memcmp(pbyGet(), pOctets, static_cast<size_t>(nLongueur)) == 0;
}

bool CZKBIN::bTerminePar(const void* pOctets, int nLongueur) const noexcept {
    if (nLongueur <= 0) return nLongueur == 0;
    return nLongueur <= nGetTaille() && pOctets != nullptr &&
           std::memcmp(pbyGet() + nGetTaille() - nLongueur, pOctets, static_cast<size_t>(nLongueur)) == 0;
}

int CZKBIN::nAffecteToANSI(unsigned int nCodePage) noexcept {
    const int nTaille = nGetTaille();
    if (nTaille % static_cast<int>(sizeof(wchar_t)) != 0) return STRMEM_ERREUR_CONVERSION;
    if (nTaille == 0) return 0;
    CXYString<char> cl;
    const int n = cl.__nConversion(reinterpret_cast<const wchar_t*>(pbyGet()), nTaille / static_cast<int>(sizeof(wchar_t)),
                                   0, nCodePage, 0);
    return n != 0 ? n : nAssign(cl.pszGet(), cl.nGetTaille());
}

int CZKBIN::nAffecteToUNICODE(unsigned int nCodePage) noexcept {
    const int nTaille = nGetTaille();
    if (nTaille == 0) return 0;
    CXYString<wchar_t> cl;
    const int n = cl.__nConversion(reinterpret_cast<const char*>(pbyGet()), nTaille, 0, nCodePage, 0);
    return n != 0 ? n : nAssign(cl.pszGet(), cl.nGetTaille());
}
