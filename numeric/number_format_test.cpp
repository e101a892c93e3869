// Number formatting: the format grammar, agreement with the C library's printf wherever the
// binary correction does not apply, the cases where it does, and the hexadecimal and buffer
// conversions with their errors. Texts and money are cast by the stand-in machine's conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "component/composante.h"
#include "datetime/mask.h"
#include "host/conversion.h"
#include "numeric/number_format.h"

namespace {

class NumberFormat : public ::testing::Test {
protected:
    static void SetUpTestSuite() { CAny::s_LieConversion(nConversionDepassementExt, FinConversion, nullptr); }
    static void TearDownTestSuite() { CAny::s_LieConversion(nullptr, nullptr, nullptr); }
};

CAny clReel(double d) {
    CAny cl;
    cl.SetR8(d);
    return cl;
}
CAny clEntier(int n) {
    CAny cl;
    cl.SetI4(n);
    return cl;
}
template <class T>
CAny clDeType(int nType, T valeur) {
    CAny cl;
    cl.__SetType(nType);
    cl.pclOperations()->SetValue(&valeur);
    return cl;
}
CAny clMonnaie(const wchar_t* psz) {
    CMoney st{};
    pstChaineVersMonetaire(&st, psz);
    return clDeType(0x0a, st);
}
CAny clTexte(const wchar_t* psz) {
    CAny cl;
    cl.SetDSTRW(psz);
    return cl;
}

std::wstring sFormate(const CAny& cl, const wchar_t* pszFormat, EResultatFormat eAttendu = EResultatFormat::Ok) {
    CXYString<wchar_t> clResultat;
    EXPECT_EQ(eNumeriqueVersChaine(cl, pszFormat, &clResultat), eAttendu) << pszFormat;
    return clResultat.pszGet();
}

std::wstring sElargi(const char* psz) { return std::wstring(psz, psz + std::strlen(psz)); }

// ---------------------------------------------------------------------------------------------
// The grammar

TEST(FormatGrammar, ReadsFlagsWidthPrecisionAndLettersInTheirStrictOrder) {
    struct {
        int nLine;
        const wchar_t* pszFormat;
        bool bValide;
        unsigned int dwFlags;
        int nLargeur, nPrecision;
        char cConversion;
    } const tabCas[] = {
        {__LINE__, L"12.2f", true, 0, 12, 2, 'f'},
        {__LINE__, L"%12.2f", true, 0, 12, 2, 'f'},
        {__LINE__, L"-+08.3E", true, FMTNUM_GAUCHE | FMTNUM_SIGNE, 8, 3, 'E'},  // left drops the zeros
        {__LINE__, L"+08,3lfS", true, FMTNUM_SIGNE | FMTNUM_ZERO | FMTNUM_VIRGULE | FMTNUM_LONG | FMTNUM_MILLIERS, 8, 3, 'f'},
        {__LINE__, L"", true, 0, -1, 6, 'f'},
        {__LINE__, L"e", true, 0, -1, 6, 'e'},
        {__LINE__, L"8xs", true, 0, 8, -1, 'x'},  // no thousands in hexadecimal
        {__LINE__, L"08O", true, FMTNUM_ZERO, 8, -1, 'O'},
        {__LINE__, L"d", true, 0, -1, -1, 'd'},
        {__LINE__, L"10s", true, FMTNUM_MILLIERS, 10, 6, 'f'},
        {__LINE__, L"100.100f", true, 0, 100, 100, 'f'},
        {__LINE__, L"101f", false, 0, 0, 0, 0},
        {__LINE__, L".101f", false, 0, 0, 0, 0},
        {__LINE__, L"99999999999999f", false, 0, 0, 0, 0},  // cut to 16 characters, still too wide
        {__LINE__, L"5.2q", false, 0, 0, 0, 0},
        {__LINE__, L"5+d", false, 0, 0, 0, 0},
        {__LINE__, L"fd", false, 0, 0, 0, 0},
        {__LINE__, L"sf", false, 0, 0, 0, 0},
        {__LINE__, L"%%f", false, 0, 0, 0, 0},
        {__LINE__, L"NumSystemMask", false, 0, 0, 0, 0},
        {__LINE__, L"999 999,99", false, 0, 0, 0, 0},
        {__LINE__, L"1.2fé", false, 0, 0, 0, 0},
        {__LINE__, L"1.2f\U0001F600", false, 0, 0, 0, 0},
        {__LINE__, L"2.2fSSSSSSSSSSSSjunk", true, FMTNUM_MILLIERS, 2, 2, 'f'},  // only 16 count
    };
    for (const auto& c : tabCas) {
        STFormatNumerique st;
        const bool bValide = bAnalyseFormatNumerique(c.pszFormat, &st);
        ASSERT_EQ(bValide, c.bValide) << "row " << c.nLine;
        if (!bValide) continue;
        EXPECT_EQ(st.dwFlags, c.dwFlags) << "row " << c.nLine;
        EXPECT_EQ(st.nLargeur, c.nLargeur) << "row " << c.nLine;
        EXPECT_EQ(st.nPrecision, c.nPrecision) << "row " << c.nLine;
        EXPECT_EQ(st.cConversion, c.cConversion) << "row " << c.nLine;
    }
}

// ---------------------------------------------------------------------------------------------
// Against the C library

// The C format rebuilt from the pieces, independently of the printer.
std::string sFormatC(bool bGauche, bool bSigne, bool bZero, int nLargeur, int nPrecision, char cLettre) {
    std::string s = "%";
    if (bGauche) s += '-';
    if (bSigne) s += '+';
    if (bZero && !bGauche) s += '0';
    if (nLargeur > 0) s += std::to_string(nLargeur);
    if (nPrecision >= 0) s += "." + std::to_string(nPrecision);
    s += cLettre;
    return s;
}

bool bCorrectionPossible(double d, int nPrecision) {
    const double a = std::fabs(d);
    return nPrecision < 14 && d != std::trunc(d) && a >= 1e-9 && a < 1e14;
}

TEST(FormatAgainstPrintf, RandomRealsAndFormatsAgreeWhereNoCorrectionApplies) {
    std::mt19937_64 rng(20240611);
    int nCompares = 0;
    for (int i = 0; i < 40000; ++i) {
        // Integers, exact binary fractions, and reals of every magnitude.
        double d = 0;
        switch (rng() % 4) {
            case 0: d = static_cast<double>(static_cast<int64_t>(rng() % 2000000) - 1000000); break;
            case 1: d = static_cast<double>(static_cast<int64_t>(rng() % 4096) - 2048) / 64.0; break;
            case 2: d = std::ldexp(static_cast<double>(rng() % (1ull << 52)), static_cast<int>(rng() % 200) - 140); break;
            default: d = std::uniform_real_distribution<double>(-1e6, 1e6)(rng); break;
        }
        if (rng() % 2) d = -d;
        const bool bGauche = rng() % 4 == 0, bSigne = rng() % 3 == 0, bZero = rng() % 3 == 0;
        const int nLargeur = rng() % 3 == 0 ? -1 : static_cast<int>(rng() % 31);
        const char acLettres[] = {'f', 'F', 'e', 'E'};
        const char cLettre = acLettres[rng() % 4];
        int nPrecision = rng() % 4 == 0 ? -1 : static_cast<int>(rng() % 20);
        // The language's format: zero filling is a width that starts with "0".
        std::string sLangue;
        if (bGauche) sLangue += '-';
        if (bSigne) sLangue += '+';
        if (bZero) sLangue += '0';
        if (nLargeur >= 0) sLangue += std::to_string(nLargeur);
        if (nPrecision >= 0) sLangue += "." + std::to_string(nPrecision);
        sLangue += cLettre;
        if (nPrecision < 0) nPrecision = 6;
        if (bCorrectionPossible(d, nPrecision)) continue;
        char szAttendu[512];
        std::snprintf(szAttendu, sizeof szAttendu,
                      sFormatC(bGauche, bSigne, bZero && nLargeur >= 0, nLargeur, nPrecision, cLettre).c_str(), d);
        const std::wstring sFormat = sElargi(sLangue.c_str());
        ASSERT_EQ(sFormate(clReel(d), sFormat.c_str()), sElargi(szAttendu)) << sLangue << " on " << d;
        ++nCompares;
    }
    EXPECT_GT(nCompares, 15000);
}

TEST(FormatAgainstPrintf, IntegersUnderDecimalHexadecimalAndOctal) {
    std::mt19937_64 rng(7);
    for (int i = 0; i < 5000; ++i) {
        const int n = static_cast<int>(rng());
        const bool bZero = rng() % 2 == 0;
        const int nLargeur = static_cast<int>(rng() % 16);
        const char acLettres[] = {'d', 'x', 'X', 'o'};
        const char cLettre = acLettres[rng() % 4];
        const std::string sLangue = (bZero ? "0" : "") + std::to_string(nLargeur) + cLettre;
        if (n < 0 && cLettre != 'd') continue;  // negatives have their own rules below
        char szAttendu[64];
        std::snprintf(szAttendu, sizeof szAttendu, sFormatC(false, false, bZero, nLargeur, -1, cLettre).c_str(), n);
        const std::wstring sFormat = sElargi(sLangue.c_str());
        ASSERT_EQ(sFormate(clEntier(n), sFormat.c_str()), sElargi(szAttendu)) << sLangue << " on " << n;
    }
}

// ---------------------------------------------------------------------------------------------
// The correction and the language's own rules

TEST_F(NumberFormat, CorrectionRoundsDecimalsAsTheirTextReads) {
    struct {
        int nLine;
        double d;
        const wchar_t* pszFormat;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, 2.675, L".2f", L"2.68"},     // printf: 2.67
        {__LINE__, -2.675, L".2f", L"-2.68"},
        {__LINE__, 1.005, L".2f", L"1.01"},     // printf: 1.00
        {__LINE__, 0.125, L".2f", L"0.13"},     // printf rounds the exact half to even: 0.12
        {__LINE__, 2.5, L"d", L"3"},            // printf %.0f: 2
        {__LINE__, 1.5, L"d", L"2"},
        {__LINE__, -0.5, L"d", L"-1"},
        {__LINE__, 1234.5, L"10d", L"      1235"},
        {__LINE__, 1.0000000000000002, L".2f", L"1.00"},
    };
    for (const auto& c : tabCas) EXPECT_EQ(sFormate(clReel(c.d), c.pszFormat), c.pszAttendu) << "row " << c.nLine;
    EXPECT_EQ(sFormate(clReel(2.675), L".14f"), L"2.67500000000000") << "no correction from 14 decimals on";
}

