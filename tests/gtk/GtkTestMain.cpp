#include "gtk/GtkTest.h"

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Every warning in GLib's log, and every error that the SDK logs, is a failure of the test that caused it.
/// The SDK logs errors as messages with the priority of warnings, since warnings can be fatal to hosts.
namespace {

std::mutex warningsMutex;
std::vector<std::string>& warnings() {
  static std::vector<std::string> lines;
  return lines;
}

bool isErrorOfTheSDK(const GLogField* fields, gsize count) {
  bool ours = false;
  bool error = false;
  for (gsize i = 0; i < count; ++i) {
    const std::string_view key = fields[i].key;
    if (key != "GLIB_DOMAIN" && key != "PRIORITY") continue;
    const std::string_view value = static_cast<const char*>(fields[i].value);
    ours = ours || (key == "GLIB_DOMAIN" && value == "Vemora");
    error = error || (key == "PRIORITY" && value == "4");
  }
  return ours && error;
}

GLogWriterOutput recordWarnings(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
  if ((level & (G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR)) ||
      isErrorOfTheSDK(fields, count)) {
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
