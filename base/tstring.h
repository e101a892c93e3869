// CTString and CTStringAnsi: owned, zero-terminated texts in a malloc buffer, wide and 8-bit, for
// work inside the library. The empty text is held as a null buffer and pszGet never answers null.
// The length is not stored: it is the terminator's position. Buffers are sized exactly, with no
// slack; repeated appends belong in CXYStringConcat.
//
// Both share the families of CTTString<T>. Positions are 0-based, lengths in characters of T, and
// -1 for a length means "to the end". Operations that allocate answer false when memory fails and
// then leave the text as it was. 8-bit text is UTF-8: CTStringAnsi's case and accent operations
// read it as such (bytes that are not UTF-8 are left as they are, ASCII letters still mapped).
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>

#include "base/format_message.h"
#include "base/xystring.h"

class CTString;
class CTStringAnsi;

template <typename T>
class CTTString {
    static_assert(sizeof(T) == 1 || sizeof(T) == 4, "CTTString holds char or wchar_t");

public:
    // The owned string of the same width, which the operations that cut a new text answer.
    using TChaine = std::conditional_t<sizeof(T) == 1, CTStringAnsi, CTString>;
    // Where Ellipse puts the ellipsis.
    enum EPositionEllipse : int { ELLIPSE_FIN = 0, ELLIPSE_DEBUT = 1, ELLIPSE_MILIEU = 2 };

    CTTString() noexcept = default;
    ~CTTString();
    CTTString(const CTTString&) = delete;
    CTTString& operator=(const CTTString&) = delete;

    // ---- set
    // Null or empty leaves the empty text. The text may lie inside this one's own buffer.
    bool Set(const T* pszTexte) noexcept;
    // At most nLongueur characters; a zero among them ends the text early.
    bool Set(const T* pszTexte, int nLongueur) noexcept;
    bool Set(const T* pszTexte1, const T* pszTexte2, const T* pszTexte3) noexcept;
    bool Set(const CXYString<T>& clTexte) noexcept { return Set(clTexte.pszGet(), clTexte.nGetLongueur()); }
    bool SetI4(int nValeur) noexcept;
    bool SetI8(int64_t nValeur) noexcept;
    // Wide text (UTF-8 for the 8-bit string). False, text unchanged, when it does not convert.
    bool SetUNICODE(const wchar_t* pszTexte, int nLongueur = -1) noexcept;
    // 8-bit text in a code page (65001 UTF-8, 1252...); for the 8-bit string, to UTF-8.
    bool SetANSIEx(const char* pszTexte, int nLongueur, unsigned int nCodePage) noexcept;
    // 8-bit text in the standard form of this platform's borders, UTF-8.
    bool SetStandard(const char* pszTexte, int nLongueur = -1) noexcept { return SetANSIEx(pszTexte, nLongueur, XYS_CP_UTF8); }
    // Takes ownership of a malloc buffer (null: the empty text).
    void SetBuffer(T* pszBuffer) noexcept;
    // Takes the other's buffer and leaves it empty.
    void Transfert(CTTString& clAutre) noexcept;
    void Vide() noexcept;
    // Hands the malloc buffer to the caller (null for the empty text) and leaves this one empty.
    T* pszDetache() noexcept;

    // ---- add
    bool Add(T cCaractere) noexcept;
    bool Add(const T* pszTexte) noexcept;
    // At most nLongueur characters; a zero among them ends the added text early; nothing for a
    // null text or a length of 0 or less.
    bool Add(const T* pszTexte, int nLongueur) noexcept;
    bool Add(const T* pszTexte1, const T* pszTexte2, const T* pszTexte3) noexcept;
    bool Add(const CXYString<T>& clTexte) noexcept { return Add(clTexte.pszGet(), clTexte.nGetLongueur()); }
    bool AddI4(int nValeur) noexcept;
    bool AddI8(int64_t nValeur) noexcept;
    // Formats (the library's wide printf for wide text, the C library's for 8-bit) and appends.
    bool AddPrintf(const T* pszFormat, ...) noexcept;
    bool AddFormatV(const T* pszFormat, va_list pArguments) noexcept;
    // Replaces the text by the formatted one.
    bool printf(const T* pszFormat, ...) noexcept;
    bool FormatV(const T* pszFormat, va_list pArguments) noexcept;
    // Inserts at nPosition, clipped to the text.
    bool Insert(int nPosition, const T* pszTexte) noexcept;
    // Pads on the right with cCaractere up to nLongueur characters.
    bool Complete(int nLongueur, T cCaractere) noexcept;

