// The language's directory functions and the file functions that work on names: copy, move,
// rename, delete, the current directory, rights, sizes of trees, and the pieces of a path.
// Nothing here goes through a shell: a name with blanks or shell characters is only a name.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/any.h"
#include "component/callback.h"
#include "component/thunk.h"
#include "files/file_handles.h"
#include "files/internal/file_operations.h"

namespace ovfichier {
CXYString<wchar_t> clAttribut(CComposanteStandard* pclThis, const STManipAUB* pstNom, const wchar_t* pszNouveau);
}

using ovfichier::bLitNom;
using ovfichier::EchecNumerote;
using ovfichier::EchecSysteme;

namespace {

constexpr int kOptionRecursif = 0x1;

std::string sUTF8(const wchar_t* pszNom) {
    int nErreur = 0;
    CXYString<char> cl = PCWSTR_To_UTF8(pszNom, &nErreur);
    return nErreur != 0 ? std::string() : std::string(cl.pszGet());
}

// Full form of a name, slashes only. False when it does not fit.
bool bNomComplet(const wchar_t* pszNom, wchar_t* pszSortie) {
    const unsigned long n = CDiskFile::GetFullPathName(pszNom, kMaxPath + 1, pszSortie, nullptr);
    return n != 0 && n <= static_cast<unsigned long>(kMaxPath);
}

// The directory part of a full name, without its end slash ("/" stays "/").
void RepertoireDe(const wchar_t* pszNom, wchar_t* pszSortie) {
    std::wcscpy(pszSortie, pszNom);
    wchar_t* p = std::wcsrchr(pszSortie, L'/');
    if (p == nullptr) pszSortie[0] = 0;
    else if (p == pszSortie) p[1] = 0;
    else *p = 0;
}

bool bJoint(wchar_t* pszSortie, const wchar_t* pszRepertoire, const wchar_t* pszNom) {
    const size_t nRep = std::wcslen(pszRepertoire), nNom = std::wcslen(pszNom);
    const bool bBarre = nRep > 0 && pszRepertoire[nRep - 1] != L'/';
    if (nRep + (bBarre ? 1 : 0) + nNom > static_cast<size_t>(kMaxPath)) return false;
    std::wmemcpy(pszSortie, pszRepertoire, nRep);
    size_t n = nRep;
    if (bBarre) pszSortie[n++] = L'/';
    std::wmemcpy(pszSortie + n, pszNom, nNom + 1);
    return true;
}

bool bEstRacine(const wchar_t* pszComplet) {
    for (const wchar_t* p = pszComplet; *p; ++p)
        if (*p != L'/') return false;
    return true;
}

// ---------------------------------------------------------------- copy with a procedure

struct STCopieAvecProcedure {
    CComposanteStandard* pclThis;
    CCallback* pclProcedure;
    long nPointeur;
    const wchar_t* pszSource;       // the source directory, with its end slash
    const wchar_t* pszDestination;  // the destination directory, without its end slash
    bool bEchec = false;
    bool bArret = false;
    int nErrno = 0;
    CXError clErreur{&gstMyModuleInfo8};
};

// Asks the procedure, after a file, whether to go on: its answer is a number (0 stops) or, when it
// gives none that reads as a number, "go on".
bool bDemandeProcedure(STCopieAvecProcedure* pst, const wchar_t* pszSource, const wchar_t* pszDestination) {
    CCallback& cl = *pst->pclProcedure;
    // The caller's value is 64 bits wide, as the listings push it.
    CAny clPointeur;
    clPointeur.SetI8(pst->nPointeur);
    if (!cl.bEmpileChaineX(pszSource, &pst->clErreur) || !cl.bEmpileChaineX(pszDestination, &pst->clErreur) ||
        !cl.bEmpileAny(&clPointeur, &pst->clErreur)) {
        cl.AnnuleExecution();
        pst->bEchec = true;
        return false;
    }
    CAny clRetour;
    if (!cl.bExecute(&clRetour, &pst->clErreur)) {
        pst->bEchec = true;
        return false;
    }
    long n = 1;
    if (clRetour.bEstNull() || clRetour.nGetINT_64(&n) > ANY_SUCCES_MAX) n = 1;
    return n != 0;
}

int cbCopieFichier(const wchar_t* pszChemin, void* pContexte) {
    auto* pst = static_cast<STCopieAvecProcedure*>(pContexte);
    const size_t nSource = std::wcslen(pst->pszSource);
    const wchar_t* pszRelatif = std::wcsncmp(pszChemin, pst->pszSource, nSource) == 0 ? pszChemin + nSource
                                                                                       : CDiskFile::pszGetPtrToFileName(pszChemin);
    wchar_t szDestination[kMaxPath + 1], szRepertoire[kMaxPath + 1];
    if (!bJoint(szDestination, pst->pszDestination, pszRelatif)) {
        pst->bEchec = true;
        pst->nErrno = ENAMETOOLONG;
        return 0;
    }
    RepertoireDe(szDestination, szRepertoire);
    if (!CDiskFile::bCreateDirectory(szRepertoire, &pst->clErreur) ||
        !CDiskFile::bCopy(szDestination, pszChemin, &pst->clErreur)) {
        pst->bEchec = true;
        pst->nErrno = errno;
        return 0;
    }
    if (!bDemandeProcedure(pst, pszChemin, szDestination)) {
        if (!pst->bEchec) pst->bArret = true;
        return 0;
    }
    return 1;
}

// ---------------------------------------------------------------- tree size

// Sum of the sizes of the regular files under a directory, as a walk that never follows a
// symbolic link and enters each directory (device and inode) once, so that loops end.
struct STTailleArbre {
    IVM* piVM = nullptr;
    bool bRecursif = true;
    bool bInterruptible = false;
    bool bInterrompu = false;
    std::set<std::pair<dev_t, ino_t>> setVus;
    int64_t nTotal = 0;
};

void AjouteTailleRepertoire(STTailleArbre* pst, int nFdRepertoire) {
    DIR* pDir = ::fdopendir(nFdRepertoire);
    if (pDir == nullptr) {
        ::close(nFdRepertoire);
        return;
    }
    while (const dirent* pstEntree = ::readdir(pDir)) {
        const char* pszNom = pstEntree->d_name;
        if (std::strcmp(pszNom, ".") == 0 || std::strcmp(pszNom, "..") == 0) continue;
        struct stat st {};
        if (::fstatat(::dirfd(pDir), pszNom, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (S_ISREG(st.st_mode)) {
            pst->nTotal += st.st_size;
        } else if (S_ISDIR(st.st_mode) && pst->bRecursif) {
            if (pst->bInterruptible && pst->piVM != nullptr && pst->piVM->nVerifieInterruption(0, nullptr) == 10) {
                pst->bInterrompu = true;
                break;
            }
            if (!pst->setVus.insert({st.st_dev, st.st_ino}).second) continue;
            const int nFd = ::openat(::dirfd(pDir), pszNom, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (nFd >= 0) AjouteTailleRepertoire(pst, nFd);
            if (pst->bInterrompu) break;
        }
    }
    ::closedir(pDir);
}

// ---------------------------------------------------------------- the separator

// Each backslash and slash becomes the separator; with bReduit, runs of the separator become one,
// and a UNC name ("\\server\share") keeps its leading pair.
std::wstring sChangeSeparateur(const wchar_t* pszChemin, const wchar_t* pszSeparateur, bool bReduit) {
    std::wstring s;
    for (const wchar_t* p = pszChemin; *p; ++p) {
        if (*p == L'\\' || *p == L'/') s += pszSeparateur;
        else s += *p;
    }
    const std::wstring sSep(pszSeparateur);
    if (!bReduit || sSep.empty()) return s;
    const bool bUNC = CDiskFile::bUNCName(pszChemin);
    const std::wstring sDouble = sSep + sSep;
    for (size_t n = s.find(sDouble); n != std::wstring::npos; n = s.find(sDouble, n)) s.erase(n, sSep.size());
    if (bUNC) s.insert(0, sSep);
    return s;
}

// ---------------------------------------------------------------- deletion

bool bLectureSeule(const wchar_t* pszNom) {
    struct stat st {};
    return CDiskFile::Unix_lstat(pszNom, &st) == 0 && S_ISREG(st.st_mode) && (st.st_mode & 0222) == 0;
}

// One file. A read-only file is deleted only when the option allows it.
bool bSupprimeUn(const wchar_t* pszNom, bool bMemeLectureSeule, CXError* pclErreur) {
    if (!bMemeLectureSeule && bLectureSeule(pszNom)) {
        errno = EACCES;
        return false;
    }
    return CDiskFile::bDelete(pszNom, pclErreur);
}

}  // namespace

// ================================================================ copy

// Without a procedure the copy is that of "cp -f [-r]": a source pattern selects entries of its
// directory, a destination directory receives the source under its own name. Done by system
// calls, so any name is only a name.
bool CComposanteStandard::fCopieFichier(const STManipAUB* pstSource, const STManipAUB* pstDestination, int nOption) {
    wchar_t szSource[kMaxPath + 1], szDestination[kMaxPath + 1];
    if (!bLitNom(this, pstSource, szSource) || !bLitNom(this, pstDestination, szDestination)) return false;
    if (CDiskFile::bHasPatternsW(szDestination)) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    const bool bMotif = CDiskFile::bHasPatternsW(szSource);
    wchar_t szSourceComplete[kMaxPath + 1], szDestinationComplete[kMaxPath + 1];
    if (!bNomComplet(szSource, szSourceComplete) || !bNomComplet(szDestination, szDestinationComplete)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return false;
    }
    struct stat st {};
    if (!bMotif && CDiskFile::Unix_lstat(szSourceComplete, &st) != 0) {
        EchecNumerote(this, 80067);
        return false;
    }
    if (!bMotif && CDiskFile::bIsADirectory(szDestinationComplete)) {
        wchar_t szAvecNom[kMaxPath + 1];
        if (!bJoint(szAvecNom, szDestinationComplete, CDiskFile::pszGetPtrToFileName(szSourceComplete))) {
            RaiseError(&gstMyModuleInfo8, 80042);
            return false;
        }
        std::wcscpy(szDestinationComplete, szAvecNom);
    }
    CXError clErreur(&gstMyModuleInfo8);
    wchar_t szRepertoire[kMaxPath + 1];
    RepertoireDe(szDestinationComplete, szRepertoire);
    if (!CDiskFile::bCreateDirectory(szRepertoire, &clErreur) ||
        !CDiskFile::bCopyTree(szDestinationComplete, szSourceComplete, (nOption & kOptionRecursif) != 0, &clErreur)) {
        const int nErrno = errno;
        EchecNumerote(this, 80065);
        if (clErreur.bHasError() && clErreur.pszGetUserMessage()[0] != 0)
            pclGetError()->AddUserMessageNoFormat(clErreur.pszGetUserMessage());
        pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        return false;
    }
    return true;
}

// With a procedure: file by file, the procedure being asked after each one (source, destination,
// the caller's pointer) whether to go on. A procedure that stops the copy makes the answer false,
// without an error: the copy is not whole.
bool CComposanteStandard::fCopieFichier(const STManipAUB* pstSource, const STManipAUB* pstDestination,
                                        const wchar_t* pszProcedure, long nPointeur, int nOption) {
    wchar_t szSource[kMaxPath + 1], szDestination[kMaxPath + 1];
    if (!bLitNom(this, pstSource, szSource) || !bLitNom(this, pstDestination, szDestination)) return false;
    if (CDiskFile::bHasPatternsW(szDestination)) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    wchar_t szSourceComplete[kMaxPath + 1], szDestinationComplete[kMaxPath + 1];
    if (!bNomComplet(szSource, szSourceComplete) || !bNomComplet(szDestination, szDestinationComplete)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return false;
    }
    // The walk wants a directory and a pattern: a directory alone is its whole content, a file
    // alone is its own pattern.
    wchar_t szRepertoire[kMaxPath + 1], szMotif[kMaxPath + 1];
    if (CDiskFile::bHasPatternsW(szSourceComplete) || CDiskFile::bIsAFile(szSourceComplete)) {
        RepertoireDe(szSourceComplete, szRepertoire);
        std::wcscpy(szMotif, CDiskFile::pszGetPtrToFileName(szSourceComplete));
    } else if (CDiskFile::bIsADirectory(szSourceComplete)) {
        std::wcscpy(szRepertoire, szSourceComplete);
        std::wcscpy(szMotif, L"*");
    } else {
        EchecNumerote(this, 80067);
        return false;
    }
    if (std::wcslen(szRepertoire) >= static_cast<size_t>(kMaxPath)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return false;
    }
    CDiskFile::DirectoryWithEndSlash(szRepertoire);
    CDiskFile::DirectoryWithoutEndSlash(szDestinationComplete);
    CCallback clProcedure;
    CXError clErreur(&gstMyModuleInfo8);
    if (!clProcedure.bInit(pszProcedure, piGetVM(), &clErreur)) {
        if (clErreur.bHasError()) RaiseErrorCopy(&clErreur);
        else RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    STCopieAvecProcedure stContexte{this, &clProcedure, nPointeur, szRepertoire, szDestinationComplete};
    if (!CDiskFile::bCreateDirectory(szDestinationComplete, &stContexte.clErreur)) {
        EchecNumerote(this, 80065);
        return false;
    }
    CDiskFile::bDoOnFileTree(szRepertoire, szMotif, cbCopieFichier, &stContexte, 1, (nOption & kOptionRecursif) != 0);
    if (stContexte.bEchec) {
        EchecNumerote(this, 80065);
        if (stContexte.clErreur.bHasError() && stContexte.clErreur.pszGetUserMessage()[0] != 0)
            pclGetError()->AddUserMessageNoFormat(stContexte.clErreur.pszGetUserMessage());
        if (stContexte.nErrno != 0) pclGetError()->SetSystemError(static_cast<unsigned int>(stContexte.nErrno), nullptr);
        return false;
    }
    return !stContexte.bArret;
}

// ================================================================ rename, move, delete

// The new name must not exist. Across file systems the entry is copied whole, and the old one is
// removed only once the copy is complete.
bool CComposanteStandard::fRenomme(const STManipAUB* pstAncien, const STManipAUB* pstNouveau) {
    wchar_t szAncien[kMaxPath + 1], szNouveau[kMaxPath + 1];
    if (!bLitNom(this, pstAncien, szAncien) || !bLitNom(this, pstNouveau, szNouveau)) return false;
    CXError clErreur(&gstMyModuleInfo8);
    if (CDiskFile::bRename(szNouveau, szAncien, &clErreur)) return true;
    int nErrno = errno;
    if (nErrno == EXDEV) {
        struct stat st {};
        if (CDiskFile::Unix_lstat(szNouveau, &st) == 0) {
            nErrno = EEXIST;
        } else {
            clErreur.RAZ();
            if (CDiskFile::bMoveTree(szNouveau, szAncien, &clErreur)) return true;
            nErrno = errno;
        }
    }
    EchecSysteme(this, &clErreur, nErrno);
    return false;
}

// A pattern deletes every file it matches in its directory. Option bit 0 lets read-only files go.
bool CComposanteStandard::fSupprime(const STManipAUB* pstNom, int nOption) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return false;
    const bool bMemeLectureSeule = (nOption & 0x1) != 0;
    CXError clErreur(&gstMyModuleInfo8);
    if (!CDiskFile::bHasPatternsW(szNom)) {
        if (CDiskFile::bIsADirectory(szNom)) {
            EchecSysteme(this, nullptr, EISDIR);
            return false;
        }
        if (!bSupprimeUn(szNom, bMemeLectureSeule, &clErreur)) {
            EchecSysteme(this, &clErreur, errno);
            return false;
        }
        return true;
    }
    // The names are gathered first, so that the directory is not changed under the search.
    std::vector<std::wstring> tabNoms;
    CDiskFile::_stXFINDDATA stRecherche;
    if (CDiskFile::bFindFirst(szNom, &stRecherche, 0, CDiskFile::eATTR_REPERTOIRE, &clErreur)) {
        do {
            tabNoms.push_back(std::wstring(stRecherche.szRepertoire) + stRecherche.szNom);
        } while (CDiskFile::bFindNext(&stRecherche, &clErreur));
        CDiskFile::bFindClose(&stRecherche, nullptr);
    }
    if (tabNoms.empty()) {
        EchecSysteme(this, nullptr, ENOENT);
        return false;
    }
    for (const std::wstring& s : tabNoms) {
        if (!bSupprimeUn(s.c_str(), bMemeLectureSeule, &clErreur)) {
            EchecSysteme(this, &clErreur, errno);
            return false;
        }
    }
    return true;
}

// ================================================================ directory search

// A pattern starts a search, an empty pattern takes the next name; the end answers "". Option:
// 0x10 lists directories too, 0x2 hidden names too; 0x1000 (wide result) changes nothing here,
// the result being wide already.
CXYString<wchar_t> CComposanteStandard::fRep(const STManipAUB* pstMotif, int nOption) {
    if ((nOption & ~0x1037) != 0) {
        RaiseError(&gstMyModuleInfo8, 80053);
        return {};
    }
    wchar_t szMotif[kMaxPath + 1];
    if (!bLitNom(this, pstMotif, szMotif, true)) return {};
    auto*& pstRecherche = reinterpret_cast<CDiskFile::_stXFINDDATA*&>(m_stCtxFIC->pRecherche);
    CXError clErreur(&gstMyModuleInfo8);
    bool bTrouve;
    if (szMotif[0] != 0) {
        if (pstRecherche != nullptr) CDiskFile::bFindClose(pstRecherche, nullptr);
        else pstRecherche = new CDiskFile::_stXFINDDATA;
        const uint32_t dwExclus = ((nOption & 0x10) ? 0u : static_cast<uint32_t>(CDiskFile::eATTR_REPERTOIRE)) |
                                  ((nOption & 0x2) ? 0u : static_cast<uint32_t>(CDiskFile::eATTR_CACHE));
        *pstRecherche = CDiskFile::_stXFINDDATA{};
        bTrouve = CDiskFile::bFindFirst(szMotif, pstRecherche, 0, dwExclus, &clErreur);
    } else {
        if (pstRecherche == nullptr) {
            RaiseError(&gstMyModuleInfo8, 80054);
            return {};
        }
        bTrouve = CDiskFile::bFindNext(pstRecherche, &clErreur);
    }
    if (!bTrouve) {
        if (pstRecherche != nullptr) CDiskFile::bFindClose(pstRecherche, nullptr);
        delete pstRecherche;
        pstRecherche = nullptr;
        if (clErreur.bHasError()) EchecSysteme(this, &clErreur, errno);
        return {};
    }
    return CXYString<wchar_t>(pstRecherche->szNom);
}

// ================================================================ current directory

CXYString<wchar_t> CComposanteStandard::fRepEnCours() {
    wchar_t szRepertoire[kMaxPath + 1];
    CXError clErreur(&gstMyModuleInfo8);
    if (!CDiskFile::bGetCurrentDirectory(szRepertoire, kMaxPath + 1, &clErreur)) {
        EchecNumerote(this, 80048);
        return {};
    }
    return CXYString<wchar_t>(szRepertoire);
}

// Option bit 0 creates the directory, every level, when it is missing.
bool CComposanteStandard::fRepEnCours(const STManipAUB* pstRepertoire, int nOption) {
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bLitNom(this, pstRepertoire, szRepertoire)) return false;
    CXError clErreur(&gstMyModuleInfo8);
    if ((nOption & 0x1) != 0 && !CDiskFile::bIsADirectory(szRepertoire))
        CDiskFile::bCreateDirectory(szRepertoire, &clErreur);
    if (CDiskFile::Unix_chdir(szRepertoire) != 0) {
        const int nErrno = errno;
        EchecNumerote(this, 80049);
        pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        return false;
    }
    return true;
}

bool CComposanteStandard::fRepCree(const STManipAUB* pstRepertoire) {
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bLitNom(this, pstRepertoire, szRepertoire)) return false;
    CXError clErreur(&gstMyModuleInfo8);
    if (!CDiskFile::bCreateDirectory(szRepertoire, &clErreur)) {
        EchecSysteme(this, &clErreur, errno);
        return false;
    }
    return true;
}

// ================================================================ whole directories

// A directory that could not be copied or moved: 80064, with the toolkit's text behind it and the
// system's error.
static void EchecCopieRepertoire(CComposanteStandard* pclThis, const CXError* pclErreur, int nErrno) {
    EchecNumerote(pclThis, 80064);
    if (pclErreur->bHasError() && pclErreur->pszGetUserMessage()[0] != 0)
        pclThis->pclGetError()->AddUserMessageNoFormat(pclErreur->pszGetUserMessage());
    pclThis->pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
}

// The content of the source goes into the destination, which is created when missing. The copy
// is recursive unless the option says otherwise (the two-argument form asks for it).
bool CComposanteStandard::fRepCopie(const STManipAUB* pstSource, const STManipAUB* pstDestination, int nOption) {
    wchar_t szSource[kMaxPath + 1], szDestination[kMaxPath + 1];
    if (!bLitNom(this, pstSource, szSource) || !bLitNom(this, pstDestination, szDestination)) return false;
    if (!CDiskFile::bHasPatternsW(szSource)) {
        if (!CDiskFile::bIsADirectory(szSource)) {
            EchecNumerote(this, 80062, szSource);
            return false;
        }
        CDiskFile::DirectoryWithoutEndSlash(szSource);
        if (std::wcslen(szSource) + 2 > static_cast<size_t>(kMaxPath)) {
            RaiseError(&gstMyModuleInfo8, 80042);
            return false;
        }
        std::wcscat(szSource, L"/*");
    }
    CXError clErreur(&gstMyModuleInfo8);
    if (!CDiskFile::bCreateDirectory(szDestination, &clErreur) ||
        !CDiskFile::bCopyTree(szDestination, szSource, (nOption & kOptionRecursif) != 0, &clErreur)) {
        EchecCopieRepertoire(this, &clErreur, errno);
        return false;
    }
    return true;
}

// Option: 0x1 read-only entries too, 0x100 keeps the directory itself (only its content goes);
// 0x2, 0x4 and 0x8 (hidden, system, interruptible) change nothing here. "*" in the name ends it.
bool CComposanteStandard::fRepSupprime(const STManipAUB* pstRepertoire, int nOption) {
    if ((nOption & ~0x10F) != 0) {
        RaiseError(&gstMyModuleInfo8, 80404);
        return false;
    }
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bLitNom(this, pstRepertoire, szRepertoire)) return false;
    if (wchar_t* pEtoile = std::wcschr(szRepertoire, L'*')) *pEtoile = 0;
    wchar_t szComplet[kMaxPath + 1];
    if (szRepertoire[0] == 0 || !bNomComplet(szRepertoire, szComplet)) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    CDiskFile::DirectoryWithoutEndSlash(szComplet);
    // The root of the file system is never a directory to delete.
    if (szComplet[0] == 0 || bEstRacine(szComplet)) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    if (!CDiskFile::bIsADirectory(szComplet)) {
        EchecNumerote(this, 80062, szComplet);
        return false;
    }
    const bool bForce = (nOption & 0x1) != 0, bGarde = (nOption & 0x100) != 0;
    CXError clErreur(&gstMyModuleInfo8);
    bool bSucces;
    if (bGarde) bSucces = bForce ? CDiskFile::bForcePurgeTree(szComplet, &clErreur) : CDiskFile::bPurgeTree(szComplet, &clErreur);
    else bSucces = bForce ? CDiskFile::bForceDeleteTree(szComplet, &clErreur) : CDiskFile::bDeleteTree(szComplet, &clErreur);
    if (!bSucces) {
        const int nErrno = errno;
        // The inner error's text, or the system's when the toolkit gave none.
        const CXYString<wchar_t> clInterne =
            clErreur.bHasError() && clErreur.pszGetUserMessage()[0] != 0
                ? CXYString<wchar_t>(clErreur.pszGetUserMessage())
                : UTF8_To_CWString(std::strerror(nErrno));
        EchecNumerote(this, 80063, clInterne.pszGet());
        pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        return false;
    }
    return true;
}

