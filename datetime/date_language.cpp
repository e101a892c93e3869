// Language date functions on texts and numbers: conversions between day numbers, date texts and
// their parts, validity, differences, weeks, months, Easter, ages, serial numbers and durations.
#include <cmath>
#include <cwchar>

#include "base/error.h"
#include "component/thunk.h"
#include "datetime/date_functions.h"
#include "datetime/date_mask.h"
#include "datetime/date_text.h"

using namespace ovjour;

namespace {

CXYString<wchar_t> clTexte(const wchar_t* psz) {
    CXYString<wchar_t> cl;
    cl.nAffecte(psz);
    return cl;
}

CXYString<wchar_t> clDate(int nAnnee, int nMois, int nJour) {
    wchar_t sz[32];
    std::swprintf(sz, 32, L"%04d%02d%02d", nAnnee, nMois, nJour);
    return clTexte(sz);
}

// The date of a day number, or a null string.
CXYString<wchar_t> clDateDuNumero(long nNumero) {
    short nJ = 0, nM = 0, nA = 0;
    if (!bNumEnDate(nNumero, &nJ, &nM, &nA, nullptr)) return {};
    return clDate(nA, nM, nJ);
}

// Day number of a valid date text; false (nothing raised) otherwise.
bool bNumeroDate(const wchar_t* pszDate, long* pnNumero, CXError* pclErreur = nullptr) {
    short nA = 0, nM = 0, nJ = 0;
    if (!bDateVerif(pszDate, &nA, &nM, &nJ, pclErreur)) return false;
    *pnNumero = NumJourGreg(nJ, nM, nA);
    return *pnNumero != 0 || (nA == 1799 && nM == 12 && nJ == 31);
}

IInfoLangue* piLangue(CComposanteStandard* pcl) {
    IVM* piVM = pcl->piGetVM();
    return piVM != nullptr ? piVM->piGetInfoLangue(0, 0) : nullptr;
}

// "%04d%02d%02d" of the system's local date.
void DateLocale(short* pnAnnee, short* pnMois, short* pnJour) {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    *pnAnnee = static_cast<short>(st.wYear);
    *pnMois = static_cast<short>(st.wMonth);
    *pnJour = static_cast<short>(st.wDay);
}

}  // namespace

// ---------------------------------------------------------------- numbers and texts

CXYString<wchar_t> CComposanteStandard::EntierVersDate(int n) {
    short nJ = 0, nM = 0, nA = 0;
    if (!bNumEnDate(n, &nJ, &nM, &nA, pclGetError())) {
        RaiseError(&gstMyModuleInfo8, 80132, n);
        return {};
    }
    return clDate(nA, nM, nJ);
}

CXYString<wchar_t> CComposanteStandard::EntierVersDate(int n, const wchar_t* pszPartie) {
    if (pszPartie == nullptr || pszPartie[0] == 0) return EntierVersDate(n);
    short nJ = 0, nM = 0, nA = 0;
    if (!bNumEnDate(n, &nJ, &nM, &nA, pclGetError())) {
        RaiseError(&gstMyModuleInfo8, 80132, n);
        return {};
    }
    wchar_t sz[32];
    switch (pszPartie[0]) {
        case L'J': case L'D': case L'j': case L'd': std::swprintf(sz, 32, L"%02d", nJ); break;
        case L'A': case L'Y': case L'a': case L'y': std::swprintf(sz, 32, L"%04d", nA); break;
        case L'M': case L'm': std::swprintf(sz, 32, L"%02d", nM); break;
        default: std::swprintf(sz, 32, L"%04d%02d%02d", nA, nM, nJ); break;
    }
    return clTexte(sz);
}

int CComposanteStandard::EntierVersJour(int n) {
    const int w = nJourSemaine(n);
    return w == 0 ? 7 : w;
}

CXYString<wchar_t> CComposanteStandard::EntierVersHeure(int n) {
    if (n < 0) {
        RaiseError(&gstMyModuleInfo8, 80120);
        return {};
    }
    wchar_t sz[32];
    std::swprintf(sz, 32, L"%02d%02d%02d%02d", n / 360000, n / 6000 % 60, n / 100 % 60, n % 100);
    return clTexte(sz);
}

