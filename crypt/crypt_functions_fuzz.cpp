// Fuzz target of the way back of the crypt functions: the first byte picks the cipher, the
// compress method and the ANSI request, the rest is a value as a program might hand it in. The
// deciphered bytes go through the decompressors, which must refuse what is no block; and a value
// enciphered with the same options always comes back.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "crypt/crypt_functions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille == 0 || nTaille > (1u << 16)) return 0;
    const ovcrypte::STOption stOption{pbyDonnees[0] % 4, pbyDonnees[0] / 4 % 3, (pbyDonnees[0] & 0x80) != 0};
    const std::vector<uint8_t> tabValeur(pbyDonnees + 1, pbyDonnees + nTaille);

    std::vector<uint8_t> tab = tabValeur;
    if (ovcrypte::nDecrypte(&tab, L"mot de passe é", stOption) == ovcrypte::eOK)
        (void)ovcrypte::eFormeResultat(tab, stOption.bAnsi);

    tab = tabValeur;
    if (ovcrypte::nCrypte(&tab, L"mot de passe é", stOption) != ovcrypte::eOK) abort();
    if (ovcrypte::nDecrypte(&tab, L"mot de passe é", stOption) != ovcrypte::eOK || tab != tabValeur) abort();
    return 0;
}