// Option bit 0 allows a directory that is not empty. The move is a rename, or, across file
// systems, a copy followed by the removal of the source once the copy is complete.
bool CComposanteStandard::fRepDeplace(const STManipAUB* pstSource, const STManipAUB* pstDestination, int nOption) {
    wchar_t szSource[kMaxPath + 1], szDestination[kMaxPath + 1];
    if (!bLitNom(this, pstSource, szSource) || !bLitNom(this, pstDestination, szDestination)) return false;
    if (!CDiskFile::bIsADirectory(szSource)) {
        EchecNumerote(this, 80062, szSource);
        return false;
    }
    if ((nOption & 0x1) == 0 && !CDiskFile::bEstVide(szSource)) {
        RaiseError(&gstMyModuleInfo8, 80068);
        return false;
    }
    CXError clErreur(&gstMyModuleInfo8);
    if (!CDiskFile::bMoveTree(szDestination, szSource, &clErreur)) {
        EchecCopieRepertoire(this, &clErreur, errno);
        return false;
    }
    return true;
}

// 2 when a file can be created in the directory, 1 when it can only be listed, 0 otherwise. The
// test file has a name of its own (created exclusively), so no file of the user's is touched.
int CComposanteStandard::fRepDroit(const STManipAUB* pstRepertoire) {
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bLitNom(this, pstRepertoire, szRepertoire)) return 0;
    CDiskFile::DirectoryWithoutEndSlash(szRepertoire);
    if (szRepertoire[0] == 0) std::wcscpy(szRepertoire, L"/");
    if (!CDiskFile::bIsADirectory(szRepertoire)) return 0;
    wchar_t szTest[kMaxPath + 1];
    if (std::wcslen(szRepertoire) + 20 < static_cast<size_t>(kMaxPath) &&
        CDiskFile::bGetTempName(szTest, szRepertoire, L"F_TVR_0X.", nullptr)) {
        CDiskFile::Unix_unlink(szTest);
        return 2;
    }
    void* pDir = CDiskFile::__Unix_opendir(szRepertoire);
    if (pDir == nullptr) return 0;
    ::closedir(static_cast<DIR*>(pDir));
    return 1;
}

