// The digit formatter: rounding half up on the text, significant digits, exponents expanded or
// kept, widths, trailing zeros; and the rounding of every kind of value to text on top of it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "base/any.h"
#include "host/conversion.h"
#include "numeric/money.h"
#include "numeric/number_mask.h"

namespace {

struct STFmt {
    int nLigne;
    const wchar_t* pszTexte;
    int nLargeur, nDecimales, nSignificatifs, nAlignement, bEtend, bSupprimeZeros;
    const wchar_t* pszAttendu;
};

void Verifie(const STFmt* pst, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        CTString cl;
        cl.Set(pst[i].pszTexte);
        CMasqueNumerique::FmtNum(&cl, pst[i].nLargeur, pst[i].nDecimales, pst[i].nSignificatifs, pst[i].nAlignement,
                                 pst[i].bEtend, pst[i].bSupprimeZeros);
        EXPECT_STREQ(cl.pszGet(), pst[i].pszAttendu) << "line " << pst[i].nLigne;
    }
}

TEST(FmtNum, RoundsTheFractionHalfUpOnTheText) {
    static const STFmt s_tab[] = {
        {__LINE__, L"1234.5", -1, 2, 0, 0, 0, 0, L"1234.50"},
        {__LINE__, L"2.675", -1, 2, 0, 0, 0, 0, L"2.68"},  // the text, not the nearest double
        {__LINE__, L"2.674999", -1, 2, 0, 0, 0, 0, L"2.67"},
        {__LINE__, L"9.995", -1, 2, 0, 0, 0, 0, L"10.00"},
        {__LINE__, L"-9.5", -1, 0, 0, 0, 0, 0, L"-10"},
        {__LINE__, L"1.5", -1, 0, 0, 0, 0, 0, L"2"},
        {__LINE__, L"999", -1, 2, 0, 0, 0, 0, L"999.00"},
        {__LINE__, L"12,5", -1, 3, 0, 0, 0, 0, L"12,500"},
        {__LINE__, L"  +12.340  ", -1, -1, 0, 0, 0, 0, L"12.34"},
        {__LINE__, L"12.000", -1, -1, 0, 0, 0, 0, L"12"},
        {__LINE__, L"1200", -1, -1, 0, 0, 0, 0, L"1200"},  // integer zeros stay
        {__LINE__, L"-0.004", -1, 2, 0, 0, 0, 0, L"0.00"},  // no sign on a zero
        {__LINE__, L"-0.005", -1, 2, 0, 0, 0, 0, L"-0.01"},
        {__LINE__, L"123456789012345678901234567890.5", -1, 0, 0, 0, 0, 0, L"123456789012345678901234567891"},
        {__LINE__, L".5", -1, 0, 0, 0, 0, 0, L"1"},
        {__LINE__, L"-.25", -1, 1, 0, 0, 0, 0, L"-0.3"},
    };
    Verifie(s_tab, std::size(s_tab));
}

TEST(FmtNum, KeepsSignificantDigitsAndRoundsTheLastOne) {
    static const STFmt s_tab[] = {
        {__LINE__, L"123456", -1, -1, 2, 0, 0, 0, L"120000"},
        {__LINE__, L"987.6", -1, -1, 2, 0, 0, 0, L"990"},
        {__LINE__, L"0.012345", -1, -1, 3, 0, 0, 0, L"0.0123"},
        {__LINE__, L"0.012355", -1, -1, 3, 0, 0, 0, L"0.0124"},
        {__LINE__, L"99.96", -1, -1, 3, 0, 0, 0, L"100"},
        {__LINE__, L"-99.96", -1, 1, 3, 0, 0, 0, L"-100.0"},
        {__LINE__, L"12.34", -1, -1, 0, 0, 0, 0, L"12.34"},  // no significance asked
    };
    Verifie(s_tab, std::size(s_tab));
}

TEST(FmtNum, ExpandsOrKeepsTheExponent) {
    static const STFmt s_tab[] = {
        {__LINE__, L"1.5E3", -1, -1, 0, 0, 1, 0, L"1500"},
        {__LINE__, L"1.5E3", -1, -1, 0, 0, 0, 0, L"1.5E3"},
        {__LINE__, L"2.5e-3", -1, -1, 0, 0, 1, 0, L"0.0025"},
        {__LINE__, L"-1.25E+2", -1, -1, 0, 0, 1, 0, L"-125"},
        {__LINE__, L"0.05e2", -1, 2, 0, 0, 1, 0, L"5.00"},
        {__LINE__, L"1,5e1", -1, -1, 0, 0, 1, 0, L"15"},
        {__LINE__, L"1E60", -1, -1, 0, 0, 1, 0, L"1E60"},  // past 50 characters it stays
        {__LINE__, L"1.26E10", -1, 1, 0, 0, 0, 0, L"1.3E10"},  // the mantissa is rounded alone
        {__LINE__, L"2.0E10", -1, 1, 0, 0, 0, 1, L"2E10"},    // exponent digits are no fraction
    };
    Verifie(s_tab, std::size(s_tab));
}

