// Counted blocks: the memory behind CXYString<char>, CXYString<wchar_t> and CZKBIN. A block is
// [STStrMemHeader][data][terminator room] and the value that travels is the data pointer. Blocks
// come from the machine's allocator, so a value crosses the border without a copy; without a
// machine (unit tests, tools) a built-in allocator with the same header and slots stands in.
#pragma once

#include <atomic>
#include <cstdint>

#include "component/interfaces/machine.h"

// Result codes of every counted operation besides the allocator's own.
enum : int {
    STRMEM_OK = 0,
    STRMEM_ERREUR_CONVERSION = 0x69,  // 105: text that does not convert
    STRMEM_ERREUR_TAILLE = 0x6c,      // 108: a length or capacity out of range
};
// Lengths and capacities, in bytes, stay strictly below this.
inline constexpr int64_t STRMEM_TAILLE_MAX = 0x7fffff00;
// Bytes the allocator keeps past the capacity, zeroed: room for any terminator.
inline constexpr int STRMEM_TERMINATEUR = 4;

class CBaseStrMem {
public:
    // The shared empty text handed out in place of a null block: zero bytes enough for any width.
    alignas(16) static const wchar_t ChaineVide[4];
    template <typename T>
    static const T* s_pVide() noexcept {
        return reinterpret_cast<const T*>(ChaineVide);
    }

    // The machine's allocator, or the built-in one while the machine has given none.
    static IStrMemAlloc* s_piAllocateur() noexcept;
    static IStrMemAlloc* s_piAllocateurInterne() noexcept;

    // Allocate or reallocate nTaille data bytes through the slots the allocator's version offers:
    // below 2 the plain slots, from 2 the slots with flags. 0 or an allocator code; 0x6c for a
    // size out of range, before the allocator is asked.
    static int nAllocStrMem(void** ppBloc, int64_t nTaille, unsigned int dwFlags = 0) noexcept;
    static int nReallocStrMem(void** ppBloc, int64_t nTaille, unsigned int dwFlags = 0) noexcept;

    // Counting. A null block is the empty value and counts nothing.
    static void s_AddRefStrMem(const void* pBloc) noexcept;
    // Drops one reference; the one that takes the count from 1 to 0 frees the block.
    static void s_ReleaseStrMem(void* pBloc) noexcept;
    static int s_nGetRef(const void* pBloc) noexcept;

    static STStrMemHeader* s_pstEntete(const void* pBloc) noexcept {
        return reinterpret_cast<STStrMemHeader*>(static_cast<uint8_t*>(const_cast<void*>(pBloc)) -
                                                 sizeof(STStrMemHeader));
    }
    // Bytes in use, capacity and useful size; 0 for a null block.
    static int s_nLongueur(const void* pBloc) noexcept { return pBloc ? s_pstEntete(pBloc)->nLongueur : 0; }
    static int s_nCapacite(const void* pBloc) noexcept { return pBloc ? s_pstEntete(pBloc)->nCapacite : 0; }

    // Makes *ppBloc a block that this holder alone may write, with room for nTaille bytes, keeping
    // its first min(length, nTaille) bytes. A null block is allocated; a private one grows in place
    // when short; a shared one is copied and the old reference dropped. The length is left as it
    // was, cut to nTaille. On failure the block is untouched.
    static int s_nPrepareEcriture(void** ppBloc, int64_t nTaille, unsigned int dwFlags = 0) noexcept;
    // Sets the length in bytes (at most the capacity) and writes a terminator of STRMEM_TERMINATEUR
    // zero bytes after it.
    static void s_SetLongueur(void* pBloc, int nLongueur) noexcept;

    // *ppBloc holds a copy of the nOctets bytes; 0 bytes release this reference and leave null. A
    // private block of enough capacity is reused; the source may lie inside the block itself.
    // bTailleUtile also sets the useful size to the length (binary values). The old value stays
    // on failure.
    static int s_nAffecte(void** ppBloc, const void* pSource, int64_t nOctets, bool bTailleUtile) noexcept;
    // Appends the bytes: an empty source does nothing, a null block takes a copy, a private block
    // grows in place, a shared one is rebuilt with its useful size. The old value stays on failure.
    static int s_nConcat(void** ppBloc, const void* pSource, int64_t nOctets) noexcept;
};
