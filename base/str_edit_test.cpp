// Bounded copies and appends, trimming, replacing, searching, and the exported line readers.
#include "base/str_edit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

TEST(BoundedCopies, NeverPassTheSizeAndAlwaysTerminate) {
    struct {
        int nLigne;
        const wchar_t* pszDepart;
        const wchar_t* pszSource;
        int nTaille;
        int nMax;  // -1: a plain copy or append
        bool bAjout;
        const wchar_t* pszAttendu;
    } const CAS[] = {
        {__LINE__, L"", L"Hélène", 10, -1, false, L"Hélène"},
        {__LINE__, L"", L"Hélène", 4, -1, false, L"Hél"},
        {__LINE__, L"", L"Hélène", 1, -1, false, L""},
        {__LINE__, L"", L"Hélène", 10, 2, false, L"Hé"},
        {__LINE__, L"Noël", L" à 😀", 10, -1, true, L"Noël à 😀"},
        {__LINE__, L"Noël", L" à 😀", 7, -1, true, L"Noël à"},
        {__LINE__, L"Noël", L" à 😀", 10, 2, true, L"Noël à"},
        {__LINE__, L"Noël", nullptr, 10, -1, true, L"Noël"},
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        wchar_t aszTampon[16];
        for (wchar_t& c : aszTampon) c = L'#';
        wcscpy(aszTampon, stCas.pszDepart);
        int nResultat;
        if (stCas.bAjout)
            nResultat = stCas.nMax < 0 ? STR_nCatW(aszTampon, stCas.nTaille, stCas.pszSource)
                                       : STR_nCatCut(aszTampon, stCas.nTaille, stCas.pszSource, stCas.nMax);
        else
            nResultat = stCas.nMax < 0 ? STR_nCopyW(aszTampon, stCas.nTaille, stCas.pszSource)
                                       : STR_nCut(aszTampon, stCas.nTaille, stCas.pszSource, stCas.nMax);
        EXPECT_STREQ(aszTampon, stCas.pszAttendu);
        EXPECT_EQ(nResultat, static_cast<int>(wcslen(stCas.pszAttendu)));
        for (int i = stCas.nTaille; i < 16; ++i) EXPECT_EQ(aszTampon[i], L'#') << i;
    }
    // A target with no terminator inside its size is cut to fit, not read beyond.
    wchar_t aszPlein[4] = {L'a', L'b', L'c', L'd'};
    EXPECT_EQ(STR_nCatW(aszPlein, 4, L"x"), 3);
    EXPECT_STREQ(aszPlein, L"abc");
    char aszA[6] = "abc";
    EXPECT_EQ(STR_nCatA(aszA, 6, "defgh"), 5);
    EXPECT_STREQ(aszA, "abcde");
    EXPECT_EQ(STR_nCopyA(aszA, 3, "xyz"), 2);
    EXPECT_STREQ(aszA, "xy");
}

TEST(Allocation, CopiesAndResizes) {
    wchar_t* pszCopie = STR_pszCreateW(L"Œuvre", 3);
    EXPECT_STREQ(pszCopie, L"Œuv");
    STR_DeleteW(pszCopie);
    wchar_t* pszVide = STR_pszCreate(nullptr);
    EXPECT_STREQ(pszVide, L"");
    STR_Delete(pszVide);
    wchar_t* pszStandard = STR_pszCreateStandard("\xe0 No\xebl");  // 1252, the current page
    EXPECT_STREQ(pszStandard, L"à Noël");
    STR_Delete(pszStandard);
    char* pszTexte = STR_pszCreateA("abcdef");
    ASSERT_TRUE(STR_bResizeA(&pszTexte, 3));
    EXPECT_STREQ(pszTexte, "abc");
    ASSERT_TRUE(STR_bResizeA(&pszTexte, 100));
    EXPECT_STREQ(pszTexte, "abc");
    EXPECT_FALSE(STR_bResizeA(&pszTexte, -1));
    STR_DeleteA(pszTexte);
    wchar_t* pszNouveau = nullptr;
    ASSERT_TRUE(STR_bResizeW(&pszNouveau, 4));
    EXPECT_STREQ(pszNouveau, L"");
    STR_DeleteW(pszNouveau);
}

