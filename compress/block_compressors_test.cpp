// The block compressors: frozen output (golden blocks re-encoded byte for byte), round trips over
// every short length, the stored-form rules, damaged blocks, compressed strings and the front.
//
// To rewrite the golden blocks after a deliberate change of a coder:
//   OV_BLOCK_GOLDEN_ECRIT=1 build/compress/block_compressors_test --gtest_filter='BlockGolden*'
// then check them with tools/check_block_golden.py.
#include "compress/block_compressors.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "compress/internal/block_format.h"
#include "compress/internal/block_test_inputs.h"

namespace {

using Octets = std::vector<uint8_t>;

Octets tabDe(const std::string& s) { return Octets(s.begin(), s.end()); }

std::string sLitFichier(const std::string& sChemin) {
    std::ifstream f(sChemin, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

const std::string kRepertoire = OV_BLOCK_TESTDATA;

// A block of the given type through the front, or an empty vector when compression fails.
Octets tabCompresse(const Octets& tabEntree, uint8_t eType) {
    CCompresseur cl;
    EXPECT_TRUE(cl.ChangeMethodeCompression(eType));
    Octets tab(cl.dwTailleBufferCompression(static_cast<uint32_t>(tabEntree.size())));
    const uint32_t dw = cl.dwCompression(tabEntree.data(), static_cast<uint32_t>(tabEntree.size()), tab.data(),
                                         static_cast<uint32_t>(tab.size()));
    tab.resize(dw);
    return tab;
}

// Decodes with an output of exactly dwPlace bytes; answers the decoder's result.
uint32_t dwDecompresse(const Octets& tabBloc, uint32_t dwPlace, Octets* ptabSortie, uint8_t eType = 0) {
    CCompresseur cl;
    ptabSortie->assign(dwPlace, 0xEE);
    return cl.dwDecompression(tabBloc.data(), static_cast<uint32_t>(tabBloc.size()), ptabSortie->data(), dwPlace, eType);
}

Octets tabDecompresse(const Octets& tabBloc, uint32_t dwTaille) {
    Octets tab;
    const uint32_t dw = dwDecompresse(tabBloc, dwTaille, &tab);
    if (dw == CCompresseurBase::kdwEchec) return {0xDE, 0xAD};
    tab.resize(dw);
    return tab;
}

// ---------------------------------------------------------------- golden blocks

struct STGolden {
    int nLigne;
    const char* pszFichier;
    uint8_t eType;
    Octets (*pfnEntree)();
};

Octets tabTexte() { return tabDe(sLitFichier(kRepertoire + "/texte.txt")); }
Octets tabSerie() { return tabDe(ovbloc::sSerie()); }
Octets tabMelange() { return tabDe(ovbloc::sMelange()); }
Octets tabAleatoire() { return tabDe(ovbloc::sAleatoire(300, 7)); }
// The text packer takes a 32-bit length and the bytes.
Octets tabTexteAvecLongueur() {
    Octets tab = tabTexte();
    Octets tabLongueur(4);
    ovbloc::Ecrit32(tabLongueur.data(), static_cast<uint32_t>(tab.size()));
    tab.insert(tab.begin(), tabLongueur.begin(), tabLongueur.end());
    return tab;
}

const STGolden gtabGolden[] = {
    {__LINE__, "texte.2", CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, tabTexte},
    {__LINE__, "texte.4", CCompresseurBase::eCOMPRESSEUR_ZLW, tabTexte},
    {__LINE__, "texte.5", CCompresseurBase::eCOMPRESSEUR_OVC40, tabTexteAvecLongueur},
    {__LINE__, "serie.2", CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, tabSerie},
    {__LINE__, "serie.4", CCompresseurBase::eCOMPRESSEUR_ZLW, tabSerie},
    {__LINE__, "melange.2", CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, tabMelange},
    {__LINE__, "melange.4", CCompresseurBase::eCOMPRESSEUR_ZLW, tabMelange},
    {__LINE__, "aleatoire.0", CCompresseurBase::eCOMPRESSEUR_ZLW, tabAleatoire},
};

TEST(BlockGolden, CodersReproduceTheFrozenBlocksAndReadThemBack) {
    const bool bEcrit = std::getenv("OV_BLOCK_GOLDEN_ECRIT") != nullptr;
    for (const STGolden& st : gtabGolden) {
        const Octets tabEntree = st.pfnEntree();
        const Octets tabBloc = tabCompresse(tabEntree, st.eType);
        const std::string sChemin = kRepertoire + "/" + st.pszFichier;
        if (bEcrit) std::ofstream(sChemin, std::ios::binary).write(reinterpret_cast<const char*>(tabBloc.data()),
                                                                   static_cast<std::streamsize>(tabBloc.size()));
        const Octets tabFige = tabDe(sLitFichier(sChemin));
        ASSERT_FALSE(tabFige.empty()) << sChemin;
        EXPECT_TRUE(tabBloc == tabFige) << "row " << st.nLigne << ": the coder's output changed for " << st.pszFichier;
        Octets tabRelu;
        const uint32_t dw = dwDecompresse(tabFige, static_cast<uint32_t>(tabEntree.size()) + 8, &tabRelu, st.eType);
        ASSERT_NE(dw, CCompresseurBase::kdwEchec) << "row " << st.nLigne;
        tabRelu.resize(dw);
        EXPECT_TRUE(tabRelu == tabEntree) << "row " << st.nLigne;
    }
}

// ---------------------------------------------------------------- round trips

Octets tabContenu(int nSorte, size_t nTaille) {
    static const std::string sFrancais = "Noël à l’école, l’élève étudie près de la forêt 😀 — garçon où êtes-vous ? ";
    Octets tab(nTaille);
    ovbloc::CGenerateur cl(static_cast<uint32_t>(nTaille * 31 + nSorte));
    for (size_t i = 0; i < nTaille; ++i) {
        switch (nSorte) {
        case 0: tab[i] = static_cast<uint8_t>(sFrancais[i % sFrancais.size()]); break;
        case 1: tab[i] = 0x00; break;
        case 2: tab[i] = static_cast<uint8_t>(cl.dwSuivant()); break;
        default: tab[i] = static_cast<uint8_t>("\x00\xff\x01\x00"[cl.dwSuivant() & 3]); break;
        }
    }
    return tab;
}

TEST(BlockRoundTrip, EveryLengthUpTo300ComesBackWithEachCoderAndContent) {
    for (const uint8_t eType : {CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, CCompresseurBase::eCOMPRESSEUR_ZLW}) {
        for (int nSorte = 0; nSorte < 4; ++nSorte) {
            for (size_t n = 0; n <= 300; ++n) {
                const Octets tabEntree = tabContenu(nSorte, n);
                const Octets tabBloc = tabCompresse(tabEntree, eType);
                ASSERT_FALSE(tabBloc.empty()) << "type " << int{eType} << " kind " << nSorte << " length " << n;
                ASSERT_LE(tabBloc.size(), n + 5) << "never more than the stored form";
                ASSERT_TRUE(tabDecompresse(tabBloc, static_cast<uint32_t>(n)) == tabEntree)
                    << "type " << int{eType} << " kind " << nSorte << " length " << n;
            }
        }
    }
}

TEST(BlockRoundTrip, LargeBlocksOfEveryKindComeBack) {
    // A text that fills and resets the dictionaries many times, and a long run.
    std::string sTexte;
    ovbloc::CGenerateur cl(99);
    static const char* const tabMots[] = {"été ", "forêt ", "Noël ", "😀 ", "garçon ", "l’école ", "\n", "où "};
    while (sTexte.size() < 3000000) sTexte += tabMots[cl.dwSuivant() & 7];
    for (const Octets& tabEntree : {tabDe(sTexte), Octets(2000000, 0x7F), tabMelange()}) {
        for (const uint8_t eType : {CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, CCompresseurBase::eCOMPRESSEUR_ZLW}) {
            const Octets tabBloc = tabCompresse(tabEntree, eType);
            EXPECT_LT(tabBloc.size(), tabEntree.size() / 2) << "type " << int{eType};
            EXPECT_TRUE(tabDecompresse(tabBloc, static_cast<uint32_t>(tabEntree.size())) == tabEntree)
                << "type " << int{eType} << " size " << tabEntree.size();
        }
    }
}

// ---------------------------------------------------------------- stored form

TEST(BlockStored, ShortOrIncompressibleBlocksAreStoredAtFiveBytes) {
    const struct {
        int nLigne;
        uint8_t eType;
        Octets tabEntree;
        uint8_t eTypeAttendu;
    } tabCas[] = {
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_ZLW, Octets(19, 'a'), CCompresseurBase::eCOMPRESSEUR_COPIE},
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_ZLW, Octets(20, 'a'), CCompresseurBase::eCOMPRESSEUR_ZLW},
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_ZLW, Octets(), CCompresseurBase::eCOMPRESSEUR_COPIE},
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_ZLW, tabDe(ovbloc::sAleatoire(65536, 3)), CCompresseurBase::eCOMPRESSEUR_COPIE},
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, tabDe(ovbloc::sAleatoire(65536, 3)), CCompresseurBase::eCOMPRESSEUR_COPIE},
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, Octets(), CCompresseurBase::eCOMPRESSEUR_COPIE},
        {__LINE__, CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, Octets(40, 'a'), CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC},
    };
    for (const auto& c : tabCas) {
        const Octets tabBloc = tabCompresse(c.tabEntree, c.eType);
        ASSERT_FALSE(tabBloc.empty()) << "row " << c.nLigne;
        EXPECT_EQ(tabBloc[0], c.eTypeAttendu) << "row " << c.nLigne;
        if (c.eTypeAttendu == CCompresseurBase::eCOMPRESSEUR_COPIE) {
            EXPECT_EQ(tabBloc.size(), c.tabEntree.size() + 5) << "row " << c.nLigne;
            EXPECT_EQ(ovbloc::dwLit32(tabBloc.data() + 1), c.tabEntree.size()) << "row " << c.nLigne;
        } else {
            EXPECT_EQ(ovbloc::dwLit32(tabBloc.data() + 1), tabBloc.size() - 11) << "row " << c.nLigne;
            EXPECT_EQ(ovbloc::dwLit32(tabBloc.data() + 5), c.tabEntree.size()) << "row " << c.nLigne;
            EXPECT_EQ(tabBloc[9] | tabBloc[10], 0) << "row " << c.nLigne;
        }
        CCompresseur cl;
        EXPECT_EQ(cl.dwTailleDecompression(tabBloc.data(), static_cast<uint32_t>(tabBloc.size())), c.tabEntree.size());
        EXPECT_EQ(cl.vdwTailleEntree(tabBloc.data(), static_cast<uint32_t>(tabBloc.size())), tabBloc.size());
    }
}

