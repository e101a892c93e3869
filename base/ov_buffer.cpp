// The serialisation buffer: growth, the cursor, lazy coding of the region behind the first coded
// byte, strings in their four modes, sections, the main header and sized blocks.
#include "base/ov_buffer.h"

#include <bit>
#include <cstdlib>
#include <cwchar>
#include <vector>

#include "base/code_pages.h"
#include "base/tstring.h"
#include "base/unicode.h"
#include "compress/block_compressors.h"
#include "crypt/ciphers.h"
#include "datetime/date_time.h"
#include "files/stream.h"
#include "files/xfile.h"

static_assert(std::endian::native == std::endian::little, "scalars go out as the host's bytes: little-endian");

namespace {

constexpr uint8_t kMarqueDebut[4] = {0xff, 0xce, 0x88, 0xf1};
constexpr uint8_t kMarqueFin[4] = {0xfe, 0xed, 0x98, 0xe1};
// Start mark, size, zero byte and end mark around the text of the marked form.
constexpr unsigned long kSurcoutMarque = 13;
// Conversions up to this many bytes or characters stay on the stack.
constexpr int kPlacePile = 1024;

// The password of a buffer enciphered without one. Fixed forever: data written with it must stay
// readable. 39 characters.
constexpr wchar_t kMotDePasseInterne[] = L"Tampon sans mot de passe: clef de repli";
static_assert(sizeof(kMotDePasseInterne) / sizeof(wchar_t) - 1 == 39);

uint32_t dwLit32(const uint8_t* pby) noexcept {
    uint32_t dw;
    std::memcpy(&dw, pby, 4);
    return dw;
}

// A pointer into [pbyDebut, pbyDebut + nTaille) as an offset, or -1: a source that lives inside
// the buffer must be found again after a reallocation.
long nOffsetInterne(const void* p, const uint8_t* pbyDebut, unsigned long nTaille) noexcept {
    const auto nAdresse = reinterpret_cast<uintptr_t>(p);
    const auto nDebut = reinterpret_cast<uintptr_t>(pbyDebut);
    if (pbyDebut == nullptr || nAdresse < nDebut || nAdresse >= nDebut + nTaille) return -1;
    return static_cast<long>(nAdresse - nDebut);
}

// UTF-8 of a wide text into the stack buffer or a malloc'd one; the byte count in *pnOctets.
// Null for a character that is not a Unicode scalar or lack of memory.
char* pszVersUtf8(const wchar_t* pszTexte, int nCaracteres, char* pszPile, int nPlacePile, int* pnOctets) noexcept {
    *pnOctets = 0;
    pszPile[0] = 0;
    if (nCaracteres == 0) return pszPile;
    const int nOctets = nWideToUTF8(pszTexte, nCaracteres, nullptr, 0);
    if (nOctets <= 0) return nullptr;
    char* psz = nOctets <= nPlacePile ? pszPile : static_cast<char*>(std::malloc(static_cast<size_t>(nOctets)));
    if (psz == nullptr) return nullptr;
    if (nWideToUTF8(pszTexte, nCaracteres, psz, nOctets) != nOctets) {
        if (psz != pszPile) std::free(psz);
        return nullptr;
    }
    *pnOctets = nOctets;
    return psz;
}

}  // namespace

// ================================================================ building

COVBuffer::COVBuffer() noexcept = default;

COVBuffer::COVBuffer(unsigned long nTaille, unsigned long nPas) noexcept { InitMemoire(nTaille, nPas); }

COVBuffer::COVBuffer(unsigned long nTaille) noexcept { InitMemoire(nTaille, 0); }

COVBuffer::COVBuffer(eBUFFER_PACKMETHOD ePack, unsigned long nTaille, unsigned long nPas) noexcept {
    InitMemoire(nTaille, nPas);
    SetPackMethod(ePack);
}

COVBuffer::COVBuffer(eBUFFER_CRYPTMETHOD eCrypt, eBUFFER_PACKMETHOD ePack, unsigned long nTaille, unsigned long nPas,
                     const wchar_t* pszMotDePasse, const char* pszMotDePasseAnsi, const unsigned char* pbyCle) noexcept {
    InitMemoire(nTaille, nPas);
    SetPackMethod(ePack);
    if (eCrypt == eBUFFER_CRYPT_HOMEMADE) {
        m_eCrypt = eCrypt;
        __InitCrypt(pszMotDePasse, pszMotDePasseAnsi, pbyCle);
    }
}

COVBuffer::~COVBuffer() {
    COVBuffer::__vFreeBuffer();
    COVBuffer::__vFreeCryptObject();
}

bool COVBuffer::__vAllocBuffer(unsigned long nTaille) noexcept {
    __vFreeBuffer();
    if (nTaille == 0) return true;
    m_pbyDonnees = static_cast<uint8_t*>(std::malloc(nTaille));
    if (m_pbyDonnees == nullptr) return false;
    m_nTailleAllouee = nTaille;
    return true;
}

bool COVBuffer::__vReallocBuffer(unsigned long nTaille) noexcept {
    if (nTaille == 0) {
        __vFreeBuffer();
        return true;
    }
    auto* pby = static_cast<uint8_t*>(std::realloc(m_pbyDonnees, nTaille));
    if (pby == nullptr) return false;
    m_pbyDonnees = pby;
    m_nTailleAllouee = nTaille;
    return true;
}

void COVBuffer::__vFreeBuffer() noexcept {
    std::free(m_pbyDonnees);
    m_pbyDonnees = nullptr;
    m_nTailleAllouee = 0;
}

bool COVBuffer::__vAllocCryptObject() noexcept {
    if (m_pclCrypt == nullptr) m_pclCrypt = pclCreeCrypt(eCRYPT_HOMEMADE);
    return m_pclCrypt != nullptr;
}

void COVBuffer::__vFreeCryptObject() noexcept {
    if (m_pclCrypt != nullptr) m_pclCrypt->dwRelease();
    m_pclCrypt = nullptr;
}

bool COVBuffer::InitMemoire(unsigned long nTaille, unsigned long nPas) noexcept {
    ClearAll();
    if (nPas != 0) m_nPasCroissance = nPas;
    if (nTaille > kdwTailleMax) return false;
    return __vAllocBuffer(nTaille);
}

void COVBuffer::ClearAll() noexcept {
    m_nTailleUtilisee = 0;
    m_nCurseur = 0;
    m_bCode = m_bPacke = m_bCrypte = false;
}

// Growth follows the step rule (old allocation + step, or the size asked when the gap is wider),
// but never by less than half the allocation: with a small step the rule alone would make a long
// series of writes quadratic.
bool COVBuffer::__bResizeBuffer(unsigned long nTaille) noexcept {
    if (nTaille > kdwTailleMax) return false;
    if (nTaille == 0) {
        __vFreeBuffer();
        m_nTailleUtilisee = m_nCurseur = 0;
        return true;
    }
    if (nTaille > m_nTailleAllouee) {
        unsigned long nAllocation = m_nTailleAllouee + m_nPasCroissance;
        if (nAllocation < nTaille) nAllocation = nTaille;
        const unsigned long nGeometrique = m_nTailleAllouee + m_nTailleAllouee / 2;
        if (nAllocation < nGeometrique) nAllocation = nGeometrique;
        if (nAllocation > kdwTailleMax) nAllocation = kdwTailleMax;
        if (!(m_pbyDonnees == nullptr ? __vAllocBuffer(nAllocation) : __vReallocBuffer(nAllocation))) return false;
    } else if (nTaille < m_nTailleUtilisee && m_nTailleAllouee - nTaille >= m_nPasCroissance) {
        // A failed shrink keeps the larger block, which is still right.
        __vReallocBuffer(nTaille);
    }
    if (nTaille > m_nTailleUtilisee) std::memset(m_pbyDonnees + m_nTailleUtilisee, 0, nTaille - m_nTailleUtilisee);
    m_nTailleUtilisee = nTaille;
    if (m_nCurseur > m_nTailleUtilisee) m_nCurseur = 0;
    return true;
}

bool COVBuffer::SetSize(unsigned long nTaille) noexcept {
    if (m_bCode && !__UncodeBuffer()) return false;
    return __bResizeBuffer(nTaille);
}

