// CXTime: language texts in (whole, lowest and next moment), printed forms, DOS and file times,
// Unix time and the zone, the clock.
#include "datetime/xtime.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include "datetime/testdata/zone.h"

namespace {

constexpr long JUILLET_MIDI_UTC = 1719835200;   // 2024-07-01 12:00:00 UTC, a Monday
constexpr int64_t JANVIER_UTC_MS = 1705316400000;  // 2024-01-15 11:00:00 UTC

std::wstring sComplet(const CXTime& cl) {
    CTString clTexte;
    cl.GetZKTimeAAAAMMJJHHMMSSCCm(clTexte);
    return clTexte.pszGet();
}

TEST(XTimeEtat, ResetIsYearZeroJanuaryFirstWithUnknownDays) {
    const CXTime cl{CDateTime()};  // an empty value: no month, no day
    const tm& st = cl.nGetTimeTm();
    EXPECT_EQ(st.tm_year * 10000 + st.tm_mon * 100 + st.tm_mday, -1900 * 10000 + 1);
    EXPECT_EQ(CXTime().nGetTimeTm().tm_wday, -1);
    EXPECT_EQ(CXTime().nGetTimeTm().tm_yday, -1);
}

TEST(XTimeTexte, DateTimeTextsWithOrWithoutTheSpaceAndTheirFraction) {
    const struct {
        int nLigne;
        const char* pszTexte;
        bool bLu;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, "2024031513453012", true, L"20240315134530120"},
        {__LINE__, "20240315 13453012", true, L"20240315134530120"},
        {__LINE__, "20240315134530123", true, L"20240315134530123"},
        {__LINE__, "20240315 134530123", true, L"20240315134530123"},
        {__LINE__, "20240015134530123", true, L"20240115134530123"},
        {__LINE__, "202403151345301", false, nullptr},
        {__LINE__, "2024031513h53012", false, nullptr},
    };
    for (const auto& st : tab) {
        CXTime clA, clW;
        std::wstring sLarge(st.pszTexte, st.pszTexte + std::strlen(st.pszTexte));
        EXPECT_EQ(clA.bSetZKDateTime(st.pszTexte, 0), st.bLu) << "line " << st.nLigne;
        EXPECT_EQ(clW.bSetZKDateTime(sLarge.c_str(), 0), st.bLu) << "line " << st.nLigne;
        if (st.bLu) {
            EXPECT_EQ(sComplet(clA), st.pszAttendu) << "line " << st.nLigne;
            EXPECT_EQ(sComplet(clW), st.pszAttendu) << "line " << st.nLigne;
        }
    }
    CXTime cl;
    EXPECT_TRUE(cl.bSetZKDate(L"20240300"));
    EXPECT_EQ(cl.nGetTimeTm().tm_mday, 1);
    EXPECT_FALSE(cl.bSetZKDate(L"2024031"));
    EXPECT_FALSE(cl.bSetZKTime(L"134"));
    const struct {
        const wchar_t* pszHeure;
        int nSeconde, nMs;
    } tabHeures[] = {{L"1345", 0, 0}, {L"134530", 30, 0}, {L"13453012", 30, 120}, {L"134530123", 30, 123}};
    for (const auto& st : tabHeures) {
        EXPECT_TRUE(cl.bSetZKTime(st.pszHeure)) << st.pszHeure;
        EXPECT_EQ(cl.nGetTimeTm().tm_hour * 100 + cl.nGetTimeTm().tm_min, 1345) << st.pszHeure;
        EXPECT_EQ(cl.nGetTimeTm().tm_sec, st.nSeconde) << st.pszHeure;
        EXPECT_EQ(cl.nGetMillisecondes(), st.nMs) << st.pszHeure;
    }
}

