#pragma once

#include "ports/Platform.h"

#include <memory>

namespace vemora {

/// Lets go of something that belongs to the main thread, from whatever thread.
template <typename T>
void releaseOnMainThread(std::shared_ptr<T> object) {
  if (object && !dispatch().isMainThread()) dispatch().mainAsync([object = std::move(object)] {});
}

}  // namespace vemora
