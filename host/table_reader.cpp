// Reads the descriptor tables byte by byte. Every field is copied out with memcpy (the signatures
// stand unaligned), every pointer is checked against the memory map before it is followed.
#include "host/table_reader.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "component/interfaces/type_codes.h"

namespace ovhost {
namespace {

constexpr size_t kMaxRows = 1u << 20;
constexpr size_t kMaxTextChars = 1u << 20;
constexpr size_t kMaxNameBlock = 16u << 20;
constexpr size_t kMaxTextArray = 256;
constexpr size_t kMaxProperties = 1024;

template <class T>
T tRead(const uint8_t* pby, size_t nOffset) {
    T v;
    std::memcpy(&v, pby + nOffset, sizeof v);
    return v;
}

const uint8_t* pbyAt(intptr_t n) { return reinterpret_cast<const uint8_t*>(n); }
const uint8_t* pbyPointer(const uint8_t* pby, size_t nOffset) { return pbyAt(tRead<intptr_t>(pby, nOffset)); }

bool bFail(std::string* psError, const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
bool bFail(std::string* psError, const char* pszFormat, ...) {
    if (psError != nullptr) {
        char szTexte[512];
        va_list args;
        va_start(args, pszFormat);
        std::vsnprintf(szTexte, sizeof szTexte, pszFormat, args);
        va_end(args);
        *psError = szTexte;
    }
    return false;
}

bool bValidCodePoint(wchar_t c) {
    const uint32_t n = static_cast<uint32_t>(c);
    return n <= 0x10ffff && (n < 0xd800 || n > 0xdfff);
}

// The bits a type word may carry besides its code and a type reference index.
constexpr uint32_t kTypeWordFlags = ovtype::FLAG_BY_REFERENCE | ovtype::FLAG_MACHINE_MARK | ovtype::FLAG_PARAM_MARK;

bool bKnownVariableType(uint32_t n) {
    switch (n) {
        case ovtype::STRING: case ovtype::INT: case ovtype::BOOL: case ovtype::DATE_TEXT:
        case ovtype::TIME_TEXT: case ovtype::DATETIME: case ovtype::DURATION: case ovtype::INTARRAY:
            return true;
        default:
            return false;
    }
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// CMemoryMap

void CMemoryMap::AddRange(const void* pDebut, size_t nTaille, bool bExecutable) {
    const uintptr_t n = reinterpret_cast<uintptr_t>(pDebut);
    m_tabRanges.push_back({n, n + nTaille, bExecutable});
}

bool CMemoryMap::bReadable(const void* p, size_t nTaille) const {
    if (p == nullptr) return false;
    if (m_bUnbounded) return true;
    const uintptr_t n = reinterpret_cast<uintptr_t>(p);
    if (n + nTaille < n) return false;
    for (const STRange& st : m_tabRanges)
        if (n >= st.nDebut && n + nTaille <= st.nFin) return true;
    return false;
}

bool CMemoryMap::bExecutable(const void* p) const {
    if (p == nullptr) return false;
    if (m_bUnbounded) return true;
    const uintptr_t n = reinterpret_cast<uintptr_t>(p);
    for (const STRange& st : m_tabRanges)
        if (st.bExecutable && n >= st.nDebut && n < st.nFin) return true;
    return false;
}

namespace {

struct STPhdrSearch {
    uintptr_t nBase;
    const char* pszName;
    CMemoryMap* pclMap;
    bool bFound;
};

int nCollectSegments(dl_phdr_info* pstInfo, size_t, void* pvSearch) {
    STPhdrSearch* pst = static_cast<STPhdrSearch*>(pvSearch);
    if (pstInfo->dlpi_addr != pst->nBase) return 0;
    if (pstInfo->dlpi_name == nullptr || std::strcmp(pstInfo->dlpi_name, pst->pszName) != 0) return 0;
    for (int i = 0; i < pstInfo->dlpi_phnum; ++i) {
        const ElfW(Phdr)& stP = pstInfo->dlpi_phdr[i];
        if (stP.p_type != PT_LOAD || (stP.p_flags & PF_R) == 0) continue;
        pst->pclMap->AddRange(reinterpret_cast<const void*>(pstInfo->dlpi_addr + stP.p_vaddr), stP.p_memsz,
                              (stP.p_flags & PF_X) != 0);
    }
    pst->bFound = true;
    return 1;
}

}  // namespace

bool CMemoryMap::s_bFromLoadedLibrary(void* hModule, CMemoryMap* pclMap, std::string* psError) {
    link_map* pstLien = nullptr;
    if (dlinfo(hModule, RTLD_DI_LINKMAP, &pstLien) != 0 || pstLien == nullptr)
        return bFail(psError, "dlinfo: %s", dlerror());
    STPhdrSearch stSearch{pstLien->l_addr, pstLien->l_name, pclMap, false};
    dl_iterate_phdr(nCollectSegments, &stSearch);
    if (!stSearch.bFound || pclMap->bEmpty()) return bFail(psError, "no loaded segments found");
    return true;
}

// ---------------------------------------------------------------------------------------------
// CTableReader

CTableReader::CTableReader(FNINFOCOMPOSANTE fnInfoComposante, const CMemoryMap& clMap)
    : m_fnInfo(std::move(fnInfoComposante)), m_clMap(clMap) {}

bool CTableReader::bRead(STComponentTables* pst, std::string* psError) {
    *pst = STComponentTables{};
    const intptr_t nLibrary = m_fnInfo(INFO_LIBRARY_NUMBER, 0);
    if (nLibrary != kLibraryNumber)
        return bFail(psError, "library number %lld, expected %u", static_cast<long long>(nLibrary), kLibraryNumber);
    // Names first (every row refers to them), type references before the signatures that index them.
    return m_bNames(pst, psError) && m_bTypeReferences(pst, psError) && m_bFunctions(pst, psError) &&
           m_bConstants(pst, psError) && m_bVariables(pst, psError) && m_bClasses(pst, psError) &&
           m_bTextArray(INFO_HELP, &pst->tabHelp, psError) &&
           m_bTextArray(INFO_DESCRIPTION, &pst->tabDescriptions, psError);
}

bool CTableReader::m_bCount(unsigned int nSelecteur, const char* pszTable, size_t* pnCount,
                            std::string* psError) const {
    const intptr_t n = m_fnInfo(nSelecteur, 0);
    if (n < 0 || static_cast<size_t>(n) > kMaxRows)
        return bFail(psError, "%s: count %lld out of range", pszTable, static_cast<long long>(n));
    *pnCount = static_cast<size_t>(n);
    return true;
}

bool CTableReader::s_bParseNameBlock(const uint8_t* pbyBloc, size_t nTaille, std::vector<std::string>* ptabNames,
                                     std::string* psError) {
    ptabNames->clear();
    if (pbyBloc == nullptr || nTaille < 4) return bFail(psError, "names block: %zu bytes, too short", nTaille);
    const uint32_t nCount = tRead<uint32_t>(pbyBloc, 0);
    // Every name takes at least its length byte, which bounds a corrupt count.
    if (nCount > nTaille - 4) return bFail(psError, "names block: count %u does not fit in %zu bytes", nCount, nTaille);
    ptabNames->reserve(nCount);
    size_t nPos = 4;
    for (uint32_t i = 0; i < nCount; ++i) {
        if (nPos >= nTaille) return bFail(psError, "names block: name %u starts past the end", i + 1);
        const size_t nLongueur = pbyBloc[nPos++];
        if (nLongueur > nTaille - nPos) return bFail(psError, "names block: name %u runs past the end", i + 1);
        for (size_t k = 0; k < nLongueur; ++k)
            if (pbyBloc[nPos + k] == 0 || pbyBloc[nPos + k] >= 0x80)
                return bFail(psError, "names block: name %u holds byte 0x%02x", i + 1, pbyBloc[nPos + k]);
        ptabNames->emplace_back(reinterpret_cast<const char*>(pbyBloc + nPos), nLongueur);
        nPos += nLongueur;
    }
    if (nPos != nTaille)
        return bFail(psError, "names block: %zu bytes after the last of %u names", nTaille - nPos, nCount);
    return true;
}

bool CTableReader::m_bNames(STComponentTables* pst, std::string* psError) const {
    const uint8_t* pby = pbyAt(m_fnInfo(INFO_NAME_BLOCK, 0));
    const intptr_t nTaille = m_fnInfo(INFO_NAME_BLOCK_SIZE, 0);
    if (pby == nullptr) return bFail(psError, "names block: null");
    if (nTaille < 4 || static_cast<size_t>(nTaille) > kMaxNameBlock)
        return bFail(psError, "names block: size %lld out of range", static_cast<long long>(nTaille));
    if (!m_clMap.bReadable(pby, static_cast<size_t>(nTaille)))
        return bFail(psError, "names block: %lld bytes at %p lie outside the library", static_cast<long long>(nTaille),
                     static_cast<const void*>(pby));
    pst->pvNameBlock = pby;
    pst->nNameBlockSize = static_cast<size_t>(nTaille);
    return s_bParseNameBlock(pby, static_cast<size_t>(nTaille), &pst->tabNames, psError);
}

bool CTableReader::m_bName(const std::vector<std::string>& tabNames, uint32_t nNumber, std::string* psName) const {
    if (nNumber == 0 || nNumber > tabNames.size() || tabNames[nNumber - 1].empty()) return false;
    *psName = tabNames[nNumber - 1];
    return true;
}

bool CTableReader::m_bAnsiText(const void* p, std::string* ps) const {
    const char* psz = static_cast<const char*>(p);
    for (size_t n = 0; n < kMaxTextChars; ++n) {
        if (!m_clMap.bReadable(psz + n, 1)) return false;
        if (psz[n] == 0) {
            ps->assign(psz, n);
            return true;
        }
    }
    return false;
}

bool CTableReader::m_bWideText(const void* p, std::wstring* ps) const {
    const uint8_t* pby = static_cast<const uint8_t*>(p);
    std::wstring s;
    for (size_t n = 0; n < kMaxTextChars; ++n) {
        if (!m_clMap.bReadable(pby + n * sizeof(wchar_t), sizeof(wchar_t))) return false;
        const wchar_t c = tRead<wchar_t>(pby, n * sizeof(wchar_t));
        if (c == 0) {
            *ps = std::move(s);
            return true;
        }
        if (!bValidCodePoint(c)) return false;
        s.push_back(c);
    }
    return false;
}

bool CTableReader::m_bTypeReferences(STComponentTables* pst, std::string* psError) const {
    size_t nCount = 0;
    if (!m_bCount(INFO_TYPE_REFERENCE_COUNT, "type references", &nCount, psError)) return false;
    if (nCount == 0) return true;
    const uint8_t* pby = pbyAt(m_fnInfo(INFO_TYPE_REFERENCES, 0));
    if (!m_clMap.bReadable(pby, nCount * sizeof(void*)))
        return bFail(psError, "type references: %zu pointers at %p lie outside the library", nCount,
                     static_cast<const void*>(pby));
    for (size_t i = 0; i < nCount; ++i) {
        std::string s;
        if (!m_bAnsiText(pbyPointer(pby, i * sizeof(void*)), &s))
            return bFail(psError, "type references: entry %zu is not a readable text", i);
        if (s.rfind("+:", 0) != 0) return bFail(psError, "type references: entry %zu \"%s\" lacks \"+:\"", i, s.c_str());
        pst->tabTypeReferences.push_back(std::move(s));
    }
    return true;
}

bool CTableReader::m_bOverload(const uint8_t* pby, size_t nTypeRefs, STOverloadInfo* pstO, PFNTHUNK* ppfnThunk,
                               std::string* psError) const {
    const intptr_t nThunk = tRead<intptr_t>(pby, 0);
    if (nThunk != 0 && !m_clMap.bExecutable(reinterpret_cast<const void*>(nThunk)))
        return bFail(psError, "thunk %p lies outside the library's code", reinterpret_cast<const void*>(nThunk));
    *ppfnThunk = reinterpret_cast<PFNTHUNK>(nThunk);
    pstO->bHasBody = nThunk != 0;
    pstO->dwFlags = tRead<uint32_t>(pby, 8);
    if ((pstO->dwFlags & ~(1u << 25)) != 0) return bFail(psError, "flag word 0x%08x", pstO->dwFlags);
    if (tRead<uint32_t>(pby, 12) != 0 || tRead<uint32_t>(pby, 28) != 0) return bFail(psError, "reserved words not zero");
    pstO->dwArgumentWord = tRead<uint32_t>(pby, 24);
    if ((pstO->dwArgumentWord & ~(ovtype::ARGS_COUNT_MASK | ovtype::ARGS_VARIADIC | ovtype::ARGS_BIT8)) != 0)
        return bFail(psError, "argument word 0x%08x", pstO->dwArgumentWord);
    const size_t nArgs = pstO->dwArgumentWord & ovtype::ARGS_COUNT_MASK;
    pstO->bVariadic = (pstO->dwArgumentWord & ovtype::ARGS_VARIADIC) != 0;
    if (pstO->bVariadic && nArgs == 0) return bFail(psError, "variadic with no argument to repeat");

    const uint8_t* pbySig = pbyPointer(pby, 16);
    const size_t nSigSize = (nArgs + 1) * 4 + 1;
    if (!m_clMap.bReadable(pbySig, nSigSize))
        return bFail(psError, "signature at %p lies outside the library", static_cast<const void*>(pbySig));
    if (pbySig[nSigSize - 1] != 0) return bFail(psError, "signature of %zu arguments lacks its zero byte", nArgs);
    for (size_t i = 0; i <= nArgs; ++i) {
        const uint32_t dw = tRead<uint32_t>(pbySig, i * 4);
        const char* pszWhat = i == 0 ? "result" : "argument";
        const size_t nWhich = i == 0 ? 0 : i;
        if (ovtype::pszTypeName(dw) == nullptr)
            return bFail(psError, "%s %zu: unknown type code 0x%02x", pszWhat, nWhich, dw & ovtype::CODE_MASK);
        if ((dw & 0xffffu & ~(ovtype::CODE_MASK | kTypeWordFlags)) != 0)
            return bFail(psError, "%s %zu: type word 0x%08x has stray bits", pszWhat, nWhich, dw);
        if ((dw >> ovtype::TYPEREF_SHIFT) > nTypeRefs)
            return bFail(psError, "%s %zu: type reference %u of %zu", pszWhat, nWhich, dw >> ovtype::TYPEREF_SHIFT,
                         nTypeRefs);
        if (i == 0)
            pstO->dwResult = dw;
        else
            pstO->tabArguments.push_back(dw);
    }
    return true;
}

bool CTableReader::m_bFunctions(STComponentTables* pst, std::string* psError) const {
    size_t nCount = 0;
    if (!m_bCount(INFO_FUNCTION_COUNT, "functions", &nCount, psError)) return false;
    if (nCount == 0) return true;
    const uint8_t* pbyTable = pbyAt(m_fnInfo(INFO_FUNCTIONS, 0));
    if (!m_clMap.bReadable(pbyTable, nCount * kFunctionRowSize))
        return bFail(psError, "functions: %zu rows at %p lie outside the library", nCount,
                     static_cast<const void*>(pbyTable));
    pst->tabFunctions.reserve(nCount);
    pst->tabThunks.reserve(nCount);
    for (size_t r = 0; r < nCount; ++r) {
        const uint8_t* pby = pbyTable + r * kFunctionRowSize;
        STFunctionInfo st;
        st.nRow = static_cast<int>(r);
        st.nNameNumber = tRead<uint32_t>(pby, 0);
        if (!m_bName(pst->tabNames, st.nNameNumber, &st.sName))
            return bFail(psError, "function row %zu: name number %u not in the names block", r, st.nNameNumber);
        const char* pszN = st.sName.c_str();
        if (tRead<uint32_t>(pby, 4) != 0 || tRead<uint64_t>(pby, 8) != 0 || tRead<uint64_t>(pby, 16) != 0 ||
            tRead<uint32_t>(pby, 36) != 0)
            return bFail(psError, "function row %zu (%s): reserved fields not zero", r, pszN);
        st.dwAvailability = tRead<uint32_t>(pby, 24);
        if (tRead<uint32_t>(pby, 28) != 1)
            return bFail(psError, "function row %zu (%s): format word %u, expected 1", r, pszN, tRead<uint32_t>(pby, 28));
        st.nFunctionIndex = tRead<uint16_t>(pby, 32);
        if (static_cast<size_t>(st.nFunctionIndex) > r)
            return bFail(psError, "function row %zu (%s): function index %d past its row", r, pszN, st.nFunctionIndex);
        if (pby[34] != kLibraryNumber)
            return bFail(psError, "function row %zu (%s): library number %u", r, pszN, pby[34]);
        const int nOverloads = pby[35];
        if (nOverloads < 1 || nOverloads > kMaxOverloads)
            return bFail(psError, "function row %zu (%s): %d overloads, expected 1 to %d", r, pszN, nOverloads,
                         kMaxOverloads);
        const uint8_t* pbyOv = pbyPointer(pby, 40);
        if (!m_clMap.bReadable(pbyOv, nOverloads * kOverloadRecordSize))
            return bFail(psError, "function row %zu (%s): overload array at %p lies outside the library", r, pszN,
                         static_cast<const void*>(pbyOv));
        std::vector<PFNTHUNK> tabThunks(nOverloads, nullptr);
        for (int k = 0; k < nOverloads; ++k) {
            STOverloadInfo stO;
            std::string sWhy;
            if (!m_bOverload(pbyOv + k * kOverloadRecordSize, pst->tabTypeReferences.size(), &stO, &tabThunks[k], &sWhy))
                return bFail(psError, "function row %zu (%s), overload %d: %s", r, pszN, k, sWhy.c_str());
            st.tabOverloads.push_back(std::move(stO));
        }
        pst->tabFunctions.push_back(std::move(st));
        pst->tabThunks.push_back(std::move(tabThunks));
    }
    return true;
}

bool CTableReader::m_bConstants(STComponentTables* pst, std::string* psError) const {
    size_t nCount = 0;
    if (!m_bCount(INFO_CONSTANT_COUNT, "constants", &nCount, psError)) return false;
    if (nCount == 0) return true;
    const uint8_t* pbyTable = pbyAt(m_fnInfo(INFO_CONSTANTS, 0));
    if (!m_clMap.bReadable(pbyTable, nCount * kConstantRowSize))
        return bFail(psError, "constants: %zu rows at %p lie outside the library", nCount,
                     static_cast<const void*>(pbyTable));
    pst->tabConstants.reserve(nCount);
    for (size_t r = 0; r < nCount; ++r) {
        const uint8_t* pby = pbyTable + r * kConstantRowSize;
        STConstantInfo st;
        st.nNameNumber = tRead<uint32_t>(pby, 0);
        if (!m_bName(pst->tabNames, st.nNameNumber, &st.sName))
            return bFail(psError, "constant row %zu: name number %u not in the names block", r, st.nNameNumber);
        const char* pszN = st.sName.c_str();
        st.nStableNumber = tRead<uint64_t>(pby, 8);
        if (tRead<uint32_t>(pby, 4) != 0 || tRead<uint64_t>(pby, 16) != 0 || tRead<uint32_t>(pby, 28) != 0 ||
            tRead<uint32_t>(pby, 42) != 0 || tRead<uint16_t>(pby, 46) != 0)
            return bFail(psError, "constant row %zu (%s): reserved fields not zero", r, pszN);
        if (pby[40] != kLibraryNumber) return bFail(psError, "constant row %zu (%s): library number %u", r, pszN, pby[40]);
        st.nTypeCode = pby[41];
        const int64_t nValeur = tRead<int64_t>(pby, 32);
        switch (st.nTypeCode) {
            case ovtype::INT:
                st.clValue = nValeur >= INT32_MIN && nValeur <= INT32_MAX ? CValue::Int(static_cast<int32_t>(nValeur))
                                                                         : CValue::Int64(nValeur);
                break;
            case ovtype::VOID:
                if (nValeur != 0) return bFail(psError, "constant row %zu (%s): type 0 with value %lld", r, pszN,
                                               static_cast<long long>(nValeur));
                st.clValue = CValue::Int(0);
                break;
            case ovtype::TEXT: {
                std::wstring s;
                if (!m_bWideText(pbyAt(nValeur), &s))
                    return bFail(psError, "constant row %zu (%s): value is not a readable wide text", r, pszN);
                st.clValue = CValue::Text(std::move(s));
                break;
            }
            default:
                return bFail(psError, "constant row %zu (%s): type code 0x%02x", r, pszN, st.nTypeCode);
        }
        pst->tabConstants.push_back(std::move(st));
    }
    return true;
}

bool CTableReader::m_bVariables(STComponentTables* pst, std::string* psError) const {
    size_t nCount = 0;
    if (!m_bCount(INFO_VARIABLE_COUNT, "variables", &nCount, psError)) return false;
    if (nCount == 0) return true;
    const uint8_t* pbyTable = pbyAt(m_fnInfo(INFO_VARIABLES, 0));
    if (!m_clMap.bReadable(pbyTable, nCount * kVariableRowSize))
        return bFail(psError, "variables: %zu rows at %p lie outside the library", nCount,
                     static_cast<const void*>(pbyTable));
    pst->tabVariables.reserve(nCount);
    for (size_t r = 0; r < nCount; ++r) {
        const uint8_t* pby = pbyTable + r * kVariableRowSize;
        STVariableInfo st;
        st.nNameNumber = tRead<uint32_t>(pby, 0);
        if (!m_bName(pst->tabNames, st.nNameNumber, &st.sName))
            return bFail(psError, "variable row %zu: name number %u not in the names block", r, st.nNameNumber);
        const char* pszN = st.sName.c_str();
        if (tRead<uint32_t>(pby, 4) != 0 || tRead<uint64_t>(pby, 8) != 0 || tRead<uint64_t>(pby, 16) != 0 ||
            tRead<uint32_t>(pby, 28) != 0 || tRead<uint32_t>(pby, 36) != 0)
            return bFail(psError, "variable row %zu (%s): reserved fields not zero", r, pszN);
        st.nIndex = tRead<uint16_t>(pby, 32);
        if (st.nIndex == 0) return bFail(psError, "variable row %zu (%s): index 0", r, pszN);
        if (pby[34] != kLibraryNumber) return bFail(psError, "variable row %zu (%s): library number %u", r, pszN, pby[34]);
        st.nTypeCode = pby[35];
        if (!bKnownVariableType(st.nTypeCode))
            return bFail(psError, "variable row %zu (%s): type code 0x%02x", r, pszN, st.nTypeCode);
        pst->tabVariables.push_back(std::move(st));
    }
    return true;
}

bool CTableReader::m_bClasses(STComponentTables* pst, std::string* psError) const {
    size_t nCount = 0;
    if (!m_bCount(INFO_CLASS_COUNT, "classes", &nCount, psError)) return false;
    if (nCount == 0) return true;
    const uint8_t* pbyTable = pbyAt(m_fnInfo(INFO_CLASSES, 0));
    if (!m_clMap.bReadable(pbyTable, nCount * sizeof(void*)))
        return bFail(psError, "classes: %zu pointers at %p lie outside the library", nCount,
                     static_cast<const void*>(pbyTable));
    for (size_t c = 0; c < nCount; ++c) {
        const uint8_t* pby = pbyPointer(pbyTable, c * sizeof(void*));
        if (!m_clMap.bReadable(pby, kClassDescriptorSize))
            return bFail(psError, "class %zu: descriptor at %p lies outside the library", c,
                         static_cast<const void*>(pby));
        STClassInfo st;
        st.nNameNumber = tRead<uint32_t>(pby, 0);
        if (!m_bName(pst->tabNames, st.nNameNumber, &st.sName))
            return bFail(psError, "class %zu: name number %u not in the names block", c, st.nNameNumber);
        const char* pszN = st.sName.c_str();
        if (!m_bAnsiText(pbyPointer(pby, 24), &st.sTypeReference))
            return bFail(psError, "class %zu (%s): type reference is not a readable text", c, pszN);
        if (tRead<uint64_t>(pby, 32) != kPropertyMark)
            return bFail(psError, "class %zu (%s): word 0x%llx at 32", c, pszN,
                         static_cast<unsigned long long>(tRead<uint64_t>(pby, 32)));
        for (size_t nOffset : {48u, 56u, 200u, 232u}) {
            const void* pv = pbyPointer(pby, nOffset);
            if (pv != nullptr && !m_clMap.bExecutable(pv))
                return bFail(psError, "class %zu (%s): thunk at %zu lies outside the library's code", c, pszN, nOffset);
        }
        const uint64_t nProperties = tRead<uint64_t>(pby, 136);
        if (nProperties > kMaxProperties)
            return bFail(psError, "class %zu (%s): %llu properties", c, pszN, static_cast<unsigned long long>(nProperties));
        const uint8_t* pbyProps = pbyPointer(pby, 144);
        if (nProperties > 0 && !m_clMap.bReadable(pbyProps, nProperties * kPropertyRowSize))
            return bFail(psError, "class %zu (%s): property table lies outside the library", c, pszN);
        for (size_t p = 0; p < nProperties; ++p) {
            const uint8_t* pbyP = pbyProps + p * kPropertyRowSize;
            STPropertyInfo stP;
            stP.nNameNumber = tRead<uint32_t>(pbyP, 0);
            if (!m_bName(pst->tabNames, stP.nNameNumber, &stP.sName))
                return bFail(psError, "class %s, property %zu: name number %u not in the names block", pszN, p,
                             stP.nNameNumber);
            stP.dwIdentifier = tRead<uint32_t>(pbyP, 4);
            if ((tRead<uint64_t>(pbyP, 24) & ~1ULL) != kPropertyMark)
                return bFail(psError, "class %s, property %s: word 0x%llx at 24", pszN, stP.sName.c_str(),
                             static_cast<unsigned long long>(tRead<uint64_t>(pbyP, 24)));
            stP.nTypeCode = tRead<uint32_t>(pbyP, 32);
            if (ovtype::pszTypeName(stP.nTypeCode) == nullptr)
                return bFail(psError, "class %s, property %s: type code 0x%x", pszN, stP.sName.c_str(), stP.nTypeCode);
            const void* pvGet = pbyPointer(pbyP, 40);
            const void* pvSet = pbyPointer(pbyP, 56);
            const void* pvForce = pbyPointer(pbyP, 64);
            for (const void* pv : {pvGet, pvSet, pvForce})
                if (pv != nullptr && !m_clMap.bExecutable(pv))
                    return bFail(psError, "class %s, property %s: accessor lies outside the library's code", pszN,
                                 stP.sName.c_str());
            stP.bGetter = pvGet != nullptr;
            stP.bSetter = pvSet != nullptr;
            stP.bForceSetter = pvForce != nullptr;
            stP.dwFlags = tRead<uint32_t>(pbyP, 72);
            st.tabProperties.push_back(std::move(stP));
        }
        pst->tabClasses.push_back(std::move(st));
    }
    return true;
}

bool CTableReader::m_bTextArray(unsigned int nSelecteur, std::vector<std::wstring>* ptab, std::string* psError) const {
    // Asked one index at a time, stopping at the first null, so the reader never indexes past the
    // array's closing null.
    for (size_t i = 0; i < kMaxTextArray; ++i) {
        const intptr_t n = m_fnInfo(nSelecteur, static_cast<unsigned long>(i));
        if (n == 0) return true;
        std::wstring s;
        if (!m_bWideText(pbyAt(n), &s))
            return bFail(psError, "text array %u, entry %zu: not a readable wide text", nSelecteur, i);
        ptab->push_back(std::move(s));
    }
    return bFail(psError, "text array %u: no closing null within %zu entries", nSelecteur, kMaxTextArray);
}

}  // namespace ovhost
