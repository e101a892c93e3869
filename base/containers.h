// The library's small containers over raw bytes and pointers: a doubly linked list of fixed-size
// elements (CListeDeBuffer), a growing pointer array with a compare routine (clDYNAR, clPDYNAR) and
// a bag of indexed slots whose indices stay valid for an element's whole life (CTIndexedBag).
// None of them throws: an operation that needs memory answers failure and leaves the container
// as it was.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

// ---------------------------------------------------------------------------------------------
// CListeDeBuffer

// One element of a CListeDeBuffer: the two links, then the data inline.
struct CLinkedElement {
    CLinkedElement* pclSuivant;
    CLinkedElement* pclPrecedent;

    void* pData() noexcept { return this + 1; }
    const void* pData() const noexcept { return this + 1; }
};
static_assert(sizeof(CLinkedElement) == 16, "the data starts 16 bytes in, aligned for any scalar");

// A doubly linked list of elements of one data size, with a current element that the walking
// operations move. "No current element" is a position of its own, before the head and after the
// tail: a walk forward from there starts at the head, a walk backward at the tail.
class CListeDeBuffer {
public:
    explicit CListeDeBuffer(int nTailleDonnee) noexcept : m_nTailleDonnee(nTailleDonnee > 0 ? nTailleDonnee : 0) {}
    ~CListeDeBuffer() { SupprimeTout(); }
    CListeDeBuffer(const CListeDeBuffer&) = delete;
    CListeDeBuffer& operator=(const CListeDeBuffer&) = delete;
    CListeDeBuffer(CListeDeBuffer&& clAutre) noexcept;
    CListeDeBuffer& operator=(CListeDeBuffer&& clAutre) noexcept;

    // Adds a copy of the data (the data size of the list, read from pData; null adds zeros) before
    // the element at nPosition, or at the end for -1 or a position past the last. The new element
    // becomes the current one. Answers its data, or null when memory fails.
    void* Ajoute(const void* pData, int nPosition = -1) noexcept;

    // The current element's data, null when there is none.
    void* pCourant() const noexcept { return m_pclCourant ? m_pclCourant->pData() : nullptr; }
    // Position of the current element from 0, -1 when there is none.
    int nGetPositionCourante() const noexcept { return m_nPositionCourante; }
    // Moves the current element one step; false when the walk leaves the list (no current then).
    bool VaSuivant() noexcept { return pVaSuivant() != nullptr; }
    bool VaPrecedent() noexcept { return pVaPrecedent() != nullptr; }
    void* pVaSuivant() noexcept;
    void* pVaPrecedent() noexcept;
    // Makes the element at nPosition current; null (and no current) for a position outside.
    void* pVaSurNumero(int nPosition) noexcept;

    // Removes the current element, copying its data to pCopie when given; the next element becomes
    // current (none after the tail). False when there is no current element.
    bool SupprimeCourant(void* pCopie = nullptr) noexcept;
    // Moves the current element, without copying, to the end of pclCible (same data size); the
    // next element becomes current here. False when there is no current element or the sizes
    // differ.
    bool DeplaceCourant(CListeDeBuffer* pclCible) noexcept;
    void SupprimeTout() noexcept;
    // Moves every element to the end of pclCible without copying; this list is left empty. False
    // when the data sizes differ or the target is this list.
    bool ExtraitListe(CListeDeBuffer* pclCible) noexcept;

    int nGetNbElement() const noexcept { return m_nNbElement; }
    int nGetTailleDonnee() const noexcept { return m_nTailleDonnee; }
    const CLinkedElement* pclGetTete() const noexcept { return m_pclTete; }
    const CLinkedElement* pclGetQueue() const noexcept { return m_pclQueue; }

private:
    CLinkedElement* _pclElement(int nPosition) const noexcept;
    CLinkedElement* _pclDelieCourant() noexcept;  // unlinks the current element; the next becomes current

    CLinkedElement* m_pclTete = nullptr;
    CLinkedElement* m_pclQueue = nullptr;
    CLinkedElement* m_pclCourant = nullptr;
    int m_nTailleDonnee;
    int m_nNbElement = 0;
    int m_nPositionCourante = -1;
};

