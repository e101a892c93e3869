// Text and binary values through the thunk traits, against a machine that records what it is given
// and keeps its own reference, as the real one does.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "component/testing/fake_vm.h"
#include "component/execution.h"
#include "component/thunk.h"

namespace {

const std::wstring kFrancais = L"Ça débute à l'été \U0001F31E";
const char kFrancaisUtf8[] = "\xC3\x87""a d\xC3\xA9""bute \xC3\xA0 l'\xC3\xA9t\xC3\xA9 \xF0\x9F\x8C\x9E";

// What SetRetour received, copied the way the machine copies: texts by value, counted blocks by
// taking a reference that the machine drops later.
struct STRetour {
    int nType = -1;
    bool bNull = false;
    std::wstring sTexte;
    std::string sOctets;
    void* pBloc = nullptr;  // a counted result, held by the machine
};

class CFauxVM final : public CFakeVM {
public:
    ~CFauxVM() {
        for (STRetour& st : m_tabRetours) CBaseStrMem::s_ReleaseStrMem(st.pBloc);
    }
    void SetRetour(unsigned int, const void* pValeur, int nType) override {
        STRetour st;
        st.nType = nType;
        st.bNull = pValeur == nullptr;
        if (nType == 0x10 && pValeur != nullptr) st.sTexte = static_cast<const wchar_t*>(pValeur);
        if (nType == 0x13 && pValeur != nullptr) st.sOctets = static_cast<const char*>(pValeur);
        if ((nType == 0x79 || nType == 0x7e || nType == 0x82 || nType == 0x1c) && pValeur != nullptr) {
            std::memcpy(&st.pBloc, pValeur, sizeof(void*));
            CBaseStrMem::s_AddRefStrMem(st.pBloc);
            m_nRefAuRetour = CBaseStrMem::s_nGetRef(st.pBloc);
        }
        m_tabRetours.push_back(st);
    }
    int nModeChaine() override { return m_nModeChaine; }

    int m_nModeChaine = 0;
    int m_nRefAuRetour = 0;
    std::vector<STRetour> m_tabRetours;
};

// Counts every call of the allocator's slots.
class CAllocateurCompte final : public IStrMemAlloc {
public:
    int nGetVersion() override { return 2; }
    int nAlloue(void** pp, int n) override { return ++m_nAppels, base()->nAlloue(pp, n); }
    int nRealloue(void** pp, int n) override { return ++m_nAppels, base()->nRealloue(pp, n); }
    void Libere(void* p) override { ++m_nAppels, base()->Libere(p); }
    int nAlloueAvecFlags(void** pp, int n, unsigned int dw) override { return ++m_nAppels, base()->nAlloueAvecFlags(pp, n, dw); }
    int nRealloueAvecFlags(void** pp, int n, unsigned int dw) override {
        return ++m_nAppels, base()->nRealloueAvecFlags(pp, n, dw);
    }
    int m_nAppels = 0;

private:
    static IStrMemAlloc* base() { return CBaseStrMem::s_piAllocateurInterne(); }
};

class ThunkTexts : public ::testing::Test {
protected:
    void SetUp() override {
        CInformationModule::ms_piStrMemAlloc = &m_clAlloc;
        m_stAppel.piVM = &m_clVM;
        m_stAppel.dwFrame = 0x10001;
    }
    void TearDown() override { CInformationModule::ms_piStrMemAlloc = nullptr; }
    const STRetour& stDernier() const { return m_clVM.m_tabRetours.back(); }

    CAllocateurCompte m_clAlloc;
    CFauxVM m_clVM;
    STZKAppel m_stAppel{};
};

// ---------------------------------------------------------------- arguments

TEST_F(ThunkTexts, CountedArgumentIsOneMoreReferenceOnTheMachinesBlock) {
    CXYString<wchar_t> clMachine(kFrancais.c_str());  // the block the machine lends
    void* pBloc = clMachine.pGetBloc();
    const int nAppels = m_clAlloc.m_nAppels;
    {
        CXYString<wchar_t> clArgument = ovthunk::TArg<0x79>::Lit(&pBloc);
        EXPECT_EQ(clArgument.pGetBloc(), pBloc);
        EXPECT_EQ(clMachine.nGetRef(), 2);
        CXYString<wchar_t> clLibre = ovthunk::TArg<0x82>::Lit(&pBloc);
        EXPECT_EQ(clMachine.nGetRef(), 3);
    }
    EXPECT_EQ(clMachine.nGetRef(), 1);
    EXPECT_EQ(m_clAlloc.m_nAppels, nAppels);  // taking an argument allocates nothing
}

TEST_F(ThunkTexts, MethodWritingItsArgumentLeavesTheMachinesTextAlone) {
    CXYString<wchar_t> clMachine(kFrancais.c_str());
    void* pBloc = clMachine.pGetBloc();
    CXYString<wchar_t> clArgument = ovthunk::TArg<0x79>::Lit(&pBloc);
    ASSERT_EQ(clArgument.nConcat(L" !"), 0);
    EXPECT_EQ(std::wstring(clMachine.pszGet()), kFrancais);
    EXPECT_EQ(std::wstring(clArgument.pszGet()), kFrancais + L" !");
}

// ---------------------------------------------------------------- results

TEST_F(ThunkTexts, CountedResultIsPushedByAddressAndReleasedAfter) {
    struct {
        int nLigne;
        int nCode;
    } const tab[] = {{__LINE__, 0x79}, {__LINE__, 0x7e}, {__LINE__, 0x82}};
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        m_clVM.m_nRefAuRetour = 0;
        CXYString<wchar_t> clResultat(kFrancais.c_str());
        void* pBloc = clResultat.pGetBloc();
        switch (st.nCode) {
            case 0x79: ovthunk::TResult<0x79>::Push(&m_stAppel, std::move(clResultat)); break;
            case 0x7e: ovthunk::TResult<0x7e>::Push(&m_stAppel, std::move(clResultat)); break;
            case 0x82: ovthunk::TResult<0x82>::Push(&m_stAppel, std::move(clResultat)); break;
        }
        EXPECT_EQ(stDernier().nType, st.nCode);
        EXPECT_EQ(stDernier().pBloc, pBloc);
        EXPECT_EQ(m_clVM.m_nRefAuRetour, 2);                // the local still held it during the push
        EXPECT_EQ(CBaseStrMem::s_nGetRef(pBloc), 1);       // and let it go after: the machine's alone
        EXPECT_EQ(std::wstring(static_cast<const wchar_t*>(pBloc)), kFrancais);
    }
}