TEST(BlockStored, AnOutputSmallerThanTheStoredFormIsRefusedUntouched) {
    const Octets tabEntree = tabDe(ovbloc::sAleatoire(100, 5));
    for (const uint8_t eType : {CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, CCompresseurBase::eCOMPRESSEUR_ZLW}) {
        CCompresseur cl;
        cl.ChangeMethodeCompression(eType);
        Octets tab(105, 0xEE);
        EXPECT_EQ(cl.dwCompression(tabEntree.data(), 100, tab.data(), 104), 0u);
        EXPECT_EQ(tab, Octets(105, 0xEE));
        EXPECT_EQ(cl.dwCompression(tabEntree.data(), 100, tab.data(), 105), 105u);
    }
}

// ---------------------------------------------------------------- damaged blocks

// Every cut and many flipped bits of valid blocks: the decoder answers kdwEchec or a size within
// the output, and never writes past the output (the sentinel after it stays).
TEST(BlockDamaged, CutsAndFlippedBitsNeverWritePastTheOutput) {
    const Octets tabTexte = tabContenu(0, 3000);
    for (const uint8_t eType : {CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, CCompresseurBase::eCOMPRESSEUR_ZLW}) {
        const Octets tabBloc = tabCompresse(tabTexte, eType);
        ASSERT_EQ(tabBloc[0], eType);
        ovbloc::CGenerateur clAlea(eType);
        for (size_t nEssai = 0; nEssai < tabBloc.size() + 2000; ++nEssai) {
            Octets tab = tabBloc;
            if (nEssai < tabBloc.size()) tab.resize(nEssai);
            else tab[11 + clAlea.dwSuivant() % (tab.size() - 11)] ^= static_cast<uint8_t>(1u << (clAlea.dwSuivant() & 7));
            if (tab.empty()) continue;
            Octets tabSortie(3000 + 16, 0xEE);
            CCompresseur cl;
            const uint32_t dw = cl.dwDecompression(tab.data(), static_cast<uint32_t>(tab.size()), tabSortie.data(), 3000, 0);
            ASSERT_TRUE(dw == CCompresseurBase::kdwEchec || dw == 3000) << "try " << nEssai;
            for (size_t i = 3000; i < tabSortie.size(); ++i) ASSERT_EQ(tabSortie[i], 0xEE) << "try " << nEssai;
        }
    }
}

