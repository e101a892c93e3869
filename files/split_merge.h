// Cutting a file into numbered pieces and joining them again, and looking for bytes in an open
// file without loading it.
#pragma once

#include <cstdint>
#include <string>

class IJaugeExec;
class IXStream;

namespace ovdecoupe {

inline constexpr int kNbPieceMax = 10000;
// The search's read size: a quarter of a megabyte stays in the processor's cache between the read
// and the scan, and costs few system calls. Results do not depend on it.
inline constexpr int kTailleBlocRecherche = 262144;

// The name of piece nNumero (from 1) of sBase: "base.001", ..., "base.999", "base.1000".
std::string sNomPiece(const std::string& sBase, int nNumero);

// Per-mille progress of oFait bytes out of oTotal, 0 to 1,000, without overflow for any size; 1,000
// when oTotal is 0 or nothing is left.
int nPourMille(int64_t oFait, int64_t oTotal) noexcept;

// "1 234 567": a count grouped by thousands, for the messages about too many pieces.
std::wstring sFormateNombre(uint64_t n);

// The offset of the first occurrence of pbyTexte (nTaille > 0 bytes) in the stream at or after
// oDebut, -1 when there is none, -2 when a read fails (the stream holds the error). Reads by
// blocks of kTailleBlocRecherche, keeping nTaille - 1 bytes from one block to the next so that a
// hit across a block edge is seen; linear in the size of the file. nTailleBloc is for tests.
int64_t oRecherche(IXStream* piFlux, const uint8_t* pbyTexte, size_t nTaille, int64_t oDebut,
                   size_t nTailleBloc = kTailleBlocRecherche);

}  // namespace ovdecoupe
