// Code pages. UTF-8 and the single-byte code pages never reach iconv during a conversion: UTF-8
// has its own codec, and a single-byte page is read once through iconv into a table of 256
// characters and its reverse. Multi-byte pages go through iconv, with descriptors kept in a small
// lock-free cache so that a call does not pay for iconv_open.
#include "base/code_pages.h"

#include <iconv.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "base/characters.h"
#include "base/internal/utf_codec.h"
#include "base/unicode.h"

using namespace base_internal;

namespace {

enum class ENature : uint8_t { Utf8, Simple, Iconv };

struct STCodePage {
    unsigned int nCodePage;
    const char* pszIConv;
    ENature eNature;
    bool bUnicode;  // a Unicode form: every scalar has a place, an invalid one is a bad sequence
};

// The code pages the library knows, with glibc's names for them.
constexpr STCodePage TABLE_CODE_PAGES[] = {
    {37, "IBM037", ENature::Simple, false},          {437, "CP437", ENature::Simple, false},
    {500, "IBM500", ENature::Simple, false},         {708, "ISO-8859-6", ENature::Simple, false},
    {737, "CP737", ENature::Simple, false},          {775, "CP775", ENature::Simple, false},
    {850, "CP850", ENature::Simple, false},          {852, "CP852", ENature::Simple, false},
    {855, "CP855", ENature::Simple, false},          {857, "CP857", ENature::Simple, false},
    {858, "CP858", ENature::Simple, false},          {860, "CP860", ENature::Simple, false},
    {861, "CP861", ENature::Simple, false},          {862, "CP862", ENature::Simple, false},
    {863, "CP863", ENature::Simple, false},          {864, "CP864", ENature::Simple, false},
    {865, "CP865", ENature::Simple, false},          {866, "CP866", ENature::Simple, false},
    {869, "CP869", ENature::Simple, false},          {874, "CP874", ENature::Simple, false},
    {875, "CP875", ENature::Simple, false},          {932, "CP932", ENature::Iconv, false},
    {936, "CP936", ENature::Iconv, false},           {949, "CP949", ENature::Iconv, false},
    {950, "CP950", ENature::Iconv, false},           {1026, "IBM1026", ENature::Simple, false},
    {1047, "IBM1047", ENature::Simple, false},       {1140, "IBM1140", ENature::Simple, false},
    {1141, "IBM1141", ENature::Simple, false},       {1142, "IBM1142", ENature::Simple, false},
    {1143, "IBM1143", ENature::Simple, false},       {1144, "IBM1144", ENature::Simple, false},
    {1145, "IBM1145", ENature::Simple, false},       {1146, "IBM1146", ENature::Simple, false},
    {1147, "IBM1147", ENature::Simple, false},       {1148, "IBM1148", ENature::Simple, false},
    {1149, "IBM1149", ENature::Simple, false},       {1200, "UTF-16LE", ENature::Iconv, true},
    {1201, "UTF-16BE", ENature::Iconv, true},        {1250, "CP1250", ENature::Simple, false},
    {1251, "CP1251", ENature::Simple, false},        {1252, "CP1252", ENature::Simple, false},
    {1253, "CP1253", ENature::Simple, false},        {1254, "CP1254", ENature::Simple, false},
    {1255, "CP1255", ENature::Simple, false},        {1256, "CP1256", ENature::Simple, false},
    {1257, "CP1257", ENature::Simple, false},        {1258, "CP1258", ENature::Iconv, false},
    {1361, "JOHAB", ENature::Iconv, false},          {10000, "MACINTOSH", ENature::Simple, false},
    {10007, "MAC-CYRILLIC", ENature::Simple, false}, {10029, "MAC-CENTRALEUROPE", ENature::Simple, false},
    {10079, "MAC-IS", ENature::Simple, false},       {12000, "UTF-32LE", ENature::Iconv, true},
    {12001, "UTF-32BE", ENature::Iconv, true},       {20127, "ASCII", ENature::Simple, false},
    {20866, "KOI8-R", ENature::Simple, false},       {20932, "EUC-JP", ENature::Iconv, false},
    {20936, "EUC-CN", ENature::Iconv, false},        {21866, "KOI8-U", ENature::Simple, false},
    {28591, "ISO-8859-1", ENature::Simple, false},   {28592, "ISO-8859-2", ENature::Simple, false},
    {28593, "ISO-8859-3", ENature::Simple, false},   {28594, "ISO-8859-4", ENature::Simple, false},
    {28595, "ISO-8859-5", ENature::Simple, false},   {28596, "ISO-8859-6", ENature::Simple, false},
    {28597, "ISO-8859-7", ENature::Simple, false},   {28598, "ISO-8859-8", ENature::Simple, false},
    {28599, "ISO-8859-9", ENature::Simple, false},   {28603, "ISO-8859-13", ENature::Simple, false},
    {28605, "ISO-8859-15", ENature::Simple, false},  {38598, "ISO-8859-8", ENature::Simple, false},
    {50220, "ISO-2022-JP", ENature::Iconv, false},   {50225, "ISO-2022-KR", ENature::Iconv, false},
    {51932, "EUC-JP", ENature::Iconv, false},        {51936, "EUC-CN", ENature::Iconv, false},
    {51949, "EUC-KR", ENature::Iconv, false},        {54936, "GB18030", ENature::Iconv, false},
    {65000, "UTF-7", ENature::Iconv, true},          {65001, "UTF-8", ENature::Utf8, true},
};
constexpr size_t NB_CODE_PAGES = sizeof(TABLE_CODE_PAGES) / sizeof(TABLE_CODE_PAGES[0]);
// The wide side of every iconv descriptor: UTF-32 in the machine's order, without a BOM.
constexpr const char* ICONV_WIDE = "UTF-32LE";
static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32");

constexpr int nIndexCodePage(unsigned int nCodePage) {
    for (size_t i = 0; i < NB_CODE_PAGES; ++i)
        if (TABLE_CODE_PAGES[i].nCodePage == nCodePage) return static_cast<int>(i);
    return -1;
}

// Code page 1252, bytes 0x80 to 0x9F; the rest of the page is Latin-1. The five holes of the page
// (0x81, 0x8D, 0x8F, 0x90, 0x9D) keep their Latin-1 control character, as the system call does.
constexpr uint32_t CP1252_80_9F[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

struct STTable1252 {
    uint32_t ac[256];
    constexpr STTable1252() : ac() {
        for (uint32_t i = 0; i < 256; ++i) ac[i] = i >= 0x80 && i < 0xA0 ? CP1252_80_9F[i - 0x80] : i;
    }
};
constexpr STTable1252 TABLE_1252;

// A single-byte code page in both directions.
constexpr size_t NB_PAGES_INVERSE_MAX = 32;
struct STPageSimple {
    uint32_t acVersUnicode[256];  // 0xFFFFFFFF: a byte without a character
    STTableInverse stInverse;
    uint8_t abyPages[NB_PAGES_INVERSE_MAX][256];
    bool bAsciiIdentique;
};

// Fills the reverse table from the forward one; the first byte of a character wins.
void ConstruitInverse(STPageSimple* pstPage) noexcept {
    size_t nPages = 0;
    memset(&pstPage->stInverse, 0, sizeof(pstPage->stInverse));
    for (int nOctet = 255; nOctet >= 1; --nOctet) {  // downwards, so that the lowest byte is written last
        const uint32_t cCaractere = pstPage->acVersUnicode[nOctet];
        if (cCaractere == 0xFFFFFFFFu || cCaractere >= 0x10000) continue;
        const uint8_t*& pbyPage = pstPage->stInverse.apbyPage[cCaractere >> 8];
        if (pbyPage == nullptr) {
            if (nPages == NB_PAGES_INVERSE_MAX) continue;  // never met: no page spreads over so many
            memset(pstPage->abyPages[nPages], 0, 256);
            pbyPage = pstPage->abyPages[nPages++];
        }
        const_cast<uint8_t*>(pbyPage)[cCaractere & 0xFF] = static_cast<uint8_t>(nOctet);
    }
    pstPage->bAsciiIdentique = true;
    for (uint32_t i = 0; i < 0x80; ++i)
        if (pstPage->acVersUnicode[i] != i) pstPage->bAsciiIdentique = false;
}

// Reads a single-byte code page through iconv, byte by byte.
bool bLitPageParIconv(const char* pszIConv, STPageSimple* pstPage) noexcept {
    iconv_t hIconv = iconv_open(ICONV_WIDE, pszIConv);
    if (hIconv == reinterpret_cast<iconv_t>(-1)) return false;
    for (int nOctet = 0; nOctet < 256; ++nOctet) {
        char cEntree = static_cast<char>(nOctet);
        uint8_t abySortie[8];
        char* pEntree = &cEntree;
        size_t nEntree = 1;
        char* pSortie = reinterpret_cast<char*>(abySortie);
        size_t nSortie = sizeof(abySortie);
        iconv(hIconv, nullptr, nullptr, nullptr, nullptr);
        const size_t nResultat = iconv(hIconv, &pEntree, &nEntree, &pSortie, &nSortie);
        if (nResultat == static_cast<size_t>(-1) || sizeof(abySortie) - nSortie != 4) {
            pstPage->acVersUnicode[nOctet] = 0xFFFFFFFFu;
        } else {
            pstPage->acVersUnicode[nOctet] = static_cast<uint32_t>(abySortie[0]) | (abySortie[1] << 8) |
                                             (abySortie[2] << 16) | (static_cast<uint32_t>(abySortie[3]) << 24);
        }
    }
    iconv_close(hIconv);
    return true;
}

// Descriptors of multi-byte pages, a few per page and direction, taken and given back atomically.
constexpr size_t NB_DESCRIPTEURS = 4;
enum EDirection : size_t { VERS_WIDE = 0, DEPUIS_WIDE = 1 };

struct STEtatCodePages {
    std::atomic<STPageSimple*> apstPages[NB_CODE_PAGES];
    std::atomic<void*> aphIconv[NB_CODE_PAGES][2][NB_DESCRIPTEURS];

    ~STEtatCodePages() {
        for (auto& pstPage : apstPages) free(pstPage.exchange(nullptr));
        for (auto& tabDirections : aphIconv)
            for (auto& tabDescripteurs : tabDirections)
                for (auto& phIconv : tabDescripteurs) {
                    void* pIconv = phIconv.exchange(nullptr);
                    if (pIconv != nullptr) iconv_close(static_cast<iconv_t>(pIconv));
                }
    }
};
STEtatCodePages gstEtat;

const STPageSimple* pstPageSimple(int nIndex) noexcept {
    STPageSimple* pstPage = gstEtat.apstPages[nIndex].load(std::memory_order_acquire);
    if (pstPage != nullptr) return pstPage;
    auto* pstNouvelle = static_cast<STPageSimple*>(malloc(sizeof(STPageSimple)));
    if (pstNouvelle == nullptr) return nullptr;
    const STCodePage& stCodePage = TABLE_CODE_PAGES[nIndex];
    bool bLue = true;
    switch (stCodePage.nCodePage) {
        case 1252:
            memcpy(pstNouvelle->acVersUnicode, TABLE_1252.ac, sizeof(TABLE_1252.ac));
            break;
        case 28591:
            for (uint32_t i = 0; i < 256; ++i) pstNouvelle->acVersUnicode[i] = i;
            break;
        case 20127:
            for (uint32_t i = 0; i < 256; ++i) pstNouvelle->acVersUnicode[i] = i < 0x80 ? i : 0xFFFFFFFFu;
            break;
        default:
            bLue = bLitPageParIconv(stCodePage.pszIConv, pstNouvelle);
    }
    if (!bLue) {
        free(pstNouvelle);
        return nullptr;
    }
    ConstruitInverse(pstNouvelle);
    // Two threads may build the same page; one table is kept.
    if (!gstEtat.apstPages[nIndex].compare_exchange_strong(pstPage, pstNouvelle, std::memory_order_acq_rel)) {
        free(pstNouvelle);
        return pstPage;
    }
    return pstNouvelle;
}

// An iconv descriptor of the cache, or a new one; given back (or closed) at the end of the scope.
class CIconvPris {
public:
    CIconvPris(int nIndex, EDirection eDirection) noexcept : m_nIndex(nIndex), m_eDirection(eDirection) {
        for (auto& phIconv : gstEtat.aphIconv[nIndex][eDirection]) {
            void* pIconv = phIconv.exchange(nullptr, std::memory_order_acquire);
            if (pIconv != nullptr) {
                m_hIconv = static_cast<iconv_t>(pIconv);
                iconv(m_hIconv, nullptr, nullptr, nullptr, nullptr);  // back to the initial state
                return;
            }
        }
        const char* pszPage = TABLE_CODE_PAGES[nIndex].pszIConv;
        m_hIconv = eDirection == VERS_WIDE ? iconv_open(ICONV_WIDE, pszPage) : iconv_open(pszPage, ICONV_WIDE);
    }
    ~CIconvPris() {
        if (!bValide()) return;
        for (auto& phIconv : gstEtat.aphIconv[m_nIndex][m_eDirection]) {
            void* pAttendu = nullptr;
            if (phIconv.compare_exchange_strong(pAttendu, m_hIconv, std::memory_order_release)) return;
        }
        iconv_close(m_hIconv);
    }
    CIconvPris(const CIconvPris&) = delete;
    CIconvPris& operator=(const CIconvPris&) = delete;

    bool bValide() const noexcept { return m_hIconv != reinterpret_cast<iconv_t>(-1); }
    iconv_t hGet() const noexcept { return m_hIconv; }

private:
    int m_nIndex;
    EDirection m_eDirection;
    iconv_t m_hIconv = reinterpret_cast<iconv_t>(-1);
};

// Where iconv writes: the caller's buffer, or, when only counting, a scratch area used over again.
class CSortieIconv {
public:
    CSortieIconv(uint8_t* pbySortie, size_t nPlace) noexcept : m_pbySortie(pbySortie), m_nPlace(nPlace) {}

    // One iconv call into the window; answers what iconv answers, with errno.
    size_t nAppel(iconv_t hIconv, char** ppEntree, size_t* pnEntree) noexcept {
        char* pDebut = m_pbySortie != nullptr ? reinterpret_cast<char*>(m_pbySortie + m_nTotal)
                                              : reinterpret_cast<char*>(m_abyBrouillon);
        size_t nLibre = m_pbySortie != nullptr ? m_nPlace - m_nTotal : sizeof(m_abyBrouillon);
        char* pSortie = pDebut;
        const size_t nResultat = iconv(hIconv, ppEntree, pnEntree, &pSortie, &nLibre);
        m_nTotal += static_cast<size_t>(pSortie - pDebut);
        return nResultat;
    }
    bool bCompteSeulement() const noexcept { return m_pbySortie == nullptr; }
    size_t nTotal() const noexcept { return m_nTotal; }

private:
    uint8_t* m_pbySortie;
    size_t m_nPlace;
    size_t m_nTotal = 0;
    uint8_t m_abyBrouillon[1024];
};

// Runs iconv over the whole input, then lets it close its shift state. bRemplace: a character the
// target cannot hold is replaced by the conversion of L'?' rather than failing. Answers the bytes
// written or a codec failure.
ptrdiff_t nIconvTout(iconv_t hIconv, const uint8_t* pbyEntree, size_t nEntree, CSortieIconv& clSortie,
                     bool bRemplace) noexcept {
    char* pEntree = reinterpret_cast<char*>(const_cast<uint8_t*>(pbyEntree));
    size_t nReste = nEntree;
    bool bVide = false;  // the last step: flushing the shift state
    while (true) {
        const size_t nResultat =
            bVide ? clSortie.nAppel(hIconv, nullptr, nullptr) : clSortie.nAppel(hIconv, &pEntree, &nReste);
        if (nResultat != static_cast<size_t>(-1)) {
            if (bVide) break;
            bVide = true;
            continue;
        }
        if (errno == E2BIG) {
            if (!clSortie.bCompteSeulement()) return CODEC_SORTIE_PLEINE;
            continue;  // the scratch area was full: counted, go on
        }
        if (errno == EILSEQ && bRemplace && !bVide && nReste >= sizeof(wchar_t)) {
            static const wchar_t cDefaut = static_cast<wchar_t>(CARACTERE_PAR_DEFAUT);
            char* pDefaut = reinterpret_cast<char*>(const_cast<wchar_t*>(&cDefaut));
            size_t nDefaut = sizeof(cDefaut);
            while (clSortie.nAppel(hIconv, &pDefaut, &nDefaut) == static_cast<size_t>(-1)) {
                if (errno != E2BIG || !clSortie.bCompteSeulement()) return CODEC_SORTIE_PLEINE;
            }
            pEntree += sizeof(wchar_t);
            nReste -= sizeof(wchar_t);
            continue;
        }
        return CODEC_SEQUENCE_INVALIDE;
    }
    return static_cast<ptrdiff_t>(clSortie.nTotal());
}

// Resolves a code page and finds it; -1 with errno EINVAL when it is unknown.
int nTrouveCodePage(unsigned int nCodePage) noexcept {
    const int nIndex = nIndexCodePage(STR_nResolveCodePage(nCodePage));
    if (nIndex < 0) errno = EINVAL;
    return nIndex;
}

int nMultiByteVersWide(int nIndex, const uint8_t* pbyTexte, size_t nOctets, wchar_t* pszSortie,
                       size_t nPlace) noexcept {
    const STCodePage& stCodePage = TABLE_CODE_PAGES[nIndex];
    if (stCodePage.eNature == ENature::Utf8) return nReponseCodec(nUtf8VersUtf32(pbyTexte, nOctets, pszSortie, nPlace));
    if (stCodePage.eNature == ENature::Simple) {
        const STPageSimple* pstPage = pstPageSimple(nIndex);
        if (pstPage == nullptr) return nEchecConversion(EINVAL);
        return nReponseCodec(
            nOctetsVersUtf32(pbyTexte, nOctets, pszSortie, nPlace, pstPage->acVersUnicode, pstPage->bAsciiIdentique));
    }
    CIconvPris clIconv(nIndex, VERS_WIDE);
    if (!clIconv.bValide()) return nEchecConversion(EINVAL);
    CSortieIconv clSortie(reinterpret_cast<uint8_t*>(pszSortie), nPlace * sizeof(wchar_t));
    const ptrdiff_t nOctetsSortie = nIconvTout(clIconv.hGet(), pbyTexte, nOctets, clSortie, false);
    return nReponseCodec(nOctetsSortie < 0 ? nOctetsSortie : nOctetsSortie / static_cast<ptrdiff_t>(sizeof(wchar_t)));
}

int nWideVersMultiByte(int nIndex, const wchar_t* pszTexte, size_t nCaracteres, uint8_t* pbySortie,
                       size_t nPlace) noexcept {
    const STCodePage& stCodePage = TABLE_CODE_PAGES[nIndex];
    if (stCodePage.eNature == ENature::Utf8)
        return nReponseCodec(nUtf32VersUtf8(pszTexte, nCaracteres, pbySortie, nPlace));
    if (stCodePage.eNature == ENature::Simple) {
        const STPageSimple* pstPage = pstPageSimple(nIndex);
        if (pstPage == nullptr) return nEchecConversion(EINVAL);
        // The replacement byte is the page's own '?', which is not 0x3F in every page.
        const uint8_t* pbyPageAscii = pstPage->stInverse.apbyPage[0];
        const uint8_t byDefaut = pbyPageAscii != nullptr && pbyPageAscii[static_cast<uint8_t>(CARACTERE_PAR_DEFAUT)] != 0
                                     ? pbyPageAscii[static_cast<uint8_t>(CARACTERE_PAR_DEFAUT)]
                                     : static_cast<uint8_t>(CARACTERE_PAR_DEFAUT);
        return nReponseCodec(nUtf32VersOctets(pszTexte, nCaracteres, pbySortie, nPlace, pstPage->stInverse,
                                              pstPage->bAsciiIdentique, byDefaut));
    }
    // iconv would take a value past U+10FFFF or a surrogate for what it is not: refuse or
    // replace those here, whatever the target.
    CIconvPris clIconv(nIndex, DEPUIS_WIDE);
    if (!clIconv.bValide()) return nEchecConversion(EINVAL);
    if (stCodePage.bUnicode) {
        for (size_t i = 0; i < nCaracteres; ++i)
            if (!bEstScalaireUnicode(static_cast<uint32_t>(pszTexte[i]))) return nEchecConversion(EILSEQ);
    }
    CSortieIconv clSortie(pbySortie, nPlace);
    return nReponseCodec(nIconvTout(clIconv.hGet(), reinterpret_cast<const uint8_t*>(pszTexte),
                                    nCaracteres * sizeof(wchar_t), clSortie, !stCodePage.bUnicode));
}

}  // namespace

unsigned int STR_nResolveCodePage(unsigned int nCodePage) noexcept {
    switch (nCodePage) {
        case CP_ACP:
        case CP_THREAD_ACP:
            return static_cast<unsigned int>(STR_nGetCurrentCodePage());
        case CP_OEMCP:
            return 850;
        case CP_MACCP:
            return 10000;
        default:
            return nCodePage;
    }
}

const char* CodePageToIConv(unsigned int nCodePage) noexcept {
    const int nIndex = nIndexCodePage(STR_nResolveCodePage(nCodePage));
    return nIndex < 0 ? nullptr : TABLE_CODE_PAGES[nIndex].pszIConv;
}

bool STR_bCodePageSimpleOctet(unsigned int nCodePage) noexcept {
    const int nIndex = nIndexCodePage(STR_nResolveCodePage(nCodePage));
    return nIndex >= 0 && TABLE_CODE_PAGES[nIndex].eNature == ENature::Simple;
}

unsigned int STR_nCharsetToCodePage(int nCharset) noexcept {
    switch (nCharset) {
        case 77: return 10000;   // Macintosh
        case 128: return 932;    // Shift JIS
        case 129: return 949;    // Hangul
        case 130: return 1361;   // Johab
        case 134: return 936;    // GB 2312
        case 136: return 950;    // Big5
        case 161: return 1253;   // Greek
        case 162: return 1254;   // Turkish
        case 163: return 1258;   // Vietnamese
        case 177: return 1255;   // Hebrew
        case 178: return 1256;   // Arabic
        case 186: return 1257;   // Baltic
        case 204: return 1251;   // Cyrillic
        case 222: return 874;    // Thai
        case 238: return 1250;   // Eastern Europe
        case 255: return 850;    // OEM
        default: return 1252;    // ANSI and those without a page of their own
    }
}

int MultiByteToWideChar(unsigned int nCodePage, unsigned int dwFlags, const char* pszTexte, int nOctets,
                        wchar_t* pszSortie, int nPlace) noexcept {
    size_t nUnites;
    bool bCompte;
    if (!bLitEntree(pszTexte, nOctets, &nUnites) || !bLitSortie(pszSortie, nPlace, &bCompte)) return 0;
    const int nIndex = nTrouveCodePage(nCodePage);
    if (nIndex < 0) return 0;
    return nMultiByteVersWide(nIndex, reinterpret_cast<const uint8_t*>(pszTexte), nUnites,
                              bCompte ? nullptr : pszSortie, bCompte ? 0 : static_cast<size_t>(nPlace));
}

int WideCharToMultiByte(unsigned int nCodePage, unsigned int dwFlags, const wchar_t* pszTexte, int nCaracteres,
                        char* pszSortie, int nPlace, const char* pszDefaut, int* pbDefautUtilise) noexcept {
    size_t nUnites;
    bool bCompte;
    if (!bLitEntree(pszTexte, nCaracteres, &nUnites) || !bLitSortie(pszSortie, nPlace, &bCompte)) return 0;
    const int nIndex = nTrouveCodePage(nCodePage);
    if (nIndex < 0) return 0;
    return nWideVersMultiByte(nIndex, pszTexte, nUnites, bCompte ? nullptr : reinterpret_cast<uint8_t*>(pszSortie),
                              bCompte ? 0 : static_cast<size_t>(nPlace));
}

int MultiByteToMultiByte(unsigned int nCodePageSource, unsigned int nCodePageCible, unsigned int dwFlags,
                         const char* pszTexte, int nOctets, char* pszSortie, int nPlace) noexcept {
    size_t nUnites;
    bool bCompte;
    if (!bLitEntree(pszTexte, nOctets, &nUnites) || !bLitSortie(pszSortie, nPlace, &bCompte)) return 0;
    if (nTrouveCodePage(nCodePageSource) < 0 || nTrouveCodePage(nCodePageCible) < 0) return 0;
    const int nCaracteres = MultiByteToWideChar(nCodePageSource, dwFlags, pszTexte, nOctets, nullptr, 0);
    if (nCaracteres == 0) return 0;
    // Small texts stay on the stack.
    wchar_t aszPile[256];
    wchar_t* pszWide = aszPile;
    if (static_cast<size_t>(nCaracteres) > sizeof(aszPile) / sizeof(aszPile[0])) {
        pszWide = static_cast<wchar_t*>(malloc(static_cast<size_t>(nCaracteres) * sizeof(wchar_t)));
        if (pszWide == nullptr) return nEchecConversion(ENOMEM);
    }
    int nResultat = MultiByteToWideChar(nCodePageSource, dwFlags, pszTexte, nOctets, pszWide, nCaracteres);
    if (nResultat != 0)
        nResultat = WideCharToMultiByte(nCodePageCible, 0, pszWide, nCaracteres, bCompte ? nullptr : pszSortie,
                                        bCompte ? 0 : nPlace);
    if (pszWide != aszPile) free(pszWide);
    return nResultat;
}

int STR_CP1252ToWideChar(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept {
    size_t nUnites;
    bool bCompte;
    if (!bLitEntree(pszTexte, nOctets, &nUnites) || !bLitSortie(pszSortie, nPlace, &bCompte)) return 0;
    return nReponseCodec(nOctetsVersUtf32(reinterpret_cast<const uint8_t*>(pszTexte), nUnites,
                                          bCompte ? nullptr : pszSortie, bCompte ? 0 : static_cast<size_t>(nPlace),
                                          TABLE_1252.ac, true));
}

int STR_WideCharToCP1252(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return WideCharToMultiByte(CP_1252, 0, pszTexte, nCaracteres, pszSortie, nPlace);
}

wchar_t STR_FromCP1252(unsigned char byCaractere) noexcept { return static_cast<wchar_t>(TABLE_1252.ac[byCaractere]); }

int STR_ToCP1252(wchar_t cCaractere) noexcept {
    const auto cValeur = static_cast<uint32_t>(cCaractere);
    if (cValeur < 0x80 || (cValeur >= 0xA0 && cValeur <= 0xFF)) return static_cast<int>(cValeur);
    for (int i = 0; i < 32; ++i)
        if (CP1252_80_9F[i] == cValeur) return 0x80 + i;
    return -1;
}

char STR_ToAnsi7(wchar_t cCaractere) noexcept {
    const wchar_t cBase = STR_cSansAccent(cCaractere);
    if (static_cast<uint32_t>(cBase) < 0x80) return static_cast<char>(cBase);
    return CARACTERE_PAR_DEFAUT;
}

wchar_t STR_FromAnsi7(char cCaractere) noexcept {
    const auto byCaractere = static_cast<unsigned char>(cCaractere);
    return byCaractere < 0x80 ? static_cast<wchar_t>(byCaractere) : static_cast<wchar_t>(0xFFFD);
}

int STR_CharToWChar(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept {
    return MultiByteToWideChar(CP_ACP, 0, pszTexte, nOctets, pszSortie, nPlace);
}

int STR_CharToWChar_AnyCodepage(unsigned int nCodePage, const char* pszTexte, int nOctets, wchar_t* pszSortie,
                                int nPlace) noexcept {
    return MultiByteToWideChar(nCodePage, 0, pszTexte, nOctets, pszSortie, nPlace);
}

int STR_CharToWChar_CurrentCharset(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept {
    return MultiByteToWideChar(STR_nCharsetToCodePage(STR_nGetCurrentChangeCharset()), 0, pszTexte, nOctets,
                               pszSortie, nPlace);
}

int STR_CharToChar_AnyCodepage(unsigned int nCodePageSource, unsigned int nCodePageCible, const char* pszTexte,
                               int nOctets, char* pszSortie, int nPlace) noexcept {
    return MultiByteToMultiByte(nCodePageSource, nCodePageCible, 0, pszTexte, nOctets, pszSortie, nPlace);
}

int STR_WCharToAChar(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return WideCharToMultiByte(CP_ACP, 0, pszTexte, nCaracteres, pszSortie, nPlace);
}

int STR_WCharToChar_AnyCodepage(unsigned int nCodePage, const wchar_t* pszTexte, int nCaracteres, char* pszSortie,
                                int nPlace) noexcept {
    return WideCharToMultiByte(nCodePage, 0, pszTexte, nCaracteres, pszSortie, nPlace);
}

int STR_WCharToChar_CurrentCharset(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return WideCharToMultiByte(STR_nCharsetToCodePage(STR_nGetCurrentChangeCharset()), 0, pszTexte, nCaracteres,
                               pszSortie, nPlace);
}

int ANSIToWideChar(const char* pszTexte, int nOctets, wchar_t* pszSortie, int nPlace) noexcept {
    return MultiByteToWideChar(CP_ACP, 0, pszTexte, nOctets, pszSortie, nPlace);
}

int WideCharToANSI(const wchar_t* pszTexte, int nCaracteres, char* pszSortie, int nPlace) noexcept {
    return WideCharToMultiByte(CP_ACP, 0, pszTexte, nCaracteres, pszSortie, nPlace);
}

namespace {

template <class TSource, class TCible, class FConvertit>
TCible* pszCopieConvertie(const TSource* pszTexte, FConvertit fnConvertit) noexcept {
    if (pszTexte == nullptr) return nullptr;
    const int nCompte = fnConvertit(pszTexte, nullptr, 0);
    if (nCompte <= 0) return nullptr;
    auto* pszSortie = static_cast<TCible*>(malloc(static_cast<size_t>(nCompte) * sizeof(TCible)));
    if (pszSortie == nullptr) return nullptr;
    if (fnConvertit(pszTexte, pszSortie, nCompte) != nCompte) {
        free(pszSortie);
        return nullptr;
    }
    return pszSortie;  // the count held the terminator
}

}  // namespace

wchar_t* pszCSTR2XSTR(const char* pszTexte, unsigned int nCodePage) noexcept {
    return pszCopieConvertie<char, wchar_t>(pszTexte, [&](const char* psz, wchar_t* pszSortie, int nPlace) {
        return MultiByteToWideChar(nCodePage, 0, psz, -1, pszSortie, nPlace);
    });
}

char* pszXSTR2CSTR(const wchar_t* pszTexte, unsigned int nCodePage) noexcept {
    return pszCopieConvertie<wchar_t, char>(pszTexte, [&](const wchar_t* psz, char* pszSortie, int nPlace) {
        return WideCharToMultiByte(nCodePage, 0, psz, -1, pszSortie, nPlace);
    });
}

wchar_t* pszWSTR2XSTR(const wchar_t* pszTexte) noexcept {
    if (pszTexte == nullptr) return nullptr;
    const size_t nLongueur = wcslen(pszTexte) + 1;
    auto* pszCopie = static_cast<wchar_t*>(malloc(nLongueur * sizeof(wchar_t)));
    if (pszCopie != nullptr) wmemcpy(pszCopie, pszTexte, nLongueur);
    return pszCopie;
}

wchar_t* pszXSTR2WSTR(const wchar_t* pszTexte) noexcept { return pszWSTR2XSTR(pszTexte); }
