// CListeDeBuffer and clDYNAR: the list's links and walks, the pointer array's growth and sort.
#include "base/containers.h"

#include <climits>

// ---------------------------------------------------------------------------------------------
// CListeDeBuffer

CListeDeBuffer::CListeDeBuffer(CListeDeBuffer&& clAutre) noexcept
    : m_pclTete(clAutre.m_pclTete),
      m_pclQueue(clAutre.m_pclQueue),
      m_pclCourant(clAutre.m_pclCourant),
      m_nTailleDonnee(clAutre.m_nTailleDonnee),
      m_nNbElement(clAutre.m_nNbElement),
      m_nPositionCourante(clAutre.m_nPositionCourante) {
    clAutre.m_pclTete = clAutre.m_pclQueue = clAutre.m_pclCourant = nullptr;
    clAutre.m_nNbElement = 0;
    clAutre.m_nPositionCourante = -1;
}

CListeDeBuffer& CListeDeBuffer::operator=(CListeDeBuffer&& clAutre) noexcept {
    if (this == &clAutre) return *this;
    SupprimeTout();
    m_pclTete = clAutre.m_pclTete;
    m_pclQueue = clAutre.m_pclQueue;
    m_pclCourant = clAutre.m_pclCourant;
    m_nTailleDonnee = clAutre.m_nTailleDonnee;
    m_nNbElement = clAutre.m_nNbElement;
    m_nPositionCourante = clAutre.m_nPositionCourante;
    clAutre.m_pclTete = clAutre.m_pclQueue = clAutre.m_pclCourant = nullptr;
    clAutre.m_nNbElement = 0;
    clAutre.m_nPositionCourante = -1;
    return *this;
}

CLinkedElement* CListeDeBuffer::_pclElement(int nPosition) const noexcept {
    if (nPosition < 0 || nPosition >= m_nNbElement) return nullptr;
    // From whichever of head, tail and current is nearest.
    CLinkedElement* pcl;
    int nDepuis;
    if (nPosition <= m_nNbElement / 2) {
        pcl = m_pclTete;
        nDepuis = 0;
    } else {
        pcl = m_pclQueue;
        nDepuis = m_nNbElement - 1;
    }
    if (m_pclCourant && std::abs(m_nPositionCourante - nPosition) < std::abs(nDepuis - nPosition)) {
        pcl = m_pclCourant;
        nDepuis = m_nPositionCourante;
    }
    for (; nDepuis < nPosition; ++nDepuis) pcl = pcl->pclSuivant;
    for (; nDepuis > nPosition; --nDepuis) pcl = pcl->pclPrecedent;
    return pcl;
}

void* CListeDeBuffer::Ajoute(const void* pData, int nPosition) noexcept {
    if (m_nNbElement == INT_MAX) return nullptr;
    auto* pclNouveau = static_cast<CLinkedElement*>(malloc(sizeof(CLinkedElement) + static_cast<size_t>(m_nTailleDonnee)));
    if (pclNouveau == nullptr) return nullptr;
    if (m_nTailleDonnee > 0) {
        if (pData)
            memcpy(pclNouveau->pData(), pData, static_cast<size_t>(m_nTailleDonnee));
        else
            memset(pclNouveau->pData(), 0, static_cast<size_t>(m_nTailleDonnee));
    }
    if (nPosition < 0 || nPosition > m_nNbElement) nPosition = m_nNbElement;
    CLinkedElement* pclApres = nPosition < m_nNbElement ? _pclElement(nPosition) : nullptr;
    CLinkedElement* pclAvant = pclApres ? pclApres->pclPrecedent : m_pclQueue;
    pclNouveau->pclSuivant = pclApres;
    pclNouveau->pclPrecedent = pclAvant;
    if (pclAvant)
        pclAvant->pclSuivant = pclNouveau;
    else
        m_pclTete = pclNouveau;
    if (pclApres)
        pclApres->pclPrecedent = pclNouveau;
    else
        m_pclQueue = pclNouveau;
    ++m_nNbElement;
    m_pclCourant = pclNouveau;
    m_nPositionCourante = nPosition;
    return pclNouveau->pData();
}

