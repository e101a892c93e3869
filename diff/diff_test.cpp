// Differences: the matching rules that decide a difference's bytes, round trips over a corpus of
// edits, damaged and hostile differences, element files cut along their parts, and the golden
// differences that pin the stored layout (with the block compressor inside it).
#include "diff/diff.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "crypt/checksums.h"
#include "persist/elt_file_test_util.h"

namespace {

using Octets = std::vector<uint8_t>;

// A fixed generator, so that inputs are the same on every machine; tools/check_diff.py has it too.
Octets tabAleatoire(size_t n, uint32_t dwGraine) {
    Octets tab(n);
    uint32_t x = dwGraine;
    for (auto& by : tab) {
        x = (x * 1103515245u + 12345u) & 0x7FFFFFFFu;
        by = static_cast<uint8_t>(x >> 16);
    }
    return tab;
}

Octets tabTexte(size_t n) { return ovtestelt::tabTexte(0, n); }

Octets tabConcat(std::initializer_list<Octets> tabs) {
    Octets tab;
    for (const Octets& t : tabs) tab.insert(tab.end(), t.begin(), t.end());
    return tab;
}
Octets tabSous(const Octets& tab, size_t o, size_t n) { return Octets(tab.begin() + o, tab.begin() + o + n); }

struct STDiff {
    Octets tab;
    CDiffXDelta::EErrorType eErreur;
};
STDiff stCree(const Octets& tabSource, const Octets& tabCible, bool bDecomposition = false, int nLimite = -1) {
    CDiffXDelta cl;
    cl.SetLimite(nLimite);
    STDiff st;
    // An empty vector has no data: an empty buffer is still a buffer.
    static const uint8_t s_byVide = 0;
    cl.bComputeDiff(tabSource.empty() ? &s_byVide : tabSource.data(), tabSource.size(),
                    tabCible.empty() ? &s_byVide : tabCible.data(), tabCible.size(), &st.tab, bDecomposition);
    st.eErreur = cl.eGetErreur();
    return st;
}
STDiff stApplique(const Octets& tabSource, const Octets& tabDiff) {
    CDiffXDelta cl;
    STDiff st;
    cl.bApplyDiff(tabSource.data(), tabSource.size(), tabDiff.data(), tabDiff.size(), &st.tab);
    st.eErreur = cl.eGetErreur();
    return st;
}

// Instructions as text, "C0-300 I0-5", for the rules' table.
std::string sInstructions(const Octets& tabSource, const Octets& tabCible) {
    CDiffBufferSection cl;
    CDiffXDelta::s_CalculeDelta(tabSource.data(), tabSource.size(), tabCible.data(), tabCible.size(), &cl);
    std::string s;
    for (const CDiffInstruction& c : cl.tabGetInstructions())
        s += (s.empty() ? "" : " ") + std::string(c.m_eType == eDIFF_COPIE ? "C" : "I") + std::to_string(c.m_dwDebut) +
             "-" + std::to_string(c.m_dwFin);
    return s;
}

TEST(DiffMatching, RolledSumEqualsAFreshOneAtEveryOffset) {
    const Octets tab = tabConcat({tabAleatoire(3000, 7), Octets(600, 0xFF), tabAleatoire(1000, 8)});
    uint32_t dw = nAdler32(0, tab.data(), 128);
    for (size_t p = 1; p + 128 <= tab.size(); ++p) {
        dw = dwAdlerGlisse(dw, 128, tab[p - 1], tab[p + 127]);
        ASSERT_EQ(dw, nAdler32(0, tab.data() + p, 128)) << "offset " << p;
    }
}

TEST(DiffMatching, RulesDecideTheInstructions) {
    const Octets A = tabAleatoire(1024, 1);
    const Octets B = tabAleatoire(1024, 2);
    const Octets bloc = tabSous(A, 256, 128);
    struct STCas {
        int nLigne;
        Octets tabSource;
        Octets tabCible;
        const char* pszAttendu;
    };
    const STCas tabCas[] = {
        // A target of up to 128 bytes is never looked up: inserts only.
        {__LINE__, A, tabSous(A, 0, 128), "I0-128"},
        {__LINE__, A, tabSous(A, 0, 129), "C0-129"},
        // A source shorter than a block has no block: inserts only.
        {__LINE__, tabSous(A, 0, 127), tabConcat({tabSous(A, 0, 127), B}), "I0-1151"},
        // A match runs to the end of either range, but never backwards from its block.
        {__LINE__, A, tabConcat({tabSous(B, 0, 5), tabSous(A, 3, 1021)}), "I0-130 C128-1024"},
        {__LINE__, A, tabConcat({tabSous(A, 0, 600), tabSous(B, 0, 300)}), "C0-600 I0-300"},
        // A move: the second half first.
        {__LINE__, A, tabConcat({tabSous(A, 512, 512), tabSous(A, 0, 512)}), "C512-1024 C0-512"},
        // The last block of equal sums wins.
        {__LINE__, tabConcat({bloc, B, bloc}), tabConcat({bloc, bloc, tabSous(B, 0, 10)}), "C1152-1280 C1152-1280 I0-10"},
        // The last 128 bytes of a target are not looked up, though a running match may reach them.
        {__LINE__, A, tabConcat({tabSous(B, 0, 100), tabSous(A, 0, 128)}), "I0-228"},
        {__LINE__, A, tabConcat({tabSous(B, 0, 100), tabSous(A, 0, 129)}), "I0-100 C0-129"},
    };
    for (const STCas& c : tabCas)
        EXPECT_EQ(sInstructions(c.tabSource, c.tabCible), c.pszAttendu) << "row " << c.nLigne;
}

// Every edit shape gives back its target, with and without the element-file cut and the limit.
TEST(DiffRoundTrip, CorpusOfEdits) {
    const Octets S = tabConcat({tabTexte(5000), tabAleatoire(5000, 3)});
    const Octets X = tabAleatoire(2000, 4);
    struct STCas {
        int nLigne;
        Octets tabSource;
        Octets tabCible;
    };
    const STCas tabCas[] = {
        {__LINE__, S, tabConcat({tabSous(S, 0, 4000), X, tabSous(S, 4000, 6000)})},           // insert
        {__LINE__, S, tabConcat({tabSous(S, 0, 3000), tabSous(S, 7000, 3000)})},               // delete
        {__LINE__, S, tabConcat({tabSous(S, 6000, 4000), tabSous(S, 0, 6000)})},               // move
        {__LINE__, S, tabConcat({tabSous(S, 0, 9000), X, tabSous(S, 100, 50)})},               // mixed
        {__LINE__, S, Octets{0x42}},                                                           // 1-byte target
        {__LINE__, S, tabSous(S, 77, 129)},                                                    // 129 bytes
        {__LINE__, tabSous(S, 0, 100), S},                                                     // short source
        {__LINE__, Octets{1}, Octets{2}},
        {__LINE__, X, S},                                                                      // unrelated
        {__LINE__, S, tabConcat({S, S, S})},                                                   // repeated
    };
    for (const STCas& c : tabCas) {
        for (const bool bDecomposition : {false, true}) {
            const STDiff stDiff = stCree(c.tabSource, c.tabCible, bDecomposition);
            ASSERT_EQ(stDiff.eErreur, CDiffXDelta::eERREUR_AUCUNE) << "row " << c.nLigne;
            const STDiff stCible = stApplique(c.tabSource, stDiff.tab);
            EXPECT_EQ(stCible.eErreur, CDiffXDelta::eERREUR_AUCUNE) << "row " << c.nLigne;
            EXPECT_TRUE(stCible.tab == c.tabCible) << "row " << c.nLigne;
        }
    }
}

TEST(DiffRoundTrip, LimitIsAShareOfTheSource) {
    const Octets S = tabAleatoire(4000, 5);
    const Octets T = tabAleatoire(4000, 6);  // unrelated: the difference holds all of T
    const Octets P = tabConcat({S, Octets{1, 2, 3}});
    struct STCas {
        int nLigne;
        const Octets& tabCible;
        int nLimite;
        CDiffXDelta::EErrorType eAttendu;
    };
    const STCas tabCas[] = {
        {__LINE__, T, 50, CDiffXDelta::eERREUR_LIMITE},
        {__LINE__, T, 0, CDiffXDelta::eERREUR_AUCUNE},
        {__LINE__, T, -1, CDiffXDelta::eERREUR_AUCUNE},
        {__LINE__, T, 200, CDiffXDelta::eERREUR_AUCUNE},
        {__LINE__, P, 1, CDiffXDelta::eERREUR_LIMITE},
        {__LINE__, P, 5, CDiffXDelta::eERREUR_AUCUNE},
    };
    for (const STCas& c : tabCas) {
        const STDiff st = stCree(S, c.tabCible, false, c.nLimite);
        EXPECT_EQ(st.eErreur, c.eAttendu) << "row " << c.nLigne;
        EXPECT_EQ(st.tab.empty(), c.eAttendu != CDiffXDelta::eERREUR_AUCUNE) << "row " << c.nLigne;
    }
}

// ---------------------------------------------------------------- bad input

void Pose32(Octets* ptab, size_t o, uint32_t dw) {
    for (int i = 0; i < 4; ++i) (*ptab)[o + i] = static_cast<uint8_t>(dw >> (8 * i));
}

// A difference written by hand, body unpacked (method 0), so that every field can be set.
Octets tabDiffMain(const Octets& tabSource, uint32_t dwTailleCible, std::initializer_list<CDiffBufferSection*> sections,
                   uint32_t dwCrcCible = 0) {
    CDiffBuffer cl;
    cl.m_dwMethodePack = 0;
    cl.m_dwCrcSource = CCrc2::nCalculeCRC32(tabSource.data(), tabSource.size(), 0);
    cl.m_dwCrcCible = dwCrcCible;
    cl.m_dwTailleCible = dwTailleCible;
    for (CDiffBufferSection* p : sections) cl.nAddSection(p);
    Octets tab;
    cl.Serialize(&tab);
    return tab;
}

TEST(DiffBadInput, EachFaultHasItsNumber) {
    const Octets S = tabTexte(3000);
    const Octets T = tabConcat({tabSous(S, 0, 1000), tabAleatoire(50, 9), tabSous(S, 1000, 2000)});
    const Octets D = stCree(S, T).tab;
    ASSERT_FALSE(D.empty());
    auto pclCopie = [](uint32_t d, uint32_t f) {
        auto* p = new CDiffBufferSection(0, 3000, 0, f - d);
        p->AddCopyInstruction(d, f);
        return p;
    };
    Octets tabEntete40 = D;
    tabEntete40.insert(tabEntete40.begin() + 36, 12, 0xEE);
    Pose32(&tabEntete40, 4, 40);
    Octets tabVersion0 = D;
    Pose32(&tabVersion0, 8, 0);
    Octets tabSansSection = D;
    Pose32(&tabSansSection, 28, 0);
    Octets tabTropDeSections = D;
    Pose32(&tabTropDeSections, 28, 0x10000000);
    Octets tabCible = D;
    Pose32(&tabCible, 20, 0x12345678);
    Octets tabMethode = D;
    Pose32(&tabMethode, 12, 3);
    struct STCas {
        int nLigne;
        Octets tabSource;
        Octets tabDiff;
        CDiffXDelta::EErrorType eAttendu;
    };
    const STCas tabCas[] = {
        {__LINE__, S, D, CDiffXDelta::eERREUR_AUCUNE},
        {__LINE__, S, tabEntete40, CDiffXDelta::eERREUR_AUCUNE},  // a longer header is skipped
        {__LINE__, S, tabSous(D, 0, 7), CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, Octets(), CDiffXDelta::eERREUR_BUFFER},
        {__LINE__, Octets(), D, CDiffXDelta::eERREUR_BUFFER},
        {__LINE__, T, D, CDiffXDelta::eERREUR_CRC_SOURCE},
        {__LINE__, S, tabVersion0, CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabSansSection, CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabTropDeSections, CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabCible, CDiffXDelta::eERREUR_CRC_CIBLE},
        {__LINE__, S, tabMethode, CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabSous(D, 0, D.size() - 1), CDiffXDelta::eERREUR_MALFORME},
        // Hand-made bodies: a copy outside the source range, a range past the source, a target
        // size no section backs (which must not be allocated), sections that overlap.
        {__LINE__, S, tabDiffMain(S, 100, {pclCopie(2950, 3050)}), CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabDiffMain(S, 100, {new CDiffBufferSection(0, 3001, 0, 0)}), CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabDiffMain(S, 0x7FFFFF00u, {pclCopie(0, 100)}), CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabDiffMain(S, 0xFFFFFFF0u, {pclCopie(0, 100)}), CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabDiffMain(S, 100, {pclCopie(0, 100), pclCopie(0, 100)}), CDiffXDelta::eERREUR_MALFORME},
        {__LINE__, S, tabDiffMain(S, 100, {pclCopie(0, 100)}), CDiffXDelta::eERREUR_CRC_CIBLE},
        {__LINE__, S,
         tabDiffMain(S, 100, {pclCopie(0, 100)}, CCrc2::nCalculeCRC32(S.data(), 100, 0)),
         CDiffXDelta::eERREUR_AUCUNE},
    };
    for (const STCas& c : tabCas) {
        const STDiff st = stApplique(c.tabSource, c.tabDiff);
        EXPECT_EQ(st.eErreur, c.eAttendu) << "row " << c.nLigne;
        if (c.eAttendu != CDiffXDelta::eERREUR_AUCUNE) {
            EXPECT_TRUE(st.tab.empty()) << "row " << c.nLigne;
        }
    }
}

TEST(DiffBadInput, CreationRefusals) {
    const Octets S = tabTexte(500);
    EXPECT_EQ(stCree(S, S).eErreur, CDiffXDelta::eERREUR_IDENTIQUES);
    EXPECT_EQ(stCree(Octets(), S).eErreur, CDiffXDelta::eERREUR_SOURCE_VIDE);
    EXPECT_EQ(stCree(S, Octets()).eErreur, CDiffXDelta::eERREUR_BUFFER);
    EXPECT_EQ(CDiffXDelta::s_nNumeroMessage(CDiffXDelta::eERREUR_IDENTIQUES), 81656);
    EXPECT_EQ(CDiffXDelta::s_nNumeroMessage(static_cast<CDiffXDelta::EErrorType>(42)), 81650);
}

// Every cut and every single-bit flip of a real difference gives a numbered error or, when the
// flip lands where it changes nothing, the target itself: never anything else.
TEST(DiffBadInput, CutsAndFlipsNeverGiveAWrongTarget) {
    const Octets S = tabConcat({tabTexte(2000), tabAleatoire(700, 11)});
    const Octets T = tabConcat({tabSous(S, 300, 1500), tabAleatoire(40, 12), tabSous(S, 0, 300), tabSous(S, 1800, 900)});
    const Octets D = stCree(S, T).tab;
    for (size_t n = 0; n < D.size(); ++n) {
        const STDiff st = stApplique(S, tabSous(D, 0, n));
        EXPECT_NE(st.eErreur, CDiffXDelta::eERREUR_AUCUNE) << "cut at " << n;
    }
    for (size_t i = 0; i < D.size(); ++i) {
        Octets tab = D;
        tab[i] ^= static_cast<uint8_t>(1u << (i % 8));
        const STDiff st = stApplique(S, tab);
        if (st.eErreur == CDiffXDelta::eERREUR_AUCUNE) {
            EXPECT_TRUE(st.tab == T) << "bit " << i;
        }
    }
}

// ---------------------------------------------------------------- element files

// The bytes a difference inserts, in all its sections or only in its coded ones.
size_t nOctetsInseres(const Octets& tabDiff, bool bCodeesSeules) {
    CDiffBuffer cl;
    if (!cl.bDeserialize(tabDiff.data(), tabDiff.size())) return SIZE_MAX;
    size_t n = 0;
    for (int i = 0; i < cl.nGetNbSections(); ++i)
        if (!bCodeesSeules || cl.pclGetSectionAt(i)->m_dwEncodage != 0) n += cl.pclGetSectionAt(i)->tabGetDonnees().size();
    return n;
}

// A change inside a coded part stays small only once the part is compared in clear.
TEST(DiffEltFile, CutAlongThePartsGivesTheTargetBack) {
    const Octets S = ovtestelt::tabConstruit(ovtestelt::tabVersionsExemple(0), 8);
    for (const int nVariante : {1, 2}) {
        const Octets T = ovtestelt::tabConstruit(ovtestelt::tabVersionsExemple(nVariante), 8);
        const STDiff stCoupe = stCree(S, T, true);
        const STDiff stEntier = stCree(S, T, false);
        ASSERT_EQ(stCoupe.eErreur, CDiffXDelta::eERREUR_AUCUNE) << "variant " << nVariante;
        CDiffBuffer cl;
        ASSERT_TRUE(cl.bDeserialize(stCoupe.tab.data(), stCoupe.tab.size()));
        // Header, then per version its header, 3 plain-or-coded parts, the common zone, two
        // languages; the empty part has no section.
        EXPECT_EQ(cl.nGetNbSections(), 1 + 3 * 6) << "variant " << nVariante;
        EXPECT_TRUE(stApplique(S, stCoupe.tab).tab == T) << "variant " << nVariante;
        if (nVariante == 1) {
            // Two one-byte changes in coded parts: a block's worth each in clear, against the
            // whole coded tail of each part when the coded bytes are compared.
            EXPECT_LE(nOctetsInseres(stCoupe.tab, true), 2 * CDiffBuffer::kdwTailleBloc);
            EXPECT_GT(nOctetsInseres(stEntier.tab, false), 600u);
        }
    }
}

TEST(DiffEltFile, AnythingElseFallsBackToOneSection) {
    const Octets S = ovtestelt::tabConstruit(ovtestelt::tabVersionsExemple(0), 8);
    std::vector<STVersionAEcrire> tabVersions = ovtestelt::tabVersionsExemple(1);
    tabVersions.pop_back();  // a version fewer
    Octets tabDeux = ovtestelt::tabConstruit(tabVersions, 8);
    tabVersions = ovtestelt::tabVersionsExemple(1);
    tabVersions[0].tabParties[1].dwOffsetEncodage = 7;  // another offset of encoding
    Octets tabOffset = ovtestelt::tabConstruit(tabVersions, 8);
    for (const Octets& T : {tabDeux, tabOffset, tabTexte(9000)}) {
        const STDiff st = stCree(S, T, true);
        ASSERT_EQ(st.eErreur, CDiffXDelta::eERREUR_AUCUNE);
        CDiffBuffer cl;
        ASSERT_TRUE(cl.bDeserialize(st.tab.data(), st.tab.size()));
        EXPECT_EQ(cl.nGetNbSections(), 1);
        EXPECT_TRUE(stApplique(S, st.tab).tab == T);
    }
}

// ---------------------------------------------------------------- golden differences

// Pinned differences: their bytes must not change from release to release, block compressor
// included. OV_DIFF_GOLDEN_ECRIT=1 rewrites them (and their inputs, for tools/check_diff.py).
TEST(DiffGolden, StoredDifferencesKeepTheirBytes) {
    const Octets S = tabConcat({tabTexte(3000), tabAleatoire(1500, 21)});
    const Octets E0 = ovtestelt::tabConstruit(ovtestelt::tabVersionsExemple(0), 8);
    const Octets E1 = ovtestelt::tabConstruit(ovtestelt::tabVersionsExemple(1), 8);
    struct STCas {
        const char* pszNom;
        Octets tabSource;
        Octets tabCible;
        bool bDecomposition;
    };
    const STCas tabCas[] = {
        {"edits", S, tabConcat({tabSous(S, 0, 1200), tabAleatoire(33, 22), tabSous(S, 1250, 2000), tabSous(S, 100, 900)}), false},
        {"short", tabSous(S, 0, 100), tabSous(S, 50, 129), false},
        {"moved", S, tabConcat({tabSous(S, 2500, 2000), tabSous(S, 0, 2500)}), false},
        {"element", E0, E1, true},
    };
    const std::string sDossier = OV_DIFF_TESTDATA;
    const bool bEcrit = std::getenv("OV_DIFF_GOLDEN_ECRIT") != nullptr;
    for (const STCas& c : tabCas) {
        const STDiff st = stCree(c.tabSource, c.tabCible, c.bDecomposition);
        ASSERT_EQ(st.eErreur, CDiffXDelta::eERREUR_AUCUNE) << c.pszNom;
        const std::string sBase = sDossier + "/" + c.pszNom;
        if (bEcrit) {
            std::ofstream(sBase + ".source", std::ios::binary).write(reinterpret_cast<const char*>(c.tabSource.data()),
                                                                      static_cast<std::streamsize>(c.tabSource.size()));
            std::ofstream(sBase + ".target", std::ios::binary).write(reinterpret_cast<const char*>(c.tabCible.data()),
                                                                      static_cast<std::streamsize>(c.tabCible.size()));
            std::ofstream(sBase + ".dif", std::ios::binary).write(reinterpret_cast<const char*>(st.tab.data()),
                                                                   static_cast<std::streamsize>(st.tab.size()));
        }
        std::ifstream f(sBase + ".dif", std::ios::binary);
        ASSERT_TRUE(f) << sBase;
        const Octets tabGolden((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
        EXPECT_TRUE(st.tab == tabGolden) << c.pszNom << ": the stored form of a difference changed";
        EXPECT_TRUE(stApplique(c.tabSource, tabGolden).tab == c.tabCible) << c.pszNom;
    }
}

}  // namespace
