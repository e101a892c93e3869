// Counted strings and binary values: sharing, copy-on-write, limits, conversions, the allocator
// slots, and the machine's argument record.
#include "base/xystring.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "base/manip.h"
#include "component/execution.h"

namespace {

const std::wstring kFrancais = L"Déjà l'été, où ça ? Œuvre \U0001F600";
// The same text in UTF-8 and UTF-16, written out so that no converter of the library makes them.
const char kFrancaisUtf8[] =
    "D\xC3\xA9j\xC3\xA0 l'\xC3\xA9t\xC3\xA9, o\xC3\xB9 \xC3\xA7""a ? \xC5\x92uvre \xF0\x9F\x98\x80";
const char16_t kFrancaisUtf16[] = u"Déjà l'été, où ça ? Œuvre \U0001F600";

// The machine's allocator as the component sees it, counting each slot and able to refuse. It
// hands out the built-in allocator's blocks, so blocks made before it was installed free safely.
class CAllocateurCompteur final : public IStrMemAlloc {
public:
    int nGetVersion() override { return m_nVersion; }
    int nAlloue(void** pp, int n) override { return nAppel(&m_nAlloue, [&] { return base()->nAlloue(pp, n); }); }
    int nRealloue(void** pp, int n) override { return nAppel(&m_nRealloue, [&] { return base()->nRealloue(pp, n); }); }
    void Libere(void* p) override {
        ++m_nLibere;
        base()->Libere(p);
    }
    int nAlloueAvecFlags(void** pp, int n, unsigned int dw) override {
        return nAppel(&m_nAlloueFlags, [&] { return base()->nAlloueAvecFlags(pp, n, dw); });
    }
    int nRealloueAvecFlags(void** pp, int n, unsigned int dw) override {
        return nAppel(&m_nRealloueFlags, [&] { return base()->nRealloueAvecFlags(pp, n, dw); });
    }

    int nTotal() const { return m_nAlloue + m_nRealloue + m_nAlloueFlags + m_nRealloueFlags + m_nLibere; }

