// Memory lists: the engine on its context record. Records live in one block per list that grows
// by fixed steps up to per-list and global caps; beyond them they go to a private spill file.
#include "memory/memory_lists.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>
#include <vector>

#include "base/characters.h"
#include "base/unicode.h"
#include "files/disk_file.h"

using namespace ovmem;

namespace {

constexpr uint32_t kdwFichier = 0x80000000u;          // address tag: the record is in the spill file
constexpr int64_t kTailleMaxFichier = 0x7FFFFFFF;     // file offsets must fit the 31 bits of an address
constexpr wchar_t kszNomDefaut[] = L"OVMEMDEF";

inline uint16_t wLit16(const uint8_t* p) noexcept { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint32_t dwLit32(const uint8_t* p) noexcept {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}
inline void Ecrit16(uint8_t* p, uint32_t w) noexcept {
    p[0] = static_cast<uint8_t>(w);
    p[1] = static_cast<uint8_t>(w >> 8);
}
inline void Ecrit32(uint8_t* p, uint32_t dw) noexcept {
    Ecrit16(p, dw);
    Ecrit16(p + 2, dw >> 16);
}

inline int nNombre(const _stBUFFERMEM* pst) noexcept { return pst->nEnregMemoire + pst->nEnregFichier; }

// The total size of a record, length prefix included.
inline int nTailleEnreg(const STDonneeMem& stCle, const STDonneeMem& stValeur) noexcept {
    return kTailleEnteteEnreg + stCle.nLongueur + stValeur.nLongueur;
}

bool bDonneeValide(const STDonneeMem& st) noexcept {
    return st.nLongueur >= 0 && st.nLongueur <= kTailleMaxDonnee && (st.nLongueur == 0 || st.pby != nullptr);
}

// Lays a record out at pby, which has room for nTailleEnreg bytes. The length field holds the
// whole length after the prefix: a key and a value near their limits pass 64 KiB together, and a
// field cut to 16 bits would then make the record unreadable from the spill file.
void EcritEnreg(uint8_t* pby, const STDonneeMem& stCle, const STDonneeMem& stValeur) noexcept {
    Ecrit32(pby, static_cast<uint32_t>(7 + stCle.nLongueur + stValeur.nLongueur));
    pby[4] = kbyMarque;
    pby[5] = static_cast<uint8_t>(stCle.cType);
    Ecrit16(pby + 6, static_cast<uint32_t>(stCle.nLongueur));
    if (stCle.nLongueur > 0) std::memcpy(pby + 8, stCle.pby, static_cast<size_t>(stCle.nLongueur));
    uint8_t* pbyValeur = pby + 8 + stCle.nLongueur;
    pbyValeur[0] = static_cast<uint8_t>(stValeur.cType);
    Ecrit16(pbyValeur + 1, static_cast<uint32_t>(stValeur.nLongueur));
    if (stValeur.nLongueur > 0) std::memcpy(pbyValeur + 3, stValeur.pby, static_cast<size_t>(stValeur.nLongueur));
}

// Picks the part a selector asks for out of a whole record of nTaille bytes (prefix included),
// checking every length against the record: a damaged record answers false, never a read past it.
bool bDecoupeEnreg(const uint8_t* pby, size_t nTaille, int eSelecteur, STDonneeMem* pst) noexcept {
    if (nTaille < static_cast<size_t>(kTailleEnteteEnreg) || pby[4] != kbyMarque) return false;
    const size_t nCle = wLit16(pby + 6);
    if (8 + nCle + 3 > nTaille) return false;
    const uint8_t* pbyValeur = pby + 8 + nCle;
    const size_t nValeur = wLit16(pbyValeur + 1);
    if (8 + nCle + 3 + nValeur > nTaille) return false;
    switch (eSelecteur) {
        case eENREG_CLE: *pst = {static_cast<char>(pby[5]), pby + 8, static_cast<int>(nCle)}; return true;
        case eENREG_VALEUR: *pst = {static_cast<char>(pbyValeur[0]), pbyValeur + 3, static_cast<int>(nValeur)}; return true;
        default: *pst = {0, pby + 4, static_cast<int>(7 + nCle + nValeur)}; return true;
    }
}

bool bLitTout(int nFichier, uint8_t* pby, size_t nTaille, off_t oPosition) noexcept {
    while (nTaille > 0) {
        const ssize_t n = ::pread(nFichier, pby, nTaille, oPosition);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        pby += n;
        nTaille -= static_cast<size_t>(n);
        oPosition += n;
    }
    return true;
}

bool bEcritTout(int nFichier, const uint8_t* pby, size_t nTaille, off_t oPosition) noexcept {
    while (nTaille > 0) {
        const ssize_t n = ::pwrite(nFichier, pby, nTaille, oPosition);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        pby += n;
        nTaille -= static_cast<size_t>(n);
        oPosition += n;
    }
    return true;
}

// The record at an address, whole (prefix included), with its size. Memory records are read in
// place; a spilled one into the context's read scratch, after checking its stored length.
const uint8_t* pbyEnregBrut(stCTXMEM& ctx, const _stBUFFERMEM* pst, uint32_t dwAdresse, size_t* pnTaille) noexcept {
    if ((dwAdresse & kdwFichier) == 0) {
        const size_t nOffset = dwAdresse;
        if (pst->pbyDonnees == nullptr || nOffset + 4 > static_cast<size_t>(pst->nUtiliseMemoire)) return nullptr;
        const size_t nTaille = size_t{4} + dwLit32(pst->pbyDonnees + nOffset);
        if (nOffset + nTaille > static_cast<size_t>(pst->nUtiliseMemoire)) return nullptr;
        *pnTaille = nTaille;
        return pst->pbyDonnees + nOffset;
    }
    if (pst->nFichier < 0) return nullptr;
    const off_t oPosition = dwAdresse & ~kdwFichier;
    uint8_t abyLongueur[4];
    if (!bLitTout(pst->nFichier, abyLongueur, 4, oPosition)) return nullptr;
    const uint32_t dwLongueur = dwLit32(abyLongueur);
    // A length read from a file is only trusted within what a record can be.
    if (dwLongueur < 7 || dwLongueur > static_cast<uint32_t>(kTailleMaxEnreg - 4)) return nullptr;
    const size_t nTaille = size_t{4} + dwLongueur;
    if (ctx.nTailleLecture < nTaille) {
        auto* pby = static_cast<uint8_t*>(std::realloc(ctx.pbyLecture, nTaille));
        if (pby == nullptr) return nullptr;
        ctx.pbyLecture = pby;
        ctx.nTailleLecture = nTaille;
    }
    std::memcpy(ctx.pbyLecture, abyLongueur, 4);
    if (!bLitTout(pst->nFichier, ctx.pbyLecture + 4, dwLongueur, oPosition + 4)) return nullptr;
    *pnTaille = nTaille;
    return ctx.pbyLecture;
}

const uint8_t* pbyLitAdresse(stCTXMEM& ctx, const _stBUFFERMEM* pst, uint32_t dwAdresse, int eSelecteur,
                             STDonneeMem* pstSortie) noexcept {
    size_t nTaille = 0;
    const uint8_t* pby = pbyEnregBrut(ctx, pst, dwAdresse, &nTaille);
    STDonneeMem st{};
    if (pby == nullptr || !bDecoupeEnreg(pby, nTaille, eSelecteur, &st)) return nullptr;
    if (pstSortie != nullptr) *pstSortie = st;
    return st.pby;
}

// ---------------------------------------------------------------- index

// The entry of record n (1-based), or null.
uint32_t* pdwEntree(const _stBUFFERMEM* pst, int nEnreg) noexcept {
    if (nEnreg < 1) return nullptr;
    int nReste = nEnreg - 1;
    for (_stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr; pstBloc = pstBloc->pstSuivant) {
        if (nReste < pstBloc->wNombre) return &pstBloc->adwEntrees[nReste];
        nReste -= pstBloc->wNombre;
    }
    return nullptr;
}

_stINDEXMEM* pstNouveauBlocIndex() noexcept {
    auto* pst = static_cast<_stINDEXMEM*>(std::calloc(1, sizeof(_stINDEXMEM)));
    return pst;
}

// The first block with room, from the head: after deletions an early block takes new entries,
// so a new record can take a number in the middle of the list.
_stINDEXMEM* pstBlocLibre(_stBUFFERMEM* pst) noexcept {
    _stINDEXMEM* pstDernier = nullptr;
    for (_stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr; pstBloc = pstBloc->pstSuivant) {
        if (pstBloc->wNombre < kEntreesParBloc) return pstBloc;
        pstDernier = pstBloc;
    }
    _stINDEXMEM* pstNouveau = pstNouveauBlocIndex();
    if (pstNouveau == nullptr) return nullptr;
    if (pstDernier == nullptr) pst->pstIndex = pstNouveau;
    else pstDernier->pstSuivant = pstNouveau;
    return pstNouveau;
}

// ---------------------------------------------------------------- names and lists

void NormaliseNom(const wchar_t* pszNom, wchar_t* pszSortie) noexcept {
    std::wcsncpy(pszSortie, pszNom, kLongueurNom);
    pszSortie[kLongueurNom] = 0;
    my_struprW(pszSortie);
}

_stBUFFERMEM* pstCherche(stCTXMEM& ctx, const wchar_t* pszNom) noexcept {
    wchar_t szNom[kLongueurNom + 1];
    NormaliseNom(pszNom, szNom);
    for (_stBUFFERMEM* pst = ctx.pstPremiere; pst != nullptr; pst = pst->pstSuivant)
        if (std::wcsncmp(pst->szNom, szNom, kLongueurNom) == 0) return pst;
    return nullptr;
}

void FermeFichier(_stBUFFERMEM* pst) noexcept {
    if (pst->nFichier < 0) return;
    ::close(pst->nFichier);
    ::unlink(pst->szFichier);
    pst->nFichier = -1;
    pst->szFichier[0] = 0;
}

void LibereListe(stCTXMEM& ctx, _stBUFFERMEM* pst) noexcept {
    FermeFichier(pst);
    std::free(pst->pbyDonnees);
    ctx.wCroissanceTotale = static_cast<uint16_t>(ctx.wCroissanceTotale > pst->nCroissance
                                                       ? ctx.wCroissanceTotale - pst->nCroissance : 0);
    for (_stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr;) {
        _stINDEXMEM* pstSuivant = pstBloc->pstSuivant;
        std::free(pstBloc);
        pstBloc = pstSuivant;
    }
    std::free(pst);
    if (ctx.wNbListes > 0) --ctx.wNbListes;
}

void ReleaseListe(stCTXMEM& ctx, _stBUFFERMEM* pstListe) noexcept {
    for (_stBUFFERMEM** ppst = &ctx.pstPremiere; *ppst != nullptr; ppst = &(*ppst)->pstSuivant) {
        if (*ppst != pstListe) continue;
        *ppst = pstListe->pstSuivant;
        break;
    }
    if (ctx.pstDefaut == pstListe) ctx.pstDefaut = nullptr;
    if (ctx.pstCourante == pstListe) ctx.pstCourante = nullptr;
    LibereListe(ctx, pstListe);
}

// Every list, and the references to them: an empty name then stands for the default list again
// rather than for a list that no longer exists.
void ReleaseTout(stCTXMEM& ctx) noexcept {
    for (_stBUFFERMEM* pst = ctx.pstPremiere; pst != nullptr;) {
        _stBUFFERMEM* pstSuivant = pst->pstSuivant;
        LibereListe(ctx, pst);
        pst = pstSuivant;
    }
    ctx.pstPremiere = ctx.pstDefaut = ctx.pstCourante = nullptr;
}

_stBUFFERMEM* pstNouvelleListe(stCTXMEM& ctx, const wchar_t* pszNom) noexcept {
    auto* pst = static_cast<_stBUFFERMEM*>(std::calloc(1, sizeof(_stBUFFERMEM)));
    if (pst == nullptr) return nullptr;
    pst->pbyDonnees = static_cast<uint8_t*>(std::calloc(1, kTailleBlocInitial));
    pst->pstIndex = pstNouveauBlocIndex();
    if (pst->pbyDonnees == nullptr || pst->pstIndex == nullptr) {
        std::free(pst->pbyDonnees);
        std::free(pst->pstIndex);
        std::free(pst);
        return nullptr;
    }
    NormaliseNom(pszNom, pst->szNom);
    pst->nCapacite = kTailleBlocInitial;
    pst->nFichier = -1;
    pst->nSens = 1;
    pst->pstSuivant = ctx.pstPremiere;
    ctx.pstPremiere = pst;
    ++ctx.wNbListes;
    ctx.pstCourante = pst;
    return pst;
}

void InitSiBesoin(stCTXMEM& ctx) noexcept {
    if (!ctx.bInitialise) MEM_InitModule(ctx);
}

// ---------------------------------------------------------------- spill file

bool bRepertoirePrive(stCTXMEM& ctx) noexcept {
    if (ctx.szRepertoire[0] != 0) return true;
    wchar_t szTemp[kMaxPath + 1];
    if (!CDiskFile::bGetTempDirectory(szTemp, nullptr)) return false;
    char szModele[sizeof ctx.szRepertoire];
    const int nOctets = nWideToUTF8(szTemp, -1, szModele, static_cast<int>(sizeof szModele) - 16);
    if (nOctets <= 0) return false;
    std::strcat(szModele, "ovmem-XXXXXX");
    if (::mkdtemp(szModele) == nullptr) return false;  // 0700, a fresh name
    std::strcpy(ctx.szRepertoire, szModele);
    return true;
}

// Opens the list's spill file: a fresh name in the private directory, created exclusively, 0600.
bool bOuvreFichier(stCTXMEM& ctx, _stBUFFERMEM* pst) noexcept {
    if (pst->nFichier >= 0) return true;
    if (!bRepertoirePrive(ctx)) return false;
    char szNom[sizeof pst->szFichier];
    std::snprintf(szNom, sizeof szNom, "%s/ZTXXXXXX", ctx.szRepertoire);
    const int nFichier = ::mkostemp(szNom, O_CLOEXEC);
    if (nFichier < 0) return false;
    std::strcpy(pst->szFichier, szNom);
    pst->nFichier = nFichier;
    return true;
}

// Writes a record where it goes: in the block, after growing it when the caps allow, else in the
// spill file. Answers its address.
bool bPlaceEnreg(stCTXMEM& ctx, _stBUFFERMEM* pst, const STDonneeMem& stCle, const STDonneeMem& stValeur,
                 uint32_t* pdwAdresse, bool* pbFichier) noexcept {
    const int nTaille = nTailleEnreg(stCle, stValeur);
    if (pst->nUtiliseMemoire + nTaille > pst->nCapacite && !pst->bMemoireEpuisee &&
        pst->nCroissance < ctx.wLimiteListe && ctx.wCroissanceTotale < ctx.wLimiteTotale &&
        nTaille <= kPasCroissance) {  // a larger record would not fit one extension: it spills
        auto* pby = static_cast<uint8_t*>(std::realloc(pst->pbyDonnees, static_cast<size_t>(pst->nCapacite) + kPasCroissance));
        if (pby == nullptr) {
            pst->bMemoireEpuisee = 1;
        } else {
            std::memset(pby + pst->nCapacite, 0, kPasCroissance);
            pst->pbyDonnees = pby;
            ++pst->nCroissance;
            ++ctx.wCroissanceTotale;
            // The old block's tail stays unused: the record starts the new extension.
            pst->nUtiliseMemoire = pst->nCapacite;
            pst->nCapacite += kPasCroissance;
        }
    }
    if (pst->nUtiliseMemoire + nTaille <= pst->nCapacite) {
        EcritEnreg(pst->pbyDonnees + pst->nUtiliseMemoire, stCle, stValeur);
        *pdwAdresse = static_cast<uint32_t>(pst->nUtiliseMemoire);
        *pbFichier = false;
        pst->nUtiliseMemoire += nTaille;
        return true;
    }
    if (int64_t{pst->nUtiliseFichier} + nTaille > kTailleMaxFichier) return false;
    if (!bOuvreFichier(ctx, pst)) return false;
    std::vector<uint8_t> tab;
    try {
        tab.resize(static_cast<size_t>(nTaille));
    } catch (...) {
        return false;
    }
    EcritEnreg(tab.data(), stCle, stValeur);
    // A failed write fails this record only: the file and the records already in it stay.
    if (!bEcritTout(pst->nFichier, tab.data(), tab.size(), pst->nUtiliseFichier)) return false;
    *pdwAdresse = kdwFichier | static_cast<uint32_t>(pst->nUtiliseFichier);
    *pbFichier = true;
    pst->nUtiliseFichier += nTaille;
    return true;
}

// ---------------------------------------------------------------- positioning

// Tests n against the list and sets the flags; the record's part, or null.
const uint8_t* pbyRenvoie(stCTXMEM& ctx, _stBUFFERMEM* pst, int nEnreg, int eSelecteur, STDonneeMem* pstSortie) noexcept {
    const uint32_t* pdw = nEnreg >= 1 && nEnreg <= nNombre(pst) ? pdwEntree(pst, nEnreg) : nullptr;
    if (pdw == nullptr) {
        pst->bTrouve = 0;
        pst->bEnDehors = 1;
        pst->bAvantPremier = nEnreg < 1;
        pst->bApresDernier = nEnreg > nNombre(pst);
        return nullptr;
    }
    pst->bEnDehors = pst->bAvantPremier = pst->bApresDernier = 0;
    pst->bTrouve = 1;
    return pbyLitAdresse(ctx, pst, *pdw, eSelecteur, pstSortie);
}

const uint8_t* pbyExtremite(stCTXMEM& ctx, const wchar_t* pszNom, bool bPremier, STDonneeMem* pstSortie) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr) return nullptr;
    const int nEnreg = bPremier ? 1 : nNombre(pst);
    const uint8_t* pby = pbyRenvoie(ctx, pst, nEnreg, eENREG_VALEUR, pstSortie);
    const bool bSucces = pby != nullptr;
    if (bSucces) pst->nEnCours = nEnreg;
    pst->bParcours = bSucces;
    pst->bEnDehors = pst->bAvantPremier = pst->bApresDernier = !bSucces;
    return pby;
}

