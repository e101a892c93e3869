// The machine's services as the component sees them: the per-machine IVM that takes every result,
// and the process-wide objects handed out through the machine's Execution entry (allocator,
// ILibShop, IInformationComposante, IInfoLangue).
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "component/interfaces/machine.h"
#include "component/interfaces/money_view.h"
#include "host/allocator.h"
#include "host/calendar.h"
#include "host/conversion.h"  // money text, which results and arguments share
#include "host/table_reader.h"
#include "host/value.h"

namespace ovhost {

// A structured result under construction (pxCreeStructureRetour, SetMembreStructure).
struct STStructureRetour {
    uint64_t dwMarque = 0;
    std::vector<CValue> tabMembres;
};

// One call in progress on a machine: what SetRetour and the parameter readers find by frame word.
struct STCallContext {
    uint32_t dwFrame = 0;
    CValue clResult;
    bool bResultSet = false;
    STStructureRetour* pstStructureResult = nullptr;  // the result is this structure
    std::vector<CValue> tabExtraArguments;            // variadic arguments past the fixed ones
    std::vector<std::unique_ptr<STStructureRetour>> tabStructures;
    std::vector<std::string> tabNotes;
    // The result as it stands at the end of the call.
    CValue clFinalResult() const;
};

// Reads a value pushed by the component (SetRetour, SetMembreStructure) for one type code. Codes it
// does not read give Null and a note.
void ReadPushedValue(const void* pValeur, int nType, CValue* pclValue, std::string* psNote);

// The language procedures that the component may call back (CCallback): the script's own and the
// recorder. The machine finds them by name and runs them with the arguments the component pushed.
class IProcedureHost {
public:
    // The number of parameters the procedure declares, or -1 when no procedure has that name.
    virtual int nTrouveProcedure(std::wstring_view sNom) = 0;
    // Runs it; false when it could not run (its body failed), with the reason in psErreur.
    virtual bool bExecuteProcedure(std::wstring_view sNom, const std::vector<CValue>& tabArguments, CValue* pclRetour,
                                   std::string* psErreur) = 0;

protected:
    ~IProcedureHost() = default;
};

class CVirtualMachine final : public IVM {
public:
    CVirtualMachine() = default;
    CVirtualMachine(const CVirtualMachine&) = delete;
    CVirtualMachine& operator=(const CVirtualMachine&) = delete;
    ~CVirtualMachine() = default;

    // Calls register while their thunk runs, so that SetRetour can find them by frame word.
    void BeginCall(STCallContext* pstCall);
    void EndCall(STCallContext* pstCall);
    void SetModeChaine(int nMode) { m_nModeChaine.store(nMode); }
    // Results pushed with a frame word of no call in progress, dropped.
    int nStrayResults() const { return m_nStray.load(); }

    // Callbacks. The procedures the component may find by name; null: none.
    // Waits for the procedures running on other threads (the library's notification threads call
    // back at any time), so a host withdrawn here is never called again.
    void SetProcedureHost(IProcedureHost* piProcedures) {
        std::unique_lock<std::shared_mutex> verrou(m_mutexProcedures);
        m_piProcedures.store(piProcedures);
    }
    // The user's interruption, as a test arms it: the nApres-th check from now answers 10 (and
    // every check after it, until disarmed with 0).
    void ArmeInterruption(int nApres);
    int nVerificationsInterruption() const { return m_nVerifications.load(); }
    // References handed out and not yet given back: machines for a call (piGetVM,
    // piDupliqueVMThread) and procedure handles. Both are 0 when the component is balanced.
    int nReferencesVM() const { return m_nReferencesVM.load(); }
    int nProceduresVivantes() const { return m_nProceduresVivantes.load(); }
    // Arguments pushed on this thread and not yet consumed by a call or cancelled.
    size_t nArgumentsEnAttente() const;
    // The reason the last callback on this thread did not run, empty when it ran.
    std::string sDerniereErreurAppel() const;
    // Calls the component made of procedures, on any thread.
    int nAppelsProcedure() const { return m_nAppels.load(); }

