// Message resources: block index, decoding, provider, load and format functions.
#include "base/resources.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/internal/utf.h"
#include "base/tstring.h"
#include "base/wide_printf.h"

PFNLOADSTRINGOVM gpfnLoadStringOVM = nullptr;
bool gbInitialise = false;

bool DLLRES_bInit() noexcept {
    gbInitialise = true;
    return true;
}

void DLLRES_Term() noexcept { gbInitialise = false; }

namespace {

constexpr size_t TAILLE_ENTETE_RECORD = 7;
constexpr uint8_t FLAG_UTF16 = 0x40;
constexpr uint8_t MASQUE_UTILISATION = 0x03;

// Variants of one message are separated by line feed, section sign, line feed.
constexpr const wchar_t* SEPARATEUR_SINGULIER_PLURIEL = L"\n\u00a7\n";

uint16_t nLit16(const uint8_t* pbyOctets) noexcept {
    return static_cast<uint16_t>(pbyOctets[0] | (pbyOctets[1] << 8));
}

// The module's own record for an id, through its callback.
bool bChercheDansModule(const _stMyModuleInfo* pstModule, unsigned int nIdRessource,
                        STRessourceModule* pstRessource) noexcept {
    if (pstModule == nullptr || pstModule->pfnRessource == nullptr) return false;
    *pstRessource = STRessourceModule{nIdRessource, nullptr, 0, 0, -1};
    return pstModule->pfnRessource(*pstRessource);
}

// Copies a text into a caller's buffer, cut to fit and terminated; answers the characters written.
int nCopieDansBuffer(const CTString& clTexte, wchar_t* pszBuffer, int nTaille) noexcept {
    if (pszBuffer == nullptr || nTaille <= 0) return 0;
    int nLongueur = clTexte.nTaille();
    if (nLongueur > nTaille - 1) nLongueur = nTaille - 1;
    wmemcpy(pszBuffer, clTexte.pszGet(), static_cast<size_t>(nLongueur));
    pszBuffer[nLongueur] = 0;
    return nLongueur;
}

}  // namespace

CResAnsiIndex::CResAnsiIndex(const uint8_t* pbyBlock, size_t nTaille) noexcept
    : m_pbyBlock(pbyBlock), m_tabOffset(512, 64) {
    if (pbyBlock == nullptr) return;
    if (nTaille > UINT32_MAX) nTaille = UINT32_MAX;
    size_t nOffset = 0;
    int nIdPrecedent = -1;
    while (nOffset + 2 <= nTaille) {
        const size_t nTailleRecord = nLit16(pbyBlock + nOffset);
        if (nTailleRecord == 0) break;  // the end mark
        if (nTailleRecord < TAILLE_ENTETE_RECORD || nTailleRecord > nTaille - nOffset) break;
        const int nId = nLit16(pbyBlock + nOffset + 2);
        if (nId <= nIdPrecedent) break;  // a search over ids that do not rise would miss records
        if (TAILLE_ENTETE_RECORD + nLit16(pbyBlock + nOffset + 5) > nTailleRecord) break;
        if (!m_tabOffset.Ajoute(static_cast<uint32_t>(nOffset))) break;
        nIdPrecedent = nId;
        nOffset += nTailleRecord;
    }
}

bool CResAnsiIndex::bCherche(STRessourceModule& stRessource) const noexcept {
    if (stRessource.nIdRessource > 0xFFFF) return false;
    int nBas = 0;
    int nHaut = m_tabOffset.nGetNbElement() - 1;
    while (nBas <= nHaut) {
        const int nMilieu = nBas + (nHaut - nBas) / 2;
        const uint8_t* pbyRecord = m_pbyBlock + m_tabOffset[nMilieu];
        const unsigned int nId = nLit16(pbyRecord + 2);
        if (nId < stRessource.nIdRessource) {
            nBas = nMilieu + 1;
        } else if (nId > stRessource.nIdRessource) {
            nHaut = nMilieu - 1;
        } else {
            const uint8_t byFlags = pbyRecord[4];
            stRessource.pbyDonnees = pbyRecord + TAILLE_ENTETE_RECORD;
            stRessource.dwLongueur = nLit16(pbyRecord + 5);
            stRessource.nUtilisation = byFlags & MASQUE_UTILISATION;
            stRessource.dwFormat = (byFlags & FLAG_UTF16) != 0 ? RESSOURCE_FORMAT_UTF16 : RESSOURCE_FORMAT_UTF8;
            return true;
        }
    }
    return false;
}

