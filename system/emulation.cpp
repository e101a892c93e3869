// Unix bodies of the system calls the portable code was written against.
#include "system/emulation.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <iterator>

#include "base/internal/utf.h"
#include "system/internal/utf8.h"

// ---------------------------------------------------------------- memory status

namespace {

constexpr uint64_t MAXIMUM = UINT64_MAX;

uint64_t nAjoute(uint64_t n1, uint64_t n2) noexcept { return n1 > MAXIMUM - n2 ? MAXIMUM : n1 + n2; }

uint64_t nEnOctets(uint64_t nKio) noexcept { return nKio > MAXIMUM / 1024 ? MAXIMUM : nKio * 1024; }

bool bBlanc(char c) noexcept { return c == ' ' || c == '\t'; }

// Reads a decimal number after blanks; a number too large for 64 bits saturates. Answers the
// position after it, or null when no digit follows.
const char* pszLitNombre(const char* psz, const char* pszFin, uint64_t* pnValeur) noexcept {
    while (psz < pszFin && bBlanc(*psz)) ++psz;
    if (psz >= pszFin || *psz < '0' || *psz > '9') return nullptr;
    uint64_t n = 0;
    for (; psz < pszFin && *psz >= '0' && *psz <= '9'; ++psz) {
        const auto nChiffre = static_cast<uint64_t>(*psz - '0');
        n = n > (MAXIMUM - nChiffre) / 10 ? MAXIMUM : n * 10 + nChiffre;
    }
    *pnValeur = n;
    return psz;
}

// Reads up to nMax numbers of a line; answers how many were there.
int nLitNombres(const char* psz, const char* pszFin, uint64_t* pnValeurs, int nMax) noexcept {
    int n = 0;
    while (n < nMax && (psz = pszLitNombre(psz, pszFin, &pnValeurs[n])) != nullptr) ++n;
    return n;
}

struct STCle {
    const char* pszCle;
    uint64_t STInfoMemoire::*pnChamp;
};

// Keys of the current form, in KiB. Each is compared whole with what stands before the colon, so
// "SwapCached" is never taken for "Cached".
constexpr STCle gtabCles[] = {
    {"MemTotal", &STInfoMemoire::nTotal},     {"MemFree", &STInfoMemoire::nLibre},
    {"Buffers", &STInfoMemoire::nTampons},    {"Cached", &STInfoMemoire::nCache},
    {"SwapTotal", &STInfoMemoire::nSwapTotal}, {"SwapFree", &STInfoMemoire::nSwapLibre},
};

}  // namespace

bool bAnalyseInfoMemoire(const char* pszTexte, size_t nTaille, STInfoMemoire* pstInfo) noexcept {
    if (pstInfo == nullptr) return false;
    *pstInfo = STInfoMemoire{};
    if (pszTexte == nullptr) return false;
    STInfoMemoire stCles;
    bool bCleTotal = false, bCleSwap = false;
    // The older form: "Mem:" total used free shared buffers cached, "Swap:" total used free, bytes.
    uint64_t tabMem[6] = {}, tabSwap[3] = {};
    int nMem = 0, nSwap = 0;

    const char* const pszFin = pszTexte + nTaille;
    for (const char* pszLigne = pszTexte; pszLigne < pszFin;) {
        const char* pszFinLigne = static_cast<const char*>(std::memchr(pszLigne, '\n', pszFin - pszLigne));
        if (pszFinLigne == nullptr) pszFinLigne = pszFin;
        const char* pszDeuxPoints = static_cast<const char*>(std::memchr(pszLigne, ':', pszFinLigne - pszLigne));
        if (pszDeuxPoints != nullptr) {
            const size_t nCle = pszDeuxPoints - pszLigne;
            const char* pszValeur = pszDeuxPoints + 1;
            auto bEst = [&](const char* psz) { return std::strlen(psz) == nCle && std::memcmp(psz, pszLigne, nCle) == 0; };
            uint64_t nValeur = 0;
            if (bEst("Mem")) {
                nMem = nLitNombres(pszValeur, pszFinLigne, tabMem, 6);
            } else if (bEst("Swap")) {
                nSwap = nLitNombres(pszValeur, pszFinLigne, tabSwap, 3);
            } else {
                for (const STCle& st : gtabCles) {
                    if (!bEst(st.pszCle)) continue;
                    if (pszLitNombre(pszValeur, pszFinLigne, &nValeur) == nullptr) break;
                    stCles.*st.pnChamp = nEnOctets(nValeur);
                    if (st.pnChamp == &STInfoMemoire::nTotal) bCleTotal = true;
                    if (st.pnChamp == &STInfoMemoire::nSwapTotal) bCleSwap = true;
                    break;
                }
            }
        }
        pszLigne = pszFinLigne + 1;
    }

    // The keyed lines win; the older lines stand in for whichever part they lack.
    if (bCleTotal) {
        pstInfo->nTotal = stCles.nTotal;
        pstInfo->nLibre = stCles.nLibre;
        pstInfo->nTampons = stCles.nTampons;
        pstInfo->nCache = stCles.nCache;
    } else if (nMem >= 1) {
        pstInfo->nTotal = tabMem[0];
        pstInfo->nLibre = tabMem[2];
        pstInfo->nTampons = tabMem[4];
        pstInfo->nCache = tabMem[5];
    }
    if (bCleSwap) {
        pstInfo->nSwapTotal = stCles.nSwapTotal;
        pstInfo->nSwapLibre = stCles.nSwapLibre;
    } else if (nSwap >= 1) {
        pstInfo->nSwapTotal = tabSwap[0];
        pstInfo->nSwapLibre = tabSwap[2];
    }
    return bCleTotal || nMem >= 1;
}

