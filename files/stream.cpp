// IXStream: the shared error, the succeeding defaults, the positional forms, and the line reader
// and formatted writer that every stream inherits.
#include "files/stream.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "base/wide_printf.h"

namespace {

constexpr unsigned int kMessageVerrouillage = 28145;
constexpr unsigned int kMessageDeverrouillage = 28146;
constexpr unsigned int kMessageEcriture = 28008;
constexpr size_t kTailleTamponFormat = 1025;   // characters, terminator included
constexpr unsigned long kBlocExtraction = 65536;  // bytes

const wchar_t* pszNomOuVide(const wchar_t* pszNom) noexcept { return pszNom != nullptr ? pszNom : L""; }

// Level 3 and the system error nErreur: the error takes its text from errno, so errno is set first.
void SignaleSysteme(CXError* pclErreur, int nErreur) noexcept {
    errno = nErreur;
    pclErreur->SetErrorLevel(CXError::EL_ERROR3);
    pclErreur->SetSystemErrorParam(static_cast<unsigned int>(nErreur));
}

// The 8-bit and wide formatters behind one name, so that the writer is one template.
int nFormate(char* pszTampon, size_t nTaille, const char* pszFormat, va_list pArguments) noexcept {
    return vsnprintf(pszTampon, nTaille, pszFormat, pArguments);
}
int nFormate(wchar_t* pszTampon, size_t nTaille, const wchar_t* pszFormat, va_list pArguments) noexcept {
    return vsnwprintfWin(pszTampon, nTaille, pszFormat, pArguments);
}

}  // namespace

IXStream::IXStream() noexcept {
    m_pclErreur = new (std::nothrow) _CXErrorModule8();
    if (m_pclErreur != nullptr) m_pclErreur->dwAddRef();
}

IXStream::~IXStream() {
    if (m_pclErreur != nullptr) m_pclErreur->dwRelease();
}

unsigned int IXStream::dwRelease() noexcept { return COVUnknown::dwRelease(); }

int IXStream::bOpen(const wchar_t*, eACCESS, eSHARE, eCREATE, eFLAG, int*) noexcept { return 1; }
int IXStream::bReopen(eACCESS, eSHARE, eCREATE, eFLAG) noexcept { return 1; }
int IXStream::bSeek(long, eSEEK) noexcept { return 1; }

// The positional forms seek only when the cached offset differs, so that sequential positional
// calls cost no system call.
int IXStream::bWrite(long oOffset, const void* pData, unsigned int nTaille, unsigned int* pnEcrit) noexcept {
    if (oGetOffset() != oOffset && !bSeek(oOffset, eSEEK_DEBUT)) {
        if (pnEcrit != nullptr) *pnEcrit = 0;
        return 0;
    }
    return bWrite(pData, nTaille, pnEcrit);
}

int IXStream::bRead(long oOffset, void* pData, unsigned int nTaille, unsigned int* pnLu) noexcept {
    if (oGetOffset() != oOffset && !bSeek(oOffset, eSEEK_DEBUT)) {
        if (pnLu != nullptr) *pnLu = 0;
        return 0;
    }
    return bRead(pData, nTaille, pnLu);
}

// ---- formatted writing -------------------------------------------------------------------------

template <typename T>
int IXStream::_bWriteStringList(const T* pszFormat, va_list pArguments) noexcept {
    if (pszFormat == nullptr) return 1;
    T tabTampon[kTailleTamponFormat];
    va_list pCopie;
    va_copy(pCopie, pArguments);
    const int nLongueur = nFormate(tabTampon, kTailleTamponFormat, pszFormat, pArguments);
    if (nLongueur < 0) {
        va_end(pCopie);
        if (m_pclErreur != nullptr) {
            SignaleSysteme(m_pclErreur, EINVAL);
            m_pclErreur->AddUserMessage(&gstMyModuleInfo8, kMessageEcriture, pszNomOuVide(pszGetName()));
        }
        return 0;
    }
    const T* pszTexte = tabTampon;
    // A text longer than the local buffer is formatted again on the heap rather than cut short.
    std::unique_ptr<T, decltype(&free)> pclLong(nullptr, &free);
    if (static_cast<size_t>(nLongueur) >= kTailleTamponFormat) {
        const size_t nTaille = static_cast<size_t>(nLongueur) + 1;
        pclLong.reset(static_cast<T*>(malloc(nTaille * sizeof(T))));
        if (pclLong == nullptr) {
            va_end(pCopie);
            if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
            return 0;
        }
        nFormate(pclLong.get(), nTaille, pszFormat, pCopie);
        pszTexte = pclLong.get();
    }
    va_end(pCopie);
    const size_t nOctets = static_cast<size_t>(nLongueur) * sizeof(T);
    if (nOctets > 0xFFFFFFFFu) {
        if (m_pclErreur != nullptr) {
            SignaleSysteme(m_pclErreur, EFBIG);
            m_pclErreur->AddUserMessage(&gstMyModuleInfo8, kMessageEcriture, pszNomOuVide(pszGetName()));
        }
        return 0;
    }
    return bWrite(pszTexte, static_cast<unsigned int>(nOctets), nullptr);
}

