// The file-system toolkit of CDiskFile: existence and kinds, copies, renames and moves, directories,
// attributes and times, disk space, current, home and temporary directories, relative paths, and
// whole-file and whole-text loading.
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "base/code_pages.h"
#include "base/str_edit.h"
#include "base/tstring.h"
#include "base/unicode.h"
#include "files/disk_file.h"
#include "files/internal/file_copy.h"
#include "files/internal/system_name.h"
#include "files/internal/toolkit_error.h"

using ov_files::bEchec;
using ov_files::bReussite;

namespace {

// Message ids of the failures, each given the name.
enum : unsigned int {
    kMsgSuppression = 28123,
    kMsgRenommage = 28124,
    kMsgCopie = 28125,
    kMsgCreationRepertoire = 28126,
    kMsgSuppressionRepertoire = 28127,
    kMsgEtat = 28128,
    kMsgDate = 28129,
    kMsgAttributs = 28130,
    kMsgCheminComplet = 28131,
    kMsgRepertoireTemp = 28133,
    kMsgFichierTemp = 28134,
    kMsgEspaceDisque = 28138,
    kMsgRepertoireCourant = 28307,
    kMsgProprietaire = 25852,
    kMsgOuverture = 28139,
    kMsgLecture = 28003,
};


// A name for the system with backslashes made slashes; false (errno set) when it does not convert.
#define OV_NOM_SYSTEME(clNom, pszNom)  \
    const CNomSysteme clNom(pszNom, true); \
    if (!clNom.bValide())

int nFermeSansErreur(int nDescripteur) noexcept {
    const int nErrno = errno;
    const int n = ::close(nDescripteur);
    errno = nErrno;
    return n;
}

// Reads a whole descriptor into a malloc buffer (its size answered in *pnTaille); null with errno.
// The size of the file is only a first guess: files of /proc say 0 and grow while read.
uint8_t* pbyLitTout(int nDescripteur, size_t* pnTaille) noexcept {
    struct stat st;
    size_t nCapacite = 65536;
    if (fstat(nDescripteur, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0)
        nCapacite = static_cast<size_t>(st.st_size) + 1;
    if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return nullptr;
    }
    uint8_t* pby = static_cast<uint8_t*>(std::malloc(nCapacite));
    if (pby == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    size_t nLu = 0;
    for (;;) {
        if (nLu == nCapacite) {
            uint8_t* pbyPlus = static_cast<uint8_t*>(std::realloc(pby, nCapacite * 2));
            if (pbyPlus == nullptr) {
                std::free(pby);
                errno = ENOMEM;
                return nullptr;
            }
            pby = pbyPlus;
            nCapacite *= 2;
        }
        const ssize_t n = ::read(nDescripteur, pby + nLu, nCapacite - nLu);
        if (n < 0) {
            if (errno == EINTR) continue;
            const int nErrno = errno;
            std::free(pby);
            errno = nErrno;
            return nullptr;
        }
        if (n == 0) break;
        nLu += static_cast<size_t>(n);
    }
    *pnTaille = nLu;
    return pby;
}

void VersTempsFichier(const struct timespec& stSpec, CDiskFile::_stXFILETIME* pstTemps) noexcept {
    struct tm stTm = {};
    const time_t t = stSpec.tv_sec;
    localtime_r(&t, &stTm);
    pstTemps->wAnnee = static_cast<uint16_t>(stTm.tm_year + 1900);
    pstTemps->wMois = static_cast<uint16_t>(stTm.tm_mon + 1);
    pstTemps->wJour = static_cast<uint16_t>(stTm.tm_mday);
    pstTemps->wHeure = static_cast<uint16_t>(stTm.tm_hour);
    pstTemps->wMinute = static_cast<uint16_t>(stTm.tm_min);
    pstTemps->wSeconde = static_cast<uint16_t>(stTm.tm_sec);
    pstTemps->wMilliseconde = static_cast<uint16_t>(stSpec.tv_nsec / 1000000);
    pstTemps->wReserve = 0;
}

// The same file by device and inode (links followed).
bool bMemeFichier(const char* psz1, const char* psz2) noexcept {
    struct stat st1, st2;
    return ::stat(psz1, &st1) == 0 && ::stat(psz2, &st2) == 0 && st1.st_dev == st2.st_dev && st1.st_ino == st2.st_ino;
}

}  // namespace

// ============================================================================== shared copies

namespace ov_files {

bool bCopieDescripteurs(int nSource, int nCible) noexcept {
    // The kernel copies without bringing the bytes to user space (and shares extents where the file
    // system can); a refusal (other file system, old kernel, special file) falls back to blocks.
    bool bCopie = false;
    for (;;) {
        const ssize_t n = copy_file_range(nSource, nullptr, nCible, nullptr, size_t{1} << 30, 0);
        if (n > 0) {
            bCopie = true;
            continue;
        }
        if (n == 0 && bCopie) return true;
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP &&
            errno != EBADF && errno != EPERM)
            return false;
        break;  // 0 before any byte: some files (of /proc) say so wrongly, read them to be sure
    }
    constexpr size_t knBloc = size_t{1} << 20;
    char* pbyBloc = static_cast<char*>(std::malloc(knBloc));
    if (pbyBloc == nullptr) {
        errno = ENOMEM;
        return false;
    }
    bool bResultat = true;
    for (;;) {
        const ssize_t nLu = ::read(nSource, pbyBloc, knBloc);
        if (nLu < 0 && errno == EINTR) continue;
        if (nLu <= 0) {
            bResultat = nLu == 0;
            break;
        }
        for (ssize_t nEcrit = 0; nEcrit < nLu;) {
            const ssize_t n = ::write(nCible, pbyBloc + nEcrit, static_cast<size_t>(nLu - nEcrit));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                if (n == 0) errno = EIO;
                bResultat = false;
                break;
            }
            nEcrit += n;
        }
        if (!bResultat) break;
    }
    const int nErrno = errno;
    std::free(pbyBloc);
    errno = nErrno;
    return bResultat;
}

