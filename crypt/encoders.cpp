// The four text encoders: one table-driven engine for base 64 and the two UU forms, whole texts
// in memory and files streamed in blocks.
#include "crypt/encoders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "base/error.h"
#include "base/module_info.h"
#include "base/unicode.h"
#include "files/write_all.h"

namespace {

constexpr char kszEnteteUU[] = "begin 0666 uu\r\n";
constexpr size_t kLongueurEnteteUU = sizeof kszEnteteUU - 1;
// Both endings close the last line themselves, so a line that fell exactly on 45 groups (and
// already ended) leaves an empty line before them; readers skip it.
constexpr char kszFinUU[] = "\r\nend\r\n";
constexpr size_t kLongueurFinUU = sizeof kszFinUU - 1;
constexpr char kszFinUUStandard[] = "\r\n`\r\nend\r\n";
constexpr size_t kLongueurFinUUStandard = sizeof kszFinUUStandard - 1;

// Both UU forms write 45 groups, 135 bytes, a line, though a line's count character (classic
// form) can say no more than 45: stored texts were written so and must read back the same.
constexpr unsigned long kGroupesLigneUU = 45;
constexpr size_t kOctetsLigneUU = 3 * kGroupesLigneUU;
constexpr size_t kSeuilMarqueUU = 45;              // "_" opens a line while more bytes than this are left
constexpr size_t kCompteMaxUUStandard = 45;        // "M": the count of every classic line that is not the last
constexpr size_t kCaracteresLigneSansMarque = 60;  // the longest own-form line that has no "_"

constexpr int kErreurLecture = 80024;
constexpr int kErreurEcriture = 80025;
constexpr int kErreurCreation = 80026;
constexpr int kErreurMemoire = 80041;
constexpr int kErreurTexte = 81808;

// Decoding table marks, above any six-bit value.
constexpr uint8_t kSAUT = 0x80;       // CR and LF: between groups, never data
constexpr uint8_t kBOURRAGE = 0xC0;   // "=" of the padded form: value 0, shortens its group

// The alphabet of one encoder, read from its character slots.
struct STAlphabet {
    char tabCaractere[64];
    uint8_t tabValeur[257];  // [256]: any character past 0xFF
};

void RemplitAlphabet(CEncodeBase* pclEncodeur, bool bBourrage, STAlphabet* pst) {
    for (unsigned n = 0; n < 64; ++n) pst->tabCaractere[n] = pclEncodeur->__cEncodeByte(static_cast<unsigned char>(n));
    for (unsigned c = 0; c < 256; ++c) pst->tabValeur[c] = pclEncodeur->__byDecodeChar(static_cast<wchar_t>(c)) & 0x3F;
    pst->tabValeur[256] = pclEncodeur->__byDecodeChar(static_cast<wchar_t>(0xFFFD)) & 0x3F;
    pst->tabValeur[static_cast<unsigned char>('\r')] = kSAUT;
    pst->tabValeur[static_cast<unsigned char>('\n')] = kSAUT;
    if (bBourrage) pst->tabValeur[static_cast<unsigned char>('=')] = kBOURRAGE;
}

template <class TCar>
inline uint8_t byValeur(const STAlphabet& st, TCar c) noexcept {
    const auto n = static_cast<uint32_t>(static_cast<std::make_unsigned_t<TCar>>(c));
    return st.tabValeur[n < 256 ? n : 256];
}

inline unsigned long nGroupes(unsigned long nTaille) noexcept { return nTaille / 3 + (nTaille % 3 != 0); }

// ---------------------------------------------------------------- encoding

// The groups of one chunk, written line by line. *pnPosition counts the groups already on the
// current line, so chunks of whole groups written in turn give the text of the whole. Only the
// last chunk may end in an incomplete group: 2 or 3 characters, then "=" to four when padded. It
// counts as a group, so a padded text and an unpadded one break their lines in the same places.
size_t nCorpsBase64(const STAlphabet& st, const uint8_t* pby, size_t nTaille, unsigned long nGroupesParLigne,
                    bool bBourrage, unsigned long* pnPosition, char* psz) {
    const char* const tab = st.tabCaractere;
    char* const pszDebut = psz;
    size_t nComplets = nTaille / 3;
    while (nComplets > 0) {
        size_t n = nComplets;
        if (nGroupesParLigne != 0 && n > nGroupesParLigne - *pnPosition) n = nGroupesParLigne - *pnPosition;
        for (size_t i = 0; i < n; ++i, pby += 3, psz += 4) {
            const uint32_t v = uint32_t{pby[0]} << 16 | uint32_t{pby[1]} << 8 | pby[2];
            psz[0] = tab[v >> 18];
            psz[1] = tab[(v >> 12) & 0x3F];
            psz[2] = tab[(v >> 6) & 0x3F];
            psz[3] = tab[v & 0x3F];
        }
        nComplets -= n;
        if (nGroupesParLigne != 0 && (*pnPosition += n) == nGroupesParLigne) {
            *psz++ = '\r';
            *psz++ = '\n';
            *pnPosition = 0;
        }
    }
    const size_t nReste = nTaille % 3;
    if (nReste != 0) {
        const uint32_t v = uint32_t{pby[0]} << 16 | (nReste == 2 ? uint32_t{pby[1]} << 8 : 0);
        *psz++ = tab[v >> 18];
        *psz++ = tab[(v >> 12) & 0x3F];
        if (nReste == 2) *psz++ = tab[(v >> 6) & 0x3F];
        if (bBourrage) {
            *psz++ = '=';
            if (nReste == 1) *psz++ = '=';
        }
        if (nGroupesParLigne != 0 && ++*pnPosition == nGroupesParLigne) {
            *psz++ = '\r';
            *psz++ = '\n';
            *pnPosition = 0;
        }
    }
    return static_cast<size_t>(psz - pszDebut);
}

// Lines of either UU form from a chunk of whole lines (or the last chunk): 135 bytes a line, the
// last group unpadded, CR LF after the 45th group. Only what opens a line differs: the own form
// writes "_" while more than 45 bytes are left, nothing otherwise; the classic form writes a count
// character, "M" (45) while 45 or more are left, else the bytes left. The bytes left in the chunk
// decide, which is right because only the last chunk holds a line of fewer than 135.
size_t nCorpsUU(const STAlphabet& st, const uint8_t* pby, size_t nTaille, bool bStandard, char* psz) {
    char* const pszDebut = psz;
    while (nTaille > 0) {
        if (bStandard)
            *psz++ = st.tabCaractere[nTaille < kCompteMaxUUStandard ? nTaille : kCompteMaxUUStandard];
        else if (nTaille > kSeuilMarqueUU)
            *psz++ = '_';
        const size_t n = nTaille < kOctetsLigneUU ? nTaille : kOctetsLigneUU;
        unsigned long nPosition = 0;
        psz += nCorpsBase64(st, pby, n, kGroupesLigneUU, false, &nPosition, psz);
        pby += n;
        nTaille -= n;
    }
    return static_cast<size_t>(psz - pszDebut);
}

// ---------------------------------------------------------------- decoding

// Base 64 in any number of pieces: the group in progress is kept between them. Characters past
// 0xFF count as the table's "other" character; CR and LF are skipped wherever they stand.
class CDecodeurBase64 {
public:
    CDecodeurBase64(const STAlphabet& st) noexcept : m_st(st) {}

