// The members of CTTString<T>, included by the two files that instantiate it (wide and 8-bit).
#pragma once

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "base/internal/tstring_chars.h"
#include "base/tstring.h"
#include "base/tstring_ansi.h"

namespace tstring_internal {

template <typename T>
size_t nLongueurBornee(const T* pszTexte, int nLongueur) noexcept {
    if (pszTexte == nullptr || nLongueur <= 0) return 0;
    return nLenN(pszTexte, static_cast<size_t>(nLongueur));
}

template <typename T>
size_t nLongueurSure(const T* pszTexte) noexcept {
    return pszTexte != nullptr ? nLenN(pszTexte, INT_MAX) : 0;
}

// Case-insensitive compare of n characters.
template <typename T>
bool bEgauxI(const T* pA, const T* pB, size_t n) noexcept {
    for (size_t i = 0; i < n; ++i)
        if (cMinuscule(pA[i]) != cMinuscule(pB[i])) return false;
    return true;
}

// Maps every character of an owned text; 8-bit text is decoded from UTF-8 first so that accented
// letters are reached, and left to the ASCII mapping when it is not UTF-8.
template <typename T, typename F>
void MapCaracteres(CTTString<T>* pcl, F&& fnMap) noexcept {
    if (pcl->bEstVide()) return;
    if constexpr (sizeof(T) == 1) {
        CXYString<wchar_t> clWide;
        if (clWide.nAffecteUTF8(pcl->pszGet()) == 0) {
            wchar_t* psz = clWide.pszGetBuffer(clWide.nGetLongueur());
            if (psz != nullptr) {
                for (int i = 0; i < clWide.nGetLongueur(); ++i) psz[i] = fnMap(psz[i]);
                CXYString<char> clUtf8;
                if (clWide.nAffecteToUTF8(&clUtf8) == 0 && pcl->Set(clUtf8.pszGet(), clUtf8.nGetLongueur())) return;
            }
        }
        char* psz = const_cast<char*>(pcl->pszGet());
        for (; *psz != 0; ++psz)
            if (static_cast<unsigned char>(*psz) < 0x80) *psz = static_cast<char>(fnMap(static_cast<wchar_t>(*psz)));
    } else {
        wchar_t* psz = const_cast<wchar_t*>(pcl->pszGet());
        for (; *psz != 0; ++psz) *psz = fnMap(*psz);
    }
}

inline bool bVersAnsi(CTStringAnsi* pcl, const char* pszTexte) noexcept { return pcl->Set(pszTexte); }
inline bool bVersAnsi(CTStringAnsi* pcl, const wchar_t* pszTexte) noexcept { return pcl->SetUNICODE(pszTexte); }

}  // namespace tstring_internal

template <typename T>
CTTString<T>::~CTTString() {
    free(m_pszBuffer);
}

template <typename T>
bool CTTString<T>::_SetBufferSize(size_t nLongueur) noexcept {
    if (nLongueur >= INT_MAX) return false;
    void* pNouveau = realloc(m_pszBuffer, (nLongueur + 1) * sizeof(T));
    if (pNouveau == nullptr) return false;
    m_pszBuffer = static_cast<T*>(pNouveau);
    return true;
}

// ---------------------------------------------------------------- set

template <typename T>
bool CTTString<T>::Set(const T* pszTexte) noexcept {
    if (pszTexte == m_pszBuffer) return true;
    if (pszTexte == nullptr) {
        Vide();
        return true;
    }
    return Set(pszTexte, static_cast<int>(tstring_internal::nLongueurSure(pszTexte)));
}

template <typename T>
bool CTTString<T>::Set(const T* pszTexte, int nLongueur) noexcept {
    const size_t nNouvelle = tstring_internal::nLongueurBornee(pszTexte, nLongueur);
    if (nNouvelle == 0) {
        Vide();
        return true;
    }
    const size_t nAncienne = m_pszBuffer != nullptr ? tstring_internal::nLen(m_pszBuffer) : 0;
    if (m_pszBuffer != nullptr && pszTexte >= m_pszBuffer && pszTexte <= m_pszBuffer + nAncienne) {
        // A piece of our own text: slide it down, then trim the buffer.
        memmove(m_pszBuffer, pszTexte, nNouvelle * sizeof(T));
        m_pszBuffer[nNouvelle] = 0;
        _SetBufferSize(nNouvelle);  // shrinking; keeping the larger block is harmless if it fails
        return true;
    }
    if (nNouvelle != nAncienne && !_SetBufferSize(nNouvelle)) return false;
    memcpy(m_pszBuffer, pszTexte, nNouvelle * sizeof(T));
    m_pszBuffer[nNouvelle] = 0;
    return true;
}