bool bLitInfoMemoire(const char* pszChemin, STInfoMemoire* pstInfo) noexcept {
    if (pstInfo != nullptr) *pstInfo = STInfoMemoire{};
    if (pszChemin == nullptr || pstInfo == nullptr) {
        errno = EINVAL;
        return false;
    }
    const int nFichier = open(pszChemin, O_RDONLY | O_CLOEXEC);
    if (nFichier < 0) return false;
    // The kernel's file is under 2 KiB; the bound keeps a wrong path (a device, a huge file) from
    // holding the call.
    constexpr size_t TAILLE_MAX = 64 * 1024;
    char* pszTexte = static_cast<char*>(std::malloc(TAILLE_MAX));
    if (pszTexte == nullptr) {
        close(nFichier);
        errno = ENOMEM;
        return false;
    }
    size_t nLu = 0;
    bool bErreur = false;
    while (nLu < TAILLE_MAX) {
        const ssize_t n = read(nFichier, pszTexte + nLu, TAILLE_MAX - nLu);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) bErreur = true;
        if (n <= 0) break;
        nLu += static_cast<size_t>(n);
    }
    const int nErrno = errno;
    close(nFichier);
    const bool bResultat = !bErreur && bAnalyseInfoMemoire(pszTexte, nLu, pstInfo);
    std::free(pszTexte);
    if (!bResultat) errno = bErreur ? nErrno : EINVAL;
    return bResultat;
}

namespace {

constexpr const char* CHEMIN_INFO_MEMOIRE = "/proc/meminfo";
pthread_mutex_t gstVerrouChemin = PTHREAD_MUTEX_INITIALIZER;
char* gpszCheminInfoMemoire = nullptr;  // null: the kernel's file

// A copy of the current path; the kernel's file when memory fails.
bool bLitInfoMemoireCourante(STInfoMemoire* pstInfo) noexcept {
    pthread_mutex_lock(&gstVerrouChemin);
    char* pszCopie = gpszCheminInfoMemoire != nullptr ? strdup(gpszCheminInfoMemoire) : nullptr;
    const bool bAutre = gpszCheminInfoMemoire != nullptr;
    pthread_mutex_unlock(&gstVerrouChemin);
    if (bAutre && pszCopie == nullptr) {
        errno = ENOMEM;
        return false;
    }
    const bool b = bLitInfoMemoire(pszCopie != nullptr ? pszCopie : CHEMIN_INFO_MEMOIRE, pstInfo);
    std::free(pszCopie);
    return b;
}

}  // namespace

