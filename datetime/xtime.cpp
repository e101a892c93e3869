// CXTime: broken-down time with milliseconds, its language texts, its printed forms and its
// passages to Unix time, file times and the clock.
#include "datetime/xtime.h"

#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "base/wide_printf.h"
#include "datetime/date_text.h"
#include "datetime/internal/digits.h"

using datetime_internal::bChiffre;
using datetime_internal::bLitChiffres;
using datetime_internal::nLongueurBornee;

namespace {

constexpr int64_t ECART_1601_1970 = 116'444'736'000'000'000;  // 0x19DB1DED53E8000
constexpr int64_t TICKS_PAR_SECONDE = 10'000'000;

int64_t nDivEntiere(int64_t n, int64_t nDiviseur) noexcept {
    const int64_t q = n / nDiviseur;
    return (n % nDiviseur != 0 && n < 0) ? q - 1 : q;
}

// Longest partial texts: "HHMMSSmmm" and "AAAAMMJJ" + space + "HHMMSSmmm".
constexpr size_t MAX_HEURE = 9;
constexpr size_t MAX_DATE_HEURE = 18;

// The digits of a partial value without the optional space after the date, at most nMax of them;
// false when a character is not a digit.
bool bChiffresPartiels(const wchar_t* pszTexte, bool bAvecDate, size_t nMax, wchar_t* pszChiffres,
                       size_t* pnChiffres) noexcept {
    const size_t nLongueur = nLongueurBornee(pszTexte, MAX_DATE_HEURE + 1);
    size_t n = 0;
    for (size_t i = 0; i < nLongueur; ++i) {
        if (bAvecDate && i == 8 && pszTexte[i] == L' ') continue;
        if (!bChiffre(pszTexte[i]) || n == nMax) return false;
        pszChiffres[n++] = pszTexte[i];
    }
    *pnChiffres = n;
    return true;
}

// The highest digit a position of a partial value may hold, given the digits before it.
// Positions count in the full form: date 0 to 7 (when there is one), then HHMMSSmmm.
wchar_t cPlafond(const wchar_t* pszChiffres, size_t nPosition, bool bAvecDate) noexcept {
    if (bAvecDate && nPosition < 8) {
        if (nPosition < 4) return L'9';
        if (nPosition == 4) return L'1';
        if (nPosition == 5) return pszChiffres[4] == L'1' ? L'2' : L'9';
        int nAnnee = 0, nMois = 0;
        bLitChiffres(pszChiffres, 4, &nAnnee);
        bLitChiffres(pszChiffres + 4, 2, &nMois);
        const int nDernier = nMois >= 1 && nMois <= 12 ? CXTime::nGetDayInMonth(nMois, nAnnee) : 31;
        if (nPosition == 6) return static_cast<wchar_t>(L'0' + nDernier / 10);
        return pszChiffres[6] == static_cast<wchar_t>(L'0' + nDernier / 10) ? static_cast<wchar_t>(L'0' + nDernier % 10)
                                                                               : L'9';
    }
    switch (nPosition - (bAvecDate ? 8 : 0)) {
        case 0: return L'2';
        case 1: return pszChiffres[nPosition - 1] == L'2' ? L'3' : L'9';
        case 2:
        case 4: return L'5';
        default: return L'9';
    }
}

template <typename T, typename... TArgs>
void Imprime(T* pszSortie, size_t nTaille, const T* pszFormat, TArgs... xArgs) noexcept {
    if (pszSortie == nullptr || nTaille == 0) return;
    if constexpr (sizeof(T) == 1)
        std::snprintf(pszSortie, nTaille, pszFormat, xArgs...);
    else
        snwprintfWin(pszSortie, nTaille, pszFormat, xArgs...);
}

}  // namespace

CXTime::~CXTime() = default;

// ---------------------------------------------------------------- setting

void CXTime::SetTo0() noexcept {
    m_stTm = tm{};
    m_stTm.tm_year = -1900;
    m_stTm.tm_mday = 1;
    m_stTm.tm_wday = -1;
    m_stTm.tm_yday = -1;
    m_nMillisecondes = 0;
}

