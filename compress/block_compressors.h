// Memory-to-memory block compressors: the stored form (type 0), the older LZW coder (type 2), the
// newer LZW coder (type 4) and the text packer of the message block (type 5), behind one front,
// CCompresseur, that switches among them and reads the type byte of a block to decode it.
//
// Block layout, little-endian: type 0 is the type byte, a 32-bit size and the bytes; types 2 and 4
// are the type byte, the 32-bit size of the packed data, the 32-bit original size, two zero bytes
// and the packed data. Type 5 has no header of its own.
//
// Blocks are outside input: every decoder checks each field and code before it uses it, never
// writes past the output it is given, and answers kdwEchec for a block it cannot read.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class CCompresseurBase {
public:
    enum eCOMPRESSEURTYPE : uint8_t {
        eCOMPRESSEUR_COPIE = 0,
        eCOMPRESSEUR_VIEUXBLOC = 2,
        eCOMPRESSEUR_ZLW = 4,
        eCOMPRESSEUR_OVC40 = 5,
    };
    // The answer of a decompression that failed, and of a size asked of a block that has none.
    static constexpr uint32_t kdwEchec = 0xFFFFFFFF;
    static constexpr uint32_t kdwTailleEnteteCopie = 5;
    static constexpr uint32_t kdwTailleEntete = 11;

    CCompresseurBase() = default;
    virtual ~CCompresseurBase();
    CCompresseurBase(const CCompresseurBase&) = delete;
    CCompresseurBase& operator=(const CCompresseurBase&) = delete;

    // The original size a block of type 0, 2 or 4 holds; kdwEchec for any other type or a block
    // too short for its header. The block's length is passed so that no header is read past it.
    virtual uint32_t dwTailleDecompression(const uint8_t* pbyBloc, uint32_t dwTailleBloc);
    // The whole size of such a block, header included; kdwEchec otherwise.
    virtual uint32_t vdwTailleEntree(const uint8_t* pbyBloc, uint32_t dwTailleBloc);
    // The output room compressing dwTaille bytes needs.
    virtual uint32_t dwTailleBufferCompression(uint32_t dwTaille);

    // One block at a time per object: threads queue on its mutex. The answer is the size written,
    // 0 when compression fails (an output smaller than dwTailleBufferCompression, no memory).
    uint32_t dwCompression(const uint8_t* pbyEntree, uint32_t dwTailleEntree, uint8_t* pbySortie,
                           uint32_t dwTailleSortie) noexcept;
    // The size written, kdwEchec for a damaged block or one whose original size does not fit the
    // output (checked before anything is written). 0 is the size of an empty block's content.
    uint32_t dwDecompression(const uint8_t* pbyEntree, uint32_t dwTailleEntree, uint8_t* pbySortie,
                             uint32_t dwTailleSortie) noexcept;

protected:
    // Work on the four fields below, set and cleared by the public front under the mutex.
    virtual uint32_t _dwCompression() = 0;
    virtual uint32_t _dwDecompression() = 0;
    // The 11-byte header of types 2 and 4 at the start of the output.
    virtual void _EcritEntete(uint8_t eType, uint32_t dwTaillePackee);

    // The stored form: type 0, size, bytes. 0 when the output is too small.
    uint32_t _dwCompresseCopie() noexcept;
    // Decodes a type 0 block: the input must be one.
    uint32_t _dwDecompresseCopie() noexcept;
    // The checks every decoder of types 2 and 4 starts with: a whole header of the expected type,
    // packed data inside the input, an original size that fits the output. The packed data and
    // the original size on success.
    bool _bLitEntete(uint8_t eType, const uint8_t** ppbyPacke, uint32_t* pdwTaillePackee,
                     uint32_t* pdwTailleOriginale) const noexcept;

    const uint8_t* m_pbyEntree = nullptr;
    uint32_t m_dwTailleEntree = 0;
    uint8_t* m_pbySortie = nullptr;
    uint32_t m_dwTailleSortie = 0;
    std::recursive_mutex m_clMutex;

