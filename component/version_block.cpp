// The component's version, from the project's version number, twice: as the text of the module
// record, and as a block of named values between two markers in the file's bytes, where tools
// read a file's version without loading it (NUL-terminated names and values, code page 1252).
#include "component/version.h"

#ifndef OV_VERSION_TEXT
#error "OV_VERSION_TEXT is given by the build"
#endif

const char gszVersionComposante[] = OV_VERSION_TEXT;

// Kept whole in the file even though no code reads it.
__attribute__((used)) const char gbyBlocVersionComposante[] =
    "VersionInfoMarkStart\0"
    "\\StringFileInfo\\000004E4\\FileVersion\0" OV_VERSION_TEXT "\0"
    "\\StringFileInfo\\000004E4\\ProductVersion\0" OV_VERSION_TEXT "\0"
    "\\StringFileInfo\\000004E4\\ProductName\0ov200std64\0"
    "\\StringFileInfo\\000004E4\\FileDescription\0Zeklang standard functions\0"
    "\\StringFileInfo\\000004E4\\OriginalFilename\0ov200std64.so\0"
    "VersionInfoMarkEnd";
