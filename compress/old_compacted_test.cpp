// The old format: files made by an independent encoder (tools/gen_old_compacted.py) against their
// originals, decoding onto itself through the ".$$$" name, and hostile code streams in memory.
#include "compress/old_compacted.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "compress/compacted_file.h"
#include "compress/internal/compacted_lzw.h"

namespace {

namespace fs = std::filesystem;
using ovlh5::EResultat;

std::string sLit(const fs::path& p) {
    std::ifstream f(p, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}
void Ecrit(const fs::path& p, const std::string& s) { std::ofstream(p, std::ios::binary) << s; }
const fs::path kDonnees = OV_COMPACTED_TESTDATA;

class OldCompacted : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string s = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/ov_old_XXXXXX";
        ASSERT_NE(mkdtemp(s.data()), nullptr);
        m_rep = s;
    }
    void TearDown() override { fs::remove_all(m_rep); }
    fs::path m_rep;
};

TEST_F(OldCompacted, FilesOfTheIndependentEncoderGiveTheirOriginalsBack) {
    struct {
        int nLine;
        const char* pszCompacte;
        const char* pszOriginal;  // null: empty
    } const tabCas[] = {
        {__LINE__, "texte.txt.ovc", "texte.txt"},  // French text, a KwKwK run of "a"
        {__LINE__, "long.bin.ovc", "long.bin"},    // width 14, then a full table
        {__LINE__, "reinit.ovc", "long.bin"},      // a reset at width 14 when the table is full
        {__LINE__, "sans_fin.ovc", "texte.txt"},   // the last partial byte dropped
        {__LINE__, "vide.ovc", nullptr},
    };
    for (const auto& c : tabCas) {
        const std::string sAttendu = c.pszOriginal ? sLit(kDonnees / c.pszOriginal) : std::string();
        const fs::path pCible = m_rep / "sortie \xc3\xa9t\xc3\xa9 \xf0\x9f\x98\x80";
        Ecrit(pCible, std::string(100000, 'x'));  // longer than any result: no tail may stay
        ASSERT_EQ(ovcompacte::nOldDecompacte((kDonnees / c.pszCompacte).c_str(), pCible.c_str()), ovcompacte::OLD_OK)
            << "row " << c.nLine;
        EXPECT_EQ(sLit(pCible), sAttendu) << "row " << c.nLine;
        // The compacted file's own entry point hands it over to the same decoder.
        const std::wstring sSource = (kDonnees / c.pszCompacte).wstring(), sCible = (m_rep / "b").wstring();
        ASSERT_EQ(ovcompacte::nDecompacte(sSource.c_str(), sCible.c_str(), 0), 0) << "row " << c.nLine;
        EXPECT_EQ(sLit(m_rep / "b"), sAttendu) << "row " << c.nLine;
        EXPECT_EQ(ovcompacte::lTailleDecompacte(sSource.c_str()), static_cast<int64_t>(sAttendu.size())) << "row " << c.nLine;
        EXPECT_EQ(ovcompacte::lTailleCompacte(sSource.c_str()), static_cast<int64_t>(fs::file_size(kDonnees / c.pszCompacte)))
            << "row " << c.nLine;
    }
}

TEST_F(OldCompacted, WithoutDestinationTheFileIsDecodedOntoItselfThroughItsWorkName) {
    // A dot in a directory's name is no extension.
    fs::create_directory(m_rep / "r\xc3\xa9p.d");
    const fs::path pFichier = m_rep / "r\xc3\xa9p.d" / "archive";
    fs::copy_file(kDonnees / "texte.txt.ovc", pFichier);
    EXPECT_EQ(ovcompacte::nOldDecompacte(pFichier.c_str(), nullptr), ovcompacte::OLD_OK);
    EXPECT_EQ(sLit(pFichier), sLit(kDonnees / "texte.txt"));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_rep / "r\xc3\xa9p.d"), {}), 1) << "no .$$$ or temporary file left";

    // A corrupt stream: the file takes its name back, whole.
    std::string sCorrompu = sLit(kDonnees / "texte.txt.ovc");
    sCorrompu.resize(60);
    const fs::path pCorrompu = m_rep / "abime.ovc";
    Ecrit(pCorrompu, sCorrompu);
    EXPECT_EQ(ovcompacte::nOldDecompacte(pCorrompu.c_str(), nullptr), ovcompacte::OLD_DISQUE_PLEIN);
    EXPECT_EQ(sLit(pCorrompu), sCorrompu);
    EXPECT_FALSE(fs::exists(m_rep / "abime.$$$"));

    // A file of another kind keeps its name; an existing .$$$ file is never replaced.
    Ecrit(m_rep / "texte.txt", "pas compact\xc3\xa9");
    EXPECT_EQ(ovcompacte::nOldDecompacte((m_rep / "texte.txt").c_str(), nullptr), ovcompacte::OLD_PAS_COMPACTE);
    EXPECT_EQ(sLit(m_rep / "texte.txt"), "pas compact\xc3\xa9");
    fs::copy_file(kDonnees / "texte.txt.ovc", m_rep / "x.ovc");
    Ecrit(m_rep / "x.$$$", "autre");
    EXPECT_EQ(ovcompacte::nOldDecompacte((m_rep / "x.ovc").c_str(), nullptr), ovcompacte::OLD_SOURCE);
    EXPECT_EQ(sLit(m_rep / "x.$$$"), "autre");
    EXPECT_EQ(sLit(m_rep / "x.ovc"), sLit(kDonnees / "texte.txt.ovc"));

    EXPECT_EQ(ovcompacte::nOldDecompacte((m_rep / "absent").c_str(), (m_rep / "y").c_str()), ovcompacte::OLD_SOURCE);
    EXPECT_EQ(ovcompacte::lVerifieSiCompresseOld((m_rep / "texte.txt").c_str()), 0);
    EXPECT_EQ(ovcompacte::lVerifieSiCompresseOld((m_rep / "absent").c_str()), 0);
    EXPECT_EQ(ovcompacte::lVerifieSiCompresseOld((kDonnees / "long.bin.ovc").c_str()), 39359);
}

