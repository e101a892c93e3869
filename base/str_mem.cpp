// Counted blocks: allocation through the machine's allocator (or the built-in stand-in), atomic
// counting and the preparation of a block for writing.
#include "base/str_mem.h"

#include <cstdlib>
#include <cstring>

#include "component/execution.h"

alignas(16) const wchar_t CBaseStrMem::ChaineVide[4] = {0, 0, 0, 0};

namespace {

constexpr size_t kEntete = sizeof(STStrMemHeader);

std::atomic_ref<int32_t> refCompte(const void* pBloc) noexcept {
    return std::atomic_ref<int32_t>(CBaseStrMem::s_pstEntete(pBloc)->nRef);
}

bool bTailleValide(int64_t nTaille) noexcept { return nTaille >= 0 && nTaille < STRMEM_TAILLE_MAX; }

// The allocator of a build without the machine: the machine's layout, header and answers. It keeps
// no registry of its blocks: it only ever sees the component's own.
class CAllocateurInterne final : public IStrMemAlloc {
public:
    int nGetVersion() override { return 2; }
    int nAlloue(void** ppBloc, int nTaille) override { return nAlloueBloc(ppBloc, nTaille); }
    int nRealloue(void** ppBloc, int nTaille) override { return nRealloueBloc(ppBloc, nTaille); }
    void Libere(void* pBloc) override {
        if (pBloc != nullptr) std::free(static_cast<uint8_t*>(pBloc) - kEntete);
    }
    int nAlloueAvecFlags(void** ppBloc, int nTaille, unsigned int) override { return nAlloueBloc(ppBloc, nTaille); }
    int nRealloueAvecFlags(void** ppBloc, int nTaille, unsigned int) override { return nRealloueBloc(ppBloc, nTaille); }

private:
    static int nAlloueBloc(void** ppBloc, int nTaille) {
        if (!bTailleValide(nTaille)) return STRMEM_ERREUR_TAILLE;
        uint8_t* pBase =
            static_cast<uint8_t*>(std::malloc(kEntete + static_cast<size_t>(nTaille) + STRMEM_TERMINATEUR));
        if (pBase == nullptr) return 8;  // not enough memory, as the machine answers it
        STStrMemHeader* pst = reinterpret_cast<STStrMemHeader*>(pBase);
        pst->nTailleUtile = 0;
        pst->nRef = 1;
        pst->nCapacite = nTaille;
        pst->nLongueur = 0;
        std::memset(pBase + kEntete, 0, STRMEM_TERMINATEUR);
        std::memset(pBase + kEntete + nTaille, 0, STRMEM_TERMINATEUR);
        *ppBloc = pBase + kEntete;
        return 0;
    }
    static int nRealloueBloc(void** ppBloc, int nTaille) {
        if (*ppBloc == nullptr) return nAlloueBloc(ppBloc, nTaille);
        if (!bTailleValide(nTaille)) return STRMEM_ERREUR_TAILLE;
        uint8_t* pBase = static_cast<uint8_t*>(std::realloc(static_cast<uint8_t*>(*ppBloc) - kEntete,
                                                            kEntete + static_cast<size_t>(nTaille) + STRMEM_TERMINATEUR));
        if (pBase == nullptr) return 8;
        STStrMemHeader* pst = reinterpret_cast<STStrMemHeader*>(pBase);
        pst->nCapacite = nTaille;
        if (pst->nLongueur > nTaille) pst->nLongueur = nTaille;
        if (pst->nTailleUtile > nTaille) pst->nTailleUtile = nTaille;
        std::memset(pBase + kEntete + nTaille, 0, STRMEM_TERMINATEUR);
        *ppBloc = pBase + kEntete;
        return 0;
    }
};

}  // namespace

IStrMemAlloc* CBaseStrMem::s_piAllocateurInterne() noexcept {
    static CAllocateurInterne gclAllocateur;
    return &gclAllocateur;
}

IStrMemAlloc* CBaseStrMem::s_piAllocateur() noexcept {
    IStrMemAlloc* pi = CInformationModule::ms_piStrMemAlloc;
    return pi != nullptr ? pi : s_piAllocateurInterne();
}

