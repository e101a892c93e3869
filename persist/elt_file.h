// Versioned element files: COVFile reads and writes the 20-byte header every file of the system
// starts with; CEltProjetFile builds on it a file of several versions, each made of numbered
// parts, some of them multi-language.
//
// An element file is outside input: every offset and size read is checked against the file
// before it is used, the walk of the version chain ends on a link that does not move forward or
// on more versions than the file could hold, and a part that runs past the end is refused.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "files/xfile.h"

class COVFile : public CXFile {
public:
    static constexpr uint32_t mg_dwSignatureFichierOrvane = 0x00525654;  // "TVR" and a zero byte
    static constexpr uint32_t kdwTailleEntete = 20;
    // The id that stands for every kind of project file.
    static constexpr uint32_t kdwIdProjet = 0x20001;

    struct STEntete {
        uint32_t dwSignature = mg_dwSignatureFichierOrvane;
        uint32_t dwTailleEntete = kdwTailleEntete;
        uint32_t dwIdFichier = 0;
        uint16_t wVersion = 0;
        uint8_t byVersion2 = 0;
        uint8_t byCodeProduit = 0;
        uint16_t wChamp3 = 0;
        uint16_t wChamp4 = 0;
    };

    // dwIdAttendu 0 takes whatever id the file holds.
    explicit COVFile(uint32_t dwIdAttendu = 0) noexcept : m_dwIdAttendu(dwIdAttendu) {}

    // Opens the named file and, unless it is being created empty, reads its header at 0.
    int bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
              int* pbCree) noexcept override;
    // Reads the header of a stream that is already open (a memory stream, say); takes a reference.
    int bOpenEx(IXStream* piFlux) noexcept;
    int bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept override;

    // False with an error of level 3 on the stream for a wrong signature, a header shorter than
    // 20 bytes or past the end of the file, or an id that is not the one expected.
    int bReadHeader(long oOffset) noexcept;
    int bWriteHeader(long oOffset) noexcept;
    // Sets the id and the version words, then writes.
    int bWriteHeaderEx(long oOffset, uint32_t dwIdFichier, uint16_t wVersion, uint8_t byVersion2) noexcept;
    // The id found by the last read that refused it; 0 when none was refused.
    uint32_t dwIdFichierInconnu() const noexcept { return m_dwIdInconnu; }

    // Project ids: 8, 2, 0x102 and the project id itself.
    static bool s_bIsProjet(uint32_t dwId) noexcept;
    bool bIdReconnu(uint32_t dwId) const noexcept;

    const STEntete& stGetEntete() const noexcept { return m_stEntete; }
    STEntete& stGetEntete() noexcept { return m_stEntete; }
    // Where the data behind the header starts: the header's offset plus its size.
    int64_t oGetFinEntete() const noexcept { return m_oEntete + m_stEntete.dwTailleEntete; }

protected:
    // Level 3 on the stream's error, a debug text and a user message about the file; answers 0.
    int _nEchecFormat(const wchar_t* pszDebug, unsigned int nIdMessage) noexcept;
    // Exactly nTaille bytes at oOffset, or false with the short-read debug text of the class.
    bool _bLitExact(int64_t oOffset, void* pData, uint32_t nTaille, const wchar_t* pszClasse) noexcept;

    STEntete m_stEntete;
    uint32_t m_dwIdAttendu;
    uint32_t m_dwIdInconnu = 0;
    int64_t m_oEntete = 0;
};

// One part of a version as read from the tables: offsets are from the start of the file.
struct STPartieElt {
    uint8_t byType = 0;      // low 4 bits of the table byte
    uint8_t byOption = 0;    // high 4 bits, in place
    int64_t oDebut = 0;
    uint32_t dwTaille = 0;
    uint32_t dwInfoEncodage = 0;
    uint32_t dwOffsetEncodage = 0;
};

// One language block of a multi-language part: offset from the start of the file.
struct STLangueElt {
    uint16_t wLangue = 0;
    int64_t oDebut = 0;
    uint32_t dwTaille = 0;
};

// A version to write: its tag and its parts given plain; the writer codes what must be coded.
struct STPartieAEcrire {
    uint8_t byType = 0;
    uint8_t byOption = 0;
    uint32_t dwInfoEncodage = 0;
    uint32_t dwOffsetEncodage = 0;
    std::vector<uint8_t> tabOctets;  // a plain part
    // A multi-language part (option 0x10): the common bytes and one block per language.
    std::vector<uint8_t> tabCommun;
    std::vector<std::pair<uint16_t, std::vector<uint8_t>>> tabLangues;
};
struct STVersionAEcrire {
    std::string sTag;  // code page 1252, cut at 11 characters
    uint32_t dwVersionElement = 1;
    std::vector<STPartieAEcrire> tabParties;
};

