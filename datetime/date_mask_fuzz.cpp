// Fuzz target of the date-time mask: the first byte picks flags and the kind of mask, then a mask
// and a text separated by a zero byte, each byte one character (bytes from 0xf0 stand for
// characters outside the Basic Multilingual Plane). Every conversion must end without a fault.
#include <cstddef>
#include <cstdint>
#include <string>

#include "datetime/date_mask.h"

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
