// fListeFichier and fListeRepertoire: the files (or directories) of a tree, as one text or one
// procedure call per entry, and the full format of fListeFichier (name, size, time, attributes).
#include <sys/stat.h>

#include <cwchar>
#include <memory>
#include <new>

#include "base/any.h"
#include "base/wide_printf.h"
#include "component/callback.h"
#include "component/thunk.h"
#include "files/disk_file.h"

namespace {

constexpr unsigned int kOptionNonRecursif = 0x2;
constexpr unsigned int kOptionInterruptible = 0x4;
constexpr unsigned int kOptionFichiersCaches = 0x100;
constexpr unsigned int kOptionFormatComplet = 0x200;
constexpr unsigned int kOptionUnicode = 0x1000;

constexpr int kErreurListeFichier = 80058;
constexpr int kErreurListeRepertoire = 80062;

constexpr wchar_t kSeparateur[] = L"\r\n";

// One listing: where the entries go (the text, or the procedure) and why the walk stopped.
struct _stCtxListeFichier {
    CCallback* pclCallback = nullptr;  // null: the entries are joined into clResultat
    int nTrouve = 0;
    long nPointeur = 0;
    IVM* piVM = nullptr;
    CXError* pclErreur = nullptr;
    const wchar_t* pszRepertoire = L"";
    unsigned int dwOption = 0;
    CXYString<wchar_t> clResultat;
    bool bInterrompu = false;    // the user stopped it
    bool bEchecAppel = false;    // the procedure could not be run
    bool bEchecMemoire = false;  // the text could not grow
};

bool bEstPointOuPointPoint(const wchar_t* pszNom) {
    return pszNom[0] == L'.' && (pszNom[1] == L'\0' || (pszNom[1] == L'.' && pszNom[2] == L'\0'));
}

// Joins into a buffer of kMaxPath + 1 characters; false when the whole does not fit.
bool bJoint(wchar_t* pszSortie, const wchar_t* pszA, const wchar_t* pszB, const wchar_t* pszC = L"") {
    const size_t nA = std::wcslen(pszA), nB = std::wcslen(pszB), nC = std::wcslen(pszC);
    if (nA + nB + nC > static_cast<size_t>(kMaxPath)) return false;
    std::wmemcpy(pszSortie, pszA, nA);
    std::wmemcpy(pszSortie + nA, pszB, nB);
    std::wmemcpy(pszSortie + nA + nB, pszC, nC);
    pszSortie[nA + nB + nC] = L'\0';
    return true;
}

// The procedure's answer: a number (or boolean) says whether to go on; an answer that is none and
// does not convert to one, or no answer at all, lets the walk go on.
bool _bFinAppelCallbackListeFichier(CAny& clRetour) {
    if (clRetour.bEstNull() || clRetour.nGetTypeCode() == 0) return true;
    long n = 0;
    if (clRetour.nGetINT_64(&n) == 0) return n != 0;
    if (clRetour.__nCastTo(static_cast<int>(ovtype::INT64)) <= ANY_SUCCES_MAX && clRetour.nGetINT_64(&n) == 0)
        return n != 0;
    return true;
}

int _cbListeFichierW(const wchar_t* pszChemin, void* pContexte, int /*bRepertoire*/) {
    auto* pst = static_cast<_stCtxListeFichier*>(pContexte);
    if ((pst->dwOption & kOptionInterruptible) != 0 &&
        bVerifieInteruptionUtilisateur(pst->piVM, 0, pst->pclErreur)) {
        pst->bInterrompu = true;
        return 0;
    }
    ++pst->nTrouve;
    if (pst->pclCallback == nullptr) {
        if ((!pst->clResultat.bEstVide() && pst->clResultat.nConcat(kSeparateur, 2) != 0) ||
            pst->clResultat.nConcat(pszChemin) != 0) {
            pst->bEchecMemoire = true;
            return 0;
        }
        return 1;
    }
    // The procedure gets the entry's directory (with its slash) and name, then the caller's value.
    wchar_t szRepertoire[kMaxPath + 1];
    wchar_t szNom[kMaxPath + 1];
    wchar_t szExtension[kMaxPath + 1];
    CDiskFile::__SplitPath(pszChemin, nullptr, szRepertoire, szNom, szExtension);
    wchar_t szFichier[kMaxPath + 1];
    if (!bJoint(szFichier, szNom, szExtension)) return 0;
    CAny clPointeur;
    clPointeur.SetI8(pst->nPointeur);
    CCallback& clAppel = *pst->pclCallback;
    if (!clAppel.bEmpileChaineX(szRepertoire, pst->pclErreur) || !clAppel.bEmpileChaineX(szFichier, pst->pclErreur) ||
        !clAppel.bEmpileAny(&clPointeur, pst->pclErreur)) {
        clAppel.AnnuleExecution();
        pst->bEchecAppel = true;
        return 0;
    }
    CAny clRetour;
    if (!clAppel.bExecute(&clRetour, pst->pclErreur)) {
        pst->bEchecAppel = true;
        return 0;
    }
    return _bFinAppelCallbackListeFichier(clRetour) ? 1 : 0;
}

int cbListeFichierW(const wchar_t* pszChemin, void* pContexte) { return _cbListeFichierW(pszChemin, pContexte, 0); }
int cbListeRepertoireW(const wchar_t* pszChemin, void* pContexte) { return _cbListeFichierW(pszChemin, pContexte, 1); }

// "D" for a directory, "H" for a hidden name, "R" when no write permission is set.
void _AttributVersChaine(uint32_t dwAttributs, wchar_t* pszSortie) {
    if ((dwAttributs & CDiskFile::eATTR_REPERTOIRE) != 0) *pszSortie++ = L'D';
    if ((dwAttributs & CDiskFile::eATTR_CACHE) != 0) *pszSortie++ = L'H';
    if ((dwAttributs & CDiskFile::eATTR_ECRITURE) == 0) *pszSortie++ = L'R';
    *pszSortie = L'\0';
}

// A search that is closed on every way out.
struct CRecherche {
    CDiskFile::_stXFINDDATA stFind;
    bool bOuverte = false;
    ~CRecherche() {
        if (bOuverte) CDiskFile::bFindClose(&stFind, nullptr);
    }
};

bool bEstLienSymbolique(const wchar_t* pszChemin) {
    struct stat stInfo;
    return CDiskFile::Unix_lstat(pszChemin, &stInfo) == 0 && S_ISLNK(stInfo.st_mode);
}

// One directory of the full format: its files, then (recursive) its subdirectories. The searches
// live on the heap so that a deep tree does not weigh on the stack.
bool _bFormatCompletRepertoire(_stCtxListeFichier* pst, const wchar_t* pszRepertoire, const wchar_t* pszMotif) {
    const unsigned int dwOption = pst->dwOption;
    const uint32_t dwExclusFichiers =
        (dwOption & kOptionFichiersCaches) != 0 ? CDiskFile::eATTR_REPERTOIRE
                                                : CDiskFile::eATTR_REPERTOIRE | CDiskFile::eATTR_CACHE;
    std::unique_ptr<CRecherche> pclRecherche(new (std::nothrow) CRecherche);
    wchar_t szChemin[kMaxPath + 1];
    if (!pclRecherche) {
        pst->bEchecMemoire = true;
        return false;
    }
    if (!bJoint(szChemin, pszRepertoire, pszMotif)) return true;
    CRecherche& clFichiers = *pclRecherche;
    clFichiers.bOuverte = CDiskFile::bFindFirst(szChemin, &clFichiers.stFind, 0, dwExclusFichiers, nullptr);
    for (bool bTrouve = clFichiers.bOuverte; bTrouve; bTrouve = CDiskFile::bFindNext(&clFichiers.stFind, nullptr)) {
        if ((dwOption & kOptionInterruptible) != 0 && bVerifieInteruptionUtilisateur(pst->piVM, 0, pst->pclErreur)) {
            pst->bInterrompu = true;
            return false;
        }
        const CDiskFile::_stXFINDDATA& st = clFichiers.stFind;
        const CDiskFile::_stXFILETIME& stT = st.stDate;
        wchar_t szAttributs[4];
        _AttributVersChaine(st.dwAttributs, szAttributs);
        wchar_t szTemps[32];
        snwprintfWin(szTemps, 32, L"%04i%02i%02i%02i%02i%02i", stT.wAnnee, stT.wMois, stT.wJour, stT.wHeure,
                     stT.wMinute, stT.wSeconde);
        // Name and directory are each at most kMaxPath characters; the rest is short.
        wchar_t szLigne[2 * kMaxPath + 80];
        snwprintfWin(szLigne, sizeof szLigne / sizeof szLigne[0], L"%s%s\t%lld\t%s\t%s", pszRepertoire, st.szNom,
                     static_cast<long long>(st.oTaille), szTemps, szAttributs);
        ++pst->nTrouve;
        if ((!pst->clResultat.bEstVide() && pst->clResultat.nConcat(kSeparateur, 2) != 0) ||
            pst->clResultat.nConcat(szLigne) != 0) {
            pst->bEchecMemoire = true;
            return false;
        }
    }
    if (clFichiers.bOuverte) {
        CDiskFile::bFindClose(&clFichiers.stFind, nullptr);
        clFichiers.bOuverte = false;
    }
    if ((dwOption & kOptionNonRecursif) != 0) return true;

    const uint32_t dwExclusRepertoires = (dwOption & kOptionFormatComplet) != 0 ? 0u : static_cast<uint32_t>(CDiskFile::eATTR_CACHE);
    if (!bJoint(szChemin, pszRepertoire, L"*")) return true;
    CRecherche& clRepertoires = *pclRecherche;
    clRepertoires.bOuverte =
        CDiskFile::bFindFirst(szChemin, &clRepertoires.stFind, CDiskFile::eATTR_REPERTOIRE, dwExclusRepertoires, nullptr);
    for (bool bTrouve = clRepertoires.bOuverte; bTrouve;
         bTrouve = CDiskFile::bFindNext(&clRepertoires.stFind, nullptr)) {
        const wchar_t* pszNom = clRepertoires.stFind.szNom;
        if (bEstPointOuPointPoint(pszNom)) continue;
        // A link is never entered, so a link that points back up the tree ends.
        if (!bJoint(szChemin, pszRepertoire, pszNom) || bEstLienSymbolique(szChemin)) continue;
        wchar_t szSousRepertoire[kMaxPath + 1];
        if (!bJoint(szSousRepertoire, pszRepertoire, pszNom, L"/")) continue;
        if (!_bFormatCompletRepertoire(pst, szSousRepertoire, pszMotif)) return false;
    }
    return true;
}

// The path of the listing as wide text; the option gains the wide bit for a wide path.
const wchar_t* pszCheminListe(const STManipAUB* pstChemin, CXYString<wchar_t>* pclTampon, unsigned int* pdwOption) {
    if (pstChemin == nullptr) return L"";
    if (pstChemin->nType == STManipAUB::TYPE_UNICODE) *pdwOption |= kOptionUnicode;
    return pstChemin->pszGetStringW(pclTampon);
}

enum class EListe { Fichiers, Repertoires };

// Splits the path into directory (with its slash, or empty for the current directory) and
// pattern. "*.*" and a path that ends with a slash mean every entry.
void _SepareChemin(const wchar_t* pszChemin, wchar_t* pszRepertoire, wchar_t* pszMotif) {
    wchar_t szNom[kMaxPath + 1];
    wchar_t szExtension[kMaxPath + 1];
    CDiskFile::__SplitPath(pszChemin, nullptr, pszRepertoire, szNom, szExtension);
    if (!bJoint(pszMotif, szNom, szExtension) || pszMotif[0] == L'\0' || std::wcscmp(pszMotif, L"*.*") == 0)
        std::wcscpy(pszMotif, L"*");
}

}  // namespace