void CXTime::_CompleteJours() noexcept {
    const int nMois = m_stTm.tm_mon + 1;
    if (nMois < 1 || nMois > 12 || m_stTm.tm_mday < 1 || m_stTm.tm_mday > nGetDayInMonth(nMois, nAnnee())) {
        m_stTm.tm_wday = -1;
        m_stTm.tm_yday = -1;
        return;
    }
    const int64_t nJours = CClock::s_nJoursDepuis1970(nAnnee(), nMois, m_stTm.tm_mday);
    m_stTm.tm_wday = CClock::s_nJourSemaine(nJours);
    m_stTm.tm_yday = static_cast<int>(nJours - CClock::s_nJoursDepuis1970(nAnnee(), 1, 1));
}

void CXTime::SetTime(int nAnneeValeur, int nMois, int nJour, int nHeure, int nMinute, int nSeconde, int nIsDst) noexcept {
    SetTo0();
    m_stTm.tm_year = nAnneeValeur - 1900;
    m_stTm.tm_mon = nMois - 1;
    m_stTm.tm_mday = nJour;
    m_stTm.tm_hour = nHeure;
    m_stTm.tm_min = nMinute;
    m_stTm.tm_sec = nSeconde;
    m_stTm.tm_isdst = nIsDst;
    _CompleteJours();
}

void CXTime::SetTime(const _SYSTEMTIME& stHeure, int nIsDst) noexcept {
    SetTime(stHeure.wYear, stHeure.wMonth, stHeure.wDay, stHeure.wHour, stHeure.wMinute, stHeure.wSecond, nIsDst);
    m_nMillisecondes = stHeure.wMilliseconds;
}

void CXTime::SetTime(unsigned short wDateDos, unsigned short wHeureDos, int nIsDst) noexcept {
    SetTo0();
    m_stTm.tm_sec = (wHeureDos & 31) * 2;
    m_stTm.tm_hour = wHeureDos >> 11;
    m_stTm.tm_min = (wHeureDos & 2047) >> 5;
    m_stTm.tm_mday = wDateDos & 31;
    m_stTm.tm_year = (wDateDos >> 9) + 80;
    m_stTm.tm_mon = ((wDateDos & 511) >> 5) - 1;
    m_stTm.tm_isdst = nIsDst;
    _CompleteJours();
}

void CXTime::SetTime(const tm& stTm) noexcept {
    m_stTm = stTm;
    m_nMillisecondes = 0;
}

