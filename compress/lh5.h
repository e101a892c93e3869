// The "-lh5-" stream of compacted files: LZ77 over an 8 KiB sliding window, matches of 3 to 256
// bytes, coded in static Huffman blocks (510 literal and length codes, 14 position codes, 19
// code-length codes, codes of at most 16 bits, a 16-bit symbol count per block). The stream is
// the published scheme, so any decoder of that scheme reads what the encoder writes, and the
// decoder reads what any encoder of it writes.
//
// Both directions work on caller-given byte sources and sinks, so that the compacted-file layer
// puts its 16,000-byte buffers over disk files while tests and fuzzers work in memory. Each
// operation owns its state; nothing is shared between two operations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ovlh5 {

inline constexpr int kBitsDictionnaire = 13;
inline constexpr size_t kTailleDictionnaire = size_t{1} << kBitsDictionnaire;  // 8,192
inline constexpr int kMatchMax = 256;
inline constexpr int kMatchMin = 3;

// Bytes in. nLit answers the count read (short only at the end), 0 at the end, -1 on a read
// failure (errno set).
class ISource {
public:
    virtual long nLit(uint8_t* pby, size_t nTaille) noexcept = 0;

protected:
    ~ISource() = default;
};

// Bytes out. False on a write failure (errno set).
class IPuits {
public:
    virtual bool bEcrit(const uint8_t* pby, size_t nTaille) noexcept = 0;

protected:
    ~IPuits() = default;
};

// Progress of an encoding: bContinue is told the count of source bytes consumed so far; false
// stops the operation.
class IProgression {
public:
    virtual bool bContinue(uint64_t nLus) noexcept = 0;

protected:
    ~IProgression() = default;
};

enum class EResultat {
    OK,
    INCOMPRESSIBLE,  // the output would have reached the given limit: nothing useful was written
    ARRETE,          // the progression asked to stop
    ECHEC_LECTURE,   // the source failed (errno)
    ECHEC_ECRITURE,  // the sink failed (errno)
    MEMOIRE,         // the work areas could not be had
    CORROMPU,        // decoder: a code, length or distance outside its bounds, or data past the
                     // declared compressed size
};

struct STEncodage {
    EResultat eResultat = EResultat::OK;
    uint64_t nLus = 0;      // source bytes consumed
    uint64_t nEcrits = 0;   // compressed bytes handed to the sink
};

// Compresses everything piSource gives into piPuits. nLimiteSortie: the encoder stops with
// INCOMPRESSIBLE as soon as writing one more byte would make the output reach that count
// (UINT64_MAX for none); the compacted-file writer passes original size - 296, so that a file must
// shrink by more than a header to stay compressed. piProgression may be null.
STEncodage stEncode(ISource* piSource, IPuits* piPuits, uint64_t nLimiteSortie,
                    IProgression* piProgression) noexcept;

// Decodes a stream of nTailleCompressee bytes, in pieces: the caller asks for exactly the bytes it
// wants, up to the original size it learnt from the file's header. Distances and lengths are
// checked against the bytes produced so far; a stream that would need more than its declared
// compressed size (beyond the few bytes of look-ahead the bit reader takes) is corrupt. Never
// writes outside the caller's buffer and never loops without consuming input or producing output.
class CDecodeurLh5 {
public:
    CDecodeurLh5() noexcept;
    ~CDecodeurLh5();
    CDecodeurLh5(const CDecodeurLh5&) = delete;
    CDecodeurLh5& operator=(const CDecodeurLh5&) = delete;

    // Binds the source and reads the first block header lazily. False only without memory.
    bool bDemarre(ISource* piSource, uint64_t nTailleCompressee) noexcept;

    // Writes exactly nTaille decoded bytes into pbySortie. OK, or CORROMPU / ECHEC_LECTURE, after
    // which the decoder stays failed.
    EResultat eDecode(uint8_t* pbySortie, size_t nTaille) noexcept;

private:
    struct STEtat;
    std::unique_ptr<STEtat> m_pstEtat;
};

// One call over memory, for tests and small buffers: the whole of pbySource decoded into
// nTailleOriginale bytes at pbySortie.
EResultat eDecodeMemoire(const uint8_t* pbySource, size_t nTailleSource, uint8_t* pbySortie,
                         size_t nTailleOriginale) noexcept;

// The 16-bit CRC of polynomial 0xA001 (reflected, start 0) that the scheme's archives carry:
// for the test scripts that wrap our streams in an archive header, and for the CRC word the
// compacted-file layer keeps.
uint16_t wCrc16(uint16_t wCrc, const uint8_t* pby, size_t nTaille) noexcept;

}  // namespace ovlh5
