// The base-40 text packer: exact packed bytes worked out by hand from the digit rules, round trips
// of every kind of text, refusal of bad streams, and bounded output on both sides.
#include "base/data_compressor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/internal/test_resource_block.h"
#include "base/module_info.h"

namespace {

using Octets = std::vector<uint8_t>;

Octets tabCompresse(const std::string& sTexte, int* pnResultat = nullptr) {
    CDataCompressor clCompresseur;
    const auto* pbyTexte = reinterpret_cast<const uint8_t*>(sTexte.data());
    int nLongueur = -1;
    clCompresseur.nCompress(nullptr, 0, &nLongueur, pbyTexte, static_cast<int>(sTexte.size()));
    Octets tab(static_cast<size_t>(nLongueur) + 1, 0xAA);
    const int nResultat = clCompresseur.nCompress(tab.data(), static_cast<int>(tab.size()), &nLongueur, pbyTexte,
                                                  static_cast<int>(sTexte.size()));
    if (pnResultat != nullptr) *pnResultat = nResultat;
    EXPECT_EQ(tab.back(), 0) << "the stream ends with a zero byte";
    tab.resize(static_cast<size_t>(nLongueur));
    return tab;
}

// Unpacks into a heap block of exactly nTaille bytes, so that a write past it is caught.
std::string sDecompresse(const Octets& tabPaquet, int* pnResultat, size_t nTaille = 0) {
    if (nTaille == 0) nTaille = CDataCompressor::s_nTailleDecompresseeMax(tabPaquet.size());
    std::unique_ptr<uint8_t[]> pbySortie(new uint8_t[nTaille]);
    // An exact copy of the input too: a read past its end is caught.
    std::unique_ptr<uint8_t[]> pbyEntree(new uint8_t[tabPaquet.size() + 1]);
    if (!tabPaquet.empty()) memcpy(pbyEntree.get(), tabPaquet.data(), tabPaquet.size());
    int nLongueur = static_cast<int>(nTaille);
    CDataCompressor clCompresseur;
    *pnResultat = clCompresseur.nDeCompress(pbySortie.get(), &nLongueur, pbyEntree.get(),
                                            static_cast<int>(tabPaquet.size()));
    const size_t nEcrits = static_cast<size_t>(nLongueur) < nTaille ? static_cast<size_t>(nLongueur) : nTaille - 1;
    EXPECT_EQ(pbySortie[nEcrits], 0) << "the output is terminated";
    return std::string(reinterpret_cast<const char*>(pbySortie.get()), nEcrits);
}

TEST(DataCompressor, PacksToTheBytesTheDigitRulesGive) {
    // Symbol digits are index + 8; a triple (a, b, c) is v = 1600a + 40b + c, stored as v / 255 + 1
    // and v % 255 + 1; a lone last digit d is stored as d + 1.
    struct STCas {
        int nLigne;
        std::string sTexte;
        Octets tabAttendu;
    } const astCas[] = {
        {__LINE__, "", {}},
        // 'A' is symbol 6 of charset 0: digit 14 alone.
        {__LINE__, "A", {15}},
        // 14, 15, 16: 23016 = 90 * 255 + 66.
        {__LINE__, "ABC", {91, 67}},
        // 'a' as the last byte: shift 1, digit 10, padded with the latch of charset 0 (4): 2004.
        {__LINE__, "a", {8, 220}},
        // "aB": the look-ahead finds charset 0 cheapest for 'B', so 'a' is shifted: 1, 10, 15.
        {__LINE__, "aB", {8, 231}},
        // "Abc": charset 1 wins the look-ahead, so latch 5: 14, 5, 11 then 12 alone.
        {__LINE__, "Abc", {89, 172, 13}},
        // 0x01 is in no charset: latch 7, escape 38, padding 39 (12759), then the raw byte.
        {__LINE__, std::string("\x01", 1), {51, 10, 1}},
        // Three of them: escape 39 with a count byte (12799).
        {__LINE__, std::string("\x01\x01\x01", 3), {51, 50, 3, 1, 1, 1}},
        // A few encodable bytes between two raw ones ride along in the same run.
        {__LINE__, std::string("\x01" "ab\x02", 4), {51, 50, 4, 1, 'a', 'b', 2}},
        // One raw byte followed by three encodable ones stands alone: escape 38, then "abc" in
        // charset 3 needs a latch to 1 (5): 5, 10, 11 (8411) then 12 alone.
        {__LINE__, std::string("\x01" "abc", 4), {51, 10, 1, 33, 252, 13}},
    };
    for (const auto& stCas : astCas) {
        int nResultat = -1;
        EXPECT_EQ(tabCompresse(stCas.sTexte, &nResultat), stCas.tabAttendu) << "line " << stCas.nLigne;
        EXPECT_EQ(nResultat, CDataCompressor::RESULTAT_OK) << "line " << stCas.nLigne;
    }
}

TEST(DataCompressor, RoundTripsEveryKindOfText) {
    std::string sTousLesOctets;
    for (int i = 1; i < 256; ++i) sTousLesOctets.push_back(static_cast<char>(i));
    std::string sAvecZeros("a\0b\0\0c", 6);
    struct STCas {
        int nLigne;
        std::string sTexte;
    } const astCas[] = {
        {__LINE__, "Invalid file number: %d. No file is open under this number."},
        {__LINE__, "Le fichier n°%d « %s » n'est pas ouvert : accès refusé à l'élève."},
        {__LINE__, "Clé \xF0\x9D\x84\x9E hors du plan de base"},  // U+1D11E in UTF-8
        {__LINE__, "\t\r\n tabs, CR LF, 100% <ok>? [x] {y} ~z~ `q` #1 $2 &3 *4 +5 -6 /7 :8 ;9 =@\\^_|"},
        {__LINE__, "\xE0\xE8\xE9\xEA\xA0\xB0\xE2\xE7\xEB\xEE\xEF\xF4\xF9\xFB\xFE\xFF"},  // Latin-1 symbols
        {__LINE__, sTousLesOctets},
        {__LINE__, sAvecZeros},
        {__LINE__, std::string(300, '\x01')},         // a raw run longer than one count byte
        {__LINE__, std::string(600, '\x80') + "fin"},  // several full runs
        {__LINE__, "a" + std::string(50, ' ') + "A"},   // a long tie in the look-ahead
        {__LINE__, std::string(1000, 'x')},
    };
    for (const auto& stCas : astCas) {
        int nResultat = -1;
        const Octets tabPaquet = tabCompresse(stCas.sTexte, &nResultat);
        ASSERT_EQ(nResultat, CDataCompressor::RESULTAT_OK) << "line " << stCas.nLigne;
        EXPECT_EQ(sDecompresse(tabPaquet, &nResultat), stCas.sTexte) << "line " << stCas.nLigne;
        EXPECT_EQ(nResultat, CDataCompressor::RESULTAT_OK) << "line " << stCas.nLigne;
    }
}

TEST(DataCompressor, RefusesStreamsThatAreNotPacked) {
    struct STCas {
        int nLigne;
        Octets tabPaquet;
        int nResultat;
    } const astCas[] = {
        {__LINE__, {0, 10}, CDataCompressor::RESULTAT_DONNEES_INVALIDES},          // zero at an even position
        {__LINE__, {91, 67, 0, 5}, CDataCompressor::RESULTAT_DONNEES_INVALIDES},   // ... further on
        {__LINE__, {91, 0}, CDataCompressor::RESULTAT_DONNEES_INVALIDES},          // zero at an odd position
        {__LINE__, {251, 255}, CDataCompressor::RESULTAT_DONNEES_INVALIDES},       // value past 39,39,39
        {__LINE__, {91, 67, 0}, CDataCompressor::RESULTAT_DONNEES_INVALIDES},      // zero as last digit
        {__LINE__, {41}, CDataCompressor::RESULTAT_DONNEES_INVALIDES},             // last digit past 39
        {__LINE__, {51, 10}, CDataCompressor::RESULTAT_ECHAPPEMENT_TRONQUE},       // raw byte missing
        {__LINE__, {51, 50}, CDataCompressor::RESULTAT_ECHAPPEMENT_TRONQUE},       // count missing
        {__LINE__, {51, 50, 3, 1, 1}, CDataCompressor::RESULTAT_ECHAPPEMENT_TRONQUE},  // raw run cut
        {__LINE__, {8}, CDataCompressor::RESULTAT_OK},   // a lone latch: nothing to write
        {__LINE__, {51, 50, 0}, CDataCompressor::RESULTAT_OK},  // an empty raw run
    };
    for (const auto& stCas : astCas) {
        int nResultat = -1;
        sDecompresse(stCas.tabPaquet, &nResultat);
        EXPECT_EQ(nResultat, stCas.nResultat) << "line " << stCas.nLigne;
    }
}

TEST(DataCompressor, UnpackingIntoAShortBufferCutsAndCountsTheWholeText) {
    const Octets tabPaquet = tabCompresse("Bonjour \xC3\xA9t\xC3\xA9");
    // Thirteen bytes of text.
    for (size_t nTaille : {1u, 2u, 5u, 13u}) {
        int nResultat = -1;
        std::unique_ptr<uint8_t[]> pbySortie(new uint8_t[nTaille]);
        int nLongueur = static_cast<int>(nTaille);
        CDataCompressor clCompresseur;
        nResultat = clCompresseur.nDeCompress(pbySortie.get(), &nLongueur, tabPaquet.data(),
                                              static_cast<int>(tabPaquet.size()));
        EXPECT_EQ(nResultat, CDataCompressor::RESULTAT_SORTIE_COURTE) << nTaille;
        EXPECT_EQ(nLongueur, 13) << "the whole length is told, " << nTaille;
        EXPECT_EQ(pbySortie[nTaille - 1], 0) << nTaille;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(pbySortie.get())),
                  std::string("Bonjour \xC3\xA9t\xC3\xA9").substr(0, nTaille - 1));
    }
    int nResultat = -1;
    EXPECT_EQ(sDecompresse(tabPaquet, &nResultat, 14), "Bonjour \xC3\xA9t\xC3\xA9");
    EXPECT_EQ(nResultat, CDataCompressor::RESULTAT_OK) << "thirteen bytes and the terminator fit in 14";
}

