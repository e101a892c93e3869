// Language date functions that go through a mask: dates and times to display text and back, in
// the machine's language.
#include <cwchar>
#include <cwctype>
#include <memory>
#include <string>

#include "base/error.h"
#include "component/interfaces/date_view.h"
#include "component/thunk.h"
#include "datetime/date_functions.h"
#include "datetime/date_mask.h"

using namespace ovjour;

namespace {

constexpr int FLAGS_AFFICHAGE = CMasqueDateHeure::FLAG_NORMALISE;
constexpr int FLAGS_LECTURE_DATE = CMasqueDateHeure::FLAG_PIVOT | CMasqueDateHeure::FLAG_STRICT;
constexpr const wchar_t* FORME_DATE_HEURE = L"AAAAMMJJHHmmSSCCC";

CXYString<wchar_t> clTexte(const wchar_t* psz) {
    CXYString<wchar_t> cl;
    cl.nAffecte(psz);
    return cl;
}

CXYString<wchar_t> clTexte(const CTString& cl) { return clTexte(cl.pszGet()); }

bool bVide(const wchar_t* psz) { return psz == nullptr || psz[0] == 0; }

IInfoLangue* piLangue(CComposanteStandard* pcl) {
    IVM* piVM = pcl->piGetVM();
    return piVM != nullptr ? piVM->piGetInfoLangue(0, 0) : nullptr;
}

void DonneLangue(CMasque* pclMasque, CComposanteStandard* pcl) {
    if (IInfoLangue* pi = piLangue(pcl)) pclMasque->vSetInfoLangueMasque(pi, 0, 1252);
}

// Masks built for the language calls, kept per thread. Building a mask reads its zones, which costs
// more than a conversion; calls repeat the same few masks. A mask is reused only when everything its
// building reads is the same: its text, kind, internal form and date-and-time switch, and the
// language it was given, unless none of its conversions asks the language anything. Predefined names ("UseSystemMask"...) also read the regional settings,
// which may change between calls: those are built afresh each time, as are masks the cache cannot
// hold when memory fails. Conversions are const, so a reused mask answers as a new one would.
enum EGenreMasque : int { GENRE_SIMPLE = 0, GENRE_AMELIO = 1, GENRE_AMELIO_DATE_ET_HEURE = 2 };

std::unique_ptr<CMasqueDateHeure> pclNouveauMasque(const wchar_t* pszMasque, bool bDate, const wchar_t* pszInterne,
                                                   int eGenre, CComposanteStandard* pcl) {
    std::unique_ptr<CMasqueDateHeure> pclMasque;
    if (eGenre == GENRE_SIMPLE) pclMasque.reset(new CMasqueDateHeure(pszMasque, bDate, pszInterne));
    else pclMasque.reset(new CMasqueDateHeureAmelio(pszMasque, bDate, pszInterne, eGenre == GENRE_AMELIO_DATE_ET_HEURE));
    DonneLangue(pclMasque.get(), pcl);
    return pclMasque;
}

bool bNomPredefini(const wchar_t* pszMasque) {
    return (pszMasque[0] == L'U' || pszMasque[0] == L'u') && (pszMasque[1] == L'S' || pszMasque[1] == L's') &&
           (pszMasque[2] == L'E' || pszMasque[2] == L'e');
}

// The text a mask is built from, given the text the caller wrote: the same, or a rewriting of it.
// The cache keys its entries on what the caller wrote, so that a call that finds its mask does not
// rewrite the text again.
using PFNTexteMasque = std::wstring (*)(const wchar_t* pszEcrit);

// Whether a kept text is this one, without measuring it first: the kept text holds no terminator,
// so a shorter text fails on its own terminator before anything past it is read.
bool bEgalTexte(const std::wstring& s, const wchar_t* psz) noexcept {
    const size_t n = s.size();
    for (size_t i = 0; i < n; ++i)
        if (psz[i] != s[i]) return false;
    return psz[n] == 0;
}

class CCacheMasques {
public:
    // The mask for these settings, valid until the next call on this thread; null when it cannot
    // be kept (the caller builds its own).
    const CMasqueDateHeure* pclGet(const wchar_t* pszMasque, bool bDate, const wchar_t* pszInterne, int eGenre,
                                   PFNTexteMasque pfnTexte, CComposanteStandard* pcl) noexcept {
        if (pszMasque == nullptr || bNomPredefini(pszMasque)) return nullptr;
        // The language is asked for only when an entry that depends on it is compared, or a
        // mask is built: masks of numbers and literals answer the same in every language.
        IInfoLangue* pi = nullptr;
        bool bLangueLue = false;
        auto Langue = [&]() {
            if (!bLangueLue) {
                pi = piLangue(pcl);
                bLangueLue = true;
            }
            return pi;
        };
        const wchar_t* pszForme = pszInterne != nullptr ? pszInterne : L"";
        // The entry found last comes first: a caller usually repeats its mask.
        for (int i = 0; i < NB_ENTREES; ++i) {
            const int nEntree = (m_nDerniere + i) % NB_ENTREES;
            const STEntree& st = m_tabEntrees[nEntree];
            if (st.pclMasque != nullptr && st.eGenre == eGenre && st.bDate == bDate && st.pfnTexte == pfnTexte &&
                st.bInterne == (pszInterne != nullptr) && bEgalTexte(st.sMasque, pszMasque) &&
                bEgalTexte(st.sInterne, pszForme) && (st.bSansLangue || st.piLangue == Langue())) {
                m_nDerniere = nEntree;
                return st.pclMasque.get();
            }
        }
        try {
            m_nDerniere = m_nProchaine;
            STEntree& st = m_tabEntrees[m_nProchaine];
            m_nProchaine = (m_nProchaine + 1) % NB_ENTREES;
            st.pclMasque.reset();
            st.sMasque = pszMasque;
            st.sInterne = pszForme;
            st.bInterne = pszInterne != nullptr;
            st.bDate = bDate;
            st.eGenre = eGenre;
            st.pfnTexte = pfnTexte;
            st.piLangue = Langue();
            st.bSansLangue = false;
            if (pfnTexte != nullptr) {
                const std::wstring sTexte = pfnTexte(pszMasque);
                st.pclMasque = pclNouveauMasque(sTexte.c_str(), bDate, pszInterne, eGenre, pcl);
            } else {
                st.pclMasque = pclNouveauMasque(pszMasque, bDate, pszInterne, eGenre, pcl);
            }
            st.bSansLangue = st.pclMasque->bSansLangue();
            return st.pclMasque.get();
        } catch (...) {
            return nullptr;
        }
    }

private:
    static constexpr int NB_ENTREES = 4;
    struct STEntree {
        PFNTexteMasque pfnTexte = nullptr;
        std::wstring sMasque;
        std::wstring sInterne;
        bool bInterne = false;
        bool bDate = false;
        int eGenre = 0;
        IInfoLangue* piLangue = nullptr;
        bool bSansLangue = false;  // the mask answers the same whatever the language
        std::unique_ptr<CMasqueDateHeure> pclMasque;
    };
    STEntree m_tabEntrees[NB_ENTREES];
    int m_nProchaine = 0;
    int m_nDerniere = 0;
};

// Runs the conversion with the thread's mask for these settings, or with one built for the call,
// and answers its result. The mask is built from pszMasque, or from what pfnTexte makes of it.
template <typename F>
CXYString<wchar_t> AvecMasque(const wchar_t* pszMasque, bool bDate, const wchar_t* pszInterne, int eGenre,
                CComposanteStandard* pcl, F fConversion, PFNTexteMasque pfnTexte = nullptr) {
    thread_local CCacheMasques tl_clCache;
    if (const CMasqueDateHeure* pclMasque = tl_clCache.pclGet(pszMasque, bDate, pszInterne, eGenre, pfnTexte, pcl))
        return fConversion(*pclMasque);
    std::wstring sTexte;
    if (pfnTexte != nullptr) {
        sTexte = pfnTexte(pszMasque);
        pszMasque = sTexte.c_str();
    }
    if (eGenre == GENRE_SIMPLE) {
        CMasqueDateHeure clMasque(pszMasque, bDate, pszInterne);
        DonneLangue(&clMasque, pcl);
        return fConversion(clMasque);
    }
    CMasqueDateHeureAmelio clMasque(pszMasque, bDate, pszInterne, eGenre == GENRE_AMELIO_DATE_ET_HEURE);
    DonneLangue(&clMasque, pcl);
    return fConversion(clMasque);
}

// Replaces every occurrence of a token, as written or else in lower case, by the value printed with
// the format (the format itself for a negative value). True when the token was found.
bool _bChercheRemplace(std::wstring* ps, const wchar_t* pszJeton, const wchar_t* pszFormat, int nValeur) {
    std::wstring sJeton = pszJeton;
    if (ps->find(sJeton) == std::wstring::npos) {
        for (wchar_t& c : sJeton) c = static_cast<wchar_t>(std::towlower(c));
        if (ps->find(sJeton) == std::wstring::npos) return false;
    }
    std::wstring sValeur = pszFormat;
    if (nValeur >= 0) {
        wchar_t sz[32];
        std::swprintf(sz, 32, pszFormat, nValeur);
        sValeur = sz;
    }
    for (size_t n = ps->find(sJeton); n != std::wstring::npos; n = ps->find(sJeton, n + sValeur.size()))
        ps->replace(n, sJeton.size(), sValeur);
    return true;
}

void Remplace(std::wstring* ps, std::wstring_view sDe, std::wstring_view sVers) {
    for (size_t n = ps->find(sDe); n != std::wstring::npos; n = ps->find(sDe, n + sVers.size()))
        ps->replace(n, sDe.size(), sVers);
}

bool bContient(const std::wstring& s, const wchar_t* psz) { return s.find(psz) != std::wstring::npos; }

// What ChaineVersDate reads with, from what its caller wrote: lower-case day, month and year
// letters made upper case where they cannot be read otherwise.
std::wstring sMasqueLecture(const wchar_t* pszEcrit) {
    std::wstring sMasque = pszEcrit;
    const bool bHeure = bContient(sMasque, L"H");
    if (!bContient(sMasque, L"Jjj")) Remplace(&sMasque, L"jj", L"JJ");
    Remplace(&sMasque, L"dd", L"DD");
    if (!bContient(sMasque, L"Mm")) {
        Remplace(&sMasque, L"mmmm", L"MMMM");
        Remplace(&sMasque, L"mmm", L"MMM");
        if (!bHeure) Remplace(&sMasque, L"mm", L"MM");
    }
    Remplace(&sMasque, L"aa", L"AA");
    Remplace(&sMasque, L"aaaa", L"AAAA");
    Remplace(&sMasque, L"yyyy", L"YYYY");
    Remplace(&sMasque, L"yy", L"YY");
    return sMasque;
}

// The result of a display: straight from the direct path when the mask and the value allow it,
// else through the general conversion. Every way fills the one result, which is returned in place.
CXYString<wchar_t> clAffiche(const CMasqueDateHeure& clMasque, const wchar_t* pszValeur, int nFlags) {
    CXYString<wchar_t> clResultat;
    wchar_t szRapide[CMasqueDateHeure::TAILLE_RAPIDE];
    const int n = clMasque.nFormateRapide(pszValeur, szRapide, nFlags);
    if (n >= 0) {
        clResultat.nAffecte(szRapide, n);
    } else {
        CTString clSortie;
        clMasque.bFormateEx(pszValeur, &clSortie, nFlags);
        clResultat.nAffecte(clSortie.pszGet());
    }
    return clResultat;
}

// The display of a date whose eight digits were read and checked already.
CXYString<wchar_t> clAfficheDate(const CMasqueDateHeure& clMasque, int nAnnee, int nMois, int nJour,
                                 const wchar_t* pszValeur, int nFlags) {
    CXYString<wchar_t> clResultat;
    if (clMasque.bFormateDateRapide(nAnnee, nMois, nJour, &clResultat, nFlags)) return clResultat;
    wchar_t szRapide[CMasqueDateHeure::TAILLE_RAPIDE];
    const int n = clMasque.nFormateDateRapide(nAnnee, nMois, nJour, szRapide, nFlags);
    if (n >= 0) clResultat.nAffecte(szRapide, n);
    else clResultat = clAffiche(clMasque, pszValeur, nFlags);
    return clResultat;
}

// The same for a reading into the mask's internal form; the null value when the text does not parse.
CXYString<wchar_t> clLit(const CMasqueDateHeure& clMasque, const wchar_t* pszTexte, int nFlags) {
    CXYString<wchar_t> clResultat;
    wchar_t szRapide[CMasqueDateHeure::TAILLE_RAPIDE];
    const int n = clMasque.nDeformateRapide(pszTexte, szRapide, nFlags);
    if (n >= 0) {
        clResultat.nAffecte(szRapide, n);
    } else {
        CTString clSortie;
        clMasque.DeformateDateHeure(pszTexte, &clSortie, nFlags);
        clResultat.nAffecte(clSortie.pszGet());
    }
    return clResultat;
}

}  // namespace

