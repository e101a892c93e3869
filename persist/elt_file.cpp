// Versioned element files: the common header, the chain of versions, the part tables and the
// multi-language parts, read with every field checked against the file, and the writer.
#include "persist/elt_file.h"

#include <cstring>
#include <new>

#include "compress/block_compressors.h"
#include "files/memory_stream.h"

namespace {

constexpr unsigned int kMessageFormat = 28150;
constexpr unsigned int kMessageId = 28151;
constexpr unsigned int kMessageStructure = 28152;

// Block layout of a version, offsets from the block's start.
constexpr uint32_t kOffsetLien = 0;
constexpr uint32_t kOffsetTailleEntete = 8;
constexpr uint32_t kOffsetVersionEntete = 12;
constexpr uint32_t kOffsetOffsetNbPartie = 16;
constexpr uint32_t kOffsetVersionElement = 32;
// At 36, five 16-bit words of the writer's version (kwVersionEcrivain below); the reader skips them.
constexpr uint32_t kOffsetTag = 46;
constexpr uint32_t kTailleTag = 11;
constexpr uint32_t kTailleEnteteBloc = 8;  // the link; the version header is counted from here
constexpr uint32_t kTailleEntreePartie = 5;
constexpr uint32_t kTailleEntreeEncodage = 8;
// The smallest block there can be: the fixed header, the count and one part of both tables.
constexpr uint32_t kTailleBlocMin = kTailleEnteteBloc + CEltProjetFile::s_dwTailleEnteteEltFixe + 4 +
                                    kTailleEntreePartie + kTailleEntreeEncodage;
constexpr uint16_t kwVersionEcrivain[5] = {20, 0, 102, 0, 0};
// A multi-language part starts with the version of its table and the count of languages.
constexpr uint32_t kTailleEnteteMulti = 4;
constexpr uint32_t kTailleEntreeLangue = 6;

uint32_t dwLit32(const uint8_t* pby) noexcept {
    return uint32_t{pby[0]} | uint32_t{pby[1]} << 8 | uint32_t{pby[2]} << 16 | uint32_t{pby[3]} << 24;
}
uint16_t wLit16(const uint8_t* pby) noexcept { return static_cast<uint16_t>(pby[0] | pby[1] << 8); }
uint64_t qwLit64(const uint8_t* pby) noexcept { return uint64_t{dwLit32(pby)} | uint64_t{dwLit32(pby + 4)} << 32; }
void Ecrit16(std::vector<uint8_t>* ptab, uint16_t w) {
    ptab->push_back(static_cast<uint8_t>(w));
    ptab->push_back(static_cast<uint8_t>(w >> 8));
}
void Ecrit32(std::vector<uint8_t>* ptab, uint32_t dw) {
    for (int i = 0; i < 4; ++i) ptab->push_back(static_cast<uint8_t>(dw >> (8 * i)));
}
void Ecrit64(std::vector<uint8_t>* ptab, uint64_t qw) {
    Ecrit32(ptab, static_cast<uint32_t>(qw));
    Ecrit32(ptab, static_cast<uint32_t>(qw >> 32));
}
void Pose32(uint8_t* pby, uint32_t dw) noexcept {
    for (int i = 0; i < 4; ++i) pby[i] = static_cast<uint8_t>(dw >> (8 * i));
}

// The bytes of a part as stored: the first dwOffset bytes plain, the rest through the block
// compressor of the encoding's pack method.
bool bCodePartie(std::vector<uint8_t>* ptab, uint32_t dwEncodage, uint32_t dwOffset) {
    const int nMethode = __s_eConvertToPackMethod(dwEncodage);
    if (nMethode == 0) return true;
    if (dwOffset > ptab->size()) return false;
    return ovcompresse::bPackeRegion(ptab, dwOffset, nMethode);
}

}  // namespace

int __s_eConvertToPackMethod(uint32_t dwEncodage) noexcept {
    if ((dwEncodage & 0xF0) != 0) return 0;
    const uint32_t dwMethode = dwEncodage & 0x0F;
    return dwMethode == 1 || dwMethode == 2 ? static_cast<int>(dwMethode) : 0;
}

