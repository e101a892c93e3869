// Message resources: lookup of a numbered record in a library's resource block, decoding of its
// text, loading through the machine's message provider when one is set, and formatting.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "base/module_info.h"
#include "base/tableau.h"

class CTString;

// The machine's message provider: (resource id, buffer, buffer length in characters) -> length of
// the text; 0 or less for none, more than the buffer length for the length it needs.
using PFNLOADSTRINGOVM = int (*)(unsigned int nIdRessource, wchar_t* pszBuffer, int nTaille);
extern PFNLOADSTRINGOVM gpfnLoadStringOVM;
extern bool gbInitialise;

bool DLLRES_bInit() noexcept;
void DLLRES_Term() noexcept;

// The index of a resource block: offsets of its records, built once by the constructor, searched by
// id. The block is a run of records (16-bit size, 16-bit id, flag byte, 16-bit data length, data),
// ended by a size of 0. The walk stops at the end mark or at the first record that is not sound: a
// size smaller than the header, a record or data running past the block's end, an id that does not
// rise. What comes before such a record stays reachable.
class CResAnsiIndex {
public:
    CResAnsiIndex(const uint8_t* pbyBlock, size_t nTaille) noexcept;
    bool bCherche(STRessourceModule& stRessource) const noexcept;
    int nGetNbRessource() const noexcept { return m_tabOffset.nGetNbElement(); }

private:
    const uint8_t* m_pbyBlock;
    CTTableau<uint32_t> m_tabOffset;
};

// One lookup in a block (the index is built for the call). True when the id exists; the answer
// points into the block.
bool bGetResAnsiBlock(const uint8_t* pbyBlock, size_t nTaille, STRessourceModule& stRessource) noexcept;

// The text of a record found by a lookup.
bool bDecodeRessource(const STRessourceModule& stRessource, CTString* pclTexte) noexcept;

// The provider's text. False when no provider is set or it has none.
bool OVM_bLoadString(unsigned int nIdRessource, CTString* pclTexte) noexcept;
int OVM_nLoadString(unsigned int nIdRessource, wchar_t* pszBuffer, int nTaille) noexcept;

// The provider's text, else the module's own. On a miss the target is left untouched.
bool DLLRES_bLoadString(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte) noexcept;
// Into the caller's buffer, cut to fit and terminated; answers the characters written, 0 on a miss.
int DLLRES_nLoadString(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, wchar_t* pszBuffer,
                       int nTaille) noexcept;
// The usage number of the record, -1 for an unknown id.
int DLLRES_nGetUtilisation(const _stMyModuleInfo* pstModule, unsigned int nIdRessource) noexcept;

// The resource text used as a wide printf format with the parameters; the result replaces the
// target. False when the resource is missing or memory fails.
bool DLLRES_bFormatMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte,
                           ...) noexcept;
bool DLLRES_bFormatMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte,
                               va_list pArguments) noexcept;
// Same into a malloc buffer that the caller frees; answers its length, 0 with *ppszTexte null on
// failure.
int DLLRES_nFormatMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, wchar_t** ppszTexte,
                          ...) noexcept;
int DLLRES_nFormatMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, wchar_t** ppszTexte,
                              va_list pArguments) noexcept;
// Formats a text already loaded; answers the length, 0 on failure.
unsigned int DLLRES_dwFormatMessage(const wchar_t* pszFormat, CTString* pclTexte, va_list pArguments) noexcept;
unsigned int DLLRES_dwFormatMessage(const wchar_t* pszFormat, wchar_t** ppszTexte, va_list pArguments) noexcept;

// One resource holds the singular and plural variants separated by "\n§\n"; nPartie picks one.
bool __bLoadStringSingulierPluriel(const _stMyModuleInfo* pstModule, int nPartie, unsigned int nIdRessource,
                                   CTString* pclTexte) noexcept;
bool DLLRES_bFormatMessageSingulierPluriel(const _stMyModuleInfo* pstModule, int nPartie, unsigned int nIdRessource,
                                           CTString* pclTexte, ...) noexcept;
bool DLLRES_bFormatMessageSingulierPlurielList(const _stMyModuleInfo* pstModule, int nPartie,
                                               unsigned int nIdRessource, CTString* pclTexte,
                                               va_list pArguments) noexcept;
