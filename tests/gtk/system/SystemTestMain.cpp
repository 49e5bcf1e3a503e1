#include "../../common/TestFolder.h"
#include "URLSessionEnd.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <string>

namespace {

/// Separate folders, a fixed language, no proxy; a GLib warning about our calls is a failure.
void pinEnvironment(const std::string& home) {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANGUAGE"}) g_unsetenv(variable);
  for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"}) {
    g_setenv(variable, home.c_str(), TRUE);
  }
  g_setenv("LANG", "pt_BR.UTF-8", TRUE);
  g_setenv("no_proxy", "*", TRUE);
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL));
}

}  // namespace

int main(int argc, char** argv) {
  static const vemora::test::TestFolder home;
  pinEnvironment(home.path());
  if (argc == 4 && std::string(argv[1]) == "--end-process") {
    vemora::gtk::endProcessWithDownloads(argv[2], argv[3]);
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