// ---------------------------------------------------------------------------------------------
// clDYNAR, clPDYNAR

// Compares two items of a clDYNAR (the stored pointers themselves): <0, 0 equal, >0.
using PFNCOMPAREDYNAR = int (*)(const void* pItem1, const void* pItem2);

inline constexpr unsigned int DYNAR_ABSENT = 0xffffffffu;

// A growing array of void*. The compare routine serves dwSearch and Sort; without one, items are
// compared as addresses.
class clDYNAR {
public:
    explicit clDYNAR(unsigned int dwPas = 16, PFNCOMPAREDYNAR pfnCompare = nullptr) noexcept
        : m_dwPas(dwPas > 0 ? dwPas : 1), m_pfnCompare(pfnCompare) {}
    virtual ~clDYNAR() { free(m_ppItems); }
    clDYNAR(const clDYNAR&) = delete;
    clDYNAR& operator=(const clDYNAR&) = delete;

    // Appends; answers the index, or DYNAR_ABSENT when memory fails.
    unsigned int Add(void* pItem) noexcept;
    // Removes the first item equal by the routine (the same address without one). The tail moves
    // down, keeping the order.
    bool bRemoveItem(const void* pItem) noexcept;
    bool bRemoveItemInd(unsigned int dwIndex) noexcept;
    // Index of the first item equal to pItem, DYNAR_ABSENT when none.
    unsigned int dwSearch(const void* pItem) const noexcept;
    // Sorts by the routine; equal items may change places. Any routine is safe, even one that
    // does not order consistently: the sort never leaves the array.
    void Sort() noexcept;
    // Frees the room beyond the items.
    bool Compact() noexcept;
    // Removes every item and frees the memory.
    void Clear() noexcept;
    // Room for dwSupplement more items, in whole steps.
    bool Grow(unsigned int dwSupplement) noexcept;

    void SetCompare(PFNCOMPAREDYNAR pfnCompare) noexcept { m_pfnCompare = pfnCompare; }
    unsigned int dwGetCount() const noexcept { return m_dwNbItem; }
    unsigned int dwGetCapacity() const noexcept { return m_dwCapacite; }
    void* GetAt(unsigned int dwIndex) const noexcept { return dwIndex < m_dwNbItem ? m_ppItems[dwIndex] : nullptr; }
    void* operator[](unsigned int dwIndex) const noexcept { return GetAt(dwIndex); }

protected:
    int _nCompare(const void* p1, const void* p2) const noexcept;

    void** m_ppItems = nullptr;
    unsigned int m_dwNbItem = 0;
    unsigned int m_dwCapacite = 0;
    unsigned int m_dwPas;
    PFNCOMPAREDYNAR m_pfnCompare;
};

// A clDYNAR that owns its items: DeleteAll, and the destructor, delete them.
template <class T>
class clPDYNAR : public clDYNAR {
public:
    explicit clPDYNAR(unsigned int dwPas = 16, PFNCOMPAREDYNAR pfnCompare = nullptr) noexcept
        : clDYNAR(dwPas, pfnCompare) {}
    ~clPDYNAR() override { DeleteAll(); }

    void DeleteAll() noexcept {
        for (unsigned int i = 0; i < m_dwNbItem; ++i) delete static_cast<T*>(m_ppItems[i]);
        Clear();
    }
    T* GetAt(unsigned int dwIndex) const noexcept { return static_cast<T*>(clDYNAR::GetAt(dwIndex)); }
};

// ---------------------------------------------------------------------------------------------
// CTIndexedBag

// A bag of 16-byte slots: in use, a slot holds the mark -2 and its value; free, the index of the
// next free slot (-1 ends the list). The index an element gets is its name for its whole life, and
// a freed index is the first to be given again.
template <class T>
class CTIndexedBag {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 8, "a slot holds a pointer-sized value");

