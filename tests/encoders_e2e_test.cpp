// ChaineEncode, ChaineDecode, UUEncode, UUDecode, fEncode and fDecode through the stand-in machine:
// French text with a character outside the BMP in every form, files equal to strings, the errors a
// program sees; and from the command line.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

namespace fs = std::filesystem;

// "Élégant été 🎵" in UTF-8.
const std::string gsTexte = "\xc3\x89l\xc3\xa9gant \xc3\xa9t\xc3\xa9 \xf0\x9f\x8e\xb5";

class EncodersEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        char sz[] = "/tmp/ov_encoders_e2e_XXXXXX";
        ASSERT_NE(mkdtemp(sz), nullptr);
        m_sDir = sz;
    }
    void TearDown() override { fs::remove_all(m_sDir); }

    std::string sChemin(const char* psz) const { return m_sDir + "/" + psz; }
    static CValue Nom(const std::string& s) { return CValue::Text(std::wstring(s.begin(), s.end())); }
    static std::string sLit(const std::string& sNom) {
        std::ifstream f(sNom, std::ios::binary);
        std::ostringstream ss;
        ss << f.rdbuf();
        return ss.str();
    }

    std::string m_sDir;
};

// The values computed with Python's base64 and binascii.
TEST_F(EncodersEndToEnd, StringsEncodeAsPythonDoesAndComeBack) {
    const struct {
        int nLigne, nEncodage;
        std::wstring sAttendu;
    } tabCas[] = {
        {__LINE__, 1, L"w4lsw6lnYW50IMOpdMOpIPCfjrU"},
        {__LINE__, 2, L"w4lsw6lnYW50IMOpdMOpIPCfjrU="},
        {__LINE__, 3, L"begin 0666 uu\r\nPXELPZEG86YT(,.I=,.I(/\"?CK4\r\nend\r\n"},
        {__LINE__, 4, L"begin 0666 uu\r\n4PXELPZEG86YT(,.I=,.I(/\"?CK4\r\n`\r\nend\r\n"},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall("ChaineEncode", {CValue::Buffer(gsTexte), CValue::Int(c.nEncodage)});
        EXPECT_FALSE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(st.clResult.sText, c.sAttendu) << "row " << c.nLigne;
        const STCallOutcome stRetour = stCall("ChaineDecode", {CValue::Text(c.sAttendu), CValue::Int(c.nEncodage)});
        EXPECT_EQ(stRetour.clResult.sBytes, gsTexte) << "row " << c.nLigne;
    }
}

// UUEncode takes any value: wide text travels as its UTF-8 bytes, so it equals the buffer's text,
// and UUDecode gives those bytes back. Bytes of value 0 are blanks that survive.
TEST_F(EncodersEndToEnd, UUShorthandsTakeTextAsUtf8) {
    const STCallOutcome stTexte = stCall("UUEncode", {CValue::Text(L"\u00c9l\u00e9gant \u00e9t\u00e9 \U0001F3B5")});
    const STCallOutcome stBuffer = stCall("UUEncode", {CValue::Buffer(gsTexte)});
    EXPECT_EQ(stTexte.clResult.sText, stBuffer.clResult.sText);
    EXPECT_EQ(stCall("UUDecode", {stTexte.clResult}).clResult.sBytes, gsTexte);
    EXPECT_EQ(stCall("UUEncode", {CValue::Buffer("")}).clResult.sText, L"begin 0666 uu\r\n\r\nend\r\n");
    EXPECT_EQ(stCall("UUEncode", {CValue::Buffer(std::string(3, '\0'))}).clResult.sText,
              L"begin 0666 uu\r\n    \r\nend\r\n");
}

// Encoding 4 keeps its stored lines of 135 bytes under "M", and reads classic UU of other writers,
// padded, with "`" for zeros and LF line ends.
TEST_F(EncodersEndToEnd, UUWithCountsKeepsItsLinesAndReadsClassicUU) {
    const std::string s = gsTexte + std::string(130, '\0');
    const STCallOutcome st = stCall("ChaineEncode", {CValue::Buffer(s), CValue::Int(4)});
    EXPECT_EQ(st.clResult.sText.substr(0, 16), L"begin 0666 uu\r\nM");
    EXPECT_EQ(st.clResult.sText.substr(15 + 181, 26), L"\r\n/" + std::wstring(20, L' ') + L"\r\n`");
    EXPECT_EQ(stCall("ChaineDecode", {st.clResult, CValue::Int(4)}).clResult.sBytes, s);
    const STCallOutcome stClassique =
        stCall("ChaineDecode", {CValue::Text(L"begin 644 f\n4PXELPZEG86YT(,.I=,.I(/\"?CK4`\n`\nend\n"), CValue::Int(4)});
    EXPECT_EQ(stClassique.clResult.sBytes, gsTexte);
}

