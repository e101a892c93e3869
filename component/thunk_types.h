// How an entry of the machine's argument vector becomes a C++ argument (TArg) and how a method's
// result goes back through SetRetour (TResult). The generated method declarations and thunks both
// name these traits, so a method's C++ signature always follows its type codes.
#pragma once

#include <cstdint>

#include "component/interfaces/machine.h"
#include "component/interfaces/type_codes.h"

struct STManipAUB;

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

// Results the method pushes itself (0x4b picks its form, 0x8c builds a structure) and no result.
template <> struct TResult<ovtype::VOID> { using type = void; };
template <> struct TResult<ovtype::AUTO_TEXT> { using type = void; };
template <> struct TResult<ovtype::STRUCT> { using type = void; };

}  // namespace ovthunk
