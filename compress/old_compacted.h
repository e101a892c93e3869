// Files compacted by former versions: a 21-byte header ("MTOLVERALZCS@", then the original and
// the compacted size, big endian) in front of an LZW stream of 9 to 14 bits a code, most
// significant bit first. Only read: nothing writes this format any more.
#pragma once

#include <cstdint>

namespace ovcompacte {

// Return codes of nOldDecompacte.
enum : int {
    OLD_OK = 0,
    OLD_SOURCE = 1,        // the source cannot be opened
    OLD_DESTINATION = 2,   // the destination cannot be opened or written
    OLD_PAS_COMPACTE = 3,  // no magic: not a file of this format
    OLD_DISQUE_PLEIN = 4,  // the disk has not room enough; also a corrupt stream, which the format
                           // cannot tell from a short one
    OLD_MEMOIRE = 5,       // no memory for the tables
    OLD_ARRETE = 6,        // stopped by fStopCompacte: the destination is not written
};

// Decodes pszSource into pszDestination (names in UTF-8). Without a destination the file is
// decompacted onto itself: the source is first renamed to its name with the extension replaced
// by ".$$$", which is read and then deleted (on failure it takes its name back; a file without
// the magic is not renamed). The destination takes its name only once whole.
int nOldDecompacte(const char* pszSource, const char* pszDestination) noexcept;

// The compacted size in the header of an old-format file, 0 when the file has no magic or cannot
// be opened.
int64_t lVerifieSiCompresseOld(const char* pszNom) noexcept;

}  // namespace ovcompacte
