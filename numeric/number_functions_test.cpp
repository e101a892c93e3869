// Max and Min called as the machine calls them: extra arguments read one by one through a
// stand-in IVM that fills variants the way the machine does, results taken from SetRetour.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "base/any.h"
#include "component/testing/fake_vm.h"
#include "component/composante.h"

namespace {

// ---------------------------------------------------------------------------------------------
// Conversions between ints, reals and texts (wide, and 8-bit as UTF-8), as the machine gives them.

bool bTexteSource(const void* p, int nType, std::wstring* ps) {
    void* pBloc;
    memcpy(&pBloc, p, sizeof pBloc);
    if (nType == 0x10) {
        *ps = CXYString<wchar_t>::s_clPartage(pBloc).pszGet();
        return true;
    }
    if (nType == 0x13) {
        *ps = UTF8_To_CWString(CXYString<char>::s_clPartage(pBloc).pszGet()).pszGet();
        return true;
    }
    return false;
}

int nConversion(const void* pSource, int nTypeSource, void* pCible, int nTypeCible, unsigned int, const STOCAW*) {
    double d = 0;
    std::wstring s;
    if (nTypeSource == 0x08) {
        int32_t n;
        memcpy(&n, pSource, 4);
        d = n;
        s = std::to_wstring(n);
    } else if (nTypeSource == 0x0c) {
        memcpy(&d, pSource, 8);
        s = std::to_wstring(d);
    } else if (bTexteSource(pSource, nTypeSource, &s)) {
        wchar_t* pFin = nullptr;
        d = wcstod(s.c_str(), &pFin);
        if (nTypeCible == 0x0c && (s.empty() || *pFin != 0)) return ANY_ERREUR_CONVERSION;
    } else {
        return ANY_ERREUR_CONVERSION;
    }
    if (nTypeCible == 0x0c) {
        memcpy(pCible, &d, 8);
        return ANY_OK;
    }
    if (nTypeCible == 0x10) {
        void* pBloc = CXYString<wchar_t>(s.c_str()).pDetache();
        memcpy(pCible, &pBloc, sizeof pBloc);
        return ANY_OK;
    }
    return ANY_ERREUR_CONVERSION;
}

void FinConversion(void* pCible, int nType) {
    if (nType != 0x10) return;
    void* pBloc;
    memcpy(&pBloc, pCible, sizeof pBloc);
    CBaseStrMem::s_ReleaseStrMem(pBloc);
}

// ---------------------------------------------------------------------------------------------
// The machine's side of a call: extra arguments and the result.

struct STResultat {
    int nType = -1;
    double d = 0;
    std::wstring s;
    std::string sOctets;
    bool bNull = false;
};

class CMachineFactice final : public CFakeVM {
public:
    std::vector<CAny> tabSupplementaires;  // arguments 2 and up
    std::vector<int> tabDemandes;
    bool bRefuse = false;
    STResultat stResultat;

    // Fills the variant through its layout alone, as the machine does: type word and payload,
    // a reference of its own on a counted block, no operations.
    int bLitParametreAny(int nParametre, unsigned int, CAny* pclValeur, CXError*) override {
        tabDemandes.push_back(nParametre);
        const size_t n = static_cast<size_t>(nParametre - 2);
        if (bRefuse || n >= tabSupplementaires.size()) return 0;
        const CAny& clSource = tabSupplementaires[n];
        STAnyView* pst = reinterpret_cast<STAnyView*>(pclValeur);
        EXPECT_EQ(pst->pvOperations, nullptr) << "the component sets its operations aside";
        pst->wType = clSource.wGetType();
        memcpy(pst->abyValeur, clSource.pbyValeur(), ANY_TAILLE_VALEUR);
        const int nCode = clSource.nGetTypeCode();
        if (nCode == 0x10 || nCode == 0x13 || nCode == 0x1c) {
            void* pBloc;
            memcpy(&pBloc, pst->abyValeur, sizeof pBloc);
            CBaseStrMem::s_AddRefStrMem(pBloc);
        }
        return 1;
    }
    void SetRetour(unsigned int, const void* pValeur, int nType) override {
        stResultat = STResultat{};
        stResultat.nType = nType;
        stResultat.bNull = pValeur == nullptr;
        if (pValeur == nullptr) return;
        if (nType == 0x0c) memcpy(&stResultat.d, pValeur, 8);
        if (nType == 0x10) stResultat.s = static_cast<const wchar_t*>(pValeur);
        if (nType == 0x13) stResultat.sOctets = static_cast<const char*>(pValeur);
        if (nType == 0x1c) {
            void* pBloc;
            memcpy(&pBloc, pValeur, sizeof pBloc);
            CZKBIN cl(pBloc);
            stResultat.sOctets.assign(reinterpret_cast<const char*>(cl.pbyGet()), static_cast<size_t>(cl.nGetTaille()));
        }
    }
    int nModeChaine() override { return 1; }
};

CAny Entier(int n) {
    CAny cl;
    cl.SetI4(n);
    return cl;
}
CAny Reel(double d) {
    CAny cl;
    cl.SetR8(d);
    return cl;
}
CAny Texte(const wchar_t* psz) {
    CAny cl;
    cl.SetDSTRW(psz);
    return cl;
}
CAny TexteAnsi(const char* psz) {
    CAny cl;
    cl.SetDSTRA(psz);
    return cl;
}
CAny Binaire(const char* p, int n) {
    CAny cl;
    cl.SetZKBIN(CZKBIN(p, n));
    return cl;
}

class MaxMin : public ::testing::Test {
protected:
    void SetUp() override { CAny::s_LieConversion(nConversion, FinConversion, nullptr); }
    void TearDown() override {
        m_cl.ChangeContexteAppel(nullptr);
        CAny::s_LieConversion(nullptr, nullptr, nullptr);
    }
    // A call record for the first argument and these extra ones.
    void Prepare(std::vector<CAny> tabSupplementaires) {
        m_clVM.tabSupplementaires = std::move(tabSupplementaires);
        m_stAppel.piVM = &m_clVM;
        m_stAppel.dwFrame = 0x70000u | static_cast<uint32_t>(1 + m_clVM.tabSupplementaires.size());
        m_cl.ChangeContexteAppel(&m_stAppel);
        m_cl.pclGetError()->RAZ();
    }
    int nErreur() { return m_cl.pclGetError()->nGetUserErrorCode(); }
    bool bErreur() { return m_cl.pclGetError()->eGetErrorLevel() != CXError::EL_NOERROR; }

