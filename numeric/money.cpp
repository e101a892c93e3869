// The arithmetic of CMoney. The public operations work on the value as one 128-bit integer, which
// holds every 80-bit value and every intermediate of addition and division; the engines keep the
// word-by-word form that serves any width up to ten words. Text forms are built digit by digit.
#include "numeric/money.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

namespace {

using int128 = __int128;
using uint128 = unsigned __int128;

constexpr int128 kUn = 1;
constexpr int128 kMax = (kUn << 79) - 1;
constexpr int128 kMin = -kMax - 1;
constexpr uint128 kMasque80 = (static_cast<uint128>(1) << 80) - 1;
constexpr uint64_t kEchelle = static_cast<uint64_t>(MONEY_ECHELLE);
constexpr uint64_t kPuissance10[7] = {1, 10, 100, 1000, 10000, 100000, 1000000};
constexpr int kMotsLarges = 2 * MONEY_MOTS;

int128 nLire(const CMoney* pst) {
    uint64_t qwBas = 0;
    int16_t nHaut = 0;
    std::memcpy(&qwBas, pst->m_awMot, sizeof qwBas);
    std::memcpy(&nHaut, pst->m_awMot + 4, sizeof nHaut);
    return static_cast<int128>(nHaut) * (kUn << 64) + qwBas;
}

// Stores the low 80 bits.
void EcrireBrut(CMoney* pst, uint128 u) {
    const uint64_t qwBas = static_cast<uint64_t>(u);
    const uint16_t wHaut = static_cast<uint16_t>(u >> 64);
    std::memcpy(pst->m_awMot, &qwBas, sizeof qwBas);
    std::memcpy(pst->m_awMot + 4, &wHaut, sizeof wHaut);
}
void EcrireSigne(CMoney* pst, int128 n) { EcrireBrut(pst, static_cast<uint128>(n)); }

uint128 uMagnitude(int128 n) { return n < 0 ? uint128{0} - static_cast<uint128>(n) : static_cast<uint128>(n); }

int128 nAvecSigne(uint128 uMagnitude, bool bNegatif) {
    const int128 n = static_cast<int128>(uMagnitude);
    return bNegatif ? -n : n;
}

// u / 1,000,000 for any 128-bit u, in three steps of 64 bits that the compiler turns into
// multiplications: the remainder of each step is below 2^20, so the next partial dividend fits.
uint128 uDiviseParMillion(uint128 u) {
    const uint64_t qwHaut = static_cast<uint64_t>(u >> 64);
    const uint64_t qwBas = static_cast<uint64_t>(u);
    if (qwHaut == 0) return qwBas / kEchelle;
    const uint64_t qwQ2 = qwHaut / kEchelle;
    const uint64_t qwX = ((qwHaut % kEchelle) << 32) | (qwBas >> 32);
    const uint64_t qwY = ((qwX % kEchelle) << 32) | (qwBas & 0xffffffffu);
    return (static_cast<uint128>(qwQ2) << 64) | (static_cast<uint128>(qwX / kEchelle) << 32) | (qwY / kEchelle);
}

// The addition shared by addition, subtraction, increment and floor. nB may be 2^79 (the negated
// smallest value), which only the 128-bit sum can hold.
CMoney* pstAjoute(CMoney* pstA, int128 nA, int128 nB) {
    const int128 nSomme = nA + nB;
    EcrireSigne(pstA, nSomme);
    if ((nA < 0) != (nB < 0)) return pstA;
    if (nA >= 0) return nSomme > kMax ? nullptr : pstA;
    if (nSomme < kMin) return nullptr;
    return pstA->m_awMot[4] == 0x8000 && pstA->m_awMot[0] == 0 ? nullptr : pstA;
}

// ---------------------------------------------------------------- engines on 16-bit words

void NegMots(uint16_t* paw, int nMots) {
    uint32_t dwRetenue = 1;
    for (int i = 0; i < nMots; ++i) {
        const uint32_t dw = static_cast<uint16_t>(~paw[i]) + dwRetenue;
        paw[i] = static_cast<uint16_t>(dw);
        dwRetenue = dw >> 16;
    }
}

// Copies the magnitude of a signed value of nMots words and answers its sign. The smallest value's
// magnitude keeps its top bit: it is read as unsigned from here on.
bool bMagnitudeMots(const uint16_t* pawSource, int nMots, uint16_t* pawMagnitude) {
    std::memcpy(pawMagnitude, pawSource, sizeof(uint16_t) * static_cast<size_t>(nMots));
    const bool bNegatif = (pawSource[nMots - 1] & 0x8000) != 0;
    if (bNegatif) NegMots(pawMagnitude, nMots);
    return bNegatif;
}

// Schoolbook product of unsigned magnitudes: nMotsA words times five, into fifteen words.
void MulMagnitudes(const uint16_t* pawA, int nMotsA, const uint16_t* pawB, uint16_t* pawProduit) {
    std::memset(pawProduit, 0, sizeof(uint16_t) * 15);
    for (int i = 0; i < nMotsA; ++i) {
        uint32_t dwRetenue = 0;
        for (int j = 0; j < MONEY_MOTS; ++j) {
            const uint32_t dw = pawProduit[i + j] + static_cast<uint32_t>(pawA[i]) * pawB[j] + dwRetenue;
            pawProduit[i + j] = static_cast<uint16_t>(dw);
            dwRetenue = dw >> 16;
        }
        // The partial sum never exceeds the whole product, which fits fifteen words.
        for (int k = i + MONEY_MOTS; dwRetenue != 0 && k < 15; ++k) {
            const uint32_t dw = pawProduit[k] + dwRetenue;
            pawProduit[k] = static_cast<uint16_t>(dw);
            dwRetenue = dw >> 16;
        }
    }
}

void DiviseMotsParMillion(uint16_t* paw, int nMots) {
    uint64_t qwReste = 0;
    for (int i = nMots - 1; i >= 0; --i) {
        const uint64_t qw = (qwReste << 16) | paw[i];
        paw[i] = static_cast<uint16_t>(qw / kEchelle);
        qwReste = qw % kEchelle;
    }
}

bool bMotsNuls(const uint16_t* paw, int nDebut, int nFin) {
    for (int i = nDebut; i < nFin; ++i)
        if (paw[i] != 0) return false;
    return true;
}

bool bMulMots(uint16_t* pawA, int nMots, const uint16_t* pawB, bool bEchelle) {
    uint16_t awA[kMotsLarges];
    uint16_t awB[MONEY_MOTS];
    uint16_t awProduit[15];
    const bool bNegatif = bMagnitudeMots(pawA, nMots, awA) != bMagnitudeMots(pawB, MONEY_MOTS, awB);
    MulMagnitudes(awA, nMots, awB, awProduit);
    if (!bMotsNuls(awProduit, kMotsLarges, 15)) return false;
    if (bEchelle) DiviseMotsParMillion(awProduit, kMotsLarges);
    if (!bMotsNuls(awProduit, nMots, kMotsLarges) || (awProduit[nMots - 1] & 0x8000) != 0) return false;
    std::memcpy(pawA, awProduit, sizeof(uint16_t) * static_cast<size_t>(nMots));
    if (bNegatif) NegMots(pawA, nMots);
    return true;
}

uint128 uDepuisMots(const uint16_t* paw, int nMots) {
    uint128 u = 0;
    for (int i = nMots - 1; i >= 0; --i) u = (u << 16) | paw[i];
    return u;
}

bool bDivMots(uint16_t* pawA, int nMots, const uint16_t* pawDiviseur, const uint16_t* pawMultiplicateur) {
    uint16_t awDiviseur[MONEY_MOTS];
    bool bNegatif = bMagnitudeMots(pawDiviseur, MONEY_MOTS, awDiviseur);
    const uint128 uDiviseur = uDepuisMots(awDiviseur, MONEY_MOTS);
    if (uDiviseur == 0) return false;
    uint16_t awDividende[kMotsLarges] = {};
    bNegatif ^= bMagnitudeMots(pawA, nMots, awDividende);
    if (pawMultiplicateur != nullptr) {
        uint16_t awMultiplicateur[MONEY_MOTS];
        uint16_t awProduit[15];
        bNegatif ^= bMagnitudeMots(pawMultiplicateur, MONEY_MOTS, awMultiplicateur);
        MulMagnitudes(awDividende, kMotsLarges, awMultiplicateur, awProduit);
        if (!bMotsNuls(awProduit, kMotsLarges, 15) || (awProduit[kMotsLarges - 1] & 0x8000) != 0) return false;
        std::memcpy(awDividende, awProduit, sizeof awDividende);
    }
    int nOctets = 0, nBits = 0;
    GetSignificativeBitNbr(&nOctets, &nBits, awDividende, static_cast<int>(sizeof awDividende));
    // Binary long division, high bit first. The remainder stays below the divisor (< 2^80), so
    // doubling it fits 128 bits.
    uint16_t awQuotient[kMotsLarges] = {};
    uint128 uReste = 0;
    for (int nBit = nBits - 1; nBit >= 0; --nBit) {
        uReste = (uReste << 1) | ((awDividende[nBit / 16] >> (nBit % 16)) & 1u);
        if (uReste >= uDiviseur) {
            uReste -= uDiviseur;
            awQuotient[nBit / 16] = static_cast<uint16_t>(awQuotient[nBit / 16] | (1u << (nBit % 16)));
        }
    }
    // Halves go up: the magnitude rounds half up, the value half away from zero.
    if (uReste >= uDiviseur - uReste) {
        for (int i = 0; i < kMotsLarges && ++awQuotient[i] == 0; ++i) {
        }
    }
    if (!bMotsNuls(awQuotient, nMots, kMotsLarges)) return false;
    if ((awQuotient[nMots - 1] & 0x8000) != 0) {
        // Only the smallest value of the width has its top bit set after the sign is applied.
        if (!bNegatif || awQuotient[nMots - 1] != 0x8000 || !bMotsNuls(awQuotient, 0, nMots - 1)) return false;
    }
    std::memcpy(pawA, awQuotient, sizeof(uint16_t) * static_cast<size_t>(nMots));
    if (bNegatif) NegMots(pawA, nMots);
    return true;
}

// Rounding to n decimals: the unit of the n-th decimal in N's own scale.
uint64_t qwUnite(short nDecimales) { return kPuissance10[MONEY_DECIMALES - nDecimales]; }

// The directed roundings share one form; bVersLeBas picks the side that receives the unit.
CMoney* pstArrondiDirige(CMoney* pst, short nDecimales, bool bVersLeBas) {
    if (pst == nullptr) return nullptr;
    if (nDecimales < 0 || nDecimales >= MONEY_DECIMALES) return pst;
    const int128 n = nLire(pst);
    const uint64_t qwUnit = qwUnite(nDecimales);
    const uint128 uMag = uMagnitude(n);
    uint128 uCoupe = uMag - uMag % qwUnit;
    // A value that is not whole receives the unit, whether or not the cut removed anything.
    const bool bPasEntier = uMag % kEchelle != 0;
    if (bPasEntier && (bVersLeBas ? n < 0 : n > 0)) uCoupe += qwUnit;
    if (uCoupe > static_cast<uint128>(kMax)) return nullptr;
    EcrireSigne(pst, nAvecSigne(uCoupe, n < 0));
    return pst;
}

int nCompare(int128 nA, int128 nB) { return nA < nB ? -1 : nA > nB ? 1 : 0; }

int128 nPartieEntiere(const CMoney* pst) { return nLire(pst) / static_cast<int128>(kEchelle); }

}  // namespace

