// The language's file handles: one table per process, shared by every language object. A handle
// is an index into it; closed entries are reused most recent first, and 0 and 1 are never given.
// Also the few helpers other file functions share with the handles (byte-order mark, temp files).
#pragma once

#include <cstdint>

#include "base/xystring.h"

class CDiskFile;
class CXError;
class IXStream;

// The record of one open handle.
struct _stINFOFIC {
    int nType = 0;                   // 0 disk file, 1 shared-memory zone
    IXStream* piFlux = nullptr;      // owned: released when the handle closes
    int bUnicode = 0;                // the file holds UTF-16LE text
    int bNomUnicode = 0;             // the name came as wide text
    int bSupprimeALaFermeture = 0;   // delete the file when the handle closes

    // Read-ahead of the line functions. While bLectureActive, pbyLecture holds the bytes of the
    // file from oLecture on, nLecture of them, and the stream stands at oLecture + nLecture; the
    // language's position is oLecture + nCurseur. Any other operation on the handle first puts the
    // stream back at the language's position and drops the read-ahead.
    uint8_t* pbyLecture = nullptr;
    int nCapaciteLecture = 0;
    int nLecture = 0;
    int nCurseur = 0;
    long oLecture = 0;
    bool bLectureActive = false;
    // The wide form of the last line read, kept so that its block is reused by the next line:
    // once the longest line is seen, reading a line allocates nothing.
    CXYString<wchar_t> clLigneLarge;
};

struct _stENTREEFIC {
    int nEtat;  // -2 in use; otherwise the index of the next free entry, -1 ending the list
    _stINFOFIC* pstInfo;
};

struct _stCTXFIC {
    _stENTREEFIC* pstEntrees = nullptr;
    int nPremierLibre = -1;
    int nCapacite = 0;
    int nNbUtilise = 0;
    int nPas = 5;
    void* pRecherche = nullptr;  // pending directory search
};

bool _FIC_bInitModule();
void _FIC_FinModule();

// The record of an open handle, or null when the number is not one.
_stINFOFIC* s_pGetFicBagInfoFic(int nHandle);
// The stream of an open handle, or null.
IXStream* s_pGetFicBagXStream(int nHandle);
// Handles in use (0 and 1 excluded).
int _FIC_nNbHandle();
// Enters a record made elsewhere (a shared memory zone, kind 1); the table then owns it and
// fFerme closes and releases its stream. The handle, or -1 when memory fails.
int _FIC_nAjouteHandle(_stINFOFIC* pstInfo);

// Writes FF FE at offset 0 of a file open for writing. False with the stream's error in pclErreur
// (level 2) when the write fails, false without an error when the file is not open for writing.
bool _EcritBOMDansFichierOuvert(CDiskFile& clFichier, CXError* pclErreur);
// Reads up to three bytes from the current position (the file's start) and tells whether they
// are a UTF-8 (EF BB BF) or UTF-16LE (FF FE) mark. The position stays behind the bytes read.
// False when the read fails.
bool _bFichierOuvertUnicode(CDiskFile& clFichier, int* pbUnicode);

// Creates an empty temporary file pszRepertoire/pszPrefixeXXXXXX (the system's temporary directory
// when pszRepertoire is null or empty) and writes its name into pszSortie (kMaxPath + 1
// characters). False with the error in pclErreur (which may be null).
bool _bfFichierTemp(const wchar_t* pszRepertoire, const wchar_t* pszPrefixe, wchar_t* pszSortie,
                    CXError* pclErreur);
