#include "backends/testing/TestingPlatform.h"
#include "core/bridge/VMRRpcTask.h"
#include "core/bridge/VMRRuntime.h"
#include "support/Messages.h"
#include "support/Report.h"

#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraInlineAdPlayer.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

// Whether the cost of a message is independent of other load. No web views: the page's part is played by the
// testing backend, so that nothing but our own work is measured.

namespace {

using namespace vemora;
using namespace vemora::bench;
using vemora::testing::TestingPlatform;

/// A channel without a receiver.
class SilentRuntime final : public VMRRuntime {
 public:
  void postMessage(const std::shared_ptr<VMRRpc>&, ErrorHandler) override {}
};

class Listener final : public VMRRuntimeMessageHandler {
 public:
  bool onMessage(const std::shared_ptr<VMRRpc>& message) override {
    return message && message->isKindOf("event");
  }
};

std::shared_ptr<VMRRpcTask> newTask(const std::shared_ptr<VMRRuntime>& runtime) {
  auto task = VMRRpcTask::initWithRuntime(runtime, VMRRpc::initWithMethod("control.play", nullptr),
                                          VMRFuture::init());
  runtime->registerObserver(task);
  return task;
}

/// A call in a list without an index: it is offered every message.
class ScannedCall final : public VMRRuntimeMessageHandler {
 public:
  explicit ScannedCall(std::shared_ptr<VMRRpcTask> task) : task_(std::move(task)) {}
  bool onMessage(const std::shared_ptr<VMRRpc>& message) override { return task_->onMessage(message); }
  const std::shared_ptr<VMRRpcTask>& task() const { return task_; }

 private:
  const std::shared_ptr<VMRRpcTask> task_;
};

std::shared_ptr<ScannedCall> newScannedCall(const std::shared_ptr<VMRRuntime>& runtime) {
  auto call = std::make_shared<ScannedCall>(VMRRpcTask::initWithRuntime(
      runtime, VMRRpc::initWithMethod("control.play", nullptr), VMRFuture::init()));
  runtime->registerObserver(call);
  return call;
}

/// A channel with a player's two listeners and calls that await their replies.
struct BusyChannel {
  explicit BusyChannel(int outstanding) {
    for (const auto& listener : listeners) runtime->registerObserver(listener);
    for (int i = 0; i < outstanding; ++i) tasks.push_back(newTask(runtime));
  }

  std::shared_ptr<VMRRuntime> runtime = std::make_shared<SilentRuntime>();
  std::vector<std::shared_ptr<Listener>> listeners = {std::make_shared<Listener>(),
                                                      std::make_shared<Listener>()};
  std::vector<std::shared_ptr<VMRRpcTask>> tasks;
};

constexpr int kBatch = 2000;

double perMessage(const Usage& used) {
  return used.cpu / kBatch * 1e9;
}

double costOfReplies(BusyChannel& channel) {
  return perMessage(usageOf([&] {
    for (int i = 0; i < kBatch; ++i) {
      const auto task = newTask(channel.runtime);
      channel.runtime->onMessage(task->message()->replyWith(JsonValue::object({{"ok", true}})));
      if (!task->future()->isDone()) std::abort();
    }
  }));
}

double costOfScannedReplies(const std::shared_ptr<VMRRuntime>& runtime) {
  return perMessage(usageOf([&] {
    for (int i = 0; i < kBatch; ++i) {
      const auto call = newScannedCall(runtime);
      runtime->onMessage(call->task()->message()->replyWith(JsonValue::object({{"ok", true}})));
      if (!call->task()->future()->isDone()) std::abort();
      runtime->unregisterObserver(call.get());
    }
  }));
}

double costOfEvents(BusyChannel& channel) {
  const auto event = VMRRpc::messageWithString(eventMessage("film-1", 3.75));
  return perMessage(usageOf([&] {
    for (int i = 0; i < kBatch; ++i) channel.runtime->onMessage(event);
  }));
}

/// A walk over all would cost a hundred times more for a hundred times as many. Tables that no cache holds
/// cost some of that, and no more.
double mostFor(int count) {
  return count < 100'000 ? 1.5 : 5;
}

void measureOutstandingCalls(Report& report) {
  BusyChannel idle(0);
  for (const int outstanding : {100, 10'000, 100'000}) {
    BusyChannel busy(outstanding);
    const std::string beside = ", " + std::to_string(outstanding) + " calls outstanding";
    report.ratio(
        "call and reply" + beside, "ns", "none outstanding",
        takeTurns(
            report.rounds(21), [&] { return costOfReplies(idle); }, [&] { return costOfReplies(busy); }),
        mostFor(outstanding));
    report.ratio(
        "event" + beside, "ns", "none outstanding",
        takeTurns(
            report.rounds(21), [&] { return costOfEvents(idle); }, [&] { return costOfEvents(busy); }),
        1.1);
  }
}

/// What the index of awaited replies gains.
void measureIndex(Report& report) {
  for (const int outstanding : {0, 9, 999}) {
    BusyChannel indexed(outstanding), scanned(0);
    std::vector<std::shared_ptr<ScannedCall>> calls;
    for (int i = 0; i < outstanding; ++i) calls.push_back(newScannedCall(scanned.runtime));
    report.ratio("call and reply by the index, " + std::to_string(outstanding + 1) + " outstanding", "ns",
                 "a list that is scanned",
                 takeTurns(
                     report.rounds(21), [&] { return costOfScannedReplies(scanned.runtime); },
                     [&] { return costOfReplies(indexed); }),
                 {});
  }
}

/// Nanoseconds for each observer that is registered and released.
double costOfObservers(int count) {
  const auto runtime = std::make_shared<SilentRuntime>();
  std::vector<std::shared_ptr<VMRRpcTask>> tasks;
  for (int i = 0; i < count; ++i) {
    tasks.push_back(
        VMRRpcTask::initWithRuntime(runtime, VMRRpc::initWithMethod("control.play", nullptr), nullptr));
  }
  const Usage used = usageOf([&] {
    for (const auto& task : tasks) runtime->registerObserver(task);
    for (const auto& task : tasks) runtime->unregisterObserver(task.get());
  });
  return used.cpu / count * 1e9;
}

void measureObservers(Report& report) {
  for (const int count : {10'000, 100'000}) {
    report.ratio(
        "registering and releasing one of " + std::to_string(count), "ns", "one of 1000",
        takeTurns(
            report.rounds(9), [] { return costOfObservers(1000); }, [&] { return costOfObservers(count); }),
        mostFor(count));
  }
}

class CountingDelegate final : public VemoraAdPlayerDelegate {
 public:
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    return VemoraAdRequest::initWithApiKey("benchmark");
  }
  void vemoraDidLoadAds(const Player&, const AdGroup& ads, const std::optional<VMRError>&) override {
    if (ads && !ads->ads().empty()) ++loaded;
  }
  void vemoraAdTimeUpdate(const Player&, const Ad& ad, double) override {
    if (ad) ++updates;
  }