static bool bCopieDirecte(int nSource, const char* pszCible, bool bExistait) noexcept {
    const int nCible = ::open(pszCible, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (nCible < 0) return false;
    bool bResultat = bCopieDescripteurs(nSource, nCible);
    if (::close(nCible) != 0) bResultat = false;
    if (!bResultat && !bExistait) {
        const int nErrno = errno;
        ::unlink(pszCible);
        errno = nErrno;
    }
    return bResultat;
}

bool bCopieVersNom(int nSource, const char* pszCible) noexcept {
    struct stat stCible;
    const bool bExiste = ::lstat(pszCible, &stCible) == 0;
    if (bExiste && S_ISDIR(stCible.st_mode)) {
        errno = EISDIR;
        return false;
    }
    if (bExiste && !S_ISREG(stCible.st_mode)) return bCopieDirecte(nSource, pszCible, true);
    // A target its owner made read only is not replaced behind their back.
    if (bExiste && ::access(pszCible, W_OK) != 0) return false;

    static std::atomic<unsigned int> s_nCompteur{0};
    const size_t nLongueur = std::strlen(pszCible);
    char* pszTemp = static_cast<char*>(std::malloc(nLongueur + 32));
    if (pszTemp == nullptr) {
        errno = ENOMEM;
        return false;
    }
    int nTemp = -1;
    for (int nEssai = 0; nEssai < 100 && nTemp < 0; ++nEssai) {
        struct timespec stMaintenant;
        clock_gettime(CLOCK_MONOTONIC, &stMaintenant);
        std::snprintf(pszTemp, nLongueur + 32, "%s.~%x%x%lx", pszCible, static_cast<unsigned>(getpid()),
                      s_nCompteur.fetch_add(1), static_cast<unsigned long>(stMaintenant.tv_nsec) & 0xfffff);
        // Created with 0666 so that the umask applies, as it would to a file created in place.
        nTemp = ::open(pszTemp, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (nTemp < 0 && errno != EEXIST) break;
    }
    if (nTemp < 0) {
        const int nErrno = errno;
        std::free(pszTemp);
        // A directory we may not write in, or a name at the length limit: write in place.
        if (nErrno == EACCES || nErrno == EPERM || nErrno == ENAMETOOLONG)
            return bCopieDirecte(nSource, pszCible, bExiste);
        errno = nErrno;
        return false;
    }
    bool bResultat = bCopieDescripteurs(nSource, nTemp);
    if (bResultat && bExiste) fchmod(nTemp, stCible.st_mode & 07777);
    if (::close(nTemp) != 0) bResultat = false;
    if (bResultat && ::rename(pszTemp, pszCible) != 0) bResultat = false;
    if (!bResultat) {
        const int nErrno = errno;
        ::unlink(pszTemp);
        errno = nErrno;
    }
    std::free(pszTemp);
    return bResultat;
}

bool bCopieFichier(const char* pszSource, const char* pszCible) noexcept {
    if (std::strcmp(pszSource, pszCible) == 0 || bMemeFichier(pszSource, pszCible)) {
        errno = EINVAL;
        return false;
    }
    const int nSource = ::open(pszSource, O_RDONLY | O_CLOEXEC);
    if (nSource < 0) return false;
    struct stat st;
    if (fstat(nSource, &st) != 0 || S_ISDIR(st.st_mode)) {
        if (S_ISDIR(st.st_mode)) errno = EISDIR;
        nFermeSansErreur(nSource);
        return false;
    }
    const bool bResultat = bCopieVersNom(nSource, pszCible);
    nFermeSansErreur(nSource);
    return bResultat;
}

}  // namespace ov_files

// ============================================================================== the error gate

bool CDiskFile::_bOnError(bool bSucces, CXError* pclErreur) noexcept {
    if (pclErreur == nullptr) return false;
    const int nErrno = errno;
    pclErreur->RAZ();
    if (bSucces) {
        errno = nErrno;
        return false;
    }
    pclErreur->InitModInfo(&gstMyModuleInfo8, false);
    pclErreur->SetErrorLevel(CXError::EL_ERROR3);
    pclErreur->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    errno = nErrno;
    return true;
}

void CDiskFile::_OnMemoryError(CXError* pclErreur) noexcept {
    if (pclErreur == nullptr) return;
    pclErreur->RAZ();
    pclErreur->InitModInfo(&gstMyModuleInfo8, true);
    pclErreur->SetErrorLevel(CXError::EL_ERROR3);
    pclErreur->SetSystemError(ENOMEM, nullptr);
    pclErreur->AddDebugMessageNoFormat(L"##MemoryException##");
}

// ============================================================================== existence and kinds

bool CDiskFile::bExist(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgEtat, pszNom);
    if (::access(clNom.pszGet(), F_OK) != 0) return bEchec(pclErreur, kMsgEtat, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::bIsADirectory(const wchar_t* pszNom) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return false;
    struct stat st;
    return ::stat(clNom.pszGet(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool CDiskFile::bIsAFile(const wchar_t* pszNom) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return false;
    struct stat st;
    return ::stat(clNom.pszGet(), &st) == 0 && !S_ISDIR(st.st_mode);
}

long CDiskFile::s_oGetSize(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgEtat, pszNom), -1;
    struct stat st;
    if (::stat(clNom.pszGet(), &st) != 0) return bEchec(pclErreur, kMsgEtat, pszNom), -1;
    if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return bEchec(pclErreur, kMsgEtat, pszNom), -1;
    }
    bReussite(pclErreur);
    return static_cast<long>(st.st_size);
}

// ============================================================================== copy, rename, move

bool CDiskFile::bCopy(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clSource, pszSource) return bEchec(pclErreur, kMsgCopie, pszSource);
    OV_NOM_SYSTEME(clCible, pszDestination) return bEchec(pclErreur, kMsgCopie, pszSource);
    if (!ov_files::bCopieFichier(clSource.pszGet(), clCible.pszGet())) return bEchec(pclErreur, kMsgCopie, pszSource);
    return bReussite(pclErreur);
}

