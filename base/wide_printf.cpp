// The wide printf: one parser and one writer for both the bounded and the allocating forms.
// Text conversions are done here; numbers and pointers are handed to the C library's snprintf with
// a rebuilt narrow conversion, so that they print exactly as its own printf would.
#include "base/wide_printf.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <sys/types.h>

#include "base/internal/utf.h"

namespace {

// Where the characters go: a caller's buffer that may be too short (the rest is only counted), or
// a malloc buffer that grows.
class CSortieWide {
public:
    CSortieWide(wchar_t* pszBuffer, size_t nTaille) noexcept
        : m_pszBuffer(pszBuffer), m_nCapacite(nTaille), m_bCroissante(false) {}
    CSortieWide() noexcept : m_bCroissante(true) {}

    void Ajoute(const wchar_t* pszTexte, size_t nLongueur) noexcept {
        if (m_bEchec) return;
        if (m_bCroissante && !bReserve(nLongueur)) return;
        const size_t nPlace = nPlaceLibre();
        wmemcpy(m_pszBuffer + m_nTotal, pszTexte, nLongueur < nPlace ? nLongueur : nPlace);
        m_nTotal += nLongueur;
    }
    void Ajoute(wchar_t cCaractere) noexcept { Ajoute(&cCaractere, 1); }
    void Repete(wchar_t cCaractere, size_t nNombre) noexcept {
        if (m_bEchec || nNombre == 0) return;
        if (m_bCroissante && !bReserve(nNombre)) return;
        const size_t nPlace = nPlaceLibre();
        wmemset(m_pszBuffer + m_nTotal, cCaractere, nNombre < nPlace ? nNombre : nPlace);
        m_nTotal += nNombre;
    }
    void Echec() noexcept { m_bEchec = true; }

    // Terminates the text and answers its length, or -1.
    int nTermine() noexcept {
        if (m_nTotal > static_cast<size_t>(INT_MAX)) {
            errno = EOVERFLOW;
            m_bEchec = true;
        }
        if (m_pszBuffer != nullptr && m_nCapacite > 0)
            m_pszBuffer[m_nTotal < m_nCapacite ? m_nTotal : m_nCapacite - 1] = 0;
        return m_bEchec ? -1 : static_cast<int>(m_nTotal);
    }
    wchar_t* pszDetache() noexcept {
        wchar_t* pszBuffer = m_pszBuffer;
        m_pszBuffer = nullptr;
        m_nCapacite = 0;
        return pszBuffer;
    }

private:
    // Room left for characters, the terminator's place kept.
    size_t nPlaceLibre() const noexcept {
        if (m_pszBuffer == nullptr || m_nTotal + 1 >= m_nCapacite) return 0;
        return m_nCapacite - 1 - m_nTotal;
    }

    bool bReserve(size_t nAjout) noexcept {
        if (m_nTotal + nAjout + 1 <= m_nCapacite) return true;
        size_t nCapacite = m_nCapacite < 64 ? 64 : m_nCapacite;
        while (nCapacite < m_nTotal + nAjout + 1) nCapacite *= 2;
        if (nCapacite > (static_cast<size_t>(INT_MAX) + 1)) {
            errno = EOVERFLOW;
            m_bEchec = true;
            return false;
        }
        void* pNouveau = realloc(m_pszBuffer, nCapacite * sizeof(wchar_t));
        if (pNouveau == nullptr) {
            m_bEchec = true;
            return false;
        }
        m_pszBuffer = static_cast<wchar_t*>(pNouveau);
        m_nCapacite = nCapacite;
        return true;
    }

