#include "core/context/VMRCrypto.h"

#include "ports/Platform.h"

namespace vemora {

std::string VMRCrypto::sha1(std::string_view text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hexadecimal;
  for (const std::uint8_t byte : Platform::shared().system().sha1(text)) {
    hexadecimal += kDigits[byte >> 4];
    hexadecimal += kDigits[byte & 15];
  }
  return hexadecimal;
}

}  // namespace vemora
