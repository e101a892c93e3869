// The crypt functions of the language: strings, buffers and files through the ciphers, with the
// block compressors before them and the text encoders after them, and the way back.
#include "crypt/crypt_functions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "base/code_pages.h"
#include "component/thunk.h"
#include "compress/block_compressors.h"
#include "crypt/ciphers.h"
#include "crypt/encoders.h"
#include "files/disk_file.h"

namespace ovcrypte {

namespace {

constexpr int kMethodeMax = eCRYPT_RC5_16;
constexpr int kEncodageMax = 4;
// Counted values stay below this many bytes.
constexpr size_t kTailleMaxValeur = 0x7FFFFF00;

struct CLibereCrypt {
    void operator()(CCrypt* pcl) const noexcept { pcl->dwRelease(); }
};
using TCrypt = std::unique_ptr<CCrypt, CLibereCrypt>;

}  // namespace

STOption stLitOption(uint32_t dwOption) noexcept {
    const uint32_t dwSansAnsi = dwOption & ~kdwOptionAnsi;
    return {GetCryptMethod(dwSansAnsi), GetCompressMethod(dwSansAnsi), (dwOption & kdwOptionAnsi) != 0};
}

int nVerifieOption(const STOption& stOption, int nEncodage) noexcept {
    if (stOption.nMethode < 0 || stOption.nMethode > kMethodeMax) return eMETHODE_INVALIDE;
    if (stOption.nCompression < 0 || stOption.nCompression > ovcompresse::kMethodeMax) return eCOMPRESSION_INVALIDE;
    if (nEncodage < 0 || nEncodage > kEncodageMax) return eENCODAGE_INVALIDE;
    return eOK;
}

int nChiffre(uint8_t* pby, size_t nTaille, const wchar_t* pszMotDePasse, int nMethode, bool bChiffre) noexcept {
    if (nMethode < 1 || nMethode > kMethodeMax) return eMETHODE_INVALIDE;
    if (pszMotDePasse == nullptr || pszMotDePasse[0] == 0 || nTaille == 0) return eOK;
    if (pby == nullptr || nTaille > ULONG_MAX) return eMEMOIRE;
    const TCrypt pclCrypt(pclCreeCrypt(nMethode));
    if (!pclCrypt) return eMEMOIRE;
    if (!pclCrypt->bSetPassword(pszMotDePasse)) return eMOT_DE_PASSE_REFUSE;
    if (bChiffre) pclCrypt->Crypt(pby, static_cast<unsigned long>(nTaille), nullptr);
    else pclCrypt->Uncrypt(pby, static_cast<unsigned long>(nTaille), nullptr);
    return eOK;
}

int nCrypte(std::vector<uint8_t>* ptab, const wchar_t* pszMotDePasse, const STOption& stOption) noexcept {
    if (const int n = nVerifieOption(stOption, 0); n != eOK) return n;
    if (stOption.nCompression != 0) {
        std::vector<uint8_t> tabPacke;
        const int n = ovcompresse::_ChaineCompresseA(&tabPacke, ptab->data(), ptab->size(), stOption.nCompression);
        if (n != ovcompresse::eOK) return n == ovcompresse::eMETHODE_INVALIDE ? eCOMPRESSION_INVALIDE : eMEMOIRE;
        ptab->swap(tabPacke);
    }
    if (stOption.nMethode == 0) return eOK;
    return nChiffre(ptab->data(), ptab->size(), pszMotDePasse, stOption.nMethode, true);
}

int nDecrypte(std::vector<uint8_t>* ptab, const wchar_t* pszMotDePasse, const STOption& stOption) noexcept {
    if (const int n = nVerifieOption(stOption, 0); n != eOK) return n;
    if (stOption.nMethode != 0) {
        if (const int n = nChiffre(ptab->data(), ptab->size(), pszMotDePasse, stOption.nMethode, false); n != eOK)
            return n;
    }
    if (stOption.nCompression == 0) return eOK;
    std::vector<uint8_t> tabClair;
    switch (ovcompresse::_ChaineDecompresse(&tabClair, ptab->data(), ptab->size(), stOption.nCompression)) {
        case ovcompresse::eOK: break;
        case ovcompresse::eMETHODE_INVALIDE: return eCOMPRESSION_INVALIDE;
        case ovcompresse::eDONNEES_ENDOMMAGEES: return eDONNEES_ENDOMMAGEES;
        default: return eMEMOIRE;
    }
    ptab->swap(tabClair);
    return eOK;
}

int nEncode(const std::vector<uint8_t>& tab, int nEncodage, CXYString<wchar_t>* pclTexte) noexcept {
    const std::unique_ptr<CEncodeBase> pclEncodeur(pclGetEncodeur(nEncodage));
    if (!pclEncodeur) return nEncodage < 1 || nEncodage > kEncodageMax ? eENCODAGE_INVALIDE : eMEMOIRE;
    if (tab.size() > kTailleMaxValeur / 2) return eMEMOIRE;
    // Encoded straight into the value handed back: the text is near six times the bytes, and a
    // second copy of it would cost more than the encoding.
    const unsigned long nLongueur = pclEncodeur->nLongueurEncodee(tab.size(), kGroupesParLigneDefaut);
    if (nLongueur > kTailleMaxValeur / sizeof(wchar_t)) return eMEMOIRE;
    CXYString<wchar_t> cl;
    if (nLongueur > 0) {
        wchar_t* psz = cl.pszGetBuffer(static_cast<int>(nLongueur));
        if (psz == nullptr) return eMEMOIRE;
        const long n = pclEncodeur->nEncodeW(tab.data(), tab.size(), kGroupesParLigneDefaut, psz);
        if (n < 0 || static_cast<unsigned long>(n) > nLongueur) return eMEMOIRE;
        cl.nTronque(static_cast<int>(n));
    }
    *pclTexte = std::move(cl);
    return eOK;
}

int nDecode(const wchar_t* pszTexte, int nEncodage, std::vector<uint8_t>* ptab) noexcept {
    const std::unique_ptr<CEncodeBase> pclEncodeur(pclGetEncodeur(nEncodage));
    if (!pclEncodeur) return nEncodage < 1 || nEncodage > kEncodageMax ? eENCODAGE_INVALIDE : eMEMOIRE;
    try {
        unsigned char* pby = nullptr;
        const long n = pclEncodeur->nDecodeEtAlloue(pszTexte != nullptr ? pszTexte : L"", pby);
        const std::unique_ptr<unsigned char[]> pbyLibere(pby);
        if (n < 0) return eTEXTE_NON_DECODABLE;
        if (n > 0 && pby == nullptr) return eMEMOIRE;
        ptab->assign(pby, pby + n);
        return eOK;
    } catch (...) {
        return eMEMOIRE;
    }
}

int nVers1252(const wchar_t* psz, size_t nCaracteres, std::vector<uint8_t>* ptab) noexcept {
    try {
        ptab->resize(nCaracteres);
        for (size_t i = 0; i < nCaracteres; ++i) {
            const int n = STR_ToCP1252(psz[i]);
            if (n < 0) return eTEXTE_NON_CONVERTIBLE;
            (*ptab)[i] = static_cast<uint8_t>(n);
        }
        return eOK;
    } catch (...) {
        return eMEMOIRE;
    }
}

EForme eFormeResultat(const std::vector<uint8_t>& tab, bool bAnsi) noexcept {
    if (bAnsi && (tab.empty() || std::memchr(tab.data(), 0, tab.size()) == nullptr)) return EForme::Texte1252;
    if (tab.size() % sizeof(wchar_t) != 0) return EForme::Binaire;
    for (size_t i = 0; i < tab.size(); i += sizeof(wchar_t)) {
        uint32_t dw;
        std::memcpy(&dw, tab.data() + i, sizeof dw);
        if (dw == 0 || dw > 0x10FFFF || (dw >= 0xD800 && dw <= 0xDFFF)) return EForme::Binaire;
    }
    return EForme::TexteLarge;
}

}  // namespace ovcrypte

