// CXYString<T>: sharing, copy-on-write writes, and the nAffecte conversions.
#include "base/xystring.h"

#include <climits>
#include <cstring>
#include <cwchar>

#include "base/internal/conversion.h"

namespace {

using base_internal::CONVERSION_INVALIDE;

template <typename T>
size_t nLongueurTexte(const T* pszTexte, int nLongueur) noexcept {
    if (pszTexte == nullptr || nLongueur == 0) return 0;
    if (nLongueur > 0) return static_cast<size_t>(nLongueur);
    if constexpr (sizeof(T) == 1)
        return strnlen(pszTexte, INT_MAX);
    else
        return wcsnlen(pszTexte, INT_MAX);
}

template <typename T>
size_t nLongueurUnites(const T* pszTexte, int nLongueur) noexcept {
    if (pszTexte == nullptr || nLongueur == 0) return 0;
    if (nLongueur > 0) return static_cast<size_t>(nLongueur);
    size_t n = 0;
    while (n < INT_MAX && pszTexte[n] != 0) ++n;
    return n;
}

}  // namespace

template <typename T>
CXYString<T>& CXYString<T>::operator=(const CXYString& clAutre) noexcept {
    // Add before release: assigning a value to itself must not free the block.
    CBaseStrMem::s_AddRefStrMem(clAutre.m_pData);
    CBaseStrMem::s_ReleaseStrMem(m_pData);
    m_pData = clAutre.m_pData;
    return *this;
}

template <typename T>
CXYString<T>& CXYString<T>::operator=(CXYString&& clAutre) noexcept {
    if (this != &clAutre) {
        CBaseStrMem::s_ReleaseStrMem(m_pData);
        m_pData = clAutre.m_pData;
        clAutre.m_pData = nullptr;
    }
    return *this;
}

template <typename T>
CXYString<T> CXYString<T>::s_clPartage(const void* pBloc) noexcept {
    CBaseStrMem::s_AddRefStrMem(pBloc);
    return s_clAdopte(const_cast<void*>(pBloc));
}

template <typename T>
CXYString<T> CXYString<T>::s_clAdopte(void* pBloc) noexcept {
    CXYString cl;
    cl.m_pData = pBloc;
    return cl;
}

template <typename T>
void* CXYString<T>::pDetache() noexcept {
    void* p = m_pData;
    m_pData = nullptr;
    return p;
}

template <typename T>
bool CXYString<T>::bEstEgal(const T* pszTexte, int nLongueur) const noexcept {
    const size_t n = nLongueurTexte(pszTexte, nLongueur);
    return static_cast<size_t>(nGetLongueur()) == n && (n == 0 || std::memcmp(m_pData, pszTexte, n * sizeof(T)) == 0);
}

template <typename T>
int CXYString<T>::nAffecte(const T* pszTexte, int nLongueur) noexcept {
    const size_t n = nLongueurTexte(pszTexte, nLongueur);
    return CBaseStrMem::s_nAffecte(&m_pData, pszTexte, static_cast<int64_t>(n) * sizeof(T), false);
}

template <typename T>
int CXYString<T>::nConcat(const T* pszTexte, int nLongueur) noexcept {
    const size_t n = nLongueurTexte(pszTexte, nLongueur);
    return CBaseStrMem::s_nConcat(&m_pData, pszTexte, static_cast<int64_t>(n) * sizeof(T));
}

template <typename T>
int CXYString<T>::nConcat(const CXYString& clAutre) noexcept {
    if (m_pData == nullptr) {
        *this = clAutre;  // a null target shares rather than copies
        return 0;
    }
    return nConcat(clAutre.pszGet(), clAutre.nGetLongueur());
}

template <typename T>
void CXYString<T>::Vide() noexcept {
    CBaseStrMem::s_ReleaseStrMem(m_pData);
    m_pData = nullptr;
}

