// The base mask's default slots, its factories and the cache of regional settings.
#include "datetime/mask.h"

#include <new>

#include "base/any.h"
#include "datetime/date_mask.h"
#include "numeric/number_mask.h"

wchar_t CMasque::m_tabLocaleParametreCache[CMasque::LOCALE_NB_PARAMETRE][CMasque::TAILLE_PARAMETRE_LOCALE] = {};

CMasque::~CMasque() = default;

void CMasque::vSetMinMax(CAny, CAny) noexcept {}
int CMasque::eGetTypeMaskTexte() const noexcept { return 0; }
bool CMasque::vbGetTypeMaskTelephone() const noexcept { return false; }

// The language object belongs to the machine, which keeps it for the process: the mask only
// borrows it, so there is nothing to release when it goes.
void CMasque::vSetInfoLangueMasque(IInfoLangue* piInfoLangue, int, unsigned int nCodePage) noexcept {
    m_piInfoLangue = piInfoLangue;
    m_nCodePage = nCodePage;
}

bool CMasque::bMasqueNonSupporteEnTZ9VI30() const noexcept { return false; }
void CMasque::GetMasqueCompatibleTZ9VI30(CTString* pclSortie) const noexcept {
    if (pclSortie != nullptr) pclSortie->Vide();
}
bool CMasque::bvGetValeurMasqueEffectif(CTString* pclSortie) noexcept {
    if (pclSortie != nullptr) pclSortie->Vide();
    return false;
}

CMasque* CMasque::pclGetNewMasqueDate(const wchar_t* pszMasque, const wchar_t* pszInterne) noexcept {
    return new (std::nothrow) CMasqueDateHeure(pszMasque, true, pszInterne);
}

CMasque* CMasque::pclGetNewMasqueHeure(const wchar_t* pszMasque, const wchar_t* pszInterne) noexcept {
    return new (std::nothrow) CMasqueDateHeure(pszMasque, false, pszInterne);
}

CMasque* CMasque::pclGetNewMasqueNumerique(const wchar_t* pszMasque, PFNTexteErreurMasque pfnTexte) noexcept {
    return new (std::nothrow) CMasqueNumerique(pszMasque, pfnTexte);
}

void CMasque::_GetWinIntlParam(eLOCALE_PARAMETRE eParametre, const wchar_t* pszDefaut, CTString* pclSortie) noexcept {
    if (pclSortie == nullptr) return;
    if (eParametre >= 0 && eParametre < LOCALE_NB_PARAMETRE && m_tabLocaleParametreCache[eParametre][0] != 0) {
        pclSortie->Set(m_tabLocaleParametreCache[eParametre]);
        return;
    }
    if (pszDefaut == nullptr || pszDefaut[0] == 0) {
        pclSortie->Vide();
        return;
    }
    pclSortie->Set(pszDefaut);
}

void CMasque::s_SetWinIntlParam(eLOCALE_PARAMETRE eParametre, const wchar_t* pszValeur) noexcept {
    if (eParametre < 0 || eParametre >= LOCALE_NB_PARAMETRE) return;
    wchar_t* pszEntree = m_tabLocaleParametreCache[eParametre];
    int n = 0;
    if (pszValeur != nullptr) {
        for (; n < TAILLE_PARAMETRE_LOCALE - 1 && pszValeur[n] != 0; ++n) pszEntree[n] = pszValeur[n];
    }
    pszEntree[n] = 0;
}
