#pragma once

#include "backends/testing/TestingClassRegistry.h"
#include "backends/testing/TestingDispatch.h"
#include "backends/testing/TestingServices.h"
#include "backends/testing/TestingViews.h"
#include "ports/Platform.h"

#include <memory>

namespace vemora::testing {

/// The platform of the tests: every port is a fake that the test scripts and inspects, and time stops
/// until the test advances it.
///
///     TestingPlatform& platform = TestingPlatform::current();
///     platform.reset();                          // fresh fakes, time 0, no threads
///     const auto runtime = VMRWebViewRuntime::init();
///     platform.fakeApplication().lastWebView()->finishNavigation();
///     platform.fakeDispatch().settle();
class TestingPlatform final : public Platform {
 public:
  TestingPlatform();
  /// The process's platform. The first call decides which thread is the main thread.
  static TestingPlatform& current();
  /// Ends all threads and drops all queued work, then replaces every fake. Main thread.
  void reset();

  /// Replaces the dispatch port, also for `reset`; null restores `fakeDispatch`. Between two tests only.
  void useDispatch(FakeDispatch* other) { inUse_ = other ? other : &dispatch_; }

  Dispatch& dispatch() override { return *inUse_; }
  System& system() override { return fakes_->system; }
  Application& application() override { return *application_; }
  UserDefaults& userDefaults() override { return fakes_->userDefaults; }
  Bundle& bundle() override { return fakes_->bundle; }
  Device& device() override { return fakes_->device; }
  LocationServices& locationServices() override { return fakes_->location; }
  NetworkReachabilityFactory& networkReachability() override { return fakes_->reachability; }
  AudioSession& audioSession() override { return fakes_->audio; }
  ClassRegistry& classRegistry() override { return fakes_->classes; }

  TestingDispatch& fakeDispatch() { return dispatch_; }
  FakeSystem& fakeSystem() { return fakes_->system; }
  FakeApplication& fakeApplication();
  FakeUserDefaults& fakeUserDefaults() { return fakes_->userDefaults; }
  FakeBundle& fakeBundle() { return fakes_->bundle; }
  FakeDevice& fakeDevice() { return fakes_->device; }
  FakeLocationServices& fakeLocation() { return fakes_->location; }
  FakeNetworkReachability& fakeReachability() { return fakes_->reachability; }
  FakeAudioSession& fakeAudio() { return fakes_->audio; }
  FakeClassRegistry& fakeClasses() { return fakes_->classes; }

 private:
  struct Fakes {
    FakeSystem system;
    FakeUserDefaults userDefaults;
    FakeBundle bundle;
    FakeDevice device;
    FakeLocationServices location;
    FakeNetworkReachability reachability;
    FakeAudioSession audio;
    FakeClassRegistry classes;
  };

  TestingDispatch dispatch_;
  FakeDispatch* inUse_ = &dispatch_;
  std::unique_ptr<Fakes> fakes_ = std::make_unique<Fakes>();
  /// Made by `reset`: its views ask the platform for the main thread.
  std::unique_ptr<FakeApplication> application_;
};

}  // namespace vemora::testing
