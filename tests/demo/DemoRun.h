#pragma once

#include "../common/ChildProcess.h"
#include "../common/TestFolder.h"

#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vemora::test {

/// One run of vemora-demo in a temporary home folder, on the desktop of the test.
///
///     DemoRun run({"--placement", "inline"});
///     EXPECT_EQ(run.finish(), 0) << run.output();
///     EXPECT_EQ(run.callbacks(), ...);
class DemoRun {
 public:
  explicit DemoRun(const std::vector<std::string>& arguments);

  /// Waits for the end and returns the exit status; -1 when a signal ended it.
  int finish();
  ChildProcess& process() { return process_; }
  /// Everything that it wrote, for the text of a failure.
  [[nodiscard]] std::string output() const { return outputs_.output + outputs_.errors; }
  [[nodiscard]] const std::string& errors() const { return outputs_.errors; }
  /// What GLib and GTK found wrong with calls of the demo's own process; a web process has its own.
  [[nodiscard]] std::string criticals() const;

  /// The callbacks, in order, as they were written.
  [[nodiscard]] const std::vector<JsonValue>& events() const { return events_; }
  /// Their short names, without the ticking of the time: "vemora:adStart:" of "ad-1" is "adStart ad-1".
  [[nodiscard]] std::vector<std::string> callbacks() const;
  /// The last of them; empty when there is none.
  [[nodiscard]] std::string lastCallback() const;
  /// The first callback of this name that is there; null when there is none.
  [[nodiscard]] JsonValue event(const std::string& name) const;
  /// Path and query of each beacon, in order of arrival.
  [[nodiscard]] std::vector<std::string> beacons() const;
  [[nodiscard]] std::filesystem::path screenshot() const { return folder_.path() / "screenshot.png"; }

 private:
  TestFolder folder_;
  ChildProcess process_;
  ChildProcess::Outputs outputs_;
  std::vector<JsonValue> events_;
};

/// Whether these beacons have arrived, each once, and in this order except for close neighbours: each uses a
/// separate connection, so that beacons sent together may overtake each other.
testing::AssertionResult haveArrived(const std::vector<std::string>& beacons,
                                     std::vector<std::string> expected);

std::string contentOf(const std::filesystem::path& file);

}  // namespace vemora::test