int CComposanteStandard::HeureVersEntier(const wchar_t* pszHeure) {
    short nH = 0, nM = 0, nS = 0, nC = 0;
    if (!bHeureVerif(pszHeure, &nH, &nM, &nS, &nC, nullptr, pclGetError())) return -1;
    return ((nH * 60 + nM) * 60 + nS) * 100 + nC;
}

int CComposanteStandard::DateVersEntier(const wchar_t* pszDate) { return DateVersEntier(pszDate, 0); }

int CComposanteStandard::DateVersEntier(const wchar_t* pszDate, int nOption) {
    short nA = 0, nM = 0, nJ = 0;
    if (!bDateVerif(pszDate, &nA, &nM, &nJ, pclGetError())) return 0;
    const long n = NumJourGreg(nJ, nM, nA);
    if (nOption != 0) return static_cast<int>(n - NumJourGreg(1, 1, nA) + 1);
    return static_cast<int>(n);
}

int CComposanteStandard::DateVersJour(const wchar_t* pszDate) {
    long n = 0;
    if (!bNumeroDate(pszDate, &n, pclGetError())) return 0;
    return EntierVersJour(static_cast<int>(n));
}

CXYString<wchar_t> CComposanteStandard::EntierVersJourEnLettre(int n) {
    wchar_t sz[51];
    CMasqueDateHeure::s_JourEnLettre(nJourSemaine(n), piLangue(this), sz, 51);
    return clTexte(sz);
}

CXYString<wchar_t> CComposanteStandard::EntierVersMoisEnLettre(int n) {
    short nJ = 0, nM = 0, nA = 0;
    if (!bNumEnDate(n, &nJ, &nM, &nA, nullptr)) {
        RaiseError(&gstMyModuleInfo8, 80132, n);
        return {};
    }
    wchar_t sz[250];
    CMasqueDateHeure::s_MoisEnLettre(nM, piLangue(this), sz, 250);
    return clTexte(sz);
}

CXYString<wchar_t> CComposanteStandard::NumeroDeJourVersLettre(int n) {
    if (n < 1 || n > 7) return {};
    wchar_t sz[51];
    CMasqueDateHeure::s_JourEnLettre(n % 7, piLangue(this), sz, 51);
    return clTexte(sz);
}

CXYString<wchar_t> CComposanteStandard::NumeroDeMoisVersLettre(int n) {
    if (n < 1 || n > 12) return {};
    wchar_t sz[51];
    CMasqueDateHeure::s_MoisEnLettre(n, piLangue(this), sz, 51);
    return clTexte(sz);
}

CXYString<wchar_t> CComposanteStandard::DateVersJourEnLettre(const wchar_t* pszDate) {
    long n = 0;
    if (!bNumeroDate(pszDate, &n, pclGetError())) return {};
    return EntierVersJourEnLettre(static_cast<int>(n));
}

CXYString<wchar_t> CComposanteStandard::DateVersMoisEnLettre(const wchar_t* pszDate) {
    long n = 0;
    if (!bNumeroDate(pszDate, &n, pclGetError())) return {};
    return EntierVersMoisEnLettre(static_cast<int>(n));
}

int CComposanteStandard::EntierVersNumeroDeSemaine(int n) { return nNumeroSemaine(n); }

int CComposanteStandard::DateVersNumeroDeSemaine(const wchar_t* pszDate) {
    long n = 0;
    if (!bNumeroDate(pszDate, &n, pclGetError())) return -1;
    return nNumeroSemaine(n);
}

// ---------------------------------------------------------------- validity and differences

bool CComposanteStandard::DateValide(const wchar_t* pszDate) {
    short nA = 0, nM = 0, nJ = 0;
    return bDateVerif(pszDate, &nA, &nM, &nJ, nullptr);
}

