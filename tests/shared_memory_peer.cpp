// The second process of the shared memory tests: loads the library in its own stand-in machine
// and obeys one command per line on its standard input, answering one line each.
//   ouvre <name> <size> <options> [procedure]   fMemOuvre; answers the handle
//   ecrit <text>                                  writes the text (UTF-8 in) behind a mark, at 2
//   lit <bytes>                                   reads from 0; answers the bytes in hexadecimal
//   attend <ms>                                   fMemAttend; answers 1 or 0
//   notifs                                        the notices received: "<count> <name> <index>"
//   verrou <name>                                 takes the zone's lock with undo and keeps it
//   ferme                                         fFerme; answers its result
// It ends at the end of its input.
#include <sys/ipc.h>
#include <sys/sem.h>

#include <iostream>
#include <mutex>
#include <sstream>
#include <string>

#include "host/machine.h"
#include "host/utf8.h"
#include "host/vm.h"

namespace {

using namespace ovhost;

// Notices arrive on the library's thread.
class CNotifications final : public IProcedureHost {
public:
    int nTrouveProcedure(std::wstring_view s) override { return s == L"Notifie" ? 2 : -1; }
    bool bExecuteProcedure(std::wstring_view, const std::vector<CValue>& tab, CValue* pclRetour,
                           std::string*) override {
        std::lock_guard<std::mutex> cl(m_mx);
        ++m_nNombre;
        if (tab.size() == 2) {
            m_sNom = sUtf8(tab[0].sText);
            m_nIndex = tab[1].nInteger;
        }
        if (pclRetour != nullptr) *pclRetour = CValue::Null();
        return true;
    }
    std::string sEtat() {
        std::lock_guard<std::mutex> cl(m_mx);
        return std::to_string(m_nNombre) + " " + m_sNom + " " + std::to_string(m_nIndex);
    }

private:
    std::mutex m_mx;
    int m_nNombre = 0;
    std::string m_sNom;
    int64_t m_nIndex = 0;
};

}  // namespace

int main() {
    CStandInMachine clMachine;
    std::string sErreur;
    if (!clMachine.bLoad(CStandInMachine::s_sDefaultLibraryPath(), &sErreur)) {
        std::cout << "load failed: " << sErreur << std::endl;
        return 2;
    }
    CNotifications clNotifications;
    clMachine.SetProcedureHost(&clNotifications);
    int64_t nHandle = -1;
    std::string sLigne;
    auto Appel = [&](const char* pszNom, std::vector<CValue> tab) {
        STCallOutcome st;
        if (!clMachine.bCall(pszNom, tab, &st, &sErreur)) return CValue::Null();
        return st.clResult;
    };
    while (std::getline(std::cin, sLigne)) {
        std::istringstream s(sLigne);
        std::string sCommande;
        s >> sCommande;
        if (sCommande == "ouvre") {
            std::string sNom, sProcedure;
            int nTaille = 0, nOptions = 0;
            s >> sNom >> nTaille >> nOptions >> sProcedure;
            std::vector<CValue> tab = {CValue::Text(sWideFromBytes(sNom)), CValue::Int(nTaille), CValue::Int(2),
                                       CValue::Int(nOptions)};
            if (!sProcedure.empty()) tab.push_back(CValue::Text(sWideFromBytes(sProcedure)));
            nHandle = Appel("fMemOuvre", tab).nInteger;
            std::cout << nHandle << std::endl;
        } else if (sCommande == "ecrit") {
            std::string sTexte;
            std::getline(s >> std::ws, sTexte);
            Appel("fPositionne", {CValue::Int(static_cast<int>(nHandle)), CValue::Int64(2), CValue::Int(0)});
            std::cout << Appel("fEcrit", {CValue::Int(static_cast<int>(nHandle)), CValue::Text(sWideFromBytes(sTexte))}).nInteger
                      << std::endl;
        } else if (sCommande == "lit") {
            int n = 0;
            s >> n;
            Appel("fPositionne", {CValue::Int(static_cast<int>(nHandle)), CValue::Int64(0), CValue::Int(0)});
            const CValue cl = Appel("fLit", {CValue::Int(static_cast<int>(nHandle)), CValue::Int(n)});
            std::string sHexa;
            for (unsigned char c : cl.sBytes) {
                static const char kHexa[] = "0123456789abcdef";
                sHexa += kHexa[c >> 4];
                sHexa += kHexa[c & 15];
            }
            std::cout << sHexa << std::endl;
        } else if (sCommande == "attend") {
            int n = 0;
            s >> n;
            std::cout << Appel("fMemAttend", {CValue::Int(static_cast<int>(nHandle)), CValue::Int(n)}).nInteger
                      << std::endl;
        } else if (sCommande == "notifs") {
            std::cout << clNotifications.sEtat() << std::endl;
        } else if (sCommande == "verrou") {
            std::string sNom;
            s >> sNom;
            const int nVerrou = semget(ftok(sNom.substr(1).c_str(), sNom[0]), 1, 0);
            struct sembuf st = {0, -1, SEM_UNDO};
            std::cout << (nVerrou >= 0 && semop(nVerrou, &st, 1) == 0 ? "verrouille" : "echec") << std::endl;
        } else if (sCommande == "ferme") {
            std::cout << Appel("fFerme", {CValue::Int(static_cast<int>(nHandle))}).nInteger << std::endl;
        } else {
            std::cout << "?" << std::endl;
        }
    }
    return 0;
}
