// Tests of CCallback against a machine that counts what it is handed: arguments go to the machine
// of the procedure, and every reference taken is given back in whatever state the callback ends.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/any.h"
#include "base/error.h"
#include "component/callback.h"
#include "component/interfaces/any_view.h"
#include "component/testing/fake_vm.h"

namespace {

class CVMCompteur;

class CFakeMethode final : public IAppelMethode {
public:
    explicit CFakeMethode(CVMCompteur* pclVM, bool bDisponible = true) : m_pclVM(pclVM), m_bDisponible(bDisponible) {}
    int nAddRef() override { return ++nRef; }
    int nRelease() override { return --nRef; }
    int bEstDisponible() override { return m_bDisponible; }
    const wchar_t* pszGetNom() override { return L"Proc"; }
    int nGetNbParametre() override { return -1; }
    void AppelMethode_Reserve_6() override {}
    void AppelMethode_Reserve_7() override {}
    void AppelMethode_Reserve_8() override {}
    IVM* piGetVM(CXError*) override;

    int nRef = 1;  // the finder's reference, which it hands over

private:
    CVMCompteur* m_pclVM;
    bool m_bDisponible;
};

class CVMCompteur final : public CFakeVM {
public:
    void ReleaseVM() override { --nRefVM; }
    int bEmpileAnyAppel(CAny* pcl, CXError*) override {
        tabPousses.push_back(pcl->bEstNull() ? "null" : "any");
        return 1;
    }
    void PrepareAppel() override { ++nPrepare; }
    void SetObjetAppelant(IObjetAPCode*) override { ++nObjetAppelant; }
    void SetRetourAppel(CAny* pcl) override { pclRetour = pcl; }
    int nVerifieInterruption(int, CXError*) override { return nInterruption; }
    void AnnuleAppel() override {
        ++nAnnule;
        tabPousses.clear();
    }
    int bVerifieFonctionnalite(int, CXError*) override { return 1; }
    IAppelMethode* piTrouveTraitement(const wchar_t* pszNom, int, CXError*) override {
        if (std::wstring(pszNom) == L"Proc") {
            ++clMethode.nRef;
            return &clMethode;
        }
        if (std::wstring(pszNom) == L"Indisponible") {
            ++clIndisponible.nRef;
            return &clIndisponible;
        }
        return nullptr;
    }
    int nExecuteAppel(IAppelMethode* pi, int nNb, CXError*, int) override {
        nArgumentsExecutes = nNb;
        tabPousses.clear();
        // The answer goes out through the shared layout, as the machine writes variants.
        if (pclRetour != nullptr) {
            auto* pst = reinterpret_cast<STAnyView*>(pclRetour);
            pst->pvOperations = nullptr;
            pst->wType = 0x08;
            const int32_t n = 42;
            std::memcpy(pst->abyValeur, &n, sizeof n);
        }
        pclRetour = nullptr;
        return pi == &clMethode ? bReussit : 0;
    }
    int nEmpileEntierAppel(int n, CXError*) override {
        tabPousses.push_back("int " + std::to_string(n));
        return 1;
    }
    int bEmpileChaineAppel(const wchar_t* psz, CXError*) override {
        if (bRefuseTextes) return 0;
        tabPousses.push_back("text " + std::string(psz, psz + std::wcslen(psz)));  // ASCII in these tests
        return 1;
    }
    int bEmpileChaineCouranteAppel(const wchar_t* psz, CXError* pcl) override { return bEmpileChaineAppel(psz, pcl); }
    IVM* piDupliqueVMThread(int, const wchar_t* pszNom, void* pSlot, CXError*) override {
        IAppelMethode* pi = piTrouveTraitement(pszNom, 0, nullptr);
        if (pi == nullptr) return nullptr;
        *static_cast<IAppelMethode**>(pSlot) = pi;
        ++nRefVM;
        return this;
    }

