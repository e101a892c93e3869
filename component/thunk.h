// The thunk's call: runs the method, pushes its result, and keeps exceptions inside.
#pragma once

#include <new>
#include <type_traits>

#include "base/error.h"
#include "component/composante.h"
#include "component/thunk_types.h"

namespace ovthunk {

// ---------------------------------------------------------------- the call

// Runs the method and pushes its result. Nothing thrown inside a method crosses the thunk: the
// only exception the library can meet is a failed allocation, which becomes the out-of-memory
// error in the instance's error object.
// Every call starts with a clean error object, so that the machine, which reads it after each
// call, never sees the failure of an earlier one.
inline void ClearError(CComposanteStandard* pclThis) noexcept {
    CXError* pclError = pclThis->pclGetError();
    if (pclError && pclError->eGetErrorLevel() != CXError::EL_NOERROR) pclError->RAZ();
}

template <uint32_t RESULT, typename F>
int nCall(STZKAppel* pstAppel, CComposanteStandard* pclThis, F&& fnMethod) noexcept {
    ClearError(pclThis);
    try {
        if constexpr (std::is_void_v<typename TResult<RESULT>::type>) {
            fnMethod();
        } else {
            TResult<RESULT>::Push(pstAppel, fnMethod());
        }
    } catch (...) {
        pclThis->pclGetError()->SetErrorNoMemory();
    }
    return 0;
}

// A function that moved to another library: the machine re-dispatches it there.
inline int nForward(STZKAppel* pstAppel, CComposanteStandard* pclThis, int nIndex) noexcept {
    ClearError(pclThis);
    pstAppel->nBibliothequeCible = 42;
    pstAppel->nIndexCible = nIndex;
    pclThis->pclGetError()->SetErrorLevel(CXError::EL_FORWARD);
    return 1;
}

}  // namespace ovthunk
