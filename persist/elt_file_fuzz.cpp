// The element-file reader on hostile files: every version, part and language is read, then the
// file is cut along its parts against a copy with one byte changed. Whatever the bytes, the walk
// ends, every read stays inside the file, and a difference made from the cut gives the copy back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "diff/diff.h"
#include "persist/elt_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    if (nTaille > (1u << 18)) return 0;
    CEltProjetFile cl;
    if (cl.bOuvreMemoire(pbyData, nTaille)) {
        for (int v = 0; v < cl.nNbVersion(); ++v) {
            if (!cl.bOuvreVersion(v)) continue;
            for (int i = 0; i < cl.nNbPartie(); ++i) {
                std::vector<uint8_t> tab;
                if (cl.bGetPartie(i, &tab) && tab.size() != cl.dwGetTaillePartie(i)) std::abort();
                const int nLangues = cl.nNbLanguePartie(i);
                for (int j = 0; j < nLangues; ++j) {
                    STLangueElt st;
                    if (!cl.bGetInfoLanguePartie(i, j, &st)) std::abort();
                    if (st.oDebut + st.dwTaille > cl.oGetOffsetPartie(i) + cl.dwGetTaillePartie(i)) std::abort();
                    cl.bGetLanguePartie(i, st.wLangue, &tab);
                }
            }
        }
    }
    if (nTaille < 2) return 0;
    std::vector<uint8_t> tabCible(pbyData, pbyData + nTaille);
    tabCible[nTaille / 2] ^= 0x5A;
    CDiffXDelta clDelta;
    std::vector<uint8_t> tabDiff;
    if (!clDelta.bComputeDiff(pbyData, nTaille, tabCible.data(), tabCible.size(), &tabDiff, true)) std::abort();
    if (!clDelta.__bValidateDiff(pbyData, nTaille, tabDiff.data(), tabDiff.size(), tabCible.data(), tabCible.size()))
        std::abort();
    return 0;
}
