// The built component loaded and called through the stand-in machine, and the machine's own
// services (allocator, results, Execution answers) checked the way the component uses them.
#include <dlfcn.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "component/interfaces/date_view.h"
#include "component/interfaces/machine.h"
#include "component/interfaces/type_codes.h"
#include "host/allocator.h"
#include "host/machine.h"
#include "tests/machine_fixture.h"
#include "host/vm.h"

namespace ovhost {
namespace {

const std::wstring kFrench = L"Déjà été, où ça ? \U0001F600";

std::string sLibraryPath() { return CStandInMachine::s_sDefaultLibraryPath(); }

CMachineServices& services() { return CMachineServices::s_Instance(); }

// The library's own InfoComposante, asked directly, to hold the machine's reading against.
intptr_t nInfoComposante(unsigned int nSelecteur) {
    void* h = dlopen(sLibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (h == nullptr) return -1;
    auto pfn = reinterpret_cast<intptr_t (*)(unsigned int, unsigned long)>(dlsym(h, "InfoComposante"));
    const intptr_t n = pfn != nullptr ? pfn(nSelecteur, 0) : -1;
    dlclose(h);
    return n;
}

class HostEndToEnd : public MachineEndToEnd {};

TEST_F(HostEndToEnd, ReadsEveryTableToTheCountsTheLibraryAnnounces) {
    EXPECT_EQ(static_cast<intptr_t>(m_cl.tabFunctions().size()), nInfoComposante(INFO_FUNCTION_COUNT));
    EXPECT_EQ(static_cast<intptr_t>(m_cl.tabConstants().size()), nInfoComposante(INFO_CONSTANT_COUNT));
    EXPECT_EQ(static_cast<intptr_t>(m_cl.tabVariables().size()), nInfoComposante(INFO_VARIABLE_COUNT));
    EXPECT_EQ(static_cast<intptr_t>(m_cl.tabClasses().size()), nInfoComposante(INFO_CLASS_COUNT));
    EXPECT_EQ(static_cast<intptr_t>(m_cl.tabTypeReferences().size()), nInfoComposante(INFO_TYPE_REFERENCE_COUNT));
    ASSERT_GT(m_cl.tabFunctions().size(), 159u);
    for (size_t i = 0; i < m_cl.tabFunctions().size(); ++i) {
        EXPECT_EQ(m_cl.tabFunctions()[i].nRow, static_cast<int>(i));
        EXPECT_EQ(m_cl.tabFunctions()[i].nNameNumber, i + 1);
    }
    EXPECT_EQ(m_cl.tabFunctions()[146].sName, "EstPair");
    EXPECT_EQ(m_cl.pstFindFunction("estpair"), &m_cl.tabFunctions()[146]);
    // The component took its services from this machine at start.
    EXPECT_GE(services().nQuestions(QUESTION_ALLOCATEUR), 1);
    EXPECT_GE(services().nQuestions(QUESTION_INFORMATION_COMPOSANTE), 1);
}

struct STCallCase {
    int nLine;
    const char* pszName;
    std::vector<CValue> tabArguments;
    EValueKind eKind;
    int64_t nExpected;
};

TEST_F(HostEndToEnd, CallsConvertArgumentsAndReadResults) {
    const std::vector<STCallCase> tabCases = {
        {__LINE__, "EstPair", {CValue::Int(4)}, EValueKind::Bool, 1},
        {__LINE__, "EstPair", {CValue::Int(7)}, EValueKind::Bool, 0},
        {__LINE__, "EstPair", {CValue::Int(-2)}, EValueKind::Bool, 1},
        {__LINE__, "EstImpair", {CValue::Int(7)}, EValueKind::Bool, 1},
        {__LINE__, "EstPair", {CValue::Int64(10)}, EValueKind::Bool, 1},
        {__LINE__, "EstPair", {CValue::Real(3.9)}, EValueKind::Bool, 0},
        {__LINE__, "EstPair", {CValue::Text(L" 12 ")}, EValueKind::Bool, 1},
        {__LINE__, "EstImpair", {CValue::Ansi("5")}, EValueKind::Bool, 1},
        {__LINE__, "RVB", {CValue::Int(1), CValue::Int(2), CValue::Int(3)}, EValueKind::Int, 0x030201},
        {__LINE__, "RVBRouge", {CValue::Int(0x030201)}, EValueKind::Int, 1},
    };
    for (const STCallCase& stCase : tabCases) {
        const STCallOutcome st = stCall(stCase.pszName, stCase.tabArguments);
        EXPECT_EQ(st.clResult.eKind, stCase.eKind) << "line " << stCase.nLine;
        EXPECT_EQ(st.clResult.nInteger, stCase.nExpected) << "line " << stCase.nLine;
        EXPECT_FALSE(st.bError) << "line " << stCase.nLine;
    }
}

TEST_F(HostEndToEnd, ChoosesTheOverloadThatFitsTheArguments) {
    // Integers take the integer overload; one numeric text among them still fits it best.
    EXPECT_EQ(stCall("RVB", {CValue::Int(1), CValue::Int(2), CValue::Int(3)}).clResult.nInteger, 0x030201);
    EXPECT_EQ(stCall("RVB", {CValue::Text(L"1"), CValue::Int(2), CValue::Int(3)}).clResult.nInteger, 0x030201);
    // Three texts take the text overload.
    const STFunctionInfo* pst = m_cl.pstFindFunction("RVB");
    ASSERT_NE(pst, nullptr);
    ASSERT_EQ(pst->tabOverloads.size(), 2u);
    std::vector<CValue> tabTextes = {CValue::Text(L"ff"), CValue::Text(L"0"), CValue::Text(L"0")};
    if (pst->tabOverloads[1].bHasBody)
        EXPECT_EQ(stCall("RVB", tabTextes).clResult.nInteger, 255);
    else
        EXPECT_EQ(sRefused("RVB", tabTextes), "RVB has no body on this platform");
    // Nothing fits: a text that is no number, a wrong count.
    EXPECT_NE(sRefused("EstPair", {CValue::Text(L"douze")}).find("argument 1 (text) does not convert to int"),
              std::string::npos);
    EXPECT_EQ(sRefused("EstPair", {}), "EstPair takes 1 arguments, not 0");
    EXPECT_EQ(sRefused("EstPair", {CValue::Int(1), CValue::Int(2)}), "EstPair takes 1 arguments, not 2");
    EXPECT_EQ(sRefused("PasUneFonction", {}), "unknown function PasUneFonction");
    EXPECT_EQ(sRefused("DateSelecteur", {}), "DateSelecteur has no body on this platform");
}

TEST_F(HostEndToEnd, ReportsTheLanguageErrorBesideTheResultAndClearsItForTheNextCall) {
    const STCallOutcome stEchec = stCall("fFerme", {CValue::Int(-5)});
    EXPECT_EQ(stEchec.clResult.eKind, EValueKind::Int);
    EXPECT_EQ(stEchec.clResult.nInteger, -1);
    ASSERT_TRUE(stEchec.bError);
    EXPECT_EQ(stEchec.stError.nLevel, 2);
    EXPECT_EQ(stEchec.stError.nCode, 80022);
    EXPECT_NE(stEchec.stError.sMessage.find(L"-5"), std::wstring::npos) << "the message shows its parameter";
    const STCallOutcome stSuivant = stCall("EstPair", {CValue::Int(2)});
    EXPECT_FALSE(stSuivant.bError) << "an earlier failure does not stick to the next call";
    EXPECT_EQ(stSuivant.stError.nLevel, 1);
}

TEST_F(HostEndToEnd, StartsEveryModuleOfTheLanguageObject) {
    EXPECT_TRUE(m_cl.bFinInitResult()) << "the currency sibling is served, so the start succeeds";
}

TEST_F(HostEndToEnd, PreparedCallGoesThroughTheSameThunk) {
    STPreparedCall st;
    std::string sError;
    ASSERT_TRUE(m_cl.bPrepare("RVB", {CValue::Int(0), CValue::Int(0), CValue::Int(0)}, &st, &sError)) << sError;
    int n1 = 1, n2 = 2, n3 = 3;
    void* tab[] = {&n1, &n2, &n3};
    CValue cl;
    ASSERT_TRUE(m_cl.bCallPrepared(st, tab, &cl));
    EXPECT_EQ(cl.nInteger, 1 + 2 * 256 + 3 * 65536);
    EXPECT_FALSE(m_cl.bPrepare("DateSelecteur", {}, &st, &sError));
}

TEST_F(HostEndToEnd, ReportsAForwardWithItsTarget) {
    const STFunctionInfo* pst = m_cl.pstFindFunction("_zipCree_old");
    ASSERT_NE(pst, nullptr);
    if (!pst->bHasBody()) GTEST_SKIP() << "forward thunks not generated yet";
    const STCallOutcome st = stCall("_zipCree_old", {CValue::Text(kFrench), CValue::Text(L"b.zip")});
    EXPECT_TRUE(st.bError);
    EXPECT_EQ(st.stError.nLevel, 0x40000010);
    EXPECT_NE(st.stError.sDebug.find(L"Library=<42> Index=<5>"), std::wstring::npos);
}

TEST_F(HostEndToEnd, ReleasesEveryBlockItBuiltForACall) {
    const int64_t nAvant = services().clAllocator().nLiveBlocks();
    // A text argument through a manipulation record, on whatever path the call takes.
    std::vector<CValue> tab = {CValue::Text(L"/nonexistent/" + kFrench)};
    STCallOutcome st;
    std::string sError;
    m_cl.bCall("fOuvre", tab, &st, &sError);
    EXPECT_EQ(services().clAllocator().nLiveBlocks(), nAvant);
    EXPECT_EQ(services().clAllocator().nRejectedFrees(), 0);
}

TEST(HostMachines, TwoMachinesShareTheLibraryButNotTheirErrors) {
    CStandInMachine clA, clB;
    std::string sError;
    ASSERT_TRUE(clA.bLoad(sLibraryPath(), &sError)) << sError;
    ASSERT_TRUE(clB.bLoad(sLibraryPath(), &sError)) << sError;
    std::vector<CValue> tabFerme = {CValue::Int(99)}, tabPair = {CValue::Int(8)};
    STCallOutcome st;
    ASSERT_TRUE(clA.bCall("fFerme", tabFerme, &st, &sError)) << sError;
    EXPECT_TRUE(st.bError);
    ASSERT_TRUE(clB.bCall("EstPair", tabPair, &st, &sError)) << sError;
    EXPECT_FALSE(st.bError);
    EXPECT_EQ(st.clResult.nInteger, 1);
    // The first machine goes; the second still calls; a third loads after both.
    clA.Unload();
    ASSERT_TRUE(clB.bCall("EstPair", tabPair, &st, &sError)) << sError;
    EXPECT_EQ(st.clResult.nInteger, 1);
    clB.Unload();
    CStandInMachine clC;
    ASSERT_TRUE(clC.bLoad(sLibraryPath(), &sError)) << sError;
    ASSERT_TRUE(clC.bCall("EstPair", tabPair, &st, &sError)) << sError;
    EXPECT_EQ(st.clResult.nInteger, 1);
}

std::string sOwnLibraryPath() {
    Dl_info st{};
    dladdr(reinterpret_cast<void*>(&Execution), &st);
    return st.dli_fname != nullptr ? st.dli_fname : "";
}

struct STBadPath {
    int nLine;
    std::string sPath;
    const char* pszStep;
};

TEST(HostMachines, RefusesBadLibraryPathsNamingPathAndStep) {
    const std::string sTexte = ::testing::TempDir() + "pas_une_bibliotheque.so";
    std::ofstream(sTexte) << "ceci n'est pas un objet partagé\n";
    const std::vector<STBadPath> tabCases = {
        {__LINE__, "/nonexistent/ov200std64.so", "file not found"},
        {__LINE__, ::testing::TempDir(), "not a regular file"},
        {__LINE__, sTexte, "dlopen: "},
        {__LINE__, sOwnLibraryPath(), "entry point bInitLibrary not found"},
        {__LINE__, "", "no path given"},
    };
    for (const STBadPath& stCase : tabCases) {
        CStandInMachine cl;
        std::string sError;
        EXPECT_FALSE(cl.bLoad(stCase.sPath, &sError)) << "line " << stCase.nLine;
        EXPECT_FALSE(cl.bLoaded()) << "line " << stCase.nLine;
        EXPECT_NE(sError.find("\"" + stCase.sPath + "\""), std::string::npos) << "line " << stCase.nLine << ": " << sError;
        EXPECT_NE(sError.find(stCase.pszStep), std::string::npos) << "line " << stCase.nLine << ": " << sError;
    }
    std::remove(sTexte.c_str());
}

// ---------------------------------------------------------------------------------------------
// The machine's services, as the component calls them.

TEST(MachineAllocator, FillsTheHeaderAndKeepsATerminatorPastTheData) {
    CStrMemAllocator cl;
    void* p = nullptr;
    ASSERT_EQ(cl.nAlloue(&p, 10), 0);
    const STStrMemHeader* pst = CStrMemAllocator::s_pstHeader(p);
    EXPECT_EQ(pst->nRef, 1);
    EXPECT_EQ(pst->nCapacite, 10);
    EXPECT_EQ(pst->nLongueur, 0);
    EXPECT_EQ(std::memcmp(static_cast<char*>(p) + 10, "\0\0\0\0", 4), 0);
    std::memcpy(p, "abcdefghij", 10);
    ASSERT_EQ(cl.nRealloueAvecFlags(&p, 4000, 0), 0);
    EXPECT_EQ(std::memcmp(p, "abcdefghij", 10), 0);
    EXPECT_EQ(CStrMemAllocator::s_pstHeader(p)->nCapacite, 4000);
    EXPECT_EQ(cl.nLiveBlocks(), 1);
    cl.Libere(p);
    EXPECT_EQ(cl.nLiveBlocks(), 0);
}

TEST(MachineAllocator, RefusesSizesOutOfRangeAndForeignPointers) {
    CStrMemAllocator cl;
    void* p = reinterpret_cast<void*>(0x1234);
    EXPECT_EQ(cl.nAlloue(&p, -1), CStrMemAllocator::ALLOC_SIZE_OUT_OF_RANGE);
    EXPECT_EQ(cl.nAlloueAvecFlags(&p, 0x7fffff00, 0), CStrMemAllocator::ALLOC_SIZE_OUT_OF_RANGE);
    EXPECT_EQ(p, reinterpret_cast<void*>(0x1234));
    EXPECT_EQ(cl.nLiveBlocks(), 0);
    std::vector<char> tabEtranger(64, 0);
    cl.Libere(tabEtranger.data() + 32);
    EXPECT_EQ(cl.nRejectedFrees(), 1);
    void* pBloc = cl.pvNewWideText(kFrench);
    cl.Libere(pBloc);
    cl.Libere(pBloc);  // a double free is refused, not performed
    EXPECT_EQ(cl.nRejectedFrees(), 2);
}

TEST(MachineAllocator, SharedBlocksLiveUntilTheLastReference) {
    CStrMemAllocator cl;
    void* p = cl.pvNewWideText(kFrench);
    std::wstring s;
    ASSERT_TRUE(CStrMemAllocator::s_bReadWide(p, &s));
    EXPECT_EQ(s, kFrench);
    std::atomic_ref<int32_t>(const_cast<STStrMemHeader*>(CStrMemAllocator::s_pstHeader(p))->nRef).fetch_add(1);
    cl.ReleaseBlock(p);
    EXPECT_EQ(cl.nLiveBlocks(), 1);
    cl.ReleaseBlock(p);
    EXPECT_EQ(cl.nLiveBlocks(), 0);
    EXPECT_EQ(cl.pvNewWideText(L""), nullptr);  // the empty value is the null block
}

struct STPushCase {
    int nLine;
    int nType;
    const void* pValeur;
    CValue clExpected;
    bool bNote;
};

TEST(MachineResults, ReadsEveryPushedTypeCode) {
    CStrMemAllocator& clAlloc = services().clAllocator();
    const int32_t nVrai = 5, nEntier = -7;
    const int64_t n64 = 0x123456789LL;
    const double dReel = 2.5;
    void* pTexte = clAlloc.pvNewWideText(kFrench);
    void* pOctets = clAlloc.pvNewBytes(std::string("a\0b", 3), true);
    void* pVide = nullptr;
    const STDateTimeView stDateHeure{2024u << 16 | 3u << 8 | 31u, ((2 * 60 + 30) * 60 + 59) * 1000 + 7};
    const STDureeView stDuree{-93784005};
    auto clDate = [](EValueKind e, const wchar_t* psz) {
        CValue cl;
        cl.eKind = e;
        cl.sText = psz;
        return cl;
    };
    const std::vector<STPushCase> tabCases = {
        {__LINE__, ovtype::BOOL, &nVrai, CValue::Bool(true), false},
        {__LINE__, ovtype::INT, &nEntier, CValue::Int(-7), false},
        {__LINE__, ovtype::INT64, &n64, CValue::Int64(n64), false},
        {__LINE__, ovtype::HANDLE, &n64, CValue::Int64(n64), false},
        {__LINE__, ovtype::REAL, &dReel, CValue::Real(2.5), false},
        {__LINE__, ovtype::WTEXT, kFrench.c_str(), CValue::Text(kFrench), false},
        {__LINE__, ovtype::WTEXT, nullptr, CValue::Null(), false},
        {__LINE__, ovtype::ATEXT, "Noel", CValue::Ansi("Noel"), false},
        {__LINE__, ovtype::STRING, &pTexte, CValue::Text(kFrench), false},
        {__LINE__, ovtype::SYS_STRING, &pTexte, CValue::Text(kFrench), false},
        {__LINE__, ovtype::FREE_STRING, &pVide, CValue::Text(L""), false},
        {__LINE__, ovtype::BUFFER, &pOctets, CValue::Buffer(std::string("a\0b", 3)), false},
        {__LINE__, ovtype::DATETIME, &stDateHeure, clDate(EValueKind::DateTime, L"20240331023059007"), false},
        {__LINE__, ovtype::DURATION, &stDuree, clDate(EValueKind::Duration, L"-93784005"), false},
        {__LINE__, ovtype::OBJECT, &n64, CValue::Null(), true},
        {__LINE__, ovtype::INT, nullptr, CValue::Null(), true},
    };
    for (const STPushCase& stCase : tabCases) {
        CValue cl = CValue::Int(12345);
        std::string sNote;
        ReadPushedValue(stCase.pValeur, stCase.nType, &cl, &sNote);
        EXPECT_EQ(cl.eKind, stCase.clExpected.eKind) << "line " << stCase.nLine;
        EXPECT_EQ(cl.nInteger, stCase.clExpected.nInteger) << "line " << stCase.nLine;
        EXPECT_EQ(cl.dReal, stCase.clExpected.dReal) << "line " << stCase.nLine;
        EXPECT_EQ(cl.sText, stCase.clExpected.sText) << "line " << stCase.nLine;
        EXPECT_EQ(cl.sBytes, stCase.clExpected.sBytes) << "line " << stCase.nLine;
        EXPECT_EQ(!sNote.empty(), stCase.bNote) << "line " << stCase.nLine << ": " << sNote;
    }
    clAlloc.ReleaseBlock(pTexte);
    clAlloc.ReleaseBlock(pOctets);
}

TEST(MachineResults, SetRetourFindsItsCallByFrameWord) {
    CVirtualMachine clVM;
    EXPECT_EQ(clVM.nModeChaine(), 0) << "Unicode mode: free text results go out wide";
    STCallContext stExterne, stInterne;
    stExterne.dwFrame = 0x00010002;
    stInterne.dwFrame = 0x00020000;
    clVM.BeginCall(&stExterne);
    clVM.BeginCall(&stInterne);
    const int32_t n = 41;
    clVM.SetRetour(0x00010002, &n, ovtype::INT);
    clVM.SetRetour(0x00090000, &n, ovtype::INT);  // no such call
    EXPECT_EQ(stExterne.clFinalResult().nInteger, 41);
    EXPECT_FALSE(stInterne.bResultSet);
    EXPECT_EQ(clVM.nStrayResults(), 1);

    // A structured result of four members, numbered from 0.
    void* px = clVM.pxCreeStructureRetour(0x00020000, 4);
    ASSERT_NE(px, nullptr);
    clVM.SetMembreStructure(px, 0, L"20240229", ovtype::WTEXT);
    clVM.SetMembreStructure(px, 3, &n, ovtype::INT);
    clVM.SetMembreStructure(px, 4, &n, ovtype::INT);
    clVM.SetRetour(0x00020000, &px, ovtype::STRUCT);
    const CValue cl = stInterne.clFinalResult();
    ASSERT_EQ(cl.eKind, EValueKind::Multiple);
    ASSERT_EQ(cl.tabMembers.size(), 4u);
    EXPECT_EQ(cl.tabMembers[0].sText, L"20240229");
    EXPECT_EQ(cl.tabMembers[1].eKind, EValueKind::Null);
    EXPECT_EQ(cl.tabMembers[3].nInteger, 41);
    EXPECT_EQ(stInterne.tabNotes.size(), 1u);  // member 4 out of range
    clVM.EndCall(&stInterne);
    clVM.EndCall(&stExterne);
    clVM.SetMembreStructure(px, 0, &n, ovtype::INT);  // its call is over
    EXPECT_EQ(clVM.nStrayResults(), 2);
}

TEST(MachineExecution, AnswersTheComponentsQuestionsAndNotices) {
    EXPECT_EQ(Execution(MACHINE_QUESTION, QUESTION_CODE_PRODUIT), kProductCode);
    EXPECT_STREQ(reinterpret_cast<const wchar_t*>(Execution(MACHINE_QUESTION, QUESTION_NOM_PRODUIT)), L"ovrun");
    EXPECT_EQ(Execution(MACHINE_QUESTION, QUESTION_ALLOCATEUR),
              reinterpret_cast<intptr_t>(static_cast<IStrMemAlloc*>(&services().clAllocator())));
    EXPECT_EQ(Execution(MACHINE_QUESTION, QUESTION_LIBSHOP),
              reinterpret_cast<intptr_t>(static_cast<ILibShop*>(&services().clLibShop())));
    EXPECT_EQ(Execution(MACHINE_QUESTION, QUESTION_FABRIQUE_GLOBALE), 0);
    EXPECT_EQ(Execution(MACHINE_QUESTION, QUESTION_MODE_SMARTPHONE), 0);
    EXPECT_EQ(*reinterpret_cast<int32_t*>(Execution(MACHINE_QUESTION, QUESTION_MULTITHREAD)), 0);
    auto* piInfo = reinterpret_cast<IInformationComposante*>(Execution(MACHINE_QUESTION, QUESTION_INFORMATION_COMPOSANTE));
    ASSERT_NE(piInfo, nullptr);
    EXPECT_STREQ(piInfo->pszGetNom(nullptr, -1), L"");
    EXPECT_EQ(Execution(MACHINE_QUESTION, 99), 0);
    EXPECT_EQ(Execution(0x4242, 0), 0);

    const int nAvant = services().nNotices(MACHINE_DEBUT_THREAD);
    EXPECT_EQ(Execution(MACHINE_DEBUT_THREAD, 0), 1);
    EXPECT_EQ(services().nNotices(MACHINE_DEBUT_THREAD), nAvant + 1);
    wchar_t szPile[8] = L"xyz";
    STPileC stPile{0, szPile, 8, 0};
    EXPECT_EQ(Execution(MACHINE_PILE_C, reinterpret_cast<intptr_t>(&stPile)), 1);
    EXPECT_STREQ(szPile, L"");
}

}  // namespace
}  // namespace ovhost
