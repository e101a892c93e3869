// The language's one-shot file functions: whole texts and buffers loaded, saved and appended,
// comparison, existence, size, attributes, times and temporary names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <string>

#include "base/characters.h"
#include "base/code_pages.h"
#include "base/unicode.h"
#include "component/thunk.h"
#include "files/internal/file_copy.h"
#include "files/internal/file_operations.h"

namespace ovfichier {

bool bLitNom(CComposanteStandard* pclThis, const wchar_t* pszNom, wchar_t* pszSortie, bool bVideAccepte) {
    pszSortie[0] = 0;
    if (pszNom == nullptr || pszNom[0] == 0) {
        if (bVideAccepte) return true;
        pclThis->RaiseError(&gstMyModuleInfo8, 80059);
        return false;
    }
    const size_t nLongueur = std::wcslen(pszNom);
    if (nLongueur > static_cast<size_t>(kMaxPath)) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80042);
        return false;
    }
    std::wmemcpy(pszSortie, pszNom, nLongueur + 1);
    return true;
}

bool bLitNom(CComposanteStandard* pclThis, const STManipAUB* pstNom, wchar_t* pszSortie, bool bVideAccepte) {
    CXYString<wchar_t> clTampon;
    const wchar_t* pszNom = pstNom != nullptr ? pstNom->pszGetStringW(&clTampon) : L"";
    return bLitNom(pclThis, pszNom, pszSortie, bVideAccepte);
}

void EchecSysteme(CComposanteStandard* pclThis, const CXError* pclErreur, int nErrno) {
    // The two failures a program meets most, a missing entry and a directory given for a file,
    // carry their own numbers so that a program can test for them; the system's words follow.
    const int nNumero = nErrno == ENOENT || nErrno == ENOTDIR ? 80067 : nErrno == EISDIR ? 80059 : 0;
    if (nNumero != 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, nNumero);
        CXError* pcl = pclThis->pclGetError();
        if (pclErreur != nullptr && pclErreur->bHasError() && pclErreur->pszGetUserMessage()[0] != 0)
            pcl->AddUserMessageNoFormat(pclErreur->pszGetUserMessage());
        errno = nErrno;
        pcl->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    } else if (pclErreur != nullptr && pclErreur->bHasError()) {
        pclThis->RaiseErrorCopy(pclErreur);
    } else {
        CXError* pcl = pclThis->pclGetError();
        pcl->RAZ();
        errno = nErrno;
        pcl->SetSystemError(static_cast<unsigned int>(nErrno), nullptr);
    }
    pclThis->pclGetError()->SetErrorLevel(2);
    errno = nErrno;
}

}  // namespace ovfichier

using ovfichier::bLitNom;
using ovfichier::EchecNumerote;
using ovfichier::EchecSysteme;

