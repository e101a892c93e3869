// IXStream: the one abstract stream every file of the library is reached through, with the
// enumerations that go straight to the system. The slot order is part of the library's binary
// shape (other components derive from these classes), so reserved slots stay and nothing moves.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "base/error.h"

class CTString;

// Access asked at open: the values are the system's O_ flags.
enum eACCESS : int {
    eACCESS_LECTURE = 0,       // O_RDONLY
    eACCESS_ECRITURE = 1,      // O_WRONLY
    eACCESS_LECTUREECRITURE = 2,  // O_RDWR
    eACCESS_AUCUN = -1,        // no access bits at all
};

// Whole-file lock taken at open: the values are the fcntl lock types.
enum eSHARE : int {
    eSHARE_PARTAGE = 0,    // F_RDLCK
    eSHARE_EXCLUSIF = 1,   // F_WRLCK
    eSHARE_AUCUN = 2,      // F_UNLCK: never conflicts
};

// Creation: the values are O_CREAT and O_CREAT | O_TRUNC.
enum eCREATE : int {
    eCREATE_EXISTANT = 0,
    eCREATE_OUVRE_OU_CREE = 0x40,
    eCREATE_VIDE_OU_CREE = 0x240,
};

enum eFLAG : int {
    eFLAG_FICHIER = 0,
    eFLAG_REPERTOIRE = 0x10000,  // O_DIRECTORY: a directory may be opened
};

enum eSEEK : int {
    eSEEK_DEBUT = 0,
    eSEEK_COURANT = 1,
    eSEEK_FIN = 2,
};

enum eGROW : int {
    eGROW_ABSOLU = 0,
    eGROW_RELATIF = 1,  // relative to the present end
};

// The errno a lock conflict is reported with: a value no system call returns.
inline constexpr int kErrnoPartage = static_cast<int>(0x80000000u);

// Every b... operation answers non-zero for success and leaves the failure in the stream's error.
// A null pnRead asks for exactly n bytes (a short read fails); a null pnWritten only discards the
// count. The defaults of the base succeed without doing anything.
class IXStream : public COVUnknown {
public:
    IXStream() noexcept;
    ~IXStream() override;
    IXStream(const IXStream&) = delete;
    IXStream& operator=(const IXStream&) = delete;

    unsigned int dwRelease() noexcept override;

    virtual int bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
                      int* pbCree) noexcept;
    virtual void Close() noexcept {}
    virtual int bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept;
    virtual int bWrite(long oOffset, const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept;
    virtual int bRead(long oOffset, void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept;
    virtual int bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept = 0;
    virtual int bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept = 0;
    virtual int bSeek(long oOffset, eSEEK eOrigine) noexcept;
    virtual long oGetSize() noexcept { return 0; }
    virtual long oGetSizeFast() noexcept { return oGetSize(); }
    virtual int bFlush() noexcept { return 1; }
    virtual int bSetSize(long oTaille, eGROW eGrow) noexcept { return 1; }
    virtual int bIncreaseSize(long oTaille) noexcept { return 1; }
    virtual int bWriteString(const char* pszFormat, ...) noexcept;
    virtual int bWriteStringList(const char* pszFormat, va_list pArguments) noexcept;
    virtual int bWriteString(const wchar_t* pszFormat, ...) noexcept;
    virtual int bWriteStringList(const wchar_t* pszFormat, va_list pArguments) noexcept;
    // nTaille counts characters, terminator included. Flag bit 0: only CR LF ends a line.
    virtual int bReadLine(char* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept;
    virtual int bReadLine(wchar_t* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept;
    // Copies nNombre bytes from the current position (negative: up to the end).
    virtual int bExtract(IXStream* piDestination, long nNombre) noexcept;
    virtual int bLockFile(long oDebut, long oLongueur) noexcept;
    virtual int bUnlockFile(long oDebut, long oLongueur) noexcept;
    virtual int bLock(long oDebut, long oLongueur) noexcept { return 1; }
    virtual int bUnlock(long oDebut, long oLongueur) noexcept { return 1; }
    virtual const wchar_t* pszGetName() noexcept { return nullptr; }
    virtual long oGetOffset() noexcept = 0;
    virtual int bIsOpen() noexcept { return 1; }
    virtual CXError* pclGetXError() noexcept { return m_pclErreur; }
    virtual CXError* _pclGetXError() noexcept { return m_pclErreur; }
    virtual int vbSetNameForError(const wchar_t* pszNom) noexcept { return 1; }
    virtual eACCESS veGetAccess() noexcept = 0;
    virtual int bGetVFSFileName(wchar_t* pszNom) noexcept { return 0; }
    // A header lock on bytes 0 and 1: blocking when bLock, released otherwise.
    virtual int bLockFileEx(int bLock, int bExclusif) noexcept { return 1; }
    virtual const wchar_t* pszReadLine(wchar_t* pszTampon, unsigned long nTaille, CTString* pclDebordement,
                                       const wchar_t* pszSeparateur) noexcept {
        return nullptr;
    }
    virtual int bExtendFile(long oTaille) noexcept { return 1; }
    virtual void m567EmptyMethodXStream() noexcept {}
    virtual void m568EmptyMethodXStream() noexcept {}
    virtual void m569EmptyMethodXStream() noexcept {}
    virtual void m570EmptyMethodXStream() noexcept {}
    virtual void m571EmptyMethodXStream() noexcept {}
    virtual void m572EmptyMethodXStream() noexcept {}
    virtual void m573EmptyMethodXStream() noexcept {}
    virtual void m574EmptyMethodXStream() noexcept {}
    virtual void m575EmptyMethodXStream() noexcept {}
    virtual void m576EmptyMethodXStream() noexcept {}
    virtual void m577EmptyMethodXStream() noexcept {}
    virtual void m578EmptyMethodXStream() noexcept {}
    virtual void m579EmptyMethodXStream() noexcept {}
    virtual void m580EmptyMethodXStream() noexcept {}

protected:
    // The line reader shared by both widths: blocks of 80 characters through the sequential bRead.
    template <typename T>
    int _bReadLine(T* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept;
    template <typename T>
    int _bWriteStringList(const T* pszFormat, va_list pArguments) noexcept;

    CXError* m_pclErreur = nullptr;  // shared and counted; made by the concrete class
};
