// The money value as it crosses between the machine and the component: ten bytes, five unsigned
// 16-bit words, lowest first, read together as one two's-complement integer of millionths. The
// machine reads and writes it through this view, without the component's arithmetic.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int MONEY_MOTS = 5;             // 16-bit words
inline constexpr size_t MONEY_TAILLE = 10;       // bytes the machine copies, no padding
inline constexpr int64_t MONEY_ECHELLE = 1000000;  // the integer N stands for N / MONEY_ECHELLE
inline constexpr int MONEY_DECIMALES = 6;
inline constexpr int MONEY_BITS = 80;             // sign: the top bit of word 4
// Longest exact decimal text of a value ("-604462909807314587.353088"), terminator not counted.
inline constexpr size_t MONEY_TEXTE_MAX = 26;

struct STMoneyView {
    uint16_t awMots[MONEY_MOTS];  // awMots[0] holds the lowest 16 bits
};
static_assert(sizeof(STMoneyView) == MONEY_TAILLE);
static_assert(alignof(STMoneyView) == 2, "the value may sit at any even address");