    template <bool bEcrit, class TCar>
    size_t nAvance(const TCar* p, size_t n, uint8_t* pby) noexcept {
        uint8_t* const pbyDebut = pby;
        const TCar* const pFin = p + n;
        while (p < pFin) {
            if (m_nGroupe == 0) {
                // Whole groups with no mark among them go straight through.
                while (pFin - p >= 4) {
                    const uint8_t a = byValeur(m_st, p[0]), b = byValeur(m_st, p[1]), c = byValeur(m_st, p[2]),
                                  d = byValeur(m_st, p[3]);
                    if ((a | b | c | d) & 0x80) break;
                    if constexpr (bEcrit) {
                        const uint32_t v = uint32_t{a} << 18 | uint32_t{b} << 12 | uint32_t{c} << 6 | d;
                        pby[0] = static_cast<uint8_t>(v >> 16);
                        pby[1] = static_cast<uint8_t>(v >> 8);
                        pby[2] = static_cast<uint8_t>(v);
                    }
                    pby += 3;
                    p += 4;
                }
                if (p == pFin) break;
            }
            const uint8_t v = byValeur(m_st, *p++);
            if (v == kSAUT) continue;
            m_tabGroupe[m_nGroupe++] = v;
            if (m_nGroupe == 4) pby += nVideGroupe<bEcrit>(pby);
        }
        return static_cast<size_t>(pby - pbyDebut);
    }

    // The incomplete group at the end: 2 characters give a byte, 3 give two, 1 gives nothing.
    template <bool bEcrit>
    size_t nTermine(uint8_t* pby) noexcept {
        if (m_nGroupe < 2) {
            m_nGroupe = 0;
            return 0;
        }
        for (int i = m_nGroupe; i < 4; ++i) m_tabGroupe[i] = kBOURRAGE;
        return nVideGroupe<bEcrit>(pby);
    }

private:
    template <bool bEcrit>
    size_t nVideGroupe(uint8_t* pby) noexcept {
        const size_t nOctets = m_tabGroupe[2] == kBOURRAGE ? 1 : m_tabGroupe[3] == kBOURRAGE ? 2 : 3;
        if constexpr (bEcrit) {
            uint32_t v = 0;
            for (int i = 0; i < 4; ++i) v = v << 6 | (m_tabGroupe[i] & 0x3F);
            for (size_t i = 0; i < nOctets; ++i) pby[i] = static_cast<uint8_t>(v >> (16 - 8 * i));
        }
        m_nGroupe = 0;
        return nOctets;
    }

    const STAlphabet& m_st;
    uint8_t m_tabGroupe[4] = {};
    int m_nGroupe = 0;
};

// Both UU forms, line by line, in any number of pieces. Lines end at CR or LF; empty lines are
// skipped. The text starts after a line that begins with "begin"; none at all is an error.
// The own form keeps the first 61 characters of a line before deciding anything: a line longer
// than 60 opens with the "_" mark, which is no data; a shorter one is all data.
// The classic form reads its own texts, whose "M" lines hold up to 135 bytes, and those of other
// writers, whose lines hold what their count says in padded groups. An "M" line therefore flows
// as data group by group, to its end, and gives at least 45 bytes (blanks a trim took count as
// zeros); any other line is kept (85 characters, all that a count of 63 needs) and gives exactly
// the bytes its count says, so padding is never read as data.
class CDecodeurUU {
public:
    CDecodeurUU(const STAlphabet& st, bool bStandard) noexcept : m_st(st), m_bStandard(bStandard) {}

