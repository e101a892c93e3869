// The machine's conversions between type codes: integers of every width, money, reals, texts
// (counted wide and 8-bit, owned pointers, inline date and time texts), with the language's
// forms for numbers written as text. Each conversion goes through one plain value: an integer,
// a real, an exact amount of millionths, or a text.
#include "host/conversion.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <new>
#include <string_view>

#include "host/allocator.h"
#include "host/utf8.h"
#include "host/vm.h"

namespace ovhost {
namespace {

using Int128 = __int128;

constexpr Int128 kUnite = 1000000;                              // millionths in one unit of money
constexpr Int128 kMonnaieMax = (static_cast<Int128>(1) << 79) - 1;
constexpr Int128 kMonnaieMin = -(static_cast<Int128>(1) << 79);

enum : int {
    kCodeVide = 0x00, kCodeBool = 0x01, kCodeUI1 = 0x02, kCodeUI2 = 0x03, kCodeUI4 = 0x04, kCodeUI8 = 0x05,
    kCodeI1 = 0x06, kCodeI2 = 0x07, kCodeI4 = 0x08, kCodeI8 = 0x09, kCodeMonnaie = 0x0a, kCodeR4 = 0x0b,
    kCodeR8 = 0x0c, kCodeDecimal = 0x0d, kCodeUIX = 0x0e, kCodeI8Bis = 0x0f, kCodeTexte = 0x10, kCodeCarA = 0x11,
    kCodePTexteA = 0x12, kCodeTexteA = 0x13, kCodeDateW = 0x18, kCodeHeureW = 0x19, kCodeBinaire = 0x1c, kCodeCarW = 0x51,
    kCodePTexteW = 0x6e, kCodeDateA = 0x80, kCodeHeureA = 0x81, kCodeTexte94 = 0x94, kCodeTexte95 = 0x95,
};

CStrMemAllocator& allocateur() { return CMachineServices::s_Instance().clAllocator(); }

template <class T>
T tLit(const void* p) {
    T t;
    std::memcpy(&t, p, sizeof t);
    return t;
}

template <class T>
void Ecrit(void* p, T t) {
    std::memcpy(p, &t, sizeof t);
}

// ---------------------------------------------------------------------------------------------
// Texts

std::wstring sEntier(Int128 n) {
    const bool bNegatif = n < 0;
    unsigned __int128 u = bNegatif ? static_cast<unsigned __int128>(-(n + 1)) + 1 : static_cast<unsigned __int128>(n);
    std::wstring s;
    do {
        s.insert(s.begin(), static_cast<wchar_t>(L'0' + static_cast<int>(u % 10)));
        u /= 10;
    } while (u != 0);
    if (bNegatif) s.insert(s.begin(), L'-');
    return s;
}

// An amount of millionths as the language writes money: no trailing zeros, no lone point.
std::wstring sMonnaie(Int128 n) {
    const bool bNegatif = n < 0;
    std::wstring s = sEntier(bNegatif ? -n : n);
    if (s.size() < 7) s.insert(0, 7 - s.size(), L'0');
    s.insert(s.size() - 6, 1, L'.');
    while (s.back() == L'0') s.pop_back();
    if (s.back() == L'.') s.pop_back();
    return (bNegatif && s != L"0" ? L"-" : L"") + s;
}

std::wstring sReel(double d) {
    char sz[64];
    auto [p, ec] = std::to_chars(sz, sz + sizeof sz, d);
    if (ec != std::errc()) return L"";
    return std::wstring(sz, p);
}

// ---------------------------------------------------------------------------------------------
// Numbers read from texts

// A decimal text: blanks around, one sign, digits with one point (or comma), an exponent for
// reals only. bExact tells that the text has no exponent, so its digits can be kept exactly.
struct STNombreTexte {
    bool bNegatif = false;
    std::string sEntier, sFraction;
    bool bExposant = false;
    double d = 0;
};

bool bLitNombre(std::wstring_view s, STNombreTexte* pst) {
    size_t nDebut = 0, nFin = s.size();
    while (nDebut < nFin && (s[nDebut] == L' ' || s[nDebut] == L'\t')) ++nDebut;
    while (nFin > nDebut && (s[nFin - 1] == L' ' || s[nFin - 1] == L'\t')) --nFin;
    std::string sAscii;
    for (size_t i = nDebut; i < nFin; ++i) {
        if (s[i] < 0 || s[i] >= 0x80) return false;
        sAscii.push_back(static_cast<char>(s[i]));
    }
    size_t i = 0;
    if (i < sAscii.size() && (sAscii[i] == '+' || sAscii[i] == '-')) pst->bNegatif = sAscii[i++] == '-';
    while (i < sAscii.size() && sAscii[i] >= '0' && sAscii[i] <= '9') pst->sEntier.push_back(sAscii[i++]);
    if (i < sAscii.size() && (sAscii[i] == '.' || sAscii[i] == ',')) {
        sAscii[i++] = '.';
        while (i < sAscii.size() && sAscii[i] >= '0' && sAscii[i] <= '9') pst->sFraction.push_back(sAscii[i++]);
    }
    if (pst->sEntier.empty() && pst->sFraction.empty()) return false;
    if (i < sAscii.size() && (sAscii[i] == 'e' || sAscii[i] == 'E')) {
        pst->bExposant = true;
        ++i;
        if (i < sAscii.size() && (sAscii[i] == '+' || sAscii[i] == '-')) ++i;
        const size_t nChiffres = i;
        while (i < sAscii.size() && sAscii[i] >= '0' && sAscii[i] <= '9') ++i;
        if (i == nChiffres) return false;
    }
    if (i != sAscii.size()) return false;
    const char* pDebut = sAscii.data() + (sAscii[0] == '+' ? 1 : 0);
    auto [p, ec] = std::from_chars(pDebut, sAscii.data() + sAscii.size(), pst->d);
    if (ec == std::errc::result_out_of_range) pst->d = pst->bNegatif ? -HUGE_VAL : HUGE_VAL;
    else if (ec != std::errc()) return false;
    return true;
}

// ---------------------------------------------------------------------------------------------
// The plain value between source and target

struct STValeur {
    enum class EGenre { Vide, Entier, Reel, Monnaie, Texte } eGenre = EGenre::Vide;
    Int128 n = 0;       // Entier; Monnaie in millionths
    double d = 0;
    std::wstring s;
};

Int128 nMonnaieLue(const void* p) {
    uint16_t aw[5];
    std::memcpy(aw, p, sizeof aw);
    unsigned __int128 u = 0;
    for (int i = 4; i >= 0; --i) u = (u << 16) | aw[i];
    if (aw[4] & 0x8000) u |= ~static_cast<unsigned __int128>(0) << 80;
    return static_cast<Int128>(u);
}

void EcritMonnaie(void* p, Int128 n) {
    unsigned __int128 u = static_cast<unsigned __int128>(n);
    uint16_t aw[5];
    for (uint16_t& w : aw) {
        w = static_cast<uint16_t>(u & 0xffff);
        u >>= 16;
    }
    std::memcpy(p, aw, sizeof aw);
}

// Fixed texts kept inline: up to nMax characters, ending at the first zero.
template <class C>
std::wstring sTexteFixe(const void* p, size_t nMax) {
    std::wstring s;
    const C* pc = static_cast<const C*>(p);
    for (size_t i = 0; i < nMax && pc[i] != 0; ++i) s.push_back(static_cast<wchar_t>(static_cast<std::make_unsigned_t<C>>(pc[i])));
    return s;
}

bool bLitSource(const void* p, int nCode, STValeur* pst) {
    using G = STValeur::EGenre;
    auto Entier = [pst](Int128 n) {
        pst->eGenre = G::Entier;
        pst->n = n;
        return true;
    };
    switch (nCode) {
        case kCodeVide: pst->eGenre = G::Vide; return true;
        case kCodeBool: return Entier(tLit<int32_t>(p) != 0);
        case kCodeUI1: return Entier(tLit<uint8_t>(p));
        case kCodeUI2: return Entier(tLit<uint16_t>(p));
        case kCodeUI4: return Entier(tLit<uint32_t>(p));
        case kCodeUI8: case kCodeUIX: return Entier(tLit<uint64_t>(p));
        case kCodeI1: return Entier(tLit<int8_t>(p));
        case kCodeI2: return Entier(tLit<int16_t>(p));
        case kCodeI4: return Entier(tLit<int32_t>(p));
        case kCodeI8: case kCodeI8Bis: return Entier(tLit<int64_t>(p));
        case kCodeMonnaie: pst->eGenre = G::Monnaie; pst->n = nMonnaieLue(p); return true;
        case kCodeR4: pst->eGenre = G::Reel; pst->d = tLit<float>(p); return true;
        case kCodeR8: pst->eGenre = G::Reel; pst->d = tLit<double>(p); return true;
        default: break;
    }
    pst->eGenre = G::Texte;
    switch (nCode) {
        case kCodeTexte: case kCodeTexte94: case kCodeTexte95:
            return CStrMemAllocator::s_bReadWide(tLit<const void*>(p), &pst->s);
        case kCodeTexteA: {
            std::string sOctets;
            if (!CStrMemAllocator::s_bReadBytes(tLit<const void*>(p), &sOctets)) return false;
            pst->s = sWideFromBytes(sOctets);
            return true;
        }
        case kCodePTexteW: {
            const wchar_t* psz = tLit<const wchar_t*>(p);
            if (psz) pst->s = psz;
            return true;
        }
        case kCodePTexteA: {
            const char* psz = tLit<const char*>(p);
            if (psz) pst->s = sWideFromBytes(psz);
            return true;
        }
        case kCodeCarA: pst->s = sTexteFixe<char>(p, 1); return true;
        case kCodeCarW: pst->s = sTexteFixe<wchar_t>(p, 1); return true;
        case kCodeDateW: pst->s = sTexteFixe<wchar_t>(p, 8); return true;
        case kCodeHeureW: pst->s = sTexteFixe<wchar_t>(p, 9); return true;
        case kCodeDateA: pst->s = sTexteFixe<char>(p, 8); return true;
        case kCodeHeureA: pst->s = sTexteFixe<char>(p, 9); return true;
        default: return false;
    }
}

// Money from a text: digits kept exactly, those past the sixth decimal dropped without rounding.
int nMonnaieDeTexte(const STNombreTexte& st, Int128* pn) {
    if (st.bExposant) {
        if (!std::isfinite(st.d) || std::fabs(st.d) > 6.0e17) return ANY_ERREUR_DEPASSEMENT;
        *pn = static_cast<Int128>(std::llround(st.d * 1e6));
        return ANY_OK;
    }
    Int128 n = 0;
    for (char c : st.sEntier) {
        n = n * 10 + (c - '0');
        if (n > kMonnaieMax / kUnite + 1) return ANY_ERREUR_DEPASSEMENT;
    }
    std::string sFraction = st.sFraction.substr(0, 6);
    sFraction.resize(6, '0');
    for (char c : sFraction) n = n * 10 + (c - '0');
    if (st.bNegatif) n = -n;
    if (n > kMonnaieMax || n < kMonnaieMin) return ANY_ERREUR_DEPASSEMENT;
    *pn = n;
    return ANY_OK;
}

// A text as a number: blank text reads as zero, any other text must be a number.
int nLitTexte(const std::wstring& s, STNombreTexte* pst) {
    if (s.find_first_not_of(L" \t") == std::wstring::npos) {
        pst->sEntier.assign(1, '0');  // not = "0": g++ 12 at -O3 warns falsely on that copy
        return ANY_OK;
    }
    return bLitNombre(s, pst) ? ANY_OK : ANY_ERREUR_CONVERSION;
}

// The value as an integer: reals and money are cut toward zero; texts read as numbers.
int nVersEntier(const STValeur& st, Int128* pn) {
    using G = STValeur::EGenre;
    switch (st.eGenre) {
        case G::Vide: *pn = 0; return ANY_OK;
        case G::Entier: *pn = st.n; return ANY_OK;
        case G::Monnaie: *pn = st.n / kUnite; return ANY_OK;
        case G::Reel:
            if (std::isnan(st.d)) return ANY_ERREUR_CONVERSION;
            if (!(std::fabs(st.d) < 1.8e19)) return ANY_ERREUR_DEPASSEMENT;
            *pn = static_cast<Int128>(std::trunc(st.d));
            return ANY_OK;
        case G::Texte: {
            STNombreTexte stN;
            if (const int nLu = nLitTexte(st.s, &stN); nLu != ANY_OK) return nLu;
            if (stN.bExposant) return nVersEntier(STValeur{G::Reel, 0, stN.d, {}}, pn);
            Int128 n = 0;
            for (char c : stN.sEntier) {
                n = n * 10 + (c - '0');
                if (n > (static_cast<Int128>(1) << 65)) return ANY_ERREUR_DEPASSEMENT;
            }
            *pn = stN.bNegatif ? -n : n;
            return ANY_OK;
        }
    }
    return ANY_ERREUR_CONVERSION;
}

int nVersReel(const STValeur& st, double* pd) {
    using G = STValeur::EGenre;
    switch (st.eGenre) {
        case G::Vide: *pd = 0; return ANY_OK;
        case G::Entier: *pd = static_cast<double>(st.n); return ANY_OK;
        case G::Reel: *pd = st.d; return ANY_OK;
        case G::Monnaie: {
            STNombreTexte stN;
            bLitNombre(sMonnaie(st.n), &stN);
            *pd = stN.d;
            return ANY_OK;
        }
        case G::Texte: {
            STNombreTexte stN;
            if (const int nLu = nLitTexte(st.s, &stN); nLu != ANY_OK) return nLu;
            if (!std::isfinite(stN.d)) return ANY_ERREUR_DEPASSEMENT;
            *pd = stN.d;
            return ANY_OK;
        }
    }
    return ANY_ERREUR_CONVERSION;
}

int nVersMonnaie(const STValeur& st, Int128* pn) {
    using G = STValeur::EGenre;
    switch (st.eGenre) {
        case G::Vide: *pn = 0; return ANY_OK;
        case G::Monnaie: *pn = st.n; return ANY_OK;
        case G::Entier:
            if (st.n > kMonnaieMax / kUnite || st.n < kMonnaieMin / kUnite) return ANY_ERREUR_DEPASSEMENT;
            *pn = st.n * kUnite;
            return ANY_OK;
        case G::Reel: {
            // Through its text, as money takes a real: the digits shown are the digits kept.
            if (!std::isfinite(st.d)) return ANY_ERREUR_CONVERSION;
            wchar_t sz[64];
            std::swprintf(sz, 64, L"%.6f", st.d);
            STNombreTexte stN;
            if (std::fabs(st.d) >= 1e18 || !bLitNombre(sz, &stN)) return ANY_ERREUR_DEPASSEMENT;
            return nMonnaieDeTexte(stN, pn);
        }
        case G::Texte: {
            STNombreTexte stN;
            if (const int nLu = nLitTexte(st.s, &stN); nLu != ANY_OK) return nLu;
            return nMonnaieDeTexte(stN, pn);
        }
    }
    return ANY_ERREUR_CONVERSION;
}

std::wstring sVersTexte(const STValeur& st) {
    using G = STValeur::EGenre;
    switch (st.eGenre) {
        case G::Vide: return L"";
        case G::Entier: return sEntier(st.n);
        case G::Reel: return sReel(st.d);
        case G::Monnaie: return sMonnaie(st.n);
        case G::Texte: return st.s;
    }
    return L"";
}

template <class T>
int nEcritEntier(void* pCible, const STValeur& st) {
    Int128 n = 0;
    const int nResultat = nVersEntier(st, &n);
    if (nResultat != ANY_OK) return nResultat;
    if (n < static_cast<Int128>(std::numeric_limits<T>::min()) || n > static_cast<Int128>(std::numeric_limits<T>::max()))
        return ANY_ERREUR_DEPASSEMENT;
    Ecrit(pCible, static_cast<T>(n));
    return ANY_OK;
}

template <class C>
C* pszCopie(const std::basic_string<C>& s) {
    C* p = static_cast<C*>(std::malloc((s.size() + 1) * sizeof(C)));
    if (p == nullptr) return nullptr;
    std::memcpy(p, s.c_str(), (s.size() + 1) * sizeof(C));
    return p;
}

int nEcritCible(void* pCible, int nCode, const STValeur& st) {
    switch (nCode) {
        case kCodeBool: {
            double d = 0;
            const int n = nVersReel(st, &d);
            if (n != ANY_OK) return n;
            Ecrit<int32_t>(pCible, d != 0 ? 1 : 0);
            return ANY_OK;
        }
        case kCodeUI1: return nEcritEntier<uint8_t>(pCible, st);
        case kCodeUI2: return nEcritEntier<uint16_t>(pCible, st);
        case kCodeUI4: return nEcritEntier<uint32_t>(pCible, st);
        case kCodeUI8: return nEcritEntier<uint64_t>(pCible, st);
        case kCodeUIX: return nEcritEntier<uintptr_t>(pCible, st);
        case kCodeI1: return nEcritEntier<int8_t>(pCible, st);
        case kCodeI2: return nEcritEntier<int16_t>(pCible, st);
        case kCodeI4: return nEcritEntier<int32_t>(pCible, st);
        case kCodeI8: case kCodeI8Bis: return nEcritEntier<int64_t>(pCible, st);
        case kCodeMonnaie: {
            Int128 n = 0;
            const int nResultat = nVersMonnaie(st, &n);
            if (nResultat == ANY_OK) EcritMonnaie(pCible, n);
            return nResultat;
        }
        case kCodeR4: case kCodeR8: {
            double d = 0;
            const int n = nVersReel(st, &d);
            if (n != ANY_OK) return n;
            if (nCode == kCodeR4) {
                if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) return ANY_ERREUR_DEPASSEMENT;
                Ecrit(pCible, static_cast<float>(d));
            } else {
                Ecrit(pCible, d);
            }
            return ANY_OK;
        }
        case kCodeTexte: case kCodeTexte94: case kCodeTexte95: {
            const std::wstring s = sVersTexte(st);
            void* pBloc = allocateur().pvNewWideText(s);
            if (pBloc == nullptr && !s.empty()) return ANY_ERREUR_TAILLE;
            Ecrit(pCible, pBloc);
            return ANY_OK;
        }
        case kCodeTexteA: {
            const std::string s = sUtf8(sVersTexte(st));
            void* pBloc = allocateur().pvNewBytes(s, false);
            if (pBloc == nullptr && !s.empty()) return ANY_ERREUR_TAILLE;
            Ecrit(pCible, pBloc);
            return ANY_OK;
        }
        case kCodePTexteW: {
            wchar_t* p = pszCopie(sVersTexte(st));
            if (p == nullptr) return ANY_ERREUR_TAILLE;
            Ecrit(pCible, p);
            return ANY_OK;
        }
        case kCodePTexteA: {
            char* p = pszCopie(sUtf8(sVersTexte(st)));
            if (p == nullptr) return ANY_ERREUR_TAILLE;
            Ecrit(pCible, p);
            return ANY_OK;
        }
        default:
            return ANY_ERREUR_CONVERSION;
    }
}

// The factory of decimals: 18 zero bytes each. The machine does no arithmetic on them here.
class CFabriqueDecimal final : public IVMFactory {
public:
    void* pCreeDecimal() override { return std::calloc(1, ANY_TAILLE_DECIMAL); }
    void LibereDecimal(void* pDecimal) override { std::free(pDecimal); }
};

CFabriqueDecimal& fabrique() {
    static CFabriqueDecimal s_clFabrique;
    return s_clFabrique;
}

// ---------------------------------------------------------------------------------------------
// Variants

void VideVue(STAnyView* pst) {
    pst->pvOperations = nullptr;
    pst->wType = 0;
    std::memset(pst->abyValeur, 0, sizeof pst->abyValeur);
}

// A date-time text "AAAAMMJJHHmmSSCCC" as the two words of the component's date-time.
bool bDateHeure(const std::wstring& s, uint64_t* pn) {
    if (s.size() < 8 || s.size() > 17) return false;
    for (wchar_t c : s)
        if (c < L'0' || c > L'9') return false;
    auto Nombre = [&s](size_t nDebut, size_t nLongueur) {
        uint32_t n = 0;
        for (size_t i = nDebut; i < nDebut + nLongueur && i < s.size(); ++i) n = n * 10 + static_cast<uint32_t>(s[i] - L'0');
        return n;
    };
    const uint32_t nDate = Nombre(0, 4) << 16 | Nombre(4, 2) << 8 | Nombre(6, 2);
    uint32_t nMs = Nombre(8, 2) * 3600000 + Nombre(10, 2) * 60000 + Nombre(12, 2) * 1000;
    if (s.size() > 14) {
        std::wstring sFraction = s.substr(14);
        sFraction.resize(3, L'0');
        nMs += static_cast<uint32_t>(std::wcstoul(sFraction.c_str(), nullptr, 10));
    }
    *pn = static_cast<uint64_t>(nMs) << 32 | nDate;
    return true;
}

}  // namespace

