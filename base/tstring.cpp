// CTString: owned wide text.
#include "base/tstring.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

#include "base/wide_printf.h"

namespace {

size_t nLongueurBornee(const wchar_t* pszTexte, int nLongueur) noexcept {
    if (pszTexte == nullptr || nLongueur <= 0) return 0;
    return wcsnlen(pszTexte, static_cast<size_t>(nLongueur));
}

}  // namespace

CTString::~CTString() { free(m_pszBuffer); }

bool CTString::_SetBufferSize(size_t nLongueur) noexcept {
    if (nLongueur >= SIZE_MAX / sizeof(wchar_t) - 1) return false;
    void* pNouveau = realloc(m_pszBuffer, (nLongueur + 1) * sizeof(wchar_t));
    if (pNouveau == nullptr) return false;
    m_pszBuffer = static_cast<wchar_t*>(pNouveau);
    return true;
}

bool CTString::Set(const wchar_t* pszTexte) noexcept {
    if (pszTexte == m_pszBuffer) return true;
    if (pszTexte == nullptr) {
        Vide();
        return true;
    }
    return Set(pszTexte, static_cast<int>(wcsnlen(pszTexte, INT_MAX)));
}

bool CTString::Set(const wchar_t* pszTexte, int nLongueur) noexcept {
    const size_t nNouvelle = nLongueurBornee(pszTexte, nLongueur);
    if (nNouvelle == 0) {
        Vide();
        return true;
    }
    const size_t nAncienne = m_pszBuffer != nullptr ? wcslen(m_pszBuffer) : 0;
    if (m_pszBuffer != nullptr && pszTexte >= m_pszBuffer && pszTexte <= m_pszBuffer + nAncienne) {
        // A piece of our own text: slide it down, then trim the buffer.
        wmemmove(m_pszBuffer, pszTexte, nNouvelle);
        m_pszBuffer[nNouvelle] = 0;
        _SetBufferSize(nNouvelle);  // shrinking; keeping the larger block is harmless if it fails
        return true;
    }
    if (nNouvelle != nAncienne && !_SetBufferSize(nNouvelle)) return false;
    wmemcpy(m_pszBuffer, pszTexte, nNouvelle);
    m_pszBuffer[nNouvelle] = 0;
    return true;
}

bool CTString::Set(const wchar_t* pszTexte1, const wchar_t* pszTexte2, const wchar_t* pszTexte3) noexcept {
    CTString clTemp;
    if (!clTemp.Add(pszTexte1, pszTexte2, pszTexte3)) return false;
    Transfert(clTemp);
    return true;
}

void CTString::SetBuffer(wchar_t* pszBuffer) noexcept {
    if (pszBuffer == m_pszBuffer) return;
    free(m_pszBuffer);
    m_pszBuffer = pszBuffer;
    if (m_pszBuffer != nullptr && m_pszBuffer[0] == 0) Vide();
}

void CTString::Transfert(CTString& clAutre) noexcept {
    if (&clAutre == this) return;
    free(m_pszBuffer);
    m_pszBuffer = clAutre.m_pszBuffer;
    clAutre.m_pszBuffer = nullptr;
}

void CTString::Vide() noexcept {
    free(m_pszBuffer);
    m_pszBuffer = nullptr;
}

wchar_t* CTString::pszDetache() noexcept {
    wchar_t* pszBuffer = m_pszBuffer;
    m_pszBuffer = nullptr;
    return pszBuffer;
}

bool CTString::_bAjoute(const wchar_t* pszTexte, size_t nLongueur) noexcept {
    if (nLongueur == 0) return true;
    const size_t nAncienne = m_pszBuffer != nullptr ? wcslen(m_pszBuffer) : 0;
    if (nLongueur > SIZE_MAX / sizeof(wchar_t) - 2 - nAncienne) return false;
    // The text may be a piece of ours, which the reallocation can move.
    const bool bInterne = m_pszBuffer != nullptr && pszTexte >= m_pszBuffer && pszTexte <= m_pszBuffer + nAncienne;
    const size_t nDecalage = bInterne ? static_cast<size_t>(pszTexte - m_pszBuffer) : 0;
    if (!_SetBufferSize(nAncienne + nLongueur)) return false;
    if (bInterne) pszTexte = m_pszBuffer + nDecalage;
    wmemmove(m_pszBuffer + nAncienne, pszTexte, nLongueur);
    m_pszBuffer[nAncienne + nLongueur] = 0;
    return true;
}

