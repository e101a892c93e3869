// The members of CAny's family that own or interpret their payload: money, fixed texts, counted
// blocks, owned texts, decimals and buffers.
#include "base/internal/any_members.h"

#include <climits>
#include <cstdlib>
#include <cwchar>

#include "base/characters.h"
#include "base/str_mem.h"

// ---------------------------------------------------------------------------------------------
// Money

namespace {

// The 80-bit two's-complement integer of a money payload, and back.
__int128 nMonnaieVersEntier(const STMonnaie& st) noexcept {
    unsigned __int128 n = 0;
    for (int i = 4; i >= 0; --i) n = (n << 16) | st.awMot[i];
    if (st.awMot[4] & 0x8000) n |= ~static_cast<unsigned __int128>(0) << 80;  // sign extension
    return static_cast<__int128>(n);
}

STMonnaie stEntierVersMonnaie(__int128 n) noexcept {
    STMonnaie st;
    unsigned __int128 u = static_cast<unsigned __int128>(n);
    for (int i = 0; i < 5; ++i) {
        st.awMot[i] = static_cast<uint16_t>(u & 0xffff);
        u >>= 16;
    }
    return st;
}

constexpr __int128 kMonnaieMax = (static_cast<__int128>(1) << 79) - 1;
constexpr __int128 kMonnaieMin = -(static_cast<__int128>(1) << 79);
constexpr __int128 kUnite = 1000000;

}  // namespace

int CAny_ZKCY::bIsPositive() const noexcept { return (_tLit().awMot[4] & 0x8000) == 0; }

// One unit up or down; past the range the value wraps around, and the answer says so.
int CAny_ZKCY::nIncremente() noexcept {
    __int128 n = nMonnaieVersEntier(_tLit()) + kUnite;
    const bool bTour = n > kMonnaieMax;
    if (bTour) n -= static_cast<__int128>(1) << 80;
    _Ecrit(stEntierVersMonnaie(n));
    return bTour;
}

int CAny_ZKCY::nDecremente() noexcept {
    __int128 n = nMonnaieVersEntier(_tLit()) - kUnite;
    const bool bTour = n < kMonnaieMin;
    if (bTour) n += static_cast<__int128>(1) << 80;
    _Ecrit(stEntierVersMonnaie(n));
    return bTour;
}

// ---------------------------------------------------------------------------------------------
// Fixed texts

template <class C, int N>
size_t TAnyTexteFixe<C, N>::nLongueur() const noexcept {
    const C* p = reinterpret_cast<const C*>(_pbyValeur());
    size_t n = 0;
    while (n < static_cast<size_t>(N) && p[n] != 0) ++n;
    return n;
}

template <class C, int N>
void TAnyTexteFixe<C, N>::SetValue(const void* pValeur) noexcept {
    C* p = reinterpret_cast<C*>(_pbyValeur());
    const C* pSource = static_cast<const C*>(pValeur);
    size_t n = 0;
    if (pSource)
        for (; n < static_cast<size_t>(N) && pSource[n] != 0; ++n) p[n] = pSource[n];
    for (; n <= static_cast<size_t>(N); ++n) p[n] = 0;
}

template <class C, int N>
void TAnyTexteFixe<C, N>::Duplique(CAny* pclCible) const noexcept {
    pclCible->pclOperations()->SetValue(_pbyValeur());
    _CopieMarques(pclCible);
}

template <class C, int N>
int TAnyTexteFixe<C, N>::nGetPCASTR(const char** pp) const noexcept {
    if constexpr (std::is_same_v<C, char>) {
        if (pp) *pp = reinterpret_cast<const char*>(_pbyValeur());
        return ANY_OK;
    }
    return CAny_Intern::nGetPCASTR(pp);
}

