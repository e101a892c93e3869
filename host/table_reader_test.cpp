// The table reader on small synthetic tables laid out byte by byte here, well formed and then
// broken one field at a time; and the name service that reads the same rows.
#include "host/table_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "component/interfaces/type_codes.h"
#include "host/vm.h"

namespace ovhost {
namespace {

int ThunkA(STZKAppel*, void*, void**) { return 0; }
int ThunkB(STZKAppel*, void*, void**) { return 1; }

template <class T>
void Put(std::vector<uint8_t>& tab, size_t nOffset, T v) {
    std::memcpy(tab.data() + nOffset, &v, sizeof v);
}

template <class T>
void PutPointer(std::vector<uint8_t>& tab, size_t nOffset, const T* p) {
    Put<intptr_t>(tab, nOffset, reinterpret_cast<intptr_t>(p));
}

// A little library's tables: three functions, four constants, two variables, one class with two
// properties, two type references. Name numbers run over functions, constants, variables, the
// class and its properties, as in the real tables.
struct CFakeTables {
    std::vector<uint8_t> byNames, byFunctions, byOverloads, bySignatures, byConstants, byVariables, byClass,
        byProperties;
    std::vector<std::string> tabTypeRefTexts{"+:008:0:STD:Processus", "+:008:1:STD:InfoVersion"};
    std::vector<const char*> tabTypeRefs;
    std::vector<const void*> tabClassPointers;
    std::wstring sTexteConstante = L"Été à Noël \U0001F600";
    std::vector<std::wstring> tabHelpTexts{L"", L"", L""};
    intptr_t nLibrary = 8;
    intptr_t nFunctionCount = 3;
    std::vector<std::string> tabNames{"EstPair", "Max", "fOuvre", "kDeux", "kMoins", "kGrand", "kTexte", "kRien",
                                      "gsVar", "gnVar", "Processus", "Executable", "PID"};

    CFakeTables() { Build(); }

