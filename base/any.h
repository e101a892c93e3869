// CAny: the value of dynamic type that the language, the machine and this library exchange. It
// holds one value of one of some forty type codes inline, and behaves per type through one
// operations object (a CAny_Intern heir with no fields of its own) that it swaps in place when the
// type changes. Conversions between types are the machine's: they are reached through the entries
// that bInitZKConvFromVM binds. Nothing here throws or allocates for scalars.
#pragma once

#include <cstdint>

#include "base/manip.h"
#include "base/xystring.h"
#include "component/interfaces/any_view.h"
#include "component/interfaces/machine.h"

class CAny;
class CXError;

// ---------------------------------------------------------------------------------------------
// Operations

// The base of every member: the behaviour of an empty value and of codes with no member. Answers:
// 0 or a code of any_view.h. A member sees the payload right behind the type word of its CAny.
class CAny_Intern {
public:
    CAny_Intern() noexcept = default;
    CAny_Intern(const CAny_Intern&) = delete;
    CAny_Intern& operator=(const CAny_Intern&) = delete;
    virtual ~CAny_Intern() = default;  // a member that owns its payload releases it here

    // Sets this value into pclCible, whose type the caller already made this one's, and copies
    // the marks.
    virtual void Duplique(CAny* pclCible) const noexcept;
    virtual int nGetSize(unsigned long* pnTaille) const noexcept;
    virtual int nGetAdr(void** ppAdresse) const noexcept;
    virtual int nFillBuffer(void* pBuffer) const noexcept;
    virtual int nGetDataSize(unsigned long* pnTaille) const noexcept;
    virtual int nGetDataAdr(void** ppAdresse) const noexcept;
    virtual int nFillDataBuffer(void* pBuffer) const noexcept;
    virtual void SetValue(const void* pValeur) noexcept;
    virtual void SetValue(const void* pValeur, unsigned long nTaille) noexcept;
    virtual int nGetPCASTR(const char** ppsz) const noexcept;
    virtual int nGetPCWSTR(const wchar_t** ppsz) const noexcept;
    virtual int nGetSTRLEN(unsigned long* pnLongueur) const noexcept;
    virtual int bIsPositive() const noexcept;
    virtual int nGetUtilDataSize(unsigned long* pnTaille) const noexcept;
    virtual int nFillUtilDataBuffer(void* pBuffer) const noexcept;
    virtual int nIncremente() noexcept;
    virtual int nDecremente() noexcept;
    virtual void SetValueFromANSI(const void* pValeur) noexcept;
    virtual void SetValueFromANSI(const void* pValeur, unsigned long nTaille) noexcept;
    virtual void SetValueFromUNICODE(const void* pValeur) noexcept;
    virtual void SetValueFromUNICODE(const void* pValeur, unsigned long nTaille) noexcept;
    virtual void SetValueFromANSI_CP(int nCodePage, const void* pValeur) noexcept;
    virtual void SetValueFromANSI_CP(int nCodePage, const void* pValeur, unsigned long nTaille) noexcept;
    virtual void SetValueFromUNICODE_CP(int nCodePage, const void* pValeur) noexcept;
    virtual void SetValueFromUNICODE_CP(int nCodePage, const void* pValeur, unsigned long nTaille) noexcept;
    virtual void SetValueOption(const void* pValeur, unsigned long nTaille, unsigned int dwOption) noexcept;

protected:
    // The payload and the type word of the CAny this object lies in.
    unsigned char* _pbyValeur() const noexcept;
    uint16_t _wType() const noexcept;
    void _CopieMarques(CAny* pclCible) const noexcept;
};

// ---------------------------------------------------------------------------------------------
// The variant

class CAny {
public:
    CAny() noexcept;
    // An owned copy of the text, type 0x6e.
    explicit CAny(const wchar_t* pszTexte) noexcept;
    CAny(const CAny& clAutre) noexcept;
    // Takes the other's payload and leaves it empty.
    CAny(CAny&& clAutre) noexcept;
    // Destroys the current value, takes the source's type and lets the source duplicate itself
    // here; strings are shared, not copied.
    CAny& operator=(const CAny& clAutre) noexcept;
    ~CAny();

    // ---- type
    uint16_t wGetType() const noexcept { return m_wType; }
    int nGetTypeCode() const noexcept { return m_wType & 0xff; }
    bool bEstNull() const noexcept { return (m_wType & ANY_MARQUE_NULL) != 0; }
    void SetMarques(uint16_t wMarques) noexcept { m_wType = static_cast<uint16_t>((m_wType & ANY_SANS_MARQUES) | (wMarques & ~ANY_SANS_MARQUES)); }
    // Changes the type in place: the old payload is released, the new one initialised (numbers
    // and pointers 0, money 0, date and time texts their initial value); then, unless bGarde,
    // the first 8 payload bytes are cleared. The same type keeps the value, apart from that
    // clearing. 0x0f is kept as 0x09. The marks are cleared.
    void __SetType(int nType, int bGarde = 0) noexcept;
    // Moves a payload in without copying what it points to: the current value is released, the
    // type set and the 40 bytes taken as they are. The CAny owns what they point to afterwards.
    void __TransfertValeurInterne(int nType, const void* pValeur) noexcept;

