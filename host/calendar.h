// The machine's calendar service: converts a wall-clock date-time between IANA time zones with the
// system's time-zone database, through the C library alone. The component reaches it as library 76.
#pragma once

#include <string>

#include "component/interfaces/calendar.h"

namespace ovhost {

// One calendar for the process. What a caller has set (zone, instant) is kept per thread, so that
// two language threads converting at once do not read each other's steps.
class CCalendar final : public ICalendar {
public:
    int AddRef() override { return 1; }
    int Release() override { return 1; }  // lives as long as the process
    int bSetFuseau(const wchar_t* pszZone) override;
    int bSetDateHeure(const STDateTimeView* pstValeur) override;
    int bGetDateHeure(STDateTimeView* pstValeur) override;

    // A zone name the database holds: a relative path of letters, digits, "_", "-", "+" and "/"
    // without "." segments, naming a file under the database's directory. Nothing else reaches TZ.
    static bool s_bZoneConnue(const std::string& sZone);
};

class CCalendarLibrary final : public ICalendarLibrary {
public:
    // The calendar for interface 59 under "UnicodeManager"; null for any other request.
    ICalendar* piGetCalendar(int nInterface, const wchar_t* pszNom) override;
    int Release() override { return 1; }

private:
    CCalendar m_clCalendrier;
};

}  // namespace ovhost