const uint8_t* pbyPas(stCTXMEM& ctx, const wchar_t* pszNom, bool bAvant, STDonneeMem* pstSortie) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr || !pst->bParcours) return nullptr;
    int nEnreg;
    if (bAvant) nEnreg = pst->bAvantPremier ? 1 : pst->nEnCours + 1;
    else nEnreg = pst->bApresDernier ? nNombre(pst) : pst->nEnCours - 1;
    const uint8_t* pby = pbyRenvoie(ctx, pst, nEnreg, eENREG_VALEUR, pstSortie);
    const bool bSucces = pby != nullptr;
    if (bSucces) pst->nEnCours = nEnreg;
    pst->bEnDehors = !bSucces;
    if (bAvant) pst->bApresDernier = !bSucces;
    else pst->bAvantPremier = !bSucces;
    return pby;
}

// ---------------------------------------------------------------- comparison

inline bool bTexte(char c) noexcept { return bEstTexte(c); }

template <typename T>
inline T tLit(const STDonneeMem& st) noexcept {
    T t{};
    if (st.pby != nullptr && st.nLongueur >= static_cast<int>(sizeof(T))) std::memcpy(&t, st.pby, sizeof(T));
    return t;
}

// A stored number as a double. 'L' holds 8 bytes of which the low four are the value; 'Q' is read
// whole on both sides, so that the order stays one order for values beyond 32 bits.
inline bool bNombre(const STDonneeMem& st, double* pd) noexcept {
    switch (st.cType) {
        case kcReel: *pd = tLit<double>(st); return true;
        case kcReelCourt: *pd = tLit<float>(st); return true;
        case kcEntierCourt: *pd = tLit<int16_t>(st); return true;
        case kcEntier: *pd = tLit<int32_t>(st); return true;
        case kcEntierLong: *pd = static_cast<double>(tLit<int64_t>(st)); return true;
        default: *pd = 0.0; return false;
    }
}