TEST(BlockDamaged, HeadersThatDoNotHoldAreRefusedBeforeAnyWrite) {
    const Octets tabValide = tabCompresse(tabContenu(0, 500), CCompresseurBase::eCOMPRESSEUR_ZLW);
    auto tabAvec = [&](size_t nOffset, uint8_t by) {
        Octets tab = tabValide;
        tab[nOffset] = by;
        return tab;
    };
    const struct {
        int nLigne;
        Octets tabBloc;
        uint32_t dwPlace;
    } tabCas[] = {
        {__LINE__, tabValide, 499},               // original size larger than the output
        {__LINE__, tabAvec(4, 0x10), 500},        // packed size past the input
        {__LINE__, tabAvec(0, 3), 500},           // unknown type
        {__LINE__, tabAvec(9, 1), 500},           // the two zero bytes
        {__LINE__, Octets{0, 5, 0, 0, 0, 1}, 10}, // stored size past the input
        {__LINE__, Octets{0, 2, 0, 0, 0, 1, 2}, 1},  // stored size past the output
        {__LINE__, Octets{4, 0, 0, 0}, 10},       // header cut
        {__LINE__, Octets{4, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0}, 10},  // no code at all for one byte
    };
    for (const auto& c : tabCas) {
        Octets tab(c.dwPlace + 16, 0xEE);
        CCompresseur cl;
        EXPECT_EQ(cl.dwDecompression(c.tabBloc.data(), static_cast<uint32_t>(c.tabBloc.size()), tab.data(), c.dwPlace, 0),
                  CCompresseurBase::kdwEchec)
            << "row " << c.nLigne;
        for (uint8_t by : tab) ASSERT_EQ(by, 0xEE) << "row " << c.nLigne;
    }
    // A declared size past what the packed bytes can give is refused before it is allocated.
    Octets tabRegion = tabAvec(8, 0x7F);
    EXPECT_FALSE(ovcompresse::bDepackeRegion(&tabRegion, 0, 1));
    EXPECT_TRUE(tabRegion == tabAvec(8, 0x7F));
}

