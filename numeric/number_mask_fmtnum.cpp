// FmtNum, the digit formatter beneath the numeric masks, and NumeriqueVersChaineArrondi on top of
// it. Both work on decimal text, so that money and long texts keep every digit; only a real goes
// through the C library's printing.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

#include "base/any.h"
#include "base/xystring.h"
#include "numeric/money.h"
#include "numeric/number_mask.h"

namespace {

// An expanded exponent may make the text this long at most; past it the exponent stays.
constexpr size_t kLongueurEtendueMax = 50;
constexpr int kDecimalesMax = 100;
constexpr double kReelMax = 1e300;

bool bChiffre(wchar_t c) { return c >= L'0' && c <= L'9'; }
bool bPoint(wchar_t c) { return c == L'.' || c == L','; }

size_t nPositionPoint(const std::wstring& s) {
    for (size_t i = 0; i < s.size(); ++i)
        if (bPoint(s[i])) return i;
    return std::wstring::npos;
}

// Adds one to the digit at nPosition, carrying to the left over points; a carry out of the first
// digit puts a "1" in front of it (after a sign).
void FmtInc(std::wstring* ps, size_t nPosition) {
    size_t i = nPosition + 1;
    while (i > 0) {
        --i;
        wchar_t& c = (*ps)[i];
        if (bPoint(c)) continue;
        if (!bChiffre(c)) {
            ps->insert(i + 1, 1, L'1');
            return;
        }
        if (c != L'9') {
            ++c;
            return;
        }
        c = L'0';
        if (i == 0) {
            ps->insert(0, 1, L'1');
            return;
        }
    }
}

// The exponent written as text ("E+03", "e-2"); false when it does not read as one.
bool bLitExposant(const std::wstring& sExposant, int* pnExposant) {
    size_t i = 1;
    bool bNegatif = false;
    if (i < sExposant.size() && (sExposant[i] == L'+' || sExposant[i] == L'-')) bNegatif = sExposant[i++] == L'-';
    if (i >= sExposant.size()) return false;
    long n = 0;
    for (; i < sExposant.size(); ++i) {
        if (!bChiffre(sExposant[i])) return false;
        n = n * 10 + (sExposant[i] - L'0');
        if (n > 100000) return false;
    }
    *pnExposant = static_cast<int>(bNegatif ? -n : n);
    return true;
}

// Moves the point of a mantissa by the exponent, with zeros where the digits run out. False,
// and the mantissa untouched, when the result would pass kLongueurEtendueMax.
bool bEtendExposant(std::wstring* ps, int nExposant) {
    std::wstring sSigne;
    std::wstring sChiffres;
    wchar_t cPoint = L'.';
    long nPoint = -1;
    for (wchar_t c : *ps) {
        if (bPoint(c) && nPoint < 0) {
            cPoint = c;
            nPoint = static_cast<long>(sChiffres.size());
        } else if (c == L'-' && sChiffres.empty() && sSigne.empty()) {
            sSigne = L"-";
        } else {
            sChiffres.push_back(c);
        }
    }
    if (nPoint < 0) nPoint = static_cast<long>(sChiffres.size());
    nPoint += nExposant;
    const long nTaille = static_cast<long>(sChiffres.size());
    const long nLongueur = nPoint <= 0 ? nTaille - nPoint + 2 : (nPoint >= nTaille ? nPoint : nTaille + 1);
    if (nLongueur > static_cast<long>(kLongueurEtendueMax)) return false;
    std::wstring s;
    if (nPoint <= 0) {
        s = L"0";
        s.push_back(cPoint);
        s.append(static_cast<size_t>(-nPoint), L'0');
        s += sChiffres;
    } else if (nPoint >= nTaille) {
        s = sChiffres;
        s.append(static_cast<size_t>(nPoint - nTaille), L'0');
    } else {
        s = sChiffres.substr(0, static_cast<size_t>(nPoint));
        s.push_back(cPoint);
        s += sChiffres.substr(static_cast<size_t>(nPoint));
    }
    // Zeros that the shift left in front of the integer digits.
    size_t nZeros = 0;
    while (nZeros + 1 < s.size() && s[nZeros] == L'0' && bChiffre(s[nZeros + 1])) ++nZeros;
    s.erase(0, nZeros);
    *ps = sSigne + s;
    return true;
}

// Keeps nSignificatifs digits from the first non-zero one; the others become zeros, the first of
// them rounding the last kept one.
void GardeSignificatifs(std::wstring* ps, int nSignificatifs) {
    size_t i = 0;
    while (i < ps->size() && !((*ps)[i] >= L'1' && (*ps)[i] <= L'9')) ++i;
    int nGardes = 0;
    size_t nDernier = std::wstring::npos;
    bool bArrondi = false, bPremierEcarte = true;
    for (; i < ps->size(); ++i) {
        wchar_t& c = (*ps)[i];
        if (!bChiffre(c)) continue;
        if (nGardes < nSignificatifs) {
            ++nGardes;
            nDernier = i;
            continue;
        }
        if (bPremierEcarte) bArrondi = c > L'4';
        bPremierEcarte = false;
        c = L'0';
    }
    if (bArrondi && nDernier != std::wstring::npos) FmtInc(ps, nDernier);
}

// The fraction cut to nDecimales digits, rounded half up, then filled with zeros.
void FixeDecimales(std::wstring* ps, int nDecimales) {
    // A text without a digit has no fraction to fix.
    if (ps->find_first_of(L"0123456789") == std::wstring::npos) return;
    size_t nPoint = nPositionPoint(*ps);
    // ".5" reads as "0.5", so that a carry out of the fraction has a digit to land on.
    if (nPoint != std::wstring::npos && (nPoint == 0 || !bChiffre((*ps)[nPoint - 1]))) ps->insert(nPoint++, 1, L'0');
    if (nPoint == std::wstring::npos) {
        if (nDecimales == 0) return;
        ps->push_back(L'.');
        nPoint = ps->size() - 1;
    }
    const size_t nFraction = ps->size() - nPoint - 1;
    const size_t nVoulu = static_cast<size_t>(nDecimales);
    if (nFraction > nVoulu) {
        const wchar_t cEcarte = (*ps)[nPoint + 1 + nVoulu];
        ps->resize(nPoint + 1 + nVoulu);
        if (nVoulu == 0) ps->resize(nPoint);
        if (cEcarte >= L'5' && cEcarte <= L'9' && !ps->empty()) FmtInc(ps, ps->size() - 1);
    } else {
        ps->append(nVoulu - nFraction, L'0');
    }
}

// Trailing zeros of the fraction, and a point left alone, go.
void EnleveZerosFraction(std::wstring* ps) {
    if (nPositionPoint(*ps) == std::wstring::npos) return;
    while (!ps->empty() && ps->back() == L'0') ps->pop_back();
    if (!ps->empty() && bPoint(ps->back())) ps->pop_back();
}

void FormateChiffres(std::wstring* ps, int nLargeur, int nDecimales, int nSignificatifs, int nAlignement, int bEtend,
             int bSupprimeZeros) {
    std::wstring& s = *ps;
    const size_t nDebut = s.find_first_not_of(L' ');
    if (nDebut == std::wstring::npos) s.clear();
    else s = s.substr(nDebut, s.find_last_not_of(L' ') - nDebut + 1);
    if (!s.empty() && s[0] == L'+') s.erase(0, 1);
    std::wstring sExposant;
    const size_t nExposant = s.find_first_of(L"Ee");
    if (nExposant != std::wstring::npos) {
        sExposant = s.substr(nExposant);
        s.resize(nExposant);
    }
    int nValeurExposant = 0;
    if (bEtend && !sExposant.empty() && bLitExposant(sExposant, &nValeurExposant) &&
        bEtendExposant(&s, nValeurExposant))
        sExposant.clear();
    if (nSignificatifs > 0) GardeSignificatifs(&s, nSignificatifs);
    if (nDecimales < 0) EnleveZerosFraction(&s);
    else FixeDecimales(&s, nDecimales > kDecimalesMax ? kDecimalesMax : nDecimales);
    if (!s.empty() && s[0] == L'-' && s.find_first_of(L"123456789") == std::wstring::npos) s.erase(0, 1);
    // Before the exponent goes back, so that its digits are never taken for fraction zeros, and
    // before the padding, so that the width holds.
    if (bSupprimeZeros) EnleveZerosFraction(&s);
    s += sExposant;
    if (nLargeur > 0) {
        const size_t nVoulu = static_cast<size_t>(nLargeur);
        if (s.size() > nVoulu) s = L"*E*";
        else if (nAlignement == 1) s.append(nVoulu - s.size(), L' ');
        else s.insert(0, nVoulu - s.size(), L' ');
    }
}

const wchar_t* pszTexteErreur(PFNTexteErreurMasque pfnTexte, eCHAINEERREUR e) {
    const wchar_t* psz = pfnTexte != nullptr ? pfnTexte(e) : CMasqueNumerique::s_pszTexteErreurDefaut(e);
    return psz != nullptr ? psz : L"";
}

void SetTexte(CAny* pclSortie, const wchar_t* pszTexte) {
    CXYString<wchar_t> cl;
    cl.nAffecte(pszTexte);
    pclSortie->SetDSTRW(cl);
}

}  // namespace