TEST(XTimeTexte, PartialValuesGiveTheirFirstMomentAndTheFirstMomentAfterThem) {
    const struct {
        int nLigne;
        bool bDate;
        bool bMax;
        const wchar_t* pszTexte;
        const wchar_t* pszAttendu;  // null: fails
    } tab[] = {
        {__LINE__, false, false, L"2", L"200000000"},
        {__LINE__, false, false, L"1345", L"134500000"},
        {__LINE__, false, false, L"9", nullptr},
        {__LINE__, false, true, L"1459", L"150000000"},
        {__LINE__, false, true, L"0959", L"100000000"},
        {__LINE__, false, true, L"1", L"200000000"},
        {__LINE__, false, true, L"13453", L"134540000"},
        {__LINE__, false, true, L"134559999", L"134600000"},
        {__LINE__, false, true, L"2", nullptr},
        {__LINE__, false, true, L"23", nullptr},
        {__LINE__, false, true, L"2359", nullptr},
        {__LINE__, true, false, L"2024", L"20240101000000000"},
        {__LINE__, true, false, L"20240315 1", L"20240315100000000"},
        {__LINE__, true, true, L"20240131", L"20240201000000000"},
        {__LINE__, true, true, L"2024013", L"20240201000000000"},
        {__LINE__, true, true, L"2024021", L"20240220000000000"},
        {__LINE__, true, true, L"20240229", L"20240301000000000"},
        {__LINE__, true, true, L"20230228", L"20230301000000000"},
        {__LINE__, true, true, L"202412", L"20250101000000000"},
        {__LINE__, true, true, L"2024", L"20250101000000000"},
        {__LINE__, true, true, L"20241231 2359", L"20250101000000000"},
        {__LINE__, true, true, L"9999", nullptr},
        {__LINE__, true, true, L"2024-12", nullptr},
    };
    for (const auto& st : tab) {
        CXTime cl;
        bool b = false;
        if (st.bDate)
            b = st.bMax ? cl.bSetZKDateTimeMax(st.pszTexte, 0) : cl.bSetZKDateTimeMin(st.pszTexte, 0);
        else
            b = st.bMax ? cl.bSetZKTimeMax(st.pszTexte, 0) : cl.bSetZKTimeMin(st.pszTexte, 0);
        EXPECT_EQ(b, st.pszAttendu != nullptr) << "line " << st.nLigne;
        if (st.pszAttendu == nullptr) continue;
        CTString clTexte;
        if (st.bDate)
            cl.GetZKTimeAAAAMMJJHHMMSSCCm(clTexte);
        else
            cl.GetZKTimeHHMMSSCCm(clTexte);
        EXPECT_STREQ(clTexte.pszGet(), st.pszAttendu) << "line " << st.nLigne;
    }
}

TEST(XTimeSortie, EveryPrintedForm) {
    std::setlocale(LC_TIME, "C");
    const CXTime cl(CDateTime(2024, 3, 5, 7, 8, 9, 10));
    CTString clTexte;
    const struct {
        int nLigne;
        void (CXTime::*pfn)(CTString&) const;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, &CXTime::GetZKTimeAAAAMMJJ_HHMMSS, L"20240305 070809"},
        {__LINE__, &CXTime::GetZKTimeHHMM, L"0708"},
        {__LINE__, &CXTime::GetZKTimeHHMMSSCCm, L"070809010"},
        {__LINE__, &CXTime::GetZKTimeAAAAMMJJHHMMSSCCm, L"20240305070809010"},
        {__LINE__, &CXTime::GetZKTimeReadable, L"05/03/2024 07:08:09,010"},
        {__LINE__, &CXTime::FormatToOdbcTimeStamp, L"{ts '2024-03-05 07:08:09.010'}"},
    };
    for (const auto& st : tab) {
        (cl.*st.pfn)(clTexte);
        EXPECT_STREQ(clTexte.pszGet(), st.pszAttendu) << "line " << st.nLigne;
    }
    wchar_t tab64[64];
    cl.FormatToSQLServerTimeStamp(tab64);
    EXPECT_STREQ(tab64, L"20240305 07:08:09.010");
    cl.GetZKDate(tab64, 5);
    EXPECT_STREQ(tab64, L"2024");
    char tabA[16];
    cl.GetZKTime(tabA);
    EXPECT_STREQ(tabA, "070809010");
    cl.Format(L"%A %d %B, %j", clTexte);
    EXPECT_STREQ(clTexte.pszGet(), L"Tuesday 05 March, 065");
    cl.Format(L"", tab64, 64);
    EXPECT_STREQ(tab64, L"");
}

TEST(XTimeConversion, DosTimesAndFileTimesOfTheSystemItStandsFor) {
    const CXTime clDos(static_cast<unsigned short>((44 << 9) | (3 << 5) | 15),
                       static_cast<unsigned short>((13 << 11) | (45 << 5) | 15), 0);
    EXPECT_EQ(sComplet(clDos), L"20240315134530000");
    EXPECT_EQ(clDos.nGetTimeTm().tm_wday, 5);
    const _FILETIME stEpoque = CXTime::UnixTimeToFileTime(0);
    EXPECT_EQ(stEpoque.dwHighDateTime, 0x019DB1DEu);
    EXPECT_EQ(stEpoque.dwLowDateTime, 0xD53E8000u);
    EXPECT_EQ(CXTime::FileTimeToUnixTime(CXTime::UnixTimeToFileTime(JUILLET_MIDI_UTC)), JUILLET_MIDI_UTC);
    _FILETIME stAvant = CXTime::UnixTimeToFileTime(0);
    stAvant.dwLowDateTime -= 1;  // 100 ns before 1970
    EXPECT_EQ(CXTime::FileTimeToUnixTime(stAvant), -1);
    const _SYSTEMTIME st = CXTime::UnixTimeToSystemTime(JUILLET_MIDI_UTC);
    EXPECT_EQ(st.wYear * 10000 + st.wMonth * 100 + st.wDay, 20240701);
    EXPECT_EQ(st.wHour, 12);
    EXPECT_EQ(st.wDayOfWeek, 1);
    EXPECT_EQ(CXTime::SystemTimeToUnixTime(st), JUILLET_MIDI_UTC);
}