inline int nCompareOctets(const STDonneeMem& stGauche, const STDonneeMem& stDroite) noexcept {
    const int nCommun = stGauche.nLongueur < stDroite.nLongueur ? stGauche.nLongueur : stDroite.nLongueur;
    if (nCommun > 0) {
        const int n = std::memcmp(stGauche.pby, stDroite.pby, static_cast<size_t>(nCommun));
        if (n != 0) return n < 0 ? -1 : 1;
    }
    return stGauche.nLongueur < stDroite.nLongueur ? -1 : stGauche.nLongueur > stDroite.nLongueur ? 1 : 0;
}

}  // namespace

int nEnregTest(const STDonneeMem& stGauche, const STDonneeMem& stDroite) noexcept {
    if (bTexte(stGauche.cType)) {
        // A text of one byte is the empty text: its terminator alone.
        if (stGauche.nLongueur == 1) return stDroite.nLongueur == 1 ? 0 : -1;
        if (!bTexte(stDroite.cType)) return 1;
        return nCompareOctets(stGauche, stDroite);
    }
    double dGauche;
    bNombre(stGauche, &dGauche);
    if (bTexte(stDroite.cType)) return stDroite.nLongueur == 1 ? 1 : -1;
    double dDroite;
    if (!bNombre(stDroite, &dDroite)) return -1;
    return dGauche < dDroite ? -1 : dGauche > dDroite ? 1 : 0;
}

