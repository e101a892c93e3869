// CTTableau<T>: a growable array of plain elements that moves them as bytes, grows by a fixed step
// and answers false rather than throwing when memory runs out.
#pragma once

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

template <class T>
class CTTableau {
    static_assert(std::is_trivially_copyable_v<T>, "elements move as bytes");

public:
    // nTailleInitiale: capacity of the first allocation (0: one step). nPas: growth step.
    explicit CTTableau(int nTailleInitiale = 0, int nPas = 10) noexcept
        : m_nTailleInitiale(nTailleInitiale > 0 ? nTailleInitiale : 0), m_nPas(nPas > 0 ? nPas : 1) {}
    ~CTTableau() { free(m_pData); }
    CTTableau(const CTTableau&) = delete;
    CTTableau& operator=(const CTTableau&) = delete;
    CTTableau(CTTableau&& clAutre) noexcept : CTTableau(clAutre.m_nTailleInitiale, clAutre.m_nPas) {
        Echange(clAutre);
    }
    CTTableau& operator=(CTTableau&& clAutre) noexcept {
        if (this != &clAutre) {
            SupprimeToutEtLibere();
            Echange(clAutre);
        }
        return *this;
    }

    int nGetNbElement() const noexcept { return m_nNbElement; }
    int nGetCapacite() const noexcept { return m_nCapacite; }
    int nGetPas() const noexcept { return m_nPas; }
    bool bEstVide() const noexcept { return m_nNbElement == 0; }

    T& operator[](int nIndex) noexcept { return m_pData[nIndex]; }
    const T& operator[](int nIndex) const noexcept { return m_pData[nIndex]; }
    T* pGetAt(int nIndex) noexcept { return bIndexValide(nIndex) ? m_pData + nIndex : nullptr; }
    const T* pGetAt(int nIndex) const noexcept { return bIndexValide(nIndex) ? m_pData + nIndex : nullptr; }
    T* pGetData() noexcept { return m_pData; }
    const T* pGetData() const noexcept { return m_pData; }

    bool Ajoute(const T& clElement) noexcept {
        if (m_nNbElement == m_nCapacite && !Agrandir()) return false;
        memcpy(static_cast<void*>(m_pData + m_nNbElement), &clElement, sizeof(T));
        ++m_nNbElement;
        return true;
    }

    // nIndex from 0 to the count; at the count it appends.
    bool Insere(const T& clElement, int nIndex) noexcept {
        if (nIndex < 0 || nIndex > m_nNbElement) return false;
        // The element may live in this array: keep a copy before the block moves.
        alignas(T) unsigned char abyCopie[sizeof(T)];
        memcpy(abyCopie, &clElement, sizeof(T));
        if (m_nNbElement == m_nCapacite && !Agrandir()) return false;
        memmove(static_cast<void*>(m_pData + nIndex + 1), m_pData + nIndex,
                static_cast<size_t>(m_nNbElement - nIndex) * sizeof(T));
        memcpy(static_cast<void*>(m_pData + nIndex), abyCopie, sizeof(T));
        ++m_nNbElement;
        return true;
    }

    bool SetAt(int nIndex, const T& clElement) noexcept {
        if (!bIndexValide(nIndex)) return false;
        memmove(static_cast<void*>(m_pData + nIndex), &clElement, sizeof(T));
        return true;
    }

    // Appends nNombre copies of clRemplissage.
    bool Etend(int nNombre, const T& clRemplissage) noexcept {
        if (nNombre <= 0) return true;
        if (nNombre > INT_MAX - m_nNbElement) return false;
        alignas(T) unsigned char abyCopie[sizeof(T)];
        memcpy(abyCopie, &clRemplissage, sizeof(T));
        if (!AgranditMemoire(nNombre)) return false;
        for (int i = 0; i < nNombre; ++i)
            memcpy(static_cast<void*>(m_pData + m_nNbElement + i), abyCopie, sizeof(T));
        m_nNbElement += nNombre;
        return true;
    }

