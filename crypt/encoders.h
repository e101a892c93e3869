// The binary-to-text encoders behind one interface: base 64 without padding (1), base 64 with
// "=" padding (2), the library's own UU form (3) and classic UU framing (4); pclGetEncodeur makes
// one from its number. Encoded text is outside input: every decoder stops at the end of what it
// is given and never writes past the size its own measure answered.
//
// One engine serves the four forms. It reads the alphabet of a form from its two character
// slots, __cEncodeByte and __byDecodeChar, once a call, and otherwise knows the form only by
// what frames it: padding, the UU header, line starts and ending.
#pragma once

#include <cstddef>
#include <cstdint>

class CXError;

class CEncodeBase {
public:
    virtual ~CEncodeBase();

    // With pszSortie null, only measures: the characters it would write, plus one for the
    // terminator of an incomplete last group. Writing, it answers the characters written and adds
    // no terminator. nGroupesParLigne 0 writes no line breaks in base 64; the UU forms have lines
    // of their own and ignore it.
    virtual long nEncodeA(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                          char* pszSortie);
    // With pbySortie null, only measures exactly. The bytes written; -1 for text the encoder cannot
    // read (a UU text with no "begin" line).
    virtual long nDecodeA(const char* pszTexte, unsigned char* pbySortie);
    virtual char __cEncodeByte(unsigned char by) = 0;
    virtual unsigned char __byDecodeChar(wchar_t c) = 0;

    // Allocated with new[]; the caller deletes. The count of characters or bytes, -1 on failure
    // (nothing allocated then). The wide text is terminated; the bytes have one spare byte.
    long nEncodeEtAlloue(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                         wchar_t** ppszSortie);
    long nDecodeEtAlloue(const wchar_t* pszTexte, unsigned char*& pbySortie);
    // Reads the wide text as the narrow text it stands for: a character past 0xFF is no character
    // of any alphabet here. With pbySortie null, only measures.
    long nDecodeW(const wchar_t* pszTexte, unsigned char* pbySortie);

    // Exact length of the encoded text (no terminator counted); the wide functions size with it.
    unsigned long nLongueurEncodee(unsigned long nTaille, unsigned long nGroupesParLigne) const;
    // Writes the encoded text as wide characters into pszSortie, which holds
    // nLongueurEncodee(nTaille, nGroupesParLigne) characters; answers that count.
    long nEncodeW(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                  wchar_t* pszSortie);
    // The same over a counted wide text (which may hold zeros).
    long nDecodeW(const wchar_t* pszTexte, size_t nLongueur, unsigned char* pbySortie);

    // Stream a file: the source in blocks of whole lines (groupsPerLine * 3,000 bytes for base 64
    // with 20 groups a line), the encoded text in blocks of groupsPerLine * 4,000 + 2,000
    // characters (8,192 for the UU form with counts, whose every line end may give 63 bytes); the
    // result is that of nEncodeA or nDecodeA on the whole file. The destination is written beside
    // and renamed into place only when complete. Errors go to pclErreur (may be null): 80024
    // source unreadable, 80026 destination not creatable, 80025 not writable, 81808 text not of
    // this encoding, 80041 memory.
    bool bEncodeFichier(const wchar_t* pszDestination, const wchar_t* pszSource, unsigned long nGroupesParLigne,
                        CXError* pclErreur);
    bool bDecodeFichier(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur);

protected:
    enum EForme { eBASE64, eBASE64_BOURRAGE, eUU, eUU_STANDARD };
    explicit CEncodeBase(EForme eForme) noexcept : m_eForme(eForme) {}
    EForme eGetForme() const noexcept { return m_eForme; }

private:
    EForme m_eForme;
};

// Base 64, the characters that carry data only. Decoding takes "+" as 62 and every character that
// is neither a letter nor a digit as 63.
class CEncodeBase64TVR : public CEncodeBase {
public:
    CEncodeBase64TVR() noexcept : CEncodeBase(eBASE64) {}
    char __cEncodeByte(unsigned char by) override;
    unsigned char __byDecodeChar(wchar_t c) override;
};

// Base 64 padded with "=" to whole groups; "=" decodes as 0 and shortens its group.
class CEncodeBase64 : public CEncodeBase {
public:
    CEncodeBase64() noexcept : CEncodeBase(eBASE64_BOURRAGE) {}
    char __cEncodeByte(unsigned char by) override;
    unsigned char __byDecodeChar(wchar_t c) override;
};

// The library's UU form: "begin 0666 uu" CR LF, lines of 45 groups (135 bytes) that start with
// "_" while more than 45 bytes are left, an incomplete last group of 2 or 3 characters, then
// CR LF "end" CR LF.
class CEncodeUUEncode : public CEncodeBase {
public:
    CEncodeUUEncode() noexcept : CEncodeBase(eUU) {}
    char __cEncodeByte(unsigned char by) override;
    unsigned char __byDecodeChar(wchar_t c) override;
};

// UU with count characters: "begin 0666 uu" CR LF, lines of 45 groups (135 bytes) like the own
// form, each opening with "M" while 45 bytes or more are left, else with 0x20 + the bytes left;
// an unpadded last group; then CR LF "`" CR LF "end" CR LF. Texts of at most 45 bytes are thus
// classic UU. Its decoder also reads classic UU of any writer: a line other than "M" gives the
// bytes its count says, an "M" line every group it holds.
class CEncodeUUEncodeStandard : public CEncodeBase {
public:
    CEncodeUUEncodeStandard() noexcept : CEncodeBase(eUU_STANDARD) {}
    char __cEncodeByte(unsigned char by) override;
    unsigned char __byDecodeChar(wchar_t c) override;
};

// 0 none, 1 CEncodeBase64TVR, 2 CEncodeBase64, 3 CEncodeUUEncode, 4 CEncodeUUEncodeStandard.
// Null for any other number; the caller deletes.
CEncodeBase* pclGetEncodeur(int nNumero);

// The groups a line ChaineEncode and fEncode write.
constexpr unsigned long kGroupesParLigneDefaut = 20;