bool COVBuffer::Resize(unsigned long nTaille) noexcept {
    if (nTaille <= m_nTailleAllouee) return true;
    if (nTaille > kdwTailleMax) return false;
    return m_pbyDonnees == nullptr ? __vAllocBuffer(nTaille) : __vReallocBuffer(nTaille);
}

namespace {
// The target of a seek, or -1 when it falls before the start or past the largest size.
long nCible(long nDeplacement, unsigned long nBase) noexcept {
    const long nResultat = static_cast<long>(nBase) + nDeplacement;
    if (nDeplacement < -static_cast<long>(COVBuffer::kdwTailleMax) || nResultat < 0 ||
        nResultat > static_cast<long>(COVBuffer::kdwTailleMax))
        return -1;
    return nResultat;
}
}  // namespace

bool COVBuffer::Seek(long nDeplacement, eORIGINE eOrigine) noexcept {
    if (eOrigine == eORIGINE_FIN && m_bCode && !__UncodeBuffer()) return false;
    const unsigned long nBase = eOrigine == eORIGINE_DEBUT ? 0 : eOrigine == eORIGINE_COURANT ? m_nCurseur : m_nTailleUtilisee;
    const long nPosition = nCible(nDeplacement, nBase);
    if (nPosition < 0) return false;
    const auto nCurseur = static_cast<unsigned long>(nPosition);
    if (!__bAccede(nCurseur, 0)) return false;
    if (nCurseur > m_nTailleUtilisee && !__bResizeBuffer(nCurseur)) return false;
    m_nCurseur = nCurseur;
    return true;
}

bool COVBuffer::SeekNoResize(long nDeplacement, eORIGINE eOrigine) noexcept {
    if (eOrigine == eORIGINE_FIN && m_bCode && !__UncodeBuffer()) return false;
    const unsigned long nBase = eOrigine == eORIGINE_DEBUT ? 0 : eOrigine == eORIGINE_COURANT ? m_nCurseur : m_nTailleUtilisee;
    const long nPosition = nCible(nDeplacement, nBase);
    if (nPosition < 0) return false;
    const auto nCurseur = static_cast<unsigned long>(nPosition);
    if (!__bAccede(nCurseur, 0) || nCurseur > m_nTailleUtilisee) return false;
    m_nCurseur = nCurseur;
    return true;
}

// ================================================================ data

bool COVBuffer::_bSetLent(const void* pData, unsigned long nTaille) noexcept {
    if (nTaille == 0) return true;
    if (pData == nullptr || nTaille > kdwTailleMax - m_nCurseur) return false;
    // The source may be this buffer's own memory, which decoding and growth move.
    const long nInterne = nOffsetInterne(pData, m_pbyDonnees, m_nTailleAllouee);
    if (nInterne >= 0 && m_bCode) return false;  // coded bytes as a source would change under us
    if (!__bAccede(m_nCurseur, nTaille)) return false;
    const unsigned long nFin = m_nCurseur + nTaille;
    if (nFin > m_nTailleUtilisee) {
        if (!__bResizeBuffer(nFin)) return false;
    }
    const void* pSource = nInterne >= 0 ? m_pbyDonnees + nInterne : pData;
    std::memmove(m_pbyDonnees + m_nCurseur, pSource, nTaille);
    m_nCurseur = nFin;
    return true;
}

bool COVBuffer::Set(COVBuffer* pclSource, unsigned long nTaille) noexcept {
    if (pclSource == nullptr) return false;
    if (!pclSource->__bAccede(pclSource->m_nCurseur, nTaille)) return false;
    const unsigned long nReste = pclSource->m_nTailleUtilisee - pclSource->m_nCurseur;
    const unsigned long nCopie = nTaille < nReste ? nTaille : nReste;
    if (pclSource == this) {
        // Copying from the cursor onto itself: nothing moves.
        m_nCurseur += nCopie;
        return true;
    }
    if (!Set(pclSource->m_pbyDonnees + pclSource->m_nCurseur, nCopie)) return false;
    pclSource->m_nCurseur += nCopie;
    return true;
}

unsigned long COVBuffer::dwGet(void* pData, unsigned long nTaille) noexcept {
    if (nTaille == 0 || pData == nullptr) return 0;
    if (!__bAccede(m_nCurseur, nTaille)) return 0;
    const unsigned long nReste = m_nTailleUtilisee - m_nCurseur;
    const unsigned long nLu = nTaille < nReste ? nTaille : nReste;
    if (nLu != 0) std::memcpy(pData, m_pbyDonnees + m_nCurseur, nLu);
    m_nCurseur += nLu;
    return nLu;
}

bool COVBuffer::SetTableau(const void* pData, unsigned long nTailleElement, unsigned long nNombre) noexcept {
    if (nNombre > 0xFFFFFFFFu || (nNombre != 0 && nTailleElement > kdwTailleMax / nNombre)) return false;
    const unsigned long nDebut = m_nCurseur;
    const auto dwNombre = static_cast<uint32_t>(nNombre);
    if (Set(&dwNombre, 4) && Set(pData, nTailleElement * nNombre)) return true;
    m_nCurseur = nDebut <= m_nTailleUtilisee ? nDebut : 0;
    return false;
}

bool COVBuffer::GetTableau(void* pData, unsigned long nTailleElement, unsigned long nNombre,
                           const void* pDefaut) noexcept {
    if (nNombre != 0 && (pData == nullptr || nTailleElement > kdwTailleMax / nNombre)) return false;
    const unsigned long nDebut = m_nCurseur;
    uint32_t dwStocke = 0;
    if (!Get(&dwStocke, 4)) {
        m_nCurseur = nDebut;
        return false;
    }
    if (!__bAccede(m_nCurseur, m_nTailleUtilisee - m_nCurseur) ||
        (nTailleElement != 0 && dwStocke > (m_nTailleUtilisee - m_nCurseur) / nTailleElement)) {
        m_nCurseur = nDebut;
        return false;
    }
    const unsigned long nLus = dwStocke < nNombre ? dwStocke : nNombre;
    auto* pby = static_cast<uint8_t*>(pData);
    if (nLus != 0) std::memcpy(pby, m_pbyDonnees + m_nCurseur, nLus * nTailleElement);
    m_nCurseur += dwStocke * nTailleElement;
    for (unsigned long n = nLus; n < nNombre; ++n) {
        if (pDefaut != nullptr)
            std::memcpy(pby + n * nTailleElement, pDefaut, nTailleElement);
        else
            std::memset(pby + n * nTailleElement, 0, nTailleElement);
    }
    return true;
}

bool COVBuffer::SetAll(const void* pData, unsigned long nTaille) noexcept {
    if (nTaille > kdwTailleMax || (pData == nullptr && nTaille != 0)) return false;
    const long nInterne = nOffsetInterne(pData, m_pbyDonnees, m_nTailleAllouee);
    if (nInterne >= 0) {
        // Part of our own data becomes the whole: move it to the front, then cut.
        if (static_cast<unsigned long>(nInterne) + nTaille > m_nTailleAllouee) return false;
        std::memmove(m_pbyDonnees, m_pbyDonnees + nInterne, nTaille);
        m_nTailleUtilisee = nTaille;
        m_bCode = m_bPacke = m_bCrypte = false;
        m_nCurseur = 0;
        return true;
    }
    m_bCode = m_bPacke = m_bCrypte = false;
    m_nTailleUtilisee = 0;
    m_nCurseur = 0;
    if (!__bResizeBuffer(nTaille)) return false;
    if (nTaille != 0) std::memcpy(m_pbyDonnees, pData, nTaille);
    m_nCurseur = 0;
    return true;
}

uint8_t* COVBuffer::GetAll(unsigned long* pnTaille) noexcept {
    if (pnTaille != nullptr) *pnTaille = 0;
    if (!bDecode()) return nullptr;
    if (pnTaille != nullptr) *pnTaille = m_nTailleUtilisee;
    return m_nTailleUtilisee != 0 ? m_pbyDonnees : nullptr;
}

bool COVBuffer::SetCodedData(const void* pData, unsigned long nTaille) noexcept {
    if (!SetAll(pData, nTaille)) return false;
    return SetCodedSize(nTaille);
}

