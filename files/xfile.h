// CXFile: the owning front of a stream. It holds one counted IXStream, makes a CDiskFile the
// first time it needs one, and forwards the stream operations to it. Without a stream every
// operation fails (0, -1 or null) instead of calling through nothing.
#pragma once

#include <cstdarg>

#include "files/stream.h"

class CXFile {
public:
    CXFile() noexcept = default;
    virtual ~CXFile();
    CXFile(const CXFile&) = delete;
    CXFile& operator=(const CXFile&) = delete;

    virtual int bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
                      int* pbCree) noexcept;
    virtual void Close() noexcept;
    virtual int bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept;
    virtual int bWrite(long oOffset, const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept;
    virtual int bRead(long oOffset, void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept;
    virtual int bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept;
    virtual int bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept;
    virtual int bSeek(long oOffset, eSEEK eOrigine) noexcept;
    virtual long oGetSize() noexcept;
    virtual long oGetSizeFast() noexcept;
    virtual int bFlush() noexcept;
    virtual int bSetSize(long oTaille, eGROW eGrow) noexcept;
    virtual int bIncreaseSize(long oTaille) noexcept;
    virtual int bWriteString(const char* pszFormat, ...) noexcept;
    virtual int bWriteStringList(const char* pszFormat, va_list pArguments) noexcept;
    virtual int bWriteString(const wchar_t* pszFormat, ...) noexcept;
    virtual int bWriteStringList(const wchar_t* pszFormat, va_list pArguments) noexcept;
    virtual int bReadLine(char* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept;
    virtual int bReadLine(wchar_t* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept;
    // Copies nNombre bytes (negative: to the end) from this file's position to the other's.
    virtual int bExtract(CXFile* pclDestination, long nNombre) noexcept;
    virtual int bLockFile(long oDebut, long oLongueur) noexcept;
    virtual int bUnlockFile(long oDebut, long oLongueur) noexcept;
    virtual int bLock(long oDebut, long oLongueur) noexcept;
    virtual int bUnlock(long oDebut, long oLongueur) noexcept;
    virtual const wchar_t* pszGetName() noexcept;
    virtual long oGetOffset() noexcept;
    virtual int bIsOpen() noexcept;
    virtual CXError* pclGetXError() noexcept;
    virtual void _FreeStream() noexcept;
    // The stream made on first use; an heir may make another kind.
    virtual IXStream* __xpclAllocDiskFile() noexcept;
    virtual CXError* _pclGetXError() noexcept;
    virtual int bReadLineUNICODE(wchar_t* pszLigne, unsigned long nTaille, int* pbTronque,
                                 unsigned int dwFlags) noexcept;
    virtual eACCESS veGetAccess() noexcept;
    virtual void m242EmptyMethodXStream() noexcept {}
    virtual void m243EmptyMethodXStream() noexcept {}
    virtual void m244EmptyMethodXStream() noexcept {}
    virtual void m245EmptyMethodXStream() noexcept {}
    virtual void m246EmptyMethodXStream() noexcept {}
    virtual void m247EmptyMethodXStream() noexcept {}
    virtual void m248EmptyMethodXStream() noexcept {}
    virtual void m249EmptyMethodXStream() noexcept {}
    virtual void m250EmptyMethodXStream() noexcept {}
    virtual void m251EmptyMethodXStream() noexcept {}
    virtual void m252EmptyMethodXStream() noexcept {}
    virtual void m253EmptyMethodXStream() noexcept {}

    // Releases the stream held and takes a reference on the new one (null: none).
    void SetStream(IXStream* piStream) noexcept;
    IXStream* piGetStream() const noexcept { return m_piStream; }
    int bSetNameForError(const wchar_t* pszNom) noexcept;
    // The wide text, then a wide CR LF.
    int bWriteLine(const wchar_t* pszTexte) noexcept;

private:
    bool _bAssureStream() noexcept;

    IXStream* m_piStream = nullptr;  // counted
    bool m_bStreamCree = false;      // made by __xpclAllocDiskFile
};