public:
    static constexpr int kOccupe = -2;

    struct STSlot {
        int32_t nLien;  // kOccupe, or the next free slot, -1 for none
        T xValeur;
    };

    explicit CTIndexedBag(int nPas = 10) noexcept : m_nPas(nPas > 0 ? nPas : 1) {}
    ~CTIndexedBag() { free(m_pstSlots); }
    CTIndexedBag(const CTIndexedBag&) = delete;
    CTIndexedBag& operator=(const CTIndexedBag&) = delete;

    // Stores the value; answers its index, or -1 when memory fails.
    int nAjoute(T xValeur) noexcept {
        if (m_nPremierLibre < 0 && !_bAgrandit()) return -1;
        const int nIndex = m_nPremierLibre;
        m_nPremierLibre = m_pstSlots[nIndex].nLien;
        m_pstSlots[nIndex].nLien = kOccupe;
        m_pstSlots[nIndex].xValeur = xValeur;
        ++m_nNbElement;
        return nIndex;
    }

    // Frees the slot, handing its value to pxValeur; false for an index not in use.
    bool bSupprime(int nIndex, T* pxValeur = nullptr) noexcept {
        if (!bValide(nIndex)) return false;
        if (pxValeur) *pxValeur = m_pstSlots[nIndex].xValeur;
        m_pstSlots[nIndex].xValeur = T{};
        m_pstSlots[nIndex].nLien = m_nPremierLibre;
        m_nPremierLibre = nIndex;
        --m_nNbElement;
        return true;
    }

    bool bValide(int nIndex) const noexcept {
        return nIndex >= 0 && nIndex < m_nCapacite && m_pstSlots[nIndex].nLien == kOccupe;
    }
    // The value's place, null for an index not in use.
    T* pGet(int nIndex) noexcept { return bValide(nIndex) ? &m_pstSlots[nIndex].xValeur : nullptr; }
    const T* pGet(int nIndex) const noexcept { return bValide(nIndex) ? &m_pstSlots[nIndex].xValeur : nullptr; }

    // Walk of the slots in use in index order: nSuivant(-1) is the first, -1 ends.
    int nSuivant(int nIndex) const noexcept {
        for (int i = nIndex < 0 ? 0 : nIndex + 1; i < m_nCapacite; ++i)
            if (m_pstSlots[i].nLien == kOccupe) return i;
        return -1;
    }

    // Frees every slot and the memory.
    void SupprimeTout() noexcept {
        free(m_pstSlots);
        m_pstSlots = nullptr;
        m_nCapacite = 0;
        m_nNbElement = 0;
        m_nPremierLibre = -1;
    }

    int nGetNbElement() const noexcept { return m_nNbElement; }
    int nGetCapacite() const noexcept { return m_nCapacite; }
    int nGetPremierLibre() const noexcept { return m_nPremierLibre; }

private:
    // One step more of slots, chained as free in index order.
    bool _bAgrandit() noexcept {
        if (m_nCapacite > INT32_MAX - m_nPas) return false;
        const int nNouvelle = m_nCapacite + m_nPas;
        void* p = realloc(m_pstSlots, static_cast<size_t>(nNouvelle) * sizeof(STSlot));
        if (p == nullptr) return false;
        m_pstSlots = static_cast<STSlot*>(p);
        for (int i = m_nCapacite; i < nNouvelle; ++i) {
            m_pstSlots[i].nLien = i + 1 < nNouvelle ? i + 1 : m_nPremierLibre;
            m_pstSlots[i].xValeur = T{};
        }
        m_nPremierLibre = m_nCapacite;
        m_nCapacite = nNouvelle;
        return true;
    }

    STSlot* m_pstSlots = nullptr;
    int m_nCapacite = 0;
    int m_nPremierLibre = -1;
    int m_nNbElement = 0;
    int m_nPas;
};

// A bag of object pointers that owns them: DeleteAll and the destructor delete them.
template <class T>
class CTIndexedBagPointer : public CTIndexedBag<T*> {
public:
    using CTIndexedBag<T*>::CTIndexedBag;
    ~CTIndexedBagPointer() { DeleteAll(); }

    void DeleteAll() noexcept {
        for (int i = this->nSuivant(-1); i >= 0; i = this->nSuivant(i)) delete *this->pGet(i);
        this->SupprimeTout();
    }
};

static_assert(sizeof(CTIndexedBag<void*>::STSlot) == 16);
