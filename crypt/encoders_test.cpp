// The four encoders against texts computed by Python's base64 and binascii, their decoders on
// text they did not write, and files streamed in blocks against whole texts and the system's
// base64 and uudecode.
#include "crypt/encoders.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>

#include "base/error.h"

namespace {

namespace fs = std::filesystem;

struct STVecteur {
    int nLigne;
    int nEncodeur;
    const char* pszQuoi;
    const char* pszHexa;
    const char* pszTexte;
};

const STVecteur gtabVecteurs[] = {
#include "crypt/testdata/encoders_vectors.inc"
};

// Classic UU texts of binascii.b2a_uu, whole, and its data line when the input fits one line.
struct STTexteUU {
    int nLigne;
    const char* pszQuoi;
    const char* pszHexa;
    const char* pszLigne;
    const char* pszTexte;
};

const STTexteUU gtabTextesUU[] = {
#include "crypt/testdata/encoders_uu_peers.inc"
};

std::string sOctets(const char* pszHexa) {
    std::string s;
    for (const char* p = pszHexa; p[0] != 0 && p[1] != 0; p += 2) s += static_cast<char>(std::stoi(std::string(p, 2), nullptr, 16));
    return s;
}

std::unique_ptr<CEncodeBase> pclEncodeur(int n) { return std::unique_ptr<CEncodeBase>(pclGetEncodeur(n)); }

const unsigned char* pby(const std::string& s) { return reinterpret_cast<const unsigned char*>(s.data()); }

std::string sEncode(int nEncodeur, const std::string& s, unsigned long nGroupes = kGroupesParLigneDefaut) {
    auto pcl = pclEncodeur(nEncodeur);
    std::string sTexte(static_cast<size_t>(pcl->nEncodeA(pby(s), s.size(), nGroupes, nullptr)), '\0');
    sTexte.resize(static_cast<size_t>(pcl->nEncodeA(pby(s), s.size(), nGroupes, sTexte.data())));
    return sTexte;
}

// The decoded bytes, or "<-1>" when the decoder refuses the text.
std::string sDecode(int nEncodeur, const std::wstring& sTexte) {
    auto pcl = pclEncodeur(nEncodeur);
    const long nMesure = pcl->nDecodeW(sTexte.data(), sTexte.size(), nullptr);
    if (nMesure < 0) return "<-1>";
    std::string s(static_cast<size_t>(nMesure) + 1, '\xAA');
    const long n = pcl->nDecodeW(sTexte.data(), sTexte.size(), reinterpret_cast<unsigned char*>(s.data()));
    EXPECT_EQ(n, nMesure) << "the measure is exact";
    EXPECT_EQ(s.back(), '\xAA') << "nothing written past the measure";
    s.pop_back();
    return s;
}

std::wstring sLarge(const std::string& s) { return std::wstring(s.begin(), s.end()); }

TEST(Encoders, EncodeAsPythonDoesAndDecodeBack) {
    for (const STVecteur& v : gtabVecteurs) {
        SCOPED_TRACE(testing::Message() << "vector line " << v.nLigne << ", encoder " << v.nEncodeur << ", " << v.pszQuoi);
        const std::string sDonnees = sOctets(v.pszHexa);
        auto pcl = pclEncodeur(v.nEncodeur);
        const long nMesure = pcl->nEncodeA(pby(sDonnees), sDonnees.size(), kGroupesParLigneDefaut, nullptr);
        EXPECT_EQ(static_cast<size_t>(nMesure), std::strlen(v.pszTexte) + (sDonnees.size() % 3 != 0));
        EXPECT_EQ(sEncode(v.nEncodeur, sDonnees), v.pszTexte);

        wchar_t* pszLarge = nullptr;
        const long n = pcl->nEncodeEtAlloue(pby(sDonnees), sDonnees.size(), kGroupesParLigneDefaut, &pszLarge);
        ASSERT_NE(pszLarge, nullptr);
        EXPECT_EQ(std::wstring(pszLarge, static_cast<size_t>(n)), sLarge(v.pszTexte));
        EXPECT_EQ(pszLarge[n], 0);

        unsigned char* pbyDecode = nullptr;
        const long nDecode = pcl->nDecodeEtAlloue(pszLarge, pbyDecode);
        std::unique_ptr<unsigned char[]> clLibere(pbyDecode);
        delete[] pszLarge;
        ASSERT_EQ(nDecode, static_cast<long>(sDonnees.size()));
        EXPECT_EQ(std::string(reinterpret_cast<char*>(pbyDecode), static_cast<size_t>(nDecode)), sDonnees);
        EXPECT_EQ(pcl->nDecodeA(v.pszTexte, nullptr), nDecode);
    }
}

// Base 64 line breaks follow the groups asked for; none with 0. The padded and unpadded texts
// break in the same places, an incomplete last group counting as a group.
TEST(Encoders, Base64LinesFollowTheGroupCount) {
    const struct {
        int nLigne, nEncodeur;
        std::string s;
        unsigned long nGroupes;
        std::string sAttendu;
    } tabCas[] = {
        {__LINE__, 2, "yyyyyy", 1, "eXl5\r\neXl5\r\n"},
        {__LINE__, 1, "yyyyyy", 0, "eXl5eXl5"},
        {__LINE__, 1, "xyza", 1, "eHl6\r\nYQ\r\n"},
        {__LINE__, 2, "xyza", 3, "eHl6YQ=="},
    };
    for (const auto& c : tabCas) EXPECT_EQ(sEncode(c.nEncodeur, c.s, c.nGroupes), c.sAttendu) << "row " << c.nLigne;
    const std::string s59(59, 'x');
    const std::string sPadde = sEncode(2, s59), sSans = sEncode(1, s59);
    EXPECT_EQ(sPadde.size(), 82u);
    EXPECT_TRUE(sPadde.ends_with("=\r\n"));
    EXPECT_EQ(sSans.size(), 81u);
    EXPECT_TRUE(sSans.ends_with("\r\n"));
    EXPECT_EQ(sSans.find('='), std::string::npos);
}

// Text the encoders did not write: a defined result for every text, never a byte past the measure.
TEST(Encoders, DecodersGiveADefinedResultForAnyText) {
    const struct {
        int nLigne, nEncodeur;
        std::wstring sTexte;
        std::string sAttendu;
    } tabCas[] = {
        {__LINE__, 2, L"YW\r\nJj\nZA==", "abcd"},
        {__LINE__, 2, L"YWJjZA", "abcd"},                      // padding missing
        {__LINE__, 2, L"YQ==YQ==", "aa"},                      // two padded texts end to end
        {__LINE__, 2, L"YWJjZ", "abc"},                        // a lone last character carries no byte
        {__LINE__, 1, L"YQ==", std::string("a\x0f\xff", 3)},   // "=" is no letter: 63 in the unpadded form
        {__LINE__, 1, L"Y\u00e9Q", std::string("\x63\xf4", 2)}, // a character outside the alphabet is 63
        {__LINE__, 1, L"\U0001F3B5\U0001F3B5\U0001F3B5\U0001F3B5", "\xff\xff\xff"},
        {__LINE__, 1, L"", ""},
        {__LINE__, 3, L"80", "<-1>"},                          // no "begin" line
        {__LINE__, 3, L"begin 0666 uu", ""},
        {__LINE__, 3, L"begin 0666 uu\r\n86)C\r\n", "abc"},     // no "end"
        {__LINE__, 3, L"begin 0666 uu\n86)C\nend\n86)C\n", "abc"},  // LF alone; what follows "end" is ignored
        {__LINE__, 3, L"junk\r\nbegin 0666 uu\r\n86)C86(\r\nend\r\n", "abcab"},
        {__LINE__, 4, L"begin 0666 uu\r\n#86)C\r\n`\r\nend\r\n", "abc"},
        {__LINE__, 4, L"begin 0666 uu\r\n#    \r\n`\r\nend\r\n", std::string(3, '\0')},
        {__LINE__, 4, L"begin 0666 uu\r\n#\r\n`\r\nend\r\n", std::string(3, '\0')},  // trimmed blanks are zeros
        {__LINE__, 4, L"begin 0666 uu\r\n#86)C\r\nend\r\n", "abc"},                  // no "`" line
        {__LINE__, 4, L"begin 644 f\n\"86)C\n`\nend\n", "ab"},                      // count under the group
        {__LINE__, 4, L"begin 644 f\n!86)C86)C\n`\nend\n", "a"},                     // groups past the count
        {__LINE__, 4, L"begin 0666 uu\r\n\"86(\r\n\r\n`\r\nend\r\n", "ab"},        // empty lines skipped
        {__LINE__, 4, L"begin 0666 uu\r\nM86)C\r\n`\r\nend\r\n", "abc" + std::string(42, '\0')},  // trimmed "M" line
        {__LINE__, 4, L"begin 0666 uu\r\nM\r\nM\r\n", std::string(90, '\0')},
        {__LINE__, 4, L"begin 0666 uu\r\n`\r\n#86)C\r\nend\r\n", ""},             // nothing after the "`" line
        {__LINE__, 4, L"begin 0666 uu\r\n#86)C\r\n \r\n#86)C\r\n", "abc"},        // a blank count ends it too
        // "é" counts 9 bytes; a character past 0xFF reads as 0x7F.
        {__LINE__, 4, L"begin 0666 uu\r\n\u00e9\U0001F3B5\r\n`\r\n", std::string("\x7c") + std::string(8, '\0')},
        {__LINE__, 4, L"", "<-1>"},
    };
    for (const auto& c : tabCas) EXPECT_EQ(sDecode(c.nEncodeur, c.sTexte), c.sAttendu) << "row " << c.nLigne;
}

// The own UU form marks lines with "_" while more than 45 bytes are left; the decoder passes over
// the mark at every line, so texts longer than a line come back unshifted.
TEST(Encoders, OwnUUFormSurvivesManyLines) {
    std::string s(1000, '\0');
    std::mt19937 gen(7);
    for (char& c : s) c = static_cast<char>(gen());
    for (size_t n : {size_t{45}, size_t{46}, size_t{135}, size_t{136}, size_t{405}, size_t{1000}}) {
        const std::string sTexte = sEncode(3, s.substr(0, n));
        EXPECT_EQ(sDecode(3, sLarge(sTexte)), s.substr(0, n)) << n << " bytes";
    }
}

// The form with counts writes what binascii writes for a text of one line of whole groups, and
// reads binascii's padded lines, with blanks or "`" for zeros, CR LF or LF, back to their bytes.
TEST(Encoders, UUWithCountsIsClassicUUWithinOneLine) {
    for (const STTexteUU& v : gtabTextesUU) {
        SCOPED_TRACE(testing::Message() << "peer line " << v.nLigne << ", " << v.pszQuoi);
        const std::string sDonnees = sOctets(v.pszHexa);
        EXPECT_EQ(sDecode(4, sLarge(v.pszTexte)), sDonnees);
        unsigned char tab[400];
        EXPECT_EQ(pclEncodeur(4)->nDecodeA(v.pszTexte, tab), static_cast<long>(sDonnees.size()));
        if (v.pszLigne[0] != 0 && sDonnees.size() % 3 == 0) {
            EXPECT_EQ(sEncode(4, sDonnees), std::string("begin 0666 uu\r\n") + v.pszLigne + "`\r\nend\r\n");
        }
    }
}

// Lines hold 135 bytes in both UU forms; only the line starts differ. The counts of the second
// form say 45 on every line but a last one shorter than that, and its decoder takes every group of
// an "M" line, so multi-line texts come back whole.
TEST(Encoders, UUFormsCarry135BytesALine) {
    std::string s(1000, '\0');
    std::mt19937 gen(5);
    for (char& c : s) c = static_cast<char>(gen());
    s[0] = s[135] = s[270] = 0;  // no line's data opens with "_" by chance
    const struct {
        int nLigne, nEncodeur;
        size_t nTaille;
        const char* pszDebuts;  // the first character of each line after "begin"
    } tabCas[] = {
        {__LINE__, 4, 44, "L"},   {__LINE__, 4, 45, "M"},   {__LINE__, 4, 135, "M"},
        {__LINE__, 4, 179, "ML"}, {__LINE__, 4, 180, "MM"}, {__LINE__, 4, 405, "MMM"},
        {__LINE__, 3, 45, ""},    {__LINE__, 3, 46, "_"},   {__LINE__, 3, 181, "__"},
    };
    for (const auto& c : tabCas) {
        SCOPED_TRACE(testing::Message() << "row " << c.nLigne);
        const std::string sDonnees = s.substr(0, c.nTaille);
        const std::string sTexte = sEncode(c.nEncodeur, sDonnees);
        std::string sDebuts;
        size_t nLignes = 0;
        for (size_t n = sTexte.find("\r\n") + 2; n < sTexte.size(); n = sTexte.find("\r\n", n) + 2) {
            const size_t nFin = sTexte.find("\r\n", n);
            if (nFin == n || sTexte.compare(n, 1, "`") == 0 || sTexte.compare(n, 3, "end") == 0) continue;
            ++nLignes;
            if (sTexte[n] == '_' || c.nEncodeur == 4) sDebuts += sTexte[n];
            EXPECT_LE(nFin - n, 181u) << "45 groups and the line start at most";
        }
        EXPECT_EQ(sDebuts, c.pszDebuts);
        EXPECT_EQ(nLignes, (c.nTaille + 134) / 135);
        EXPECT_EQ(sDecode(c.nEncodeur, sLarge(sTexte)), sDonnees);
    }
}

// ---------------------------------------------------------------- files

class EncodersFiles : public testing::Test {
protected:
    void SetUp() override {
        char sz[] = "/tmp/ov_encoders_XXXXXX";
        ASSERT_NE(mkdtemp(sz), nullptr);
        m_sDir = sz;
    }
    void TearDown() override { fs::remove_all(m_sDir); }

