#include "ports/Platform.h"

#include <cstdio>
#include <cstdlib>

namespace vemora {

Platform& Platform::shared() {
  // Never destroyed: threads that end last may still ask it for the time.
  static Platform& platform = *createPlatform().release();
  return platform;
}

void assertMainThread() {
  if (dispatch().isMainThread()) return;
  std::fputs("Vemora: this belongs to the main thread\n", stderr);
  std::abort();
}

}  // namespace vemora