template <typename T>
T* CXYString<T>::pszGetBuffer(int nLongueur, int* pnErreur) noexcept {
    int n = 0;
    if (nLongueur <= 0) {
        Vide();
    } else if (static_cast<int64_t>(nLongueur) * sizeof(T) >= STRMEM_TAILLE_MAX) {
        n = STRMEM_ERREUR_TAILLE;
    } else {
        n = CBaseStrMem::s_nPrepareEcriture(&m_pData, static_cast<int64_t>(nLongueur) * sizeof(T));
        if (n == 0) CBaseStrMem::s_SetLongueur(m_pData, nLongueur * static_cast<int>(sizeof(T)));
    }
    if (pnErreur != nullptr) *pnErreur = n;
    return n == 0 && m_pData != nullptr ? static_cast<T*>(m_pData) : nullptr;
}

template <typename T>
int CXYString<T>::nTronque(int nLongueur) noexcept {
    if (nLongueur >= nGetLongueur()) return 0;
    if (nLongueur <= 0) {
        Vide();
        return 0;
    }
    return CBaseStrMem::s_nPrepareEcriture(&m_pData, static_cast<int64_t>(nLongueur) * sizeof(T));
}

// ---------------------------------------------------------------- conversions

namespace {

// Releases the old text, then fills a fresh block of nUnites characters through fnEcrit, which
// writes them and answers false if the text turned out not to convert.
template <typename T, typename F>
int nRemplit(CXYString<T>* pcl, int64_t nUnites, int64_t nSupplement, F&& fnEcrit) noexcept {
    pcl->Vide();
    if (nUnites == CONVERSION_INVALIDE) return STRMEM_ERREUR_CONVERSION;
    if (nUnites == 0) return 0;
    if (nSupplement < 0) nSupplement = 0;
    if ((nUnites + nSupplement) * static_cast<int64_t>(sizeof(T)) >= STRMEM_TAILLE_MAX) return STRMEM_ERREUR_TAILLE;
    int nCode = 0;
    T* psz = pcl->pszGetBuffer(static_cast<int>(nUnites + nSupplement), &nCode);
    if (psz == nullptr) return nCode;
    if (!fnEcrit(psz)) {
        pcl->Vide();
        return STRMEM_ERREUR_CONVERSION;
    }
    return pcl->nTronque(static_cast<int>(nUnites));
}

// Wide text of the other width's helpers, for the 8-bit conversions that pass through it.
int nViaWide(CXYString<char>* pcl, const CXYString<wchar_t>& clWide, int nCode) noexcept {
    if (nCode != 0) {
        pcl->Vide();
        return nCode;
    }
    return clWide.nAffecteToUTF8(pcl);
}

}  // namespace

template <typename T>
int CXYString<T>::nAffecteUTF8(const char* pszTexte, int nOctets) noexcept {
    const size_t n = nLongueurTexte(pszTexte, nOctets);
    if constexpr (sizeof(T) == 1) {
        Vide();
        if (base_internal::nUtf8VersWideStrict(pszTexte, n, nullptr) == CONVERSION_INVALIDE)
            return STRMEM_ERREUR_CONVERSION;
        return nAffecte(pszTexte, static_cast<int>(n));
    } else {
        const int64_t nUnites = base_internal::nUtf8VersWideStrict(pszTexte, n, nullptr);
        return nRemplit(this, nUnites, 0, [&](wchar_t* psz) {
            return base_internal::nUtf8VersWideStrict(pszTexte, n, psz) == nUnites;
        });
    }
}

template <typename T>
int CXYString<T>::nAffecteUTF16(const char16_t* pszTexte, int nUnites) noexcept {
    const size_t n = nLongueurUnites(pszTexte, nUnites);
    if constexpr (sizeof(T) == 1) {
        CXYString<wchar_t> clWide;
        return nViaWide(this, clWide, clWide.nAffecteUTF16(pszTexte, static_cast<int>(n)));
    } else {
        const int64_t nCompte = base_internal::nUtf16VersWideStrict(pszTexte, n, nullptr);
        // A text that is not empty and gives no character did not convert.
        if (nCompte == 0 && n != 0) return nRemplit(this, CONVERSION_INVALIDE, 0, [](wchar_t*) { return false; });
        return nRemplit(this, nCompte, 0, [&](wchar_t* psz) {
            return base_internal::nUtf16VersWideStrict(pszTexte, n, psz) == nCompte;
        });
    }
}