// ---------------------------------------------------------------- CMoney

__int128 CMoney::nGetBrut() const noexcept { return nLire(this); }

void CMoney::SetBrut(__int128 n) noexcept { EcrireSigne(this, n); }

// ---------------------------------------------------------------- text

CMoney* pstChaineVersMonetaire(CMoney* pstMonetaire, const wchar_t* pszTexte) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    *pstMonetaire = gclMoneyNULL;
    if (pszTexte == nullptr) return pstMonetaire;
    const wchar_t* pc = pszTexte;
    while (*pc == L' ' || *pc == L'\t') ++pc;
    bool bNegatif = false;
    if (*pc == L'-') {
        bNegatif = true;
        ++pc;
    } else if (*pc == L'+' || *pc == L'\uff0b' || *pc == L'\uff0d') {
        ++pc;  // the full-width minus is stepped over and leaves the value positive
    }
    int nDecimales = -1;  // -1 in the integer part
    for (;; ++pc) {
        if (*pc >= L'0' && *pc <= L'9') {
            if (nDecimales == MONEY_DECIMALES) break;  // a seventh decimal ends the reading, uncounted
            if (!bMul10MonetaireInterneC(pstMonetaire, *pc)) return nullptr;
            if (nDecimales >= 0) ++nDecimales;
        } else if (*pc == L'.' && nDecimales < 0) {
            nDecimales = 0;
        } else {
            break;
        }
    }
    for (int i = nDecimales < 0 ? 0 : nDecimales; i < MONEY_DECIMALES; ++i)
        if (!bMul10Monetaire(pstMonetaire)) return nullptr;
    if (bNegatif) NegMonetaire(pstMonetaire);
    return pstMonetaire;
}

