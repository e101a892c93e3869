// The short-integer calendar of the language's date functions: day numbers (1 is 1 January 1800,
// proleptic Gregorian), validation of date and time texts with the numbered errors they raise, and
// the week, Easter and serial-number arithmetic those functions share.
#pragma once

#include <cstdint>

class CXError;

namespace ovjour {

inline constexpr long DECALAGE_ORDINAL = 657071;  // day number + this = days since 1 January of year 1, 1-based

// 1 for a leap year of the Gregorian rule, else 0.
int nBissextille(short nAnnee) noexcept;
int nLongueurMois(int nMois, int nAnnee) noexcept;  // 0 for a month outside 1 to 12
// Day number of a date plus one; false for a negative year, a month outside 1 to 12 or a day
// outside the month. There is no upper bound on the year.
bool JourGregorien(int nJour, int nMois, int nAnnee, long* pnNumero) noexcept;
// The day number of a date (1 for 1 January 1800), or 0 when JourGregorien fails.
long NumJourGreg(int nJour, int nMois, int nAnnee) noexcept;
// A day number back to its date; false (nothing raised) below year 1 or past year 32767. Clears
// the error on success.
bool bNumEnDate(long nNumero, short* pnJour, short* pnMois, short* pnAnnee, CXError* pclErreur) noexcept;
// Day of the week of a day number, 0 for Sunday.
int nJourSemaine(long nNumero) noexcept;

// Validation. With an error object, a failure raises its numbered error there; with null, it is
// silent.
bool bDateVerif(int nAnnee, int nMois, int nJour, CXError* pclErreur) noexcept;
bool bDateVerif(const wchar_t* pszTexte, short* pnAnnee, short* pnMois, short* pnJour, CXError* pclErreur) noexcept;
// Digits only; padded on the right with "0" to 9 digits, cut past 9.
bool bHeureVerif(const wchar_t* pszTexte, short* pnHeure, short* pnMinute, short* pnSeconde, short* pnCentieme,
                 short* pnMillieme, CXError* pclErreur) noexcept;

// Week number without the ISO option: the week of 1 January is 1 when that day falls Monday to
// Thursday; otherwise the days before the first Monday are in week 0.
int nNumeroSemaine(long nNumero) noexcept;
// ISO 8601 week number, or -1 for a day before the calendar.
int nNumeroSemaineISO(long nNumero) noexcept;

// Easter Sunday of a year from 1583 to 9999; false outside.
bool bPaques(int nAnnee, int* pnMois, int* pnJour) noexcept;

}  // namespace ovjour