// ---------------------------------------------------------------- dates

CXYString<wchar_t> CComposanteStandard::DateVersChaine(const wchar_t* pszValeur) {
    return DateVersChaine(pszValeur, nullptr);
}

CXYString<wchar_t> CComposanteStandard::DateVersChaine(const wchar_t* pszValeur, const wchar_t* pszMasque) {
    // The value without its trailing "_". Values are a few characters long: a plain loop measures
    // them cheaper than a call.
    size_t nLongueur = 0;
    if (pszValeur != nullptr)
        while (pszValeur[nLongueur] != 0) ++nLongueur;
    const size_t nLongueurEcrite = nLongueur;
    while (nLongueur > 0 && pszValeur[nLongueur - 1] == L'_') --nLongueur;
    if (nLongueur == 0) return {};
    if (nLongueur < 8) {
        RaiseError(&gstMyModuleInfo8, 80134);
        return {};
    }
    if (nLongueur > DATE_VIEW_LONGUEUR_TEXTE) {
        RaiseError(&gstMyModuleInfo8, 81842);
        return {};
    }
    // A plain date is read where it lies. Otherwise it goes into a fixed buffer (a display call
    // allocates only its result), copied one character at a time: a block copy's start-up, then
    // reading its wide stores back digit by digit, cost more than the loop.
    wchar_t szValeur[DATE_VIEW_LONGUEUR_TEXTE + 1];
    const wchar_t* pszLu = pszValeur;
    if (nLongueur != 8 || nLongueurEcrite != 8) {
        for (size_t i = 0; i < nLongueur; ++i) szValeur[i] = pszValeur[i];
        szValeur[nLongueur] = 0;
        pszLu = szValeur;
    }
    const wchar_t* pszMasqueLu = pszMasque != nullptr ? pszMasque : L"";
    // Only the predefined names start with "U": the others skip the comparisons.
    const bool bNomU = pszMasqueLu[0] == L'U';
    if (bNomU && std::wcscmp(pszMasqueLu, L"UseSystemMask") == 0) {
        CMasqueDateHeure clMasque(pszMasqueLu, true, nullptr);
        DonneLangue(&clMasque, this);
        CTString clSortie;
        clMasque.Formate(pszLu, &clSortie, nullptr);
        return clTexte(clSortie);
    }
    // E-mail dates and relative masks are not offered by this build: an empty result.
    if (bNomU &&
        (std::wcscmp(pszMasqueLu, L"UseEmailMask") == 0 || std::wcscmp(pszMasqueLu, L"UseDateRelativeDurationMask") == 0))
        return {};

    short nA = 0, nM = 0, nJ = 0, nH = 0, nMi = 0, nS = 0, nC = 0, nMs = 0;
    const bool bHeure = nLongueur > 8;
    // A date alone is checked where it lies; a copy would be read back before its stores land.
    wchar_t szDate[9];
    const wchar_t* pszDate = pszLu;
    if (bHeure) {
        std::wmemcpy(szDate, szValeur, 8);
        szDate[8] = 0;
        pszDate = szDate;
    }
    // The error object is fetched only for a date that fails: checking again then says why.
    if (!bDateVerif(pszDate, &nA, &nM, &nJ, nullptr)) {
        bDateVerif(pszDate, &nA, &nM, &nJ, pclGetError());
        return {};
    }
    if (bHeure && !bHeureVerif(szValeur + 8, &nH, &nMi, &nS, &nC, &nMs, pclGetError())) return {};

    wchar_t sz[64];
    if (pszMasqueLu[0] == 0) {
        if (!bHeure) std::swprintf(sz, 64, L"%02d/%02d/%04d", nJ, nM, nA);
        else std::swprintf(sz, 64, L"%02d/%02d/%04d %02d:%02d:%02d:%d", nJ, nM, nA, nH, nMi, nS, nC != 0 ? nC : nMs);
        return clTexte(sz);
    }
    // A value with a time is read in the full form, its missing digits zeros.
    if (bHeure) {
        std::wmemset(szValeur + nLongueur, L'0', DATE_VIEW_LONGUEUR_TEXTE - nLongueur);
        szValeur[DATE_VIEW_LONGUEUR_TEXTE] = 0;
    }
    return AvecMasque(pszMasqueLu, true, bHeure ? L"YYYYMMDDHHmmSSCCC" : nullptr, GENRE_SIMPLE, this,
                      [&](const CMasqueDateHeure& clMasque) {
                          return bHeure ? clAffiche(clMasque, szValeur, FLAGS_AFFICHAGE)
                                        : clAfficheDate(clMasque, nA, nM, nJ, pszLu, FLAGS_AFFICHAGE);
                      });
}

