#pragma once

#include "Transcript.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vemora::check {

enum class Outcome : std::uint8_t { Ok, Fail, Skip };

struct Verdict {
  Outcome outcome = Outcome::Ok;
  std::string seen;  ///< What was wrong, or why there was nothing to judge.
};

/// One thing that a page must do.
///
/// `judge` looks at one session. It answers Skip where the session holds nothing that the rule is about.
struct Rule {
  const char* name;  ///< Short and stable, for scripts: "ads-answered".
  const char* says;  ///< The rule in one line.
  Verdict (*judge)(const Transcript& transcript);
  const char* advice;  ///< What to do about a failure, in one line.
  /// The session in which a page that keeps the protocol is judged; empty: each of them. Null for a rule
  /// about something that a page need not do.
  const char* session = "";
};

/// What one rule found in all sessions together: it fails when it fails in any of them, and is skipped when
/// there was nothing to judge in all of them.
struct Finding {
  const Rule* rule = nullptr;
  Outcome outcome = Outcome::Skip;
  /// For a failure what was seen, each with its session; otherwise one reason at most.
  std::vector<std::string> seen;
  /// It was skipped although its session ran, so that nothing is known about it.
  bool isUnjudged = false;
  /// Where the sessions that broke the rule are recorded: "FILE:LINE", or "FILE" for what never came. Empty
  /// when nothing is recorded.
  std::vector<std::string> places{};
};

/// Every rule, in the order of the report. A new one goes into the list of its subject.
std::vector<Rule> allRules();
/// The page and its bridge, requests and replies, the form of messages, the heartbeat.
std::span<const Rule> messageRules();
/// What the page reports of its ads, and what control commands do.
std::span<const Rule> playbackRules();

std::vector<Finding> judge(std::span<const Rule> rules, std::span<const Transcript> transcripts);

/// Collects the faults of a page within one session.
class Findings {
 public:
  /// Records that there was something to judge.
  void look() { looked_ = true; }
  void add(const std::string& problem) {
    looked_ = true;
    if (++count_ == 1) first_ = problem;
  }
  /// Skipped, with the reason, when there was nothing to judge.
  [[nodiscard]] Verdict verdict(const char* nothingToLookAt) const;

 private:
  bool looked_ = false;
  int count_ = 0;
  std::string first_;
};

}  // namespace vemora::check
