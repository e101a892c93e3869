// The path toolkit: full names, simplification, names and extensions, splitting and joining, and
// the file-name pattern.
#include <climits>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/unicode.h"
#include "files/disk_file.h"

namespace {

std::wstring sCourant() {
    wchar_t sz[4096];
    EXPECT_NE(CDiskFile::Unix_getcwd(sz, 4096), nullptr);
    return sz;
}

std::wstring sHome() {
    wchar_t sz[4096];
    EXPECT_TRUE(CDiskFile::Unix_gethomedir(sz, 4096));
    return sz;
}

std::wstring sFull(const wchar_t* pszNom) {
    wchar_t sz[kMaxPath + 1];
    const unsigned long n = CDiskFile::GetFullPathName(pszNom, kMaxPath + 1, sz, nullptr);
    EXPECT_GT(n, 0u) << pszNom;
    EXPECT_LE(n, static_cast<unsigned long>(kMaxPath));
    EXPECT_EQ(n, std::wcslen(sz));
    return sz;
}

struct STCas {
    int nLigne;
    const wchar_t* pszEntree;
    const wchar_t* pszAttendu;
};

TEST(FullPathName, AbsoluteNamesCollapseDotsAndNeverClimbAboveTheRoot) {
    const STCas tab[] = {
        {__LINE__, L"/a/b/c", L"/a/b/c"},
        {__LINE__, L"\\a\\b\\c", L"/a/b/c"},
        {__LINE__, L"/a/./b/./c", L"/a/b/c"},
        {__LINE__, L"/a/b/../c", L"/a/c"},
        {__LINE__, L"/a/b/../../c", L"/c"},
        {__LINE__, L"/../../../a", L"/a"},
        {__LINE__, L"/a/../../b", L"/b"},
        {__LINE__, L"/a/b/..", L"/a"},
        {__LINE__, L"/a/..", L"/"},
        {__LINE__, L"/.", L"/"},
        {__LINE__, L"/a/b/.", L"/a/b"},
        {__LINE__, L"/été/日本/😀/../x", L"/été/日本/x"},
        {__LINE__, L"/a/..b/c", L"/a/..b/c"},
    };
    for (const STCas& st : tab) EXPECT_EQ(sFull(st.pszEntree), st.pszAttendu) << "line " << st.nLigne;
}

TEST(FullPathName, RelativeNamesStartAtTheCurrentDirectory) {
    const std::wstring sIci = sCourant();
    const std::wstring sBase = sIci == L"/" ? L"" : sIci;
    EXPECT_EQ(sFull(L"x.txt"), sBase + L"/x.txt");
    EXPECT_EQ(sFull(L"./x.txt"), sBase + L"/x.txt");
    EXPECT_EQ(sFull(L"a\\b"), sBase + L"/a/b");
    const std::wstring sParent = sIci.substr(0, sIci.rfind(L'/'));
    EXPECT_EQ(sFull(L"../y"), sParent + L"/y");
}

TEST(FullPathName, TildeKeepsTheWholeNameBehindTheHomeDirectory) {
    EXPECT_EQ(sFull(L"~/doc"), sHome() + L"~/doc");
}

TEST(FullPathName, ASmallBufferGetsTheSizeNeededAndIsLeftAlone) {
    wchar_t sz[8];
    std::wmemcpy(sz, L"intact", 7);
    EXPECT_EQ(CDiskFile::GetFullPathName(L"/abcdefgh", 8, sz, nullptr), 10u);
    EXPECT_STREQ(sz, L"intact");
    // Exactly enough: length 9 plus terminator.
    wchar_t szJuste[10];
    EXPECT_EQ(CDiskFile::GetFullPathName(L"/abcdefgh", 10, szJuste, nullptr), 9u);
    EXPECT_STREQ(szJuste, L"/abcdefgh");
    EXPECT_EQ(CDiskFile::GetFullPathName(L"", 10, szJuste, nullptr), 0u);
    EXPECT_EQ(CDiskFile::GetFullPathName(nullptr, 10, szJuste, nullptr), 0u);
    // A very long name never writes past the buffer it is given.
    std::wstring sLong = L"/" + std::wstring(5000, L'é');
    EXPECT_EQ(CDiskFile::GetFullPathName(sLong.c_str(), 8, sz, nullptr), 5002u);
    EXPECT_STREQ(sz, L"intact");
}

TEST(SimplifyPath, DropsDotsAndAbsorbsParentsThatHaveAComponentToEat) {
    const STCas tab[] = {
        {__LINE__, L"/a/./b", L"/a/b"},
        {__LINE__, L"a/b/../c", L"a/c"},
        {__LINE__, L"a/b/../../c", L"c"},
        {__LINE__, L"../a", L"../a"},
        {__LINE__, L"../../a/../b", L"../../b"},
        {__LINE__, L"x/../../a", L"../a"},
        {__LINE__, L"/../a", L"/a"},
        {__LINE__, L"/a/b/../../../c", L"/c"},
        {__LINE__, L"a\\b\\..\\c", L"a/c"},
        {__LINE__, L"/ça/œuvre/../𝄞", L"/ça/𝄞"},
        {__LINE__, L"", L""},
    };
    for (const STCas& st : tab) {
        wchar_t sz[kMaxPath + 1];
        std::wcscpy(sz, st.pszEntree);
        CDiskFile::SimplifyPath(sz);
        EXPECT_STREQ(sz, st.pszAttendu) << "line " << st.nLigne;
    }
}

TEST(FileNames, ValidityRefusesTheReservedCharacters) {
    struct {
        int nLigne;
        const wchar_t* pszNom;
        bool bNom;
        bool bComplet;
    } const tab[] = {
        {__LINE__, L"fichier.txt", true, true},
        {__LINE__, L"été 😀.txt", true, true},
        {__LINE__, L"/rep/fichier.txt", false, true},
        {__LINE__, L"c:fichier", false, true},
        {__LINE__, L"a*b", false, false},
        {__LINE__, L"a\"b", false, false},
        {__LINE__, L"", false, false},
    };
    for (const auto& st : tab) {
        EXPECT_EQ(CDiskFile::bValidName(st.pszNom), st.bNom) << "line " << st.nLigne;
        EXPECT_EQ(CDiskFile::bValidFullName(st.pszNom), st.bComplet) << "line " << st.nLigne;
    }
}

TEST(FileNames, SameNameIgnoresSeparatorsAndTrailingBlanksButNotCase) {
    EXPECT_TRUE(CDiskFile::bSameFileName(L"\\a\\b.txt", L"/a/b.txt  \t"));
    EXPECT_FALSE(CDiskFile::bSameFileName(L"/a/B.txt", L"/a/b.txt"));
    EXPECT_FALSE(CDiskFile::bSameFileName(L" /a", L"/a"));
    wchar_t sz[kMaxPath + 1];
    const std::wstring sLong(1000, L'x');
    CDiskFile::StandardizeFileName(sz, sLong.c_str());
    EXPECT_EQ(std::wcslen(sz), static_cast<size_t>(kMaxPath));
}

TEST(FileNames, NameAndExtensionPointersLookOnlyAtTheLastComponent) {
    struct {
        int nLigne;
        const wchar_t* pszChemin;
        const wchar_t* pszNom;
        const wchar_t* pszExtension;
    } const tab[] = {
        {__LINE__, L"/a/b/c.txt", L"c.txt", L".txt"},
        {__LINE__, L"a\\b\\c.tar.gz", L"c.tar.gz", L".gz"},
        {__LINE__, L"/a.d/fichier", L"fichier", L""},
        {__LINE__, L"C:nom.x", L"nom.x", L".x"},
        {__LINE__, L"/a/", L"", L""},
        {__LINE__, L"/r/.profil", L".profil", L".profil"},
        {__LINE__, L"/r/😀.é", L"😀.é", L".é"},
    };
    for (const auto& st : tab) {
        EXPECT_STREQ(CDiskFile::pszGetPtrToFileName(st.pszChemin), st.pszNom) << "line " << st.nLigne;
        EXPECT_STREQ(CDiskFile::pszGetPtrToExtension(st.pszChemin), st.pszExtension) << "line " << st.nLigne;
    }
}

TEST(FileNames, ExtensionsChangeWithOrWithoutTheirDotAndNeverOverflow) {
    wchar_t sz[kMaxPath + 1];
    std::wcscpy(sz, L"/a.d/nom.txt");
    CDiskFile::ChangeExtension(sz, L"csv");
    EXPECT_STREQ(sz, L"/a.d/nom.csv");
    CDiskFile::ChangeExtension(sz, L".été");
    EXPECT_STREQ(sz, L"/a.d/nom.été");
    CDiskFile::DelExtension(sz);
    EXPECT_STREQ(sz, L"/a.d/nom");
    CDiskFile::ChangeExtension(sz, L"x");
    EXPECT_STREQ(sz, L"/a.d/nom.x");

    const std::wstring sPlein(kMaxPath - 2, L'n');
    std::wcscpy(sz, sPlein.c_str());
    CDiskFile::ChangeExtension(sz, L"long");
    EXPECT_STREQ(sz, sPlein.c_str());  // no half extension
    CDiskFile::ChangeExtension(sz, L"x");
    EXPECT_EQ(std::wcslen(sz), static_cast<size_t>(kMaxPath));
}

TEST(Directories, EndSlashesComeAndGoButTheRootAndTheEmptyNameStay) {
    const STCas tabAvec[] = {
        {__LINE__, L"/a", L"/a/"}, {__LINE__, L"/a/", L"/a/"}, {__LINE__, L"a\\", L"a\\"}, {__LINE__, L"", L""},
    };
    for (const STCas& st : tabAvec) {
        wchar_t sz[kMaxPath + 1];
        std::wcscpy(sz, st.pszEntree);
        CDiskFile::DirectoryWithEndSlash(sz);
        EXPECT_STREQ(sz, st.pszAttendu) << "line " << st.nLigne;
    }
    const STCas tabSans[] = {
        {__LINE__, L"/a/", L"/a"}, {__LINE__, L"/a//\\", L"/a"}, {__LINE__, L"/", L"/"}, {__LINE__, L"///", L"/"},
    };
    for (const STCas& st : tabSans) {
        wchar_t sz[kMaxPath + 1];
        std::wcscpy(sz, st.pszEntree);
        CDiskFile::DirectoryWithoutEndSlash(sz);
        EXPECT_STREQ(sz, st.pszAttendu) << "line " << st.nLigne;
    }
    wchar_t sz[kMaxPath + 1];
    const std::wstring sPlein(kMaxPath, L'r');
    std::wcscpy(sz, sPlein.c_str());
    CDiskFile::DirectoryWithEndSlash(sz);
    CDiskFile::PrefixeCurrentDirectory(sz);
    EXPECT_STREQ(sz, sPlein.c_str());
    std::wcscpy(sz, L"a/b");
    CDiskFile::PrefixeCurrentDirectory(sz);
    EXPECT_STREQ(sz, L"./a/b");
}

TEST(Separators, RewriteEveryForm) {
    char szA[] = "a\\b\\c";
    EXPECT_STREQ(CDiskFile::pszBackSlash2Slash(szA), "a/b/c");
    EXPECT_STREQ(CDiskFile::pszSlash2BackSlash(szA), "a\\b\\c");
    CXYString<wchar_t> clTexte(L"é\\😀\\x");
    CXYString<wchar_t> clPartage = clTexte;
    CDiskFile::pszBackSlash2Slash(&clTexte);
    EXPECT_STREQ(clTexte.pszGet(), L"é/😀/x");
    EXPECT_STREQ(clPartage.pszGet(), L"é\\😀\\x");  // the other holder keeps its text
    CDiskFile::pszSlash2BackSlash(&clTexte);
    EXPECT_STREQ(clTexte.pszGet(), L"é\\😀\\x");
}

TEST(Kinds, RelativeUncAndVirtualNames) {
    EXPECT_TRUE(CDiskFile::bIsRelativePath(L"./a"));
    EXPECT_FALSE(CDiskFile::bIsRelativePath(L"a"));
    EXPECT_TRUE(CDiskFile::bIsRelativeFileName(L"a/b"));
    EXPECT_FALSE(CDiskFile::bIsRelativeFileName(L"\\a"));
    EXPECT_TRUE(CDiskFile::bIsRelativeFileName_WIN32(L"a\\b"));
    EXPECT_FALSE(CDiskFile::bIsRelativeFileName_WIN32(L"c:\\a"));
    EXPECT_FALSE(CDiskFile::bIsRelativeFileName_WIN32(L"prn:"));
    EXPECT_TRUE(CDiskFile::bUNCName(L"\\\\serveur\\partage"));
    EXPECT_FALSE(CDiskFile::bUNCName(L"\\\\serveur"));
    EXPECT_TRUE(CDiskFile::bIsAVirtualDirectory(L".."));
    EXPECT_FALSE(CDiskFile::bIsAVirtualDirectory(L"..."));
}

TEST(SplitAndMake, SplittingThenJoiningGivesThePathBack) {
    struct {
        int nLigne;
        const wchar_t* pszChemin;
        const wchar_t* pszRepertoire;
        const wchar_t* pszNom;
        const wchar_t* pszExtension;
        const wchar_t* pszRefait;
    } const tab[] = {
        {__LINE__, L"/r/s/nom.txt", L"/r/s/", L"nom", L".txt", L"/r/s/nom.txt"},
        {__LINE__, L"\\r\\nom", L"/r/", L"nom", L"", L"/r/nom"},
        {__LINE__, L"nom.a.b", L"", L"nom.a", L".b", L"nom.a.b"},
        {__LINE__, L"/r.d/", L"/r.d/", L"", L"", L"/r.d/"},
        {__LINE__, L"/été/😀.ü", L"/été/", L"😀", L".ü", L"/été/😀.ü"},
    };
    for (const auto& st : tab) {
        wchar_t szDisque[kMaxPath + 1], szRep[kMaxPath + 1], szNom[kMaxPath + 1], szExt[kMaxPath + 1];
        CDiskFile::__SplitPath(st.pszChemin, szDisque, szRep, szNom, szExt);
        EXPECT_STREQ(szDisque, L"") << "line " << st.nLigne;
        EXPECT_STREQ(szRep, st.pszRepertoire) << "line " << st.nLigne;
        EXPECT_STREQ(szNom, st.pszNom) << "line " << st.nLigne;
        EXPECT_STREQ(szExt, st.pszExtension) << "line " << st.nLigne;
        wchar_t szRefait[kMaxPath + 1];
        CDiskFile::MakePath(szRefait, szDisque, szRep, szNom, szExt);
        EXPECT_STREQ(szRefait, st.pszRefait) << "line " << st.nLigne;
    }
}

TEST(SplitAndMake, MakeAddsTheMissingSeparatorsAndRefusesToCutAPath) {
    wchar_t sz[kMaxPath + 1];
    CDiskFile::MakePath(sz, nullptr, L"a\\b", L"c", L"txt");
    EXPECT_STREQ(sz, L"a/b/c.txt");
    CDiskFile::MakePath(sz, nullptr, nullptr, L"c", nullptr);
    EXPECT_STREQ(sz, L"c");
    const std::wstring sRep(kMaxPath - 3, L'r');
    CDiskFile::MakePath(sz, nullptr, sRep.c_str(), L"ab", nullptr);
    EXPECT_EQ(std::wcslen(sz), static_cast<size_t>(kMaxPath));
    CDiskFile::MakePath(sz, nullptr, sRep.c_str(), L"abc", nullptr);
    EXPECT_STREQ(sz, L"");
}

TEST(Pattern, StarsAndQuestionMarksWithOneBacktrackPoint) {
    struct {
        int nLigne;
        const wchar_t* pszNom;
        const wchar_t* pszMotif;
        bool bAttendu;
    } const tab[] = {
        {__LINE__, L"rapport.txt", L"*.txt", true},
        {__LINE__, L"rapport.txt", L"*.TXT", false},
        {__LINE__, L"rapport.txt", L"r?pport.*", true},
        {__LINE__, L"rapport", L"*.*", true},  // "*.*" takes names without a dot too
        {__LINE__, L".cache", L"*.*", true},
        {__LINE__, L"abc", L"a*.*", true},
        {__LINE__, L"xbc", L"a*.*", false},
        {__LINE__, L"a.b.c", L"*.c", true},
        {__LINE__, L"aXbXbc", L"a*bc", true},  // the star has to give back what it took
        {__LINE__, L"ab", L"a*b*", true},
        {__LINE__, L"ab", L"a**?", true},
        {__LINE__, L"a", L"a*?", false},
        {__LINE__, L"", L"*", true},
        {__LINE__, L"", L"?", false},
        {__LINE__, L"", L"", true},
        {__LINE__, L"x", L"", false},
        {__LINE__, L"été😀.txt", L"?t?😀.*", true},
        {__LINE__, L"été😀.txt", L"?t?.*", false},
    };
    for (const auto& st : tab)
        EXPECT_EQ(CDiskFile::_bFiltreFileName(st.pszNom, st.pszMotif), st.bAttendu) << "line " << st.nLigne;
    EXPECT_TRUE(CDiskFile::bHasPatternsW(L"a?"));
    EXPECT_TRUE(CDiskFile::bHasPatternsW(L"*"));
    EXPECT_FALSE(CDiskFile::bHasPatternsW(L"a.b"));
}

TEST(Pattern, ManyStarsOnALongNameStayLinear) {
    // A naive recursive matcher takes exponential time here.
    const std::wstring sNom(200, L'a');
    EXPECT_FALSE(CDiskFile::_bFiltreFileName(sNom.c_str(), L"*a*a*a*a*a*a*a*a*a*a*a*b"));
}

TEST(SystemNames, LongNamesGoThroughTheHeap) {
    // Past the stack buffer, the name is converted on the heap and still reaches the system.
    std::wstring sLong = L"/" + std::wstring(600, L'é');
    struct stat st;
    EXPECT_EQ(CDiskFile::Unix_stat(sLong.c_str(), &st), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(CDiskFile::Unix_stat(L"/", &st), 0);
    // A lone surrogate has no UTF-8 form: refused before the system sees it.
    const wchar_t szSurrogate[] = {L'/', static_cast<wchar_t>(0xD800), 0};
    EXPECT_EQ(CDiskFile::Unix_stat(szSurrogate, &st), -1);
    wchar_t szPetit[2];
    EXPECT_EQ(CDiskFile::Unix_getcwd(szPetit, 1), nullptr);
    EXPECT_EQ(errno, ERANGE);
}

}  // namespace
