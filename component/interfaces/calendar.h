// The machine's calendar service: conversion of a wall-clock date-time from one time zone to
// another. The component reaches it through ILibShop::piGetComposant(CALENDRIER_LIBRAIRIE), asks
// that library for CALENDRIER_INTERFACE under CALENDRIER_NOM, keeps the calendar and releases the
// library. Date-times cross as STDateTimeView; zones are IANA names, null for the local zone.
#pragma once

#include "component/interfaces/date_view.h"

inline constexpr int CALENDRIER_LIBRAIRIE = 76;
inline constexpr int CALENDRIER_INTERFACE = 59;
inline constexpr const wchar_t* CALENDRIER_NOM = L"UnicodeManager";

class ICalendar {
public:
    virtual int AddRef() = 0;
    virtual int Release() = 0;
    // Each answers non-zero on success.
    virtual int bSetFuseau(const wchar_t* pszZone) = 0;           // null: the local zone
    virtual int bSetDateHeure(const STDateTimeView* pstValeur) = 0;  // wall clock of the zone set
    virtual int bGetDateHeure(STDateTimeView* pstValeur) = 0;        // same instant, zone set now

protected:
    ~ICalendar() = default;
};

// The service library that hands out the calendar.
class ICalendarLibrary {
public:
    virtual ICalendar* piGetCalendar(int nInterface, const wchar_t* pszNom) = 0;  // one more reference
    virtual int Release() = 0;

protected:
    ~ICalendarLibrary() = default;
};