void* CListeDeBuffer::pVaSuivant() noexcept {
    if (m_pclCourant == nullptr) {
        m_pclCourant = m_pclTete;
        m_nPositionCourante = m_pclCourant ? 0 : -1;
    } else {
        m_pclCourant = m_pclCourant->pclSuivant;
        m_nPositionCourante = m_pclCourant ? m_nPositionCourante + 1 : -1;
    }
    return pCourant();
}

void* CListeDeBuffer::pVaPrecedent() noexcept {
    if (m_pclCourant == nullptr) {
        m_pclCourant = m_pclQueue;
        m_nPositionCourante = m_pclCourant ? m_nNbElement - 1 : -1;
    } else {
        m_pclCourant = m_pclCourant->pclPrecedent;
        m_nPositionCourante = m_pclCourant ? m_nPositionCourante - 1 : -1;
    }
    return pCourant();
}

void* CListeDeBuffer::pVaSurNumero(int nPosition) noexcept {
    m_pclCourant = _pclElement(nPosition);
    m_nPositionCourante = m_pclCourant ? nPosition : -1;
    return pCourant();
}

CLinkedElement* CListeDeBuffer::_pclDelieCourant() noexcept {
    CLinkedElement* pcl = m_pclCourant;
    if (pcl->pclPrecedent)
        pcl->pclPrecedent->pclSuivant = pcl->pclSuivant;
    else
        m_pclTete = pcl->pclSuivant;
    if (pcl->pclSuivant)
        pcl->pclSuivant->pclPrecedent = pcl->pclPrecedent;
    else
        m_pclQueue = pcl->pclPrecedent;
    m_pclCourant = pcl->pclSuivant;
    if (m_pclCourant == nullptr) m_nPositionCourante = -1;  // otherwise the next took its position
    --m_nNbElement;
    return pcl;
}

bool CListeDeBuffer::SupprimeCourant(void* pCopie) noexcept {
    if (m_pclCourant == nullptr) return false;
    if (pCopie && m_nTailleDonnee > 0) memcpy(pCopie, m_pclCourant->pData(), static_cast<size_t>(m_nTailleDonnee));
    free(_pclDelieCourant());
    return true;
}

bool CListeDeBuffer::DeplaceCourant(CListeDeBuffer* pclCible) noexcept {
    if (m_pclCourant == nullptr || pclCible == nullptr || pclCible == this ||
        pclCible->m_nTailleDonnee != m_nTailleDonnee || pclCible->m_nNbElement == INT_MAX)
        return false;
    CLinkedElement* pcl = _pclDelieCourant();
    pcl->pclSuivant = nullptr;
    pcl->pclPrecedent = pclCible->m_pclQueue;
    if (pclCible->m_pclQueue)
        pclCible->m_pclQueue->pclSuivant = pcl;
    else
        pclCible->m_pclTete = pcl;
    pclCible->m_pclQueue = pcl;
    ++pclCible->m_nNbElement;
    return true;
}

void CListeDeBuffer::SupprimeTout() noexcept {
    CLinkedElement* pcl = m_pclTete;
    while (pcl) {
        CLinkedElement* pclSuivant = pcl->pclSuivant;
        free(pcl);
        pcl = pclSuivant;
    }
    m_pclTete = m_pclQueue = m_pclCourant = nullptr;
    m_nNbElement = 0;
    m_nPositionCourante = -1;
}

bool CListeDeBuffer::ExtraitListe(CListeDeBuffer* pclCible) noexcept {
    if (pclCible == nullptr || pclCible == this || pclCible->m_nTailleDonnee != m_nTailleDonnee) return false;
    if (m_pclTete == nullptr) return true;
    if (pclCible->m_nNbElement > INT_MAX - m_nNbElement) return false;
    if (pclCible->m_pclQueue) {
        pclCible->m_pclQueue->pclSuivant = m_pclTete;
        m_pclTete->pclPrecedent = pclCible->m_pclQueue;
    } else {
        pclCible->m_pclTete = m_pclTete;
    }
    pclCible->m_pclQueue = m_pclQueue;
    pclCible->m_nNbElement += m_nNbElement;
    m_pclTete = m_pclQueue = m_pclCourant = nullptr;
    m_nNbElement = 0;
    m_nPositionCourante = -1;
    return true;
}

// ---------------------------------------------------------------------------------------------
// clDYNAR

