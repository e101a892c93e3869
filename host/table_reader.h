// The machine's reader of the component's descriptor tables: it takes the pointers and counts that
// InfoComposante answers and reads every row as bytes at fixed offsets, checking as it goes, so
// that a malformed table becomes a load failure with a message rather than a wild read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "component/interfaces/machine.h"
#include "host/machine.h"

namespace ovhost {

// The address ranges the reader may touch. Built from the loaded library's segments, so that a
// table pointer that strays outside the library is refused before it is followed.
class CMemoryMap {
public:
    void AddRange(const void* pDebut, size_t nTaille, bool bExecutable);
    // Trusts every non-null address: for tables that are not inside a loaded library.
    void SetUnbounded(bool bUnbounded) { m_bUnbounded = bUnbounded; }
    bool bReadable(const void* p, size_t nTaille) const;
    bool bExecutable(const void* p) const;
    bool bEmpty() const { return m_tabRanges.empty() && !m_bUnbounded; }

    // The readable loaded segments of a library opened with dlopen.
    static bool s_bFromLoadedLibrary(void* hModule, CMemoryMap* pclMap, std::string* psError);

private:
    struct STRange {
        uintptr_t nDebut;
        uintptr_t nFin;
        bool bExecutable;
    };
    std::vector<STRange> m_tabRanges;
    bool m_bUnbounded = false;
};

// Everything the tables say, in table order.
struct STComponentTables {
    std::vector<std::string> tabNames;  // name number n is tabNames[n - 1]
    std::vector<STFunctionInfo> tabFunctions;
    std::vector<std::vector<PFNTHUNK>> tabThunks;  // [row][overload], null where there is no body
    std::vector<STConstantInfo> tabConstants;
    std::vector<STVariableInfo> tabVariables;
    std::vector<std::string> tabTypeReferences;
    std::vector<STClassInfo> tabClasses;
    std::vector<std::wstring> tabHelp;
    std::vector<std::wstring> tabDescriptions;
    const void* pvNameBlock = nullptr;
    size_t nNameBlockSize = 0;
};

// Selectors of InfoComposante that the reader asks.
enum : unsigned int {
    INFO_LIBRARY_NUMBER = 1,
    INFO_HELP = 4,
    INFO_CONSTANTS = 23,
    INFO_CONSTANT_COUNT = 24,
    INFO_VARIABLES = 25,
    INFO_VARIABLE_COUNT = 26,
    INFO_CLASSES = 29,
    INFO_CLASS_COUNT = 30,
    INFO_TYPE_REFERENCES = 31,
    INFO_TYPE_REFERENCE_COUNT = 32,
    INFO_FUNCTIONS = 33,
    INFO_FUNCTION_COUNT = 34,
    INFO_DESCRIPTION = 39,
    INFO_NAME_BLOCK = 40,
    INFO_NAME_BLOCK_SIZE = 41,
};

// Row sizes and fixed values of the tables.
inline constexpr size_t kFunctionRowSize = 48;
inline constexpr size_t kOverloadRecordSize = 32;
inline constexpr size_t kConstantRowSize = 48;
inline constexpr size_t kVariableRowSize = 40;
inline constexpr size_t kPropertyRowSize = 80;
inline constexpr size_t kClassDescriptorSize = 240;
inline constexpr uint32_t kLibraryNumber = 8;
inline constexpr int kMaxOverloads = 14;
inline constexpr uint64_t kPropertyMark = 0x1eb204690ULL;

using FNINFOCOMPOSANTE = std::function<intptr_t(unsigned int nSelecteur, unsigned long nIndex)>;

class CTableReader {
public:
    CTableReader(FNINFOCOMPOSANTE fnInfoComposante, const CMemoryMap& clMap);

    // Reads every table. False with a message naming the table, the row and the fault.
    bool bRead(STComponentTables* pstTables, std::string* psError);

    // The names block: a 32-bit count, then per name one length byte and that many ASCII bytes,
    // covering exactly nTaille bytes.
    static bool s_bParseNameBlock(const uint8_t* pbyBloc, size_t nTaille, std::vector<std::string>* ptabNames,
                                  std::string* psError);

private:
    bool m_bCount(unsigned int nSelecteur, const char* pszTable, size_t* pnCount, std::string* psError) const;
    bool m_bNames(STComponentTables* pst, std::string* psError) const;
    bool m_bTypeReferences(STComponentTables* pst, std::string* psError) const;
    bool m_bFunctions(STComponentTables* pst, std::string* psError) const;
    bool m_bOverload(const uint8_t* pbyRecord, size_t nTypeRefs, STOverloadInfo* pstOverload, PFNTHUNK* ppfnThunk,
                     std::string* psError) const;
    bool m_bConstants(STComponentTables* pst, std::string* psError) const;
    bool m_bVariables(STComponentTables* pst, std::string* psError) const;
    bool m_bClasses(STComponentTables* pst, std::string* psError) const;
    bool m_bTextArray(unsigned int nSelecteur, std::vector<std::wstring>* ptab, std::string* psError) const;
    bool m_bName(const std::vector<std::string>& tabNames, uint32_t nNumber, std::string* psName) const;
    bool m_bWideText(const void* p, std::wstring* ps) const;
    bool m_bAnsiText(const void* p, std::string* ps) const;

    FNINFOCOMPOSANTE m_fnInfo;
    const CMemoryMap& m_clMap;
};

}  // namespace ovhost
