#include "MessageFuzz.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace vemora {
namespace {

/// Everything the fuzzer found worth keeping, and everything that ever crashed, under every compiler and
/// sanitizer.
TEST(Corpus, IsReadWithoutHarm) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(VEMORA_FUZZ_CORPUS))
    files.push_back(entry.path());
  ASSERT_FALSE(files.empty());
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    SCOPED_TRACE(file.filename().string());
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    fuzzMessage(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    // Every beginning as well: a message may be cut anywhere.
    for (std::size_t size = 0; size < std::min<std::size_t>(bytes.size(), 256); ++size)
      fuzzMessage(reinterpret_cast<const std::uint8_t*>(bytes.data()), size);
  }
}

}  // namespace
}  // namespace vemora
