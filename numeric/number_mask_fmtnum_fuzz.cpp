// Fuzz target of FmtNum and NumeriqueVersChaineArrondi: any text with any width, decimals,
// significance and flags must give some text without reading or writing out of bounds; so must
// the facts of a mask read from the same text.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/any.h"
#include "numeric/number_mask.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille < 4 || nTaille > 512) return 0;
    // Bytes 0 to 3 give the parameters; the rest is the text, bytes from 0xf0 standing for a
    // character outside the BMP.
    const int nLargeur = static_cast<int>(pbyDonnees[0] % 70) - 5;
    const int nDecimales = static_cast<int>(pbyDonnees[1] % 40) - 1;
    const int nSignificatifs = static_cast<int>(pbyDonnees[2] % 30) - 2;
    const int nDrapeaux = pbyDonnees[3];
    std::vector<wchar_t> tabTexte;
    for (size_t i = 4; i < nTaille; ++i)
        tabTexte.push_back(pbyDonnees[i] >= 0xf0 ? static_cast<wchar_t>(0x1F600 + pbyDonnees[i]) : pbyDonnees[i]);
    tabTexte.push_back(0);
    CTString cl;
    cl.Set(tabTexte.data());
    CMasqueNumerique::FmtNum(&cl, nLargeur, nDecimales, nSignificatifs, nDrapeaux & 1, (nDrapeaux >> 1) & 1,
                             (nDrapeaux >> 2) & 1);
    CAny clValeur(tabTexte.data());
    CAny clSortie;
    CMasqueNumerique::NumeriqueVersChaineArrondi(clValeur, &clSortie, nDecimales, nullptr);
    CMasque* pclMasque = CMasque::pclGetNewMasqueNumerique(tabTexte.data(), nullptr);
    if (pclMasque != nullptr) {
        auto* pcl = static_cast<CMasqueNumerique*>(pclMasque);
        CTString clTexte;
        pcl->GetMasqueAvecNChiffres(&clTexte, nLargeur, nDecimales);
        pcl->GetPrefixeChiffre(&clTexte, 0);
        pcl->GetPostfixeChiffre(&clTexte, 0);
        (void)pcl->bNegatifAccepte();
        (void)pcl->wGetTypeFromMasque();
        delete pclMasque;
    }
    return 0;
}