  int loaded = 0;
  int updates = 0;
};

/// Players on pages that answer every call with the same reply.
class LoadedPlayers {
 public:
  explicit LoadedPlayers(int count) {
    TestingPlatform& platform = TestingPlatform::current();
    const auto reply = JsonValue::parse(getAdsReply())->operator[]("result");
    for (int i = 0; i < count; ++i) {
      players_.push_back(VemoraInlineAdPlayer::initWithAdPlayerDelegate(delegate_));
      players_.back()->load();
      const auto page = platform.fakeApplication().lastWebView();
      page->onEvaluate = [weak = std::weak_ptr(page), reply](const std::string& script) {
        const std::size_t begin = script.find("({") + 1;
        const auto call = VMRRpc::messageWithString(script.substr(begin, script.rfind("})") + 1 - begin));
        const auto page = weak.lock();
        if (call && page) page->post("Vemora", call->replyWith(reply)->properties());
        return std::nullopt;
      };
      page->finishNavigation();
      pages_.push_back(page);
    }
    platform.fakeDispatch().settle();
    if (delegate_->loaded != count) std::abort();
  }
  ~LoadedPlayers() {
    for (const auto& player : players_) player->shutdown();
    TestingPlatform::current().fakeDispatch().settle();
  }

  /// Bursts of events from the pages in turn: each burst is delivered by one thread, which this backend
  /// starts for it.
  double costOfEvents() {
    constexpr std::size_t kBursts = 100;
    constexpr std::size_t kEvents = 100;
    const auto event = JsonValue::parse(eventMessage("film-1", 3.75)).value();
    const int all = delegate_->updates + static_cast<int>(kBursts * kEvents);
    const Usage used = usageOf([&] {
      for (std::size_t burst = 0; burst < kBursts; ++burst) {
        for (std::size_t i = 0; i < kEvents; ++i) pages_[burst % pages_.size()]->post("Vemora", event);
        TestingPlatform::current().fakeDispatch().settle();
      }
    });
    if (delegate_->updates != all) std::abort();
    return used.cpu / (kBursts * kEvents) * 1e6;
  }

 private:
  std::shared_ptr<CountingDelegate> delegate_ = std::make_shared<CountingDelegate>();
  std::vector<std::shared_ptr<VemoraInlineAdPlayer>> players_;
  std::vector<std::shared_ptr<vemora::testing::FakeWebView>> pages_;
};

void measurePlayers(Report& report) {
  TestingPlatform::current().reset();
  LoadedPlayers one(1), ten(10), hundred(100);
  const auto costOf = [](LoadedPlayers& players) { return [&players] { return players.costOfEvents(); }; };
  report.ratio("event from page to delegate, 10 players", "us", "one player",
               takeTurns(report.rounds(15), costOf(one), costOf(ten)), 1.1);
  report.ratio("event from page to delegate, 100 players", "us", "one player",
               takeTurns(report.rounds(15), costOf(one), costOf(hundred)), 1.1);
}

}  // namespace

int main(int argc, char** argv) {
  Report report("scale, CPU time", argc, argv);
  TestingPlatform::current();
  measureOutstandingCalls(report);
  measureIndex(report);
  measureObservers(report);
  measurePlayers(report);
  return report.finish();
}
