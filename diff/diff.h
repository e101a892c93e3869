// Binary differences: the stored form of a difference (CDiffBuffer, its sections and their
// instructions) and CDiffXDelta, which computes a difference from a source and a target and
// applies one to a source.
//
// Stored form, all integers 32-bit little-endian: "DIF" and a zero, the header size (28), the
// format version (1), the pack method of the body, the CRC-32 of the source and of the target,
// the block size (128), the section count and the target size; then the body, every section one
// after the other, packed as one region with the pack method, running to the end of the value.
// This layout is kept from release to release: golden differences pin it in the tests.
//
// A difference is outside input. Every offset, length, count and size read from one is checked
// before it is used, and the target is allocated only once the sections are known to produce
// exactly its size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/tableau.h"

enum EDiffInstructionType : uint32_t {
    eDIFF_COPIE = 0,      // bytes of the section's source range
    eDIFF_INSERTION = 1,  // bytes of the section's data
};

// A bounded reader of little-endian words over bytes it does not own.
class CLecteurDiff {
public:
    CLecteurDiff(const uint8_t* pby, size_t nTaille) noexcept : m_pby(pby), m_nTaille(nTaille) {}
    bool bLit32(uint32_t* pdw) noexcept;
    // The next nTaille bytes, in place; null when fewer remain.
    const uint8_t* pbyLit(size_t nTaille) noexcept;
    bool bSaute(size_t nTaille) noexcept { return pbyLit(nTaille) != nullptr || nTaille == 0; }
    size_t nGetReste() const noexcept { return m_nTaille - m_nPosition; }

private:
    const uint8_t* m_pby;
    size_t m_nTaille;
    size_t m_nPosition = 0;
};

class CDiffInstruction {
public:
    static constexpr uint32_t kdwTaille = 12;

    CDiffInstruction() noexcept = default;
    CDiffInstruction(EDiffInstructionType eType, uint32_t dwDebut, uint32_t dwFin) noexcept
        : m_eType(eType), m_dwDebut(dwDebut), m_dwFin(dwFin) {}
    CDiffInstruction(const CDiffInstruction&) noexcept = default;
    CDiffInstruction& operator=(const CDiffInstruction&) noexcept = default;

    void Serialize(std::vector<uint8_t>* ptab) const;
    bool bDeserialize(CLecteurDiff* pclLecteur) noexcept;

    EDiffInstructionType m_eType = eDIFF_COPIE;
    uint32_t m_dwDebut = 0;  // copy: in the section's source range; insert: in its data
    uint32_t m_dwFin = 0;    // one past the last byte, same reference
};

class CDiffBufferSection {
public:
    // The total size and the header size fields, then the header's 36 bytes.
    static constexpr uint32_t kdwTailleEntete = 36;
    static constexpr uint32_t kdwTailleMin = 8 + kdwTailleEntete;

    CDiffBufferSection() noexcept = default;
    CDiffBufferSection(uint32_t dwDebutSource, uint32_t dwFinSource, uint32_t dwDebutCible, uint32_t dwFinCible,
                       uint32_t dwEncodage = 0, uint32_t dwPremierOctetCode = 0) noexcept
        : m_dwEncodage(dwEncodage), m_dwPremierOctetCode(dwPremierOctetCode), m_dwDebutSource(dwDebutSource),
          m_dwFinSource(dwFinSource), m_dwDebutCible(dwDebutCible), m_dwFinCible(dwFinCible) {}

    void AddCopyInstruction(uint32_t dwDebut, uint32_t dwFin);
    // Appends the bytes to the data and an insert that covers them; nothing for 0 bytes.
    void AddInsertInstruction(const uint8_t* pby, size_t nLongueur);
    // The cursor's walk: false at the end. For an insert the bytes in the data and their count
    // (the instruction was checked against the data when read); for a copy, null and 0.
    bool bGetFirstInstruction(CDiffInstruction* pclInstruction, const uint8_t** ppbyDonnees, uint32_t* pnLongueur) noexcept;
    bool bGetNextInstruction(CDiffInstruction* pclInstruction, const uint8_t** ppbyDonnees, uint32_t* pnLongueur) noexcept;

    void Serialize(std::vector<uint8_t>* ptab) const;
    bool bDeserialize(CLecteurDiff* pclLecteur) noexcept;

    int nGetNbInstruction() const noexcept { return static_cast<int>(m_tabInstructions.size()); }
    const std::vector<CDiffInstruction>& tabGetInstructions() const noexcept { return m_tabInstructions; }
    const std::vector<uint8_t>& tabGetDonnees() const noexcept { return m_tabDonnees; }

    uint32_t m_dwGenre = 0;
    uint32_t m_dwEncodage = 0;
    uint32_t m_dwPremierOctetCode = 0;
    uint32_t m_dwDebutSource = 0;
    uint32_t m_dwFinSource = 0;
    uint32_t m_dwDebutCible = 0;
    uint32_t m_dwFinCible = 0;

private:
    std::vector<CDiffInstruction> m_tabInstructions;
    std::vector<uint8_t> m_tabDonnees;
    size_t m_nCurseur = 0;
};

