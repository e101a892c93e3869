// Type codes of the descriptor tables: the low byte of a signature's type word. Shared by the
// component (thunks), the build-time catalogue tool and the stand-in machine.
#pragma once

#include <cstdint>

namespace ovtype {

    inline constexpr uint32_t VOID = 0x00;         // result: nothing pushed
    inline constexpr uint32_t BOOL = 0x01;         // 32-bit int holding 0 or 1
    inline constexpr uint32_t INT = 0x08;          // 32-bit int
    inline constexpr uint32_t INT64 = 0x09;        // 64-bit int
    inline constexpr uint32_t MONEY = 0x0a;        // CMoney
    inline constexpr uint32_t REAL = 0x0c;         // double
    inline constexpr uint32_t HANDLE = 0x0e;       // handle kept as 64 bits
    inline constexpr uint32_t HWND = 0x0f;         // window handle
    inline constexpr uint32_t WTEXT = 0x10;        // result: wide text by pointer
    inline constexpr uint32_t CTEXT = 0x12;        // argument: char const*
    inline constexpr uint32_t ATEXT = 0x13;        // result: 8-bit text by pointer
    inline constexpr uint32_t DATE_TEXT = 0x18;    // variables: wide date text
    inline constexpr uint32_t TIME_TEXT = 0x19;    // variables: wide time text
    inline constexpr uint32_t DATETIME = 0x1a;     // CDateTime
    inline constexpr uint32_t DURATION = 0x1b;     // CDuree
    inline constexpr uint32_t BUFFER = 0x1c;       // CZKBIN
    inline constexpr uint32_t ANY = 0x1f;          // CAny
    inline constexpr uint32_t OBJECT = 0x2c;       // machine object
    inline constexpr uint32_t OBJECT2 = 0x2e;      // machine object
    inline constexpr uint32_t WINDOW = 0x39;       // machine window object
    inline constexpr uint32_t INTARRAY = 0x40;     // variables: CZKINTArray
    inline constexpr uint32_t PROCEDURE = 0x43;    // wchar_t const*, a procedure name to call back
    inline constexpr uint32_t AUTO_TEXT = 0x4b;    // result pushed by the method as 0x10, 0x13 or 0x1c
    inline constexpr uint32_t MANIP2 = 0x4d;       // STManipAUB const*
    inline constexpr uint32_t MANIP = 0x50;        // STManipAUB const*
    inline constexpr uint32_t WPSZ = 0x59;         // wchar_t const*
    inline constexpr uint32_t TYPED_OBJECT = 0x67; // object with a type reference
    inline constexpr uint32_t TYPED_OBJECT2 = 0x6f;
    inline constexpr uint32_t OBJECT_ARRAY = 0x70;
    inline constexpr uint32_t STRING = 0x79;       // CXYString<wchar_t> result, by value argument
    inline constexpr uint32_t TEXT = 0x7a;         // wchar_t const*
    inline constexpr uint32_t GAUGE = 0x7b;        // IJaugeExec*
    inline constexpr uint32_t IMAGE = 0x7c;        // IImageZK*
    inline constexpr uint32_t SYS_STRING = 0x7e;   // result CXYString<wchar_t>, argument wchar_t const*
    inline constexpr uint32_t SYS_TEXT = 0x7f;     // wchar_t const*
    inline constexpr uint32_t FREE_STRING = 0x82;  // CXYString<wchar_t>
    inline constexpr uint32_t FREE_TEXT = 0x83;    // wchar_t const*
    inline constexpr uint32_t STRUCT = 0x8c;       // structured value made with pxCreeStructureRetour

// Bits of a type word above the code.
    inline constexpr uint32_t CODE_MASK = 0xff;
    inline constexpr uint32_t FLAG_PARAM_MARK = 0x200;   // ignored by thunks
    inline constexpr uint32_t FLAG_BY_REFERENCE = 0x4000;
    inline constexpr uint32_t FLAG_MACHINE_MARK = 0x8000; // ignored by thunks
    inline constexpr uint32_t TYPEREF_SHIFT = 16;

// Argument word of an overload record.
    inline constexpr uint32_t ARGS_COUNT_MASK = 0x7f;
    inline constexpr uint32_t ARGS_VARIADIC = 0x80;
    inline constexpr uint32_t ARGS_BIT8 = 0x100;

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
