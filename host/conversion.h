// The machine's conversions between the component's type codes, and the variants the machine
// builds and reads through the shared layout (component/interfaces/any_view.h) without the
// component's classes. The conversion entries themselves are exported C functions of the machine
// library: nConversionDepassementExt, FinConversion and pQueryProxy (the factory of decimals).
#pragma once

#include <string>

#include "component/interfaces/any_view.h"
#include "host/value.h"

namespace ovhost {

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