using namespace ovcrypte;

// ================================================================ buffers

namespace {

CZKBIN clBufferChiffre(const CZKBIN& clBuffer, const wchar_t* pszMotDePasse, int nMethode, int nTaille, bool bChiffre) {
    if (nMethode < 1 || nMethode > eCRYPT_RC5_16) return CZKBIN();
    const int nLongueur = clBuffer.nGetTaille();
    if (nLongueur == 0) return CZKBIN();
    // A private copy: the caller's block may be shared with other values.
    CZKBIN clCopie(clBuffer.pbyGet(), nLongueur);
    if (clCopie.bEstNull()) return CZKBIN();
    const int nPortee = nTaille >= 1 && nTaille < nLongueur ? nTaille : nLongueur;
    if (nChiffre(const_cast<uint8_t*>(clCopie.pbyGet()), static_cast<size_t>(nPortee), pszMotDePasse, nMethode,
                 bChiffre) != eOK)
        return CZKBIN();
    return clCopie;
}

}  // namespace

CZKBIN clBufferCrypte(const CZKBIN& clBuffer, const wchar_t* pszMotDePasse, int nMethode) {
    return clBufferChiffre(clBuffer, pszMotDePasse, nMethode, 0, true);
}

CZKBIN clBufferDecrypte(const CZKBIN& clBuffer, const wchar_t* pszMotDePasse, int nMethode, int nTaille) {
    return clBufferChiffre(clBuffer, pszMotDePasse, nMethode, nTaille, false);
}