std::wstring sMoneyText(const STMoneyView& stMoney) { return sMonnaie(nMonnaieLue(&stMoney)); }

bool bMoneyFromText(std::wstring_view sTexte, STMoneyView* pstMoney) {
    if (sTexte.find_first_of(L",eE") != std::wstring_view::npos) return false;
    STNombreTexte stN;
    Int128 n = 0;
    if (!bLitNombre(sTexte, &stN) || nMonnaieDeTexte(stN, &n) != ANY_OK) return false;
    EcritMonnaie(pstMoney, n);
    return true;
}

bool bFillAnyView(const CValue& cl, STAnyView* pst) {
    VideVue(pst);
    void* pBloc = nullptr;
    switch (cl.eKind) {
        case EValueKind::Null:
            pst->wType = ANY_MARQUE_NULL;
            return true;
        case EValueKind::Bool:
            pst->wType = kCodeBool;
            Ecrit<int32_t>(pst->abyValeur, cl.nInteger != 0);
            return true;
        case EValueKind::Int:
            pst->wType = kCodeI4;
            Ecrit(pst->abyValeur, static_cast<int32_t>(cl.nInteger));
            return true;
        case EValueKind::Int64:
            pst->wType = kCodeI8;
            Ecrit(pst->abyValeur, static_cast<int64_t>(cl.nInteger));
            return true;
        case EValueKind::Real:
            pst->wType = kCodeR8;
            Ecrit(pst->abyValeur, cl.dReal);
            return true;
        case EValueKind::Money: {
            STMoneyView stMonnaie;
            if (!bMoneyFromText(cl.sText, &stMonnaie)) return false;
            pst->wType = kCodeMonnaie;
            Ecrit(pst->abyValeur, stMonnaie);
            return true;
        }
        case EValueKind::Text:
            pBloc = allocateur().pvNewWideText(cl.sText);
            if (pBloc == nullptr && !cl.sText.empty()) return false;
            pst->wType = kCodeTexte;
            Ecrit(pst->abyValeur, pBloc);
            return true;
        case EValueKind::Ansi:
        case EValueKind::Buffer:
            pBloc = allocateur().pvNewBytes(cl.sBytes, cl.eKind == EValueKind::Buffer);
            if (pBloc == nullptr && !cl.sBytes.empty()) return false;
            pst->wType = cl.eKind == EValueKind::Buffer ? kCodeBinaire : kCodeTexteA;
            Ecrit(pst->abyValeur, pBloc);
            return true;
        case EValueKind::Date:
        case EValueKind::Time: {
            const size_t nMax = cl.eKind == EValueKind::Date ? 8 : 9;
            if (cl.sText.size() > nMax) return false;
            pst->wType = cl.eKind == EValueKind::Date ? kCodeDateW : kCodeHeureW;
            std::memcpy(pst->abyValeur, cl.sText.data(), cl.sText.size() * sizeof(wchar_t));
            return true;
        }
        case EValueKind::DateTime: {
            uint64_t n = 0;
            if (!bDateHeure(cl.sText, &n)) return false;
            pst->wType = 0x1a;
            Ecrit(pst->abyValeur, n);
            return true;
        }
        case EValueKind::Duration:
            // The machine keeps durations as their text here: a variant of wide text.
            pBloc = allocateur().pvNewWideText(cl.sText);
            if (pBloc == nullptr && !cl.sText.empty()) return false;
            pst->wType = kCodeTexte;
            Ecrit(pst->abyValeur, pBloc);
            return true;
        case EValueKind::Multiple:
            return false;
    }
    return false;
}

