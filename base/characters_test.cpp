// Case, class and mappings of characters, the folding tables, and the locale hook.
#include "base/characters.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>

#include "base/testdata/expected_types.h"

namespace {

TEST(Case, FollowsUnicodeInAndBeyondTheBmp) {
    struct {
        int nLigne;
        wchar_t cMinuscule;
        wchar_t cMajuscule;
    } const CAS[] = {
        {__LINE__, L'a', L'A'},        {__LINE__, L'é', L'É'},
        {__LINE__, L'ÿ', L'Ÿ'},        {__LINE__, L'œ', L'Œ'},
        {__LINE__, L'ł', L'Ł'},        {__LINE__, L'ω', L'Ω'},
        {__LINE__, L'я', L'Я'},        {__LINE__, L'\U00010428', L'\U00010400'},  // Deseret
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        EXPECT_EQ(STR_ToUpper(stCas.cMinuscule), stCas.cMajuscule);
        EXPECT_EQ(STR_ToLower(stCas.cMajuscule), stCas.cMinuscule);
        EXPECT_TRUE(bMinusculeW(stCas.cMinuscule));
        EXPECT_TRUE(bMajusculeW(stCas.cMajuscule));
        EXPECT_FALSE(bMajusculeW(stCas.cMinuscule));
    }
    EXPECT_EQ(STR_ToUpper(L'ß'), L'ß');  // no single capital
    EXPECT_EQ(STR_ToUpper(L'7'), L'7');
    EXPECT_EQ(STR_ToUpper(static_cast<wchar_t>(0xD800)), static_cast<wchar_t>(0xD800));
    wchar_t aszTexte[] = L"Hélène à l'Œil \U00010428";
    EXPECT_STREQ(my_struprW(aszTexte), L"HÉLÈNE À L'ŒIL \U00010400");
    EXPECT_STREQ(my_strlwrW(aszTexte), L"hélène à l'œil \U00010428");
}

TEST(Case, CodePage1252PairsTheLettersOfItsUpperHalf) {
    char aszTexte[] = "\xe9t\xe9 \x9c\x9a\x9e\xff \xf7\xdf";  // été œšžÿ ÷ß
    EXPECT_STREQ(my_struprA(aszTexte), "\xc9T\xc9 \x8c\x8a\x8e\x9f \xf7\xdf");
    EXPECT_STREQ(my_strlwrA(aszTexte), "\xe9t\xe9 \x9c\x9a\x9e\xff \xf7\xdf");
    EXPECT_TRUE(bMajusculeA('\xc9'));
    EXPECT_TRUE(bMinusculeA('\xdf'));
    EXPECT_FALSE(bMajusculeA('\xd7'));  // ×
}

TEST(Tables, AnsiUpperFoldsAccentsAsListed) {
    struct {
        int nLigne;
        const char* pszOctets;
        char cBase;
    } const CAS[] = {
        {__LINE__, "\xc0\xc1\xc2\xc3\xc4\xc5\xc6\xe0\xe1\xe2\xe3\xe4\xe5\xe6", 'A'},
        {__LINE__, "\xc7\xe7", 'C'},
        {__LINE__, "\xc8\xc9\xca\xcb\xe8\xe9\xea\xeb", 'E'},
        {__LINE__, "\xcc\xcd\xce\xcf\xec\xed\xee\xef", 'I'},
        {__LINE__, "\xd0\xf0", 'D'},
        {__LINE__, "\xd1\xf1", 'N'},
        {__LINE__, "\xd2\xd3\xd4\xd5\xd6\xd8\xf2\xf3\xf4\xf5\xf6\xf8", 'O'},
        {__LINE__, "\xd9\xda\xdb\xdc\xf9\xfa\xfb\xfc", 'U'},
        {__LINE__, "\xdd\xfd\xff", 'Y'},
    };
    int nChanges = 0;
    for (int i = 0; i < 26; ++i, ++nChanges) EXPECT_EQ(ANSI_cTabMaj['a' + i], 'A' + i);
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        for (const char* p = stCas.pszOctets; *p != 0; ++p) {
            EXPECT_EQ(ANSI_cTabMaj[static_cast<unsigned char>(*p)], static_cast<unsigned char>(stCas.cBase));
            if (*p != stCas.cBase) ++nChanges;
        }
    }
    // Everything else stays.
    int nTotal = 0;
    for (int i = 0; i < 256; ++i) nTotal += ANSI_cTabMaj[i] != i;
    EXPECT_EQ(nTotal, nChanges);
    EXPECT_EQ(ANSI_cTabMaj[0x9C], 0x9C);  // œ stays
    EXPECT_EQ(pToNoAccentUpper_Latin1[0xE9], 'E');
}