// ================================================================ language functions: strings

namespace {

// The numbered error of a stage's answer; false for anything but eOK.
bool bRapporte(CComposanteStandard* pclThis, int nResultat) {
    int nNumero = 0;
    switch (nResultat) {
        case eOK: return true;
        case eMETHODE_INVALIDE: nNumero = 80280; break;
        case eMOT_DE_PASSE_REFUSE: nNumero = 80281; break;
        case eCOMPRESSION_INVALIDE: nNumero = 80550; break;
        case eENCODAGE_INVALIDE: nNumero = 81840; break;
        case eTEXTE_NON_CONVERTIBLE: nNumero = 80216; break;
        case eTEXTE_NON_DECODABLE: nNumero = 81808; break;
        case eDONNEES_ENDOMMAGEES: nNumero = 80700; break;
        default: pclThis->pclGetError()->SetErrorNoMemory(); return false;
    }
    pclThis->RaiseError(&gstMyModuleInfo8, nNumero);
    if (nResultat == eDONNEES_ENDOMMAGEES)
        pclThis->pclGetError()->AddDebugMessageNoFormat(
            L"##(CComposanteStandard)-The deciphered value is no compressed block: another password or option word##");
    return false;
}

bool bModeAnsi(const CComposanteStandard* pclThis) {
    IVM* piVM = pclThis->piGetVM();
    const int nMode = piVM != nullptr ? piVM->nModeChaine() : 0;
    return nMode == 1 || nMode == 2;
}

// The characters of a wide string, enciphered or deciphered in their memory order, four bytes
// each. nTaille bytes only when it lies between 1 and the string's size.
CXYString<wchar_t> clChaineChiffre(CComposanteStandard* pclThis, const wchar_t* pszTexte, const wchar_t* pszMotDePasse,
                                   int nMethode, int nTaille, bool bChiffre) {
    const size_t nCaracteres = pszTexte != nullptr ? std::wcslen(pszTexte) : 0;
    if (pszMotDePasse == nullptr || pszMotDePasse[0] == 0)
        return CXYString<wchar_t>(pszTexte != nullptr ? pszTexte : L"", static_cast<int>(nCaracteres));
    if (nMethode < 1 || nMethode > eCRYPT_RC5_16) {
        bRapporte(pclThis, eMETHODE_INVALIDE);
        return CXYString<wchar_t>();
    }
    if (nCaracteres == 0) return CXYString<wchar_t>();
    if (nCaracteres > kTailleMaxValeur / sizeof(wchar_t)) {
        bRapporte(pclThis, eMEMOIRE);
        return CXYString<wchar_t>();
    }
    std::vector<uint8_t> tab(reinterpret_cast<const uint8_t*>(pszTexte),
                             reinterpret_cast<const uint8_t*>(pszTexte + nCaracteres));
    const size_t nPortee = nTaille >= 1 && static_cast<size_t>(nTaille) < tab.size() ? static_cast<size_t>(nTaille)
                                                                                      : tab.size();
    if (!bRapporte(pclThis, nChiffre(tab.data(), nPortee, pszMotDePasse, nMethode, bChiffre)))
        return CXYString<wchar_t>();
    // Cipher words, not characters: zeros included, the result is kept by its length.
    CXYString<wchar_t> cl(reinterpret_cast<const wchar_t*>(tab.data()), static_cast<int>(nCaracteres));
    if (cl.bEstNull()) bRapporte(pclThis, eMEMOIRE);
    return cl;
}

// The bytes a value stands for before it is compressed and enciphered. Buffers as they are. Text
// under the ANSI request as code page 1252; 8-bit text is this machine's (UTF-8) and goes through
// its characters. Other text as its wide characters, four bytes each.
int nOctetsDeValeur(const STManipAUB* pstValeur, bool bAnsi, std::vector<uint8_t>* ptab) {
    if (pstValeur == nullptr || !(pstValeur->bEstTexte() || pstValeur->nType == STManipAUB::TYPE_BINAIRE)) {
        ptab->clear();
        return eOK;
    }
    int nTaille = 0;
    if (pstValeur->nType == STManipAUB::TYPE_BINAIRE) {
        const uint8_t* pby = pstValeur->pbyGetContenuUtile(&nTaille);
        ptab->assign(pby, pby + nTaille);
        return eOK;
    }
    CXYString<wchar_t> clTampon;
    const wchar_t* psz;
    size_t nCaracteres;
    if (pstValeur->nType == STManipAUB::TYPE_UNICODE) {
        psz = reinterpret_cast<const wchar_t*>(pstValeur->pbyGetContenuUtile(&nTaille));
        nCaracteres = static_cast<size_t>(nTaille) / sizeof(wchar_t);
    } else {
        int nErreur = 0;
        psz = pstValeur->pszGetStringW(&clTampon, XYS_CP_UTF8, &nErreur);
        if (nErreur != 0) return eTEXTE_NON_CONVERTIBLE;
        nCaracteres = std::wcslen(psz);
    }
    if (bAnsi) return nVers1252(psz, nCaracteres, ptab);
    const auto* pby = reinterpret_cast<const uint8_t*>(psz);
    ptab->assign(pby, pby + nCaracteres * sizeof(wchar_t));
    return eOK;
}

// The bytes of an enciphered value as it comes back to be deciphered: with an encoding, the text
// decoded; without, the bytes of a buffer or of 8-bit text as they are, or the memory of wide text.
int nOctetsChiffres(const STManipAUB* pstValeur, int nEncodage, std::vector<uint8_t>* ptab) {
    ptab->clear();
    if (pstValeur == nullptr || !(pstValeur->bEstTexte() || pstValeur->nType == STManipAUB::TYPE_BINAIRE)) return eOK;
    if (nEncodage != 0) {
        CXYString<wchar_t> clTampon;
        int nErreur = 0;
        const wchar_t* psz = pstValeur->pszGetStringW(&clTampon, XYS_CP_UTF8, &nErreur);
        if (nErreur != 0) return eTEXTE_NON_DECODABLE;
        return nDecode(psz, nEncodage, ptab);
    }
    int nTaille = 0;
    const uint8_t* pby = pstValeur->pbyGetContenuUtile(&nTaille);
    ptab->assign(pby, pby + nTaille);
    return eOK;
}

void PousseOctets(CComposanteStandard* pclThis, STZKAppel* pstAppel, const std::vector<uint8_t>& tab) {
    const CZKBIN cl(tab.data(), static_cast<int>(tab.size()));
    if (cl.bEstNull() && !tab.empty()) {
        bRapporte(pclThis, eMEMOIRE);
        return ovthunk::PousseEchec(pstAppel);
    }
    ovthunk::PousseBinaire(pstAppel, cl);
}

}  // namespace

