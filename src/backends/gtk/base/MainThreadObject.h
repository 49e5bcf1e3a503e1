#pragma once

#include "ports/Platform.h"

#include <memory>
#include <utility>

namespace vemora::gtk {

/// Makes an object of the toolkit's thread whose last reference may be dropped on any thread: it is always
/// destroyed on the main one.
template <typename T, typename... Arguments>
std::shared_ptr<T> makeMainThreadObject(Arguments&&... arguments) {
  return std::shared_ptr<T>(new T(std::forward<Arguments>(arguments)...), [](T* object) {
    if (dispatch().isMainThread()) {
      delete object;
    } else {
      dispatch().mainAsync([object] { delete object; });
    }
  });
}

}  // namespace vemora::gtk
