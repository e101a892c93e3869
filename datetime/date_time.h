// CDateTimeBase and CDateTime: a date-time in two 32-bit words, the packed date (year << 16 |
// month << 8 | day, so that two dates compare as one unsigned word) and the milliseconds of the
// day. All zero is the empty value. Text is the 17-character form "AAAAMMJJHHmmSSCCC". Operations
// n... answer an error number (0 for success: 110 a bad date, 111 a bad time), b... a boolean.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

#include "base/tstring.h"
#include "base/xystring.h"
#include "datetime/duration.h"
#include "system/clock.h"

class CDateTimeBase {
public:
    static const uint8_t ms_pbyNbJoursMois[12];
    static const uint8_t ms_pbyNbJoursMoisBissextile[12];
    // Characters of the full text form, and its buffer with the terminator.
    static constexpr int LONGUEUR_TEXTE = 17;
    static constexpr int TAILLE_TEXTE = 18;
    static constexpr uint32_t MS_PAR_JOUR = 86'400'000;

    // ---- fields
    int nGetJour() const noexcept { return static_cast<int>(m_dwDate & 0xff); }
    int nGetMois() const noexcept { return static_cast<int>((m_dwDate >> 8) & 0xff); }
    int nGetAnnee() const noexcept { return static_cast<int>(m_dwDate >> 16); }
    uint32_t dwGetDate() const noexcept { return m_dwDate; }
    uint32_t dwGetMillisecondes() const noexcept { return m_dwMillisecondes; }
    bool bEstVide() const noexcept { return m_dwDate == 0 && m_dwMillisecondes == 0; }
    // The two words as they are held, unchecked.
    void SetMots(uint32_t dwDate, uint32_t dwMillisecondes) noexcept {
        m_dwDate = dwDate;
        m_dwMillisecondes = dwMillisecondes;
    }

    // ---- building
    // Stores the fields as they are, without validation.
    void Set(int nAnnee, int nMois, int nJour, int nHeure = 0, int nMinute = 0, int nSeconde = 0,
             int nMilliseconde = 0) noexcept;
    // The empty value.
    void InitDate() noexcept;
    // Year, month, day, hour, minute and second through their setters (a field out of range keeps
    // the old one), then the milliseconds when below 1000: the answer says whether they were.
    bool InitDate(const _SYSTEMTIME* pstHeure) noexcept;
    // Now, on the local clock and in UTC.
    void InitDateCourante() noexcept;
    void InitDateCouranteUTC() noexcept;

    // ---- text in
    // At most 17 bytes (and at most nLongueur) of a binary value as a date-time text, validated:
    // 110 for the date, 111 for a time after it. The milliseconds are cleared first.
    int nDepuisBinaireValide(const CZKBIN* pclBinaire, unsigned int nLongueur = LONGUEUR_TEXTE) noexcept;
    void DepuisBinaire(const CZKBIN* pclBinaire, unsigned int nLongueur = LONGUEUR_TEXTE) noexcept;
    // Date "AAAAMMJJ" and time "HHMMSS" with 1 to 3 fraction digits, without checks.
    template <typename T>
    void __SetPartieDate(const T* pszTexte) noexcept;
    template <typename T>
    void __SetPartieHeure(const T* pszTexte) noexcept;
    // The same, validated; nothing changes on failure. Year 0 passes. An empty time is midnight;
    // otherwise a time has 2, 4 or at least 6 digits (HH, HHMM, HHMMSS, then tenths, hundredths or
    // milliseconds); a character that is not a digit ends it, and must not come before the seconds.
    template <typename T>
    bool __bSetPartieDateValide(const T* pszTexte) noexcept;
    template <typename T>
    bool __bSetPartieHeureValide(const T* pszTexte) noexcept;
    // A time or date text, validated, into this value and into the record's matching fields.
    int nHeureVersSysteme(const wchar_t* pszHeure, _SYSTEMTIME* pstHeure) noexcept;
    int nDateVersSysteme(const wchar_t* pszDate, _SYSTEMTIME* pstHeure) noexcept;

