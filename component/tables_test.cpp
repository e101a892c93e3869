// The descriptor tables as the machine reads them: counts, fixed rows, shared signatures, flags,
// forwards and the names block.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "component/composante.h"
#include "component/interfaces/type_codes.h"
#include "component/tables.h"

namespace {

std::vector<std::string> Names() {
    std::vector<std::string> tab;
    uint32_t n = 0;
    std::memcpy(&n, gbyBlocNom, 4);
    const uint8_t* p = gbyBlocNom + 4;
    for (uint32_t i = 0; i < n; ++i) {
        tab.emplace_back(reinterpret_cast<const char*>(p + 1), p[0]);
        p += 1 + p[0];
    }
    EXPECT_EQ(p - gbyBlocNom, gnTailleBlocNom8);
    return tab;
}

const std::vector<std::string>& CachedNames() {
    static const std::vector<std::string> tab = Names();
    return tab;
}

int Row(const std::string& sName) {
    for (int i = 0; i < gnNbFonction8; ++i)
        if (CachedNames()[__gstTabFonction8[i].stEntete.nNumeroNom - 1] == sName) return i;
    return -1;
}

std::vector<uint32_t> Signature(const STZKSurcharge& st) {
    std::vector<uint32_t> tab;
    uint32_t nArgs = st.dwArguments & ovtype::ARGS_COUNT_MASK;
    for (uint32_t i = 0; i <= nArgs; ++i) {
        uint32_t w = 0;
        std::memcpy(&w, st.pbySignature + 4 * i, 4);
        tab.push_back(w);
    }
    EXPECT_EQ(st.pbySignature[4 * (nArgs + 1)], 0) << "a signature ends with one zero byte";
    return tab;
}

TEST(Tables, CountsMatchTheRowsServed) {
    EXPECT_EQ(gnNbFonction8, 497);
    EXPECT_EQ(gnNbConstante8, 625);
    EXPECT_EQ(gnNbVariable8, 53);
    EXPECT_EQ(gnNbTypeRef8, 4);
    EXPECT_EQ(CachedNames().size(), 497u + 625u + 53u + 1u + 10u);
}

TEST(Tables, FunctionRowsCarryTheirNumberLibraryAndFormat) {
    int nAlias = 0;
    for (int i = 0; i < gnNbFonction8; ++i) {
        const STZKFonction& st = __gstTabFonction8[i];
        SCOPED_TRACE(CachedNames()[st.stEntete.nNumeroNom - 1]);
        EXPECT_EQ(st.stEntete.nNumeroNom, static_cast<uint32_t>(i + 1));
        EXPECT_EQ(st.stEntete.dwFormat, 1u);
        EXPECT_EQ(st.stEntete.dwDisponibilite >> 30, 3u) << "format bits 30 and 31";
        EXPECT_EQ(st.nDll, 8);
        EXPECT_GE(st.nNbSurcharge, 1);
        EXPECT_LE(st.nNbSurcharge, 14);
        if (st.nIndex != i) {
            ++nAlias;
            EXPECT_LT(st.nIndex, i) << "a second name repeats an earlier index";
        }
    }
    EXPECT_EQ(nAlias, 4);
}

TEST(Tables, FixedRowsKeepTheirSignatures) {
    ASSERT_EQ(Row("DateSys"), 0);
    const STZKFonction& stDateSys = __gstTabFonction8[0];
    ASSERT_EQ(stDateSys.nNbSurcharge, 2);
    EXPECT_EQ(Signature(stDateSys.pstSurcharges[0]), (std::vector<uint32_t>{0x79}));
    EXPECT_EQ(Signature(stDateSys.pstSurcharges[1]), (std::vector<uint32_t>{0x00, 0x7a}));
    ASSERT_EQ(Row("EstPair"), 146);
    EXPECT_EQ(Signature(__gstTabFonction8[146].pstSurcharges[0]), (std::vector<uint32_t>{0x01, 0x08}));
    ASSERT_EQ(Row("fOuvre"), 175);
    EXPECT_EQ(Signature(__gstTabFonction8[175].pstSurcharges[0]), (std::vector<uint32_t>{0x08, 0x8050, 0x08}));
    EXPECT_EQ(Signature(__gstTabFonction8[175].pstSurcharges[1]), (std::vector<uint32_t>{0x08, 0x8050}));
}

TEST(Tables, IdenticalSignaturesAreStoredOnce) {
    std::map<std::vector<uint32_t>, const uint8_t*> map;
    for (int i = 0; i < gnNbFonction8; ++i) {
        const STZKFonction& st = __gstTabFonction8[i];
        for (int j = 0; j < st.nNbSurcharge; ++j) {
            auto [it, bNew] = map.emplace(Signature(st.pstSurcharges[j]), st.pstSurcharges[j].pbySignature);
            EXPECT_EQ(it->second, st.pstSurcharges[j].pbySignature);
        }
    }
}

TEST(Tables, ArgumentWordsAndFlags) {
    std::set<std::string> setVariadiques;
    for (int i = 0; i < gnNbFonction8; ++i) {
        const STZKFonction& st = __gstTabFonction8[i];
        for (int j = 0; j < st.nNbSurcharge; ++j) {
            const STZKSurcharge& o = st.pstSurcharges[j];
            if (o.dwArguments & ovtype::ARGS_VARIADIC) setVariadiques.insert(CachedNames()[i]);
            EXPECT_EQ(o.dwOptions != 0, CachedNames()[i] == "INIEcrit" && j == 2) << CachedNames()[i];
            EXPECT_EQ((o.dwArguments & ovtype::ARGS_BIT8) != 0, CachedNames()[i] == "CertificatOuvreProprietes");
        }
    }
    EXPECT_EQ(setVariadiques, (std::set<std::string>{"Max", "Min", "VerifieExpressionReguliere", "USBRecherche",
                                                      "fLitLigneExpressionReguliere"}));
    EXPECT_EQ(__gstTabFonction8[Row("INIEcrit")].pstSurcharges[2].dwOptions, 0x2000000u);
}

TEST(Tables, FunctionsWithoutBodyHaveOnlyNullThunks) {
    int nSansCorps = 0;
    for (int i = 0; i < gnNbFonction8; ++i) {
        const STZKFonction& st = __gstTabFonction8[i];
        if (st.nIndex != i) continue;
        int nNull = 0;
        for (int j = 0; j < st.nNbSurcharge; ++j) nNull += st.pstSurcharges[j].pfnThunk == nullptr;
        if (CachedNames()[i] == "PressePapier") {
            EXPECT_GE(nNull, 2);
        }
        // Functions still waiting for their family also have null thunks, so this counts at
        // least the 228 without a body here; the availability word tells them apart.
        if (nNull == st.nNbSurcharge) ++nSansCorps;
    }
    EXPECT_GE(nSansCorps, 228);
}

TEST(Tables, ConstantsByKindWithUniqueStableNumbers) {
    std::map<int, int> mapParType;
    std::set<uint64_t> setNumeros;
    std::set<std::wstring> setTextes;
    for (int i = 0; i < gnNbConstante8; ++i) {
        const STZKConstante& st = __gstTabConstante8[i];
        EXPECT_EQ(st.stEntete.nNumeroNom, static_cast<uint32_t>(gnNbFonction8 + 1 + i));
        EXPECT_EQ(st.nDll, 8);
        EXPECT_EQ(st.stEntete.dwFormat, 0u);
        ++mapParType[st.nType];
        EXPECT_TRUE(setNumeros.insert(st.stEntete.nSecondNumero).second);
        EXPECT_GE(st.stEntete.nSecondNumero, 101u);
        EXPECT_LE(st.stEntete.nSecondNumero, 4839u);
        if (st.nType == ovtype::TEXT) setTextes.insert(st.uValeur.psz);
        if (st.nType == 0) {
            EXPECT_EQ(st.uValeur.n, 0);
        }
    }
    EXPECT_EQ(mapParType[ovtype::INT], 420);
    EXPECT_EQ(mapParType[ovtype::TEXT], 58);
    EXPECT_EQ(mapParType[0], 147);
    for (const wchar_t* psz : {L"REPERTOIRE", L"VERSION", L"SOCIETE", L"waveaudio", L"not ready"})
        EXPECT_EQ(setTextes.count(psz), 1u) << "missing text constant";
}

TEST(Tables, VariablesCoverEveryIndexButOne) {
    std::set<int> setIndex;
    for (int i = 0; i < gnNbVariable8; ++i) {
        const STZKVariable& st = __gstTabVariable8[i];
        EXPECT_EQ(st.nDll, 8);
        setIndex.insert(st.nIndex);
    }
    std::set<int> setAttendu;
    for (int i = 1; i <= 0x36; ++i)
        if (i != 0x2e) setAttendu.insert(i);
    EXPECT_EQ(setIndex, setAttendu);
}

TEST(Tables, TypeReferencesAndTheProcessClass) {
    EXPECT_STREQ(__gstTabTypeRef8[0], "+:008:0:STD:Processus");
    EXPECT_STREQ(__gstTabTypeRef8[1], "+:008:1:STD:InfoVersion");
    EXPECT_STREQ(__gstTabTypeRef8[2], "+:008:2:STD:Certificat");
    EXPECT_EQ(std::strncmp(__gstTabTypeRef8[3], "+:061:", 6), 0);
    const STZKClasse& stClasse = *__gpstTabClasse8[0];
    EXPECT_EQ(stClasse.pszTypeRef, __gstTabTypeRef8[0]);
    EXPECT_EQ(stClasse.dwMot, 0x1eb204690u);
    EXPECT_EQ(stClasse.nValeur2, 2u);
    EXPECT_EQ(stClasse.nNbConstructeurs, 1u);
    ASSERT_EQ(stClasse.nNbProprietes, 10u);
    EXPECT_EQ(CachedNames()[stClasse.nNumeroNom - 1], "Processus");
    const char* tabProprietes[] = {"Executable", "LigneDeCommande", "PID", "ValeurDeRetour", "LoginExecution",
                                   "MotDePasseExecution", "ExecutionInteractive", "RepertoireDeTravail",
                                   "ExecutionEnCours", "NomMachine"};
    for (int i = 0; i < 10; ++i) {
        const STZKPropriete& st = stClasse.pstProprietes[i];
        EXPECT_EQ(CachedNames()[st.nNumeroNom - 1], tabProprietes[i]);
        EXPECT_EQ(st.dwMot, i == 6 ? 0x1eb204691u : 0x1eb204690u);
    }
}

TEST(Forwards, ZipFunctionsHandTheCallToLibrary42) {
    CComposanteStandard cl;
    int nForwards = 0;
    for (int i = 0; i < gnNbFonction8; ++i) {
        const std::string& sNom = CachedNames()[i];
        if (sNom.rfind("_zip", 0) != 0) continue;
        const STZKSurcharge& o = __gstTabFonction8[i].pstSurcharges[0];
        ASSERT_NE(o.pfnThunk, nullptr) << sNom;
        STZKAppel st{};
        st.nIndexCible = -1;
        void* tabArgs[16] = {};
        EXPECT_EQ(o.pfnThunk(&st, &cl, tabArgs), 1);
        EXPECT_EQ(st.nBibliothequeCible, 42);
        EXPECT_GE(st.nIndexCible, 0);
        EXPECT_LE(st.nIndexCible, 26);
        EXPECT_EQ(cl.pclGetError()->eGetErrorLevel(), 0x40000010);
        cl.RAZError();
        ++nForwards;
    }
    EXPECT_EQ(nForwards, 27);
}

}  // namespace
