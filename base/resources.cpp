// Message resources: block index, decoding, provider, load and format functions.
#include "base/resources.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include "base/data_compressor.h"
#include "base/format_message.h"
#include "base/internal/utf.h"
#include "base/tstring.h"
#include "base/wide_printf.h"

#define OV_EXPORT extern "C" __attribute__((visibility("default")))

PFNLOADSTRINGOVM gpfnLoadStringOVM = nullptr;
bool gbInitialise = false;

bool DLLRES_bInit() noexcept {
    gbInitialise = true;
    return true;
}

void DLLRES_Term() noexcept { gbInitialise = false; }

int DLLRES_bUtiliseDLLRes() noexcept { return 0; }

void* ghGetRessourceHandle = nullptr;

void DLLRES_SetFichierOVM(const wchar_t*) noexcept {}

OV_EXPORT void* DLLRES_pLoadResourceModule(const _stMyModuleInfo*, unsigned int, const wchar_t*,
                                           unsigned int* pnTaille) noexcept {
    if (pnTaille != nullptr) *pnTaille = 0;
    return nullptr;
}

void* DLLRES_pLoadResource(const _stMyModuleInfo* pstModule, void* hModule, unsigned int nIdRessource,
                           const wchar_t* pszType, unsigned int* pnTaille) noexcept {
    if (hModule == nullptr) return nullptr;
    using PFNLOADRESOURCEMODULE = void* (*)(const _stMyModuleInfo*, unsigned int, const wchar_t*, unsigned int*);
    auto pfnCharge = reinterpret_cast<PFNLOADRESOURCEMODULE>(dlsym(hModule, "DLLRES_pLoadResourceModule"));
    if (pfnCharge == nullptr) return nullptr;
    return pfnCharge(pstModule, nIdRessource, pszType, pnTaille);
}

bool DLLRES_bForceInitRessource(PFNINITRESSOURCE pfnRappel) noexcept {
    if (pfnRappel == nullptr) return false;
    alignas(8) uint8_t abyRecord[24] = {};
    return pfnRappel(3, abyRecord) != 0;
}

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
    if (pclTexte == nullptr) return false;
    wchar_t* pszTexte = CDataCompressor::s_pszDeCompress(stRessource);
    if (pszTexte == nullptr) return false;
    // A zero inside the data ends the text where a reader of the wide string would stop anyway.
    pclTexte->SetBuffer(pszTexte);
    return true;
}

namespace {

// Texts already decoded. Unpacking and decoding a record costs far more than formatting it, and a
// failing call raises the same few messages again and again. A slot, once published, never
// changes and lives until the library goes: readers on any thread use it without a lock. A slot
// holds a copy of the packed bytes it was made from and is used only when the record found has
// the same address, length, format and bytes, so a block rebuilt at the same address is never
// answered with an old text. A slot taken by another record leaves the newcomer uncached.
struct STTexteDecode {
    const uint8_t* pbyDonnees;
    uint32_t dwLongueur;
    uint32_t dwFormat;
    int nCaracteres;
    wchar_t* pszTexte;  // inside the same allocation, after the packed bytes
    uint8_t abyPaquet[1];
};

class CCacheTextes {
public:
    static constexpr unsigned int NB_CASES = 256;

    ~CCacheTextes() {
        for (auto& a : m_tabCases) free(a.exchange(nullptr, std::memory_order_acquire));
    }

    // The decoded text of the record, from a slot or decoded now into a free slot; null when it
    // does not decode, is empty, or its slot holds another record.
    const STTexteDecode* pstCherche(const STRessourceModule& stRessource) noexcept {
        std::atomic<STTexteDecode*>& a = m_tabCases[nCase(stRessource)];
        const STTexteDecode* pst = a.load(std::memory_order_acquire);
        if (pst != nullptr && bMemeRecord(*pst, stRessource)) return pst;
        if (pst != nullptr) return nullptr;  // taken by another record
        STTexteDecode* pstNouveau = pstDecode(stRessource);
        if (pstNouveau == nullptr) return nullptr;
        STTexteDecode* pstAttendu = nullptr;
        if (a.compare_exchange_strong(pstAttendu, pstNouveau, std::memory_order_acq_rel)) return pstNouveau;
        free(pstNouveau);  // another thread published first
        return bMemeRecord(*pstAttendu, stRessource) ? pstAttendu : nullptr;
    }

private:
    static unsigned int nCase(const STRessourceModule& stRessource) noexcept {
        const auto n = reinterpret_cast<uintptr_t>(stRessource.pbyDonnees);
        return static_cast<unsigned int>((n >> 3) ^ (n >> 11) ^ stRessource.nIdRessource) % NB_CASES;
    }

