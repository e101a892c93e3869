// The interfaces that the component and the machine call on each other. Both sides include this
// header: the component calls these slots, the stand-in machine implements them. Slot order is a
// wire contract with the closed machine, so reserved slots stay and nothing is reordered.
#pragma once

#include <cstdint>

class CAny;
class CXError;
class _CXErrorModule8;
class IObjetAPCode;
class IAppelMethode;
class IFenCommun;
class IZKTableau;
class IInfoLangue;
class IDumpMemoire;
struct STParametreVariable;

// Root of every versioned interface: three answers, then three slots that do nothing.
class IStdVersion {
public:
    virtual int nGetVersion() = 0;
    virtual int nGetCompatSince() = 0;
    virtual int nGetDllNum() = 0;
    virtual void StdVersion_EmptySlot_1() = 0;
    virtual void StdVersion_EmptySlot_2() = 0;
    virtual void StdVersion_EmptySlot_3() = 0;

protected:
    ~IStdVersion() = default;
};

// The machine's per-context object. Every language function pushes its result through SetRetour.
class IVM {
public:
    virtual const wchar_t* pxGetInfoTraitement(int nSelecteur, int nQuoi) = 0;  // 1 label, 2 name, 3 line
    virtual void ReleaseVM() = 0;
    virtual int bEmpileAnyAppel(CAny* pclValeur, CXError* pclErreur) = 0;
    virtual void PrepareAppel() = 0;
    virtual void SetObjetAppelant(IObjetAPCode* piObjet) = 0;
    virtual void SetRetourAppel(CAny* pclRetour) = 0;
    virtual int nVerifieInterruption(int nValeur, CXError* pclErreur) = 0;  // 10 when interrupted
    virtual void AnnuleAppel() = 0;
    virtual int bVerifieFonctionnalite(int nFonctionnalite, CXError* pclErreur) = 0;
    virtual int bEmpileChampAppel(IObjetAPCode* piChamp, CXError* pclErreur) = 0;
    virtual IInfoLangue* piGetInfoLangue(int nReserve1, int nReserve2) = 0;
    virtual IAppelMethode* piTrouveTraitement(const wchar_t* pszNom, int nReserve, CXError* pclErreur) = 0;
    virtual int nExecuteAppel(IAppelMethode* piMethode, int nNbArgument, CXError* pclErreur, int nReserve) = 0;
    virtual IFenCommun* piGetFenetreAppelante() = 0;
    virtual int bLitParametreAny(int nParametre, unsigned int dwFrame, CAny* pclValeur, CXError* pclErreur) = 0;
    virtual int bLitParametreVariable(int nParametre, unsigned int dwFrame, STParametreVariable* pstVariable,
                                      CXError* pclErreur) = 0;
    // pValeur points at the value of the type code; for 0x10 and 0x13 it is the text itself (null: a
    // null result). The machine copies what it is given before returning.
    virtual void SetRetour(unsigned int dwFrame, const void* pValeur, int nType) = 0;
    virtual int nEmpileEntierAppel(int nValeur, CXError* pclErreur) = 0;
    virtual void EmetAvertissementPerformance(_CXErrorModule8* pclAvertissement) = 0;
    virtual int bEmpileTableauAppel(IZKTableau* piTableau, CXError* pclErreur) = 0;
    virtual int bAuditPerformanceActif() = 0;
    // The string mode: 1 or 2, text functions whose result form is theirs to choose answer 8-bit
    // text (0x13); any other value (0 in Unicode mode), wide text (0x10).
    virtual int nModeChaine() = 0;
    virtual int bEmpileChaineAppel(const wchar_t* pszValeur, CXError* pclErreur) = 0;
    virtual int bEmpileChaineCouranteAppel(const wchar_t* pszValeur, CXError* pclErreur) = 0;
    virtual void* pxCreeStructureRetour(unsigned int dwFrame, int nNbMembre) = 0;
    virtual void SetMembreStructure(void* pxStructure, int nMembre, const void* pValeur, int nType) = 0;
    virtual IVM* piDupliqueVMThread(int nType, const wchar_t* pszNom, void* pSlotCallback, CXError* pclErreur) = 0;

protected:
    ~IVM() = default;
};

