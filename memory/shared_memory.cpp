// Shared memory zones: opening and creation under the zone's lock, the registration block,
// notification of the other processes and the notification thread, and the zone as a stream.
#include "memory/shared_memory.h"

#include <pthread.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

#include "base/code_pages.h"
#include "base/error.h"
#include "base/tstring.h"
#include "base/unicode.h"
#include "component/callback.h"
#include "component/execution.h"

namespace {

// Class-wide state of the process: the zones that have a procedure, and the thread that calls
// them. The mutex is recursive because a procedure run by the thread may open or close zones.
std::recursive_mutex gmxNotif;
std::vector<COVSharedMemory*>* gptabZones = nullptr;  // made on first use, freed at the end
std::atomic<bool> gbThreadRunning{false};
bool gbThreadDemarre = false;
pthread_t gnThread;
COVSemProccess* gpclReveil = nullptr;  // this process's wake-up semaphore, while the thread runs

constexpr uint32_t kMachineNotificationMemoire = 12;  // the machine's feature and thread kind
constexpr uint32_t kTrancheAttenteMs = 100;

int64_t nMaintenantMs() noexcept {
    struct timespec st;
    clock_gettime(CLOCK_MONOTONIC, &st);
    return static_cast<int64_t>(st.tv_sec) * 1000 + st.tv_nsec / 1000000;
}

bool bProcessusVivant(pid_t nProcessus) noexcept {
    return nProcessus > 0 && (kill(nProcessus, 0) == 0 || errno != ESRCH);
}

void NomReveil(pid_t nProcessus, wchar_t* pszNom, size_t nTaille) noexcept {
    std::swprintf(pszNom, nTaille, L"OVZ_R%d", static_cast<int>(nProcessus));
}

std::vector<COVSharedMemory*>& tabZones() {
    if (gptabZones == nullptr) gptabZones = new std::vector<COVSharedMemory*>();
    return *gptabZones;
}

bool bDansTable(COVSharedMemory* pclZone) {
    const auto& tab = tabZones();
    return std::find(tab.begin(), tab.end(), pclZone) != tab.end();
}

enum class EPrise { Pris, Mort, Delai };

}  // namespace

// ================================================================ names and keys

void COVSharedMemory::s_NomSemaphore(key_t nCleZone, wchar_t cType, pid_t nProcessus, wchar_t* pszNom,
                                     size_t nTaille) noexcept {
    std::swprintf(pszNom, nTaille, L"OVZ%08X_%lc%d", static_cast<unsigned int>(nCleZone), static_cast<wint_t>(cType),
                  static_cast<int>(nProcessus));
}

key_t COVSharedMemory::s_nCleDuNom(const wchar_t* pszNom) noexcept {
    if (pszNom == nullptr || pszNom[0] == 0 || pszNom[1] == 0) {
        errno = ENOENT;
        return -1;
    }
    // The project is the first character in code page 1252 when it has one there, its low byte
    // otherwise; the path is given to the system as every file name is, in UTF-8.
    const int nCp1252 = STR_ToCP1252(pszNom[0]);
    const int nProjet = (nCp1252 >= 0 ? nCp1252 : static_cast<int>(pszNom[0])) & 0xFF;
    if (nProjet == 0) {
        errno = EINVAL;
        return -1;
    }
    char* pszChemin = WideToUTF8(pszNom + 1);
    if (pszChemin == nullptr) {
        errno = EILSEQ;
        return -1;
    }
    const key_t nCle = ftok(pszChemin, nProjet);
    const int nErreur = errno;
    std::free(pszChemin);
    errno = nErreur;
    return nCle;
}

key_t COVSharedMemory::s_nCleAdmin(key_t nCleZone) noexcept {
    // A key of its own rather than one from a second file beside the zone's: the block must be
    // found by every process that finds the zone.
    wchar_t szNom[32];
    std::swprintf(szNom, 32, L"OVZ%08X_ADM", static_cast<unsigned int>(nCleZone));
    return COVSemProccess::s_nCleDuNom(szNom);
}

void COVSharedMemory::s_NomReveil(pid_t nProcessus, wchar_t* pszNom, size_t nTaille) noexcept {
    NomReveil(nProcessus, pszNom, nTaille);
}