class CDiffBuffer {
public:
    static constexpr uint32_t mg_dwDiffFileSignature = 0x00464944;  // "DIF" and a zero
    static constexpr uint32_t kdwTailleEntete = 28;  // counted from offset 8
    static constexpr uint32_t kdwVersionFormat = 1;
    static constexpr uint32_t kdwTailleBloc = 128;
    static constexpr size_t kTailleEnteteComplete = 8 + kdwTailleEntete;

    CDiffBuffer() noexcept = default;
    ~CDiffBuffer() { ClearSections(); }
    CDiffBuffer(const CDiffBuffer&) = delete;
    CDiffBuffer& operator=(const CDiffBuffer&) = delete;

    int nGetNbSections() const noexcept { return m_tabSections.nGetNbElement(); }
    CDiffBufferSection* pclGetSectionAt(int nIndex) const noexcept {
        return nIndex >= 0 && nIndex < nGetNbSections() ? m_tabSections[nIndex] : nullptr;
    }
    // Takes ownership; the index, or -1 when memory fails (the section is then deleted).
    int nAddSection(CDiffBufferSection* pclSection) noexcept;
    void ClearSections() noexcept;

    // Header and packed body; false when packing fails.
    bool Serialize(std::vector<uint8_t>* ptab) const noexcept;
    // False for anything that is not a whole difference: a bad signature or version, a header or
    // body cut short, a pack method not known, a body that does not unpack, counts that cannot fit.
    bool bDeserialize(const uint8_t* pby, size_t nTaille) noexcept;

    uint32_t m_dwVersion = kdwVersionFormat;
    uint32_t m_dwMethodePack = 1;
    uint32_t m_dwCrcSource = 0;
    uint32_t m_dwCrcCible = 0;
    uint32_t m_dwTailleBloc = kdwTailleBloc;
    uint32_t m_dwTailleCible = 0;

private:
    CTTableau<CDiffBufferSection*> m_tabSections{20, 30};
};

class CDiffXDelta {
public:
    enum EErrorType : int {
        eERREUR_AUCUNE = 0,
        eERREUR_BUFFER = 1,
        eERREUR_MALFORME = 2,
        eERREUR_CRC_SOURCE = 3,
        eERREUR_CRC_CIBLE = 4,
        eERREUR_LIMITE = 5,
        eERREUR_SOURCE_VIDE = 6,
        eERREUR_IDENTIQUES = 7,
    };
    // The most bytes a target may have: the language's binary values are counted by an int.
    static constexpr uint32_t kdwTailleCibleMax = 0x7FFFFFF0;

    // The share of the source's size a difference may take, in percent; 0 or less: no limit.
    void SetLimite(int nPourcent) noexcept { m_nLimite = nPourcent; }
    EErrorType eGetErreur() const noexcept { return m_eErreur; }
    // The message number of an error: 81650 to 81656 (81650 for any value not listed).
    static int s_nNumeroMessage(EErrorType eErreur) noexcept;

    // Null pointers are missing buffers; an empty target too (the language has no other null).
    bool bComputeDiff(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyCible, size_t nCible,
                      std::vector<uint8_t>* ptabResultat, bool bDecomposition) noexcept;
    bool bApplyDiff(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyDiff, size_t nDiff,
                    std::vector<uint8_t>* ptabResultat) noexcept;
    // Applies the difference and compares with the expected target.
    bool __bValidateDiff(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyDiff, size_t nDiff,
                         const uint8_t* pbyCible, size_t nCible) noexcept;

    // The matching of one pair of ranges, exposed for the tests: instructions into the section.
    static void s_CalculeDelta(const uint8_t* pbySource, size_t nSource, const uint8_t* pbyCible, size_t nCible,
                               CDiffBufferSection* pclSection);

private:
    bool _bEchec(EErrorType eErreur) noexcept {
        m_eErreur = eErreur;
        return false;
    }
    bool __ComputeSections(CDiffBuffer* pclDiff, bool bDecomposition) noexcept;
    bool __bComputeSectionsEltProjectFile(CDiffBuffer* pclDiff) noexcept;
    // Cuts out the section's two ranges (decoded when the section is encoded); false for a range
    // outside its buffer or a coded range that does not decode.
    bool __bInitDiffBuffers(const CDiffBufferSection& clSection, bool bAvecCible, std::vector<uint8_t>* ptabSource,
                            std::vector<uint8_t>* ptabCible, const uint8_t** ppbySource, size_t* pnSource,
                            const uint8_t** ppbyCible, size_t* pnCible) noexcept;
    bool __bComputeDelta(CDiffBufferSection* pclSection) noexcept;

    const uint8_t* m_pbySource = nullptr;
    size_t m_nSource = 0;
    const uint8_t* m_pbyCible = nullptr;
    size_t m_nCible = 0;
    int m_nLimite = -1;
    EErrorType m_eErreur = eERREUR_AUCUNE;
};

// Adler-32 with seed 0 (the search's) of a window moved one byte on, from the window's sum, its
// length, the byte that leaves and the byte that enters: nAdler32(0, ...) of the moved window.
uint32_t dwAdlerGlisse(uint32_t dwSomme, uint32_t dwLongueur, uint8_t bySortant, uint8_t byEntrant) noexcept;
