// fDecoupe cuts a file into numbered pieces, fRegroupe joins them again, fCherche looks for bytes
// in a file open under a handle.
//
// Every piece and every joined file is first written under a temporary name in its own directory
// and only takes its real name once it is whole, so a failure never leaves a short file under a
// name that looks complete. With the remove flag the source gives up its bytes only once the piece
// that holds them is on disk (synced), so no byte is ever held by neither.
#include "files/split_merge.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "base/unicode.h"
#include "component/interfaces/gauge.h"
#include "component/thunk.h"
#include "files/internal/file_handles_internal.h"
#include "files/internal/file_operations.h"
#include "files/stream.h"
#include "files/internal/file_copy.h"

namespace ovdecoupe {

std::string sNomPiece(const std::string& sBase, int nNumero) {
    char sz[16];
    std::snprintf(sz, sizeof sz, ".%03d", nNumero);
    return sBase + sz;
}

int nPourMille(int64_t oFait, int64_t oTotal) noexcept {
    if (oTotal <= 0 || oFait >= oTotal) return 1000;
    if (oFait <= 0) return 0;
    return static_cast<int>(static_cast<unsigned __int128>(oFait) * 1000u / static_cast<uint64_t>(oTotal));
}

std::wstring sFormateNombre(uint64_t n) {
    std::wstring s = std::to_wstring(n);
    for (auto i = static_cast<ptrdiff_t>(s.size()) - 3; i > 0; i -= 3) s.insert(static_cast<size_t>(i), 1, L' ');
    return s;
}

namespace {

// How common a byte is in ordinary files, roughly (higher: more common). Letters, blanks and zeros
// fill text and binary files alike; bytes above 0x7F and control bytes are the rarest in text.
int nFrequence(uint8_t c) {
    if (c == ' ' || c == 0) return 9;
    if (c >= 'a' && c <= 'z') return std::strchr("etaoinsrhldcu", c) != nullptr ? 8 : 7;
    if (c == '\n' || c == '\r' || c == '\t' || c == 0xFF) return 6;
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) return 5;
    if (c < 0x20 || c >= 0x7F) return 2;
    return 4;  // punctuation
}

// Finds the needle in a block. memchr on the needle's rarest byte runs at the speed of memory, and
// each candidate is checked whole; where that byte proves common in this data (more than one false
// candidate in kEcartFaux bytes), memmem (two-way, linear) takes over for the rest of the search.
// Needles longer than kTailleFiltreMax go to memmem at once: a candidate's check must stay short
// for the filter to stay linear.
class CChercheur {
public:
    CChercheur(const uint8_t* pbyTexte, size_t nTaille) : m_pbyTexte(pbyTexte), m_nTaille(nTaille) {
        m_bMemmem = nTaille > kTailleFiltreMax;
        for (size_t i = 1; i < nTaille && !m_bMemmem; ++i)
            if (nFrequence(pbyTexte[i]) <= nFrequence(pbyTexte[m_nRare])) m_nRare = i;
    }

    const uint8_t* pbyCherche(const uint8_t* pby, size_t n) {
        if (n < m_nTaille) return nullptr;
        if (m_bMemmem) return static_cast<const uint8_t*>(memmem(pby, n, m_pbyTexte, m_nTaille));
        const uint8_t cRare = m_pbyTexte[m_nRare];
        const uint8_t* p = pby + m_nRare;
        const uint8_t* const pFin = pby + n - (m_nTaille - 1 - m_nRare);  // past the rare byte's last place
        size_t nFaux = 0;
        while (p < pFin) {
            const auto* q = static_cast<const uint8_t*>(std::memchr(p, cRare, static_cast<size_t>(pFin - p)));
            if (q == nullptr) return nullptr;
            const uint8_t* pCandidat = q - m_nRare;
            if (std::memcmp(pCandidat, m_pbyTexte, m_nTaille) == 0) return pCandidat;
            p = q + 1;
            if (++nFaux >= kFauxMinimum && nFaux * kEcartFaux > static_cast<size_t>(p - pby)) {
                // Every place before pCandidat + 1 is ruled out, so the first hit from there is the first.
                m_bMemmem = true;
                const uint8_t* pReste = pCandidat + 1;
                return static_cast<const uint8_t*>(memmem(pReste, static_cast<size_t>(pby + n - pReste), m_pbyTexte, m_nTaille));
            }
        }
        return nullptr;
    }

private:
    static constexpr size_t kTailleFiltreMax = 256;
    static constexpr size_t kFauxMinimum = 16;
    static constexpr size_t kEcartFaux = 64;

