#include "CoreTest.h"

namespace vemora {

namespace {

constexpr std::string_view kCallBegin = "window.VemoraProxy.bridge.onMessage(JSON.stringify(";
constexpr std::string_view kCallEnd = "));";

JsonValue messageIn(std::string_view script) {
  if (!script.starts_with(kCallBegin) || !script.ends_with(kCallEnd)) return nullptr;
  script.remove_prefix(kCallBegin.size());
  script.remove_suffix(kCallEnd.size());
  return JsonValue::parse(script).value_or(nullptr);
}

}  // namespace

ScriptedPage::ScriptedPage(std::shared_ptr<testing::FakeWebView> view) : view_(view) {
  view->onEvaluate = [state = state_, weak = view_](const std::string& script) {
    return receive(*state, weak, script);
  };
}

std::optional<VMRError> ScriptedPage::receive(State& state, const std::weak_ptr<testing::FakeWebView>& view,
                                              const std::string& script) {
  const JsonValue message = messageIn(script);
  const std::string id = message["id"].stringValue().value_or("");
  const std::string method = message["method"].stringValue().value_or("");
  EXPECT_EQ(message["jsonrpc"], JsonValue("2.0")) << script;
  state.calls.push_back({id, method, message["params"]});
  if (state.scriptError) return state.scriptError;
  const auto scripted = state.replies.find(method);
  const std::string reply = scripted == state.replies.end() ? R"("result":{})" : scripted->second;
  if (reply.empty()) return std::nullopt;
  dispatch().mainAsync([view, text = R"({"id":")" + id + R"(",)" + reply + "}"] {
    if (const auto alive = view.lock()) alive->post("Vemora", json(text));
  });
  return std::nullopt;
}

bool ScriptedPage::post(std::string_view text) {
  const auto alive = view();
  return alive && alive->post("Vemora", json(text));
}

bool ScriptedPage::event(const std::string& name, const std::string& id, const std::string& data) {
  return post(R"({"method":"event","params":{"event":")" + name + R"(","id":")" + id + R"(","data":)" + data +
              "}}");
}

std::vector<std::string> ScriptedPage::methods() const {
  std::vector<std::string> all;
  for (const Call& call : calls()) all.push_back(call.method);
  return all;
}

}  // namespace vemora
