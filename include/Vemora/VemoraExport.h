#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#if defined(__GNUC__)
#define VEMORA_EXPORT __attribute__((visibility("default")))
#else
#define VEMORA_EXPORT
#endif