    const uint8_t* m_pbyTexte;
    size_t m_nTaille;
    size_t m_nRare = 0;
    bool m_bMemmem = false;
};

}  // namespace

int64_t oRecherche(IXStream* piFlux, const uint8_t* pbyTexte, size_t nTaille, int64_t oDebut, size_t nTailleBloc) {
    // The block holds the last nTaille - 1 bytes of the one before, then up to nTailleBloc new
    // ones, so a hit across an edge is seen once whole and the first hit is the lowest offset.
    // A start at or past the end finds nothing; some streams refuse to seek there.
    const long oTailleFlux = piFlux->oGetSize();
    if (oTailleFlux >= 0 && (oDebut >= oTailleFlux || static_cast<uint64_t>(oTailleFlux - oDebut) < nTaille)) return -1;
    const size_t nGarde = nTaille - 1;
    std::unique_ptr<uint8_t[]> pby(new (std::nothrow) uint8_t[nTailleBloc + nGarde]);
    if (!pby) return -2;
    CChercheur clChercheur(pbyTexte, nTaille);
    size_t nRempli = 0;           // bytes kept from the block before
    int64_t oLecture = oDebut;    // file offset of the next byte to read
    for (;;) {
        unsigned int nLu = 0;
        if (!piFlux->bRead(static_cast<long>(oLecture), pby.get() + nRempli, static_cast<unsigned int>(nTailleBloc), &nLu))
            return -2;
        if (nLu == 0) return -1;
        oLecture += nLu;
        nRempli += nLu;
        const uint8_t* p = clChercheur.pbyCherche(pby.get(), nRempli);
        if (p != nullptr) return oLecture - static_cast<int64_t>(nRempli) + (p - pby.get());
        const size_t nReste = nRempli < nGarde ? nRempli : nGarde;
        std::memmove(pby.get(), pby.get() + nRempli - nReste, nReste);
        nRempli = nReste;
    }
}

}  // namespace ovdecoupe

using ovdecoupe::kNbPieceMax;
using ovdecoupe::nPourMille;
using ovdecoupe::sNomPiece;

namespace {

constexpr int kErreurTailleTropPetite = 81848;
constexpr int kErreurFinInattendue = 81849;
constexpr int kErreurDisquePlein = 81850;
constexpr int kErreurPieceExiste = 81851;
constexpr int kErreurReduction = 81852;
constexpr int kErreurTropDecoupe = 81853;
constexpr int kErreurAucunePiece = 81854;
constexpr int kErreurEspaceDisque = 81855;
constexpr int kErreurSuppressionPiece = 81856;
constexpr int kErreurOuverturePiece = 81857;
constexpr int kErreurCopiePiece = 81858;
constexpr int kErreurTropRegroupe = 81859;
constexpr int kErreurOuvertureSource = 81860;
constexpr int kErreurCreationEntier = 81861;
constexpr int kErreurVerrou = 81862;
constexpr int kErreurEcriture = 81863;
constexpr int kErreurSuppressionSource = 81864;
constexpr size_t kTailleTampon = 65536;

class CDescripteur {
public:
    explicit CDescripteur(int n = -1) noexcept : m_n(n) {}
    CDescripteur(const CDescripteur&) = delete;
    CDescripteur& operator=(const CDescripteur&) = delete;
    ~CDescripteur() { Ferme(); }
    int n() const noexcept { return m_n; }
    void Ferme() noexcept {
        if (m_n >= 0) close(m_n);
        m_n = -1;
    }
    void Prend(int n) noexcept {
        Ferme();
        m_n = n;
    }

private:
    int m_n;
};

std::wstring sLarge(const std::string& s) {
    wchar_t* psz = UTF8ToWide(s.c_str());
    std::wstring sRes = psz != nullptr ? psz : L"?";
    std::free(psz);
    return sRes;
}

// The full UTF-8 path of a wide name; false for a name that is not a valid path.
bool bCheminComplet(const wchar_t* pszNom, std::string* psSortie) {
    wchar_t szComplet[kMaxPath + 1];
    const unsigned long n = CDiskFile::GetFullPathName(pszNom, kMaxPath + 1, szComplet, nullptr);
    if (n == 0 || n > static_cast<unsigned long>(kMaxPath)) return false;
    char* psz = WideToUTF8(szComplet);
    if (psz == nullptr) return false;
    *psSortie = psz;
    std::free(psz);
    return !psSortie->empty();
}

std::string sRepertoireDe(const std::string& sChemin) {
    const size_t n = sChemin.rfind('/');
    return n == std::string::npos ? std::string(".") : n == 0 ? std::string("/") : sChemin.substr(0, n);
}

ssize_t nLit(int nFd, uint8_t* pby, size_t nTaille, int64_t oOffset) {
    for (;;) {
        const ssize_t n = oOffset < 0 ? read(nFd, pby, nTaille) : pread(nFd, pby, nTaille, oOffset);
        if (n >= 0 || errno != EINTR) return n;
    }
}

// A temporary file beside sFinal, created exclusively; its name in *psTemp.
int nCreeTemporaire(const std::string& sFinal, std::string* psTemp) {
    *psTemp = sFinal + ".XXXXXX";
    return mkostemp(psTemp->data(), O_CLOEXEC);
}

class CFDecoupeRegroupe {
public:
    CFDecoupeRegroupe(CComposanteStandard* pclThis, IJaugeExec* piJauge) : m_pclThis(pclThis), m_piJauge(piJauge) {}

