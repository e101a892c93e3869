// Wide text to UTF-8.
#include "system/internal/utf8.h"

#include <cstdint>
#include <cstdlib>

namespace system_internal {

namespace {

char32_t cValide(wchar_t cCaractere) noexcept {
    const auto c = static_cast<uint32_t>(cCaractere);
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 0xFFFD;
    return c;
}

char* pszEcrit(char* psz, char32_t c) noexcept {
    if (c < 0x80) {
        *psz++ = static_cast<char>(c);
    } else if (c < 0x800) {
        *psz++ = static_cast<char>(0xC0 | (c >> 6));
        *psz++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        *psz++ = static_cast<char>(0xE0 | (c >> 12));
        *psz++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *psz++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
        *psz++ = static_cast<char>(0xF0 | (c >> 18));
        *psz++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        *psz++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *psz++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return psz;
}

}  // namespace

size_t nOctetsUtf8(wchar_t cCaractere) noexcept {
    const char32_t c = cValide(cCaractere);
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

char* pszWideVersUtf8Alloue(const wchar_t* pszTexte, size_t* pnLongueur) noexcept {
    if (pszTexte == nullptr) return nullptr;
    size_t nOctets = 0;
    for (const wchar_t* p = pszTexte; *p != 0; ++p) nOctets += nOctetsUtf8(*p);
    auto* pszSortie = static_cast<char*>(std::malloc(nOctets + 1));
    if (pszSortie == nullptr) return nullptr;
    char* psz = pszSortie;
    for (const wchar_t* p = pszTexte; *p != 0; ++p) psz = pszEcrit(psz, cValide(*p));
    *psz = 0;
    if (pnLongueur != nullptr) *pnLongueur = nOctets;
    return pszSortie;
}

}  // namespace system_internal
