// Compacted files: one file packed as a lead byte 0x20, a 296-byte header (method "-lh5-" or
// "-lh0-", compressed size, original size, the original name in code page 1252), the stream and
// two zero bytes. A file that does not shrink by more than the header is stored ("-lh0-").
//
// Names are wide texts (UTF-32 wchar_t). Every operation answers a code: 0, 1 the source cannot
// be opened or read, 2 the destination cannot be opened or written, 4 an unreadable or lying
// header or a corrupt stream (or a write failure with room left), 5 no memory, 6 stopped, 7 disk
// full; the language raises 80299 + code. A destination is written beside its name and takes it
// only once whole, so a failure leaves the old destination as it was and no partial file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovcompacte {

inline constexpr uint8_t kOctetTete = 0x20;
inline constexpr size_t kTailleEntete = 296;
inline constexpr size_t kDebutFlux = 1 + kTailleEntete;   // 297: where the stream starts
inline constexpr uint64_t kSurcout = kDebutFlux + 2;      // 299: header, lead and closing bytes
inline constexpr size_t kTailleNom = 260;

enum class EMethode { INCONNUE, LH5, LH0 };

struct STEntete {
    EMethode eMethode = EMethode::INCONNUE;
    uint64_t nCompressee = 0;
    uint64_t nOriginale = 0;
    char szNom[kTailleNom + 1] = {};  // code page 1252, zero-terminated here
};

// The 296 bytes of a header (without the lead byte), zero-filled then set.
void EcritEntete(const STEntete& stEntete, uint8_t* pbyEntete) noexcept;
// The method is compared without regard to case; any other text is INCONNUE.
STEntete stLitEntete(const uint8_t* pbyEntete) noexcept;

// Packs pszSource into pszDestination; the header keeps pszSource as given.
int nCompacte(const wchar_t* pszSource, const wchar_t* pszDestination) noexcept;

// Unpacks the compacted file that starts at oOffset in pszSource. A null or empty destination is
// the name stored in the header; one ending in "/" or ":" (trailing blanks ignored) is a directory
// that takes the last component of the stored name. A file in the old format goes to its own
// decoder (which reads from the start of the file); a file of neither kind is copied, or left
// alone without a destination.
int nDecompacte(const wchar_t* pszSource, const wchar_t* pszDestination, int64_t oOffset) noexcept;

// The whole size (compressed + 299) or the original size from the header: -1 when the file cannot
// be opened or read, -2 when it is not a compacted file. An old-format file answers its own
// header's compacted and original sizes.
int64_t lTailleCompacte(const wchar_t* pszNom) noexcept;
int64_t lTailleDecompacte(const wchar_t* pszNom) noexcept;

// Stops the compaction or decompaction running in any thread at its next progress point (a few
// KiB later): it answers 6 and leaves no destination. Each operation starts with the flag down.
void ArreteCompaction() noexcept;

}  // namespace ovcompacte

// Exported entry points for the other libraries of the runtime (see component/exports.map):
// int nfCompacte(const wchar_t* pszSource, const wchar_t* pszDestination): a code as above;
// int64_t lfTailleCompacte(const wchar_t* pszNom), int64_t lfTailleDecompacte(const wchar_t* pszNom).
extern "C" {
__attribute__((visibility("default"))) int nfCompacte(const wchar_t* pszSource, const wchar_t* pszDestination) noexcept;
__attribute__((visibility("default"))) int64_t lfTailleCompacte(const wchar_t* pszNom) noexcept;
__attribute__((visibility("default"))) int64_t lfTailleDecompacte(const wchar_t* pszNom) noexcept;
}