TEST(DataCompressor, PackingIntoAShortBufferTellsTheLengthItNeeds) {
    CDataCompressor clCompresseur;
    const std::string sTexte = "Le numéro de fichier n'est pas valide.";
    const auto* pbyTexte = reinterpret_cast<const uint8_t*>(sTexte.data());
    int nLongueur = 0;
    EXPECT_EQ(clCompresseur.nCompress(nullptr, 0, &nLongueur, pbyTexte, static_cast<int>(sTexte.size())),
              CDataCompressor::RESULTAT_SORTIE_COURTE);
    const int nAttendu = nLongueur;
    EXPECT_GT(nAttendu, 0);
    std::unique_ptr<uint8_t[]> pbySortie(new uint8_t[static_cast<size_t>(nAttendu)]);
    EXPECT_EQ(clCompresseur.nCompress(pbySortie.get(), nAttendu, &nLongueur, pbyTexte, static_cast<int>(sTexte.size())),
              CDataCompressor::RESULTAT_SORTIE_COURTE)
        << "no room for the end byte";
    EXPECT_EQ(nLongueur, nAttendu);
    uint8_t abySortie[4];
    EXPECT_EQ(clCompresseur.nCompress(abySortie, 4, &nLongueur, reinterpret_cast<const uint8_t*>("ABC\0DEF"), -1),
              CDataCompressor::RESULTAT_OK)
        << "-1: up to the zero";
    EXPECT_EQ(Octets(abySortie, abySortie + 3), (Octets{91, 67, 0}));
    EXPECT_EQ(clCompresseur.nCompress(nullptr, 0, &nLongueur, nullptr, 5), CDataCompressor::RESULTAT_DONNEES_INVALIDES);
    EXPECT_EQ(clCompresseur.nCompress(nullptr, 0, &nLongueur, pbyTexte, -2), CDataCompressor::RESULTAT_DONNEES_INVALIDES);
}

