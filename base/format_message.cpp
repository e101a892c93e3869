// The message formatting emulation: the printf form over the wide printf, and the numbered form,
// a scanner of the message text that writes through a column-aware output and formats each insert
// with the wide printf.
#include "base/format_message.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "base/internal/utf.h"
#include "base/wide_printf.h"

namespace {

// The default insert format: a text.
constexpr wchar_t gszFormatTexte[] = L"s";


constexpr int TAILLE_FORMAT_INSERT = 32;  // "%", the insert's format, terminator
constexpr int CHIFFRES_INSERT_MAX = 3;
constexpr size_t PAS_ALLOCATION = 65536;
constexpr size_t TAILLE_INSERT_COURT = 256;

unsigned int nEchec(int nErreur) noexcept {
    errno = nErreur;
    return 0;
}

// The text of a system error as a malloc wide text; null when memory fails.
wchar_t* pszTexteSysteme(unsigned int dwCode) noexcept {
    const int nCode = dwCode != 0 ? static_cast<int>(dwCode) : errno;
    char szTexte[512];
    const char* pszTexte = strerror_r(nCode, szTexte, sizeof szTexte);
    return base_internal::pszUtf8VersWideAlloue(pszTexte, base_internal::LONGUEUR_JUSQUA_ZERO);
}

// ---------------------------------------------------------------- the printf form

// True when the format reads no argument: only "%%" may follow a percent sign.
bool bSansArgument(const wchar_t* pszFormat) noexcept {
    for (const wchar_t* psz = pszFormat; *psz != 0; ++psz) {
        if (*psz != L'%') continue;
        if (psz[1] != L'%') return false;
        ++psz;
    }
    return true;
}

int nFormateSansArgument(wchar_t** ppszSortie, wchar_t* pszBuffer, size_t nTaille, const wchar_t* pszFormat,
                         ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int nResultat = ppszSortie != nullptr ? vaswprintfWin(ppszSortie, pszFormat, pArguments)
                                                : vsnwprintfWin(pszBuffer, nTaille, pszFormat, pArguments);
    va_end(pArguments);
    return nResultat;
}

// ---------------------------------------------------------------- the numbered form

// The arguments of the inserts, counted. A va_list is read forward only: the values read are
// kept, so that an insert can be used twice and a later one read before an earlier one.
class CLecteurArguments {
public:
    CLecteurArguments(const STArgumentsMessage* pstArguments, bool bTableau) noexcept : m_bTableau(bTableau) {
        if (pstArguments == nullptr || pstArguments->nNombre <= 0) return;
        if (bTableau) {
            if (pstArguments->ptabValeurs == nullptr) return;
            m_ptabValeurs = pstArguments->ptabValeurs;
        } else {
            if (pstArguments->pListe == nullptr) return;
            va_copy(m_pListe, *pstArguments->pListe);
            m_bListe = true;
        }
        m_nNombre = pstArguments->nNombre;
    }
    ~CLecteurArguments() {
        if (m_bListe) va_end(m_pListe);
    }
    CLecteurArguments(const CLecteurArguments&) = delete;
    CLecteurArguments& operator=(const CLecteurArguments&) = delete;