// ================================================================ COVFile

bool COVFile::s_bIsProjet(uint32_t dwId) noexcept {
    return dwId == 8 || dwId == 2 || dwId == 0x102 || dwId == kdwIdProjet;
}

bool COVFile::bIdReconnu(uint32_t dwId) const noexcept {
    if (m_dwIdAttendu == 0 || dwId == m_dwIdAttendu) return true;
    return m_dwIdAttendu == kdwIdProjet && s_bIsProjet(dwId);
}

int COVFile::_nEchecFormat(const wchar_t* pszDebug, unsigned int nIdMessage) noexcept {
    CXError* pclErreur = pclGetXError();
    if (pclErreur != nullptr) {
        pclErreur->SetErrorLevel(CXError::EL_ERROR3);
        pclErreur->AddDebugMessageNoFormat(pszDebug);
        const wchar_t* pszNom = pszGetName();
        pclErreur->AddUserMessage(&gstMyModuleInfo8, nIdMessage, pszNom != nullptr ? pszNom : L"");
    }
    return 0;
}

bool COVFile::_bLitExact(int64_t oOffset, void* pData, uint32_t nTaille, const wchar_t* pszClasse) noexcept {
    if (oOffset < 0 || piGetStream() == nullptr) return false;
    unsigned int nLu = 0;
    if (bRead(static_cast<long>(oOffset), pData, nTaille, &nLu) && nLu == nTaille) return true;
    CXError* pclErreur = pclGetXError();
    if (pclErreur != nullptr) {
        pclErreur->SetErrorLevel(CXError::EL_ERROR3);
        pclErreur->AddDebugMessagePrintf(L"##(%ls)-Octet attendu=<%u>, octet lu=<%u>##", pszClasse, nTaille, nLu);
        const wchar_t* pszNom = pszGetName();
        pclErreur->AddUserMessage(&gstMyModuleInfo8, 28003, pszNom != nullptr ? pszNom : L"");
    }
    return false;
}

int COVFile::bOpen(const wchar_t* pszNom, eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag,
                   int* pbCree) noexcept {
    if (!CXFile::bOpen(pszNom, eAccess, eShare, eCreate, eFlag, pbCree)) return 0;
    if (eCreate == eCREATE_VIDE_OU_CREE || (pbCree != nullptr && *pbCree)) return 1;
    if (bReadHeader(0)) return 1;
    Close();
    return 0;
}

int COVFile::bOpenEx(IXStream* piFlux) noexcept {
    if (piFlux == nullptr || !piFlux->bIsOpen()) return 0;
    SetStream(piFlux);
    return bReadHeader(0);
}

int COVFile::bReopen(eACCESS eAccess, eSHARE eShare, eCREATE eCreate, eFLAG eFlag) noexcept {
    if (!CXFile::bReopen(eAccess, eShare, eCreate, eFlag)) return 0;
    return eCreate == eCREATE_VIDE_OU_CREE ? 1 : bReadHeader(m_oEntete);
}