    int m_nVersion = 2;
    int m_nRefus = 0;  // answer of every allocation while not 0
    std::atomic<int> m_nAlloue{0}, m_nRealloue{0}, m_nAlloueFlags{0}, m_nRealloueFlags{0}, m_nLibere{0};

private:
    static IStrMemAlloc* base() { return CBaseStrMem::s_piAllocateurInterne(); }
    template <typename F>
    int nAppel(std::atomic<int>* pn, F&& f) {
        ++*pn;
        return m_nRefus != 0 ? m_nRefus : f();
    }
};

class CountedStrings : public ::testing::Test {
protected:
    void SetUp() override { CInformationModule::ms_piStrMemAlloc = &m_clAlloc; }
    void TearDown() override { CInformationModule::ms_piStrMemAlloc = nullptr; }
    CAllocateurCompteur m_clAlloc;
};

std::wstring sTexte(const CXYString<wchar_t>& cl) { return std::wstring(cl.pszGet(), static_cast<size_t>(cl.nGetLongueur())); }
std::string sOctets(const CXYString<char>& cl) { return std::string(cl.pszGet(), static_cast<size_t>(cl.nGetLongueur())); }
std::string sOctets(const CZKBIN& cl) {
    return std::string(reinterpret_cast<const char*>(cl.pbyGet()), static_cast<size_t>(cl.nGetTaille()));
}

// ---------------------------------------------------------------- sharing and writing

TEST_F(CountedStrings, CopyIsOneCountAndNoAllocation) {
    CXYString<wchar_t> clA(kFrancais.c_str());
    const int nAvant = m_clAlloc.nTotal();
    {
        CXYString<wchar_t> clB(clA);
        CXYString<wchar_t> clC;
        clC = clB;
        EXPECT_EQ(clA.pGetBloc(), clC.pGetBloc());
        EXPECT_EQ(clA.nGetRef(), 3);
    }
    EXPECT_EQ(clA.nGetRef(), 1);
    EXPECT_EQ(m_clAlloc.nTotal(), nAvant);
}

TEST_F(CountedStrings, ConcatOntoSharedBlockLeavesTheOtherHolder) {
    CXYString<wchar_t> clA(L"Noël");
    CXYString<wchar_t> clB(clA);
    ASSERT_EQ(clB.nConcat(L" \U0001F384"), 0);
    EXPECT_EQ(sTexte(clA), L"Noël");
    EXPECT_EQ(sTexte(clB), L"Noël \U0001F384");
    EXPECT_NE(clA.pGetBloc(), clB.pGetBloc());
    EXPECT_EQ(clA.nGetRef(), 1);
    EXPECT_EQ(clB.nGetRef(), 1);
}

TEST_F(CountedStrings, ConcatOnPrivateBlockGrowsInPlaceAndAppendsReallocateRarely) {
    CXYString<char> cl("a");
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(cl.nConcat("b"), 0);
    EXPECT_EQ(cl.nGetLongueur(), 1001);
    EXPECT_EQ(cl.pszGet()[1001], '\0');
    // Capacity grows by half each time: some tens of reallocations, not a thousand.
    EXPECT_LT(m_clAlloc.m_nRealloueFlags.load(), 30);
}

TEST_F(CountedStrings, AssignOfZeroBytesOnSharedBlockDropsOnlyThisReference) {
    CZKBIN clA("\x01\x02\x03", 3);
    CZKBIN clB(clA);
    ASSERT_EQ(clB.nAssign("zz", 0), 0);
    EXPECT_TRUE(clB.bEstNull());
    EXPECT_EQ(clA.nGetRef(), 1);
    EXPECT_EQ(sOctets(clA), std::string("\x01\x02\x03", 3));
}

TEST_F(CountedStrings, AssignReusesAPrivateBlockOfEnoughCapacity) {
    CXYString<wchar_t> cl(L"abcdef");
    void* pBloc = cl.pGetBloc();
    const int nAllocations = m_clAlloc.m_nAlloueFlags;
    ASSERT_EQ(cl.nAffecte(L"xyz"), 0);
    EXPECT_EQ(cl.pGetBloc(), pBloc);
    EXPECT_EQ(m_clAlloc.m_nAlloueFlags, nAllocations);
    EXPECT_EQ(sTexte(cl), L"xyz");
    EXPECT_EQ(cl.pszGet()[3], L'\0');
}

TEST_F(CountedStrings, SourceInsideTheBlockItselfIsReadBeforeItMoves) {
    CXYString<wchar_t> cl(L"été");
    ASSERT_EQ(cl.nConcat(cl.pszGet(), cl.nGetLongueur()), 0);
    EXPECT_EQ(sTexte(cl), L"étéété");
    ASSERT_EQ(cl.nAffecte(cl.pszGet() + 3), 0);
    EXPECT_EQ(sTexte(cl), L"été");
    CZKBIN clB("ab", 2);
    ASSERT_EQ(clB.nRepete(clB, 3), 0);
    EXPECT_EQ(sOctets(clB), "ababab");
}

TEST_F(CountedStrings, WriteBufferOfASharedValueIsPrivate) {
    CXYString<wchar_t> clA(L"abc");
    CXYString<wchar_t> clB(clA);
    wchar_t* psz = clB.pszGetBuffer(5);
    ASSERT_NE(psz, nullptr);
    psz[3] = L'd';
    psz[4] = L'e';
    EXPECT_EQ(sTexte(clB), L"abcde");
    EXPECT_EQ(sTexte(clA), L"abc");
}

TEST_F(CountedStrings, FailedAllocationKeepsTheOldValueExceptForConversions) {
    CXYString<wchar_t> clA(L"garde");
    CXYString<wchar_t> clB(clA);
    m_clAlloc.m_nRefus = 8;
    EXPECT_EQ(clB.nConcat(L" plus"), 8);
    EXPECT_EQ(sTexte(clB), L"garde");
    EXPECT_EQ(clB.nAffecte(L"autre"), 8);
    EXPECT_EQ(sTexte(clB), L"garde");
    EXPECT_EQ(clB.nAffecteUTF8("neuf"), 8);
    EXPECT_TRUE(clB.bEstNull());  // the nAffecte conversions release first
    m_clAlloc.m_nRefus = 0;
    EXPECT_EQ(sTexte(clA), L"garde");
}

TEST_F(CountedStrings, CountsStayExactUnderThreads) {
    CXYString<wchar_t> clPartage(kFrancais.c_str());
    std::vector<std::thread> tabThreads;
    std::atomic<int> nEcarts{0};
    for (int t = 0; t < 4; ++t)
        tabThreads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                CXYString<wchar_t> clCopie(clPartage);
                // A write on a copy never reaches the shared text.
                if (i % 100 == 0) {
                    if (clCopie.nConcat(L"!") != 0 || sTexte(clPartage) != kFrancais) ++nEcarts;
                }
            }
        });
    for (std::thread& th : tabThreads) th.join();
    EXPECT_EQ(nEcarts, 0);
    EXPECT_EQ(clPartage.nGetRef(), 1);
    EXPECT_EQ(sTexte(clPartage), kFrancais);
}