    // ---- sets (each clears the marks)
    void SetI4(int nValeur) noexcept;
    void SetI8(int64_t nValeur) noexcept;
    void SetR8(double dValeur) noexcept;
    void SetBOOL(bool bValeur) noexcept;
    void SetDSTRW(const CXYString<wchar_t>& clTexte) noexcept;  // shares the block, type 0x10
    int SetDSTRW(const wchar_t* pszTexte, int nLongueur = -1) noexcept;
    void SetDSTRA(const CXYString<char>& clTexte) noexcept;     // type 0x13
    int SetDSTRA(const char* pszTexte, int nLongueur = -1) noexcept;
    int SetDSTRX(const wchar_t* pszTexte) noexcept { return SetDSTRW(pszTexte); }
    void SetPSTRX(const wchar_t* pszTexte) noexcept;             // owned copy, type 0x6e
    void SetZKBIN(const CZKBIN& clValeur) noexcept;             // type 0x1c
    void SetNull() noexcept;                                     // empty, with the null mark

    // ---- the operations of the current type
    const CAny_Intern* pclOperations() const noexcept;
    CAny_Intern* pclOperations() noexcept;
    const unsigned char* pbyValeur() const noexcept { return m_abyValeur; }

    // ---- fast reads, narrower than a cast on purpose: other codes store 0 and answer 0x69
    int nGetBYTE(unsigned char& byValeur) const noexcept;     // integers; 0x73 beyond -128..255
    int nGetINT(int* pnValeur) const noexcept;                // 1, 2, 3, 6, 7, 8
    int nGetINT_64(long* pnValeur) const noexcept;            // also 4 and 9
    int nGetBitField_64(unsigned long& nValeur) const noexcept;  // 2 to 9 and 0x0e
    int nGetREAL(double* pdValeur) const noexcept;            // 0x0b, 0x0c
    int nGetManipAUB(STManipAUB* pstManip) const noexcept;    // 0x10, 0x13, 0x1c, 0x94, 0x95

    // ---- conversions through the machine; the marks survive them
    // Converts in place to the type code; the same code answers 0 without asking the machine.
    int __nCastTo(int nType, const STOCAW* pstOption = nullptr, unsigned int dwFlags = 0) noexcept;
    // The value as text; a value that is no text is first cast to one (in place).
    int __nCastToString(const wchar_t** ppszTexte, const STOCAW* pstOption = nullptr) noexcept;
    int __nCastToStringA(const char** ppszTexte, const STOCAW* pstOption = nullptr) noexcept;
    // The value's text into a counted string, without changing the value: a counted text is
    // shared, a text copied, anything else converted.
    int __nFillString(CXYString<wchar_t>& clCible, const STOCAW* pstOption = nullptr) const noexcept;
    int __nFillStringA(CXYString<char>& clCible, const STOCAW* pstOption = nullptr) const noexcept;
    // Sets a wide text (type 0x10) from 8-bit text in the option's code page, or the locale's.
    int __nSetString(const char* pszTexte, int nLongueur, const STOCAW* pstOption = nullptr) noexcept;
    // Converts a wide text into a raw payload of the type code; what the buffer then holds is the
    // caller's to release with s_FinConversion.
    static int __s_nCastTo(void* pCible, const wchar_t* pszTexte, int nType, const STOCAW* pstOption = nullptr) noexcept;
    static void s_FinConversion(void* pCible, int nType) noexcept;

    // Makes a shared string block private to this value (codes 0x10, 0x13, 0x94, 0x95).
    int nUnshare() noexcept;
    // A binary value of 8 bytes read as a duration or a date-time.
    int nCastFrom_BIN_DUREE_To_DUREE() noexcept;
    int nCastFrom_BIN_DATEHEURE_To_DATEHEURE() noexcept;

    // ---- the machine's side
    // A variant the machine filled through STAnyView: when its operations pointer is null, the
    // operations of its type word are attached. Answers the same object.
    static CAny* s_pclAttacheOperations(void* pAny) noexcept;
    // Reads variadic argument nPosition (1-based) of the call into pclValeur through the machine.
    // The value is emptied first; on success it holds the argument with its operations attached.
    static bool s_bLitParametre(IVM* piVM, int nPosition, unsigned int dwFrame, CAny* pclValeur,
                                CXError* pclErreur) noexcept;

    // ---- the link to the machine's conversions
    // Binds the entries directly (tests, and bInitZKConvFromVM); null entries unbind.
    static void s_LieConversion(PFNCONVERSIONDEPASSEMENTEXT pfnConversion, PFNFINCONVERSION pfnFin,
                                IVMFactory* piFabrique) noexcept;
    static bool s_bConversionLiee() noexcept;
    static IVMFactory* s_piFabrique() noexcept;

private:
    friend class CAny_Intern;
    void _AttacheOperations(int nType) noexcept;  // placement of the member class, payload untouched
    void _Vide() noexcept;                        // releases the payload: empty, type 0

    [[maybe_unused]] int32_t m_nReserve;  // keeps the layout of the record
    alignas(8) unsigned char m_abyOperations[sizeof(void*)];
    uint16_t m_wType;
    alignas(8) unsigned char m_abyValeur[ANY_TAILLE_VALEUR];
};

// Exported: the machine hands its module and versions; the component resolves the conversion
// entries there. False for a version of 1 or less or a compat version of 3 or more, or when an
// entry is missing; otherwise whether the machine's pQueryProxy was found.
extern "C" __attribute__((visibility("default"))) int bInitZKConvFromVM(void* hModule, int nVersion,
                                                                         int nVersionCompat) noexcept;