int IXStream::bWriteString(const char* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int bResultat = bWriteStringList(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

int IXStream::bWriteStringList(const char* pszFormat, va_list pArguments) noexcept {
    return _bWriteStringList(pszFormat, pArguments);
}

int IXStream::bWriteString(const wchar_t* pszFormat, ...) noexcept {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const int bResultat = bWriteStringList(pszFormat, pArguments);
    va_end(pArguments);
    return bResultat;
}

int IXStream::bWriteStringList(const wchar_t* pszFormat, va_list pArguments) noexcept {
    return _bWriteStringList(pszFormat, pArguments);
}

// ---- line reading ------------------------------------------------------------------------------

// Lines are gathered in blocks of 80 characters read with a count, and whatever a block holds
// beyond the line is given back by seeking, so the stream's position always lies just behind what
// the caller received. A zero character cannot be returned in a terminated line: it is dropped.
template <typename T>
int IXStream::_bReadLine(T* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept {
    constexpr size_t kBloc = 80;
    constexpr T cCR = static_cast<T>('\r');
    constexpr T cLF = static_cast<T>('\n');
    if (pbTronque != nullptr) *pbTronque = 0;
    if (pszLigne == nullptr || nTaille == 0) return 0;
    pszLigne[0] = 0;
    const bool bCRLFSeul = (dwFlags & 1) != 0;
    const size_t nCapacite = nTaille - 1;  // characters the output holds besides its terminator
    size_t nLongueur = 0;
    bool bLu = false;
    T tabBloc[kBloc + 1];

    // Gives back nCaracteres characters and nOctets stray bytes to the stream.
    auto bRecule = [&](size_t nCaracteres, size_t nOctets) noexcept -> bool {
        const size_t nRecul = nCaracteres * sizeof(T) + nOctets;
        return nRecul == 0 || bSeek(-static_cast<long>(nRecul), eSEEK_COURANT);
    };

    for (;;) {
        unsigned int nOctetsLus = 0;
        if (!bRead(tabBloc, static_cast<unsigned int>(kBloc * sizeof(T)), &nOctetsLus)) return 0;
        const size_t nCar = nOctetsLus / sizeof(T);
        const size_t nReste = nOctetsLus % sizeof(T);
        // Nothing, or only the stray bytes of a last incomplete character: the end of the file.
        if (nCar == 0) return bLu ? 1 : 0;
        bLu = true;
        tabBloc[nCar] = 0;
        size_t nValides = 0;
        while (nValides < nCar && tabBloc[nValides] != 0) ++nValides;
        const bool bPlein = nCar == kBloc;

        size_t nTexte = nValides;                               // characters to append
        size_t nConsomme = nValides < nCar ? nValides + 1 : nCar;  // taken from the block
        size_t nApresBloc = 0;  // characters read behind the block to decide on a last CR
        bool bFin = false;

        if (!bCRLFSeul) {
            size_t i = 0;
            while (i < nValides && tabBloc[i] != cCR && tabBloc[i] != cLF) ++i;
            if (i < nValides) {
                if (tabBloc[i] == cLF) {
                    bFin = true;
                    nTexte = i;
                    nConsomme = i + 1;
                } else if (i + 1 < nValides || i + 1 < nCar || !bPlein) {
                    // A CR with a character behind it, or the last character of the file.
                    bFin = true;
                    nTexte = i;
                    nConsomme = (i + 1 < nValides && tabBloc[i + 1] == cLF) ? i + 2 : i + 1;
                } else {
                    // A CR in the last slot of a full block: the next block starts with it and
                    // sees whether an LF follows.
                    nTexte = i;
                    nConsomme = i;
                }
            }
        } else {
            for (size_t i = 0; i < nValides; ++i) {
                if (tabBloc[i] != cCR) continue;
                if (i + 1 < nValides) {
                    if (tabBloc[i + 1] == cLF) {
                        bFin = true;
                        nTexte = i;
                        nConsomme = i + 2;
                        break;
                    }
                } else if (i + 1 == nCar && bPlein) {
                    T cSuivant = 0;
                    unsigned int nSuivant = 0;
                    if (!bRead(&cSuivant, sizeof(T), &nSuivant)) return 0;
                    if (nSuivant == sizeof(T) && cSuivant == cLF) {
                        bFin = true;
                        nTexte = i;
                        nConsomme = nCar;
                        nApresBloc = 1;
                    } else if (!bRecule(0, nSuivant)) {
                        return 0;
                    }
                }
            }
        }

        if (nTexte > nCapacite - nLongueur) {
            const size_t nGarde = nCapacite - nLongueur;
            memcpy(pszLigne + nLongueur, tabBloc, nGarde * sizeof(T));
            nLongueur += nGarde;
            pszLigne[nLongueur] = 0;
            if (pbTronque != nullptr) *pbTronque = 1;
            return bRecule(nCar - nGarde + nApresBloc, nReste) ? 1 : 0;
        }
        memcpy(pszLigne + nLongueur, tabBloc, nTexte * sizeof(T));
        nLongueur += nTexte;
        pszLigne[nLongueur] = 0;

        if (bFin) return bRecule(nCar - nConsomme, nReste) ? 1 : 0;
        if (nConsomme < nCar) {
            if (!bRecule(nCar - nConsomme, nReste)) return 0;
            continue;
        }
        // A short block is the end of the file: the last line has no terminator.
        if (!bPlein) return 1;
    }
}

int IXStream::bReadLine(char* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept {
    return _bReadLine(pszLigne, nTaille, pbTronque, dwFlags);
}

int IXStream::bReadLine(wchar_t* pszLigne, unsigned long nTaille, int* pbTronque, unsigned int dwFlags) noexcept {
    return _bReadLine(pszLigne, nTaille, pbTronque, dwFlags);
}

// ---- copying and locking -------------------------------------------------------------------------

int IXStream::bExtract(IXStream* piDestination, long nNombre) noexcept {
    if (piDestination == nullptr) {
        if (m_pclErreur != nullptr) {
            SignaleSysteme(m_pclErreur, EINVAL);
        }
        return 0;
    }
    std::unique_ptr<uint8_t[]> pbyBloc(new (std::nothrow) uint8_t[kBlocExtraction]);
    if (pbyBloc == nullptr) {
        if (m_pclErreur != nullptr) m_pclErreur->SetErrorNoMemory();
        return 0;
    }
    const bool bJusquALaFin = nNombre < 0;
    unsigned long nRestant = bJusquALaFin ? 0 : static_cast<unsigned long>(nNombre);
    while (bJusquALaFin || nRestant > 0) {
        const unsigned long nDemande = bJusquALaFin || nRestant > kBlocExtraction ? kBlocExtraction : nRestant;
        unsigned int nLu = 0;
        if (!bRead(pbyBloc.get(), static_cast<unsigned int>(nDemande), &nLu)) return 0;
        if (nLu > 0 && !piDestination->bWrite(pbyBloc.get(), nLu, nullptr)) {
            CXError* pclErreurDestination = piDestination->pclGetXError();
            if (m_pclErreur != nullptr && pclErreurDestination != nullptr && pclErreurDestination != m_pclErreur) {
                m_pclErreur->Copy(pclErreurDestination);
            }
            return 0;
        }
        if (!bJusquALaFin) nRestant -= nLu;
        if (nLu < nDemande) break;  // the source has ended
    }
    return 1;
}

int IXStream::bLockFile(long oDebut, long oLongueur) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (bLock(oDebut, oLongueur)) return 1;
    const int nErreur = errno;
    if (m_pclErreur != nullptr) {
        SignaleSysteme(m_pclErreur, nErreur);
        m_pclErreur->AddDebugMessagePrintf(L"##(IXStream)-Handle=<%p>##", static_cast<void*>(this));
        m_pclErreur->AddUserMessage(&gstMyModuleInfo8, kMessageVerrouillage, pszNomOuVide(pszGetName()));
    }
    errno = nErreur;
    return 0;
}

int IXStream::bUnlockFile(long oDebut, long oLongueur) noexcept {
    if (m_pclErreur != nullptr) m_pclErreur->SetErrorLevel(CXError::EL_NOERROR);
    if (bUnlock(oDebut, oLongueur)) return 1;
    const int nErreur = errno;
    if (m_pclErreur != nullptr) {
        SignaleSysteme(m_pclErreur, nErreur);
        m_pclErreur->AddDebugMessagePrintf(L"##(IXStream)-Handle=<%p>##", static_cast<void*>(this));
        m_pclErreur->AddUserMessage(&gstMyModuleInfo8, kMessageDeverrouillage, pszNomOuVide(pszGetName()));
    }
    errno = nErreur;
    return 0;
}
