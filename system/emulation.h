// The system calls the portable code was written against, with Unix bodies: memory status, module
// file name, tick count, the SIGALRM set-up, debug output, message boxes, rectangle and character
// helpers. Names and structure layouts stay those of the calls they stand in for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// ---------------------------------------------------------------- memory status

struct _MEMORYSTATUS {
    uint32_t dwLength;
    uint32_t dwMemoryLoad;  // percent of physical memory in use
    size_t dwTotalPhys;
    size_t dwAvailPhys;
    size_t dwTotalPageFile;
    size_t dwAvailPageFile;
    size_t dwTotalVirtual;
    size_t dwAvailVirtual;
};

struct _MEMORYSTATUSEX {
    uint32_t dwLength;
    uint32_t dwMemoryLoad;
    uint64_t ullTotalPhys;
    uint64_t ullAvailPhys;
    uint64_t ullTotalPageFile;  // swap
    uint64_t ullAvailPageFile;
    uint64_t ullTotalVirtual;   // physical memory and swap together
    uint64_t ullAvailVirtual;
    uint64_t ullAvailExtendedVirtual;  // always 0
};

// What the memory file tells, in bytes. A field the file does not give stays 0.
struct STInfoMemoire {
    uint64_t nTotal = 0;
    uint64_t nLibre = 0;
    uint64_t nTampons = 0;
    uint64_t nCache = 0;
    uint64_t nSwapTotal = 0;
    uint64_t nSwapLibre = 0;
};

// Reads the text of a memory file: the lines "MemTotal:", "MemFree:", "Buffers:", "Cached:",
// "SwapTotal:", "SwapFree:" in KiB, or the older "Mem:" and "Swap:" lines in bytes. A key is matched
// whole at the start of a line. False when neither form gives the total.
bool bAnalyseInfoMemoire(const char* pszTexte, size_t nTaille, STInfoMemoire* pstInfo) noexcept;
// The same from a file. False when the file cannot be read (errno tells why) or says nothing usable.
bool bLitInfoMemoire(const char* pszChemin, STInfoMemoire* pstInfo) noexcept;

// The file read by GlobalMemoryStatus and GlobalMemoryStatusEx, "/proc/meminfo" unless a test
// points it elsewhere; null restores it. The text is copied.
void SetCheminInfoMemoire(const char* pszChemin) noexcept;

// Non-zero when the file could be read; on failure the sizes are 0.
int GlobalMemoryStatusEx(_MEMORYSTATUSEX* pstStatut) noexcept;
void GlobalMemoryStatus(_MEMORYSTATUS* pstStatut) noexcept;

// ---------------------------------------------------------------- module, clock, signals

// The path of a module: with a null handle the running program ("/proc/self/exe"); otherwise the
// handle is taken as an address inside a loaded module, as module handles are on the system these
// calls come from. Writes at most nTaille characters, terminator included. Answers the length
// written without terminator; a path that does not fit is cut, terminated, and answers nTaille;
// 0 when the path cannot be found.
unsigned int GetModuleFileNameA(const void* hModule, char* pszNom, unsigned int nTaille) noexcept;
unsigned int GetModuleFileNameW(const void* hModule, wchar_t* pszNom, unsigned int nTaille) noexcept;

// Milliseconds of a monotonic clock. The 32-bit form wraps after about 49.7 days, as it always has;
// durations are measured as unsigned differences.
unsigned int GetTickCount() noexcept;
uint64_t GetTickCount64() noexcept;

// Installs the handler, or DefaultAlarmHandler when null, for SIGALRM, and makes the signal
// interrupt blocking calls (no restart), so that an alarm ends a timed wait.
void DefaultAlarmHandler(int nSignal);
void InitAlarmHandler(void (*pfnHandler)(int)) noexcept;

// ---------------------------------------------------------------- debug output

// Writes the text to the error output, as UTF-8. The debugger's window of the other system is the
// nearest thing to it; the standard output stays the program's own.
void OutputDebugStringW(const wchar_t* pszTexte) noexcept;
void OutputDebugStringA(const char* pszTexte) noexcept;

// Tells on the error output how to go on in a debugger and stops there when one is attached;
// without one the program simply goes on.
void DebugBreak() noexcept;

// ---------------------------------------------------------------- message boxes

// Button sets (low four bits of the type) and answers.
enum : unsigned int {
    MB_OK = 0,
    MB_OKCANCEL = 1,
    MB_ABORTRETRYIGNORE = 2,
    MB_YESNOCANCEL = 3,
    MB_YESNO = 4,
    MB_RETRYCANCEL = 5,
    MB_TYPEMASK = 0x0f,
};
enum : int {
    IDOK = 1,
    IDCANCEL = 2,
    IDABORT = 3,
    IDRETRY = 4,
    IDIGNORE = 5,
    IDYES = 6,
    IDNO = 7,
};

// The graphic box of the interface library when it is there, else the console form.
int MessageBox(void* hWnd, const wchar_t* pszTexte, const wchar_t* pszTitre, unsigned int nType) noexcept;

// The console form on the error output and the standard input. pTexte and pTitre are wide texts
// when bWide, else 8-bit UTF-8 texts; null prints an empty line.
int _MessageBox_NO_GUI(const void* pTexte, const void* pTitre, unsigned int nType, int bWide) noexcept;

// The console form on given streams: writes the title, the text and the prompt to pfSortie and
// reads answers from pfEntree until one letter fits the buttons. An unknown letter asks again; the
// end of the input answers the most cautious button of the set (Cancel, No, Abort), or OK.
int nMessageBoxConsole(FILE* pfEntree, FILE* pfSortie, const void* pTexte, const void* pTitre, unsigned int nType,
                       int bWide) noexcept;

// ---------------------------------------------------------------- rectangles and characters

struct tagRECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

// Empty: no width or no height (a null rectangle counts as empty).
int bEmule_IsRectEmpty(const tagRECT* pstRect) noexcept;
// Moves the rectangle; 0 for a null rectangle.
int bEmule_OffsetRect(tagRECT* pstRect, int nDx, int nDy) noexcept;
// The common part of two rectangles; when they do not meet the result is all zeros and the answer 0.
int bEmule_IntersectRect(tagRECT* pstDestination, const tagRECT* pstSource1, const tagRECT* pstSource2) noexcept;
// A letter or a digit of code page 1252, accented letters included.
int bEmule_IsCharAlphaNumericA(char cCaractere) noexcept;

// The string tables of executables do not exist here: always 0, and the buffer gets an empty text.
int nEmule_LoadStringW(void* hInstance, unsigned int nId, wchar_t* pszBuffer, int nTaille) noexcept;
int nEmule_LoadStringA(void* hInstance, unsigned int nId, char* pszBuffer, int nTaille) noexcept;
