// CDateTimeBase: the packed date-time value, its text forms, its calendar and its arithmetic.
#include "datetime/date_time.h"

#include <climits>
#include <cstdlib>
#include <cwchar>

#include "base/wide_printf.h"
#include "datetime/internal/digits.h"

using datetime_internal::bChiffre;
using datetime_internal::bLitChiffres;
using datetime_internal::EcritChiffres;
using datetime_internal::nLongueurBornee;

const uint8_t CDateTimeBase::ms_pbyNbJoursMois[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
const uint8_t CDateTimeBase::ms_pbyNbJoursMoisBissextile[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

namespace {

// Days before each month, common and leap year; the thirteenth entry closes the year.
constexpr int16_t gtabJourCumule[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
};

// Day numbers stop before this one (1 January 10000 is the last that converts back).
constexpr int NUMERO_LIMITE = 2'994'990;
// Shift between day numbers and days counted from the eve of 1 January of year 1.
constexpr int DECALAGE_NUMERO = 657'071;
// Years far outside the 16-bit field are refused before any arithmetic can overflow.
constexpr int ANNEE_EXTREME = 1'000'000;

constexpr int nDivEntiere(int n, int nDiviseur) noexcept {
    const int q = n / nDiviseur;
    return (n % nDiviseur != 0 && n < 0) ? q - 1 : q;
}

constexpr int nBissextileJulienGregorien(int nAnnee) noexcept {
    if (nAnnee % 4 != 0) return 0;
    if (nAnnee <= 1582) return 1;
    return (nAnnee % 100 != 0 || nAnnee % 400 == 0) ? 1 : 0;
}

// The correction of days 1 to 4 in the years up to 1582, centuries counted from 1500 and every
// division truncated towards zero.
constexpr int nCorrection(int nJour, int nMois, int nAnnee) noexcept {
    if (nJour > 4 || nAnnee > 1582 || nMois > 11) return 0;
    const int q = (nAnnee - 1500) / 100;
    return q / 4 - q + 10;
}

// The number of a date whose fields are already known to be sound.
constexpr int nNumero(int nJour, int nMois, int nAnnee) noexcept {
    const int y = nAnnee - 1;
    const int nBissextile = nBissextileJulienGregorien(nAnnee);
    return nJour + gtabJourCumule[0][nMois - 1] - DECALAGE_NUMERO + 365 * y + nDivEntiere(y, 4) - y / 100 + y / 400 +
           nCorrection(nJour, nMois, nAnnee) + (nMois > 2 && nBissextile != 0 ? 1 : 0);
}

// Number of 1 January of a year: the start the conversion back probes.
constexpr int nDebutAnnee(int nAnnee) noexcept { return nNumero(1, 1, nAnnee); }

// From 1583 on the language's numbers are those of the proleptic Gregorian calendar, which the
// computations below give without probing. Years count from 1 March, so that the leap day ends a
// year; each step is a multiplication and a shift (Neri and Schneider's Euclidean affine forms),
// exact over the positive days these years span.
constexpr int ANNEE_GREGORIENNE = 1583;
constexpr int NUMERO_1583 = -79257;  // 1 January 1583
// Day numbers to days since 1 March of year 0.
constexpr int DECALAGE_ERE = 719'468 - 62'092;

constexpr int nNumeroGregorien(unsigned nJour, unsigned nMois, unsigned nAnnee) noexcept {
    const unsigned bDebut = nMois <= 2 ? 1 : 0;
    const unsigned y = nAnnee - bDebut;
    const unsigned m = bDebut != 0 ? nMois + 12 : nMois;
    const unsigned nSiecle = y / 100;
    const unsigned nJoursAnnees = 1461 * y / 4 - nSiecle + nSiecle / 4;
    const unsigned nJoursMois = (979 * m - 2919) / 32;
    return static_cast<int>(nJoursAnnees + nJoursMois + nJour - 1) - DECALAGE_ERE;
}

constexpr void DateGregorienne(int nNumeroJour, int* pnJour, int* pnMois, int* pnAnnee) noexcept {
    const auto n = static_cast<uint32_t>(nNumeroJour + DECALAGE_ERE);
    const uint32_t n1 = 4 * n + 3;
    const uint32_t nSiecle = n1 / 146097;
    const uint32_t n2 = n1 % 146097 / 4 * 4 + 3;
    const uint64_t p2 = uint64_t{2939745} * n2;
    const auto nAnneeSiecle = static_cast<uint32_t>(p2 >> 32);
    const uint32_t nJourAnnee = static_cast<uint32_t>(p2) / 2939745 / 4;
    const uint32_t n3 = 2141 * nJourAnnee + 197913;
    const uint32_t bJanvierFevrier = nJourAnnee >= 306 ? 1 : 0;
    const uint32_t nMois = n3 >> 16;
    *pnJour = static_cast<int>((n3 & 0xffff) / 2141 + 1);
    *pnMois = static_cast<int>(bJanvierFevrier != 0 ? nMois - 12 : nMois);
    *pnAnnee = static_cast<int>(100 * nSiecle + nAnneeSiecle + bJanvierFevrier);
}

static_assert(nNumeroGregorien(1, 1, 1583) == NUMERO_1583 && nNumero(1, 1, 1583) == NUMERO_1583);
static_assert(nNumeroGregorien(1, 1, 1800) == 1 && nNumeroGregorien(31, 12, 9999) == 2'994'988);
static_assert([] {
    int nJour = 0, nMois = 0, nAnnee = 0;
    DateGregorienne(2'994'989, &nJour, &nMois, &nAnnee);
    return nAnnee == 10000 && nMois == 1 && nJour == 1;
}());

template <typename T>
void Ecrit17(T* psz, const CDateTimeBase& cl) noexcept {
    const uint32_t dwMs = cl.dwGetMillisecondes();
    EcritChiffres(psz, 4, static_cast<uint32_t>(cl.nGetAnnee()));
    EcritChiffres(psz + 4, 2, static_cast<uint32_t>(cl.nGetMois()));
    EcritChiffres(psz + 6, 2, static_cast<uint32_t>(cl.nGetJour()));
    EcritChiffres(psz + 8, 2, dwMs / 3'600'000);
    EcritChiffres(psz + 10, 2, dwMs / 60'000 % 60);
    EcritChiffres(psz + 12, 2, dwMs / 1000 % 60);
    EcritChiffres(psz + 14, 3, dwMs % 1000);
}

// A date-time text from the bytes of a binary value: at most 17 and at most nLongueur, up to a
// zero byte.
void TexteDepuisBinaire(const CZKBIN* pclBinaire, unsigned int nLongueur, wchar_t* pszTexte) noexcept {
    int nOctets = pclBinaire != nullptr ? pclBinaire->nGetTaille() : 0;
    if (nOctets > static_cast<int>(nLongueur)) nOctets = static_cast<int>(nLongueur);
    if (nOctets > CDateTimeBase::LONGUEUR_TEXTE) nOctets = CDateTimeBase::LONGUEUR_TEXTE;
    int n = 0;
    for (; n < nOctets && pclBinaire->pbyGet()[n] != 0; ++n) pszTexte[n] = pclBinaire->pbyGet()[n];
    pszTexte[n] = 0;
}

int nSigne(int n) noexcept { return n < 0 ? -1 : (n > 0 ? 1 : 0); }

}  // namespace

// ---------------------------------------------------------------- building

void CDateTimeBase::Set(int nAnnee, int nMois, int nJour, int nHeure, int nMinute, int nSeconde,
                        int nMilliseconde) noexcept {
    _SetDate(nAnnee, nMois, nJour);
    const int64_t nMs = static_cast<int64_t>(nHeure) * 3'600'000 + static_cast<int64_t>(nMinute) * 60'000 +
                        static_cast<int64_t>(nSeconde) * 1000 + nMilliseconde;
    m_dwMillisecondes = static_cast<uint32_t>(nMs);
}

void CDateTimeBase::InitDate() noexcept {
    m_dwDate = 0;
    m_dwMillisecondes = 0;
}

bool CDateTimeBase::InitDate(const _SYSTEMTIME* pstHeure) noexcept {
    if (pstHeure == nullptr) return false;
    bModifieAnnee(pstHeure->wYear);
    bModifieMois(pstHeure->wMonth);
    bModifieJour(pstHeure->wDay);
    bModifieHeure(pstHeure->wHour);
    bModifieMinute(pstHeure->wMinute);
    bModifieSeconde(pstHeure->wSecond);
    if (pstHeure->wMilliseconds >= 1000) return false;
    m_dwMillisecondes = m_dwMillisecondes - m_dwMillisecondes % 1000 + pstHeure->wMilliseconds;
    return true;
}

void CDateTimeBase::InitDateCourante() noexcept {
    _SYSTEMTIME st{};
    GetLocalTime(&st);
    InitDate();
    InitDate(&st);
}

void CDateTimeBase::InitDateCouranteUTC() noexcept {
    _SYSTEMTIME st{};
    GetSystemTime(&st);
    InitDate();
    InitDate(&st);
}

// ---------------------------------------------------------------- text in

template <typename T>
int CDateTimeBase::nGetPropDateTime(const T* pszTexte, int nPosition, int nLargeur, bool bPadRight) noexcept {
    if (pszTexte == nullptr || pszTexte[0] == 0 || nPosition < 0 || nLargeur <= 0) return 0;
    const auto nFin = static_cast<size_t>(nPosition) + static_cast<size_t>(nLargeur);
    const size_t nLongueur = nLongueurBornee(pszTexte, nFin);
    int nLus = nLargeur;
    if (nLongueur < nFin) {
        if (!bPadRight || nLongueur <= static_cast<size_t>(nPosition)) return 0;
        nLus = static_cast<int>(nLongueur - static_cast<size_t>(nPosition));
    }
    int nValeur = 0;
    for (int i = 0; i < nLus && bChiffre(pszTexte[nPosition + i]); ++i)
        nValeur = nValeur * 10 + static_cast<int>(pszTexte[nPosition + i] - static_cast<T>('0'));
    for (int i = nLus; i < nLargeur; ++i) nValeur *= 10;
    return nValeur;
}

template <typename T>
void CDateTimeBase::SetPropDateTime(T* pszTexte, int nPosition, int nLargeur, int nValeur, int nTotal) noexcept {
    if (pszTexte == nullptr || nTotal < 0 || nPosition < 0 || nLargeur < 0) return;
    if (nPosition + nLargeur > nTotal) {
        for (int i = nPosition; i < nTotal; ++i) pszTexte[i] = static_cast<T>('0');
    } else {
        EcritChiffres(pszTexte + nPosition, nLargeur, static_cast<uint32_t>(nValeur < 0 ? 0 : nValeur));
    }
    pszTexte[nTotal] = 0;
}

template <typename T>
void CDateTimeBase::__SetPartieDate(const T* pszTexte) noexcept {
    _SetDate(nGetPropDateTime(pszTexte, 0, 4, false), nGetPropDateTime(pszTexte, 4, 2, false),
             nGetPropDateTime(pszTexte, 6, 2, false));
}

template <typename T>
void CDateTimeBase::__SetPartieHeure(const T* pszTexte) noexcept {
    const int nHeure = nGetPropDateTime(pszTexte, 0, 2, false);
    const int nMinute = nGetPropDateTime(pszTexte, 2, 2, false);
    const int nSeconde = nGetPropDateTime(pszTexte, 4, 2, false);
    int nFraction = nGetPropDateTime(pszTexte, 6, 3, true);
    if (nFraction == 0) nFraction = nGetPropDateTime(pszTexte, 6, 2, true) * 10;
    if (nFraction == 0) nFraction = nGetPropDateTime(pszTexte, 6, 1, true) * 100;
    m_dwMillisecondes = static_cast<uint32_t>(nHeure * 3'600'000 + nMinute * 60'000 + nSeconde * 1000 + nFraction);
}

template <typename T>
bool CDateTimeBase::__bSetPartieDateValide(const T* pszTexte) noexcept {
    if (nLongueurBornee(pszTexte, 8) < 8) return false;
    int nAnnee = 0, nMois = 0, nJour = 0;
    if (!bLitChiffres(pszTexte, 4, &nAnnee) || !bLitChiffres(pszTexte + 4, 2, &nMois) ||
        !bLitChiffres(pszTexte + 6, 2, &nJour))
        return false;
    if (nAnnee >= 10000 || nMois < 1 || nMois > 12 || nJour < 1 || nJour > s_nGetNbJourMois(nMois, nAnnee)) return false;
    _SetDate(nAnnee, nMois, nJour);
    return true;
}

template <typename T>
bool CDateTimeBase::__bSetPartieHeureValide(const T* pszTexte) noexcept {
    if (pszTexte == nullptr || pszTexte[0] == 0) {
        m_dwMillisecondes = 0;
        return true;
    }
    const size_t nLongueur = nLongueurBornee(pszTexte, 10);
    if (nLongueur != 2 && nLongueur != 4 && nLongueur < 6) return false;
    const size_t nVus = nLongueur < 9 ? nLongueur : 9;
    size_t nChiffres = 0;
    while (nChiffres < nVus && bChiffre(pszTexte[nChiffres])) ++nChiffres;
    if (nChiffres == 0 || (nChiffres < nVus && nChiffres < 6)) return false;
    int nHeure = 0, nMinute = 0, nSeconde = 0, nFraction = 0;
    bLitChiffres(pszTexte, 2, &nHeure);
    if (nChiffres >= 4) bLitChiffres(pszTexte + 2, 2, &nMinute);
    if (nChiffres >= 6) bLitChiffres(pszTexte + 4, 2, &nSeconde);
    if (nChiffres > 6) {
        // 7 digits are tenths, 8 hundredths, 9 milliseconds.
        const int nFractionChiffres = static_cast<int>(nChiffres - 6);
        bLitChiffres(pszTexte + 6, nFractionChiffres, &nFraction);
        nFraction *= nFractionChiffres == 1 ? 100 : (nFractionChiffres == 2 ? 10 : 1);
    }
    if (nHeure >= 24 || nMinute >= 60 || nSeconde >= 60 || nFraction >= 1000) return false;
    m_dwMillisecondes = static_cast<uint32_t>(nHeure * 3'600'000 + nMinute * 60'000 + nSeconde * 1000 + nFraction);
    return true;
}

int CDateTimeBase::nDepuisBinaireValide(const CZKBIN* pclBinaire, unsigned int nLongueur) noexcept {
    m_dwMillisecondes = 0;
    wchar_t tabTexte[TAILLE_TEXTE];
    TexteDepuisBinaire(pclBinaire, nLongueur, tabTexte);
    if (!__bSetPartieDateValide(tabTexte)) return DATETIME_ERREUR_DATE;
    if (std::wcslen(tabTexte) > 8 && !__bSetPartieHeureValide(tabTexte + 8)) return DATETIME_ERREUR_HEURE;
    return 0;
}

void CDateTimeBase::DepuisBinaire(const CZKBIN* pclBinaire, unsigned int nLongueur) noexcept {
    m_dwMillisecondes = 0;
    wchar_t tabTexte[TAILLE_TEXTE];
    TexteDepuisBinaire(pclBinaire, nLongueur, tabTexte);
    __SetPartieDate(tabTexte);
    if (std::wcslen(tabTexte) > 8) __SetPartieHeure(tabTexte + 8);
}

int CDateTimeBase::nHeureVersSysteme(const wchar_t* pszHeure, _SYSTEMTIME* pstHeure) noexcept {
    if (!__bSetPartieHeureValide(pszHeure)) return DATETIME_ERREUR_HEURE;
    if (pstHeure != nullptr) {
        pstHeure->wHour = static_cast<uint16_t>(m_dwMillisecondes / 3'600'000);
        pstHeure->wMinute = static_cast<uint16_t>(m_dwMillisecondes / 60'000 % 60);
        pstHeure->wSecond = static_cast<uint16_t>(m_dwMillisecondes / 1000 % 60);
        pstHeure->wMilliseconds = static_cast<uint16_t>(m_dwMillisecondes % 1000);
    }
    return 0;
}

int CDateTimeBase::nDateVersSysteme(const wchar_t* pszDate, _SYSTEMTIME* pstHeure) noexcept {
    if (!__bSetPartieDateValide(pszDate)) return DATETIME_ERREUR_DATE;
    if (pstHeure != nullptr) {
        pstHeure->wYear = static_cast<uint16_t>(nGetAnnee());
        pstHeure->wMonth = static_cast<uint16_t>(nGetMois());
        pstHeure->wDay = static_cast<uint16_t>(nGetJour());
        const int nSemaine = nGetJourDeLaSemaine();
        pstHeure->wDayOfWeek = static_cast<uint16_t>(nSemaine < 0 ? 0 : nSemaine);
    }
    return 0;
}

// ---------------------------------------------------------------- text out

template <typename T>
void CDateTimeBase::_VersTexte(T* pszSortie, unsigned long nLongueur) const noexcept {
    if (pszSortie == nullptr) return;
    if (nLongueur >= LONGUEUR_TEXTE) {
        // The usual case, written in place at fixed widths.
        Ecrit17(pszSortie, *this);
        pszSortie[LONGUEUR_TEXTE] = 0;
        return;
    }
    T tabTexte[TAILLE_TEXTE];
    Ecrit17(tabTexte, *this);
    for (unsigned long i = 0; i < nLongueur; ++i) pszSortie[i] = tabTexte[i];
    pszSortie[nLongueur] = 0;
}

void CDateTimeBase::VersChaine(wchar_t* pszSortie, unsigned long nLongueur) const noexcept {
    _VersTexte(pszSortie, nLongueur);
}

void CDateTimeBase::VersChaine(char* pszSortie, unsigned long nLongueur) const noexcept {
    _VersTexte(pszSortie, nLongueur);
}

void CDateTimeBase::VersChaine(CTString* pclSortie) const noexcept {
    if (pclSortie == nullptr) return;
    wchar_t tabTexte[TAILLE_TEXTE];
    _VersTexte(tabTexte, LONGUEUR_TEXTE);
    pclSortie->Set(tabTexte);
}

CTString CDateTimeBase::VersChaine() const noexcept {
    CTString clTexte;
    VersChaine(&clTexte);
    return clTexte;
}

int CDateTimeBase::nVersChaine(CXYString<wchar_t>* pclSortie) const noexcept {
    if (pclSortie == nullptr) return 0;
    wchar_t tabTexte[TAILLE_TEXTE];
    _VersTexte(tabTexte, LONGUEUR_TEXTE);
    return pclSortie->nAffecte(tabTexte, LONGUEUR_TEXTE);
}

wchar_t* CDateTimeBase::pszCreeChaine() const noexcept {
    auto* psz = static_cast<wchar_t*>(std::malloc(TAILLE_TEXTE * sizeof(wchar_t)));
    if (psz != nullptr) _VersTexte(psz, LONGUEUR_TEXTE);
    return psz;
}

int CDateTimeBase::nVersBinaire(CZKBIN* pclSortie, unsigned int nLongueur) const noexcept {
    if (pclSortie == nullptr) return 0;
    char tabTexte[TAILLE_TEXTE];
    _VersTexte(tabTexte, LONGUEUR_TEXTE);
    return pclSortie->nAssign(tabTexte, static_cast<int>(nLongueur < LONGUEUR_TEXTE ? nLongueur : LONGUEUR_TEXTE));
}

int CDateTimeBase::nVersDate(wchar_t* pszSortie, size_t nTaille) const noexcept {
    if (pszSortie == nullptr || nTaille == 0) return STRMEM_ERREUR_TAILLE;
    _VersTexte(pszSortie, nTaille - 1 < 8 ? static_cast<unsigned long>(nTaille - 1) : 8ul);
    return 0;
}

int CDateTimeBase::nVersHeure(wchar_t* pszSortie, size_t nTaille) const noexcept {
    if (pszSortie == nullptr || nTaille == 0) return STRMEM_ERREUR_TAILLE;
    wchar_t tabTexte[TAILLE_TEXTE];
    _VersTexte(tabTexte, LONGUEUR_TEXTE);
    const size_t nLongueur = nTaille - 1 < 9 ? nTaille - 1 : 9;
    for (size_t i = 0; i < nLongueur; ++i) pszSortie[i] = tabTexte[8 + i];
    pszSortie[nLongueur] = 0;
    return 0;
}

CTString CDateTimeBase::VersChaineFormate() const noexcept {
    CTString clTexte;
    clTexte.printf(L"%d-%d-%d %d:%d:%d,%d", nGetAnnee(), nGetMois(), nGetJour(),
                   static_cast<int>(m_dwMillisecondes / 3'600'000), static_cast<int>(m_dwMillisecondes / 60'000 % 60),
                   static_cast<int>(m_dwMillisecondes / 1000 % 60), static_cast<int>(m_dwMillisecondes % 1000));
    return clTexte;
}

int CDateTimeBase::nVersSysteme(_SYSTEMTIME* pstHeure) const noexcept {
    if (pstHeure == nullptr) return 0;
    const int nSemaine = nGetJourDeLaSemaine();
    pstHeure->wYear = static_cast<uint16_t>(nGetAnnee());
    pstHeure->wMonth = static_cast<uint16_t>(nGetMois());
    pstHeure->wDay = static_cast<uint16_t>(nGetJour());
    pstHeure->wDayOfWeek = static_cast<uint16_t>(nSemaine < 0 ? 0 : nSemaine);
    pstHeure->wHour = static_cast<uint16_t>(m_dwMillisecondes / 3'600'000);
    pstHeure->wMinute = static_cast<uint16_t>(m_dwMillisecondes / 60'000 % 60);
    pstHeure->wSecond = static_cast<uint16_t>(m_dwMillisecondes / 1000 % 60);
    pstHeure->wMilliseconds = static_cast<uint16_t>(m_dwMillisecondes % 1000);
    return 0;
}

// ---------------------------------------------------------------- fields

void CDateTimeBase::_RectifieFinDeMois() noexcept {
    const int nJour = nGetJour(), nMois = nGetMois(), nAnnee = nGetAnnee();
    if (nJour == 0 || nMois == 0 || nAnnee == 0) return;
    const int nDernier = s_nGetNbJourMois(nMois, nAnnee);
    if (nDernier > 0 && nJour > nDernier) _SetDate(nAnnee, nMois, nDernier);
}

bool CDateTimeBase::bModifieHeure(int nHeure) noexcept {
    if (nHeure < 0 || nHeure > 23) return false;
    m_dwMillisecondes = m_dwMillisecondes % 3'600'000 + static_cast<uint32_t>(nHeure) * 3'600'000;
    return true;
}

bool CDateTimeBase::bModifieMinute(int nMinute) noexcept {
    if (nMinute < 0 || nMinute > 59) return false;
    m_dwMillisecondes = m_dwMillisecondes / 3'600'000 * 3'600'000 + static_cast<uint32_t>(nMinute) * 60'000 +
                        m_dwMillisecondes % 60'000;
    return true;
}

bool CDateTimeBase::bModifieSeconde(int nSeconde) noexcept {
    if (nSeconde < 0 || nSeconde > 59) return false;
    m_dwMillisecondes = m_dwMillisecondes / 60'000 * 60'000 + static_cast<uint32_t>(nSeconde) * 1000 +
                        m_dwMillisecondes % 1000;
    return true;
}

bool CDateTimeBase::bModifieJour(int nJour) noexcept {
    if (nJour < 1 || nJour > 31) return false;
    _SetDate(nGetAnnee(), nGetMois(), nJour);
    _RectifieFinDeMois();
    return true;
}

bool CDateTimeBase::bModifieMois(int nMois) noexcept {
    if (nMois < 1 || nMois > 12) return false;
    _SetDate(nGetAnnee(), nMois, nGetJour());
    _RectifieFinDeMois();
    return true;
}

bool CDateTimeBase::bModifieAnnee(int nAnnee) noexcept {
    if (nAnnee < 1 || nAnnee > 9999) return false;
    _SetDate(nAnnee, nGetMois(), nGetJour());
    _RectifieFinDeMois();
    return true;
}

// ---------------------------------------------------------------- arithmetic

bool CDateTimeBase::bDecaleJour(int nJours) noexcept {
    if (m_dwDate == 0) return true;
    const int nJour = nGetJour(), nMois = nGetMois(), nAnnee = nGetAnnee();
    int nDepart = 0;
    if (!__bDateVersEntier(nJour, nMois, nAnnee, &nDepart, true)) return false;
    const int64_t nCible = static_cast<int64_t>(nDepart) + nJours;
    if (nCible < INT_MIN || nCible > INT_MAX) return false;
    int nJourCible = nJour, nMoisCible = nMois, nAnneeCible = nAnnee;
    if (!__bEntierVersDate(static_cast<int>(nCible), &nJourCible, &nMoisCible, &nAnneeCible)) return false;
    _SetDate(nAnneeCible, nMoisCible, nJourCible);
    return true;
}

bool CDateTimeBase::bDecaleMilli(int64_t nMillisecondes) noexcept {
    int64_t nJours = nMillisecondes / MS_PAR_JOUR;
    int64_t nSomme = static_cast<int64_t>(m_dwMillisecondes) + nMillisecondes % MS_PAR_JOUR;
    if (nSomme < 0) {
        nSomme += MS_PAR_JOUR;
        --nJours;
    } else if (nSomme >= MS_PAR_JOUR) {
        nSomme -= MS_PAR_JOUR;
        ++nJours;
    }
    if (nJours != 0) {
        if (nJours < INT_MIN || nJours > INT_MAX || !bDecaleJour(static_cast<int>(nJours))) return false;
    }
    m_dwMillisecondes = static_cast<uint32_t>(nSomme);
    return true;
}

bool CDateTimeBase::bDecaleMois(int nMois) noexcept {
    const int nDepart = nGetMois();
    if (nDepart < 1 || nDepart > 12) return false;
    int nDecalageAnnee = nMois / 12;
    int nCible = nDepart + nMois % 12;
    if (nCible < 1) {
        nCible += 12;
        --nDecalageAnnee;
    } else if (nCible > 12) {
        nCible -= 12;
        ++nDecalageAnnee;
    }
    const uint32_t dwAncien = m_dwDate;
    _SetDate(nGetAnnee(), nCible, nGetJour());
    if (!bDecaleAnnee(nDecalageAnnee)) {
        m_dwDate = dwAncien;
        return false;
    }
    _RectifieFinDeMois();
    return true;
}

bool CDateTimeBase::bDecaleAnnee(int nAnnees) noexcept {
    const int nAnnee = nGetAnnee();
    if (nAnnee < 1 || nAnnee > 9999) return false;
    const int64_t nCible = static_cast<int64_t>(nAnnee) + nAnnees;
    // The field holds 16 bits: a year it cannot hold is refused rather than wrapped.
    if (nCible < 0 || nCible > 0xffff) return false;
    _SetDate(static_cast<int>(nCible), nGetMois(), nGetJour());
    _RectifieFinDeMois();
    return true;
}

int CDateTimeBase::nCalculeDuree(const CDateTimeBase& clA, const CDateTimeBase& clB, CDureeBase* pclDuree) noexcept {
    int nA = 0, nB = 0;
    if (!__bDateVersEntier(clA.nGetJour(), clA.nGetMois(), clA.nGetAnnee(), &nA, true) ||
        !__bDateVersEntier(clB.nGetJour(), clB.nGetMois(), clB.nGetAnnee(), &nB, true))
        return DATETIME_ERREUR_DATE;
    if (pclDuree != nullptr)
        pclDuree->SetMillisecondes((static_cast<int64_t>(nA) - nB) * MS_PAR_JOUR +
                                   static_cast<int64_t>(clA.m_dwMillisecondes) - clB.m_dwMillisecondes);
    return 0;
}

bool CDateTimeBase::bCalculeDiffJour(const CDateTimeBase& clA, const CDateTimeBase& clB, int* pnJours) noexcept {
    int nA = 0, nB = 0;
    if (!__bDateVersEntier(clA.nGetJour(), clA.nGetMois(), clA.nGetAnnee(), &nA, true)) {
        if (pnJours != nullptr) *pnJours = nA;
        return false;
    }
    const bool bB = __bDateVersEntier(clB.nGetJour(), clB.nGetMois(), clB.nGetAnnee(), &nB, true);
    if (pnJours != nullptr) *pnJours = nA - nB;
    return bB;
}

// ---------------------------------------------------------------- calendar

int CDateTimeBase::__nBissextile(int nAnnee) noexcept { return nBissextileJulienGregorien(nAnnee); }

int CDateTimeBase::s_nGetNbJourMois(int nMois, int nAnnee) noexcept {
    if (nMois < 1 || nMois > 12) return 0;
    return (__nBissextile(nAnnee) != 0 ? ms_pbyNbJoursMoisBissextile : ms_pbyNbJoursMois)[nMois - 1];
}

bool CDateTimeBase::__bDateVersEntier(int nJour, int nMois, int nAnnee, int* pnNumero, bool bValide) noexcept {
    if (pnNumero != nullptr) *pnNumero = 0;
    if (bValide && (nJour < 1 || nJour > 31 || nAnnee < 1 || nAnnee > 9999 || nMois < 1 || nMois > 12)) return false;
    // Without validation the month still indexes the tables and the year must keep the sums in range.
    if (nMois < 1 || nMois > 12 || nAnnee < -ANNEE_EXTREME || nAnnee > ANNEE_EXTREME) return false;
    // Every month has 28 days: only the days after need the month's length.
    if (nJour < 1 || (nJour > 28 && nJour > s_nGetNbJourMois(nMois, nAnnee))) return false;
    if (pnNumero != nullptr)
        *pnNumero = nAnnee >= ANNEE_GREGORIENNE
                        ? nNumeroGregorien(static_cast<unsigned>(nJour), static_cast<unsigned>(nMois),
                                           static_cast<unsigned>(nAnnee))
                        : nNumero(nJour, nMois, nAnnee);
    return true;
}

bool CDateTimeBase::__bEntierVersDate(int nNumero, int* pnJour, int* pnMois, int* pnAnnee) noexcept {
    if (nNumero >= NUMERO_LIMITE) return false;
    if (nNumero >= NUMERO_1583) {
        DateGregorienne(nNumero, pnJour, pnMois, pnAnnee);
        return true;
    }
    const int64_t nJours = static_cast<int64_t>(nNumero) + DECALAGE_NUMERO;
    if (nJours < 0) return false;
    // Before 1583: the last year whose 1 January (with its correction) is not after the number.
    // The first estimate runs a few years high; starting from the mean Gregorian year instead
    // lands on the year or next to it. Starts are strictly increasing, so the year found is the
    // same.
    const auto nEstimation = static_cast<int>(nJours / 365);
    int nAnnee = static_cast<int>(nJours * 400 / 146097) + 1;
    if (nAnnee > nEstimation) nAnnee = nEstimation;
    while (nDebutAnnee(nAnnee) > nNumero) {
        if (--nAnnee < 0) return false;
    }
    // An estimate below the year (early centuries) is raised rather than left to overflow the
    // month walk.
    while (nAnnee < 0xffff && nDebutAnnee(nAnnee + 1) <= nNumero) ++nAnnee;
    const int nReste = nNumero - nDebutAnnee(nAnnee);
    const int16_t* pnCumul = gtabJourCumule[__nBissextile(nAnnee)];
    int nMois = nReste / 31 + 1;
    if (nMois > 12) nMois = 12;
    while (nMois < 12 && pnCumul[nMois] <= nReste) ++nMois;
    const int nJour = nReste - pnCumul[nMois - 1] + 1;
    if (nJour > pnCumul[nMois] - pnCumul[nMois - 1]) return false;
    *pnJour = nJour;
    *pnMois = nMois;
    *pnAnnee = nAnnee;
    return true;
}

int CDateTimeBase::nVersEntier(int* pnNumero) const noexcept {
    return __bDateVersEntier(nGetJour(), nGetMois(), nGetAnnee(), pnNumero, true) ? 0 : DATETIME_ERREUR_DATE;
}

int CDateTimeBase::s_nDateVersEntier(int nJour, int nMois, int nAnnee) noexcept {
    int nNumero = 0;
    __bDateVersEntier(nJour, nMois, nAnnee, &nNumero, true);
    return nNumero;
}

int CDateTimeBase::nVersJourJulien() const noexcept {
    int nJour = nGetJour();
    const int nMois = nGetMois(), nAnnee = nGetAnnee();
    if (nAnnee == 1582 && nMois == 10 && nJour >= 5 && nJour <= 14) nJour = 15;
    const int a = (14 - nMois) / 12;
    const int y = nAnnee + 4800 - a;
    const int m = nMois + 12 * a - 3;
    const bool bGregorien = (nAnnee * 10000 + nMois * 100 + nJour) >= 15821015;
    if (bGregorien) return nJour + (153 * m + 2) / 5 + 365 * y + y / 4 - y / 100 + y / 400 - 32045;
    return nJour + (153 * m + 2) / 5 + 365 * y + y / 4 - 32083;
}

int CDateTimeBase::nGetJourDeLaSemaine() const noexcept {
    int nNumero = 0;
    if (!__bDateVersEntier(nGetJour(), nGetMois(), nGetAnnee(), &nNumero, true)) return -1;
    return (nNumero + DECALAGE_NUMERO) % 7;
}

int CDateTimeBase::nGetJourDansAnnee() const noexcept {
    const int nMois = nGetMois();
    if (nMois < 1 || nMois > 12) return nGetJour();
    return gtabJourCumule[__nBissextile(nGetAnnee())][nMois - 1] + nGetJour();
}

void CDateTimeBase::VersISO8601YWD(int& nAnnee, int& nSemaine, int& nJour) const noexcept {
    nJour = (nGetJourDeLaSemaine() + 6) % 7 + 1;
    CDateTimeBase clJeudi = *this;
    clJeudi.bDecaleJour(4 - nJour);
    nAnnee = clJeudi.nGetAnnee();
    nSemaine = clJeudi.nGetJourDansAnnee() / 7 + 1;
}

// ---------------------------------------------------------------- comparison

int CDateTimeBase::nCompare(const CDateTimeBase& clA, const CDateTimeBase& clB) noexcept {
    if (clA.m_dwDate != clB.m_dwDate) return clA.m_dwDate < clB.m_dwDate ? -1 : 1;
    if (clA.m_dwMillisecondes != clB.m_dwMillisecondes) return clA.m_dwMillisecondes < clB.m_dwMillisecondes ? -1 : 1;
    return 0;
}

int CDateTimeBase::s_nCompareDateSeule(const CDateTimeBase& clA, const CDateTimeBase& clB) noexcept {
    if (clA.m_dwDate == clB.m_dwDate) return 0;
    return clA.m_dwDate < clB.m_dwDate ? -1 : 1;
}

int CDateTimeBase::nCompare(const CDateTimeBase& clA, const wchar_t* pszTexte) noexcept {
    wchar_t tabTexte[32];
    const uint32_t dwMs = clA.m_dwMillisecondes;
    snwprintfWin(tabTexte, 32, L"%04d%02d%02d%02d%02d%02d%03d", clA.nGetAnnee(), clA.nGetMois(), clA.nGetJour(),
                 static_cast<int>(dwMs / 3'600'000), static_cast<int>(dwMs / 60'000 % 60),
                 static_cast<int>(dwMs / 1000 % 60), static_cast<int>(dwMs % 1000));
    return nCompareDate(tabTexte, pszTexte);
}

int CDateTimeBase::nCompareDate(const wchar_t* pszA, const wchar_t* pszB) noexcept {
    const bool bVideA = pszA == nullptr || pszA[0] == 0;
    const bool bVideB = pszB == nullptr || pszB[0] == 0;
    if (bVideA || bVideB) return bVideA == bVideB ? 0 : (bVideA ? -1 : 1);
    const size_t nA = std::wcslen(pszA), nB = std::wcslen(pszB);
    return nSigne(std::wcsncmp(pszA, pszB, nA < nB ? nA : nB));
}

int CDateTimeBase::nCompareHeure(const wchar_t* pszA, const wchar_t* pszB) noexcept { return nCompareDate(pszA, pszB); }

// ---------------------------------------------------------------- serialisation

void SerialiseDateTime(const CDateTimeBase& clValeur, uint8_t* pbySortie) noexcept {
    const uint32_t tabMots[2] = {clValeur.dwGetDate(), clValeur.dwGetMillisecondes()};
    for (int i = 0; i < 8; ++i) pbySortie[i] = static_cast<uint8_t>(tabMots[i / 4] >> (8 * (i % 4)));
}

void DeserialiseDateTime(const uint8_t* pbyEntree, CDateTimeBase* pclValeur) noexcept {
    uint32_t tabMots[2] = {0, 0};
    for (int i = 0; i < 8; ++i) tabMots[i / 4] |= static_cast<uint32_t>(pbyEntree[i]) << (8 * (i % 4));
    // The words go in as they were written, unchecked, as a value read from text without validation.
    pclValeur->SetMots(tabMots[0], tabMots[1]);
}

template int CDateTimeBase::nGetPropDateTime<char>(const char*, int, int, bool) noexcept;
template int CDateTimeBase::nGetPropDateTime<wchar_t>(const wchar_t*, int, int, bool) noexcept;
template void CDateTimeBase::SetPropDateTime<char>(char*, int, int, int, int) noexcept;
template void CDateTimeBase::SetPropDateTime<wchar_t>(wchar_t*, int, int, int, int) noexcept;
template void CDateTimeBase::__SetPartieDate<char>(const char*) noexcept;
template void CDateTimeBase::__SetPartieDate<wchar_t>(const wchar_t*) noexcept;
template void CDateTimeBase::__SetPartieHeure<char>(const char*) noexcept;
template void CDateTimeBase::__SetPartieHeure<wchar_t>(const wchar_t*) noexcept;
template bool CDateTimeBase::__bSetPartieDateValide<char>(const char*) noexcept;
template bool CDateTimeBase::__bSetPartieDateValide<wchar_t>(const wchar_t*) noexcept;
template bool CDateTimeBase::__bSetPartieHeureValide<char>(const char*) noexcept;
template bool CDateTimeBase::__bSetPartieHeureValide<wchar_t>(const wchar_t*) noexcept;
