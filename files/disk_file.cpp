// CDiskFile as a stream: opening with the whole-file lock, reading, writing, seeking, sizes, range
// locks, the fast line reader and range extraction. The class-wide path toolkit lives elsewhere.
#include "files/disk_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "base/tstring.h"

namespace {

constexpr unsigned int kMessageFlush = 28001;
constexpr unsigned int kMessageOuvreOuCree = 28002;
constexpr unsigned int kMessageLecture = 28003;
constexpr unsigned int kMessageTaille = 28004;
constexpr unsigned int kMessagePosition = 28005;
constexpr unsigned int kMessageEcriture = 28008;
constexpr unsigned int kMessageOuvre = 28139;
constexpr unsigned int kMessageCree = 28140;
constexpr unsigned int kMessageVerrouillage = 28145;

constexpr size_t kTailleTamponLigne = 262148;  // four reads and a terminator
constexpr size_t kCapaciteTamponLigne = 262144;
constexpr size_t kLectureLigne = 65536;
constexpr size_t kSeparateurMax = 4096;  // characters: a separator must fit many times in the buffer

constexpr int kModeCreation = 0666;

int64_t nMillisecondesMonotones() noexcept {
    struct timespec stMaintenant {};
    clock_gettime(CLOCK_MONOTONIC, &stMaintenant);
    return static_cast<int64_t>(stMaintenant.tv_sec) * 1000 + stMaintenant.tv_nsec / 1000000;
}

}  // namespace

CDiskFile::CDiskFile() noexcept = default;

CDiskFile::~CDiskFile() {
    Close();
    free(m_pbyTamponLigne);
    if (m_pszNomErreur != m_szChemin) free(m_pszNomErreur);
}

// ---- failures ------------------------------------------------------------------------------------

void CDiskFile::_DebutEchec(int nErreur) noexcept {
    if (m_pclErreur == nullptr) return;
    errno = nErreur;  // the system error takes its text from errno
    m_pclErreur->SetErrorLevel(CXError::EL_ERROR3);
    m_pclErreur->SetSystemErrorParam(static_cast<unsigned int>(nErreur));
    m_pclErreur->AddDebugMessagePrintf(L"##(IXStream)-Handle=<%p>##",
                                       reinterpret_cast<void*>(static_cast<intptr_t>(m_nDescripteur)));
}

int CDiskFile::_nFinEchec(int nErreur, unsigned int nIdMessage) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->AddUserMessage(&gstMyModuleInfo8, nIdMessage, m_pszNomErreur);
    errno = nErreur;
    return 0;
}

bool CDiskFile::_bLectureSeule() const noexcept { return m_nFlags == -1 || (m_nFlags & O_ACCMODE) == O_RDONLY; }

// ---- opening and closing -------------------------------------------------------------------------

