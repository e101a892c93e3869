// The hash functions, CHashBase's buckets and load factors, and CHashTableBounce's array of
// linked slots with its size ladder.
#include "base/hash_table.h"

#include <cctype>
#include <climits>
#include <cstring>
#include <cwctype>
#include <new>

#include "base/str_mem.h"

const uint32_t g__ToutPretToutChaud[30] = {
    17,        53,        97,        193,        389,        769,        1543,       3079,
    6151,      12289,     24593,     49157,      98317,      196613,     393241,     786433,
    1572869,   3145739,   6291469,   12582917,   25165843,   50331653,   100663319,  201326611,
    402653189, 805306457, 1610612741, 3221225473u, 4294967291u, 0,
};

// ---------------------------------------------------------------------------------------------
// Hash functions

uint32_t dwHashValT(const void* pszTexte) noexcept {
    uint32_t dw = 0;
    if (pszTexte)
        for (const wchar_t* p = static_cast<const wchar_t*>(pszTexte); *p; ++p) dw += static_cast<uint32_t>(*p);
    return dw;
}

uint32_t dwHashValTA(const void* pszTexte) noexcept {
    uint32_t dw = 0;
    if (pszTexte)
        for (const unsigned char* p = static_cast<const unsigned char*>(pszTexte); *p; ++p) dw += *p;
    return dw;
}

uint32_t dwHashValTi(const void* pszTexte) noexcept {
    uint32_t dw = 0;
    if (pszTexte)
        for (const wchar_t* p = static_cast<const wchar_t*>(pszTexte); *p; ++p)
            dw += static_cast<uint32_t>(towupper(static_cast<wint_t>(*p)));
    return dw;
}

uint32_t dwHashValTiA(const void* pszTexte) noexcept {
    uint32_t dw = 0;
    if (pszTexte)
        for (const unsigned char* p = static_cast<const unsigned char*>(pszTexte); *p; ++p)
            dw += static_cast<uint32_t>(toupper(*p));
    return dw;
}

uint32_t dwTemplateZKDSTRHashVal(const void* pBloc) noexcept {
    const int n = CBaseStrMem::s_nLongueur(pBloc) / static_cast<int>(sizeof(wchar_t));
    const wchar_t* p = static_cast<const wchar_t*>(pBloc);
    uint32_t dw = 0;
    for (int i = 0; i < n; ++i) dw += static_cast<uint32_t>(p[i]);
    return dw;
}

int nTemplateZKDSTRCompare(const void* pBloc1, const void* pBloc2) noexcept {
    const int n1 = CBaseStrMem::s_nLongueur(pBloc1) / static_cast<int>(sizeof(wchar_t));
    const int n2 = CBaseStrMem::s_nLongueur(pBloc2) / static_cast<int>(sizeof(wchar_t));
    if (n1 != n2) return n1 < n2 ? -1 : 1;
    const wchar_t* p1 = static_cast<const wchar_t*>(pBloc1);
    const wchar_t* p2 = static_cast<const wchar_t*>(pBloc2);
    for (int i = 0; i < n1; ++i)
        if (p1[i] != p2[i]) return p1[i] < p2[i] ? -1 : 1;
    return 0;
}

bool bEstPremier(uint32_t n) noexcept {
    if (n < 2) return false;
    if (n % 2 == 0) return n == 2;
    for (uint64_t d = 3; d * d <= n; d += 2)
        if (n % d == 0) return false;
    return true;
}

uint32_t dwPremierSuivant(uint32_t n) noexcept {
    if (n <= 2) return 2;
    if (n > 4294967291u) return 4294967291u;  // the largest prime of 32 bits
    while (!bEstPremier(n)) ++n;
    return n;
}

// ---------------------------------------------------------------------------------------------
// CHashBase