    static bool bMemeRecord(const STTexteDecode& st, const STRessourceModule& stRessource) noexcept {
        return st.pbyDonnees == stRessource.pbyDonnees && st.dwLongueur == stRessource.dwLongueur &&
               st.dwFormat == stRessource.dwFormat &&
               (st.dwLongueur == 0 || memcmp(st.abyPaquet, stRessource.pbyDonnees, st.dwLongueur) == 0);
    }

    static STTexteDecode* pstDecode(const STRessourceModule& stRessource) noexcept {
        if (stRessource.dwLongueur > 0xFFFF || (stRessource.pbyDonnees == nullptr && stRessource.dwLongueur != 0))
            return nullptr;
        wchar_t* pszTexte = CDataCompressor::s_pszDeCompress(stRessource);
        if (pszTexte == nullptr) return nullptr;
        const size_t nCaracteres = wcslen(pszTexte);
        if (nCaracteres == 0) {  // an empty text keeps the form the plain decoder gives it
            free(pszTexte);
            return nullptr;
        }
        const size_t nDebutTexte =
            (offsetof(STTexteDecode, abyPaquet) + stRessource.dwLongueur + alignof(wchar_t) - 1) / alignof(wchar_t) *
            alignof(wchar_t);
        auto* pst = static_cast<STTexteDecode*>(malloc(nDebutTexte + (nCaracteres + 1) * sizeof(wchar_t)));
        if (pst != nullptr) {
            pst->pbyDonnees = stRessource.pbyDonnees;
            pst->dwLongueur = stRessource.dwLongueur;
            pst->dwFormat = stRessource.dwFormat;
            pst->nCaracteres = static_cast<int>(nCaracteres);
            if (stRessource.dwLongueur != 0) memcpy(pst->abyPaquet, stRessource.pbyDonnees, stRessource.dwLongueur);
            pst->pszTexte = reinterpret_cast<wchar_t*>(reinterpret_cast<uint8_t*>(pst) + nDebutTexte);
            wmemcpy(pst->pszTexte, pszTexte, nCaracteres + 1);
        }
        free(pszTexte);
        return pst;
    }

    std::atomic<STTexteDecode*> m_tabCases[NB_CASES] = {};
};

CCacheTextes gclCacheTextes;

// The module's text for an id: from the cache when it can, else decoded.
bool bTexteDuModule(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte) noexcept {
    STRessourceModule stRessource;
    if (!bChercheDansModule(pstModule, nIdRessource, &stRessource)) return false;
    if (const STTexteDecode* pst = gclCacheTextes.pstCherche(stRessource))
        return pclTexte->Set(pst->pszTexte, pst->nCaracteres);
    CTString clTexte;
    if (!bDecodeRessource(stRessource, &clTexte)) return false;
    pclTexte->Transfert(clTexte);
    return true;
}

// The same for a caller that only reads the text: a kept text is lent, not copied. Anything else
// lands in *pclStockage, which *ppszTexte then points into. The provider comes first.
bool bTexteLu(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclStockage,
              const wchar_t** ppszTexte) noexcept {
    if (!OVM_bLoadString(nIdRessource, pclStockage)) {
        STRessourceModule stRessource;
        if (!bChercheDansModule(pstModule, nIdRessource, &stRessource)) return false;
        if (const STTexteDecode* pst = gclCacheTextes.pstCherche(stRessource)) {
            *ppszTexte = pst->pszTexte;
            return true;
        }
        if (!bDecodeRessource(stRessource, pclStockage)) return false;
    }
    *ppszTexte = pclStockage->pszGet();
    return true;
}

}  // namespace

