#pragma once

#include "PageView.h"
#include "Transcript.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vemora::check {

struct CheckOptions {
  std::string address;                             ///< Of the page, https.
  std::vector<std::string> sessions;               ///< The ones to run; empty: all.
  std::optional<std::filesystem::path> adRequest;  ///< See AdRequest.h.
  PageView::Certificates trusted;
  double timeout = 0;  ///< Seconds for each session.
  bool asJson = false;
  /// For a recording of each session that broke a rule; none is written without it.
  std::optional<std::filesystem::path> recordings;
  std::function<void(const std::string& line)> trace;  ///< Called with all traffic; may be empty.
};

/// The names that `CheckOptions::sessions` may hold.
std::vector<std::string> sessionNames();

/// Drives a page through its sessions in one window, all of them at once, and writes the report to
/// the standard output. Returns the exit status: 0 when every rule holds, 1 when one is broken or the page
/// cannot be checked (the standard error says why), 3 when none is broken but some could not be judged.
///
/// Runs the default main context until it is done. Needs a display.
int runCheck(const CheckOptions& options);

}  // namespace vemora::check
