// Calling a language procedure back from a library function.
#include "component/callback.h"

#include <cstring>

#include "base/any.h"
#include "base/error.h"
#include "component/interfaces/type_codes.h"

CCallback::~CCallback() {
    AnnuleExecution();
    _LibereMethode();
}

void CCallback::_LibereMethode() noexcept {
    if (m_piMethode != nullptr) {
        IAppelMethode* pi = m_piMethode;
        m_piMethode = nullptr;
        pi->nRelease();
    }
}

bool CCallback::bInit(const wchar_t* pszProcedure, IVM* piVM, CXError* pclErreur) noexcept {
    if (pszProcedure == nullptr || pszProcedure[0] == L'\0' || piVM == nullptr) return false;
    AnnuleExecution();
    _LibereMethode();
    CXError clErreurLocale;
    // The machine's handle comes with a reference, which this object now holds.
    m_piMethode = piVM->piTrouveTraitement(pszProcedure, 0, pclErreur != nullptr ? pclErreur : &clErreurLocale);
    if (m_piMethode == nullptr) return false;
    if (m_piMethode->bEstDisponible() != 0) return true;
    _LibereMethode();  // found but not callable here: nothing to keep
    return false;
}

bool CCallback::bInitFromAppelMethode(IAppelMethode* piMethode) noexcept {
    if (piMethode == nullptr) return false;
    AnnuleExecution();
    piMethode->nAddRef();  // before releasing the old one, which may be the same handle
    _LibereMethode();
    m_piMethode = piMethode;
    if (m_piMethode->bEstDisponible() != 0) return true;
    _LibereMethode();
    return false;
}

bool CCallback::bInitFromAny(const CAny& clProcedure, CXError* /*pclErreur*/) noexcept {
    if (clProcedure.nGetTypeCode() != static_cast<int>(ovtype::PROCEDURE) || clProcedure.bEstNull()) return false;
    IAppelMethode* piMethode = nullptr;
    std::memcpy(&piMethode, clProcedure.pbyValeur(), sizeof(piMethode));
    return bInitFromAppelMethode(piMethode);
}

IVM* CCallback::_piVMPourAppel(CXError* pclErreur) noexcept {
    if (m_piVM == nullptr && m_piMethode != nullptr) m_piVM = m_piMethode->piGetVM(pclErreur);
    return m_piVM;
}

void CCallback::_LibereVMAppel() noexcept {
    if (m_piVM != nullptr) {
        IVM* pi = m_piVM;
        m_piVM = nullptr;
        pi->ReleaseVM();
    }
}

namespace {
// One shape for every push: find the machine, push, count what it took.
template <class TPush>
bool bEmpile(IVM* piVM, int* pnNbArgument, TPush fnPush) noexcept {
    if (piVM == nullptr) return false;
    if (!fnPush(piVM)) return false;
    ++*pnNbArgument;
    return true;
}
}  // namespace

bool CCallback::bEmpileEntier(int nValeur, CXError* pclErreur) noexcept {
    return bEmpile(_piVMPourAppel(pclErreur), &m_nNbArgument,
                   [&](IVM* pi) { return pi->nEmpileEntierAppel(nValeur, pclErreur) != 0; });
}

bool CCallback::bEmpileChaineX(const wchar_t* pszValeur, CXError* pclErreur) noexcept {
    return bEmpile(_piVMPourAppel(pclErreur), &m_nNbArgument,
                   [&](IVM* pi) { return pi->bEmpileChaineAppel(pszValeur != nullptr ? pszValeur : L"", pclErreur) != 0; });
}

bool CCallback::bEmpileChaineX_Cur(const wchar_t* pszValeur, CXError* pclErreur) noexcept {
    return bEmpile(_piVMPourAppel(pclErreur), &m_nNbArgument, [&](IVM* pi) {
        return pi->bEmpileChaineCouranteAppel(pszValeur != nullptr ? pszValeur : L"", pclErreur) != 0;
    });
}

bool CCallback::bEmpileChamp(IObjetAPCode* piChamp, CXError* pclErreur) noexcept {
    return bEmpile(_piVMPourAppel(pclErreur), &m_nNbArgument,
                   [&](IVM* pi) { return pi->bEmpileChampAppel(piChamp, pclErreur) != 0; });
}

