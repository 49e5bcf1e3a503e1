#include "base/VMRUtilities.h"

namespace vemora {

JsonValue VMRUtilities::jsonValueFrom(const JsonValue& root, std::string_view path) {
  JsonValue current = root;
  for (;;) {
    const std::size_t slash = path.find('/');
    current = current[path.substr(0, slash)];
    if (slash == std::string_view::npos) return current;
    path.remove_prefix(slash + 1);
  }
}

}  // namespace vemora