bool bGetResAnsiBlock(const uint8_t* pbyBlock, size_t nTaille, STRessourceModule& stRessource) noexcept {
    const CResAnsiIndex clIndex(pbyBlock, nTaille);
    return clIndex.bCherche(stRessource);
}

bool bDecodeRessource(const STRessourceModule& stRessource, CTString* pclTexte) noexcept {
    if (pclTexte == nullptr || (stRessource.pbyDonnees == nullptr && stRessource.dwLongueur != 0)) return false;
    wchar_t* pszTexte;
    switch (stRessource.dwFormat) {
        case RESSOURCE_FORMAT_UTF8:
            pszTexte = base_internal::pszUtf8VersWideAlloue(reinterpret_cast<const char*>(stRessource.pbyDonnees),
                                                             stRessource.dwLongueur);
            break;
        case RESSOURCE_FORMAT_UTF16:
            pszTexte = base_internal::pszUtf16LeVersWideAlloue(stRessource.pbyDonnees, stRessource.dwLongueur);
            break;
        default: return false;
    }
    if (pszTexte == nullptr && stRessource.dwLongueur != 0) return false;
    if (pszTexte != nullptr) {
        // A zero inside the data ends the text where a reader of the wide string would stop anyway.
        pclTexte->SetBuffer(pszTexte);
    } else {
        pclTexte->Vide();
    }
    return true;
}

bool OVM_bLoadString(unsigned int nIdRessource, CTString* pclTexte) noexcept {
    const PFNLOADSTRINGOVM pfnFournisseur = gpfnLoadStringOVM;
    if (pfnFournisseur == nullptr || pclTexte == nullptr) return false;
    constexpr int TAILLE_COURTE = 256;
    wchar_t szCourt[TAILLE_COURTE + 1] = {};
    int nLongueur = pfnFournisseur(nIdRessource, szCourt, TAILLE_COURTE);
    if (nLongueur <= 0) return false;
    if (nLongueur <= TAILLE_COURTE) {
        const size_t nTexte = wcsnlen(szCourt, static_cast<size_t>(nLongueur));
        return nTexte > 0 && pclTexte->Set(szCourt, static_cast<int>(nTexte));
    }
    // The provider asked for more room. Its length is not ours to trust with the stack: the second
    // buffer comes from the heap.
    const int nPlace = nLongueur;
    auto* pszLong = static_cast<wchar_t*>(calloc(static_cast<size_t>(nPlace) + 1, sizeof(wchar_t)));
    if (pszLong == nullptr) return false;
    nLongueur = pfnFournisseur(nIdRessource, pszLong, nPlace);
    bool bResultat = false;
    if (nLongueur > 0 && nLongueur <= nPlace) {
        const size_t nTexte = wcsnlen(pszLong, static_cast<size_t>(nLongueur));
        bResultat = nTexte > 0 && pclTexte->Set(pszLong, static_cast<int>(nTexte));
    }
    free(pszLong);
    return bResultat;
}

int OVM_nLoadString(unsigned int nIdRessource, wchar_t* pszBuffer, int nTaille) noexcept {
    CTString clTexte;
    if (!OVM_bLoadString(nIdRessource, &clTexte)) return 0;
    return nCopieDansBuffer(clTexte, pszBuffer, nTaille);
}

bool DLLRES_bLoadString(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte) noexcept {
    if (pclTexte == nullptr) return false;
    if (OVM_bLoadString(nIdRessource, pclTexte)) return true;
    STRessourceModule stRessource;
    if (!bChercheDansModule(pstModule, nIdRessource, &stRessource)) return false;
    CTString clTexte;
    if (!bDecodeRessource(stRessource, &clTexte)) return false;
    pclTexte->Transfert(clTexte);
    return true;
}

int DLLRES_nLoadString(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, wchar_t* pszBuffer,
                       int nTaille) noexcept {
    CTString clTexte;
    if (pszBuffer == nullptr || nTaille <= 0 || !DLLRES_bLoadString(pstModule, nIdRessource, &clTexte)) return 0;
    return nCopieDansBuffer(clTexte, pszBuffer, nTaille);
}

