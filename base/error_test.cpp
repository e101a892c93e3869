// CXError: the layout the machine reads, raising from a module's table, messages, system errors,
// info items, sub-errors, copies and moves.
#include "base/error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "base/internal/test_resource_block.h"
#include "base/internal/utf.h"
#include "base/resources.h"
#include "base/tstring.h"
#include "component/interfaces/machine.h"

namespace {

using base_internal::sUtf16Le;
using base_internal::tabConstruitBloc;

const _stErrorDef gastErreursTest[] = {
    {80022, 1000, 1, 3},         {80014, 1001, 0, 2}, {81839, 1002, 81839, 3},
    {80041, 1003, 0, 3},         {80050, 1004, 0, 0x10002},  // resource 1004 is missing
    {80051, 1005, 0, 2},                                       // resource 1005 is empty
};

bool bRessourceTest(STRessourceModule& stRessource) {
    static const std::vector<uint8_t> s_tabBloc = tabConstruitBloc({
        {1000, 0, "Le numéro de fichier %d n'est pas valide : « %s »."},
        {1001, 0x40, sUtf16Le(u"Accès réservé à root \U0001D11E")},
        {1002, 0, "Détail"},
        {1003, 0, "Mémoire insuffisante."},
        {1005, 0, ""},
        {1006, 0, "Étape %d"},
    });
    static const CResAnsiIndex s_clIndex(s_tabBloc.data(), s_tabBloc.size());
    return s_clIndex.bCherche(stRessource);
}

constexpr int NUMERO_BIBLIOTHEQUE_TEST = 8;

const _stMyModuleInfo gstModuleTest = {
    gastErreursTest, 6, NUMERO_BIBLIOTHEQUE_TEST, "erreur_test.so", "20.0.1.0", bRessourceTest, nullptr, nullptr,
    1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
};

const _stMyModuleInfo gstAutreModule = {
    gastErreursTest, 6, 42, "autre.so", "1.0", bRessourceTest, nullptr, nullptr,
    1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
};

std::wstring sSysteme(int nErreur) {
    char szTexte[256];
    const char* pszTexte = strerror_r(nErreur, szTexte, sizeof szTexte);
    wchar_t* pszWide = base_internal::pszUtf8VersWideAlloue(pszTexte, base_internal::LONGUEUR_JUSQUA_ZERO);
    std::wstring sTexte(pszWide);
    free(pszWide);
    return sTexte;
}

// A counted object that records its destruction.
class CObjetCompte : public COVUnknown {
public:
    explicit CObjetCompte(int* pnDetruits) : m_pnDetruits(pnDetruits) {}
    ~CObjetCompte() override { ++*m_pnDetruits; }

private:
    int* m_pnDetruits;
};

TEST(ErrorLayout, MachineReadsLeadingFieldsThroughTheView) {
    static_assert(offsetof(STErrorView, pvTable) == 0 && offsetof(STErrorView, nRef) == 8 &&
                  offsetof(STErrorView, eLevel) == 12 && offsetof(STErrorView, nUserCode) == 16 &&
                  offsetof(STErrorView, pszUserMessage) == 24 && offsetof(STErrorView, pszDebugMessage) == 32);
    static_assert(sizeof(CXError) >= sizeof(STErrorView));

    CXError clPropre(&gstModuleTest);
    const auto* pstVuePropre = reinterpret_cast<const STErrorView*>(&clPropre);
    EXPECT_EQ(pstVuePropre->nRef, 0);
    EXPECT_EQ(pstVuePropre->eLevel, 1);
    EXPECT_EQ(pstVuePropre->pszUserMessage, nullptr);
    EXPECT_EQ(pstVuePropre->pszDebugMessage, nullptr);

    CXError clErreur(&gstModuleTest);
    clErreur.SetUserError(&gstModuleTest, 80022, 7, L"été.txt");
    clErreur.AddDebugMessageNoFormat(L"##(Test)-Handle=<7>##");
    clErreur.dwAddRef();
    clErreur.dwAddRef();
    const auto* pstVue = reinterpret_cast<const STErrorView*>(&clErreur);
    EXPECT_EQ(pstVue->pvTable, pstVuePropre->pvTable);
    EXPECT_EQ(pstVue->nRef, 2);
    EXPECT_EQ(pstVue->eLevel, 3);
    EXPECT_EQ(pstVue->nUserCode, 80022);
    EXPECT_EQ(pstVue->pszUserMessage, clErreur.pszGetUserMessage());
    EXPECT_STREQ(pstVue->pszUserMessage, L"Le numéro de fichier 7 n'est pas valide : « été.txt ».");
    EXPECT_STREQ(pstVue->pszDebugMessage, L"##(Test)-Handle=<7>##");
}

// Module names are kept converted between raises; a module whose texts change in place, or more
// modules than are kept, still give each raise its own name.
TEST(ErrorRaise, ModuleNamesFollowTheirTextsAcrossRaises) {
    char szNom[32] = "d\xC3\xA9j\xC3\xA0.so";
    char szVersion[16] = "1.0";
    _stMyModuleInfo stModule = gstModuleTest;
    stModule.pszNomFichier = szNom;
    stModule.pszVersion = szVersion;
    CXError clErreur(&stModule);
    clErreur.SetUserError(&stModule, 81839);
    EXPECT_STREQ(clErreur.pszGetModName(), L"d\u00e9j\u00e0.so");
    std::strcpy(szNom, "\xF0\x9F\x98\x80.so");
    std::strcpy(szVersion, "2.0");
    clErreur.SetUserError(&stModule, 81839);
    EXPECT_STREQ(clErreur.pszGetModName(), L"\U0001F600.so");
    EXPECT_STREQ(clErreur.pszGetModVersion(), L"2.0");
    char aszNoms[6][16];
    for (int i = 0; i < 6; ++i) {
        std::snprintf(aszNoms[i], sizeof aszNoms[i], "m%d.so", i);
        stModule.pszNomFichier = aszNoms[i];
        clErreur.SetUserError(&stModule, 81839);
        EXPECT_EQ(std::wstring(clErreur.pszGetModName()), L"m" + std::to_wstring(i) + L".so");
    }
    stModule.pszNomFichier = nullptr;
    clErreur.SetUserError(&stModule, 81839);
    EXPECT_STREQ(clErreur.pszGetModName(), L"");
}

TEST(ErrorRaise, DefinedNumberTakesTextDetailAndLevelFromTheTable) {
    CXError clErreur(&gstModuleTest);
    clErreur.SetUserError(&gstModuleTest, 81839);
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 81839);
    EXPECT_EQ(clErreur.nGetDetailId(), 81839);
    EXPECT_EQ(clErreur.eGetErrorLevel(), CXError::EL_ERROR3);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"Détail");
    EXPECT_STREQ(clErreur.pszGetModName(), L"erreur_test.so");
    EXPECT_STREQ(clErreur.pszGetModVersion(), L"20.0.1.0");
    ASSERT_EQ(clErreur.nNumErrorId(), 1);
    EXPECT_EQ(clErreur.nGetErrorId(0), 1002u);

    clErreur.SetUserError(&gstModuleTest, 80014);
    EXPECT_EQ(clErreur.eGetErrorLevel(), CXError::EL_ERROR2);
    EXPECT_EQ(clErreur.nGetDetailId(), 0);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"Accès réservé à root \U0001D11E");
    EXPECT_EQ(CXError::nGetRessourceIdFromUserErrorCode(&gstModuleTest, 80014), 1001u);
    EXPECT_EQ(CXError::nGetRessourceIdFromUserErrorCode(&gstModuleTest, 80015), 0u);
}

