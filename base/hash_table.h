// The two hash tables of the library and their hash functions. CHashBase chains (key, value)
// pairs in linked lists per bucket and resizes on demand; CHashTableBounce keeps every element in
// one array linked by 32-bit indices, so that it allocates once per size level and never per
// element. Neither copies keys or values: both hold the caller's pointers.
#pragma once

#include <cstdint>

#include "base/containers.h"

// The size ladder of CHashTableBounce: primes close to doubling, then 0. At level n the table has
// g__ToutPretToutChaud[n] buckets and room for half as many elements.
extern const uint32_t g__ToutPretToutChaud[30];
inline constexpr int HASH_NIVEAU_MAX = 28;  // the last level with a size

using PFNHASHVAL = uint32_t (*)(const void* pKey);
using PFNCMPHASH = int (*)(const void* pKey1, const void* pKey2);  // 0: equal

// Hashes of texts by the plain sum of their characters, 0 for null and empty: cheap for the short
// names these tables hold, and spread enough by a prime bucket count. The "i" forms sum the upper
// case, for tables whose keys compare without regard to case.
uint32_t dwHashValT(const void* pszTexte) noexcept;    // wide text
uint32_t dwHashValTA(const void* pszTexte) noexcept;   // 8-bit text
uint32_t dwHashValTi(const void* pszTexte) noexcept;   // wide text, towupper
uint32_t dwHashValTiA(const void* pszTexte) noexcept;  // 8-bit text, toupper
// Counted wide texts (the data pointer of a block, null for the empty text): the same sum over
// the block's length, and the compare to go with it, by length then characters.
uint32_t dwTemplateZKDSTRHashVal(const void* pBloc) noexcept;
int nTemplateZKDSTRCompare(const void* pBloc1, const void* pBloc2) noexcept;

// The next prime at or above n (n itself when prime), for bucket counts.
uint32_t dwPremierSuivant(uint32_t n) noexcept;
bool bEstPremier(uint32_t n) noexcept;

// ---------------------------------------------------------------------------------------------
// CHashBase

class CHashBase {
public:
    static constexpr int kNbBucketMin = 43;  // shrinking stops here

    // The bucket count is the first prime at or above nNbBucket.
    explicit CHashBase(int nNbBucket = kNbBucketMin) noexcept;
    virtual ~CHashBase();
    CHashBase(const CHashBase&) = delete;
    CHashBase& operator=(const CHashBase&) = delete;

    virtual uint32_t dwHash(const void* pKey) const noexcept = 0;
    virtual bool bEgal(const void* pKey1, const void* pKey2) const noexcept = 0;

    // Adds the pair in front of its bucket (keys are not tested for duplicates: the last added is
    // found first). The DYN forms then resize the table by the load factors; the plain forms never
    // resize. False when memory fails.
    bool Ajoute(const void* pKey, void* pValue) noexcept;
    bool AjouteDYN(const void* pKey, void* pValue) noexcept;
    // Finds the key; the found pair becomes the current one, for SupprimeCourant.
    bool bRecherche(const void* pKey, void** ppValue = nullptr, const void** ppKey = nullptr) noexcept;
    bool bRechercheConst(const void* pKey, void** ppValue = nullptr, const void** ppKey = nullptr) const noexcept;
    bool bSupprime(const void* pKey, void** ppValue = nullptr, const void** ppKey = nullptr) noexcept;
    bool bSupprimeDYN(const void* pKey, void** ppValue = nullptr, const void** ppKey = nullptr) noexcept;
    // Removes the pair the last bRecherche found; false when there is none any more.
    bool SupprimeCourant() noexcept;
    void SupprimeTout() noexcept;
    // Rehashes into the first prime at or above nTaille buckets; 0 or less does nothing.
    bool RedimensionneTable(int nTaille) noexcept;
    // The load factors: the table doubles at nHaut elements per bucket, halves below nBas.
    void SetNiveau(int nHaut, int nBas) noexcept;

    int nGetNbElement() const noexcept { return m_nNbElement; }
    int nGetNbBucket() const noexcept { return m_nNbBucket; }

private:
    struct STPaire {
        const void* pKey;
        void* pValue;
    };
    static_assert(sizeof(STPaire) == 16);

    bool _bAlloueBuckets() noexcept;
    CListeDeBuffer* _pclCherche(const void* pKey, STPaire** ppstPaire) const noexcept;
    bool _bRedimensionne(int nNbBucket) noexcept;
    void _RedimentionneTablePlus() noexcept;
    void _RedimentionneTableMoins() noexcept;

    int m_nNiveauHaut = 3;
    int m_nNiveauBas = 1;
    int m_nNbBucket;
    CListeDeBuffer* m_pclBuckets = nullptr;  // allocated on the first add
    int m_nNbElement = 0;
    CListeDeBuffer* m_pclBucketCourant = nullptr;
};

