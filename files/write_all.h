// Writing a whole buffer to a descriptor, shared by every family that writes files itself.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace ov_files {

// Writes all of nTaille bytes, over EINTR and partial writes; a write that takes nothing is a full
// disk. False with errno on failure.
inline bool bEcritTout(int nFd, const void* pData, size_t nTaille) noexcept {
    const uint8_t* pby = static_cast<const uint8_t*>(pData);
    while (nTaille > 0) {
        const ssize_t n = ::write(nFd, pby, nTaille);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (n == 0) {
            errno = ENOSPC;
            return false;
        }
        pby += n;
        nTaille -= static_cast<size_t>(n);
    }
    return true;
}

}  // namespace ov_files