    // ---- read
    const T* pszGet() const noexcept { return m_pszBuffer != nullptr ? m_pszBuffer : pszVide(); }
    int nTaille() const noexcept;
    bool bEstVide() const noexcept { return m_pszBuffer == nullptr || m_pszBuffer[0] == 0; }
    // The character at nPosition, 0 outside the text.
    T cGetChar(int nPosition) const noexcept;
    // Writes one character inside the text; 0 cuts the text there. Outside the text: no effect.
    void SetChar(int nPosition, T cCaractere) noexcept;
    // Null and empty are equal.
    bool bEstEgal(const T* pszTexte) const noexcept;
    bool bEstEgalI(const T* pszTexte) const noexcept;
    bool operator==(const T* pszTexte) const noexcept { return bEstEgal(pszTexte); }
    bool operator==(const CTTString& clAutre) const noexcept { return bEstEgal(clAutre.pszGet()); }
    bool bCommencePar(const T* pszTexte) const noexcept;
    bool bCommenceParI(const T* pszTexte) const noexcept;
    bool bTerminePar(const T* pszTexte) const noexcept;
    bool bTermineParI(const T* pszTexte) const noexcept;
    // Positions of a text: the first from nDebut, the last, the first without regard to case, the
    // first of any of the given characters. -1 when absent or for an empty pattern.
    int nPos(const T* pszTexte, int nDebut = 0) const noexcept;
    int nRPos(const T* pszTexte) const noexcept;
    int nUpPos(const T* pszTexte, int nDebut = 0) const noexcept;
    int nPosParmi(const T* pszCaracteres, int nDebut = 0) const noexcept;
    // Occurrences that do not overlap.
    int nNbOcc(const T* pszTexte) const noexcept;
    // The integer the text starts with (blanks, sign, digits), 0 without one, clamped to int.
    int nVal() const noexcept;

    // ---- cut
    void Tronque(int nLongueur) noexcept;        // keeps the first nLongueur characters
    void TronqueDebut(int nLongueur) noexcept;   // drops the first nLongueur characters
    void Coupe(int nPosition, int nLongueur) noexcept;  // drops nLongueur characters at nPosition
    TChaine clGauche(int nLongueur) const noexcept;
    TChaine clDroite(int nLongueur) const noexcept;
    TChaine clMilieu(int nPosition, int nLongueur = -1) const noexcept;
    // The text without nLongueur characters at nPosition.
    TChaine clExclu(int nPosition, int nLongueur) const noexcept;
    // The characters of the text that belong to pszCaracteres, in order.
    TChaine clContientUniquement(const T* pszCaracteres) const noexcept;
    // Blanks are space, tab, CR and LF.
    void Trim() noexcept;
    void LTrim() noexcept;
    void RTrim() noexcept;
    void SansEspace() noexcept;

    // ---- change
    void Majuscule() noexcept;
    void Minuscule() noexcept;
    // Latin letters lose their accents (é to e, Œ to OE, ß to ss).
    bool SansAccent() noexcept;
    void Renverse() noexcept;
    // Replaces every occurrence; answers how many, or -1 when memory failed (text unchanged).
    int Remplace(const T* pszAncien, const T* pszNouveau) noexcept;
    int RemplaceI(const T* pszAncien, const T* pszNouveau) noexcept;
    // Spaces become no-break spaces (U+00A0).
    bool Insecable() noexcept;
    // This text becomes pszTexte cut to nLargeur characters, "..." standing for what is left out.
    bool Ellipse(const T* pszTexte, int nLargeur, int nPosition = ELLIPSE_FIN) noexcept;

