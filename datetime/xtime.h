// CXTime: the C library's broken-down time with milliseconds, where the system talks to the
// operating system and to file times. Unlike the language's calendar it is Gregorian all the way
// back. Months are held 0 to 11 and years as years since 1900, as in tm.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "base/tstring.h"
#include "datetime/date_time.h"
#include "system/clock.h"

class CXTime {
public:
    CXTime() noexcept { SetTo0(); }
    CXTime(int nAnnee, int nMois, int nJour, int nHeure, int nMinute, int nSeconde, int nIsDst) noexcept {
        SetTime(nAnnee, nMois, nJour, nHeure, nMinute, nSeconde, nIsDst);
    }
    CXTime(const _SYSTEMTIME& stHeure, int nIsDst) noexcept { SetTime(stHeure, nIsDst); }
    CXTime(unsigned short wDateDos, unsigned short wHeureDos, int nIsDst) noexcept {
        SetTime(wDateDos, wHeureDos, nIsDst);
    }
    explicit CXTime(const tm& stTm) noexcept { SetTime(stTm); }
    explicit CXTime(const CDateTime& clDateHeure) noexcept { SetTime(clDateHeure); }
    CXTime(const _FILETIME& stFichier, int nIsDst) noexcept { SetTime(stFichier, nIsDst); }
    explicit CXTime(long nTempsUnix) noexcept { SetTime(nTempsUnix); }
    CXTime(const CXTime&) noexcept = default;
    CXTime& operator=(const CXTime&) noexcept = default;
    virtual ~CXTime();

    // Sizes, terminator included, of the buffers the text writers fill by default.
    static constexpr size_t TAILLE_DATE = 9;
    static constexpr size_t TAILLE_HEURE = 10;
    static constexpr size_t TAILLE_HORODATAGE = 32;
    static constexpr size_t TAILLE_FORMAT = 256;

    // ---- setting. Month 1 to 12 and full years in the arguments.
    void SetTime(int nAnnee, int nMois, int nJour, int nHeure, int nMinute, int nSeconde, int nIsDst) noexcept;
    void SetTime(const _SYSTEMTIME& stHeure, int nIsDst) noexcept;
    // Packed DOS date and time: seconds in units of two.
    void SetTime(unsigned short wDateDos, unsigned short wHeureDos, int nIsDst) noexcept;
    void SetTime(const tm& stTm) noexcept;
    // A month or day of 0 (an empty value) is read as January or the 1st.
    void SetTime(const CDateTime& clDateHeure) noexcept;
    // A UTC file time shown on the local wall clock; the reset state when it does not convert.
    void SetTime(const _FILETIME& stFichier, int nIsDst) noexcept;
    // Unix time on the local clock, or in UTC; the reset state for -1 or a time the system cannot
    // place.
    void SetTime(long nTempsUnix) noexcept;
    void SetUTCTime(long nTempsUnix) noexcept;
    // Now, from the clock.
    void SetFromLocalTime() noexcept;
    void SetFromUTCTime() noexcept;
    // Year field -1900 (year 0), January 1st, midnight, day of week and day of year -1.
    void SetTo0() noexcept;

    // ---- language text in
    // "AAAAMMJJ", exactly 8 digits; a month or day of 0 becomes January or the 1st.
    bool bSetZKDate(const wchar_t* pszDate) noexcept;
    // "HHMM", then seconds, then two digits of hundredths (8 characters) or three of milliseconds.
    bool bSetZKTime(const wchar_t* pszHeure) noexcept;
    // "AAAAMMJJHHMMSS" then hundredths (16 characters) or milliseconds (17); a space may part the
    // date from the time.
    template <typename T>
    bool bSetZKDateTime(const T* pszDateHeure, int nIsDst) noexcept;
    // A partial value read as the first moment it covers: missing digits are zeros ("2" is 20 h).
    bool bSetZKTimeMin(const wchar_t* pszHeure, int nIsDst) noexcept;
    bool bSetZKDateTimeMin(const wchar_t* pszDateHeure, int nIsDst) noexcept;
    // A partial value read as the first moment after the range it covers: its last digit raised,
    // carrying into the digits before it. Fails when nothing is left to carry into.
    bool bSetZKTimeMax(const wchar_t* pszHeure, int nIsDst) noexcept;
    bool bSetZKDateTimeMax(const wchar_t* pszDateHeure, int nIsDst) noexcept;

