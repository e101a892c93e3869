// The crypt functions through the stand-in machine: strings and values enciphered and back in
// each string mode, the option word's parts and their errors, and files enciphered, encoded and
// back, with the failures that must leave the destination and the source as they were.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

constexpr int kAnsi = 0x4000000;
const std::wstring ksFrancais = L"Noël à l’école, où l’été dure \U0001F600";
const std::wstring ksFrancais1252 = L"Noël à l’école, où l’été dure";

std::string sAleatoire(size_t n, unsigned nGraine) {
    std::mt19937 gen(nGraine);
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>(gen() & 0xff);
    return s;
}

std::string sMemoire(const std::wstring& s) {
    return {reinterpret_cast<const char*>(s.data()), s.size() * sizeof(wchar_t)};
}

std::string sLit(const std::string& sChemin) {
    std::ifstream f(sChemin, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

void Ecrit(const std::string& sChemin, const std::string& s) { std::ofstream(sChemin, std::ios::binary) << s; }

// A readable form of a result for failure messages and equality: its kind and its content.
std::string sVu(const CValue& cl) {
    switch (cl.eKind) {
        case EValueKind::Text: return "text:" + sMemoire(cl.sText);
        case EValueKind::Ansi: return "ansi:" + cl.sBytes;
        case EValueKind::Buffer: return "buffer:" + cl.sBytes;
        case EValueKind::Null: return "null";
        default: return "other";
    }
}

class CryptEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/ov_crypt_XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRep = sModele;
    }
    void TearDown() override {
        m_cl.SetModeChaine(0);
        std::error_code ec;
        std::filesystem::permissions(m_sRep + "/ferme", std::filesystem::perms::owner_all, ec);
        std::filesystem::remove_all(m_sRep, ec);
    }
    std::string sChemin(const std::string& sNom) const { return m_sRep + "/" + sNom; }
    CValue Nom(const std::string& sNom) const {
        const std::string s = sChemin(sNom);
        return CValue::Text(std::wstring(s.begin(), s.end()));
    }
    // Entries of the directory whose name ends so.
    int nAvecSuffixe(const std::string& sSuffixe) const {
        int n = 0;
        for (const auto& e : std::filesystem::directory_iterator(m_sRep)) {
            const std::string s = e.path().filename().string();
            n += s.size() >= sSuffixe.size() && s.compare(s.size() - sSuffixe.size(), sSuffixe.size(), sSuffixe) == 0;
        }
        return n;
    }
    std::string m_sRep;
};

// ---------------------------------------------------------------- ChaineCrypte, ChaineDecrypte

// Cipher words keep the length; one character of RC5 is all tail, two make one block whose
// chaining makes the first word depend on the second.
TEST_F(CryptEndToEnd, StringsKeepTheirLengthAndComeBack) {
    for (int nMethode = 1; nMethode <= 3; ++nMethode)
        for (const std::wstring& s : {ksFrancais, std::wstring(L"é"), std::wstring(L"éa"), std::wstring(L"éb")}) {
            const STCallOutcome stC = stCall("ChaineCrypte", {CValue::Text(s), CValue::Text(L"clé"), CValue::Int(nMethode)});
            ASSERT_EQ(stC.clResult.sText.size(), s.size()) << nMethode;
            EXPECT_NE(stC.clResult.sText, s) << nMethode;
            EXPECT_EQ(stCall("Decrypte", {stC.clResult, CValue::Text(L"clé"), CValue::Int(nMethode)}).clResult.sText, s);
        }
    const auto Premier = [&](const wchar_t* psz) {
        return stCall("ChaineCrypte", {CValue::Text(psz), CValue::Text(L"k"), CValue::Int(2)}).clResult.sText[0];
    };
    EXPECT_NE(Premier(L"éa"), Premier(L"éb"));
}

