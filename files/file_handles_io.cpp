// Reading and writing through the language's file handles: bytes, lines and values, in ANSI files
// (the locale's code page) and Unicode files (UTF-16LE).
#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include "base/any.h"
#include "base/characters.h"
#include "base/code_pages.h"
#include "base/manip.h"
#include "base/unicode.h"
#include "component/thunk.h"
#include "files/disk_file.h"
#include "files/file_handles.h"
#include "files/internal/file_handles_internal.h"

using namespace ovfic;

namespace {

// The read-ahead of the line functions: large enough that a line costs no system call of its own.
constexpr int kTailleLecture = 65536;
// Reads and writes go to the system in pieces the stream's 32-bit counts hold.
constexpr size_t kMorceau = 1u << 30;
// A line longer than this is refused rather than built: its wide form would outgrow a string.
constexpr size_t kLigneMax = size_t{1} << 28;
constexpr wchar_t kRemplacement = 0xFFFD;

const uint8_t kabyFinLigneAnsi[2] = {'\r', '\n'};
const uint8_t kabyFinLigneUnicode[4] = {'\r', 0, '\n', 0};

// ---------------------------------------------------------------- text to the file's bytes

// UTF-16LE; a value that is no Unicode character becomes U+FFFD.
void AjouteUTF16(std::string& s, const wchar_t* p, size_t n) {
    s.reserve(s.size() + n * 2);
    for (size_t i = 0; i < n; ++i) {
        uint32_t c = static_cast<uint32_t>(p[i]);
        if (!bEstScalaireUnicode(c)) c = kRemplacement;
        if (c >= 0x10000) {
            c -= 0x10000;
            const uint32_t cHaut = 0xD800 + (c >> 10), cBas = 0xDC00 + (c & 0x3FF);
            s.push_back(static_cast<char>(cHaut & 0xFF));
            s.push_back(static_cast<char>(cHaut >> 8));
            s.push_back(static_cast<char>(cBas & 0xFF));
            s.push_back(static_cast<char>(cBas >> 8));
        } else {
            s.push_back(static_cast<char>(c & 0xFF));
            s.push_back(static_cast<char>(c >> 8));
        }
    }
}

// The locale's code page; a character it cannot hold becomes "?".
void AjouteCodePage(std::string& s, const wchar_t* p, size_t n) {
    if (n == 0) return;
    const unsigned int nCodePage = static_cast<unsigned int>(STR_nGetCurrentCodePage());
    if (n <= static_cast<size_t>(INT32_MAX / 4)) {
        const int nBesoin = WideCharToMultiByte(nCodePage, 0, p, static_cast<int>(n), nullptr, 0);
        if (nBesoin > 0) {
            const size_t nAvant = s.size();
            s.resize(nAvant + static_cast<size_t>(nBesoin));
            const int nEcrit = WideCharToMultiByte(nCodePage, 0, p, static_cast<int>(n), s.data() + nAvant, nBesoin);
            if (nEcrit > 0) {
                s.resize(nAvant + static_cast<size_t>(nEcrit));
                return;
            }
            s.resize(nAvant);
        }
    }
    // A value the code page refuses outright (a lone surrogate towards UTF-8): one at a time.
    char sz[8];
    for (size_t i = 0; i < n; ++i) {
        const int nEcrit = WideCharToMultiByte(nCodePage, 0, p + i, 1, sz, sizeof sz);
        if (nEcrit > 0) s.append(sz, static_cast<size_t>(nEcrit));
        else s.push_back(CARACTERE_PAR_DEFAUT);
    }
}

void AjouteTexteLarge(std::string& s, const wchar_t* p, size_t n, bool bUnicode) {
    if (bUnicode) AjouteUTF16(s, p, n);
    else AjouteCodePage(s, p, n);
}

// The bytes of a value as the file holds text. Wide text goes to the file's form. 8-bit text is
// the machine's (UTF-8): converted likewise, so that it reads back as it was written; bytes that
// are no UTF-8 go to an ANSI file as they stand and are taken in the locale's character set for a
// Unicode file. Binary values are written as they stand.
void OctetsDuTexte(const STManipAUB* pstValeur, bool bUnicode, std::string& s) {
    if (pstValeur == nullptr) return;
    int nTaille = 0;
    const uint8_t* pby = pstValeur->pbyGetContenuUtile(&nTaille);
    if (pby == nullptr || nTaille <= 0) return;
    switch (pstValeur->nType) {
        case STManipAUB::TYPE_UNICODE:
            AjouteTexteLarge(s, reinterpret_cast<const wchar_t*>(pby), static_cast<size_t>(nTaille) / sizeof(wchar_t),
                             bUnicode);
            return;
        case STManipAUB::TYPE_ANSI: {
            const char* psz = reinterpret_cast<const char*>(pby);
            CXYString<wchar_t> clLarge;
            if (UTF8Valide(psz, nTaille)) {
                if (clLarge.nAffecteUTF8(psz, nTaille) == 0) {
                    AjouteTexteLarge(s, clLarge.pszGet(), static_cast<size_t>(clLarge.nGetLongueur()), bUnicode);
                    return;
                }
            }
            if (!bUnicode) {
                s.append(psz, static_cast<size_t>(nTaille));
                return;
            }
            const unsigned int nCodePage = STR_nCharsetToCodePage(STR_nGetCurrentChangeCharset());
            if (clLarge.__nConversion(psz, nTaille, 0, nCodePage, 0) == 0) {
                AjouteUTF16(s, clLarge.pszGet(), static_cast<size_t>(clLarge.nGetLongueur()));
            } else {
                for (int i = 0; i < nTaille; ++i) {
                    const wchar_t c = static_cast<unsigned char>(psz[i]);  // Latin-1: never loses a byte
                    AjouteUTF16(s, &c, 1);
                }
            }
            return;
        }
        case STManipAUB::TYPE_BINAIRE:
            s.append(reinterpret_cast<const char*>(pby), static_cast<size_t>(nTaille));
            return;
        default:
            return;
    }
}

// ---------------------------------------------------------------- the file's bytes to text

// True when one of the four UTF-16LE units in the eight bytes of w is a surrogate: a unit whose
// top five bits are 11011 leaves a zero lane once masked and compared, and a zero lane is what
// the classic borrow test finds.
inline bool bSurrogatDans(uint64_t w) {
    const uint64_t v = (w & 0xF800F800F800F800ULL) ^ 0xD800D800D800D800ULL;
    return ((v - 0x0001000100010001ULL) & ~v & 0x8000800080008000ULL) != 0;
}

inline void ElargitHuitUnites(const uint8_t* __restrict pby, wchar_t* __restrict psz) {
    for (size_t k = 0; k < 8; ++k) psz[k] = static_cast<wchar_t>(pby[2 * k] | (pby[2 * k + 1] << 8));
}

// UTF-16LE to wide, into cl (whose block is reused when it is large enough). A lone surrogate, or
// an odd byte at the very end, becomes U+FFFD. Runs of eight units without a surrogate, nearly all
// text, are widened as a block, which the compiler turns into vector code.
void DepuisUTF16(const uint8_t* pby, size_t n, CXYString<wchar_t>& cl) {
    const size_t nMax = n / 2 + (n & 1);
    if (nMax == 0) {
        cl.Vide();
        return;
    }
    wchar_t* psz = cl.pszGetBuffer(static_cast<int>(nMax));
    if (psz == nullptr) throw std::bad_alloc();
    size_t nSortie = 0;
    size_t i = 0;
    while (i + 1 < n) {
        if (i + 16 <= n) {
            uint64_t aw[2];
            std::memcpy(aw, pby + i, sizeof aw);
            if (!bSurrogatDans(aw[0]) && !bSurrogatDans(aw[1])) {
                ElargitHuitUnites(pby + i, psz + nSortie);
                i += 16;
                nSortie += 8;
                continue;
            }
        }
        const uint32_t u = pby[i] | (pby[i + 1] << 8);
        i += 2;
        if (u - 0xD800u >= 0x800u) {
            psz[nSortie++] = static_cast<wchar_t>(u);
            continue;
        }
        if (u < 0xDC00 && i + 1 < n) {
            const uint32_t v = pby[i] | (pby[i + 1] << 8);
            if (v >= 0xDC00 && v < 0xE000) {
                psz[nSortie++] = static_cast<wchar_t>(0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00));
                i += 2;
                continue;
            }
        }
        psz[nSortie++] = kRemplacement;
    }
    if (i < n) psz[nSortie++] = kRemplacement;
    cl.nTronque(static_cast<int>(nSortie));
}

