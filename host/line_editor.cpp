// ovrun's line editor over a raw terminal.
#include "host/line_editor.h"

#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace ovhost {

namespace {

bool bSuite(unsigned char c) { return (c & 0xC0) == 0x80; }

// Characters (not bytes) in a UTF-8 text, for moving the terminal's cursor.
size_t nCaracteres(const std::string& s, size_t nDebut, size_t nFin) {
    size_t n = 0;
    for (size_t i = nDebut; i < nFin; ++i)
        if (!bSuite(static_cast<unsigned char>(s[i]))) ++n;
    return n;
}

void Ecrit(int nFd, const std::string& s) {
    size_t nFait = 0;
    while (nFait < s.size()) {
        const ssize_t n = ::write(nFd, s.data() + nFait, s.size() - nFait);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        nFait += static_cast<size_t>(n);
    }
}

// Raw mode for the life of the object: bytes one at a time, no echo, no signals from Ctrl-C.
class CModeBrut {
public:
    explicit CModeBrut(int nFd) : m_nFd(nFd) {
        m_bActif = tcgetattr(nFd, &m_stAvant) == 0;
        if (!m_bActif) return;
        termios st = m_stAvant;
        st.c_iflag &= ~static_cast<tcflag_t>(BRKINT | ICRNL | INPCK | ISTRIP | IXON);
        st.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | IEXTEN | ISIG);
        st.c_cflag |= CS8;
        st.c_cc[VMIN] = 1;
        st.c_cc[VTIME] = 0;
        m_bActif = tcsetattr(nFd, TCSADRAIN, &st) == 0;  // DRAIN, not FLUSH: keep what was typed ahead
    }
    ~CModeBrut() {
        if (m_bActif) tcsetattr(m_nFd, TCSADRAIN, &m_stAvant);
    }
    CModeBrut(const CModeBrut&) = delete;
    CModeBrut& operator=(const CModeBrut&) = delete;

private:
    int m_nFd;
    termios m_stAvant{};
    bool m_bActif = false;
};

}  // namespace

bool CEditeurLigne::bLitOctet(unsigned char* pby) const {
    for (;;) {
        const ssize_t n = ::read(m_nEntree, pby, 1);
        if (n == 1) return true;
        if (n < 0 && errno == EINTR) continue;
        return false;
    }
}

CEditeurLigne::ETouche CEditeurLigne::eLitTouche(std::string* psCaractere) {
    unsigned char c;
    if (!bLitOctet(&c)) return ETouche::Fin;
    switch (c) {
    case '\r':
    case '\n': return ETouche::Entree;
    case 0x01: return ETouche::Debut;
    case 0x03: return ETouche::Abandon;
    case 0x04: return m_sLigne.empty() ? ETouche::Fin : ETouche::Supprime;
    case 0x05: return ETouche::FinLigne;
    case 0x08:
    case 0x7F: return ETouche::Efface;
    case 0x15: return ETouche::Vide;
    case 0x1B: {
        unsigned char c1, c2;
        if (!bLitOctet(&c1) || (c1 != '[' && c1 != 'O') || !bLitOctet(&c2)) return ETouche::Aucune;
        switch (c2) {
        case 'A': return ETouche::Haut;
        case 'B': return ETouche::Bas;
        case 'C': return ETouche::Droite;
        case 'D': return ETouche::Gauche;
        case 'H': return ETouche::Debut;
        case 'F': return ETouche::FinLigne;
        default: break;
        }
        // ESC [ n ~ : Home 1/7, Delete 3, End 4/8; anything else is skipped to its final byte.
        unsigned char cFin = c2;
        while (cFin >= '0' && cFin <= '9')
            if (!bLitOctet(&cFin)) return ETouche::Fin;
        if (cFin != '~') return ETouche::Aucune;
        if (c2 == '1' || c2 == '7') return ETouche::Debut;
        if (c2 == '3') return ETouche::Supprime;
        if (c2 == '4' || c2 == '8') return ETouche::FinLigne;
        return ETouche::Aucune;
    }
    default: break;
    }
    if (c < 0x20) return ETouche::Aucune;
    // One whole character: the lead byte says how many continuation bytes follow.
    psCaractere->assign(1, static_cast<char>(c));
    const int nSuite = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
    for (int i = 0; i < nSuite; ++i) {
        unsigned char cSuite;
        if (!bLitOctet(&cSuite)) return ETouche::Fin;
        psCaractere->push_back(static_cast<char>(cSuite));
    }
    return ETouche::Caractere;
}

