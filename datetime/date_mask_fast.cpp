// The direct path of date-time masks made of numbers and literals: their compiled form, and the
// display and reading that use it when both the mask and the text allow, with the same results as
// the general path (which every other case takes).
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "datetime/date_mask.h"
#include "datetime/internal/mask_fast.h"

namespace {
constexpr uint16_t VIDE = 65535;  // a field without a value
}  // namespace

namespace datetime_internal {

namespace {

using M = CMasqueDateHeure;

// At least nChiffres digits, zeros in front; a 16-bit value never needs more than five.
wchar_t* EcritNombre(wchar_t* p, unsigned int nValeur, int nChiffres) noexcept {
    wchar_t szChiffres[8];
    int n = 0;
    do {
        szChiffres[n++] = static_cast<wchar_t>(L'0' + nValeur % 10);
        nValeur /= 10;
    } while (nValeur != 0 && n < 8);
    while (n < nChiffres) *p++ = L'0', --nChiffres;
    while (n > 0) *p++ = szChiffres[--n];
    return p;
}

// A field as the general display writes it: underscores for a field without a value. The usual
// widths, two digits and a four-digit year, are written straight in.
inline __attribute__((always_inline)) wchar_t* EcritChamp(wchar_t* p, uint16_t wValeur, int nChiffres,
                                                          int nLargeurVide) noexcept {
    if (wValeur == VIDE) {
        for (int i = 0; i < nLargeurVide; ++i) *p++ = L'_';
        return p;
    }
    if (nChiffres == 2 && wValeur < 100) {
        p[0] = static_cast<wchar_t>(L'0' + wValeur / 10);
        p[1] = static_cast<wchar_t>(L'0' + wValeur % 10);
        return p + 2;
    }
    if (nChiffres == 4 && wValeur < 10000) {
        p[0] = static_cast<wchar_t>(L'0' + wValeur / 1000);
        p[1] = static_cast<wchar_t>(L'0' + wValeur / 100 % 10);
        p[2] = static_cast<wchar_t>(L'0' + wValeur / 10 % 10);
        p[3] = static_cast<wchar_t>(L'0' + wValeur % 10);
        return p + 4;
    }
    return EcritNombre(p, wValeur, nChiffres);
}

uint16_t wPlafond99(uint16_t w) noexcept { return w == VIDE ? VIDE : (w > 99 ? uint16_t{99} : w); }

// The fields of the record, by their place in it: read with one load, no table between.
enum : uint8_t {
    CHAMP_ANNEE = offsetof(_SYSTEMTIME, wYear),
    CHAMP_MOIS = offsetof(_SYSTEMTIME, wMonth),
    CHAMP_JOUR = offsetof(_SYSTEMTIME, wDay),
    CHAMP_HEURE = offsetof(_SYSTEMTIME, wHour),
    CHAMP_MINUTE = offsetof(_SYSTEMTIME, wMinute),
    CHAMP_SECONDE = offsetof(_SYSTEMTIME, wSecond),
    CHAMP_MILLIEME = offsetof(_SYSTEMTIME, wMilliseconds),
};

inline unsigned int nChamp(const _SYSTEMTIME& st, uint8_t nPlace) noexcept {
    uint16_t w;
    std::memcpy(&w, reinterpret_cast<const unsigned char*>(&st) + nPlace, sizeof w);
    return w;
}

// How a field of fixed width is written: two digits capped at 99, the two last digits of the
// year, four digits, hundredths, thousandths.
enum : uint8_t { FORME_DEUX, FORME_AA, FORME_QUATRE, FORME_CC, FORME_CCC };

// What the direct path makes of each kind of zone, read from one table when a mask is compiled.
struct STGenreZone {
    bool bEcriture;    // written by the direct path
    bool bLecture;     // read by it: the one-digit day, month and hour are left to the general reader
    uint8_t nLargeur;  // fixed width of the field, 0 for none (and for literals)
    uint8_t nChamp;
    uint8_t eForme;
};
constexpr auto gtabGenres = [] {
    std::array<STGenreZone, 32> tab{};
    tab[M::ZONE_LITTERAL] = {true, true, 0, 0, 0};
    tab[M::ZONE_J] = {true, false, 0, 0, 0};
    tab[M::ZONE_M] = {true, false, 0, 0, 0};
    tab[M::ZONE_H] = {true, false, 0, 0, 0};
    tab[M::ZONE_JJ] = {true, true, 2, CHAMP_JOUR, FORME_DEUX};
    tab[M::ZONE_MM] = {true, true, 2, CHAMP_MOIS, FORME_DEUX};
    tab[M::ZONE_AA] = {true, true, 2, CHAMP_ANNEE, FORME_AA};
    tab[M::ZONE_AAAA] = {true, true, 4, CHAMP_ANNEE, FORME_QUATRE};
    tab[M::ZONE_HH] = {true, true, 2, CHAMP_HEURE, FORME_DEUX};
    tab[M::ZONE_MINUTE] = {true, true, 2, CHAMP_MINUTE, FORME_DEUX};
    tab[M::ZONE_SECONDE] = {true, true, 2, CHAMP_SECONDE, FORME_DEUX};
    tab[M::ZONE_CC] = {true, true, 2, CHAMP_MILLIEME, FORME_CC};
    tab[M::ZONE_CCC] = {true, true, 3, CHAMP_MILLIEME, FORME_CCC};
    return tab;
}();

inline void DeuxChiffres(wchar_t* p, unsigned int n) noexcept {
    p[0] = static_cast<wchar_t>(L'0' + n / 10);
    p[1] = static_cast<wchar_t>(L'0' + n % 10);
}

}  // namespace

void CFormeRapide::Compile(const CListeZones& clZones) noexcept {
    m_nPas = 0;
    m_nChamps = 0;
    m_nGabarit = m_nGabaritDate = -1;
    m_bEcriture = m_bLecture = false;
    m_bAMPM = clZones.m_bAMPM;
    if (clZones.bEchec() || clZones.nNombre() == 0 || clZones.nNombre() > NB_ZONES_MAX) return;
    // One pass: the steps, whether each direction applies, and the pattern while every zone so
    // far is a literal or a field of fixed width (hours on twelve are not: 0 shows as 12).
    bool bEcriture = true;
    bool bLecture = !m_bAMPM;
    bool bGabarit = true;
    bool bDateSeule = true;
    int nPosition = 0;
    for (const STZoneLue& stZone : clZones) {
        const STGenreZone stGenre = stZone.eType < gtabGenres.size() ? gtabGenres[stZone.eType] : STGenreZone{};
        bEcriture = bEcriture && stGenre.bEcriture;
        bLecture = bLecture && stGenre.bLecture;
        STPas& stPas = m_tabPas[m_nPas++];
        stPas.eType = stZone.eType;
        stPas.nLargeur = stZone.nLargeur;
        stPas.bDerniere = (stZone.nDrapeaux & STZoneLue::DERNIERE) != 0;
        stPas.cLitteral = stZone.cLitteral;
        if (!bGabarit) continue;
        if (stZone.eType == M::ZONE_LITTERAL) {
            m_szGabarit[nPosition++] = stZone.cLitteral;
        } else if (stGenre.nLargeur == 0 || (m_bAMPM && stZone.eType == M::ZONE_HH)) {
            bGabarit = false;
        } else {
            m_tabChamps[m_nChamps++] = {static_cast<uint8_t>(nPosition), stGenre.nChamp, stGenre.eForme};
            for (int k = 0; k < stGenre.nLargeur; ++k) m_szGabarit[nPosition++] = L'0';
            bDateSeule = bDateSeule && (stGenre.nChamp == CHAMP_ANNEE || stGenre.nChamp == CHAMP_MOIS ||
                                        stGenre.nChamp == CHAMP_JOUR);
        }
    }
    m_bEcriture = bEcriture;
    m_bLecture = bLecture && bEcriture;
    if (!bEcriture || !bGabarit) {
        m_nChamps = 0;
        return;
    }
    m_nGabarit = nPosition;
    if (bDateSeule) m_nGabaritDate = m_nGabarit;
}

int CFormeRapide::nLongueurFixe(const _SYSTEMTIME& st) const noexcept {
    if (m_nGabarit < 0) return -1;
    for (int i = 0; i < m_nChamps; ++i) {
        const unsigned int n = nChamp(st, m_tabChamps[i].nChamp);
        switch (m_tabChamps[i].eForme) {
        case FORME_QUATRE:
            if (n > 9999) return -1;
            break;
        case FORME_CC:
        case FORME_CCC:
            if (n > 999) return -1;
            break;
        default:
            if (n == VIDE) return -1;
            break;
        }
    }
    return m_nGabarit;
}

void CFormeRapide::EcritFixe(const _SYSTEMTIME& st, wchar_t* pszSortie) const noexcept {
    // The pattern two characters at a time, then the odd one.
    int i = 0;
    for (; i + 2 <= m_nGabarit; i += 2) std::memcpy(pszSortie + i, m_szGabarit + i, 2 * sizeof(wchar_t));
    if (i < m_nGabarit) pszSortie[i] = m_szGabarit[i];
    // Plain tests rather than a jump: the forms come in a few usual orders, which a conditional
    // branch learns better.
    for (int i = 0; i < m_nChamps; ++i) {
        const STChamp& stChamp = m_tabChamps[i];
        wchar_t* p = pszSortie + stChamp.nPosition;
        const unsigned int n = nChamp(st, stChamp.nChamp);
        if (stChamp.eForme == FORME_DEUX) {
            DeuxChiffres(p, n > 99 ? 99U : n);
        } else if (stChamp.eForme == FORME_QUATRE) {
            DeuxChiffres(p, n / 100);
            DeuxChiffres(p + 2, n % 100);
        } else if (stChamp.eForme == FORME_AA) {
            DeuxChiffres(p, n % 100);
        } else if (stChamp.eForme == FORME_CC) {
            DeuxChiffres(p, n / 10);
        } else {
            p[0] = static_cast<wchar_t>(L'0' + n / 100);
            DeuxChiffres(p + 1, n % 100);
        }
    }
}

bool CFormeRapide::bEstAnneeMoisJour() const noexcept {
    return m_bLecture && m_nPas == 3 && m_tabPas[0].eType == M::ZONE_AAAA && m_tabPas[1].eType == M::ZONE_MM &&
           m_tabPas[2].eType == M::ZONE_JJ;
}

size_t CFormeRapide::nEcrit(const _SYSTEMTIME& st, wchar_t* pszSortie) const noexcept {
    const int nFixe = nLongueurFixe(st);
    if (nFixe >= 0) {
        EcritFixe(st, pszSortie);
        return static_cast<size_t>(nFixe);
    }
    wchar_t* p = pszSortie;
    for (int i = 0; i < m_nPas; ++i) {
        const STPas& stPas = m_tabPas[i];
        switch (stPas.eType) {
        case M::ZONE_LITTERAL: *p++ = stPas.cLitteral; break;
        case M::ZONE_J: p = EcritChamp(p, st.wDay, 1, 2); break;
        case M::ZONE_M: p = EcritChamp(p, st.wMonth, 1, 2); break;
        case M::ZONE_JJ: p = EcritChamp(p, wPlafond99(st.wDay), 2, 2); break;
        case M::ZONE_MM: p = EcritChamp(p, wPlafond99(st.wMonth), 2, 2); break;
        case M::ZONE_MINUTE: p = EcritChamp(p, wPlafond99(st.wMinute), 2, 2); break;
        case M::ZONE_SECONDE: p = EcritChamp(p, wPlafond99(st.wSecond), 2, 2); break;
        case M::ZONE_AA: p = EcritChamp(p, st.wYear == VIDE ? VIDE : static_cast<uint16_t>(st.wYear % 100), 2, 2); break;
        case M::ZONE_AAAA: p = EcritChamp(p, st.wYear, 4, 4); break;
        case M::ZONE_HH:
        case M::ZONE_H: {
            uint16_t wHeure = st.wHour;
            if (wHeure != VIDE && m_bAMPM) {
                if (wHeure == 0) wHeure = 12;
                else if (wHeure > 12) wHeure = static_cast<uint16_t>(wHeure - 12);
            }
            if (stPas.eType == M::ZONE_HH) p = EcritChamp(p, wPlafond99(wHeure), 2, 2);
            else p = EcritChamp(p, wHeure, 1, 2);
            break;
        }
        case M::ZONE_CC:
            p = EcritChamp(p, st.wMilliseconds == VIDE ? VIDE : static_cast<uint16_t>(st.wMilliseconds / 10), 2, 2);
            break;
        case M::ZONE_CCC: p = EcritChamp(p, st.wMilliseconds, 3, 3); break;
        default: break;
        }
    }
    return static_cast<size_t>(p - pszSortie);
}

bool CFormeRapide::bLit(const wchar_t* pszTexte, int nFlags, _SYSTEMTIME* pst) const noexcept {
    // Positions advance zone by zone and every check fails on the terminator (no digit, no
    // literal), so the text is never read past its end.
    const wchar_t* p = pszTexte;
    for (int i = 0; i < m_nPas; ++i) {
        const STPas& stPas = m_tabPas[i];
        if (stPas.eType == M::ZONE_LITTERAL) {
            if (*p != stPas.cLitteral) return false;
            ++p;
            continue;
        }
        int nValeur = 0;
        for (int k = 0; k < stPas.nLargeur; ++k) {
            const wchar_t c = p[k];
            if (c < L'0' || c > L'9') return false;
            nValeur = nValeur * 10 + (c - L'0');
        }
        p += stPas.nLargeur;
        const uint16_t wValeur = static_cast<uint16_t>(nValeur);
        switch (stPas.eType) {
        case M::ZONE_JJ: pst->wDay = wValeur; break;
        case M::ZONE_MM: pst->wMonth = wValeur; break;
        case M::ZONE_AA:
            // A strict reading refuses text after a final two-digit year: the general reader says so.
            if ((nFlags & M::FLAG_STRICT) && stPas.bDerniere && *p != 0) return false;
            if (nFlags & M::FLAG_PIVOT) nValeur += nValeur < 51 ? 2000 : 1900;
            else nValeur += gnSiecle * 100;
            pst->wYear = static_cast<uint16_t>(nValeur < VIDE ? nValeur : VIDE - 1);
            break;
        case M::ZONE_AAAA: pst->wYear = wValeur; break;
        case M::ZONE_HH: pst->wHour = wValeur; break;
        case M::ZONE_MINUTE: pst->wMinute = wValeur; break;
        case M::ZONE_SECONDE: pst->wSecond = wValeur; break;
        case M::ZONE_CC: pst->wMilliseconds = static_cast<uint16_t>(nValeur * 10); break;
        case M::ZONE_CCC: pst->wMilliseconds = wValeur; break;
        default: break;
        }
    }
    return true;
}

}  // namespace datetime_internal