// ---------------------------------------------------------------- quicksort

namespace {

// The quicksort behind bTriRapideUser, on callables so that the list's sort inlines them. Ranges
// below 8 go by insertion; others split around the smaller of the middle and last elements, with
// the last as a sentinel. The larger part waits on the stack and the loop goes on with the
// smaller, so the stack never holds more than one range per halving. The scans are bounded by the
// range as well, so a comparison that is not a strict order cannot take them outside it.
template <class Compare, class Echange, class Pivot>
void TriRapide(int nNombre, Compare&& fnCompare, Echange&& fnEchange, Pivot&& fnPivot) {
    struct STPlage {
        int nBas, nHaut;
    } astPile[64];
    int nPile = 0;
    int nBas = 0, nHaut = nNombre;
    for (;;) {
        if (nHaut - nBas < 8) {
            for (int i = nBas + 1; i < nHaut; ++i) {
                fnPivot(i);
                for (int j = i; j > nBas && fnCompare(j - 1) > 0; --j) fnEchange(j - 1, j);
            }
            if (nPile == 0) return;
            --nPile;
            nBas = astPile[nPile].nBas;
            nHaut = astPile[nPile].nHaut;
            continue;
        }
        int r = nHaut - 1;
        fnEchange(nBas + (nHaut - nBas) / 2, nBas);
        fnPivot(r);
        for (int nFois = 0; nFois < 2; ++nFois) {
            if (fnCompare(nBas) > 0) {
                fnEchange(nBas, r);
                fnPivot(r);
            }
        }
        fnPivot(nBas);
        int i = nBas;
        for (;;) {
            do ++i; while (i < nHaut - 1 && fnCompare(i) < 0);
            do --r; while (r > nBas && fnCompare(r) > 0);
            if (r < i) break;
            fnEchange(i, r);
        }
        fnEchange(nBas, r);
        // [nBas, r) and [i, nHaut): the pivot sits at r, and anything between r and i equals it.
        if (r - nBas > nHaut - i) {
            astPile[nPile++] = {nBas, r};
            nBas = i;
        } else {
            astPile[nPile++] = {i, nHaut};
            nHaut = r;
        }
    }
}

}  // namespace

