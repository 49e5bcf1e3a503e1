#pragma once

#include "backends/testing/TestingPlatform.h"

#include <Vemora/JsonValue.h>
#include <Vemora/Vemora.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// Parses JSON text that must be valid.
inline JsonValue json(std::string_view text) {
  const auto value = JsonValue::parse(text);
  if (!value) throw std::invalid_argument("bad JSON in a test: " + std::string(text));
  return *value;
}

/// Prints a value in a failed expectation.
inline void PrintTo(const JsonValue& value, std::ostream* stream) {
  *stream << value.serialized().value_or("unprintable");
}

/// Resets the fakes, the clock and the settings for each test, with the debug log on. Fails a test that
/// leaks views.
class CoreTest : public ::testing::Test {
 protected:
  CoreTest() {
    platform().reset();
    Vemora::debugMode(true);
    Vemora::setAPIKey(std::nullopt);
  }
  ~CoreTest() override {
    platform().reset();
    constexpr std::size_t kWindowAndRoot = 2;
    EXPECT_EQ(testing::FakeView::alive(), kWindowAndRoot) << "views were leaked";
  }

  static testing::TestingPlatform& platform() { return testing::TestingPlatform::current(); }
  static testing::FakeApplication& application() { return platform().fakeApplication(); }
  static testing::FakeSystem& system() { return platform().fakeSystem(); }
  static void settle() { platform().fakeDispatch().settle(); }
  static void advance(double seconds) { platform().fakeDispatch().advance(seconds); }

  static bool logged(const std::string& text) {
    return system().hasLine(LogLevel::Default, "VEMORA LOG: " + text);
  }
  static bool loggedError(const std::string& text) {
    return system().hasLine(LogLevel::Error, "VEMORA ERROR: " + text);
  }
  static std::size_t countLogged(const std::string& text) {
    return system().countLines("VEMORA LOG: " + text);
  }
};

/// The controller page of one web view. It answers every call with an empty result unless scripted
/// otherwise, and records the calls. What it posts is converted to text and back, as a real page's messages
/// are.
class ScriptedPage {
 public:
  struct Call {
    std::string id, method;
    JsonValue params;
  };

  explicit ScriptedPage(std::shared_ptr<testing::FakeWebView> view);

  /// Scripts the reply to a method. `reply` is the text of its members without the id, such as
  /// R"("result":{})"; empty for no reply.
  void answer(const std::string& method, std::string reply) { state_->replies[method] = std::move(reply); }
  /// Makes every script fail with this error from now on; no error makes them work again.
  void failScripts(std::optional<VMRError> error) { state_->scriptError = std::move(error); }
  /// Posts this JSON text to the handler "Vemora"; false when there is no handler.
  bool post(std::string_view text);
  bool event(const std::string& name, const std::string& id = {}, const std::string& data = "null");
  bool ping() { return post(R"({"method":"ping"})"); }

  const std::vector<Call>& calls() const { return state_->calls; }
  std::vector<std::string> methods() const;
  std::shared_ptr<testing::FakeWebView> view() const { return view_.lock(); }

 private:
  struct State {
    std::map<std::string, std::string> replies;
    std::optional<VMRError> scriptError;
    std::vector<Call> calls;
  };
  static std::optional<VMRError> receive(State& state, const std::weak_ptr<testing::FakeWebView>& view,
                                         const std::string& script);

  const std::shared_ptr<State> state_ = std::make_shared<State>();
  const std::weak_ptr<testing::FakeWebView> view_;
};

}  // namespace vemora