namespace {
key_t nCleAdmin(key_t nCleZone) noexcept { return COVSharedMemory::s_nCleAdmin(nCleZone); }
}  // namespace

// ================================================================ life

COVSharedMemory::COVSharedMemory() noexcept = default;

COVSharedMemory::~COVSharedMemory() {
    RemoveFromOVSharedMemory(this);
    CloseMemory();
}

int COVSharedMemory::_nModeIPC(int nAcces) const noexcept {
    const int nMode = m_nPartage == 1 ? kIPCModeGroupe : kIPCModePrive;
    return nAcces != OVSMA_LECTURE ? nMode : (nMode & 0444);
}

bool COVSharedMemory::bOpenMemory(const wchar_t* pszNom, int nAcces) noexcept {
    if (pszNom == nullptr || std::wcslen(pszNom) > static_cast<size_t>(kZoneMaxNom)) {
        errno = ENAMETOOLONG;
        return false;
    }
    if (m_szNom != pszNom) std::wcscpy(m_szNom, pszNom);
    m_nAcces = nAcces;
    m_nCle = s_nCleDuNom(m_szNom);
    if (m_nCle == -1) return false;
    m_nSegment = IPC_OpenFileMapping(_nModeIPC(nAcces), m_nCle);
    return m_nSegment >= 0;
}

bool COVSharedMemory::bOpenCreateMemory(const wchar_t* pszNom, int nAcces, int64_t nTaille, int nPartage) noexcept {
    if (pszNom == nullptr || std::wcslen(pszNom) > static_cast<size_t>(kZoneMaxNom)) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::wcscpy(m_szNom, pszNom);
    m_nAcces = nAcces;
    m_nPartage = nPartage;
    m_oTaille = nTaille;
    m_nCle = s_nCleDuNom(m_szNom);
    if (m_nCle == -1) return false;
    const int nModeVerrou = m_nPartage == 1 ? kIPCModeGroupe : kIPCModePrive;
    // The lock may be removed under us by the last process leaving the zone: then it is made
    // again and taken anew.
    bool bTenu = false;
    for (int nEssai = 0; nEssai < 3 && !bTenu; ++nEssai) {
        m_nMutex = IPC_CreateMutex(nModeVerrou, false, m_nCle);
        if (m_nMutex < 0) return false;
        bTenu = bAccesExclusif();
        if (!bTenu && errno != EIDRM && errno != EINVAL) return false;
    }
    if (!bTenu) return false;
    if (!bOpenMemory(m_szNom, nAcces)) {
        int nErreur = errno;
        if (nErreur == ENOENT) {
            if (nTaille <= 0) {
                nErreur = EINVAL;
            } else {
                m_nSegment = shmget(m_nCle, static_cast<size_t>(nTaille), IPC_CREAT | IPC_EXCL | _nModeIPC(nAcces));
                nErreur = errno;
                m_nSegmentCree = m_nSegment;
            }
        }
        if (m_nSegment < 0) {
            TermineAccesExclusif();
            errno = nErreur;
            return false;
        }
    }
    return true;
}