TEST_F(NumberFormat, EmptyFormatsTextsAndPercentSign) {
    EXPECT_EQ(sFormate(clEntier(3), L""), L"3");
    EXPECT_EQ(sFormate(clEntier(-2147483647 - 1), nullptr), L"-2147483648");
    EXPECT_EQ(sFormate(clReel(3.5), L""), L"3.5");
    EXPECT_EQ(sFormate(clReel(3.0), L""), L"3") << "the machine's text loses its last point";
    EXPECT_EQ(sFormate(clTexte(L"été \U0001F600"), L"12.2f"), L"été \U0001F600") << "a text goes back unchanged";
    EXPECT_EQ(sFormate(clTexte(L"abc"), L"101f"), L"abc") << "even under a bad format";
    EXPECT_EQ(sFormate(clReel(-1.25), L"%+9.3e"), sFormate(clReel(-1.25), L"+9.3e"));
    EXPECT_EQ(sFormate(clReel(1.25), L"%-8.1fL"), L"1.3     ");
}

TEST_F(NumberFormat, ThousandsSeparatorsUseUpTheFieldBeforeGrowing) {
    // The C locale has no thousands separator: a blank stands in.
    struct {
        int nLine;
        double d;
        const wchar_t* pszFormat;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, 1234567.891, L"12.2fs", L"1 234 567.89"},
        {__LINE__, 1234567.891, L".2fS", L"1 234 567.89"},
        {__LINE__, -1234567.891, L"15.2fs", L"  -1 234 567.89"},
        {__LINE__, 1234567.0, L"-12.0fs", L"1 234 567   "},
        {__LINE__, 1234.5, L"010.1fs", L"0001 234.5"},
        {__LINE__, -1234.5, L"+010.1fs", L"-001 234.5"},
        {__LINE__, 999.0, L"8.0fs", L"     999"},
        {__LINE__, 1000.0, L"ds", L"1 000"},
        {__LINE__, 123456.0, L"12.3es", L"   1.235e+05"},
        {__LINE__, 0.5, L"8,2f", L"    0.50"},  // the C locale's point is "."
    };
    for (const auto& c : tabCas) EXPECT_EQ(sFormate(clReel(c.d), c.pszFormat), c.pszAttendu) << "row " << c.nLine;
}

