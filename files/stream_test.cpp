// The disk file as a stream on real files: opening and its lock, exact and short reads, the offset
// cache, writes that fail, sizes, range locks between processes, both line readers and copies.
#include "files/disk_file.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "base/tstring.h"
#include "files/internal/stream_test_support.h"

using stream_test::CRepertoireTemp;
using stream_test::nDansFils;
using stream_test::nDescripteursOuverts;
using stream_test::sLit;

namespace {

class StreamTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_clRepertoire.bValide()); }

    std::string sNom(const char* pszFichier) const { return m_clRepertoire.sNom(pszFichier); }
    std::wstring wsNom(const wchar_t* pszFichier) const { return m_clRepertoire.wsNom(pszFichier); }
    bool bEcrit(const char* pszFichier, const std::string& sContenu) const {
        return stream_test::bEcrit(sNom(pszFichier), sContenu);
    }
    // Opens an existing file of the directory with the given access and lock.
    bool bOuvre(CDiskFile& clFichier, const wchar_t* pszFichier, eACCESS eAccess = eACCESS_LECTUREECRITURE,
                eSHARE eShare = eSHARE_AUCUN) const {
        return clFichier.bOpen(wsNom(pszFichier).c_str(), eAccess, eShare, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr);
    }

    CRepertoireTemp m_clRepertoire;
};

std::wstring wsMessage(CDiskFile& clFichier) { return clFichier.pclGetXError()->pszGetUserMessage(); }

// ---- opening ------------------------------------------------------------------------------------

TEST_F(StreamTest, CreationModesReportWhatTheyDid) {
    ASSERT_TRUE(bEcrit("existe.txt", "contenu"));
    struct Cas {
        int nLigne;
        const wchar_t* pszFichier;
        eCREATE eCreate;
        int bSucces;
        int bCree;
        const char* pszContenuApres;
        const wchar_t* pszMessage;  // a piece of the user message on failure
    };
    const Cas tabCas[] = {
        {__LINE__, L"absent.txt", eCREATE_EXISTANT, 0, 0, "<absent>", L"could not be opened"},
        {__LINE__, L"existe.txt", eCREATE_EXISTANT, 1, 0, "contenu", nullptr},
        {__LINE__, L"existe.txt", eCREATE_OUVRE_OU_CREE, 1, 0, "contenu", nullptr},
        {__LINE__, L"nouveau.txt", eCREATE_OUVRE_OU_CREE, 1, 1, "", nullptr},
        {__LINE__, L"existe.txt", eCREATE_VIDE_OU_CREE, 1, 1, "", nullptr},
        {__LINE__, L"sous/absent.txt", eCREATE_OUVRE_OU_CREE, 0, 0, "<absent>", L"could not be opened or created"},
        {__LINE__, L"sous/absent.txt", eCREATE_VIDE_OU_CREE, 0, 0, "<absent>", L"could not be created"},
    };
    for (const Cas& stCas : tabCas) {
        CDiskFile clFichier;
        int bCree = -1;
        const std::wstring wsChemin = wsNom(stCas.pszFichier);
        const int bSucces = clFichier.bOpen(wsChemin.c_str(), eACCESS_LECTUREECRITURE, eSHARE_EXCLUSIF, stCas.eCreate,
                                            eFLAG_FICHIER, &bCree);
        const int nErreur = errno;
        SCOPED_TRACE(stCas.nLigne);
        EXPECT_EQ(!!bSucces, !!stCas.bSucces);
        EXPECT_EQ(bCree, stCas.bCree);
        std::string sFichier(stCas.pszFichier, stCas.pszFichier + wcslen(stCas.pszFichier));
        EXPECT_EQ(sLit(sNom(sFichier.c_str())), stCas.pszContenuApres);
        if (stCas.bSucces) {
            EXPECT_EQ(clFichier.oGetOffset(), 0);
            if (stCas.eCreate == eCREATE_OUVRE_OU_CREE && !stCas.bCree) {
                EXPECT_EQ(nErreur, EEXIST);
            }
        } else {
            EXPECT_EQ(nErreur, ENOENT);
            CXError* pclErreur = clFichier.pclGetXError();
            EXPECT_EQ(pclErreur->eGetErrorLevel(), CXError::EL_ERROR3);
            EXPECT_EQ(pclErreur->dwGetSystemErrorCode(), static_cast<unsigned>(ENOENT));
            EXPECT_NE(wsMessage(clFichier).find(stCas.pszMessage), std::wstring::npos) << wsMessage(clFichier).c_str();
            EXPECT_NE(wsMessage(clFichier).find(wsChemin), std::wstring::npos);
            CXError::STErrorInfoValue stValeur{};
            ASSERT_TRUE(pclErreur->bGetInfo(CXError::EIT_SRCFILE, &stValeur));
            EXPECT_EQ(std::wstring(stValeur.psz), wsChemin);
        }
    }
}

