// COVBuffer: the growing memory buffer with one read and write cursor through which the library
// serialises its structures into the binary form that files and shared memory hold; it can pack
// and encipher everything behind a chosen offset (the "coded region") and undoes both lazily, on
// the first access that steps into that region. COVBufferMark adds sized sections and the 12-byte
// main header; CSimpleBuffer and its views carry sized byte blocks; CBufferStream builds wide text.
//
// Every read is bounded by the used size: a string, section or nested buffer whose size field
// points past the data fails instead of reading on. Scalars go out little-endian, untagged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "base/error.h"
#include "base/xystring.h"

class CTString;
class CCrypt;
class CXFile;
class IXStream;
class CDateTimeBase;
class CSimpleBuffer;

// How strings are written and read:
// 1: marked UTF-8 (start mark, 32-bit total size, text and zero, end mark); an empty text is one
//    zero byte. A marked string that does not validate fails.
// 2: 8-bit text in a code page and a zero byte.
// 3: as 1, but an empty text is written in the full marked form too.
// 4: UTF-8 and a zero byte, no marks.
// On reading, mode 4 also accepts the marked form; mode 2 reads the old form only.
enum EModeTString : int {
    eMODETSTRING_UTF8_MARQUE = 1,
    eMODETSTRING_ANSI = 2,
    eMODETSTRING_UTF8_MARQUE_COMPLET = 3,
    eMODETSTRING_UTF8 = 4,
};

// Where a read string goes when the caller owns the storage.
class IStringFiller {
public:
    virtual ~IStringFiller() = default;
    // The whole text, nCaracteres characters followed by a zero. False stops the read as a failure.
    virtual bool bFill(const wchar_t* pszTexte, int nCaracteres) noexcept = 0;
};

class COVBuffer : public COVUnknown {
public:
    // 0 none, 1 the library's own byte mixer.
    enum eBUFFER_CRYPTMETHOD : int { eBUFFER_CRYPT_AUCUN = 0, eBUFFER_CRYPT_HOMEMADE = 1 };
    // 0 none, 1 the newer LZW block coder, 2 the text packer (which suits text only: a region it
    // cannot pack fails ForceCode and stays clear).
    enum eBUFFER_PACKMETHOD : int { eBUFFER_PACK_AUCUN = 0, eBUFFER_PACK_LZW = 1, eBUFFER_PACK_TEXTE = 2 };
    enum eORIGINE : int { eORIGINE_DEBUT = 0, eORIGINE_COURANT = 1, eORIGINE_FIN = 2 };

    static constexpr unsigned long kdwPasParDefaut = 4096;
    // Sizes on the wire are 32-bit; the buffer never grows past what they can describe.
    static constexpr unsigned long kdwTailleMax = 0x7FFFFF00;
    static constexpr size_t kTailleCle = 16;

    COVBuffer() noexcept;
    COVBuffer(unsigned long nTaille, unsigned long nPas) noexcept;
    explicit COVBuffer(unsigned long nTaille) noexcept;
    COVBuffer(eBUFFER_PACKMETHOD ePack, unsigned long nTaille, unsigned long nPas) noexcept;
    // A null password, 8-bit password and key all null: the built-in fallback password.
    COVBuffer(eBUFFER_CRYPTMETHOD eCrypt, eBUFFER_PACKMETHOD ePack, unsigned long nTaille, unsigned long nPas,
              const wchar_t* pszMotDePasse, const char* pszMotDePasseAnsi = nullptr,
              const unsigned char* pbyCle = nullptr) noexcept;
    ~COVBuffer() override;
    COVBuffer(const COVBuffer&) = delete;
    COVBuffer& operator=(const COVBuffer&) = delete;

    // ---- building
    // Empties and reserves nTaille bytes, with nPas as growth step (0 keeps the default).
    bool InitMemoire(unsigned long nTaille, unsigned long nPas) noexcept;
    // Empties the data; methods, key and first coded byte stay.
    void ClearAll() noexcept;
    // Sets the used size (the new bytes are zero); the cursor falls back to 0 if it is now past it.
    bool SetSize(unsigned long nTaille) noexcept;
    // Reserves room for nTaille bytes without changing the used size.
    bool Resize(unsigned long nTaille) noexcept;
    // Moves the cursor; past the used size the data grow with zero bytes. False for a target before
    // the start or past kdwTailleMax.
    bool Seek(long nDeplacement, eORIGINE eOrigine = eORIGINE_DEBUT) noexcept;
    // Moves the cursor within the used size only; false (cursor unchanged) otherwise.
    bool SeekNoResize(long nDeplacement, eORIGINE eOrigine = eORIGINE_DEBUT) noexcept;