// The class-wide decoders of the packer live here, beside the UTF decoders they need, so that
// base/data_compressor.cpp stays free of them for the build tool.
int CDataCompressor::s_nDeCompress(wchar_t* pszSortie, int* pnLongueur, const STRessourceModule& stRessource) noexcept {
    if (pnLongueur == nullptr || *pnLongueur < 0 || (pszSortie == nullptr && *pnLongueur > 0))
        return RESULTAT_DONNEES_INVALIDES;
    const size_t nPlace = static_cast<size_t>(*pnLongueur);
    *pnLongueur = 0;
    if ((stRessource.dwFormat != RESSOURCE_FORMAT_UTF8 && stRessource.dwFormat != RESSOURCE_FORMAT_UTF16) ||
        (stRessource.pbyDonnees == nullptr && stRessource.dwLongueur != 0) || stRessource.dwLongueur > 0x3fffffff)
        return RESULTAT_DONNEES_INVALIDES;

    constexpr size_t TAILLE_PILE = 256;
    const size_t nTravail = s_nTailleDecompresseeMax(stRessource.dwLongueur);
    uint8_t abyCourt[TAILLE_PILE];
    uint8_t* pbyTravail = abyCourt;
    if (nTravail > TAILLE_PILE) {
        pbyTravail = static_cast<uint8_t*>(malloc(nTravail));
        if (pbyTravail == nullptr) return RESULTAT_DONNEES_INVALIDES;
    }
    CDataCompressor clCompresseur;
    int nOctets = static_cast<int>(nTravail);
    const int nResultat = clCompresseur.nDeCompress(pbyTravail, &nOctets, stRessource.pbyDonnees,
                                                    static_cast<int>(stRessource.dwLongueur));
    int nRetour = nResultat;
    if (nResultat == RESULTAT_OK || nResultat == RESULTAT_SORTIE_COURTE) {
        // The working buffer is sized for any stream, so the text is never cut; the bound stays.
        const size_t nUtiles = static_cast<size_t>(nOctets) < nTravail ? static_cast<size_t>(nOctets) : nTravail - 1;
        const size_t nEcrivables = nPlace > 0 ? nPlace - 1 : 0;
        const size_t nCaracteres =
            stRessource.dwFormat == RESSOURCE_FORMAT_UTF8
                ? base_internal::nUtf8VersWide(reinterpret_cast<const char*>(pbyTravail), nUtiles, pszSortie,
                                               nEcrivables)
                : base_internal::nUtf16LeVersWide(pbyTravail, nUtiles, pszSortie, nEcrivables);
        *pnLongueur = static_cast<int>(nCaracteres);
        if (nCaracteres + 1 > nPlace) {
            if (nPlace > 0) pszSortie[nPlace - 1] = 0;
            nRetour = RESULTAT_SORTIE_COURTE;
        } else {
            pszSortie[nCaracteres] = 0;
            nRetour = RESULTAT_OK;
        }
    }
    if (pbyTravail != abyCourt) free(pbyTravail);
    return nRetour;
}

wchar_t* CDataCompressor::s_pszDeCompress(const STRessourceModule& stRessource) noexcept {
    if (stRessource.dwLongueur > 0x3fffffff) return nullptr;
    // Every byte unpacked gives at most one character.
    const size_t nPlace = s_nTailleDecompresseeMax(stRessource.dwLongueur);
    auto* pszTexte = static_cast<wchar_t*>(malloc(nPlace * sizeof(wchar_t)));
    if (pszTexte == nullptr) return nullptr;
    int nLongueur = static_cast<int>(nPlace);
    if (s_nDeCompress(pszTexte, &nLongueur, stRessource) != RESULTAT_OK) {
        free(pszTexte);
        return nullptr;
    }
    return pszTexte;
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
    return bTexteDuModule(pstModule, nIdRessource, pclTexte);
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

unsigned int DLLRES_dwFormatMessage(const wchar_t* pszFormat, wchar_t** ppszTexte, va_list pArguments) noexcept {
    if (ppszTexte == nullptr) return 0;
    *ppszTexte = nullptr;
    va_list pCopie;
    va_copy(pCopie, pArguments);
    const unsigned int dwLongueur =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, pszFormat, 0, 0,
                       reinterpret_cast<wchar_t*>(ppszTexte), 0, &pCopie);
    va_end(pCopie);
    return dwLongueur;
}

unsigned int DLLRES_dwFormatMessage(const wchar_t* pszFormat, CTString* pclTexte, va_list pArguments) noexcept {
    if (pclTexte == nullptr) return 0;
    wchar_t* pszTexte = nullptr;
    const unsigned int dwLongueur = DLLRES_dwFormatMessage(pszFormat, &pszTexte, pArguments);
    if (pszTexte != nullptr) pclTexte->SetBuffer(pszTexte);
    return dwLongueur;
}

bool DLLRES_bFormatMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, CTString* pclTexte,
                               va_list pArguments) noexcept {
    CTString clStockage;
    const wchar_t* pszFormat = nullptr;
    if (pclTexte == nullptr || !bTexteLu(pstModule, nIdRessource, &clStockage, &pszFormat)) return false;
    CTString clTexte;
    if (!clTexte.FormatV(pszFormat, pArguments)) return false;
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
    CTString clStockage;
    const wchar_t* pszFormat = nullptr;
    if (!bTexteLu(pstModule, nIdRessource, &clStockage, &pszFormat)) return 0;
    const int nLongueur = vaswprintfWin(ppszTexte, pszFormat, pArguments);
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

CTStringRes::CTStringRes(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nIdRessource);
    DLLRES_bFormatMessageList(pstModule, nIdRessource, this, pArguments);
    va_end(pArguments);
}