TEST_F(NumberFormat, NegativeHexadecimalAndOctalKeepTheirRightDigitsAndFill) {
    struct {
        int nLine;
        CAny cl;
        const wchar_t* pszFormat;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, clEntier(-1), L"x", L"ffffffff"},
        {__LINE__, clEntier(-1), L"4x", L"ffff"},
        {__LINE__, clEntier(-2), L"X", L"FFFFFFFE"},
        {__LINE__, clDeType<int8_t>(0x06, -1), L"x", L"ff"},
        {__LINE__, clDeType<int8_t>(0x06, -1), L"08x", L"ffffffff"},
        {__LINE__, clDeType<int8_t>(0x06, -1), L"08X", L"FFFFFFFF"},
        {__LINE__, clDeType<int16_t>(0x07, -4096), L"08x", L"fffff000"},
        {__LINE__, clDeType<int8_t>(0x06, -8), L"08o", L"00000370"},  // top digit 3: no fill
        {__LINE__, clDeType<int8_t>(0x06, -8), L"2o", L"70"},
        {__LINE__, clDeType<int8_t>(0x06, -1), L"O", L"377"},
        {__LINE__, clDeType<int16_t>(0x07, 0x7fff), L"08x", L"00007fff"},  // positive: no fill
        {__LINE__, clDeType<uint8_t>(0x02, 200), L"08x", L"000000c8"},
        {__LINE__, clReel(-1.5), L"x", L"ffffffff"},
        {__LINE__, clReel(300.7), L"x", L"12c"},
        {__LINE__, clReel(1e10), L"x", L"540be400"},  // a real is cut to 32 bits
        {__LINE__, clDeType<int64_t>(0x09, -1), L"x", L"ffffffffffffffff"},
        {__LINE__, clDeType<uint64_t>(0x05, 0xfedcba9876543210ull), L"X", L"FEDCBA9876543210"},
    };
    for (const auto& c : tabCas) EXPECT_EQ(sFormate(c.cl, c.pszFormat), c.pszAttendu) << "row " << c.nLine;
}