int COVFile::bReadHeader(long oOffset) noexcept {
    m_dwIdInconnu = 0;
    uint8_t aby[kdwTailleEntete];
    if (oOffset < 0 || oGetSize() - oOffset < static_cast<long>(kdwTailleEntete))
        return _nEchecFormat(L"##(COVFile)-Entete trop court##", kMessageFormat);
    if (!_bLitExact(oOffset, aby, kdwTailleEntete, L"COVFile")) return 0;
    STEntete st;
    st.dwSignature = dwLit32(aby);
    st.dwTailleEntete = dwLit32(aby + 4);
    st.dwIdFichier = dwLit32(aby + 8);
    st.wVersion = wLit16(aby + 12);
    st.byVersion2 = aby[14];
    st.byCodeProduit = aby[15];
    st.wChamp3 = wLit16(aby + 16);
    st.wChamp4 = wLit16(aby + 18);
    if (st.dwSignature != mg_dwSignatureFichierOrvane)
        return _nEchecFormat(L"##(COVFile)-Signature inconnue##", kMessageFormat);
    // The next data starts a header size further on: it must be a whole header, inside the file.
    if (st.dwTailleEntete < kdwTailleEntete || static_cast<int64_t>(st.dwTailleEntete) > oGetSize() - oOffset)
        return _nEchecFormat(L"##(COVFile)-Taille d'entete invalide##", kMessageFormat);
    if (!bIdReconnu(st.dwIdFichier)) {
        m_dwIdInconnu = st.dwIdFichier;
        return _nEchecFormat(L"##(COVFile)-Identifiant de fichier inattendu##", kMessageId);
    }
    m_stEntete = st;
    m_oEntete = oOffset;
    return 1;
}

int COVFile::bWriteHeader(long oOffset) noexcept {
    if (oOffset < 0 || m_stEntete.dwTailleEntete < kdwTailleEntete) return 0;
    uint8_t aby[kdwTailleEntete];
    Pose32(aby, mg_dwSignatureFichierOrvane);
    Pose32(aby + 4, m_stEntete.dwTailleEntete);
    Pose32(aby + 8, m_stEntete.dwIdFichier);
    aby[12] = static_cast<uint8_t>(m_stEntete.wVersion);
    aby[13] = static_cast<uint8_t>(m_stEntete.wVersion >> 8);
    aby[14] = m_stEntete.byVersion2;
    aby[15] = m_stEntete.byCodeProduit;
    aby[16] = static_cast<uint8_t>(m_stEntete.wChamp3);
    aby[17] = static_cast<uint8_t>(m_stEntete.wChamp3 >> 8);
    aby[18] = static_cast<uint8_t>(m_stEntete.wChamp4);
    aby[19] = static_cast<uint8_t>(m_stEntete.wChamp4 >> 8);
    unsigned int nEcrit = 0;
    if (!bWrite(oOffset, aby, kdwTailleEntete, &nEcrit) || nEcrit != kdwTailleEntete) return 0;
    // A larger header keeps its room: the bytes beyond the 20 known ones are zeros.
    for (uint32_t dwReste = m_stEntete.dwTailleEntete - kdwTailleEntete; dwReste > 0;) {
        static const uint8_t s_abyZeros[256] = {};
        const uint32_t n = dwReste < sizeof s_abyZeros ? dwReste : sizeof s_abyZeros;
        if (!bWrite(s_abyZeros, n, &nEcrit) || nEcrit != n) return 0;
        dwReste -= n;
    }
    m_oEntete = oOffset;
    return 1;
}

int COVFile::bWriteHeaderEx(long oOffset, uint32_t dwIdFichier, uint16_t wVersion, uint8_t byVersion2) noexcept {
    m_stEntete.dwIdFichier = dwIdFichier;
    m_stEntete.wVersion = wVersion;
    m_stEntete.byVersion2 = byVersion2;
    return bWriteHeader(oOffset);
}

// ================================================================ CEltProjetFile: reading

int CEltProjetFile::bOuvreMemoire(const uint8_t* pbyOctets, size_t nTaille) noexcept {
    if (nTaille > UINT32_MAX || (pbyOctets == nullptr && nTaille > 0)) return 0;
    auto* pclFlux = new (std::nothrow) CMemoryStream();
    if (pclFlux == nullptr) return 0;
    SetStream(pclFlux);  // the file owns the stream from here
    // The stream only reads: the caller's bytes are never written through it.
    if (!pclFlux->bAssociate(const_cast<uint8_t*>(pbyOctets), static_cast<unsigned int>(nTaille)) ||
        !pclFlux->bOpen(L"", eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr))
        return 0;
    if (!bReadHeader(0)) return 0;
    return bLitStructure();
}