// ================================================================ paths

// The parent of a path, full, or with bit 0 relative to the path itself.
CXYString<wchar_t> CComposanteStandard::fRepParent(const STManipAUB* pstChemin, int nOption) {
    wchar_t szChemin[kMaxPath + 1];
    if (!bLitNom(this, pstChemin, szChemin)) return {};
    CDiskFile::pszBackSlash2Slash(szChemin);
    const bool bRelatif = (nOption & 0x1) != 0;
    wchar_t szParent[kMaxPath + 1];
    if (std::wcscmp(szChemin, L".") == 0 || std::wcscmp(szChemin, L"./") == 0) {
        if (bRelatif) return CXYString<wchar_t>(L"..");
        if (!bNomComplet(L"..", szParent)) return {};
        return CXYString<wchar_t>(szParent);
    }
    if (std::wcscmp(szChemin, L"..") == 0 || std::wcscmp(szChemin, L"../") == 0) {
        if (bRelatif) return CXYString<wchar_t>(L"../..");
        if (!bNomComplet(L"../..", szParent)) return {};
        return CXYString<wchar_t>(szParent);
    }
    CDiskFile::DirectoryWithoutEndSlash(szChemin);
    if (std::wcslen(szChemin) + 3 > static_cast<size_t>(kMaxPath)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return {};
    }
    wchar_t szAvecPoints[kMaxPath + 1];
    std::swprintf(szAvecPoints, kMaxPath + 1, L"%ls/..", szChemin);
    if (!bNomComplet(szAvecPoints, szParent)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return {};
    }
    if (bRelatif) {
        wchar_t szBase[kMaxPath + 1], szRelatif[kMaxPath + 1];
        if (bNomComplet(szChemin, szBase) && CDiskFile::bPathRelativePathTo(szRelatif, szBase, szParent))
            return CXYString<wchar_t>(szRelatif);
    }
    return CXYString<wchar_t>(szParent);
}

