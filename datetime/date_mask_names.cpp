// Month and weekday names of the date-time mask, and its AM and PM texts: from the language the
// machine gives when it has its own date settings, else from the machine's message provider or the
// library's own message block.
#include <cwchar>

#include "base/characters.h"
#include "base/module_info.h"
#include "base/resources.h"
#include "component/interfaces/machine.h"
#include "datetime/date_mask.h"

namespace {

constexpr unsigned int ID_PREMIER_MOIS = 28192;  // January; December is 28203
constexpr unsigned int ID_LUNDI = 28204;         // Monday to Saturday follow
constexpr unsigned int ID_DIMANCHE = 28210;

void Copie(const wchar_t* pszSource, size_t nLongueur, wchar_t* pszSortie, int nTaille) noexcept {
    if (nTaille <= 0) return;
    if (nLongueur > static_cast<size_t>(nTaille - 1)) nLongueur = static_cast<size_t>(nTaille - 1);
    std::wmemcpy(pszSortie, pszSource, nLongueur);
    pszSortie[nLongueur] = 0;
}

// Entry nIndex of a ";"-separated list; false when the list is shorter.
bool bEntreeListe(const wchar_t* pszListe, int nIndex, wchar_t* pszSortie, int nTaille) noexcept {
    if (pszListe == nullptr || pszListe[0] == 0) return false;
    const wchar_t* p = pszListe;
    for (int i = 0; i < nIndex; ++i) {
        p = std::wcschr(p, L';');
        if (p == nullptr) return false;
        ++p;
    }
    const wchar_t* pszFin = std::wcschr(p, L';');
    Copie(p, pszFin != nullptr ? static_cast<size_t>(pszFin - p) : std::wcslen(p), pszSortie, nTaille);
    return true;
}

const STParametreDate* pstDateLangue(IInfoLangue* piInfoLangue) noexcept {
    if (piInfoLangue == nullptr || piInfoLangue->bParametreDateSysteme()) return nullptr;
    return piInfoLangue->pstGetParametreDate();
}

// The machine's message provider first, then the library's own block; a miss leaves the name empty.
void Ressource(unsigned int nId, wchar_t* pszSortie, int nTaille) noexcept {
    if (DLLRES_nLoadString(&gstMyModuleInfo8, nId, pszSortie, nTaille) <= 0) pszSortie[0] = 0;
}

void Casse(int nFlags, wchar_t* pszNom) noexcept {
    if (pszNom[0] == 0) return;
    if (nFlags & CMasqueDateHeure::NOM_MAJUSCULE) pszNom[0] = STR_ToUpper(pszNom[0]);
    else if (nFlags & CMasqueDateHeure::NOM_MINUSCULE) pszNom[0] = STR_ToLower(pszNom[0]);
}

bool bHorsCodePage1252(const wchar_t* psz) noexcept {
    for (; *psz != 0; ++psz)
        if (static_cast<unsigned int>(*psz) > 0xff) return true;
    return false;
}

}  // namespace

void CMasqueDateHeure::s_MoisEnLettre(int nMois, IInfoLangue* piInfoLangue, wchar_t* pszSortie, int nTaille) noexcept {
    if (pszSortie == nullptr || nTaille <= 0) return;
    pszSortie[0] = 0;
    if (nMois < 1 || nMois > 12) return;
    if (const STParametreDate* pstDate = pstDateLangue(piInfoLangue))
        if (bEntreeListe(pstDate->pszMois, nMois - 1, pszSortie, nTaille)) return;
    Ressource(ID_PREMIER_MOIS + static_cast<unsigned int>(nMois - 1), pszSortie, nTaille);
}

