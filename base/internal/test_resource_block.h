// For tests only: builds a resource block in the record layout that the lookup reads.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

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

// The records in order, then the end mark (a size of 0) unless bSansFin.
inline std::vector<uint8_t> tabConstruitBloc(std::initializer_list<STRecordTest> lstRecords, bool bSansFin = false) {
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

inline std::string sUtf16Le(std::u16string_view sTexte) {
    std::string sOctets;
    for (char16_t cUnite : sTexte) {
        sOctets.push_back(static_cast<char>(cUnite & 0xFF));
        sOctets.push_back(static_cast<char>(cUnite >> 8));
    }
    return sOctets;
}

}  // namespace base_internal
