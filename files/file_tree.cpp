// Whole trees: deletion and purging (forced or not), copying and moving. Entries are reached by
// descriptors relative to their directory, and a symbolic link is never gone through: it is
// removed, or copied, as the link it is. Names with blanks or shell characters are just names.
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "base/unicode.h"
#include "files/disk_file.h"
#include "files/internal/file_copy.h"
#include "files/internal/system_name.h"
#include "files/internal/toolkit_error.h"

using ov_files::bEchec;
using ov_files::bReussite;

namespace {

constexpr unsigned int kMsgSuppressionRepertoire = 28127;
constexpr unsigned int kMsgCopie = 28125;
constexpr unsigned int kMsgRenommage = 28124;

// The first failure of a walk that goes on past it.
struct STBilan {
    int nErrno = 0;
    void Note() noexcept {
        if (nErrno == 0) nErrno = errno != 0 ? errno : EIO;
    }
};

bool bPointOuPointPoint(const char* psz) noexcept {
    return psz[0] == '.' && (psz[1] == 0 || (psz[1] == '.' && psz[2] == 0));
}

// ------------------------------------------------------------------------------ deletion

// Removes everything inside the directory open on nRepertoire. bForce gives each directory back
// its owner's rights before it is read or emptied.
void VideRepertoire(int nRepertoire, bool bForce, STBilan& stBilan) noexcept {
    const int nLecture = ::dup(nRepertoire);
    if (nLecture < 0) return stBilan.Note();
    DIR* pDir = ::fdopendir(nLecture);
    if (pDir == nullptr) {
        stBilan.Note();
        ::close(nLecture);
        return;
    }
    while (const struct dirent* pstEntree = ::readdir(pDir)) {
        const char* pszNom = pstEntree->d_name;
        if (bPointOuPointPoint(pszNom)) continue;
        struct stat st;
        if (::fstatat(nRepertoire, pszNom, &st, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) stBilan.Note();
            continue;
        }
        if (S_ISDIR(st.st_mode)) {
            // AT_SYMLINK_NOFOLLOW: should the entry have become a link meanwhile, it is not
            // followed (the call then fails and the opening below refuses it too).
            if (bForce && (st.st_mode & 0700) != 0700)
                ::fchmodat(nRepertoire, pszNom, (st.st_mode & 07777) | 0700, AT_SYMLINK_NOFOLLOW);
            const int nSous = ::openat(nRepertoire, pszNom, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (nSous < 0) {
                stBilan.Note();
                continue;
            }
            VideRepertoire(nSous, bForce, stBilan);
            ::close(nSous);
            if (::unlinkat(nRepertoire, pszNom, AT_REMOVEDIR) != 0) stBilan.Note();
        } else if (::unlinkat(nRepertoire, pszNom, 0) != 0) {
            stBilan.Note();
        }
    }
    ::closedir(pDir);
}

// The tree family: bGarde keeps the top directory (purging).
bool bSupprimeArbre(const wchar_t* pszNom, bool bForce, bool bGarde, CXError* pclErreur) noexcept {
    const CNomSysteme clNom(pszNom, true);
    if (!clNom.bValide()) return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    std::string sNom;
    try {
        sNom = clNom.pszGet();
    } catch (...) {
        errno = ENOMEM;
        return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    }
    while (sNom.size() > 1 && sNom.back() == '/') sNom.pop_back();
    struct stat st;
    if (::lstat(sNom.c_str(), &st) != 0) return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    if (!S_ISDIR(st.st_mode)) {
        // A link given as the tree is removed itself; what it points at is outside the tree.
        if (bGarde) {
            errno = ENOTDIR;
            return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
        }
        if (::unlink(sNom.c_str()) != 0) return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
        return bReussite(pclErreur);
    }
    if (bForce && (st.st_mode & 0700) != 0700) ::chmod(sNom.c_str(), (st.st_mode & 07777) | 0700);
    const int nRepertoire = ::open(sNom.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (nRepertoire < 0) return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    STBilan stBilan;
    VideRepertoire(nRepertoire, bForce, stBilan);
    ::close(nRepertoire);
    if (stBilan.nErrno == 0 && !bGarde && ::rmdir(sNom.c_str()) != 0) stBilan.Note();
    if (stBilan.nErrno != 0) {
        errno = stBilan.nErrno;
        return bEchec(pclErreur, kMsgSuppressionRepertoire, pszNom);
    }
    return bReussite(pclErreur);
}

// ------------------------------------------------------------------------------ copy

struct STCopie {
    bool bRecursif = false;
    bool bConserve = false;  // a move keeps rights and times
    dev_t nDevCible = 0;     // the top directory made by the copy, never copied into itself
    ino_t nInoCible = 0;
    bool bCibleConnue = false;
    STBilan stBilan;
};

void Conserve(const char* pszCible, const struct stat& stSource) noexcept {
    ::chmod(pszCible, stSource.st_mode & 07777);
    const struct timespec tab[2] = {stSource.st_atim, stSource.st_mtim};
    ::utimensat(AT_FDCWD, pszCible, tab, 0);
}

std::string sNomDe(const std::string& sChemin) {
    const size_t n = sChemin.find_last_of('/');
    return n == std::string::npos ? sChemin : sChemin.substr(n + 1);
}

void CopieEntree(const std::string& sSource, const std::string& sCible, bool bSuivre, STCopie& stCopie);

void CopieRepertoire(const std::string& sSource, const std::string& sCible, const struct stat& stSource,
                     STCopie& stCopie) {
    if (!stCopie.bRecursif) {
        errno = EISDIR;
        return stCopie.stBilan.Note();
    }
    if (::mkdir(sCible.c_str(), 0777) != 0 && errno != EEXIST) return stCopie.stBilan.Note();
    struct stat stCible;
    if (::stat(sCible.c_str(), &stCible) != 0 || !S_ISDIR(stCible.st_mode)) {
        errno = ENOTDIR;
        return stCopie.stBilan.Note();
    }
    if (stCible.st_dev == stSource.st_dev && stCible.st_ino == stSource.st_ino) {
        errno = EINVAL;
        return stCopie.stBilan.Note();
    }
    if (!stCopie.bCibleConnue) {
        stCopie.nDevCible = stCible.st_dev;
        stCopie.nInoCible = stCible.st_ino;
        stCopie.bCibleConnue = true;
    }
    DIR* pDir = ::opendir(sSource.c_str());
    if (pDir == nullptr) return stCopie.stBilan.Note();
    std::vector<std::string> tabNoms;
    while (const struct dirent* pstEntree = ::readdir(pDir))
        if (!bPointOuPointPoint(pstEntree->d_name)) tabNoms.emplace_back(pstEntree->d_name);
    ::closedir(pDir);
    for (const std::string& sNom : tabNoms) {
        const std::string sEntree = sSource + "/" + sNom;
        struct stat stEntree;
        // A copy made inside its own source is not copied again into itself.
        if (::lstat(sEntree.c_str(), &stEntree) == 0 && stEntree.st_dev == stCopie.nDevCible &&
            stEntree.st_ino == stCopie.nInoCible)
            continue;
        CopieEntree(sEntree, sCible + "/" + sNom, false, stCopie);
    }
    if (stCopie.bConserve) Conserve(sCible.c_str(), stSource);
}

void CopieEntree(const std::string& sSource, const std::string& sCible, bool bSuivre, STCopie& stCopie) {
    struct stat st;
    if ((bSuivre ? ::stat(sSource.c_str(), &st) : ::lstat(sSource.c_str(), &st)) != 0) return stCopie.stBilan.Note();
    if (S_ISDIR(st.st_mode)) return CopieRepertoire(sSource, sCible, st, stCopie);
    if (S_ISLNK(st.st_mode)) {
        std::string sLien(static_cast<size_t>(st.st_size > 0 ? st.st_size : 4096) + 1, '\0');
        const ssize_t n = ::readlink(sSource.c_str(), sLien.data(), sLien.size());
        if (n < 0 || static_cast<size_t>(n) >= sLien.size()) {
            if (n >= 0) errno = ENAMETOOLONG;
            return stCopie.stBilan.Note();
        }
        sLien.resize(static_cast<size_t>(n));
        struct stat stCible;
        // "-f": a file or link in the way is replaced; a directory is not.
        if (::lstat(sCible.c_str(), &stCible) == 0 && !S_ISDIR(stCible.st_mode)) ::unlink(sCible.c_str());
        if (::symlink(sLien.c_str(), sCible.c_str()) != 0) stCopie.stBilan.Note();
        return;
    }
    if (S_ISFIFO(st.st_mode)) {
        if (::mkfifo(sCible.c_str(), st.st_mode & 07777) != 0 && errno != EEXIST) stCopie.stBilan.Note();
        return;
    }
    if (!S_ISREG(st.st_mode)) return;  // devices and sockets: nothing a copy can carry
    if (!ov_files::bCopieFichier(sSource.c_str(), sCible.c_str())) return stCopie.stBilan.Note();
    if (stCopie.bConserve) Conserve(sCible.c_str(), st);
}

// The sources a name gives: itself, or the entries of its directory that its last component's
// pattern takes. False (errno ENOENT) when a pattern takes nothing.
bool bSources(const std::string& sSource, std::vector<std::string>* ptabSources, bool* pbMotif) {
    const size_t nSlash = sSource.find_last_of('/');
    const std::string sDernier = nSlash == std::string::npos ? sSource : sSource.substr(nSlash + 1);
    *pbMotif = sDernier.find_first_of("*?") != std::string::npos;
    if (!*pbMotif) {
        ptabSources->push_back(sSource);
        return true;
    }
    const std::string sRepertoire = nSlash == std::string::npos ? std::string(".") : sSource.substr(0, nSlash + 1);
    wchar_t* pszMotif = UTF8ToWide(sDernier.c_str());
    if (pszMotif == nullptr) return false;
    DIR* pDir = ::opendir(sRepertoire.c_str());
    if (pDir == nullptr) {
        std::free(pszMotif);
        return false;
    }
    while (const struct dirent* pstEntree = ::readdir(pDir)) {
        if (bPointOuPointPoint(pstEntree->d_name)) continue;
        wchar_t* pszNom = UTF8ToWide(pstEntree->d_name);
        // Like the shell, a pattern takes a hidden name only when it starts with a dot itself.
        if (pszNom != nullptr && (pszNom[0] != L'.' || pszMotif[0] == L'.') &&
            CDiskFile::_bFiltreFileName(pszNom, pszMotif))
            ptabSources->push_back(nSlash == std::string::npos ? std::string(pstEntree->d_name)
                                                               : sRepertoire + pstEntree->d_name);
        std::free(pszNom);
    }
    ::closedir(pDir);
    std::free(pszMotif);
    if (ptabSources->empty()) {
        errno = ENOENT;
        return false;
    }
    return true;
}

bool bEstRepertoire(const std::string& sNom) noexcept {
    struct stat st;
    return ::stat(sNom.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string sSansSlashFinal(const char* psz) {
    std::string s = psz;
    while (s.size() > 1 && s.back() == '/') s.pop_back();
    return s;
}

// Where each source lands: inside a destination that is a directory, else the destination itself
// (one source only).
bool bCibles(const std::vector<std::string>& tabSources, bool bMotif, const std::string& sDestination,
             std::vector<std::string>* ptabCibles) {
    const bool bDansRepertoire = bEstRepertoire(sDestination);
    if (!bDansRepertoire && (tabSources.size() > 1 || (bMotif && tabSources.size() != 1))) {
        errno = ENOTDIR;
        return false;
    }
    for (const std::string& sSource : tabSources)
        ptabCibles->push_back(bDansRepertoire ? sDestination + "/" + sNomDe(sSource) : sDestination);
    return true;
}

}  // namespace

bool CDiskFile::bDeleteTree(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    return bSupprimeArbre(pszNom, false, false, pclErreur);
}

bool CDiskFile::bForceDeleteTree(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    return bSupprimeArbre(pszNom, true, false, pclErreur);
}

bool CDiskFile::bPurgeTree(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    return bSupprimeArbre(pszNom, false, true, pclErreur);
}

bool CDiskFile::bForcePurgeTree(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    return bSupprimeArbre(pszNom, true, true, pclErreur);
}

bool CDiskFile::bDeleteTreeEvenReadOnly(const wchar_t* pszNom, CXError* pclErreur) noexcept {
    return bSupprimeArbre(pszNom, true, false, pclErreur);
}

bool CDiskFile::bCopyTree(const wchar_t* pszDestination, const wchar_t* pszSource, bool bRecursif,
                          CXError* pclErreur) noexcept {
    const CNomSysteme clSource(pszSource, true);
    const CNomSysteme clDestination(pszDestination, true);
    if (!clSource.bValide() || !clDestination.bValide()) return bEchec(pclErreur, kMsgCopie, pszSource);
    try {
        std::vector<std::string> tabSources, tabCibles;
        bool bMotif = false;
        if (!bSources(sSansSlashFinal(clSource.pszGet()), &tabSources, &bMotif) ||
            !bCibles(tabSources, bMotif, sSansSlashFinal(clDestination.pszGet()), &tabCibles))
            return bEchec(pclErreur, kMsgCopie, pszSource);
        STCopie stCopie;
        stCopie.bRecursif = bRecursif;
        for (size_t i = 0; i < tabSources.size(); ++i) {
            stCopie.bCibleConnue = false;
            CopieEntree(tabSources[i], tabCibles[i], true, stCopie);
        }
        if (stCopie.stBilan.nErrno != 0) {
            errno = stCopie.stBilan.nErrno;
            return bEchec(pclErreur, kMsgCopie, pszSource);
        }
    } catch (const std::bad_alloc&) {
        _OnMemoryError(pclErreur);
        errno = ENOMEM;
        return false;
    }
    return bReussite(pclErreur);
}

bool CDiskFile::bMoveTree(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) noexcept {
    const CNomSysteme clSource(pszSource, true);
    const CNomSysteme clDestination(pszDestination, true);
    if (!clSource.bValide() || !clDestination.bValide()) return bEchec(pclErreur, kMsgRenommage, pszSource);
    try {
        std::vector<std::string> tabSources, tabCibles;
        bool bMotif = false;
        if (!bSources(sSansSlashFinal(clSource.pszGet()), &tabSources, &bMotif) ||
            !bCibles(tabSources, bMotif, sSansSlashFinal(clDestination.pszGet()), &tabCibles))
            return bEchec(pclErreur, kMsgRenommage, pszSource);
        STBilan stBilan;
        for (size_t i = 0; i < tabSources.size(); ++i) {
            const std::string& sSource = tabSources[i];
            const std::string& sCible = tabCibles[i];
            if (::rename(sSource.c_str(), sCible.c_str()) == 0) continue;
            if (errno != EXDEV) {
                stBilan.Note();
                continue;
            }
            // Another file system: the whole tree is copied, and the source goes only once the
            // copy is complete; a failed copy leaves the source whole.
            STCopie stCopie;
            stCopie.bRecursif = true;
            stCopie.bConserve = true;
            CopieEntree(sSource, sCible, false, stCopie);
            if (stCopie.stBilan.nErrno != 0) {
                errno = stCopie.stBilan.nErrno;
                stBilan.Note();
                continue;
            }
            struct stat st;
            if (::lstat(sSource.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
                wchar_t* pszLarge = UTF8ToWide(sSource.c_str());
                const bool bSupprime = pszLarge != nullptr && bSupprimeArbre(pszLarge, false, false, nullptr);
                std::free(pszLarge);
                if (!bSupprime) stBilan.Note();
            } else if (::unlink(sSource.c_str()) != 0) {
                stBilan.Note();
            }
        }
        if (stBilan.nErrno != 0) {
            errno = stBilan.nErrno;
            return bEchec(pclErreur, kMsgRenommage, pszSource);
        }
    } catch (const std::bad_alloc&) {
        _OnMemoryError(pclErreur);
        errno = ENOMEM;
        return false;
    }
    return bReussite(pclErreur);
}
