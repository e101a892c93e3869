// A language as a machine hands it out, for tests that give masks a language without the stand-in
// machine: date, time and number settings of the test's choosing (null: not given), the system
// flags, and the writing direction.
#pragma once

#include "component/interfaces/machine.h"

class CFakeLangue final : public IInfoLangue {
public:
    struct STReglages {
        const STParametreDate* pstDate = nullptr;
        const STParametreHeure* pstHeure = nullptr;
        const STParametreNumerique* pstNumerique = nullptr;
        bool bSysteme = false;  // the date and time settings are the system's
        bool bDroiteAGauche = false;
    };

    CFakeLangue() = default;
    explicit CFakeLangue(const STReglages& st) : m_st(st) {}
    CFakeLangue(const STParametreDate& stDate, const STParametreHeure& stHeure, bool bSysteme = false,
                bool bDroiteAGauche = false)
        : m_stDate(stDate), m_stHeure(stHeure) {
        m_st.pstDate = &m_stDate;
        m_st.pstHeure = &m_stHeure;
        m_st.bSysteme = bSysteme;
        m_st.bDroiteAGauche = bDroiteAGauche;
    }
    explicit CFakeLangue(const STParametreNumerique& stNumerique, bool bDroiteAGauche = false)
        : m_stNumerique(stNumerique) {
        m_st.pstNumerique = &m_stNumerique;
        m_st.bSysteme = true;
        m_st.bDroiteAGauche = bDroiteAGauche;
    }
    CFakeLangue(const CFakeLangue&) = delete;
    CFakeLangue& operator=(const CFakeLangue&) = delete;

    int nGetVersion() override { return 1; }
    int nGetCompatSince() override { return 1; }
    int nGetDllNum() override { return 0; }
    void StdVersion_EmptySlot_1() override {}
    void StdVersion_EmptySlot_2() override {}
    void StdVersion_EmptySlot_3() override {}
    int bEcritDeDroiteAGauche() override { return m_st.bDroiteAGauche ? 1 : 0; }
    const STParametreHeure* pstGetParametreHeure() override { return m_st.pstHeure; }
    const STParametreDate* pstGetParametreDate() override { return m_st.pstDate; }
    int bParametreHeureSysteme() override { return m_st.bSysteme ? 1 : 0; }
    int bParametreDateSysteme() override { return m_st.bSysteme ? 1 : 0; }
    const STParametreNumerique* pstGetParametreNumerique() override { return m_st.pstNumerique; }

private:
    STParametreDate m_stDate{};
    STParametreHeure m_stHeure{};
    STParametreNumerique m_stNumerique{};
    STReglages m_st;
};
