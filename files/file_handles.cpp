// The language's file handles: the table, opening and closing, position, size, locks and name.
// Reading and writing through a handle are in file_handles_io.cpp.
#include "files/file_handles.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "base/manip.h"
#include "component/thunk.h"
#include "files/disk_file.h"
#include "files/internal/file_handles_internal.h"

namespace {
_stCTXFIC gstCtxFIC;

constexpr int kEtatUtilise = -2;
// The first handle the table gives out: 0 and 1 stand for the console in other languages of the
// runtime, so a program that confuses them with a file meets an error rather than a file.
constexpr int kPremierHandle = 2;

// Grows the table; the new entries join the free list lowest first. False when memory fails.
bool _bAgrandit() {
    const int nAncienne = gstCtxFIC.nCapacite;
    const int nAjout = nAncienne < gstCtxFIC.nPas ? gstCtxFIC.nPas : nAncienne;
    if (nAncienne > (1 << 24)) return false;
    const int nNouvelle = nAncienne + nAjout;
    void* p = std::realloc(gstCtxFIC.pstEntrees, sizeof(_stENTREEFIC) * static_cast<size_t>(nNouvelle));
    if (p == nullptr) return false;
    gstCtxFIC.pstEntrees = static_cast<_stENTREEFIC*>(p);
    std::memset(gstCtxFIC.pstEntrees + nAncienne, 0, sizeof(_stENTREEFIC) * static_cast<size_t>(nAjout));
    int nDebut = nAncienne;
    // The reserved entries exist but are never on the free list.
    for (; nDebut < kPremierHandle && nDebut < nNouvelle; ++nDebut) gstCtxFIC.pstEntrees[nDebut].nEtat = kEtatUtilise;
    for (int i = nNouvelle - 1; i >= nDebut; --i) {
        gstCtxFIC.pstEntrees[i].nEtat = gstCtxFIC.nPremierLibre;
        gstCtxFIC.nPremierLibre = i;
    }
    gstCtxFIC.nCapacite = nNouvelle;
    return true;
}

// Adds a record; the handle, or -1 when memory fails.
int _nAjouteHandle(_stINFOFIC* pstInfo) {
    if (gstCtxFIC.nPremierLibre < 0 && !_bAgrandit()) return -1;
    const int nHandle = gstCtxFIC.nPremierLibre;
    _stENTREEFIC& st = gstCtxFIC.pstEntrees[nHandle];
    gstCtxFIC.nPremierLibre = st.nEtat;
    st.nEtat = kEtatUtilise;
    st.pstInfo = pstInfo;
    ++gstCtxFIC.nNbUtilise;
    return nHandle;
}

void _RetireHandle(int nHandle) {
    _stENTREEFIC& st = gstCtxFIC.pstEntrees[nHandle];
    st.nEtat = gstCtxFIC.nPremierLibre;
    st.pstInfo = nullptr;
    gstCtxFIC.nPremierLibre = nHandle;
    --gstCtxFIC.nNbUtilise;
}

// Ends a record: the delete-on-close flag is honoured while the file is still open, so that the
// name still names this file; then the stream is closed and released.
void _DetruitInfo(_stINFOFIC* pstInfo) {
    if (pstInfo == nullptr) return;
    if (pstInfo->piFlux != nullptr) {
        if (pstInfo->nType == 0 && pstInfo->bSupprimeALaFermeture) {
            const wchar_t* pszNom = pstInfo->piFlux->pszGetName();
            if (pszNom != nullptr && pszNom[0] != 0) CDiskFile::bDelete(pszNom, nullptr);
        }
        pstInfo->piFlux->Close();
        pstInfo->piFlux->dwRelease();
    }
    std::free(pstInfo->pbyLecture);
    delete pstInfo;
}

void _LibereTable() {
    std::free(gstCtxFIC.pstEntrees);
    gstCtxFIC.pstEntrees = nullptr;
    gstCtxFIC.nCapacite = 0;
    gstCtxFIC.nNbUtilise = 0;
    gstCtxFIC.nPremierLibre = -1;
}

constexpr int kModeLecture = 0x1;
constexpr int kModeLectureEcriture = 0x2;
constexpr int kModeBloque = 0xC;
constexpr int kModeCreationSiInexistant = 0x100;
constexpr int kModeCreation = 0x200;
constexpr int kModeAjout = 0x800;
constexpr int kModeUnicode = 0x1000;
constexpr int kModeAnsi = 0x2000;
constexpr int kModeSupprimeALaFermeture = 0x4000000;

eACCESS eAccesDuMode(int nMode) {
    if (nMode == kModeUnicode || nMode == kModeAnsi || nMode == 0) return eACCESS_LECTUREECRITURE;
    switch (nMode & (kModeLecture | kModeLectureEcriture)) {
        case kModeLecture: return eACCESS_LECTURE;
        case 0: return eACCESS_ECRITURE;
        default: return eACCESS_LECTUREECRITURE;
    }
}

eCREATE eCreationDuMode(int nMode) {
    if (nMode & kModeCreationSiInexistant) return eCREATE_OUVRE_OU_CREE;
    if (nMode & kModeCreation) return eCREATE_VIDE_OU_CREE;
    return eCREATE_EXISTANT;
}

}  // namespace