template <typename T>
bool CTTString<T>::Set(const T* pszTexte1, const T* pszTexte2, const T* pszTexte3) noexcept {
    TChaine clTemp;
    if (!clTemp.Add(pszTexte1, pszTexte2, pszTexte3)) return false;
    Transfert(clTemp);
    return true;
}

template <typename T>
bool CTTString<T>::SetI4(int nValeur) noexcept {
    return SetI8(nValeur);
}

template <typename T>
bool CTTString<T>::SetI8(int64_t nValeur) noexcept {
    TChaine cl;
    if (!cl.AddI8(nValeur)) return false;
    Transfert(cl);
    return true;
}

template <typename T>
bool CTTString<T>::SetUNICODE(const wchar_t* pszTexte, int nLongueur) noexcept {
    if constexpr (sizeof(T) == 4) {
        return nLongueur < 0 ? Set(pszTexte) : Set(pszTexte, nLongueur);
    } else {
        if (nLongueur < 0) nLongueur = static_cast<int>(tstring_internal::nLongueurSure(pszTexte));
        int nCode = 0;
        CXYString<char> cl = PCWSTR_N_To_UTF8(pszTexte, nLongueur, &nCode);
        return nCode == 0 && Set(cl.pszGet(), cl.nGetLongueur());
    }
}

template <typename T>
bool CTTString<T>::SetANSIEx(const char* pszTexte, int nLongueur, unsigned int nCodePage) noexcept {
    if (nLongueur < 0) nLongueur = static_cast<int>(tstring_internal::nLongueurSure(pszTexte));
    int nCode = 0;
    if constexpr (sizeof(T) == 4) {
        CXYString<wchar_t> cl = PCASTR_To_CWString(pszTexte, nLongueur, nCodePage, &nCode);
        return nCode == 0 && Set(cl.pszGet(), cl.nGetLongueur());
    } else {
        CXYString<char> cl = PCASTR_N_To_UTF8(pszTexte, nLongueur, nCodePage, &nCode);
        return nCode == 0 && Set(cl.pszGet(), cl.nGetLongueur());
    }
}

template <typename T>
void CTTString<T>::SetBuffer(T* pszBuffer) noexcept {
    if (pszBuffer == m_pszBuffer) return;
    free(m_pszBuffer);
    m_pszBuffer = pszBuffer;
    if (m_pszBuffer != nullptr && m_pszBuffer[0] == 0) Vide();
}

template <typename T>
void CTTString<T>::Transfert(CTTString& clAutre) noexcept {
    if (&clAutre == this) return;
    free(m_pszBuffer);
    m_pszBuffer = clAutre.m_pszBuffer;
    clAutre.m_pszBuffer = nullptr;
}

template <typename T>
void CTTString<T>::Vide() noexcept {
    free(m_pszBuffer);
    m_pszBuffer = nullptr;
}

template <typename T>
T* CTTString<T>::pszDetache() noexcept {
    T* pszBuffer = m_pszBuffer;
    m_pszBuffer = nullptr;
    return pszBuffer;
}

// ---------------------------------------------------------------- add

template <typename T>
bool CTTString<T>::_bAjoute(const T* pszTexte, size_t nLongueur) noexcept {
    if (nLongueur == 0) return true;
    const size_t nAncienne = m_pszBuffer != nullptr ? tstring_internal::nLen(m_pszBuffer) : 0;
    if (nLongueur >= INT_MAX - nAncienne) return false;
    // The text may be a piece of ours, which the reallocation can move: keep its place as an offset,
    // worked out on addresses so that no pointer into the old block is used once it is gone.
    const uintptr_t nTexte = reinterpret_cast<uintptr_t>(pszTexte);
    const uintptr_t nBuffer = reinterpret_cast<uintptr_t>(m_pszBuffer);
    const bool bInterne = m_pszBuffer != nullptr && nTexte >= nBuffer && nTexte <= nBuffer + nAncienne * sizeof(T);
    const size_t nDecalage = bInterne ? (nTexte - nBuffer) / sizeof(T) : 0;
    if (!_SetBufferSize(nAncienne + nLongueur)) return false;
    if (bInterne) pszTexte = m_pszBuffer + nDecalage;
    memmove(m_pszBuffer + nAncienne, pszTexte, nLongueur * sizeof(T));
    m_pszBuffer[nAncienne + nLongueur] = 0;
    return true;
}

template <typename T>
bool CTTString<T>::Add(T cCaractere) noexcept {
    return cCaractere == 0 || _bAjoute(&cCaractere, 1);
}

