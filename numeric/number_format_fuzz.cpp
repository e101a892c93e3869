// Fuzz target of the number format parser and printer, and of the hexadecimal readers: any text
// as a format, under values of every kind the printer takes, must parse or be refused, print
// within bounds, and never read or write outside its buffers.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "numeric/number_format.h"

namespace {

void Remplit(CAny* pcl, int nType, const void* pValeur) {
    pcl->__SetType(nType);
    pcl->pclOperations()->SetValue(pValeur);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille < 1 || nTaille > 256) return 0;
    // Byte 0 picks the value; the rest is the text, one character per byte, bytes from 0xf0
    // standing for a character outside the BMP.
    std::vector<wchar_t> tabTexte;
    for (size_t i = 1; i < nTaille; ++i)
        tabTexte.push_back(pbyDonnees[i] >= 0xf0 ? static_cast<wchar_t>(0x1F600 + pbyDonnees[i]) : pbyDonnees[i]);
    tabTexte.push_back(0);

    static const double s_adReels[] = {2.675, -1e300, 1e-300, 0.0, -0.5, 123456789.125, 1.7976931348623157e308, -7.0};
    CAny clValeur;
    const int nChoix = pbyDonnees[0] & 7;
    const int nIndice = (pbyDonnees[0] >> 3) & 7;
    switch (nChoix) {
        case 0: clValeur.SetR8(s_adReels[nIndice]); break;
        case 1: clValeur.SetI4(nIndice % 2 ? -2147483647 - 1 : 1234567 * nIndice); break;
        case 2: clValeur.SetI8(nIndice % 2 ? INT64_MIN : INT64_MAX - nIndice); break;
        case 3: {
            const int8_t n = static_cast<int8_t>(-nIndice);
            Remplit(&clValeur, 0x06, &n);
            break;
        }
        case 4: {
            const uint64_t u = ~uint64_t{0} - static_cast<uint64_t>(nIndice);
            Remplit(&clValeur, 0x05, &u);
            break;
        }
        case 5: {
            CMoney st{};
            if (nIndice % 2) SetMonetaireToMin(&st);
            else SetMonetaireToMax(&st);
            Remplit(&clValeur, 0x0a, &st);
            break;
        }
        default: clValeur.SetR8(s_adReels[nIndice] * 1e-5); break;
    }

    STFormatNumerique st;
    const bool bValide = bAnalyseFormatNumerique(tabTexte.data(), &st);
    if (bValide && (st.nLargeur > FMTNUM_LARGEUR_MAX || st.nPrecision > FMTNUM_LARGEUR_MAX)) abort();
    CXYString<wchar_t> clTexte;
    const EResultatFormat e = eNumeriqueVersChaine(clValeur, tabTexte.data(), &clTexte);
    if (tabTexte[0] != 0) {
        if (bValide != (e == EResultatFormat::Ok)) abort();
        if (e != EResultatFormat::Ok && !clTexte.bEstVide()) abort();
    }
    if (clTexte.nGetLongueur() > 1000 || static_cast<int>(std::wcslen(clTexte.pszGet())) != clTexte.nGetLongueur()) abort();

    CAny clEntier;
    wchar_t c = 0;
    eHexaVersEntier(tabTexte.data(), &clEntier, &c);
    CZKBIN clBuffer;
    if (eHexaVersBuffer(tabTexte.data(), 1 + (pbyDonnees[0] & 3), &clBuffer) == EResultatBuffer::Ok) {
        CXYString<wchar_t> clDump;
        bBufferVersHexa(clBuffer.pbyGet(), clBuffer.nGetTaille(), 1 | HEXA_PETIT_BOUTIEN, 3 | HEXA_AVEC_DUMP, &clDump);
        CZKBIN clRelu;
        if (eHexaVersBuffer(clDump.pszGet(), 1, &clRelu) != EResultatBuffer::Ok) abort();
        if (clRelu.nGetTaille() != clBuffer.nGetTaille() ||
            std::memcmp(clRelu.pbyGet(), clBuffer.pbyGet(), static_cast<size_t>(clBuffer.nGetTaille())) != 0)
            abort();
    }
    return 0;
}
