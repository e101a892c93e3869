// Directory searches as objects: CFindFile, one search that closes itself, and CParseDir, a walk
// of a tree that hands out one path a call (files of a level first, then its subdirectories depth
// first, in the order the directory gives them; symbolic links are listed, never entered).
#pragma once

#include <cstdint>

#include "files/disk_file.h"

class CFindFile {
public:
    CFindFile() noexcept = default;
    ~CFindFile() { bFindClose(nullptr); }
    CFindFile(const CFindFile&) = delete;
    CFindFile& operator=(const CFindFile&) = delete;

    bool bFindFirst(const wchar_t* pszMotif, uint32_t dwRequis, uint32_t dwExclus, CXError* pclErreur) noexcept {
        bFindClose(nullptr);
        return CDiskFile::bFindFirst(pszMotif, &m_stFind, dwRequis, dwExclus, pclErreur);
    }
    bool bFindNext(CXError* pclErreur) noexcept { return CDiskFile::bFindNext(&m_stFind, pclErreur); }
    bool bFindClose(CXError* pclErreur) noexcept { return CDiskFile::bFindClose(&m_stFind, pclErreur); }
    // Hands the open search to clAutre (whose own search is closed first); this one is left closed.
    void TransfertTo(CFindFile& clAutre) noexcept;

    const wchar_t* pszGetNom() const noexcept { return m_stFind.szNom; }
    const wchar_t* pszGetRepertoire() const noexcept { return m_stFind.szRepertoire; }
    uint32_t dwGetAttributs() const noexcept { return m_stFind.dwAttributs; }
    int64_t oGetTaille() const noexcept { return m_stFind.oTaille; }
    const CDiskFile::_stXFILETIME& stGetDate() const noexcept { return m_stFind.stDate; }
    bool bEstRepertoire() const noexcept { return (m_stFind.dwAttributs & CDiskFile::eATTR_REPERTOIRE) != 0; }

private:
    CDiskFile::_stXFINDDATA m_stFind;
};

class CParseDir {
public:
    CParseDir() noexcept = default;
    ~CParseDir() { Close(); }
    CParseDir(const CParseDir&) = delete;
    CParseDir& operator=(const CParseDir&) = delete;

    // Starts a walk of pszRepertoire for names that match pszMotif and writes the first path found
    // into pszSortie (nTaille characters with the terminator). dwExclus: attribute bits an entry
    // listed must not have (directories are never listed). False when nothing is found.
    bool bGetFirst(const wchar_t* pszRepertoire, const wchar_t* pszMotif, bool bRecursif, wchar_t* pszSortie,
                   unsigned long nTaille, uint32_t dwExclus = 0) noexcept;
    bool bGetNext(wchar_t* pszSortie, unsigned long nTaille) noexcept;
    void Close() noexcept;

private:
    struct _stPARSELEVEL {
        CDiskFile::_stXFINDDATA stFind;
        _stPARSELEVEL* pstParent = nullptr;
        int nEtat = 0;  // 0 while files are listed, 1 while subdirectories are walked
        bool bCommence = false;
        wchar_t szRepertoire[kMaxPath + 1] = {};  // with its end slash
    };

    bool __bStartNewParse(const wchar_t* pszRepertoire) noexcept;
    void __Close() noexcept;  // drops the current level
    bool __bFindNextFile(wchar_t* pszSortie, unsigned long nTaille) noexcept;

    wchar_t* m_pszMotif = nullptr;
    bool m_bRecursif = false;
    _stPARSELEVEL* m_pstNiveau = nullptr;
    _stPARSELEVEL* m_pstDepart = nullptr;
    uint32_t m_dwExclus = 0;
};
