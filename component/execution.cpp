// The execution object and its conversation with the machine's own Execution entry.
#include "component/execution.h"

#include <dlfcn.h>

#include <new>

IStrMemAlloc* CInformationModule::ms_piStrMemAlloc = nullptr;
ILibShop* CInformationDLL::ms_piLibShop = nullptr;
void* CInformationDLL::ms_piGlobalFactory = nullptr;
void* CInformationDLL::ms_piCollecteurTopo = nullptr;
void* CInformationDLL::ms_piInfoLocale = nullptr;
IInformationComposante* CInformationDLL::ms_piInformationComposante = nullptr;
int* CInformationDLL::ms_pbMultithread = nullptr;
int CInformationDLL::ms_nCodeProduitExecution = 0;
int CInformationDLL::ms_nCodeProduitReel = 0;
int CInformationDLL::ms_nLangueInterne = 0;
const wchar_t* CInformationDLL::ms_pszNomProduit = nullptr;
uint32_t CInformationDLL::ms_dwOptions = 0;
uint32_t CInformationDLL::ms_dwVersionActive = 0;
int CBaseExecutionDLL::ms_nNbInitialisation = 0;

CBaseExecutionDLL* gpclExecutionDLL8 = nullptr;

intptr_t CBaseExecutionDLL::s_nDemandeMachine(unsigned int nCommande, intptr_t nArgument) {
    if (!gpclExecutionDLL8 || !gpclExecutionDLL8->m_pfnExecutionMachine) return 0;
    return gpclExecutionDLL8->m_pfnExecutionMachine(nCommande, nArgument);
}

bool CBaseExecutionDLL::_s_InitialiseCommun(void* hMachine) {
    m_hMachine = hMachine;
    m_pfnExecutionMachine = reinterpret_cast<PFNEXECUTION>(dlsym(hMachine, "Execution"));
    if (!m_pfnExecutionMachine) return false;
    ms_piGlobalFactory = reinterpret_cast<void*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_FABRIQUE_GLOBALE));
    ms_piCollecteurTopo = reinterpret_cast<void*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_COLLECTEUR_TOPO));
    ms_piInfoLocale = reinterpret_cast<void*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_INFO_LOCALE));
    ms_piStrMemAlloc = reinterpret_cast<IStrMemAlloc*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_ALLOCATEUR));
    ms_piInformationComposante =
        reinterpret_cast<IInformationComposante*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_INFORMATION_COMPOSANTE));
    return true;
}

bool CBaseExecutionDLL::__bInitialiseInterne__INTERNE__(void* hMachine, ILibShop* piLibShop) {
    if (hMachine) {
        if (!_s_InitialiseCommun(hMachine)) return false;
        ms_piLibShop = piLibShop ? piLibShop
                                 : reinterpret_cast<ILibShop*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_LIBSHOP));
        ms_nCodeProduitExecution = static_cast<int>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_CODE_PRODUIT));
        ms_nCodeProduitReel = static_cast<int>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_CODE_PRODUIT_REEL));
        ms_nLangueInterne = static_cast<int>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_LANGUE_INTERNE));
        ms_pszNomProduit = reinterpret_cast<const wchar_t*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_NOM_PRODUIT));
        ms_dwOptions = static_cast<uint32_t>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_OPTIONS));
        uint32_t dwVersion = static_cast<uint32_t>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_VERSION_ACTIVE));
        if (dwVersion > ms_dwVersionActive) ms_dwVersionActive = dwVersion;
        ms_pbMultithread = reinterpret_cast<int*>(m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_MULTITHREAD));
    }
    return vbInitialiseDLL() != 0;
}

bool CBaseExecutionDLL::_bUtiliseNET() {
    return m_pfnExecutionMachine && m_pfnExecutionMachine(MACHINE_QUESTION, QUESTION_UTILISE_NET) != 0;
}

void CBaseExecutionDLL::s_DebutThread() { s_nDemandeMachine(MACHINE_DEBUT_THREAD, 0); }
void CBaseExecutionDLL::s_FinThread() { s_nDemandeMachine(MACHINE_FIN_THREAD, 0); }

void CBaseExecutionDLL::s_TermineDLL() {
    CBaseExecutionDLL* pcl = gpclExecutionDLL8;
    if (!pcl || pcl->m_nEtat != 0 || !pcl->m_pfnExecutionMachine) return;
    pcl->m_pfnExecutionMachine(MACHINE_BIBLIOTHEQUE_PART, 0);
    delete pcl;
    gpclExecutionDLL8 = nullptr;
}

bool CBaseExecutionDLL::s_bInitialiseMoiMeme(void* hMachine) {
    if (gpclExecutionDLL8) return true;
    CExecutionSTD* pcl = new (std::nothrow) CExecutionSTD;
    if (!pcl) return false;
    gpclExecutionDLL8 = pcl;
    if (hMachine && !pcl->_s_InitialiseCommun(hMachine)) return false;
    if (!pcl->vbInitialiseDLL()) return false;
    pcl->m_nEtat = 1;  // keeps s_TermineDLL from telling the machine
    return true;
}

void CBaseExecutionDLL::s_InitLibShopMoiMeme() {
    if (!ms_piLibShop) ms_piLibShop = reinterpret_cast<ILibShop*>(s_nDemandeMachine(MACHINE_QUESTION, QUESTION_LIBSHOP));
}

namespace {
struct STPileC {
    int nValeur;
    wchar_t* pszPile;
    int nTaille;
    int nOption;
};
}  // namespace

bool CBaseExecutionDLL::s_bRemplitPileC(int nValeur, wchar_t* pszPile, int nTaille, int nOption) {
    STPileC st{nValeur, pszPile, nTaille, nOption};
    return s_nDemandeMachine(MACHINE_PILE_C, reinterpret_cast<intptr_t>(&st)) != 0;
}

int CBaseExecutionDLL::s_eGetModeSmartphone() {
    return static_cast<int>(s_nDemandeMachine(MACHINE_QUESTION, QUESTION_MODE_SMARTPHONE));
}

void* CBaseExecutionDLL::s_hGetHinstanceVM() { return gpclExecutionDLL8 ? gpclExecutionDLL8->m_hMachine : nullptr; }

int CExecutionSTD::vbDumpMemoire(IDumpMemoire*) { return 1; }