wchar_t* pszMonetaireVersChaineC(wchar_t* pszTexte, const CMoney* pstMonetaire) noexcept {
    if (pszTexte == nullptr) return nullptr;
    pszTexte[0] = L'\0';
    if (pstMonetaire == nullptr) return pszTexte;
    const int128 n = nLire(pstMonetaire);
    const uint128 uMag = uMagnitude(n);
    uint64_t qwEntier = static_cast<uint64_t>(uDiviseParMillion(uMag));  // below 2^60
    uint64_t qwFraction = static_cast<uint64_t>(uMag - static_cast<uint128>(qwEntier) * kEchelle);
    wchar_t szTampon[MONEY_CHAINE_TAILLE];
    wchar_t* pc = szTampon + MONEY_CHAINE_TAILLE;
    *--pc = L'\0';
    if (qwFraction != 0) {
        int nChiffres = MONEY_DECIMALES;
        while (qwFraction % 10 == 0) {
            qwFraction /= 10;
            --nChiffres;
        }
        for (; nChiffres > 0; --nChiffres, qwFraction /= 10) *--pc = static_cast<wchar_t>(L'0' + qwFraction % 10);
        *--pc = L'.';
    }
    do {
        *--pc = static_cast<wchar_t>(L'0' + qwEntier % 10);
        qwEntier /= 10;
    } while (qwEntier != 0);
    if (n < 0) *--pc = L'-';
    std::memcpy(pszTexte, pc, sizeof(wchar_t) * static_cast<size_t>(szTampon + MONEY_CHAINE_TAILLE - pc));
    return pszTexte;
}