bool bReadAnyView(const STAnyView* pst, CValue* pcl, std::string* psNote) {
    *pcl = CValue::Null();
    const int nCode = pst->wType & 0xff;
    if (pst->wType & ANY_MARQUE_NULL) return true;
    STValeur st;
    switch (nCode) {
        case kCodeVide: return true;
        case kCodeBool: *pcl = CValue::Bool(tLit<int32_t>(pst->abyValeur) != 0); return true;
        case kCodeUI1: case kCodeUI2: case kCodeI1: case kCodeI2: case kCodeI4:
            bLitSource(pst->abyValeur, nCode, &st);
            *pcl = CValue::Int(static_cast<int32_t>(st.n));
            return true;
        case kCodeUI4: case kCodeUI8: case kCodeUIX: case kCodeI8:
            bLitSource(pst->abyValeur, nCode, &st);
            *pcl = CValue::Int64(static_cast<int64_t>(st.n));
            return true;
        case kCodeR4: case kCodeR8:
            bLitSource(pst->abyValeur, nCode, &st);
            *pcl = CValue::Real(st.d);
            return true;
        case kCodeMonnaie:
            pcl->eKind = EValueKind::Money;
            pcl->sText = sMoneyText(tLit<STMoneyView>(pst->abyValeur));
            return true;
        case kCodeTexteA: {
            std::string s;
            if (!CStrMemAllocator::s_bReadBytes(tLit<const void*>(pst->abyValeur), &s)) break;
            *pcl = CValue::Ansi(std::move(s));
            return true;
        }
        case kCodeBinaire: {
            std::string s;
            if (!CStrMemAllocator::s_bReadBytes(tLit<const void*>(pst->abyValeur), &s)) break;
            *pcl = CValue::Buffer(std::move(s));
            return true;
        }
        case kCodeDateW: case kCodeHeureW:
            pcl->eKind = nCode == kCodeDateW ? EValueKind::Date : EValueKind::Time;
            pcl->sText = sTexteFixe<wchar_t>(pst->abyValeur, nCode == kCodeDateW ? 8 : 9);
            return true;
        default:
            if (!bLitSource(pst->abyValeur, nCode, &st)) break;
            *pcl = CValue::Text(sVersTexte(st));
            return true;
    }
    if (psNote != nullptr) {
        char sz[64];
        std::snprintf(sz, sizeof sz, "variant of type 0x%02x is not read by this machine", nCode);
        *psNote = sz;
    }
    return false;
}

