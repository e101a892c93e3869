// The text a mask writes, built in a buffer on the stack that moves to the heap only for long
// output, then handed to a CTString in one allocation. Memory that fails truncates the text.
#pragma once

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/tstring.h"

namespace datetime_internal {

class CSortieMasque {
public:
    CSortieMasque() noexcept = default;
    CSortieMasque(const CSortieMasque&) = delete;
    CSortieMasque& operator=(const CSortieMasque&) = delete;
    ~CSortieMasque() {
        if (m_pszTas != nullptr) std::free(m_pszTas);
    }

    void Ajoute(wchar_t c) noexcept {
        if (!bPlace(1)) return;
        pszTexte()[m_nLongueur++] = c;
    }
    void Ajoute(const wchar_t* psz) noexcept {
        if (psz == nullptr) return;
        const size_t n = std::wcslen(psz);
        if (!bPlace(n)) return;
        std::wmemcpy(pszTexte() + m_nLongueur, psz, n);
        m_nLongueur += n;
    }
    void Repete(wchar_t c, int nFois) noexcept {
        for (int i = 0; i < nFois; ++i) Ajoute(c);
    }
    // A non-negative number on at least nChiffres digits, zeros in front.
    void Nombre(unsigned int nValeur, int nChiffres) noexcept {
        // The usual fields: two digits, or a four-digit year, written straight in.
        if (nValeur < 100 && nChiffres == 2) {
            if (!bPlace(2)) return;
            wchar_t* p = pszTexte() + m_nLongueur;
            p[0] = static_cast<wchar_t>(L'0' + nValeur / 10);
            p[1] = static_cast<wchar_t>(L'0' + nValeur % 10);
            m_nLongueur += 2;
            return;
        }
        if (nValeur >= 1000 && nValeur < 10000 && nChiffres == 4) {
            if (!bPlace(4)) return;
            wchar_t* p = pszTexte() + m_nLongueur;
            p[0] = static_cast<wchar_t>(L'0' + nValeur / 1000);
            p[1] = static_cast<wchar_t>(L'0' + nValeur / 100 % 10);
            p[2] = static_cast<wchar_t>(L'0' + nValeur / 10 % 10);
            p[3] = static_cast<wchar_t>(L'0' + nValeur % 10);
            m_nLongueur += 4;
            return;
        }
        wchar_t szChiffres[12];
        int n = 0;
        do {
            szChiffres[n++] = static_cast<wchar_t>(L'0' + nValeur % 10);
            nValeur /= 10;
        } while (nValeur != 0 && n < 12);
        while (n < nChiffres && n < 12) szChiffres[n++] = L'0';
        if (!bPlace(static_cast<size_t>(n))) return;
        wchar_t* p = pszTexte() + m_nLongueur;
        for (int i = 0; i < n; ++i) p[i] = szChiffres[n - 1 - i];
        m_nLongueur += static_cast<size_t>(n);
    }
    // Keeps the first nLongueur characters.
    void Tronque(size_t nLongueur) noexcept {
        if (nLongueur < m_nLongueur) m_nLongueur = nLongueur;
    }
    void VersTString(CTString* pclSortie) const noexcept { pclSortie->Set(pszTexte(), static_cast<int>(m_nLongueur)); }
    size_t nLongueur() const noexcept { return m_nLongueur; }

private:
    wchar_t* pszTexte() noexcept { return m_pszTas != nullptr ? m_pszTas : m_szPile; }
    const wchar_t* pszTexte() const noexcept { return m_pszTas != nullptr ? m_pszTas : m_szPile; }
    bool bPlace(size_t nAjout) noexcept {
        if (m_bEchec) return false;
        if (m_nLongueur + nAjout <= m_nCapacite) return true;
        size_t nCapacite = m_nCapacite * 2;
        while (nCapacite < m_nLongueur + nAjout) nCapacite *= 2;
        auto* pszNouveau = static_cast<wchar_t*>(std::malloc(nCapacite * sizeof(wchar_t)));
        if (pszNouveau == nullptr) {
            m_bEchec = true;
            return false;
        }
        std::wmemcpy(pszNouveau, pszTexte(), m_nLongueur);
        if (m_pszTas != nullptr) std::free(m_pszTas);
        m_pszTas = pszNouveau;
        m_nCapacite = nCapacite;
        return true;
    }

    static constexpr size_t TAILLE_PILE = 128;
    wchar_t m_szPile[TAILLE_PILE];
    wchar_t* m_pszTas = nullptr;
    size_t m_nLongueur = 0;
    size_t m_nCapacite = TAILLE_PILE;
    bool m_bEchec = false;
};

}  // namespace datetime_internal