bool COVBuffer::SetCodedSize(unsigned long nTaille) noexcept {
    if (nTaille > m_nTailleAllouee) return false;
    m_nTailleUtilisee = nTaille;
    m_nCurseur = 0;
    m_bPacke = m_ePack != eBUFFER_PACK_AUCUN;
    m_bCrypte = m_eCrypt != eBUFFER_CRYPT_AUCUN;
    m_bCode = m_bPacke || m_bCrypte;
    return true;
}

bool COVBuffer::MoveData(unsigned long nDepuis, unsigned long nVers, unsigned long nTaille) noexcept {
    if (!bDecode()) return false;
    if (nDepuis > m_nTailleUtilisee || nTaille > m_nTailleUtilisee - nDepuis || nVers > kdwTailleMax - nTaille)
        return false;
    const unsigned long nCurseur = m_nCurseur;
    if (nVers + nTaille > m_nTailleUtilisee && !__bResizeBuffer(nVers + nTaille)) return false;
    m_nCurseur = nCurseur;
    if (nTaille != 0) std::memmove(m_pbyDonnees + nVers, m_pbyDonnees + nDepuis, nTaille);
    return true;
}

void* COVBuffer::GetOwnershipMemory(unsigned long* pnTaille) noexcept {
    void* p = m_pbyDonnees;
    if (pnTaille != nullptr) *pnTaille = m_nTailleUtilisee;
    m_pbyDonnees = nullptr;
    m_nTailleAllouee = m_nTailleUtilisee = m_nCurseur = 0;
    m_bCode = m_bPacke = m_bCrypte = false;
    return p;
}

void COVBuffer::GiveOwnershipMemory(void* pData, unsigned long nTaille) noexcept {
    __vFreeBuffer();
    m_pbyDonnees = static_cast<uint8_t*>(pData);
    m_nTailleAllouee = m_nTailleUtilisee = pData != nullptr ? nTaille : 0;
    m_nCurseur = 0;
    m_bCode = m_bPacke = m_bCrypte = false;
}

void COVBuffer::Transfert(COVBuffer& clAutre) noexcept {
    if (&clAutre == this) return;
    __vFreeBuffer();
    __vFreeCryptObject();
    m_eCrypt = clAutre.m_eCrypt;
    m_ePack = clAutre.m_ePack;
    m_bCrypte = clAutre.m_bCrypte;
    m_bPacke = clAutre.m_bPacke;
    m_bCode = clAutre.m_bCode;
    m_nTailleAllouee = clAutre.m_nTailleAllouee;
    m_nTailleUtilisee = clAutre.m_nTailleUtilisee;
    m_nPremierOctetCode = clAutre.m_nPremierOctetCode;
    m_nPasCroissance = clAutre.m_nPasCroissance;
    m_pbyDonnees = clAutre.m_pbyDonnees;
    m_nCurseur = clAutre.m_nCurseur;
    m_eModeTString = clAutre.m_eModeTString;
    m_pclCrypt = clAutre.m_pclCrypt;
    std::memcpy(m_tabCle, clAutre.m_tabCle, kTailleCle);
    clAutre.m_pbyDonnees = nullptr;
    clAutre.m_pclCrypt = nullptr;
    clAutre.m_nTailleAllouee = clAutre.m_nTailleUtilisee = clAutre.m_nCurseur = 0;
    clAutre.m_bCode = clAutre.m_bPacke = clAutre.m_bCrypte = false;
    clAutre.m_eCrypt = eBUFFER_CRYPT_AUCUN;
    clAutre.m_ePack = eBUFFER_PACK_AUCUN;
}

// ================================================================ sections

namespace {
// Writes a 32-bit word at an offset inside the used data without moving the cursor.
bool bEcrit32A(COVBuffer* pclBuffer, unsigned long nOffset, uint32_t dwValeur) noexcept {
    const unsigned long nCurseur = pclBuffer->dwGetPosition();
    if (nOffset > pclBuffer->dwGetSize() || pclBuffer->dwGetSize() - nOffset < 4) return false;
    if (!pclBuffer->SeekNoResize(static_cast<long>(nOffset))) return false;
    const bool bOk = pclBuffer->Set(&dwValeur, 4);
    pclBuffer->SeekNoResize(static_cast<long>(nCurseur));
    return bOk;
}
}  // namespace

unsigned long COVBuffer::nReserveTaillePartie() noexcept {
    const unsigned long nOffset = m_nCurseur;
    *this << uint32_t{0};
    return nOffset;
}

bool COVBuffer::SetTaillePartie(unsigned long nOffset) noexcept {
    if (nOffset > m_nCurseur || m_nCurseur - nOffset < 4) return false;
    return bEcrit32A(this, nOffset, static_cast<uint32_t>(m_nCurseur - nOffset - 4));
}

unsigned long COVBuffer::dwReserveNombreElement() noexcept { return nReserveTaillePartie(); }

bool COVBuffer::SetNombreElement(unsigned long nOffset, uint32_t dwNombre) noexcept {
    return bEcrit32A(this, nOffset, dwNombre);
}

bool COVBuffer::SerialiseBuffer(COVBuffer* pclCible) noexcept { return g_SerialiseBuffer(this, pclCible); }

bool COVBuffer::DeserialiseBuffer(COVBuffer* pclCible) noexcept { return g_DeserialiseBuffer(this, pclCible); }

bool g_SerialiseBuffer(COVBuffer* pclSource, COVBuffer* pclCible) noexcept {
    if (pclSource == nullptr || pclCible == nullptr || pclSource == pclCible) return false;
    if (!pclSource->bDecode()) return false;
    pclSource->SeekNoResize(0);
    const auto dwTaille = static_cast<uint32_t>(pclSource->dwGetSize());
    const unsigned long nDebut = pclCible->dwGetPosition();
    if (pclCible->Set(&dwTaille, 4) && pclCible->Set(pclSource->pbyGetData(), dwTaille)) return true;
    pclCible->SeekNoResize(static_cast<long>(nDebut));
    return false;
}

bool g_DeserialiseBuffer(COVBuffer* pclSource, COVBuffer* pclCible) noexcept {
    if (pclSource == nullptr || pclCible == nullptr || pclSource == pclCible) return false;
    pclCible->ClearAll();
    const unsigned long nDebut = pclSource->m_nCurseur;
    uint32_t dwTaille = 0;
    if (!pclSource->Get(&dwTaille, 4)) {
        pclSource->m_nCurseur = nDebut;
        return false;
    }
    if (dwTaille == 0) return true;
    if (!pclSource->__bAccede(pclSource->m_nCurseur, dwTaille) ||
        dwTaille > pclSource->m_nTailleUtilisee - pclSource->m_nCurseur) {
        pclSource->m_nCurseur = nDebut;
        return false;
    }
    if (!pclCible->SetAll(pclSource->m_pbyDonnees + pclSource->m_nCurseur, dwTaille)) {
        pclSource->m_nCurseur = nDebut;
        return false;
    }
    pclSource->m_nCurseur += dwTaille;
    return true;
}

unsigned long COVBufferMark::s_dwWriteBeginMark(COVBuffer* pclBuffer) noexcept {
    return pclBuffer->nReserveTaillePartie();
}

void COVBufferMark::s_WriteEndMark(COVBuffer* pclBuffer, unsigned long nPosition) noexcept {
    // The writer's cursor stands at the section's end: the size is filled in and the cursor stays.
    const unsigned long nCurseur = pclBuffer->dwGetPosition();
    if (nPosition <= nCurseur) bEcrit32A(pclBuffer, nPosition, static_cast<uint32_t>(nCurseur - nPosition));
}

unsigned long COVBufferMark::s_dwReadBeginMark(COVBuffer* pclBuffer, uint32_t* pdwTaille) noexcept {
    const unsigned long nDebut = pclBuffer->m_nCurseur;
    uint32_t dwTaille = 0;
    if (pclBuffer->dwGet(&dwTaille, 4) != 4) {
        pclBuffer->m_nCurseur = nDebut;
        if (pdwTaille != nullptr) *pdwTaille = 0;
        return nDebut;
    }
    if (pdwTaille != nullptr) *pdwTaille = dwTaille;
    // A size below its own field would send the reader back over what it has read, and a reader
    // that loops over sections would never end: it counts as the field alone.
    return nDebut + (dwTaille < 4 ? 4 : dwTaille);
}