// Sum of the sizes of the files of a tree. Option: 0x2 this level only, 0x4 the user may stop the
// walk (-1), 0x8 no message (there is none here). Links are never followed.
long CComposanteStandard::fRepTaille(const STManipAUB* pstRepertoire, int nOption) {
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bLitNom(this, pstRepertoire, szRepertoire)) return -1;
    if (std::wcslen(szRepertoire) > static_cast<size_t>(kMaxPath - 1)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return -1;
    }
    if (wchar_t* pEtoile = std::wcschr(szRepertoire, L'*')) *pEtoile = 0;
    wchar_t szComplet[kMaxPath + 1];
    if (!bNomComplet(szRepertoire[0] != 0 ? szRepertoire : L".", szComplet) || !CDiskFile::bIsADirectory(szComplet)) {
        EchecNumerote(this, 80062, szRepertoire);
        return -1;
    }
    const std::string sRepertoire = sUTF8(szComplet);
    const int nFd = ::open(sRepertoire.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFd < 0) {
        EchecSysteme(this, nullptr, errno);
        return -1;
    }
    STTailleArbre st;
    st.piVM = piGetVM();
    st.bRecursif = (nOption & 0x2) == 0;
    st.bInterruptible = (nOption & 0x4) != 0;
    struct stat stRacine {};
    if (::fstat(nFd, &stRacine) == 0) st.setVus.insert({stRacine.st_dev, stRacine.st_ino});
    AjouteTailleRepertoire(&st, nFd);
    return st.bInterrompu ? -1 : static_cast<long>(st.nTotal);
}

