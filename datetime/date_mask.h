// CMasqueDateHeure: turns the internal text forms of dates and times ("AAAAMMJJ", "HHMMSS",
// "AAAAMMJJHHmmSSCCC"...) into what the user sees through a mask such as "JJ/MM/AAAA", and back,
// for display, for free text and for the fixed-width text of an input field.
// CMasqueDateHeureAmelio is the same mask with the date-and-time switch given by the caller.
#pragma once

#include <cstddef>

#include "base/tstring.h"
#include "base/xystring.h"
#include "datetime/internal/mask_fast.h"
#include "datetime/internal/mask_zones.h"
#include "datetime/mask.h"
#include "system/clock.h"

namespace datetime_internal {
class CSortieMasque;
}

// The century added to a two-digit year when no pivot is asked for.
extern int gnSiecle;

class CMasqueDateHeure : public CMasque {
public:
    // Kinds of zones the tokeniser yields.
    enum ETypeZone : int {
        ZONE_FIN = 0,
        ZONE_LITTERAL = 1,
        ZONE_J = 2,
        ZONE_JJ = 3,
        ZONE_L = 4,
        ZONE_JOUR_ABREGE = 5,
        ZONE_JOUR_ABREGE_MAJ = 6,
        ZONE_JOUR_ABREGE_MIN = 7,
        ZONE_JOUR = 8,
        ZONE_JOUR_MAJ = 9,
        ZONE_JOUR_MIN = 10,
        ZONE_M = 11,
        ZONE_MM = 12,
        ZONE_MOIS_ABREGE = 13,
        ZONE_MOIS_ABREGE_MAJ = 14,
        ZONE_MOIS_ABREGE_MIN = 15,
        ZONE_MOIS = 16,
        ZONE_MOIS_MAJ = 17,
        ZONE_MOIS_MIN = 18,
        ZONE_AA = 19,
        ZONE_AAAA = 20,
        ZONE_HH = 21,
        ZONE_H = 22,
        ZONE_MINUTE = 23,
        ZONE_SECONDE = 24,
        ZONE_CC = 25,
        ZONE_CCC = 26,
        ZONE_AMPM = 27,
        ZONE_LITTERAL_SAISIE = 28,  // a literal outside the active zones of an input field: no width
    };

    // Flags of the conversions.
    enum : int {
        FLAG_SAISIE = 1,             // fixed-width zones, "_" in empty positions
        FLAG_LITTERAL_EXACT = 2,     // literals must match when parsing
        FLAG_PIVOT = 4,              // two-digit years: below 51 is 20xx, else 19xx
        FLAG_NORMALISE = 8,          // mask normalised before display; abbreviations get a "."
        FLAG_STRICT = 16,            // letter literals must match; nothing after a final year
        FLAG_MOIS_QUATRE = 32,       // an abbreviated month of four letters keeps four
        FLAG_REFUSE_IMPOSSIBLE = 64, // bFormateEx refuses a value that cannot be
    };

    // Flags of MoisEnLettre and JourEnLettre.
    enum : int {
        NOM_ABREGE = 1,
        NOM_QUATRE = 2,
        NOM_MAJUSCULE = 4,
        NOM_MINUSCULE = 8,
    };

    // Where a caret stands in the fixed-width text of an input field.
    struct STInfoZone {
        int eType;
        int nDebut;          // first position of the zone in the text
        wchar_t szTexte[8];  // the zone's characters, cut to 7
        int nLargeur;
        int nDecalage;       // the caret's offset within the zone
    };

    // One zone read from a mask.
    struct STZone {
        int eType;
        int nLargeur;
        const wchar_t* pszDebut;  // where the token starts in the mask
        const wchar_t* pszFin;    // just past it
        wchar_t cLitteral;        // the character a literal stands for
    };

    // Which rows of the token table apply, and whether the whole user mask is "L".
    struct STReglesZone {
        int nPremierRang;
        int nDernierRang;
        bool bMasqueEstL;
    };

    // A null internal form takes "AAAAMMJJ" for a date mask and "HHMMSS" for a time mask.
    CMasqueDateHeure(const wchar_t* pszMasque, bool bDate, const wchar_t* pszInterne) noexcept;
    ~CMasqueDateHeure() override;