    void Build() {
        // Names block.
        byNames.assign(4, 0);
        Put<uint32_t>(byNames, 0, static_cast<uint32_t>(tabNames.size()));
        for (const std::string& s : tabNames) {
            byNames.push_back(static_cast<uint8_t>(s.size()));
            byNames.insert(byNames.end(), s.begin(), s.end());
        }
        // Signatures, unaligned one after the other: (int) -> bool; (real...) -> real;
        // (manip|0x8000, int) -> int; () -> typed object 2.
        const std::vector<std::vector<uint32_t>> tabSigs = {
            {ovtype::BOOL, ovtype::INT},
            {ovtype::REAL, ovtype::REAL},
            {ovtype::INT, ovtype::MANIP | ovtype::FLAG_MACHINE_MARK, ovtype::INT | ovtype::FLAG_BY_REFERENCE},
            {ovtype::TYPED_OBJECT | (2u << ovtype::TYPEREF_SHIFT)},
        };
        bySignatures.clear();
        std::vector<size_t> tabSigOffsets;
        for (const auto& tab : tabSigs) {
            tabSigOffsets.push_back(bySignatures.size());
            for (uint32_t dw : tab) {
                const size_t n = bySignatures.size();
                bySignatures.resize(n + 4);
                Put<uint32_t>(bySignatures, n, dw);
            }
            bySignatures.push_back(0);
        }
        // Overloads: EstPair 1, Max 1 variadic, fOuvre 2 (the second with no body and bit 25).
        byOverloads.assign(4 * kOverloadRecordSize, 0);
        auto overload = [&](size_t k, PFNTHUNK pfn, uint32_t dwFlags, size_t nSig, uint32_t dwArgs) {
            const size_t o = k * kOverloadRecordSize;
            Put<intptr_t>(byOverloads, o, reinterpret_cast<intptr_t>(pfn));
            Put<uint32_t>(byOverloads, o + 8, dwFlags);
            PutPointer(byOverloads, o + 16, bySignatures.data() + tabSigOffsets[nSig]);
            Put<uint32_t>(byOverloads, o + 24, dwArgs);
        };
        overload(0, &ThunkA, 0, 0, 1);
        overload(1, &ThunkB, 0, 1, 1 | ovtype::ARGS_VARIADIC);
        overload(2, &ThunkA, 0, 2, 2);
        overload(3, nullptr, 1u << 25, 3, 0);
        // Function rows.
        byFunctions.assign(3 * kFunctionRowSize, 0);
        auto function = [&](size_t r, uint32_t nName, uint16_t nIndex, uint32_t dwAvail, uint8_t nOv, size_t nFirstOv) {
            const size_t o = r * kFunctionRowSize;
            Put<uint32_t>(byFunctions, o, nName);
            Put<uint32_t>(byFunctions, o + 24, dwAvail);
            Put<uint32_t>(byFunctions, o + 28, 1);
            Put<uint16_t>(byFunctions, o + 32, nIndex);
            byFunctions[o + 34] = 8;
            byFunctions[o + 35] = nOv;
            PutPointer(byFunctions, o + 40, byOverloads.data() + nFirstOv * kOverloadRecordSize);
        };
        function(0, 1, 0, 0xc1010000, 1, 0);
        function(1, 2, 1, 0xc1028200, 1, 1);
        function(2, 3, 2, 0xc1028000, 2, 2);
        // Constants: int, negative int, a value past 32 bits, a text, a zero-type.
        byConstants.assign(5 * kConstantRowSize, 0);
        auto constant = [&](size_t r, uint32_t nName, uint64_t nStable, uint8_t nType, int64_t nValue) {
            const size_t o = r * kConstantRowSize;
            Put<uint32_t>(byConstants, o, nName);
            Put<uint64_t>(byConstants, o + 8, nStable);
            Put<int64_t>(byConstants, o + 32, nValue);
            byConstants[o + 40] = 8;
            byConstants[o + 41] = nType;
        };
        constant(0, 4, 101, ovtype::INT, 2);
        constant(1, 5, 102, ovtype::INT, -1);
        constant(2, 6, 103, ovtype::INT, 0x100000000LL);
        constant(3, 7, 104, ovtype::TEXT, reinterpret_cast<intptr_t>(sTexteConstante.c_str()));
        constant(4, 8, 105, ovtype::VOID, 0);
        // Variables.
        byVariables.assign(2 * kVariableRowSize, 0);
        auto variable = [&](size_t r, uint32_t nName, uint16_t nIndex, uint8_t nType) {
            const size_t o = r * kVariableRowSize;
            Put<uint32_t>(byVariables, o, nName);
            Put<uint16_t>(byVariables, o + 32, nIndex);
            byVariables[o + 34] = 8;
            byVariables[o + 35] = nType;
        };
        variable(0, 9, 0x27, ovtype::STRING);
        variable(1, 10, 0x36, ovtype::INT);
        // Type references.
        tabTypeRefs.clear();
        for (const std::string& s : tabTypeRefTexts) tabTypeRefs.push_back(s.c_str());
        // The class and its properties: Executable read-write, PID read with a force-setter.
        byProperties.assign(2 * kPropertyRowSize, 0);
        auto property = [&](size_t r, uint32_t nName, uint32_t dwId, uint64_t nMark, uint32_t nType, PFNTHUNK pfnGet,
                            PFNTHUNK pfnSet, PFNTHUNK pfnForce, uint32_t dwFlags) {
            const size_t o = r * kPropertyRowSize;
            Put<uint32_t>(byProperties, o, nName);
            Put<uint32_t>(byProperties, o + 4, dwId);
            Put<uint64_t>(byProperties, o + 24, nMark);
            Put<uint32_t>(byProperties, o + 32, nType);
            Put<intptr_t>(byProperties, o + 40, reinterpret_cast<intptr_t>(pfnGet));
            Put<intptr_t>(byProperties, o + 56, reinterpret_cast<intptr_t>(pfnSet));
            Put<intptr_t>(byProperties, o + 64, reinterpret_cast<intptr_t>(pfnForce));
            Put<uint32_t>(byProperties, o + 72, dwFlags);
        };
        property(0, 12, 0x11, kPropertyMark, ovtype::WTEXT, &ThunkA, &ThunkB, nullptr, 0x202);
        property(1, 13, 0x12, kPropertyMark | 1, ovtype::INT, &ThunkA, nullptr, &ThunkB, 0x2);
        byClass.assign(kClassDescriptorSize, 0);
        Put<uint32_t>(byClass, 0, 11);
        PutPointer(byClass, 24, tabTypeRefs[0]);
        Put<uint64_t>(byClass, 32, kPropertyMark);
        Put<uint64_t>(byClass, 40, 2);
        Put<intptr_t>(byClass, 48, reinterpret_cast<intptr_t>(&ThunkA));
        Put<uint64_t>(byClass, 136, 2);
        PutPointer(byClass, 144, byProperties.data());
        tabClassPointers = {byClass.data()};
    }