template <class C, int N>
int TAnyTexteFixe<C, N>::nGetPCWSTR(const wchar_t** pp) const noexcept {
    if constexpr (std::is_same_v<C, wchar_t>) {
        if (pp) *pp = reinterpret_cast<const wchar_t*>(_pbyValeur());
        return ANY_OK;
    }
    return CAny_Intern::nGetPCWSTR(pp);
}

template class TAnyTexteFixe<wchar_t, 8>;
template class TAnyTexteFixe<wchar_t, 9>;
template class TAnyTexteFixe<char, 8>;
template class TAnyTexteFixe<char, 9>;

// ---------------------------------------------------------------------------------------------
// Counted blocks

namespace {

template <EBloc E>
constexpr size_t nTailleCaractere() {
    return E == EBloc::Large ? sizeof(wchar_t) : 1;
}
// What follows the data in a text block and counts in its data size.
template <EBloc E>
constexpr size_t nTailleTerminateur() {
    return E == EBloc::Binaire ? 0 : nTailleCaractere<E>();
}

}  // namespace

template <EBloc E>
TAnyBloc<E>::~TAnyBloc() {
    CBaseStrMem::s_ReleaseStrMem(_pBloc());
}

template <EBloc E>
void* TAnyBloc<E>::_pBloc() const noexcept {
    void* p;
    memcpy(&p, _pbyValeur(), sizeof p);
    return p;
}

template <EBloc E>
void TAnyBloc<E>::_Adopte(void* pBloc) noexcept {
    void* pAncien = _pBloc();
    memcpy(_pbyValeur(), &pBloc, sizeof pBloc);
    CBaseStrMem::s_ReleaseStrMem(pAncien);
}

template <EBloc E>
void TAnyBloc<E>::SetValue(const void* pValeur) noexcept {
    void* pBloc = nullptr;
    if (pValeur) memcpy(&pBloc, pValeur, sizeof pBloc);
    CBaseStrMem::s_AddRefStrMem(pBloc);  // before the old one goes: it may be the same block
    _Adopte(pBloc);
}

template <EBloc E>
void TAnyBloc<E>::Duplique(CAny* pclCible) const noexcept {
    pclCible->pclOperations()->SetValue(_pbyValeur());
    _CopieMarques(pclCible);
}