    wchar_t* m_pszBuffer = nullptr;
    size_t m_nCapacite = 0;
    size_t m_nTotal = 0;
    bool m_bCroissante;
    bool m_bEchec = false;
};

enum class ELongueur { Aucune, hh, h, l, ll, L, j, z, t, I32, I64, I, w };

struct STConversion {
    bool bGauche = false;
    bool bPlus = false;
    bool bEspace = false;
    bool bDiese = false;
    bool bZero = false;
    int nLargeur = -1;    // -1: none
    int nPrecision = -1;  // -1: none
    ELongueur eLongueur = ELongueur::Aucune;
    wchar_t cConversion = 0;
};

// Pads a text of nLongueur characters to the width, on the side the flags say.
template <class FEcrit>
void EcritAligne(CSortieWide& clSortie, const STConversion& stConversion, size_t nLongueur, FEcrit fnEcrit) {
    const size_t nLargeur = stConversion.nLargeur > 0 ? static_cast<size_t>(stConversion.nLargeur) : 0;
    const size_t nMarge = nLargeur > nLongueur ? nLargeur - nLongueur : 0;
    if (!stConversion.bGauche) clSortie.Repete(L' ', nMarge);
    fnEcrit();
    if (stConversion.bGauche) clSortie.Repete(L' ', nMarge);
}

void EcritTexteWide(CSortieWide& clSortie, const STConversion& stConversion, const wchar_t* pszTexte) {
    if (pszTexte == nullptr) pszTexte = L"(null)";
    const size_t nLongueur = stConversion.nPrecision >= 0
                                 ? wcsnlen(pszTexte, static_cast<size_t>(stConversion.nPrecision))
                                 : wcslen(pszTexte);
    EcritAligne(clSortie, stConversion, nLongueur, [&] { clSortie.Ajoute(pszTexte, nLongueur); });
}

void EcritTexteAnsi(CSortieWide& clSortie, const STConversion& stConversion, const char* pszTexte) {
    if (pszTexte == nullptr) {
        EcritTexteWide(clSortie, stConversion, nullptr);
        return;
    }
    const size_t nMaximum =
        stConversion.nPrecision >= 0 ? static_cast<size_t>(stConversion.nPrecision) : static_cast<size_t>(-1);
    // Characters are counted and written in two walks; each stops at the zero byte or the precision,
    // so a text cut by the precision is never read beyond what is shown.
    auto Parcourt = [&](auto fnCaractere) {
        const auto* pbyTexte = reinterpret_cast<const uint8_t*>(pszTexte);
        size_t nNombre = 0;
        char32_t cCaractere;
        while (nNombre < nMaximum &&
               (pbyTexte = base_internal::pbyLitUtf8(pbyTexte, nullptr, &cCaractere)) != nullptr) {
            fnCaractere(static_cast<wchar_t>(cCaractere));
            ++nNombre;
        }
        return nNombre;
    };
    const size_t nLongueur = Parcourt([](wchar_t) {});
    EcritAligne(clSortie, stConversion, nLongueur, [&] { Parcourt([&](wchar_t c) { clSortie.Ajoute(c); }); });
}

void EcritCaractere(CSortieWide& clSortie, const STConversion& stConversion, wchar_t cCaractere) {
    EcritAligne(clSortie, stConversion, 1, [&] { clSortie.Ajoute(cCaractere); });
}

// Rebuilds the narrow conversion of a number ("%-+ #0<width>.<precision><length><letter>") and
// lets snprintf print the value.
template <class TValeur>
bool bEcritParLaBibliothequeC(CSortieWide& clSortie, const STConversion& stConversion, const char* pszLongueur,
                              TValeur xValeur) {
    char szSpecification[64];
    char* pszCurseur = szSpecification;
    *pszCurseur++ = '%';
    if (stConversion.bGauche) *pszCurseur++ = '-';
    if (stConversion.bPlus) *pszCurseur++ = '+';
    if (stConversion.bEspace) *pszCurseur++ = ' ';
    if (stConversion.bDiese) *pszCurseur++ = '#';
    if (stConversion.bZero) *pszCurseur++ = '0';
    if (stConversion.nLargeur >= 0) pszCurseur += sprintf(pszCurseur, "%d", stConversion.nLargeur);
    if (stConversion.nPrecision >= 0) pszCurseur += sprintf(pszCurseur, ".%d", stConversion.nPrecision);
    pszCurseur += sprintf(pszCurseur, "%s%c", pszLongueur, static_cast<char>(stConversion.cConversion));

    char szCourt[128];
    int nLongueur = snprintf(szCourt, sizeof szCourt, szSpecification, xValeur);
    if (nLongueur < 0) return false;
    char* pszTexte = szCourt;
    if (static_cast<size_t>(nLongueur) >= sizeof szCourt) {
        pszTexte = static_cast<char*>(malloc(static_cast<size_t>(nLongueur) + 1));
        if (pszTexte == nullptr) return false;
        snprintf(pszTexte, static_cast<size_t>(nLongueur) + 1, szSpecification, xValeur);
    }
    for (int i = 0; i < nLongueur; ++i) clSortie.Ajoute(static_cast<wchar_t>(static_cast<unsigned char>(pszTexte[i])));
    if (pszTexte != szCourt) free(pszTexte);
    return true;
}

bool bEcritEntier(CSortieWide& clSortie, const STConversion& stConversion, va_list* pArguments) {
    const wchar_t c = stConversion.cConversion;
    if (c == L'd' || c == L'i') {
        long long nValeur;
        switch (stConversion.eLongueur) {
            case ELongueur::hh: nValeur = static_cast<signed char>(va_arg(*pArguments, int)); break;
            case ELongueur::h: nValeur = static_cast<short>(va_arg(*pArguments, int)); break;
            case ELongueur::Aucune:
            case ELongueur::I32:
            case ELongueur::w: nValeur = va_arg(*pArguments, int); break;
            case ELongueur::z:
            case ELongueur::I: nValeur = va_arg(*pArguments, ssize_t); break;
            case ELongueur::t: nValeur = va_arg(*pArguments, ptrdiff_t); break;
            case ELongueur::j: nValeur = va_arg(*pArguments, intmax_t); break;
            default: nValeur = va_arg(*pArguments, long long); break;
        }
        return bEcritParLaBibliothequeC(clSortie, stConversion, "ll", nValeur);
    }
    unsigned long long nValeur;
    switch (stConversion.eLongueur) {
        case ELongueur::hh: nValeur = static_cast<unsigned char>(va_arg(*pArguments, unsigned int)); break;
        case ELongueur::h: nValeur = static_cast<unsigned short>(va_arg(*pArguments, unsigned int)); break;
        case ELongueur::Aucune:
        case ELongueur::I32:
        case ELongueur::w: nValeur = va_arg(*pArguments, unsigned int); break;
        case ELongueur::z:
        case ELongueur::I: nValeur = va_arg(*pArguments, size_t); break;
        case ELongueur::t: nValeur = static_cast<unsigned long long>(va_arg(*pArguments, ptrdiff_t)); break;
        case ELongueur::j: nValeur = va_arg(*pArguments, uintmax_t); break;
        default: nValeur = va_arg(*pArguments, unsigned long long); break;
    }
    return bEcritParLaBibliothequeC(clSortie, stConversion, "ll", nValeur);
}

// Reads a decimal count of the format; answers false past the largest width.
bool bLitNombre(const wchar_t*& pszFormat, int* pnValeur) {
    long long nValeur = 0;
    while (*pszFormat >= L'0' && *pszFormat <= L'9') {
        if (nValeur <= WIDE_PRINTF_LARGEUR_MAX) nValeur = nValeur * 10 + (*pszFormat - L'0');
        ++pszFormat;
    }
    if (nValeur > WIDE_PRINTF_LARGEUR_MAX) return false;
    *pnValeur = static_cast<int>(nValeur);
    return true;
}

ELongueur eLitLongueur(const wchar_t*& pszFormat) {
    switch (*pszFormat) {
        case L'h':
            if (pszFormat[1] == L'h') return pszFormat += 2, ELongueur::hh;
            return ++pszFormat, ELongueur::h;
        case L'l':
            if (pszFormat[1] == L'l') return pszFormat += 2, ELongueur::ll;
            return ++pszFormat, ELongueur::l;
        case L'q': return ++pszFormat, ELongueur::ll;
        case L'L': return ++pszFormat, ELongueur::L;
        case L'j': return ++pszFormat, ELongueur::j;
        case L'z': return ++pszFormat, ELongueur::z;
        case L't': return ++pszFormat, ELongueur::t;
        case L'w': return ++pszFormat, ELongueur::w;
        case L'I':
            if (pszFormat[1] == L'6' && pszFormat[2] == L'4') return pszFormat += 3, ELongueur::I64;
            if (pszFormat[1] == L'3' && pszFormat[2] == L'2') return pszFormat += 3, ELongueur::I32;
            return ++pszFormat, ELongueur::I;
        default: return ELongueur::Aucune;
    }
}

// The formatter proper. Answers false when the text cannot be made.
bool bFormate(CSortieWide& clSortie, const wchar_t* pszFormat, va_list* pArguments) {
    while (*pszFormat != 0) {
        if (*pszFormat != L'%') {
            const wchar_t* pszDebut = pszFormat;
            while (*pszFormat != 0 && *pszFormat != L'%') ++pszFormat;
            clSortie.Ajoute(pszDebut, static_cast<size_t>(pszFormat - pszDebut));
            continue;
        }
        const wchar_t* pszDebutConversion = pszFormat++;
        STConversion stConversion;
        for (;; ++pszFormat) {
            if (*pszFormat == L'-') stConversion.bGauche = true;
            else if (*pszFormat == L'+') stConversion.bPlus = true;
            else if (*pszFormat == L' ') stConversion.bEspace = true;
            else if (*pszFormat == L'#') stConversion.bDiese = true;
            else if (*pszFormat == L'0') stConversion.bZero = true;
            else break;
        }
        if (*pszFormat == L'*') {
            ++pszFormat;
            const int nLargeur = va_arg(*pArguments, int);
            if (nLargeur < 0) {
                stConversion.bGauche = true;
                if (nLargeur < -WIDE_PRINTF_LARGEUR_MAX) return false;
                stConversion.nLargeur = -nLargeur;
            } else {
                if (nLargeur > WIDE_PRINTF_LARGEUR_MAX) return false;
                stConversion.nLargeur = nLargeur;
            }
        } else if (*pszFormat >= L'1' && *pszFormat <= L'9') {
            if (!bLitNombre(pszFormat, &stConversion.nLargeur)) return false;
        }
        if (*pszFormat == L'.') {
            ++pszFormat;
            if (*pszFormat == L'*') {
                ++pszFormat;
                const int nPrecision = va_arg(*pArguments, int);
                if (nPrecision > WIDE_PRINTF_LARGEUR_MAX) return false;
                stConversion.nPrecision = nPrecision < 0 ? -1 : nPrecision;  // negative: as if absent
            } else if (!bLitNombre(pszFormat, &stConversion.nPrecision)) {
                return false;
            }
        }
        stConversion.eLongueur = eLitLongueur(pszFormat);
        stConversion.cConversion = *pszFormat;
        if (stConversion.cConversion == 0) break;  // the format ends inside the conversion
        ++pszFormat;

        const ELongueur eLongueur = stConversion.eLongueur;
        const bool bLarge = eLongueur == ELongueur::l || eLongueur == ELongueur::w;
        bool bSucces = true;
        switch (stConversion.cConversion) {
            case L'%': clSortie.Ajoute(L'%'); break;
            case L's':
                if (eLongueur == ELongueur::h)
                    EcritTexteAnsi(clSortie, stConversion, va_arg(*pArguments, const char*));
                else
                    EcritTexteWide(clSortie, stConversion, va_arg(*pArguments, const wchar_t*));
                break;
            case L'S':
                if (bLarge)
                    EcritTexteWide(clSortie, stConversion, va_arg(*pArguments, const wchar_t*));
                else
                    EcritTexteAnsi(clSortie, stConversion, va_arg(*pArguments, const char*));
                break;
            case L'c':
            case L'C': {
                const bool bAnsi = stConversion.cConversion == L'c' ? eLongueur == ELongueur::h : !bLarge;
                const unsigned int nValeur = va_arg(*pArguments, unsigned int);
                // An 8-bit character alone can't be UTF-8 beyond ASCII: it is taken as Latin-1.
                EcritCaractere(clSortie, stConversion,
                               static_cast<wchar_t>(bAnsi ? static_cast<unsigned char>(nValeur) : nValeur));
                break;
            }
            case L'd':
            case L'i':
            case L'u':
            case L'o':
            case L'x':
            case L'X': bSucces = bEcritEntier(clSortie, stConversion, pArguments); break;
            case L'e':
            case L'E':
            case L'f':
            case L'F':
            case L'g':
            case L'G':
            case L'a':
            case L'A':
                if (eLongueur == ELongueur::L)
                    bSucces = bEcritParLaBibliothequeC(clSortie, stConversion, "L", va_arg(*pArguments, long double));
                else
                    bSucces = bEcritParLaBibliothequeC(clSortie, stConversion, "", va_arg(*pArguments, double));
                break;
            case L'p':
                bSucces = bEcritParLaBibliothequeC(clSortie, stConversion, "", va_arg(*pArguments, void*));
                break;
            case L'n':
                // Writing through a pointer taken from the arguments is refused; the argument is
                // consumed so that the ones after it stay in place.
                (void)va_arg(*pArguments, void*);
                break;
            default:
                // Not a conversion: shown as written, nothing consumed.
                clSortie.Ajoute(pszDebutConversion, static_cast<size_t>(pszFormat - pszDebutConversion));
                break;
        }
        if (!bSucces) return false;
    }
    return true;
}

}  // namespace