template <typename T>
bool CTTString<T>::Add(const T* pszTexte) noexcept {
    return pszTexte == nullptr || _bAjoute(pszTexte, tstring_internal::nLongueurSure(pszTexte));
}

template <typename T>
bool CTTString<T>::Add(const T* pszTexte, int nLongueur) noexcept {
    return _bAjoute(pszTexte, tstring_internal::nLongueurBornee(pszTexte, nLongueur));
}

template <typename T>
bool CTTString<T>::Add(const T* pszTexte1, const T* pszTexte2, const T* pszTexte3) noexcept {
    const size_t nAncienne = m_pszBuffer != nullptr ? tstring_internal::nLen(m_pszBuffer) : 0;
    if (Add(pszTexte1) && Add(pszTexte2) && Add(pszTexte3)) return true;
    // All or nothing: cut back what went in before memory failed.
    if (m_pszBuffer != nullptr) m_pszBuffer[nAncienne] = 0;
    if (nAncienne == 0) Vide();
    return false;
}

template <typename T>
bool CTTString<T>::AddI4(int nValeur) noexcept {
    return AddI8(nValeur);
}

template <typename T>
bool CTTString<T>::AddI8(int64_t nValeur) noexcept {
    char sz[24];
    const size_t n = tstring_internal::nEcritEntier(nValeur, sz);
    T szTexte[24];
    for (size_t i = 0; i <= n; ++i) szTexte[i] = static_cast<T>(sz[i]);
    return _bAjoute(szTexte, n);
}

template <typename T>
bool CTTString<T>::AddPrintf(const T* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const bool bResultat = AddFormatV(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

template <typename T>
bool CTTString<T>::AddFormatV(const T* pszFormat, va_list pArguments) noexcept {
    T* pszTexte = nullptr;
    const int nLongueur = tstring_internal::nFormate(&pszTexte, pszFormat, pArguments);
    if (nLongueur < 0) return false;
    if (m_pszBuffer == nullptr) {
        SetBuffer(pszTexte);
        return true;
    }
    const bool bResultat = _bAjoute(pszTexte, static_cast<size_t>(nLongueur));
    free(pszTexte);
    return bResultat;
}

template <typename T>
bool CTTString<T>::printf(const T* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const bool bResultat = FormatV(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

template <typename T>
bool CTTString<T>::FormatV(const T* pszFormat, va_list pArguments) noexcept {
    T* pszTexte = nullptr;
    if (tstring_internal::nFormate(&pszTexte, pszFormat, pArguments) < 0) return false;
    SetBuffer(pszTexte);
    return true;
}

template <typename T>
bool CTTString<T>::Insert(int nPosition, const T* pszTexte) noexcept {
    const size_t nAjout = tstring_internal::nLongueurSure(pszTexte);
    if (nAjout == 0) return true;
    const int nTexte = nTaille();
    if (nPosition < 0) nPosition = 0;
    if (nPosition > nTexte) nPosition = nTexte;
    TChaine cl;
    if (!cl.Set(pszGet(), nPosition) || !cl.Add(pszTexte, static_cast<int>(nAjout)) ||
        !cl.Add(pszGet() + nPosition, nTexte - nPosition))
        return false;
    Transfert(cl);
    return true;
}

template <typename T>
bool CTTString<T>::Complete(int nLongueur, T cCaractere) noexcept {
    const int nTexte = nTaille();
    if (cCaractere == 0 || nLongueur <= nTexte) return true;
    if (!_SetBufferSize(static_cast<size_t>(nLongueur))) return false;
    for (int i = nTexte; i < nLongueur; ++i) m_pszBuffer[i] = cCaractere;
    m_pszBuffer[nLongueur] = 0;
    return true;
}

// ---------------------------------------------------------------- read

template <typename T>
int CTTString<T>::nTaille() const noexcept {
    return m_pszBuffer != nullptr ? static_cast<int>(tstring_internal::nLenN(m_pszBuffer, INT_MAX)) : 0;
}

template <typename T>
T CTTString<T>::cGetChar(int nPosition) const noexcept {
    return nPosition >= 0 && nPosition < nTaille() ? m_pszBuffer[nPosition] : 0;
}

template <typename T>
void CTTString<T>::SetChar(int nPosition, T cCaractere) noexcept {
    if (nPosition < 0 || nPosition >= nTaille()) return;
    if (cCaractere == 0)
        Tronque(nPosition);
    else
        m_pszBuffer[nPosition] = cCaractere;
}

template <typename T>
bool CTTString<T>::bEstEgal(const T* pszTexte) const noexcept {
    const T* pszAutre = pszTexte != nullptr ? pszTexte : pszVide();
    const size_t n = tstring_internal::nLen(pszGet());
    return tstring_internal::nLen(pszAutre) == n && memcmp(pszGet(), pszAutre, n * sizeof(T)) == 0;
}

template <typename T>
bool CTTString<T>::bEstEgalI(const T* pszTexte) const noexcept {
    const T* pszAutre = pszTexte != nullptr ? pszTexte : pszVide();
    const size_t n = tstring_internal::nLen(pszGet());
    return tstring_internal::nLen(pszAutre) == n && tstring_internal::bEgauxI(pszGet(), pszAutre, n);
}

template <typename T>
bool CTTString<T>::bCommencePar(const T* pszTexte) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    return n <= static_cast<size_t>(nTaille()) && memcmp(pszGet(), pszTexte, n * sizeof(T)) == 0;
}

template <typename T>
bool CTTString<T>::bCommenceParI(const T* pszTexte) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    return n <= static_cast<size_t>(nTaille()) && tstring_internal::bEgauxI(pszGet(), pszTexte, n);
}

template <typename T>
bool CTTString<T>::bTerminePar(const T* pszTexte) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    const size_t nTexte = static_cast<size_t>(nTaille());
    return n <= nTexte && memcmp(pszGet() + nTexte - n, pszTexte, n * sizeof(T)) == 0;
}

template <typename T>
bool CTTString<T>::bTermineParI(const T* pszTexte) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    const size_t nTexte = static_cast<size_t>(nTaille());
    return n <= nTexte && tstring_internal::bEgauxI(pszGet() + nTexte - n, pszTexte, n);
}