namespace {

constexpr uint8_t kMarqueUTF16LE[2] = {0xFF, 0xFE};
constexpr uint8_t kMarqueUTF8[3] = {0xEF, 0xBB, 0xBF};

// ---------------------------------------------------------------- bytes of a text

// Text as UTF-16 little endian, the form of Unicode files on disk. False when memory fails.
bool bVersUTF16(const wchar_t* pszTexte, int nCaracteres, std::string* psSortie) {
    if (nCaracteres == 0) return true;
    const int nUnites = WideCharToUTF16(pszTexte, nCaracteres, nullptr, 0);
    if (nUnites <= 0) return false;
    std::u16string s(static_cast<size_t>(nUnites), u'\0');
    if (WideCharToUTF16(pszTexte, nCaracteres, s.data(), nUnites) != nUnites) return false;
    psSortie->reserve(psSortie->size() + s.size() * 2);
    for (char16_t c : s) {
        psSortie->push_back(static_cast<char>(c & 0xFF));
        psSortie->push_back(static_cast<char>(c >> 8));
    }
    return true;
}

bool bVersUTF8(const wchar_t* pszTexte, int nCaracteres, std::string* psSortie) {
    if (nCaracteres == 0) return true;
    const CXYString<char> cl = PCWSTR_N_To_UTF8(pszTexte, nCaracteres);
    if (cl.nGetLongueur() == 0) return false;
    psSortie->append(cl.pszGet(), static_cast<size_t>(cl.nGetLongueur()));
    return true;
}

// Text in the 8-bit code page of the locale. A character the code page lacks is refused (EILSEQ)
// rather than written as a question mark: an append must not lose what the program wrote.
bool bVersCodePage(const wchar_t* pszTexte, int nCaracteres, std::string* psSortie) {
    if (nCaracteres == 0) return true;
    const unsigned int nCodePage = static_cast<unsigned int>(STR_nGetCurrentCodePage());
    const int nOctets = WideCharToMultiByte(nCodePage, 0, pszTexte, nCaracteres, nullptr, 0);
    if (nOctets <= 0) {
        errno = EILSEQ;
        return false;
    }
    std::string s(static_cast<size_t>(nOctets), '\0');
    WideCharToMultiByte(nCodePage, 0, pszTexte, nCaracteres, s.data(), nOctets);
    std::wstring sRetour(static_cast<size_t>(nCaracteres) + 1, L'\0');
    const int nRetour = MultiByteToWideChar(nCodePage, 0, s.data(), nOctets, sRetour.data(), nCaracteres + 1);
    if (nRetour != nCaracteres || std::wmemcmp(sRetour.data(), pszTexte, static_cast<size_t>(nCaracteres)) != 0) {
        errno = EILSEQ;
        return false;
    }
    psSortie->append(s);
    return true;
}

// ---------------------------------------------------------------- writing whole files

bool bEcritTout(int nFd, const std::string& s) { return ov_files::bEcritTout(nFd, s.data(), s.size()); }

// Closes and keeps the first errno of a failure.
bool bFermeEtGarde(int nFd, bool bSucces) {
    const int nErrno = errno;
    const bool bFerme = ::close(nFd) == 0;
    if (!bSucces) errno = nErrno;
    return bSucces && bFerme;
}

// Writes a new file that did not exist: nothing old to protect, but a failure removes the part
// written. EEXIST tells the caller that the name appeared meanwhile.
bool bEcritNouveau(const std::string& sCible, const std::string& sContenu) {
    const int nFd = ::open(sCible.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (nFd < 0) return false;
    const bool bSucces = bFermeEtGarde(nFd, bEcritTout(nFd, sContenu) && ::fsync(nFd) == 0);
    if (!bSucces) {
        const int nErrno = errno;
        ::unlink(sCible.c_str());
        errno = nErrno;
    }
    return bSucces;
}

// In place, as a last resort when the directory refuses a new name but the file accepts writing.
bool bEcritSurPlace(const std::string& sCible, const std::string& sContenu) {
    const int nFd = ::open(sCible.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (nFd < 0) return false;
    return bFermeEtGarde(nFd, bEcritTout(nFd, sContenu) && ::fsync(nFd) == 0);
}

// Saves sContenu as pszNom so that a failure (a full disk, a size limit) leaves the old file as it
// was: the bytes go to a new file beside the target, which takes the target's permission bits and
// owner and replaces it by a rename only once everything is written. A symbolic link is followed,
// so that the link stays and the file it names gets the content.
bool bSauveFichierSur(const wchar_t* pszNom, const std::string& sContenu) {
    wchar_t szComplet[kMaxPath + 1];
    const unsigned long nLongueur = CDiskFile::GetFullPathName(pszNom, kMaxPath + 1, szComplet, nullptr);
    if (nLongueur == 0 || nLongueur > static_cast<unsigned long>(kMaxPath)) {
        errno = ENAMETOOLONG;
        return false;
    }
    int nErreurConversion = 0;
    std::string sCible = PCWSTR_To_UTF8(szComplet, &nErreurConversion).pszGet();
    if (nErreurConversion != 0 || sCible.empty()) {
        errno = EILSEQ;
        return false;
    }
    struct stat stCible {};
    if (::lstat(sCible.c_str(), &stCible) == 0 && S_ISLNK(stCible.st_mode)) {
        char* pszReel = ::realpath(sCible.c_str(), nullptr);
        if (pszReel != nullptr) {
            sCible = pszReel;
            std::free(pszReel);
        }
    }
    for (int nEssai = 0; nEssai < 2; ++nEssai) {
        if (::stat(sCible.c_str(), &stCible) != 0) {
            if (errno != ENOENT) return false;
            if (bEcritNouveau(sCible, sContenu)) return true;
            if (errno != EEXIST) return false;
            continue;  // the name appeared meanwhile: replace it as an existing file
        }
        if (S_ISDIR(stCible.st_mode)) {
            errno = EISDIR;
            return false;
        }
        const size_t nBarre = sCible.rfind('/');
        const std::string sRepertoire = nBarre == std::string::npos ? std::string(".") : sCible.substr(0, nBarre + 1);
        std::string sBase = nBarre == std::string::npos ? sCible : sCible.substr(nBarre + 1);
        if (sBase.size() > 200) sBase.resize(200);
        std::string sTemp = sRepertoire + "." + sBase + ".ovsauve.XXXXXX";
        const int nFd = ::mkostemp(sTemp.data(), O_CLOEXEC);
        if (nFd < 0) {
            if (errno == EACCES || errno == EPERM) return bEcritSurPlace(sCible, sContenu);
            return false;
        }
        bool bSucces = bEcritTout(nFd, sContenu) && ::fsync(nFd) == 0 &&
                       ::fchmod(nFd, stCible.st_mode & 07777) == 0;
        if (bSucces && (stCible.st_uid != ::geteuid() || stCible.st_gid != ::getegid())) {
            // Only a privileged process can give the file back to its owner; others keep theirs.
            [[maybe_unused]] const int n = ::fchown(nFd, stCible.st_uid, stCible.st_gid);
            if (::fchmod(nFd, stCible.st_mode & 07777) != 0) bSucces = false;
        }
        bSucces = bFermeEtGarde(nFd, bSucces) && ::rename(sTemp.c_str(), sCible.c_str()) == 0;
        if (!bSucces) {
            const int nErrno = errno;
            ::unlink(sTemp.c_str());
            errno = nErrno;
        }
        return bSucces;
    }
    errno = EEXIST;
    return false;
}

// ---------------------------------------------------------------- reading whole files

// The file whole, or from nOffset for nTaille bytes (-1: to the end). A size of 2 GiB or more
// cannot be a buffer of the language: 80041.
bool bLitFichier(CComposanteStandard* pclThis, const wchar_t* pszNom, long nOffset, long nTaille, CZKBIN* pclSortie) {
    *pclSortie = CZKBIN();
    CDiskFile clFichier;
    if (!clFichier.bOpen(pszNom, eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr)) {
        EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
        return false;
    }
    if (CDiskFile::bIsADirectory(clFichier.pszGetName())) {
        clFichier.Close();
        EchecSysteme(pclThis, nullptr, EISDIR);
        return false;
    }
    const long oTaille = clFichier.oGetSize();
    if (oTaille < 0) {
        EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
        clFichier.Close();
        return false;
    }
    if (nOffset > oTaille) return true;  // nothing there: an empty buffer, and no error
    long nALire = oTaille - nOffset;
    if (nTaille >= 0 && nTaille < nALire) nALire = nTaille;
    if (nALire >= INT_MAX - 64) {
        clFichier.Close();
        pclThis->RaiseError(&gstMyModuleInfo8, 80041);
        return false;
    }
    if (nALire == 0) return true;
    if (pclSortie->nSetSize(static_cast<int>(nALire)) != 0) {
        clFichier.Close();
        pclThis->RaiseError(&gstMyModuleInfo8, 80041);
        return false;
    }
    // The block was just made for this value alone: writing into it touches no other holder.
    auto* pbyData = static_cast<uint8_t*>(pclSortie->pGetBloc());
    if (nOffset > 0 && !clFichier.bSeek(nOffset, eSEEK_DEBUT)) {
        EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
        *pclSortie = CZKBIN();
        return false;
    }
    long nLu = 0;
    while (nLu < nALire) {
        unsigned int nBloc = 0;
        const long nDemande = nALire - nLu > (1L << 30) ? (1L << 30) : nALire - nLu;
        if (!clFichier.bRead(pbyData + nLu, static_cast<unsigned int>(nDemande), &nBloc)) {
            EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
            *pclSortie = CZKBIN();
            return false;
        }
        if (nBloc == 0) break;  // the file shrank while we read it
        nLu += nBloc;
    }
    if (nLu < nALire) pclSortie->Tronque(static_cast<int>(nLu));
    return true;
}

// The form of an open file from its first bytes: UTF-16 or UTF-8 by its mark, otherwise 8-bit.
// The position is left behind the bytes read.
enum class EFormeFichier { Ansi, UTF16, UTF8 };

bool bFormeFichierOuvert(CDiskFile& clFichier, EFormeFichier* peForme, bool* pbVide) {
    *peForme = EFormeFichier::Ansi;
    const long oTaille = clFichier.oGetSize();
    if (oTaille < 0) return false;
    *pbVide = oTaille == 0;
    if (oTaille == 0) return true;
    uint8_t aby[3] = {};
    unsigned int nLu = 0;
    if (!clFichier.bSeek(0, eSEEK_DEBUT) || !clFichier.bRead(aby, 3, &nLu)) return false;
    if (nLu >= 3 && std::memcmp(aby, kMarqueUTF8, 3) == 0) *peForme = EFormeFichier::UTF8;
    else if (nLu >= 2 && std::memcmp(aby, kMarqueUTF16LE, 2) == 0) *peForme = EFormeFichier::UTF16;
    return true;
}

// Appends the bytes at the end of the open file; a failed write cuts the file back to its old size
// so that no half text stays behind.
bool bAjouteDansFichierOuvert(CDiskFile& clFichier, const std::string& s) {
    if (s.empty()) return true;
    const long oFin = clFichier.oGetSize();
    if (oFin < 0 || !clFichier.bSeek(0, eSEEK_FIN)) return false;
    size_t nFait = 0;
    while (nFait < s.size()) {
        const size_t nBloc = s.size() - nFait > (1u << 30) ? (1u << 30) : s.size() - nFait;
        if (!clFichier.bWrite(s.data() + nFait, static_cast<unsigned int>(nBloc), nullptr)) {
            const int nErrno = errno;
            clFichier.bSetSize(oFin, eGROW_ABSOLU);
            errno = nErrno;
            return false;
        }
        nFait += nBloc;
    }
    return true;
}

bool bAjoute(CComposanteStandard* pclThis, const STManipAUB* pstNom, const STManipAUB* pstValeur, bool bBrut) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(pclThis, pstNom, szNom)) return false;
    CDiskFile clFichier;
    int bCree = 0;
    if (!clFichier.bOpen(szNom, eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_OUVRE_OU_CREE, eFLAG_FICHIER, &bCree)) {
        EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
        return false;
    }
    int nTaille = 0;
    const uint8_t* pbyValeur = pstValeur != nullptr ? pstValeur->pbyGetContenuUtile(&nTaille) : nullptr;
    if (nTaille <= 0) {
        clFichier.Close();
        return true;
    }
    std::string sOctets;
    bool bPret = true;
    const bool bLarge = pstValeur->nType == STManipAUB::TYPE_UNICODE;
    if (bBrut || !pstValeur->bEstTexte()) {
        sOctets.assign(reinterpret_cast<const char*>(pbyValeur), static_cast<size_t>(nTaille));
    } else {
        EFormeFichier eForme = EFormeFichier::Ansi;
        bool bVide = false;
        if (!bFormeFichierOuvert(clFichier, &eForme, &bVide)) {
            EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
            clFichier.Close();
            return false;
        }
        CXYString<wchar_t> clLarge;
        const wchar_t* pszLarge = pstValeur->pszGetStringW(&clLarge);
        const int nCaracteres = static_cast<int>(std::wcslen(pszLarge));
        if (bVide && bLarge) {
            // A wide text opens an empty file as a Unicode file, with its mark.
            sOctets.assign(reinterpret_cast<const char*>(kMarqueUTF16LE), 2);
            eForme = EFormeFichier::UTF16;
        }
        switch (eForme) {
            case EFormeFichier::UTF16: bPret = bVersUTF16(pszLarge, nCaracteres, &sOctets); break;
            case EFormeFichier::UTF8: bPret = bVersUTF8(pszLarge, nCaracteres, &sOctets); break;
            case EFormeFichier::Ansi:
                if (bLarge) bPret = bVersCodePage(pszLarge, nCaracteres, &sOctets);
                else sOctets.assign(reinterpret_cast<const char*>(pbyValeur), static_cast<size_t>(nTaille));
                break;
        }
    }
    if (!bPret) {
        const int nErrno = errno != 0 ? errno : EILSEQ;
        clFichier.Close();
        EchecSysteme(pclThis, nullptr, nErrno);
        return false;
    }
    const bool bSucces = bAjouteDansFichierOuvert(clFichier, sOctets);
    if (!bSucces) EchecSysteme(pclThis, clFichier.pclGetXError(), errno);
    clFichier.Close();
    return bSucces;
}

// ---------------------------------------------------------------- times

// Parses exactly nChiffres digits of pszTexte from nPosition; -1 when one is not a digit.
int nChiffres(const wchar_t* pszTexte, size_t nPosition, int nChiffres) {
    int n = 0;
    for (int i = 0; i < nChiffres; ++i) {
        const wchar_t c = pszTexte[nPosition + static_cast<size_t>(i)];
        if (c < L'0' || c > L'9') return -1;
        n = n * 10 + (c - L'0');
    }
    return n;
}

bool bDateValide(int nAnnee, int nMois, int nJour) {
    static constexpr int tabJours[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (nAnnee < 1601 || nAnnee > 9999 || nMois < 1 || nMois > 12 || nJour < 1) return false;
    const bool bBissextile = nAnnee % 4 == 0 && (nAnnee % 100 != 0 || nAnnee % 400 == 0);
    return nJour <= (nMois == 2 && !bBissextile ? 28 : tabJours[nMois - 1]);
}

// Reads "AAAAMMJJ" and/or "HHMMSS" (centiseconds may follow) into the fields it names.
bool bConvertDateHeure(const wchar_t* pszValeur, bool bDate, bool bHeure, CDiskFile::_stXFILETIME* pst) {
    const size_t nLongueur = std::wcslen(pszValeur);
    size_t nPosition = 0;
    if (bDate) {
        if (nLongueur < 8) return false;
        const int nAnnee = nChiffres(pszValeur, 0, 4), nMois = nChiffres(pszValeur, 4, 2),
                  nJour = nChiffres(pszValeur, 6, 2);
        if (!bDateValide(nAnnee, nMois, nJour)) return false;
        pst->wAnnee = static_cast<uint16_t>(nAnnee);
        pst->wMois = static_cast<uint16_t>(nMois);
        pst->wJour = static_cast<uint16_t>(nJour);
        nPosition = 8;
    }
    if (bHeure) {
        if (nLongueur < nPosition + 6) return false;
        const int nHeure = nChiffres(pszValeur, nPosition, 2), nMinute = nChiffres(pszValeur, nPosition + 2, 2),
                  nSeconde = nChiffres(pszValeur, nPosition + 4, 2);
        if (nHeure < 0 || nHeure > 23 || nMinute < 0 || nMinute > 59 || nSeconde < 0 || nSeconde > 59) return false;
        pst->wHeure = static_cast<uint16_t>(nHeure);
        pst->wMinute = static_cast<uint16_t>(nMinute);
        pst->wSeconde = static_cast<uint16_t>(nSeconde);
        pst->wMilliseconde = 0;
        nPosition += 6;
        if (nLongueur >= nPosition + 2) {
            const int nCentiemes = nChiffres(pszValeur, nPosition, 2);
            if (nCentiemes < 0) return false;
            pst->wMilliseconde = static_cast<uint16_t>(nCentiemes * 10);
            nPosition += 2;
        }
    }
    return nPosition == nLongueur;
}

// fDate, fHeure and fDateHeure: read the file's time of kind nQuel, or set it from pszValeur and
// answer it as it now stands.
CXYString<wchar_t> clTempsFichier(CComposanteStandard* pclThis, const STManipAUB* pstNom, const wchar_t* pszValeur,
                                  int nQuel, bool bDate, bool bHeure) {
    if (nQuel < 0 || nQuel > 2) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80050);
        return {};
    }
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(pclThis, pstNom, szNom)) return {};
    CXError clErreur(&gstMyModuleInfo8);
    CDiskFile::_stXFILETIME st{};
    if (!CDiskFile::bGetTime(szNom, nQuel, &st, &clErreur)) {
        EchecSysteme(pclThis, &clErreur, errno);
        return {};
    }
    if (pszValeur != nullptr && pszValeur[0] != 0) {
        if (!bConvertDateHeure(pszValeur, bDate, bHeure, &st)) {
            pclThis->RaiseError(&gstMyModuleInfo8, 81802);
            return {};
        }
        if (!CDiskFile::bSetTime(szNom, nQuel, &st, &clErreur) || !CDiskFile::bGetTime(szNom, nQuel, &st, &clErreur)) {
            EchecSysteme(pclThis, &clErreur, errno);
            return {};
        }
    }
    wchar_t sz[32];
    if (bDate && bHeure)
        std::swprintf(sz, 32, L"%04i%02i%02i%02i%02i%02i", st.wAnnee, st.wMois, st.wJour, st.wHeure, st.wMinute,
                      st.wSeconde);
    else if (bDate)
        std::swprintf(sz, 32, L"%04i%02i%02i", st.wAnnee, st.wMois, st.wJour);
    else
        std::swprintf(sz, 32, L"%02i%02i%02i", st.wHeure, st.wMinute, st.wSeconde);
    CXYString<wchar_t> cl;
    if (cl.nAffecte(sz) != 0) pclThis->pclGetError()->SetErrorNoMemory();
    return cl;
}

