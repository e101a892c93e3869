// CMemoryStream: reads, writes and seeks on a block, growing it when it is its own.
#include "files/memory_stream.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

constexpr unsigned int kMessageLecture = 28003;
constexpr unsigned int kMessageTaille = 28004;
constexpr unsigned int kMessagePosition = 28005;
constexpr unsigned int kMessageEcriture = 28008;
constexpr unsigned int kMessageOuvre = 28139;

}  // namespace

CMemoryStream::~CMemoryStream() {
    __DeleteMemory();
    free(m_pszNom);
}

int CMemoryStream::_nEchec(int nErreur, unsigned int nIdMessage) noexcept {
    if (m_pclErreur != nullptr) {
        errno = nErreur;
        m_pclErreur->SetErrorLevel(CXError::EL_ERROR3);
        m_pclErreur->SetSystemErrorParam(static_cast<unsigned int>(nErreur));
        m_pclErreur->AddUserMessage(&gstMyModuleInfo8, nIdMessage, m_pszNom != nullptr ? m_pszNom : L"");
    }
    errno = nErreur;
    return 0;
}

void CMemoryStream::__DeleteMemory() noexcept {
    if ((m_byMode & MODE_PROPRIETAIRE) != 0) free(m_pbyBase);
    m_byMode &= static_cast<uint8_t>(~MODE_PROPRIETAIRE);
    m_pbyBase = nullptr;
    m_pbyCurseur = nullptr;
    m_nTaille = 0;
}

bool CMemoryStream::_bRedimensionne(uint64_t nNouvelleTaille) noexcept {
    if (nNouvelleTaille > UINT32_MAX) {
        errno = EFBIG;
        return false;
    }
    const size_t oCurseur = static_cast<size_t>(m_pbyCurseur - m_pbyBase);
    // realloc of zero bytes may free: keep one byte so that the block stays ours.
    auto* pbyNouveau = static_cast<uint8_t*>(realloc(m_pbyBase, nNouvelleTaille > 0 ? nNouvelleTaille : 1));
    if (pbyNouveau == nullptr) {
        errno = ENOMEM;
        return false;
    }
    if (nNouvelleTaille > m_nTaille) memset(pbyNouveau + m_nTaille, 0, nNouvelleTaille - m_nTaille);
    m_pbyBase = pbyNouveau;
    m_nTaille = static_cast<uint32_t>(nNouvelleTaille);
    m_pbyCurseur = m_pbyBase + (oCurseur < m_nTaille ? oCurseur : m_nTaille);
    return true;
}

int CMemoryStream::bAssociate(void* pBloc, unsigned int nTaille) noexcept {
    if (m_byEtat != ETAT_FERME || (pBloc == nullptr && nTaille > 0)) return _nEchec(EINVAL, kMessageOuvre);
    Close();
    __DeleteMemory();
    m_pbyBase = static_cast<uint8_t*>(pBloc);
    m_pbyCurseur = m_pbyBase;
    m_nTaille = nTaille;
    m_byMode = 0;
    m_byEtat = ETAT_ASSOCIE;
    return 1;
}

int CMemoryStream::bSetAutoExpandMode(int bActif) noexcept {
    if ((m_byMode & MODE_PROPRIETAIRE) == 0 || m_byEtat == ETAT_FERME) return 0;
    if (bActif) {
        m_byMode |= MODE_AUTOEXPANSION;
    } else {
        m_byMode &= static_cast<uint8_t>(~MODE_AUTOEXPANSION);
    }
    return 1;
}

int CMemoryStream::bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE, eCREATE eCreate, eFLAG,
                         int* pbCree) noexcept {
    if (pbCree != nullptr) *pbCree = 0;
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (pszNom != m_pszNom) {
        wchar_t* pszCopie = nullptr;
        if (pszNom != nullptr) {
            const size_t nLongueur = wcslen(pszNom);
            pszCopie = static_cast<wchar_t*>(malloc((nLongueur + 1) * sizeof(wchar_t)));
            if (pszCopie == nullptr) {
                if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
                return 0;
            }
            wmemcpy(pszCopie, pszNom, nLongueur + 1);
        }
        free(m_pszNom);
        m_pszNom = pszCopie;
    }
    uint8_t byAcces = 0;
    switch (eAccess) {
        case eACCESS_LECTURE: byAcces = MODE_LECTURE; break;
        case eACCESS_ECRITURE: byAcces = MODE_ECRITURE; break;
        case eACCESS_LECTUREECRITURE: byAcces = MODE_LECTURE | MODE_ECRITURE; break;
        default: return _nEchec(EINVAL, kMessageOuvre);
    }
    if (eCreate == eCREATE_EXISTANT) {
        if (m_byEtat != ETAT_ASSOCIE) return _nEchec(ENOENT, kMessageOuvre);
        m_byMode = static_cast<uint8_t>(byAcces | MODE_ASSOCIE);
        m_byEtat = ETAT_OUVERT_ASSOCIE;
        m_pbyCurseur = m_pbyBase;
        return 1;
    }
    // Creating in memory means a new empty block; opening-or-creating has no meaning here.
    if (eCreate != eCREATE_VIDE_OU_CREE) return _nEchec(EINVAL, kMessageOuvre);
    __DeleteMemory();
    m_byMode = static_cast<uint8_t>(byAcces | MODE_PROPRIETAIRE);
    m_byEtat = ETAT_CREE;
    if (pbCree != nullptr) *pbCree = 1;
    return 1;
}

