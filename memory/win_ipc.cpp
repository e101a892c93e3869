// The inter-process primitives: System V segments and semaphore sets behind mappings, mutexes,
// events and named counting semaphores, and the private directory of numbered key files.
#include "memory/win_ipc.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

#include "base/unicode.h"
#include "files/disk_file.h"

namespace {

union USemun {
    int val;
    struct semid_ds* buf;
    unsigned short* array;
};

int64_t nMaintenantMs() noexcept {
    struct timespec st;
    clock_gettime(CLOCK_MONOTONIC, &st);
    return static_cast<int64_t>(st.tv_sec) * 1000 + st.tv_nsec / 1000000;
}

void Dort(int nMs) noexcept {
    struct timespec st = {nMs / 1000, static_cast<long>(nMs % 1000) * 1000000L};
    while (nanosleep(&st, &st) != 0 && errno == EINTR) {
    }
}

// One semop with a time-out that survives interrupted calls: the deadline is kept and the wait
// resumed for what is left of it. 0 tries once, kIPCInfini waits without limit.
int nSemOp(int nIdentifiant, struct sembuf* pstOps, size_t nOps, uint32_t nDelaiMs) noexcept {
    if (nDelaiMs == 0) {
        for (size_t i = 0; i < nOps; ++i) pstOps[i].sem_flg = static_cast<short>(pstOps[i].sem_flg | IPC_NOWAIT);
        int n;
        while ((n = semop(nIdentifiant, pstOps, nOps)) != 0 && errno == EINTR) {
        }
        return n;
    }
    if (nDelaiMs == kIPCInfini) {
        int n;
        while ((n = semop(nIdentifiant, pstOps, nOps)) != 0 && errno == EINTR) {
        }
        return n;
    }
    const int64_t nFin = nMaintenantMs() + nDelaiMs;
    for (;;) {
        const int64_t nReste = nFin - nMaintenantMs();
        if (nReste <= 0) {
            errno = EAGAIN;
            return -1;
        }
        struct timespec st = {static_cast<time_t>(nReste / 1000), static_cast<long>(nReste % 1000) * 1000000L};
        if (semtimedop(nIdentifiant, pstOps, nOps, &st) == 0) return 0;
        if (errno != EINTR) return -1;
    }
}

// A set is ready once someone has operated on it: its creator's first operation marks the end of
// its making. Waits up to nDelaiMs for that.
bool bAttendPret(int nIdentifiant, int nDelaiMs) noexcept {
    const int64_t nFin = nMaintenantMs() + nDelaiMs;
    for (;;) {
        struct semid_ds st = {};
        USemun u;
        u.buf = &st;
        if (semctl(nIdentifiant, 0, IPC_STAT, u) != 0) return false;
        if (st.sem_otime != 0) return true;
        if (nMaintenantMs() >= nFin) return false;
        Dort(2);
    }
}

int nModeDesFlags(int nFlags) noexcept {
    const int nMode = nFlags & 0777;
    return nMode != 0 ? nMode : kIPCModePrive;
}

}  // namespace

// ================================================================ shared memory

int IPC_CreateFileMapping(int nFlags, size_t nTaille, key_t nCle) noexcept {
    return shmget(nCle, nTaille, nFlags | IPC_CREAT);
}

int IPC_OpenFileMapping(int nFlags, key_t nCle) noexcept { return shmget(nCle, 0, nFlags & ~IPC_CREAT); }

void* IPC_MapViewOfFile(int nIdentifiant, int nFlags) noexcept {
    if (nIdentifiant < 0) {
        errno = EINVAL;
        return nullptr;
    }
    void* p = shmat(nIdentifiant, nullptr, nFlags);
    return p == reinterpret_cast<void*>(-1) ? nullptr : p;
}

bool IPC_UnmapViewOfFile(const void* pAdresse) noexcept { return pAdresse != nullptr && shmdt(pAdresse) == 0; }

bool IPC_DestroyFileMapping(int nIdentifiant) noexcept {
    return nIdentifiant >= 0 && shmctl(nIdentifiant, IPC_RMID, nullptr) == 0;
}