    unsigned long dwGetPosition() const noexcept { return m_nCurseur; }
    unsigned long dwGetSize() const noexcept { return m_nTailleUtilisee; }
    unsigned long dwGetAllocatedSize() const noexcept { return m_nTailleAllouee; }
    unsigned long dwGetReste() const noexcept { return m_nTailleUtilisee - m_nCurseur; }
    bool bFinDonnees() const noexcept { return m_nCurseur >= m_nTailleUtilisee; }
    // The bytes as they stand, coded or not: no decoding happens. Null when empty.
    uint8_t* pbyGetData() noexcept { return m_pbyDonnees; }
    const uint8_t* pbyGetData() const noexcept { return m_pbyDonnees; }

    // ---- data
    // Writes at the cursor and moves it; the data grow as needed. False only when memory fails or
    // the coded region does not decode.
    bool Set(const void* pData, unsigned long nTaille) noexcept {
        if (!m_bCode && pData != nullptr && nTaille <= m_nTailleAllouee - m_nCurseur) {
            if (nTaille != 0) std::memcpy(m_pbyDonnees + m_nCurseur, pData, nTaille);
            m_nCurseur += nTaille;
            if (m_nCurseur > m_nTailleUtilisee) m_nTailleUtilisee = m_nCurseur;
            return true;
        }
        return _bSetLent(pData, nTaille);
    }
    // nTaille bytes from the other buffer's cursor (fewer if it has fewer), moving both cursors.
    bool Set(COVBuffer* pclSource, unsigned long nTaille) noexcept;
    // Reads at the cursor and moves it. Past the used size only what is there is read, and the rest
    // of the output is left as it was. False when the full count was not read.
    bool Get(void* pData, unsigned long nTaille) noexcept {
        if (!m_bCode && pData != nullptr && nTaille <= m_nTailleUtilisee - m_nCurseur) {
            if (nTaille != 0) std::memcpy(pData, m_pbyDonnees + m_nCurseur, nTaille);
            m_nCurseur += nTaille;
            return true;
        }
        return dwGet(pData, nTaille) == nTaille;
    }
    // The count read.
    unsigned long dwGet(void* pData, unsigned long nTaille) noexcept;
    // A 32-bit count, then the elements.
    bool SetTableau(const void* pData, unsigned long nTailleElement, unsigned long nNombre) noexcept;
    // Reads the stored count and min(stored, nNombre) elements; stored elements beyond nNombre are
    // skipped, and the missing ones are filled with *pDefaut (zero when null). False for a short
    // read (the cursor then stays where it was).
    bool GetTableau(void* pData, unsigned long nTailleElement, unsigned long nNombre,
                    const void* pDefaut = nullptr) noexcept;
    // Replaces the whole content by clear bytes; the cursor goes to the start.
    bool SetAll(const void* pData, unsigned long nTaille) noexcept;
    // The whole clear content (decoded first if needed) and its size; null when empty or when the
    // coded region does not decode (then *pnTaille is 0).
    uint8_t* GetAll(unsigned long* pnTaille = nullptr) noexcept;
    // Replaces the whole content by bytes coded with the buffer's methods and first coded byte, as
    // read from a file; they are decoded on the first access that needs it. Cursor at the start.
    bool SetCodedData(const void* pData, unsigned long nTaille) noexcept;
    // The caller wrote nTaille coded bytes at pbyGetData() (after Resize): take them as such.
    bool SetCodedSize(unsigned long nTaille) noexcept;
    // Moves nTaille bytes from offset nDepuis to offset nVers (overlap allowed); grows when the
    // target passes the end. False for a source past the used size.
    bool MoveData(unsigned long nDepuis, unsigned long nVers, unsigned long nTaille) noexcept;
    // Hands the malloc memory (the data as they stand) to the caller, who frees it with free();
    // the buffer is left empty.
    void* GetOwnershipMemory(unsigned long* pnTaille) noexcept;
    // Takes a malloc block of nTaille bytes as the clear content; the cursor goes to the start.
    void GiveOwnershipMemory(void* pData, unsigned long nTaille) noexcept;
    // Takes everything the other buffer holds (data, cursor, methods, key); the other is left empty.
    void Transfert(COVBuffer& clAutre) noexcept;