void ReleaseAnyView(STAnyView* pst) {
    const int nCode = pst->wType & 0xff;
    switch (nCode) {
        case kCodeTexte: case kCodeTexte94: case kCodeTexte95: case kCodeTexteA: case kCodeBinaire:
            allocateur().ReleaseBlock(tLit<void*>(pst->abyValeur));
            break;
        case kCodePTexteA: case kCodePTexteW:
            std::free(tLit<void*>(pst->abyValeur));
            break;
        case kCodeDecimal:
            // A variant the component turned into a decimal holds one of the machine's factory.
            fabrique().LibereDecimal(tLit<void*>(pst->abyValeur));
            break;
        default:
            break;
    }
    VideVue(pst);
}

}  // namespace ovhost

extern "C" int nConversionDepassementExt(const void* pSource, int nTypeSource, void* pCible, int nTypeCible,
                                         unsigned int /*dwFlags*/, const STOCAW* /*pstOption*/) {
    try {
        if (pSource == nullptr || pCible == nullptr) return ANY_ERREUR_CONVERSION;
        ovhost::STValeur st;
        if (!ovhost::bLitSource(pSource, nTypeSource & 0xff, &st)) return ANY_ERREUR_CONVERSION;
        return ovhost::nEcritCible(pCible, nTypeCible & 0xff, st);
    } catch (...) {
        return ANY_ERREUR_TAILLE;
    }
}

extern "C" void FinConversion(void* pCible, int nType) {
    if (pCible == nullptr) return;
    STAnyView stVue{};
    stVue.wType = static_cast<uint16_t>(nType & 0xff);
    std::memcpy(stVue.abyValeur, pCible, sizeof(void*));
    ovhost::ReleaseAnyView(&stVue);
}

extern "C" void* pQueryProxy(int nNumero) {
    return nNumero == ANY_PROXY_FABRIQUE ? static_cast<IVMFactory*>(&ovhost::fabrique()) : nullptr;
}