unsigned long COVBufferMark::s_dwReadBeginMarkFromDummy(COVBuffer* pclBuffer) noexcept {
    uint32_t dwTaille = 0;
    const unsigned long nFin = s_dwReadBeginMark(pclBuffer, &dwTaille);
    return dwTaille == 0 ? 0 : nFin;
}

void COVBufferMark::s_ReadEndMark(COVBuffer* pclBuffer, unsigned long nPosition) noexcept {
    if (!pclBuffer->__bAccede(nPosition < pclBuffer->m_nCurseur ? pclBuffer->m_nCurseur : nPosition, 0)) return;
    const unsigned long nFin = nPosition < pclBuffer->m_nTailleUtilisee ? nPosition : pclBuffer->m_nTailleUtilisee;
    if (nFin > pclBuffer->m_nCurseur) pclBuffer->m_nCurseur = nFin;
}

bool COVBufferMark::WriteEntetePrincipale(COVBuffer* pclBuffer, uint32_t dwVersion, uint32_t dwCompat) noexcept {
    if (pclBuffer == nullptr || !pclBuffer->SeekNoResize(0)) return false;
    pclBuffer->DefineFirstCodedByte(kdwTailleEntetePrincipale);
    const uint32_t tabMots[3] = {kdwTailleEntetePrincipale, dwVersion, dwCompat};
    return pclBuffer->Set(tabMots, sizeof tabMots);
}

int COVBufferMark::nReadEntetePrincipale(COVBuffer* pclBuffer, uint32_t dwVersion, uint32_t dwCompat,
                                         uint32_t* pdwVersionLue, uint32_t* pdwCompatLue) noexcept {
    if (pclBuffer == nullptr) return 1;
    pclBuffer->m_nCurseur = 0;
    pclBuffer->DefineFirstCodedByte(kdwTailleEntetePrincipale);
    uint32_t dwTaille = 0, dwVersionLue = 0, dwCompatLue = 0;
    if (!pclBuffer->Get(&dwTaille, 4)) return 1;
    if (dwTaille < kdwTailleEntetePrincipale) return 2;
    if (!pclBuffer->Get(&dwVersionLue, 4)) return 1;
    if (pdwVersionLue != nullptr) *pdwVersionLue = dwVersionLue;
    if (dwVersionLue < dwCompat) return -2;
    if (!pclBuffer->Get(&dwCompatLue, 4)) return 1;
    if (pdwCompatLue != nullptr) *pdwCompatLue = dwCompatLue;
    if (dwCompatLue > dwVersion) return -1;
    if (dwTaille > kdwTailleEntetePrincipale) {
        // A newer writer's longer header: skipped, but it must leave something behind it.
        if (!pclBuffer->__bAccede(dwTaille, 0)) return 1;
        if (dwTaille >= pclBuffer->m_nTailleUtilisee) {
            pclBuffer->m_nCurseur = pclBuffer->m_nTailleUtilisee;
            return 2;
        }
        pclBuffer->m_nCurseur = dwTaille;
    }
    return 0;
}

// ================================================================ strings

bool COVBuffer::SaveStringNewUtf8Mark(const wchar_t* pszTexte, bool bVideSurUnOctet, int) noexcept {
    const int nCaracteres = pszTexte != nullptr ? static_cast<int>(std::wcslen(pszTexte)) : 0;
    if (nCaracteres == 0 && bVideSurUnOctet) return Set("", 1);
    char tabPile[kPlacePile];
    int nOctets = 0;
    char* pszUtf8 = pszVersUtf8(pszTexte, nCaracteres, tabPile, kPlacePile, &nOctets);
    if (pszUtf8 == nullptr) return false;
    const unsigned long nDebut = m_nCurseur;
    const auto dwTotal = static_cast<uint32_t>(static_cast<unsigned long>(nOctets) + kSurcoutMarque);
    const bool bOk = Set(kMarqueDebut, 4) && Set(&dwTotal, 4) && Set(pszUtf8, static_cast<unsigned long>(nOctets)) &&
                     Set("", 1) && Set(kMarqueFin, 4);
    if (pszUtf8 != tabPile) std::free(pszUtf8);
    if (!bOk && nDebut <= m_nTailleUtilisee) m_nCurseur = nDebut;
    return bOk;
}

bool COVBuffer::SaveString(const wchar_t* pszTexte, EModeTString eMode, unsigned int nCodePage) noexcept {
    const int nCaracteres = pszTexte != nullptr ? static_cast<int>(std::wcslen(pszTexte)) : 0;
    switch (eMode) {
    case eMODETSTRING_UTF8_MARQUE: return SaveStringNewUtf8Mark(pszTexte, true);
    case eMODETSTRING_UTF8_MARQUE_COMPLET: return SaveStringNewUtf8Mark(pszTexte, false);
    case eMODETSTRING_UTF8: {
        if (nCaracteres == 0) return Set("", 1);
        char tabPile[kPlacePile];
        int nOctets = 0;
        char* psz = pszVersUtf8(pszTexte, nCaracteres, tabPile, kPlacePile, &nOctets);
        if (psz == nullptr) return false;
        const unsigned long nDebut = m_nCurseur;
        const bool bOk = Set(psz, static_cast<unsigned long>(nOctets)) && Set("", 1);
        if (psz != tabPile) std::free(psz);
        if (!bOk && nDebut <= m_nTailleUtilisee) m_nCurseur = nDebut;
        return bOk;
    }
    case eMODETSTRING_ANSI: {
        if (nCaracteres == 0) return Set("", 1);
        const int nOctets = WideCharToMultiByte(nCodePage, 0, pszTexte, nCaracteres, nullptr, 0);
        if (nOctets <= 0) return false;
        char tabPile[kPlacePile];
        char* psz = nOctets <= kPlacePile ? tabPile : static_cast<char*>(std::malloc(static_cast<size_t>(nOctets)));
        if (psz == nullptr) return false;
        bool bOk = WideCharToMultiByte(nCodePage, 0, pszTexte, nCaracteres, psz, nOctets) == nOctets;
        // A code page whose bytes hold zeros (a 16-bit form) would cut the text on reading.
        if (bOk && std::memchr(psz, 0, static_cast<size_t>(nOctets)) != nullptr) bOk = false;
        const unsigned long nDebut = m_nCurseur;
        bOk = bOk && Set(psz, static_cast<unsigned long>(nOctets)) && Set("", 1);
        if (psz != tabPile) std::free(psz);
        if (!bOk && nDebut <= m_nTailleUtilisee) m_nCurseur = nDebut;
        return bOk;
    }
    }
    return false;
}

bool COVBuffer::SetString(const wchar_t* pszTexte) noexcept { return SaveString(pszTexte, m_eModeTString); }

COVBuffer& COVBuffer::operator<<(const CTString& clTexte) noexcept {
    SetString(clTexte.pszGet());
    return *this;
}

COVBuffer& COVBuffer::operator<<(const wchar_t* pszTexte) noexcept {
    SetString(pszTexte);
    return *this;
}

bool COVBuffer::SaveStringOldAnsi(const wchar_t* pszTexte) noexcept {
    return SaveString(pszTexte, eMODETSTRING_ANSI, CP_1252);
}

