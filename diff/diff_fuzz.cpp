// diffApplique on hostile differences. The input is a 16-bit source length, the source, then the
// difference. The difference is tried as it is and with its source sum set to the source's, so
// that the fuzzer reaches the sections and instructions behind the check of the source. Whatever
// the bytes, applying ends, stays inside its buffers, and a success gives exactly the target size.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "crypt/checksums.h"
#include "diff/diff.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    if (nTaille < 2 || nTaille > (1u << 20)) return 0;
    const size_t nSource = (pbyData[0] | pbyData[1] << 8) % (nTaille - 1);
    const std::vector<uint8_t> tabSource(pbyData + 2, pbyData + 2 + nSource);
    std::vector<uint8_t> tabDiff(pbyData + 2 + nSource, pbyData + nTaille);
    for (int nEssai = 0; nEssai < 2; ++nEssai) {
        if (nEssai == 1) {
            if (tabDiff.size() < 20) break;
            const uint32_t dw = CCrc2::nCalculeCRC32(tabSource.data(), tabSource.size(), 0);
            for (int i = 0; i < 4; ++i) tabDiff[16 + i] = static_cast<uint8_t>(dw >> (8 * i));
        }
        CDiffXDelta cl;
        std::vector<uint8_t> tabCible;
        const bool bOk = cl.bApplyDiff(tabSource.data(), tabSource.size(), tabDiff.data(), tabDiff.size(), &tabCible);
        CDiffBuffer clDiff;
        if (bOk && (!clDiff.bDeserialize(tabDiff.data(), tabDiff.size()) || tabCible.size() != clDiff.m_dwTailleCible))
            std::abort();
        if (!bOk && cl.eGetErreur() == CDiffXDelta::eERREUR_AUCUNE) std::abort();
    }
    return 0;
}
