// Memory lists: named lists of key and value records, numbered from 1, held in one growing block
// per list; the records that no longer fit go to a private spill file. Plain functions on one
// context record; the language functions and the view for sibling libraries sit on top.
#pragma once

#include <cstddef>
#include <cstdint>

// ---------------------------------------------------------------- limits and codes

namespace ovmem {

inline constexpr int kLongueurNom = 20;               // significant characters of a list name
inline constexpr int32_t kTailleBlocInitial = 65536;  // a list's first block
inline constexpr int32_t kPasCroissance = 65536;      // one extension of a block
inline constexpr uint16_t kLimiteCroissanceListe = 64;
inline constexpr uint16_t kLimiteCroissanceTotale = 128;
inline constexpr uint16_t kEntreesParBloc = 16000;    // index entries per index block
inline constexpr int kTailleMaxDonnee = 0xFFF1;       // longest key or value, in bytes
inline constexpr int kTailleEnteteEnreg = 11;         // length, marker, two types, two lengths
inline constexpr int kTailleMaxEnreg = kTailleEnteteEnreg + 2 * kTailleMaxDonnee;
inline constexpr uint8_t kbyMarque = 0x20;

// What a read hands back.
enum ESelecteur : int { eENREG_COMPLET = 0, eENREG_CLE = 1, eENREG_VALEUR = 2 };

// Type codes of stored keys and values.
inline constexpr char kcTexteLarge = 'W';
inline constexpr char kcTexte = 'B';
inline constexpr char kcTexteCompare = 'T';
inline constexpr char kcReel = 'D';
inline constexpr char kcReelCourt = 'F';
inline constexpr char kcEntierCourt = 'E';
inline constexpr char kcEntier = 'L';
inline constexpr char kcEntierLong = 'Q';

inline bool bEstTexte(char c) noexcept { return c == kcTexteLarge || c == kcTexte || c == kcTexteCompare; }

}  // namespace ovmem

// ---------------------------------------------------------------- records of the engine

struct _stINDEXMEM {
    uint16_t wNombre;
    _stINDEXMEM* pstSuivant;
    // An address: bit 31 clear, an offset in the record block; set, an offset in the spill file.
    // Tagging the medium (rather than comparing with the block's capacity) keeps every address
    // valid when the block grows after the list has spilled.
    uint32_t adwEntrees[ovmem::kEntreesParBloc];
};

struct _stBUFFERMEM {
    wchar_t szNom[ovmem::kLongueurNom + 1];
    char szFichier[4096 + 16];   // spill file, while its descriptor is open
    uint8_t* pbyDonnees;         // the record block, zero filled
    _stINDEXMEM* pstIndex;
    int32_t nCapacite;
    int nFichier;                // spill descriptor, -1 when none
    int16_t nCroissance;         // extensions held by this list
    int32_t nEnregMemoire;
    int32_t nEnregFichier;       // the record count is the sum of these two
    int32_t nUtiliseMemoire;     // write offset in the block
    int32_t nUtiliseFichier;     // write offset in the spill file
    int32_t nPlusGrand;          // largest record seen, length prefix included
    int32_t bTrie;
    int32_t nSens;               // 0 descending, other ascending
    int32_t nEnCours;            // current record, 0 when none
    int32_t bTrouve;
    int32_t bEnDehors;
    int32_t bAvantPremier;
    int32_t bApresDernier;
    int32_t bParcours;           // a Suivant or Precedent step is allowed
    int32_t bMemoireEpuisee;     // a realloc failed: the list never tries to grow again
    _stBUFFERMEM* pstSuivant;
};

struct stCTXMEM {
    _stBUFFERMEM* pstPremiere;
    _stBUFFERMEM* pstDefaut;
    _stBUFFERMEM* pstCourante;
    uint8_t* pbyLecture;         // copy of the last record read from a spill file
    size_t nTailleLecture;
    char szRepertoire[4096];     // the private directory of the spill files, made at first spill
    uint16_t wTailleBlocIndex;
    uint16_t wNbListes;
    uint16_t wCroissanceTotale;
    uint16_t wLimiteTotale;
    uint16_t wLimiteListe;
    bool bInitialise;
};

