// Message resources: lookup of a numbered record in a library's resource block, decoding of its
// text, loading through the machine's message provider when one is set, and formatting.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "base/module_info.h"
#include "base/tableau.h"
#include "base/tstring.h"

// The machine's message provider: (resource id, buffer, buffer length in characters) -> length of
// the text; 0 or less for none, more than the buffer length for the length it needs.
using PFNLOADSTRINGOVM = int (*)(unsigned int nIdRessource, wchar_t* pszBuffer, int nTaille);
extern PFNLOADSTRINGOVM gpfnLoadStringOVM;
extern bool gbInitialise;

bool DLLRES_bInit() noexcept;
void DLLRES_Term() noexcept;

// Texts come from the block inside the library, never from a separate resource library: these
// answer as a library without one does.
int DLLRES_bUtiliseDLLRes() noexcept;
extern void* ghGetRessourceHandle;
void DLLRES_SetFichierOVM(const wchar_t* pszFichier) noexcept;

// A library's raw resource by id and type, for the runtime's other libraries; this one has none
// and answers null. Exported.
extern "C" void* DLLRES_pLoadResourceModule(const _stMyModuleInfo* pstModule, unsigned int nIdRessource,
                                            const wchar_t* pszType, unsigned int* pnTaille) noexcept;
// Looks the entry above up in the library hModule and forwards to it; null when it has none.
void* DLLRES_pLoadResource(const _stMyModuleInfo* pstModule, void* hModule, unsigned int nIdRessource,
                           const wchar_t* pszType, unsigned int* pnTaille) noexcept;

// Asks a library's resource callback to set itself up: command 3 with a zeroed record of 24 bytes.
// False for a null callback, else the callback's answer.
using PFNINITRESSOURCE = int (*)(int nCommande, void* pRecord);
bool DLLRES_bForceInitRessource(PFNINITRESSOURCE pfnRappel) noexcept;

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

// The text of a record found by a lookup: its packed data unpacked, then decoded as its format says.
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

// A text made of a resource: formatted with the parameters, or, NoFormat, as it stands. Empty when
// the resource is missing.
class CTStringRes : public CTString {
public:
    CTStringRes(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept;
};

class CTStringResNoFormat : public CTString {
public:
    CTStringResNoFormat(const _stMyModuleInfo* pstModule, unsigned int nIdRessource) noexcept;
};

// One message from a message file: the text of message nIdMessage of set nJeu, read into
// pszBuffer (nTailleOctets bytes), cut to fit and zero-terminated. The file: a 32-bit header whose
// upper 16 bits are 1; pairs (set, offset) ended by two zeros; at a set's offset, pairs (message
// id, offset) ended by a zero id; at a message's offset, a 32-bit byte count and the UTF-32 text.
// All numbers 32-bit little-endian. False when the file, the set or the message is missing, or on
// any read or seek failure.
bool bRM_LoadMess(unsigned int nJeu, const char* pszChemin, unsigned int nIdMessage, wchar_t* pszBuffer,
                  int nTailleOctets) noexcept;
