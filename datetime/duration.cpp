// Durations in milliseconds: the fixed text forms and the forms of a user format.
#include "datetime/duration.h"

#include <climits>
#include <cstdlib>
#include <cwchar>

#include "base/resources.h"
#include "base/tstring.h"
#include "base/wide_printf.h"
#include "datetime/internal/digits.h"

using datetime_internal::bChiffre;
using datetime_internal::bLitChiffres;

const wchar_t CDureeBase::ms_pcszFormatAffichageMillieme[] = L"%d%02d%02d%02d%03d";
const wchar_t CDureeBase::ms_cpszFormatAffichageCentieme[] = L"%d%02d%02d%02d%02d";

namespace {

constexpr int64_t MS_PAR_JOUR = 86'400'000;

// Resources of the duration letters: day, hour, minute, second, millisecond.
enum : unsigned int {
    RES_LETTRE_JOUR = 28577,
    RES_LETTRE_HEURE = 28578,
    RES_LETTRE_MINUTE = 28579,
    RES_LETTRE_SECONDE = 28580,
    RES_LETTRE_MILLISECONDE = 28581,
};

// The letters a user format is written with; only the first character of each resource counts.
struct STLettres {
    wchar_t cJour, cHeure, cMinute, cSeconde, cMilliseconde;
};

wchar_t cLettre(unsigned int nIdRessource, wchar_t cDefaut) noexcept {
    CTString clTexte;
    if (!DLLRES_bLoadString(&gstMyModuleInfo8, nIdRessource, &clTexte) || clTexte.bEstVide()) return cDefaut;
    return clTexte.cGetChar(0);
}

STLettres stChargeLettres() noexcept {
    return {cLettre(RES_LETTRE_JOUR, L'J'), cLettre(RES_LETTRE_HEURE, L'H'), cLettre(RES_LETTRE_MINUTE, L'M'),
            cLettre(RES_LETTRE_SECONDE, L'S'), cLettre(RES_LETTRE_MILLISECONDE, L'L')};
}

bool bSigne(wchar_t c) noexcept { return c == L'+' || c == L'-' || c == 0xFF0B || c == 0xFF0D; }
bool bNegatif(wchar_t c) noexcept { return c == L'-' || c == 0xFF0D; }

// The fixed form: fraction digits at the end, then seconds, minutes and hours, days in front.
int nDepuisFixe(const wchar_t* pszTexte, int nChiffresFraction, int nFacteur, int64_t* pnResultat) noexcept {
    if (pszTexte == nullptr) return DATETIME_ERREUR_DUREE_COURTE;
    bool bMoins = false;
    if (bSigne(pszTexte[0])) {
        bMoins = bNegatif(pszTexte[0]);
        ++pszTexte;
    }
    const size_t nLongueur = std::wcslen(pszTexte);
    const size_t nFin = static_cast<size_t>(6 + nChiffresFraction);
    if (nLongueur < nFin + 1) return DATETIME_ERREUR_DUREE_COURTE;
    const wchar_t* pszHeure = pszTexte + nLongueur - nFin;
    int nHeure = 0, nMinute = 0, nSeconde = 0, nFraction = 0;
    if (!bLitChiffres(pszHeure, 2, &nHeure) || !bLitChiffres(pszHeure + 2, 2, &nMinute) ||
        !bLitChiffres(pszHeure + 4, 2, &nSeconde) || !bLitChiffres(pszHeure + 6, nChiffresFraction, &nFraction))
        return DATETIME_ERREUR_DUREE_COURTE;
    int64_t nJours = 0;
    for (const wchar_t* psz = pszTexte; psz < pszHeure; ++psz) {
        if (!bChiffre(*psz) || __builtin_mul_overflow(nJours, 10, &nJours) ||
            __builtin_add_overflow(nJours, *psz - L'0', &nJours))
            return DATETIME_ERREUR_DUREE_COURTE;
    }
    int64_t nTotal = 0;
    if (__builtin_mul_overflow(nJours, MS_PAR_JOUR, &nTotal) ||
        __builtin_add_overflow(nTotal, nHeure * 3'600'000LL + nMinute * 60'000LL + nSeconde * 1000LL + nFraction * nFacteur,
                               &nTotal))
        return DATETIME_ERREUR_DUREE_COURTE;
    *pnResultat = bMoins ? -nTotal : nTotal;
    return 0;
}

// Absolute value of a count, whole even for the most negative one.
uint64_t nAbsolu(int64_t n) noexcept { return n < 0 ? 0 - static_cast<uint64_t>(n) : static_cast<uint64_t>(n); }

}  // namespace