TEST(Mapping, BaseLettersAgreeWithCanonicalDecomposition) {
    // Letters with a stroke have no decomposition, yet lose it in a tolerant compare.
    const wchar_t* pszBarrees = L"ÐðØøĐđĦħıĿŀŁłŦŧ";
    for (const STBaseAttendue& stBase : BASES_ATTENDUES) {
        SCOPED_TRACE(stBase.nLigne);
        const auto c = static_cast<wchar_t>(stBase.cCaractere);
        const wchar_t cObtenu = STR_cSansAccent(c);
        if (stBase.cBase != 0) {
            EXPECT_EQ(cObtenu, STR_cSansAccent(static_cast<wchar_t>(stBase.cBase))) << std::hex << stBase.cCaractere;
        } else if (wcschr(pszBarrees, c) != nullptr) {
            EXPECT_LT(static_cast<uint32_t>(cObtenu), 0x80u) << std::hex << stBase.cCaractere;
        } else {
            EXPECT_EQ(cObtenu, c) << std::hex << stBase.cCaractere;
        }
    }
}

TEST(Mapping, FlagsCombine) {
    struct {
        int nLigne;
        wchar_t cEntree;
        unsigned int dwFlags;
        wchar_t cAttendu;
    } const CAS[] = {
        {__LINE__, L'é', STR_MAP_MAJUSCULE, L'É'},
        {__LINE__, L'É', STR_MAP_MINUSCULE, L'é'},
        {__LINE__, L'é', STR_MAP_SANSACCENT, L'e'},
        {__LINE__, L'É', STR_MAP_SANSACCENT, L'E'},
        {__LINE__, L'ç', STR_MAP_SANSACCENT | STR_MAP_MAJUSCULE, L'C'},
        {__LINE__, L'Ő', STR_MAP_SANSACCENT | STR_MAP_MINUSCULE, L'o'},
        {__LINE__, L'\U0001F600', STR_MAP_MAJUSCULE | STR_MAP_SANSACCENT, L'\U0001F600'},
        {__LINE__, L'x', 0, L'x'},
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        EXPECT_EQ(STR_nMapCharEx(stCas.cEntree, stCas.dwFlags), stCas.cAttendu);
    }
    EXPECT_EQ(STR_nMapCharIgnoreCaseAccent(L'ï'), L'I');
    EXPECT_EQ(STR_nMapCharExANSI('\xe9', STR_MAP_SANSACCENT), 'e');
    EXPECT_EQ(STR_nMapCharExANSI('\xc9', STR_MAP_SANSACCENT), 'E');
    EXPECT_EQ(STR_nMapCharExANSI('\xe9', STR_MAP_MAJUSCULE), '\xc9');

    wchar_t aszSortie[8];
    EXPECT_EQ(STR_nMapStringEx(L"Noël", -1, aszSortie, 8, STR_MAP_MAJUSCULE | STR_MAP_SANSACCENT), 5);
    EXPECT_STREQ(aszSortie, L"NOEL");
    EXPECT_EQ(STR_nMapStringEx(L"Noël", -1, aszSortie, 4, STR_MAP_MAJUSCULE), 0);  // no room for the terminator
    EXPECT_EQ(STR_nGetMapStringLenEx(L"Noël", 4, 0), 4);
    wchar_t* pszCree = nullptr;
    EXPECT_EQ(STR_nCreateMapString(L"àé😀", -1, STR_MAP_SANSACCENT, &pszCree), 3);
    EXPECT_STREQ(pszCree, L"ae😀");
    free(pszCree);
}

