// For tests only: builds a resource block in the record layout that the lookup reads, with the
// texts packed as the library's own block has them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/data_compressor.h"

namespace base_internal {

struct STRecordTest {
    uint16_t nId;
    uint8_t byFlags;  // bits 0-1 usage, bit 6 UTF-16
    std::string sDonnees;
};

inline void AjouteMot16(std::vector<uint8_t>& tabBloc, size_t nValeur) {
    tabBloc.push_back(static_cast<uint8_t>(nValeur & 0xFF));
    tabBloc.push_back(static_cast<uint8_t>((nValeur >> 8) & 0xFF));
}

inline std::string sCompresse(const std::string& sTexte) {
    CDataCompressor clCompresseur;
    const auto* pbyTexte = reinterpret_cast<const uint8_t*>(sTexte.data());
    int nLongueur = 0;
    clCompresseur.nCompress(nullptr, 0, &nLongueur, pbyTexte, static_cast<int>(sTexte.size()));
    std::string sPaquet(static_cast<size_t>(nLongueur) + 1, '\0');
    if (clCompresseur.nCompress(reinterpret_cast<uint8_t*>(sPaquet.data()), nLongueur + 1, &nLongueur, pbyTexte,
                                static_cast<int>(sTexte.size())) != CDataCompressor::RESULTAT_OK)
        throw std::runtime_error("pack failed");
    sPaquet.resize(static_cast<size_t>(nLongueur));
    return sPaquet;
}

// The records in order, data as given, then the end mark (a size of 0) unless bSansFin.
inline std::vector<uint8_t> tabConstruitBlocBrut(std::initializer_list<STRecordTest> lstRecords,
                                                 bool bSansFin = false) {
    std::vector<uint8_t> tabBloc;
    for (const STRecordTest& stRecord : lstRecords) {
        AjouteMot16(tabBloc, 7 + stRecord.sDonnees.size());
        AjouteMot16(tabBloc, stRecord.nId);
        tabBloc.push_back(stRecord.byFlags);
        AjouteMot16(tabBloc, stRecord.sDonnees.size());
        tabBloc.insert(tabBloc.end(), stRecord.sDonnees.begin(), stRecord.sDonnees.end());
    }
    if (!bSansFin) AjouteMot16(tabBloc, 0);
    return tabBloc;
}

// The same with each text packed, except the two markers 257 and 65535, which stay plain.
inline std::vector<uint8_t> tabConstruitBloc(std::initializer_list<STRecordTest> lstRecords, bool bSansFin = false) {
    std::vector<STRecordTest> tabRecords(lstRecords);
    for (STRecordTest& stRecord : tabRecords)
        if (stRecord.nId != 257 && stRecord.nId != 65535) stRecord.sDonnees = sCompresse(stRecord.sDonnees);
    std::vector<uint8_t> tabBloc;
    for (const STRecordTest& stRecord : tabRecords) {
        const std::vector<uint8_t> tabRecord = tabConstruitBlocBrut({stRecord}, true);
        tabBloc.insert(tabBloc.end(), tabRecord.begin(), tabRecord.end());
    }
    if (!bSansFin) AjouteMot16(tabBloc, 0);
    return tabBloc;
}

inline std::string sUtf16Le(std::u16string_view sTexte) {
    std::string sOctets;
    for (char16_t cUnite : sTexte) {
        sOctets.push_back(static_cast<char>(cUnite & 0xFF));
        sOctets.push_back(static_cast<char>(cUnite >> 8));
    }
    return sOctets;
}

}  // namespace base_internal