int CDiskFile::bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
                     int* pbCree) noexcept {
    if (pbCree != nullptr) *pbCree = 0;
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    const unsigned int nMessage = eCreate == eCREATE_VIDE_OU_CREE     ? kMessageCree
                                  : eCreate == eCREATE_OUVRE_OU_CREE ? kMessageOuvreOuCree
                                                                     : kMessageOuvre;
    auto nEchec = [&](int nErreur) noexcept -> int {
        _DebutEchec(nErreur);
        if (m_pclErreur != nullptr) m_pclErreur->AddInfo(CXError::EIT_SRCFILE, m_pszNomErreur);
        return _nFinEchec(nErreur, nMessage);
    };

    const bool bReouverture = pszNom == m_szChemin;
    if (m_nDescripteur != -1) Close();
    if (!bReouverture) {
        wchar_t szComplet[kMaxPath + 1];
        const int nErreurAvant = errno;
        errno = 0;
        const unsigned long nLongueur = pszNom != nullptr ? GetFullPathName(pszNom, kMaxPath + 1, szComplet, nullptr) : 0;
        if (nLongueur == 0 || nLongueur > kMaxPath) {
            const int nErreur = nLongueur > kMaxPath ? ENAMETOOLONG : (errno != 0 ? errno : ENOENT);
            // The messages name what the caller gave, as far as the field holds it.
            size_t i = 0;
            for (; pszNom != nullptr && pszNom[i] != 0 && i < kMaxPath; ++i) {
                m_szChemin[i] = pszNom[i] == L'\\' ? L'/' : pszNom[i];
            }
            m_szChemin[i] = 0;
            return nEchec(nErreur);
        }
        errno = nErreurAvant;
        wmemcpy(m_szChemin, szComplet, nLongueur + 1);
    }

    if (eShare != eSHARE_PARTAGE && eShare != eSHARE_EXCLUSIF && eShare != eSHARE_AUCUN) return nEchec(EINVAL);
    int nAcces = 0;
    switch (eAccess) {
        case eACCESS_LECTURE: nAcces = O_RDONLY; break;
        case eACCESS_ECRITURE: nAcces = O_WRONLY; break;
        case eACCESS_LECTUREECRITURE: nAcces = O_RDWR; break;
        case eACCESS_AUCUN: nAcces = 0; break;
        default: return nEchec(EINVAL);
    }

    struct stat stEtat {};
    const bool bRepertoire =
        eFlag == eFLAG_REPERTOIRE && Unix_stat(m_szChemin, &stEtat) == 0 && S_ISDIR(stEtat.st_mode);
    const int nFlags = bRepertoire ? O_DIRECTORY : (O_NONBLOCK | nAcces);
    int nFlagsSysteme = nFlags;
    // An exclusive lock is a write lock, which the system grants only on a descriptor open for
    // writing. A read-only stream asking for it gets a read-write descriptor behind it (when the
    // file allows writing) and keeps refusing writes itself.
    const bool bMonte = !bRepertoire && eShare == eSHARE_EXCLUSIF && nAcces == O_RDONLY;
    if (bMonte) nFlagsSysteme = (nFlagsSysteme & ~O_ACCMODE) | O_RDWR;
    const int nCreation = static_cast<int>(eCreate) & (O_CREAT | O_TRUNC);
    // Emptying waits until the lock is held, so that a file another process holds is never cut.
    const bool bVideApres = (nCreation & O_TRUNC) != 0 && !bRepertoire && (nFlagsSysteme & O_ACCMODE) != O_RDONLY;
    const int nOuverture = nFlagsSysteme | O_CLOEXEC;

    bool bCree = false;
    int nDescripteur = -1;
    if (eCreate == eCREATE_OUVRE_OU_CREE) {
        // The exclusive creation tells a file made here from one that appeared meanwhile.
        for (int nEssai = 0; nEssai < 3 && nDescripteur < 0; ++nEssai) {
            nDescripteur = Unix_open(m_szChemin, nOuverture, kModeCreation);
            if (nDescripteur >= 0 || errno != ENOENT) break;
            nDescripteur = Unix_open(m_szChemin, nOuverture | O_CREAT | O_EXCL, kModeCreation);
            if (nDescripteur >= 0) bCree = true;
            else if (errno != EEXIST) break;
        }
    } else {
        const int nCreationOuverture = bVideApres ? (nCreation & ~O_TRUNC) : nCreation;
        nDescripteur = Unix_open(m_szChemin, nOuverture | nCreationOuverture, kModeCreation);
        if (nDescripteur >= 0 && eCreate == eCREATE_VIDE_OU_CREE) bCree = true;
    }
    if (nDescripteur < 0) {
        int nErreur = errno;
        if (bMonte && (nErreur == EACCES || nErreur == EROFS || nErreur == EPERM || nErreur == ETXTBSY)) nErreur = EACCES;
        return nEchec(nErreur);
    }

    // No lock asked: nothing is set, since an unlock would drop a lock another stream of this
    // process holds on the same file.
    if (!bRepertoire && eShare != eSHARE_AUCUN) {
        struct flock stVerrou {};
        stVerrou.l_type = static_cast<short>(eShare);
        stVerrou.l_whence = SEEK_SET;
        if (fcntl(nDescripteur, F_SETLK, &stVerrou) != 0) {
            ::close(nDescripteur);
            return nEchec(kErrnoPartage);
        }
    }
    if (bVideApres && ftruncate(nDescripteur, 0) != 0) {
        const int nErreur = errno;
        ::close(nDescripteur);
        return nEchec(nErreur);
    }

    m_nDescripteur = nDescripteur;
    m_nFlags = nFlags;
    m_oOffset = 0;
    m_pbyCurseurLigne = m_pbyTamponLigne;
    m_nFinTamponLigne = 0;
    if (pbCree != nullptr) *pbCree = bCree ? 1 : 0;
    if (eCreate == eCREATE_OUVRE_OU_CREE && !bCree) errno = EEXIST;  // the sign that nothing was created
    return 1;
}