    // Insert nNumero (from 1). False past the arguments given.
    bool bLit(int nNumero, uintptr_t* pnValeur) noexcept {
        if (nNumero < 1 || nNumero > m_nNombre) return false;
        if (m_bTableau) {
            *pnValeur = m_ptabValeurs[nNumero - 1];
            return true;
        }
        if (nNumero > FORMAT_MESSAGE_NB_CACHE) return false;
        while (m_nLus < nNumero) m_anCache[m_nLus++] = va_arg(m_pListe, uintptr_t);
        *pnValeur = m_anCache[nNumero - 1];
        return true;
    }

private:
    bool m_bTableau;
    bool m_bListe = false;
    int m_nNombre = 0;
    const uintptr_t* m_ptabValeurs = nullptr;
    va_list m_pListe;
    uintptr_t m_anCache[FORMAT_MESSAGE_NB_CACHE];
    int m_nLus = 0;
};

// The output of the numbered form: a buffer of fixed limit (terminator included) that stops when
// full, with the column and the last blank of the line kept for line breaking. The caller's buffer
// has its limit from the start; an allocated one starts small and doubles up to its limit, which
// gives the text a buffer of the limit's size would, without making one per call.
class CSortieMessage {
public:
    CSortieMessage(wchar_t* pszBuffer, size_t nLimite, unsigned int nLargeur) noexcept
        : m_pszBuffer(pszBuffer), m_nCapacite(nLimite), m_nLimite(nLimite), m_nLargeur(nLargeur) {}
    // Allocated: false when the first block cannot be had.
    CSortieMessage(size_t nLimite, unsigned int nLargeur) noexcept
        : m_nCapacite(nLimite < CAPACITE_INITIALE ? nLimite : CAPACITE_INITIALE),
          m_nLimite(nLimite),
          m_nLargeur(nLargeur),
          m_bAlloue(true) {
        m_pszBuffer = static_cast<wchar_t*>(malloc(m_nCapacite * sizeof(wchar_t)));
        if (m_pszBuffer == nullptr) m_bEchecMemoire = true;
    }
    ~CSortieMessage() {
        if (m_bAlloue) free(m_pszBuffer);
    }
    CSortieMessage(const CSortieMessage&) = delete;
    CSortieMessage& operator=(const CSortieMessage&) = delete;

    bool bPlein() const noexcept { return m_bPlein; }
    bool bEchecMemoire() const noexcept { return m_bEchecMemoire; }
    size_t nLongueur() const noexcept { return m_nLongueur; }
    // Characters that can still be written.
    size_t nPlace() const noexcept { return m_nLimite - 1 - m_nLongueur; }
    void Termine() noexcept { m_pszBuffer[m_nLongueur] = 0; }
    // Hands the allocated buffer over, shrunk to the text but never below nMinimum characters.
    wchar_t* pszDetache(size_t nMinimum) noexcept {
        const size_t nGarde = m_nLongueur + 1 > nMinimum ? m_nLongueur + 1 : nMinimum;
        if (nGarde != m_nCapacite) {
            void* pAjuste = realloc(m_pszBuffer, nGarde * sizeof(wchar_t));
            // A failed shrink keeps the larger block; a failed growth to the minimum is a failure.
            if (pAjuste != nullptr) m_pszBuffer = static_cast<wchar_t*>(pAjuste);
            else if (nGarde > m_nCapacite) return nullptr;
        }
        wchar_t* pszBuffer = m_pszBuffer;
        m_pszBuffer = nullptr;
        return pszBuffer;
    }

    void FinDeLigne() noexcept {
        if (!_bAjoute(L'\r') || !_bAjoute(L'\n')) return;
        _NouvelleLigne();
    }
    void RetourChariot() noexcept {
        if (_bAjoute(L'\r')) _NouvelleLigne();
    }

    // A character of the text or of an insert.
    void Caractere(wchar_t cCaractere) noexcept {
        if (cCaractere == L'\r' || cCaractere == L'\n') {
            if (_bAjoute(cCaractere)) _NouvelleLigne();
            return;
        }
        if (cCaractere == L'\t') {
            if (_bAjoute(cCaractere)) m_nColonne = (m_nColonne / 8 + 1) * 8;
            return;
        }
        if (bLignesLimitees()) {
            while (m_nColonne >= m_nLargeur && !m_bPlein) {
                if (cCaractere == L' ') {
                    // The blank that overflows becomes the break itself.
                    FinDeLigne();
                    return;
                }
                _Coupe();
            }
            if (m_bPlein) return;
        }
        if (!_bAjoute(cCaractere)) return;
        if (cCaractere == L' ') m_nDernierBlanc = m_nLongueur - 1;
        ++m_nColonne;
    }

private:
    static constexpr size_t AUCUN_BLANC = static_cast<size_t>(-1);

    bool bLignesLimitees() const noexcept { return m_nLargeur != 0 && m_nLargeur != FORMAT_MESSAGE_MAX_WIDTH_MASK; }

