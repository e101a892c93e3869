// The machine's conversions between the component's type codes, and the variants the machine
// builds and reads through the shared layout (component/interfaces/any_view.h) without the
// component's classes. The conversion entries themselves are exported C functions of the machine
// library: nConversionDepassementExt, FinConversion and pQueryProxy (the factory of decimals).
#pragma once

#include <string>
#include <string_view>

#include "component/interfaces/any_view.h"
#include "component/interfaces/money_view.h"
#include "host/value.h"

namespace ovhost {

// Money as the machine carries it (type 0x0a): the exact decimal text of the ten bytes ("12.5",
// "-0.000001", "3": no trailing zeros, no lone point), and the ten bytes of a text made of blanks,
// one sign, digits and at most one point. Decimals past the sixth are cut. False for any other
// text (a decimal comma, an exponent: the language's wider number forms are the conversions'
// business) and for a value outside the 80-bit range.
std::wstring sMoneyText(const STMoneyView& stMoney);
bool bMoneyFromText(std::wstring_view sTexte, STMoneyView* pstMoney);

// A variant from a script value: type word and payload written, the operations pointer left null
// for the component to attach. Texts and binary values go in counted blocks of the machine's
// allocator, owned by the variant from then on. False for values a variant cannot hold.
bool bFillAnyView(const CValue& clValeur, STAnyView* pstVue);

// A script value from a variant: what a result of type 0x1f reads back as. Types the machine
// does not read give Null and a note.
bool bReadAnyView(const STAnyView* pstVue, CValue* pclValeur, std::string* psNote);

// Releases what a variant the machine built still points to, and empties it.
void ReleaseAnyView(STAnyView* pstVue);

}  // namespace ovhost

extern "C" {
int nConversionDepassementExt(const void* pSource, int nTypeSource, void* pCible, int nTypeCible, unsigned int dwFlags,
                              const STOCAW* pstOption);
void FinConversion(void* pCible, int nType);
void* pQueryProxy(int nNumero);
}