bool CDiskFile::bRename(const wchar_t* pszNouveau, const wchar_t* pszAncien, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clAncien, pszAncien) return bEchec(pclErreur, kMsgRenommage, pszAncien);
    OV_NOM_SYSTEME(clNouveau, pszNouveau) return bEchec(pclErreur, kMsgRenommage, pszAncien);
    // The check and the rename are one step where the file system allows it, so that a file that
    // appears in between is never overwritten.
    if (renameat2(AT_FDCWD, clAncien.pszGet(), AT_FDCWD, clNouveau.pszGet(), RENAME_NOREPLACE) == 0)
        return bReussite(pclErreur);
    if (errno == EINVAL || errno == ENOSYS) {
        struct stat st;
        if (::lstat(clNouveau.pszGet(), &st) == 0) {
            errno = EEXIST;
            return bEchec(pclErreur, kMsgRenommage, pszAncien);
        }
        if (::rename(clAncien.pszGet(), clNouveau.pszGet()) == 0) return bReussite(pclErreur);
    }
    if (errno == EXDEV) {
        // Another file system: a file is copied whole, then the old one goes.
        struct stat st;
        if (::lstat(clAncien.pszGet(), &st) == 0 && S_ISREG(st.st_mode)) {
            if (ov_files::bCopieFichier(clAncien.pszGet(), clNouveau.pszGet()) && ::unlink(clAncien.pszGet()) == 0)
                return bReussite(pclErreur);
        } else {
            errno = EXDEV;
        }
    }
    return bEchec(pclErreur, kMsgRenommage, pszAncien);
}

bool CDiskFile::bMove(const wchar_t* pszNouveau, const wchar_t* pszAncien, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clAncien, pszAncien) return bEchec(pclErreur, kMsgRenommage, pszAncien);
    OV_NOM_SYSTEME(clNouveau, pszNouveau) return bEchec(pclErreur, kMsgRenommage, pszAncien);
    if (std::strcmp(clAncien.pszGet(), clNouveau.pszGet()) == 0 || bMemeFichier(clAncien.pszGet(), clNouveau.pszGet()))
        return bReussite(pclErreur);
    // rename replaces the target in one step: the old target is never lost before the new one is
    // in place.
    if (::rename(clAncien.pszGet(), clNouveau.pszGet()) == 0) return bReussite(pclErreur);
    if (errno == EXDEV) {
        struct stat st;
        if (::lstat(clAncien.pszGet(), &st) == 0 && S_ISREG(st.st_mode)) {
            // The source goes only once its copy stands complete under the new name.
            if (ov_files::bCopieFichier(clAncien.pszGet(), clNouveau.pszGet()) && ::unlink(clAncien.pszGet()) == 0)
                return bReussite(pclErreur);
        } else if (::lstat(clAncien.pszGet(), &st) == 0 && S_ISDIR(st.st_mode)) {
            return bMoveTree(pszNouveau, pszAncien, pclErreur);
        } else {
            errno = EXDEV;
        }
    }
    return bEchec(pclErreur, kMsgRenommage, pszAncien);
}

bool CDiskFile::bDelete(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgSuppression, pszNom);
    if (::unlink(clNom.pszGet()) != 0) return bEchec(pclErreur, kMsgSuppression, pszNom);
    return bReussite(pclErreur);
}

// ============================================================================== directories