    static constexpr size_t CAPACITE_INITIALE = 256;

    // Room for one more character and the terminator; false when full or out of memory.
    bool _bPlace() noexcept {
        if (m_bPlein) return false;
        if (m_nLongueur + 1 < m_nCapacite) return true;
        if (m_nCapacite >= m_nLimite) {
            m_bPlein = true;
            return false;
        }
        const size_t nCapacite = m_nCapacite * 2 < m_nLimite ? m_nCapacite * 2 : m_nLimite;
        void* pNouveau = realloc(m_pszBuffer, nCapacite * sizeof(wchar_t));
        if (pNouveau == nullptr) {
            m_bEchecMemoire = true;
            m_bPlein = true;  // stops the scan
            return false;
        }
        m_pszBuffer = static_cast<wchar_t*>(pNouveau);
        m_nCapacite = nCapacite;
        return true;
    }

    bool _bAjoute(wchar_t cCaractere) noexcept {
        if (!_bPlace()) return false;
        m_pszBuffer[m_nLongueur++] = cCaractere;
        return true;
    }

    void _NouvelleLigne() noexcept {
        m_nColonne = 0;
        m_nDernierBlanc = AUCUN_BLANC;
    }

    // Breaks the line that reached the width: at its last blank, which becomes CR LF and sends the
    // rest of the line down, or, without a blank, right here.
    void _Coupe() noexcept {
        if (m_nDernierBlanc == AUCUN_BLANC) {
            FinDeLigne();
            return;
        }
        const size_t nBlanc = m_nDernierBlanc;
        // Without room for the second character of the break, the line stays cut as it stood.
        if (!_bPlace()) return;
        wmemmove(m_pszBuffer + nBlanc + 2, m_pszBuffer + nBlanc + 1, m_nLongueur - nBlanc - 1);
        m_pszBuffer[nBlanc] = L'\r';
        m_pszBuffer[nBlanc + 1] = L'\n';
        ++m_nLongueur;
        m_nDernierBlanc = AUCUN_BLANC;
        m_nColonne = m_nLongueur - (nBlanc + 2);
    }

