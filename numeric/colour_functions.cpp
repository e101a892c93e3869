// Parity and colour functions of the language: small integer arithmetic on the caller's values.
#include "component/thunk.h"

bool CComposanteStandard::EstPair(int n) { return (n & 1) == 0; }

bool CComposanteStandard::EstImpair(int n) { return (n & 1) != 0; }

// A colour is red + green * 256 + blue * 65536; the components are not masked, so values above
// 255 carry into the next byte as they always have.
int CComposanteStandard::RVB(int nRouge, int nVert, int nBleu) {
    return static_cast<int>(static_cast<unsigned>(nRouge) + static_cast<unsigned>(nVert) * 256u +
                            static_cast<unsigned>(nBleu) * 65536u);
}

// Three hexadecimal components: each read as HexaVersEntier reads it, its low bits kept.
int CComposanteStandard::RVB(const wchar_t* pszRouge, const wchar_t* pszVert, const wchar_t* pszBleu) {
    int anComposantes[3] = {0, 0, 0};
    const wchar_t* apsz[3] = {pszRouge, pszVert, pszBleu};
    for (int i = 0; i < 3; ++i) {
        const CAny clValeur = HexaVersEntier(apsz[i]);
        if (pclGetError()->eGetErrorLevel() != CXError::EL_NOERROR) return 0;
        unsigned long u = 0;
        clValeur.nGetBitField_64(u);
        anComposantes[i] = static_cast<int>(u);
    }
    return RVB(anComposantes[0], anComposantes[1], anComposantes[2]);
}

int CComposanteStandard::RVBRouge(int nCouleur) { return nCouleur & 0xff; }

int CComposanteStandard::RVBVert(int nCouleur) { return (nCouleur >> 8) & 0xff; }

int CComposanteStandard::RVBBleu(int nCouleur) { return (nCouleur >> 16) & 0xff; }
