// CZoneMemoireSTD: sibling libraries read memory lists through the language methods, so that they
// see the same names, flags and errors as a program.
#include "memory/zone_memoire.h"

#include <new>

#include "base/any.h"
#include "base/error.h"
#include "component/composante.h"

template <class F>
auto CZoneMemoireSTD::_Appelle(CXError* pclErreur, F&& fn) {
    CXError* pclPropre = m_pclComposante->pclGetError();
    if (pclPropre != nullptr) pclPropre->RAZ();
    auto resultat = fn();
    if (pclErreur != nullptr && pclPropre != nullptr) pclErreur->Copy(pclPropre);
    return resultat;
}

int CZoneMemoireSTD::AddRef() { return ++m_nRef; }

int CZoneMemoireSTD::Release() {
    const int n = --m_nRef;
    if (n == 0) delete this;
    return n;
}

bool CZoneMemoireSTD::bMemExiste(const wchar_t* pszNom, CXError* pclErreur) {
    try {
        return _Appelle(pclErreur, [&] { return m_pclComposante->MemExiste(pszNom); });
    } catch (...) {
        if (pclErreur != nullptr) pclErreur->SetErrorNoMemory();
        return false;
    }
}

int CZoneMemoireSTD::nMemOccurrence(const wchar_t* pszNom, CXError* pclErreur) {
    try {
        return _Appelle(pclErreur, [&] { return m_pclComposante->MemOccurrence(pszNom); });
    } catch (...) {
        if (pclErreur != nullptr) pclErreur->SetErrorNoMemory();
        return -1;
    }
}

CAny CZoneMemoireSTD::clMemRecupere(const wchar_t* pszNom, unsigned int nEnreg, CXError* pclErreur) {
    try {
        const int n = nEnreg > 0x7fffffffU ? 0 : static_cast<int>(nEnreg);
        return _Appelle(pclErreur, [&] { return m_pclComposante->MemRecupere(pszNom, n); });
    } catch (...) {
        if (pclErreur != nullptr) pclErreur->SetErrorNoMemory();
        return CAny();
    }
}

IZoneMemoire* MEM_pNouvelleZone(CComposanteStandard* pclComposante) noexcept {
    if (pclComposante == nullptr) return nullptr;
    return new (std::nothrow) CZoneMemoireSTD(pclComposante);
}