inline void ElargitSeizeOctets(const uint8_t* __restrict pby, wchar_t* __restrict psz) {
    for (size_t k = 0; k < 16; ++k) psz[k] = pby[k];
}

// Non-zero when one of the eight bytes of w lies in 0x80..0x9F (top three bits 100).
inline uint64_t nPlage80Dans(uint64_t w) {
    const uint64_t v = (w & 0xE0E0E0E0E0E0E0E0ULL) ^ 0x8080808080808080ULL;
    return (v - 0x0101010101010101ULL) & ~v & 0x8080808080808080ULL;
}

// Code page 1252 to wide, n bytes to n characters. The page is Latin-1 but for 0x80 to 0x9F, so
// the bytes are widened as they stand, by blocks the compiler turns into vector code, and only a
// line that holds one of those 32 bytes takes a second pass through the page's table.
void Depuis1252(const uint8_t* pby, size_t n, wchar_t* pszSortie) {
    uint64_t nPlage80 = 0;
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        uint64_t aw[2];
        std::memcpy(aw, pby + i, sizeof aw);
        nPlage80 |= nPlage80Dans(aw[0]) | nPlage80Dans(aw[1]);
        ElargitSeizeOctets(pby + i, pszSortie + i);
    }
    for (; i < n; ++i) {
        pszSortie[i] = pby[i];
        nPlage80 |= (pby[i] & 0xE0) == 0x80;
    }
    if (nPlage80 == 0) return;
    for (i = 0; i < n; ++i)
        if ((pby[i] & 0xE0) == 0x80) pszSortie[i] = STR_FromCP1252(pby[i]);
}

