// The base-40 text packer: packing with look-ahead for the cheapest charset, and unpacking that
// never reads past its input nor writes past its output.
#include "base/data_compressor.h"

#include <cstring>

namespace {

// Digits: 0-3 shift to a charset for one symbol, 4-7 latch to a charset, 8-39 symbol number
// digit - 8. In charset 3 the digits 38 and 39 are the escapes for raw bytes.
constexpr int CHIFFRE_LATCH = 4;
constexpr int CHIFFRE_SYMBOLE = 8;
constexpr int CHIFFRE_ECHAPPEMENT_UN = 38;
constexpr int CHIFFRE_ECHAPPEMENT_SUITE = 39;
constexpr int BASE = 40;
constexpr int CHARSET_ECHAPPEMENT = 3;
constexpr int AUCUN = 8;  // _nGetBestShift: no charset holds the byte
constexpr int COUT_ABANDONNE = 0x7fffffff;

// A raw run longer than this is cut into several escapes.
constexpr int LONGUEUR_BINAIRE_MAX = 254;
// The raw run stops at this many encodable bytes after the last byte that needs it...
constexpr int ENCODABLES_MAX = 9;
// ...and a single raw byte stands alone once this many encodable bytes follow it.
constexpr int ENCODABLES_APRES_UN = 3;

// Each table is sorted by byte value: the symbol search is a binary search.
constexpr uint8_t gabyCharsets[4][32] = {
    {'\t', '\n', '\r', ' ', ',', '.', 'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J',
     'K',  'L',  'M',  'N', 'O', 'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W', 'X', 'Y', 'Z'},
    {' ', ',', 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n',
     'o', 'p', 'q', 'r', 's', 't', 'u', 'v', 'w', 'x', 'y', 'z', 0xe0, 0xe8, 0xe9, 0xea},
    {' ', '!', '"', '%', '\'', '(', ')', ',', '.', '0', '1', '2', '3', '4', '5', '6',
     '7', '8', '9', '<', '>',  '?', 'X', 'c', 'd', 'f', 'g', 'l', 'p', 's', 'u', 'x'},
    {'#', '$', '&', '*', '+', '-', '/', ':', ';', '=', '@', '[', '\\', ']', '^', '_',
     '{', '|', '}', '~', 0xa0, 0xb0, 0xe2, 0xe7, 0xeb, 0xee, 0xef, 0xf4, 0xf9, 0xfb, 0xfe, 0xff},
};
// Charset 3 lends its last two digits to the escapes: its last two bytes are never symbols.
constexpr int ganNbSymboles[4] = {32, 32, 32, 30};

}  // namespace

int CDataCompressor::_nGetValue(int nCharset, uint8_t byOctet) noexcept {
    const uint8_t* pbyTable = gabyCharsets[nCharset];
    int nBas = 0;
    int nHaut = ganNbSymboles[nCharset] - 1;
    while (nBas <= nHaut) {
        const int nMilieu = (nBas + nHaut) / 2;
        if (pbyTable[nMilieu] < byOctet) nBas = nMilieu + 1;
        else if (pbyTable[nMilieu] > byOctet) nHaut = nMilieu - 1;
        else return nMilieu;
    }
    return -1;
}

bool CDataCompressor::_bEncodable(uint8_t byOctet) noexcept {
    for (int nCharset = 0; nCharset < NB_CHARSETS; ++nCharset)
        if (_nGetValue(nCharset, byOctet) >= 0) return true;
    return false;
}

// ---------------------------------------------------------------- packing

void CDataCompressor::_EcritOctet(uint8_t byOctet) noexcept {
    if (m_nEcrits < m_nTailleSortie) m_pbySortie[m_nEcrits] = byOctet;
    ++m_nEcrits;
}

void CDataCompressor::_Enfile(int nChiffre) noexcept {
    // Room is certain: after each input byte the queue is emptied down to two digits, and one
    // byte queues at most four (latch, escape, two padding digits).
    m_anFile[m_nNbFile++] = nChiffre;
}

void CDataCompressor::_nAddC40Digits() noexcept {
    const int nValeur = m_anFile[0] * BASE * BASE + m_anFile[1] * BASE + m_anFile[2];
    // Both bytes are at least 1: zero stays free to end the stream.
    _EcritOctet(static_cast<uint8_t>(nValeur / 255 + 1));
    _EcritOctet(static_cast<uint8_t>(nValeur % 255 + 1));
    m_nNbFile -= 3;
    memmove(m_anFile, m_anFile + 3, static_cast<size_t>(m_nNbFile) * sizeof m_anFile[0]);
}