bool CDiskFile::bCreateDirectory(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    if (pszNom == nullptr || pszNom[0] == 0) return false;
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgCreationRepertoire, pszNom);
    char* pszChemin = ::strdup(clNom.pszGet());
    if (pszChemin == nullptr) {
        errno = ENOMEM;
        return bEchec(pclErreur, kMsgCreationRepertoire, pszNom);
    }
    size_t nLongueur = std::strlen(pszChemin);
    while (nLongueur > 1 && pszChemin[nLongueur - 1] == '/') pszChemin[--nLongueur] = 0;
    bool bResultat = true;
    // Each level in turn; one that exists already (as a directory) is passed.
    for (size_t i = 1; i <= nLongueur && bResultat; ++i) {
        if (pszChemin[i] != '/' && pszChemin[i] != 0) continue;
        if (pszChemin[i - 1] == '/') continue;  // "a//b"
        const char cGarde = pszChemin[i];
        pszChemin[i] = 0;
        if (::mkdir(pszChemin, 0777) != 0) {
            struct stat st;
            const int nErrno = errno;
            if (nErrno != EEXIST || ::stat(pszChemin, &st) != 0 || !S_ISDIR(st.st_mode)) {
                errno = nErrno == EEXIST ? ENOTDIR : nErrno;
                bResultat = false;
            }
        }
        pszChemin[i] = cGarde;
    }
    const int nErrno = errno;
    std::free(pszChemin);
    errno = nErrno;
    if (!bResultat) return bEchec(pclErreur, kMsgCreationRepertoire, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::bDeleteDirectory(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    if (::rmdir(clNom.pszGet()) != 0) return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::bEstVide(const wchar_t* pszRepertoire) noexcept {
    OV_NOM_SYSTEME(clNom, pszRepertoire) return false;
    DIR* pDir = ::opendir(clNom.pszGet());
    if (pDir == nullptr) return false;
    bool bVide = true;
    while (const struct dirent* pstEntree = ::readdir(pDir)) {
        if (std::strcmp(pstEntree->d_name, ".") != 0 && std::strcmp(pstEntree->d_name, "..") != 0) {
            bVide = false;
            break;
        }
    }
    ::closedir(pDir);
    return bVide;
}

// ============================================================================== attributes

bool CDiskFile::bSetFileAttributes(const wchar_t* pszNom, int nAttribut, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgAttributs, pszNom);
    struct stat st;
    if (::stat(clNom.pszGet(), &st) != 0) return bEchec(pclErreur, kMsgAttributs, pszNom);
    const bool bLectureSeule = nAttribut == -1 || nAttribut == -2;
    mode_t nMode = bLectureSeule ? 0444 : 0666;
    // A directory keeps its search bits: without them nothing inside could be reached.
    if (S_ISDIR(st.st_mode)) nMode = bLectureSeule ? (st.st_mode & 07555) : (st.st_mode & 07777) | 0200;
    if (::chmod(clNom.pszGet(), nMode) != 0) return bEchec(pclErreur, kMsgAttributs, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::bSetFileAttributesUnix(const wchar_t* pszNom, unsigned int nMode, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgAttributs, pszNom);
    if (::chmod(clNom.pszGet(), static_cast<mode_t>(nMode & 07777)) != 0) return bEchec(pclErreur, kMsgAttributs, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::bSetFileOwnerUnix(const wchar_t* pszNom, unsigned int nUid, unsigned int nGid, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgProprietaire, pszNom);
    if (::chown(clNom.pszGet(), static_cast<uid_t>(nUid), static_cast<gid_t>(nGid)) != 0)
        return bEchec(pclErreur, kMsgProprietaire, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::__bGetFileAttributesAndSize(const wchar_t* pszNom, uint32_t* pdwAttributs, int64_t* poTaille) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return false;
    struct stat st;
    // The entry itself: a symbolic link is a non-directory of its own size, so that walkers list
    // it and never go through it.
    if (::lstat(clNom.pszGet(), &st) != 0) return false;
    uint32_t dwAttributs = static_cast<uint32_t>(st.st_mode & 0777);
    if (S_ISDIR(st.st_mode)) dwAttributs |= eATTR_REPERTOIRE;
    const wchar_t* pszFichier = pszGetPtrToFileName(pszNom);
    if (pszFichier[0] == L'.' && !bIsAVirtualDirectory(pszFichier)) dwAttributs |= eATTR_CACHE;
    if (pdwAttributs != nullptr) *pdwAttributs = dwAttributs;
    // A directory weighs nothing: sums of sizes count the content of files.
    if (poTaille != nullptr) *poTaille = S_ISDIR(st.st_mode) ? 0 : static_cast<int64_t>(st.st_size);
    return true;
}

// ============================================================================== times

bool CDiskFile::bGetTime(const wchar_t* pszNom, int nQuel, _stXFILETIME* pstTemps, CXError* pclErreur) noexcept {
    if (pstTemps == nullptr || nQuel < 0 || nQuel > 2) {
        errno = EINVAL;
        return bEchec(pclErreur, kMsgDate, pszNom);
    }
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgDate, pszNom);
    struct stat st;
    if (::stat(clNom.pszGet(), &st) != 0) return bEchec(pclErreur, kMsgDate, pszNom);
    VersTempsFichier(nQuel == 0 ? st.st_ctim : nQuel == 1 ? st.st_atim : st.st_mtim, pstTemps);
    return bReussite(pclErreur);
}

bool CDiskFile::bSetTime(const wchar_t* pszNom, int nQuel, const _stXFILETIME* pstTemps, CXError* pclErreur) noexcept {
    // The change time belongs to the system: no call sets it, so asking for it is refused rather
    // than answered with a success that did nothing.
    if (pstTemps == nullptr || nQuel < 0 || nQuel > 2) {
        errno = EINVAL;
        return bEchec(pclErreur, kMsgDate, pszNom);
    }
    if (nQuel == 0) {
        errno = ENOTSUP;
        return bEchec(pclErreur, kMsgDate, pszNom);
    }
    if (pstTemps->wMois < 1 || pstTemps->wMois > 12 || pstTemps->wJour < 1 || pstTemps->wJour > 31 ||
        pstTemps->wHeure > 23 || pstTemps->wMinute > 59 || pstTemps->wSeconde > 59 || pstTemps->wMilliseconde > 999) {
        errno = EINVAL;
        return bEchec(pclErreur, kMsgDate, pszNom);
    }
    struct tm stTm = {};
    stTm.tm_year = pstTemps->wAnnee - 1900;
    stTm.tm_mon = pstTemps->wMois - 1;
    stTm.tm_mday = pstTemps->wJour;
    stTm.tm_hour = pstTemps->wHeure;
    stTm.tm_min = pstTemps->wMinute;
    stTm.tm_sec = pstTemps->wSeconde;
    stTm.tm_isdst = -1;
    const time_t t = mktime(&stTm);
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgDate, pszNom);
    struct timespec tabTemps[2];
    tabTemps[0].tv_nsec = UTIME_OMIT;
    tabTemps[1].tv_nsec = UTIME_OMIT;
    struct timespec& stCible = tabTemps[nQuel == 1 ? 0 : 1];
    stCible.tv_sec = t;
    stCible.tv_nsec = static_cast<long>(pstTemps->wMilliseconde) * 1000000L;
    if (utimensat(AT_FDCWD, clNom.pszGet(), tabTemps, 0) != 0) return bEchec(pclErreur, kMsgDate, pszNom);
    return bReussite(pclErreur);
}

int CDiskFile::nCompareSystemTime(const _stXFILETIME* pst1, const _stXFILETIME* pst2) noexcept {
    // The first's fields are taken from the second's: positive when the first is the earlier.
    const uint16_t _stXFILETIME::*const tabChamps[] = {
        &_stXFILETIME::wAnnee,  &_stXFILETIME::wMois,    &_stXFILETIME::wJour,        &_stXFILETIME::wHeure,
        &_stXFILETIME::wMinute, &_stXFILETIME::wSeconde, &_stXFILETIME::wMilliseconde,
    };
    for (const auto pChamp : tabChamps) {
        const int nDifference = static_cast<int>(pst2->*pChamp) - static_cast<int>(pst1->*pChamp);
        if (nDifference != 0) return nDifference;
    }
    return 0;
}

bool CDiskFile::bSystemTimeToDosFileTime(const _stXFILETIME* pstTemps, uint16_t* pwDate, uint16_t* pwHeure) noexcept {
    if (pstTemps == nullptr || pwDate == nullptr || pwHeure == nullptr) return false;
    // The year offset is masked with 0x8F and the minute with 0x2F: narrower than the fields of the
    // format, and files already written carry words made that way.
    *pwDate = static_cast<uint16_t>((((pstTemps->wAnnee - 0x7BC) & 0x8F) << 9) | ((pstTemps->wMois & 0x0F) << 5) |
                                    (pstTemps->wJour & 0x1F));
    *pwHeure = static_cast<uint16_t>(((pstTemps->wHeure & 0x1F) << 11) | ((pstTemps->wMinute & 0x2F) << 5) |
                                     ((pstTemps->wSeconde / 2) & 0x1F));
    return true;
}

bool CDiskFile::bDosFileTimeToSystemTime(uint16_t wDate, uint16_t wHeure, _stXFILETIME* pstTemps) noexcept {
    if (pstTemps == nullptr) return false;
    pstTemps->wAnnee = static_cast<uint16_t>((wDate >> 9) + 0x7BC);
    pstTemps->wMois = static_cast<uint16_t>((wDate >> 5) & 0x0F);
    pstTemps->wJour = static_cast<uint16_t>(wDate & 0x1F);
    pstTemps->wHeure = static_cast<uint16_t>(wHeure >> 11);
    pstTemps->wMinute = static_cast<uint16_t>((wHeure >> 5) & 0x3F);
    pstTemps->wSeconde = static_cast<uint16_t>((wHeure & 0x1F) * 2);
    pstTemps->wMilliseconde = 0;
    pstTemps->wReserve = 0;
    return true;
}

// ============================================================================== space and places

bool CDiskFile::bGetDiskSpace(const wchar_t* pszRacine, int64_t* poTotal, int64_t* poLibre, CXError* pclErreur) noexcept {
    const wchar_t* pszNom = pszRacine != nullptr && pszRacine[0] != 0 ? pszRacine : L".";
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgEspaceDisque, pszNom);
    struct statvfs st;
    if (::statvfs(clNom.pszGet(), &st) != 0) return bEchec(pclErreur, kMsgEspaceDisque, pszNom);
    if (poTotal != nullptr) *poTotal = static_cast<int64_t>(st.f_blocks) * static_cast<int64_t>(st.f_frsize);
    // What this user may still write, not the blocks kept for the administrator.
    if (poLibre != nullptr) *poLibre = static_cast<int64_t>(st.f_bavail) * static_cast<int64_t>(st.f_frsize);
    return bReussite(pclErreur);
}

bool CDiskFile::GetHomeDir(CTString* pclSortie) noexcept {
    if (pclSortie == nullptr) return false;
    wchar_t szHome[4096];
    if (!Unix_gethomedir(szHome, 4096)) return false;
    return pclSortie->Set(szHome);
}

bool CDiskFile::bGetCurrentDirectory(wchar_t* pszSortie, unsigned long nTaille, CXError* pclErreur) noexcept {
    if (Unix_getcwd(pszSortie, nTaille) == nullptr) return bEchec(pclErreur, kMsgRepertoireCourant, L"");
    return bReussite(pclErreur);
}

bool CDiskFile::bPathRelativePathTo(wchar_t* pszSortie, const wchar_t* pszBase, const wchar_t* pszChemin) noexcept {
    if (pszSortie == nullptr) return false;
    wchar_t szBase[kMaxPath + 2];
    wchar_t szChemin[kMaxPath + 2];
    const unsigned long nBase = GetFullPathName(pszBase, kMaxPath + 1, szBase, nullptr);
    const unsigned long nChemin = GetFullPathName(pszChemin, kMaxPath + 1, szChemin, nullptr);
    if (nBase == 0 || nBase > kMaxPath || nChemin == 0 || nChemin > kMaxPath) return false;
    DirectoryWithoutEndSlash(szBase);
    DirectoryWithoutEndSlash(szChemin);
    // The longest run of whole components both share.
    size_t nCommun = 0;
    for (size_t i = 0;; ++i) {
        const bool bFinBase = szBase[i] == 0 || szBase[i] == L'/';
        const bool bFinChemin = szChemin[i] == 0 || szChemin[i] == L'/';
        if (bFinBase && bFinChemin) nCommun = i;
        if (szBase[i] != szChemin[i] || szBase[i] == 0) break;
    }
    // One ".." for each component of the base past the common part, then the rest of the path.
    wchar_t szResultat[kMaxPath + 1] = L"";
    int n = 0;
    for (size_t i = nCommun; szBase[i] != 0; ++i) {
        if (szBase[i] == L'/' && szBase[i + 1] != 0 && szBase[i + 1] != L'/')
            n = STR_nCat(szResultat, kMaxPath + 1, n == 0 ? L".." : L"/..");
    }
    const wchar_t* pszReste = szChemin + nCommun;
    while (*pszReste == L'/') ++pszReste;
    if (n == 0) n = STR_nCopy(szResultat, kMaxPath + 1, L".");
    if (*pszReste != 0) {
        if (static_cast<size_t>(n) + 1 + std::wcslen(pszReste) > static_cast<size_t>(kMaxPath)) return false;
        STR_nCat(szResultat, kMaxPath + 1, L"/");
        STR_nCat(szResultat, kMaxPath + 1, pszReste);
    }
    std::wcscpy(pszSortie, szResultat);
    return true;
}

bool CDiskFile::bRelativeToFullPath(wchar_t* pszSortie, const wchar_t* pszBase, const wchar_t* pszRelatif) noexcept {
    if (pszSortie == nullptr || pszRelatif == nullptr) return false;
    wchar_t szJoint[2 * kMaxPath + 3];
    if (bIsRelativeFileName(pszRelatif) && pszBase != nullptr && pszBase[0] != 0) {
        STR_nCopy(szJoint, 2 * kMaxPath + 3, pszBase);
        DirectoryWithEndSlash(szJoint);
        if (STR_nCat(szJoint, 2 * kMaxPath + 3, pszRelatif) >= 2 * kMaxPath + 2) return false;
    } else {
        if (STR_nCopy(szJoint, 2 * kMaxPath + 3, pszRelatif) >= 2 * kMaxPath + 2) return false;
    }
    const unsigned long n = GetFullPathName(szJoint, kMaxPath + 1, pszSortie, nullptr);
    return n != 0 && n <= static_cast<unsigned long>(kMaxPath);
}

// ============================================================================== temporary names

bool CDiskFile::bGetTempDirectory(wchar_t* pszSortie, CXError* pclErreur) noexcept {
    if (pszSortie == nullptr) return false;
    // The system's idea of it: TMPDIR when it names a directory we may write in, else /tmp.
    const char* pszRepertoire = nullptr;
    if (const char* pszEnv = std::getenv("TMPDIR"); pszEnv != nullptr && pszEnv[0] != 0) {
        struct stat st;
        if (::stat(pszEnv, &st) == 0 && S_ISDIR(st.st_mode) && ::access(pszEnv, W_OK | X_OK) == 0)
            pszRepertoire = pszEnv;
    }
    if (pszRepertoire == nullptr) pszRepertoire = P_tmpdir;
    const int nCaracteres = UTF8ToWideLen(pszRepertoire, -1);
    if (nCaracteres <= 0 || nCaracteres > kMaxPath) {
        errno = nCaracteres <= 0 ? EILSEQ : ENAMETOOLONG;
        return bEchec(pclErreur, kMsgRepertoireTemp, L"");
    }
    nUTF8ToWide(pszRepertoire, -1, pszSortie, nCaracteres);
    DirectoryWithoutEndSlash(pszSortie);
    DirectoryWithEndSlash(pszSortie);
    return bReussite(pclErreur);
}

bool CDiskFile::bGetTempName(wchar_t* pszSortie, const wchar_t* pszRepertoire, const wchar_t* pszPrefixe,
                             CXError* pclErreur) noexcept {
    if (pszSortie == nullptr || pszRepertoire == nullptr) {
        errno = EINVAL;
        return bEchec(pclErreur, kMsgFichierTemp, pszRepertoire);
    }
    // The prefix is a name, never a way out of the directory.
    if (pszPrefixe != nullptr && std::wcspbrk(pszPrefixe, L"/\\") != nullptr) {
        errno = EINVAL;
        return bEchec(pclErreur, kMsgFichierTemp, pszRepertoire);
    }
    wchar_t szModele[kMaxPath + 1];
    STR_nCopy(szModele, kMaxPath + 1, pszRepertoire);
    DirectoryWithEndSlash(szModele);
    STR_nCat(szModele, kMaxPath + 1, pszPrefixe);
    if (STR_nCat(szModele, kMaxPath + 1, L"XXXXXX") >= kMaxPath || !std::wcsstr(szModele, L"XXXXXX") ||
        std::wcslen(pszRepertoire) + (pszPrefixe ? std::wcslen(pszPrefixe) : 0) + 7 > static_cast<size_t>(kMaxPath)) {
        errno = ENAMETOOLONG;
        return bEchec(pclErreur, kMsgFichierTemp, pszRepertoire);
    }
    const CNomSysteme clModele(szModele, true);
    if (!clModele.bValide()) return bEchec(pclErreur, kMsgFichierTemp, pszRepertoire);
    char* pszNom = ::strdup(clModele.pszGet());
    if (pszNom == nullptr) {
        errno = ENOMEM;
        return bEchec(pclErreur, kMsgFichierTemp, pszRepertoire);
    }
    const int nDescripteur = mkostemp(pszNom, O_CLOEXEC);
    if (nDescripteur < 0) {
        const int nErrno = errno;
        std::free(pszNom);
        errno = nErrno;
        return bEchec(pclErreur, kMsgFichierTemp, pszRepertoire);
    }
    ::close(nDescripteur);
    // Only the six letters changed, to ASCII: the wide name is the model with them replaced.
    const size_t nOctets = std::strlen(pszNom);
    const size_t nCaracteres = std::wcslen(szModele);
    for (size_t i = 0; i < 6; ++i) szModele[nCaracteres - 6 + i] = static_cast<unsigned char>(pszNom[nOctets - 6 + i]);
    std::free(pszNom);
    pszBackSlash2Slash(szModele);
    std::wcscpy(pszSortie, szModele);
    return bReussite(pclErreur);
}

bool CDiskFile::bGetTempName(wchar_t* pszSortie, const wchar_t* pszPrefixe, CXError* pclErreur) noexcept {
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bGetTempDirectory(szRepertoire, pclErreur)) return false;
    if (!bIsADirectory(szRepertoire) && !bCreateDirectory(szRepertoire, pclErreur)) return false;
    return bGetTempName(pszSortie, szRepertoire, pszPrefixe, pclErreur);
}