private:
    // The front of both directions: under the mutex, sets the four fields, runs pfnTravail,
    // clears them; dwEchec when anything throws.
    uint32_t _dwSousVerrou(uint32_t (CCompresseurBase::*pfnTravail)(), const uint8_t* pbyEntree,
                           uint32_t dwTailleEntree, uint8_t* pbySortie, uint32_t dwTailleSortie,
                           uint32_t dwEchec) noexcept;
};

// LZW of the newer kind: 9 to 16 bits a code, least significant bits first. Code 0 resets the
// dictionary, 0x101 ends, byte b is code b + 1, new strings start at 0x102.
class CZLWCompresseur : public CCompresseurBase {
public:
    CZLWCompresseur();
    ~CZLWCompresseur() override;

    static constexpr uint32_t kdwTailleMinimale = 20;  // shorter blocks are stored

protected:
    uint32_t _dwCompression() override;
    uint32_t _dwDecompression() override;

private:
    struct STEntreeDecodage;
    void _InitDico() noexcept;
    // Enters (prefix, character) as the next free code in a free slot of the hash table.
    bool _bAjouteDico(uint32_t dwPrefixe, uint8_t byCaractere, uint32_t dwSlot) noexcept;

    // The dictionary of the coder, hashed: 131,072 slots, each a code (0 for free) and, beside it so
    // that a probe reads both at once, the string it stands for (prefix << 8 | character).
    std::unique_ptr<uint16_t[]> m_pwHash;
    std::unique_ptr<uint32_t[]> m_pdwCles;
    std::unique_ptr<STEntreeDecodage[]> m_pstDecodage;
    uint32_t m_dwProchain = 0;
    uint32_t m_dwLargeur = 0;
    uint32_t m_dwLimite = 0;
    double m_dMeilleurRatio = 0;
};

// LZW of the older kind: codes from 9 bits up, most significant bits first, single bytes as codes
// 0 to 255. Code 0x100 is an escape followed by a sub-code: 0 the code 0x100 itself, 1 a reset,
// 2 one more bit a code, 3 the end.
class CVieuxBlocCompresseur : public CCompresseurBase {
public:
    CVieuxBlocCompresseur();
    ~CVieuxBlocCompresseur() override;

protected:
    uint32_t _dwCompression() override;
    uint32_t _dwDecompression() override;

private:
    struct STNoeud;
    struct STEntreeDecodage;
    void _InitDico() noexcept;
    // The node slot of (prefix, character): the one holding it, or a free one where it goes;
    // -1 when the probes end on neither.
    int _nCherche(uint32_t dwPrefixe, uint8_t byCaractere) const noexcept;

    std::unique_ptr<STNoeud[]> m_pstNoeuds;  // 32,768 nodes
    std::unique_ptr<STEntreeDecodage[]> m_pstDecodage;
    uint32_t m_dwProchain = 0;
};

// The text packer of the message block (CDataCompressor) over a block: the input is a 32-bit
// length and that many bytes; the output is the packed stream and its zero end mark.
class CCompresseurOVC40 : public CCompresseurBase {
public:
    uint32_t dwTailleDecompression(const uint8_t* pbyBloc, uint32_t dwTailleBloc) override;
    uint32_t vdwTailleEntree(const uint8_t* pbyBloc, uint32_t dwTailleBloc) override;
    uint32_t dwTailleBufferCompression(uint32_t dwTaille) override;

protected:
    uint32_t _dwCompression() override;
    uint32_t _dwDecompression() override;
};

// The front: one algorithm at a time for compression, the block's own type for decompression.
class CCompresseur : public CCompresseurBase {
public:
    static constexpr uint8_t kbyAucun = 0xFF;  // no method chosen yet

