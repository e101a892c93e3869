// The numeric mask under French and English regional settings: digit positions, separators,
// signs, sections, overflow, units, colours, reading back, and masks that make no sense; system
// masks and byte sizes in a language's own layouts; what a mask tells about itself.
#include "numeric/number_mask.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "component/interfaces/machine.h"
#include "component/testing/fake_language.h"

namespace {

struct STCas {
    int nLigne;
    const wchar_t* pszMasque;
    const wchar_t* pszValeur;
    const wchar_t* pszAttendu;
};

std::wstring sFormate(const wchar_t* pszMasque, const wchar_t* pszValeur, int bRaw = 0,
                      PFNTexteErreurMasque pfn = nullptr) {
    CMasqueNumerique cl(pszMasque, pfn);
    CTString clSortie;
    cl.MetAuFormat(pszValeur, &clSortie, bRaw, nullptr);
    return clSortie.pszGet();
}

class NumberMask : public ::testing::Test {
protected:
    static void Regle(const wchar_t* pszDecimal, const wchar_t* pszMillier, const wchar_t* pszDevise) {
        CMasque::s_SetWinIntlParam(CMasque::LOCALE_SEPARATEUR_DECIMAL, pszDecimal);
        CMasque::s_SetWinIntlParam(CMasque::LOCALE_SEPARATEUR_MILLIERS, pszMillier);
        CMasque::s_SetWinIntlParam(CMasque::LOCALE_SYMBOLE_MONETAIRE, pszDevise);
    }
    void SetUp() override { Regle(L",", L" ", L"\u20ac"); }
    void TearDown() override {
        Regle(nullptr, nullptr, nullptr);
        for (int i = 0; i < CMasqueNumerique::PARAMETRE_NB; ++i)
            CMasqueNumerique::SetInternationnalParam(static_cast<CMasqueNumerique::ePARAMETREINT_NUMERIQUE>(i), nullptr);
    }
    static void Verifie(const STCas* pst, size_t n) {
        for (size_t i = 0; i < n; ++i)
            EXPECT_EQ(sFormate(pst[i].pszMasque, pst[i].pszValeur), pst[i].pszAttendu)
                << "line " << pst[i].nLigne;
    }
};

TEST_F(NumberMask, DigitPositionsAndFrenchSeparators) {
    static const STCas s_tab[] = {
        {__LINE__, L"999 999,99", L"1234.5", L"1 234,50"},
        {__LINE__, L"999 999,99", L"12.5", L"12,50"},
        {__LINE__, L"999 999,99", L"", L"0,00"},
        {__LINE__, L"999 999,99", L"1234.567", L"1 234,57"},
        {__LINE__, L"999 999,99", L"1234.564", L"1 234,56"},
        {__LINE__, L"999 999", L"12345", L"12 345"},
        {__LINE__, L"999,99", L"0.5", L"0,50"},
        {__LINE__, L"999,00", L"12", L"12"},
        {__LINE__, L"990,00", L"0.5", L"0,5"},
        {__LINE__, L"000000", L"42", L"000042"},
        {__LINE__, L"9.999.999", L"1234567", L"1 234 567"},
        {__LINE__, L"999 999 999,99", L"00012.10", L"12,10"},
        {__LINE__, L"D\u00fb \U0001F600 999", L"12", L"D\u00fb \U0001F600 12"},
    };
    Verifie(s_tab, std::size(s_tab));
}

TEST_F(NumberMask, EnglishSeparatorsReplaceTheMaskLetters) {
    Regle(L".", L",", L"$");
    EXPECT_EQ(sFormate(L"999 999,99", L"1234.5"), L"1,234.50");
    EXPECT_EQ(sFormate(L"999 999 999,99 $", L"-1234567.891"), L"-1,234,567.89 $");
    // Forced class values win over the regional settings.
    CMasqueNumerique::SetInternationnalParam(CMasqueNumerique::PARAMETRE_SEPARATEUR_MILLIER, L"'");
    CMasqueNumerique::SetInternationnalParam(CMasqueNumerique::PARAMETRE_DEVISE, L"\u00a3");
    EXPECT_EQ(sFormate(L"999 999,99 $", L"1234.5"), L"1'234.50 \u00a3");
}

TEST_F(NumberMask, SignPlacesAndNegativeSections) {
    static const STCas s_tab[] = {
        {__LINE__, L"999 999,99", L"-1234.5", L"-1 234,50"},
        {__LINE__, L"+999 999,99", L"-1234.5", L"-1 234,50"},
        {__LINE__, L"+999 999,99", L"1234.5", L"1 234,50"},
        {__LINE__, L"999 999,99-", L"-12", L"12,00-"},
        {__LINE__, L"999 999,99 -", L"12", L"12,00"},
        {__LINE__, L"(999)", L"-5", L"(5)"},
        {__LINE__, L"(999)", L"5", L"5"},
        {__LINE__, L"999 999,99;(999 999,99)", L"-1234.5", L"(1 234,50)"},
        {__LINE__, L"999 999,99;(999 999,99)", L"1234.5", L"1 234,50"},
        {__LINE__, L"999;-999 d\u00e9bit", L"-7", L"-7 d\u00e9bit"},
        {__LINE__, L"999;;", L"-5", L""},
        {__LINE__, L"999;(999);Z\u00e9ro", L"0", L"Z\u00e9ro"},
        {__LINE__, L"999;(999);Z\u00e9ro", L"-0.00", L"Z\u00e9ro"},
        {__LINE__, L"999;(999)", L"0", L"0"},
        {__LINE__, L"--999", L"5", L"-5"},
        {__LINE__, L"$$999", L"5", L"$5"},
        {__LINE__, L"999%%", L"5", L"5%"},
        {__LINE__, L"[Rouge]999 999,99", L"1234.5", L"1 234,50"},
        {__LINE__, L"999 [Bleu]999,99", L"1234.5", L"1 234,50"},
    };
    Verifie(s_tab, std::size(s_tab));
}

TEST_F(NumberMask, UnitsCurrencyAndPercent) {
    static const STCas s_tab[] = {
        {__LINE__, L"999 999,99 $", L"1234.5", L"1 234,50 \u20ac"},
        {__LINE__, L"999 %", L"0.125", L"13 %"},
        {__LINE__, L"99,9 %", L"0.125", L"12,5 %"},
        {__LINE__, L"999,99 %", L"-0.5", L"-50,00 %"},
        {__LINE__, L"999 kg", L"12", L"12 kg"},
        {__LINE__, L"999 k.m", L"12", L"12 k.m"},
        {__LINE__, L"\\9\\$ 999", L"12", L"9$ 12"},
    };
    Verifie(s_tab, std::size(s_tab));
}

const wchar_t* pszTextesFrancais(eCHAINEERREUR e) {
    return e == CHAINEERREUR_DEPASSEMENT ? L"Trop \u00e9lev\u00e9" : L"(aucune)";
}

TEST_F(NumberMask, OverflowGivesTheCallbackText) {
    EXPECT_EQ(sFormate(L"999", L"1234"), L"+++");
    EXPECT_EQ(sFormate(L"99", L"-123"), L"++");
    EXPECT_EQ(sFormate(L",99", L"1.5"), L"+");
    EXPECT_EQ(sFormate(L"999 999,99", L"1234567"), L"+++++");
    // Rounding that carries past the positions overflows too.
    EXPECT_EQ(sFormate(L"999 999,99", L"999999.996"), L"+++++");
    EXPECT_EQ(sFormate(L"999", L"1234", 0, pszTextesFrancais), L"Trop \u00e9lev\u00e9");
    // The overflow text itself passes through.
    EXPECT_EQ(sFormate(L"999", L"Trop \u00e9lev\u00e9", 0, pszTextesFrancais), L"Trop \u00e9lev\u00e9");
    // Wide values keep every digit.
    const std::wstring sMasque(60, L'9');
    const std::wstring sValeur = L"123456789012345678901234567890123456789012345678901234567";
    EXPECT_EQ(sFormate(sMasque.c_str(), sValeur.c_str()), sValeur);
}

TEST_F(NumberMask, RawLeavesOutLiteralsAndSeparators) {
    EXPECT_EQ(sFormate(L"999 999,99 $", L"-1234.5", 1), L"-1234,50");
    EXPECT_EQ(sFormate(L"999;(999);Z\u00e9ro", L"0", 1), L"0");
    EXPECT_EQ(sFormate(L"Total : 999 %", L"0.5", 1), L"50");
}

TEST_F(NumberMask, SystemMasks) {
    EXPECT_EQ(sFormate(L"NumSystemMask", L"-1234567.891"), L"-1 234 567,89");
    EXPECT_EQ(sFormate(L"MoneySystemMask$", L"1234.5"), L"1 234,50 \u20ac");
    EXPECT_EQ(sFormate(L"MoneySystemMask", L"99999999999999999.99"), L"99 999 999 999 999 999,99");
    CMasqueNumerique cl(L"NumSystemMask", nullptr);
    cl.SetNbChiffreMasqueSysteme(3);
    EXPECT_STREQ(cl.pszGetMasque(), L"+999,99");
    CTString clSortie;
    cl.Formate(L"1234", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"+++");
}

// Without a language the system's counts and places apply; a setting that is no small number is
// ignored rather than trusted.
TEST_F(NumberMask, SystemMasksTakeTheSystemDecimalsAndSymbolPlace) {
    const struct {
        int nLigne;
        const wchar_t *pszNombre, *pszMonnaie, *pszPlace, *pszMasque, *pszAttendu;
    } tab[] = {
        {__LINE__, L"3", L"2", L"3", L"NumSystemMask", L"-1 234,568"},
        {__LINE__, L"0", L"2", L"3", L"NumSystemMask", L"-1 235"},
        {__LINE__, L"3", L"1", L"3", L"MoneySystemMask", L"-1 234,6"},
        {__LINE__, L"3", L"1", L"0", L"MoneySystemMask$", L"-\u20ac1 234,6"},
        {__LINE__, L"3", L"2", L"2", L"MoneySystemMask$", L"-\u20ac 1 234,57"},
        {__LINE__, L"3", L"2", L"1", L"MoneySystemMask$", L"-1 234,57\u20ac"},
        {__LINE__, L"x", L"99", L"7", L"MoneySystemMask$", L"-1 234,57 \u20ac"},
        {__LINE__, L"-1", L"", L"", L"NumSystemMask", L"-1 234,57"},
    };
    for (const auto& st : tab) {
        CMasque::s_SetWinIntlParam(CMasque::LOCALE_DECIMALES_NOMBRE, st.pszNombre);
        CMasque::s_SetWinIntlParam(CMasque::LOCALE_DECIMALES_MONETAIRE, st.pszMonnaie);
        CMasque::s_SetWinIntlParam(CMasque::LOCALE_PLACE_DEVISE, st.pszPlace);
        EXPECT_EQ(sFormate(st.pszMasque, L"-1234.5678"), st.pszAttendu) << "line " << st.nLigne;
    }
    for (auto e : {CMasque::LOCALE_DECIMALES_NOMBRE, CMasque::LOCALE_DECIMALES_MONETAIRE, CMasque::LOCALE_PLACE_DEVISE})
        CMasque::s_SetWinIntlParam(e, nullptr);
}

TEST_F(NumberMask, BuildsMoneyMasksOfAnyLength) {
    struct {
        int nLigne, nChiffres, nDecimales;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        {__LINE__, -1, 2, L"+99 999 999 999 999 999,99"},
        {__LINE__, 3, 0, L"+999"},
        {__LINE__, 5, 2, L"+99 999,99"},
        {__LINE__, 1, 0, L"+9"},
        {__LINE__, 18, 0, L"+999 999 999 999 999 999"},
        {__LINE__, 20, 1, L"+99 999 999 999 999 999 999,9"},
        {__LINE__, -40, 0, L"+9"},
        {__LINE__, 0, -3, L"+9"},
    };
    for (const auto& st : s_tab) {
        CTString cl;
        CMasqueNumerique::sConstruitMasqueMonetaire(&cl, st.nChiffres, st.nDecimales, L' ', L',');
        EXPECT_STREQ(cl.pszGet(), st.pszAttendu) << "line " << st.nLigne;
    }
}

TEST_F(NumberMask, ColoursByNameAndValue) {
    struct {
        int nLigne;
        const wchar_t* psz;
        uint32_t dw;
    } static const s_tab[] = {
        {__LINE__, L"Rouge", 255u},        {__LINE__, L"RED", 255u},
        {__LINE__, L"#FF0000", 255u},
        {__LINE__, L"#0000ff", 0xFF0000u}, {__LINE__, L"transparent", 0xFFFFFFFFu},
        {__LINE__, L"Transparent", CMasqueNumerique::COULEUR_AUCUNE},
        {__LINE__, L"Mauve", CMasqueNumerique::COULEUR_AUCUNE},
        {__LINE__, L"#GG0000", CMasqueNumerique::COULEUR_AUCUNE},
    };
    for (const auto& st : s_tab)
        EXPECT_EQ(CMasqueNumerique::sdwTexteVersCouleur(st.psz), st.dw) << "line " << st.nLigne;
    CMasqueNumerique cl(L"[Vert]999;[Rouge]-999;z\u00e9ro;[Jaune]vide", nullptr);
    EXPECT_EQ(cl.dwGetCouleurPourValeur(L"-5", 0), 255u);
    EXPECT_EQ(cl.dwGetCouleurPourValeur(L"5", 0), 65280u);
    EXPECT_EQ(cl.dwGetCouleurPourValeur(L"0", 0), CMasqueNumerique::COULEUR_AUCUNE);
    CTString clNull;
    uint32_t dwCouleur = 0;
    EXPECT_STREQ(cl.pszGetValeurPourNull(&clNull, 0, &dwCouleur), L"vide");
    EXPECT_EQ(dwCouleur, 65535u);
    EXPECT_TRUE(cl.bMasqueNonSupporteEnTZ9VI30());
    CMasqueNumerique clSimple(L"999", pszTextesFrancais);
    EXPECT_STREQ(clSimple.pszGetValeurPourNull(&clNull, 0, nullptr), L"(aucune)");
    EXPECT_FALSE(clSimple.bMasqueNonSupporteEnTZ9VI30());
}

TEST_F(NumberMask, ReadsDisplayTextBack) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszTexte;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        {__LINE__, L"999 999,99", L"1 234,50", L"1234.5"},
        {__LINE__, L"999 999,99", L"-0,00", L"0"},
        {__LINE__, L"999;(999)", L"(1 234)", L"-1234"},
        {__LINE__, L"99,9 %", L"12,5 %", L"0.125"},
        {__LINE__, L"99,99 %", L"0,05 %", L"0.0005"},
        {__LINE__, L"999 %", L"1200 %", L"12"},
    };
    for (const auto& st : s_tab) {
        CMasqueNumerique cl(st.pszMasque, nullptr);
        CTString clSortie;
        cl.DeformateNum(st.pszTexte, &clSortie, 0);
        EXPECT_STREQ(clSortie.pszGet(), st.pszAttendu) << "line " << st.nLigne;
    }
}

