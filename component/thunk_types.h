// How an entry of the machine's argument vector becomes a C++ argument (TArg) and how a method's
// result goes back through SetRetour (TResult). The generated method declarations and thunks both
// name these traits, so a method's C++ signature always follows its type codes.
#pragma once

#include <cstdint>

#include "base/any.h"
#include "base/manip.h"
#include "base/xystring.h"
#include "component/interfaces/gauge.h"
#include "component/interfaces/machine.h"
#include "component/interfaces/type_codes.h"
#include "datetime/date_time.h"
#include "datetime/duration.h"
#include "numeric/money.h"

namespace ovthunk {

// ---------------------------------------------------------------- arguments

template <uint32_t CODE>
struct TArg;

// Scalars are read through the entry's pointer.
template <typename T>
struct TScalarArg {
    using type = T;
    static T Lit(void* p) { return *static_cast<const T*>(p); }
};
template <> struct TArg<ovtype::BOOL> : TScalarArg<int> {};
template <> struct TArg<ovtype::INT> : TScalarArg<int> {};
template <> struct TArg<ovtype::INT64> : TScalarArg<long> {};
template <> struct TArg<ovtype::HANDLE> : TScalarArg<long> {};
template <> struct TArg<ovtype::REAL> : TScalarArg<double> {};
// Money: the entry points at the machine's ten bytes; the method gets its own copy.
template <> struct TArg<ovtype::MONEY> : TScalarArg<CMoney> {};
// Date-times and durations: the entry points at the machine's eight bytes, copied for the method.
template <> struct TArg<ovtype::DATETIME> : TScalarArg<CDateTime> {};
template <> struct TArg<ovtype::DURATION> : TScalarArg<CDuree> {};

// Texts: the entry points at the text pointer.
template <typename T>
struct TTextArg {
    using type = const T*;
    static const T* Lit(void* p) { return *static_cast<const T* const*>(p); }
};
template <> struct TArg<ovtype::CTEXT> : TTextArg<char> {};
template <> struct TArg<ovtype::PROCEDURE> : TTextArg<wchar_t> {};
template <> struct TArg<ovtype::WPSZ> : TTextArg<wchar_t> {};
template <> struct TArg<ovtype::TEXT> : TTextArg<wchar_t> {};
template <> struct TArg<ovtype::SYS_STRING> : TTextArg<wchar_t> {};
template <> struct TArg<ovtype::SYS_TEXT> : TTextArg<wchar_t> {};
template <> struct TArg<ovtype::FREE_TEXT> : TTextArg<wchar_t> {};

// Records passed as themselves: the entry is the record.
template <typename T>
struct TRecordArg {
    using type = const T*;
    static const T* Lit(void* p) { return static_cast<const T*>(p); }
};
template <> struct TArg<ovtype::MANIP> : TRecordArg<STManipAUB> {};
template <> struct TArg<ovtype::MANIP2> : TRecordArg<STManipAUB> {};

// A variant: the entry is the CAny itself. One the machine built without the component's
// operations (a null table pointer) gets them from its type word first.
template <> struct TArg<ovtype::ANY> {
    using type = const CAny*;
    static const CAny* Lit(void* p) { return CAny::s_pclAttacheOperations(p); }
};
template <> struct TArg<ovtype::ANY | ovtype::FLAG_BY_REFERENCE> {
    using type = CAny*;
    static CAny* Lit(void* p) { return CAny::s_pclAttacheOperations(p); }
};

// A window of the machine: the entry points at the interface pointer, as at a scalar.
template <> struct TArg<ovtype::WINDOW> : TScalarArg<IFenCommun*> {};
// A progress gauge of the machine, or null when the caller gives none.
template <> struct TArg<ovtype::GAUGE> {
    using type = IJaugeExec*;
    static IJaugeExec* Lit(void* p) { return p != nullptr ? *static_cast<IJaugeExec* const*>(p) : nullptr; }
};

// Counted values: the entry points at the machine's block pointer. The method gets a holder of its
// own, one more reference on the same block, which it may keep or write (a write copies first).
template <typename T>
struct TCountedArg {
    using type = T;
    static T Lit(void* p) { return T::s_clPartage(*static_cast<void* const*>(p)); }
};
template <> struct TArg<ovtype::STRING> : TCountedArg<CXYString<wchar_t>> {};
template <> struct TArg<ovtype::FREE_STRING> : TCountedArg<CXYString<wchar_t>> {};
template <> struct TArg<ovtype::BUFFER> {
    using type = CZKBIN;
    static CZKBIN Lit(void* p) { return CZKBIN(*static_cast<void* const*>(p)); }
};

// By reference: the entry is the storage the function writes.
template <typename T>
struct TReferenceArg {
    using type = T*;
    static T* Lit(void* p) { return static_cast<T*>(p); }
};
template <> struct TArg<ovtype::BOOL | ovtype::FLAG_BY_REFERENCE> : TReferenceArg<int> {};
template <> struct TArg<ovtype::INT | ovtype::FLAG_BY_REFERENCE> : TReferenceArg<int> {};
template <> struct TArg<ovtype::INT64 | ovtype::FLAG_BY_REFERENCE> : TReferenceArg<long> {};
template <> struct TArg<ovtype::REAL | ovtype::FLAG_BY_REFERENCE> : TReferenceArg<double> {};
template <> struct TArg<ovtype::MONEY | ovtype::FLAG_BY_REFERENCE> : TReferenceArg<CMoney> {};
template <> struct TArg<ovtype::DATETIME | ovtype::FLAG_BY_REFERENCE> : TReferenceArg<CDateTime> {};

// ---------------------------------------------------------------- results

template <uint32_t CODE>
struct TResult;

// A scalar result is stored in a local of the pushed width and its address handed to SetRetour.
template <typename T, typename TPushed, uint32_t CODE>
struct TScalarResult {
    using type = T;
    static void Push(STZKAppel* pstAppel, T value) {
        TPushed pushed = static_cast<TPushed>(value);
        pstAppel->piVM->SetRetour(pstAppel->dwFrame, &pushed, static_cast<int>(CODE));
    }
};
template <> struct TResult<ovtype::BOOL> : TScalarResult<bool, int32_t, ovtype::BOOL> {};
template <> struct TResult<ovtype::INT> : TScalarResult<int, int32_t, ovtype::INT> {};
template <> struct TResult<ovtype::INT64> : TScalarResult<long, int64_t, ovtype::INT64> {};
template <> struct TResult<ovtype::HANDLE> : TScalarResult<long, int64_t, ovtype::HANDLE> {};
template <> struct TResult<ovtype::REAL> : TScalarResult<double, double, ovtype::REAL> {};
// Money goes out as its ten bytes, which the machine copies before SetRetour returns.
template <> struct TResult<ovtype::MONEY> : TScalarResult<CMoney, CMoney, ovtype::MONEY> {};
// Date-times and durations go out as their eight bytes, copied by the machine.
template <> struct TResult<ovtype::DATETIME> : TScalarResult<CDateTime, CDateTime, ovtype::DATETIME> {};
template <> struct TResult<ovtype::DURATION> : TScalarResult<CDuree, CDuree, ovtype::DURATION> {};

// Counted results: SetRetour gets the address of the local holding the block pointer; the machine
// takes its own reference before returning, and the local's is dropped after.
template <typename T, uint32_t CODE>
struct TCountedResult {
    using type = T;
    static void Push(STZKAppel* pstAppel, T value) {
        pstAppel->piVM->SetRetour(pstAppel->dwFrame, value.pvGetAdresse(), static_cast<int>(CODE));
    }
};
template <> struct TResult<ovtype::STRING> : TCountedResult<CXYString<wchar_t>, ovtype::STRING> {};
template <> struct TResult<ovtype::SYS_STRING> : TCountedResult<CXYString<wchar_t>, ovtype::SYS_STRING> {};
template <> struct TResult<ovtype::FREE_STRING> : TCountedResult<CXYString<wchar_t>, ovtype::FREE_STRING> {};
template <> struct TResult<ovtype::BUFFER> : TCountedResult<CZKBIN, ovtype::BUFFER> {};

// Texts by pointer: SetRetour gets the text itself, a null pointer being the null value.
template <typename T, uint32_t CODE>
struct TTextResult {
    using type = const T*;
    static void Push(STZKAppel* pstAppel, const T* pszValue) {
        pstAppel->piVM->SetRetour(pstAppel->dwFrame, pszValue, static_cast<int>(CODE));
    }
};
template <> struct TResult<ovtype::WTEXT> : TTextResult<wchar_t, ovtype::WTEXT> {};
template <> struct TResult<ovtype::ATEXT> : TTextResult<char, ovtype::ATEXT> {};

// Results the method pushes itself (0x4b picks its form, 0x8c builds a structure) and no result.
// A variant result: the machine reads the CAny itself and copies it; the local is destroyed after.
template <> struct TResult<ovtype::ANY> {
    using type = CAny;
    static void Push(STZKAppel* pstAppel, CAny clValeur) {
        pstAppel->piVM->SetRetour(pstAppel->dwFrame, &clValeur, static_cast<int>(ovtype::ANY));
    }
};

template <> struct TResult<ovtype::VOID> { using type = void; };
template <> struct TResult<ovtype::AUTO_TEXT> { using type = void; };
template <> struct TResult<ovtype::STRUCT> { using type = void; };

// ---------------------------------------------------------------- results of code 0x4b

// A 0x4b method pushes its own result, in the form that suits it. Text goes out in the form of the
// input it came from (nFormeEntree: STManipAUB::TYPE_ANSI or TYPE_UNICODE); with no text input
// (0, or binary) the machine's string mode decides: 1 and 2 ask for 8-bit text, any other mode for
// wide text. 8-bit text goes out as UTF-8.
inline uint32_t nFormeTexteRetour(IVM* piVM, int nFormeEntree) {
    if (nFormeEntree == STManipAUB::TYPE_ANSI) return ovtype::ATEXT;
    if (nFormeEntree == STManipAUB::TYPE_UNICODE) return ovtype::WTEXT;
    const int nMode = piVM != nullptr ? piVM->nModeChaine() : 0;
    return nMode == 1 || nMode == 2 ? ovtype::ATEXT : ovtype::WTEXT;
}

// The null value as 0x10: what a failing 0x4b method answers, never an empty text.
inline void PousseEchec(STZKAppel* pstAppel) {
    pstAppel->piVM->SetRetour(pstAppel->dwFrame, nullptr, static_cast<int>(ovtype::WTEXT));
}

// A text result. A text that does not convert to UTF-8 (a lone surrogate) is pushed as the failure.
inline void PousseTexte(STZKAppel* pstAppel, const CXYString<wchar_t>& clTexte, int nFormeEntree) {
    if (nFormeTexteRetour(pstAppel->piVM, nFormeEntree) == ovtype::WTEXT) {
        pstAppel->piVM->SetRetour(pstAppel->dwFrame, clTexte.pszGet(), static_cast<int>(ovtype::WTEXT));
        return;
    }
    CXYString<char> clAnsi;
    if (clTexte.nAffecteToUTF8(&clAnsi) != 0) return PousseEchec(pstAppel);
    pstAppel->piVM->SetRetour(pstAppel->dwFrame, clAnsi.pszGet(), static_cast<int>(ovtype::ATEXT));
}

// An 8-bit text the method already holds (UTF-8): pushed as it is when 8-bit text is asked for,
// widened otherwise.
inline void PousseTexte(STZKAppel* pstAppel, const CXYString<char>& clTexte, int nFormeEntree) {
    if (nFormeTexteRetour(pstAppel->piVM, nFormeEntree) == ovtype::ATEXT) {
        pstAppel->piVM->SetRetour(pstAppel->dwFrame, clTexte.pszGet(), static_cast<int>(ovtype::ATEXT));
        return;
    }
    CXYString<wchar_t> clWide;
    if (clWide.nAffecteUTF8(clTexte.pszGet(), clTexte.nGetLongueur()) != 0) return PousseEchec(pstAppel);
    pstAppel->piVM->SetRetour(pstAppel->dwFrame, clWide.pszGet(), static_cast<int>(ovtype::WTEXT));
}

// A binary result: 0x1c, the address of the block pointer.
inline void PousseBinaire(STZKAppel* pstAppel, const CZKBIN& clValeur) {
    pstAppel->piVM->SetRetour(pstAppel->dwFrame, clValeur.pvGetAdresse(), static_cast<int>(ovtype::BUFFER));
}

}  // namespace ovthunk