bool COVSharedMemory::bAttach(int nAcces) noexcept {
    if (m_nSegment >= 0 && m_pbyData == nullptr) {
        m_pbyData = static_cast<uint8_t*>(IPC_MapViewOfFile(m_nSegment, nAcces == OVSMA_LECTURE ? SHM_RDONLY : 0));
        struct shmid_ds st = {};
        if (m_pbyData != nullptr && shmctl(m_nSegment, IPC_STAT, &st) == 0) m_oTaille = static_cast<int64_t>(st.shm_segsz);
    }
    const int nErreur = errno;
    if (m_pbyData != nullptr && m_pstAdmin == nullptr) {
        // The registration block: made and formatted by whoever finds it missing, under the lock.
        const key_t nCle = nCleAdmin(m_nCle);
        const int nMode = m_nPartage == 1 ? kIPCModeGroupe : kIPCModePrive;
        bool bAFormater = false;
        m_nSegmentAdmin = shmget(nCle, sizeof(STAdminZone), IPC_CREAT | IPC_EXCL | nMode);
        if (m_nSegmentAdmin >= 0) {
            bAFormater = true;
        } else if (errno == EEXIST) {
            m_nSegmentAdmin = IPC_OpenFileMapping(nMode, nCle);
        }
        struct shmid_ds st = {};
        // A segment of another program on the same key, too small for the block, is left alone.
        if (m_nSegmentAdmin >= 0 && shmctl(m_nSegmentAdmin, IPC_STAT, &st) == 0 && st.shm_segsz >= sizeof(STAdminZone))
            m_pstAdmin = static_cast<STAdminZone*>(IPC_MapViewOfFile(m_nSegmentAdmin, 0));
        if (m_pstAdmin != nullptr) {
            if (bAFormater) {
                std::memset(m_pstAdmin, 0, sizeof(STAdminZone));
                m_pstAdmin->byVersion = 1;
            } else if (m_pstAdmin->byVersion > 1) {
                IPC_UnmapViewOfFile(m_pstAdmin);
                m_pstAdmin = nullptr;
            }
        }
        if (m_pstAdmin == nullptr) m_nSegmentAdmin = -1;
    }
    TermineAccesExclusif();
    errno = nErreur;
    return m_pbyData != nullptr;
}

bool COVSharedMemory::bAccesExclusif() noexcept {
    if (m_nMutex < 0) {
        errno = EINVAL;
        return false;
    }
    int bAbandonne = 0;
    if (IPC_PMutex(m_nMutex, kZoneAttenteVerrouMs, true, &bAbandonne, nullptr) != 0) return false;
    // A lock removed while we waited protects nothing: no one holds it.
    if (bAbandonne) {
        errno = EIDRM;
        return false;
    }
    m_bVerrouTenu = true;
    return true;
}

void COVSharedMemory::TermineAccesExclusif() noexcept {
    // Never given back twice: a second +1 would let two processes in.
    if (!m_bVerrouTenu) return;
    m_bVerrouTenu = false;
    const int nErreur = errno;
    IPC_VMutex(m_nMutex, true);
    errno = nErreur;
}

// ================================================================ registration

std::vector<pid_t> COVSharedMemory::_tabAutresProcessus() noexcept {
    std::vector<pid_t> tab;
    if (m_pstAdmin == nullptr) return tab;
    const pid_t nMoi = getpid();
    int nNombre = std::min<int>(m_pstAdmin->byNbProcessus, kZoneMaxProcessus);
    for (int i = 0; i < nNombre;) {
        const pid_t nProcessus = m_pstAdmin->anProcessus[i];
        if (nProcessus == nMoi) {
            ++i;
            continue;
        }
        if (bProcessusVivant(nProcessus)) {
            try {
                tab.push_back(nProcessus);
            } catch (...) {
            }
            ++i;
            continue;
        }
        // A process that died without leaving: its place and its semaphores go.
        wchar_t szNom[64];
        COVSemProccess cl;
        for (wchar_t cType : {L'N', L'F'}) {
            s_NomSemaphore(m_nCle, cType, nProcessus, szNom, 64);
            if (cl.bOpen(szNom, 1)) cl.Destroy();
        }
        NomReveil(nProcessus, szNom, 64);
        if (cl.bOpen(szNom, 1)) cl.Destroy();
        std::memmove(&m_pstAdmin->anProcessus[i], &m_pstAdmin->anProcessus[i + 1],
                     sizeof(int32_t) * static_cast<size_t>(nNombre - 1 - i));
        m_pstAdmin->anProcessus[--nNombre] = 0;
        m_pstAdmin->byNbProcessus = static_cast<uint8_t>(nNombre);
    }
    return tab;
}

bool COVSharedMemory::_bInscription() noexcept {
    if (m_pstAdmin == nullptr) return true;
    _tabAutresProcessus();
    const pid_t nMoi = getpid();
    const int nNombre = std::min<int>(m_pstAdmin->byNbProcessus, kZoneMaxProcessus);
    for (int i = 0; i < nNombre; ++i)
        if (m_pstAdmin->anProcessus[i] == nMoi) return true;
    if (nNombre >= kZoneMaxProcessus) return false;
    m_pstAdmin->anProcessus[nNombre] = nMoi;
    m_pstAdmin->byNbProcessus = static_cast<uint8_t>(nNombre + 1);
    return true;
}

