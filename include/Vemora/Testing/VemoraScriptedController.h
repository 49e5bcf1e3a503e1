#pragma once

#include <Vemora/JsonValue.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// Plays the controller page of every player that loads while it exists. One at a time, on the main thread.
///
/// Unless a test sets otherwise, a page loads, answers, sends a heartbeat each second, and plays its ads on
/// the clock of `VemoraTesting`: for each ad the events of a video of its duration, with its position every
/// quarter of a second. It obeys the commands that players send.
///
/// What a test sets applies to the pages that load after it. What the page or the viewer does concerns the
/// page that loaded last, and takes effect in the next `VemoraTesting::settle` or `advance`.
class VemoraScriptedController {
 public:
  /// An ad of the group.
  struct Ad {
    std::string id{};      ///< Not empty, and different for each ad of a group.
    double duration = 15;  ///< In seconds.
    std::string title{};   ///< As text.
  };
  /// A command of the SDK that has reached a page.
  struct Call {
    std::string method;  ///< "get.config", "get.ads", "control.start", ...
    JsonValue params;    ///< For the first two, the request as the page sees it.
  };

  /// Begins with `VemoraTesting::reset`. Pages have one ad, "ad-1" of 15 seconds, until set.
  VemoraScriptedController();
  /// Its pages stop where they are.
  ~VemoraScriptedController();
  VemoraScriptedController(const VemoraScriptedController&) = delete;
  VemoraScriptedController& operator=(const VemoraScriptedController&) = delete;

  /// The ads that pages answer with. None make the load end with error 5003.
  void setAds(std::vector<Ad> ads);
  /// The configuration that pages answer with: an object; empty until set.
  void setConfig(JsonValue config);
  /// Pages do not load, for this reason: the load ends with error 5002. An empty reason ends this.
  void setUnreachable(std::string reason);
  /// Pages answer this method with an error, such as "get.ads" or "control.start".
  void setError(const std::string& method, std::int64_t code, const std::string& message);
  /// Pages do not answer this method.
  void setSilent(const std::string& method);

  /// The viewer skips the ad.
  void viewerSkips();
  /// The viewer closes the ad, which ends the group.
  void viewerCloses();
  /// The viewer follows the ad's link, which opens the in-app browser and pauses the ad.
  void viewerClicks(std::string_view url);
  /// The page gives up with this text: error 5004.
  void fail(std::string_view text);
  /// The page hangs: no heartbeats, events and answers any more. Error 5005 follows five seconds later.
  void hang();
  /// The page asks for a beacon.
  void sendBeacon(std::string_view url);
  /// The page posts any other message, as `{"method": "event", "params": {"event": "AdLog"}}`.
  void post(const JsonValue& message);

  /// The commands that have reached pages, in order.
  const std::vector<Call>& calls() const;
  /// Whether an ad is running and not paused.
  bool isPlaying() const;

 private:
  class Page;
  struct Script;
  /// The page that loaded last.
  std::shared_ptr<Page> page() const;

  std::shared_ptr<Script> script_;
};

}  // namespace vemora
