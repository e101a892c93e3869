// Helpers that the language's file functions and directory functions share: reading a name
// argument, and handing a failure of the toolkit to the program.
#pragma once

#include "base/manip.h"
#include "component/composante.h"
#include "files/disk_file.h"

namespace ovfichier {

// The name argument as a wide path in pszSortie (kMaxPath + 1 characters). An empty name raises
// 80059 unless bVideAccepte, a name past kMaxPath raises 80042; both answer false.
bool bLitNom(CComposanteStandard* pclThis, const STManipAUB* pstNom, wchar_t* pszSortie, bool bVideAccepte = false);
bool bLitNom(CComposanteStandard* pclThis, const wchar_t* pszNom, wchar_t* pszSortie, bool bVideAccepte = false);

// A failure of the system or the toolkit as the program sees it: 80067 for a missing entry, 80059
// for a directory where a file was expected, otherwise the toolkit's own error when it filled one
// or the system error nErrno; always at level 2, an ordinary failure the program tests for rather
// than a fault of the program.
void EchecSysteme(CComposanteStandard* pclThis, const CXError* pclErreur, int nErrno);

// A numbered error lowered to level 2: for the numbered failures that come from the file system
// (a missing source, a directory that cannot be deleted), not from the program's arguments.
template <class... TParametres>
void EchecNumerote(CComposanteStandard* pclThis, int nNumero, TParametres... xParametres) {
    pclThis->RaiseError(&gstMyModuleInfo8, nNumero, xParametres...);
    pclThis->pclGetError()->SetErrorLevel(2);
}

}  // namespace ovfichier