CHashBase::CHashBase(int nNbBucket) noexcept
    : m_nNbBucket(static_cast<int>(dwPremierSuivant(nNbBucket > 0 ? static_cast<uint32_t>(nNbBucket) : 1u))) {}

CHashBase::~CHashBase() {
    if (m_pclBuckets) {
        for (int i = 0; i < m_nNbBucket; ++i) m_pclBuckets[i].~CListeDeBuffer();
        free(m_pclBuckets);
    }
}

bool CHashBase::_bAlloueBuckets() noexcept {
    if (m_pclBuckets) return true;
    void* p = malloc(static_cast<size_t>(m_nNbBucket) * sizeof(CListeDeBuffer));
    if (p == nullptr) return false;
    m_pclBuckets = static_cast<CListeDeBuffer*>(p);
    for (int i = 0; i < m_nNbBucket; ++i) new (&m_pclBuckets[i]) CListeDeBuffer(sizeof(STPaire));
    return true;
}

bool CHashBase::Ajoute(const void* pKey, void* pValue) noexcept {
    if (!_bAlloueBuckets()) return false;
    const STPaire stPaire{pKey, pValue};
    if (m_pclBuckets[dwHash(pKey) % static_cast<uint32_t>(m_nNbBucket)].Ajoute(&stPaire, 0) == nullptr) return false;
    ++m_nNbElement;
    return true;
}

bool CHashBase::AjouteDYN(const void* pKey, void* pValue) noexcept {
    if (!Ajoute(pKey, pValue)) return false;
    _RedimentionneTablePlus();
    return true;
}

CListeDeBuffer* CHashBase::_pclCherche(const void* pKey, STPaire** ppstPaire) const noexcept {
    if (m_pclBuckets == nullptr || m_nNbElement == 0) return nullptr;
    CListeDeBuffer* pclListe = &m_pclBuckets[dwHash(pKey) % static_cast<uint32_t>(m_nNbBucket)];
    for (void* p = pclListe->pVaSurNumero(0); p; p = pclListe->pVaSuivant()) {
        auto* pst = static_cast<STPaire*>(p);
        if (bEgal(pst->pKey, pKey)) {
            *ppstPaire = pst;
            return pclListe;
        }
    }
    return nullptr;
}

bool CHashBase::bRecherche(const void* pKey, void** ppValue, const void** ppKey) noexcept {
    STPaire* pst = nullptr;
    m_pclBucketCourant = _pclCherche(pKey, &pst);
    if (m_pclBucketCourant == nullptr) return false;
    if (ppValue) *ppValue = pst->pValue;
    if (ppKey) *ppKey = pst->pKey;
    return true;
}

bool CHashBase::bRechercheConst(const void* pKey, void** ppValue, const void** ppKey) const noexcept {
    // The walk moves the bucket's current element, which is no part of the table's value.
    STPaire* pst = nullptr;
    if (_pclCherche(pKey, &pst) == nullptr) return false;
    if (ppValue) *ppValue = pst->pValue;
    if (ppKey) *ppKey = pst->pKey;
    return true;
}

bool CHashBase::bSupprime(const void* pKey, void** ppValue, const void** ppKey) noexcept {
    if (!bRecherche(pKey, ppValue, ppKey)) return false;
    return SupprimeCourant();
}

bool CHashBase::bSupprimeDYN(const void* pKey, void** ppValue, const void** ppKey) noexcept {
    if (!bSupprime(pKey, ppValue, ppKey)) return false;
    _RedimentionneTableMoins();
    return true;
}

bool CHashBase::SupprimeCourant() noexcept {
    if (m_pclBucketCourant == nullptr || !m_pclBucketCourant->SupprimeCourant()) return false;
    m_pclBucketCourant = nullptr;
    --m_nNbElement;
    return true;
}

void CHashBase::SupprimeTout() noexcept {
    if (m_pclBuckets)
        for (int i = 0; i < m_nNbBucket; ++i) m_pclBuckets[i].SupprimeTout();
    m_nNbElement = 0;
    m_pclBucketCourant = nullptr;
}