// A CHashBase over functions, for callers who do not derive.
class CHashFonctions : public CHashBase {
public:
    CHashFonctions(PFNHASHVAL pfnHash, PFNCMPHASH pfnCmp, int nNbBucket = kNbBucketMin) noexcept
        : CHashBase(nNbBucket), m_pfnHash(pfnHash), m_pfnCmp(pfnCmp) {}
    uint32_t dwHash(const void* pKey) const noexcept override { return m_pfnHash(pKey); }
    bool bEgal(const void* pKey1, const void* pKey2) const noexcept override { return m_pfnCmp(pKey1, pKey2) == 0; }

private:
    PFNHASHVAL m_pfnHash;
    PFNCMPHASH m_pfnCmp;
};

// ---------------------------------------------------------------------------------------------
// CHashTableBounce

struct _stELEMENT {
    const void* pKey;
    void* pValue;
    uint32_t dwPrecedent;  // 1-based; 0 heads its bucket; 0xffffffff marks a free element
    uint32_t dwSuivant;    // 1-based; 0 none
};
static_assert(sizeof(_stELEMENT) == 24);

class CHashTableBounce {
public:
    static constexpr uint32_t kLibre = 0xffffffffu;

    // The table is sized for dwTaille elements on the first add. Without functions, keys are
    // compared and hashed as addresses.
    explicit CHashTableBounce(uint32_t dwTaille = 0, PFNCMPHASH pfnCmp = nullptr, PFNHASHVAL pfnHash = nullptr) noexcept;
    virtual ~CHashTableBounce();
    CHashTableBounce(const CHashTableBounce&) = delete;
    CHashTableBounce& operator=(const CHashTableBounce&) = delete;

    // Adds the pair in front of its bucket; a key already there makes a second element, found
    // first. False when the table cannot grow.
    bool bAddElement(const void* pKey, void* pValue) noexcept;
    bool bGetElement(const void* pKey, void** ppValue = nullptr, const void** ppKey = nullptr) const noexcept;
    void* pGetElement(const void* pKey) const noexcept;
    // Removes the first element of the key; the table shrinks when it has emptied enough, except
    // while a parse runs.
    bool bDeleteElement(const void* pKey, void** ppValue = nullptr, const void** ppKey = nullptr) noexcept;
    // Removes everything and frees; the next add sizes the table for dwTaille elements.
    void DeleteAll(uint32_t dwTaille = 0) noexcept;

    // A walk of the elements in index order. Start with *pdwCurseur at 0; each call moves the
    // cursor to the next element and answers it, false at the end. While a walk runs the table
    // does not shrink, so elements may be deleted on the way; StopParsing ends the walk, and so
    // does reaching the end when bStopALaFin is set.
    bool bParseTable(uint32_t* pdwCurseur, int bStopALaFin, const void** ppKey, void** ppValue) noexcept;
    void StopParsing() noexcept { m_bParse = 0; }
    // Change the element under the cursor: its value, or its key (the element moves to the key's
    // bucket).
    bool bParseSetElement(uint32_t dwCurseur, void* pValue) noexcept;
    bool bParseSetKey(uint32_t dwCurseur, const void* pKey) noexcept;

    void SetCmp(PFNCMPHASH pfnCmp) noexcept { m_pfnCmp = pfnCmp; }
    void SetHashVal(PFNHASHVAL pfnHash) noexcept { m_pfnHash = pfnHash; }
    PFNCMPHASH pfGetCmp() const noexcept { return m_pfnCmp; }
    PFNHASHVAL pfGetHashVal() const noexcept { return m_pfnHash; }
    uint32_t dwGetNumElement() const noexcept { return m_dwNbElement; }
    uint32_t dwGetCapacite() const noexcept { return m_dwCapacite; }
    uint32_t dwGetNbBucket() const noexcept { return m_dwNbBucket; }
    int nGetNiveau() const noexcept { return m_nNiveau; }
    bool bParseEnCours() const noexcept { return m_bParse != 0; }
    // The element at a 1-based index, for inspection; null for a free or outside index.
    const _stELEMENT* pstGetElement(uint32_t dwIndex) const noexcept;

protected:
    virtual bool __bGrow() noexcept;
    virtual bool __bReduce() noexcept;
    virtual void __RehashElement() noexcept;
    virtual void __Compact(uint32_t dwNouvelleCapacite) noexcept;

private:
    void __Init(uint32_t dwTaille, bool bReset) noexcept;
    uint32_t __dwBucket(const void* pKey) const noexcept;
    uint32_t __dwCherche(const void* pKey) const noexcept;  // 1-based index, 0 when absent
    void __Lie(uint32_t dwIndex) noexcept;                   // in front of its key's bucket
    void __Delie(uint32_t dwIndex) noexcept;                 // out of its bucket chain
    void __DeleteFromHash(uint32_t dwIndex) noexcept;        // unlinked and pushed on the free list
    void __LibereTout() noexcept;

    _stELEMENT* m_pstTable = nullptr;
    uint32_t m_dwCapacite = 0;
    uint32_t m_dwLibre = 0;  // head of the free list, 1-based; 0 when none
    uint32_t* m_pdwBuckets = nullptr;
    uint32_t m_dwNbBucket = 0;
    uint32_t m_dwNbElement = 0;
    int m_bParse = 0;
    PFNCMPHASH m_pfnCmp;
    PFNHASHVAL m_pfnHash;
    int m_nNiveau = 0;
};
