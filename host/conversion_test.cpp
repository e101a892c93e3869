// The machine's conversions between type codes, checked through variants built the way the
// machine hands them over, and the blocks they allocate all given back.
#include "host/conversion.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/vm.h"

namespace ovhost {
namespace {

CStrMemAllocator& allocateur() { return CMachineServices::s_Instance().clAllocator(); }

CValue Money(const wchar_t* psz) {
    CValue v;
    v.eKind = EValueKind::Money;
    v.sText = psz;
    return v;
}

CValue Ansi(const char* psz) { return CValue::Ansi(psz); }

std::string sDecrit(const CValue& v) {
    switch (v.eKind) {
        case EValueKind::Null: return "null";
        case EValueKind::Bool: return "bool " + std::to_string(v.nInteger);
        case EValueKind::Int: return "int " + std::to_string(v.nInteger);
        case EValueKind::Int64: return "int64 " + std::to_string(v.nInteger);
        case EValueKind::Real: return "real " + std::to_string(v.dReal);
        case EValueKind::Money: return "money " + std::string(v.sText.begin(), v.sText.end());
        case EValueKind::Ansi: return "ansi " + v.sBytes;
        case EValueKind::Buffer: return "buffer " + v.sBytes;
        default: {
            std::string s = "text ";
            for (wchar_t c : v.sText) s += c < 128 ? std::string(1, static_cast<char>(c)) : "\\u" + std::to_string(c);
            return s;
        }
    }
}

// Converts a value as a variant payload to a type code; the result read back from the target.
int nConvertit(const CValue& clSource, int nCible, CValue* pclResultat) {
    STAnyView stSource{};
    EXPECT_TRUE(bFillAnyView(clSource, &stSource));
    alignas(16) unsigned char abyCible[ANY_TAILLE_VALEUR] = {};
    const int n = nConversionDepassementExt(stSource.abyValeur, stSource.wType & 0xff, abyCible, nCible, 0, nullptr);
    if (n < 100) {
        STAnyView stCible{};
        stCible.wType = static_cast<uint16_t>(nCible);
        std::memcpy(stCible.abyValeur, abyCible, sizeof abyCible);
        std::string sNote;
        EXPECT_TRUE(bReadAnyView(&stCible, pclResultat, &sNote)) << sNote;
        FinConversion(abyCible, nCible);
    }
    ReleaseAnyView(&stSource);
    return n;
}

TEST(MachineConversion, ConvertsBetweenNumbersTextsAndMoney) {
    struct {
        int nLine;
        CValue clSource;
        int nCible;
        int nAttendu;
        std::string sResultat;
    } const tabCas[] = {
        {__LINE__, CValue::Int(42), 0x0c, 0, "real 42.000000"},
        {__LINE__, CValue::Real(2.75), 0x08, 0, "int 2"},
        {__LINE__, CValue::Real(-2.75), 0x08, 0, "int -2"},
        {__LINE__, CValue::Real(3e10), 0x08, 0x73, ""},
        {__LINE__, CValue::Real(3e10), 0x09, 0, "int64 30000000000"},
        {__LINE__, CValue::Int64(5000000000), 0x08, 0x73, ""},
        {__LINE__, CValue::Int(-1), 0x02, 0x73, ""},
        {__LINE__, CValue::Int(255), 0x02, 0, "int 255"},
        {__LINE__, CValue::Text(L"  3.75 "), 0x0c, 0, "real 3.750000"},
        {__LINE__, CValue::Text(L"3,5"), 0x0c, 0, "real 3.500000"},
        {__LINE__, CValue::Text(L"-1e3"), 0x08, 0, "int -1000"},
        {__LINE__, CValue::Text(L"12"), 0x09, 0, "int64 12"},
        {__LINE__, CValue::Text(L""), 0x08, 0, "int 0"},
        {__LINE__, CValue::Text(L"été"), 0x0c, 0x69, ""},
        {__LINE__, CValue::Text(L"3 4"), 0x08, 0x69, ""},
        {__LINE__, CValue::Int(7), 0x10, 0, "text 7"},
        {__LINE__, CValue::Real(2.5), 0x10, 0, "text 2.5"},
        {__LINE__, CValue::Real(3.0), 0x10, 0, "text 3"},
        {__LINE__, CValue::Bool(true), 0x10, 0, "text 1"},
        {__LINE__, Money(L"12.50"), 0x10, 0, "text 12.5"},
        {__LINE__, Money(L"-0.000001"), 0x10, 0, "text -0.000001"},
        {__LINE__, Money(L"12.5"), 0x0c, 0, "real 12.500000"},
        {__LINE__, Money(L"-1.5"), 0x08, 0, "int -1"},
        {__LINE__, CValue::Int(3), 0x0a, 0, "money 3"},
        {__LINE__, CValue::Text(L"0.1234567"), 0x0a, 0, "money 0.123456"},
        {__LINE__, CValue::Real(0.1), 0x0a, 0, "money 0.1"},
        {__LINE__, CValue::Real(1e300), 0x0a, 0x73, ""},
        {__LINE__, CValue::Text(L"604462909807314587.353087"), 0x0a, 0, "money 604462909807314587.353087"},
        {__LINE__, CValue::Text(L"604462909807314588"), 0x0a, 0x73, ""},
        {__LINE__, Ansi("No\xc3\xabl"), 0x10, 0, "text No\\u235l"},
        {__LINE__, Ansi("42"), 0x08, 0, "int 42"},
        {__LINE__, CValue::Text(L"D\u00e9j\u00e0 \U0001F600"), 0x13, 0, "ansi D\xc3\xa9j\xc3\xa0 \xf0\x9f\x98\x80"},
        {__LINE__, CValue::Text(L"\U0001F600"), 0x6e, 0, "text \\u128512"},
        {__LINE__, CValue::Null(), 0x08, 0, "int 0"},
        {__LINE__, CValue::Buffer("\x01\x02"), 0x08, 0x69, ""},
        {__LINE__, CValue::Int(1), 0x53, 0x69, ""},
    };
    const int64_t nVivants = allocateur().nLiveBlocks();
    for (const auto& st : tabCas) {
        CValue clResultat;
        EXPECT_EQ(nConvertit(st.clSource, st.nCible, &clResultat), st.nAttendu) << "line " << st.nLine;
        if (st.nAttendu == 0) {
            EXPECT_EQ(sDecrit(clResultat), st.sResultat) << "line " << st.nLine;
        }
    }
    EXPECT_EQ(allocateur().nLiveBlocks(), nVivants) << "every block of a conversion is given back";
    EXPECT_EQ(allocateur().nRejectedFrees(), 0);
}

TEST(MachineConversion, ReadsFixedTextsAndOwnedPointersAsSources) {
    alignas(16) unsigned char abySource[ANY_TAILLE_VALEUR] = {};
    std::memcpy(abySource, L"20240229", 8 * sizeof(wchar_t));
    alignas(16) unsigned char abyCible[ANY_TAILLE_VALEUR] = {};
    ASSERT_EQ(nConversionDepassementExt(abySource, 0x18, abyCible, 0x08, 0, nullptr), 0);
    int32_t n = 0;
    std::memcpy(&n, abyCible, sizeof n);
    EXPECT_EQ(n, 20240229);
    const wchar_t* psz = L"-17";
    std::memcpy(abySource, &psz, sizeof psz);
    ASSERT_EQ(nConversionDepassementExt(abySource, 0x6e, abyCible, 0x08, 1, nullptr), 0);
    std::memcpy(&n, abyCible, sizeof n);
    EXPECT_EQ(n, -17);
    EXPECT_EQ(nConversionDepassementExt(nullptr, 0x08, abyCible, 0x0c, 0, nullptr), 0x69);
}

TEST(MachineVariant, FillsAndReadsBackEveryKindItTakes) {
    const CValue tabValeurs[] = {
        CValue::Bool(true), CValue::Int(-5), CValue::Int64(1LL << 40), CValue::Real(-0.25), Money(L"-7.25"),
        CValue::Text(L"Noël à Paris \U0001F384"), CValue::Text(L""), Ansi("caf\xc3\xa9"), CValue::Buffer(std::string("\0\xff", 2)),
    };
    const int64_t nVivants = allocateur().nLiveBlocks();
    for (const CValue& cl : tabValeurs) {
        STAnyView st{};
        st.pvOperations = &st;  // whatever was there goes: the component attaches its own
        ASSERT_TRUE(bFillAnyView(cl, &st)) << sDecrit(cl);
        EXPECT_EQ(st.pvOperations, nullptr);
        CValue clLu;
        ASSERT_TRUE(bReadAnyView(&st, &clLu, nullptr));
        EXPECT_EQ(sDecrit(clLu), sDecrit(cl));
        ReleaseAnyView(&st);
        EXPECT_EQ(st.wType, 0);
    }
    EXPECT_EQ(allocateur().nLiveBlocks(), nVivants);

    STAnyView st{};
    ASSERT_TRUE(bFillAnyView(CValue::Null(), &st));
    EXPECT_EQ(st.wType, ANY_MARQUE_NULL);
    CValue clDateHeure;
    clDateHeure.eKind = EValueKind::DateTime;
    clDateHeure.sText = L"20240229123456789";
    ASSERT_TRUE(bFillAnyView(clDateHeure, &st));
    EXPECT_EQ(st.wType, 0x1a);
    uint32_t anMots[2];
    std::memcpy(anMots, st.abyValeur, sizeof anMots);
    EXPECT_EQ(anMots[0], (2024u << 16) | (2u << 8) | 29u);
    EXPECT_EQ(anMots[1], 12u * 3600000 + 34u * 60000 + 56u * 1000 + 789u);
    CValue clMultiple;
    clMultiple.eKind = EValueKind::Multiple;
    EXPECT_FALSE(bFillAnyView(clMultiple, &st));
    st.wType = 0x53;
    std::string sNote;
    EXPECT_FALSE(bReadAnyView(&st, &clDateHeure, &sNote));
    EXPECT_NE(sNote.find("0x53"), std::string::npos);
}

TEST(MachineVariant, HandsOutAFactoryOfDecimalsOnly) {
    EXPECT_EQ(pQueryProxy(60), nullptr);
    auto* pi = static_cast<IVMFactory*>(pQueryProxy(ANY_PROXY_FABRIQUE));
    ASSERT_NE(pi, nullptr);
    void* p = pi->pCreeDecimal();
    ASSERT_NE(p, nullptr);
    const unsigned char abyZero[ANY_TAILLE_DECIMAL] = {};
    EXPECT_EQ(std::memcmp(p, abyZero, sizeof abyZero), 0);
    pi->LibereDecimal(p);
}

TEST(MachineVariant, ReleasesADecimalTheComponentLeftInIt) {
    // A by-reference variant may come back holding a decimal of the machine's factory; the
    // machine's release gives it back (a sanitizer build reports the leak otherwise).
    auto* pi = static_cast<IVMFactory*>(pQueryProxy(ANY_PROXY_FABRIQUE));
    ASSERT_NE(pi, nullptr);
    STAnyView st{};
    st.wType = 0x0d;
    void* pDecimal = pi->pCreeDecimal();
    std::memcpy(st.abyValeur, &pDecimal, sizeof pDecimal);
    ReleaseAnyView(&st);
    EXPECT_EQ(st.wType, 0);
    void* pReste = nullptr;
    std::memcpy(&pReste, st.abyValeur, sizeof pReste);
    EXPECT_EQ(pReste, nullptr);
}

TEST(MachineResults, ReadsAVariantResultAsTheValueItHolds) {
    struct {
        int nLine;
        CValue clPousse;
        std::string sLu;
    } const tabCas[] = {
        {__LINE__, CValue::Text(L"Noël \U0001F600"), "text No\\u235l \\u128512"},
        {__LINE__, Money(L"-7.25"), "money -7.25"},
        {__LINE__, CValue::Int64(-(1LL << 40)), "int64 -1099511627776"},
        {__LINE__, CValue::Buffer(std::string("\0\x01", 2)), std::string("buffer \0\x01", 9)},
        {__LINE__, CValue::Null(), "null"},
    };
    for (const auto& st : tabCas) {
        STAnyView stVue{};
        ASSERT_TRUE(bFillAnyView(st.clPousse, &stVue)) << "line " << st.nLine;
        CValue cl = CValue::Int(99);
        std::string sNote;
        ReadPushedValue(&stVue, 0x1f, &cl, &sNote);
        EXPECT_EQ(sDecrit(cl), st.sLu) << "line " << st.nLine;
        EXPECT_EQ(sNote, "") << "line " << st.nLine;
        ReleaseAnyView(&stVue);
    }
    STAnyView stInconnu{};
    stInconnu.wType = 0x53;
    CValue cl = CValue::Int(99);
    std::string sNote;
    ReadPushedValue(&stInconnu, 0x1f, &cl, &sNote);
    EXPECT_EQ(cl.eKind, EValueKind::Null);
    EXPECT_NE(sNote.find("0x53"), std::string::npos) << sNote;
}

TEST(MachineMoney, ArgumentsResultsAndVariantsShareOneExactText) {
    // The same ten bytes whichever way they cross: as a pushed result, as a variant, as text.
    const wchar_t* const tabTextes[] = {L"0", L"12.5", L"-0.000001", L"-604462909807314587.353088",
                                        L"604462909807314587.353087"};
    for (const wchar_t* psz : tabTextes) {
        STMoneyView stMonnaie{};
        ASSERT_TRUE(bMoneyFromText(psz, &stMonnaie)) << "text " << sDecrit(CValue::Text(psz));
        EXPECT_EQ(sMoneyText(stMonnaie), psz);
        CValue clPousse;
        ReadPushedValue(&stMonnaie, 0x0a, &clPousse, nullptr);
        STAnyView stVue{};
        ASSERT_TRUE(bFillAnyView(clPousse, &stVue));
        EXPECT_EQ(std::memcmp(stVue.abyValeur, &stMonnaie, sizeof stMonnaie), 0) << sDecrit(clPousse);
    }
    // The language's wider forms of a number convert to money, but are no money text themselves.
    CValue clResultat;
    EXPECT_EQ(nConvertit(CValue::Text(L"12,5"), 0x0a, &clResultat), 0);
    EXPECT_EQ(sDecrit(clResultat), "money 12.5");
    STMoneyView stMonnaie{};
    EXPECT_FALSE(bMoneyFromText(L"12,5", &stMonnaie));
    STAnyView stVue{};
    EXPECT_FALSE(bFillAnyView(Money(L"1e3"), &stVue));
}

}  // namespace
}  // namespace ovhost
