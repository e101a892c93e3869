// Compacted files: the header's fields, packing and unpacking both ways (stored and "-lh5-"),
// placement of the destination (an older longer file, the same name, a directory, the stored
// name), lying headers, and a stop from another thread. An offset inside a larger file is tried
// end to end.
#include "compress/compacted_file.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "base/unicode.h"

namespace {

namespace fs = std::filesystem;
using ovcompacte::EMethode;

std::string sLit(const fs::path& p) {
    std::ifstream f(p, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}
void Ecrit(const fs::path& p, const std::string& s) { std::ofstream(p, std::ios::binary) << s; }

std::wstring sLarge(const fs::path& p) {
    wchar_t* psz = UTF8ToWide(p.c_str());
    std::wstring s = psz != nullptr ? psz : L"";
    std::free(psz);
    return s;
}

std::string sAleatoire(size_t n, unsigned nGraine) {
    std::mt19937 gen(nGraine);
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>(gen() & 0xff);
    return s;
}

std::string sTexte(size_t n) {
    const std::string sPhrase = "No\xc3\xabl \xc3\xa0 l\xe2\x80\x99\xc3\xa9" "cole, pr\xc3\xa8s de la for\xc3\xaat \xf0\x9f\x98\x80. ";
    std::string s;
    for (size_t i = 0; s.size() < n; ++i) s += sPhrase + std::to_string(i % 97) + "\n";
    s.resize(n);
    return s;
}

ovcompacte::STEntete stEnteteDe(const fs::path& p, uint64_t oOffset = 0) {
    const std::string s = sLit(p);
    return ovcompacte::stLitEntete(reinterpret_cast<const uint8_t*>(s.data()) + oOffset + 1);
}

class CompactedFile : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string s = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/ov_compacte_XXXXXX";
        ASSERT_NE(mkdtemp(s.data()), nullptr);
        m_rep = s;
    }
    void TearDown() override { fs::remove_all(m_rep); }
    int nCompacte(const fs::path& pSource, const fs::path& pCible) {
        return ovcompacte::nCompacte(sLarge(pSource).c_str(), sLarge(pCible).c_str());
    }
    int nDecompacte(const fs::path& pSource, const fs::path* ppCible, int64_t oOffset = 0) {
        const std::wstring sCible = ppCible ? sLarge(*ppCible) : std::wstring();
        return ovcompacte::nDecompacte(sLarge(pSource).c_str(), ppCible ? sCible.c_str() : nullptr, oOffset);
    }
    // Nothing but the named entries: no temporary file was left behind.
    void AttendEntrees(size_t n, int nLine) {
        EXPECT_EQ(static_cast<size_t>(std::distance(fs::directory_iterator(m_rep), {})), n) << "row " << nLine;
    }
    fs::path m_rep;
};

TEST(CompactedHeader, FieldsSitAtTheirOffsetsAndTheMethodIgnoresCase) {
    ovcompacte::STEntete st;
    st.eMethode = EMethode::LH0;
    st.nCompressee = 0x0102030405060708ull;
    st.nOriginale = 42;
    std::strcpy(st.szNom, "/rep/\xe9t\xe9.txt");
    uint8_t tab[ovcompacte::kTailleEntete];
    std::memset(tab, 0xAA, sizeof tab);
    ovcompacte::EcritEntete(st, tab);
    EXPECT_EQ(std::memcmp(tab, "-lh0-\0\0\0", 8), 0);
    EXPECT_EQ(tab[8], 0x08);
    EXPECT_EQ(tab[15], 0x01);
    EXPECT_EQ(tab[16], 42);
    EXPECT_EQ(std::memcmp(tab + 24, "/rep/\xe9t\xe9.txt\0", 14), 0);

    // The method ignores case, and its six bytes hold the terminator.
    for (const char* psz : {"-LH0-", "-lh5-x", "-lh6-"}) {
        std::memcpy(tab, psz, std::strlen(psz));
        EXPECT_EQ(ovcompacte::stLitEntete(tab).eMethode, psz[1] == 'L' ? EMethode::LH0 : EMethode::INCONNUE) << psz;
    }
    EXPECT_STREQ(ovcompacte::stLitEntete(tab).szNom, "/rep/\xe9t\xe9.txt");
}

