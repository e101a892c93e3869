// The language's date functions through the stand-in machine: date-time and duration arguments, the calendar service between zones, masks in French and in English.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/calendar.h"
#include "host/machine.h"
#include "tests/machine_fixture.h"
#include "host/vm.h"

namespace ovhost {
namespace {

bool bParis() {
    const char* psz = std::getenv("TZ");
    return psz != nullptr && std::string(psz) == "Europe/Paris";
}

CValue clDateHeure(const wchar_t* psz) {
    CValue cl;
    cl.eKind = EValueKind::DateTime;
    cl.sText = psz;
    return cl;
}

class DatesEndToEnd : public MachineEndToEnd {
protected:
    void TearDown() override { CMachineServices::s_Instance().clInfoLangue().SetLangue(CInfoLangue::LANGUE_FRANCAIS); }
    std::wstring sText(const char* pszName, std::vector<CValue> tab) {
        const STCallOutcome st = stCall(pszName, std::move(tab));
        EXPECT_FALSE(st.bError) << pszName << ": " << std::string(st.stError.sMessage.begin(), st.stError.sMessage.end());
        return st.clResult.sText;
    }

};

TEST_F(DatesEndToEnd, CalendarFunctionsOnTexts) {
    EXPECT_EQ(sText("Paques", {CValue::Int(2024)}), L"20240331");
    EXPECT_EQ(sText("Paques", {CValue::Text(L"2025")}), L"20250420");
    EXPECT_EQ(stCall("NumeroDeSemaine", {CValue::Text(L"20240315")}).clResult.nInteger, 11);
    EXPECT_EQ(stCall("NumeroDeSemaine", {CValue::Text(L"20240315"), CValue::Text(L"<ISO8601>")}).clResult.nInteger, 11);
}

TEST_F(DatesEndToEnd, MasksBothWaysInEachLanguage) {
    struct {
        int nLine;
        CInfoLangue::ELangue eLangue;
        const wchar_t* pszValeur;
        const wchar_t* pszMasque;
        const wchar_t* pszAttendu;
    } const tabCases[] = {
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, L"20240315", L"JJ/MM/AAAA", L"15/03/2024"},
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, L"20240315", L"JJJJ JJ MMMM AAAA", L"vendredi 15 mars 2024"},
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, L"20240815", L"JJ MMMM AAAA", L"15 août 2024"},
        {__LINE__, CInfoLangue::LANGUE_ANGLAIS, L"20240315", L"JJJJ JJ MMMM AAAA", L"Friday 15 March 2024"},
        {__LINE__, CInfoLangue::LANGUE_FRANCAIS, L"20240315143005", L"JJ/MM/AAAA HH:mm:SS", L"15/03/2024 14:30:05"},
    };
    for (const auto& st : tabCases) {
        CMachineServices::s_Instance().clInfoLangue().SetLangue(st.eLangue);
        EXPECT_EQ(sText("DateVersChaine", {CValue::Text(st.pszValeur), CValue::Text(st.pszMasque)}), st.pszAttendu)
            << "line " << st.nLine;
        EXPECT_EQ(sText("ChaineVersDate", {CValue::Text(st.pszAttendu), CValue::Text(st.pszMasque)}),
                  std::wstring(st.pszValeur).substr(0, 8) == st.pszValeur ? std::wstring(st.pszValeur)
                                                                          : std::wstring(st.pszValeur) + L"000")
            << "back, line " << st.nLine;
    }
}

TEST_F(DatesEndToEnd, DefaultMasksAndTimes) {
    EXPECT_EQ(sText("DateVersChaine", {CValue::Text(L"20240315")}), L"15/03/2024");
    EXPECT_EQ(sText("ChaineVersDate", {CValue::Text(L"15/03/2024")}), L"20240315");
    EXPECT_EQ(sText("DateVersChaine", {CValue::Text(L"________")}), L"");
    EXPECT_EQ(sText("HeureVersChaine", {CValue::Text(L"14300512")}), L"14:30:05:12");
    EXPECT_EQ(sText("HeureVersChaine", {CValue::Text(L"14300512"), CValue::Text(L"HH:MM AP")}), L"02:30 PM");
    EXPECT_EQ(sText("HeureVersChaine", {CValue::Text(L"00150000"), CValue::Text(L"hh:mm ap")}), L"12:15 AM");
    EXPECT_EQ(sText("ChaineVersHeure", {CValue::Text(L"14:30:05:12")}), L"14300512");
}