TEST_F(NumberFormat, SixtyFourBitIntegersAndMoneyStayExact) {
    EXPECT_EQ(sFormate(clDeType<int64_t>(0x09, 9007199254740993), L"d"), L"9007199254740993");
    EXPECT_EQ(sFormate(clDeType<int64_t>(0x09, INT64_MIN), L"d"), L"-9223372036854775808");
    EXPECT_EQ(sFormate(clDeType<uint64_t>(0x05, ~0ull), L"25ds"), L"18 446 744 073 709 551 615")
        << "five blanks used up, then the text grows";
    EXPECT_EQ(sFormate(clMonnaie(L"2.675"), L".2f"), L"2.68");
    EXPECT_EQ(sFormate(clMonnaie(L"-2.665"), L"+09.2f"), L"-00002.67");
    EXPECT_EQ(sFormate(clMonnaie(L"123456789012345678.123456"), L".8f"), L"123456789012345678.12345600");
    EXPECT_EQ(sFormate(clMonnaie(L"0.5"), L"d"), L"1");
    EXPECT_EQ(sFormate(clMonnaie(L"-1234.5"), L"-12.1fs"), L"-1 234.5    ");
    EXPECT_EQ(sFormate(clMonnaie(L"255.9"), L"x"), L"ff");
}