// ---------------------------------------------------------------- limits

TEST_F(CountedStrings, LengthOfExactly0x7fffff00FailsWith0x6c) {
    CZKBIN cl("abc", 3);
    EXPECT_EQ(cl.nSetSize(0x7fffff00), STRMEM_ERREUR_TAILLE);
    EXPECT_EQ(cl.nConcat("x", 0x7fffff00 - 3), STRMEM_ERREUR_TAILLE);
    EXPECT_EQ(cl.nSetMemorySize(0x7fffff00), STRMEM_ERREUR_TAILLE);
    EXPECT_EQ(sOctets(cl), "abc");
    CXYString<wchar_t> clW;
    EXPECT_EQ(clW.pszGetBuffer(0x7fffff00 / 4), nullptr);
    int nCode = 0;
    clW.pszGetBuffer(0x7fffff00 / 4, &nCode);
    EXPECT_EQ(nCode, STRMEM_ERREUR_TAILLE);
    void* p = nullptr;
    EXPECT_EQ(CBaseStrMem::nAllocStrMem(&p, 0x7fffff00), STRMEM_ERREUR_TAILLE);
    EXPECT_EQ(CBaseStrMem::nAllocStrMem(&p, -1), STRMEM_ERREUR_TAILLE);
    EXPECT_EQ(cl.nAssign("x", -2), STRMEM_ERREUR_TAILLE);
    EXPECT_EQ(m_clAlloc.m_nAlloueFlags, 1);  // only the first value was ever allocated
}

// ---------------------------------------------------------------- allocator slots

TEST_F(CountedStrings, AllocatorVersionChoosesPlainOrFlagSlots) {
    struct {
        int nLigne;
        int nVersion;
        bool bFlags;
    } const tab[] = {{__LINE__, 1, false}, {__LINE__, 2, true}, {__LINE__, 3, true}};
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        m_clAlloc.m_nVersion = st.nVersion;
        m_clAlloc.m_nAlloue = m_clAlloc.m_nRealloue = m_clAlloc.m_nAlloueFlags = m_clAlloc.m_nRealloueFlags = 0;
        CXYString<char> cl("x");
        ASSERT_EQ(cl.nConcat("0123456789"), 0);
        EXPECT_EQ(m_clAlloc.m_nAlloue, st.bFlags ? 0 : 1);
        EXPECT_EQ(m_clAlloc.m_nRealloue, st.bFlags ? 0 : 1);
        EXPECT_EQ(m_clAlloc.m_nAlloueFlags, st.bFlags ? 1 : 0);
        EXPECT_EQ(m_clAlloc.m_nRealloueFlags, st.bFlags ? 1 : 0);
    }
}

