#pragma once

/// Marks the symbols that the shared library exports; all others are hidden.
#if defined(__GNUC__)
#define VEMORA_EXPORT __attribute__((visibility("default")))
#else
#define VEMORA_EXPORT
#endif
