#pragma once

#include "backends/testing/TestingPlatform.h"

#include <Vemora/JsonValue.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::scenarios {

/// What a page sends back for one call. `members` is JSON text beside the id, such as R"("result":{})".
struct Answer {
  std::string members = R"("result":{})";
  double delay = 0;
  int copies = 1;    ///< 0: no reply at all.
  std::string id{};  ///< In place of the call's own.
  bool raw = false;  ///< `members` is the whole body, as JSON text of any type.
};

/// The controller page of one web view. Until a scenario changes it, it answers every call at once, with a
/// group of the ads "a" and "b", and pings every second once it has sent its ads.
class Page : public std::enable_shared_from_this<Page> {
 public:
  static constexpr char kAds[] = R"("result":{"data":{"adgroup":{"ads":[
      {"id":"a","index":0,"duration":15},{"id":"b","index":1,"duration":30}]}}})";

  static std::shared_ptr<Page> behind(const std::shared_ptr<testing::FakeWebView>& view);

  void answer(const std::string& method, Answer answer) { answers_[method] = std::move(answer); }
  void answerEverything(Answer answer);
  /// Called when a call of the method reaches the page, before the answer.
  void onCall(const std::string& method, std::function<void()> act) { hooks_[method] = std::move(act); }

  void finish(int status = 200);
  void fail(const std::string& description, bool provisional = true);
  void crash();
  /// Every script fails, as on a page that has no bridge.
  void setHasBridge(bool has) { hasBridge_ = has; }
  /// Posts the JSON text to the handler "Vemora"; false when nobody listens.
  bool post(std::string_view text);
  bool event(std::string_view name, std::string_view id = "a", std::string_view data = "null");
  bool window(std::string_view event, std::string_view url);
  void ping() { post(R"({"method":"ping"})"); }
  void setPings(bool pings) { pings_ = pings; }

  const std::vector<std::string>& calls() const { return calls_; }
  std::shared_ptr<testing::FakeWebView> view() const { return view_.lock(); }

 private:
  std::optional<VMRError> receive(const std::string& script);
  void reply(const std::string& id, const Answer& answer);
  void pingEverySecond();

  std::weak_ptr<testing::FakeWebView> view_;
  std::map<std::string, Answer> answers_;
  Answer otherwise_;
  std::map<std::string, std::function<void()>> hooks_;
  std::vector<std::string> calls_;
  bool pings_ = true;
  bool willPing_ = false;
  bool alive_ = true;
  bool hasBridge_ = true;
};

}  // namespace vemora::scenarios
