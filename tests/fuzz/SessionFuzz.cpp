#include "SessionFuzz.h"

#include "Session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace vemora {

namespace {

using scenarios::Placement;
using scenarios::Session;

constexpr std::size_t kLinesRead = 16;

std::vector<JsonValue> valuesIn(const std::uint8_t* data, std::size_t size) {
  std::vector<JsonValue> values;
  std::string_view text(reinterpret_cast<const char*>(data), size);
  while (!text.empty() && values.size() < kLinesRead) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (auto value = JsonValue::parse(line)) values.push_back(*std::move(value));
  }
  return values;
}

void requireKeptPromises(Session& session) {
  session.finish();
  for (const auto& promise : session.broken()) std::fprintf(stderr, "broken: %s\n", promise.c_str());
  if (!session.broken().empty()) std::abort();
}

}  // namespace

void fuzzValues(const std::uint8_t* data, std::size_t size) {
  const auto values = valuesIn(data, size);
  if (values.empty()) return;
  Session session(Placement::Inline, {});
  session.play();
  for (const JsonValue& value : values) {
    if (const auto view = session.page().view()) {
      view->post("Vemora", value);
      view->post("VemoraLog", value);
    }
    session.run();
  }
  requireKeptPromises(session);
}

void fuzzDictionaries(const std::uint8_t* data, std::size_t size) {
  const auto values = valuesIn(data, size);
  if (values.empty()) return;
  Session session(Placement::Resizable, {});
  session.load();
  const auto answer = [&](const char* method, const JsonValue& value) {
    session.page().answer(method,
                          {.members = R"("result":{"data":)" + value.serialized().value_or("null") + "}"});
  };
  answer("get.config", values.front());
  answer("get.ads", values.back());
  session.page().finish();
  session.run();
  session.start();
  session.advance(1);
  if (const auto group = session.player()->adGroup()) {
    group->totalDuration();
    for (const auto& ad : *group) {
      for (const char* event : {"AdStarted", "AdTimeChange", "AdVideoComplete"})
        session.page().event(event, ad->id().isString() ? "a" : "b");
    }
  }
  session.page().event("AdGroupEnd");
  session.run();
  requireKeptPromises(session);
}

void fuzzEvents(const std::uint8_t* data, std::size_t size) {
  const auto values = valuesIn(data, size);
  if (values.empty()) return;
  Session session(Placement::Interstitial, {});
  session.play();
  for (const JsonValue& value : values) {
    const std::string params = value.serialized().value_or("null");
    for (const char* method : {"event", "window", "ping"})
      session.page().post(R"({"method":")" + std::string(method) + R"(","params":)" + params + "}");
    session.run();
  }
  session.advance(1);
  requireKeptPromises(session);
}

}  // namespace vemora