TEST_F(StreamTest, WideNamesReachTheSystemAsUtf8AndBackslashesAsSlashes) {
    ASSERT_EQ(mkdir(sNom("dossier").c_str(), 0700), 0);
    std::wstring wsChemin = wsNom(L"dossier\\Élève à l'école \U0001F600.txt");
    CDiskFile clFichier;
    ASSERT_TRUE(clFichier.bOpen(wsChemin.c_str(), eACCESS_ECRITURE, eSHARE_EXCLUSIF, eCREATE_VIDE_OU_CREE,
                                eFLAG_FICHIER, nullptr));
    ASSERT_TRUE(clFichier.bWrite("x", 1, nullptr));
    clFichier.Close();
    EXPECT_EQ(sLit(sNom("dossier/\xC3\x89l\xC3\xA8ve \xC3\xA0 l'\xC3\xA9" "cole \xF0\x9F\x98\x80.txt")), "x");
    EXPECT_EQ(std::wstring(clFichier.pszGetName()), wsNom(L"dossier/Élève à l'école \U0001F600.txt"));
}

TEST_F(StreamTest, WriteOnlyWithASharedLockIsASharingViolation) {
    ASSERT_TRUE(bEcrit("f.txt", "abc"));
    CDiskFile clFichier;
    EXPECT_FALSE(bOuvre(clFichier, L"f.txt", eACCESS_ECRITURE, eSHARE_PARTAGE));
    EXPECT_EQ(errno, kErrnoPartage);
    EXPECT_FALSE(clFichier.bIsOpen());
}

// The read-only exclusive open: a write lock on a read-only stream.
TEST_F(StreamTest, ReadOnlyExclusiveOpenHoldsAWriteLockButRefusesWrites) {
    ASSERT_TRUE(bEcrit("f.txt", "abc"));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE, eSHARE_EXCLUSIF));
    EXPECT_EQ(clFichier.veGetAccess(), eACCESS_LECTURE);
    char szTexte[4] = {};
    EXPECT_TRUE(clFichier.bRead(szTexte, 3, nullptr));
    EXPECT_STREQ(szTexte, "abc");
    EXPECT_FALSE(clFichier.bWrite("z", 1, nullptr));
    EXPECT_NE(wsMessage(clFichier).find(L"could not be written"), std::wstring::npos);
    EXPECT_FALSE(clFichier.bSetSize(0, eGROW_ABSOLU));
    // Another process sees the whole file locked for writing. (Reading the file here first would
    // close a descriptor of it, and with it every lock this process holds on it.)
    const std::wstring wsChemin = wsNom(L"f.txt");
    EXPECT_EQ(nDansFils([&] {
                  CDiskFile clAutre;
                  const int bOuvert = clAutre.bOpen(wsChemin.c_str(), eACCESS_LECTURE, eSHARE_PARTAGE,
                                                    eCREATE_EXISTANT, eFLAG_FICHIER, nullptr);
                  return bOuvert ? 1 : errno == kErrnoPartage ? 0 : 2;
              }),
              0);
    EXPECT_EQ(sLit(sNom("f.txt")), "abc");
}

TEST_F(StreamTest, ReadOnlyExclusiveOpenOfAFileThatRefusesWritingFailsWithEacces) {
    ASSERT_TRUE(bEcrit("lecture.txt", "abc"));
    ASSERT_EQ(chmod(m_clRepertoire.sChemin().c_str(), 0755), 0);
    ASSERT_EQ(chmod(sNom("lecture.txt").c_str(), 0444), 0);
    const std::wstring wsChemin = wsNom(L"lecture.txt");
    // As an ordinary user: root would be granted the write access.
    const int nCode = nDansFils([&] {
        if (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0) return 77;
        CDiskFile clFichier;
        if (clFichier.bOpen(wsChemin.c_str(), eACCESS_LECTURE, eSHARE_EXCLUSIF, eCREATE_EXISTANT, eFLAG_FICHIER,
                            nullptr)) {
            return 1;
        }
        if (errno != EACCES || clFichier.pclGetXError()->dwGetSystemErrorCode() != EACCES) return 2;
        if (wsMessage(clFichier).find(L"could not be opened") == std::wstring::npos) return 3;
        // A shared read-only open of the same file is fine.
        return clFichier.bOpen(wsChemin.c_str(), eACCESS_LECTURE, eSHARE_PARTAGE, eCREATE_EXISTANT, eFLAG_FICHIER,
                               nullptr)
                   ? 0
                   : 4;
    });
    if (nCode == 77) GTEST_SKIP() << "cannot become an ordinary user here";
    EXPECT_EQ(nCode, 0);
}

