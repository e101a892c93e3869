// The counted strings' conversions over the library's Unicode and code-page services, in the one
// shape the strings need: count first, then write exactly that many.
#include "base/internal/conversion.h"

#include <climits>

#include "base/code_pages.h"
#include "base/unicode.h"

namespace base_internal {
namespace {

// The services count with int and read 0 as failure: a non-empty text that converts gives at least
// one unit, and an empty one is answered here without asking them.
template <typename TSource, typename TCible, typename F>
int64_t nAppelle(const TSource* pszTexte, size_t nUnites, TCible* pSortie, F&& fnService) noexcept {
    if (nUnites == 0) return 0;
    if (pszTexte == nullptr || nUnites > INT_MAX) return CONVERSION_INVALIDE;
    const int nCompte = fnService(static_cast<int>(nUnites), static_cast<TCible*>(nullptr), 0);
    if (nCompte <= 0) return CONVERSION_INVALIDE;
    if (pSortie != nullptr && fnService(static_cast<int>(nUnites), pSortie, nCompte) != nCompte) return CONVERSION_INVALIDE;
    return nCompte;
}

}  // namespace

wchar_t cCp1252VersWide(uint8_t by) noexcept { return STR_FromCP1252(by); }

int64_t nUtf8VersWideStrict(const char* pszTexte, size_t nOctets, wchar_t* pSortie) noexcept {
    return nAppelle(pszTexte, nOctets, pSortie,
                    [&](int n, wchar_t* p, int nPlace) { return nUTF8ToWide(pszTexte, n, p, nPlace); });
}

int64_t nUtf16VersWideStrict(const char16_t* pszTexte, size_t nUnites, wchar_t* pSortie) noexcept {
    return nAppelle(pszTexte, nUnites, pSortie,
                    [&](int n, wchar_t* p, int nPlace) { return UTF16ToWideChar(pszTexte, n, p, nPlace); });
}

int64_t nUtf32VersWideStrict(const char32_t* pszTexte, size_t nCaracteres, wchar_t* pSortie) noexcept {
    return nAppelle(pszTexte, nCaracteres, pSortie,
                    [&](int n, wchar_t* p, int nPlace) { return UTF32ToWideChar(pszTexte, n, p, nPlace); });
}

int64_t nWideVersUtf8Strict(const wchar_t* pszTexte, size_t nCaracteres, char* pSortie) noexcept {
    return nAppelle(pszTexte, nCaracteres, pSortie,
                    [&](int n, char* p, int nPlace) { return nWideToUTF8(pszTexte, n, p, nPlace); });
}

int64_t nCodePageVersWide(unsigned int nCodePage, const char* pszTexte, size_t nOctets, wchar_t* pSortie) noexcept {
    return nAppelle(pszTexte, nOctets, pSortie, [&](int n, wchar_t* p, int nPlace) {
        return MultiByteToWideChar(nCodePage, 0, pszTexte, n, p, nPlace);
    });
}

int64_t nWideVersCodePage(unsigned int nCodePage, const wchar_t* pszTexte, size_t nCaracteres, char* pSortie,
                          char cDefaut) noexcept {
    if (STR_nResolveCodePage(nCodePage) == CP_1252 && cDefaut != CARACTERE_PAR_DEFAUT) {
        // The system call knows only its own default character; 1252 is simple enough to map here
        // with the caller's.
        if (pSortie != nullptr)
            for (size_t i = 0; i < nCaracteres; ++i) {
                const int n = STR_ToCP1252(pszTexte[i]);
                pSortie[i] = n >= 0 ? static_cast<char>(n) : cDefaut;
            }
        return static_cast<int64_t>(nCaracteres);
    }
    return nAppelle(pszTexte, nCaracteres, pSortie, [&](int n, char* p, int nPlace) {
        return WideCharToMultiByte(nCodePage, 0, pszTexte, n, p, nPlace);
    });
}

}  // namespace base_internal
