// CXError: levels, messages, system errors, info items, sub-errors and copies.
#include "base/error.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <netdb.h>
#include <new>
#include <search.h>

#include "base/internal/utf.h"
#include "base/resources.h"
#include "base/tstring.h"
#include "base/wide_printf.h"

unsigned int COVUnknown::dwRelease() noexcept {
    const int32_t nRestant = m_nRef.fetch_sub(1) - 1;
    if (nRestant <= 0) {
        delete this;
        return 0;
    }
    return static_cast<unsigned int>(nRestant);
}

namespace {

// The wide form of a module's narrow text (its file name or its version). Every raise names its
// module, and modules describe themselves with the same few texts, so each thread keeps the last
// ones it converted, checked by content as well as address.
class CTextesModule {
public:
    // Null when memory fails; valid until the next call on this thread.
    const wchar_t* pszWide(const char* pszNarrow) noexcept {
        if (pszNarrow == nullptr) return nullptr;
        for (STEntree& st : m_tab)
            if (st.pszSource == pszNarrow && st.pszWide != nullptr && std::strcmp(st.pszCopie, pszNarrow) == 0)
                return st.pszWide;
        STEntree& st = m_tab[m_nProchaine];
        m_nProchaine = (m_nProchaine + 1) % NB_ENTREES;
        st.Libere();
        st.pszCopie = strdup(pszNarrow);
        st.pszWide = base_internal::pszUtf8VersWideAlloue(pszNarrow, base_internal::LONGUEUR_JUSQUA_ZERO);
        if (st.pszCopie == nullptr || st.pszWide == nullptr) {
            st.Libere();
            return nullptr;
        }
        st.pszSource = pszNarrow;
        return st.pszWide;
    }
    ~CTextesModule() {
        for (STEntree& st : m_tab) st.Libere();
    }

private:
    static constexpr int NB_ENTREES = 4;
    struct STEntree {
        const char* pszSource = nullptr;
        char* pszCopie = nullptr;
        wchar_t* pszWide = nullptr;
        void Libere() noexcept {
            free(pszCopie);
            free(pszWide);
            pszSource = nullptr;
            pszCopie = nullptr;
            pszWide = nullptr;
        }
    };
    STEntree m_tab[NB_ENTREES];
    int m_nProchaine = 0;
};

const wchar_t* pszTexteModule(const char* pszNarrow) noexcept {
    thread_local CTextesModule tl_cl;
    return tl_cl.pszWide(pszNarrow);
}

// How an info type stores its value and how it dumps.
enum class EGenreInfo : uint8_t { Ignore, Texte, Nombre64, Nombre32, Objet, Pointeur };

struct STGenreInfo {
    EGenreInfo eGenre;
    const wchar_t* pszFormat;
};

constexpr STGenreInfo gastGenreInfo[] = {
    {EGenreInfo::Ignore, nullptr},
    {EGenreInfo::Texte, L"EIT_SRCFILE : <%s>"},
    {EGenreInfo::Texte, L"EIT_DSTFILE : <%s>"},
    {EGenreInfo::Texte, L"EIT_USERNAME : <%s>"},
    {EGenreInfo::Texte, L"EIT_HELPFILE : <%s>"},
    {EGenreInfo::Texte, L"EIT_PATHOVD : <%s>"},
    {EGenreInfo::Texte, L"EIT_LOGICALTABLENAME : <%s>"},
    {EGenreInfo::Texte, L"EIT_ITEMNAME : <%s>"},
    {EGenreInfo::Texte, L"EIT_PATHFIC : <%s>"},
    {EGenreInfo::Texte, L"EIT_PATHNDX : <%s>"},
    {EGenreInfo::Texte, L"EIT_PATHMMO : <%s>"},
    {EGenreInfo::Texte, L"EIT_LINKNAME : <%s>"},
    {EGenreInfo::Nombre64, L"EIT_RECNUM : <%lld>"},
    {EGenreInfo::Texte, L"EIT_ODBCCODE : <%s>"},
    {EGenreInfo::Texte, L"EIT_ODBCDESCRIPTION : <%s>"},
    {EGenreInfo::Nombre32, L"EIT_BASECODE : <%d>"},
    {EGenreInfo::Nombre32, L"EIT_NATIVECODE : <%d>"},
    {EGenreInfo::Nombre32, L"EIT_ADOCODE : <%d>"},
    {EGenreInfo::Texte, L"EIT_BASEMESSAGE : <%s>"},
    {EGenreInfo::Texte, L"EIT_NATIVEMESSAGE : <%s>"},
    {EGenreInfo::Texte, L"EIT_ADOMESSAGE : <%s>"},
    {EGenreInfo::Objet, L"EIT_DATAACCESS : <%p>"},
    {EGenreInfo::Texte, L"EIT_INFOCLIENT : <%s>"},
    {EGenreInfo::Texte, L"EIT_INFOSERVEUR : <%s>"},
    {EGenreInfo::Texte, L"EIT_PILEZK :\r\n%s"},
    {EGenreInfo::Texte, L"EIT_DATEHEURE : %s"},
    {EGenreInfo::Texte, L"EIT_LOCKINFO : %s"},
    {EGenreInfo::Texte, L"EIT_CORRIGE_ETAT : %s"},
    {EGenreInfo::Texte, L"EIT_INFOCS : <%s>"},
    {EGenreInfo::Pointeur, nullptr},
    {EGenreInfo::Nombre32, L"EIT_XINFO : <%d>"},
    {EGenreInfo::Texte, L"EIT_COMPOSANT :\r\n%s"},
    {EGenreInfo::Texte, L"EIT_SERVEURCS : <%s>"},
    {EGenreInfo::Texte, L"EIT_PILEC :\r\n%s"},
    {EGenreInfo::Ignore, nullptr},
    {EGenreInfo::Ignore, nullptr},
    {EGenreInfo::Nombre64, L"EIT_HLOCKTIME : <%lld>"},
    {EGenreInfo::Nombre32, L"EIT_HCNXID : <%d>"},
    {EGenreInfo::Objet, L"EIT_EXCEPTIONDOTNET"},
    {EGenreInfo::Texte, L"EIT_POSITION_ERREUR : <%s>"},
};
static_assert(sizeof(gastGenreInfo) / sizeof(gastGenreInfo[0]) == 40);

const STGenreInfo& stGenre(int eType) noexcept {
    if (eType < 0 || eType >= 40) return gastGenreInfo[0];
    return gastGenreInfo[eType];
}

// What AddInfo expects for a stored value: the text, the object or pointer, or the number's address.
const void* pvPourAjout(const CXError::_stERRORINFO& stInfo) noexcept {
    switch (stGenre(stInfo.eType).eGenre) {
        case EGenreInfo::Texte: return stInfo.stValeur.psz;
        case EGenreInfo::Nombre64: return &stInfo.stValeur.n64;
        case EGenreInfo::Nombre32: return &stInfo.stValeur.n32;
        case EGenreInfo::Objet:
        case EGenreInfo::Pointeur: return stInfo.stValeur.pv;
        case EGenreInfo::Ignore: break;
    }
    return nullptr;
}

bool bDansTexte(const wchar_t* pszTexte, const wchar_t* pszBuffer, size_t nLongueur) noexcept {
    return pszBuffer != nullptr && pszTexte >= pszBuffer && pszTexte <= pszBuffer + nLongueur;
}

constexpr const wchar_t* DEBUG_ERREUR_INCONNUE =
    L"##(CXError)-Pas de definition d'erreur dans gstErrorDef pour l'identifiant <%u>##";
constexpr const wchar_t* DEBUG_RESSOURCE_NON_CHARGEE = L"##(CXError)-Ressource <%u> non chargée##";
constexpr const wchar_t* DEBUG_RESSOURCE_VIDE = L"##(CXError)-Ressource <%u> vide. LastError = <%u>##";
constexpr const wchar_t* DEBUG_MEMOIRE = L"##MemoryException##";

}  // namespace