TEST(XTimeZone, FileAndUnixTimesShowOnTheLocalWallClock) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    const bool bParis = eZone() == EZone::Paris;
    const CXTime clFichier(CXTime::UnixTimeToFileTime(JUILLET_MIDI_UTC), -1);
    EXPECT_EQ(sComplet(clFichier), bParis ? L"20240701140000000" : L"20240701120000000");
    _FILETIME stRetour{};
    EXPECT_TRUE(clFichier.bGetAsFileTime(stRetour));
    EXPECT_EQ(CXTime::FileTimeToUnixTime(stRetour), JUILLET_MIDI_UTC);
    EXPECT_EQ(sComplet(CXTime(JUILLET_MIDI_UTC)), bParis ? L"20240701140000000" : L"20240701120000000");
    CXTime cl;
    cl.SetUTCTime(JUILLET_MIDI_UTC);
    EXPECT_EQ(sComplet(cl), L"20240701120000000");
    cl.SetTime(-1L);
    EXPECT_EQ(cl.nGetTimeTm().tm_year, -1900);
    // Across the spring change: 00:59 UTC is 01:59 in Paris, 01:00 UTC already 03:00.
    tm stUtc{}, stLocal{};
    stUtc.tm_year = 124, stUtc.tm_mon = 2, stUtc.tm_mday = 31, stUtc.tm_hour = 1;
    CXTime::UTC2Local(stUtc, stLocal);
    EXPECT_EQ(stLocal.tm_hour, bParis ? 3 : 1);
    stLocal.tm_isdst = -1;
    tm stRetourUtc{};
    CXTime::Local2UTC(stLocal, stRetourUtc);
    EXPECT_EQ(stRetourUtc.tm_hour, 1);
    EXPECT_EQ(stRetourUtc.tm_mday, 31);
}

// The offset comes from mktime of a UTC breakdown marked as standard time, so it is the zone's
// standard offset in winter and in summer alike, and the _UTC readings apply it whatever the date.
TEST(XTimeZone, OffsetOfNowIsAppliedWhateverTheDate) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    const long nStandard = eZone() == EZone::Paris ? 3600 : 0;
    CClockFige clHorloge(JANVIER_UTC_MS);
    CClockSourceScope clScope(&clHorloge);
    EXPECT_EQ(CXTime::__s_nGetOffsetMkTime(), nStandard);
    clHorloge.SetMaintenant(JUILLET_MIDI_UTC * 1000LL);
    EXPECT_EQ(CXTime::__s_nGetOffsetMkTime(), nStandard);
    const CXTime clMidi(2024, 7, 1, 12, 0, 0, 0);
    EXPECT_EQ(clMidi.nGetTime32_t_UTC(), JUILLET_MIDI_UTC);
    const CXTime clMidiEte(2024, 7, 1, 14, 0, 0, -1);
    EXPECT_EQ(clMidiEte.nGetTime32_t(), eZone() == EZone::Paris ? JUILLET_MIDI_UTC : JUILLET_MIDI_UTC + 7200);
}

TEST(XTimeComparaison, FieldsInOrderThenMilliseconds) {
    CXTime clA(2024, 3, 15, 10, 0, 0, 0);
    const CXTime clB(2024, 3, 15, 10, 0, 0, 0), clC(2023, 12, 31, 23, 59, 59, 0);
    EXPECT_TRUE(clA >= clB && !(clA > clB));
    clA.bSetZKTime(L"100000001");
    EXPECT_TRUE(clA > clB);
    EXPECT_LT(CXTime::snCompare(&clC.nGetTimeTm(), &clB.nGetTimeTm()), 0);
}

TEST(XTimeHorloge, NowComesFromTheClockAndSettingItIsRecordedOrRefused) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    CClockFige clHorloge(JUILLET_MIDI_UTC * 1000LL + 250);
    CClockSourceScope clScope(&clHorloge);
    EXPECT_EQ(CXTime::nGetCurrentTime(), JUILLET_MIDI_UTC);
    _SYSTEMTIME st{};
    CXTime::nGetCurrentTime(&st);
    EXPECT_EQ(st.wHour, eZone() == EZone::Paris ? 14 : 12);
    EXPECT_EQ(st.wMilliseconds, 250);
    CXTime cl;
    cl.SetFromUTCTime();
    EXPECT_EQ(sComplet(cl), L"20240701120000250");
    const CXTime clReglage(2024, 10, 27, 3, 30, 0, -1);  // after the autumn change in Paris
    EXPECT_TRUE(clReglage.bInitLocalTime());
    EXPECT_EQ(clHorloge.nGetNbReglage(), 1);
    EXPECT_EQ(clHorloge.nGetDernierReglage(), (eZone() == EZone::Paris ? 1729996200LL : 1729999800LL) * 1000);
    clHorloge.SetRefus(EPERM);
    errno = 0;
    EXPECT_FALSE(clReglage.bInitLocalTime());
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(clHorloge.nGetNbReglage(), 1);
}

}  // namespace
