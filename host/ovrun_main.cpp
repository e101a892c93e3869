// ovrun: runs statements against the standard-functions library through the stand-in machine and
// prints their results as text or JSON; lists and describes the library's functions.
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "generated/catalogue_docs.h"
#include "host/line_editor.h"
#include "host/machine.h"
#include "host/printer.h"
#include "host/script.h"
#include "host/tour_ovs.h"
#include "host/vm.h"

namespace {

using namespace ovhost;

constexpr int gnExitRan = 0;
constexpr int gnExitCallFailed = 1;
constexpr int gnExitRefused = 2;

const char gszUsage[] =
    "usage: ovrun [options] [FILE | - | -e STATEMENT...]\n"
    "Runs statements against the standard-functions library; with nothing to run, a short tour.\n"
    "\n"
    "  -e STATEMENT      run one statement (repeatable; each counts as a line)\n"
    "  FILE              run the statements of a script file\n"
    "  -                 run the statements read from standard input; on a terminal, a prompt\n"
    "                    where each line runs as it is entered (arrows walk the history)\n"
    "  --json            one JSON object per expression instead of text lines\n"
    "  --list            list the library's functions\n"
    "  --describe NAME   show the overloads of a function (or the value of a constant)\n"
    "  --library PATH    the library to load (default: beside ovrun, or $OV200STD64)\n"
    "  --mode-chaine N   the machine's string mode: 1 or 2, text functions free to choose answer\n"
    "                    8-bit text; any other number (0, the default), wide text\n"
    "  --langue fr|en    the machine's language for date texts and masks (default: fr)\n"
    "  --interruption N  the user stops the program at the N-th check a function makes\n"
    "  --version         ovrun's version, and the library's from its file\n"
    "  -h, --help        this text\n"
    "\n"
    "Two names are the machine's own: the procedure Trace prints each call a function makes of\n"
    "it and goes on; the gauge Jauge, given as a function's gauge argument, shows its progress on\n"
    "standard error when that is a terminal: fDecoupe(\"big.bin\", 1000000, \"part\", 0, Jauge).\n"
    "\n"
    "Exit status: 0 when every statement ran (language errors are results), 1 when a call\n"
    "could not be made, 2 when the script or the library was refused.\n";

// The stand-in machine as the script language sees it.
class CMachineScriptHost final : public IScriptHost {
public:
    explicit CMachineScriptHost(CStandInMachine* pclMachine) : m_pclMachine(pclMachine) {}