class CEltProjetFile : public COVFile {
public:
    static constexpr uint32_t s_dwTailleEnteteEltFixe = 49;
    static constexpr uint32_t s_dwVersionEnteteMulti = 0;
    static constexpr uint8_t kbyOptionMultiLangue = 0x10;
    // The header major this reader knows and writes; the encoding table exists from major 10.
    static constexpr uint16_t kwMajeurEntete = 10;
    static constexpr uint16_t kwMajeurTableEncodage = 10;
    static constexpr uint32_t kdwVersionElement = 1;
    static constexpr uint32_t kdwOffsetNbPartie = 57;

    explicit CEltProjetFile(uint32_t dwIdAttendu = 0) noexcept : COVFile(dwIdAttendu) {}

    // Reads the header and walks the chain of versions; false for a file that cannot be one.
    int bOuvreMemoire(const uint8_t* pbyOctets, size_t nTaille) noexcept;
    int bLitStructure() noexcept;

    // Version 0 is the newest block, the last of the chain; versions 1 up are the older ones in
    // the order of the file, version 1 the first. -1 for a version that does not exist.
    int nNbVersion() const noexcept { return static_cast<int>(m_tabVersions.size()); }
    int64_t oGetOffsetVersion(int nVersion) const noexcept;
    // Selects a version and reads its tables; the part functions below speak of that version.
    int bOuvreVersion(int nVersion) noexcept;
    // Size of the selected version's header, counted from the block's offset 8.
    uint32_t dwTailleEnteteVersion() const noexcept { return m_dwTailleEnteteVersion; }
    // Everything in front of the first version: the file header and the general word.
    uint32_t dwGetTailleEntete() const noexcept { return static_cast<uint32_t>(oGetFinEntete() + 4); }
    // Where the selected version's block ends: the next block, or the end of the file.
    int64_t oGetFinVersion() const noexcept { return m_oFinVersion; }
    const std::string& sGetTag() const noexcept { return m_sTag; }
    uint32_t dwGetMotGeneral() const noexcept { return m_dwMotGeneral; }

    int nNbPartie() const noexcept { return static_cast<int>(m_tabParties.size()); }
    int64_t oGetOffsetPartie(int nPartie) const noexcept;
    uint32_t dwGetTaillePartie(int nPartie) const noexcept;
    uint8_t byGetTypePartie(int nPartie) const noexcept;
    uint8_t byGetOptionPartie(int nPartie) const noexcept;
    int nGetInfoEncodagePartie(int nPartie) const noexcept;
    int nGetOffsetEncodagePartie(int nPartie) const noexcept;
    // The bytes of a part as stored (coded parts stay coded).
    int bGetPartie(int nPartie, std::vector<uint8_t>* ptabOctets) noexcept;
    // Multi-language parts: -1 when the part is not one or its table is damaged.
    int nNbLanguePartie(int nPartie) noexcept;
    // The common zone: from the part's start, this many bytes.
    int bGetInfoLanguePartie(int nPartie, int nLangue, STLangueElt* pstLangue) noexcept;
    int bGetLanguePartie(int nPartie, uint16_t wLangue, std::vector<uint8_t>* ptabOctets) noexcept;
    int64_t oGetTailleCommunePartie(int nPartie) noexcept;

    // Writes a whole file on this object's stream from offset 0: the header (the fields of
    // stGetEntete()), the general word, and the versions in the order given, the last being
    // version 0. Coded parts are coded here with the block compressors.
    int bEcritFichier(const std::vector<STVersionAEcrire>& tabVersions, uint32_t dwMotGeneral) noexcept;

    // Bytes of a multi-language part as laid out in the file (see the .cpp).
    static bool s_bConstruitPartieMulti(const STPartieAEcrire& stPartie, std::vector<uint8_t>* ptabOctets) noexcept;

private:
    bool _bLitTableLangues(int nPartie, std::vector<STLangueElt>* ptabLangues, int64_t* poCommun) noexcept;

    uint32_t m_dwMotGeneral = 0;
    std::vector<int64_t> m_tabVersions;  // in the order of the chain
    std::vector<STPartieElt> m_tabParties;
    uint32_t m_dwTailleEnteteVersion = 0;
    int64_t m_oFinVersion = 0;
    std::string m_sTag;
};

// The pack method a section's or a part's encoding stands for: the high nibble of the low byte
// must be 0, and a low nibble of 1 or 2 is that method; anything else is method 0 (plain).
int __s_eConvertToPackMethod(uint32_t dwEncodage) noexcept;