    // ---- scalars: the value's bytes, little-endian, no tag
    template <typename T>
        requires std::is_arithmetic_v<T> || std::is_enum_v<T>
    COVBuffer& operator<<(T xValeur) noexcept {
        Set(&xValeur, sizeof(T));
        return *this;
    }
    // A short read leaves the value as it was.
    template <typename T>
        requires std::is_arithmetic_v<T> || std::is_enum_v<T>
    COVBuffer& operator>>(T& xValeur) noexcept {
        T xLu;
        if (Get(&xLu, sizeof(T))) xValeur = xLu;
        return *this;
    }

    // ---- sections
    // Writes a 32-bit zero and answers its offset; SetTaillePartie then writes there the distance
    // from just after that field to the cursor.
    unsigned long nReserveTaillePartie() noexcept;
    bool SetTaillePartie(unsigned long nOffset) noexcept;
    unsigned long dwReserveNombreElement() noexcept;
    bool SetNombreElement(unsigned long nOffset, uint32_t dwNombre) noexcept;
    // This buffer as a nested one into the target (see g_SerialiseBuffer), and back.
    bool SerialiseBuffer(COVBuffer* pclCible) noexcept;
    bool DeserialiseBuffer(COVBuffer* pclCible) noexcept;

    // ---- strings
    void SetModeDeserialTString(EModeTString eMode) noexcept { m_eModeTString = eMode; }
    EModeTString eGetModeTString() const noexcept { return m_eModeTString; }
    // Writes the text in the mode; nCodePage matters in mode 2 only. False for an unknown mode, a
    // text the code page cannot convert or memory.
    bool SaveString(const wchar_t* pszTexte, EModeTString eMode, unsigned int nCodePage = 1252) noexcept;
    // In the buffer's own mode.
    bool SetString(const wchar_t* pszTexte) noexcept;
    COVBuffer& operator<<(const CTString& clTexte) noexcept;
    COVBuffer& operator<<(const wchar_t* pszTexte) noexcept;
    // The marked form; bVideSurUnOctet writes an empty text as one zero byte.
    bool SaveStringNewUtf8Mark(const wchar_t* pszTexte, bool bVideSurUnOctet, int nReserve = 0) noexcept;
    // Code page 1252 and a zero byte.
    bool SaveStringOldAnsi(const wchar_t* pszTexte) noexcept;

    // Reads one string. On any failure the cursor stays where it was.
    // Into a caller's array of nPlace characters (terminator included): the character count, or -1
    // for a failure or a text that does not fit.
    int nReadString(wchar_t* pszTexte, int nPlace, EModeTString eMode, unsigned int nCodePage = 1252) noexcept;
    // A malloc'd text the caller frees; null for a failure.
    wchar_t* pszReadCreateString(EModeTString eMode, unsigned int nCodePage = 1252) noexcept;
    bool bReadString(CTString& clTexte, EModeTString eMode, unsigned int nCodePage = 1252) noexcept;
    bool bReadString(CXYString<wchar_t>& clTexte, EModeTString eMode, unsigned int nCodePage = 1252) noexcept;
    // The stored bytes as they are (UTF-8 for the marked and mode 4 forms).
    bool bReadString(CXYString<char>& clTexte) noexcept;
    bool bReadString(IStringFiller& clRemplisseur, EModeTString eMode, unsigned int nCodePage = 1252) noexcept;
    // The old form in place: a pointer to the 8-bit text inside the buffer (valid until the next
    // write), cursor moved behind its zero; null when no zero byte ends it within the data.
    const char* pszGetStringOldAnsi() noexcept;
    // The old form copied into nPlace bytes (terminator included): the byte count or -1.
    int nReadStringOldAnsi(char* pszTexte, int nPlace) noexcept;
    // The old form as 8-bit text.
    bool xReadStringOldAnsi(CXYString<char>& clTexte) noexcept;
    // Skips one string of the mode.
    bool bSeekString(EModeTString eMode) noexcept;
    // In the buffer's mode; a failure leaves the text as it was.
    COVBuffer& operator>>(CTString& clTexte) noexcept;

