// The engines of the number formatting functions: the format language of NumeriqueVersChaine and
// its printing, byte sizes, hexadecimal text and binary buffers. Nothing here allocates on the
// heap besides the result, and nothing throws.
#include "numeric/number_format.h"

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "numeric/number_mask.h"

namespace {

constexpr int kCodeUI1 = 0x02, kCodeUI2 = 0x03, kCodeUI4 = 0x04, kCodeUI8 = 0x05, kCodeI1 = 0x06, kCodeI2 = 0x07,
              kCodeI4 = 0x08, kCodeI8 = 0x09, kCodeMonnaie = 0x0a, kCodeR8 = 0x0c, kCodeDecimal = 0x0d,
              kCodeUIX = 0x0e, kCodeTexte = 0x10, kCodePTexteA = 0x12, kCodeTexteA = 0x13, kCodePTexteW = 0x6e,
              kCodeTexte94 = 0x94, kCodeTexte95 = 0x95;

// Room for any printed number: 309 integer digits of the largest double, a precision and a width
// of at most 100, a sign and a point; the wide form adds one separator every three digits.
constexpr int kTampon = 640;
constexpr int kTamponLarge = 1024;

bool bEstChiffre(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool bEstTexte(int nCode) {
    return nCode == kCodeTexte || nCode == kCodePTexteA || nCode == kCodeTexteA || nCode == kCodePTexteW ||
           nCode == kCodeTexte94 || nCode == kCodeTexte95;
}

// Bytes of the integer codes; 0 for the others.
int nTailleEntier(int nCode) {
    switch (nCode) {
        case kCodeUI1: case kCodeI1: return 1;
        case kCodeUI2: case kCodeI2: return 2;
        case kCodeUI4: case kCodeI4: return 4;
        case kCodeUI8: case kCodeI8: case kCodeUIX: return 8;
        default: return 0;
    }
}

bool bEstSigne(int nCode) { return nCode >= kCodeI1 && nCode <= kCodeI8; }

// The first character of a locale text as a wide character; cDefaut for an empty or broken text.
wchar_t cCaractereLocale(const char* psz, wchar_t cDefaut) {
    if (psz == nullptr || *psz == 0) return cDefaut;
    std::mbstate_t st{};
    wchar_t c = 0;
    const size_t n = std::mbrtowc(&c, psz, std::strlen(psz), &st);
    return n == 0 || n > std::strlen(psz) ? cDefaut : c;
}

// ---------------------------------------------------------------------------------------------
// The value, read once

struct STNombre {
    enum class EGenre { Reel, Entier, Monnaie } eGenre = EGenre::Reel;
    double d = 0;          // the value as a real, for every kind
    uint64_t u = 0;        // Entier: the bits, two's complement for a negative value
    bool bNegatif = false; // Entier: a signed value below 0
    CMoney stMonnaie{};
    int nTailleDonnees = 4;  // bytes the integer letters cut the value to
};

// ---------------------------------------------------------------------------------------------
// Printing

// The bits a real gives to the integer letters: cut toward zero, the top bit kept apart above 2^63.
uint64_t uBitsDeReel(double d) {
    constexpr double k2p63 = 9223372036854775808.0;
    if (std::isnan(d)) return 0;
    if (d >= k2p63) {
        if (d - k2p63 >= k2p63) return ~uint64_t{0};
        return static_cast<uint64_t>(d - k2p63) | (uint64_t{1} << 63);
    }
    if (d <= -k2p63) return uint64_t{1} << 63;
    return static_cast<uint64_t>(static_cast<int64_t>(d));
}

uint64_t uCoupe(uint64_t u, int nTaille) { return nTaille >= 8 ? u : u & ((uint64_t{1} << (nTaille * 8)) - 1); }

// Money under "f" (and "d" through "f"): exact, rounded half away from zero; the flags and the
// width applied as the C library applies them.
int nImprimeMonnaie(const CMoney& stMonnaie, const STFormatNumerique& st, char* psz) {
    const __int128 n = stMonnaie.nGetBrut();
    const bool bNegatif = n < 0;
    unsigned __int128 a = bNegatif ? static_cast<unsigned __int128>(-n) : static_cast<unsigned __int128>(n);
    const int nPrecision = st.nPrecision < 0 ? 0 : st.nPrecision;
    int nDecimalesExactes = 6;
    if (nPrecision < 6) {
        unsigned __int128 nDiviseur = 1;
        for (int i = nPrecision; i < 6; ++i) nDiviseur *= 10;
        a = (a + nDiviseur / 2) / nDiviseur;
        nDecimalesExactes = nPrecision;
    }
    char szChiffres[64];
    int nChiffres = 0;
    do {
        szChiffres[nChiffres++] = static_cast<char>('0' + static_cast<int>(a % 10));
        a /= 10;
    } while (a != 0 || nChiffres <= nDecimalesExactes);
    char szCorps[kTampon];
    int nCorps = 0;
    if (bNegatif) szCorps[nCorps++] = '-';
    else if (st.dwFlags & FMTNUM_SIGNE) szCorps[nCorps++] = '+';
    const int nSigne = nCorps;
    for (int i = nChiffres - 1; i >= nDecimalesExactes; --i) szCorps[nCorps++] = szChiffres[i];
    if (nPrecision > 0) szCorps[nCorps++] = '.';
    for (int i = nDecimalesExactes - 1; i >= 0; --i) szCorps[nCorps++] = szChiffres[i];
    for (int i = nDecimalesExactes; i < nPrecision; ++i) szCorps[nCorps++] = '0';
    const int nLargeur = st.nLargeur < 0 ? 0 : st.nLargeur;
    const int nRemplissage = nLargeur > nCorps ? nLargeur - nCorps : 0;
    int nLongueur = 0;
    if (st.dwFlags & FMTNUM_GAUCHE) {
        std::memcpy(psz, szCorps, static_cast<size_t>(nCorps));
        nLongueur = nCorps;
        for (int i = 0; i < nRemplissage; ++i) psz[nLongueur++] = ' ';
    } else if (st.dwFlags & FMTNUM_ZERO) {
        std::memcpy(psz, szCorps, static_cast<size_t>(nSigne));
        nLongueur = nSigne;
        for (int i = 0; i < nRemplissage; ++i) psz[nLongueur++] = '0';
        std::memcpy(psz + nLongueur, szCorps + nSigne, static_cast<size_t>(nCorps - nSigne));
        nLongueur += nCorps - nSigne;
    } else {
        for (int i = 0; i < nRemplissage; ++i) psz[nLongueur++] = ' ';
        std::memcpy(psz + nLongueur, szCorps, static_cast<size_t>(nCorps));
        nLongueur += nCorps;
    }
    psz[nLongueur] = 0;
    return nLongueur;
}

// A negative value under "x" or "o": a width shorter than the digits keeps the right-most ones;
// zero filling in front of a digit whose top bit is set becomes the sign fill of that base.
int nAjusteNegatifBase(char* psz, int nLongueur, const STFormatNumerique& st) {
    if (st.nLargeur > 0 && st.nLargeur < nLongueur) {
        std::memmove(psz, psz + (nLongueur - st.nLargeur), static_cast<size_t>(st.nLargeur) + 1);
        nLongueur = st.nLargeur;
    }
    if ((st.dwFlags & FMTNUM_ZERO) == 0) return nLongueur;
    int i = 0;
    while (i < nLongueur && psz[i] == '0') ++i;
    if (i == 0 || i == nLongueur) return nLongueur;
    const char c = psz[i];
    const bool bOctal = st.cConversion == 'o' || st.cConversion == 'O';
    const bool bHaut = bOctal ? c >= '4' && c <= '7' : (c >= '8' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    if (!bHaut) return nLongueur;
    const char cRemplissage = bOctal ? '7' : st.cConversion == 'X' ? 'F' : 'f';
    for (int j = 0; j < i; ++j) psz[j] = cRemplissage;
    return nLongueur;
}

// An exponent of three digits that starts with "0" is cut to two, and the freed position goes
// where the alignment wants it. The C library of this platform already writes two digits, so this
// only matters for libraries that always write three.
int nAjusteExposant(char* psz, int nLongueur, const STFormatNumerique& st) {
    char* pE = std::strpbrk(psz, "eE");
    if (pE == nullptr || (pE[1] != '+' && pE[1] != '-')) return nLongueur;
    char* pChiffres = pE + 2;
    if (std::strlen(pChiffres) < 3 || pChiffres[0] != '0' || !bEstChiffre(pChiffres[2]) ||
        (pChiffres[3] != 0 && pChiffres[3] != ' '))
        return nLongueur;
    const int nLongueurAvant = nLongueur;
    std::memmove(pChiffres, pChiffres + 1, std::strlen(pChiffres));
    --nLongueur;
    if (st.nLargeur < nLongueurAvant) return nLongueur;
    if (st.dwFlags & FMTNUM_GAUCHE) {
        psz[nLongueur++] = ' ';
    } else {
        const int nPosition = (st.dwFlags & FMTNUM_ZERO) && (psz[0] == '-' || psz[0] == '+') ? 1 : 0;
        std::memmove(psz + nPosition + 1, psz + nPosition, static_cast<size_t>(nLongueur - nPosition));
        psz[nPosition] = (st.dwFlags & FMTNUM_ZERO) ? '0' : ' ';
        ++nLongueur;
    }
    psz[nLongueur] = 0;
    return nLongueur;
}

// Zero filling with a sign that overflows the width: one fill "0" goes.
int nAjusteSigneZero(char* psz, int nLongueur, const STFormatNumerique& st) {
    if ((st.dwFlags & FMTNUM_ZERO) == 0 || nLongueur < 3 || nLongueur <= st.nLargeur) return nLongueur;
    if ((psz[0] != '+' && psz[0] != '-') || psz[1] != '0' || !bEstChiffre(psz[2])) return nLongueur;
    std::memmove(psz + 1, psz + 2, static_cast<size_t>(nLongueur - 1));
    return nLongueur - 1;
}

// Widens the printed number, with the locale's decimal point and thousands separators when asked.
// Each separator uses up a blank or a fill "0" of the field first, so that the width holds while
// it can; otherwise the text grows.
int nElargit(const char* psz, int nLongueur, const STFormatNumerique& st, wchar_t* pszSortie) {
    wchar_t cPoint = L'.';
    wchar_t cMillier = L' ';
    if (st.dwFlags & (FMTNUM_VIRGULE | FMTNUM_MILLIERS)) {
        const lconv* pst = std::localeconv();
        cPoint = cCaractereLocale(pst->decimal_point, L'.');
        cMillier = cCaractereLocale(pst->thousands_sep, L' ');
    }
    if (st.dwFlags & FMTNUM_VIRGULE) {
        for (int i = 0; i < nLongueur; ++i) pszSortie[i] = psz[i] == '.' ? cPoint : static_cast<wchar_t>(psz[i]);
    } else {
        for (int i = 0; i < nLongueur; ++i) pszSortie[i] = static_cast<wchar_t>(psz[i]);
    }
    if (st.dwFlags & FMTNUM_MILLIERS) {
        int i = 0;
        while (i < nLongueur && pszSortie[i] == L' ') ++i;
        const int nBlancsDebut = i;
        if (i < nLongueur && (pszSortie[i] == L'-' || pszSortie[i] == L'+')) ++i;
        const int nDebutChiffres = i;
        int nFin = i;
        while (nFin < nLongueur && bEstChiffre(pszSortie[nFin])) ++nFin;
        int nSignificatif = nDebutChiffres;
        while (nSignificatif < nFin - 1 && pszSortie[nSignificatif] == L'0') ++nSignificatif;
        const int nSeparateurs = nFin > nSignificatif ? (nFin - nSignificatif - 1) / 3 : 0;
        if (nSeparateurs > 0) {
            // What the separators use up: blanks in front, then fill zeros, then blanks behind.
            int nBlancsFin = 0;
            while (nBlancsFin < nLongueur - nFin && pszSortie[nLongueur - 1 - nBlancsFin] == L' ') ++nBlancsFin;
            int nReste = nSeparateurs;
            const int nOteDebut = nReste < nBlancsDebut ? nReste : nBlancsDebut;
            nReste -= nOteDebut;
            const int nZeros = nSignificatif - nDebutChiffres;
            const int nOteZeros = nReste < nZeros ? nReste : nZeros;
            nReste -= nOteZeros;
            const int nOteFin = nReste < nBlancsFin ? nReste : nBlancsFin;
            wchar_t szGroupe[kTamponLarge];
            int n = 0;
            for (int j = nOteDebut; j < nDebutChiffres; ++j) szGroupe[n++] = pszSortie[j];
            for (int j = nDebutChiffres + nOteZeros; j < nSignificatif; ++j) szGroupe[n++] = pszSortie[j];
            for (int j = nSignificatif; j < nFin; ++j) {
                szGroupe[n++] = pszSortie[j];
                const int nApres = nFin - 1 - j;
                if (nApres > 0 && nApres % 3 == 0) szGroupe[n++] = cMillier;
            }
            for (int j = nFin; j < nLongueur - nOteFin; ++j) szGroupe[n++] = pszSortie[j];
            std::memcpy(pszSortie, szGroupe, static_cast<size_t>(n) * sizeof(wchar_t));
            nLongueur = n;
        }
    }
    // A no-break space of a locale shows as a plain blank.
    if ((cPoint & 0xff) == 0xa0 || (cMillier & 0xff) == 0xa0)
        for (int i = 0; i < nLongueur; ++i)
            if ((pszSortie[i] & 0xff) == 0xa0) pszSortie[i] = L' ';
    pszSortie[nLongueur] = 0;
    return nLongueur;
}

// Reads the value: its kind, its real, its integer bits and the size the integer letters see.
bool bLitNombre(const CAny& clValeur, STNombre* pst) {
    const int nCode = clValeur.nGetTypeCode();
    const int nTaille = nTailleEntier(nCode);
    if (nTaille > 0) {
        unsigned long u = 0;
        if (clValeur.nGetBitField_64(u) != ANY_OK) return false;
        pst->eGenre = STNombre::EGenre::Entier;
        pst->u = u;
        pst->bNegatif = bEstSigne(nCode) && static_cast<int64_t>(u) < 0;
        pst->d = pst->bNegatif || bEstSigne(nCode) ? static_cast<double>(static_cast<int64_t>(u)) : static_cast<double>(u);
        pst->nTailleDonnees = nTaille;
        return true;
    }
    if (nCode == kCodeMonnaie || nCode == kCodeDecimal) {
        CAny clMonnaie(clValeur);
        if (clMonnaie.__nCastTo(kCodeMonnaie) <= ANY_SUCCES_MAX && clMonnaie.nGetTypeCode() == kCodeMonnaie) {
            pst->eGenre = STNombre::EGenre::Monnaie;
            std::memcpy(&pst->stMonnaie, clMonnaie.pbyValeur(), sizeof(CMoney));
            pst->d = dMonetaireVersDouble(&pst->stMonnaie);
            return true;
        }
    }
    double d = 0;
    if (clValeur.nGetREAL(&d) != ANY_OK) {
        CAny clReel(clValeur);
        if (clReel.__nCastTo(kCodeR8) > ANY_SUCCES_MAX || clReel.nGetREAL(&d) != ANY_OK) return false;
    }
    pst->eGenre = STNombre::EGenre::Reel;
    pst->d = d;
    return true;
}

// Prints a read value under a parsed format into psz (kTampon characters). Answers the length, or
// -1 when the C library fails.
int nImprime(const STNombre& stNombre, STFormatNumerique st, char* psz) {
    using G = STNombre::EGenre;
    char szFormat[32];
    const char cMinuscule = static_cast<char>(st.cConversion | 0x20);
    if (cMinuscule == 'd' && stNombre.eGenre == G::Entier && (st.dwFlags & FMTNUM_64)) {
        // A 64-bit integer stays exact: the real path would lose its low digits.
        const int nFormat = nConstruitFormatC(st, szFormat);
        if (stNombre.bNegatif) return std::snprintf(psz, kTampon, szFormat, static_cast<long long>(stNombre.u));
        szFormat[nFormat - 1] = 'u';
        return std::snprintf(psz, kTampon, szFormat, static_cast<unsigned long long>(stNombre.u));
    }
    if (cMinuscule == 'd') {
        st.cConversion = 'f';
        st.nPrecision = 0;
    }
    const char cLettre = static_cast<char>(st.cConversion | 0x20);
    if (cLettre == 'f' && stNombre.eGenre == G::Monnaie) return nImprimeMonnaie(stNombre.stMonnaie, st, psz);
    if (cLettre == 'f' || cLettre == 'e') {
        nConstruitFormatC(st, szFormat);
        const double d = dCompenseErreurBinaire(stNombre.d, st.nPrecision);
        int n = std::snprintf(psz, kTampon, szFormat, d);
        if (n < 0 || n >= kTampon) return -1;
        if (cLettre == 'e') n = nAjusteExposant(psz, n, st);
        return nAjusteSigneZero(psz, n, st);
    }
    // "x" and "o": the bits cut to the value's size, printed unsigned.
    uint64_t u = 0;
    bool bNegatif = false;
    int nTaille = 4;
    if (stNombre.eGenre == G::Entier) {
        u = stNombre.u;
        bNegatif = stNombre.bNegatif;
        nTaille = stNombre.nTailleDonnees;
    } else if (stNombre.eGenre == G::Monnaie) {
        const long n = lMonetaireVersTresLong(&stNombre.stMonnaie);
        u = static_cast<uint64_t>(n);
        bNegatif = n < 0;
    } else {
        u = uBitsDeReel(stNombre.d);
        bNegatif = stNombre.d <= -1.0;
    }
    nConstruitFormatC(st, szFormat);
    int n = std::snprintf(psz, kTampon, szFormat, static_cast<unsigned long long>(uCoupe(u, nTaille)));
    if (n < 0 || n >= kTampon) return -1;
    if (bNegatif) n = nAjusteNegatifBase(psz, n, st);
    return n;
}

int nLitEntier(const wchar_t* psz, int* pi) {
    int n = 0;
    while (bEstChiffre(psz[*pi])) {
        if (n <= FMTNUM_LARGEUR_MAX) n = n * 10 + (psz[*pi] - L'0');
        ++*pi;
    }
    return n;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The format language

bool bAnalyseFormatNumerique(const wchar_t* pszFormat, STFormatNumerique* pstFormat) noexcept {
    wchar_t szFormat[FMTNUM_LONGUEUR_UTILE + 1] = {};
    if (pszFormat != nullptr)
        for (int i = 0; i < FMTNUM_LONGUEUR_UTILE && pszFormat[i] != 0; ++i) szFormat[i] = pszFormat[i];
    STFormatNumerique st;
    st.cConversion = 0;
    int i = szFormat[0] == L'%' ? 1 : 0;
    for (;; ++i) {
        if (szFormat[i] == L'-') st.dwFlags |= FMTNUM_GAUCHE;
        else if (szFormat[i] == L'+') st.dwFlags |= FMTNUM_SIGNE;
        else break;
    }
    if (bEstChiffre(szFormat[i])) {
        if (szFormat[i] == L'0') st.dwFlags |= FMTNUM_ZERO;
        st.nLargeur = nLitEntier(szFormat, &i);
    }
    if (szFormat[i] == L'.' || szFormat[i] == L',') {
        if (szFormat[i] == L',') st.dwFlags |= FMTNUM_VIRGULE;
        ++i;
        st.nPrecision = nLitEntier(szFormat, &i);
    }
    if (szFormat[i] == L'L' || szFormat[i] == L'l') {
        st.dwFlags |= FMTNUM_LONG;
        ++i;
    }
    if (szFormat[i] != 0 && std::wcschr(L"EeFfXxDdOo", szFormat[i]) != nullptr) st.cConversion = static_cast<char>(szFormat[i++]);
    for (; szFormat[i] != 0; ++i) {
        if (szFormat[i] == L'S' || szFormat[i] == L's') st.dwFlags |= FMTNUM_MILLIERS;
        else if (szFormat[i] == L'L' || szFormat[i] == L'l') st.dwFlags |= FMTNUM_LONG;
        else return false;
    }
    if (st.nLargeur > FMTNUM_LARGEUR_MAX || st.nPrecision > FMTNUM_LARGEUR_MAX) return false;
    if (st.cConversion == 0) st.cConversion = 'f';
    const char cLettre = static_cast<char>(st.cConversion | 0x20);
    if ((cLettre == 'f' || cLettre == 'e') && st.nPrecision < 0) st.nPrecision = 6;
    if (cLettre == 'x' || cLettre == 'o') st.dwFlags &= ~FMTNUM_MILLIERS;
    if (st.dwFlags & FMTNUM_GAUCHE) st.dwFlags &= ~FMTNUM_ZERO;
    *pstFormat = st;
    return true;
}

int nConstruitFormatC(const STFormatNumerique& st, char* psz) noexcept {
    int n = 0;
    psz[n++] = '%';
    if (st.dwFlags & FMTNUM_GAUCHE) psz[n++] = '-';
    if (st.dwFlags & FMTNUM_SIGNE) psz[n++] = '+';
    if (st.dwFlags & FMTNUM_ZERO) psz[n++] = '0';
    // Widths and precisions are 0 to 100: written by hand, a call to the C library costs as much
    // as the printing itself.
    auto Ecrit = [psz, &n](int nValeur) {
        if (nValeur >= 100) psz[n++] = static_cast<char>('0' + nValeur / 100);
        if (nValeur >= 10) psz[n++] = static_cast<char>('0' + nValeur / 10 % 10);
        psz[n++] = static_cast<char>('0' + nValeur % 10);
    };
    if (st.nLargeur > 0) Ecrit(st.nLargeur);
    const char cLettre = static_cast<char>(st.cConversion | 0x20);
    if (cLettre == 'f' || cLettre == 'e') {
        psz[n++] = '.';
        Ecrit(st.nPrecision < 0 ? 6 : st.nPrecision);
    } else {
        psz[n++] = 'l';
        psz[n++] = 'l';
    }
    psz[n++] = cLettre == 'd' || cLettre == 'o' ? cLettre : st.cConversion;
    psz[n] = 0;
    return n;
}

double dCompenseErreurBinaire(double dValeur, int nPrecision) noexcept {
    // Powers of ten from 1e-9 to 1e14: outside them no correction applies.
    static constexpr double s_adPuissances[] = {1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2,
                                                1e-1, 1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                                1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14};
    constexpr int nPuissances = sizeof s_adPuissances / sizeof s_adPuissances[0];
    if (nPrecision >= 14 || dValeur == 0 || !std::isfinite(dValeur)) return dValeur;
    const double dAbs = std::fabs(dValeur);
    if (dAbs < 1e-9 || dAbs >= 1e14 || dValeur == std::trunc(dValeur)) return dValeur;
    int k = 0;
    while (k + 1 < nPuissances && s_adPuissances[k + 1] <= dAbs) ++k;
    const double e = s_adPuissances[k] * 1e-15;
    return dValeur > 0 ? dValeur + e : dValeur - e;
}

EResultatFormat eNumeriqueVersChaine(const CAny& clValeur, const wchar_t* pszFormat, CXYString<wchar_t>* pclResultat,
                                     IInfoLangue* piInfoLangue) noexcept {
    // The result's block is kept until the end: a caller that formats in a loop reuses it.
    const bool bFormatVide = pszFormat == nullptr || *pszFormat == 0;
    int nEntier = 0;
    if (bFormatVide && clValeur.nGetINT(&nEntier) == ANY_OK) {
        wchar_t sz[16];
        std::swprintf(sz, 16, L"%d", nEntier);
        pclResultat->nAffecte(sz);
        return EResultatFormat::Ok;
    }
    // The system masks: the value as text under a numeric mask, so that money loses no digit.
    if (!bFormatVide && (std::wcscmp(pszFormat, L"NumSystemMask") == 0 || std::wcscmp(pszFormat, L"MoneySystemMask$") == 0)) {
        CXYString<wchar_t> clTexte;
        if (clValeur.__nFillString(clTexte) > ANY_SUCCES_MAX) {
            pclResultat->Vide();
            return EResultatFormat::ErreurValeur;
        }
        CMasqueNumerique clMasque(pszFormat, nullptr);
        if (piInfoLangue != nullptr) clMasque.vSetInfoLangueMasque(piInfoLangue, 0, 1252);
        CTString clSortie;
        clMasque.Formate(clTexte.pszGet(), &clSortie, nullptr);
        pclResultat->nAffecte(clSortie.pszGet());
        return EResultatFormat::Ok;
    }
    // A text goes back as it came, whatever the format.
    if (bEstTexte(clValeur.nGetTypeCode())) {
        if (clValeur.__nFillString(*pclResultat) > ANY_SUCCES_MAX) pclResultat->Vide();
        return EResultatFormat::Ok;
    }
    if (bFormatVide) {
        if (clValeur.__nFillString(*pclResultat) > ANY_SUCCES_MAX) {
            pclResultat->Vide();
            return EResultatFormat::Ok;
        }
        const int n = pclResultat->nGetLongueur();
        if (n > 0 && pclResultat->pszGet()[n - 1] == L'.') pclResultat->nTronque(n - 1);
        return EResultatFormat::Ok;
    }
    // Masks ("NumSystemMask", "999 999,99", ...) break the grammar and land here too.
    STFormatNumerique st;
    if (!bAnalyseFormatNumerique(pszFormat, &st)) {
        pclResultat->Vide();
        return EResultatFormat::ErreurFormat;
    }
    STNombre stNombre;
    if (!bLitNombre(clValeur, &stNombre)) {
        pclResultat->Vide();
        return EResultatFormat::ErreurValeur;
    }
    if (stNombre.eGenre == STNombre::EGenre::Entier && stNombre.nTailleDonnees == 8) {
        st.dwFlags |= FMTNUM_64;
        if (!stNombre.bNegatif && stNombre.u > 4294967295u) st.dwFlags |= FMTNUM_GRAND;
    }
    char sz[kTampon];
    const int n = nImprime(stNombre, st, sz);
    if (n < 0) {
        pclResultat->Vide();
        return EResultatFormat::ErreurValeur;
    }
    wchar_t szLarge[kTamponLarge];
    const int nLarge = nElargit(sz, n, st, szLarge);
    pclResultat->nAffecte(szLarge, nLarge);
    return EResultatFormat::Ok;
}

// ---------------------------------------------------------------------------------------------
// Hexadecimal and buffers

namespace {

constexpr wchar_t kszChiffresHexa[] = L"0123456789ABCDEF";

int nValeurHexa(wchar_t c) {
    if (c >= L'0' && c <= L'9') return c - L'0';
    if (c >= L'a' && c <= L'f') return c - L'a' + 10;
    if (c >= L'A' && c <= L'F') return c - L'A' + 10;
    return -1;
}

bool bEstBlanc(wchar_t c) { return c == L' ' || c == L'\t'; }

}  // namespace

bool bEntierVersHexa(const CAny& clValeur, int nGroupe, CXYString<wchar_t>* pclResultat) noexcept {
    pclResultat->Vide();
    if (clValeur.bEstNull() || clValeur.nGetTypeCode() == 0) return true;
    uint8_t abyOctets[sizeof(CMoney)];
    int nOctets = nTailleEntier(clValeur.nGetTypeCode());
    if (nOctets > 0 && clValeur.nGetTypeCode() != kCodeUIX) {
        std::memcpy(abyOctets, clValeur.pbyValeur(), static_cast<size_t>(nOctets));
    } else {
        CAny clMonnaie(clValeur);
        if (clMonnaie.__nCastTo(kCodeMonnaie) > ANY_SUCCES_MAX || clMonnaie.nGetTypeCode() != kCodeMonnaie) return false;
        nOctets = sizeof(CMoney);
        std::memcpy(abyOctets, clMonnaie.pbyValeur(), sizeof(CMoney));
    }
    wchar_t szChiffres[2 * sizeof(CMoney)];
    int nChiffres = 0;
    for (int i = nOctets - 1; i >= 0; --i) {
        szChiffres[nChiffres++] = kszChiffresHexa[abyOctets[i] >> 4];
        szChiffres[nChiffres++] = kszChiffresHexa[abyOctets[i] & 0xf];
    }
    wchar_t sz[4 * sizeof(CMoney) + 1];
    int n = 0;
    for (int i = 0; i < nChiffres; ++i) {
        if (nGroupe > 0 && i > 0 && (nChiffres - i) % nGroupe == 0) sz[n++] = L' ';
        sz[n++] = szChiffres[i];
    }
    pclResultat->nAffecte(sz, n);
    return true;
}

EResultatHexa eHexaVersEntier(const wchar_t* pszTexte, CAny* pclValeur, wchar_t* pcInvalide) noexcept {
    constexpr int nChiffresMax = 31;
    const wchar_t* p = pszTexte != nullptr ? pszTexte : L"";
    while (bEstBlanc(*p)) ++p;
    const wchar_t* pFin = p + std::wcslen(p);
    while (pFin > p && bEstBlanc(pFin[-1])) --pFin;
    if (pFin - p >= 2 && p[0] == L'0' && (p[1] == L'x' || p[1] == L'X')) p += 2;
    unsigned __int128 n = 0;
    int nChiffres = 0;
    auto Echec = [pclValeur](EResultatHexa e) {
        pclValeur->SetI4(0);
        return e;
    };
    for (; p < pFin; ++p) {
        if (bEstBlanc(*p)) continue;
        const int nChiffre = nValeurHexa(*p);
        if (nChiffre < 0) {
            if (pcInvalide) *pcInvalide = *p;
            return Echec(EResultatHexa::CaractereInvalide);
        }
        if (nChiffres == 0 && nChiffre == 0) continue;  // leading zeros do not count
        if (++nChiffres > nChiffresMax) return Echec(EResultatHexa::TropLong);
        n = (n << 4) | static_cast<unsigned>(nChiffre);
    }
    const int anCodes[] = {kCodeUI1, kCodeUI2, kCodeUI4, kCodeUI8};
    const int nPlace = nChiffres <= 2 ? 0 : nChiffres <= 4 ? 1 : nChiffres <= 8 ? 2 : nChiffres <= 16 ? 3 : 4;
    if (nPlace < 4) {
        const uint64_t u = static_cast<uint64_t>(n);  // the digits fit: no sign is extended
        pclValeur->__SetType(anCodes[nPlace]);
        pclValeur->pclOperations()->SetValue(&u);  // little-endian: the low bytes come first
    } else {
        CMoney stMonnaie{};
        stMonnaie.SetBrut(static_cast<__int128>(n));
        pclValeur->__SetType(kCodeMonnaie);
        pclValeur->pclOperations()->SetValue(&stMonnaie);
    }
    return EResultatHexa::Ok;
}

bool bBufferVersHexa(const uint8_t* pbyOctets, int nTaille, int nTailleItem, int nColonnes,
                     CXYString<wchar_t>* pclResultat) noexcept {
    pclResultat->Vide();
    const bool bPetitBoutien = (nTailleItem & HEXA_PETIT_BOUTIEN) != 0;
    const bool bDump = (nColonnes & HEXA_AVEC_DUMP) != 0;
    nTailleItem &= ~HEXA_PETIT_BOUTIEN;
    nColonnes &= ~HEXA_AVEC_DUMP;
    if (nTailleItem != 1 && nTailleItem != 2 && nTailleItem != 4) return false;
    if (nColonnes <= 0) nColonnes = HEXA_COLONNES_DEFAUT;
    if (nColonnes > 65536) nColonnes = 65536;  // keeps the line arithmetic far from overflow
    if (pbyOctets == nullptr || nTaille <= 0) return true;
    const int nOctetsLigne = nColonnes * nTailleItem;
    const int nLargeurItems = nColonnes * (2 * nTailleItem + 1) - 1;
    wchar_t* psz = nullptr;
    const int nLignes = (nTaille + nOctetsLigne - 1) / nOctetsLigne;
    const long nLongueur = static_cast<long>(nLignes) * (nLargeurItems + 2 + (bDump ? 3 + nOctetsLigne : 0));
    if (nLongueur > 0x7fffffff) return false;
    psz = pclResultat->pszGetBuffer(static_cast<int>(nLongueur));
    if (psz == nullptr) return false;
    long n = 0;
    for (int nDebut = 0; nDebut < nTaille; nDebut += nOctetsLigne) {
        const int nFinLigne = nDebut + nOctetsLigne < nTaille ? nDebut + nOctetsLigne : nTaille;
        const long nDebutLigne = n;
        for (int nItem = nDebut; nItem < nFinLigne; nItem += nTailleItem) {
            if (nItem > nDebut) psz[n++] = L' ';
            for (int j = 0; j < nTailleItem; ++j) {
                // The last item of an odd-sized buffer prints the bytes it has, and "00" for the rest.
                const int nOctet = bPetitBoutien ? nItem + nTailleItem - 1 - j : nItem + j;
                const uint8_t by = nOctet < nTaille ? pbyOctets[nOctet] : 0;
                psz[n++] = kszChiffresHexa[by >> 4];
                psz[n++] = kszChiffresHexa[by & 0xf];
            }
        }
        if (bDump) {
            while (n - nDebutLigne < nLargeurItems) psz[n++] = L' ';
            psz[n++] = L' ';
            psz[n++] = L' ';
            psz[n++] = L'|';
            for (int j = nDebut; j < nFinLigne; ++j)
                psz[n++] = pbyOctets[j] >= 32 && pbyOctets[j] <= 127 ? static_cast<wchar_t>(pbyOctets[j]) : L'.';
        }
        psz[n++] = L'\r';
        psz[n++] = L'\n';
    }
    pclResultat->nTronque(static_cast<int>(n));
    return true;
}

EResultatBuffer eHexaVersBuffer(const wchar_t* pszTexte, int nTailleItem, CZKBIN* pclResultat) noexcept {
    *pclResultat = CZKBIN();
    if (nTailleItem != 1 && nTailleItem != 2 && nTailleItem != 4) return EResultatBuffer::TailleInvalide;
    const wchar_t* p = pszTexte != nullptr ? pszTexte : L"";
    const size_t nMax = std::wcslen(p) / 2 + 4;
    uint8_t abyPile[256];
    uint8_t* pby = nMax <= sizeof abyPile ? abyPile : static_cast<uint8_t*>(std::malloc(nMax));
    if (pby == nullptr) return EResultatBuffer::TailleInvalide;
    size_t nOctets = 0;
    uint32_t nValeur = 0;
    int nChiffres = 0;
    auto Range = [&]() {
        for (int j = 0; j < nTailleItem; ++j) pby[nOctets++] = static_cast<uint8_t>(nValeur >> (8 * j));
        nValeur = 0;
        nChiffres = 0;
    };
    EResultatBuffer e = EResultatBuffer::Ok;
    for (; *p; ++p) {
        if (bEstBlanc(*p) || *p == L'\r' || *p == L'\n') continue;
        if (*p == L'|') {  // a dump: up to the end of its line
            while (p[1] != 0 && p[1] != L'\n' && p[1] != L'\r') ++p;
            continue;
        }
        const int nChiffre = nValeurHexa(*p);
        if (nChiffre < 0) {
            e = EResultatBuffer::CaractereInvalide;
            break;
        }
        nValeur = (nValeur << 4) | static_cast<uint32_t>(nChiffre);
        if (++nChiffres == 2 * nTailleItem) Range();
    }
    if (e == EResultatBuffer::Ok) {
        if (nChiffres > 0) Range();  // a short last group is taken as its value
        if (nOctets > 0) pclResultat->nAssign(pby, static_cast<int>(nOctets));
    }
    if (pby != abyPile) std::free(pby);
    return e;
}

namespace {

EResultatLecture eLitOctets(const CZKBIN& clBuffer, long nDecalage, int nTaille, uint8_t* pby) {
    if (nDecalage < 0) return EResultatLecture::HorsLimites;
    const long nDisponible = clBuffer.nGetTaille();
    if (nDecalage > nDisponible || nDisponible - nDecalage < nTaille) return EResultatLecture::HorsLimites;
    std::memcpy(pby, clBuffer.pbyGet() + nDecalage, static_cast<size_t>(nTaille));
    return EResultatLecture::Ok;
}

}  // namespace

EResultatLecture eBufferVersEntier(const CZKBIN& clBuffer, long nDecalage, int nTaille, long* pnValeur) noexcept {
    *pnValeur = 0;
    if (nDecalage < 0) return EResultatLecture::HorsLimites;
    if (nTaille != 1 && nTaille != 2 && nTaille != 4 && nTaille != 8) return EResultatLecture::TailleInvalide;
    uint8_t aby[8] = {};
    const EResultatLecture e = eLitOctets(clBuffer, nDecalage, nTaille, aby);
    if (e != EResultatLecture::Ok) return e;
    uint64_t u = 0;
    for (int i = nTaille - 1; i >= 0; --i) u = (u << 8) | aby[i];
    *pnValeur = static_cast<long>(u);
    return EResultatLecture::Ok;
}

EResultatLecture eBufferVersReel(const CZKBIN& clBuffer, long nDecalage, int nTaille, double* pdValeur) noexcept {
    *pdValeur = 0;
    if (nDecalage < 0) return EResultatLecture::HorsLimites;
    if (nTaille != 4 && nTaille != 8) return EResultatLecture::TailleInvalide;
    uint8_t aby[8] = {};
    const EResultatLecture e = eLitOctets(clBuffer, nDecalage, nTaille, aby);
    if (e != EResultatLecture::Ok) return e;
    if (nTaille == 4) {
        float f;
        std::memcpy(&f, aby, 4);
        *pdValeur = f;
    } else {
        std::memcpy(pdValeur, aby, 8);
    }
    return EResultatLecture::Ok;
}

bool bEstNumerique(const CAny& clValeur) noexcept {
    const int nCode = clValeur.nGetTypeCode();
    if (nCode >= 0x02 && nCode <= 0x0f) return true;
    const bool bTexte = (nCode >= 0x10 && nCode <= 0x17) || nCode == kCodePTexteW || nCode == 0x51 ||
                        nCode == kCodeTexte94 || nCode == kCodeTexte95;
    if (!bTexte) return false;
    CXYString<wchar_t> clTexte;
    if (clValeur.__nFillString(clTexte) > ANY_SUCCES_MAX) return false;
    CAny clReel;
    clReel.SetDSTRW(clTexte);
    double d = 0;
    if (clReel.__nCastTo(kCodeR8) > ANY_SUCCES_MAX || clReel.nGetREAL(&d) != ANY_OK) return false;
    if (d != 0) return true;
    wchar_t* pFin = nullptr;
    std::wcstod(clTexte.pszGet(), &pFin);
    return pFin != clTexte.pszGet();
}