    // ---- text out
    void GetZKTimeAAAAMMJJ_HHMMSS(CTString& clSortie) const noexcept;
    void GetZKTimeHHMMSS(CTString& clSortie) const noexcept;
    void GetZKTimeHHMM(CTString& clSortie) const noexcept;
    void GetZKDate(CTString& clSortie) const noexcept;
    void GetZKTimeHHMMSSCCm(CTString& clSortie) const noexcept;
    void GetZKTimeAAAAMMJJHHMMSSCCm(CTString& clSortie) const noexcept;
    void GetZKDate(wchar_t* pszSortie, size_t nTaille = TAILLE_DATE) const noexcept;
    void GetZKDate(char* pszSortie, size_t nTaille = TAILLE_DATE) const noexcept;
    void GetZKTime(wchar_t* pszSortie, size_t nTaille = TAILLE_HEURE) const noexcept;
    void GetZKTime(char* pszSortie, size_t nTaille = TAILLE_HEURE) const noexcept;
    void GetZKTimeReadableSS(CTString& clSortie) const noexcept;
    void GetZKTimeReadable(CTString& clSortie) const noexcept;
    void FormatToSQLServerTimeStamp(wchar_t* pszSortie, size_t nTaille = TAILLE_HORODATAGE) const noexcept;
    void FormatToOdbcTimeStamp(wchar_t* pszSortie, size_t nTaille = TAILLE_HORODATAGE) const noexcept;
    void FormatToOdbcTimeStamp(CTString& clSortie) const noexcept;
    void FormatToOdbcTime(wchar_t* pszSortie, size_t nTaille = TAILLE_HORODATAGE) const noexcept;
    void FormatToOdbcDate(wchar_t* pszSortie, size_t nTaille = TAILLE_HORODATAGE) const noexcept;
    // strftime patterns; an empty text when the result is empty or does not fit.
    void Format(const wchar_t* pszModele, wchar_t* pszSortie, size_t nTaille = TAILLE_FORMAT) const noexcept;
    void Format(const wchar_t* pszModele, CTString& clSortie) const noexcept;

    // ---- conversion
    // The fields as a record, the day of the week recomputed; false when they do not fit one.
    bool bGetAsSystemTime(_SYSTEMTIME& stHeure) const noexcept;
    static void GetAsSystemTime(_SYSTEMTIME& stHeure, const tm& stTm) noexcept;
    // This local value as a UTC file time; the answer is that of the passage to UTC.
    bool bGetAsFileTime(_FILETIME& stFichier) const noexcept;
    void GetZKDateTime(CDateTime* pclDateHeure) const noexcept;
    const tm& nGetTimeTm() const noexcept { return m_stTm; }
    int nGetMillisecondes() const noexcept { return m_nMillisecondes; }
    // Unix time of this local value; the _UTC forms read the value as UTC by the offset in force
    // now, whatever the value's date.
    long nGetTime32_t() const noexcept;
    long nGetTime32_t_UTC() const noexcept;
    static long s_nGetTime_t(tm& stTm) noexcept;
    static long s_nGetTime_t_UTC(tm& stTm) noexcept;
    static void Local2UTC(const tm& stLocal, tm& stUtc) noexcept;
    static void UTC2Local(const tm& stUtc, tm& stLocal) noexcept;
    static _FILETIME UnixTimeToFileTime(long nTempsUnix) noexcept;
    static long FileTimeToUnixTime(const _FILETIME& stFichier) noexcept;
    static long SystemTimeToUnixTime(const _SYSTEMTIME& stHeure) noexcept;
    static _SYSTEMTIME UnixTimeToSystemTime(long nTempsUnix) noexcept;
    // Local time minus UTC at this moment, in seconds, as mktime reads a UTC breakdown.
    static long __s_nGetOffsetMkTime() noexcept;

    // ---- calendar and comparison (Gregorian rule for every year)
    static bool bBissextile(int nAnnee) noexcept;
    static bool bBissextile(const wchar_t* pszDate) noexcept;
    static int nGetDayInMonth(int nMois, int nAnnee) noexcept;
    static int nGetDayInMonth(const wchar_t* pszDate) noexcept;
    // The first difference of year, month, day, hour, minute and second.
    static int snCompare(const tm* pstA, const tm* pstB) noexcept;
    bool operator>(const CXTime& clAutre) const noexcept;
    bool operator>=(const CXTime& clAutre) const noexcept;

    // ---- clock
    static long nGetCurrentTime() noexcept;
    static long nGetCurrentTime(_SYSTEMTIME* pstLocal) noexcept;
    static void GetLocalTime(_SYSTEMTIME* pstLocal) noexcept;
    // Sets the system clock; false with errno set when refused.
    static bool bSetLocalTime(const _SYSTEMTIME* pstLocal) noexcept;
    bool bInitLocalTime() const noexcept;

protected:
    // Day of the week and of the year from the date fields, -1 when they are not a date.
    void _CompleteJours() noexcept;
    bool _bLitMin(const wchar_t* pszTexte, bool bAvecDate, int nIsDst) noexcept;
    bool _bLitMax(const wchar_t* pszTexte, bool bAvecDate, int nIsDst) noexcept;
    void _Imprime(CTString& clSortie, const wchar_t* pszModele, bool bMillisecondes) const noexcept;
    int nAnnee() const noexcept { return m_stTm.tm_year + 1900; }

    tm m_stTm;
    int32_t m_nMillisecondes;
};