    CComposanteStandard m_cl;
    CMachineFactice m_clVM;
    STZKAppel m_stAppel{};
};

TEST_F(MaxMin, OneArgumentComesBackWithoutAskingTheMachine) {
    Prepare({});
    EXPECT_EQ(m_cl.Max(-3.5), -3.5);
    EXPECT_EQ(m_cl.Min(2.0), 2.0);
    EXPECT_TRUE(m_clVM.tabDemandes.empty());
    EXPECT_FALSE(bErreur());
}

TEST_F(MaxMin, ReadsEachExtraPositionOnceFromTheSecond) {
    Prepare({Reel(2.5), TexteAnsi("6.5"), Texte(L"-1e3"), Reel(std::nan(""))});
    EXPECT_EQ(m_cl.Max(1), 6.5);
    EXPECT_EQ(m_clVM.tabDemandes, (std::vector<int>{2, 3, 4, 5}));
    Prepare({Reel(2.5), TexteAnsi("6.5"), Texte(L"-1e3"), Reel(std::nan(""))});
    EXPECT_EQ(m_cl.Min(1), -1000) << "a NaN never wins";
    EXPECT_FALSE(bErreur());
}

TEST_F(MaxMin, AnArgumentThatIsNoNumberStopsWithItsText) {
    Prepare({Entier(4), Texte(L"été \U0001F600"), Entier(9)});
    EXPECT_EQ(m_cl.Max(1), 0);
    EXPECT_EQ(nErreur(), 81813);
    EXPECT_NE(std::wstring(m_cl.pclGetError()->pszGetUserMessage()).find(L"été \U0001F600"), std::wstring::npos);
    EXPECT_EQ(m_clVM.tabDemandes.size(), 2u) << "nothing is read past the bad argument";
    Prepare({Entier(4)});
    m_clVM.bRefuse = true;
    EXPECT_EQ(m_cl.Min(1), 0);
    EXPECT_EQ(nErreur(), 81814);
    m_clVM.bRefuse = false;
}

TEST_F(MaxMin, BinaryFirstComparesBytesAndRefusesTexts) {
    CZKBIN clPremier("\x0a\x0b", 2);
    STManipAUB stPremier{clPremier.pGetBloc(), STManipAUB::TYPE_BINAIRE};
    Prepare({Binaire("\x0a\x0c", 2), Binaire("\x0a", 1)});
    m_cl.Max(&stPremier);
    EXPECT_EQ(m_clVM.stResultat.nType, 0x1c);
    EXPECT_EQ(m_clVM.stResultat.sOctets, "\x0a\x0c");
    Prepare({Binaire("\x0a\x0c", 2), Binaire("\x0a", 1)});
    m_cl.Min(&stPremier);
    EXPECT_EQ(m_clVM.stResultat.sOctets, "\x0a");
    Prepare({Texte(L"a")});
    m_cl.Max(&stPremier);
    EXPECT_EQ(nErreur(), 81814);
    EXPECT_EQ(m_clVM.stResultat.nType, 0x10);
    EXPECT_TRUE(m_clVM.stResultat.bNull) << "a failing text function gives the null value";
    // And a binary value among texts has the wrong type too.
    CXYString<wchar_t> clTexte(L"a");
    STManipAUB stTexte{clTexte.pGetBloc(), STManipAUB::TYPE_UNICODE};
    Prepare({Binaire("\x01", 1)});
    m_cl.Min(&stTexte);
    EXPECT_EQ(nErreur(), 81814);
    EXPECT_TRUE(m_clVM.stResultat.bNull);
}

}  // namespace
