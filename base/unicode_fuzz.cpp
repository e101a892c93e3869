// Fuzz target of the text decoders: any bytes as UTF-8 (judged as the table of well-formed byte
// sequences judges them, decoded and encoded back to the same bytes), as UTF-16, and through the
// code pages, never read or written out of bounds.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/code_pages.h"
#include "base/unicode.h"

namespace {

// Well-formed UTF-8, byte ranges straight from the table of the standard, written apart from the
// library's decoder so that the two can disagree.
bool bBienForme(const uint8_t* pby, size_t n) {
    size_t i = 0;
    while (i < n) {
        const uint8_t b = pby[i];
        uint8_t nBas = 0x80;
        uint8_t nHaut = 0xBF;
        size_t nSuite;
        if (b <= 0x7F) {
            ++i;
            continue;
        } else if (b >= 0xC2 && b <= 0xDF) {
            nSuite = 1;
        } else if (b == 0xE0) {
            nSuite = 2, nBas = 0xA0;
        } else if ((b >= 0xE1 && b <= 0xEC) || b == 0xEE || b == 0xEF) {
            nSuite = 2;
        } else if (b == 0xED) {
            nSuite = 2, nHaut = 0x9F;
        } else if (b == 0xF0) {
            nSuite = 3, nBas = 0x90;
        } else if (b >= 0xF1 && b <= 0xF3) {
            nSuite = 3;
        } else if (b == 0xF4) {
            nSuite = 3, nHaut = 0x8F;
        } else {
            return false;
        }
        if (n - i <= nSuite) return false;
        if (pby[i + 1] < nBas || pby[i + 1] > nHaut) return false;
        for (size_t k = 2; k <= nSuite; ++k)
            if (pby[i + k] < 0x80 || pby[i + k] > 0xBF) return false;
        i += nSuite + 1;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille == 0 || nTaille > (1u << 16)) return 0;
    const int nOctets = static_cast<int>(nTaille);
    // An exact copy: any read past its end is caught by the sanitizer.
    std::vector<char> tabTexte(pbyDonnees, pbyDonnees + nTaille);
    const char* pszTexte = tabTexte.data();

    const int nCaracteres = nUTF8ToWide(pszTexte, nOctets, nullptr, 0);
    if ((nCaracteres != 0) != bBienForme(pbyDonnees, nTaille)) abort();
    if (UTF8Valide(pszTexte, nOctets) != (nCaracteres != 0)) abort();
    if (nCaracteres != 0) {
        std::vector<wchar_t> tabWide(static_cast<size_t>(nCaracteres));
        if (nUTF8ToWide(pszTexte, nOctets, tabWide.data(), nCaracteres) != nCaracteres) abort();
        if (nCaracteres > 1 && nUTF8ToWide(pszTexte, nOctets, tabWide.data(), nCaracteres - 1) != 0) abort();
        std::vector<char> tabRetour(nTaille);
        if (nWideToUTF8(tabWide.data(), nCaracteres, tabRetour.data(), nOctets) != nOctets) abort();
        if (memcmp(tabRetour.data(), pbyDonnees, nTaille) != 0) abort();
        std::vector<char16_t> tabUtf16(static_cast<size_t>(nCaracteres) * 2);
        const int nUnites = WideCharToUTF16(tabWide.data(), nCaracteres, tabUtf16.data(), nCaracteres * 2);
        if (nUnites < nCaracteres) abort();
        std::vector<wchar_t> tabDepuis16(static_cast<size_t>(nCaracteres));
        if (UTF16ToWideChar(tabUtf16.data(), nUnites, tabDepuis16.data(), nCaracteres) != nCaracteres) abort();
        if (tabDepuis16 != tabWide) abort();
    }

    // The same bytes as UTF-16 units, and a walk of them as UTF-8 that must stop at the end.
    if (nTaille >= 2) {
        std::vector<char16_t> tabUnites(nTaille / 2);
        memcpy(tabUnites.data(), pbyDonnees, tabUnites.size() * 2);
        wchar_t aszCourt[8];
        UTF16ToWideChar(tabUnites.data(), static_cast<int>(tabUnites.size()), aszCourt, 8);
        char aszUtf8[8];
        UTF16ToUtf8(tabUnites.data(), static_cast<int>(tabUnites.size()), aszUtf8, 8);
    }
    const char* pszCourant = pszTexte;
    const char* const pszFin = pszTexte + nTaille;
    while (pszCourant < pszFin) {
        const char* pszAvant = pszCourant;
        UTF8_GetNext(&pszCourant, pszFin);
        if (pszCourant <= pszAvant || pszCourant > pszFin) abort();
    }

    // Through code pages, into an output too short and one of the right size.
    for (unsigned int nCodePage : {1252u, 932u, 54936u, 65000u, 37u}) {
        wchar_t aszCourt[4];
        MultiByteToWideChar(nCodePage, 0, pszTexte, nOctets, aszCourt, 4);
        const int nCompte = MultiByteToWideChar(nCodePage, 0, pszTexte, nOctets, nullptr, 0);
        if (nCompte > 0) {
            std::vector<wchar_t> tabWide(static_cast<size_t>(nCompte));
            if (MultiByteToWideChar(nCodePage, 0, pszTexte, nOctets, tabWide.data(), nCompte) != nCompte) abort();
            char aszRetour[4];
            WideCharToMultiByte(nCodePage, 0, tabWide.data(), nCompte, aszRetour, 4);
        }
    }
    return 0;
}