void CMasqueNumerique::FmtNum(CTString* pclTampon, int nLargeur, int nDecimales, int nSignificatifs, int nAlignement,
                              int bEtend, int bSupprimeZeros) noexcept {
    if (pclTampon == nullptr) return;
    try {
        std::wstring s(pclTampon->pszGet());
        FormateChiffres(&s, nLargeur, nDecimales, nSignificatifs, nAlignement, bEtend, bSupprimeZeros);
        pclTampon->Set(s.c_str(), static_cast<int>(s.size()));
    } catch (const std::bad_alloc&) {
        pclTampon->Vide();
    }
}

void CMasqueNumerique::NumeriqueVersChaineArrondi(const CAny& clValeur, CAny* pclSortie, int nDecimales,
                                                  PFNTexteErreurMasque pfnTexte) noexcept {
    if (pclSortie == nullptr) return;
    if (clValeur.bEstNull()) {
        SetTexte(pclSortie, pszTexteErreur(pfnTexte, CHAINEERREUR_NULL));
        return;
    }
    if (nDecimales > kDecimalesMax) nDecimales = kDecimalesMax;
    const int nCode = clValeur.nGetTypeCode();
    if (nCode == 0x0b || nCode == 0x0c) {
        double d = 0;
        if (clValeur.nGetREAL(&d) != ANY_OK || !std::isfinite(d) || std::fabs(d) > kReelMax) {
            SetTexte(pclSortie, pszTexteErreur(pfnTexte, CHAINEERREUR_DEPASSEMENT));
            return;
        }
        // Below 1e300 with at most 100 decimals, the text fits.
        wchar_t szFormat[16];
        wchar_t sz[512];
        if (nDecimales >= 0) std::swprintf(szFormat, 16, L"%%1.%df", nDecimales);
        else std::swprintf(szFormat, 16, L"%%.15g");
        std::swprintf(sz, 512, szFormat, d);
        CTString cl;
        cl.Set(sz);
        if (nDecimales < 0) FmtNum(&cl, -1, -1, 0, 0, 1, 1);
        SetTexte(pclSortie, cl.pszGet());
        return;
    }
    // Money is rounded in its own arithmetic first, so that its text carries no digit too many.
    CAny clTexte(clValeur);
    if ((nCode == 0x0a || nCode == 0x0d) && nDecimales >= 0 && nDecimales < 6 &&
        clTexte.__nCastTo(0x0a) <= ANY_SUCCES_MAX && clTexte.nGetTypeCode() == 0x0a) {
        CMoney st;
        std::memcpy(&st, clTexte.pbyValeur(), sizeof st);
        pstArrMonetaire(&st, static_cast<short>(nDecimales));
        wchar_t sz[MONEY_CHAINE_TAILLE];
        pszMonetaireVersChaineC(sz, &st);
        clTexte.SetPSTRX(sz);
    }
    CXYString<wchar_t> clChaine;
    if (clTexte.__nFillString(clChaine) > ANY_SUCCES_MAX) {
        SetTexte(pclSortie, L"");
        return;
    }
    CTString cl;
    cl.Set(clChaine.pszGet());
    FmtNum(&cl, -1, nDecimales, 0, 0, 1, 1);
    SetTexte(pclSortie, cl.pszGet());
}
