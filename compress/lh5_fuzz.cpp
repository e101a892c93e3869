// Fuzz target of the "-lh5-" decoder: any bytes as a stream, decoded into sizes that the first
// bytes choose, in one call and in pieces. It must answer without reading or writing out of bounds,
// and a stream that decodes must decode the same in pieces.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "compress/lh5.h"

namespace {

class CSource final : public ovlh5::ISource {
public:
    CSource(const uint8_t* pby, size_t nTaille) : m_pby(pby), m_nReste(nTaille) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override {
        const size_t n = nTaille < m_nReste ? (nTaille < 97 ? nTaille : 97) : m_nReste;
        std::memcpy(pby, m_pby, n);
        m_pby += n;
        m_nReste -= n;
        return static_cast<long>(n);
    }

private:
    const uint8_t* m_pby;
    size_t m_nReste;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    if (nTaille < 2) return 0;
    // Sizes up to 256 KiB, so that a small stream of long matches can fill several windows.
    const size_t nOriginale = (size_t{pbyData[0]} << 10 | size_t{pbyData[1]} << 2) + 1;
    // An exact-size heap copy, so that any read past the end is caught.
    std::vector<uint8_t> tabFlux(pbyData + 2, pbyData + nTaille);
    std::vector<uint8_t> tabUn(nOriginale);
    const ovlh5::EResultat eUn = ovlh5::eDecodeMemoire(tabFlux.data(), tabFlux.size(), tabUn.data(), nOriginale);

    CSource clSource(tabFlux.data(), tabFlux.size());
    ovlh5::CDecodeurLh5 clDecodeur;
    if (!clDecodeur.bDemarre(&clSource, tabFlux.size())) std::abort();
    std::vector<uint8_t> tabPieces(nOriginale);
    ovlh5::EResultat ePieces = ovlh5::EResultat::OK;
    for (size_t n = 0; n < nOriginale && ePieces == ovlh5::EResultat::OK; n += 3000) {
        const size_t nPiece = nOriginale - n < 3000 ? nOriginale - n : 3000;
        ePieces = clDecodeur.eDecode(tabPieces.data() + n, nPiece);
    }
    if (eUn != ovlh5::EResultat::OK && eUn != ovlh5::EResultat::CORROMPU) std::abort();
    if (eUn == ovlh5::EResultat::OK && (ePieces != ovlh5::EResultat::OK || tabUn != tabPieces)) std::abort();
    return 0;
}