// The machine's handle on a language procedure, found by name with piTrouveTraitement. It is
// counted: whoever is handed one holds a reference and drops it with nRelease. The third slot says
// whether the procedure can be called at all; the ninth hands out the machine that runs it, with a
// reference the caller drops with IVM::ReleaseVM.
class IAppelMethode {
public:
    virtual int nAddRef() = 0;
    virtual int nRelease() = 0;
    virtual int bEstDisponible() = 0;                 // 3rd slot
    virtual const wchar_t* pszGetNom() = 0;           // the procedure's name as the machine knows it
    virtual int nGetNbParametre() = 0;                // parameters it declares; -1 when any number
    virtual void AppelMethode_Reserve_6() = 0;
    virtual void AppelMethode_Reserve_7() = 0;
    virtual void AppelMethode_Reserve_8() = 0;
    virtual IVM* piGetVM(CXError* pclErreur) = 0;     // 9th slot

protected:
    ~IAppelMethode() = default;
};

// Header in front of every counted block (texts and binary values), from low to high address.
// The data pointer that crosses the border points just past it.
struct STStrMemHeader {
    int32_t nTailleUtile;  // binary values only
    int32_t nRef;          // atomic
    int32_t nCapacite;     // bytes available for data
    int32_t nLongueur;     // bytes in use
};
static_assert(sizeof(STStrMemHeader) == 16);

// The machine's allocator of counted blocks. A block is allocated with room for nTaille data bytes
// plus a four-byte terminator, header filled (count 1, capacity nTaille, length 0), and *ppBloc set
// to its data. Results: 0 on success, else an allocator code (108 for a size out of range).
class IStrMemAlloc {
public:
    virtual int nGetVersion() = 0;
    virtual int nAlloue(void** ppBloc, int nTaille) = 0;
    virtual int nRealloue(void** ppBloc, int nTaille) = 0;
    virtual void Libere(void* pBloc) = 0;
    virtual int nAlloueAvecFlags(void** ppBloc, int nTaille, unsigned int dwFlags) = 0;
    virtual int nRealloueAvecFlags(void** ppBloc, int nTaille, unsigned int dwFlags) = 0;

protected:
    ~IStrMemAlloc() = default;
};

// Hands out sibling components' interfaces. Only the slots that the component uses have names.
class ILibShop {
public:
    virtual void* pReserve1() = 0;
    virtual void* pReserve2() = 0;
    virtual void* pReserve3() = 0;
    virtual void* pReserve4() = 0;
    virtual void* pReserve5() = 0;
    virtual void* pReserve6() = 0;
    virtual void* pReserve7() = 0;
    virtual void* piGetCalendrier() = 0;  // 8th slot
    virtual void* pReserve9() = 0;
    virtual void* pReserve10() = 0;
    virtual void* pReserve11() = 0;
    virtual void* piGetComposant(int nNumero, CXError* pclErreur) = 0;  // 12th slot

protected:
    ~ILibShop() = default;
};

// The machine's knowledge of the component's names: it reads the names block that the tables hand
// out and answers the wide name of a table row (the row's first word is its name number).
class IInformationComposante {
public:
    virtual int nGetVersion() = 0;
    // nLongueur -1: the whole name. An unknown row or a length of zero gives an empty text.
    virtual const wchar_t* pszGetNom(const void* pRow, int nLongueur) = 0;

protected:
    ~IInformationComposante() = default;
};