bool IPC_bCloseDestroyFileMapping(int nIdentifiant, bool bDetruit) noexcept {
    return !bDetruit || IPC_DestroyFileMapping(nIdentifiant);
}

// ================================================================ mutexes

int IPC_CreateMutex(int nFlags, bool bProprietaire, key_t nCle) noexcept {
    const int nMode = nModeDesFlags(nFlags);
    int nIdentifiant = -1;
    // A few rounds: a set found half-made by a creator that died is removed and made again.
    for (int nEssai = 0; nEssai < 3 && nIdentifiant < 0; ++nEssai) {
        nIdentifiant = semget(nCle, 1, nMode | IPC_CREAT | IPC_EXCL);
        if (nIdentifiant >= 0) {
            // Free, by an operation rather than SETVAL, so that the set's operation time tells
            // the others it is ready.
            struct sembuf st = {0, 1, 0};
            if (semop(nIdentifiant, &st, 1) != 0) {
                const int nErreur = errno;
                semctl(nIdentifiant, 0, IPC_RMID);
                errno = nErreur;
                return -1;
            }
            break;
        }
        if (errno != EEXIST) return -1;
        nIdentifiant = semget(nCle, 1, nMode);
        if (nIdentifiant < 0) {
            if (errno == ENOENT || errno == EIDRM) continue;
            return -1;
        }
        if (!bAttendPret(nIdentifiant, 2000)) {
            semctl(nIdentifiant, 0, IPC_RMID);
            nIdentifiant = -1;
        }
    }
    if (nIdentifiant < 0) return -1;
    if (bProprietaire) {
        int bAbandonne = 0;
        if (IPC_PMutex(nIdentifiant, kIPCAttenteMax, true, &bAbandonne, nullptr) != 0 || bAbandonne) return -1;
    }
    return nIdentifiant;
}

int IPC_OpenMutex(int nFlags, key_t nCle) noexcept { return semget(nCle, 1, nFlags & 0777); }

int IPC_PMutex(int nIdentifiant, uint32_t nDelaiMs, bool bUndo, int* pbAbandonne, int* pnErrno) noexcept {
    if (pbAbandonne != nullptr) *pbAbandonne = 0;
    struct sembuf st = {0, -1, static_cast<short>(bUndo ? SEM_UNDO : 0)};
    errno = 0;
    int nResultat = nSemOp(nIdentifiant, &st, 1, nDelaiMs);
    if (pnErrno != nullptr) *pnErrno = errno;
    if (nResultat != 0 && errno == EIDRM) {
        if (pbAbandonne != nullptr) *pbAbandonne = 1;
        nResultat = 0;
    }
    return nResultat;
}

bool IPC_VMutex(int nIdentifiant, bool bUndo) noexcept {
    struct sembuf st = {0, 1, static_cast<short>(bUndo ? SEM_UNDO : 0)};
    return nSemOp(nIdentifiant, &st, 1, kIPCInfini) == 0;
}

bool IPC_SetLockingStateMutex(int nIdentifiant) noexcept {
    USemun u;
    u.val = 0;
    return semctl(nIdentifiant, 0, SETVAL, u) == 0;
}

bool IPC_DestroyMutex(int nIdentifiant) noexcept { return nIdentifiant >= 0 && semctl(nIdentifiant, 0, IPC_RMID) == 0; }

bool IPC_bCloseDestroyMutex(int nIdentifiant, bool bDetruit) noexcept {
    return !bDetruit || IPC_DestroyMutex(nIdentifiant);
}

// ================================================================ pseudo-events

int IPC_CreatePseudoEvent(int nFlags, key_t nCle) noexcept {
    const int nIdentifiant = semget(nCle, 1, nModeDesFlags(nFlags) | IPC_CREAT);
    if (nIdentifiant < 0) return -1;
    USemun u;
    u.val = 0;
    return semctl(nIdentifiant, 0, SETVAL, u) == 0 ? nIdentifiant : -1;
}