bool bTriRapideUser(void* pContexte, int nNombre, PFNCOMPAREPIVOT pfnCompare, PFNECHANGE pfnEchange,
                    PFNCHARGEPIVOT pfnPivot) noexcept {
    if (pfnCompare == nullptr || pfnEchange == nullptr || pfnPivot == nullptr) return false;
    TriRapide(nNombre, [&](int i) { return pfnCompare(pContexte, i); },
              [&](int i, int j) { pfnEchange(pContexte, i, j); }, [&](int i) { pfnPivot(pContexte, i); });
    return true;
}

// ---------------------------------------------------------------- module

namespace {

stCTXMEM gCtxMem{};

// Spill files of lists still alive when the process ends normally, and their directory, go with it.
struct CNettoyageSortie {
    ~CNettoyageSortie() {
        for (_stBUFFERMEM* pst = gCtxMem.pstPremiere; pst != nullptr; pst = pst->pstSuivant) FermeFichier(pst);
        if (gCtxMem.szRepertoire[0] != 0) ::rmdir(gCtxMem.szRepertoire);
    }
} gNettoyageSortie;

}  // namespace

stCTXMEM& MEM_Contexte() noexcept { return gCtxMem; }

void MEM_InitModule(stCTXMEM& ctx) noexcept {
    if (ctx.bInitialise) MEM_FinModule(ctx);  // a context met on first use starts afresh
    ctx.pstPremiere = ctx.pstDefaut = ctx.pstCourante = nullptr;
    ctx.pbyLecture = nullptr;
    ctx.nTailleLecture = 0;
    ctx.szRepertoire[0] = 0;
    ctx.wTailleBlocIndex = 0xFA18;
    ctx.wNbListes = 0;
    ctx.wCroissanceTotale = 0;
    ctx.wLimiteTotale = kLimiteCroissanceTotale;
    ctx.wLimiteListe = kLimiteCroissanceListe;
    ctx.bInitialise = true;
}

void MEM_FinModule(stCTXMEM& ctx) noexcept {
    if (!ctx.bInitialise) return;
    ReleaseTout(ctx);
    std::free(ctx.pbyLecture);
    ctx.pbyLecture = nullptr;
    ctx.nTailleLecture = 0;
    ctx.wCroissanceTotale = 0;
    if (ctx.szRepertoire[0] != 0) ::rmdir(ctx.szRepertoire);
    ctx.szRepertoire[0] = 0;
}

