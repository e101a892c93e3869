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

int CComposanteStandard::RVBRouge(int nCouleur) { return nCouleur & 0xff; }

int CComposanteStandard::RVBVert(int nCouleur) { return (nCouleur >> 8) & 0xff; }

int CComposanteStandard::RVBBleu(int nCouleur) { return (nCouleur >> 16) & 0xff; }