TEST_F(NumberMask, RightToLeftLanguageUsesANoBreakSpace) {
    // Nothing but the writing direction.
    CFakeLangue clLangue({.bSysteme = true, .bDroiteAGauche = true});
    CMasqueNumerique cl(L"999 999", nullptr);
    cl.vSetInfoLangueMasque(&clLangue, 0, 0);
    CTString clSortie;
    cl.Formate(L"12345", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"12\u00a0345");
    cl.vSetInfoLangueMasque(nullptr, 0, 0);
    cl.Formate(L"12345", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"12 345");
}

TEST_F(NumberMask, MasksThatMakeNoSenseNeverCrash) {
    static const wchar_t* const s_tabMasques[] = {
        L"", L";;;;;;;;", L"[", L"[Rouge", L"]", L"\\", L"$", L"%", L"((", L"9[", L"999;", L";999",
        L"9\\", L",,,,", L"   ", L"+-+-", L"DiskSize", L"\U0001F600", L"9;9;9;9;9;9",
    };
    static const wchar_t* const s_tabValeurs[] = {
        L"", L"-", L".", L"-.", L"1e300", L"abc", L"((", L"-0", L"99999999999999999999999.999999999", L"\U0001F600",
    };
    for (const wchar_t* pszMasque : s_tabMasques)
        for (const wchar_t* pszValeur : s_tabValeurs) {
            CMasqueNumerique cl(pszMasque, nullptr);
            CTString clSortie;
            cl.MetAuFormat(pszValeur, &clSortie, 0, nullptr);
            cl.MetAuFormat(pszValeur, &clSortie, 1, nullptr);
            cl.DeformateNum(pszValeur, &clSortie, 0);
            (void)cl.nDecimalesMasque(0, 1);
        }
    EXPECT_EQ(sFormate(L"", L"12.5"), L"12.5");
    CMasqueNumerique cl(nullptr, nullptr);
    EXPECT_TRUE(cl.bEstVide());
}

}  // namespace