// ------------------------------------------------------------------------------ the direct path

int CMasqueDateHeure::nFormateRapide(const wchar_t* pszTexte, wchar_t* pszSortie, int nFlags) const noexcept {
    if (pszTexte == nullptr || pszSortie == nullptr) return -1;
    if ((nFlags & (FLAG_SAISIE | FLAG_REFUSE_IMPOSSIBLE)) != 0) return -1;
    if ((nFlags & FLAG_NORMALISE) && !m_bNormaliseInutile) return -1;
    if (!m_clRapideMasque.bEcriture()) return -1;
    const datetime_internal::CFormeRapide& clForme = m_clFormeInterne.bEstVide() ? m_clRapideMasque : *m_pclRapideInterne;
    if (!clForme.bLecture()) return -1;
    _SYSTEMTIME st;
    RazSYSTEMTIME(&st);
    if (!clForme.bLit(pszTexte, 0, &st)) return -1;
    _FinLecture(&st, false);
    // As the general display: a value without day nor month has no year either. The day of the
    // week it would compute shows in no zone of such a mask.
    if (st.wDay == VIDE && st.wMonth == VIDE && st.wYear == 0) st.wYear = VIDE;
    return static_cast<int>(m_clRapideMasque.nEcrit(st, pszSortie));
}

