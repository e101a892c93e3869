// The checksums against bitwise references written here from their definitions, and against
// published check values; the Adler-32 combination over random splits.
#include "crypt/checksums.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

const uint8_t* pbyDe(const std::string& s) { return reinterpret_cast<const uint8_t*>(s.data()); }

// Reflected CRC-32 one bit at a time, no table.
uint32_t dwCrc32Bits(uint32_t dwPolynome, const std::string& s, uint32_t dwGraine = 0) {
    uint32_t dwReflechi = 0;
    for (int i = 0; i < 32; ++i) dwReflechi |= ((dwPolynome >> i) & 1u) << (31 - i);
    uint32_t c = ~dwGraine;
    for (unsigned char by : s) {
        c ^= by;
        for (int k = 0; k < 8; ++k) c = (c >> 1) ^ ((c & 1) ? dwReflechi : 0);
    }
    return ~c;
}

// CRC-16 of the update rule ((crc << 8) | byte) ^ T[crc >> 8], with T computed bit by bit.
uint16_t wCrc16Bits(const std::string& s) {
    uint16_t wCrc = 0;
    for (unsigned char by : s) {
        uint32_t t = uint32_t{static_cast<uint16_t>(wCrc >> 8)} << 8;
        for (int k = 0; k < 8; ++k) t = (t & 0x8000) ? (t << 1) ^ 0x1021 : t << 1;
        wCrc = static_cast<uint16_t>(((wCrc << 8) | by) ^ t);
    }
    return wCrc;
}

uint32_t dwAdler32Simple(const std::string& s) {
    uint64_t a = 1, b = 0;
    for (unsigned char by : s) {
        a = (a + by) % 65521;
        b = (b + a) % 65521;
    }
    return static_cast<uint32_t>((b << 16) | a);
}

std::string sAleatoire(std::mt19937& gen, size_t n) {
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>(gen());
    return s;
}

TEST(Crc32, KnownValuesAndBitwiseReferenceAgree) {
    const std::string sFrancais = "\xC3\xA9t\xC3\xA9 \xC3\xA0 l'\xC5\x93uvre \xF0\x9F\x8E\xB5";  // été à l'œuvre + U+1F3B5
    const struct {
        int nLigne;
        std::string s;
        uint32_t dwAttendu;
    } tabCas[] = {
        {__LINE__, "", 0},
        {__LINE__, "123456789", 0xCBF43926},
        {__LINE__, "a", 0xE8B7BE43},
        {__LINE__, "The quick brown fox jumps over the lazy dog", 0x414FA339},
        {__LINE__, std::string(1, '\0'), 0xD202EF8D},
    };
    for (const auto& c : tabCas) {
        EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe(c.s), c.s.size(), 0), c.dwAttendu) << "row " << c.nLigne;
        EXPECT_EQ(dwCrc32Bits(CCrc2::kdwPolynomeIEEE, c.s), c.dwAttendu) << "reference, row " << c.nLigne;
    }
    EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe(sFrancais), sFrancais.size(), 0),
              dwCrc32Bits(CCrc2::kdwPolynomeIEEE, sFrancais));
}

TEST(Crc32, SeedContinuesAPreviousResult) {
    std::mt19937 gen(7);
    for (int i = 0; i < 50; ++i) {
        const std::string s = sAleatoire(gen, gen() % 3000);
        const size_t nCoupe = s.empty() ? 0 : gen() % s.size();
        const uint32_t dwDebut = CCrc2::nCalculeCRC32(pbyDe(s), nCoupe, 0);
        EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe(s) + nCoupe, s.size() - nCoupe, dwDebut),
                  CCrc2::nCalculeCRC32(pbyDe(s), s.size(), 0));
    }
}