void CDataCompressor::_nAddC40DigitsEndOfText() noexcept {
    if (m_nNbFile == 1) {
        _EcritOctet(static_cast<uint8_t>(m_anFile[0] + 1));
        m_nNbFile = 0;
    } else if (m_nNbFile == 2) {
        // A latch to the charset already in force changes nothing when unpacked.
        _Enfile(CHIFFRE_LATCH + m_nCharset);
        _nAddC40Digits();
    }
}

void CDataCompressor::_nEncodeBinary(int nPosition) noexcept {
    if (m_nLongueurBinaire > 1) _EcritOctet(static_cast<uint8_t>(m_nLongueurBinaire));
    for (int i = 0; i < m_nLongueurBinaire; ++i) _EcritOctet(m_pbyEntree[nPosition + i]);
}

int CDataCompressor::_nGetBestCharset(int nPosition, const int* pnCouts) const noexcept {
    int anCouts[NB_CHARSETS];
    memcpy(anCouts, pnCouts, sizeof anCouts);
    for (int nPos = nPosition; nPos < m_nLongueurEntree; ++nPos) {
        const uint8_t byOctet = m_pbyEntree[nPos];
        int nMinimum = COUT_ABANDONNE;
        for (int k = 0; k < NB_CHARSETS; ++k) {
            if (anCouts[k] == COUT_ABANDONNE) continue;
            anCouts[k] += _nGetValue(k, byOctet) >= 0 ? 1 : 2;
            if (anCouts[k] < nMinimum) nMinimum = anCouts[k];
        }
        // A charset that falls behind the cheapest is dropped; the survivors are then all tied,
        // and a lone survivor is strictly the cheapest.
        int nSurvivants = 0;
        int nDernier = 0;
        for (int k = 0; k < NB_CHARSETS; ++k) {
            if (anCouts[k] == COUT_ABANDONNE) continue;
            if (anCouts[k] > nMinimum) {
                anCouts[k] = COUT_ABANDONNE;
            } else {
                ++nSurvivants;
                nDernier = k;
            }
        }
        if (nSurvivants == 1) return nDernier;
    }
    for (int k = 0; k < NB_CHARSETS; ++k)
        if (anCouts[k] != COUT_ABANDONNE) return k;
    return m_nCharset;
}

int CDataCompressor::_nGetBestShift(int nPosition) const noexcept {
    const uint8_t byOctet = m_pbyEntree[nPosition];
    int anCouts[NB_CHARSETS];
    for (int k = 0; k < NB_CHARSETS; ++k)
        anCouts[k] = (k == m_nCharset ? 0 : 1) + (_nGetValue(k, byOctet) >= 0 ? 1 : 2);
    int nCandidat = AUCUN;
    for (int k = 0; k < NB_CHARSETS; ++k) {
        if (k != m_nCharset && anCouts[k] == 2) {
            nCandidat = k;
            break;
        }
    }
    if (nPosition + 1 < m_nLongueurEntree) {
        const int nGagnant = _nGetBestCharset(nPosition + 1, anCouts);
        if (_nGetValue(nGagnant, byOctet) >= 0) return CHIFFRE_LATCH + nGagnant;
    }
    return nCandidat;
}

int CDataCompressor::_nCalculateBinaryLen(int nPosition, int* pnLongueur) const noexcept {
    // The bytes between two that need the escape ride along raw when they are few: the run ends
    // after ENCODABLES_MAX encodable bytes, or after ENCODABLES_APRES_UN when a single byte needs it.
    int nLongueur = 0;
    int nEnAttente = 0;
    int nEncodables = 0;
    for (int nPos = nPosition; nPos < m_nLongueurEntree; ++nPos) {
        ++nEnAttente;
        if (!_bEncodable(m_pbyEntree[nPos])) {
            nLongueur += nEnAttente;
            nEnAttente = 0;
            nEncodables = 0;
            if (nLongueur >= LONGUEUR_BINAIRE_MAX) {
                nLongueur = LONGUEUR_BINAIRE_MAX;
                break;
            }
            continue;
        }
        ++nEncodables;
        if ((nLongueur == 1 && nEncodables == ENCODABLES_APRES_UN) || nEncodables == ENCODABLES_MAX) break;
    }
    *pnLongueur = nLongueur;
    return nLongueur;
}

