#include "backends/gtk/GtkPorts.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace vemora::gtk {

namespace {

std::string logged(LogLevel level, std::string_view line) {
  const std::unique_ptr<System> system = makeSystem();
  testing::internal::CaptureStderr();
  system->log(level, line);
  return testing::internal::GetCapturedStderr();
}

TEST(LogTest, PrintsLinesUnchangedAndErrorsBelowTheLevelOfWarnings) {
  const std::string ordinary = logged(LogLevel::Default, "VEMORA LOG: 100% of {\"a\":\"%s\"}");
  EXPECT_NE(ordinary.find("VEMORA LOG: 100% of {\"a\":\"%s\"}\n"), std::string::npos) << ordinary;
  EXPECT_NE(ordinary.find("Vemora-Message"), std::string::npos) << ordinary;
  const std::string error = logged(LogLevel::Error, "VEMORA ERROR: Controller NOT READY");
  EXPECT_NE(error.find("VEMORA ERROR: Controller NOT READY\n"), std::string::npos) << error;
  EXPECT_NE(error.find("Vemora-Message"), std::string::npos) << error;
}

TEST(LogTest, DoesNotEndAHostWithFatalWarnings) {
  EXPECT_EXIT(
      {
        g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_WARNING));
        makeSystem()->log(LogLevel::Error, "Failed to fire beacon");
        std::_Exit(7);
      },
      ::testing::ExitedWithCode(7), "");
}

TEST(LogTest, GivesErrorsTheJournalsPriority) {
  static std::string priority;
  EXPECT_EXIT(
      {
        g_log_set_writer_func(
            [](GLogLevelFlags, const GLogField* fields, gsize count, gpointer) {
              for (gsize i = 0; i < count; ++i) {
                if (std::string_view(fields[i].key) == "PRIORITY") {
                  priority = static_cast<const char*>(fields[i].value);
                }
              }
              return G_LOG_WRITER_HANDLED;
            },
            nullptr, nullptr);
        makeSystem()->log(LogLevel::Error, "error");
        std::_Exit(priority == "4" ? 7 : 1);
      },
      ::testing::ExitedWithCode(7), "");
}

TEST(LogTest, KeepsTextAfterInvalidBytes) {
  const std::string line = logged(LogLevel::Default, std::string_view("before\0between\xFF"
                                                                      "after",
                                                                      20));
  for (const char* part : {"before", "between", "after"}) {
    EXPECT_NE(line.find(part), std::string::npos) << line;
  }
  EXPECT_FALSE(logged(LogLevel::Default, {}).empty());
}

}  // namespace

}  // namespace vemora::gtk