namespace {

TEST_F(NumberMask, FactoryGivesAMaskThroughTheBaseSlots) {
    CMasque* pcl = CMasque::pclGetNewMasqueNumerique(L"999 999,99;(999 999,99)", nullptr);
    ASSERT_NE(pcl, nullptr);
    CTString clSortie;
    pcl->Formate(L"-1234.5", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"(1 234,50)");
    EXPECT_FALSE(pcl->bEstVide());
    delete pcl;
}

}  // namespace

namespace {

TEST_F(NumberMask, RegionalFormatsBecomeMasks) {
    struct {
        int nLigne, nOrdrePositif, nOrdreNegatif;
        const wchar_t* pszMasque;
        const wchar_t* pszValeur;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        // Layouts that differ only by the sign give one part with a sign place.
        {__LINE__, 0, 1, L"+$99 999 999 999 999 999,99", L"-1234.5", L"-\u20ac1 234,50"},
        {__LINE__, 3, 8, L"+99 999 999 999 999 999,99 $", L"1234.5", L"1 234,50 \u20ac"},
        {__LINE__, 1, 6, L"99 999 999 999 999 999,99+$", L"-1234.5", L"1 234,50-\u20ac"},
        {__LINE__, 3, 15, L"99 999 999 999 999 999,99 $;(99 999 999 999 999 999,99 $)", L"-1234.5",
         L"(1 234,50 \u20ac)"},
        {__LINE__, 3, 99, L"99 999 999 999 999 999,99 $;-$99 999 999 999 999 999,99", L"-7", L"-\u20ac7,00"},
    };
    for (const auto& st : s_tab) {
        STFormatMonetaire stFormat;
        stFormat.nOrdrePositif = st.nOrdrePositif;
        stFormat.nOrdreNegatif = st.nOrdreNegatif;
        CTString clMasque;
        CMasqueNumerique::FormatMonetaireVersMasqueOV(&stFormat, &clMasque);
        EXPECT_STREQ(clMasque.pszGet(), st.pszMasque) << "line " << st.nLigne;
        EXPECT_EQ(sFormate(clMasque.pszGet(), st.pszValeur), st.pszAttendu) << "line " << st.nLigne;
    }
    STFormatNombre stNombre;
    stNombre.nOrdreNegatif = 0;
    stNombre.nDecimales = 1;
    CTString clMasque;
    CMasqueNumerique::FormatNumeriqueVersMasqueOV(&stNombre, &clMasque);
    EXPECT_STREQ(clMasque.pszGet(), L"(99 999 999 999 999 999,9)");
    EXPECT_EQ(sFormate(clMasque.pszGet(), L"-0.25"), L"(0,3)");
    stNombre.nOrdreNegatif = 3;
    CMasqueNumerique::FormatNumeriqueVersMasqueOV(&stNombre, &clMasque);
    EXPECT_EQ(sFormate(clMasque.pszGet(), L"-12"), L"12,0 -");
}

}  // namespace