TEST_F(StreamTest, DescriptorsAreClosedOnEveryPath) {
    ASSERT_TRUE(bEcrit("f.txt", "0123456789"));
    const int nAvant = nDescripteursOuverts();
    {
        CDiskFile clFichier;
        EXPECT_FALSE(bOuvre(clFichier, L"absent.txt"));
        ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTUREECRITURE, eSHARE_EXCLUSIF));
        EXPECT_EQ(nDescripteursOuverts(), nAvant + 1);
        // Opening again closes the first descriptor.
        ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTUREECRITURE, eSHARE_EXCLUSIF));
        ASSERT_TRUE(clFichier.bReopen(eACCESS_LECTURE, eSHARE_PARTAGE, eCREATE_EXISTANT, eFLAG_FICHIER));
        EXPECT_EQ(nDescripteursOuverts(), nAvant + 1);
        EXPECT_TRUE(clFichier.bExtract(wsNom(L"copie.txt").c_str(), 2, 3));
        EXPECT_FALSE(clFichier.bExtract(wsNom(L"sous/copie.txt").c_str(), 2, 3));
        EXPECT_EQ(nDescripteursOuverts(), nAvant + 1);
    }
    EXPECT_EQ(nDescripteursOuverts(), nAvant);
    {
        CDiskFile clFichier;
        ASSERT_TRUE(bOuvre(clFichier, L"copie.txt"));
        EXPECT_TRUE(clFichier.bExtractFromFile(wsNom(L"f.txt").c_str(), 8, -1));
        EXPECT_FALSE(clFichier.bExtractFromFile(wsNom(L"absent.txt").c_str(), 0, -1));
        clFichier.Close();
        EXPECT_EQ(nDescripteursOuverts(), nAvant);
    }
    EXPECT_EQ(sLit(sNom("copie.txt")), "23489");
    // A conflict with another process closes the descriptor it opened.
    int tabTube[2];
    ASSERT_EQ(pipe(tabTube), 0);
    const int nAvantConflit = nDescripteursOuverts();
    const std::wstring wsChemin = wsNom(L"f.txt");
    const pid_t nPid = fork();
    if (nPid == 0) {
        CDiskFile clTenant;
        const int bOk = clTenant.bOpen(wsChemin.c_str(), eACCESS_LECTUREECRITURE, eSHARE_EXCLUSIF, eCREATE_EXISTANT,
                                       eFLAG_FICHIER, nullptr);
        char c = bOk ? 'o' : 'n';
        if (write(tabTube[1], &c, 1) != 1) _exit(1);
        sleep(5);  // killed by the parent
        _exit(0);
    }
    char c = 0;
    ASSERT_EQ(read(tabTube[0], &c, 1), 1);
    EXPECT_EQ(c, 'o');
    {
        CDiskFile clFichier;
        EXPECT_FALSE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE, eSHARE_PARTAGE));
        EXPECT_EQ(errno, kErrnoPartage);
        EXPECT_EQ(nDescripteursOuverts(), nAvantConflit);
        // Retries end with the count, and with the time.
        EXPECT_FALSE(clFichier.bOpenExclusifReessais(wsChemin.c_str(), 1, 3, eACCESS_LECTURE, eCREATE_EXISTANT,
                                                     eFLAG_FICHIER, nullptr));
        EXPECT_EQ(errno, kErrnoPartage);
        EXPECT_FALSE(clFichier.bOpenExclusifReessais(wsChemin.c_str(), 0, 250, eACCESS_LECTURE, eCREATE_EXISTANT,
                                                     eFLAG_FICHIER, nullptr));
        EXPECT_EQ(nDescripteursOuverts(), nAvantConflit);
    }
    kill(nPid, SIGKILL);
    waitpid(nPid, nullptr, 0);
    close(tabTube[0]);
    close(tabTube[1]);
}

