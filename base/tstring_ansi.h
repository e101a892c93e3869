// CTStringAnsi: the owned 8-bit text (UTF-8 at this platform's borders), with the families of
// CTString (base/tstring.h).
#pragma once

#include "base/tstring.h"

extern template class CTTString<char>;

class CTStringAnsi : public CTTString<char> {
public:
    CTStringAnsi() noexcept = default;
    explicit CTStringAnsi(const char* pszTexte) noexcept { Set(pszTexte); }
    CTStringAnsi(CTStringAnsi&& clAutre) noexcept { Transfert(clAutre); }
    CTStringAnsi& operator=(CTStringAnsi&& clAutre) noexcept {
        Transfert(clAutre);
        return *this;
    }
    CTStringAnsi& operator=(const char* pszTexte) noexcept {
        Set(pszTexte);
        return *this;
    }
};