// ---- construction ---------------------------------------------------------------------------

CXError::CXError(const _stMyModuleInfo* pstModule) noexcept
    : m_nLibraryNumber(pstModule != nullptr ? pstModule->nNumeroBibliotheque : 0), m_pstModule(pstModule) {}

CXError::CXError(const _stMyModuleInfo* pstModule, int nNumero, va_list pArguments) noexcept : CXError(pstModule) {
    SetUserErrorList(pstModule, nNumero, pArguments);
}

CXError::CXError(const _stMyModuleInfo* pstModule, const CXError* pclErreur, int nLight) noexcept
    : CXError(pstModule) {
    if (pclErreur != nullptr && !_bCopieDepuis(*pclErreur, nLight != 0)) SetErrorNoMemory();
}

CXError::CXError(int nNumeroBibliotheque, const CXError* pclErreur, int nLight) noexcept {
    m_nLibraryNumber = nNumeroBibliotheque;
    if (pclErreur != nullptr) {
        m_pstModule = pclErreur->m_pstModule;
        if (!_bCopieDepuis(*pclErreur, nLight != 0)) SetErrorNoMemory();
    }
}

CXError::CXError(const CXError& clAutre) noexcept
    : COVUnknown(clAutre), m_nLibraryNumber(clAutre.m_nLibraryNumber), m_pstModule(clAutre.m_pstModule) {
    if (!_bCopieDepuis(clAutre, false)) SetErrorNoMemory();
}

CXError& CXError::operator=(const CXError& clAutre) noexcept {
    vCopy(&clAutre);
    return *this;
}

CXError::~CXError() { __RAZALL(); }

// ---- string slots ---------------------------------------------------------------------------

