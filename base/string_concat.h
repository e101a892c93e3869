// CXYStringConcat<T>: a growing text builder for repeated appends (T is char or wchar_t). The
// buffer grows by whole steps that the caller sets: when an append does not fit, the capacity
// becomes ((length + added) / step + 1) * step characters, so a loop of appends reallocates once
// per step. The text is always terminated. Appends answer false when memory fails or the text
// would pass INT_MAX characters, and then leave the text as it was.
#pragma once

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/internal/conversion.h"
#include "base/internal/tstring_chars.h"
#include "base/xystring.h"

template <typename T>
class CXYStringConcat {
    static_assert(sizeof(T) == 1 || sizeof(T) == 4, "CXYStringConcat builds char or wchar_t text");

public:
    explicit CXYStringConcat(int nPas = 256) noexcept : m_nPas(nPas > 0 ? nPas : 1) {}
    ~CXYStringConcat() { std::free(m_pszBuffer); }
    CXYStringConcat(const CXYStringConcat&) = delete;
    CXYStringConcat& operator=(const CXYStringConcat&) = delete;

    const T* pszGet() const noexcept { return m_pszBuffer != nullptr ? m_pszBuffer : CBaseStrMem::s_pVide<T>(); }
    int nGetLongueur() const noexcept { return m_nLongueur; }
    int nGetCapacite() const noexcept { return m_nCapacite; }
    void Vide() noexcept { m_nLongueur = 0; if (m_pszBuffer != nullptr) m_pszBuffer[0] = 0; }
    // The malloc buffer goes to the caller (null when nothing was added); the builder is empty.
    T* pszDetache() noexcept {
        T* p = m_pszBuffer;
        m_pszBuffer = nullptr;
        m_nLongueur = m_nCapacite = 0;
        return p;
    }
    // The text as a counted value.
    int nVersXYString(CXYString<T>* pcl) const noexcept { return pcl->nAffecte(pszGet(), m_nLongueur); }

    // Same-width text: nLongueur characters, or up to the terminator with -1.
    bool Add(const T* pszTexte, int nLongueur = -1) noexcept {
        if (pszTexte == nullptr) return true;
        if (nLongueur < 0) nLongueur = static_cast<int>(tstring_internal::nLenN(pszTexte, INT_MAX));
        return _bAjoute(pszTexte, nLongueur);
    }
    bool Add(T cCaractere) noexcept { return _bAjoute(&cCaractere, 1); }

    // Wide text: appended to a wide builder, as UTF-8 to an 8-bit one (false, nothing added, when it
    // is not valid Unicode). Nothing for a null text or a length of 0 or less. The flags are
    // reserved.
    bool AddWide(const wchar_t* pszTexte, int nLongueur, unsigned int dwFlags = 0) noexcept {
        (void)dwFlags;
        if (pszTexte == nullptr || nLongueur <= 0) return true;
        if constexpr (sizeof(T) == 4) {
            return _bAjoute(pszTexte, nLongueur);
        } else {
            const int64_t n = base_internal::nWideVersUtf8Strict(pszTexte, static_cast<size_t>(nLongueur), nullptr);
            if (n == base_internal::CONVERSION_INVALIDE) return false;
            if (!_bReserve(n)) return false;
            base_internal::nWideVersUtf8Strict(pszTexte, static_cast<size_t>(nLongueur), m_pszBuffer + m_nLongueur);
            return _bFixe(m_nLongueur + static_cast<int>(n));
        }
    }
    // 8-bit text: widened from its code page for a wide builder, appended as it is to an 8-bit one.
    bool AddAnsi(const char* pszTexte, int nLongueur, unsigned int nCodePage = XYS_CP_UTF8) noexcept {
        if (pszTexte == nullptr || nLongueur == 0) return true;
        if (nLongueur < 0) nLongueur = static_cast<int>(strnlen(pszTexte, INT_MAX));
        if constexpr (sizeof(T) == 1) {
            return _bAjoute(pszTexte, nLongueur);
        } else {
            const size_t nOctets = static_cast<size_t>(nLongueur);
            const int64_t n = base_internal::nCodePageVersWide(nCodePage, pszTexte, nOctets, nullptr);
            if (n == base_internal::CONVERSION_INVALIDE) return false;
            if (!_bReserve(n)) return false;
            base_internal::nCodePageVersWide(nCodePage, pszTexte, nOctets, m_pszBuffer + m_nLongueur);
            return _bFixe(m_nLongueur + static_cast<int>(n));
        }
    }
    // 8-bit text in a code page, appended in UTF-8 (widened for a wide builder).
    bool AddAnsiToUTF8(const char* pszTexte, int nLongueur, unsigned int nCodePage) noexcept {
        if constexpr (sizeof(T) == 4) {
            return AddAnsi(pszTexte, nLongueur, nCodePage);
        } else {
            if (pszTexte == nullptr || nLongueur == 0) return true;
            int nCode = 0;
            CXYString<char> cl = PCASTR_N_To_UTF8(pszTexte, nLongueur, nCodePage, &nCode);
            return nCode == 0 && _bAjoute(cl.pszGet(), cl.nGetLongueur());
        }
    }