void CHashBase::SetNiveau(int nHaut, int nBas) noexcept {
    if (nHaut > 0) m_nNiveauHaut = nHaut;
    if (nBas >= 0 && nBas < m_nNiveauHaut) m_nNiveauBas = nBas;
}

bool CHashBase::RedimensionneTable(int nTaille) noexcept {
    if (nTaille <= 0) return true;
    return _bRedimensionne(static_cast<int>(dwPremierSuivant(static_cast<uint32_t>(nTaille))));
}

// Moves every pair into a new bucket array. The elements themselves move, relinked, so that a
// resize needs one allocation, the bucket array, and cannot fail halfway. Each old chain is walked
// from its head and appended, which keeps the order of pairs that land in the same new bucket:
// duplicates stay last-added first.
bool CHashBase::_bRedimensionne(int nNbBucket) noexcept {
    if (nNbBucket == m_nNbBucket) return true;
    if (m_pclBuckets == nullptr) {
        m_nNbBucket = nNbBucket;
        return true;
    }
    void* p = malloc(static_cast<size_t>(nNbBucket) * sizeof(CListeDeBuffer));
    if (p == nullptr) return false;
    auto* pclNouveaux = static_cast<CListeDeBuffer*>(p);
    for (int i = 0; i < nNbBucket; ++i) new (&pclNouveaux[i]) CListeDeBuffer(sizeof(STPaire));
    for (int i = 0; i < m_nNbBucket; ++i) {
        CListeDeBuffer& clAncien = m_pclBuckets[i];
        for (void* q = clAncien.pVaSurNumero(0); q; q = clAncien.pCourant()) {
            const STPaire* pst = static_cast<const STPaire*>(q);
            clAncien.DeplaceCourant(&pclNouveaux[dwHash(pst->pKey) % static_cast<uint32_t>(nNbBucket)]);
        }
        clAncien.~CListeDeBuffer();
    }
    free(m_pclBuckets);
    m_pclBuckets = pclNouveaux;
    m_nNbBucket = nNbBucket;
    m_pclBucketCourant = nullptr;
    return true;
}

void CHashBase::_RedimentionneTablePlus() noexcept {
    if (static_cast<int64_t>(m_nNbElement) < static_cast<int64_t>(m_nNiveauHaut) * m_nNbBucket) return;
    if (m_nNbBucket > INT_MAX / 2) return;
    _bRedimensionne(static_cast<int>(dwPremierSuivant(static_cast<uint32_t>(m_nNbBucket) * 2)));
}

void CHashBase::_RedimentionneTableMoins() noexcept {
    if (static_cast<int64_t>(m_nNbElement) >= static_cast<int64_t>(m_nNiveauBas) * m_nNbBucket) return;
    int nNouveau = static_cast<int>(dwPremierSuivant(static_cast<uint32_t>(m_nNbBucket / 2)));
    if (nNouveau < kNbBucketMin) nNouveau = kNbBucketMin;
    if (nNouveau < m_nNbBucket) _bRedimensionne(nNouveau);
}

// ---------------------------------------------------------------------------------------------
// CHashTableBounce

namespace {

int nCompareAdresses(const void* p1, const void* p2) { return p1 == p2 ? 0 : 1; }

uint32_t dwHashAdresse(const void* p) {
    const uint64_t n = reinterpret_cast<uintptr_t>(p);
    return static_cast<uint32_t>(n ^ (n >> 32));
}

}  // namespace

CHashTableBounce::CHashTableBounce(uint32_t dwTaille, PFNCMPHASH pfnCmp, PFNHASHVAL pfnHash) noexcept
    : m_pfnCmp(pfnCmp ? pfnCmp : nCompareAdresses), m_pfnHash(pfnHash ? pfnHash : dwHashAdresse) {
    __Init(dwTaille, true);
}