// Codes written most significant bit first, for streams made by hand.
class CCodes {
public:
    CCodes& operator()(int nCode, int nLargeur) {
        for (int i = nLargeur - 1; i >= 0; --i) {
            if (m_nBits % 8 == 0) m_s.push_back(0);
            if ((nCode >> i) & 1) m_s.back() = static_cast<char>(m_s.back() | (0x80 >> (m_nBits % 8)));
            ++m_nBits;
        }
        return *this;
    }
    std::string m_s;
    int m_nBits = 0;
};

class CSource final : public ovlh5::ISource {
public:
    explicit CSource(std::string s) : m_s(std::move(s)) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override {
        const size_t n = std::min(nTaille, m_s.size() - m_nPos);
        std::memcpy(pby, m_s.data() + m_nPos, n);
        m_nPos += n;
        return static_cast<long>(n);
    }
    std::string m_s;
    size_t m_nPos = 0;
};

class CPuits final : public ovlh5::IPuits {
public:
    bool bEcrit(const uint8_t* pby, size_t nTaille) noexcept override {
        m_s.append(reinterpret_cast<const char*>(pby), nTaille);
        return true;
    }
    std::string m_s;
};

TEST(OldCompactedCodes, EveryCodeIsCheckedAgainstTheTable) {
    struct {
        int nLine;
        CCodes clCodes;
        uint64_t nOriginale;
        EResultat eAttendu;
        const char* pszAttendu;
    } const tabCas[] = {
        // reset, 'a', then 257 = "aa" defined by this very step (KwKwK), then 'b'
        {__LINE__, CCodes()(256, 9)(97, 9)(257, 9)(98, 9), 4, EResultat::OK, "aaab"},
        // a code two past the next free one was never defined
        {__LINE__, CCodes()(256, 9)(97, 9)(258, 9), 3, EResultat::CORROMPU, ""},
        // a stream must open with a reset
        {__LINE__, CCodes()(97, 9)(98, 9), 2, EResultat::CORROMPU, ""},
        // the code after a reset is a literal
        {__LINE__, CCodes()(256, 9)(300, 9), 1, EResultat::CORROMPU, ""},
        // cut short, beyond the padding of one last code
        {__LINE__, CCodes()(256, 9)(97, 9)(98, 9), 1000, EResultat::CORROMPU, ""},
        // codes beyond the original size are never read
        {__LINE__, CCodes()(256, 9)(97, 9)(98, 9)(511, 9), 2, EResultat::OK, "ab"},
        // a string longer than what is left is cut at the original size
        {__LINE__, CCodes()(256, 9)(97, 9)(257, 9), 2, EResultat::OK, "aa"},
    };
    for (const auto& c : tabCas) {
        CSource clSource(c.clCodes.m_s);
        CPuits clPuits;
        EXPECT_EQ(ovcompacte::interne::eDecodeLzw(&clSource, &clPuits, c.nOriginale), c.eAttendu) << "row " << c.nLine;
        EXPECT_EQ(clPuits.m_s, c.pszAttendu) << "row " << c.nLine;
        EXPECT_LE(clSource.m_nPos, clSource.m_s.size()) << "row " << c.nLine;
    }
}

}  // namespace
