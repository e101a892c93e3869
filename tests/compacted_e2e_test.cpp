// Compacted files through the stand-in machine and ovrun: round trips under accented names, the
// stream checked by an independent archiver both ways, the error numbers, and the exported
// entry points.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/utf8.h"
#include "tests/child_process.h"
#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

namespace fs = std::filesystem;

std::string sLit(const fs::path& p) {
    std::ifstream f(p, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}
void Ecrit(const fs::path& p, const std::string& s) { std::ofstream(p, std::ios::binary) << s; }

std::string sTexte(size_t n) {
    std::string s;
    for (size_t i = 0; s.size() < n; ++i)
        s += "L\xe2\x80\x99\xc3\xa9t\xc3\xa9 \xc3\xa0 No\xc3\xabl, ligne " + std::to_string(i) + " \xf0\x9f\x98\x80\n";
    return s;
}

// Runs a program from an argument vector; its exit status, or -1.
int nLance(const std::vector<std::string>& tab) {
    std::vector<char*> tabArgv;
    for (const std::string& s : tab) tabArgv.push_back(const_cast<char*>(s.c_str()));
    tabArgv.push_back(nullptr);
    ovtest::CSigchldRetenu clRetenu;
    const pid_t nPid = fork();
    if (nPid == 0) {
        const int nNul = open("/dev/null", O_WRONLY);
        dup2(nNul, 1);
        execvp(tabArgv[0], tabArgv.data());
        _exit(127);
    }
    int nStatut = 0;
    if (nPid < 0 || waitpid(nPid, &nStatut, 0) != nPid || !WIFEXITED(nStatut)) return -1;
    return WEXITSTATUS(nStatut);
}

class CompactedEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        const char* pszTmp = std::getenv("TMPDIR");
        std::string s = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/ov_compacte_XXXXXX";
        ASSERT_NE(mkdtemp(s.data()), nullptr);
        m_rep = s;
    }
    void TearDown() override { fs::remove_all(m_rep); }
    CValue Nom(const fs::path& p) const { return CValue::Text(sWideFromBytes(p.string())); }
    int64_t nAppel(const char* pszFonction, std::vector<CValue> tab, int nErreur = 0) {
        const STCallOutcome st = stCall(pszFonction, std::move(tab));
        EXPECT_EQ(st.stError.nCode, nErreur) << pszFonction;
        return st.clResult.nInteger;
    }
    fs::path m_rep;
};

TEST_F(CompactedEndToEnd, RoundTripsUnderAccentedNamesAndTheStreamPassesAnIndependentArchiver) {
    const fs::path pSource = m_rep / "donn\xc3\xa9" "es \xf0\x9f\x98\x80.txt";
    const std::string sContenu = sTexte(200000);
    Ecrit(pSource, sContenu);
    ASSERT_EQ(nAppel("fCompacte", {Nom(pSource), Nom(m_rep / "a.ovz")}), 0);
    const std::string sFichier = sLit(m_rep / "a.ovz");
    EXPECT_EQ(nAppel("fTailleCompacte", {Nom(m_rep / "a.ovz")}), static_cast<int64_t>(sFichier.size()));
    EXPECT_EQ(nAppel("fTailleDecompacte", {Nom(m_rep / "a.ovz")}), static_cast<int64_t>(sContenu.size()));
    ASSERT_EQ(nAppel("fDecompacte", {Nom(m_rep / "a.ovz"), Nom(m_rep / "b.txt")}), 0);
    EXPECT_EQ(sLit(m_rep / "b.txt"), sContenu);
    // One argument: the stored name, in code page 1252, which has "?" for the emoji.
    ASSERT_EQ(nAppel("fDecompacte", {Nom(m_rep / "a.ovz")}), 0);
    EXPECT_EQ(sLit(m_rep / "donn\xc3\xa9" "es ?.txt"), sContenu);
    // Inside a larger file.
    Ecrit(m_rep / "gros", std::string(777, '\x55') + sFichier + "queue");
    ASSERT_EQ(nAppel("fDecompacte", {Nom(m_rep / "gros"), Nom(m_rep / "c.txt"), CValue::Int64(777)}), 0);
    EXPECT_EQ(sLit(m_rep / "c.txt"), sContenu);

    // Our stream, in an archive of the published scheme, passes lhasa's test.
    Ecrit(m_rep / "flux.lh5", sFichier.substr(297, sFichier.size() - 299));
    const std::string sOutil = std::string(OV_SOURCE_DIR) + "/tools/lh5_archive.py";
    ASSERT_EQ(nLance({"python3", sOutil, "wrap", (m_rep / "t.lzh").string(),
                      "t.txt=" + (m_rep / "flux.lh5").string() + "," + (m_rep / "b.txt").string()}), 0);
    EXPECT_EQ(nLance({"lhasa", "t", (m_rep / "t.lzh").string()}), 0) << "lhasa is needed (tools/bootstrap.sh)";

    // And jlha's stream behind our header decompacts to the original.
    ASSERT_EQ(nLance({"python3", sOutil, "jlha", (m_rep / "jlha").string(), (m_rep / "b.txt").string()}), 0)
        << "jlha is needed (tools/bootstrap.sh)";
    const std::string sFlux = sLit(m_rep / "jlha" / "b.txt.lh5");
    ASSERT_FALSE(sFlux.empty());
    std::string sEntete(297, '\0');
    sEntete[0] = ' ';
    std::memcpy(&sEntete[1], "-LH5-", 5);  // any case
    for (int i = 0; i < 8; ++i) {
        sEntete[9 + i] = static_cast<char>(static_cast<uint64_t>(sFlux.size()) >> (8 * i));
        sEntete[17 + i] = static_cast<char>(static_cast<uint64_t>(sContenu.size()) >> (8 * i));
    }
    Ecrit(m_rep / "j.ovz", sEntete + sFlux + std::string(2, '\0'));
    ASSERT_EQ(nAppel("fDecompacte", {Nom(m_rep / "j.ovz"), Nom(m_rep / "j.txt")}), 0);
    EXPECT_EQ(sLit(m_rep / "j.txt"), sContenu);
}