wchar_t* CXError::__vpszAllocString(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept {
    if (ppszCible == nullptr) return nullptr;
    if (pszTexte == nullptr) {
        __vDeleteString(ppszCible);
        return nullptr;
    }
    wchar_t* pszCopie = base_internal::pszDupliqueWide(pszTexte);
    if (pszCopie == nullptr) return nullptr;
    free(*ppszCible);  // after the copy: the text may have been the old string itself
    *ppszCible = pszCopie;
    return pszCopie;
}

wchar_t* CXError::__vpszReallocString(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept {
    if (ppszCible == nullptr) return nullptr;
    if (pszTexte == nullptr) {
        __vDeleteString(ppszCible);
        return nullptr;
    }
    const size_t nLongueur = wcslen(pszTexte);
    if (*ppszCible != nullptr && bDansTexte(pszTexte, *ppszCible, wcslen(*ppszCible))) {
        wmemmove(*ppszCible, pszTexte, nLongueur + 1);
        if (void* pPlusPetit = realloc(*ppszCible, (nLongueur + 1) * sizeof(wchar_t)))
            *ppszCible = static_cast<wchar_t*>(pPlusPetit);
        return *ppszCible;
    }
    void* pNouveau = realloc(*ppszCible, (nLongueur + 1) * sizeof(wchar_t));
    if (pNouveau == nullptr) return nullptr;
    *ppszCible = static_cast<wchar_t*>(pNouveau);
    wmemcpy(*ppszCible, pszTexte, nLongueur + 1);
    return *ppszCible;
}

wchar_t* CXError::__vpszReallocString(wchar_t** ppszCible, unsigned long nCaracteres) noexcept {
    if (ppszCible == nullptr || nCaracteres >= SIZE_MAX / sizeof(wchar_t) - 1) return nullptr;
    const bool bNouveau = *ppszCible == nullptr;
    void* pNouveau = realloc(*ppszCible, (nCaracteres + 1) * sizeof(wchar_t));
    if (pNouveau == nullptr) return nullptr;
    *ppszCible = static_cast<wchar_t*>(pNouveau);
    if (bNouveau) (*ppszCible)[0] = 0;
    (*ppszCible)[nCaracteres] = 0;
    return *ppszCible;
}

wchar_t* CXError::__vpszConcatString(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept {
    if (ppszCible == nullptr) return nullptr;
    if (pszTexte == nullptr) return *ppszCible;
    if (*ppszCible == nullptr) return __vpszAllocString(ppszCible, pszTexte);
    const size_t nAncienne = wcslen(*ppszCible);
    const size_t nAjout = wcslen(pszTexte);
    const bool bInterne = bDansTexte(pszTexte, *ppszCible, nAncienne);
    const size_t nDecalage = bInterne ? static_cast<size_t>(pszTexte - *ppszCible) : 0;
    if (__vpszReallocString(ppszCible, static_cast<unsigned long>(nAncienne + nAjout)) == nullptr) return nullptr;
    if (bInterne) pszTexte = *ppszCible + nDecalage;
    wmemmove(*ppszCible + nAncienne, pszTexte, nAjout);
    (*ppszCible)[nAncienne + nAjout] = 0;
    return *ppszCible;
}

void CXError::__vDeleteString(wchar_t** ppszCible) noexcept {
    if (ppszCible == nullptr) return;
    free(*ppszCible);
    *ppszCible = nullptr;
}

bool CXError::_bCopieTexte(wchar_t** ppszCible, const wchar_t* pszSource) noexcept {
    if (pszSource == nullptr) {
        __vDeleteString(ppszCible);
        return true;
    }
    return __vpszAllocString(ppszCible, pszSource) != nullptr;
}

// ---- joining texts --------------------------------------------------------------------------

bool CXError::__AddFirst(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept {
    if (ppszCible == nullptr) return false;
    if (pszTexte == nullptr || pszTexte[0] == 0) return true;
    if (*ppszCible == nullptr || (*ppszCible)[0] == 0) return __vpszAllocString(ppszCible, pszTexte) != nullptr;
    const size_t nAncienne = wcslen(*ppszCible);
    const size_t nAjout = wcslen(pszTexte);
    const bool bInterne = bDansTexte(pszTexte, *ppszCible, nAncienne);
    const size_t nDecalage = bInterne ? static_cast<size_t>(pszTexte - *ppszCible) : 0;
    if (__vpszReallocString(ppszCible, static_cast<unsigned long>(nAncienne + nAjout + 2)) == nullptr) return false;
    wchar_t* pszCible = *ppszCible;
    wmemmove(pszCible + nAjout + 2, pszCible, nAncienne + 1);
    // A text taken from the old content has moved up with it.
    if (bInterne) pszTexte = pszCible + nAjout + 2 + nDecalage;
    wmemmove(pszCible, pszTexte, nAjout);
    pszCible[nAjout] = L'\r';
    pszCible[nAjout + 1] = L'\n';
    return true;
}

bool CXError::_bJoint(wchar_t** ppszCible, const wchar_t* pszTexte, bool bDevant) noexcept {
    if (pszTexte == nullptr || pszTexte[0] == 0) return true;
    if (bDevant) return __AddFirst(ppszCible, pszTexte);
    if (*ppszCible == nullptr || (*ppszCible)[0] == 0) return __vpszAllocString(ppszCible, pszTexte) != nullptr;
    const size_t nAncienne = wcslen(*ppszCible);
    const size_t nAjout = wcslen(pszTexte);
    const bool bInterne = bDansTexte(pszTexte, *ppszCible, nAncienne);
    const size_t nDecalage = bInterne ? static_cast<size_t>(pszTexte - *ppszCible) : 0;
    if (__vpszReallocString(ppszCible, static_cast<unsigned long>(nAncienne + nAjout + 2)) == nullptr) return false;
    wchar_t* pszCible = *ppszCible;
    if (bInterne) pszTexte = pszCible + nDecalage;
    wmemmove(pszCible + nAncienne + 2, pszTexte, nAjout);
    pszCible[nAncienne] = L'\r';
    pszCible[nAncienne + 1] = L'\n';
    pszCible[nAncienne + 2 + nAjout] = 0;
    return true;
}

// ---- raising --------------------------------------------------------------------------------

int CXError::__nErrorDefCompare(const void* pKey, const void* pRow) noexcept {
    return static_cast<int>(static_cast<const _stErrorDef*>(pKey)->dwNumero -
                            static_cast<const _stErrorDef*>(pRow)->dwNumero);
}

const _stErrorDef* CXError::s_pstChercheErreur(const _stMyModuleInfo* pstModule, int nNumero) noexcept {
    if (pstModule == nullptr || pstModule->pstErrorDef == nullptr || pstModule->nNbErrorDef <= 0) return nullptr;
    _stErrorDef stCle{static_cast<uint32_t>(nNumero), 0, 0, 0};
    size_t nNombre = static_cast<size_t>(pstModule->nNbErrorDef);
    return static_cast<const _stErrorDef*>(
        lfind(&stCle, pstModule->pstErrorDef, &nNombre, sizeof(_stErrorDef), __nErrorDefCompare));
}

unsigned int CXError::nGetRessourceIdFromUserErrorCode(const _stMyModuleInfo* pstModule, int nNumero) noexcept {
    const _stErrorDef* pstLigne = s_pstChercheErreur(pstModule, nNumero);
    return pstLigne != nullptr ? pstLigne->dwRessource : 0;
}

void CXError::SetUserError(const _stMyModuleInfo* pstModule, int nNumero, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nNumero);
    SetUserErrorList(pstModule, nNumero, pArguments);
    va_end(pArguments);
}

void CXError::SetUserErrorList(const _stMyModuleInfo* pstModule, int nNumero, va_list pArguments) noexcept {
    RAZ();
    ChangeUserErrorList(pstModule, nNumero, pArguments);
}

void CXError::ChangeUserError(const _stMyModuleInfo* pstModule, int nNumero, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nNumero);
    ChangeUserErrorList(pstModule, nNumero, pArguments);
    va_end(pArguments);
}

void CXError::ChangeUserErrorList(const _stMyModuleInfo* pstModule, int nNumero, va_list pArguments) noexcept {
    // A clean object takes the module's identity; an error being changed keeps the one it has.
    InitModInfo(pstModule, m_eLevel == EL_NOERROR);
    const _stErrorDef* pstLigne = s_pstChercheErreur(pstModule, nNumero);
    if (pstLigne == nullptr) {
        m_eLevel = EL_ERROR3;
        AddDebugMessagePrintf(DEBUG_ERREUR_INCONNUE, static_cast<unsigned int>(nNumero));
        return;
    }
    m_nUserErrorCode = nNumero;
    __AddUserMessageListFirst(pstModule, pstLigne->dwRessource, pArguments);
    m_nDetailId = static_cast<int32_t>(pstLigne->dwDetail);
    m_eLevel = static_cast<eERRORLEVEL>(pstLigne->dwNiveau);
}

void CXError::SetUserErrorMessage(const _stMyModuleInfo* pstModule, int nNumero, const wchar_t* pszTexte) noexcept {
    RAZ();
    InitModInfo(pstModule, true);
    const _stErrorDef* pstLigne = s_pstChercheErreur(pstModule, nNumero);
    _bJoint(&m_pszUserMessage, pszTexte, true);
    if (pstLigne == nullptr) {
        m_eLevel = EL_ERROR3;
        AddDebugMessagePrintf(DEBUG_ERREUR_INCONNUE, static_cast<unsigned int>(nNumero));
        return;
    }
    m_nUserErrorCode = nNumero;
    m_nDetailId = static_cast<int32_t>(pstLigne->dwDetail);
    m_eLevel = static_cast<eERRORLEVEL>(pstLigne->dwNiveau);
}

void CXError::_SetUserErrorFormat(const _stMyModuleInfo* pstModule, const wchar_t* pszFormat, int nNumero,
                                  ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nNumero);
    wchar_t* pszTexte = nullptr;
    vaswprintfWin(&pszTexte, pszFormat, pArguments);
    va_end(pArguments);
    SetUserErrorMessage(pstModule, nNumero, pszTexte);
    free(pszTexte);
}

// ---- messages -------------------------------------------------------------------------------

bool CXError::_bAjouteMessageRessource(const _stMyModuleInfo* pstModule, unsigned int nIdRessource,
                                       va_list pArguments, wchar_t** ppszCible, bool bDevant) noexcept {
    CTString clTexte;
    if (!DLLRES_bFormatMessageList(pstModule, nIdRessource, &clTexte, pArguments)) {
        AddDebugMessagePrintf(DEBUG_RESSOURCE_NON_CHARGEE, nIdRessource);
        return false;
    }
    if (clTexte.bEstVide()) {
        AddDebugMessagePrintf(DEBUG_RESSOURCE_VIDE, nIdRessource, static_cast<unsigned int>(errno));
        return true;
    }
    return _bJoint(ppszCible, clTexte.pszGet(), bDevant);
}

bool CXError::__AddUserMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource,
                                   va_list pArguments) noexcept {
    InitModInfo(pstModule, false);
    m_tabErrorId.Ajoute(nIdRessource);
    return _bAjouteMessageRessource(pstModule, nIdRessource, pArguments, &m_pszUserMessage, false);
}