namespace {

TEST_F(NumberMask, ByteSizesWithSingularAndPlural) {
    struct {
        int nLigne;
        double dValeur;
        int nUnite;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        {__LINE__, 1.0, 0, L"1 byte"},        {__LINE__, 1.9, 0, L"1 byte"},
        {__LINE__, 2.0, 0, L"2 bytes"},       {__LINE__, 1023.0, 0, L"1023 bytes"},
        {__LINE__, 1024.0, 0, L"1,00 KB"},    {__LINE__, 1536.0, 3, L"0,00 MB"},
        {__LINE__, 5e6, 1, L"5000000 bytes"}, {__LINE__, 3.0 * 1024 * 1024 * 1024 * 1024 * 1024, 0, L"3072,00 TB"},
        {__LINE__, -2048.0, 0, L"-2,00 KB"},  {__LINE__, 1e300, 1, nullptr},
    };
    CMasqueNumerique cl(L"DiskSize", nullptr);
    EXPECT_TRUE(cl.bEstMasqueTailleDisque(0));
    for (const auto& st : s_tab) {
        CTString clSortie;
        cl.MetAuFormatTailleDisque(st.dValeur, &clSortie, st.nUnite);
        if (st.pszAttendu != nullptr) EXPECT_STREQ(clSortie.pszGet(), st.pszAttendu) << "line " << st.nLigne;
        else EXPECT_GT(std::wcslen(clSortie.pszGet()), 300u) << "line " << st.nLigne;
    }
    CTString clSortie;
    clSortie.Set(L"inchang\u00e9");
    cl.MetAuFormatTailleDisque(10.0, &clSortie, 6);
    EXPECT_STREQ(clSortie.pszGet(), L"inchang\u00e9");
    cl.Formate(L"1048576", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"1,00 MB");
}

}  // namespace