// ---------------------------------------------------------------- records to wide text

STRessourceModule stRecord(const std::string& sPaquet, uint32_t dwFormat) {
    return STRessourceModule{1000, reinterpret_cast<const uint8_t*>(sPaquet.data()),
                             static_cast<uint32_t>(sPaquet.size()), dwFormat, 0};
}

TEST(DataCompressorRecord, ShortWideBufferIsCutTerminatedAndCounted) {
    const std::string sPaquet = base_internal::sCompresse("Élève \xF0\x9D\x84\x9E");
    wchar_t szTexte[4];
    int nLongueur = 4;
    EXPECT_EQ(CDataCompressor::s_nDeCompress(szTexte, &nLongueur, stRecord(sPaquet, RESSOURCE_FORMAT_UTF8)),
              CDataCompressor::RESULTAT_SORTIE_COURTE);
    EXPECT_EQ(nLongueur, 7);
    EXPECT_STREQ(szTexte, L"Élè");
}

TEST(DataCompressorRecord, RefusesBadRecords) {
    const std::string sPaquet = base_internal::sCompresse("texte");
    wchar_t szTexte[16];
    int nLongueur = 16;
    EXPECT_EQ(CDataCompressor::s_nDeCompress(szTexte, &nLongueur, stRecord(sPaquet, 3)),
              CDataCompressor::RESULTAT_DONNEES_INVALIDES)
        << "unknown text format";
    EXPECT_EQ(CDataCompressor::s_pszDeCompress(stRecord(std::string("\0\1", 2), RESSOURCE_FORMAT_UTF8)), nullptr);
    EXPECT_EQ(CDataCompressor::s_pszDeCompress(stRecord(std::string("\x33\x0A", 2), RESSOURCE_FORMAT_UTF8)), nullptr)
        << "an escape whose raw byte is missing";
}

}  // namespace
