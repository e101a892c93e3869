// The members of CAny's family: one class per kind of payload, none with a field of its own. Each
// reads and writes the payload that lies behind the type word of the CAny it is part of.
#pragma once

#include <cstring>
#include <limits>
#include <type_traits>

#include "base/any.h"

// A payload of one plain value: copied in and out as bytes, sizes of its width.
template <class T>
class TAnyScalaire : public CAny_Intern {
public:
    using CAny_Intern::SetValue;
    void Duplique(CAny* pclCible) const noexcept override;
    int nGetSize(unsigned long* pn) const noexcept override { return _nTaille(pn); }
    int nGetDataSize(unsigned long* pn) const noexcept override { return _nTaille(pn); }
    int nGetUtilDataSize(unsigned long* pn) const noexcept override { return _nTaille(pn); }
    int nGetAdr(void** pp) const noexcept override { return _nAdresse(pp); }
    int nGetDataAdr(void** pp) const noexcept override { return _nAdresse(pp); }
    int nFillBuffer(void* p) const noexcept override { return _nCopie(p); }
    int nFillDataBuffer(void* p) const noexcept override { return _nCopie(p); }
    int nFillUtilDataBuffer(void* p) const noexcept override { return _nCopie(p); }
    void SetValue(const void* pValeur) noexcept override {
        if (pValeur)
            memcpy(_pbyValeur(), pValeur, sizeof(T));
        else
            memset(_pbyValeur(), 0, sizeof(T));
    }

protected:
    T _tLit() const noexcept {
        T t;
        memcpy(&t, _pbyValeur(), sizeof(T));
        return t;
    }
    void _Ecrit(T t) noexcept { memcpy(_pbyValeur(), &t, sizeof(T)); }

private:
    int _nTaille(unsigned long* pn) const noexcept {
        if (pn) *pn = sizeof(T);
        return ANY_OK;
    }
    int _nAdresse(void** pp) const noexcept {
        if (pp) *pp = _pbyValeur();
        return ANY_OK;
    }
    int _nCopie(void* p) const noexcept {
        if (p) memcpy(p, _pbyValeur(), sizeof(T));
        return ANY_OK;
    }
};

// Integers: positive from 0 up; a step of 1 that wraps around answers non-zero.
template <class T>
class TAnyEntier : public TAnyScalaire<T> {
public:
    int bIsPositive() const noexcept override {
        if constexpr (std::is_signed_v<T>) return this->_tLit() >= 0;
        return 1;
    }
    int nIncremente() noexcept override {
        const T t = this->_tLit();
        this->_Ecrit(static_cast<T>(static_cast<std::make_unsigned_t<T>>(t) + 1u));
        return t == std::numeric_limits<T>::max();
    }
    int nDecremente() noexcept override {
        const T t = this->_tLit();
        this->_Ecrit(static_cast<T>(static_cast<std::make_unsigned_t<T>>(t) - 1u));
        return t == std::numeric_limits<T>::min();
    }
};

template <class T>
class TAnyReel : public TAnyScalaire<T> {
public:
    int bIsPositive() const noexcept override { return this->_tLit() >= 0; }
    int nIncremente() noexcept override {
        this->_Ecrit(this->_tLit() + 1);
        return 0;
    }
    int nDecremente() noexcept override {
        this->_Ecrit(this->_tLit() - 1);
        return 0;
    }
};

class CAny_ZKBOOL final : public TAnyScalaire<int32_t> {};
class CAny_ZKUI1 final : public TAnyEntier<uint8_t> {};
class CAny_ZKUI2 final : public TAnyEntier<uint16_t> {};
class CAny_ZKUI4 final : public TAnyEntier<uint32_t> {};
class CAny_ZKUI8 final : public TAnyEntier<uint64_t> {};
class CAny_ZKI1 final : public TAnyEntier<int8_t> {};
class CAny_ZKI2 final : public TAnyEntier<int16_t> {};
class CAny_ZKI4 final : public TAnyEntier<int32_t> {};
class CAny_ZKI8 final : public TAnyEntier<int64_t> {};
class CAny_ZKUIX final : public TAnyEntier<uintptr_t> {};
class CAny_ZKR4 final : public TAnyReel<float> {};
class CAny_ZKR8 final : public TAnyReel<double> {};

