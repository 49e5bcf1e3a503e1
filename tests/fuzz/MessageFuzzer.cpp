#include "MessageFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vemora::fuzzMessage(data, size);
  return 0;
}