void CDiskFile::Close() noexcept {
    if (m_nDescripteur != -1) {
        // The system releases the descriptor even when close reports an error, so the stream
        // forgets it in every case: keeping it could later close a number reused elsewhere.
        if (::close(m_nDescripteur) != 0) {
            const int nErreur = errno;
            _DebutEchec(nErreur);
            errno = nErreur;
        }
    }
    m_nDescripteur = -1;
    m_oOffset = 0;
    m_nFlags = -1;
    m_pbyCurseurLigne = m_pbyTamponLigne;
    m_nFinTamponLigne = 0;
    if (m_pszNomErreur != m_szChemin) {
        free(m_pszNomErreur);
        m_pszNomErreur = m_szChemin;
    }
}

int CDiskFile::bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept {
    Close();
    return bOpen(m_szChemin, eAccess, eShare, eCreate, eFlag, nullptr);
}

int CDiskFile::bOpenExclusifReessais(const wchar_t* pszNom, int bCompte, unsigned int nLimite, eACCESS eAccess,
                                     eCREATE eCreate, eFLAG eFlag, int* pbCree) noexcept {
    if (eAccess == eACCESS_LECTURE) eAccess = eACCESS_LECTUREECRITURE;
    const int64_t nDebut = nMillisecondesMonotones();
    for (unsigned int nEssai = 1;; ++nEssai) {
        if (bOpen(pszNom, eAccess, eSHARE_EXCLUSIF, eCreate, eFlag, pbCree)) return 1;
        if (errno != kErrnoPartage) return 0;
        if (bCompte) {
            if (nEssai >= nLimite) return 0;
            sched_yield();
        } else {
            if (nMillisecondesMonotones() - nDebut >= static_cast<int64_t>(nLimite)) return 0;
            usleep(100000);
        }
        errno = kErrnoPartage;
    }
}

// ---- reading and writing -------------------------------------------------------------------------

bool CDiskFile::_bRenonceTamponLigne() noexcept {
    if (m_pbyTamponLigne == nullptr) return true;
    const size_t nNonLus = m_nFinTamponLigne - static_cast<size_t>(m_pbyCurseurLigne - m_pbyTamponLigne);
    m_pbyCurseurLigne = m_pbyTamponLigne;
    m_nFinTamponLigne = 0;
    if (nNonLus == 0 || m_nDescripteur == -1) return true;
    const off_t oPosition = lseek(m_nDescripteur, -static_cast<off_t>(nNonLus), SEEK_CUR);
    if (oPosition < 0) {
        const int nErreur = errno;
        _DebutEchec(nErreur);
        return _nFinEchec(nErreur, kMessagePosition) != 0;
    }
    m_oOffset = oPosition;
    return true;
}