void SetCheminInfoMemoire(const char* pszChemin) noexcept {
    char* pszCopie = pszChemin != nullptr ? strdup(pszChemin) : nullptr;
    pthread_mutex_lock(&gstVerrouChemin);
    std::free(gpszCheminInfoMemoire);
    gpszCheminInfoMemoire = pszCopie;
    pthread_mutex_unlock(&gstVerrouChemin);
}

int GlobalMemoryStatusEx(_MEMORYSTATUSEX* pstStatut) noexcept {
    if (pstStatut == nullptr) return 0;
    *pstStatut = _MEMORYSTATUSEX{};
    pstStatut->dwLength = sizeof(_MEMORYSTATUSEX);
    STInfoMemoire st;
    if (!bLitInfoMemoireCourante(&st)) return 0;
    const uint64_t nDisponible = nAjoute(nAjoute(st.nLibre, st.nTampons), st.nCache);
    pstStatut->ullTotalPhys = st.nTotal;
    pstStatut->ullAvailPhys = nDisponible < st.nTotal ? nDisponible : st.nTotal;
    pstStatut->ullTotalPageFile = st.nSwapTotal;
    pstStatut->ullAvailPageFile = st.nSwapLibre;
    pstStatut->ullTotalVirtual = nAjoute(st.nTotal, st.nSwapTotal);
    pstStatut->ullAvailVirtual = nAjoute(pstStatut->ullAvailPhys, st.nSwapLibre);
    if (st.nTotal != 0) {
        const unsigned __int128 nUtilise = st.nTotal - pstStatut->ullAvailPhys;
        pstStatut->dwMemoryLoad = static_cast<uint32_t>(nUtilise * 100 / st.nTotal);
    }
    return 1;
}

void GlobalMemoryStatus(_MEMORYSTATUS* pstStatut) noexcept {
    if (pstStatut == nullptr) return;
    _MEMORYSTATUSEX st;
    GlobalMemoryStatusEx(&st);
    auto nTaille = [](uint64_t n) { return n > SIZE_MAX ? SIZE_MAX : static_cast<size_t>(n); };
    pstStatut->dwLength = sizeof(_MEMORYSTATUS);
    pstStatut->dwMemoryLoad = st.dwMemoryLoad;
    pstStatut->dwTotalPhys = nTaille(st.ullTotalPhys);
    pstStatut->dwAvailPhys = nTaille(st.ullAvailPhys);
    pstStatut->dwTotalPageFile = nTaille(st.ullTotalPageFile);
    pstStatut->dwAvailPageFile = nTaille(st.ullAvailPageFile);
    pstStatut->dwTotalVirtual = nTaille(st.ullTotalVirtual);
    pstStatut->dwAvailVirtual = nTaille(st.ullAvailVirtual);
}

// ---------------------------------------------------------------- module file name

namespace {

// The target of the link to the running program, in a malloc buffer.
char* pszCheminProgramme() noexcept {
    for (size_t nTaille = 256; nTaille <= 1024 * 1024; nTaille *= 2) {
        char* psz = static_cast<char*>(std::malloc(nTaille));
        if (psz == nullptr) return nullptr;
        const ssize_t n = readlink("/proc/self/exe", psz, nTaille);
        if (n < 0) {
            std::free(psz);
            return nullptr;
        }
        if (static_cast<size_t>(n) < nTaille) {
            psz[n] = 0;
            return psz;
        }
        std::free(psz);  // possibly cut: try again larger
    }
    return nullptr;
}

// The path of the module that holds the address, in a malloc buffer; the program itself is named
// by its link, since the loader knows it only by the name it was started with.
char* pszCheminModule(const void* hModule) noexcept {
    if (hModule == nullptr) return pszCheminProgramme();
    Dl_info stInfo{};
    if (dladdr(hModule, &stInfo) == 0 || stInfo.dli_fname == nullptr) return nullptr;
    Dl_info stProgramme{};
    const auto* pProgramme = reinterpret_cast<const void*>(getauxval(AT_PHDR));
    if (stInfo.dli_fname[0] == 0 ||
        (pProgramme != nullptr && dladdr(pProgramme, &stProgramme) != 0 && stProgramme.dli_fbase == stInfo.dli_fbase))
        return pszCheminProgramme();
    return strdup(stInfo.dli_fname);
}

}  // namespace

