// Element files: the header's checks, the chain of versions in both directions, parts plain,
// coded and multi-language, and damaged files that must be refused rather than followed.
#include "persist/elt_file.h"

#include <gtest/gtest.h>

#include <cstring>

#include "compress/block_compressors.h"
#include "files/memory_stream.h"
#include "persist/elt_file_test_util.h"

namespace {

using ovtestelt::tabConstruit;
using ovtestelt::tabVersionsExemple;

void Pose32(std::vector<uint8_t>* ptab, size_t o, uint32_t dw) {
    for (int i = 0; i < 4; ++i) (*ptab)[o + i] = static_cast<uint8_t>(dw >> (8 * i));
}

TEST(EltFile, ReadsBackWhatItWrote) {
    const std::vector<uint8_t> tab = tabConstruit(tabVersionsExemple(0), 8);
    CEltProjetFile cl(COVFile::kdwIdProjet);
    ASSERT_TRUE(cl.bOuvreMemoire(tab.data(), tab.size()));
    EXPECT_EQ(cl.stGetEntete().dwIdFichier, 8u);
    EXPECT_EQ(cl.dwGetMotGeneral(), 0xC0FFEEu);
    ASSERT_EQ(cl.nNbVersion(), 3);
    // Version 0 is the newest block, the last in the file; version 1 the first.
    EXPECT_LT(cl.oGetOffsetVersion(1), cl.oGetOffsetVersion(2));
    EXPECT_LT(cl.oGetOffsetVersion(2), cl.oGetOffsetVersion(0));
    EXPECT_EQ(cl.oGetOffsetVersion(1), cl.dwGetTailleEntete());
    ASSERT_TRUE(cl.bOuvreVersion(0));
    EXPECT_EQ(cl.sGetTag(), "v3 \xE9t\xE9 long");  // cut at 11 bytes
    EXPECT_EQ(cl.oGetFinVersion(), static_cast<int64_t>(tab.size()));
    ASSERT_EQ(cl.nNbPartie(), 4);
    const auto stVersions = tabVersionsExemple(0);
    const auto& stDerniere = stVersions.back();
    std::vector<uint8_t> tabPartie;
    ASSERT_TRUE(cl.bGetPartie(0, &tabPartie));
    EXPECT_EQ(tabPartie, stDerniere.tabParties[0].tabOctets);
    // A coded part is stored coded from its offset of encoding, and reads back through the coder.
    EXPECT_EQ(cl.nGetInfoEncodagePartie(1), 1);
    EXPECT_EQ(cl.nGetOffsetEncodagePartie(1), 6);
    ASSERT_TRUE(cl.bGetPartie(1, &tabPartie));
    EXPECT_LT(tabPartie.size(), stDerniere.tabParties[1].tabOctets.size());
    ASSERT_TRUE(ovcompresse::bDepackeRegion(&tabPartie, 6, 1));
    EXPECT_EQ(tabPartie, stDerniere.tabParties[1].tabOctets);
    EXPECT_EQ(cl.dwGetTaillePartie(2), 0u);
    // The multi-language part: a common zone, then one block per language, each coded alone.
    EXPECT_EQ(cl.byGetOptionPartie(3), CEltProjetFile::kbyOptionMultiLangue);
    ASSERT_EQ(cl.nNbLanguePartie(3), 2);
    STLangueElt stLangue;
    ASSERT_TRUE(cl.bGetInfoLanguePartie(3, 1, &stLangue));
    EXPECT_EQ(stLangue.wLangue, 9);
    ASSERT_TRUE(cl.bGetLanguePartie(3, 9, &tabPartie));
    ASSERT_TRUE(ovcompresse::bDepackeRegion(&tabPartie, 6, 1));
    EXPECT_EQ(tabPartie, stDerniere.tabParties[3].tabLangues[1].second);
    EXPECT_EQ(cl.oGetOffsetPartie(3) + cl.dwGetTaillePartie(3), static_cast<int64_t>(tab.size()));
}

TEST(EltFile, HeaderIdsAndSignatureAreChecked) {
    struct STCas {
        int nLigne;
        uint32_t dwIdAttendu;
        uint32_t dwIdFichier;
        size_t oOctet;  // a byte to change, or SIZE_MAX
        size_t nTaille;  // the file cut to this size, or SIZE_MAX
        bool bAccepte;
    };
    const STCas tabCas[] = {
        {__LINE__, 0, 0x1234, SIZE_MAX, SIZE_MAX, true},
        {__LINE__, COVFile::kdwIdProjet, 8, SIZE_MAX, SIZE_MAX, true},
        {__LINE__, COVFile::kdwIdProjet, 2, SIZE_MAX, SIZE_MAX, true},
        {__LINE__, COVFile::kdwIdProjet, 0x102, SIZE_MAX, SIZE_MAX, true},
        {__LINE__, COVFile::kdwIdProjet, 0x103, SIZE_MAX, SIZE_MAX, false},
        {__LINE__, 0x55, 0x55, SIZE_MAX, SIZE_MAX, true},
        {__LINE__, 0x55, 0x56, SIZE_MAX, SIZE_MAX, false},
        {__LINE__, 0, 8, 1, SIZE_MAX, false},         // signature
        {__LINE__, 0, 8, 4, SIZE_MAX, false},         // header size 19
        {__LINE__, 0, 8, SIZE_MAX, 19, false},        // shorter than a header
        {__LINE__, 0, 8, SIZE_MAX, 30, false},        // a header and no chain
    };
    for (const STCas& c : tabCas) {
        std::vector<uint8_t> tab = tabConstruit(tabVersionsExemple(0), c.dwIdFichier);
        if (c.oOctet == 4) Pose32(&tab, 4, 19);
        else if (c.oOctet != SIZE_MAX) tab[c.oOctet] ^= 0x20;
        if (c.nTaille != SIZE_MAX) tab.resize(c.nTaille);
        CEltProjetFile cl(c.dwIdAttendu);
        EXPECT_EQ(cl.bOuvreMemoire(tab.data(), tab.size()) != 0, c.bAccepte) << "row " << c.nLigne;
        if (!c.bAccepte) {
            ASSERT_NE(cl.pclGetXError(), nullptr);
            EXPECT_EQ(cl.pclGetXError()->eGetErrorLevel(), CXError::EL_ERROR3) << "row " << c.nLigne;
        }
    }
}

// Damage in the chain or the tables: each must be refused, and none may loop or read outside.
TEST(EltFile, DamagedStructureIsRefused) {
    const std::vector<uint8_t> tabSain = tabConstruit(tabVersionsExemple(0), 8);
    CEltProjetFile clSain;
    ASSERT_TRUE(clSain.bOuvreMemoire(tabSain.data(), tabSain.size()));
    const auto oPremier = static_cast<size_t>(clSain.oGetOffsetVersion(1));
    const auto oDernier = static_cast<size_t>(clSain.oGetOffsetVersion(0));
    struct STCas {
        int nLigne;
        size_t oChamp;
        uint32_t dwValeur;
        bool bStructure;  // refused when opened, otherwise when version 0 is read
    };
    const STCas tabCas[] = {
        {__LINE__, oPremier, 0xFFFFFF00u, true},                // link past the end
        {__LINE__, oPremier + 4, 1, true},                      // link past 4 GiB
        {__LINE__, oPremier, 3, true},                          // link into the middle of a block: its header is junk
        {__LINE__, oDernier + 8, 0xFFFFFFF0u, false},           // version header past the end
        {__LINE__, oDernier + 8, 10, false},                    // version header shorter than its fixed part
        {__LINE__, oDernier + 12, 3u << 16, false},             // header major 3
        {__LINE__, oDernier + 12, 11u << 16, false},            // a major above this reader's
        {__LINE__, oDernier + 16, 5000, false},                 // part count outside the header
        {__LINE__, oDernier + 32, 2, false},                    // element version above this reader's
        {__LINE__, oDernier + 57, 0, false},                    // no part
        {__LINE__, oDernier + 57, 0x10000000, false},           // more parts than the header holds
        {__LINE__, oDernier + 62, 0x7FFFFFFF, false},           // part 0 past the end of the file
    };
    for (const STCas& c : tabCas) {
        std::vector<uint8_t> tab = tabSain;
        Pose32(&tab, c.oChamp, c.dwValeur);
        CEltProjetFile cl;
        const bool bOuvert = cl.bOuvreMemoire(tab.data(), tab.size()) != 0;
        if (c.bStructure) {
            // A link into a block's middle may still land on a readable block; then it is its
            // header that must fail.
            EXPECT_TRUE(!bOuvert || !cl.bOuvreVersion(0) || !cl.bOuvreVersion(1) || !cl.bOuvreVersion(2))
                << "row " << c.nLigne;
        } else {
            ASSERT_TRUE(bOuvert) << "row " << c.nLigne;
            EXPECT_FALSE(cl.bOuvreVersion(0)) << "row " << c.nLigne;
            EXPECT_EQ(cl.nNbPartie(), 0) << "row " << c.nLigne;
        }
    }
}

TEST(EltFile, AMultiLanguageTableThatDoesNotFitIsNotOne) {
    std::vector<STVersionAEcrire> tabVersions = tabVersionsExemple(0);
    std::vector<uint8_t> tab = tabConstruit(tabVersions, 8);
    CEltProjetFile cl;
    ASSERT_TRUE(cl.bOuvreMemoire(tab.data(), tab.size()));
    ASSERT_TRUE(cl.bOuvreVersion(0));
    const auto o = static_cast<size_t>(cl.oGetOffsetPartie(3));
    tab[o + 2] = 0xFF;  // 255 languages: the table alone runs past the part
    CEltProjetFile clAbime;
    ASSERT_TRUE(clAbime.bOuvreMemoire(tab.data(), tab.size()));
    ASSERT_TRUE(clAbime.bOuvreVersion(0));
    EXPECT_EQ(clAbime.nNbLanguePartie(3), -1);
    EXPECT_EQ(clAbime.nNbLanguePartie(0), -1);  // not a multi-language part
    STLangueElt st;
    EXPECT_FALSE(clAbime.bGetInfoLanguePartie(3, 0, &st));
}

}  // namespace