    template <bool bEcrit, class TCar>
    size_t nAvance(const TCar* p, size_t n, uint8_t* pby) noexcept {
        uint8_t* const pbyDebut = pby;
        for (const TCar* const pFin = p + n; p < pFin && m_ePhase != eFIN; ++p) {
            const auto c = static_cast<uint32_t>(static_cast<std::make_unsigned_t<TCar>>(*p));
            if (c == '\r' || c == '\n') {
                pby += nFinLigne<bEcrit>(pby);
                continue;
            }
            const char cCourt = c < 256 ? static_cast<char>(c) : '\x7f';
            if (m_bEngagee) {
                const size_t nOctets = nDonnee<bEcrit>(byValeur(m_st, cCourt), pby);
                pby += nOctets;
                m_nOctetsLigne += nOctets;
            } else if (m_nLigne < kGarde) {
                m_szLigne[m_nLigne++] = cCourt;
                if (m_ePhase != eCORPS) continue;
                if (m_bStandard) {
                    if (m_nLigne == 1 && (byValeur(m_st, cCourt) & 0x3F) == kCompteMaxUUStandard) {
                        m_bEngagee = true;
                        m_nOctetsLigne = 0;
                    }
                } else if (m_nLigne == kCaracteresLigneSansMarque + 1) {
                    // Past 60 characters: the "_" is a mark, and what follows flows as data.
                    m_bEngagee = true;
                    for (size_t i = m_szLigne[0] == '_' ? 1 : 0; i < m_nLigne; ++i)
                        pby += nDonnee<bEcrit>(byValeur(m_st, m_szLigne[i]), pby);
                }
            }
        }
        return static_cast<size_t>(pby - pbyDebut);
    }

    // The last line as if it ended; -1 when no "begin" line came.
    template <bool bEcrit>
    long nTermine(uint8_t* pby) noexcept {
        const size_t n = nFinLigne<bEcrit>(pby);
        return m_ePhase == eENTETE ? -1 : static_cast<long>(n);
    }

private:
    static constexpr size_t kGarde = 85;
    enum EPhase { eENTETE, eCORPS, eFIN };

    bool bLigneEst(const char* psz) const noexcept {
        const size_t n = std::strlen(psz);
        return m_nLigne >= n && std::memcmp(m_szLigne, psz, n) == 0;
    }

    template <bool bEcrit>
    size_t nFinLigne(uint8_t* pby) noexcept {
        size_t nEcrits = 0;
        if (m_ePhase == eENTETE) {
            if (bLigneEst("begin")) m_ePhase = eCORPS;
        } else if (m_ePhase == eCORPS && (m_nLigne > 0 || m_bEngagee)) {
            if (!m_bEngagee && m_nLigne == 3 && bLigneEst("end")) {
                m_ePhase = eFIN;
            } else if (m_bStandard && m_bEngagee) {
                nEcrits = nVideReste<bEcrit>(pby);
                m_nOctetsLigne += nEcrits;
                for (; m_nOctetsLigne < kCompteMaxUUStandard; ++m_nOctetsLigne, ++nEcrits)
                    if constexpr (bEcrit) pby[nEcrits] = 0;
            } else if (m_bStandard) {
                nEcrits = nLigneStandard<bEcrit>(pby);
            } else {
                if (!m_bEngagee)
                    for (size_t i = 0; i < m_nLigne; ++i) nEcrits += nDonnee<bEcrit>(byValeur(m_st, m_szLigne[i]), pby + nEcrits);
                nEcrits += nVideReste<bEcrit>(pby + nEcrits);
            }
        }
        m_nLigne = 0;
        m_bEngagee = false;
        return nEcrits;
    }

    template <bool bEcrit>
    size_t nDonnee(uint8_t v, uint8_t* pby) noexcept {
        m_tabGroupe[m_nGroupe++] = v & 0x3F;
        if (m_nGroupe < 4) return 0;
        m_nGroupe = 0;
        if constexpr (bEcrit) {
            pby[0] = static_cast<uint8_t>(m_tabGroupe[0] << 2 | m_tabGroupe[1] >> 4);
            pby[1] = static_cast<uint8_t>(m_tabGroupe[1] << 4 | m_tabGroupe[2] >> 2);
            pby[2] = static_cast<uint8_t>(m_tabGroupe[2] << 6 | m_tabGroupe[3]);
        }
        return 3;
    }

    // An incomplete group at a line's end: 2 characters give a byte, 3 give two.
    template <bool bEcrit>
    size_t nVideReste(uint8_t* pby) noexcept {
        const size_t n = m_nGroupe < 2 ? 0 : static_cast<size_t>(m_nGroupe) - 1;
        if constexpr (bEcrit) {
            if (n >= 1) pby[0] = static_cast<uint8_t>(m_tabGroupe[0] << 2 | m_tabGroupe[1] >> 4);
            if (n >= 2) pby[1] = static_cast<uint8_t>(m_tabGroupe[1] << 4 | m_tabGroupe[2] >> 2);
        }
        m_nGroupe = 0;
        return n;
    }

