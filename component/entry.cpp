// The C entry points that the machine resolves by name, the module record and the signals set up
// at load. Nothing thrown may leave these functions.
#include <csignal>
#include <cstring>
#include <new>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>

#include "base/resources.h"
#include "component/composante.h"
#include "component/execution.h"
#include "component/tables.h"
#include "component/version.h"
#include "numeric/hasard.h"

#define OV_EXPORT extern "C" __attribute__((visibility("default")))

OV_EXPORT int bInitLibrary(void* hModule);
OV_EXPORT void TermLibrary();
OV_EXPORT intptr_t Execution(unsigned int nCommande, intptr_t nArgument);
OV_EXPORT intptr_t InfoComposante(unsigned int nSelecteur, intptr_t nIndex);
OV_EXPORT int CommandeComposante(int nCommande, intptr_t nArgument);
OV_EXPORT void* pQueryProxy(int nNumero);
OV_EXPORT void DeclareProxy(void** ppProxy1, short* pnProxy2, void** ppProxy3, short* pnProxy4);

extern const _stErrorDef gstErrorDef8[];
extern const uint8_t _pbyBufferRes8[];
extern const int gnTailleBufferRes8;

// The block's offsets are indexed once, on first use; the static's start is thread-safe.
static bool bGetResAnsi8(STRessourceModule& stRessource) {
    static const CResAnsiIndex s_clIndex(_pbyBufferRes8, static_cast<size_t>(gnTailleBufferRes8));
    return s_clIndex.bCherche(stRessource);
}

const _stMyModuleInfo gstMyModuleInfo8 = {
    gstErrorDef8,
    gnNbErrorDef8,
    8,
    "ov200std64.so",
    gszVersionComposante,
    bGetResAnsi8,
    reinterpret_cast<void*>(&bInitLibrary),
    reinterpret_cast<void*>(&TermLibrary),
    1,
    reinterpret_cast<void*>(&pQueryProxy),
    nullptr,
    reinterpret_cast<void*>(&InfoComposante),
    reinterpret_cast<void*>(&Execution),
    nullptr,
    nullptr,
    nullptr,
};

static void* ghInstance_STD = nullptr;

// ---------------------------------------------------------------- signals

namespace {

struct sigaction stOldAct;
bool gbOldActSaved = false;

void DefaultAlarmHandler(int) {}

// SIGALRM only has to interrupt a blocking call (timed semaphore waits), so its handler is empty
// and installed without SA_RESTART.
void InitAlarmHandler(void (*pfnHandler)(int)) {
    struct sigaction st {};
    st.sa_handler = pfnHandler ? pfnHandler : DefaultAlarmHandler;
    sigemptyset(&st.sa_mask);
    st.sa_flags = 0;
    sigaction(SIGALRM, &st, nullptr);
}

// Every dead child is reaped here so that the processes this library starts never linger as
// zombies. A handler that was there before runs first. The reap never blocks: SIGCHLD also
// reports stopped and continued children, and waiting for one of those would hang the thread.
void child_sigaction(int nSignal, siginfo_t* pstInfo, void* pContext) {
    int nErrno = errno;
    if (gbOldActSaved) {
        if (stOldAct.sa_flags & SA_SIGINFO) {
            if (reinterpret_cast<uintptr_t>(stOldAct.sa_sigaction) > 1) stOldAct.sa_sigaction(nSignal, pstInfo, pContext);
        } else if (reinterpret_cast<uintptr_t>(stOldAct.sa_handler) > 1) {
            stOldAct.sa_handler(nSignal);
        }
    }
    if (pstInfo && (pstInfo->si_code == CLD_EXITED || pstInfo->si_code == CLD_KILLED || pstInfo->si_code == CLD_DUMPED)) {
        int nStatus = 0;
        waitpid(pstInfo->si_pid, &nStatus, WNOHANG);
    }
    errno = nErrno;
}

}  // namespace

// ---------------------------------------------------------------- entry points

OV_EXPORT int bInitLibrary(void* hModule) {
    DLLRES_bInit();
    InitAlarmHandler(nullptr);
    struct sigaction st {};
    sigemptyset(&st.sa_mask);
    st.sa_flags = SA_SIGINFO | SA_NODEFER;
    st.sa_sigaction = child_sigaction;
    gbOldActSaved = sigaction(SIGCHLD, &st, &stOldAct) == 0;
    CZKLibrary::s_bInit(hModule);
    ghInstance_STD = hModule;
    return 1;
}

OV_EXPORT void TermLibrary() {
    CBaseExecutionDLL::s_TermineDLL();
    CZKLibrary::s_Term();
    DLLRES_Term();
    if (gbOldActSaved) {
        sigaction(SIGCHLD, &stOldAct, nullptr);
        gbOldActSaved = false;
    }
}