int CDiskFile::bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept {
    if (pnLu != nullptr) *pnLu = 0;
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (!_bRenonceTamponLigne()) return 0;
    size_t nTotal = 0;
    int nErreur = 0;
    if (m_nDescripteur == -1) {
        nErreur = EBADF;
    } else if (pData == nullptr && nTaille > 0) {
        nErreur = EINVAL;
    } else {
        // One read gives a whole regular file's range; the loop serves pipes and devices, which
        // may deliver less than is there.
        auto* pbyData = static_cast<uint8_t*>(pData);
        while (nTotal < nTaille) {
            const ssize_t nLu = ::read(m_nDescripteur, pbyData + nTotal, nTaille - nTotal);
            if (nLu > 0) {
                nTotal += static_cast<size_t>(nLu);
                continue;
            }
            if (nLu == 0) break;
            if (errno == EINTR) continue;
            if (nTotal == 0 || errno != EAGAIN) nErreur = errno;
            break;
        }
        m_oOffset += static_cast<long>(nTotal);
        if (pnLu != nullptr) *pnLu = static_cast<unsigned int>(nTotal);
        if (nErreur != 0 && nTotal > 0 && pnLu != nullptr) nErreur = 0;  // the error comes with the next read
    }
    if (nErreur == 0 && (nTotal == nTaille || pnLu != nullptr)) return 1;
    _DebutEchec(nErreur);
    if (m_pclErreur != nullptr) {
        m_pclErreur->AddDebugMessagePrintf(L"##(IXStream)-bExact=<%d>##", pnLu == nullptr ? 1 : 0);
        m_pclErreur->AddDebugMessagePrintf(L"##(IXStream)-A lire=<%u>, lu=<%u>##", nTaille,
                                           static_cast<unsigned int>(nTotal));
    }
    return _nFinEchec(nErreur, kMessageLecture);
}

int CDiskFile::bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept {
    if (pnEcrit != nullptr) *pnEcrit = 0;
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (nTaille == 0) return 1;
    if (!_bRenonceTamponLigne()) return 0;
    size_t nTotal = 0;
    int nErreur = 0;
    if (m_nDescripteur == -1 || _bLectureSeule()) {
        nErreur = EBADF;  // what the system answers a write on a read-only descriptor
    } else if (pData == nullptr) {
        nErreur = EINVAL;
    } else {
        const auto* pbyData = static_cast<const uint8_t*>(pData);
        while (nTotal < nTaille) {
            const ssize_t nEcrit = ::write(m_nDescripteur, pbyData + nTotal, nTaille - nTotal);
            if (nEcrit > 0) {
                nTotal += static_cast<size_t>(nEcrit);
                continue;
            }
            if (nEcrit < 0 && errno == EINTR) continue;
            nErreur = nEcrit < 0 ? errno : ENOSPC;
            break;
        }
        m_oOffset += static_cast<long>(nTotal);
        if (pnEcrit != nullptr) *pnEcrit = static_cast<unsigned int>(nTotal);
    }
    if (nErreur == 0) return 1;
    _DebutEchec(nErreur);
    if (m_pclErreur != nullptr) m_pclErreur->AddDebugMessagePrintf(L"##(IXStream)-Access=<%x>##", m_nFlags);
    return _nFinEchec(nErreur, kMessageEcriture);
}

int CDiskFile::bSeek(long oOffset, eSEEK eOrigine) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (!_bRenonceTamponLigne()) return 0;
    int nOrigine = SEEK_SET;
    switch (eOrigine) {
        case eSEEK_DEBUT: nOrigine = SEEK_SET; break;
        case eSEEK_COURANT: nOrigine = SEEK_CUR; break;
        case eSEEK_FIN: nOrigine = SEEK_END; break;
        default: _DebutEchec(EINVAL); return _nFinEchec(EINVAL, kMessagePosition);
    }
    const off_t oPosition = m_nDescripteur == -1 ? (errno = EBADF, -1) : lseek(m_nDescripteur, oOffset, nOrigine);
    if (oPosition < 0) {
        const int nErreur = errno;
        _DebutEchec(nErreur);
        return _nFinEchec(nErreur, kMessagePosition);
    }
    m_oOffset = oPosition;
    return 1;
}

// ---- sizes -----------------------------------------------------------------------------------------

