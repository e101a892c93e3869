// Durations: the fixed text forms both ways, and user formats read from the end and written by
// textual replacement.
#include "datetime/duration.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

constexpr int64_t J = 86'400'000, H = 3'600'000, MN = 60'000, S = 1000;

std::wstring sTexte(const CXYString<wchar_t>& cl) { return cl.pszGet(); }

TEST(DureeFixe, ReadsFromTheEndWithOneSignInFront) {
    const struct {
        int nLigne;
        const wchar_t* pszTexte;
        bool bCentieme;
        int nErreur;
        int64_t nAttendu;
    } tab[] = {
        {__LINE__, L"1020304005", false, 0, J + 2 * H + 3 * MN + 4 * S + 5},
        {__LINE__, L"-1020304005", false, 0, -(J + 2 * H + 3 * MN + 4 * S + 5)},
        {__LINE__, L"+0000000001", false, 0, 1},
        {__LINE__, L"\xFF0D" L"0000000001", false, 0, -1},
        {__LINE__, L"\xFF0B" L"1230000000000", false, 0, 1230 * J},
        {__LINE__, L"102030405", true, 0, J + 2 * H + 3 * MN + 4 * S + 50},
        {__LINE__, L"-000000099", true, 0, -990},
        {__LINE__, L"020304005", false, DATETIME_ERREUR_DUREE_COURTE, 7},
        {__LINE__, L"-020304005", false, DATETIME_ERREUR_DUREE_COURTE, 7},
        {__LINE__, L"02030405", true, DATETIME_ERREUR_DUREE_COURTE, 7},
        {__LINE__, L"10203040x5", false, DATETIME_ERREUR_DUREE_COURTE, 7},
        {__LINE__, L"1 020304005", false, DATETIME_ERREUR_DUREE_COURTE, 7},
        {__LINE__, L"99999999999999999999000000000", false, DATETIME_ERREUR_DUREE_COURTE, 7},
        {__LINE__, L"", false, DATETIME_ERREUR_DUREE_COURTE, 7},
    };
    for (const auto& st : tab) {
        CDuree cl(7);
        const int nErreur = st.bCentieme ? cl.nDepuisChaineCentieme(st.pszTexte) : cl.nDepuisChaine(st.pszTexte);
        EXPECT_EQ(nErreur, st.nErreur) << "line " << st.nLigne;
        EXPECT_EQ(cl.nGetMillisecondes(), st.nAttendu) << "line " << st.nLigne;
    }
    CDuree cl(7);
    EXPECT_EQ(cl.nDepuisChaine(nullptr), DATETIME_ERREUR_DUREE_COURTE);
    const CZKBIN clBinaire("0000000012345", 13);
    EXPECT_EQ(cl.nDepuisBinaire(&clBinaire), 0);
    EXPECT_EQ(cl.nGetMillisecondes(), 12 * S + 345);
}

TEST(DureeFixe, WritesTheSignOnceAndRoundsHundredthsToNearest) {
    const struct {
        int nLigne;
        int64_t nDuree;
        const wchar_t* pszMillieme;
        const wchar_t* pszCentieme;
    } tab[] = {
        {__LINE__, J + 2 * H + 3 * MN + 4 * S + 5, L"1020304005", L"102030401"},
        {__LINE__, -(2 * J + 59 * S + 994), L"-2000059994", L"-200005999"},
        {__LINE__, 995, L"0000000995", L"0000000100"},
        {__LINE__, 0, L"0000000000", L"000000000"},
        {__LINE__, 40000 * J, L"40000000000000", L"4000000000000"},
        {__LINE__, INT64_MIN, L"-106751991167071255808", L"-10675199116707125581"},
    };
    for (const auto& st : tab) {
        const CDuree cl(st.nDuree);
        CXYString<wchar_t> clTexte;
        ASSERT_EQ(cl.nVersChaine(&clTexte), 0);
        EXPECT_EQ(sTexte(clTexte), st.pszMillieme) << "line " << st.nLigne;
        ASSERT_EQ(cl.nVersChaineCentieme(&clTexte), 0);
        EXPECT_EQ(sTexte(clTexte), st.pszCentieme) << "line " << st.nLigne;
        if (st.nDuree != INT64_MIN) {
            CDuree clRelu;
            ASSERT_EQ(clRelu.nDepuisChaine(st.pszMillieme), 0) << "line " << st.nLigne;
            EXPECT_EQ(clRelu.nGetMillisecondes(), st.nDuree) << "line " << st.nLigne;
        }
    }
    const CDuree cl(-(3 * H + 7));
    wchar_t* psz = cl.pszCreeChaine();
    EXPECT_STREQ(psz, L"-0030000007");
    std::free(psz);
    CZKBIN clBinaire;
    ASSERT_EQ(cl.nVersBinaire(&clBinaire, 5), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(clBinaire.pbyGet()), 5), "-0030");
    EXPECT_EQ(CDureeBase::nCompare(CDuree(-1), CDuree(1)), -1);
    EXPECT_EQ(CDureeBase::nCompare(CDuree(INT64_MAX), CDuree(INT64_MIN)), 1);
}

