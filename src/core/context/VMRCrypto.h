#pragma once

#include <string>
#include <string_view>

namespace vemora {

/// Digests for identifiers. Any thread.
class VMRCrypto {
 public:
  /// The SHA-1 digest (FIPS 180) of the text's UTF-8 bytes as 40 lower-case hexadecimal digits.
  static std::string sha1(std::string_view text);
};

}  // namespace vemora