    wchar_t* m_pszBuffer = nullptr;
    size_t m_nCapacite;
    size_t m_nLimite;
    unsigned int m_nLargeur;
    bool m_bAlloue = false;
    size_t m_nLongueur = 0;
    size_t m_nColonne = 0;
    size_t m_nDernierBlanc = AUCUN_BLANC;
    bool m_bPlein = false;
    bool m_bEchecMemoire = false;
};

// How the value of an insert goes to the printf, from its conversion and length modifier.
enum class ETypeInsert { Entier, Entier64, Naturel, Naturel64, Caractere, TexteWide, TexteAnsi, Pointeur };

// The printf format of an insert, "%" and what stood between the exclamation marks, checked.
struct STFormatInsert {
    wchar_t szFormat[TAILLE_FORMAT_INSERT];
    int nEtoiles = 0;
    ETypeInsert eType = ETypeInsert::TexteWide;
};

// Reads the format between pszDebut and pszFin. False for a format too long or not one that the
// inserts support.
bool bLitFormatInsert(const wchar_t* pszDebut, const wchar_t* pszFin, STFormatInsert* pstFormat) noexcept {
    const size_t nLongueur = static_cast<size_t>(pszFin - pszDebut);
    if (nLongueur == 0 || nLongueur + 2 > TAILLE_FORMAT_INSERT) return false;
    pstFormat->szFormat[0] = L'%';
    wmemcpy(pstFormat->szFormat + 1, pszDebut, nLongueur);
    pstFormat->szFormat[nLongueur + 1] = 0;

    const wchar_t* psz = pszDebut;
    while (psz < pszFin && wcschr(L"-+ #0", *psz) != nullptr) ++psz;
    auto LitNombreOuEtoile = [&] {
        if (psz < pszFin && *psz == L'*') {
            ++pstFormat->nEtoiles;
            ++psz;
        } else {
            while (psz < pszFin && *psz >= L'0' && *psz <= L'9') ++psz;
        }
    };
    LitNombreOuEtoile();
    if (psz < pszFin && *psz == L'.') {
        ++psz;
        LitNombreOuEtoile();
    }
    bool b64 = false;
    bool bCourt = false;
    bool bLarge = false;
    const auto Reste = [&] { return static_cast<size_t>(pszFin - psz); };
    if (Reste() >= 3 && (wcsncmp(psz, L"I64", 3) == 0 || wcsncmp(psz, L"I32", 3) == 0)) {
        b64 = psz[1] == L'6';
        psz += 3;
    } else if (Reste() >= 2 && (wcsncmp(psz, L"ll", 2) == 0 || wcsncmp(psz, L"hh", 2) == 0)) {
        b64 = *psz == L'l';
        bCourt = !b64;
        psz += 2;
    } else if (psz < pszFin && wcschr(L"hlwLqjztI", *psz) != nullptr && *psz != 0) {
        bCourt = *psz == L'h';
        bLarge = *psz == L'l' || *psz == L'w';
        b64 = *psz != L'h' && *psz != L'w';
        ++psz;
    }
    if (Reste() != 1) return false;
    switch (*psz) {
        case L'd':
        case L'i': pstFormat->eType = b64 ? ETypeInsert::Entier64 : ETypeInsert::Entier; break;
        case L'o':
        case L'u':
        case L'x':
        case L'X': pstFormat->eType = b64 ? ETypeInsert::Naturel64 : ETypeInsert::Naturel; break;
        case L'c':
        case L'C': pstFormat->eType = ETypeInsert::Caractere; break;
        case L's': pstFormat->eType = bCourt ? ETypeInsert::TexteAnsi : ETypeInsert::TexteWide; break;
        case L'S': pstFormat->eType = bLarge ? ETypeInsert::TexteWide : ETypeInsert::TexteAnsi; break;
        case L'p': pstFormat->eType = ETypeInsert::Pointeur; break;
        default: return false;
    }
    return true;
}

// Formats one insert with its star values into a buffer of nTaille characters; answers what
// snwprintfWin answers.
int nFormateInsert(wchar_t* pszBuffer, size_t nTaille, const STFormatInsert& stFormat, const int* pnEtoiles,
                   uintptr_t nValeur) noexcept {
    auto nAvec = [&](auto... xEtoiles) -> int {
        const wchar_t* pszFormat = stFormat.szFormat;
        switch (stFormat.eType) {
            case ETypeInsert::Entier:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles..., static_cast<int>(nValeur));
            case ETypeInsert::Entier64:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles..., static_cast<long long>(nValeur));
            case ETypeInsert::Naturel:
            case ETypeInsert::Caractere:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles..., static_cast<unsigned int>(nValeur));
            case ETypeInsert::Naturel64:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles...,
                                    static_cast<unsigned long long>(nValeur));
            case ETypeInsert::TexteWide:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles...,
                                    reinterpret_cast<const wchar_t*>(nValeur));
            case ETypeInsert::TexteAnsi:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles..., reinterpret_cast<const char*>(nValeur));
            case ETypeInsert::Pointeur:
                return snwprintfWin(pszBuffer, nTaille, pszFormat, xEtoiles..., reinterpret_cast<void*>(nValeur));
        }
        return -1;
    };
    switch (stFormat.nEtoiles) {
        case 0: return nAvec();
        case 1: return nAvec(pnEtoiles[0]);
        default: return nAvec(pnEtoiles[0], pnEtoiles[1]);
    }
}

// The scanner of the numbered form. Answers 0, or the errno of the failure.
class CFormateurMessage {
public:
    CFormateurMessage(CSortieMessage& clSortie, CLecteurArguments& clArguments, unsigned int nLargeur,
                      bool bIgnoreInserts) noexcept
        : m_clSortie(clSortie), m_clArguments(clArguments), m_nLargeur(nLargeur), m_bIgnoreInserts(bIgnoreInserts) {}