// ============================================================================== whole files

bool CDiskFile::bChargeFichier(CZKBIN& clSortie, const wchar_t* pszNom, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgOuverture, pszNom);
    const int nDescripteur = ::open(clNom.pszGet(), O_RDONLY | O_CLOEXEC);
    if (nDescripteur < 0) return bEchec(pclErreur, kMsgOuverture, pszNom);
    size_t nTaille = 0;
    uint8_t* pby = pbyLitTout(nDescripteur, &nTaille);
    nFermeSansErreur(nDescripteur);
    if (pby == nullptr) return bEchec(pclErreur, kMsgLecture, pszNom);
    // A binary value counts its bytes in an int.
    if (nTaille > static_cast<size_t>(INT_MAX) - 64) {
        std::free(pby);
        errno = EFBIG;
        return bEchec(pclErreur, kMsgLecture, pszNom);
    }
    int nCode = 0;
    if (nTaille == 0) {
        clSortie = CZKBIN();
    } else {
        nCode = clSortie.nAssign(pby, static_cast<int>(nTaille));
    }
    std::free(pby);
    if (nCode != 0) {
        _OnMemoryError(pclErreur);
        errno = ENOMEM;
        return false;
    }
    return bReussite(pclErreur);
}

bool CDiskFile::bChargeTexteBOM(CXYString<wchar_t>* pclSortie, const wchar_t* pszNom, unsigned int nCodePage,
                                etxType* peType, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clNom, pszNom) return bEchec(pclErreur, kMsgOuverture, pszNom);
    const int nDescripteur = ::open(clNom.pszGet(), O_RDONLY | O_CLOEXEC);
    if (nDescripteur < 0) return bEchec(pclErreur, kMsgOuverture, pszNom);
    size_t nTaille = 0;
    uint8_t* pby = pbyLitTout(nDescripteur, &nTaille);
    nFermeSansErreur(nDescripteur);
    if (pby == nullptr) return bEchec(pclErreur, kMsgLecture, pszNom);
    const bool bResultat = bChargeTexteBOMFromBuffer(pclSortie, pby, nTaille, nCodePage, peType);
    const int nErrno = errno;
    std::free(pby);
    errno = nErrno;
    if (!bResultat) return bEchec(pclErreur, kMsgLecture, pszNom);
    return bReussite(pclErreur);
}