// ---- reading and writing ----------------------------------------------------------------------

TEST_F(StreamTest, ExactReadsFailShortAndCountedReadsAcceptThem) {
    ASSERT_TRUE(bEcrit("f.txt", "abcdef"));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE));
    char szTexte[8] = {};
    EXPECT_TRUE(clFichier.bRead(szTexte, 4, nullptr));
    EXPECT_EQ(clFichier.oGetOffset(), 4);
    EXPECT_FALSE(clFichier.bRead(szTexte, 4, nullptr));
    EXPECT_EQ(clFichier.pclGetXError()->dwGetSystemErrorCode(), 0u);
    EXPECT_NE(wsMessage(clFichier).find(L"could not be read"), std::wstring::npos);
    EXPECT_EQ(clFichier.oGetOffset(), 6);
    unsigned int nLu = 99;
    EXPECT_TRUE(clFichier.bRead(2, szTexte, 8, &nLu));
    EXPECT_EQ(nLu, 4u);
    EXPECT_EQ(std::string(szTexte, 4), "cdef");
    EXPECT_FALSE(clFichier.pclGetXError()->bHasError());
    EXPECT_TRUE(clFichier.bRead(szTexte, 8, &nLu));
    EXPECT_EQ(nLu, 0u);
    EXPECT_FALSE(clFichier.bRead(szTexte, 1, nullptr));  // at the end, exactly one byte is too many
}

// The positional forms trust the cached offset: they seek only when it differs.
TEST_F(StreamTest, PositionalReadsSeekOnlyWhenTheCachedOffsetDiffers) {
    ASSERT_TRUE(bEcrit("f.txt", "0123456789"));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt"));
    char c = 0;
    ASSERT_TRUE(clFichier.bRead(3, &c, 1, nullptr));
    EXPECT_EQ(c, '3');
    EXPECT_EQ(clFichier.oGetOffset(), 4);
    // Moved behind the stream's back: a read at the cached offset does not seek.
    ASSERT_EQ(lseek(clFichier.nGetDescripteur(), 8, SEEK_SET), 8);
    ASSERT_TRUE(clFichier.bRead(4, &c, 1, nullptr));
    EXPECT_EQ(c, '8');
    ASSERT_TRUE(clFichier.bRead(1, &c, 1, nullptr));
    EXPECT_EQ(c, '1');
    ASSERT_TRUE(clFichier.bWrite(0, "A", 1, nullptr));
    ASSERT_TRUE(clFichier.bWrite(1, "B", 1, nullptr));
    EXPECT_EQ(clFichier.oGetOffset(), 2);
    EXPECT_EQ(sLit(sNom("f.txt")), "AB23456789");
}

TEST_F(StreamTest, WriteThatCannotCompleteFails) {
    CDiskFile clPlein;
    ASSERT_TRUE(clPlein.bOpen(L"/dev/full", eACCESS_ECRITURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr));
    unsigned int nEcrit = 99;
    EXPECT_FALSE(clPlein.bWrite("abc", 3, &nEcrit));
    EXPECT_EQ(nEcrit, 0u);
    EXPECT_EQ(clPlein.pclGetXError()->dwGetSystemErrorCode(), static_cast<unsigned>(ENOSPC));
    EXPECT_NE(wsMessage(clPlein).find(L"The file /dev/full could not be written"), std::wstring::npos);
    EXPECT_TRUE(clPlein.bWrite("abc", 0, nullptr));  // nothing to write reaches no system call
    ASSERT_TRUE(clPlein.vbSetNameForError(L"Périphérique plein \U0001F600"));
    EXPECT_FALSE(clPlein.bWriteString("%s", "abc"));
    EXPECT_NE(wsMessage(clPlein).find(L"The file Périphérique plein \U0001F600 could not"), std::wstring::npos);

    CDiskFile clFerme;
    EXPECT_FALSE(clFerme.bWrite("abc", 3, nullptr));
    EXPECT_FALSE(clFerme.bRead(&nEcrit, 1, nullptr));
}