CMoney* pstChaineHexaVersMonetaire(CMoney* pstMonetaire, wchar_t* pszTexte) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    *pstMonetaire = gclMoneyNULL;
    if (pszTexte == nullptr) return pstMonetaire;
    for (wchar_t* pc = pszTexte; *pc != L'\0'; ++pc)
        if (*pc >= L'a' && *pc <= L'z') *pc = static_cast<wchar_t>(*pc - L'a' + L'A');
    const wchar_t* pc = pszTexte;
    while (*pc == L' ' || *pc == L'\t') ++pc;
    uint128 u = 0;
    for (int nChiffres = 0; nChiffres < 20; ++nChiffres, ++pc) {
        unsigned nValeur;
        if (*pc >= L'0' && *pc <= L'9')
            nValeur = static_cast<unsigned>(*pc - L'0');
        else if (*pc >= L'A' && *pc <= L'F')
            nValeur = static_cast<unsigned>(*pc - L'A' + 10);
        else
            break;
        u = (u << 4) | nValeur;
    }
    EcrireBrut(pstMonetaire, u);
    return pstMonetaire;
}

namespace {
// Writes the digits of u in base 2^nBitsParChiffre, nChiffres of them from the top, without the
// leading zeros but keeping one digit.
wchar_t* pszChiffresBruts(wchar_t* pszTexte, uint128 u, int nBitsParChiffre, int nChiffres) {
    static constexpr wchar_t kChiffres[] = L"0123456789ABCDEF";
    const unsigned nMasque = (1u << nBitsParChiffre) - 1;
    wchar_t* pc = pszTexte;
    for (int i = nChiffres - 1; i >= 0; --i) {
        const unsigned nChiffre = static_cast<unsigned>(u >> (i * nBitsParChiffre)) & nMasque;
        if (nChiffre != 0 || pc != pszTexte || i == 0) *pc++ = kChiffres[nChiffre];
    }
    *pc = L'\0';
    return pszTexte;
}
}  // namespace