unsigned int GetModuleFileNameA(const void* hModule, char* pszNom, unsigned int nTaille) noexcept {
    if (pszNom == nullptr || nTaille == 0) return 0;
    char* pszChemin = pszCheminModule(hModule);
    if (pszChemin == nullptr) {
        pszNom[0] = 0;
        return 0;
    }
    size_t nLongueur = std::strlen(pszChemin);
    unsigned int nResultat = static_cast<unsigned int>(nLongueur);
    if (nLongueur >= nTaille) {
        // Cut on a character boundary: a UTF-8 sequence is never split.
        nLongueur = nTaille - 1;
        while (nLongueur > 0 && (static_cast<unsigned char>(pszChemin[nLongueur]) & 0xC0) == 0x80) --nLongueur;
        nResultat = nTaille;
    }
    std::memcpy(pszNom, pszChemin, nLongueur);
    pszNom[nLongueur] = 0;
    std::free(pszChemin);
    return nResultat;
}

unsigned int GetModuleFileNameW(const void* hModule, wchar_t* pszNom, unsigned int nTaille) noexcept {
    if (pszNom == nullptr || nTaille == 0) return 0;
    char* pszChemin = pszCheminModule(hModule);
    if (pszChemin == nullptr) {
        pszNom[0] = 0;
        return 0;
    }
    const size_t nLongueur =
        base_internal::nUtf8VersWide(pszChemin, base_internal::LONGUEUR_JUSQUA_ZERO, pszNom, nTaille - 1);
    std::free(pszChemin);
    if (nLongueur >= nTaille) {
        pszNom[nTaille - 1] = 0;
        return nTaille;
    }
    pszNom[nLongueur] = 0;
    return static_cast<unsigned int>(nLongueur);
}

// ---------------------------------------------------------------- clock and signals

uint64_t GetTickCount64() noexcept {
    timespec st{};
    clock_gettime(CLOCK_MONOTONIC, &st);
    return static_cast<uint64_t>(st.tv_sec) * 1000u + static_cast<uint64_t>(st.tv_nsec) / 1000000u;
}

unsigned int GetTickCount() noexcept { return static_cast<unsigned int>(GetTickCount64()); }

void DefaultAlarmHandler(int) {}

void InitAlarmHandler(void (*pfnHandler)(int)) noexcept {
    struct sigaction st {};
    st.sa_handler = pfnHandler != nullptr ? pfnHandler : DefaultAlarmHandler;
    sigemptyset(&st.sa_mask);
    st.sa_flags = 0;  // without SA_RESTART a blocked call returns EINTR when the alarm rings
    sigaction(SIGALRM, &st, nullptr);
}

// ---------------------------------------------------------------- debug output

namespace {

void EcritUtf8(FILE* pf, const wchar_t* pszTexte) noexcept {
    char* psz = system_internal::pszWideVersUtf8Alloue(pszTexte != nullptr ? pszTexte : L"");
    if (psz == nullptr) return;
    std::fputs(psz, pf);
    std::free(psz);
}

bool bDebogueurPresent() noexcept {
    FILE* pf = std::fopen("/proc/self/status", "re");
    if (pf == nullptr) return false;
    char szLigne[256];
    bool bPresent = false;
    while (std::fgets(szLigne, sizeof szLigne, pf) != nullptr) {
        if (std::strncmp(szLigne, "TracerPid:", 10) == 0) {
            bPresent = std::strtol(szLigne + 10, nullptr, 10) != 0;
            break;
        }
    }
    std::fclose(pf);
    return bPresent;
}

}  // namespace

void OutputDebugStringW(const wchar_t* pszTexte) noexcept {
    EcritUtf8(stderr, pszTexte);
    std::fflush(stderr);
}

void OutputDebugStringA(const char* pszTexte) noexcept {
    std::fputs(pszTexte != nullptr ? pszTexte : "", stderr);
    std::fflush(stderr);
}

void DebugBreak() noexcept {
    std::fputs("Dans Anjuta, utiliser la Stack Trace pour voir la fonction en cours et F7 pour reprendre "
               "l'execution\n",
               stderr);
    std::fflush(stderr);
    // A trap with no debugger to catch it would end the program.
    if (bDebogueurPresent()) raise(SIGTRAP);
}