int clDYNAR::_nCompare(const void* p1, const void* p2) const noexcept {
    if (m_pfnCompare) return m_pfnCompare(p1, p2);
    const uintptr_t n1 = reinterpret_cast<uintptr_t>(p1);
    const uintptr_t n2 = reinterpret_cast<uintptr_t>(p2);
    return n1 < n2 ? -1 : n1 > n2 ? 1 : 0;
}

bool clDYNAR::Grow(unsigned int dwSupplement) noexcept {
    if (dwSupplement == 0) return true;
    const uint64_t nBesoin = static_cast<uint64_t>(m_dwNbItem) + dwSupplement;
    if (nBesoin <= m_dwCapacite) return true;
    const uint64_t nManque = nBesoin - m_dwCapacite;
    const uint64_t nCapacite = m_dwCapacite + (nManque + m_dwPas - 1) / m_dwPas * m_dwPas;
    if (nCapacite >= DYNAR_ABSENT || nCapacite > SIZE_MAX / sizeof(void*)) return false;
    void* p = realloc(m_ppItems, static_cast<size_t>(nCapacite) * sizeof(void*));
    if (p == nullptr) return false;
    m_ppItems = static_cast<void**>(p);
    m_dwCapacite = static_cast<unsigned int>(nCapacite);
    return true;
}

unsigned int clDYNAR::Add(void* pItem) noexcept {
    if (m_dwNbItem == m_dwCapacite && !Grow(1)) return DYNAR_ABSENT;
    m_ppItems[m_dwNbItem] = pItem;
    return m_dwNbItem++;
}

bool clDYNAR::bRemoveItemInd(unsigned int dwIndex) noexcept {
    if (dwIndex >= m_dwNbItem) return false;
    memmove(m_ppItems + dwIndex, m_ppItems + dwIndex + 1, static_cast<size_t>(m_dwNbItem - dwIndex - 1) * sizeof(void*));
    --m_dwNbItem;
    return true;
}

bool clDYNAR::bRemoveItem(const void* pItem) noexcept { return bRemoveItemInd(dwSearch(pItem)); }

unsigned int clDYNAR::dwSearch(const void* pItem) const noexcept {
    for (unsigned int i = 0; i < m_dwNbItem; ++i)
        if (_nCompare(m_ppItems[i], pItem) == 0) return i;
    return DYNAR_ABSENT;
}

// Heap sort: in place, no allocation, and every index it touches is inside the array whatever the
// routine answers, which a partition sort cannot promise for a routine that is not an order.
void clDYNAR::Sort() noexcept {
    const size_t n = m_dwNbItem;
    if (n < 2) return;
    auto Descend = [this](size_t nRacine, size_t nFin) {
        for (;;) {
            size_t nEnfant = 2 * nRacine + 1;
            if (nEnfant >= nFin) return;
            if (nEnfant + 1 < nFin && _nCompare(m_ppItems[nEnfant], m_ppItems[nEnfant + 1]) < 0) ++nEnfant;
            if (_nCompare(m_ppItems[nRacine], m_ppItems[nEnfant]) >= 0) return;
            void* p = m_ppItems[nRacine];
            m_ppItems[nRacine] = m_ppItems[nEnfant];
            m_ppItems[nEnfant] = p;
            nRacine = nEnfant;
        }
    };
    for (size_t i = n / 2; i-- > 0;) Descend(i, n);
    for (size_t nFin = n - 1; nFin > 0; --nFin) {
        void* p = m_ppItems[0];
        m_ppItems[0] = m_ppItems[nFin];
        m_ppItems[nFin] = p;
        Descend(0, nFin);
    }
}

bool clDYNAR::Compact() noexcept {
    if (m_dwNbItem == m_dwCapacite) return true;
    if (m_dwNbItem == 0) {
        Clear();
        return true;
    }
    void* p = realloc(m_ppItems, static_cast<size_t>(m_dwNbItem) * sizeof(void*));
    if (p == nullptr) return false;
    m_ppItems = static_cast<void**>(p);
    m_dwCapacite = m_dwNbItem;
    return true;
}

void clDYNAR::Clear() noexcept {
    free(m_ppItems);
    m_ppItems = nullptr;
    m_dwNbItem = 0;
    m_dwCapacite = 0;
}