CXYString<wchar_t> CComposanteStandard::ChaineCrypte(const wchar_t* pszTexte, const wchar_t* pszMotDePasse, int nMethode,
                                                    int nTaille) {
    return clChaineChiffre(this, pszTexte, pszMotDePasse, nMethode, nTaille, true);
}

CXYString<wchar_t> CComposanteStandard::ChaineDecrypte(const wchar_t* pszTexte, const wchar_t* pszMotDePasse,
                                                      int nMethode) {
    return clChaineChiffre(this, pszTexte, pszMotDePasse, nMethode, 0, false);
}

void CComposanteStandard::ChaineCrypteEncode(const STManipAUB* pstValeur, const wchar_t* pszMotDePasse, int nOption,
                                             int nEncodage) {
    STZKAppel* pstAppel = pstGetAppel();
    const STOption stOption = stLitOption(static_cast<uint32_t>(nOption));
    const bool bModeAnsiActif = bModeAnsi(this);
    const bool bLarge = pstValeur != nullptr && pstValeur->nType == STManipAUB::TYPE_UNICODE;
    const bool bAnsi = stOption.bAnsi || (bModeAnsiActif && !bLarge);
    std::vector<uint8_t> tab;
    CXYString<wchar_t> clTexte;
    try {
        if (!bRapporte(this, nVerifieOption(stOption, nEncodage)) ||
            !bRapporte(this, nOctetsDeValeur(pstValeur, bAnsi, &tab)) ||
            !bRapporte(this, nCrypte(&tab, pszMotDePasse, stOption)) ||
            (nEncodage != 0 && !bRapporte(this, nEncode(tab, nEncodage, &clTexte)))) {
            if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
            return;
        }
    } catch (...) {
        bRapporte(this, eMEMOIRE);
        if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
        return;
    }
    if (pstAppel == nullptr) return;
    if (nEncodage != 0) return ovthunk::PousseTexte(pstAppel, clTexte, 0);
    // 8-bit text cannot carry a zero byte: enciphered bytes that hold one go out as a binary value
    // rather than be cut short.
    if (bModeAnsiActif && (tab.empty() || std::memchr(tab.data(), 0, tab.size()) == nullptr)) {
        const CXYString<char> clOctets(reinterpret_cast<const char*>(tab.data()), static_cast<int>(tab.size()));
        return ovthunk::PousseTexte(pstAppel, clOctets, STManipAUB::TYPE_ANSI);
    }
    PousseOctets(this, pstAppel, tab);
}

