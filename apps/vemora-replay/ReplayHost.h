#pragma once

#include "backends/testing/ScheduledDispatch.h"
#include "backends/testing/TestingPlatform.h"
#include "recording/Recording.h"

#include <Vemora/VemoraAdPlayerBase.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vemora {

/// The host app, the pages and the system of a replay: it does what the records say and collects the
/// callbacks. Main thread, on the testing platform, which it resets when it begins and ends.
class ReplayHost {
 public:
  ReplayHost(const Recording& recording, testing::ScheduledDispatch& scheduler);
  ~ReplayHost();
  ReplayHost(const ReplayHost&) = delete;
  ReplayHost& operator=(const ReplayHost&) = delete;

  /// Does what the record says the host, the page or the system did.
  void apply(const Record& record);
  /// A host's call that was made inside a callback of the replay.
  [[nodiscard]] bool hasDone(const Record& record) const { return done_.contains(record.line); }
  /// The text and the time of each callback so far.
  [[nodiscard]] const std::vector<std::pair<std::string, double>>& callbacks() const { return callbacks_; }

 private:
  class Delegate;

  struct Player {
    std::shared_ptr<VemoraAdPlayerBase> player;
    std::shared_ptr<Delegate> delegate;
    std::shared_ptr<testing::FakeView> container;
  };
  /// One session's page, and how its calls of now and then correspond.
  struct Page {
    std::weak_ptr<testing::FakeWebView> view;
    std::map<std::string, std::vector<std::string>> recordedIds;  ///< By method.
    std::map<std::string, VMRError> failures;                     ///< By recorded id.
    std::vector<std::string> windows;  ///< What became of the windows that it asked for.
    std::map<std::string, std::size_t> callsSeen;
    std::map<std::string, std::string> ids;  ///< From recorded to replayed.
    std::size_t windowsSeen = 0;
    std::weak_ptr<testing::FakeViewController> stage;
  };
  /// What follows a callback on its stack.
  struct Consequence {
    std::vector<const Record*> calls;
    bool losesDelegate = false;
  };

  void study();
  void studyCallbacks();
  void applyCall(const Record& record);
  void load(const Record& record, Player& player);
  void start(const Record& record, VemoraAdPlayerBase& player);
  void applyPageEvent(const Record& record);
  void applyMessage(const Record& record);
  void applyStage(const Record& record);
  void applyVisibility(const Record& record);
  void closeBrowser();
  /// Runs what asks for a window as the recording did: with or without a window of the application.
  template <typename Ask>
  void askForWindow(Page& page, Ask ask);
  std::optional<VMRError> receive(Page& page, const std::string& script);
  void called(std::uint64_t player, const JsonValue& callback);
  void waitForRequest(std::uint64_t player);
  const Record* nextOf(const Record& record, std::string_view kind) const;
  std::shared_ptr<VemoraAdPlayerBase> makePlayer(const std::string& placement,
                                                 const std::shared_ptr<testing::FakeView>& container) const;

  testing::FakeApplication& application() const { return platform_.fakeApplication(); }

  const Recording& recording_;
  testing::ScheduledDispatch& scheduler_;
  testing::TestingPlatform& platform_;
  std::map<std::uint64_t, Player> players_;
  std::map<std::uint64_t, Page> pages_;
  std::map<std::uint64_t, std::size_t> beacons_;  ///< From recorded numbers to positions.
  std::set<std::size_t> endedBeacons_;
  std::map<std::uint64_t, const Record*> requests_;  ///< The latest of each player.
  std::vector<Consequence> consequences_;            ///< Of each callback.
  std::set<std::uint64_t> losesDelegateAtOnce_;
  std::vector<std::pair<std::string, double>> callbacks_;
  std::set<std::size_t> done_;
};

}  // namespace vemora