void CXTime::SetTime(const CDateTime& clDateHeure) noexcept {
    SetTo0();
    const uint32_t dwMs = clDateHeure.dwGetMillisecondes();
    m_stTm.tm_year = clDateHeure.nGetAnnee() - 1900;
    if (clDateHeure.nGetMois() > 0) m_stTm.tm_mon = clDateHeure.nGetMois() - 1;
    if (clDateHeure.nGetJour() > 0) m_stTm.tm_mday = clDateHeure.nGetJour();
    m_stTm.tm_hour = static_cast<int>(dwMs / 3'600'000);
    m_stTm.tm_min = static_cast<int>(dwMs / 60'000 % 60);
    m_stTm.tm_sec = static_cast<int>(dwMs / 1000 % 60);
    m_nMillisecondes = static_cast<int32_t>(dwMs % 1000);
    _CompleteJours();
}

void CXTime::SetTime(const _FILETIME& stFichier, int nIsDst) noexcept {
    _FILETIME stLocal{};
    _SYSTEMTIME stHeure{};
    if (FileTimeToLocalFileTime(&stFichier, &stLocal) == 0 || FileTimeToSystemTime(&stLocal, &stHeure) == 0) {
        SetTo0();
        return;
    }
    SetTime(stHeure, nIsDst);
}

void CXTime::SetTime(long nTempsUnix) noexcept {
    SetTo0();
    const auto nTemps = static_cast<time_t>(nTempsUnix);
    if (nTempsUnix == -1 || localtime_r(&nTemps, &m_stTm) == nullptr) SetTo0();
}

void CXTime::SetUTCTime(long nTempsUnix) noexcept {
    SetTo0();
    const auto nTemps = static_cast<time_t>(nTempsUnix);
    if (nTempsUnix == -1 || gmtime_r(&nTemps, &m_stTm) == nullptr) SetTo0();
}

void CXTime::SetFromLocalTime() noexcept {
    const int64_t nMs = CClock::s_nMaintenant();
    SetTime(static_cast<long>(nDivEntiere(nMs, 1000)));
    m_nMillisecondes = static_cast<int32_t>(nMs - nDivEntiere(nMs, 1000) * 1000);
}

void CXTime::SetFromUTCTime() noexcept {
    const int64_t nMs = CClock::s_nMaintenant();
    SetUTCTime(static_cast<long>(nDivEntiere(nMs, 1000)));
    m_nMillisecondes = static_cast<int32_t>(nMs - nDivEntiere(nMs, 1000) * 1000);
}

// ---------------------------------------------------------------- language text in

namespace {

// Year, month and day of a date text into a tm, January and the 1st standing for 0.
template <typename T>
bool bLitDate(const T* pszDate, tm* pstTm) noexcept {
    int nAnnee = 0, nMois = 0, nJour = 0;
    if (!bLitChiffres(pszDate, 4, &nAnnee) || !bLitChiffres(pszDate + 4, 2, &nMois) ||
        !bLitChiffres(pszDate + 6, 2, &nJour))
        return false;
    pstTm->tm_year = nAnnee - 1900;
    pstTm->tm_mon = nMois > 0 ? nMois - 1 : 0;
    pstTm->tm_mday = nJour > 0 ? nJour : 1;
    return true;
}

}  // namespace

bool CXTime::bSetZKDate(const wchar_t* pszDate) noexcept {
    if (nLongueurBornee(pszDate, 9) != 8) return false;
    tm st = m_stTm;
    if (!bLitDate(pszDate, &st)) return false;
    m_stTm = st;
    _CompleteJours();
    return true;
}

bool CXTime::bSetZKTime(const wchar_t* pszHeure) noexcept {
    const size_t nLongueur = nLongueurBornee(pszHeure, 10);
    if (nLongueur < 4) return false;
    int nHeure = 0, nMinute = 0, nSeconde = 0, nFraction = 0;
    if (!bLitChiffres(pszHeure, 2, &nHeure) || !bLitChiffres(pszHeure + 2, 2, &nMinute)) return false;
    if (nLongueur > 5 && !bLitChiffres(pszHeure + 4, 2, &nSeconde)) return false;
    if (nLongueur == 8) {
        if (!bLitChiffres(pszHeure + 6, 2, &nFraction)) return false;
        nFraction *= 10;
    } else if (nLongueur > 8 && !bLitChiffres(pszHeure + 6, 3, &nFraction)) {
        return false;
    }
    m_stTm.tm_hour = nHeure;
    m_stTm.tm_min = nMinute;
    m_stTm.tm_sec = nSeconde;
    m_nMillisecondes = nFraction;
    return true;
}

template <typename T>
bool CXTime::bSetZKDateTime(const T* pszDateHeure, int nIsDst) noexcept {
    const size_t nLongueur = nLongueurBornee(pszDateHeure, MAX_DATE_HEURE + 1);
    if (nLongueur < 16) return false;
    tm st = m_stTm;
    if (!bLitDate(pszDateHeure, &st)) return false;
    const size_t nHeure = pszDateHeure[8] == static_cast<T>(' ') ? 9 : 8;
    int nH = 0, nMinute = 0, nSeconde = 0, nFraction = 0;
    if (nLongueur < nHeure + 6 || !bLitChiffres(pszDateHeure + nHeure, 2, &nH) ||
        !bLitChiffres(pszDateHeure + nHeure + 2, 2, &nMinute) || !bLitChiffres(pszDateHeure + nHeure + 4, 2, &nSeconde))
        return false;
    if (nLongueur == nHeure + 8) {
        if (!bLitChiffres(pszDateHeure + nHeure + 6, 2, &nFraction)) return false;
        nFraction *= 10;
    } else if (nLongueur == nHeure + 9 && !bLitChiffres(pszDateHeure + nHeure + 6, 3, &nFraction)) {
        return false;
    }
    st.tm_hour = nH;
    st.tm_min = nMinute;
    st.tm_sec = nSeconde;
    st.tm_isdst = nIsDst;
    m_stTm = st;
    m_nMillisecondes = nFraction;
    _CompleteJours();
    return true;
}

bool CXTime::_bLitMin(const wchar_t* pszTexte, bool bAvecDate, int nIsDst) noexcept {
    wchar_t tabChiffres[MAX_DATE_HEURE];
    size_t nChiffres = 0;
    const size_t nPlein = bAvecDate ? 8 + MAX_HEURE : MAX_HEURE;
    if (pszTexte == nullptr || !bChiffresPartiels(pszTexte, bAvecDate, nPlein, tabChiffres, &nChiffres)) return false;
    for (size_t i = nChiffres; i < nPlein; ++i) tabChiffres[i] = L'0';
    const wchar_t* pszHeure = tabChiffres + (bAvecDate ? 8 : 0);
    tm st = m_stTm;
    if (bAvecDate && !bLitDate(tabChiffres, &st)) return false;
    int nHeure = 0, nMinute = 0, nSeconde = 0, nFraction = 0;
    bLitChiffres(pszHeure, 2, &nHeure);
    bLitChiffres(pszHeure + 2, 2, &nMinute);
    bLitChiffres(pszHeure + 4, 2, &nSeconde);
    bLitChiffres(pszHeure + 6, 3, &nFraction);
    if (nHeure > 23 || nMinute > 59 || nSeconde > 59) return false;
    st.tm_hour = nHeure;
    st.tm_min = nMinute;
    st.tm_sec = nSeconde;
    st.tm_isdst = nIsDst;
    m_stTm = st;
    m_nMillisecondes = nFraction;
    _CompleteJours();
    return true;
}

bool CXTime::_bLitMax(const wchar_t* pszTexte, bool bAvecDate, int nIsDst) noexcept {
    wchar_t tabChiffres[MAX_DATE_HEURE + 1];
    size_t nChiffres = 0;
    const size_t nPlein = bAvecDate ? 8 + MAX_HEURE : MAX_HEURE;
    if (pszTexte == nullptr || !bChiffresPartiels(pszTexte, bAvecDate, nPlein, tabChiffres, &nChiffres) || nChiffres == 0)
        return false;
    // Raise the last digit; one at its ceiling carries into the digit before it and is dropped.
    size_t nPosition = nChiffres;
    while (nPosition > 0) {
        --nPosition;
        if (tabChiffres[nPosition] < cPlafond(tabChiffres, nPosition, bAvecDate)) {
            ++tabChiffres[nPosition];
            tabChiffres[nPosition + 1] = 0;
            return _bLitMin(tabChiffres, bAvecDate, nIsDst);
        }
    }
    return false;
}

bool CXTime::bSetZKTimeMin(const wchar_t* pszHeure, int nIsDst) noexcept { return _bLitMin(pszHeure, false, nIsDst); }

bool CXTime::bSetZKDateTimeMin(const wchar_t* pszDateHeure, int nIsDst) noexcept {
    return _bLitMin(pszDateHeure, true, nIsDst);
}

bool CXTime::bSetZKTimeMax(const wchar_t* pszHeure, int nIsDst) noexcept { return _bLitMax(pszHeure, false, nIsDst); }

bool CXTime::bSetZKDateTimeMax(const wchar_t* pszDateHeure, int nIsDst) noexcept {
    return _bLitMax(pszDateHeure, true, nIsDst);
}

// ---------------------------------------------------------------- text out

void CXTime::_Imprime(CTString& clSortie, const wchar_t* pszModele, bool bMillisecondes) const noexcept {
    wchar_t tabTexte[TAILLE_FORMAT];
    Format(pszModele, tabTexte, TAILLE_FORMAT);
    clSortie.Set(tabTexte);
    if (bMillisecondes) clSortie.AddPrintf(L"%03d", m_nMillisecondes);
}

void CXTime::GetZKTimeAAAAMMJJ_HHMMSS(CTString& clSortie) const noexcept { _Imprime(clSortie, L"%Y%m%d %H%M%S", false); }
void CXTime::GetZKTimeHHMMSS(CTString& clSortie) const noexcept { _Imprime(clSortie, L"%H%M%S", false); }
void CXTime::GetZKTimeHHMM(CTString& clSortie) const noexcept { _Imprime(clSortie, L"%H%M", false); }
void CXTime::GetZKDate(CTString& clSortie) const noexcept { _Imprime(clSortie, L"%Y%m%d", false); }
void CXTime::GetZKTimeHHMMSSCCm(CTString& clSortie) const noexcept { _Imprime(clSortie, L"%H%M%S", true); }
void CXTime::GetZKTimeAAAAMMJJHHMMSSCCm(CTString& clSortie) const noexcept {
    _Imprime(clSortie, L"%Y%m%d%H%M%S", true);
}

void CXTime::GetZKDate(wchar_t* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, L"%04d%02d%02d", nAnnee(), m_stTm.tm_mon + 1, m_stTm.tm_mday);
}

