// Counted blocks: [STStrMemHeader][data ... capacity][4-byte terminator]. A registry of the live
// blocks lets the allocator refuse pointers it never handed out, or handed out and took back,
// without reading a byte of them.
#include "host/allocator.h"

#include <cstdlib>
#include <cstring>

namespace ovhost {
namespace {

constexpr size_t kHeader = sizeof(STStrMemHeader);
constexpr size_t kTerminator = 4;

STStrMemHeader* pstHeaderOf(void* pData) {
    return reinterpret_cast<STStrMemHeader*>(static_cast<char*>(pData) - kHeader);
}

bool bSizeInRange(int nTaille) { return nTaille >= 0 && nTaille < CStrMemAllocator::ms_nTailleMax; }

std::atomic_ref<int32_t> refCount(STStrMemHeader* pst) { return std::atomic_ref<int32_t>(pst->nRef); }

}  // namespace

CStrMemAllocator::CStrMemAllocator(int nVersion) : m_nVersion(nVersion) {}

int CStrMemAllocator::nGetVersion() { return m_nVersion.load(); }

bool CStrMemAllocator::m_bLive(const void* pData) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_setLive.count(pData) != 0;
}

int CStrMemAllocator::m_nAllocate(void** ppBloc, int nTaille) {
    if (ppBloc == nullptr) return ALLOC_FOREIGN_BLOCK;
    if (!bSizeInRange(nTaille)) return ALLOC_SIZE_OUT_OF_RANGE;
    char* pBase = static_cast<char*>(std::malloc(kHeader + static_cast<size_t>(nTaille) + kTerminator));
    if (pBase == nullptr) return ALLOC_NO_MEMORY;
    STStrMemHeader* pstH = reinterpret_cast<STStrMemHeader*>(pBase);
    pstH->nTailleUtile = 0;
    pstH->nRef = 1;
    pstH->nCapacite = nTaille;
    pstH->nLongueur = 0;
    char* pData = pBase + kHeader;
    // Length 0 reads as an empty text at once, and the terminator past the capacity holds
    // whatever length the owner later sets up to the capacity.
    std::memset(pData, 0, nTaille < 4 ? static_cast<size_t>(nTaille) : 4);
    std::memset(pData + nTaille, 0, kTerminator);
    try {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_setLive.insert(pData);
    } catch (...) {
        std::free(pBase);
        return ALLOC_NO_MEMORY;
    }
    *ppBloc = pData;
    m_nLive.fetch_add(1);
    return ALLOC_OK;
}

int CStrMemAllocator::m_nReallocate(void** ppBloc, int nTaille) {
    if (ppBloc == nullptr) return ALLOC_FOREIGN_BLOCK;
    if (*ppBloc == nullptr) return m_nAllocate(ppBloc, nTaille);
    if (!bSizeInRange(nTaille)) return ALLOC_SIZE_OUT_OF_RANGE;
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_setLive.find(*ppBloc);
    if (it == m_setLive.end()) return ALLOC_FOREIGN_BLOCK;
    char* pOld = static_cast<char*>(*ppBloc) - kHeader;
    char* pBase = static_cast<char*>(std::realloc(pOld, kHeader + static_cast<size_t>(nTaille) + kTerminator));
    if (pBase == nullptr) return ALLOC_NO_MEMORY;
    m_setLive.erase(it);
    char* pData = pBase + kHeader;
    try {
        m_setLive.insert(pData);
    } catch (...) {
        // The block lives on unregistered: it will leak rather than be freed wrongly.
    }
    STStrMemHeader* pstH = reinterpret_cast<STStrMemHeader*>(pBase);
    pstH->nCapacite = nTaille;
    if (pstH->nLongueur > nTaille) pstH->nLongueur = nTaille;
    if (pstH->nTailleUtile > nTaille) pstH->nTailleUtile = nTaille;
    // Only past the capacity: the owner may have written data it has not yet counted in the length.
    std::memset(pData + nTaille, 0, kTerminator);
    *ppBloc = pData;
    return ALLOC_OK;
}

int CStrMemAllocator::nAlloue(void** ppBloc, int nTaille) {
    m_Count(ESlot::Alloue);
    return m_nAllocate(ppBloc, nTaille);
}

