// The system clock as the portable code sees it: local and UTC time as _SYSTEMTIME records, file
// times, and setting the clock. Every read of "now" and every change of the clock goes through
// CClock, whose source a test may replace to freeze time and record changes instead of making them.
#pragma once

#include <atomic>
#include <cstdint>

// Calendar fields of one moment; day of week 0 for Sunday. Layout of the system it stands for.
struct _SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};

// 100-nanosecond intervals since 1 January 1601, low word first.
struct _FILETIME {
    uint32_t dwLowDateTime;
    uint32_t dwHighDateTime;
};

// Where "now" comes from and where a change of the clock goes.
class IClockSource {
public:
    virtual ~IClockSource() = default;
    // Milliseconds since 1 January 1970 UTC.
    virtual int64_t nMaintenant() noexcept = 0;
    // Sets the clock to nMillisecondes since 1970; false with errno set when it is refused.
    virtual bool bRegle(int64_t nMillisecondes) noexcept = 0;
};

class CClock {
public:
    // Milliseconds since 1 January 1970 UTC, from the current source.
    static int64_t s_nMaintenant() noexcept;
    // Sets the clock through the current source; false with errno set when refused.
    static bool s_bRegle(int64_t nMillisecondes) noexcept;
    // Replaces the source (null: the system's own) and answers the one it replaces. The caller
    // keeps ownership and keeps the source alive while it is installed.
    static IClockSource* s_SetSource(IClockSource* piSource) noexcept;
    // The system's source: the real-time clock, set with clock_settime.
    static IClockSource* s_piSysteme() noexcept;

    // Proleptic Gregorian calendar, the one the system's clock counts in: days since 1 January
    // 1970 and back, for any year an int holds.
    static int64_t s_nJoursDepuis1970(int64_t nAnnee, int nMois, int nJour) noexcept;
    static void s_DateDepuisJours(int64_t nJours, int64_t* pnAnnee, int* pnMois, int* pnJour) noexcept;
    // Day of the week of a day count, 0 for Sunday.
    static int s_nJourSemaine(int64_t nJours) noexcept;

private:
    static std::atomic<IClockSource*> ms_piSource;
};

// A clock for tests: it stands still at the time it is given. A change of the clock is recorded
// and moves this clock, never the system's; a refusal can be staged with an errno.
class CClockFige : public IClockSource {
public:
    explicit CClockFige(int64_t nMaintenant) noexcept : m_nMaintenant(nMaintenant) {}
    int64_t nMaintenant() noexcept override { return m_nMaintenant.load(); }
    bool bRegle(int64_t nMillisecondes) noexcept override;

    void SetMaintenant(int64_t nMillisecondes) noexcept { m_nMaintenant = nMillisecondes; }
    // The next changes fail with this errno (0: they succeed again).
    void SetRefus(int nErrno) noexcept { m_nRefus = nErrno; }
    int nGetNbReglage() const noexcept { return m_nNbReglage.load(); }
    int64_t nGetDernierReglage() const noexcept { return m_nDernierReglage.load(); }

private:
    std::atomic<int64_t> m_nMaintenant;
    std::atomic<int64_t> m_nDernierReglage{0};
    std::atomic<int> m_nNbReglage{0};
    std::atomic<int> m_nRefus{0};
};

// Installs a source for the life of a scope and puts the previous one back.
class CClockSourceScope {
public:
    explicit CClockSourceScope(IClockSource* piSource) noexcept : m_piAncienne(CClock::s_SetSource(piSource)) {}
    ~CClockSourceScope() { CClock::s_SetSource(m_piAncienne); }
    CClockSourceScope(const CClockSourceScope&) = delete;
    CClockSourceScope& operator=(const CClockSourceScope&) = delete;

private:
    IClockSource* m_piAncienne;
};

// ---------------------------------------------------------------- system calls

// The current local and UTC time.
void GetLocalTime(_SYSTEMTIME* pstHeure) noexcept;
void GetSystemTime(_SYSTEMTIME* pstHeure) noexcept;
void GetSystemTimeAsFileTime(_FILETIME* pstHeure) noexcept;

// Set the clock from a local or UTC time. Non-zero on success; 0 with errno set on a field out of
// range (EINVAL) or when the system refuses (EPERM without the right to set the clock). The day of
// the week is ignored.
int SetLocalTime(const _SYSTEMTIME* pstHeure) noexcept;
int SetSystemTime(const _SYSTEMTIME* pstHeure) noexcept;

// Conversions, non-zero on success. A record converts when its fields form a real date of the
// years 1601 to 30827 (the day of the week is ignored and recomputed on the way back); a file time
// converts below 2^63.
int SystemTimeToFileTime(const _SYSTEMTIME* pstHeure, _FILETIME* pstFichier) noexcept;
int FileTimeToSystemTime(const _FILETIME* pstFichier, _SYSTEMTIME* pstHeure) noexcept;
// UTC file time to the local wall clock's file time and back, with the zone rules in force at that
// moment.
int FileTimeToLocalFileTime(const _FILETIME* pstFichier, _FILETIME* pstLocal) noexcept;
int LocalFileTimeToFileTime(const _FILETIME* pstLocal, _FILETIME* pstFichier) noexcept;