    int nFormate(const wchar_t* pszTexte) noexcept {
        const wchar_t* psz = pszTexte;
        while (*psz != 0 && !m_clSortie.bPlein()) {
            const wchar_t c = *psz;
            if (c == L'\r' || c == L'\n') {
                // CR, LF, CR LF and LF CR are one line end each.
                const wchar_t cAutre = c == L'\r' ? L'\n' : L'\r';
                psz += psz[1] == cAutre ? 2 : 1;
                if (m_nLargeur == 0) m_clSortie.FinDeLigne();
                else m_clSortie.Caractere(L' ');
                continue;
            }
            if (c != L'%') {
                m_clSortie.Caractere(c);
                ++psz;
                continue;
            }
            const wchar_t* pszPourcent = psz++;
            if (*psz >= L'1' && *psz <= L'9') {
                const int nErreur = _nInsert(pszPourcent, &psz);
                if (nErreur != 0) return nErreur;
                continue;
            }
            switch (*psz) {
                case 0:
                    if (m_bIgnoreInserts) m_clSortie.Caractere(L'%');
                    return 0;
                case L'0': return 0;
                case L'r': m_clSortie.RetourChariot(); break;
                case L'n': m_clSortie.FinDeLigne(); break;
                case L't': m_clSortie.Caractere(L'\t'); break;
                case L'b': m_clSortie.Caractere(L' '); break;
                default:
                    if (m_bIgnoreInserts) m_clSortie.Caractere(L'%');
                    m_clSortie.Caractere(*psz);
                    break;
            }
            ++psz;
        }
        return 0;
    }

private:
    // An insert at pszPourcent; *ppsz is on its first digit and ends past the insert.
    int _nInsert(const wchar_t* pszPourcent, const wchar_t** ppsz) noexcept {
        const wchar_t* psz = *ppsz;
        int nNumero = 0;
        int nChiffres = 0;
        while (*psz >= L'0' && *psz <= L'9') {
            if (++nChiffres > CHIFFRES_INSERT_MAX) return EINVAL;
            nNumero = nNumero * 10 + (*psz++ - L'0');
        }
        const wchar_t* pszFormat = nullptr;
        const wchar_t* pszFinFormat = nullptr;
        if (*psz == L'!') {
            pszFormat = psz + 1;
            pszFinFormat = wcschr(pszFormat, L'!');
            if (pszFinFormat == nullptr) return EINVAL;
            psz = pszFinFormat + 1;
        }
        *ppsz = psz;
        if (m_bIgnoreInserts) {
            for (const wchar_t* pszCopie = pszPourcent; pszCopie < psz && !m_clSortie.bPlein(); ++pszCopie)
                m_clSortie.Caractere(*pszCopie);
            return 0;
        }
        STFormatInsert stFormat;
        const bool bFormat = pszFormat != nullptr ? bLitFormatInsert(pszFormat, pszFinFormat, &stFormat)
                                                  : bLitFormatInsert(gszFormatTexte, gszFormatTexte + 1, &stFormat);
        if (!bFormat) return EINVAL;
        // Each star takes one insert, the value the one after them.
        int anEtoiles[2] = {};
        uintptr_t nValeur = 0;
        for (int i = 0; i < stFormat.nEtoiles; ++i) {
            if (!m_clArguments.bLit(nNumero + i, &nValeur)) return EINVAL;
            anEtoiles[i] = static_cast<int>(nValeur);
        }
        if (!m_clArguments.bLit(nNumero + stFormat.nEtoiles, &nValeur)) return EINVAL;
        return _nEcritInsert(stFormat, anEtoiles, nValeur);
    }

