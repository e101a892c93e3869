// CXError, the one carrier of failure in the library, and COVUnknown, the counted base of objects
// handed across libraries. The machine reads the leading fields of a CXError after every call: a
// table pointer, the 32-bit count, level, user code, user message, debug message, in that order.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "base/module_info.h"
#include "base/tableau.h"

class CTString;

// A counted object: the count starts at 0; dwRelease that brings it to zero or below deletes.
class COVUnknown {
public:
    COVUnknown() noexcept = default;
    // A copy is a new object: it starts with a count of its own.
    COVUnknown(const COVUnknown&) noexcept {}
    COVUnknown& operator=(const COVUnknown&) noexcept { return *this; }
    virtual ~COVUnknown() = default;
    virtual unsigned int dwRelease() noexcept;

    unsigned int dwAddRef() noexcept { return static_cast<unsigned int>(m_nRef.fetch_add(1) + 1); }
    int nGetRef() const noexcept { return m_nRef.load(); }

protected:
    std::atomic<int32_t> m_nRef{0};
};

class CXError : public COVUnknown {
public:
    enum eERRORLEVEL : int32_t {
        EL_NOERROR = 1,
        EL_ERROR2 = 2,
        EL_ERROR3 = 3,                // also what an undefined error number gets
        EL_ERROR2_MARKED = 0x10002,
        EL_FORWARD = 0x40000010,      // the call goes on in another library
    };

    enum eERRORINFOTYPE : int32_t {
        EIT_SRCFILE = 1,
        EIT_DSTFILE = 2,
        EIT_USERNAME = 3,
        EIT_HELPFILE = 4,
        EIT_PATHOVD = 5,
        EIT_LOGICALTABLENAME = 6,
        EIT_ITEMNAME = 7,
        EIT_PATHFIC = 8,
        EIT_PATHNDX = 9,
        EIT_PATHMMO = 10,
        EIT_LINKNAME = 11,
        EIT_RECNUM = 12,
        EIT_ODBCCODE = 13,
        EIT_ODBCDESCRIPTION = 14,
        EIT_BASECODE = 15,
        EIT_NATIVECODE = 16,
        EIT_ADOCODE = 17,
        EIT_BASEMESSAGE = 18,
        EIT_NATIVEMESSAGE = 19,
        EIT_ADOMESSAGE = 20,
        EIT_DATAACCESS = 21,
        EIT_INFOCLIENT = 22,
        EIT_INFOSERVEUR = 23,
        EIT_PILEZK = 24,
        EIT_DATEHEURE = 25,
        EIT_LOCKINFO = 26,
        EIT_CORRIGE_ETAT = 27,
        EIT_INFOCS = 28,
        EIT_POINTEUR = 29,  // a raw pointer, not owned, never dumped
        EIT_XINFO = 30,
        EIT_COMPOSANT = 31,
        EIT_SERVEURCS = 32,
        EIT_PILEC = 33,
        EIT_HLOCKTIME = 36,
        EIT_HCNXID = 37,
        EIT_EXCEPTIONDOTNET = 38,
        EIT_POSITION_ERREUR = 39,
    };

    // The value of an info item: texts, 32- and 64-bit numbers, counted objects, raw pointers.
    union STErrorInfoValue {
        int64_t n64;
        int32_t n32;
        const wchar_t* psz;
        void* pv;
        COVUnknown* pcl;
    };

    struct _stERRORINFO {
        eERRORINFOTYPE eType;
        STErrorInfoValue stValeur;  // texts owned, objects counted
    };

    // A clean error (level 1) of the module's library.
    explicit CXError(const _stMyModuleInfo* pstModule = nullptr) noexcept;
    // Raises nNumero with its parameters at once.
    template <class... TParametres>
    CXError(const _stMyModuleInfo* pstModule, int nNumero, TParametres... xParametres) noexcept : CXError(pstModule) {
        SetUserError(pstModule, nNumero, xParametres...);
    }
    CXError(const _stMyModuleInfo* pstModule, int nNumero, va_list pArguments) noexcept;
    // Raises nNumero with pszFormat, formatted with the parameters, in place of its resource text.
    template <class... TParametres>
    CXError(const _stMyModuleInfo* pstModule, const wchar_t* pszFormat, int nNumero,
            TParametres... xParametres) noexcept
        : CXError(pstModule) {
        _SetUserErrorFormat(pstModule, pszFormat, nNumero, xParametres...);
    }
    // A copy of another error (light when nLight is not 0) that belongs to the module's library,
    // or to library nNumeroBibliotheque.
    CXError(const _stMyModuleInfo* pstModule, const CXError* pclErreur, int nLight) noexcept;
    CXError(int nNumeroBibliotheque, const CXError* pclErreur, int nLight) noexcept;
    CXError(const CXError& clAutre) noexcept;
    CXError& operator=(const CXError& clAutre) noexcept;
    ~CXError() override;