    const STFunctionInfo* pstFindFunction(std::string_view sName) const override {
        return m_pclMachine->pstFindFunction(sName);
    }
    const STConstantInfo* pstFindConstant(std::string_view sName) const override {
        return m_pclMachine->pstFindConstant(sName);
    }
    bool bCall(std::string_view sName, std::vector<CValue>& tabArguments, STCallOutcome* pstOutcome,
               std::string* psError) override {
        return m_pclMachine->bCall(sName, tabArguments, pstOutcome, psError);
    }
    void SetProcedures(IProcedureHost* piProcedures) override { m_pclMachine->SetProcedureHost(piProcedures); }

private:
    CStandInMachine* m_pclMachine;
};

struct STOptions {
    std::vector<std::string> tabStatements;  // -e
    bool bScriptFile = false;
    std::string sScriptPath;  // "-" for standard input
    bool bJson = false;
    bool bList = false;
    bool bDescribe = false;
    std::string sDescribeName;
    bool bLibrary = false;
    std::string sLibraryPath;
    int nModeChaine = 0;  // Unicode mode
    int nInterruption = 0;  // not armed
    bool bHelp = false;
    bool bVersion = false;
};

void WriteOut(const std::string& sLine) {
    std::fwrite(sLine.data(), 1, sLine.size(), stdout);
    std::fputc('\n', stdout);
}

void WriteError(const std::string& sLine) {
    std::fwrite(sLine.data(), 1, sLine.size(), stderr);
    std::fputc('\n', stderr);
}

// A whole decimal integer, sign allowed, that fits an int.
bool bParseMode(const std::string& sText, int* pnMode) {
    const char* pszEnd = sText.data() + sText.size();
    const char* pszStart = sText.data() + (sText.size() > 1 && sText[0] == '+' ? 1 : 0);
    auto [pszStop, ec] = std::from_chars(pszStart, pszEnd, *pnMode);
    return ec == std::errc() && pszStop == pszEnd && !sText.empty();
}

bool bParseOptions(int nArgc, char** ppszArgv, STOptions* pstOptions, std::string* psError) {
    bool bOptionsEnded = false;
    for (int n = 1; n < nArgc; ++n) {
        const std::string_view sArgument = ppszArgv[n];
        auto bTakeValue = [&](std::string* psValue) {
            if (n + 1 >= nArgc) {
                *psError = std::string(sArgument) + " needs a value";
                return false;
            }
            *psValue = ppszArgv[++n];
            return true;
        };
        if (!bOptionsEnded && sArgument == "--") {
            bOptionsEnded = true;
        } else if (!bOptionsEnded && sArgument == "-e") {
            std::string sStatement;
            if (!bTakeValue(&sStatement)) return false;
            pstOptions->tabStatements.push_back(std::move(sStatement));
        } else if (!bOptionsEnded && sArgument == "--json") {
            pstOptions->bJson = true;
        } else if (!bOptionsEnded && sArgument == "--list") {
            pstOptions->bList = true;
        } else if (!bOptionsEnded && sArgument == "--describe") {
            pstOptions->bDescribe = true;
            if (!bTakeValue(&pstOptions->sDescribeName)) return false;
        } else if (!bOptionsEnded && sArgument == "--library") {
            pstOptions->bLibrary = true;
            if (!bTakeValue(&pstOptions->sLibraryPath)) return false;
        } else if (!bOptionsEnded && sArgument == "--langue") {
            std::string sLangue;
            if (!bTakeValue(&sLangue)) return false;
            if (!ovhost::CMachineServices::s_Instance().clInfoLangue().bSetLangue(sLangue)) {
                *psError = "--langue takes fr or en";
                return false;
            }
        } else if (!bOptionsEnded && sArgument == "--mode-chaine") {
            std::string sMode;
            if (!bTakeValue(&sMode)) return false;
            if (!bParseMode(sMode, &pstOptions->nModeChaine)) {
                *psError = "--mode-chaine needs an integer, not '" + sMode + "'";
                return false;
            }
        } else if (!bOptionsEnded && sArgument == "--interruption") {
            std::string sApres;
            if (!bTakeValue(&sApres)) return false;
            if (!bParseMode(sApres, &pstOptions->nInterruption) || pstOptions->nInterruption < 1) {
                *psError = "--interruption needs a positive integer, not '" + sApres + "'";
                return false;
            }
        } else if (!bOptionsEnded && (sArgument == "-h" || sArgument == "--help")) {
            pstOptions->bHelp = true;
        } else if (!bOptionsEnded && sArgument == "--version") {
            pstOptions->bVersion = true;
        } else if (!bOptionsEnded && sArgument.size() > 1 && sArgument[0] == '-') {
            *psError = "unknown option " + std::string(sArgument);
            return false;
        } else {
            if (pstOptions->bScriptFile) {
                *psError = "one script at a time";
                return false;
            }
            pstOptions->bScriptFile = true;
            pstOptions->sScriptPath = std::string(sArgument);
        }
    }
    if (pstOptions->bScriptFile && !pstOptions->tabStatements.empty()) {
        *psError = "give either -e statements or a script, not both";
        return false;
    }
    const bool bRunsStatements = pstOptions->bScriptFile || !pstOptions->tabStatements.empty();
    if ((pstOptions->bList || pstOptions->bDescribe) && bRunsStatements) {
        *psError = "--list and --describe run no statements";
        return false;
    }
    if (pstOptions->bList && pstOptions->bDescribe) {
        *psError = "--list or --describe, not both";
        return false;
    }
    return true;
}

bool bReadAll(std::FILE* pFile, std::string* psContent) {
    char szBuffer[65536];
    size_t nRead;
    while ((nRead = std::fread(szBuffer, 1, sizeof szBuffer, pFile)) > 0) psContent->append(szBuffer, nRead);
    return std::ferror(pFile) == 0;
}

bool bReadScript(const std::string& sPath, std::string* psSource, std::string* psError) {
    if (sPath == "-") {
        if (!bReadAll(stdin, psSource)) {
            *psError = std::string("cannot read standard input: ") + std::strerror(errno);
            return false;
        }
    } else {
        std::FILE* pFile = std::fopen(sPath.c_str(), "rb");
        if (pFile == nullptr) {
            *psError = "cannot open " + sPath + ": " + std::strerror(errno);
            return false;
        }
        const bool bRead = bReadAll(pFile, psSource);
        const int nError = errno;
        std::fclose(pFile);
        if (!bRead) {
            *psError = "cannot read " + sPath + ": " + std::strerror(nError);
            return false;
        }
    }
    // Editors on some systems start UTF-8 files with a byte order mark; it is not a statement.
    if (psSource->compare(0, 3, "\xEF\xBB\xBF") == 0) psSource->erase(0, 3);
    return true;
}

int nList(const CStandInMachine& clMachine) {
    // A few rows are second names of an earlier row under the same name: list each name once.
    std::set<std::string, std::less<>> setSeen;
    for (const STFunctionInfo& stFunction : clMachine.tabFunctions()) {
        if (!setSeen.insert(stFunction.sName).second) continue;
        WriteOut(stFunction.sName + (stFunction.bHasBody() ? "" : " [no body]"));
    }
    return gnExitRan;
}

int nDescribe(const CStandInMachine& clMachine, const std::string& sName) {
    if (const STFunctionInfo* pstFunction = clMachine.pstFindFunction(sName)) {
        if (const char* pszDoc = ovcatalogue::pszFunctionDoc(pstFunction->sName)) WriteOut(pszDoc);
        for (const STOverloadInfo& stOverload : pstFunction->tabOverloads)
            WriteOut(sDescribeOverload(pstFunction->sName, stOverload, &CStandInMachine::s_sTypeWord));
        return gnExitRan;
    }
    if (const STConstantInfo* pstConstant = clMachine.pstFindConstant(sName)) {
        WriteOut(pstConstant->sName + " = " + sFormatValue(pstConstant->clValue) + " (" +
                 pszKindName(pstConstant->clValue.eKind) + ")");
        return gnExitRan;
    }
    WriteError("ovrun: unknown function or constant '" + sName + "'");
    return gnExitRefused;
}

// Each call of the recorder, on its own line as it happens, before the statement's result.
void WriteTrace(const std::vector<CValue>& tabArguments) {
    std::string sLine = std::string(gszRecorderName) + "(";
    for (size_t n = 0; n < tabArguments.size(); ++n) {
        if (n > 0) sLine += ", ";
        const CValue& cl = tabArguments[n];
        const bool bText = cl.eKind == EValueKind::Text || cl.eKind == EValueKind::Ansi;
        sLine += bText ? sJsonString(sFormatValue(cl)) : sFormatValue(cl);
    }
    WriteOut(sLine + ")");
}

void WriteTraceJson(const std::vector<CValue>& tabArguments) {
    std::string sLine = "{\"trace\":[";
    for (size_t n = 0; n < tabArguments.size(); ++n) sLine += (n > 0 ? "," : "") + sJsonValue(tabArguments[n]);
    WriteOut(sLine + "]}");
}

// Runs one statement and shows its result; false when its call could not be made.
bool bRunOne(CScriptRunner* pclRunner, const STStatement& stStatement, const std::string& sOrigin, bool bJson) {
    STStatementResult stResult;
    STScriptError stError;
    if (!pclRunner->bRun(stStatement, &stResult, &stError)) {
        std::fflush(stdout);
        WriteError(sFormatScriptError(sOrigin, stError));
        return false;
    }
        if (!stResult.sNote.empty()) {
            std::fflush(stdout);
            WriteError(sFormatScriptError(sOrigin, {stStatement.nLine, stStatement.nColumn, "note: " + stResult.sNote}));
        }
        const STCallError* pstCallError = stResult.bError ? &stResult.stError : nullptr;
        if (bJson) {
            if (stStatement.eKind == EStatementKind::Expression)
                WriteOut(sJsonResult(stStatement.sSource, stResult.clValue, pstCallError));
        } else {
            // An assignment shows nothing, except a language error that would otherwise go unseen.
            if (stStatement.eKind == EStatementKind::Expression) WriteOut(sFormatValue(stResult.clValue));
            if (pstCallError != nullptr) WriteOut(sFormatCallError(*pstCallError));
        }
    // Results reach a pipe as they come, so a reader sees everything up to a crash of the library.
    std::fflush(stdout);
    return true;
}

int nRunStatements(IScriptHost* piHost, const std::vector<STStatement>& tabStatements, const std::string& sOrigin,
                   bool bJson, bool bEcho) {
    CScriptRunner clRunner(piHost);
    clRunner.SetTraceOutput(bJson ? WriteTraceJson : WriteTrace);
    const bool bNarrate = bEcho && !bJson;
    bool bAfterStatement = false;
    for (const STStatement& stStatement : tabStatements) {
        if (stStatement.eKind == EStatementKind::Remark) {
            // A remark after statements opens a new paragraph of the narration.
            if (bNarrate && bAfterStatement) WriteOut("");
            if (bNarrate) WriteOut(stStatement.sSource);
            bAfterStatement = false;
            continue;
        }
        bAfterStatement = true;
        if (bNarrate) WriteOut("> " + stStatement.sSource);
        if (!bRunOne(&clRunner, stStatement, sOrigin, bJson)) return gnExitCallFailed;
    }
    return gnExitRan;
}

// The prompt: each line is a statement, run as soon as it is entered; a mistake or a call that
// cannot be made is shown and the session goes on. Names carry from line to line because every
// new line is resolved after the lines accepted before it.
int nPrompt(IScriptHost* piHost, bool bJson) {
    CEditeurLigne clEditeur(STDIN_FILENO, STDOUT_FILENO);
    CScriptRunner clRunner(piHost);
    clRunner.SetTraceOutput(bJson ? WriteTraceJson : WriteTrace);
    std::string sAccepted;
    int nAccepted = 0;
    std::string sLine;
    while (clEditeur.bLitLigne("ovrun> ", &sLine)) {
        clEditeur.AjouteHistorique(sLine);
        const std::string sTrial = sAccepted + sLine + "\n";
        std::vector<STStatement> tabStatements;
        STScriptError stError;
        if (!bParseScript(sTrial, &tabStatements, &stError) || !bResolveScript(&tabStatements, *piHost, &stError)) {
            if (stError.nLine > nAccepted) stError.nLine -= nAccepted;
            WriteError(sFormatScriptError("<prompt>", stError));
            continue;
        }
        sAccepted = sTrial;
        ++nAccepted;
        for (STStatement& stStatement : tabStatements) {
            if (stStatement.nLine != nAccepted || stStatement.eKind == EStatementKind::Remark) continue;
            stStatement.nLine = 1;
            bRunOne(&clRunner, stStatement, "<prompt>", bJson);
        }
    }
    return gnExitRan;
}

// A value of the version block that tools read from a file's bytes: NUL-terminated names and
// values between two markers.
std::string sFileVersionValue(const std::string& sPath, const std::string& sKey) {
    std::string sContent;
    std::FILE* pFile = std::fopen(sPath.c_str(), "rb");
    if (pFile == nullptr) return "";
    const bool bRead = bReadAll(pFile, &sContent);
    std::fclose(pFile);
    if (!bRead) return "";
    // Built in two parts, so that a search of this program's own bytes finds no marker.
    const std::string sStart = std::string("VersionInfo") + "MarkStart";
    const std::string sEnd = std::string("VersionInfo") + "MarkEnd";
    const size_t nStart = sContent.find(sStart);
    if (nStart == std::string::npos) return "";
    const size_t nEnd = sContent.find(sEnd, nStart);
    if (nEnd == std::string::npos) return "";
    const std::string sWanted = "\\StringFileInfo\\000004E4\\" + sKey;
    size_t n = nStart + sStart.size() + 1;
    while (n < nEnd) {
        const size_t nZero = sContent.find('\0', n);
        if (nZero == std::string::npos || nZero >= nEnd) break;
        if (sContent.compare(n, nZero - n, sWanted) == 0) {
            const size_t nValueEnd = sContent.find('\0', nZero + 1);
            return nValueEnd == std::string::npos || nValueEnd > nEnd ? "" : sContent.substr(nZero + 1, nValueEnd - nZero - 1);
        }
        n = nZero + 1;
    }
    return "";
}

int nVersion(const std::string& sLibraryPath) {
    WriteOut(std::string("ovrun ") + OV_VERSION_TEXT);
    CStandInMachine clMachine;
    std::string sLoadError;
    if (!clMachine.bLoad(sLibraryPath, &sLoadError)) {
        WriteError("ovrun: " + (sLoadError.empty() ? "cannot load " + sLibraryPath : sLoadError));
        return gnExitRefused;
    }
    const std::string sVersion = sFileVersionValue(sLibraryPath, "FileVersion");
    WriteOut("ov200std64.so " + (sVersion.empty() ? std::string("(no version block)") : sVersion) + ", " +
             std::to_string(clMachine.tabFunctions().size()) + " functions, " + sLibraryPath);
    return gnExitRan;
}

int nMain(int nArgc, char** ppszArgv) {
    STOptions stOptions;
    std::string sOptionError;
    if (!bParseOptions(nArgc, ppszArgv, &stOptions, &sOptionError)) {
        WriteError("ovrun: " + sOptionError);
        std::fputs(gszUsage, stderr);
        return gnExitRefused;
    }
    if (stOptions.bHelp) {
        std::fputs(gszUsage, stdout);
        return gnExitRan;
    }

    const std::string sLibraryPath =
        stOptions.bLibrary ? stOptions.sLibraryPath : CStandInMachine::s_sDefaultLibraryPath();
    if (stOptions.bVersion) return nVersion(sLibraryPath);
    const bool bPrompt = stOptions.bScriptFile && stOptions.sScriptPath == "-" && isatty(STDIN_FILENO) != 0;

    // Read and parse first: a script with a syntax error is refused without loading anything.
    std::string sSource;
    std::string sOrigin;
    bool bTour = false;
    const bool bRunsStatements = !stOptions.bList && !stOptions.bDescribe;
    if (!stOptions.tabStatements.empty()) {
        sOrigin = "<command line>";
        for (const std::string& sStatement : stOptions.tabStatements) sSource += sStatement + "\n";
    } else if (bPrompt) {
        sOrigin = "<prompt>";
    } else if (stOptions.bScriptFile) {
        sOrigin = stOptions.sScriptPath == "-" ? "<stdin>" : stOptions.sScriptPath;
        std::string sReadError;
        if (!bReadScript(stOptions.sScriptPath, &sSource, &sReadError)) {
            WriteError("ovrun: " + sReadError);
            return gnExitRefused;
        }
    } else if (bRunsStatements) {
        sOrigin = "<tour>";
        sSource.assign(reinterpret_cast<const char*>(gbyTourScript), gnTourScriptSize);
        bTour = true;
    }
    std::vector<STStatement> tabStatements;
    STScriptError stError;
    if (bRunsStatements && !bParseScript(sSource, &tabStatements, &stError)) {
        WriteError(sFormatScriptError(sOrigin, stError));
        return gnExitRefused;
    }

    // Declared before the machine, which points at it until it is gone.
    CDessinJauge clDessinJauge(STDERR_FILENO);
    CStandInMachine clMachine;
    std::string sLoadError;
    if (!clMachine.bLoad(sLibraryPath, &sLoadError)) {
        WriteError("ovrun: " + (sLoadError.empty() ? "cannot load " + sLibraryPath : sLoadError));
        return gnExitRefused;
    }
    if (!clMachine.sLoadNote().empty()) WriteError("ovrun: note: " + clMachine.sLoadNote());
    clMachine.SetModeChaine(stOptions.nModeChaine);
    clMachine.ArmeInterruption(stOptions.nInterruption);
    // The gauge is drawn, not kept: a session may copy many gigabytes.
    clMachine.clJauge().SetEnregistre(false);
    clMachine.clJauge().SetDessin(&clDessinJauge);
    if (stOptions.bList) return nList(clMachine);
    if (stOptions.bDescribe) return nDescribe(clMachine, stOptions.sDescribeName);

    CMachineScriptHost clHost(&clMachine);
    if (bPrompt) return nPrompt(&clHost, stOptions.bJson);
    if (!bResolveScript(&tabStatements, clHost, &stError)) {
        WriteError(sFormatScriptError(sOrigin, stError));
        return gnExitRefused;
    }
    return nRunStatements(&clHost, tabStatements, sOrigin, stOptions.bJson, bTour);
}

}  // namespace

int main(int nArgc, char** ppszArgv) {
    int nStatus;
    try {
        nStatus = nMain(nArgc, ppszArgv);
    } catch (const std::exception& e) {
        std::fflush(stdout);
        WriteError(std::string("ovrun: internal error: ") + e.what());
        nStatus = gnExitRefused;
    } catch (...) {
        std::fflush(stdout);
        WriteError("ovrun: internal error");
        nStatus = gnExitRefused;
    }
    std::fflush(stdout);
    return nStatus;
}
