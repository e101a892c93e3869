// The zone a test runs under (TZ), for the expectations that depend on it.
#pragma once

#include <cstdlib>
#include <cstring>

enum class EZone { Paris, Utc, Autre };

inline EZone eZone() {
    const char* psz = std::getenv("TZ");
    if (psz != nullptr && std::strcmp(psz, "Europe/Paris") == 0) return EZone::Paris;
    if (psz != nullptr && (std::strcmp(psz, "UTC") == 0 || std::strcmp(psz, "UTC0") == 0)) return EZone::Utc;
    return EZone::Autre;
}
