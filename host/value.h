// A value as the stand-in machine and the command line hold it: what a script writes, what an
// argument becomes before it is converted to a signature's type code, what a result reads back as.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ovhost {

enum class EValueKind {
    Null,
    Bool,
    Int,       // 32-bit
    Int64,
    Real,
    Money,     // sText holds the exact decimal text
    Text,      // wide text in sText
    Ansi,      // 8-bit text in sBytes
    Buffer,    // bytes in sBytes
    Date,      // sText "AAAAMMJJ"
    Time,      // sText "HHMMSSCC"
    DateTime,  // sText "AAAAMMJJHHmmSSCCC"
    Duration,  // sText, exact
    Multiple,  // tabMembers
};

struct CValue {
    EValueKind eKind = EValueKind::Null;
    int64_t nInteger = 0;  // Bool (0 or 1), Int, Int64
    double dReal = 0;
    std::wstring sText;
    std::string sBytes;
    std::vector<CValue> tabMembers;

    static CValue Null() { return {}; }
    static CValue Bool(bool b) { CValue v; v.eKind = EValueKind::Bool; v.nInteger = b ? 1 : 0; return v; }
    static CValue Int(int32_t n) { CValue v; v.eKind = EValueKind::Int; v.nInteger = n; return v; }
    static CValue Int64(int64_t n) { CValue v; v.eKind = EValueKind::Int64; v.nInteger = n; return v; }
    static CValue Real(double d) { CValue v; v.eKind = EValueKind::Real; v.dReal = d; return v; }
    static CValue Text(std::wstring s) { CValue v; v.eKind = EValueKind::Text; v.sText = std::move(s); return v; }
    static CValue Ansi(std::string s) { CValue v; v.eKind = EValueKind::Ansi; v.sBytes = std::move(s); return v; }
    static CValue Buffer(std::string s) { CValue v; v.eKind = EValueKind::Buffer; v.sBytes = std::move(s); return v; }

    // Back to the null value, keeping the strings' storage: a value read again and again (the
    // result of a call in a loop) then costs no allocation once it has held its longest text.
    void Clear() {
        eKind = EValueKind::Null;
        nInteger = 0;
        dReal = 0;
        sText.clear();
        sBytes.clear();
        tabMembers.clear();
    }
};

// The JSON name of a kind: "bool", "int", "int64", "real", "money", "text", "ansi", "buffer",
// "date", "time", "datetime", "duration", "null", "multiple".
const char* pszKindName(EValueKind eKind);

}  // namespace ovhost