    const wchar_t* pxGetInfoTraitement(int nSelecteur, int nQuoi) override;
    void ReleaseVM() override;
    int bEmpileAnyAppel(CAny* pclValeur, CXError* pclErreur) override;
    void PrepareAppel() override;
    void SetObjetAppelant(IObjetAPCode* piObjet) override;
    void SetRetourAppel(CAny* pclRetour) override;
    int nVerifieInterruption(int nValeur, CXError* pclErreur) override;
    void AnnuleAppel() override;
    int bVerifieFonctionnalite(int nFonctionnalite, CXError* pclErreur) override;
    int bEmpileChampAppel(IObjetAPCode* piChamp, CXError* pclErreur) override;
    IInfoLangue* piGetInfoLangue(int nReserve1, int nReserve2) override;
    IAppelMethode* piTrouveTraitement(const wchar_t* pszNom, int nReserve, CXError* pclErreur) override;
    int nExecuteAppel(IAppelMethode* piMethode, int nNbArgument, CXError* pclErreur, int nReserve) override;
    IFenCommun* piGetFenetreAppelante() override;
    int bLitParametreAny(int nParametre, unsigned int dwFrame, CAny* pclValeur, CXError* pclErreur) override;
    int bLitParametreVariable(int nParametre, unsigned int dwFrame, STParametreVariable* pstVariable,
                              CXError* pclErreur) override;
    void SetRetour(unsigned int dwFrame, const void* pValeur, int nType) override;
    int nEmpileEntierAppel(int nValeur, CXError* pclErreur) override;
    void EmetAvertissementPerformance(_CXErrorModule8* pclAvertissement) override;
    int bEmpileTableauAppel(IZKTableau* piTableau, CXError* pclErreur) override;
    int bAuditPerformanceActif() override;
    int nModeChaine() override;
    int bEmpileChaineAppel(const wchar_t* pszValeur, CXError* pclErreur) override;
    int bEmpileChaineCouranteAppel(const wchar_t* pszValeur, CXError* pclErreur) override;
    void* pxCreeStructureRetour(unsigned int dwFrame, int nNbMembre) override;
    void SetMembreStructure(void* pxStructure, int nMembre, const void* pValeur, int nType) override;
    IVM* piDupliqueVMThread(int nType, const wchar_t* pszNom, void* pSlotCallback, CXError* pclErreur) override;

private:
    STCallContext* m_pstFind(unsigned int dwFrame);  // among this thread's calls
    STStructureRetour* m_pstFindStructure(const void* pv, STCallContext** ppstCall);

    std::atomic<int> m_nModeChaine{0};  // wide text (Unicode mode)
    std::atomic<int> m_nStray{0};
    std::atomic<IProcedureHost*> m_piProcedures{nullptr};
    std::shared_mutex m_mutexProcedures;  // held shared while a procedure host is in use
    std::atomic<int> m_nInterruptionDans{0};  // 0: not armed
    std::atomic<int> m_nVerifications{0};
    std::atomic<int> m_nReferencesVM{0};
    std::atomic<int> m_nProceduresVivantes{0};
    std::atomic<int> m_nAppels{0};

    friend class CAppelProcedure;
};

class CLibShop final : public ILibShop {
public:
    void* pReserve1() override { return nullptr; }
    void* pReserve2() override { return nullptr; }
    void* pReserve3() override { return nullptr; }
    void* pReserve4() override { return nullptr; }
    void* pReserve5() override { return nullptr; }
    void* pReserve6() override { return nullptr; }
    void* pReserve7() override { return nullptr; }
    void* piGetCalendrier() override { return nullptr; }
    void* pReserve9() override { return nullptr; }
    void* pReserve10() override { return nullptr; }
    void* pReserve11() override { return nullptr; }
    // The siblings the component asks for: the currency library, 61, an opaque object here whose
    // slots are not called yet; and the calendar service library, 76.
    void* piGetComposant(int nNumero, CXError* /*pclErreur*/) override {
        if (nNumero == 61) return static_cast<void*>(&m_stDevise);
        if (nNumero == CALENDRIER_LIBRAIRIE) return static_cast<ICalendarLibrary*>(&m_clCalendrier);
        return nullptr;
    }

private:
    struct STSiblingDevise {
        int nReserve = 0;
    } m_stDevise;
    CCalendarLibrary m_clCalendrier;
};

// The machine's language: French (the default) or English, each with its own date, time and
// number settings rather than the system's. ovrun chooses it before any call is made.
class CInfoLangue final : public IInfoLangue {
public:
    enum ELangue : int { LANGUE_FRANCAIS = 0, LANGUE_ANGLAIS = 1 };