// Every length around the folded path's thresholds (64 bytes, then steps of 16 and 64), at
// unaligned starts and with any seed, gives the bit-by-bit answer.
TEST(Crc32, FoldedAndTablePathsAgreeWithTheBitwiseReference) {
    std::mt19937 gen(11);
    const std::string sTout = sAleatoire(gen, 4200);
    for (size_t nTaille = 0; nTaille <= 300; ++nTaille) {
        const size_t oDebut = nTaille % 7;
        const std::string s = sTout.substr(oDebut, nTaille);
        const uint32_t dwGraine = nTaille % 3 == 0 ? 0 : static_cast<uint32_t>(gen());
        ASSERT_EQ(CCrc2::nCalculeCRC32(pbyDe(sTout) + oDebut, nTaille, dwGraine, CCrc2::kdwPolynomeIEEE),
                  dwCrc32Bits(CCrc2::kdwPolynomeIEEE, s, dwGraine))
            << "length " << nTaille;
    }
    EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe(sTout), sTout.size(), 0), dwCrc32Bits(CCrc2::kdwPolynomeIEEE, sTout));
}

TEST(Crc32, OtherPolynomialMatchesBitwiseReferenceAndCanBeSwitchedBack) {
    const uint32_t dwCastagnoli = 0x1EDC6F41;
    std::mt19937 gen(11);
    const std::string s = sAleatoire(gen, 1000);
    CCrc2::SetPolynome(dwCastagnoli);
    EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe("123456789"), 9, 0), 0xE3069283u) << "published CRC-32C check value";
    EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe(s), s.size(), 0), dwCrc32Bits(dwCastagnoli, s));
    CCrc2::SetPolynome(CCrc2::kdwPolynomeIEEE);
    EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe("123456789"), 9, 0), 0xCBF43926u);
    EXPECT_EQ(CCrc2::nCalculeCRC32(pbyDe(s), s.size(), 0, dwCastagnoli), dwCrc32Bits(dwCastagnoli, s))
        << "explicit polynomial leaves the shared one alone";
}

TEST(Crc32, ThreadsSwitchingPolynomialsNeverSeeAHalfBuiltTable) {
    // Two threads keep switching the shared polynomial while two others compute: every answer must
    // be the CRC of one polynomial or the other, never of a table caught mid-build.
    const std::string s(4096, '\x5A');
    const uint32_t tabPoly[2] = {CCrc2::kdwPolynomeIEEE, 0x1EDC6F41};
    const uint32_t tabAttendu[2] = {dwCrc32Bits(tabPoly[0], s), dwCrc32Bits(tabPoly[1], s)};
    std::vector<std::thread> tabFils;
    std::atomic<int> nFaux{0};
    for (int t = 0; t < 2; ++t)
        tabFils.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) CCrc2::SetPolynome(tabPoly[(t + i) % 2]);
        });
    for (int t = 0; t < 2; ++t)
        tabFils.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                const uint32_t dw = CCrc2::nCalculeCRC32(pbyDe(s), s.size(), 0);
                if (dw != tabAttendu[0] && dw != tabAttendu[1]) ++nFaux;
            }
        });
    for (auto& f : tabFils) f.join();
    EXPECT_EQ(nFaux.load(), 0);
    CCrc2::SetPolynome(CCrc2::kdwPolynomeIEEE);
}

TEST(CrcUserTable, FollowsTheTableItIsGivenMostSignificantBitFirst) {
    CCrc clCrc;
    EXPECT_EQ(clCrc.CalculeCRC(pbyDe("abc"), 3), 0u) << "no table, no CRC";
    // The non-reflected table of 0x04C11DB7; with no inversions that is the plain MSB-first CRC.
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n << 24;
        for (int k = 0; k < 8; ++k) c = (c & 0x80000000u) ? (c << 1) ^ 0x04C11DB7u : c << 1;
        clCrc.m_table[n] = c;
    }
    clCrc.m_bTableRemplie = true;
    auto dwBits = [](const std::string& s) {
        uint32_t c = 0;
        for (unsigned char by : s) {
            c ^= uint32_t{by} << 24;
            for (int k = 0; k < 8; ++k) c = (c & 0x80000000u) ? (c << 1) ^ 0x04C11DB7u : c << 1;
        }
        return c;
    };
    const std::string s = "na\xC3\xAFve fa\xC3\xA7" "ade";
    EXPECT_EQ(clCrc.CalculeCRC(pbyDe(s), s.size()), dwBits(s));
    clCrc.CalculeCRC(pbyDe(s), 4);
    EXPECT_EQ(clCrc.AddBuffer(pbyDe(s) + 4, s.size() - 4), dwBits(s)) << "AddBuffer continues";
    EXPECT_EQ(clCrc.CalculeCRC(pbyDe(s), s.size()), dwBits(s)) << "CalculeCRC restarts";
}

