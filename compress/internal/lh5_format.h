// The alphabets and field widths of the "-lh5-" stream, shared by its encoder and decoder.
#pragma once

#include <cstddef>
#include <cstdint>

#include "compress/lh5.h"

namespace ovlh5::interne {

// Literal and length codes: 256 literals, then one code per match length 3..256.
inline constexpr int kNbCodesC = 256 + kMatchMax + 1 - kMatchMin;  // 510
inline constexpr int kBitsNbC = 9;
// A length L is sent as code L + kDecalageLongueur.
inline constexpr int kDecalageLongueur = 256 - kMatchMin;  // 253
// Code lengths of the literal table are themselves coded: 0..2 are runs of zeros, 3.. are 1..16.
inline constexpr int kNbCodesT = 16 + 3;  // 19
inline constexpr int kBitsNbT = 5;
// After the first three code-length lengths, two bits say how many of the next three are zero.
inline constexpr int kSpecialT = 3;
// Position codes: the bit length 0..13 of (distance - 1).
inline constexpr int kNbCodesP = kBitsDictionnaire + 1;  // 14
inline constexpr int kBitsNbP = 4;
inline constexpr int kLongueurCodeMax = 16;
// The symbol count of a block has 16 bits.
inline constexpr int kBitsTailleBloc = 16;

// The larger alphabet bounds every table.
inline constexpr int kNbCodesMax = kNbCodesC;

}  // namespace ovlh5::interne