TEST_F(NumberFormat, BadFormatsAndValuesAreRefusedWithAnEmptyText) {
    EXPECT_EQ(sFormate(clReel(1), L"101f", EResultatFormat::ErreurFormat), L"");
    EXPECT_EQ(sFormate(clReel(1), L"MoneySystemMask", EResultatFormat::ErreurFormat), L"");
    EXPECT_EQ(sFormate(clReel(1), L"999 999,99", EResultatFormat::ErreurFormat), L"");
    EXPECT_EQ(sFormate(clReel(1), L"12.2z", EResultatFormat::ErreurFormat), L"");
    CAny clBinaire;
    clBinaire.SetZKBIN(CZKBIN("\x01\x02", 2));
    EXPECT_EQ(sFormate(clBinaire, L"12.2f", EResultatFormat::ErreurValeur), L"");
    // The largest real in the widest format fits the buffers.
    EXPECT_EQ(sFormate(clReel(-1.7976931348623157e308), L"-+100.100f").size(), 411u);
}

// ---------------------------------------------------------------------------------------------
// Hexadecimal

TEST_F(NumberFormat, HexaVersEntierPicksTheSmallestUnsignedType) {
    struct {
        int nLine;
        const wchar_t* pszTexte;
        EResultatHexa e;
        int nType;
        unsigned long uValeur;
    } const tabCas[] = {
        {__LINE__, L"0xFF", EResultatHexa::Ok, 0x02, 0xff},
        {__LINE__, L"  0X00ff  ", EResultatHexa::Ok, 0x02, 0xff},
        {__LINE__, L"", EResultatHexa::Ok, 0x02, 0},
        {__LINE__, L"1ff", EResultatHexa::Ok, 0x03, 0x1ff},
        {__LINE__, L"DEAD beef", EResultatHexa::Ok, 0x04, 0xdeadbeef},
        {__LINE__, L"FFFFFFFF", EResultatHexa::Ok, 0x04, 0xffffffff},  // no sign extension
        {__LINE__, L"1 0000 0000", EResultatHexa::Ok, 0x05, 0x100000000},
        {__LINE__, L"000000000000000000000000000001", EResultatHexa::Ok, 0x02, 1},
        {__LINE__, L"12g4", EResultatHexa::CaractereInvalide, 0x08, 0},
        {__LINE__, L"é", EResultatHexa::CaractereInvalide, 0x08, 0},
        {__LINE__, L"0x-1", EResultatHexa::CaractereInvalide, 0x08, 0},
        {__LINE__, L"10000000000000000000000000000000", EResultatHexa::TropLong, 0x08, 0},
    };
    for (const auto& c : tabCas) {
        CAny cl;
        wchar_t cInvalide = 0;
        ASSERT_EQ(eHexaVersEntier(c.pszTexte, &cl, &cInvalide), c.e) << "row " << c.nLine;
        EXPECT_EQ(cl.nGetTypeCode(), c.nType) << "row " << c.nLine;
        unsigned long u = 99;
        cl.nGetBitField_64(u);
        EXPECT_EQ(u, c.uValeur) << "row " << c.nLine;
    }
    CAny cl;
    ASSERT_EQ(eHexaVersEntier(L"1234567890ABCDEF12345", &cl, nullptr), EResultatHexa::Ok);
    ASSERT_EQ(cl.nGetTypeCode(), 0x0a);
    CMoney st;
    std::memcpy(&st, cl.pbyValeur(), sizeof st);
    EXPECT_EQ(st.nGetBrut(), (static_cast<__int128>(0x234567890ABCDEFll) << 20) | 0x12345) << "the low 80 bits";
    ASSERT_EQ(eHexaVersEntier(L"FFFFFFFFFFFFFFFFFFFF", &cl, nullptr), EResultatHexa::Ok);
    std::memcpy(&st, cl.pbyValeur(), sizeof st);
    EXPECT_EQ(st.nGetBrut(), -1) << "the raw two's complement value";
}

