// Keystrokes in the fixed-width text of an input field: each handler decides whether a digit typed
// at a position of a zone is taken, and how the zone's buffer and the caret move.
#include <cwchar>

#include "datetime/date_mask.h"

namespace {

bool bChiffre(wchar_t c) noexcept { return c >= L'0' && c <= L'9'; }

int nValeur(const wchar_t* psz, int nLargeur) noexcept {
    int n = 0;
    for (int i = 0; i < nLargeur; ++i) n = n * 10 + (bChiffre(psz[i]) ? psz[i] - L'0' : 0);
    return n;
}

void Remplit(wchar_t* pszBuffer, int nDebut, int nLargeur, wchar_t c) noexcept {
    for (int i = nDebut; i < nLargeur; ++i) pszBuffer[i] = c;
}

}  // namespace

int CMasqueDateHeure::eGereSaisieBorne(wchar_t c, int nPosition, wchar_t* pszBuffer, const wchar_t* pszMin,
                                       const wchar_t* pszMax) noexcept {
    if (pszBuffer == nullptr || pszMin == nullptr || pszMax == nullptr || !bChiffre(c)) return CMasqueDateHeure::SAISIE_REFUSE;
    const int nLargeur = static_cast<int>(std::wcslen(pszMin));
    if (nLargeur == 0 || nPosition < 0 || nPosition >= nLargeur || static_cast<int>(std::wcslen(pszMax)) != nLargeur)
        return CMasqueDateHeure::SAISIE_REFUSE;
    if (nPosition == 0) {
        if (c >= pszMin[0] && c <= pszMax[0]) {
            pszBuffer[0] = c;
            Remplit(pszBuffer, 1, nLargeur, L'_');
            return SAISIE_SUIVANT;
        }
        if (nLargeur == 1) return CMasqueDateHeure::SAISIE_REFUSE;
        // A digit too large to lead the zone is read as its second digit.
        pszBuffer[0] = pszMin[0];
        pszBuffer[1] = c;
        Remplit(pszBuffer, 2, nLargeur, L'_');
        return nLargeur == 2 ? CMasqueDateHeure::SAISIE_COMPLET : SAISIE_DEUX;
    }
    const wchar_t cAvant = pszBuffer[nPosition];
    pszBuffer[nPosition] = c;
    Remplit(pszBuffer, nPosition + 1, nLargeur, L'0');
    if (nValeur(pszBuffer, nLargeur) > nValeur(pszMax, nLargeur)) {
        pszBuffer[nPosition] = cAvant;
        Remplit(pszBuffer, nPosition + 1, nLargeur, L'_');
        return CMasqueDateHeure::SAISIE_REFUSE;
    }
    Remplit(pszBuffer, nPosition + 1, nLargeur, L'_');
    return nPosition == nLargeur - 1 ? CMasqueDateHeure::SAISIE_COMPLET : SAISIE_SUIVANT;
}

// A two-digit field from 1 to nMaximum: a first digit above cPremierMaximum can only be the units,
// so it completes the field with a leading zero; otherwise the second digit is awaited.
static int eGereSaisieDeuxChiffres(wchar_t c, int nPosition, wchar_t* pszBuffer, wchar_t cPremierMaximum,
                                   int nMaximum) noexcept {
    if (pszBuffer == nullptr || !bChiffre(c)) return CMasqueDateHeure::SAISIE_REFUSE;
    if (nPosition == 0) {
        if (c <= cPremierMaximum) {
            pszBuffer[0] = c;
            pszBuffer[1] = L'_';
            return CMasqueDateHeure::SAISIE_DERNIER;
        }
        pszBuffer[0] = L'0';
        pszBuffer[1] = c;
        return CMasqueDateHeure::SAISIE_COMPLET;
    }
    if (nPosition != 1 || !bChiffre(pszBuffer[0])) return CMasqueDateHeure::SAISIE_REFUSE;
    const int nValeur = (pszBuffer[0] - L'0') * 10 + (c - L'0');
    if (nValeur < 1 || nValeur > nMaximum) return CMasqueDateHeure::SAISIE_REFUSE;
    pszBuffer[1] = c;
    return CMasqueDateHeure::SAISIE_COMPLET;
}