_stBUFFERMEM* pstMemListe(stCTXMEM& ctx, const wchar_t* pszNom, bool bSelectionne) noexcept {
    if (pszNom == nullptr) return pstCherche(ctx, kszNomDefaut);
    if (pszNom[0] == 0) return ctx.pstCourante != nullptr ? ctx.pstCourante : pstCherche(ctx, kszNomDefaut);
    _stBUFFERMEM* pst = pstCherche(ctx, pszNom);
    if (pst != nullptr && bSelectionne) ctx.pstCourante = pst;
    return pst;
}

bool bMemTestExistenceBuffer(stCTXMEM& ctx, const wchar_t* pszNom) noexcept {
    if (pszNom == nullptr || pszNom[0] == 0) return true;
    return pstCherche(ctx, pszNom) != nullptr;
}

bool bMemCree(stCTXMEM& ctx, const wchar_t* pszNom) noexcept {
    InitSiBesoin(ctx);
    // An empty name re-creates the current list, under its own name.
    wchar_t szNom[kLongueurNom + 1];
    if (pszNom == nullptr || (pszNom[0] == 0 && ctx.pstCourante == nullptr)) std::wcscpy(szNom, kszNomDefaut);
    else NormaliseNom(pszNom[0] == 0 ? ctx.pstCourante->szNom : pszNom, szNom);
    if (_stBUFFERMEM* pst = pstCherche(ctx, szNom)) ReleaseListe(ctx, pst);
    _stBUFFERMEM* pst = pstNouvelleListe(ctx, szNom);
    if (pst == nullptr) return false;
    if (std::wcscmp(szNom, kszNomDefaut) == 0) ctx.pstDefaut = pst;
    return true;
}

bool bMemAjoute(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stCle, const STDonneeMem& stValeur) noexcept {
    InitSiBesoin(ctx);
    if (!bDonneeValide(stCle) || !bDonneeValide(stValeur)) return false;
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr) {
        if (pszNom != nullptr && pszNom[0] != 0) return false;
        pst = pstNouvelleListe(ctx, kszNomDefaut);
        if (pst == nullptr) return false;
        ctx.pstDefaut = pst;
    }
    _stINDEXMEM* pstBloc = pstBlocLibre(pst);
    if (pstBloc == nullptr) return false;
    uint32_t dwAdresse = 0;
    bool bFichier = false;
    if (!bPlaceEnreg(ctx, pst, stCle, stValeur, &dwAdresse, &bFichier)) return false;
    pstBloc->adwEntrees[pstBloc->wNombre++] = dwAdresse;
    if (nNombre(pst) == 0) pst->nEnCours = 1;
    if (bFichier) ++pst->nEnregFichier;
    else ++pst->nEnregMemoire;
    const int nTaille = nTailleEnreg(stCle, stValeur);
    if (nTaille > pst->nPlusGrand) pst->nPlusGrand = nTaille;
    pst->bTrie = 0;
    return true;
}

bool bMemModifie(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stCle, const STDonneeMem& stValeur,
                 int nEnreg) noexcept {
    InitSiBesoin(ctx);
    if (!bDonneeValide(stCle) || !bDonneeValide(stValeur)) return false;
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr) return false;
    uint32_t* pdw = nEnreg >= 1 && nEnreg <= nNombre(pst) ? pdwEntree(pst, nEnreg) : nullptr;
    if (pdw == nullptr) {
        pst->bEnDehors = 1;
        return false;
    }
    uint32_t dwAdresse = 0;
    bool bFichier = false;
    if (!bPlaceEnreg(ctx, pst, stCle, stValeur, &dwAdresse, &bFichier)) return false;
    *pdw = dwAdresse;
    const int nTaille = nTailleEnreg(stCle, stValeur);
    if (nTaille > pst->nPlusGrand) pst->nPlusGrand = nTaille;
    pst->bTrie = 0;
    return true;
}

bool bMemSupprime(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg) noexcept {
    InitSiBesoin(ctx);
    if (nEnreg == -1 && pszNom != nullptr && std::wcscmp(pszNom, L"*") == 0) {
        ReleaseTout(ctx);
        return true;
    }
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, nEnreg != -1);
    if (pst == nullptr) return false;
    if (nEnreg == -1) {
        ReleaseListe(ctx, pst);
        return true;
    }
    if (nEnreg < 1 || nEnreg > nNombre(pst)) {
        pst->bEnDehors = 1;
        return false;
    }
    int nReste = nEnreg - 1;
    for (_stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr; pstBloc = pstBloc->pstSuivant) {
        if (nReste >= pstBloc->wNombre) {
            nReste -= pstBloc->wNombre;
            continue;
        }
        const uint32_t dwAdresse = pstBloc->adwEntrees[nReste];
        std::memmove(&pstBloc->adwEntrees[nReste], &pstBloc->adwEntrees[nReste + 1],
                     sizeof(uint32_t) * static_cast<size_t>(pstBloc->wNombre - nReste - 1));
        --pstBloc->wNombre;
        if (dwAdresse & kdwFichier) --pst->nEnregFichier;
        else --pst->nEnregMemoire;
        break;
    }
    if (pst->nEnCours < 1 || pst->nEnCours > nNombre(pst)) {
        pst->bTrouve = 0;
        pst->bEnDehors = 1;
    }
    return true;
}

const uint8_t* lpvMemRenvoie(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg, int eSelecteur, STDonneeMem* pst) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pstListe = pstMemListe(ctx, pszNom, true);
    return pstListe != nullptr ? pbyRenvoie(ctx, pstListe, nEnreg, eSelecteur, pst) : nullptr;
}

