// Fuzz target of the four decoders: the first byte picks the encoder (and a line width), the rest
// is the text, read narrow and wide. A decoder never writes past its own measure; whatever the
// bytes, encoding them and decoding the text gives them back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "crypt/encoders.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille == 0 || nTaille > (1u << 16)) return 0;
    const std::unique_ptr<CEncodeBase> pcl(pclGetEncodeur(pbyDonnees[0] % 4 + 1));
    const unsigned long nGroupes = pbyDonnees[0] / 4 % 8;
    const uint8_t* pby = pbyDonnees + 1;
    const size_t n = nTaille - 1;

    // As narrow text, cut at its first zero, into a buffer of exactly the measured size.
    const std::vector<char> tabTexte(pby, pby + n);
    std::vector<char> tabZ(tabTexte);
    tabZ.push_back(0);
    const long nMesure = pcl->nDecodeA(tabZ.data(), nullptr);
    if (nMesure >= 0) {
        std::vector<unsigned char> tab(static_cast<size_t>(nMesure));
        if (pcl->nDecodeA(tabZ.data(), tab.data()) != nMesure) abort();
    }
    // As wide text, with the bytes past 0x7F taken as characters far outside any alphabet.
    std::vector<wchar_t> tabLarge;
    for (uint8_t c : tabTexte) tabLarge.push_back(c < 0x80 ? c : static_cast<wchar_t>(0x1F000 + c));
    const long nMesureLarge = pcl->nDecodeW(tabLarge.data(), tabLarge.size(), nullptr);
    if (nMesureLarge >= 0) {
        std::vector<unsigned char> tab(static_cast<size_t>(nMesureLarge));
        if (pcl->nDecodeW(tabLarge.data(), tabLarge.size(), tab.data()) != nMesureLarge) abort();
    }

    // As bytes: the round trip, through the narrow and the wide text.
    const long nLongueur = pcl->nEncodeA(pby, n, nGroupes, nullptr);
    std::vector<char> tabEncode(static_cast<size_t>(nLongueur) + 1);
    const long nEcrits = pcl->nEncodeA(pby, n, nGroupes, tabEncode.data());
    if (nEcrits < 0 || nEcrits > nLongueur) abort();
    tabEncode[static_cast<size_t>(nEcrits)] = 0;
    std::vector<unsigned char> tabRetour(n + 1);
    if (pcl->nDecodeA(tabEncode.data(), tabRetour.data()) != static_cast<long>(n)) abort();
    if (n > 0 && std::memcmp(tabRetour.data(), pby, n) != 0) abort();
    wchar_t* psz = nullptr;
    if (pcl->nEncodeEtAlloue(pby, n, nGroupes, &psz) != nEcrits) abort();
    unsigned char* pbyRetour = nullptr;
    const long nRetour = pcl->nDecodeEtAlloue(psz, pbyRetour);
    const bool bEgal = nRetour == static_cast<long>(n) && (n == 0 || std::memcmp(pbyRetour, pby, n) == 0);
    delete[] psz;
    delete[] pbyRetour;
    if (!bEgal) abort();
    return 0;
}