CXYString<wchar_t> CComposanteStandard::fRepAttribut(const STManipAUB* pstRepertoire, const wchar_t* pszNouveau) {
    return ovfichier::clAttribut(this, pstRepertoire, pszNouveau);
}

// Mask bits 1 drive, 2 directory, 4 name, 8 extension, joined in that order.
CXYString<wchar_t> CComposanteStandard::fExtraitChemin(const STManipAUB* pstChemin, int nMasque) {
    if ((nMasque & ~0xF) != 0) {
        RaiseError(&gstMyModuleInfo8, 81834);
        return {};
    }
    wchar_t szChemin[kMaxPath + 1];
    if (!bLitNom(this, pstChemin, szChemin, true)) return {};
    wchar_t aszParties[4][kMaxPath + 1];
    CDiskFile::__SplitPath(szChemin, aszParties[0], aszParties[1], aszParties[2], aszParties[3]);
    std::wstring s;
    for (int i = 0; i < 4; ++i)
        if (nMasque & (1 << i)) s += aszParties[i];
    return CXYString<wchar_t>(s.c_str());
}

CXYString<wchar_t> CComposanteStandard::fConstruitChemin(const wchar_t* pszDisque, const wchar_t* pszRepertoire,
                                                         const wchar_t* pszNom, const wchar_t* pszExtension) {
    size_t nTotal = 0;
    for (const wchar_t* psz : {pszDisque, pszRepertoire, pszNom, pszExtension}) nTotal += psz != nullptr ? std::wcslen(psz) + 1 : 0;
    if (nTotal > static_cast<size_t>(kMaxPath)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return {};
    }
    wchar_t szChemin[kMaxPath + 1] = {};
    CDiskFile::MakePath(szChemin, pszDisque, pszRepertoire, pszNom, pszExtension);
    return CXYString<wchar_t>(szChemin);
}

