#include "base/Utf8.h"

#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>

namespace vemora {

bool isUtf8(std::string_view text) {
  struct NoOutput {
    void Put(char) {}
  } noOutput;
  rapidjson::MemoryStream bytes(text.data() ? text.data() : "", text.size());
  while (bytes.Tell() < text.size()) {
    if (!rapidjson::UTF8<>::Validate(bytes, noOutput)) return false;
  }
  // A character that is cut off at the end was completed with zero bytes, which are never valid there.
  return true;
}

}  // namespace vemora