CHashTableBounce::~CHashTableBounce() { __LibereTout(); }

void CHashTableBounce::__LibereTout() noexcept {
    free(m_pstTable);
    free(m_pdwBuckets);
    m_pstTable = nullptr;
    m_pdwBuckets = nullptr;
    m_dwCapacite = 0;
    m_dwNbBucket = 0;
    m_dwLibre = 0;
    m_dwNbElement = 0;
    m_bParse = 0;
}

// Chooses the level for dwTaille elements; the arrays themselves are made by the first __bGrow,
// so that a table that stays empty costs nothing and a failed allocation is a failed add.
void CHashTableBounce::__Init(uint32_t dwTaille, bool bReset) noexcept {
    if (bReset) m_nNiveau = 0;
    while (m_nNiveau < HASH_NIVEAU_MAX && g__ToutPretToutChaud[m_nNiveau] / 2 < dwTaille) ++m_nNiveau;
}

const _stELEMENT* CHashTableBounce::pstGetElement(uint32_t dwIndex) const noexcept {
    if (dwIndex == 0 || dwIndex > m_dwCapacite) return nullptr;
    const _stELEMENT* pst = &m_pstTable[dwIndex - 1];
    return pst->dwPrecedent == kLibre ? nullptr : pst;
}

uint32_t CHashTableBounce::__dwBucket(const void* pKey) const noexcept { return m_pfnHash(pKey) % m_dwNbBucket; }

void CHashTableBounce::__Lie(uint32_t dwIndex) noexcept {
    _stELEMENT& st = m_pstTable[dwIndex - 1];
    uint32_t& dwTete = m_pdwBuckets[__dwBucket(st.pKey)];
    st.dwPrecedent = 0;
    st.dwSuivant = dwTete;
    if (dwTete) m_pstTable[dwTete - 1].dwPrecedent = dwIndex;
    dwTete = dwIndex;
}

void CHashTableBounce::__Delie(uint32_t dwIndex) noexcept {
    _stELEMENT& st = m_pstTable[dwIndex - 1];
    if (st.dwPrecedent)
        m_pstTable[st.dwPrecedent - 1].dwSuivant = st.dwSuivant;
    else
        m_pdwBuckets[__dwBucket(st.pKey)] = st.dwSuivant;
    if (st.dwSuivant) m_pstTable[st.dwSuivant - 1].dwPrecedent = st.dwPrecedent;
}

void CHashTableBounce::__DeleteFromHash(uint32_t dwIndex) noexcept {
    __Delie(dwIndex);
    _stELEMENT& st = m_pstTable[dwIndex - 1];
    st.pKey = nullptr;
    st.pValue = nullptr;
    st.dwPrecedent = kLibre;
    st.dwSuivant = m_dwLibre;
    m_dwLibre = dwIndex;
    --m_dwNbElement;
}

uint32_t CHashTableBounce::__dwCherche(const void* pKey) const noexcept {
    if (m_dwNbElement == 0) return 0;
    for (uint32_t dw = m_pdwBuckets[__dwBucket(pKey)]; dw; dw = m_pstTable[dw - 1].dwSuivant)
        if (m_pfnCmp(m_pstTable[dw - 1].pKey, pKey) == 0) return dw;
    return 0;
}

bool CHashTableBounce::bAddElement(const void* pKey, void* pValue) noexcept {
    if (m_dwLibre == 0 && !__bGrow()) return false;
    const uint32_t dwIndex = m_dwLibre;
    _stELEMENT& st = m_pstTable[dwIndex - 1];
    m_dwLibre = st.dwSuivant;
    st.pKey = pKey;
    st.pValue = pValue;
    __Lie(dwIndex);
    ++m_dwNbElement;
    return true;
}

