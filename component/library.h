// CZKLibrary: what the machine holds on a component's language object. It owns the instance's
// error object, tracks the current call record and the threads, and raises numbered errors.
#pragma once

#include <cstdarg>
#include <pthread.h>

#include "base/error.h"
#include "base/module_info.h"
#include "component/interfaces/machine.h"

class CZKLibrary : public IZKLibrary {
public:
    CZKLibrary();
    CZKLibrary(const CZKLibrary&) = delete;
    CZKLibrary& operator=(const CZKLibrary&) = delete;

    // IStdVersion
    int nGetVersion() override { return 7; }
    int nGetCompatSince() override { return 2; }
    int nGetDllNum() override { return 8; }
    void StdVersion_EmptySlot_1() override {}
    void StdVersion_EmptySlot_2() override {}
    void StdVersion_EmptySlot_3() override {}

    // IZKLibrary
    int Release() override;
    void* pQueryProxy(int nNumero) override;
    void AssertValid_INTERNE_OBSOLETE() override {}
    int nGetLibraryId_OBSOLETE() override { return 8; }
    int nGetVersionZK_OBSOLETE() override { return 7; }
    int nGetVersionZKCompat_OBSOLETE() override { return 2; }
    void GetResume_DEPRECATED(wchar_t*, unsigned long) override {}
    void GetDescription_DEPRECATED(wchar_t*, unsigned long) override {}
    const wchar_t* pzGetHelpFile_DEPRECATED() override { return L""; }
    CXError* pclGetError() override { return m_pclError; }
    void SetLibShop_OBSOLETE(ILibShop*) override {}
    int bFinInitZKL() override { return bFinInit(); }
    void TermZKL() override { TermCompo(); }
    unsigned long dwActionGenerique(unsigned int nAction, unsigned long nValeur) override;
    intptr_t InfoComposante_OBSOLETE(unsigned int, unsigned long) override { return 0; }
    STZKAppel* ChangeContexteAppel(STZKAppel* pstAppel) override;
    void* pRecupereAdresseVariable(STZKAppel* pstAppel) override;
    int bSignaleEcritureVariable(STZKAppel* pstAppel) override;
    void DumpMemoireInstance(IDumpMemoire* piDump) override { vDumpMemoireInstance(piDump); }
    void m751EmptyMethodZKLibrary() override {}
    void m752EmptyMethodZKLibrary() override {}

    // The component's own slots, after the destructors.
    virtual ~CZKLibrary();
    virtual int bFinInit() { return 1; }
    virtual void TermCompo() {}
    virtual void* pGetVariableAdresse(int nIndex) { return nullptr; }
    virtual void EcritVariable(int nIndex, int nValeur) {}
    virtual void vDumpMemoireInstance(IDumpMemoire* piDump) {}

    // Errors of the current call.
    void RaiseError(const _stMyModuleInfo* pstModule, int nNumero, ...);
    void RaiseErrorList(const _stMyModuleInfo* pstModule, int nNumero, va_list args);
    void RaiseError(CXError* pclSource);  // takes the content over; null clears
    void RaiseErrorCopy(const CXError* pclSource);
    void RAZError();

    STZKAppel* pstGetAppel() const { return m_pstAppel; }
    IVM* piGetVM() const { return m_pstAppel ? m_pstAppel->piVM : nullptr; }
    pthread_t dwGetThreadProprietaire() const { return m_dwThreadProprietaire; }
    pthread_t dwGetThreadAppelant() const { return m_dwThreadAppelant; }

    static bool s_bInit(void* hModule);
    static void s_Term();

private:
    STZKAppel* m_pstAppel = nullptr;
    CXError* m_pclError = nullptr;
    [[maybe_unused]] int m_nZero = 0;  // keeps the layout of the object
    pthread_t m_dwThreadProprietaire;
    pthread_t m_dwThreadAppelant;
};