bool CComposanteStandard::HeureValide(const wchar_t* pszHeure) {
    return bHeureVerif(pszHeure, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

bool CComposanteStandard::DateHeureValide(const wchar_t* pszTexte) {
    if (pszTexte == nullptr) return false;
    const size_t nLongueur = std::wcslen(pszTexte);
    if (nLongueur < 8 || nLongueur > 17) return false;
    wchar_t szDate[9];
    std::wmemcpy(szDate, pszTexte, 8);
    szDate[8] = 0;
    return DateValide(szDate) && HeureValide(pszTexte + 8);
}

int CComposanteStandard::DateDifference(const wchar_t* pszA, const wchar_t* pszB) {
    long nA = 0, nB = 0;
    if (!bNumeroDate(pszA, &nA) || !bNumeroDate(pszB, &nB)) {
        RaiseError(&gstMyModuleInfo8, 80134);
        return -1;
    }
    return static_cast<int>(nB - nA);
}

int CComposanteStandard::HeureDifference(const wchar_t* pszA, const wchar_t* pszB) {
    const int nA = HeureValide(pszA) ? HeureVersEntier(pszA) : -1;
    const int nB = HeureValide(pszB) ? HeureVersEntier(pszB) : -1;
    if (nA < 0 || nB < 0) {
        RaiseError(&gstMyModuleInfo8, 80135);
        return -1;
    }
    return nB - nA;
}

CXYString<wchar_t> CComposanteStandard::DateHeureDifference(const wchar_t* pszA, const wchar_t* pszB) {
    wchar_t sz[64] = {};
    if (!DateHeureValide(pszA) || !DateHeureValide(pszB) || !bDateHeureDifference(pszA, pszB, sz)) {
        RaiseError(&gstMyModuleInfo8, 80134);
        return {};
    }
    return clTexte(sz);
}

// ---------------------------------------------------------------- weeks and months

int CComposanteStandard::NumeroDeSemaine(const wchar_t* pszDate) { return NumeroDeSemaine(pszDate, nullptr); }

int CComposanteStandard::NumeroDeSemaine(const wchar_t* pszDate, const wchar_t* pszOption) {
    const bool bIso = pszOption != nullptr && std::wcscmp(pszOption, L"<ISO8601>") == 0;
    if (pszOption != nullptr && !bIso) {
        RaiseError(&gstMyModuleInfo8, 80700);
        return -1;
    }
    long n = 0;
    if (!bNumeroDate(pszDate, &n)) return -1;
    return bIso ? nNumeroSemaineISO(n) : nNumeroSemaine(n);
}

CXYString<wchar_t> CComposanteStandard::SemaineVersDate(int nSemaine, int nAnnee) {
    return SemaineVersDate(nSemaine, nAnnee, nullptr);
}

CXYString<wchar_t> CComposanteStandard::SemaineVersDate(int nSemaine, int nAnnee, const wchar_t* pszOption) {
    const long nDecalage = (static_cast<long>(nSemaine) - 1) * 7;
    if (pszOption != nullptr && std::wcscmp(pszOption, L"<ISO8601>") == 0) {
        long n = 0;
        if (!JourGregorien(4, 1, nAnnee, &n)) return {};
        n -= 1;
        const int w = EntierVersJour(static_cast<int>(n));
        return clDateDuNumero(n + 1 + nDecalage - w);
    }
    const long n = NumJourGreg(1, 1, nAnnee);
    const int w = EntierVersJour(static_cast<int>(n));
    const long nDebut = w == 1 ? n : n + 8 - w;
    return clDateDuNumero(nDebut + nDecalage);
}

CXYString<wchar_t> CComposanteStandard::PremierJourDeLaSemaine(const wchar_t* pszDate) {
    long n = 0;
    if (!bNumeroDate(pszDate, &n, pclGetError())) return {};
    return clDateDuNumero(n + 1 - EntierVersJour(static_cast<int>(n)));
}

CXYString<wchar_t> CComposanteStandard::DernierJourDeLaSemaine(const wchar_t* pszDate) {
    long n = 0;
    if (!bNumeroDate(pszDate, &n, pclGetError())) return {};
    return clDateDuNumero(n + 7 - EntierVersJour(static_cast<int>(n)));
}

CXYString<wchar_t> CComposanteStandard::PremierJourDuMois() {
    short nA = 0, nM = 0, nJ = 0;
    DateLocale(&nA, &nM, &nJ);
    return PremierJourDuMois(nA, nM);
}

CXYString<wchar_t> CComposanteStandard::PremierJourDuMois(int nAnnee, int nMois) {
    if (!bDateVerif(nAnnee, nMois, 1, pclGetError())) return {};
    return clDate(nAnnee, nMois, 1);
}

CXYString<wchar_t> CComposanteStandard::PremierJourDuMois(const wchar_t* pszDate) {
    short nA = 0, nM = 0, nJ = 0;
    if (!bDateVerif(pszDate, &nA, &nM, &nJ, pclGetError())) return {};
    return clDate(nA, nM, 1);
}

CXYString<wchar_t> CComposanteStandard::DernierJourDuMois() {
    short nA = 0, nM = 0, nJ = 0;
    DateLocale(&nA, &nM, &nJ);
    return DernierJourDuMois(nA, nM);
}

CXYString<wchar_t> CComposanteStandard::DernierJourDuMois(int nAnnee, int nMois) {
    if (!bDateVerif(nAnnee, nMois, 1, pclGetError())) return {};
    return clDate(nAnnee, nMois, nLongueurMois(nMois, nAnnee));
}

CXYString<wchar_t> CComposanteStandard::DernierJourDuMois(const wchar_t* pszDate) {
    short nA = 0, nM = 0, nJ = 0;
    if (!bDateVerif(pszDate, &nA, &nM, &nJ, pclGetError())) return {};
    return clDate(nA, nM, nLongueurMois(nM, nA));
}

// ---------------------------------------------------------------- Easter and ages

CXYString<wchar_t> CComposanteStandard::Paques(int nAnnee) {
    int nMois = 0, nJour = 0;
    if (!bPaques(nAnnee, &nMois, &nJour)) return {};
    return clDate(nAnnee, nMois, nJour);
}

CXYString<wchar_t> CComposanteStandard::Paques(const wchar_t* pszDate) {
    if (pszDate == nullptr) return {};
    int nAnnee = 0;
    for (int i = 0; i < 4; ++i) {
        if (pszDate[i] < L'0' || pszDate[i] > L'9') return {};
        nAnnee = nAnnee * 10 + (pszDate[i] - L'0');
    }
    return Paques(nAnnee);
}

CXYString<wchar_t> CComposanteStandard::Age(const wchar_t* pszNaissance) { return Age(pszNaissance, nullptr); }

CXYString<wchar_t> CComposanteStandard::Age(const wchar_t* pszNaissance, const wchar_t* pszReference) {
    short nAN = 0, nMN = 0, nJN = 0, nAR = 0, nMR = 0, nJR = 0;
    if (!bDateVerif(pszNaissance, &nAN, &nMN, &nJN, pclGetError())) {
        pclGetError()->SetErrorLevel(2);
        return {};
    }
    if (pszReference == nullptr || pszReference[0] == 0) {
        DateLocale(&nAR, &nMR, &nJR);
    } else if (!bDateVerif(pszReference, &nAR, &nMR, &nJR, nullptr)) {
        return {};
    }
    if (NumJourGreg(nJR, nMR, nAR) < NumJourGreg(nJN, nMN, nAN)) return {};
    int nAnnees = nAR - nAN, nMois = 0, nJours = 0;
    if (nMR < nMN) {
        --nAnnees;
        nMois = nMR + 12 - nMN;
    } else {
        nMois = nMR - nMN;
    }
    if (nJN <= nJR) {
        nJours = nJR - nJN;
    } else {
        const int L = nMR == 1 ? 31 : nLongueurMois(nMR - 1, nAR);
        const int r = L - nJN;
        nJours = r >= 0 ? r + nJR : nJR - 1;
        if (nMois == 0) {
            nMois = 11;
            --nAnnees;
        } else {
            --nMois;
        }
    }
    if (nAnnees < 0 || nAnnees >= 10000 || nMois >= 12 || nJours >= 31) return {};
    return clDate(nAnnees, nMois, nJours);
}

// ---------------------------------------------------------------- spreadsheet serial numbers

double CComposanteStandard::DateHeureVersReel(const wchar_t* pszTexte, int nOption) {
    if (pszTexte == nullptr || std::wcslen(pszTexte) < 8) return -1.0;
    int an[3] = {};
    for (int i = 0; i < 8; ++i) {
        if (pszTexte[i] < L'0' || pszTexte[i] > L'9') return -1.0;
        int& n = an[i < 4 ? 0 : (i < 6 ? 1 : 2)];
        n = n * 10 + (pszTexte[i] - L'0');
    }
    if (nOption == 0 && an[0] == 1900 && an[1] == 2 && an[2] == 29) return 60.0;
    long n = 0;
    if (!JourGregorien(an[2], an[1], an[0], &n)) return -1.0;
    n -= 1;
    double dMilli = 0;
    if (std::wcslen(pszTexte) > 8) {
        short nH = 0, nM = 0, nS = 0, nMs = 0;
        if (bHeureVerif(pszTexte + 8, &nH, &nM, &nS, nullptr, &nMs, nullptr))
            dMilli = ((nH * 60.0 + nM) * 60.0 + nS) * 1000.0 + nMs;
    }
    double r = 0;
    if (nOption == 0) {
        r = static_cast<double>(n - 36524) + dMilli / 86'400'000.0;
        if (an[0] > 1900 || (an[0] == 1900 && an[1] > 2)) r += 1.0;
        if (r < 1.0) return -1.0;
    } else {
        r = static_cast<double>(n - 37985) + dMilli / 86'400'000.0;
        if (r < 0.0) return -1.0;
    }
    return r;
}

CXYString<wchar_t> CComposanteStandard::ReelVersDateHeure(double r, int nOption) {
    const double dMin = nOption == 0 ? 1.0 : 0.0;
    // NaN and values past any date fail here too.
    if (!(r >= dMin) || !(r < 4.0e6)) return {};
    const double i = std::trunc(r);
    CDateTime clValeur;
    if (nOption == 0 && i == 60.0) {
        clValeur.Set(1900, 2, 29);
    } else {
        double d = (nOption == 0 ? 36524.0 : 37985.0) + r;
        if (nOption == 0 && i > 60.0) d -= 1.0;
        short nJ = 0, nM = 0, nA = 0;
        if (!bNumEnDate(static_cast<long>(d), &nJ, &nM, &nA, nullptr)) return {};
        clValeur.Set(nA, nM, nJ);
    }
    clValeur.bDecaleMilli(static_cast<int64_t>((r - i) * 86'400'000.0));
    CXYString<wchar_t> cl;
    clValeur.nVersChaine(&cl);
    return cl;
}

// ---------------------------------------------------------------- durations

CDuree CComposanteStandard::ChaineVersDuree(const wchar_t* pszTexte) {
    return ChaineVersDuree(pszTexte, static_cast<const wchar_t*>(nullptr));
}

CDuree CComposanteStandard::ChaineVersDuree(const wchar_t* pszTexte, const wchar_t* pszFormat) {
    CDuree cl;
    if (pszFormat == nullptr)
        cl.nDepuisChaine(pszTexte);
    else
        nChaineVersDuree(&cl, pszTexte, pszFormat);
    return cl;
}

CDuree CComposanteStandard::ChaineVersDuree(const wchar_t* pszTexte, int nOption) {
    CDuree cl;
    if (nOption == 1)
        cl.nDepuisChaineCentieme(pszTexte);
    else
        cl.nDepuisChaine(pszTexte);
    return cl;
}

CXYString<wchar_t> CComposanteStandard::DureeVersChaine(CDuree clDuree) {
    return DureeVersChaine(clDuree, static_cast<const wchar_t*>(nullptr));
}

CXYString<wchar_t> CComposanteStandard::DureeVersChaine(CDuree clDuree, const wchar_t* pszFormat) {
    CXYString<wchar_t> cl;
    if (pszFormat == nullptr)
        clDuree.nVersChaine(&cl);
    else
        nDureeVersChaine(&clDuree, &cl, pszFormat);
    return cl;
}

CXYString<wchar_t> CComposanteStandard::DureeVersChaine(CDuree clDuree, int nOption) {
    CXYString<wchar_t> cl;
    if (nOption == 1)
        clDuree.nVersChaineCentieme(&cl);
    else
        clDuree.nVersChaine(&cl);
    return cl;
}