void CComposanteStandard::ChaineDecrypteDecode(const STManipAUB* pstValeur, const wchar_t* pszMotDePasse, int nOption,
                                               int nEncodage) {
    STZKAppel* pstAppel = pstGetAppel();
    const STOption stOption = stLitOption(static_cast<uint32_t>(nOption));
    const bool bLarge = pstValeur != nullptr && pstValeur->nType == STManipAUB::TYPE_UNICODE;
    const bool bAnsi = stOption.bAnsi || (bModeAnsi(this) && !bLarge);
    std::vector<uint8_t> tab;
    try {
        if (!bRapporte(this, nVerifieOption(stOption, nEncodage)) ||
            !bRapporte(this, nOctetsChiffres(pstValeur, nEncodage, &tab)) ||
            !bRapporte(this, nDecrypte(&tab, pszMotDePasse, stOption))) {
            if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
            return;
        }
        if (pstAppel == nullptr) return;
        switch (eFormeResultat(tab, bAnsi)) {
            case EForme::Texte1252: {
                std::vector<wchar_t> tabTexte(tab.size());
                for (size_t i = 0; i < tab.size(); ++i) tabTexte[i] = STR_FromCP1252(tab[i]);
                const CXYString<wchar_t> cl(tabTexte.data(), static_cast<int>(tabTexte.size()));
                if (cl.bEstNull() && !tab.empty()) break;
                return ovthunk::PousseTexte(pstAppel, cl, 0);
            }
            case EForme::TexteLarge: {
                const CXYString<wchar_t> cl(reinterpret_cast<const wchar_t*>(tab.data()),
                                            static_cast<int>(tab.size() / sizeof(wchar_t)));
                if (cl.bEstNull() && !tab.empty()) break;
                return ovthunk::PousseTexte(pstAppel, cl, 0);
            }
            case EForme::Binaire: return PousseOctets(this, pstAppel, tab);
        }
    } catch (...) {
    }
    bRapporte(this, eMEMOIRE);
    if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
}

// ================================================================ language functions: files

namespace {

// A failure of the file system as the program sees it, at level 2: 80067 for a missing source,
// 80059 for a directory given for a file, else the stream's own error when it filled one, else
// the system error.
void EchecFichier(CComposanteStandard* pclThis, const CXError* pclErreur, int nErrno) {
    const int nNumero = nErrno == ENOENT || nErrno == ENOTDIR ? 80067 : nErrno == EISDIR ? 80059 : 0;
    if (pclErreur != nullptr && pclErreur->bHasError()) {
        pclThis->RaiseErrorCopy(pclErreur);
    } else if (nNumero != 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, nNumero);
        pclThis->pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    } else {
        CXError* pcl = pclThis->pclGetError();
        pcl->RAZ();
        errno = nErrno;
        pcl->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    }
    pclThis->pclGetError()->SetErrorLevel(2);
}

// A destination that cannot be made or put in place, at level 2: 80059 for a directory given for
// a file, otherwise 80026 with the system's words.
void EchecDestination(CComposanteStandard* pclThis, int nErrno) {
    pclThis->RaiseError(&gstMyModuleInfo8, nErrno == EISDIR ? 80059 : 80026);
    pclThis->pclGetError()->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    pclThis->pclGetError()->SetErrorLevel(2);
}

// A name argument as a full wide path; 80059 for an empty name, 80042 for one too long.
bool bLitChemin(CComposanteStandard* pclThis, const STManipAUB* pstNom, std::wstring* psChemin) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszNom = pstNom != nullptr ? pstNom->pszGetStringW(&clTampon) : L"";
    if (pszNom[0] == 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    wchar_t szComplet[kMaxPath + 1];
    const unsigned long n = std::wcslen(pszNom) <= static_cast<size_t>(kMaxPath)
                                ? CDiskFile::GetFullPathName(pszNom, kMaxPath + 1, szComplet, nullptr)
                                : 0;
    if (n == 0 || n > static_cast<unsigned long>(kMaxPath)) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80042);
        return false;
    }
    psChemin->assign(szComplet);
    return true;
}

