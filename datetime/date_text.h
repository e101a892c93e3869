// The text forms of dates and times and the free functions on them: a date is "AAAAMMJJ", a time
// "HHMMSSCC" (hundredths; one to three fraction digits where a value is set from text), a
// date-time the two joined. Day numbers count 1 January 1800 as day 1. Every function answers true
// for success; outputs are written only as each one says.
#pragma once

#include <cstddef>

#include "system/clock.h"

// Days before each month of a common year, and month lengths with a 29-day February.
extern const int gnTabJourCumule[12];
extern const int gnTabNbJourMoisBissextile[12];

// Sizes, terminator included, of the texts the functions below write.
inline constexpr size_t DATE_TAILLE_TEXTE = 9;         // "AAAAMMJJ"
inline constexpr size_t HEURE_TAILLE_TEXTE = 9;        // "HHMMSSCC"
inline constexpr size_t DIFFERENCE_TAILLE_TEXTE = 17;  // "+JJJJJJJHHMMSSCC"

// Leap years: every fourth year up to 1582 (the Julian rule, so 1500 is leap), the Gregorian rule
// from 1583 on. 1 or 0.
int nBissextille(int nAnnee) noexcept;

// The day number of a date (1 January 1800 is 1). Fails, with 0 written, unless the year is above
// 0, the month 1 to 12 and the day within the month. Days 1 to 4 of the months up to November of
// the years up to 1582 carry a century correction that the other days do not: the calendar's
// change-over is kept as the language has always counted it.
bool bJourGregorien(int nJour, int nMois, int nAnnee, int* pnNumero) noexcept;

// Days in a month (February by nBissextille); 0 for a month outside 1 to 12.
int nNombreDeJourDansLeMois(int nMois, int nAnnee) noexcept;

// Writes a date ("AAAAMMJJ", at least 8 characters) through a format: "AAAA" or "YYYY" the year,
// "AA" or "YY" its last two digits, "MM" the month, "JJ" or "DD" the day, letters of any case;
// any other character as it stands. False when the date is short or the result does not fit
// nTaille characters with the terminator.
bool bDateVersChaine(const wchar_t* pszDate, const wchar_t* pszFormat, wchar_t* pszSortie, size_t nTaille) noexcept;

// Reads a date laid out by a format of the same tokens into "AAAAMMJJ" (DATE_TAILLE_TEXTE
// characters). Two year digits take the century 19 above 50, else 20. The text is not validated
// as a date; fails unless the year, the month and the day were all found.
bool bChaineVersDate(const wchar_t* pszTexte, const wchar_t* pszFormat, wchar_t* pszSortie) noexcept;

// "JJ/MM/AAAA..." (at least 10 characters) into "AAAAMMJJ", by position alone.
bool bChaineVersDateFormatDefaut(const wchar_t* pszTexte, wchar_t* pszSortie) noexcept;

// A date text: exactly 8 digits, year above 0, month 1 to 12, day within the month. In 1582 the
// days 5 to 14 of November are refused. The fields are written (when asked for) once the digits
// are read, valid or not.
bool bDateVerif(const wchar_t* pszTexte, int* pnAnnee, int* pnMois, int* pnJour) noexcept;
bool bDateValide(const wchar_t* pszTexte) noexcept;

// A time text: its first 8 characters (fewer are filled with "0", so an empty text is midnight)
// are hour, minute, second and hundredths, all digits; hour below 24, minute and second below 60.
bool bHeureVerif(const wchar_t* pszTexte, int* pnHeure, int* pnMinute, int* pnSeconde, int* pnCentieme) noexcept;
bool bHeureValide(const wchar_t* pszTexte) noexcept;

// Splits a date-time text (at least 8 characters) into its date and its time, the time cut to 8
// characters; each output takes DATE_TAILLE_TEXTE characters.
bool bExtraitDateHeure(const wchar_t* pszTexte, wchar_t* pszDate, wchar_t* pszHeure) noexcept;
bool bDateHeureValide(const wchar_t* pszTexte) noexcept;

// A date text to its day number; a time text to hundredths since midnight; a date-time text to both.
bool bNbJour(const wchar_t* pszDate, int* pnNumero) noexcept;
bool bNbCentieme(const wchar_t* pszHeure, int* pnCentieme) noexcept;
bool bJourCentieme(const wchar_t* pszDateHeure, int* pnNumero, int* pnCentieme) noexcept;

// Differences, always the second minus the first: in days, in hundredths, and as the text
// "+JJJJJJJHHMMSSCC" (sign always present, "+" for zero; DIFFERENCE_TAILLE_TEXTE characters).
bool bDateDifference(const wchar_t* pszA, const wchar_t* pszB, int* pnJours) noexcept;
bool bHeureDifference(const wchar_t* pszA, const wchar_t* pszB, int* pnCentiemes) noexcept;
bool bDateHeureDifference(const wchar_t* pszA, const wchar_t* pszB, wchar_t* pszSortie) noexcept;

// A UTC time as the local wall clock shows it, and back. Fail when the year or the month is 0 or
// the system cannot place the moment. The milliseconds pass unchanged.
bool bUTCVersLocal(const _SYSTEMTIME* pstUtc, _SYSTEMTIME* pstLocal) noexcept;
bool bLocalVersUTC(const _SYSTEMTIME* pstLocal, _SYSTEMTIME* pstUtc) noexcept;