    int _nEcritInsert(const STFormatInsert& stFormat, const int* pnEtoiles, uintptr_t nValeur) noexcept {
        wchar_t szCourt[TAILLE_INSERT_COURT];
        int nLongueur = nFormateInsert(szCourt, TAILLE_INSERT_COURT, stFormat, pnEtoiles, nValeur);
        if (nLongueur < 0) return EINVAL;
        const wchar_t* pszInsert = szCourt;
        wchar_t* pszLong = nullptr;
        if (static_cast<size_t>(nLongueur) >= TAILLE_INSERT_COURT) {
            // Line breaks only add characters: past the room left plus one, the insert can only
            // overflow, so it is made no longer than that.
            size_t nUtile = static_cast<size_t>(nLongueur);
            if (nUtile > m_clSortie.nPlace() + 1) nUtile = m_clSortie.nPlace() + 1;
            pszLong = static_cast<wchar_t*>(malloc((nUtile + 1) * sizeof(wchar_t)));
            if (pszLong == nullptr) return ENOMEM;
            nFormateInsert(pszLong, nUtile + 1, stFormat, pnEtoiles, nValeur);
            nLongueur = static_cast<int>(nUtile);
            pszInsert = pszLong;
        }
        for (int i = 0; i < nLongueur && !m_clSortie.bPlein(); ++i) m_clSortie.Caractere(pszInsert[i]);
        free(pszLong);
        return 0;
    }

    CSortieMessage& m_clSortie;
    CLecteurArguments& m_clArguments;
    unsigned int m_nLargeur;
    bool m_bIgnoreInserts;
};

}  // namespace

