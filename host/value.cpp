// Names of value kinds, as the command line's JSON output spells them.
#include "host/value.h"

namespace ovhost {

const char* pszKindName(EValueKind eKind) {
    switch (eKind) {
    case EValueKind::Null: return "null";
    case EValueKind::Bool: return "bool";
    case EValueKind::Int: return "int";
    case EValueKind::Int64: return "int64";
    case EValueKind::Real: return "real";
    case EValueKind::Money: return "money";
    case EValueKind::Text: return "text";
    case EValueKind::Ansi: return "ansi";
    case EValueKind::Buffer: return "buffer";
    case EValueKind::Date: return "date";
    case EValueKind::Time: return "time";
    case EValueKind::DateTime: return "datetime";
    case EValueKind::Duration: return "duration";
    case EValueKind::Multiple: return "multiple";
    }
    return "null";
}

}  // namespace ovhost