TEST_F(CompactedEndToEnd, FailuresRaiseTheirNumbers) {
    Ecrit(m_rep / "a.txt", "court");
    std::string sFaux(400, '\0');
    std::memcpy(&sFaux[1], "-lh5-", 5);
    sFaux[9] = 1;  // 2^56 bytes... past the end
    sFaux[16] = 1;
    Ecrit(m_rep / "faux.ovz", sFaux);
    struct {
        int nLine;
        const char* pszFonction;
        std::vector<CValue> tabArgs;
        int64_t nResultat;
        int nErreur;
    } const tabCas[] = {
        {__LINE__, "fCompacte", {Nom(m_rep / "absent"), Nom(m_rep / "x")}, 1, 80300},
        {__LINE__, "fCompacte", {Nom(m_rep / "a.txt"), Nom(m_rep / "absent" / "x")}, 2, 80301},
        {__LINE__, "fDecompacte", {Nom(m_rep / "faux.ovz"), Nom(m_rep / "x")}, 4, 80303},
        {__LINE__, "fDecompacte", {Nom(m_rep / "absent"), Nom(m_rep / "x")}, 1, 80300},
        {__LINE__, "fTailleCompacte", {Nom(m_rep / "absent")}, -1, 80300},
        {__LINE__, "fTailleDecompacte", {Nom(m_rep / "a.txt")}, -2, 80302},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszFonction, c.tabArgs);
        EXPECT_EQ(st.clResult.nInteger, c.nResultat) << "row " << c.nLine;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLine;
        EXPECT_FALSE(st.stError.sMessage.empty()) << "row " << c.nLine;
    }
    EXPECT_FALSE(fs::exists(m_rep / "x"));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_rep), {}), 2) << "no temporary file is left";
    stCall("fStopCompacte", {});
    EXPECT_EQ(nAppel("fCompacte", {Nom(m_rep / "a.txt"), Nom(m_rep / "x")}), 0) << "a stop asked between operations is forgotten";
}

TEST_F(CompactedEndToEnd, TheExportedEntryPointsTakeWideNames) {
    void* h = dlopen(CStandInMachine::s_sDefaultLibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(h, nullptr);
    auto pfnCompacte = reinterpret_cast<int (*)(const wchar_t*, const wchar_t*)>(dlsym(h, "nfCompacte"));
    auto pfnTaille = reinterpret_cast<int64_t (*)(const wchar_t*)>(dlsym(h, "lfTailleDecompacte"));
    ASSERT_TRUE(pfnCompacte && pfnTaille && dlsym(h, "lfTailleCompacte"));
    Ecrit(m_rep / "\xc3\xa9t\xc3\xa9.txt", sTexte(5000));
    const std::wstring sSource = sWideFromBytes((m_rep / "\xc3\xa9t\xc3\xa9.txt").string());
    const std::wstring sCible = sWideFromBytes((m_rep / "e.ovz").string());
    EXPECT_EQ(pfnCompacte(sSource.c_str(), sCible.c_str()), 0);
    EXPECT_EQ(pfnTaille(sCible.c_str()), static_cast<int64_t>(fs::file_size(m_rep / "\xc3\xa9t\xc3\xa9.txt")));
    EXPECT_EQ(pfnCompacte(nullptr, nullptr), 1);
    dlclose(h);
}

TEST_F(CompactedEndToEnd, OvrunRunsTheRoundTripAndPrintsErrors) {
    Ecrit(m_rep / "a.txt", sTexte(3000));
    const std::string sA = (m_rep / "a.txt").string(), sZ = (m_rep / "a.ovz").string(), sB = (m_rep / "b.txt").string();
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "fCompacte(\"" + sA + "\", \"" + sZ + "\")", "-e", "fTailleDecompacte(\"" + sZ + "\")", "-e",
                     "fDecompacte(\"" + sZ + "\", \"" + sB + "\")", "-e", "fTailleCompacte(\"" + sA + "\")"});
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte, "0\n" + std::to_string(fs::file_size(m_rep / "a.txt")) +
                             "\n0\n-2\nerror 80302 (level 2): The file is not a compacted file.\n");
    EXPECT_EQ(sLit(m_rep / "b.txt"), sLit(m_rep / "a.txt"));
}

}  // namespace
}  // namespace ovhost
