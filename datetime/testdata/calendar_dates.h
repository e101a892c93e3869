// Dates with their day number, weekday and ISO week from an independent calendar
// (tools/gen_calendar_table.py).
#pragma once

struct STJourCalendrier {
    int nAnnee;
    int nMois;
    int nJour;
    int nNumero;     // 1 January 1800 is 1
    int nSemaine;    // 0 Sunday to 6 Saturday
    int nAnneeIso;
    int nSemaineIso;
};

inline constexpr STJourCalendrier gtabJoursCalendrier[] = {
#include "datetime/testdata/calendar_dates.inc"
};
