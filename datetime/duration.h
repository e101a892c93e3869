// Durations: CDureeBase and CDuree hold a signed count of milliseconds, written as text in a fixed
// form ("[-]JHHMMSSLLL", or with hundredths "[-]JHHMMSSCC", days taking as many digits as they
// need) or through a user format of letters (J days, HH, MM, SS, L to LLL for the fraction).
#pragma once

#include <cstdint>

#include "base/xystring.h"

enum : int {
    DATETIME_ERREUR_DATE = 110,          // 0x6e: a date that is not valid
    DATETIME_ERREUR_HEURE = 111,         // 0x6f: a time that is not valid
    DATETIME_ERREUR_DUREE_COURTE = 112,  // 0x70: a duration text too short (or not a duration)
};

class CDureeBase {
public:
    static const wchar_t ms_pcszFormatAffichageMillieme[];
    static const wchar_t ms_cpszFormatAffichageCentieme[];
    // Characters a fixed-form text takes at most, terminator included.
    static constexpr int TAILLE_TEXTE = 24;

    CDureeBase() noexcept = default;
    explicit CDureeBase(int64_t nMillisecondes) noexcept : m_nMillisecondes(nMillisecondes) {}

    int64_t nGetMillisecondes() const noexcept { return m_nMillisecondes; }
    void SetMillisecondes(int64_t nMillisecondes) noexcept { m_nMillisecondes = nMillisecondes; }

    // Fixed forms in. One sign may lead ("+", "-", or their full-width forms); the rest, read from
    // its end, is 3 digits of milliseconds (2 of hundredths), 2 of seconds, minutes and hours, and
    // the days in front. A text shorter than 10 characters (9 with hundredths) answers 112 and
    // leaves the value; so does one with a character that is not a digit or days past what the
    // count holds.
    int nDepuisChaine(const wchar_t* pszTexte) noexcept;
    int nDepuisChaineCentieme(const wchar_t* pszTexte) noexcept;
    // The first bytes of a binary value (at most nLongueur, at most 24) as a millisecond-form text.
    int nDepuisBinaire(const CZKBIN* pclBinaire, unsigned int nLongueur = TAILLE_TEXTE) noexcept;

    // Fixed forms out: a "-" for a negative duration, then absolute days, hours, minutes, seconds
    // and the fraction. Hundredths are rounded to nearest, so 995 milliseconds give "100".
    int nVersChaine(CXYString<wchar_t>* pclSortie) const noexcept;
    int nVersChaineCentieme(CXYString<wchar_t>* pclSortie) const noexcept;
    // The millisecond form as bytes, at most nLongueur of them.
    int nVersBinaire(CZKBIN* pclSortie, unsigned int nLongueur = TAILLE_TEXTE) const noexcept;
    // The millisecond form in a malloc buffer that the caller frees; null when memory fails.
    wchar_t* pszCreeChaine() const noexcept;
    // Writes the fixed form with one of the two formats above into a buffer of nTaille characters
    // (TAILLE_TEXTE holds every duration); answers the length written.
    int __nVersChaine(wchar_t* pszSortie, const wchar_t* pszFormat, int nTaille) const noexcept;

    // -1, 0 or 1, as signed counts.
    static int nCompare(const CDureeBase& clA, const CDureeBase& clB) noexcept;

protected:
    int64_t m_nMillisecondes = 0;
};

class CDuree : public CDureeBase {
public:
    using CDureeBase::CDureeBase;
};

static_assert(sizeof(CDuree) == 8, "a duration is its count of milliseconds");

// A duration read by a user format, walked from the end of both texts: LLL, LL, L, SS, MM, HH, J
// (all the digits there, as days) and "+" (a "-" in the text there makes it negative), tried in
// that order at each step; a step where nothing fits moves both texts back by one. The letters
// are the language's duration letters (resources, "J", "H", "M", "S", "L" when they are absent).
// 0, or 112 when the days overflow the count (the duration is then left).
int nChaineVersDuree(CDureeBase* pclDuree, const wchar_t* pszTexte, const wchar_t* pszFormat) noexcept;

// A duration written by a user format: every "J" becomes the absolute days, "HH", "MM", "SS" the
// hours of the day, minutes and seconds, then "LLL", else "LL", else "L" the fraction, and "+" a
// "-" for a negative duration or nothing. The replacement is textual, so the letters change in
// literals too. 0 or the counted string's code.
int nDureeVersChaine(const CDureeBase* pclDuree, CXYString<wchar_t>* pclSortie, const wchar_t* pszFormat) noexcept;