TEST(CountedStringsWithoutMachine, BuiltInAllocatorLaysOutTheMachinesHeader) {
    ASSERT_EQ(CInformationModule::ms_piStrMemAlloc, nullptr);
    CXYString<wchar_t> cl(L"été");
    const STStrMemHeader* pst = CBaseStrMem::s_pstEntete(cl.pGetBloc());
    EXPECT_EQ(pst->nRef, 1);
    EXPECT_EQ(pst->nLongueur, 12);
    EXPECT_GE(pst->nCapacite, 12);
    EXPECT_EQ(cl.pszGet()[3], L'\0');
}

// ---------------------------------------------------------------- conversions

TEST_F(CountedStrings, FrenchAndBeyondTheBmpRoundTripThroughUtf8Utf16Utf32) {
    CXYString<wchar_t> cl;
    ASSERT_EQ(cl.nAffecteUTF8(kFrancaisUtf8), 0);
    EXPECT_EQ(sTexte(cl), kFrancais);
    ASSERT_EQ(cl.nAffecteUTF16(kFrancaisUtf16), 0);
    EXPECT_EQ(sTexte(cl), kFrancais);
    ASSERT_EQ(cl.nAffecteUTF32(U"Déjà \U0001F600"), 0);
    EXPECT_EQ(sTexte(cl), L"Déjà \U0001F600");
    CXYString<char> clUtf8;
    ASSERT_EQ(CXYString<wchar_t>(kFrancais.c_str()).nAffecteToUTF8(&clUtf8), 0);
    EXPECT_EQ(sOctets(clUtf8), kFrancaisUtf8);
    CXYString<char> clA;
    ASSERT_EQ(clA.nAffecteUTF16(kFrancaisUtf16), 0);
    EXPECT_EQ(sOctets(clA), kFrancaisUtf8);
}

TEST_F(CountedStrings, BadSequencesFailWith0x69AndLeaveNull) {
    struct {
        int nLigne;
        std::string sUtf8;
    } const tab[] = {
        {__LINE__, "\xC3"},              // cut short
        {__LINE__, "a\x80"},             // lone continuation byte
        {__LINE__, "\xC0\xAF"},          // overlong
        {__LINE__, "\xED\xA0\x80"},      // a surrogate encoded
        {__LINE__, "\xF4\x90\x80\x80"},  // past U+10FFFF
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CXYString<wchar_t> cl(L"avant");
        EXPECT_EQ(cl.nAffecteUTF8(st.sUtf8.data(), static_cast<int>(st.sUtf8.size())), STRMEM_ERREUR_CONVERSION);
        EXPECT_TRUE(cl.bEstNull());
        CXYString<char> clA("avant");
        EXPECT_EQ(clA.nAffecteUTF8(st.sUtf8.data(), static_cast<int>(st.sUtf8.size())), STRMEM_ERREUR_CONVERSION);
        EXPECT_TRUE(clA.bEstNull());
    }
    CXYString<wchar_t> cl;
    const char16_t szSeul[] = {u'a', 0xD83D, u'b', 0};
    EXPECT_EQ(cl.nAffecteUTF16(szSeul), STRMEM_ERREUR_CONVERSION);
    const char16_t szBasSeul[] = {0xDE00, 0};
    EXPECT_EQ(cl.nAffecteUTF16(szBasSeul), STRMEM_ERREUR_CONVERSION);
    const char32_t szTrop[] = {0x110000, 0};
    EXPECT_EQ(cl.nAffecteUTF32(szTrop), STRMEM_ERREUR_CONVERSION);
    const wchar_t szSurrogat[] = {L'a', static_cast<wchar_t>(0xD800), 0};
    CXYString<char> clA;
    EXPECT_EQ(CXYString<wchar_t>(szSurrogat).nAffecteToUTF8(&clA), STRMEM_ERREUR_CONVERSION);
}