    intptr_t nInfo(unsigned int nSelecteur, unsigned long nIndex) const {
        switch (nSelecteur) {
            case INFO_LIBRARY_NUMBER: return nLibrary;
            case INFO_HELP:
            case INFO_DESCRIPTION:
                return nIndex < tabHelpTexts.size() ? reinterpret_cast<intptr_t>(tabHelpTexts[nIndex].c_str()) : 0;
            case INFO_CONSTANTS: return reinterpret_cast<intptr_t>(byConstants.data());
            case INFO_CONSTANT_COUNT: return static_cast<intptr_t>(byConstants.size() / kConstantRowSize);
            case INFO_VARIABLES: return reinterpret_cast<intptr_t>(byVariables.data());
            case INFO_VARIABLE_COUNT: return static_cast<intptr_t>(byVariables.size() / kVariableRowSize);
            case INFO_CLASSES: return reinterpret_cast<intptr_t>(tabClassPointers.data());
            case INFO_CLASS_COUNT: return static_cast<intptr_t>(tabClassPointers.size());
            case INFO_TYPE_REFERENCES: return reinterpret_cast<intptr_t>(tabTypeRefs.data());
            case INFO_TYPE_REFERENCE_COUNT: return static_cast<intptr_t>(tabTypeRefs.size());
            case INFO_FUNCTIONS: return reinterpret_cast<intptr_t>(byFunctions.data());
            case INFO_FUNCTION_COUNT: return nFunctionCount;
            case INFO_NAME_BLOCK: return reinterpret_cast<intptr_t>(byNames.data());
            case INFO_NAME_BLOCK_SIZE: return static_cast<intptr_t>(byNames.size());
            default: return 0;
        }
    }

    // The ranges a loaded library would cover: every buffer, and the two thunks as code.
    CMemoryMap clBoundedMap() const {
        CMemoryMap cl;
        for (const std::vector<uint8_t>* p :
             {&byNames, &byFunctions, &byOverloads, &bySignatures, &byConstants, &byVariables, &byClass, &byProperties})
            cl.AddRange(p->data(), p->size(), false);
        for (const std::string& s : tabTypeRefTexts) cl.AddRange(s.c_str(), s.size() + 1, false);
        cl.AddRange(tabTypeRefs.data(), tabTypeRefs.size() * sizeof(void*), false);
        cl.AddRange(tabClassPointers.data(), tabClassPointers.size() * sizeof(void*), false);
        cl.AddRange(sTexteConstante.c_str(), (sTexteConstante.size() + 1) * sizeof(wchar_t), false);
        for (const std::wstring& s : tabHelpTexts) cl.AddRange(s.c_str(), (s.size() + 1) * sizeof(wchar_t), false);
        cl.AddRange(reinterpret_cast<const void*>(&ThunkA), 1, true);
        cl.AddRange(reinterpret_cast<const void*>(&ThunkB), 1, true);
        return cl;
    }

