// CTStringAnsi: the 8-bit instance of the owned string.
#include "base/tstring_ansi.h"

#include <cstdio>

#include "base/internal/tstring_impl.h"

namespace tstring_internal {

int nFormate(char** ppsz, const char* pszFormat, va_list pArguments) noexcept {
    *ppsz = nullptr;
    if (pszFormat == nullptr) return -1;
    va_list pCopie;
    va_copy(pCopie, pArguments);
    const int n = std::vsnprintf(nullptr, 0, pszFormat, pCopie);
    va_end(pCopie);
    if (n < 0) return -1;
    char* psz = static_cast<char*>(std::malloc(static_cast<size_t>(n) + 1));
    if (psz == nullptr) return -1;
    std::vsnprintf(psz, static_cast<size_t>(n) + 1, pszFormat, pArguments);
    *ppsz = psz;
    return n;
}

}  // namespace tstring_internal

template class CTTString<char>;