// The marked form at the cursor, looked for in [cursor, limit) where the limit is the used size
// (the caller decodes first when the string reaches into the coded region).
bool COVBuffer::__bReadEnteteString(const char** ppszTexte, unsigned long* pnTaille, bool bAutoriseUnOctet) noexcept {
    const unsigned long nReste = m_nTailleUtilisee - m_nCurseur;
    const uint8_t* pby = m_pbyDonnees + m_nCurseur;
    if (bAutoriseUnOctet && nReste >= 1 && pby[0] == 0) {
        *ppszTexte = reinterpret_cast<const char*>(pby);
        *pnTaille = 1;
        return true;
    }
    const unsigned long nMinimum = bAutoriseUnOctet ? kSurcoutMarque + 1 : kSurcoutMarque;
    if (nReste < 8 || std::memcmp(pby, kMarqueDebut, 4) != 0) return false;
    const uint32_t dwTaille = dwLit32(pby + 4);
    if (dwTaille < nMinimum || dwTaille > nReste) return false;
    if (std::memcmp(pby + dwTaille - 4, kMarqueFin, 4) != 0) return false;
    const char* pszTexte = reinterpret_cast<const char*>(pby + 8);
    if (strnlen(pszTexte, dwTaille - 12) != dwTaille - kSurcoutMarque) return false;
    *ppszTexte = pszTexte;
    *pnTaille = dwTaille;
    return true;
}

bool COVBuffer::__bLocaliseString(EModeTString eMode, const char** ppszTexte, unsigned long* pnLongueur,
                                  unsigned long* pnTaille, bool* pbUtf8) noexcept {
    if (eMode < eMODETSTRING_UTF8_MARQUE || eMode > eMODETSTRING_UTF8) return false;
    // A string that ends before the coded region is read as it stands; only one that reaches into
    // it, or does not end in the clear part, costs a decoding.
    const unsigned long nTailleReelle = m_nTailleUtilisee;
    bool bEssaiClair = m_bCode && m_nCurseur < m_nPremierOctetCode;
    if (m_bCode && !bEssaiClair && !__UncodeBuffer()) return false;
    for (;;) {
        if (bEssaiClair) m_nTailleUtilisee = m_nPremierOctetCode < nTailleReelle ? m_nPremierOctetCode : nTailleReelle;
        bool bTrouve = false;
        if (m_nCurseur < m_nTailleUtilisee) {
            const char* pszTexte = nullptr;
            unsigned long nTaille = 0;
            // The old form is read directly; the others look for the marked form first.
            if (eMode != eMODETSTRING_ANSI &&
                __bReadEnteteString(&pszTexte, &nTaille, eMode == eMODETSTRING_UTF8_MARQUE)) {
                *ppszTexte = pszTexte;
                *pnTaille = nTaille;
                *pnLongueur = nTaille == 1 ? 0 : nTaille - kSurcoutMarque;
                *pbUtf8 = true;
                bTrouve = true;
            }
            if (!bTrouve && (eMode == eMODETSTRING_ANSI || eMode == eMODETSTRING_UTF8)) {
                const char* psz = reinterpret_cast<const char*>(m_pbyDonnees + m_nCurseur);
                const size_t nLongueur = strnlen(psz, m_nTailleUtilisee - m_nCurseur);
                if (nLongueur < m_nTailleUtilisee - m_nCurseur) {
                    *ppszTexte = psz;
                    *pnLongueur = nLongueur;
                    *pnTaille = nLongueur + 1;
                    *pbUtf8 = eMode == eMODETSTRING_UTF8;
                    bTrouve = true;
                }
            }
        }
        if (bEssaiClair) m_nTailleUtilisee = nTailleReelle;
        if (bTrouve || !bEssaiClair) return bTrouve;
        bEssaiClair = false;
        if (!__UncodeBuffer()) return false;
    }
}

wchar_t* COVBuffer::__pszDecodeString(const char* pszTexte, unsigned long nLongueur, bool bUtf8,
                                      unsigned int nCodePage, wchar_t* pszPile, int nPlacePile,
                                      int* pnCaracteres) noexcept {
    *pnCaracteres = 0;
    if (nLongueur == 0) {
        pszPile[0] = 0;
        return pszPile;
    }
    if (nLongueur > static_cast<unsigned long>(INT32_MAX - 1)) return nullptr;
    const int nOctets = static_cast<int>(nLongueur);
    const int nCaracteres = bUtf8 ? nUTF8ToWide(pszTexte, nOctets, nullptr, 0)
                                  : MultiByteToWideChar(nCodePage, 0, pszTexte, nOctets, nullptr, 0);
    if (nCaracteres <= 0) return nullptr;
    wchar_t* psz = nCaracteres < nPlacePile
                       ? pszPile
                       : static_cast<wchar_t*>(std::malloc((static_cast<size_t>(nCaracteres) + 1) * sizeof(wchar_t)));
    if (psz == nullptr) return nullptr;
    const int nEcrits = bUtf8 ? nUTF8ToWide(pszTexte, nOctets, psz, nCaracteres)
                              : MultiByteToWideChar(nCodePage, 0, pszTexte, nOctets, psz, nCaracteres);
    if (nEcrits != nCaracteres) {
        if (psz != pszPile) std::free(psz);
        return nullptr;
    }
    psz[nCaracteres] = 0;
    *pnCaracteres = nCaracteres;
    return psz;
}

bool COVBuffer::bReadString(IStringFiller& clRemplisseur, EModeTString eMode, unsigned int nCodePage) noexcept {
    const char* pszTexte = nullptr;
    unsigned long nLongueur = 0, nTaille = 0;
    bool bUtf8 = false;
    if (!__bLocaliseString(eMode, &pszTexte, &nLongueur, &nTaille, &bUtf8)) return false;
    wchar_t tabPile[kPlacePile / sizeof(wchar_t)];
    int nCaracteres = 0;
    wchar_t* psz = __pszDecodeString(pszTexte, nLongueur, bUtf8, nCodePage, tabPile,
                                     static_cast<int>(std::size(tabPile)), &nCaracteres);
    if (psz == nullptr) return false;
    const bool bOk = clRemplisseur.bFill(psz, nCaracteres);
    if (psz != tabPile) std::free(psz);
    if (bOk) m_nCurseur += nTaille;
    return bOk;
}

namespace {
class CRemplitTableau : public IStringFiller {
public:
    CRemplitTableau(wchar_t* psz, int nPlace) noexcept : m_psz(psz), m_nPlace(nPlace) {}
    bool bFill(const wchar_t* pszTexte, int nCaracteres) noexcept override {
        if (m_psz == nullptr || nCaracteres >= m_nPlace) return false;
        std::wmemcpy(m_psz, pszTexte, static_cast<size_t>(nCaracteres) + 1);
        m_nLus = nCaracteres;
        return true;
    }
    wchar_t* m_psz;
    int m_nPlace;
    int m_nLus = -1;
};

class CRemplitMalloc : public IStringFiller {
public:
    bool bFill(const wchar_t* pszTexte, int nCaracteres) noexcept override {
        m_psz = static_cast<wchar_t*>(std::malloc((static_cast<size_t>(nCaracteres) + 1) * sizeof(wchar_t)));
        if (m_psz == nullptr) return false;
        std::wmemcpy(m_psz, pszTexte, static_cast<size_t>(nCaracteres) + 1);
        return true;
    }
    wchar_t* m_psz = nullptr;
};

class CRemplitTString : public IStringFiller {
public:
    explicit CRemplitTString(CTString& clTexte) noexcept : m_clTexte(clTexte) {}
    bool bFill(const wchar_t* pszTexte, int nCaracteres) noexcept override {
        if (nCaracteres == 0) {
            m_clTexte.Vide();
            return true;
        }
        return m_clTexte.Set(pszTexte, nCaracteres);
    }
    CTString& m_clTexte;
};

class CRemplitXYString : public IStringFiller {
public:
    explicit CRemplitXYString(CXYString<wchar_t>& clTexte) noexcept : m_clTexte(clTexte) {}
    bool bFill(const wchar_t* pszTexte, int nCaracteres) noexcept override {
        return m_clTexte.nAffecte(pszTexte, nCaracteres) == 0;
    }
    CXYString<wchar_t>& m_clTexte;
};
}  // namespace

int COVBuffer::nReadString(wchar_t* pszTexte, int nPlace, EModeTString eMode, unsigned int nCodePage) noexcept {
    CRemplitTableau clRemplisseur(pszTexte, nPlace);
    return bReadString(clRemplisseur, eMode, nCodePage) ? clRemplisseur.m_nLus : -1;
}

wchar_t* COVBuffer::pszReadCreateString(EModeTString eMode, unsigned int nCodePage) noexcept {
    CRemplitMalloc clRemplisseur;
    if (bReadString(clRemplisseur, eMode, nCodePage)) return clRemplisseur.m_psz;
    std::free(clRemplisseur.m_psz);
    return nullptr;
}