    // Both names made full; false with 80059 raised for a bad one. A null base is the whole name.
    bool bInit(const wchar_t* pszEntier, const wchar_t* pszBase) {
        if (pszBase == nullptr || pszBase[0] == 0) pszBase = pszEntier;
        if (!bCheminComplet(pszEntier, &m_sEntier) || !bCheminComplet(pszBase, &m_sBase)) {
            m_pclThis->RaiseError(&gstMyModuleInfo8, 80059);
            return false;
        }
        return true;
    }

    int nDecoupe(int64_t oTaille, int nOption);
    int nRegroupe(int nOption);

private:
    void Echec(int nNumero, const std::string& sNom, int nErrno = 0) {
        const std::wstring s = sLarge(sNom);
        ovfichier::EchecNumerote(m_pclThis, nNumero, s.c_str());
        if (nErrno != 0) {
            errno = nErrno;
            m_pclThis->pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
        }
    }
    bool bCreeTampon() {
        if (!m_pbyTampon) m_pbyTampon.reset(new (std::nothrow) uint8_t[kTailleTampon]);
        if (!m_pbyTampon) m_pclThis->RaiseError(&gstMyModuleInfo8, 80041);
        return m_pbyTampon != nullptr;
    }
    void InitJauge() {
        if (m_piJauge == nullptr) return;
        m_piJauge->InitJauge(0, 1000);
        m_piJauge->MajJauge(0);
    }
    void MajJauge() {
        if (m_piJauge != nullptr) m_piJauge->MajJauge(nPourMille(m_oTotal - m_oReste, m_oTotal));
    }
    bool bVerifEspace(const std::string& sCible, int64_t oBesoin);
    // Copies nOctets (all up to the end when negative) from nSource, by offset from oSource or
    // sequentially when oSource is negative, to nCible. Raises nNumeroEchec on failure.
    bool bCopie(int nSource, int64_t oSource, int64_t nOctets, int nCible, const std::string& sNomSource,
                const std::string& sNomCible, int nNumeroEchec);