template <typename T>
int CXYString<T>::nAffecteUTF32(const char32_t* pszTexte, int nCaracteres) noexcept {
    const size_t n = nLongueurUnites(pszTexte, nCaracteres);
    if constexpr (sizeof(T) == 1) {
        CXYString<wchar_t> clWide;
        return nViaWide(this, clWide, clWide.nAffecteUTF32(pszTexte, static_cast<int>(n)));
    } else {
        const int64_t nCompte = base_internal::nUtf32VersWideStrict(pszTexte, n, nullptr);
        return nRemplit(this, nCompte, 0, [&](wchar_t* psz) {
            return base_internal::nUtf32VersWideStrict(pszTexte, n, psz) == nCompte;
        });
    }
}

template <typename T>
int CXYString<T>::nAffecteToUTF8(CXYString<char>* pclSortie) const noexcept {
    if (pclSortie == nullptr) return 0;
    if constexpr (sizeof(T) == 1) {
        *pclSortie = *this;
        return 0;
    } else {
        const wchar_t* psz = pszGet();
        const size_t n = static_cast<size_t>(nGetLongueur());
        const int64_t nOctets = base_internal::nWideVersUtf8Strict(psz, n, nullptr);
        return nRemplit(pclSortie, nOctets, 0, [&](char* pszSortie) {
            return base_internal::nWideVersUtf8Strict(psz, n, pszSortie) == nOctets;
        });
    }
}

template <typename T>
int CXYString<T>::__nConversion(const TAutre* pszTexte, int nLongueur, int nSupplement, unsigned int nCodePage,
                                unsigned int dwFlags, T cDefaut) noexcept {
    if (nLongueur < -1 || (nLongueur == -1 && pszTexte == nullptr)) nLongueur = 0;
    const size_t n = nLongueurTexte(pszTexte, nLongueur);
    if (n == 0) {
        Vide();
        return 0;
    }
    if constexpr (sizeof(T) == 4) {
        if (nCodePage == XYS_CP_1252 && dwFlags == 0) {
            // The direct table: one character per byte, nothing to count.
            return nRemplit(this, static_cast<int64_t>(n), nSupplement, [&](wchar_t* psz) {
                for (size_t i = 0; i < n; ++i) psz[i] = base_internal::cCp1252VersWide(static_cast<uint8_t>(pszTexte[i]));
                return true;
            });
        }
        const int64_t nCompte = base_internal::nCodePageVersWide(nCodePage, pszTexte, n, nullptr);
        return nRemplit(this, nCompte, nSupplement, [&](wchar_t* psz) {
            return base_internal::nCodePageVersWide(nCodePage, pszTexte, n, psz) == nCompte;
        });
    } else {
        const int64_t nCompte = base_internal::nWideVersCodePage(nCodePage, pszTexte, n, nullptr, cDefaut);
        return nRemplit(this, nCompte, nSupplement, [&](char* psz) {
            return base_internal::nWideVersCodePage(nCodePage, pszTexte, n, psz, cDefaut) == nCompte;
        });
    }
}

template class CXYString<char>;
template class CXYString<wchar_t>;

// ---------------------------------------------------------------- free conversions

namespace {

template <typename T>
CXYString<T> clResultat(CXYString<T>&& cl, int nCode, int* pnErreur) noexcept {
    if (pnErreur != nullptr) *pnErreur = nCode;
    if (nCode != 0) cl.Vide();
    return std::move(cl);
}

}  // namespace