bool CXError::__AddUserMessageListFirst(const _stMyModuleInfo* pstModule, unsigned int nIdRessource,
                                        va_list pArguments) noexcept {
    InitModInfo(pstModule, false);
    m_tabErrorId.Ajoute(nIdRessource);
    return _bAjouteMessageRessource(pstModule, nIdRessource, pArguments, &m_pszUserMessage, true);
}

bool CXError::AddUserMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nIdRessource);
    const bool bResultat = __AddUserMessageList(pstModule, nIdRessource, pArguments);
    va_end(pArguments);
    return bResultat;
}

bool CXError::AddUserMessageFirst(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nIdRessource);
    const bool bResultat = __AddUserMessageListFirst(pstModule, nIdRessource, pArguments);
    va_end(pArguments);
    return bResultat;
}

bool CXError::AddUserMessageNoFormat(const wchar_t* pszTexte) noexcept {
    return _bJoint(&m_pszUserMessage, pszTexte, false);
}

bool CXError::AddDebugMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nIdRessource);
    const bool bResultat = _bAjouteMessageRessource(pstModule, nIdRessource, pArguments, &m_pszDebugMessage, false);
    va_end(pArguments);
    return bResultat;
}

bool CXError::AddDebugMessagePrintf(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    wchar_t* pszTexte = nullptr;
    const int nLongueur = vaswprintfWin(&pszTexte, pszFormat, pArguments);
    va_end(pArguments);
    if (nLongueur < 0) return false;
    const bool bResultat = _bJoint(&m_pszDebugMessage, pszTexte, false);
    free(pszTexte);
    return bResultat;
}

