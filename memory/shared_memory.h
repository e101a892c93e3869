// Shared memory zones: a named System V segment that processes open and read and write like a
// file, under one lock per zone, with notification of the other processes after each write.
//
// COVSharedMemory holds the mapping, the lock and the notification; CFileSharedMemory adds the
// stream behaviour. Beside the zone's segment lives its registration block (the zone's name with
// "_ADM" behind it, 84 bytes): a version byte, the number of registered processes and their
// identifiers. A process that gives a procedure registers; a writer then tells every other
// registered process through two semaphores of that process and zone, "N" (a write is waiting to
// be told) and "F" (the last notice has been handled), and a wake-up semaphore of the process.
// Each process's notification thread blocks on its wake-up semaphore, and runs the procedure of
// every zone whose "N" it can take.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "files/stream.h"
#include "memory/win_ipc.h"

class CCallbackThread;
class CXError;
class IVM;

enum OVSharedMemoryAccess : int {
    OVSMA_LECTURE = 0,
    OVSMA_LECTUREECRITURE = 1,
};

// The registration block, native byte order.
struct STAdminZone {
    uint8_t byVersion;
    uint8_t byNbProcessus;
    uint16_t wZero;
    int32_t anProcessus[20];
};
static_assert(sizeof(STAdminZone) == 84, "the registration block is read by every process of a zone");

inline constexpr int kZoneMaxProcessus = 20;
inline constexpr int kZoneMaxNom = 261;
// How long a writer waits for another process to finish handling the previous notice before
// telling it again anyway (the notices then merge into one call).
inline constexpr uint32_t kZoneAttenteFinMs = 2000;
// How long an operation waits for the zone's lock before it fails.
inline constexpr uint32_t kZoneAttenteVerrouMs = 10000;

class COVSharedMemory {
public:
    COVSharedMemory() noexcept;
    virtual ~COVSharedMemory();
    COVSharedMemory(const COVSharedMemory&) = delete;
    COVSharedMemory& operator=(const COVSharedMemory&) = delete;

    // An existing zone only. False with errno set.
    bool bOpenMemory(const wchar_t* pszNom, int nAcces) noexcept;
    // Opens the zone, or creates it nTaille bytes long. On success the zone's lock is held, for
    // bAttach to release. nPartage 1 lets the owner's group in, otherwise the owner only.
    bool bOpenCreateMemory(const wchar_t* pszNom, int nAcces, int64_t nTaille, int nPartage) noexcept;
    // Maps the zone and its registration block, then releases the lock in every case. True when
    // the zone is mapped; a registration block that cannot be had is no failure.
    bool bAttach(int nAcces) noexcept;
    // Leaves the registration, unmaps, and when this process created the zone marks it for
    // removal; the last process out also removes the lock and the registration block.
    bool bDetach() noexcept;
    void CloseMemory() noexcept;
    bool bIsAttached() const noexcept { return m_pbyData != nullptr; }
    void* pGetData() const noexcept { return m_pbyData; }
    int64_t nGetTaille() const noexcept { return m_oTaille; }
    const wchar_t* pszGetNomZone() const noexcept { return m_szNom; }
    bool bAdministre() const noexcept { return m_pstAdmin != nullptr; }

    bool bAccesExclusif() noexcept;
    void TermineAccesExclusif() noexcept;

    // Resolves the procedure on the machine's thread machine, makes this process's semaphores,
    // enters the zone in the table of this process and registers the process. False when the
    // machine refuses, the procedure is unknown, or the 20 places are taken.
    bool bSetCallbackNotif(const wchar_t* pszProcedure, IVM* piVM, CXError* pclErreur) noexcept;
    // Tells every other registered process (after a write, the lock released).
    void EnvoiNotif() noexcept;
    // Waits up to nDelaiMs (kIPCInfini: for as long as a living process has a notice in hand)
    // until every other registered process has handled its notice. True at once with no block or
    // no other process. Processes that died are skipped.
    bool bAttendNotif(uint32_t nDelaiMs) noexcept;