int vsnwprintfWin(wchar_t* pszBuffer, size_t nTaille, const wchar_t* pszFormat, va_list pArguments) noexcept {
    CSortieWide clSortie(pszBuffer, pszBuffer == nullptr ? 0 : nTaille);
    va_list pCopie;
    va_copy(pCopie, pArguments);
    if (pszFormat == nullptr || !bFormate(clSortie, pszFormat, &pCopie)) clSortie.Echec();
    va_end(pCopie);
    return clSortie.nTermine();
}

int snwprintfWin(wchar_t* pszBuffer, size_t nTaille, const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int nResultat = vsnwprintfWin(pszBuffer, nTaille, pszFormat, pArguments);
    va_end(pArguments);
    return nResultat;
}

int vaswprintfWin(wchar_t** ppszSortie, const wchar_t* pszFormat, va_list pArguments) noexcept {
    if (ppszSortie == nullptr) return -1;
    *ppszSortie = nullptr;
    CSortieWide clSortie;
    va_list pCopie;
    va_copy(pCopie, pArguments);
    if (pszFormat == nullptr || !bFormate(clSortie, pszFormat, &pCopie)) clSortie.Echec();
    va_end(pCopie);
    const int nResultat = clSortie.nTermine();
    wchar_t* pszBuffer = clSortie.pszDetache();
    if (nResultat < 0) {
        free(pszBuffer);
        return -1;
    }
    if (pszBuffer == nullptr) {
        // Nothing was written: an empty text still needs its own buffer.
        pszBuffer = static_cast<wchar_t*>(malloc(sizeof(wchar_t)));
        if (pszBuffer == nullptr) return -1;
        pszBuffer[0] = 0;
    }
    *ppszSortie = pszBuffer;
    return nResultat;
}

int aswprintfWin(wchar_t** ppszSortie, const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int nResultat = vaswprintfWin(ppszSortie, pszFormat, pArguments);
    va_end(pArguments);
    return nResultat;
}
