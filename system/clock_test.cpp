// The clock: its calendar against an independent one, the frozen source, reading and setting the
// time across the changes of summer time, file times.
#include "system/clock.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "datetime/testdata/calendar_dates.h"
#include "datetime/testdata/zone.h"

namespace {

// Day number of 1 January 1970 in the table's numbering (1 January 1800 is 1).
constexpr int NUMERO_1970 = 62092;
constexpr int64_t PRINTEMPS_MS = 1711846799999;  // 2024-03-31 00:59:59.999 UTC
constexpr int64_t AUTOMNE_MS = 1729990799000;    // 2024-10-27 00:59:59 UTC
constexpr int64_t TICKS_1970 = 116444736000000000;

int64_t nTicks(const _FILETIME& st) {
    return static_cast<int64_t>((static_cast<uint64_t>(st.dwHighDateTime) << 32) | st.dwLowDateTime);
}
_FILETIME stFichier(int64_t n) {
    return {static_cast<uint32_t>(n), static_cast<uint32_t>(static_cast<uint64_t>(n) >> 32)};
}
bool bEgal(const _SYSTEMTIME& stA, const _SYSTEMTIME& stB) { return std::memcmp(&stA, &stB, sizeof stA) == 0; }

TEST(ClockCalendrier, AgreesWithAnIndependentCalendarBothWays) {
    for (const STJourCalendrier& st : gtabJoursCalendrier) {
        const int64_t nJours = CClock::s_nJoursDepuis1970(st.nAnnee, st.nMois, st.nJour);
        ASSERT_EQ(nJours, st.nNumero - NUMERO_1970) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
        int64_t nAnnee = 0;
        int nMois = 0, nJour = 0;
        CClock::s_DateDepuisJours(nJours, &nAnnee, &nMois, &nJour);
        ASSERT_EQ(nAnnee * 10000 + nMois * 100 + nJour, st.nAnnee * 10000 + st.nMois * 100 + st.nJour) << nJours;
        ASSERT_EQ(CClock::s_nJourSemaine(nJours), st.nSemaine) << nJours;
    }
}

TEST(ClockSource, FrozenNowAndTheSystemSourceComeBack) {
    CClockFige clHorloge(PRINTEMPS_MS);
    {
        CClockSourceScope clScope(&clHorloge);
        EXPECT_EQ(CClock::s_nMaintenant(), PRINTEMPS_MS);
        _SYSTEMTIME st{};
        GetSystemTime(&st);
        EXPECT_TRUE(bEgal(st, _SYSTEMTIME{2024, 3, 0, 31, 0, 59, 59, 999}));
        _FILETIME stF{};
        GetSystemTimeAsFileTime(&stF);
        EXPECT_EQ(nTicks(stF), PRINTEMPS_MS * 10'000 + TICKS_1970);
    }
    const int64_t nSysteme = static_cast<int64_t>(time(nullptr)) * 1000;
    EXPECT_NEAR(static_cast<double>(CClock::s_nMaintenant()), static_cast<double>(nSysteme), 5000.0);
    EXPECT_EQ(CClock::s_SetSource(nullptr), nullptr);
}

TEST(ClockSource, TheSystemRefusalComesBackAsErrno) {
    // A time before 1970 is refused by the system whatever the caller's rights, so the real call
    // can be made without moving the machine's clock.
    errno = 0;
    EXPECT_FALSE(CClock::s_piSysteme()->bRegle(-1000));
    EXPECT_EQ(errno, EINVAL);
}

TEST(ClockLocal, LocalTimeCrossesTheLastSundaysOfMarchAndOctober) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    const bool bParis = eZone() == EZone::Paris;
    const struct {
        int nLigne;
        int64_t nMs;
        _SYSTEMTIME stParis;
        _SYSTEMTIME stUtc;
    } tab[] = {
        {__LINE__, PRINTEMPS_MS, {2024, 3, 0, 31, 1, 59, 59, 999}, {2024, 3, 0, 31, 0, 59, 59, 999}},
        {__LINE__, PRINTEMPS_MS + 1, {2024, 3, 0, 31, 3, 0, 0, 0}, {2024, 3, 0, 31, 1, 0, 0, 0}},
        {__LINE__, AUTOMNE_MS, {2024, 10, 0, 27, 2, 59, 59, 0}, {2024, 10, 0, 27, 0, 59, 59, 0}},
        {__LINE__, AUTOMNE_MS + 1000, {2024, 10, 0, 27, 2, 0, 0, 0}, {2024, 10, 0, 27, 1, 0, 0, 0}},
    };
    CClockFige clHorloge(0);
    CClockSourceScope clScope(&clHorloge);
    for (const auto& st : tab) {
        clHorloge.SetMaintenant(st.nMs);
        _SYSTEMTIME stLocal{};
        GetLocalTime(&stLocal);
        EXPECT_TRUE(bEgal(stLocal, bParis ? st.stParis : st.stUtc))
            << "line " << st.nLigne << ": " << stLocal.wHour << ":" << stLocal.wMinute;
    }
}

TEST(ClockReglage, SettingIsRecordedRefusedWithErrnoOrRejectedBeforeTheSystem) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    CClockFige clHorloge(0);
    CClockSourceScope clScope(&clHorloge);
    const _SYSTEMTIME stEte{2024, 7, 0, 1, 14, 0, 0, 250};
    EXPECT_NE(SetLocalTime(&stEte), 0);
    EXPECT_EQ(clHorloge.nGetDernierReglage(), (eZone() == EZone::Paris ? 1719835200000 : 1719842400000) + 250);
    EXPECT_EQ(CClock::s_nMaintenant(), clHorloge.nGetDernierReglage());
    EXPECT_NE(SetSystemTime(&stEte), 0);
    EXPECT_EQ(clHorloge.nGetDernierReglage(), 1719842400250);
    EXPECT_EQ(clHorloge.nGetNbReglage(), 2);
    for (const _SYSTEMTIME& st : {_SYSTEMTIME{2023, 2, 0, 29, 0, 0, 0, 0}, _SYSTEMTIME{2024, 13, 0, 1, 0, 0, 0, 0},
                                  _SYSTEMTIME{2024, 1, 0, 1, 24, 0, 0, 0}, _SYSTEMTIME{2024, 1, 0, 1, 0, 0, 0, 1000}}) {
        errno = 0;
        EXPECT_EQ(SetLocalTime(&st), 0);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(SetLocalTime(nullptr), 0);
    clHorloge.SetRefus(EPERM);
    errno = 0;
    EXPECT_EQ(SetLocalTime(&stEte), 0);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(clHorloge.nGetNbReglage(), 2);
}

TEST(ClockFichier, RecordsAndFileTimesBothWaysWithinTheirYears) {
    const struct {
        int nLigne;
        _SYSTEMTIME st;
        int64_t nTicks;  // -1: refused
    } tab[] = {
        {__LINE__, {1601, 1, 1, 1, 0, 0, 0, 0}, 0},
        {__LINE__, {1970, 1, 4, 1, 0, 0, 0, 0}, TICKS_1970},
        {__LINE__, {2024, 2, 4, 29, 23, 59, 59, 999}, TICKS_1970 + 1709251199999LL * 10'000},
        {__LINE__, {30827, 12, 5, 31, 23, 59, 59, 999}, 0x7FFF35F4F06C58F0},
        {__LINE__, {1600, 12, 0, 31, 0, 0, 0, 0}, -1},
        {__LINE__, {1900, 2, 0, 29, 0, 0, 0, 0}, -1},
        {__LINE__, {2024, 4, 0, 31, 0, 0, 0, 0}, -1},
        {__LINE__, {2024, 1, 0, 1, 0, 60, 0, 0}, -1},
    };
    for (const auto& st : tab) {
        _FILETIME stF{1, 1};
        EXPECT_EQ(SystemTimeToFileTime(&st.st, &stF) != 0, st.nTicks >= 0) << "line " << st.nLigne;
        if (st.nTicks < 0) continue;
        EXPECT_EQ(nTicks(stF), st.nTicks) << "line " << st.nLigne;
        _SYSTEMTIME stRetour{};
        ASSERT_NE(FileTimeToSystemTime(&stF, &stRetour), 0) << "line " << st.nLigne;
        EXPECT_TRUE(bEgal(stRetour, st.st)) << "line " << st.nLigne << " weekday " << stRetour.wDayOfWeek;
    }
    const _FILETIME stNegatif = stFichier(-1);
    _SYSTEMTIME st{};
    EXPECT_EQ(FileTimeToSystemTime(&stNegatif, &st), 0);
}

TEST(ClockFichier, LocalFileTimesFollowTheZoneAtThatMoment) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    const int64_t nHeure = 3600LL * 10'000'000;
    const int64_t nHiver = TICKS_1970 + 1705316400000LL * 10'000 + 5;  // 2024-01-15 11:00 UTC, and 500 ns
    const int64_t nEte = TICKS_1970 + 1719835200000LL * 10'000;
    for (const int64_t n : {nHiver, nEte}) {
        const _FILETIME stUtc = stFichier(n);
        _FILETIME stLocal{}, stRetour{};
        ASSERT_NE(FileTimeToLocalFileTime(&stUtc, &stLocal), 0);
        const int64_t nDecalage = eZone() == EZone::Utc ? 0 : (n == nHiver ? nHeure : 2 * nHeure);
        EXPECT_EQ(nTicks(stLocal), n + nDecalage);
        ASSERT_NE(LocalFileTimeToFileTime(&stLocal, &stRetour), 0);
        EXPECT_EQ(nTicks(stRetour), n);
    }
}

}  // namespace
