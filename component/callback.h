// Calling a procedure of the language from inside a library function: find it by name on the
// machine, push its arguments one by one, run it, read its answer.
//
//     CCallback clAppel;
//     if (!clAppel.bInit(pszProcedure, piVM, pclErreur)) return false;   // unknown procedure
//     clAppel.bEmpileChaineX(pszRepertoire);
//     clAppel.bEmpileEntier(nPointeur);
//     CAny clRetour;
//     if (!clAppel.bExecute(&clRetour, pclErreur)) ...                   // the machine's error
//
// The arguments are pushed on the machine as they come, so a callback that is abandoned between
// pushes and execution must be cancelled (AnnuleExecution); the destructor does it, and releases
// every reference it holds whatever state it is left in.
#pragma once

#include <cstdint>

#include "component/interfaces/machine.h"

class CAny;
class CXError;

class CCallback {
public:
    CCallback() noexcept = default;
    CCallback(const CCallback&) = delete;
    CCallback& operator=(const CCallback&) = delete;
    virtual ~CCallback();

    // Finds the procedure by name on the machine. False for a null or empty name, a null machine,
    // a name the machine does not know (the machine's error then lies in pclErreur when given) or
    // a procedure that cannot be called. A second init drops the first procedure.
    bool bInit(const wchar_t* pszProcedure, IVM* piVM, CXError* pclErreur) noexcept;
    // Takes a handle the caller already has; this object takes its own reference. False for null
    // or an unavailable procedure.
    bool bInitFromAppelMethode(IAppelMethode* piMethode) noexcept;
    // A variant of the procedure type (0x43) carries the machine's handle in its payload. False for
    // any other variant.
    bool bInitFromAny(const CAny& clProcedure, CXError* pclErreur) noexcept;
    bool bEstInitialise() const noexcept { return m_piMethode != nullptr; }

    // Each push asks the machine that runs the procedure, and counts the argument when the
    // machine took it. False without a procedure or when the machine refuses.
    bool bEmpileEntier(int nValeur, CXError* pclErreur = nullptr) noexcept;
    bool bEmpileChaineX(const wchar_t* pszValeur, CXError* pclErreur = nullptr) noexcept;
    // A text in the machine's current string form (8-bit or wide, its choice).
    bool bEmpileChaineX_Cur(const wchar_t* pszValeur, CXError* pclErreur = nullptr) noexcept;
    bool bEmpileChamp(IObjetAPCode* piChamp, CXError* pclErreur = nullptr) noexcept;
    bool bEmpileTableau(IZKTableau* piTableau, CXError* pclErreur = nullptr) noexcept;
    // Null pushes the null value.
    bool bEmpileAny(CAny* pclValeur, CXError* pclErreur = nullptr) noexcept;
    // The object the procedure sees as its caller, set on the machine of the call.
    void SetCallingObject(IObjetAPCode* piObjet) noexcept;

    // Runs the procedure with what was pushed. The answer goes to pclRetour when given (with null
    // the procedure's answer is not asked for). True when the machine ran it. The pushed arguments
    // are consumed and the machine of the call released, whatever the outcome; the procedure
    // stays known, so the next call pushes again.
    bool bExecute(CAny* pclRetour, CXError* pclErreur) noexcept;
    // Drops what was pushed and releases the machine of the call.
    void AnnuleExecution() noexcept;

    int nGetNbArgument() const noexcept { return m_nNbArgument; }
    IAppelMethode* piGetMethode() const noexcept { return m_piMethode; }

protected:
    // The machine for the pushes and the call: the one held, or one asked of the procedure.
    virtual IVM* _piVMPourAppel(CXError* pclErreur) noexcept;
    // The machine the pushes went to, without asking for one.
    virtual IVM* _piVMTenue() const noexcept { return m_piVM; }
    // Lets go of the machine of the call once it has run or been cancelled; a thread's own machine
    // is not the call's and stays.
    void _LibereVMAppel() noexcept;
    void _LibereMethode() noexcept;

    IVM* m_piVM = nullptr;  // with a reference, from the procedure's ninth slot
    int m_nNbArgument = 0;
    IAppelMethode* m_piMethode = nullptr;  // with a reference
};

// A callback run on a thread the library starts: the machine gives the thread its own machine
// object when the thread is set up, on the starting thread; the calls then go through it.
class CCallbackThread : public CCallback {
public:
    // Kinds of thread the machine knows.
    enum eCTE : int {
        CTE_NOTIFICATION_MEMOIRE = 12,  // notifications of shared memory zones
    };

    CCallbackThread() noexcept = default;
    ~CCallbackThread() override;

    // Asks the machine for a thread machine bound to the procedure; the machine writes the
    // procedure's handle (with a reference) into this object. Call it on the starting thread.
    bool bInitThread(const wchar_t* pszProcedure, IVM* piVM, CXError* pclErreur, eCTE eType) noexcept;
    IVM* piGetVMThread() const noexcept { return m_piVMThread; }

protected:
    IVM* _piVMPourAppel(CXError* pclErreur) noexcept override;
    IVM* _piVMTenue() const noexcept override;

private:
    IVM* m_piVMThread = nullptr;  // belongs to the thread, released with this object
};

// True when the user asked the running program to stop: the machine answers 10. A long walk asks
// between two entries when its caller allows it to be interrupted.
bool bVerifieInteruptionUtilisateur(IVM* piVM, int nValeur, CXError* pclErreur) noexcept;