int CDataCompressor::_nGenerateBitStream() noexcept {
    m_nCharset = 0;
    m_nNbFile = 0;
    m_nLongueurBinaire = 0;
    for (int& nChiffre : m_anFile) nChiffre = -1;
    int nPosition = 0;
    while (nPosition < m_nLongueurEntree) {
        const uint8_t byOctet = m_pbyEntree[nPosition];
        const int nValeur = _nGetValue(m_nCharset, byOctet);
        if (nValeur >= 0) {
            _Enfile(nValeur + CHIFFRE_SYMBOLE);
            ++nPosition;
        } else {
            const int nChoix = _nGetBestShift(nPosition);
            if (nChoix < CHIFFRE_LATCH) {
                _Enfile(nChoix);
                _Enfile(_nGetValue(nChoix, byOctet) + CHIFFRE_SYMBOLE);
                ++nPosition;
            } else if (nChoix < AUCUN) {
                _Enfile(nChoix);
                m_nCharset = nChoix - CHIFFRE_LATCH;
                _Enfile(_nGetValue(m_nCharset, byOctet) + CHIFFRE_SYMBOLE);
                ++nPosition;
            } else {
                if (m_nCharset != CHARSET_ECHAPPEMENT) {
                    _Enfile(CHIFFRE_LATCH + CHARSET_ECHAPPEMENT);
                    m_nCharset = CHARSET_ECHAPPEMENT;
                }
                _nCalculateBinaryLen(nPosition, &m_nLongueurBinaire);
                _Enfile(m_nLongueurBinaire == 1 ? CHIFFRE_ECHAPPEMENT_UN : CHIFFRE_ECHAPPEMENT_SUITE);
                // The escape ends its triple: the raw bytes follow the two bytes of that triple.
                while (m_nNbFile % 3 != 0) _Enfile(CHIFFRE_ECHAPPEMENT_SUITE);
                // The byte itself is not consumed here: it is the first of the raw run.
            }
        }
        while (m_nNbFile >= 3) _nAddC40Digits();
        if (m_nLongueurBinaire > 0) {
            _nEncodeBinary(nPosition);
            nPosition += m_nLongueurBinaire;
            m_nLongueurBinaire = 0;
        }
    }
    _nAddC40DigitsEndOfText();
    const size_t nLongueur = m_nEcrits;
    _EcritOctet(0);
    return static_cast<int>(nLongueur);
}

int CDataCompressor::nCompress(uint8_t* pbySortie, int nTailleSortie, int* pnLongueurSortie, const uint8_t* pbyEntree,
                               int nLongueurEntree) noexcept {
    if (pnLongueurSortie != nullptr) *pnLongueurSortie = 0;
    if (nLongueurEntree == -1) {
        if (pbyEntree == nullptr) return RESULTAT_DONNEES_INVALIDES;
        const size_t nLongueur = strlen(reinterpret_cast<const char*>(pbyEntree));
        // Beyond INT_MAX / 2 the packed length could not be told in an int.
        if (nLongueur > 0x3fffffff) return RESULTAT_DONNEES_INVALIDES;
        nLongueurEntree = static_cast<int>(nLongueur);
    }
    if (nLongueurEntree < 0 || nLongueurEntree > 0x3fffffff || (pbyEntree == nullptr && nLongueurEntree > 0) ||
        nTailleSortie < 0 || (pbySortie == nullptr && nTailleSortie > 0))
        return RESULTAT_DONNEES_INVALIDES;
    m_pbyEntree = pbyEntree;
    m_nLongueurEntree = nLongueurEntree;
    m_pbySortie = pbySortie;
    m_nTailleSortie = static_cast<size_t>(nTailleSortie);
    m_nEcrits = 0;
    const int nLongueur = _nGenerateBitStream();
    if (pnLongueurSortie != nullptr) *pnLongueurSortie = nLongueur;
    if (m_nEcrits > m_nTailleSortie) {
        if (m_nTailleSortie > 0) m_pbySortie[m_nTailleSortie - 1] = 0;
        return RESULTAT_SORTIE_COURTE;
    }
    return RESULTAT_OK;
}

// ---------------------------------------------------------------- unpacking

void CDataCompressor::_EcritSymbole(uint8_t byOctet) noexcept {
    // The last byte of the buffer is kept for the terminator.
    if (m_nEcrits + 1 < m_nTailleSortie) m_pbySortie[m_nEcrits] = byOctet;
    ++m_nEcrits;
}

