// The component frame seen from its C entry points, without a machine: the counting rules of
// Execution, the selectors of InfoComposante, the language object's life and variables.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include <set>
#include <string>
#include <vector>

#include "component/composante.h"
#include "component/execution.h"
#include "component/tables.h"

extern "C" {
intptr_t Execution(unsigned int nCommande, intptr_t nArgument);
intptr_t InfoComposante(unsigned int nSelecteur, intptr_t nIndex);
int CommandeComposante(int nCommande, intptr_t nArgument);
void* pQueryProxy(int nNumero);
void DeclareProxy(void** ppProxy1, short* pnProxy2, void** ppProxy3, short* pnProxy4);
}

namespace {

STInitExecution RecordWithoutMachine() {
    STInitExecution st{};
    st.qwTaille = 8;  // a record this short names no machine: the library runs on its own
    return st;
}

// Brings the execution object back to absent whatever a test left behind.
void Reset() {
    while (gpclExecutionDLL8) Execution(EXECUTION_TERMINE, 0);
    CBaseExecutionDLL::ms_nNbInitialisation = 0;
}

TEST(ExecutionCount, TwoStartsNeedTwoStops) {
    Reset();
    STInitExecution st = RecordWithoutMachine();
    ASSERT_EQ(Execution(EXECUTION_INIT, reinterpret_cast<intptr_t>(&st)), 1);
    CBaseExecutionDLL* pclPremier = gpclExecutionDLL8;
    ASSERT_NE(pclPremier, nullptr);
    ASSERT_EQ(Execution(EXECUTION_INIT, reinterpret_cast<intptr_t>(&st)), 1);
    EXPECT_EQ(gpclExecutionDLL8, pclPremier) << "a second start reuses the object";
    EXPECT_EQ(CBaseExecutionDLL::ms_nNbInitialisation, 2);
    EXPECT_EQ(Execution(EXECUTION_TERMINE, 0), 1);
    EXPECT_NE(gpclExecutionDLL8, nullptr) << "one stop of two leaves the object";
    EXPECT_EQ(Execution(EXECUTION_TERMINE, 0), 1);
    EXPECT_EQ(gpclExecutionDLL8, nullptr);
}

TEST(ExecutionCount, StopWithCountAtZeroDestroysAnExistingObject) {
    Reset();
    STInitExecution st = RecordWithoutMachine();
    ASSERT_EQ(Execution(EXECUTION_INIT, reinterpret_cast<intptr_t>(&st)), 1);
    CBaseExecutionDLL::ms_nNbInitialisation = 0;
    EXPECT_EQ(Execution(EXECUTION_TERMINE, 0), 1);
    EXPECT_EQ(gpclExecutionDLL8, nullptr);
    EXPECT_EQ(Execution(EXECUTION_TERMINE, 0), 1) << "no object: still done";
}

TEST(ExecutionCount, MachineWithoutExecutionEntryFailsAndDoesNotCount) {
    Reset();
    void* hSansExecution = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(hSansExecution, nullptr);
    STInitExecution st{};
    st.qwTaille = sizeof st;
    st.hMachine = hSansExecution;
    EXPECT_EQ(Execution(EXECUTION_INIT, reinterpret_cast<intptr_t>(&st)), 0);
    EXPECT_EQ(CBaseExecutionDLL::ms_nNbInitialisation, 0);
    EXPECT_NE(gpclExecutionDLL8, nullptr) << "the half-made object is kept";
    dlclose(hSansExecution);
    Reset();
}

TEST(ExecutionCommands, UnknownCommandsAnswerZeroAndLocaleWorksWithoutObject) {
    Reset();
    EXPECT_EQ(Execution(0x1234, 0), 0);
    EXPECT_EQ(Execution(EXECUTION_INFO_LOCALE, 0x5678), 1);
    EXPECT_EQ(CInformationDLL::ms_piInfoLocale, reinterpret_cast<void*>(0x5678));
    EXPECT_EQ(Execution(EXECUTION_DUMP_MEMOIRE, 0), 0) << "no object to dump";
    EXPECT_EQ(Execution(EXECUTION_INIT_TYPE_DINO, 0), 1) << "no factory: nothing done";
    CInformationDLL::ms_piInfoLocale = nullptr;
}

TEST(InfoComposante, FixedAnswersAndCountsOfTheTables) {
    EXPECT_EQ(InfoComposante(0, 0), 13);
    EXPECT_EQ(InfoComposante(1, 0), 8);
    EXPECT_EQ(InfoComposante(2, 0), 391);
    EXPECT_EQ(InfoComposante(3, 0), 1);
    EXPECT_EQ(InfoComposante(5, 0), 0);
    EXPECT_EQ(InfoComposante(42, 0), 0);
    EXPECT_EQ(InfoComposante(34, 0), gnNbFonction8);
    EXPECT_EQ(InfoComposante(24, 0), gnNbConstante8);
    EXPECT_EQ(InfoComposante(26, 0), gnNbVariable8);
    EXPECT_EQ(InfoComposante(30, 0), 1);
    EXPECT_EQ(InfoComposante(41, 0), gnTailleBlocNom8);
}

TEST(InfoComposante, HelpArraysAreThreeEmptyTextsThenNullAndNothingBeyond) {
    for (unsigned nSelecteur : {4u, 39u}) {
        for (int i = 0; i < 3; ++i) {
            auto psz = reinterpret_cast<const wchar_t*>(InfoComposante(nSelecteur, i));
            ASSERT_NE(psz, nullptr);
            EXPECT_EQ(psz[0], L'\0');
        }
        EXPECT_EQ(InfoComposante(nSelecteur, 3), 0);
        EXPECT_EQ(InfoComposante(nSelecteur, 1000), 0) << "an index past the array is not read";
        EXPECT_EQ(InfoComposante(nSelecteur, -1), 0);
    }
}

TEST(Proxies, QueryBuildsLanguageObjectsAndRandomObjectsOnly) {
    auto* piLangage = static_cast<IZKLibrary*>(pQueryProxy(60));
    ASSERT_NE(piLangage, nullptr);
    EXPECT_EQ(piLangage->nGetVersion(), 7);
    EXPECT_EQ(piLangage->nGetCompatSince(), 2);
    EXPECT_EQ(piLangage->nGetDllNum(), 8);
    EXPECT_EQ(piLangage->pQueryProxy(99), nullptr);
    EXPECT_EQ(piLangage->Release(), 0);
    EXPECT_EQ(pQueryProxy(7), nullptr);
    void* pp1 = &pp1;
    void* pp3 = &pp3;
    short n2 = 5, n4 = 5;
    DeclareProxy(&pp1, &n2, &pp3, &n4);
    EXPECT_EQ(pp1, nullptr);
    EXPECT_EQ(pp3, nullptr);
    EXPECT_EQ(n2, 0);
    EXPECT_EQ(n4, 0);
}

TEST(LanguageObject, ChangeContexteAppelReturnsThePreviousRecord) {
    CComposanteStandard cl;
    STZKAppel st1{}, st2{};
    EXPECT_EQ(cl.ChangeContexteAppel(&st1), nullptr);
    EXPECT_EQ(cl.ChangeContexteAppel(&st2), &st1);
    EXPECT_EQ(cl.pstGetAppel(), &st2);
}

TEST(LanguageObject, VariablesHaveStorageOnlyWhereTheyExist) {
    CComposanteStandard cl;
    std::set<int> setAvecStockage = {0x27, 0x28, 0x29, 0x2a, 0x2b, 0x2c, 0x2d, 0x2f,
                                     0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36};
    for (int i = 0; i <= 0x40; ++i)
        EXPECT_EQ(cl.pGetVariableAdresse(i) != nullptr, setAvecStockage.count(i) == 1) << "index " << i;
}

TEST(LanguageObject, WritingTheCountGrowsOrEmptiesBothArrays) {
    CComposanteStandard cl;
    auto* pnNombre = static_cast<int*>(cl.pGetVariableAdresse(0x36));
    auto* pclActions = static_cast<CZKINTArray*>(cl.pGetVariableAdresse(0x33));
    auto* pclDelais = static_cast<CZKINTArray*>(cl.pGetVariableAdresse(0x34));
    *pnNombre = 25;
    STZKAppel st{};
    st.nIndexCible = 0x36;
    EXPECT_TRUE(cl.bSignaleEcritureVariable(&st));
    EXPECT_EQ(pclActions->nGetNbElement(), 25);
    EXPECT_EQ(pclDelais->nGetNbElement(), 25);
    *pnNombre = 0;
    cl.bSignaleEcritureVariable(&st);
    EXPECT_EQ(pclActions->nGetNbElement(), 0);
    EXPECT_EQ(cl.pstGetAppel(), nullptr) << "the call pointer is restored";
}

TEST(LanguageObject, SecondObjectDoesNotRepeatTheOncePerProcessStart) {
    Reset();
    CComposanteStandard cl1, cl2;
    cl1.bFinInit();
    int nApresPremier = CComposanteStandard::m_snStaticCountInit;
    bool bInitFait = CComposanteStandard::m_sbStaticInit;
    cl2.bFinInit();
    EXPECT_TRUE(bInitFait);
    EXPECT_EQ(CComposanteStandard::m_snStaticCountInit, nApresPremier + 1);
    cl2.TermCompo();
    cl1.TermCompo();
    EXPECT_TRUE(CComposanteStandard::m_sbStaticInit) << "a stop does not reset the one-time start";
}

}  // namespace

