// System information functions of the language: memory sizes, the system's version, the process
// environment, and the answers of the functions that other systems alone can give.
#include <cerrno>
#include <climits>

#include "base/any.h"
#include "base/tstring.h"
#include "base/xystring.h"
#include "component/thunk.h"
#include "system/system_info.h"

namespace {

// A counted copy of a text for the machine; when memory fails the error says so and the value is
// empty.
CXYString<wchar_t> clResultat(CComposanteStandard* pclThis, const wchar_t* pszTexte) {
    CXYString<wchar_t> cl;
    if (cl.nAffecte(pszTexte) != 0) pclThis->pclGetError()->SetErrorNoMemory();
    return cl;
}

}  // namespace

CXYString<wchar_t> CComposanteStandard::fSep() { return clResultat(this, L"/"); }

// ---------------------------------------------------------------- memory

// The physical memory as a 4-byte result: more than it holds answers INT_MAX, not a wrapped size.
int CComposanteStandard::SysEspace() {
    uint64_t nTaille = 0;
    if (!bSysEspaceTotal(&nTaille, pclGetError())) return 0;
    return nTailleSur32Bits(nTaille);
}

// The 8-byte result holds the true size.
long CComposanteStandard::SysEspace(int nType) {
    uint64_t nTaille = 0;
    if (!bSysEspace(nType, &nTaille, pclGetError())) return 0;
    return nTaille > static_cast<uint64_t>(LONG_MAX) ? LONG_MAX : static_cast<long>(nTaille);
}

// ---------------------------------------------------------------- version

CXYString<wchar_t> CComposanteStandard::SysVersionWindows(int nType) {
    if (nType != SYS_VERSION_COMPLETE && nType != SYS_VERSION_NUMERO && nType != SYS_VERSION_BUILD) {
        RaiseError(&gstMyModuleInfo8, 80144, nType);
        return {};
    }
    wchar_t szTexte[TAILLE_TEXTE_VERSION];
    if (!bVersionWindows(nType, szTexte, TAILLE_TEXTE_VERSION)) {
        const int nErrno = errno;
        RaiseError(&gstMyModuleInfo8, 80140);
        errno = nErrno;
        pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        return {};
    }
    return clResultat(this, szTexte);
}

CXYString<wchar_t> CComposanteStandard::VersionWindows() { return SysVersionWindows(SYS_VERSION_COMPLETE); }

// ---------------------------------------------------------------- environment

// A name gives its variable; the empty name the whole environment.
CXYString<wchar_t> CComposanteStandard::SysEnvironnement(const wchar_t* pszNom) {
    CTString clTexte;
    const bool bLu = pszNom == nullptr || pszNom[0] == 0 ? _bChercheEnvironnement(&clTexte)
                                                         : bLitEnvironnement(pszNom, &clTexte);
    if (!bLu) {
        pclGetError()->SetErrorNoMemory();
        return {};
    }
    return clResultat(this, clTexte.pszGet());
}

// The value, of whatever type, is set as its text. The option chooses among the environments of
// other systems (the user's, the machine's); here there is only the process's own.
bool CComposanteStandard::SysChangeEnvironnement(const wchar_t* pszNom, const CAny* pclValeur, int) {
    CXYString<wchar_t> clValeur;
    if (pclValeur != nullptr && pclValeur->__nFillString(clValeur) > ANY_SUCCES_MAX) {
        RaiseError(&gstMyModuleInfo8, 80151, pszNom != nullptr ? pszNom : L"");
        pclGetError()->AddDebugMessageNoFormat(L"##(SysChangeEnvironnement)-value without a text form##");
        return false;
    }
    return bChangeEnvironnement(pszNom, clValeur.pszGet(), pclGetError());
}

// ---------------------------------------------------------------- answers of other systems

// Devices of telephones: nothing to tell here.
CXYString<wchar_t> CComposanteStandard::SysIMEI() { return {}; }

CXYString<wchar_t> CComposanteStandard::SysNumSerie() { return {}; }

CXYString<wchar_t> CComposanteStandard::SysRepCarteStockage(int) { return {}; }

CXYString<wchar_t> CComposanteStandard::SysVersionIOS() { return {}; }

// Text is measured in a window's font, and windows do not exist here.
int CComposanteStandard::TexteLargeur(const wchar_t*, IFenCommun*) { return 0; }

int CComposanteStandard::TexteHauteur(const wchar_t*, IFenCommun*) { return 0; }
