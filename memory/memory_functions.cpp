// The language functions of memory lists: variants in and out of the engine's stored form, the
// list-name checks and their messages.
#include <cstring>
#include <mutex>
#include <vector>

#include "base/any.h"
#include "component/thunk.h"
#include "memory/memory_lists.h"
#include "memory/memory_values.h"

namespace {

constexpr int kErreurListeInconnue = 80261;
constexpr int kErreurSansCle = 80262;
constexpr int kErreurTropLong = 80263;

// The machine may call from several threads, and sibling libraries read lists through their own
// view: one lock keeps the engine's lists and its read scratch whole.
std::mutex gVerrou;

CAny clTexteVide() {
    CAny cl;
    cl.SetDSTRW(L"", 0);
    return cl;
}

CAny clEntier(int n) {
    CAny cl;
    cl.SetI4(n);
    return cl;
}

CAny clLu(const uint8_t* pby, const STDonneeMem& st) {
    if (pby == nullptr) return clTexteVide();
    CAny cl;
    if (!ovmem::bVariantDepuisDonnee(st, &cl)) throw std::bad_alloc();
    return cl;
}

}  // namespace

// ---------------------------------------------------------------- checks shared by the wrappers

namespace {

// The name check of every wrapper but MemCree and MemExiste: a given name must name a list.
bool bListeConnue(CComposanteStandard* pcl, const wchar_t* pszNom) {
    if (bMemTestExistenceBuffer(MEM_Contexte(), pszNom)) return true;
    pcl->RaiseError(&gstMyModuleInfo8, kErreurListeInconnue);
    return false;
}

// A variant in the stored form; false, with the message raised, when it is too long.
bool bParametre(CComposanteStandard* pcl, const CAny* pclValeur, ovmem::STParametreMem* pst) {
    int nTrop = 0;
    if (ovmem::bConvParam(pclValeur, pst, &nTrop)) return true;
    pcl->RaiseError(&gstMyModuleInfo8, kErreurTropLong, nTrop, ovmem::kTailleMaxDonnee);
    return false;
}

}  // namespace

// ---------------------------------------------------------------- lists

bool CComposanteStandard::MemCree(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    return bMemCree(MEM_Contexte(), pszNom);
}

bool CComposanteStandard::MemExiste(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    return pstMemListe(MEM_Contexte(), pszNom) != nullptr;
}

bool CComposanteStandard::MemSupprimeTout(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (pszNom != nullptr && std::wcscmp(pszNom, L"*") == 0) return bMemSupprime(MEM_Contexte(), pszNom, -1);
    if (!bListeConnue(this, pszNom)) return false;
    return bMemSupprime(MEM_Contexte(), pszNom, -1);
}

bool CComposanteStandard::MemTri(const wchar_t* pszNom, int nSens) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return false;
    return bMemTri(MEM_Contexte(), pszNom, nSens);
}

int CComposanteStandard::MemOccurrence(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return -1;
    return lMemOccurrence(MEM_Contexte(), pszNom);
}

int CComposanteStandard::MemEnCours(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return -1;
    return lEnregEnCours(MEM_Contexte(), pszNom);
}

bool CComposanteStandard::MemTrouve(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return false;
    const _stBUFFERMEM* pst = pstMemListe(MEM_Contexte(), pszNom);
    return pst != nullptr && pst->bTrouve != 0;
}

bool CComposanteStandard::MemEnDehors(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return true;
    const _stBUFFERMEM* pst = pstMemListe(MEM_Contexte(), pszNom);
    return pst == nullptr || pst->bEnDehors != 0;
}

// ---------------------------------------------------------------- records

bool CComposanteStandard::MemAjoute(const wchar_t* pszNom, const CAny* pclCle, const CAny* pclValeur) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return false;
    ovmem::STParametreMem stCle, stValeur;
    if (!bParametre(this, pclCle, &stCle) || !bParametre(this, pclValeur, &stValeur)) return false;
    return bMemAjoute(MEM_Contexte(), pszNom, stCle.st, stValeur.st);
}

bool CComposanteStandard::MemModifie(const wchar_t* pszNom, const CAny* pclCle, const CAny* pclValeur, int nEnreg) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return false;
    ovmem::STParametreMem stCle, stValeur;
    if (!bParametre(this, pclCle, &stCle) || !bParametre(this, pclValeur, &stValeur)) return false;
    return bMemModifie(MEM_Contexte(), pszNom, stCle.st, stValeur.st, nEnreg);
}

bool CComposanteStandard::MemSupprime(const wchar_t* pszNom, int nEnreg) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return false;
    stCTXMEM& ctx = MEM_Contexte();
    // -1 stands for the current record here; the engine would read it as the whole list.
    if (nEnreg == -1) nEnreg = lEnregEnCours(ctx, pszNom);
    if (nEnreg == -1) return false;
    return bMemSupprime(ctx, pszNom, nEnreg);
}

CAny CComposanteStandard::MemRecupere(const wchar_t* pszNom, int nEnreg) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    STDonneeMem st{};
    const uint8_t* pby = lpvMemRenvoie(MEM_Contexte(), pszNom, nEnreg, ovmem::eENREG_VALEUR, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemPositionne(const wchar_t* pszNom, int nEnreg) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    stCTXMEM& ctx = MEM_Contexte();
    if (!bMemPosition(ctx, pszNom, nEnreg)) return clTexteVide();
    STDonneeMem st{};
    const uint8_t* pby = lpvMemRenvoie(ctx, pszNom, nEnreg, ovmem::eENREG_VALEUR, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemRecherche(const wchar_t* pszNom, const CAny* pclQuoi, int nMode) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    ovmem::STParametreMem stQuoi;
    if (!bParametre(this, pclQuoi, &stQuoi)) return clEntier(0);
    stCTXMEM& ctx = MEM_Contexte();
    if (nMode == 0) return clEntier(lMemChercheInverse(ctx, pszNom, stQuoi.st));
    STDonneeMem st{};
    const uint8_t* pby = lpvMemRecherche(ctx, pszNom, stQuoi.st, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemPremier(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    STDonneeMem st{};
    const uint8_t* pby = lpvMemPremier(MEM_Contexte(), pszNom, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemDernier(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    STDonneeMem st{};
    const uint8_t* pby = lpvMemDernier(MEM_Contexte(), pszNom, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemSuivant(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    STDonneeMem st{};
    const uint8_t* pby = lpvMemSuivant(MEM_Contexte(), pszNom, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemPrecedent(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    STDonneeMem st{};
    const uint8_t* pby = lpvMemPrecedent(MEM_Contexte(), pszNom, &st);
    return clLu(pby, st);
}

CAny CComposanteStandard::MemValCle(const wchar_t* pszNom) {
    std::lock_guard<std::mutex> verrou(gVerrou);
    if (!bListeConnue(this, pszNom)) return clEntier(0);
    STDonneeMem st{};
    const uint8_t* pby = lpvMemCleEnCours(MEM_Contexte(), pszNom, &st);
    if (pby == nullptr || st.nLongueur == 0) {
        RaiseError(&gstMyModuleInfo8, kErreurSansCle);
        return clEntier(0);
    }
    return clLu(pby, st);
}
