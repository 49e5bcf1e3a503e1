#pragma once

#include <Vemora/InternalInconsistencyException.h>

#include <string>

namespace vemora {

[[noreturn]] inline void throwInitNotValid(const char* className) {
  throw InternalInconsistencyException(std::string("-init is not a valid initializer for the class ") +
                                       className);
}

}  // namespace vemora