// The locale's code page to wide, into cl; bytes it refuses are taken as Latin-1, so none is lost.
void DepuisCodePage(const uint8_t* pby, size_t n, CXYString<wchar_t>& cl) {
    if (n == 0) {
        cl.Vide();
        return;
    }
    const unsigned int nCodePage = static_cast<unsigned int>(STR_nGetCurrentCodePage());
    const char* psz = reinterpret_cast<const char*>(pby);
    // No code page gives more characters than bytes, so one pass into n places is enough; the
    // counting pass is kept for a conversion that says otherwise.
    wchar_t* pszSortie = cl.pszGetBuffer(static_cast<int>(n));
    if (pszSortie == nullptr) throw std::bad_alloc();
    if (nCodePage == CP_1252) {
        Depuis1252(pby, n, pszSortie);
        return;
    }
    int nEcrit = MultiByteToWideChar(nCodePage, 0, psz, static_cast<int>(n), pszSortie, static_cast<int>(n));
    if (nEcrit <= 0 && errno == E2BIG) {
        const int nBesoin = MultiByteToWideChar(nCodePage, 0, psz, static_cast<int>(n), nullptr, 0);
        if (nBesoin > 0) {
            pszSortie = cl.pszGetBuffer(nBesoin);
            if (pszSortie == nullptr) throw std::bad_alloc();
            nEcrit = MultiByteToWideChar(nCodePage, 0, psz, static_cast<int>(n), pszSortie, nBesoin);
        }
    }
    if (nEcrit > 0) {
        cl.nTronque(nEcrit);
        return;
    }
    pszSortie = cl.pszGetBuffer(static_cast<int>(n));
    if (pszSortie == nullptr) throw std::bad_alloc();
    for (size_t i = 0; i < n; ++i) pszSortie[i] = pby[i];
}

// ---------------------------------------------------------------- reading

bool bReserveLecture(_stINFOFIC* pstInfo, int nTaille) {
    if (pstInfo->nCapaciteLecture >= nTaille) return true;
    void* p = std::realloc(pstInfo->pbyLecture, static_cast<size_t>(nTaille));
    if (p == nullptr) return false;
    pstInfo->pbyLecture = static_cast<uint8_t*>(p);
    pstInfo->nCapaciteLecture = nTaille;
    return true;
}