// A file of ours that lives only for the call: removed when the object goes, unless kept.
class CFichierTemporaire {
public:
    CFichierTemporaire() = default;
    ~CFichierTemporaire() { Supprime(); }
    CFichierTemporaire(const CFichierTemporaire&) = delete;
    CFichierTemporaire& operator=(const CFichierTemporaire&) = delete;

    // A new empty file beside sCible, named after it with a unique middle and the suffix ".$tmp".
    // Created exclusively, so that no file of the user's is ever taken for ours.
    bool bCree(const std::wstring& sCible) noexcept {
        static std::atomic<uint32_t> s_nCompteur{0};
        for (int nEssai = 0; nEssai < 64; ++nEssai) {
            timespec st{};
            clock_gettime(CLOCK_REALTIME, &st);
            const uint32_t dw = static_cast<uint32_t>(st.tv_nsec) ^ (static_cast<uint32_t>(getpid()) << 12) ^
                                (s_nCompteur.fetch_add(1) * 0x9E3779B9u);
            wchar_t szMilieu[16];
            std::swprintf(szMilieu, 16, L".%08x", dw);
            try {
                m_sNom = sCible + szMilieu + L".$tmp";
            } catch (...) {
                errno = ENOMEM;
                return false;
            }
            const int nFd = CDiskFile::Unix_open(m_sNom.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (nFd >= 0) {
                ::close(nFd);
                return true;
            }
            const int nErrno = errno;
            m_sNom.clear();
            if (nErrno != EEXIST) {
                errno = nErrno;
                return false;
            }
        }
        errno = EEXIST;
        return false;
    }
    const wchar_t* pszNom() const noexcept { return m_sNom.c_str(); }
    void Garde() noexcept { m_sNom.clear(); }
    void Supprime() noexcept {
        if (!m_sNom.empty()) CDiskFile::Unix_unlink(m_sNom.c_str());
        m_sNom.clear();
    }

private:
    std::wstring m_sNom;
};

// Where a result goes: written beside the destination, it takes the destination's name only
// once complete, so a failure never leaves a half file in place of a good one. A link is
// followed, so that the file it names gets the content and the link stays; an existing
// destination keeps its permissions and must be a writable regular file.
class CDestinationFichier {
public:
    bool bPrepare(const std::wstring& sDestination) noexcept {
        try {
            m_sFinal = sDestination;
            struct stat st {};
            if (CDiskFile::Unix_lstat(m_sFinal.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
                const CXYString<char> clUtf8 = PCWSTR_To_UTF8(m_sFinal.c_str());
                if (char* psz = realpath(clUtf8.pszGet(), nullptr)) {
                    CXYString<wchar_t> clCible;
                    const bool bLu = clCible.nAffecteUTF8(psz) == 0;
                    std::free(psz);
                    if (bLu) m_sFinal.assign(clCible.pszGet());
                }
            }
            m_bExiste = CDiskFile::Unix_stat(m_sFinal.c_str(), &st) == 0;
            if (m_bExiste) {
                if (S_ISDIR(st.st_mode)) {
                    errno = EISDIR;
                    return false;
                }
                if (!S_ISREG(st.st_mode)) {
                    errno = EINVAL;
                    return false;
                }
                // A protected file stays protected: renaming over it would ignore its mode.
                if (CDiskFile::Unix_access(m_sFinal.c_str(), W_OK) != 0) return false;
                m_nMode = st.st_mode & 07777;
            }
            return m_clTemporaire.bCree(m_sFinal);
        } catch (...) {
            errno = ENOMEM;
            return false;
        }
    }
    const wchar_t* pszTemporaire() const noexcept { return m_clTemporaire.pszNom(); }
    bool bPlace() noexcept {
        if (m_bExiste && CDiskFile::Unix_chmod(m_clTemporaire.pszNom(), m_nMode) != 0) return false;
        if (CDiskFile::__Unix_rename(m_clTemporaire.pszNom(), m_sFinal.c_str()) != 0) return false;
        m_clTemporaire.Garde();
        return true;
    }

private:
    std::wstring m_sFinal;
    CFichierTemporaire m_clTemporaire;
    bool m_bExiste = false;
    unsigned int m_nMode = 0;
};

// The source must be a file we can read as it is; a missing one fails with 80067.
bool bSourceLisible(CComposanteStandard* pclThis, const std::wstring& sSource) {
    struct stat st {};
    if (CDiskFile::Unix_stat(sSource.c_str(), &st) != 0) {
        EchecFichier(pclThis, nullptr, errno);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        EchecFichier(pclThis, nullptr, EISDIR);
        return false;
    }
    return true;
}

// Enciphers the named source into pszCible, a file of ours that exists.
bool bCrypteVers(CComposanteStandard* pclThis, const wchar_t* pszSource, const wchar_t* pszCible,
                 const wchar_t* pszMotDePasse, int nMethode) {
    CCryptFile clFichier;
    if (!clFichier.bOpen(pszCible, eACCESS_ECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER, nullptr)) {
        EchecFichier(pclThis, clFichier.pclGetXError(), errno);
        return false;
    }
    const bool bSucces = clFichier.bCrypt(pszSource, pszMotDePasse, nMethode);
    const int nErrno = errno;
    if (!bSucces) EchecFichier(pclThis, clFichier.pclGetXError(), nErrno);
    clFichier.Close();
    return bSucces;
}

// Deciphers the named source into pszCible, a file of ours that exists.
bool bDecrypteVers(CComposanteStandard* pclThis, const wchar_t* pszSource, const wchar_t* pszCible,
                   const wchar_t* pszMotDePasse, int nMethode) {
    CCryptFile clFichier;
    if (!clFichier.bOpen(pszSource, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr)) {
        EchecFichier(pclThis, clFichier.pclGetXError(), errno);
        return false;
    }
    const bool bSucces = clFichier.bUncrypt(pszCible, pszMotDePasse, nMethode);
    const int nErrno = errno;
    if (!bSucces) EchecFichier(pclThis, clFichier.pclGetXError(), nErrno);
    clFichier.Close();
    return bSucces;
}

using PFNCHIFFREFICHIER = bool (*)(CComposanteStandard*, const wchar_t*, const wchar_t*, const wchar_t*, int);

// fCrypte and fDecrypte: the checks, then the work into a file beside the destination that takes
// its name once complete.
bool bChiffreFichier(CComposanteStandard* pclThis, const STManipAUB* pstSource, const STManipAUB* pstDestination,
                     const wchar_t* pszMotDePasse, int nMethode, PFNCHIFFREFICHIER pfnChiffre) {
    // A file "enciphered" with the empty password would be open to anyone with this library.
    if (pszMotDePasse == nullptr || pszMotDePasse[0] == 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80282);
        return false;
    }
    if (nMethode < 1 || nMethode > eCRYPT_RC5_16) return bRapporte(pclThis, eMETHODE_INVALIDE);
    std::wstring sSource, sDestination;
    if (!bLitChemin(pclThis, pstSource, &sSource) || !bLitChemin(pclThis, pstDestination, &sDestination) ||
        !bSourceLisible(pclThis, sSource))
        return false;
    CDestinationFichier clDestination;
    if (!clDestination.bPrepare(sDestination)) {
        EchecDestination(pclThis, errno);
        return false;
    }
    if (!pfnChiffre(pclThis, sSource.c_str(), clDestination.pszTemporaire(), pszMotDePasse, nMethode)) return false;
    if (!clDestination.bPlace()) {
        EchecDestination(pclThis, errno);
        return false;
    }
    return true;
}

// The encoder's file stage; its errors go to the component at level 2.
bool bEncodeFichier(CComposanteStandard* pclThis, const wchar_t* pszDestination, const wchar_t* pszSource,
                    int nEncodage, bool bEncode) {
    const std::unique_ptr<CEncodeBase> pclEncodeur(pclGetEncodeur(nEncodage));
    if (!pclEncodeur) return bRapporte(pclThis, eMEMOIRE);
    CXError clErreur(&gstMyModuleInfo8);
    const bool bSucces = bEncode ? pclEncodeur->bEncodeFichier(pszDestination, pszSource, kGroupesParLigneDefaut, &clErreur)
                                 : pclEncodeur->bDecodeFichier(pszDestination, pszSource, &clErreur);
    if (!bSucces) EchecFichier(pclThis, &clErreur, errno);
    return bSucces;
}

// The cipher names the file it read in its message; when that is our middle file, the program
// is told of its own source instead.
void NommeLaSource(CComposanteStandard* pclThis, const wchar_t* pszMilieu, const wchar_t* pszSource) {
    CXError* pclErreur = pclThis->pclGetError();
    try {
        std::wstring s = pclErreur->pszGetUserMessage();
        const size_t n = s.find(pszMilieu);
        if (n == std::wstring::npos) return;
        s.replace(n, std::wcslen(pszMilieu), pszSource);
        CXError clErreur(&gstMyModuleInfo8);
        clErreur.SetErrorLevel(pclErreur->eGetErrorLevel());
        clErreur.AddUserMessageNoFormat(s.c_str());
        pclThis->RaiseErrorCopy(&clErreur);
    } catch (...) {
    }
}

// fCrypteEncode and fDecrypteDecode with both stages: the middle form goes to a file of ours
// beside the destination, removed on every path.
bool bDeuxEtapes(CComposanteStandard* pclThis, const STManipAUB* pstSource, const STManipAUB* pstDestination,
                 const wchar_t* pszMotDePasse, int nMethode, int nEncodage, bool bVersTexte) {
    if (pszMotDePasse == nullptr || pszMotDePasse[0] == 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80282);
        return false;
    }
    std::wstring sSource, sDestination;
    if (!bLitChemin(pclThis, pstSource, &sSource) || !bLitChemin(pclThis, pstDestination, &sDestination) ||
        !bSourceLisible(pclThis, sSource))
        return false;
    CFichierTemporaire clMilieu;
    if (!clMilieu.bCree(sDestination)) {
        EchecDestination(pclThis, errno);
        return false;
    }
    if (bVersTexte) {
        if (!bCrypteVers(pclThis, sSource.c_str(), clMilieu.pszNom(), pszMotDePasse, nMethode)) return false;
        return bEncodeFichier(pclThis, sDestination.c_str(), clMilieu.pszNom(), nEncodage, true);
    }
    if (!bEncodeFichier(pclThis, clMilieu.pszNom(), sSource.c_str(), nEncodage, false)) return false;
    CDestinationFichier clDestination;
    if (!clDestination.bPrepare(sDestination)) {
        EchecDestination(pclThis, errno);
        return false;
    }
    if (!bDecrypteVers(pclThis, clMilieu.pszNom(), clDestination.pszTemporaire(), pszMotDePasse, nMethode)) {
        NommeLaSource(pclThis, clMilieu.pszNom(), sSource.c_str());
        return false;
    }
    if (!clDestination.bPlace()) {
        EchecDestination(pclThis, errno);
        return false;
    }
    return true;
}

