// IZoneMemoire: what a sibling library sees of this library's memory lists, through
// CComposanteStandard::pQueryProxy(1). Counted: the holder releases it.
#pragma once

#include "component/interfaces/machine.h"

class CAny;
class CXError;

class IZoneMemoire : public IStdVersion {
public:
    virtual int AddRef() = 0;
    virtual int Release() = 0;
    // A null name is the default list, an empty one the current list.
    virtual bool bMemExiste(const wchar_t* pszNom, CXError* pclErreur) = 0;
    virtual int nMemOccurrence(const wchar_t* pszNom, CXError* pclErreur) = 0;
    // The value of record nEnreg (from 1), or an empty text.
    virtual CAny clMemRecupere(const wchar_t* pszNom, unsigned int nEnreg, CXError* pclErreur) = 0;

protected:
    virtual ~IZoneMemoire() = default;
};