long CDiskFile::oGetSize() noexcept {
    if (m_nDescripteur == -1) {
        errno = EBADF;
        return -1;
    }
    struct stat stEtat {};
    if (fstat(m_nDescripteur, &stEtat) == 0 && S_ISREG(stEtat.st_mode)) return stEtat.st_size;
    // Devices know their size only by seeking; the position goes back where it was.
    const off_t oActuelle = lseek(m_nDescripteur, 0, SEEK_CUR);
    const off_t oFin = oActuelle < 0 ? -1 : lseek(m_nDescripteur, 0, SEEK_END);
    if (oFin < 0) return -1;
    lseek(m_nDescripteur, oActuelle, SEEK_SET);
    return oFin;
}

long CDiskFile::oGetSizeFast() noexcept {
    if (!_bRenonceTamponLigne()) return -1;
    if (m_nDescripteur == -1) {
        errno = EBADF;
        return -1;
    }
    const off_t oFin = lseek(m_nDescripteur, 0, SEEK_END);
    if (oFin < 0) return -1;
    m_oOffset = oFin;
    return oFin;
}

int CDiskFile::bFlush() noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    const int nResultat = m_nDescripteur == -1 ? (errno = EBADF, -1) : fsync(m_nDescripteur);
    // Pipes and character devices hold nothing to bring to disk.
    if (nResultat == 0 || errno == EINVAL) return 1;
    const int nErreur = errno;
    _DebutEchec(nErreur);
    return _nFinEchec(nErreur, kMessageFlush);
}

int CDiskFile::bSetSize(long oTaille, eGROW eGrow) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (eGrow != eGROW_ABSOLU && eGrow != eGROW_RELATIF) return 0;
    if (!_bRenonceTamponLigne()) return 0;
    int nErreur = 0;
    if (m_nDescripteur == -1 || _bLectureSeule()) {
        nErreur = EBADF;
    } else {
        const off_t oPosition = lseek(m_nDescripteur, oTaille, eGrow == eGROW_ABSOLU ? SEEK_SET : SEEK_END);
        if (oPosition < 0) {
            nErreur = errno;
        } else {
            m_oOffset = oPosition;
            if (ftruncate(m_nDescripteur, oPosition) != 0) nErreur = errno;
        }
    }
    if (nErreur == 0) return 1;
    _DebutEchec(nErreur);
    return _nFinEchec(nErreur, kMessageTaille);
}

int CDiskFile::bIncreaseSize(long oTaille) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    // Growing by nothing must not write over the last byte.
    if (oTaille == 0) return 1;
    if (oTaille < 0 || m_nDescripteur == -1 || _bLectureSeule()) {
        const int nErreur = oTaille < 0 ? EINVAL : EBADF;
        _DebutEchec(nErreur);
        return _nFinEchec(nErreur, kMessageTaille);
    }
    const uint8_t byZero = 0;
    return bSeek(oTaille - 1, eSEEK_FIN) && bWrite(&byZero, 1, nullptr);
}

int CDiskFile::bExtendFile(long oTaille) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    // Refused before anything is cut: an empty or negative size cannot hold the byte written.
    if (oTaille <= 0 || m_nDescripteur == -1 || _bLectureSeule()) {
        const int nErreur = oTaille <= 0 ? EINVAL : EBADF;
        _DebutEchec(nErreur);
        return _nFinEchec(nErreur, kMessageTaille);
    }
    if (!_bRenonceTamponLigne()) return 0;
    const long oAncienne = oGetSize();
    if (!bSetSize(oTaille, eGROW_ABSOLU)) return 0;
    // The byte is written only where the file grew, so that a shrinking call keeps the last byte.
    if (oAncienne >= 0 && oAncienne >= oTaille) return 1;
    const uint8_t byZero = 0;
    return IXStream::bWrite(oTaille - 1, &byZero, 1, nullptr);
}

// ---- locks -------------------------------------------------------------------------------------------

bool CDiskFile::_bPoseVerrou(short nType, long oDebut, long oLongueur, int nCommande) noexcept {
    if (m_nDescripteur == -1) {
        errno = EBADF;
        return false;
    }
    struct flock stVerrou {};
    stVerrou.l_type = nType;
    stVerrou.l_whence = SEEK_SET;
    stVerrou.l_start = oDebut;
    stVerrou.l_len = oLongueur;
    int nResultat;
    do {
        nResultat = fcntl(m_nDescripteur, nCommande, &stVerrou);
    } while (nResultat != 0 && errno == EINTR);
    return nResultat == 0;
}