// ---------------------------------------------------------------- message boxes

namespace {

struct STChoix {
    char cLettre;
    int nReponse;
};

struct STBoutons {
    const char* pszInvite;
    STChoix tabChoix[3];
    int nNbChoix;
    int nFinEntree;  // the answer when nobody can answer any more
};

// Indexed by the button set. OK takes any line.
constexpr STBoutons gtabBoutons[] = {
    {"Appuyez sur ENTREE pour continuer : \n", {}, 0, IDOK},
    {"Entrez votre choix (o = OK, c = CANCEL) pour continuer (exemple : o + ENTREE) : \n",
     {{'o', IDOK}, {'c', IDCANCEL}},
     2,
     IDCANCEL},
    {"Entrez votre choix (r = RETRY, a = ABORT, i = IGNORE) pour continuer (exemple : r + ENTREE) : \n",
     {{'r', IDRETRY}, {'a', IDABORT}, {'i', IDIGNORE}},
     3,
     IDABORT},
    {"Entrez votre choix (y = YES, n = NO, c = CANCEL) pour continuer (exemple : y + ENTREE) : \n",
     {{'y', IDYES}, {'n', IDNO}, {'c', IDCANCEL}},
     3,
     IDCANCEL},
    {"Entrez votre choix (y = YES, n = NO) pour continuer (exemple : y + ENTREE) : \n",
     {{'y', IDYES}, {'n', IDNO}},
     2,
     IDNO},
    {"Entrez votre choix (r = RETRY, c = CANCEL) pour continuer (exemple : r + ENTREE) : \n",
     {{'r', IDRETRY}, {'c', IDCANCEL}},
     2,
     IDCANCEL},
};

void EcritLigne(FILE* pf, const void* pTexte, int bWide) noexcept {
    if (pTexte != nullptr) {
        if (bWide)
            EcritUtf8(pf, static_cast<const wchar_t*>(pTexte));
        else
            std::fputs(static_cast<const char*>(pTexte), pf);
    }
    std::fputc('\n', pf);
}

// The first letter of the next line, lowered; 0 for a blank line, -1 at the end of the input. A
// line longer than the buffer is read to its end.
int nLitLettre(FILE* pf) noexcept {
    char szLigne[128];
    if (std::fgets(szLigne, sizeof szLigne, pf) == nullptr) return -1;
    bool bFinLigne = std::strchr(szLigne, '\n') != nullptr;
    while (!bFinLigne) {
        char szReste[128];
        if (std::fgets(szReste, sizeof szReste, pf) == nullptr) break;
        bFinLigne = std::strchr(szReste, '\n') != nullptr;
    }
    const char* psz = szLigne;
    while (*psz == ' ' || *psz == '\t') ++psz;
    const unsigned char c = static_cast<unsigned char>(*psz);
    if (c == '\n' || c == '\r' || c == 0) return 0;
    return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
}

using PFNMESSAGEBOXGRAPHIQUE = int (*)(void*, const wchar_t*, const wchar_t*, unsigned int);

// The graphic box of the interface library, looked up once per process.
PFNMESSAGEBOXGRAPHIQUE pfnMessageBoxGraphique() noexcept {
    static const PFNMESSAGEBOXGRAPHIQUE s_pfn = []() noexcept -> PFNMESSAGEBOXGRAPHIQUE {
        void* h = dlopen("ov200obj.so", RTLD_NOW | RTLD_LOCAL);
        if (h == nullptr) return nullptr;
        auto pfn = reinterpret_cast<PFNMESSAGEBOXGRAPHIQUE>(dlsym(h, "MessageBox_QT_W"));
        if (pfn == nullptr) dlclose(h);
        return pfn;  // the library stays loaded while the box may be used
    }();
    return s_pfn;
}

}  // namespace

