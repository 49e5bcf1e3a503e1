#include "OutcomesDocument.h"
#include "RecordedScenario.h"
#include "Scenario.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <stdexcept>
#include <string_view>

namespace vemora::scenarios {
namespace {

bool matches(const std::string& expected, const std::string& line) {
  return expected.ends_with("...") ? line.starts_with(expected.substr(0, expected.size() - 3))
                                   : line == expected;
}

bool matchAll(const std::vector<std::string>& expected, const std::vector<std::string>& lines) {
  return std::equal(expected.begin(), expected.end(), lines.begin(), lines.end(), matches);
}

void expectOutcome(const Scenario& scenario, Placement placement,
                   const testing::ScheduledDispatch::Policy& policy) {
  SCOPED_TRACE(scenario.name + " " + scenario.variant + ", " + nameOf(placement));
  Session session(placement, policy);
  scenario.act(session);
  const auto callbacks = session.callbacks();
  EXPECT_EQ(callbacks, scenario.outcome.callbacks);
  const bool anyErrors = scenario.outcome.errors == std::vector<std::string>{kGivenUp};
  EXPECT_TRUE(anyErrors || matchAll(scenario.outcome.errors, session.errorLines()))
      << ::testing::PrintToString(session.errorLines());
  for (const std::string& line : scenario.outcome.logs) EXPECT_TRUE(session.logged(line)) << line;
  session.finish();
  EXPECT_EQ(session.broken(), std::vector<std::string>());
  EXPECT_EQ(session.callbacks(), callbacks) << "after the end of the scenario";
}

/// The table holds in every order of threads, not only in the one that the tests are written for.
void expectOutcomeInAnyOrder(const Scenario& scenario) {
  constexpr std::uint64_t kOrders = 4;
  for (std::uint64_t seed = 1; seed <= kOrders && !::testing::Test::HasFailure(); ++seed) {
    const Placement placement = scenario.placements[seed % scenario.placements.size()];
    SCOPED_TRACE("seed " + std::to_string(seed));
    expectOutcome(scenario, placement, {seed, 0.1, 0});
    if (::testing::Test::HasFailure()) ADD_FAILURE() << scheduler().schedule();
  }
}

class ScenarioTest : public ::testing::TestWithParam<Scenario> {};

TEST_P(ScenarioTest, EndsAsDocumented) {
  for (const Placement placement : GetParam().placements) expectOutcome(GetParam(), placement, {});
  if (!HasFailure()) expectOutcomeInAnyOrder(GetParam());
}

std::string testName(const ::testing::TestParamInfo<Scenario>& info) {
  std::string name = info.param.name;
  if (!info.param.variant.empty()) name += "_" + std::to_string(info.index);
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(, ScenarioTest, ::testing::ValuesIn(allScenarios()), testName);

std::string textOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The test cases in all sources of the tests, as "Suite.Name".
std::set<std::string> allTestCases() {
  std::set<std::string> names;
  const std::regex definition(R"(TEST(?:_F|_P)?\((\w+),\s*(\w+)\))");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(VEMORA_TESTS_FOLDER)) {
    if (entry.path().extension() != ".cpp") continue;
    const std::string text = textOf(entry.path());
    for (std::sregex_iterator match(text.begin(), text.end(), definition), end; match != end; ++match)
      names.insert((*match)[1].str() + "." + (*match)[2].str());
  }
  return names;
}

TEST(SecurityDocument, NamesTestsThatExist) {
  std::set<std::string> known = allTestCases();
  for (const Scenario& scenario : allScenarios()) known.insert("scenario: " + scenario.name);
  const std::string text = textOf(VEMORA_SECURITY_FILE);
  const std::regex reference(R"(`((?:[A-Z]\w+\.[A-Z]\w+)|scenario: [^`]+)`)");
  std::size_t count = 0;
  for (std::sregex_iterator match(text.begin(), text.end(), reference), end; match != end; ++match) {
    const std::string name = (*match)[1].str();
    if (name == "Suite.Name" || name == "scenario: name") continue;
    EXPECT_TRUE(known.contains(name)) << name;
    ++count;
  }
  EXPECT_GT(count, 20u);
}

TEST(OutcomesDocument, IsUpToDate) {
  EXPECT_TRUE(textOf(VEMORA_OUTCOMES_FILE) == outcomesDocument())
      << "docs/outcomes.md is stale: run vemora-scenarios --write FILE";
}

}  // namespace
}  // namespace vemora::scenarios

namespace {

int record(const char* folder) {
  try {
    std::printf("%zu scenarios are recorded in %s\n", vemora::scenarios::recordScenarios(folder), folder);
    return 0;
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "vemora-scenarios: %s\n", error.what());
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc == 1) return RUN_ALL_TESTS();
  const std::string_view option = argc == 3 ? argv[1] : "";
  if (option == "--record") return record(argv[2]);
  if (option != "--write") {
    std::fputs("usage: vemora-scenarios [--write FILE | --record FOLDER]\n", stderr);
    return 2;
  }
  std::ofstream stream(argv[2]);
  stream << vemora::scenarios::outcomesDocument();
  stream.close();
  if (stream) return 0;
  std::fprintf(stderr, "vemora-scenarios: cannot write '%s'\n", argv[2]);
  return 1;
}