bool COVBuffer::bReadString(CTString& clTexte, EModeTString eMode, unsigned int nCodePage) noexcept {
    CRemplitTString clRemplisseur(clTexte);
    return bReadString(clRemplisseur, eMode, nCodePage);
}

bool COVBuffer::bReadString(CXYString<wchar_t>& clTexte, EModeTString eMode, unsigned int nCodePage) noexcept {
    CRemplitXYString clRemplisseur(clTexte);
    return bReadString(clRemplisseur, eMode, nCodePage);
}

bool COVBuffer::bReadString(CXYString<char>& clTexte) noexcept {
    const char* pszTexte = nullptr;
    unsigned long nLongueur = 0, nTaille = 0;
    bool bUtf8 = false;
    if (!__bLocaliseString(m_eModeTString, &pszTexte, &nLongueur, &nTaille, &bUtf8)) return false;
    if (nLongueur > static_cast<unsigned long>(INT32_MAX) || clTexte.nAffecte(pszTexte, static_cast<int>(nLongueur)) != 0)
        return false;
    m_nCurseur += nTaille;
    return true;
}

const char* COVBuffer::pszGetStringOldAnsi() noexcept {
    if (m_bCode && !__UncodeBuffer()) return nullptr;
    if (m_nCurseur >= m_nTailleUtilisee) return nullptr;
    const char* pszTexte = reinterpret_cast<const char*>(m_pbyDonnees + m_nCurseur);
    const size_t nLongueur = strnlen(pszTexte, m_nTailleUtilisee - m_nCurseur);
    if (nLongueur == m_nTailleUtilisee - m_nCurseur) return nullptr;
    m_nCurseur += nLongueur + 1;
    return pszTexte;
}

int COVBuffer::nReadStringOldAnsi(char* pszTexte, int nPlace) noexcept {
    const unsigned long nDebut = m_nCurseur;
    const char* psz = pszGetStringOldAnsi();
    if (psz == nullptr) return -1;
    const size_t nLongueur = std::strlen(psz);
    if (pszTexte == nullptr || nPlace <= 0 || nLongueur >= static_cast<size_t>(nPlace)) {
        m_nCurseur = nDebut;
        return -1;
    }
    std::memcpy(pszTexte, psz, nLongueur + 1);
    return static_cast<int>(nLongueur);
}

bool COVBuffer::xReadStringOldAnsi(CXYString<char>& clTexte) noexcept {
    const unsigned long nDebut = m_nCurseur;
    const char* psz = pszGetStringOldAnsi();
    if (psz == nullptr) return false;
    if (clTexte.nAffecte(psz, static_cast<int>(std::strlen(psz))) != 0) {
        m_nCurseur = nDebut;
        return false;
    }
    return true;
}

bool COVBuffer::bSeekString(EModeTString eMode) noexcept {
    const char* pszTexte = nullptr;
    unsigned long nLongueur = 0, nTaille = 0;
    bool bUtf8 = false;
    if (!__bLocaliseString(eMode, &pszTexte, &nLongueur, &nTaille, &bUtf8)) return false;
    m_nCurseur += nTaille;
    return true;
}

COVBuffer& COVBuffer::operator>>(CTString& clTexte) noexcept {
    bReadString(clTexte, m_eModeTString);
    return *this;
}

// ================================================================ coding

bool COVBuffer::__bDecodeAvantChangement(bool bDejaCode) noexcept { return bDejaCode || bDecode(); }

bool COVBuffer::SetPackMethod(int ePack) noexcept {
    if (ePack < eBUFFER_PACK_AUCUN || ePack > eBUFFER_PACK_TEXTE) return false;
    m_ePack = ePack;
    return true;
}

bool COVBuffer::ChangePackMethod(int ePack, bool bDejaCode) noexcept {
    if (ePack < eBUFFER_PACK_AUCUN || ePack > eBUFFER_PACK_TEXTE || !__bDecodeAvantChangement(bDejaCode)) return false;
    m_ePack = ePack;
    if (bDejaCode) {
        m_bPacke = ePack != eBUFFER_PACK_AUCUN;
        m_bCode = m_bPacke || m_bCrypte;
    }
    return true;
}

bool COVBuffer::SetCryptMethod(int eCrypt) noexcept {
    if (eCrypt == eBUFFER_CRYPT_AUCUN) {
        m_eCrypt = eCrypt;
        __vFreeCryptObject();
        return true;
    }
    if (eCrypt != eBUFFER_CRYPT_HOMEMADE) return false;
    const bool bNouveau = m_pclCrypt == nullptr;
    m_eCrypt = eCrypt;
    // A method chosen without a password yet gets the built-in one until a password comes.
    return bNouveau ? __InitCrypt(nullptr, nullptr, nullptr) : true;
}

bool COVBuffer::ChangeCryptMethod(int eCrypt, bool bDejaCode) noexcept {
    if ((eCrypt != eBUFFER_CRYPT_AUCUN && eCrypt != eBUFFER_CRYPT_HOMEMADE) || !__bDecodeAvantChangement(bDejaCode))
        return false;
    if (!SetCryptMethod(eCrypt)) return false;
    if (bDejaCode) {
        m_bCrypte = eCrypt != eBUFFER_CRYPT_AUCUN;
        m_bCode = m_bPacke || m_bCrypte;
    }
    return true;
}

bool COVBuffer::SetPassword(const wchar_t* pszMotDePasse) noexcept {
    if (m_eCrypt == eBUFFER_CRYPT_AUCUN) return false;
    return __InitCrypt(pszMotDePasse != nullptr ? pszMotDePasse : L"", nullptr, nullptr);
}

bool COVBuffer::ChangePassword(const wchar_t* pszMotDePasse, bool bDejaCode) noexcept {
    return __bDecodeAvantChangement(bDejaCode) && SetPassword(pszMotDePasse);
}

bool COVBuffer::SetPasswordAnsi(const char* pszMotDePasse) noexcept {
    if (m_eCrypt == eBUFFER_CRYPT_AUCUN) return false;
    return __InitCrypt(nullptr, pszMotDePasse != nullptr ? pszMotDePasse : "", nullptr);
}

bool COVBuffer::SetCryptKey(const unsigned char* pbyCle16) noexcept {
    if (m_eCrypt == eBUFFER_CRYPT_AUCUN || pbyCle16 == nullptr) return false;
    return __InitCrypt(nullptr, nullptr, pbyCle16);
}

bool COVBuffer::ChangeCryptKey(const unsigned char* pbyCle16, bool bDejaCode) noexcept {
    return __bDecodeAvantChangement(bDejaCode) && SetCryptKey(pbyCle16);
}

bool COVBuffer::ChangeFirstCodedByte(unsigned long nOffset, bool bDejaCode) noexcept {
    if (!__bDecodeAvantChangement(bDejaCode)) return false;
    m_nPremierOctetCode = nOffset;
    return true;
}

bool COVBuffer::__InitCrypt(const wchar_t* pszMotDePasse, const char* pszMotDePasseAnsi,
                            const unsigned char* pbyCle) noexcept {
    if (m_eCrypt != eBUFFER_CRYPT_HOMEMADE) {
        __vFreeCryptObject();
        return true;
    }
    if (!__vAllocCryptObject()) return false;
    if (pszMotDePasse != nullptr)
        m_pclCrypt->BuildCryptKey(&m_tabCle, pszMotDePasse);
    else if (pszMotDePasseAnsi != nullptr)
        m_pclCrypt->BuildCryptKeyAnsi(&m_tabCle, pszMotDePasseAnsi);
    else if (pbyCle == nullptr)
        m_pclCrypt->BuildCryptKey(&m_tabCle, kMotDePasseInterne);
    if (pbyCle != nullptr) std::memcpy(m_tabCle, pbyCle, kTailleCle);
    return true;
}

void COVBuffer::__Crypt() noexcept {
    if (m_pclCrypt != nullptr && m_nTailleUtilisee > m_nPremierOctetCode)
        m_pclCrypt->Crypt(m_pbyDonnees + m_nPremierOctetCode, m_nTailleUtilisee - m_nPremierOctetCode, &m_tabCle);
}

