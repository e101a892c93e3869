// Fuzz target of the text packer: any bytes as a packed stream (never read or written out of
// bounds, whole length told even when cut), and any bytes as a text (unpacks to itself).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/data_compressor.h"
#include "base/module_info.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille > (1u << 16)) return 0;
    const int nLongueur = static_cast<int>(nTaille);
    CDataCompressor clCompresseur;

    // As a packed stream, into a buffer of the largest size and into a short one.
    const size_t nMaximum = CDataCompressor::s_nTailleDecompresseeMax(nTaille);
    std::vector<uint8_t> tabSortie(nMaximum);
    int nPlein = static_cast<int>(nMaximum);
    const int nResultat = clCompresseur.nDeCompress(tabSortie.data(), &nPlein, pbyDonnees, nLongueur);
    if (nResultat == CDataCompressor::RESULTAT_SORTIE_COURTE) abort();  // the largest size always suffices
    const size_t nCourt = nTaille > 0 ? pbyDonnees[0] % 16 + 1 : 1;
    std::vector<uint8_t> tabCourt(nCourt);
    int nCoupe = static_cast<int>(nCourt);
    const int nResultatCourt = clCompresseur.nDeCompress(tabCourt.data(), &nCoupe, pbyDonnees, nLongueur);
    if (nResultat == CDataCompressor::RESULTAT_OK) {
        if (nCoupe != nPlein) abort();
        if (nResultatCourt != (static_cast<size_t>(nPlein) < nCourt ? CDataCompressor::RESULTAT_OK
                                                                    : CDataCompressor::RESULTAT_SORTIE_COURTE))
            abort();
        if (memcmp(tabCourt.data(), tabSortie.data(), strnlen(reinterpret_cast<char*>(tabCourt.data()), nCourt)) != 0)
            abort();
    }
    for (uint32_t dwFormat : {RESSOURCE_FORMAT_UTF8, RESSOURCE_FORMAT_UTF16}) {
        const STRessourceModule stRessource{1000, pbyDonnees, static_cast<uint32_t>(nTaille), dwFormat, 0};
        free(CDataCompressor::s_pszDeCompress(stRessource));
    }

    // As a text: unpacks to the same bytes; zeros appear in the packed bytes only where the
    // text had some (raw bytes travel as they are).
    int nPaquet = 0;
    clCompresseur.nCompress(nullptr, 0, &nPaquet, pbyDonnees, nLongueur);
    std::vector<uint8_t> tabPaquet(static_cast<size_t>(nPaquet) + 1);
    if (clCompresseur.nCompress(tabPaquet.data(), nPaquet + 1, &nPaquet, pbyDonnees, nLongueur) !=
        CDataCompressor::RESULTAT_OK)
        abort();
    if ((nTaille == 0 || memchr(pbyDonnees, 0, nTaille) == nullptr) &&
        memchr(tabPaquet.data(), 0, static_cast<size_t>(nPaquet)) != nullptr)
        abort();
    std::vector<uint8_t> tabRetour(CDataCompressor::s_nTailleDecompresseeMax(static_cast<size_t>(nPaquet)));
    int nRetour = static_cast<int>(tabRetour.size());
    if (clCompresseur.nDeCompress(tabRetour.data(), &nRetour, tabPaquet.data(), nPaquet) != CDataCompressor::RESULTAT_OK ||
        nRetour != nLongueur || (nTaille > 0 && memcmp(tabRetour.data(), pbyDonnees, nTaille) != 0))
        abort();
    return 0;
}