TEST_F(CryptEndToEnd, StringFunctionsEdgeCases) {
    // An empty password gives the input back; a count enciphers that many bytes only.
    EXPECT_EQ(stCall("ChaineCrypte", {CValue::Text(ksFrancais), CValue::Text(L""), CValue::Int(2)}).clResult.sText, ksFrancais);
    EXPECT_EQ(stCall("Crypte", {CValue::Text(ksFrancais), CValue::Text(L""), CValue::Int(2)}).clResult.sBytes, sMemoire(ksFrancais));
    const STCallOutcome stCompte =
        stCall("ChaineCrypte", {CValue::Text(L"abcdefgh"), CValue::Text(L"k"), CValue::Int(1), CValue::Int(8)});
    EXPECT_EQ(stCompte.clResult.sText.substr(2), L"cdefgh");
    EXPECT_NE(stCompte.clResult.sText.substr(0, 2), L"ab");
    EXPECT_EQ(stCall("ChaineCrypte", {CValue::Text(L"abc"), CValue::Text(L"k"), CValue::Int(4)}).stError.nCode, 80280);
    EXPECT_EQ(stCall("Decrypte", {CValue::Text(L"abc"), CValue::Text(L"k"), CValue::Int(0)}).stError.nCode, 80280);
}

// ---------------------------------------------------------------- Crypte, Decrypte

// Round trips with the same option word, encoding and string mode; the form the enciphered value
// takes is the mode's.
TEST_F(CryptEndToEnd, ValuesComeBackWithTheSameOptions) {
    const std::string sBinaire = sAleatoire(1001, 3);
    const struct {
        int nLigne;
        int nMode;
        CValue clValeur;
        int nOption;
        int nEncodage;
        EValueKind eChiffre;  // the enciphered value's kind
        CValue clAttendu;     // what comes back
    } tabCas[] = {
        {__LINE__, 0, CValue::Text(ksFrancais), 1, 0, EValueKind::Buffer, CValue::Text(ksFrancais)},
        {__LINE__, 0, CValue::Text(ksFrancais), 2, 2, EValueKind::Text, CValue::Text(ksFrancais)},
        {__LINE__, 0, CValue::Text(ksFrancais), 0x10003, 1, EValueKind::Text, CValue::Text(ksFrancais)},
        {__LINE__, 0, CValue::Text(ksFrancais), 0x20002, 3, EValueKind::Text, CValue::Text(ksFrancais)},
        {__LINE__, 0, CValue::Text(ksFrancais1252), 1 | kAnsi, 4, EValueKind::Text, CValue::Text(ksFrancais1252)},
        {__LINE__, 0, CValue::Text(ksFrancais1252), 0x10002 | kAnsi, 0, EValueKind::Buffer, CValue::Text(ksFrancais1252)},
        {__LINE__, 0, CValue::Buffer(sBinaire), 3, 0, EValueKind::Buffer, CValue::Buffer(sBinaire)},
        {__LINE__, 0, CValue::Buffer(sBinaire), 0x20001, 2, EValueKind::Text, CValue::Buffer(sBinaire)},
        {__LINE__, 0, CValue::Text(L""), 2, 2, EValueKind::Text, CValue::Text(L"")},
        // Mode 1 and 2: 8-bit text is the program's, and comes back as 8-bit text.
        {__LINE__, 1, CValue::Ansi("Noël à l’école"), 2, 2, EValueKind::Ansi, CValue::Ansi("Noël à l’école")},
        {__LINE__, 2, CValue::Ansi("Noël à l’école"), 0x10001, 3, EValueKind::Ansi, CValue::Ansi("Noël à l’école")},
        {__LINE__, 1, CValue::Text(ksFrancais), 3, 2, EValueKind::Ansi, CValue::Ansi("Noël à l’école, où l’été dure 😀")},
        {__LINE__, 1, CValue::Buffer(sBinaire), 2, 0, EValueKind::Buffer, CValue::Buffer(sBinaire)},
    };
    for (const auto& c : tabCas) {
        m_cl.SetModeChaine(c.nMode);
        const STCallOutcome stC =
            stCall("Crypte", {c.clValeur, CValue::Text(L"mot de passe"), CValue::Int(c.nOption), CValue::Int(c.nEncodage)});
        ASSERT_FALSE(stC.bError) << "row " << c.nLigne << " error " << stC.stError.nCode;
        EXPECT_EQ(stC.clResult.eKind, c.eChiffre) << "row " << c.nLigne;
        const STCallOutcome stD =
            stCall("Decrypte", {stC.clResult, CValue::Text(L"mot de passe"), CValue::Int(c.nOption), CValue::Int(c.nEncodage)});
        ASSERT_FALSE(stD.bError) << "row " << c.nLigne << " error " << stD.stError.nCode;
        EXPECT_EQ(sVu(stD.clResult), sVu(c.clAttendu)) << "row " << c.nLigne;
    }
}