// ---------------------------------------------------------------- attributes

// The letters of an entry: "D" directory, "H" hidden (a dot name), "R" when nobody may write it or
// this process may not.
bool bLettresAttribut(const wchar_t* pszNom, wchar_t* pszLettres) {
    uint32_t dwAttributs = 0;
    int64_t oTaille = 0;
    if (!CDiskFile::__bGetFileAttributesAndSize(pszNom, &dwAttributs, &oTaille)) return false;
    wchar_t* p = pszLettres;
    if (dwAttributs & CDiskFile::eATTR_REPERTOIRE) *p++ = L'D';
    if (dwAttributs & CDiskFile::eATTR_CACHE) *p++ = L'H';
    if ((dwAttributs & CDiskFile::eATTR_ECRITURE) == 0 || CDiskFile::Unix_access(pszNom, W_OK) != 0) *p++ = L'R';
    *p = 0;
    return true;
}

// The process's umask, read without changing it (umask() would change it for every thread for a
// moment); 022 when the system does not say.
mode_t nUmask() {
    mode_t nMasque = 022;
    std::FILE* pf = std::fopen("/proc/self/status", "re");
    if (pf == nullptr) return nMasque;
    char sz[256];
    while (std::fgets(sz, sizeof sz, pf) != nullptr) {
        unsigned int n = 0;
        if (std::sscanf(sz, "Umask: %o", &n) == 1) {
            nMasque = static_cast<mode_t>(n & 0777);
            break;
        }
    }
    std::fclose(pf);
    return nMasque;
}