enum class ELecture { Ligne, FinDeFichier, Echec };

// The first occurrence of the separator in p[0, n), or null. The line feeds (one byte, or two in a
// Unicode file) are looked for with memchr, several times faster than memmem on so short a needle.
const void* pCherche(const uint8_t* p, size_t n, const char* pSeparateur, size_t nSep) {
    if (nSep == 1) return std::memchr(p, pSeparateur[0], n);
    if (nSep != 2) return memmem(p, n, pSeparateur, nSep);
    for (size_t i = 0; i + 1 < n;) {
        const void* pPremier = std::memchr(p + i, pSeparateur[0], n - 1 - i);
        if (pPremier == nullptr) return nullptr;
        i = static_cast<size_t>(static_cast<const uint8_t*>(pPremier) - p);
        if (p[i + 1] == static_cast<uint8_t>(pSeparateur[1])) return pPremier;
        ++i;
    }
    return nullptr;
}

// Reads up to the separator, which is consumed, and gives the bytes before it in *ppbyLigne and
// *pnLigne: inside the read-ahead when the whole line was there (valid until the handle's next
// operation), otherwise gathered in sLigne. In a Unicode file the separator is looked for only at
// whole 16-bit units counted from the line's start, so that half of one character never ends a
// line. bLigne: the separator is the line feed, and a carriage return just before it (in the same
// read or not) leaves the line too.
ELecture eLitJusqua(CComposanteStandard* pclThis, _stINFOFIC* pstInfo, const char* pSeparateur, size_t nSep,
                    bool bLigne, std::string& sLigne, const uint8_t** ppbyLigne, size_t* pnLigne) {
    const bool bUnicode = pstInfo->bUnicode != 0;
    const size_t nCR = bUnicode ? 2 : 1;
    const int nCapacite = static_cast<int>(std::max<size_t>(kTailleLecture, 2 * nSep + 4));
    if (nSep > kLigneMax || !bReserveLecture(pstInfo, nCapacite)) {
        pclThis->RaiseError(&gstMyModuleInfo8, kErreurMemoireTampon);
        return ELecture::Echec;
    }
    IXStream* piFlux = pstInfo->piFlux;
    if (!pstInfo->bLectureActive) {
        pstInfo->oLecture = piFlux->oGetOffset();
        pstInfo->nLecture = pstInfo->nCurseur = 0;
        pstInfo->bLectureActive = true;
    }
    bool bLu = false;
    for (;;) {
        uint8_t* pby = pstInfo->pbyLecture;
        const uint8_t* p = pby + pstInfo->nCurseur;
        const size_t n = static_cast<size_t>(pstInfo->nLecture - pstInfo->nCurseur);
        size_t nDepuis = 0;
        while (nSep > 0 && nDepuis + nSep <= n) {
            const void* pTrouve = pCherche(p + nDepuis, n - nDepuis, pSeparateur, nSep);
            if (pTrouve == nullptr) break;
            const size_t j = static_cast<size_t>(static_cast<const uint8_t*>(pTrouve) - p);
            if (bUnicode && (j & 1)) {
                nDepuis = j + 1;
                continue;
            }
            pstInfo->nCurseur += static_cast<int>(j + nSep);
            if (sLigne.empty()) {
                // The whole line is in the read-ahead: handed out where it lies, without a copy.
                size_t nLigne = j;
                if (bLigne && nLigne >= nCR && p[nLigne - nCR] == '\r' && (!bUnicode || p[nLigne - 1] == 0))
                    nLigne -= nCR;
                *ppbyLigne = p;
                *pnLigne = nLigne;
                return ELecture::Ligne;
            }
            sLigne.append(reinterpret_cast<const char*>(p), j);
            if (bLigne && sLigne.size() >= nCR && sLigne[sLigne.size() - nCR] == '\r' &&
                (!bUnicode || sLigne.back() == 0))
                sLigne.resize(sLigne.size() - nCR);
            *ppbyLigne = reinterpret_cast<const uint8_t*>(sLigne.data());
            *pnLigne = sLigne.size();
            return ELecture::Ligne;
        }
        // Keep back what may begin a separator cut by the end of the read, and in a Unicode file
        // the first half of a character.
        size_t nGarde = std::min(n, nSep > 0 ? nSep - 1 : 0);
        if (bUnicode && ((n - nGarde) & 1)) ++nGarde;
        if (n > nGarde) {
            if (sLigne.size() + (n - nGarde) > kLigneMax) {
                pclThis->RaiseError(&gstMyModuleInfo8, kErreurMemoireTampon);
                return ELecture::Echec;
            }
            sLigne.append(reinterpret_cast<const char*>(p), n - nGarde);
            pstInfo->nCurseur += static_cast<int>(n - nGarde);
            bLu = true;
        }
        std::memmove(pby, pby + pstInfo->nCurseur, nGarde);
        pstInfo->oLecture += pstInfo->nCurseur;
        pstInfo->nLecture = static_cast<int>(nGarde);
        pstInfo->nCurseur = 0;
        unsigned int nLu = 0;
        if (!piFlux->bRead(pby + nGarde, static_cast<unsigned int>(pstInfo->nCapaciteLecture - static_cast<int>(nGarde)),
                           &nLu)) {
            // The stream's offset is not to be trusted after a failed read: put it back where the
            // language stands.
            pstInfo->bLectureActive = false;
            CopieErreurFlux(pclThis, piFlux, kErreurLecture);
            piFlux->bSeek(pstInfo->oLecture, eSEEK_DEBUT);
            return ELecture::Echec;
        }
        if (nLu == 0) {
            sLigne.append(reinterpret_cast<const char*>(pby), nGarde);
            pstInfo->nCurseur = static_cast<int>(nGarde);
            *ppbyLigne = reinterpret_cast<const uint8_t*>(sLigne.data());
            *pnLigne = sLigne.size();
            return bLu || nGarde > 0 ? ELecture::Ligne : ELecture::FinDeFichier;
        }
        pstInfo->nLecture += static_cast<int>(nLu);
    }
}

