// Memory sizes, version texts and the environment as the system functions of the language see them.
#include "system/system_info.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include "base/any.h"
#include "base/error.h"
#include "base/tstring.h"
#include "component/composante.h"
#include "system/emulation.h"

namespace {

class Memoire : public ::testing::Test {
protected:
    void SetUp() override {
        // 6 GiB in all, 2 GiB available, 2 GiB of swap.
        std::ofstream(m_sChemin) << "MemTotal: 6291456 kB\nMemFree: 1048576 kB\nBuffers: 524288 kB\n"
                                    "Cached: 524288 kB\nSwapTotal: 2097152 kB\nSwapFree: 1 kB\n";
        SetCheminInfoMemoire(m_sChemin.c_str());
    }
    void TearDown() override {
        SetCheminInfoMemoire(nullptr);
        std::remove(m_sChemin.c_str());
    }
    std::string m_sChemin = ::testing::TempDir() + "meminfo_sys_" + std::to_string(getpid());
};

TEST_F(Memoire, TheFourByteResultSaturatesAndTheEightByteOnesStayTrue) {
    CComposanteStandard cl;
    EXPECT_EQ(cl.SysEspace(), INT_MAX) << "6 GiB would wrap to 2 GiB through 4 bytes";
    EXPECT_EQ(cl.SysEspace(1), long{2} << 30);
    EXPECT_EQ(cl.SysEspace(2), long{8} << 30);
    EXPECT_FALSE(cl.pclGetError()->bHasError());
    std::ofstream(m_sChemin) << "MemTotal: 2048 kB\n";
    EXPECT_EQ(cl.SysEspace(), 2048 * 1024);
    EXPECT_EQ(nTailleSur32Bits((uint64_t{4} << 30) + 5), INT_MAX);
}

TEST_F(Memoire, AnotherKindOrAnUnreadableFileRaises) {
    for (int nType : {0, 3, INT_MIN}) {
        CXError clErreur(&gstMyModuleInfo8);
        uint64_t n = 99;
        EXPECT_FALSE(bSysEspace(nType, &n, &clErreur));
        EXPECT_EQ(n, 0u);
        EXPECT_EQ(clErreur.nGetUserErrorCode(), 80145);
        EXPECT_NE(std::wcsstr(clErreur.pszGetUserMessage(), std::to_wstring(nType).c_str()), nullptr) << nType;
    }
    SetCheminInfoMemoire((m_sChemin + "_absent").c_str());
    CXError clErreur(&gstMyModuleInfo8);
    uint64_t n = 99;
    EXPECT_FALSE(bSysEspaceTotal(&n, &clErreur));
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 80140);
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), static_cast<unsigned int>(ENOENT));
}

struct utsname stSysteme(const char* pszRelease, const char* pszVersion = "#1 SMP") {
    struct utsname st {};
    std::strcpy(st.sysname, "Linux");
    std::strcpy(st.release, pszRelease);
    std::strcpy(st.version, pszVersion);
    return st;
}

TEST(Version, KindsCutTheReleaseIntoNumbers) {
    const struct {
        int nLigne;
        const char* pszRelease;
        int nType;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, "6.1.0-13-amd64", SYS_VERSION_COMPLETE, L"Linux 6.1.0-13-amd64 #1 SMP"},
        {__LINE__, "6.1.0-13-amd64", SYS_VERSION_NUMERO, L"6.1"},
        {__LINE__, "6.1.0-13-amd64", SYS_VERSION_BUILD, L"0"},
        {__LINE__, "5.15.133.1-std", SYS_VERSION_BUILD, L"133"},
        {__LINE__, "abc", SYS_VERSION_NUMERO, L""},
    };
    for (const auto& st : tab) {
        wchar_t sz[TAILLE_TEXTE_VERSION];
        ASSERT_TRUE(bFormateVersion(stSysteme(st.pszRelease), st.nType, sz, TAILLE_TEXTE_VERSION)) << "line " << st.nLigne;
        EXPECT_STREQ(sz, st.pszAttendu) << "line " << st.nLigne;
    }
    wchar_t sz[20];
    EXPECT_FALSE(bFormateVersion(stSysteme("6.1"), 1, sz, 20));
    ASSERT_TRUE(bFormateVersion(stSysteme("6.1", "#1 \xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80"), 0, sz, 20));
    EXPECT_STREQ(sz, L"Linux 6.1 #1 été \U0001F600");
    ASSERT_TRUE(bFormateVersion(stSysteme("6.1"), 0, sz, 6));
    EXPECT_STREQ(sz, L"Linux") << "cut to the buffer with its terminator";
}

const std::wstring kFrancais = L"Déjà été, où ça ? \U0001F600";