int IPC_OpenPseudoEvent(int nFlags, key_t nCle, bool bAttend) noexcept {
    const int nMode = nModeDesFlags(nFlags);
    const int64_t nFin = nMaintenantMs() + 3000;
    for (;;) {
        const int nIdentifiant = semget(nCle, 1, nMode);
        if (nIdentifiant >= 0 || !bAttend || errno != ENOENT || nMaintenantMs() >= nFin) return nIdentifiant;
        Dort(10);
    }
}

int IPC_hCreateOpenPseudoEvent(int nFlags, key_t nCle, bool bCree, bool bAttend) noexcept {
    return bCree ? IPC_CreatePseudoEvent(nFlags, nCle) : IPC_OpenPseudoEvent(nFlags, nCle, bAttend);
}

bool IPC_bCloseDestroyEvent(int nIdentifiant, bool bDetruit) noexcept {
    return !bDetruit || IPC_DestroyMutex(nIdentifiant);
}

// ================================================================ numbered keys

const char* pszIPCRepertoirePrive() noexcept {
    // Computed once, from the system's temporary directory and never from TMPDIR, so that every
    // process of the user agrees on it whatever its environment; the user id keeps users apart.
    static const std::string s_sRepertoire = []() -> std::string {
        try {
            std::string s = P_tmpdir;
            while (s.size() > 1 && s.back() == '/') s.pop_back();
            s += "/wb20ipc-" + std::to_string(static_cast<unsigned long>(geteuid()));
            if (mkdir(s.c_str(), 0700) != 0 && errno != EEXIST) return {};
            // A name anyone could have made first: it must be a real directory of ours that no
            // one else may write in.
            struct stat st;
            if (lstat(s.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != geteuid() ||
                (st.st_mode & 022) != 0)
                return {};
            return s;
        } catch (...) {
            return {};
        }
    }();
    return s_sRepertoire.c_str();
}

namespace {

bool bNomDeCleValide(const wchar_t* pszNom) noexcept {
    return pszNom != nullptr && pszNom[0] != 0 && std::wcschr(pszNom, L'/') == nullptr &&
           std::wcscmp(pszNom, L".") != 0 && std::wcscmp(pszNom, L"..") != 0;
}

}  // namespace

bool bGetIPCTmpFileName(const wchar_t* pszNom, wchar_t* pszChemin) noexcept {
    if (pszChemin == nullptr) return false;
    pszChemin[0] = 0;
    const char* pszRepertoire = pszIPCRepertoirePrive();
    if (pszRepertoire[0] == 0 || !bNomDeCleValide(pszNom)) {
        errno = pszRepertoire[0] == 0 ? EACCES : EINVAL;
        return false;
    }
    const int nRepertoire = UTF8ToWideLen(pszRepertoire, -1);  // terminator counted
    const size_t nNom = std::wcslen(pszNom);
    if (nRepertoire <= 0 || static_cast<size_t>(nRepertoire) + nNom > static_cast<size_t>(kMaxPath)) {
        errno = ENAMETOOLONG;
        return false;
    }
    nUTF8ToWide(pszRepertoire, -1, pszChemin, nRepertoire);
    std::wcscat(pszChemin, L"/");
    std::wcscat(pszChemin, pszNom);
    return true;
}

namespace {

// The key file of a number as a system path; empty on failure.
std::string sCheminCle(unsigned int nNumero) {
    wchar_t szNom[16];
    std::swprintf(szNom, 16, L"%u", nNumero);
    wchar_t szChemin[kMaxPath + 1];
    if (!bGetIPCTmpFileName(szNom, szChemin)) return {};
    char* psz = WideToUTF8(szChemin);
    if (psz == nullptr) return {};
    std::string s(psz);
    std::free(psz);
    return s;
}

}  // namespace

key_t nGetIPCKey(unsigned int nNumero, int nProjet) noexcept {
    try {
        const std::string sChemin = sCheminCle(nNumero);
        if (sChemin.empty()) return -1;
        // The name is predictable, so it is made exclusively and never through a link; one made
        // before must be a plain file of ours.
        const int nFd = open(sChemin.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (nFd >= 0) {
            close(nFd);
        } else {
            if (errno != EEXIST) return -1;
            struct stat st;
            if (lstat(sChemin.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != geteuid()) {
                errno = EACCES;
                return -1;
            }
        }
        return ftok(sChemin.c_str(), nProjet);
    } catch (...) {
        errno = ENOMEM;
        return -1;
    }
}

bool IPC_bCalculeNom(unsigned int nNumero, int nProjet, key_t* pnCle) noexcept {
    const key_t nCle = nGetIPCKey(nNumero, nProjet);
    if (pnCle != nullptr) *pnCle = nCle;
    return nCle != -1;
}

void DeleteIPCTmpFile(unsigned int nNumero) noexcept {
    try {
        const std::string sChemin = sCheminCle(nNumero);
        if (!sChemin.empty()) unlink(sChemin.c_str());
    } catch (...) {
    }
}

int IPC_CreateOpenMutexGlobalRWAll(bool bCree, bool bProprietaire, uint32_t* pnDelaiMs, unsigned int nNumero,
                                   int nProjet) noexcept {
    key_t nCle = -1;
    if (!IPC_bCalculeNom(nNumero, nProjet, &nCle)) return -1;
    if (bCree) return IPC_CreateMutex(kIPCModePrive, bProprietaire, nCle);
    const uint32_t nDelai = pnDelaiMs != nullptr ? *pnDelaiMs : 0;
    const int64_t nDebut = nMaintenantMs();
    for (;;) {
        const int nIdentifiant = semget(nCle, 1, kIPCModePrive);
        const int64_t nPasse = nMaintenantMs() - nDebut;
        if (nIdentifiant >= 0 || nDelai == 0 || nPasse >= nDelai) {
            if (pnDelaiMs != nullptr && nDelai != 0)
                *pnDelaiMs = nPasse >= nDelai ? 0 : nDelai - static_cast<uint32_t>(nPasse);
            return nIdentifiant;
        }
        Dort(5);
    }
}

bool CreatePipe(int* pnLecture, int* pnEcriture, void*, unsigned int) noexcept {
    if (pnLecture == nullptr || pnEcriture == nullptr) return false;
    int an[2];
    if (pipe(an) != 0) return false;
    *pnLecture = an[0];
    *pnEcriture = an[1];
    return true;
}

namespace {

template <typename T, typename FLit>
long nLigne(T** ppszLigne, size_t* pnTaille, FLit fnLit) noexcept {
    if (ppszLigne == nullptr || pnTaille == nullptr) return -1;
    size_t n = 0;
    bool bLu = false;
    for (;;) {
        long c = 0;
        if (!fnLit(&c)) break;
        bLu = true;
        if (c == '\n') break;
        if (n + 2 > *pnTaille || *ppszLigne == nullptr) {
            const size_t nNouvelle = *pnTaille < 64 ? 128 : *pnTaille * 2;
            T* p = static_cast<T*>(std::realloc(*ppszLigne, nNouvelle * sizeof(T)));
            if (p == nullptr) return -1;
            *ppszLigne = p;
            *pnTaille = nNouvelle;
        }
        (*ppszLigne)[n++] = static_cast<T>(c);
    }
    if (!bLu) return -1;
    if (*ppszLigne == nullptr) {
        *ppszLigne = static_cast<T*>(std::malloc(sizeof(T)));
        if (*ppszLigne == nullptr) return -1;
        *pnTaille = 1;
    }
    if (n > 0 && (*ppszLigne)[n - 1] == static_cast<T>('\r')) --n;
    (*ppszLigne)[n] = 0;
    return static_cast<long>(n);
}

}  // namespace

long STRG_nGetLine(char** ppszLigne, size_t* pnTaille, FILE* pFichier) noexcept {
    if (pFichier == nullptr) return -1;
    return nLigne(ppszLigne, pnTaille, [pFichier](long* pc) {
        const int c = std::fgetc(pFichier);
        *pc = c;
        return c != EOF;
    });
}

long STRG_nGetLine(wchar_t** ppszLigne, size_t* pnTaille, FILE* pFichier) noexcept {
    if (pFichier == nullptr) return -1;
    return nLigne(ppszLigne, pnTaille, [pFichier](long* pc) {
        const wint_t c = std::fgetwc(pFichier);
        *pc = static_cast<long>(c);
        return c != WEOF;
    });
}

// ================================================================ COVSemProccess

key_t COVSemProccess::s_nCleDuNom(const wchar_t* pszNom) noexcept {
    uint32_t h = 2166136261u;
    auto Ajoute = [&h](uint8_t by) {
        h ^= by;
        h *= 16777619u;
    };
    // UTF-8 by hand: the key must not depend on the locale or fail on any character.
    for (const wchar_t* p = pszNom != nullptr ? pszNom : L""; *p != 0; ++p) {
        const auto c = static_cast<uint32_t>(*p);
        if (c < 0x80) {
            Ajoute(static_cast<uint8_t>(c));
        } else if (c < 0x800) {
            Ajoute(static_cast<uint8_t>(0xC0 | (c >> 6)));
            Ajoute(static_cast<uint8_t>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            Ajoute(static_cast<uint8_t>(0xE0 | (c >> 12)));
            Ajoute(static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F)));
            Ajoute(static_cast<uint8_t>(0x80 | (c & 0x3F)));
        } else {
            Ajoute(static_cast<uint8_t>(0xF0 | (c >> 18)));
            Ajoute(static_cast<uint8_t>(0x80 | ((c >> 12) & 0x3F)));
            Ajoute(static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F)));
            Ajoute(static_cast<uint8_t>(0x80 | (c & 0x3F)));
        }
    }
    // A final mix, so that names differing only in their last byte spread over the whole key.
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    h ^= h >> 16;
    auto nCle = static_cast<key_t>(h);
    if (nCle == IPC_PRIVATE || nCle == -1) nCle = 1;
    return nCle;
}

