// The stand-in machine: loading the component, its lifecycle, and calls by name with overload
// choice and argument conversion.
#include "host/machine.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <unordered_map>

#include "component/interfaces/date_view.h"
#include "component/interfaces/machine.h"
#include "component/interfaces/type_codes.h"
#include "host/allocator.h"
#include "host/conversion.h"
#include "host/table_reader.h"
#include "host/utf8.h"
#include "host/vm.h"

namespace ovhost {
namespace {

using PFNBINITLIBRARY = int (*)(void* hModule);
using PFNTERMLIBRARY = void (*)();
using PFNINFOCOMPOSANTE = intptr_t (*)(unsigned int nSelecteur, unsigned long nIndex);
using PFNQUERYPROXY = void* (*)(int nNumero);
using PFNINITCONVERSION = int (*)(void* hMachine, int nVersion, int nVersionCompat);

constexpr int kProxyLanguageObject = 60;
// The conversion interface this machine offers the component's variants.
constexpr int kConversionVersion = 2;
constexpr int kConversionCompatVersion = 2;
constexpr int kLevelNoError = 1;

// The argument record of the codes that take text, 8-bit text or binary alike.
struct STManipAUB {
    void* pBloc;
    uint16_t nType;
};

// One component library as loaded in this process. Several machines may share it: the library's
// own start (bInitLibrary) and end (TermLibrary) run once, for the first and the last of them,
// since running bInitLibrary twice would chain the library's signal handler onto itself.
struct STModule {
    void* hModule = nullptr;
    int nMachines = 0;
    PFNBINITLIBRARY pfnInitLibrary = nullptr;
    PFNTERMLIBRARY pfnTermLibrary = nullptr;
    PFNEXECUTION pfnExecution = nullptr;
    PFNINFOCOMPOSANTE pfnInfoComposante = nullptr;
    PFNQUERYPROXY pfnQueryProxy = nullptr;
    PFNINITCONVERSION pfnInitConversion = nullptr;  // absent from older builds
};

std::mutex gmutexModules;
std::map<void*, STModule> gmapModules;

void MachineModuleAnchor() {}

// The handle of this machine library, which the component searches for the machine's Execution.
void* hOwnModule(std::string* psError) {
    Dl_info stInfo{};
    if (dladdr(reinterpret_cast<void*>(&MachineModuleAnchor), &stInfo) == 0 || stInfo.dli_fname == nullptr) {
        *psError = "dladdr found no module for the machine";
        return nullptr;
    }
    void* h = dlopen(stInfo.dli_fname, RTLD_NOLOAD | RTLD_NOW);
    if (h == nullptr) *psError = std::string("dlopen of the machine's own module: ") + dlerror();
    return h;
}

std::string sLower(std::string_view s) {
    std::string sOut(s);
    for (char& c : sOut)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return sOut;
}

// ---------------------------------------------------------------------------------------------
// Text and number conversions between a CValue and a type code.

std::string sNarrowAscii(const std::wstring& s) {
    std::string sOut;
    for (wchar_t c : s) {
        if (c < 0 || c >= 0x80) return {};
        sOut.push_back(static_cast<char>(c));
    }
    return sOut;
}

struct STNumber {
    bool bInteger = true;
    int64_t n = 0;
    double d = 0;
};

// A number written in a text: optional blanks, then an integer or a decimal in C form.
bool bParseNumber(std::string s, STNumber* pst) {
    const size_t nDebut = s.find_first_not_of(" \t");
    if (nDebut == std::string::npos) return false;
    s = s.substr(nDebut, s.find_last_not_of(" \t") - nDebut + 1);
    const char* pDebut = s.data();
    const char* pFin = s.data() + s.size();
    if (*pDebut == '+') ++pDebut;
    int64_t n = 0;
    auto [pI, ecI] = std::from_chars(pDebut, pFin, n);
    if (ecI == std::errc() && pI == pFin) {
        *pst = {true, n, static_cast<double>(n)};
        return true;
    }
    double d = 0;
    auto [pD, ecD] = std::from_chars(pDebut, pFin, d);
    if (ecD != std::errc() || pD != pFin || !std::isfinite(d)) return false;
    *pst = {false, 0, d};
    return true;
}

// The value as a number, with the cost of taking it so: 0 a number kind, 2 money, 3 a numeric
// text, 4 null. False when it is no number.
bool bAsNumber(const CValue& v, STNumber* pst, int* pnCost) {
    switch (v.eKind) {
        case EValueKind::Bool:
        case EValueKind::Int:
        case EValueKind::Int64:
            *pst = {true, v.nInteger, static_cast<double>(v.nInteger)};
            *pnCost = 0;
            return true;
        case EValueKind::Real:
            *pst = {false, 0, v.dReal};
            *pnCost = 0;
            return std::isfinite(v.dReal);
        case EValueKind::Money:
            *pnCost = 2;
            return bParseNumber(sNarrowAscii(v.sText), pst);
        case EValueKind::Text:
            *pnCost = 3;
            return bParseNumber(sNarrowAscii(v.sText), pst);
        case EValueKind::Ansi:
            *pnCost = 3;
            return bParseNumber(v.sBytes, pst);
        case EValueKind::Null:
            *pst = {};
            *pnCost = 4;
            return true;
        default:
            return false;
    }
}

// An integer from a number: reals are truncated toward zero.
bool bToInteger(const STNumber& st, int64_t nMin, int64_t nMax, int64_t* pn) {
    if (st.bInteger) {
        if (st.n < nMin || st.n > nMax) return false;
        *pn = st.n;
        return true;
    }
    const double d = std::trunc(st.d);
    if (!(d >= static_cast<double>(nMin) && d <= static_cast<double>(nMax))) return false;
    *pn = static_cast<int64_t>(d);
    return true;
}

std::wstring sNumberText(const CValue& v) {
    if (v.eKind == EValueKind::Real) {
        char sz[64];
        auto [p, ec] = std::to_chars(sz, sz + sizeof sz, v.dReal);
        return ec == std::errc() ? std::wstring(sz, p) : std::wstring();
    }
    return std::to_wstring(v.nInteger);
}

// The value as wide text, with its cost: 0 text, 1 8-bit text, 2 a number or date written out,
// 4 null. False for binary and multiple values.
bool bAsWide(const CValue& v, std::wstring* ps, int* pnCost) {
    switch (v.eKind) {
        case EValueKind::Text: *ps = v.sText; *pnCost = 0; return true;
        case EValueKind::Ansi: *ps = sWideFromBytes(v.sBytes); *pnCost = 1; return true;
        case EValueKind::Bool:
        case EValueKind::Int:
        case EValueKind::Int64:
        case EValueKind::Real: *ps = sNumberText(v); *pnCost = 2; return true;
        case EValueKind::Money:
        case EValueKind::Date:
        case EValueKind::Time:
        case EValueKind::DateTime:
        case EValueKind::Duration: *ps = v.sText; *pnCost = 2; return true;
        case EValueKind::Null: ps->clear(); *pnCost = 4; return true;
        default: return false;
    }
}

enum class ECategory {
    Bool, Int32, Int64, Real, Money, DateTime, Duration, WidePointer, CountedWide, Utf8, Binary, Manip, Any, Gauge,
    Unsupported
};

ECategory eCategory(uint32_t dwType) {
    switch (dwType & ovtype::CODE_MASK) {
        case ovtype::BOOL: return ECategory::Bool;
        case ovtype::INT: return ECategory::Int32;
        case ovtype::INT64:
        case ovtype::HANDLE: return ECategory::Int64;
        case ovtype::REAL: return ECategory::Real;
        case ovtype::MONEY: return ECategory::Money;
        case ovtype::DATETIME: return ECategory::DateTime;
        case ovtype::DURATION: return ECategory::Duration;
        case ovtype::PROCEDURE:
        case ovtype::WPSZ:
        case ovtype::TEXT:
        case ovtype::SYS_STRING:
        case ovtype::SYS_TEXT:
        case ovtype::FREE_TEXT: return ECategory::WidePointer;
        case ovtype::STRING:
        case ovtype::FREE_STRING: return ECategory::CountedWide;
        case ovtype::CTEXT: return ECategory::Utf8;
        case ovtype::BUFFER: return ECategory::Binary;
        case ovtype::MANIP:
        case ovtype::MANIP2: return ECategory::Manip;
        case ovtype::ANY: return ECategory::Any;
        case ovtype::GAUGE: return ECategory::Gauge;
        default: return ECategory::Unsupported;
    }
}

// The value as money, with the cost of taking it so: 0 money, 1 an integer, 2 a real (through
// its text with six decimals), 3 a numeric text, 4 null. False when it is no number or out of range.
bool bAsMoney(const CValue& v, STMoneyView* pst, int* pnCost) {
    switch (v.eKind) {
        case EValueKind::Money: *pnCost = 0; return bMoneyFromText(v.sText, pst);
        case EValueKind::Bool:
        case EValueKind::Int:
        case EValueKind::Int64: *pnCost = 1; return bMoneyFromText(std::to_wstring(v.nInteger), pst);
        case EValueKind::Real: {
            *pnCost = 2;
            if (!(std::fabs(v.dReal) < 1e24)) return false;  // out of range, NaN included
            char sz[48];
            auto [p, ec] = std::to_chars(sz, sz + sizeof sz, v.dReal, std::chars_format::fixed, MONEY_DECIMALES);
            return ec == std::errc() && bMoneyFromText(std::wstring(sz, p), pst);
        }
        case EValueKind::Text: *pnCost = 3; return bMoneyFromText(v.sText, pst);
        case EValueKind::Ansi: *pnCost = 3; return bMoneyFromText(sWideFromBytes(v.sBytes), pst);
        case EValueKind::Null: *pst = {}; *pnCost = 4; return true;
        default: return false;
    }
}

// The value as a date-time, from its exact text: 0 a date-time, 1 a date (at midnight), 3 a text
// that reads as one. A time alone has no date and is refused.
bool bAsDateTime(const CValue& v, STDateTimeView* pst, int* pnCost) {
    switch (v.eKind) {
        case EValueKind::DateTime: *pnCost = 0; return bDateTimeViewFromText(v.sText, pst);
        case EValueKind::Date: *pnCost = 1; return bDateTimeViewFromText(v.sText, pst);
        case EValueKind::Text: *pnCost = 3; return bDateTimeViewFromText(v.sText, pst);
        case EValueKind::Ansi: *pnCost = 3; return bDateTimeViewFromText(sWideFromBytes(v.sBytes), pst);
        default: return false;
    }
}

// The value as a duration: 0 a duration, 3 a text holding its count of milliseconds.
bool bAsDuree(const CValue& v, STDureeView* pst, int* pnCost) {
    switch (v.eKind) {
        case EValueKind::Duration: *pnCost = 0; return bDureeViewFromText(v.sText, pst);
        case EValueKind::Text: *pnCost = 3; return bDureeViewFromText(v.sText, pst);
        case EValueKind::Ansi: *pnCost = 3; return bDureeViewFromText(sWideFromBytes(v.sBytes), pst);
        default: return false;
    }
}

// How well a value converts to a type code: 0 exact, higher worse, -1 not at all.
int nFitCost(const CValue& v, uint32_t dwType) {
    const ECategory e = eCategory(dwType);
    STNumber st;
    int nCost = 0;
    int64_t n = 0;
    std::wstring s;
    switch (e) {
        case ECategory::Bool:
            if (v.eKind == EValueKind::Bool) return 0;
            if (!bAsNumber(v, &st, &nCost)) return -1;
            return nCost == 0 ? (st.bInteger ? 1 : 2) : nCost;
        case ECategory::Int32:
        case ECategory::Int64: {
            const bool b32 = e == ECategory::Int32;
            if (v.eKind == (b32 ? EValueKind::Int : EValueKind::Int64)) return 0;
            if (!bAsNumber(v, &st, &nCost)) return -1;
            if (!bToInteger(st, b32 ? INT32_MIN : INT64_MIN, b32 ? INT32_MAX : INT64_MAX, &n)) return -1;
            return nCost == 0 ? (st.bInteger ? 1 : 2) : nCost;
        }
        case ECategory::Real:
            if (v.eKind == EValueKind::Real) return 0;
            if (!bAsNumber(v, &st, &nCost)) return -1;
            return nCost == 0 ? 1 : nCost;
        case ECategory::Money: {
            STMoneyView stMoney;
            return bAsMoney(v, &stMoney, &nCost) ? nCost : -1;
        }
        case ECategory::DateTime: {
            STDateTimeView stDate;
            return bAsDateTime(v, &stDate, &nCost) ? nCost : -1;
        }
        case ECategory::Duration: {
            STDureeView stDuree;
            return bAsDuree(v, &stDuree, &nCost) ? nCost : -1;
        }
        case ECategory::WidePointer:
        case ECategory::CountedWide:
            return bAsWide(v, &s, &nCost) ? nCost : -1;
        case ECategory::Utf8:
            if (v.eKind == EValueKind::Ansi) return 0;
            return bAsWide(v, &s, &nCost) ? nCost : -1;
        case ECategory::Binary:
            switch (v.eKind) {
                case EValueKind::Buffer: return 0;
                case EValueKind::Ansi: return 1;
                case EValueKind::Text: return 2;
                case EValueKind::Null: return 4;
                default: return -1;
            }
        case ECategory::Manip:
            if (v.eKind == EValueKind::Buffer || v.eKind == EValueKind::Ansi || v.eKind == EValueKind::Text) return 0;
            return bAsWide(v, &s, &nCost) ? nCost : -1;
        case ECategory::Any: {
            // A variant takes any value it can hold, a little behind an exact type; a trial fill is
            // the one test of what it can hold.
            STAnyView stAny{};
            const bool bHeld = bFillAnyView(v, &stAny);
            ReleaseAnyView(&stAny);
            return bHeld ? 1 : -1;
        }
        case ECategory::Gauge:
            // The machine's one gauge, by its name; null for no gauge at all.
            if (v.eKind == EValueKind::Null) return 4;
            return v.eKind == EValueKind::Text && v.sText == gszGaugeNameWide ? 0 : -1;
        case ECategory::Unsupported:
            return -1;
    }
    return -1;
}

// Storage of one argument for the length of a call. The vector entry points into it.
struct STSlot {
    ECategory e = ECategory::Unsupported;
    bool bByRef = false;
    int32_t n32 = 0;
    int64_t n64 = 0;
    double d = 0;
    STMoneyView stMoney{};
    STDateTimeView stDateTime{};
    STDureeView stDuree{};
    std::wstring sWide;
    const wchar_t* pszWide = nullptr;
    std::string sBytes;
    const char* pszBytes = nullptr;
    void* pvBlock = nullptr;  // counted block held by the host: released after the call
    STManipAUB stManip{nullptr, 0};
    STAnyView stAny{};  // the entry is the variant itself; its payload is released after the call
    IJaugeExec* piJauge = nullptr;
};

// Fills a slot from a value that nFitCost accepted, and answers the vector entry.
void* pvFillSlot(const CValue& v, uint32_t dwType, STSlot* pst, CStrMemAllocator& clAlloc, CJaugeMachine* pclJauge) {
    pst->e = eCategory(dwType);
    pst->bByRef = (dwType & ovtype::FLAG_BY_REFERENCE) != 0;
    STNumber stN;
    int nCost = 0;
    int64_t n = 0;
    switch (pst->e) {
        case ECategory::Bool:
            bAsNumber(v, &stN, &nCost);
            pst->n32 = (stN.bInteger ? stN.n != 0 : stN.d != 0) ? 1 : 0;
            return &pst->n32;
        case ECategory::Int32:
            bAsNumber(v, &stN, &nCost);
            bToInteger(stN, INT32_MIN, INT32_MAX, &n);
            pst->n32 = static_cast<int32_t>(n);
            return &pst->n32;
        case ECategory::Int64:
            bAsNumber(v, &stN, &nCost);
            bToInteger(stN, INT64_MIN, INT64_MAX, &n);
            pst->n64 = n;
            return &pst->n64;
        case ECategory::Real:
            bAsNumber(v, &stN, &nCost);
            pst->d = stN.bInteger ? static_cast<double>(stN.n) : stN.d;
            return &pst->d;
        case ECategory::Money:
            bAsMoney(v, &pst->stMoney, &nCost);
            return &pst->stMoney;
        case ECategory::DateTime:
            bAsDateTime(v, &pst->stDateTime, &nCost);
            return &pst->stDateTime;
        case ECategory::Duration:
            bAsDuree(v, &pst->stDuree, &nCost);
            return &pst->stDuree;
        case ECategory::WidePointer:
            bAsWide(v, &pst->sWide, &nCost);
            pst->pszWide = pst->sWide.c_str();
            return &pst->pszWide;
        case ECategory::CountedWide:
            bAsWide(v, &pst->sWide, &nCost);
            pst->pvBlock = clAlloc.pvNewWideText(pst->sWide);
            return &pst->pvBlock;
        case ECategory::Utf8:
            if (v.eKind == EValueKind::Ansi) {
                pst->sBytes = v.sBytes;
            } else {
                bAsWide(v, &pst->sWide, &nCost);
                pst->sBytes = sUtf8(pst->sWide);
            }
            pst->pszBytes = pst->sBytes.c_str();
            return &pst->pszBytes;
        case ECategory::Binary:
            pst->sBytes = v.eKind == EValueKind::Text ? sUtf8(v.sText) : v.sBytes;
            pst->pvBlock = clAlloc.pvNewBytes(pst->sBytes, true);
            return &pst->pvBlock;
        case ECategory::Manip:
            if (v.eKind == EValueKind::Ansi || v.eKind == EValueKind::Buffer) {
                const bool bBinary = v.eKind == EValueKind::Buffer;
                pst->stManip = {clAlloc.pvNewBytes(v.sBytes, bBinary),
                                static_cast<uint16_t>(bBinary ? ovtype::BUFFER : ovtype::ATEXT)};
            } else {
                bAsWide(v, &pst->sWide, &nCost);
                pst->stManip = {clAlloc.pvNewWideText(pst->sWide), static_cast<uint16_t>(ovtype::WTEXT)};
            }
            return &pst->stManip;
        case ECategory::Any:
            bFillAnyView(v, &pst->stAny);
            return &pst->stAny;
        case ECategory::Gauge:
            pst->piJauge = v.eKind == EValueKind::Text ? pclJauge : nullptr;
            return &pst->piJauge;
        case ECategory::Unsupported:
            break;
    }
    return nullptr;
}

// The value a by-reference argument holds after the call; what cannot be read goes in the note.
CValue clReadBack(const STSlot& st, std::string* psNote) {
    std::wstring s;
    std::string sBytes;
    switch (st.e) {
        case ECategory::Bool: return CValue::Bool(st.n32 != 0);
        case ECategory::Int32: return CValue::Int(st.n32);
        case ECategory::Int64: return CValue::Int64(st.n64);
        case ECategory::Real: return CValue::Real(st.d);
        case ECategory::Money: {
            CValue cl;
            cl.eKind = EValueKind::Money;
            cl.sText = sMoneyText(st.stMoney);
            return cl;
        }
        case ECategory::DateTime: {
            CValue cl;
            cl.eKind = EValueKind::DateTime;
            cl.sText = sDateTimeViewText(st.stDateTime);
            return cl;
        }
        case ECategory::Duration: {
            CValue cl;
            cl.eKind = EValueKind::Duration;
            cl.sText = sDureeViewText(st.stDuree);
            return cl;
        }
        case ECategory::WidePointer: return CValue::Text(st.pszWide != nullptr ? st.pszWide : L"");
        case ECategory::Utf8: return CValue::Text(sWideFromBytes(st.pszBytes != nullptr ? st.pszBytes : ""));
        case ECategory::CountedWide:
            return CStrMemAllocator::s_bReadWide(st.pvBlock, &s) ? CValue::Text(std::move(s)) : CValue::Null();
        case ECategory::Binary:
            return CStrMemAllocator::s_bReadBytes(st.pvBlock, &sBytes) ? CValue::Buffer(std::move(sBytes)) : CValue::Null();
        case ECategory::Manip:
            if (st.stManip.nType == ovtype::WTEXT)
                return CStrMemAllocator::s_bReadWide(st.stManip.pBloc, &s) ? CValue::Text(std::move(s)) : CValue::Null();
            if (!CStrMemAllocator::s_bReadBytes(st.stManip.pBloc, &sBytes)) return CValue::Null();
            if (st.stManip.nType == ovtype::ATEXT) return CValue::Ansi(std::move(sBytes));
            if (st.stManip.nType == ovtype::BUFFER) return CValue::Buffer(std::move(sBytes));
            return CValue::Null();
        case ECategory::Any: {
            CValue cl;
            bReadAnyView(&st.stAny, &cl, psNote);
            return cl;
        }
        case ECategory::Gauge:
        case ECategory::Unsupported: break;
    }
    return CValue::Null();
}


}  // namespace

// ---------------------------------------------------------------------------------------------

bool STFunctionInfo::bHasBody() const {
    for (const STOverloadInfo& st : tabOverloads)
        if (st.bHasBody) return true;
    return false;
}

struct CStandInMachine::CImpl {
    std::string sPath;
    void* hComponent = nullptr;  // this machine's dlopen reference
    void* hSelf = nullptr;       // our own module, as handed to the component
    STModule* pstModule = nullptr;
    bool bExecutionStarted = false;
    IZKLibrary* piLibrary = nullptr;
    bool bFinInit = false;
    std::string sLoadNote;
    STComponentTables stTables;
    std::unordered_map<std::string, size_t> mapFunctions;
    std::unordered_map<std::string, size_t> mapFunctionsLower;
    std::unordered_map<std::string, size_t> mapConstants;
    std::unordered_map<std::string, size_t> mapConstantsLower;
    CVirtualMachine clVM;
    CJaugeMachine clJauge;