TEST(DureeFormat, ReadsTheTokensFromTheEndOfBothTexts) {
    const struct {
        int nLigne;
        const wchar_t* pszTexte;
        const wchar_t* pszFormat;
        int64_t nAttendu;
    } tab[] = {
        {__LINE__, L"3 04:05:06.789", L"J HH:MM:SS.LLL", 3 * J + 4 * H + 5 * MN + 6 * S + 789},
        {__LINE__, L"-0130", L"+HHMM", -(H + 30 * MN)},
        {__LINE__, L"+0130", L"+HHMM", H + 30 * MN},
        {__LINE__, L"12:34.5", L"MM:SS.L", 12 * MN + 34 * S + 500},
        {__LINE__, L"12:34.56", L"MM:SS.LL", 12 * MN + 34 * S + 560},
        {__LINE__, L"1234567 j", L"JJ j", 1234567 * J},
        {__LINE__, L"Durée 𝄞 02h07", L"Durée 𝄞 HHhMM", 2 * H + 7 * MN},
        {__LINE__, L"07", L"HH:MM", 7 * MN},
        {__LINE__, L"anything", L"", 0},
    };
    for (const auto& st : tab) {
        CDuree cl(99);
        EXPECT_EQ(nChaineVersDuree(&cl, st.pszTexte, st.pszFormat), 0) << "line " << st.nLigne;
        EXPECT_EQ(cl.nGetMillisecondes(), st.nAttendu) << "line " << st.nLigne;
    }
    CDuree cl(99);
    EXPECT_EQ(nChaineVersDuree(&cl, L"999999999999999999999", L"J"), DATETIME_ERREUR_DUREE_COURTE);
    EXPECT_EQ(cl.nGetMillisecondes(), 99);
}

TEST(DureeFormat, ReplacesTheLettersEverywhereTheyStand) {
    const int64_t nDuree = 3 * J + 4 * H + 5 * MN + 6 * S + 789;
    const struct {
        int nLigne;
        int64_t nDuree;
        const wchar_t* pszFormat;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, nDuree, L"J HH:MM:SS.LLL", L"3 04:05:06.789"},
        {__LINE__, -nDuree, L"+J HH:MM:SS.LL", L"-3 04:05:06.78"},
        {__LINE__, nDuree, L"+HHhMM.L", L"04h05.7"},
        {__LINE__, 45 * J, L"J jours", L"45 jours"},
        // The replacement is textual: letters inside words change too.
        {__LINE__, nDuree, L"Durée : HH heures MM 𝄞", L"Durée : 04 heures 05 𝄞"},
        {__LINE__, nDuree, L"MMe J", L"05e 3"},
        {__LINE__, nDuree, L"", L""},
    };
    for (const auto& st : tab) {
        const CDuree cl(st.nDuree);
        CXYString<wchar_t> clTexte;
        EXPECT_EQ(nDureeVersChaine(&cl, &clTexte, st.pszFormat), 0) << "line " << st.nLigne;
        EXPECT_EQ(sTexte(clTexte), st.pszAttendu) << "line " << st.nLigne;
    }
}

}  // namespace