OV_EXPORT intptr_t Execution(unsigned int nCommande, intptr_t nArgument) {
    switch (nCommande) {
    case EXECUTION_INIT: {
        const auto* pstInit = reinterpret_cast<const STInitExecution*>(nArgument);
        if (!pstInit) return 0;
        // The record announces its size; a field is read only when the record covers it, so a
        // short record is never read past its end.
        uint64_t qwTaille = pstInit->qwTaille;
        void* hMachine = qwTaille >= 16 ? pstInit->hMachine : nullptr;
        uint32_t dw1 = qwTaille >= 24 ? pstInit->dwUtilisation1 : 0;
        uint32_t dw2 = qwTaille >= 24 ? pstInit->dwUtilisation2 : 0;
        ILibShop* piLibShop = qwTaille >= sizeof(STInitExecution) ? pstInit->piLibShop : nullptr;
        if (!gpclExecutionDLL8) {
            gpclExecutionDLL8 = new (std::nothrow) CExecutionSTD;
            if (!gpclExecutionDLL8) return 0;
            // A failed start keeps the half-made object, as the machine expects.
            if (!gpclExecutionDLL8->__bInitialiseInterne__INTERNE__(hMachine, piLibShop)) return 0;
        }
        gpclExecutionDLL8->vSetUtilisation(dw1, dw2);
        ++CBaseExecutionDLL::ms_nNbInitialisation;
        return 1;
    }
    case EXECUTION_TERMINE:
        if (CBaseExecutionDLL::ms_nNbInitialisation != 0 && --CBaseExecutionDLL::ms_nNbInitialisation != 0) return 1;
        if (!gpclExecutionDLL8) return 1;
        gpclExecutionDLL8->m_nEtat = 1;
        gpclExecutionDLL8->__TermineDLLInterne__INTERNE__();
        delete gpclExecutionDLL8;
        gpclExecutionDLL8 = nullptr;
        return 1;
    case EXECUTION_INFO_LOCALE:
        CInformationDLL::ms_piInfoLocale = reinterpret_cast<void*>(nArgument);
        return 1;
    case EXECUTION_CHANGE_LANGUE:
        if (gpclExecutionDLL8) gpclExecutionDLL8->vChangeLangue();
        return 1;
    case EXECUTION_INIT_TYPE_DINO: {
        auto* piFabrique = static_cast<IStdVersion*>(CInformationDLL::ms_piGlobalFactory);
        if (!piFabrique || piFabrique->nGetVersion() < 2 || !gpclExecutionDLL8) return 1;
        return gpclExecutionDLL8->vbInitialiseTypeDINO(reinterpret_cast<CXError*>(nArgument)) ? 1 : 2;
    }
    case EXECUTION_DUMP_MEMOIRE:
        return gpclExecutionDLL8 ? gpclExecutionDLL8->vbDumpMemoire(reinterpret_cast<IDumpMemoire*>(nArgument)) : 0;
    case EXECUTION_DESACTIVE:
        if (gpclExecutionDLL8) gpclExecutionDLL8->vDesactiveApplication();
        return 1;
    case EXECUTION_REACTIVE:
        if (gpclExecutionDLL8) gpclExecutionDLL8->vReactiveApplication();
        return 1;
    default:
        return 0;
    }
}

OV_EXPORT intptr_t InfoComposante(unsigned int nSelecteur, intptr_t nIndex) {
    // The help and description arrays hold three entries and a null; any other index answers 0
    // rather than reading past them.
    auto TexteIndexe = [nIndex](const wchar_t* const* ppsz) -> intptr_t {
        return nIndex >= 0 && nIndex < 4 ? reinterpret_cast<intptr_t>(ppsz[nIndex]) : 0;
    };
    switch (nSelecteur) {
    case 0: return 13;
    case 1: return 8;
    case 2: return 391;
    case 3: return 1;
    case 4: return TexteIndexe(__gpszTabAide8);
    case 23: return reinterpret_cast<intptr_t>(__gstTabConstante8);
    case 24: return gnNbConstante8;
    case 25: return reinterpret_cast<intptr_t>(__gstTabVariable8);
    case 26: return gnNbVariable8;
    case 29: return reinterpret_cast<intptr_t>(__gpstTabClasse8);
    case 30: return gnNbClasse8;
    case 31: return reinterpret_cast<intptr_t>(__gstTabTypeRef8);
    case 32: return gnNbTypeRef8;
    case 33: return reinterpret_cast<intptr_t>(__gstTabFonction8);
    case 34: return gnNbFonction8;
    case 39: return TexteIndexe(__gpszTabDescription8);
    case 40: return reinterpret_cast<intptr_t>(gbyBlocNom);
    case 41: return gnTailleBlocNom8;
    default: return 0;
    }
}

namespace {
struct STChargeTexte {
    uint32_t dwMot;
    uint32_t nMessage;
    wchar_t* pszTampon;
    uint32_t nTaille;
    int32_t nResultat;
};
}  // namespace

OV_EXPORT int CommandeComposante(int nCommande, intptr_t nArgument) {
    switch (nCommande) {
    case 2:
        gpfnLoadStringOVM = reinterpret_cast<PFNLOADSTRINGOVM>(nArgument);
        return 1;
    case 3: {
        auto* pst = reinterpret_cast<STChargeTexte*>(nArgument);
        if (!pst) return 0;
        pst->nResultat = DLLRES_nLoadString(&gstMyModuleInfo8, pst->nMessage, pst->pszTampon, static_cast<int>(pst->nTaille));
        return pst->nResultat;
    }
    case 4:
        return DLLRES_nGetUtilisation(&gstMyModuleInfo8, static_cast<unsigned>(nArgument));
    default:
        return 0;
    }
}

OV_EXPORT void* pQueryProxy(int nNumero) {
    switch (nNumero) {
    case 60: return static_cast<IZKLibrary*>(new (std::nothrow) CComposanteStandard);
    case 6: return static_cast<IHasard*>(new (std::nothrow) CHasard);
    default: return nullptr;
    }
}

OV_EXPORT void DeclareProxy(void** ppProxy1, short* pnProxy2, void** ppProxy3, short* pnProxy4) {
    if (ppProxy1) *ppProxy1 = nullptr;
    if (pnProxy2) *pnProxy2 = 0;
    if (ppProxy3) *ppProxy3 = nullptr;
    if (pnProxy4) *pnProxy4 = 0;
}