int CEltProjetFile::bLitStructure() noexcept {
    try {
        m_tabVersions.clear();
        m_tabParties.clear();
        const int64_t oTaille = oGetSize();
        const int64_t oMot = oGetFinEntete();
        uint8_t abyMot[4];
        if (!_bLitExact(oMot, abyMot, 4, L"CEltProjetFile")) return 0;
        m_dwMotGeneral = dwLit32(abyMot);
        int64_t oBloc = oMot + 4;
        // Each block holds at least a minimal header, so the file bounds the count; links only
        // move forward, so the walk ends on its own, and the bound stops it anyway.
        const int64_t nMax = oTaille > oBloc ? (oTaille - oBloc) / kTailleBlocMin + 1 : 0;
        while (true) {
            if (oBloc + static_cast<int64_t>(kTailleBlocMin) > oTaille || static_cast<int64_t>(m_tabVersions.size()) >= nMax)
                return _nEchecFormat(L"##(CEltProjetFile)-Chaine des versions invalide##", kMessageStructure);
            m_tabVersions.push_back(oBloc);
            uint8_t abyLien[8];
            if (!_bLitExact(oBloc + kOffsetLien, abyLien, 8, L"CEltProjetFile")) return 0;
            const uint64_t qwLien = qwLit64(abyLien);
            if (qwLien == 0) break;
            if (qwLien > static_cast<uint64_t>(oTaille - oBloc))
                return _nEchecFormat(L"##(CEltProjetFile)-Lien hors du fichier##", kMessageStructure);
            oBloc += static_cast<int64_t>(qwLien);
        }
        return 1;
    } catch (...) {
        m_tabVersions.clear();
        if (pclGetXError() != nullptr) pclGetXError()->SetErrorNoMemory();
        return 0;
    }
}

int64_t CEltProjetFile::oGetOffsetVersion(int nVersion) const noexcept {
    const int nNb = nNbVersion();
    if (nVersion < 0 || nVersion >= nNb) return -1;
    return m_tabVersions[static_cast<size_t>(nVersion == 0 ? nNb - 1 : nVersion - 1)];
}