// Makes an entry read only (every write bit off) or writable again. Writable gives write to each
// class that may read, within the process's umask: unlike a fixed 0666, execute bits and a
// directory's search bits stay as they were.
bool bChangeLectureSeule(const wchar_t* pszNom, bool bLectureSeule) {
    struct stat st {};
    if (CDiskFile::Unix_stat(pszNom, &st) != 0) return false;
    mode_t nMode = st.st_mode & 07777;
    if (bLectureSeule) {
        nMode &= ~static_cast<mode_t>(0222);
    } else {
        nMode |= S_IWUSR | (((nMode & 0044) >> 1) & ~nUmask());
    }
    return nMode == (st.st_mode & 07777) || CDiskFile::Unix_chmod(pszNom, nMode) == 0;
}

}  // namespace

namespace ovfichier {

// fAttribut and fRepAttribut: letters read, or set from pszNouveau ("R" read only, anything else
// writable; "D" and "H" cannot be given by a change of mode and are let be).
CXYString<wchar_t> clAttribut(CComposanteStandard* pclThis, const STManipAUB* pstNom, const wchar_t* pszNouveau) {
    const CXYString<wchar_t> clErr(L"ERR");
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(pclThis, pstNom, szNom)) return clErr;
    if (std::wcslen(szNom) < 4 && szNom[0] != 0 && szNom[1] == L':') return clErr;  // a drive
    if (pszNouveau != nullptr && pszNouveau[0] != 0 &&
        !bChangeLectureSeule(szNom, std::wcschr(pszNouveau, L'R') != nullptr || std::wcschr(pszNouveau, L'r') != nullptr)) {
        EchecSysteme(pclThis, nullptr, errno);
        return clErr;
    }
    wchar_t szLettres[4];
    if (!bLettresAttribut(szNom, szLettres)) {
        EchecSysteme(pclThis, nullptr, errno);
        return clErr;
    }
    return CXYString<wchar_t>(szLettres);
}

}  // namespace ovfichier