TEST(BlockDamaged, CodesPastTheTableAreRefused) {
    // Type 4, width 9, LSB first: a first code of 0x102 (no string yet), and a KwKwK code that
    // jumps one past the next free code.
    auto tabBloc = [](std::initializer_list<uint32_t> lstCodes, uint32_t dwOriginale) {
        Octets tab(11 + 8, 0);
        ovbloc::STEcrivainLSB st{tab.data() + 11, tab.data() + tab.size()};
        for (uint32_t dw : lstCodes) st.bEcrit(dw, 9);
        st.bVide();
        tab.resize(static_cast<size_t>(st.pbyPos - tab.data()));
        tab[0] = 4;
        ovbloc::Ecrit32(tab.data() + 1, static_cast<uint32_t>(tab.size() - 11));
        ovbloc::Ecrit32(tab.data() + 5, dwOriginale);
        return tab;
    };
    EXPECT_EQ(tabDecompresse(tabBloc({0x62, 0x102, 0x101}, 3), 3), (Octets{0x61, 0x61, 0x61})) << "KwKwK";
    EXPECT_EQ(tabDecompresse(tabBloc({0x62, 0x103, 0x101}, 3), 3), (Octets{0xDE, 0xAD}));
    EXPECT_EQ(tabDecompresse(tabBloc({0x102, 0x101}, 2), 2), (Octets{0xDE, 0xAD}));
    EXPECT_EQ(tabDecompresse(tabBloc({0x62, 0, 0x102, 0x101}, 3), 3), (Octets{0xDE, 0xAD})) << "after a reset";
    EXPECT_EQ(tabDecompresse(tabBloc({0x62, 0x101}, 2), 2), (Octets{0xDE, 0xAD})) << "ends short of its size";
}

// ---------------------------------------------------------------- compressed strings