bool CMasqueDateHeure::_bDateRapide(int nAnnee, int nMois, int nJour, int nFlags, _SYSTEMTIME* pst) const noexcept {
    if (nAnnee < 1 || nAnnee > 9999 || nMois < 1 || nMois > 12 || nJour < 1 || nJour > 31) return false;
    if ((nFlags & (FLAG_SAISIE | FLAG_REFUSE_IMPOSSIBLE)) != 0) return false;
    if ((nFlags & FLAG_NORMALISE) && !m_bNormaliseInutile) return false;
    if (!m_clRapideMasque.bEcriture() || m_clFormeInterne.bEstVide() || !m_pclRapideInterne->bEstAnneeMoisJour()) return false;
    // What reading the eight digits would give: no field zero, so nothing for _FinLecture to
    // complete, and no time.
    *pst = _SYSTEMTIME{static_cast<uint16_t>(nAnnee), static_cast<uint16_t>(nMois), VIDE, static_cast<uint16_t>(nJour),
                       VIDE, VIDE, VIDE, VIDE};
    return true;
}

int CMasqueDateHeure::nFormateDateRapide(int nAnnee, int nMois, int nJour, wchar_t* pszSortie, int nFlags) const noexcept {
    _SYSTEMTIME st;
    if (pszSortie == nullptr || !_bDateRapide(nAnnee, nMois, nJour, nFlags, &st)) return -1;
    return static_cast<int>(m_clRapideMasque.nEcrit(st, pszSortie));
}