    bool bRead(STComponentTables* pst, std::string* psError, const CMemoryMap* pclMap = nullptr) const {
        CMemoryMap clAll;
        clAll.SetUnbounded(true);
        CTableReader cl([this](unsigned int n, unsigned long i) { return nInfo(n, i); }, pclMap ? *pclMap : clAll);
        return cl.bRead(pst, psError);
    }
};

TEST(TableReader, ReadsFunctionRowsWithTheirOverloadsAndSignatures) {
    CFakeTables cl;
    STComponentTables st;
    std::string sError;
    ASSERT_TRUE(cl.bRead(&st, &sError, nullptr)) << sError;
    ASSERT_EQ(st.tabFunctions.size(), 3u);

    const STFunctionInfo& stPair = st.tabFunctions[0];
    EXPECT_EQ(stPair.sName, "EstPair");
    EXPECT_EQ(stPair.nNameNumber, 1u);
    EXPECT_EQ(stPair.dwAvailability, 0xc1010000u);
    ASSERT_EQ(stPair.tabOverloads.size(), 1u);
    EXPECT_EQ(stPair.tabOverloads[0].dwResult, ovtype::BOOL);
    EXPECT_EQ(stPair.tabOverloads[0].tabArguments, std::vector<uint32_t>{ovtype::INT});
    EXPECT_EQ(st.tabThunks[0][0], &ThunkA);

    const STFunctionInfo& stMax = st.tabFunctions[1];
    EXPECT_TRUE(stMax.tabOverloads[0].bVariadic);
    EXPECT_EQ(stMax.tabOverloads[0].dwArgumentWord, 0x81u);
    EXPECT_EQ(st.tabThunks[1][0], &ThunkB);

    const STFunctionInfo& stOuvre = st.tabFunctions[2];
    ASSERT_EQ(stOuvre.tabOverloads.size(), 2u);
    EXPECT_EQ(stOuvre.tabOverloads[0].tabArguments,
              (std::vector<uint32_t>{ovtype::MANIP | ovtype::FLAG_MACHINE_MARK, ovtype::INT | ovtype::FLAG_BY_REFERENCE}));
    EXPECT_TRUE(stOuvre.tabOverloads[0].bHasBody);
    EXPECT_FALSE(stOuvre.tabOverloads[1].bHasBody);
    EXPECT_EQ(stOuvre.tabOverloads[1].dwFlags, 1u << 25);
    EXPECT_EQ(stOuvre.tabOverloads[1].dwResult, ovtype::TYPED_OBJECT | (2u << ovtype::TYPEREF_SHIFT));
    EXPECT_TRUE(stOuvre.tabOverloads[1].tabArguments.empty());
    EXPECT_EQ(st.tabThunks[2][1], nullptr);
    EXPECT_TRUE(stOuvre.bHasBody());
}

TEST(TableReader, ReadsConstantsOfEveryKindWithWideTextIntact) {
    CFakeTables cl;
    STComponentTables st;
    std::string sError;
    ASSERT_TRUE(cl.bRead(&st, &sError)) << sError;
    ASSERT_EQ(st.tabConstants.size(), 5u);
    EXPECT_EQ(st.tabConstants[0].sName, "kDeux");
    EXPECT_EQ(st.tabConstants[0].nStableNumber, 101u);
    EXPECT_EQ(st.tabConstants[0].clValue.eKind, EValueKind::Int);
    EXPECT_EQ(st.tabConstants[0].clValue.nInteger, 2);
    EXPECT_EQ(st.tabConstants[1].clValue.nInteger, -1);
    EXPECT_EQ(st.tabConstants[2].clValue.eKind, EValueKind::Int64);
    EXPECT_EQ(st.tabConstants[2].clValue.nInteger, 0x100000000LL);
    EXPECT_EQ(st.tabConstants[3].clValue.eKind, EValueKind::Text);
    EXPECT_EQ(st.tabConstants[3].clValue.sText, L"Été à Noël \U0001F600");
    EXPECT_EQ(st.tabConstants[4].nTypeCode, ovtype::VOID);
    EXPECT_EQ(st.tabConstants[4].clValue.nInteger, 0);
}

TEST(TableReader, ReadsVariablesClassTypeReferencesAndHelpTexts) {
    CFakeTables cl;
    STComponentTables st;
    std::string sError;
    ASSERT_TRUE(cl.bRead(&st, &sError)) << sError;
    ASSERT_EQ(st.tabVariables.size(), 2u);
    EXPECT_EQ(st.tabVariables[0].sName, "gsVar");
    EXPECT_EQ(st.tabVariables[0].nIndex, 0x27);
    EXPECT_EQ(st.tabVariables[1].nTypeCode, ovtype::INT);
    EXPECT_EQ(st.tabTypeReferences, cl.tabTypeRefTexts);
    ASSERT_EQ(st.tabClasses.size(), 1u);
    EXPECT_EQ(st.tabClasses[0].sName, "Processus");
    EXPECT_EQ(st.tabClasses[0].sTypeReference, "+:008:0:STD:Processus");
    ASSERT_EQ(st.tabClasses[0].tabProperties.size(), 2u);
    const STPropertyInfo& stPid = st.tabClasses[0].tabProperties[1];
    EXPECT_EQ(stPid.sName, "PID");
    EXPECT_TRUE(stPid.bGetter);
    EXPECT_FALSE(stPid.bSetter);
    EXPECT_TRUE(stPid.bForceSetter);
    EXPECT_EQ(stPid.dwFlags, 2u);
    EXPECT_EQ(st.tabHelp.size(), 3u);
    EXPECT_EQ(st.tabDescriptions.size(), 3u);
}

// One field broken per row; the read must fail and say what it found.
struct STBreak {
    int nLine;
    std::function<void(CFakeTables&)> fnBreak;
    const char* pszExpected;
};

TEST(TableReader, RefusesMalformedTablesWithAMessage) {
    const std::vector<STBreak> tabCases = {
        {__LINE__, [](CFakeTables& c) { c.nLibrary = 7; }, "library number 7"},
        {__LINE__, [](CFakeTables& c) { c.byFunctions[34] = 9; }, "function row 0 (EstPair): library number 9"},
        {__LINE__, [](CFakeTables& c) { c.byFunctions[35] = 0; }, "0 overloads"},
        {__LINE__, [](CFakeTables& c) { c.byFunctions[kFunctionRowSize + 35] = 15; }, "(Max): 15 overloads"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byFunctions, 28, 0); }, "format word 0"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byFunctions, 36, 5); }, "reserved fields"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byFunctions, 0, 0); }, "row 0: name number 0"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byFunctions, 0, 99); }, "name number 99"},
        {__LINE__, [](CFakeTables& c) { Put<uint16_t>(c.byFunctions, kFunctionRowSize + 32, 2); }, "past its row"},
        {__LINE__, [](CFakeTables& c) { Put<intptr_t>(c.byFunctions, 40, 0); }, "overload array"},
        {__LINE__, [](CFakeTables& c) { c.bySignatures[8] = 1; }, "lacks its zero byte"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.bySignatures, 4, 0x55); }, "unknown type code 0x55"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.bySignatures, 4, 0x108); }, "stray bits"},
        {__LINE__, [](CFakeTables& c) { c.tabTypeRefs.pop_back(); }, "type reference 2 of 1"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byOverloads, 8, 1); }, "flag word"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byOverloads, 24, 0x201); }, "argument word"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byOverloads, kOverloadRecordSize + 24, 0x80); }, "variadic"},
        {__LINE__, [](CFakeTables& c) { Put<uint32_t>(c.byOverloads, 28, 3); }, "reserved words"},
        {__LINE__, [](CFakeTables& c) { c.nFunctionCount = -1; }, "count -1"},
        {__LINE__, [](CFakeTables& c) { c.byConstants[41] = ovtype::REAL; }, "constant row 0 (kDeux): type code 0x0c"},
        {__LINE__, [](CFakeTables& c) { c.byConstants[40] = 0; }, "(kDeux): library number 0"},
        {__LINE__, [](CFakeTables& c) { Put<int64_t>(c.byConstants, 4 * kConstantRowSize + 32, 3); }, "type 0 with value 3"},
        {__LINE__, [](CFakeTables& c) { c.sTexteConstante[2] = static_cast<wchar_t>(0xd800); },
         "(kTexte): value is not a readable wide text"},
        {__LINE__, [](CFakeTables& c) { c.byVariables[35] = ovtype::REAL; }, "variable row 0 (gsVar): type code 0x0c"},
        {__LINE__, [](CFakeTables& c) { Put<uint16_t>(c.byVariables, 32, 0); }, "index 0"},
        {__LINE__, [](CFakeTables& c) { Put<uint64_t>(c.byClass, 32, 7); }, "class 0 (Processus): word 0x7"},
        {__LINE__, [](CFakeTables& c) { Put<uint64_t>(c.byProperties, 24, 0); }, "property Executable: word 0x0"},
        {__LINE__, [](CFakeTables& c) { c.tabTypeRefTexts[0] = "Processus"; }, "lacks \"+:\""},
    };
    for (const STBreak& stCase : tabCases) {
        CFakeTables cl;
        stCase.fnBreak(cl);
        STComponentTables st;
        std::string sError;
        EXPECT_FALSE(cl.bRead(&st, &sError)) << "line " << stCase.nLine;
        EXPECT_NE(sError.find(stCase.pszExpected), std::string::npos)
            << "line " << stCase.nLine << ": got \"" << sError << "\"";
    }
}

