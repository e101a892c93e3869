// Variants in and out of the stored form of memory-list keys and values.
#pragma once

#include <vector>

#include "memory/memory_lists.h"

class CAny;

namespace ovmem {

// A key or value ready for the engine; st points into tab.
struct STParametreMem {
    STDonneeMem st{kcReelCourt, nullptr, 0};
    std::vector<uint8_t> tab;
};

// The stored form of a variant: wide texts 'W' with their terminator, 8-bit texts and buffers 'B'
// with one, integers 'L' or 'Q' in 8 bytes, reals 'D', anything else 'F' from the first four bytes
// of its payload. Money and single floats are stored as reals. False, with the stored length in
// *pnTrop, for a text or buffer past kTailleMaxDonnee; throws only std::bad_alloc.
bool bConvParam(const CAny* pclValeur, STParametreMem* pst, int* pnTrop);

// A stored key or value back as a variant: 'W' wide text, 'B' and 'T' 8-bit text, 'D' and 'F'
// real, 'E' 16-bit, 'L' 32-bit and 'Q' 64-bit integer; an unknown code gives the empty text.
// False when memory fails.
bool bVariantDepuisDonnee(const STDonneeMem& st, CAny* pclSortie) noexcept;

}  // namespace ovmem