const uint8_t* lpvMemPremier(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept {
    return pbyExtremite(ctx, pszNom, true, pst);
}
const uint8_t* lpvMemDernier(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept {
    return pbyExtremite(ctx, pszNom, false, pst);
}
const uint8_t* lpvMemSuivant(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept {
    return pbyPas(ctx, pszNom, true, pst);
}
const uint8_t* lpvMemPrecedent(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept {
    return pbyPas(ctx, pszNom, false, pst);
}

bool bMemPosition(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr || pbyRenvoie(ctx, pst, nEnreg, eENREG_VALEUR, nullptr) == nullptr) return false;
    pst->nEnCours = nEnreg;
    pst->bTrouve = 1;
    pst->bParcours = 1;
    return true;
}

const uint8_t* lpvMemCleEnCours(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pstListe = pstMemListe(ctx, pszNom, true);
    if (pstListe == nullptr) return nullptr;
    const uint32_t* pdw = pstListe->nEnCours <= nNombre(pstListe) ? pdwEntree(pstListe, pstListe->nEnCours) : nullptr;
    return pdw != nullptr ? pbyLitAdresse(ctx, pstListe, *pdw, eENREG_CLE, pst) : nullptr;
}

const uint8_t* lpvMemRecherche(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stCle, STDonneeMem* pstSortie) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr) return nullptr;
    const int nTotal = nNombre(pst);
    // The key of record n, compared as the right side; an unreadable record matches nothing.
    auto nCompare = [&](int nEnreg) {
        const uint32_t* pdw = pdwEntree(pst, nEnreg);
        STDonneeMem stRecord{};
        if (pdw == nullptr || pbyLitAdresse(ctx, pst, *pdw, eENREG_CLE, &stRecord) == nullptr) return 2;
        return nEnregTest(stCle, stRecord);
    };
    int nTrouve = 0;
    if (!pst->bTrie) {
        for (int n = 1; n <= nTotal && nTrouve == 0; ++n)
            if (nCompare(n) == 0) nTrouve = n;
    } else if (nTotal > 0) {
        int nBas = 0, nHaut = nTotal - 1;
        while (nBas < nHaut) {
            const int nMilieu = (nBas + nHaut) >> 1;
            const int nResultat = nCompare(nMilieu + 1);
            if (nResultat == 0) {
                nTrouve = nMilieu + 1;
                break;
            }
            if (pst->nSens == 0 ? nResultat >= 1 : nResultat < 1) nHaut = nMilieu;
            else nBas = nMilieu + 1;
        }
        if (nTrouve == 0 && nCompare(nBas + 1) == 0) nTrouve = nBas + 1;
        // The first of a run of equal keys.
        while (nTrouve > 1 && nCompare(nTrouve - 1) == 0) --nTrouve;
    }
    pst->bAvantPremier = pst->bApresDernier = 0;
    pst->bParcours = nTrouve != 0;
    pst->bTrouve = nTrouve != 0;
    pst->bEnDehors = nTrouve == 0;
    if (nTrouve == 0) return nullptr;
    pst->nEnCours = nTrouve;
    return pbyLitAdresse(ctx, pst, *pdwEntree(pst, nTrouve), eENREG_VALEUR, pstSortie);
}

int lMemChercheInverse(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stValeur) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr) return -1;
    int nTrouve = -1;
    int n = 0;
    for (_stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr && nTrouve < 0; pstBloc = pstBloc->pstSuivant) {
        for (int i = 0; i < pstBloc->wNombre; ++i) {
            ++n;
            STDonneeMem st{};
            if (pbyLitAdresse(ctx, pst, pstBloc->adwEntrees[i], eENREG_VALEUR, &st) == nullptr) continue;
            if (st.cType == stValeur.cType && st.nLongueur >= stValeur.nLongueur &&
                (stValeur.nLongueur == 0 || std::memcmp(st.pby, stValeur.pby, static_cast<size_t>(stValeur.nLongueur)) == 0)) {
                nTrouve = n;
                break;
            }
        }
    }
    pst->nEnCours = nTrouve;
    return nTrouve;
}

int lMemOccurrence(stCTXMEM& ctx, const wchar_t* pszNom) noexcept {
    InitSiBesoin(ctx);
    const _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    return pst != nullptr ? nNombre(pst) : -1;
}

int lEnregEnCours(stCTXMEM& ctx, const wchar_t* pszNom) noexcept {
    InitSiBesoin(ctx);
    const _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    return pst != nullptr ? pst->nEnCours : -1;
}

void SetEnregEnCours(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg) noexcept {
    InitSiBesoin(ctx);
    if (_stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true)) pst->nEnCours = nEnreg;
}

// ---------------------------------------------------------------- sort