// The result has the form of the path: 8-bit text for an 8-bit path, wide for a wide one.
void CComposanteStandard::fSeparateur(const STManipAUB* pstChemin, const STManipAUB* pstSeparateur, int bReduit) {
    CXYString<wchar_t> clChemin, clSeparateur;
    const wchar_t* pszChemin = pstChemin != nullptr ? pstChemin->pszGetStringW(&clChemin) : L"";
    const wchar_t* pszSeparateur = pstSeparateur != nullptr ? pstSeparateur->pszGetStringW(&clSeparateur) : L"";
    const std::wstring s = sChangeSeparateur(pszChemin, pszSeparateur, bReduit != 0);
    if (STZKAppel* pstAppel = pstGetAppel())
        ovthunk::PousseTexte(pstAppel, CXYString<wchar_t>(s.c_str(), static_cast<int>(s.size())),
                             pstChemin != nullptr ? pstChemin->nType : 0);
}

// 1 asks for backslashes, 0 and 2 for slashes; runs of separators become one.
void CComposanteStandard::fSeparateur(const STManipAUB* pstChemin, int nSeparateur) {
    CXYString<wchar_t> clChemin;
    const wchar_t* pszChemin = pstChemin != nullptr ? pstChemin->pszGetStringW(&clChemin) : L"";
    const std::wstring s = sChangeSeparateur(pszChemin, nSeparateur == 1 ? L"\\" : L"/", true);
    if (STZKAppel* pstAppel = pstGetAppel())
        ovthunk::PousseTexte(pstAppel, CXYString<wchar_t>(s.c_str(), static_cast<int>(s.size())),
                             pstChemin != nullptr ? pstChemin->nType : 0);
}