int CDiskFile::bLock(long oDebut, long oLongueur) noexcept {
    if (_bPoseVerrou(_bLectureSeule() ? F_RDLCK : F_WRLCK, oDebut, oLongueur, F_SETLK)) return 1;
    if (errno == EAGAIN || errno == EACCES || errno == EDEADLK) errno = kErrnoPartage;
    return 0;
}

int CDiskFile::bLockShare(long oDebut, long oLongueur) noexcept {
    if (_bPoseVerrou(F_RDLCK, oDebut, oLongueur, F_SETLK)) return 1;
    if (errno == EAGAIN || errno == EACCES || errno == EDEADLK) errno = kErrnoPartage;
    return 0;
}

int CDiskFile::bUnlock(long oDebut, long oLongueur) noexcept {
    if (_bPoseVerrou(F_UNLCK, oDebut, oLongueur, F_SETLK)) return 1;
    errno = kErrnoPartage;
    return 0;
}

int CDiskFile::bLockFileEx(int bLock, int bExclusif) noexcept {
    if (!bLock) {
        _bPoseVerrou(F_UNLCK, 0, 2, F_SETLK);
        return 1;
    }
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (_bPoseVerrou(bExclusif ? F_WRLCK : F_RDLCK, 0, 2, F_SETLKW)) return 1;
    const int nErreur = errno;
    _DebutEchec(nErreur);
    return _nFinEchec(nErreur, kMessageVerrouillage);
}

// ---- names and access ------------------------------------------------------------------------------

int CDiskFile::vbSetNameForError(const wchar_t* pszNom) noexcept {
    if (m_pszNomErreur != m_szChemin) free(m_pszNomErreur);
    m_pszNomErreur = m_szChemin;
    if (pszNom == nullptr) return 1;
    const size_t nLongueur = wcslen(pszNom);
    auto* pszCopie = static_cast<wchar_t*>(malloc((nLongueur + 1) * sizeof(wchar_t)));
    if (pszCopie == nullptr) {
        if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
        return 0;
    }
    wmemcpy(pszCopie, pszNom, nLongueur + 1);
    m_pszNomErreur = pszCopie;
    return 1;
}

eACCESS CDiskFile::veGetAccess() noexcept {
    if (m_nFlags == -1) return eACCESS_AUCUN;
    switch (m_nFlags & O_ACCMODE) {
        case O_WRONLY: return eACCESS_ECRITURE;
        case O_RDWR: return eACCESS_LECTUREECRITURE;
        default: return eACCESS_LECTURE;
    }
}

// ---- the fast line reader ----------------------------------------------------------------------------