void CXTime::GetZKDate(char* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, "%04d%02d%02d", nAnnee(), m_stTm.tm_mon + 1, m_stTm.tm_mday);
}

void CXTime::GetZKTime(wchar_t* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, L"%02d%02d%02d%03d", m_stTm.tm_hour, m_stTm.tm_min, m_stTm.tm_sec, m_nMillisecondes);
}

void CXTime::GetZKTime(char* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, "%02d%02d%02d%03d", m_stTm.tm_hour, m_stTm.tm_min, m_stTm.tm_sec, m_nMillisecondes);
}

void CXTime::GetZKTimeReadableSS(CTString& clSortie) const noexcept {
    clSortie.printf(L"%02d/%02d/%04d %02d:%02d:%02d", m_stTm.tm_mday, m_stTm.tm_mon + 1, nAnnee(), m_stTm.tm_hour,
                    m_stTm.tm_min, m_stTm.tm_sec);
}

void CXTime::GetZKTimeReadable(CTString& clSortie) const noexcept {
    clSortie.printf(L"%02d/%02d/%04d %02d:%02d:%02d,%03d", m_stTm.tm_mday, m_stTm.tm_mon + 1, nAnnee(), m_stTm.tm_hour,
                    m_stTm.tm_min, m_stTm.tm_sec, m_nMillisecondes);
}