void COVSharedMemory::_Desinscription() noexcept {
    if (m_pstAdmin == nullptr) return;
    const pid_t nMoi = getpid();
    const int nNombre = std::min<int>(m_pstAdmin->byNbProcessus, kZoneMaxProcessus);
    for (int i = 0; i < nNombre; ++i) {
        if (m_pstAdmin->anProcessus[i] != nMoi) continue;
        // Whole identifiers move down, every later one.
        std::memmove(&m_pstAdmin->anProcessus[i], &m_pstAdmin->anProcessus[i + 1],
                     sizeof(int32_t) * static_cast<size_t>(nNombre - 1 - i));
        m_pstAdmin->anProcessus[nNombre - 1] = 0;
        m_pstAdmin->byNbProcessus = static_cast<uint8_t>(nNombre - 1);
        return;
    }
}

// ================================================================ leaving

bool COVSharedMemory::bDetach() noexcept {
    if (m_pbyData == nullptr) return true;
    const bool bTenu = bAccesExclusif();
    // Even without the lock the mapping goes: a zone must never stay mapped behind a closed
    // handle. Registration is then left to the others' clean-up of the dead.
    if (bTenu) {
        _Desinscription();
        _tabAutresProcessus();
    }
    IPC_UnmapViewOfFile(m_pbyData);
    m_pbyData = nullptr;
    if (m_pstAdmin != nullptr) IPC_UnmapViewOfFile(m_pstAdmin);
    m_pstAdmin = nullptr;
    if (m_nSegmentCree >= 0) IPC_DestroyFileMapping(m_nSegmentCree);
    m_nSegmentCree = -1;
    if (!bTenu) return false;
    // The last process out of a zone that no longer exists removes its lock and its block, so
    // that nothing of it stays in the system. The zone is gone when its key finds no segment and
    // no process is attached to the one we had.
    struct shmid_ds st = {};
    const bool bZoneIntrouvable = shmget(m_nCle, 0, 0) < 0 && errno == ENOENT;
    const bool bPersonne = shmctl(m_nSegment, IPC_STAT, &st) != 0 || st.shm_nattch == 0;
    bool bAdminLibre = true;
    if (m_nSegmentAdmin >= 0 && shmctl(m_nSegmentAdmin, IPC_STAT, &st) == 0) bAdminLibre = st.shm_nattch == 0;
    if (bZoneIntrouvable && bPersonne && bAdminLibre) {
        if (m_nSegmentAdmin >= 0) {
            IPC_DestroyFileMapping(m_nSegmentAdmin);
        } else {
            const int nAdmin = IPC_OpenFileMapping(0, nCleAdmin(m_nCle));
            if (nAdmin >= 0 && shmctl(nAdmin, IPC_STAT, &st) == 0 && st.shm_nattch == 0) IPC_DestroyFileMapping(nAdmin);
        }
        m_nSegmentAdmin = -1;
        m_bVerrouTenu = false;
        IPC_DestroyMutex(m_nMutex);
        m_nMutex = -1;
        return true;
    }
    TermineAccesExclusif();
    return true;
}

void COVSharedMemory::CloseMemory() noexcept {
    bDetach();
    if (m_nSegmentCree >= 0) IPC_DestroyFileMapping(m_nSegmentCree);
    m_nSegmentCree = -1;
    TermineAccesExclusif();
    m_nSegment = -1;
    m_nSegmentAdmin = -1;
    m_nMutex = -1;
    m_clSemNotif.Close();
    m_clSemFin.Close();
    if (m_pclCallback != nullptr) {
        std::lock_guard<std::recursive_mutex> cl(gmxNotif);
        delete m_pclCallback;
        m_pclCallback = nullptr;
    }
}

// ================================================================ notification