// In mode 1 the enciphered bytes go out as 8-bit text while they hold no zero byte, which text
// cannot carry; either way they come back.
TEST_F(CryptEndToEnd, ModeOneGivesEightBitTextOnlyWithoutAZeroByte) {
    m_cl.SetModeChaine(1);
    int nTextes = 0, nBuffers = 0;
    for (int i = 0; i < 40; ++i) {
        const std::string s = "été n°" + std::to_string(i);
        const STCallOutcome stC = stCall("Crypte", {CValue::Ansi(s), CValue::Text(L"k"), CValue::Int(2)});
        ASSERT_FALSE(stC.bError);
        if (stC.clResult.eKind == EValueKind::Ansi) {
            ++nTextes;
        } else {
            ASSERT_EQ(stC.clResult.eKind, EValueKind::Buffer);
            EXPECT_NE(stC.clResult.sBytes.find('\0'), std::string::npos);
            ++nBuffers;
        }
        EXPECT_EQ(sVu(stCall("Decrypte", {stC.clResult, CValue::Text(L"k"), CValue::Int(2), CValue::Int(0)}).clResult),
                  "ansi:" + s);
    }
    EXPECT_GT(nTextes, 0);
    EXPECT_GT(nBuffers, 0);
}

// The stages agree with the functions that do each alone.
TEST_F(CryptEndToEnd, StagesAgreeWithTheSingleFunctions) {
    const std::string sBinaire = sAleatoire(100, 5);
    for (int nEncodage = 1; nEncodage <= 4; ++nEncodage) {
        const STCallOutcome stC =
            stCall("Crypte", {CValue::Buffer(sBinaire), CValue::Text(L"ignoré"), CValue::Int(0), CValue::Int(nEncodage)});
        const STCallOutcome stE = stCall("ChaineEncode", {CValue::Buffer(sBinaire), CValue::Int(nEncodage)});
        EXPECT_EQ(sVu(stC.clResult), sVu(stE.clResult)) << nEncodage;
    }
    // A wide string enciphered alone is the same words as its memory enciphered by Crypte.
    for (int nMethode = 1; nMethode <= 3; ++nMethode) {
        const STCallOutcome stS = stCall("ChaineCrypte", {CValue::Text(ksFrancais), CValue::Text(L"k"), CValue::Int(nMethode)});
        const STCallOutcome stV = stCall("Crypte", {CValue::Text(ksFrancais), CValue::Text(L"k"), CValue::Int(nMethode)});
        EXPECT_EQ(stV.clResult.sBytes, sMemoire(stS.clResult.sText)) << nMethode;
    }
}

TEST_F(CryptEndToEnd, TheAnsiRequestMustBeGivenBothWays) {
    const STCallOutcome stC = stCall("Crypte", {CValue::Text(L"été"), CValue::Text(L"k"), CValue::Int(1 | kAnsi)});
    ASSERT_EQ(stC.clResult.sBytes.size(), 3u) << "one byte a character";
    const STCallOutcome stSans = stCall("Decrypte", {stC.clResult, CValue::Text(L"k"), CValue::Int(1), CValue::Int(0)});
    EXPECT_EQ(sVu(stSans.clResult), "buffer:\xE9t\xE9");
    const STCallOutcome stAvec = stCall("Decrypte", {stC.clResult, CValue::Text(L"k"), CValue::Int(1 | kAnsi), CValue::Int(0)});
    EXPECT_EQ(stAvec.clResult.sText, L"été");
}

