// CComposanteStandard: the language object. One method (or several) per language function; the
// declarations come from the catalogue, the definitions live with the family they serve.
#pragma once

#include <atomic>
#include <cstdint>

#include "component/library.h"
#include "component/thunk_types.h"

class CPersistance;
class ICalendar;
struct _stCTXFIC;

// The int arrays behind variables 0x33 and 0x34: grown by touching an element.
class CZKINTArray {
public:
    CZKINTArray(int nTailleInitiale, int nPas) : m_nTailleInitiale(nTailleInitiale), m_nPas(nPas) {}
    ~CZKINTArray();
    CZKINTArray(const CZKINTArray&) = delete;
    CZKINTArray& operator=(const CZKINTArray&) = delete;

    int* pnElement(int nIndice);  // grows the array to hold nIndice; null when memory fails
    void Vide();
    int nGetNbElement() const { return m_nNbElement; }

private:
    int* m_pnElements = nullptr;
    int m_nNbElement = 0;
    int m_nCapacite = 0;
    int m_nTailleInitiale;
    int m_nPas;
};

class CComposanteStandard : public CZKLibrary {
public:
    CComposanteStandard();
    ~CComposanteStandard() override;

    void* pQueryProxy(int nNumero) override;
    int bFinInit() override;
    void TermCompo() override;
    void* pGetVariableAdresse(int nIndex) override;
    void EcritVariable(int nIndex, int nValeur) override;
    void vDumpMemoireInstance(IDumpMemoire* piDump) override;

    // The machine's calendar service, asked for at the first use and kept (one counted reference)
    // until the end of this object's life; null, with the error set, when the machine has none.
    ICalendar* piGetICalendar(CXError* pclErreur);

    // Shared by every instance of the process.
    static int m_snStaticCountInit;
    static bool m_sbStaticInit;
    static _stCTXFIC* m_stCtxFIC;

    // Language functions.
#include "generated/catalogue_methods.inc"

private:
    bool _DIVERS_bInitModule();
    bool _EURO_bInitModule();
    void _DIVERS_FinModule() {}

    int m_nZero = 0;
    // currency state
    int m_nDeviseTableTrouvee = 0;
    void* m_pclTauxDeChange = nullptr;
    void* m_piDevise = nullptr;
    int m_bResultatInit = 0;
    std::atomic<ICalendar*> m_piCalendrier{nullptr};
    void _LibereCalendrier();
    CPersistance* m_pclPersistance = nullptr;
    // Language variables with storage. A text variable is one counted-block pointer, null for
    // the empty text, as the machine reads it.
    void* m_pServiceNom = nullptr;             // 0x27
    int m_nServiceType = 0;                    // 0x28
    int m_nServiceDemarrage = 0;               // 0x29
    void* m_pServiceExecutable = nullptr;      // 0x2a
    void* m_pServiceLibelle = nullptr;         // 0x2b
    void* m_pServiceDescription = nullptr;     // 0x2c
    int m_nServiceErreur = 0;                  // 0x2d
    void* m_pServiceDependances = nullptr;     // 0x2f
    int m_nServiceInteractif = 0;              // 0x30
    void* m_pServiceCompte = nullptr;          // 0x31
    void* m_pServiceMotDePasse = nullptr;      // 0x32
    CZKINTArray m_tabActionsEchec{10, 10};     // 0x33
    CZKINTArray m_tabDelaisEchec{10, 10};      // 0x34
    int m_bServiceRedemarre = 0;               // 0x35
    int m_nNbActionsEchec = 0;                 // 0x36
    int m_bDescriptionLue = 0;                 // set when 0x2c is fetched

    void _LibereVariablesService();
};

// The module record of this library: its error table, number, file name, version and entries.
extern const _stMyModuleInfo gstMyModuleInfo8;