TEST(TableReader, RefusesPointersThatLeaveTheLibrary) {
    CFakeTables cl;
    STComponentTables st;
    std::string sError;
    const CMemoryMap clMap = cl.clBoundedMap();
    ASSERT_TRUE(cl.bRead(&st, &sError, &clMap)) << sError;

    // A row whose overload array lies in memory the library does not cover.
    std::vector<uint8_t> byAilleurs(4 * kOverloadRecordSize, 0);
    PutPointer(cl.byFunctions, 40, byAilleurs.data());
    EXPECT_FALSE(cl.bRead(&st, &sError, &clMap));
    EXPECT_NE(sError.find("lies outside the library"), std::string::npos) << sError;

    // A thunk that does not point into code.
    CFakeTables clThunk;
    const CMemoryMap clMap2 = clThunk.clBoundedMap();
    PutPointer(clThunk.byOverloads, 0, clThunk.byNames.data());
    EXPECT_FALSE(clThunk.bRead(&st, &sError, &clMap2));
    EXPECT_NE(sError.find("outside the library's code"), std::string::npos) << sError;

    // A function table longer than the memory behind it.
    CFakeTables clLong;
    const CMemoryMap clMap3 = clLong.clBoundedMap();
    clLong.nFunctionCount = 4;
    EXPECT_FALSE(clLong.bRead(&st, &sError, &clMap3));
    EXPECT_NE(sError.find("functions: 4 rows"), std::string::npos) << sError;
}