// The listing itself, shared by both functions and both forms. False when it failed and the error
// is raised; the count and the text are in the context either way.
static bool _bListe(CComposanteStandard* pclThis, const wchar_t* pszChemin, const wchar_t* pszProcedure,
                    _stCtxListeFichier* pst, EListe eListe) {
    const int nErreur = eListe == EListe::Fichiers ? kErreurListeFichier : kErreurListeRepertoire;
    if (std::wcslen(pszChemin) > static_cast<size_t>(kMaxPath)) {
        pclThis->RaiseError(&gstMyModuleInfo8, nErreur, pszChemin);
        return false;
    }
    wchar_t szRepertoire[kMaxPath + 1];
    wchar_t szMotif[kMaxPath + 1];
    _SepareChemin(pszChemin, szRepertoire, szMotif);
    pst->pszRepertoire = szRepertoire;
    pst->piVM = pclThis->piGetVM();
    pst->pclErreur = pclThis->pclGetError();

    if (eListe == EListe::Repertoires && szRepertoire[0] != L'\0') {
        struct stat stInfo;
        if (CDiskFile::Unix_stat(szRepertoire, &stInfo) != 0 || !S_ISDIR(stInfo.st_mode)) {
            pclThis->RaiseError(&gstMyModuleInfo8, nErreur, szRepertoire);
            return false;
        }
    }

    CCallback clAppel;
    if (pszProcedure != nullptr) {
        if (!clAppel.bInit(pszProcedure, pst->piVM, pst->pclErreur)) {
            pclThis->RaiseError(&gstMyModuleInfo8, nErreur, pszChemin);
            return false;
        }
        pst->pclCallback = &clAppel;
    }

    const bool bRecursif = (pst->dwOption & kOptionNonRecursif) == 0;
    if (pszProcedure == nullptr && eListe == EListe::Fichiers &&
        (pst->dwOption & (kOptionFichiersCaches | kOptionFormatComplet)) != 0) {
        _bFormatCompletRepertoire(pst, szRepertoire, szMotif);
    } else if (eListe == EListe::Fichiers) {
        CDiskFile::bDoOnFileTree(szRepertoire, szMotif, cbListeFichierW, pst, 1, bRecursif);
    } else {
        CDiskFile::bDoOnDirectoryTree(szRepertoire, szMotif, cbListeRepertoireW, pst, 1, bRecursif);
    }
    pst->pclCallback = nullptr;
    pst->pszRepertoire = L"";
    if (pst->bEchecMemoire) {
        pclThis->pclGetError()->SetErrorNoMemory();
        return false;
    }
    if (pst->bEchecAppel) {
        pclThis->RaiseError(&gstMyModuleInfo8, nErreur, pszChemin);
        return false;
    }
    return true;
}