    bool bLoad(const std::string& sLibraryPath, std::string* psError);
    void Unload();
    void IndexNames();
    // Row of a function by name: exact first, then without regard to ASCII case. -1 if none.
    int nFindFunction(std::string_view sName) const;
    int nFindConstant(std::string_view sName) const;
    bool bResolve(std::string_view sName, const std::vector<CValue>& tabArguments, size_t* pnRow, size_t* pnOverload,
                  std::string* psError) const;
    bool bCall(std::string_view sName, std::vector<CValue>& tabArguments, STCallOutcome* pstOutcome,
               std::string* psError);
    uint32_t dwNextFrame(size_t nGiven);
};

bool CStandInMachine::CImpl::bLoad(const std::string& sLibraryPath, std::string* psError) {
    const std::string sQuoted = "cannot load \"" + sLibraryPath + "\": ";
    auto bFail = [&](const std::string& sStep) {
        if (psError != nullptr) *psError = sQuoted + sStep;
        Unload();
        return false;
    };
    if (sLibraryPath.empty()) return bFail("no path given");
    struct stat stStat {};
    if (::stat(sLibraryPath.c_str(), &stStat) != 0) return bFail("file not found");
    if (!S_ISREG(stStat.st_mode)) return bFail("not a regular file");

    // A bare name would send dlopen searching the system's library path instead of this file.
    const std::string sOpen = sLibraryPath.find('/') == std::string::npos ? "./" + sLibraryPath : sLibraryPath;
    dlerror();
    hComponent = dlopen(sOpen.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (hComponent == nullptr) {
        const char* psz = dlerror();
        return bFail(std::string("dlopen: ") + (psz != nullptr ? psz : "failed"));
    }
    sPath = sLibraryPath;

    std::string sWhy;
    {
        std::lock_guard<std::mutex> lock(gmutexModules);
        STModule& stM = gmapModules[hComponent];
        if (stM.nMachines == 0) {
            stM.hModule = hComponent;
            struct STEntry {
                const char* pszName;
                void** ppv;
            } tabEntries[] = {
                {"bInitLibrary", reinterpret_cast<void**>(&stM.pfnInitLibrary)},
                {"TermLibrary", reinterpret_cast<void**>(&stM.pfnTermLibrary)},
                {"Execution", reinterpret_cast<void**>(&stM.pfnExecution)},
                {"InfoComposante", reinterpret_cast<void**>(&stM.pfnInfoComposante)},
                {"pQueryProxy", reinterpret_cast<void**>(&stM.pfnQueryProxy)},
            };
            for (const STEntry& st : tabEntries) {
                *st.ppv = dlsym(hComponent, st.pszName);
                if (*st.ppv == nullptr) {
                    sWhy = std::string("entry point ") + st.pszName + " not found";
                    break;
                }
            }
            stM.pfnInitConversion = reinterpret_cast<PFNINITCONVERSION>(dlsym(hComponent, "bInitZKConvFromVM"));
            if (sWhy.empty() && stM.pfnInitLibrary(hComponent) == 0) sWhy = "bInitLibrary answered 0";
        }
        if (sWhy.empty()) {
            ++stM.nMachines;
            pstModule = &stM;
        } else {
            gmapModules.erase(hComponent);
        }
    }
    if (!sWhy.empty()) return bFail(sWhy);

    hSelf = hOwnModule(&sWhy);
    if (hSelf == nullptr) return bFail(sWhy);

    STInitExecution stInit{};
    stInit.qwTaille = sizeof stInit;
    stInit.hMachine = hSelf;
    stInit.dwUtilisation1 = 0;
    stInit.dwUtilisation2 = 0;
    stInit.piLibShop = &CMachineServices::s_Instance().clLibShop();
    if (pstModule->pfnExecution(EXECUTION_INIT, reinterpret_cast<intptr_t>(&stInit)) == 0)
        return bFail("Execution(0xf91) answered 0");
    bExecutionStarted = true;

    // The component's variants convert through this machine's entries, bound by their names in
    // the machine's module. An older build has no such entry: it runs, without those conversions.
    if (pstModule->pfnInitConversion == nullptr)
        sLoadNote = "the library has no bInitZKConvFromVM: its variants cannot use the machine's conversions";
    else if (pstModule->pfnInitConversion(hSelf, kConversionVersion, kConversionCompatVersion) == 0)
        return bFail("bInitZKConvFromVM answered 0");

    CMemoryMap clMap;
    if (!CMemoryMap::s_bFromLoadedLibrary(hComponent, &clMap, &sWhy)) return bFail("memory map: " + sWhy);
    PFNINFOCOMPOSANTE pfnInfo = pstModule->pfnInfoComposante;
    CTableReader clReader([pfnInfo](unsigned int n, unsigned long i) { return pfnInfo(n, i); }, clMap);
    if (!clReader.bRead(&stTables, &sWhy)) return bFail("descriptor tables: " + sWhy);
    CMachineServices::s_Instance().clInformation().Register(hComponent, stTables.tabNames, clMap);
    IndexNames();

    piLibrary = static_cast<IZKLibrary*>(pstModule->pfnQueryProxy(kProxyLanguageObject));
    if (piLibrary == nullptr) return bFail("pQueryProxy(60) answered null");
    bFinInit = piLibrary->bFinInitZKL() != 0;
    return true;
}

void CStandInMachine::CImpl::Unload() {
    if (piLibrary != nullptr) {
        piLibrary->TermZKL();
        piLibrary->Release();
        piLibrary = nullptr;
    }
    if (bExecutionStarted) {
        pstModule->pfnExecution(EXECUTION_TERMINE, 0);
        bExecutionStarted = false;
    }
    if (pstModule != nullptr) {
        std::lock_guard<std::mutex> lock(gmutexModules);
        if (--pstModule->nMachines == 0) {
            CMachineServices::s_Instance().clInformation().Unregister(hComponent);
            pstModule->pfnTermLibrary();
            gmapModules.erase(hComponent);
        }
        pstModule = nullptr;
    }
    if (hComponent != nullptr) {
        dlclose(hComponent);
        hComponent = nullptr;
    }
    if (hSelf != nullptr) {
        dlclose(hSelf);
        hSelf = nullptr;
    }
    stTables = STComponentTables{};
    mapFunctions.clear();
    mapFunctionsLower.clear();
    mapConstants.clear();
    mapConstantsLower.clear();
    bFinInit = false;
    sLoadNote.clear();
}

void CStandInMachine::CImpl::IndexNames() {
    // The first row of a name wins: a few names stand twice in the table.
    for (size_t i = 0; i < stTables.tabFunctions.size(); ++i) {
        mapFunctions.emplace(stTables.tabFunctions[i].sName, i);
        mapFunctionsLower.emplace(sLower(stTables.tabFunctions[i].sName), i);
    }
    for (size_t i = 0; i < stTables.tabConstants.size(); ++i) {
        mapConstants.emplace(stTables.tabConstants[i].sName, i);
        mapConstantsLower.emplace(sLower(stTables.tabConstants[i].sName), i);
    }
}

namespace {

int nLookUp(const std::unordered_map<std::string, size_t>& mapExact,
            const std::unordered_map<std::string, size_t>& mapLower, std::string_view sName) {
    auto it = mapExact.find(std::string(sName));
    if (it != mapExact.end()) return static_cast<int>(it->second);
    it = mapLower.find(sLower(sName));
    return it == mapLower.end() ? -1 : static_cast<int>(it->second);
}

}  // namespace

int CStandInMachine::CImpl::nFindFunction(std::string_view sName) const {
    return nLookUp(mapFunctions, mapFunctionsLower, sName);
}

int CStandInMachine::CImpl::nFindConstant(std::string_view sName) const {
    return nLookUp(mapConstants, mapConstantsLower, sName);
}

namespace {
// Frame words are looked up only among the calls in progress on the calling thread, so a serial
// per thread keeps them apart, without the locked increment a shared counter costs every call.
thread_local uint32_t t_nSerial = 0;
}  // namespace

uint32_t CStandInMachine::CImpl::dwNextFrame(size_t nGiven) {
    uint32_t nSerial16 = 0;
    while (nSerial16 == 0) nSerial16 = ++t_nSerial & 0xffffu;
    return (nSerial16 << 16) | static_cast<uint32_t>(nGiven & 0xffffu);
}

namespace {

// Everything a call holds, given back on every path out of it.
struct CCallResources {
    CVirtualMachine& clVM;
    CStrMemAllocator& clAlloc;
    STCallContext stContext;
    std::vector<STSlot> tabSlots;
    bool bRegistered = false;
    CJaugeMachine* pclJaugeEnCours = nullptr;  // the gauge this call was handed, until it ends

    ~CCallResources() {
        if (pclJaugeEnCours != nullptr) pclJaugeEnCours->FinAppel();
        if (bRegistered) clVM.EndCall(&stContext);
        for (STSlot& st : tabSlots) {
            clAlloc.ReleaseBlock(st.pvBlock);
            clAlloc.ReleaseBlock(st.stManip.pBloc);
            ReleaseAnyView(&st.stAny);
        }
    }
};

}  // namespace

bool CStandInMachine::CImpl::bResolve(std::string_view sName, const std::vector<CValue>& tabArguments, size_t* pnRow,
                                      size_t* pnOverload, std::string* psError) const {
    auto bFail = [&](const std::string& s) {
        if (psError != nullptr) *psError = s;
        return false;
    };
    if (piLibrary == nullptr) return bFail("no library loaded");
    const int nFound = nFindFunction(sName);
    if (nFound < 0) return bFail("unknown function " + std::string(sName));
    const size_t nRow = static_cast<size_t>(nFound);
    const STFunctionInfo& stF = stTables.tabFunctions[nRow];

    // The overload of least total cost; ties go to the earlier overload.
    const size_t nGiven = tabArguments.size();
    int nBest = -1;
    int nBestCost = 0;
    std::string sWhyNot;
    for (size_t k = 0; k < stF.tabOverloads.size(); ++k) {
        const STOverloadInfo& stO = stF.tabOverloads[k];
        const size_t nFixed = stO.tabArguments.size();
        if (stO.bVariadic ? nGiven < nFixed : nGiven != nFixed) continue;
        int nTotal = 0;
        for (size_t i = 0; i < nFixed && nTotal >= 0; ++i) {
            const int n = nFitCost(tabArguments[i], stO.tabArguments[i]);
            if (n < 0) {
                if (sWhyNot.empty())
                    sWhyNot = stF.sName + ": argument " + std::to_string(i + 1) + " (" + pszKindName(tabArguments[i].eKind) +
                              ") does not convert to " + s_sTypeWord(stO.tabArguments[i]);
                nTotal = -1;
            } else {
                nTotal += n;
            }
        }
        if (nTotal >= 0 && (nBest < 0 || nTotal < nBestCost)) {
            nBest = static_cast<int>(k);
            nBestCost = nTotal;
        }
    }
    if (nBest < 0) {
        if (!sWhyNot.empty()) return bFail(sWhyNot);
        std::string sCounts;
        for (const STOverloadInfo& stO : stF.tabOverloads)
            sCounts += (sCounts.empty() ? "" : ", ") + std::to_string(stO.tabArguments.size()) + (stO.bVariadic ? "+" : "");
        return bFail(stF.sName + " takes " + sCounts + " arguments, not " + std::to_string(nGiven));
    }
    if (stTables.tabThunks[nRow][static_cast<size_t>(nBest)] == nullptr)
        return bFail(stF.sName + " has no body on this platform");
    *pnRow = nRow;
    *pnOverload = static_cast<size_t>(nBest);
    return true;
}

bool CStandInMachine::CImpl::bCall(std::string_view sName, std::vector<CValue>& tabArguments,
                                   STCallOutcome* pstOutcome, std::string* psError) {
    size_t nRow = 0, nOverload = 0;
    if (!bResolve(sName, tabArguments, &nRow, &nOverload, psError)) return false;
    const size_t nGiven = tabArguments.size();
    const STOverloadInfo& stO = stTables.tabFunctions[nRow].tabOverloads[nOverload];
    const PFNTHUNK pfnThunk = stTables.tabThunks[nRow][nOverload];

    CStrMemAllocator& clAlloc = CMachineServices::s_Instance().clAllocator();
    CCallResources clRes{clVM, clAlloc, {}, {}, false};
    const size_t nFixed = stO.tabArguments.size();
    clRes.tabSlots.resize(nFixed);  // never resized again: the vector points into it
    std::vector<void*> tabVector(nFixed + 1, nullptr);
    for (size_t i = 0; i < nFixed; ++i) {
        tabVector[i] = pvFillSlot(tabArguments[i], stO.tabArguments[i], &clRes.tabSlots[i], clAlloc, &clJauge);
        if (clRes.tabSlots[i].piJauge != nullptr && clRes.pclJaugeEnCours == nullptr) {
            clJauge.DebutAppel(stTables.tabFunctions[nRow].sName);
            clRes.pclJaugeEnCours = &clJauge;
        }
    }
    clRes.stContext.dwFrame = dwNextFrame(nGiven);
    clRes.stContext.tabExtraArguments.assign(tabArguments.begin() + static_cast<std::ptrdiff_t>(nFixed),
                                             tabArguments.end());

    STZKAppel stAppel{};
    stAppel.piVM = &clVM;
    stAppel.dwFrame = clRes.stContext.dwFrame;
    clVM.BeginCall(&clRes.stContext);
    clRes.bRegistered = true;
    STZKAppel* pstPrevious = piLibrary->ChangeContexteAppel(&stAppel);
    const int nThunk = pfnThunk(&stAppel, piLibrary, tabVector.data());
    piLibrary->ChangeContexteAppel(pstPrevious);
    if (clRes.pclJaugeEnCours != nullptr) {
        clRes.pclJaugeEnCours->FinAppel();
        clRes.pclJaugeEnCours = nullptr;
    }

    STCallOutcome stOut;
    for (size_t i = 0; i < nFixed; ++i) {
        if (!clRes.tabSlots[i].bByRef) continue;
        std::string sNote;
        tabArguments[i] = clReadBack(clRes.tabSlots[i], &sNote);
        if (!sNote.empty()) clRes.stContext.tabNotes.push_back("argument " + std::to_string(i + 1) + ": " + sNote);
    }
    stOut.clResult = clRes.stContext.clFinalResult();
    for (const std::string& s : clRes.stContext.tabNotes) stOut.sNote += (stOut.sNote.empty() ? "" : "; ") + s;
    if (CXError* pclError = piLibrary->pclGetError()) {
        STErrorView stView;
        std::memcpy(&stView, pclError, sizeof stView);
        stOut.stError.nLevel = stView.eLevel;
        stOut.stError.nCode = stView.nUserCode;
        stOut.stError.sMessage = stView.pszUserMessage != nullptr ? stView.pszUserMessage : L"";
        stOut.stError.sDebug = stView.pszDebugMessage != nullptr ? stView.pszDebugMessage : L"";
        stOut.bError = stView.eLevel != kLevelNoError;
    }
    if (nThunk == 1) {
        // A forward: the function lives in another library, which this machine does not load.
        stOut.bError = true;
        stOut.stError.sDebug = L"##(CStandInMachine)-Forward Library=<" + std::to_wstring(stAppel.nBibliothequeCible) +
                               L"> Index=<" + std::to_wstring(stAppel.nIndexCible) + L">##";
    } else if (nThunk != 0) {
        stOut.sNote += (stOut.sNote.empty() ? "" : "; ") + std::string("thunk answered ") + std::to_string(nThunk);
    }
    if (pstOutcome != nullptr) *pstOutcome = std::move(stOut);
    return true;
}

// ---------------------------------------------------------------------------------------------
// CStandInMachine

CStandInMachine::CStandInMachine() : m_pclImpl(std::make_unique<CImpl>()) {}

CStandInMachine::~CStandInMachine() { m_pclImpl->Unload(); }

bool CStandInMachine::bLoad(const std::string& sLibraryPath, std::string* psError) {
    if (bLoaded()) {
        if (psError != nullptr) *psError = "cannot load \"" + sLibraryPath + "\": a library is already loaded";
        return false;
    }
    try {
        return m_pclImpl->bLoad(sLibraryPath, psError);
    } catch (const std::exception& e) {
        if (psError != nullptr) *psError = "cannot load \"" + sLibraryPath + "\": " + e.what();
        m_pclImpl->Unload();
        return false;
    }
}

void CStandInMachine::Unload() { m_pclImpl->Unload(); }

bool CStandInMachine::bLoaded() const { return m_pclImpl->piLibrary != nullptr; }

std::string CStandInMachine::s_sDefaultLibraryPath() {
    const char* psz = std::getenv("OV200STD64");
    if (psz != nullptr && *psz != 0) return psz;
    auto sDossier = [](const std::string& s) {
        const size_t nSlash = s.rfind('/');
        return nSlash == std::string::npos ? std::string(".") : s.substr(0, nSlash);
    };
    // Beside the program first: a build tree keeps ovrun, the tests and the library together.
    std::string sBesideProgram = "ov200std64.so";
    char sz[4096];
    const ssize_t n = readlink("/proc/self/exe", sz, sizeof sz - 1);
    if (n > 0) {
        sBesideProgram = sDossier(std::string(sz, static_cast<size_t>(n))) + "/ov200std64.so";
        if (access(sBesideProgram.c_str(), F_OK) == 0) return sBesideProgram;
    }
    // Installed, the component lives in the machine's own library folder, beside this library.
    Dl_info stInfo{};
    if (dladdr(reinterpret_cast<void*>(&MachineModuleAnchor), &stInfo) != 0 && stInfo.dli_fname != nullptr) {
        const std::string sBesideMachine = sDossier(stInfo.dli_fname) + "/ov200std64.so";
        if (access(sBesideMachine.c_str(), F_OK) == 0) return sBesideMachine;
    }
    return sBesideProgram;
}

const std::vector<STFunctionInfo>& CStandInMachine::tabFunctions() const { return m_pclImpl->stTables.tabFunctions; }
const std::vector<STConstantInfo>& CStandInMachine::tabConstants() const { return m_pclImpl->stTables.tabConstants; }
const std::vector<STVariableInfo>& CStandInMachine::tabVariables() const { return m_pclImpl->stTables.tabVariables; }
const std::vector<STClassInfo>& CStandInMachine::tabClasses() const { return m_pclImpl->stTables.tabClasses; }
const std::vector<std::string>& CStandInMachine::tabTypeReferences() const {
    return m_pclImpl->stTables.tabTypeReferences;
}
bool CStandInMachine::bPrepare(std::string_view sName, const std::vector<CValue>& tabSample, STPreparedCall* pstCall,
                               std::string* psError) const {
    size_t nRow = 0, nOverload = 0;
    if (!m_pclImpl->bResolve(sName, tabSample, &nRow, &nOverload, psError)) return false;
    pstCall->pfnThunk = m_pclImpl->stTables.tabThunks[nRow][nOverload];
    pstCall->nArguments = static_cast<uint32_t>(tabSample.size());
    return true;
}

bool CStandInMachine::bCallPrepared(const STPreparedCall& stCall, void** ppArguments, CValue* pclResult) {
    CImpl& cl = *m_pclImpl;
    STCallContext stContext;
    stContext.dwFrame = cl.dwNextFrame(stCall.nArguments);
    // The caller's value lends its storage to the result, which a caller in a loop reads on
    // every call; it starts as the null value all the same.
    stContext.clResult = std::move(*pclResult);
    stContext.clResult.Clear();
    STZKAppel stAppel{};
    stAppel.piVM = &cl.clVM;
    stAppel.dwFrame = stContext.dwFrame;
    cl.clVM.BeginCall(&stContext);
    STZKAppel* pstPrevious = cl.piLibrary->ChangeContexteAppel(&stAppel);
    const int nThunk = stCall.pfnThunk(&stAppel, cl.piLibrary, ppArguments);
    cl.piLibrary->ChangeContexteAppel(pstPrevious);
    cl.clVM.EndCall(&stContext);
    *pclResult = std::move(stContext.clResult);
    return nThunk == 0;
}

bool CStandInMachine::bFinInitResult() const { return m_pclImpl->bFinInit; }
const std::string& CStandInMachine::sLoadNote() const { return m_pclImpl->sLoadNote; }
void CStandInMachine::SetModeChaine(int nMode) { m_pclImpl->clVM.SetModeChaine(nMode); }
void CStandInMachine::SetProcedureHost(IProcedureHost* piProcedures) { m_pclImpl->clVM.SetProcedureHost(piProcedures); }
void CStandInMachine::ArmeInterruption(int nApres) { m_pclImpl->clVM.ArmeInterruption(nApres); }
CJaugeMachine& CStandInMachine::clJauge() { return m_pclImpl->clJauge; }

const STFunctionInfo* CStandInMachine::pstFindFunction(std::string_view sName) const {
    const int n = m_pclImpl->nFindFunction(sName);
    return n < 0 ? nullptr : &m_pclImpl->stTables.tabFunctions[static_cast<size_t>(n)];
}

const STConstantInfo* CStandInMachine::pstFindConstant(std::string_view sName) const {
    const int n = m_pclImpl->nFindConstant(sName);
    return n < 0 ? nullptr : &m_pclImpl->stTables.tabConstants[static_cast<size_t>(n)];
}

bool CStandInMachine::bCall(std::string_view sName, std::vector<CValue>& tabArguments, STCallOutcome* pstOutcome,
                            std::string* psError) {
    try {
        return m_pclImpl->bCall(sName, tabArguments, pstOutcome, psError);
    } catch (const std::exception& e) {
        if (psError != nullptr) *psError = std::string(sName) + ": " + e.what();
        return false;
    } catch (...) {
        if (psError != nullptr) *psError = std::string(sName) + ": the call failed";
        return false;
    }
}

std::string CStandInMachine::s_sTypeWord(uint32_t dwType) {
    const char* psz = ovtype::pszTypeName(dwType);
    std::string s;
    if (psz != nullptr) {
        s = psz;
    } else {
        char sz[16];
        std::snprintf(sz, sizeof sz, "0x%02x", dwType & ovtype::CODE_MASK);
        s = sz;
    }
    if (const uint32_t nRef = dwType >> ovtype::TYPEREF_SHIFT) s += "(" + std::to_string(nRef) + ")";
    if (dwType & ovtype::FLAG_BY_REFERENCE) s += "&";
    return s;
}

}  // namespace ovhost
