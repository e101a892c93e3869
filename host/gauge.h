// The machine's progress gauge: the object a call receives for a gauge argument. It keeps what the
// library reports (the range, then each position) and can show it as one line on a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "component/interfaces/gauge.h"

namespace ovhost {

// The name under which a script or a caller hands a function the machine's gauge (as a text).
inline constexpr char gszGaugeName[] = "Jauge";
inline constexpr wchar_t gszGaugeNameWide[] = L"Jauge";

// What the library did with the gauge during one call that was handed it.
struct STJaugeAppel {
    std::string sFonction;
    int nMin = 0;
    int nMax = 0;
    int nInitialisations = 0;       // InitJauge calls
    std::vector<int> tabPositions;  // every MajJauge, in call order
};

// "\r fDecoupe  37.5 %": the position as a percentage of the range, one decimal, within 0 to 100.
// An empty or reversed range shows 100 % once the position reaches its end, 0 % before.
std::string sLigneJauge(std::string_view sFonction, int nPosition, int nMin, int nMax);

// The gauge drawn in place on a terminal, one line per call, redrawn only when the text shown
// changes. On anything but a terminal it draws nothing: a redirected error stream is for messages.
class CDessinJauge {
public:
    explicit CDessinJauge(int nFd);
    bool bActif() const { return m_bActif; }
    void Debut(std::string_view sFonction);
    void Montre(int nPosition, int nMin, int nMax);
    // Ends the line, if one was drawn, so the next output starts on its own line.
    void Fin();

private:
    void Ecrit(const std::string& s);

    int m_nFd;
    bool m_bActif;
    std::string m_sFonction;
    std::string m_sDerniere;  // the line last drawn in this call, empty if none
};

class CJaugeMachine final : public IJaugeExec {
public:
    void InitJauge(int nMin, int nMax) override;
    void MajJauge(int nPosition) override;

    // The machine brackets each call that is handed the gauge.
    void DebutAppel(std::string_view sFonction);
    void FinAppel();

    // Each call's report, oldest first. Without recording only the current call's range is kept,
    // so a long session does not grow with every block copied.
    const std::vector<STJaugeAppel>& tabAppels() const { return m_tabAppels; }
    void Efface() { m_tabAppels.clear(); }
    void SetEnregistre(bool bEnregistre) { m_bEnregistre = bEnregistre; }
    void SetDessin(CDessinJauge* pclDessin) { m_pclDessin = pclDessin; }

private:
    // A report outside any call (a library that kept the pointer) goes into a call of no name.
    STJaugeAppel& stCourant();

    std::vector<STJaugeAppel> m_tabAppels;
    bool m_bDansAppel = false;
    bool m_bHorsAppel = false;  // the last entry collects reports made outside any call
    bool m_bEnregistre = true;
    CDessinJauge* m_pclDessin = nullptr;
};

}  // namespace ovhost
