// The variant's layout and the conversion entries of the machine, which the component and the
// machine share. The machine reads and writes variants through this view without the component's
// classes: it sets the type word and the payload, and leaves the operations pointer null, which
// tells the component to attach the operations of the type word before it uses the value.
#pragma once

#include <cstddef>
#include <cstdint>

// Type word: the low byte is the type code; two marks above it.
inline constexpr uint16_t ANY_MARQUE_NULL = 0x100;   // the value is null
inline constexpr uint16_t ANY_MARQUE_2 = 0x400;      // the second mark
inline constexpr uint16_t ANY_SANS_MARQUES = 0xfaff;  // what a successful set keeps of the word
inline constexpr size_t ANY_TAILLE_VALEUR = 40;       // payload bytes, moved as one block

struct STAnyView {
    int32_t nReserve;         // 0
    int32_t nRembourrage;
    void* pvOperations;       // table of the type's operations; null: to attach from the type word
    uint16_t wType;
    uint16_t awRembourrage[3];
    unsigned char abyValeur[ANY_TAILLE_VALEUR];  // inline payload, 8-byte aligned
};
static_assert(offsetof(STAnyView, pvOperations) == 8);
static_assert(offsetof(STAnyView, wType) == 16);
static_assert(offsetof(STAnyView, abyValeur) == 24);
static_assert(sizeof(STAnyView) == 64);

// Payloads by type code, as both sides lay them out:
//   0x01 32-bit boolean, 0x02-0x09 and 0x0e integers of their width, 0x0b float, 0x0c double,
//   0x0a money: five 16-bit words, low first, a two's-complement integer of millionths,
//   0x10 (also 0x94, 0x95) and 0x13 and 0x1c: the data pointer of a counted block (null: empty),
//   0x12 and 0x6e: a pointer to an owned zero-terminated text, 0x0d: a pointer to a decimal.

// Results of the conversions and of the variant's operations: below 100 a success (above 0 with
// a note), otherwise a failure.
enum : int {
    ANY_OK = 0,
    ANY_SUCCES_MAX = 99,
    ANY_ERREUR_VIDE = 0x66,        // a size or address asked of a value that has none
    ANY_ERREUR_CONVERSION = 0x69,  // no such conversion, or a text that is no number
    ANY_ERREUR_TAILLE = 0x6c,      // size limit
    ANY_ERREUR_DEPASSEMENT = 0x73, // the value does not fit the target
};

// The machine's conversion option record, passed through untouched by the component.
struct STOCAW {
    uint32_t dwTaille;   // sizeof(STOCAW)
    int32_t nCodePage;   // of 8-bit texts; 0 for the locale's
    uint32_t dwOptions;
};

// nConversionDepassementExt: converts the payload of one type code into the target buffer (40
// bytes, 8-aligned) as the payload of another. A result below 100 is a success, and the buffer
// then holds a payload that FinConversion(buffer, target code) releases after use; a string
// result is a counted block or an owned text of the machine's. Flags: bit 0 set by casts that
// replace the value.
using PFNCONVERSIONDEPASSEMENTEXT = int (*)(const void* pSource, int nTypeSource, void* pCible, int nTypeCible,
                                            unsigned int dwFlags, const STOCAW* pstOption);
using PFNFINCONVERSION = void (*)(void* pCible, int nType);
// The machine's pQueryProxy, asked for its factory of decimals (proxy 0x66).
using PFNQUERYPROXYMACHINE = void* (*)(int nNumero);
inline constexpr int ANY_PROXY_FABRIQUE = 0x66;

// The machine's factory behind type 0x0d: its first slot makes a decimal of 18 bytes, zeroed,
// its second frees one.
class IVMFactory {
public:
    virtual void* pCreeDecimal() = 0;
    virtual void LibereDecimal(void* pDecimal) = 0;

protected:
    ~IVMFactory() = default;
};
inline constexpr size_t ANY_TAILLE_DECIMAL = 18;
