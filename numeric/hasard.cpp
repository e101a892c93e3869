// CHasard: random numbers from the C library's shared sequence.
#include "numeric/hasard.h"

#include <cstdlib>

int CHasard::Release() {
    int n = --m_nRef;
    if (n <= 0) delete this;
    return n;
}

int CHasard::s_nHasard(int nBorne1, int nBorne2) {
    long long nEcart = static_cast<long long>(nBorne2) - nBorne1;
    if (nEcart < 0) nEcart = -nEcart;
    int nMin = nBorne1 < nBorne2 ? nBorne1 : nBorne2;
    return static_cast<int>(nMin + random() % (nEcart + 1));
}