int DLLRES_nGetUtilisation(const _stMyModuleInfo* pstModule, unsigned int nIdRessource) noexcept {
    STRessourceModule stRessource;
    if (!bChercheDansModule(pstModule, nIdRessource, &stRessource)) return -1;
    return stRessource.nUtilisation;
}

unsigned int DLLRES_dwFormatMessage(const wchar_t* pszFormat, CTString* pclTexte, va_list pArguments) noexcept {
    if (pclTexte == nullptr) return 0;
    wchar_t* pszTexte = nullptr;
    const int nLongueur = vaswprintfWin(&pszTexte, pszFormat, pArguments);
    if (nLongueur < 0) return 0;
    pclTexte->SetBuffer(pszTexte);
    return static_cast<unsigned int>(nLongueur);
}

unsigned int DLLRES_dwFormatMessage(const wchar_t* pszFormat, wchar_t** ppszTexte, va_list pArguments) noexcept {
    if (ppszTexte == nullptr) return 0;
    const int nLongueur = vaswprintfWin(ppszTexte, pszFormat, pArguments);
    return nLongueur < 0 ? 0 : static_cast<unsigned int>(nLongueur);
}

bool DLLRES_bFormatMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte,
                               va_list pArguments) noexcept {
    CTString clFormat;
    if (pclTexte == nullptr || !DLLRES_bLoadString(pstModule, nIdRessource, &clFormat)) return false;
    CTString clTexte;
    if (!clTexte.FormatV(clFormat.pszGet(), pArguments)) return false;
    pclTexte->Transfert(clTexte);
    return true;
}

bool DLLRES_bFormatMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte,
                           ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pclTexte);
    const bool bResultat = DLLRES_bFormatMessageList(pstModule, nIdRessource, pclTexte, pArguments);
    va_end(pArguments);
    return bResultat;
}

int DLLRES_nFormatMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, wchar_t** ppszTexte,
                              va_list pArguments) noexcept {
    if (ppszTexte == nullptr) return 0;
    *ppszTexte = nullptr;
    CTString clFormat;
    if (!DLLRES_bLoadString(pstModule, nIdRessource, &clFormat)) return 0;
    const int nLongueur = vaswprintfWin(ppszTexte, clFormat.pszGet(), pArguments);
    return nLongueur < 0 ? 0 : nLongueur;
}

int DLLRES_nFormatMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, wchar_t** ppszTexte,
                          ...) noexcept {
    va_list pArguments;
    va_start(pArguments, ppszTexte);
    const int nResultat = DLLRES_nFormatMessageList(pstModule, nIdRessource, ppszTexte, pArguments);
    va_end(pArguments);
    return nResultat;
}

bool __bLoadStringSingulierPluriel(const _stMyModuleInfo* pstModule, int nPartie, unsigned int nIdRessource,
                                   CTString* pclTexte) noexcept {
    CTString clTout;
    if (pclTexte == nullptr || !DLLRES_bLoadString(pstModule, nIdRessource, &clTout)) return false;
    CTString clPartie;
    if (!clTout.bExtraitChaine(nPartie, SEPARATEUR_SINGULIER_PLURIEL, &clPartie)) return false;
    pclTexte->Transfert(clPartie);
    return true;
}

bool DLLRES_bFormatMessageSingulierPlurielList(const _stMyModuleInfo* pstModule, int nPartie,
                                               unsigned int nIdRessource, CTString* pclTexte,
                                               va_list pArguments) noexcept {
    CTString clFormat;
    if (!__bLoadStringSingulierPluriel(pstModule, nPartie, nIdRessource, &clFormat)) return false;
    CTString clTexte;
    if (!clTexte.FormatV(clFormat.pszGet(), pArguments)) return false;
    pclTexte->Transfert(clTexte);
    return true;
}

bool DLLRES_bFormatMessageSingulierPluriel(const _stMyModuleInfo* pstModule, int nPartie, unsigned int nIdRessource,
                                           CTString* pclTexte, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pclTexte);
    const bool bResultat =
        DLLRES_bFormatMessageSingulierPlurielList(pstModule, nPartie, nIdRessource, pclTexte, pArguments);
    va_end(pArguments);
    return bResultat;
}
