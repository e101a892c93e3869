// End-to-end tests of the ovrun command line: the built program, run on small scripts against the
// built library, judged by its output, its messages and its exit status.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct STRun {
    int nStatus = -1;      // exit status, or -1 when the program died of a signal
    std::string sOut;
    std::string sErr;
};

std::string sQuote(const std::string& sArgument) {
    std::string sOut = "'";
    for (char c : sArgument) sOut += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return sOut + "'";
}

std::string sReadFile(const std::string& sPath) {
    std::ifstream clFile(sPath, std::ios::binary);
    std::stringstream clContent;
    clContent << clFile.rdbuf();
    return clContent.str();
}

class OvrunCli : public ::testing::Test {
protected:
    void SetUp() override {
        char szTemplate[] = "/tmp/ovrun_cli_XXXXXX";
        ASSERT_NE(mkdtemp(szTemplate), nullptr);
        m_sDirectory = szTemplate;
    }
    void TearDown() override { std::filesystem::remove_all(m_sDirectory); }

    std::string sWriteScript(const std::string& sName, const std::string& sContent) {
        const std::string sPath = m_sDirectory + "/" + sName;
        std::ofstream(sPath, std::ios::binary) << sContent;
        return sPath;
    }

    STRun stRun(const std::vector<std::string>& tabArguments, const std::string& sInput = "",
                bool bWithLibrary = true) {
        std::string sCommand = sQuote(OVRUN_PATH);
        if (bWithLibrary) sCommand += " --library " + sQuote(OVRUN_LIBRARY_PATH);
        for (const std::string& sArgument : tabArguments) sCommand += " " + sQuote(sArgument);
        const std::string sInputPath = sWriteScript("stdin.txt", sInput);
        sCommand += " <" + sQuote(sInputPath) + " >" + sQuote(m_sDirectory + "/out") + " 2>" +
                    sQuote(m_sDirectory + "/err");
        STRun stResult;
        const int nWait = std::system(sCommand.c_str());
        // The shell reports a child killed by a signal as 128 + the signal.
        if (WIFEXITED(nWait) && WEXITSTATUS(nWait) < 128) stResult.nStatus = WEXITSTATUS(nWait);
        stResult.sOut = sReadFile(m_sDirectory + "/out");
        stResult.sErr = sReadFile(m_sDirectory + "/err");
        return stResult;
    }

    std::string m_sDirectory;
};

TEST_F(OvrunCli, JsonLinesForTheFirstFunctions) {
    const std::string sScript = sWriteScript("first.ovs",
                                             "EstPair(4)\n"
                                             "EstImpair(4)  // a comment is not part of the statement\n"
                                             "couleur = RVB(1, 2, 3)\n"
                                             "couleur\n"
                                             "RVBRouge(RVB(1, 2, 3))\n"
                                             "fFerme(99)\n");
    STRun stResult = stRun({"--json", sScript});
    ASSERT_EQ(stResult.nStatus, 0) << stResult.sErr;
    std::istringstream clLines(stResult.sOut);
    std::vector<std::string> tabLines;
    for (std::string sLine; std::getline(clLines, sLine);) tabLines.push_back(sLine);
    ASSERT_EQ(tabLines.size(), 5u) << stResult.sOut;
    EXPECT_EQ(tabLines[0], R"j({"expr":"EstPair(4)","type":"bool","value":true,"error":null})j");
    EXPECT_EQ(tabLines[1], R"j({"expr":"EstImpair(4)","type":"bool","value":false,"error":null})j");
    EXPECT_EQ(tabLines[2], R"j({"expr":"couleur","type":"int","value":197121,"error":null})j");
    EXPECT_EQ(tabLines[3], R"j({"expr":"RVBRouge(RVB(1, 2, 3))","type":"int","value":1,"error":null})j");
    EXPECT_EQ(tabLines[4].rfind(R"j({"expr":"fFerme(99)","type":"int","value":-1,"error":{"level":2,"code":80022,)j", 0),
              0u)
        << tabLines[4];
    EXPECT_NE(tabLines[4].find("99"), std::string::npos);
}

TEST_F(OvrunCli, TextFormShowsValuesThenErrors) {
    STRun stResult = stRun({"-"}, "n = 4\nEstPair(n)\nfFerme(99)\n\"Noël\\n😀\"\n");
    ASSERT_EQ(stResult.nStatus, 0) << stResult.sErr;
    EXPECT_EQ(stResult.sOut.rfind("Vrai\n-1\nerror 80022 (level 2): ", 0), 0u) << stResult.sOut;
    EXPECT_NE(stResult.sOut.find("\nNoël\n😀\n"), std::string::npos) << stResult.sOut;
}

struct STRefusalCase {
    int nLine;
    std::string sScript;
    std::string sWhere;  // LINE:COL
    std::string sMessagePart;
};

