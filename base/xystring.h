// CXYString<T>: counted, shared, copy-on-write text (T is char or wchar_t), and CZKBIN, the same
// block for binary values. The object is one pointer to the first data byte, null for the empty
// value; copying adds one to the block's atomic count and moves no byte, so values are passed by
// value freely, and the machine reads the same blocks. Writing to a shared block first makes a
// private copy, so another holder never sees the change.
//
// Every operation that can fail answers 0 or a code: 0x6c (STRMEM_ERREUR_TAILLE) for a size out of
// range, 0x69 (STRMEM_ERREUR_CONVERSION) for text that does not convert, or the allocator's code.
// Assignments and concatenations keep the old value on failure; the nAffecte conversions release
// it first and leave the null value. Lengths are in characters of T (bytes for CZKBIN); -1 means
// "up to the terminator". Positions are 0-based.
#pragma once

#include <cstdint>
#include <type_traits>

#include "base/str_mem.h"

// Code pages the conversions take. 8-bit text at this platform's borders is UTF-8 unless a code
// page says otherwise.
inline constexpr unsigned int XYS_CP_UTF8 = 65001;
inline constexpr unsigned int XYS_CP_1252 = 1252;

template <typename T>
class CXYString {
    static_assert(sizeof(T) == 1 || sizeof(T) == 4, "CXYString holds char or wchar_t");

public:
    using TCaractere = T;
    // The other width: what the conversions of __nConversion start from.
    using TAutre = std::conditional_t<sizeof(T) == 1, wchar_t, char>;

    CXYString() noexcept = default;
    CXYString(const CXYString& clAutre) noexcept : m_pData(clAutre.m_pData) { CBaseStrMem::s_AddRefStrMem(m_pData); }
    CXYString(CXYString&& clAutre) noexcept : m_pData(clAutre.m_pData) { clAutre.m_pData = nullptr; }
    // A copy of the text; the null value when memory fails.
    explicit CXYString(const T* pszTexte, int nLongueur = -1) noexcept { nAffecte(pszTexte, nLongueur); }
    ~CXYString() { CBaseStrMem::s_ReleaseStrMem(m_pData); }
    CXYString& operator=(const CXYString& clAutre) noexcept;
    CXYString& operator=(CXYString&& clAutre) noexcept;
    CXYString& operator=(const T* pszTexte) noexcept {
        nAffecte(pszTexte);
        return *this;
    }

    // ---- blocks of the machine
    // A holder of the block that takes its own reference (an argument the machine lends).
    static CXYString s_clPartage(const void* pBloc) noexcept;
    // A holder that adopts a reference the caller owns.
    static CXYString s_clAdopte(void* pBloc) noexcept;
    // Hands this holder's reference to the caller and leaves the null value.
    void* pDetache() noexcept;
    void* pGetBloc() const noexcept { return m_pData; }
    // The address of the block pointer: what SetRetour takes for a counted result.
    const void* pvGetAdresse() const noexcept { return &m_pData; }

    // ---- reads
    // Never null: the empty text for the null value.
    const T* pszGet() const noexcept { return m_pData ? static_cast<const T*>(m_pData) : CBaseStrMem::s_pVide<T>(); }
    operator const T*() const noexcept { return pszGet(); }
    int nGetLongueur() const noexcept { return CBaseStrMem::s_nLongueur(m_pData) / static_cast<int>(sizeof(T)); }
    int nGetTaille() const noexcept { return CBaseStrMem::s_nLongueur(m_pData); }
    bool bEstVide() const noexcept { return nGetTaille() == 0; }
    bool bEstNull() const noexcept { return m_pData == nullptr; }
    int nGetRef() const noexcept { return CBaseStrMem::s_nGetRef(m_pData); }
    bool bEstEgal(const T* pszTexte, int nLongueur = -1) const noexcept;
    bool operator==(const CXYString& clAutre) const noexcept { return bEstEgal(clAutre.pszGet(), clAutre.nGetLongueur()); }

    // ---- writes
    // nLongueur 0 (or a null or empty text) releases this reference and leaves null. A private
    // block with enough capacity is reused.
    int nAffecte(const T* pszTexte, int nLongueur = -1) noexcept;
    // Shares the other's block.
    void Affecte(const CXYString& clAutre) noexcept { *this = clAutre; }
    int nConcat(const T* pszTexte, int nLongueur = -1) noexcept;
    int nConcat(const CXYString& clAutre) noexcept;
    // Releases this reference: the null value.
    void Vide() noexcept;
    // A private buffer of nLongueur characters to write into, the old text kept as far as it goes,
    // length set to nLongueur and terminated. Null on failure (*pnErreur then holds the code).
    T* pszGetBuffer(int nLongueur, int* pnErreur = nullptr) noexcept;
    // Cuts the text to nLongueur characters (no effect if it is shorter).
    int nTronque(int nLongueur) noexcept;