bool CXError::AddDebugMessageNoFormat(const wchar_t* pszTexte) noexcept {
    return _bJoint(&m_pszDebugMessage, pszTexte, false);
}

bool CXError::AddDebugMessageFirst(const wchar_t* pszTexte) noexcept {
    return _bJoint(&m_pszDebugMessage, pszTexte, true);
}

void CXError::RAZUserMessage() noexcept { __vDeleteString(&m_pszUserMessage); }

// ---- system errors --------------------------------------------------------------------------

void CXError::_SetSystemMessageDepuisErrno(int nErreur) noexcept {
    const int nErrnoAppelant = errno;
    char szNarrow[512];
    const char* pszNarrow = strerror_r(nErreur, szNarrow, sizeof szNarrow);
    // Most texts fit the stack buffer of 1024 bytes; longer ones go to the heap.
    wchar_t szWide[1024 / sizeof(wchar_t)];
    const size_t nLongueur = base_internal::nUtf8VersWide(pszNarrow, base_internal::LONGUEUR_JUSQUA_ZERO, szWide,
                                                          sizeof szWide / sizeof szWide[0]);
    if (nLongueur < sizeof szWide / sizeof szWide[0]) {
        szWide[nLongueur] = 0;
        __vpszAllocString(&m_pszSystemMessage, szWide);
    } else if (wchar_t* pszWide = base_internal::pszUtf8VersWideAlloue(pszNarrow, base_internal::LONGUEUR_JUSQUA_ZERO)) {
        __vpszAllocString(&m_pszSystemMessage, pszWide);
        free(pszWide);
    }
    errno = nErrnoAppelant;
}

void CXError::__SetSystemError(unsigned int dwCode, va_list) noexcept {
    m_dwSystemErrorCode = dwCode;
    if (dwCode == 0) {
        __vDeleteString(&m_pszSystemMessage);
        return;
    }
    int nErreur = errno;
    // Values that some emulated calls leave in errno for a lack of resources; they read as EAGAIN.
    if (nErreur == -0x7ffffffe || nErreur == INT_MIN || nErreur == -0x7fffffff) nErreur = EAGAIN;
    _SetSystemMessageDepuisErrno(nErreur);
}

void CXError::SetSystemErrorParam(unsigned int dwCode, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, dwCode);
    __SetSystemError(dwCode, pArguments);
    va_end(pArguments);
}

void CXError::SetSystemError(unsigned int dwCode, const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) {
        SetSystemErrorParam(dwCode);
        return;
    }
    m_dwSystemErrorCode = dwCode;
    __vpszAllocString(&m_pszSystemMessage, pszTexte);
}

void CXError::SetSystemErrorMessage(const wchar_t* pszTexte) noexcept { SetSystemErrorMessage(0u, pszTexte); }

void CXError::SetSystemErrorMessage(unsigned int dwCode, const wchar_t* pszTexte) noexcept {
    m_dwSystemErrorCode = dwCode;
    _bCopieTexte(&m_pszSystemMessage, pszTexte);
}

void CXError::SetSystemErrorMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nIdRessource);
    CTString clTexte;
    const bool bCharge = DLLRES_bFormatMessageList(pstModule, nIdRessource, &clTexte, pArguments);
    va_end(pArguments);
    if (!bCharge) {
        AddDebugMessagePrintf(DEBUG_RESSOURCE_NON_CHARGEE, nIdRessource);
        return;
    }
    SetSystemErrorMessage(0u, clTexte.bEstVide() ? nullptr : clTexte.pszGet());
}

void CXError::SetSystemErrorMessagePrintf(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    wchar_t* pszTexte = nullptr;
    const int nLongueur = vaswprintfWin(&pszTexte, pszFormat, pArguments);
    va_end(pArguments);
    if (nLongueur >= 0) SetSystemErrorMessage(0u, pszTexte);
    free(pszTexte);
}

void CXError::SetSystemErrorMessageA(const char* pszTexte) noexcept {
    if (pszTexte == nullptr) {
        SetSystemErrorMessage(0u, nullptr);
        return;
    }
    wchar_t* pszWide = base_internal::pszUtf8VersWideAlloue(pszTexte, base_internal::LONGUEUR_JUSQUA_ZERO);
    if (pszWide != nullptr) SetSystemErrorMessage(0u, pszWide);
    free(pszWide);
}

void CXError::SetSystemErrorForGetHostBy(unsigned int dwCode) noexcept {
    m_dwSystemErrorCode = dwCode;
    if (dwCode == 0) {
        __vDeleteString(&m_pszSystemMessage);
        return;
    }
    const char* pszNarrow = hstrerror(h_errno);
    wchar_t* pszWide = base_internal::pszUtf8VersWideAlloue(pszNarrow, base_internal::LONGUEUR_JUSQUA_ZERO);
    if (pszWide != nullptr) __vpszAllocString(&m_pszSystemMessage, pszWide);
    free(pszWide);
}