    CComposanteStandard* m_pclThis;
    IJaugeExec* m_piJauge;
    std::string m_sEntier;
    std::string m_sBase;
    std::unique_ptr<uint8_t[]> m_pbyTampon;
    int64_t m_oReste = 0;
    int64_t m_oTotal = 0;
    mode_t m_nMode = 0644;
};

bool CFDecoupeRegroupe::bVerifEspace(const std::string& sCible, int64_t oBesoin) {
    struct statvfs st;
    if (statvfs(sRepertoireDe(sCible).c_str(), &st) != 0) {
        Echec(kErreurEspaceDisque, sCible, errno);
        return false;
    }
    const unsigned __int128 nLibre = static_cast<unsigned __int128>(st.f_bavail) * st.f_frsize;
    if (nLibre < static_cast<unsigned __int128>(oBesoin)) {
        Echec(kErreurDisquePlein, sCible, ENOSPC);
        return false;
    }
    return true;
}

bool CFDecoupeRegroupe::bCopie(int nSource, int64_t oSource, int64_t nOctets, int nCible, const std::string& sNomSource,
                               const std::string& sNomCible, int nNumeroEchec) {
    const bool bJusquALaFin = nOctets < 0;
    while (bJusquALaFin || nOctets > 0) {
        size_t nBloc = kTailleTampon;
        if (!bJusquALaFin && static_cast<uint64_t>(nOctets) < nBloc) nBloc = static_cast<size_t>(nOctets);
        const ssize_t nLu = nLit(nSource, m_pbyTampon.get(), nBloc, oSource);
        if (nLu < 0) {
            Echec(nNumeroEchec, sNomSource, errno);
            return false;
        }
        if (nLu == 0) {
            if (bJusquALaFin) return true;
            Echec(kErreurFinInattendue, sNomSource);
            return false;
        }
        if (!ov_files::bEcritTout(nCible, m_pbyTampon.get(), static_cast<size_t>(nLu))) {
            Echec(nNumeroEchec, sNomCible, errno);
            return false;
        }
        if (oSource >= 0) oSource += nLu;
        if (!bJusquALaFin) nOctets -= nLu;
        m_oReste -= nLu;
        if (m_oReste < 0) m_oReste = 0;
        MajJauge();
    }
    return true;
}

int CFDecoupeRegroupe::nDecoupe(int64_t oTaille, int nOption) {
    const bool bRetire = (nOption & 1) != 0;
    if (oTaille < 1) {
        Echec(kErreurTailleTropPetite, m_sEntier);
        return 0;
    }
    CDescripteur clSource(open(m_sEntier.c_str(), (bRetire ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY));
    struct stat stSource;
    if (clSource.n() < 0 || fstat(clSource.n(), &stSource) != 0 || !S_ISREG(stSource.st_mode)) {
        Echec(kErreurOuvertureSource, m_sEntier, clSource.n() < 0 ? errno : S_ISDIR(stSource.st_mode) ? EISDIR : EINVAL);
        return 0;
    }
    // An open-file-description lock: it belongs to this descriptor alone, so closing it cannot
    // drop a lock the program holds on the same file through a handle.
    struct flock stVerrou = {};
    stVerrou.l_type = bRetire ? F_WRLCK : F_RDLCK;
    stVerrou.l_whence = SEEK_SET;
    if (fcntl(clSource.n(), F_OFD_SETLK, &stVerrou) != 0) {
        Echec(kErreurVerrou, m_sEntier, errno);
        return 0;
    }
    m_oTotal = m_oReste = stSource.st_size;
    const uint64_t nNbPiece = m_oTotal == 0 ? 1 : static_cast<uint64_t>(m_oTotal - 1) / static_cast<uint64_t>(oTaille) + 1;
    if (nNbPiece > static_cast<uint64_t>(kNbPieceMax)) {
        const std::wstring sNom = sLarge(m_sEntier), sNb = ovdecoupe::sFormateNombre(nNbPiece),
                           sMax = ovdecoupe::sFormateNombre(kNbPieceMax);
        m_pclThis->RaiseError(&gstMyModuleInfo8, kErreurTropDecoupe, sNom.c_str(), sNb.c_str(), sMax.c_str());
        return 0;
    }
    const int nNb = static_cast<int>(nNbPiece);
    if (!bVerifEspace(m_sBase, bRetire ? (m_oTotal < oTaille ? m_oTotal : oTaille) : m_oTotal)) return 0;
    // The piece after the last must not exist either: joining would take it in.
    for (int i = 1; i <= nNb + 1; ++i) {
        struct stat st;
        const std::string sPiece = sNomPiece(m_sBase, i);
        if (lstat(sPiece.c_str(), &st) == 0) {
            Echec(kErreurPieceExiste, sPiece, EEXIST);
            return 0;
        }
    }
    if (!bCreeTampon()) return 0;
    InitJauge();

    // From the last piece to the first, so that with the remove flag the source can be cut down
    // after each piece and the disk never holds more than one piece beyond the data.
    std::vector<std::string> tabEcrites;
    bool bEchec = false;
    for (int i = nNb; i >= 1 && !bEchec; --i) {
        const int64_t oDebut = static_cast<int64_t>(i - 1) * oTaille;
        const int64_t nOctets = i == nNb ? m_oTotal - oDebut : oTaille;
        const std::string sPiece = sNomPiece(m_sBase, i);
        std::string sTemp;
        CDescripteur clPiece(nCreeTemporaire(sPiece, &sTemp));
        if (clPiece.n() < 0) {
            Echec(kErreurCopiePiece, sPiece, errno);
            bEchec = true;
            break;
        }
        // The temporary file is private (0600); the piece gets the source's permissions.
        bool bBon = fchmod(clPiece.n(), stSource.st_mode & 07777) == 0;
        if (!bBon) Echec(kErreurCopiePiece, sPiece, errno);
        bBon = bBon && bCopie(clSource.n(), oDebut, nOctets, clPiece.n(), m_sEntier, sPiece, kErreurCopiePiece);
        if (bBon && bRetire && fsync(clPiece.n()) != 0) {
            Echec(kErreurCopiePiece, sPiece, errno);
            bBon = false;
        }
        clPiece.Ferme();
        // link refuses to replace a piece that appeared meanwhile, where rename would clobber it.
        if (bBon && link(sTemp.c_str(), sPiece.c_str()) != 0) {
            Echec(errno == EEXIST ? kErreurPieceExiste : kErreurCopiePiece, sPiece, errno);
            bBon = false;
        }
        unlink(sTemp.c_str());
        if (!bBon) {
            bEchec = true;
            break;
        }
        tabEcrites.push_back(sPiece);
        if (bRetire && ftruncate(clSource.n(), oDebut) != 0) {
            Echec(kErreurReduction, m_sEntier, errno);
            bEchec = true;
        }
    }
    if (bEchec) {
        // Without the remove flag the source is whole, so the pieces are only clutter. With it,
        // they hold bytes the source no longer has, and they stay.
        if (!bRetire)
            for (const std::string& s : tabEcrites) unlink(s.c_str());
        return 0;
    }
    clSource.Ferme();
    if (bRetire && unlink(m_sEntier.c_str()) != 0) {
        Echec(kErreurSuppressionSource, m_sEntier, errno);
        return 0;
    }
    m_oReste = 0;
    MajJauge();  // an empty file copies no block, yet its gauge ends full too
    return nNb;
}

int CFDecoupeRegroupe::nRegroupe(int nOption) {
    const bool bRetire = (nOption & 1) != 0;
    int nNb = 0;
    int64_t oPlusGrande = 0;
    m_oTotal = 0;
    for (int i = 1;; ++i) {
        struct stat st;
        if (stat(sNomPiece(m_sBase, i).c_str(), &st) != 0) break;
        if (i > kNbPieceMax) {
            Echec(kErreurTropRegroupe, m_sEntier);
            return 0;
        }
        if (i == 1) m_nMode = st.st_mode & 07777;
        nNb = i;
        m_oTotal += st.st_size;
        if (st.st_size > oPlusGrande) oPlusGrande = st.st_size;
    }
    if (nNb == 0) {
        Echec(kErreurAucunePiece, sNomPiece(m_sBase, 1), ENOENT);
        return 0;
    }
    struct stat stEntier;
    if (stat(m_sEntier.c_str(), &stEntier) == 0 && !S_ISREG(stEntier.st_mode)) {
        Echec(kErreurCreationEntier, m_sEntier, S_ISDIR(stEntier.st_mode) ? EISDIR : EINVAL);
        return 0;
    }
    if (!bVerifEspace(m_sEntier, bRetire ? oPlusGrande : m_oTotal)) return 0;
    if (!bCreeTampon()) return 0;
    std::string sTemp;
    CDescripteur clEntier(nCreeTemporaire(m_sEntier, &sTemp));
    if (clEntier.n() < 0) {
        Echec(kErreurCreationEntier, m_sEntier, errno);
        return 0;
    }
    // The joined file gets the first piece's permissions, as the pieces got the source's.
    if (fchmod(clEntier.n(), m_nMode) != 0) {
        Echec(kErreurCreationEntier, m_sEntier, errno);
        unlink(sTemp.c_str());
        return 0;
    }
    m_oReste = m_oTotal;
    InitJauge();
    bool bBon = true;
    bool bPieceSupprimee = false;
    for (int i = 1; i <= nNb && bBon; ++i) {
        const std::string sPiece = sNomPiece(m_sBase, i);
        CDescripteur clPiece(open(sPiece.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
        if (clPiece.n() < 0) {
            Echec(kErreurOuverturePiece, sPiece, errno);
            bBon = false;
            break;
        }
        bBon = bCopie(clPiece.n(), -1, -1, clEntier.n(), sPiece, m_sEntier, kErreurCopiePiece);
        clPiece.Ferme();
        if (bBon && bRetire) {
            // The joined bytes must be on disk before the piece that held them goes.
            if (fsync(clEntier.n()) != 0) {
                Echec(kErreurEcriture, m_sEntier, errno);
                bBon = false;
            } else if (unlink(sPiece.c_str()) != 0) {
                Echec(kErreurSuppressionPiece, sPiece, errno);
                bBon = false;
            } else {
                bPieceSupprimee = true;
            }
        }
    }
    clEntier.Ferme();
    if (bBon && rename(sTemp.c_str(), m_sEntier.c_str()) != 0) {
        Echec(kErreurEcriture, m_sEntier, errno);
        bBon = false;
    }
    if (!bBon) {
        // Once a piece is gone its bytes live only in the partial file, which stays under its
        // temporary name, beside the whole file's name.
        if (!bPieceSupprimee) unlink(sTemp.c_str());
        return 0;
    }
    m_oReste = 0;
    MajJauge();
    return nNb;
}

int nDecoupe(CComposanteStandard* pclThis, const STManipAUB* pstFichier, long oTaille, const STManipAUB* pstBase,
             int nOption, IJaugeExec* piJauge) {
    wchar_t szFichier[kMaxPath + 1], szBase[kMaxPath + 1];
    if (!ovfichier::bLitNom(pclThis, pstFichier, szFichier) || !ovfichier::bLitNom(pclThis, pstBase, szBase, true))
        return 0;
    CFDecoupeRegroupe cl(pclThis, piJauge);
    if (!cl.bInit(szFichier, szBase)) return 0;
    return cl.nDecoupe(oTaille, nOption);
}

int nRegroupe(CComposanteStandard* pclThis, const STManipAUB* pstBase, const STManipAUB* pstFichier, int nOption,
              IJaugeExec* piJauge) {
    wchar_t szFichier[kMaxPath + 1], szBase[kMaxPath + 1];
    if (!ovfichier::bLitNom(pclThis, pstBase, szBase) || !ovfichier::bLitNom(pclThis, pstFichier, szFichier, true))
        return 0;
    CFDecoupeRegroupe cl(pclThis, piJauge);
    if (!cl.bInit(szFichier[0] != 0 ? szFichier : szBase, szBase)) return 0;
    return cl.nRegroupe(nOption);
}

}  // namespace

int CComposanteStandard::fDecoupe(const STManipAUB* pstFichier, long oTaille, const STManipAUB* pstBase, int nOption,
                                  IJaugeExec* piJauge) {
    return nDecoupe(this, pstFichier, oTaille, pstBase, nOption, piJauge);
}

int CComposanteStandard::fRegroupe(const STManipAUB* pstBase, const STManipAUB* pstFichier, int nOption,
                                   IJaugeExec* piJauge) {
    return nRegroupe(this, pstBase, pstFichier, nOption, piJauge);
}

// The text is sought as the bytes of the value (a wide text at four bytes a character). The
// handle's position is the same afterwards, so a program can search and go on reading.
long CComposanteStandard::fCherche(int nHandle, const STManipAUB* pstTexte, long oDebut) {
    _stINFOFIC* pstInfo = ovfic::pstValide(this, nHandle);
    if (pstInfo == nullptr) return -1;
    if (!ovfic::bParametre(this, oDebut >= 0)) return -1;
    int nTaille = 0;
    const uint8_t* pbyTexte = pstTexte != nullptr ? pstTexte->pbyGetContenuUtile(&nTaille) : nullptr;
    if (pbyTexte == nullptr || nTaille <= 0) return 0;
    if (!ovfic::bSynchronise(this, pstInfo)) return -1;
    IXStream* piFlux = pstInfo->piFlux;
    const long oPosition = piFlux->oGetOffset();
    const int64_t oTrouve = ovdecoupe::oRecherche(piFlux, pbyTexte, static_cast<size_t>(nTaille), oDebut);
    if (oTrouve == -2) {
        ovfic::CopieErreurFlux(this, piFlux, ovfic::kErreurLecture);
        piFlux->bSeek(oPosition, eSEEK_DEBUT);
        return -1;
    }
    if (!piFlux->bSeek(oPosition, eSEEK_DEBUT)) {
        ovfic::CopieErreurFlux(this, piFlux, ovfic::kErreurPosition);
        return -1;
    }
    return oTrouve;
}
