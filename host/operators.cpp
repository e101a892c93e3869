// Operators over the values of ovrun's scripts.
#include "host/operators.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace ovhost {

namespace {

bool bIsInteger(const CValue& cl) {
    return cl.eKind == EValueKind::Bool || cl.eKind == EValueKind::Int || cl.eKind == EValueKind::Int64;
}
bool bIsNumber(const CValue& cl) { return bIsInteger(cl) || cl.eKind == EValueKind::Real; }
double dNumber(const CValue& cl) { return cl.eKind == EValueKind::Real ? cl.dReal : static_cast<double>(cl.nInteger); }

CValue clInteger(int64_t n) {
    if (n >= std::numeric_limits<int32_t>::min() && n <= std::numeric_limits<int32_t>::max())
        return CValue::Int(static_cast<int32_t>(n));
    return CValue::Int64(n);
}

bool bRefuse(std::string_view sOperator, const CValue& clLeft, const CValue* pclRight, std::string* psError) {
    std::string s = "'" + std::string(sOperator) + "' does not apply to " + pszKindName(clLeft.eKind);
    if (pclRight != nullptr) s += std::string(" and ") + pszKindName(pclRight->eKind);
    *psError = std::move(s);
    return false;
}

bool bOverflow(std::string* psError) {
    *psError = "the integer result does not fit in 64 bits";
    return false;
}

// -1, 0, 1; false when the two values cannot be compared.
bool bCompare(const CValue& a, const CValue& b, int* pnOrder) {
    if (bIsNumber(a) && bIsNumber(b)) {
        if (bIsInteger(a) && bIsInteger(b))
            *pnOrder = a.nInteger < b.nInteger ? -1 : a.nInteger > b.nInteger ? 1 : 0;
        else
            *pnOrder = dNumber(a) < dNumber(b) ? -1 : dNumber(a) > dNumber(b) ? 1 : 0;
        return true;
    }
    if (a.eKind != b.eKind) return false;
    switch (a.eKind) {
    case EValueKind::Null: *pnOrder = 0; return true;
    case EValueKind::Text:
    case EValueKind::Date:
    case EValueKind::Time:
    case EValueKind::DateTime:
    case EValueKind::Duration: {
        const int n = a.sText.compare(b.sText);
        *pnOrder = n < 0 ? -1 : n > 0 ? 1 : 0;
        return true;
    }
    case EValueKind::Ansi:
    case EValueKind::Buffer: {
        // By unsigned byte, as the library orders keys.
        const std::basic_string_view<unsigned char> sA(reinterpret_cast<const unsigned char*>(a.sBytes.data()),
                                                        a.sBytes.size());
        const std::basic_string_view<unsigned char> sB(reinterpret_cast<const unsigned char*>(b.sBytes.data()),
                                                        b.sBytes.size());
        const int n = sA.compare(sB);
        *pnOrder = n < 0 ? -1 : n > 0 ? 1 : 0;
        return true;
    }
    default: return false;
    }
}

bool bComparison(std::string_view sOperator, const CValue& a, const CValue& b, CValue* pclResult,
                 std::string* psError) {
    int nOrder = 0;
    const bool bEqualityOnly = sOperator == "=" || sOperator == "<>";
    // Two equal money texts are equal; any other money comparison would need decimal arithmetic.
    if (a.eKind == EValueKind::Money && b.eKind == EValueKind::Money && bEqualityOnly) {
        *pclResult = CValue::Bool((a.sText == b.sText) == (sOperator == "="));
        return true;
    }
    if (!bCompare(a, b, &nOrder)) return bRefuse(sOperator, a, &b, psError);
    bool bVrai = false;
    if (sOperator == "=") bVrai = nOrder == 0;
    else if (sOperator == "<>") bVrai = nOrder != 0;
    else if (sOperator == "<") bVrai = nOrder < 0;
    else if (sOperator == ">") bVrai = nOrder > 0;
    else if (sOperator == "<=") bVrai = nOrder <= 0;
    else bVrai = nOrder >= 0;
    *pclResult = CValue::Bool(bVrai);
    return true;
}

}  // namespace

int nOperatorPrecedence(std::string_view s) {
    if (s == "*" || s == "/" || s == "&") return 3;
    if (s == "+" || s == "-" || s == "|") return 2;
    if (s == "=" || s == "<>" || s == "<" || s == ">" || s == "<=" || s == ">=") return 1;
    return 0;
}

bool bApplyOperator(std::string_view sOperator, const CValue& a, const CValue* pclRight, CValue* pclResult,
                    std::string* psError) {
    if (pclRight == nullptr) {
        if (sOperator != "-") return bRefuse(sOperator, a, nullptr, psError);
        if (a.eKind == EValueKind::Real) {
            *pclResult = CValue::Real(-a.dReal);
            return true;
        }
        if (!bIsInteger(a)) return bRefuse(sOperator, a, nullptr, psError);
        if (a.nInteger == std::numeric_limits<int64_t>::min()) return bOverflow(psError);
        *pclResult = clInteger(-a.nInteger);
        return true;
    }
    const CValue& b = *pclRight;
    if (nOperatorPrecedence(sOperator) == 1) return bComparison(sOperator, a, b, pclResult, psError);

    if (sOperator == "+" && a.eKind == b.eKind &&
        (a.eKind == EValueKind::Text || a.eKind == EValueKind::Ansi || a.eKind == EValueKind::Buffer)) {
        *pclResult = a;
        pclResult->sText += b.sText;
        pclResult->sBytes += b.sBytes;
        return true;
    }
    if (sOperator == "|" || sOperator == "&") {
        if (!bIsInteger(a) || !bIsInteger(b)) return bRefuse(sOperator, a, &b, psError);
        const int64_t n = sOperator == "|" ? (a.nInteger | b.nInteger) : (a.nInteger & b.nInteger);
        *pclResult = a.eKind == EValueKind::Bool && b.eKind == EValueKind::Bool ? CValue::Bool(n != 0) : clInteger(n);
        return true;
    }
    if (!bIsNumber(a) || !bIsNumber(b)) return bRefuse(sOperator, a, &b, psError);
    if (sOperator == "/" && dNumber(b) == 0) {
        *psError = "division by zero";
        return false;
    }
    if (bIsInteger(a) && bIsInteger(b)) {
        int64_t n = 0;
        if (sOperator == "/") {
            if (a.nInteger == std::numeric_limits<int64_t>::min() && b.nInteger == -1) return bOverflow(psError);
            if (a.nInteger % b.nInteger != 0) {
                *pclResult = CValue::Real(static_cast<double>(a.nInteger) / static_cast<double>(b.nInteger));
                return true;
            }
            n = a.nInteger / b.nInteger;
        } else {
            const bool bOverflowed = sOperator == "+"   ? __builtin_add_overflow(a.nInteger, b.nInteger, &n)
                                     : sOperator == "-" ? __builtin_sub_overflow(a.nInteger, b.nInteger, &n)
                                                        : __builtin_mul_overflow(a.nInteger, b.nInteger, &n);
            if (bOverflowed) return bOverflow(psError);
        }
        *pclResult = clInteger(n);
        return true;
    }
    const double x = dNumber(a);
    const double y = dNumber(b);
    const double d = sOperator == "+" ? x + y : sOperator == "-" ? x - y : sOperator == "*" ? x * y : x / y;
    *pclResult = CValue::Real(d);
    return true;
}

}  // namespace ovhost