_stCTXFIC* CComposanteStandard::m_stCtxFIC = &gstCtxFIC;

// ---------------------------------------------------------------- table

bool _FIC_bInitModule() {
    gstCtxFIC.pRecherche = nullptr;
    return true;
}

void _FIC_FinModule() {
    for (int i = kPremierHandle; i < gstCtxFIC.nCapacite; ++i) {
        _stENTREEFIC& st = gstCtxFIC.pstEntrees[i];
        if (st.nEtat == kEtatUtilise) _DetruitInfo(st.pstInfo);
    }
    _LibereTable();
    // An fRep search still open at the end holds a directory stream.
    if (auto* pstRecherche = static_cast<CDiskFile::_stXFINDDATA*>(gstCtxFIC.pRecherche)) {
        CDiskFile::bFindClose(pstRecherche, nullptr);
        delete pstRecherche;
    }
    gstCtxFIC.pRecherche = nullptr;
}

_stINFOFIC* s_pGetFicBagInfoFic(int nHandle) {
    if (nHandle < kPremierHandle || nHandle >= gstCtxFIC.nCapacite) return nullptr;
    const _stENTREEFIC& st = gstCtxFIC.pstEntrees[nHandle];
    return st.nEtat == kEtatUtilise ? st.pstInfo : nullptr;
}

IXStream* s_pGetFicBagXStream(int nHandle) {
    _stINFOFIC* pstInfo = s_pGetFicBagInfoFic(nHandle);
    return pstInfo != nullptr ? pstInfo->piFlux : nullptr;
}

int _FIC_nNbHandle() { return gstCtxFIC.nNbUtilise; }

int _FIC_nAjouteHandle(_stINFOFIC* pstInfo) { return pstInfo != nullptr ? _nAjouteHandle(pstInfo) : -1; }

// ---------------------------------------------------------------- shared helpers

namespace ovfic {

_stINFOFIC* pstValide(CComposanteStandard* pclThis, int nHandle) {
    _stINFOFIC* pstInfo = s_pGetFicBagInfoFic(nHandle);
    if (pstInfo == nullptr) {
        // The table marks this error as level 3; a bad number is an ordinary mistake of the
        // program, so the functions lower it to 2.
        pclThis->RaiseError(&gstMyModuleInfo8, kErreurHandle, nHandle);
        pclThis->pclGetError()->SetErrorLevel(2);
    }
    return pstInfo;
}

void CopieErreurFlux(CComposanteStandard* pclThis, IXStream* piFlux, int nErreurParDefaut) {
    CXError* pclFlux = piFlux != nullptr ? piFlux->pclGetXError() : nullptr;
    if (pclFlux != nullptr && pclFlux->bHasError()) {
        pclThis->RaiseErrorCopy(pclFlux);
        // A stream's error carries the system's message but no number of the language.
        if (pclThis->pclGetError()->nGetUserErrorCode() == 0)
            pclThis->pclGetError()->SetUserErrorCode(nErreurParDefaut);
    } else {
        pclThis->RaiseError(&gstMyModuleInfo8, nErreurParDefaut);
    }
    pclThis->pclGetError()->SetErrorLevel(2);
}

bool bSynchronise(CComposanteStandard* pclThis, _stINFOFIC* pstInfo) {
    if (!pstInfo->bLectureActive) return true;
    pstInfo->bLectureActive = false;
    const long oPosition = pstInfo->oLecture + pstInfo->nCurseur;
    pstInfo->nLecture = pstInfo->nCurseur = 0;
    if (pstInfo->piFlux->oGetOffset() == oPosition) return true;
    if (!pstInfo->piFlux->bSeek(oPosition, eSEEK_DEBUT)) {
        CopieErreurFlux(pclThis, pstInfo->piFlux, kErreurPosition);
        return false;
    }
    return true;
}

bool bDisque(CComposanteStandard* pclThis, const _stINFOFIC* pstInfo) {
    if (pstInfo->nType == 0) return true;
    pclThis->RaiseError(&gstMyModuleInfo8, kErreurDisqueSeulement);
    return false;
}

bool bParametre(CComposanteStandard* pclThis, bool bValide) {
    if (!bValide) pclThis->RaiseError(&gstMyModuleInfo8, kErreurParametre);
    return bValide;
}

}  // namespace ovfic

