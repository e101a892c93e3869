// Little-endian fields of compressed blocks, and the bit accumulators of the two LZW coders.
#pragma once

#include <cstdint>
#include <cstring>

namespace ovbloc {

inline uint32_t dwLit32(const uint8_t* pby) noexcept {
    return static_cast<uint32_t>(pby[0]) | static_cast<uint32_t>(pby[1]) << 8 | static_cast<uint32_t>(pby[2]) << 16 |
           static_cast<uint32_t>(pby[3]) << 24;
}

inline void Ecrit32(uint8_t* pby, uint32_t dw) noexcept {
    pby[0] = static_cast<uint8_t>(dw);
    pby[1] = static_cast<uint8_t>(dw >> 8);
    pby[2] = static_cast<uint8_t>(dw >> 16);
    pby[3] = static_cast<uint8_t>(dw >> 24);
}

// Codes of the newer coder, least significant bits first. Each code is at most 16 bits and fewer
// than 8 bits wait between two codes, so 32 bits always hold what is pending.
struct STEcrivainLSB {
    uint8_t* pbyPos;
    uint8_t* pbyLimite;  // reaching it means the packed form is no smaller than the stored one
    uint32_t dwAccu = 0;
    uint32_t dwNbBits = 0;

    // False when the output reached its limit; nothing is written past it.
    bool bEcrit(uint32_t dwCode, uint32_t dwLargeur) noexcept {
        dwAccu |= dwCode << dwNbBits;
        dwNbBits += dwLargeur;
        while (dwNbBits >= 8) {
            if (pbyPos >= pbyLimite) return false;
            *pbyPos++ = static_cast<uint8_t>(dwAccu);
            dwAccu >>= 8;
            dwNbBits -= 8;
        }
        return true;
    }
    bool bVide() noexcept {
        if (dwNbBits == 0) return true;
        if (pbyPos >= pbyLimite) return false;
        *pbyPos++ = static_cast<uint8_t>(dwAccu);
        dwAccu = 0;
        dwNbBits = 0;
        return true;
    }
};

// Codes of the older coder, most significant bits first.
struct STEcrivainMSB {
    uint8_t* pbyPos;
    uint8_t* pbyLimite;
    uint32_t dwAccu = 0;
    uint32_t dwNbBits = 0;

    bool bEcrit(uint32_t dwCode, uint32_t dwLargeur) noexcept {
        dwAccu = dwAccu << dwLargeur | dwCode;
        dwNbBits += dwLargeur;
        while (dwNbBits >= 8) {
            if (pbyPos >= pbyLimite) return false;
            dwNbBits -= 8;
            *pbyPos++ = static_cast<uint8_t>(dwAccu >> dwNbBits);
        }
        dwAccu &= (1u << dwNbBits) - 1;
        return true;
    }
    bool bVide() noexcept {
        if (dwNbBits == 0) return true;
        if (pbyPos >= pbyLimite) return false;
        *pbyPos++ = static_cast<uint8_t>(dwAccu << (8 - dwNbBits));
        dwAccu = 0;
        dwNbBits = 0;
        return true;
    }
};

}  // namespace ovbloc
