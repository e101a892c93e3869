// CTString: the wide instance of the owned string, and the character helpers both instances use.
#include "base/tstring.h"

#include <locale.h>

#include <cwctype>

#include "base/format_message.h"
#include "base/internal/tstring_impl.h"
#include "base/wide_printf.h"

namespace tstring_internal {
namespace {

// The C library's Unicode case tables live in a UTF-8 locale; the process's own locale may be "C",
// whose wide tables stop at ASCII. Made once, never freed: it serves until the process ends.
locale_t lcUnicode() noexcept {
    static const locale_t lc = [] {
        locale_t l = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
        return l;
    }();
    return lc;
}

// Unaccented forms of U+00C0 to U+017F; an empty entry is a character that stays as it is.
constexpr const char* kSansAccent[192] = {
    "A", "A", "A", "A", "A", "A", "AE", "C", "E", "E", "E", "E", "I", "I", "I", "I",
    "D", "N", "O", "O", "O", "O", "O", "",  "O", "U", "U", "U", "U", "Y", "TH", "ss",
    "a", "a", "a", "a", "a", "a", "ae", "c", "e", "e", "e", "e", "i", "i", "i", "i",
    "d", "n", "o", "o", "o", "o", "o", "",  "o", "u", "u", "u", "u", "y", "th", "y",
    "A", "a", "A", "a", "A", "a", "C", "c", "C", "c", "C", "c", "C", "c", "D", "d",
    "D", "d", "E", "e", "E", "e", "E", "e", "E", "e", "E", "e", "G", "g", "G", "g",
    "G", "g", "G", "g", "H", "h", "H", "h", "I", "i", "I", "i", "I", "i", "I", "i",
    "I", "i", "IJ", "ij", "J", "j", "K", "k", "k", "L", "l", "L", "l", "L", "l", "L",
    "l", "L", "l", "N", "n", "N", "n", "N", "n", "n", "N", "n", "O", "o", "O", "o",
    "O", "o", "OE", "oe", "R", "r", "R", "r", "R", "r", "S", "s", "S", "s", "S", "s",
    "S", "s", "T", "t", "T", "t", "T", "t", "U", "u", "U", "u", "U", "u", "U", "u",
    "U", "u", "U", "u", "W", "w", "Y", "y", "Y", "Z", "z", "Z", "z", "Z", "z", "s",
};

}  // namespace

wchar_t cMajuscule(wchar_t c) noexcept {
    if (c < 0x80) return c >= L'a' && c <= L'z' ? c - L'a' + L'A' : c;
    if (locale_t lc = lcUnicode()) return static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), lc));
    return (c >= 0xE0 && c <= 0xFE && c != 0xF7) ? c - 0x20 : c;
}

wchar_t cMinuscule(wchar_t c) noexcept {
    if (c < 0x80) return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c;
    if (locale_t lc = lcUnicode()) return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(c), lc));
    return (c >= 0xC0 && c <= 0xDE && c != 0xD7) ? c + 0x20 : c;
}

const char* pszSansAccent(wchar_t c) noexcept {
    if (c < 0xC0 || c > 0x17F) return nullptr;
    const char* psz = kSansAccent[c - 0xC0];
    return *psz != 0 ? psz : nullptr;
}

int nFormate(wchar_t** ppsz, const wchar_t* pszFormat, va_list pArguments) noexcept {
    *ppsz = nullptr;
    if (pszFormat == nullptr) return -1;
    return vaswprintfWin(ppsz, pszFormat, pArguments);
}

size_t nEcritEntier(long long nValeur, char* pszSortie) noexcept {
    // Digits from the lowest, on the magnitude as unsigned so that the most negative value works.
    unsigned long long n = nValeur < 0 ? 0ULL - static_cast<unsigned long long>(nValeur) : static_cast<unsigned long long>(nValeur);
    char sz[24];
    size_t i = 0;
    do {
        sz[i++] = static_cast<char>('0' + n % 10);
        n /= 10;
    } while (n != 0);
    size_t j = 0;
    if (nValeur < 0) pszSortie[j++] = '-';
    while (i > 0) pszSortie[j++] = sz[--i];
    pszSortie[j] = 0;
    return j;
}

}  // namespace tstring_internal

template class CTTString<wchar_t>;

CTStringFormatMessage::CTStringFormatMessage(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    FormatV(pszFormat, pArguments);
    va_end(pArguments);
}

bool CTString::FormatMessageW(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    wchar_t* pszTexte = nullptr;
    const unsigned int n = ::FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER, pszFormat, 0, 0,
                                            reinterpret_cast<wchar_t*>(&pszTexte), 0, &pArguments);
    va_end(pArguments);
    // 0 is both an empty result and a failure: errno tells them apart only on failure, and an
    // empty text leaves no buffer worth keeping either way.
    if (n == 0 && pszTexte == nullptr && pszFormat != nullptr && *pszFormat != 0) return false;
    SetBuffer(pszTexte);
    return true;
}

bool CTString::_bFormatMessageWin(const wchar_t* pszFormat, const uintptr_t* ptabValeurs, int nNombre) noexcept {
    wchar_t* pszTexte = nullptr;
    const unsigned int n = ::FormatMessageWin(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER, pszFormat, 0,
                                              0, reinterpret_cast<wchar_t*>(&pszTexte), 0, ptabValeurs, nNombre);
    if (n == 0 && pszTexte == nullptr && pszFormat != nullptr && *pszFormat != 0) return false;
    SetBuffer(pszTexte);
    return true;
}
