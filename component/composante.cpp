// CComposanteStandard: construction, module start and stop, language variables.
#include "component/composante.h"

#include <cstdlib>
#include <new>

#include "component/execution.h"
#include "component/interfaces/calendar.h"
#include "files/file_handles.h"
#include "memory/shared_memory.h"
#include "memory/memory_lists.h"
#include "memory/zone_memoire.h"

int CComposanteStandard::m_snStaticCountInit = 0;
bool CComposanteStandard::m_sbStaticInit = false;

// The sibling library that serves currency tables; the machine's shop hands it out by number.
static constexpr int LIBRAIRIE_DEVISE = 61;

// ---------------------------------------------------------------- CZKINTArray

CZKINTArray::~CZKINTArray() { std::free(m_pnElements); }

int* CZKINTArray::pnElement(int nIndice) {
    if (nIndice < 0) return nullptr;
    if (nIndice >= m_nCapacite) {
        int nCapacite = m_nCapacite == 0 ? m_nTailleInitiale : m_nCapacite;
        while (nCapacite <= nIndice) nCapacite += m_nPas;
        int* pn = static_cast<int*>(std::realloc(m_pnElements, sizeof(int) * static_cast<size_t>(nCapacite)));
        if (!pn) return nullptr;
        for (int i = m_nCapacite; i < nCapacite; ++i) pn[i] = 0;
        m_pnElements = pn;
        m_nCapacite = nCapacite;
    }
    if (nIndice >= m_nNbElement) m_nNbElement = nIndice + 1;
    return m_pnElements + nIndice;
}

void CZKINTArray::Vide() {
    std::free(m_pnElements);
    m_pnElements = nullptr;
    m_nNbElement = m_nCapacite = 0;
}

// ---------------------------------------------------------------- life

CComposanteStandard::CComposanteStandard() = default;

CComposanteStandard::~CComposanteStandard() {
    _LibereVariablesService();
    _LibereCalendrier();
}

void CComposanteStandard::_LibereCalendrier() {
    if (ICalendar* pi = m_piCalendrier.exchange(nullptr)) pi->Release();
}

void* CComposanteStandard::pQueryProxy(int nNumero) {
    // 1: the memory-list view for siblings; 2: the parameter store, which arrives with its family.
    if (nNumero == 1) return MEM_pNouvelleZone(this);
    return nullptr;
}

bool CComposanteStandard::_DIVERS_bInitModule() {
    // The random sequence starts from a fixed seed until InitHasard changes it.
    std::srand(0);
    return true;
}

bool CComposanteStandard::_EURO_bInitModule() {
    m_nDeviseTableTrouvee = 0;
    m_pclTauxDeChange = nullptr;
    ILibShop* piLibShop = CInformationDLL::ms_piLibShop;
    m_piDevise = piLibShop ? piLibShop->piGetComposant(LIBRAIRIE_DEVISE, pclGetError()) : nullptr;
    return m_piDevise != nullptr;
}

int CComposanteStandard::bFinInit() {
    bool bResultat = _DIVERS_bInitModule();
    bResultat = _EURO_bInitModule() && bResultat;
    ++m_snStaticCountInit;
    // Once per process: a second language object shares what the first one started, and a
    // stop does not reset the flag, so a later start does not repeat this.
    if (!m_sbStaticInit) {
        m_sbStaticInit = true;
        MEM_InitModule(MEM_Contexte());
        bResultat = _FIC_bInitModule() && bResultat;
        bResultat = COVSharedMemory::s_bInitOVSharedMemory() && bResultat;
    }
    m_pclPersistance = nullptr;
    _LibereVariablesService();
    m_tabActionsEchec.Vide();
    m_tabDelaisEchec.Vide();
    m_bResultatInit = bResultat ? 1 : 0;
    return m_bResultatInit;
}

void CComposanteStandard::TermCompo() {
    _LibereCalendrier();  // it may have been asked for even when the start failed
    if (!m_bResultatInit) return;
    _DIVERS_FinModule();
    if (--m_snStaticCountInit < 1) {
        _FIC_FinModule();
        // After the handles: closing a zone leaves the table of the thread that this stops.
        COVSharedMemory::s_TermOVSharedMemory();
        MEM_FinModule(MEM_Contexte());
    }
    m_pclPersistance = nullptr;
    m_bResultatInit = 0;
}

void CComposanteStandard::vDumpMemoireInstance(IDumpMemoire*) {}

// ---------------------------------------------------------------- language variables

void CComposanteStandard::_LibereVariablesService() {
    // Texts are counted blocks of the machine's allocator; none is written by this library yet,
    // so there is nothing to free beyond resetting the pointers.
    m_pServiceNom = m_pServiceExecutable = m_pServiceLibelle = m_pServiceDescription = nullptr;
    m_pServiceDependances = m_pServiceCompte = m_pServiceMotDePasse = nullptr;
    m_nServiceType = m_nServiceDemarrage = m_nServiceErreur = m_nServiceInteractif = 0;
    m_bServiceRedemarre = m_nNbActionsEchec = m_bDescriptionLue = 0;
}

void* CComposanteStandard::pGetVariableAdresse(int nIndex) {
    switch (nIndex) {
    case 0x27: return &m_pServiceNom;
    case 0x28: return &m_nServiceType;
    case 0x29: return &m_nServiceDemarrage;
    case 0x2a: return &m_pServiceExecutable;
    case 0x2b: return &m_pServiceLibelle;
    case 0x2c: m_bDescriptionLue = 1; return &m_pServiceDescription;
    case 0x2d: return &m_nServiceErreur;
    case 0x2f: return &m_pServiceDependances;
    case 0x30: return &m_nServiceInteractif;
    case 0x31: return &m_pServiceCompte;
    case 0x32: return &m_pServiceMotDePasse;
    case 0x33: return &m_tabActionsEchec;
    case 0x34: return &m_tabDelaisEchec;
    case 0x35: return &m_bServiceRedemarre;
    case 0x36: return &m_nNbActionsEchec;
    default: return nullptr;
    }
}

void CComposanteStandard::EcritVariable(int nIndex, int nValeur) {
    if (nIndex != 0x36) return;
    if (m_nNbActionsEchec > 0) {
        m_tabActionsEchec.pnElement(m_nNbActionsEchec - 1);
        m_tabDelaisEchec.pnElement(m_nNbActionsEchec - 1);
    } else {
        m_tabActionsEchec.Vide();
        m_tabDelaisEchec.Vide();
    }
}