    // ---- coding
    // Set*: the method for the next coding, the content being clear. Change*: the content is first
    // decoded with the old setting; with bDejaCode the content is instead taken as already coded
    // with the new one (decoded on the next access that needs it).
    bool SetPackMethod(int ePack) noexcept;
    bool ChangePackMethod(int ePack, bool bDejaCode = false) noexcept;
    int eGetPackMethod() const noexcept { return m_ePack; }
    bool SetCryptMethod(int eCrypt) noexcept;
    bool ChangeCryptMethod(int eCrypt, bool bDejaCode = false) noexcept;
    int eGetCryptMethod() const noexcept { return m_eCrypt; }
    bool SetPassword(const wchar_t* pszMotDePasse) noexcept;
    bool ChangePassword(const wchar_t* pszMotDePasse, bool bDejaCode = false) noexcept;
    bool SetPasswordAnsi(const char* pszMotDePasse) noexcept;
    bool SetCryptKey(const unsigned char* pbyCle16) noexcept;
    bool ChangeCryptKey(const unsigned char* pbyCle16, bool bDejaCode = false) noexcept;
    const unsigned char* pbyGetCryptKey() const noexcept { return m_tabCle; }
    // Bytes before this offset are never coded (a clear header).
    void DefineFirstCodedByte(unsigned long nOffset) noexcept { m_nPremierOctetCode = nOffset; }
    bool ChangeFirstCodedByte(unsigned long nOffset, bool bDejaCode = false) noexcept;
    unsigned long dwGetFirstCodedByte() const noexcept { return m_nPremierOctetCode; }
    // Codes the content now (pack, then encipher), unless it is already coded; pbyGetData() and
    // dwGetSize() then give the coded form. The cursor goes to the start.
    bool ForceCode() noexcept;
    // Decodes now if coded. False when the coded region does not decode (the data stay as they were).
    bool bDecode() noexcept;
    bool bEstCode() const noexcept { return m_bCode; }

    // ---- files: the coded form goes out, and comes in as coded data
    bool bToFile(IXStream* piFlux, unsigned long* pnEcrit) noexcept;
    bool bToFile(CXFile* pclFichier, unsigned long* pnEcrit) noexcept;
    bool bToFile(CXFile* pclFichier, long oOffset, unsigned long* pnEcrit) noexcept;
    bool bSetFromFile(IXStream* piFlux, unsigned long nTaille, unsigned long* pnLu) noexcept;
    bool bSetFromFile(CXFile* pclFichier, unsigned long nTaille, unsigned long* pnLu) noexcept;
    bool bSetFromFile(CXFile* pclFichier, unsigned long nTaille, long oOffset, unsigned long* pnLu) noexcept;
    // From the start of the file to its end.
    bool bSetAllFromFile(CXFile* pclFichier, unsigned long* pnLu) noexcept;
    // nTaille clear bytes from the file's position.
    bool bSetFromUncodedFile(CXFile* pclFichier, unsigned long nTaille, unsigned long* pnLu) noexcept;

protected:
    // Memory of the data and the coding objects; overridable by a buffer living elsewhere.
    virtual bool __vAllocBuffer(unsigned long nTaille) noexcept;
    virtual bool __vReallocBuffer(unsigned long nTaille) noexcept;
    virtual void __vFreeBuffer() noexcept;
    virtual bool __vAllocZBuffer() noexcept { return true; }
    virtual void __vFreeZBuffer() noexcept {}
    virtual bool __vAllocPackObject() noexcept { return true; }
    virtual void __vFreePackObject() noexcept {}
    virtual bool __vAllocCryptObject() noexcept;
    virtual void __vFreeCryptObject() noexcept;

private:
    friend bool g_DeserialiseBuffer(COVBuffer*, COVBuffer*) noexcept;
    friend COVBuffer& operator>>(COVBuffer&, CSimpleBuffer&) noexcept;
    friend class COVBufferMark;