using namespace ovfic;

bool _EcritBOMDansFichierOuvert(CDiskFile& clFichier, CXError* pclErreur) {
    if (!clFichier.bIsOpen()) return false;
    const eACCESS eAcces = clFichier.veGetAccess();
    if (eAcces != eACCESS_ECRITURE && eAcces != eACCESS_LECTUREECRITURE) return false;
    static constexpr uint8_t kabyMarque[2] = {0xFF, 0xFE};
    if (clFichier.bSeek(0, eSEEK_DEBUT) && clFichier.bWrite(kabyMarque, 2, nullptr)) return true;
    if (pclErreur != nullptr) {
        pclErreur->Copy(clFichier.pclGetXError());
        pclErreur->SetErrorLevel(2);
    }
    return false;
}

bool _bFichierOuvertUnicode(CDiskFile& clFichier, int* pbUnicode) {
    if (pbUnicode != nullptr) *pbUnicode = 0;
    if (clFichier.oGetSize() == 0) return true;
    uint8_t aby[3] = {};
    unsigned int nLu = 0;
    if (!clFichier.bRead(aby, 3, &nLu)) return false;
    const bool bUtf8 = nLu >= 3 && aby[0] == 0xEF && aby[1] == 0xBB && aby[2] == 0xBF;
    const bool bUtf16 = nLu >= 2 && aby[0] == 0xFF && aby[1] == 0xFE;
    if (pbUnicode != nullptr) *pbUnicode = bUtf8 || bUtf16 ? 1 : 0;
    return true;
}

bool _bfFichierTemp(const wchar_t* pszRepertoire, const wchar_t* pszPrefixe, wchar_t* pszSortie,
                    CXError* pclErreur) {
    if (pszSortie == nullptr) return false;
    pszSortie[0] = 0;
    wchar_t szRepertoire[kMaxPath + 1] = {};
    if (pszRepertoire == nullptr || pszRepertoire[0] == 0) {
        if (!CDiskFile::bGetTempDirectory(szRepertoire, pclErreur)) return false;
        pszRepertoire = szRepertoire;
    }
    return CDiskFile::bGetTempName(pszSortie, pszRepertoire, pszPrefixe != nullptr ? pszPrefixe : L"", pclErreur);
}

// ---------------------------------------------------------------- opening and closing

namespace {

// Places a Unicode file's stream behind its byte-order mark, when it has one: FF FE, or the
// four-byte FF FE 00 00. A file without a mark is read from its start.
bool _bPasseMarque(IXStream* piFlux) {
    uint8_t aby[2] = {};
    unsigned int nLu = 0;
    if (!piFlux->bRead(aby, 2, &nLu)) return false;
    if (nLu < 2 || aby[0] != 0xFF || aby[1] != 0xFE) return piFlux->bSeek(0, eSEEK_DEBUT) != 0;
    if (!piFlux->bRead(aby, 2, &nLu)) return false;
    if (nLu == 0) return true;
    if (nLu == 2 && aby[0] == 0 && aby[1] == 0) return true;
    return piFlux->bSeek(2, eSEEK_DEBUT) != 0;
}

}  // namespace

