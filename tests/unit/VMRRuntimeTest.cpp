#include "CoreTest.h"
#include "core/bridge/VMRRpcTask.h"
#include "core/bridge/VMRRuntime.h"

#include <Vemora/InternalInconsistencyException.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace vemora {
namespace {

/// A channel without a receiver: records what is posted, and fails on request.
class RecordingRuntime : public VMRRuntime {
 public:
  static std::shared_ptr<RecordingRuntime> make(bool isLoaded) {
    auto runtime = std::make_shared<RecordingRuntime>();
    runtime->setLoaded(VMRFuture::init());
    if (isLoaded) runtime->loaded()->resolve(true);
    return runtime;
  }

  void postMessage(const std::shared_ptr<VMRRpc>& message, ErrorHandler errorHandler) override {
    std::lock_guard lock(mutex_);
    posted_.push_back(message);
    handlers_.push_back(std::move(errorHandler));
  }

  std::vector<std::shared_ptr<VMRRpc>> posted() {
    std::lock_guard lock(mutex_);
    return posted_;
  }
  void failPosting(std::size_t index, const VMRError& error) {
    ErrorHandler handler;
    {
      std::lock_guard lock(mutex_);
      handler = handlers_.at(index);
    }
    handler(error);
  }
  void letGoOfHandlers() {
    std::lock_guard lock(mutex_);
    handlers_.clear();
  }

 private:
  std::mutex mutex_;
  std::vector<std::shared_ptr<VMRRpc>> posted_;
  std::vector<ErrorHandler> handlers_;
};

class Listener final : public VMRRuntimeMessageHandler {
 public:
  using Hook = std::function<bool(const std::shared_ptr<VMRRpc>&)>;
  explicit Listener(Hook hook = [](const auto&) { return false; }) : hook_(std::move(hook)) {}
  bool onMessage(const std::shared_ptr<VMRRpc>& message) override { return hook_(message); }

 private:
  const Hook hook_;
};

std::shared_ptr<VMRRpc> call(const char* method = "get.ads") {
  return VMRRpc::initWithMethod(method, nullptr);
}

std::shared_ptr<VMRRpc> replyTo(const VMRRpc& request) {
  return request.replyWith(JsonValue::object({{"answers", request.ID()}}));
}

std::shared_ptr<VMRRpc> replyIn(const VMRFuture& future) {
  const std::any value = future.value();
  const auto* reply = std::any_cast<std::shared_ptr<VMRRpc>>(&value);
  return reply ? *reply : nullptr;
}

class VMRRuntimeTest : public CoreTest {
 protected:
  // The handlers hold the tasks, and those the runtime that keeps the handlers.
  ~VMRRuntimeTest() override { runtime_->letGoOfHandlers(); }

  std::shared_ptr<VMRFuture> exec(const std::shared_ptr<VMRRpc>& message) {
    auto future = runtime_->exec(message);
    settle();
    return future;
  }
  static void expectBridgeFailure(const VMRFuture& future, const std::string& reason) {
    ASSERT_TRUE(future.error());
    EXPECT_EQ(future.error()->domain, VMRErrorDomain);
    EXPECT_EQ(future.error()->code, 5002);
    EXPECT_EQ(future.error()->description, "RPC bridge failure");
    EXPECT_EQ(future.error()->failureReason, reason);
  }