TEST(ErrorRaise, UndefinedNumberGivesLevelThreeAndADebugText) {
    CXError clErreur(&gstModuleTest);
    clErreur.SetUserError(&gstModuleTest, 80022, 1, L"x");
    clErreur.SetUserError(&gstModuleTest, 99999);
    EXPECT_EQ(clErreur.eGetErrorLevel(), CXError::EL_ERROR3);
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 0);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"");
    EXPECT_NE(wcsstr(clErreur.pszGetDebugMessage(), L"<99999>"), nullptr);
}

TEST(ErrorRaise, MissingOrEmptyResourceLeavesADebugText) {
    CXError clErreur(&gstModuleTest);
    clErreur.SetUserError(&gstModuleTest, 80050);
    EXPECT_EQ(clErreur.eGetErrorLevel(), CXError::EL_ERROR2_MARKED);
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 80050);
    EXPECT_NE(wcsstr(clErreur.pszGetDebugMessage(), L"<1004>"), nullptr);

    clErreur.SetUserError(&gstModuleTest, 80051);
    EXPECT_NE(wcsstr(clErreur.pszGetDebugMessage(), L"<1005>"), nullptr);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"");
}

TEST(ErrorRaise, LoweringTheLevelKeepsTheErrorAndLevelOneWipesIt) {
    CXError clErreur(&gstModuleTest);
    clErreur.SetUserError(&gstModuleTest, 80022, 4, L"a");
    clErreur.SetErrorLevel(2);
    EXPECT_EQ(clErreur.eGetErrorLevel(), CXError::EL_ERROR2);
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 80022);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"Le numéro de fichier 4 n'est pas valide : « a ».");

    clErreur.SetErrorLevel(1);
    EXPECT_FALSE(clErreur.bHasError());
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 0);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"");
    EXPECT_STREQ(clErreur.pszGetModName(), L"");
    EXPECT_EQ(clErreur.nGetLibraryNumber(), NUMERO_BIBLIOTHEQUE_TEST);

    // At level 1 already, level 1 leaves texts alone.
    clErreur.AddDebugMessageNoFormat(L"trace");
    clErreur.SetErrorLevel(1);
    EXPECT_STREQ(clErreur.pszGetDebugMessage(), L"trace");
}

