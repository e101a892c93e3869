// The machine's calendar service on its own: which zone names reach TZ, conversions on both sides
// of the changes of March and October, and the process's own zone left as it was.
#include "host/calendar.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace ovhost {
namespace {

STDateTimeView stVue(const wchar_t* psz) {
    STDateTimeView st{};
    EXPECT_TRUE(bDateTimeViewFromText(psz, &st));
    return st;
}

TEST(CalendarZones, OnlyNamesOfTheDatabaseAreTaken) {
    struct {
        int nLine;
        const char* pszZone;
        bool bConnue;
    } const tabCases[] = {
        {__LINE__, "Europe/Paris", true},
        {__LINE__, "America/Argentina/Buenos_Aires", true},
        {__LINE__, "UTC", true},
        {__LINE__, "Etc/GMT+5", true},
        {__LINE__, "Mars/Olympus_Mons", false},
        {__LINE__, "", false},
        {__LINE__, "Europe", false},  // a directory
        {__LINE__, "../zoneinfo/Europe/Paris", false},
        {__LINE__, "Europe/../Europe/Paris", false},
        {__LINE__, "/usr/share/zoneinfo/UTC", false},
        {__LINE__, "Europe/Paris/", false},
        {__LINE__, "Europe//Paris", false},
        {__LINE__, "UTC;touch x", false},
        {__LINE__, "CET-1CEST,M3.5.0,M10.5.0/3", false},  // a rule, not a name
    };
    for (const auto& st : tabCases)
        EXPECT_EQ(CCalendar::s_bZoneConnue(st.pszZone), st.bConnue) << "line " << st.nLine;
}

TEST(CalendarZones, WallClocksAcrossTheChangesOfMarchAndOctober) {
    struct {
        int nLine;
        const wchar_t* pszDe;
        const wchar_t* pszValeur;
        const wchar_t* pszVers;
        const wchar_t* pszAttendu;
    } const tabCases[] = {
        {__LINE__, L"Europe/Paris", L"20240331015959999", L"UTC", L"20240331005959999"},
        {__LINE__, L"Europe/Paris", L"20240331030000000", L"UTC", L"20240331010000000"},
        {__LINE__, L"UTC", L"20241027005959000", L"Europe/Paris", L"20241027025959000"},
        {__LINE__, L"UTC", L"20241027010000000", L"Europe/Paris", L"20241027020000000"},
        {__LINE__, L"Asia/Kolkata", L"20240101000000000", L"Europe/Paris", L"20231231193000000"},
        {__LINE__, L"Pacific/Kiritimati", L"20240229230000000", L"Pacific/Pago_Pago", L"20240228220000000"},
    };
    CCalendarLibrary clLibrairie;
    ICalendar* pi = clLibrairie.piGetCalendar(CALENDRIER_INTERFACE, CALENDRIER_NOM);
    ASSERT_NE(pi, nullptr);
    const char* pszAvant = std::getenv("TZ");
    const std::string sAvant = pszAvant != nullptr ? pszAvant : "<unset>";
    for (const auto& st : tabCases) {
        const STDateTimeView stValeur = stVue(st.pszValeur);
        STDateTimeView stSortie{};
        ASSERT_TRUE(pi->bSetFuseau(st.pszDe)) << "line " << st.nLine;
        ASSERT_TRUE(pi->bSetDateHeure(&stValeur)) << "line " << st.nLine;
        ASSERT_TRUE(pi->bSetFuseau(st.pszVers)) << "line " << st.nLine;
        ASSERT_TRUE(pi->bGetDateHeure(&stSortie)) << "line " << st.nLine;
        EXPECT_EQ(sDateTimeViewText(stSortie), st.pszAttendu) << "line " << st.nLine;
    }
    const char* pszApres = std::getenv("TZ");
    EXPECT_EQ(pszApres != nullptr ? pszApres : "<unset>", sAvant) << "TZ put back";
    pi->Release();
}

TEST(CalendarZones, RefusesWhatItCannotConvert) {
    CCalendarLibrary clLibrairie;
    EXPECT_EQ(clLibrairie.piGetCalendar(CALENDRIER_INTERFACE, L"Autre"), nullptr);
    EXPECT_EQ(clLibrairie.piGetCalendar(CALENDRIER_INTERFACE + 1, CALENDRIER_NOM), nullptr);
    ICalendar* pi = clLibrairie.piGetCalendar(CALENDRIER_INTERFACE, CALENDRIER_NOM);
    ASSERT_NE(pi, nullptr);
    EXPECT_FALSE(pi->bSetFuseau(L"Nowhere/Atlantis"));
    EXPECT_TRUE(pi->bSetFuseau(L"UTC"));
    const STDateTimeView stMois13{2024u << 16 | 13u << 8 | 1u, 0};
    EXPECT_FALSE(pi->bSetDateHeure(&stMois13));
    const STDateTimeView stTropTard{2024u << 16 | 3u << 8 | 1u, DATE_VIEW_MS_PAR_JOUR};
    EXPECT_FALSE(pi->bSetDateHeure(&stTropTard));
    EXPECT_FALSE(pi->bSetDateHeure(nullptr));
    pi->Release();
}

}  // namespace
}  // namespace ovhost