template <typename T>
int CTTString<T>::nPos(const T* pszTexte, int nDebut) const noexcept {
    if (pszTexte == nullptr || *pszTexte == 0 || nDebut < 0 || nDebut > nTaille()) return -1;
    const T* p = tstring_internal::pszCherche(pszGet() + nDebut, pszTexte);
    return p != nullptr ? static_cast<int>(p - pszGet()) : -1;
}

template <typename T>
int CTTString<T>::nRPos(const T* pszTexte) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    const int nTexte = nTaille();
    if (n == 0 || n > static_cast<size_t>(nTexte)) return -1;
    for (int i = nTexte - static_cast<int>(n); i >= 0; --i)
        if (memcmp(pszGet() + i, pszTexte, n * sizeof(T)) == 0) return i;
    return -1;
}

template <typename T>
int CTTString<T>::nUpPos(const T* pszTexte, int nDebut) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    const int nTexte = nTaille();
    if (n == 0 || nDebut < 0) return -1;
    for (int i = nDebut; i + static_cast<int>(n) <= nTexte; ++i)
        if (tstring_internal::bEgauxI(pszGet() + i, pszTexte, n)) return i;
    return -1;
}

template <typename T>
int CTTString<T>::nPosParmi(const T* pszCaracteres, int nDebut) const noexcept {
    if (pszCaracteres == nullptr || *pszCaracteres == 0 || nDebut < 0) return -1;
    const int nTexte = nTaille();
    for (int i = nDebut; i < nTexte; ++i)
        if (tstring_internal::pszCherche(pszCaracteres, m_pszBuffer[i]) != nullptr) return i;
    return -1;
}

template <typename T>
int CTTString<T>::nNbOcc(const T* pszTexte) const noexcept {
    const size_t n = tstring_internal::nLongueurSure(pszTexte);
    if (n == 0) return 0;
    int nNombre = 0;
    for (const T* p = tstring_internal::pszCherche(pszGet(), pszTexte); p != nullptr;
         p = tstring_internal::pszCherche(p + n, pszTexte))
        ++nNombre;
    return nNombre;
}

template <typename T>
int CTTString<T>::nVal() const noexcept {
    const T* p = pszGet();
    while (tstring_internal::bBlanc(*p)) ++p;
    bool bNegatif = false;
    if (*p == '-' || *p == '+') bNegatif = *p++ == '-';
    int64_t n = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        if (n <= INT_MAX) n = n * 10 + (*p - '0');  // past INT_MAX only the clamp matters
    if (bNegatif) n = -n;
    return n > INT_MAX ? INT_MAX : (n < INT_MIN ? INT_MIN : static_cast<int>(n));
}

// ---------------------------------------------------------------- cut

template <typename T>
void CTTString<T>::Tronque(int nLongueur) noexcept {
    if (nLongueur >= nTaille()) return;
    if (nLongueur <= 0) return Vide();
    m_pszBuffer[nLongueur] = 0;
    _SetBufferSize(static_cast<size_t>(nLongueur));  // shrinking: keeping the block is harmless
}

template <typename T>
void CTTString<T>::TronqueDebut(int nLongueur) noexcept {
    Coupe(0, nLongueur);
}