TEST_F(StreamTest, FormattedTextIsWrittenWholeInBothWidths) {
    CDiskFile clFichier;
    ASSERT_TRUE(clFichier.bOpen(wsNom(L"f.txt").c_str(), eACCESS_ECRITURE, eSHARE_EXCLUSIF, eCREATE_VIDE_OU_CREE,
                                eFLAG_FICHIER, nullptr));
    ASSERT_TRUE(clFichier.bWriteString("%d-%s;", 42, "\xC3\xA9t\xC3\xA9"));
    const std::string sLong(3000, 'x');
    ASSERT_TRUE(clFichier.bWriteString("%s|", sLong.c_str()));
    ASSERT_TRUE(clFichier.bWriteString(L"%s\U0001F600", L"à"));
    clFichier.Close();
    const std::wstring wsLarge = L"à\U0001F600";
    const std::string sAttendu = "42-\xC3\xA9t\xC3\xA9;" + sLong + "|" +
                                 std::string(reinterpret_cast<const char*>(wsLarge.data()), wsLarge.size() * 4);
    EXPECT_EQ(sLit(sNom("f.txt")), sAttendu);
}

// ---- sizes ------------------------------------------------------------------------------------

TEST_F(StreamTest, SizesAndPositions) {
    ASSERT_TRUE(bEcrit("f.txt", "0123456789"));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt"));
    EXPECT_EQ(clFichier.oGetSize(), 10);
    EXPECT_EQ(clFichier.oGetOffset(), 0);
    EXPECT_EQ(clFichier.oGetSizeFast(), 10);
    EXPECT_EQ(clFichier.oGetOffset(), 10);
    EXPECT_TRUE(clFichier.bSeek(-3, eSEEK_FIN));
    EXPECT_EQ(clFichier.oGetOffset(), 7);
    EXPECT_FALSE(clFichier.bSeek(-20, eSEEK_DEBUT));
    EXPECT_NE(wsMessage(clFichier).find(L"position"), std::wstring::npos);

    EXPECT_TRUE(clFichier.bSetSize(-2, eGROW_RELATIF));
    EXPECT_EQ(clFichier.oGetOffset(), 8);  // a size change leaves the offset at the new end
    EXPECT_EQ(sLit(sNom("f.txt")), "01234567");
    EXPECT_TRUE(clFichier.bSetSize(4, eGROW_ABSOLU));
    EXPECT_EQ(sLit(sNom("f.txt")), "0123");
    EXPECT_FALSE(clFichier.bSetSize(4, static_cast<eGROW>(7)));
    EXPECT_TRUE(clFichier.bIncreaseSize(2));
    EXPECT_EQ(sLit(sNom("f.txt")), std::string("0123\0\0", 6));
    // Extending writes the last byte; shrinking keeps what stays.
    EXPECT_TRUE(clFichier.bExtendFile(8));
    EXPECT_EQ(clFichier.oGetSize(), 8);
    EXPECT_TRUE(clFichier.bExtendFile(3));
    EXPECT_EQ(sLit(sNom("f.txt")), "012");
    EXPECT_FALSE(clFichier.bExtendFile(0));
    EXPECT_EQ(sLit(sNom("f.txt")), "012");
}

// ---- range locks --------------------------------------------------------------------------------

std::vector<std::string> LignesVerrous(pid_t nPid, ino_t nInode) {
    std::ifstream clFlux("/proc/locks");
    std::vector<std::string> tabLignes;
    const std::string sPid = " " + std::to_string(nPid) + " ";
    const std::string sInode = ":" + std::to_string(nInode) + " ";
    for (std::string sLigne; std::getline(clFlux, sLigne);) {
        if (sLigne.find(sPid) != std::string::npos && sLigne.find(sInode) != std::string::npos) {
            tabLignes.push_back(sLigne);
        }
    }
    return tabLignes;
}