namespace {

// Takes another process's "F" before nFin (-1: no limit), in slices so that a process that dies
// meanwhile is noticed. A writer that died between taking "F" and posting "N" would leave "F"
// taken for ever: when the other process sits idle with no notice waiting, "F" is given back.
EPrise ePrendFin(COVSemProccess& clFin, pid_t nProcessus, key_t nCle, int64_t nFin) noexcept {
    for (int nTour = 1;; ++nTour) {
        uint32_t nTranche = kTrancheAttenteMs;
        if (nFin >= 0) {
            const int64_t nReste = nFin - nMaintenantMs();
            if (nReste <= 0) return EPrise::Delai;
            if (nReste < nTranche) nTranche = static_cast<uint32_t>(nReste);
        }
        if (clFin.bTake(nTranche)) return EPrise::Pris;
        if (errno != EAGAIN || !bProcessusVivant(nProcessus)) return EPrise::Mort;
        if (nTour % 10 != 0 || clFin.nGetValeur() != 0) continue;
        wchar_t szNom[64];
        COVSemProccess clNotif, clReveil;
        COVSharedMemory::s_NomSemaphore(nCle, L'N', nProcessus, szNom, 64);
        const bool bNotif = clNotif.bOpen(szNom, 1);
        NomReveil(nProcessus, szNom, 64);
        if (bNotif && clReveil.bOpen(szNom, 1) && clNotif.nGetValeur() == 0 && clReveil.nGetValeur() == 0 &&
            clReveil.nGetAttente() > 0)
            clFin.bPost(1);
    }
}

void* pThreadNotification(void*) {
    COVSharedMemory::s_BoucleNotification();
    return nullptr;
}

// Starts the thread with every signal blocked on it, so that the program's signals (a child's
// end among them) go to the program's own threads. Under gmxNotif.
bool bDemarreThread() noexcept {
    if (gbThreadDemarre) return true;
    if (gpclReveil == nullptr) gpclReveil = new (std::nothrow) COVSemProccess();
    if (gpclReveil == nullptr) return false;
    wchar_t szNom[64];
    NomReveil(getpid(), szNom, 64);
    if (!gpclReveil->bCreate(szNom, COVSemProccess::ePARTAGE_SESSION, 0, 1)) return false;
    sigset_t stTous, stAncien;
    sigfillset(&stTous);
    pthread_sigmask(SIG_SETMASK, &stTous, &stAncien);
    gbThreadRunning = true;
    const int n = pthread_create(&gnThread, nullptr, pThreadNotification, nullptr);
    pthread_sigmask(SIG_SETMASK, &stAncien, nullptr);
    if (n != 0) {
        gbThreadRunning = false;
        gpclReveil->Close();
        return false;
    }
    gbThreadDemarre = true;
    return true;
}

}  // namespace

void COVSharedMemory::s_BoucleNotification() noexcept {
    CBaseExecutionDLL::s_DebutThread();
    while (gbThreadRunning.load()) {
        // Blocks until a writer or the end wakes it: an idle process costs nothing.
        if (!gpclReveil->bTake(kIPCInfini)) {
            // The semaphore was removed from outside: make it again, without spinning.
            struct timespec st = {0, 200 * 1000000L};
            nanosleep(&st, nullptr);
            std::lock_guard<std::recursive_mutex> cl(gmxNotif);
            wchar_t szNom[64];
            NomReveil(getpid(), szNom, 64);
            if (gbThreadRunning.load()) {
                gpclReveil->Close();
                gpclReveil->bCreate(szNom, COVSemProccess::ePARTAGE_SESSION, 0, 1);
            }
            continue;
        }
        std::lock_guard<std::recursive_mutex> cl(gmxNotif);
        if (!gbThreadRunning.load()) break;
        std::vector<COVSharedMemory*> tab;
        try {
            tab = tabZones();
        } catch (...) {
            continue;
        }
        for (size_t k = 0; k < tab.size(); ++k) {
            COVSharedMemory* pclZone = tab[k];
            // A procedure may have closed a zone of this list: only zones still in the table.
            if (!bDansTable(pclZone) || !pclZone->m_clSemNotif.bTake(0)) continue;
            if (pclZone->m_pclCallback != nullptr) {
                CXError clErreur;
                pclZone->m_pclCallback->bEmpileChaineX(pclZone->m_szNom, &clErreur);
                pclZone->m_pclCallback->bEmpileEntier(static_cast<int>(k + 1), &clErreur);
                pclZone->m_pclCallback->bExecute(nullptr, &clErreur);
            }
            if (bDansTable(pclZone)) pclZone->m_clSemFin.bPost(1);
        }
    }
    CBaseExecutionDLL::s_FinThread();
}