int CEltProjetFile::bOuvreVersion(int nVersion) noexcept {
    m_tabParties.clear();
    m_dwTailleEnteteVersion = 0;
    const int64_t oBloc = oGetOffsetVersion(nVersion);
    if (oBloc < 0) return _nEchecFormat(L"##(CEltProjetFile)-Version inexistante##", kMessageStructure);
    try {
        const int64_t oTaille = oGetSize();
        const int nIndex = nVersion == 0 ? nNbVersion() - 1 : nVersion - 1;
        m_oFinVersion = nIndex + 1 < nNbVersion() ? m_tabVersions[static_cast<size_t>(nIndex + 1)] : oTaille;
        uint8_t abyFixe[kTailleEnteteBloc + s_dwTailleEnteteEltFixe];
        if (!_bLitExact(oBloc, abyFixe, sizeof abyFixe, L"CEltProjetFile")) return 0;
        const uint32_t dwTailleEntete = dwLit32(abyFixe + kOffsetTailleEntete);
        const uint32_t dwVersionEntete = dwLit32(abyFixe + kOffsetVersionEntete);
        const uint32_t dwMajeur = dwVersionEntete >> 16;
        const uint32_t dwMineur = dwVersionEntete & 0xFFFF;
        const bool bExceptionAncienne = (dwVersionEntete & 0xFFFFFFF0u) == 0x2FFF0;
        if (((dwMajeur != 0 && dwMajeur < 4) || dwMajeur > kwMajeurEntete) && !bExceptionAncienne)
            return _nEchecFormat(L"##(CEltProjetFile)-Version d'entete inconnue##", kMessageStructure);
        const bool bChampsFixes = !(dwMajeur < 3 && dwMineur == 0);
        // The header runs from the block's offset 8 and must end inside the version's block.
        const int64_t oFinEntete = oBloc + kTailleEnteteBloc + int64_t{dwTailleEntete};
        if (dwTailleEntete < s_dwTailleEnteteEltFixe || oFinEntete > m_oFinVersion)
            return _nEchecFormat(L"##(CEltProjetFile)-Taille d'entete de version invalide##", kMessageStructure);
        const uint64_t qwOffsetNb = dwMajeur == 1 ? 32 : qwLit64(abyFixe + kOffsetOffsetNbPartie);
        if (qwOffsetNb < kTailleEnteteBloc || qwOffsetNb + 4 > uint64_t{kTailleEnteteBloc} + dwTailleEntete)
            return _nEchecFormat(L"##(CEltProjetFile)-Position du nombre de parties invalide##", kMessageStructure);
        if (bChampsFixes) {
            if (dwLit32(abyFixe + kOffsetVersionElement) > kdwVersionElement)
                return _nEchecFormat(L"##(CEltProjetFile)-Version d'element inconnue##", kMessageStructure);
            const auto* pszTag = reinterpret_cast<const char*>(abyFixe + kOffsetTag);
            m_sTag.assign(pszTag, strnlen(pszTag, kTailleTag));
        } else {
            m_sTag.clear();
        }
        uint8_t abyNb[4];
        if (!_bLitExact(oBloc + static_cast<int64_t>(qwOffsetNb), abyNb, 4, L"CEltProjetFile")) return 0;
        const uint32_t dwNbPartie = dwLit32(abyNb);
        const bool bTableEncodage = dwMajeur >= kwMajeurTableEncodage && !bExceptionAncienne;
        const uint64_t qwParPartie = kTailleEntreePartie + (bTableEncodage ? kTailleEntreeEncodage : 0);
        // Both tables must lie inside the version header: this bounds the count by the file.
        if (dwNbPartie == 0 || qwOffsetNb + 4 + qwParPartie * dwNbPartie > uint64_t{kTailleEnteteBloc} + dwTailleEntete)
            return _nEchecFormat(L"##(CEltProjetFile)-Nombre de parties invalide##", kMessageStructure);
        std::vector<uint8_t> tabTables(static_cast<size_t>(qwParPartie * dwNbPartie));
        if (!_bLitExact(oBloc + static_cast<int64_t>(qwOffsetNb) + 4, tabTables.data(),
                        static_cast<uint32_t>(tabTables.size()), L"CEltProjetFile"))
            return 0;
        std::vector<STPartieElt> tabParties(dwNbPartie);
        int64_t oPartie = oFinEntete;
        for (uint32_t i = 0; i < dwNbPartie; ++i) {
            const uint8_t* pby = tabTables.data() + size_t{i} * kTailleEntreePartie;
            STPartieElt& st = tabParties[i];
            st.byType = pby[0] & 0x0F;
            st.byOption = pby[0] & 0xF0;
            st.dwTaille = dwLit32(pby + 1);
            st.oDebut = oPartie;
            if (bTableEncodage) {
                const uint8_t* pbyEnc = tabTables.data() + size_t{dwNbPartie} * kTailleEntreePartie + size_t{i} * kTailleEntreeEncodage;
                st.dwInfoEncodage = dwLit32(pbyEnc);
                st.dwOffsetEncodage = dwLit32(pbyEnc + 4);
            }
            oPartie += st.dwTaille;
            if (oPartie > m_oFinVersion)
                return _nEchecFormat(L"##(CEltProjetFile)-Partie au-dela de la fin##", kMessageStructure);
        }
        m_tabParties = std::move(tabParties);
        m_dwTailleEnteteVersion = dwTailleEntete;
        return 1;
    } catch (...) {
        m_tabParties.clear();
        if (pclGetXError() != nullptr) pclGetXError()->SetErrorNoMemory();
        return 0;
    }
}

