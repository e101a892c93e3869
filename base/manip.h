// STManipAUB: the record in which the machine passes a value that may be wide text, 8-bit text or
// binary (argument codes 0x50 and 0x4d). The block is the machine's; the record never owns it.
#pragma once

#include <cstdint>

#include "base/xystring.h"

struct STManipAUB {
    enum : uint16_t {
        TYPE_UNICODE = 0x10,  // wide text
        TYPE_ANSI = 0x13,     // 8-bit text
        TYPE_BINAIRE = 0x1c,  // binary value
    };

    void* pBloc;      // counted block, null for the empty value
    uint16_t nType;   // any other type reads as empty

    bool bEstTexte() const noexcept { return nType == TYPE_UNICODE || nType == TYPE_ANSI; }

    // The bytes with their terminator: 8-bit length + 1 (1 for a null block), wide length + 4 (4 for
    // a null block), binary length (0 for a null block). The pointer is the block as stored (null
    // for a null block); any other type answers the empty text and 0.
    const uint8_t* pbyGetContenu(int* pnTaille) const noexcept;
    // The bytes in use, without terminator: length, 0 for a null block.
    const uint8_t* pbyGetContenuUtile(int* pnTaille) const noexcept;
    // Characters for text (bytes for 8-bit text), bytes for binary; 0 for any other type.
    int nGetLongueur() const noexcept;
    // Bytes in use, whatever the type.
    int nGetTailleUtile() const noexcept;

    // The value as 8-bit or wide text, converted when it is of the other width (8-bit and binary
    // bytes are taken in nCodePage; wide text goes out in it). pclTampon holds a converted text and
    // must outlive the answer. Never null: the empty text for other types or a failed conversion
    // (*pnErreur, when given, then holds 0x69).
    const char* pszGetStringA(CXYString<char>* pclTampon, unsigned int nCodePage = XYS_CP_UTF8,
                              int* pnErreur = nullptr) const noexcept;
    const wchar_t* pszGetStringW(CXYString<wchar_t>* pclTampon, unsigned int nCodePage = XYS_CP_UTF8,
                                 int* pnErreur = nullptr) const noexcept;
};

static_assert(sizeof(STManipAUB) == 16, "pointer then 16-bit type, as the machine lays it out");