bool CTString::Add(wchar_t cCaractere) noexcept { return cCaractere == 0 || _bAjoute(&cCaractere, 1); }

bool CTString::Add(const wchar_t* pszTexte) noexcept {
    return pszTexte == nullptr || _bAjoute(pszTexte, wcslen(pszTexte));
}

bool CTString::Add(const wchar_t* pszTexte, int nLongueur) noexcept {
    return _bAjoute(pszTexte, nLongueurBornee(pszTexte, nLongueur));
}

bool CTString::Add(const wchar_t* pszTexte1, const wchar_t* pszTexte2, const wchar_t* pszTexte3) noexcept {
    const size_t nAncienne = m_pszBuffer != nullptr ? wcslen(m_pszBuffer) : 0;
    if (Add(pszTexte1) && Add(pszTexte2) && Add(pszTexte3)) return true;
    // All or nothing: cut back what went in before memory failed.
    if (m_pszBuffer != nullptr) m_pszBuffer[nAncienne] = 0;
    if (nAncienne == 0) Vide();
    return false;
}

bool CTString::AddPrintf(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const bool bResultat = AddFormatV(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

bool CTString::AddFormatV(const wchar_t* pszFormat, va_list pArguments) noexcept {
    wchar_t* pszTexte = nullptr;
    const int nLongueur = vaswprintfWin(&pszTexte, pszFormat, pArguments);
    if (nLongueur < 0) return false;
    bool bResultat;
    if (m_pszBuffer == nullptr) {
        SetBuffer(pszTexte);
        bResultat = true;
    } else {
        bResultat = _bAjoute(pszTexte, static_cast<size_t>(nLongueur));
        free(pszTexte);
    }
    return bResultat;
}

bool CTString::FormatV(const wchar_t* pszFormat, va_list pArguments) noexcept {
    wchar_t* pszTexte = nullptr;
    if (vaswprintfWin(&pszTexte, pszFormat, pArguments) < 0) return false;
    SetBuffer(pszTexte);
    return true;
}

int CTString::nTaille() const noexcept {
    return m_pszBuffer != nullptr ? static_cast<int>(wcsnlen(m_pszBuffer, INT_MAX)) : 0;
}

bool CTString::bEstEgal(const wchar_t* pszTexte) const noexcept {
    return wcscmp(pszGet(), pszTexte != nullptr ? pszTexte : L"") == 0;
}

bool CTString::bExtraitChaine(int nIndex, const wchar_t* pszSeparateur, CTString* pclSortie) const noexcept {
    if (nIndex < 0 || pclSortie == nullptr) return false;
    const wchar_t* pszDebut = pszGet();
    const size_t nSeparateur = pszSeparateur != nullptr ? wcslen(pszSeparateur) : 0;
    if (nSeparateur == 0) return nIndex == 0 ? pclSortie->Set(pszDebut) : false;
    for (int i = 0; i < nIndex; ++i) {
        const wchar_t* pszSuivant = wcsstr(pszDebut, pszSeparateur);
        if (pszSuivant == nullptr) return false;
        pszDebut = pszSuivant + nSeparateur;
    }
    const wchar_t* pszFin = wcsstr(pszDebut, pszSeparateur);
    const size_t nLongueur = pszFin != nullptr ? static_cast<size_t>(pszFin - pszDebut) : wcslen(pszDebut);
    if (nLongueur > INT_MAX) return false;
    return pclSortie->Set(pszDebut, static_cast<int>(nLongueur));
}