extern "C" {
int bInitLibrary(void* hModule);
void TermLibrary();
}

namespace {

volatile sig_atomic_t gnAncienAppele = 0;
void AncienGestionnaire(int) { gnAncienAppele = gnAncienAppele + 1; }

// A dying child is handed first to the handler that was there before, then reaped, so it never
// lingers as a zombie; TermLibrary gives SIGCHLD back to the previous handler.
TEST(Signals, ChildIsReapedAfterThePreviousHandlerRuns) {
    struct sigaction stAncien {}, stSauve {};
    stAncien.sa_handler = AncienGestionnaire;
    sigemptyset(&stAncien.sa_mask);
    ASSERT_EQ(sigaction(SIGCHLD, &stAncien, &stSauve), 0);
    ASSERT_EQ(bInitLibrary(nullptr), 1);

    pid_t nFils = fork();
    ASSERT_GE(nFils, 0);
    if (nFils == 0) _exit(3);
    // The handler reaps the child; waiting here only sees it gone.
    for (int i = 0; i < 200 && gnAncienAppele == 0; ++i) usleep(5000);
    EXPECT_EQ(gnAncienAppele, 1);
    int nStatut = 0;
    pid_t nAttendu = -1;
    for (int i = 0; i < 200; ++i) {
        nAttendu = waitpid(nFils, &nStatut, WNOHANG);
        if (nAttendu != 0) break;
        usleep(5000);
    }
    EXPECT_EQ(nAttendu, -1) << "the child was already reaped";
    EXPECT_EQ(errno, ECHILD);

    TermLibrary();
    struct sigaction stApres {};
    sigaction(SIGCHLD, nullptr, &stApres);
    EXPECT_EQ(stApres.sa_handler, AncienGestionnaire) << "the previous action is restored";
    sigaction(SIGCHLD, &stSauve, nullptr);
}

TEST(Signals, AlarmInterruptsABlockingCall) {
    ASSERT_EQ(bInitLibrary(nullptr), 1);
    int tabTube[2];
    ASSERT_EQ(pipe(tabTube), 0);
    alarm(1);
    char c;
    ssize_t n = read(tabTube[0], &c, 1);  // would block forever without the alarm
    int nErrno = errno;
    EXPECT_EQ(n, -1);
    EXPECT_EQ(nErrno, EINTR);
    close(tabTube[0]);
    close(tabTube[1]);
    TermLibrary();
}

}  // namespace