bool bFichierEncodeOuNon(CComposanteStandard* pclThis, const STManipAUB* pstSource, const STManipAUB* pstDestination,
                         const wchar_t* pszMotDePasse, int nMethode, int nEncodage, bool bVersTexte) {
    if (nMethode < 0 || nMethode > eCRYPT_RC5_16) return bRapporte(pclThis, eMETHODE_INVALIDE);
    if (nEncodage < 0 || nEncodage > 4) return bRapporte(pclThis, eENCODAGE_INVALIDE);
    if (nMethode == 0 && nEncodage == 0) return pclThis->fCopieFichier(pstSource, pstDestination, 0);
    if (nEncodage == 0)
        return bChiffreFichier(pclThis, pstSource, pstDestination, pszMotDePasse, nMethode,
                               bVersTexte ? bCrypteVers : bDecrypteVers);
    if (nMethode == 0) {
        std::wstring sSource, sDestination;
        if (!bLitChemin(pclThis, pstSource, &sSource) || !bLitChemin(pclThis, pstDestination, &sDestination))
            return false;
        return bEncodeFichier(pclThis, sDestination.c_str(), sSource.c_str(), nEncodage, bVersTexte);
    }
    return bDeuxEtapes(pclThis, pstSource, pstDestination, pszMotDePasse, nMethode, nEncodage, bVersTexte);
}

}  // namespace

