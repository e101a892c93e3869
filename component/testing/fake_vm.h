// A machine context for tests and benchmarks that call thunks without the stand-in machine: every
// slot answers "nothing", and a test overrides the few it observes (SetRetour, bLitParametreAny,
// nModeChaine).
#pragma once

#include "component/interfaces/machine.h"

class CFakeVM : public IVM {
public:
    virtual ~CFakeVM() = default;
    const wchar_t* pxGetInfoTraitement(int, int) override { return L""; }
    void ReleaseVM() override {}
    int bEmpileAnyAppel(CAny*, CXError*) override { return 0; }
    void PrepareAppel() override {}
    void SetObjetAppelant(IObjetAPCode*) override {}
    void SetRetourAppel(CAny*) override {}
    int nVerifieInterruption(int, CXError*) override { return 0; }
    void AnnuleAppel() override {}
    int bVerifieFonctionnalite(int, CXError*) override { return 0; }
    int bEmpileChampAppel(IObjetAPCode*, CXError*) override { return 0; }
    IInfoLangue* piGetInfoLangue(int, int) override { return nullptr; }
    IAppelMethode* piTrouveTraitement(const wchar_t*, int, CXError*) override { return nullptr; }
    int nExecuteAppel(IAppelMethode*, int, CXError*, int) override { return 0; }
    IFenCommun* piGetFenetreAppelante() override { return nullptr; }
    int bLitParametreAny(int, unsigned int, CAny*, CXError*) override { return 0; }
    int bLitParametreVariable(int, unsigned int, STParametreVariable*, CXError*) override { return 0; }
    void SetRetour(unsigned int, const void*, int) override {}
    int nEmpileEntierAppel(int, CXError*) override { return 0; }
    void EmetAvertissementPerformance(_CXErrorModule8*) override {}
    int bEmpileTableauAppel(IZKTableau*, CXError*) override { return 0; }
    int bAuditPerformanceActif() override { return 0; }
    int nModeChaine() override { return 0; }
    int bEmpileChaineAppel(const wchar_t*, CXError*) override { return 0; }
    int bEmpileChaineCouranteAppel(const wchar_t*, CXError*) override { return 0; }
    void* pxCreeStructureRetour(unsigned int, int) override { return nullptr; }
    void SetMembreStructure(void*, int, const void*, int) override {}
    IVM* piDupliqueVMThread(int, const wchar_t*, void*, CXError*) override { return nullptr; }
};
