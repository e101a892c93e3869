// The stages behind the crypt functions of the language, on bytes: compress, encipher, encode to
// text, and back; the two buffer functions that the language functions call and raise for.
//
// The ciphers behind them are kept so that data stored by earlier programs can still be read:
// they start their chaining from zero, authenticate nothing and run few rounds. Not protection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/xystring.h"

namespace ovcrypte {

// Answers of the stages; each maps to one numbered error of the language.
enum eRESULTAT : int {
    eOK = 0,
    eMETHODE_INVALIDE,      // crypt method out of range
    eMOT_DE_PASSE_REFUSE,   // the cipher refused the password
    eCOMPRESSION_INVALIDE,  // compress method out of range, asked or read in the data
    eENCODAGE_INVALIDE,     // no encoder of that number
    eTEXTE_NON_CONVERTIBLE, // a character that code page 1252 cannot hold, under the ANSI request
    eTEXTE_NON_DECODABLE,   // text that is not of the encoding asked
    eDONNEES_ENDOMMAGEES,   // bytes that are no compressed block
    eMEMOIRE,
};

// The crypt option word: bits 0-15 the crypt method, bits 16-25 the compress method, bit 26 the
// request that text be treated as code page 1252.
inline constexpr uint32_t kdwOptionAnsi = 0x4000000;
struct STOption {
    int nMethode = 0;
    int nCompression = 0;
    bool bAnsi = false;  // bit 26 alone; the string mode may add to it
};
STOption stLitOption(uint32_t dwOption) noexcept;
// eOK, or why the option word (and the encoding) cannot be used.
int nVerifieOption(const STOption& stOption, int nEncodage) noexcept;

// Enciphers (bChiffre) or deciphers n bytes in place with the cipher of nMethode (1 to 3) keyed by
// the password. The length never changes. An empty or null password leaves the bytes as they are:
// the in-memory functions document that result, and both directions must agree on it.
int nChiffre(uint8_t* pby, size_t nTaille, const wchar_t* pszMotDePasse, int nMethode, bool bChiffre) noexcept;

// Compress (method 0: as they are), then encipher (method 0 or an empty password: as they are).
int nCrypte(std::vector<uint8_t>* ptab, const wchar_t* pszMotDePasse, const STOption& stOption) noexcept;
// The inverse: decipher, then decompress.
int nDecrypte(std::vector<uint8_t>* ptab, const wchar_t* pszMotDePasse, const STOption& stOption) noexcept;

// Text of bytes by the encoder nEncodage (1 to 4), 20 groups a line; and back.
int nEncode(const std::vector<uint8_t>& tab, int nEncodage, CXYString<wchar_t>* pclTexte) noexcept;
int nDecode(const wchar_t* pszTexte, int nEncodage, std::vector<uint8_t>* ptab) noexcept;

// Wide text as code page 1252 bytes; eTEXTE_NON_CONVERTIBLE for a character 1252 cannot hold,
// which would otherwise come back as another character.
int nVers1252(const wchar_t* psz, size_t nCaracteres, std::vector<uint8_t>* ptab) noexcept;

// What deciphered bytes are given back as. Under the ANSI request, bytes without a zero are code
// page 1252 text. Bytes that read as wide text (whole 32-bit characters, each a Unicode scalar
// value other than zero) are wide text. Anything else is binary. A wide text always holds a zero
// byte and 1252 text never does, so the first two never overlap.
enum class EForme { Texte1252, TexteLarge, Binaire };
EForme eFormeResultat(const std::vector<uint8_t>& tab, bool bAnsi) noexcept;

}  // namespace ovcrypte

// The buffer copied and enciphered whole; deciphered whole, or only its first nTaille bytes when
// nTaille lies between 1 and its length. The length is kept. An empty buffer for an unknown
// method, a refused password or no memory, without raising: the caller raises. An empty password
// leaves the buffer as it is.
CZKBIN clBufferCrypte(const CZKBIN& clBuffer, const wchar_t* pszMotDePasse, int nMethode);
CZKBIN clBufferDecrypte(const CZKBIN& clBuffer, const wchar_t* pszMotDePasse, int nMethode, int nTaille);
