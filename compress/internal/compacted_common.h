// What compacted files and the old format share: the stop flag, owned descriptors, buffered byte
// sources and sinks over them, and the destination that takes its name only once whole. Private
// to the compression family.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "compress/lh5.h"

namespace ovcompacte::interne {

// The codes of a compaction or decompaction; the language raises 80299 + code.
enum : int {
    CODE_OK = 0,
    CODE_SOURCE = 1,          // the source cannot be opened or read
    CODE_DESTINATION = 2,     // the destination cannot be opened, placed or written
    CODE_PAS_COMPACTE = 3,    // internal: neither format, the caller copies
    CODE_CORROMPU = 4,        // header unreadable or lying, a corrupt stream, a write failure with room left
    CODE_MEMOIRE = 5,
    CODE_ARRETE = 6,          // stopped: the partial destination is gone
    CODE_DISQUE_PLEIN = 7,
};

// Bytes between two looks at the stop flag when a loop is ours (the engine has its own rhythm).
inline constexpr size_t kTailleTampon = 16000;

// The flag that fStopCompacte raises, from any thread. Each operation lowers it as it starts, then
// looks at it at each progress point; one raised while an operation runs therefore stops it.
void ArreteOperations() noexcept;
void DebutOperation() noexcept;
bool bArretDemande() noexcept;

// An owned descriptor, closed on every path.
class CDescripteur {
public:
    explicit CDescripteur(int n = -1) noexcept : m_n(n) {}
    CDescripteur(const CDescripteur&) = delete;
    CDescripteur& operator=(const CDescripteur&) = delete;
    ~CDescripteur() { Ferme(); }
    int n() const noexcept { return m_n; }
    bool bOuvert() const noexcept { return m_n >= 0; }
    // False with errno when close reports a late write failure (NFS, full disk).
    bool bFerme() noexcept;
    void Ferme() noexcept { (void)bFerme(); }
    void Prend(int n) noexcept {
        Ferme();
        m_n = n;
    }
    // Hands the descriptor over without closing it.
    int nLache() noexcept {
        const int n = m_n;
        m_n = -1;
        return n;
    }

private:
    int m_n;
};

// Opens pszNom read only and checks that it is a regular file: -1 with errno otherwise (EISDIR
// for a directory).
int nOuvreLecture(const char* pszNom, struct stat* pstInfo) noexcept;

// Reads up to nTaille bytes at the descriptor's position over EINTR: the count, 0 at the end, -1.
ssize_t nLitTout(int nFd, void* pData, size_t nTaille) noexcept;

// Reads from a descriptor through a 16,000-byte buffer, at most nLimite bytes in all; requests of
// a buffer or more go straight to the caller's memory once the buffer is drained.
class CSourceFichier final : public ovlh5::ISource {
public:
    CSourceFichier(int nFd, uint64_t nLimite = UINT64_MAX) noexcept : m_nFd(nFd), m_nReste(nLimite) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override;
    bool bAlloue() noexcept;

private:
    int m_nFd;
    uint64_t m_nReste;
    std::unique_ptr<uint8_t[]> m_pbyTampon;
    size_t m_nDebut = 0;
    size_t m_nFin = 0;
};

// Writes to a descriptor through a 16,000-byte buffer and looks at the stop flag at each flush.
// A failed write keeps its errno in nErrno(); a stop is told by bArrete().
class CPuitsFichier final : public ovlh5::IPuits {
public:
    explicit CPuitsFichier(int nFd) noexcept : m_nFd(nFd) {}
    bool bEcrit(const uint8_t* pby, size_t nTaille) noexcept override;
    bool bVide() noexcept;
    bool bAlloue() noexcept;
    bool bArrete() const noexcept { return m_bArrete; }
    int nErrno() const noexcept { return m_nErrno; }
    uint64_t nEcrits() const noexcept { return m_nEcrits; }

private:
    int m_nFd;
    std::unique_ptr<uint8_t[]> m_pbyTampon;
    size_t m_nRempli = 0;
    uint64_t m_nEcrits = 0;
    int m_nErrno = 0;
    bool m_bArrete = false;
};

// The code of a failed write: 7 when the disk is full (or nearly: under 5 bytes free), else 4.
int nCodeEcriture(int nFd, int nErrno) noexcept;

// The destination of an operation. bPrepare creates "_OV......" beside the final name (a link is
// followed to the file it names); the work goes there, and bPlace gives it the times and the mode
// and renames it over the final name. Anything else, a failure or the end of the object without
// bPlace, removes it: the old destination stays whole and no partial file is left.
class CDestination {
public:
    CDestination() = default;
    CDestination(const CDestination&) = delete;
    CDestination& operator=(const CDestination&) = delete;
    ~CDestination() { Abandonne(); }

    // False with errno (EISDIR for a directory). nModeDefaut serves a destination that does not
    // exist yet; an existing one keeps its own mode.
    bool bPrepare(const std::string& sFinal, mode_t nModeDefaut) noexcept;
    int nFd() const noexcept { return m_clFd.n(); }
    // Times of pstTemps (may be null), close, rename. False with errno; the temporary file is
    // then gone.
    bool bPlace(const struct stat* pstTemps) noexcept;
    void Abandonne() noexcept;

private:
    CDescripteur m_clFd;
    std::string m_sFinal;
    std::string m_sTemp;
    mode_t m_nMode = 0644;
};

// Copies nFdSource from its position to its end into nFdCible, looking at the stop flag between
// blocks. Answers a code: 0, 1 on a read failure, 6, 7 or 4 on a write failure.
int nCopieFlux(int nFdSource, int nFdCible, uint64_t* pnCopies) noexcept;

// The directory part of a path ("." when none), for the free-space question.
std::string sRepertoireDe(const std::string& sChemin);

// Bytes free for an unprivileged writer on the file system that holds sChemin; UINT64_MAX when
// the question has no answer.
uint64_t nEspaceLibre(const std::string& sChemin) noexcept;

}  // namespace ovcompacte::interne
