#include "backends/gtk/GtkPorts.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace vemora::gtk {

namespace {

std::string logged(LogLevel level, std::string_view line) {
  const std::unique_ptr<System> system = makeSystem();
  testing::internal::CaptureStderr();
  system->log(level, line);
  return testing::internal::GetCapturedStderr();
}

TEST(LogTest, PrintsTheLineAsItStands) {
  const std::string ordinary = logged(LogLevel::Default, "VEMORA LOG: 100% of {\"a\":\"%s\"}");
  EXPECT_NE(ordinary.find("VEMORA LOG: 100% of {\"a\":\"%s\"}\n"), std::string::npos) << ordinary;
  EXPECT_NE(ordinary.find("Vemora-Message"), std::string::npos) << ordinary;
  const std::string error = logged(LogLevel::Error, "VEMORA ERROR: Controller NOT READY");
  EXPECT_NE(error.find("VEMORA ERROR: Controller NOT READY\n"), std::string::npos) << error;
  EXPECT_NE(error.find("Vemora-WARNING"), std::string::npos) << error;
}

TEST(LogTest, LosesNothingBehindBytesThatAreNoText) {
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
