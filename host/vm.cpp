// The machine's services. Every slot the component may call is present and in order; slots that no
// family needs yet answer failure, 0 or null. Nothing thrown here may reach the component, so every
// slot that allocates catches.
#include "host/vm.h"

#include <cstdio>
#include <cstring>
#include <cwchar>

#include "component/interfaces/date_view.h"
#include "component/interfaces/type_codes.h"
#include "host/conversion.h"
#include "host/utf8.h"

namespace ovhost {
namespace {

constexpr uint64_t kStructureMark = 0x5255545352564f00ULL;
constexpr int kMaxStructureMembers = 256;
const wchar_t kEmpty[] = L"";

std::string sCodeName(uint32_t nCode) {
    char sz[16];
    std::snprintf(sz, sizeof sz, "0x%02x", nCode);
    const char* psz = ovtype::pszTypeName(nCode);
    return std::string(sz) + " (" + (psz != nullptr ? psz : "unknown") + ")";
}

template <class T>
T tAt(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

void AddNote(std::string* psNote, const std::string& s) {
    if (psNote == nullptr) return;
    if (!psNote->empty()) *psNote += "; ";
    *psNote += s;
}

}  // namespace

void ReadPushedValue(const void* pValeur, int nType, CValue* pcl, std::string* psNote) {
    const uint32_t nCode = static_cast<uint32_t>(nType) & ovtype::CODE_MASK;
    // Reset in place: results are read on every call, and most are scalars that need no string.
    pcl->Clear();
    // Text results by pointer: a null pointer is the null value. Copied into the storage the
    // value already has, so that a text read in a loop is not allocated on every call.
    if (nCode == ovtype::WTEXT) {
        if (pValeur != nullptr) {
            pcl->eKind = EValueKind::Text;
            pcl->sText.assign(static_cast<const wchar_t*>(pValeur));
        }
        return;
    }
    if (nCode == ovtype::ATEXT) {
        if (pValeur != nullptr) {
            pcl->eKind = EValueKind::Ansi;
            pcl->sBytes.assign(static_cast<const char*>(pValeur));
        }
        return;
    }
    if (nCode == ovtype::VOID) return;
    if (pValeur == nullptr) {
        AddNote(psNote, "value of type " + sCodeName(nCode) + " pushed through a null pointer");
        return;
    }
    switch (nCode) {
        case ovtype::BOOL:
            pcl->eKind = EValueKind::Bool;
            pcl->nInteger = tAt<int32_t>(pValeur) != 0;
            return;
        case ovtype::INT:
            pcl->eKind = EValueKind::Int;
            pcl->nInteger = tAt<int32_t>(pValeur);
            return;
        case ovtype::INT64:
        case ovtype::HANDLE:
            *pcl = CValue::Int64(tAt<int64_t>(pValeur));
            return;
        case ovtype::REAL:
            *pcl = CValue::Real(tAt<double>(pValeur));
            return;
        case ovtype::MONEY:
            pcl->eKind = EValueKind::Money;
            pcl->sText = sMoneyText(tAt<STMoneyView>(pValeur));
            return;
        case ovtype::DATETIME:
            // The component's eight bytes, read through the shared view as their exact text.
            pcl->eKind = EValueKind::DateTime;
            pcl->sText = sDateTimeViewText(tAt<STDateTimeView>(pValeur));
            return;
        case ovtype::DURATION:
            pcl->eKind = EValueKind::Duration;
            pcl->sText = sDureeViewText(tAt<STDureeView>(pValeur));
            return;
        case ovtype::STRING:
        case ovtype::SYS_STRING:
        case ovtype::FREE_STRING: {
            std::wstring s;
            if (CStrMemAllocator::s_bReadWide(tAt<const void*>(pValeur), &s))
                *pcl = CValue::Text(std::move(s));
            else
                AddNote(psNote, "text block of type " + sCodeName(nCode) + " has a malformed header");
            return;
        }
        case ovtype::ANY: {
            // The component's variant itself; the machine copies what it holds, the component then
            // destroys its local.
            std::string sNote;
            if (!bReadAnyView(static_cast<const STAnyView*>(pValeur), pcl, &sNote)) AddNote(psNote, sNote);
            return;
        }
        case ovtype::BUFFER: {
            std::string s;
            if (CStrMemAllocator::s_bReadBytes(tAt<const void*>(pValeur), &s))
                *pcl = CValue::Buffer(std::move(s));
            else
                AddNote(psNote, "binary block has a malformed header");
            return;
        }
        default:
            AddNote(psNote, "value of type " + sCodeName(nCode) + " is not read by this machine");
            return;
    }
}

CValue STCallContext::clFinalResult() const {
    if (pstStructureResult == nullptr) return clResult;
    CValue cl;
    cl.eKind = EValueKind::Multiple;
    cl.tabMembers = pstStructureResult->tabMembres;
    return cl;
}

// ---------------------------------------------------------------------------------------------
// CVirtualMachine

namespace {
// The calls in progress on this thread, innermost last, with the machine that runs each. A thunk
// pushes its result on the thread that called it, so the lookup needs no lock.
struct STCallEntry {
    const CVirtualMachine* pclVM;
    STCallContext* pstCall;
};
// The machine library is linked by its programs, never opened late, so the cheap TLS model holds.
__attribute__((tls_model("initial-exec"))) thread_local std::vector<STCallEntry> t_tabCalls;
}  // namespace

void CVirtualMachine::BeginCall(STCallContext* pstCall) { t_tabCalls.push_back({this, pstCall}); }

void CVirtualMachine::EndCall(STCallContext* pstCall) {
    for (size_t i = t_tabCalls.size(); i-- > 0;)
        if (t_tabCalls[i].pstCall == pstCall) {
            t_tabCalls.erase(t_tabCalls.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
}

STCallContext* CVirtualMachine::m_pstFind(unsigned int dwFrame) {
    for (size_t i = t_tabCalls.size(); i-- > 0;)
        if (t_tabCalls[i].pclVM == this && t_tabCalls[i].pstCall->dwFrame == dwFrame) return t_tabCalls[i].pstCall;
    return nullptr;
}

STStructureRetour* CVirtualMachine::m_pstFindStructure(const void* pv, STCallContext** ppstCall) {
    for (const STCallEntry& st : t_tabCalls) {
        if (st.pclVM != this) continue;
        for (const std::unique_ptr<STStructureRetour>& p : st.pstCall->tabStructures)
            if (p.get() == pv) {
                if (ppstCall != nullptr) *ppstCall = st.pstCall;
                return p.get();
            }
    }
    return nullptr;
}

const wchar_t* CVirtualMachine::pxGetInfoTraitement(int, int) { return kEmpty; }
void CVirtualMachine::SetObjetAppelant(IObjetAPCode*) {}
// The one feature the stand-in serves: procedures called on a thread of the library (the
// notifications of shared memory zones); its procedure host must then bear calls from that thread.
int CVirtualMachine::bVerifieFonctionnalite(int nFonctionnalite, CXError*) { return nFonctionnalite == 12 ? 1 : 0; }
int CVirtualMachine::bEmpileChampAppel(IObjetAPCode*, CXError*) { return 0; }
IInfoLangue* CVirtualMachine::piGetInfoLangue(int, int) { return &CMachineServices::s_Instance().clInfoLangue(); }

namespace {
constexpr STParametreHeure kHeureFrancais = {L"AM", L"PM", L"HH:mm:SS"};
constexpr STParametreHeure kHeureAnglais = {L"AM", L"PM", L"HH:mm:SS AM"};
constexpr STParametreDate kDateFrancais = {
    L"JJ/MM/AAAA", L"lundi;mardi;mercredi;jeudi;vendredi;samedi;dimanche",
    L"janvier;f\u00e9vrier;mars;avril;mai;juin;juillet;ao\u00fbt;septembre;octobre;novembre;d\u00e9cembre"};
constexpr STParametreDate kDateAnglais = {
    L"MM/JJ/AAAA", L"Monday;Tuesday;Wednesday;Thursday;Friday;Saturday;Sunday",
    L"January;February;March;April;May;June;July;August;September;October;November;December"};
constexpr STParametreNumerique kNumeriqueFrancais = {L",", L" ", L"\u20ac", 3, 2, 1, 2, 8, L"octet(s);Ko;Mo;Go;To"};
constexpr STParametreNumerique kNumeriqueAnglais = {L".", L",", L"$", 0, 2, 1, 2, 1, nullptr};
}  // namespace

const STParametreNumerique* CInfoLangue::pstGetParametreNumerique() {
    return m_eLangue.load() == LANGUE_ANGLAIS ? &kNumeriqueAnglais : &kNumeriqueFrancais;
}

const STParametreHeure* CInfoLangue::pstGetParametreHeure() {
    return m_eLangue.load() == LANGUE_ANGLAIS ? &kHeureAnglais : &kHeureFrancais;
}

const STParametreDate* CInfoLangue::pstGetParametreDate() {
    return m_eLangue.load() == LANGUE_ANGLAIS ? &kDateAnglais : &kDateFrancais;
}

bool CInfoLangue::bSetLangue(std::string_view sCode) {
    if (sCode == "fr") {
        SetLangue(LANGUE_FRANCAIS);
        return true;
    }
    if (sCode == "en") {
        SetLangue(LANGUE_ANGLAIS);
        return true;
    }
    return false;
}
IFenCommun* CVirtualMachine::piGetFenetreAppelante() { return nullptr; }

// The extra arguments of a variadic call, by their 1-based position in the whole call: the
// frame word counts every argument given, and the ones past the fixed ones are kept with the call.
// The component's variant is filled through the shared layout; the component attaches the
// operations of its type afterwards.
int CVirtualMachine::bLitParametreAny(int nParametre, unsigned int dwFrame, CAny* pclValeur, CXError*) {
    try {
        STCallContext* pst = m_pstFind(dwFrame);
        if (pst == nullptr || pclValeur == nullptr) return 0;
        const size_t nDonnes = dwFrame & 0xffffu;
        const size_t nSupplementaires = pst->tabExtraArguments.size();
        const size_t nFixes = nDonnes >= nSupplementaires ? nDonnes - nSupplementaires : 0;
        if (nParametre < 1 || static_cast<size_t>(nParametre) <= nFixes || static_cast<size_t>(nParametre) > nDonnes) {
            pst->tabNotes.push_back("variadic argument " + std::to_string(nParametre) + " asked; the call has none there");
            return 0;
        }
        const CValue& clValeur = pst->tabExtraArguments[static_cast<size_t>(nParametre) - 1 - nFixes];
        if (!bFillAnyView(clValeur, reinterpret_cast<STAnyView*>(pclValeur))) {
            pst->tabNotes.push_back("variadic argument " + std::to_string(nParametre) + " cannot be given as a variant");
            return 0;
        }
        return 1;
    } catch (...) {
        return 0;
    }
}

int CVirtualMachine::bLitParametreVariable(int, unsigned int, STParametreVariable*, CXError*) { return 0; }

void CVirtualMachine::SetRetour(unsigned int dwFrame, const void* pValeur, int nType) {
    try {
        STCallContext* pst = m_pstFind(dwFrame);
        if (pst == nullptr) {
            m_nStray.fetch_add(1);
            return;
        }
        if ((static_cast<uint32_t>(nType) & ovtype::CODE_MASK) == ovtype::STRUCT) {
            // The structure itself, or a local holding its pointer.
            STStructureRetour* pstS = m_pstFindStructure(pValeur, nullptr);
            if (pstS == nullptr && pValeur != nullptr) pstS = m_pstFindStructure(tAt<const void*>(pValeur), nullptr);
            if (pstS != nullptr) {
                pst->pstStructureResult = pstS;
                pst->bResultSet = true;
                return;
            }
            pst->tabNotes.push_back("structured result that pxCreeStructureRetour did not make");
            pst->pstStructureResult = nullptr;
            pst->clResult = CValue::Null();
            pst->bResultSet = true;
            return;
        }
        std::string sNote;
        ReadPushedValue(pValeur, nType, &pst->clResult, &sNote);
        if (!sNote.empty()) pst->tabNotes.push_back(std::move(sNote));
        pst->pstStructureResult = nullptr;
        pst->bResultSet = true;
    } catch (...) {
        m_nStray.fetch_add(1);
    }
}

void CVirtualMachine::EmetAvertissementPerformance(_CXErrorModule8*) {}
int CVirtualMachine::bEmpileTableauAppel(IZKTableau*, CXError*) { return 0; }
int CVirtualMachine::bAuditPerformanceActif() { return 0; }
int CVirtualMachine::nModeChaine() { return m_nModeChaine.load(); }

void* CVirtualMachine::pxCreeStructureRetour(unsigned int dwFrame, int nNbMembre) {
    try {
        STCallContext* pst = m_pstFind(dwFrame);
        if (pst == nullptr || nNbMembre < 0 || nNbMembre > kMaxStructureMembers) return nullptr;
        auto pstS = std::make_unique<STStructureRetour>();
        pstS->dwMarque = kStructureMark;
        pstS->tabMembres.resize(static_cast<size_t>(nNbMembre));
        pst->pstStructureResult = pstS.get();
        pst->bResultSet = true;
        pst->tabStructures.push_back(std::move(pstS));
        return pst->tabStructures.back().get();
    } catch (...) {
        return nullptr;
    }
}

void CVirtualMachine::SetMembreStructure(void* pxStructure, int nMembre, const void* pValeur, int nType) {
    try {
        STCallContext* pstCall = nullptr;
        STStructureRetour* pstS = m_pstFindStructure(pxStructure, &pstCall);
        if (pstS == nullptr) {
            m_nStray.fetch_add(1);
            return;
        }
        // Members are numbered from 0.
        if (nMembre < 0 || static_cast<size_t>(nMembre) >= pstS->tabMembres.size()) {
            pstCall->tabNotes.push_back("structure member " + std::to_string(nMembre) + " out of range");
            return;
        }
        std::string sNote;
        ReadPushedValue(pValeur, nType, &pstS->tabMembres[static_cast<size_t>(nMembre)], &sNote);
        if (!sNote.empty()) pstCall->tabNotes.push_back(std::move(sNote));
    } catch (...) {
        m_nStray.fetch_add(1);
    }
}


// ---------------------------------------------------------------------------------------------
// Callbacks: the component finds a procedure by name, pushes its arguments one by one, then runs it.

// The machine's handle on one procedure. Counted; the last release deletes it.
class CAppelProcedure final : public IAppelMethode {
public:
    CAppelProcedure(CVirtualMachine* pclVM, std::wstring sNom, int nNbParametre)
        : m_pclVM(pclVM), m_sNom(std::move(sNom)), m_nNbParametre(nNbParametre) {
        m_pclVM->m_nProceduresVivantes.fetch_add(1);
    }
    int nAddRef() override { return m_nRef.fetch_add(1) + 1; }
    int nRelease() override {
        const int n = m_nRef.fetch_sub(1) - 1;
        if (n == 0) {
            m_pclVM->m_nProceduresVivantes.fetch_sub(1);
            delete this;
        }
        return n;
    }
    int bEstDisponible() override { return 1; }
    const wchar_t* pszGetNom() override { return m_sNom.c_str(); }
    int nGetNbParametre() override { return m_nNbParametre; }
    void AppelMethode_Reserve_6() override {}
    void AppelMethode_Reserve_7() override {}
    void AppelMethode_Reserve_8() override {}
    IVM* piGetVM(CXError*) override {
        m_pclVM->m_nReferencesVM.fetch_add(1);
        return m_pclVM;
    }

    const CVirtualMachine* pclVM() const { return m_pclVM; }
    const std::wstring& sNom() const { return m_sNom; }

private:
    ~CAppelProcedure() = default;

    CVirtualMachine* m_pclVM;
    std::wstring m_sNom;
    int m_nNbParametre;
    std::atomic<int> m_nRef{1};
};

namespace {
// What the component pushed for the next callback, per machine and per thread: a callback is
// made from one thread, and a library thread has its own.
struct STPileAppel {
    const CVirtualMachine* pclVM = nullptr;
    std::vector<CValue> tabArguments;
    CAny* pclRetour = nullptr;
    std::string sDerniereErreur;
};
thread_local std::vector<STPileAppel> t_tabPiles;

STPileAppel& stPile(const CVirtualMachine* pclVM) {
    for (STPileAppel& st : t_tabPiles)
        if (st.pclVM == pclVM) return st;
    t_tabPiles.push_back({});
    t_tabPiles.back().pclVM = pclVM;
    return t_tabPiles.back();
}

int bEmpile(const CVirtualMachine* pclVM, CValue clValeur) {
    try {
        stPile(pclVM).tabArguments.push_back(std::move(clValeur));
        return 1;
    } catch (...) {
        return 0;
    }
}
}  // namespace

void CVirtualMachine::ArmeInterruption(int nApres) { m_nInterruptionDans.store(nApres > 0 ? nApres : 0); }

size_t CVirtualMachine::nArgumentsEnAttente() const {
    for (const STPileAppel& st : t_tabPiles)
        if (st.pclVM == this) return st.tabArguments.size();
    return 0;
}

std::string CVirtualMachine::sDerniereErreurAppel() const {
    for (const STPileAppel& st : t_tabPiles)
        if (st.pclVM == this) return st.sDerniereErreur;
    return {};
}

void CVirtualMachine::ReleaseVM() { m_nReferencesVM.fetch_sub(1); }

int CVirtualMachine::bEmpileAnyAppel(CAny* pclValeur, CXError*) {
    if (pclValeur == nullptr) return 0;
    try {
        CValue clValeur;
        std::string sNote;
        if (!bReadAnyView(reinterpret_cast<const STAnyView*>(pclValeur), &clValeur, &sNote)) return 0;
        return bEmpile(this, std::move(clValeur));
    } catch (...) {
        return 0;
    }
}

int CVirtualMachine::nEmpileEntierAppel(int nValeur, CXError*) { return bEmpile(this, CValue::Int(nValeur)); }

int CVirtualMachine::bEmpileChaineAppel(const wchar_t* pszValeur, CXError*) {
    if (pszValeur == nullptr) return 0;
    try {
        return bEmpile(this, CValue::Text(pszValeur));
    } catch (...) {
        return 0;
    }
}

// The current form follows the string mode, as the results of texts do.
int CVirtualMachine::bEmpileChaineCouranteAppel(const wchar_t* pszValeur, CXError*) {
    if (pszValeur == nullptr) return 0;
    try {
        const int nMode = m_nModeChaine.load();
        if (nMode == 1 || nMode == 2) return bEmpile(this, CValue::Ansi(sUtf8(pszValeur)));
        return bEmpile(this, CValue::Text(pszValeur));
    } catch (...) {
        return 0;
    }
}

void CVirtualMachine::PrepareAppel() {
    try {
        stPile(this).pclRetour = nullptr;
    } catch (...) {
    }
}

void CVirtualMachine::SetRetourAppel(CAny* pclRetour) {
    try {
        stPile(this).pclRetour = pclRetour;
    } catch (...) {
    }
}

void CVirtualMachine::AnnuleAppel() {
    for (STPileAppel& st : t_tabPiles)
        if (st.pclVM == this) {
            st.tabArguments.clear();
            st.pclRetour = nullptr;
        }
}

// Armed by a test: counts down to the check that answers 10, then keeps answering it.
int CVirtualMachine::nVerifieInterruption(int, CXError*) {
    m_nVerifications.fetch_add(1);
    int n = m_nInterruptionDans.load();
    while (n > 1 && !m_nInterruptionDans.compare_exchange_weak(n, n - 1)) {
    }
    return n == 1 ? 10 : 0;
}

IAppelMethode* CVirtualMachine::piTrouveTraitement(const wchar_t* pszNom, int, CXError*) {
    std::shared_lock<std::shared_mutex> verrou(m_mutexProcedures);
    IProcedureHost* piProcedures = m_piProcedures.load();
    if (pszNom == nullptr || pszNom[0] == L'\0' || piProcedures == nullptr) return nullptr;
    try {
        const int nNbParametre = piProcedures->nTrouveProcedure(pszNom);
        if (nNbParametre < 0) return nullptr;
        return new CAppelProcedure(this, pszNom, nNbParametre);
    } catch (...) {
        return nullptr;
    }
}

// Runs the procedure with the last nNbArgument values pushed on this thread; all pushed values are
// consumed whatever happens, as a frame is.
int CVirtualMachine::nExecuteAppel(IAppelMethode* piMethode, int nNbArgument, CXError*, int) {
    try {
        STPileAppel& stP = stPile(this);
        std::vector<CValue> tabArguments;
        tabArguments.swap(stP.tabArguments);
        CAny* pclRetour = stP.pclRetour;
        stP.pclRetour = nullptr;
        stP.sDerniereErreur.clear();
        auto* pclProcedure = dynamic_cast<CAppelProcedure*>(piMethode);
        std::shared_lock<std::shared_mutex> verrou(m_mutexProcedures);
        IProcedureHost* piProcedures = m_piProcedures.load();
        if (pclProcedure == nullptr || pclProcedure->pclVM() != this || piProcedures == nullptr) {
            stP.sDerniereErreur = "the procedure handle is not one of this machine";
            return 0;
        }
        if (nNbArgument < 0 || static_cast<size_t>(nNbArgument) > tabArguments.size()) {
            stP.sDerniereErreur = "a call with " + std::to_string(nNbArgument) + " arguments and " +
                                  std::to_string(tabArguments.size()) + " pushed";
            return 0;
        }
        tabArguments.erase(tabArguments.begin(),
                           tabArguments.end() - static_cast<std::ptrdiff_t>(nNbArgument));
        m_nAppels.fetch_add(1);
        CValue clRetour;
        std::string sErreur;
        if (!piProcedures->bExecuteProcedure(pclProcedure->sNom(), tabArguments, &clRetour, &sErreur)) {
            // The pile of this thread may have moved while the procedure ran (nested callbacks).
            stPile(this).sDerniereErreur = sErreur.empty() ? "the procedure failed" : sErreur;
            return 0;
        }
        if (pclRetour != nullptr && !bFillAnyView(clRetour, reinterpret_cast<STAnyView*>(pclRetour)))
            bFillAnyView(CValue::Null(), reinterpret_cast<STAnyView*>(pclRetour));
        return 1;
    } catch (...) {
        return 0;
    }
}

// The thread's machine is this one: the stand-in machine keeps per-thread state itself. The
// procedure's handle goes into the caller's slot, with its reference.
IVM* CVirtualMachine::piDupliqueVMThread(int, const wchar_t* pszNom, void* pSlotCallback, CXError* pclErreur) {
    if (pSlotCallback == nullptr) return nullptr;
    IAppelMethode* piMethode = piTrouveTraitement(pszNom, 0, pclErreur);
    if (piMethode == nullptr) return nullptr;
    IAppelMethode** ppiSlot = static_cast<IAppelMethode**>(pSlotCallback);
    if (*ppiSlot != nullptr) (*ppiSlot)->nRelease();
    *ppiSlot = piMethode;
    m_nReferencesVM.fetch_add(1);
    return this;
}

// ---------------------------------------------------------------------------------------------
// CInformationComposante

const wchar_t* CInformationComposante::pszGetNom(const void* pRow, int nLongueur) {
    try {
        if (pRow == nullptr || nLongueur == 0) return kEmpty;
        for (const STEntry& st : m_tabEntries) {
            if (!st.clMap.bReadable(pRow, sizeof(uint32_t))) continue;
            const uint32_t nNumber = tAt<uint32_t>(pRow);
            if (nNumber == 0 || nNumber > st.ptabNames->size()) return kEmpty;
            const std::wstring& sNom = (*st.ptabNames)[nNumber - 1];
            if (nLongueur < 0 || static_cast<size_t>(nLongueur) >= sNom.size()) return sNom.c_str();
            thread_local std::wstring tsTronque;
            tsTronque.assign(sNom, 0, static_cast<size_t>(nLongueur));
            return tsTronque.c_str();
        }
    } catch (...) {
    }
    return kEmpty;
}

void CInformationComposante::Register(const void* pvCle, const std::vector<std::string>& tabNames,
                                      const CMemoryMap& clMap) {
    // A second machine on the same library brings the same names: the first registration stands.
    for (const STEntry& st : m_tabEntries)
        if (st.pvCle == pvCle) return;
    auto ptab = std::make_shared<std::vector<std::wstring>>();
    ptab->reserve(tabNames.size());
    for (const std::string& s : tabNames) ptab->emplace_back(s.begin(), s.end());  // names are ASCII
    m_tabKept.push_back(ptab);
    m_tabEntries.push_back({pvCle, ptab, clMap});
}

void CInformationComposante::Unregister(const void* pvCle) {
    for (size_t i = 0; i < m_tabEntries.size(); ++i)
        if (m_tabEntries[i].pvCle == pvCle) {
            m_tabEntries.erase(m_tabEntries.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
}

// ---------------------------------------------------------------------------------------------
// CMachineServices

CMachineServices& CMachineServices::s_Instance() {
    // Never destroyed: the component may still hold these objects while the process exits.
    static CMachineServices* pcl = new CMachineServices();
    return *pcl;
}

namespace {

int nNoticeSlot(unsigned int nCommande) {
    switch (nCommande) {
        case MACHINE_BIBLIOTHEQUE_PART: return 0;
        case MACHINE_DEBUT_THREAD: return 1;
        case MACHINE_FIN_THREAD: return 2;
        case MACHINE_PILE_C: return 3;
        default: return -1;
    }
}

}  // namespace

int CMachineServices::nNotices(unsigned int nCommande) const {
    const int n = nNoticeSlot(nCommande);
    return n < 0 ? 0 : m_tabNotices[static_cast<size_t>(n)].load();
}

int CMachineServices::nQuestions(int nSelecteur) const {
    if (nSelecteur < 0 || static_cast<size_t>(nSelecteur) >= m_tabQuestions.size()) return 0;
    return m_tabQuestions[static_cast<size_t>(nSelecteur)].load();
}

intptr_t CMachineServices::nExecution(unsigned int nCommande, intptr_t nArgument) {
    if (nCommande == MACHINE_QUESTION) {
        if (nArgument >= 0 && static_cast<size_t>(nArgument) < m_tabQuestions.size())
            m_tabQuestions[static_cast<size_t>(nArgument)].fetch_add(1);
        switch (nArgument) {
            case QUESTION_CODE_PRODUIT: return kProductCode;
            case QUESTION_LANGUE_INTERNE: return kInternalLanguage;
            case QUESTION_NOM_PRODUIT: return reinterpret_cast<intptr_t>(kProductName);
            case QUESTION_OPTIONS: return kOptions;
            case QUESTION_CODE_PRODUIT_REEL: return kProductCode;
            case QUESTION_UTILISE_NET: return 0;
            case QUESTION_LIBSHOP: return reinterpret_cast<intptr_t>(static_cast<ILibShop*>(&m_clLibShop));
            case QUESTION_VERSION_ACTIVE: return kActiveVersion;
            case QUESTION_FABRIQUE_GLOBALE: return 0;
            case QUESTION_COLLECTEUR_TOPO: return 0;
            case QUESTION_MODE_SMARTPHONE: return 0;
            case QUESTION_INFO_LOCALE: return reinterpret_cast<intptr_t>(static_cast<IInfoLangue*>(&m_clInfoLangue));
            case QUESTION_ALLOCATEUR: return reinterpret_cast<intptr_t>(static_cast<IStrMemAlloc*>(&m_clAllocator));
            case QUESTION_MULTITHREAD: return reinterpret_cast<intptr_t>(&m_nMultithread);
            case QUESTION_INFORMATION_COMPOSANTE:
                return reinterpret_cast<intptr_t>(static_cast<IInformationComposante*>(&m_clInformation));
            default: return 0;
        }
    }
    const int nSlot = nNoticeSlot(nCommande);
    if (nSlot < 0) return 0;
    m_tabNotices[static_cast<size_t>(nSlot)].fetch_add(1);
    if (nCommande == MACHINE_PILE_C) {
        // The machine keeps no call stack of its own to tell: the text is empty.
        STPileC* pst = reinterpret_cast<STPileC*>(nArgument);
        if (pst == nullptr) return 0;
        if (pst->pszTexte != nullptr) pst->pszTexte[0] = L'\0';
    }
    return 1;
}

}  // namespace ovhost

extern "C" intptr_t Execution(unsigned int nCommande, intptr_t nArgument) {
    try {
        return ovhost::CMachineServices::s_Instance().nExecution(nCommande, nArgument);
    } catch (...) {
        return 0;
    }
}
