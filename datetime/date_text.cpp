// Free functions on the text forms of dates and times: leap years, day numbers, validation,
// formats, differences and the passage between UTC and local time.
#include "datetime/date_text.h"

#include <cmath>
#include <ctime>

#include "base/wide_printf.h"
#include "datetime/internal/digits.h"

using datetime_internal::bChiffre;
using datetime_internal::bLitChiffres;
using datetime_internal::nLongueurBornee;

const int gnTabJourCumule[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
const int gnTabNbJourMoisBissextile[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

namespace {

constexpr int CENTIEMES_PAR_JOUR = 8'640'000;

int nDivEntiere(int n, int nDiviseur) noexcept {
    const int q = n / nDiviseur;
    return (n % nDiviseur != 0 && n < 0) ? q - 1 : q;
}

wchar_t cMajuscule(wchar_t c) noexcept { return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - 32) : c; }

// The format starts with the token, letters compared without regard to case.
bool bCommencePar(const wchar_t* pszFormat, const wchar_t* pszJeton) noexcept {
    for (; *pszJeton != 0; ++pszFormat, ++pszJeton)
        if (cMajuscule(*pszFormat) != *pszJeton) return false;
    return true;
}

bool bCommenceParUn(const wchar_t* pszFormat, const wchar_t* pszJeton1, const wchar_t* pszJeton2) noexcept {
    return bCommencePar(pszFormat, pszJeton1) || bCommencePar(pszFormat, pszJeton2);
}

// ---- handlers of bDateVersChaine, tried in this order at each position of the format

struct STEcriture {
    const wchar_t* pszDate;
    const wchar_t* pszFormat;
    wchar_t* pszSortie;
    size_t nReste;  // room left in the output, terminator excluded
};

using PFNTRAITEDATEFORMAT = bool (*)(STEcriture& st, bool* pbErreur);

bool bCopieSortie(STEcriture& st, const wchar_t* pszSource, size_t nLongueur, size_t nJeton, bool* pbErreur) noexcept {
    if (nLongueur > st.nReste) {
        *pbErreur = true;
        return true;
    }
    for (size_t i = 0; i < nLongueur; ++i) *st.pszSortie++ = pszSource[i];
    st.nReste -= nLongueur;
    st.pszFormat += nJeton;
    return true;
}

bool bTraiteDateFormatAnnee4(STEcriture& st, bool* pbErreur) noexcept {
    if (!bCommenceParUn(st.pszFormat, L"AAAA", L"YYYY")) return false;
    return bCopieSortie(st, st.pszDate, 4, 4, pbErreur);
}

bool bTraiteDateFormatAnnee2(STEcriture& st, bool* pbErreur) noexcept {
    if (!bCommenceParUn(st.pszFormat, L"AA", L"YY")) return false;
    return bCopieSortie(st, st.pszDate + 2, 2, 2, pbErreur);
}

bool bTraiteDateFormatMois(STEcriture& st, bool* pbErreur) noexcept {
    if (!bCommencePar(st.pszFormat, L"MM")) return false;
    return bCopieSortie(st, st.pszDate + 4, 2, 2, pbErreur);
}

bool bTraiteDateFormatJour(STEcriture& st, bool* pbErreur) noexcept {
    if (!bCommenceParUn(st.pszFormat, L"JJ", L"DD")) return false;
    return bCopieSortie(st, st.pszDate + 6, 2, 2, pbErreur);
}

bool bTraiteDateFormatAutre(STEcriture& st, bool* pbErreur) noexcept {
    return bCopieSortie(st, st.pszFormat, 1, 1, pbErreur);
}

constexpr PFNTRAITEDATEFORMAT gpfnbTabTraiteDateFormat[] = {
    bTraiteDateFormatAnnee4, bTraiteDateFormatAnnee2, bTraiteDateFormatMois, bTraiteDateFormatJour,
    bTraiteDateFormatAutre,
};

// ---- handlers of bChaineVersDate, the mirror table

struct STLecture {
    const wchar_t* pszTexte;
    const wchar_t* pszFormat;
    const wchar_t* pszAnnee = nullptr;
    const wchar_t* pszMois = nullptr;
    const wchar_t* pszJour = nullptr;
    // A two-digit year with its century; held per call so that two threads may parse at once.
    wchar_t tabAnnee[4] = {};
};

using PFNTRAITEDATE = bool (*)(STLecture& st);

// The text has at least n more characters.
bool bTexteA(const STLecture& st, size_t n) noexcept { return nLongueurBornee(st.pszTexte, n) == n; }

bool bTraiteDateAnnee(STLecture& st) noexcept {
    if (bCommenceParUn(st.pszFormat, L"AAAA", L"YYYY")) {
        if (!bTexteA(st, 4)) return false;
        st.pszAnnee = st.pszTexte;
        st.pszTexte += 4;
        st.pszFormat += 4;
        return true;
    }
    if (!bCommenceParUn(st.pszFormat, L"AA", L"YY")) return false;
    // "AAA": step over the first letter so that the rest is read as the shorter token.
    if (cMajuscule(st.pszFormat[2]) == cMajuscule(st.pszFormat[0])) {
        ++st.pszFormat;
        if (*st.pszTexte != 0) ++st.pszTexte;
        return true;
    }
    if (!bTexteA(st, 2)) return false;
    int nValeur = 0;
    const bool bNombre = bLitChiffres(st.pszTexte, 2, &nValeur);
    if (!bNombre) {
        // Right before a month the digits are taken as they come.
        if (!bCommencePar(st.pszFormat + 2, L"MM")) return false;
        nValeur = bChiffre(st.pszTexte[0]) ? st.pszTexte[0] - L'0' : 0;
    }
    st.tabAnnee[0] = nValeur > 50 ? L'1' : L'2';
    st.tabAnnee[1] = nValeur > 50 ? L'9' : L'0';
    st.tabAnnee[2] = st.pszTexte[0];
    st.tabAnnee[3] = st.pszTexte[1];
    st.pszAnnee = st.tabAnnee;
    st.pszTexte += 2;
    st.pszFormat += 2;
    return true;
}

bool bTraiteDateMois(STLecture& st) noexcept {
    if (!bCommencePar(st.pszFormat, L"MM") || !bTexteA(st, 2)) return false;
    st.pszMois = st.pszTexte;
    st.pszTexte += 2;
    st.pszFormat += 2;
    return true;
}

bool bTraiteDateJour(STLecture& st) noexcept {
    if (!bCommenceParUn(st.pszFormat, L"JJ", L"DD") || !bTexteA(st, 2)) return false;
    st.pszJour = st.pszTexte;
    st.pszTexte += 2;
    st.pszFormat += 2;
    return true;
}

// Always moves, so a format that matches nothing still comes to its end.
bool bTraiteDateAutre(STLecture& st) noexcept {
    ++st.pszFormat;
    if (*st.pszTexte != 0) ++st.pszTexte;
    return true;
}

constexpr PFNTRAITEDATE gpfnbTabTraiteDate[] = {bTraiteDateAnnee, bTraiteDateMois, bTraiteDateJour, bTraiteDateAutre};

}  // namespace

int nBissextille(int nAnnee) noexcept {
    if (nAnnee % 4 != 0) return 0;
    if (nAnnee <= 1582) return 1;
    return (nAnnee % 100 != 0 || nAnnee % 400 == 0) ? 1 : 0;
}

int nNombreDeJourDansLeMois(int nMois, int nAnnee) noexcept {
    if (nMois < 1 || nMois > 12) return 0;
    return nMois == 2 ? 28 + nBissextille(nAnnee) : gnTabNbJourMoisBissextile[nMois - 1];
}

bool bJourGregorien(int nJour, int nMois, int nAnnee, int* pnNumero) noexcept {
    int nNumero = 0;
    const bool bValide = nAnnee > 0 && nMois >= 1 && nMois <= 12 && nJour >= 1 &&
                         nJour <= nNombreDeJourDansLeMois(nMois, nAnnee);
    if (bValide) {
        const int y = nAnnee - 1;
        const int nBissextile = nBissextille(nAnnee);
        int nCorrection = 0;
        if (nJour <= 4 && nAnnee <= 1582 && nMois <= 11) {
            const int q = nAnnee / 100;
            nCorrection = nDivEntiere(q, 4) - q + 10;
        }
        nNumero = nJour + gnTabJourCumule[nMois - 1] - 657071 + 365 * y + nDivEntiere(y, 4) - y / 100 + y / 400 +
                  nCorrection + (nMois > 2 && nBissextile != 0 ? 1 : 0);
    }
    if (pnNumero != nullptr) *pnNumero = nNumero;
    return bValide;
}

bool bDateVersChaine(const wchar_t* pszDate, const wchar_t* pszFormat, wchar_t* pszSortie, size_t nTaille) noexcept {
    if (pszSortie == nullptr || nTaille == 0) return false;
    pszSortie[0] = 0;
    if (nLongueurBornee(pszDate, 8) < 8 || pszFormat == nullptr) return false;
    STEcriture st{pszDate, pszFormat, pszSortie, nTaille - 1};
    bool bErreur = false;
    while (*st.pszFormat != 0 && !bErreur) {
        for (PFNTRAITEDATEFORMAT pfn : gpfnbTabTraiteDateFormat)
            if (pfn(st, &bErreur)) break;
    }
    *st.pszSortie = 0;
    if (bErreur) pszSortie[0] = 0;
    return !bErreur;
}

bool bChaineVersDate(const wchar_t* pszTexte, const wchar_t* pszFormat, wchar_t* pszSortie) noexcept {
    if (pszTexte == nullptr || pszFormat == nullptr || pszSortie == nullptr) return false;
    STLecture st;
    st.pszTexte = pszTexte;
    st.pszFormat = pszFormat;
    while (*st.pszFormat != 0) {
        for (PFNTRAITEDATE pfn : gpfnbTabTraiteDate)
            if (pfn(st)) break;
    }
    if (st.pszAnnee == nullptr || st.pszMois == nullptr || st.pszJour == nullptr) return false;
    for (int i = 0; i < 4; ++i) pszSortie[i] = st.pszAnnee[i];
    pszSortie[4] = st.pszMois[0];
    pszSortie[5] = st.pszMois[1];
    pszSortie[6] = st.pszJour[0];
    pszSortie[7] = st.pszJour[1];
    pszSortie[8] = 0;
    return true;
}

bool bChaineVersDateFormatDefaut(const wchar_t* pszTexte, wchar_t* pszSortie) noexcept {
    if (pszSortie == nullptr || nLongueurBornee(pszTexte, 10) < 10) return false;
    const int tabPositions[8] = {6, 7, 8, 9, 3, 4, 0, 1};
    for (int i = 0; i < 8; ++i) pszSortie[i] = pszTexte[tabPositions[i]];
    pszSortie[8] = 0;
    return true;
}

bool bDateVerif(const wchar_t* pszTexte, int* pnAnnee, int* pnMois, int* pnJour) noexcept {
    if (nLongueurBornee(pszTexte, 9) != 8) return false;
    int nAnnee = 0, nMois = 0, nJour = 0;
    if (!bLitChiffres(pszTexte, 4, &nAnnee) || !bLitChiffres(pszTexte + 4, 2, &nMois) ||
        !bLitChiffres(pszTexte + 6, 2, &nJour))
        return false;
    if (pnAnnee != nullptr) *pnAnnee = nAnnee;
    if (pnMois != nullptr) *pnMois = nMois;
    if (pnJour != nullptr) *pnJour = nJour;
    if (nAnnee <= 0 || nMois < 1 || nMois > 12 || nJour < 1 || nJour > gnTabNbJourMoisBissextile[nMois - 1])
        return false;
    if (nMois == 2 && nJour == 29 && nBissextille(nAnnee) == 0) return false;
    // The days the calendar skipped, counted in the eleventh month as the language always has.
    if (nAnnee == 1582 && nMois == 11 && nJour >= 5 && nJour <= 14) return false;
    return true;
}

bool bDateValide(const wchar_t* pszTexte) noexcept { return bDateVerif(pszTexte, nullptr, nullptr, nullptr); }

bool bHeureVerif(const wchar_t* pszTexte, int* pnHeure, int* pnMinute, int* pnSeconde, int* pnCentieme) noexcept {
    wchar_t tabHeure[8];
    const size_t nLongueur = nLongueurBornee(pszTexte, 8);
    for (size_t i = 0; i < 8; ++i) tabHeure[i] = i < nLongueur ? pszTexte[i] : L'0';
    int nHeure = 0, nMinute = 0, nSeconde = 0, nCentieme = 0;
    if (!bLitChiffres(tabHeure, 2, &nHeure) || !bLitChiffres(tabHeure + 2, 2, &nMinute) ||
        !bLitChiffres(tabHeure + 4, 2, &nSeconde) || !bLitChiffres(tabHeure + 6, 2, &nCentieme))
        return false;
    if (pnHeure != nullptr) *pnHeure = nHeure;
    if (pnMinute != nullptr) *pnMinute = nMinute;
    if (pnSeconde != nullptr) *pnSeconde = nSeconde;
    if (pnCentieme != nullptr) *pnCentieme = nCentieme;
    return nHeure < 24 && nMinute < 60 && nSeconde < 60;
}

bool bHeureValide(const wchar_t* pszTexte) noexcept { return bHeureVerif(pszTexte, nullptr, nullptr, nullptr, nullptr); }

bool bExtraitDateHeure(const wchar_t* pszTexte, wchar_t* pszDate, wchar_t* pszHeure) noexcept {
    if (pszDate == nullptr || pszHeure == nullptr || nLongueurBornee(pszTexte, 8) < 8) return false;
    for (int i = 0; i < 8; ++i) pszDate[i] = pszTexte[i];
    pszDate[8] = 0;
    const size_t nHeure = nLongueurBornee(pszTexte + 8, 8);
    for (size_t i = 0; i < nHeure; ++i) pszHeure[i] = pszTexte[8 + i];
    pszHeure[nHeure] = 0;
    return true;
}

bool bDateHeureValide(const wchar_t* pszTexte) noexcept {
    wchar_t tabDate[DATE_TAILLE_TEXTE], tabHeure[HEURE_TAILLE_TEXTE];
    return bExtraitDateHeure(pszTexte, tabDate, tabHeure) && bDateValide(tabDate) && bHeureValide(tabHeure);
}

bool bNbJour(const wchar_t* pszDate, int* pnNumero) noexcept {
    int nAnnee = 0, nMois = 0, nJour = 0;
    if (!bDateVerif(pszDate, &nAnnee, &nMois, &nJour)) return false;
    return bJourGregorien(nJour, nMois, nAnnee, pnNumero);
}

bool bNbCentieme(const wchar_t* pszHeure, int* pnCentieme) noexcept {
    int nHeure = 0, nMinute = 0, nSeconde = 0, nCentieme = 0;
    if (!bHeureVerif(pszHeure, &nHeure, &nMinute, &nSeconde, &nCentieme)) return false;
    if (pnCentieme != nullptr) *pnCentieme = nHeure * 360'000 + nMinute * 6'000 + nSeconde * 100 + nCentieme;
    return true;
}

bool bJourCentieme(const wchar_t* pszDateHeure, int* pnNumero, int* pnCentieme) noexcept {
    wchar_t tabDate[DATE_TAILLE_TEXTE], tabHeure[HEURE_TAILLE_TEXTE];
    return bExtraitDateHeure(pszDateHeure, tabDate, tabHeure) && bNbJour(tabDate, pnNumero) &&
           bNbCentieme(tabHeure, pnCentieme);
}

bool bDateDifference(const wchar_t* pszA, const wchar_t* pszB, int* pnJours) noexcept {
    int nA = 0, nB = 0;
    if (!bNbJour(pszA, &nA) || !bNbJour(pszB, &nB)) return false;
    if (pnJours != nullptr) *pnJours = nB - nA;
    return true;
}

bool bHeureDifference(const wchar_t* pszA, const wchar_t* pszB, int* pnCentiemes) noexcept {
    int nA = 0, nB = 0;
    if (!bNbCentieme(pszA, &nA) || !bNbCentieme(pszB, &nB)) return false;
    if (pnCentiemes != nullptr) *pnCentiemes = nB - nA;
    return true;
}

bool bDateHeureDifference(const wchar_t* pszA, const wchar_t* pszB, wchar_t* pszSortie) noexcept {
    if (pszSortie == nullptr) return false;
    pszSortie[0] = 0;
    int nJourA = 0, nCentiemeA = 0, nJourB = 0, nCentiemeB = 0;
    if (!bJourCentieme(pszA, &nJourA, &nCentiemeA) || !bJourCentieme(pszB, &nJourB, &nCentiemeB)) return false;
    const double dDifference = (static_cast<double>(nJourB) * CENTIEMES_PAR_JOUR + nCentiemeB) -
                               (static_cast<double>(nJourA) * CENTIEMES_PAR_JOUR + nCentiemeA);
    double dReste = std::fabs(dDifference);
    const double dJours = std::trunc(dReste / CENTIEMES_PAR_JOUR);
    dReste -= dJours * CENTIEMES_PAR_JOUR;
    const double dHeures = std::trunc(dReste / 360'000);
    dReste -= dHeures * 360'000;
    const double dMinutes = std::trunc(dReste / 6'000);
    dReste -= dMinutes * 6'000;
    const double dSecondes = std::trunc(dReste / 100);
    dReste -= dSecondes * 100;
    // The layout of the result is itself printed from widths, as it always was.
    wchar_t tabFormat[48];
    snwprintfWin(tabFormat, 48, L"%%s%%0%dd%%0%dd%%0%dd%%0%dd%%0%dd", 7, 2, 2, 2, 2);
    snwprintfWin(pszSortie, DIFFERENCE_TAILLE_TEXTE, tabFormat, dDifference < 0 ? L"-" : L"+", static_cast<int>(dJours),
                 static_cast<int>(dHeures), static_cast<int>(dMinutes), static_cast<int>(dSecondes),
                 static_cast<int>(dReste));
    return true;
}

bool bUTCVersLocal(const _SYSTEMTIME* pstUtc, _SYSTEMTIME* pstLocal) noexcept {
    if (pstUtc == nullptr || pstLocal == nullptr || pstUtc->wYear == 0 || pstUtc->wMonth == 0) return false;
    _FILETIME stFichier{}, stLocal{};
    return SystemTimeToFileTime(pstUtc, &stFichier) != 0 && FileTimeToLocalFileTime(&stFichier, &stLocal) != 0 &&
           FileTimeToSystemTime(&stLocal, pstLocal) != 0;
}

bool bLocalVersUTC(const _SYSTEMTIME* pstLocal, _SYSTEMTIME* pstUtc) noexcept {
    if (pstLocal == nullptr || pstUtc == nullptr || pstLocal->wYear == 0 || pstLocal->wMonth == 0) return false;
    tm st{};
    st.tm_year = pstLocal->wYear - 1900;
    st.tm_mon = pstLocal->wMonth - 1;
    st.tm_mday = pstLocal->wDay;
    st.tm_hour = pstLocal->wHour;
    st.tm_min = pstLocal->wMinute;
    st.tm_sec = pstLocal->wSecond;
    st.tm_isdst = -1;
    const time_t nTemps = mktime(&st);
    if (nTemps == static_cast<time_t>(-1)) return false;
    tm stUtc{};
    if (gmtime_r(&nTemps, &stUtc) == nullptr) return false;
    const uint16_t wMillisecondes = pstLocal->wMilliseconds;
    pstUtc->wYear = static_cast<uint16_t>(stUtc.tm_year + 1900);
    pstUtc->wMonth = static_cast<uint16_t>(stUtc.tm_mon + 1);
    pstUtc->wDay = static_cast<uint16_t>(stUtc.tm_mday);
    pstUtc->wDayOfWeek = static_cast<uint16_t>(stUtc.tm_wday);
    pstUtc->wHour = static_cast<uint16_t>(stUtc.tm_hour);
    pstUtc->wMinute = static_cast<uint16_t>(stUtc.tm_min);
    pstUtc->wSecond = static_cast<uint16_t>(stUtc.tm_sec);
    pstUtc->wMilliseconds = wMillisecondes;
    return true;
}