TEST(FmtNum, PadsToTheWidthOrSaysItDoesNotFit) {
    static const STFmt s_tab[] = {
        {__LINE__, L"12.5", 6, -1, 0, 0, 0, 0, L"  12.5"},
        {__LINE__, L"12.5", 6, -1, 0, 1, 0, 0, L"12.5  "},
        {__LINE__, L"12.5", 4, -1, 0, 0, 0, 0, L"12.5"},
        {__LINE__, L"123456", 4, -1, 0, 0, 0, 0, L"*E*"},
        {__LINE__, L"12.500", 6, 3, 0, 0, 0, 1, L"  12.5"},  // zeros go before the padding
    };
    Verifie(s_tab, std::size(s_tab));
}

TEST(FmtNum, LeavesTextThatIsNoNumberReadable) {
    static const STFmt s_tab[] = {
        {__LINE__, L"d\u00e9j\u00e0 \U0001F600", -1, -1, 3, 0, 1, 1, L"d\u00e9j\u00e0 \U0001F600"},
        {__LINE__, L"", -1, -1, 0, 0, 1, 1, L""},
        {__LINE__, L"", -1, 2, 0, 0, 1, 0, L""},
        {__LINE__, L"déjà", -1, 2, 0, 0, 1, 0, L"déjà"},
        {__LINE__, L"-", -1, -1, 0, 0, 0, 0, L""},
        {__LINE__, L"1e", -1, -1, 0, 0, 1, 0, L"1e"},
        {__LINE__, L"1e99999999999", -1, -1, 0, 0, 1, 0, L"1e99999999999"},
    };
    Verifie(s_tab, std::size(s_tab));
    CMasqueNumerique::FmtNum(nullptr, 1, 1, 1, 1, 1, 1);
}

// ---------------------------------------------------------------------------------------------

class RoundedText : public ::testing::Test {
protected:
    static void SetUpTestSuite() { CAny::s_LieConversion(nConversionDepassementExt, FinConversion, nullptr); }
    static void TearDownTestSuite() { CAny::s_LieConversion(nullptr, nullptr, nullptr); }

    static std::wstring sArrondi(const CAny& cl, int nDecimales, PFNTexteErreurMasque pfn = nullptr) {
        CAny clSortie;
        CMasqueNumerique::NumeriqueVersChaineArrondi(cl, &clSortie, nDecimales, pfn);
        CXYString<wchar_t> clTexte;
        clSortie.__nFillString(clTexte);
        return clTexte.pszGet();
    }
    static CAny clReel(double d) {
        CAny cl;
        cl.SetR8(d);
        return cl;
    }
    static CAny clTexte(const wchar_t* psz) {
        CAny cl;
        cl.SetDSTRW(psz);
        return cl;
    }
    static CAny clMonnaie(const wchar_t* psz) {
        CMoney st{};
        pstChaineVersMonetaire(&st, psz);
        CAny cl;
        cl.__SetType(0x0a);
        cl.pclOperations()->SetValue(&st);
        return cl;
    }
};

const wchar_t* pszDiese(eCHAINEERREUR) { return L"###"; }

TEST_F(RoundedText, RealsPrintWithTheFixedDecimals) {
    EXPECT_EQ(sArrondi(clReel(2.5), 2), L"2.50");
    EXPECT_EQ(sArrondi(clReel(1.0 / 3), 3), L"0.333");
    EXPECT_EQ(sArrondi(clReel(-1234.5), 0), L"-1234");  // the C library rounds half to even
    EXPECT_EQ(sArrondi(clReel(0.125), -1), L"0.125");
    EXPECT_EQ(sArrondi(clReel(NAN), 2), L"+++++");
    EXPECT_EQ(sArrondi(clReel(1e308), 2, pszDiese), L"###");
    EXPECT_EQ(sArrondi(clReel(-INFINITY), 2, pszDiese), L"###");
}

TEST_F(RoundedText, TextsAndMoneyKeepEveryDigit) {
    struct {
        int nLigne;
        CAny cl;
        int nDecimales;
        const wchar_t* pszAttendu;
    } const s_tab[] = {
        {__LINE__, clTexte(L"2.675"), 2, L"2.68"},
        {__LINE__, clTexte(L"12.500"), 2, L"12.5"},
        {__LINE__, clTexte(L"1.5E3"), 2, L"1500"},
        {__LINE__, clTexte(L"123456789012345678901234.567"), 1, L"123456789012345678901234.6"},
        {__LINE__, clMonnaie(L"1234.5678"), 2, L"1234.57"},
        {__LINE__, clMonnaie(L"-0.004"), 2, L"0"},
        {__LINE__, clMonnaie(L"604462909807314587.353087"), 3, L"604462909807314587.353"},
        {__LINE__, clMonnaie(L"-2.665"), 2, L"-2.67"},
    };
    for (const auto& st : s_tab) EXPECT_EQ(sArrondi(st.cl, st.nDecimales), st.pszAttendu) << "line " << st.nLigne;
}

TEST_F(RoundedText, IntegersAreNotTakenThroughAReal) {
    CAny cl;
    cl.SetI8(9007199254740993);  // 2^53 + 1, which no double holds
    EXPECT_EQ(sArrondi(cl, 2), L"9007199254740993");
    cl.SetI4(-42);
    EXPECT_EQ(sArrondi(cl, 0), L"-42");
    cl.SetNull();
    EXPECT_EQ(sArrondi(cl, 2), L"");
}

}  // namespace