TEST(ErrorRaise, ChangeUserErrorPutsTheNewTextInFrontOfTheOld) {
    CXError clErreur(&gstAutreModule);
    clErreur.SetUserError(&gstAutreModule, 80022, 3, L"b.txt");
    clErreur.ChangeUserError(&gstModuleTest, 81839);
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 81839);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"Détail\r\nLe numéro de fichier 3 n'est pas valide : « b.txt ».");
    EXPECT_STREQ(clErreur.pszGetModName(), L"autre.so");  // the raising module stays
    EXPECT_EQ(clErreur.nNumErrorId(), 2);
}

CXError* pclDepuisListe(const _stMyModuleInfo* pstModule, int nNumero, ...) {
    va_list pArguments;
    va_start(pArguments, nNumero);
    CXError* pclErreur = new CXError(pstModule, nNumero, pArguments);
    va_end(pArguments);
    return pclErreur;
}

TEST(ErrorRaise, ConstructorsRaiseInOneStep) {
    const CXError clZero(&gstModuleTest, 80022, 0, L"zéro");  // a literal 0 is a parameter, not a list
    EXPECT_STREQ(clZero.pszGetUserMessage(), L"Le numéro de fichier 0 n'est pas valide : « zéro ».");

    const CXError clTexte(&gstModuleTest, L"Accès refusé à « %s » (%d)", 80014, L"/root/\U0001D11E", 5);
    EXPECT_EQ(clTexte.nGetUserErrorCode(), 80014);
    EXPECT_EQ(clTexte.eGetErrorLevel(), CXError::EL_ERROR2);
    EXPECT_STREQ(clTexte.pszGetUserMessage(), L"Accès refusé à « /root/\U0001D11E » (5)");

    CXError* pclListe = pclDepuisListe(&gstModuleTest, 80022, 9, L"liste");
    EXPECT_STREQ(pclListe->pszGetUserMessage(), L"Le numéro de fichier 9 n'est pas valide : « liste ».");
    pclListe->dwAddRef();
    EXPECT_EQ(pclListe->dwRelease(), 0u);  // deleted here
}