bool CMasqueDateHeure::bFormateDateRapide(int nAnnee, int nMois, int nJour, CXYString<wchar_t>* pclSortie,
                                          int nFlags) const noexcept {
    // Day, month and year of a valid date fit their fixed widths: no field needs a look.
    const int n = m_nLongueurDateFixe;
    _SYSTEMTIME st;
    if (n <= 0 || pclSortie == nullptr || !_bDateRapide(nAnnee, nMois, nJour, nFlags, &st)) return false;
    wchar_t* psz = pclSortie->pszGetBuffer(n);
    if (psz == nullptr) return false;
    m_clRapideMasque.EcritFixe(st, psz);
    return true;
}

int CMasqueDateHeure::nDeformateRapide(const wchar_t* pszTexte, wchar_t* pszSortie, int nFlags) const noexcept {
    if (pszTexte == nullptr || pszSortie == nullptr || (nFlags & FLAG_SAISIE) != 0) return -1;
    if (!m_clRapideMasque.bLecture() || !m_pclRapideInterne->bEcriture()) return -1;
    _SYSTEMTIME st;
    RazSYSTEMTIME(&st);
    if (!m_clRapideMasque.bLit(pszTexte, nFlags, &st)) return -1;
    _FinLecture(&st, false);
    const bool bHeure = !m_bDate && !bEstMasqueDateEtHeure();
    if (bHeure ? !s_bCompleteHeure(&st) : !_bCompleteDate(&st)) return 0;
    const size_t n = m_pclRapideInterne->nEcrit(st, pszSortie);
    const size_t nMax = bHeure ? LONGUEUR_HEURE_INTERNE : LONGUEUR_DATE_INTERNE;
    return static_cast<int>(n < nMax ? n : nMax);
}