TEST_F(NumberFormat, EntierVersHexaWritesEveryByteFromTheHighEnd) {
    struct {
        int nLine;
        CAny cl;
        int nGroupe;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, clEntier(255), 0, L"000000FF"},
        {__LINE__, clEntier(-2), 4, L"FFFF FFFE"},
        {__LINE__, clDeType<uint8_t>(0x02, 0xab), 0, L"AB"},
        {__LINE__, clDeType<int64_t>(0x09, 0x0102030405060708), 3, L"0 102 030 405 060 708"},  // groups count from the right
        {__LINE__, clReel(1.5), 0, L"0000000000000016E360"},   // 1.5 as money: 1,500,000 units
        {__LINE__, clTexte(L"-1"), 5, L"FFFFF FFFFF FFFFF 0BDC0"},
        {__LINE__, CAny(), 0, L""},
    };
    for (const auto& c : tabCas) {
        CXYString<wchar_t> cl;
        ASSERT_TRUE(bEntierVersHexa(c.cl, c.nGroupe, &cl)) << "row " << c.nLine;
        EXPECT_EQ(std::wstring(cl.pszGet()), c.pszAttendu) << "row " << c.nLine;
    }
    CXYString<wchar_t> cl;
    EXPECT_FALSE(bEntierVersHexa(clTexte(L"pas un nombre"), 0, &cl));
}

// ---------------------------------------------------------------------------------------------
// Buffers

TEST(HexBuffers, DumpsItemsInBothByteOrdersWithAndWithoutTheText) {
    const uint8_t aby[] = {0x41, 0x42, 0x00, 0xff, 0x7e};
    struct {
        int nLine;
        int nTailleItem, nColonnes;
        const wchar_t* pszAttendu;
    } const tabCas[] = {
        {__LINE__, 1, 16, L"41 42 00 FF 7E\r\n"},
        {__LINE__, 1, 2, L"41 42\r\n00 FF\r\n7E\r\n"},
        {__LINE__, 2, 16, L"4142 00FF 7E00\r\n"},
        {__LINE__, 2 | HEXA_PETIT_BOUTIEN, 16, L"4241 FF00 007E\r\n"},
        {__LINE__, 4, 1, L"414200FF\r\n7E000000\r\n"},
        {__LINE__, 1, 3 | HEXA_AVEC_DUMP, L"41 42 00  |AB.\r\nFF 7E     |.~\r\n"},
    };
    for (const auto& c : tabCas) {
        CXYString<wchar_t> cl;
        ASSERT_TRUE(bBufferVersHexa(aby, sizeof aby, c.nTailleItem, c.nColonnes, &cl)) << "row " << c.nLine;
        EXPECT_EQ(std::wstring(cl.pszGet()), c.pszAttendu) << "row " << c.nLine;
    }
    CXYString<wchar_t> cl;
    EXPECT_FALSE(bBufferVersHexa(aby, sizeof aby, 3, 16, &cl));
    EXPECT_FALSE(bBufferVersHexa(aby, sizeof aby, 8, 16, &cl));
    ASSERT_TRUE(bBufferVersHexa(aby, sizeof aby, 4, 0x7fffffff & ~HEXA_AVEC_DUMP, &cl)) << "huge column counts";
    EXPECT_EQ(std::wstring(cl.pszGet()), L"414200FF 7E000000\r\n");
}

TEST(HexBuffers, ReadsGroupsOverBlanksLineBreaksAndDumps) {
    struct {
        int nLine;
        const wchar_t* pszTexte;
        int nTailleItem;
        EResultatBuffer e;
        std::string sOctets;
    } const tabCas[] = {
        {__LINE__, L"41 42\r\n00 ff", 1, EResultatBuffer::Ok, std::string("AB\0\xff", 4)},
        {__LINE__, L"4142 00FF", 2, EResultatBuffer::Ok, std::string("BA\xff\0", 4)},
        {__LINE__, L"41 42 00  |AB.\r\nFF 7E     |.~\r\n", 1, EResultatBuffer::Ok, std::string("AB\0\xff~", 5)},
        {__LINE__, L"414", 1, EResultatBuffer::Ok, std::string("A\x04", 2)},
        {__LINE__, L"", 1, EResultatBuffer::Ok, ""},
        {__LINE__, L"41 4G", 1, EResultatBuffer::CaractereInvalide, ""},
        {__LINE__, L"41 é", 1, EResultatBuffer::CaractereInvalide, ""},
        {__LINE__, L"41", 3, EResultatBuffer::TailleInvalide, ""},
    };
    for (const auto& c : tabCas) {
        CZKBIN cl;
        ASSERT_EQ(eHexaVersBuffer(c.pszTexte, c.nTailleItem, &cl), c.e) << "row " << c.nLine;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(cl.pbyGet()), static_cast<size_t>(cl.nGetTaille())), c.sOctets)
            << "row " << c.nLine;
    }
}

