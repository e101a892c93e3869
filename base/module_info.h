// The module record: what a library tells the error object and the message loader about itself
// (its error table, number, file name, version, resource callback and entry points).
#pragma once

#include <cstdint>

// One row of a library's error table: the number a caller raises, the resource holding its text,
// a detail id and the level the error takes.
struct _stErrorDef {
    uint32_t dwNumero;
    uint32_t dwRessource;
    uint32_t dwDetail;
    uint32_t dwNiveau;
};
static_assert(sizeof(_stErrorDef) == 16);

// Request and answer of a resource lookup. The caller fills nIdRessource and presets nUtilisation
// to -1; a hit fills the rest. The data stays in the library's block and is not owned.
struct STRessourceModule {
    uint32_t nIdRessource;
    const uint8_t* pbyDonnees;
    uint32_t dwLongueur;   // bytes of packed data
    uint32_t dwFormat;     // RESSOURCE_FORMAT_UTF8 or RESSOURCE_FORMAT_UTF16
    int32_t nUtilisation;  // 0 to 3, -1 when unknown
};

enum : uint32_t {
    RESSOURCE_FORMAT_UTF8 = 1,
    RESSOURCE_FORMAT_UTF16 = 2,
};

using PFNRESSOURCEMODULE = bool (*)(STRessourceModule& stRessource);

// The record, field by field in the order the runtime lays it out. The entry points are kept as
// untyped addresses: the record only carries them, nothing in the base library calls them.
struct _stMyModuleInfo {
    const _stErrorDef* pstErrorDef;
    int32_t nNbErrorDef;
    int32_t nNumeroBibliotheque;
    const char* pszNomFichier;  // "ov200std64.so"
    const char* pszVersion;     // "20.0.102.0"
    PFNRESSOURCEMODULE pfnRessource;
    void* pfnInitLibrary;   // bInitLibrary
    void* pfnTermLibrary;   // TermLibrary
    intptr_t nValeur1;      // always 1
    void* pfnQueryProxy;    // pQueryProxy
    void* pReserve1;        // null
    void* pfnInfoComposante;
    void* pfnExecution;
    void* pReserve2;        // null
    void* pReserve3;        // null
    void* pReserve4;        // null
};

// The component's own record; the component defines it.
extern const _stMyModuleInfo gstMyModuleInfo8;
