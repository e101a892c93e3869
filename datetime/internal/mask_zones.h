// The zones of a mask read once into a list, so that a conversion walks an array instead of
// reading the mask's letters again; and the short texts a mask keeps, held inside the mask object
// so that building one costs no allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

namespace datetime_internal {

// One zone of a mask, with what the conversions would otherwise have to look ahead for.
struct STZoneLue {
    enum : uint8_t {
        DERNIERE = 1,              // nothing follows it in the mask
        MOIS_NUMERIQUE_APRES = 2,  // a numeric month zone follows it somewhere
    };
    uint8_t eType;
    uint8_t nLargeur;
    uint8_t nDrapeaux;
    wchar_t cLitteral;  // the character a literal stands for
    wchar_t cSuivant;   // the character after the zone, a backslash skipped; 0 at the end
};

// The zones of one mask in order. Short masks stay inside the object; a long one moves to the
// heap, and when that fails the list is marked broken and holds nothing.
class CListeZones {
public:
    CListeZones() noexcept = default;
    CListeZones(const CListeZones&) = delete;
    CListeZones& operator=(const CListeZones&) = delete;
    ~CListeZones() {
        if (m_ptabTas != nullptr) std::free(m_ptabTas);
    }

    void Vide() noexcept {
        m_nNombre = 0;
        m_nPremierActif = m_nDernierActif = -1;
        m_dwTypes = 0;
        m_nLongueurMasque = 0;
        m_bAMPM = false;
        m_bEchec = false;
    }
    bool bAjoute(const STZoneLue& stZone) noexcept {
        if (m_bEchec) return false;
        if (m_nNombre == m_nCapacite && !bAgrandit()) {
            m_bEchec = true;
            m_nNombre = 0;
            return false;
        }
        ptab()[m_nNombre++] = stZone;
        return true;
    }

    // The zones of another reading, in one go; the caller fills the rest.
    bool bRemplit(const STZoneLue* ptabZones, int nNombre) noexcept {
        Vide();
        while (m_nCapacite < nNombre)
            if (!bAgrandit()) {
                m_bEchec = true;
                return false;
            }
        for (int i = 0; i < nNombre; ++i) ptab()[i] = ptabZones[i];
        m_nNombre = nNombre;
        return true;
    }

    const STZoneLue* begin() const noexcept { return ptab(); }
    const STZoneLue* end() const noexcept { return ptab() + m_nNombre; }
    STZoneLue* ptabModifiable() noexcept { return ptab(); }
    int nNombre() const noexcept { return m_nNombre; }
    bool bEchec() const noexcept { return m_bEchec; }

    // Filled by whoever reads the mask, once the zones are in.
    int m_nPremierActif = -1;       // index of the first active zone, -1 without one
    int m_nDernierActif = -1;
    uint32_t m_dwTypes = 0;         // bit n: a zone of type n is in the list
    size_t m_nLongueurMasque = 0;   // characters of the mask
    bool m_bAMPM = false;           // the mask holds an AM/PM marker

    bool bContientType(int eType) const noexcept {
        return eType >= 0 && eType < 32 && ((m_dwTypes >> eType) & 1U) != 0;
    }

private:
    static constexpr int CAPACITE_INTERNE = 16;

    STZoneLue* ptab() noexcept { return m_ptabTas != nullptr ? m_ptabTas : m_tabInterne; }
    const STZoneLue* ptab() const noexcept { return m_ptabTas != nullptr ? m_ptabTas : m_tabInterne; }
    bool bAgrandit() noexcept {
        const int nCapacite = m_nCapacite * 2;
        auto* ptabNouveau = static_cast<STZoneLue*>(std::malloc(static_cast<size_t>(nCapacite) * sizeof(STZoneLue)));
        if (ptabNouveau == nullptr) return false;
        for (int i = 0; i < m_nNombre; ++i) ptabNouveau[i] = ptab()[i];
        std::free(m_ptabTas);
        m_ptabTas = ptabNouveau;
        m_nCapacite = nCapacite;
        return true;
    }

    STZoneLue m_tabInterne[CAPACITE_INTERNE];
    STZoneLue* m_ptabTas = nullptr;
    int m_nNombre = 0;
    int m_nCapacite = CAPACITE_INTERNE;
    bool m_bEchec = false;
};

// A text owned by a mask: inside the object up to a few dozen characters, on the heap beyond.
// A null text is the empty text; memory that fails leaves the text as it was.
class CTexteMasque {
public:
    CTexteMasque() noexcept { m_szInterne[0] = 0; }
    CTexteMasque(const CTexteMasque&) = delete;
    CTexteMasque& operator=(const CTexteMasque&) = delete;
    ~CTexteMasque() {
        if (m_pszTas != nullptr) std::free(m_pszTas);
    }

    bool Set(const wchar_t* pszTexte) noexcept {
        if (pszTexte == pszGet()) return true;
        if (pszTexte == nullptr) pszTexte = L"";
        // Most masks fit inside: measure them without a call.
        size_t n = 0;
        while (n < TAILLE_INTERNE && pszTexte[n] != 0) ++n;
        if (n == TAILLE_INTERNE) n += std::wcslen(pszTexte + n);
        return Set(pszTexte, n);
    }
    // A text of nLongueur characters whose length the caller knows.
    bool Set(const wchar_t* pszTexte, size_t nLongueur) noexcept {
        if (nLongueur < TAILLE_INTERNE) {
            // The text may lie in our own heap block: copy before letting it go. Forwards is
            // also safe when it is the end of our own inside text.
            for (size_t i = 0; i < nLongueur; ++i) m_szInterne[i] = pszTexte[i];
            m_szInterne[nLongueur] = 0;
            if (m_pszTas != nullptr) std::free(m_pszTas);
            m_pszTas = nullptr;
        } else {
            auto* pszNouveau = static_cast<wchar_t*>(std::malloc((nLongueur + 1) * sizeof(wchar_t)));
            if (pszNouveau == nullptr) return false;
            std::wmemcpy(pszNouveau, pszTexte, nLongueur);
            pszNouveau[nLongueur] = 0;
            std::free(m_pszTas);
            m_pszTas = pszNouveau;
        }
        m_nLongueur = nLongueur;
        return true;
    }

    const wchar_t* pszGet() const noexcept { return m_pszTas != nullptr ? m_pszTas : m_szInterne; }
    size_t nLongueur() const noexcept { return m_nLongueur; }
    bool bEstVide() const noexcept { return m_nLongueur == 0; }
    bool bEstEgal(const wchar_t* pszTexte) const noexcept {
        if (pszTexte == nullptr) return m_nLongueur == 0;
        return std::wcslen(pszTexte) == m_nLongueur && std::wmemcmp(pszGet(), pszTexte, m_nLongueur) == 0;
    }

private:
    static constexpr size_t TAILLE_INTERNE = 32;

    wchar_t m_szInterne[TAILLE_INTERNE];
    wchar_t* m_pszTas = nullptr;
    size_t m_nLongueur = 0;
};

}  // namespace datetime_internal