int CBaseStrMem::nAllocStrMem(void** ppBloc, int64_t nTaille, unsigned int dwFlags) noexcept {
    if (!bTailleValide(nTaille)) return STRMEM_ERREUR_TAILLE;
    IStrMemAlloc* pi = s_piAllocateur();
    void* pNouveau = nullptr;
    const int n = pi->nGetVersion() < 2 ? pi->nAlloue(&pNouveau, static_cast<int>(nTaille))
                                        : pi->nAlloueAvecFlags(&pNouveau, static_cast<int>(nTaille), dwFlags);
    if (n == 0) *ppBloc = pNouveau;
    return n;
}

int CBaseStrMem::nReallocStrMem(void** ppBloc, int64_t nTaille, unsigned int dwFlags) noexcept {
    if (!bTailleValide(nTaille)) return STRMEM_ERREUR_TAILLE;
    IStrMemAlloc* pi = s_piAllocateur();
    void* pBloc = *ppBloc;
    const int n = pi->nGetVersion() < 2 ? pi->nRealloue(&pBloc, static_cast<int>(nTaille))
                                        : pi->nRealloueAvecFlags(&pBloc, static_cast<int>(nTaille), dwFlags);
    if (n == 0) *ppBloc = pBloc;
    return n;
}

void CBaseStrMem::s_AddRefStrMem(const void* pBloc) noexcept {
    if (pBloc != nullptr) refCompte(pBloc).fetch_add(1, std::memory_order_relaxed);
}

void CBaseStrMem::s_ReleaseStrMem(void* pBloc) noexcept {
    if (pBloc == nullptr) return;
    // The last holder frees without a read-modify-write: at 1 nobody else holds the block, and
    // nobody can start to, since only holders copy it. The acquire load sees every write the
    // other holders made before they let go.
    std::atomic_ref<int32_t> nRef = refCompte(pBloc);
    if (nRef.load(std::memory_order_acquire) == 1 || nRef.fetch_sub(1, std::memory_order_acq_rel) == 1)
        s_piAllocateur()->Libere(pBloc);
}

int CBaseStrMem::s_nGetRef(const void* pBloc) noexcept {
    return pBloc != nullptr ? refCompte(pBloc).load(std::memory_order_acquire) : 0;
}

void CBaseStrMem::s_SetLongueur(void* pBloc, int nLongueur) noexcept {
    STStrMemHeader* pst = s_pstEntete(pBloc);
    pst->nLongueur = nLongueur;
    std::memset(static_cast<uint8_t*>(pBloc) + nLongueur, 0, STRMEM_TERMINATEUR);
}

int CBaseStrMem::s_nPrepareEcriture(void** ppBloc, int64_t nTaille, unsigned int dwFlags) noexcept {
    if (!bTailleValide(nTaille)) return STRMEM_ERREUR_TAILLE;
    void* pAncien = *ppBloc;
    if (pAncien == nullptr) return nAllocStrMem(ppBloc, nTaille, dwFlags);
    STStrMemHeader* pstAncien = s_pstEntete(pAncien);
    // Below 2 nobody else holds the block, and nobody can start to, since only holders copy it.
    if (refCompte(pAncien).load(std::memory_order_acquire) < 2) {
        if (pstAncien->nCapacite < nTaille) {
            const int n = nReallocStrMem(ppBloc, nTaille, dwFlags);
            if (n != 0) return n;
        }
        if (s_pstEntete(*ppBloc)->nLongueur > nTaille) s_SetLongueur(*ppBloc, static_cast<int>(nTaille));
        return 0;
    }
    void* pNouveau = nullptr;
    const int n = nAllocStrMem(&pNouveau, nTaille, dwFlags);
    if (n != 0) return n;
    const int nGarde = pstAncien->nLongueur < nTaille ? pstAncien->nLongueur : static_cast<int>(nTaille);
    std::memcpy(pNouveau, pAncien, static_cast<size_t>(nGarde));
    const int nUtile = pstAncien->nTailleUtile < nTaille ? pstAncien->nTailleUtile : static_cast<int>(nTaille);
    s_pstEntete(pNouveau)->nTailleUtile = nUtile;
    s_SetLongueur(pNouveau, nGarde);
    *ppBloc = pNouveau;
    s_ReleaseStrMem(pAncien);
    return 0;
}

