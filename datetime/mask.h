// CMasque: the base of every mask (dates and times now, numbers next). It holds the language the
// mask speaks and its code page, and the virtual slots that the heirs fill; the slot order is
// shared with the machine's code and must not move. Also the cache of regional settings.
#pragma once

#include "base/tstring.h"

class CAny;
class CObjetAPCode;
class IInfoLangue;

// What a numeric mask's text callback is asked for (the values are in numeric/number_mask.h).
enum eCHAINEERREUR : int;
using PFNTexteErreurMasque = const wchar_t* (*)(eCHAINEERREUR);

class CMasque {
public:
    // Regional settings that masks read through _GetWinIntlParam. Only the short date pattern and
    // the time pattern are read by the date masks; the separators, the currency, the decimals and
    // the place of the symbol by the numeric masks. Counts and places are decimal texts.
    enum eLOCALE_PARAMETRE : int {
        LOCALE_SEPARATEUR_DECIMAL = 0,
        LOCALE_SEPARATEUR_MILLIERS = 1,
        LOCALE_SYMBOLE_MONETAIRE = 2,
        LOCALE_SEPARATEUR_DATE = 3,
        LOCALE_SEPARATEUR_HEURE = 4,
        LOCALE_DATE_COURTE = 5,
        LOCALE_DATE_LONGUE = 6,
        LOCALE_HEURE = 7,
        LOCALE_DECIMALES_NOMBRE = 8,
        LOCALE_DECIMALES_MONETAIRE = 9,
        LOCALE_PLACE_DEVISE = 10,  // 0 "$1", 1 "1$", 2 "$ 1", 3 "1 $"
        LOCALE_NB_PARAMETRE = 11,
    };
    static constexpr int TAILLE_PARAMETRE_LOCALE = 17;  // characters, terminator included

    CMasque() noexcept = default;
    CMasque(const CMasque&) = delete;
    CMasque& operator=(const CMasque&) = delete;

    // ---- virtual slots, in this order
    virtual ~CMasque();
    virtual bool bEstVide() const noexcept = 0;
    // The internal text as the user sees it.
    virtual void Formate(const wchar_t* pszTexte, CTString* pclSortie, const CObjetAPCode* pclCode) const noexcept = 0;
    virtual void vSetMinMax(CAny clMin, CAny clMax) noexcept;
    virtual int eGetTypeMaskTexte() const noexcept;
    virtual bool vbGetTypeMaskTelephone() const noexcept;
    // The language (kept for the mask's life; null: none) and the code page of its texts.
    virtual void vSetInfoLangueMasque(IInfoLangue* piInfoLangue, int nOptions, unsigned int nCodePage) noexcept;
    virtual bool bMasqueNonSupporteEnTZ9VI30() const noexcept;
    virtual void GetMasqueCompatibleTZ9VI30(CTString* pclSortie) const noexcept;
    virtual bool bvGetValeurMasqueEffectif(CTString* pclSortie) noexcept;

    // ---- factories: heap objects that the caller deletes; null when memory fails. A null
    // internal form takes the default of the kind of mask.
    static CMasque* pclGetNewMasqueDate(const wchar_t* pszMasque, const wchar_t* pszInterne) noexcept;
    static CMasque* pclGetNewMasqueHeure(const wchar_t* pszMasque, const wchar_t* pszInterne) noexcept;
    static CMasque* pclGetNewMasqueNumerique(const wchar_t* pszMasque, PFNTexteErreurMasque pfnTexte) noexcept;

    // ---- regional settings
    // The cached text of a setting when there is one, else the default; an empty or null default
    // empties the output.
    static void _GetWinIntlParam(eLOCALE_PARAMETRE eParametre, const wchar_t* pszDefaut, CTString* pclSortie) noexcept;
    // Fills one cache entry (cut to fit; null or empty clears it). For start-up and tests only:
    // masks read the cache without a lock.
    static void s_SetWinIntlParam(eLOCALE_PARAMETRE eParametre, const wchar_t* pszValeur) noexcept;

    IInfoLangue* piGetInfoLangue() const noexcept { return m_piInfoLangue; }
    unsigned int nGetCodePage() const noexcept { return m_nCodePage; }

    static wchar_t m_tabLocaleParametreCache[LOCALE_NB_PARAMETRE][TAILLE_PARAMETRE_LOCALE];

protected:
    IInfoLangue* m_piInfoLangue = nullptr;
    unsigned int m_nCodePage = 0;
};