void CXError::SetErrorNoMemory() noexcept {
    RAZ();
    if (m_pstModule != nullptr) SetUserError(m_pstModule, ms_nNumeroErreurMemoire);
    if (m_eLevel == EL_NOERROR) m_eLevel = EL_ERROR3;
    AddDebugMessageNoFormat(DEBUG_MEMOIRE);
    m_dwSystemErrorCode = ENOMEM;
    _SetSystemMessageDepuisErrno(ENOMEM);
}

// ---- state ----------------------------------------------------------------------------------

void CXError::SetErrorLevel(int nNiveau) noexcept {
    if (nNiveau == EL_NOERROR) {
        if (m_eLevel != EL_NOERROR) RAZ();
        return;
    }
    m_eLevel = static_cast<eERRORLEVEL>(nNiveau);
}

void CXError::SetVMContext(const wchar_t* pszTraitement, const wchar_t* pszObjet, uint16_t wLigne,
                           uint16_t wThread) noexcept {
    const bool bTraitement = _bCopieTexte(&m_pszTraitmentCaption, pszTraitement);
    const bool bObjet = _bCopieTexte(&m_pszObjectName, pszObjet);
    if (bTraitement && bObjet) {
        m_wTraitmentLine = wLigne;
        m_wTraitmentThread = wThread;
    }
}

void CXError::SetFunctionName(const wchar_t* pszNom, int nSyntaxe) noexcept {
    _bCopieTexte(&m_pszFunctionName, pszNom);
    m_bySyntax = static_cast<uint8_t>(nSyntaxe);
}

void CXError::InitModInfo(const _stMyModuleInfo* pstModule, bool bForce) noexcept {
    if (pstModule == nullptr) return;
    if (bForce || m_pszModName == nullptr) _bCopieTexte(&m_pszModName, pszTexteModule(pstModule->pszNomFichier));
    if (bForce || m_pszModVersion == nullptr) _bCopieTexte(&m_pszModVersion, pszTexteModule(pstModule->pszVersion));
}

void CXError::InitModName(const wchar_t* pszNom) noexcept { _bCopieTexte(&m_pszModName, pszNom); }

void CXError::InitModVersion(const wchar_t* pszVersion) noexcept { _bCopieTexte(&m_pszModVersion, pszVersion); }

unsigned int CXError::nGetErrorId(int nPosition) const noexcept {
    const unsigned int* pnId = m_tabErrorId.pGetAt(nPosition);
    return pnId != nullptr ? *pnId : 0;
}

void CXError::RAZ() noexcept {
    m_eLevel = EL_NOERROR;
    m_nUserErrorCode = 0;
    __vDeleteString(&m_pszUserMessage);
    __vDeleteString(&m_pszDebugMessage);
    __vDeleteString(&m_pszFunctionName);
    m_bySyntax = 0;
    __vDeleteString(&m_pszModName);
    __vDeleteString(&m_pszModVersion);
    m_nDetailId = 0;
    m_tabErrorId.SupprimeTout();
    for (int i = 0; i < m_tabInfo.nGetNbElement(); ++i) _LibereInfo(m_tabInfo[i]);
    m_tabInfo.SupprimeTout();
    m_dwSystemErrorCode = 0;
    __vDeleteString(&m_pszSystemMessage);
    __vDeleteString(&m_pszTraitmentCaption);
    __vDeleteString(&m_pszObjectName);
    m_wTraitmentLine = 0;
    m_wTraitmentThread = 0;
    __DeleteAllSubError();
    m_nUserErrorCode55 = 0;
}

void CXError::__RAZALL() noexcept {
    RAZ();
    m_tabErrorId.SupprimeToutEtLibere();
    m_tabInfo.SupprimeToutEtLibere();
    m_nLibraryNumber = 0;
}

// ---- info items -----------------------------------------------------------------------------

void CXError::_LibereInfo(_stERRORINFO& stInfo) noexcept {
    switch (stGenre(stInfo.eType).eGenre) {
        case EGenreInfo::Texte: {
            wchar_t* pszTexte = const_cast<wchar_t*>(stInfo.stValeur.psz);
            __vDeleteString(&pszTexte);
            break;
        }
        case EGenreInfo::Objet:
            if (stInfo.stValeur.pcl != nullptr) stInfo.stValeur.pcl->dwRelease();
            break;
        default: break;
    }
    stInfo.stValeur.n64 = 0;
}