    // Slots through which every string of the object is allocated and freed, so that an heir can
    // change who owns the memory. Each answers the new string, or null when memory fails (the old
    // string is then untouched).
    virtual wchar_t* __vpszAllocString(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept;  // null frees
    virtual wchar_t* __vpszReallocString(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept;
    virtual wchar_t* __vpszReallocString(wchar_t** ppszCible, unsigned long nCaracteres) noexcept;  // + terminator
    virtual wchar_t* __vpszConcatString(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept;
    virtual void __vDeleteString(wchar_t** ppszCible) noexcept;
    virtual bool __AddSubError(const CXError* pclErreur, int nLight, int nNoUserMessage) noexcept;
    virtual void __DeleteAllSubError() noexcept;
    virtual void vCopy(const CXError* pclSource) noexcept;

    // Raising. SetUserError starts from a clean object; ChangeUserError keeps the old text behind
    // the new one. An undefined number gives level 3, user code 0 and a debug text naming it.
    void SetUserError(const _stMyModuleInfo* pstModule, int nNumero, ...) noexcept;
    void SetUserErrorList(const _stMyModuleInfo* pstModule, int nNumero, va_list pArguments) noexcept;
    void ChangeUserError(const _stMyModuleInfo* pstModule, int nNumero, ...) noexcept;
    void ChangeUserErrorList(const _stMyModuleInfo* pstModule, int nNumero, va_list pArguments) noexcept;
    void SetUserErrorMessage(const _stMyModuleInfo* pstModule, int nNumero, const wchar_t* pszTexte) noexcept;

    // Messages. Texts are joined with CR LF; a null or empty text adds nothing. False when memory
    // fails or the resource is missing (a debug text then says which).
    bool AddUserMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept;
    bool AddUserMessageFirst(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept;
    bool __AddUserMessageList(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, va_list pArguments) noexcept;
    bool __AddUserMessageListFirst(const _stMyModuleInfo* pstModule, unsigned int nIdRessource,
                                   va_list pArguments) noexcept;
    bool AddUserMessageNoFormat(const wchar_t* pszTexte) noexcept;
    bool AddDebugMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept;
    bool AddDebugMessagePrintf(const wchar_t* pszFormat, ...) noexcept;
    bool AddDebugMessageNoFormat(const wchar_t* pszTexte) noexcept;
    bool AddDebugMessageFirst(const wchar_t* pszTexte) noexcept;
    void RAZUserMessage() noexcept;
    // Puts pszTexte in front of *ppszCible with CR LF between; sets it when the target is null.
    bool __AddFirst(wchar_t** ppszCible, const wchar_t* pszTexte) noexcept;

    // System errors. The text of __SetSystemError follows errno, whatever the code.
    void SetSystemError(unsigned int dwCode, const wchar_t* pszTexte) noexcept;  // null text: from errno
    void SetSystemErrorMessage(const wchar_t* pszTexte) noexcept;                  // code 0
    void SetSystemErrorMessage(unsigned int dwCode, const wchar_t* pszTexte) noexcept;
    void SetSystemErrorMessage(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, ...) noexcept;  // code 0
    void SetSystemErrorMessagePrintf(const wchar_t* pszFormat, ...) noexcept;                            // code 0
    void SetSystemErrorMessageA(const char* pszTexte) noexcept;  // UTF-8, code 0
    void SetSystemErrorParam(unsigned int dwCode, ...) noexcept;
    void __SetSystemError(unsigned int dwCode, va_list pArguments) noexcept;
    void SetSystemErrorForGetHostBy(unsigned int dwCode) noexcept;
    // Lack of memory: a clean object raising the module's out-of-memory number, system code 12.
    void SetErrorNoMemory() noexcept;

    // Level 1 on an error wipes it as RAZ does; other levels only change the level.
    void SetErrorLevel(int nNiveau) noexcept;
    eERRORLEVEL eGetErrorLevel() const noexcept { return m_eLevel; }
    bool bHasError() const noexcept { return m_eLevel != EL_NOERROR; }

    // Machine context; line and thread are kept only if both texts were stored.
    void SetVMContext(const wchar_t* pszTraitement, const wchar_t* pszObjet, uint16_t wLigne,
                      uint16_t wThread) noexcept;
    void SetFunctionName(const wchar_t* pszNom, int nSyntaxe) noexcept;

    // Info items: one per type; adding a type again replaces its value. pValeur points at the
    // number for number types, is the text for text types and the object for object types.
    bool AddInfo(eERRORINFOTYPE eType, const void* pValeur) noexcept;
    bool bGetInfo(eERRORINFOTYPE eType, STErrorInfoValue* pstValeur) const noexcept;
    bool GetInfo(int nPosition, eERRORINFOTYPE* peType, STErrorInfoValue* pstValeur) const noexcept;
    bool bHasInfo(eERRORINFOTYPE eType) const noexcept;
    void DeleteInfo(eERRORINFOTYPE eType) noexcept;
    int nNumInfo() const noexcept { return m_tabInfo.nGetNbElement(); }
    // Appends the item's dump line; an empty text is skipped unless bForce. True when written.
    static bool DumpInfo(eERRORINFOTYPE eType, const STErrorInfoValue& stValeur, CTString* pclSortie,
                         bool bForce = false) noexcept;
    // Every item's line, CR LF between them.
    bool DumpAllInfo(CTString* pclSortie, bool bForce = false) const noexcept;
    void __SetXInfo(uint32_t dwBits, bool bSet) noexcept;
    bool __bGetXInfo(uint32_t dwBits) const noexcept;  // all the bits set

    // Sub-errors: copies owned by this error.
    bool AddSubError(const CXError* pclErreur) noexcept { return __AddSubError(pclErreur, 0, 0); }
    bool AddSubErrorLight(const CXError* pclErreur) noexcept { return __AddSubError(pclErreur, 1, 0); }
    bool AddSubErrorNoUserMessage(const CXError* pclErreur) noexcept { return __AddSubError(pclErreur, 0, 1); }
    bool AddSubErrorLightNoUserMessage(const CXError* pclErreur) noexcept { return __AddSubError(pclErreur, 1, 1); }
    CXError* pclGetSubError(int nPosition) const noexcept;
    int nGetNbSubError() const noexcept;
    void DeleteAllSubError() noexcept { __DeleteAllSubError(); }

    // Copies. The library number and module of this object stay. A light copy leaves out info
    // items and sub-errors. When memory fails the object ends as SetErrorNoMemory leaves it.
    void Copy(const CXError& clSource) noexcept { vCopy(&clSource); }
    void Copy(const CXError* pclSource) noexcept { vCopy(pclSource); }
    void LightCopy(const CXError* pclSource) noexcept;
    // Takes the content of another error and leaves it clean (null: this one is cleaned). Items of
    // type EIT_DATAACCESS hold an object of the raising library and are dropped when the two
    // errors belong to different libraries.
    void Transfert(CXError* pclSource) noexcept;

    void RAZ() noexcept;

    void InitModInfo(const _stMyModuleInfo* pstModule, bool bForce) noexcept;
    void InitModName(const wchar_t* pszNom) noexcept;
    void InitModVersion(const wchar_t* pszVersion) noexcept;

    // Readers of texts answer an empty text, never null.
    const wchar_t* pszGetModName() const noexcept { return pszOuVide(m_pszModName); }
    const wchar_t* pszGetModVersion() const noexcept { return pszOuVide(m_pszModVersion); }
    const wchar_t* pszGetUserMessage() const noexcept { return pszOuVide(m_pszUserMessage); }
    const wchar_t* pszGetDebugMessage() const noexcept { return pszOuVide(m_pszDebugMessage); }
    const wchar_t* pszGetSystemErrorMessage() const noexcept { return pszOuVide(m_pszSystemMessage); }
    const wchar_t* pszGetFunctionName() const noexcept { return pszOuVide(m_pszFunctionName); }
    const wchar_t* pszGetTraitmentCaption() const noexcept { return pszOuVide(m_pszTraitmentCaption); }
    const wchar_t* pszGetObjectName() const noexcept { return pszOuVide(m_pszObjectName); }
    int nGetFunctionSyntax() const noexcept { return m_bySyntax; }
    uint16_t wGetTraitmentLine() const noexcept { return m_wTraitmentLine; }
    uint16_t wGetTraitmentThread() const noexcept { return m_wTraitmentThread; }
    int nGetUserErrorCode() const noexcept { return m_nUserErrorCode; }
    void SetUserErrorCode(int nCode) noexcept { m_nUserErrorCode = nCode; }
    int nGetUserErrorCode55() const noexcept { return m_nUserErrorCode55; }
    void SetUserErrorCode55(int nCode) noexcept { m_nUserErrorCode55 = nCode; }
    int nGetDetailId() const noexcept { return m_nDetailId; }
    void SetDetailId(int nDetail) noexcept { m_nDetailId = nDetail; }
    unsigned int dwGetSystemErrorCode() const noexcept { return m_dwSystemErrorCode; }
    int nNumErrorId() const noexcept { return m_tabErrorId.nGetNbElement(); }
    unsigned int nGetErrorId(int nPosition) const noexcept;
    int nGetLibraryNumber() const noexcept { return m_nLibraryNumber; }

    // The resource id of an error number in the module's table, 0 when the number is unknown.
    static unsigned int nGetRessourceIdFromUserErrorCode(const _stMyModuleInfo* pstModule, int nNumero) noexcept;
    // Plain subtraction of the numbers: the table is searched for equality only.
    static int __nErrorDefCompare(const void* pKey, const void* pRow) noexcept;

    // The number raised for lack of memory.
    static constexpr int ms_nNumeroErreurMemoire = 80041;

protected:
    void __RAZALL() noexcept;

private:
    static const wchar_t* pszOuVide(const wchar_t* psz) noexcept { return psz != nullptr ? psz : L""; }
    static const _stErrorDef* s_pstChercheErreur(const _stMyModuleInfo* pstModule, int nNumero) noexcept;
    void _SetUserErrorFormat(const _stMyModuleInfo* pstModule, const wchar_t* pszFormat, int nNumero, ...) noexcept;
    bool _bJoint(wchar_t** ppszCible, const wchar_t* pszTexte, bool bDevant) noexcept;
    bool _bAjouteMessageRessource(const _stMyModuleInfo* pstModule, unsigned int nIdRessource, va_list pArguments,
                                  wchar_t** ppszCible, bool bDevant) noexcept;
    bool _bCopieDepuis(const CXError& clSource, bool bLight) noexcept;
    bool _bCopieOuTransfere(const CXError* pclSource, bool bLight, bool* pbSourceDetruite) noexcept;
    bool _bContientSousErreur(const CXError* pclErreur) const noexcept;
    bool _bCopieTexte(wchar_t** ppszCible, const wchar_t* pszSource) noexcept;
    void _LibereInfo(_stERRORINFO& stInfo) noexcept;
    void _SetSystemMessageDepuisErrno(int nErreur) noexcept;

    // The machine reads the first four of these at fixed offsets (see STErrorView).
    eERRORLEVEL m_eLevel = EL_NOERROR;
    int32_t m_nUserErrorCode = 0;
    wchar_t* m_pszUserMessage = nullptr;
    wchar_t* m_pszDebugMessage = nullptr;
    wchar_t* m_pszFunctionName = nullptr;
    uint8_t m_bySyntax = 0;
    wchar_t* m_pszModName = nullptr;
    wchar_t* m_pszModVersion = nullptr;
    int32_t m_nDetailId = 0;
    CTTableau<unsigned int> m_tabErrorId{0, 30};
    CTTableau<_stERRORINFO> m_tabInfo{0, 30};
    uint32_t m_dwSystemErrorCode = 0;
    wchar_t* m_pszSystemMessage = nullptr;
    wchar_t* m_pszTraitmentCaption = nullptr;
    wchar_t* m_pszObjectName = nullptr;
    uint16_t m_wTraitmentLine = 0;
    uint16_t m_wTraitmentThread = 0;
    CTTableau<CXError*>* m_ptabSubError = nullptr;
    int32_t m_nLibraryNumber = 0;
    int32_t m_nUserErrorCode55 = 0;
    const _stMyModuleInfo* m_pstModule = nullptr;  // whose resources SetErrorNoMemory reads
};

// The error object of this library: every constructor names the component's module record.
class _CXErrorModule8 : public CXError {
public:
    _CXErrorModule8() noexcept : CXError(&gstMyModuleInfo8) {}
    template <class... TParametres>
    explicit _CXErrorModule8(int nNumero, TParametres... xParametres) noexcept
        : CXError(&gstMyModuleInfo8, nNumero, xParametres...) {}
    _CXErrorModule8(int nNumero, va_list pArguments) noexcept : CXError(&gstMyModuleInfo8, nNumero, pArguments) {}
    template <class... TParametres>
    _CXErrorModule8(const wchar_t* pszFormat, int nNumero, TParametres... xParametres) noexcept
        : CXError(&gstMyModuleInfo8, pszFormat, nNumero, xParametres...) {}
    _CXErrorModule8(const CXError* pclErreur, int nLight) noexcept : CXError(&gstMyModuleInfo8, pclErreur, nLight) {}
};