    // A classic line gives the bytes its count character says. Characters a trim took from its end
    // count as blanks, value 0; a "`" (or blank) count closes the text. A line that starts "end"
    // closes it too, for a text that lacks the "`" line.
    template <bool bEcrit>
    size_t nLigneStandard(uint8_t* pby) noexcept {
        if (bLigneEst("end")) {
            m_ePhase = eFIN;
            return 0;
        }
        const size_t nOctets = byValeur(m_st, m_szLigne[0]) & 0x3F;
        if (nOctets == 0) {
            m_ePhase = eFIN;
            return 0;
        }
        if constexpr (bEcrit) {
            for (size_t i = 0, j = 1; i < nOctets; i += 3, j += 4) {
                uint8_t v[4];
                for (size_t k = 0; k < 4; ++k) v[k] = j + k < m_nLigne ? byValeur(m_st, m_szLigne[j + k]) & 0x3F : 0;
                const uint8_t tab[3] = {static_cast<uint8_t>(v[0] << 2 | v[1] >> 4), static_cast<uint8_t>(v[1] << 4 | v[2] >> 2),
                                        static_cast<uint8_t>(v[2] << 6 | v[3])};
                for (size_t k = 0; k < 3 && i + k < nOctets; ++k) pby[i + k] = tab[k];
            }
        }
        return nOctets;
    }

    const STAlphabet& m_st;
    const bool m_bStandard;
    EPhase m_ePhase = eENTETE;
    char m_szLigne[kGarde] = {};
    size_t m_nLigne = 0;
    bool m_bEngagee = false;
    size_t m_nOctetsLigne = 0;  // the bytes an engaged classic line gave so far
    uint8_t m_tabGroupe[4] = {};
    int m_nGroupe = 0;
};

// The most bytes nAvance can write for n characters, counting those a piece before left waiting
// (a group, or the 61 characters of an undecided line): 3 for every 4 characters; the classic UU
// form up to 63 bytes for each line end (a kept line's count, or an "M" line made up to 45).
size_t nMaxOctets(bool bStandard, size_t nCaracteres) noexcept {
    return bStandard ? 63 * (nCaracteres + 1) : (nCaracteres + 64) / 4 * 3 + 6;
}

// One decoder for the whole of one text or file, whatever its form.
class CDecodeur {
public:
    CDecodeur(const STAlphabet& st, bool bUU, bool bStandard) noexcept
        : m_bUU(bUU), m_clBase64(st), m_clUU(st, bStandard) {}