// The buffer holds what was read ahead; the cursor marks what callers have received. The line
// goes to the caller's buffer while it fits, then whole to the overflow string. Without an
// overflow string a long line is cut and its rest comes with the next call.
const wchar_t* CDiskFile::pszReadLine(wchar_t* pszTampon, unsigned long nTaille, CTString* pclDebordement,
                                      const wchar_t* pszSeparateur) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    const size_t nSeparateur = pszSeparateur != nullptr ? wcslen(pszSeparateur) : 0;
    const bool bTampon = pszTampon != nullptr && nTaille > 0;
    if (m_nDescripteur == -1 || (!bTampon && pclDebordement == nullptr) || nSeparateur > kSeparateurMax) {
        const int nErreur = m_nDescripteur == -1 ? EBADF : EINVAL;
        _DebutEchec(nErreur);
        _nFinEchec(nErreur, kMessageLecture);
        return nullptr;
    }
    if (m_pbyTamponLigne == nullptr) {
        m_pbyTamponLigne = static_cast<uint8_t*>(malloc(kTailleTamponLigne));
        if (m_pbyTamponLigne == nullptr) {
            if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
            return nullptr;
        }
        m_pbyCurseurLigne = m_pbyTamponLigne;
        m_nFinTamponLigne = 0;
    }
    if (bTampon) pszTampon[0] = 0;
    if (pclDebordement != nullptr) pclDebordement->Vide();

    size_t nLongueur = 0;
    bool bDebordement = !bTampon;
    bool bMemoire = true;
    // Appends to the line; answers how many characters were taken (fewer when cut).
    auto nAjoute = [&](const wchar_t* pszTexte, size_t nCaracteres) noexcept -> size_t {
        if (!bDebordement) {
            if (nLongueur + nCaracteres < nTaille) {
                wmemcpy(pszTampon + nLongueur, pszTexte, nCaracteres);
                nLongueur += nCaracteres;
                pszTampon[nLongueur] = 0;
                return nCaracteres;
            }
            if (pclDebordement == nullptr) {
                const size_t nGarde = nTaille - 1 - nLongueur;
                wmemcpy(pszTampon + nLongueur, pszTexte, nGarde);
                nLongueur += nGarde;
                pszTampon[nLongueur] = 0;
                return nGarde;
            }
            bDebordement = true;
            bMemoire = pclDebordement->Set(pszTampon, static_cast<int>(nLongueur));
        }
        if (nCaracteres > 0 && bMemoire) bMemoire = pclDebordement->Add(pszTexte, static_cast<int>(nCaracteres));
        return nCaracteres;
    };
    auto pszResultat = [&]() noexcept -> const wchar_t* {
        if (!bMemoire) {
            if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
            return nullptr;
        }
        return bDebordement ? pclDebordement->pszGet() : pszTampon;
    };
    auto Consomme = [&](size_t nCaracteres) noexcept { m_pbyCurseurLigne += nCaracteres * sizeof(wchar_t); };

    bool bFinFichier = false;
    bool bQuelqueChose = false;  // part of a line already given
    size_t nDejaVu = 0;          // characters behind the cursor known to hold no line end
    for (;;) {
        const auto* pCar = reinterpret_cast<const wchar_t*>(m_pbyCurseurLigne);
        const size_t nDispo =
            (m_nFinTamponLigne - static_cast<size_t>(m_pbyCurseurLigne - m_pbyTamponLigne)) / sizeof(wchar_t);
        size_t nFin = nDispo;
        size_t nLongueurFin = 0;
        size_t nSur = nDispo;  // characters that certainly belong to the line
        if (nSeparateur > 0) {
            nSur = nDispo >= nSeparateur ? nDispo - nSeparateur + 1 : 0;
            for (size_t i = nDejaVu; i < nSur; ++i) {
                if (pCar[i] == pszSeparateur[0] && wmemcmp(pCar + i, pszSeparateur, nSeparateur) == 0) {
                    nFin = i;
                    nLongueurFin = nSeparateur;
                    break;
                }
            }
        } else {
            for (size_t i = nDejaVu; i < nDispo; ++i) {
                if (pCar[i] == L'\n') {
                    nFin = i;
                    nLongueurFin = 1;
                    break;
                }
                if (pCar[i] == L'\r') {
                    if (i + 1 < nDispo) {
                        nFin = i;
                        nLongueurFin = pCar[i + 1] == L'\n' ? 2 : 1;
                    } else if (bFinFichier) {
                        nFin = i;
                        nLongueurFin = 1;
                    } else {
                        nSur = i;  // a CR at the end of what was read: what follows decides
                    }
                    break;
                }
            }
        }
        if (nLongueurFin > 0 || bFinFichier) {
            if (nDispo == 0 && !bQuelqueChose && nLongueurFin == 0) {
                // End of file: stray bytes of an incomplete last character are dropped.
                m_pbyCurseurLigne = m_pbyTamponLigne + m_nFinTamponLigne;
                return nullptr;
            }
            const size_t nPris = nAjoute(pCar, nFin);
            if (nPris < nFin) {
                Consomme(nPris);
                return pszResultat();
            }
            Consomme(nFin + nLongueurFin);
            if (bFinFichier && nLongueurFin == 0) m_pbyCurseurLigne = m_pbyTamponLigne + m_nFinTamponLigne;
            return pszResultat();
        }

        nDejaVu = nSur;
        size_t nOccupe = m_nFinTamponLigne - static_cast<size_t>(m_pbyCurseurLigne - m_pbyTamponLigne);
        if (m_nFinTamponLigne == kCapaciteTamponLigne && m_pbyCurseurLigne == m_pbyTamponLigne) {
            // A full buffer without a line end: what is certain goes to the line to make room.
            const size_t nPris = nAjoute(pCar, nSur);
            Consomme(nPris);
            bQuelqueChose = true;
            if (nPris < nSur) return pszResultat();
            nDejaVu = 0;
            nOccupe -= nPris * sizeof(wchar_t);
        }
        if (m_pbyCurseurLigne != m_pbyTamponLigne) {
            memmove(m_pbyTamponLigne, m_pbyCurseurLigne, nOccupe);
            m_pbyCurseurLigne = m_pbyTamponLigne;
            m_nFinTamponLigne = nOccupe;
        }
        const size_t nDemande = std::min(kLectureLigne, kCapaciteTamponLigne - m_nFinTamponLigne);
        ssize_t nLu;
        do {
            nLu = ::read(m_nDescripteur, m_pbyTamponLigne + m_nFinTamponLigne, nDemande);
        } while (nLu < 0 && errno == EINTR);
        if (nLu < 0) {
            const int nErreur = errno;
            _DebutEchec(nErreur);
            _nFinEchec(nErreur, kMessageLecture);
            return nullptr;
        }
        if (nLu == 0) bFinFichier = true;
        m_nFinTamponLigne += static_cast<size_t>(nLu);
        m_oOffset += nLu;
    }
}

