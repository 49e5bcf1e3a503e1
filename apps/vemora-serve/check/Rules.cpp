#include "Rules.h"

#include <algorithm>
#include <string_view>

namespace vemora::check {

namespace {

bool wasToBeJudged(const Rule& rule, std::span<const Transcript> transcripts) {
  if (!rule.session) return false;
  const std::string_view session = rule.session;
  return session.empty() ||
         std::any_of(transcripts.begin(), transcripts.end(),
                     [&](const Transcript& transcript) { return transcript.session == session; });
}

Finding findingOf(const Rule& rule, std::span<const Transcript> transcripts) {
  Finding finding{&rule, Outcome::Skip, {}};
  std::string reason;
  for (const Transcript& transcript : transcripts) {
    const Verdict verdict = rule.judge(transcript);
    if (verdict.outcome == Outcome::Fail) {
      finding.outcome = Outcome::Fail;
      finding.seen.push_back(transcript.session + ": " + verdict.seen);
    } else if (verdict.outcome == Outcome::Ok && finding.outcome == Outcome::Skip) {
      finding.outcome = Outcome::Ok;
    } else if (reason.empty()) {
      reason = verdict.seen;
    }
  }
  if (finding.outcome == Outcome::Skip && !reason.empty()) finding.seen.push_back(reason);
  finding.isUnjudged = finding.outcome == Outcome::Skip && wasToBeJudged(rule, transcripts);
  return finding;
}

}  // namespace

std::vector<Rule> allRules() {
  std::vector<Rule> rules(messageRules().begin(), messageRules().end());
  rules.insert(rules.end(), playbackRules().begin(), playbackRules().end());
  return rules;
}

std::vector<Finding> judge(std::span<const Rule> rules, std::span<const Transcript> transcripts) {
  std::vector<Finding> findings;
  for (const Rule& rule : rules) findings.push_back(findingOf(rule, transcripts));
  return findings;
}

Verdict Findings::verdict(const char* nothingToLookAt) const {
  if (!looked_) return {Outcome::Skip, nothingToLookAt};
  if (count_ == 0) return {};
  const std::string more = count_ == 1 ? "" : " (and " + std::to_string(count_ - 1) + " more)";
  return {Outcome::Fail, first_ + more};
}

}  // namespace vemora::check