    // Removes nNombre elements from nIndex, clipped to the end; the tail moves down.
    void Supprime(int nIndex, int nNombre = 1) noexcept {
        if (nNombre <= 0 || !bIndexValide(nIndex)) return;
        if (nNombre > m_nNbElement - nIndex) nNombre = m_nNbElement - nIndex;
        memmove(static_cast<void*>(m_pData + nIndex), m_pData + nIndex + nNombre,
                static_cast<size_t>(m_nNbElement - nIndex - nNombre) * sizeof(T));
        m_nNbElement -= nNombre;
    }

    void SupprimeDernier(int nNombre = 1) noexcept {
        if (nNombre <= 0) return;
        m_nNbElement = nNombre >= m_nNbElement ? 0 : m_nNbElement - nNombre;
    }

    void SupprimeTout() noexcept { m_nNbElement = 0; }

    void SupprimeToutEtLibere() noexcept {
        free(m_pData);
        m_pData = nullptr;
        m_nNbElement = 0;
        m_nCapacite = 0;
    }

    // Shrinks the memory to the elements held; frees it when empty.
    bool Compacter() noexcept {
        if (m_nNbElement == 0) {
            SupprimeToutEtLibere();
            return true;
        }
        return bRealloue(m_nNbElement);
    }

    // Makes the capacity at least nCapacite, exactly.
    bool AlloueMemoire(int nCapacite) noexcept { return nCapacite <= m_nCapacite || bRealloue(nCapacite); }

    // Room for nSupplement more elements, growing by whole steps in one reallocation.
    bool AgranditMemoire(int nSupplement) noexcept {
        if (nSupplement <= 0) return true;
        if (nSupplement > INT_MAX - m_nNbElement) return false;
        const int nBesoin = m_nNbElement + nSupplement;
        if (nBesoin <= m_nCapacite) return true;
        const int64_t nManque = nBesoin - m_nCapacite;
        const int64_t nPas = nPasEffectif();
        const int64_t nCapacite = m_nCapacite + (nManque + nPas - 1) / nPas * nPas;
        return bRealloue(nCapacite > INT_MAX ? INT_MAX : static_cast<int>(nCapacite));
    }

    // Removes the element at nIndex and gives the spare memory back.
    void SupprimeCompacte(int nIndex) noexcept {
        if (!bIndexValide(nIndex)) return;
        Supprime(nIndex, 1);
        Compacter();
    }

    // Replaces the content by nNombre copies of clValeur; false (content kept) when memory fails.
    bool Initialise(const T& clValeur, int nNombre) noexcept {
        if (nNombre < 0) return false;
        alignas(T) unsigned char abyCopie[sizeof(T)];
        memcpy(abyCopie, &clValeur, sizeof(T));
        if (nNombre > m_nCapacite && !bRealloue(nNombre)) return false;
        for (int i = 0; i < nNombre; ++i) memcpy(static_cast<void*>(m_pData + i), abyCopie, sizeof(T));
        m_nNbElement = nNombre;
        return true;
    }

    // Copies the element at nIndex out; false for an index outside.
    bool Recupere(int nIndex, T* pclSortie) const noexcept {
        if (!bIndexValide(nIndex) || pclSortie == nullptr) return false;
        memcpy(static_cast<void*>(pclSortie), m_pData + nIndex, sizeof(T));
        return true;
    }

    // The first element for which fnCritere(pContexte, element) answers non-zero: its address, or
    // its index; null or -1 when none.
    template <class TContexte>
    T* pRechercheLineaireCriterePointeur(TContexte* pContexte, int (*fnCritere)(TContexte*, const T*)) noexcept {
        const int n = nRechercheLineaireCriterePointeur(pContexte, fnCritere);
        return n < 0 ? nullptr : m_pData + n;
    }
    template <class TContexte>
    int nRechercheLineaireCriterePointeur(TContexte* pContexte, int (*fnCritere)(TContexte*, const T*)) const noexcept {
        for (int i = 0; i < m_nNbElement; ++i)
            if (fnCritere(pContexte, m_pData + i)) return i;
        return -1;
    }

