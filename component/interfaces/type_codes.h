// Type codes of the descriptor tables: the low byte of a signature's type word. Shared by the
// component (thunks), the build-time catalogue tool and the stand-in machine.
#pragma once

#include <cstdint>

namespace ovtype {

enum : uint32_t {
    VOID = 0x00,         // result: nothing pushed
    BOOL = 0x01,         // 32-bit int holding 0 or 1
    INT = 0x08,          // 32-bit int
    INT64 = 0x09,        // 64-bit int
    MONEY = 0x0a,        // CMoney
    REAL = 0x0c,         // double
    HANDLE = 0x0e,       // handle kept as 64 bits
    HWND = 0x0f,         // window handle
    WTEXT = 0x10,        // result: wide text by pointer
    CTEXT = 0x12,        // argument: char const*
    ATEXT = 0x13,        // result: 8-bit text by pointer
    DATE_TEXT = 0x18,    // variables: wide date text
    TIME_TEXT = 0x19,    // variables: wide time text
    DATETIME = 0x1a,     // CDateTime
    DURATION = 0x1b,     // CDuree
    BUFFER = 0x1c,       // CZKBIN
    ANY = 0x1f,          // CAny
    OBJECT = 0x2c,       // machine object
    OBJECT2 = 0x2e,      // machine object
    WINDOW = 0x39,       // machine window object
    INTARRAY = 0x40,     // variables: CZKINTArray
    PROCEDURE = 0x43,    // wchar_t const*, a procedure name to call back
    AUTO_TEXT = 0x4b,    // result pushed by the method as 0x10, 0x13 or 0x1c
    MANIP2 = 0x4d,       // STManipAUB const*
    MANIP = 0x50,        // STManipAUB const*
    WPSZ = 0x59,         // wchar_t const*
    TYPED_OBJECT = 0x67, // object with a type reference
    TYPED_OBJECT2 = 0x6f,
    OBJECT_ARRAY = 0x70,
    STRING = 0x79,       // CXYString<wchar_t> result, by value argument
    TEXT = 0x7a,         // wchar_t const*
    GAUGE = 0x7b,        // IJaugeExec*
    IMAGE = 0x7c,        // IImageZK*
    SYS_STRING = 0x7e,   // result CXYString<wchar_t>, argument wchar_t const*
    SYS_TEXT = 0x7f,     // wchar_t const*
    FREE_STRING = 0x82,  // CXYString<wchar_t>
    FREE_TEXT = 0x83,    // wchar_t const*
    STRUCT = 0x8c,       // structured value made with pxCreeStructureRetour
};

// Bits of a type word above the code.
enum : uint32_t {
    CODE_MASK = 0xff,
    FLAG_PARAM_MARK = 0x200,   // ignored by thunks
    FLAG_BY_REFERENCE = 0x4000,
    FLAG_MACHINE_MARK = 0x8000, // ignored by thunks
    TYPEREF_SHIFT = 16,
};

// Argument word of an overload record.
enum : uint32_t {
    ARGS_COUNT_MASK = 0x7f,
    ARGS_VARIADIC = 0x80,
    ARGS_BIT8 = 0x100,
};

struct STTypeName {
    uint32_t nCode;
    const char* pszName;
};

// Readable names, as the command line prints them and the catalogue may write them.
inline constexpr STTypeName gstTypeNames[] = {
    {VOID, "void"}, {BOOL, "bool"}, {INT, "int"}, {INT64, "int64"}, {MONEY, "money"},
    {REAL, "real"}, {HANDLE, "handle"}, {HWND, "hwnd"}, {WTEXT, "wtext"}, {CTEXT, "ctext"},
    {ATEXT, "atext"}, {DATE_TEXT, "datetext"}, {TIME_TEXT, "timetext"}, {DATETIME, "datetime"},
    {DURATION, "duration"}, {BUFFER, "buffer"}, {ANY, "any"}, {OBJECT, "object"},
    {OBJECT2, "object2"}, {WINDOW, "window"}, {INTARRAY, "intarray"}, {PROCEDURE, "procedure"},
    {AUTO_TEXT, "autotext"}, {MANIP2, "manip2"}, {MANIP, "manip"}, {WPSZ, "wpsz"},
    {TYPED_OBJECT, "typedobject"}, {TYPED_OBJECT2, "typedobject2"}, {OBJECT_ARRAY, "objectarray"},
    {STRING, "string"}, {TEXT, "text"}, {GAUGE, "gauge"}, {IMAGE, "image"},
    {SYS_STRING, "sysstring"}, {SYS_TEXT, "systext"}, {FREE_STRING, "freestring"},
    {FREE_TEXT, "freetext"}, {STRUCT, "struct"},
};

inline const char* pszTypeName(uint32_t nCode) {
    for (const STTypeName& st : gstTypeNames)
        if (st.nCode == (nCode & CODE_MASK)) return st.pszName;
    return nullptr;
}

}  // namespace ovtype