TEST(ErrorMessages, TextsJoinWithCrLfAndEmptyTextsAddNothing) {
    CXError clErreur(&gstModuleTest);
    EXPECT_TRUE(clErreur.AddDebugMessageNoFormat(L"B"));
    EXPECT_TRUE(clErreur.AddDebugMessageFirst(L"A"));
    EXPECT_STREQ(clErreur.pszGetDebugMessage(), L"A\r\nB");

    const wchar_t* pszAvant = clErreur.pszGetDebugMessage();
    EXPECT_TRUE(clErreur.AddDebugMessageNoFormat(L""));
    EXPECT_TRUE(clErreur.AddDebugMessageNoFormat(nullptr));
    EXPECT_TRUE(clErreur.AddDebugMessageFirst(L""));
    EXPECT_EQ(clErreur.pszGetDebugMessage(), pszAvant);
    EXPECT_STREQ(clErreur.pszGetDebugMessage(), L"A\r\nB");

    EXPECT_TRUE(clErreur.AddDebugMessagePrintf(L"##(IXStream)-A lire=<%u>, lu=<%u>##", 10u, 4u));
    EXPECT_STREQ(clErreur.pszGetDebugMessage(), L"A\r\nB\r\n##(IXStream)-A lire=<10>, lu=<4>##");

    EXPECT_TRUE(clErreur.AddUserMessage(&gstModuleTest, 1006, 2));
    EXPECT_TRUE(clErreur.AddUserMessageFirst(&gstModuleTest, 1006, 1));
    EXPECT_TRUE(clErreur.AddUserMessageNoFormat(L"Fin \U0001D11E"));
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"Étape 1\r\nÉtape 2\r\nFin \U0001D11E");
    EXPECT_FALSE(clErreur.AddUserMessage(&gstModuleTest, 4242));
    EXPECT_EQ(clErreur.nNumErrorId(), 3);
    EXPECT_EQ(clErreur.nGetErrorId(2), 4242u);
    EXPECT_EQ(clErreur.nGetErrorId(3), 0u);

    // A text taken from the message itself.
    wchar_t* pszCible = nullptr;
    ASSERT_TRUE(clErreur.__AddFirst(&pszCible, L"xy"));
    ASSERT_TRUE(clErreur.__AddFirst(&pszCible, pszCible + 1));
    EXPECT_STREQ(pszCible, L"y\r\nxy");
    clErreur.__vDeleteString(&pszCible);
}

TEST(ErrorSystem, MessageFollowsErrnoWhateverTheCode) {
    CXError clErreur(&gstModuleTest);
    struct STCas {
        int nLigne;
        int nErrno;
        int nErreurAttendue;
    } const astCas[] = {
        {__LINE__, ENOENT, ENOENT},   {__LINE__, EACCES, EACCES},   {__LINE__, INT_MIN, 11},
        {__LINE__, -0x7ffffffe, 11},  {__LINE__, -0x7fffffff, 11},  {__LINE__, -5, -5},
    };
    for (const auto& stCas : astCas) {
        errno = stCas.nErrno;
        clErreur.SetSystemErrorParam(5u);
        EXPECT_EQ(errno, stCas.nErrno) << "line " << stCas.nLigne;
        EXPECT_EQ(clErreur.dwGetSystemErrorCode(), 5u) << "line " << stCas.nLigne;
        EXPECT_EQ(clErreur.pszGetSystemErrorMessage(), sSysteme(stCas.nErreurAttendue)) << "line " << stCas.nLigne;
    }
    clErreur.SetSystemErrorParam(0u);
    EXPECT_STREQ(clErreur.pszGetSystemErrorMessage(), L"");

    clErreur.SetSystemErrorMessageA("Échec \xF0\x9D\x84\x9E");
    EXPECT_STREQ(clErreur.pszGetSystemErrorMessage(), L"Échec \U0001D11E");
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), 0u);
    clErreur.SetSystemError(13u, L"refusé");
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), 13u);
    EXPECT_STREQ(clErreur.pszGetSystemErrorMessage(), L"refusé");
    clErreur.SetSystemErrorMessage(&gstModuleTest, 1006, 3);
    EXPECT_STREQ(clErreur.pszGetSystemErrorMessage(), L"Étape 3");
}

TEST(ErrorSystem, NoMemoryRaisesTheModulesNumberWithSystemCodeTwelve) {
    CXError clErreur(&gstModuleTest);
    clErreur.AddDebugMessageNoFormat(L"ancien");
    clErreur.SetErrorNoMemory();
    EXPECT_EQ(clErreur.nGetUserErrorCode(), CXError::ms_nNumeroErreurMemoire);
    EXPECT_EQ(clErreur.eGetErrorLevel(), CXError::EL_ERROR3);
    EXPECT_STREQ(clErreur.pszGetUserMessage(), L"Mémoire insuffisante.");
    EXPECT_STREQ(clErreur.pszGetDebugMessage(), L"##MemoryException##");
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), 12u);
    EXPECT_EQ(clErreur.pszGetSystemErrorMessage(), sSysteme(ENOMEM));
}