// Reads n bytes at the language's position, fewer at the end of the file. False with the error
// raised on failure.
bool bLitOctets(CComposanteStandard* pclThis, _stINFOFIC* pstInfo, uint8_t* pby, size_t n, size_t* pnLu) {
    *pnLu = 0;
    if (!bSynchronise(pclThis, pstInfo)) return false;
    while (*pnLu < n) {
        unsigned int nLu = 0;
        const size_t nDemande = std::min(n - *pnLu, kMorceau);
        if (!pstInfo->piFlux->bRead(pby + *pnLu, static_cast<unsigned int>(nDemande), &nLu)) {
            CopieErreurFlux(pclThis, pstInfo->piFlux, kErreurLecture);
            return false;
        }
        if (nLu == 0) break;
        *pnLu += nLu;
    }
    return true;
}

bool bEcritOctets(CComposanteStandard* pclThis, _stINFOFIC* pstInfo, const void* pData, size_t n) {
    if (!bSynchronise(pclThis, pstInfo)) return false;
    const uint8_t* pby = static_cast<const uint8_t*>(pData);
    while (n > 0) {
        const size_t nMorceau = std::min(n, kMorceau);
        if (!pstInfo->piFlux->bWrite(pby, static_cast<unsigned int>(nMorceau), nullptr)) {
            CopieErreurFlux(pclThis, pstInfo->piFlux, kErreurEcriture);
            return false;
        }
        pby += nMorceau;
        n -= nMorceau;
    }
    return true;
}

// The form of a line result: a Unicode file's text goes out wide; an ANSI file's follows the
// machine's string mode. The end-of-file marker goes out the same way as the lines.
int nFormeLigne(const _stINFOFIC* pstInfo) { return pstInfo->bUnicode ? STManipAUB::TYPE_UNICODE : 0; }

}  // namespace

// ---------------------------------------------------------------- lines