    // ---- slots
    bool bEstVide() const noexcept override { return false; }
    void Formate(const wchar_t* pszTexte, CTString* pclSortie, const CObjetAPCode* pclCode) const noexcept override;
    void vSetMinMax(CAny clMin, CAny clMax) noexcept override;
    void vSetInfoLangueMasque(IInfoLangue* piInfoLangue, int nOptions, unsigned int nCodePage) noexcept override;
    bool bvGetValeurMasqueEffectif(CTString* pclSortie) noexcept override;
    // Whether the internal form holds a date and a time.
    virtual bool bEstMasqueDateEtHeure() const noexcept;

    static bool sbStrEstMasqueDateEtHeure(const wchar_t* pszInterne) noexcept;

    // ---- conversions
    // Internal text to display; false only with FLAG_REFUSE_IMPOSSIBLE.
    bool bFormateEx(const wchar_t* pszTexte, CTString* pclSortie, int nFlags) const noexcept;
    // Display text to internal text (null internal: the mask's); empty when the text does not parse.
    void DeformateDateHeure(const wchar_t* pszTexte, CTString* pclSortie, int nFlags,
                            const wchar_t* pszInterne = nullptr) const noexcept;
    void FormateDate(const _SYSTEMTIME& stHeure, CTString* pclSortie, int nFlags) const noexcept;
    void _FormateDateForMaskEx(const wchar_t* pszMasque, const _SYSTEMTIME& stHeure, CTString* pclSortie,
                               int nFlags) const noexcept;
    // The parser. Fields without a value stay 65535.
    bool _bTexteVersDateHeure(const wchar_t* pszTexte, const wchar_t* pszMasque, _SYSTEMTIME* pstHeure,
                              int nFlags) const noexcept;
    void StructtoDateString(_SYSTEMTIME stHeure, CTString* pclSortie, const wchar_t* pszInterne) const noexcept;
    // Longest internal texts written when reading a date or a time.
    static constexpr size_t LONGUEUR_DATE_INTERNE = 32;
    static constexpr size_t LONGUEUR_HEURE_INTERNE = 9;
    void StructtoHourString(_SYSTEMTIME stHeure, CTString* pclSortie, const wchar_t* pszInterne) const noexcept;
    static void RazSYSTEMTIME(_SYSTEMTIME* pstHeure) noexcept;

    // ---- the direct path of masks made of numbers and literals (datetime/date_mask_fast.cpp)
    // What bFormateEx or DeformateDateHeure (with the mask's own internal form) would answer,
    // written into pszSortie, which holds TAILLE_RAPIDE characters; no terminator is added. The
    // length, or -1 when the mask, the flags or the text need the general path: nothing is
    // answered then, and the caller calls the general conversion.
    static constexpr size_t TAILLE_RAPIDE = datetime_internal::CFormeRapide::TAILLE_SORTIE;
    int nFormateRapide(const wchar_t* pszTexte, wchar_t* pszSortie, int nFlags) const noexcept;
    int nDeformateRapide(const wchar_t* pszTexte, wchar_t* pszSortie, int nFlags) const noexcept;
    // The same as nFormateRapide for the eight digits of a date already read and checked (year
    // 1 to 9999, month 1 to 12, day 1 to 31), when the internal form is "AAAAMMJJ".
    int nFormateDateRapide(int nAnnee, int nMois, int nJour, wchar_t* pszSortie, int nFlags) const noexcept;
    // The same text written straight into a result of its final length, when every zone of the
    // mask has a fixed width: one allocation and no copy. False, nothing written, otherwise.
    bool bFormateDateRapide(int nAnnee, int nMois, int nJour, CXYString<wchar_t>* pclSortie, int nFlags) const noexcept;

    // ---- tokeniser
    // The next zone; at the end the pointer becomes null and the type is ZONE_FIN.
    int eParseMasque_Internal(const wchar_t** ppszMasque, int* pnLargeur) const noexcept;
    // The same, where in input mode a literal with no active zone on one side of it in pszMasque
    // (null: the user mask) becomes ZONE_LITTERAL_SAISIE of width 0.
    int eParseMasque(const wchar_t** ppszMasque, int* pnLargeur, int bSaisie,
                     const wchar_t* pszMasque = nullptr) const noexcept;
    STReglesZone stGetRegles() const noexcept;
    static const wchar_t* s_pszLitZone(const wchar_t* pszPosition, const STReglesZone& stRegles, STZone* pstZone) noexcept;
    static bool s_bZoneActive(int eType) noexcept;