// ================================================================ texts and buffers

// The form asks for the result of a file without mark: 0 as the machine's string mode says,
// 1 8-bit text, 2 wide text. A file with a mark always answers wide text.
void CComposanteStandard::fChargeTexte(const STManipAUB* pstNom, int nForme) {
    STZKAppel* pstAppel = pstGetAppel();
    auto Echec = [&] {
        if (pstAppel != nullptr) ovthunk::PousseEchec(pstAppel);
    };
    if (nForme < 0 || nForme > 2) {
        RaiseError(&gstMyModuleInfo8, 80700);
        return Echec();
    }
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return Echec();
    CZKBIN clContenu;
    if (!bLitFichier(this, szNom, 0, -1, &clContenu)) return Echec();
    const int nTaille = clContenu.nGetTaille();
    const uint8_t* pbyData = clContenu.pbyGet();
    const bool bMarque = (nTaille >= 2 && ((pbyData[0] == 0xFF && pbyData[1] == 0xFE) ||
                                           (pbyData[0] == 0xFE && pbyData[1] == 0xFF))) ||
                         (nTaille >= 3 && std::memcmp(pbyData, kMarqueUTF8, 3) == 0);
    CXYString<wchar_t> clTexte;
    CDiskFile::etxType eType = CDiskFile::etxANSI;
    // The buffer is ours alone; the big-endian form is swapped in it.
    auto* pbyModifiable = static_cast<uint8_t*>(clContenu.pGetBloc());
    if (nTaille > 0 &&
        !CDiskFile::bChargeTexteBOMFromBuffer(&clTexte, pbyModifiable, static_cast<size_t>(nTaille),
                                              static_cast<unsigned int>(STR_nGetCurrentCodePage()), &eType)) {
        EchecSysteme(this, nullptr, EILSEQ);
        return Echec();
    }
    if (pstAppel == nullptr) return;
    int nFormeResultat = 0;
    if (bMarque || nForme == 2) nFormeResultat = STManipAUB::TYPE_UNICODE;
    else if (nForme == 1) nFormeResultat = STManipAUB::TYPE_ANSI;
    ovthunk::PousseTexte(pstAppel, clTexte, nFormeResultat);
}