TEST(Crc16, KnownValuesBytesAndWideLowBytes) {
    const struct {
        int nLigne;
        std::string s;
        uint16_t wAttendu;
    } tabCas[] = {
        {__LINE__, "", 0},
        {__LINE__, "A", 0x0041},  // a register of 0 passes the first byte through
        {__LINE__, "123456789", wCrc16Bits("123456789")},
        {__LINE__, "\xE9t\xE9", wCrc16Bits("\xE9t\xE9")},
    };
    for (const auto& c : tabCas)
        EXPECT_EQ(CCrc16::CalcCrc16_Byte(pbyDe(c.s), c.s.size()), c.wAttendu) << "row " << c.nLigne;
    // Augmenting with two zero bytes gives the usual CRC-16 (start 0, polynomial 0x1021) of the text.
    EXPECT_EQ(CCrc16::CalcCrc16_Byte(pbyDe(std::string("123456789\0\0", 11)), 11), 0x31C3);
    const std::wstring sLarge = L"\u00e9t\u00e9 \U0001F3B5";
    const std::string sBas = std::string("\xE9t\xE9 ") + static_cast<char>(0xB5);
    EXPECT_EQ(CCrc16::CalcCrc16(sLarge.c_str(), sLarge.size()), wCrc16Bits(sBas));
}

TEST(Adler32, AgreesWithTheDefinitionPastTheReductionInterval) {
    std::mt19937 gen(3);
    EXPECT_EQ(nAdler32(1, pbyDe("Wikipedia"), 9), 0x11E60398u);
    EXPECT_EQ(nAdler32(1, nullptr, 10), 1u);
    const std::string sMax(20000, '\xFF');  // the largest sums, across several reductions
    EXPECT_EQ(nAdler32(1, pbyDe(sMax), sMax.size()), dwAdler32Simple(sMax));
    for (size_t n : {0u, 1u, 5551u, 5552u, 5553u, 70000u}) {
        const std::string s = sAleatoire(gen, n);
        EXPECT_EQ(nAdler32(1, pbyDe(s), s.size()), dwAdler32Simple(s)) << n;
    }
}

TEST(Adler32, CombineEqualsTheSumOfTheWholeOverRandomSplits) {
    std::mt19937 gen(5);
    for (int i = 0; i < 200; ++i) {
        const std::string s = sAleatoire(gen, gen() % (i < 100 ? 100 : 200000));
        const size_t nCoupe = s.empty() ? 0 : gen() % (s.size() + 1);
        const uint32_t dwA = nAdler32(1, pbyDe(s), nCoupe);
        const uint32_t dwB = nAdler32(1, pbyDe(s) + nCoupe, s.size() - nCoupe);
        ASSERT_EQ(nAdler32Combine(dwA, dwB, static_cast<int64_t>(s.size() - nCoupe)), dwAdler32Simple(s))
            << "size " << s.size() << " split " << nCoupe;
    }
    EXPECT_EQ(nAdler32Combine(0x12345678, 1, 0), 0x12345678u) << "empty B";
    EXPECT_EQ(nAdler32Combine(1, 1, -1), 0xFFFFFFFFu);
}

}  // namespace