void CDataCompressor::_AddASCIIDigit(int nChiffre) noexcept {
    if (nChiffre < CHIFFRE_LATCH) {
        m_nShift = nChiffre;
    } else if (nChiffre < CHIFFRE_SYMBOLE) {
        m_nCharset = nChiffre - CHIFFRE_LATCH;
        m_nShift = -1;
    } else {
        const int nActif = m_nShift >= 0 ? m_nShift : m_nCharset;
        _EcritSymbole(gabyCharsets[nActif][nChiffre - CHIFFRE_SYMBOLE]);
        m_nShift = -1;
    }
}

int CDataCompressor::nDeCompress(uint8_t* pbySortie, int* pnLongueur, const uint8_t* pbyEntree,
                                 int nLongueurEntree) noexcept {
    if (pnLongueur == nullptr || *pnLongueur < 0 || (pbySortie == nullptr && *pnLongueur > 0) || nLongueurEntree < 0 ||
        (pbyEntree == nullptr && nLongueurEntree > 0))
        return RESULTAT_DONNEES_INVALIDES;
    m_pbySortie = pbySortie;
    m_nTailleSortie = static_cast<size_t>(*pnLongueur);
    m_nEcrits = 0;
    m_nCharset = 0;
    m_nShift = -1;

    // Applies one digit; answers a result other than RESULTAT_OK to stop.
    int nPosition = 0;
    auto nApplique = [&](int nChiffre, bool* pbFinTriple) -> int {
        const int nActif = m_nShift >= 0 ? m_nShift : m_nCharset;
        if (nActif != CHARSET_ECHAPPEMENT || nChiffre < CHIFFRE_ECHAPPEMENT_UN) {
            _AddASCIIDigit(nChiffre);
            return RESULTAT_OK;
        }
        // An escape: the rest of its triple is padding, the raw bytes follow.
        *pbFinTriple = true;
        m_nShift = -1;
        if (nPosition >= nLongueurEntree) return RESULTAT_ECHAPPEMENT_TRONQUE;
        int nNombre = 1;
        if (nChiffre == CHIFFRE_ECHAPPEMENT_SUITE) nNombre = pbyEntree[nPosition++];
        if (nNombre > nLongueurEntree - nPosition) return RESULTAT_ECHAPPEMENT_TRONQUE;
        for (int i = 0; i < nNombre; ++i) _EcritSymbole(pbyEntree[nPosition++]);
        return RESULTAT_OK;
    };

    int nResultat = RESULTAT_OK;
    while (nResultat == RESULTAT_OK && nLongueurEntree - nPosition >= 2) {
        const uint8_t byPremier = pbyEntree[nPosition];
        const uint8_t bySecond = pbyEntree[nPosition + 1];
        nPosition += 2;
        const int nValeur = (byPremier - 1) * 255 + (bySecond - 1);
        // Zero ends a stream and never stands in a pair; a value past 39,39,39 is no triple.
        if (byPremier == 0 || bySecond == 0 || nValeur >= BASE * BASE * BASE) {
            nResultat = RESULTAT_DONNEES_INVALIDES;
            break;
        }
        const int anChiffres[3] = {nValeur / (BASE * BASE), (nValeur % (BASE * BASE)) / BASE, nValeur % BASE};
        bool bFinTriple = false;
        for (int i = 0; i < 3 && !bFinTriple && nResultat == RESULTAT_OK; ++i)
            nResultat = nApplique(anChiffres[i], &bFinTriple);
    }
    if (nResultat == RESULTAT_OK && nLongueurEntree - nPosition == 1) {
        const uint8_t byDernier = pbyEntree[nPosition++];
        bool bFinTriple = false;
        if (byDernier == 0 || byDernier > BASE) nResultat = RESULTAT_DONNEES_INVALIDES;
        else nResultat = nApplique(byDernier - 1, &bFinTriple);
    }

    *pnLongueur = static_cast<int>(m_nEcrits);
    if (m_nTailleSortie > 0) m_pbySortie[m_nEcrits < m_nTailleSortie ? m_nEcrits : m_nTailleSortie - 1] = 0;
    if (nResultat != RESULTAT_OK) return nResultat;
    return m_nEcrits + 1 > m_nTailleSortie ? RESULTAT_SORTIE_COURTE : RESULTAT_OK;
}
