// The memory stream (states, modes, growth, the seek from the end) and the CXFile front.
#include "files/memory_stream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "files/disk_file.h"
#include "files/internal/stream_test_support.h"
#include "files/xfile.h"

namespace {

TEST(MemoryStream, CreatedStreamGrowsByWhatIsWritten) {
    CMemoryStream clFlux;
    int bCree = 0;
    ASSERT_TRUE(clFlux.bOpen(L"mémoire \U0001F600", eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE,
                             eFLAG_FICHIER, &bCree));
    EXPECT_EQ(bCree, 1);
    EXPECT_EQ(clFlux.byGetEtat(), CMemoryStream::ETAT_CREE);
    EXPECT_EQ(clFlux.byGetMode(), CMemoryStream::MODE_LECTURE | CMemoryStream::MODE_ECRITURE |
                                      CMemoryStream::MODE_PROPRIETAIRE);
    EXPECT_STREQ(clFlux.pszGetName(), L"mémoire \U0001F600");
    ASSERT_TRUE(clFlux.bWrite("abc", 3, nullptr));
    ASSERT_TRUE(clFlux.bWrite(1, "XYZW", 4, nullptr));
    EXPECT_EQ(clFlux.oGetSize(), 5);
    EXPECT_EQ(clFlux.oGetOffset(), 5);
    EXPECT_EQ(std::string(static_cast<const char*>(clFlux.pGetAddress()), 5), "aXYZW");

    char szTexte[8] = {};
    EXPECT_FALSE(clFlux.bRead(0, szTexte, 6, nullptr));  // past the end, exactly
    unsigned int nLu = 0;
    ASSERT_TRUE(clFlux.bRead(3, szTexte, 6, &nLu));
    EXPECT_EQ(nLu, 2u);
    EXPECT_EQ(std::string(szTexte, 2), "ZW");
    EXPECT_TRUE(clFlux.bSetSize(2, eGROW_ABSOLU));
    EXPECT_EQ(clFlux.oGetSize(), 2);
    EXPECT_EQ(clFlux.oGetOffset(), 2);
}

TEST(MemoryStream, OpeningNeedsAKnownAccessAndCreation) {
    CMemoryStream clFlux;
    EXPECT_FALSE(clFlux.bOpen(nullptr, eACCESS_AUCUN, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER, nullptr));
    EXPECT_FALSE(clFlux.bOpen(nullptr, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_OUVRE_OU_CREE, eFLAG_FICHIER, nullptr));
    // Opening an existing block needs one associated first.
    EXPECT_FALSE(clFlux.bOpen(nullptr, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr));
    ASSERT_TRUE(clFlux.bOpen(nullptr, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER, nullptr));
    EXPECT_EQ(clFlux.veGetAccess(), eACCESS_LECTURE);
    EXPECT_FALSE(clFlux.bWrite("x", 1, nullptr));
}

TEST(MemoryStream, AssociatedBlockNeverGrowsAndAShortWriteFails) {
    char szBloc[5] = "....";
    CMemoryStream clFlux;
    ASSERT_TRUE(clFlux.bAssociate(szBloc, 4));
    EXPECT_FALSE(clFlux.bAssociate(szBloc, 4));  // only a closed stream adopts a block
    ASSERT_TRUE(clFlux.bOpen(L"bloc", eACCESS_ECRITURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr));
    EXPECT_EQ(clFlux.byGetEtat(), CMemoryStream::ETAT_OUVERT_ASSOCIE);
    EXPECT_FALSE(clFlux.bSetAutoExpandMode(1));
    ASSERT_TRUE(clFlux.bSeek(2, eSEEK_DEBUT));
    unsigned int nEcrit = 0;
    EXPECT_FALSE(clFlux.bWrite("abc", 3, &nEcrit));
    EXPECT_EQ(nEcrit, 2u);
    EXPECT_STREQ(szBloc, "..ab");
    EXPECT_NE(std::wstring(clFlux.pclGetXError()->pszGetUserMessage()).find(L"bloc"), std::wstring::npos);
    EXPECT_FALSE(clFlux.bSeek(5, eSEEK_DEBUT));
    clFlux.Close();
    EXPECT_EQ(clFlux.pGetAddress(), szBloc);  // closing leaves the memory alone
    EXPECT_FALSE(clFlux.bWrite("x", 1, nullptr));
}

TEST(MemoryStream, SeekFromTheEndCountsBackwardsWithEitherSign) {
    CMemoryStream clFlux;
    ASSERT_TRUE(clFlux.bOpen(nullptr, eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER,
                             nullptr));
    ASSERT_TRUE(clFlux.bWrite("0123456789", 10, nullptr));
    ASSERT_TRUE(clFlux.bSeek(5, eSEEK_FIN));
    EXPECT_EQ(clFlux.oGetOffset(), 5);
    ASSERT_TRUE(clFlux.bSeek(-3, eSEEK_FIN));
    EXPECT_EQ(clFlux.oGetOffset(), 7);
    ASSERT_TRUE(clFlux.bSeek(-2, eSEEK_COURANT));
    EXPECT_EQ(clFlux.oGetOffset(), 5);
    EXPECT_TRUE(clFlux.bSeek(4, static_cast<eSEEK>(9)));  // an unknown origin rewinds
    EXPECT_EQ(clFlux.oGetOffset(), 0);
    EXPECT_FALSE(clFlux.bSeek(11, eSEEK_DEBUT));
    EXPECT_FALSE(clFlux.bSeek(-1, eSEEK_DEBUT));
}

// Growth by seeking counts the present offset once more, and the new bytes are zeros.
TEST(MemoryStream, AutoExpandGrowsOnSeekPastTheEnd) {
    CMemoryStream clFlux;
    ASSERT_TRUE(clFlux.bOpen(nullptr, eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER,
                             nullptr));
    ASSERT_TRUE(clFlux.bWrite("abcd", 4, nullptr));
    ASSERT_TRUE(clFlux.bSetAutoExpandMode(1));
    ASSERT_TRUE(clFlux.bSeek(10, eSEEK_DEBUT));
    EXPECT_EQ(clFlux.oGetSize(), 14);  // 4 + (10 - 4 + 4)
    EXPECT_EQ(clFlux.oGetOffset(), 10);
    EXPECT_EQ(std::string(static_cast<const char*>(clFlux.pGetAddress()), 14), std::string("abcd") + std::string(10, '\0'));
    ASSERT_TRUE(clFlux.bSetAutoExpandMode(0));
    EXPECT_FALSE(clFlux.bSeek(20, eSEEK_DEBUT));
}

// ---- CXFile ---------------------------------------------------------------------------------------

TEST(XFile, MakesADiskFileOnFirstUseAndForwards) {
    stream_test::CRepertoireTemp clRepertoire;
    ASSERT_TRUE(clRepertoire.bValide());
    const std::wstring wsChemin = clRepertoire.wsNom(L"ligne.txt");
    {
        CXFile clFichier;
        EXPECT_FALSE(clFichier.bIsOpen());
        EXPECT_EQ(clFichier.pszGetName(), nullptr);
        EXPECT_FALSE(clFichier.bWrite("x", 1, nullptr));  // no stream: a failure, not a crash
        ASSERT_TRUE(clFichier.bOpen(wsChemin.c_str(), eACCESS_LECTUREECRITURE, eSHARE_EXCLUSIF, eCREATE_VIDE_OU_CREE,
                                    eFLAG_FICHIER, nullptr));
        EXPECT_NE(dynamic_cast<CDiskFile*>(clFichier.piGetStream()), nullptr);
        ASSERT_TRUE(clFichier.bWriteLine(L"Noël \U0001F384"));
        ASSERT_TRUE(clFichier.bWriteLine(L"fin"));
        EXPECT_EQ(clFichier.oGetSize(), 13 * 4);
        ASSERT_TRUE(clFichier.bSeek(0, eSEEK_DEBUT));
        wchar_t szLigne[16];
        ASSERT_TRUE(clFichier.bReadLineUNICODE(szLigne, 16, nullptr, 1));
        EXPECT_STREQ(szLigne, L"Noël \U0001F384");
        EXPECT_EQ(clFichier.veGetAccess(), eACCESS_LECTUREECRITURE);
    }
    // The front's end released the stream, which closed its descriptor and lock.
    CDiskFile clAutre;
    EXPECT_TRUE(clAutre.bOpen(wsChemin.c_str(), eACCESS_LECTURE, eSHARE_EXCLUSIF, eCREATE_EXISTANT, eFLAG_FICHIER,
                              nullptr));
}

TEST(XFile, SharesAStreamByCountAndExtractsBetweenFronts) {
    auto* pclMemoire = new CMemoryStream();
    ASSERT_TRUE(pclMemoire->bOpen(nullptr, eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER,
                                  nullptr));
    ASSERT_TRUE(pclMemoire->bWrite("0123456789", 10, nullptr));
    ASSERT_TRUE(pclMemoire->bSeek(2, eSEEK_DEBUT));
    CXFile clSource;
    clSource.SetStream(pclMemoire);
    {
        CXFile clAussi;
        clAussi.SetStream(pclMemoire);
        EXPECT_EQ(pclMemoire->nGetRef(), 2);
    }
    EXPECT_EQ(pclMemoire->nGetRef(), 1);

    auto* pclCible = new CMemoryStream();
    ASSERT_TRUE(pclCible->bOpen(nullptr, eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER,
                                nullptr));
    CXFile clCible;
    clCible.SetStream(pclCible);
    ASSERT_TRUE(clSource.bExtract(&clCible, 3));
    ASSERT_TRUE(clSource.bExtract(&clCible, -1));
    EXPECT_EQ(std::string(static_cast<const char*>(pclCible->pGetAddress()), 8), "23456789");
    CXFile clVide;
    EXPECT_FALSE(clSource.bExtract(&clVide, -1));
}

}  // namespace
