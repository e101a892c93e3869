// The block decoders on hostile input: the bytes as a block of any type (the type byte picks the
// decoder), as a packed text stream, and as a compressed string; then the bytes themselves through
// both coders and back. Whatever the bytes, decoding ends, stays inside its output (sized exactly,
// so the sanitizers see one byte past it) and either fails or gives the declared size.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "compress/block_compressors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille) {
    if (nTaille == 0 || nTaille > (1u << 20)) return 0;
    const auto dwTaille = static_cast<uint32_t>(nTaille);
    CCompresseur cl;
    // Room for the declared size when it is modest, so that damaged data is decoded to the end.
    uint32_t dwPlace = cl.dwTailleDecompression(pbyData, dwTaille);
    if (dwPlace == CCompresseurBase::kdwEchec || dwPlace > (4u << 20)) dwPlace = 4096;
    std::vector<uint8_t> tabSortie(dwPlace);
    const uint32_t dw = cl.dwDecompression(pbyData, dwTaille, tabSortie.data(), dwPlace, 0);
    if (dw != CCompresseurBase::kdwEchec && dw != cl.dwTailleDecompression(pbyData, dwTaille)) std::abort();

    CCompresseurOVC40 clTexte;
    std::vector<uint8_t> tabTexteSortie(clTexte.dwTailleDecompression(pbyData, dwTaille));
    const uint32_t dwTexte = cl.dwDecompression(pbyData, dwTaille, tabTexteSortie.data(),
                                                static_cast<uint32_t>(tabTexteSortie.size()),
                                                CCompresseurBase::eCOMPRESSEUR_OVC40);
    if (dwTexte != CCompresseurBase::kdwEchec && dwTexte > tabTexteSortie.size()) std::abort();

    std::vector<uint8_t> tabChaine;
    ovcompresse::_ChaineDecompresse(&tabChaine, pbyData, nTaille, pbyData[0] == 0x02 ? 0 : 2);

    // The bytes as plain data: each coder gives them back.
    if (nTaille <= 1 << 16) {
        for (const uint8_t eType : {CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC, CCompresseurBase::eCOMPRESSEUR_ZLW}) {
            cl.ChangeMethodeCompression(eType);
            std::vector<uint8_t> tabBloc(cl.dwTailleBufferCompression(dwTaille));
            const uint32_t dwBloc = cl.dwCompression(pbyData, dwTaille, tabBloc.data(), static_cast<uint32_t>(tabBloc.size()));
            if (dwBloc == 0 || dwBloc > dwTaille + 5) std::abort();
            std::vector<uint8_t> tabRetour(dwTaille);
            if (cl.dwDecompression(tabBloc.data(), dwBloc, tabRetour.data(), dwTaille, 0) != dwTaille) std::abort();
            for (size_t i = 0; i < nTaille; ++i)
                if (tabRetour[i] != pbyData[i]) std::abort();
        }
    }
    return 0;
}