    // ---- zone tests
    bool bZonePresent(const wchar_t* pszMasque, int eType1, int eType2) const noexcept;
    bool bZoneEstPresente(int eType1, int eType2) const noexcept { return bZonePresent(m_clMasque.pszGet(), eType1, eType2); }
    // An active zone from pszDebut up to (not including) pszFin; null: to the end.
    bool bContientZoneActive(const wchar_t* pszDebut, const wchar_t* pszFin) const noexcept;
    static bool s_bZoneHeurePresente(const wchar_t* pszMasque) noexcept;
    static bool s_bZoneAMPMPresente(const wchar_t* pszMasque) noexcept;
    bool _bGetInfoZoneFromPos(const wchar_t* pszTexte, int nPosition, STInfoZone* pstInfo) const noexcept;

    // ---- names (datetime/date_mask_names.cpp)
    // Month 1 to 12, day of the week 0 (Sunday) to 6; empty out of range. nTaille counts the
    // terminator; the name is cut to fit.
    void MoisEnLettre(int nMois, int nFlags, wchar_t* pszSortie, int nTaille) const noexcept;
    void JourEnLettre(int nJour, int nFlags, wchar_t* pszSortie, int nTaille) const noexcept;
    void Get1ereLettreJourSemaine(int nJour, CTString* pclSortie) const noexcept;
    static void s_MoisEnLettre(int nMois, IInfoLangue* piInfoLangue, wchar_t* pszSortie, int nTaille) noexcept;
    static void s_JourEnLettre(int nJour, IInfoLangue* piInfoLangue, wchar_t* pszSortie, int nTaille) noexcept;
    // 1 to 12, or -1 when the text is no month's name under those flags.
    int _nGetNumMonthFromName(const wchar_t* pszTexte, int nFlags) const noexcept;
    void _GetStrAMPM(bool bAM, CTString* pclSortie) const noexcept;

    // ---- the mask in effect
    const wchar_t* pszGetMasqueDateSelonSaisie(int nReserve) const noexcept { return m_clMasque.pszGet(); }
    const wchar_t* pszGetMasqueEcrit() const noexcept { return m_clMasqueEcrit.pszGet(); }
    const wchar_t* pszGetFormeInterne() const noexcept { return m_clFormeInterne.pszGet(); }
    // Whether no conversion of this mask asks its language anything: no names, no "L", no
    // AM/PM, in the mask, in its internal form or in the mask normalised.
    bool bSansLangue() const noexcept { return m_bSansLangue; }
    int nGetAnneeMin() const noexcept { return m_nAnneeMin; }
    int nGetAnneeMax() const noexcept { return m_nAnneeMax; }
    void _GetMasqueSystemeDate(CTString* pclSortie) const noexcept;
    void _GetMasqueSystemeHeure(CTString* pclSortie) const noexcept;
    static void _InverseMasqueR2L(CTString* pclMasque) noexcept;

