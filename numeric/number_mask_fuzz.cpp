// Fuzz target of the numeric mask: any text as a mask, any text as a value, under both the
// formatter and the reader, must give some text without reading or writing out of bounds.
#include <cstdint>
#include <cstddef>
#include <vector>

#include "numeric/number_mask.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille < 1 || nTaille > 512) return 0;
    // Byte 0 says where the mask ends and the value begins, and whether the output is raw; bytes
    // from 0xf0 stand for a character outside the BMP.
    const size_t nCoupe = 1 + (pbyDonnees[0] & 0x7f) % nTaille;
    std::vector<wchar_t> tabMasque, tabValeur;
    for (size_t i = 1; i < nTaille; ++i) {
        const wchar_t c = pbyDonnees[i] >= 0xf0 ? static_cast<wchar_t>(0x1F600 + pbyDonnees[i]) : pbyDonnees[i];
        (i < nCoupe ? tabMasque : tabValeur).push_back(c);
    }
    tabMasque.push_back(0);
    tabValeur.push_back(0);
    const int bRaw = pbyDonnees[0] >> 7;
    CMasqueNumerique cl(tabMasque.data(), nullptr);
    CTString clSortie;
    cl.MetAuFormat(tabValeur.data(), &clSortie, bRaw, nullptr);
    cl.DeformateNum(tabValeur.data(), &clSortie, bRaw);
    cl.DeformateNum(clSortie.pszGet(), &clSortie, bRaw);
    (void)cl.dwGetCouleurPourValeur(tabValeur.data(), bRaw);
    (void)cl.nDecimalesMasque(bRaw, pbyDonnees[0] & 3);
    CTString clMasque;
    CMasqueNumerique::sConstruitMasqueMonetaire(&clMasque, static_cast<int>(nTaille) - 40, pbyDonnees[0] & 7, L' ', L',');
    return 0;
}
