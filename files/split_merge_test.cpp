// The block scan of the in-file search with tiny blocks, so that every needle crosses many block
// edges, against a plain scan; and the gauge's per-mille at the ends of the 64-bit range.
#include "files/split_merge.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "files/memory_stream.h"

namespace {

TEST(SplitMergeSearch, BlockScanAgreesWithAPlainScan) {
    std::mt19937 gen(42);
    std::string sDonnees(3000, 'a');
    for (char& c : sDonnees) c = static_cast<char>('a' + gen() % 2);
    CMemoryStream clFlux;
    ASSERT_TRUE(clFlux.bAssociate(sDonnees.data(), static_cast<unsigned int>(sDonnees.size())));
    ASSERT_TRUE(clFlux.bOpen(L"m", eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr));
    for (size_t nBloc : {1u, 2u, 7u, 64u}) {
        for (int i = 0; i < 300; ++i) {
            const size_t nTaille = 1 + gen() % 20;
            const size_t oSource = gen() % (sDonnees.size() - nTaille);
            std::string sAiguille = sDonnees.substr(oSource, nTaille);
            if (i % 3 == 0) sAiguille.back() = 'c';  // absent
            const int64_t oDebut = gen() % sDonnees.size();
            const size_t oAttendu = sDonnees.find(sAiguille, static_cast<size_t>(oDebut));
            const int64_t o = ovdecoupe::oRecherche(&clFlux, reinterpret_cast<const uint8_t*>(sAiguille.data()),
                                                    sAiguille.size(), oDebut, nBloc);
            ASSERT_EQ(o, oAttendu == std::string::npos ? -1 : static_cast<int64_t>(oAttendu))
                << "block " << nBloc << " needle " << sAiguille << " from " << oDebut;
        }
    }
    EXPECT_EQ(ovdecoupe::oRecherche(&clFlux, reinterpret_cast<const uint8_t*>("a"), 1, 5000), -1) << "past the end";
}

TEST(SplitMergeGauge, PerMilleRisesFromZeroToOneThousandForAnySize) {
    struct {
        int nLine;
        int64_t oFait, oTotal;
        int nAttendu;
    } const tabCas[] = {
        {__LINE__, 0, 10, 0},
        {__LINE__, 5, 10, 500},
        {__LINE__, 10, 10, 1000},
        {__LINE__, 0, 0, 1000},
        {__LINE__, INT64_MAX / 2, INT64_MAX, 499},
        {__LINE__, INT64_MAX - 1, INT64_MAX, 999},
        {__LINE__, 1, INT64_MAX, 0},
        {__LINE__, 999, 1000, 999},
    };
    for (const auto& c : tabCas) EXPECT_EQ(ovdecoupe::nPourMille(c.oFait, c.oTotal), c.nAttendu) << "row " << c.nLine;
    EXPECT_EQ(ovdecoupe::sFormateNombre(12345678901234567ull), L"12 345 678 901 234 567");
    EXPECT_EQ(ovdecoupe::sFormateNombre(10000), L"10 000");
    EXPECT_EQ(ovdecoupe::sFormateNombre(999), L"999");
}

}  // namespace
