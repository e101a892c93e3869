// The ciphers: CCrypt and its two algorithms, CCryptHomeMade (method 1, the library's own byte
// mixer) and CCryptRC5 (methods 2 and 3, RC5 with 8 or 16 rounds, chained over 8-byte blocks and
// a nibble-wise tail), the password-to-key derivations, and CCryptFile, which enciphers a whole
// file behind a 32-bit sum of its plain bytes.
//
// These ciphers exist so that data stored by earlier programs can still be read: the chaining
// starts from zero, nothing is authenticated and the rounds are few. They are not protection.
//
// A cipher works in place and never changes a length.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/error.h"
#include "files/disk_file.h"

class CCrypt : public COVUnknown {
public:
    static constexpr size_t kTailleCle = 16;
    using TCle = unsigned char[kTailleCle];

    CCrypt() noexcept = default;
    ~CCrypt() override;

    // Up to 16 bytes copied and zero-padded; a longer key keeps its first 16 bytes.
    virtual bool bSetCryptKey(const void* pCle, unsigned long nTaille) noexcept;
    virtual bool bSetCryptKey(const TCle* pCle) noexcept;
    // The key of a password: as code page 1252 bytes when the text survives the round trip
    // through that code page, else as UTF-16LE code units; then BuildCryptKeyBinary. Null is "".
    virtual void BuildCryptKey(TCle* pCle, const wchar_t* pszMotDePasse) noexcept;
    // The narrow text's bytes as they are, up to its zero.
    virtual void BuildCryptKeyAnsi(TCle* pCle, const char* pszMotDePasse) noexcept;
    virtual bool bSetPassword(const wchar_t* pszMotDePasse) noexcept;
    virtual bool bSetPasswordAnsi(const char* pszMotDePasse) noexcept;
    // pCle null: the stored key.
    virtual void Crypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept = 0;
    virtual void Uncrypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept = 0;
    virtual void BuildCryptKeyBinary(TCle* pCle, const unsigned char* pbyMateriau, unsigned nTaille) noexcept = 0;

    const unsigned char* pbyGetCle() const noexcept { return m_tabCle; }

protected:
    // A password's key through the virtual derivation; false when memory failed on the way (the
    // void derivations cannot say so themselves, they raise m_bEchecMemoire).
    bool _bConstruitCle(TCle* pCle, const wchar_t* pszMotDePasse) noexcept;
    bool _bConstruitCleAnsi(TCle* pCle, const char* pszMotDePasse) noexcept;

    TCle m_tabCle = {};
    bool m_bEchecMemoire = false;
};

class CCryptHomeMade : public CCrypt {
public:
    // bParSysteme: made by the library itself (the key derivation then mixes with the object's
    // own key, as it stood when the derivation began, rather than the second fixed block). A fresh
    // object's own key is all zeros, so a fresh system-made object always derives the same key
    // from the same password; one that already holds a key derives another.
    explicit CCryptHomeMade(bool bParSysteme = false) noexcept;
    void Crypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept override;
    void Uncrypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept override;
    void BuildCryptKeyBinary(TCle* pCle, const unsigned char* pbyMateriau, unsigned nTaille) noexcept override;

private:
    uint32_t m_dwParSysteme = 0;
};

class CCryptRC5 : public CCrypt {
public:
    // 8 or 16; another count is brought within 1..16, the largest table the class knows.
    explicit CCryptRC5(int nTours) noexcept;
    static constexpr uint32_t kToursMax = 16;
    static constexpr uint32_t kMotsTableMax = 2 * kToursMax + 2;
    ~CCryptRC5() override;
    bool bSetCryptKey(const void* pCle, unsigned long nTaille) noexcept override;
    bool bSetCryptKey(const TCle* pCle) noexcept override;
    void Crypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept override;
    void Uncrypt(unsigned char* pby, unsigned long nTaille, const TCle* pCle) noexcept override;
    // A hash of the SHA family with changes of its own (see the definition).
    void BuildCryptKeyBinary(TCle* pCle, const unsigned char* pbyMateriau, unsigned nTaille) noexcept override;

private:
    bool __bInitTableCle() noexcept;
    // Expands the stored key into pdwTable (2 * rounds + 2 words).
    void _ExpandCle(uint32_t* pdwTable) const noexcept;
    // The expanded table, or the stored key expanded into tabPile (kMotsTableMax words) without one.
    const uint32_t* _pdwTableOuPile(uint32_t* tabPile) noexcept;
    uint32_t m_nTours;
    uint32_t* m_pdwTable = nullptr;  // 2 * rounds + 2 words, null until a key is set
};

// The method numbers used everywhere: 1 home-made, 2 RC5 with 8 rounds, 3 RC5 with 16 rounds.
enum eCRYPTMETHOD : int { eCRYPT_AUCUN = 0, eCRYPT_HOMEMADE = 1, eCRYPT_RC5_8 = 2, eCRYPT_RC5_16 = 3 };

// A new cipher of that method, its count at 1 (release with dwRelease), or null for any other
// method or when memory fails. A home-made cipher comes marked as made by the system.
CCrypt* pclCreeCrypt(int nMethode) noexcept;

// The two halves of the crypt option word.
constexpr int GetCryptMethod(uint32_t dwOption) noexcept { return static_cast<int>(dwOption & 0xFFFF); }
constexpr int GetCompressMethod(uint32_t dwOption) noexcept { return static_cast<int>(dwOption >> 16); }

// A whole file, enciphered: a 32-bit little-endian sum of the plain bytes, then the bytes
// enciphered in runs of 64,000, each run chained from its own start.
class CCryptFile : public CDiskFile {
public:
    static constexpr unsigned kTailleRun = 64000;

    // On an object open on the destination: reads the named source and writes its cipher text.
    bool bCrypt(const wchar_t* pszSource, const wchar_t* pszMotDePasse, int nMethode) noexcept;
    // On an object open on the enciphered source: writes the plain text to the named destination.
    // A sum that does not come back to zero (wrong password, damaged file) fails with 28279.
    bool bUncrypt(const wchar_t* pszDestination, const wchar_t* pszMotDePasse, int nMethode) noexcept;

    bool _bCrypt(CDiskFile* pclSource, const wchar_t* pszMotDePasse, int nMethode) noexcept;
    bool _bUncrypt(CDiskFile* pclDestination, const wchar_t* pszMotDePasse, int nMethode) noexcept;
    // The cipher of the method with the password set; false with 28253 otherwise.
    bool __bInitAlgorithme(CCrypt** ppclCrypt, const wchar_t* pszMotDePasse, int nMethode) noexcept;
};