TEST(CompressedString, FormsOfEachMethodAndTheirRoundTrip) {
    const std::wstring sTexte = L"Noël à l’école, été comme hiver 😀 — Noël à l’école, été comme hiver 😀";
    for (int nMethode = 0; nMethode <= 2; ++nMethode) {
        Octets tab;
        ASSERT_EQ(ovcompresse::_ChaineCompresse(&tab, sTexte.data(), sTexte.size(), nMethode), ovcompresse::eOK);
        if (nMethode == 2) {
            EXPECT_NE(tab[0], 0x02) << "the packed stream from its first byte";
        } else {
            EXPECT_EQ(tab[0], 0x02);
            EXPECT_EQ(ovbloc::dwLit32(tab.data() + 1), static_cast<uint32_t>(nMethode));
        }
        if (nMethode == 0) {
            EXPECT_EQ(ovbloc::dwLit32(tab.data() + 5), sTexte.size() * 4) << "method 0 packs nothing";
        } else if (nMethode == 1) {
            EXPECT_EQ(tab[5], CCompresseurBase::eCOMPRESSEUR_ZLW);
        }
        Octets tabRetour;
        ASSERT_EQ(ovcompresse::_ChaineDecompresse(&tabRetour, tab.data(), tab.size(), nMethode), ovcompresse::eOK);
        ASSERT_EQ(tabRetour.size(), sTexte.size() * sizeof(wchar_t));
        EXPECT_EQ(std::memcmp(tabRetour.data(), sTexte.data(), tabRetour.size()), 0) << "method " << nMethode;
    }
}

TEST(CompressedString, MethodsAndDataOutOfRangeAreRefused) {
    Octets tab;
    EXPECT_EQ(ovcompresse::_ChaineCompresseA(&tab, reinterpret_cast<const uint8_t*>("abc"), 3, 3),
              ovcompresse::eMETHODE_INVALIDE);
    EXPECT_EQ(ovcompresse::_ChaineCompresseA(&tab, reinterpret_cast<const uint8_t*>("abc"), 3, -1),
              ovcompresse::eMETHODE_INVALIDE);
    const struct {
        int nLigne;
        Octets tabValeur;
        int nAttendu;
    } tabCas[] = {
        {__LINE__, Octets{}, ovcompresse::eOK},
        {__LINE__, Octets{2, 3, 0, 0, 0, 0, 0, 0, 0}, ovcompresse::eMETHODE_INVALIDE},
        {__LINE__, Octets{2, 0, 0, 0, 1, 0, 0, 0, 0}, ovcompresse::eMETHODE_INVALIDE},
        {__LINE__, Octets{2, 0, 0, 0}, ovcompresse::eDONNEES_ENDOMMAGEES},
        {__LINE__, Octets{2, 0, 0, 0, 0, 2, 0, 0, 0, 'a'}, ovcompresse::eDONNEES_ENDOMMAGEES},
        {__LINE__, Octets{2, 0, 0, 0, 0, 1, 0, 0, 0, 'a'}, ovcompresse::eOK},
        {__LINE__, Octets{3, 0, 0, 0, 0, 1, 0, 0, 0, 'a'}, ovcompresse::eDONNEES_ENDOMMAGEES},
        {__LINE__, Octets{2, 1, 0, 0, 0, 9, 9}, ovcompresse::eDONNEES_ENDOMMAGEES},
    };
    for (const auto& c : tabCas) {
        Octets tabSortie;
        EXPECT_EQ(ovcompresse::_ChaineDecompresse(&tabSortie, c.tabValeur.data(), c.tabValeur.size(), 0), c.nAttendu)
            << "row " << c.nLigne;
    }
}