    // ---- text out
    // The first nLongueur characters (at most 17) of the text form, then a terminator: 8 gives
    // the date alone, 14 stops at the seconds. The buffer holds nLongueur + 1 characters.
    void VersChaine(wchar_t* pszSortie, unsigned long nLongueur) const noexcept;
    void VersChaine(char* pszSortie, unsigned long nLongueur) const noexcept;
    void VersChaine(CTString* pclSortie) const noexcept;
    CTString VersChaine() const noexcept;
    int nVersChaine(CXYString<wchar_t>* pclSortie) const noexcept;
    // The text form in a malloc buffer that the caller frees; null when memory fails.
    wchar_t* pszCreeChaine() const noexcept;
    // The text form as bytes (at most nLongueur of them).
    int nVersBinaire(CZKBIN* pclSortie, unsigned int nLongueur = LONGUEUR_TEXTE) const noexcept;
    // The date (at most 8 characters) or the time (at most 9) into a buffer of nTaille characters,
    // terminator included; 108 when it has no room at all.
    int nVersDate(wchar_t* pszSortie, size_t nTaille) const noexcept;
    int nVersHeure(wchar_t* pszSortie, size_t nTaille) const noexcept;
    // "année-mois-jour heure:minute:seconde,millième" without padding, for debug output.
    CTString VersChaineFormate() const noexcept;
    // The fields as a record, the day of the week from the day number (0 when the date is not one).
    int nVersSysteme(_SYSTEMTIME* pstHeure) const noexcept;

    // ---- fixed-position fields
    // The number of nLargeur digits at nPosition; 0 for a null or empty text. When the text ends
    // inside the field: 0 unless bPadRight and some digit is there, which then counts as if
    // followed by zeros ("1" as a three-digit fraction is 100).
    template <typename T>
    static int nGetPropDateTime(const T* pszTexte, int nPosition, int nLargeur, bool bPadRight) noexcept;
    // Writes nValeur on nLargeur digits at nPosition; a field that would pass nTotal becomes zeros
    // up to nTotal. The text is terminated at nTotal either way.
    template <typename T>
    static void SetPropDateTime(T* pszTexte, int nPosition, int nLargeur, int nValeur, int nTotal) noexcept;
    // Each keeps the rest of the value; false, nothing changed, out of range. After a change of the
    // day, month or year a day past the month's end becomes its last day.
    bool bModifieHeure(int nHeure) noexcept;
    bool bModifieMinute(int nMinute) noexcept;
    bool bModifieSeconde(int nSeconde) noexcept;
    bool bModifieJour(int nJour) noexcept;
    bool bModifieMois(int nMois) noexcept;
    bool bModifieAnnee(int nAnnee) noexcept;

    // ---- arithmetic
    // Shifts through the day number. The empty date stays as it is and succeeds. False, value
    // unchanged, for a date that is not one or a result outside the calendar.
    bool bDecaleJour(int nJours) noexcept;
    bool bDecaleMois(int nMois) noexcept;
    // Only the starting year is checked; the result must fit the 16-bit field. A 29 February that
    // lands on a common year becomes the 28th.
    bool bDecaleAnnee(int nAnnees) noexcept;
    bool bDecaleMilli(int64_t nMillisecondes) noexcept;
    // a - b in milliseconds; 110 when either date is not one.
    static int nCalculeDuree(const CDateTimeBase& clA, const CDateTimeBase& clB, CDureeBase* pclDuree) noexcept;
    // a - b in days. A bad second date still stores the difference with 0 for it; a bad first date
    // stores its own number alone (0).
    static bool bCalculeDiffJour(const CDateTimeBase& clA, const CDateTimeBase& clB, int* pnJours) noexcept;

    // ---- calendar
    int nVersEntier(int* pnNumero) const noexcept;
    // The day number of a date; 0 when it is not one.
    static int s_nDateVersEntier(int nJour, int nMois, int nAnnee) noexcept;
    // The Julian Day Number; the days 5 to 14 of October 1582 count as the 15th.
    int nVersJourJulien() const noexcept;
    // 0 for Sunday to 6 for Saturday; -1 when the date is not one.
    int nGetJourDeLaSemaine() const noexcept;
    // 1-based day of the year.
    int nGetJourDansAnnee() const noexcept;
    static int s_nGetNbJourMois(int nMois, int nAnnee) noexcept;
    // Year and week by the Thursday of the date's week, day 1 (Monday) to 7. The week is the
    // Thursday's 1-based day of the year divided by 7, plus 1.
    void VersISO8601YWD(int& nAnnee, int& nSemaine, int& nJour) const noexcept;

