// The encode functions of the language: ChaineEncode and ChaineDecode, their UU shorthands
// UUEncode and UUDecode, and fEncode and fDecode for files.
#include <cwchar>
#include <memory>
#include <new>
#include <string>

#include "base/manip.h"
#include "base/unicode.h"
#include "component/thunk.h"
#include "crypt/encoders.h"
#include "files/disk_file.h"

namespace {

constexpr int kErreurNom = 80059;
constexpr int kErreurTexte = 81808;
constexpr int kErreurEncodage = 81840;
constexpr int kEncodageUU = 3;
// A wide text of more characters than this would pass the size limit of a counted block.
constexpr unsigned long kCaracteresMax = 0x7fffff00 / sizeof(wchar_t) - 1;

std::unique_ptr<CEncodeBase> pclEncodeur(CComposanteStandard* pclThis, int nEncodage) {
    std::unique_ptr<CEncodeBase> pcl(pclGetEncodeur(nEncodage));
    if (!pcl) {
        if (nEncodage >= 1 && nEncodage <= 4)
            pclThis->pclGetError()->SetErrorNoMemory();
        else
            pclThis->RaiseError(&gstMyModuleInfo8, kErreurEncodage);
    }
    return pcl;
}

CXYString<wchar_t> clEncode(CComposanteStandard* pclThis, const uint8_t* pby, size_t nTaille, int nEncodage) {
    const std::unique_ptr<CEncodeBase> pcl = pclEncodeur(pclThis, nEncodage);
    if (!pcl) return {};
    const unsigned long nLongueur = pcl->nLongueurEncodee(nTaille, kGroupesParLigneDefaut);
    if (nLongueur == 0) return {};
    CXYString<wchar_t> cl;
    wchar_t* psz = nLongueur <= kCaracteresMax ? cl.pszGetBuffer(static_cast<int>(nLongueur)) : nullptr;
    if (psz == nullptr || pcl->nEncodeW(pby, nTaille, kGroupesParLigneDefaut, psz) < 0) {
        pclThis->pclGetError()->SetErrorNoMemory();
        return {};
    }
    return cl;
}

CZKBIN clDecode(CComposanteStandard* pclThis, const wchar_t* pszTexte, int nEncodage) {
    const std::unique_ptr<CEncodeBase> pcl = pclEncodeur(pclThis, nEncodage);
    if (!pcl) return {};
    if (pszTexte == nullptr) pszTexte = L"";
    const size_t nLongueur = std::wcslen(pszTexte);
    const long nTaille = pcl->nDecodeW(pszTexte, nLongueur, nullptr);
    if (nTaille < 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, kErreurTexte);
        return {};
    }
    CZKBIN cl;
    if (nTaille == 0) return cl;
    if (nTaille >= 0x7fffff00 || cl.nSetSize(static_cast<int>(nTaille)) != 0) {
        pclThis->pclGetError()->SetErrorNoMemory();
        return {};
    }
    // nSetSize left the block private, so its bytes are ours to write.
    pcl->nDecodeW(pszTexte, nLongueur, const_cast<uint8_t*>(cl.pbyGet()));
    return cl;
}

// The full path of a name argument; empty (and 80059 raised) when there is none or it is no path.
std::wstring sChemin(CComposanteStandard* pclThis, const STManipAUB* pstNom) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszNom = pstNom != nullptr ? pstNom->pszGetStringW(&clTampon) : nullptr;
    wchar_t szComplet[kMaxPath + 1];
    unsigned long n = 0;
    if (pszNom != nullptr && pszNom[0] != 0) n = CDiskFile::GetFullPathName(pszNom, kMaxPath + 1, szComplet, nullptr);
    if (n == 0 || n > static_cast<unsigned long>(kMaxPath)) {
        pclThis->RaiseError(&gstMyModuleInfo8, kErreurNom);
        return {};
    }
    return szComplet;
}