    void Swap(int nA, int nB) noexcept {
        if (!bIndexValide(nA) || !bIndexValide(nB) || nA == nB) return;
        alignas(T) unsigned char abyTemp[sizeof(T)];
        memcpy(abyTemp, m_pData + nA, sizeof(T));
        memcpy(static_cast<void*>(m_pData + nA), m_pData + nB, sizeof(T));
        memcpy(static_cast<void*>(m_pData + nB), abyTemp, sizeof(T));
    }

    // Index of the first element equal byte for byte, -1 when none.
    int nRecherche(const T& clElement) const noexcept {
        for (int i = 0; i < m_nNbElement; ++i)
            if (memcmp(m_pData + i, &clElement, sizeof(T)) == 0) return i;
        return -1;
    }

    // Replaces the content by a copy of clSource's; on failure this array is left as it was.
    bool bCopie(const CTTableau& clSource) noexcept {
        if (this == &clSource) return true;
        if (clSource.m_nNbElement > m_nCapacite && !bRealloue(clSource.m_nNbElement)) return false;
        if (clSource.m_nNbElement > 0)
            memcpy(static_cast<void*>(m_pData), clSource.m_pData,
                   static_cast<size_t>(clSource.m_nNbElement) * sizeof(T));
        m_nNbElement = clSource.m_nNbElement;
        return true;
    }

    void Echange(CTTableau& clAutre) noexcept {
        auto Permute = [](auto& a, auto& b) { auto t = a; a = b; b = t; };
        Permute(m_pData, clAutre.m_pData);
        Permute(m_nNbElement, clAutre.m_nNbElement);
        Permute(m_nCapacite, clAutre.m_nCapacite);
        Permute(m_nTailleInitiale, clAutre.m_nTailleInitiale);
        Permute(m_nPas, clAutre.m_nPas);
    }

private:
    bool bIndexValide(int nIndex) const noexcept { return nIndex >= 0 && nIndex < m_nNbElement; }

    // A step of 1 would reallocate on every add once an array of small elements gets large;
    // such arrays grow by 20 past 100 elements instead.
    int nPasEffectif() const noexcept {
        if (m_nPas == 1 && m_nCapacite > 100 && sizeof(T) <= 256) return 20;
        return m_nPas;
    }

    bool Agrandir() noexcept {
        int64_t nCapacite;
        if (m_nCapacite == 0 && m_nTailleInitiale > 0)
            nCapacite = m_nTailleInitiale;
        else
            nCapacite = static_cast<int64_t>(m_nCapacite) + nPasEffectif();
        if (nCapacite > INT_MAX) nCapacite = INT_MAX;
        if (nCapacite <= m_nCapacite) return false;
        return bRealloue(static_cast<int>(nCapacite));
    }

    bool bRealloue(int nCapacite) noexcept {
        if (nCapacite <= 0) return false;
        if (static_cast<size_t>(nCapacite) > SIZE_MAX / sizeof(T)) return false;
        void* pNouveau = realloc(m_pData, static_cast<size_t>(nCapacite) * sizeof(T));
        if (pNouveau == nullptr) return false;
        m_pData = static_cast<T*>(pNouveau);
        m_nCapacite = nCapacite;
        if (m_nNbElement > m_nCapacite) m_nNbElement = m_nCapacite;
        return true;
    }

    T* m_pData = nullptr;
    int m_nNbElement = 0;
    int m_nCapacite = 0;
    int m_nTailleInitiale;
    int m_nPas;
};

// Exchanges the contents of two arrays without moving an element.
template <class T>
void EchangeTableau(CTTableau<T>& clA, CTTableau<T>& clB) noexcept {
    clA.Echange(clB);
}