bool COVSharedMemory::s_bInitOVSharedMemory() noexcept {
    std::lock_guard<std::recursive_mutex> cl(gmxNotif);
    gbThreadRunning = false;
    return true;
}

void COVSharedMemory::s_TermOVSharedMemory() noexcept {
    bool bJoindre = false;
    {
        std::lock_guard<std::recursive_mutex> cl(gmxNotif);
        if (gbThreadDemarre) {
            gbThreadRunning = false;
            if (gpclReveil != nullptr) gpclReveil->bPost(1);
            bJoindre = !pthread_equal(gnThread, pthread_self());
            gbThreadDemarre = false;
        }
    }
    // Outside the lock: the thread takes it once more to see that it must end.
    if (bJoindre) pthread_join(gnThread, nullptr);
    std::lock_guard<std::recursive_mutex> cl(gmxNotif);
    // The thread is gone: what it used goes with the library, which may be unloaded next.
    if (bJoindre || !gbThreadRunning.load()) {
        delete gpclReveil;
        gpclReveil = nullptr;
        if (gptabZones != nullptr && gptabZones->empty()) {
            delete gptabZones;
            gptabZones = nullptr;
        }
    }
}

int COVSharedMemory::s_nNbZonesNotifiees() noexcept {
    std::lock_guard<std::recursive_mutex> cl(gmxNotif);
    return gptabZones != nullptr ? static_cast<int>(gptabZones->size()) : 0;
}

void COVSharedMemory::RemoveFromOVSharedMemory(COVSharedMemory* pclZone) noexcept {
    std::lock_guard<std::recursive_mutex> cl(gmxNotif);
    if (gptabZones == nullptr) return;
    auto it = std::find(gptabZones->begin(), gptabZones->end(), pclZone);
    if (it != gptabZones->end()) gptabZones->erase(it);
}

bool COVSharedMemory::bSetCallbackNotif(const wchar_t* pszProcedure, IVM* piVM, CXError* pclErreur) noexcept {
    if (pszProcedure == nullptr || pszProcedure[0] == 0 || piVM == nullptr || m_pbyData == nullptr) return false;
    {
        std::lock_guard<std::recursive_mutex> cl(gmxNotif);
        CXError clErreur;
        if (!piVM->bVerifieFonctionnalite(kMachineNotificationMemoire, pclErreur != nullptr ? pclErreur : &clErreur))
            return false;
        auto* pclCallback = new (std::nothrow) CCallbackThread();
        if (pclCallback == nullptr) return false;
        if (!pclCallback->bInitThread(pszProcedure, piVM, pclErreur,
                                      static_cast<CCallbackThread::eCTE>(kMachineNotificationMemoire))) {
            delete pclCallback;
            return false;
        }
        delete m_pclCallback;
        m_pclCallback = pclCallback;
        const int nMode = m_nPartage == 1 ? kIPCModeGroupe : kIPCModePrive;
        wchar_t szNom[64];
        s_NomSemaphore(m_nCle, L'N', getpid(), szNom, 64);
        if (!m_clSemNotif.bCreate(szNom, COVSemProccess::ePARTAGE_SESSION, 0, 1, nMode)) return false;
        s_NomSemaphore(m_nCle, L'F', getpid(), szNom, 64);
        if (!m_clSemFin.bCreate(szNom, COVSemProccess::ePARTAGE_SESSION, 1, 1, nMode)) return false;
        try {
            bool bMemeNom = false;
            for (COVSharedMemory* pcl : tabZones()) bMemeNom = bMemeNom || std::wcscmp(pcl->m_szNom, m_szNom) == 0;
            if (!bMemeNom) tabZones().push_back(this);
        } catch (...) {
            return false;
        }
        if (!bDemarreThread()) return false;
    }
    // The registration is the zone's, shared with the other processes: under its lock, taken
    // outside the class-wide mutex so that a procedure that reads the zone cannot cross us.
    if (!bAccesExclusif()) return false;
    const bool bInscrit = _bInscription();
    TermineAccesExclusif();
    return bInscrit;
}