bool CDiskFile::bChargeTexteBOMFromBuffer(CXYString<wchar_t>* pclSortie, uint8_t* pbyData, size_t nTaille,
                                          unsigned int nCodePage, etxType* peType) noexcept {
    if (pclSortie == nullptr || (pbyData == nullptr && nTaille != 0)) {
        errno = EINVAL;
        return false;
    }
    if (nTaille > static_cast<size_t>(INT_MAX) / 2) {
        errno = EFBIG;
        return false;
    }
    etxType eType;
    size_t nSaut = 0;
    if (nTaille >= 2 && pbyData[0] == 0xFE && pbyData[1] == 0xFF) {
        // Big endian: the caller's bytes are swapped in place, then read as little endian.
        for (size_t i = 0; i + 1 < nTaille; i += 2) {
            const uint8_t by = pbyData[i];
            pbyData[i] = pbyData[i + 1];
            pbyData[i + 1] = by;
        }
    }
    if (nTaille >= 2 && pbyData[0] == 0xFF && pbyData[1] == 0xFE) {
        eType = etxUTF16;
        nSaut = 2;
    } else if (nTaille >= 3 && pbyData[0] == 0xEF && pbyData[1] == 0xBB && pbyData[2] == 0xBF) {
        eType = etxUTF8;
        nSaut = 3;
    } else if (nTaille == 0 || UTF8Valide(reinterpret_cast<const char*>(pbyData), static_cast<int>(nTaille))) {
        eType = etxUTF8;
    } else {
        eType = etxANSI;
    }
    if (peType != nullptr) *peType = eType;
    const uint8_t* pby = pbyData + nSaut;
    const size_t nReste = nTaille - nSaut;
    pclSortie->Vide();
    if (nReste == 0) return true;

    if (eType == etxANSI) {
        const char* psz = reinterpret_cast<const char*>(pby);
        const int nCaracteres = MultiByteToWideChar(nCodePage, 0, psz, static_cast<int>(nReste), nullptr, 0);
        if (nCaracteres <= 0) return false;
        wchar_t* pszTampon = pclSortie->pszGetBuffer(nCaracteres);
        if (pszTampon == nullptr) {
            errno = ENOMEM;
            return false;
        }
        if (MultiByteToWideChar(nCodePage, 0, psz, static_cast<int>(nReste), pszTampon, nCaracteres) != nCaracteres) {
            pclSortie->Vide();
            return false;
        }
        return true;
    }
    // UTF-8 and UTF-16 never give more characters than units; a broken sequence becomes U+FFFD
    // rather than costing the whole text.
    const size_t nMax = eType == etxUTF16 ? nReste / 2 : nReste;
    if (nMax == 0) return true;
    wchar_t* pszTampon = pclSortie->pszGetBuffer(static_cast<int>(nMax));
    if (pszTampon == nullptr) {
        errno = ENOMEM;
        return false;
    }
    size_t n = 0;
    if (eType == etxUTF16) {
        for (size_t i = 0; i + 1 < nReste; i += 2) {
            const uint32_t c = static_cast<uint32_t>(pby[i]) | (static_cast<uint32_t>(pby[i + 1]) << 8);
            if (c >= 0xD800 && c <= 0xDBFF && i + 3 < nReste) {
                const uint32_t c2 = static_cast<uint32_t>(pby[i + 2]) | (static_cast<uint32_t>(pby[i + 3]) << 8);
                if (c2 >= 0xDC00 && c2 <= 0xDFFF) {
                    pszTampon[n++] = static_cast<wchar_t>(0x10000 + ((c - 0xD800) << 10) + (c2 - 0xDC00));
                    i += 2;
                    continue;
                }
            }
            pszTampon[n++] = (c >= 0xD800 && c <= 0xDFFF) ? static_cast<wchar_t>(0xFFFD) : static_cast<wchar_t>(c);
        }
    } else {
        const char* psz = reinterpret_cast<const char*>(pby);
        const char* const pszFin = psz + nReste;
        while (psz < pszFin) {
            if (*psz == 0) {  // a zero byte is a character of the text, not its end
                pszTampon[n++] = 0;
                ++psz;
                continue;
            }
            const char* pszAvant = psz;
            pszTampon[n++] = UTF8_GetNext(&psz, pszFin);
            if (psz == pszAvant) ++psz;  // never stall on a byte the decoder refuses to pass
        }
    }
    pclSortie->nTronque(static_cast<int>(n));
    return true;
}

