// Fuzz target of the date-time mask: the first byte picks flags and the kind of mask, then a mask
// and a text separated by a zero byte, each byte one character (bytes from 0xf0 stand for
// characters outside the Basic Multilingual Plane). Every conversion must end without a fault, and
// the direct path of numeric masks must answer what the general one writes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "datetime/date_mask.h"

namespace {

// The direct display and reading against the general engine, when the direct path answers.
void CompareChemins(const CMasqueDateHeure& clMasque, bool bHeure, const wchar_t* pszTexte, int nFlags) {
    constexpr uint16_t VIDE = 65535;
    wchar_t szDirect[CMasqueDateHeure::TAILLE_RAPIDE];
    _SYSTEMTIME st;
    CTString clGeneral;
    int n = clMasque.nFormateRapide(pszTexte, szDirect, nFlags);
    if (n >= 0) {
        const wchar_t* pszForme = clMasque.pszGetFormeInterne()[0] == 0 ? clMasque.pszGetMasqueDateSelonSaisie(0)
                                                                         : clMasque.pszGetFormeInterne();
        clMasque._bTexteVersDateHeure(pszTexte, pszForme, &st, 0);
        if (st.wDay == VIDE && st.wMonth == VIDE && st.wYear == 0) st.wYear = VIDE;
        clMasque.FormateDate(st, &clGeneral, nFlags);
        if (std::wstring(szDirect, static_cast<size_t>(n)) != clGeneral.pszGet()) std::abort();
    }
    n = clMasque.nDeformateRapide(pszTexte, szDirect, nFlags);
    if (n >= 0) {
        clGeneral.Vide();
        if (clMasque._bTexteVersDateHeure(pszTexte, clMasque.pszGetMasqueDateSelonSaisie(0), &st, nFlags)) {
            if (bHeure) clMasque.StructtoHourString(st, &clGeneral, clMasque.pszGetFormeInterne());
            else clMasque.StructtoDateString(st, &clGeneral, clMasque.pszGetFormeInterne());
        }
        if (std::wstring(szDirect, static_cast<size_t>(n)) != clGeneral.pszGet()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    if (nTaille == 0) return 0;
    const int nFlags = pbyData[0] & 0x7f;
    const int nGenre = pbyData[0] >> 7;
    std::wstring sMasque, sTexte;
    std::wstring* psCible = &sMasque;
    for (size_t i = 1; i < nTaille; ++i) {
        if (pbyData[i] == 0 && psCible == &sMasque) {
            psCible = &sTexte;
            continue;
        }
        psCible->push_back(pbyData[i] >= 0xf0 ? static_cast<wchar_t>(0x1F600 + pbyData[i]) : static_cast<wchar_t>(pbyData[i]));
    }
    static const wchar_t* const tabInterne[] = {nullptr, L"AAAAMMJJHHmmSSCCC"};
    CMasqueDateHeure clDate(sMasque.c_str(), true, tabInterne[nGenre]);
    CMasqueDateHeure clHeure(sMasque.c_str(), false, nullptr);
    CTString clSortie;
    CompareChemins(clDate, false, sTexte.c_str(), nFlags);
    CompareChemins(clHeure, true, sTexte.c_str(), nFlags);
    for (CMasqueDateHeure* pclMasque : {&clDate, &clHeure}) {
        pclMasque->bFormateEx(sTexte.c_str(), &clSortie, nFlags);
        pclMasque->DeformateDateHeure(sTexte.c_str(), &clSortie, nFlags);
        // What display writes for an input field must parse back without fault.
        pclMasque->bFormateEx(sTexte.c_str(), &clSortie, nFlags | CMasqueDateHeure::FLAG_SAISIE);
        pclMasque->DeformateDateHeure(clSortie.pszGet(), &clSortie, CMasqueDateHeure::FLAG_SAISIE);
        CMasqueDateHeure::STInfoZone stInfo;
        for (int n = 0; n < 8; ++n) pclMasque->_bGetInfoZoneFromPos(sTexte.c_str(), n, &stInfo);
    }
    return 0;
}