// The text form: the entries joined, or the null value when the listing failed.
static CXYString<wchar_t> clListeTexte(CComposanteStandard* pclThis, const STManipAUB* pstChemin, int nOption,
                                       EListe eListe) {
    _stCtxListeFichier stCtx;
    stCtx.dwOption = static_cast<unsigned int>(nOption);
    CXYString<wchar_t> clTampon;
    const wchar_t* pszChemin = pszCheminListe(pstChemin, &clTampon, &stCtx.dwOption);
    if (!_bListe(pclThis, pszChemin, nullptr, &stCtx, eListe)) return CXYString<wchar_t>();
    return stCtx.clResultat;
}

// The procedure form: the number of entries handed to the procedure, -1 when the listing failed.
static int nListeProcedure(CComposanteStandard* pclThis, const STManipAUB* pstChemin, const wchar_t* pszProcedure,
                           long nPointeur, int nOption, EListe eListe) {
    _stCtxListeFichier stCtx;
    stCtx.dwOption = static_cast<unsigned int>(nOption);
    stCtx.nPointeur = nPointeur;
    CXYString<wchar_t> clTampon;
    const wchar_t* pszChemin = pszCheminListe(pstChemin, &clTampon, &stCtx.dwOption);
    if (!_bListe(pclThis, pszChemin, pszProcedure != nullptr ? pszProcedure : L"", &stCtx, eListe)) return -1;
    return stCtx.nTrouve;
}

CXYString<wchar_t> CComposanteStandard::fListeFichier(const STManipAUB* pstChemin, int nOption) {
    return clListeTexte(this, pstChemin, nOption, EListe::Fichiers);
}

int CComposanteStandard::fListeFichier(const STManipAUB* pstChemin, const wchar_t* pszProcedure, long nPointeur,
                                       int nOption) {
    return nListeProcedure(this, pstChemin, pszProcedure, nPointeur, nOption, EListe::Fichiers);
}

CXYString<wchar_t> CComposanteStandard::fListeRepertoire(const STManipAUB* pstChemin, int nOption) {
    return clListeTexte(this, pstChemin, nOption, EListe::Repertoires);
}

int CComposanteStandard::fListeRepertoire(const STManipAUB* pstChemin, const wchar_t* pszProcedure, long nPointeur,
                                          int nOption) {
    return nListeProcedure(this, pstChemin, pszProcedure, nPointeur, nOption, EListe::Repertoires);
}
