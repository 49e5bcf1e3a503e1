#pragma once

#include <Vemora/VemoraExport.h>

#include <stdexcept>

namespace vemora {

/// Thrown for programming errors of the host app, such as a plain `init` of a class that needs arguments.
/// Never thrown for anything that can go wrong at run time.
class VEMORA_EXPORT InternalInconsistencyException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
  ~InternalInconsistencyException() override;
};

}  // namespace vemora