// Money: ten bytes, a two's-complement count of millionths; a step is one unit (a million).
struct STMonnaie {
    uint16_t awMot[5];
};
class CAny_ZKCY final : public TAnyScalaire<STMonnaie> {
public:
    int bIsPositive() const noexcept override;
    int nIncremente() noexcept override;
    int nDecremente() noexcept override;
};

// Values the library carries without reading them: machine objects, dates as words.
class CAny_ZKDATETIME final : public TAnyScalaire<uint64_t> {};
class CAny_ZKDUREE final : public TAnyScalaire<int64_t> {
public:
    int bIsPositive() const noexcept override { return _tLit() >= 0; }
};
class CAny_ZKMEMOIMG final : public TAnyScalaire<void*> {};
class CAny_ZKCONVOYEUR final : public TAnyScalaire<void*> {};
class CAny_ZKPOLICE final : public TAnyScalaire<void*> {};
class CAny_ZKOBJET_BASE final : public TAnyScalaire<void*> {};
class CAny_ZKDINO final : public TAnyScalaire<void*> {};

// One character with a zero beside it, so that it reads as a text of its own.
template <class C>
class TAnyCaractere : public TAnyScalaire<C> {
public:
    using CAny_Intern::SetValue;
    void SetValue(const void* pValeur) noexcept override {
        TAnyScalaire<C>::SetValue(pValeur);
        memset(this->_pbyValeur() + sizeof(C), 0, sizeof(C));
    }
    int nGetSTRLEN(unsigned long* pn) const noexcept override {
        if (pn) *pn = this->_tLit() != 0;
        return ANY_OK;
    }
    int nGetPCASTR(const char** pp) const noexcept override;
    int nGetPCWSTR(const wchar_t** pp) const noexcept override;
};
class CAny_ZKCARA final : public TAnyCaractere<char> {};
class CAny_ZKCARW final : public TAnyCaractere<wchar_t> {};

// Date and time texts of fixed length kept inline: N characters and a terminator.
template <class C, int N>
class TAnyTexteFixe : public CAny_Intern {
public:
    using CAny_Intern::SetValue;
    void Duplique(CAny* pclCible) const noexcept override;
    int nGetSize(unsigned long* pn) const noexcept override { return _nTaille(pn, N * sizeof(C)); }
    int nGetDataSize(unsigned long* pn) const noexcept override { return _nTaille(pn, (N + 1) * sizeof(C)); }
    int nGetUtilDataSize(unsigned long* pn) const noexcept override { return _nTaille(pn, nLongueur() * sizeof(C)); }
    int nGetAdr(void** pp) const noexcept override { return _nAdresse(pp); }
    int nGetDataAdr(void** pp) const noexcept override { return _nAdresse(pp); }
    int nFillBuffer(void* p) const noexcept override { return _nCopie(p, N * sizeof(C)); }
    int nFillDataBuffer(void* p) const noexcept override { return _nCopie(p, (N + 1) * sizeof(C)); }
    int nFillUtilDataBuffer(void* p) const noexcept override { return _nCopie(p, nLongueur() * sizeof(C)); }
    // Copies at most N characters of the text; the rest is zero.
    void SetValue(const void* pValeur) noexcept override;
    int nGetSTRLEN(unsigned long* pn) const noexcept override {
        if (pn) *pn = static_cast<unsigned long>(nLongueur());
        return ANY_OK;
    }
    int nGetPCASTR(const char** pp) const noexcept override;
    int nGetPCWSTR(const wchar_t** pp) const noexcept override;
    size_t nLongueur() const noexcept;

private:
    static int _nTaille(unsigned long* pn, size_t n) noexcept {
        if (pn) *pn = static_cast<unsigned long>(n);
        return ANY_OK;
    }
    int _nAdresse(void** pp) const noexcept {
        if (pp) *pp = _pbyValeur();
        return ANY_OK;
    }
    int _nCopie(void* p, size_t n) const noexcept {
        if (p) memcpy(p, _pbyValeur(), n);
        return ANY_OK;
    }
};
static_assert(9 * sizeof(wchar_t) + sizeof(wchar_t) <= ANY_TAILLE_VALEUR, "a wide time text fits inline");
class CAny_ZKDATEW final : public TAnyTexteFixe<wchar_t, 8> {};
class CAny_ZKTIMEW final : public TAnyTexteFixe<wchar_t, 9> {};
class CAny_ZKDATEA final : public TAnyTexteFixe<char, 8> {};
class CAny_ZKTIMEA final : public TAnyTexteFixe<char, 9> {};

