// Language functions on the clock (reading and setting the date and time of day) and on time
// zones (local, universal, and named zones through the machine's calendar service).
#include <atomic>
#include <cerrno>
#include <cwchar>

#include "base/error.h"
#include "component/execution.h"
#include "component/interfaces/calendar.h"
#include "component/thunk.h"
#include "datetime/date_functions.h"
#include "datetime/date_text.h"

using namespace ovjour;

namespace {

CXYString<wchar_t> clTexte(const wchar_t* psz) {
    CXYString<wchar_t> cl;
    cl.nAffecte(psz);
    return cl;
}

// Sets the local clock; a refusal leaves errno in the error.
void Regle(CComposanteStandard* pcl, const _SYSTEMTIME& st) {
    if (SetLocalTime(&st) != 0) return;
    const int nErrno = errno;
    pcl->RaiseError(&gstMyModuleInfo8, 80133);
    pcl->pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
}

}  // namespace

// ---------------------------------------------------------------- reading the clock

CXYString<wchar_t> CComposanteStandard::DateSys() {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    wchar_t sz[32];
    std::swprintf(sz, 32, L"%04d%02d%02d", st.wYear, st.wMonth, st.wDay);
    return clTexte(sz);
}

CXYString<wchar_t> CComposanteStandard::HeureSys() {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    wchar_t sz[32];
    std::swprintf(sz, 32, L"%02d%02d%02d%02d", st.wHour, st.wMinute, st.wSecond, st.wMilliseconds / 10);
    return clTexte(sz);
}

CXYString<wchar_t> CComposanteStandard::HeureSys(CDateTime* pclValeur) {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    if (pclValeur != nullptr) pclValeur->InitDate(&st);
    wchar_t sz[32];
    std::swprintf(sz, 32, L"%02d%02d%02d%02d", st.wHour, st.wMinute, st.wSecond, st.wMilliseconds / 10);
    return clTexte(sz);
}

CDateTime CComposanteStandard::DateHeureSys() {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    CDateTime cl;
    cl.InitDate(&st);
    return cl;
}

int CComposanteStandard::AnneeEnCours() {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    return st.wYear;
}

int CComposanteStandard::MoisEnCours() {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    return st.wMonth;
}

// Four members, read at one instant: the time text, then the date-time, date and time views.
void CComposanteStandard::Maintenant() {
    STZKAppel* pstAppel = pstGetAppel();
    if (pstAppel == nullptr || pstAppel->piVM == nullptr) return;
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    wchar_t szHeure[32], szDate[32];
    std::swprintf(szHeure, 32, L"%02d%02d%02d%02d", st.wHour, st.wMinute, st.wSecond, st.wMilliseconds / 10);
    std::swprintf(szDate, 32, L"%04d%02d%02d", st.wYear, st.wMonth, st.wDay);
    CDateTime clMaintenant;
    clMaintenant.InitDate(&st);
    IVM* piVM = pstAppel->piVM;
    void* pxStructure = piVM->pxCreeStructureRetour(pstAppel->dwFrame, 4);
    if (pxStructure == nullptr) return;
    piVM->SetMembreStructure(pxStructure, 0, szHeure, static_cast<int>(ovtype::WTEXT));
    piVM->SetMembreStructure(pxStructure, 1, &clMaintenant, static_cast<int>(ovtype::DATETIME));
    piVM->SetMembreStructure(pxStructure, 2, szDate, static_cast<int>(ovtype::WTEXT));
    piVM->SetMembreStructure(pxStructure, 3, szHeure, static_cast<int>(ovtype::WTEXT));
    piVM->SetRetour(pstAppel->dwFrame, pxStructure, static_cast<int>(ovtype::STRUCT));
}

// ---------------------------------------------------------------- setting the clock

void CComposanteStandard::DateSys(const wchar_t* pszDate) {
    short nA = 0, nM = 0, nJ = 0;
    if (!bDateVerif(pszDate, &nA, &nM, &nJ, pclGetError())) return;
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    st.wYear = static_cast<uint16_t>(nA);
    st.wMonth = static_cast<uint16_t>(nM);
    st.wDay = static_cast<uint16_t>(nJ);
    Regle(this, st);
}

void CComposanteStandard::HeureSys(const wchar_t* pszHeure) {
    short nH = 0, nM = 0, nS = 0, nC = 0;
    if (!bHeureVerif(pszHeure, &nH, &nM, &nS, &nC, nullptr, pclGetError())) return;
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    st.wHour = static_cast<uint16_t>(nH);
    st.wMinute = static_cast<uint16_t>(nM);
    st.wSecond = static_cast<uint16_t>(nS);
    st.wMilliseconds = static_cast<uint16_t>(nC * 10);
    Regle(this, st);
}

void CComposanteStandard::DateHeureSys(const wchar_t* pszTexte) {
    if (pszTexte == nullptr || std::wcslen(pszTexte) < 8) {
        RaiseError(&gstMyModuleInfo8, 80134);
        return;
    }
    wchar_t szDate[9];
    std::wmemcpy(szDate, pszTexte, 8);
    szDate[8] = 0;
    short nA = 0, nMo = 0, nJ = 0;
    if (!bDateVerif(szDate, &nA, &nMo, &nJ, pclGetError())) return;
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    st.wYear = static_cast<uint16_t>(nA);
    st.wMonth = static_cast<uint16_t>(nMo);
    st.wDay = static_cast<uint16_t>(nJ);
    // A bad time part is silent: the time of day is kept.
    short nH = 0, nMi = 0, nS = 0, nMs = 0;
    if (bHeureVerif(pszTexte + 8, &nH, &nMi, &nS, nullptr, &nMs, nullptr)) {
        st.wHour = static_cast<uint16_t>(nH);
        st.wMinute = static_cast<uint16_t>(nMi);
        st.wSecond = static_cast<uint16_t>(nS);
        st.wMilliseconds = static_cast<uint16_t>(nMs);
    }
    Regle(this, st);
}