int CComposanteStandard::fOuvre(const STManipAUB* pstNom, int nMode) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszNom = pstNom != nullptr ? pstNom->pszGetStringW(&clTampon) : L"";
    const eACCESS eAcces = eAccesDuMode(nMode);
    const eSHARE ePartage = (nMode & kModeBloque) == kModeBloque ? eSHARE_EXCLUSIF : eSHARE_AUCUN;
    const eCREATE eCreation = eCreationDuMode(nMode);

    CDiskFile* pclFichier = new (std::nothrow) CDiskFile();
    if (pclFichier == nullptr) {
        RaiseError(&gstMyModuleInfo8, kErreurMemoireOuverture);
        return -1;
    }
    pclFichier->dwAddRef();
    int bCree = 0;
    bool bOuvert = pclFichier->bOpen(pszNom, eAcces, ePartage, eCreation, eFLAG_FICHIER, &bCree) != 0;
    // A read-write request on a file that allows writing only still opens, for writing.
    if (!bOuvert && (nMode & kModeLectureEcriture))
        bOuvert = pclFichier->bOpen(pszNom, eACCESS_ECRITURE, ePartage, eCreation, eFLAG_FICHIER, &bCree) != 0;
    if (!bOuvert) {
        CopieErreurFlux(this, pclFichier, kErreurOuverture);
        pclFichier->dwRelease();
        return -1;
    }
    if ((nMode & kModeAjout) && !pclFichier->bSeek(0, eSEEK_FIN)) {
        CopieErreurFlux(this, pclFichier, kErreurPosition);
        pclFichier->Close();
        pclFichier->dwRelease();
        return -1;
    }

    _stINFOFIC* pstInfo = new (std::nothrow) _stINFOFIC();
    const int nHandle = pstInfo != nullptr ? _nAjouteHandle(pstInfo) : -1;
    if (nHandle < 0) {
        delete pstInfo;
        pclFichier->Close();
        pclFichier->dwRelease();
        RaiseError(&gstMyModuleInfo8, kErreurMemoireOuverture);
        return -1;
    }
    pstInfo->nType = 0;
    pstInfo->piFlux = pclFichier;
    pstInfo->bNomUnicode = pstNom == nullptr || pstNom->nType != STManipAUB::TYPE_ANSI ? 1 : 0;
    pstInfo->bSupprimeALaFermeture = (nMode & kModeSupprimeALaFermeture) ? 1 : 0;

    // An ANSI project (string modes 1 and 2) reads ANSI files unless told otherwise; a Unicode
    // project reads Unicode files unless told otherwise.
    const int nModeChaine = piGetVM() != nullptr ? piGetVM()->nModeChaine() : 0;
    if (!(nMode & kModeUnicode) && (nModeChaine == 1 || nModeChaine == 2 || (nMode & kModeAnsi))) return nHandle;
    pstInfo->bUnicode = 1;

    const bool bNeuf = bCree || eCreation == eCREATE_VIDE_OU_CREE;
    bool bSucces = true;
    if (bNeuf) {
        if (nMode & kModeUnicode) {
            static constexpr uint8_t kabyMarque[2] = {0xFF, 0xFE};
            bSucces = pclFichier->bWrite(kabyMarque, 2, nullptr) != 0;
        }
    } else if (!(nMode & kModeAjout)) {
        bSucces = _bPasseMarque(pclFichier);
    }
    if (!bSucces) {
        // The program never learns this handle, so it must not stay open behind its back.
        CopieErreurFlux(this, pclFichier, bNeuf ? kErreurEcriture : kErreurLecture);
        _RetireHandle(nHandle);
        _DetruitInfo(pstInfo);
        return -1;
    }
    return nHandle;
}

int CComposanteStandard::fCree(const STManipAUB* pstNom, int nMode) {
    return fOuvre(pstNom, nMode | kModeCreation | kModeLecture | kModeLectureEcriture);
}

int CComposanteStandard::fOuvreFichierTemp(int nMode, const STManipAUB* pstRepertoire, const wchar_t* pszPrefixe) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszRepertoire = pstRepertoire != nullptr ? pstRepertoire->pszGetStringW(&clTampon) : nullptr;
    wchar_t szNom[kMaxPath + 1] = {};
    if (!_bfFichierTemp(pszRepertoire, pszPrefixe, szNom, pclGetError())) {
        if (pclGetError()->nGetUserErrorCode() == 0) pclGetError()->SetUserErrorCode(kErreurFichierTemp);
        pclGetError()->SetErrorLevel(2);
        return -1;
    }
    CXYString<wchar_t> clNom(szNom);
    const STManipAUB stNom = {clNom.pGetBloc(), STManipAUB::TYPE_UNICODE};
    return fOuvre(&stNom, nMode | kModeCreation);
}

