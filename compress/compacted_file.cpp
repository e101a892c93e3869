// Compacted files: the header, packing and unpacking over the "-lh5-" engine or stored, the size
// questions, the exported entry points and the language functions fCompacte, fDecompacte,
// fTailleCompacte, fTailleDecompacte and fStopCompacte.
#include "compress/compacted_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <strings.h>

#include "base/code_pages.h"
#include "base/unicode.h"
#include "component/thunk.h"
#include "compress/internal/compacted_common.h"
#include "compress/internal/compacted_lzw.h"
#include "compress/lh5.h"
#include "files/disk_file.h"
#include "files/write_all.h"

namespace ovcompacte::interne {

// ====================================================================== stop flag

namespace {
std::atomic<bool> gbArret{false};
}

void ArreteOperations() noexcept { gbArret.store(true, std::memory_order_relaxed); }
void DebutOperation() noexcept { gbArret.store(false, std::memory_order_relaxed); }
bool bArretDemande() noexcept { return gbArret.load(std::memory_order_relaxed); }

// ====================================================================== descriptors and buffers

bool CDescripteur::bFerme() noexcept {
    if (m_n < 0) return true;
    const int n = m_n;
    m_n = -1;
    return close(n) == 0 || errno == EINTR;
}

int nOuvreLecture(const char* pszNom, struct stat* pstInfo) noexcept {
    CDescripteur clFd(open(pszNom, O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!clFd.bOuvert()) return -1;
    struct stat st;
    if (fstat(clFd.n(), &st) != 0) return -1;
    if (!S_ISREG(st.st_mode)) {
        errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
        return -1;
    }
    if (pstInfo != nullptr) *pstInfo = st;
    return clFd.nLache();
}

ssize_t nLitTout(int nFd, void* pData, size_t nTaille) noexcept {
    uint8_t* pby = static_cast<uint8_t*>(pData);
    size_t nFait = 0;
    while (nFait < nTaille) {
        const ssize_t n = read(nFd, pby + nFait, nTaille - nFait);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;
        nFait += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(nFait);
}

bool CSourceFichier::bAlloue() noexcept {
    if (!m_pbyTampon) m_pbyTampon.reset(new (std::nothrow) uint8_t[kTailleTampon]);
    return m_pbyTampon != nullptr;
}

long CSourceFichier::nLit(uint8_t* pby, size_t nTaille) noexcept {
    if (nTaille > m_nReste) nTaille = static_cast<size_t>(m_nReste);
    size_t nFait = 0;
    while (nFait < nTaille) {
        if (m_nDebut == m_nFin) {
            if (nTaille - nFait >= kTailleTampon) {
                const ssize_t n = nLitTout(m_nFd, pby + nFait, nTaille - nFait);
                if (n < 0) return -1;
                nFait += static_cast<size_t>(n);
                break;
            }
            const ssize_t n = nLitTout(m_nFd, m_pbyTampon.get(), kTailleTampon);
            if (n < 0) return -1;
            if (n == 0) break;
            m_nDebut = 0;
            m_nFin = static_cast<size_t>(n);
        }
        const size_t n = std::min(m_nFin - m_nDebut, nTaille - nFait);
        std::memcpy(pby + nFait, m_pbyTampon.get() + m_nDebut, n);
        m_nDebut += n;
        nFait += n;
    }
    m_nReste -= nFait;
    return static_cast<long>(nFait);
}

bool CPuitsFichier::bAlloue() noexcept {
    if (!m_pbyTampon) m_pbyTampon.reset(new (std::nothrow) uint8_t[kTailleTampon]);
    return m_pbyTampon != nullptr;
}


bool CPuitsFichier::bVide() noexcept {
    if (m_bArrete || m_nErrno != 0) return false;
    if (bArretDemande()) {
        m_bArrete = true;
        return false;
    }
    if (m_nRempli > 0 && !ov_files::bEcritTout(m_nFd, m_pbyTampon.get(), m_nRempli)) {
        m_nErrno = errno;
        return false;
    }
    m_nRempli = 0;
    return true;
}

bool CPuitsFichier::bEcrit(const uint8_t* pby, size_t nTaille) noexcept {
    if (m_bArrete || m_nErrno != 0) return false;
    m_nEcrits += nTaille;
    if (m_nRempli + nTaille > kTailleTampon) {
        if (!bVide()) return false;
        if (nTaille >= kTailleTampon) {
            if (!ov_files::bEcritTout(m_nFd, pby, nTaille)) {
                m_nErrno = errno;
                return false;
            }
            return true;
        }
    }
    std::memcpy(m_pbyTampon.get() + m_nRempli, pby, nTaille);
    m_nRempli += nTaille;
    return true;
}

int nCodeEcriture(int nFd, int nErrno) noexcept {
    if (nErrno == ENOSPC || nErrno == EDQUOT) return CODE_DISQUE_PLEIN;
    struct statvfs st;
    if (nFd >= 0 && fstatvfs(nFd, &st) == 0 && static_cast<unsigned __int128>(st.f_bavail) * st.f_frsize < 5)
        return CODE_DISQUE_PLEIN;
    return CODE_CORROMPU;
}

int nCopieFlux(int nFdSource, int nFdCible, uint64_t* pnCopies) noexcept {
    CSourceFichier clSource(nFdSource);
    CPuitsFichier clPuits(nFdCible);
    std::unique_ptr<uint8_t[]> pby(new (std::nothrow) uint8_t[kTailleTampon]);
    if (!pby || !clPuits.bAlloue()) return CODE_MEMOIRE;
    *pnCopies = 0;
    for (;;) {
        const long n = clSource.nLit(pby.get(), kTailleTampon);
        if (n < 0) return CODE_SOURCE;
        if (n == 0) break;
        // Every block passes through bVide, which is where the stop flag is seen.
        if (!clPuits.bEcrit(pby.get(), static_cast<size_t>(n)) || !clPuits.bVide())
            return clPuits.bArrete() ? CODE_ARRETE : nCodeEcriture(nFdCible, clPuits.nErrno());
        *pnCopies += static_cast<uint64_t>(n);
    }
    return CODE_OK;
}

std::string sRepertoireDe(const std::string& sChemin) {
    const size_t n = sChemin.rfind('/');
    return n == std::string::npos ? std::string(".") : n == 0 ? std::string("/") : sChemin.substr(0, n);
}

uint64_t nEspaceLibre(const std::string& sChemin) noexcept {
    try {
        struct statvfs st;
        if (statvfs(sRepertoireDe(sChemin).c_str(), &st) != 0) return UINT64_MAX;
        const unsigned __int128 n = static_cast<unsigned __int128>(st.f_bavail) * st.f_frsize;
        return n > UINT64_MAX ? UINT64_MAX : static_cast<uint64_t>(n);
    } catch (...) {
        return UINT64_MAX;
    }
}

// ====================================================================== destination

bool CDestination::bPrepare(const std::string& sFinal, mode_t nModeDefaut) noexcept {
    try {
        Abandonne();
        m_sFinal = sFinal;
        // A link is followed, so that the file it names gets the content and the link stays.
        struct stat st;
        if (lstat(m_sFinal.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
            char* pszCible = realpath(m_sFinal.c_str(), nullptr);
            if (pszCible != nullptr) {
                m_sFinal = pszCible;
                std::free(pszCible);
            }
        }
        m_nMode = nModeDefaut;
        if (stat(m_sFinal.c_str(), &st) == 0) {
            if (S_ISDIR(st.st_mode)) {
                errno = EISDIR;
                return false;
            }
            if (!S_ISREG(st.st_mode)) {
                errno = EINVAL;
                return false;
            }
            // A protected file stays protected: renaming over it would ignore its mode.
            if (access(m_sFinal.c_str(), W_OK) != 0) return false;
            m_nMode = st.st_mode & 07777;
        }
        m_sTemp = sRepertoireDe(m_sFinal) + "/_OVXXXXXX";
        const int n = mkostemp(m_sTemp.data(), O_CLOEXEC);
        if (n < 0) {
            m_sTemp.clear();
            return false;
        }
        m_clFd.Prend(n);
        return true;
    } catch (...) {
        errno = ENOMEM;
        return false;
    }
}

bool CDestination::bPlace(const struct stat* pstTemps) noexcept {
    if (!m_clFd.bOuvert()) {
        errno = EBADF;
        return false;
    }
    bool bBon = fchmod(m_clFd.n(), m_nMode) == 0;
    if (bBon && pstTemps != nullptr) {
        const struct timespec tab[2] = {pstTemps->st_atim, pstTemps->st_mtim};
        bBon = futimens(m_clFd.n(), tab) == 0;
    }
    int nErrno = bBon ? 0 : errno;
    if (!m_clFd.bFerme() && bBon) {
        bBon = false;
        nErrno = errno;
    }
    if (bBon && rename(m_sTemp.c_str(), m_sFinal.c_str()) != 0) {
        bBon = false;
        nErrno = errno;
    }
    if (bBon) {
        m_sTemp.clear();
        return true;
    }
    Abandonne();
    errno = nErrno;
    return false;
}

void CDestination::Abandonne() noexcept {
    m_clFd.Ferme();
    if (!m_sTemp.empty()) {
        unlink(m_sTemp.c_str());
        m_sTemp.clear();
    }
}

}  // namespace ovcompacte::interne

namespace ovcompacte {

using namespace interne;
using ovlh5::EResultat;

namespace {

constexpr char kMethodeLh5[] = "-lh5-";
constexpr char kMethodeLh0[] = "-lh0-";
constexpr size_t kMorceauDecodage = 8192;

void Ecrit64(uint8_t* pby, uint64_t n) noexcept {
    for (int i = 0; i < 8; ++i) pby[i] = static_cast<uint8_t>(n >> (8 * i));
}
uint64_t nLit64(const uint8_t* pby) noexcept {
    uint64_t n = 0;
    for (int i = 7; i >= 0; --i) n = (n << 8) | pby[i];
    return n;
}

// The largest original size a stream of nCompressee bytes can honestly give. A block of the
// scheme codes at most 65,535 symbols of at most 256 bytes and costs at least six bytes (its count
// and the smallest tables), so output can never pass 2^22 bytes for each byte of input. A header
// claiming more lies, and would have us write without end.
uint64_t nOriginaleMax(uint64_t nCompressee) noexcept {
    if (nCompressee >= (uint64_t{1} << 40)) return UINT64_MAX;
    return (nCompressee + 1) << 22;
}

std::string sUtf8(const wchar_t* psz) {
    char* p = WideToUTF8(psz);
    if (p == nullptr) return {};
    std::string s = p;
    std::free(p);
    return s;
}

// The text of code page 1252 as a UTF-8 path.
std::string sDepuis1252(const char* psz) {
    wchar_t sz[kTailleNom + 1] = {};
    const int n = static_cast<int>(std::strlen(psz));
    if (n == 0 || STR_CP1252ToWideChar(psz, n, sz, kTailleNom) <= 0) return {};
    return sUtf8(sz);
}

// The stored name for a destination: the name itself, or its last component joined to a
// destination that names a directory (ending in "/" or ":", trailing blanks ignored). Empty when
// nothing usable is left: no name, or "." or "..".
std::string sDestinationDe(const std::string& sDestination, const std::string& sStocke) {
    std::string s = sDestination;
    while (!s.empty() && s.back() == ' ') s.pop_back();
    if (s.empty()) return sStocke;
    if (s.back() != '/' && s.back() != ':') return sDestination;
    const size_t n = sStocke.find_last_of("/\\:");
    const std::string sDernier = n == std::string::npos ? sStocke : sStocke.substr(n + 1);
    if (sDernier.empty() || sDernier == "." || sDernier == "..") return {};
    return s.back() == '/' ? s + sDernier : s + "/" + sDernier;
}

class CProgression final : public ovlh5::IProgression {
public:
    bool bContinue(uint64_t) noexcept override { return !bArretDemande(); }
};

int nCodePlacement(int nErrno) noexcept {
    return nErrno == ENOSPC || nErrno == EDQUOT ? CODE_DISQUE_PLEIN : CODE_DESTINATION;
}

// Copies a file that is not compacted at all to its destination.
int nCopieSimple(int nFdSource, const struct stat& stSource, const std::string& sDestination) noexcept {
    CDestination clDestination;
    if (!clDestination.bPrepare(sDestination, stSource.st_mode & 07777)) return nCodePlacement(errno);
    if (lseek(nFdSource, 0, SEEK_SET) != 0) return CODE_SOURCE;
    uint64_t nCopies = 0;
    const int nCode = nCopieFlux(nFdSource, clDestination.nFd(), &nCopies);
    if (nCode != CODE_OK) return nCode;
    return clDestination.bPlace(&stSource) ? CODE_OK : nCodePlacement(errno);
}

int nCompacteInterne(const wchar_t* pszSource, const wchar_t* pszDestination) {
    DebutOperation();
    const std::string sSource = sUtf8(pszSource), sDestination = sUtf8(pszDestination);
    if (sSource.empty()) return CODE_SOURCE;
    if (sDestination.empty()) return CODE_DESTINATION;
    struct stat stSource;
    CDescripteur clSource(nOuvreLecture(sSource.c_str(), &stSource));
    if (!clSource.bOuvert()) return CODE_SOURCE;

    STEntete stEntete;
    // A character that 1252 lacks is stored as "?"; the name is cut at 260 bytes.
    for (size_t i = 0; i < kTailleNom && pszSource[i] != 0; ++i) {
        const int n = STR_ToCP1252(pszSource[i]);
        stEntete.szNom[i] = static_cast<char>(n > 0 ? n : '?');
    }

    CDestination clDestination;
    if (!clDestination.bPrepare(sDestination, stSource.st_mode & 07777)) return nCodePlacement(errno);
    const int nFd = clDestination.nFd();
    uint8_t tabTete[kDebutFlux] = {kOctetTete};
    if (!ov_files::bEcritTout(nFd, tabTete, sizeof tabTete)) return nCodeEcriture(nFd, errno);

    const uint64_t nTaille = static_cast<uint64_t>(stSource.st_size);
    bool bStocke = nTaille <= kTailleEntete;
    if (!bStocke) {
        CSourceFichier clFlux(clSource.n());
        CPuitsFichier clPuits(nFd);
        if (!clFlux.bAlloue() || !clPuits.bAlloue()) return CODE_MEMOIRE;
        CProgression clProgression;
        // A file must shrink by more than its header to be worth the engine's form.
        const ovlh5::STEncodage st = ovlh5::stEncode(&clFlux, &clPuits, nTaille - kTailleEntete, &clProgression);
        EResultat e = st.eResultat;
        if (e == EResultat::OK && !clPuits.bVide()) e = EResultat::ECHEC_ECRITURE;
        switch (e) {
            case EResultat::OK:
                stEntete.eMethode = EMethode::LH5;
                stEntete.nOriginale = st.nLus;
                stEntete.nCompressee = st.nEcrits;
                break;
            case EResultat::INCOMPRESSIBLE:
                bStocke = true;
                break;
            case EResultat::ARRETE:
                return CODE_ARRETE;
            case EResultat::ECHEC_LECTURE:
                return CODE_SOURCE;
            case EResultat::MEMOIRE:
                return CODE_MEMOIRE;
            default:
                return clPuits.bArrete() ? CODE_ARRETE : nCodeEcriture(nFd, clPuits.nErrno());
        }
    }
    if (bStocke) {
        // Stored: whatever the engine wrote goes, the raw bytes follow the header.
        if (ftruncate(nFd, static_cast<off_t>(kDebutFlux)) != 0 || lseek(nFd, static_cast<off_t>(kDebutFlux), SEEK_SET) < 0)
            return nCodeEcriture(nFd, errno);
        if (lseek(clSource.n(), 0, SEEK_SET) != 0) return CODE_SOURCE;
        uint64_t nCopies = 0;
        const int nCode = nCopieFlux(clSource.n(), nFd, &nCopies);
        if (nCode != CODE_OK) return nCode;
        stEntete.eMethode = EMethode::LH0;
        stEntete.nOriginale = stEntete.nCompressee = nCopies;
    }
    const uint8_t tabFin[2] = {0, 0};
    EcritEntete(stEntete, tabTete + 1);
    if (!ov_files::bEcritTout(nFd, tabFin, sizeof tabFin) || pwrite(nFd, tabTete, sizeof tabTete, 0) != static_cast<ssize_t>(sizeof tabTete))
        return nCodeEcriture(nFd, errno);
    if (bArretDemande()) return CODE_ARRETE;
    return clDestination.bPlace(&stSource) ? CODE_OK : nCodePlacement(errno);
}

// The bytes of a stored file, or the decoded stream, nOriginale of them, to the destination.
int nDecodeVers(int nFdSource, const STEntete& stEntete, int nFdCible) {
    CSourceFichier clFlux(nFdSource, stEntete.nCompressee);
    CPuitsFichier clPuits(nFdCible);
    std::unique_ptr<uint8_t[]> pby(new (std::nothrow) uint8_t[kMorceauDecodage]);
    if (!pby || !clFlux.bAlloue() || !clPuits.bAlloue()) return CODE_MEMOIRE;
    ovlh5::CDecodeurLh5 clDecodeur;
    if (stEntete.eMethode == EMethode::LH5 && !clDecodeur.bDemarre(&clFlux, stEntete.nCompressee)) return CODE_MEMOIRE;
    uint64_t nReste = stEntete.nOriginale;
    while (nReste > 0) {
        const size_t n = nReste < kMorceauDecodage ? static_cast<size_t>(nReste) : kMorceauDecodage;
        if (stEntete.eMethode == EMethode::LH0) {
            const long nLu = clFlux.nLit(pby.get(), n);
            if (nLu < 0) return CODE_SOURCE;
            if (static_cast<size_t>(nLu) != n) return CODE_CORROMPU;
        } else {
            // A corrupt stream is a header or stream that cannot be read: code 4.
            const EResultat e = clDecodeur.eDecode(pby.get(), n);
            if (e == EResultat::ECHEC_LECTURE) return CODE_SOURCE;
            if (e != EResultat::OK) return CODE_CORROMPU;
        }
        if (!clPuits.bEcrit(pby.get(), n) || !clPuits.bVide())
            return clPuits.bArrete() ? CODE_ARRETE : nCodeEcriture(nFdCible, clPuits.nErrno());
        nReste -= n;
    }
    return CODE_OK;
}

int nDecompacteInterne(const wchar_t* pszSource, const wchar_t* pszDestination, int64_t oOffset) {
    DebutOperation();
    const std::string sSource = sUtf8(pszSource);
    const std::string sDestinationDonnee = pszDestination != nullptr ? sUtf8(pszDestination) : std::string();
    if (sSource.empty()) return CODE_SOURCE;
    if (pszDestination != nullptr && pszDestination[0] != 0 && sDestinationDonnee.empty()) return CODE_DESTINATION;
    struct stat stSource;
    CDescripteur clSource(nOuvreLecture(sSource.c_str(), &stSource));
    if (!clSource.bOuvert()) return CODE_SOURCE;
    const uint64_t nTailleFichier = static_cast<uint64_t>(stSource.st_size);
    if (oOffset < 0 || static_cast<uint64_t>(oOffset) > nTailleFichier) return CODE_CORROMPU;

    uint8_t tabTete[kDebutFlux] = {};
    if (lseek(clSource.n(), oOffset, SEEK_SET) != oOffset) return CODE_SOURCE;
    const ssize_t nLu = nLitTout(clSource.n(), tabTete, sizeof tabTete);
    if (nLu < 0) return CODE_SOURCE;
    const STEntete stLu = stLitEntete(tabTete + 1);
    if (stLu.eMethode == EMethode::INCONNUE) {
        STEnteteAncien stAncien;
        if (nLitEnteteAncienFichier(sSource.c_str(), &stAncien) == 0) {
            clSource.Ferme();
            std::string sDestination;
            if (!sDestinationDonnee.empty()) {
                // The old format keeps no name: a directory takes the source's own.
                sDestination = sDestinationDe(sDestinationDonnee, sSource);
                if (sDestination.empty()) return CODE_DESTINATION;
            }
            return nDecompacteAncien(sSource.c_str(), sDestination.empty() ? nullptr : sDestination.c_str());
        }
        // Not compacted at all: copied; without a destination there is nothing to do.
        if (sDestinationDonnee.empty()) return CODE_OK;
        const std::string sDestination = sDestinationDe(sDestinationDonnee, sSource);
        if (sDestination.empty()) return CODE_DESTINATION;
        return nCopieSimple(clSource.n(), stSource, sDestination);
    }
    if (static_cast<size_t>(nLu) < kDebutFlux) return CODE_CORROMPU;
    STEntete stEntete = stLu;
    const uint64_t nDisponible = nTailleFichier - static_cast<uint64_t>(oOffset) - kDebutFlux;
    if (stEntete.nCompressee > nDisponible) return CODE_CORROMPU;
    if (stEntete.eMethode == EMethode::LH5 && stEntete.nCompressee == 0 && stEntete.nOriginale == 0 && oOffset == 0 &&
        nDisponible > 2) {
        // Former writers left a file that would not shrink as its raw bytes behind a "-lh5-"
        // header with both sizes 0. The bytes are all there: give them back rather than nothing.
        stEntete.eMethode = EMethode::LH0;
        stEntete.nCompressee = stEntete.nOriginale = nDisponible;
    }
    if (stEntete.eMethode == EMethode::LH0 && stEntete.nOriginale != stEntete.nCompressee) return CODE_CORROMPU;
    if (stEntete.eMethode == EMethode::LH5 && stEntete.nOriginale > nOriginaleMax(stEntete.nCompressee))
        return CODE_CORROMPU;

    const std::string sDestination = sDestinationDe(sDestinationDonnee, sDepuis1252(stEntete.szNom));
    if (sDestination.empty()) return CODE_DESTINATION;
    if (stEntete.nOriginale > nEspaceLibre(sDestination)) return CODE_DISQUE_PLEIN;
    CDestination clDestination;
    if (!clDestination.bPrepare(sDestination, stSource.st_mode & 07777)) return nCodePlacement(errno);
    const int nCode = nDecodeVers(clSource.n(), stEntete, clDestination.nFd());
    if (nCode != CODE_OK) return nCode;
    if (bArretDemande()) return CODE_ARRETE;
    return clDestination.bPlace(&stSource) ? CODE_OK : nCodePlacement(errno);
}

// The header of a file by name: 0, -1 cannot be opened or read, -2 neither format.
int nLitEnteteFichier(const wchar_t* pszNom, STEntete* pstEntete, STEnteteAncien* pstAncien) {
    const std::string sNom = sUtf8(pszNom);
    if (sNom.empty()) return -1;
    CDescripteur clFd(nOuvreLecture(sNom.c_str(), nullptr));
    if (!clFd.bOuvert()) return -1;
    uint8_t tab[kDebutFlux] = {};
    const ssize_t n = nLitTout(clFd.n(), tab, sizeof tab);
    if (n < 0) return -1;
    if (static_cast<size_t>(n) == kDebutFlux) {
        *pstEntete = stLitEntete(tab + 1);
        if (pstEntete->eMethode != EMethode::INCONNUE) return 0;
    }
    pstEntete->eMethode = EMethode::INCONNUE;
    return bLitEnteteAncien(tab, static_cast<size_t>(n), pstAncien) ? 0 : -2;
}

}  // namespace

void EcritEntete(const STEntete& stEntete, uint8_t* pbyEntete) noexcept {
    std::memset(pbyEntete, 0, kTailleEntete);
    const char* pszMethode = stEntete.eMethode == EMethode::LH0 ? kMethodeLh0 : kMethodeLh5;
    std::memcpy(pbyEntete, pszMethode, 5);
    Ecrit64(pbyEntete + 8, stEntete.nCompressee);
    Ecrit64(pbyEntete + 16, stEntete.nOriginale);
    std::memcpy(pbyEntete + 24, stEntete.szNom, strnlen(stEntete.szNom, kTailleNom));
}

STEntete stLitEntete(const uint8_t* pbyEntete) noexcept {
    STEntete st;
    const char* pszMethode = reinterpret_cast<const char*>(pbyEntete);
    // Six bytes with the terminator: "-lh5-x" is no method.
    if (strncasecmp(pszMethode, kMethodeLh5, 6) == 0)
        st.eMethode = EMethode::LH5;
    else if (strncasecmp(pszMethode, kMethodeLh0, 6) == 0)
        st.eMethode = EMethode::LH0;
    st.nCompressee = nLit64(pbyEntete + 8);
    st.nOriginale = nLit64(pbyEntete + 16);
    std::memcpy(st.szNom, pbyEntete + 24, kTailleNom);
    st.szNom[kTailleNom] = 0;
    return st;
}

int nCompacte(const wchar_t* pszSource, const wchar_t* pszDestination) noexcept {
    if (pszSource == nullptr || pszSource[0] == 0) return CODE_SOURCE;
    if (pszDestination == nullptr || pszDestination[0] == 0) return CODE_DESTINATION;
    try {
        return nCompacteInterne(pszSource, pszDestination);
    } catch (...) {
        return CODE_MEMOIRE;
    }
}

int nDecompacte(const wchar_t* pszSource, const wchar_t* pszDestination, int64_t oOffset) noexcept {
    if (pszSource == nullptr || pszSource[0] == 0) return CODE_SOURCE;
    try {
        return nDecompacteInterne(pszSource, pszDestination, oOffset);
    } catch (...) {
        return CODE_MEMOIRE;
    }
}

int64_t lTailleCompacte(const wchar_t* pszNom) noexcept {
    try {
        STEntete st;
        STEnteteAncien stAncien;
        const int n = nLitEnteteFichier(pszNom, &st, &stAncien);
        if (n != 0) return n;
        if (st.eMethode == EMethode::INCONNUE) return stAncien.nCompactee;
        return st.nCompressee > static_cast<uint64_t>(INT64_MAX) - kSurcout ? -2 : static_cast<int64_t>(st.nCompressee + kSurcout);
    } catch (...) {
        return -1;
    }
}

int64_t lTailleDecompacte(const wchar_t* pszNom) noexcept {
    try {
        STEntete st;
        STEnteteAncien stAncien;
        const int n = nLitEnteteFichier(pszNom, &st, &stAncien);
        if (n != 0) return n;
        if (st.eMethode == EMethode::INCONNUE) return stAncien.nOriginale;
        return st.nOriginale > static_cast<uint64_t>(INT64_MAX) ? -2 : static_cast<int64_t>(st.nOriginale);
    } catch (...) {
        return -1;
    }
}

void ArreteCompaction() noexcept { ArreteOperations(); }

}  // namespace ovcompacte

extern "C" int nfCompacte(const wchar_t* pszSource, const wchar_t* pszDestination) noexcept {
    return ovcompacte::nCompacte(pszSource, pszDestination);
}
extern "C" int64_t lfTailleCompacte(const wchar_t* pszNom) noexcept { return ovcompacte::lTailleCompacte(pszNom); }
extern "C" int64_t lfTailleDecompacte(const wchar_t* pszNom) noexcept { return ovcompacte::lTailleDecompacte(pszNom); }

// ====================================================================== language functions

namespace {

constexpr int kErreurBase = 80299;
constexpr int kErreurNonCompacte = 80302;

// A failure of the file system, which the program tests for: level 2.
void Echec(CComposanteStandard* pclThis, int nNumero) {
    pclThis->RaiseError(&gstMyModuleInfo8, nNumero);
    pclThis->pclGetError()->SetErrorLevel(2);
}

// The full form of a name argument, empty when there is none or it cannot be made full. A name
// that ends in "/" or ":" keeps that end, which says "a directory".
std::wstring sNomComplet(const STManipAUB* pstNom) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszNom = pstNom != nullptr ? pstNom->pszGetStringW(&clTampon) : nullptr;
    if (pszNom == nullptr || pszNom[0] == 0) return {};
    std::wstring sNom = pszNom;
    std::wstring sFin;
    size_t nFin = sNom.size();
    while (nFin > 0 && sNom[nFin - 1] == L' ') --nFin;
    if (nFin > 0 && (sNom[nFin - 1] == L'/' || sNom[nFin - 1] == L':')) sFin = L"/";
    wchar_t szComplet[kMaxPath + 1];
    const unsigned long n = CDiskFile::GetFullPathName(sNom.c_str(), kMaxPath + 1, szComplet, nullptr);
    if (n == 0 || n > static_cast<unsigned long>(kMaxPath)) return {};
    std::wstring sRes = szComplet;
    if (!sFin.empty() && (sRes.empty() || sRes.back() != L'/')) sRes += sFin;
    return sRes;
}

int nResultat(CComposanteStandard* pclThis, int nCode) {
    if (nCode != 0) Echec(pclThis, kErreurBase + nCode);
    return nCode;
}

long lTaille(CComposanteStandard* pclThis, const STManipAUB* pstNom, int64_t (*pfn)(const wchar_t*) noexcept) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszNom = pstNom != nullptr ? pstNom->pszGetStringW(&clTampon) : nullptr;
    const int64_t n = pszNom != nullptr && pszNom[0] != 0 ? pfn(pszNom) : -1;
    if (n == -1) Echec(pclThis, kErreurBase + ovcompacte::interne::CODE_SOURCE);
    if (n == -2) Echec(pclThis, kErreurNonCompacte);
    return static_cast<long>(n);
}

}  // namespace

int CComposanteStandard::fCompacte(const STManipAUB* pstSource, const STManipAUB* pstDestination) {
    const std::wstring sSource = sNomComplet(pstSource);
    if (sSource.empty()) return nResultat(this, ovcompacte::interne::CODE_SOURCE);
    const std::wstring sDestination = sNomComplet(pstDestination);
    if (sDestination.empty()) return nResultat(this, ovcompacte::interne::CODE_DESTINATION);
    return nResultat(this, ovcompacte::nCompacte(sSource.c_str(), sDestination.c_str()));
}

int CComposanteStandard::fDecompacte(const STManipAUB* pstSource, const STManipAUB* pstDestination, long oOffset) {
    const std::wstring sSource = sNomComplet(pstSource);
    if (sSource.empty()) return nResultat(this, ovcompacte::interne::CODE_SOURCE);
    std::wstring sDestination;
    if (pstDestination != nullptr) {
        CXYString<wchar_t> clTampon;
        const wchar_t* pszDestination = pstDestination->pszGetStringW(&clTampon);
        if (pszDestination != nullptr && pszDestination[0] != 0) {
            sDestination = sNomComplet(pstDestination);
            if (sDestination.empty()) return nResultat(this, ovcompacte::interne::CODE_DESTINATION);
        }
    }
    return nResultat(this, ovcompacte::nDecompacte(sSource.c_str(), sDestination.empty() ? nullptr : sDestination.c_str(), oOffset));
}

long CComposanteStandard::fTailleCompacte(const STManipAUB* pstNom) {
    return lTaille(this, pstNom, &ovcompacte::lTailleCompacte);
}

long CComposanteStandard::fTailleDecompacte(const STManipAUB* pstNom) {
    return lTaille(this, pstNom, &ovcompacte::lTailleDecompacte);
}

void CComposanteStandard::fStopCompacte() { ovcompacte::ArreteCompaction(); }