TEST(HexBuffers, ReadsIntegersAndRealsLittleEndianWithinTheBuffer) {
    const double d = -2.5;
    const float f = 0.25f;
    uint8_t aby[16] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88};
    std::memcpy(aby + 8, &d, 8);
    const CZKBIN cl(aby, 16);
    struct {
        int nLine;
        long nDecalage;
        int nTaille;
        EResultatLecture e;
        long nValeur;
    } const tabCas[] = {
        {__LINE__, 0, 1, EResultatLecture::Ok, 0x01},
        {__LINE__, 1, 2, EResultatLecture::Ok, 0x0302},
        {__LINE__, 4, 4, EResultatLecture::Ok, static_cast<long>(0x88070605)},  // unsigned
        {__LINE__, 0, 8, EResultatLecture::Ok, static_cast<long>(0x8807060504030201)},
        {__LINE__, 15, 1, EResultatLecture::Ok, static_cast<long>(aby[15])},
        {__LINE__, 15, 2, EResultatLecture::HorsLimites, 0},
        {__LINE__, 16, 1, EResultatLecture::HorsLimites, 0},
        {__LINE__, -1, 1, EResultatLecture::HorsLimites, 0},
        {__LINE__, 0x7fffffffffffffff, 8, EResultatLecture::HorsLimites, 0},
        {__LINE__, 0, 3, EResultatLecture::TailleInvalide, 0},
    };
    for (const auto& c : tabCas) {
        long n = -7;
        EXPECT_EQ(eBufferVersEntier(cl, c.nDecalage, c.nTaille, &n), c.e) << "row " << c.nLine;
        EXPECT_EQ(n, c.nValeur) << "row " << c.nLine;
    }
    double dLu = 0;
    EXPECT_EQ(eBufferVersReel(cl, 8, 8, &dLu), EResultatLecture::Ok);
    EXPECT_EQ(dLu, -2.5);
    std::memcpy(aby + 2, &f, 4);
    EXPECT_EQ(eBufferVersReel(CZKBIN(aby, 16), 2, 4, &dLu), EResultatLecture::Ok);
    EXPECT_EQ(dLu, 0.25);
    EXPECT_EQ(eBufferVersReel(cl, 0, 2, &dLu), EResultatLecture::TailleInvalide);
    EXPECT_EQ(eBufferVersReel(cl, 9, 8, &dLu), EResultatLecture::HorsLimites);
    EXPECT_EQ(eBufferVersReel(CZKBIN(), 0, 8, &dLu), EResultatLecture::HorsLimites);
}

// ---------------------------------------------------------------------------------------------
// Numbers in variants, sizes, and the language methods

TEST_F(NumberFormat, EstNumeriqueReadsTextsThroughTheMachine) {
    struct {
        int nLine;
        CAny cl;
        bool bAttendu;
    } const tabCas[] = {
        {__LINE__, clEntier(0), true},
        {__LINE__, clReel(-1.5), true},
        {__LINE__, clMonnaie(L"2"), true},
        {__LINE__, clTexte(L"12.5"), true},
        {__LINE__, clTexte(L" -3e2 "), true},
        {__LINE__, clTexte(L"0"), true},
        {__LINE__, clTexte(L"0.0"), true},
        {__LINE__, clTexte(L""), false},   // reads as 0 but consumes nothing
        {__LINE__, clTexte(L"   "), false},
        {__LINE__, clTexte(L"douze"), false},
        {__LINE__, clTexte(L"12 €"), false},
        {__LINE__, clTexte(L"\U0001F600"), false},
        {__LINE__, CAny(), false},
    };
    for (const auto& c : tabCas) EXPECT_EQ(bEstNumerique(c.cl), c.bAttendu) << "row " << c.nLine;
    CAny clBool;
    clBool.SetBOOL(true);
    EXPECT_FALSE(bEstNumerique(clBool));
}

