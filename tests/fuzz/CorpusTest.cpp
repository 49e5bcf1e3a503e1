#include "MessageFuzz.h"
#include "SessionFuzz.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace vemora {
namespace {

using Target = void (*)(const std::uint8_t*, std::size_t);

/// Everything that a fuzzer found worth keeping, and everything that ever crashed, with every compiler and
/// sanitizer.
void replay(const char* folder, Target target) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(VEMORA_FUZZ_CORPUS) / folder))
    files.push_back(entry.path());
  ASSERT_FALSE(files.empty());
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    SCOPED_TRACE(file.filename().string());
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    target(data, bytes.size());
    // A message may also be cut anywhere.
    for (std::size_t size = 0; size < std::min<std::size_t>(bytes.size(), 256); ++size) target(data, size);
  }
}

TEST(Corpus, Messages) {
  replay("message", fuzzMessage);
}
TEST(Corpus, ValuesOfAPage) {
  replay("values", fuzzValues);
}
TEST(Corpus, Dictionaries) {
  replay("dictionaries", fuzzDictionaries);
}
TEST(Corpus, Events) {
  replay("events", fuzzEvents);
}

}  // namespace
}  // namespace vemora