void CXTime::FormatToSQLServerTimeStamp(wchar_t* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, L"%04d%02d%02d %02d:%02d:%02d.%03d", nAnnee(), m_stTm.tm_mon + 1, m_stTm.tm_mday,
            m_stTm.tm_hour, m_stTm.tm_min, m_stTm.tm_sec, m_nMillisecondes);
}

void CXTime::FormatToOdbcTimeStamp(wchar_t* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, L"{ts '%04d-%02d-%02d %02d:%02d:%02d.%03d'}", nAnnee(), m_stTm.tm_mon + 1,
            m_stTm.tm_mday, m_stTm.tm_hour, m_stTm.tm_min, m_stTm.tm_sec, m_nMillisecondes);
}

void CXTime::FormatToOdbcTimeStamp(CTString& clSortie) const noexcept {
    wchar_t tabTexte[TAILLE_FORMAT];
    FormatToOdbcTimeStamp(tabTexte, TAILLE_FORMAT);
    clSortie.Set(tabTexte);
}

void CXTime::FormatToOdbcTime(wchar_t* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, L"{t '%02d:%02d:%02d.%03d'}", m_stTm.tm_hour, m_stTm.tm_min, m_stTm.tm_sec,
            m_nMillisecondes);
}

void CXTime::FormatToOdbcDate(wchar_t* pszSortie, size_t nTaille) const noexcept {
    Imprime(pszSortie, nTaille, L"{d '%04d-%02d-%02d'}", nAnnee(), m_stTm.tm_mon + 1, m_stTm.tm_mday);
}

void CXTime::Format(const wchar_t* pszModele, wchar_t* pszSortie, size_t nTaille) const noexcept {
    if (pszSortie == nullptr || nTaille == 0) return;
    if (pszModele == nullptr || std::wcsftime(pszSortie, nTaille, pszModele, &m_stTm) == 0) pszSortie[0] = 0;
}

void CXTime::Format(const wchar_t* pszModele, CTString& clSortie) const noexcept {
    wchar_t tabTexte[TAILLE_FORMAT];
    Format(pszModele, tabTexte, TAILLE_FORMAT);
    clSortie.Set(tabTexte);
}

// ---------------------------------------------------------------- conversion

void CXTime::GetAsSystemTime(_SYSTEMTIME& stHeure, const tm& stTm) noexcept {
    stHeure = _SYSTEMTIME{};
    stHeure.wYear = static_cast<uint16_t>(stTm.tm_year + 1900);
    stHeure.wMonth = static_cast<uint16_t>(stTm.tm_mon + 1);
    stHeure.wDay = static_cast<uint16_t>(stTm.tm_mday);
    stHeure.wHour = static_cast<uint16_t>(stTm.tm_hour);
    stHeure.wMinute = static_cast<uint16_t>(stTm.tm_min);
    stHeure.wSecond = static_cast<uint16_t>(stTm.tm_sec);
    if (stTm.tm_mon >= 0 && stTm.tm_mon < 12)
        stHeure.wDayOfWeek = static_cast<uint16_t>(
            CClock::s_nJourSemaine(CClock::s_nJoursDepuis1970(stTm.tm_year + 1900, stTm.tm_mon + 1, stTm.tm_mday)));
}