template <EBloc E>
int TAnyBloc<E>::nGetSize(unsigned long* pn) const noexcept {
    if (pn) *pn = sizeof(void*);
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nGetAdr(void** pp) const noexcept {
    if (pp) *pp = _pbyValeur();
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nFillBuffer(void* p) const noexcept {
    if (p) memcpy(p, _pbyValeur(), sizeof(void*));
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nGetDataSize(unsigned long* pn) const noexcept {
    if (pn) *pn = static_cast<unsigned long>(CBaseStrMem::s_nLongueur(_pBloc())) + nTailleTerminateur<E>();
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nGetDataAdr(void** pp) const noexcept {
    void* p = _pBloc();
    if (pp) *pp = p ? p : const_cast<wchar_t*>(CBaseStrMem::ChaineVide);
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nFillDataBuffer(void* p) const noexcept {
    unsigned long n = 0;
    nGetDataSize(&n);
    const void* pSource = _pBloc() ? _pBloc() : CBaseStrMem::ChaineVide;  // the empty text's zeros
    if (p && n) memcpy(p, pSource, n);
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nGetUtilDataSize(unsigned long* pn) const noexcept {
    if (pn) *pn = static_cast<unsigned long>(CBaseStrMem::s_nLongueur(_pBloc()));
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nFillUtilDataBuffer(void* p) const noexcept {
    const size_t n = static_cast<size_t>(CBaseStrMem::s_nLongueur(_pBloc()));
    if (p && n) memcpy(p, _pBloc(), n);
    return ANY_OK;
}

template <EBloc E>
int TAnyBloc<E>::nGetPCASTR(const char** pp) const noexcept {
    if constexpr (E == EBloc::Ansi) {
        if (pp) *pp = _pBloc() ? static_cast<const char*>(_pBloc()) : CBaseStrMem::s_pVide<char>();
        return ANY_OK;
    }
    return CAny_Intern::nGetPCASTR(pp);
}

template <EBloc E>
int TAnyBloc<E>::nGetPCWSTR(const wchar_t** pp) const noexcept {
    if constexpr (E == EBloc::Large) {
        if (pp) *pp = _pBloc() ? static_cast<const wchar_t*>(_pBloc()) : CBaseStrMem::ChaineVide;
        return ANY_OK;
    }
    return CAny_Intern::nGetPCWSTR(pp);
}

template <EBloc E>
int TAnyBloc<E>::nGetSTRLEN(unsigned long* pn) const noexcept {
    if constexpr (E == EBloc::Binaire) return CAny_Intern::nGetSTRLEN(pn);
    if (pn) *pn = static_cast<unsigned long>(static_cast<size_t>(CBaseStrMem::s_nLongueur(_pBloc())) / nTailleCaractere<E>());
    return ANY_OK;
}

// A failed conversion leaves the empty value, as the counted conversions do.
template <EBloc E>
void TAnyBloc<E>::_DepuisAnsi(int nCodePage, const char* psz, long nLongueur) noexcept {
    if (psz == nullptr) {
        _Adopte(nullptr);
        return;
    }
    const int n = nLongueur < 0 ? -1 : static_cast<int>(nLongueur > INT32_MAX ? INT32_MAX : nLongueur);
    if constexpr (E == EBloc::Large) {
        CXYString<wchar_t> cl = PCASTR_To_CWString(psz, n, static_cast<unsigned int>(nCodePage));
        _Adopte(cl.pDetache());
    } else if constexpr (E == EBloc::Ansi) {
        CXYString<char> cl(psz, n);
        _Adopte(cl.pDetache());
    } else {
        CZKBIN cl(psz, n < 0 ? static_cast<int>(strlen(psz)) : n);
        _Adopte(cl.pDetache());
    }
}

template <EBloc E>
void TAnyBloc<E>::_DepuisLarge(int nCodePage, const wchar_t* psz, long nLongueur) noexcept {
    if (psz == nullptr) {
        _Adopte(nullptr);
        return;
    }
    const int n = nLongueur < 0 ? -1 : static_cast<int>(nLongueur > INT32_MAX / 4 ? INT32_MAX / 4 : nLongueur);
    if constexpr (E == EBloc::Large) {
        CXYString<wchar_t> cl(psz, n);
        _Adopte(cl.pDetache());
    } else if constexpr (E == EBloc::Ansi) {
        CXYString<char> cl = PCWSTR_To_CAString(psz, n, static_cast<unsigned int>(nCodePage));
        _Adopte(cl.pDetache());
    } else {
        const size_t nCaracteres = n < 0 ? wcslen(psz) : static_cast<size_t>(n);
        CZKBIN cl(psz, static_cast<int>(nCaracteres * sizeof(wchar_t)));
        _Adopte(cl.pDetache());
    }
}

template <EBloc E>
void TAnyBloc<E>::SetValueFromANSI(const void* p) noexcept {
    _DepuisAnsi(STR_nGetCurrentCodePage(), static_cast<const char*>(p), -1);
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromANSI(const void* p, unsigned long n) noexcept {
    _DepuisAnsi(STR_nGetCurrentCodePage(), static_cast<const char*>(p), static_cast<long>(n));
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromUNICODE(const void* p) noexcept {
    _DepuisLarge(STR_nGetCurrentCodePage(), static_cast<const wchar_t*>(p), -1);
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromUNICODE(const void* p, unsigned long n) noexcept {
    _DepuisLarge(STR_nGetCurrentCodePage(), static_cast<const wchar_t*>(p), static_cast<long>(n));
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromANSI_CP(int nCodePage, const void* p) noexcept {
    _DepuisAnsi(nCodePage, static_cast<const char*>(p), -1);
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromANSI_CP(int nCodePage, const void* p, unsigned long n) noexcept {
    _DepuisAnsi(nCodePage, static_cast<const char*>(p), static_cast<long>(n));
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromUNICODE_CP(int nCodePage, const void* p) noexcept {
    _DepuisLarge(nCodePage, static_cast<const wchar_t*>(p), -1);
}
template <EBloc E>
void TAnyBloc<E>::SetValueFromUNICODE_CP(int nCodePage, const void* p, unsigned long n) noexcept {
    _DepuisLarge(nCodePage, static_cast<const wchar_t*>(p), static_cast<long>(n));
}

template class TAnyBloc<EBloc::Large>;
template class TAnyBloc<EBloc::Ansi>;
template class TAnyBloc<EBloc::Binaire>;

// ---------------------------------------------------------------------------------------------
// Owned texts

template <class C>
C* TAnyPointeurTexte<C>::_psz() const noexcept {
    C* p;
    memcpy(&p, _pbyValeur(), sizeof p);
    return p;
}

template <class C>
size_t TAnyPointeurTexte<C>::_nLongueur() const noexcept {
    const C* p = _psz();
    if (p == nullptr) return 0;
    if constexpr (std::is_same_v<C, char>)
        return strlen(p);
    else
        return wcslen(p);
}

// The new copy is made before the old text goes, so the text given may be this one's own; when
// memory fails the old text stays.
template <class C>
void TAnyPointeurTexte<C>::__CreateStr(const C* pszTexte, long nLongueur) noexcept {
    if (pszTexte == nullptr) {
        __DeleteStr();
        return;
    }
    size_t n = 0;
    if (nLongueur < 0) {
        while (pszTexte[n] != 0) ++n;
    } else {
        while (n < static_cast<size_t>(nLongueur) && pszTexte[n] != 0) ++n;
    }
    C* pNouveau = static_cast<C*>(malloc((n + 1) * sizeof(C)));
    if (pNouveau == nullptr) return;
    memcpy(pNouveau, pszTexte, n * sizeof(C));
    pNouveau[n] = 0;
    free(_psz());
    memcpy(_pbyValeur(), &pNouveau, sizeof pNouveau);
}

template <class C>
void TAnyPointeurTexte<C>::__DeleteStr() noexcept {
    free(_psz());
    memset(_pbyValeur(), 0, sizeof(C*));
}

template <class C>
void TAnyPointeurTexte<C>::Duplique(CAny* pclCible) const noexcept {
    pclCible->pclOperations()->SetValue(_psz());
    _CopieMarques(pclCible);
}

template <class C>
int TAnyPointeurTexte<C>::nGetSize(unsigned long* pn) const noexcept {
    if (pn) *pn = sizeof(C*);
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nGetAdr(void** pp) const noexcept {
    if (pp) *pp = _pbyValeur();
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nFillBuffer(void* p) const noexcept {
    if (p) memcpy(p, _pbyValeur(), sizeof(C*));
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nGetDataSize(unsigned long* pn) const noexcept {
    if (pn) *pn = static_cast<unsigned long>((_nLongueur() + 1) * sizeof(C));
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nGetDataAdr(void** pp) const noexcept {
    if (pp) *pp = _psz() ? static_cast<void*>(_psz()) : const_cast<wchar_t*>(CBaseStrMem::ChaineVide);
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nFillDataBuffer(void* p) const noexcept {
    const size_t n = (_nLongueur() + 1) * sizeof(C);
    if (p) memcpy(p, _psz() ? static_cast<const void*>(_psz()) : CBaseStrMem::ChaineVide, n);
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nGetUtilDataSize(unsigned long* pn) const noexcept {
    if (pn) *pn = static_cast<unsigned long>(_nLongueur() * sizeof(C));
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nFillUtilDataBuffer(void* p) const noexcept {
    const size_t n = _nLongueur() * sizeof(C);
    if (p && n) memcpy(p, _psz(), n);
    return ANY_OK;
}

template <class C>
int TAnyPointeurTexte<C>::nGetPCASTR(const char** pp) const noexcept {
    if constexpr (std::is_same_v<C, char>) {
        if (pp) *pp = _psz() ? _psz() : CBaseStrMem::s_pVide<char>();
        return ANY_OK;
    }
    return CAny_Intern::nGetPCASTR(pp);
}

template <class C>
int TAnyPointeurTexte<C>::nGetPCWSTR(const wchar_t** pp) const noexcept {
    if constexpr (std::is_same_v<C, wchar_t>) {
        if (pp) *pp = _psz() ? _psz() : CBaseStrMem::ChaineVide;
        return ANY_OK;
    }
    return CAny_Intern::nGetPCWSTR(pp);
}

template <class C>
int TAnyPointeurTexte<C>::nGetSTRLEN(unsigned long* pn) const noexcept {
    if (pn) *pn = static_cast<unsigned long>(_nLongueur());
    return ANY_OK;
}

// A text of the other width is converted in the code page; a failed conversion leaves no text.
template <class C>
void TAnyPointeurTexte<C>::_DepuisAnsi(int nCodePage, const char* psz, long nLongueur) noexcept {
    if (psz == nullptr) return __DeleteStr();
    if constexpr (std::is_same_v<C, char>) {
        __CreateStr(psz, nLongueur);
    } else {
        const int n = nLongueur < 0 ? -1 : static_cast<int>(nLongueur > INT32_MAX ? INT32_MAX : nLongueur);
        CXYString<wchar_t> cl = PCASTR_To_CWString(psz, n, static_cast<unsigned int>(nCodePage));
        __CreateStr(cl.pszGet());
    }
}

template <class C>
void TAnyPointeurTexte<C>::_DepuisLarge(int nCodePage, const wchar_t* psz, long nLongueur) noexcept {
    if (psz == nullptr) return __DeleteStr();
    if constexpr (std::is_same_v<C, wchar_t>) {
        __CreateStr(psz, nLongueur);
    } else {
        const int n = nLongueur < 0 ? -1 : static_cast<int>(nLongueur > INT32_MAX / 4 ? INT32_MAX / 4 : nLongueur);
        CXYString<char> cl = PCWSTR_To_CAString(psz, n, static_cast<unsigned int>(nCodePage));
        __CreateStr(cl.pszGet());
    }
}

template <class C>
void TAnyPointeurTexte<C>::SetValueFromANSI(const void* p) noexcept {
    _DepuisAnsi(STR_nGetCurrentCodePage(), static_cast<const char*>(p), -1);
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromANSI(const void* p, unsigned long n) noexcept {
    _DepuisAnsi(STR_nGetCurrentCodePage(), static_cast<const char*>(p), static_cast<long>(n));
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromUNICODE(const void* p) noexcept {
    _DepuisLarge(STR_nGetCurrentCodePage(), static_cast<const wchar_t*>(p), -1);
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromUNICODE(const void* p, unsigned long n) noexcept {
    _DepuisLarge(STR_nGetCurrentCodePage(), static_cast<const wchar_t*>(p), static_cast<long>(n));
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromANSI_CP(int nCodePage, const void* p) noexcept {
    _DepuisAnsi(nCodePage, static_cast<const char*>(p), -1);
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromANSI_CP(int nCodePage, const void* p, unsigned long n) noexcept {
    _DepuisAnsi(nCodePage, static_cast<const char*>(p), static_cast<long>(n));
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromUNICODE_CP(int nCodePage, const void* p) noexcept {
    _DepuisLarge(nCodePage, static_cast<const wchar_t*>(p), -1);
}
template <class C>
void TAnyPointeurTexte<C>::SetValueFromUNICODE_CP(int nCodePage, const void* p, unsigned long n) noexcept {
    _DepuisLarge(nCodePage, static_cast<const wchar_t*>(p), static_cast<long>(n));
}

template class TAnyPointeurTexte<char>;
template class TAnyPointeurTexte<wchar_t>;

// ---------------------------------------------------------------------------------------------
// Decimals

void* CAny_ZKDECIMAL::_pDecimal() const noexcept {
    void* p;
    memcpy(&p, _pbyValeur(), sizeof p);
    return p;
}

CAny_ZKDECIMAL::~CAny_ZKDECIMAL() {
    void* p = _pDecimal();
    if (p == nullptr) return;
    // Only the factory that made a decimal may free it; without one it is left rather than freed
    // with the wrong allocator.
    if (IVMFactory* pi = CAny::s_piFabrique()) pi->LibereDecimal(p);
    memset(_pbyValeur(), 0, sizeof p);
}

bool CAny_ZKDECIMAL::bCree() noexcept {
    if (_pDecimal()) return true;
    IVMFactory* pi = CAny::s_piFabrique();
    void* p = pi ? pi->pCreeDecimal() : nullptr;
    if (p == nullptr) return false;
    memcpy(_pbyValeur(), &p, sizeof p);
    return true;
}

void CAny_ZKDECIMAL::SetValue(const void* pValeur) noexcept {
    if (pValeur == nullptr || !bCree()) return;
    memmove(_pDecimal(), pValeur, ANY_TAILLE_DECIMAL);
}

void CAny_ZKDECIMAL::Duplique(CAny* pclCible) const noexcept {
    if (_pDecimal()) pclCible->pclOperations()->SetValue(_pDecimal());
    _CopieMarques(pclCible);
}

int CAny_ZKDECIMAL::nGetSize(unsigned long* pn) const noexcept {
    if (pn) *pn = sizeof(void*);
    return ANY_OK;
}

int CAny_ZKDECIMAL::nGetAdr(void** pp) const noexcept {
    if (pp) *pp = _pbyValeur();
    return ANY_OK;
}

int CAny_ZKDECIMAL::nFillBuffer(void* p) const noexcept {
    if (p) memcpy(p, _pbyValeur(), sizeof(void*));
    return ANY_OK;
}

int CAny_ZKDECIMAL::nGetDataSize(unsigned long* pn) const noexcept {
    if (pn) *pn = ANY_TAILLE_DECIMAL;
    return ANY_OK;
}

int CAny_ZKDECIMAL::nGetDataAdr(void** pp) const noexcept {
    if (pp) *pp = _pDecimal();
    return _pDecimal() ? ANY_OK : ANY_ERREUR_VIDE;
}

int CAny_ZKDECIMAL::nFillDataBuffer(void* p) const noexcept {
    if (_pDecimal() == nullptr) return ANY_ERREUR_VIDE;
    if (p) memcpy(p, _pDecimal(), ANY_TAILLE_DECIMAL);
    return ANY_OK;
}

// ---------------------------------------------------------------------------------------------
// Buffers

int CAny_ZKBUFFER::nGetDataSize(unsigned long* pn) const noexcept {
    if (pn) *pn = static_cast<unsigned long>(_tLit().nTaille);
    return ANY_OK;
}

int CAny_ZKBUFFER::nGetDataAdr(void** pp) const noexcept {
    if (pp) *pp = _tLit().pData;
    return ANY_OK;
}

int CAny_ZKBUFFER::nFillDataBuffer(void* p) const noexcept {
    const STAnyBuffer st = _tLit();
    if (p && st.pData && st.nTaille) memcpy(p, st.pData, static_cast<size_t>(st.nTaille));
    return ANY_OK;
}

void CAny_ZKTABANY::s_SetDirect(CAny* pclAny, const STAnyBuffer& stRecord) noexcept {
    unsigned char aby[ANY_TAILLE_VALEUR] = {};
    memcpy(aby, &stRecord, sizeof stRecord);
    pclAny->__TransfertValeurInterne(0x53, aby);
}