// Counted blocks, shared: wide text, 8-bit text, binary. The payload is the data pointer.
enum class EBloc { Large, Ansi, Binaire };
template <EBloc E>
class TAnyBloc : public CAny_Intern {
public:
    using CAny_Intern::SetValue;
    ~TAnyBloc() override;
    void Duplique(CAny* pclCible) const noexcept override;
    int nGetSize(unsigned long* pn) const noexcept override;
    int nGetAdr(void** pp) const noexcept override;
    int nFillBuffer(void* p) const noexcept override;
    int nGetDataSize(unsigned long* pn) const noexcept override;
    int nGetDataAdr(void** pp) const noexcept override;
    int nFillDataBuffer(void* p) const noexcept override;
    int nGetUtilDataSize(unsigned long* pn) const noexcept override;
    int nFillUtilDataBuffer(void* p) const noexcept override;
    // pValeur points at a block pointer: the block is shared.
    void SetValue(const void* pValeur) noexcept override;
    int nGetPCASTR(const char** pp) const noexcept override;
    int nGetPCWSTR(const wchar_t** pp) const noexcept override;
    int nGetSTRLEN(unsigned long* pn) const noexcept override;
    void SetValueFromANSI(const void* pValeur) noexcept override;
    void SetValueFromANSI(const void* pValeur, unsigned long nTaille) noexcept override;
    void SetValueFromUNICODE(const void* pValeur) noexcept override;
    void SetValueFromUNICODE(const void* pValeur, unsigned long nTaille) noexcept override;
    void SetValueFromANSI_CP(int nCodePage, const void* pValeur) noexcept override;
    void SetValueFromANSI_CP(int nCodePage, const void* pValeur, unsigned long nTaille) noexcept override;
    void SetValueFromUNICODE_CP(int nCodePage, const void* pValeur) noexcept override;
    void SetValueFromUNICODE_CP(int nCodePage, const void* pValeur, unsigned long nTaille) noexcept override;

private:
    void* _pBloc() const noexcept;
    void _Adopte(void* pBloc) noexcept;  // takes a reference the caller owns, drops the old block
    void _DepuisAnsi(int nCodePage, const char* psz, long nLongueur) noexcept;
    void _DepuisLarge(int nCodePage, const wchar_t* psz, long nLongueur) noexcept;
};
class CAny_ZKDSTRW final : public TAnyBloc<EBloc::Large> {};
class CAny_ZKDSTRA final : public TAnyBloc<EBloc::Ansi> {};
class CAny_ZKBIN final : public TAnyBloc<EBloc::Binaire> {};

// Owned zero-terminated texts in the C heap. The payload is the text pointer.
template <class C>
class TAnyPointeurTexte : public CAny_Intern {
public:
    using CAny_Intern::SetValue;
    ~TAnyPointeurTexte() override { __DeleteStr(); }
    void Duplique(CAny* pclCible) const noexcept override;
    int nGetSize(unsigned long* pn) const noexcept override;
    int nGetAdr(void** pp) const noexcept override;
    int nFillBuffer(void* p) const noexcept override;
    int nGetDataSize(unsigned long* pn) const noexcept override;
    int nGetDataAdr(void** pp) const noexcept override;
    int nFillDataBuffer(void* p) const noexcept override;
    int nGetUtilDataSize(unsigned long* pn) const noexcept override;
    int nFillUtilDataBuffer(void* p) const noexcept override;
    // pValeur is the text itself: an owned copy is made.
    void SetValue(const void* pValeur) noexcept override { __CreateStr(static_cast<const C*>(pValeur)); }
    int nGetPCASTR(const char** pp) const noexcept override;
    int nGetPCWSTR(const wchar_t** pp) const noexcept override;
    int nGetSTRLEN(unsigned long* pn) const noexcept override;
    void SetValueFromANSI(const void* pValeur) noexcept override;
    void SetValueFromANSI(const void* pValeur, unsigned long nTaille) noexcept override;
    void SetValueFromUNICODE(const void* pValeur) noexcept override;
    void SetValueFromUNICODE(const void* pValeur, unsigned long nTaille) noexcept override;
    void SetValueFromANSI_CP(int nCodePage, const void* pValeur) noexcept override;
    void SetValueFromANSI_CP(int nCodePage, const void* pValeur, unsigned long nTaille) noexcept override;
    void SetValueFromUNICODE_CP(int nCodePage, const void* pValeur) noexcept override;
    void SetValueFromUNICODE_CP(int nCodePage, const void* pValeur, unsigned long nTaille) noexcept override;

