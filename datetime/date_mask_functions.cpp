// Language date functions that go through a mask: dates and times to display text and back, in
// the machine's language.
#include <cwchar>
#include <cwctype>
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

}  // namespace

// ---------------------------------------------------------------- dates

CXYString<wchar_t> CComposanteStandard::DateVersChaine(const wchar_t* pszValeur) {
    return DateVersChaine(pszValeur, nullptr);
}

CXYString<wchar_t> CComposanteStandard::DateVersChaine(const wchar_t* pszValeur, const wchar_t* pszMasque) {
    std::wstring sValeur = pszValeur != nullptr ? pszValeur : L"";
    while (!sValeur.empty() && sValeur.back() == L'_') sValeur.pop_back();
    if (sValeur.empty()) return {};
    if (sValeur.size() < 8) {
        RaiseError(&gstMyModuleInfo8, 80134);
        return {};
    }
    if (sValeur.size() > DATE_VIEW_LONGUEUR_TEXTE) {
        RaiseError(&gstMyModuleInfo8, 81842);
        return {};
    }
    const std::wstring sMasque = pszMasque != nullptr ? pszMasque : L"";
    if (sMasque == L"UseSystemMask") {
        CMasqueDateHeure clMasque(sMasque.c_str(), true, nullptr);
        DonneLangue(&clMasque, this);
        CTString clSortie;
        clMasque.Formate(sValeur.c_str(), &clSortie, nullptr);
        return clTexte(clSortie);
    }
    // E-mail dates and relative masks are not offered by this build: an empty result.
    if (sMasque == L"UseEmailMask" || sMasque == L"UseDateRelativeDurationMask") return {};

    short nA = 0, nM = 0, nJ = 0, nH = 0, nMi = 0, nS = 0, nC = 0, nMs = 0;
    const bool bHeure = sValeur.size() > 8;
    if (!bDateVerif(sValeur.substr(0, 8).c_str(), &nA, &nM, &nJ, pclGetError())) return {};
    if (bHeure && !bHeureVerif(sValeur.c_str() + 8, &nH, &nMi, &nS, &nC, &nMs, pclGetError())) return {};

    wchar_t sz[64];
    if (sMasque.empty()) {
        if (!bHeure) std::swprintf(sz, 64, L"%02d/%02d/%04d", nJ, nM, nA);
        else std::swprintf(sz, 64, L"%02d/%02d/%04d %02d:%02d:%02d:%d", nJ, nM, nA, nH, nMi, nS, nC != 0 ? nC : nMs);
        return clTexte(sz);
    }
    // A value with a time is read in the full form, its missing digits zeros.
    if (bHeure) sValeur.resize(DATE_VIEW_LONGUEUR_TEXTE, L'0');
    CMasqueDateHeure clMasque(sMasque.c_str(), true, bHeure ? L"YYYYMMDDHHmmSSCCC" : nullptr);
    DonneLangue(&clMasque, this);
    CTString clSortie;
    clMasque.bFormateEx(sValeur.c_str(), &clSortie, FLAGS_AFFICHAGE);
    return clTexte(clSortie);
}

CXYString<wchar_t> CComposanteStandard::ChaineVersDate(const wchar_t* pszTexte) { return ChaineVersDate(pszTexte, nullptr); }

CXYString<wchar_t> CComposanteStandard::ChaineVersDate(const wchar_t* pszTexte, const wchar_t* pszMasque) {
    if (bVide(pszTexte)) return {};
    std::wstring sMasque = bVide(pszMasque) ? L"JJ/MM/AAAA" : pszMasque;
    const bool bHeure = bContient(sMasque, L"H");
    if (sMasque == L"UseEmailMask") return {};  // e-mail dates are not offered by this build

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

    CMasqueDateHeureAmelio clMasque(sMasque.c_str(), true, bHeure ? FORME_DATE_HEURE : nullptr, bHeure);
    DonneLangue(&clMasque, this);
    CTString clSortie;
    clMasque.DeformateDateHeure(pszTexte, &clSortie, FLAGS_LECTURE_DATE);
    return clSortie.bEstVide() ? CXYString<wchar_t>() : clTexte(clSortie);
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
    CMasqueDateHeureAmelio clMasque(bVide(pszMasque) ? L"HH:MM:SS:CC" : pszMasque, false, L"HHMMSSCC", false);
    DonneLangue(&clMasque, this);
    CTString clSortie;
    clMasque.DeformateDateHeure(pszTexte, &clSortie, 0);
    return clSortie.bEstVide() ? CXYString<wchar_t>() : clTexte(clSortie);
}
