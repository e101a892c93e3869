// The component's version text, "20.0.102.0": the project's version number.
#pragma once

extern const char gszVersionComposante[];
