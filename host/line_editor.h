// ovrun's prompt: one line read from a terminal with the usual editing keys and a history that
// the arrows walk. The terminal is in raw mode only while a line is being read, so what the
// statements print between two lines goes out as usual.
#pragma once

#include <string>
#include <vector>

namespace ovhost {

class CEditeurLigne {
public:
    // nEntree must be a terminal; the line is drawn on nSortie.
    CEditeurLigne(int nEntree, int nSortie) : m_nEntree(nEntree), m_nSortie(nSortie) {}

    // Reads one line (UTF-8, without its end). False at the end of input: Ctrl-D on an empty
    // line, or the terminal gone. Keys: left/right, Home/End (Ctrl-A/Ctrl-E), Backspace, Delete,
    // Ctrl-U (clear), Ctrl-C (drop the line), up/down (history), Enter.
    bool bLitLigne(const std::string& sInvite, std::string* psLigne);

    // Adds a line to the history, except an empty one or a repeat of the last.
    void AjouteHistorique(const std::string& sLigne);

private:
    enum class ETouche { Aucune, Caractere, Entree, Fin, Gauche, Droite, Debut, FinLigne, Efface, Supprime,
                         Vide, Abandon, Haut, Bas };

    ETouche eLitTouche(std::string* psCaractere);
    void Redessine(const std::string& sInvite) const;
    bool bLitOctet(unsigned char* pby) const;

    int m_nEntree;
    int m_nSortie;
    std::vector<std::string> m_tabHistorique;
    std::string m_sLigne;
    size_t m_nCurseur = 0;  // byte offset, always at the start of a character
};

}  // namespace ovhost