template <typename T>
void CTTString<T>::Coupe(int nPosition, int nLongueur) noexcept {
    const int nTexte = nTaille();
    if (nPosition < 0 || nPosition >= nTexte || nLongueur <= 0) return;
    if (nLongueur > nTexte - nPosition) nLongueur = nTexte - nPosition;
    memmove(m_pszBuffer + nPosition, m_pszBuffer + nPosition + nLongueur,
            static_cast<size_t>(nTexte - nPosition - nLongueur + 1) * sizeof(T));
    if (m_pszBuffer[0] == 0) return Vide();
    _SetBufferSize(static_cast<size_t>(nTexte - nLongueur));
}

template <typename T>
typename CTTString<T>::TChaine CTTString<T>::clGauche(int nLongueur) const noexcept {
    return clMilieu(0, nLongueur < 0 ? 0 : nLongueur);
}

template <typename T>
typename CTTString<T>::TChaine CTTString<T>::clDroite(int nLongueur) const noexcept {
    const int nTexte = nTaille();
    if (nLongueur > nTexte) nLongueur = nTexte;
    return clMilieu(nTexte - (nLongueur < 0 ? 0 : nLongueur));
}

template <typename T>
typename CTTString<T>::TChaine CTTString<T>::clMilieu(int nPosition, int nLongueur) const noexcept {
    TChaine cl;
    const int nTexte = nTaille();
    if (nPosition < 0) nPosition = 0;
    if (nPosition >= nTexte) return cl;
    if (nLongueur < 0 || nLongueur > nTexte - nPosition) nLongueur = nTexte - nPosition;
    cl.Set(pszGet() + nPosition, nLongueur);
    return cl;
}

template <typename T>
typename CTTString<T>::TChaine CTTString<T>::clExclu(int nPosition, int nLongueur) const noexcept {
    TChaine cl;
    if (cl.Set(pszGet())) cl.Coupe(nPosition, nLongueur);
    return cl;
}

template <typename T>
typename CTTString<T>::TChaine CTTString<T>::clContientUniquement(const T* pszCaracteres) const noexcept {
    TChaine cl;
    if (pszCaracteres == nullptr || !cl.Set(pszGet())) return cl;
    size_t j = 0;
    for (const T* p = pszGet(); *p != 0; ++p)
        if (tstring_internal::pszCherche(pszCaracteres, *p) != nullptr) cl.m_pszBuffer[j++] = *p;
    cl.Tronque(static_cast<int>(j));
    return cl;
}

template <typename T>
void CTTString<T>::LTrim() noexcept {
    int n = 0;
    while (tstring_internal::bBlanc(pszGet()[n])) ++n;
    Coupe(0, n);
}

template <typename T>
void CTTString<T>::RTrim() noexcept {
    int n = nTaille();
    while (n > 0 && tstring_internal::bBlanc(m_pszBuffer[n - 1])) --n;
    Tronque(n);
}

template <typename T>
void CTTString<T>::Trim() noexcept {
    RTrim();
    LTrim();
}

template <typename T>
void CTTString<T>::SansEspace() noexcept {
    if (m_pszBuffer == nullptr) return;
    size_t j = 0;
    for (const T* p = m_pszBuffer; *p != 0; ++p)
        if (!tstring_internal::bBlanc(*p)) m_pszBuffer[j++] = *p;
    Tronque(static_cast<int>(j));
    if (j == 0) Vide();
}

// ---------------------------------------------------------------- change

template <typename T>
void CTTString<T>::Majuscule() noexcept {
    tstring_internal::MapCaracteres(this, [](wchar_t c) { return tstring_internal::cMajuscule(c); });
}

template <typename T>
void CTTString<T>::Minuscule() noexcept {
    tstring_internal::MapCaracteres(this, [](wchar_t c) { return tstring_internal::cMinuscule(c); });
}

template <typename T>
bool CTTString<T>::SansAccent() noexcept {
    if (bEstVide()) return true;
    // Letters may grow (Œ to OE): rebuild rather than map in place.
    CXYString<wchar_t> clWide;
    const wchar_t* pszWide;
    if constexpr (sizeof(T) == 1) {
        if (clWide.nAffecteUTF8(pszGet()) != 0) return true;  // not UTF-8: no letter to reach
        pszWide = clWide.pszGet();
    } else {
        pszWide = pszGet();
    }
    CTString clSortie;
    for (const wchar_t* p = pszWide; *p != 0; ++p) {
        const char* pszBase = tstring_internal::pszSansAccent(*p);
        bool bOk = true;
        if (pszBase == nullptr) {
            bOk = clSortie.Add(*p);
        } else {
            for (; *pszBase != 0 && bOk; ++pszBase) bOk = clSortie.Add(static_cast<wchar_t>(*pszBase));
        }
        if (!bOk) return false;
    }
    if constexpr (sizeof(T) == 1)
        return SetUNICODE(clSortie.pszGet());
    else
        return (Transfert(clSortie), true);
}