void CEditeurLigne::Redessine(const std::string& sInvite) const {
    std::string s = "\r" + sInvite + m_sLigne + "\x1b[K";
    const size_t nRecul = nCaracteres(m_sLigne, m_nCurseur, m_sLigne.size());
    if (nRecul > 0) s += "\x1b[" + std::to_string(nRecul) + "D";
    Ecrit(m_nSortie, s);
}

bool CEditeurLigne::bLitLigne(const std::string& sInvite, std::string* psLigne) {
    CModeBrut clBrut(m_nEntree);
    m_sLigne.clear();
    m_nCurseur = 0;
    size_t nHistorique = m_tabHistorique.size();  // size(): the line being typed
    std::string sEnCours;                           // kept while the history is walked
    Redessine(sInvite);
    for (;;) {
        std::string sCaractere;
        switch (eLitTouche(&sCaractere)) {
        case ETouche::Fin:
            Ecrit(m_nSortie, "\r\n");
            return false;
        case ETouche::Entree:
            Ecrit(m_nSortie, "\r\n");
            *psLigne = m_sLigne;
            return true;
        case ETouche::Abandon:
            Ecrit(m_nSortie, "^C\r\n");
            m_sLigne.clear();
            m_nCurseur = 0;
            nHistorique = m_tabHistorique.size();
            break;
        case ETouche::Caractere:
            m_sLigne.insert(m_nCurseur, sCaractere);
            m_nCurseur += sCaractere.size();
            break;
        case ETouche::Gauche:
            while (m_nCurseur > 0 && bSuite(static_cast<unsigned char>(m_sLigne[--m_nCurseur]))) {}
            break;
        case ETouche::Droite:
            if (m_nCurseur < m_sLigne.size())
                do ++m_nCurseur;
                while (m_nCurseur < m_sLigne.size() && bSuite(static_cast<unsigned char>(m_sLigne[m_nCurseur])));
            break;
        case ETouche::Debut: m_nCurseur = 0; break;
        case ETouche::FinLigne: m_nCurseur = m_sLigne.size(); break;
        case ETouche::Efface:
            if (m_nCurseur > 0) {
                size_t nDebut = m_nCurseur;
                while (nDebut > 0 && bSuite(static_cast<unsigned char>(m_sLigne[--nDebut]))) {}
                m_sLigne.erase(nDebut, m_nCurseur - nDebut);
                m_nCurseur = nDebut;
            }
            break;
        case ETouche::Supprime:
            if (m_nCurseur < m_sLigne.size()) {
                size_t nFin = m_nCurseur + 1;
                while (nFin < m_sLigne.size() && bSuite(static_cast<unsigned char>(m_sLigne[nFin]))) ++nFin;
                m_sLigne.erase(m_nCurseur, nFin - m_nCurseur);
            }
            break;
        case ETouche::Vide:
            m_sLigne.clear();
            m_nCurseur = 0;
            break;
        case ETouche::Haut:
            if (nHistorique > 0) {
                if (nHistorique == m_tabHistorique.size()) sEnCours = m_sLigne;
                m_sLigne = m_tabHistorique[--nHistorique];
                m_nCurseur = m_sLigne.size();
            }
            break;
        case ETouche::Bas:
            if (nHistorique < m_tabHistorique.size()) {
                ++nHistorique;
                m_sLigne = nHistorique == m_tabHistorique.size() ? sEnCours : m_tabHistorique[nHistorique];
                m_nCurseur = m_sLigne.size();
            }
            break;
        case ETouche::Aucune: break;
        }
        Redessine(sInvite);
    }
}

void CEditeurLigne::AjouteHistorique(const std::string& sLigne) {
    if (sLigne.empty() || (!m_tabHistorique.empty() && m_tabHistorique.back() == sLigne)) return;
    m_tabHistorique.push_back(sLigne);
}

}  // namespace ovhost