TEST_F(CryptEndToEnd, RefusedOptionsAndValues) {
    const struct {
        int nLigne;
        const char* pszFonction;
        CValue clValeur;
        const wchar_t* pszMotDePasse;
        int nOption;
        int nEncodage;
        int nErreur;
    } tabCas[] = {
        {__LINE__, "Crypte", CValue::Text(L"é"), L"k", 4, 0, 80280},
        {__LINE__, "Decrypte", CValue::Text(L"é"), L"k", 0x10004, 2, 80280},
        {__LINE__, "Crypte", CValue::Text(L"é"), L"k", 0x30001, 0, 80550},
        {__LINE__, "Decrypte", CValue::Buffer("x"), L"k", 0x30001, 0, 80550},
        {__LINE__, "Crypte", CValue::Text(L"é"), L"k", 1, 5, 81840},
        {__LINE__, "Decrypte", CValue::Text(L"é"), L"k", 1, -1, 81840},
        // Code page 1252 has no form for this character; it would come back as another.
        {__LINE__, "Crypte", CValue::Text(ksFrancais), L"k", 1 | kAnsi, 0, 80216},
        // Text that decodes to bytes that are no compressed block.
        {__LINE__, "Decrypte", CValue::Text(L"pas du base 64 !"), L"k", 0x10001, 1, 80700},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(
            c.pszFonction, {c.clValeur, CValue::Text(c.pszMotDePasse), CValue::Int(c.nOption), CValue::Int(c.nEncodage)});
        EXPECT_TRUE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLigne;
        EXPECT_EQ(st.clResult.eKind, EValueKind::Null) << "row " << c.nLigne;
    }
    const STCallOutcome stC = stCall("Crypte", {CValue::Text(ksFrancais), CValue::Text(L"juste"), CValue::Int(0x10002)});
    const STCallOutcome stD = stCall("Decrypte", {stC.clResult, CValue::Text(L"fausse"), CValue::Int(0x10002), CValue::Int(0)});
    EXPECT_EQ(stD.stError.nCode, 80700) << "a wrong password on a compressed value";
}

// ---------------------------------------------------------------- files

TEST_F(CryptEndToEnd, FilesComeBackAroundTheRunSize) {
    for (size_t n : {0, 1, 63999, 64000, 64001, 128001}) {
        const std::string sSource = sAleatoire(n, static_cast<unsigned>(n));
        Ecrit(sChemin("clair"), sSource);
        for (int nMethode = 1; nMethode <= 3; ++nMethode) {
            const STCallOutcome stC =
                stCall("fCrypte", {Nom("clair"), Nom("chiffre"), CValue::Text(L"clé é"), CValue::Int(nMethode)});
            ASSERT_EQ(stC.clResult.nInteger, 1) << n << " " << nMethode << " error " << stC.stError.nCode;
            const std::string sChiffre = sLit(sChemin("chiffre"));
            ASSERT_EQ(sChiffre.size(), n + 4) << "a 32-bit sum, then the bytes";
            if (n > 8) {
                EXPECT_NE(sChiffre.substr(4), sSource);
            }
            EXPECT_EQ(stCall("fDecrypte", {Nom("chiffre"), Nom("retour"), CValue::Text(L"clé é"), CValue::Int(nMethode)})
                          .clResult.nInteger,
                      1);
            EXPECT_EQ(sLit(sChemin("retour")), sSource) << n << " " << nMethode;
            EXPECT_EQ(sLit(sChemin("clair")), sSource) << "the source is left alone";
        }
    }
    EXPECT_EQ(nAvecSuffixe(".$tmp"), 0);
}