wchar_t* pszMonetaireVersChaineHexa(wchar_t* pszTexte, const CMoney* pstMonetaire) noexcept {
    if (pszTexte == nullptr) return nullptr;
    if (pstMonetaire == nullptr) {
        pszTexte[0] = L'\0';
        return pszTexte;
    }
    return pszChiffresBruts(pszTexte, static_cast<uint128>(nLire(pstMonetaire)) & kMasque80, 4, 20);
}

wchar_t* pszMonetaireVersChaineOctale(wchar_t* pszTexte, const CMoney* pstMonetaire) noexcept {
    if (pszTexte == nullptr) return nullptr;
    if (pstMonetaire == nullptr) {
        pszTexte[0] = L'\0';
        return pszTexte;
    }
    // 80 bits make 26 digits and two bits; the sign extends into the third bit of the top digit.
    const uint128 uMasque81 = (static_cast<uint128>(1) << 81) - 1;
    return pszChiffresBruts(pszTexte, static_cast<uint128>(nLire(pstMonetaire)) & uMasque81, 3, 27);
}

CMoney* pstDoubleVersMonetaire(CMoney* pstMonetaire, double dValeur) noexcept {
    if (pstMonetaire == nullptr || !std::isfinite(dValeur)) return nullptr;
    // Anything this large overflows; the cut spares formatting hundreds of digits.
    if (std::fabs(dValeur) >= 1e24) return nullptr;
    // Six decimals, written independently of the process locale's decimal separator.
    char szTexte[48];
    const auto [pFin, ec] = std::to_chars(szTexte, szTexte + sizeof szTexte - 1, dValeur, std::chars_format::fixed, 6);
    if (ec != std::errc()) return nullptr;
    wchar_t szLarge[sizeof szTexte];
    size_t i = 0;
    for (const char* pc = szTexte; pc != pFin; ++pc) szLarge[i++] = static_cast<wchar_t>(*pc);
    szLarge[i] = L'\0';
    return pstChaineVersMonetaire(pstMonetaire, szLarge);
}

double dMonetaireVersDouble(const CMoney* pstMonetaire) noexcept {
    if (pstMonetaire == nullptr) return 0;
    wchar_t szLarge[MONEY_CHAINE_TAILLE];
    pszMonetaireVersChaineC(szLarge, pstMonetaire);
    char szTexte[MONEY_CHAINE_TAILLE];
    size_t n = 0;
    for (; szLarge[n] != L'\0'; ++n) szTexte[n] = static_cast<char>(szLarge[n]);
    double d = 0;
    std::from_chars(szTexte, szTexte + n, d);  // correctly rounded, whatever the locale
    return d;
}

// ---------------------------------------------------------------- integers

CMoney* pstInt32VersMonetaire(CMoney* pstMonetaire, int nValeur) noexcept {
    return pstTresLongVersMonetaire(pstMonetaire, nValeur);
}

CMoney* pstTresLongVersMonetaire(CMoney* pstMonetaire, long nValeur) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    const int128 n = static_cast<int128>(nValeur) * static_cast<int128>(kEchelle);
    if (uMagnitude(n) > static_cast<uint128>(kMax)) return nullptr;
    EcrireSigne(pstMonetaire, n);
    return pstMonetaire;
}

CMoney* pstTresLongSansSigneVersMonetaire(CMoney* pstMonetaire, unsigned long nValeur) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    const uint128 u = static_cast<uint128>(nValeur) * kEchelle;
    if (u > static_cast<uint128>(kMax)) return nullptr;
    EcrireBrut(pstMonetaire, u);
    return pstMonetaire;
}

bool bMonetaireVersInt32(const CMoney* pstMonetaire, int* pnValeur) noexcept {
    const int128 n = pstMonetaire != nullptr ? nPartieEntiere(pstMonetaire) : 0;
    if (pnValeur != nullptr) *pnValeur = static_cast<int>(static_cast<uint32_t>(static_cast<uint128>(n)));
    return n >= INT32_MIN && n <= INT32_MAX;
}

