// Fuzz target of the serialisation buffer: any bytes as strings in every mode, as sections, as a
// main header, as a nested buffer and block, and as a coded region; nothing may read out of
// bounds, a failed read must leave the cursor, and a region that decodes must stay decoded.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/ov_buffer.h"
#include "base/tstring.h"

namespace {

void LitTout(COVBuffer* pclBuffer, EModeTString eMode) {
    pclBuffer->SeekNoResize(0);
    for (int i = 0; i < 64 && !pclBuffer->bFinDonnees(); ++i) {
        const unsigned long nAvant = pclBuffer->dwGetPosition();
        CTString clTexte;
        if (!pclBuffer->bReadString(clTexte, eMode)) {
            if (pclBuffer->dwGetPosition() != nAvant) abort();
            pclBuffer->SeekNoResize(static_cast<long>(nAvant + 1));
        } else if (pclBuffer->dwGetPosition() <= nAvant || pclBuffer->dwGetPosition() > pclBuffer->dwGetSize()) {
            abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyDonnees, size_t nTaille) {
    if (nTaille > (1u << 16)) return 0;
    const auto nOctets = static_cast<unsigned long>(nTaille);

    {
        COVBuffer clBuffer;
        clBuffer.SetAll(pbyDonnees, nOctets);
        for (EModeTString eMode : {eMODETSTRING_UTF8_MARQUE, eMODETSTRING_ANSI, eMODETSTRING_UTF8_MARQUE_COMPLET,
                                   eMODETSTRING_UTF8})
            LitTout(&clBuffer, eMode);
        clBuffer.SeekNoResize(0);
        wchar_t tabTexte[8];
        clBuffer.nReadString(tabTexte, 8, eMODETSTRING_UTF8_MARQUE);
        char tabAnsi[8];
        clBuffer.SeekNoResize(0);
        clBuffer.nReadStringOldAnsi(tabAnsi, 8);
    }
    {
        // Sections as far as they go; the cursor must move forward and stay inside the data.
        COVBuffer clBuffer;
        clBuffer.SetAll(pbyDonnees, nOctets);
        for (int i = 0; i < 64 && !clBuffer.bFinDonnees(); ++i) {
            const unsigned long nAvant = clBuffer.dwGetPosition();
            const unsigned long nFin = COVBufferMark::s_dwReadBeginMark(&clBuffer);
            uint16_t w = 0;
            clBuffer >> w;
            COVBufferMark::s_ReadEndMark(&clBuffer, nFin);
            if (clBuffer.dwGetPosition() < nAvant || clBuffer.dwGetPosition() > clBuffer.dwGetSize()) abort();
            if (clBuffer.dwGetPosition() == nAvant) break;
        }
        uint32_t dwVersion = 0, dwCompat = 0;
        const int n = COVBufferMark::nReadEntetePrincipale(&clBuffer, 5, 3, &dwVersion, &dwCompat);
        if (n < -2 || n > 2) abort();
        clBuffer.SeekNoResize(0);
        COVBuffer clCible;
        g_DeserialiseBuffer(&clBuffer, &clCible);
        CSimpleBuffer clBloc;
        clBuffer >> clBloc;
        uint32_t tab[4];
        clBuffer.GetTableau(tab, 4, 4);
    }
    {
        // The bytes as a coded region behind a 12-byte header, for each pack and cipher method.
        const int ePack = nTaille > 0 ? pbyDonnees[0] % 3 : 1;
        const int eCrypt = nTaille > 1 ? pbyDonnees[1] % 2 : 0;
        COVBuffer clBuffer;
        clBuffer.SetPackMethod(ePack);
        clBuffer.SetCryptMethod(eCrypt);
        clBuffer.DefineFirstCodedByte(nTaille > 2 ? pbyDonnees[2] % 16 : 12);
        clBuffer.SetCodedData(pbyDonnees, nOctets);
        uint32_t dw = 0;
        clBuffer >> dw;
        if (clBuffer.bDecode()) {
            if (clBuffer.bEstCode()) abort();
            LitTout(&clBuffer, eMODETSTRING_UTF8_MARQUE);
            // What decodes codes again and comes back the same.
            unsigned long nClair = 0;
            uint8_t* pbyClair = clBuffer.GetAll(&nClair);
            COVBuffer clCopie;
            clCopie.SetAll(pbyClair, nClair);
            const unsigned long nTailleClaire = clCopie.dwGetSize();
            clCopie.SetPackMethod(ePack);
            clCopie.SetCryptMethod(eCrypt);
            clCopie.DefineFirstCodedByte(clBuffer.dwGetFirstCodedByte());
            if (clCopie.ForceCode()) {
                if (!clCopie.bDecode() || clCopie.dwGetSize() != nTailleClaire) abort();
                if (nTailleClaire != 0 && std::memcmp(clCopie.pbyGetData(), clBuffer.pbyGetData(), nTailleClaire) != 0) abort();
            }
        } else if (clBuffer.dwGetSize() != nOctets) {
            abort();
        }
    }
    return 0;
}