  std::shared_ptr<RecordingRuntime> runtime_ = RecordingRuntime::make(true);
};

// Observers.

TEST_F(VMRRuntimeTest, OffersMessagesInTheOrderOfRegistrationUntilOneIsConsumed) {
  std::string seen;
  const auto named = [&seen](char name, bool consumes) {
    return std::make_shared<Listener>([&seen, name, consumes](const auto&) {
      seen += name;
      return consumes;
    });
  };
  const auto a = named('a', false), b = named('b', false), c = named('c', true), d = named('d', false);
  for (const auto& listener : {b, a, c, d, b}) runtime_->registerObserver(listener);
  EXPECT_EQ(runtime_->observers().size(), 4u) << "a second registration changes nothing";
  runtime_->onMessage(call());
  EXPECT_EQ(seen, "bac");
  runtime_->unregisterObserver(b.get());
  runtime_->unregisterObserver(b.get());
  runtime_->unregisterObserver(nullptr);
  runtime_->registerObserver(b);
  seen.clear();
  runtime_->unregisterObserver(c.get());
  runtime_->onMessage(call("mystery"));
  EXPECT_EQ(seen, "adb");
  EXPECT_TRUE(logged("Unhandled RPC message: mystery"));
}

TEST_F(VMRRuntimeTest, DispatchesAbsentMessagesAndLogsThemAsUnhandled) {
  int absent = 0;
  const auto listener = std::make_shared<Listener>([&](const auto& message) {
    absent += message == nullptr;
    return false;
  });
  runtime_->registerObserver(listener);
  const auto outstanding = exec(call());
  runtime_->onMessage(nullptr);
  EXPECT_EQ(absent, 1);
  EXPECT_TRUE(logged("Unhandled RPC message: "));
  EXPECT_FALSE(outstanding->isDone());
}

TEST_F(VMRRuntimeTest, WorksOnASnapshotWhileObserversComeAndGo) {
  std::string seen;
  std::shared_ptr<Listener> late = std::make_shared<Listener>([&](const auto&) {
    seen += 'l';
    return false;
  });
  std::shared_ptr<Listener> doomed = std::make_shared<Listener>([&](const auto&) {
    seen += 'd';
    return false;
  });
  const auto first = std::make_shared<Listener>([&](const auto&) {
    seen += 'f';
    doomed = nullptr;
    runtime_->registerObserver(late);
    return false;
  });
  runtime_->registerObserver(first);
  runtime_->registerObserver(doomed);
  runtime_->onMessage(call());
  EXPECT_EQ(seen, "f") << "a released one is skipped, a new one sees the next message";
  runtime_->onMessage(call());
  EXPECT_EQ(seen, "ffl");
}

TEST_F(VMRRuntimeTest, ForgetsObserversThatLeaveWhileTheyAreDestroyed) {
  struct Leaving final : VMRRuntimeMessageHandler {
    explicit Leaving(VMRRuntime& channel) : runtime(channel) {}
    ~Leaving() override { runtime.unregisterObserver(this); }
    VMRRuntime& runtime;
  };
  auto leaving = std::make_shared<Leaving>(*runtime_);
  runtime_->registerObserver(leaving);
  leaving = nullptr;
  EXPECT_TRUE(runtime_->observers().empty());
}

TEST_F(VMRRuntimeTest, TakesAnAddressThatIsInUseAgainForANewObserver) {
  // Never unregistered, so that the entry of the first outlives it.
  alignas(Listener) static unsigned char place[sizeof(Listener)];
  const auto at = [&] {
    return std::shared_ptr<Listener>(new (place) Listener([](const auto&) { return true; }),
                                     [](Listener* listener) { listener->~Listener(); });
  };
  auto first = at();
  runtime_->registerObserver(first);
  first = nullptr;
  const auto second = at();
  runtime_->registerObserver(second);
  runtime_->onMessage(call("taken"));
  EXPECT_FALSE(logged("Unhandled RPC message: taken"));
}

TEST_F(VMRRuntimeTest, TheBaseClassCannotPost) {
  const auto base = std::make_shared<VMRRuntime>();
  EXPECT_TRUE(base->isVisible());
  base->close();
  try {
    base->postMessage(call(), nullptr);
    FAIL();
  } catch (const InternalInconsistencyException& e) {
    EXPECT_STREQ(e.what(), "Method called on the base class VMRRuntime that should be overridden");
  }
}

// Calls.

TEST_F(VMRRuntimeTest, GivesEachCallItsOwnReply) {
  const auto a = call(), b = call();
  const auto futureA = exec(a), futureB = exec(b);
  runtime_->onMessage(replyTo(*b));
  EXPECT_FALSE(futureA->isDone());
  EXPECT_EQ(replyIn(*futureB)->ID(), b->ID());
  runtime_->onMessage(VMRRpc::initWithID("no such id", "late", nullptr, json("{}"), nullptr));
  EXPECT_TRUE(logged("Unhandled RPC message: late"));
  // The reply's method does not matter, nor does what it carries.
  runtime_->onMessage(VMRRpc::initWithID(a->ID(), nullptr, json(R"({"only":"params"})"), nullptr, nullptr));
  ASSERT_TRUE(replyIn(*futureA));
  EXPECT_EQ(replyIn(*futureA)->params(), json(R"({"only":"params"})"));
}

TEST_F(VMRRuntimeTest, OffersRepliesToCallsAndListenersInOneOrder) {
  const auto greedy = [] { return std::make_shared<Listener>([](const auto&) { return true; }); };
  const auto early = call(), late = call();
  const auto earlyFuture = exec(early);
  const auto between = greedy();
  runtime_->registerObserver(between);
  const auto lateFuture = exec(late);
  runtime_->onMessage(replyTo(*early));
  runtime_->onMessage(replyTo(*late));
  EXPECT_TRUE(earlyFuture->isDone());
  EXPECT_FALSE(lateFuture->isDone()) << "a listener that was there before the call has taken its reply";
  EXPECT_EQ(runtime_->observers().size(), 3u);
  EXPECT_EQ(runtime_->observers()[1].lock(), between);
}

TEST_F(VMRRuntimeTest, RequestsWithTheIdOfACallAreNoReplies) {
  const auto request = call();
  const auto future = exec(request);
  runtime_->onMessage(VMRRpc::initWithID(request->ID(), "window", json(R"({"a":1})"), nullptr, nullptr));
  EXPECT_FALSE(future->isDone());
}

TEST_F(VMRRuntimeTest, RepliesCompleteTheFirstOfCallsWithTheSameId) {
  const auto request = call();
  const auto first = exec(request), second = exec(request);
  runtime_->onMessage(replyTo(*request));
  EXPECT_TRUE(first->isDone());
  EXPECT_FALSE(second->isDone());
  runtime_->onMessage(replyTo(*request));
  EXPECT_FALSE(second->isDone()) << "until its time is up, the first call consumes further replies";
}

TEST_F(VMRRuntimeTest, ErrorRepliesResolve) {
  const auto request = call();
  const auto future = exec(request);
  runtime_->onMessage(request->replyWithError(json(R"({"code":7})")));
  EXPECT_FALSE(future->error());
  EXPECT_TRUE(replyIn(*future)->hasError());
}

TEST_F(VMRRuntimeTest, ACallHasFiveSecondsFromWhenThePageIsReady) {
  runtime_ = RecordingRuntime::make(false);
  const auto request = call();
  const auto future = exec(request);
  advance(14.5);
  EXPECT_TRUE(runtime_->posted().empty());
  runtime_->loaded()->fail(VMRError{"Elsewhere", 1, "no page", {}, {}, nullptr});
  settle();
  EXPECT_EQ(runtime_->posted().size(), 1u) << "a page that failed to load is done, too";
  advance(4.9);
  EXPECT_FALSE(future->isDone());
  advance(0.2);
  expectBridgeFailure(*future, "Timeout was reached");
  const std::size_t unhandled = countLogged("Unhandled RPC message: get.ads");
  runtime_->onMessage(replyTo(*request));
  EXPECT_TRUE(future->error());
  EXPECT_EQ(countLogged("Unhandled RPC message: get.ads"), unhandled) << "a late reply is still consumed";
  runtime_->letGoOfHandlers();
  runtime_->onMessage(replyTo(*request));
  EXPECT_EQ(countLogged("Unhandled RPC message: get.ads"), unhandled + 1) << "the call has ended";
}

TEST_F(VMRRuntimeTest, CallsOfOneThreadLeaveInItsOrderOncePageIsReady) {
  const auto runtime = RecordingRuntime::make(true);
  std::vector<std::shared_ptr<VMRRpc>> calls;
  for (int i = 0; i < 50; ++i) calls.push_back(call("control.play"));
  std::thread caller([&] {
    for (const auto& message : calls) runtime->exec(message);
  });
  caller.join();
  EXPECT_EQ(runtime->posted(), calls);
  runtime->letGoOfHandlers();
}

TEST_F(VMRRuntimeTest, APageThatNeverLoadsFailsTheCallAfterFifteenSeconds) {
  platform().fakeBundle().strings = {{"Check your Adsmith settings", "Ver definições"}};
  runtime_ = RecordingRuntime::make(false);
  const auto future = exec(call());
  advance(14.9);
  EXPECT_FALSE(future->isDone());
  advance(0.2);
  ASSERT_TRUE(future->error());
  EXPECT_EQ(*future->error(), (VMRError{VMRErrorDomain, 5002, "Unable to Load Controller",
                                        "Unable to Load Controller", "Ver definições", nullptr}));
  EXPECT_TRUE(loggedError("Controller NOT READY"));
  runtime_->loaded()->resolve(true);
  settle();
  EXPECT_TRUE(runtime_->posted().empty());
}

TEST_F(VMRRuntimeTest, WrapsErrorsOfOtherDomainsAlone) {
  const auto foreign = exec(call()), own = exec(call());
  const VMRError evaluation{"WebKit", 4, "A JavaScript exception occurred", {}, {}, nullptr};
  const VMRError ours{VMRErrorDomain, 5004, "Ad playback failed", "why", {}, nullptr};
  runtime_->failPosting(0, evaluation);
  runtime_->failPosting(1, ours);
  expectBridgeFailure(*foreign, "A JavaScript exception occurred");
  ASSERT_TRUE(foreign->error()->underlyingError);
  EXPECT_EQ(*foreign->error()->underlyingError, evaluation);
  EXPECT_EQ(own->error(), ours);
  advance(6);
  EXPECT_EQ(own->error(), ours);
}

TEST_F(VMRRuntimeTest, FailsACallWithoutAMessage) {
  const auto future = exec(nullptr);
  expectBridgeFailure(*future, "Missing response");
  EXPECT_TRUE(runtime_->posted().empty());
}

TEST_F(VMRRuntimeTest, ATaskWithoutReplyOrErrorFails) {
  const auto future = VMRFuture::init();
  const auto task = VMRRpcTask::initWithRuntime(runtime_, call(), future);
  task->complete(nullptr, std::nullopt);
  expectBridgeFailure(*future, "Missing response");
  VMRRpcTask::initWithRuntime(runtime_, call(), nullptr)->complete(nullptr, std::nullopt);
}

TEST_F(VMRRuntimeTest, ATaskEndsWithItsTimeoutAndLeavesTheRuntime) {
  std::weak_ptr<VMRRpcTask> weak;
  {
    const auto task = VMRRpcTask::initWithRuntime(runtime_, call(), VMRFuture::init());
    weak = task;
    task->send(2);
    runtime_->letGoOfHandlers();
    task->complete(replyTo(*task->message()), std::nullopt);
  }
  advance(1.9);
  EXPECT_FALSE(weak.expired()) << "a cancelled time-out releases its block when it would have been due";
  EXPECT_EQ(runtime_->observers().size(), 1u);
  advance(0.2);
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(runtime_->observers().empty());
}

TEST_F(VMRRuntimeTest, CarriesTenThousandCallsAtOnce) {
  constexpr std::size_t kCalls = 10'000;
  std::vector<std::shared_ptr<VMRRpc>> requests;
  std::vector<std::shared_ptr<VMRFuture>> futures;
  for (std::size_t i = 0; i < kCalls; ++i) {
    requests.push_back(call());
    futures.push_back(runtime_->exec(requests.back()));
    if (i % 100 == 0) settle();
  }
  settle();
  // Replies from several threads, last first.
  std::vector<std::thread> pages;
  for (std::size_t part = 0; part < 4; ++part) {
    pages.emplace_back([&, part] {
      for (std::size_t i = kCalls; i-- > 1;) {
        if (i % 4 == part) runtime_->onMessage(replyTo(*requests[i]));
      }
    });
  }
  for (auto& page : pages) page.join();
  EXPECT_FALSE(futures[0]->isDone());
  for (std::size_t i = 1; i < kCalls; ++i) {
    ASSERT_TRUE(replyIn(*futures[i]));
    ASSERT_EQ(replyIn(*futures[i])->ID(), requests[i]->ID());
  }
  runtime_->letGoOfHandlers();
  advance(6);
  expectBridgeFailure(*futures[0], "Timeout was reached");
  EXPECT_TRUE(runtime_->observers().empty());
}

TEST_F(VMRRuntimeTest, RepliesErrorsAndTimeoutsThatRaceCompleteOnce) {
  for (int round = 0; round < 100; ++round) {
    const auto future = VMRFuture::init();
    const auto task = VMRRpcTask::initWithRuntime(runtime_, call(), future);
    task->send(5);
    std::thread replying([&] { task->onMessage(replyTo(*task->message())); });
    std::thread timingOut([&] { task->timeout(); });
    replying.join();
    timingOut.join();
    EXPECT_NE(future->value().has_value(), future->error().has_value());
  }
  runtime_->letGoOfHandlers();
  advance(6);
  EXPECT_TRUE(runtime_->observers().empty());
}

}  // namespace
}  // namespace vemora
