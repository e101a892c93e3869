// CZoneMemoireSTD: the memory-list view handed to sibling libraries.
#pragma once

#include "component/interfaces/zone_memoire.h"

class CComposanteStandard;

class CZoneMemoireSTD final : public IZoneMemoire {
public:
    explicit CZoneMemoireSTD(CComposanteStandard* pclComposante) noexcept : m_pclComposante(pclComposante) {}

    int nGetVersion() override { return 1; }
    int nGetCompatSince() override { return 1; }
    int nGetDllNum() override { return 8; }
    void StdVersion_EmptySlot_1() override {}
    void StdVersion_EmptySlot_2() override {}
    void StdVersion_EmptySlot_3() override {}

    int AddRef() override;
    int Release() override;  // deletes the view at zero
    bool bMemExiste(const wchar_t* pszNom, CXError* pclErreur) override;
    int nMemOccurrence(const wchar_t* pszNom, CXError* pclErreur) override;
    CAny clMemRecupere(const wchar_t* pszNom, unsigned int nEnreg, CXError* pclErreur) override;

private:
    ~CZoneMemoireSTD() override = default;
    // Runs one language method with the component's error cleared first and copied out after.
    template <class F>
    auto _Appelle(CXError* pclErreur, F&& fn);

    int m_nRef = 1;
    CComposanteStandard* m_pclComposante;
};

// A new view, with one reference, or null when memory fails.
IZoneMemoire* MEM_pNouvelleZone(CComposanteStandard* pclComposante) noexcept;