TEST_F(CompactedFile, RoundTripsStoreWhatDoesNotShrinkByMoreThanTheHeader) {
    struct {
        int nLine;
        std::string sContenu;
        EMethode eAttendue;
    } const tabCas[] = {
        {__LINE__, "", EMethode::LH0},
        {__LINE__, "caf\xc3\xa9 \xf0\x9f\x98\x80", EMethode::LH0},
        {__LINE__, std::string(296, 'a'), EMethode::LH0},   // would shrink, but not by a header
        {__LINE__, std::string(400, 'a'), EMethode::LH5},
        {__LINE__, sTexte(300000), EMethode::LH5},
        {__LINE__, sAleatoire(70000, 1), EMethode::LH0},     // incompressible
    };
    // An accented name with a character outside the BMP; 1252 keeps "?" for the latter.
    const fs::path pSource = m_rep / "donn\xc3\xa9" "es \xf0\x9f\x98\x80.txt";
    for (const auto& c : tabCas) {
        Ecrit(pSource, c.sContenu);
        ASSERT_EQ(nCompacte(pSource, m_rep / "c.ovz"), 0) << "row " << c.nLine;
        const ovcompacte::STEntete st = stEnteteDe(m_rep / "c.ovz");
        EXPECT_EQ(st.eMethode, c.eAttendue) << "row " << c.nLine;
        EXPECT_EQ(st.nOriginale, c.sContenu.size()) << "row " << c.nLine;
        if (c.eAttendue == EMethode::LH5) {
            EXPECT_LT(st.nCompressee + 296, st.nOriginale) << "row " << c.nLine;
        }
        EXPECT_EQ(fs::file_size(m_rep / "c.ovz"), st.nCompressee + 299) << "row " << c.nLine;
        EXPECT_EQ(std::string(st.szNom), pSource.parent_path().string() + "/donn\xe9" "es ?.txt") << "row " << c.nLine;
        const std::string sFichier = sLit(m_rep / "c.ovz");
        EXPECT_EQ(sFichier[0], ' ') << "row " << c.nLine;
        EXPECT_EQ(sFichier.substr(sFichier.size() - 2), std::string(2, '\0')) << "row " << c.nLine;
        EXPECT_EQ(ovcompacte::lTailleCompacte(sLarge(m_rep / "c.ovz").c_str()), static_cast<int64_t>(sFichier.size()));
        EXPECT_EQ(ovcompacte::lTailleDecompacte(sLarge(m_rep / "c.ovz").c_str()), static_cast<int64_t>(c.sContenu.size()));

        const fs::path pCible = m_rep / "r\xc3\xa9sultat";
        ASSERT_EQ(nDecompacte(m_rep / "c.ovz", &pCible), 0) << "row " << c.nLine;
        EXPECT_EQ(sLit(pCible), c.sContenu) << "row " << c.nLine;
        AttendEntrees(3, c.nLine);
    }
}

TEST_F(CompactedFile, DestinationsAreReplacedWholeAndTakeTheSourcesTimes) {
    const std::string sContenu = sTexte(50000);
    Ecrit(m_rep / "a.txt", sContenu);
    struct timespec tab[2] = {{1000000000, 0}, {1200000000, 500}};
    ASSERT_EQ(utimensat(AT_FDCWD, (m_rep / "a.txt").c_str(), tab, 0), 0);
    ASSERT_EQ(nCompacte(m_rep / "a.txt", m_rep / "a.ovz"), 0);
    // An older, longer destination keeps no tail.
    Ecrit(m_rep / "b.txt", std::string(200000, 'z'));
    const fs::path pB = m_rep / "b.txt";
    ASSERT_EQ(nDecompacte(m_rep / "a.ovz", &pB), 0);
    EXPECT_EQ(sLit(pB), sContenu);
    struct stat st;
    ASSERT_EQ(stat(pB.c_str(), &st), 0);
    EXPECT_EQ(st.st_mtim.tv_sec, 1200000000);

    // The same name both ways.
    ASSERT_EQ(nCompacte(pB, pB), 0);
    EXPECT_EQ(stEnteteDe(pB).eMethode, EMethode::LH5);
    ASSERT_EQ(nDecompacte(pB, &pB), 0);
    EXPECT_EQ(sLit(pB), sContenu);

    // A directory (trailing blanks ignored) takes the stored name's last component; no
    // destination at all takes the stored name itself.
    fs::create_directory(m_rep / "rep");
    for (const char* pszRep : {"rep/", "rep/  "}) {
        fs::remove(m_rep / "rep" / "a.txt");
        const fs::path pRep = m_rep / pszRep;
        ASSERT_EQ(nDecompacte(m_rep / "a.ovz", &pRep), 0) << pszRep;
        EXPECT_EQ(sLit(m_rep / "rep" / "a.txt"), sContenu) << pszRep;
    }
    fs::remove(m_rep / "a.txt");
    ASSERT_EQ(nDecompacte(m_rep / "a.ovz", nullptr), 0);
    EXPECT_EQ(sLit(m_rep / "a.txt"), sContenu);

    // A file that is not compacted at all is copied; without a destination it is left alone.
    const fs::path pCopie = m_rep / "copie";
    ASSERT_EQ(nDecompacte(m_rep / "a.txt", &pCopie), 0);
    EXPECT_EQ(sLit(pCopie), sContenu);
    EXPECT_EQ(nDecompacte(m_rep / "a.txt", nullptr), 0);
    EXPECT_EQ(sLit(m_rep / "a.txt"), sContenu);
}