    std::string sChemin(const char* psz) const { return m_sDir + "/" + psz; }
    static std::wstring sNom(const std::string& s) { return sLarge(s); }
    static void Ecrit(const std::string& sNom, const std::string& s) { std::ofstream(sNom, std::ios::binary) << s; }
    static std::string sLit(const std::string& sNom) {
        std::ifstream f(sNom, std::ios::binary);
        std::ostringstream ss;
        ss << f.rdbuf();
        return ss.str();
    }
    int nEntrees() const {
        int n = 0;
        for ([[maybe_unused]] auto& e : fs::directory_iterator(m_sDir)) ++n;
        return n;
    }

    std::string m_sDir;
};

// Blocks of whole lines give, end to end, the text of the whole; and decoding in blocks gives the
// bytes back, whatever the form and the line width.
TEST_F(EncodersFiles, StreamedFilesEqualWholeTexts) {
    std::string s(1000001, '\0');
    std::mt19937 gen(11);
    for (char& c : s) c = static_cast<char>(gen());
    Ecrit(sChemin("source"), s);
    const struct {
        int nLigne, nEncodeur;
        unsigned long nGroupes;
    } tabCas[] = {{__LINE__, 1, 20}, {__LINE__, 2, 20}, {__LINE__, 2, 0}, {__LINE__, 1, 7},
                  {__LINE__, 2, 5000}, {__LINE__, 3, 20}, {__LINE__, 4, 20}};
    for (const auto& c : tabCas) {
        auto pcl = pclEncodeur(c.nEncodeur);
        CXError clErreur;
        ASSERT_TRUE(pcl->bEncodeFichier(sNom(sChemin("texte")).c_str(), sNom(sChemin("source")).c_str(), c.nGroupes, &clErreur))
            << "row " << c.nLigne;
        const std::string sTexte = sLit(sChemin("texte"));
        EXPECT_TRUE(sTexte == sEncode(c.nEncodeur, s, c.nGroupes)) << "row " << c.nLigne;
        ASSERT_TRUE(pcl->bDecodeFichier(sNom(sChemin("retour")).c_str(), sNom(sChemin("texte")).c_str(), &clErreur))
            << "row " << c.nLigne;
        EXPECT_TRUE(sLit(sChemin("retour")) == s) << "row " << c.nLigne;
    }
    EXPECT_EQ(nEntrees(), 3) << "no temporary file is left";
}

// coreutils base64 reads the padded base 64; our UU form with counts reads what sharutils
// uuencode writes, and sharutils uudecode reads our text of a single classic line.
TEST_F(EncodersFiles, SystemToolsAndOurFormsReadEachOther) {
    std::string s(100000, '\0');
    std::mt19937 gen(3);
    for (char& c : s) c = static_cast<char>(gen() % 3 == 0 ? 0 : gen());
    Ecrit(sChemin("source"), s);
    const std::string sCourt = "\xc3\x89l\xc3\xa9gant \xc3\xa9t\xc3\xa9 \xf0\x9f\x8e\xb5 \xc3\xa0 No\xc3\xabl";
    Ecrit(sChemin("court.uu"), sEncode(4, sCourt));
    CXError clErreur;
    ASSERT_TRUE(pclEncodeur(2)->bEncodeFichier(sNom(sChemin("b64")).c_str(), sNom(sChemin("source")).c_str(), 20, &clErreur));
    const std::string sCommande = "base64 -d -i < " + sChemin("b64") + " > " + sChemin("b64.out") + " && uuencode " +
                                  sChemin("source") + " nom > " + sChemin("uu") + " && uudecode -o " +
                                  sChemin("court.out") + " " + sChemin("court.uu");
    ASSERT_EQ(std::system(sCommande.c_str()), 0) << "coreutils base64 and sharutils are needed";
    EXPECT_TRUE(sLit(sChemin("b64.out")) == s);
    EXPECT_EQ(sLit(sChemin("court.out")), sCourt);
    ASSERT_TRUE(pclEncodeur(4)->bDecodeFichier(sNom(sChemin("uu.out")).c_str(), sNom(sChemin("uu")).c_str(), &clErreur));
    EXPECT_TRUE(sLit(sChemin("uu.out")) == s);
    EXPECT_TRUE(sDecode(4, sLarge(sLit(sChemin("uu")))) == s);
}

// A destination that cannot be made, a source that cannot be read, a text of another form, a
// write that fails half-way: the numbered error, the old destination as it was, no other file.
TEST_F(EncodersFiles, FailuresLeaveTheOldDestination) {
    Ecrit(sChemin("source"), std::string(300000, 'z'));
    Ecrit(sChemin("garde"), "ancien");
    fs::create_directory(sChemin("rep"));
    const struct {
        int nLigne;
        bool bEncode;
        int nEncodeur;
        const char* pszSource;
        const char* pszDestination;
        int nErreur;
    } tabCas[] = {
        {__LINE__, true, 2, "source", "rep", 80026},
        {__LINE__, true, 2, "source", "absent/fichier", 80026},
        {__LINE__, true, 1, "absent", "garde", 80024},
        {__LINE__, true, 1, "rep", "garde", 80024},
        {__LINE__, false, 3, "source", "garde", 81808},
    };
    for (const auto& c : tabCas) {
        auto pcl = pclEncodeur(c.nEncodeur);
        CXError clErreur;
        const std::wstring sSource = sNom(sChemin(c.pszSource)), sDestination = sNom(sChemin(c.pszDestination));
        const bool b = c.bEncode ? pcl->bEncodeFichier(sDestination.c_str(), sSource.c_str(), 20, &clErreur)
                                 : pcl->bDecodeFichier(sDestination.c_str(), sSource.c_str(), &clErreur);
        EXPECT_FALSE(b) << "row " << c.nLigne;
        EXPECT_EQ(clErreur.nGetUserErrorCode(), c.nErreur) << "row " << c.nLigne;
    }
    // A file-size limit stands for a full disk; in a child, so the limit dies with it.
    const pid_t nPid = fork();
    if (nPid == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit st{65536, 65536};
        setrlimit(RLIMIT_FSIZE, &st);
        CXError clErreur;
        const bool b = pclEncodeur(2)->bEncodeFichier(sNom(sChemin("garde")).c_str(), sNom(sChemin("source")).c_str(), 20, &clErreur);
        _exit(!b && clErreur.nGetUserErrorCode() == 80025 ? 0 : 1);
    }
    int nStatut = 0;
    ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
    EXPECT_TRUE(WIFEXITED(nStatut) && WEXITSTATUS(nStatut) == 0) << "the full disk answers 80025";
    EXPECT_EQ(sLit(sChemin("garde")), "ancien");
    EXPECT_EQ(nEntrees(), 3) << "source, garde and rep only";
}

TEST(Encoders, OnlyFourNumbersMakeAnEncoder) {
    for (int n : {-1, 0, 5, 1000}) EXPECT_EQ(pclEncodeur(n), nullptr) << n;
}

}  // namespace