struct STNameBlockCase {
    int nLine;
    std::vector<uint8_t> byBloc;
    bool bOk;
    std::vector<std::string> tabExpected;
    const char* pszError;
};

TEST(NameBlock, ParsesCountedNamesAndRefusesEveryOverrun) {
    const std::vector<STNameBlockCase> tabCases = {
        {__LINE__, {2, 0, 0, 0, 2, 'a', 'b', 1, 'c'}, true, {"ab", "c"}, ""},
        {__LINE__, {1, 0, 0, 0, 0}, true, {""}, ""},
        {__LINE__, {0, 0, 0, 0}, true, {}, ""},
        {__LINE__, {1, 0, 0}, false, {}, "too short"},
        {__LINE__, {9, 0, 0, 0, 1, 'a'}, false, {}, "count 9 does not fit"},
        {__LINE__, {1, 0, 0, 0, 3, 'a', 'b'}, false, {}, "name 1 runs past the end"},
        {__LINE__, {2, 0, 0, 0, 1, 'a'}, false, {}, "name 2 starts past the end"},
        {__LINE__, {1, 0, 0, 0, 1, 'a', 'z'}, false, {}, "1 bytes after the last"},
        {__LINE__, {1, 0, 0, 0, 2, 'a', 0xc3}, false, {}, "byte 0xc3"},
        {__LINE__, {1, 0, 0, 0, 2, 'a', 0}, false, {}, "byte 0x00"},
    };
    for (const STNameBlockCase& stCase : tabCases) {
        std::vector<std::string> tabNames;
        std::string sError;
        const bool bOk =
            CTableReader::s_bParseNameBlock(stCase.byBloc.data(), stCase.byBloc.size(), &tabNames, &sError);
        EXPECT_EQ(bOk, stCase.bOk) << "line " << stCase.nLine << ": " << sError;
        if (stCase.bOk)
            EXPECT_EQ(tabNames, stCase.tabExpected) << "line " << stCase.nLine;
        else
            EXPECT_NE(sError.find(stCase.pszError), std::string::npos) << "line " << stCase.nLine << ": " << sError;
    }
}

TEST(InformationComposante, NamesRowsByTheirFirstWordOnlyInsideRegisteredLibraries) {
    CFakeTables cl;
    STComponentTables st;
    std::string sError;
    ASSERT_TRUE(cl.bRead(&st, &sError)) << sError;
    CInformationComposante clInfo;
    const CMemoryMap clMap = cl.clBoundedMap();
    clInfo.Register(&cl, st.tabNames, clMap);

    const uint8_t* pbyMax = cl.byFunctions.data() + kFunctionRowSize;
    EXPECT_STREQ(clInfo.pszGetNom(pbyMax, -1), L"Max");
    EXPECT_STREQ(clInfo.pszGetNom(pbyMax, 2), L"Ma");
    EXPECT_STREQ(clInfo.pszGetNom(pbyMax, 50), L"Max");
    EXPECT_STREQ(clInfo.pszGetNom(pbyMax, 0), L"");
    EXPECT_STREQ(clInfo.pszGetNom(cl.byConstants.data() + 3 * kConstantRowSize, -1), L"kTexte");
    EXPECT_STREQ(clInfo.pszGetNom(nullptr, -1), L"");

    // A row beyond the count, and a row in memory no library covers.
    Put<uint32_t>(cl.byVariables, 0, 500);
    EXPECT_STREQ(clInfo.pszGetNom(cl.byVariables.data(), -1), L"");
    const uint32_t nAilleurs = 1;
    EXPECT_STREQ(clInfo.pszGetNom(&nAilleurs, -1), L"");

    // A pointer handed out earlier stays readable after the library goes.
    const wchar_t* pszKept = clInfo.pszGetNom(pbyMax, -1);
    clInfo.Unregister(&cl);
    EXPECT_STREQ(clInfo.pszGetNom(pbyMax, -1), L"");
    EXPECT_STREQ(pszKept, L"Max");
}

}  // namespace
}  // namespace ovhost