TEST(Class, TellsLettersDigitsBlanksAndPunctuation) {
    EXPECT_TRUE(bEstUnChiffreW(L'7'));
    EXPECT_FALSE(bEstUnChiffreW(L'٧'));  // digits of other scripts are not numbers here
    EXPECT_TRUE(bEstUnNombreEntierNaturel(L"0042"));
    EXPECT_FALSE(bEstUnNombreEntierNaturel(L"42a"));
    EXPECT_FALSE(bEstUnNombreEntierNaturel(L""));
    EXPECT_TRUE(bPonctuation(L'«'));
    EXPECT_TRUE(bPonctuation(L'—'));
    EXPECT_FALSE(bPonctuation(L'é'));
    EXPECT_TRUE(STR_bWhiteCharOrPunctW(L'\u00A0'));
    EXPECT_TRUE(bUnprintable(L'\x85'));
    EXPECT_FALSE(bUnprintable(L'\U0001F600'));
    EXPECT_TRUE(bLatin1(L'ÿ'));
    EXPECT_FALSE(bLatin1(L'Ÿ'));
    EXPECT_TRUE(bExtendedASCII(L'é'));
    EXPECT_TRUE(STR_bNeContientRienDeLisibleW(L" \t… « » \r\n"));
    EXPECT_FALSE(STR_bNeContientRienDeLisibleW(L" « é » "));
    EXPECT_TRUE(STR_bNeContientRienDeLisibleA(" .; \x85"));  // … in 1252
    EXPECT_TRUE(STR_bContainSpace(L"a\u3000b"));
    EXPECT_TRUE(STR_bIsANSI7(L"plain"));
    EXPECT_FALSE(STR_bIsANSI7(L"Noël"));
    EXPECT_TRUE(STR_bIsCp1252(L"Œuvre à 12 €"));
    EXPECT_FALSE(STR_bIsCp1252(L"\U0001F600"));
}

// A locale handed over by the machine: its answers replace the built-in ones.
class CLocaleEssai final : public IInfoLocale {
public:
    int nGetCodePage() override { return 1251; }
    int nGetLCID() override { return 0x419; }
    int nGetCharset() override { return 204; }
    int nCompareString(unsigned int nLCID, unsigned int dwFlags, const wchar_t*, int, const wchar_t*, int) override {
        m_nLCID = nLCID;
        m_dwFlags = dwFlags;
        return CSTR_GREATER_THAN;
    }
    unsigned int m_nLCID = 0;
    unsigned int m_dwFlags = 0;
};

TEST(Locale, BuiltInUntilTheMachineGivesOne) {
    EXPECT_EQ(STR_nGetCurrentCodePage(), 1252);
    EXPECT_EQ(STR_nGetCurrentLCID(), 0x40C);
    CLocaleEssai clLocale;
    STR_SetInfoLocale(&clLocale);
    EXPECT_EQ(STR_nGetCurrentCodePage(), 1251);
    EXPECT_EQ(STR_nGetSafeCurrentLCID(), 0x419);
    EXPECT_EQ(STR_nGetCurrentChangeCharset(), 204);
    STR_SetInfoLocale(nullptr);
    EXPECT_EQ(STR_nGetCurrentCodePage(), 1252);
}

TEST(Collation, BuiltInOrdersByLetterThenAccentThenCase) {
    struct {
        int nLigne;
        const wchar_t* pszTexte1;
        const wchar_t* pszTexte2;
        unsigned int dwFlags;
        int nAttendu;  // CSTR_...
    } const CAS[] = {
        {__LINE__, L"é", L"E", COMPARE_IGNORECASE | COMPARE_IGNORENONSPACE, CSTR_EQUAL},
        {__LINE__, L"é", L"E", COMPARE_IGNORECASE, CSTR_GREATER_THAN},
        {__LINE__, L"e", L"E", 0, CSTR_LESS_THAN},
        {__LINE__, L"cote", L"côte", 0, CSTR_LESS_THAN},
        {__LINE__, L"côte", L"cotes", 0, CSTR_LESS_THAN},  // the letter decides before the accent
        {__LINE__, L"Œuvre", L"oeuvre", COMPARE_IGNORECASE, CSTR_EQUAL},
        {__LINE__, L"straße", L"STRASSE", COMPARE_IGNORECASE, CSTR_EQUAL},
        {__LINE__, L"a-b", L"ab", COMPARE_IGNORESYMBOLS, CSTR_EQUAL},
        {__LINE__, L"!", L"1", 0, CSTR_LESS_THAN},
        {__LINE__, L"9", L"a", 0, CSTR_LESS_THAN},
        {__LINE__, L"x10", L"x9", COMPARE_DIGITSASNUMBERS, CSTR_GREATER_THAN},
        {__LINE__, L"\U0001F600", L"z", 0, CSTR_LESS_THAN},  // a symbol: before every letter
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        EXPECT_EQ(STR_nCompareStringBuiltIn(stCas.dwFlags, stCas.pszTexte1, -1, stCas.pszTexte2, -1), stCas.nAttendu);
        EXPECT_EQ(STR_nCompareStringBuiltIn(stCas.dwFlags, stCas.pszTexte2, -1, stCas.pszTexte1, -1),
                  4 - stCas.nAttendu);
    }
}

}  // namespace