    CFakeMethode clMethode{this};
    CFakeMethode clIndisponible{this, false};
    int nRefVM = 0;
    int nPrepare = 0;
    int nAnnule = 0;
    int nObjetAppelant = 0;
    int nArgumentsExecutes = -1;
    int nInterruption = 0;
    int bReussit = 1;
    bool bRefuseTextes = false;
    CAny* pclRetour = nullptr;
    std::vector<std::string> tabPousses;
};

IVM* CFakeMethode::piGetVM(CXError*) {
    ++m_pclVM->nRefVM;
    return m_pclVM;
}

TEST(Callback, PushesRunsAndReadsTheAnswerThenGivesEveryReferenceBack) {
    CVMCompteur clVM;
    {
        CCallback clAppel;
        ASSERT_TRUE(clAppel.bInit(L"Proc", &clVM, nullptr));
        EXPECT_EQ(clVM.clMethode.nRef, 2);
        ASSERT_TRUE(clAppel.bEmpileChaineX(L"/rep/"));
        ASSERT_TRUE(clAppel.bEmpileEntier(7));
        ASSERT_TRUE(clAppel.bEmpileAny(nullptr));
        EXPECT_EQ(clVM.tabPousses, (std::vector<std::string>{"text /rep/", "int 7", "null"}));
        EXPECT_EQ(clVM.nRefVM, 1);  // one machine, asked once for all the pushes
        CAny clRetour;
        clRetour.SetDSTRW(L"une valeur d'avant");  // released, not leaked, when the answer comes
        ASSERT_TRUE(clAppel.bExecute(&clRetour, nullptr));
        EXPECT_EQ(clVM.nArgumentsExecutes, 3);
        int n = 0;
        EXPECT_EQ(clRetour.nGetINT(&n), 0);
        EXPECT_EQ(n, 42);
        EXPECT_EQ(clVM.nRefVM, 0);
        EXPECT_EQ(clAppel.nGetNbArgument(), 0);
        // The procedure stays known: a second call pushes again, on a machine asked again.
        ASSERT_TRUE(clAppel.bEmpileEntier(1));
        ASSERT_TRUE(clAppel.bExecute(nullptr, nullptr));
        EXPECT_EQ(clVM.nArgumentsExecutes, 1);
        EXPECT_EQ(clVM.nPrepare, 2);
    }
    EXPECT_EQ(clVM.clMethode.nRef, 1);
    EXPECT_EQ(clVM.nRefVM, 0);
}

TEST(Callback, AbandonedPushesAreCancelledAndReleasedInEveryState) {
    CVMCompteur clVM;
    {
        CCallback clAppel;
        ASSERT_TRUE(clAppel.bInit(L"Proc", &clVM, nullptr));
        clAppel.bEmpileEntier(1);
        clAppel.bEmpileEntier(2);
    }  // destroyed with two arguments on the machine
    EXPECT_EQ(clVM.nAnnule, 1);
    EXPECT_TRUE(clVM.tabPousses.empty());
    EXPECT_EQ(clVM.nRefVM, 0);
    EXPECT_EQ(clVM.clMethode.nRef, 1);

    {
        CCallback clAppel;
        ASSERT_TRUE(clAppel.bInit(L"Proc", &clVM, nullptr));
        clAppel.bEmpileEntier(1);
        clAppel.AnnuleExecution();
        EXPECT_EQ(clVM.nAnnule, 2);
        EXPECT_EQ(clVM.nRefVM, 0);
        clAppel.AnnuleExecution();  // nothing pushed: the machine is not bothered
        EXPECT_EQ(clVM.nAnnule, 2);
        // A second init drops the first procedure.
        ASSERT_TRUE(clAppel.bInit(L"Proc", &clVM, nullptr));
        EXPECT_EQ(clVM.clMethode.nRef, 2);
    }
    EXPECT_EQ(clVM.clMethode.nRef, 1);

    // A failed run consumes the arguments and the machine all the same.
    clVM.bReussit = 0;
    {
        CCallback clAppel;
        ASSERT_TRUE(clAppel.bInit(L"Proc", &clVM, nullptr));
        clAppel.bEmpileEntier(1);
        EXPECT_FALSE(clAppel.bExecute(nullptr, nullptr));
        EXPECT_EQ(clAppel.nGetNbArgument(), 0);
        EXPECT_EQ(clVM.nRefVM, 0);
    }
    EXPECT_EQ(clVM.nAnnule, 2);
}

TEST(Callback, RefusesWhatCannotBeCalledAndCountsOnlyWhatTheMachineTook) {
    CVMCompteur clVM;
    CCallback clAppel;
    EXPECT_FALSE(clAppel.bInit(nullptr, &clVM, nullptr));
    EXPECT_FALSE(clAppel.bInit(L"", &clVM, nullptr));
    EXPECT_FALSE(clAppel.bInit(L"Proc", nullptr, nullptr));
    EXPECT_FALSE(clAppel.bInit(L"Inconnue", &clVM, nullptr));
    EXPECT_FALSE(clAppel.bEmpileEntier(1));  // no procedure, no machine
    EXPECT_FALSE(clAppel.bExecute(nullptr, nullptr));
    // Found but not callable: refused, and its reference still dropped.
    EXPECT_FALSE(clAppel.bInit(L"Indisponible", &clVM, nullptr));
    EXPECT_FALSE(clAppel.bInitFromAppelMethode(nullptr));
    ASSERT_TRUE(clAppel.bInitFromAppelMethode(&clVM.clMethode));
    EXPECT_EQ(clVM.clIndisponible.nRef, 1);
    EXPECT_EQ(clVM.clMethode.nRef, 2);
    clVM.bRefuseTextes = true;
    EXPECT_FALSE(clAppel.bEmpileChaineX(L"x"));
    EXPECT_TRUE(clAppel.bEmpileEntier(3));
    EXPECT_EQ(clAppel.nGetNbArgument(), 1);
    // A variant of the procedure type carries the handle; any other variant is refused.
    CAny clTexte;
    clTexte.SetDSTRW(L"Proc");
    EXPECT_FALSE(clAppel.bInitFromAny(clTexte, nullptr));
}

TEST(Callback, ThreadCallbackRunsOnTheThreadsMachineAndReleasesItLast) {
    CVMCompteur clVM;
    {
        CCallbackThread clAppel;
        EXPECT_FALSE(clAppel.bInitThread(L"Inconnue", &clVM, nullptr, CCallbackThread::CTE_NOTIFICATION_MEMOIRE));
        ASSERT_TRUE(clAppel.bInitThread(L"Proc", &clVM, nullptr, CCallbackThread::CTE_NOTIFICATION_MEMOIRE));
        EXPECT_EQ(clVM.nRefVM, 1);
        EXPECT_EQ(clVM.clMethode.nRef, 2);
        ASSERT_TRUE(clAppel.bEmpileEntier(5));
        ASSERT_TRUE(clAppel.bExecute(nullptr, nullptr));
        EXPECT_EQ(clVM.nRefVM, 1);  // the thread's machine outlives each call
        clAppel.bEmpileEntier(6);
    }
    EXPECT_EQ(clVM.nAnnule, 1);
    EXPECT_EQ(clVM.nRefVM, 0);
    EXPECT_EQ(clVM.clMethode.nRef, 1);
}

TEST(Callback, UserInterruptionIsTheMachinesTen) {
    CVMCompteur clVM;
    EXPECT_FALSE(bVerifieInteruptionUtilisateur(&clVM, 0, nullptr));
    clVM.nInterruption = 10;
    EXPECT_TRUE(bVerifieInteruptionUtilisateur(&clVM, 0, nullptr));
    clVM.nInterruption = 1;
    EXPECT_FALSE(bVerifieInteruptionUtilisateur(&clVM, 0, nullptr));
    EXPECT_FALSE(bVerifieInteruptionUtilisateur(nullptr, 0, nullptr));
}

}  // namespace
