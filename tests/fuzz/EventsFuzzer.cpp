#include "SessionFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vemora::fuzzEvents(data, size);
  return 0;
}
