// The binary-to-text encoders behind one interface: base 64 without padding (1), base 64 with
// "=" padding (2), the library's own UU form (3) and classic UU framing (4); pclGetEncodeur makes
// one from its number. Encoded text is outside input: every decoder stops at the end of what it
// is given and never writes past the size its own measure answered.
#pragma once

#include <cstddef>
#include <cstdint>

class CXError;

class CEncodeBase {
public:
    virtual ~CEncodeBase();

    // With pszSortie null, only measures: the characters it would write, plus one for the
    // terminator of an incomplete last group. groupsPerLine 0 writes no line breaks.
    virtual long nEncodeA(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                          char* pszSortie);
    // With pbySortie null, only measures. The bytes written; -1 for text the encoder cannot read.
    virtual long nDecodeA(const char* pszTexte, unsigned char* pbySortie);
    virtual char __cEncodeByte(unsigned char by) = 0;
    virtual unsigned char __byDecodeChar(wchar_t c) = 0;

    // Allocated with new[]; the caller deletes. The count of characters or bytes, -1 on failure.
    long nEncodeEtAlloue(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                         wchar_t** ppszSortie);
    long nDecodeEtAlloue(const wchar_t* pszTexte, unsigned char*& pbySortie);
    long nDecodeW(const wchar_t* pszTexte, unsigned char* pbySortie);

    // Stream a file: the source in blocks of groupsPerLine * 3,000 bytes to encode, of
    // groupsPerLine * 4,000 + 2,000 characters to decode. The destination is written beside
    // and renamed into place only when complete. Errors go to pclErreur.
    bool bEncodeFichier(const wchar_t* pszDestination, const wchar_t* pszSource, unsigned long nGroupesParLigne,
                        CXError* pclErreur);
    bool bDecodeFichier(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur);
};

// 0 none, 1 CEncodeBase64TVR, 2 CEncodeBase64, 3 CEncodeUUEncode, 4 CEncodeUUEncodeStandard.
// Null for any other number; the caller deletes.
CEncodeBase* pclGetEncodeur(int nNumero);

// The groups a line ChaineEncode and fEncode write.
constexpr unsigned long kGroupesParLigneDefaut = 20;