TEST_F(CountedStrings, CodePageConversionTakesTheDirectTableFor1252) {
    struct {
        int nLigne;
        std::string sOctets;
        unsigned int nCodePage;
        unsigned int dwFlags;
        std::wstring sAttendu;
        int nCode;
    } const tab[] = {
        {__LINE__, "\x80 caf\xE9 \x9C", 1252, 0, L"\u20AC café \u0153", 0},
        {__LINE__, "\x81\x8D\x8F\x90\x9D", 1252, 0, L"\u0081\u008D\u008F\u0090\u009D", 0},
        {__LINE__, "\x80 caf\xE9", 1252, 1, L"\u20AC café", 0},  // flags: through the code-page engine
        {__LINE__, "caf\xC3\xA9", 65001, 0, L"café", 0},
        {__LINE__, "caf\xE9", 65001, 0, L"", STRMEM_ERREUR_CONVERSION},
        {__LINE__, "x", 424242, 0, L"", STRMEM_ERREUR_CONVERSION},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CXYString<wchar_t> cl;
        EXPECT_EQ(cl.__nConversion(st.sOctets.data(), static_cast<int>(st.sOctets.size()), 0, st.nCodePage, st.dwFlags),
                  st.nCode);
        EXPECT_EQ(sTexte(cl), st.sAttendu);
    }
}

TEST_F(CountedStrings, ConversionLengthRules) {
    CXYString<wchar_t> cl(L"avant");
    EXPECT_EQ(cl.__nConversion("abc", -1, 0, 1252, 0), 0);
    EXPECT_EQ(sTexte(cl), L"abc");
    EXPECT_EQ(cl.__nConversion("abc", 0, 0, 1252, 0), 0);
    EXPECT_TRUE(cl.bEstNull());
    EXPECT_EQ(cl.__nConversion("abc", 2, 10, 1252, 0), 0);
    EXPECT_EQ(sTexte(cl), L"ab");
    EXPECT_GE(CBaseStrMem::s_nCapacite(cl.pGetBloc()), 12 * 4);  // room kept for the caller's appends
    CXYString<char> clA;
    EXPECT_EQ(clA.__nConversion(L"€ et œ ☃", -1, 0, 1252, 0, '#'), 0);
    EXPECT_EQ(sOctets(clA), "\x80 et \x9C #");
}

TEST_F(CountedStrings, FreeConversionsAnswerNullAndTheCodeOnFailure) {
    int nCode = -1;
    EXPECT_EQ(sOctets(PCASTR_To_UTF8("caf\xE9", 1252, &nCode)), "caf\xC3\xA9");
    EXPECT_EQ(sOctets(UTF8_To_CAString("caf\xC3\xA9", -1, 1252, &nCode)), "caf\xE9");
    CXYString<char> clUtf8("d\xC3\xA9j\xC3\xA0");
    EXPECT_EQ(CAString_To_UTF8(clUtf8, XYS_CP_UTF8, &nCode).pGetBloc(), clUtf8.pGetBloc());  // shared, not copied
    EXPECT_TRUE(UTF8_To_CWString("\xFF", -1, &nCode).bEstNull());
    EXPECT_EQ(nCode, STRMEM_ERREUR_CONVERSION);
}

// ---------------------------------------------------------------- binary values

TEST_F(CountedStrings, UsefulSizeIsKeptThroughConcatenation) {
    CZKBIN clA("abcd", 4);
    ASSERT_EQ(clA.SetUtilSize(2), 0);
    CZKBIN clB(clA);
    ASSERT_EQ(clB.nConcat("ef", 2), 0);  // shared: rebuilt
    EXPECT_EQ(clB.nGetTailleUtile(), 2);
    EXPECT_EQ(sOctets(clB), "abcdef");
    ASSERT_EQ(clA.nConcat("gh", 2), 0);  // private: in place
    EXPECT_EQ(clA.nGetTailleUtile(), 2);
    EXPECT_EQ(clA.SetUtilSize(clA.nGetCapacite() + 1), STRMEM_ERREUR_TAILLE);
}