// Option 0 writes wide text as UTF-16, with its mark unless the program works in 8-bit strings;
// any other option writes the text without mark: 8-bit text as its bytes stand, wide text as UTF-8.
bool CComposanteStandard::fSauveTexte(const STManipAUB* pstNom, const STManipAUB* pstTexte, int nOption) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return false;
    std::string sOctets;
    int nTaille = 0;
    const uint8_t* pbyValeur = pstTexte != nullptr ? pstTexte->pbyGetContenuUtile(&nTaille) : nullptr;
    if (nTaille > 0) {
        if (pstTexte->nType == STManipAUB::TYPE_UNICODE) {
            const auto* pszTexte = reinterpret_cast<const wchar_t*>(pbyValeur);
            const int nCaracteres = nTaille / static_cast<int>(sizeof(wchar_t));
            bool bPret;
            if (nOption != 0) {
                bPret = bVersUTF8(pszTexte, nCaracteres, &sOctets);
            } else {
                IVM* piVM = piGetVM();
                const int nMode = piVM != nullptr ? piVM->nModeChaine() : 0;
                if (nMode != 1 && nMode != 2) sOctets.assign(reinterpret_cast<const char*>(kMarqueUTF16LE), 2);
                bPret = bVersUTF16(pszTexte, nCaracteres, &sOctets);
            }
            if (!bPret) {
                EchecSysteme(this, nullptr, EILSEQ);
                return false;
            }
        } else {
            sOctets.assign(reinterpret_cast<const char*>(pbyValeur), static_cast<size_t>(nTaille));
        }
    }
    if (!bSauveFichierSur(szNom, sOctets)) {
        EchecSysteme(this, nullptr, errno);
        return false;
    }
    return true;
}

