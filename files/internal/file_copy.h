// Byte copies between descriptors and the safe whole-file copy that the file system toolkit and
// the tree copies share. Private to the files family.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "files/write_all.h"

namespace ov_files {

// Copies everything from nSource (read to its end) to nCible: copy_file_range while the kernel
// takes it, large blocks otherwise. False with errno on failure.
bool bCopieDescripteurs(int nSource, int nCible) noexcept;

// Copies the regular file that nSource is open on to pszCible (UTF-8). The content goes to a new
// file beside the target and takes the target's name only once complete, so a failed copy leaves
// the old target as it was and never a half file under its name. A target that is not a regular
// file (a link, a device) is written through. False with errno on failure.
bool bCopieVersNom(int nSource, const char* pszCible) noexcept;

// The same, by names; fails with EINVAL on the same file (device and inode).
bool bCopieFichier(const char* pszSource, const char* pszCible) noexcept;


}  // namespace ov_files