int lMonetaireVersInt32(const CMoney* pstMonetaire) noexcept {
    int n = 0;
    bMonetaireVersInt32(pstMonetaire, &n);
    return n;
}

bool bMonetaireVersTresLong(const CMoney* pstMonetaire, long* pnValeur) noexcept {
    // Every integer part, below 2^60 in magnitude, fits.
    if (pnValeur != nullptr) *pnValeur = pstMonetaire != nullptr ? static_cast<long>(nPartieEntiere(pstMonetaire)) : 0;
    return true;
}

long lMonetaireVersTresLong(const CMoney* pstMonetaire) noexcept {
    long n = 0;
    bMonetaireVersTresLong(pstMonetaire, &n);
    return n;
}

bool bMonetaireVersTresLongSansSigne(const CMoney* pstMonetaire, unsigned long* pnValeur) noexcept {
    const int128 n = pstMonetaire != nullptr ? nPartieEntiere(pstMonetaire) : 0;
    if (pnValeur != nullptr) *pnValeur = static_cast<unsigned long>(static_cast<uint128>(n));
    return n >= 0;
}

unsigned long lMonetaireVersTresLongSansSigne(const CMoney* pstMonetaire) noexcept {
    unsigned long n = 0;
    bMonetaireVersTresLongSansSigne(pstMonetaire, &n);
    return n;
}

// ---------------------------------------------------------------- arithmetic

CMoney* pstAddMonetaire(CMoney* pstA, const CMoney* pstB) noexcept {
    if (pstA == nullptr || pstB == nullptr) return nullptr;
    return pstAjoute(pstA, nLire(pstA), nLire(pstB));
}

CMoney* pstSubMonetaire(CMoney* pstA, const CMoney* pstB) noexcept {
    if (pstA == nullptr || pstB == nullptr) return nullptr;
    return pstAjoute(pstA, nLire(pstA), -nLire(pstB));
}

CMoney* pstMulMonetaire(CMoney* pstA, const CMoney* pstB) noexcept {
    if (pstA == nullptr || pstB == nullptr) return nullptr;
    const int128 nA = nLire(pstA);
    const int128 nB = nLire(pstB);
    const uint128 uA = uMagnitude(nA);
    const uint128 uB = uMagnitude(nB);
    uint128 uProduit;
    if (((uA | uB) >> 64) == 0)
        uProduit = static_cast<uint128>(static_cast<uint64_t>(uA)) * static_cast<uint64_t>(uB);
    else if (__builtin_mul_overflow(uA, uB, &uProduit))
        return nullptr;  // at least 2^128, far past the range even after the scale
    const uint128 uQuotient = uDiviseParMillion(uProduit);
    if (uQuotient > static_cast<uint128>(kMax)) return nullptr;
    EcrireSigne(pstA, nAvecSigne(uQuotient, (nA < 0) != (nB < 0)));
    return pstA;
}

CMoney* pstDivMonetaire(CMoney* pstA, const CMoney* pstB) noexcept {
    if (pstA == nullptr || pstB == nullptr) return nullptr;
    const int128 nB = nLire(pstB);
    if (nB == 0) return nullptr;
    const int128 nA = nLire(pstA);
    const bool bNegatif = (nA < 0) != (nB < 0);
    const uint128 uDiviseur = uMagnitude(nB);
    const uint128 uDividende = uMagnitude(nA) * kEchelle;  // below 2^99
    uint128 uQuotient, uReste;
    if (((uDividende | uDiviseur) >> 64) == 0) {
        const uint64_t qwDividende = static_cast<uint64_t>(uDividende);
        const uint64_t qwDiviseur = static_cast<uint64_t>(uDiviseur);
        uQuotient = qwDividende / qwDiviseur;
        uReste = qwDividende % qwDiviseur;
    } else {
        uQuotient = uDividende / uDiviseur;
        uReste = uDividende - uQuotient * uDiviseur;
    }
    if (uReste >= uDiviseur - uReste) ++uQuotient;
    if (uQuotient > static_cast<uint128>(kMax) + (bNegatif ? 1 : 0)) return nullptr;
    EcrireSigne(pstA, nAvecSigne(uQuotient, bNegatif));
    return pstA;
}