unsigned int FormatMessageW(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                            unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                            va_list* pArguments) noexcept {
    const bool bAlloue = (dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    wchar_t** ppszAlloue = reinterpret_cast<wchar_t**>(pszBuffer);
    if (pszBuffer == nullptr || (!bAlloue && nTaille == 0)) return nEchec(EINVAL);
    if (bAlloue) *ppszAlloue = nullptr;

    wchar_t* pszTexte = nullptr;
    int nLongueur;
    if ((dwFlags & FORMAT_MESSAGE_FROM_SYSTEM) != 0) {
        // The system's text is taken as it stands: it is no format of the caller's.
        pszTexte = pszTexteSysteme(dwIdMessage);
        if (pszTexte == nullptr) return nEchec(ENOMEM);
        nLongueur = static_cast<int>(wcsnlen(pszTexte, INT_MAX));
        if (!bAlloue) {
            size_t nCopie = static_cast<size_t>(nLongueur);
            if (nCopie > nTaille - 1) nCopie = nTaille - 1;
            wmemcpy(pszBuffer, pszTexte, nCopie);
            pszBuffer[nCopie] = 0;
            free(pszTexte);
            return static_cast<unsigned int>(nCopie);
        }
    } else {
        const auto* pszFormat = static_cast<const wchar_t*>(pSource);
        if (pszFormat == nullptr) return nEchec(EINVAL);
        if (pArguments == nullptr && !bSansArgument(pszFormat)) return nEchec(EINVAL);
        if (bAlloue) {
            errno = 0;
            nLongueur = pArguments != nullptr ? vaswprintfWin(&pszTexte, pszFormat, *pArguments)
                                              : nFormateSansArgument(&pszTexte, nullptr, 0, pszFormat);
            if (nLongueur < 0) return nEchec(errno == ENOMEM ? ENOMEM : EINVAL);
        } else {
            nLongueur = pArguments != nullptr ? vsnwprintfWin(pszBuffer, nTaille, pszFormat, *pArguments)
                                              : nFormateSansArgument(nullptr, pszBuffer, nTaille, pszFormat);
            if (nLongueur < 0) return nEchec(EINVAL);
            return static_cast<unsigned int>(nLongueur) < nTaille ? static_cast<unsigned int>(nLongueur)
                                                                  : nTaille - 1;
        }
    }
    // The allocated buffer holds at least the size asked for.
    if (nTaille > static_cast<unsigned int>(nLongueur) + 1) {
        void* pPlusGrand = realloc(pszTexte, static_cast<size_t>(nTaille) * sizeof(wchar_t));
        if (pPlusGrand == nullptr) {
            free(pszTexte);
            return nEchec(ENOMEM);
        }
        pszTexte = static_cast<wchar_t*>(pPlusGrand);
    }
    *ppszAlloue = pszTexte;
    return static_cast<unsigned int>(nLongueur);
}

unsigned int __FormatMessageWin(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                                unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                                const STArgumentsMessage* pstArguments) noexcept {
    const bool bAlloue = (dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    wchar_t** ppszAlloue = reinterpret_cast<wchar_t**>(pszBuffer);
    if (pszBuffer == nullptr || (!bAlloue && nTaille == 0)) return nEchec(EINVAL);
    if (bAlloue) *ppszAlloue = nullptr;
    if ((dwFlags & FORMAT_MESSAGE_FROM_HMODULE) != 0 ||
        (dwFlags & (FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_FROM_SYSTEM)) == 0)
        return nEchec(EINVAL);

    bool bIgnoreInserts = (dwFlags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0;
    wchar_t* pszSysteme = nullptr;
    const wchar_t* pszTexte;
    if ((dwFlags & FORMAT_MESSAGE_FROM_SYSTEM) != 0) {
        pszSysteme = pszTexteSysteme(dwIdMessage);
        if (pszSysteme == nullptr) return nEchec(ENOMEM);
        pszTexte = pszSysteme;
        bIgnoreInserts = true;  // a system text never reaches into the caller's arguments
    } else {
        pszTexte = static_cast<const wchar_t*>(pSource);
        if (pszTexte == nullptr) return nEchec(EINVAL);
    }

    const unsigned int nLargeur = dwFlags & FORMAT_MESSAGE_MAX_WIDTH_MASK;
    // The allocated text is limited to the size asked for rounded up to 65536 characters.
    size_t nLimite = (static_cast<size_t>(nTaille) + PAS_ALLOCATION - 1) / PAS_ALLOCATION * PAS_ALLOCATION;
    if (nLimite == 0) nLimite = PAS_ALLOCATION;
    CSortieMessage clSortie = bAlloue ? CSortieMessage(nLimite, nLargeur) : CSortieMessage(pszBuffer, nTaille, nLargeur);
    CLecteurArguments clArguments(pstArguments, (dwFlags & FORMAT_MESSAGE_ARGUMENT_ARRAY) != 0);
    CFormateurMessage clFormateur(clSortie, clArguments, nLargeur, bIgnoreInserts);
    int nErreur = clSortie.bEchecMemoire() ? ENOMEM : clFormateur.nFormate(pszTexte);
    free(pszSysteme);
    if (nErreur == 0 && clSortie.bEchecMemoire()) nErreur = ENOMEM;
    if (nErreur != 0) {
        if (!bAlloue) pszBuffer[0] = 0;
        return nEchec(nErreur);
    }
    clSortie.Termine();
    const size_t nLongueur = clSortie.nLongueur();
    if (bAlloue) {
        *ppszAlloue = clSortie.pszDetache(nTaille);
        if (*ppszAlloue == nullptr) return nEchec(ENOMEM);
    }
    return static_cast<unsigned int>(nLongueur);
}

unsigned int FormatMessageWin(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                              unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille, va_list* pArguments,
                              int nNbArguments) noexcept {
    STArgumentsMessage stArguments;
    stArguments.pListe = pArguments;
    stArguments.nNombre = nNbArguments;
    return __FormatMessageWin(dwFlags & ~FORMAT_MESSAGE_ARGUMENT_ARRAY, pSource, dwIdMessage, dwIdLangue, pszBuffer,
                              nTaille, &stArguments);
}

unsigned int FormatMessageWin(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                              unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                              const uintptr_t* ptabArguments, int nNbArguments) noexcept {
    STArgumentsMessage stArguments;
    stArguments.ptabValeurs = ptabArguments;
    stArguments.nNombre = nNbArguments;
    return __FormatMessageWin(dwFlags | FORMAT_MESSAGE_ARGUMENT_ARRAY, pSource, dwIdMessage, dwIdLangue, pszBuffer,
                              nTaille, &stArguments);
}

namespace format_message_internal {

unsigned int FormatMessageWinCompte(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                                    unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                                    int nNbArguments, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, nNbArguments);
    const unsigned int nResultat =
        FormatMessageWin(dwFlags, pSource, dwIdMessage, dwIdLangue, pszBuffer, nTaille, &pArguments, nNbArguments);
    va_end(pArguments);
    return nResultat;
}

}  // namespace format_message_internal