    // ---- fields: the separator is a whole text, fields are numbered from 0
    // Field nIndex of the text cut at each whole occurrence of pszSeparateur; false for an index
    // past the last field. pclSortie may be this string.
    bool bExtraitChaine(int nIndex, const T* pszSeparateur, CTTString* pclSortie) const noexcept;
    // The field that starts at *pnPosition; *pnPosition moves past its separator (to -1 after the
    // last field). False once the text is used up.
    bool bExtraitChainePos(int* pnPosition, const T* pszSeparateur, CTTString* pclSortie) const noexcept;
    // Where field nIndex starts and how long it is.
    bool bExtraitPosTailleChaine(int nIndex, const T* pszSeparateur, int* pnPosition, int* pnTaille) const noexcept;
    // Tokens between any of the characters of pszSeparateurs, empty ones skipped, from *pnPosition.
    bool bExtraitChaineTok(int* pnPosition, const T* pszSeparateurs, CTTString* pclSortie) const noexcept;
    // Field nIndex goes into pclSortie (may be null) and is replaced by pszNouveau in this text.
    bool bExtraitEtRemplaceChaine(int nIndex, const T* pszSeparateur, const T* pszNouveau, CTTString* pclSortie) noexcept;
    // Calls fnVisiteur(field, length) for every field in order until it answers false; answers
    // whether every field was visited.
    bool PourTouteChaineSepareePar(const T* pszSeparateur, const std::function<bool(const T*, int)>& fnVisiteur) const;

    // ---- file names
    // A new empty file in pszRepertoire (null: $TMPDIR or /tmp) named pszPrefixe and six
    // characters; this text becomes its path.
    bool FichierTemporaire(const T* pszRepertoire = nullptr, const T* pszPrefixe = nullptr) noexcept;
    // Cuts the text before (Fin) or after (Debut) the first or last cCaractere. The plain forms
    // answer the text and leave it whole when the character is absent; the ...Existant forms
    // answer null then.
    const T* pszSetFinPremier(T cCaractere) noexcept;
    const T* pszSetFinPremierExistant(T cCaractere) noexcept;
    const T* pszSetFinDernier(T cCaractere) noexcept;
    const T* pszSetFinDernierExistant(T cCaractere) noexcept;
    const T* pszSetDebutPremier(T cCaractere) noexcept;
    const T* pszSetDebutPremierExistant(T cCaractere) noexcept;
    const T* pszSetDebutDernier(T cCaractere) noexcept;
    const T* pszSetDebutDernierExistant(T cCaractere) noexcept;

protected:
    static const T* pszVide() noexcept { return CBaseStrMem::s_pVide<T>(); }
    bool _SetBufferSize(size_t nLongueur) noexcept;
    bool _bAjoute(const T* pszTexte, size_t nLongueur) noexcept;
    bool _bRemplaceTout(const T* pszAncien, const T* pszNouveau, bool bSansCasse, int* pnNombre) noexcept;
    const T* _pszCoupeA(T cCaractere, bool bDernier, bool bGardeDebut, bool bExistant) noexcept;
    // Positions of field nIndex; false when there is no such field.
    bool _bChamp(int nIndex, const T* pszSeparateur, size_t* pnDebut, size_t* pnLongueur) const noexcept;

    T* m_pszBuffer = nullptr;
};

extern template class CTTString<wchar_t>;

class CTString : public CTTString<wchar_t> {
public:
    CTString() noexcept = default;
    explicit CTString(const wchar_t* pszTexte) noexcept { Set(pszTexte); }
    CTString(CTString&& clAutre) noexcept { Transfert(clAutre); }
    CTString& operator=(CTString&& clAutre) noexcept {
        Transfert(clAutre);
        return *this;
    }
    CTString& operator=(const wchar_t* pszTexte) noexcept {
        Set(pszTexte);
        return *this;
    }

    // Replaces the text by the system-style formatting of pszFormat: printf conversions for
    // FormatMessageW, numbered inserts ("%1", "%2!d!") for FormatMessageWin, whose inserts are
    // counted by the compiler so that an insert number past them fails rather than reads.
    bool FormatMessageW(const wchar_t* pszFormat, ...) noexcept;
    template <class... TArguments>
    bool FormatMessageWin(const wchar_t* pszFormat, TArguments... xArguments) noexcept {
        const uintptr_t tabValeurs[sizeof...(TArguments) + 1] = {format_message_internal::nCase(xArguments)..., 0};
        return _bFormatMessageWin(pszFormat, tabValeurs, static_cast<int>(sizeof...(TArguments)));
    }

private:
    bool _bFormatMessageWin(const wchar_t* pszFormat, const uintptr_t* ptabValeurs, int nNombre) noexcept;
};

// A CTString made by formatting, with the wide printf of the library.
class CTStringFormatMessage : public CTString {
public:
    explicit CTStringFormatMessage(const wchar_t* pszFormat, ...) noexcept;
};