    // A decimal number, left-padded with "0" to nLargeur characters (the sign comes first).
    bool AddNumber(int64_t nValeur, int nLargeur = 0) noexcept {
        char sz[24];
        tstring_internal::nEcritEntier(nValeur, sz);
        return _AddPrefix0(sz, nLargeur);
    }
    // Hexadecimal in upper case, two digits per byte of the value's type.
    bool AddNumberHexa(uint8_t nValeur) noexcept { return _bAjouteHexa(nValeur, 2); }
    bool AddNumberHexa(uint16_t nValeur) noexcept { return _bAjouteHexa(nValeur, 4); }
    bool AddNumberHexa(uint32_t nValeur) noexcept { return _bAjouteHexa(nValeur, 8); }
    bool AddNumberHexa(uint64_t nValeur) noexcept { return _bAjouteHexa(nValeur, 16); }
    // The nLargeur low bits of the byte (1 to 8), highest first.
    bool AddNumberBinary(uint8_t byValeur, int nLargeur = 8) noexcept {
        if (nLargeur < 1) nLargeur = 1;
        if (nLargeur > 8) nLargeur = 8;
        T sz[8];
        for (int i = 0; i < nLargeur; ++i) sz[i] = static_cast<T>((byValeur >> (nLargeur - 1 - i)) & 1 ? '1' : '0');
        return _bAjoute(sz, nLargeur);
    }

    bool bEstEgal(const T* pszTexte) const noexcept {
        const T* p = pszTexte != nullptr ? pszTexte : CBaseStrMem::s_pVide<T>();
        return tstring_internal::nLenN(p, static_cast<size_t>(m_nLongueur) + 1) == static_cast<size_t>(m_nLongueur) &&
               std::memcmp(pszGet(), p, static_cast<size_t>(m_nLongueur) * sizeof(T)) == 0;
    }
    void Majuscule() noexcept {
        for (int i = 0; i < m_nLongueur; ++i) m_pszBuffer[i] = tstring_internal::cMajuscule(m_pszBuffer[i]);
    }
    // Position of the text from nDebut, -1 when absent or for an empty pattern.
    int nPos(const T* pszTexte, int nDebut = 0) const noexcept {
        if (pszTexte == nullptr || *pszTexte == 0 || nDebut < 0 || nDebut > m_nLongueur) return -1;
        const T* p = tstring_internal::pszCherche(pszGet() + nDebut, pszTexte);
        return p != nullptr ? static_cast<int>(p - pszGet()) : -1;
    }

private:
    bool _bReserve(int64_t nAjout) noexcept {
        const int64_t nBesoin = static_cast<int64_t>(m_nLongueur) + nAjout;
        if (nBesoin <= m_nCapacite) return true;
        const int64_t nCapacite = (nBesoin / m_nPas + 1) * m_nPas;
        if (nCapacite >= INT_MAX) return false;
        void* p = std::realloc(m_pszBuffer, static_cast<size_t>(nCapacite + 1) * sizeof(T));
        if (p == nullptr) return false;
        m_pszBuffer = static_cast<T*>(p);
        m_nCapacite = static_cast<int>(nCapacite);
        return true;
    }
    bool _bFixe(int nLongueur) noexcept {
        m_nLongueur = nLongueur;
        m_pszBuffer[m_nLongueur] = 0;
        return true;
    }
    bool _bAjoute(const T* pszTexte, int nLongueur) noexcept {
        if (nLongueur <= 0) return true;
        // The text may be a piece of this builder's own buffer, which the growth can move: its place
        // is kept as an offset, worked out on addresses before the block may go.
        const uintptr_t nTexte = reinterpret_cast<uintptr_t>(pszTexte);
        const uintptr_t nBuffer = reinterpret_cast<uintptr_t>(m_pszBuffer);
        const bool bInterne = m_pszBuffer != nullptr && nTexte >= nBuffer &&
                              nTexte <= nBuffer + static_cast<size_t>(m_nLongueur) * sizeof(T);
        const size_t nDecalage = bInterne ? (nTexte - nBuffer) / sizeof(T) : 0;
        if (!_bReserve(nLongueur)) return false;
        if (bInterne) pszTexte = m_pszBuffer + nDecalage;
        std::memmove(m_pszBuffer + m_nLongueur, pszTexte, static_cast<size_t>(nLongueur) * sizeof(T));
        return _bFixe(m_nLongueur + nLongueur);
    }
    bool _bAjouteHexa(uint64_t nValeur, int nChiffres) noexcept {
        static constexpr char kChiffres[] = "0123456789ABCDEF";
        T sz[16];
        for (int i = nChiffres - 1; i >= 0; --i, nValeur >>= 4) sz[i] = static_cast<T>(kChiffres[nValeur & 0xF]);
        return _bAjoute(sz, nChiffres);
    }
    // A number's text, padded on the left with "0" up to nLargeur characters after its sign.
    bool _AddPrefix0(const char* pszNombre, int nLargeur) noexcept {
        const bool bNegatif = *pszNombre == '-';
        const int nChiffres = static_cast<int>(std::strlen(pszNombre)) - (bNegatif ? 1 : 0);
        const int nZeros = nLargeur - nChiffres - (bNegatif ? 1 : 0);
        if (!_bReserve(static_cast<int64_t>(nChiffres) + 1 + (nZeros > 0 ? nZeros : 0))) return false;
        if (bNegatif) Add(static_cast<T>('-'));
        for (int i = 0; i < nZeros; ++i) Add(static_cast<T>('0'));
        for (const char* p = pszNombre + (bNegatif ? 1 : 0); *p != 0; ++p) Add(static_cast<T>(*p));
        return true;
    }

    T* m_pszBuffer = nullptr;
    int m_nLongueur = 0;
    int m_nCapacite = 0;
    int m_nPas;
};
