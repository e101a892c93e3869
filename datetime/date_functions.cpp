// The language's calendar primitives (day numbers, validation, weeks, Easter) and the date
// functions that are pure arithmetic on texts and numbers.
#include "datetime/date_functions.h"

#include <cwchar>

#include "base/error.h"
#include "component/thunk.h"
#include "datetime/date_mask.h"
#include "datetime/date_text.h"
#include "system/clock.h"

namespace ovjour {

namespace {
constexpr uint8_t gabyLongueurs[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
// Days from 1 January 1970 to 1 January 1800 are -62091; day number 1 is that day.
constexpr int64_t DECALAGE_1970 = 62092;
}  // namespace

int nBissextille(short nAnnee) noexcept {
    return (nAnnee % 4 == 0 && nAnnee % 100 != 0) || nAnnee % 400 == 0 ? 1 : 0;
}

int nLongueurMois(int nMois, int nAnnee) noexcept {
    if (nMois < 1 || nMois > 12) return 0;
    if (nMois == 2) return 28 + ((nAnnee % 4 == 0 && nAnnee % 100 != 0) || nAnnee % 400 == 0 ? 1 : 0);
    return gabyLongueurs[nMois - 1];
}

bool JourGregorien(int nJour, int nMois, int nAnnee, long* pnNumero) noexcept {
    if (nAnnee < 0 || nMois < 1 || nMois > 12 || nJour < 1 || nJour > nLongueurMois(nMois, nAnnee)) return false;
    *pnNumero = static_cast<long>(CClock::s_nJoursDepuis1970(nAnnee, nMois, nJour) + DECALAGE_1970) + 1;
    return true;
}

long NumJourGreg(int nJour, int nMois, int nAnnee) noexcept {
    long n = 0;
    return JourGregorien(nJour, nMois, nAnnee, &n) ? n - 1 : 0;
}

bool bNumEnDate(long nNumero, short* pnJour, short* pnMois, short* pnAnnee, CXError* pclErreur) noexcept {
    // Outside years 1 to 32767 the short year cannot hold the answer.
    if (nNumero < 1 - DECALAGE_ORDINAL || nNumero > 11'309'000L) return false;
    int64_t nAnnee = 0;
    int nMois = 0, nJour = 0;
    CClock::s_DateDepuisJours(nNumero - DECALAGE_1970, &nAnnee, &nMois, &nJour);
    if (nAnnee < 1 || nAnnee > 32767) return false;
    *pnJour = static_cast<short>(nJour);
    *pnMois = static_cast<short>(nMois);
    *pnAnnee = static_cast<short>(nAnnee);
    if (pclErreur != nullptr) pclErreur->RAZ();
    return true;
}

int nJourSemaine(long nNumero) noexcept {
    const long n = (nNumero + DECALAGE_ORDINAL) % 7;
    return static_cast<int>(n < 0 ? n + 7 : n);
}

bool bDateVerif(int nAnnee, int nMois, int nJour, CXError* pclErreur) noexcept {
    int nNumero = 0, nParam = 0;
    if (nAnnee == 0) {
        nNumero = 80123;
    } else if (nAnnee == 1582 && nMois == 8 && nJour >= 5 && nJour <= 14) {
        nNumero = 80124;
    } else if (nMois < 1 || nMois > 12) {
        nNumero = 80125;
    } else if (nJour < 1 || nJour > (nMois == 2 ? 29 : gabyLongueurs[nMois - 1])) {
        nNumero = 80126;
        nParam = nMois == 2 ? 29 : gabyLongueurs[nMois - 1];
    } else if (nMois == 2 && nJour == 29 && nBissextille(static_cast<short>(nAnnee)) == 0) {
        nNumero = 80127;
        nParam = nAnnee;
    } else {
        return true;
    }
    if (pclErreur != nullptr) pclErreur->SetUserError(&gstMyModuleInfo8, nNumero, nParam);
    return false;
}

bool bDateVerif(const wchar_t* pszTexte, short* pnAnnee, short* pnMois, short* pnJour, CXError* pclErreur) noexcept {
    // A date is checked on every display: eight digits then the end go straight through. The
    // ninth character is read only after eight digits, so never past a terminator.
    if (pszTexte != nullptr) {
        int an[8];
        int i = 0;
        for (; i < 8; ++i) {
            const unsigned int nChiffre = static_cast<unsigned int>(pszTexte[i]) - L'0';
            if (nChiffre > 9) break;
            an[i] = static_cast<int>(nChiffre);
        }
        if (i == 8 && pszTexte[8] == 0) {
            const int nAnnee = an[0] * 1000 + an[1] * 100 + an[2] * 10 + an[3];
            const int nMois = an[4] * 10 + an[5];
            const int nJour = an[6] * 10 + an[7];
            if (!bDateVerif(nAnnee, nMois, nJour, pclErreur)) return false;
            *pnAnnee = static_cast<short>(nAnnee);
            *pnMois = static_cast<short>(nMois);
            *pnJour = static_cast<short>(nJour);
            return true;
        }
    }
    // Anything else says what is wrong with it, the length first. Measured only up to one past
    // the expected length: the answer is the same.
    size_t nLongueur = 0;
    if (pszTexte != nullptr)
        while (nLongueur < 9 && pszTexte[nLongueur] != 0) ++nLongueur;
    // The wrong length, else eight characters that are not all digits.
    if (pclErreur != nullptr) pclErreur->SetUserError(&gstMyModuleInfo8, nLongueur != 8 ? 80121 : 80122);
    return false;
}

bool bHeureVerif(const wchar_t* pszTexte, short* pnHeure, short* pnMinute, short* pnSeconde, short* pnCentieme,
                 short* pnMillieme, CXError* pclErreur) noexcept {
    if (pszTexte == nullptr) pszTexte = L"";
    wchar_t sz[10];
    size_t i = 0;
    for (; i < 9 && pszTexte[i] != 0; ++i) {
        if (pszTexte[i] < L'0' || pszTexte[i] > L'9') {
            if (pclErreur != nullptr) pclErreur->SetUserError(&gstMyModuleInfo8, 80128, pszTexte);
            return false;
        }
        sz[i] = pszTexte[i];
    }
    for (; i < 9; ++i) sz[i] = L'0';
    auto nLit = [&sz](int nPos, int nLargeur) {
        int n = 0;
        for (int k = 0; k < nLargeur; ++k) n = n * 10 + (sz[nPos + k] - L'0');
        return n;
    };
    const int nHeure = nLit(0, 2), nMinute = nLit(2, 2), nSeconde = nLit(4, 2), nMilli = nLit(6, 3);
    int nNumero = 0, nParam = 0;
    if (nSeconde >= 60) {
        nNumero = 80129;
        nParam = nSeconde;
    } else if (nMinute >= 60) {
        nNumero = 80130;
        nParam = nMinute;
    } else if (nHeure >= 24) {
        nNumero = 80131;
        nParam = nHeure;
    }
    if (nNumero != 0) {
        if (pclErreur != nullptr) pclErreur->SetUserError(&gstMyModuleInfo8, nNumero, nParam);
        return false;
    }
    if (pnHeure) *pnHeure = static_cast<short>(nHeure);
    if (pnMinute) *pnMinute = static_cast<short>(nMinute);
    if (pnSeconde) *pnSeconde = static_cast<short>(nSeconde);
    if (pnCentieme) *pnCentieme = static_cast<short>(nMilli / 10);
    if (pnMillieme) *pnMillieme = static_cast<short>(nMilli);
    return true;
}

int nNumeroSemaine(long nNumero) noexcept {
    short nJ = 0, nM = 0, nA = 0;
    if (!bNumEnDate(nNumero, &nJ, &nM, &nA, nullptr)) return -1;
    const long j = NumJourGreg(1, 1, nA);
    const int w = nJourSemaine(j);
    if (w >= 1 && w <= 4) return static_cast<int>((nNumero - 1 - j + w) / 7 + 1);
    const long nDecalage = w == 0 ? 1 : 8 - w;
    const long d = nNumero - j;
    return d < nDecalage ? 0 : static_cast<int>((d - nDecalage) / 7 + 1);
}

int nNumeroSemaineISO(long nNumero) noexcept {
    short nJ = 0, nM = 0, nA = 0;
    if (!bNumEnDate(nNumero, &nJ, &nM, &nA, nullptr) || nA < 2) return -1;
    const long j = NumJourGreg(1, 1, nA);
    const int w = nJourSemaine(j);
    long m = w == 1 ? j : (w == 0 ? j + 1 : j + 8 - w);
    // A year starting Tuesday to Thursday has its first week's Monday in the year before.
    if (w >= 2 && w <= 4) m -= 7;
    const long d = nNumero - m;
    if (d < 0) return nNumeroSemaineISO(NumJourGreg(31, 12, nA - 1));
    const int nSemaine = static_cast<int>(d / 7 + 1);
    if (nSemaine != 53) return nSemaine;
    // The last days of the year belong to the next one's first week from Tuesday to Thursday;
    // a Monday stays in week 53.
    const int wDate = nJourSemaine(nNumero);
    return wDate >= 2 && wDate <= 4 ? 1 : 53;
}

bool bPaques(int nAnnee, int* pnMois, int* pnJour) noexcept {
    if (nAnnee < 1583 || nAnnee > 9999) return false;
    // Shifting by a whole number of Gregorian cycles keeps the result and every term positive.
    const long Y = nAnnee + 5'700'000L;
    const long a = Y % 19, b = Y / 100, c = Y % 100, d = b / 4, e = b % 4, f = (b + 8) / 25;
    const long g = (b - f + 1) / 3, h = (19 * a + b - d - g + 15) % 30, i = c / 4, k = c % 4;
    const long l = (32 + 2 * e + 2 * i - h - k) % 7, m = (a + 11 * h + 22 * l) / 451;
    *pnMois = static_cast<int>((h + l - 7 * m + 114) / 31);
    *pnJour = static_cast<int>((h + l - 7 * m + 114) % 31 + 1);
    return true;
}

}  // namespace ovjour
