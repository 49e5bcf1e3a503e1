#pragma once

#include "ports/Platform.h"

#include <memory>

namespace vemora {

/// Releases an object on the main thread. Thread-safe.
template <typename T>
void releaseOnMainThread(std::shared_ptr<T> object) {
  if (object && !dispatch().isMainThread()) dispatch().mainAsync([object = std::move(object)] {});
}

}  // namespace vemora
