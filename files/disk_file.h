// CDiskFile: IXStream on a POSIX descriptor, and, as class-wide functions, the path and file-system
// toolkit the whole library stands on. Paths are wide inside and UTF-8 at the system call; every
// entry that takes a path first turns backslashes into slashes on a private copy.
#pragma once

#include <cstdint>
#include <sys/stat.h>

#include "base/xystring.h"
#include "files/stream.h"

class CTString;
class CZKBIN;

inline constexpr int kMaxPath = 260;  // characters of a path, terminator excluded

class CDiskFile : public IXStream {
public:
    // Broken-down file time, as the find primitives and the time functions exchange it.
    struct _stXFILETIME {
        uint16_t wAnnee;
        uint16_t wMois;
        uint16_t wJour;
        uint16_t wHeure;
        uint16_t wMinute;
        uint16_t wSeconde;
        uint16_t wMilliseconde;
        uint16_t wReserve;
    };

    // Attribute word of the find primitives: st_mode's directory bit and permissions, and bit 31
    // for a hidden name (one that starts with a dot).
    enum eFILEATTRIBUTES : uint32_t {
        eATTR_REPERTOIRE = 0x4000,
        eATTR_ECRITURE = 0x92,  // any write permission bit
        eATTR_CACHE = 0x80000000u,
    };

    // One directory search in progress.
    struct _stXFINDDATA {
        void* pDir = nullptr;  // DIR*
        wchar_t szMotif[kMaxPath + 1] = {};
        wchar_t szRepertoire[kMaxPath + 1] = {};  // with its final slash
        uint32_t dwRequis = 0;
        uint32_t dwExclus = 0;
        wchar_t szNom[kMaxPath + 1] = {};  // the name found
        uint32_t dwZero = 0;
        uint32_t dwAttributs = 0;
        int64_t oTaille = 0;
        _stXFILETIME stDate = {};
    };

    // The form of a loaded text.
    enum etxType : int { etxANSI = 0, etxUTF8 = 1, etxUTF16 = 2 };

    // A walker's callback: non-zero to go on.
    using PFNDOONFILE = int (*)(const wchar_t* pszChemin, void* pContexte);

    CDiskFile() noexcept;
    ~CDiskFile() override;

