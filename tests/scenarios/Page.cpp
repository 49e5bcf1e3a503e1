#include "Page.h"

#include <stdexcept>
#include <utility>

namespace vemora::scenarios {

namespace {

constexpr std::string_view kCallBegin = "window.VemoraProxy.bridge.onMessage(JSON.stringify(";
constexpr std::string_view kCallEnd = "));";

JsonValue parsed(std::string_view text) {
  const auto value = JsonValue::parse(text);
  if (!value) throw std::invalid_argument("bad JSON in a scenario: " + std::string(text));
  return *value;
}

}  // namespace

std::shared_ptr<Page> Page::behind(const std::shared_ptr<testing::FakeWebView>& view) {
  auto page = std::make_shared<Page>();
  page->view_ = view;
  page->answers_["get.config"] = {R"("result":{"data":{}})"};
  page->answers_["get.ads"] = {kAds};
  view->onEvaluate = [weak = page->weak_from_this()](const std::string& script) {
    const auto self = weak.lock();
    return self ? self->receive(script) : std::nullopt;
  };
  return page;
}

void Page::answerEverything(Answer answer) {
  answers_.clear();
  otherwise_ = std::move(answer);
}

std::optional<VMRError> Page::receive(const std::string& script) {
  if (!hasBridge_) return VMRError{"FakeWebKit", 699, "TypeError: no bridge", {}, {}, nullptr};
  std::string_view text = script;
  if (!text.starts_with(kCallBegin) || !text.ends_with(kCallEnd)) return std::nullopt;
  text.remove_prefix(kCallBegin.size());
  text.remove_suffix(kCallEnd.size());
  const JsonValue message = parsed(text);
  const std::string method(message["method"].asString().value_or(""));
  calls_.push_back(method);
  if (const auto hook = hooks_.find(method); hook != hooks_.end()) hook->second();
  const auto found = answers_.find(method);
  const Answer& answer = found == answers_.end() ? otherwise_ : found->second;
  const std::string id(message["id"].asString().value_or(""));
  auto send = [weak = weak_from_this(), id, answer, isAds = method == "get.ads"] {
    const auto self = weak.lock();
    if (!self) return;
    self->reply(id, answer);
    if (isAds && answer.copies > 0) self->pingEverySecond();
  };
  answer.delay > 0 ? dispatch().mainAfter(answer.delay, send) : dispatch().mainAsync(send);
  return std::nullopt;
}

void Page::reply(const std::string& id, const Answer& answer) {
  if (!alive_) return;
  const std::string used = answer.id.empty() ? id : answer.id;
  for (int i = 0; i < answer.copies; ++i)
    post(answer.raw ? answer.members : R"({"id":")" + used + R"(",)" + answer.members + "}");
}

void Page::finish(int status) {
  const auto kept = view();
  if (!kept || !alive_) return;
  kept->finishNavigation(status);
}

void Page::fail(const std::string& description, bool provisional) {
  const auto kept = view();
  if (!kept) return;
  const VMRError error{"FakeNetwork", 1, description, {}, {}, nullptr};
  provisional ? kept->failProvisionalNavigation(error) : kept->failNavigation(error);
}

void Page::crash() {
  alive_ = false;
  if (const auto kept = view()) kept->terminateProcess();
}

bool Page::post(std::string_view text) {
  const auto kept = view();
  return kept && alive_ && kept->post("Vemora", parsed(text));
}

bool Page::event(std::string_view name, std::string_view id, std::string_view data) {
  return post(R"({"method":"event","params":{"event":")" + std::string(name) + R"(","id":")" +
              std::string(id) + R"(","data":)" + std::string(data) + "}}");
}

bool Page::window(std::string_view event, std::string_view url) {
  return post(R"({"method":"window","params":{"event":")" + std::string(event) + R"(","url":")" +
              std::string(url) + R"("}})");
}

void Page::pingEverySecond() {
  if (std::exchange(willPing_, true)) return;
  dispatch().mainAfter(1, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || !self->view()) return;
    self->willPing_ = false;
    if (self->pings_) self->ping();
    self->pingEverySecond();
  });
}

}  // namespace vemora::scenarios
