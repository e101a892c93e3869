// The inter-process primitives beneath shared memory zones and named locks: System V shared
// memory and semaphores seen as mappings, mutexes and events named by an integer key, and
// COVSemProccess, a counting semaphore named by a string.
//
// Everything lives in the kernel; the only process state is the private directory of key files.
// Every wait has a limit: a time-out in milliseconds where a caller gives one, kIPCAttenteMax
// otherwise, so that nothing blocks for ever on an object a dead or foreign process holds.
// Identifiers are >= 0 when valid (0 is a valid identifier), -1 otherwise.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdio>

// A wait "for ever" (a time-out of 0xFFFFFFFF).
inline constexpr uint32_t kIPCInfini = 0xFFFFFFFFu;
// The longest a wait with no limit of its own blocks before giving up.
inline constexpr uint32_t kIPCAttenteMax = 30000;

// Permission bits of the objects this library creates: the owner only, or the owner's group too
// when the program asks for sharing across the system.
inline constexpr int kIPCModePrive = 0600;
inline constexpr int kIPCModeGroupe = 0660;

// ---------------------------------------------------------------- shared memory

// shmget(key, size, flags | IPC_CREAT); -1 on failure.
int IPC_CreateFileMapping(int nFlags, size_t nTaille, key_t nCle) noexcept;
// shmget(key, 0, flags): an existing segment only; -1 on failure.
int IPC_OpenFileMapping(int nFlags, key_t nCle) noexcept;
// shmat at an address of the system's choice; flags as shmat's (SHM_RDONLY). Null on failure.
void* IPC_MapViewOfFile(int nIdentifiant, int nFlags) noexcept;
bool IPC_UnmapViewOfFile(const void* pAdresse) noexcept;
// Marks the segment for removal once the last process has detached it.
bool IPC_DestroyFileMapping(int nIdentifiant) noexcept;
bool IPC_bCloseDestroyFileMapping(int nIdentifiant, bool bDetruit) noexcept;

// ---------------------------------------------------------------- mutexes

// A mutex is a set of one semaphore, 1 when free. The set is created and made free in one step
// that others can see completed (its last operation time is set), so an opener never takes a
// half-made mutex for a held one. With bProprietaire the caller then takes it, with undo, within
// kIPCAttenteMax. Answers the identifier, -1 on failure.
int IPC_CreateMutex(int nFlags, bool bProprietaire, key_t nCle) noexcept;
int IPC_OpenMutex(int nFlags, key_t nCle) noexcept;
// Takes the mutex: 0 on success, -1 on failure (time-out: errno EAGAIN). A time-out of 0 only
// tries; kIPCInfini waits without limit; others wait that long, across interrupted calls, without
// any process-wide timer. With bUndo the kernel gives the mutex back if this process dies holding
// it. A set removed while waiting (EIDRM) counts as taken, with *pbAbandonne set: the emulation of
// an abandoned mutex. *pnErrno receives errno after the call, success or not.
int IPC_PMutex(int nIdentifiant, uint32_t nDelaiMs, bool bUndo, int* pbAbandonne, int* pnErrno) noexcept;
// Gives the mutex back; bUndo must match the take.
bool IPC_VMutex(int nIdentifiant, bool bUndo) noexcept;
// Forces the mutex to held (0).
bool IPC_SetLockingStateMutex(int nIdentifiant) noexcept;
bool IPC_DestroyMutex(int nIdentifiant) noexcept;
bool IPC_bCloseDestroyMutex(int nIdentifiant, bool bDetruit) noexcept;

// ---------------------------------------------------------------- pseudo-events

// A set of one semaphore at 0. Open with bAttend retries for up to 3000 ms while the set does not
// exist yet.
int IPC_CreatePseudoEvent(int nFlags, key_t nCle) noexcept;
int IPC_OpenPseudoEvent(int nFlags, key_t nCle, bool bAttend) noexcept;
int IPC_hCreateOpenPseudoEvent(int nFlags, key_t nCle, bool bCree, bool bAttend) noexcept;
bool IPC_bCloseDestroyEvent(int nIdentifiant, bool bDetruit) noexcept;

// ---------------------------------------------------------------- numbered keys