int CComposanteStandard::fFerme(int nHandle) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr) return -1;
    _RetireHandle(nHandle);
    _DetruitInfo(pstInfo);
    return 0;
}

// ---------------------------------------------------------------- position, size, locks, name

long CComposanteStandard::fPositionne(int nHandle, long oDeplacement, int nOrigine) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr) return -1;
    if (nOrigine < eSEEK_DEBUT || nOrigine > eSEEK_FIN) {
        RaiseError(&gstMyModuleInfo8, kErreurOrigine);
        return -1;
    }
    if (!bSynchronise(this, pstInfo)) return -1;
    if (!pstInfo->piFlux->bSeek(oDeplacement, static_cast<eSEEK>(nOrigine))) {
        CopieErreurFlux(this, pstInfo->piFlux, kErreurPosition);
        return -1;
    }
    return pstInfo->piFlux->oGetOffset();
}

long CComposanteStandard::fTaille(int nHandle) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr) return -1;
    // The size leaves the position where it was, so the read-ahead stays good.
    const long oTaille = pstInfo->piFlux->oGetSize();
    if (oTaille < 0) CopieErreurFlux(this, pstInfo->piFlux, kErreurTaille);
    return oTaille;
}

bool CComposanteStandard::fChangeTaille(int nHandle, long oTaille) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr || !bDisque(this, pstInfo) || !bParametre(this, oTaille >= 0)) return false;
    if (!bSynchronise(this, pstInfo)) return false;
    IXStream* piFlux = pstInfo->piFlux;
    const long oAncien = piFlux->oGetOffset();
    if (!piFlux->bSetSize(oTaille, eGROW_ABSOLU)) {
        CopieErreurFlux(this, piFlux, kErreurChangeTaille);
        return false;
    }
    // The position survives the change when it still lies inside the file; otherwise it goes to
    // the new end.
    const long oNouveau = oAncien < 1 ? 0 : oAncien < oTaille ? oAncien : oTaille;
    if (!piFlux->bSeek(oNouveau, eSEEK_DEBUT)) {
        CopieErreurFlux(this, piFlux, kErreurPosition);
        return false;
    }
    return true;
}

namespace {

// A length of -1 asks for the whole file: 0 to the system, which reaches past the end however
// the file grows.
bool _bBloqueOuDebloque(CComposanteStandard* pclThis, int nHandle, long oDebut, long oLongueur, bool bBloque) {
    _stINFOFIC* pstInfo = pstValide(pclThis, nHandle);
    if (pstInfo == nullptr || !bDisque(pclThis, pstInfo)) return false;
    if (!bParametre(pclThis, oDebut >= 0 && oLongueur >= -1)) return false;
    if (!bSynchronise(pclThis, pstInfo)) return false;
    if (oLongueur == -1) oLongueur = 0;
    IXStream* piFlux = pstInfo->piFlux;
    const int bSucces = bBloque ? piFlux->bLockFile(oDebut, oLongueur) : piFlux->bUnlockFile(oDebut, oLongueur);
    if (!bSucces) CopieErreurFlux(pclThis, piFlux, bBloque ? kErreurBloque : kErreurDebloque);
    return bSucces != 0;
}

}  // namespace

bool CComposanteStandard::fBloque(int nHandle, long oDebut, long oLongueur) {
    return _bBloqueOuDebloque(this, nHandle, oDebut, oLongueur, true);
}

bool CComposanteStandard::fDebloque(int nHandle, long oDebut, long oLongueur) {
    return _bBloqueOuDebloque(this, nHandle, oDebut, oLongueur, false);
}

void CComposanteStandard::fNomFichier(int nHandle) {
    STZKAppel* pstAppel = pstGetAppel();
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstAppel == nullptr) return;
    if (pstInfo == nullptr) return ovthunk::PousseEchec(pstAppel);
    const wchar_t* pszNom = pstInfo->piFlux->pszGetName();
    ovthunk::PousseTexte(pstAppel, CXYString<wchar_t>(pszNom != nullptr ? pszNom : L""),
                         pstInfo->bNomUnicode ? STManipAUB::TYPE_UNICODE : STManipAUB::TYPE_ANSI);
}