TEST_F(StreamTest, RangeLocksConflictWithAnotherProcessAndShowInProcLocks) {
    ASSERT_TRUE(bEcrit("f.txt", std::string(100, 'x')));
    struct stat stEtat {};
    ASSERT_EQ(stat(sNom("f.txt").c_str(), &stEtat), 0);
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt"));
    ASSERT_TRUE(clFichier.bLock(10, 5));
    ASSERT_TRUE(clFichier.bLockShare(40, 2));
    ASSERT_TRUE(clFichier.bLockFileEx(1, 1));  // bytes 0 and 1
    const std::vector<std::string> tabLignes = LignesVerrous(getpid(), stEtat.st_ino);
    ASSERT_EQ(tabLignes.size(), 3u);
    bool bEcriture = false, bLecture = false;
    for (const std::string& sLigne : tabLignes) {
        EXPECT_NE(sLigne.find("POSIX"), std::string::npos) << sLigne;
        bEcriture |= sLigne.find("WRITE") != std::string::npos && sLigne.find(" 10 14") != std::string::npos;
        bLecture |= sLigne.find("READ") != std::string::npos && sLigne.find(" 40 41") != std::string::npos;
    }
    EXPECT_TRUE(bEcriture && bLecture);

    const std::wstring wsChemin = wsNom(L"f.txt");
    // Each bit of the child's answer is one expectation that failed.
    auto nEssai = [&wsChemin] {
        CDiskFile clAutre;
        if (!clAutre.bOpen(wsChemin.c_str(), eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER,
                           nullptr)) {
            return 64;
        }
        int nEchecs = 0;
        if (clAutre.bLock(12, 1) || errno != kErrnoPartage) nEchecs |= 1;
        if (!clAutre.bLock(20, 1)) nEchecs |= 2;
        if (clAutre.bLockFile(14, 3)) nEchecs |= 4;
        if (clAutre.pclGetXError()->pszGetUserMessage() == std::wstring(L"")) nEchecs |= 8;
        if (!clAutre.bLockShare(40, 2)) nEchecs |= 16;  // two readers share
        if (clAutre.bLock(41, 1)) nEchecs |= 32;
        if (clAutre.bLock(1, 1) || !clAutre.bLock(2, 1)) nEchecs |= 128;
        return nEchecs;
    };
    EXPECT_EQ(nDansFils(nEssai), 0);
    ASSERT_TRUE(clFichier.bUnlock(10, 5));
    ASSERT_TRUE(clFichier.bUnlockFile(40, 2));
    ASSERT_TRUE(clFichier.bLockFileEx(0, 1));
    EXPECT_TRUE(LignesVerrous(getpid(), stEtat.st_ino).empty());
    EXPECT_EQ(nDansFils([&wsChemin] {
                  CDiskFile clAutre;
                  return clAutre.bOpen(wsChemin.c_str(), eACCESS_LECTUREECRITURE, eSHARE_EXCLUSIF, eCREATE_EXISTANT,
                                       eFLAG_FICHIER, nullptr) && clAutre.bLockFileEx(1, 1)
                             ? 0
                             : 1;
              }),
              0);
}

// ---- the 80-character line reader ------------------------------------------------------------------

struct LigneLue {
    std::string sTexte;
    int bTronque;
    bool operator==(const LigneLue&) const = default;
};

std::vector<LigneLue> LitLignes(CDiskFile& clFichier, unsigned long nTaille, unsigned int dwFlags) {
    std::vector<LigneLue> tabLignes;
    std::vector<char> tabTampon(nTaille + 1, '#');
    int bTronque = 0;
    // Bounded: a reader that stops moving must fail the test, not hang it.
    for (int i = 0; i < 50 && clFichier.bReadLine(tabTampon.data(), nTaille, &bTronque, dwFlags); ++i) {
        EXPECT_EQ(tabTampon[nTaille], '#') << "written past the buffer";
        tabLignes.push_back({tabTampon.data(), bTronque});
    }
    return tabLignes;
}

TEST_F(StreamTest, LineReaderEndsLinesAcrossBlocks) {
    const std::string s79(79, 'a');
    const std::string s80(80, 'b');
    const std::string s200(200, 'c');
    struct Cas {
        int nLigne;
        std::string sContenu;
        unsigned int dwFlags;
        unsigned long nTaille;
        std::vector<LigneLue> tabAttendu;
    };
    const Cas tabCas[] = {
        {__LINE__, "un\r\ndeux\ntrois\rquatre", 0, 256, {{"un", 0}, {"deux", 0}, {"trois", 0}, {"quatre", 0}}},
        {__LINE__, "\n\n", 0, 256, {{"", 0}, {"", 0}}},
        {__LINE__, "", 0, 256, {}},
        {__LINE__, s80 + "\nx", 0, 256, {{s80, 0}, {"x", 0}}},
        {__LINE__, s80, 0, 256, {{s80, 0}}},
        {__LINE__, s79 + "\r\nx", 0, 256, {{s79, 0}, {"x", 0}}},
        {__LINE__, s79 + "\rx", 0, 256, {{s79, 0}, {"x", 0}}},
        {__LINE__, s200 + "\r\n" + s80, 0, 256, {{s200, 0}, {s80, 0}}},
        {__LINE__, "abc\r", 0, 256, {{"abc", 0}}},
        {__LINE__, std::string("ab\0cd\nef", 8), 0, 256, {{"abcd", 0}, {"ef", 0}}},
        {__LINE__, "a\nb\rc\r\nd", 1, 256, {{"a\nb\rc", 0}, {"d", 0}}},
        {__LINE__, s79 + "\r\nx", 1, 256, {{s79, 0}, {"x", 0}}},
        {__LINE__, s79 + "\rx\r\n", 1, 256, {{s79 + "\rx", 0}}},
        {__LINE__, s79 + "\r", 1, 256, {{s79 + "\r", 0}}},
        {__LINE__, "abcdefgh\nij", 0, 5, {{"abcd", 1}, {"efgh", 0}, {"ij", 0}}},
        {__LINE__, "abcd\n", 0, 5, {{"abcd", 0}}},
        {__LINE__, s200 + "\n", 0, 101, {{std::string(100, 'c'), 1}, {std::string(100, 'c'), 0}}},
    };
    for (const Cas& stCas : tabCas) {
        SCOPED_TRACE(stCas.nLigne);
        ASSERT_TRUE(bEcrit("lignes.txt", stCas.sContenu));
        CDiskFile clFichier;
        ASSERT_TRUE(bOuvre(clFichier, L"lignes.txt", eACCESS_LECTURE));
        EXPECT_EQ(LitLignes(clFichier, stCas.nTaille, stCas.dwFlags), stCas.tabAttendu);
        EXPECT_EQ(clFichier.oGetOffset(), static_cast<long>(stCas.sContenu.size()));
    }
}