// A symbolic link pszLien that names pszCible, which is kept as given (a relative target stays
// relative to the link's directory).
bool CComposanteStandard::fCreeLien(const STManipAUB* pstCible, const STManipAUB* pstLien) {
    wchar_t szCible[kMaxPath + 1], szLien[kMaxPath + 1];
    if (!bLitNom(this, pstCible, szCible) || !bLitNom(this, pstLien, szLien)) return false;
    CDiskFile::pszBackSlash2Slash(szCible);
    wchar_t szLienComplet[kMaxPath + 1];
    if (!bNomComplet(szLien, szLienComplet)) {
        RaiseError(&gstMyModuleInfo8, 80042);
        return false;
    }
    const std::string sCible = sUTF8(szCible), sLien = sUTF8(szLienComplet);
    if (sCible.empty() || sLien.empty()) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    if (::symlink(sCible.c_str(), sLien.c_str()) != 0) {
        EchecSysteme(this, nullptr, errno);
        return false;
    }
    return true;
}

// ================================================================ dialogs and images

// Selectors are dialogs of the interface library, which this platform's machine does not have:
// the answer is that of a dialog cancelled, the empty text.
CXYString<wchar_t> CComposanteStandard::fSelecteur(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                                                   const wchar_t*, int) {
    return {};
}

CXYString<wchar_t> CComposanteStandard::fRepSelecteur(const wchar_t*, const wchar_t*, int) { return {}; }

// No image object here: nothing is recognised as an image, and the filter list is empty.
bool CComposanteStandard::fEstUneImage(const STManipAUB*) { return false; }

CXYString<wchar_t> CComposanteStandard::fFiltreImage() { return {}; }