TEST_F(DatesEndToEnd, BadDatesRaiseTheirNumbers) {
    struct {
        int nLine;
        const wchar_t* pszValeur;
        int nErreur;
    } const tabCases[] = {
        {__LINE__, L"20240230", 80126},        // past the month's end
        {__LINE__, L"20230229", 80127},        // 29 February of a common year
        {__LINE__, L"2024031", 80134},         // too short
        {__LINE__, L"202403151230000001", 81842},  // too long
        {__LINE__, L"2024031512300a", 80128},  // a time with a letter
    };
    for (const auto& st : tabCases) {
        const STCallOutcome stOut = stCall("DateVersChaine", {CValue::Text(st.pszValeur), CValue::Text(L"JJ/MM/AAAA")});
        EXPECT_TRUE(stOut.bError) << "line " << st.nLine;
        EXPECT_EQ(stOut.stError.nCode, st.nErreur) << "line " << st.nLine;
        EXPECT_EQ(stOut.clResult.sText, L"") << "line " << st.nLine;
    }
}

TEST_F(DatesEndToEnd, ZonesAcrossTheLastSundayOfMarch) {
    // New York has changed its clocks already; Paris changes at 01:00 UTC on 31 March 2024.
    struct {
        int nLine;
        CValue clValeur;
        const wchar_t* pszParis;
        const wchar_t* pszUtc;
    } const tabCases[] = {
        {__LINE__, clDateHeure(L"20240330120000000"), L"20240330170000000", L"20240330160000000"},
        {__LINE__, clDateHeure(L"20240331120000250"), L"20240331180000250", L"20240331160000250"},
        {__LINE__, CValue::Text(L"20240331"), L"20240331060000000", L"20240331040000000"},
    };
    for (const auto& st : tabCases) {
        EXPECT_EQ(sText("DateHeureFuseauVersLocale", {st.clValeur, CValue::Text(L"America/New_York")}),
                  bParis() ? st.pszParis : st.pszUtc)
            << "line " << st.nLine;
    }
    // And the other way: 03:00 local on the day of the change is 01:00 UTC in Paris.
    EXPECT_EQ(sText("DateHeureLocaleVersFuseau", {clDateHeure(L"20240331030000000"), CValue::Text(L"Asia/Tokyo")}),
              bParis() ? L"20240331100000000" : L"20240331120000000");
}

TEST_F(DatesEndToEnd, UnknownZonesAreRefused) {
    for (const wchar_t* pszZone : {L"Mars/Olympus_Mons", L"../../etc/passwd", L"Europe/Paris;ls", L"/etc/localtime"}) {
        const STCallOutcome st = stCall("DateHeureLocaleVersFuseau", {clDateHeure(L"20240331030000000"), CValue::Text(pszZone)});
        EXPECT_TRUE(st.bError);
        EXPECT_EQ(st.stError.nCode, 81865) << std::string(pszZone, pszZone + std::wcslen(pszZone));
    }
    // A time alone is no date-time: no overload takes it.
    CValue clHeure;
    clHeure.eKind = EValueKind::Time;
    clHeure.sText = L"12000000";
    std::vector<CValue> tab{clHeure, CValue::Text(L"Asia/Tokyo")};
    STCallOutcome st;
    std::string sError;
    EXPECT_FALSE(m_cl.bCall("DateHeureLocaleVersFuseau", tab, &st, &sError));
}

TEST_F(DatesEndToEnd, NowAndTheClockIntoADateTimeByReference) {
    const STCallOutcome st = stCall("Maintenant", {});
    ASSERT_EQ(st.clResult.eKind, EValueKind::Multiple);
    ASSERT_EQ(st.clResult.tabMembers.size(), 4u);
    EXPECT_EQ(st.clResult.tabMembers[0].sText.size(), 8u);
    EXPECT_EQ(st.clResult.tabMembers[1].eKind, EValueKind::DateTime);
    EXPECT_EQ(st.clResult.tabMembers[1].sText.substr(0, 8), st.clResult.tabMembers[2].sText);

    std::vector<CValue> tab{clDateHeure(L"18000101000000000")};
    STCallOutcome stHeure;
    std::string sError;
    ASSERT_TRUE(m_cl.bCall("HeureSys", tab, &stHeure, &sError)) << sError;
    ASSERT_EQ(tab[0].eKind, EValueKind::DateTime);
    EXPECT_EQ(tab[0].sText.size(), 17u);
    EXPECT_EQ(tab[0].sText.substr(8, 6), stHeure.clResult.sText.substr(0, 6)) << "written back from the same reading";
    EXPECT_NE(tab[0].sText.substr(0, 4), L"1800");
}

}  // namespace
}  // namespace ovhost
