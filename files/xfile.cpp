// CXFile: forwarding to the held stream, with the disk file made on first use.
#include "files/xfile.h"

#include <cwchar>
#include <new>

#include "files/disk_file.h"

CXFile::~CXFile() { _FreeStream(); }

void CXFile::_FreeStream() noexcept {
    if (m_piStream != nullptr) m_piStream->dwRelease();
    m_piStream = nullptr;
    m_bStreamCree = false;
}

IXStream* CXFile::__xpclAllocDiskFile() noexcept { return new (std::nothrow) CDiskFile(); }

void CXFile::SetStream(IXStream* piStream) noexcept {
    if (piStream != nullptr) piStream->dwAddRef();  // first, in case it is the stream already held
    _FreeStream();
    m_piStream = piStream;
}

bool CXFile::_bAssureStream() noexcept {
    if (m_piStream != nullptr) return true;
    IXStream* piStream = __xpclAllocDiskFile();
    if (piStream == nullptr) return false;
    SetStream(piStream);
    m_bStreamCree = true;
    return true;
}

int CXFile::bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
                  int* pbCree) noexcept {
    if (!_bAssureStream()) return 0;
    return m_piStream->bOpen(pszNom, eAccess, eShare, eCreate, eFlag, pbCree);
}

int CXFile::bSetNameForError(const wchar_t* pszNom) noexcept {
    if (!_bAssureStream()) return 0;
    return m_piStream->vbSetNameForError(pszNom);
}

void CXFile::Close() noexcept {
    if (m_piStream != nullptr) m_piStream->Close();
}

int CXFile::bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept {
    return m_piStream != nullptr ? m_piStream->bReopen(eAccess, eShare, eCreate, eFlag) : 0;
}

int CXFile::bWrite(long oOffset, const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept {
    if (m_piStream == nullptr) {
        if (pnEcrit != nullptr) *pnEcrit = 0;
        return 0;
    }
    return m_piStream->bWrite(oOffset, pData, nTaille, pnEcrit);
}

int CXFile::bRead(long oOffset, void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept {
    if (m_piStream == nullptr) {
        if (pnLu != nullptr) *pnLu = 0;
        return 0;
    }
    return m_piStream->bRead(oOffset, pData, nTaille, pnLu);
}

int CXFile::bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept {
    if (m_piStream == nullptr) {
        if (pnEcrit != nullptr) *pnEcrit = 0;
        return 0;
    }
    return m_piStream->bWrite(pData, nTaille, pnEcrit);
}

int CXFile::bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept {
    if (m_piStream == nullptr) {
        if (pnLu != nullptr) *pnLu = 0;
        return 0;
    }
    return m_piStream->bRead(pData, nTaille, pnLu);
}

int CXFile::bSeek(long oOffset, eSEEK eOrigine) noexcept {
    return m_piStream != nullptr ? m_piStream->bSeek(oOffset, eOrigine) : 0;
}

long CXFile::oGetSize() noexcept { return m_piStream != nullptr ? m_piStream->oGetSize() : -1; }
long CXFile::oGetSizeFast() noexcept { return m_piStream != nullptr ? m_piStream->oGetSizeFast() : -1; }
int CXFile::bFlush() noexcept { return m_piStream != nullptr ? m_piStream->bFlush() : 0; }

int CXFile::bSetSize(long oTaille, eGROW eGrow) noexcept {
    return m_piStream != nullptr ? m_piStream->bSetSize(oTaille, eGrow) : 0;
}

int CXFile::bIncreaseSize(long oTaille) noexcept {
    return m_piStream != nullptr ? m_piStream->bIncreaseSize(oTaille) : 0;
}

int CXFile::bWriteString(const char* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int bResultat = bWriteStringList(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

int CXFile::bWriteStringList(const char* pszFormat, va_list pArguments) noexcept {
    return m_piStream != nullptr ? m_piStream->bWriteStringList(pszFormat, pArguments) : 0;
}

int CXFile::bWriteString(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int bResultat = bWriteStringList(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

int CXFile::bWriteStringList(const wchar_t* pszFormat, va_list pArguments) noexcept {
    return m_piStream != nullptr ? m_piStream->bWriteStringList(pszFormat, pArguments) : 0;
}

int CXFile::bReadLine(char* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept {
    return m_piStream != nullptr ? m_piStream->bReadLine(pszLigne, nTaille, pbTronque, dwFlags) : 0;
}

int CXFile::bReadLine(wchar_t* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept {
    return m_piStream != nullptr ? m_piStream->bReadLine(pszLigne, nTaille, pbTronque, dwFlags) : 0;
}

int CXFile::bReadLineUNICODE(wchar_t* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept {
    return bReadLine(pszLigne, nTaille, pbTronque, dwFlags);
}

int CXFile::bExtract(CXFile* pclDestination, long nNombre) noexcept {
    if (m_piStream == nullptr || pclDestination == nullptr || pclDestination->m_piStream == nullptr) return 0;
    return m_piStream->bExtract(pclDestination->m_piStream, nNombre);
}

int CXFile::bLockFile(long oDebut, long oLongueur) noexcept {
    return m_piStream != nullptr ? m_piStream->bLockFile(oDebut, oLongueur) : 0;
}

int CXFile::bUnlockFile(long oDebut, long oLongueur) noexcept {
    return m_piStream != nullptr ? m_piStream->bUnlockFile(oDebut, oLongueur) : 0;
}

int CXFile::bLock(long oDebut, long oLongueur) noexcept {
    return m_piStream != nullptr ? m_piStream->bLock(oDebut, oLongueur) : 0;
}

int CXFile::bUnlock(long oDebut, long oLongueur) noexcept {
    return m_piStream != nullptr ? m_piStream->bUnlock(oDebut, oLongueur) : 0;
}

const wchar_t* CXFile::pszGetName() noexcept { return m_piStream != nullptr ? m_piStream->pszGetName() : nullptr; }
long CXFile::oGetOffset() noexcept { return m_piStream != nullptr ? m_piStream->oGetOffset() : -1; }
int CXFile::bIsOpen() noexcept { return m_piStream != nullptr ? m_piStream->bIsOpen() : 0; }
CXError* CXFile::pclGetXError() noexcept { return m_piStream != nullptr ? m_piStream->pclGetXError() : nullptr; }
CXError* CXFile::_pclGetXError() noexcept { return m_piStream != nullptr ? m_piStream->_pclGetXError() : nullptr; }
eACCESS CXFile::veGetAccess() noexcept { return m_piStream != nullptr ? m_piStream->veGetAccess() : eACCESS_AUCUN; }

int CXFile::bWriteLine(const wchar_t* pszTexte) noexcept {
    if (m_piStream == nullptr) return 0;
    if (pszTexte != nullptr) {
        const size_t nOctets = wcslen(pszTexte) * sizeof(wchar_t);
        if (nOctets > 0xFFFFFFFFu) return 0;
        if (!m_piStream->bWrite(pszTexte, static_cast<unsigned int>(nOctets), nullptr)) return 0;
    }
    return m_piStream->bWrite(L"\r\n", 2 * sizeof(wchar_t), nullptr);
}
