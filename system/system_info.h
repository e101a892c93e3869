// What the system functions of the language read and change: memory sizes, the system's version
// text, the process environment. Engines: they answer a boolean and leave a failure in the error
// object they are handed (which may be null).
#pragma once

#include <sys/utsname.h>

#include <cstddef>
#include <cstdint>

class CTString;
class CXError;

// ---------------------------------------------------------------- memory

// Kinds of SysEspace(kind): free physical memory, and all the memory a program may have (physical
// and swap).
enum : int {
    SYS_ESPACE_MEMOIRE_LIBRE = 1,
    SYS_ESPACE_MEMOIRE_VIRTUELLE = 2,
};

// A size in bytes as a 4-byte result: a size past what it holds answers its largest value rather
// than a wrapped, meaningless number.
int nTailleSur32Bits(uint64_t nTaille) noexcept;

// The physical memory of the machine (SysEspace without a kind). False when it cannot be read.
bool bSysEspaceTotal(uint64_t* pnTaille, CXError* pclErreur) noexcept;
// The size of a kind. False, with 80145, for another kind; false with 80140 when the memory file
// cannot be read.
bool bSysEspace(int nType, uint64_t* pnTaille, CXError* pclErreur) noexcept;

// ---------------------------------------------------------------- version

// Kinds of the version text: the whole description, the version number, the build number.
enum : int {
    SYS_VERSION_COMPLETE = 0,
    SYS_VERSION_NUMERO = 3,
    SYS_VERSION_BUILD = 5,
};

// The buffer the version text is made in, terminator included.
inline constexpr size_t TAILLE_TEXTE_VERSION = 1024;

// The version text of a kind from the system's identity: kind 0 "<system> <release> <version>",
// kind 3 the first two numbers of the release ("6.1"), kind 5 its third number ("0" when it has
// none). Cut to nTaille characters with the terminator. False for another kind.
bool bFormateVersion(const struct utsname& stSysteme, int nType, wchar_t* pszTexte, size_t nTaille) noexcept;
// The same for the running system (uname). False with errno set when uname fails.
bool bVersionWindows(int nType, wchar_t* pszTexte, size_t nTaille) noexcept;

// ---------------------------------------------------------------- environment

// Ends each entry of the whole environment's listing.
inline constexpr const wchar_t* SEPARATEUR_LISTE = L"\r\n";

// The value of a variable, from UTF-8; an unset variable answers the empty text. False only when
// memory fails.
bool bLitEnvironnement(const wchar_t* pszNom, CTString* pclValeur) noexcept;
// Every "name=value" of the environment, each followed by SEPARATEUR_LISTE. False only when memory
// fails.
bool _bChercheEnvironnement(CTString* pclListe) noexcept;
// Sets a variable (replacing its value) in UTF-8. A name that is empty or holds "=" fails with
// 80151, as does a refusal of the system (its reason in the system message).
bool bChangeEnvironnement(const wchar_t* pszNom, const wchar_t* pszValeur, CXError* pclErreur) noexcept;