void COVSharedMemory::EnvoiNotif() noexcept {
    std::vector<pid_t> tab;
    tab.swap(m_tabANotifier);
    const int64_t nFin = nMaintenantMs() + kZoneAttenteFinMs;
    for (pid_t nProcessus : tab) {
        wchar_t szNom[64];
        COVSemProccess clFin, clNotif, clReveil;
        s_NomSemaphore(m_nCle, L'F', nProcessus, szNom, 64);
        // A process with no semaphores has no procedure on this zone, or is leaving it.
        if (!clFin.bOpen(szNom, 1)) continue;
        // Waits until the previous notice has been handled; past the delay the notices merge.
        if (ePrendFin(clFin, nProcessus, m_nCle, nFin) == EPrise::Mort) continue;
        s_NomSemaphore(m_nCle, L'N', nProcessus, szNom, 64);
        if (clNotif.bOpen(szNom, 1)) clNotif.bPost(1);
        NomReveil(nProcessus, szNom, 64);
        if (clReveil.bOpen(szNom, 1)) clReveil.bPost(1);
    }
}

bool COVSharedMemory::bAttendNotif(uint32_t nDelaiMs) noexcept {
    if (m_pstAdmin == nullptr) return true;
    if (!bAccesExclusif()) return false;
    const std::vector<pid_t> tabAutres = _tabAutresProcessus();
    TermineAccesExclusif();
    const int64_t nFin = nDelaiMs == kIPCInfini ? -1 : nMaintenantMs() + nDelaiMs;
    std::vector<COVSemProccess*> tabPris;
    bool bTous = true;
    try {
        for (pid_t nProcessus : tabAutres) {
            wchar_t szNom[64];
            s_NomSemaphore(m_nCle, L'F', nProcessus, szNom, 64);
            auto* pclFin = new COVSemProccess();
            if (!pclFin->bOpen(szNom, 1)) {
                delete pclFin;
                continue;
            }
            const EPrise e = ePrendFin(*pclFin, nProcessus, m_nCle, nFin);
            if (e == EPrise::Pris) {
                tabPris.push_back(pclFin);
                continue;
            }
            delete pclFin;
            if (e == EPrise::Delai) {
                bTous = false;
                break;
            }
        }
    } catch (...) {
        bTous = false;
    }
    // The test leaves every one as it found it: handled.
    for (COVSemProccess* pcl : tabPris) {
        pcl->bPost(1);
        delete pcl;
    }
    return bTous;
}

// ================================================================ the zone as a stream

CFileSharedMemory::~CFileSharedMemory() { Close(); }

void CFileSharedMemory::Close() noexcept {
    RemoveFromOVSharedMemory(this);
    CloseMemory();
    m_oPosition = 0;
}

eACCESS CFileSharedMemory::veGetAccess() noexcept {
    return m_nAcces != OVSMA_LECTURE ? eACCESS_LECTUREECRITURE : eACCESS_LECTURE;
}

int CFileSharedMemory::bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept {
    if (pnLu != nullptr) *pnLu = 0;
    if (m_pbyData == nullptr || (pData == nullptr && nTaille > 0) || !bAccesExclusif()) return 0;
    const int64_t nReste = m_oTaille > m_oPosition ? m_oTaille - m_oPosition : 0;
    const auto n = static_cast<unsigned int>(std::min<int64_t>(nTaille, nReste));
    if (n > 0) std::memcpy(pData, m_pbyData + m_oPosition, n);
    m_oPosition += n;
    TermineAccesExclusif();
    if (pnLu != nullptr) *pnLu = n;
    // Without a count to give, the caller asked for exactly nTaille bytes.
    return pnLu != nullptr || n == nTaille ? 1 : 0;
}

