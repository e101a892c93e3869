// The language functions of shared memory zones: fMemOuvre gives an ordinary file handle on a
// zone, fMemExiste tells whether one exists, fMemAttend waits until the others have been told.
#include <cerrno>
#include <new>

#include "base/manip.h"
#include "component/thunk.h"
#include "files/file_handles.h"
#include "memory/shared_memory.h"

namespace {

constexpr int kErreurHandle = 80022;
constexpr int kErreurMemoire = 80041;
constexpr int kErreurOuverture = 81508;
constexpr int kErreurPasUneZone = 81509;
constexpr int kErreurProcedure = 81510;

constexpr int kOptionEcriture = 0x0002;
constexpr int kOptionUnicode = 0x1000;
constexpr int kPartageSysteme = 4;

constexpr int kTypeZone = 1;

// 81508 with the system's reason, which errno still holds.
void ErreurOuverture(CComposanteStandard* pclThis, int nErrno) {
    pclThis->RaiseError(&gstMyModuleInfo8, kErreurOuverture);
    pclThis->pclGetError()->SetSystemErrorParam(static_cast<unsigned int>(nErrno));
}

}  // namespace

int CComposanteStandard::fMemOuvre(const wchar_t* pszNom, int nTaille, int nPartage, int nOptions,
                                   const wchar_t* pszProcedure) {
    const int nAcces = (nOptions & kOptionEcriture) ? OVSMA_LECTUREECRITURE : OVSMA_LECTURE;
    const bool bUnicode = (nOptions & kOptionUnicode) != 0;
    const bool bExistait = bUnicode && fMemExiste(pszNom, 0);

    auto* pclZone = new (std::nothrow) CFileSharedMemory();
    if (pclZone == nullptr) {
        RaiseError(&gstMyModuleInfo8, kErreurMemoire);
        return -1;
    }
    pclZone->dwAddRef();
    // From here every failure lets go of the zone: its release detaches and closes it.
    if (!pclZone->bOpenCreateMemory(pszNom != nullptr ? pszNom : L"", nAcces, nTaille,
                                    nPartage == kPartageSysteme ? COVSemProccess::ePARTAGE_GLOBAL
                                                                : COVSemProccess::ePARTAGE_SESSION) ||
        !pclZone->bAttach(nAcces)) {
        const int nErrno = errno;
        pclZone->dwRelease();
        ErreurOuverture(this, nErrno);
        return -1;
    }
    if (pszProcedure != nullptr && pszProcedure[0] != 0 &&
        !pclZone->bSetCallbackNotif(pszProcedure, piGetVM(), pclGetError())) {
        pclZone->dwRelease();
        RaiseError(&gstMyModuleInfo8, kErreurProcedure);
        return -1;
    }

    auto* pstInfo = new (std::nothrow) _stINFOFIC();
    const int nHandle = pstInfo != nullptr ? _FIC_nAjouteHandle(pstInfo) : -1;
    if (nHandle < 0) {
        delete pstInfo;
        pclZone->dwRelease();
        ErreurOuverture(this, ENOMEM);
        return -1;
    }
    pstInfo->nType = kTypeZone;
    pstInfo->piFlux = pclZone;
    pstInfo->bNomUnicode = 1;
    if (!bUnicode) return nHandle;

    pstInfo->bUnicode = 1;
    if (!bExistait) {
        static constexpr uint8_t kabyMarque[2] = {0xFF, 0xFE};
        unsigned int nEcrit = 0;
        if (!pclZone->bWrite(kabyMarque, 2, &nEcrit) || nEcrit != 2) {
            const int nErrno = errno != 0 ? errno : ENOSPC;
            fFerme(nHandle);
            ErreurOuverture(this, nErrno);
            return -1;
        }
    } else {
        uint8_t aby[2] = {};
        unsigned int nLu = 0;
        if (!pclZone->bRead(aby, 2, &nLu) || nLu != 2 || aby[0] != 0xFF || aby[1] != 0xFE)
            pclZone->bSeek(0, eSEEK_DEBUT);
    }
    return nHandle;
}

bool CComposanteStandard::fMemExiste(const wchar_t* pszNom, int /*nIgnore*/) {
    if (pszNom == nullptr || pszNom[0] == 0) return false;
    COVSharedMemory clZone;
    return clZone.bOpenMemory(pszNom, OVSMA_LECTURE);
}

bool CComposanteStandard::fMemAttend(int nHandle, int nDelaiMs) {
    _stINFOFIC* pstInfo = s_pGetFicBagInfoFic(nHandle);
    if (pstInfo == nullptr) {
        RaiseError(&gstMyModuleInfo8, kErreurHandle, nHandle);
        pclGetError()->SetErrorLevel(2);
        return false;
    }
    auto* pclZone = pstInfo->nType == kTypeZone ? dynamic_cast<CFileSharedMemory*>(pstInfo->piFlux) : nullptr;
    if (pclZone == nullptr) {
        RaiseError(&gstMyModuleInfo8, kErreurPasUneZone);
        return false;
    }
    return pclZone->bAttendNotif(nDelaiMs < 1 ? kIPCInfini : static_cast<uint32_t>(nDelaiMs));
}