TEST_F(CompactedFile, LyingHeadersAndBadNamesAnswerTheirCodeAndLeaveTheDestinationAlone) {
    Ecrit(m_rep / "a.txt", sTexte(30000));
    ASSERT_EQ(nCompacte(m_rep / "a.txt", m_rep / "a.ovz"), 0);
    const std::string sBon = sLit(m_rep / "a.ovz");
    auto sAvec = [&](size_t o, uint64_t n) {
        std::string s = sBon;
        for (int i = 0; i < 8; ++i) s[o + i] = static_cast<char>(n >> (8 * i));
        return s;
    };
    const uint64_t nCompressee = sBon.size() - 299;
    std::string sStockeFaux = sBon;
    sStockeFaux[4] = '0';  // "-lh0-" whose sizes differ
    struct {
        int nLine;
        std::string sFichier;
        int nCode;
    } const tabCas[] = {
        {__LINE__, sBon.substr(0, 200), 4},                        // header cut short
        {__LINE__, sAvec(9, sBon.size()), 4},                      // compressed size past the end
        {__LINE__, sAvec(17, uint64_t{1} << 62), 4},               // an original size no stream gives
        {__LINE__, sAvec(9, 10), 4},                               // the stream runs out: corrupt
        {__LINE__, sBon.substr(0, 297 + nCompressee / 2), 4},      // file cut in the stream
        {__LINE__, sStockeFaux, 4},
    };
    Ecrit(m_rep / "cible", "ancien contenu");
    const fs::path pCible = m_rep / "cible";
    for (const auto& c : tabCas) {
        Ecrit(m_rep / "x.ovz", c.sFichier);
        EXPECT_EQ(nDecompacte(m_rep / "x.ovz", &pCible), c.nCode) << "row " << c.nLine;
        EXPECT_EQ(sLit(pCible), "ancien contenu") << "row " << c.nLine;
        EXPECT_EQ(sLit(m_rep / "x.ovz"), c.sFichier) << "row " << c.nLine;
        AttendEntrees(4, c.nLine);
    }
    const fs::path pAbsent = m_rep / "absent" / "x";
    const fs::path pRep = m_rep;
    EXPECT_EQ(nDecompacte(m_rep / "absent", &pCible), 1);
    EXPECT_EQ(nCompacte(m_rep / "absent", pCible), 1);
    EXPECT_EQ(nCompacte(m_rep, pCible), 1) << "a directory is no source";
    EXPECT_EQ(nCompacte(m_rep / "a.txt", pAbsent), 2);
    EXPECT_EQ(nCompacte(m_rep / "a.txt", pRep), 2);
    EXPECT_EQ(nDecompacte(m_rep / "a.ovz", &pAbsent), 2);
    EXPECT_EQ(nDecompacte(m_rep / "a.ovz", &pCible, 1 << 20), 4) << "an offset past the end";
    EXPECT_EQ(nDecompacte(m_rep / "a.ovz", &pCible, -1), 4);
    EXPECT_EQ(ovcompacte::lTailleCompacte(sLarge(m_rep / "absent").c_str()), -1);
    EXPECT_EQ(ovcompacte::lTailleDecompacte(sLarge(m_rep / "a.txt").c_str()), -2);
    EXPECT_EQ(sLit(pCible), "ancien contenu");
}

TEST_F(CompactedFile, FormerWritersRawFilesAreGivenBack) {
    // A "-lh5-" header with both sizes 0 in front of the raw bytes.
    std::string s(297, '\0');
    s[0] = ' ';
    std::memcpy(&s[1], "-lh5-", 5);
    s += "petit fichier \xc3\xa9t\xc3\xa9";
    Ecrit(m_rep / "vieux.ovz", s);
    const fs::path pCible = m_rep / "b";
    ASSERT_EQ(nDecompacte(m_rep / "vieux.ovz", &pCible), 0);
    EXPECT_EQ(sLit(pCible), "petit fichier \xc3\xa9t\xc3\xa9");
}

TEST_F(CompactedFile, AStopFromAnotherThreadEndsTheOperationAndLeavesNoDestination) {
    Ecrit(m_rep / "gros.txt", sTexte(32 << 20));
    ASSERT_EQ(nCompacte(m_rep / "gros.txt", m_rep / "gros.ovz"), 0);
    Ecrit(m_rep / "cible", "ancien");
    const fs::path pCible = m_rep / "cible";
    for (int nSens = 0; nSens < 2; ++nSens) {
        // The flag is lowered when an operation starts, so the thread keeps raising it.
        std::atomic<bool> bFini{false};
        std::thread clArret([&] {
            while (!bFini.load()) {
                ovcompacte::ArreteCompaction();
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        const int nCode = nSens == 0 ? nCompacte(m_rep / "gros.txt", pCible) : nDecompacte(m_rep / "gros.ovz", &pCible);
        bFini = true;
        clArret.join();
        EXPECT_EQ(nCode, 6) << "direction " << nSens;
        EXPECT_EQ(sLit(pCible), "ancien") << "direction " << nSens;
        AttendEntrees(3, nSens);
    }
    // And the next operation starts with the flag down.
    ovcompacte::ArreteCompaction();
    EXPECT_EQ(nDecompacte(m_rep / "gros.ovz", &pCible), 0);
}

}  // namespace