int64_t CEltProjetFile::oGetOffsetPartie(int nPartie) const noexcept {
    return nPartie >= 0 && nPartie < nNbPartie() ? m_tabParties[static_cast<size_t>(nPartie)].oDebut : -1;
}
uint32_t CEltProjetFile::dwGetTaillePartie(int nPartie) const noexcept {
    return nPartie >= 0 && nPartie < nNbPartie() ? m_tabParties[static_cast<size_t>(nPartie)].dwTaille : 0;
}
uint8_t CEltProjetFile::byGetTypePartie(int nPartie) const noexcept {
    return nPartie >= 0 && nPartie < nNbPartie() ? m_tabParties[static_cast<size_t>(nPartie)].byType : 0;
}
uint8_t CEltProjetFile::byGetOptionPartie(int nPartie) const noexcept {
    return nPartie >= 0 && nPartie < nNbPartie() ? m_tabParties[static_cast<size_t>(nPartie)].byOption : 0;
}
int CEltProjetFile::nGetInfoEncodagePartie(int nPartie) const noexcept {
    return nPartie >= 0 && nPartie < nNbPartie()
               ? static_cast<int>(m_tabParties[static_cast<size_t>(nPartie)].dwInfoEncodage) : 0;
}
int CEltProjetFile::nGetOffsetEncodagePartie(int nPartie) const noexcept {
    return nPartie >= 0 && nPartie < nNbPartie()
               ? static_cast<int>(m_tabParties[static_cast<size_t>(nPartie)].dwOffsetEncodage) : 0;
}

int CEltProjetFile::bGetPartie(int nPartie, std::vector<uint8_t>* ptabOctets) noexcept {
    if (ptabOctets == nullptr || nPartie < 0 || nPartie >= nNbPartie()) return 0;
    try {
        const STPartieElt& st = m_tabParties[static_cast<size_t>(nPartie)];
        ptabOctets->resize(st.dwTaille);
        return st.dwTaille == 0 || _bLitExact(st.oDebut, ptabOctets->data(), st.dwTaille, L"CEltProjetFile");
    } catch (...) {
        return 0;
    }
}

// A multi-language part: a 16-bit version of the table (s_dwVersionEnteteMulti), a 16-bit count
// of languages, one 6-byte entry per language (16-bit language, 32-bit size), the common bytes,
// then the blocks of the languages in the order of the entries. The common zone is everything in
// front of the first block, the table included, so that a change of a language's size is one
// change of the common zone.
bool CEltProjetFile::_bLitTableLangues(int nPartie, std::vector<STLangueElt>* ptabLangues, int64_t* poCommun) noexcept {
    if (nPartie < 0 || nPartie >= nNbPartie()) return false;
    const STPartieElt& st = m_tabParties[static_cast<size_t>(nPartie)];
    if ((st.byOption & kbyOptionMultiLangue) == 0 || st.dwTaille < kTailleEnteteMulti) return false;
    try {
        uint8_t abyEntete[kTailleEnteteMulti];
        if (!_bLitExact(st.oDebut, abyEntete, kTailleEnteteMulti, L"CEltProjetFile")) return false;
        if (wLit16(abyEntete) != s_dwVersionEnteteMulti) return false;
        const uint32_t dwNb = wLit16(abyEntete + 2);
        const uint64_t qwTable = kTailleEnteteMulti + uint64_t{kTailleEntreeLangue} * dwNb;
        if (qwTable > st.dwTaille) return false;
        std::vector<uint8_t> tab(static_cast<size_t>(qwTable - kTailleEnteteMulti));
        if (!tab.empty() && !_bLitExact(st.oDebut + kTailleEnteteMulti, tab.data(), static_cast<uint32_t>(tab.size()),
                                        L"CEltProjetFile"))
            return false;
        uint64_t qwLangues = 0;
        for (uint32_t i = 0; i < dwNb; ++i) qwLangues += dwLit32(tab.data() + size_t{i} * kTailleEntreeLangue + 2);
        if (qwLangues > st.dwTaille - qwTable) return false;
        const int64_t oCommun = static_cast<int64_t>(st.dwTaille - qwLangues);
        if (ptabLangues != nullptr) {
            ptabLangues->clear();
            int64_t o = st.oDebut + oCommun;
            for (uint32_t i = 0; i < dwNb; ++i) {
                STLangueElt stLangue;
                stLangue.wLangue = wLit16(tab.data() + size_t{i} * kTailleEntreeLangue);
                stLangue.dwTaille = dwLit32(tab.data() + size_t{i} * kTailleEntreeLangue + 2);
                stLangue.oDebut = o;
                o += stLangue.dwTaille;
                ptabLangues->push_back(stLangue);
            }
        }
        if (poCommun != nullptr) *poCommun = oCommun;
        return true;
    } catch (...) {
        return false;
    }
}