bool CHashTableBounce::bGetElement(const void* pKey, void** ppValue, const void** ppKey) const noexcept {
    const uint32_t dw = __dwCherche(pKey);
    if (dw == 0) return false;
    if (ppValue) *ppValue = m_pstTable[dw - 1].pValue;
    if (ppKey) *ppKey = m_pstTable[dw - 1].pKey;
    return true;
}

void* CHashTableBounce::pGetElement(const void* pKey) const noexcept {
    const uint32_t dw = __dwCherche(pKey);
    return dw ? m_pstTable[dw - 1].pValue : nullptr;
}

bool CHashTableBounce::bDeleteElement(const void* pKey, void** ppValue, const void** ppKey) noexcept {
    const uint32_t dw = __dwCherche(pKey);
    if (dw == 0) return false;
    if (ppValue) *ppValue = m_pstTable[dw - 1].pValue;
    if (ppKey) *ppKey = m_pstTable[dw - 1].pKey;
    __DeleteFromHash(dw);
    // Shrink once the table holds less than a quarter of the level below; a failed shrink leaves
    // the table larger than it needs, which is harmless.
    if (!m_bParse && m_nNiveau > 0 &&
        static_cast<uint64_t>(m_dwNbElement) * 4 < g__ToutPretToutChaud[m_nNiveau - 1])
        __bReduce();
    return true;
}

void CHashTableBounce::DeleteAll(uint32_t dwTaille) noexcept {
    __LibereTout();
    __Init(dwTaille, true);
}

bool CHashTableBounce::__bGrow() noexcept {
    // The first growth makes the arrays at the chosen level; later ones climb one level.
    const int nNiveau = m_pstTable ? m_nNiveau + 1 : m_nNiveau;
    if (nNiveau > HASH_NIVEAU_MAX) return false;
    const uint32_t dwNbBucket = g__ToutPretToutChaud[nNiveau];
    const uint32_t dwCapacite = dwNbBucket / 2;
    if (static_cast<uint64_t>(dwCapacite) * sizeof(_stELEMENT) > SIZE_MAX / 2) return false;
    void* pTable = realloc(m_pstTable, static_cast<size_t>(dwCapacite) * sizeof(_stELEMENT));
    if (pTable == nullptr) return false;
    m_pstTable = static_cast<_stELEMENT*>(pTable);
    void* pBuckets = realloc(m_pdwBuckets, static_cast<size_t>(dwNbBucket) * sizeof(uint32_t));
    if (pBuckets == nullptr) return false;  // the table block is larger than its capacity says: harmless
    m_pdwBuckets = static_cast<uint32_t*>(pBuckets);
    // The new elements go free, in index order; the list was empty, since growth comes only then.
    for (uint32_t i = m_dwCapacite + 1; i <= dwCapacite; ++i) {
        _stELEMENT& st = m_pstTable[i - 1];
        st.pKey = nullptr;
        st.pValue = nullptr;
        st.dwPrecedent = kLibre;
        st.dwSuivant = i < dwCapacite ? i + 1 : 0;
    }
    m_dwLibre = m_dwCapacite + 1;
    m_dwCapacite = dwCapacite;
    m_dwNbBucket = dwNbBucket;
    m_nNiveau = nNiveau;
    __RehashElement();
    return true;
}

void CHashTableBounce::__RehashElement() noexcept {
    memset(m_pdwBuckets, 0, static_cast<size_t>(m_dwNbBucket) * sizeof(uint32_t));
    for (uint32_t i = 1; i <= m_dwCapacite; ++i)
        if (m_pstTable[i - 1].dwPrecedent != kLibre) __Lie(i);
}