void CComposanteStandard::DateHeureSys(CDateTime clValeur) {
    _SYSTEMTIME st{};
    if (!bDateVerif(clValeur.nGetAnnee(), clValeur.nGetMois(), clValeur.nGetJour(), pclGetError())) return;
    clValeur.nVersSysteme(&st);
    Regle(this, st);
}

// ---------------------------------------------------------------- time zones

CXYString<wchar_t> CComposanteStandard::LocaleVersUTC(CDateTime clValeur) {
    _SYSTEMTIME stLocal{}, stUtc{};
    CXYString<wchar_t> cl;
    if (clValeur.nVersSysteme(&stLocal) == 0 && bLocalVersUTC(&stLocal, &stUtc) && clValeur.InitDate(&stUtc))
        clValeur.nVersChaine(&cl);
    if (cl.bEstVide()) RaiseError(&gstMyModuleInfo8, 80051);
    return cl;
}

CXYString<wchar_t> CComposanteStandard::UTCVersLocale(CDateTime clValeur) {
    _SYSTEMTIME stLocal{}, stUtc{};
    CXYString<wchar_t> cl;
    if (clValeur.nVersSysteme(&stUtc) == 0 && bUTCVersLocal(&stUtc, &stLocal) && clValeur.InitDate(&stLocal))
        clValeur.nVersChaine(&cl);
    if (cl.bEstVide()) RaiseError(&gstMyModuleInfo8, 80051);
    return cl;
}

namespace {

// Set zone, set date-time, set zone, get date-time: the calendar converts on the way.
bool _bDateHeureFuseauVersFuseau(CComposanteStandard* pcl, const wchar_t* pszDe, const CDateTime& clValeur,
                                 const wchar_t* pszVers, CDateTime* pclSortie) {
    ICalendar* piCalendrier = pcl->piGetICalendar(pcl->pclGetError());
    if (piCalendrier == nullptr) {
        pcl->RaiseError(&gstMyModuleInfo8, 80003, CALENDRIER_NOM);
        return false;
    }
    const STDateTimeView stValeur{clValeur.dwGetDate(), clValeur.dwGetMillisecondes()};
    STDateTimeView stSortie{};
    if (!piCalendrier->bSetFuseau(pszDe)) {
        pcl->RaiseError(&gstMyModuleInfo8, 81865, pszDe);
        return false;
    }
    if (!piCalendrier->bSetDateHeure(&stValeur)) {
        pcl->RaiseError(&gstMyModuleInfo8, 80051);
        return false;
    }
    if (!piCalendrier->bSetFuseau(pszVers)) {
        pcl->RaiseError(&gstMyModuleInfo8, 81865, pszVers);
        return false;
    }
    if (!piCalendrier->bGetDateHeure(&stSortie)) {
        pcl->RaiseError(&gstMyModuleInfo8, 80051);
        return false;
    }
    pclSortie->SetMots(stSortie.dwDate, stSortie.dwMillisecondes);
    return true;
}

}  // namespace

CXYString<wchar_t> CComposanteStandard::DateHeureLocaleVersFuseau(CDateTime clValeur, const wchar_t* pszZone) {
    if (pszZone == nullptr || pszZone[0] == 0) {
        RaiseError(&gstMyModuleInfo8, 81865, L"");
        return {};
    }
    CDateTime clSortie;
    CXYString<wchar_t> cl;
    if (_bDateHeureFuseauVersFuseau(this, nullptr, clValeur, pszZone, &clSortie)) clSortie.nVersChaine(&cl);
    return cl;
}

CXYString<wchar_t> CComposanteStandard::DateHeureFuseauVersLocale(CDateTime clValeur, const wchar_t* pszZone) {
    if (pszZone == nullptr || pszZone[0] == 0) {
        RaiseError(&gstMyModuleInfo8, 81865, L"");
        return {};
    }
    CDateTime clSortie;
    CXYString<wchar_t> cl;
    if (_bDateHeureFuseauVersFuseau(this, pszZone, clValeur, nullptr, &clSortie)) clSortie.nVersChaine(&cl);
    return cl;
}

ICalendar* CComposanteStandard::piGetICalendar(CXError* pclErreur) {
    if (ICalendar* pi = m_piCalendrier.load()) return pi;
    ILibShop* piLibShop = CInformationDLL::ms_piLibShop;
    if (piLibShop == nullptr) return nullptr;
    auto* piLibrairie = static_cast<ICalendarLibrary*>(piLibShop->piGetComposant(CALENDRIER_LIBRAIRIE, pclErreur));
    if (piLibrairie == nullptr) return nullptr;
    ICalendar* piCalendrier = piLibrairie->piGetCalendar(CALENDRIER_INTERFACE, CALENDRIER_NOM);
    piLibrairie->Release();
    if (piCalendrier == nullptr) return nullptr;
    ICalendar* piAttendu = nullptr;
    if (!m_piCalendrier.compare_exchange_strong(piAttendu, piCalendrier)) {
        piCalendrier->Release();  // another thread got there first
        return piAttendu;
    }
    return piCalendrier;
}