bool CCallback::bEmpileTableau(IZKTableau* piTableau, CXError* pclErreur) noexcept {
    return bEmpile(_piVMPourAppel(pclErreur), &m_nNbArgument,
                   [&](IVM* pi) { return pi->bEmpileTableauAppel(piTableau, pclErreur) != 0; });
}

bool CCallback::bEmpileAny(CAny* pclValeur, CXError* pclErreur) noexcept {
    return bEmpile(_piVMPourAppel(pclErreur), &m_nNbArgument, [&](IVM* pi) {
        if (pclValeur != nullptr) return pi->bEmpileAnyAppel(pclValeur, pclErreur) != 0;
        CAny clNull;
        clNull.SetNull();
        return pi->bEmpileAnyAppel(&clNull, pclErreur) != 0;
    });
}

void CCallback::SetCallingObject(IObjetAPCode* piObjet) noexcept {
    if (IVM* pi = _piVMPourAppel(nullptr)) pi->SetObjetAppelant(piObjet);
}

bool CCallback::bExecute(CAny* pclRetour, CXError* pclErreur) noexcept {
    IVM* piVM = _piVMPourAppel(pclErreur);
    if (piVM == nullptr || m_piMethode == nullptr) {
        AnnuleExecution();
        return false;
    }
    piVM->PrepareAppel();
    if (pclRetour != nullptr) {
        // The machine writes the answer through the shared layout: into an empty value, whose
        // operations it leaves for us to attach from the type it wrote.
        *pclRetour = CAny();
        piVM->SetRetourAppel(pclRetour);
    }
    CXError clErreurLocale;
    const int nResultat =
        piVM->nExecuteAppel(m_piMethode, m_nNbArgument, pclErreur != nullptr ? pclErreur : &clErreurLocale, 0);
    if (pclRetour != nullptr) CAny::s_pclAttacheOperations(pclRetour);
    // The machine consumed the arguments, whatever the outcome.
    m_nNbArgument = 0;
    _LibereVMAppel();
    return nResultat != 0;
}

void CCallback::AnnuleExecution() noexcept {
    IVM* piVM = _piVMTenue();
    if (m_nNbArgument > 0 && piVM != nullptr) piVM->AnnuleAppel();
    m_nNbArgument = 0;
    _LibereVMAppel();
}

// ---------------------------------------------------------------------------------------------
// CCallbackThread

CCallbackThread::~CCallbackThread() {
    // The base destructor would call our overrides after this part is gone: cancel here.
    AnnuleExecution();
    if (m_piVMThread != nullptr) {
        IVM* pi = m_piVMThread;
        m_piVMThread = nullptr;
        pi->ReleaseVM();
    }
}

bool CCallbackThread::bInitThread(const wchar_t* pszProcedure, IVM* piVM, CXError* pclErreur, eCTE eType) noexcept {
    if (pszProcedure == nullptr || pszProcedure[0] == L'\0' || piVM == nullptr) return false;
    AnnuleExecution();
    _LibereMethode();
    if (m_piVMThread != nullptr) {
        m_piVMThread->ReleaseVM();
        m_piVMThread = nullptr;
    }
    CXError clErreurLocale;
    m_piVMThread = piVM->piDupliqueVMThread(static_cast<int>(eType), pszProcedure, &m_piMethode,
                                            pclErreur != nullptr ? pclErreur : &clErreurLocale);
    return m_piVMThread != nullptr;
}

IVM* CCallbackThread::_piVMPourAppel(CXError* pclErreur) noexcept {
    if (m_piVMThread != nullptr) return m_piVMThread;
    return CCallback::_piVMPourAppel(pclErreur);
}

IVM* CCallbackThread::_piVMTenue() const noexcept { return m_piVMThread != nullptr ? m_piVMThread : m_piVM; }

bool bVerifieInteruptionUtilisateur(IVM* piVM, int nValeur, CXError* pclErreur) noexcept {
    return piVM != nullptr && piVM->nVerifieInterruption(nValeur, pclErreur) == 10;
}