bool COVSemProccess::_bAjouteUtilisateur() noexcept {
    struct sembuf st = {1, 1, SEM_UNDO};
    if (nSemOp(m_nIdentifiant, &st, 1, kIPCInfini) == 0) return true;
    m_nIdentifiant = -1;
    return false;
}

bool COVSemProccess::bCreate(const wchar_t* pszNom, ePARTAGE, unsigned int nValeurInitiale, unsigned int nMaximum,
                             int nMode) noexcept {
    Close();
    const key_t nCle = s_nCleDuNom(pszNom);
    nMode &= 0777;
    m_nIdentifiant = semget(nCle, 2, nMode | IPC_CREAT | IPC_EXCL);
    if (m_nIdentifiant < 0) {
        if (errno != EEXIST) return false;
        m_nIdentifiant = semget(nCle, 2, nMode);
        if (m_nIdentifiant < 0) return false;
    }
    // A set of this name that exists already was left by a process that is gone (the names carry
    // a process identifier): its counter is set anew.
    USemun u;
    u.val = static_cast<int>(nValeurInitiale);
    if (semctl(m_nIdentifiant, 0, SETVAL, u) != 0) {
        m_nIdentifiant = -1;
        return false;
    }
    m_nMaximum = nMaximum;
    return _bAjouteUtilisateur();
}