bool CXError::AddInfo(eERRORINFOTYPE eType, const void* pValeur) noexcept {
    const EGenreInfo eGenre = stGenre(eType).eGenre;
    if (eGenre == EGenreInfo::Ignore || pValeur == nullptr) return false;
    _stERRORINFO stNouveau{eType, {}};
    switch (eGenre) {
        case EGenreInfo::Texte: {
            wchar_t* pszCopie = nullptr;
            if (__vpszAllocString(&pszCopie, static_cast<const wchar_t*>(pValeur)) == nullptr) return false;
            stNouveau.stValeur.psz = pszCopie;
            break;
        }
        case EGenreInfo::Nombre64: memcpy(&stNouveau.stValeur.n64, pValeur, sizeof(int64_t)); break;
        case EGenreInfo::Nombre32: memcpy(&stNouveau.stValeur.n32, pValeur, sizeof(int32_t)); break;
        case EGenreInfo::Objet:
            // The new reference is taken before the old one is dropped, so that giving the same
            // object again can't delete it on the way.
            stNouveau.stValeur.pcl = static_cast<COVUnknown*>(const_cast<void*>(pValeur));
            stNouveau.stValeur.pcl->dwAddRef();
            break;
        case EGenreInfo::Pointeur: stNouveau.stValeur.pv = const_cast<void*>(pValeur); break;
        case EGenreInfo::Ignore: return false;
    }
    for (int i = 0; i < m_tabInfo.nGetNbElement(); ++i) {
        if (m_tabInfo[i].eType == eType) {
            _LibereInfo(m_tabInfo[i]);
            m_tabInfo[i] = stNouveau;
            return true;
        }
    }
    if (!m_tabInfo.Ajoute(stNouveau)) {
        _LibereInfo(stNouveau);
        return false;
    }
    return true;
}

bool CXError::bGetInfo(eERRORINFOTYPE eType, STErrorInfoValue* pstValeur) const noexcept {
    for (int i = 0; i < m_tabInfo.nGetNbElement(); ++i) {
        if (m_tabInfo[i].eType == eType) {
            if (pstValeur != nullptr) *pstValeur = m_tabInfo[i].stValeur;
            return true;
        }
    }
    return false;
}

bool CXError::GetInfo(int nPosition, eERRORINFOTYPE* peType, STErrorInfoValue* pstValeur) const noexcept {
    const _stERRORINFO* pstInfo = m_tabInfo.pGetAt(nPosition);
    if (pstInfo == nullptr) return false;
    if (peType != nullptr) *peType = pstInfo->eType;
    if (pstValeur != nullptr) *pstValeur = pstInfo->stValeur;
    return true;
}

bool CXError::bHasInfo(eERRORINFOTYPE eType) const noexcept { return bGetInfo(eType, nullptr); }

void CXError::DeleteInfo(eERRORINFOTYPE eType) noexcept {
    for (int i = m_tabInfo.nGetNbElement() - 1; i >= 0; --i) {
        if (m_tabInfo[i].eType == eType) {
            _LibereInfo(m_tabInfo[i]);
            m_tabInfo.Supprime(i);
        }
    }
}

bool CXError::DumpInfo(eERRORINFOTYPE eType, const STErrorInfoValue& stValeur, CTString* pclSortie,
                       bool bForce) noexcept {
    const STGenreInfo& stGenreInfo = stGenre(eType);
    if (pclSortie == nullptr || stGenreInfo.pszFormat == nullptr) return false;
    switch (stGenreInfo.eGenre) {
        case EGenreInfo::Texte: {
            const wchar_t* pszTexte = stValeur.psz != nullptr ? stValeur.psz : L"";
            if (pszTexte[0] == 0 && !bForce) return false;
            return pclSortie->AddPrintf(stGenreInfo.pszFormat, pszTexte);
        }
        case EGenreInfo::Nombre64: return pclSortie->AddPrintf(stGenreInfo.pszFormat, static_cast<long long>(stValeur.n64));
        case EGenreInfo::Nombre32: return pclSortie->AddPrintf(stGenreInfo.pszFormat, stValeur.n32);
        case EGenreInfo::Objet: return pclSortie->AddPrintf(stGenreInfo.pszFormat, stValeur.pv);
        default: return false;
    }
}

bool CXError::DumpAllInfo(CTString* pclSortie, bool bForce) const noexcept {
    if (pclSortie == nullptr) return false;
    bool bResultat = true;
    for (int i = 0; i < m_tabInfo.nGetNbElement(); ++i) {
        CTString clLigne;
        if (!DumpInfo(m_tabInfo[i].eType, m_tabInfo[i].stValeur, &clLigne, bForce)) continue;
        if (!pclSortie->bEstVide()) bResultat &= pclSortie->Add(L"\r\n");
        bResultat &= pclSortie->Add(clLigne.pszGet());
    }
    return bResultat;
}

void CXError::__SetXInfo(uint32_t dwBits, bool bSet) noexcept {
    STErrorInfoValue stValeur{};
    bGetInfo(EIT_XINFO, &stValeur);
    uint32_t dwMasque = static_cast<uint32_t>(stValeur.n32);
    dwMasque = bSet ? (dwMasque | dwBits) : (dwMasque & ~dwBits);
    const int32_t nMasque = static_cast<int32_t>(dwMasque);
    AddInfo(EIT_XINFO, &nMasque);
}

bool CXError::__bGetXInfo(uint32_t dwBits) const noexcept {
    STErrorInfoValue stValeur{};
    if (dwBits == 0 || !bGetInfo(EIT_XINFO, &stValeur)) return false;
    return (static_cast<uint32_t>(stValeur.n32) & dwBits) == dwBits;
}

// ---- sub-errors -----------------------------------------------------------------------------

bool CXError::__AddSubError(const CXError* pclErreur, int nLight, int nNoUserMessage) noexcept {
    if (pclErreur == nullptr) return false;
    if (m_ptabSubError == nullptr) {
        m_ptabSubError = new (std::nothrow) CTTableau<CXError*>(10, 30);
        if (m_ptabSubError == nullptr) return false;
    }
    CXError* pclCopie = new (std::nothrow) CXError(m_nLibraryNumber, pclErreur, nLight);
    if (pclCopie == nullptr) return false;
    if (!m_ptabSubError->Ajoute(pclCopie)) {
        delete pclCopie;
        return false;
    }
    if (nNoUserMessage == 0) _bJoint(&m_pszUserMessage, pclCopie->m_pszUserMessage, false);
    return true;
}