class NumberMethods : public NumberFormat {
protected:
    int nErreur() { return m_cl.pclGetError()->eGetErrorLevel() == CXError::EL_NOERROR ? 0 : m_cl.pclGetError()->nGetUserErrorCode(); }
    std::wstring sMessage() { return m_cl.pclGetError()->pszGetUserMessage(); }
    void Efface() { m_cl.pclGetError()->RAZ(); }
    CComposanteStandard m_cl;
};

TEST_F(NumberMethods, RaiseTheNumberedErrorsOfBadInput) {
    const CAny clUn = clReel(1);
    EXPECT_EQ(std::wstring(m_cl.NumeriqueVersChaine(&clUn, L"5.2é").pszGet()), L"");
    EXPECT_EQ(nErreur(), 80700);
    EXPECT_NE(sMessage().find(L"5.2é"), std::wstring::npos) << sMessage();
    Efface();
    EXPECT_EQ(std::wstring(m_cl.TailleVersChaine(10, 9).pszGet()), L"");
    EXPECT_EQ(nErreur(), 81507);
    EXPECT_NE(sMessage().find(L"9"), std::wstring::npos);
    Efface();
    const CAny clHexa = m_cl.HexaVersEntier(L"12\U0001F600");
    EXPECT_EQ(clHexa.nGetTypeCode(), 0x08);
    EXPECT_EQ(nErreur(), 81813);
    EXPECT_NE(sMessage().find(L"\U0001F600"), std::wstring::npos) << "the message names the character";
    Efface();
    m_cl.HexaVersEntier(L"FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF");
    EXPECT_EQ(nErreur(), 81814);
    Efface();
    EXPECT_TRUE(m_cl.HexaVersBuffer(L"4x", 1).bEstNull());
    EXPECT_EQ(nErreur(), 81833);
    Efface();
    m_cl.HexaVersBuffer(L"41", 8);
    EXPECT_EQ(nErreur(), 80700);
    Efface();
    const CZKBIN clBuffer("\x01\x02", 2);
    EXPECT_EQ(m_cl.BufferVersEntier(clBuffer, 1, 4), 0);
    EXPECT_EQ(nErreur(), 81838);
    Efface();
    EXPECT_EQ(m_cl.BufferVersEntier(clBuffer, -1, 1), 0);
    EXPECT_EQ(nErreur(), 81838);
    Efface();
    EXPECT_EQ(m_cl.BufferVersReel(clBuffer, 0, 2), 0);
    EXPECT_EQ(nErreur(), 80700);
    Efface();
    EXPECT_EQ(m_cl.BufferVersEntier(clBuffer, 0, 2), 0x0201);
    EXPECT_EQ(nErreur(), 0);
}

TEST_F(NumberMethods, ColourFromHexadecimalComponents) {
    EXPECT_EQ(m_cl.RVB(L"FF", L"0x80", L" 01 "), 0xff + 0x80 * 256 + 0x01 * 65536);
    EXPECT_EQ(m_cl.RVB(L"1FF", L"0", L"0"), 0x1ff) << "components above 255 carry, as with integers";
    EXPECT_EQ(nErreur(), 0);
    EXPECT_EQ(m_cl.RVB(L"FF", L"vert", L"0"), 0);
    EXPECT_EQ(nErreur(), 81813);
}

}  // namespace

TEST_F(NumberFormat, SystemMasksGoThroughTheNumericMask) {
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_SEPARATEUR_DECIMAL, L",");
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_SEPARATEUR_MILLIERS, L" ");
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_SYMBOLE_MONETAIRE, L"\u20ac");
    EXPECT_EQ(sFormate(clReel(-1234.5), L"NumSystemMask"), L"-1 234,50");
    EXPECT_EQ(sFormate(clMonnaie(L"12345678901234567.895"), L"MoneySystemMask$"), L"12 345 678 901 234 567,90 \u20ac");
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_SEPARATEUR_DECIMAL, nullptr);
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_SEPARATEUR_MILLIERS, nullptr);
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_SYMBOLE_MONETAIRE, nullptr);
}