// Time settings of a language. The texts belong to the machine and live as long as the language
// information; a null or empty text means the setting is not given.
struct STParametreHeure {
    const wchar_t* pszAM;
    const wchar_t* pszPM;
    const wchar_t* pszMasqueHeure;  // in mask letters ("HH:mm:SS")
};

// Date settings of a language: its mask, then the ";"-separated names of the seven weekdays
// (Monday first) and of the twelve months.
struct STParametreDate {
    const wchar_t* pszMasqueDate;  // in mask letters ("JJ/MM/AAAA")
    const wchar_t* pszJours;
    const wchar_t* pszMois;
};

// Number and money settings of a language. The texts belong to the machine and live as long as
// the language information; a null or empty text means the setting is not given.
struct STParametreNumerique {
    const wchar_t* pszSeparateurDecimal;
    const wchar_t* pszSeparateurMillier;
    const wchar_t* pszDevise;  // the currency symbol
    int nPlaceDevise;          // 0 "$1", 1 "1$", 2 "$ 1", 3 "1 $": the layout of a positive amount
    int nDecimalesNombre;
    int nOrdreNegatifNombre;     // 0 "(1)", 1 "-1", 2 "- 1", 3 "1-", 4 "1 -"
    int nDecimalesMonetaire;
    int nOrdreNegatifMonetaire;  // 0 "($1)", 1 "-$1", 2 "$-1", 3 "$1-", 4 "(1$)", 5 "-1$", 6 "1-$", 7 "1$-",
                                 // 8 "-1 $", 9 "-$ 1", 10 "1 $-", 11 "$ 1-", 12 "$ -1", 13 "1- $",
                                 // 14 "($ 1)", 15 "(1 $)"
    const wchar_t* pszUnitesTaille;  // byte-size units, ";"-separated, bytes first with "(s)"; null: the library's
};

// Language information for date and number texts. Only the leading slots are named here; the
// families that read more of it add them in order.
class IInfoLangue : public IStdVersion {
public:
    virtual int bEcritDeDroiteAGauche() = 0;
    virtual const STParametreHeure* pstGetParametreHeure() = 0;
    virtual const STParametreDate* pstGetParametreDate() = 0;
    // Non-zero when the language takes the system's settings rather than its own records.
    virtual int bParametreHeureSysteme() = 0;
    virtual int bParametreDateSysteme() = 0;
    // Null when the language takes the system's number settings. Not pure, so that language
    // objects written before this slot existed keep answering the system's settings.
    virtual const STParametreNumerique* pstGetParametreNumerique() { return nullptr; }

protected:
    ~IInfoLangue() = default;
};

struct STZKAppel;

// The interface that the machine holds on a language object (made by pQueryProxy(60)).
class IZKLibrary : public IStdVersion {
public:
    virtual int Release() = 0;
    virtual void* pQueryProxy(int nNumero) = 0;
    virtual void AssertValid_INTERNE_OBSOLETE() = 0;
    virtual int nGetLibraryId_OBSOLETE() = 0;
    virtual int nGetVersionZK_OBSOLETE() = 0;
    virtual int nGetVersionZKCompat_OBSOLETE() = 0;
    virtual void GetResume_DEPRECATED(wchar_t* pszTexte, unsigned long nTaille) = 0;
    virtual void GetDescription_DEPRECATED(wchar_t* pszTexte, unsigned long nTaille) = 0;
    virtual const wchar_t* pzGetHelpFile_DEPRECATED() = 0;
    virtual CXError* pclGetError() = 0;
    virtual void SetLibShop_OBSOLETE(ILibShop* piLibShop) = 0;
    virtual int bFinInitZKL() = 0;
    virtual void TermZKL() = 0;
    virtual unsigned long dwActionGenerique(unsigned int nAction, unsigned long nValeur) = 0;
    virtual intptr_t InfoComposante_OBSOLETE(unsigned int nSelecteur, unsigned long nIndex) = 0;
    virtual STZKAppel* ChangeContexteAppel(STZKAppel* pstAppel) = 0;
    virtual void* pRecupereAdresseVariable(STZKAppel* pstAppel) = 0;
    virtual int bSignaleEcritureVariable(STZKAppel* pstAppel) = 0;
    virtual void DumpMemoireInstance(IDumpMemoire* piDump) = 0;
    virtual void m751EmptyMethodZKLibrary() = 0;
    virtual void m752EmptyMethodZKLibrary() = 0;
    // the two destructor slots follow, then the component's own virtual operations

protected:
    ~IZKLibrary() = default;
};

