// The language functions diffCree and diffApplique.
#include <vector>

#include "component/thunk.h"
#include "diff/diff.h"

namespace {

constexpr int kOptionLimite = 0x2;
constexpr int kOptionDecomposition = 0x4;

// Sets the function's numbered error; both functions then answer the empty binary.
CZKBIN _TraiteErreurDiff(CComposanteStandard* pclThis, CDiffXDelta::EErrorType eErreur) {
    pclThis->RaiseError(&gstMyModuleInfo8, CDiffXDelta::s_nNumeroMessage(eErreur));
    return CZKBIN();
}

CZKBIN clVersBuffer(CComposanteStandard* pclThis, const std::vector<uint8_t>& tab) {
    CZKBIN cl(tab.data(), static_cast<int>(tab.size()));
    if (cl.bEstNull() && !tab.empty()) pclThis->pclGetError()->SetErrorNoMemory();
    return cl;
}

}  // namespace

CZKBIN CComposanteStandard::diffCree(CZKBIN clSource, CZKBIN clCible, int nOptions, int nLimite) {
    CDiffXDelta clDelta;
    clDelta.SetLimite((nOptions & kOptionLimite) != 0 ? nLimite : -1);
    std::vector<uint8_t> tab;
    if (!clDelta.bComputeDiff(clSource.pbyGet(), static_cast<size_t>(clSource.nGetTaille()), clCible.pbyGet(),
                              static_cast<size_t>(clCible.nGetTaille()), &tab, (nOptions & kOptionDecomposition) != 0))
        return _TraiteErreurDiff(this, clDelta.eGetErreur());
    return clVersBuffer(this, tab);
}

CZKBIN CComposanteStandard::diffApplique(CZKBIN clSource, CZKBIN clDifference) {
    CDiffXDelta clDelta;
    std::vector<uint8_t> tab;
    if (!clDelta.bApplyDiff(clSource.pbyGet(), static_cast<size_t>(clSource.nGetTaille()), clDifference.pbyGet(),
                            static_cast<size_t>(clDifference.nGetTaille()), &tab))
        return _TraiteErreurDiff(this, clDelta.eGetErreur());
    return clVersBuffer(this, tab);
}