TEST_F(CountedStrings, BinaryPiecesAndSearches) {
    CZKBIN cl(std::string("ab\0cd\0ab", 8).data(), 8);
    EXPECT_EQ(cl.nPos("\0c", 2), 2);
    EXPECT_EQ(cl.nPos("ab", 2, 1), 6);
    EXPECT_EQ(cl.nPos("zz", 2), -1);
    EXPECT_TRUE(cl.bCommencePar("ab\0", 3));
    EXPECT_TRUE(cl.bTerminePar("\0ab", 3));
    EXPECT_FALSE(cl.bTerminePar("abab\0cd\0ab", 10));
    EXPECT_TRUE(cl.bContient("cd", 2));
    EXPECT_EQ(sOctets(cl.clMilieu(3, 2)), "cd");
    EXPECT_EQ(sOctets(cl.clMilieu(6)), "ab");
    EXPECT_TRUE(cl.clMilieu(8).bEstNull());
    EXPECT_EQ(cl.clMilieu(0).pGetBloc(), cl.pGetBloc());  // the whole value is shared
    CZKBIN clCopie(cl);
    ASSERT_EQ(clCopie.Remplace(2, 4, CZKBIN("XYZ", 3)), 0);
    EXPECT_EQ(sOctets(clCopie), "abXYZab");
    EXPECT_EQ(sOctets(cl), std::string("ab\0cd\0ab", 8));
    ASSERT_EQ(clCopie.nSetSize(9), 0);
    EXPECT_EQ(sOctets(clCopie), std::string("abXYZab\0\0", 9));
    ASSERT_EQ(clCopie.Tronque(2), 0);
    EXPECT_EQ(sOctets(clCopie), "ab");
}

TEST_F(CountedStrings, BinaryCompareOrdersByBytesThenLength) {
    struct {
        int nLigne;
        std::string sA, sB;
        int nLongueur;  // -1: whole values
        int nSigne;
    } const tab[] = {
        {__LINE__, "abc", "abd", -1, -1}, {__LINE__, "abc", "ab", -1, 1},  {__LINE__, "", "", -1, 0},
        {__LINE__, "\xFF", "\x01", -1, 1}, {__LINE__, "abc", "abd", 2, 0}, {__LINE__, "ab", "abc", 3, -1},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        CZKBIN clA(st.sA.data(), static_cast<int>(st.sA.size())), clB(st.sB.data(), static_cast<int>(st.sB.size()));
        const int n = st.nLongueur < 0 ? CZKBIN::nCompare(clA, clB) : CZKBIN::nCompare(clA, clB, st.nLongueur);
        EXPECT_EQ((n > 0) - (n < 0), st.nSigne);
    }
}

TEST_F(CountedStrings, BinaryAssemblyKeepsTheOldValueOnFailure) {
    CZKBIN cl("a", 1);
    ASSERT_EQ(cl.nConcatSeparateur(CZKBIN(";", 1), CZKBIN("b", 1)), 0);
    EXPECT_EQ(sOctets(cl), "a;b");
    CZKBIN clVide;
    ASSERT_EQ(clVide.nConcatSeparateur(CZKBIN(";", 1), CZKBIN("b", 1)), 0);
    EXPECT_EQ(sOctets(clVide), "b");
    ASSERT_EQ(cl.nConcatInit(CZKBIN("x", 1), CZKBIN("y", 1)), 0);
    EXPECT_EQ(sOctets(cl), "xy");
    const CZKBIN clMotif("ab", 2);
    m_clAlloc.m_nRefus = 8;
    EXPECT_EQ(cl.nRepete(clMotif, 3), 8);
    EXPECT_EQ(cl.Remplace(0, 1, CZKBIN()), 8);
    EXPECT_EQ(cl.nAssignInit("q", 1), 8);
    m_clAlloc.m_nRefus = 0;
    EXPECT_EQ(sOctets(cl), "xy");
    CZKBIN clPris;
    clPris.Take(&cl);
    EXPECT_TRUE(cl.bEstNull());
    EXPECT_EQ(sOctets(clPris), "xy");
}

