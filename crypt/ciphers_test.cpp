// The ciphers against values computed independently (tools/gen_cipher_vectors.py, from the
// algorithms' description), RC5's blocks against the crypto++ implementation on random data, and
// the whole-file cipher's layout, round trips and failures on real files.
#include "crypt/ciphers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#ifdef OV_TEST_CRYPTOPP
#include <cryptopp/rc5.h>
#endif

namespace {

using Octets = std::vector<unsigned char>;

struct stVecteurMotDePasse {
    int nLigne;
    const wchar_t* pszMotDePasse;
    const char* pszCleMaison;
    const char* pszCleMaisonSysteme;
    const char* pszCleRC5;
};
struct stVecteurAnsi {
    int nLigne;
    const char* pszMateriau;
    const char* pszCleMaison;
    const char* pszCleRC5;
};
struct stVecteurDonnees {
    int nLigne;
    const char* pszClair;
    const char* pszMaison;
    const char* pszRC5_8;
    const char* pszRC5_16;
};

#include "crypt/testdata/cipher_vectors.inc"

Octets Hexa(const char* psz) {
    Octets v;
    for (size_t i = 0; psz[i] != 0 && psz[i + 1] != 0; i += 2) v.push_back(static_cast<unsigned char>(std::stoi(std::string(psz + i, 2), nullptr, 16)));
    return v;
}

std::string sHexa(const unsigned char* pby, size_t n) {
    static const char kChiffres[] = "0123456789ABCDEF";
    std::string s;
    for (size_t i = 0; i < n; ++i) {
        s += kChiffres[pby[i] >> 4];
        s += kChiffres[pby[i] & 15];
    }
    return s;
}
std::string sHexa(const Octets& v) { return sHexa(v.data(), v.size()); }

Octets Aleatoire(std::mt19937& gen, size_t n) {
    Octets v(n);
    for (auto& by : v) by = static_cast<unsigned char>(gen());
    return v;
}

// A cipher of pclCreeCrypt, released at the end of the scope.
struct CChiffre {
    CCrypt* pcl;
    explicit CChiffre(int nMethode) : pcl(pclCreeCrypt(nMethode)) {}
    ~CChiffre() {
        if (pcl != nullptr) pcl->dwRelease();
    }
    CCrypt* operator->() const { return pcl; }
};

// ---------------------------------------------------------------- key derivations

TEST(CipherKeys, PasswordsGiveTheIndependentlyComputedKeys) {
    for (const auto& v : kVecteursMotDePasse) {
        SCOPED_TRACE(testing::Message() << "cipher_vectors.inc line " << v.nLigne);
        CCrypt::TCle tabCle;
        CCryptHomeMade clMaison;
        clMaison.BuildCryptKey(&tabCle, v.pszMotDePasse);
        EXPECT_EQ(sHexa(tabCle, 16), v.pszCleMaison);

        CChiffre clSysteme(eCRYPT_HOMEMADE);  // made by the system: mixes with its own, zero key
        ASSERT_TRUE(clSysteme->bSetPassword(v.pszMotDePasse));
        EXPECT_EQ(sHexa(clSysteme->pbyGetCle(), 16), v.pszCleMaisonSysteme);

        for (int nMethode : {eCRYPT_RC5_8, eCRYPT_RC5_16}) {
            CChiffre clRC5(nMethode);
            ASSERT_TRUE(clRC5->bSetPassword(v.pszMotDePasse));
            EXPECT_EQ(sHexa(clRC5->pbyGetCle(), 16), v.pszCleRC5);
        }
    }
}

TEST(CipherKeys, NarrowMaterialGoesAsItIs) {
    for (const auto& v : kVecteursAnsi) {
        SCOPED_TRACE(testing::Message() << "cipher_vectors.inc line " << v.nLigne);
        Octets vMateriau = Hexa(v.pszMateriau);
        const std::string sTexte(vMateriau.begin(), vMateriau.end());
        CCrypt::TCle tabCle;
        CCryptHomeMade().BuildCryptKeyAnsi(&tabCle, sTexte.c_str());
        EXPECT_EQ(sHexa(tabCle, 16), v.pszCleMaison);
        CCryptRC5 clRC5(16);
        ASSERT_TRUE(clRC5.bSetPasswordAnsi(sTexte.c_str()));
        EXPECT_EQ(sHexa(clRC5.pbyGetCle(), 16), v.pszCleRC5);
    }
}

TEST(CipherKeys, NullPasswordIsTheEmptyOne) {
    CCrypt::TCle tabVide, tabNul;
    CCryptRC5 clRC5(8);
    clRC5.BuildCryptKey(&tabVide, L"");
    clRC5.BuildCryptKey(&tabNul, nullptr);
    EXPECT_EQ(0, std::memcmp(tabVide, tabNul, 16));
    clRC5.BuildCryptKeyAnsi(&tabNul, nullptr);
    EXPECT_EQ(0, std::memcmp(tabVide, tabNul, 16));
}

// A system-made object mixes with the key it holds, and deriving into that very key must read it
// before overwriting it.
TEST(CipherKeys, SystemMadeDerivationReadsItsOwnKeyBeforeWriting) {
    CCryptHomeMade clA(true), clB(true);
    CCrypt::TCle tabPremiere;
    ASSERT_TRUE(clA.bSetPassword(L"Noël"));
    std::memcpy(tabPremiere, clA.pbyGetCle(), 16);
    ASSERT_TRUE(clB.bSetCryptKey(&tabPremiere));
    CCrypt::TCle tabDehors;
    clB.BuildCryptKey(&tabDehors, L"été \U0001F600");
    clA.BuildCryptKey(const_cast<CCrypt::TCle*>(reinterpret_cast<const CCrypt::TCle*>(clA.pbyGetCle())),
                      L"été \U0001F600");
    EXPECT_EQ(sHexa(tabDehors, 16), sHexa(clA.pbyGetCle(), 16));
}

// ---------------------------------------------------------------- the ciphers on data

TEST(Ciphers, DataGiveTheIndependentlyComputedCipherTexts) {
    const Octets vCle = Hexa(kCleVecteurs);
    CCrypt::TCle tabCle;
    std::memcpy(tabCle, vCle.data(), 16);
    for (const auto& v : kVecteursDonnees) {
        const Octets vClair = Hexa(v.pszClair);
        SCOPED_TRACE(testing::Message() << "cipher_vectors.inc line " << v.nLigne << ", " << vClair.size() << " bytes");
        const struct {
            CCrypt* pcl;
            const char* pszAttendu;
        } tabCas[] = {{new CCryptHomeMade(), v.pszMaison}, {new CCryptRC5(8), v.pszRC5_8}, {new CCryptRC5(16), v.pszRC5_16}};
        for (const auto& c : tabCas) {
            c.pcl->dwAddRef();
            ASSERT_TRUE(c.pcl->bSetCryptKey(&tabCle));
            Octets vDonnees = vClair;
            c.pcl->Crypt(vDonnees.data(), vDonnees.size(), nullptr);
            EXPECT_EQ(sHexa(vDonnees), c.pszAttendu);
            c.pcl->Uncrypt(vDonnees.data(), vDonnees.size(), nullptr);
            EXPECT_EQ(vDonnees, vClair);
            c.pcl->dwRelease();
        }
    }
}

TEST(Ciphers, HomeMadeComesBackForEverySize) {
    std::mt19937 gen(7);
    for (size_t n = 0; n <= 300; ++n) {
        const Octets vCle = Aleatoire(gen, 16), vClair = Aleatoire(gen, n);
        CCrypt::TCle tabCle;
        std::memcpy(tabCle, vCle.data(), 16);
        CCryptHomeMade clMaison;
        Octets v = vClair;
        clMaison.Crypt(v.data(), v.size(), &tabCle);
        if (n >= 4) {
            EXPECT_NE(v, vClair) << n;
        }
        clMaison.Uncrypt(v.data(), v.size(), &tabCle);
        ASSERT_EQ(v, vClair) << n;
    }
}

TEST(Ciphers, HomeMadeOneByteSeesOnlyTheSumOfTheKeyWords) {
    // Same word sum: 1 + 0 + 0 + 0 and 0 + 0 + 0 + 1 (little-endian words); then a sum whose two
    // mixed bytes add up differently.
    CCrypt::TCle tabA = {1}, tabB = {}, tabC = {2};
    tabB[12] = 1;
    CCryptHomeMade clMaison;
    for (int nOctet = 0; nOctet < 256; ++nOctet) {
        unsigned char a = static_cast<unsigned char>(nOctet), b = a, c = a;
        clMaison.Crypt(&a, 1, &tabA);
        clMaison.Crypt(&b, 1, &tabB);
        clMaison.Crypt(&c, 1, &tabC);
        EXPECT_EQ(a, b) << nOctet;
        EXPECT_NE(a, c) << nOctet;
    }
}

TEST(Ciphers, RC5ComesBackForEverySizeAndChainsOverTheWholeBuffer) {
    std::mt19937 gen(11);
    for (int nTours : {8, 16}) {
        CCryptRC5 clRC5(nTours);
        for (size_t n = 0; n <= 80; ++n) {
            const Octets vCle = Aleatoire(gen, 16), vClair = Aleatoire(gen, n);
            CCrypt::TCle tabCle;
            std::memcpy(tabCle, vCle.data(), 16);
            Octets v = vClair;
            clRC5.Crypt(v.data(), v.size(), &tabCle);
            // A change in the first byte reaches the last one, through the blocks and the tail.
            if (n >= 1) {
                Octets w = vClair;
                w[0] ^= 1;
                clRC5.Crypt(w.data(), w.size(), nullptr);
                EXPECT_NE(w.back(), v.back()) << nTours << " rounds, " << n;
            }
            clRC5.Uncrypt(v.data(), v.size(), nullptr);
            ASSERT_EQ(v, vClair) << nTours << " rounds, " << n;
        }
    }
}

TEST(Ciphers, RC5ExplicitKeyIsStoredAndAKeylessObjectUsesTheZeroKey) {
    CCrypt::TCle tabCle = {9, 8, 7, 6, 5, 4, 3, 2, 1}, tabZero = {};
    Octets vClair(21, 0x5A), vNeuf = vClair, vZero = vClair, vExplicite = vClair, vStockee = vClair;
    CCryptRC5 clNeuf(16), clZero(16);
    clNeuf.Crypt(vNeuf.data(), vNeuf.size(), nullptr);  // never given a key
    ASSERT_TRUE(clZero.bSetCryptKey(&tabZero));
    clZero.Crypt(vZero.data(), vZero.size(), nullptr);
    EXPECT_EQ(vNeuf, vZero);

    clZero.Crypt(vExplicite.data(), vExplicite.size(), &tabCle);
    EXPECT_EQ(0, std::memcmp(clZero.pbyGetCle(), tabCle, 16));
    clZero.Crypt(vStockee.data(), vStockee.size(), nullptr);
    EXPECT_EQ(vExplicite, vStockee);
    EXPECT_NE(vExplicite, vZero);
}

TEST(Ciphers, OnlyTheThreeMethodsAreMade) {
    for (int nMethode : {-1, 0, 4, 0x10001}) EXPECT_EQ(pclCreeCrypt(nMethode), nullptr) << nMethode;
    CChiffre cl1(1), cl2(2), cl3(3);
    ASSERT_NE(dynamic_cast<CCryptHomeMade*>(cl1.pcl), nullptr);
    ASSERT_NE(dynamic_cast<CCryptRC5*>(cl2.pcl), nullptr);
    ASSERT_NE(dynamic_cast<CCryptRC5*>(cl3.pcl), nullptr);
    EXPECT_EQ(cl1->nGetRef(), 1);
    // 2 and 3 differ in rounds only.
    Octets v2(16, 1), v3(16, 1);
    cl2->Crypt(v2.data(), v2.size(), nullptr);
    cl3->Crypt(v3.data(), v3.size(), nullptr);
    EXPECT_NE(v2, v3);
}

#ifdef OV_TEST_CRYPTOPP
// Our A is the high half of the little-endian block, the usual RC5 takes the low half first: the
// peer sees each block with its two halves swapped, and chaining is done here around it.
TEST(Ciphers, RC5BlocksAgreeWithCryptoPP) {
    std::mt19937 gen(2024);
    for (int nTours : {8, 16}) {
        for (int nEssai = 0; nEssai < 50; ++nEssai) {
            const Octets vCle = Aleatoire(gen, 16);
            const Octets vClair = Aleatoire(gen, 8 * (1 + gen() % 40));
            CryptoPP::RC5::Encryption clPair;
            clPair.SetKeyWithRounds(vCle.data(), 16, nTours);
            Octets vPair(vClair.size());
            unsigned char tabChaine[8] = {}, tabBloc[8], tabSortie[8];
            for (size_t o = 0; o < vClair.size(); o += 8) {
                for (int k = 0; k < 8; ++k) tabBloc[(k + 4) % 8] = vClair[o + k] ^ tabChaine[k];
                clPair.ProcessBlock(tabBloc, tabSortie);
                for (int k = 0; k < 8; ++k) vPair[o + k] = tabChaine[k] = tabSortie[(k + 4) % 8];
            }
            CCrypt::TCle tabCle;
            std::memcpy(tabCle, vCle.data(), 16);
            CCryptRC5 clRC5(nTours);
            Octets v = vClair;
            clRC5.Crypt(v.data(), v.size(), &tabCle);
            ASSERT_EQ(sHexa(v), sHexa(vPair)) << nTours << " rounds, " << vClair.size() << " bytes";

            // And the other way: the peer's decryption of random cipher text.
            CryptoPP::RC5::Decryption clPairInverse;
            clPairInverse.SetKeyWithRounds(vCle.data(), 16, nTours);
            const Octets vChiffre = Aleatoire(gen, 8 * (1 + gen() % 8));
            Octets vAttendu(vChiffre.size());
            std::memset(tabChaine, 0, 8);
            for (size_t o = 0; o < vChiffre.size(); o += 8) {
                for (int k = 0; k < 8; ++k) tabBloc[(k + 4) % 8] = vChiffre[o + k];
                clPairInverse.ProcessBlock(tabBloc, tabSortie);
                for (int k = 0; k < 8; ++k) {
                    vAttendu[o + k] = tabSortie[(k + 4) % 8] ^ tabChaine[k];
                    tabChaine[k] = vChiffre[o + k];
                }
            }
            Octets w = vChiffre;
            clRC5.Uncrypt(w.data(), w.size(), nullptr);
            ASSERT_EQ(sHexa(w), sHexa(vAttendu)) << nTours << " rounds";
        }
    }
}
#else
TEST(Ciphers, RC5BlocksAgreeWithCryptoPP) {
    FAIL() << "libcrypto++-dev was missing when this test was built: tools/bootstrap.sh installs it";
}
#endif

// ---------------------------------------------------------------- whole files

class CryptFile : public testing::Test {
protected:
    void SetUp() override {
        m_chemin = std::filesystem::temp_directory_path() /
                   ("ov_ciphers_" + std::to_string(getpid()) + "_" +
                    testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(m_chemin);
    }
    void TearDown() override { std::filesystem::remove_all(m_chemin); }

    std::wstring wsNom(const char* pszNom) const { return (m_chemin / pszNom).wstring(); }
    void Ecrit(const char* pszNom, const Octets& v) const {
        std::ofstream(m_chemin / pszNom, std::ios::binary).write(reinterpret_cast<const char*>(v.data()),
                                                                  static_cast<std::streamsize>(v.size()));
    }
    Octets Lit(const char* pszNom) const {
        std::ifstream f(m_chemin / pszNom, std::ios::binary);
        return Octets(std::istreambuf_iterator<char>(f), {});
    }
    bool bChiffre(const char* pszSource, const char* pszCible, const wchar_t* pszMotDePasse, int nMethode,
                  std::wstring* pwsMessage = nullptr) const {
        CCryptFile clFichier;
        EXPECT_TRUE(clFichier.bOpen(wsNom(pszCible).c_str(), eACCESS_ECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE,
                                    eFLAG_FICHIER, nullptr));
        const bool b = clFichier.bCrypt(wsNom(pszSource).c_str(), pszMotDePasse, nMethode);
        if (pwsMessage != nullptr) *pwsMessage = clFichier.pclGetXError()->pszGetUserMessage();
        return b;
    }
    bool bDechiffre(const char* pszSource, const char* pszCible, const wchar_t* pszMotDePasse, int nMethode,
                    std::wstring* pwsMessage = nullptr) const {
        CCryptFile clFichier;
        EXPECT_TRUE(clFichier.bOpen(wsNom(pszSource).c_str(), eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT,
                                    eFLAG_FICHIER, nullptr));
        const bool b = clFichier.bUncrypt(wsNom(pszCible).c_str(), pszMotDePasse, nMethode);
        if (pwsMessage != nullptr) *pwsMessage = clFichier.pclGetXError()->pszGetUserMessage();
        return b;
    }

    std::filesystem::path m_chemin;
};

TEST_F(CryptFile, SumThenRunsEachChainedFromItsOwnStart) {
    std::mt19937 gen(3);
    const wchar_t* pszMotDePasse = L"mot de passe déjà \U0001F511";
    for (size_t nTaille : {0u, 1u, 63999u, 64000u, 64001u, 128001u}) {
        for (int nMethode : {eCRYPT_HOMEMADE, eCRYPT_RC5_8, eCRYPT_RC5_16}) {
            SCOPED_TRACE(testing::Message() << nTaille << " bytes, method " << nMethode);
            const Octets vClair = Aleatoire(gen, nTaille);
            Ecrit("clair", vClair);
            ASSERT_TRUE(bChiffre("clair", "chiffre", pszMotDePasse, nMethode));
            EXPECT_EQ(Lit("clair"), vClair);  // the source untouched

            // The expected file from the cipher itself, run by run.
            CChiffre clCrypt(nMethode);
            ASSERT_TRUE(clCrypt->bSetPassword(pszMotDePasse));
            uint32_t dwSomme = 0;
            for (unsigned char by : vClair) dwSomme += by;
            Octets vAttendu = {static_cast<unsigned char>(dwSomme), static_cast<unsigned char>(dwSomme >> 8),
                               static_cast<unsigned char>(dwSomme >> 16), static_cast<unsigned char>(dwSomme >> 24)};
            for (size_t o = 0; o < nTaille; o += CCryptFile::kTailleRun) {
                Octets vRun(vClair.begin() + static_cast<long>(o),
                            vClair.begin() + static_cast<long>(std::min<size_t>(nTaille, o + CCryptFile::kTailleRun)));
                clCrypt->Crypt(vRun.data(), vRun.size(), nullptr);
                vAttendu.insert(vAttendu.end(), vRun.begin(), vRun.end());
            }
            ASSERT_EQ(Lit("chiffre"), vAttendu);

            ASSERT_TRUE(bDechiffre("chiffre", "retour", pszMotDePasse, nMethode));
            EXPECT_EQ(Lit("retour"), vClair);
        }
    }
}

TEST_F(CryptFile, WrongPasswordIsReportedAndTheOutputWrittenAllTheSame) {
    std::mt19937 gen(5);
    const Octets vClair = Aleatoire(gen, 70000);
    Ecrit("clair", vClair);
    ASSERT_TRUE(bChiffre("clair", "chiffre", L"Noël", eCRYPT_RC5_16));
    std::wstring wsMessage;
    EXPECT_FALSE(bDechiffre("chiffre", "retour", L"Noel", eCRYPT_RC5_16, &wsMessage));
    EXPECT_NE(wsMessage.find(L"password is wrong"), std::wstring::npos) << wsMessage;
    EXPECT_NE(wsMessage.find(wsNom("chiffre")), std::wstring::npos) << wsMessage;
    const Octets vRetour = Lit("retour");
    EXPECT_EQ(vRetour.size(), vClair.size());
    EXPECT_NE(vRetour, vClair);

    // Too short to hold the sum: the same failure.
    Ecrit("court", {1, 2});
    EXPECT_FALSE(bDechiffre("court", "retour", L"Noël", eCRYPT_RC5_16, &wsMessage));
    EXPECT_NE(wsMessage.find(L"password is wrong"), std::wstring::npos) << wsMessage;
}

TEST_F(CryptFile, UnknownMethodIsRefusedWithoutWriting) {
    Ecrit("clair", {1, 2, 3});
    std::wstring wsMessage;
    for (int nMethode : {0, 4}) {
        EXPECT_FALSE(bChiffre("clair", "chiffre", L"x", nMethode, &wsMessage));
        EXPECT_NE(wsMessage.find(L"method is unknown"), std::wstring::npos) << wsMessage;
        EXPECT_FALSE(bDechiffre("clair", "retour", L"x", nMethode, &wsMessage));
        EXPECT_NE(wsMessage.find(L"method is unknown"), std::wstring::npos) << wsMessage;
    }
    EXPECT_EQ(Lit("clair"), (Octets{1, 2, 3}));
}

TEST_F(CryptFile, OneFileAsBothEndsIsRefusedAndKept) {
    const Octets vClair(1000, 0x41);
    Ecrit("clair", vClair);
    std::filesystem::create_hard_link(m_chemin / "clair", m_chemin / "lien");
    {  // the caller opened the destination without emptying it
        CCryptFile clFichier;
        ASSERT_TRUE(clFichier.bOpen(wsNom("lien").c_str(), eACCESS_ECRITURE, eSHARE_AUCUN, eCREATE_EXISTANT,
                                    eFLAG_FICHIER, nullptr));
        EXPECT_FALSE(clFichier.bCrypt(wsNom("clair").c_str(), L"x", eCRYPT_HOMEMADE));
        EXPECT_NE(clFichier.pclGetXError()->eGetErrorLevel(), CXError::EL_NOERROR);
    }
    EXPECT_EQ(Lit("clair"), vClair);
    std::wstring wsMessage;
    EXPECT_FALSE(bDechiffre("clair", "lien", L"x", eCRYPT_HOMEMADE, &wsMessage));
    EXPECT_FALSE(wsMessage.empty());
    EXPECT_EQ(Lit("clair"), vClair);
}

TEST_F(CryptFile, MissingSourceCarriesTheOpenError) {
    std::wstring wsMessage;
    EXPECT_FALSE(bChiffre("absent", "chiffre", L"x", eCRYPT_RC5_8, &wsMessage));
    EXPECT_NE(wsMessage.find(wsNom("absent")), std::wstring::npos) << wsMessage;
}

}  // namespace