void CComposanteStandard::fLitLigne(int nHandle, const STManipAUB* pstSeparateur) {
    STZKAppel* pstAppel = pstGetAppel();
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr) {
        if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
        return;
    }
    const bool bUnicode = pstInfo->bUnicode != 0;
    std::string sSeparateur;
    OctetsDuTexte(pstSeparateur, bUnicode, sSeparateur);
    const bool bLigne = sSeparateur.empty();
    const char* pSeparateur = bLigne ? "\n\0" : sSeparateur.data();
    const size_t nSeparateur = bLigne ? (bUnicode ? 2 : 1) : sSeparateur.size();
    std::string sLigne;
    const uint8_t* pbyLigne = nullptr;
    size_t nLigne = 0;
    const ELecture e = eLitJusqua(this, pstInfo, pSeparateur, nSeparateur, bLigne, sLigne, &pbyLigne, &nLigne);
    if (pstAppel == nullptr) return;
    if (e == ELecture::Echec) return ovthunk::PousseEchec(pstAppel);
    if (e == ELecture::FinDeFichier) return ovthunk::PousseTexte(pstAppel, CXYString<wchar_t>(L"\x04"), nFormeLigne(pstInfo));
    CXYString<wchar_t>& clLigne = pstInfo->clLigneLarge;
    if (bUnicode) DepuisUTF16(pbyLigne, nLigne, clLigne);
    else DepuisCodePage(pbyLigne, nLigne, clLigne);
    ovthunk::PousseTexte(pstAppel, clLigne, nFormeLigne(pstInfo));
    // One huge line must not keep its block for the handle's whole life.
    if (nLigne > static_cast<size_t>(kTailleLecture)) clLigne.Vide();
}

namespace {

int nEcritLigne(CComposanteStandard* pclThis, int nHandle, const STManipAUB* pstTexte, int nTaille, bool bFinLigne) {
    _stINFOFIC* pstInfo = pstValide(pclThis, nHandle);
    if (pstInfo == nullptr || !bParametre(pclThis, nTaille >= -1)) return 0;
    std::string s;
    OctetsDuTexte(pstTexte, pstInfo->bUnicode != 0, s);
    if (nTaille >= 0 && static_cast<size_t>(nTaille) < s.size()) s.resize(static_cast<size_t>(nTaille));
    if (bFinLigne) {
        if (pstInfo->bUnicode) s.append(reinterpret_cast<const char*>(kabyFinLigneUnicode), 4);
        else s.append(reinterpret_cast<const char*>(kabyFinLigneAnsi), 2);
    }
    return bEcritOctets(pclThis, pstInfo, s.data(), s.size()) ? 1 : 0;
}

}  // namespace

int CComposanteStandard::fEcritLigne(int nHandle, const STManipAUB* pstTexte) {
    return nEcritLigne(this, nHandle, pstTexte, -1, true);
}

// A count writes that many bytes of the text in the file's form at most, and no line end.
int CComposanteStandard::fEcritLigne(int nHandle, const STManipAUB* pstTexte, int nTaille) {
    if (nTaille < 0) {
        if (pstValide(this, nHandle) != nullptr) bParametre(this, false);
        return 0;
    }
    return nEcritLigne(this, nHandle, pstTexte, nTaille, false);
}

int CComposanteStandard::fEcritLigne(int nHandle, long pAdresse, int nTaille) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr || !bParametre(this, nTaille >= 0)) return 0;
    if (pAdresse == 0 && nTaille != 0) {
        RaiseError(&gstMyModuleInfo8, kErreurAdresse);
        return 0;
    }
    std::string s;
    if (nTaille > 0) s.assign(reinterpret_cast<const char*>(pAdresse), static_cast<size_t>(nTaille));
    if (pstInfo->bUnicode) s.append(reinterpret_cast<const char*>(kabyFinLigneUnicode), 4);
    else s.append(reinterpret_cast<const char*>(kabyFinLigneAnsi), 2);
    return bEcritOctets(this, pstInfo, s.data(), s.size()) ? 1 : 0;
}

// ---------------------------------------------------------------- bytes and values