    bool _bSetLent(const void* pData, unsigned long nTaille) noexcept;
    // The used size becomes nTaille (growing or shrinking the allocation by the step rule).
    bool __bResizeBuffer(unsigned long nTaille) noexcept;
    // Decodes when an access to [nDebut, nDebut + nTaille) steps into the coded region.
    bool __bAccede(unsigned long nDebut, unsigned long nTaille) noexcept {
        return !m_bCode || (nTaille <= m_nPremierOctetCode && nDebut <= m_nPremierOctetCode - nTaille) ||
               __UncodeBuffer();
    }
    bool __CodeBuffer() noexcept;
    bool __UncodeBuffer() noexcept;
    bool __Pack() noexcept;
    bool __Unpack() noexcept;
    bool __InitCrypt(const wchar_t* pszMotDePasse, const char* pszMotDePasseAnsi, const unsigned char* pbyCle) noexcept;
    void __Crypt() noexcept;
    void __Uncrypt() noexcept;
    bool __bDecodeAvantChangement(bool bDejaCode) noexcept;
    // The string header of the marked form at the cursor: text and total size, validated.
    bool __bReadEnteteString(const char** ppszTexte, unsigned long* pnTaille, bool bAutoriseUnOctet) noexcept;
    // The stored text of one string at the cursor, without moving it: the bytes (UTF-8 when bUtf8),
    // their length before the zero, and the size the string takes.
    bool __bLocaliseString(EModeTString eMode, const char** ppszTexte, unsigned long* pnLongueur,
                           unsigned long* pnTaille, bool* pbUtf8) noexcept;
    // The located string as wide text into a malloc'd block (or the stack buffer when it fits).
    wchar_t* __pszDecodeString(const char* pszTexte, unsigned long nLongueur, bool bUtf8, unsigned int nCodePage,
                               wchar_t* pszPile, int nPlacePile, int* pnCaracteres) noexcept;

    int m_eCrypt = eBUFFER_CRYPT_AUCUN;
    int m_ePack = eBUFFER_PACK_AUCUN;
    bool m_bCrypte = false;
    bool m_bPacke = false;
    bool m_bCode = false;
    unsigned long m_nTailleAllouee = 0;
    unsigned long m_nTailleUtilisee = 0;
    unsigned long m_nPremierOctetCode = 0;
    unsigned long m_nPasCroissance = kdwPasParDefaut;
    uint8_t* m_pbyDonnees = nullptr;
    unsigned long m_nCurseur = 0;
    EModeTString m_eModeTString = eMODETSTRING_UTF8_MARQUE;
    CCrypt* m_pclCrypt = nullptr;
    unsigned char m_tabCle[kTailleCle] = {};
};

// Dates go out as their two 32-bit words, date then milliseconds.
COVBuffer& operator<<(COVBuffer& clBuffer, const CDateTimeBase& clDate) noexcept;
COVBuffer& operator>>(COVBuffer& clBuffer, CDateTimeBase& clDate) noexcept;

// A nested buffer: the source decoded and rewound, its 32-bit used size, then its bytes.
bool g_SerialiseBuffer(COVBuffer* pclSource, COVBuffer* pclCible) noexcept;
// Clears the target, reads the size and that many bytes, and puts the target's cursor at the start.
// A size past the source's data fails, the source's cursor back where it was.
bool g_DeserialiseBuffer(COVBuffer* pclSource, COVBuffer* pclCible) noexcept;

// Sections and the main header.
class COVBufferMark {
public:
    static constexpr uint32_t kdwTailleEntetePrincipale = 12;

    // A section starts with a 32-bit size that counts itself. Writes the zero placeholder and
    // answers its offset.
    static unsigned long s_dwWriteBeginMark(COVBuffer* pclBuffer) noexcept;
    // Fills the placeholder at nPosition with (cursor - nPosition) and goes back to the end.
    static void s_WriteEndMark(COVBuffer* pclBuffer, unsigned long nPosition) noexcept;
    // Reads a section's size and answers the offset of its end; *pdwTaille gets the size. A short
    // read counts as size 0 and rewinds what it read.
    static unsigned long s_dwReadBeginMark(COVBuffer* pclBuffer, uint32_t* pdwTaille = nullptr) noexcept;
    // As s_dwReadBeginMark, but 0 for a section of size 0.
    static unsigned long s_dwReadBeginMarkFromDummy(COVBuffer* pclBuffer) noexcept;
    // The cursor to the section's end, capped at the used size: what a reader does not know is skipped.
    static void s_ReadEndMark(COVBuffer* pclBuffer, unsigned long nPosition) noexcept;

    // Rewinds, sets the first coded byte to 12 and writes (12, version, compat).
    static bool WriteEntetePrincipale(COVBuffer* pclBuffer, uint32_t dwVersion, uint32_t dwCompat) noexcept;
    // 0 read; 1 short read; 2 a header size below 12, or nothing behind a larger header; -2 the
    // file's version is below dwCompat; -1 the file's compat is above dwVersion. The values read
    // are given back as far as they were read.
    static int nReadEntetePrincipale(COVBuffer* pclBuffer, uint32_t dwVersion, uint32_t dwCompat,
                                     uint32_t* pdwVersionLue, uint32_t* pdwCompatLue) noexcept;
};