// The key of a number: that of a key file named after the number in this user's private
// directory. False when the file or the key cannot be made.
bool IPC_bCalculeNom(unsigned int nNumero, int nProjet, key_t* pnCle) noexcept;
key_t nGetIPCKey(unsigned int nNumero, int nProjet) noexcept;
// The path of the key file of a name (kMaxPath + 1 characters); false when it does not fit or the
// private directory cannot be made.
bool bGetIPCTmpFileName(const wchar_t* pszNom, wchar_t* pszChemin) noexcept;
void DeleteIPCTmpFile(unsigned int nNumero) noexcept;
// The private directory of key files: created 0700 on first use, refused when it is not a
// directory of this user's that others cannot write in. Empty text on failure.
const char* pszIPCRepertoirePrive() noexcept;

// A named global mutex on a numbered key. With bCree it is created (and taken with bProprietaire);
// otherwise it is opened, retrying while *pnDelaiMs has not passed, and *pnDelaiMs is lowered by
// the time spent. -1 on failure.
int IPC_CreateOpenMutexGlobalRWAll(bool bCree, bool bProprietaire, uint32_t* pnDelaiMs, unsigned int nNumero,
                                   int nProjet) noexcept;

// pipe(); the last two arguments are accepted and ignored.
bool CreatePipe(int* pnLecture, int* pnEcriture, void* pSecurite, unsigned int nTaille) noexcept;

// One line of a stream into a growing malloc buffer, without its line end (LF, or CR LF). Answers
// the characters read, -1 at the end of the stream with nothing read or on failure.
long STRG_nGetLine(char** ppszLigne, size_t* pnTaille, FILE* pFichier) noexcept;
long STRG_nGetLine(wchar_t** ppszLigne, size_t* pnTaille, FILE* pFichier) noexcept;

// ---------------------------------------------------------------- named counting semaphore

// A counting semaphore named by a string. The kernel set holds two semaphores: 0 the counter,
// 1 the number of objects open on it (kept with undo, so a process that dies lets go of its
// share); the last Close removes the set.
class COVSemProccess {
public:
    // Accepted for the shape of the calls; sharing comes from the mode of the creation.
    enum ePARTAGE : int { ePARTAGE_GLOBAL = 1, ePARTAGE_SESSION = 2 };

    COVSemProccess() noexcept = default;
    ~COVSemProccess() { Close(); }
    COVSemProccess(const COVSemProccess&) = delete;
    COVSemProccess& operator=(const COVSemProccess&) = delete;

    // Creates the semaphore or, when one of that name exists, opens it and sets its value (a set
    // of that name left by a process that died is then made new again). nMode: kIPCModePrive or
    // kIPCModeGroupe.
    bool bCreate(const wchar_t* pszNom, ePARTAGE ePartage, unsigned int nValeurInitiale, unsigned int nMaximum,
                 int nMode = kIPCModePrive) noexcept;
    // An existing semaphore only.
    bool bOpen(const wchar_t* pszNom, unsigned int nMaximum) noexcept;
    // Adds nNombre, refused when that would pass the maximum.
    bool bPost(unsigned int nNombre) noexcept;
    // Takes one, waiting up to kIPCAttenteMax.
    bool bTake() noexcept;
    // Takes one within nDelaiMs (0 only tries; kIPCInfini waits without limit).
    bool bTake(uint32_t nDelaiMs) noexcept;
    void Close() noexcept;
    // Removes the set whatever the count of its users (repair of a set a dead process left).
    void Destroy() noexcept;

    bool bIsOpen() const noexcept { return m_nIdentifiant >= 0; }
    int nGetIdentifiant() const noexcept { return m_nIdentifiant; }
    // The counter's value, -1 when unknown.
    int nGetValeur() const noexcept;
    // The threads blocked taking it, -1 when unknown.
    int nGetAttente() const noexcept;

    // The key of a name: a 32-bit mix of its UTF-8 bytes, never IPC_PRIVATE nor -1, so that any
    // two names, and so two processes' semaphores, meet only by a chance of 2^-32.
    static key_t s_nCleDuNom(const wchar_t* pszNom) noexcept;

    // Takes every one within nDelaiMs in all, or none (those taken are given back). A count of
    // 0 is true.
    static bool s_bWaitMultipleAll(int nNombre, COVSemProccess** ptabSem, uint32_t nDelaiMs) noexcept;
    // Takes the first that becomes free within nDelaiMs and answers its index, 0x102 when none.
    static int s_nWaitMultipleAny(int nNombre, COVSemProccess** ptabSem, uint32_t nDelaiMs) noexcept;

private:
    bool _bAjouteUtilisateur() noexcept;

    int m_nIdentifiant = -1;
    unsigned int m_nMaximum = 0;
};

inline constexpr int kIPCAucunSignal = 0x102;