TEST(Edits, JoinPadReplace) {
    wchar_t* psz = STR_pszConcatPoint(L"rapport", L"txt");
    EXPECT_STREQ(psz, L"rapport.txt");
    STR_Delete(psz);
    psz = STR_pszConcatPoint(L"rapport.", L"txt");
    EXPECT_STREQ(psz, L"rapport.txt");
    STR_Delete(psz);
    psz = STR_pszConcatPoint(L"rapport", L"");
    EXPECT_STREQ(psz, L"rapport");
    STR_Delete(psz);
    psz = STR_RemplaceW(L"été, été", L"é", L"ée");
    EXPECT_STREQ(psz, L"éetée, éetée");
    STR_Delete(psz);
    psz = STR_RemplaceW(L"aaa", L"aa", L"b");
    EXPECT_STREQ(psz, L"ba");
    STR_Delete(psz);
    psz = STR_RemplaceW(L"abc", L"", L"x");
    EXPECT_STREQ(psz, L"abc");
    STR_Delete(psz);
    wchar_t aszTampon[8] = L"7";
    EXPECT_EQ(STR_Complete(aszTampon, 8, 3, L'0'), 3);
    EXPECT_STREQ(aszTampon, L"700");
    EXPECT_EQ(STR_Complete(aszTampon, 8, 50, L'0'), 7);  // stops at the size
}

TEST(Edits, TrimInPlace) {
    struct {
        int nLigne;
        wchar_t* (*pfnEdit)(wchar_t*);
        const wchar_t* pszEntree;
        const wchar_t* pszAttendu;
    } const CAS[] = {
        {__LINE__, STR_SuppressLeftSpaces, L" \t\r\nà gauche  ", L"à gauche  "},
        {__LINE__, STR_SuppressRightSpaces, L"  à droite \r\n", L"  à droite"},
        {__LINE__, STR_SuppressSideSpaces, L"  les deux \t", L"les deux"},
        {__LINE__, STR_SuppressSideSpaces, L"   ", L""},
        {__LINE__, STR_SuppressAllSpacesW, L" a b\tc ", L"abc"},
        {__LINE__, STR_PrepareChaineW, L"  un   deux\t\ttrois  ", L"un deux trois"},
    };
    for (const auto& stCas : CAS) {
        SCOPED_TRACE(stCas.nLigne);
        std::wstring sTexte = stCas.pszEntree;
        EXPECT_STREQ(stCas.pfnEdit(sTexte.data()), stCas.pszAttendu);
    }
    wchar_t aszEtoiles[] = L"**é**";
    EXPECT_STREQ(STR_SuppressSideCar(aszEtoiles, L'*'), L"é");
    char aszA[] = " a  b ";
    EXPECT_STREQ(STR_PrepareChaineA(aszA), "a b");
}