bool CComposanteStandard::fCrypte(const STManipAUB* pstSource, const STManipAUB* pstDestination,
                                  const wchar_t* pszMotDePasse, int nMethode) {
    return bChiffreFichier(this, pstSource, pstDestination, pszMotDePasse, nMethode, bCrypteVers);
}

bool CComposanteStandard::fDecrypte(const STManipAUB* pstSource, const STManipAUB* pstDestination,
                                    const wchar_t* pszMotDePasse, int nMethode) {
    return bChiffreFichier(this, pstSource, pstDestination, pszMotDePasse, nMethode, bDecrypteVers);
}

bool CComposanteStandard::fCrypteEncode(const STManipAUB* pstSource, const STManipAUB* pstDestination,
                                        const wchar_t* pszMotDePasse, int nMethode, int nEncodage) {
    return bFichierEncodeOuNon(this, pstSource, pstDestination, pszMotDePasse, nMethode, nEncodage, true);
}

bool CComposanteStandard::fDecrypteDecode(const STManipAUB* pstSource, const STManipAUB* pstDestination,
                                          const wchar_t* pszMotDePasse, int nMethode, int nEncodage) {
    return bFichierEncodeOuNon(this, pstSource, pstDestination, pszMotDePasse, nMethode, nEncodage, false);
}
