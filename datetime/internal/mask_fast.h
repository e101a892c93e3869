// The compiled form of a mask made only of numbers and literals ("JJ/MM/AAAA", "AAAAMMJJ",
// "HH:MM:SS"...): its zones with their widths resolved once, so that a conversion is a straight
// loop of digit arithmetic that never looks at names, the language or the mask's letters. Masks
// with anything else (names, "L", AM/PM, zones of variable width when reading) are not compiled
// for that direction, and the conversions take the general path.
#pragma once

#include <cstddef>
#include <cstdint>

#include "datetime/internal/mask_zones.h"
#include "system/clock.h"

namespace datetime_internal {

class CFormeRapide {
public:
    static constexpr int NB_ZONES_MAX = 16;
    // The widest zone writes five digits (a 16-bit field without a cap): enough for any list.
    static constexpr size_t TAILLE_SORTIE = NB_ZONES_MAX * 5 + 1;

    // Takes the zones of a mask already read; a list it cannot serve leaves both directions off.
    void Compile(const CListeZones& clZones) noexcept;

    bool bEcriture() const noexcept { return m_bEcriture; }
    bool bLecture() const noexcept { return m_bLecture; }
    // Whether the zones are "AAAAMMJJ": a year, a month and a day of fixed widths, nothing else.
    bool bEstAnneeMoisJour() const noexcept;

    // Writes the fields through the zones, as the general display does outside input mode; the
    // length written (pszSortie holds TAILLE_SORTIE characters, no terminator is added).
    size_t nEcrit(const _SYSTEMTIME& st, wchar_t* pszSortie) const noexcept;
    // The length nEcrit will write when every zone has a fixed width and every field fits it,
    // else -1; then EcritFixe writes that text.
    int nLongueurFixe(const _SYSTEMTIME& st) const noexcept;
    void EcritFixe(const _SYSTEMTIME& st, wchar_t* pszSortie) const noexcept;
    // The same length for a valid date without a time, known once compiled: -1 unless every
    // field is the year, the month or the day.
    int nLongueurDate() const noexcept { return m_nGabaritDate; }

    // Reads a text that holds a digit at every position of every zone and each literal where the
    // mask has it, into fields cleared beforehand; false for any other text, which the general
    // reader then takes (pst is then in no particular state). nFlags are those of the mask.
    bool bLit(const wchar_t* pszTexte, int nFlags, _SYSTEMTIME* pst) const noexcept;

private:
    struct STPas {
        uint8_t eType;
        uint8_t nLargeur;
        bool bDerniere;
        wchar_t cLitteral;
    };

    // A field of a mask whose every zone has a fixed width: where its digits go in the pattern.
    struct STChamp {
        uint8_t nPosition;
        uint8_t nChamp;  // where the field lies in the record, in bytes
        uint8_t eForme;  // how it is written
    };
    STPas m_tabPas[NB_ZONES_MAX];
    int m_nPas = 0;
    STChamp m_tabChamps[NB_ZONES_MAX];
    int m_nChamps = 0;
    int m_nGabarit = -1;  // length of the pattern, -1 without one
    int m_nGabaritDate = -1;
    wchar_t m_szGabarit[TAILLE_SORTIE];
    bool m_bEcriture = false;
    bool m_bLecture = false;
    bool m_bAMPM = false;  // hours shown on twelve
};

}  // namespace datetime_internal
