// CTString: an owned, zero-terminated wide text in a malloc buffer. The empty text is held as a
// null buffer, and pszGet never answers null. Operations that allocate answer false when memory
// fails and then leave the text as it was.
#pragma once

#include <cstdarg>
#include <cstddef>

class CTString {
public:
    CTString() noexcept = default;
    explicit CTString(const wchar_t* pszTexte) noexcept { Set(pszTexte); }
    ~CTString();
    CTString(const CTString&) = delete;
    CTString& operator=(const CTString&) = delete;
    CTString(CTString&& clAutre) noexcept : m_pszBuffer(clAutre.m_pszBuffer) { clAutre.m_pszBuffer = nullptr; }
    CTString& operator=(CTString&& clAutre) noexcept {
        Transfert(clAutre);
        return *this;
    }

    // Set: null or empty leaves the empty text. The text may lie inside this one's own buffer.
    bool Set(const wchar_t* pszTexte) noexcept;
    // At most nLongueur characters; a zero among them ends the text early.
    bool Set(const wchar_t* pszTexte, int nLongueur) noexcept;
    bool Set(const wchar_t* pszTexte1, const wchar_t* pszTexte2, const wchar_t* pszTexte3) noexcept;
    // Takes ownership of a malloc buffer (null: the empty text).
    void SetBuffer(wchar_t* pszBuffer) noexcept;
    // Takes the other's buffer and leaves it empty.
    void Transfert(CTString& clAutre) noexcept;
    void Vide() noexcept;
    // Hands the malloc buffer to the caller (null for the empty text) and leaves this one empty.
    wchar_t* pszDetache() noexcept;

    bool Add(wchar_t cCaractere) noexcept;
    bool Add(const wchar_t* pszTexte) noexcept;
    // At most nLongueur characters; a zero among them ends the added text early.
    bool Add(const wchar_t* pszTexte, int nLongueur) noexcept;
    bool Add(const wchar_t* pszTexte1, const wchar_t* pszTexte2, const wchar_t* pszTexte3) noexcept;
    // Appends the formatted text (wide printf of base/wide_printf.h).
    bool AddPrintf(const wchar_t* pszFormat, ...) noexcept;
    bool AddFormatV(const wchar_t* pszFormat, va_list pArguments) noexcept;
    // Replaces the text by the formatted one.
    bool FormatV(const wchar_t* pszFormat, va_list pArguments) noexcept;

    const wchar_t* pszGet() const noexcept { return m_pszBuffer != nullptr ? m_pszBuffer : L""; }
    int nTaille() const noexcept;
    bool bEstVide() const noexcept { return m_pszBuffer == nullptr || m_pszBuffer[0] == 0; }
    // Null and empty are equal.
    bool bEstEgal(const wchar_t* pszTexte) const noexcept;

    // Field nIndex (from 0) of the text cut at each whole occurrence of pszSeparateur. False for an
    // index past the last field. pclSortie may be this string.
    bool bExtraitChaine(int nIndex, const wchar_t* pszSeparateur, CTString* pclSortie) const noexcept;

private:
    bool _SetBufferSize(size_t nLongueur) noexcept;
    bool _bAjoute(const wchar_t* pszTexte, size_t nLongueur) noexcept;

    wchar_t* m_pszBuffer = nullptr;
};
