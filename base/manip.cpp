// STManipAUB: reading the machine's text-or-binary argument record.
#include "base/manip.h"

const uint8_t* STManipAUB::pbyGetContenu(int* pnTaille) const noexcept {
    const int nLongueur = CBaseStrMem::s_nLongueur(pBloc);
    int nTaille = 0;
    const uint8_t* pby = static_cast<const uint8_t*>(pBloc);
    switch (nType) {
        case TYPE_ANSI: nTaille = nLongueur + 1; break;
        case TYPE_UNICODE: nTaille = nLongueur + static_cast<int>(sizeof(wchar_t)); break;
        case TYPE_BINAIRE: nTaille = nLongueur; break;
        default: pby = CBaseStrMem::s_pVide<uint8_t>(); break;
    }
    if (pnTaille != nullptr) *pnTaille = nTaille;
    return pby;
}

const uint8_t* STManipAUB::pbyGetContenuUtile(int* pnTaille) const noexcept {
    const bool bConnu = nType == TYPE_ANSI || nType == TYPE_UNICODE || nType == TYPE_BINAIRE;
    if (pnTaille != nullptr) *pnTaille = bConnu ? CBaseStrMem::s_nLongueur(pBloc) : 0;
    return bConnu ? static_cast<const uint8_t*>(pBloc) : CBaseStrMem::s_pVide<uint8_t>();
}

int STManipAUB::nGetLongueur() const noexcept {
    switch (nType) {
        case TYPE_ANSI:
        case TYPE_BINAIRE: return CBaseStrMem::s_nLongueur(pBloc);
        case TYPE_UNICODE: return CBaseStrMem::s_nLongueur(pBloc) / static_cast<int>(sizeof(wchar_t));
        default: return 0;
    }
}

int STManipAUB::nGetTailleUtile() const noexcept {
    const bool bConnu = nType == TYPE_ANSI || nType == TYPE_UNICODE || nType == TYPE_BINAIRE;
    return bConnu ? CBaseStrMem::s_nLongueur(pBloc) : 0;
}

const char* STManipAUB::pszGetStringA(CXYString<char>* pclTampon, unsigned int nCodePage, int* pnErreur) const noexcept {
    int n = 0;
    const char* pszResultat = CBaseStrMem::s_pVide<char>();
    if (pBloc != nullptr) {
        if (nType == TYPE_ANSI) {
            pszResultat = static_cast<const char*>(pBloc);
        } else if (nType == TYPE_BINAIRE) {
            // Binary bytes may hold zeros and no terminator of their own: copy them terminated.
            if (pclTampon != nullptr && (n = pclTampon->nAffecte(static_cast<const char*>(pBloc), nGetLongueur())) == 0)
                pszResultat = pclTampon->pszGet();
        } else if (nType == TYPE_UNICODE && pclTampon != nullptr) {
            n = pclTampon->__nConversion(static_cast<const wchar_t*>(pBloc), nGetLongueur(), 0, nCodePage, 0);
            if (n == 0) pszResultat = pclTampon->pszGet();
        }
    }
    if (pnErreur != nullptr) *pnErreur = n;
    return pszResultat;
}

const wchar_t* STManipAUB::pszGetStringW(CXYString<wchar_t>* pclTampon, unsigned int nCodePage,
                                         int* pnErreur) const noexcept {
    int n = 0;
    const wchar_t* pszResultat = CBaseStrMem::s_pVide<wchar_t>();
    if (pBloc != nullptr) {
        if (nType == TYPE_UNICODE) {
            pszResultat = static_cast<const wchar_t*>(pBloc);
        } else if ((nType == TYPE_ANSI || nType == TYPE_BINAIRE) && pclTampon != nullptr) {
            n = pclTampon->__nConversion(static_cast<const char*>(pBloc), nGetLongueur(), 0, nCodePage, 0);
            if (n == 0) pszResultat = pclTampon->pszGet();
        }
    }
    if (pnErreur != nullptr) *pnErreur = n;
    return pszResultat;
}