int CDureeBase::nDepuisChaine(const wchar_t* pszTexte) noexcept {
    return nDepuisFixe(pszTexte, 3, 1, &m_nMillisecondes);
}

int CDureeBase::nDepuisChaineCentieme(const wchar_t* pszTexte) noexcept {
    return nDepuisFixe(pszTexte, 2, 10, &m_nMillisecondes);
}

int CDureeBase::nDepuisBinaire(const CZKBIN* pclBinaire, unsigned int nLongueur) noexcept {
    wchar_t tabTexte[TAILLE_TEXTE + 1];
    int nOctets = pclBinaire != nullptr ? pclBinaire->nGetTaille() : 0;
    if (nOctets > static_cast<int>(nLongueur)) nOctets = static_cast<int>(nLongueur);
    if (nOctets > TAILLE_TEXTE) nOctets = TAILLE_TEXTE;
    int n = 0;
    for (; n < nOctets && pclBinaire->pbyGet()[n] != 0; ++n) tabTexte[n] = pclBinaire->pbyGet()[n];
    tabTexte[n] = 0;
    return nDepuisChaine(tabTexte);
}

int CDureeBase::__nVersChaine(wchar_t* pszSortie, const wchar_t* pszFormat, int nTaille) const noexcept {
    if (pszSortie == nullptr || nTaille <= 0) return 0;
    const bool bCentieme = std::wcscmp(pszFormat, ms_cpszFormatAffichageCentieme) == 0;
    const uint64_t nAbs = nAbsolu(m_nMillisecondes);
    const uint64_t nJours = nAbs / MS_PAR_JOUR;
    const auto nDansJour = static_cast<int>(nAbs % MS_PAR_JOUR);
    const int nMillieme = nDansJour % 1000;
    const int nFraction = bCentieme ? static_cast<int>(nMillieme / 10.0 + 0.5) : nMillieme;
    wchar_t* psz = pszSortie;
    size_t nReste = static_cast<size_t>(nTaille);
    if (m_nMillisecondes < 0 && nReste > 1) {
        *psz++ = L'-';
        --nReste;
    }
    if (nJours <= static_cast<uint64_t>(INT_MAX)) {
        snwprintfWin(psz, nReste, pszFormat, static_cast<int>(nJours), nDansJour / 3'600'000, nDansJour / 60'000 % 60,
                     nDansJour / 1000 % 60, nFraction);
    } else {
        // Days past an int: the same layout, the day count printed whole. Both formats open with "%d".
        const int nEcrits = snwprintfWin(psz, nReste, L"%llu", static_cast<unsigned long long>(nJours));
        if (nEcrits >= 0 && static_cast<size_t>(nEcrits) < nReste)
            snwprintfWin(psz + nEcrits, nReste - static_cast<size_t>(nEcrits), pszFormat + 2, nDansJour / 3'600'000,
                         nDansJour / 60'000 % 60, nDansJour / 1000 % 60, nFraction);
    }
    return static_cast<int>(std::wcslen(pszSortie));
}

int CDureeBase::nVersChaine(CXYString<wchar_t>* pclSortie) const noexcept {
    if (pclSortie == nullptr) return 0;
    wchar_t tabTexte[TAILLE_TEXTE];
    __nVersChaine(tabTexte, ms_pcszFormatAffichageMillieme, TAILLE_TEXTE);
    return pclSortie->nAffecte(tabTexte);
}

int CDureeBase::nVersChaineCentieme(CXYString<wchar_t>* pclSortie) const noexcept {
    if (pclSortie == nullptr) return 0;
    wchar_t tabTexte[TAILLE_TEXTE];
    __nVersChaine(tabTexte, ms_cpszFormatAffichageCentieme, TAILLE_TEXTE);
    return pclSortie->nAffecte(tabTexte);
}

int CDureeBase::nVersBinaire(CZKBIN* pclSortie, unsigned int nLongueur) const noexcept {
    if (pclSortie == nullptr) return 0;
    wchar_t tabTexte[TAILLE_TEXTE];
    __nVersChaine(tabTexte, ms_pcszFormatAffichageMillieme, TAILLE_TEXTE);
    char tabOctets[TAILLE_TEXTE];
    int n = 0;
    for (; tabTexte[n] != 0 && n < static_cast<int>(nLongueur); ++n) tabOctets[n] = static_cast<char>(tabTexte[n]);
    return pclSortie->nAssign(tabOctets, n);
}

wchar_t* CDureeBase::pszCreeChaine() const noexcept {
    auto* psz = static_cast<wchar_t*>(std::malloc(TAILLE_TEXTE * sizeof(wchar_t)));
    if (psz != nullptr) __nVersChaine(psz, ms_pcszFormatAffichageMillieme, TAILLE_TEXTE);
    return psz;
}

int CDureeBase::nCompare(const CDureeBase& clA, const CDureeBase& clB) noexcept {
    return clA.m_nMillisecondes < clB.m_nMillisecondes ? -1 : (clA.m_nMillisecondes > clB.m_nMillisecondes ? 1 : 0);
}

// ---------------------------------------------------------------- user formats

int nChaineVersDuree(CDureeBase* pclDuree, const wchar_t* pszTexte, const wchar_t* pszFormat) noexcept {
    if (pclDuree == nullptr) return 0;
    const STLettres st = stChargeLettres();
    size_t nTexte = pszTexte != nullptr ? std::wcslen(pszTexte) : 0;
    size_t nFormat = pszFormat != nullptr ? std::wcslen(pszFormat) : 0;
    // The format ends with n times the letter.
    auto bFinPar = [&](wchar_t cLettre, size_t n) {
        if (nFormat < n) return false;
        for (size_t i = 1; i <= n; ++i)
            if (pszFormat[nFormat - i] != cLettre) return false;
        return true;
    };
    // n digits end the text; they are consumed with the letters of the format.
    auto bPrend = [&](wchar_t cLettre, size_t n, int* pnValeur) {
        if (!bFinPar(cLettre, n) || nTexte < n || !bLitChiffres(pszTexte + nTexte - n, static_cast<int>(n), pnValeur))
            return false;
        nTexte -= n;
        nFormat -= n;
        return true;
    };
    int64_t nJours = 0;
    int nHeures = 0, nMinutes = 0, nSecondes = 0, nMillisecondes = 0;
    bool bMoins = false;
    while (nFormat > 0) {
        bool bLu = false;
        int nValeur = 0;
        if (bPrend(st.cMilliseconde, 3, &nValeur)) {
            nMillisecondes = nValeur;
            bLu = true;
        }
        if (bPrend(st.cMilliseconde, 2, &nValeur)) {
            nMillisecondes = nValeur * 10;
            bLu = true;
        }
        if (bPrend(st.cMilliseconde, 1, &nValeur)) {
            nMillisecondes = nValeur * 100;
            bLu = true;
        }
        if (bPrend(st.cSeconde, 2, &nValeur)) {
            nSecondes = nValeur;
            bLu = true;
        }
        if (bPrend(st.cMinute, 2, &nValeur)) {
            nMinutes = nValeur;
            bLu = true;
        }
        if (bPrend(st.cHeure, 2, &nValeur)) {
            nHeures = nValeur;
            bLu = true;
        }
        if (bFinPar(st.cJour, 1)) {
            size_t nChiffres = 0;
            while (nChiffres < 20 && nChiffres < nTexte && bChiffre(pszTexte[nTexte - nChiffres - 1])) ++nChiffres;
            if (nChiffres > 0) {
                int64_t nLus = 0;
                for (size_t i = nTexte - nChiffres; i < nTexte; ++i)
                    if (__builtin_mul_overflow(nLus, 10, &nLus) || __builtin_add_overflow(nLus, pszTexte[i] - L'0', &nLus))
                        return DATETIME_ERREUR_DUREE_COURTE;
                nJours = nLus;
            }
            nTexte -= nChiffres;
            --nFormat;
            bLu = true;
        }
        if (nFormat > 0 && pszFormat[nFormat - 1] == L'+') {
            --nFormat;
            if (nTexte > 0 && bSigne(pszTexte[nTexte - 1])) {
                bMoins = bMoins || bNegatif(pszTexte[nTexte - 1]);
                --nTexte;
            }
        } else if (!bLu && nFormat > 0) {
            // A literal of the format: both texts step over it.
            --nFormat;
            if (nTexte > 0) --nTexte;
        }
    }
    int64_t nTotal = 0;
    if (__builtin_mul_overflow(nJours, MS_PAR_JOUR, &nTotal) ||
        __builtin_add_overflow(nTotal, nHeures * 3'600'000LL + nMinutes * 60'000LL + nSecondes * 1000LL + nMillisecondes,
                               &nTotal))
        return DATETIME_ERREUR_DUREE_COURTE;
    pclDuree->SetMillisecondes(bMoins ? -nTotal : nTotal);
    return 0;
}

int nDureeVersChaine(const CDureeBase* pclDuree, CXYString<wchar_t>* pclSortie, const wchar_t* pszFormat) noexcept {
    if (pclDuree == nullptr || pclSortie == nullptr) return 0;
    const STLettres st = stChargeLettres();
    const int64_t nDuree = pclDuree->nGetMillisecondes();
    const uint64_t nAbs = nAbsolu(nDuree);
    const auto nDansJour = static_cast<int>(nAbs % MS_PAR_JOUR);
    CTString clTexte;
    if (!clTexte.Set(pszFormat)) return STRMEM_ERREUR_TAILLE;

    wchar_t tabValeur[32];
    const wchar_t tabJour[2] = {st.cJour, 0};
    snwprintfWin(tabValeur, 32, L"%llu", static_cast<unsigned long long>(nAbs / MS_PAR_JOUR));
    bool bMemoire = clTexte.Remplace(tabJour, tabValeur) >= 0;
    const struct {
        wchar_t cLettre;
        int nValeur;
    } tabChamps[] = {
        {st.cHeure, nDansJour / 3'600'000},
        {st.cMinute, nDansJour / 60'000 % 60},
        {st.cSeconde, nDansJour / 1000 % 60},
    };
    for (const auto& stChamp : tabChamps) {
        const wchar_t tabJeton[3] = {stChamp.cLettre, stChamp.cLettre, 0};
        snwprintfWin(tabValeur, 32, L"%02d", stChamp.nValeur);
        bMemoire = bMemoire && clTexte.Remplace(tabJeton, tabValeur) >= 0;
    }
    // The fraction: as many of its leading digits as the format has letters for.
    snwprintfWin(tabValeur, 32, L"%03d", nDansJour % 1000);
    const wchar_t tabL3[4] = {st.cMilliseconde, st.cMilliseconde, st.cMilliseconde, 0};
    for (int nLettres = 3; nLettres >= 1; --nLettres) {
        const wchar_t* pszJeton = tabL3 + (3 - nLettres);
        if (clTexte.nPos(pszJeton) < 0) continue;
        tabValeur[nLettres] = 0;
        bMemoire = bMemoire && clTexte.Remplace(pszJeton, tabValeur) >= 0;
        break;
    }
    bMemoire = bMemoire && clTexte.Remplace(L"+", nDuree < 0 ? L"-" : L"") >= 0;
    if (!bMemoire) return STRMEM_ERREUR_TAILLE;
    return pclSortie->nAffecte(clTexte.pszGet());
}