void CXError::__DeleteAllSubError() noexcept {
    if (m_ptabSubError == nullptr) return;
    for (int i = 0; i < m_ptabSubError->nGetNbElement(); ++i) delete (*m_ptabSubError)[i];
    delete m_ptabSubError;
    m_ptabSubError = nullptr;
}

CXError* CXError::pclGetSubError(int nPosition) const noexcept {
    if (m_ptabSubError == nullptr) return nullptr;
    CXError* const* ppclErreur = m_ptabSubError->pGetAt(nPosition);
    return ppclErreur != nullptr ? *ppclErreur : nullptr;
}

int CXError::nGetNbSubError() const noexcept {
    return m_ptabSubError != nullptr ? m_ptabSubError->nGetNbElement() : 0;
}

// ---- copies ---------------------------------------------------------------------------------

bool CXError::_bCopieDepuis(const CXError& clSource, bool bLight) noexcept {
    RAZ();
    m_eLevel = clSource.m_eLevel;
    m_nUserErrorCode = clSource.m_nUserErrorCode;
    m_bySyntax = clSource.m_bySyntax;
    m_nDetailId = clSource.m_nDetailId;
    m_dwSystemErrorCode = clSource.m_dwSystemErrorCode;
    m_wTraitmentLine = clSource.m_wTraitmentLine;
    m_wTraitmentThread = clSource.m_wTraitmentThread;
    m_nUserErrorCode55 = clSource.m_nUserErrorCode55;
    bool bResultat = _bCopieTexte(&m_pszUserMessage, clSource.m_pszUserMessage);
    bResultat &= _bCopieTexte(&m_pszDebugMessage, clSource.m_pszDebugMessage);
    bResultat &= _bCopieTexte(&m_pszFunctionName, clSource.m_pszFunctionName);
    bResultat &= _bCopieTexte(&m_pszModName, clSource.m_pszModName);
    bResultat &= _bCopieTexte(&m_pszModVersion, clSource.m_pszModVersion);
    bResultat &= _bCopieTexte(&m_pszSystemMessage, clSource.m_pszSystemMessage);
    bResultat &= _bCopieTexte(&m_pszTraitmentCaption, clSource.m_pszTraitmentCaption);
    bResultat &= _bCopieTexte(&m_pszObjectName, clSource.m_pszObjectName);
    bResultat &= m_tabErrorId.bCopie(clSource.m_tabErrorId);
    if (bLight) return bResultat;
    for (int i = 0; i < clSource.m_tabInfo.nGetNbElement(); ++i) {
        const _stERRORINFO& stInfo = clSource.m_tabInfo[i];
        const void* pValeur = pvPourAjout(stInfo);
        if (pValeur != nullptr) bResultat &= AddInfo(stInfo.eType, pValeur);
    }
    // The user message already holds what the sub-errors added to it.
    for (int i = 0; i < clSource.nGetNbSubError(); ++i)
        bResultat &= __AddSubError(clSource.pclGetSubError(i), 0, 1);
    return bResultat;
}

bool CXError::_bContientSousErreur(const CXError* pclErreur) const noexcept {
    for (int i = 0; i < nGetNbSubError(); ++i) {
        const CXError* pclSous = pclGetSubError(i);
        if (pclSous == pclErreur || pclSous->_bContientSousErreur(pclErreur)) return true;
    }
    return false;
}

bool CXError::_bCopieOuTransfere(const CXError* pclSource, bool bLight, bool* pbSourceDetruite) noexcept {
    *pbSourceDetruite = false;
    if (!_bContientSousErreur(pclSource)) return _bCopieDepuis(*pclSource, bLight);
    // The source is one of our own sub-errors, which the copy starts by deleting: copy it aside first.
    *pbSourceDetruite = true;
    const CXError clCopie(m_nLibraryNumber, pclSource, bLight ? 1 : 0);
    return _bCopieDepuis(clCopie, bLight);
}

void CXError::vCopy(const CXError* pclSource) noexcept {
    if (pclSource == this) return;
    if (pclSource == nullptr) {
        RAZ();
        return;
    }
    bool bSourceDetruite;
    if (!_bCopieOuTransfere(pclSource, false, &bSourceDetruite)) SetErrorNoMemory();
}

void CXError::LightCopy(const CXError* pclSource) noexcept {
    if (pclSource == this) return;
    if (pclSource == nullptr) {
        RAZ();
        return;
    }
    bool bSourceDetruite;
    if (!_bCopieOuTransfere(pclSource, true, &bSourceDetruite)) SetErrorNoMemory();
}

void CXError::Transfert(CXError* pclSource) noexcept {
    if (pclSource == this) return;
    if (pclSource == nullptr) {
        RAZ();
        return;
    }
    const int nBibliothequeSource = pclSource->m_nLibraryNumber;
    bool bSourceDetruite;
    if (!_bCopieOuTransfere(pclSource, false, &bSourceDetruite)) {
        // The source keeps its content: nothing of the error is lost for lack of memory here.
        SetErrorNoMemory();
        return;
    }
    if (nBibliothequeSource != m_nLibraryNumber) DeleteInfo(EIT_DATAACCESS);
    if (!bSourceDetruite) pclSource->RAZ();
}