namespace {

// Keeps a block alive while it is rewritten from a source inside it: with the extra reference
// the write goes to a new block and the source stays where it is.
struct CGardeSource {
    void* pBloc = nullptr;
    CGardeSource(void* pCible, const void* pSource) noexcept {
        if (pCible == nullptr || pSource == nullptr) return;
        const uint8_t* p = static_cast<const uint8_t*>(pSource);
        const uint8_t* pDebut = static_cast<const uint8_t*>(pCible);
        if (p >= pDebut && p <= pDebut + CBaseStrMem::s_nCapacite(pCible)) {
            pBloc = pCible;
            CBaseStrMem::s_AddRefStrMem(pBloc);
        }
    }
    ~CGardeSource() { CBaseStrMem::s_ReleaseStrMem(pBloc); }
    CGardeSource(const CGardeSource&) = delete;
    CGardeSource& operator=(const CGardeSource&) = delete;
};

// The capacity a growing block asks for: half as much again, so that appends in a loop
// reallocate a logarithmic number of times, never past the limit.
int64_t nCapaciteCroissance(int64_t nBesoin, int64_t nActuelle) noexcept {
    int64_t n = nActuelle + nActuelle / 2;
    if (n < nBesoin) n = nBesoin;
    if (n >= STRMEM_TAILLE_MAX) n = STRMEM_TAILLE_MAX - 1;
    return n;
}

}  // namespace

int CBaseStrMem::s_nAffecte(void** ppBloc, const void* pSource, int64_t nOctets, bool bTailleUtile) noexcept {
    if (nOctets < 0) return STRMEM_ERREUR_TAILLE;
    if (nOctets == 0 || pSource == nullptr) {
        s_ReleaseStrMem(*ppBloc);
        *ppBloc = nullptr;
        return 0;
    }
    if (!bTailleValide(nOctets)) return STRMEM_ERREUR_TAILLE;
    CGardeSource clGarde(*ppBloc, pSource);
    void* pBloc = *ppBloc;
    if (pBloc != nullptr && refCompte(pBloc).load(std::memory_order_acquire) < 2) {
        // Private: reuse, growing if short; nothing of the old text needs to survive.
        if (s_nCapacite(pBloc) < nOctets) {
            const int n = nReallocStrMem(&pBloc, nOctets);
            if (n != 0) return n;
        }
    } else {
        pBloc = nullptr;
        const int n = nAllocStrMem(&pBloc, nOctets);
        if (n != 0) return n;
        s_ReleaseStrMem(*ppBloc);
    }
    std::memmove(pBloc, pSource, static_cast<size_t>(nOctets));
    s_SetLongueur(pBloc, static_cast<int>(nOctets));
    if (bTailleUtile) s_pstEntete(pBloc)->nTailleUtile = static_cast<int>(nOctets);
    *ppBloc = pBloc;
    return 0;
}

int CBaseStrMem::s_nConcat(void** ppBloc, const void* pSource, int64_t nOctets) noexcept {
    if (nOctets < 0) return STRMEM_ERREUR_TAILLE;
    if (nOctets == 0 || pSource == nullptr) return 0;
    if (*ppBloc == nullptr) return s_nAffecte(ppBloc, pSource, nOctets, false);
    const int64_t nAncienne = s_nLongueur(*ppBloc);
    const int64_t nNouvelle = nAncienne + nOctets;
    if (nNouvelle >= STRMEM_TAILLE_MAX - 1) return STRMEM_ERREUR_TAILLE;
    CGardeSource clGarde(*ppBloc, pSource);
    int n = 0;
    if (s_nGetRef(*ppBloc) > 1)
        n = s_nPrepareEcriture(ppBloc, nNouvelle);  // the copy takes the exact size
    else if (s_nCapacite(*ppBloc) < nNouvelle)
        n = s_nPrepareEcriture(ppBloc, nCapaciteCroissance(nNouvelle, s_nCapacite(*ppBloc)));
    if (n != 0) return n;
    std::memcpy(static_cast<uint8_t*>(*ppBloc) + nAncienne, pSource, static_cast<size_t>(nOctets));
    s_SetLongueur(*ppBloc, static_cast<int>(nNouvelle));
    return 0;
}
