#include "gtk/GtkTest.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Every warning that GLib's log carries is a failure of the test that caused it.
namespace {

std::mutex warningsMutex;
std::vector<std::string>& warnings() {
  static std::vector<std::string> lines;
  return lines;
}

GLogWriterOutput recordWarnings(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
  if (level & (G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR)) {
    const std::lock_guard lock(warningsMutex);
    char* text = g_log_writer_format_fields(level, fields, count, FALSE);
    warnings().emplace_back(text);
    g_free(text);
  }
  return g_log_writer_default(level, fields, count, data);
}

}  // namespace

namespace vemora::test {

std::vector<std::string> takeWarnings() {
  const std::lock_guard lock(warningsMutex);
  return std::exchange(warnings(), {});
}

}  // namespace vemora::test

namespace {

class WarningsAreFailures : public testing::EmptyTestEventListener {
  void OnTestEnd(const testing::TestInfo&) override {
    for (const auto& line : vemora::test::takeWarnings()) ADD_FAILURE() << "logged: " << line;
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  g_log_set_writer_func(recordWarnings, nullptr, nullptr);
  gtk_init();
  testing::UnitTest::GetInstance()->listeners().Append(new WarningsAreFailures);
  return RUN_ALL_TESTS();
}