int CFileSharedMemory::bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept {
    if (pnEcrit != nullptr) *pnEcrit = 0;
    // A zone mapped read only would fault on the first byte: the write is refused instead.
    if (m_pbyData == nullptr || m_nAcces == OVSMA_LECTURE || (pData == nullptr && nTaille > 0) || !bAccesExclusif())
        return 0;
    const int64_t nReste = m_oTaille > m_oPosition ? m_oTaille - m_oPosition : 0;
    const auto n = static_cast<unsigned int>(std::min<int64_t>(nTaille, nReste));
    if (n > 0) std::memcpy(m_pbyData + m_oPosition, pData, n);
    m_oPosition += n;
    m_tabANotifier = _tabAutresProcessus();
    TermineAccesExclusif();
    // The others are told once the lock is free, so that a procedure of theirs that reads the
    // zone never waits for a writer that waits for them.
    EnvoiNotif();
    if (pnEcrit != nullptr) *pnEcrit = n;
    return 1;
}

int CFileSharedMemory::bSeek(long oOffset, eSEEK eOrigine) noexcept {
    if (m_pbyData == nullptr) return 0;
    int64_t oCible;
    switch (eOrigine) {
        case eSEEK_DEBUT: oCible = oOffset; break;
        case eSEEK_COURANT: oCible = m_oPosition + oOffset; break;
        case eSEEK_FIN:
            // Only from the end may the position reach the very end.
            oCible = m_oTaille + oOffset;
            if (oCible < 0 || oCible > m_oTaille) return 0;
            m_oPosition = oCible;
            return 1;
        default: return 1;
    }
    if (oCible < 0 || oCible >= m_oTaille) return 0;
    m_oPosition = oCible;
    return 1;
}

const wchar_t* CFileSharedMemory::pszReadLine(wchar_t* pszTampon, unsigned long nTaille, CTString* pclDebordement,
                                              const wchar_t* pszSeparateur) noexcept {
    if (pszTampon == nullptr || nTaille == 0 || m_pbyData == nullptr) return nullptr;
    if (pclDebordement != nullptr) pclDebordement->Set(L"");
    if (m_oPosition >= m_oTaille) return nullptr;
    if (!bAccesExclusif()) return nullptr;
    const size_t nSeparateur = pszSeparateur != nullptr ? std::wcslen(pszSeparateur) : 0;
    unsigned long nDansTampon = 0;
    std::wstring sSuite;
    std::wstring sLigne;
    int64_t o = m_oPosition;
    bool bFin = false;
    try {
        while (!bFin && o + 1 < m_oTaille) {
            uint32_t c = static_cast<uint32_t>(m_pbyData[o]) | static_cast<uint32_t>(m_pbyData[o + 1]) << 8;
            o += 2;
            // A pair of surrogates makes one character; a lone one stands for itself.
            if (c >= 0xD800 && c < 0xDC00 && o + 1 < m_oTaille) {
                const uint32_t d = static_cast<uint32_t>(m_pbyData[o]) | static_cast<uint32_t>(m_pbyData[o + 1]) << 8;
                if (d >= 0xDC00 && d < 0xE000) {
                    c = 0x10000 + ((c - 0xD800) << 10) + (d - 0xDC00);
                    o += 2;
                }
            }
            if (nSeparateur == 0 && (c == L'\r' || c == L'\n')) {
                // CR LF is one end of line.
                if (c == L'\r' && o + 1 < m_oTaille && m_pbyData[o] == '\n' && m_pbyData[o + 1] == 0) o += 2;
                bFin = true;
                break;
            }
            sLigne.push_back(static_cast<wchar_t>(c));
            if (nSeparateur > 0 && sLigne.size() >= nSeparateur &&
                sLigne.compare(sLigne.size() - nSeparateur, nSeparateur, pszSeparateur) == 0) {
                sLigne.resize(sLigne.size() - nSeparateur);
                bFin = true;
            }
        }
    } catch (...) {
        TermineAccesExclusif();
        return nullptr;
    }
    m_oPosition = o >= m_oTaille ? m_oTaille : o;
    TermineAccesExclusif();
    for (wchar_t c : sLigne) {
        if (nDansTampon + 1 < nTaille) {
            pszTampon[nDansTampon++] = c;
        } else {
            try {
                sSuite.push_back(c);
            } catch (...) {
            }
        }
    }
    pszTampon[nDansTampon] = 0;
    if (pclDebordement != nullptr && !sSuite.empty()) pclDebordement->Set(sSuite.c_str());
    return pszTampon;
}