namespace {

// One element of a sort: its index entry and its key. Keys of memory records point into the
// block; those of spilled records into one buffer read before the sort, so that no comparison
// goes to the file.
struct STElementTri {
    const uint8_t* pbyCle;
    int32_t nLongueur;
    char cType;
    uint32_t dwAdresse;
};

void Inverse(std::vector<uint32_t>* ptab) noexcept {
    for (size_t i = 0, j = ptab->size(); i + 1 < j; ++i, --j) std::swap((*ptab)[i], (*ptab)[j - 1]);
}

void LitEntrees(const _stBUFFERMEM* pst, std::vector<uint32_t>* ptab) {
    ptab->clear();
    ptab->reserve(static_cast<size_t>(nNombre(pst)));
    for (const _stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr; pstBloc = pstBloc->pstSuivant)
        ptab->insert(ptab->end(), pstBloc->adwEntrees, pstBloc->adwEntrees + pstBloc->wNombre);
}

// Puts the entries back in the blocks, each block keeping its count.
void EcritEntrees(_stBUFFERMEM* pst, const std::vector<uint32_t>& tab) noexcept {
    size_t n = 0;
    for (_stINDEXMEM* pstBloc = pst->pstIndex; pstBloc != nullptr; pstBloc = pstBloc->pstSuivant)
        for (int i = 0; i < pstBloc->wNombre && n < tab.size(); ++i) pstBloc->adwEntrees[i] = tab[n++];
}

void MarqueTrie(_stBUFFERMEM* pst, int nSens) noexcept {
    pst->nEnCours = 0;
    pst->bEnDehors = pst->bAvantPremier = pst->bApresDernier = 1;
    pst->bParcours = pst->bTrouve = 0;
    pst->bTrie = 1;
    pst->nSens = nSens;
}

void TrieEntrees(stCTXMEM& ctx, _stBUFFERMEM* pst, std::vector<uint32_t>* ptab) {
    std::vector<STElementTri> tabElements(ptab->size());
    // The spill file is read once, in one pass, rather than a record at a time.
    std::vector<uint8_t> tabFichier;
    if (pst->nFichier >= 0 && pst->nEnregFichier > 0) {
        tabFichier.resize(static_cast<size_t>(pst->nUtiliseFichier));
        if (!bLitTout(pst->nFichier, tabFichier.data(), tabFichier.size(), 0)) tabFichier.clear();
    }
    auto bCleFichier = [&](uint32_t dwAdresse, STDonneeMem* pstCle) {
        const size_t nOffset = dwAdresse & ~kdwFichier;
        if (tabFichier.empty() || nOffset + 4 > tabFichier.size()) return false;
        const size_t nTaille = size_t{4} + dwLit32(tabFichier.data() + nOffset);
        if (nTaille > static_cast<size_t>(kTailleMaxEnreg) || nOffset + nTaille > tabFichier.size()) return false;
        return bDecoupeEnreg(tabFichier.data() + nOffset, nTaille, eENREG_CLE, pstCle);
    };
    std::vector<uint8_t> tabClesFichier;
    // Keys of spilled records are gathered in one buffer; their pointers are set once it no
    // longer moves.
    std::vector<std::pair<size_t, size_t>> tabPlaces;  // element, offset in the buffer
    for (size_t i = 0; i < ptab->size(); ++i) {
        STElementTri& st = tabElements[i];
        st.dwAdresse = (*ptab)[i];
        STDonneeMem stCle{};
        if ((st.dwAdresse & kdwFichier) != 0 && bCleFichier(st.dwAdresse, &stCle)) {
            st = {stCle.pby, stCle.nLongueur, stCle.cType, st.dwAdresse};
            continue;
        }
        if (pbyLitAdresse(ctx, pst, st.dwAdresse, eENREG_CLE, &stCle) == nullptr) stCle = {0, nullptr, 0};
        st.cType = stCle.cType;
        st.nLongueur = stCle.nLongueur;
        st.pbyCle = stCle.pby;
        if ((st.dwAdresse & kdwFichier) == 0 || stCle.pby == nullptr) continue;
        tabPlaces.emplace_back(i, tabClesFichier.size());
        tabClesFichier.insert(tabClesFichier.end(), stCle.pby, stCle.pby + stCle.nLongueur);
    }
    for (const auto& [i, nOffset] : tabPlaces) tabElements[i].pbyCle = tabClesFichier.data() + nOffset;

    STDonneeMem stPivot{};
    auto fnCle = [&](int i) {
        const STElementTri& st = tabElements[static_cast<size_t>(i)];
        return STDonneeMem{st.cType, st.pbyCle, st.nLongueur};
    };
    TriRapide(static_cast<int>(tabElements.size()), [&](int i) { return nEnregTest(fnCle(i), stPivot); },
              [&](int i, int j) { std::swap(tabElements[static_cast<size_t>(i)], tabElements[static_cast<size_t>(j)]); },
              [&](int i) { stPivot = fnCle(i); });
    for (size_t i = 0; i < tabElements.size(); ++i) (*ptab)[i] = tabElements[i].dwAdresse;
}

}  // namespace

bool bMemTri(stCTXMEM& ctx, const wchar_t* pszNom, int nSens) noexcept {
    InitSiBesoin(ctx);
    _stBUFFERMEM* pst = pstMemListe(ctx, pszNom, true);
    if (pst == nullptr) return false;
    const bool bCroissant = nSens != 0;
    if (pst->bTrie && (pst->nSens != 0) == bCroissant) return false;
    try {
        std::vector<uint32_t> tab;
        LitEntrees(pst, &tab);
        if (!pst->bTrie) TrieEntrees(ctx, pst, &tab);
        // Sorted the other way already, or sorted ascending just now for a descending request.
        if (pst->bTrie || !bCroissant) Inverse(&tab);
        EcritEntrees(pst, tab);
    } catch (...) {
        return false;
    }
    MarqueTrie(pst, nSens);
    return true;
}