int CMemoryStream::bRead(void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept {
    if (pnLu != nullptr) *pnLu = 0;
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (!bIsOpen() || (m_byMode & MODE_LECTURE) == 0) return _nEchec(EBADF, kMessageLecture);
    if (nTaille == 0) return 1;
    if (pData == nullptr) return _nEchec(EINVAL, kMessageLecture);
    const uint32_t nReste = m_nTaille - static_cast<uint32_t>(m_pbyCurseur - m_pbyBase);
    if (nTaille > nReste && pnLu == nullptr) return _nEchec(0, kMessageLecture);
    const unsigned int nLu = nTaille < nReste ? nTaille : nReste;
    if (nLu > 0) memcpy(pData, m_pbyCurseur, nLu);
    m_pbyCurseur += nLu;
    if (pnLu != nullptr) *pnLu = nLu;
    return 1;
}

int CMemoryStream::bWrite(const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept {
    if (pnEcrit != nullptr) *pnEcrit = 0;
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (!bIsOpen() || (m_byMode & MODE_ECRITURE) == 0) return _nEchec(EBADF, kMessageEcriture);
    if (nTaille == 0) return 1;
    if (pData == nullptr) return _nEchec(EINVAL, kMessageEcriture);
    const uint64_t oCurseur = static_cast<uint64_t>(m_pbyCurseur - m_pbyBase);
    unsigned int nEcrit = nTaille;
    if (oCurseur + nTaille > m_nTaille) {
        if ((m_byMode & MODE_PROPRIETAIRE) != 0) {
            // Exactly the shortfall: a stream written in small pieces pays a realloc each time.
            if (!_bRedimensionne(oCurseur + nTaille)) return _nEchec(errno, kMessageEcriture);
        } else {
            nEcrit = static_cast<unsigned int>(m_nTaille - oCurseur);
        }
    }
    if (nEcrit > 0) memcpy(m_pbyCurseur, pData, nEcrit);
    m_pbyCurseur += nEcrit;
    if (pnEcrit != nullptr) *pnEcrit = nEcrit;
    // A caller's block cannot grow: what did not fit is a failure, even when part was written.
    return nEcrit == nTaille ? 1 : _nEchec(ENOSPC, kMessageEcriture);
}

int CMemoryStream::bSeek(long oOffset, eSEEK eOrigine) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    const int64_t oCurseur = m_pbyCurseur - m_pbyBase;
    int64_t oCible = 0;
    switch (eOrigine) {
        case eSEEK_DEBUT: oCible = oOffset; break;
        case eSEEK_COURANT: oCible = oCurseur + oOffset; break;
        // From the end both signs count backwards: 5 and -5 land on the same byte.
        case eSEEK_FIN: oCible = oOffset <= 0 ? m_nTaille + static_cast<int64_t>(oOffset) : m_nTaille - static_cast<int64_t>(oOffset); break;
        default:
            m_pbyCurseur = m_pbyBase;
            return 1;
    }
    if (oCible < 0) return _nEchec(EINVAL, kMessagePosition);
    if (oCible > static_cast<int64_t>(m_nTaille)) {
        if ((m_byMode & MODE_AUTOEXPANSION) == 0) return _nEchec(EINVAL, kMessagePosition);
        // The growth counts the present offset once more: more than needed unless at 0.
        if (!_bRedimensionne(static_cast<uint64_t>(m_nTaille) + static_cast<uint64_t>(oCible - m_nTaille + oCurseur))) {
            return _nEchec(errno, kMessagePosition);
        }
    }
    m_pbyCurseur = m_pbyBase + oCible;
    return 1;
}

int CMemoryStream::bSetSize(long oTaille, eGROW eGrow) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (eGrow != eGROW_ABSOLU && eGrow != eGROW_RELATIF) return 0;
    const int64_t oCible = eGrow == eGROW_ABSOLU ? oTaille : m_nTaille + static_cast<int64_t>(oTaille);
    if (!bIsOpen() || (m_byMode & MODE_ECRITURE) == 0) return _nEchec(EBADF, kMessageTaille);
    if (oCible < 0) return _nEchec(EINVAL, kMessageTaille);
    if ((m_byMode & MODE_PROPRIETAIRE) != 0) {
        if (!_bRedimensionne(static_cast<uint64_t>(oCible))) return _nEchec(errno, kMessageTaille);
        return 1;
    }
    // A caller's block can only be seen shorter.
    if (oCible > static_cast<int64_t>(m_nTaille)) return _nEchec(ENOSPC, kMessageTaille);
    m_nTaille = static_cast<uint32_t>(oCible);
    if (m_pbyCurseur > m_pbyBase + m_nTaille) m_pbyCurseur = m_pbyBase + m_nTaille;
    return 1;
}

eACCESS CMemoryStream::veGetAccess() noexcept {
    switch (m_byMode & (MODE_LECTURE | MODE_ECRITURE)) {
        case MODE_LECTURE | MODE_ECRITURE: return eACCESS_LECTUREECRITURE;
        case MODE_LECTURE: return eACCESS_LECTURE;
        case MODE_ECRITURE: return eACCESS_ECRITURE;
        default: return eACCESS_AUCUN;
    }
}