CMoney* pstMulInterneC(CMoney* pstA, short nMots, const CMoney* pstB, int bEchelle) noexcept {
    if (pstA == nullptr || pstB == nullptr || nMots < 1 || nMots > MONEY_MOTS) return nullptr;
    return bMulMots(pstA->m_awMot, nMots, pstB->m_awMot, bEchelle != 0) ? pstA : nullptr;
}

STMonetaireLarge* pstMulInterneC(STMonetaireLarge* pstA, short nMots, const CMoney* pstB, int bEchelle) noexcept {
    if (pstA == nullptr || pstB == nullptr || nMots < 1 || nMots > kMotsLarges) return nullptr;
    return bMulMots(pstA->awMot, nMots, pstB->m_awMot, bEchelle != 0) ? pstA : nullptr;
}

CMoney* pstDivInterneC(CMoney* pstA, short nMots, const CMoney* pstDiviseur, const CMoney* pstMultiplicateur) noexcept {
    if (pstA == nullptr || pstDiviseur == nullptr || nMots < 1 || nMots > MONEY_MOTS) return nullptr;
    return bDivMots(pstA->m_awMot, nMots, pstDiviseur->m_awMot,
                    pstMultiplicateur != nullptr ? pstMultiplicateur->m_awMot : nullptr)
               ? pstA
               : nullptr;
}

STMonetaireLarge* pstDivInterneC(STMonetaireLarge* pstA, short nMots, const CMoney* pstDiviseur,
                                 const CMoney* pstMultiplicateur) noexcept {
    if (pstA == nullptr || pstDiviseur == nullptr || nMots < 1 || nMots > kMotsLarges) return nullptr;
    return bDivMots(pstA->awMot, nMots, pstDiviseur->m_awMot,
                    pstMultiplicateur != nullptr ? pstMultiplicateur->m_awMot : nullptr)
               ? pstA
               : nullptr;
}

bool bMulMonetaireWord(CMoney* pstMonetaire, unsigned short wFacteur, wchar_t cChiffre) noexcept {
    if (pstMonetaire == nullptr) return false;
    const unsigned nChiffre = cChiffre >= L'0' && cChiffre <= L'9' ? static_cast<unsigned>(cChiffre - L'0') : 0;
    const uint128 u = (static_cast<uint128>(nLire(pstMonetaire)) & kMasque80) * wFacteur + nChiffre;
    EcrireBrut(pstMonetaire, u);
    return u <= static_cast<uint128>(kMax);
}

bool bMul10MonetaireInterneC(CMoney* pstMonetaire, wchar_t cChiffre) noexcept {
    return bMulMonetaireWord(pstMonetaire, 10, cChiffre);
}

bool bMul10Monetaire(CMoney* pstMonetaire) noexcept { return bMulMonetaireWord(pstMonetaire, 10, L'0'); }

void NegMonetaire(CMoney* pstMonetaire) noexcept { NegInterne(pstMonetaire, MONEY_MOTS); }

void NegInterne(CMoney* pstMonetaire, short nMots) noexcept {
    if (pstMonetaire != nullptr && nMots >= 1 && nMots <= MONEY_MOTS) NegMots(pstMonetaire->m_awMot, nMots);
}

void NegInterne(STMonetaireLarge* pstMonetaire, short nMots) noexcept {
    if (pstMonetaire != nullptr && nMots >= 1 && nMots <= kMotsLarges) NegMots(pstMonetaire->awMot, nMots);
}

CMoney* pstAbsMonetaire(CMoney* pstMonetaire) noexcept {
    if (pstMonetaire != nullptr && (pstMonetaire->m_awMot[4] & 0x8000) != 0) NegMonetaire(pstMonetaire);
    return pstMonetaire;
}

bool bIncrementeMonetaire(CMoney* pstMonetaire) noexcept {
    return pstMonetaire != nullptr &&
           pstAjoute(pstMonetaire, nLire(pstMonetaire), static_cast<int128>(kEchelle)) != nullptr;
}

bool bDecrementeMonetaire(CMoney* pstMonetaire) noexcept {
    return pstMonetaire != nullptr &&
           pstAjoute(pstMonetaire, nLire(pstMonetaire), -static_cast<int128>(kEchelle)) != nullptr;
}