TEST_F(ThunkTexts, ThunkCallPushesTheMethodsTextAndKeepsNoReference) {
    CComposanteStandard clThis;
    void* pBloc = nullptr;
    EXPECT_EQ(ovthunk::nCall<0x79>(&m_stAppel, &clThis, [&] {
                  CXYString<wchar_t> cl(kFrancais.c_str());
                  pBloc = cl.pGetBloc();
                  return cl;
              }),
              0);
    EXPECT_EQ(stDernier().nType, 0x79);
    EXPECT_EQ(stDernier().pBloc, pBloc);
    EXPECT_EQ(CBaseStrMem::s_nGetRef(pBloc), 1);  // the machine's reference alone
}

TEST_F(ThunkTexts, BinaryAndNullResultsGoByTheAddressOfTheLocal) {
    CZKBIN clSource("\x01\x02", 2);
    ovthunk::TResult<0x1c>::Push(&m_stAppel, clSource);
    EXPECT_EQ(stDernier().nType, 0x1c);
    EXPECT_EQ(stDernier().pBloc, clSource.pGetBloc());
    EXPECT_EQ(clSource.nGetRef(), 2);  // this holder and the machine; the pushed copy is gone
    CXYString<wchar_t> clNull;
    ovthunk::TResult<0x79>::Push(&m_stAppel, clNull);
    EXPECT_FALSE(stDernier().bNull);  // the address of the local is given, holding null
    EXPECT_EQ(stDernier().pBloc, nullptr);
}

TEST_F(ThunkTexts, TextResultsGoByPointer) {
    ovthunk::TResult<0x10>::Push(&m_stAppel, kFrancais.c_str());
    EXPECT_EQ(stDernier().nType, 0x10);
    EXPECT_EQ(stDernier().sTexte, kFrancais);
    ovthunk::TResult<0x13>::Push(&m_stAppel, kFrancaisUtf8);
    EXPECT_EQ(stDernier().nType, 0x13);
    EXPECT_EQ(stDernier().sOctets, kFrancaisUtf8);
    ovthunk::TResult<0x10>::Push(&m_stAppel, nullptr);
    EXPECT_TRUE(stDernier().bNull);
}

// ---------------------------------------------------------------- results of code 0x4b

TEST_F(ThunkTexts, FormOfAText0x4bResultFollowsTheInputThenTheStringMode) {
    struct {
        int nLigne;
        int nFormeEntree;
        int nMode;
        uint32_t nAttendu;
    } const tab[] = {
        {__LINE__, 0x13, 0, 0x13}, {__LINE__, 0x10, 1, 0x10}, {__LINE__, 0x13, 1, 0x13},
        {__LINE__, 0, 0, 0x10},    {__LINE__, 0, 1, 0x13},    {__LINE__, 0, 2, 0x13},
        {__LINE__, 0, 3, 0x10},    {__LINE__, 0x1c, 1, 0x13}, {__LINE__, 0x1c, 0, 0x10},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        m_clVM.m_nModeChaine = st.nMode;
        EXPECT_EQ(ovthunk::nFormeTexteRetour(&m_clVM, st.nFormeEntree), st.nAttendu);
        ovthunk::PousseTexte(&m_stAppel, CXYString<wchar_t>(kFrancais.c_str()), st.nFormeEntree);
        EXPECT_EQ(stDernier().nType, static_cast<int>(st.nAttendu));
        if (st.nAttendu == 0x13)
            EXPECT_EQ(stDernier().sOctets, kFrancaisUtf8);
        else
            EXPECT_EQ(stDernier().sTexte, kFrancais);
        ovthunk::PousseTexte(&m_stAppel, CXYString<char>(kFrancaisUtf8), st.nFormeEntree);
        EXPECT_EQ(stDernier().nType, static_cast<int>(st.nAttendu));
        if (st.nAttendu == 0x13)
            EXPECT_EQ(stDernier().sOctets, kFrancaisUtf8);
        else
            EXPECT_EQ(stDernier().sTexte, kFrancais);
    }
}

TEST_F(ThunkTexts, Failing0x4bMethodPushesANullWideText) {
    ovthunk::PousseEchec(&m_stAppel);
    EXPECT_EQ(stDernier().nType, 0x10);
    EXPECT_TRUE(stDernier().bNull);
    // An empty text is a text, not the failure.
    ovthunk::PousseTexte(&m_stAppel, CXYString<wchar_t>(), 0x10);
    EXPECT_FALSE(stDernier().bNull);
    // A wide text that has no UTF-8 form cannot go out as 8-bit text: it is the failure.
    const wchar_t szSurrogat[] = {L'a', static_cast<wchar_t>(0xDC00), 0};
    ovthunk::PousseTexte(&m_stAppel, CXYString<wchar_t>(szSurrogat), 0x13);
    EXPECT_EQ(stDernier().nType, 0x10);
    EXPECT_TRUE(stDernier().bNull);
}

}  // namespace
