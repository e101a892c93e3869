// Owned strings, wide and 8-bit: the families that cut, change, search and split text.
#include "base/tstring.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "base/tstring_ansi.h"

namespace {

std::string sUtf8(const CTStringAnsi& cl) { return cl.pszGet(); }

// ---------------------------------------------------------------- set and add

TEST(OwnedString, AddStopsAtAZeroInsideTheGivenLength) {
    CTString cl(L"x");
    ASSERT_TRUE(cl.Add(L"abcd\0ef", 5));
    EXPECT_STREQ(cl.pszGet(), L"xabcd");
    CTStringAnsi clA("x");
    ASSERT_TRUE(clA.Add("abcd\0ef", 5));
    EXPECT_EQ(sUtf8(clA), "xabcd");
    ASSERT_TRUE(clA.Add("zz", 0));
    ASSERT_TRUE(clA.Add(nullptr, 3));
    EXPECT_EQ(sUtf8(clA), "xabcd");
}

TEST(OwnedString, SetOfItsOwnBufferLeavesItUnchanged) {
    CTString cl(L"Hôtel \U0001D11E");
    const wchar_t* pszAvant = cl.pszGet();
    ASSERT_TRUE(cl.Set(cl.pszGet()));
    EXPECT_EQ(cl.pszGet(), pszAvant);
    EXPECT_STREQ(cl.pszGet(), L"Hôtel \U0001D11E");
    ASSERT_TRUE(cl.Set(cl.pszGet() + 2, 3));  // a piece of itself
    EXPECT_STREQ(cl.pszGet(), L"tel");
}

TEST(OwnedString, NumbersAndConversionsSet) {
    CTString cl;
    ASSERT_TRUE(cl.SetI4(-2147483647 - 1));
    EXPECT_STREQ(cl.pszGet(), L"-2147483648");
    ASSERT_TRUE(cl.SetI8(INT64_MIN));
    EXPECT_STREQ(cl.pszGet(), L"-9223372036854775808");
    ASSERT_TRUE(cl.AddI4(42));
    EXPECT_TRUE(cl.bTerminePar(L"80842"));
    ASSERT_TRUE(cl.SetANSIEx("caf\xE9 \x80", -1, 1252));
    EXPECT_STREQ(cl.pszGet(), L"café €");
    ASSERT_TRUE(cl.SetStandard("\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80"));
    EXPECT_STREQ(cl.pszGet(), L"été \U0001F600");
    EXPECT_FALSE(cl.SetStandard("\xFF"));  // not UTF-8: refused, text kept
    EXPECT_STREQ(cl.pszGet(), L"été \U0001F600");
    CTStringAnsi clA;
    ASSERT_TRUE(clA.SetUNICODE(L"été \U0001F600"));
    EXPECT_EQ(sUtf8(clA), "\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80");
    ASSERT_TRUE(clA.SetANSIEx("\x9C", 1, 1252));
    EXPECT_EQ(sUtf8(clA), "\xC5\x93");
}

TEST(OwnedString, InsertCompleteAndFormat) {
    CTString cl(L"été");
    ASSERT_TRUE(cl.Insert(1, L"\U0001F600"));
    EXPECT_STREQ(cl.pszGet(), L"é\U0001F600té");
    ASSERT_TRUE(cl.Insert(99, L"!"));
    EXPECT_STREQ(cl.pszGet(), L"é\U0001F600té!");
    ASSERT_TRUE(cl.Complete(8, L'.'));
    EXPECT_STREQ(cl.pszGet(), L"é\U0001F600té!...");
    ASSERT_TRUE(cl.printf(L"%s=%d", L"clé", 7));
    EXPECT_STREQ(cl.pszGet(), L"clé=7");
    CTStringAnsi clA;
    ASSERT_TRUE(clA.printf("%s=%05d", "cl\xC3\xA9", 7));
    EXPECT_EQ(sUtf8(clA), "cl\xC3\xA9=00007");
    ASSERT_TRUE(cl.FormatMessageWin(L"%2 avant %1!d!", 12, L"après"));
    EXPECT_STREQ(cl.pszGet(), L"après avant 12");
    EXPECT_FALSE(cl.FormatMessageWin(L"%3", 1));  // an insert that was not given is refused
    ASSERT_TRUE(cl.FormatMessageW(L"%s/%d", L"où", 3));
    EXPECT_STREQ(cl.pszGet(), L"où/3");
    CTStringFormatMessage clFormate(L"%d %s", 5, L"ça");
    EXPECT_STREQ(clFormate.pszGet(), L"5 ça");
}

// ---------------------------------------------------------------- read

TEST(OwnedString, SearchesAnswerPositionsOrMinusOne) {
    const CTString cl(L"Été, été, ÉTÉ \U0001F600");
    struct {
        int nLigne;
        int nObtenu, nAttendu;
    } const tab[] = {
        {__LINE__, cl.nPos(L"été"), 5},          {__LINE__, cl.nPos(L"été", 6), -1},
        {__LINE__, cl.nPos(L""), -1},            {__LINE__, cl.nRPos(L"é"), 7},
        {__LINE__, cl.nUpPos(L"été", 1), 5},     {__LINE__, cl.nUpPos(L"été", 6), 10},
        {__LINE__, cl.nPosParmi(L",\U0001F600"), 3}, {__LINE__, cl.nPosParmi(L"\U0001F600", 4), 14},
        {__LINE__, cl.nNbOcc(L"é"), 3},          {__LINE__, cl.nNbOcc(L"xx"), 0},
        {__LINE__, static_cast<int>(cl.cGetChar(14)), 0x1F600}, {__LINE__, static_cast<int>(cl.cGetChar(15)), 0},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        EXPECT_EQ(st.nObtenu, st.nAttendu);
    }
    EXPECT_TRUE(cl.bCommenceParI(L"été"));
    EXPECT_FALSE(cl.bCommencePar(L"été"));
    EXPECT_TRUE(cl.bTermineParI(L"été \U0001F600"));
    EXPECT_FALSE(cl.bTerminePar(L"été \U0001F600"));
    EXPECT_TRUE(cl.bTerminePar(L"ÉTÉ \U0001F600"));
    EXPECT_TRUE(CTString(L"ÉTÉ").bEstEgalI(L"été"));
    EXPECT_TRUE(CTString().bEstEgal(nullptr));
    EXPECT_TRUE(CTString(L"a") == L"a");
}

TEST(OwnedString, ValueReadsTheLeadingInteger) {
    struct {
        int nLigne;
        const wchar_t* psz;
        int nAttendu;
    } const tab[] = {
        {__LINE__, L"  42abc", 42}, {__LINE__, L"x1", 0}, {__LINE__, L"-99999999999", -2147483647 - 1},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        EXPECT_EQ(CTString(st.psz).nVal(), st.nAttendu);
    }
}

// ---------------------------------------------------------------- cut and change

TEST(OwnedString, CutsClipToTheText) {
    const CTString cl(L"Noël \U0001F384 à Paris");
    EXPECT_STREQ(cl.clGauche(4).pszGet(), L"Noël");
    EXPECT_STREQ(cl.clDroite(5).pszGet(), L"Paris");
    EXPECT_STREQ(cl.clDroite(99).pszGet(), cl.pszGet());
    EXPECT_STREQ(cl.clMilieu(5, 1).pszGet(), L"\U0001F384");
    EXPECT_STREQ(cl.clMilieu(40).pszGet(), L"");
    EXPECT_STREQ(cl.clExclu(4, 4).pszGet(), L"Noël Paris");
    EXPECT_STREQ(cl.clContientUniquement(L"aeiouë").pszGet(), L"oëai");
    CTString clT(L" \t été \r\n");
    clT.Trim();
    EXPECT_STREQ(clT.pszGet(), L"été");
    CTString clS(L" a b\tc ");
    clS.SansEspace();
    EXPECT_STREQ(clS.pszGet(), L"abc");
    CTString clC(L"abcdef");
    clC.Coupe(1, 2);
    EXPECT_STREQ(clC.pszGet(), L"adef");
    clC.TronqueDebut(3);
    EXPECT_STREQ(clC.pszGet(), L"f");
    clC.Tronque(0);
    EXPECT_EQ(clC.pszDetache(), nullptr);  // the empty text holds no buffer
}

TEST(OwnedString, CaseAndAccentsReachLettersBeyondAscii) {
    struct {
        int nLigne;
        const wchar_t* psz;
        const wchar_t *pszMaj, *pszMin, *pszSansAccent;
    } const tab[] = {
        {__LINE__, L"Déjà l'Été", L"DÉJÀ L'ÉTÉ", L"déjà l'été", L"Deja l'Ete"},
        {__LINE__, L"Œuvre straße", L"ŒUVRE STRAßE", L"œuvre straße", L"OEuvre strasse"},
        {__LINE__, L"\U00010428x", L"\U00010400X", L"\U00010428x", L"\U00010428x"},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CTString cl(st.psz);
        cl.Minuscule();
        EXPECT_STREQ(cl.pszGet(), st.pszMin);
        cl.Set(st.psz);
        cl.SansAccent();
        EXPECT_STREQ(cl.pszGet(), st.pszSansAccent);
        cl.Set(st.psz);
        cl.Majuscule();
        EXPECT_STREQ(cl.pszGet(), st.pszMaj);  // ß has no one-letter capital: it stays
    }
    CTStringAnsi clA("d\xC3\xA9j\xC3\xA0 \xF0\x9F\x98\x80");
    clA.Majuscule();
    EXPECT_EQ(sUtf8(clA), "D\xC3\x89J\xC3\x80 \xF0\x9F\x98\x80");
    clA.SansAccent();
    EXPECT_EQ(sUtf8(clA), "DEJA \xF0\x9F\x98\x80");
    CTStringAnsi clPas("abc\xFF");  // not UTF-8: ASCII letters only
    clPas.Majuscule();
    EXPECT_EQ(sUtf8(clPas), "ABC\xFF");
}

TEST(OwnedString, ReverseKeepsCharactersWhole) {
    CTString cl(L"é\U0001F600a");
    cl.Renverse();
    EXPECT_STREQ(cl.pszGet(), L"a\U0001F600é");
    CTStringAnsi clA("\xC3\xA9\xF0\x9F\x98\x80" "a");
    clA.Renverse();
    EXPECT_EQ(sUtf8(clA), "a\xF0\x9F\x98\x80\xC3\xA9");
}

TEST(OwnedString, ReplaceCountsAndMayGrowOrShrink) {
    CTString cl(L"Été, été, ÉTÉ");
    EXPECT_EQ(cl.Remplace(L"été", L"hiver"), 1);
    EXPECT_STREQ(cl.pszGet(), L"Été, hiver, ÉTÉ");
    EXPECT_EQ(cl.RemplaceI(L"été", L"\U0001F31E"), 2);
    EXPECT_STREQ(cl.pszGet(), L"\U0001F31E, hiver, \U0001F31E");
    EXPECT_EQ(cl.Remplace(L"", L"x"), 0);
    EXPECT_EQ(cl.Remplace(L"\U0001F31E", nullptr), 2);
    EXPECT_STREQ(cl.pszGet(), L", hiver, ");
    cl.Set(L"a b");
    ASSERT_TRUE(cl.Insecable());
    EXPECT_STREQ(cl.pszGet(), L"a\u00A0b");
    CTStringAnsi clA("a b");
    ASSERT_TRUE(clA.Insecable());
    EXPECT_EQ(sUtf8(clA), "a\xC2\xA0" "b");
}

TEST(OwnedString, EllipsisStandsForWhatIsLeftOut) {
    struct {
        int nLigne;
        const wchar_t* psz;
        int nLargeur, nPosition;
        const wchar_t* pszAttendu;
    } const tab[] = {
        {__LINE__, L"Déjà l'été", 20, CTString::ELLIPSE_FIN, L"Déjà l'été"},
        {__LINE__, L"Déjà l'été", 7, CTString::ELLIPSE_FIN, L"Déjà..."},
        {__LINE__, L"Déjà l'été", 8, CTString::ELLIPSE_MILIEU, L"Déj...té"},
        {__LINE__, L"Déjà l'été", 2, CTString::ELLIPSE_FIN, L".."},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CTString cl;
        ASSERT_TRUE(cl.Ellipse(st.psz, st.nLargeur, st.nPosition));
        EXPECT_STREQ(cl.pszGet(), st.pszAttendu);
    }
}

// ---------------------------------------------------------------- fields

TEST(OwnedString, FieldsSplitOnAWholeSeparator) {
    const CTString cl(L"un--deux-trois----\U0001F600");
    struct {
        int nLigne;
        int nIndex;
        bool bTrouve;
        const wchar_t* pszChamp;
    } const tab[] = {
        {__LINE__, 0, true, L"un"}, {__LINE__, 1, true, L"deux-trois"}, {__LINE__, 2, true, L""},
        {__LINE__, 3, true, L"\U0001F600"}, {__LINE__, 4, false, L"inchangé"}, {__LINE__, -1, false, L"inchangé"},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CTString clChamp(L"inchangé");
        EXPECT_EQ(cl.bExtraitChaine(st.nIndex, L"--", &clChamp), st.bTrouve);
        EXPECT_STREQ(clChamp.pszGet(), st.pszChamp);
    }
    int nPos = -1, nTaille = -1;
    ASSERT_TRUE(cl.bExtraitPosTailleChaine(1, L"--", &nPos, &nTaille));
    EXPECT_EQ(nPos, 4);
    EXPECT_EQ(nTaille, 10);
}

TEST(OwnedString, FieldWalksVisitEveryFieldInOrder) {
    const CTString cl(L"a;;été;\U0001F600");
    std::vector<std::wstring> tabVus;
    int nPos = 0;
    CTString clChamp;
    while (cl.bExtraitChainePos(&nPos, L";", &clChamp)) {
        tabVus.emplace_back(clChamp.pszGet());
        if (nPos < 0) break;
    }
    EXPECT_EQ(tabVus, (std::vector<std::wstring>{L"a", L"", L"été", L"\U0001F600"}));
    tabVus.clear();
    nPos = 0;
    while (cl.bExtraitChaineTok(&nPos, L";", &clChamp)) tabVus.emplace_back(clChamp.pszGet());
    EXPECT_EQ(tabVus, (std::vector<std::wstring>{L"a", L"été", L"\U0001F600"}));
    tabVus.clear();
    EXPECT_TRUE(cl.PourTouteChaineSepareePar(L";", [&](const wchar_t* psz, int n) {
        tabVus.emplace_back(psz, static_cast<size_t>(n));
        return true;
    }));
    EXPECT_EQ(tabVus.size(), 4u);
    EXPECT_FALSE(cl.PourTouteChaineSepareePar(L";", [](const wchar_t*, int) { return false; }));
    CTString clModifie(L"a;b;c");
    CTString clAncien;
    ASSERT_TRUE(clModifie.bExtraitEtRemplaceChaine(1, L";", L"été", &clAncien));
    EXPECT_STREQ(clModifie.pszGet(), L"a;été;c");
    EXPECT_STREQ(clAncien.pszGet(), L"b");
}

// ---------------------------------------------------------------- file names

TEST(OwnedString, PathCutsAtTheFirstOrLastSeparator) {
    using FCoupe = const wchar_t* (CTString::*)(wchar_t);
    struct {
        int nLigne;
        FCoupe pfn;
        const wchar_t *psz, *pszAttendu;
        bool bNull;
    } const tab[] = {
        {__LINE__, &CTString::pszSetFinPremier, L"/a/b/c.txt", L"", false},
        {__LINE__, &CTString::pszSetFinDernier, L"/a/b/c.txt", L"/a/b", false},
        {__LINE__, &CTString::pszSetDebutPremier, L"a/b/c.txt", L"b/c.txt", false},
        {__LINE__, &CTString::pszSetDebutDernier, L"/a/b/été.txt", L"été.txt", false},
        {__LINE__, &CTString::pszSetDebutDernier, L"été.txt", L"été.txt", false},
        {__LINE__, &CTString::pszSetDebutDernierExistant, L"été.txt", L"été.txt", true},
        {__LINE__, &CTString::pszSetFinDernierExistant, L"/a/b", L"/a", false},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CTString cl(st.psz);
        EXPECT_EQ((cl.*st.pfn)(L'/') == nullptr, st.bNull);
        EXPECT_STREQ(cl.pszGet(), st.pszAttendu);
    }
}

TEST(OwnedString, TemporaryFileIsCreatedWithTheGivenPrefix) {
    char szModele[] = "/tmp/ovtstringXXXXXX";
    ASSERT_NE(mkdtemp(szModele), nullptr);
    CTString clRep;
    ASSERT_TRUE(clRep.SetStandard(szModele));
    ASSERT_TRUE(clRep.Add(L"/répertoire"));
    CTStringAnsi clRepA;
    ASSERT_TRUE(clRepA.SetUNICODE(clRep.pszGet()));
    ASSERT_EQ(mkdir(clRepA.pszGet(), 0700), 0);
    CTString cl;
    ASSERT_TRUE(cl.FichierTemporaire(clRep.pszGet(), L"été"));
    EXPECT_TRUE(cl.bCommencePar(clRep.pszGet()));
    EXPECT_EQ(cl.nPos(L"/été"), clRep.nTaille());
    EXPECT_EQ(cl.nTaille(), clRep.nTaille() + 4 + 6);
    CTStringAnsi clChemin;
    ASSERT_TRUE(clChemin.SetUNICODE(cl.pszGet()));
    EXPECT_EQ(access(clChemin.pszGet(), F_OK), 0);
    EXPECT_FALSE(cl.FichierTemporaire(clRep.pszGet(), L"../x"));  // a prefix never leaves the folder
    unlink(clChemin.pszGet());
    rmdir(clRepA.pszGet());
    rmdir(szModele);
}

}  // namespace