TEST(ErrorInfo, SameTypeTwiceLeavesOneItemWithTheSecondValue) {
    CXError clErreur(&gstModuleTest);
    EXPECT_TRUE(clErreur.AddInfo(CXError::EIT_SRCFILE, L"/tmp/a"));
    const int64_t nEnregistrement = 1234567890123;
    EXPECT_TRUE(clErreur.AddInfo(CXError::EIT_RECNUM, &nEnregistrement));
    EXPECT_TRUE(clErreur.AddInfo(CXError::EIT_SRCFILE, L"/tmp/été \U0001D11E"));
    ASSERT_EQ(clErreur.nNumInfo(), 2);
    CXError::STErrorInfoValue stValeur{};
    ASSERT_TRUE(clErreur.bGetInfo(CXError::EIT_SRCFILE, &stValeur));
    EXPECT_STREQ(stValeur.psz, L"/tmp/été \U0001D11E");
    CXError::eERRORINFOTYPE eType{};
    ASSERT_TRUE(clErreur.GetInfo(1, &eType, &stValeur));
    EXPECT_EQ(eType, CXError::EIT_RECNUM);
    EXPECT_EQ(stValeur.n64, nEnregistrement);
    EXPECT_FALSE(clErreur.GetInfo(2, &eType, &stValeur));

    // A null value leaves the item; ignored types add nothing.
    EXPECT_FALSE(clErreur.AddInfo(CXError::EIT_SRCFILE, nullptr));
    EXPECT_TRUE(clErreur.bHasInfo(CXError::EIT_SRCFILE));
    const int nValeur = 1;
    EXPECT_FALSE(clErreur.AddInfo(static_cast<CXError::eERRORINFOTYPE>(34), &nValeur));
    EXPECT_FALSE(clErreur.AddInfo(static_cast<CXError::eERRORINFOTYPE>(40), &nValeur));
    EXPECT_FALSE(clErreur.AddInfo(static_cast<CXError::eERRORINFOTYPE>(0), &nValeur));
    clErreur.DeleteInfo(CXError::EIT_SRCFILE);
    EXPECT_FALSE(clErreur.bHasInfo(CXError::EIT_SRCFILE));
    EXPECT_EQ(clErreur.nNumInfo(), 1);
}

