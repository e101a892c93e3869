// The date-time mask: token table, tokeniser, parser, display and the predefined masks.
#include "datetime/date_mask.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/any.h"
#include "base/characters.h"
#include "component/interfaces/machine.h"
#include "datetime/date_text.h"
#include "datetime/internal/mask_output.h"

int gnSiecle = 20;

namespace {

constexpr uint16_t VIDE = 65535;

struct STTokenDef {
    const wchar_t* pszToken;
    int nLongueur;
    int eType;
    int nLargeur;
};

// Search order matters: the first match wins, so longer tokens stand before their prefixes.
constexpr STTokenDef gtabToken[] = {
    {L"AAAA", 4, 20, 4}, {L"AA", 2, 19, 2},   {L"YYYY", 4, 20, 4}, {L"YY", 2, 19, 2},   {L"MMMM", 4, 16, 2},
    {L"Mmmm", 4, 17, 2}, {L"mmmm", 4, 18, 2}, {L"MMM", 3, 13, 2},  {L"Mmm", 3, 14, 2},  {L"mmm", 3, 15, 2},
    {L"MM", 2, 12, 2},   {L"M", 1, 11, 2},    {L"JJJJ", 4, 8, 0},  {L"Jjjj", 4, 9, 0},  {L"jjjj", 4, 10, 0},
    {L"JJJ", 3, 5, 0},   {L"Jjj", 3, 6, 0},   {L"jjj", 3, 7, 0},   {L"JJ", 2, 3, 2},    {L"J", 1, 2, 2},
    {L"DDDD", 4, 8, 0},  {L"Dddd", 4, 9, 0},  {L"dddd", 4, 10, 0}, {L"DDD", 3, 5, 0},   {L"Ddd", 3, 6, 0},
    {L"ddd", 3, 7, 0},   {L"DD", 2, 3, 2},    {L"D", 1, 2, 2},     {L"L", 1, 4, 1},     {L"HH", 2, 21, 2},
    {L"H", 1, 22, 2},    {L"MM", 2, 23, 2},   {L"mm", 2, 23, 2},   {L"SS", 2, 24, 2},   {L"CCC", 3, 26, 3},
    {L"CC", 2, 25, 2},   {L"AM", 2, 27, 2},   {L"AP", 2, 27, 2},   {L"PM", 2, 27, 2},
};
constexpr int RANG_L = 28;
constexpr int RANG_PREMIER_HEURE = 29;
constexpr int RANG_DERNIER = 38;
static_assert(sizeof(gtabToken) / sizeof(gtabToken[0]) == RANG_DERNIER + 1);

constexpr const wchar_t* gtabFormeDateEtHeure[] = {
    L"YYYYMMDDHHmmSS", L"YYYYMMDDHHmmSSCC", L"AAAAMMJJHHmmSSCC",
    L"YYYYMMDDHHmmSSCCC", L"AAAAMMJJHHmmSSCCC", L"AAAAMMJJHHmmSS",
};

bool bChiffre(wchar_t c) noexcept { return c >= L'0' && c <= L'9'; }

bool bLettre(wchar_t c) noexcept {
    if ((c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z')) return true;
    return c > 0x7f && STR_ToUpper(c) != STR_ToLower(c);
}

bool bEgalI(const wchar_t* pszA, const wchar_t* pszB) noexcept {
    for (;; ++pszA, ++pszB) {
        if (STR_ToUpper(*pszA) != STR_ToUpper(*pszB)) return false;
        if (*pszA == 0) return true;
    }
}

bool bNomMois(int eType) noexcept { return eType >= 13 && eType <= 18; }
bool bNomJour(int eType) noexcept { return eType >= 5 && eType <= 10; }

// The rows of the token table by first letter, in table order so that the first match stays the
// same; a letter no token starts with has none.
struct STRangsLettre {
    uint8_t nNombre;
    uint8_t tabRang[8];
};
constexpr auto gtabRangsParLettre = [] {
    std::array<STRangsLettre, 128> tab{};
    for (int nRang = 0; nRang <= RANG_DERNIER; ++nRang) {
        STRangsLettre& st = tab[static_cast<size_t>(gtabToken[nRang].pszToken[0])];
        st.tabRang[st.nNombre++] = static_cast<uint8_t>(nRang);
    }
    return tab;
}();

// The zone that starts at p (see s_pszLitZone), inline for the loops that read whole masks.
inline const wchar_t* pszLitZone(const wchar_t* p, const CMasqueDateHeure::STReglesZone& stRegles,
                                 CMasqueDateHeure::STZone* pstZone) noexcept {
    using M = CMasqueDateHeure;
    pstZone->pszDebut = p;
    pstZone->cLitteral = 0;
    if (*p == 0) {
        pstZone->eType = M::ZONE_FIN;
        pstZone->nLargeur = 0;
        pstZone->pszFin = p;
        return p;
    }
    pstZone->eType = M::ZONE_LITTERAL;
    pstZone->nLargeur = 1;
    // A backslash makes the next character a literal, whatever it is; alone at the end it stands
    // for itself.
    if (*p == L'\\') {
        if (p[1] != 0) {
            pstZone->cLitteral = p[1];
            pstZone->pszFin = p + 2;
        } else {
            pstZone->cLitteral = L'\\';
            pstZone->pszFin = p + 1;
        }
        return pstZone->pszFin;
    }
    const STRangsLettre stRangs =
        static_cast<unsigned int>(*p) < gtabRangsParLettre.size() ? gtabRangsParLettre[static_cast<size_t>(*p)] : STRangsLettre{};
    for (int k = 0; k < stRangs.nNombre; ++k) {
        const int nRang = stRangs.tabRang[k];
        if (nRang < stRegles.nPremierRang || nRang > stRegles.nDernierRang) continue;
        const STTokenDef& stToken = gtabToken[nRang];
        // The text ends with a terminator no token holds, so this stops inside it.
        int i = 1;
        while (i < stToken.nLongueur && stToken.pszToken[i] == p[i]) ++i;
        if (i != stToken.nLongueur) continue;
        if (nRang == RANG_L && !(stRegles.bMasqueEstL || p[1] == L'|' || p[1] == L' ' || p[1] == L'\t' || p[1] == 0))
            continue;
        pstZone->eType = stToken.eType;
        pstZone->nLargeur = stToken.nLargeur;
        pstZone->pszFin = p + stToken.nLongueur;
        return pstZone->pszFin;
    }
    pstZone->cLitteral = *p;
    pstZone->pszFin = p + 1;
    return pstZone->pszFin;
}

using datetime_internal::CListeZones;
using datetime_internal::STZoneLue;

// Reads the zones of a mask once, with what the conversions look ahead for: the character after
// each zone, whether a numeric month follows, the first and last active zones.
void LitZones(const wchar_t* pszMasque, const CMasqueDateHeure::STReglesZone& stRegles, CListeZones* pclZones) noexcept {
    pclZones->Vide();
    if (pszMasque == nullptr) pszMasque = L"";
    CMasqueDateHeure::STZone stZone;
    uint32_t dwTypes = 0;
    const wchar_t* p = pszMasque;
    for (int nIndex = 0; *p != 0; ++nIndex) {
        p = pszLitZone(p, stRegles, &stZone);
        const wchar_t* pszFin = stZone.pszFin;
        STZoneLue stLue;
        stLue.eType = static_cast<uint8_t>(stZone.eType);
        stLue.nLargeur = static_cast<uint8_t>(stZone.nLargeur);
        stLue.nDrapeaux = *pszFin == 0 ? STZoneLue::DERNIERE : 0;
        stLue.cLitteral = stZone.cLitteral;
        stLue.cSuivant = *pszFin == L'\\' ? pszFin[1] : *pszFin;
        if (!pclZones->bAjoute(stLue)) return;
        dwTypes |= 1U << stZone.eType;
        if (CMasqueDateHeure::s_bZoneActive(stZone.eType)) {
            if (pclZones->m_nPremierActif < 0) pclZones->m_nPremierActif = nIndex;
            pclZones->m_nDernierActif = nIndex;
        }
    }
    bool bMoisApres = false;
    STZoneLue* ptab = pclZones->ptabModifiable();
    for (int i = pclZones->nNombre() - 1; i >= 0; --i) {
        if (bMoisApres) ptab[i].nDrapeaux |= STZoneLue::MOIS_NUMERIQUE_APRES;
        if (ptab[i].eType == CMasqueDateHeure::ZONE_M || ptab[i].eType == CMasqueDateHeure::ZONE_MM) bMoisApres = true;
    }
    pclZones->m_dwTypes = dwTypes;
    pclZones->m_nLongueurMasque = static_cast<size_t>(p - pszMasque);
    // As s_bZoneAMPMPresente: "AM" not followed by "M", "AP" or "PM" anywhere.
    bool bAMPM = false;
    for (const wchar_t* q = pszMasque; *q != 0 && !bAMPM; ++q) {
        if (*q == L'A') bAMPM = (q[1] == L'M' && q[2] != L'M') || q[1] == L'P';
        else if (*q == L'P') bAMPM = q[1] == L'M';
    }
    pclZones->m_bAMPM = bAMPM;
}

// The masks this thread read last, so that a mask built afresh for each call of a language
// function does not read the same text again. Plain data: no guard nor destructor per thread.
struct STZonesRecentes {
    static constexpr size_t TAILLE_MASQUE = 32;
    static constexpr int NB_ZONES = 16;
    wchar_t szMasque[TAILLE_MASQUE];
    size_t nLongueur;  // 0: a free entry
    CMasqueDateHeure::STReglesZone stRegles;
    int nZones;
    int nPremierActif;
    int nDernierActif;
    uint32_t dwTypes;
    bool bAMPM;
    STZoneLue tabZones[NB_ZONES];
};
constexpr int NB_RECENTES = 4;
thread_local STZonesRecentes gtabRecentes[NB_RECENTES];
thread_local int gnProchaineRecente;

void LitZonesRecentes(const wchar_t* pszMasque, const CMasqueDateHeure::STReglesZone& stRegles,
                      CListeZones* pclZones) noexcept {
    if (pszMasque == nullptr) pszMasque = L"";
    size_t nLongueur = 0;
    while (nLongueur < STZonesRecentes::TAILLE_MASQUE && pszMasque[nLongueur] != 0) ++nLongueur;
    if (nLongueur == 0 || nLongueur == STZonesRecentes::TAILLE_MASQUE) {
        LitZones(pszMasque, stRegles, pclZones);
        return;
    }
    for (STZonesRecentes& st : gtabRecentes) {
        if (st.nLongueur != nLongueur || st.stRegles.nPremierRang != stRegles.nPremierRang ||
            st.stRegles.nDernierRang != stRegles.nDernierRang || st.stRegles.bMasqueEstL != stRegles.bMasqueEstL ||
            std::wmemcmp(st.szMasque, pszMasque, nLongueur) != 0)
            continue;
        if (!pclZones->bRemplit(st.tabZones, st.nZones)) return;
        pclZones->m_nPremierActif = st.nPremierActif;
        pclZones->m_nDernierActif = st.nDernierActif;
        pclZones->m_dwTypes = st.dwTypes;
        pclZones->m_nLongueurMasque = nLongueur;
        pclZones->m_bAMPM = st.bAMPM;
        return;
    }
    LitZones(pszMasque, stRegles, pclZones);
    if (pclZones->bEchec() || pclZones->nNombre() > STZonesRecentes::NB_ZONES) return;
    STZonesRecentes& st = gtabRecentes[gnProchaineRecente];
    gnProchaineRecente = (gnProchaineRecente + 1) % NB_RECENTES;
    std::wmemcpy(st.szMasque, pszMasque, nLongueur);
    st.nLongueur = nLongueur;
    st.stRegles = stRegles;
    st.nZones = pclZones->nNombre();
    for (int n = 0; n < st.nZones; ++n) st.tabZones[n] = pclZones->begin()[n];
    st.nPremierActif = pclZones->m_nPremierActif;
    st.nDernierActif = pclZones->m_nDernierActif;
    st.dwTypes = pclZones->m_dwTypes;
    st.bAMPM = pclZones->m_bAMPM;
}

// The internal forms a mask is built with, read once for the process under each of the three
// token ranges. None holds an "L", so whether the user mask is "L" does not change them.
constexpr const wchar_t* gtabFormeFixe[] = {
    L"AAAAMMJJ", L"HHMMSS", L"HHMMSSCC", L"YYYYMMDDHHmmSS", L"YYYYMMDDHHmmSSCC", L"AAAAMMJJHHmmSSCC",
    L"YYYYMMDDHHmmSSCCC", L"AAAAMMJJHHmmSSCCC", L"AAAAMMJJHHmmSS",
};
constexpr int NB_FORME_FIXE = static_cast<int>(sizeof(gtabFormeFixe) / sizeof(gtabFormeFixe[0]));
constexpr CMasqueDateHeure::STReglesZone gtabReglesFixes[3] = {
    {0, RANG_L, false}, {RANG_PREMIER_HEURE, RANG_DERNIER, false}, {0, RANG_DERNIER, false}};

class CZonesFixes {
public:
    CZonesFixes() noexcept {
        for (int nForme = 0; nForme < NB_FORME_FIXE; ++nForme) {
            m_clTexte[nForme].Set(gtabFormeFixe[nForme]);
            for (int nRegles = 0; nRegles < 3; ++nRegles) {
                LitZones(gtabFormeFixe[nForme], gtabReglesFixes[nRegles], &m_tab[nForme][nRegles]);
                m_tabRapide[nForme][nRegles].Compile(m_tab[nForme][nRegles]);
            }
        }
    }
    // Null when the form is not a fixed one, or the zones could not be kept; their compiled form
    // in *ppclRapide otherwise.
    const CListeZones* pclGet(const wchar_t* pszForme, size_t nLongueur, const CMasqueDateHeure::STReglesZone& stRegles,
                              const datetime_internal::CFormeRapide** ppclRapide) const noexcept {
        int nRegles = 0;
        while (nRegles < 3 && (gtabReglesFixes[nRegles].nPremierRang != stRegles.nPremierRang ||
                               gtabReglesFixes[nRegles].nDernierRang != stRegles.nDernierRang))
            ++nRegles;
        if (nRegles == 3) return nullptr;
        for (int nForme = 0; nForme < NB_FORME_FIXE; ++nForme) {
            if (m_clTexte[nForme].nLongueur() != nLongueur || std::wmemcmp(gtabFormeFixe[nForme], pszForme, nLongueur) != 0)
                continue;
            const CListeZones& clZones = m_tab[nForme][nRegles];
            if (clZones.bEchec()) return nullptr;
            *ppclRapide = &m_tabRapide[nForme][nRegles];
            return &clZones;
        }
        return nullptr;
    }

private:
    datetime_internal::CTexteMasque m_clTexte[NB_FORME_FIXE];  // for the lengths
    CListeZones m_tab[NB_FORME_FIXE][3];
    datetime_internal::CFormeRapide m_tabRapide[NB_FORME_FIXE][3];
};

const CListeZones* pclZonesFixes(const wchar_t* pszForme, size_t nLongueur, const CMasqueDateHeure::STReglesZone& stRegles,
                                 const datetime_internal::CFormeRapide** ppclRapide) noexcept {
    static const CZonesFixes s_clZones;
    return s_clZones.pclGet(pszForme, nLongueur, stRegles, ppclRapide);
}

// In an input field a literal keeps its place only between two active zones; elsewhere it has
// no width.
int eTypeSaisie(const CListeZones& clZones, int nIndex, const STZoneLue& stZone) noexcept {
    if (stZone.eType != CMasqueDateHeure::ZONE_LITTERAL || stZone.cLitteral == 0x65E5) return stZone.eType;
    if (clZones.m_nPremierActif >= 0 && clZones.m_nPremierActif < nIndex && clZones.m_nDernierActif > nIndex)
        return stZone.eType;
    return CMasqueDateHeure::ZONE_LITTERAL_SAISIE;
}

template <size_t N>
bool bEgalNomI(const datetime_internal::CTexteMasque& clTexte, const wchar_t (&pszNom)[N]) noexcept {
    // A text of another length is not the name, which spares an owned copy for the common masks.
    if (clTexte.nLongueur() != N - 1) return false;
    CTString clCopie;
    clCopie.Set(clTexte.pszGet());
    return clCopie.bEstEgalI(pszNom);
}

}  // namespace

// ------------------------------------------------------------------------------ construction

CMasqueDateHeure::CMasqueDateHeure(const wchar_t* pszMasque, bool bDate, const wchar_t* pszInterne) noexcept
    : m_bDate(bDate ? 1 : 0) {
    m_clMasque.Set(pszMasque);
    m_clMasqueEcrit.Set(m_clMasque.pszGet(), m_clMasque.nLongueur());
    m_clFormeInterne.Set(pszInterne != nullptr ? pszInterne : (bDate ? L"AAAAMMJJ" : L"HHMMSS"));
    // Neither default form holds a time with a date.
    m_bDateEtHeure = pszInterne != nullptr && sbStrEstMasqueDateEtHeure(m_clFormeInterne.pszGet());
    __CalculeMasquePredefini();
}

CMasqueDateHeure::~CMasqueDateHeure() = default;

bool CMasqueDateHeure::sbStrEstMasqueDateEtHeure(const wchar_t* pszInterne) noexcept {
    if (pszInterne == nullptr) return false;
    for (const wchar_t* pszForme : gtabFormeDateEtHeure)
        if (std::wcscmp(pszForme, pszInterne) == 0) return true;
    return false;
}

bool CMasqueDateHeure::bEstMasqueDateEtHeure() const noexcept { return m_bDateEtHeure; }

void CMasqueDateHeure::_InverseMasqueR2L(CTString* pclMasque) noexcept { pclMasque->Renverse(); }

void CMasqueDateHeure::_GetMasqueSystemeDate(CTString* pclSortie) const noexcept {
    _GetWinIntlParam(LOCALE_DATE_COURTE, L"dd/MM/yyyy", pclSortie);
    pclSortie->Remplace(L"d", L"J");
    pclSortie->Remplace(L"yyyy", L"AAAA");
    pclSortie->Remplace(L"yy", L"AA");
    if (m_piInfoLangue == nullptr) return;
    if (!m_piInfoLangue->bParametreDateSysteme()) {
        const STParametreDate* pstDate = m_piInfoLangue->pstGetParametreDate();
        if (pstDate != nullptr && pstDate->pszMasqueDate != nullptr && pstDate->pszMasqueDate[0] != 0)
            pclSortie->Set(pstDate->pszMasqueDate);
    } else if (m_piInfoLangue->bEcritDeDroiteAGauche()) {
        _InverseMasqueR2L(pclSortie);
    }
}

void CMasqueDateHeure::_GetMasqueSystemeHeure(CTString* pclSortie) const noexcept {
    _GetWinIntlParam(LOCALE_HEURE, L"HH:mm:ss", pclSortie);
    pclSortie->Remplace(L"m", L"M");
    pclSortie->Remplace(L"s", L"S");
    pclSortie->Remplace(L"tt", L"AM");
    pclSortie->Remplace(L"h", L"H");
    if (m_piInfoLangue == nullptr || m_piInfoLangue->bParametreHeureSysteme()) return;
    const STParametreHeure* pstHeure = m_piInfoLangue->pstGetParametreHeure();
    if (pstHeure != nullptr && pstHeure->pszMasqueHeure != nullptr && pstHeure->pszMasqueHeure[0] != 0)
        pclSortie->Set(pstHeure->pszMasqueHeure);
}

void CMasqueDateHeure::__CalculeMasquePredefini() noexcept {
    _DeveloppeMasquePredefini();
    _LitZones();
}

void CMasqueDateHeure::_DeveloppeMasquePredefini() noexcept {
    CTString clSysteme;
    if (bEgalNomI(m_clMasque, L"UseDatePickerTimeMask")) {
        _GetMasqueSystemeHeure(&clSysteme);
        m_clMasque.Set(clSysteme.pszGet());
        return;
    }
    if (!bEgalNomI(m_clMasque, L"UseSystemMask") && !bEgalNomI(m_clMasque, L"UseDatePickerDateMask") &&
        !bEgalNomI(m_clMasque, L"UseDatePickerDateTimeMask"))
        return;
    if (!m_bDate) {
        _GetMasqueSystemeHeure(&clSysteme);
        m_clMasque.Set(clSysteme.pszGet());
        return;
    }
    _GetMasqueSystemeDate(&clSysteme);
    if (bEstMasqueDateEtHeure()) {
        CTString clHeure;
        _GetMasqueSystemeHeure(&clHeure);
        // In a date-time mask "MM" is the month: the time's minutes must be written "mm".
        clHeure.Remplace(L"M", L"m");
        clHeure.Remplace(L"Am", L"AM");
        clSysteme.Add(L" ");
        clSysteme.Add(clHeure.pszGet());
    }
    m_clMasque.Set(clSysteme.pszGet());
}

void CMasqueDateHeure::_LitZones() noexcept {
    // As stGetRegles, field by field.
    const bool bDateEtHeure = bEstMasqueDateEtHeure();
    m_stRegles.nPremierRang = (bDateEtHeure || m_bDate) ? 0 : RANG_PREMIER_HEURE;
    m_stRegles.nDernierRang = (!bDateEtHeure && m_bDate) ? RANG_L : RANG_DERNIER;
    m_stRegles.bMasqueEstL = m_clMasque.nLongueur() == 1 && m_clMasque.pszGet()[0] == L'L';
    LitZonesRecentes(m_clMasque.pszGet(), m_stRegles, &m_clZonesMasque);
    // Normalising only rewrites lower-case day, month and year letters: without any, the mask
    // normalised is the mask itself and its zones serve as they are.
    m_bNormaliseInutile = true;
    for (const wchar_t* psz = m_clMasque.pszGet(); psz != nullptr && *psz != 0; ++psz) {
        if (*psz == L'j' || *psz == L'd' || *psz == L'm' || *psz == L'a' || *psz == L'y') {
            m_bNormaliseInutile = false;
            break;
        }
    }
    // A fixed internal form comes with its zones and compiled form read once for the process.
    m_pclZonesInterne =
        pclZonesFixes(m_clFormeInterne.pszGet(), m_clFormeInterne.nLongueur(), m_stRegles, &m_pclRapideInterne);
    if (m_pclZonesInterne == nullptr) {
        LitZonesRecentes(m_clFormeInterne.pszGet(), m_stRegles, &m_clZonesInterne);
        m_pclZonesInterne = &m_clZonesInterne;
        m_clRapideInterne.Compile(m_clZonesInterne);
        m_pclRapideInterne = &m_clRapideInterne;
    }
    m_clRapideMasque.Compile(m_clZonesMasque);
    m_nLongueurDateFixe = !m_clFormeInterne.bEstVide() && m_pclRapideInterne->bEstAnneeMoisJour()
                              ? m_clRapideMasque.nLongueurDate()
                              : -1;
    constexpr uint32_t dwZonesLangue = (1U << ZONE_L) | (1U << ZONE_JOUR_ABREGE) | (1U << ZONE_JOUR_ABREGE_MAJ) |
                                       (1U << ZONE_JOUR_ABREGE_MIN) | (1U << ZONE_JOUR) | (1U << ZONE_JOUR_MAJ) |
                                       (1U << ZONE_JOUR_MIN) | (1U << ZONE_MOIS_ABREGE) | (1U << ZONE_MOIS_ABREGE_MAJ) |
                                       (1U << ZONE_MOIS_ABREGE_MIN) | (1U << ZONE_MOIS) | (1U << ZONE_MOIS_MAJ) |
                                       (1U << ZONE_MOIS_MIN) | (1U << ZONE_AMPM);
    m_bSansLangue = m_bNormaliseInutile && ((m_clZonesMasque.m_dwTypes | m_pclZonesInterne->m_dwTypes) & dwZonesLangue) == 0 &&
                    !m_clZonesMasque.m_bAMPM && !m_pclZonesInterne->m_bAMPM;
}

const CListeZones* CMasqueDateHeure::_pclZones(const wchar_t* pszMasque, CListeZones* pclLocale) const noexcept {
    if (pszMasque == m_clMasque.pszGet()) return &m_clZonesMasque;
    if (pszMasque == m_clFormeInterne.pszGet()) return m_pclZonesInterne;
    LitZonesRecentes(pszMasque, m_stRegles, pclLocale);
    return pclLocale;
}

void CMasqueDateHeure::vSetInfoLangueMasque(IInfoLangue* piInfoLangue, int nOptions, unsigned int nCodePage) noexcept {
    CMasque::vSetInfoLangueMasque(piInfoLangue, nOptions, nCodePage);
    if (bEgalNomI(m_clMasqueEcrit, L"UseSystemMask")) {
        m_clMasque.Set(m_clMasqueEcrit.pszGet());
        __CalculeMasquePredefini();
    }
}

bool CMasqueDateHeure::bvGetValeurMasqueEffectif(CTString* pclSortie) noexcept {
    if (pclSortie == nullptr) return false;
    return pclSortie->Set(m_clMasque.pszGet());
}

void CMasqueDateHeure::vSetMinMax(CAny clMin, CAny clMax) noexcept {
    auto Borne = [this](const CAny& clBorne, int* pnAnnee) {
        if (clBorne.bEstNull()) return;
        CXYString<wchar_t> clTexte;
        if (clBorne.__nFillString(clTexte) != 0) return;
        _SYSTEMTIME stHeure;
        if (_bTexteVersDateHeure(clTexte.pszGet(), L"AAAAMMJJ", &stHeure, 0) && stHeure.wYear != VIDE)
            *pnAnnee = stHeure.wYear;
    };
    Borne(clMin, &m_nAnneeMin);
    Borne(clMax, &m_nAnneeMax);
}

// ------------------------------------------------------------------------------ tokeniser

CMasqueDateHeure::STReglesZone CMasqueDateHeure::stGetRegles() const noexcept {
    STReglesZone stRegles;
    if (bEstMasqueDateEtHeure()) {
        stRegles.nPremierRang = 0;
        stRegles.nDernierRang = RANG_DERNIER;
    } else if (m_bDate) {
        stRegles.nPremierRang = 0;
        stRegles.nDernierRang = RANG_L;
    } else {
        stRegles.nPremierRang = RANG_PREMIER_HEURE;
        stRegles.nDernierRang = RANG_DERNIER;
    }
    stRegles.bMasqueEstL = m_clMasque.nLongueur() == 1 && m_clMasque.pszGet()[0] == L'L';
    return stRegles;
}

bool CMasqueDateHeure::s_bZoneActive(int eType) noexcept {
    return eType != ZONE_FIN && eType != ZONE_LITTERAL && eType != ZONE_LITTERAL_SAISIE && !bNomJour(eType);
}

const wchar_t* CMasqueDateHeure::s_pszLitZone(const wchar_t* p, const STReglesZone& stRegles, STZone* pstZone) noexcept {
    return pszLitZone(p, stRegles, pstZone);
}

int CMasqueDateHeure::eParseMasque_Internal(const wchar_t** ppszMasque, int* pnLargeur) const noexcept {
    STZone stZone;
    const wchar_t* p = (ppszMasque != nullptr && *ppszMasque != nullptr) ? *ppszMasque : L"";
    s_pszLitZone(p, stGetRegles(), &stZone);
    if (pnLargeur != nullptr) *pnLargeur = stZone.nLargeur;
    if (ppszMasque != nullptr) *ppszMasque = stZone.eType == ZONE_FIN ? nullptr : stZone.pszFin;
    return stZone.eType;
}

int CMasqueDateHeure::eParseMasque(const wchar_t** ppszMasque, int* pnLargeur, int bSaisie,
                                   const wchar_t* pszMasque) const noexcept {
    const wchar_t* pszAvant = (ppszMasque != nullptr && *ppszMasque != nullptr) ? *ppszMasque : L"";
    int eType = eParseMasque_Internal(ppszMasque, pnLargeur);
    if (!bSaisie || eType != ZONE_LITTERAL || *pszAvant == 0x65E5) return eType;
    const wchar_t* pszDebut = pszMasque != nullptr ? pszMasque : m_clMasque.pszGet();
    const wchar_t* pszApres = (ppszMasque != nullptr && *ppszMasque != nullptr) ? *ppszMasque : L"";
    if (bContientZoneActive(pszDebut, pszAvant) && bContientZoneActive(pszApres, nullptr)) return eType;
    if (pnLargeur != nullptr) *pnLargeur = 0;
    return ZONE_LITTERAL_SAISIE;
}

bool CMasqueDateHeure::bContientZoneActive(const wchar_t* pszDebut, const wchar_t* pszFin) const noexcept {
    if (pszDebut == nullptr) return false;
    const STReglesZone stRegles = stGetRegles();
    STZone stZone;
    for (const wchar_t* p = pszDebut; *p != 0 && p != pszFin;) {
        p = s_pszLitZone(p, stRegles, &stZone);
        if (s_bZoneActive(stZone.eType)) return true;
    }
    return false;
}

bool CMasqueDateHeure::bZonePresent(const wchar_t* pszMasque, int eType1, int eType2) const noexcept {
    CListeZones clLocale;
    const CListeZones* pclZones = _pclZones(pszMasque, &clLocale);
    return pclZones->bContientType(eType1) || pclZones->bContientType(eType2);
}

bool CMasqueDateHeure::s_bZoneHeurePresente(const wchar_t* pszMasque) noexcept {
    return pszMasque != nullptr && std::wcsstr(pszMasque, L"HH") != nullptr;
}

bool CMasqueDateHeure::s_bZoneAMPMPresente(const wchar_t* pszMasque) noexcept {
    if (pszMasque == nullptr) return false;
    for (const wchar_t* p = pszMasque; (p = std::wcsstr(p, L"AM")) != nullptr; ++p)
        if (p[2] != L'M') return true;
    return std::wcsstr(pszMasque, L"AP") != nullptr || std::wcsstr(pszMasque, L"PM") != nullptr;
}

bool CMasqueDateHeure::_bGetInfoZoneFromPos(const wchar_t* pszTexte, int nPosition, STInfoZone* pstInfo) const noexcept {
    if (pszTexte == nullptr || pstInfo == nullptr || nPosition < 0) return false;
    const int nLongueurTexte = static_cast<int>(std::wcslen(pszTexte));
    int nDebut = 0;
    int nIndex = 0;
    for (const STZoneLue& stZone : m_clZonesMasque) {
        const int eType = eTypeSaisie(m_clZonesMasque, nIndex++, stZone);
        int nLargeur = eType == ZONE_LITTERAL_SAISIE ? 0 : stZone.nLargeur;
        if (bNomJour(eType) || eType == ZONE_L) nLargeur = 0;
        if (nPosition >= nDebut && nPosition < nDebut + nLargeur) {
            pstInfo->eType = eType;
            pstInfo->nDebut = nDebut;
            pstInfo->nLargeur = nLargeur;
            pstInfo->nDecalage = nPosition - nDebut;
            int n = 0;
            for (; n < nLargeur && n < 7 && nDebut + n < nLongueurTexte; ++n) pstInfo->szTexte[n] = pszTexte[nDebut + n];
            pstInfo->szTexte[n] = 0;
            return true;
        }
        nDebut += nLargeur;
    }
    return false;
}

// ------------------------------------------------------------------------------ parser

void CMasqueDateHeure::RazSYSTEMTIME(_SYSTEMTIME* pstHeure) noexcept {
    pstHeure->wYear = pstHeure->wMonth = pstHeure->wDayOfWeek = pstHeure->wDay = VIDE;
    pstHeure->wHour = pstHeure->wMinute = pstHeure->wSecond = pstHeure->wMilliseconds = VIDE;
}

bool CMasqueDateHeure::_bTexteVersDateHeure(const wchar_t* pszTexte, const wchar_t* pszMasque, _SYSTEMTIME* pst,
                                            int nFlags) const noexcept {
    if (pst == nullptr) return false;
    RazSYSTEMTIME(pst);
    CListeZones clLocale;
    return _bLitTexte(pszTexte, *_pclZones(pszMasque != nullptr ? pszMasque : L"", &clLocale), pst, nFlags);
}

// pst comes cleared.
bool CMasqueDateHeure::_bLitTexte(const wchar_t* pszTexte, const CListeZones& clZones, _SYSTEMTIME* pst,
                                  int nFlags) const noexcept {
    if (pszTexte == nullptr) pszTexte = L"";
    const bool bSaisie = (nFlags & FLAG_SAISIE) != 0;
    const size_t nLongueurTexte = std::wcslen(pszTexte);
    const size_t nLongueurMasque = clZones.m_nLongueurMasque;
    const bool bAMPM = clZones.m_bAMPM;
    const wchar_t* pszAM = nullptr;
    const wchar_t* pszPM = nullptr;
    auto ChargeAMPM = [&]() {
        if (pszAM != nullptr) return;
        pszAM = _pszAMPM(true);
        pszPM = _pszAMPM(false);
    };

    size_t nPosition = 0;
    constexpr size_t TAILLE_BUFFER = 64;
    wchar_t szBuffer[TAILLE_BUFFER];
    int nIndex = 0;
    for (const STZoneLue& stZone : clZones) {
        int eType = bSaisie ? eTypeSaisie(clZones, nIndex, stZone) : stZone.eType;
        ++nIndex;
        size_t nLargeur = eType == ZONE_LITTERAL_SAISIE ? 0 : static_cast<size_t>(stZone.nLargeur);
        bool bDelimiteur = false;
        // 1. width
        if (!bSaisie) {
            if (bNomJour(eType) || bNomMois(eType)) {
                const wchar_t cSuivant = stZone.cSuivant;
                if (cSuivant == 0) {
                    nLargeur = nLongueurTexte - nPosition;
                    bDelimiteur = true;
                } else if (const wchar_t* pszTrouve = std::wcschr(pszTexte + nPosition, cSuivant)) {
                    nLargeur = static_cast<size_t>(pszTrouve - (pszTexte + nPosition));
                    bDelimiteur = true;
                }
            }
        } else {
            if (eType >= ZONE_MOIS && eType <= ZONE_MOIS_MIN && !(stZone.nDrapeaux & STZoneLue::MOIS_NUMERIQUE_APRES)) {
                eType = ZONE_MM;
                nLargeur = 2;
            } else if (bNomJour(eType) || eType == ZONE_L) {
                nLargeur = 0;
            }
        }
        // 2. the text ends before the zone does
        if (nPosition + nLargeur > nLongueurTexte) {
            if (pst->wSecond == VIDE && pst->wHour != VIDE && pst->wMinute != VIDE) pst->wSecond = 0;
            return pst->wDay != VIDE || pst->wHour != VIDE;
        }
        // 3. the zone's characters
        const size_t nCopie = nLargeur < TAILLE_BUFFER - 1 ? nLargeur : TAILLE_BUFFER - 1;
        // Zones are a few characters wide: a plain loop beats a block copy's start-up here.
        const wchar_t* pszZone = pszTexte + nPosition;
        for (size_t i = 0; i < nCopie && pszZone[i] != 0; ++i) szBuffer[i] = pszZone[i];
        szBuffer[nCopie] = 0;
        if (eType == ZONE_AAAA && nCopie == 4 && szBuffer[3] == L'_' && bChiffre(szBuffer[2])) szBuffer[3] = L'0';
        // 4. the value
        int nValeur = 0;
        if (szBuffer[0] == L'_') {
            nValeur = VIDE;
        } else {
            for (size_t i = 0; i < nCopie && bChiffre(szBuffer[i]); ++i) {
                nValeur = nValeur * 10 + (szBuffer[i] - L'0');
                if (nValeur > VIDE - 1) nValeur = VIDE - 1;  // the fields are 16-bit
            }
        }
        if (nValeur == 0 && szBuffer[0] != L'0' && eType != ZONE_LITTERAL && eType != ZONE_LITTERAL_SAISIE &&
            !bDelimiteur && nLargeur != 0) {
            ChargeAMPM();
            if (!bAMPM || (!bEgalI(szBuffer, pszAM) && !bEgalI(szBuffer, pszPM))) return false;
        }
        // 5. one-digit day, month or hour
        if ((eType == ZONE_M || eType == ZONE_J || eType == ZONE_H) && !bChiffre(szBuffer[1])) nLargeur = 1;
        const uint16_t wValeur = static_cast<uint16_t>(nValeur);
        // 6. by type
        switch (eType) {
        case ZONE_LITTERAL: {
            const bool bEgal = nCopie == 1 && szBuffer[0] == stZone.cLitteral;
            if ((nFlags & FLAG_LITTERAL_EXACT) && !bEgal) return false;
            if ((nFlags & FLAG_STRICT) && bLettre(stZone.cLitteral) && !bEgal) {
                RazSYSTEMTIME(pst);
                return false;
            }
            break;
        }
        case ZONE_J:
            if (nValeur > 9 || szBuffer[0] == L'0') {
                if (nLongueurTexte == nLongueurMasque) {
                    nLargeur = 1;
                    pst->wDay = bChiffre(szBuffer[0]) ? static_cast<uint16_t>(szBuffer[0] - L'0') : VIDE;
                    break;
                }
            } else {
                nLargeur = 1;
            }
            pst->wDay = wValeur;
            break;
        case ZONE_JJ: pst->wDay = wValeur; break;
        case ZONE_M:
            if (nValeur < 10 && szBuffer[0] != L'0') nLargeur = 1;
            pst->wMonth = wValeur;
            break;
        case ZONE_MM: pst->wMonth = wValeur; break;
        case ZONE_MOIS_ABREGE:
        case ZONE_MOIS_ABREGE_MAJ:
        case ZONE_MOIS_ABREGE_MIN:
        case ZONE_MOIS:
        case ZONE_MOIS_MAJ:
        case ZONE_MOIS_MIN: {
            const bool bAbrege = eType <= ZONE_MOIS_ABREGE_MIN;
            int nNomFlags = bAbrege ? NOM_ABREGE : 0;
            if (eType == ZONE_MOIS_ABREGE_MAJ || eType == ZONE_MOIS_MAJ) nNomFlags |= NOM_MAJUSCULE;
            if (eType == ZONE_MOIS_ABREGE_MIN || eType == ZONE_MOIS_MIN) nNomFlags |= NOM_MINUSCULE;
            int nMois = _nGetNumMonthFromName(szBuffer, nNomFlags);
            if (nMois < 0 && bAbrege) nMois = _nGetNumMonthFromName(szBuffer, nNomFlags | NOM_QUATRE);
            pst->wMonth = nMois > 0 ? static_cast<uint16_t>(nMois) : wValeur;
            break;
        }
        case ZONE_AA:
            if (nValeur != VIDE) {
                if (nFlags & FLAG_PIVOT) nValeur += nValeur < 51 ? 2000 : 1900;
                else nValeur += gnSiecle * 100;
                pst->wYear = static_cast<uint16_t>(nValeur < VIDE ? nValeur : VIDE - 1);
            }
            if ((nFlags & FLAG_STRICT) && (stZone.nDrapeaux & STZoneLue::DERNIERE) && nPosition + nLargeur < nLongueurTexte) {
                RazSYSTEMTIME(pst);
                return false;
            }
            break;
        case ZONE_AAAA: pst->wYear = wValeur; break;
        case ZONE_HH:
        case ZONE_H:
            if (bAMPM && nValeur != VIDE && pst->wHour != VIDE) {
                const int nHeure = pst->wHour + nValeur;
                pst->wHour = static_cast<uint16_t>(nHeure < VIDE ? nHeure : VIDE - 1);
            } else {
                pst->wHour = wValeur;
            }
            break;
        case ZONE_MINUTE: pst->wMinute = wValeur; break;
        case ZONE_SECONDE: pst->wSecond = wValeur; break;
        case ZONE_CC:
            if (nValeur != VIDE) pst->wMilliseconds = static_cast<uint16_t>(nValeur * 10 < VIDE ? nValeur * 10 : VIDE - 1);
            break;
        case ZONE_CCC: pst->wMilliseconds = wValeur; break;
        case ZONE_AMPM:
            ChargeAMPM();
            if (bEgalI(szBuffer, pszPM)) {
                if (pst->wHour == VIDE) pst->wHour = 12;
                else if (pst->wHour != 12) pst->wHour = static_cast<uint16_t>(pst->wHour + 12);
            } else if (bEgalI(szBuffer, pszAM)) {
                if (pst->wHour == 12) pst->wHour = 0;
            }
            break;
        default: break;  // weekday names and "L" carry nothing a value is built from
        }
        // 7.
        nPosition += nLargeur;
    }
    _FinLecture(pst, bSaisie);
    return true;
}

void CMasqueDateHeure::_FinLecture(_SYSTEMTIME* pst, bool bSaisie) const noexcept {
    if (!bSaisie) {
        if (pst->wDay == 0 && pst->wMonth == 0 && pst->wYear == 0) {
            pst->wDay = VIDE;
            if (bEstMasqueDateEtHeure()) pst->wMonth = pst->wYear = VIDE;
        } else if (pst->wDay == 0 && (pst->wMonth != VIDE || pst->wYear != VIDE)) {
            pst->wDay = VIDE;
        }
        if (pst->wMonth == 0) pst->wMonth = VIDE;
    } else if (pst->wYear < 100 && m_nAnneeMin > 100) {
        pst->wYear = static_cast<uint16_t>(pst->wYear + gnSiecle * 100);
    }
    if (pst->wDay != VIDE && (pst->wMonth == VIDE || pst->wYear == VIDE)) {
        _SYSTEMTIME stMaintenant;
        GetSystemTime(&stMaintenant);
        if (pst->wMonth == VIDE) pst->wMonth = stMaintenant.wMonth;
        if (pst->wYear == VIDE) pst->wYear = stMaintenant.wYear;
    }
    if (pst->wHour != VIDE && pst->wMinute == VIDE) pst->wMinute = 0;
    if (pst->wHour != VIDE && pst->wMinute != VIDE && pst->wSecond == VIDE) pst->wSecond = 0;
    if (pst->wSecond != VIDE && pst->wMilliseconds == VIDE) pst->wMilliseconds = 0;
}

void CMasqueDateHeure::DeformateDateHeure(const wchar_t* pszTexte, CTString* pclSortie, int nFlags,
                                          const wchar_t* pszInterne) const noexcept {
    if (pclSortie == nullptr) return;
    if (pszInterne == nullptr) pszInterne = m_clFormeInterne.pszGet();
    if (pszInterne == m_clFormeInterne.pszGet()) {
        wchar_t szRapide[TAILLE_RAPIDE];
        const int n = nDeformateRapide(pszTexte, szRapide, nFlags);
        if (n >= 0) {
            pclSortie->Set(szRapide, n);
            return;
        }
    }
    _SYSTEMTIME stHeure;
    if (!_bTexteVersDateHeure(pszTexte, m_clMasque.pszGet(), &stHeure, nFlags)) {
        pclSortie->Vide();
        return;
    }
    if (!m_bDate && !bEstMasqueDateEtHeure()) StructtoHourString(stHeure, pclSortie, pszInterne);
    else StructtoDateString(stHeure, pclSortie, pszInterne);
}

bool CMasqueDateHeure::s_bCompleteHeure(_SYSTEMTIME* pst) noexcept {
    if (pst->wHour == VIDE || pst->wMinute == VIDE) return false;
    if (pst->wSecond == VIDE) pst->wSecond = 0;
    if (pst->wMilliseconds == VIDE) pst->wMilliseconds = 0;
    return true;
}

bool CMasqueDateHeure::_bCompleteDate(_SYSTEMTIME* pst) const noexcept {
    if (pst->wDay == VIDE && !bZoneEstPresente(ZONE_J, ZONE_JJ)) pst->wDay = 1;
    if (pst->wYear == VIDE || pst->wMonth == VIDE || pst->wDay == VIDE) return false;
    // The internal form is written in full: a time that was not given is midnight.
    if (pst->wHour == VIDE) pst->wHour = 0;
    if (pst->wMinute == VIDE) pst->wMinute = 0;
    if (pst->wSecond == VIDE) pst->wSecond = 0;
    if (pst->wMilliseconds == VIDE) pst->wMilliseconds = 0;
    return true;
}

void CMasqueDateHeure::StructtoHourString(_SYSTEMTIME st, CTString* pclSortie, const wchar_t* pszInterne) const noexcept {
    if (!s_bCompleteHeure(&st)) {
        pclSortie->Vide();
        return;
    }
    CListeZones clLocale;
    datetime_internal::CSortieMasque clSortie;
    _EcritTexte(*_pclZones(pszInterne != nullptr ? pszInterne : L"", &clLocale), st, &clSortie, 0);
    clSortie.Tronque(LONGUEUR_HEURE_INTERNE);
    clSortie.VersTString(pclSortie);
}

void CMasqueDateHeure::StructtoDateString(_SYSTEMTIME st, CTString* pclSortie, const wchar_t* pszInterne) const noexcept {
    if (!_bCompleteDate(&st)) {
        pclSortie->Vide();
        return;
    }
    CListeZones clLocale;
    datetime_internal::CSortieMasque clSortie;
    _EcritTexte(*_pclZones(pszInterne != nullptr ? pszInterne : L"", &clLocale), st, &clSortie, 0);
    clSortie.Tronque(LONGUEUR_DATE_INTERNE);
    clSortie.VersTString(pclSortie);
}

// ------------------------------------------------------------------------------ display

void CMasqueDateHeure::Formate(const wchar_t* pszTexte, CTString* pclSortie, const CObjetAPCode*) const noexcept {
    bFormateEx(pszTexte, pclSortie, 0);
}

bool CMasqueDateHeure::bFormateEx(const wchar_t* pszTexte, CTString* pclSortie, int nFlags) const noexcept {
    if (pclSortie == nullptr) return false;
    wchar_t szRapide[TAILLE_RAPIDE];
    const int nRapide = nFormateRapide(pszTexte, szRapide, nFlags);
    if (nRapide >= 0) {
        pclSortie->Set(szRapide, nRapide);
        return true;
    }
    const wchar_t* pszForme = m_clFormeInterne.bEstVide() ? m_clMasque.pszGet() : m_clFormeInterne.pszGet();
    _SYSTEMTIME st;
    const bool bLu = _bTexteVersDateHeure(pszTexte, pszForme, &st, 0);
    if (st.wDay == VIDE && st.wMonth == VIDE && st.wYear == 0) st.wYear = VIDE;
    // Only weekday zones show the day of the week; a normalised mask is read afresh.
    constexpr uint32_t dwZonesJourSemaine = (1U << ZONE_L) | (1U << ZONE_JOUR_ABREGE) | (1U << ZONE_JOUR_ABREGE_MAJ) |
                                            (1U << ZONE_JOUR_ABREGE_MIN) | (1U << ZONE_JOUR) | (1U << ZONE_JOUR_MAJ) |
                                            (1U << ZONE_JOUR_MIN);
    const bool bJourSemaine = (nFlags & FLAG_NORMALISE) != 0 || (m_clZonesMasque.m_dwTypes & dwZonesJourSemaine) != 0;
    if (m_bDate && bJourSemaine && st.wDay != VIDE && st.wMonth != VIDE && st.wYear != VIDE) {
        int nNumero = 0;
        if (bJourGregorien(st.wDay, st.wMonth, st.wYear, &nNumero))
            st.wDayOfWeek = static_cast<uint16_t>(((nNumero + 2) % 7 + 7) % 7);
    }
    if (nFlags & FLAG_REFUSE_IMPOSSIBLE) {
        if (!bLu) return false;
        if (m_bDate) {
            wchar_t szDate[DATE_TAILLE_TEXTE];
            std::swprintf(szDate, DATE_TAILLE_TEXTE, L"%04d%02d%02d", st.wYear % 10000, st.wMonth % 100, st.wDay % 100);
            if (st.wYear == VIDE || st.wMonth == VIDE || st.wDay == VIDE || !bDateValide(szDate)) return false;
        }
        // One above the largest legal value: 24:00 and minute 60 are let through.
        if (st.wHour != VIDE && st.wHour > 24) return false;
        if (st.wMinute != VIDE && st.wMinute > 60) return false;
        if (st.wSecond != VIDE && st.wSecond > 60) return false;
    }
    FormateDate(st, pclSortie, nFlags);
    return true;
}

void CMasqueDateHeure::FormateDate(const _SYSTEMTIME& stHeure, CTString* pclSortie, int nFlags) const noexcept {
    _FormateDateForMaskEx(m_clMasque.pszGet(), stHeure, pclSortie, nFlags);
}

void CMasqueDateHeure::_FormateDateForMaskEx(const wchar_t* pszMasque, const _SYSTEMTIME& st, CTString* pclSortie,
                                             int nFlags) const noexcept {
    if (pclSortie == nullptr) return;
    if (pszMasque == nullptr) pszMasque = L"";
    CTString clNormalise;
    if ((nFlags & FLAG_NORMALISE) && !(m_bNormaliseInutile && pszMasque == m_clMasque.pszGet())) {
        clNormalise.Set(pszMasque);
        clNormalise.Remplace(L"jjjj", L"JJJJ");
        if (!bZonePresent(clNormalise.pszGet(), 7, 10) && !bZonePresent(clNormalise.pszGet(), 6, 9)) {
            clNormalise.Remplace(L"jj", L"JJ");
            clNormalise.Remplace(L"dd", L"DD");
        }
        clNormalise.Remplace(L"mmmm", L"MMMM");
        if (!bZonePresent(clNormalise.pszGet(), 15, 18) && !bZonePresent(clNormalise.pszGet(), 14, 17)) {
            if (!bEstMasqueDateEtHeure()) clNormalise.Remplace(L"mm", L"MM");
            clNormalise.Remplace(L"mmm", L"MMM");
        }
        clNormalise.Remplace(L"aaaa", L"AAAA");
        clNormalise.Remplace(L"aa", L"AA");
        clNormalise.Remplace(L"yyyy", L"YYYY");
        clNormalise.Remplace(L"yy", L"YY");
        pszMasque = clNormalise.pszGet();
    }

    CListeZones clLocale;
    datetime_internal::CSortieMasque clSortie;
    _EcritTexte(*_pclZones(pszMasque, &clLocale), st, &clSortie, nFlags);
    clSortie.VersTString(pclSortie);
}

void CMasqueDateHeure::_EcritTexte(const CListeZones& clZones, const _SYSTEMTIME& st,
                                   datetime_internal::CSortieMasque* pclSortie, int nFlags) const noexcept {
    const bool bSaisie = (nFlags & FLAG_SAISIE) != 0;
    datetime_internal::CSortieMasque& clSortie = *pclSortie;
    auto Nombre = [&](uint16_t wValeur, int nChiffres, int nLargeurVide) {
        if (wValeur == VIDE) clSortie.Repete(L'_', nLargeurVide);
        else clSortie.Nombre(wValeur, nChiffres);
    };
    constexpr int TAILLE_NOM = 64;
    wchar_t szNom[TAILLE_NOM];

    int nIndex = 0;
    for (const STZoneLue& stZone : clZones) {
        const int eType = bSaisie ? eTypeSaisie(clZones, nIndex, stZone) : stZone.eType;
        ++nIndex;
        switch (eType) {
        case ZONE_LITTERAL: clSortie.Ajoute(stZone.cLitteral); break;
        case ZONE_LITTERAL_SAISIE: break;
        case ZONE_J: Nombre(st.wDay, bSaisie ? 2 : 1, 2); break;
        case ZONE_M: Nombre(st.wMonth, bSaisie ? 2 : 1, 2); break;
        case ZONE_JJ: Nombre(st.wDay == VIDE ? VIDE : (st.wDay > 99 ? 99 : st.wDay), 2, 2); break;
        case ZONE_MM: Nombre(st.wMonth == VIDE ? VIDE : (st.wMonth > 99 ? 99 : st.wMonth), 2, 2); break;
        case ZONE_MINUTE: Nombre(st.wMinute == VIDE ? VIDE : (st.wMinute > 99 ? 99 : st.wMinute), 2, 2); break;
        case ZONE_SECONDE: Nombre(st.wSecond == VIDE ? VIDE : (st.wSecond > 99 ? 99 : st.wSecond), 2, 2); break;
        case ZONE_L:
            if (!bSaisie && st.wDayOfWeek <= 6) {
                CTString clLettre;
                Get1ereLettreJourSemaine(st.wDayOfWeek, &clLettre);
                clSortie.Ajoute(clLettre.pszGet());
            }
            break;
        case ZONE_JOUR_ABREGE:
        case ZONE_JOUR_ABREGE_MAJ:
        case ZONE_JOUR_ABREGE_MIN:
        case ZONE_JOUR:
        case ZONE_JOUR_MAJ:
        case ZONE_JOUR_MIN: {
            if (bSaisie || st.wDayOfWeek > 6) break;
            const bool bAbrege = eType <= ZONE_JOUR_ABREGE_MIN;
            int nNomFlags = bAbrege ? NOM_ABREGE : 0;
            if (eType == ZONE_JOUR_ABREGE_MAJ || eType == ZONE_JOUR_MAJ) nNomFlags |= NOM_MAJUSCULE;
            if (eType == ZONE_JOUR_ABREGE_MIN || eType == ZONE_JOUR_MIN) nNomFlags |= NOM_MINUSCULE;
            JourEnLettre(st.wDayOfWeek, nNomFlags, szNom, TAILLE_NOM);
            clSortie.Ajoute(szNom);
            if (bAbrege && (nFlags & FLAG_NORMALISE) && szNom[0] != 0) clSortie.Ajoute(L'.');
            break;
        }
        case ZONE_MOIS_ABREGE:
        case ZONE_MOIS_ABREGE_MAJ:
        case ZONE_MOIS_ABREGE_MIN:
        case ZONE_MOIS:
        case ZONE_MOIS_MAJ:
        case ZONE_MOIS_MIN: {
            if (bSaisie) {
                if (!(stZone.nDrapeaux & STZoneLue::MOIS_NUMERIQUE_APRES)) Nombre(st.wMonth, 2, 2);
                break;
            }
            if (st.wMonth == VIDE) {
                clSortie.Repete(L'_', stZone.nLargeur);
                break;
            }
            const bool bAbrege = eType <= ZONE_MOIS_ABREGE_MIN;
            int nNomFlags = bAbrege ? NOM_ABREGE : 0;
            if (bAbrege && (nFlags & FLAG_MOIS_QUATRE)) nNomFlags |= NOM_QUATRE;
            if (eType == ZONE_MOIS_ABREGE_MAJ || eType == ZONE_MOIS_MAJ) nNomFlags |= NOM_MAJUSCULE;
            if (eType == ZONE_MOIS_ABREGE_MIN || eType == ZONE_MOIS_MIN) nNomFlags |= NOM_MINUSCULE;
            MoisEnLettre(st.wMonth, nNomFlags, szNom, TAILLE_NOM);
            clSortie.Ajoute(szNom);
            if (bAbrege && (nFlags & FLAG_NORMALISE) && szNom[0] != 0) {
                wchar_t szComplet[TAILLE_NOM];
                MoisEnLettre(st.wMonth, 0, szComplet, TAILLE_NOM);
                if (std::wcslen(szNom) < std::wcslen(szComplet)) clSortie.Ajoute(L'.');
            }
            break;
        }
        case ZONE_AA: Nombre(st.wYear == VIDE ? VIDE : static_cast<uint16_t>(st.wYear % 100), 2, 2); break;
        case ZONE_AAAA: Nombre(st.wYear, 4, 4); break;
        case ZONE_HH:
        case ZONE_H: {
            uint16_t wHeure = st.wHour;
            if (wHeure != VIDE && clZones.m_bAMPM) {
                if (wHeure == 0) wHeure = 12;
                else if (wHeure > 12) wHeure = static_cast<uint16_t>(wHeure - 12);
            }
            if (eType == ZONE_HH && wHeure != VIDE && wHeure > 99) wHeure = 99;
            Nombre(wHeure, (eType == ZONE_HH || bSaisie) ? 2 : 1, 2);
            break;
        }
        case ZONE_CC: Nombre(st.wMilliseconds == VIDE ? VIDE : static_cast<uint16_t>(st.wMilliseconds / 10), 2, 2); break;
        case ZONE_CCC: Nombre(st.wMilliseconds, 3, 3); break;
        case ZONE_AMPM:
            if (st.wHour == VIDE) {
                clSortie.Repete(L'_', 2);
            } else {
                CTString clTexte;
                _GetStrAMPM(st.wHour < 12, &clTexte);
                clSortie.Ajoute(clTexte.pszGet());
            }
            break;
        default: break;
        }
    }
}