    // ---- conversions (nAffecte family): release the old text first, null on failure
    // UTF-8 bytes: decoded for wide text, checked and copied for 8-bit text. 0x69 on a bad sequence.
    int nAffecteUTF8(const char* pszTexte, int nOctets = -1) noexcept;
    // UTF-16 units, surrogate pairs joined; 0x69 on a lone surrogate. For 8-bit text, to UTF-8.
    int nAffecteUTF16(const char16_t* pszTexte, int nUnites = -1) noexcept;
    // UTF-32 characters; 0x69 past U+10FFFF or on a surrogate. For 8-bit text, to UTF-8.
    int nAffecteUTF32(const char32_t* pszTexte, int nCaracteres = -1) noexcept;
    // Writes the UTF-8 form of this text into pclSortie (8-bit text is taken as UTF-8 already).
    int nAffecteToUTF8(CXYString<char>* pclSortie) const noexcept;
    // Text of the other width. Wide from 8-bit: the code page (1252 without flags takes the direct
    // table); 8-bit from wide: into the code page, characters it lacks becoming cDefaut. nSupplement
    // characters of capacity are kept free past the text for the caller's appends.
    int __nConversion(const TAutre* pszTexte, int nLongueur, int nSupplement, unsigned int nCodePage,
                      unsigned int dwFlags, T cDefaut = static_cast<T>('?')) noexcept;
    // A copy of the text, answering whether it was made.
    bool bCreateY(const T* pszTexte, int nLongueur = -1) noexcept { return nAffecte(pszTexte, nLongueur) == 0; }

private:
    void* m_pData = nullptr;
};

extern template class CXYString<char>;
extern template class CXYString<wchar_t>;

using CWString = CXYString<wchar_t>;
using CAString = CXYString<char>;

// Conversions that answer a new value; the null value (and the code in *pnErreur) on failure.
CXYString<wchar_t> PCASTR_To_CWString(const char* pszTexte, int nLongueur, unsigned int nCodePage,
                                      int* pnErreur = nullptr) noexcept;
CXYString<wchar_t> UTF8_To_CWString(const char* pszTexte, int nLongueur = -1, int* pnErreur = nullptr) noexcept;
CXYString<char> PCWSTR_To_CAString(const wchar_t* pszTexte, int nLongueur, unsigned int nCodePage,
                                   int* pnErreur = nullptr) noexcept;
CXYString<char> PCWSTR_To_UTF8(const wchar_t* pszTexte, int* pnErreur = nullptr) noexcept;
CXYString<char> PCWSTR_N_To_UTF8(const wchar_t* pszTexte, int nLongueur, int* pnErreur = nullptr) noexcept;
CXYString<char> CWString_To_UTF8(const CXYString<wchar_t>& clTexte, int* pnErreur = nullptr) noexcept;
CXYString<char> CAString_To_UTF8(const CXYString<char>& clTexte, unsigned int nCodePage,
                                 int* pnErreur = nullptr) noexcept;
CXYString<char> PCASTR_To_UTF8(const char* pszTexte, unsigned int nCodePage, int* pnErreur = nullptr) noexcept;
CXYString<char> PCASTR_N_To_UTF8(const char* pszTexte, int nLongueur, unsigned int nCodePage,
                                 int* pnErreur = nullptr) noexcept;
CXYString<char> UTF8_To_CAString(const char* pszTexte, int nLongueur, unsigned int nCodePage,
                                 int* pnErreur = nullptr) noexcept;

// A binary value: the same counted block, with a useful size in its header that the value's
// owner may set apart from the length (SetUtilSize) and that concatenation keeps.
class CZKBIN {
public:
    CZKBIN() noexcept = default;
    CZKBIN(const CZKBIN& clAutre) noexcept : m_pData(clAutre.m_pData) { CBaseStrMem::s_AddRefStrMem(m_pData); }
    CZKBIN(CZKBIN&& clAutre) noexcept : m_pData(clAutre.m_pData) { clAutre.m_pData = nullptr; }
    // Shares a block of the machine (takes its own reference).
    explicit CZKBIN(const void* pBloc) noexcept : m_pData(const_cast<void*>(pBloc)) {
        CBaseStrMem::s_AddRefStrMem(m_pData);
    }
    // A copy of the bytes; the null value when memory fails.
    CZKBIN(const void* pOctets, int nLongueur) noexcept { nAssign(pOctets, nLongueur, 0); }
    ~CZKBIN() { CBaseStrMem::s_ReleaseStrMem(m_pData); }
    CZKBIN& operator=(const CZKBIN& clAutre) noexcept;
    CZKBIN& operator=(CZKBIN&& clAutre) noexcept;

    static CZKBIN s_clAdopte(void* pBloc) noexcept;
    void* pDetache() noexcept;
    void* pGetBloc() const noexcept { return m_pData; }
    const void* pvGetAdresse() const noexcept { return &m_pData; }