template <typename T>
void CTTString<T>::Renverse() noexcept {
    const int n = nTaille();
    if constexpr (sizeof(T) == 1) {
        // UTF-8: reverse the characters, not the bytes of each.
        CXYString<wchar_t> clWide;
        if (clWide.nAffecteUTF8(pszGet()) == 0 && clWide.nGetLongueur() > 1) {
            wchar_t* psz = clWide.pszGetBuffer(clWide.nGetLongueur());
            if (psz != nullptr) {
                for (int i = 0, j = clWide.nGetLongueur() - 1; i < j; ++i, --j) std::swap(psz[i], psz[j]);
                SetUNICODE(clWide.pszGet());
                return;
            }
        }
    }
    for (int i = 0, j = n - 1; i < j; ++i, --j) std::swap(m_pszBuffer[i], m_pszBuffer[j]);
}

template <typename T>
bool CTTString<T>::_bRemplaceTout(const T* pszAncien, const T* pszNouveau, bool bSansCasse, int* pnNombre) noexcept {
    *pnNombre = 0;
    const size_t nAncien = tstring_internal::nLongueurSure(pszAncien);
    const size_t nNouveau = tstring_internal::nLongueurSure(pszNouveau);
    if (nAncien == 0 || bEstVide()) return true;
    TChaine cl;
    const int nTexte = nTaille();
    int nDebut = 0;
    for (;;) {
        const int nTrouve = bSansCasse ? nUpPos(pszAncien, nDebut) : nPos(pszAncien, nDebut);
        if (nTrouve < 0) break;
        if (!cl.Add(pszGet() + nDebut, nTrouve - nDebut) || !cl.Add(pszNouveau, static_cast<int>(nNouveau))) return false;
        ++*pnNombre;
        nDebut = nTrouve + static_cast<int>(nAncien);
    }
    if (*pnNombre == 0) return true;
    if (!cl.Add(pszGet() + nDebut, nTexte - nDebut)) return false;
    Transfert(cl);
    return true;
}

template <typename T>
int CTTString<T>::Remplace(const T* pszAncien, const T* pszNouveau) noexcept {
    int n = 0;
    return _bRemplaceTout(pszAncien, pszNouveau, false, &n) ? n : -1;
}

template <typename T>
int CTTString<T>::RemplaceI(const T* pszAncien, const T* pszNouveau) noexcept {
    int n = 0;
    return _bRemplaceTout(pszAncien, pszNouveau, true, &n) ? n : -1;
}

template <typename T>
bool CTTString<T>::Insecable() noexcept {
    if constexpr (sizeof(T) == 1) {
        return Remplace(" ", "\xC2\xA0") >= 0;
    } else {
        for (wchar_t* p = m_pszBuffer; p != nullptr && *p != 0; ++p)
            if (*p == L' ') *p = 0xA0;
        return true;
    }
}

template <typename T>
bool CTTString<T>::Ellipse(const T* pszTexte, int nLargeur, int nPosition) noexcept {
    static constexpr T kPoints[] = {'.', '.', '.', 0};
    TChaine clSource;
    if (!clSource.Set(pszTexte)) return false;
    const int nTexte = clSource.nTaille();
    if (nLargeur < 0) nLargeur = 0;
    if (nTexte <= nLargeur) return (Transfert(clSource), true);
    TChaine cl;
    if (nLargeur <= 3) {
        if (!cl.Set(kPoints, nLargeur)) return false;
    } else {
        const int nGarde = nLargeur - 3;
        const int nAvant = nPosition == ELLIPSE_DEBUT ? 0 : (nPosition == ELLIPSE_MILIEU ? (nGarde + 1) / 2 : nGarde);
        const int nApres = nGarde - nAvant;
        if (!cl.Set(clSource.pszGet(), nAvant) || !cl.Add(kPoints) || !cl.Add(clSource.pszGet() + nTexte - nApres, nApres))
            return false;
    }
    Transfert(cl);
    return true;
}

// ---------------------------------------------------------------- fields