bool COVSemProccess::bOpen(const wchar_t* pszNom, unsigned int nMaximum) noexcept {
    Close();
    const int nIdentifiant = semget(s_nCleDuNom(pszNom), 0, 0);
    if (nIdentifiant < 0) return false;
    // A set of another program that happens to share the key is left alone.
    struct semid_ds st = {};
    USemun u;
    u.buf = &st;
    if (semctl(nIdentifiant, 0, IPC_STAT, u) != 0 || st.sem_nsems != 2) {
        errno = ENOENT;
        return false;
    }
    m_nIdentifiant = nIdentifiant;
    m_nMaximum = nMaximum;
    return _bAjouteUtilisateur();
}

bool COVSemProccess::bPost(unsigned int nNombre) noexcept {
    if (m_nIdentifiant < 0 || nNombre == 0 || nNombre > 0x7FFF) return false;
    const int nValeur = semctl(m_nIdentifiant, 0, GETVAL);
    if (nValeur < 0 || static_cast<unsigned int>(nValeur) + nNombre > m_nMaximum) return false;
    struct sembuf st = {0, static_cast<short>(nNombre), 0};
    return nSemOp(m_nIdentifiant, &st, 1, kIPCInfini) == 0;
}

bool COVSemProccess::bTake() noexcept { return bTake(kIPCAttenteMax); }

