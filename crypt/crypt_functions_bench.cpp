// The crypt functions through the machine as a program calls them, each beside its peer in the
// same run: the bare engines doing the same work with nothing of the language around them.
//  - fCrypte of a 64 MiB file (RC5, 8 rounds) beside a plain loop that reads the same runs of
//    64,000 bytes, sums them, enciphers them with CCryptRC5 and writes them with write(2).
//  - Crypte of a 4 MiB buffer, compressed by LZW, enciphered and base 64 encoded, beside the three
//    engines called one after the other on the same bytes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "compress/block_compressors.h"
#include "crypt/ciphers.h"
#include "crypt/encoders.h"
#include "host/machine.h"
#include "host/utf8.h"

namespace {

constexpr size_t kTailleFichier = size_t{64} << 20;
constexpr size_t kTailleValeur = size_t{4} << 20;

// Bytes that compress a little, as records do.
std::string sDonnees(size_t n) {
    std::string s(n, '\0');
    uint32_t x = 12345;
    for (size_t i = 0; i < n; ++i) {
        x = x * 1103515245u + 12345u;
        s[i] = static_cast<char>(i % 7 == 0 ? (x >> 24) : 'a' + (i % 13));
    }
    return s;
}

class CRepertoire {
public:
    CRepertoire() {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != '\0' ? pszTmp : "/tmp") + "/crypt_bench.XXXXXX";
        if (mkdtemp(sModele.data()) == nullptr) return;
        m_sRepertoire = sModele;
        const std::string s = sDonnees(kTailleFichier);
        const int nFd = open(sSource().c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
        if (nFd < 0) return;
        m_bPret = write(nFd, s.data(), s.size()) == static_cast<ssize_t>(s.size()) && fsync(nFd) == 0;
        close(nFd);
    }
    ~CRepertoire() {
        std::error_code ec;
        if (!m_sRepertoire.empty()) std::filesystem::remove_all(m_sRepertoire, ec);
    }
    bool bPret() const { return m_bPret; }
    std::string sSource() const { return m_sRepertoire + "/clair \xc3\xa9t\xc3\xa9.bin"; }
    std::string sCible() const { return m_sRepertoire + "/chiffre.bin"; }

private:
    std::string m_sRepertoire;
    bool m_bPret = false;
};

CRepertoire& clRepertoire() {
    static CRepertoire s_cl;
    return s_cl;
}

bool bCharge(ovhost::CStandInMachine* pclMachine, benchmark::State& state) {
    std::string sErreur;
    if (pclMachine->bLoad(OV200STD64_PATH, &sErreur)) return true;
    state.SkipWithError(sErreur.c_str());
    return false;
}

void BM_fCrypteParLaMachine(benchmark::State& state) {
    if (!clRepertoire().bPret()) return state.SkipWithError("no source file");
    ovhost::CStandInMachine clMachine;
    if (!bCharge(&clMachine, state)) return;
    const std::wstring sSource = ovhost::sWideFromBytes(clRepertoire().sSource());
    const std::wstring sCible = ovhost::sWideFromBytes(clRepertoire().sCible());
    std::string sErreur;
    for (auto _ : state) {
        std::vector<ovhost::CValue> tab{ovhost::CValue::Text(sSource), ovhost::CValue::Text(sCible),
                                        ovhost::CValue::Text(L"clé"), ovhost::CValue::Int(eCRYPT_RC5_8)};
        ovhost::STCallOutcome st;
        if (!clMachine.bCall("fCrypte", tab, &st, &sErreur) || st.clResult.nInteger != 1) {
            state.SkipWithError("fCrypte failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleFichier));
}

// The peer: the same runs, sum and cipher, straight from one descriptor to another.
void BM_PairBoucleRC5(benchmark::State& state) {
    if (!clRepertoire().bPret()) return state.SkipWithError("no source file");
    const std::unique_ptr<CCrypt, void (*)(CCrypt*)> pclCrypt(pclCreeCrypt(eCRYPT_RC5_8),
                                                               [](CCrypt* p) { p->dwRelease(); });
    pclCrypt->bSetPassword(L"clé");
    std::vector<unsigned char> tab(CCryptFile::kTailleRun);
    for (auto _ : state) {
        const int nSource = open(clRepertoire().sSource().c_str(), O_RDONLY | O_CLOEXEC);
        const int nCible = open(clRepertoire().sCible().c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
        uint32_t dwSomme = 0;
        bool bOk = nSource >= 0 && nCible >= 0 && lseek(nCible, 4, SEEK_SET) == 4;
        for (ssize_t n; bOk && (n = read(nSource, tab.data(), tab.size())) > 0;) {
            for (ssize_t i = 0; i < n; ++i) dwSomme += tab[static_cast<size_t>(i)];
            pclCrypt->Crypt(tab.data(), static_cast<unsigned long>(n), nullptr);
            bOk = write(nCible, tab.data(), static_cast<size_t>(n)) == n;
        }
        bOk = bOk && pwrite(nCible, &dwSomme, 4, 0) == 4;
        if (nSource >= 0) close(nSource);
        if (nCible >= 0) close(nCible);
        if (!bOk) {
            state.SkipWithError("the loop failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleFichier));
}

void BM_CrypteParLaMachine(benchmark::State& state) {
    ovhost::CStandInMachine clMachine;
    if (!bCharge(&clMachine, state)) return;
    const std::string s = sDonnees(kTailleValeur);
    std::string sErreur;
    for (auto _ : state) {
        std::vector<ovhost::CValue> tab{ovhost::CValue::Buffer(s), ovhost::CValue::Text(L"clé"),
                                        ovhost::CValue::Int(0x10000 | eCRYPT_RC5_8), ovhost::CValue::Int(2)};
        ovhost::STCallOutcome st;
        if (!clMachine.bCall("Crypte", tab, &st, &sErreur) || st.bError) {
            state.SkipWithError("Crypte failed");
            break;
        }
        benchmark::DoNotOptimize(st.clResult.sText.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleValeur));
}

// The peer: the compressor, the cipher and the encoder on the same bytes.
void BM_PairEtapes(benchmark::State& state) {
    const std::string s = sDonnees(kTailleValeur);
    const std::unique_ptr<CCrypt, void (*)(CCrypt*)> pclCrypt(pclCreeCrypt(eCRYPT_RC5_8),
                                                               [](CCrypt* p) { p->dwRelease(); });
    const std::unique_ptr<CEncodeBase> pclEncodeur(pclGetEncodeur(2));
    for (auto _ : state) {
        std::vector<uint8_t> tab;
        if (ovcompresse::_ChaineCompresseA(&tab, reinterpret_cast<const uint8_t*>(s.data()), s.size(), 1) != 0) {
            state.SkipWithError("compression failed");
            break;
        }
        pclCrypt->bSetPassword(L"clé");
        pclCrypt->Crypt(tab.data(), static_cast<unsigned long>(tab.size()), nullptr);
        wchar_t* psz = nullptr;
        const long n = pclEncodeur->nEncodeEtAlloue(tab.data(), tab.size(), kGroupesParLigneDefaut, &psz);
        benchmark::DoNotOptimize(n);
        delete[] psz;
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleValeur));
}

BENCHMARK(BM_fCrypteParLaMachine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PairBoucleRC5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CrypteParLaMachine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PairEtapes)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