TEST_F(StreamTest, WideLineReaderKeepsAccentsAndCharactersOutsideTheBmp) {
    const std::wstring wsContenu = L"Élève à l'école \U0001F600\r\nfin";
    ASSERT_TRUE(bEcrit("large.txt", std::string(reinterpret_cast<const char*>(wsContenu.data()), wsContenu.size() * 4)));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"large.txt", eACCESS_LECTURE));
    wchar_t szLigne[128];
    int bTronque = 1;
    ASSERT_TRUE(clFichier.bReadLine(szLigne, 128, &bTronque, 0));
    EXPECT_STREQ(szLigne, L"Élève à l'école \U0001F600");
    EXPECT_EQ(bTronque, 0);
    ASSERT_TRUE(clFichier.bReadLine(szLigne, 3, &bTronque, 0));
    EXPECT_STREQ(szLigne, L"fi");
    EXPECT_EQ(bTronque, 1);
    ASSERT_TRUE(clFichier.bReadLine(szLigne, 3, &bTronque, 0));
    EXPECT_STREQ(szLigne, L"n");
    EXPECT_FALSE(clFichier.bReadLine(szLigne, 3, &bTronque, 0));
}

// ---- the fast line reader --------------------------------------------------------------------------

std::string Octets(const std::wstring& wsTexte) {
    return std::string(reinterpret_cast<const char*>(wsTexte.data()), wsTexte.size() * sizeof(wchar_t));
}

TEST_F(StreamTest, FastReaderSplitsLinesAcrossItsReads) {
    // 16,384 characters fill one read: put a CR LF and a separator astride that boundary.
    const std::wstring wsPremiere(16383, L'a');
    const std::wstring wsContenu = wsPremiere + L"\r\nÉté\n\U0001F600\rz";
    ASSERT_TRUE(bEcrit("f.txt", Octets(wsContenu)));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE));
    std::vector<wchar_t> tabTampon(20000);
    CTString clDebordement;
    std::vector<std::wstring> tabLignes;
    while (const wchar_t* pszLigne = clFichier.pszReadLine(tabTampon.data(), tabTampon.size(), &clDebordement, nullptr)) {
        tabLignes.emplace_back(pszLigne);
        if (tabLignes.size() > 10) break;
    }
    EXPECT_EQ(tabLignes, (std::vector<std::wstring>{wsPremiere, L"Été", L"\U0001F600", L"z"}));
    EXPECT_EQ(clFichier.oGetOffset(), clFichier.oGetSize());

    const std::wstring wsSepare = std::wstring(16382, L'b') + L"<|>c<|><|>d";
    ASSERT_TRUE(bEcrit("s.txt", Octets(wsSepare)));
    ASSERT_TRUE(bOuvre(clFichier, L"s.txt", eACCESS_LECTURE));
    tabLignes.clear();
    while (const wchar_t* pszLigne = clFichier.pszReadLine(tabTampon.data(), tabTampon.size(), &clDebordement, L"<|>")) {
        tabLignes.emplace_back(pszLigne);
        if (tabLignes.size() > 10) break;
    }
    EXPECT_EQ(tabLignes, (std::vector<std::wstring>{std::wstring(16382, L'b'), L"c", L"", L"d"}));
}