TEST(CompressedString, ARegionBehindAClearHeaderPacksAndComesBack) {
    Octets tab = tabDe("EN-TETE-12oc");
    const Octets tabCorps = tabContenu(0, 5000);
    tab.insert(tab.end(), tabCorps.begin(), tabCorps.end());
    const Octets tabOrigine = tab;
    for (int nMethode = 0; nMethode <= 1; ++nMethode) {
        Octets tabCode = tabOrigine;
        ASSERT_TRUE(ovcompresse::bPackeRegion(&tabCode, 12, nMethode));
        EXPECT_EQ(std::memcmp(tabCode.data(), "EN-TETE-12oc", 12), 0);
        if (nMethode == 1) {
            EXPECT_LT(tabCode.size(), tabOrigine.size() / 2);
        }
        ASSERT_TRUE(ovcompresse::bDepackeRegion(&tabCode, 12, nMethode));
        EXPECT_TRUE(tabCode == tabOrigine) << "method " << nMethode;
    }
    EXPECT_FALSE(ovcompresse::bPackeRegion(&tab, 12, 3));
    EXPECT_FALSE(ovcompresse::bPackeRegion(&tab, tab.size() + 1, 1));
    EXPECT_EQ(ovcompresse::GetCompressMethod(0x04020001), 2u) << "bit 26 masked off";
    EXPECT_EQ(ovcompresse::GetCompressMethod(0x00010003), 1u);
    EXPECT_EQ(ovcompresse::g_eGetCompresseurType(0), 4);
    EXPECT_EQ(ovcompresse::g_eGetCompresseurType(2), 5);
    EXPECT_EQ(ovcompresse::g_eGetCompresseurType(3), -1);
}

// ---------------------------------------------------------------- the front

TEST(BlockFront, MethodsMapToAlgorithmsAndTheTypeBytePicksTheDecoder) {
    CCompresseur cl;
    EXPECT_EQ(cl.eGetMethodeCompression(), CCompresseur::kbyAucun);
    const struct {
        int nLigne;
        uint8_t eDemande, eNote, eBloc;
    } tabCas[] = {
        {__LINE__, 2, 2, 2}, {__LINE__, 4, 4, 4}, {__LINE__, 0, 0, 4}, {__LINE__, 9, 4, 4}, {__LINE__, 0xFF, 4, 4},
    };
    const Octets tabEntree = tabContenu(0, 2000);
    for (const auto& c : tabCas) {
        ASSERT_TRUE(cl.ChangeMethodeCompression(c.eDemande));
        EXPECT_EQ(cl.eGetMethodeCompression(), c.eNote) << "row " << c.nLigne;
        Octets tab(cl.dwTailleBufferCompression(2000));
        tab.resize(cl.dwCompression(tabEntree.data(), 2000, tab.data(), static_cast<uint32_t>(tab.size())));
        EXPECT_EQ(tab[0], c.eBloc) << "row " << c.nLigne;
        // Another method chosen: the block's own byte decides, and the choice stays.
        cl.ChangeMethodeCompression(c.eBloc == 2 ? 4 : 2);
        const uint8_t eAvant = cl.eGetMethodeCompression();
        Octets tabSortie(2000);
        EXPECT_EQ(cl.dwDecompression(tab.data(), static_cast<uint32_t>(tab.size()), tabSortie.data(), 2000, 0), 2000u);
        EXPECT_TRUE(tabSortie == tabEntree) << "row " << c.nLigne;
        EXPECT_EQ(cl.eGetMethodeCompression(), eAvant);
    }
}

TEST(BlockFront, ThreadsSharingOneCompressorQueueOnIt) {
    CCompresseur cl;
    cl.ChangeMethodeCompression(CCompresseurBase::eCOMPRESSEUR_ZLW);
    std::vector<std::thread> tabFils;
    std::vector<int> tabEchecs(4, 0);
    for (int t = 0; t < 4; ++t) {
        tabFils.emplace_back([&, t] {
            const Octets tabEntree = tabContenu(t % 2 == 0 ? 0 : 3, 20000 + static_cast<size_t>(t));
            for (int i = 0; i < 20; ++i) {
                Octets tab(cl.dwTailleBufferCompression(static_cast<uint32_t>(tabEntree.size())));
                tab.resize(cl.dwCompression(tabEntree.data(), static_cast<uint32_t>(tabEntree.size()), tab.data(),
                                            static_cast<uint32_t>(tab.size())));
                Octets tabSortie(tabEntree.size());
                const uint32_t dw = cl.dwDecompression(tab.data(), static_cast<uint32_t>(tab.size()), tabSortie.data(),
                                                       static_cast<uint32_t>(tabSortie.size()));
                if (dw != tabEntree.size() || tabSortie != tabEntree) ++tabEchecs[static_cast<size_t>(t)];
            }
        });
    }
    for (std::thread& clFil : tabFils) clFil.join();
    for (int n : tabEchecs) EXPECT_EQ(n, 0);
}

}  // namespace