TEST(ErrorInfo, EachTypeDumpsInItsOwnFormat) {
    CXError::STErrorInfoValue stTexte{};
    stTexte.psz = L"Hôtel \U0001D11E";
    CXError::STErrorInfoValue stVide{};
    stVide.psz = L"";
    CXError::STErrorInfoValue st64{};
    st64.n64 = -9000000000LL;
    CXError::STErrorInfoValue st32{};
    st32.n32 = -17;
    CXError::STErrorInfoValue stPointeur{};
    stPointeur.pv = reinterpret_cast<void*>(0x10);
    struct STCas {
        int nLigne;
        int eType;
        CXError::STErrorInfoValue stValeur;
        bool bForce;
        const wchar_t* pszAttendu;  // null: nothing written
    } const astCas[] = {
        {__LINE__, CXError::EIT_SRCFILE, stTexte, false, L"EIT_SRCFILE : <Hôtel \U0001D11E>"},
        {__LINE__, CXError::EIT_PILEZK, stTexte, false, L"EIT_PILEZK :\r\nHôtel \U0001D11E"},
        {__LINE__, CXError::EIT_DATEHEURE, stTexte, false, L"EIT_DATEHEURE : Hôtel \U0001D11E"},
        {__LINE__, CXError::EIT_RECNUM, st64, false, L"EIT_RECNUM : <-9000000000>"},
        {__LINE__, CXError::EIT_NATIVECODE, st32, false, L"EIT_NATIVECODE : <-17>"},
        {__LINE__, CXError::EIT_DATAACCESS, stPointeur, false, L"EIT_DATAACCESS : <0x10>"},
        {__LINE__, CXError::EIT_EXCEPTIONDOTNET, stPointeur, false, L"EIT_EXCEPTIONDOTNET"},
        {__LINE__, CXError::EIT_ITEMNAME, stVide, false, nullptr},
        {__LINE__, CXError::EIT_ITEMNAME, stVide, true, L"EIT_ITEMNAME : <>"},
        {__LINE__, CXError::EIT_POINTEUR, stPointeur, true, nullptr},
        {__LINE__, 35, stPointeur, true, nullptr},
    };
    for (const auto& stCas : astCas) {
        CTString clSortie;
        const bool bEcrit = CXError::DumpInfo(static_cast<CXError::eERRORINFOTYPE>(stCas.eType), stCas.stValeur,
                                              &clSortie, stCas.bForce);
        EXPECT_EQ(bEcrit, stCas.pszAttendu != nullptr) << "line " << stCas.nLigne;
        EXPECT_STREQ(clSortie.pszGet(), stCas.pszAttendu != nullptr ? stCas.pszAttendu : L"")
            << "line " << stCas.nLigne;
    }

    CXError clErreur(&gstModuleTest);
    const int32_t nCode = 404;
    clErreur.AddInfo(CXError::EIT_USERNAME, L"zoé");
    clErreur.AddInfo(CXError::EIT_ITEMNAME, L"");
    clErreur.AddInfo(CXError::EIT_BASECODE, &nCode);
    CTString clTout;
    EXPECT_TRUE(clErreur.DumpAllInfo(&clTout));
    EXPECT_STREQ(clTout.pszGet(), L"EIT_USERNAME : <zoé>\r\nEIT_BASECODE : <404>");
}

TEST(ErrorInfo, ObjectsAreCountedAndReleasedWithTheItem) {
    int nDetruits = 0;
    auto* pclObjet = new CObjetCompte(&nDetruits);
    {
        CXError clErreur(&gstModuleTest);
        ASSERT_TRUE(clErreur.AddInfo(CXError::EIT_DATAACCESS, pclObjet));
        ASSERT_TRUE(clErreur.AddInfo(CXError::EIT_DATAACCESS, pclObjet));  // same object again
        EXPECT_EQ(pclObjet->nGetRef(), 1);
        CXError clCopie(clErreur);
        EXPECT_EQ(pclObjet->nGetRef(), 2);
        clErreur.RAZ();
        EXPECT_EQ(nDetruits, 0);
    }
    EXPECT_EQ(nDetruits, 1);

    CXError clErreur(&gstModuleTest);
    clErreur.__SetXInfo(0x5, true);
    clErreur.__SetXInfo(0x4, false);
    EXPECT_TRUE(clErreur.__bGetXInfo(0x1));
    EXPECT_FALSE(clErreur.__bGetXInfo(0x4));
    EXPECT_FALSE(clErreur.__bGetXInfo(0x3));
    EXPECT_EQ(clErreur.nNumInfo(), 1);
}

TEST(ErrorSub, SubErrorsAreOwnedCopiesWhoseUserMessageJoinsTheParents) {
    CXError clParent(&gstModuleTest);
    clParent.SetUserError(&gstModuleTest, 81839);
    CXError clEnfant(&gstAutreModule);
    clEnfant.SetUserError(&gstAutreModule, 80014);
    clEnfant.AddInfo(CXError::EIT_DSTFILE, L"/tmp/b");

    ASSERT_TRUE(clParent.AddSubError(&clEnfant));
    ASSERT_TRUE(clParent.AddSubErrorLightNoUserMessage(&clEnfant));
    EXPECT_FALSE(clParent.AddSubError(nullptr));
    clEnfant.RAZ();

    ASSERT_EQ(clParent.nGetNbSubError(), 2);
    EXPECT_STREQ(clParent.pszGetUserMessage(), L"Détail\r\nAccès réservé à root \U0001D11E");
    const CXError* pclCopie = clParent.pclGetSubError(0);
    EXPECT_EQ(pclCopie->nGetUserErrorCode(), 80014);
    EXPECT_EQ(pclCopie->nGetLibraryNumber(), NUMERO_BIBLIOTHEQUE_TEST);
    EXPECT_TRUE(pclCopie->bHasInfo(CXError::EIT_DSTFILE));
    EXPECT_FALSE(clParent.pclGetSubError(1)->bHasInfo(CXError::EIT_DSTFILE));
    EXPECT_EQ(clParent.pclGetSubError(2), nullptr);

    clParent.DeleteAllSubError();
    EXPECT_EQ(clParent.nGetNbSubError(), 0);
}