TEST_F(StreamTest, FastReaderSendsLongLinesToTheOverflowOrCutsThem) {
    const std::wstring wsLongue(70000, L'é');  // longer than the whole read-ahead buffer
    ASSERT_TRUE(bEcrit("f.txt", Octets(wsLongue + L"\nfin\n")));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE));
    wchar_t szTampon[16];
    CTString clDebordement;
    const wchar_t* pszLigne = clFichier.pszReadLine(szTampon, 16, &clDebordement, nullptr);
    ASSERT_NE(pszLigne, nullptr);
    EXPECT_EQ(pszLigne, clDebordement.pszGet());
    EXPECT_EQ(std::wstring(pszLigne), wsLongue);
    pszLigne = clFichier.pszReadLine(szTampon, 16, &clDebordement, nullptr);
    EXPECT_EQ(pszLigne, szTampon);
    EXPECT_STREQ(pszLigne, L"fin");
    EXPECT_EQ(clFichier.pszReadLine(szTampon, 16, &clDebordement, nullptr), nullptr);

    // Without an overflow string the rest of a line comes with the next calls.
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE));
    size_t nTotal = 0;
    int nAppels = 0;
    while ((pszLigne = clFichier.pszReadLine(szTampon, 16, nullptr, nullptr)) != nullptr && nAppels < 10000) {
        if (wcscmp(pszLigne, L"fin") == 0) break;
        nTotal += wcslen(pszLigne);
        ++nAppels;
    }
    EXPECT_EQ(nTotal, wsLongue.size());
}

TEST_F(StreamTest, OtherOperationsResumeWhereTheFastReaderStopped) {
    ASSERT_TRUE(bEcrit("f.txt", Octets(L"un\ndeux\ntrois\n")));
    CDiskFile clFichier;
    ASSERT_TRUE(bOuvre(clFichier, L"f.txt", eACCESS_LECTURE));
    wchar_t szTampon[16];
    ASSERT_STREQ(clFichier.pszReadLine(szTampon, 16, nullptr, nullptr), L"un");
    wchar_t szLigne[16];
    ASSERT_TRUE(clFichier.bReadLine(szLigne, 16, nullptr, 0));
    EXPECT_STREQ(szLigne, L"deux");
    EXPECT_EQ(clFichier.oGetOffset(), 8 * 4);
    EXPECT_STREQ(clFichier.pszReadLine(szTampon, 16, nullptr, nullptr), L"trois");
}

// ---- copies ---------------------------------------------------------------------------------------

TEST_F(StreamTest, ExtractCopiesACountOrEverythingToTheEnd) {
    std::string sGros;
    for (int i = 0; i < 200000; ++i) sGros += static_cast<char>('a' + i % 26);
    ASSERT_TRUE(bEcrit("source.bin", sGros));
    CDiskFile clSource;
    ASSERT_TRUE(bOuvre(clSource, L"source.bin", eACCESS_LECTURE));
    CDiskFile clCible;
    ASSERT_TRUE(clCible.bOpen(wsNom(L"cible.bin").c_str(), eACCESS_ECRITURE, eSHARE_EXCLUSIF, eCREATE_VIDE_OU_CREE,
                              eFLAG_FICHIER, nullptr));
    ASSERT_TRUE(clSource.bSeek(5, eSEEK_DEBUT));
    ASSERT_TRUE(clSource.bExtract(&clCible, 70000));
    EXPECT_EQ(clSource.oGetOffset(), 70005);
    ASSERT_TRUE(clSource.bExtract(&clCible, -1));
    clCible.Close();
    EXPECT_EQ(sLit(sNom("cible.bin")), sGros.substr(5, 70000) + sGros.substr(70005));

    // A file appended to itself to the end doubles once, and ends.
    CDiskFile clMeme;
    ASSERT_TRUE(bOuvre(clMeme, L"cible.bin"));
    ASSERT_TRUE(clMeme.bExtractFromFile(wsNom(L"cible.bin").c_str(), 0, -1));
    EXPECT_EQ(clMeme.oGetSize(), 2L * (200000 - 5));
    // A range extracted onto its own file would empty the source first.
    EXPECT_FALSE(clMeme.bExtract(wsNom(L"cible.bin").c_str(), 0, 10));
    EXPECT_EQ(clMeme.oGetSize(), 2L * (200000 - 5));
}

}  // namespace