namespace {

constexpr STParametreNumerique kAnglais = {L".", L",", L"$", 0, 2, 1, 2, 1, nullptr};

std::wstring sSysteme(const wchar_t* pszMasque, IInfoLangue* piLangue, const wchar_t* pszValeur, int nOptions = 0) {
    CMasqueNumerique cl(pszMasque, nullptr);
    cl.vSetInfoLangueMasque(piLangue, nOptions, 1252);
    CTString clSortie;
    cl.Formate(pszValeur, &clSortie, nullptr);
    return clSortie.pszGet();
}

TEST_F(NumberMask, SystemMasksTakeTheLanguageLayouts) {
    struct {
        int nLigne;
        int nPositif, nNegatifMonetaire, nDecimalesMonetaire, nNegatifNombre, nDecimalesNombre;
        const wchar_t* pszMasque;
        const wchar_t* pszValeur;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        {__LINE__, 0, 0, 2, 1, 2, L"MoneySystemMask$", L"-1234.5", L"($1,234.50)"},
        {__LINE__, 0, 0, 2, 1, 2, L"MoneySystemMask$", L"1234.5", L"$1,234.50"},
        {__LINE__, 0, 1, 2, 1, 2, L"MoneySystemMask$", L"-1234.5", L"-$1,234.50"},
        {__LINE__, 0, 1, 3, 1, 2, L"MoneySystemMask$", L"-1234.5", L"-$1,234.500"},
        {__LINE__, 3, 8, 2, 1, 2, L"MoneySystemMask$", L"-1234.5", L"-1,234.50 $"},
        {__LINE__, 2, 12, 0, 1, 2, L"MoneySystemMask$", L"-1234.5", L"$ -1,235"},
        {__LINE__, 1, 15, 2, 1, 2, L"MoneySystemMask$", L"-7", L"(7.00 $)"},
        // Numbers: the number decimals and negative order; a money mask without its symbol takes
        // the money decimals.
        {__LINE__, 0, 1, 3, 0, 1, L"NumSystemMask", L"-1234.56", L"(1,234.6)"},
        {__LINE__, 0, 1, 3, 3, 1, L"NumSystemMask", L"-1234.56", L"1,234.6 -"},
        {__LINE__, 0, 1, 3, 1, 1, L"MoneySystemMask", L"-1234.56", L"-1,234.560"},
    };
    for (const auto& st : s_tab) {
        STParametreNumerique stParametres = kAnglais;
        stParametres.nPlaceDevise = st.nPositif;
        stParametres.nOrdreNegatifMonetaire = st.nNegatifMonetaire;
        stParametres.nDecimalesMonetaire = st.nDecimalesMonetaire;
        stParametres.nOrdreNegatifNombre = st.nNegatifNombre;
        stParametres.nDecimalesNombre = st.nDecimalesNombre;
        CFakeLangue clLangue(stParametres);
        EXPECT_EQ(sSysteme(st.pszMasque, &clLangue, st.pszValeur), st.pszAttendu) << "line " << st.nLigne;
    }
    // Without a language of its own the system's layout stands: grouped digits, two decimals;
    // a right-to-left language shows its blank separator as a no-break space.
    EXPECT_EQ(sSysteme(L"MoneySystemMask$", nullptr, L"-1234.5"), L"-1 234,50 \u20ac");
    CFakeLangue clSysteme({.bSysteme = true, .bDroiteAGauche = true});
    EXPECT_EQ(sSysteme(L"NumSystemMask", &clSysteme, L"-1234.5"), L"-1\u00a0234,50");
}

TEST_F(NumberMask, LanguageGivesSeparatorsAndCurrencyToMoneyMasksOnly) {
    STParametreNumerique st = kAnglais;
    st.pszDevise = L"\U0001F4B0";
    CFakeLangue clLangue(st);
    EXPECT_EQ(sSysteme(L"999 999,99 $", &clLangue, L"1234.5"), L"1,234.50 \U0001F4B0");
    // Flag 1 keeps the class currency; flag 2 makes a mask without "$" a money mask.
    EXPECT_EQ(sSysteme(L"999 999,99 $", &clLangue, L"1234.5", 1), L"1,234.50 \u20ac");
    EXPECT_EQ(sSysteme(L"999 999,99", &clLangue, L"1234.5", 2), L"1,234.50");
    // A right-to-left language with a blank separator of its own shows a no-break space.
    st.pszSeparateurMillier = L" ";
    CFakeLangue clDroite(st, true);
    EXPECT_EQ(sSysteme(L"999 999,99", &clDroite, L"1234.5"), L"1\u00a0234.50");
    // Back to no language: the class values return.
    CMasqueNumerique cl(L"999 999,99 $", nullptr);
    cl.vSetInfoLangueMasque(&clLangue, 0, 1252);
    cl.vSetInfoLangueMasque(nullptr, 0, 1252);
    CTString clSortie;
    cl.Formate(L"1234.5", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"1 234,50 \u20ac");
}

TEST_F(NumberMask, ByteSizesSpeakTheLanguage) {
    STParametreNumerique st = kAnglais;
    st.pszSeparateurDecimal = L",";
    st.pszUnitesTaille = L"octet(s);Ko;Mo;Go;To";
    CFakeLangue clFrancais(st);
    struct {
        int nLigne;
        double dValeur;
        int nUnite;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        {__LINE__, 0.0, 0, L"0 octet"},           {__LINE__, 1.0, 0, L"1 octet"},
        {__LINE__, 2.0, 0, L"2 octets"},          {__LINE__, 1536.0, 0, L"1,50 Ko"},
        {__LINE__, 5.5 * 1024 * 1024 * 1024, 0, L"5,50 Go"},
        {__LINE__, 1048576.0, 2, L"1024,00 Ko"}, {__LINE__, 512.0, 3, L"512 octets"},
        {__LINE__, 1048576.0, 5, L"0,00 To"},
    };
    CMasqueNumerique cl(L"DiskSize", nullptr);
    cl.vSetInfoLangueMasque(&clFrancais, 0, 1252);
    for (const auto& c : s_tab) {
        CTString clSortie;
        cl.MetAuFormatTailleDisque(c.dValeur, &clSortie, c.nUnite);
        EXPECT_STREQ(clSortie.pszGet(), c.pszAttendu) << "line " << c.nLigne;
    }
    // A language without unit names of its own takes those of the message block.
    CFakeLangue clAnglais(kAnglais);
    cl.vSetInfoLangueMasque(&clAnglais, 0, 1252);
    CTString clSortie;
    cl.MetAuFormatTailleDisque(1536.0, &clSortie, 0);
    EXPECT_STREQ(clSortie.pszGet(), L"1.50 KB");
}

TEST_F(NumberMask, ColoursOfTheParts) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        bool bDepend;
        uint32_t dwNull;
    } static const s_tab[] = {
        {__LINE__, L"[Rouge]999;[Bleu]-999", true, CMasqueNumerique::COULEUR_AUCUNE},
        {__LINE__, L"[Rouge]999;[Rouge]-999", false, CMasqueNumerique::COULEUR_AUCUNE},
        {__LINE__, L"999;-999;[Vert]z\u00e9ro", true, CMasqueNumerique::COULEUR_AUCUNE},
        {__LINE__, L"999;-999;0;[Vert]Nul", false, 65280},
        {__LINE__, L"[Jaune]999", false, CMasqueNumerique::COULEUR_AUCUNE},
    };
    for (const auto& st : s_tab) {
        CMasqueNumerique cl(st.pszMasque, nullptr);
        EXPECT_EQ(cl.bCouleurDependDeLaValeur(0), st.bDepend) << "line " << st.nLigne;
        EXPECT_EQ(cl.dwGetCouleurPourPourNull(0), st.dwNull) << "line " << st.nLigne;
    }
}

