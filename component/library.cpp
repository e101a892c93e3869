// CZKLibrary: call record, threads and the instance's error object.
#include "component/library.h"

namespace {
void* ghModuleLibrary = nullptr;
}

CZKLibrary::CZKLibrary() : m_dwThreadProprietaire(pthread_self()), m_dwThreadAppelant(pthread_self()) {
    m_pclError = new (std::nothrow) CXError(&gstMyModuleInfo8);
    if (m_pclError) m_pclError->dwAddRef();
}

CZKLibrary::~CZKLibrary() {
    if (m_pclError) m_pclError->dwRelease();
}

int CZKLibrary::Release() {
    delete this;
    return 0;
}

void* CZKLibrary::pQueryProxy(int) { return nullptr; }

unsigned long CZKLibrary::dwActionGenerique(unsigned int nAction, unsigned long nValeur) {
    if (nAction != 1) return 0;
    m_dwThreadProprietaire = static_cast<pthread_t>(nValeur);
    return 1;
}

STZKAppel* CZKLibrary::ChangeContexteAppel(STZKAppel* pstAppel) {
    STZKAppel* pstAncien = m_pstAppel;
    m_pstAppel = pstAppel;
    m_dwThreadAppelant = pthread_self();
    return pstAncien;
}

void* CZKLibrary::pRecupereAdresseVariable(STZKAppel* pstAppel) {
    STZKAppel* pstAncien = ChangeContexteAppel(pstAppel);
    void* pAdresse = pGetVariableAdresse(pstAppel ? pstAppel->nIndexCible : 0);
    m_pstAppel = pstAncien;
    return pAdresse;
}

int CZKLibrary::bSignaleEcritureVariable(STZKAppel* pstAppel) {
    STZKAppel* pstAncien = ChangeContexteAppel(pstAppel);
    if (pstAppel) EcritVariable(pstAppel->nIndexCible, pstAppel->nSecondMot);
    m_pstAppel = pstAncien;
    return m_pclError && m_pclError->eGetErrorLevel() == CXError::EL_NOERROR;
}

void CZKLibrary::RaiseError(const _stMyModuleInfo* pstModule, int nNumero, ...) {
    va_list args;
    va_start(args, nNumero);
    RaiseErrorList(pstModule, nNumero, args);
    va_end(args);
}

void CZKLibrary::RaiseErrorList(const _stMyModuleInfo* pstModule, int nNumero, va_list args) {
    if (m_pclError) m_pclError->SetUserErrorList(pstModule, nNumero, args);
}

void CZKLibrary::RaiseError(CXError* pclSource) {
    if (!m_pclError) return;
    if (!pclSource) {
        m_pclError->RAZ();
        return;
    }
    if (pclSource == m_pclError) return;
    m_pclError->Transfert(pclSource);
}

void CZKLibrary::RaiseErrorCopy(const CXError* pclSource) {
    if (!m_pclError || !pclSource || pclSource == m_pclError) return;
    m_pclError->Copy(pclSource);
    if (pclSource->nGetLibraryNumber() != m_pclError->nGetLibraryNumber()) m_pclError->DeleteInfo(CXError::EIT_DATAACCESS);
}

void CZKLibrary::RAZError() {
    if (m_pclError) m_pclError->RAZ();
}

bool CZKLibrary::s_bInit(void* hModule) {
    ghModuleLibrary = hModule;
    return true;
}

void CZKLibrary::s_Term() {}
