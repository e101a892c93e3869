// How the class-wide file functions report: one gate for every answer, so that a failure always
// carries the system error and the operation's message with the name, and a success a clean error.
#pragma once

#include <cerrno>

#include "base/error.h"
#include "files/disk_file.h"

namespace ov_files {

// A failure: the system error and the operation's message go into the caller's error (which may
// be null); errno stays as the system left it.
inline bool bEchec(CXError* pclErreur, unsigned int nMessage, const wchar_t* pszNom) noexcept {
    const int nErrno = errno;
    if (pclErreur != nullptr && CDiskFile::_bOnError(false, pclErreur))
        pclErreur->AddUserMessage(&gstMyModuleInfo8, nMessage, pszNom != nullptr ? pszNom : L"");
    errno = nErrno;
    return false;
}

inline bool bReussite(CXError* pclErreur) noexcept {
    CDiskFile::_bOnError(true, pclErreur);
    return true;
}

}  // namespace ov_files