void COVBuffer::__Uncrypt() noexcept {
    if (m_pclCrypt != nullptr && m_nTailleUtilisee > m_nPremierOctetCode)
        m_pclCrypt->Uncrypt(m_pbyDonnees + m_nPremierOctetCode, m_nTailleUtilisee - m_nPremierOctetCode, &m_tabCle);
}

// The region goes to the packer with its own 32-bit length in front for the text packer (method
// 2), which takes its input in that shape, and as it is for the LZW coder. Either way the packed
// region is exactly the compressor's output: no length of ours stands in front of it in the
// buffer, since the LZW block's header carries both sizes and the text packer's output brings the
// length back.
bool COVBuffer::__Pack() noexcept {
    if (m_nTailleUtilisee <= m_nPremierOctetCode) return true;
    const unsigned long nRegion = m_nTailleUtilisee - m_nPremierOctetCode;
    try {
        std::vector<uint8_t> tabRegion;
        const size_t nPrefixe = m_ePack == eBUFFER_PACK_TEXTE ? 4 : 0;
        tabRegion.resize(nPrefixe + nRegion);
        if (nPrefixe != 0) {
            const auto dwLongueur = static_cast<uint32_t>(nRegion);
            std::memcpy(tabRegion.data(), &dwLongueur, 4);
        }
        std::memcpy(tabRegion.data() + nPrefixe, m_pbyDonnees + m_nPremierOctetCode, nRegion);
        if (!ovcompresse::bPackeRegion(&tabRegion, 0, m_ePack)) return false;
        if (!__bResizeBuffer(m_nPremierOctetCode + tabRegion.size())) return false;
        std::memcpy(m_pbyDonnees + m_nPremierOctetCode, tabRegion.data(), tabRegion.size());
        return true;
    } catch (...) {
        return false;
    }
}

bool COVBuffer::__Unpack() noexcept {
    if (m_nTailleUtilisee <= m_nPremierOctetCode) return true;
    const unsigned long nRegion = m_nTailleUtilisee - m_nPremierOctetCode;
    try {
        std::vector<uint8_t> tabRegion(m_pbyDonnees + m_nPremierOctetCode, m_pbyDonnees + m_nPremierOctetCode + nRegion);
        if (!ovcompresse::bDepackeRegion(&tabRegion, 0, m_ePack)) return false;
        size_t nPrefixe = 0;
        if (m_ePack == eBUFFER_PACK_TEXTE) {
            if (tabRegion.size() < 4 || dwLit32(tabRegion.data()) != tabRegion.size() - 4) return false;
            nPrefixe = 4;
        }
        const size_t nClair = tabRegion.size() - nPrefixe;
        if (nClair > kdwTailleMax - m_nPremierOctetCode) return false;
        const unsigned long nCurseur = m_nCurseur;
        if (!__bResizeBuffer(m_nPremierOctetCode + nClair)) return false;
        if (nClair != 0) std::memcpy(m_pbyDonnees + m_nPremierOctetCode, tabRegion.data() + nPrefixe, nClair);
        m_nCurseur = nCurseur <= m_nTailleUtilisee ? nCurseur : 0;
        return true;
    } catch (...) {
        return false;
    }
}

bool COVBuffer::__CodeBuffer() noexcept {
    if (m_bCode) return true;
    const bool bPacker = m_ePack != eBUFFER_PACK_AUCUN;
    const bool bChiffrer = m_eCrypt != eBUFFER_CRYPT_AUCUN;
    if (!bPacker && !bChiffrer) return true;
    if (bChiffrer && m_pclCrypt == nullptr && !__InitCrypt(nullptr, nullptr, nullptr)) return false;
    if (bPacker && !__Pack()) return false;
    if (bChiffrer) __Crypt();
    m_bPacke = bPacker;
    m_bCrypte = bChiffrer;
    m_bCode = true;
    return true;
}

bool COVBuffer::__UncodeBuffer() noexcept {
    if (!m_bCode) return true;
    if (m_bCrypte) {
        if (m_pclCrypt == nullptr && !__InitCrypt(nullptr, nullptr, nullptr)) return false;
        __Uncrypt();
    }
    if (m_bPacke && !__Unpack()) {
        // Put the region back as it came, so that a second attempt (another password) starts over.
        if (m_bCrypte) __Crypt();
        return false;
    }
    m_bCode = m_bPacke = m_bCrypte = false;
    return true;
}

bool COVBuffer::ForceCode() noexcept {
    if (!__CodeBuffer()) return false;
    m_nCurseur = 0;
    return true;
}

bool COVBuffer::bDecode() noexcept { return __UncodeBuffer(); }

// ================================================================ files

bool COVBuffer::bToFile(IXStream* piFlux, unsigned long* pnEcrit) noexcept {
    if (pnEcrit != nullptr) *pnEcrit = 0;
    if (piFlux == nullptr || !__CodeBuffer()) return false;
    unsigned int nEcrit = 0;
    const bool bOk = m_nTailleUtilisee == 0 ||
                     (piFlux->bWrite(m_pbyDonnees, static_cast<unsigned int>(m_nTailleUtilisee), &nEcrit) && nEcrit == m_nTailleUtilisee);
    if (pnEcrit != nullptr) *pnEcrit = nEcrit;
    return bOk;
}

bool COVBuffer::bToFile(CXFile* pclFichier, unsigned long* pnEcrit) noexcept {
    if (pnEcrit != nullptr) *pnEcrit = 0;
    if (pclFichier == nullptr || !__CodeBuffer()) return false;
    unsigned int nEcrit = 0;
    const bool bOk = m_nTailleUtilisee == 0 ||
                     (pclFichier->bWrite(m_pbyDonnees, static_cast<unsigned int>(m_nTailleUtilisee), &nEcrit) &&
                      nEcrit == m_nTailleUtilisee);
    if (pnEcrit != nullptr) *pnEcrit = nEcrit;
    return bOk;
}

bool COVBuffer::bToFile(CXFile* pclFichier, long oOffset, unsigned long* pnEcrit) noexcept {
    if (pnEcrit != nullptr) *pnEcrit = 0;
    if (pclFichier == nullptr || !__CodeBuffer()) return false;
    unsigned int nEcrit = 0;
    const bool bOk = m_nTailleUtilisee == 0 ||
                     (pclFichier->bWrite(oOffset, m_pbyDonnees, static_cast<unsigned int>(m_nTailleUtilisee), &nEcrit) &&
                      nEcrit == m_nTailleUtilisee);
    if (pnEcrit != nullptr) *pnEcrit = nEcrit;
    return bOk;
}

namespace {
// Reads up to nTaille bytes with fnLit into a fresh malloc block that becomes the buffer's content,
// coded or clear; the count read in *pnLu.
template <typename TLecture>
bool bLitDans(COVBuffer* pclBuffer, unsigned long nTaille, bool bCode, unsigned long* pnLu, TLecture fnLit) noexcept {
    if (pnLu != nullptr) *pnLu = 0;
    if (nTaille > COVBuffer::kdwTailleMax) return false;
    void* pBloc = nullptr;
    if (nTaille != 0 && (pBloc = std::malloc(nTaille)) == nullptr) return false;
    unsigned int nLu = 0;
    const bool bOk = nTaille == 0 || fnLit(pBloc, static_cast<unsigned int>(nTaille), &nLu);
    if (nLu > nTaille) nLu = 0;
    pclBuffer->GiveOwnershipMemory(pBloc, nTaille);
    // Cutting to the count read never zeroes what was read.
    if (bCode)
        pclBuffer->SetCodedSize(nLu);
    else
        pclBuffer->SetSize(nLu);
    if (pnLu != nullptr) *pnLu = nLu;
    return bOk && nLu == nTaille;
}
}  // namespace

bool COVBuffer::bSetFromFile(IXStream* piFlux, unsigned long nTaille, unsigned long* pnLu) noexcept {
    if (piFlux == nullptr) return false;
    return bLitDans(this, nTaille, true, pnLu,
                    [piFlux](void* p, unsigned int n, unsigned int* pnLu) { return piFlux->bRead(p, n, pnLu) != 0; });
}