bool CDiskFile::bConcat(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) noexcept {
    OV_NOM_SYSTEME(clSource, pszSource) return bEchec(pclErreur, kMsgCopie, pszSource);
    OV_NOM_SYSTEME(clCible, pszDestination) return bEchec(pclErreur, kMsgCopie, pszSource);
    const int nSource = ::open(clSource.pszGet(), O_RDONLY | O_CLOEXEC);
    if (nSource < 0) return bEchec(pclErreur, kMsgCopie, pszSource);
    const int nCible = ::open(clCible.pszGet(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (nCible < 0) {
        nFermeSansErreur(nSource);
        return bEchec(pclErreur, kMsgCopie, pszSource);
    }
    // A file appended to itself would grow for as long as it is read.
    struct stat stSource, stCible;
    bool bResultat = fstat(nSource, &stSource) == 0 && fstat(nCible, &stCible) == 0;
    if (bResultat && stSource.st_dev == stCible.st_dev && stSource.st_ino == stCible.st_ino) {
        errno = EINVAL;
        bResultat = false;
    }
    if (bResultat) bResultat = ov_files::bCopieDescripteurs(nSource, nCible);
    if (::close(nCible) != 0) bResultat = false;
    nFermeSansErreur(nSource);
    if (!bResultat) return bEchec(pclErreur, kMsgCopie, pszSource);
    return bReussite(pclErreur);
}