    // ---- reads
    // Never null: the shared empty block for the null value.
    const uint8_t* pbyGet() const noexcept {
        return m_pData ? static_cast<const uint8_t*>(m_pData) : CBaseStrMem::s_pVide<uint8_t>();
    }
    int nGetTaille() const noexcept { return CBaseStrMem::s_nLongueur(m_pData); }
    int nGetTailleUtile() const noexcept { return m_pData ? CBaseStrMem::s_pstEntete(m_pData)->nTailleUtile : 0; }
    int nGetCapacite() const noexcept { return CBaseStrMem::s_nCapacite(m_pData); }
    bool bEstVide() const noexcept { return nGetTaille() == 0; }
    bool bEstNull() const noexcept { return m_pData == nullptr; }
    int nGetRef() const noexcept { return CBaseStrMem::s_nGetRef(m_pData); }
    // Useful size: a private copy is made first when the block is shared. 0 or a code.
    int SetUtilSize(int nTailleUtile) noexcept;

    // ---- assignment
    // Shares the other's block (the int is reserved and ignored).
    void Assign(const CZKBIN* pclAutre, int nReserve = 0) noexcept;
    // A copy of the bytes; length 0 drops only this reference and leaves null. A private block of
    // enough capacity is reused.
    int nAssign(const void* pOctets, int nLongueur, unsigned int dwFlags = 0) noexcept;
    // A copy of the bytes into a new block, never reusing the old one.
    int nAssignInit(const void* pOctets, int nLongueur) noexcept;
    // Takes the other's reference; the other is left null.
    void Take(CZKBIN* pclAutre) noexcept;

    // ---- concatenation
    // An empty source does nothing; a null target behaves as an assignment.
    int nConcat(const void* pOctets, int nLongueur) noexcept;
    int nConcat(const CZKBIN& clAutre) noexcept { return nConcat(clAutre.pbyGet(), clAutre.nGetTaille()); }
    // This value becomes clA followed by clB.
    int nConcatInit(const CZKBIN& clA, const CZKBIN& clB, unsigned int dwFlags = 0) noexcept;
    // Appends clSeparateur then clAjout; the separator is left out when this value is empty,
    // unless bSeparateurSiVide.
    int nConcatSeparateur(const CZKBIN& clSeparateur, const CZKBIN& clAjout, int bSeparateurSiVide = 0) noexcept;
    // This value becomes clMotif repeated nFois times (null for nFois <= 0).
    int nRepete(const CZKBIN& clMotif, int nFois) noexcept;

    // ---- size
    // New length: bytes past the old length are zeroed.
    int nSetSize(int nTaille, unsigned int dwFlags = 0) noexcept;
    // Capacity for at least nTaille bytes, length unchanged.
    int nSetMemorySize(int nTaille, unsigned int dwFlags = 0) noexcept;
    // Cuts to nTaille bytes (no effect if shorter).
    int Tronque(int nTaille) noexcept;

    // ---- pieces
    // Replaces nLongueur bytes at nPosition (clipped to the value) by clPar.
    int Remplace(int nPosition, int nLongueur, const CZKBIN& clPar) noexcept;
    // nLongueur bytes from nDebut (-1: to the end), clipped; empty when nDebut is past the end.
    CZKBIN clMilieu(int nDebut, int nLongueur = -1) const noexcept;
    int nMilieu(CZKBIN* pclCible, int nDebut, int nLongueur = -1) const noexcept;
    // Position of the bytes from nDebut on, -1 when absent. An empty pattern is found at nDebut.
    int nPos(const void* pOctets, int nLongueur, int nDebut = 0) const noexcept;
    // Byte order, then length: <0, 0, >0.
    static int nCompare(const CZKBIN& clA, const CZKBIN& clB) noexcept;
    // The first nLongueur bytes of each (shorter values compare as cut).
    static int nCompare(const CZKBIN& clA, const CZKBIN& clB, int nLongueur) noexcept;
    bool bCommencePar(const void* pOctets, int nLongueur) const noexcept;
    bool bTerminePar(const void* pOctets, int nLongueur) const noexcept;
    bool bContient(const void* pOctets, int nLongueur) const noexcept { return nPos(pOctets, nLongueur) >= 0; }

    // ---- text held as bytes
    // The bytes taken as wide text (UTF-32 characters) become 8-bit text in the code page.
    int nAffecteToANSI(unsigned int nCodePage = XYS_CP_UTF8) noexcept;
    // The bytes taken as 8-bit text in the code page become wide text (UTF-32 characters).
    int nAffecteToUNICODE(unsigned int nCodePage = XYS_CP_UTF8) noexcept;

private:
    void* m_pData = nullptr;
};

static_assert(sizeof(CXYString<wchar_t>) == sizeof(void*) && sizeof(CZKBIN) == sizeof(void*),
              "a counted value is its block pointer, as the machine reads it");