// One stored key or value: type code, bytes and their count.
struct STDonneeMem {
    char cType;
    const uint8_t* pby;
    int nLongueur;
};

// ---------------------------------------------------------------- the engine
// A name: null the default list "OVMEMDEF", empty the current list (the default one when no list
// is current), otherwise at most 20 characters compared without case.

void MEM_InitModule(stCTXMEM& ctx) noexcept;
void MEM_FinModule(stCTXMEM& ctx) noexcept;
// The context of the library's language functions.
stCTXMEM& MEM_Contexte() noexcept;

// The list a name resolves to, or null. bSelectionne makes a found named list the current one.
_stBUFFERMEM* pstMemListe(stCTXMEM& ctx, const wchar_t* pszNom, bool bSelectionne = false) noexcept;
// True for a null or empty name, else whether the list exists.
bool bMemTestExistenceBuffer(stCTXMEM& ctx, const wchar_t* pszNom) noexcept;

bool bMemCree(stCTXMEM& ctx, const wchar_t* pszNom) noexcept;
// Creates the list of a null or empty name when missing; a given name must exist.
bool bMemAjoute(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stCle, const STDonneeMem& stValeur) noexcept;
bool bMemModifie(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stCle, const STDonneeMem& stValeur,
                 int nEnreg) noexcept;
// nEnreg -1 releases the list; "*" with -1 releases every list.
bool bMemSupprime(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg) noexcept;

// Reads answer a pointer valid until the next read or change of any list, and fill *pst; null
// when there is no such record or it cannot be read.
const uint8_t* lpvMemRenvoie(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg, int eSelecteur, STDonneeMem* pst) noexcept;
const uint8_t* lpvMemPremier(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept;
const uint8_t* lpvMemDernier(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept;
const uint8_t* lpvMemSuivant(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept;
const uint8_t* lpvMemPrecedent(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept;
// By key: the value of the first record whose key equals stCle.
const uint8_t* lpvMemRecherche(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stCle, STDonneeMem* pst) noexcept;
// The key of the current record.
const uint8_t* lpvMemCleEnCours(stCTXMEM& ctx, const wchar_t* pszNom, STDonneeMem* pst) noexcept;
bool bMemPosition(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg) noexcept;
// By value, as a prefix of the stored bytes: the first record's number or -1, made current.
int lMemChercheInverse(stCTXMEM& ctx, const wchar_t* pszNom, const STDonneeMem& stValeur) noexcept;

int lMemOccurrence(stCTXMEM& ctx, const wchar_t* pszNom) noexcept;  // -1 for no list
int lEnregEnCours(stCTXMEM& ctx, const wchar_t* pszNom) noexcept;   // -1 for no list
void SetEnregEnCours(stCTXMEM& ctx, const wchar_t* pszNom, int nEnreg) noexcept;

// nSens 0 descending, other ascending. False when the list is already sorted that way.
bool bMemTri(stCTXMEM& ctx, const wchar_t* pszNom, int nSens) noexcept;

// -1, 0 or 1: left against right. Texts by unsigned bytes then length, numbers by value, an
// empty text below a number below any other text.
int nEnregTest(const STDonneeMem& stGauche, const STDonneeMem& stDroite) noexcept;

// The generic explicit-stack quicksort over [0, nNombre), ascending. Compare element i with the
// pivot; swap two elements; load element i as the pivot. False when a callback is null.
using PFNCOMPAREPIVOT = int (*)(void* pContexte, int i);
using PFNECHANGE = void (*)(void* pContexte, int i, int j);
using PFNCHARGEPIVOT = void (*)(void* pContexte, int i);
bool bTriRapideUser(void* pContexte, int nNombre, PFNCOMPAREPIVOT pfnCompare, PFNECHANGE pfnEchange,
                    PFNCHARGEPIVOT pfnPivot) noexcept;
