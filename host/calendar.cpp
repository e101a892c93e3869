// Zone conversions by the C library: under one lock, TZ is set to the zone, mktime reads the wall
// clock as an instant and localtime_r writes an instant as a wall clock; TZ is then put back as it
// was, so the rest of the process keeps its own zone.
#include "host/calendar.h"

#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <mutex>
#include <optional>

#include "host/utf8.h"

namespace ovhost {
namespace {

std::mutex gmutexTZ;

struct STEtatCalendrier {
    std::string sZone;       // empty: the local zone
    bool bInstant = false;   // an instant has been set
    int64_t nSecondes = 0;   // seconds since the epoch, UTC
    uint32_t dwMillisecondes = 0;
};
thread_local STEtatCalendrier gstEtat;

// Runs pfn with TZ set to the zone (unchanged for the local zone), then restores TZ.
template <typename F>
bool bDansZone(const std::string& sZone, F pfn) {
    std::lock_guard<std::mutex> verrou(gmutexTZ);
    std::optional<std::string> sAncien;
    if (!sZone.empty()) {
        if (const char* psz = std::getenv("TZ")) sAncien = psz;
        setenv("TZ", sZone.c_str(), 1);
    }
    tzset();
    const bool b = pfn();
    if (!sZone.empty()) {
        if (sAncien) setenv("TZ", sAncien->c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }
    return b;
}

const char* pszRepertoireZones() {
    const char* psz = std::getenv("TZDIR");
    return psz != nullptr && psz[0] != 0 ? psz : "/usr/share/zoneinfo";
}

}  // namespace

bool CCalendar::s_bZoneConnue(const std::string& sZone) {
    if (sZone.empty() || sZone.size() > 200 || sZone.front() == '/' || sZone.back() == '/') return false;
    size_t nDebutSegment = 0;
    for (size_t i = 0; i <= sZone.size(); ++i) {
        if (i == sZone.size() || sZone[i] == '/') {
            if (i == nDebutSegment || sZone[nDebutSegment] == '.') return false;  // "", ".", ".."
            nDebutSegment = i + 1;
            continue;
        }
        const char c = sZone[i];
        const bool bPermis = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
                             c == '-' || c == '+' || c == '.';
        if (!bPermis) return false;
    }
    struct stat st {};
    const std::string sChemin = std::string(pszRepertoireZones()) + "/" + sZone;
    return ::stat(sChemin.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

int CCalendar::bSetFuseau(const wchar_t* pszZone) {
    if (pszZone == nullptr) {
        gstEtat.sZone.clear();
        return 1;
    }
    const std::string sZone = sUtf8(pszZone);
    if (!s_bZoneConnue(sZone)) return 0;
    gstEtat.sZone = sZone;
    return 1;
}

int CCalendar::bSetDateHeure(const STDateTimeView* pstValeur) {
    if (pstValeur == nullptr || pstValeur->dwMillisecondes >= DATE_VIEW_MS_PAR_JOUR) return 0;
    const int nAnnee = static_cast<int>(pstValeur->dwDate >> 16);
    const int nMois = static_cast<int>((pstValeur->dwDate >> 8) & 0xff);
    const int nJour = static_cast<int>(pstValeur->dwDate & 0xff);
    if (nAnnee < 1 || nMois < 1 || nMois > 12 || nJour < 1 || nJour > 31) return 0;
    const uint32_t dwSecondes = pstValeur->dwMillisecondes / 1000;
    std::tm tm{};
    tm.tm_year = nAnnee - 1900;
    tm.tm_mon = nMois - 1;
    tm.tm_mday = nJour;
    tm.tm_hour = static_cast<int>(dwSecondes / 3600);
    tm.tm_min = static_cast<int>(dwSecondes / 60 % 60);
    tm.tm_sec = static_cast<int>(dwSecondes % 60);
    tm.tm_isdst = -1;  // the database decides; a time in the spring gap moves forward
    time_t nInstant = 0;
    const bool b = bDansZone(gstEtat.sZone, [&] {
        nInstant = std::mktime(&tm);
        return !(nInstant == static_cast<time_t>(-1) && tm.tm_year != 69);
    });
    if (!b) return 0;
    gstEtat.bInstant = true;
    gstEtat.nSecondes = nInstant;
    gstEtat.dwMillisecondes = pstValeur->dwMillisecondes % 1000;
    return 1;
}

int CCalendar::bGetDateHeure(STDateTimeView* pstValeur) {
    if (pstValeur == nullptr || !gstEtat.bInstant) return 0;
    std::tm tm{};
    const time_t nInstant = static_cast<time_t>(gstEtat.nSecondes);
    if (!bDansZone(gstEtat.sZone, [&] { return localtime_r(&nInstant, &tm) != nullptr; })) return 0;
    const int nAnnee = tm.tm_year + 1900;
    if (nAnnee < 1 || nAnnee > 0xffff) return 0;
    pstValeur->dwDate = static_cast<uint32_t>(nAnnee) << 16 | static_cast<uint32_t>(tm.tm_mon + 1) << 8 |
                        static_cast<uint32_t>(tm.tm_mday);
    pstValeur->dwMillisecondes =
        static_cast<uint32_t>((tm.tm_hour * 60 + tm.tm_min) * 60 + tm.tm_sec) * 1000 + gstEtat.dwMillisecondes;
    return 1;
}

ICalendar* CCalendarLibrary::piGetCalendar(int nInterface, const wchar_t* pszNom) {
    if (nInterface != CALENDRIER_INTERFACE || pszNom == nullptr || std::wcscmp(pszNom, CALENDRIER_NOM) != 0)
        return nullptr;
    m_clCalendrier.AddRef();
    return &m_clCalendrier;
}

}  // namespace ovhost
