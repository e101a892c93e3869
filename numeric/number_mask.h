// CMasqueNumerique: the mask that shows a number the way the user reads it. The number comes as
// decimal text ("-1234.5"), so that values wider than a double lose nothing; the mask gives the
// digit positions, the separators, the sign place, the currency, the percent mark, a colour and
// different layouts for positive, negative, zero and null values ("999 999,99;(999 999,99);Nul").
#pragma once

#include <cstdint>

#include "base/tstring.h"
#include "datetime/mask.h"

// What the mask's text callback is asked for.
enum eCHAINEERREUR : int {
    CHAINEERREUR_DEPASSEMENT = 0,  // the value does not fit the mask
    CHAINEERREUR_NULL = 3,         // the text of a null value
};

// A regional number format: decimals, and where the sign of a negative value goes (0 in
// parentheses, 1 before, 2 before with a blank, 3 after, 4 after with a blank).
struct STFormatNombre {
    int nDecimales = 2;
    int nOrdreNegatif = 1;
};

// A regional money format: decimals, separators, and the orders of the currency and sign for
// positive (0 to 3) and negative (0 to 15) amounts.
struct STFormatMonetaire {
    int nDecimales = 2;
    const wchar_t* pszSeparateurDecimal = L",";
    const wchar_t* pszSeparateurMillier = L" ";
    int nOrdrePositif = 3;
    int nOrdreNegatif = 8;
    const wchar_t* pszDevise = L"";
};

class CMasqueNumerique : public CMasque {
public:
    // Options of the mask.
    enum : unsigned int {
        MASQUE_SYSTEME = 1,           // a system mask, rebuilt when the language changes
        MASQUE_SYSTEME_SYMBOLE = 2,   // "MoneySystemMask$"
        SEPARATEURS_FIXES = 4,        // the separators stay what they are for this mask
    };
    enum ePARAMETREINT_NUMERIQUE : int {
        PARAMETRE_SEPARATEUR_DECIMAL = 0,
        PARAMETRE_SEPARATEUR_MILLIER = 1,
        PARAMETRE_DEVISE = 2,
        PARAMETRE_NB = 3,
    };
    static constexpr uint32_t COULEUR_AUCUNE = 0xFBADC0DEu;
    static constexpr uint32_t COULEUR_TRANSPARENT = 0xFFFFFFFFu;
    static constexpr int TAILLE_DEVISE_MAX = 32;
    static constexpr int NB_PARTIE_MAX = 4;

    // A null callback gives "+++++" for an overflow and an empty text for null.
    CMasqueNumerique(const wchar_t* pszMasque, PFNTexteErreurMasque pfnTexte) noexcept;
    ~CMasqueNumerique() override;

    bool bEstVide() const noexcept override;
    void Formate(const wchar_t* pszTexte, CTString* pclSortie, const CObjetAPCode* pclCode) const noexcept override;
    void vSetInfoLangueMasque(IInfoLangue* piInfoLangue, int nOptions, unsigned int nCodePage) noexcept override;
    bool bMasqueNonSupporteEnTZ9VI30() const noexcept override;
    void GetMasqueCompatibleTZ9VI30(CTString* pclSortie) const noexcept override;

    // The formatter. With bRaw, literals, currency, percent and thousands separators are left out.
    void MetAuFormat(const wchar_t* pszTexte, CTString* pclSortie, int bRaw, const CObjetAPCode* pclCode) const noexcept;
    // Display text back to number text: digits, "." for the decimal separator, "-" first when
    // negative; a percent mask divides by 100.
    void DeformateNum(const wchar_t* pszTexte, CTString* pclSortie, int bRaw) const noexcept;

    // A byte size as people read it: unit 0 picks the largest unit the size reaches, 1 to 5 force
    // bytes, kilobytes, megabytes, gigabytes, terabytes; another unit leaves the output as it is.
    // The unit names are the language's when it gives its own, else those of the message block.
    void MetAuFormatTailleDisque(double dValeur, CTString* pclSortie, int nUnite) const noexcept;

    // ---- parts and colours (parts 0 positive, 1 negative, 2 zero, 3 null)
    // False when the mask has no such part of its own; the text is then the part that stands in.
    bool bGetPartieMasque(int nPartie, int bRaw, CTString* pclSortie, uint32_t* pdwCouleur) const noexcept;
    uint32_t dwGetCouleurPourValeur(const wchar_t* pszTexte, int bRaw) const noexcept;
    // The colour of the null part; COULEUR_AUCUNE when the mask has none.
    uint32_t dwGetCouleurPourPourNull(int bRaw) const noexcept;
    const wchar_t* pszGetValeurPourNull(CTString* pclSortie, int bRaw, uint32_t* pdwCouleur) const noexcept;
    // Whether the positive, negative and zero parts do not all show the same colour.
    bool bCouleurDependDeLaValeur(int bRaw) const noexcept;

