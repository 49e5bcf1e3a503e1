#include "ports/Platform.h"

#include <cstdio>
#include <cstdlib>

namespace vemora {

Platform& Platform::shared() {
  // Never destroyed: threads that end last may still ask it for the time.
  static Platform& platform = *createPlatform().release();
  return platform;
}

void assertMainThread(const char* operation) {
  if (dispatch().isMainThread()) return;
  std::fprintf(stderr, "Vemora: %s must be called on the main thread\n", operation ? operation : "this");
  std::abort();
}

}  // namespace vemora