CTStringResNoFormat::CTStringResNoFormat(const _stMyModuleInfo* pstModule, unsigned int nIdRessource) noexcept {
    DLLRES_bLoadString(pstModule, nIdRessource, this);
}

// ---------------------------------------------------------------- message files

namespace {

// Reads exactly nTaille bytes; a short read is a failure.
bool bLitTout(int nFichier, void* pDestination, size_t nTaille) noexcept {
    auto* pbyDestination = static_cast<uint8_t*>(pDestination);
    while (nTaille > 0) {
        const ssize_t nLus = read(nFichier, pbyDestination, nTaille);
        if (nLus < 0 && errno == EINTR) continue;
        if (nLus <= 0) return false;
        pbyDestination += nLus;
        nTaille -= static_cast<size_t>(nLus);
    }
    return true;
}

bool bLit32(int nFichier, uint32_t* pdwValeur) noexcept {
    uint8_t aby[4];
    if (!bLitTout(nFichier, aby, sizeof aby)) return false;
    *pdwValeur = static_cast<uint32_t>(aby[0]) | static_cast<uint32_t>(aby[1]) << 8 |
                 static_cast<uint32_t>(aby[2]) << 16 | static_cast<uint32_t>(aby[3]) << 24;
    return true;
}

// Reads pairs (key, offset) until the key asked; answers its offset, 0 when the list ends first
// (a key of 0, and with bFinParDeuxZeros only a pair of two zeros) or a read fails.
uint32_t dwChercheDansListe(int nFichier, uint32_t dwCle, bool bFinParDeuxZeros) noexcept {
    for (;;) {
        uint32_t dwCleLue;
        uint32_t dwOffset;
        if (!bLit32(nFichier, &dwCleLue) || !bLit32(nFichier, &dwOffset)) return 0;
        if (dwCleLue == 0 && (!bFinParDeuxZeros || dwOffset == 0)) return 0;
        if (dwCleLue == dwCle) return dwOffset;
    }
}

bool bLitMessage(int nFichier, unsigned int nJeu, unsigned int nIdMessage, wchar_t* pszBuffer,
                 size_t nTailleOctets) noexcept {
    uint32_t dwEntete;
    if (!bLit32(nFichier, &dwEntete) || (dwEntete >> 16) != 1) return false;
    const uint32_t dwOffsetJeu = dwChercheDansListe(nFichier, nJeu, true);
    if (dwOffsetJeu == 0 || lseek(nFichier, dwOffsetJeu, SEEK_SET) < 0) return false;
    if (nIdMessage == 0) return false;  // a zero id ends the list: no message has it
    const uint32_t dwOffsetMessage = dwChercheDansListe(nFichier, nIdMessage, false);
    if (dwOffsetMessage == 0 || lseek(nFichier, dwOffsetMessage, SEEK_SET) < 0) return false;
    uint32_t dwOctets;
    if (!bLit32(nFichier, &dwOctets)) return false;
    const size_t nOctets = dwOctets < nTailleOctets ? dwOctets : nTailleOctets;
    auto* pbyBuffer = reinterpret_cast<uint8_t*>(pszBuffer);
    if (!bLitTout(nFichier, pbyBuffer, nOctets)) return false;
    // The text need not carry its own terminator: the rest of the character it ends in and the
    // next one are zeroed, and the buffer's last character always is.
    const size_t nFinZero = (nOctets + sizeof(wchar_t) - 1) / sizeof(wchar_t) * sizeof(wchar_t) + sizeof(wchar_t);
    memset(pbyBuffer + nOctets, 0, (nFinZero < nTailleOctets ? nFinZero : nTailleOctets) - nOctets);
    pszBuffer[nTailleOctets / sizeof(wchar_t) - 1] = 0;
    return true;
}

}  // namespace

bool bRM_LoadMess(unsigned int nJeu, const char* pszChemin, unsigned int nIdMessage, wchar_t* pszBuffer,
                  int nTailleOctets) noexcept {
    if (pszChemin == nullptr || pszBuffer == nullptr || nTailleOctets < static_cast<int>(sizeof(wchar_t)))
        return false;
    const int nFichier = open(pszChemin, O_RDONLY | O_CLOEXEC);
    if (nFichier < 0) return false;
    const bool bResultat = bLitMessage(nFichier, nJeu, nIdMessage, pszBuffer, static_cast<size_t>(nTailleOctets));
    close(nFichier);
    return bResultat;
}