    // ---- keystrokes in an input field (datetime/date_mask_input.cpp). Results: 0 refused,
    // 1 accepted and next position, 2 two positions filled, 3 zone complete, 4 caret to the last
    // position of the zone. The buffer holds the zone's characters.
    enum : int { SAISIE_REFUSE = 0, SAISIE_SUIVANT = 1, SAISIE_DEUX = 2, SAISIE_COMPLET = 3, SAISIE_DERNIER = 4 };
    static int eGereSaisieBorne(wchar_t c, int nPosition, wchar_t* pszBuffer, const wchar_t* pszMin,
                                const wchar_t* pszMax) noexcept;
    int eGereSaisieJour(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;
    int eGereSaisieHeure(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;
    int eGereSaisieAnnee(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;
    int eGereSaisieAnneeSur2(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;
    int eGereSaisieMinuteSeconde(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;
    int eGereSaisieCentiemeDeSeconde(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;
    int eGereSaisieMilliemeDeSeconde(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept;

protected:
    // Expands a predefined mask name, then reads the zones of the mask and of the internal form
    // again. Whatever changes m_clMasque, or the date-and-time switch, calls it afterwards: the
    // conversions work from the zones read here.
    void __CalculeMasquePredefini() noexcept;

    datetime_internal::CTexteMasque m_clMasque;        // the mask in effect, predefined names expanded
    int m_bDate;                                       // not 0: a date mask
    int m_nAnneeMin = 1900;
    int m_nAnneeMax = 2089;
    datetime_internal::CTexteMasque m_clFormeInterne;  // the text form on the other side of the conversion
    datetime_internal::CTexteMasque m_clMasqueEcrit;   // the mask as the caller gave it
    int m_nReserve = 0;
    bool m_bDateEtHeure;                               // the internal form, read once

private:
    void _DeveloppeMasquePredefini() noexcept;
    // The AM or PM text in effect, owned by the language or static.
    const wchar_t* _pszAMPM(bool bAM) const noexcept;
    void _LitZones() noexcept;
    // The zones of m_clMasque or of the internal form when pszMasque is one of them, else those
    // of pszMasque read into pclLocale.
    const datetime_internal::CListeZones* _pclZones(const wchar_t* pszMasque,
                                                    datetime_internal::CListeZones* pclLocale) const noexcept;
    bool _bLitTexte(const wchar_t* pszTexte, const datetime_internal::CListeZones& clZones, _SYSTEMTIME* pst,
                    int nFlags) const noexcept;
    void _EcritTexte(const datetime_internal::CListeZones& clZones, const _SYSTEMTIME& st,
                     datetime_internal::CSortieMasque* pclSortie, int nFlags) const noexcept;
    // What every reading does once the zones are read: fields implied by others, today's month
    // and year for a lone day.
    void _FinLecture(_SYSTEMTIME* pst, bool bSaisie) const noexcept;
    // The fields an internal date or time is written with; false when there is none to write.
    bool _bCompleteDate(_SYSTEMTIME* pst) const noexcept;
    static bool s_bCompleteHeure(_SYSTEMTIME* pst) noexcept;
    // The fields of a date read and checked already, when the direct path can display them.
    bool _bDateRapide(int nAnnee, int nMois, int nJour, int nFlags, _SYSTEMTIME* pst) const noexcept;

    STReglesZone m_stRegles{};
    bool m_bNormaliseInutile = false;  // the mask has nothing that normalising would rewrite
    bool m_bSansLangue = false;
    datetime_internal::CListeZones m_clZonesMasque;
    datetime_internal::CListeZones m_clZonesInterne;  // for an internal form that is not a fixed one
    const datetime_internal::CListeZones* m_pclZonesInterne = &m_clZonesInterne;
    // The zones above compiled for the direct path, kept in step by _LitZones; a fixed internal
    // form's is shared like its zones.
    datetime_internal::CFormeRapide m_clRapideMasque;
    datetime_internal::CFormeRapide m_clRapideInterne;
    const datetime_internal::CFormeRapide* m_pclRapideInterne = &m_clRapideInterne;
    // The length of every display of a valid "AAAAMMJJ" date when the mask writes it with fixed
    // widths straight from its fields, else -1: decided once, checked on every display.
    int m_nLongueurDateFixe = -1;
};

class CMasqueDateHeureAmelio : public CMasqueDateHeure {
public:
    CMasqueDateHeureAmelio(const wchar_t* pszMasque, bool bDate, const wchar_t* pszInterne,
                           bool bDateEtHeure) noexcept
        : CMasqueDateHeure(pszMasque, bDate, pszInterne), m_bMasqueDateEtHeure(bDateEtHeure ? 1 : 0) {
        // The predefined masks and the zones depend on the switch: read them again now that it is set.
        m_clMasque.Set(m_clMasqueEcrit.pszGet());
        __CalculeMasquePredefini();
    }
    bool bEstMasqueDateEtHeure() const noexcept override { return m_bMasqueDateEtHeure != 0; }

private:
    int m_bMasqueDateEtHeure;
};
