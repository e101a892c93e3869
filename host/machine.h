// The stand-in machine: loads the component by path exactly as the closed machine does, runs its
// lifecycle, reads its descriptor tables as bytes and calls language functions by name.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/interfaces/machine.h"
#include "host/gauge.h"
#include "host/value.h"

namespace ovhost {

class IProcedureHost;  // host/vm.h

struct STOverloadInfo {
    uint32_t dwResult = 0;               // whole type word
    std::vector<uint32_t> tabArguments;  // whole type words
    uint32_t dwArgumentWord = 0;         // as stored: count, variadic bit, bit 8
    uint32_t dwFlags = 0;                // the word at offset 8 of the record
    bool bVariadic = false;
    bool bHasBody = false;               // non-null thunk
};

struct STFunctionInfo {
    int nRow = 0;
    uint32_t nNameNumber = 0;
    std::string sName;
    int nFunctionIndex = 0;
    uint32_t dwAvailability = 0;
    std::vector<STOverloadInfo> tabOverloads;
    bool bHasBody() const;
};

struct STConstantInfo {
    std::string sName;
    uint32_t nNameNumber = 0;
    uint64_t nStableNumber = 0;
    uint32_t nTypeCode = 0;
    CValue clValue;
};

struct STVariableInfo {
    std::string sName;
    uint32_t nNameNumber = 0;
    int nIndex = 0;
    uint32_t nTypeCode = 0;
};

struct STPropertyInfo {
    std::string sName;
    uint32_t nNameNumber = 0;
    uint32_t dwIdentifier = 0;
    uint32_t nTypeCode = 0;
    uint32_t dwFlags = 0;
    bool bGetter = false;
    bool bSetter = false;
    bool bForceSetter = false;
};

struct STClassInfo {
    std::string sName;
    uint32_t nNameNumber = 0;
    std::string sTypeReference;
    std::vector<STPropertyInfo> tabProperties;
};

struct STCallError {
    int nLevel = 1;  // 1: no error
    int nCode = 0;
    std::wstring sMessage;
    std::wstring sDebug;
};

struct STCallOutcome {
    CValue clResult;
    bool bError = false;  // the error object's level was not 1 after the call
    STCallError stError;
    std::string sNote;  // what the machine could not take: unread result types, stray members
};

// A call resolved once, as a compiled program holds it: the thunk of the chosen overload.
struct STPreparedCall {
    PFNTHUNK pfnThunk = nullptr;
    uint32_t nArguments = 0;
};

class CStandInMachine {
public:
    CStandInMachine();
    ~CStandInMachine();  // stops the component in the machine's order and unloads it
    CStandInMachine(const CStandInMachine&) = delete;
    CStandInMachine& operator=(const CStandInMachine&) = delete;

    // dlopen, bInitLibrary, Execution(0xf91), bInitZKConvFromVM, the tables, pQueryProxy(60),
    // bFinInitZKL. False with a message naming the path and the failing step.
    bool bLoad(const std::string& sLibraryPath, std::string* psError);
    void Unload();
    bool bLoaded() const;

    // The library next to the running executable, or $OV200STD64 when set.
    static std::string s_sDefaultLibraryPath();

    const std::vector<STFunctionInfo>& tabFunctions() const;
    const std::vector<STConstantInfo>& tabConstants() const;
    const std::vector<STVariableInfo>& tabVariables() const;
    const STFunctionInfo* pstFindFunction(std::string_view sName) const;
    const STConstantInfo* pstFindConstant(std::string_view sName) const;
    const std::vector<STClassInfo>& tabClasses() const;
    const std::vector<std::string>& tabTypeReferences() const;
    // The answer of bFinInitZKL at load (the machine goes on either way, as the real one decides).
    bool bFinInitResult() const;
    // What the load noticed without failing (a library without bInitZKConvFromVM); empty if nothing.
    const std::string& sLoadNote() const;
    // What nModeChaine answers the component (0 by default: wide text). A text function whose result
    // form is its own choice (code 0x4b) and that has no text input to follow answers 8-bit text
    // (UTF-8) in modes 1 and 2, wide text in any other.
    void SetModeChaine(int nMode);
    // The procedures the library's callback forms find by name (null: none), and the user's
    // interruption: the nApres-th check from now answers that the user stopped (0 disarms).
    void SetProcedureHost(IProcedureHost* piProcedures);
    void ArmeInterruption(int nApres);
    // The machine's progress gauge, which a call receives for a gauge argument given as the text
    // gszGaugeName (a null value gives the function no gauge). It records every report; the
    // caller may have it drawn.
    CJaugeMachine& clJauge();

    // Picks an overload by argument count and types, converts, calls the thunk, reads the result
    // pushed through SetRetour and the error object. By-reference arguments are written back into
    // tabArguments. False (with a message) when the call cannot be made at all: unknown function,
    // no overload for these arguments, no body on this platform. Language errors are outcomes.
    bool bCall(std::string_view sName, std::vector<CValue>& tabArguments, STCallOutcome* pstOutcome,
               std::string* psError);

    // Resolves a call once, from sample arguments, for a caller that then builds the argument
    // vector itself (benchmarks, embedders). False as bCall when the call cannot be made.
    bool bPrepare(std::string_view sName, const std::vector<CValue>& tabSample, STPreparedCall* pstCall,
                  std::string* psError) const;
    // Runs a prepared call: the vector holds one pointer per argument in the thunk's form. The
    // result is what the component pushed; the error object is left for pclGetError. pclResult's
    // storage is reused for the result, so no argument may point into it.
    bool bCallPrepared(const STPreparedCall& stCall, void** ppArguments, CValue* pclResult);

    // Readable form of a type word: "int", "text&", ...
    static std::string s_sTypeWord(uint32_t dwType);

    struct CImpl;

private:
    std::unique_ptr<CImpl> m_pclImpl;
};

}  // namespace ovhost