CMoney* pstEntMonetaire(CMoney* pstMonetaire) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    const int128 n = nLire(pstMonetaire);
    const int128 nFraction = n % static_cast<int128>(kEchelle);  // the sign of n, or 0
    EcrireSigne(pstMonetaire, n - nFraction);
    if (n < 0 && nFraction != 0) return bDecrementeMonetaire(pstMonetaire) ? pstMonetaire : nullptr;
    return pstMonetaire;
}

CMoney* pstDecMonetaire(CMoney* pstMonetaire) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    EcrireBrut(pstMonetaire, uMagnitude(nLire(pstMonetaire)) % kEchelle);
    return pstMonetaire;
}

CMoney* pstArrMonetaire(CMoney* pstMonetaire, short nDecimales) noexcept {
    if (pstMonetaire == nullptr) return nullptr;
    if (nDecimales < 0 || nDecimales >= MONEY_DECIMALES) return pstMonetaire;
    const int128 n = nLire(pstMonetaire);
    const uint64_t qwUnit = qwUnite(nDecimales);
    const uint128 uPlusDemi = uMagnitude(n) + qwUnit / 2;
    if (uPlusDemi > static_cast<uint128>(kMax)) return nullptr;
    EcrireSigne(pstMonetaire, nAvecSigne(uPlusDemi - uPlusDemi % qwUnit, n < 0));
    return pstMonetaire;
}

CMoney* pstArrMonetaireInf(CMoney* pstMonetaire, short nDecimales) noexcept {
    return pstArrondiDirige(pstMonetaire, nDecimales, true);
}

CMoney* pstArrMonetaireSup(CMoney* pstMonetaire, short nDecimales) noexcept {
    return pstArrondiDirige(pstMonetaire, nDecimales, false);
}

// ---------------------------------------------------------------- tests and extremes

bool bMonetaireZero(const CMoney* pstMonetaire) noexcept {
    return pstMonetaire == nullptr || nLire(pstMonetaire) == 0;
}

int nCmpMonetaire(const CMoney* pstA, const CMoney* pstB) noexcept {
    if (pstA == nullptr) return 1;
    if (pstB == nullptr) return -1;
    return nCompare(nLire(pstA), nLire(pstB));
}

int nCmpMonetaireEtInt32(const CMoney* pstA, int nValeur) noexcept {
    if (pstA == nullptr) return 1;
    return nCompare(nLire(pstA), static_cast<int128>(nValeur) * static_cast<int128>(kEchelle));
}

void SetMonetaireToMin(CMoney* pstMonetaire) noexcept {
    if (pstMonetaire != nullptr) EcrireSigne(pstMonetaire, kMin);
}

void SetMonetaireToMax(CMoney* pstMonetaire) noexcept {
    if (pstMonetaire != nullptr) EcrireSigne(pstMonetaire, kMax);
}

void MonetaireVersCleKS(void* pCle, const CMoney* pstMonetaire) noexcept {
    if (pCle == nullptr || pstMonetaire == nullptr) return;
    const uint128 u = static_cast<uint128>(nLire(pstMonetaire)) & kMasque80;
    unsigned char* pby = static_cast<unsigned char*>(pCle);
    for (int i = 0; i < static_cast<int>(MONEY_TAILLE); ++i)
        pby[i] = static_cast<unsigned char>(u >> (8 * (static_cast<int>(MONEY_TAILLE) - 1 - i)));
    pby[0] = static_cast<unsigned char>(pby[0] + 0x80);
}

void GetSignificativeBitNbr(int* pnOctets, int* pnBits, const void* pBuffer, int nTaille) noexcept {
    const unsigned char* pby = static_cast<const unsigned char*>(pBuffer);
    int nOctets = pby != nullptr && nTaille > 0 ? nTaille : 0;
    while (nOctets > 0 && pby[nOctets - 1] == 0) --nOctets;
    int nBits = 0;
    if (nOctets > 0) nBits = 8 * (nOctets - 1) + (32 - __builtin_clz(pby[nOctets - 1]));
    if (pnOctets != nullptr) *pnOctets = nOctets;
    if (pnBits != nullptr) *pnBits = nBits;
}