void CComposanteStandard::fLit(int nHandle, int nTaille) {
    STZKAppel* pstAppel = pstGetAppel();
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr || !bParametre(this, nTaille >= 0)) {
        if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
        return;
    }
    std::string s;
    bool bSucces = bSynchronise(this, pstInfo);
    // Grown as the bytes come, so that a large count on a small file costs no large block.
    try {
        while (bSucces && s.size() < static_cast<size_t>(nTaille)) {
            const size_t nAvant = s.size();
            const size_t nMorceau = std::min(static_cast<size_t>(nTaille) - nAvant, std::max<size_t>(kTailleLecture, nAvant));
            s.resize(nAvant + nMorceau);
            size_t nLu = 0;
            bSucces = bLitOctets(this, pstInfo, reinterpret_cast<uint8_t*>(s.data()) + nAvant, nMorceau, &nLu);
            s.resize(nAvant + nLu);
            if (nLu < nMorceau) break;
        }
    } catch (const std::bad_alloc&) {
        RaiseError(&gstMyModuleInfo8, kErreurMemoireTampon);
        bSucces = false;
    }
    if (pstAppel == nullptr) return;
    if (!bSucces) return ovthunk::PousseEchec(pstAppel);
    const int nMode = pstAppel->piVM != nullptr ? pstAppel->piVM->nModeChaine() : 0;
    // An ANSI project reads bytes as 8-bit text; text cannot carry a zero byte, so bytes that
    // hold one go out as a binary value rather than be cut short.
    if ((nMode == 1 || nMode == 2) && std::memchr(s.data(), 0, s.size()) == nullptr) {
        const CXYString<char> clTexte(s.data(), static_cast<int>(s.size()));
        return ovthunk::PousseTexte(pstAppel, clTexte, STManipAUB::TYPE_ANSI);
    }
    ovthunk::PousseBinaire(pstAppel, CZKBIN(s.data(), static_cast<int>(s.size())));
}

int CComposanteStandard::fLit(int nHandle, int nTaille, long pAdresse) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr || !bParametre(this, nTaille >= 0)) return 0;
    if (pAdresse == 0 && nTaille != 0) {
        RaiseError(&gstMyModuleInfo8, kErreurAdresse);
        return 0;
    }
    size_t nLu = 0;
    if (!bLitOctets(this, pstInfo, reinterpret_cast<uint8_t*>(pAdresse), static_cast<size_t>(nTaille), &nLu)) return 0;
    return static_cast<int>(nLu);
}

int CComposanteStandard::fEcrit(int nHandle, long pAdresse, int nTaille) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr || !bParametre(this, nTaille >= 0)) return -1;
    if (pAdresse == 0 && nTaille != 0) {
        RaiseError(&gstMyModuleInfo8, kErreurAdresse);
        return -1;
    }
    if (nTaille == 0) return 0;
    return bEcritOctets(this, pstInfo, reinterpret_cast<const void*>(pAdresse), static_cast<size_t>(nTaille)) ? nTaille
                                                                                                              : -1;
}

// A value: texts in the file's form, binary values as they stand, anything else as its text. A
// count of -1 writes it whole, another count that many bytes at most.
int CComposanteStandard::fEcrit(int nHandle, const CAny* pclValeur, int nTaille) {
    _stINFOFIC* pstInfo = pstValide(this, nHandle);
    if (pstInfo == nullptr || !bParametre(this, nTaille >= -1 && pclValeur != nullptr)) return -1;
    std::string s;
    STManipAUB stValeur = {};
    if (pclValeur->nGetManipAUB(&stValeur) == ANY_OK) {
        OctetsDuTexte(&stValeur, pstInfo->bUnicode != 0, s);
    } else if (!pclValeur->bEstNull()) {
        CXYString<wchar_t> clTexte;
        if (pclValeur->__nFillString(clTexte) > ANY_SUCCES_MAX) {
            bParametre(this, false);
            return -1;
        }
        AjouteTexteLarge(s, clTexte.pszGet(), static_cast<size_t>(clTexte.nGetLongueur()), pstInfo->bUnicode != 0);
    }
    if (nTaille >= 0 && static_cast<size_t>(nTaille) < s.size()) s.resize(static_cast<size_t>(nTaille));
    if (s.size() > static_cast<size_t>(INT32_MAX)) s.resize(INT32_MAX);
    return bEcritOctets(this, pstInfo, s.data(), s.size()) ? static_cast<int>(s.size()) : -1;
}