// The leading fields of the error object, which the machine reads after every call: a table
// pointer and a 32-bit atomic count (the counted-object base), then level, user code, user
// message and debug message. Level 1 means no error.
struct STErrorView {
    void* pvTable;
    int32_t nRef;
    int32_t eLevel;
    int32_t nUserCode;
    const wchar_t* pszUserMessage;
    const wchar_t* pszDebugMessage;
};
static_assert(sizeof(STErrorView) == 40);

// The call record that the machine gives every thunk.
struct STZKAppel {
    IVM* piVM;
    int32_t nBibliothequeCible;  // written by forwards
    int32_t nIndexCible;         // forwards; also the variable index for pRecupereAdresseVariable
    int32_t nSecondMot;          // the value word of EcritVariable
    uint32_t dwFrame;            // opaque to the component; low 16 bits: arguments given
};

// Init record of Execution(0xf91).
struct STInitExecution {
    uint64_t qwTaille;
    void* hMachine;
    uint32_t dwUtilisation1;
    uint32_t dwUtilisation2;
    ILibShop* piLibShop;
};
static_assert(sizeof(STInitExecution) == 32);

// The entry point of the same shape on both sides: the component's Execution, and the machine's,
// which the component resolves by name in the machine's module.
using PFNEXECUTION = intptr_t (*)(unsigned int nCommande, intptr_t nArgument);

// A thunk: (call record, language object, argument vector) -> 0, or 1 for a forward.
using PFNTHUNK = int (*)(STZKAppel* pstAppel, void* pclInstance, void** ppArguments);

// Commands of Execution, both directions.
enum : unsigned int {
    EXECUTION_INIT = 0xf91,
    EXECUTION_TERMINE = 0x130b,
    EXECUTION_INFO_LOCALE = 0x130e,
    EXECUTION_CHANGE_LANGUE = 0x130f,
    EXECUTION_INIT_TYPE_DINO = 0x1363,
    EXECUTION_DUMP_MEMOIRE = 0x1476,
    EXECUTION_DESACTIVE = 0x1634,
    EXECUTION_REACTIVE = 0x16e8,
    // asked of the machine
    MACHINE_QUESTION = 0xbed,
    MACHINE_BIBLIOTHEQUE_PART = 0xbec,
    MACHINE_DEBUT_THREAD = 0xe3d,
    MACHINE_FIN_THREAD = 0xed3,
    MACHINE_PILE_C = 0xc70,
};

// Selectors of Execution(0xbed, selector).
enum : int {
    QUESTION_CODE_PRODUIT = 1,
    QUESTION_LANGUE_INTERNE = 2,
    QUESTION_NOM_PRODUIT = 3,
    QUESTION_OPTIONS = 4,
    QUESTION_CODE_PRODUIT_REEL = 5,
    QUESTION_UTILISE_NET = 6,
    QUESTION_LIBSHOP = 7,
    QUESTION_VERSION_ACTIVE = 8,
    QUESTION_FABRIQUE_GLOBALE = 9,
    QUESTION_COLLECTEUR_TOPO = 10,
    QUESTION_MODE_SMARTPHONE = 11,
    QUESTION_INFO_LOCALE = 12,
    QUESTION_ALLOCATEUR = 13,
    QUESTION_MULTITHREAD = 14,
    QUESTION_INFORMATION_COMPOSANTE = 15,
};
