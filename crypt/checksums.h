// The checksums: a 32-bit CRC through a table its user fills, the reflected 32-bit CRC of any
// polynomial, the 16-bit CRC of polynomial 0x1021, and Adler-32 with the combination of two sums.
#pragma once

#include <cstddef>
#include <cstdint>

// 32-bit CRC, most significant bit first, no final inversion. Nothing here knows its polynomial:
// the user writes the 256 entries into m_table and sets m_bTableRemplie. Until then every
// operation leaves the CRC at 0, rather than running through a table of zeros as if it were valid.
class CCrc {
public:
    uint32_t m_table[256] = {};
    bool m_bTableRemplie = false;

    void PutByte(uint8_t by) noexcept;
    // Restarts from 0.
    uint32_t CalculeCRC(const uint8_t* pby, size_t nTaille) noexcept;
    // Continues from the current value.
    uint32_t AddBuffer(const uint8_t* pby, size_t nTaille) noexcept;
    uint32_t dwGetCRC() const noexcept { return m_dwCrc; }

private:
    uint32_t m_dwCrc = 0;
};

// 32-bit CRC, reflected, of the polynomial given in its usual (most significant bit first) form.
// The table is shared by all instances and rebuilt only when the polynomial changes; building and
// reading it are serialised, so threads using different polynomials never see a half-built table.
class CCrc2 {
public:
    static constexpr uint32_t kdwPolynomeIEEE = 0x04C11DB7;

    static void SetPolynome(uint32_t dwPolynome) noexcept;
    // Starts from ~dwGraine and answers the inverted register: the IEEE polynomial with seed 0 is
    // the standard CRC-32, and passing a previous result as seed continues it.
    static uint32_t nCalculeCRC32(const uint8_t* pby, size_t nTaille, uint32_t dwGraine) noexcept;
    // The same with a polynomial of the caller's, without touching the shared one.
    static uint32_t nCalculeCRC32(const uint8_t* pby, size_t nTaille, uint32_t dwGraine, uint32_t dwPolynome) noexcept;
};

// 16-bit CRC, polynomial 0x1021, start value 0, each byte shifted in below the register:
// crc = ((crc << 8) | byte) ^ table[crc >> 8].
class CCrc16 {
public:
    // The low byte of each wide character.
    static uint16_t CalcCrc16(const wchar_t* psz, size_t nLongueur) noexcept;
    static uint16_t CalcCrc16_Byte(const uint8_t* pby, size_t nTaille) noexcept;
};

// Adler-32, modulo 65,521; the seed of a fresh sum is 1. A null pby answers 1, the start value.
uint32_t nAdler32(uint32_t dwGraine, const uint8_t* pby, size_t nTaille) noexcept;
// The Adler-32 of A followed by B from the sums of A and of B and the length of B.
uint32_t nAdler32Combine(uint32_t dwAdlerA, uint32_t dwAdlerB, int64_t oTailleB) noexcept;
