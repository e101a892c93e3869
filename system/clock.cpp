// The system clock: the replaceable source of "now", the calls that read and set it, and the
// conversions between calendar records and file times.
#include "system/clock.h"

#include <cerrno>
#include <ctime>

namespace {

constexpr int64_t MS_PAR_JOUR = 86'400'000;
// 100-nanosecond ticks between 1601-01-01 and 1970-01-01.
constexpr int64_t ECART_1601_1970 = 116'444'736'000'000'000;
constexpr int64_t TICKS_PAR_MS = 10'000;

int64_t nDivEntiere(int64_t n, int64_t nDiviseur) noexcept {
    const int64_t q = n / nDiviseur;
    return (n % nDiviseur != 0 && ((n < 0) != (nDiviseur < 0))) ? q - 1 : q;
}

class CClockSysteme final : public IClockSource {
public:
    int64_t nMaintenant() noexcept override {
        timespec st{};
        clock_gettime(CLOCK_REALTIME, &st);
        return static_cast<int64_t>(st.tv_sec) * 1000 + st.tv_nsec / 1'000'000;
    }
    bool bRegle(int64_t nMillisecondes) noexcept override {
        timespec st{};
        st.tv_sec = static_cast<time_t>(nDivEntiere(nMillisecondes, 1000));
        st.tv_nsec = static_cast<long>((nMillisecondes - static_cast<int64_t>(st.tv_sec) * 1000) * 1'000'000);
        return clock_settime(CLOCK_REALTIME, &st) == 0;
    }
};

CClockSysteme gclClockSysteme;

bool bBissextileGregorien(int64_t nAnnee) noexcept {
    return nAnnee % 4 == 0 && (nAnnee % 100 != 0 || nAnnee % 400 == 0);
}

int nJoursDuMois(int64_t nAnnee, int nMois) noexcept {
    static constexpr int tabJours[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return nMois == 2 && bBissextileGregorien(nAnnee) ? 29 : tabJours[nMois - 1];
}

// The fields of a record as a moment in milliseconds since 1970, read as UTC; false when a field
// is out of range or the year is outside what file times hold.
bool bSystemeVersMs(const _SYSTEMTIME* pst, int64_t* pnMs) noexcept {
    if (pst == nullptr || pst->wYear < 1601 || pst->wYear > 30827 || pst->wMonth < 1 || pst->wMonth > 12 ||
        pst->wDay < 1 || pst->wDay > nJoursDuMois(pst->wYear, pst->wMonth) || pst->wHour > 23 ||
        pst->wMinute > 59 || pst->wSecond > 59 || pst->wMilliseconds > 999)
        return false;
    const int64_t nJours = CClock::s_nJoursDepuis1970(pst->wYear, pst->wMonth, pst->wDay);
    *pnMs = nJours * MS_PAR_JOUR + ((pst->wHour * 60 + pst->wMinute) * 60 + pst->wSecond) * 1000LL +
            pst->wMilliseconds;
    return true;
}

// A moment (milliseconds since 1970) as UTC fields; false outside the record's years.
bool bMsVersSysteme(int64_t nMs, _SYSTEMTIME* pst) noexcept {
    const int64_t nJours = nDivEntiere(nMs, MS_PAR_JOUR);
    const int64_t nDansJour = nMs - nJours * MS_PAR_JOUR;
    int64_t nAnnee = 0;
    int nMois = 0, nJour = 0;
    CClock::s_DateDepuisJours(nJours, &nAnnee, &nMois, &nJour);
    if (nAnnee < 1 || nAnnee > 65535) return false;
    pst->wYear = static_cast<uint16_t>(nAnnee);
    pst->wMonth = static_cast<uint16_t>(nMois);
    pst->wDay = static_cast<uint16_t>(nJour);
    pst->wDayOfWeek = static_cast<uint16_t>(CClock::s_nJourSemaine(nJours));
    pst->wHour = static_cast<uint16_t>(nDansJour / 3'600'000);
    pst->wMinute = static_cast<uint16_t>(nDansJour / 60'000 % 60);
    pst->wSecond = static_cast<uint16_t>(nDansJour / 1000 % 60);
    pst->wMilliseconds = static_cast<uint16_t>(nDansJour % 1000);
    return true;
}

int64_t nFichierVersEntier(const _FILETIME* pst) noexcept {
    return static_cast<int64_t>((static_cast<uint64_t>(pst->dwHighDateTime) << 32) | pst->dwLowDateTime);
}

void EntierVersFichier(int64_t n, _FILETIME* pst) noexcept {
    pst->dwLowDateTime = static_cast<uint32_t>(static_cast<uint64_t>(n));
    pst->dwHighDateTime = static_cast<uint32_t>(static_cast<uint64_t>(n) >> 32);
}

// Offset of the local wall clock from UTC at a UTC moment, in seconds; false when the system
// cannot place the moment.
bool bDecalageLocal(int64_t nSecondes, long* pnDecalage) noexcept {
    const auto nTemps = static_cast<time_t>(nSecondes);
    tm stLocal{};
    if (localtime_r(&nTemps, &stLocal) == nullptr) return false;
    *pnDecalage = stLocal.tm_gmtoff;
    return true;
}

}  // namespace

std::atomic<IClockSource*> CClock::ms_piSource{&gclClockSysteme};

int64_t CClock::s_nMaintenant() noexcept { return ms_piSource.load()->nMaintenant(); }

bool CClock::s_bRegle(int64_t nMillisecondes) noexcept { return ms_piSource.load()->bRegle(nMillisecondes); }

IClockSource* CClock::s_SetSource(IClockSource* piSource) noexcept {
    IClockSource* piAncienne = ms_piSource.exchange(piSource != nullptr ? piSource : &gclClockSysteme);
    return piAncienne == &gclClockSysteme ? nullptr : piAncienne;
}

IClockSource* CClock::s_piSysteme() noexcept { return &gclClockSysteme; }

// Days from a civil date by whole 400-year eras, which keeps every step exact for negative years.
int64_t CClock::s_nJoursDepuis1970(int64_t nAnnee, int nMois, int nJour) noexcept {
    const int64_t y = nAnnee - (nMois <= 2 ? 1 : 0);
    const int64_t nEre = nDivEntiere(y, 400);
    const int64_t nAnneeEre = y - nEre * 400;
    const int64_t nJourAnnee = (153 * (nMois > 2 ? nMois - 3 : nMois + 9) + 2) / 5 + nJour - 1;
    const int64_t nJourEre = nAnneeEre * 365 + nAnneeEre / 4 - nAnneeEre / 100 + nJourAnnee;
    return nEre * 146097 + nJourEre - 719468;
}

void CClock::s_DateDepuisJours(int64_t nJours, int64_t* pnAnnee, int* pnMois, int* pnJour) noexcept {
    const int64_t z = nJours + 719468;
    const int64_t nEre = nDivEntiere(z, 146097);
    const int64_t nJourEre = z - nEre * 146097;
    const int64_t nAnneeEre = (nJourEre - nJourEre / 1460 + nJourEre / 36524 - nJourEre / 146096) / 365;
    const int64_t nJourAnnee = nJourEre - (365 * nAnneeEre + nAnneeEre / 4 - nAnneeEre / 100);
    const int64_t mp = (5 * nJourAnnee + 2) / 153;
    *pnJour = static_cast<int>(nJourAnnee - (153 * mp + 2) / 5 + 1);
    *pnMois = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    *pnAnnee = nAnneeEre + nEre * 400 + (*pnMois <= 2 ? 1 : 0);
}

int CClock::s_nJourSemaine(int64_t nJours) noexcept {
    // 1 January 1970 was a Thursday.
    return static_cast<int>(((nJours % 7) + 11) % 7);
}

bool CClockFige::bRegle(int64_t nMillisecondes) noexcept {
    if (const int nRefus = m_nRefus.load(); nRefus != 0) {
        errno = nRefus;
        return false;
    }
    m_nDernierReglage = nMillisecondes;
    ++m_nNbReglage;
    m_nMaintenant = nMillisecondes;
    return true;
}

// ---------------------------------------------------------------- system calls

void GetSystemTime(_SYSTEMTIME* pstHeure) noexcept {
    if (pstHeure == nullptr) return;
    if (!bMsVersSysteme(CClock::s_nMaintenant(), pstHeure)) *pstHeure = _SYSTEMTIME{};
}

void GetLocalTime(_SYSTEMTIME* pstHeure) noexcept {
    if (pstHeure == nullptr) return;
    const int64_t nMs = CClock::s_nMaintenant();
    long nDecalage = 0;
    if (!bDecalageLocal(nDivEntiere(nMs, 1000), &nDecalage) || !bMsVersSysteme(nMs + nDecalage * 1000LL, pstHeure))
        *pstHeure = _SYSTEMTIME{};
}

void GetSystemTimeAsFileTime(_FILETIME* pstHeure) noexcept {
    if (pstHeure == nullptr) return;
    EntierVersFichier(CClock::s_nMaintenant() * TICKS_PAR_MS + ECART_1601_1970, pstHeure);
}

int SetSystemTime(const _SYSTEMTIME* pstHeure) noexcept {
    int64_t nMs = 0;
    if (!bSystemeVersMs(pstHeure, &nMs)) {
        errno = EINVAL;
        return 0;
    }
    return CClock::s_bRegle(nMs) ? 1 : 0;
}

int SetLocalTime(const _SYSTEMTIME* pstHeure) noexcept {
    int64_t nMsLocal = 0;
    if (!bSystemeVersMs(pstHeure, &nMsLocal)) {
        errno = EINVAL;
        return 0;
    }
    // The zone rules decide which moment the wall clock names; a time skipped by a change to
    // summer time lands after the gap, as mktime places it.
    tm st{};
    st.tm_year = pstHeure->wYear - 1900;
    st.tm_mon = pstHeure->wMonth - 1;
    st.tm_mday = pstHeure->wDay;
    st.tm_hour = pstHeure->wHour;
    st.tm_min = pstHeure->wMinute;
    st.tm_sec = pstHeure->wSecond;
    st.tm_isdst = -1;
    errno = 0;
    const time_t nSecondes = mktime(&st);
    if (nSecondes == static_cast<time_t>(-1) && errno != 0) return 0;
    return CClock::s_bRegle(static_cast<int64_t>(nSecondes) * 1000 + pstHeure->wMilliseconds) ? 1 : 0;
}

int SystemTimeToFileTime(const _SYSTEMTIME* pstHeure, _FILETIME* pstFichier) noexcept {
    int64_t nMs = 0;
    if (pstFichier == nullptr || !bSystemeVersMs(pstHeure, &nMs)) return 0;
    EntierVersFichier(nMs * TICKS_PAR_MS + ECART_1601_1970, pstFichier);
    return 1;
}

int FileTimeToSystemTime(const _FILETIME* pstFichier, _SYSTEMTIME* pstHeure) noexcept {
    if (pstFichier == nullptr || pstHeure == nullptr) return 0;
    const int64_t nTicks = nFichierVersEntier(pstFichier);
    if (nTicks < 0) return 0;
    return bMsVersSysteme(nDivEntiere(nTicks - ECART_1601_1970, TICKS_PAR_MS), pstHeure) ? 1 : 0;
}

int FileTimeToLocalFileTime(const _FILETIME* pstFichier, _FILETIME* pstLocal) noexcept {
    if (pstFichier == nullptr || pstLocal == nullptr) return 0;
    const int64_t nTicks = nFichierVersEntier(pstFichier);
    long nDecalage = 0;
    if (nTicks < 0 || !bDecalageLocal(nDivEntiere(nTicks - ECART_1601_1970, 10'000'000), &nDecalage)) return 0;
    const int64_t nLocal = nTicks + static_cast<int64_t>(nDecalage) * 10'000'000;
    if (nLocal < 0) return 0;
    EntierVersFichier(nLocal, pstLocal);
    return 1;
}

int LocalFileTimeToFileTime(const _FILETIME* pstLocal, _FILETIME* pstFichier) noexcept {
    if (pstLocal == nullptr || pstFichier == nullptr) return 0;
    const int64_t nTicks = nFichierVersEntier(pstLocal);
    if (nTicks < 0) return 0;
    _SYSTEMTIME stMur{};
    if (FileTimeToSystemTime(pstLocal, &stMur) == 0) return 0;
    tm st{};
    st.tm_year = stMur.wYear - 1900;
    st.tm_mon = stMur.wMonth - 1;
    st.tm_mday = stMur.wDay;
    st.tm_hour = stMur.wHour;
    st.tm_min = stMur.wMinute;
    st.tm_sec = stMur.wSecond;
    st.tm_isdst = -1;
    errno = 0;
    const time_t nSecondes = mktime(&st);
    if (nSecondes == static_cast<time_t>(-1) && errno != 0) return 0;
    // Below the second the wall clock and UTC agree.
    const int64_t nUtc = (static_cast<int64_t>(nSecondes) * 10'000'000 + ECART_1601_1970) +
                         (nTicks - nDivEntiere(nTicks, 10'000'000) * 10'000'000);
    if (nUtc < 0) return 0;
    EntierVersFichier(nUtc, pstFichier);
    return 1;
}