    // Day number and back. The number of a date (bValide: day 1 to 31, month 1 to 12, year 1 to
    // 9999 first; the day must lie in its month in any case). Days 1 to 4 of the months up to
    // November of the years up to 1582 carry this function's own century correction.
    static bool __bDateVersEntier(int nJour, int nMois, int nAnnee, int* pnNumero, bool bValide) noexcept;
    // Fails from 2,994,990 on and below the first year.
    static bool __bEntierVersDate(int nNumero, int* pnJour, int* pnMois, int* pnAnnee) noexcept;
    // The Julian rule up to 1582, the Gregorian one after.
    static int __nBissextile(int nAnnee) noexcept;

    // ---- comparison: -1, 0 or 1
    static int nCompare(const CDateTimeBase& clA, const CDateTimeBase& clB) noexcept;
    static int s_nCompareDateSeule(const CDateTimeBase& clA, const CDateTimeBase& clB) noexcept;
    // The value printed in full against a text, as nCompareDate compares.
    static int nCompare(const CDateTimeBase& clA, const wchar_t* pszTexte) noexcept;
    // Two texts over the length of the shorter, so a date equals every date-time of that day;
    // empty (or null) is below everything else and equal to empty.
    static int nCompareDate(const wchar_t* pszA, const wchar_t* pszB) noexcept;
    static int nCompareHeure(const wchar_t* pszA, const wchar_t* pszB) noexcept;

protected:
    void _SetDate(int nAnnee, int nMois, int nJour) noexcept {
        m_dwDate = (static_cast<uint32_t>(nAnnee) << 16) | ((static_cast<uint32_t>(nMois) & 0xff) << 8) |
                   (static_cast<uint32_t>(nJour) & 0xff);
    }
    // A day past the end of its month becomes the last day, once day, month and year are all set.
    void _RectifieFinDeMois() noexcept;
    template <typename T>
    void _VersTexte(T* pszSortie, unsigned long nLongueur) const noexcept;

    uint32_t m_dwDate = 0;
    uint32_t m_dwMillisecondes = 0;
};

class CDateTime : public CDateTimeBase {
public:
    CDateTime() noexcept = default;
    CDateTime(int nAnnee, int nMois, int nJour, int nHeure = 0, int nMinute = 0, int nSeconde = 0,
              int nMilliseconde = 0) noexcept {
        Set(nAnnee, nMois, nJour, nHeure, nMinute, nSeconde, nMilliseconde);
    }
};

static_assert(sizeof(CDateTime) == 8, "a date-time is its two words");

// ---- serialisation: the packed date word, then the milliseconds, 32 bits each, no mark

// A buffer the two words go through: it appends bytes at its cursor and reads them back.
template <typename TBuffer>
concept CTamponSerialisation = requires(TBuffer& clBuffer, const void* pSource, void* pCible) {
    clBuffer.Set(pSource, 4ul);
    clBuffer.Get(pCible, 4ul);
};

// The 8 bytes of the serialised form and back.
void SerialiseDateTime(const CDateTimeBase& clValeur, uint8_t* pbySortie) noexcept;
void DeserialiseDateTime(const uint8_t* pbyEntree, CDateTimeBase* pclValeur) noexcept;

template <CTamponSerialisation TBuffer>
TBuffer& operator<<(TBuffer& clBuffer, const CDateTime& clValeur) {
    uint8_t tabOctets[8];
    SerialiseDateTime(clValeur, tabOctets);
    clBuffer.Set(tabOctets, 4ul);
    clBuffer.Set(tabOctets + 4, 4ul);
    return clBuffer;
}

template <CTamponSerialisation TBuffer>
TBuffer& operator>>(TBuffer& clBuffer, CDateTime& clValeur) {
    uint8_t tabOctets[8] = {};
    clBuffer.Get(tabOctets, 4ul);
    clBuffer.Get(tabOctets + 4, 4ul);
    DeserialiseDateTime(tabOctets, &clValeur);
    return clBuffer;
}
