// Fuzz target of the text loader: any bytes, with or without a mark, through three code pages. The
// loader must never read or write out of bounds, never give more characters than bytes, accept
// every input under code page 1252 (which maps every byte), and give valid UTF-8 back unchanged.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/unicode.h"
#include "files/disk_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    static const unsigned int tabCodePages[] = {1252, 65001, 850};
    for (const unsigned int nCodePage : tabCodePages) {
        // An exact-size heap copy, so that any read past the end is caught.
        std::vector<uint8_t> tab(pbyData, pbyData + nTaille);
        CXYString<wchar_t> clTexte;
        CDiskFile::etxType eType = CDiskFile::etxANSI;
        const bool bResultat =
            CDiskFile::bChargeTexteBOMFromBuffer(&clTexte, tab.data(), tab.size(), nCodePage, &eType);
        if (nCodePage == 1252 && !bResultat) std::abort();
        if (!bResultat) continue;
        if (static_cast<size_t>(clTexte.nGetLongueur()) > nTaille) std::abort();
        const bool bGrosBoutiste = nTaille >= 2 && pbyData[0] == 0xFE && pbyData[1] == 0xFF;
        if (bGrosBoutiste && (eType != CDiskFile::etxUTF16 || tab[0] != 0xFF || tab[1] != 0xFE)) std::abort();
        if (!bGrosBoutiste && nTaille > 0 && std::memcmp(tab.data(), pbyData, nTaille) != 0) std::abort();  // untouched
        const bool bMarqueUTF8 = nTaille >= 3 && pbyData[0] == 0xEF && pbyData[1] == 0xBB && pbyData[2] == 0xBF;
        const bool bMarque = bGrosBoutiste || (nTaille >= 2 && pbyData[0] == 0xFF && pbyData[1] == 0xFE) || bMarqueUTF8;
        if (!bMarque && nTaille > 0 &&
            UTF8Valide(reinterpret_cast<const char*>(pbyData), static_cast<int>(nTaille))) {
            if (eType != CDiskFile::etxUTF8) std::abort();
            // Valid UTF-8 comes back byte for byte.
            std::vector<char> tabRetour(nTaille + 1);
            const int nOctets = nWideToUTF8(clTexte.pszGet(), clTexte.nGetLongueur(), tabRetour.data(),
                                            static_cast<int>(tabRetour.size()));
            if (static_cast<size_t>(nOctets) != nTaille || std::memcmp(tabRetour.data(), pbyData, nTaille) != 0)
                std::abort();
        }
    }
    return 0;
}