    // The zone leaves the table of zones with a procedure; the notification thread stops when the
    // table is empty. Waits for a procedure of this zone that is running.
    static void RemoveFromOVSharedMemory(COVSharedMemory* pclZone) noexcept;
    static bool s_bInitOVSharedMemory() noexcept;
    static void s_TermOVSharedMemory() noexcept;
    // Zones with a procedure in this process (for tests).
    static int s_nNbZonesNotifiees() noexcept;

    // The name of a semaphore of a process for a zone: the zone's key and the process identifier,
    // so that two spellings of one zone meet, and no two processes share one.
    static void s_NomSemaphore(key_t nCleZone, wchar_t cType, pid_t nProcessus, wchar_t* pszNom, size_t nTaille) noexcept;
    // The key of a zone's name: ftok of the name without its first character, taken as a path,
    // with the first character as the project. -1 with errno set on failure.
    static key_t s_nCleDuNom(const wchar_t* pszNom) noexcept;
    // The key of a zone's registration block, from the zone's key.
    static key_t s_nCleAdmin(key_t nCleZone) noexcept;
    // The name of a process's wake-up semaphore.
    static void s_NomReveil(pid_t nProcessus, wchar_t* pszNom, size_t nTaille) noexcept;

protected:
    // The other registered processes that are alive; dead ones are struck out of the block and
    // their semaphores removed. Under the lock.
    std::vector<pid_t> _tabAutresProcessus() noexcept;
    bool _bInscription() noexcept;
    void _Desinscription() noexcept;
    int _nModeIPC(int nAcces) const noexcept;

    int m_nSegment = -1;
    uint8_t* m_pbyData = nullptr;
    int64_t m_oTaille = 0;
    int m_nAcces = OVSMA_LECTURE;
    wchar_t m_szNom[kZoneMaxNom + 1] = {};
    int m_nPartage = 2;
    int m_nSegmentCree = -1;
    int m_nSegmentAdmin = -1;
    STAdminZone* m_pstAdmin = nullptr;
    int m_nMutex = -1;
    key_t m_nCle = -1;
    std::atomic<bool> m_bVerrouTenu{false};
    CCallbackThread* m_pclCallback = nullptr;
    COVSemProccess m_clSemNotif;
    COVSemProccess m_clSemFin;

    std::vector<pid_t> m_tabANotifier;  // filled by a write under the lock, for EnvoiNotif

public:
    // The body of the notification thread.
    static void s_BoucleNotification() noexcept;
};

class CFileSharedMemory : public COVSharedMemory, public IXStream {
public:
    CFileSharedMemory() noexcept = default;
    ~CFileSharedMemory() override;

    using IXStream::bRead;
    using IXStream::bWrite;
    int bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept override;
    int bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept override;
    int bSeek(long oOffset, eSEEK eOrigine) noexcept override;
    // Leaves the table of notified zones, then the zone.
    void Close() noexcept override;
    eACCESS veGetAccess() noexcept override;
    long oGetOffset() noexcept override { return static_cast<long>(m_oPosition); }
    long oGetSize() noexcept override { return static_cast<long>(m_oTaille); }
    long oGetSizeFast() noexcept override { return static_cast<long>(m_oTaille); }
    int bIsOpen() noexcept override { return bIsAttached() ? 1 : 0; }
    const wchar_t* pszGetName() noexcept override { return m_szNom; }
    // A line of UTF-16LE text from the position: up to the separator, or without one up to CR or
    // LF (CR LF counts as one end). Characters past the buffer go to pclDebordement. Null at the
    // end of the zone or on failure.
    const wchar_t* pszReadLine(wchar_t* pszTampon, unsigned long nTaille, CTString* pclDebordement,
                               const wchar_t* pszSeparateur) noexcept override;

private:
    int64_t m_oPosition = 0;
};