    CCompresseur() = default;
    ~CCompresseur() override;

    // 2, 4 and 5 choose that algorithm; 0 and any other value the newer LZW, an unknown value
    // being noted as 4. False only when memory fails.
    bool ChangeMethodeCompression(uint8_t eType) noexcept;
    uint8_t eGetMethodeCompression() const noexcept { return m_eType; }

    // Sizes read from the block's own type byte; with type 5 chosen, those of the text packer.
    uint32_t dwTailleDecompression(const uint8_t* pbyBloc, uint32_t dwTailleBloc) override;
    uint32_t vdwTailleEntree(const uint8_t* pbyBloc, uint32_t dwTailleBloc) override;
    uint32_t dwTailleBufferCompression(uint32_t dwTaille) override;

    // With eType 5 the input is a packed text stream; with any other value its first byte names
    // the algorithm that decodes it, and the chosen method stays as it was.
    uint32_t dwDecompression(const uint8_t* pbyEntree, uint32_t dwTailleEntree, uint8_t* pbySortie,
                             uint32_t dwTailleSortie, uint8_t eType) noexcept;
    using CCompresseurBase::dwDecompression;

protected:
    uint32_t _dwCompression() override;
    uint32_t _dwDecompression() override;

private:
    CCompresseurBase* _pclObjet(uint8_t eType);  // made on first use, kept for the next blocks

    uint8_t m_eType = kbyAucun;
    std::unique_ptr<CCompresseurBase> m_apclObjets[3];  // types 2, 4, 5
};

// ---------------------------------------------------------------- packing of a region

// The pack methods of the serialisation buffer: 0 none, 1 the newer LZW, 2 the text packer.
namespace ovcompresse {

inline constexpr int kMethodeMax = 2;

// The compressor type of a pack method: 0 and 1 give 4, 2 gives 5, anything else -1.
int g_eGetCompresseurType(int nMethode) noexcept;

// The compress method of a crypt option word: its high 16 bits once the ANSI request (bit 26) is
// masked off.
inline uint32_t GetCompressMethod(uint32_t dwOption) noexcept { return (dwOption & 0xFBFFFFFFu) >> 16; }

// Packs the bytes of *ptabDonnees from nPremierOctetCode to the end in place with pack method
// nMethode; the bytes in front stay as they are. Method 0 leaves the region as it is. False, and
// the vector unchanged, for a method above 2 or a failure of memory.
bool bPackeRegion(std::vector<uint8_t>* ptabDonnees, size_t nPremierOctetCode, int nMethode) noexcept;
// The inverse. For method 2 the region is the packed stream; otherwise a block whose header gives
// the sizes. False, and the vector unchanged, for a damaged region.
bool bDepackeRegion(std::vector<uint8_t>* ptabDonnees, size_t nPremierOctetCode, int nMethode) noexcept;

// A compressed string: with method 2 the packed stream of (32-bit length, bytes); with method 0
// or 1 the byte 2, the 32-bit method, then that region packed. The length counts bytes: four a
// character for wide text. Results of the functions below.
enum eRESULTAT : int {
    eOK = 0,
    eMETHODE_INVALIDE = 1,  // a method above 2, asked or read in the data
    eDONNEES_ENDOMMAGEES = 2,
    eMEMOIRE = 3,
};
int _ChaineCompresse(std::vector<uint8_t>* ptabSortie, const wchar_t* pszTexte, size_t nNbCaracteres,
                     int nMethode) noexcept;
int _ChaineCompresseA(std::vector<uint8_t>* ptabSortie, const uint8_t* pbyOctets, size_t nTaille,
                      int nMethode) noexcept;
// The bytes a compressed string holds. An empty value gives no bytes.
int _ChaineDecompresse(std::vector<uint8_t>* ptabSortie, const uint8_t* pbyValeur, size_t nTaille,
                       int nMethode) noexcept;

}  // namespace ovcompresse