class Environnement : public ::testing::Test {
protected:
    void TearDown() override { unsetenv("OV_ESSAI_\xC3\x89T\xC3\x89"); }
};

TEST_F(Environnement, ChangedValuesReadBackAndStandAsUtf8ForOthers) {
    ASSERT_TRUE(bChangeEnvironnement(L"OV_ESSAI_ÉTÉ", kFrancais.c_str(), nullptr));
    EXPECT_STREQ(getenv("OV_ESSAI_\xC3\x89T\xC3\x89"),
                 "D\xC3\xA9j\xC3\xA0 \xC3\xA9t\xC3\xA9, o\xC3\xB9 \xC3\xA7" "a ? \xF0\x9F\x98\x80");
    CTString clValeur;
    ASSERT_TRUE(bLitEnvironnement(L"OV_ESSAI_ÉTÉ", &clValeur));
    EXPECT_EQ(std::wstring(clValeur.pszGet()), kFrancais);
    CTString clListe;
    ASSERT_TRUE(_bChercheEnvironnement(&clListe));
    const std::wstring sListe = clListe.pszGet();
    EXPECT_NE(sListe.find(L"\r\nOV_ESSAI_ÉTÉ=" + kFrancais + L"\r\n"), std::wstring::npos);
    size_t nEntrees = 0, nSeparateurs = 0;
    for (char** ppsz = environ; *ppsz != nullptr; ++ppsz) ++nEntrees;
    for (size_t i = sListe.find(L"\r\n"); i != std::wstring::npos; i = sListe.find(L"\r\n", i + 2)) ++nSeparateurs;
    EXPECT_EQ(nSeparateurs, nEntrees) << "every entry, the last too, ends with the separator";

    unsetenv("OV_ESSAI_\xC3\x89T\xC3\x89");
    ASSERT_TRUE(bLitEnvironnement(L"OV_ESSAI_ÉTÉ", &clValeur));
    EXPECT_TRUE(clValeur.bEstVide());
}

TEST_F(Environnement, TheLanguageFunctionSetsAVariantAsItsText) {
    CComposanteStandard cl;
    CAny clTexte(kFrancais.c_str());
    EXPECT_TRUE(cl.SysChangeEnvironnement(L"OV_ESSAI_ÉTÉ", &clTexte, 0));
    EXPECT_EQ(std::wstring(cl.SysEnvironnement(L"OV_ESSAI_ÉTÉ").pszGet()), kFrancais);
    CAny clNombre;
    clNombre.SetI4(42);
    if (!CAny::s_bConversionLiee()) {  // without the machine a number has no text form
        EXPECT_FALSE(cl.SysChangeEnvironnement(L"OV_ESSAI_ÉTÉ", &clNombre, 0));
        EXPECT_EQ(cl.pclGetError()->nGetUserErrorCode(), 80151);
        EXPECT_EQ(std::wstring(cl.SysEnvironnement(L"OV_ESSAI_ÉTÉ").pszGet()), kFrancais) << "left as it was";
    }
}

TEST_F(Environnement, NamesTheSystemRefusesRaiseWithTheName) {
    for (const wchar_t* pszNom : {L"", L"A=B", L"=été"}) {
        CXError clErreur(&gstMyModuleInfo8);
        EXPECT_FALSE(bChangeEnvironnement(pszNom, L"valeur", &clErreur)) << pszNom;
        EXPECT_EQ(clErreur.nGetUserErrorCode(), 80151);
        EXPECT_EQ(clErreur.dwGetSystemErrorCode(), static_cast<unsigned int>(EINVAL));
        EXPECT_NE(std::wcsstr(clErreur.pszGetUserMessage(), (std::wstring(L"variable ") + pszNom).c_str()), nullptr)
            << clErreur.pszGetUserMessage();
    }
    EXPECT_EQ(getenv("A"), nullptr);
}

TEST_F(Environnement, AListingNeverMeetsAHalfMadeChange) {
    std::thread clEcrivain([] {
        for (int i = 0; i < 300; ++i) bChangeEnvironnement((L"OV_ESSAI_FIL_" + std::to_wstring(i)).c_str(), L"é", nullptr);
    });
    for (int i = 0; i < 100; ++i) {
        CTString clListe;
        ASSERT_TRUE(_bChercheEnvironnement(&clListe));
        ASSERT_EQ(std::wstring(clListe.pszGet()).substr(clListe.nTaille() - 2), L"\r\n");
    }
    clEcrivain.join();
    for (int i = 0; i < 300; ++i) unsetenv(("OV_ESSAI_FIL_" + std::to_string(i)).c_str());
}

}  // namespace
