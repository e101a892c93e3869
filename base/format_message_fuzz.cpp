// Fuzz target of the message formatting emulation: any text, width and flags, with a few
// arguments that are all valid texts, through the array form and the va_list form, which must
// agree, into short, exact and allocated buffers.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <vector>

#include "base/format_message.h"

namespace {

const wchar_t gszUn[] = L"un";
const wchar_t gszEte[] = L"été \U0001D11E";
const wchar_t gszVide[] = L"";
const wchar_t gszInserts[] = L"%1 %2!d!";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille < 2 || nTaille > 4096) return 0;
    // Byte 0: width and flags; byte 1: buffer size and argument count; then the text, one
    // character per byte, bytes from 0xf0 standing for a character outside the BMP.
    static const unsigned int s_anLargeurs[] = {0, 4, 10, FORMAT_MESSAGE_MAX_WIDTH_MASK};
    unsigned int dwFlags = FORMAT_MESSAGE_FROM_STRING | s_anLargeurs[pbyDonnees[0] & 3];
    if ((pbyDonnees[0] & 0x04) != 0) dwFlags |= FORMAT_MESSAGE_IGNORE_INSERTS;
    if ((pbyDonnees[0] & 0x08) != 0) dwFlags |= FORMAT_MESSAGE_ALLOCATE_BUFFER;
    if ((pbyDonnees[0] & 0xf0) == 0xf0) dwFlags |= FORMAT_MESSAGE_FROM_SYSTEM;
    const unsigned int nBuffer = pbyDonnees[1] % 64 + 1;
    const int nNombre = (pbyDonnees[1] >> 6) + 1;

    std::vector<wchar_t> tabTexte;
    for (size_t i = 2; i < nTaille; ++i)
        tabTexte.push_back(pbyDonnees[i] >= 0xf0 ? static_cast<wchar_t>(0x1D100 + pbyDonnees[i]) : pbyDonnees[i]);
    tabTexte.push_back(0);

    const uintptr_t anArguments[] = {reinterpret_cast<uintptr_t>(gszUn), reinterpret_cast<uintptr_t>(gszEte),
                                     reinterpret_cast<uintptr_t>(gszVide), reinterpret_cast<uintptr_t>(gszInserts)};
    std::vector<uintptr_t> tabArguments(anArguments, anArguments + nNombre);  // exact: overreads are caught

    std::vector<wchar_t> tabTableau(nBuffer);
    std::vector<wchar_t> tabListe(nBuffer);
    wchar_t* pszTableau = nullptr;
    wchar_t* pszListe = nullptr;
    const bool bAlloue = (dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    wchar_t* pszCibleTableau = bAlloue ? reinterpret_cast<wchar_t*>(&pszTableau) : tabTableau.data();
    wchar_t* pszCibleListe = bAlloue ? reinterpret_cast<wchar_t*>(&pszListe) : tabListe.data();

    // The system text follows errno: both forms see the same one.
    errno = EACCES;
    const unsigned int nTableau = FormatMessageWin(dwFlags, tabTexte.data(), 0, 0, pszCibleTableau, nBuffer,
                                                   tabArguments.data(), nNombre);
    unsigned int nListe = 0;
    errno = EACCES;
    switch (nNombre) {
        case 1: nListe = FormatMessageWinArgs(dwFlags, tabTexte.data(), 0, 0, pszCibleListe, nBuffer, gszUn); break;
        case 2:
            nListe = FormatMessageWinArgs(dwFlags, tabTexte.data(), 0, 0, pszCibleListe, nBuffer, gszUn, gszEte);
            break;
        case 3:
            nListe = FormatMessageWinArgs(dwFlags, tabTexte.data(), 0, 0, pszCibleListe, nBuffer, gszUn, gszEte,
                                          gszVide);
            break;
        default:
            nListe = FormatMessageWinArgs(dwFlags, tabTexte.data(), 0, 0, pszCibleListe, nBuffer, gszUn, gszEte,
                                          gszVide, gszInserts);
            break;
    }
    if (nTableau != nListe) abort();
    const wchar_t* pszA = bAlloue ? pszTableau : tabTableau.data();
    const wchar_t* pszB = bAlloue ? pszListe : tabListe.data();
    if (nTableau > 0) {
        if (pszA == nullptr || pszB == nullptr || wcslen(pszA) != nTableau || wcscmp(pszA, pszB) != 0) abort();
        if (!bAlloue && nTableau >= nBuffer) abort();
    } else if (bAlloue && ((pszTableau == nullptr) != (pszListe == nullptr))) {
        abort();  // an empty text and a failure must not differ between the forms
    }
    free(pszTableau);
    free(pszListe);
    return 0;
}