bool COVSemProccess::bTake(uint32_t nDelaiMs) noexcept {
    if (m_nIdentifiant < 0) return false;
    struct sembuf st = {0, -1, 0};
    return nSemOp(m_nIdentifiant, &st, 1, nDelaiMs) == 0;
}

int COVSemProccess::nGetValeur() const noexcept {
    return m_nIdentifiant < 0 ? -1 : semctl(m_nIdentifiant, 0, GETVAL);
}

int COVSemProccess::nGetAttente() const noexcept {
    return m_nIdentifiant < 0 ? -1 : semctl(m_nIdentifiant, 0, GETNCNT);
}

void COVSemProccess::Close() noexcept {
    if (m_nIdentifiant < 0) return;
    struct sembuf st = {1, -1, SEM_UNDO | IPC_NOWAIT};
    if (semop(m_nIdentifiant, &st, 1) == 0 && semctl(m_nIdentifiant, 1, GETVAL) == 0)
        semctl(m_nIdentifiant, 0, IPC_RMID);
    m_nIdentifiant = -1;
}

void COVSemProccess::Destroy() noexcept {
    if (m_nIdentifiant >= 0) semctl(m_nIdentifiant, 0, IPC_RMID);
    m_nIdentifiant = -1;
}

bool COVSemProccess::s_bWaitMultipleAll(int nNombre, COVSemProccess** ptabSem, uint32_t nDelaiMs) noexcept {
    if (nNombre <= 0) return true;
    if (ptabSem == nullptr) return false;
    const int64_t nFin = nMaintenantMs() + (nDelaiMs == kIPCInfini ? 0 : nDelaiMs);
    int nPris = 0;
    for (; nPris < nNombre; ++nPris) {
        uint32_t nReste = kIPCInfini;
        if (nDelaiMs != kIPCInfini) {
            const int64_t n = nFin - nMaintenantMs();
            nReste = n > 0 ? static_cast<uint32_t>(n) : 0;
        }
        if (ptabSem[nPris] == nullptr || !ptabSem[nPris]->bTake(nReste)) break;
    }
    if (nPris == nNombre) return true;
    for (int i = 0; i < nPris; ++i) ptabSem[i]->bPost(1);
    return false;
}

int COVSemProccess::s_nWaitMultipleAny(int nNombre, COVSemProccess** ptabSem, uint32_t nDelaiMs) noexcept {
    if (nNombre <= 0 || ptabSem == nullptr) return kIPCAucunSignal;
    for (int i = 0; i < nNombre; ++i)
        if (ptabSem[i] != nullptr && ptabSem[i]->bTake(0)) return i;
    if (nDelaiMs == 0) return kIPCAucunSignal;
    if (nNombre == 1) return ptabSem[0] != nullptr && ptabSem[0]->bTake(nDelaiMs) ? 0 : kIPCAucunSignal;
    // The kernel cannot wait on several sets at once: short turns on each, up to the deadline.
    const int64_t nFin = nMaintenantMs() + (nDelaiMs == kIPCInfini ? 0 : nDelaiMs);
    for (;;) {
        for (int i = 0; i < nNombre; ++i) {
            uint32_t nTour = 20;
            if (nDelaiMs != kIPCInfini) {
                const int64_t n = nFin - nMaintenantMs();
                if (n <= 0) return kIPCAucunSignal;
                if (n < nTour) nTour = static_cast<uint32_t>(n);
            }
            if (ptabSem[i] != nullptr && ptabSem[i]->bTake(nTour)) return i;
        }
    }
}