template <typename T>
bool CTTString<T>::_bChamp(int nIndex, const T* pszSeparateur, size_t* pnDebut, size_t* pnLongueur) const noexcept {
    if (nIndex < 0) return false;
    const T* pszTexte = pszGet();
    const T* pszDebut = pszTexte;
    const size_t nSeparateur = tstring_internal::nLongueurSure(pszSeparateur);
    if (nSeparateur == 0) {
        if (nIndex != 0) return false;
        *pnDebut = 0;
        *pnLongueur = tstring_internal::nLen(pszTexte);
        return true;
    }
    for (int i = 0; i < nIndex; ++i) {
        const T* pszSuivant = tstring_internal::pszCherche(pszDebut, pszSeparateur);
        if (pszSuivant == nullptr) return false;
        pszDebut = pszSuivant + nSeparateur;
    }
    const T* pszFin = tstring_internal::pszCherche(pszDebut, pszSeparateur);
    *pnDebut = static_cast<size_t>(pszDebut - pszTexte);
    *pnLongueur = pszFin != nullptr ? static_cast<size_t>(pszFin - pszDebut) : tstring_internal::nLen(pszDebut);
    return true;
}

template <typename T>
bool CTTString<T>::bExtraitChaine(int nIndex, const T* pszSeparateur, CTTString* pclSortie) const noexcept {
    size_t nDebut = 0, nLongueur = 0;
    if (pclSortie == nullptr || !_bChamp(nIndex, pszSeparateur, &nDebut, &nLongueur)) return false;
    return pclSortie->Set(pszGet() + nDebut, static_cast<int>(nLongueur));
}

template <typename T>
bool CTTString<T>::bExtraitChainePos(int* pnPosition, const T* pszSeparateur, CTTString* pclSortie) const noexcept {
    const int nTexte = nTaille();
    if (pnPosition == nullptr || pclSortie == nullptr || *pnPosition < 0 || *pnPosition > nTexte) return false;
    const size_t nSeparateur = tstring_internal::nLongueurSure(pszSeparateur);
    const T* pszDebut = pszGet() + *pnPosition;
    const T* pszFin = nSeparateur != 0 ? tstring_internal::pszCherche(pszDebut, pszSeparateur) : nullptr;
    const int nLongueur = pszFin != nullptr ? static_cast<int>(pszFin - pszDebut) : nTexte - *pnPosition;
    if (pclSortie == this) {
        // The output is this text: work on a copy of the field.
        TChaine cl;
        if (!cl.Set(pszDebut, nLongueur)) return false;
        *pnPosition = pszFin != nullptr ? static_cast<int>(pszFin - pszGet() + nSeparateur) : -1;
        pclSortie->Transfert(cl);
        return true;
    }
    if (!pclSortie->Set(pszDebut, nLongueur)) return false;
    *pnPosition = pszFin != nullptr ? static_cast<int>(pszFin - pszGet() + nSeparateur) : -1;
    return true;
}

template <typename T>
bool CTTString<T>::bExtraitPosTailleChaine(int nIndex, const T* pszSeparateur, int* pnPosition,
                                           int* pnTaille) const noexcept {
    size_t nDebut = 0, nLongueur = 0;
    if (!_bChamp(nIndex, pszSeparateur, &nDebut, &nLongueur)) return false;
    if (pnPosition != nullptr) *pnPosition = static_cast<int>(nDebut);
    if (pnTaille != nullptr) *pnTaille = static_cast<int>(nLongueur);
    return true;
}

template <typename T>
bool CTTString<T>::bExtraitChaineTok(int* pnPosition, const T* pszSeparateurs, CTTString* pclSortie) const noexcept {
    const int nTexte = nTaille();
    if (pnPosition == nullptr || pclSortie == nullptr || *pnPosition < 0) return false;
    const T* pszSep = pszSeparateurs != nullptr ? pszSeparateurs : pszVide();
    int i = *pnPosition;
    while (i < nTexte && tstring_internal::pszCherche(pszSep, m_pszBuffer[i]) != nullptr) ++i;
    if (i >= nTexte) {
        *pnPosition = nTexte;
        return false;
    }
    int j = i;
    while (j < nTexte && tstring_internal::pszCherche(pszSep, m_pszBuffer[j]) == nullptr) ++j;
    TChaine cl;
    if (!cl.Set(pszGet() + i, j - i)) return false;
    pclSortie->Transfert(cl);
    *pnPosition = j;
    return true;
}

template <typename T>
bool CTTString<T>::bExtraitEtRemplaceChaine(int nIndex, const T* pszSeparateur, const T* pszNouveau,
                                            CTTString* pclSortie) noexcept {
    size_t nDebut = 0, nLongueur = 0;
    if (!_bChamp(nIndex, pszSeparateur, &nDebut, &nLongueur)) return false;
    TChaine clChamp, clNouveau;
    if (!clChamp.Set(pszGet() + nDebut, static_cast<int>(nLongueur)) || !clNouveau.Set(pszGet(), static_cast<int>(nDebut)) ||
        !clNouveau.Add(pszNouveau) || !clNouveau.Add(pszGet() + nDebut + nLongueur))
        return false;
    Transfert(clNouveau);
    if (pclSortie != nullptr) pclSortie->Transfert(clChamp);
    return true;
}

