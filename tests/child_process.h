// Tests that wait for a child process of their own while the library is loaded: the library reaps
// every dead child from its SIGCHLD handler, so a test holds the signal back on its thread from
// before the fork until its waitpid has found the child.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace ovtest {

class CSigchldRetenu {
public:
    CSigchldRetenu() {
        sigset_t st;
        sigemptyset(&st);
        sigaddset(&st, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &st, &m_stAncien);
    }
    ~CSigchldRetenu() { pthread_sigmask(SIG_SETMASK, &m_stAncien, nullptr); }
    CSigchldRetenu(const CSigchldRetenu&) = delete;
    CSigchldRetenu& operator=(const CSigchldRetenu&) = delete;

private:
    sigset_t m_stAncien;
};

}  // namespace ovtest