TEST_F(NumberMask, FactsAboutSignsDigitsAndType) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        bool bNegatif;
        int nChiffres;
        uint16_t wType;
    } static const s_tab[] = {
        {__LINE__, L"999", false, 3, 0x08},
        {__LINE__, L"+999", true, 3, 0x08},
        {__LINE__, L"--999", false, 3, 0x08},
        {__LINE__, L"999-", true, 3, 0x08},
        {__LINE__, L"999;(999)", true, 3, 0x08},
        {__LINE__, L"(999)", true, 3, 0x08},
        {__LINE__, L"\\9 99", false, 2, 0x08},
        {__LINE__, L"9 999 999 999", false, 10, 0x09},
        {__LINE__, L"999 999,99", false, 8, 0x0c},
        {__LINE__, L"99%", false, 2, 0x0c},
        {__LINE__, L"999 $", false, 3, 0x0a},
        {__LINE__, L"$$999", false, 3, 0x08},
        {__LINE__, L"MoneySystemMask", true, 19, 0x0a},
    };
    for (const auto& st : s_tab) {
        CMasqueNumerique cl(st.pszMasque, nullptr);
        EXPECT_EQ(cl.bNegatifAccepte(), st.bNegatif) << "line " << st.nLigne;
        EXPECT_EQ(cl.nGetNbChiffreSignificatifMasque(0), st.nChiffres) << "line " << st.nLigne;
        EXPECT_EQ(cl.wGetTypeFromMasque(), st.wType) << "line " << st.nLigne;
    }
}

