// The "-lh5-" stream: round trips over many shapes and sizes, decoding in pieces, the encoder's
// limit and stop, corrupt streams, and agreement with independent tools of the published scheme.
#include "compress/lh5.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

extern char** environ;

namespace {

using ovlh5::EResultat;
using Octets = std::vector<uint8_t>;

class CSource final : public ovlh5::ISource {
public:
    explicit CSource(const Octets& tab, size_t nMorceau = SIZE_MAX) : m_tab(tab), m_nMorceau(nMorceau) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override {
        const size_t n = std::min({nTaille, m_tab.size() - m_nPos, m_nMorceau});
        if (n > 0) std::memcpy(pby, m_tab.data() + m_nPos, n);
        m_nPos += n;
        return static_cast<long>(n);
    }

private:
    const Octets& m_tab;
    size_t m_nMorceau;
    size_t m_nPos = 0;
};

class CPuits final : public ovlh5::IPuits {
public:
    bool bEcrit(const uint8_t* pby, size_t nTaille) noexcept override {
        m_tab.insert(m_tab.end(), pby, pby + nTaille);
        return true;
    }
    Octets m_tab;
};

Octets tabEncode(const Octets& tabDonnees, ovlh5::STEncodage* pst = nullptr) {
    CSource clSource(tabDonnees, 1000);  // short reads, as from a pipe
    CPuits clPuits;
    const ovlh5::STEncodage st = ovlh5::stEncode(&clSource, &clPuits, UINT64_MAX, nullptr);
    EXPECT_EQ(st.eResultat, EResultat::OK);
    EXPECT_EQ(st.nLus, tabDonnees.size());
    EXPECT_EQ(st.nEcrits, clPuits.m_tab.size());
    if (pst) *pst = st;
    return clPuits.m_tab;
}

EResultat eDecode(const Octets& tabFlux, size_t nTaille, Octets* ptab) {
    ptab->assign(nTaille, 0);
    return ovlh5::eDecodeMemoire(tabFlux.data(), tabFlux.size(), ptab->data(), nTaille);
}

std::string sLitFichier(const std::filesystem::path& chemin) {
    std::ifstream f(chemin, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

void EcritFichier(const std::filesystem::path& chemin, const Octets& tab) {
    std::ofstream f(chemin, std::ios::binary);
    f.write(reinterpret_cast<const char*>(tab.data()), static_cast<std::streamsize>(tab.size()));
}

Octets tabDepuis(const std::string& s) { return Octets(s.begin(), s.end()); }

const std::string ksFrancais =
    "Où l'été s'achève, la forêt garde ses cèdres ; « Ça déçoit », dit Anaïs à Noël près du château. 🎼 ";

// Text with repeats at every distance, bytes of a few values, and noise: all code paths.
Octets tabMelange(size_t nTaille, uint32_t nGraine) {
    std::mt19937 gen(nGraine);
    Octets tab;
    tab.reserve(nTaille);
    while (tab.size() < nTaille) {
        switch (gen() % 4) {
        case 0:
            tab.insert(tab.end(), ksFrancais.begin(), ksFrancais.begin() + gen() % ksFrancais.size());
            break;
        case 1:
            if (!tab.empty()) {  // a copy from anywhere in the last 9,000 bytes, so some are out of reach
                const size_t nDistance = 1 + gen() % std::min<size_t>(tab.size(), 9000);
                const size_t nLongueur = 1 + gen() % 300;
                for (size_t k = 0; k < nLongueur; ++k) tab.push_back(tab[tab.size() - nDistance]);
            }
            break;
        case 2:
            for (size_t k = gen() % 50; k > 0; --k) tab.push_back(static_cast<uint8_t>(gen()));
            break;
        default: {
            // Drawn in two statements: the order of a call's arguments differs between compilers.
            const uint8_t byOctet = static_cast<uint8_t>("ab\0"[gen() % 3]);
            const size_t nRepetitions = gen() % 600;
            tab.insert(tab.end(), nRepetitions, byOctet);
        }
        }
    }
    tab.resize(nTaille);
    return tab;
}

TEST(Lh5RoundTrip, EveryLengthUpTo300) {
    for (size_t n = 0; n <= 300; ++n) {
        for (const Octets& tab : {tabMelange(n, static_cast<uint32_t>(n)), Octets(n, 'z')}) {
            const Octets tabFlux = tabEncode(tab);
            Octets tabRetour;
            ASSERT_EQ(eDecode(tabFlux, n, &tabRetour), EResultat::OK) << "length " << n;
            ASSERT_EQ(tabRetour, tab) << "length " << n;
        }
    }
}

TEST(Lh5RoundTrip, LargeAndStructuredInputsInPieces) {
    Octets tabValeurs;
    for (int k = 0; k < 40; ++k)
        for (int v = 0; v < 256; ++v) tabValeurs.push_back(static_cast<uint8_t>(k % 2 ? 255 - v : v));
    std::string sTexte;
    while (sTexte.size() < 300000) sTexte += ksFrancais + std::to_string(sTexte.size() % 977) + "\n";
    Octets tabHasard(150000);
    std::mt19937 gen(7);
    for (auto& by : tabHasard) by = static_cast<uint8_t>(gen());
    // A match exactly one window behind, and a long run that spans many maximal matches.
    Octets tabFenetre = tabHasard;
    tabFenetre.resize(8192 + 600);
    std::copy_n(tabFenetre.begin(), 600, tabFenetre.begin() + 8192);
    const struct {
        int nLigne;
        Octets tab;
    } tabCas[] = {
        {__LINE__, Octets(1 << 20, 'a')},
        {__LINE__, tabValeurs},
        {__LINE__, tabDepuis(sTexte)},
        {__LINE__, tabHasard},
        {__LINE__, tabFenetre},
        {__LINE__, tabMelange(700000, 99)},
    };
    for (const auto& c : tabCas) {
        const Octets tabFlux = tabEncode(c.tab);
        for (const size_t nMorceau : {size_t{1} << 30, size_t{8192}, size_t{7}}) {
            CSource clSource(tabFlux, 333);
            ovlh5::CDecodeurLh5 clDecodeur;
            ASSERT_TRUE(clDecodeur.bDemarre(&clSource, tabFlux.size()));
            Octets tabRetour(c.tab.size());
            for (size_t n = 0; n < tabRetour.size(); n += nMorceau) {
                const size_t nPiece = std::min(nMorceau, tabRetour.size() - n);
                ASSERT_EQ(clDecodeur.eDecode(tabRetour.data() + n, nPiece), EResultat::OK)
                    << "row " << c.nLigne << " at " << n;
            }
            ASSERT_TRUE(tabRetour == c.tab) << "row " << c.nLigne << " pieces of " << nMorceau;
        }
    }
    EXPECT_LT(tabEncode(Octets(1 << 20, 'a')).size(), 3000u);
    EXPECT_LT(tabEncode(tabDepuis(sTexte)).size(), sTexte.size() / 20);
}

TEST(Lh5Encode, StopsBeforeTheOutputReachesTheLimit) {
    const Octets tab = tabMelange(200000, 3);
    const size_t nTaille = tabEncode(tab).size();
    struct {
        int nLigne;
        uint64_t nLimite;
        EResultat eAttendu;
    } const tabCas[] = {
        {__LINE__, nTaille + 1, EResultat::OK},
        {__LINE__, nTaille, EResultat::INCOMPRESSIBLE},
        {__LINE__, nTaille / 2, EResultat::INCOMPRESSIBLE},
        {__LINE__, 0, EResultat::INCOMPRESSIBLE},
    };
    for (const auto& c : tabCas) {
        CSource clSource(tab);
        CPuits clPuits;
        const ovlh5::STEncodage st = ovlh5::stEncode(&clSource, &clPuits, c.nLimite, nullptr);
        EXPECT_EQ(st.eResultat, c.eAttendu) << "row " << c.nLigne;
        EXPECT_LT(clPuits.m_tab.size(), c.nLimite + (c.nLimite == 0)) << "row " << c.nLigne;
        EXPECT_EQ(st.nEcrits, clPuits.m_tab.size()) << "row " << c.nLigne;
    }
    // Random data gives up within a block or two, not at the end of the source.
    Octets tabHasard(4 << 20);
    std::mt19937 gen(1);
    for (auto& by : tabHasard) by = static_cast<uint8_t>(gen());
    CSource clSource(tabHasard);
    CPuits clPuits;
    const ovlh5::STEncodage st = ovlh5::stEncode(&clSource, &clPuits, 40000, nullptr);
    EXPECT_EQ(st.eResultat, EResultat::INCOMPRESSIBLE);
    EXPECT_LT(st.nLus, 200000u);
}

TEST(Lh5Encode, ReportsProgressEvery8KiBAndStopsWhenAsked) {
    class CCompte final : public ovlh5::IProgression {
    public:
        bool bContinue(uint64_t nLus) noexcept override {
            bMonte = bMonte && nLus > nDernier;
            nDernier = nLus;
            return ++nAppels != nArret;
        }
        int nAppels = 0, nArret = -1;
        uint64_t nDernier = 0;
        bool bMonte = true;
    };
    const Octets tab = tabMelange(1 << 20, 5);
    CCompte clTout;
    CSource clSource(tab);
    CPuits clPuits;
    EXPECT_EQ(ovlh5::stEncode(&clSource, &clPuits, UINT64_MAX, &clTout).eResultat, EResultat::OK);
    EXPECT_TRUE(clTout.bMonte);
    EXPECT_GE(clTout.nAppels, 100);
    EXPECT_LE(clTout.nAppels, 128);

    CCompte clArret;
    clArret.nArret = 3;
    CSource clSource2(tab);
    CPuits clPuits2;
    const ovlh5::STEncodage st = ovlh5::stEncode(&clSource2, &clPuits2, UINT64_MAX, &clArret);
    EXPECT_EQ(st.eResultat, EResultat::ARRETE);
    EXPECT_EQ(clArret.nAppels, 3);
}

// Streams written bit by bit, for the faults an encoder never makes.
class CBits {
public:
    CBits& operator()(int n, uint32_t nValeur) {
        for (int k = n - 1; k >= 0; --k) {
            if (m_nBits % 8 == 0) m_tab.push_back(0);
            if ((nValeur >> k) & 1) m_tab.back() |= static_cast<uint8_t>(0x80 >> (m_nBits % 8));
            ++m_nBits;
        }
        return *this;
    }
    Octets m_tab;

private:
    size_t m_nBits = 0;
};

TEST(Lh5Decode, AnswersCorruptForBadStreams) {
    const Octets tabTexte = tabMelange(100000, 11);
    const Octets tabFlux = tabEncode(tabTexte);
    // One block of one symbol, the only literal and position codes taking no bits.
    auto tabUnique = [](uint32_t nCode, uint32_t nBitsPosition, uint32_t nBas) {
        return CBits()(16, 1)(5, 0)(5, 0)(9, 0)(9, nCode)(4, 0)(4, nBitsPosition)(nBitsPosition > 1 ? nBitsPosition - 1 : 0, nBas).m_tab;
    };
    const struct {
        int nLigne;
        Octets tabFlux;
        size_t nTaille;
    } tabCas[] = {
        {__LINE__, Octets(tabFlux.begin(), tabFlux.begin() + tabFlux.size() / 2), tabTexte.size()},  // cut short
        {__LINE__, tabFlux, tabTexte.size() + 5000},                                               // asks for more
        {__LINE__, Octets{}, 10},
        {__LINE__, tabUnique(256, 0, 0), 3},    // a match with nothing before it
        {__LINE__, tabUnique(256, 13, 5), 3},   // a match 4,102 bytes back
        {__LINE__, tabUnique(510, 0, 0), 1},    // literal and length code past the alphabet
        // Code-length lengths 1, 1, 1: three codes of one bit.
        {__LINE__, CBits()(16, 1)(5, 3)(3, 1)(3, 1)(3, 1)(2, 0)(9, 1)(16, 0).m_tab, 1},
        // One code-length code of one bit, and the stream then holds its unassigned sibling.
        {__LINE__, CBits()(16, 1)(5, 1)(3, 1)(9, 1)(1, 1)(16, 0).m_tab, 1},
        // A position table of 15 codes, one more than the alphabet.
        {__LINE__, CBits()(16, 1)(5, 0)(5, 0)(9, 0)(9, 65)(4, 15)(16, 0).m_tab, 1},
        // A code length of 17 bits.
        {__LINE__, CBits()(16, 1)(5, 2)(3, 7)(11, 0x7FE)(16, 0).m_tab, 1},
    };
    for (const auto& c : tabCas) {
        Octets tabRetour;
        EXPECT_EQ(eDecode(c.tabFlux, c.nTaille, &tabRetour), EResultat::CORROMPU) << "row " << c.nLigne;
    }
    // The hand-made form itself decodes, so the rows above fail for their fault alone.
    Octets tabRetour;
    ASSERT_EQ(eDecode(tabUnique('A', 0, 0), 1, &tabRetour), EResultat::OK);
    EXPECT_EQ(tabRetour, Octets{'A'});
    // Every single-bit flip of a small stream answers without crashing, mostly as corrupt.
    const Octets tabPetit = tabEncode(tabMelange(2000, 12));
    for (size_t nBit = 0; nBit < tabPetit.size() * 8; ++nBit) {
        Octets tab = tabPetit;
        tab[nBit / 8] ^= static_cast<uint8_t>(0x80 >> (nBit % 8));
        eDecode(tab, 2000, &tabRetour);
    }
}

// The fuzz seeds are streams of an earlier build of our encoder behind two bytes that give the
// size to decode ((b0 << 10 | b1 << 2) + 1): they must keep decoding to what they were made from.
// OV_LH5_SEEDS=<dir> writes them afresh.
TEST(Lh5Decode, ReadsTheCommittedStreamsOfEarlierBuilds) {
    std::string sTexte;
    while (sTexte.size() < 16385) sTexte += ksFrancais;
    sTexte.resize(16385);
    const struct {
        const char* pszNom;
        Octets tab;
        uint8_t by0, by1;
    } tabCas[] = {
        {"texte.lh5", tabDepuis(sTexte), 16, 0},
        {"melange.lh5", tabMelange(8193, 8), 8, 0},
        {"octet.lh5", Octets(5001, 'a'), 4, 226},
    };
    const char* pszSortie = std::getenv("OV_LH5_SEEDS");
    for (const auto& c : tabCas) {
        ASSERT_EQ((size_t{c.by0} << 10 | size_t{c.by1} << 2) + 1, c.tab.size()) << c.pszNom;
        if (pszSortie) {
            Octets tab = {c.by0, c.by1};
            const Octets tabFlux = tabEncode(c.tab);
            tab.insert(tab.end(), tabFlux.begin(), tabFlux.end());
            EcritFichier(std::filesystem::path(pszSortie) / c.pszNom, tab);
        }
        const std::string sGraine = sLitFichier(std::filesystem::path(OV_SOURCE_DIR) / "compress/testdata/lh5" / c.pszNom);
        ASSERT_GT(sGraine.size(), 2u) << c.pszNom;
        Octets tabRetour;
        ASSERT_EQ(eDecode(Octets(sGraine.begin() + 2, sGraine.end()), c.tab.size(), &tabRetour), EResultat::OK) << c.pszNom;
        EXPECT_TRUE(tabRetour == c.tab) << c.pszNom;
    }
}

TEST(Lh5Crc, KnownValues) {
    const std::string s = "123456789";
    EXPECT_EQ(ovlh5::wCrc16(0, reinterpret_cast<const uint8_t*>(s.data()), s.size()), 0xBB3D);
    // Piecewise equals whole.
    const uint16_t wDemi = ovlh5::wCrc16(0, reinterpret_cast<const uint8_t*>(s.data()), 4);
    EXPECT_EQ(ovlh5::wCrc16(wDemi, reinterpret_cast<const uint8_t*>(s.data()) + 4, 5), 0xBB3D);
    EXPECT_EQ(ovlh5::wCrc16(0, nullptr, 0), 0);
}

// Independent tools of the scheme: lhasa tests archives of our streams, jlha makes streams that we
// decode. The archive script is tools/lh5_archive.py.
int nLance(const std::vector<std::string>& tabArguments, const std::filesystem::path& cheminSortie) {
    std::vector<char*> tabArgv;
    for (const auto& s : tabArguments) tabArgv.push_back(const_cast<char*>(s.c_str()));
    tabArgv.push_back(nullptr);
    posix_spawn_file_actions_t stActions;
    posix_spawn_file_actions_init(&stActions);
    posix_spawn_file_actions_addopen(&stActions, 1, cheminSortie.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&stActions, 1, 2);
    pid_t nPid;
    const int nErreur = posix_spawnp(&nPid, tabArgv[0], &stActions, nullptr, tabArgv.data(), environ);
    posix_spawn_file_actions_destroy(&stActions);
    if (nErreur != 0) return -1;
    int nStatut = 0;
    if (waitpid(nPid, &nStatut, 0) != nPid) return -1;
    return WIFEXITED(nStatut) ? WEXITSTATUS(nStatut) : -1;
}

class Lh5Interop : public ::testing::Test {
protected:
    void SetUp() override {
        m_sScript = OV_SOURCE_DIR "/tools/lh5_archive.py";
        m_chemin = std::filesystem::temp_directory_path() / ("lh5_interop_" + std::to_string(getpid()));
        std::filesystem::create_directories(m_chemin);
        std::string sTexte;
        while (sTexte.size() < 400000) sTexte += ksFrancais + std::to_string(sTexte.size()) + "\n";
        Octets tabHasard(70000);
        std::mt19937 gen(3);
        for (auto& by : tabHasard) by = static_cast<uint8_t>(gen());
        m_tabCorpus = {{"texte.txt", tabDepuis(sTexte)},
                       {"binaire.bin", tabMelange(300000, 21)},
                       {"hasard.bin", tabHasard},
                       {"court.txt", tabDepuis("é")},
                       {"a.bin", Octets(100000, 'a')}};
    }
    void TearDown() override { std::filesystem::remove_all(m_chemin); }

    std::string m_sScript;
    std::filesystem::path m_chemin;
    std::vector<std::pair<std::string, Octets>> m_tabCorpus;
};

TEST_F(Lh5Interop, LhasaTestsArchivesOfOurStreams) {
    std::vector<std::string> tabArguments = {"python3", m_sScript, "wrap", (m_chemin / "nous.lzh").string()};
    for (const auto& [sNom, tab] : m_tabCorpus) {
        EcritFichier(m_chemin / sNom, tab);
        EcritFichier(m_chemin / (sNom + ".lh5"), tabEncode(tab));
        tabArguments.push_back(sNom + "=" + (m_chemin / (sNom + ".lh5")).string() + "," + (m_chemin / sNom).string());
    }
    ASSERT_EQ(nLance(tabArguments, m_chemin / "wrap.log"), 0) << sLitFichier(m_chemin / "wrap.log");
    ASSERT_EQ(nLance({"lhasa", "t", (m_chemin / "nous.lzh").string()}, m_chemin / "lhasa.log"), 0)
        << sLitFichier(m_chemin / "lhasa.log");
    const std::string sJournal = sLitFichier(m_chemin / "lhasa.log");
    for (const auto& [sNom, tab] : m_tabCorpus) EXPECT_NE(sJournal.find(sNom + "\t- Tested"), std::string::npos) << sJournal;
}

TEST_F(Lh5Interop, WeDecodeStreamsOfAnIndependentEncoder) {
    std::vector<std::string> tabArguments = {"python3", m_sScript, "jlha", (m_chemin / "eux").string()};
    for (const auto& [sNom, tab] : m_tabCorpus) {
        EcritFichier(m_chemin / sNom, tab);
        tabArguments.push_back((m_chemin / sNom).string());
    }
    ASSERT_EQ(nLance(tabArguments, m_chemin / "jlha.log"), 0) << sLitFichier(m_chemin / "jlha.log");
    int nLh5 = 0;
    for (const auto& [sNom, tab] : m_tabCorpus) {
        const std::filesystem::path chemin = m_chemin / "eux" / (sNom + ".lh5");
        if (!std::filesystem::exists(chemin)) continue;  // stored, not compressed, by the tool
        ++nLh5;
        const std::string sFlux = sLitFichier(chemin);
        Octets tabRetour;
        ASSERT_EQ(eDecode(tabDepuis(sFlux), tab.size(), &tabRetour), EResultat::OK) << sNom;
        EXPECT_TRUE(tabRetour == tab) << sNom;
    }
    EXPECT_GE(nLh5, 3) << sLitFichier(m_chemin / "jlha.log");
}

}  // namespace