bool CHashTableBounce::__bReduce() noexcept {
    int nNiveau = m_nNiveau - 1;
    while (nNiveau > 0 && static_cast<uint64_t>(m_dwNbElement) * 2 < g__ToutPretToutChaud[nNiveau - 1]) --nNiveau;
    const uint32_t dwNbBucket = g__ToutPretToutChaud[nNiveau];
    const uint32_t dwCapacite = dwNbBucket / 2;
    __Compact(dwCapacite);
    // Shrinking blocks: a refused realloc keeps the larger block, which still serves.
    if (void* p = realloc(m_pstTable, static_cast<size_t>(dwCapacite) * sizeof(_stELEMENT)))
        m_pstTable = static_cast<_stELEMENT*>(p);
    if (void* p = realloc(m_pdwBuckets, static_cast<size_t>(dwNbBucket) * sizeof(uint32_t)))
        m_pdwBuckets = static_cast<uint32_t*>(p);
    m_dwCapacite = dwCapacite;
    m_dwNbBucket = dwNbBucket;
    m_nNiveau = nNiveau;
    // The free list: the free slots below the new capacity, in index order.
    m_dwLibre = 0;
    for (uint32_t i = dwCapacite; i >= 1; --i)
        if (m_pstTable[i - 1].dwPrecedent == kLibre) {
            m_pstTable[i - 1].dwSuivant = m_dwLibre;
            m_dwLibre = i;
        }
    __RehashElement();
    return true;
}

// Moves the live elements above the new capacity into free slots below it, each taking its
// neighbours' links with it, so that the chains stay whole until the rehash.
void CHashTableBounce::__Compact(uint32_t dwNouvelleCapacite) noexcept {
    uint32_t dwBas = 1;
    for (uint32_t dwHaut = m_dwCapacite; dwHaut > dwNouvelleCapacite; --dwHaut) {
        _stELEMENT& stHaut = m_pstTable[dwHaut - 1];
        if (stHaut.dwPrecedent == kLibre) continue;
        while (dwBas <= dwNouvelleCapacite && m_pstTable[dwBas - 1].dwPrecedent != kLibre) ++dwBas;
        if (dwBas > dwNouvelleCapacite) return;  // cannot happen: the count fits the new capacity
        _stELEMENT& stBas = m_pstTable[dwBas - 1];
        stBas = stHaut;
        if (stBas.dwPrecedent)
            m_pstTable[stBas.dwPrecedent - 1].dwSuivant = dwBas;
        else
            m_pdwBuckets[__dwBucket(stBas.pKey)] = dwBas;
        if (stBas.dwSuivant) m_pstTable[stBas.dwSuivant - 1].dwPrecedent = dwBas;
        stHaut.dwPrecedent = kLibre;
        stHaut.dwSuivant = 0;
        stHaut.pKey = nullptr;
        stHaut.pValue = nullptr;
    }
}

bool CHashTableBounce::bParseTable(uint32_t* pdwCurseur, int bStopALaFin, const void** ppKey, void** ppValue) noexcept {
    if (pdwCurseur == nullptr) return false;
    if (*pdwCurseur == 0) m_bParse = 1;
    for (uint32_t i = *pdwCurseur + 1; i <= m_dwCapacite && i > *pdwCurseur; ++i) {
        const _stELEMENT& st = m_pstTable[i - 1];
        if (st.dwPrecedent == kLibre) continue;
        *pdwCurseur = i;
        if (ppKey) *ppKey = st.pKey;
        if (ppValue) *ppValue = st.pValue;
        return true;
    }
    *pdwCurseur = m_dwCapacite;
    if (bStopALaFin) m_bParse = 0;
    return false;
}

bool CHashTableBounce::bParseSetElement(uint32_t dwCurseur, void* pValue) noexcept {
    if (pstGetElement(dwCurseur) == nullptr) return false;
    m_pstTable[dwCurseur - 1].pValue = pValue;
    return true;
}

bool CHashTableBounce::bParseSetKey(uint32_t dwCurseur, const void* pKey) noexcept {
    if (pstGetElement(dwCurseur) == nullptr) return false;
    __Delie(dwCurseur);
    m_pstTable[dwCurseur - 1].pKey = pKey;
    __Lie(dwCurseur);
    return true;
}