    template <bool bEcrit, class TCar>
    size_t nAvance(const TCar* p, size_t n, uint8_t* pby) noexcept {
        return m_bUU ? m_clUU.nAvance<bEcrit>(p, n, pby) : m_clBase64.nAvance<bEcrit>(p, n, pby);
    }
    template <bool bEcrit>
    long nTermine(uint8_t* pby) noexcept {
        return m_bUU ? m_clUU.nTermine<bEcrit>(pby) : static_cast<long>(m_clBase64.nTermine<bEcrit>(pby));
    }

private:
    bool m_bUU;
    CDecodeurBase64 m_clBase64;
    CDecodeurUU m_clUU;
};

// ---------------------------------------------------------------- files

std::string sUTF8(const wchar_t* psz) {
    std::string s;
    if (psz == nullptr) return s;
    char* pszUTF8 = WideToUTF8(psz);
    if (pszUTF8 != nullptr) {
        s = pszUTF8;
        std::free(pszUTF8);
    }
    return s;
}

void Echec(CXError* pclErreur, int nNumero, const wchar_t* pszFichier, int nErrno) {
    if (pclErreur == nullptr) return;
    pclErreur->SetUserError(&gstMyModuleInfo8, nNumero);
    if (nErrno != 0) pclErreur->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    if (pszFichier != nullptr) pclErreur->AddDebugMessagePrintf(L"##(CEncodeBase)-File=<%ls>##", pszFichier);
}

class CDescripteur {
public:
    explicit CDescripteur(int n = -1) noexcept : m_n(n) {}
    CDescripteur(const CDescripteur&) = delete;
    CDescripteur& operator=(const CDescripteur&) = delete;
    ~CDescripteur() { Ferme(); }
    int n() const noexcept { return m_n; }
    bool bFerme() noexcept {
        const int n = m_n;
        m_n = -1;
        return n < 0 || ::close(n) == 0;
    }
    void Ferme() noexcept { (void)bFerme(); }
    void Prend(int n) noexcept {
        Ferme();
        m_n = n;
    }

private:
    int m_n;
};

// Reads until the block is full or the file ends, over EINTR and short reads; -1 with errno.
long nLitBloc(int nFd, void* p, size_t nTaille) noexcept {
    size_t nLu = 0;
    while (nLu < nTaille) {
        const ssize_t n = ::read(nFd, static_cast<char*>(p) + nLu, nTaille - nLu);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;
        nLu += static_cast<size_t>(n);
    }
    return static_cast<long>(nLu);
}

// The source, opened for reading: a regular file or anything else that reads (a pipe), never a
// directory.
bool bOuvreSource(const wchar_t* pszSource, CDescripteur* pclFd, CXError* pclErreur) {
    const std::string s = sUTF8(pszSource);
    if (s.empty()) {
        Echec(pclErreur, kErreurLecture, pszSource, ENOENT);
        return false;
    }
    const int n = ::open(s.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    struct stat st;
    if (n < 0 || ::fstat(n, &st) != 0 || S_ISDIR(st.st_mode)) {
        const int nErrno = n < 0 ? errno : EISDIR;
        if (n >= 0) ::close(n);
        Echec(pclErreur, kErreurLecture, pszSource, nErrno);
        return false;
    }
    pclFd->Prend(n);
    return true;
}

// The destination, written under a fresh name beside it and put in place by rename once whole:
// a failure leaves the old file as it was and no half file under the name. A link is followed,
// so the file it names gets the content and the link stays; an existing file keeps its mode, a
// new one gets 0666 less the umask, as if created in place.
class CDestination {
public:
    CDestination(const wchar_t* pszNom, CXError* pclErreur) : m_pszNom(pszNom), m_pclErreur(pclErreur) {}
    CDestination(const CDestination&) = delete;
    CDestination& operator=(const CDestination&) = delete;
    ~CDestination() { Abandonne(); }

    bool bOuvre() {
        m_sFinal = sUTF8(m_pszNom);
        if (m_sFinal.empty()) return bEchec(kErreurCreation, ENOENT);
        struct stat st;
        if (::lstat(m_sFinal.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
            char* psz = ::realpath(m_sFinal.c_str(), nullptr);
            if (psz != nullptr) {
                m_sFinal = psz;
                std::free(psz);
            }
        }
        bool bExiste = false;
        if (::stat(m_sFinal.c_str(), &st) == 0) {
            if (!S_ISREG(st.st_mode)) return bEchec(kErreurCreation, S_ISDIR(st.st_mode) ? EISDIR : EINVAL);
            // A protected file stays protected: renaming over it would ignore its mode.
            if (::access(m_sFinal.c_str(), W_OK) != 0) return bEchec(kErreurCreation, errno);
            bExiste = true;
        }
        static std::atomic<unsigned> s_nCompteur{0};
        for (int nEssai = 0; nEssai < 100 && m_clFd.n() < 0; ++nEssai) {
            struct timespec stMaintenant;
            clock_gettime(CLOCK_MONOTONIC, &stMaintenant);
            char szSuffixe[48];
            std::snprintf(szSuffixe, sizeof szSuffixe, ".~%x%x%lx", static_cast<unsigned>(getpid()),
                          s_nCompteur.fetch_add(1), static_cast<unsigned long>(stMaintenant.tv_nsec) & 0xfffff);
            m_sTemp = m_sFinal + szSuffixe;
            const int n = ::open(m_sTemp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (n < 0) {
                const int nErrno = errno;
                m_sTemp.clear();
                if (nErrno != EEXIST) return bEchec(kErreurCreation, nErrno);
                continue;
            }
            m_clFd.Prend(n);
        }
        if (m_clFd.n() < 0) return bEchec(kErreurCreation, EEXIST);
        if (bExiste && ::fchmod(m_clFd.n(), st.st_mode & 07777) != 0) return bEchec(kErreurCreation, errno);
        return true;
    }

    bool bEcrit(const void* p, size_t n) {
        return ov_files::bEcritTout(m_clFd.n(), p, n) || bEchec(kErreurEcriture, errno);
    }

    bool bPlace() {
        if (!m_clFd.bFerme()) return bEchec(kErreurEcriture, errno);
        if (::rename(m_sTemp.c_str(), m_sFinal.c_str()) != 0) return bEchec(kErreurEcriture, errno);
        m_sTemp.clear();
        return true;
    }

    bool bEchec(int nNumero, int nErrno) {
        Echec(m_pclErreur, nNumero, m_pszNom, nErrno);
        Abandonne();
        return false;
    }

private:
    void Abandonne() noexcept {
        m_clFd.Ferme();
        if (!m_sTemp.empty()) ::unlink(m_sTemp.c_str());
        m_sTemp.clear();
    }

    const wchar_t* m_pszNom;
    CXError* m_pclErreur;
    std::string m_sFinal;
    std::string m_sTemp;
    CDescripteur m_clFd;
};

constexpr size_t kBlocFichier = 60000;  // about: rounded to whole lines
// Past this an encoded length no longer fits the arithmetic; no memory holds such a value anyway.
constexpr unsigned long kTailleMax = 1UL << 60;

}  // namespace

// ================================================================ CEncodeBase

CEncodeBase::~CEncodeBase() = default;

unsigned long CEncodeBase::nLongueurEncodee(unsigned long nTaille, unsigned long nGroupesParLigne) const {
    const unsigned long nNbGroupes = nGroupes(nTaille);
    switch (m_eForme) {
    case eBASE64:
    case eBASE64_BOURRAGE: {
        const unsigned long nCaracteres = m_eForme == eBASE64_BOURRAGE ? 4 * nNbGroupes
                                                                       : 4 * (nTaille / 3) + (nTaille % 3 ? nTaille % 3 + 1 : 0);
        return nCaracteres + (nGroupesParLigne != 0 ? 2 * (nNbGroupes / nGroupesParLigne) : 0);
    }
    case eUU: {
        const unsigned long nMarques = nTaille > kSeuilMarqueUU ? (nTaille - kSeuilMarqueUU - 1) / (3 * kGroupesLigneUU) + 1 : 0;
        return kLongueurEnteteUU + nMarques + 4 * (nTaille / 3) + (nTaille % 3 ? nTaille % 3 + 1 : 0) +
               2 * (nNbGroupes / kGroupesLigneUU) + kLongueurFinUU;
    }
    case eUU_STANDARD: {
        const unsigned long nLignes = nTaille / kOctetsLigneUU + (nTaille % kOctetsLigneUU != 0);
        return kLongueurEnteteUU + nLignes + 4 * (nTaille / 3) + (nTaille % 3 ? nTaille % 3 + 1 : 0) +
               2 * (nNbGroupes / kGroupesLigneUU) + kLongueurFinUUStandard;
    }
    }
    return 0;
}

long CEncodeBase::nEncodeA(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                           char* pszSortie) {
    if (pby == nullptr) nTaille = 0;
    if (nTaille > kTailleMax) return -1;
    const unsigned long nLongueur = nLongueurEncodee(nTaille, nGroupesParLigne);
    if (pszSortie == nullptr) return static_cast<long>(nLongueur + (nTaille % 3 != 0 ? 1 : 0));
    STAlphabet st;
    RemplitAlphabet(this, m_eForme == eBASE64_BOURRAGE, &st);
    char* psz = pszSortie;
    unsigned long nPosition = 0;
    switch (m_eForme) {
    case eBASE64:
    case eBASE64_BOURRAGE:
        psz += nCorpsBase64(st, pby, nTaille, nGroupesParLigne, m_eForme == eBASE64_BOURRAGE, &nPosition, psz);
        break;
    case eUU:
        psz = std::copy_n(kszEnteteUU, kLongueurEnteteUU, psz);
        psz += nCorpsUU(st, pby, nTaille, false, psz);
        psz = std::copy_n(kszFinUU, kLongueurFinUU, psz);
        break;
    case eUU_STANDARD:
        psz = std::copy_n(kszEnteteUU, kLongueurEnteteUU, psz);
        psz += nCorpsUU(st, pby, nTaille, true, psz);
        psz = std::copy_n(kszFinUUStandard, kLongueurFinUUStandard, psz);
        break;
    }
    return psz - pszSortie;
}

namespace {

// Bytes of a streamed block: whole lines, so that each block's text follows the last one's.
size_t nOctetsBloc(bool bUU, unsigned long nGroupesParLigne) {
    size_t nLigne = bUU ? kOctetsLigneUU : 3;
    if (!bUU && nGroupesParLigne != 0 && nGroupesParLigne <= 1000) nLigne = 3 * nGroupesParLigne;
    return nLigne >= kBlocFichier ? nLigne : kBlocFichier / nLigne * nLigne;
}

}  // namespace

// In blocks of whole lines through a small narrow buffer, each widened into place: the wide text
// is written once, never built narrow first.
long CEncodeBase::nEncodeW(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                           wchar_t* pszSortie) {
    if (pby == nullptr) nTaille = 0;
    if (nTaille > kTailleMax || pszSortie == nullptr) return -1;
    const bool bUU = m_eForme == eUU || m_eForme == eUU_STANDARD;
    const size_t nBloc = nOctetsBloc(bUU, nGroupesParLigne);
    const size_t nPlace = nLongueurEncodee(nBloc, nGroupesParLigne) + 64;
    std::unique_ptr<char[]> psz(new (std::nothrow) char[nPlace]);
    if (!psz) return -1;
    STAlphabet st;
    RemplitAlphabet(this, m_eForme == eBASE64_BOURRAGE, &st);
    wchar_t* pszW = pszSortie;
    const auto Elargit = [&pszW](const char* p, size_t n) {
        for (size_t i = 0; i < n; ++i) pszW[i] = static_cast<unsigned char>(p[i]);
        pszW += n;
    };
    if (bUU) Elargit(kszEnteteUU, kLongueurEnteteUU);
    unsigned long nPosition = 0;
    for (unsigned long nFait = 0; nFait < nTaille; nFait += nBloc) {
        const size_t n = nTaille - nFait < nBloc ? nTaille - nFait : nBloc;
        size_t nCaracteres;
        switch (m_eForme) {
        case eUU:
        case eUU_STANDARD: nCaracteres = nCorpsUU(st, pby + nFait, n, m_eForme == eUU_STANDARD, psz.get()); break;
        default:
            nCaracteres = nCorpsBase64(st, pby + nFait, n, nGroupesParLigne, m_eForme == eBASE64_BOURRAGE, &nPosition,
                                       psz.get());
        }
        Elargit(psz.get(), nCaracteres);
    }
    if (m_eForme == eUU) Elargit(kszFinUU, kLongueurFinUU);
    if (m_eForme == eUU_STANDARD) Elargit(kszFinUUStandard, kLongueurFinUUStandard);
    return pszW - pszSortie;
}

long CEncodeBase::nEncodeEtAlloue(const unsigned char* pby, unsigned long nTaille, unsigned long nGroupesParLigne,
                                  wchar_t** ppszSortie) {
    if (ppszSortie == nullptr) return -1;
    *ppszSortie = nullptr;
    if (pby == nullptr) nTaille = 0;
    if (nTaille > kTailleMax) return -1;
    const unsigned long nLongueur = nLongueurEncodee(nTaille, nGroupesParLigne);
    wchar_t* psz = new (std::nothrow) wchar_t[nLongueur + 1];
    if (psz == nullptr) return -1;
    const long n = nEncodeW(pby, nTaille, nGroupesParLigne, psz);
    if (n < 0) {
        delete[] psz;
        return -1;
    }
    psz[n] = 0;
    *ppszSortie = psz;
    return n;
}

namespace {

template <class TCar>
long nDecodeTexte(CEncodeBase* pclEncodeur, bool bBourrage, bool bUU, bool bStandard, const TCar* p, size_t n,
                  uint8_t* pby) {
    STAlphabet st;
    RemplitAlphabet(pclEncodeur, bBourrage, &st);
    CDecodeur cl(st, bUU, bStandard);
    if (p == nullptr) n = 0;
    if (pby == nullptr) {
        const size_t nOctets = cl.nAvance<false>(p, n, nullptr);
        const long nFin = cl.nTermine<false>(nullptr);
        return nFin < 0 ? -1 : static_cast<long>(nOctets) + nFin;
    }
    const size_t nOctets = cl.nAvance<true>(p, n, pby);
    const long nFin = cl.nTermine<true>(pby + nOctets);
    return nFin < 0 ? -1 : static_cast<long>(nOctets) + nFin;
}

}  // namespace

long CEncodeBase::nDecodeA(const char* pszTexte, unsigned char* pbySortie) {
    const bool bUU = m_eForme == eUU || m_eForme == eUU_STANDARD;
    return nDecodeTexte(this, m_eForme == eBASE64_BOURRAGE, bUU, m_eForme == eUU_STANDARD, pszTexte,
                        pszTexte != nullptr ? std::strlen(pszTexte) : 0, pbySortie);
}

long CEncodeBase::nDecodeW(const wchar_t* pszTexte, size_t nLongueur, unsigned char* pbySortie) {
    const bool bUU = m_eForme == eUU || m_eForme == eUU_STANDARD;
    return nDecodeTexte(this, m_eForme == eBASE64_BOURRAGE, bUU, m_eForme == eUU_STANDARD, pszTexte, nLongueur,
                        pbySortie);
}

long CEncodeBase::nDecodeW(const wchar_t* pszTexte, unsigned char* pbySortie) {
    return nDecodeW(pszTexte, pszTexte != nullptr ? std::wcslen(pszTexte) : 0, pbySortie);
}

long CEncodeBase::nDecodeEtAlloue(const wchar_t* pszTexte, unsigned char*& pbySortie) {
    pbySortie = nullptr;
    const size_t nLongueur = pszTexte != nullptr ? std::wcslen(pszTexte) : 0;
    const long nTaille = nDecodeW(pszTexte, nLongueur, nullptr);
    if (nTaille < 0) return -1;
    auto* pby = new (std::nothrow) unsigned char[static_cast<size_t>(nTaille) + 1];
    if (pby == nullptr) return -1;
    const long n = nDecodeW(pszTexte, nLongueur, pby);
    pbySortie = pby;
    return n;
}

bool CEncodeBase::bEncodeFichier(const wchar_t* pszDestination, const wchar_t* pszSource,
                                 unsigned long nGroupesParLigne, CXError* pclErreur) {
    try {
        CDescripteur clSource;
        if (!bOuvreSource(pszSource, &clSource, pclErreur)) return false;
        const bool bUU = m_eForme == eUU || m_eForme == eUU_STANDARD;
        const size_t nBloc = nOctetsBloc(bUU, nGroupesParLigne);
        const size_t nPlace = nLongueurEncodee(nBloc, nGroupesParLigne) + 64;
        std::unique_ptr<uint8_t[]> pbyBloc(new (std::nothrow) uint8_t[nBloc]);
        std::unique_ptr<char[]> pszTexte(new (std::nothrow) char[nPlace]);
        if (!pbyBloc || !pszTexte) {
            Echec(pclErreur, kErreurMemoire, nullptr, ENOMEM);
            return false;
        }
        CDestination clDestination(pszDestination, pclErreur);
        if (!clDestination.bOuvre()) return false;
        STAlphabet st;
        RemplitAlphabet(this, m_eForme == eBASE64_BOURRAGE, &st);
        if (bUU && !clDestination.bEcrit(kszEnteteUU, kLongueurEnteteUU)) return false;
        unsigned long nPosition = 0;
        for (;;) {
            const long nLu = nLitBloc(clSource.n(), pbyBloc.get(), nBloc);
            if (nLu < 0) {
                Echec(pclErreur, kErreurLecture, pszSource, errno);
                return false;
            }
            if (nLu == 0) break;
            const auto n = static_cast<size_t>(nLu);
            size_t nCaracteres;
            switch (m_eForme) {
            case eUU:
            case eUU_STANDARD:
                nCaracteres = nCorpsUU(st, pbyBloc.get(), n, m_eForme == eUU_STANDARD, pszTexte.get());
                break;
            default:
                nCaracteres = nCorpsBase64(st, pbyBloc.get(), n, nGroupesParLigne, m_eForme == eBASE64_BOURRAGE,
                                           &nPosition, pszTexte.get());
            }
            if (!clDestination.bEcrit(pszTexte.get(), nCaracteres)) return false;
            if (n < nBloc) break;  // the file ended inside this block
        }
        if (m_eForme == eUU && !clDestination.bEcrit(kszFinUU, kLongueurFinUU)) return false;
        if (m_eForme == eUU_STANDARD && !clDestination.bEcrit(kszFinUUStandard, kLongueurFinUUStandard)) return false;
        return clDestination.bPlace();
    } catch (...) {
        Echec(pclErreur, kErreurMemoire, nullptr, ENOMEM);
        return false;
    }
}

bool CEncodeBase::bDecodeFichier(const wchar_t* pszDestination, const wchar_t* pszSource, CXError* pclErreur) {
    try {
        CDescripteur clSource;
        if (!bOuvreSource(pszSource, &clSource, pclErreur)) return false;
        const bool bUU = m_eForme == eUU || m_eForme == eUU_STANDARD;
        const bool bStandard = m_eForme == eUU_STANDARD;
        // The classic form may give 63 bytes for a line end alone; its blocks stay small to bound
        // what one block can give.
        const size_t nBloc = bStandard ? 8192 : kGroupesParLigneDefaut * 4000 + 2000;
        const size_t nPlace = nMaxOctets(bStandard, nBloc);
        std::unique_ptr<char[]> pszBloc(new (std::nothrow) char[nBloc]);
        std::unique_ptr<uint8_t[]> pbyOctets(new (std::nothrow) uint8_t[nPlace]);
        if (!pszBloc || !pbyOctets) {
            Echec(pclErreur, kErreurMemoire, nullptr, ENOMEM);
            return false;
        }
        CDestination clDestination(pszDestination, pclErreur);
        if (!clDestination.bOuvre()) return false;
        STAlphabet st;
        RemplitAlphabet(this, m_eForme == eBASE64_BOURRAGE, &st);
        CDecodeur clDecodeur(st, bUU, bStandard);
        for (;;) {
            const long nLu = nLitBloc(clSource.n(), pszBloc.get(), nBloc);
            if (nLu < 0) {
                Echec(pclErreur, kErreurLecture, pszSource, errno);
                return false;
            }
            if (nLu == 0) break;
            const size_t n = clDecodeur.nAvance<true>(pszBloc.get(), static_cast<size_t>(nLu), pbyOctets.get());
            if (!clDestination.bEcrit(pbyOctets.get(), n)) return false;
            if (static_cast<size_t>(nLu) < nBloc) break;
        }
        const long nFin = clDecodeur.nTermine<true>(pbyOctets.get());
        if (nFin < 0) {
            Echec(pclErreur, kErreurTexte, pszSource, 0);
            return false;
        }
        if (!clDestination.bEcrit(pbyOctets.get(), static_cast<size_t>(nFin))) return false;
        return clDestination.bPlace();
    } catch (...) {
        Echec(pclErreur, kErreurMemoire, nullptr, ENOMEM);
        return false;
    }
}

// ================================================================ the four forms

namespace {

char cBase64(unsigned char by) noexcept {
    if (by < 26) return static_cast<char>('A' + by);
    if (by < 52) return static_cast<char>('a' + by - 26);
    if (by < 62) return static_cast<char>('0' + by - 52);
    return by == 62 ? '+' : '/';
}

unsigned char byBase64(wchar_t c) noexcept {
    if (c >= L'A' && c <= L'Z') return static_cast<unsigned char>(c - L'A');
    if (c >= L'a' && c <= L'z') return static_cast<unsigned char>(c - L'a' + 26);
    if (c >= L'0' && c <= L'9') return static_cast<unsigned char>(c - L'0' + 52);
    return c == L'+' ? 62 : 63;
}

}  // namespace

char CEncodeBase64TVR::__cEncodeByte(unsigned char by) { return cBase64(by); }
unsigned char CEncodeBase64TVR::__byDecodeChar(wchar_t c) { return byBase64(c); }

char CEncodeBase64::__cEncodeByte(unsigned char by) { return cBase64(by); }
unsigned char CEncodeBase64::__byDecodeChar(wchar_t c) { return c == L'=' ? 0 : byBase64(c); }

// Both UU forms write a six-bit value as the character 0x20 above it, so 0 is a blank.
char CEncodeUUEncode::__cEncodeByte(unsigned char by) { return static_cast<char>((by & 0x3F) + 0x20); }
unsigned char CEncodeUUEncode::__byDecodeChar(wchar_t c) { return static_cast<unsigned char>((c - 0x20) & 0x3F); }

char CEncodeUUEncodeStandard::__cEncodeByte(unsigned char by) { return static_cast<char>((by & 0x3F) + 0x20); }
unsigned char CEncodeUUEncodeStandard::__byDecodeChar(wchar_t c) {
    return static_cast<unsigned char>((c - 0x20) & 0x3F);
}

CEncodeBase* pclGetEncodeur(int nNumero) {
    switch (nNumero) {
    case 1: return new (std::nothrow) CEncodeBase64TVR;
    case 2: return new (std::nothrow) CEncodeBase64;
    case 3: return new (std::nothrow) CEncodeUUEncode;
    case 4: return new (std::nothrow) CEncodeUUEncodeStandard;
    default: return nullptr;
    }
}