bool CXTime::bGetAsSystemTime(_SYSTEMTIME& stHeure) const noexcept {
    if (nAnnee() < 0 || nAnnee() > 0xffff || m_stTm.tm_mon < 0 || m_stTm.tm_mon > 11 || m_stTm.tm_mday < 1 ||
        m_stTm.tm_mday > 31 || m_stTm.tm_hour < 0 || m_stTm.tm_hour > 23 || m_stTm.tm_min < 0 || m_stTm.tm_min > 59 ||
        m_stTm.tm_sec < 0 || m_stTm.tm_sec > 60 || m_nMillisecondes < 0 || m_nMillisecondes > 999)
        return false;
    GetAsSystemTime(stHeure, m_stTm);
    stHeure.wMilliseconds = static_cast<uint16_t>(m_nMillisecondes);
    return true;
}

bool CXTime::bGetAsFileTime(_FILETIME& stFichier) const noexcept {
    _SYSTEMTIME stLocal{}, stUtc{};
    if (!bGetAsSystemTime(stLocal)) return false;
    const bool bUtc = bLocalVersUTC(&stLocal, &stUtc);
    if (bUtc) SystemTimeToFileTime(&stUtc, &stFichier);
    return bUtc;
}

void CXTime::GetZKDateTime(CDateTime* pclDateHeure) const noexcept {
    if (pclDateHeure == nullptr) return;
    pclDateHeure->Set(nAnnee(), m_stTm.tm_mon + 1, m_stTm.tm_mday, m_stTm.tm_hour, m_stTm.tm_min, m_stTm.tm_sec,
                      m_nMillisecondes);
}

long CXTime::s_nGetTime_t(tm& stTm) noexcept { return static_cast<long>(mktime(&stTm)); }

long CXTime::s_nGetTime_t_UTC(tm& stTm) noexcept { return static_cast<long>(mktime(&stTm)) + __s_nGetOffsetMkTime(); }

long CXTime::nGetTime32_t() const noexcept {
    tm st = m_stTm;
    return s_nGetTime_t(st);
}

long CXTime::nGetTime32_t_UTC() const noexcept {
    tm st = m_stTm;
    return s_nGetTime_t_UTC(st);
}

long CXTime::__s_nGetOffsetMkTime() noexcept {
    const auto nMaintenant = static_cast<time_t>(nDivEntiere(CClock::s_nMaintenant(), 1000));
    tm st{};
    if (gmtime_r(&nMaintenant, &st) == nullptr) return 0;
    return static_cast<long>(nMaintenant - mktime(&st));
}

void CXTime::Local2UTC(const tm& stLocal, tm& stUtc) noexcept {
    tm st = stLocal;
    const time_t nTemps = mktime(&st);
    if (gmtime_r(&nTemps, &stUtc) == nullptr) stUtc = tm{};
}

void CXTime::UTC2Local(const tm& stUtc, tm& stLocal) noexcept {
    tm st = stUtc;
    const time_t nTemps = timegm(&st);
    if (localtime_r(&nTemps, &stLocal) == nullptr) stLocal = tm{};
}

_FILETIME CXTime::UnixTimeToFileTime(long nTempsUnix) noexcept {
    const auto n = static_cast<uint64_t>(static_cast<int64_t>(nTempsUnix) * TICKS_PAR_SECONDE + ECART_1601_1970);
    return _FILETIME{static_cast<uint32_t>(n), static_cast<uint32_t>(n >> 32)};
}

long CXTime::FileTimeToUnixTime(const _FILETIME& stFichier) noexcept {
    const auto n = static_cast<int64_t>((static_cast<uint64_t>(stFichier.dwHighDateTime) << 32) | stFichier.dwLowDateTime);
    return static_cast<long>(nDivEntiere(n - ECART_1601_1970, TICKS_PAR_SECONDE));
}

long CXTime::SystemTimeToUnixTime(const _SYSTEMTIME& stHeure) noexcept {
    const int64_t nJours = CClock::s_nJoursDepuis1970(stHeure.wYear, stHeure.wMonth, stHeure.wDay);
    return static_cast<long>(nJours * 86'400 + stHeure.wHour * 3'600 + stHeure.wMinute * 60 + stHeure.wSecond);
}