TEST_F(OvrunCli, RefusedScriptsRunNothingAndSayWhere) {
    const STRefusalCase tabCases[] = {
        {__LINE__, "EstPair(4)\nEstPair(2)\nRVB(1,\n", "3:7", "expected a value"},
        {__LINE__, "EstPair(4)\nx = Inexistante(1)\n", "2:5", "unknown function 'Inexistante'"},
        {__LINE__, "EstPair(4)\n  RVB(1, 2)\n", "2:3", "RVB takes"},
        {__LINE__, "EstPair(4)\nEstPair(y)\n", "2:9", "unknown name 'y'"},
        {__LINE__, "EstPair(4)\n\"\\u{D800}\"\n", "2:2", "surrogate"},
    };
    for (const STRefusalCase& stCase : tabCases) {
        const std::string sScript = sWriteScript("refused.ovs", stCase.sScript);
        STRun stResult = stRun({sScript});
        EXPECT_EQ(stResult.nStatus, 2) << "line " << stCase.nLine;
        EXPECT_EQ(stResult.sOut, "") << "line " << stCase.nLine;
        EXPECT_EQ(stResult.sErr.rfind(sScript + ":" + stCase.sWhere + ": ", 0), 0u)
            << "line " << stCase.nLine << ": " << stResult.sErr;
        EXPECT_NE(stResult.sErr.find(stCase.sMessagePart), std::string::npos)
            << "line " << stCase.nLine << ": " << stResult.sErr;
    }
    STRun stResult = stRun({"-e", "EstPair(4)", "-e", "RVB(1, 2)"});
    EXPECT_EQ(stResult.nStatus, 2);
    EXPECT_EQ(stResult.sOut, "");
    EXPECT_EQ(stResult.sErr.rfind("<command line>:2:1: RVB takes 3", 0), 0u) << stResult.sErr;
}

TEST_F(OvrunCli, NeverCrashesOnHostileInput) {
    std::string sDeep;
    for (int n = 0; n < 50000; ++n) sDeep += "RVBRouge(";
    const std::string tabInputs[] = {
        sDeep,
        std::string("\x00\xff\xfe\n\"\xed\xa0\x80\"", 8),
        "x\"" + std::string(100001, 'A') + "\"",
        "\"" + std::string(100000, '\\'),
        "fFerme(99999999999999999999)",
    };
    for (const std::string& sInput : tabInputs) {
        STRun stResult = stRun({"--json", "-"}, sInput);
        EXPECT_EQ(stResult.nStatus, 2) << stResult.sErr;
        EXPECT_FALSE(stResult.sErr.empty());
    }
}

TEST_F(OvrunCli, DescribesAndListsFunctions) {
    STRun stDescribe = stRun({"--describe", "RVB"});
    ASSERT_EQ(stDescribe.nStatus, 0) << stDescribe.sErr;
    // The catalogue's line on what the function does, then its overloads.
    EXPECT_EQ(stDescribe.sOut.find("\nRVB(int, int, int) -> int\n"), stDescribe.sOut.find('\n')) << stDescribe.sOut;
    EXPECT_NE(stDescribe.sOut.find("colour"), std::string::npos) << stDescribe.sOut;
    STRun stList = stRun({"--list"});
    ASSERT_EQ(stList.nStatus, 0) << stList.sErr;
    EXPECT_NE(stList.sOut.find("\nEstPair\n"), std::string::npos);
    EXPECT_NE(stList.sOut.find("\nDateSelecteur [no body]\n"), std::string::npos);
    EXPECT_EQ(stRun({"--describe", "Inexistante"}).nStatus, 2);
}

TEST_F(OvrunCli, RefusesALibraryThatCannotBeLoaded) {
    STRun stResult = stRun({"--library", "/nonexistent/ov200std64.so", "-e", "EstPair(4)"}, "", false);
    EXPECT_EQ(stResult.nStatus, 2);
    EXPECT_EQ(stResult.sOut, "");
    EXPECT_NE(stResult.sErr.find("/nonexistent/ov200std64.so"), std::string::npos) << stResult.sErr;
}

TEST_F(OvrunCli, TourRunsWithoutArguments) {
    STRun stResult = stRun({});
    ASSERT_EQ(stResult.nStatus, 0) << stResult.sErr;
    EXPECT_NE(stResult.sOut.find("> EstPair(4)\nVrai\n"), std::string::npos) << stResult.sOut;
    EXPECT_NE(stResult.sOut.find("> fFerme(99)\n-1\nerror 80022 (level 2): "), std::string::npos) << stResult.sOut;
}

}  // namespace

