// CMemoryStream: IXStream on a block of memory, either the caller's (associated) or its own,
// which grows as it is written.
#pragma once

#include <cstdint>

#include "files/stream.h"

class CMemoryStream : public IXStream {
public:
    // State byte.
    enum : uint8_t {
        ETAT_FERME = 0,
        ETAT_ASSOCIE = 1,         // a caller's block is adopted, not yet opened
        ETAT_CREE = 2,            // opened on memory of its own
        ETAT_OUVERT_ASSOCIE = 3,  // opened on the associated block
    };
    // Mode bits.
    enum : uint8_t {
        MODE_LECTURE = 0x01,
        MODE_ECRITURE = 0x02,
        MODE_ASSOCIE = 0x04,
        MODE_PROPRIETAIRE = 0x08,   // owns its memory and frees it
        MODE_AUTOEXPANSION = 0x10,  // a seek past the end grows the block
    };

    CMemoryStream() noexcept = default;
    ~CMemoryStream() override;

    // Adopts a caller's block without owning it; only a closed stream may.
    int bAssociate(void* pBloc, unsigned int nTaille) noexcept;
    int bSetAutoExpandMode(int bActif) noexcept;
    // Frees owned memory; an associated block is only forgotten.
    void __DeleteMemory() noexcept;
    void* pGetAddress() const noexcept { return m_pbyBase; }

    int bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
              int* pbCree) noexcept override;
    void Close() noexcept override { m_byEtat = ETAT_FERME; }
    using IXStream::bRead;
    using IXStream::bWrite;
    int bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept override;
    int bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept override;
    int bSeek(long oOffset, eSEEK eOrigine) noexcept override;
    long oGetSize() noexcept override { return m_nTaille; }
    long oGetSizeFast() noexcept override { return m_nTaille; }
    int bSetSize(long oTaille, eGROW eGrow) noexcept override;
    const wchar_t* pszGetName() noexcept override { return m_pszNom; }
    long oGetOffset() noexcept override { return m_pbyCurseur - m_pbyBase; }
    int bIsOpen() noexcept override { return m_byEtat == ETAT_CREE || m_byEtat == ETAT_OUVERT_ASSOCIE; }
    eACCESS veGetAccess() noexcept override;

    uint8_t byGetEtat() const noexcept { return m_byEtat; }
    uint8_t byGetMode() const noexcept { return m_byMode; }

private:
    int _nEchec(int nErreur, unsigned int nIdMessage) noexcept;
    // Makes the owned block nNouvelleTaille bytes long, new bytes zeroed; the cursor follows.
    bool _bRedimensionne(uint64_t nNouvelleTaille) noexcept;

    uint8_t m_byEtat = ETAT_FERME;
    uint8_t m_byMode = 0;
    uint8_t* m_pbyBase = nullptr;
    uint8_t* m_pbyCurseur = nullptr;
    uint32_t m_nTaille = 0;
    wchar_t* m_pszNom = nullptr;
};
