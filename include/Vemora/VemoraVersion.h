#pragma once

/// The version of the headers that a program is compiled with; `Vemora::version` is that of the library that
/// it runs with. The build reads the version from here.

/// Changes with incompatible changes.
#define VEMORA_VERSION_MAJOR 1
/// Changes with additions.
#define VEMORA_VERSION_MINOR 0
/// Changes with corrections.
#define VEMORA_VERSION_PATCH 0

/// Whether the headers are of this version or a later one: `#if VEMORA_VERSION_AT_LEAST(1, 2, 0)`.
#define VEMORA_VERSION_AT_LEAST(major, minor, patch)                                      \
  (VEMORA_VERSION_MAJOR * 1000000 + VEMORA_VERSION_MINOR * 1000 + VEMORA_VERSION_PATCH >= \
   (major)*1000000 + (minor)*1000 + (patch))