TEST(ErrorCopy, CopyIsDeepAndKeepsTheDestinationsLibrary) {
    CXError clSource(&gstAutreModule);
    clSource.SetUserError(&gstAutreModule, 80022, 2, L"c");
    clSource.AddInfo(CXError::EIT_LINKNAME, L"lien");
    clSource.SetVMContext(L"Traitement", L"Fenêtre", 12, 3);
    clSource.SetFunctionName(L"fOuvre", 2);
    CXError clSous(&gstAutreModule);
    clSous.SetUserError(&gstAutreModule, 81839);
    clSource.AddSubErrorNoUserMessage(&clSous);

    CXError clCible(&gstModuleTest);
    clCible.Copy(clSource);
    clSource.RAZ();
    EXPECT_EQ(clCible.nGetUserErrorCode(), 80022);
    EXPECT_EQ(clCible.nGetLibraryNumber(), NUMERO_BIBLIOTHEQUE_TEST);
    EXPECT_STREQ(clCible.pszGetModName(), L"autre.so");
    EXPECT_TRUE(clCible.bHasInfo(CXError::EIT_LINKNAME));
    EXPECT_EQ(clCible.nGetNbSubError(), 1);
    EXPECT_STREQ(clCible.pszGetObjectName(), L"Fenêtre");
    EXPECT_EQ(clCible.wGetTraitmentLine(), 12);
    EXPECT_STREQ(clCible.pszGetFunctionName(), L"fOuvre");
    EXPECT_EQ(clCible.nGetFunctionSyntax(), 2);

    CXError clLeger(&gstModuleTest);
    clLeger.LightCopy(&clCible);
    EXPECT_EQ(clLeger.nGetUserErrorCode(), 80022);
    EXPECT_EQ(clLeger.nNumInfo(), 0);
    EXPECT_EQ(clLeger.nGetNbSubError(), 0);

    // A copy of one of its own sub-errors.
    clCible.Copy(clCible.pclGetSubError(0));
    EXPECT_EQ(clCible.nGetUserErrorCode(), 81839);
    EXPECT_EQ(clCible.nGetNbSubError(), 0);
}

TEST(ErrorCopy, TransferEmptiesTheSourceAndDropsObjectsOfAnotherLibrary) {
    int nDetruits = 0;
    CXError clSource(&gstAutreModule);
    clSource.SetUserError(&gstAutreModule, 80022, 1, L"d");
    clSource.AddInfo(CXError::EIT_DATAACCESS, new CObjetCompte(&nDetruits));
    clSource.AddInfo(CXError::EIT_USERNAME, L"éric");

    CXError clCible(&gstModuleTest);
    clCible.Transfert(&clSource);
    EXPECT_EQ(nDetruits, 1);
    EXPECT_FALSE(clCible.bHasInfo(CXError::EIT_DATAACCESS));
    EXPECT_TRUE(clCible.bHasInfo(CXError::EIT_USERNAME));
    EXPECT_EQ(clCible.nGetUserErrorCode(), 80022);
    EXPECT_FALSE(clSource.bHasError());
    EXPECT_EQ(clSource.nNumInfo(), 0);

    CXError clMemeBibliotheque(&gstModuleTest);
    clMemeBibliotheque.SetUserError(&gstModuleTest, 80014);
    clMemeBibliotheque.AddInfo(CXError::EIT_DATAACCESS, new CObjetCompte(&nDetruits));
    clCible.Transfert(&clMemeBibliotheque);
    EXPECT_TRUE(clCible.bHasInfo(CXError::EIT_DATAACCESS));
    EXPECT_EQ(nDetruits, 1);
    clCible.Transfert(nullptr);
    EXPECT_EQ(nDetruits, 2);
    EXPECT_FALSE(clCible.bHasError());
}

}  // namespace
