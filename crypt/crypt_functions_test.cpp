// The stages of the crypt functions on bytes, where the machine cannot reach them all: every
// cipher with every compression on sizes around the block edges, the strict 1252 form of text,
// the form deciphered bytes are given back in, and the buffer functions.
#include "crypt/crypt_functions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "compress/block_compressors.h"
#include "crypt/ciphers.h"

namespace ovcrypte {
namespace {

std::vector<uint8_t> tabOctets(const std::string& s) { return {s.begin(), s.end()}; }

std::vector<uint8_t> tabMemoire(const std::wstring& s) {
    const auto* pby = reinterpret_cast<const uint8_t*>(s.data());
    return {pby, pby + s.size() * sizeof(wchar_t)};
}

// Text that compresses, with French accents and a character outside the BMP, cut to n bytes.
std::vector<uint8_t> tabDonnees(size_t n) {
    const std::vector<uint8_t> tabMotif = tabMemoire(L"Noël à l’école, où l’été dure \U0001F600 ");
    std::vector<uint8_t> tab(n);
    for (size_t i = 0; i < n; ++i) tab[i] = tabMotif[i % tabMotif.size()];
    return tab;
}

TEST(CryptOption, BitTwentySixIsMaskedBeforeTheMethodsAreRead) {
    const struct {
        int nLigne;
        uint32_t dwOption;
        int nMethode, nCompression;
        bool bAnsi;
    } tabCas[] = {
        {__LINE__, 0x00000002, 2, 0, false},
        {__LINE__, 0x04000003, 3, 0, true},
        {__LINE__, 0x04010001, 1, 1, true},
        {__LINE__, 0x00020000, 0, 2, false},
        {__LINE__, 0x08000000, 0, 0x800, false},  // bit 27 is no request: it lands in the compress method
    };
    for (const auto& c : tabCas) {
        const STOption st = stLitOption(c.dwOption);
        EXPECT_EQ(st.nMethode, c.nMethode) << "row " << c.nLigne;
        EXPECT_EQ(st.nCompression, c.nCompression) << "row " << c.nLigne;
        EXPECT_EQ(st.bAnsi, c.bAnsi) << "row " << c.nLigne;
    }
}

// Every method with every compression, on sizes around the RC5 block and the home-made cipher's
// middle step: the cipher stage changes the bytes and the way back restores them.
TEST(CryptStages, CompressThenEncipherComesBack) {
    for (int nMethode = 0; nMethode <= 3; ++nMethode)
        for (int nCompression = 0; nCompression <= 2; ++nCompression)
            for (size_t n : {0, 1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 64, 1001}) {
                const STOption st{nMethode, nCompression, false};
                const std::vector<uint8_t> tabClair = tabDonnees(n);
                std::vector<uint8_t> tab = tabClair;
                ASSERT_EQ(nCrypte(&tab, L"mot de passe é", st), eOK) << nMethode << nCompression << " " << n;
                std::vector<uint8_t> tabAttendu = tabClair;
                if (nCompression != 0) {
                    ASSERT_EQ(ovcompresse::_ChaineCompresseA(&tabAttendu, tabClair.data(), n, nCompression), 0);
                }
                EXPECT_EQ(tab.size(), tabAttendu.size()) << "ciphers keep lengths";
                if (nMethode == 0) {
                    EXPECT_EQ(tab, tabAttendu);
                } else if (tabAttendu.size() > 1) {
                    EXPECT_NE(tab, tabAttendu) << nMethode << " " << n;
                }
                ASSERT_EQ(nDecrypte(&tab, L"mot de passe é", st), eOK) << nMethode << nCompression << " " << n;
                EXPECT_EQ(tab, tabClair) << nMethode << nCompression << " " << n;
            }
}

TEST(CryptStages, WrongPasswordDoesNotComeBack) {
    for (int nMethode = 1; nMethode <= 3; ++nMethode) {
        std::vector<uint8_t> tab = tabDonnees(200);
        ASSERT_EQ(nCrypte(&tab, L"juste", {nMethode, 0, false}), eOK);
        ASSERT_EQ(nDecrypte(&tab, L"fausse", {nMethode, 0, false}), eOK);
        EXPECT_NE(tab, tabDonnees(200)) << nMethode;
        // Compressed, the packed block's header no longer reads: an error, not garbage.
        tab = tabDonnees(200);
        ASSERT_EQ(nCrypte(&tab, L"juste", {nMethode, 1, false}), eOK);
        EXPECT_EQ(nDecrypte(&tab, L"fausse", {nMethode, 1, false}), eDONNEES_ENDOMMAGEES) << nMethode;
    }
}

TEST(CryptText, Cp1252HoldsFrenchButNotEverything) {
    std::vector<uint8_t> tab;
    ASSERT_EQ(nVers1252(L"Noël à l’été €", 14, &tab), eOK);
    EXPECT_EQ(tab, tabOctets("No\xEBl \xE0 l\x92\xE9t\xE9 \x80"));
    const std::wstring sHorsPage = L"été \U0001F600";
    EXPECT_EQ(nVers1252(sHorsPage.data(), sHorsPage.size(), &tab), eTEXTE_NON_CONVERTIBLE);
    const std::wstring sCyrillique = L"д";
    EXPECT_EQ(nVers1252(sCyrillique.data(), 1, &tab), eTEXTE_NON_CONVERTIBLE);
}

TEST(CryptText, DecipheredBytesChooseTheirForm) {
    const std::vector<uint8_t> tabLarge = tabMemoire(L"été \U0001F600");
    const struct {
        int nLigne;
        std::vector<uint8_t> tab;
        bool bAnsi;
        EForme eAttendu;
    } tabCas[] = {
        {__LINE__, tabOctets("\xE9t\xE9"), true, EForme::Texte1252},
        {__LINE__, tabOctets("\xE9t\xE9"), false, EForme::Binaire},
        {__LINE__, tabLarge, false, EForme::TexteLarge},
        {__LINE__, tabLarge, true, EForme::TexteLarge},
        {__LINE__, tabOctets(std::string("a\0b", 3)), true, EForme::Binaire},
        {__LINE__, tabOctets(std::string("\0\xD8\0\0", 4)), false, EForme::Binaire},  // a surrogate
        {__LINE__, tabOctets(std::string("\0\0\x11\0", 4)), false, EForme::Binaire},  // past U+10FFFF
        {__LINE__, tabOctets(std::string("A\0\0\0\0\0\0\0", 8)), false, EForme::Binaire},
        {__LINE__, {}, false, EForme::TexteLarge},
        {__LINE__, {}, true, EForme::Texte1252},
    };
    for (const auto& c : tabCas) EXPECT_EQ(eFormeResultat(c.tab, c.bAnsi), c.eAttendu) << "row " << c.nLigne;
}

TEST(CryptBuffer, OddLengthIsKeptAndComesBack) {
    const std::string s = "Où est l’œuf ?!";  // UTF-8, odd length
    ASSERT_EQ(s.size() % 2, 1u);
    const CZKBIN clClair(s.data(), static_cast<int>(s.size()));
    for (int nMethode = 1; nMethode <= 3; ++nMethode) {
        const CZKBIN clChiffre = clBufferCrypte(clClair, L"clé", nMethode);
        ASSERT_EQ(clChiffre.nGetTaille(), clClair.nGetTaille()) << nMethode;
        EXPECT_NE(std::memcmp(clChiffre.pbyGet(), clClair.pbyGet(), s.size()), 0);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(clClair.pbyGet()), s.size()), s) << "the input is not touched";
        const CZKBIN clRetour = clBufferDecrypte(clChiffre, L"clé", nMethode, 0);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(clRetour.pbyGet()), s.size()), s) << nMethode;
    }
    EXPECT_TRUE(clBufferCrypte(clClair, L"clé", 4).bEstVide());
    EXPECT_TRUE(clBufferCrypte(clClair, L"clé", 0).bEstVide());
}

}  // namespace
}  // namespace ovcrypte