CXYString<wchar_t> CComposanteStandard::ChaineVersDate(const wchar_t* pszTexte) { return ChaineVersDate(pszTexte, nullptr); }

CXYString<wchar_t> CComposanteStandard::ChaineVersDate(const wchar_t* pszTexte, const wchar_t* pszMasque) {
    if (bVide(pszTexte)) return {};
    // The mask as written is the key of the thread's masks: the rewriting of its letters happens
    // only when a mask is built.
    const wchar_t* pszEcrit = bVide(pszMasque) ? L"JJ/MM/AAAA" : pszMasque;
    if (std::wcscmp(pszEcrit, L"UseEmailMask") == 0) return {};  // e-mail dates are not offered by this build
    const bool bHeure = std::wcschr(pszEcrit, L'H') != nullptr;

    return AvecMasque(
        pszEcrit, true, bHeure ? FORME_DATE_HEURE : nullptr, bHeure ? GENRE_AMELIO_DATE_ET_HEURE : GENRE_AMELIO, this,
        [&](const CMasqueDateHeure& clMasque) { return clLit(clMasque, pszTexte, FLAGS_LECTURE_DATE); }, sMasqueLecture);
}

// ---------------------------------------------------------------- times

CXYString<wchar_t> CComposanteStandard::HeureVersChaine(const wchar_t* pszHeure) { return HeureVersChaine(pszHeure, nullptr); }

