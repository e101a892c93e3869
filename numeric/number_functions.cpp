// Max and Min of the language: any number of arguments, the first fixed and the others read from
// the machine one by one as variants. The real overload compares numbers; the other compares
// texts, or binary values when the first argument is one.
#include <cstring>

#include "base/any.h"
#include "component/thunk.h"

namespace {

// Errors of an argument that cannot take part: one that cannot be read as the first argument's
// kind (its text given), and one of a kind that cannot be compared with it.
constexpr int kErreurValeur = 81813;
constexpr int kErreurType = 81814;

constexpr int kCodeReel = 0x0c;
constexpr int kCodeTexte = 0x10;
constexpr int kCodeTexteAnsi = 0x13;
constexpr int kCodeBinaire = 0x1c;

int nNbArgument(const STZKAppel* pstAppel) {
    return pstAppel ? static_cast<int>(pstAppel->dwFrame & 0xffffu) : 1;
}

// The text of a variant to name it in a message; empty when it has none.
CXYString<wchar_t> clTexteDe(const CAny& clValeur) {
    CXYString<wchar_t> cl;
    clValeur.__nFillString(cl);
    return cl;
}

// nSens 1 keeps the largest, -1 the smallest.
double dExtremumReel(CComposanteStandard* pclThis, double dPremier, int nSens) {
    STZKAppel* pstAppel = pclThis->pstGetAppel();
    const int nNb = nNbArgument(pstAppel);
    double dResultat = dPremier;
    for (int nPosition = 2; nPosition <= nNb; ++nPosition) {
        CAny clArgument;
        if (!CAny::s_bLitParametre(pstAppel->piVM, nPosition, pstAppel->dwFrame, &clArgument, pclThis->pclGetError())) {
            pclThis->RaiseError(&gstMyModuleInfo8, kErreurType);
            return 0;
        }
        double d = 0;
        if (clArgument.__nCastTo(kCodeReel) > ANY_SUCCES_MAX || clArgument.nGetREAL(&d) != ANY_OK) {
            pclThis->RaiseError(&gstMyModuleInfo8, kErreurValeur, clTexteDe(clArgument).pszGet());
            return 0;
        }
        // A NaN never wins: every comparison with it is false.
        if (nSens > 0 ? d > dResultat : d < dResultat) dResultat = d;
    }
    return dResultat;
}

// ---------------------------------------------------------------------------------------------
// Texts and binary values

enum class EMode { Texte, Binaire };

// Character by character, by value, the shorter first on a common start: an order with no locale
// in it, the same on every machine.
int nCompareTextes(const CXYString<wchar_t>& clA, const CXYString<wchar_t>& clB) {
    const int nA = clA.nGetLongueur(), nB = clB.nGetLongueur();
    const wchar_t* pA = clA.pszGet();
    const wchar_t* pB = clB.pszGet();
    for (int i = 0; i < nA && i < nB; ++i)
        if (pA[i] != pB[i]) return pA[i] < pB[i] ? -1 : 1;
    return nA < nB ? -1 : nA > nB ? 1 : 0;
}

bool bEstTexte(int nCode) {
    return nCode == kCodeTexte || nCode == kCodeTexteAnsi || nCode == 0x94 || nCode == 0x95 || nCode == 0x12 ||
           nCode == 0x6e || nCode == 0x11 || nCode == 0x51;
}

// The value that wins so far, kept as the variant it came in, and its comparable form.
struct STGagnant {
    CAny clValeur;
    CXYString<wchar_t> clTexte;
    CZKBIN clBinaire;
};

// The record's value as a variant of its own kind; a record of any other type is the empty text.
void VariantDuRecord(const STManipAUB* pst, CAny* pclValeur) {
    if (pst != nullptr && pst->nType == STManipAUB::TYPE_BINAIRE)
        pclValeur->SetZKBIN(CZKBIN(pst->pBloc));
    else if (pst != nullptr && pst->nType == STManipAUB::TYPE_ANSI)
        pclValeur->SetDSTRA(CXYString<char>::s_clPartage(pst->pBloc));
    else if (pst != nullptr && pst->nType == STManipAUB::TYPE_UNICODE)
        pclValeur->SetDSTRW(CXYString<wchar_t>::s_clPartage(pst->pBloc));
    else
        pclValeur->SetDSTRW(CXYString<wchar_t>());
}

// Pushes the winner in its own form: wide or 8-bit text, or binary.
void PousseGagnant(IVM* piVM, unsigned int dwFrame, const STGagnant& st, EMode eMode) {
    if (eMode == EMode::Binaire) {
        piVM->SetRetour(dwFrame, st.clBinaire.pvGetAdresse(), kCodeBinaire);
        return;
    }
    const char* pszAnsi = nullptr;
    if (st.clValeur.nGetTypeCode() == kCodeTexteAnsi && st.clValeur.pclOperations()->nGetPCASTR(&pszAnsi) == ANY_OK) {
        piVM->SetRetour(dwFrame, pszAnsi, kCodeTexteAnsi);
        return;
    }
    piVM->SetRetour(dwFrame, st.clTexte.pszGet(), kCodeTexte);
}

// Puts the variant's comparable form in st; the error to raise when it has none, else 0.
int nPrepare(const CAny& clValeur, EMode eMode, STGagnant* pst) {
    const int nCode = clValeur.nGetTypeCode();
    if (eMode == EMode::Binaire) {
        if (nCode != kCodeBinaire) return kErreurType;
        void* pBloc;
        memcpy(&pBloc, clValeur.pbyValeur(), sizeof pBloc);
        pst->clBinaire = CZKBIN(pBloc);
        return 0;
    }
    if (nCode == kCodeBinaire) return kErreurType;
    // Texts as they are; numbers and other values by their text.
    if (clValeur.__nFillString(pst->clTexte) > ANY_SUCCES_MAX) return bEstTexte(nCode) ? kErreurValeur : kErreurType;
    return 0;
}

// Raises the error an argument caused; the value's text goes with the one that names it.
void Signale(CComposanteStandard* pclThis, int nErreur, const CAny& clValeur) {
    if (nErreur == kErreurValeur)
        pclThis->RaiseError(&gstMyModuleInfo8, nErreur, clTexteDe(clValeur).pszGet());
    else
        pclThis->RaiseError(&gstMyModuleInfo8, nErreur);
}

void ExtremumTexte(CComposanteStandard* pclThis, const STManipAUB* pstPremier, int nSens) {
    STZKAppel* pstAppel = pclThis->pstGetAppel();
    if (pstAppel == nullptr) return;
    IVM* piVM = pstAppel->piVM;
    const EMode eMode =
        pstPremier != nullptr && pstPremier->nType == STManipAUB::TYPE_BINAIRE ? EMode::Binaire : EMode::Texte;
    STGagnant stGagnant;
    VariantDuRecord(pstPremier, &stGagnant.clValeur);
    int nErreur = nPrepare(stGagnant.clValeur, eMode, &stGagnant);
    if (nErreur != 0) Signale(pclThis, nErreur, stGagnant.clValeur);
    const int nNb = nNbArgument(pstAppel);
    for (int nPosition = 2; nErreur == 0 && nPosition <= nNb; ++nPosition) {
        STGagnant stCandidat;
        if (!CAny::s_bLitParametre(piVM, nPosition, pstAppel->dwFrame, &stCandidat.clValeur, pclThis->pclGetError())) {
            nErreur = kErreurType;
            Signale(pclThis, nErreur, stCandidat.clValeur);
            break;
        }
        nErreur = nPrepare(stCandidat.clValeur, eMode, &stCandidat);
        if (nErreur != 0) {
            Signale(pclThis, nErreur, stCandidat.clValeur);
            break;
        }
        const int nOrdre = eMode == EMode::Binaire ? CZKBIN::nCompare(stCandidat.clBinaire, stGagnant.clBinaire)
                                                  : nCompareTextes(stCandidat.clTexte, stGagnant.clTexte);
        if (nOrdre * nSens > 0) stGagnant = stCandidat;
    }
    if (nErreur != 0) {
        // A text function that fails gives the null value.
        piVM->SetRetour(pstAppel->dwFrame, nullptr, kCodeTexte);
        return;
    }
    PousseGagnant(piVM, pstAppel->dwFrame, stGagnant, eMode);
}

}  // namespace

double CComposanteStandard::Max(double dPremier) { return dExtremumReel(this, dPremier, 1); }

double CComposanteStandard::Min(double dPremier) { return dExtremumReel(this, dPremier, -1); }

void CComposanteStandard::Max(const STManipAUB* pstPremier) { ExtremumTexte(this, pstPremier, 1); }

void CComposanteStandard::Min(const STManipAUB* pstPremier) { ExtremumTexte(this, pstPremier, -1); }