int CStrMemAllocator::nRealloue(void** ppBloc, int nTaille) {
    m_Count(ESlot::Realloue);
    return m_nReallocate(ppBloc, nTaille);
}

int CStrMemAllocator::nAlloueAvecFlags(void** ppBloc, int nTaille, unsigned int /*dwFlags*/) {
    m_Count(ESlot::AlloueAvecFlags);
    return m_nAllocate(ppBloc, nTaille);
}

int CStrMemAllocator::nRealloueAvecFlags(void** ppBloc, int nTaille, unsigned int /*dwFlags*/) {
    m_Count(ESlot::RealloueAvecFlags);
    return m_nReallocate(ppBloc, nTaille);
}

void CStrMemAllocator::Libere(void* pBloc) {
    m_Count(ESlot::Libere);
    if (pBloc == nullptr) return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_setLive.erase(pBloc) == 0) {
            m_nRejected.fetch_add(1);
            return;
        }
    }
    std::free(static_cast<char*>(pBloc) - kHeader);
    m_nLive.fetch_sub(1);
}

void* CStrMemAllocator::pvNewWideText(std::wstring_view sTexte) {
    if (sTexte.empty()) return nullptr;
    const size_t nOctets = sTexte.size() * sizeof(wchar_t);
    if (nOctets >= static_cast<size_t>(ms_nTailleMax)) return nullptr;
    void* pData = nullptr;
    if (m_nAllocate(&pData, static_cast<int>(nOctets)) != ALLOC_OK) return nullptr;
    std::memcpy(pData, sTexte.data(), nOctets);
    pstHeaderOf(pData)->nLongueur = static_cast<int32_t>(nOctets);
    return pData;
}

void* CStrMemAllocator::pvNewBytes(std::string_view sOctets, bool bBinaire) {
    if (sOctets.empty()) return nullptr;
    if (sOctets.size() >= static_cast<size_t>(ms_nTailleMax)) return nullptr;
    void* pData = nullptr;
    if (m_nAllocate(&pData, static_cast<int>(sOctets.size())) != ALLOC_OK) return nullptr;
    std::memcpy(pData, sOctets.data(), sOctets.size());
    STStrMemHeader* pstH = pstHeaderOf(pData);
    pstH->nLongueur = static_cast<int32_t>(sOctets.size());
    if (bBinaire) pstH->nTailleUtile = static_cast<int32_t>(sOctets.size());
    return pData;
}

void CStrMemAllocator::ReleaseBlock(void* pData) {
    if (pData == nullptr) return;
    if (!m_bLive(pData)) {
        m_nRejected.fetch_add(1);
        return;
    }
    if (refCount(pstHeaderOf(pData)).fetch_sub(1) == 1) Libere(pData);
}

const STStrMemHeader* CStrMemAllocator::s_pstHeader(const void* pData) {
    return pData == nullptr ? nullptr : pstHeaderOf(const_cast<void*>(pData));
}

bool CStrMemAllocator::s_bReadBytes(const void* pData, std::string* psOctets) {
    psOctets->clear();
    if (pData == nullptr) return true;
    STStrMemHeader stH;
    std::memcpy(&stH, s_pstHeader(pData), sizeof stH);
    if (stH.nLongueur < 0 || stH.nLongueur >= ms_nTailleMax) return false;
    if (stH.nCapacite >= 0 && stH.nLongueur > stH.nCapacite) return false;
    psOctets->assign(static_cast<const char*>(pData), static_cast<size_t>(stH.nLongueur));
    return true;
}

bool CStrMemAllocator::s_bReadWide(const void* pData, std::wstring* psTexte) {
    psTexte->clear();
    if (pData == nullptr) return true;
    STStrMemHeader stH;
    std::memcpy(&stH, s_pstHeader(pData), sizeof stH);
    if (stH.nLongueur < 0 || stH.nLongueur >= ms_nTailleMax) return false;
    if (stH.nCapacite >= 0 && stH.nLongueur > stH.nCapacite) return false;
    if (stH.nLongueur % static_cast<int32_t>(sizeof(wchar_t)) != 0) return false;
    psTexte->resize(static_cast<size_t>(stH.nLongueur) / sizeof(wchar_t));
    std::memcpy(psTexte->data(), pData, static_cast<size_t>(stH.nLongueur));
    return true;
}

}  // namespace ovhost