bool CComposanteStandard::fSauveBuffer(const STManipAUB* pstNom, CZKBIN clContenu) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return false;
    const std::string sOctets(reinterpret_cast<const char*>(clContenu.pbyGet()),
                              static_cast<size_t>(clContenu.nGetTaille()));
    if (!bSauveFichierSur(szNom, sOctets)) {
        EchecSysteme(this, nullptr, errno);
        return false;
    }
    return true;
}

// The machine keeps no library files on this platform, so a name of its library ("OVL:...")
// answers a failure that says so rather than a search among the disk's files.
static bool _bReadFilePortion(CComposanteStandard* pclThis, const STManipAUB* pstNom, long nOffset, long nTaille,
                              CZKBIN* pclSortie) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(pclThis, pstNom, szNom)) return false;
    if (std::wcsncmp(szNom, L"OVL:", 4) == 0) {
        pclThis->RaiseError(&gstMyModuleInfo8, 80059);
        pclThis->pclGetError()->AddDebugMessagePrintf(L"##(CComposanteStandard)-No library file=<%ls>##", szNom);
        pclThis->pclGetError()->SetErrorLevel(2);
        return false;
    }
    return bLitFichier(pclThis, szNom, nOffset, nTaille, pclSortie);
}

CZKBIN CComposanteStandard::fChargeBuffer(const STManipAUB* pstNom) {
    CZKBIN cl;
    _bReadFilePortion(this, pstNom, 0, -1, &cl);
    return cl;
}

// An offset past the end gives an empty buffer; a size of -1 or more than is left reads to the end.
CZKBIN CComposanteStandard::fChargeBuffer(const STManipAUB* pstNom, long nOffset, long nTaille) {
    CZKBIN cl;
    if (nOffset < 0 || nTaille < -1) {
        RaiseError(&gstMyModuleInfo8, 80700);
        return cl;
    }
    _bReadFilePortion(this, pstNom, nOffset, nTaille, &cl);
    return cl;
}

// A wide text for a Unicode file, or an 8-bit text for an 8-bit file, is written as it stands; the
// other pairs are converted. An empty file that receives wide text becomes a Unicode file.
bool CComposanteStandard::fAjouteTexte(const STManipAUB* pstNom, const STManipAUB* pstTexte) {
    return bAjoute(this, pstNom, pstTexte, false);
}

bool CComposanteStandard::fAjouteBuffer(const STManipAUB* pstNom, CZKBIN clContenu) {
    STManipAUB st{clContenu.pGetBloc(), STManipAUB::TYPE_BINAIRE};
    return bAjoute(this, pstNom, &st, true);
}

// ================================================================ comparison

// 1 equal, 0 different, -1 or -2 when the first or second file cannot be read, -3 for an empty name.
int CComposanteStandard::fCompare(const STManipAUB* pstNom1, const STManipAUB* pstNom2, int nTailleBloc) {
    constexpr int kTailleBlocMax = 64 << 20;
    wchar_t szNom1[kMaxPath + 1], szNom2[kMaxPath + 1];
    if (!bLitNom(this, pstNom1, szNom1, true) || !bLitNom(this, pstNom2, szNom2, true)) return -3;
    if (szNom1[0] == 0 || szNom2[0] == 0) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return -3;
    }
    if (nTailleBloc <= 0 || nTailleBloc > kTailleBlocMax) {
        RaiseError(&gstMyModuleInfo8, 80061);
        return -3;
    }
    if (std::wcscmp(szNom1, szNom2) == 0) return 1;
    CDiskFile clFichier1, clFichier2;
    const wchar_t* tabNoms[2] = {szNom1, szNom2};
    CDiskFile* tabFichiers[2] = {&clFichier1, &clFichier2};
    for (int i = 0; i < 2; ++i) {
        if (CDiskFile::bIsADirectory(tabNoms[i]) ||
            !tabFichiers[i]->bOpen(tabNoms[i], eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr)) {
            EchecNumerote(this, 80060, tabNoms[i]);
            return -1 - i;
        }
    }
    std::unique_ptr<uint8_t[]> pby1(new (std::nothrow) uint8_t[static_cast<size_t>(nTailleBloc)]);
    std::unique_ptr<uint8_t[]> pby2(new (std::nothrow) uint8_t[static_cast<size_t>(nTailleBloc)]);
    if (!pby1 || !pby2) {
        RaiseError(&gstMyModuleInfo8, 80041);
        return 0;
    }
    const auto nBloc = static_cast<unsigned int>(nTailleBloc);
    for (;;) {
        unsigned int nLu1 = 0, nLu2 = 0;
        if (!clFichier1.bRead(pby1.get(), nBloc, &nLu1)) {
            EchecNumerote(this, 80060, szNom1);
            return -1;
        }
        if (!clFichier2.bRead(pby2.get(), nBloc, &nLu2)) {
            EchecNumerote(this, 80060, szNom2);
            return -2;
        }
        if (nLu1 != nLu2 || std::memcmp(pby1.get(), pby2.get(), nLu1) != 0) return 0;
        if (nLu1 < nBloc) return 1;
    }
}

