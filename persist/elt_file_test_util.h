// Element files for the tests of the element reader and of the differences: three versions of
// four parts (plain, coded, empty, multi-language), and variants of the newest version with small
// edits, written by the library's own writer into memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/memory_stream.h"
#include "persist/elt_file.h"

namespace ovtestelt {

inline std::vector<uint8_t> tabOctets(const std::string& s) { return std::vector<uint8_t>(s.begin(), s.end()); }

// A text part: French, and a character outside the BMP, in UTF-8, repeated to some length.
inline std::vector<uint8_t> tabTexte(int nGraine, size_t nTaille) {
    std::string s;
    for (int i = 0; s.size() < nTaille; ++i)
        s += "ligne " + std::to_string(i * 7 + nGraine) + " : d\u00e9j\u00e0 \u00e9t\u00e9 \u00e0 l\u2019\u00e9cole \U0001F600\n";
    s.resize(nTaille);
    return tabOctets(s);
}

// nVariante 0: the base. 1: a few bytes of the newest version's coded and multi-language parts
// and of its plain part changed. 2: a part grows in the newest version.
inline std::vector<STVersionAEcrire> tabVersionsExemple(int nVariante) {
    std::vector<STVersionAEcrire> tab;
    for (int v = 0; v < 3; ++v) {
        STVersionAEcrire st;
        st.sTag = v == 2 ? "v3 \xE9t\xE9 longueur" : "v" + std::to_string(v + 1);
        STPartieAEcrire stPlain;
        stPlain.byType = 1;
        stPlain.tabOctets = tabTexte(v, 3000);
        STPartieAEcrire stCode;
        stCode.byType = 2;
        stCode.dwInfoEncodage = 1;
        stCode.dwOffsetEncodage = 6;
        stCode.tabOctets = tabTexte(100 + v, 6000);
        STPartieAEcrire stVide;
        stVide.byType = 3;
        STPartieAEcrire stMulti;
        stMulti.byType = 4;
        stMulti.byOption = CEltProjetFile::kbyOptionMultiLangue;
        stMulti.dwInfoEncodage = 1;
        stMulti.dwOffsetEncodage = 6;
        stMulti.tabCommun = tabTexte(200 + v, 500);
        stMulti.tabLangues.emplace_back(12, tabTexte(300 + v, 2000));
        stMulti.tabLangues.emplace_back(9, tabTexte(400 + v, 2500));
        if (v == 2 && nVariante == 1) {
            stPlain.tabOctets[1500] ^= 1;
            stCode.tabOctets[4000] = '#';
            stMulti.tabLangues[1].second[1000] = '#';
        }
        if (v == 2 && nVariante == 2) {
            const std::vector<uint8_t> tabAjout = tabTexte(999, 700);
            stCode.tabOctets.insert(stCode.tabOctets.begin() + 2000, tabAjout.begin(), tabAjout.end());
        }
        st.tabParties = {stPlain, stCode, stVide, stMulti};
        tab.push_back(std::move(st));
    }
    return tab;
}

inline std::vector<uint8_t> tabConstruit(const std::vector<STVersionAEcrire>& tabVersions, uint32_t dwId) {
    CEltProjetFile cl;
    auto* pclFlux = new CMemoryStream();
    cl.SetStream(pclFlux);
    if (!pclFlux->bOpen(L"essai", eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER, nullptr))
        return {};
    cl.stGetEntete().dwIdFichier = dwId;
    cl.stGetEntete().wVersion = 20;
    if (!cl.bEcritFichier(tabVersions, 0xC0FFEE)) return {};
    const auto* pby = static_cast<const uint8_t*>(pclFlux->pGetAddress());
    return std::vector<uint8_t>(pby, pby + pclFlux->oGetSize());
}

}  // namespace ovtestelt