template <typename T>
bool CTTString<T>::PourTouteChaineSepareePar(const T* pszSeparateur,
                                             const std::function<bool(const T*, int)>& fnVisiteur) const {
    const T* pszDebut = pszGet();
    const size_t nSeparateur = tstring_internal::nLongueurSure(pszSeparateur);
    TChaine clChamp;
    for (;;) {
        const T* pszFin = nSeparateur != 0 ? tstring_internal::pszCherche(pszDebut, pszSeparateur) : nullptr;
        const int nLongueur = pszFin != nullptr ? static_cast<int>(pszFin - pszDebut) : static_cast<int>(tstring_internal::nLen(pszDebut));
        // The visitor gets a terminated copy, so that it can read the field as a text.
        if (!clChamp.Set(pszDebut, nLongueur)) return false;
        if (!fnVisiteur(clChamp.pszGet(), nLongueur)) return false;
        if (pszFin == nullptr) return true;
        pszDebut = pszFin + nSeparateur;
    }
}

// ---------------------------------------------------------------- file names

template <typename T>
bool CTTString<T>::FichierTemporaire(const T* pszRepertoire, const T* pszPrefixe) noexcept {
    CTStringAnsi clChemin;
    if (pszRepertoire != nullptr && *pszRepertoire != 0) {
        if (!tstring_internal::bVersAnsi(&clChemin, pszRepertoire)) return false;
    } else {
        const char* pszTmp = getenv("TMPDIR");
        if (!clChemin.Set(pszTmp != nullptr && *pszTmp != 0 ? pszTmp : "/tmp")) return false;
    }
    if (!clChemin.bTerminePar("/") && !clChemin.Add('/')) return false;
    CTStringAnsi clPrefixe;
    if (pszPrefixe != nullptr && !tstring_internal::bVersAnsi(&clPrefixe, pszPrefixe)) return false;
    // A prefix is a name, not a path: a separator in it would place the file elsewhere.
    if (clPrefixe.nPos("/") >= 0) return false;
    if (!clChemin.Add(clPrefixe.pszGet()) || !clChemin.Add("XXXXXX")) return false;
    char* pszModele = const_cast<char*>(clChemin.pszGet());
    const int nFichier = mkstemp(pszModele);
    if (nFichier < 0) return false;
    close(nFichier);
    if constexpr (sizeof(T) == 1) {
        Transfert(clChemin);
        return true;
    } else {
        if (SetANSIEx(clChemin.pszGet(), -1, XYS_CP_UTF8)) return true;
        unlink(clChemin.pszGet());
        return false;
    }
}

template <typename T>
const T* CTTString<T>::_pszCoupeA(T cCaractere, bool bDernier, bool bGardeDebut, bool bExistant) noexcept {
    int nTrouve = -1;
    const int nTexte = nTaille();
    for (int i = 0; i < nTexte; ++i)
        if (m_pszBuffer[i] == cCaractere) {
            nTrouve = i;
            if (!bDernier) break;
        }
    if (nTrouve < 0 || cCaractere == 0) return bExistant ? nullptr : pszGet();
    if (bGardeDebut)
        Tronque(nTrouve);
    else
        Coupe(0, nTrouve + 1);
    return pszGet();
}

template <typename T>
const T* CTTString<T>::pszSetFinPremier(T c) noexcept { return _pszCoupeA(c, false, true, false); }
template <typename T>
const T* CTTString<T>::pszSetFinPremierExistant(T c) noexcept { return _pszCoupeA(c, false, true, true); }
template <typename T>
const T* CTTString<T>::pszSetFinDernier(T c) noexcept { return _pszCoupeA(c, true, true, false); }
template <typename T>
const T* CTTString<T>::pszSetFinDernierExistant(T c) noexcept { return _pszCoupeA(c, true, true, true); }
template <typename T>
const T* CTTString<T>::pszSetDebutPremier(T c) noexcept { return _pszCoupeA(c, false, false, false); }
template <typename T>
const T* CTTString<T>::pszSetDebutPremierExistant(T c) noexcept { return _pszCoupeA(c, false, false, true); }
template <typename T>
const T* CTTString<T>::pszSetDebutDernier(T c) noexcept { return _pszCoupeA(c, true, false, false); }
template <typename T>
const T* CTTString<T>::pszSetDebutDernierExistant(T c) noexcept { return _pszCoupeA(c, true, false, true); }