TEST_F(NumberMask, TextAroundTheDigits) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszPrefixe;
        const wchar_t* pszPostfixe;
    } static const s_tab[] = {
        {__LINE__, L"Total\u00e9 999,99 \U0001F4B0", L"Total\u00e9 ", L" \U0001F4B0"},
        {__LINE__, L"+$999,99", L"\u20ac", L""},
        {__LINE__, L"$$ 999 %%", L"$ ", L" %"},
        {__LINE__, L"(999);-999", L"(", L")"},   // parentheses only mark negatives in the negative part
        {__LINE__, L"(999);(999)", L"", L""},
        {__LINE__, L"(999)", L"", L""},
        {__LINE__, L"\\9999\\0 m", L"9", L"0 m"},
        {__LINE__, L"Nul", L"Nul", L""},
    };
    for (const auto& st : s_tab) {
        CMasqueNumerique cl(st.pszMasque, nullptr);
        CTString clPrefixe, clPostfixe;
        cl.GetPrefixeChiffre(&clPrefixe, 0);
        cl.GetPostfixeChiffre(&clPostfixe, 0);
        EXPECT_STREQ(clPrefixe.pszGet(), st.pszPrefixe) << "line " << st.nLigne;
        EXPECT_STREQ(clPostfixe.pszGet(), st.pszPostfixe) << "line " << st.nLigne;
        cl.GetPrefixeChiffre(&clPrefixe, 1);
        EXPECT_STREQ(clPrefixe.pszGet(), L"") << "line " << st.nLigne;
    }
}

TEST_F(NumberMask, MaskWithAnotherNumberOfDigits) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        int nChiffres, nDecimales;
        const wchar_t* pszAttendu;
    } static const s_tab[] = {
        {__LINE__, L"999 999,99", 4, 1, L"9 999,9"},
        {__LINE__, L"9 999;9 999;Z\u00e9ro", 7, 2, L"9 999 999,99;9 999 999,99;Z\u00e9ro"},
        {__LINE__, L"[Rouge]+999,99 $;[#0000FF](999,99 $)", 5, 0, L"[Rouge]+99999 $;[#0000FF](99999 $)"},
        {__LINE__, L"999 $", 7, 0, L"9999999 $"},
        {__LINE__, L"\\9 99", 1, 0, L"\\9 9"},
        {__LINE__, L"Nul", 3, 2, L"Nul"},
    };
    for (const auto& st : s_tab) {
        CMasqueNumerique cl(st.pszMasque, nullptr);
        CTString clSortie;
        cl.GetMasqueAvecNChiffres(&clSortie, st.nChiffres, st.nDecimales);
        EXPECT_STREQ(clSortie.pszGet(), st.pszAttendu) << "line " << st.nLigne;
    }
}

}  // namespace
