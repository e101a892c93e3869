// The numeric mask: parsing of the mask into parts and colours, the system masks, and the walk
// that lays the digits of a decimal text over a part. Formatting allocates once, for the result;
// the work is done in a buffer on the stack when the part is short.
#include "numeric/number_mask.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <new>
#include <string>

#include "base/module_info.h"
#include "base/resources.h"
#include "base/xystring.h"
#include "component/interfaces/machine.h"

wchar_t CMasqueNumerique::ms_cSeparateurDecimal = 0;
wchar_t CMasqueNumerique::ms_cSeparateurMillier = 0;
wchar_t CMasqueNumerique::ms_pszDevise[CMasqueNumerique::TAILLE_DEVISE_MAX + 1] = {};
bool CMasqueNumerique::ms_tabParametreIntForce[CMasqueNumerique::PARAMETRE_NB] = {};

namespace {

constexpr wchar_t kMasqueMonnaieSymbole[] = L"MoneySystemMask$";
constexpr wchar_t kMasqueMonnaie[] = L"MoneySystemMask";
constexpr wchar_t kMasqueNumerique[] = L"NumSystemMask";
constexpr wchar_t kMasqueTailleDisque[] = L"DiskSize";
// A count or place of the regional settings; the default when the setting is missing or not a
// small number.
int nParametreSysteme(CMasque::eLOCALE_PARAMETRE eParametre, int nDefaut, int nMax) noexcept {
    CTString cl;
    CMasque::_GetWinIntlParam(eParametre, L"", &cl);
    const wchar_t* psz = cl.pszGet();
    if (psz == nullptr || psz[0] == 0) return nDefaut;
    wchar_t* pszFin = nullptr;
    const long n = std::wcstol(psz, &pszFin, 10);
    if (*pszFin != 0 || n < 0 || n > nMax) return nDefaut;
    return static_cast<int>(n);
}
constexpr wchar_t kEspaceInsecable = 0xA0;
constexpr unsigned int kRessourceUnitesTaille = 25202;  // "byte(s);KB;MB;GB;TB"

// The language's own number settings; null when it takes the system's.
const STParametreNumerique* pstNumeriqueLangue(IInfoLangue* piInfoLangue) {
    return piInfoLangue != nullptr ? piInfoLangue->pstGetParametreNumerique() : nullptr;
}

bool bEstChiffre(wchar_t c) { return c >= L'0' && c <= L'9'; }

wchar_t cMinuscule(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; }

bool bEgalI(const wchar_t* psz1, int nLongueur, const wchar_t* psz2) {
    int i = 0;
    for (; i < nLongueur && psz2[i] != 0; ++i)
        if (cMinuscule(psz1[i]) != cMinuscule(psz2[i])) return false;
    return i == nLongueur && psz2[i] == 0;
}

// A work buffer on the stack, on the heap past its size; written without bounds checks, so it is
// sized for the worst case before the walk.
class CTampon {
public:
    explicit CTampon(size_t nTaille) noexcept {
        if (nTaille > sizeof(m_tab) / sizeof(m_tab[0])) {
            m_pTas.reset(new (std::nothrow) wchar_t[nTaille]);
            m_psz = m_pTas.get();
        }
    }
    bool bValide() const noexcept { return m_psz != nullptr; }
    void Add(wchar_t c) noexcept { m_psz[m_n++] = c; }
    void Add(const wchar_t* psz) noexcept {
        while (*psz != 0) m_psz[m_n++] = *psz++;
    }
    const wchar_t* psz() const noexcept { return m_psz; }
    int n() const noexcept { return m_n; }

private:
    wchar_t m_tab[256];
    std::unique_ptr<wchar_t[]> m_pTas;
    wchar_t* m_psz = m_tab;
    int m_n = 0;
};

// The digits of a decimal text: sign, integer digits without leading zeros and fraction digits.
struct STChiffres {
    const wchar_t* pszEntier = nullptr;
    int nEntier = 0;
    const wchar_t* pszFraction = nullptr;
    int nFraction = 0;
};

// Where the parts of a number lie in its text; blanks, signs and parentheses are stepped over and
// the reading stops at anything else.
void LitChiffres(const wchar_t* psz, STChiffres* pst) {
    while (*psz == L' ' || *psz == L'-' || *psz == L'+' || *psz == L'(') ++psz;
    pst->pszEntier = psz;
    while (bEstChiffre(*psz)) ++psz;
    pst->nEntier = static_cast<int>(psz - pst->pszEntier);
    if (*psz == L'.') {
        pst->pszFraction = ++psz;
        while (bEstChiffre(*psz)) ++psz;
        pst->nFraction = static_cast<int>(psz - pst->pszFraction);
    } else {
        pst->pszFraction = psz;
    }
    while (pst->nEntier > 1 && pst->pszEntier[0] == L'0') {
        ++pst->pszEntier;
        --pst->nEntier;
    }
}

// Whether a "%" in the text marks a percent mask: not escaped and not doubled.
bool bContientPourcent(const wchar_t* psz, int n) {
    for (int i = 0; i < n; ++i) {
        if (psz[i] == L'\\') {
            ++i;
        } else if (psz[i] == L'%') {
            if (i + 1 < n && psz[i + 1] == L'%') ++i;
            else return true;
        }
    }
    return false;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Construction and class-wide settings

CMasqueNumerique::CMasqueNumerique(const wchar_t* pszMasque, PFNTexteErreurMasque pfnTexte) noexcept
    : m_pfnTexte(pfnTexte) {
    _InitGlobales();
    _InitMasqueEffectif(pszMasque);
}

CMasqueNumerique::~CMasqueNumerique() = default;

// The class values where they were forced, the regional settings otherwise. The class values are
// only read here, so masks built on several threads never write shared state.
void CMasqueNumerique::_InitGlobales() noexcept {
    CTString cl;
    if (ms_tabParametreIntForce[PARAMETRE_SEPARATEUR_DECIMAL]) {
        m_cSeparateurDecimal = ms_cSeparateurDecimal;
    } else {
        _GetWinIntlParam(LOCALE_SEPARATEUR_DECIMAL, L",", &cl);
        m_cSeparateurDecimal = cl.bEstVide() ? L',' : cl.pszGet()[0];
    }
    if (ms_tabParametreIntForce[PARAMETRE_SEPARATEUR_MILLIER]) {
        m_cSeparateurMillier = ms_cSeparateurMillier;
    } else {
        _GetWinIntlParam(LOCALE_SEPARATEUR_MILLIERS, L" ", &cl);
        m_cSeparateurMillier = cl.bEstVide() ? L' ' : cl.pszGet()[0];
    }
    if (ms_tabParametreIntForce[PARAMETRE_DEVISE]) {
        m_clDevise.Set(ms_pszDevise);
    } else {
        _GetWinIntlParam(LOCALE_SYMBOLE_MONETAIRE, L"\u20ac", &m_clDevise);
    }
}

void CMasqueNumerique::SetInternationnalParam(ePARAMETREINT_NUMERIQUE eParametre, const wchar_t* pszValeur) noexcept {
    if (eParametre < 0 || eParametre >= PARAMETRE_NB) return;
    ms_tabParametreIntForce[eParametre] = pszValeur != nullptr;
    const wchar_t c = pszValeur != nullptr ? pszValeur[0] : 0;
    switch (eParametre) {
        case PARAMETRE_SEPARATEUR_DECIMAL: ms_cSeparateurDecimal = c; break;
        case PARAMETRE_SEPARATEUR_MILLIER: ms_cSeparateurMillier = c; break;
        default: {
            int n = 0;
            for (; pszValeur != nullptr && n < TAILLE_DEVISE_MAX && pszValeur[n] != 0; ++n) ms_pszDevise[n] = pszValeur[n];
            ms_pszDevise[n] = 0;
            break;
        }
    }
}

const wchar_t* CMasqueNumerique::s_pszTexteErreurDefaut(eCHAINEERREUR e) noexcept {
    return e == CHAINEERREUR_DEPASSEMENT ? L"+++++" : L"";
}

const wchar_t* CMasqueNumerique::_pszTexte(eCHAINEERREUR e) const noexcept {
    const wchar_t* psz = m_pfnTexte != nullptr ? m_pfnTexte(e) : s_pszTexteErreurDefaut(e);
    return psz != nullptr ? psz : L"";
}

void CMasqueNumerique::_InitMasqueEffectif(const wchar_t* pszMasque) noexcept {
    if (pszMasque == nullptr) pszMasque = L"";
    m_dwOptions &= ~(MASQUE_SYSTEME | MASQUE_SYSTEME_SYMBOLE);
    m_bTailleDisque = false;
    m_bMonnaie = false;
    if (std::wcscmp(pszMasque, kMasqueMonnaieSymbole) == 0) {
        m_dwOptions |= MASQUE_SYSTEME | MASQUE_SYSTEME_SYMBOLE;
        m_bMonnaie = true;
    } else if (std::wcscmp(pszMasque, kMasqueMonnaie) == 0) {
        m_dwOptions |= MASQUE_SYSTEME;
        m_bMonnaie = true;
    } else if (std::wcscmp(pszMasque, kMasqueNumerique) == 0) {
        m_dwOptions |= MASQUE_SYSTEME;
    }
    if (m_dwOptions & MASQUE_SYSTEME) {
        _ConstruitMasqueSysteme(m_nNbChiffre, (m_dwOptions & MASQUE_SYSTEME_SYMBOLE) != 0, m_bMonnaie, &m_clMasque);
    } else {
        m_bTailleDisque = std::wcscmp(pszMasque, kMasqueTailleDisque) == 0;
        m_clMasque.Set(pszMasque);
    }
    _DecoupeParties();
}

// A language with settings of its own gives its layouts of a number or an amount; without one the
// mask is the grouped digits with the system's decimals, and the symbol at the system's place.
void CMasqueNumerique::_ConstruitMasqueSysteme(int nChiffres, bool bSymbole, bool bMonnaie,
                                               CTString* pclSortie) const noexcept {
    if (const STParametreNumerique* pst = pstNumeriqueLangue(m_piInfoLangue)) {
        if (bSymbole) {
            STFormatMonetaire st;
            st.nDecimales = pst->nDecimalesMonetaire;
            st.pszSeparateurDecimal = pst->pszSeparateurDecimal;
            st.pszSeparateurMillier = pst->pszSeparateurMillier;
            st.nOrdrePositif = pst->nPlaceDevise;
            st.nOrdreNegatif = pst->nOrdreNegatifMonetaire;
            st.pszDevise = pst->pszDevise;
            FormatMonetaireVersMasqueOV(&st, pclSortie);
        } else {
            STFormatNombre st;
            st.nDecimales = bMonnaie ? pst->nDecimalesMonetaire : pst->nDecimalesNombre;
            st.nOrdreNegatif = pst->nOrdreNegatifNombre;
            FormatNumeriqueVersMasqueOV(&st, pclSortie);
        }
        return;
    }
    // Without regional settings: two decimals, and the symbol after the amount ("1 $").
    const int nDecimales = bMonnaie || bSymbole ? nParametreSysteme(LOCALE_DECIMALES_MONETAIRE, 2, 30)
                                                : nParametreSysteme(LOCALE_DECIMALES_NOMBRE, 2, 30);
    sConstruitMasqueMonetaire(pclSortie, nChiffres, nDecimales, m_cLettreMillier, m_cLettreDecimal);
    if (!bSymbole) return;
    const int nPlace = nParametreSysteme(LOCALE_PLACE_DEVISE, 3, 3);
    switch (nPlace) {
        case 0:
        case 2: {
            // In front of the digits but behind the sign place, so that a negative amount reads "-$1".
            CTString cl;
            const wchar_t* psz = pclSortie->pszGet();
            if (psz == nullptr) psz = L"";
            const bool bSigne = psz[0] == L'+';
            if (bSigne) cl.Add(L"+");
            cl.Add(nPlace == 0 ? L"$" : L"$ ");
            cl.Add(psz + (bSigne ? 1 : 0));
            pclSortie->Set(cl.pszGet());
            break;
        }
        case 1: pclSortie->Add(L"$"); break;
        default: pclSortie->Add(L" $"); break;
    }
}

void CMasqueNumerique::SetNbChiffreMasqueSysteme(int nChiffres) noexcept {
    m_nNbChiffre = nChiffres;
    if (m_dwOptions & MASQUE_SYSTEME) {
        _ConstruitMasqueSysteme(m_nNbChiffre, (m_dwOptions & MASQUE_SYSTEME_SYMBOLE) != 0, m_bMonnaie, &m_clMasque);
        _DecoupeParties();
    }
}

void CMasqueNumerique::sConstruitMasqueMonetaire(CTString* pclSortie, int nChiffres, int nDecimales, wchar_t cMillier,
                                                 wchar_t cDecimal) noexcept {
    if (pclSortie == nullptr) return;
    // A digit count past any real number would only waste memory.
    if (nChiffres > 1000) nChiffres = 1000;
    if (nDecimales > 1000) nDecimales = 1000;
    CXYString<wchar_t> cl;
    // Below 18 digits the base mask has a fixed length, whatever the count asked for.
    const int nGroupes = nChiffres >= 18 ? nChiffres / 3 : 0;
    wchar_t* psz = cl.pszGetBuffer(nGroupes * 4 + 32 + (nDecimales > 0 ? nDecimales : 0));
    if (psz == nullptr) {
        pclSortie->Vide();
        return;
    }
    int n = 0;
    psz[n++] = L'+';
    if (nChiffres < 18) {
        for (int nGroupe = 0; nGroupe < 6; ++nGroupe) {
            if (nGroupe > 0) psz[n++] = cMillier;
            for (int i = nGroupe == 0 ? 1 : 0; i < 3; ++i) psz[n++] = L'9';
        }
        // Trimmed to the digits asked for: the first nines go, with the letters before the
        // first nine left.
        if (nChiffres < 17 && nChiffres != -1) {
            int nEnleve = nChiffres > 0 ? 17 - nChiffres : 16;
            int nEcrit = 1;
            bool bChiffreVu = false;
            for (int i = 1; i < n; ++i) {
                if (psz[i] == L'9' && nEnleve > 0) {
                    --nEnleve;
                    continue;
                }
                if (psz[i] == L'9') bChiffreVu = true;
                else if (!bChiffreVu) continue;
                psz[nEcrit++] = psz[i];
            }
            n = nEcrit;
        }
    } else {
        for (int i = 0; i < nChiffres % 3; ++i) psz[n++] = L'9';
        for (int nGroupe = 0; nGroupe < nChiffres / 3; ++nGroupe) {
            if (nGroupe > 0 || nChiffres % 3 != 0) psz[n++] = cMillier;
            for (int i = 0; i < 3; ++i) psz[n++] = L'9';
        }
    }
    if (nDecimales > 0) {
        psz[n++] = cDecimal;
        for (int i = 0; i < nDecimales; ++i) psz[n++] = L'9';
    }
    psz[n] = 0;
    pclSortie->Set(psz, n);
}

namespace {

// The digits without sign: 17 integer positions in groups, then the decimals.
void MasqueStandardSansSigne(int nDecimales, std::wstring* ps) {
    *ps = L"99 999 999 999 999 999";
    if (nDecimales > 0) {
        ps->push_back(L',');
        ps->append(static_cast<size_t>(nDecimales > 100 ? 100 : nDecimales), L'9');
    }
}

// The pattern with its "%s" replaced by the digits.
std::wstring sRemplace(const wchar_t* pszModele, const std::wstring& sChiffres) {
    std::wstring s(pszModele);
    const size_t n = s.find(L"%s");
    if (n != std::wstring::npos) s.replace(n, 2, sChiffres);
    return s;
}

}  // namespace

void CMasqueNumerique::FormatNumeriqueVersMasqueOV(const STFormatNombre* pstFormat, CTString* pclSortie) noexcept {
    if (pclSortie == nullptr) return;
    pclSortie->Vide();
    if (pstFormat == nullptr) return;
    try {
        std::wstring sChiffres;
        MasqueStandardSansSigne(pstFormat->nDecimales, &sChiffres);
        const wchar_t* pszModele = L"+%s";
        switch (pstFormat->nOrdreNegatif) {
            case 0: pszModele = L"(%s)"; break;
            case 2: pszModele = L"+ %s"; break;
            case 3:
            case 4: pszModele = L"%s +"; break;
            default: break;
        }
        pclSortie->Set(sRemplace(pszModele, sChiffres).c_str());
    } catch (...) {
        pclSortie->Vide();
    }
}

void CMasqueNumerique::FormatMonetaireVersMasqueOV(const STFormatMonetaire* pstFormat, CTString* pclSortie) noexcept {
    if (pclSortie == nullptr) return;
    pclSortie->Vide();
    if (pstFormat == nullptr) return;
    static const wchar_t* const s_tabPositif[] = {L"$%s", L"%s$", L"$ %s", L"%s $"};
    static const wchar_t* const s_tabNegatif[] = {
        L"($%s)", L"-$%s", L"$-%s", L"$%s-", L"(%s$)", L"-%s$", L"%s-$", L"%s$-",
        L"-%s $", L"-$ %s", L"%s $-", L"$ %s-", L"$ -%s", L"%s- $", L"($ %s)", L"(%s $)",
    };
    const int nPositif = pstFormat->nOrdrePositif;
    const int nNegatif = pstFormat->nOrdreNegatif;
    const std::wstring sPositif = s_tabPositif[nPositif >= 0 && nPositif < 4 ? nPositif : 0];
    std::wstring sNegatif = s_tabNegatif[nNegatif >= 0 && nNegatif < 16 ? nNegatif : 1];
    try {
        std::wstring sChiffres;
        MasqueStandardSansSigne(pstFormat->nDecimales, &sChiffres);
        std::wstring sSansSigne = sNegatif;
        std::erase(sSansSigne, L'-');
        std::wstring sMasque;
        if (sSansSigne == sPositif) {
            // One part: the sign of the negative layout becomes the sign place.
            for (wchar_t& c : sNegatif)
                if (c == L'-') c = L'+';
            sMasque = sRemplace(sNegatif.c_str(), sChiffres);
        } else {
            sMasque = sRemplace(sPositif.c_str(), sChiffres) + L";" + sRemplace(sNegatif.c_str(), sChiffres);
        }
        pclSortie->Set(sMasque.c_str());
    } catch (...) {
        pclSortie->Vide();
    }
}

// Cuts the mask into its parts (";"), takes the colours in square brackets out of each, and
// notes whether the negative part shows parentheses.
void CMasqueNumerique::_DecoupeParties() noexcept {
    m_nNbPartie = 0;
    m_bParentheses = false;
    const wchar_t* psz = m_clMasque.pszGet();
    const int nLongueur = static_cast<int>(std::wcslen(psz));
    CXYString<wchar_t> cl;
    wchar_t* pszParties = cl.pszGetBuffer(nLongueur + 1);
    if (pszParties == nullptr) {
        m_clParties.Vide();
        return;
    }
    int n = 0;
    m_nNbPartie = 1;
    m_tabPartie[0] = STPartie{};
    for (int i = 0; i < nLongueur; ++i) {
        const wchar_t c = psz[i];
        STPartie& stPartie = m_tabPartie[m_nNbPartie - 1];
        if (c == L'\\' && i + 1 < nLongueur) {
            pszParties[n++] = c;
            pszParties[n++] = psz[++i];
        } else if (c == L';' && m_nNbPartie < NB_PARTIE_MAX) {
            stPartie.nLongueur = n - stPartie.nDebut;
            m_tabPartie[m_nNbPartie++] = STPartie{n, 0, COULEUR_AUCUNE};
        } else if (c == L'[') {
            int j = i + 1;
            while (j < nLongueur && psz[j] != L']') ++j;
            CTString clCouleur;
            clCouleur.Set(psz + i + 1, j - i - 1);
            stPartie.dwCouleur = sdwTexteVersCouleur(clCouleur.pszGet());
            i = j;
        } else {
            pszParties[n++] = c;
        }
    }
    m_tabPartie[m_nNbPartie - 1].nLongueur = n - m_tabPartie[m_nNbPartie - 1].nDebut;
    m_clParties.Set(pszParties, n);
    int nNegatif = 0;
    const wchar_t* pszNegatif = _pszPartie(1, &nNegatif);
    bool bOuvre = false, bFerme = false;
    for (int i = 0; i < nNegatif; ++i) {
        if (pszNegatif[i] == L'\\') ++i;
        else if (pszNegatif[i] == L'(') bOuvre = true;
        else if (pszNegatif[i] == L')') bFerme = true;
    }
    m_bParentheses = bOuvre && bFerme;
}

// A part of its own, or the part that stands in for it: negative and zero fall back to positive.
const wchar_t* CMasqueNumerique::_pszPartie(int nPartie, int* pnLongueur) const noexcept {
    if (nPartie < 0 || nPartie >= m_nNbPartie) nPartie = 0;
    const STPartie& st = m_tabPartie[nPartie];
    *pnLongueur = st.nLongueur;
    return m_clParties.pszGet() + st.nDebut;
}

// ---------------------------------------------------------------------------------------------
// The slots

bool CMasqueNumerique::bEstVide() const noexcept { return m_clMasque.bEstVide(); }

void CMasqueNumerique::Formate(const wchar_t* pszTexte, CTString* pclSortie, const CObjetAPCode* pclCode) const noexcept {
    MetAuFormat(pszTexte, pclSortie, 0, pclCode);
}

// A language with number settings of its own gives the separators (unless they are fixed for
// this mask) and, to a money mask, its currency symbol unless flag 1 keeps the class one; flag 1
// or 2 makes any mask a money mask. A right-to-left language shows a blank thousands separator as
// a no-break space. System masks are rebuilt in the language's layouts.
void CMasqueNumerique::vSetInfoLangueMasque(IInfoLangue* piInfoLangue, int nOptions, unsigned int nCodePage) noexcept {
    CMasque::vSetInfoLangueMasque(piInfoLangue, nOptions, nCodePage);
    const wchar_t cMillier = m_cSeparateurMillier;
    const wchar_t cDecimal = m_cSeparateurDecimal;
    _InitGlobales();
    const STParametreNumerique* pst = pstNumeriqueLangue(piInfoLangue);
    if (m_dwOptions & SEPARATEURS_FIXES) {
        m_cSeparateurMillier = cMillier;
        m_cSeparateurDecimal = cDecimal;
    } else {
        if (pst != nullptr && pst->pszSeparateurDecimal != nullptr && pst->pszSeparateurDecimal[0] != 0)
            m_cSeparateurDecimal = pst->pszSeparateurDecimal[0];
        if (pst != nullptr && pst->pszSeparateurMillier != nullptr && pst->pszSeparateurMillier[0] != 0)
            m_cSeparateurMillier = pst->pszSeparateurMillier[0];
        if (piInfoLangue != nullptr && m_cSeparateurMillier == L' ' && piInfoLangue->bEcritDeDroiteAGauche())
            m_cSeparateurMillier = kEspaceInsecable;
    }
    const bool bMonnaie = (nOptions & 3) != 0 || m_bMonnaie || std::wcschr(m_clMasque.pszGet(), L'$') != nullptr;
    if (pst != nullptr && bMonnaie && (nOptions & 1) == 0 && pst->pszDevise != nullptr && pst->pszDevise[0] != 0) {
        // The symbol is held to the same bound as the class-wide currency.
        const size_t n = std::wcslen(pst->pszDevise);
        m_clDevise.Set(pst->pszDevise, static_cast<int>(n < TAILLE_DEVISE_MAX ? n : TAILLE_DEVISE_MAX));
    }
    if (m_dwOptions & MASQUE_SYSTEME) {
        _ConstruitMasqueSysteme(m_nNbChiffre, (m_dwOptions & MASQUE_SYSTEME_SYMBOLE) != 0, m_bMonnaie, &m_clMasque);
        _DecoupeParties();
    }
}

// The old display engine knows one layout and no colours.
bool CMasqueNumerique::bMasqueNonSupporteEnTZ9VI30() const noexcept {
    if (m_nNbPartie > 2) return true;
    for (int i = 0; i < m_nNbPartie; ++i)
        if (m_tabPartie[i].dwCouleur != COULEUR_AUCUNE) return true;
    return false;
}

void CMasqueNumerique::GetMasqueCompatibleTZ9VI30(CTString* pclSortie) const noexcept {
    if (pclSortie == nullptr) return;
    int n = 0;
    const wchar_t* psz = _pszPartie(0, &n);
    pclSortie->Set(psz, n);
}

// ---------------------------------------------------------------------------------------------
// Parts, colours and facts

int CMasqueNumerique::_nPartiePourValeur(const wchar_t* pszTexte, bool* pbNegatif, bool* pbZero) const noexcept {
    bool bNegatif = false, bOuvre = false, bFerme = false, bZero = true;
    for (const wchar_t* p = pszTexte; *p != 0; ++p) {
        if (*p == L'-') bNegatif = true;
        else if (*p == L'(') bOuvre = true;
        else if (*p == L')') bFerme = true;
        else if (*p >= L'1' && *p <= L'9') bZero = false;
    }
    if (m_bParentheses && bOuvre && bFerme) bNegatif = true;
    *pbNegatif = bNegatif && !bZero;
    *pbZero = bZero;
    return bZero ? 2 : (*pbNegatif ? 1 : 0);
}

bool CMasqueNumerique::bGetPartieMasque(int nPartie, int, CTString* pclSortie, uint32_t* pdwCouleur) const noexcept {
    const bool bPropre = nPartie >= 0 && nPartie < m_nNbPartie;
    int n = 0;
    const wchar_t* psz = _pszPartie(nPartie, &n);
    if (pclSortie != nullptr) pclSortie->Set(psz, n);
    if (pdwCouleur != nullptr) *pdwCouleur = m_tabPartie[bPropre ? nPartie : 0].dwCouleur;
    return bPropre;
}

uint32_t CMasqueNumerique::dwGetCouleurPourValeur(const wchar_t* pszTexte, int) const noexcept {
    bool bNegatif = false, bZero = false;
    int nPartie = _nPartiePourValeur(pszTexte != nullptr ? pszTexte : L"", &bNegatif, &bZero);
    if (nPartie >= m_nNbPartie) nPartie = 0;
    return m_tabPartie[nPartie].dwCouleur;
}

const wchar_t* CMasqueNumerique::pszGetValeurPourNull(CTString* pclSortie, int, uint32_t* pdwCouleur) const noexcept {
    if (m_nNbPartie > 3) {
        if (pdwCouleur != nullptr) *pdwCouleur = m_tabPartie[3].dwCouleur;
        if (pclSortie == nullptr) return L"";
        pclSortie->Set(m_clParties.pszGet() + m_tabPartie[3].nDebut, m_tabPartie[3].nLongueur);
        return pclSortie->pszGet();
    }
    if (pdwCouleur != nullptr) *pdwCouleur = COULEUR_AUCUNE;
    if (pclSortie != nullptr) pclSortie->Set(_pszTexte(CHAINEERREUR_NULL));
    return pclSortie != nullptr ? pclSortie->pszGet() : _pszTexte(CHAINEERREUR_NULL);
}

bool CMasqueNumerique::bEstMasquePourcentage(int) const noexcept {
    int n = 0;
    const wchar_t* psz = _pszPartie(0, &n);
    return bContientPourcent(psz, n);
}

bool CMasqueNumerique::bEstMasqueTailleDisque(int) const noexcept { return m_bTailleDisque; }

int CMasqueNumerique::nDecimalesMasque(int, int nPartie) const noexcept {
    int n = 0;
    const wchar_t* psz = _pszPartie(nPartie, &n);
    int nDecimales = 0;
    bool bFraction = false;
    for (int i = 0; i < n; ++i) {
        if (psz[i] == L'\\') ++i;
        else if (!bFraction && psz[i] == m_cLettreDecimal) bFraction = true;
        else if (bFraction && (psz[i] == L'9' || psz[i] == L'0')) ++nDecimales;
    }
    return nDecimales;
}

uint32_t CMasqueNumerique::dwGetCouleurPourPourNull(int) const noexcept {
    return m_nNbPartie > 3 ? m_tabPartie[3].dwCouleur : COULEUR_AUCUNE;
}

bool CMasqueNumerique::bCouleurDependDeLaValeur(int) const noexcept {
    for (int i = 1; i < m_nNbPartie && i < 3; ++i)
        if (m_tabPartie[i].dwCouleur != m_tabPartie[0].dwCouleur) return true;
    return false;
}

bool CMasqueNumerique::bNegatifAccepte() const noexcept {
    if (m_nNbPartie > 1 || m_bParentheses) return true;
    int n = 0;
    const wchar_t* psz = _pszPartie(0, &n);
    for (int i = 0; i < n; ++i) {
        if (psz[i] == L'\\') ++i;
        else if (psz[i] == L'+') return true;
        else if (psz[i] == L'-' && i + 1 < n && psz[i + 1] == L'-') ++i;
        else if (psz[i] == L'-') return true;
    }
    return false;
}

int CMasqueNumerique::nGetNbChiffreSignificatifMasque(int) const noexcept {
    int n = 0;
    const wchar_t* psz = _pszPartie(0, &n);
    int nPositions = 0;
    for (int i = 0; i < n; ++i) {
        if (psz[i] == L'\\') ++i;
        else if (psz[i] == L'9' || psz[i] == L'0') ++nPositions;
    }
    return nPositions;
}

uint16_t CMasqueNumerique::wGetTypeFromMasque() const noexcept {
    int n = 0;
    const wchar_t* psz = _pszPartie(0, &n);
    bool bDevise = m_bMonnaie;
    for (int i = 0; i < n && !bDevise; ++i) {
        if (psz[i] == L'\\') ++i;
        else if (psz[i] == L'$' && i + 1 < n && psz[i + 1] == L'$') ++i;
        else if (psz[i] == L'$') bDevise = true;
    }
    if (bDevise) return 0x0a;
    if (nDecimalesMasque(0, 0) > 0 || bEstMasquePourcentage(0)) return 0x0c;
    return nGetNbChiffreSignificatifMasque(0) > 9 ? 0x09 : 0x08;
}

// The text the positive part writes outside its digit positions, on one side.
void CMasqueNumerique::_PrefixeOuPostfixe(bool bPostfixe, CTString* pclSortie) const noexcept {
    int n = 0;
    const wchar_t* psz = _pszPartie(0, &n);
    int nPremiere = -1, nDerniere = -1;
    for (int i = 0; i < n; ++i) {
        if (psz[i] == L'\\') {
            ++i;
        } else if (psz[i] == L'9' || psz[i] == L'0') {
            if (nPremiere < 0) nPremiere = i;
            nDerniere = i;
        }
    }
    int nDebut = 0, nFin = nPremiere < 0 ? n : nPremiere;
    if (bPostfixe) {
        nDebut = nPremiere < 0 ? n : nDerniere + 1;
        nFin = n;
    }
    const bool bSignePlace = m_nNbPartie == 1;
    for (int i = nDebut; i < nFin; ++i) {
        const wchar_t c = psz[i];
        const wchar_t cSuivant = i + 1 < nFin ? psz[i + 1] : 0;
        if (c == L'\\') {
            if (i + 1 < nFin) pclSortie->Add(psz[++i]);
        } else if (c == L'$') {
            if (cSuivant == L'$') {
                ++i;
                pclSortie->Add(L'$');
            } else {
                pclSortie->Add(m_clDevise.pszGet());
            }
        } else if ((c == L'%' || c == L'-') && cSuivant == c) {
            ++i;
            pclSortie->Add(c);
        } else if ((c == L'(' || c == L')') && m_bParentheses) {
            continue;
        } else if ((c == L'+' || c == L'-') && bSignePlace) {
            continue;
        } else {
            pclSortie->Add(c);
        }
    }
}

void CMasqueNumerique::GetPrefixeChiffre(CTString* pclSortie, int bRaw) const noexcept {
    if (pclSortie == nullptr) return;
    pclSortie->Vide();
    if (!bRaw) _PrefixeOuPostfixe(false, pclSortie);
}

void CMasqueNumerique::GetPostfixeChiffre(CTString* pclSortie, int bRaw) const noexcept {
    if (pclSortie == nullptr) return;
    pclSortie->Vide();
    if (!bRaw) _PrefixeOuPostfixe(true, pclSortie);
}

// Works on the mask as written, colours included, so that they stay around the new positions.
void CMasqueNumerique::GetMasqueAvecNChiffres(CTString* pclSortie, int nChiffres, int nDecimales) const noexcept {
    if (pclSortie == nullptr) return;
    // Past any real number a count would only waste memory.
    nChiffres = nChiffres < 0 ? 0 : (nChiffres > 1000 ? 1000 : nChiffres);
    nDecimales = nDecimales < 0 ? 0 : (nDecimales > 1000 ? 1000 : nDecimales);
    const wchar_t* psz = m_clMasque.pszGet();
    const int n = static_cast<int>(std::wcslen(psz));
    CTString clResultat;
    int nPartie = 1;
    int nDebutPartie = 0;
    for (;;) {
        // The part runs to a ";" that cuts (not escaped, not in a colour, not past the last part).
        int i = nDebutPartie;
        while (i < n) {
            if (psz[i] == L'\\') {
                i += 2;
            } else if (psz[i] == L'[') {
                while (i < n && psz[i] != L']') ++i;
                if (i < n) ++i;
            } else if (psz[i] == L';' && nPartie < NB_PARTIE_MAX) {
                break;
            } else {
                ++i;
            }
        }
        if (i > n) i = n;
        // The part groups its digits when a thousands letter stands between two positions.
        int nPremiere = -1, nDerniere = -1;
        bool bGroupe = false, bLettre = false;
        for (int j = nDebutPartie; j < i; ++j) {
            if (psz[j] == L'\\') {
                ++j;
            } else if (psz[j] == L'[') {
                while (j < i && psz[j] != L']') ++j;
            } else if (psz[j] == L'9' || psz[j] == L'0') {
                if (nPremiere < 0) nPremiere = j;
                nDerniere = j;
                bGroupe = bGroupe || bLettre;
            } else if (nPremiere >= 0 && psz[j] == m_cLettreMillier) {
                bLettre = true;
            } else if (psz[j] == m_cLettreDecimal) {
                bLettre = false;
            }
        }
        if (nPremiere < 0) {
            clResultat.Add(psz + nDebutPartie, i - nDebutPartie);
        } else {
            clResultat.Add(psz + nDebutPartie, nPremiere - nDebutPartie);
            for (int k = 0; k < nChiffres; ++k) {
                if (bGroupe && k > 0 && (nChiffres - k) % 3 == 0) clResultat.Add(m_cLettreMillier);
                clResultat.Add(L'9');
            }
            if (nDecimales > 0) {
                clResultat.Add(m_cLettreDecimal);
                for (int k = 0; k < nDecimales; ++k) clResultat.Add(L'9');
            }
            clResultat.Add(psz + nDerniere + 1, i - nDerniere - 1);
        }
        if (i >= n) break;
        clResultat.Add(L';');
        ++nPartie;
        nDebutPartie = i + 1;
    }
    pclSortie->Transfert(clResultat);
}

uint32_t CMasqueNumerique::sdwTexteVersCouleur(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return COULEUR_AUCUNE;
    const int n = static_cast<int>(std::wcslen(pszTexte));
    if (n > 1 && pszTexte[0] == L'#') {
        uint32_t dwRGB = 0;
        for (int i = 1; i < n && i <= 6; ++i) {
            const wchar_t c = cMinuscule(pszTexte[i]);
            int nChiffre = -1;
            if (bEstChiffre(c)) nChiffre = c - L'0';
            else if (c >= L'a' && c <= L'f') nChiffre = c - L'a' + 10;
            if (nChiffre < 0) return COULEUR_AUCUNE;
            dwRGB = dwRGB * 16 + static_cast<uint32_t>(nChiffre);
        }
        return ((dwRGB & 0xff) << 16) | (dwRGB & 0xff00) | ((dwRGB >> 16) & 0xff);
    }
    struct STNom {
        const wchar_t* psz1;
        const wchar_t* psz2;
        uint32_t dw;
    };
    static constexpr STNom s_tab[] = {
        {L"rouge", L"red", 255},      {L"vert", L"green", 65280},        {L"bleu", L"blue", 16711680},
        {L"noir", L"black", 0},       {L"blanc", L"white", 16777215},    {L"jaune", L"yellow", 65535},
        {L"orange", L"orange", 0x80FF},
    };
    for (const STNom& st : s_tab)
        if (bEgalI(pszTexte, n, st.psz1) || bEgalI(pszTexte, n, st.psz2)) return st.dw;
    if (std::wcscmp(pszTexte, L"transparent") == 0) return COULEUR_TRANSPARENT;
    return COULEUR_AUCUNE;
}

// ---------------------------------------------------------------------------------------------
// The formatter

void CMasqueNumerique::MetAuFormat(const wchar_t* pszTexte, CTString* pclSortie, int bRaw, const CObjetAPCode*) const noexcept {
    if (pclSortie == nullptr) return;
    if (pszTexte == nullptr) pszTexte = L"";
    const wchar_t* pszDepassement = _pszTexte(CHAINEERREUR_DEPASSEMENT);
    if (pszDepassement[0] != 0 && std::wcscmp(pszTexte, pszDepassement) == 0) {
        pclSortie->Set(pszTexte);
        return;
    }
    if (m_clMasque.bEstVide()) {
        pclSortie->Set(pszTexte);
        return;
    }
    bool bNegatif = false, bZero = false;
    const int nPartie = _nPartiePourValeur(pszTexte, &bNegatif, &bZero);
    int nMasque = 0;
    const wchar_t* pszMasque = _pszPartie(nPartie, &nMasque);
    if (nMasque == 0) {
        pclSortie->Vide();
        return;
    }
    if (bZero && nPartie < m_nNbPartie) {
        if (bRaw) pclSortie->Set(L"0");
        else pclSortie->Set(pszMasque, nMasque);
        return;
    }
    if (m_bTailleDisque) {
        pclSortie->Vide();
        MetAuFormatTailleDisque(std::wcstod(pszTexte, nullptr), pclSortie, 0);
        return;
    }

    // The positions of the part: integer ones before the decimal letter, fraction ones after.
    int nPosEntier = 0, nPosFraction = 0;
    bool bFractionMasque = false;
    for (int i = 0; i < nMasque; ++i) {
        const wchar_t c = pszMasque[i];
        if (c == L'\\') ++i;
        else if (!bFractionMasque && c == m_cLettreDecimal) bFractionMasque = true;
        else if (c == L'9' || c == L'0') ++(bFractionMasque ? nPosFraction : nPosEntier);
    }

    // The digits, times 100 for a percent mask, rounded half up to the fraction positions. The
    // carry can add a digit in front, hence one more place.
    STChiffres st;
    LitChiffres(pszTexte, &st);
    const bool bPourcent = bContientPourcent(pszMasque, nMasque);
    CTampon clChiffres(static_cast<size_t>(st.nEntier) + static_cast<size_t>(st.nFraction) + 4);
    if (!clChiffres.bValide()) {
        pclSortie->Vide();
        return;
    }
    clChiffres.Add(L'0');
    for (int i = 0; i < st.nEntier; ++i) clChiffres.Add(st.pszEntier[i]);
    int nEntier = st.nEntier + 1;
    int nFraction = st.nFraction;
    for (int i = 0; i < st.nFraction; ++i) clChiffres.Add(st.pszFraction[i]);
    if (bPourcent) {
        while (nFraction < 2) {
            clChiffres.Add(L'0');
            ++nFraction;
        }
        nEntier += 2;
        nFraction -= 2;
    }
    wchar_t* pszChiffres = const_cast<wchar_t*>(clChiffres.psz());
    if (nFraction > nPosFraction) {
        if (pszChiffres[nEntier + nPosFraction] >= L'5') {
            int i = nEntier + nPosFraction - 1;
            for (; i >= 0 && pszChiffres[i] == L'9'; --i) pszChiffres[i] = L'0';
            if (i >= 0) ++pszChiffres[i];
        }
        nFraction = nPosFraction;
    }
    const wchar_t* pszEntier = pszChiffres;
    while (nEntier > 1 && pszEntier[0] == L'0') {
        ++pszEntier;
        --nEntier;
    }
    if (nEntier == 1 && pszEntier[0] == L'0' && nPosEntier == 0) nEntier = 0;
    const wchar_t* pszFraction = pszChiffres + (pszEntier - pszChiffres) + nEntier;
    if (nEntier == 0) pszFraction = pszEntier + 1;

    int nSurplus = nPosEntier - nEntier;
    if (nSurplus < 0) {
        if (bEgalI(pszDepassement, 5, L"+++++") && nPosEntier < 5) {
            wchar_t sz[6] = {L'+', 0, 0, 0, 0, 0};
            for (int i = 1; i < nPosEntier; ++i) sz[i] = L'+';
            pclSortie->Set(sz);
        } else {
            pclSortie->Set(pszDepassement);
        }
        return;
    }

    const int nDevise = static_cast<int>(std::wcslen(m_clDevise.pszGet()));
    CTampon clSortie(static_cast<size_t>(nMasque) * static_cast<size_t>(nDevise + 2) +
                     static_cast<size_t>(nEntier + nPosFraction) + 4);
    if (!clSortie.bValide()) {
        pclSortie->Vide();
        return;
    }
    const bool bPlusieursParties = m_nNbPartie > 1;
    bool bPositionVue = false, bChiffreEcrit = false, bFraction = false, bSigneEcrit = false;
    bool bSeparateurSupprime = false;
    int iEntier = 0, iFraction = 0;
    // Whether only closing marks and blanks follow position i of the part.
    auto bResteFermant = [&](int i) {
        for (int j = i + 1; j < nMasque; ++j) {
            const wchar_t c = pszMasque[j];
            if (c != L')' && c != L' ' && c != L'-' && c != L'+') return false;
        }
        return true;
    };
    auto bResteContient = [&](int i, wchar_t c1, wchar_t c2) {
        for (int j = i + 1; j < nMasque; ++j)
            if (pszMasque[j] == c1 || pszMasque[j] == c2) return true;
        return false;
    };
    auto Signe = [&]() {
        bSigneEcrit = true;
        if (bNegatif) clSortie.Add(L'-');
    };
    for (int i = 0; i < nMasque; ++i) {
        const wchar_t c = pszMasque[i];
        const wchar_t cSuivant = i + 1 < nMasque ? pszMasque[i + 1] : 0;
        if (c == L'9' || c == L'0') {
            bPositionVue = true;
            if (bFraction) {
                if (iFraction < nFraction) clSortie.Add(pszFraction[iFraction++]);
                else if (c == L'9' && !bSeparateurSupprime) clSortie.Add(L'0');
            } else if (nSurplus > 0) {
                --nSurplus;
                if (c == L'0') {
                    clSortie.Add(L'0');
                    bChiffreEcrit = true;
                }
            } else if (iEntier < nEntier) {
                clSortie.Add(pszEntier[iEntier++]);
                bChiffreEcrit = true;
            }
        } else if (c == m_cLettreDecimal && !bFraction) {
            bFraction = true;
            if (cSuivant == L'0' && nFraction == 0) bSeparateurSupprime = true;
            else clSortie.Add(m_cSeparateurDecimal);
        } else if (bPositionVue && (c == m_cLettreMillier || c == L'.')) {
            if (bRaw) continue;
            if (!bNegatif && bResteFermant(i)) continue;
            if (c == L'.' && !bResteContient(i, L'9', L'0')) clSortie.Add(L'.');
            else if (!bChiffreEcrit) continue;
            else if (!bResteContient(i, L'9', L'9')) clSortie.Add(L' ');
            else clSortie.Add(m_cSeparateurMillier);
        } else if (c == L'$') {
            if (cSuivant == L'$') ++i;
            if (bRaw) continue;
            if (cSuivant == L'$') clSortie.Add(L'$');
            else clSortie.Add(m_clDevise.pszGet());
        } else if (c == L'%') {
            if (cSuivant == L'%') ++i;
            if (!bRaw) clSortie.Add(L'%');
        } else if ((c == L'(' || c == L')') && m_bParentheses) {
            bSigneEcrit = true;
            if (bNegatif) clSortie.Add(c);
        } else if (c == L'+') {
            if (bPlusieursParties) {
                if (!bRaw) clSortie.Add(L'+');
            } else {
                Signe();
            }
        } else if (c == L'-') {
            if (cSuivant == L'-') {
                ++i;
                if (!bRaw) clSortie.Add(L'-');
            } else if (bPlusieursParties) {
                if (!bRaw) clSortie.Add(L'-');
            } else {
                Signe();
            }
        } else if (c == L'\\') {
            if (i + 1 < nMasque) {
                ++i;
                if (!bRaw) clSortie.Add(pszMasque[i]);
            }
        } else if (!bRaw) {
            clSortie.Add(c);
        }
    }
    // A negative value shown by a part that is not its own and has no sign place.
    if (bNegatif && !bSigneEcrit && !bPlusieursParties) {
        CTString clTemp;
        clTemp.Set(L"-");
        clTemp.Add(clSortie.psz(), clSortie.n());
        pclSortie->Transfert(clTemp);
        return;
    }
    pclSortie->Set(clSortie.psz(), clSortie.n());
}

void CMasqueNumerique::MetAuFormatTailleDisque(double dValeur, CTString* pclSortie, int nUnite) const noexcept {
    if (pclSortie == nullptr || nUnite < 0 || nUnite > 5) return;
    const double dAbsolu = std::fabs(dValeur);
    int nChoisie = nUnite;
    if (nChoisie == 0) {
        nChoisie = 1;
        for (double d = dAbsolu; d >= 1024.0 && nChoisie < 5; d *= 0.0009765625) ++nChoisie;
    }
    const bool bOctets = nChoisie == 1 || !(dAbsolu >= 1024.0);
    CTString clUnites;
    const STParametreNumerique* pst = pstNumeriqueLangue(m_piInfoLangue);
    if (pst != nullptr && pst->pszUnitesTaille != nullptr && pst->pszUnitesTaille[0] != 0)
        clUnites.Set(pst->pszUnitesTaille);
    else
        DLLRES_bLoadString(&gstMyModuleInfo8, kRessourceUnitesTaille, &clUnites);
    CTString clUnite;
    if (!clUnites.bExtraitChaine(bOctets ? 0 : nChoisie - 1, L";", &clUnite)) clUnite.Vide();
    if (bOctets && clUnite.bTerminePar(L"(s)")) {
        const int n = static_cast<int>(std::wcslen(clUnite.pszGet()));
        CTString cl;
        cl.Set(clUnite.pszGet(), n - 3);
        if (dAbsolu >= 2.0) cl.Add(L's');
        clUnite.Transfert(cl);
    }
    // The figures alone fit in the buffer: a double has at most 309 integer digits.
    wchar_t sz[400];
    if (bOctets) {
        // Whole bytes; a size past any integer still prints its digits rather than wrapping.
        const double dEntier = std::isfinite(dValeur) ? std::trunc(dValeur) : 0.0;
        std::swprintf(sz, 400, L"%.0f", dEntier);
    } else {
        double d = dValeur;
        for (int i = 1; i < nChoisie; ++i) d *= 0.0009765625;
        std::swprintf(sz, 400, L"%#.2f", d);
        for (wchar_t* p = sz; *p != 0; ++p)
            if (*p == L'.') *p = m_cSeparateurDecimal;
    }
    pclSortie->Set(sz);
    if (!clUnite.bEstVide()) pclSortie->Add(L" ", clUnite.pszGet(), L"");
}

void CMasqueNumerique::DeformateNum(const wchar_t* pszTexte, CTString* pclSortie, int bRaw) const noexcept {
    if (pclSortie == nullptr) return;
    if (pszTexte == nullptr) pszTexte = L"";
    const int nTexte = static_cast<int>(std::wcslen(pszTexte));
    CTampon cl(static_cast<size_t>(nTexte) + 8);
    if (!cl.bValide()) {
        pclSortie->Vide();
        return;
    }
    // Integer digits then fraction digits, with the place of the point.
    bool bNegatif = false;
    int nPoint = -1;
    for (int i = 0; i < nTexte; ++i) {
        const wchar_t c = pszTexte[i];
        if (bEstChiffre(c)) cl.Add(c);
        else if (c == m_cSeparateurDecimal && nPoint < 0) nPoint = cl.n();
        else if (c == L'-' || (c == L'(' && m_bParentheses)) bNegatif = true;
    }
    int nChiffres = cl.n();
    if (nPoint < 0) nPoint = nChiffres;
    const wchar_t* psz = cl.psz();
    CTString clResultat;
    if (!bRaw && bEstMasquePourcentage(0)) nPoint -= 2;
    // Text arithmetic: the point moves, zeros fill in front when it passes the first digit.
    int nDebut = 0;
    while (nDebut < nPoint && nDebut < nChiffres && psz[nDebut] == L'0') ++nDebut;
    while (nChiffres > nPoint && nChiffres > 0 && psz[nChiffres - 1] == L'0') --nChiffres;
    if (bNegatif) clResultat.Add(L'-');
    if (nDebut >= nPoint) clResultat.Add(L'0');
    else clResultat.Add(psz + nDebut, (nPoint < nChiffres ? nPoint : nChiffres) - nDebut);
    for (int i = nChiffres; i < nPoint; ++i) clResultat.Add(L'0');
    if (nChiffres > nPoint) {
        clResultat.Add(L'.');
        for (int i = nPoint; i < 0; ++i) clResultat.Add(L'0');
        const int nDepart = nPoint > 0 ? nPoint : 0;
        clResultat.Add(psz + nDepart, nChiffres - nDepart);
    }
    if (clResultat.bEstEgal(L"-0")) clResultat.Set(L"0");
    pclSortie->Transfert(clResultat);
}
