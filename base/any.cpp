// CAny: construction, type changes in place, fast reads, the casts through the machine's
// conversion entries and the link that binds them; and the base behaviour of CAny_Intern.
#include "base/any.h"

#include <dlfcn.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <new>

#include "base/characters.h"
#include "base/internal/any_members.h"
#include "base/str_mem.h"

// The variant is shared with the machine byte for byte.
static_assert(offsetof(STAnyView, nReserve) == 0);
static_assert(sizeof(CAny) == sizeof(STAnyView), "the variant's layout is the machine's");

namespace {

// Where a member finds its CAny's type word and payload: at fixed distances from the operations
// object, the same as in the shared view.
constexpr ptrdiff_t kDecalageType =
    static_cast<ptrdiff_t>(offsetof(STAnyView, wType)) - static_cast<ptrdiff_t>(offsetof(STAnyView, pvOperations));
constexpr ptrdiff_t kDecalageValeur = static_cast<ptrdiff_t>(offsetof(STAnyView, abyValeur)) -
                                      static_cast<ptrdiff_t>(offsetof(STAnyView, pvOperations));

// Initial texts of the date and time types: the empty date and time.
const wchar_t kszValeurInitDate[] = L"00000000";
const wchar_t kszValeurInitTime[] = L"000000000";

// The machine's conversion entries, bound once by bInitZKConvFromVM (or at the first cast, from
// the module of the process that exports them, when the machine did not bind them).
std::atomic<PFNCONVERSIONDEPASSEMENTEXT> gpfnConvDepExt{nullptr};
std::atomic<PFNFINCONVERSION> gpfnFinConv{nullptr};
std::atomic<IVMFactory*> gpiVMFactory{nullptr};
std::atomic<void*> ghConvVM{nullptr};
std::atomic<int> gnVersionConvVM{0};
std::atomic<int> gnVersionCompatConvVM{0};
std::once_flag gonceLienTardif;

bool bPossedeSaValeur(int nCode) {
    switch (nCode) {
        case 0x0d: case 0x10: case 0x12: case 0x13: case 0x1c: case 0x6e: case 0x94: case 0x95:
            return true;
        default:
            return false;
    }
}

bool bEstChaineComptee(int nCode) { return nCode == 0x10 || nCode == 0x94 || nCode == 0x95; }

// A machine that bound nothing: look for its entries among the modules the process has loaded.
void LieTardivement() {
    std::call_once(gonceLienTardif, [] {
        void* pfn = dlsym(RTLD_DEFAULT, "nConversionDepassementExt");
        Dl_info stInfo{};
        if (pfn == nullptr || dladdr(pfn, &stInfo) == 0 || stInfo.dli_fname == nullptr) return;
        // The module stays loaded as long as its symbol is reachable; keeping this handle open
        // pins it for the process, which the bound entries need anyway.
        void* h = dlopen(stInfo.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
        if (h != nullptr && !bInitZKConvFromVM(h, 2, 2) && gpfnConvDepExt.load() == nullptr) dlclose(h);
    });
}

PFNCONVERSIONDEPASSEMENTEXT pfnConversion() {
    PFNCONVERSIONDEPASSEMENTEXT pfn = gpfnConvDepExt.load(std::memory_order_acquire);
    if (pfn != nullptr) return pfn;
    LieTardivement();
    return gpfnConvDepExt.load(std::memory_order_acquire);
}

// The buffer a conversion writes into: one payload, aligned for any of its fields.
struct alignas(16) STTamponConversion {
    unsigned char aby[ANY_TAILLE_VALEUR];
};

void* pPremierPointeur(const STTamponConversion& st) {
    void* p;
    memcpy(&p, st.aby, sizeof p);
    return p;
}

}  // namespace

extern "C" int bInitZKConvFromVM(void* hModule, int nVersion, int nVersionCompat) noexcept {
    if (nVersionCompat >= 3 || nVersion <= 1 || hModule == nullptr) return 0;
    auto pfnConversion = reinterpret_cast<PFNCONVERSIONDEPASSEMENTEXT>(dlsym(hModule, "nConversionDepassementExt"));
    auto pfnFin = reinterpret_cast<PFNFINCONVERSION>(dlsym(hModule, "FinConversion"));
    if (pfnConversion == nullptr || pfnFin == nullptr) return 0;
    ghConvVM.store(hModule);
    gnVersionConvVM.store(nVersion);
    gnVersionCompatConvVM.store(nVersionCompat);
    auto pfnQueryProxy = reinterpret_cast<PFNQUERYPROXYMACHINE>(dlsym(hModule, "pQueryProxy"));
    IVMFactory* piFabrique = pfnQueryProxy ? static_cast<IVMFactory*>(pfnQueryProxy(ANY_PROXY_FABRIQUE)) : nullptr;
    CAny::s_LieConversion(pfnConversion, pfnFin, piFabrique);
    return pfnQueryProxy != nullptr;
}

void CAny::s_LieConversion(PFNCONVERSIONDEPASSEMENTEXT pfnConversion, PFNFINCONVERSION pfnFin,
                           IVMFactory* piFabrique) noexcept {
    gpiVMFactory.store(piFabrique, std::memory_order_release);
    gpfnFinConv.store(pfnFin, std::memory_order_release);
    gpfnConvDepExt.store(pfnConversion, std::memory_order_release);
}

bool CAny::s_bConversionLiee() noexcept { return gpfnConvDepExt.load() != nullptr; }

IVMFactory* CAny::s_piFabrique() noexcept { return gpiVMFactory.load(std::memory_order_acquire); }

void CAny::s_FinConversion(void* pCible, int nType) noexcept {
    if (PFNFINCONVERSION pfn = gpfnFinConv.load(std::memory_order_acquire)) pfn(pCible, nType);
}

// ---------------------------------------------------------------------------------------------
// CAny_Intern: the empty value

unsigned char* CAny_Intern::_pbyValeur() const noexcept {
    return reinterpret_cast<unsigned char*>(const_cast<CAny_Intern*>(this)) + kDecalageValeur;
}

uint16_t CAny_Intern::_wType() const noexcept {
    uint16_t w;
    memcpy(&w, reinterpret_cast<const unsigned char*>(this) + kDecalageType, sizeof w);
    return w;
}

void CAny_Intern::_CopieMarques(CAny* pclCible) const noexcept {
    pclCible->m_wType = static_cast<uint16_t>((pclCible->m_wType & ANY_SANS_MARQUES) | (_wType() & ~ANY_SANS_MARQUES));
}

void CAny_Intern::Duplique(CAny* pclCible) const noexcept { _CopieMarques(pclCible); }

namespace {
int nSansValeur(unsigned long* pn) {
    if (pn) *pn = 0;
    return ANY_ERREUR_VIDE;
}
int nSansAdresse(void** pp) {
    if (pp) *pp = nullptr;
    return ANY_ERREUR_VIDE;
}
}  // namespace

int CAny_Intern::nGetSize(unsigned long* pn) const noexcept { return nSansValeur(pn); }
int CAny_Intern::nGetAdr(void** pp) const noexcept { return nSansAdresse(pp); }
int CAny_Intern::nFillBuffer(void*) const noexcept { return ANY_ERREUR_VIDE; }
int CAny_Intern::nGetDataSize(unsigned long* pn) const noexcept { return nSansValeur(pn); }
int CAny_Intern::nGetDataAdr(void** pp) const noexcept { return nSansAdresse(pp); }
int CAny_Intern::nFillDataBuffer(void*) const noexcept { return ANY_ERREUR_VIDE; }
int CAny_Intern::nGetUtilDataSize(unsigned long* pn) const noexcept { return nSansValeur(pn); }
int CAny_Intern::nFillUtilDataBuffer(void*) const noexcept { return ANY_ERREUR_VIDE; }
void CAny_Intern::SetValue(const void*) noexcept {}
void CAny_Intern::SetValue(const void* p, unsigned long) noexcept { SetValue(p); }
void CAny_Intern::SetValueOption(const void* p, unsigned long n, unsigned int) noexcept { SetValue(p, n); }

int CAny_Intern::nGetPCASTR(const char** pp) const noexcept {
    if (pp) *pp = nullptr;
    return ANY_ERREUR_CONVERSION;
}

int CAny_Intern::nGetPCWSTR(const wchar_t** pp) const noexcept {
    if (pp) *pp = nullptr;
    return ANY_ERREUR_CONVERSION;
}

int CAny_Intern::nGetSTRLEN(unsigned long* pn) const noexcept {
    if (pn) *pn = 0;
    return ANY_ERREUR_CONVERSION;
}

int CAny_Intern::bIsPositive() const noexcept { return 1; }
int CAny_Intern::nIncremente() noexcept { return ANY_ERREUR_CONVERSION; }
int CAny_Intern::nDecremente() noexcept { return ANY_ERREUR_CONVERSION; }

// Text given to a value that is no text: nothing happens, as for SetValue. The forms with a size
// come back to the forms without, which only text members override.
void CAny_Intern::SetValueFromANSI(const void*) noexcept {}
void CAny_Intern::SetValueFromANSI(const void* p, unsigned long) noexcept { SetValueFromANSI(p); }
void CAny_Intern::SetValueFromUNICODE(const void*) noexcept {}
void CAny_Intern::SetValueFromUNICODE(const void* p, unsigned long) noexcept { SetValueFromUNICODE(p); }
void CAny_Intern::SetValueFromANSI_CP(int, const void* p) noexcept { SetValueFromANSI(p); }
void CAny_Intern::SetValueFromANSI_CP(int, const void* p, unsigned long n) noexcept { SetValueFromANSI(p, n); }
void CAny_Intern::SetValueFromUNICODE_CP(int, const void* p) noexcept { SetValueFromUNICODE(p); }
void CAny_Intern::SetValueFromUNICODE_CP(int, const void* p, unsigned long n) noexcept { SetValueFromUNICODE(p, n); }

// ---------------------------------------------------------------------------------------------
// CAny: life and type

CAny::CAny() noexcept : m_nReserve(0), m_wType(0) {
    static_assert(offsetof(CAny, m_abyOperations) == offsetof(STAnyView, pvOperations));
    static_assert(offsetof(CAny, m_wType) == offsetof(STAnyView, wType));
    static_assert(offsetof(CAny, m_abyValeur) == offsetof(STAnyView, abyValeur));
    memset(m_abyValeur, 0, sizeof m_abyValeur);
    new (m_abyOperations) CAny_Intern;
}

CAny::CAny(const wchar_t* pszTexte) noexcept : CAny() {
    __SetType(0x6e);
    pclOperations()->SetValue(pszTexte);
}

CAny::CAny(const CAny& clAutre) noexcept : CAny() { *this = clAutre; }

CAny::CAny(CAny&& clAutre) noexcept : m_nReserve(0), m_wType(clAutre.m_wType) {
    _AttacheOperations(clAutre.m_wType & 0xff);
    memcpy(m_abyValeur, clAutre.m_abyValeur, sizeof m_abyValeur);
    // What the other pointed to is this one's now: it becomes empty without releasing anything.
    new (clAutre.m_abyOperations) CAny_Intern;
    clAutre.m_wType = 0;
    memset(clAutre.m_abyValeur, 0, sizeof clAutre.m_abyValeur);
}

CAny::~CAny() { pclOperations()->~CAny_Intern(); }

const CAny_Intern* CAny::pclOperations() const noexcept {
    return std::launder(reinterpret_cast<const CAny_Intern*>(m_abyOperations));
}

CAny_Intern* CAny::pclOperations() noexcept { return std::launder(reinterpret_cast<CAny_Intern*>(m_abyOperations)); }

void CAny::_AttacheOperations(int nType) noexcept {
    void* p = m_abyOperations;
    switch (nType & 0xff) {
        case 0x01: new (p) CAny_ZKBOOL; break;
        case 0x02: new (p) CAny_ZKUI1; break;
        case 0x03: new (p) CAny_ZKUI2; break;
        case 0x04: new (p) CAny_ZKUI4; break;
        case 0x05: new (p) CAny_ZKUI8; break;
        case 0x06: new (p) CAny_ZKI1; break;
        case 0x07: new (p) CAny_ZKI2; break;
        case 0x08: new (p) CAny_ZKI4; break;
        case 0x09: case 0x0f: new (p) CAny_ZKI8; break;
        case 0x0a: new (p) CAny_ZKCY; break;
        case 0x0b: new (p) CAny_ZKR4; break;
        case 0x0c: new (p) CAny_ZKR8; break;
        case 0x0d: new (p) CAny_ZKDECIMAL; break;
        case 0x0e: new (p) CAny_ZKUIX; break;
        case 0x10: case 0x94: case 0x95: new (p) CAny_ZKDSTRW; break;
        case 0x11: new (p) CAny_ZKCARA; break;
        case 0x12: new (p) CAny_ZKPSTRA; break;
        case 0x13: new (p) CAny_ZKDSTRA; break;
        case 0x18: new (p) CAny_ZKDATEW; break;
        case 0x19: new (p) CAny_ZKTIMEW; break;
        case 0x1a: new (p) CAny_ZKDATETIME; break;
        case 0x1b: new (p) CAny_ZKDUREE; break;
        case 0x1c: new (p) CAny_ZKBIN; break;
        case 0x1d: new (p) CAny_ZKBUFFER; break;
        case 0x1e: new (p) CAny_ZKMEMOIMG; break;
        case 0x32: new (p) CAny_ZKCONVOYEUR; break;
        case 0x41: new (p) CAny_ZKPOLICE; break;
        case 0x51: new (p) CAny_ZKCARW; break;
        case 0x53: new (p) CAny_ZKTABANY; break;
        case 0x6c: case 0x87: case 0x88: case 0x8d: case 0x8e: case 0x8f: new (p) CAny_ZKOBJET_BASE; break;
        case 0x6e: new (p) CAny_ZKPSTRW; break;
        case 0x6f: new (p) CAny_ZKDINO; break;
        case 0x80: new (p) CAny_ZKDATEA; break;
        case 0x81: new (p) CAny_ZKTIMEA; break;
        default: new (p) CAny_Intern; break;
    }
}

void CAny::_Vide() noexcept {
    pclOperations()->~CAny_Intern();
    new (m_abyOperations) CAny_Intern;
    m_wType = 0;
    memset(m_abyValeur, 0, sizeof m_abyValeur);
}

void CAny::__SetType(int nType, int bGarde) noexcept {
    int nCode = nType & 0xff;
    if (nCode == 0x0f) nCode = 0x09;
    if ((m_wType & 0xff) != nCode) {
        pclOperations()->~CAny_Intern();
        memset(m_abyValeur, 0, sizeof m_abyValeur);
        _AttacheOperations(nCode);
        m_wType = static_cast<uint16_t>(nCode);
        switch (nCode) {
            case 0x18: pclOperations()->SetValue(kszValeurInitDate); break;
            case 0x19: pclOperations()->SetValue(kszValeurInitTime); break;
            case 0x80: pclOperations()->SetValue("00000000"); break;
            case 0x81: pclOperations()->SetValue("000000000"); break;
            case 0x0d: static_cast<CAny_ZKDECIMAL*>(pclOperations())->bCree(); break;
            default: break;
        }
    } else {
        m_wType = static_cast<uint16_t>(m_wType & ANY_SANS_MARQUES);
    }
    if (bGarde) return;
    // Clearing the first 8 bytes of a value that owns what they point to would lose it: such a
    // value is released properly instead, which leaves the same null pointer.
    if (bPossedeSaValeur(nCode)) {
        pclOperations()->~CAny_Intern();
        memset(m_abyValeur, 0, sizeof(void*));
        _AttacheOperations(nCode);
    } else {
        memset(m_abyValeur, 0, sizeof(void*));
    }
}

void CAny::__TransfertValeurInterne(int nType, const void* pValeur) noexcept {
    _Vide();
    int nCode = nType & 0xff;
    if (nCode == 0x0f) nCode = 0x09;
    _AttacheOperations(nCode);
    m_wType = static_cast<uint16_t>(nCode);
    if (pValeur) memcpy(m_abyValeur, pValeur, sizeof m_abyValeur);
}

CAny& CAny::operator=(const CAny& clAutre) noexcept {
    if (this == &clAutre) return *this;
    pclOperations()->~CAny_Intern();
    memset(m_abyValeur, 0, sizeof m_abyValeur);
    _AttacheOperations(clAutre.m_wType & 0xff);
    m_wType = static_cast<uint16_t>(clAutre.m_wType & 0xff);
    clAutre.pclOperations()->Duplique(this);
    return *this;
}

// ---------------------------------------------------------------------------------------------
// Sets

void CAny::SetI4(int nValeur) noexcept {
    __SetType(0x08);
    pclOperations()->SetValue(&nValeur);
}

void CAny::SetI8(int64_t nValeur) noexcept {
    __SetType(0x09);
    pclOperations()->SetValue(&nValeur);
}

void CAny::SetR8(double dValeur) noexcept {
    __SetType(0x0c);
    pclOperations()->SetValue(&dValeur);
}

void CAny::SetBOOL(bool bValeur) noexcept {
    const int32_t n = bValeur ? 1 : 0;
    __SetType(0x01);
    pclOperations()->SetValue(&n);
}

void CAny::SetDSTRW(const CXYString<wchar_t>& clTexte) noexcept {
    __SetType(0x10);
    pclOperations()->SetValue(clTexte.pvGetAdresse());
}

int CAny::SetDSTRW(const wchar_t* pszTexte, int nLongueur) noexcept {
    CXYString<wchar_t> cl;
    const int n = cl.nAffecte(pszTexte, nLongueur);
    if (n != 0) return n;
    SetDSTRW(cl);
    return ANY_OK;
}

void CAny::SetDSTRA(const CXYString<char>& clTexte) noexcept {
    __SetType(0x13);
    pclOperations()->SetValue(clTexte.pvGetAdresse());
}

int CAny::SetDSTRA(const char* pszTexte, int nLongueur) noexcept {
    CXYString<char> cl;
    const int n = cl.nAffecte(pszTexte, nLongueur);
    if (n != 0) return n;
    SetDSTRA(cl);
    return ANY_OK;
}

void CAny::SetPSTRX(const wchar_t* pszTexte) noexcept {
    __SetType(0x6e);
    pclOperations()->SetValue(pszTexte);
}

void CAny::SetZKBIN(const CZKBIN& clValeur) noexcept {
    __SetType(0x1c);
    pclOperations()->SetValue(clValeur.pvGetAdresse());
}

void CAny::SetNull() noexcept {
    _Vide();
    m_wType = ANY_MARQUE_NULL;
}

// ---------------------------------------------------------------------------------------------
// Fast reads

namespace {

// The integer of an integer payload; false for other codes.
bool bLitEntier(int nCode, const unsigned char* pby, int64_t* pn, uint64_t* pnBrut) {
    auto Lit = [pby](auto t) {
        memcpy(&t, pby, sizeof t);
        return t;
    };
    switch (nCode) {
        case 0x01: case 0x08: *pn = Lit(int32_t{}); break;
        case 0x02: *pn = Lit(uint8_t{}); break;
        case 0x03: *pn = Lit(uint16_t{}); break;
        case 0x04: *pn = Lit(uint32_t{}); break;
        case 0x05: *pnBrut = Lit(uint64_t{}); *pn = static_cast<int64_t>(*pnBrut); return true;
        case 0x06: *pn = Lit(int8_t{}); break;
        case 0x07: *pn = Lit(int16_t{}); break;
        case 0x09: *pn = Lit(int64_t{}); break;
        case 0x0e: *pnBrut = Lit(uintptr_t{}); *pn = static_cast<int64_t>(*pnBrut); return true;
        default: return false;
    }
    *pnBrut = static_cast<uint64_t>(*pn);  // sign-extended
    return true;
}

}  // namespace

int CAny::nGetINT(int* pnValeur) const noexcept {
    const int nCode = nGetTypeCode();
    int64_t n = 0;
    uint64_t nBrut = 0;
    const bool bAccepte = nCode == 1 || nCode == 2 || nCode == 3 || nCode == 6 || nCode == 7 || nCode == 8;
    if (!bAccepte || !bLitEntier(nCode, m_abyValeur, &n, &nBrut)) {
        if (pnValeur) *pnValeur = 0;
        return ANY_ERREUR_CONVERSION;
    }
    if (pnValeur) *pnValeur = static_cast<int>(n);
    return ANY_OK;
}

int CAny::nGetINT_64(long* pnValeur) const noexcept {
    const int nCode = nGetTypeCode();
    int64_t n = 0;
    uint64_t nBrut = 0;
    if (nCode == 5 || nCode == 0x0e || !bLitEntier(nCode, m_abyValeur, &n, &nBrut)) {
        if (pnValeur) *pnValeur = 0;
        return ANY_ERREUR_CONVERSION;
    }
    if (pnValeur) *pnValeur = n;
    return ANY_OK;
}

int CAny::nGetBitField_64(unsigned long& nValeur) const noexcept {
    const int nCode = nGetTypeCode();
    int64_t n = 0;
    uint64_t nBrut = 0;
    if (nCode == 1 || !bLitEntier(nCode, m_abyValeur, &n, &nBrut)) {
        nValeur = 0;
        return ANY_ERREUR_CONVERSION;
    }
    nValeur = nBrut;
    return ANY_OK;
}

int CAny::nGetBYTE(unsigned char& byValeur) const noexcept {
    int64_t n = 0;
    uint64_t nBrut = 0;
    byValeur = 0;
    if (!bLitEntier(nGetTypeCode(), m_abyValeur, &n, &nBrut)) return ANY_ERREUR_CONVERSION;
    const bool bSansSigne = nGetTypeCode() == 5 || nGetTypeCode() == 0x0e;
    if (bSansSigne ? nBrut > 255 : (n < -128 || n > 255)) return ANY_ERREUR_DEPASSEMENT;
    byValeur = static_cast<unsigned char>(n);
    return ANY_OK;
}

int CAny::nGetREAL(double* pdValeur) const noexcept {
    if (nGetTypeCode() == 0x0c) {
        if (pdValeur) memcpy(pdValeur, m_abyValeur, sizeof(double));
        return ANY_OK;
    }
    if (nGetTypeCode() == 0x0b) {
        float f;
        memcpy(&f, m_abyValeur, sizeof f);
        if (pdValeur) *pdValeur = f;
        return ANY_OK;
    }
    if (pdValeur) *pdValeur = 0;
    return ANY_ERREUR_CONVERSION;
}

int CAny::nGetManipAUB(STManipAUB* pstManip) const noexcept {
    if (pstManip == nullptr) return ANY_ERREUR_CONVERSION;
    memset(pstManip, 0, sizeof *pstManip);
    const int nCode = nGetTypeCode();
    if (!bEstChaineComptee(nCode) && nCode != 0x13 && nCode != 0x1c) return ANY_ERREUR_CONVERSION;
    memcpy(&pstManip->pBloc, m_abyValeur, sizeof(void*));
    // The record knows one code for wide text.
    pstManip->nType = static_cast<uint16_t>(bEstChaineComptee(nCode) ? STManipAUB::TYPE_UNICODE : nCode);
    return ANY_OK;
}

// ---------------------------------------------------------------------------------------------
// Casts through the machine

int CAny::__nCastTo(int nType, const STOCAW* pstOption, unsigned int dwFlags) noexcept {
    int nCode = nType & 0xff;
    if (nCode == 0x0f) nCode = 0x09;
    if (nGetTypeCode() == nCode) return ANY_OK;
    PFNCONVERSIONDEPASSEMENTEXT pfn = pfnConversion();
    if (pfn == nullptr) return ANY_ERREUR_CONVERSION;
    STTamponConversion stTampon{};
    const int nResultat = pfn(m_abyValeur, nGetTypeCode(), stTampon.aby, nCode, dwFlags, pstOption);
    if (nResultat > ANY_SUCCES_MAX) return nResultat;
    const uint16_t wMarques = static_cast<uint16_t>(m_wType & ~ANY_SANS_MARQUES);
    __SetType(nCode);
    if (nCode == 0x12 || nCode == 0x6e || nCode == 0x0d)
        pclOperations()->SetValue(pPremierPointeur(stTampon));
    else
        pclOperations()->SetValue(stTampon.aby);
    m_wType = static_cast<uint16_t>((m_wType & ANY_SANS_MARQUES) | wMarques);
    s_FinConversion(stTampon.aby, nCode);
    return nResultat;
}

int CAny::__nCastToString(const wchar_t** ppszTexte, const STOCAW* pstOption) noexcept {
    if (pclOperations()->nGetPCWSTR(ppszTexte) == ANY_OK) return ANY_OK;
    const int n = __nCastTo(0x10, pstOption, 1);
    if (n > ANY_SUCCES_MAX) {
        if (ppszTexte) *ppszTexte = nullptr;
        return n;
    }
    return pclOperations()->nGetPCWSTR(ppszTexte);
}

int CAny::__nCastToStringA(const char** ppszTexte, const STOCAW* pstOption) noexcept {
    if (pclOperations()->nGetPCASTR(ppszTexte) == ANY_OK) return ANY_OK;
    const int n = __nCastTo(0x13, pstOption, 1);
    if (n > ANY_SUCCES_MAX) {
        if (ppszTexte) *ppszTexte = nullptr;
        return n;
    }
    return pclOperations()->nGetPCASTR(ppszTexte);
}

int CAny::__nFillString(CXYString<wchar_t>& clCible, const STOCAW* pstOption) const noexcept {
    if (bEstChaineComptee(nGetTypeCode())) {
        void* pBloc;
        memcpy(&pBloc, m_abyValeur, sizeof pBloc);
        clCible = CXYString<wchar_t>::s_clPartage(pBloc);
        return ANY_OK;
    }
    const wchar_t* psz = nullptr;
    if (pclOperations()->nGetPCWSTR(&psz) == ANY_OK) return clCible.nAffecte(psz);
    PFNCONVERSIONDEPASSEMENTEXT pfn = pfnConversion();
    if (pfn == nullptr) return ANY_ERREUR_CONVERSION;
    STTamponConversion stTampon{};
    const int n = pfn(m_abyValeur, nGetTypeCode(), stTampon.aby, 0x10, 0, pstOption);
    if (n > ANY_SUCCES_MAX) return n;
    clCible = CXYString<wchar_t>::s_clPartage(pPremierPointeur(stTampon));
    s_FinConversion(stTampon.aby, 0x10);
    return n;
}

int CAny::__nFillStringA(CXYString<char>& clCible, const STOCAW* pstOption) const noexcept {
    if (nGetTypeCode() == 0x13) {
        void* pBloc;
        memcpy(&pBloc, m_abyValeur, sizeof pBloc);
        clCible = CXYString<char>::s_clPartage(pBloc);
        return ANY_OK;
    }
    const char* psz = nullptr;
    if (pclOperations()->nGetPCASTR(&psz) == ANY_OK) return clCible.nAffecte(psz);
    PFNCONVERSIONDEPASSEMENTEXT pfn = pfnConversion();
    if (pfn == nullptr) return ANY_ERREUR_CONVERSION;
    STTamponConversion stTampon{};
    const int n = pfn(m_abyValeur, nGetTypeCode(), stTampon.aby, 0x13, 0, pstOption);
    if (n > ANY_SUCCES_MAX) return n;
    clCible = CXYString<char>::s_clPartage(pPremierPointeur(stTampon));
    s_FinConversion(stTampon.aby, 0x13);
    return n;
}

int CAny::__nSetString(const char* pszTexte, int nLongueur, const STOCAW* pstOption) noexcept {
    const unsigned int nCodePage = pstOption && pstOption->nCodePage > 0 ? static_cast<unsigned int>(pstOption->nCodePage)
                                                                        : static_cast<unsigned int>(STR_nGetCurrentCodePage());
    int nErreur = 0;
    CXYString<wchar_t> cl = PCASTR_To_CWString(pszTexte ? pszTexte : "", nLongueur, nCodePage, &nErreur);
    if (nErreur != 0) return nErreur;
    SetDSTRW(cl);
    return ANY_OK;
}

int CAny::__s_nCastTo(void* pCible, const wchar_t* pszTexte, int nType, const STOCAW* pstOption) noexcept {
    PFNCONVERSIONDEPASSEMENTEXT pfn = pfnConversion();
    if (pfn == nullptr || pCible == nullptr) return ANY_ERREUR_CONVERSION;
    // The source is an owned-text payload: its first bytes are the text pointer.
    unsigned char abySource[ANY_TAILLE_VALEUR] = {};
    memcpy(abySource, &pszTexte, sizeof pszTexte);
    return pfn(abySource, 0x6e, pCible, nType & 0xff, 1, pstOption);
}

int CAny::nUnshare() noexcept {
    const int nCode = nGetTypeCode();
    if (!bEstChaineComptee(nCode) && nCode != 0x13) return ANY_OK;
    void* pBloc;
    memcpy(&pBloc, m_abyValeur, sizeof pBloc);
    if (pBloc == nullptr) return ANY_OK;
    const int n = CBaseStrMem::s_nPrepareEcriture(&pBloc, CBaseStrMem::s_nLongueur(pBloc));
    if (n == 0) memcpy(m_abyValeur, &pBloc, sizeof pBloc);
    return n;
}

namespace {

// An 8-byte binary value taken as the 8-byte payload of another type, marks kept.
int nBinaireVers(CAny* pcl, int nType) {
    if (pcl->nGetTypeCode() != 0x1c) return ANY_ERREUR_CONVERSION;
    void* pBloc;
    memcpy(&pBloc, pcl->pbyValeur(), sizeof pBloc);
    if (CBaseStrMem::s_nLongueur(pBloc) != 8) return ANY_ERREUR_CONVERSION;
    unsigned char aby[8];
    memcpy(aby, pBloc, sizeof aby);
    const uint16_t wMarques = static_cast<uint16_t>(pcl->wGetType() & ~ANY_SANS_MARQUES);
    pcl->__SetType(nType);
    pcl->pclOperations()->SetValue(aby);
    pcl->SetMarques(wMarques);
    return ANY_OK;
}

}  // namespace

int CAny::nCastFrom_BIN_DUREE_To_DUREE() noexcept { return nBinaireVers(this, 0x1b); }
int CAny::nCastFrom_BIN_DATEHEURE_To_DATEHEURE() noexcept { return nBinaireVers(this, 0x1a); }

// ---------------------------------------------------------------------------------------------
// The machine's side

CAny* CAny::s_pclAttacheOperations(void* pAny) noexcept {
    CAny* pcl = static_cast<CAny*>(pAny);
    if (pcl == nullptr) return nullptr;
    void* pvTable;
    memcpy(&pvTable, pcl->m_abyOperations, sizeof pvTable);
    if (pvTable == nullptr) pcl->_AttacheOperations(pcl->m_wType & 0xff);
    return pcl;
}

bool CAny::s_bLitParametre(IVM* piVM, int nPosition, unsigned int dwFrame, CAny* pclValeur, CXError* pclErreur) noexcept {
    if (piVM == nullptr || pclValeur == nullptr) return false;
    pclValeur->_Vide();
    // An empty value has nothing to release, so its operations can be set aside: the machine
    // writes the type word and payload, and the operations follow from them.
    memset(pclValeur->m_abyOperations, 0, sizeof pclValeur->m_abyOperations);
    const int b = piVM->bLitParametreAny(nPosition, dwFrame, pclValeur, pclErreur);
    s_pclAttacheOperations(pclValeur);
    if (!b) {
        pclValeur->_Vide();
        return false;
    }
    return true;
}