// ---- sized byte blocks: a 32-bit size, then the bytes

class CSimpleConstBufferBase {
public:
    const uint8_t* pbyGet() const noexcept { return m_pbyDonnees; }
    unsigned long nGetSize() const noexcept { return m_nTaille; }

protected:
    CSimpleConstBufferBase() noexcept = default;
    CSimpleConstBufferBase(const uint8_t* pbyDonnees, unsigned long nTaille) noexcept
        : m_pbyDonnees(const_cast<uint8_t*>(pbyDonnees)), m_nTaille(nTaille) {}
    uint8_t* m_pbyDonnees = nullptr;
    unsigned long m_nTaille = 0;
};

// Owns a malloc block.
class CSimpleBuffer : public CSimpleConstBufferBase {
public:
    CSimpleBuffer() noexcept = default;
    virtual ~CSimpleBuffer();
    CSimpleBuffer(const CSimpleBuffer&) = delete;
    CSimpleBuffer& operator=(const CSimpleBuffer&) = delete;
    // Room for exactly nTaille bytes (contents kept up to the smaller size). When memory fails, or
    // for a view too small, the block is left null with size 0.
    virtual void SetSize(unsigned long nTaille) noexcept;
    uint8_t* pbyGet() noexcept { return m_pbyDonnees; }

protected:
    CSimpleBuffer(uint8_t* pbyDonnees, unsigned long nTaille) noexcept : CSimpleConstBufferBase(pbyDonnees, nTaille) {}
};

// A view over the caller's memory: SetSize within its capacity only, never frees.
class CSimpleBufferConveyor : public CSimpleBuffer {
public:
    CSimpleBufferConveyor(void* pData, unsigned long nCapacite) noexcept
        : CSimpleBuffer(static_cast<uint8_t*>(pData), nCapacite), m_pbyVue(static_cast<uint8_t*>(pData)),
          m_nCapacite(nCapacite) {}
    ~CSimpleBufferConveyor() override;
    void SetSize(unsigned long nTaille) noexcept override;

private:
    uint8_t* m_pbyVue;
    unsigned long m_nCapacite;
};

// A read-only view, for writing.
class CSimpleConstBufferConveyor : public CSimpleConstBufferBase {
public:
    CSimpleConstBufferConveyor(const void* pData, unsigned long nTaille) noexcept
        : CSimpleConstBufferBase(static_cast<const uint8_t*>(pData), nTaille) {}
};

COVBuffer& operator<<(COVBuffer& clBuffer, const CSimpleConstBufferBase& clBloc) noexcept;
// SetSize(stored size), then the bytes; when that left no block, the bytes are skipped. A size
// past the data leaves the block empty and the cursor where it was.
COVBuffer& operator>>(COVBuffer& clBuffer, CSimpleBuffer& clBloc) noexcept;

// A wide text builder that grows by a step of characters.
class CBufferStream {
public:
    explicit CBufferStream(int nPas = 1024, int nInitial = 0) noexcept;
    ~CBufferStream();
    CBufferStream(const CBufferStream&) = delete;
    CBufferStream& operator=(const CBufferStream&) = delete;

    // nCaracteres -1: up to the zero. False when memory fails (the text stays as it was).
    bool Add(const wchar_t* pszTexte, int nCaracteres = -1) noexcept;
    bool Add(wchar_t cCaractere) noexcept { return Add(&cCaractere, 1); }
    // Never null.
    const wchar_t* pszGet() const noexcept { return m_pszDebut != nullptr ? m_pszDebut : L""; }
    int nGetLongueur() const noexcept { return static_cast<int>(m_pszEcriture - m_pszDebut); }
    void Vide() noexcept;
    // Hands the malloc'd text to the caller (null when empty) and leaves the builder empty.
    wchar_t* pszDetache() noexcept;

private:
    bool _bAgrandit(size_t nMinimum) noexcept;

    wchar_t* m_pszDebut = nullptr;
    wchar_t* m_pszEcriture = nullptr;
    size_t m_nCapacite = 0;  // characters, terminator excluded
    wchar_t* m_pszFin = nullptr;
    int32_t m_nPas;
};