bool COVBuffer::bSetFromFile(CXFile* pclFichier, unsigned long nTaille, unsigned long* pnLu) noexcept {
    if (pclFichier == nullptr) return false;
    return bLitDans(this, nTaille, true, pnLu, [pclFichier](void* p, unsigned int n, unsigned int* pnLu) {
        return pclFichier->bRead(p, n, pnLu) != 0;
    });
}

bool COVBuffer::bSetFromFile(CXFile* pclFichier, unsigned long nTaille, long oOffset, unsigned long* pnLu) noexcept {
    if (pclFichier == nullptr) return false;
    return bLitDans(this, nTaille, true, pnLu, [pclFichier, oOffset](void* p, unsigned int n, unsigned int* pnLu) {
        return pclFichier->bRead(oOffset, p, n, pnLu) != 0;
    });
}

bool COVBuffer::bSetAllFromFile(CXFile* pclFichier, unsigned long* pnLu) noexcept {
    if (pnLu != nullptr) *pnLu = 0;
    if (pclFichier == nullptr) return false;
    const long oTaille = pclFichier->oGetSize();
    if (oTaille < 0 || static_cast<unsigned long>(oTaille) > kdwTailleMax) return false;
    return bSetFromFile(pclFichier, static_cast<unsigned long>(oTaille), 0L, pnLu);
}

bool COVBuffer::bSetFromUncodedFile(CXFile* pclFichier, unsigned long nTaille, unsigned long* pnLu) noexcept {
    if (pclFichier == nullptr) return false;
    return bLitDans(this, nTaille, false, pnLu, [pclFichier](void* p, unsigned int n, unsigned int* pnLu) {
        return pclFichier->bRead(p, n, pnLu) != 0;
    });
}

// ================================================================ dates

COVBuffer& operator<<(COVBuffer& clBuffer, const CDateTimeBase& clDate) noexcept {
    const uint32_t tabMots[2] = {clDate.dwGetDate(), clDate.dwGetMillisecondes()};
    clBuffer.Set(tabMots, sizeof tabMots);
    return clBuffer;
}

COVBuffer& operator>>(COVBuffer& clBuffer, CDateTimeBase& clDate) noexcept {
    uint32_t tabMots[2];
    if (clBuffer.Get(tabMots, sizeof tabMots)) clDate.SetMots(tabMots[0], tabMots[1]);
    return clBuffer;
}

// ================================================================ sized blocks

CSimpleBuffer::~CSimpleBuffer() { std::free(m_pbyDonnees); }

void CSimpleBuffer::SetSize(unsigned long nTaille) noexcept {
    if (nTaille == 0) {
        std::free(m_pbyDonnees);
        m_pbyDonnees = nullptr;
        m_nTaille = 0;
        return;
    }
    auto* pby = static_cast<uint8_t*>(std::realloc(m_pbyDonnees, nTaille));
    if (pby == nullptr) {
        std::free(m_pbyDonnees);
        m_pbyDonnees = nullptr;
        m_nTaille = 0;
        return;
    }
    m_pbyDonnees = pby;
    m_nTaille = nTaille;
}

CSimpleBufferConveyor::~CSimpleBufferConveyor() { m_pbyDonnees = nullptr; }

void CSimpleBufferConveyor::SetSize(unsigned long nTaille) noexcept {
    if (m_pbyVue != nullptr && nTaille <= m_nCapacite) {
        m_pbyDonnees = m_pbyVue;
        m_nTaille = nTaille;
    } else {
        m_pbyDonnees = nullptr;
        m_nTaille = 0;
    }
}

COVBuffer& operator<<(COVBuffer& clBuffer, const CSimpleConstBufferBase& clBloc) noexcept {
    const auto dwTaille = static_cast<uint32_t>(clBloc.nGetSize());
    const unsigned long nDebut = clBuffer.dwGetPosition();
    if (!(clBuffer.Set(&dwTaille, 4) && clBuffer.Set(clBloc.pbyGet(), dwTaille))) clBuffer.SeekNoResize(static_cast<long>(nDebut));
    return clBuffer;
}

COVBuffer& operator>>(COVBuffer& clBuffer, CSimpleBuffer& clBloc) noexcept {
    const unsigned long nDebut = clBuffer.m_nCurseur;
    uint32_t dwTaille = 0;
    if (!clBuffer.Get(&dwTaille, 4)) {
        clBuffer.m_nCurseur = nDebut;
        clBloc.SetSize(0);
        return clBuffer;
    }
    if (!clBuffer.__bAccede(clBuffer.m_nCurseur, dwTaille) || dwTaille > clBuffer.m_nTailleUtilisee - clBuffer.m_nCurseur) {
        clBuffer.m_nCurseur = nDebut;
        clBloc.SetSize(0);
        return clBuffer;
    }
    clBloc.SetSize(dwTaille);
    if (clBloc.pbyGet() != nullptr && dwTaille != 0) std::memcpy(clBloc.pbyGet(), clBuffer.m_pbyDonnees + clBuffer.m_nCurseur, dwTaille);
    clBuffer.m_nCurseur += dwTaille;
    return clBuffer;
}

// ================================================================ wide text builder

CBufferStream::CBufferStream(int nPas, int nInitial) noexcept : m_nPas(nPas > 0 ? nPas : 1024) {
    if (nInitial > 0) _bAgrandit(static_cast<size_t>(nInitial));
}

CBufferStream::~CBufferStream() { std::free(m_pszDebut); }

// Grows by the step, or geometrically once the text is large. Unlike a rebuild that puts the
// write pointer one place back, the text written so far is kept whole.
bool CBufferStream::_bAgrandit(size_t nMinimum) noexcept {
    size_t nCapacite = m_nCapacite + static_cast<size_t>(m_nPas);
    if (nCapacite < m_nCapacite + m_nCapacite / 2) nCapacite = m_nCapacite + m_nCapacite / 2;
    if (nCapacite < nMinimum) nCapacite = nMinimum;
    if (nCapacite > static_cast<size_t>(INT32_MAX) - 1) return false;
    const size_t nLongueur = static_cast<size_t>(m_pszEcriture - m_pszDebut);
    auto* psz = static_cast<wchar_t*>(std::realloc(m_pszDebut, (nCapacite + 1) * sizeof(wchar_t)));
    if (psz == nullptr) return false;
    m_pszDebut = psz;
    m_pszEcriture = psz + nLongueur;
    m_nCapacite = nCapacite;
    m_pszFin = psz + nCapacite;
    *m_pszEcriture = 0;
    return true;
}

bool CBufferStream::Add(const wchar_t* pszTexte, int nCaracteres) noexcept {
    if (pszTexte == nullptr) return true;
    const size_t n = nCaracteres < 0 ? std::wcslen(pszTexte) : static_cast<size_t>(nCaracteres);
    if (n == 0) return true;
    // A piece of the text itself, appended again, must be found after the reallocation.
    const long nInterne = nOffsetInterne(pszTexte, reinterpret_cast<const uint8_t*>(m_pszDebut),
                                         static_cast<unsigned long>(m_nCapacite * sizeof(wchar_t)));
    if (static_cast<size_t>(m_pszFin - m_pszEcriture) < n &&
        !_bAgrandit(static_cast<size_t>(m_pszEcriture - m_pszDebut) + n))
        return false;
    if (nInterne >= 0) pszTexte = m_pszDebut + nInterne / static_cast<long>(sizeof(wchar_t));
    std::wmemmove(m_pszEcriture, pszTexte, n);
    m_pszEcriture += n;
    *m_pszEcriture = 0;
    return true;
}

void CBufferStream::Vide() noexcept {
    m_pszEcriture = m_pszDebut;
    if (m_pszEcriture != nullptr) *m_pszEcriture = 0;
}

wchar_t* CBufferStream::pszDetache() noexcept {
    wchar_t* psz = m_pszEcriture != m_pszDebut ? m_pszDebut : nullptr;
    if (psz == nullptr) std::free(m_pszDebut);
    m_pszDebut = m_pszEcriture = m_pszFin = nullptr;
    m_nCapacite = 0;
    return psz;
}
