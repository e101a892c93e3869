// The LZW decoder of the old compacted format, over byte sources and sinks so that the file
// function and the fuzzer drive the same code. Private to the compression family.
#pragma once

#include <cstddef>
#include <cstdint>

#include "compress/lh5.h"

namespace ovcompacte::interne {

inline constexpr char kMagieAncienne[] = "MTOLVERALZCS@";
inline constexpr size_t kTailleMagieAncienne = 13;
inline constexpr size_t kTailleEnteteAncien = 21;
inline constexpr int kCodeReinit = 256;
inline constexpr int kLargeurMin = 9;
inline constexpr int kLargeurMax = 14;
inline constexpr int kNbCodes = 1 << kLargeurMax;  // 16,384 table entries

// The two sizes of an old header (big endian after the magic).
struct STEnteteAncien {
    uint32_t nOriginale = 0;
    uint32_t nCompactee = 0;
};
// False when the 21 bytes do not start with the magic.
bool bLitEnteteAncien(const uint8_t* pby, size_t nTaille, STEnteteAncien* pstEntete) noexcept;

// Decodes the codes that piSource gives (the bytes after the header) into exactly nOriginale bytes.
// Every code is checked against the table: a code past the next free one, a chain that would
// overflow the stack, a stream that does not start with a reset, or a stream that ends while a
// code is still needed (beyond one code's worth of zero padding, for a writer that dropped its
// last partial byte) is CORROMPU. Extra codes after the original size are ignored. Output goes to
// piPuits in blocks of at most 16 KiB (a sink that refuses one stops the decoding).
ovlh5::EResultat eDecodeLzw(ovlh5::ISource* piSource, ovlh5::IPuits* piPuits, uint64_t nOriginale) noexcept;

// The header of an old-format file: 0, -1 when it cannot be opened or read, -2 without the magic.
int nLitEnteteAncienFichier(const char* pszNom, STEnteteAncien* pstEntete) noexcept;

// nOldDecompacte with the codes of compacted files (0, 1, 2, 3 for no magic, 4 corrupt, 5, 6, 7).
// The destination is written beside its name and put in place only when whole.
int nDecompacteAncien(const char* pszSource, const char* pszDestination) noexcept;

}  // namespace ovcompacte::interne