int CMasqueDateHeure::eGereSaisieJour(wchar_t c, int nPosition, wchar_t* pszBuffer, int) const noexcept {
    return eGereSaisieDeuxChiffres(c, nPosition, pszBuffer, L'3', 31);
}

int CMasqueDateHeure::eGereSaisieHeure(wchar_t c, int nPosition, wchar_t* pszBuffer, int eType) const noexcept {
    const bool bAMPM = s_bZoneAMPMPresente(m_clMasque.pszGet());
    if (!bAMPM) return eGereSaisieBorne(c, nPosition, pszBuffer, L"00", L"23");
    if (eType != ZONE_H) return eGereSaisieBorne(c, nPosition, pszBuffer, L"01", L"12");
    return eGereSaisieDeuxChiffres(c, nPosition, pszBuffer, L'1', 12);
}

int CMasqueDateHeure::eGereSaisieAnnee(wchar_t c, int nPosition, wchar_t* pszBuffer, int) const noexcept {
    if (pszBuffer == nullptr || !bChiffre(c)) return CMasqueDateHeure::SAISIE_REFUSE;
    if (m_nAnneeMin < 1000 || m_nAnneeMax > 2999) {
        wchar_t szMin[8], szMax[8];
        std::swprintf(szMin, 8, L"%04d", m_nAnneeMin < 0 ? 0 : m_nAnneeMin % 10000);
        std::swprintf(szMax, 8, L"%04d", m_nAnneeMax < 0 ? 0 : (m_nAnneeMax > 9999 ? 9999 : m_nAnneeMax));
        return eGereSaisieBorne(c, nPosition, pszBuffer, szMin, szMax);
    }
    if (nPosition == 0) {
        if (c == L'0') {
            // "0" starts the years 2000 to 2009.
            pszBuffer[0] = L'2';
            pszBuffer[1] = L'0';
            pszBuffer[2] = L'0';
            pszBuffer[3] = L'_';
            return CMasqueDateHeure::SAISIE_DERNIER;
        }
        if (c <= L'2') {
            pszBuffer[0] = c;
            Remplit(pszBuffer, 1, 4, L'_');
            return SAISIE_SUIVANT;
        }
        pszBuffer[0] = L'1';
        pszBuffer[1] = L'9';
        pszBuffer[2] = c;
        pszBuffer[3] = L'_';
        return CMasqueDateHeure::SAISIE_DERNIER;
    }
    if (nPosition < 0 || nPosition > 3) return CMasqueDateHeure::SAISIE_REFUSE;
    pszBuffer[nPosition] = c;
    return nPosition == 3 ? CMasqueDateHeure::SAISIE_COMPLET : SAISIE_SUIVANT;
}

int CMasqueDateHeure::eGereSaisieAnneeSur2(wchar_t c, int nPosition, wchar_t* pszBuffer, int) const noexcept {
    return eGereSaisieBorne(c, nPosition, pszBuffer, L"00", L"99");
}

int CMasqueDateHeure::eGereSaisieMinuteSeconde(wchar_t c, int nPosition, wchar_t* pszBuffer, int) const noexcept {
    return eGereSaisieBorne(c, nPosition, pszBuffer, L"00", L"59");
}

int CMasqueDateHeure::eGereSaisieCentiemeDeSeconde(wchar_t c, int nPosition, wchar_t* pszBuffer, int) const noexcept {
    return eGereSaisieBorne(c, nPosition, pszBuffer, L"00", L"99");
}

int CMasqueDateHeure::eGereSaisieMilliemeDeSeconde(wchar_t c, int nPosition, wchar_t* pszBuffer, int) const noexcept {
    return eGereSaisieBorne(c, nPosition, pszBuffer, L"000", L"999");
}
