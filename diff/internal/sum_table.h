// The block table of the difference search: Adler-32 sum of a source block to the block's offset,
// one entry per sum, the last block entered for a sum replacing the earlier one. Open addressing
// in two flat arrays, sized once for the block count, so a lookup is one or two cache lines and
// nothing is allocated per block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ovdiff {

class CTableSommes {
public:
    explicit CTableSommes(size_t nBlocs) {
        size_t nCapacite = 8;
        while (nCapacite < 2 * nBlocs) nCapacite *= 2;
        m_nMasque = nCapacite - 1;
        m_tabSommes.resize(nCapacite);
        m_tabOffsets.assign(nCapacite, kdwLibre);
    }

    bool bVide() const noexcept { return m_nNombre == 0; }

    void Pose(uint32_t dwSomme, uint32_t dwOffset) noexcept {
        for (size_t i = _nCase(dwSomme);; i = (i + 1) & m_nMasque) {
            if (m_tabOffsets[i] == kdwLibre) {
                m_tabSommes[i] = dwSomme;
                m_tabOffsets[i] = dwOffset;
                ++m_nNombre;
                return;
            }
            if (m_tabSommes[i] == dwSomme) {
                m_tabOffsets[i] = dwOffset;
                return;
            }
        }
    }

    bool bCherche(uint32_t dwSomme, uint32_t* pdwOffset) const noexcept {
        for (size_t i = _nCase(dwSomme);; i = (i + 1) & m_nMasque) {
            if (m_tabOffsets[i] == kdwLibre) return false;
            if (m_tabSommes[i] == dwSomme) {
                *pdwOffset = m_tabOffsets[i];
                return true;
            }
        }
    }

private:
    // Offsets are below 2^31, so this value is free to mark an empty slot.
    static constexpr uint32_t kdwLibre = 0xFFFFFFFFu;

    // The sums of 128-byte blocks crowd their low half below 32,641: mix both halves.
    size_t _nCase(uint32_t dwSomme) const noexcept {
        return static_cast<size_t>((uint64_t{dwSomme} * 0x9E3779B97F4A7C15ull) >> 32) & m_nMasque;
    }

    size_t m_nMasque = 0;
    size_t m_nNombre = 0;
    std::vector<uint32_t> m_tabSommes;
    std::vector<uint32_t> m_tabOffsets;
};

}  // namespace ovdiff