// ================================================================ existence and size

bool CComposanteStandard::fFichierExiste(const STManipAUB* pstNom) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom, true)) return false;
    return szNom[0] != 0 && CDiskFile::bIsAFile(szNom);
}

bool CComposanteStandard::fRepertoireExiste(const STManipAUB* pstNom) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom, true)) return false;
    return szNom[0] != 0 && CDiskFile::bIsADirectory(szNom);
}

// -1 for a directory, which has no size of its own, or a failure.
long CComposanteStandard::fTaille(const STManipAUB* pstNom) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return -1;
    if (CDiskFile::bIsADirectory(szNom)) return -1;
    CXError clErreur(&gstMyModuleInfo8);
    const long oTaille = CDiskFile::s_oGetSize(szNom, &clErreur);
    if (oTaille < 0) EchecSysteme(this, &clErreur, errno);
    return oTaille;
}

// ================================================================ attributes and times

CXYString<wchar_t> CComposanteStandard::fAttribut(const STManipAUB* pstNom, const wchar_t* pszNouveau) {
    return ovfichier::clAttribut(this, pstNom, pszNouveau);
}

// Without a flag: whether the entry is read only. With one: makes it read only (non-zero) or
// writable (zero).
bool CComposanteStandard::fAttributLectureSeule(const STManipAUB* pstNom) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return false;
    wchar_t szLettres[4];
    if (!bLettresAttribut(szNom, szLettres)) {
        EchecSysteme(this, nullptr, errno);
        return false;
    }
    return std::wcschr(szLettres, L'R') != nullptr;
}

bool CComposanteStandard::fAttributLectureSeule(const STManipAUB* pstNom, int bLectureSeule) {
    wchar_t szNom[kMaxPath + 1];
    if (!bLitNom(this, pstNom, szNom)) return false;
    if (!bChangeLectureSeule(szNom, bLectureSeule != 0)) {
        EchecSysteme(this, nullptr, errno);
        return false;
    }
    return true;
}

CXYString<wchar_t> CComposanteStandard::fDate(const STManipAUB* pstNom, const wchar_t* pszValeur, int nQuel) {
    return clTempsFichier(this, pstNom, pszValeur, nQuel, true, false);
}

CXYString<wchar_t> CComposanteStandard::fHeure(const STManipAUB* pstNom, const wchar_t* pszValeur, int nQuel) {
    return clTempsFichier(this, pstNom, pszValeur, nQuel, false, true);
}

CXYString<wchar_t> CComposanteStandard::fDateHeure(const STManipAUB* pstNom, const wchar_t* pszValeur, int nQuel) {
    return clTempsFichier(this, pstNom, pszValeur, nQuel, true, true);
}

// ================================================================ temporary names

// A new empty file in the directory (the system's temporary directory when none is given), named
// from the prefix; its full name is the result.
CXYString<wchar_t> CComposanteStandard::fFichierTemp(const STManipAUB* pstRepertoire, const wchar_t* pszPrefixe) {
    wchar_t szRepertoire[kMaxPath + 1];
    if (!bLitNom(this, pstRepertoire, szRepertoire, true)) return {};
    CXError clErreur(&gstMyModuleInfo8);
    if (szRepertoire[0] == 0 && !CDiskFile::bGetTempDirectory(szRepertoire, &clErreur)) {
        EchecSysteme(this, &clErreur, errno);
        return {};
    }
    if (pszPrefixe != nullptr && (std::wcslen(pszPrefixe) > 200 || !CDiskFile::bValidName(pszPrefixe))) {
        RaiseError(&gstMyModuleInfo8, 80059);
        return {};
    }
    wchar_t szNom[kMaxPath + 1];
    if (!CDiskFile::bGetTempName(szNom, szRepertoire, pszPrefixe != nullptr ? pszPrefixe : L"", &clErreur)) {
        EchecSysteme(this, &clErreur, errno);
        return {};
    }
    return CXYString<wchar_t>(szNom);
}

CXYString<wchar_t> CComposanteStandard::fRepertoireTemp() {
    wchar_t szRepertoire[kMaxPath + 1];
    CXError clErreur(&gstMyModuleInfo8);
    if (!CDiskFile::bGetTempDirectory(szRepertoire, &clErreur)) {
        EchecSysteme(this, &clErreur, errno);
        return {};
    }
    return CXYString<wchar_t>(szRepertoire);
}
