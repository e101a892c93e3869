// Runs the command line ovrun as a user does, for the end-to-end tests that check the whole road
// from the command line: the arguments go to the program as a vector, with no shell between, and
// its standard output and error come back together.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/child_process.h"

namespace ovtest {

struct STSortieOvrun {
    int nStatus = -1;  // the exit status, -1 when the program did not exit by itself
    std::string sTexte;
};

inline STSortieOvrun stLanceOvrun(const std::string& sProgramme, const std::vector<std::string>& tabArguments) {
    STSortieOvrun st;
    const CSigchldRetenu clRetenu;
    int anTube[2];
    if (pipe(anTube) != 0) return st;
    std::vector<char*> tabArgv;
    tabArgv.push_back(const_cast<char*>(sProgramme.c_str()));
    for (const std::string& s : tabArguments) tabArgv.push_back(const_cast<char*>(s.c_str()));
    tabArgv.push_back(nullptr);
    const pid_t nPid = fork();
    if (nPid == 0) {
        dup2(anTube[1], 1);
        dup2(anTube[1], 2);
        close(anTube[0]);
        close(anTube[1]);
        execv(sProgramme.c_str(), tabArgv.data());
        _exit(127);
    }
    close(anTube[1]);
    if (nPid < 0) {
        close(anTube[0]);
        return st;
    }
    char sz[512];
    ssize_t n;
    while ((n = read(anTube[0], sz, sizeof sz)) > 0) st.sTexte.append(sz, static_cast<size_t>(n));
    close(anTube[0]);
    int nAttente = 0;
    if (waitpid(nPid, &nAttente, 0) == nPid && WIFEXITED(nAttente)) st.nStatus = WEXITSTATUS(nAttente);
    return st;
}

}  // namespace ovtest
