// The UTF-8 form of a wide name for one system call: on the stack up to 1,024 bytes, on the heap
// beyond. Private to the files family.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <cwchar>

#include "base/unicode.h"

class CNomSysteme {
public:
    static constexpr size_t knPile = 1024;

    // After construction pszGet() is null when the name is null, holds a character that UTF-8
    // cannot carry (errno EILSEQ) or memory failed (errno ENOMEM). bSlash turns backslashes into
    // slashes (a backslash byte never occurs inside a UTF-8 sequence, so the bytes can be rewritten).
    explicit CNomSysteme(const wchar_t* pszNom, bool bSlash = false) noexcept {
        Convertit(pszNom);
        if (bSlash && m_pszNom != nullptr)
            for (char* p = const_cast<char*>(m_pszNom); *p != 0; ++p)
                if (*p == '\\') *p = '/';
    }
    ~CNomSysteme() { std::free(m_pszTas); }
    CNomSysteme(const CNomSysteme&) = delete;
    CNomSysteme& operator=(const CNomSysteme&) = delete;

    const char* pszGet() const noexcept { return m_pszNom; }
    bool bValide() const noexcept { return m_pszNom != nullptr; }

private:
    void Convertit(const wchar_t* pszNom) noexcept {
        if (pszNom == nullptr) {
            errno = EFAULT;
            return;
        }
        const size_t nCaracteres = std::wcslen(pszNom);
        // A character takes at most 4 bytes: most names go straight to the stack buffer.
        if (nCaracteres * 4 + 1 <= knPile) {
            if (nWideToUTF8(pszNom, -1, m_szPile, static_cast<int>(knPile)) > 0) m_pszNom = m_szPile;
            return;
        }
        if (nCaracteres > 0x3fffffff) {
            errno = ENAMETOOLONG;
            return;
        }
        const int nOctets = nWideToUTF8(pszNom, -1, nullptr, 0);
        if (nOctets <= 0) return;
        if (static_cast<size_t>(nOctets) <= knPile) {
            if (nWideToUTF8(pszNom, -1, m_szPile, static_cast<int>(knPile)) > 0) m_pszNom = m_szPile;
            return;
        }
        m_pszTas = static_cast<char*>(std::malloc(static_cast<size_t>(nOctets)));
        if (m_pszTas == nullptr) {
            errno = ENOMEM;
            return;
        }
        if (nWideToUTF8(pszNom, -1, m_pszTas, nOctets) > 0) m_pszNom = m_pszTas;
    }

    char m_szPile[knPile];
    char* m_pszTas = nullptr;
    const char* m_pszNom = nullptr;
};
