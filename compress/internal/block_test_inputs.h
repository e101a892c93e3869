// The inputs of the golden blocks, made by a seeded generator that tools/check_block_golden.py
// repeats byte for byte: x = (x * 1103515245 + 12345) mod 2^31, each byte from bits 16 and up.
#pragma once

#include <cstdint>
#include <string>

namespace ovbloc {

class CGenerateur {
public:
    explicit CGenerateur(uint32_t dwGraine) : m_dwEtat(dwGraine) {}
    uint32_t dwSuivant() {
        m_dwEtat = (m_dwEtat * 1103515245u + 12345u) & 0x7FFFFFFFu;
        return m_dwEtat >> 16;
    }

private:
    uint32_t m_dwEtat;
};

// 100,000 times the same byte.
inline std::string sSerie() { return std::string(100000, 'a'); }

// Four letters at random, with every eighth window of 4 KiB in random bytes: compressible enough to
// fill the dictionary, and the random windows make the ratio drop, which resets a full dictionary.
inline std::string sMelange() {
    CGenerateur cl(2024);
    std::string s(260000, '\0');
    for (size_t i = 0; i < s.size(); ++i) {
        const uint32_t dw = cl.dwSuivant();
        s[i] = (i >> 12) % 8 == 7 ? static_cast<char>(dw & 0xFF) : "ACGT"[dw & 3];
    }
    return s;
}

// Random bytes: no coder gains on them.
inline std::string sAleatoire(size_t nTaille, uint32_t dwGraine) {
    CGenerateur cl(dwGraine);
    std::string s(nTaille, '\0');
    for (char& c : s) c = static_cast<char>(cl.dwSuivant() & 0xFF);
    return s;
}

}  // namespace ovbloc
