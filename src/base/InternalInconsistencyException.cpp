#include <Vemora/InternalInconsistencyException.h>

namespace vemora {

// The key function: one vtable, so that the exception is caught across the library's boundary.
InternalInconsistencyException::~InternalInconsistencyException() = default;

}  // namespace vemora