// ---- copying ranges ------------------------------------------------------------------------------

int CDiskFile::bExtract(const wchar_t* pszNom, long oOffset, long nNombre) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    // The new file is emptied at open: it must not be this one.
    struct stat stCible {};
    struct stat stSource {};
    if (pszNom != nullptr && m_nDescripteur != -1 && Unix_stat(pszNom, &stCible) == 0 &&
        fstat(m_nDescripteur, &stSource) == 0 && stCible.st_dev == stSource.st_dev &&
        stCible.st_ino == stSource.st_ino) {
        _DebutEchec(EINVAL);
        return _nFinEchec(EINVAL, kMessageCree);
    }
    CDiskFile clCible;
    if (!clCible.bOpen(pszNom, eACCESS_ECRITURE, eSHARE_EXCLUSIF, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER, nullptr)) {
        if (m_pclErreur != nullptr && clCible.pclGetXError() != nullptr) m_pclErreur->Copy(clCible.pclGetXError());
        return 0;
    }
    if (!bSeek(oOffset, eSEEK_DEBUT)) return 0;
    return IXStream::bExtract(&clCible, nNombre);
}

int CDiskFile::bExtractFromFile(const wchar_t* pszNom, long oOffset, long nNombre) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    CDiskFile clSource;
    auto nEchecSource = [&]() noexcept -> int {
        if (m_pclErreur != nullptr && clSource.pclGetXError() != nullptr) m_pclErreur->Copy(clSource.pclGetXError());
        return 0;
    };
    // No lock: a read lock of this process would replace an exclusive one it holds on the file.
    if (!clSource.bOpen(pszNom, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr)) {
        return nEchecSource();
    }
    // The count is fixed before copying, so that a file appended to itself ends.
    if (nNombre < 0) {
        const long oTaille = clSource.oGetSize();
        if (oTaille < 0) return nEchecSource();
        nNombre = oTaille > oOffset ? oTaille - oOffset : 0;
    }
    if (!clSource.bSeek(oOffset, eSEEK_DEBUT)) return nEchecSource();
    if (!bSeek(0, eSEEK_FIN)) return 0;
    if (!clSource.bExtract(this, nNombre)) {
        if (m_pclErreur != nullptr && m_pclErreur->bHasError()) return 0;
        return nEchecSource();
    }
    return 1;
}