TEST_F(CountedStrings, BinaryTextChangesWidth) {
    CZKBIN cl(kFrancaisUtf8, static_cast<int>(std::strlen(kFrancaisUtf8)));
    ASSERT_EQ(cl.nAffecteToUNICODE(XYS_CP_UTF8), 0);
    ASSERT_EQ(cl.nGetTaille(), static_cast<int>(kFrancais.size() * sizeof(wchar_t)));
    EXPECT_EQ(std::memcmp(cl.pbyGet(), kFrancais.data(), kFrancais.size() * sizeof(wchar_t)), 0);
    ASSERT_EQ(cl.nAffecteToANSI(XYS_CP_UTF8), 0);
    EXPECT_EQ(sOctets(cl), kFrancaisUtf8);
    CZKBIN clImpair("abc", 3);
    EXPECT_EQ(clImpair.nAffecteToANSI(), STRMEM_ERREUR_CONVERSION);
}

// ---------------------------------------------------------------- the machine's record

TEST_F(CountedStrings, ManipRecordSizesFollowTheType) {
    CXYString<char> clA("été");  // 5 bytes of UTF-8
    CXYString<wchar_t> clW(L"été");
    CZKBIN clB("\x00\x01\x02", 3);
    struct {
        int nLigne;
        void* pBloc;
        uint16_t nType;
        int nContenu, nUtile, nLongueur;
        bool bPointeurStocke;
    } const tab[] = {
        {__LINE__, clA.pGetBloc(), 0x13, 6, 5, 5, true},
        {__LINE__, nullptr, 0x13, 1, 0, 0, true},
        {__LINE__, clW.pGetBloc(), 0x10, 16, 12, 3, true},
        {__LINE__, nullptr, 0x10, 4, 0, 0, true},
        {__LINE__, clB.pGetBloc(), 0x1c, 3, 3, 3, true},
        {__LINE__, nullptr, 0x1c, 0, 0, 0, true},
        {__LINE__, clW.pGetBloc(), 0x08, 0, 0, 0, false},
    };
    for (const auto& st : tab) {
        SCOPED_TRACE(st.nLigne);
        const STManipAUB stM{st.pBloc, st.nType};
        int nTaille = -1;
        const uint8_t* p = stM.pbyGetContenu(&nTaille);
        EXPECT_EQ(nTaille, st.nContenu);
        EXPECT_EQ(p, st.bPointeurStocke ? st.pBloc : static_cast<const void*>(CBaseStrMem::ChaineVide));
        stM.pbyGetContenuUtile(&nTaille);
        EXPECT_EQ(nTaille, st.nUtile);
        EXPECT_EQ(stM.nGetLongueur(), st.nLongueur);
        EXPECT_EQ(stM.nGetTailleUtile(), st.nUtile);
    }
}

TEST_F(CountedStrings, ManipRecordOfTheOtherWidthConvertsOrAnswersEmpty) {
    CXYString<wchar_t> clW(kFrancais.c_str());
    CXYString<char> clTamponA;
    CXYString<wchar_t> clTamponW;
    const STManipAUB stW{clW.pGetBloc(), 0x10};
    EXPECT_EQ(stW.pszGetStringW(&clTamponW), clW.pszGet());  // its own width: no copy
    EXPECT_STREQ(stW.pszGetStringA(&clTamponA, 1252), "D\xE9j\xE0 l'\xE9t\xE9, o\xF9 \xE7""a ? \x8Cuvre ?");
    CXYString<char> clMauvais("\xFF\xFE");
    const STManipAUB stMauvais{clMauvais.pGetBloc(), 0x13};
    int nCode = 0;
    EXPECT_EQ(stMauvais.pszGetStringW(&clTamponW, XYS_CP_UTF8, &nCode), CBaseStrMem::ChaineVide);
    EXPECT_EQ(nCode, STRMEM_ERREUR_CONVERSION);
}

}  // namespace