    // ---- facts about the mask
    bool bEstMasquePourcentage(int bRaw) const noexcept;
    bool bEstMasqueTailleDisque(int bRaw) const noexcept;
    int nDecimalesMasque(int bRaw, int nPartie) const noexcept;
    // Whether the mask shows a negative value in a layout of its own: a negative part, or a sign
    // place or parentheses in its only part.
    bool bNegatifAccepte() const noexcept;
    // Digit positions of the positive part, integer and fraction together.
    int nGetNbChiffreSignificatifMasque(int bRaw) const noexcept;
    // The type code that holds a value typed under the mask without loss: money (0x0a) for a
    // currency mask, real (0x0c) with decimals or a percent, 64-bit (0x09) past nine integer
    // positions, else int (0x08).
    uint16_t wGetTypeFromMasque() const noexcept;
    // What the positive part writes before its first digit position and after its last one, for
    // a positive value: currency and escapes resolved, sign places and colours left out. Empty
    // with bRaw, which leaves literals out.
    void GetPrefixeChiffre(CTString* pclSortie, int bRaw) const noexcept;
    void GetPostfixeChiffre(CTString* pclSortie, int bRaw) const noexcept;
    // The mask with each part's digit positions replaced by nChiffres integer positions (grouped
    // by three when the part groups them) and nDecimales fraction positions; text and colours
    // around the positions stay.
    void GetMasqueAvecNChiffres(CTString* pclSortie, int nChiffres, int nDecimales) const noexcept;
    const wchar_t* pszGetMasque() const noexcept { return m_clMasque.pszGet(); }
    wchar_t cGetSeparateurDecimal() const noexcept { return m_cSeparateurDecimal; }
    wchar_t cGetSeparateurMillier() const noexcept { return m_cSeparateurMillier; }
    // The digit count of a system mask (-1: all); the mask is rebuilt.
    void SetNbChiffreMasqueSysteme(int nChiffres) noexcept;

    // ---- statics
    static uint32_t sdwTexteVersCouleur(const wchar_t* pszTexte) noexcept;
    static void sConstruitMasqueMonetaire(CTString* pclSortie, int nChiffres, int nDecimales, wchar_t cMillier,
                                          wchar_t cDecimal) noexcept;
    // Mask texts for a regional number or money format: one part when the negative layout only
    // adds the sign (put at the sign place "+"), else a positive and a negative part.
    static void FormatNumeriqueVersMasqueOV(const STFormatNombre* pstFormat, CTString* pclSortie) noexcept;
    static void FormatMonetaireVersMasqueOV(const STFormatMonetaire* pstFormat, CTString* pclSortie) noexcept;
    // Forces a class-wide value over the regional settings (the currency is cut to
    // TAILLE_DEVISE_MAX characters); a null text lifts the force.
    static void SetInternationnalParam(ePARAMETREINT_NUMERIQUE eParametre, const wchar_t* pszValeur) noexcept;
    // The overflow text "+++++" and an empty null text.
    static const wchar_t* s_pszTexteErreurDefaut(eCHAINEERREUR e) noexcept;

    // The low-level digit formatter, on a decimal text in place: an exponent expanded (bEtend),
    // nSignificatifs digits kept (above 0), the fraction cut and rounded half up to nDecimales
    // (-1: trailing zeros dropped), padded to nLargeur (alignment 1 left, 0 right; a longer result
    // gives "*E*"), and trailing fraction zeros dropped with bSupprimeZeros.
    static void FmtNum(CTString* pclTampon, int nLargeur, int nDecimales, int nSignificatifs, int nAlignement,
                       int bEtend, int bSupprimeZeros) noexcept;
    // A value as text with at most nDecimales decimals, rounded half up; trailing zeros dropped.
    // Texts, money and integers keep every digit; a real that is not finite or past 1e300 gives
    // the callback's overflow text.
    static void NumeriqueVersChaineArrondi(const CAny& clValeur, CAny* pclSortie, int nDecimales,
                                           PFNTexteErreurMasque pfnTexte) noexcept;

    static wchar_t ms_cSeparateurDecimal;
    static wchar_t ms_cSeparateurMillier;
    static wchar_t ms_pszDevise[TAILLE_DEVISE_MAX + 1];
    static bool ms_tabParametreIntForce[PARAMETRE_NB];

private:
    struct STPartie {
        int nDebut = 0;       // in m_clMasque, colour removed: m_szParties
        int nLongueur = 0;
        uint32_t dwCouleur = COULEUR_AUCUNE;
    };

    void _InitGlobales() noexcept;
    void _InitMasqueEffectif(const wchar_t* pszMasque) noexcept;
    void _ConstruitMasqueSysteme(int nChiffres, bool bSymbole, bool bMonnaie, CTString* pclSortie) const noexcept;
    void _DecoupeParties() noexcept;
    int _nPartiePourValeur(const wchar_t* pszTexte, bool* pbNegatif, bool* pbZero) const noexcept;
    const wchar_t* _pszPartie(int nPartie, int* pnLongueur) const noexcept;
    const wchar_t* _pszTexte(eCHAINEERREUR e) const noexcept;
    void _PrefixeOuPostfixe(bool bPostfixe, CTString* pclSortie) const noexcept;

    // ---- fields, in the order the machine's code knows them
    CTString m_clMasque;
    wchar_t m_cSeparateurMillier = L' ';
    wchar_t m_cSeparateurDecimal = L',';
    wchar_t m_cLettreMillier = L' ';
    wchar_t m_cLettreDecimal = L',';
    CTString m_clDevise;
    unsigned int m_dwOptions = 0;
    int m_nNbChiffre = -1;
    PFNTexteErreurMasque m_pfnTexte = nullptr;

    // ---- the mask cut into parts, colours removed
    CTString m_clParties;          // the parts one after the other
    STPartie m_tabPartie[NB_PARTIE_MAX];
    int m_nNbPartie = 0;
    bool m_bParentheses = false;   // the negative part holds "(" and ")"
    bool m_bTailleDisque = false;
    bool m_bMonnaie = false;       // a money system mask
};
