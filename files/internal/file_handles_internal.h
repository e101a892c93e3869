// What the two halves of the file-handle functions share: the error numbers and the checks every
// function makes on its handle.
#pragma once

#include "files/file_handles.h"

class CComposanteStandard;
class IXStream;

namespace ovfic {

inline constexpr int kErreurOperation = 80020;
inline constexpr int kErreurMemoireOuverture = 80021;
inline constexpr int kErreurHandle = 80022;
inline constexpr int kErreurOrigine = 80023;
inline constexpr int kErreurLecture = 80024;
inline constexpr int kErreurEcriture = 80025;
inline constexpr int kErreurOuverture = 80026;
inline constexpr int kErreurBloque = 80028;
inline constexpr int kErreurDebloque = 80029;
inline constexpr int kErreurPosition = 80034;
inline constexpr int kErreurTaille = 80035;
inline constexpr int kErreurChangeTaille = 80036;
inline constexpr int kErreurMemoireTampon = 80041;
inline constexpr int kErreurFichierTemp = 80052;
inline constexpr int kErreurDisqueSeulement = 80406;
inline constexpr int kErreurParametre = 80700;
inline constexpr int kErreurAdresse = 81812;

// The record of a handle; null, with 80022 raised at level 2, when the number is not one.
_stINFOFIC* pstValide(CComposanteStandard* pclThis, int nHandle);
// The stream's failure becomes the call's, at level 2; a stream that holds no error gives the
// numbered error instead, and a copied error without a number gets that number.
void CopieErreurFlux(CComposanteStandard* pclThis, IXStream* piFlux, int nErreurParDefaut);
// Puts the stream back at the language's position and drops the read-ahead. False, with the
// error raised, when the seek fails.
bool bSynchronise(CComposanteStandard* pclThis, _stINFOFIC* pstInfo);
// False, with 80406 raised, for a handle that is not a disk file.
bool bDisque(CComposanteStandard* pclThis, const _stINFOFIC* pstInfo);
// False, with 80700 raised, when bValide is false.
bool bParametre(CComposanteStandard* pclThis, bool bValide);

}  // namespace ovfic
