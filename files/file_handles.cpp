// File-handle table and fFerme. Opening arrives with the streams; the table and its checks are
// here already so that every handle function validates the same way.
#include "files/file_handles.h"

#include <cstdlib>

#include "component/thunk.h"

namespace {
_stCTXFIC gstCtxFIC;
}

_stCTXFIC* CComposanteStandard::m_stCtxFIC = &gstCtxFIC;

struct _stFICHIER {
    int nDescripteur = -1;
};

static void _FIC_LibereTable() {
    std::free(gstCtxFIC.pstEntrees);
    gstCtxFIC.pstEntrees = nullptr;
    gstCtxFIC.nCapacite = 0;
    gstCtxFIC.nNbUtilise = 0;
    gstCtxFIC.nPremierLibre = -1;
}

bool _FIC_bInitModule() {
    gstCtxFIC.pRecherche = nullptr;
    return true;
}

void _FIC_FinModule() {
    for (int i = 0; i < gstCtxFIC.nCapacite; ++i) {
        _stENTREEFIC& st = gstCtxFIC.pstEntrees[i];
        if (st.nEtat == -2) delete st.pstFichier;
    }
    _FIC_LibereTable();
    gstCtxFIC.pRecherche = nullptr;
}

_stFICHIER* _FIC_pstValide(int nHandle) {
    if (nHandle < 0 || nHandle >= gstCtxFIC.nCapacite) return nullptr;
    const _stENTREEFIC& st = gstCtxFIC.pstEntrees[nHandle];
    return st.nEtat == -2 ? st.pstFichier : nullptr;
}

int CComposanteStandard::fFerme(int nHandle) {
    _stFICHIER* pstFichier = _FIC_pstValide(nHandle);
    if (!pstFichier) {
        // The table marks this error as level 3; a bad number is an ordinary mistake of the
        // program, so the function lowers it to 2.
        RaiseError(&gstMyModuleInfo8, 80022, nHandle);
        pclGetError()->SetErrorLevel(2);
        return -1;
    }
    _stENTREEFIC& st = gstCtxFIC.pstEntrees[nHandle];
    st.nEtat = gstCtxFIC.nPremierLibre;
    st.pstFichier = nullptr;
    gstCtxFIC.nPremierLibre = nHandle;
    --gstCtxFIC.nNbUtilise;
    delete pstFichier;
    return 0;
}
