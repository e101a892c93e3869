// The descriptor tables that the machine reads through InfoComposante: a wire format, fixed byte
// for byte. The generated catalogue_tables.cpp fills them; nothing else writes them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "component/interfaces/machine.h"
#include "generated/catalogue_counts.h"

// Header common to every row.
struct STZKEntete {
    uint32_t nNumeroNom;       // running name number
    uint32_t nZero1;
    uint64_t nSecondNumero;    // a constant's stable number, else 0
    uint64_t nZero2;
    uint32_t dwDisponibilite;  // availability word
    uint32_t dwFormat;         // 1 in function rows
};
static_assert(sizeof(STZKEntete) == 32);

struct STZKSurcharge {
    PFNTHUNK pfnThunk;  // null: no body on this platform
    uint32_t dwOptions;
    uint32_t nZero1;
    const uint8_t* pbySignature;  // result word, argument words, one zero byte; shared
    uint32_t dwArguments;         // count, variadic bit 7, bit 8
    uint32_t nZero2;
};
static_assert(sizeof(STZKSurcharge) == 32);

struct STZKFonction {
    STZKEntete stEntete;
    uint16_t nIndex;
    uint8_t nDll;
    uint8_t nNbSurcharge;
    uint32_t nZero;
    const STZKSurcharge* pstSurcharges;
};
static_assert(sizeof(STZKFonction) == 48);
static_assert(offsetof(STZKFonction, nIndex) == 32 && offsetof(STZKFonction, pstSurcharges) == 40);

struct STZKConstante {
    STZKEntete stEntete;
    union {
        int64_t n;
        const wchar_t* psz;
    } uValeur;
    uint8_t nDll;
    uint8_t nType;  // 0x08, 0x7a or 0x00
    uint8_t byZero[6];
};
static_assert(sizeof(STZKConstante) == 48);

struct STZKVariable {
    STZKEntete stEntete;
    uint16_t nIndex;
    uint8_t nDll;
    uint8_t nType;
    uint32_t nZero;
};
static_assert(sizeof(STZKVariable) == 40);

struct STZKPropriete {
    uint32_t nNumeroNom;
    uint32_t dwIdentifiant;
    uint64_t nZero1;
    uint64_t nZero2;
    uint64_t dwMot;  // 0x1eb204690
    uint64_t nType;
    void* pfnGet;
    uint64_t nZero3;
    void* pfnSet;
    void* pfnForceSet;
    uint64_t dwFlags;  // 0x202, or 0x2 where a getter or setter is missing
};
static_assert(sizeof(STZKPropriete) == 80);

struct STZKClasse {
    uint32_t nNumeroNom;
    uint32_t nZero1;
    uint64_t nSecondNumero;
    uint64_t nZero2;
    const char* pszTypeRef;
    uint64_t dwMot;
    uint64_t nValeur2;
    void* pfnCopie;
    void* pfnType;
    uint64_t nZero3;
    const STZKSurcharge* pstConstructeurs;
    uint64_t nNbConstructeurs;
    uint64_t nZero4[6];
    uint64_t nNbProprietes;
    const STZKPropriete* pstProprietes;
    uint64_t nZero5[6];
    void* pfnGOG;
    uint64_t nZero6[3];
    void* pfnRAZ;
    uint64_t nZero7;
};
static_assert(offsetof(STZKClasse, pszTypeRef) == 24 && offsetof(STZKClasse, pstConstructeurs) == 72);
static_assert(offsetof(STZKClasse, nNbProprietes) == 136 && offsetof(STZKClasse, pstProprietes) == 144);
static_assert(offsetof(STZKClasse, pfnGOG) == 200 && offsetof(STZKClasse, pfnRAZ) == 232);

extern const STZKFonction __gstTabFonction8[];
extern const STZKConstante __gstTabConstante8[];
extern const STZKVariable __gstTabVariable8[];
extern const char* const __gstTabTypeRef8[];
extern const STZKClasse* const __gpstTabClasse8[];
extern const wchar_t* const __gpszTabAide8[];
extern const wchar_t* const __gpszTabDescription8[];
extern const uint8_t gbyBlocNom[];
