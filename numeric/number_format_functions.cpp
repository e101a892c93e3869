// The language's number formatting functions: each checks its arguments, runs its engine of
// number_format.h and turns the engine's answer into the numbered error of the language.
#include <cstring>

#include "component/thunk.h"
#include "numeric/number_format.h"
#include "numeric/number_mask.h"

namespace {

constexpr int kErreurParametre = 80700;      // a size or a format this function does not take
constexpr int kRessourceFormat = 27270;      // "Invalid format for the conversion of a number: %s"
constexpr int kErreurUnite = 81507;          // a byte unit outside 0 to 5
constexpr int kErreurValeur = 81813;         // a character or value that cannot be read
constexpr int kErreurTropLong = 81814;       // too many hexadecimal digits
constexpr int kErreurChiffreHexa = 81833;    // a character that is no hexadecimal digit
constexpr int kErreurDecalage = 81838;       // an offset outside the buffer

CXYString<wchar_t> clTexteDe(const CAny* pclValeur) {
    CXYString<wchar_t> cl;
    if (pclValeur) pclValeur->__nFillString(cl);
    return cl;
}

}  // namespace

CXYString<wchar_t> CComposanteStandard::NumeriqueVersChaine(const CAny* pclValeur, const wchar_t* pszFormat) {
    CXYString<wchar_t> clResultat;
    if (pclValeur == nullptr) return clResultat;
    IVM* piVM = piGetVM();
    IInfoLangue* piLangue = piVM != nullptr ? piVM->piGetInfoLangue(0, 0) : nullptr;
    switch (eNumeriqueVersChaine(*pclValeur, pszFormat, &clResultat, piLangue)) {
        case EResultatFormat::Ok: break;
        case EResultatFormat::ErreurFormat:
            // The number of a bad parameter, with a message that names the format.
            RaiseError(&gstMyModuleInfo8, kErreurParametre);
            pclGetError()->AddUserMessage(&gstMyModuleInfo8, kRessourceFormat, pszFormat ? pszFormat : L"");
            break;
        case EResultatFormat::ErreurValeur:
            RaiseError(&gstMyModuleInfo8, kErreurValeur, clTexteDe(pclValeur).pszGet());
            break;
    }
    return clResultat;
}

// The byte-size layout of the numeric masks, in the machine's language: its unit names and its
// decimal separator.
CXYString<wchar_t> CComposanteStandard::TailleVersChaine(long nTaille, int nUnite) {
    CXYString<wchar_t> clResultat;
    if (nUnite < 0 || nUnite > 5) {
        RaiseError(&gstMyModuleInfo8, kErreurUnite, nUnite);
        return clResultat;
    }
    CMasqueNumerique clMasque(L"DiskSize", nullptr);
    IVM* piVM = piGetVM();
    if (IInfoLangue* piLangue = piVM != nullptr ? piVM->piGetInfoLangue(0, 0) : nullptr)
        clMasque.vSetInfoLangueMasque(piLangue, 0, 1252);
    CTString clSortie;
    clMasque.MetAuFormatTailleDisque(static_cast<double>(nTaille), &clSortie, nUnite);
    clResultat.nAffecte(clSortie.pszGet());
    return clResultat;
}

CXYString<wchar_t> CComposanteStandard::EntierVersHexa(const CAny* pclValeur, int nGroupe) {
    CXYString<wchar_t> clResultat;
    if (pclValeur != nullptr && !bEntierVersHexa(*pclValeur, nGroupe, &clResultat))
        RaiseError(&gstMyModuleInfo8, kErreurValeur, clTexteDe(pclValeur).pszGet());
    return clResultat;
}

CAny CComposanteStandard::HexaVersEntier(const wchar_t* pszTexte) {
    CAny clValeur;
    wchar_t szInvalide[2] = {0, 0};
    switch (eHexaVersEntier(pszTexte, &clValeur, &szInvalide[0])) {
        case EResultatHexa::Ok: break;
        case EResultatHexa::CaractereInvalide: RaiseError(&gstMyModuleInfo8, kErreurValeur, szInvalide); break;
        case EResultatHexa::TropLong: RaiseError(&gstMyModuleInfo8, kErreurTropLong); break;
    }
    return clValeur;
}

CXYString<wchar_t> CComposanteStandard::BufferVersHexa(const STManipAUB* pstBuffer, int nTailleItem, int nColonnes) {
    CXYString<wchar_t> clResultat;
    int nTaille = 0;
    const uint8_t* pby = pstBuffer ? pstBuffer->pbyGetContenuUtile(&nTaille) : nullptr;
    if (!bBufferVersHexa(pby, nTaille, nTailleItem, nColonnes, &clResultat))
        RaiseError(&gstMyModuleInfo8, kErreurParametre);
    return clResultat;
}

CZKBIN CComposanteStandard::HexaVersBuffer(const wchar_t* pszTexte, int nTailleItem) {
    CZKBIN clResultat;
    switch (eHexaVersBuffer(pszTexte, nTailleItem, &clResultat)) {
        case EResultatBuffer::Ok: break;
        case EResultatBuffer::TailleInvalide: RaiseError(&gstMyModuleInfo8, kErreurParametre); break;
        case EResultatBuffer::CaractereInvalide: RaiseError(&gstMyModuleInfo8, kErreurChiffreHexa); break;
    }
    return clResultat;
}

namespace {

void SignaleLecture(CComposanteStandard* pclThis, EResultatLecture e) {
    if (e == EResultatLecture::TailleInvalide) pclThis->RaiseError(&gstMyModuleInfo8, kErreurParametre);
    else if (e == EResultatLecture::HorsLimites) pclThis->RaiseError(&gstMyModuleInfo8, kErreurDecalage);
}

}  // namespace

long CComposanteStandard::BufferVersEntier(CZKBIN clBuffer, long nDecalage, int nTaille) {
    long nValeur = 0;
    SignaleLecture(this, eBufferVersEntier(clBuffer, nDecalage, nTaille, &nValeur));
    return nValeur;
}

double CComposanteStandard::BufferVersReel(CZKBIN clBuffer, long nDecalage, int nTaille) {
    double dValeur = 0;
    SignaleLecture(this, eBufferVersReel(clBuffer, nDecalage, nTaille, &dValeur));
    return dValeur;
}

bool CComposanteStandard::EstNumerique(const CAny* pclValeur) { return pclValeur != nullptr && bEstNumerique(*pclValeur); }