TEST_F(CryptEndToEnd, FailedFileCallsLeaveDestinationsAsTheyWere) {
    Ecrit(sChemin("clair"), "Noël à l’école");
    Ecrit(sChemin("garde"), "ancien contenu");
    const auto Appel = [&](const char* pszFonction, const char* pszSource, const CValue& clDestination,
                           const wchar_t* pszMotDePasse, int nMethode) {
        return stCall(pszFonction, {Nom(pszSource), clDestination, CValue::Text(pszMotDePasse), CValue::Int(nMethode)});
    };
    const struct {
        int nLigne;
        const char* pszFonction;
        const char* pszSource;
        const wchar_t* pszMotDePasse;
        int nMethode;
        int nErreur;
    } tabCas[] = {
        {__LINE__, "fCrypte", "clair", L"", 1, 80282},
        {__LINE__, "fDecrypte", "clair", L"", 1, 80282},
        {__LINE__, "fCrypte", "clair", L"k", 4, 80280},
        {__LINE__, "fCrypte", "absent", L"k", 1, 80067},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = Appel(c.pszFonction, c.pszSource, Nom("garde"), c.pszMotDePasse, c.nMethode);
        EXPECT_EQ(st.clResult.nInteger, 0) << "row " << c.nLigne;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLigne;
        EXPECT_EQ(sLit(sChemin("garde")), "ancien contenu") << "row " << c.nLigne;
    }
    // A wrong password: the sum does not come back, and the old destination stays.
    ASSERT_EQ(Appel("fCrypte", "clair", Nom("chiffre"), L"juste", 2).clResult.nInteger, 1);
    const STCallOutcome stFaux = Appel("fDecrypte", "chiffre", Nom("garde"), L"fausse", 2);
    EXPECT_EQ(stFaux.clResult.nInteger, 0);
    EXPECT_TRUE(stFaux.bError);
    EXPECT_EQ(sLit(sChemin("garde")), "ancien contenu");
    // Destinations that cannot be written: a read-only file, a directory of no access, a directory.
    std::filesystem::permissions(sChemin("garde"), std::filesystem::perms::owner_read);
    std::filesystem::create_directory(sChemin("ferme"));
    std::filesystem::permissions(sChemin("ferme"), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    // Permissions bind everyone but the superuser; a missing directory and a file taken for one
    // bind all.
    const bool bRoot = geteuid() == 0;
    for (const char* pszDestination : {"garde", "ferme/x", "absent/x", "clair/x"}) {
        if (bRoot && (std::string(pszDestination) == "garde" || std::string(pszDestination) == "ferme/x")) continue;
        for (const char* pszFonction : {"fCrypte", "fDecrypte"}) {
            const STCallOutcome st = Appel(pszFonction, pszFonction[1] == 'C' ? "clair" : "chiffre", Nom(pszDestination), L"juste", 2);
            EXPECT_EQ(st.clResult.nInteger, 0) << pszFonction << " " << pszDestination;
            EXPECT_EQ(st.stError.nCode, 80026) << pszFonction << " " << pszDestination;
        }
    }
    const STCallOutcome stRep = Appel("fCrypte", "clair", Nom("ferme"), L"k", 1);
    EXPECT_EQ(stRep.clResult.nInteger, 0);
    EXPECT_EQ(stRep.stError.nCode, 80059);
    EXPECT_EQ(sLit(sChemin("garde")), "ancien contenu");
    EXPECT_EQ(sLit(sChemin("clair")), "Noël à l’école");
    EXPECT_EQ(nAvecSuffixe(".$tmp"), 0);
}

// With five arguments the encoding joins: each stage off gives the function of the other, both
// on give the encoded cipher text, and the middle file never stays.
TEST_F(CryptEndToEnd, FilesEncipheredAndEncoded) {
    const std::string sSource = sAleatoire(70001, 9);
    Ecrit(sChemin("clair"), sSource);
    const CValue clCle = CValue::Text(L"clé");
    const auto Appel = [&](const char* pszFonction, const char* pszSource, const char* pszDestination, int nMethode,
                           int nEncodage) {
        return stCall(pszFonction, {Nom(pszSource), Nom(pszDestination), clCle, CValue::Int(nMethode), CValue::Int(nEncodage)})
            .clResult.nInteger;
    };
    ASSERT_EQ(Appel("fCrypte", "clair", "copie", 0, 0), 1);
    EXPECT_EQ(sLit(sChemin("copie")), sSource);
    for (int nMethode = 1; nMethode <= 3; ++nMethode)
        for (int nEncodage = 1; nEncodage <= 4; ++nEncodage) {
            ASSERT_EQ(Appel("fCrypte", "clair", "seul", nMethode, 0), 1);
            ASSERT_EQ(stCall("fCrypte", {Nom("clair"), Nom("ref"), clCle, CValue::Int(nMethode)}).clResult.nInteger, 1);
            EXPECT_EQ(sLit(sChemin("seul")), sLit(sChemin("ref")));
            ASSERT_EQ(stCall("fEncode", {Nom("ref"), Nom("ref.txt"), CValue::Int(nEncodage)}).clResult.nInteger, 1);
            ASSERT_EQ(Appel("fCrypte", "clair", "les deux.txt", nMethode, nEncodage), 1);
            EXPECT_EQ(sLit(sChemin("les deux.txt")), sLit(sChemin("ref.txt"))) << nMethode << " " << nEncodage;
            ASSERT_EQ(Appel("fDecrypte", "les deux.txt", "retour", nMethode, nEncodage), 1);
            EXPECT_EQ(sLit(sChemin("retour")), sSource) << nMethode << " " << nEncodage;
            ASSERT_EQ(Appel("fCrypte", "clair", "code seul", 0, nEncodage), 1);
            ASSERT_EQ(Appel("fDecrypte", "code seul", "retour", 0, nEncodage), 1);
            EXPECT_EQ(sLit(sChemin("retour")), sSource);
        }
    EXPECT_EQ(nAvecSuffixe(".$tmp"), 0);
    EXPECT_EQ(stCall("fCrypte", {Nom("clair"), Nom("x"), clCle, CValue::Int(4), CValue::Int(1)}).stError.nCode, 80280);
    EXPECT_EQ(stCall("fCrypte", {Nom("clair"), Nom("x"), clCle, CValue::Int(1), CValue::Int(7)}).stError.nCode, 81840);
    EXPECT_EQ(stCall("fCrypte", {Nom("clair"), Nom("x"), CValue::Text(L""), CValue::Int(1), CValue::Int(2)}).stError.nCode,
              80282);
    // A failing stage still removes the middle file, and the message names the program's file.
    EXPECT_EQ(Appel("fDecrypte", "clair", "retour", 1, 2), 0);
    const STCallOutcome stFaux =
        stCall("fDecrypte", {Nom("les deux.txt"), Nom("retour"), CValue::Text(L"autre"), CValue::Int(3), CValue::Int(4)});
    EXPECT_EQ(stFaux.clResult.nInteger, 0);
    EXPECT_NE(stFaux.stError.sMessage.find(L"les deux.txt"), std::wstring::npos);
    EXPECT_EQ(stFaux.stError.sMessage.find(L".$tmp"), std::wstring::npos);
    EXPECT_EQ(sLit(sChemin("retour")), sSource) << "the last good result stays";
    EXPECT_EQ(nAvecSuffixe(".$tmp"), 0);
}

TEST(CryptOvrun, RoundTripFromTheCommandLine) {
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "Decrypte(Crypte(\"Noël \\u{1F600}\", \"clé\", 2, 2), \"clé\", 2, 2)"});
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte, "Noël 😀\n");
}

}  // namespace
}  // namespace ovhost
