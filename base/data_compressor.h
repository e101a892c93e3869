// The text packer of the message block. Bytes become base-40 digits, three digits two bytes; four
// charsets of 32 symbols are reached by shift digits (one symbol) and latch digits (from then on),
// and a byte that no charset holds travels raw behind an escape.
//
// The packer and unpacker depend on nothing but the C library, so that the build tool that makes
// the message block links this file alone. The class-wide decoders to wide text live with the
// message resources (base/resources.cpp), which carry the UTF decoders.
#pragma once

#include <cstddef>
#include <cstdint>

struct STRessourceModule;

class CDataCompressor {
public:
    // Results of every operation.
    enum : int {
        RESULTAT_OK = 0,
        RESULTAT_SORTIE_COURTE = 2,   // output buffer too small: the text is cut and terminated
        RESULTAT_DONNEES_INVALIDES = 4,  // bad packed data, bad argument or unknown text format
        RESULTAT_ECHAPPEMENT_TRONQUE = 5,  // raw bytes announced beyond the end of the input
    };

    // Packs nLongueurEntree bytes (-1: up to the first zero byte). Writes the packed bytes and one
    // zero byte as end mark into pbySortie (nTailleSortie bytes, or null with 0 to measure).
    // *pnLongueurSortie receives the packed length, end mark not counted, even when the output
    // did not fit; the record of a message stores exactly that many bytes.
    int nCompress(uint8_t* pbySortie, int nTailleSortie, int* pnLongueurSortie, const uint8_t* pbyEntree,
                  int nLongueurEntree) noexcept;

    // Unpacks nLongueurEntree packed bytes. *pnLongueur is the size of pbySortie on entry and the
    // length of the whole text on return; bytes past the buffer are counted, not written. The
    // output is always zero-terminated when the buffer has room for one byte.
    int nDeCompress(uint8_t* pbySortie, int* pnLongueur, const uint8_t* pbyEntree, int nLongueurEntree) noexcept;

    // The packed record of a lookup as wide text. *pnLongueur is the size of pszSortie in
    // characters on entry, terminator included, and the number of characters of the text on
    // return. A text cut to fit answers RESULTAT_SORTIE_COURTE.
    static int s_nDeCompress(wchar_t* pszSortie, int* pnLongueur, const STRessourceModule& stRessource) noexcept;
    // The same in a malloc buffer that the caller frees; null on a decode failure.
    static wchar_t* s_pszDeCompress(const STRessourceModule& stRessource) noexcept;

    // Room that unpacking nLongueurEntree bytes can need, terminator included: two bytes give
    // at most three symbols, a raw byte one byte.
    static constexpr size_t s_nTailleDecompresseeMax(size_t nLongueurEntree) noexcept {
        return nLongueurEntree + nLongueurEntree / 2 + 2;
    }

private:
    static constexpr int NB_CHARSETS = 4;
    static constexpr int TAILLE_FILE = 11;

    static int _nGetValue(int nCharset, uint8_t byOctet) noexcept;
    static bool _bEncodable(uint8_t byOctet) noexcept;

    int _nGenerateBitStream() noexcept;
    int _nGetBestShift(int nPosition) const noexcept;
    int _nGetBestCharset(int nPosition, const int* pnCouts) const noexcept;
    int _nCalculateBinaryLen(int nPosition, int* pnLongueur) const noexcept;
    void _Enfile(int nChiffre) noexcept;
    void _nAddC40Digits() noexcept;
    void _nAddC40DigitsEndOfText() noexcept;
    void _nEncodeBinary(int nPosition) noexcept;
    void _EcritOctet(uint8_t byOctet) noexcept;

    // Unpacking: applies one digit that is not an escape.
    void _AddASCIIDigit(int nChiffre) noexcept;
    void _EcritSymbole(uint8_t byOctet) noexcept;

    // Input and output of the current operation.
    const uint8_t* m_pbyEntree = nullptr;
    int m_nLongueurEntree = 0;
    uint8_t* m_pbySortie = nullptr;
    size_t m_nTailleSortie = 0;
    size_t m_nEcrits = 0;  // bytes produced, written or only counted

    int m_nCharset = 0;
    int m_nShift = -1;  // charset of a pending shift, -1 for none
    int m_anFile[TAILLE_FILE] = {};
    int m_nNbFile = 0;
    int m_nLongueurBinaire = 0;
};