TEST_F(EncodersEndToEnd, BadEncodingOrTextIsANumberedError) {
    const struct {
        int nLigne;
        const char* pszFonction;
        std::vector<CValue> tab;
        int nErreur;
    } tabCas[] = {
        {__LINE__, "ChaineEncode", {CValue::Buffer("abc"), CValue::Int(5)}, 81840},
        {__LINE__, "ChaineEncode", {CValue::Buffer("abc"), CValue::Int(0)}, 81840},
        {__LINE__, "ChaineDecode", {CValue::Text(L"YWJj"), CValue::Int(-1)}, 81840},
        {__LINE__, "UUDecode", {CValue::Text(L"pas un texte UU")}, 81808},
        {__LINE__, "fEncode", {CValue::Text(L""), CValue::Text(L"/tmp/x"), CValue::Int(1)}, 80059},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszFonction, c.tab);
        EXPECT_TRUE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLigne;
    }
}

// A file of 1,000,001 bytes, streamed in blocks, gives the text the string function gives, in
// every form; and decoding the file gives the bytes back.
TEST_F(EncodersEndToEnd, FilesEqualStrings) {
    std::string s(1000001, '\0');
    std::mt19937 gen(2);
    for (char& c : s) c = static_cast<char>(gen());
    std::ofstream(sChemin("source"), std::ios::binary) << s;
    for (int nEncodage = 1; nEncodage <= 4; ++nEncodage) {
        SCOPED_TRACE(testing::Message() << "encoding " << nEncodage);
        const STCallOutcome stFichier = stCall("fEncode", {Nom(sChemin("source")), Nom(sChemin("texte")), CValue::Int(nEncodage)});
        ASSERT_EQ(stFichier.clResult.nInteger, 1);
        const STCallOutcome stChaine = stCall("ChaineEncode", {CValue::Buffer(s), CValue::Int(nEncodage)});
        const std::string sTexte = sLit(sChemin("texte"));
        EXPECT_TRUE(std::wstring(sTexte.begin(), sTexte.end()) == stChaine.clResult.sText);
        ASSERT_EQ(stCall("fDecode", {Nom(sChemin("texte")), Nom(sChemin("retour")), CValue::Int(nEncodage)}).clResult.nInteger, 1);
        EXPECT_TRUE(sLit(sChemin("retour")) == s);
    }
}

// A destination that cannot be written: false, the error at level 2, the old file as it was.
TEST_F(EncodersEndToEnd, UnwritableDestinationKeepsTheOldFile) {
    std::ofstream(sChemin("source"), std::ios::binary) << gsTexte;
    std::ofstream(sChemin("garde"), std::ios::binary) << "ancien";
    fs::create_directory(sChemin("rep"));
    const STCallOutcome st = stCall("fEncode", {Nom(sChemin("source")), Nom(sChemin("rep")), CValue::Int(2)});
    EXPECT_EQ(st.clResult.nInteger, 0);
    EXPECT_EQ(st.stError.nCode, 80026);
    EXPECT_EQ(st.stError.nLevel, 2);
    const STCallOutcome stDecode = stCall("fDecode", {Nom(sChemin("source")), Nom(sChemin("garde")), CValue::Int(4)});
    EXPECT_EQ(stDecode.clResult.nInteger, 0);
    EXPECT_EQ(stDecode.stError.nCode, 81808);
    EXPECT_EQ(sLit(sChemin("garde")), "ancien");
}

TEST(EncodersOvrun, EncodeAndDecodeFromTheCommandLine) {
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "ChaineEncode(x\"616263\", 2)", "-e", "ChaineDecode(\"YWJj\", 1)"});
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte, "YWJj\nx\"616263\"\n");
}

}  // namespace
}  // namespace ovhost