int CEltProjetFile::nNbLanguePartie(int nPartie) noexcept {
    std::vector<STLangueElt> tab;
    return _bLitTableLangues(nPartie, &tab, nullptr) ? static_cast<int>(tab.size()) : -1;
}

int64_t CEltProjetFile::oGetTailleCommunePartie(int nPartie) noexcept {
    int64_t o = -1;
    return _bLitTableLangues(nPartie, nullptr, &o) ? o : -1;
}

int CEltProjetFile::bGetInfoLanguePartie(int nPartie, int nLangue, STLangueElt* pstLangue) noexcept {
    std::vector<STLangueElt> tab;
    if (pstLangue == nullptr || !_bLitTableLangues(nPartie, &tab, nullptr) || nLangue < 0 ||
        static_cast<size_t>(nLangue) >= tab.size())
        return 0;
    *pstLangue = tab[static_cast<size_t>(nLangue)];
    return 1;
}

int CEltProjetFile::bGetLanguePartie(int nPartie, uint16_t wLangue, std::vector<uint8_t>* ptabOctets) noexcept {
    std::vector<STLangueElt> tab;
    if (ptabOctets == nullptr || !_bLitTableLangues(nPartie, &tab, nullptr)) return 0;
    for (const STLangueElt& st : tab) {
        if (st.wLangue != wLangue) continue;
        try {
            ptabOctets->resize(st.dwTaille);
        } catch (...) {
            return 0;
        }
        return st.dwTaille == 0 || _bLitExact(st.oDebut, ptabOctets->data(), st.dwTaille, L"CEltProjetFile");
    }
    return 0;
}

// ================================================================ CEltProjetFile: writing

bool CEltProjetFile::s_bConstruitPartieMulti(const STPartieAEcrire& stPartie, std::vector<uint8_t>* ptabOctets) noexcept {
    if (ptabOctets == nullptr || stPartie.tabLangues.size() > 0xFFFF) return false;
    try {
        std::vector<uint8_t>& tab = *ptabOctets;
        tab.clear();
        std::vector<std::vector<uint8_t>> tabBlocs;
        for (const auto& [wLangue, tabLangue] : stPartie.tabLangues) {
            tabBlocs.push_back(tabLangue);
            // Each language block is coded on its own, so that one language can be read alone.
            if (!bCodePartie(&tabBlocs.back(), stPartie.dwInfoEncodage, stPartie.dwOffsetEncodage)) return false;
            if (tabBlocs.back().size() > UINT32_MAX) return false;
        }
        Ecrit16(&tab, static_cast<uint16_t>(s_dwVersionEnteteMulti));
        Ecrit16(&tab, static_cast<uint16_t>(stPartie.tabLangues.size()));
        for (size_t i = 0; i < tabBlocs.size(); ++i) {
            Ecrit16(&tab, stPartie.tabLangues[i].first);
            Ecrit32(&tab, static_cast<uint32_t>(tabBlocs[i].size()));
        }
        tab.insert(tab.end(), stPartie.tabCommun.begin(), stPartie.tabCommun.end());
        for (const auto& tabBloc : tabBlocs) tab.insert(tab.end(), tabBloc.begin(), tabBloc.end());
        return true;
    } catch (...) {
        return false;
    }
}

