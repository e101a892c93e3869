// The machine's progress gauge: recording for tests and embedders, a redrawn line for terminals.
#include "host/gauge.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace ovhost {

std::string sLigneJauge(std::string_view sFonction, int nPosition, int nMin, int nMax) {
    // In 64 bits: a range from INT_MIN to INT_MAX does not fit an int, nor its product by 1,000.
    const int64_t nEtendue = static_cast<int64_t>(nMax) - nMin;
    const int64_t nFait = static_cast<int64_t>(nPosition) - nMin;
    int64_t nPourMille;
    if (nEtendue <= 0)
        nPourMille = nPosition >= nMax ? 1000 : 0;
    else
        nPourMille = nFait <= 0 ? 0 : nFait >= nEtendue ? 1000 : nFait * 1000 / nEtendue;
    char sz[16];
    std::snprintf(sz, sizeof sz, "%3d.%d %%", static_cast<int>(nPourMille / 10), static_cast<int>(nPourMille % 10));
    std::string s = "\r ";
    s.append(sFonction);
    s += ' ';
    s += sz;
    return s;
}

CDessinJauge::CDessinJauge(int nFd) : m_nFd(nFd), m_bActif(isatty(nFd) == 1) {}

void CDessinJauge::Debut(std::string_view sFonction) {
    m_sFonction.assign(sFonction);
    m_sDerniere.clear();
}

void CDessinJauge::Montre(int nPosition, int nMin, int nMax) {
    if (!m_bActif) return;
    std::string s = sLigneJauge(m_sFonction, nPosition, nMin, nMax);
    if (s == m_sDerniere) return;
    Ecrit(s);
    m_sDerniere = std::move(s);
}

void CDessinJauge::Fin() {
    if (m_bActif && !m_sDerniere.empty()) Ecrit("\n");
    m_sDerniere.clear();
}

void CDessinJauge::Ecrit(const std::string& s) {
    // A progress line is worth no retry beyond an interruption: a terminal that refuses it loses it.
    size_t nFait = 0;
    while (nFait < s.size()) {
        const ssize_t n = write(m_nFd, s.data() + nFait, s.size() - nFait);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        nFait += static_cast<size_t>(n);
    }
}

STJaugeAppel& CJaugeMachine::stCourant() {
    if (m_tabAppels.empty() || !(m_bDansAppel || m_bHorsAppel)) {
        if (!m_bEnregistre) m_tabAppels.clear();
        m_tabAppels.emplace_back();
        m_bHorsAppel = true;
    }
    return m_tabAppels.back();
}

void CJaugeMachine::InitJauge(int nMin, int nMax) {
    STJaugeAppel& st = stCourant();
    st.nMin = nMin;
    st.nMax = nMax;
    ++st.nInitialisations;
}

void CJaugeMachine::MajJauge(int nPosition) {
    STJaugeAppel& st = stCourant();
    if (m_bEnregistre) st.tabPositions.push_back(nPosition);
    if (m_pclDessin != nullptr) m_pclDessin->Montre(nPosition, st.nMin, st.nMax);
}

void CJaugeMachine::DebutAppel(std::string_view sFonction) {
    if (!m_bEnregistre) m_tabAppels.clear();
    m_tabAppels.emplace_back().sFonction.assign(sFonction);
    m_bDansAppel = true;
    m_bHorsAppel = false;
    if (m_pclDessin != nullptr) m_pclDessin->Debut(sFonction);
}

void CJaugeMachine::FinAppel() {
    if (!m_bDansAppel) return;
    m_bDansAppel = false;
    if (m_pclDessin != nullptr) m_pclDessin->Fin();
}

}  // namespace ovhost