    int nGetVersion() override { return 1; }
    int nGetCompatSince() override { return 1; }
    int nGetDllNum() override { return 0; }
    void StdVersion_EmptySlot_1() override {}
    void StdVersion_EmptySlot_2() override {}
    void StdVersion_EmptySlot_3() override {}
    int bEcritDeDroiteAGauche() override { return 0; }
    const STParametreHeure* pstGetParametreHeure() override;
    const STParametreDate* pstGetParametreDate() override;
    int bParametreHeureSysteme() override { return 0; }
    int bParametreDateSysteme() override { return 0; }
    const STParametreNumerique* pstGetParametreNumerique() override;

    void SetLangue(ELangue eLangue) { m_eLangue.store(eLangue); }
    ELangue eGetLangue() const { return m_eLangue.load(); }
    // "fr" or "en"; false, nothing changed, for another code.
    bool bSetLangue(std::string_view sCode);

private:
    std::atomic<ELangue> m_eLangue{LANGUE_FRANCAIS};
};

// Names of table rows, from the names blocks of the loaded libraries. A row is looked up only if
// it lies inside a registered library, and only its first word (the name number) is read.
class CInformationComposante final : public IInformationComposante {
public:
    int nGetVersion() override { return 1; }
    const wchar_t* pszGetNom(const void* pRow, int nLongueur) override;

    // Registered per loaded library, keyed by its module handle. Name texts stay alive for the
    // process, since the component may keep a pointer it was given.
    void Register(const void* pvCle, const std::vector<std::string>& tabNames, const CMemoryMap& clMap);
    void Unregister(const void* pvCle);

private:
    struct STEntry {
        const void* pvCle;
        std::shared_ptr<const std::vector<std::wstring>> ptabNames;
        CMemoryMap clMap;
    };
    std::mutex m_mutex;
    std::vector<STEntry> m_tabEntries;
    std::vector<std::shared_ptr<const std::vector<std::wstring>>> m_tabKept;
};

// Answers of the machine's Execution(0xbed, selector).
inline constexpr int kProductCode = 1;
inline constexpr int kInternalLanguage = 1;
inline constexpr int kOptions = 0;
inline constexpr int kActiveVersion = 20;
inline constexpr wchar_t kProductName[] = L"ovrun";

// The process-wide services. The component keeps what it is handed in class-wide fields at its
// first start, so every machine in the process must hand out the same objects.
class CMachineServices {
public:
    static CMachineServices& s_Instance();

    CStrMemAllocator& clAllocator() { return m_clAllocator; }
    CLibShop& clLibShop() { return m_clLibShop; }
    CInfoLangue& clInfoLangue() { return m_clInfoLangue; }
    CInformationComposante& clInformation() { return m_clInformation; }
    int32_t* pnMultithread() { return &m_nMultithread; }

    intptr_t nExecution(unsigned int nCommande, intptr_t nArgument);
    // How many times a notice (0xbec, 0xe3d, 0xed3, 0xc70) or a question (0xbed, selector) came.
    int nNotices(unsigned int nCommande) const;
    int nQuestions(int nSelecteur) const;

private:
    CMachineServices() = default;

    CStrMemAllocator m_clAllocator{2};
    CLibShop m_clLibShop;
    CInfoLangue m_clInfoLangue;
    CInformationComposante m_clInformation;
    int32_t m_nMultithread = 0;
    std::array<std::atomic<int>, 4> m_tabNotices{};
    std::array<std::atomic<int>, 16> m_tabQuestions{};
};

// The record of Execution(0xc70): the call-stack text the component wants filled.
struct STPileC {
    int32_t nNumero;
    wchar_t* pszTexte;
    int32_t nTaille;
    int32_t nOption;
};

}  // namespace ovhost

// The machine's entry of the same shape as the component's, which the component resolves by name
// in the module handle given in the init record.
extern "C" intptr_t Execution(unsigned int nCommande, intptr_t nArgument);
