// A date-time (code 0x1a) and a duration (code 0x1b) as they cross between the machine and the
// component. The machine reads and writes them through these views and their exact texts, without
// the component's calendar.
//
// Date-time: eight bytes, two native 32-bit words. The first packs the date as
// year << 16 | month << 8 | day; the second holds the milliseconds of the day. Its text is
// "AAAAMMJJHHmmSSCCC" (the last three digits the milliseconds).
// Duration: one signed 64-bit count of milliseconds. Its text is the signed decimal count.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <string>
#include <string_view>

struct STDateTimeView {
    uint32_t dwDate;
    uint32_t dwMillisecondes;
};
static_assert(sizeof(STDateTimeView) == 8);

struct STDureeView {
    int64_t nMillisecondes;
};
static_assert(sizeof(STDureeView) == 8);

inline constexpr uint32_t DATE_VIEW_MS_PAR_JOUR = 86'400'000;
inline constexpr size_t DATE_VIEW_LONGUEUR_TEXTE = 17;

// "AAAAMMJJHHmmSSCCC" of a view; the fields are written as they stand, even out of range.
inline std::wstring sDateTimeViewText(const STDateTimeView& st) {
    const uint32_t ms = st.dwMillisecondes;
    wchar_t sz[64];
    std::swprintf(sz, 64, L"%04u%02u%02u%02u%02u%02u%03u", st.dwDate >> 16, (st.dwDate >> 8) & 0xff,
                  st.dwDate & 0xff, ms / 3'600'000u, ms / 60'000u % 60u, ms / 1000u % 60u, ms % 1000u);
    return sz;
}

// A view from a text of 8 to 17 digits: the date, then a time padded on the right with zeros.
// False for any other text and for a time past the end of the day; no calendar test is made.
inline bool bDateTimeViewFromText(std::wstring_view s, STDateTimeView* pst) {
    if (s.size() < 8 || s.size() > DATE_VIEW_LONGUEUR_TEXTE) return false;
    uint32_t an[7] = {};
    static constexpr int anLargeur[7] = {4, 2, 2, 2, 2, 2, 3};
    size_t nPos = 0;
    for (int i = 0; i < 7; ++i) {
        for (int k = 0; k < anLargeur[i]; ++k, ++nPos) {
            const wchar_t c = nPos < s.size() ? s[nPos] : L'0';
            if (c < L'0' || c > L'9') return false;
            an[i] = an[i] * 10 + static_cast<uint32_t>(c - L'0');
        }
    }
    if (an[3] > 23 || an[4] > 59 || an[5] > 59) return false;
    pst->dwDate = an[0] << 16 | an[1] << 8 | an[2];
    pst->dwMillisecondes = ((an[3] * 60 + an[4]) * 60 + an[5]) * 1000 + an[6];
    return true;
}

inline std::wstring sDureeViewText(const STDureeView& st) { return std::to_wstring(st.nMillisecondes); }

// A duration from its signed decimal count of milliseconds.
inline bool bDureeViewFromText(std::wstring_view s, STDureeView* pst) {
    size_t i = 0;
    const bool bNegatif = !s.empty() && s[0] == L'-';
    if (bNegatif) ++i;
    if (i >= s.size() || s.size() - i > 18) return false;
    int64_t n = 0;
    for (; i < s.size(); ++i) {
        if (s[i] < L'0' || s[i] > L'9') return false;
        n = n * 10 + (s[i] - L'0');
    }
    pst->nMillisecondes = bNegatif ? -n : n;
    return true;
}