TEST(Search, FindsFirstLastAndBounded) {
    const wchar_t* pszTexte = L"Été comme été, ÉTÉ";
    EXPECT_EQ(STR_StrIStr(pszTexte, L"été"), pszTexte);
    EXPECT_EQ(STR_StrIStr(pszTexte + 1, L"ÉTÉ"), pszTexte + 10);
    EXPECT_EQ(STR_pszUpStrstr(pszTexte + 1, L"ÉTÉ"), pszTexte + 10);
    EXPECT_EQ(STRRSTR(pszTexte, L"été"), pszTexte + 10);
    EXPECT_EQ(STRRSTRW(pszTexte, L"absent"), nullptr);
    EXPECT_EQ(STR_pszStrnstr(pszTexte, L"été", 12), nullptr);  // it would end past 12
    EXPECT_EQ(STR_pszStrnstr(pszTexte, L"été", 13), pszTexte + 10);
    const wchar_t* pszListe = L"a.b,c";
    EXPECT_EQ(STRRPBRK(pszListe, L".,"), pszListe + 3);
    EXPECT_TRUE(STR_bDebut(L"Hélène", L"hél", true));
    EXPECT_FALSE(STR_bDebut(L"Hélène", L"hél"));
    EXPECT_FALSE(STR_bDebut(L"Hé", L"Hélène"));
    const char* pszA = "Caf\xe9 CAF\xc9";  // 1252
    EXPECT_EQ(STR_strnistrA(pszA, "caf\xc9", 9), pszA);
    EXPECT_EQ(STR_strnistrA(pszA + 1, "caf\xe9", 9), pszA + 5);
    EXPECT_EQ(STR_strnstrA(pszA, "CAF", 7), nullptr);
    const char* pszAbab = "abab";
    EXPECT_EQ(STRRSTRA(pszAbab, "ab"), pszAbab + 2);
    const char aszOctets[] = {'x', 0, 'y', 0, 'z'};
    EXPECT_EQ(xmemmem(aszOctets, sizeof(aszOctets), "\0z", 2), aszOctets + 3);
    EXPECT_EQ(xmemmem(aszOctets, 4, "\0z", 2), nullptr);
}

// A file with the given bytes, read back through a FILE*.
FILE* pstFichier(const std::string& sOctets) {
    FILE* pstFichier = tmpfile();
    fwrite(sOctets.data(), 1, sOctets.size(), pstFichier);
    rewind(pstFichier);
    return pstFichier;
}

TEST(LineReaders, ReadLinesOfAnyLengthNarrowAndWide) {
    const std::string sLongue(1000, 'x');
    FILE* pstTexte = pstFichier("[section]\ncl\xc3\xa9=valeur \xf0\x9f\x98\x80\n" + sLongue + "\nfin");
    char* pszLigne = nullptr;
    int nTaille = 0;
    EXPECT_EQ(STRG_nGetLine(pstTexte, &pszLigne, &nTaille), 10);
    EXPECT_STREQ(pszLigne, "[section]\n");
    wchar_t* pszWide = nullptr;
    int nTailleWide = 0;
    EXPECT_EQ(STRG_nGetLine(pstTexte, &pszWide, &nTailleWide), 13);
    EXPECT_STREQ(pszWide, L"clé=valeur 😀\n");
    EXPECT_EQ(STRG_nGetLine(pstTexte, &pszLigne, &nTaille), 1001);
    EXPECT_GE(nTaille, 1002);
    EXPECT_EQ(STRG_nGetLine(pstTexte, &pszLigne, &nTaille), 3);
    EXPECT_STREQ(pszLigne, "fin");
    EXPECT_EQ(STRG_nGetLine(pstTexte, &pszLigne, &nTaille), -1);
    fclose(pstTexte);
    free(pszLigne);

    // A line that is not UTF-8 reads as 1252, whole.
    FILE* pstAncien = pstFichier("cl\xe9=\x80 \x9c\n");
    EXPECT_EQ(STRG_nGetLine(pstAncien, &pszWide, &nTailleWide), 8);
    EXPECT_STREQ(pszWide, L"clé=€ œ\n");
    fclose(pstAncien);
    free(pszWide);
}

TEST(LineReaders, GetCharDecodesAndRecoversFromBrokenSequences) {
    FILE* pstTexte = pstFichier("a\xc3\xa9\xe2\x82" "b\xf0\x9f\x98\x80\xff");
    const int ATTENDU[] = {'a', 0xE9, 0xFFFD, 'b', 0x1F600, 0xFFFD, -1};
    for (int nAttendu : ATTENDU) EXPECT_EQ(STRG_nGetChar(pstTexte), nAttendu);
    fclose(pstTexte);
    char* pszCopie = STRG_pszCreate("abcdef", 2);
    EXPECT_STREQ(pszCopie, "ab");
    free(pszCopie);
    EXPECT_EQ(STRG_pszCreate(static_cast<const char*>(nullptr), -1), nullptr);
}

}  // namespace