int CEltProjetFile::bEcritFichier(const std::vector<STVersionAEcrire>& tabVersions, uint32_t dwMotGeneral) noexcept {
    if (tabVersions.empty() || m_stEntete.dwTailleEntete < kdwTailleEntete) return 0;
    try {
        std::vector<uint8_t> tabFichier;
        Ecrit32(&tabFichier, dwMotGeneral);
        std::vector<size_t> tabLiens;
        for (const STVersionAEcrire& stVersion : tabVersions) {
            const size_t nNb = stVersion.tabParties.size();
            if (nNb == 0) return 0;
            std::vector<std::vector<uint8_t>> tabDonnees;
            for (const STPartieAEcrire& stPartie : stVersion.tabParties) {
                tabDonnees.emplace_back();
                if ((stPartie.byOption & kbyOptionMultiLangue) != 0) {
                    if (!s_bConstruitPartieMulti(stPartie, &tabDonnees.back())) return 0;
                } else {
                    tabDonnees.back() = stPartie.tabOctets;
                    if (!bCodePartie(&tabDonnees.back(), stPartie.dwInfoEncodage, stPartie.dwOffsetEncodage)) return 0;
                }
                if (tabDonnees.back().size() > UINT32_MAX) return 0;
            }
            const size_t oBloc = tabFichier.size();
            tabLiens.push_back(oBloc);
            Ecrit64(&tabFichier, 0);  // the link, set when the next block is known
            const uint64_t qwTailleEntete = s_dwTailleEnteteEltFixe + 4 + uint64_t{13} * nNb;
            if (qwTailleEntete > UINT32_MAX) return 0;
            Ecrit32(&tabFichier, static_cast<uint32_t>(qwTailleEntete));
            Ecrit32(&tabFichier, uint32_t{kwMajeurEntete} << 16);
            Ecrit64(&tabFichier, kdwOffsetNbPartie);
            Ecrit64(&tabFichier, 0);
            Ecrit32(&tabFichier, stVersion.dwVersionElement);
            for (uint16_t w : kwVersionEcrivain) Ecrit16(&tabFichier, w);
            char szTag[kTailleTag] = {};
            memcpy(szTag, stVersion.sTag.data(), stVersion.sTag.size() < kTailleTag ? stVersion.sTag.size() : kTailleTag);
            tabFichier.insert(tabFichier.end(), szTag, szTag + kTailleTag);
            Ecrit32(&tabFichier, static_cast<uint32_t>(nNb));
            for (size_t i = 0; i < nNb; ++i) {
                const STPartieAEcrire& stPartie = stVersion.tabParties[i];
                tabFichier.push_back(static_cast<uint8_t>((stPartie.byType & 0x0F) | (stPartie.byOption & 0xF0)));
                Ecrit32(&tabFichier, static_cast<uint32_t>(tabDonnees[i].size()));
            }
            for (const STPartieAEcrire& stPartie : stVersion.tabParties) {
                Ecrit32(&tabFichier, stPartie.dwInfoEncodage);
                Ecrit32(&tabFichier, stPartie.dwOffsetEncodage);
            }
            for (const auto& tab : tabDonnees) tabFichier.insert(tabFichier.end(), tab.begin(), tab.end());
        }
        for (size_t i = 0; i + 1 < tabLiens.size(); ++i) {
            const uint64_t qwLien = tabLiens[i + 1] - tabLiens[i];
            Pose32(tabFichier.data() + tabLiens[i], static_cast<uint32_t>(qwLien));
            Pose32(tabFichier.data() + tabLiens[i] + 4, static_cast<uint32_t>(qwLien >> 32));
        }
        if (tabFichier.size() > UINT32_MAX) return 0;
        if (!bWriteHeader(0)) return 0;
        unsigned int nEcrit = 0;
        if (!bWrite(static_cast<long>(m_stEntete.dwTailleEntete), tabFichier.data(),
                    static_cast<unsigned int>(tabFichier.size()), &nEcrit) ||
            nEcrit != tabFichier.size())
            return 0;
        return 1;
    } catch (...) {
        if (pclGetXError() != nullptr) pclGetXError()->SetErrorNoMemory();
        return 0;
    }
}