TEST_F(OvrunCli, OperatorsCombineFlagsByNameAndRefuseBeforeRunning) {
    STRun stResult = stRun({"-e", "foLecture + foUnicode = foLecture | foUnicode", "-e", "(1 + 2) * -3"});
    ASSERT_EQ(stResult.nStatus, 0) << stResult.sErr;
    EXPECT_EQ(stResult.sOut, "Vrai\n-9\n");
    stResult = stRun({"-e", "EstPair(4)", "-e", "x = 1 / (3 - 3)"});
    EXPECT_EQ(stResult.nStatus, 2);
    EXPECT_EQ(stResult.sOut, "");
    EXPECT_EQ(stResult.sErr.rfind("<command line>:2:7: division by zero", 0), 0u) << stResult.sErr;
}

TEST_F(OvrunCli, VersionOfTheProgramAndOfTheLibraryFile) {
    STRun stResult = stRun({"--version"});
    ASSERT_EQ(stResult.nStatus, 0) << stResult.sErr;
    EXPECT_EQ(stResult.sOut.rfind("ovrun 20.0.102.0\nov200std64.so 20.0.102.0, 497 functions, ", 0), 0u) << stResult.sOut;
}

// The prompt on a pseudo-terminal: each line runs as it is entered, names carry over, a mistake is
// shown and the session goes on, the up arrow brings back the last line, Ctrl-D ends.
TEST_F(OvrunCli, PromptRunsLineByLineWithHistory) {
    const int nMaitre = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(nMaitre, 0);
    ASSERT_TRUE(grantpt(nMaitre) == 0 && unlockpt(nMaitre) == 0);
    const std::string sEsclave = ptsname(nMaitre);
    const pid_t nPid = fork();
    ASSERT_GE(nPid, 0);
    if (nPid == 0) {
        close(nMaitre);  // only the test holds the master: closing it hangs the terminal up
        setsid();
        const int nEsclave = open(sEsclave.c_str(), O_RDWR);
        if (nEsclave < 0) _exit(126);
        dup2(nEsclave, 0);
        dup2(nEsclave, 1);
        dup2(nEsclave, 2);
        execl(OVRUN_PATH, OVRUN_PATH, "--library", OVRUN_LIBRARY_PATH, "-", static_cast<char*>(nullptr));
        _exit(127);
    }
    std::string sEcran;
    // Reads what the terminal shows until sAttendu appears; gives up after 20 s of silence or
    // when the program is gone, so a fault fails the test instead of hanging it.
    auto bAttend = [&](const std::string& sAttendu) {
        char sz[4096];
        while (sEcran.find(sAttendu) == std::string::npos) {
            pollfd stAttente{nMaitre, POLLIN, 0};
            if (poll(&stAttente, 1, 20000) <= 0) break;
            const ssize_t n = read(nMaitre, sz, sizeof sz);
            if (n <= 0) break;
            sEcran.append(sz, static_cast<size_t>(n));
        }
        return sEcran.find(sAttendu) != std::string::npos;
    };
    auto Tape = [&](const std::string& s) { ASSERT_EQ(write(nMaitre, s.data(), s.size()), static_cast<ssize_t>(s.size())); };
    // Each line's answer, then the next prompt drawn after it: only then is the editor reading
    // again in raw mode, so the next keys are never taken by the terminal's own line editing.
    auto bAttendPuisInvite = [&](const std::string& sAttendu) {
        if (!bAttend(sAttendu)) return false;
        const size_t nApres = sEcran.find(sAttendu) + sAttendu.size();
        const std::string sInvite = "\n\rovrun> ";
        sEcran.erase(0, nApres);
        const bool bVu = bAttend(sInvite);
        sEcran.clear();
        return bVu;
    };
    ASSERT_TRUE(bAttend("ovrun> ")) << sEcran;
    sEcran.clear();
    Tape("a = \"Noël \" + \"😀\"\r");
    ASSERT_TRUE(bAttendPuisInvite("\"😀\"")) << sEcran;
    Tape("a + \"!\"\r");
    ASSERT_TRUE(bAttendPuisInvite("Noël 😀!")) << sEcran;
    Tape("1 / 0\r");
    ASSERT_TRUE(bAttendPuisInvite("<prompt>:1:3: division by zero")) << sEcran;
    // Up twice: back past the refused line to the one before it; Backspace edits it.
    Tape("\x1b[A\x1b[A\x7f\x7f\x7f\"?\"\r");
    ASSERT_TRUE(bAttendPuisInvite("Noël 😀?")) << sEcran;
    Tape("\x04");
    int nStatut = 0;
    pid_t nFini = 0;
    for (int n = 0; n < 200 && (nFini = waitpid(nPid, &nStatut, WNOHANG)) == 0; ++n) usleep(50000);
    close(nMaitre);
    if (nFini == 0) {  // never left alone: a hangup, then a kill
        kill(nPid, SIGKILL);
        waitpid(nPid, &nStatut, 0);
    }
    EXPECT_TRUE(WIFEXITED(nStatut) && WEXITSTATUS(nStatut) == 0) << sEcran;
}