CXYString<wchar_t> PCASTR_To_CWString(const char* pszTexte, int nLongueur, unsigned int nCodePage,
                                      int* pnErreur) noexcept {
    CXYString<wchar_t> cl;
    const int n = cl.__nConversion(pszTexte, nLongueur, 0, nCodePage, 0);
    return clResultat(std::move(cl), n, pnErreur);
}

CXYString<wchar_t> UTF8_To_CWString(const char* pszTexte, int nLongueur, int* pnErreur) noexcept {
    CXYString<wchar_t> cl;
    const int n = cl.nAffecteUTF8(pszTexte, nLongueur);
    return clResultat(std::move(cl), n, pnErreur);
}

CXYString<char> PCWSTR_To_CAString(const wchar_t* pszTexte, int nLongueur, unsigned int nCodePage,
                                   int* pnErreur) noexcept {
    CXYString<char> cl;
    const int n = cl.__nConversion(pszTexte, nLongueur, 0, nCodePage, 0);
    return clResultat(std::move(cl), n, pnErreur);
}

CXYString<char> PCWSTR_To_UTF8(const wchar_t* pszTexte, int* pnErreur) noexcept {
    return PCWSTR_To_CAString(pszTexte, -1, XYS_CP_UTF8, pnErreur);
}

CXYString<char> PCWSTR_N_To_UTF8(const wchar_t* pszTexte, int nLongueur, int* pnErreur) noexcept {
    return PCWSTR_To_CAString(pszTexte, nLongueur, XYS_CP_UTF8, pnErreur);
}

CXYString<char> CWString_To_UTF8(const CXYString<wchar_t>& clTexte, int* pnErreur) noexcept {
    CXYString<char> cl;
    const int n = clTexte.nAffecteToUTF8(&cl);
    return clResultat(std::move(cl), n, pnErreur);
}

CXYString<char> PCASTR_N_To_UTF8(const char* pszTexte, int nLongueur, unsigned int nCodePage, int* pnErreur) noexcept {
    if (nCodePage == XYS_CP_UTF8) {
        CXYString<char> cl;
        const int n = cl.nAffecteUTF8(pszTexte, nLongueur);
        return clResultat(std::move(cl), n, pnErreur);
    }
    int n = 0;
    CXYString<wchar_t> clWide = PCASTR_To_CWString(pszTexte, nLongueur, nCodePage, &n);
    if (n != 0) return clResultat(CXYString<char>(), n, pnErreur);
    return CWString_To_UTF8(clWide, pnErreur);
}

CXYString<char> PCASTR_To_UTF8(const char* pszTexte, unsigned int nCodePage, int* pnErreur) noexcept {
    return PCASTR_N_To_UTF8(pszTexte, -1, nCodePage, pnErreur);
}

CXYString<char> CAString_To_UTF8(const CXYString<char>& clTexte, unsigned int nCodePage, int* pnErreur) noexcept {
    if (nCodePage == XYS_CP_UTF8) {
        // Already UTF-8 if it is valid: share it rather than copy.
        const bool bValide =
            base_internal::nUtf8VersWideStrict(clTexte.pszGet(), static_cast<size_t>(clTexte.nGetLongueur()), nullptr) !=
            CONVERSION_INVALIDE;
        return clResultat(CXYString<char>(clTexte), bValide ? 0 : STRMEM_ERREUR_CONVERSION, pnErreur);
    }
    return PCASTR_N_To_UTF8(clTexte.pszGet(), clTexte.nGetLongueur(), nCodePage, pnErreur);
}

CXYString<char> UTF8_To_CAString(const char* pszTexte, int nLongueur, unsigned int nCodePage, int* pnErreur) noexcept {
    int n = 0;
    CXYString<wchar_t> clWide = UTF8_To_CWString(pszTexte, nLongueur, &n);
    if (n != 0) return clResultat(CXYString<char>(), n, pnErreur);
    return PCWSTR_To_CAString(clWide.pszGet(), clWide.nGetLongueur(), nCodePage, pnErreur);
}
