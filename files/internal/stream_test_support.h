// Helpers of the stream tests: a private temporary directory, whole-file reads and writes, the
// count of open descriptors, and a child process whose exit code carries its answer.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace stream_test {

class CRepertoireTemp {
public:
    CRepertoireTemp() {
        const char* pszBase = getenv("TMPDIR");
        std::string sModele = std::string(pszBase != nullptr && *pszBase != 0 ? pszBase : "/tmp") + "/ovstreamXXXXXX";
        if (mkdtemp(sModele.data()) != nullptr) m_sChemin = sModele;
    }
    ~CRepertoireTemp() {
        if (m_sChemin.empty()) return;
        nftw(
            m_sChemin.c_str(),
            [](const char* pszChemin, const struct stat*, int, struct FTW*) { return ::remove(pszChemin); }, 16,
            FTW_DEPTH | FTW_PHYS);
    }
    CRepertoireTemp(const CRepertoireTemp&) = delete;
    CRepertoireTemp& operator=(const CRepertoireTemp&) = delete;

    bool bValide() const { return !m_sChemin.empty(); }
    const std::string& sChemin() const { return m_sChemin; }
    std::string sNom(const std::string& sFichier) const { return m_sChemin + "/" + sFichier; }
    // The wide form of a name below the directory (the directory itself is plain ASCII).
    std::wstring wsNom(const std::wstring& wsFichier) const {
        return std::wstring(m_sChemin.begin(), m_sChemin.end()) + L"/" + wsFichier;
    }

private:
    std::string m_sChemin;
};

inline bool bEcrit(const std::string& sChemin, const std::string& sContenu) {
    FILE* pFichier = fopen(sChemin.c_str(), "wb");
    if (pFichier == nullptr) return false;
    const bool bOk = fwrite(sContenu.data(), 1, sContenu.size(), pFichier) == sContenu.size();
    return fclose(pFichier) == 0 && bOk;
}

inline std::string sLit(const std::string& sChemin) {
    std::string sContenu;
    FILE* pFichier = fopen(sChemin.c_str(), "rb");
    if (pFichier == nullptr) return "<absent>";
    char szBloc[4096];
    size_t nLu;
    while ((nLu = fread(szBloc, 1, sizeof szBloc, pFichier)) > 0) sContenu.append(szBloc, nLu);
    fclose(pFichier);
    return sContenu;
}

inline int nDescripteursOuverts() {
    DIR* pRepertoire = opendir("/proc/self/fd");
    if (pRepertoire == nullptr) return -1;
    int nNombre = 0;
    while (readdir(pRepertoire) != nullptr) ++nNombre;
    closedir(pRepertoire);
    return nNombre;
}

// Runs fn in a forked child and answers its exit code (-1 when it did not exit normally).
template <class TFonction>
int nDansFils(TFonction fn) {
    const pid_t nPid = fork();
    if (nPid == 0) _exit(fn());
    int nEtat = 0;
    if (nPid < 0 || waitpid(nPid, &nEtat, 0) != nPid) return -1;
    return WIFEXITED(nEtat) ? WEXITSTATUS(nEtat) : -1;
}

}  // namespace stream_test