    // The copy of a text (nLongueur characters, -1 to the terminator); null leaves no text.
    void __CreateStr(const C* pszTexte) noexcept { __CreateStr(pszTexte, -1); }
    void __CreateStr(const C* pszTexte, long nLongueur) noexcept;
    void __DeleteStr() noexcept;

private:
    C* _psz() const noexcept;
    size_t _nLongueur() const noexcept;
    void _DepuisAnsi(int nCodePage, const char* psz, long nLongueur) noexcept;
    void _DepuisLarge(int nCodePage, const wchar_t* psz, long nLongueur) noexcept;
};
class CAny_ZKPSTRA final : public TAnyPointeurTexte<char> {};
class CAny_ZKPSTRW final : public TAnyPointeurTexte<wchar_t> {};

// A decimal of the machine's factory, by pointer; made with the type, freed with it.
class CAny_ZKDECIMAL final : public CAny_Intern {
public:
    using CAny_Intern::SetValue;
    ~CAny_ZKDECIMAL() override;
    void Duplique(CAny* pclCible) const noexcept override;
    int nGetSize(unsigned long* pn) const noexcept override;
    int nGetAdr(void** pp) const noexcept override;
    int nFillBuffer(void* p) const noexcept override;
    int nGetDataSize(unsigned long* pn) const noexcept override;
    int nGetDataAdr(void** pp) const noexcept override;
    int nFillDataBuffer(void* p) const noexcept override;
    // pValeur points at a decimal's bytes, which are copied into this one's.
    void SetValue(const void* pValeur) noexcept override;
    // Makes the decimal if there is none yet; false without a factory or memory.
    bool bCree() noexcept;

private:
    void* _pDecimal() const noexcept;
};

// A buffer of the caller's and its size, not owned: {pointer, size}.
struct STAnyBuffer {
    void* pData;
    uint64_t nTaille;
};
class CAny_ZKBUFFER : public TAnyScalaire<STAnyBuffer> {
public:
    int nGetSize(unsigned long* pn) const noexcept override {
        if (pn) *pn = sizeof(void*);
        return ANY_OK;
    }
    int nGetDataSize(unsigned long* pn) const noexcept override;
    int nGetUtilDataSize(unsigned long* pn) const noexcept override { return nGetDataSize(pn); }
    int nGetDataAdr(void** pp) const noexcept override;
    int nFillDataBuffer(void* p) const noexcept override;
    int nFillUtilDataBuffer(void* p) const noexcept override { return nFillDataBuffer(p); }
};
// A table of values as the machine builds it, taken as the record is (s_SetDirect).
class CAny_ZKTABANY final : public CAny_ZKBUFFER {
public:
    static void s_SetDirect(CAny* pclAny, const STAnyBuffer& stRecord) noexcept;
};

// ---------------------------------------------------------------------------------------------
// Inline definitions of the templates used by every scalar member.

template <class T>
void TAnyScalaire<T>::Duplique(CAny* pclCible) const noexcept {
    pclCible->pclOperations()->SetValue(_pbyValeur());
    _CopieMarques(pclCible);
}

template <class C>
int TAnyCaractere<C>::nGetPCASTR(const char** pp) const noexcept {
    if constexpr (std::is_same_v<C, char>) {
        if (pp) *pp = reinterpret_cast<const char*>(this->_pbyValeur());
        return ANY_OK;
    }
    return CAny_Intern::nGetPCASTR(pp);
}

template <class C>
int TAnyCaractere<C>::nGetPCWSTR(const wchar_t** pp) const noexcept {
    if constexpr (std::is_same_v<C, wchar_t>) {
        if (pp) *pp = reinterpret_cast<const wchar_t*>(this->_pbyValeur());
        return ANY_OK;
    }
    return CAny_Intern::nGetPCWSTR(pp);
}
