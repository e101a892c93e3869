// The execution object: one per load of the library, made by Execution(0xf91). It pulls the
// machine's services into class-wide fields that the rest of the library reads.
#pragma once

#include <cstdint>

#include "component/interfaces/machine.h"

class CXError;

class CInformationModule {
public:
    static IStrMemAlloc* ms_piStrMemAlloc;
};

class CInformationDLL : public CInformationModule {
public:
    static ILibShop* ms_piLibShop;
    static void* ms_piGlobalFactory;
    static void* ms_piCollecteurTopo;
    static void* ms_piInfoLocale;
    static IInformationComposante* ms_piInformationComposante;
    static int* ms_pbMultithread;
    static int ms_nCodeProduitExecution;
    static int ms_nCodeProduitReel;
    static int ms_nLangueInterne;
    static const wchar_t* ms_pszNomProduit;
    static uint32_t ms_dwOptions;
    static uint32_t ms_dwVersionActive;
};

class CBaseExecutionDLL : public CInformationDLL {
public:
    CBaseExecutionDLL() = default;
    virtual ~CBaseExecutionDLL() = default;
    CBaseExecutionDLL(const CBaseExecutionDLL&) = delete;
    CBaseExecutionDLL& operator=(const CBaseExecutionDLL&) = delete;

    virtual int vbInitialiseDLL() { return 1; }
    virtual void vSetUtilisation(unsigned int, unsigned int) {}
    virtual void vTermineDLL() {}
    virtual void vChangeLangue() {}
    virtual void vDesactiveApplication() {}
    virtual void vReactiveApplication() {}
    virtual int vbInitialiseTypeDINO(CXError*) { return 1; }
    virtual int vbDumpMemoire(IDumpMemoire*) { return 0; }

    bool __bInitialiseInterne__INTERNE__(void* hMachine, ILibShop* piLibShop);
    void __TermineDLLInterne__INTERNE__() { vTermineDLL(); }
    bool _bUtiliseNET();

    static int ms_nNbInitialisation;

    // For the rest of the library.
    static void s_DebutThread();
    static void s_FinThread();
    static void s_TermineDLL();
    static bool s_bInitialiseMoiMeme(void* hModule);
    static void s_InitLibShopMoiMeme();
    static bool s_bRemplitPileC(int nValeur, wchar_t* pszPile, int nTaille, int nOption);
    static int s_eGetModeSmartphone();
    static void* s_hGetHinstanceVM();
    // The machine's answer to a question; 0 when the machine is not known.
    static intptr_t s_nDemandeMachine(unsigned int nCommande, intptr_t nArgument);

    void* m_hMachine = nullptr;
    PFNEXECUTION m_pfnExecutionMachine = nullptr;
    int m_nEtat = 0;  // non-zero once terminating, or when the library started itself

private:
    bool _s_InitialiseCommun(void* hMachine);
};

class CExecutionSTD : public CBaseExecutionDLL {
public:
    int vbDumpMemoire(IDumpMemoire* piDump) override;
};

extern CBaseExecutionDLL* gpclExecutionDLL8;