CXYString<wchar_t> CComposanteStandard::HeureVersChaine(const wchar_t* pszHeure, const wchar_t* pszMasque) {
    short nH = 0, nMi = 0, nS = 0, nC = 0, nMs = 0;
    if (!bHeureVerif(pszHeure, &nH, &nMi, &nS, &nC, &nMs, pclGetError())) return {};
    wchar_t sz[64];
    if (bVide(pszMasque)) {
        std::swprintf(sz, 64, L"%02d:%02d:%02d:%02d", nH, nMi, nS, nC);
        return clTexte(sz);
    }
    if (std::wcscmp(pszMasque, L"UseSystemMask") == 0) {
        CMasqueDateHeure clMasque(pszMasque, false, nullptr);
        DonneLangue(&clMasque, this);
        CTString clSortie;
        clMasque.Formate(pszHeure, &clSortie, nullptr);
        return clTexte(clSortie);
    }
    std::wstring s = pszMasque;
    int nHeure = nH;
    if (_bChercheRemplace(&s, L"AP", nH < 12 ? L"AM" : L"PM", -1)) {
        if (nH == 12) Remplace(&s, L"AM", L"PM");
        else nHeure = nH % 12 == 0 ? 12 : nH % 12;
    }
    _bChercheRemplace(&s, L"HH", L"%02d", nHeure);
    _bChercheRemplace(&s, L"H:", L"%d:", nHeure);
    _bChercheRemplace(&s, L"MM", L"%02d", nMi);
    _bChercheRemplace(&s, L"SS", L"%02d", nS);
    _bChercheRemplace(&s, L"CC", L"%02d", nC);
    return clTexte(s.c_str());
}

CXYString<wchar_t> CComposanteStandard::ChaineVersHeure(const wchar_t* pszTexte) { return ChaineVersHeure(pszTexte, nullptr); }

CXYString<wchar_t> CComposanteStandard::ChaineVersHeure(const wchar_t* pszTexte, const wchar_t* pszMasque) {
    if (bVide(pszTexte)) return {};
    return AvecMasque(bVide(pszMasque) ? L"HH:MM:SS:CC" : pszMasque, false, L"HHMMSSCC", GENRE_AMELIO, this,
                      [&](const CMasqueDateHeure& clMasque) { return clLit(clMasque, pszTexte, 0); });
}