    // ---- IXStream
    int bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
              int* pbCree) noexcept override;
    void Close() noexcept override;
    int bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept override;
    using IXStream::bRead;
    using IXStream::bWrite;
    int bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept override;
    int bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept override;
    int bSeek(long oOffset, eSEEK eOrigine) noexcept override;
    long oGetSize() noexcept override;
    long oGetSizeFast() noexcept override;
    int bFlush() noexcept override;
    int bSetSize(long oTaille, eGROW eGrow) noexcept override;
    int bIncreaseSize(long oTaille) noexcept override;
    int bLock(long oDebut, long oLongueur) noexcept override;
    int bUnlock(long oDebut, long oLongueur) noexcept override;
    int bLockShare(long oDebut, long oLongueur) noexcept;
    const wchar_t* pszGetName() noexcept override { return m_szChemin; }
    long oGetOffset() noexcept override { return m_oOffset; }
    int bIsOpen() noexcept override { return m_nDescripteur != -1; }
    int vbSetNameForError(const wchar_t* pszNom) noexcept override;
    eACCESS veGetAccess() noexcept override;
    int bLockFileEx(int bLock, int bExclusif) noexcept override;
    const wchar_t* pszReadLine(wchar_t* pszTampon, unsigned long nTaille, CTString* pclDebordement,
                               const wchar_t* pszSeparateur) noexcept override;
    int bExtendFile(long oTaille) noexcept override;

    // ---- behind the IXStream slots
    virtual int bExtract(const wchar_t* pszNom, long oOffset, long nNombre) noexcept;  // this range to a new file
    virtual int bExtractFromFile(const wchar_t* pszNom, long oOffset, long nNombre) noexcept;  // a range of another file, appended here
    virtual int bOpenW(const wchar_t*, eACCESS, eSHARE, eCREATE, eFLAG, int*) noexcept { return 0; }
    virtual int bExtractW(const wchar_t*, long, long) noexcept { return 0; }
    virtual const wchar_t* pwszGetName() noexcept { return pszGetName(); }
    virtual int vbIsUNICODEFileName() noexcept { return 1; }
    virtual int bExtractFromFileW(const wchar_t*, long, long) noexcept { return 0; }
    virtual int vbSetNameForErrorW(const wchar_t*) noexcept { return 0; }
    virtual void m872EmptyMethodXStream() noexcept {}
    virtual void m873EmptyMethodXStream() noexcept {}
    virtual void m874EmptyMethodXStream() noexcept {}
    virtual void m875EmptyMethodXStream() noexcept {}
    virtual void m876EmptyMethodXStream() noexcept {}
    virtual void m877EmptyMethodXStream() noexcept {}
    virtual void m878EmptyMethodXStream() noexcept {}
    virtual void m879EmptyMethodXStream() noexcept {}
    using IXStream::bExtract;

    // Opens exclusively, retrying while the only failure is a lock conflict: bCompte non-zero makes
    // nLimite a number of attempts, zero a time in milliseconds.
    int bOpenExclusifReessais(const wchar_t* pszNom, int bCompte, unsigned int nLimite, eACCESS eAccess,
                              eCREATE eCreate, eFLAG eFlag, int* pbCree) noexcept;
    int nGetDescripteur() const noexcept { return m_nDescripteur; }

    // ================================================================ paths (no system access)
    // Length written; the size needed when nTaille is too small; 0 on failure.
    static unsigned long GetFullPathName(const wchar_t* pszNom, unsigned long nTaille, wchar_t* pszSortie,
                                         wchar_t** ppszPartieFichier) noexcept;
    static void SimplifyPath(wchar_t* pszChemin) noexcept;
    static bool bValidName(const wchar_t* pszNom) noexcept;
    static bool bValidFullName(const wchar_t* pszNom) noexcept;
    static void StandardizeFileName(wchar_t* pszSortie, const wchar_t* pszEntree) noexcept;  // kMaxPath + 1
    static bool bSameFileName(const wchar_t* pszNom1, const wchar_t* pszNom2) noexcept;
    static const wchar_t* pszGetPtrToFileName(const wchar_t* pszChemin) noexcept;
    static const wchar_t* pszGetPtrToExtension(const wchar_t* pszChemin) noexcept;
    static void DelExtension(wchar_t* pszChemin) noexcept;
    static void ChangeExtension(wchar_t* pszChemin, const wchar_t* pszExtension) noexcept;  // kMaxPath + 1
    static void DirectoryWithEndSlash(wchar_t* pszChemin) noexcept;  // kMaxPath + 1
    static void DirectoryWithoutEndSlash(wchar_t* pszChemin) noexcept;
    static char* pszBackSlash2Slash(char* pszChemin) noexcept;
    static wchar_t* pszBackSlash2Slash(wchar_t* pszChemin) noexcept;
    static void pszBackSlash2Slash(CTString* pclChemin) noexcept;
    static void pszBackSlash2Slash(CXYString<wchar_t>* pclChemin) noexcept;
    static char* pszSlash2BackSlash(char* pszChemin) noexcept;
    static wchar_t* pszSlash2BackSlash(wchar_t* pszChemin) noexcept;
    static void pszSlash2BackSlash(CTString* pclChemin) noexcept;
    static void pszSlash2BackSlash(CXYString<wchar_t>* pclChemin) noexcept;
    static void PrefixeCurrentDirectory(wchar_t* pszChemin) noexcept;  // kMaxPath + 1
    static bool bIsRelativePath(const wchar_t* pszChemin) noexcept;
    static bool bIsRelativeFileName(const wchar_t* pszChemin) noexcept;
    static bool bIsRelativeFileName_WIN32(const wchar_t* pszChemin) noexcept;
    static bool bUNCName(const wchar_t* pszChemin) noexcept;
    static bool bUNCNameA(const char* pszChemin) noexcept;
    static bool bIsAVirtualDirectory(const wchar_t* pszNom) noexcept;
    // Joins drive, directory, name and extension (each may be null) into pszSortie (kMaxPath + 1).
    static void MakePath(wchar_t* pszSortie, const wchar_t* pszDisque, const wchar_t* pszRepertoire,
                         const wchar_t* pszFichier, const wchar_t* pszExtension = nullptr) noexcept;
    // Splits a path into drive (always empty here), directory with its end slash, name and extension
    // with its dot; each output may be null and holds kMaxPath + 1 characters.
    static void __SplitPath(const wchar_t* pszChemin, wchar_t* pszDisque, wchar_t* pszRepertoire, wchar_t* pszNom,
                            wchar_t* pszExtension) noexcept;
    static bool bGetUNCName(const wchar_t* pszNom, wchar_t* pszSortie, unsigned long nTaille) noexcept;
    static bool bStandardizeExistingFileName(const wchar_t* pszNom, wchar_t* pszSortie, unsigned long nTaille) noexcept;
    static bool bGetLongPathName(const wchar_t* pszNom, wchar_t* pszSortie, unsigned long nTaille) noexcept;
    static bool sbIsBadNetworkFile(const wchar_t*) noexcept { return false; }
    static bool bSystemSupportHugeFile() noexcept { return true; }
    static bool bHasPatternsW(const wchar_t* pszTexte) noexcept;  // holds "*" or "?"
    // "*" any run, "?" any one character, everything else exact and with case.
    static bool _bFiltreFileName(const wchar_t* pszNom, const wchar_t* pszMotif) noexcept;

    // ================================================================ system calls on wide names
    static int Unix_open(const wchar_t* pszNom, int nFlags, int nMode) noexcept;
    static int Unix_stat(const wchar_t* pszNom, struct stat* pstStat) noexcept;
    static int Unix_lstat(const wchar_t* pszNom, struct stat* pstStat) noexcept;
    static int Unix_access(const wchar_t* pszNom, int nMode) noexcept;
    static int Unix_chmod(const wchar_t* pszNom, unsigned int nMode) noexcept;
    static int Unix_unlink(const wchar_t* pszNom) noexcept;
    static int Unix_chdir(const wchar_t* pszNom) noexcept;
    static wchar_t* Unix_getcwd(wchar_t* pszSortie, unsigned long nTaille) noexcept;  // null on failure, errno set
    static bool Unix_gethomedir(wchar_t* pszSortie, unsigned long nTaille) noexcept;
    static int __Unix_rename(const wchar_t* pszAncien, const wchar_t* pszNouveau) noexcept;
    static int __Unix_mkdir(const wchar_t* pszNom, unsigned int nMode) noexcept;
    static int __Unix_rmdir(const wchar_t* pszNom) noexcept;
    static void* __Unix_opendir(const wchar_t* pszNom) noexcept;  // DIR*

    // ================================================================ files and directories
    // The CXError* of these may be null. Each failure leaves errno as the system error and adds
    // the operation's user message with the name.
    static bool bExist(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    static bool bIsADirectory(const wchar_t* pszNom) noexcept;
    static bool bIsAFile(const wchar_t* pszNom) noexcept;
    static long s_oGetSize(const wchar_t* pszNom, CXError* pclErreur) noexcept;  // -1 on failure
    // Byte for byte, by system calls; fails on the same file (name or device and inode).
    static bool bCopy(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) noexcept;
    // The new name must not exist (errno 17).
    static bool bRename(const wchar_t* pszNouveau, const wchar_t* pszAncien, CXError* pclErreur) noexcept;
    // Replaces an existing target; across file systems copies, then removes the source.
    static bool bMove(const wchar_t* pszNouveau, const wchar_t* pszAncien, CXError* pclErreur) noexcept;
    static bool bDelete(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    static bool bCreateDirectory(const wchar_t* pszNom, CXError* pclErreur) noexcept;  // every level
    static bool bDeleteDirectory(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    // Trees: never follow a symbolic link out of the tree. Purging keeps the top directory; the
    // forced forms clear read-only states first.
    static bool bDeleteTree(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    static bool bForceDeleteTree(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    static bool bPurgeTree(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    static bool bForcePurgeTree(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    static bool bDeleteTreeEvenReadOnly(const wchar_t* pszNom, CXError* pclErreur) noexcept;
    // nAttribut -1 or -2: read only (0444); anything else ordinary (0666).
    static bool bSetFileAttributes(const wchar_t* pszNom, int nAttribut, CXError* pclErreur) noexcept;
    static bool bSetFileAttributesUnix(const wchar_t* pszNom, unsigned int nMode, CXError* pclErreur) noexcept;
    static bool bSetFileOwnerUnix(const wchar_t* pszNom, unsigned int nUid, unsigned int nGid, CXError* pclErreur) noexcept;
    // Attribute word (eFILEATTRIBUTES) and size of an entry.
    static bool __bGetFileAttributesAndSize(const wchar_t* pszNom, uint32_t* pdwAttributs, int64_t* poTaille) noexcept;
    // Times: 0 creation (the change time here), 1 access, 2 write; local time.
    static bool bGetTime(const wchar_t* pszNom, int nQuel, _stXFILETIME* pstTemps, CXError* pclErreur) noexcept;
    static bool bSetTime(const wchar_t* pszNom, int nQuel, const _stXFILETIME* pstTemps, CXError* pclErreur) noexcept;
    static int nCompareSystemTime(const _stXFILETIME* pst1, const _stXFILETIME* pst2) noexcept;
    static bool bSystemTimeToDosFileTime(const _stXFILETIME* pstTemps, uint16_t* pwDate, uint16_t* pwHeure) noexcept;
    static bool bDosFileTimeToSystemTime(uint16_t wDate, uint16_t wHeure, _stXFILETIME* pstTemps) noexcept;
    static bool bGetDiskSpace(const wchar_t* pszRacine, int64_t* poTotal, int64_t* poLibre, CXError* pclErreur) noexcept;
    static bool GetHomeDir(CTString* pclSortie) noexcept;
    static bool bGetCurrentDirectory(wchar_t* pszSortie, unsigned long nTaille, CXError* pclErreur) noexcept;
    // pszSortie relative to pszBase (a directory) when both share a root; false otherwise.
    static bool bPathRelativePathTo(wchar_t* pszSortie, const wchar_t* pszBase, const wchar_t* pszChemin) noexcept;
    static bool bRelativeToFullPath(wchar_t* pszSortie, const wchar_t* pszBase, const wchar_t* pszRelatif) noexcept;
    static bool bGetTempDirectory(wchar_t* pszSortie, CXError* pclErreur) noexcept;  // kMaxPath + 1
    // Creates an empty file pszRepertoire/pszPrefixeXXXXXX and answers its name.
    static bool bGetTempName(wchar_t* pszSortie, const wchar_t* pszRepertoire, const wchar_t* pszPrefixe,
                             CXError* pclErreur) noexcept;
    static bool bGetTempName(wchar_t* pszSortie, const wchar_t* pszPrefixe, CXError* pclErreur) noexcept;
    static bool bChargeFichier(CZKBIN& clSortie, const wchar_t* pszNom, CXError* pclErreur) noexcept;
    // A whole text, by its mark: FE FF and FF FE UTF-16, EF BB BF UTF-8, valid UTF-8 without mark,
    // otherwise nCodePage. The buffer form may swap the caller's bytes in place (FE FF).
    static bool bChargeTexteBOM(CXYString<wchar_t>* pclSortie, const wchar_t* pszNom, unsigned int nCodePage,
                                etxType* peType, CXError* pclErreur) noexcept;
    static bool bChargeTexteBOMFromBuffer(CXYString<wchar_t>* pclSortie, uint8_t* pbyData, size_t nTaille,
                                          unsigned int nCodePage, etxType* peType) noexcept;
    // "cp -f [-r] SOURCE DESTINATION" by system calls: the source's last component may hold a
    // pattern; a destination that is a directory receives the entries under their own names.
    // Symbolic links inside a tree are copied as links, never followed.
    static bool bCopyTree(const wchar_t* pszDestination, const wchar_t* pszSource, bool bRecursif,
                          CXError* pclErreur) noexcept;
    // "mv -f SOURCE DESTINATION": a rename; across file systems a copy of the whole tree, and the
    // source is removed only once the copy is complete.
    static bool bMoveTree(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) noexcept;
    // True for a directory with no entry but "." and "..".
    static bool bEstVide(const wchar_t* pszRepertoire) noexcept;
    static bool bConcat(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) noexcept;

    // ================================================================ directory walking
    // Required bits must all be set and excluded bits none. A missing directory answers false
    // without an error.
    static bool bFindFirst(const wchar_t* pszMotif, _stXFINDDATA* pstFind, uint32_t dwRequis, uint32_t dwExclus,
                           CXError* pclErreur) noexcept;
    static bool bFindNext(_stXFINDDATA* pstFind, CXError* pclErreur) noexcept;
    static bool bFindClose(_stXFINDDATA* pstFind, CXError* pclErreur) noexcept;
    // Files of a directory first, then its subdirectories depth first, in readdir order. The
    // directory ends with a slash. Symbolic links to directories are listed, never entered.
    static bool bDoOnFileTree(const wchar_t* pszRepertoire, const wchar_t* pszMotif, PFNDOONFILE pfnRappel,
                              void* pContexte, unsigned int dwFlags, bool bRecursif) noexcept;
    static bool bDoOnDirectoryTree(const wchar_t* pszRepertoire, const wchar_t* pszMotif, PFNDOONFILE pfnRappel,
                                   void* pContexte, unsigned int dwFlags, bool bRecursif) noexcept;

    // The one gate of the class-wide functions: false with a null error; otherwise clears it and,
    // on failure, stores the saved errno as its system error and answers true.
    static bool _bOnError(bool bSucces, CXError* pclErreur) noexcept;
    static void _OnMemoryError(CXError* pclErreur) noexcept;

private:
    // Level 3, the system error nErreur and the handle's debug text; the caller adds its own lines.
    void _DebutEchec(int nErreur) noexcept;
    // The user message nIdMessage with the error name, and errno left as nErreur.
    int _nFinEchec(int nErreur, unsigned int nIdMessage) noexcept;
    // Gives what pszReadLine read ahead back to the descriptor, so that other operations start
    // from the caller's position.
    bool _bRenonceTamponLigne() noexcept;
    bool _bPoseVerrou(short nType, long oDebut, long oLongueur, int nCommande) noexcept;
    bool _bLectureSeule() const noexcept;

    wchar_t m_szChemin[kMaxPath + 1] = {};
    int m_nDescripteur = -1;
    long m_oOffset = 0;
    uint8_t* m_pbyTamponLigne = nullptr;  // pszReadLine's buffer and cursor
    uint8_t* m_pbyCurseurLigne = nullptr;
    size_t m_nFinTamponLigne = 0;
    int m_nFlags = -1;
    wchar_t* m_pszNomErreur = m_szChemin;
};