namespace {

struct STChargeTexte {
    uint32_t dwMot;
    uint32_t nMessage;
    wchar_t* pszTampon;
    uint32_t nTaille;
    int32_t nResultat;
};

int FournisseurMachine(unsigned int nId, wchar_t* psz, int nTaille) {
    if (nId != 27022 || nTaille < 8) return 0;
    wcscpy(psz, L"Fermé");
    return 5;
}

// The machine loads texts through CommandeComposante, and may put its own provider in front.
TEST(CommandeComposante, LoadsTextsAndLetsTheMachineProviderOverride) {
    wchar_t sz[256] = {};
    STChargeTexte st{0, 27022, sz, 256, -7};
    int n = CommandeComposante(3, reinterpret_cast<intptr_t>(&st));
    EXPECT_GT(n, 0);
    EXPECT_EQ(st.nResultat, n);
    EXPECT_NE(std::wstring(sz).find(L"file number"), std::wstring::npos) << "the library's own English text";

    EXPECT_EQ(CommandeComposante(2, reinterpret_cast<intptr_t>(&FournisseurMachine)), 1);
    n = CommandeComposante(3, reinterpret_cast<intptr_t>(&st));
    EXPECT_EQ(std::wstring(sz), L"Fermé");
    EXPECT_EQ(CommandeComposante(2, 0), 1);

    EXPECT_EQ(CommandeComposante(4, 12345), -1) << "usage of an unknown resource";
    EXPECT_EQ(CommandeComposante(9, 0), 0);
}

}  // namespace