void CMasqueDateHeure::s_JourEnLettre(int nJour, IInfoLangue* piInfoLangue, wchar_t* pszSortie, int nTaille) noexcept {
    if (pszSortie == nullptr || nTaille <= 0) return;
    pszSortie[0] = 0;
    if (nJour < 0 || nJour > 6) return;
    // The language's list starts on Monday.
    if (const STParametreDate* pstDate = pstDateLangue(piInfoLangue))
        if (bEntreeListe(pstDate->pszJours, nJour == 0 ? 6 : nJour - 1, pszSortie, nTaille)) return;
    Ressource(nJour == 0 ? ID_DIMANCHE : ID_LUNDI + static_cast<unsigned int>(nJour - 1), pszSortie, nTaille);
}

void CMasqueDateHeure::MoisEnLettre(int nMois, int nFlags, wchar_t* pszSortie, int nTaille) const noexcept {
    if (pszSortie == nullptr || nTaille <= 0) return;
    s_MoisEnLettre(nMois, m_piInfoLangue, pszSortie, nTaille);
    if (nFlags & NOM_ABREGE) {
        const size_t nLongueur = std::wcslen(pszSortie);
        size_t nCoupe = 3;
        if ((nFlags & NOM_QUATRE) && nLongueur == 4) nCoupe = 4;
        // "juin" and "juillet" differ only from their fourth letter.
        if (nLongueur >= 3 && STR_ToLower(pszSortie[0]) == L'j' && STR_ToLower(pszSortie[1]) == L'u' &&
            STR_ToLower(pszSortie[2]) == L'i')
            nCoupe = 4;
        if (nCoupe < nLongueur) pszSortie[nCoupe] = 0;
    }
    Casse(nFlags, pszSortie);
}

void CMasqueDateHeure::JourEnLettre(int nJour, int nFlags, wchar_t* pszSortie, int nTaille) const noexcept {
    if (pszSortie == nullptr || nTaille <= 0) return;
    s_JourEnLettre(nJour, m_piInfoLangue, pszSortie, nTaille);
    if ((nFlags & NOM_ABREGE) && std::wcslen(pszSortie) > 3) pszSortie[3] = 0;
    if ((nFlags & NOM_MAJUSCULE) && (m_nCodePage == 950 || m_nCodePage == 936 || m_nCodePage == 1256)) {
        const size_t nLongueur = std::wcslen(pszSortie);
        // These languages write the weekday after a two-character word for "day of the week".
        if (nLongueur > 2 && bHorsCodePage1252(pszSortie)) std::wmemmove(pszSortie, pszSortie + 2, nLongueur - 1);
    }
    Casse(nFlags, pszSortie);
}

void CMasqueDateHeure::Get1ereLettreJourSemaine(int nJour, CTString* pclSortie) const noexcept {
    if (pclSortie == nullptr) return;
    wchar_t szNom[64];
    JourEnLettre(nJour, NOM_ABREGE | NOM_MAJUSCULE, szNom, 64);
    pclSortie->Set(szNom, szNom[0] != 0 ? 1 : 0);
}

int CMasqueDateHeure::_nGetNumMonthFromName(const wchar_t* pszTexte, int nFlags) const noexcept {
    if (pszTexte == nullptr) return -1;
    wchar_t szNom[64];
    for (int nMois = 1; nMois <= 12; ++nMois) {
        MoisEnLettre(nMois, nFlags, szNom, 64);
        if (std::wcscmp(szNom, pszTexte) == 0) return nMois;
    }
    return -1;
}

void CMasqueDateHeure::_GetStrAMPM(bool bAM, CTString* pclSortie) const noexcept {
    if (pclSortie == nullptr) return;
    pclSortie->Set(_pszAMPM(bAM));
}

const wchar_t* CMasqueDateHeure::_pszAMPM(bool bAM) const noexcept {
    if (m_piInfoLangue != nullptr) {
        if (const STParametreHeure* pstHeure = m_piInfoLangue->pstGetParametreHeure()) {
            const wchar_t* pszTexte = bAM ? pstHeure->pszAM : pstHeure->pszPM;
            if (pszTexte != nullptr && pszTexte[0] != 0) return pszTexte;
        }
    }
    return bAM ? L"AM" : L"PM";
}
