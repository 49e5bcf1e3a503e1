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
  std::function<void(const std::string& line)> tell;  ///< Hears of all traffic; may be empty.
};

/// The names that `CheckOptions::sessions` may hold.
std::vector<std::string> sessionNames();

/// Drives a page through its sessions in a window of its own, all of them at once, and writes the report to
/// the standard output. Returns the status to leave with: 0 when every rule holds, 1 when not or when the
/// page cannot be checked; then the standard error says why.
///
/// Runs the default main context until it is through. Needs a display.
int runCheck(const CheckOptions& options);

}  // namespace vemora::check
