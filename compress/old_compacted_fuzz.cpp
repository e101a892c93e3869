// The old format's LZW decoder on hostile input, in memory: two bytes of original size (so that
// the output stays small), then the codes. Whatever the bytes, the decoder ends, never writes past
// the original size and never reads past the input.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "compress/internal/compacted_lzw.h"

namespace {

class CSourceMemoire final : public ovlh5::ISource {
public:
    CSourceMemoire(const uint8_t* pby, size_t n) : m_pby(pby), m_nReste(n) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override {
        // Small pieces, so that refills happen in the middle of codes.
        const size_t n = nTaille < m_nReste ? (nTaille < 7 ? nTaille : 7) : m_nReste;
        std::memcpy(pby, m_pby, n);
        m_pby += n;
        m_nReste -= n;
        return static_cast<long>(n);
    }

private:
    const uint8_t* m_pby;
    size_t m_nReste;
};

class CPuitsMemoire final : public ovlh5::IPuits {
public:
    bool bEcrit(const uint8_t* pby, size_t nTaille) noexcept override {
        m_tab.insert(m_tab.end(), pby, pby + nTaille);
        return true;
    }
    std::vector<uint8_t> m_tab;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    if (nTaille < 2) return 0;
    const uint64_t nOriginale = uint64_t{pbyData[0]} << 8 | pbyData[1];
    CSourceMemoire clSource(pbyData + 2, nTaille - 2);
    CPuitsMemoire clPuits;
    const ovlh5::EResultat e = ovcompacte::interne::eDecodeLzw(&clSource, &clPuits, nOriginale);
    if (e == ovlh5::EResultat::OK && clPuits.m_tab.size() != nOriginale) std::abort();
    if (clPuits.m_tab.size() > nOriginale) std::abort();
    return 0;
}
