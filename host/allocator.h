// The machine's allocator of counted blocks. The component keeps every text and binary value in
// these blocks, and the host builds the arguments it hands over in them too.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>

#include "component/interfaces/machine.h"

namespace ovhost {

class CStrMemAllocator final : public IStrMemAlloc {
public:
    // Answers of the allocation slots besides 0.
    enum : int {
        ALLOC_OK = 0,
        ALLOC_NO_MEMORY = 8,
        ALLOC_FOREIGN_BLOCK = 87,        // reallocation of a block this allocator did not make
        ALLOC_SIZE_OUT_OF_RANGE = 108,
    };
    // Sizes must stay below this, as every counted operation demands.
    static constexpr int64_t ms_nTailleMax = 0x7fffff00;

    explicit CStrMemAllocator(int nVersion = 2);
    CStrMemAllocator(const CStrMemAllocator&) = delete;
    CStrMemAllocator& operator=(const CStrMemAllocator&) = delete;
    ~CStrMemAllocator() = default;

    int nGetVersion() override;
    int nAlloue(void** ppBloc, int nTaille) override;
    int nRealloue(void** ppBloc, int nTaille) override;
    void Libere(void* pBloc) override;
    int nAlloueAvecFlags(void** ppBloc, int nTaille, unsigned int dwFlags) override;
    int nRealloueAvecFlags(void** ppBloc, int nTaille, unsigned int dwFlags) override;

    // Version 1 makes the component use the plain slots, 2 the slots with flags.
    void SetVersion(int nVersion) { m_nVersion.store(nVersion); }

    // Blocks the host builds for arguments: count 1, length set, terminator written. An empty
    // value is the null block, as the component expects.
    void* pvNewWideText(std::wstring_view sTexte);
    void* pvNewBytes(std::string_view sOctets, bool bBinaire);
    // Drops one reference; the last one frees the block.
    void ReleaseBlock(void* pData);

    // Reads a counted block as the component left it. False when the header is not sane
    // (negative length, length past the capacity, a wide length that is not whole characters).
    static bool s_bReadWide(const void* pData, std::wstring* psTexte);
    static bool s_bReadBytes(const void* pData, std::string* psOctets);
    static const STStrMemHeader* s_pstHeader(const void* pData);

    // Bookkeeping that tests read: blocks alive, and frees refused because the pointer did not
    // come from here or was already freed (refusing leaks a block rather than corrupting the heap).
    int64_t nLiveBlocks() const { return m_nLive.load(); }
    int64_t nRejectedFrees() const { return m_nRejected.load(); }
    // Calls of each slot since the last reset, so that tests can tell which slots a version drew.
    enum class ESlot { Alloue, Realloue, Libere, AlloueAvecFlags, RealloueAvecFlags, Count };
    int64_t nSlotCalls(ESlot eSlot) const { return m_tabSlotCalls[static_cast<size_t>(eSlot)].load(); }
    void ResetSlotCalls() {
        for (std::atomic<int64_t>& n : m_tabSlotCalls) n.store(0);
    }

private:
    int m_nAllocate(void** ppBloc, int nTaille);
    bool m_bLive(const void* pData);
    int m_nReallocate(void** ppBloc, int nTaille);

    std::mutex m_mutex;
    std::unordered_set<const void*> m_setLive;
    std::atomic<int> m_nVersion;
    std::atomic<int64_t> m_nLive{0};
    std::atomic<int64_t> m_nRejected{0};
    std::array<std::atomic<int64_t>, static_cast<size_t>(ESlot::Count)> m_tabSlotCalls{};
    void m_Count(ESlot eSlot) { m_tabSlotCalls[static_cast<size_t>(eSlot)].fetch_add(1, std::memory_order_relaxed); }
};

}  // namespace ovhost