int nMessageBoxConsole(FILE* pfEntree, FILE* pfSortie, const void* pTexte, const void* pTitre, unsigned int nType,
                       int bWide) noexcept {
    if (pfEntree == nullptr || pfSortie == nullptr) return 0;
    EcritLigne(pfSortie, pTitre, bWide);
    EcritLigne(pfSortie, pTexte, bWide);
    const unsigned int nBoutons = nType & MB_TYPEMASK;
    const STBoutons& st = gtabBoutons[nBoutons < std::size(gtabBoutons) ? nBoutons : MB_OK];
    for (;;) {
        std::fputs(st.pszInvite, pfSortie);
        std::fflush(pfSortie);
        const int nLettre = nLitLettre(pfEntree);
        if (nLettre < 0) return st.nFinEntree;
        if (st.nNbChoix == 0) return IDOK;
        for (int i = 0; i < st.nNbChoix; ++i)
            if (st.tabChoix[i].cLettre == nLettre) return st.tabChoix[i].nReponse;
    }
}

int _MessageBox_NO_GUI(const void* pTexte, const void* pTitre, unsigned int nType, int bWide) noexcept {
    return nMessageBoxConsole(stdin, stderr, pTexte, pTitre, nType, bWide);
}

int MessageBox(void* hWnd, const wchar_t* pszTexte, const wchar_t* pszTitre, unsigned int nType) noexcept {
    if (PFNMESSAGEBOXGRAPHIQUE pfn = pfnMessageBoxGraphique()) return pfn(hWnd, pszTexte, pszTitre, nType);
    return _MessageBox_NO_GUI(pszTexte, pszTitre, nType, 1);
}

// ---------------------------------------------------------------- rectangles and characters

namespace {

// Coordinates wrap as 32-bit values do on the system these calls come from, without overflow.
int32_t nDecale(int32_t n, int nDelta) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(n) + static_cast<uint32_t>(nDelta));
}

}  // namespace

int bEmule_IsRectEmpty(const tagRECT* pstRect) noexcept {
    return pstRect == nullptr || pstRect->right <= pstRect->left || pstRect->bottom <= pstRect->top;
}

int bEmule_OffsetRect(tagRECT* pstRect, int nDx, int nDy) noexcept {
    if (pstRect == nullptr) return 0;
    pstRect->left = nDecale(pstRect->left, nDx);
    pstRect->right = nDecale(pstRect->right, nDx);
    pstRect->top = nDecale(pstRect->top, nDy);
    pstRect->bottom = nDecale(pstRect->bottom, nDy);
    return 1;
}

int bEmule_IntersectRect(tagRECT* pstDestination, const tagRECT* pstSource1, const tagRECT* pstSource2) noexcept {
    if (pstDestination == nullptr) return 0;
    if (bEmule_IsRectEmpty(pstSource1) || bEmule_IsRectEmpty(pstSource2)) {
        *pstDestination = tagRECT{};
        return 0;
    }
    tagRECT st;
    st.left = pstSource1->left > pstSource2->left ? pstSource1->left : pstSource2->left;
    st.top = pstSource1->top > pstSource2->top ? pstSource1->top : pstSource2->top;
    st.right = pstSource1->right < pstSource2->right ? pstSource1->right : pstSource2->right;
    st.bottom = pstSource1->bottom < pstSource2->bottom ? pstSource1->bottom : pstSource2->bottom;
    if (bEmule_IsRectEmpty(&st)) {
        *pstDestination = tagRECT{};
        return 0;
    }
    *pstDestination = st;
    return 1;
}

int bEmule_IsCharAlphaNumericA(char cCaractere) noexcept {
    const auto c = static_cast<unsigned char>(cCaractere);
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return 1;
    switch (c) {
        case 0x83:  // f with hook
        case 0x8A: case 0x8C: case 0x8E:  // S, OE, Z with caron or ligature
        case 0x9A: case 0x9C: case 0x9E: case 0x9F:
        case 0xAA: case 0xB5: case 0xBA:  // ordinal a, micro, ordinal o
            return 1;
        default:
            // The Latin-1 letters, without the multiplication and division signs.
            return c >= 0xC0 && c != 0xD7 && c != 0xF7;
    }
}

int nEmule_LoadStringW(void*, unsigned int, wchar_t* pszBuffer, int nTaille) noexcept {
    if (pszBuffer != nullptr && nTaille > 0) pszBuffer[0] = 0;
    return 0;
}

int nEmule_LoadStringA(void*, unsigned int, char* pszBuffer, int nTaille) noexcept {
    if (pszBuffer != nullptr && nTaille > 0) pszBuffer[0] = 0;
    return 0;
}