// A failure of the file system is one the program tests for, not a fault of the program: it
// comes at level 2, as the other file functions give theirs.
bool bFichier(CComposanteStandard* pclThis, const STManipAUB* pstSource, const STManipAUB* pstDestination,
              int nEncodage, bool bEncode) {
    const std::wstring sSource = sChemin(pclThis, pstSource);
    if (sSource.empty()) return false;
    const std::wstring sDestination = sChemin(pclThis, pstDestination);
    if (sDestination.empty()) return false;
    const std::unique_ptr<CEncodeBase> pcl = pclEncodeur(pclThis, nEncodage);
    if (!pcl) return false;
    CXError clErreur(&gstMyModuleInfo8);
    const bool b = bEncode ? pcl->bEncodeFichier(sDestination.c_str(), sSource.c_str(), kGroupesParLigneDefaut, &clErreur)
                           : pcl->bDecodeFichier(sDestination.c_str(), sSource.c_str(), &clErreur);
    if (!b) {
        pclThis->RaiseError(&clErreur);
        pclThis->pclGetError()->SetErrorLevel(2);
    }
    return b;
}

}  // namespace

CXYString<wchar_t> CComposanteStandard::ChaineEncode(CZKBIN clBuffer, int nEncodage) {
    return clEncode(this, clBuffer.pbyGet(), static_cast<size_t>(clBuffer.nGetTaille()), nEncodage);
}

CZKBIN CComposanteStandard::ChaineDecode(const wchar_t* pszTexte, int nEncodage) {
    return clDecode(this, pszTexte, nEncodage);
}

// A buffer and 8-bit text give their bytes; wide text its UTF-8 form, the bytes it would have in a
// UTF-8 file, so that "é" travels as two bytes and not as a 32-bit word.
CXYString<wchar_t> CComposanteStandard::UUEncode(const STManipAUB* pstValeur) {
    int nTaille = 0;
    const uint8_t* pby = pstValeur != nullptr ? pstValeur->pbyGetContenuUtile(&nTaille) : nullptr;
    if (pby == nullptr || nTaille <= 0) return clEncode(this, nullptr, 0, kEncodageUU);
    if (pstValeur->nType != STManipAUB::TYPE_UNICODE) return clEncode(this, pby, static_cast<size_t>(nTaille), kEncodageUU);
    const int nCaracteres = nTaille / static_cast<int>(sizeof(wchar_t));
    // A value that is no Unicode scalar has no UTF-8 form: it travels as U+FFFD.
    std::wstring sPropre(reinterpret_cast<const wchar_t*>(pby), static_cast<size_t>(nCaracteres));
    for (wchar_t& c : sPropre)
        if (!bEstScalaireUnicode(static_cast<uint32_t>(c))) c = 0xFFFD;
    const wchar_t* psz = sPropre.c_str();
    const int nOctets = nWideToUTF8(psz, nCaracteres, nullptr, 0);
    std::unique_ptr<char[]> pszUTF8(nOctets > 0 ? new (std::nothrow) char[static_cast<size_t>(nOctets)] : nullptr);
    if (!pszUTF8 || nWideToUTF8(psz, nCaracteres, pszUTF8.get(), nOctets) != nOctets) {
        pclGetError()->SetErrorNoMemory();
        return {};
    }
    return clEncode(this, reinterpret_cast<const uint8_t*>(pszUTF8.get()), static_cast<size_t>(nOctets), kEncodageUU);
}

CZKBIN CComposanteStandard::UUDecode(const wchar_t* pszTexte) { return clDecode(this, pszTexte, kEncodageUU); }

bool CComposanteStandard::fEncode(const STManipAUB* pstSource, const STManipAUB* pstDestination, int nEncodage) {
    return bFichier(this, pstSource, pstDestination, nEncodage, true);
}

bool CComposanteStandard::fDecode(const STManipAUB* pstSource, const STManipAUB* pstDestination, int nEncodage) {
    return bFichier(this, pstSource, pstDestination, nEncodage, false);
}