_SYSTEMTIME CXTime::UnixTimeToSystemTime(long nTempsUnix) noexcept {
    _SYSTEMTIME st{};
    const _FILETIME stFichier = UnixTimeToFileTime(nTempsUnix);
    FileTimeToSystemTime(&stFichier, &st);
    return st;
}

// ---------------------------------------------------------------- calendar and comparison

bool CXTime::bBissextile(int nAnneeValeur) noexcept {
    return nAnneeValeur % 4 == 0 && (nAnneeValeur % 100 != 0 || nAnneeValeur % 400 == 0);
}

bool CXTime::bBissextile(const wchar_t* pszDate) noexcept {
    int nAnneeValeur = 0;
    return nLongueurBornee(pszDate, 4) == 4 && bLitChiffres(pszDate, 4, &nAnneeValeur) && bBissextile(nAnneeValeur);
}

int CXTime::nGetDayInMonth(int nMois, int nAnneeValeur) noexcept {
    static constexpr int tabJours[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (nMois < 1 || nMois > 12) return 0;
    return nMois == 2 && bBissextile(nAnneeValeur) ? 29 : tabJours[nMois - 1];
}

int CXTime::nGetDayInMonth(const wchar_t* pszDate) noexcept {
    int nAnneeValeur = 0, nMois = 0;
    if (nLongueurBornee(pszDate, 6) < 6 || !bLitChiffres(pszDate, 4, &nAnneeValeur) || !bLitChiffres(pszDate + 4, 2, &nMois))
        return 0;
    return nGetDayInMonth(nMois, nAnneeValeur);
}

int CXTime::snCompare(const tm* pstA, const tm* pstB) noexcept {
    if (pstA->tm_year != pstB->tm_year) return pstA->tm_year - pstB->tm_year;
    if (pstA->tm_mon != pstB->tm_mon) return pstA->tm_mon - pstB->tm_mon;
    if (pstA->tm_mday != pstB->tm_mday) return pstA->tm_mday - pstB->tm_mday;
    if (pstA->tm_hour != pstB->tm_hour) return pstA->tm_hour - pstB->tm_hour;
    if (pstA->tm_min != pstB->tm_min) return pstA->tm_min - pstB->tm_min;
    return pstA->tm_sec - pstB->tm_sec;
}

bool CXTime::operator>(const CXTime& clAutre) const noexcept {
    const int n = snCompare(&m_stTm, &clAutre.m_stTm);
    return n != 0 ? n > 0 : m_nMillisecondes > clAutre.m_nMillisecondes;
}

bool CXTime::operator>=(const CXTime& clAutre) const noexcept {
    const int n = snCompare(&m_stTm, &clAutre.m_stTm);
    return n != 0 ? n > 0 : m_nMillisecondes >= clAutre.m_nMillisecondes;
}

// ---------------------------------------------------------------- clock

long CXTime::nGetCurrentTime() noexcept { return static_cast<long>(nDivEntiere(CClock::s_nMaintenant(), 1000)); }

long CXTime::nGetCurrentTime(_SYSTEMTIME* pstLocal) noexcept {
    const int64_t nMs = CClock::s_nMaintenant();
    if (pstLocal != nullptr) {
        CXTime clMaintenant(static_cast<long>(nDivEntiere(nMs, 1000)));
        clMaintenant.m_nMillisecondes = static_cast<int32_t>(nMs - nDivEntiere(nMs, 1000) * 1000);
        if (!clMaintenant.bGetAsSystemTime(*pstLocal)) *pstLocal = _SYSTEMTIME{};
    }
    return static_cast<long>(nDivEntiere(nMs, 1000));
}

void CXTime::GetLocalTime(_SYSTEMTIME* pstLocal) noexcept { ::GetLocalTime(pstLocal); }

bool CXTime::bSetLocalTime(const _SYSTEMTIME* pstLocal) noexcept { return ::SetLocalTime(pstLocal) != 0; }

bool CXTime::bInitLocalTime() const noexcept {
    _SYSTEMTIME st{};
    if (!bGetAsSystemTime(st)) {
        errno = EINVAL;
        return false;
    }
    return bSetLocalTime(&st);
}

template bool CXTime::bSetZKDateTime<char>(const char*, int) noexcept;
template bool CXTime::bSetZKDateTime<wchar_t>(const wchar_t*, int) noexcept;
