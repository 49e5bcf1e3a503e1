// The half of the backend that needs Foundation alone.

#include "backends/apple/Foundation/Conversions.h"
#include "base/Mutex.h"
#include "cases/Case.h"

#include <netinet/in.h>

#include <atomic>
#include <cmath>
#include <thread>

// A library that the SDK was not built with.
@interface MeasurementTracker : NSObject
@end
@implementation MeasurementTracker {
  int _type;
  double _playhead;
}
+ (id)trackerWithPartnerCode:(NSString*)code {
  return [code isEqual:@"code"] ? [[self alloc] init] : nil;
}
- (id)initWithType:(NSInteger)type withPlayheadMillis:(double)playhead {
  if ((self = [super init])) {
    _type = (int)type;
    _playhead = playhead;
  }
  return self;
}
- (NSString*)describe {
  return [NSString stringWithFormat:@"%d at %g", _type, _playhead];
}
- (BOOL)trackAd:(NSDictionary*)ids withDuration:(float)duration flag:(BOOL)flag count:(short)count {
  return [ids[@"adid"] isEqual:@"ad-1"] && duration == 2.5F && flag && count == 3;
}
- (id)echo:(id)object {
  return object;
}
- (int)intValue {
  return -4;
}
- (double)doubleValue {
  return 1.5;
}
- (float)floatValue {
  return 2.5F;
}
- (short)shortValue {
  return 6;
}
- (long long)longValue {
  return 1LL << 40;
}
- (bool)boolValue {
  return true;
}
- (void)takeRect:(NSRect)rect {
}
@end

namespace vemora::apple {
namespace {

class FoundationCase : public Case {};

JsonValue parsed(const char* text) {
  return *JsonValue::parse(text);
}

TEST_F(FoundationCase, ConvertsValuesBothWays) {
  const JsonValue value = parsed(
      R"({"yes":true,"no":false,"one":1,"minus":-9007199254740993,"big":18446744073709551615,
          "half":0.5,"text":"Fähre 船","none":null,"list":[1,"a",[],{}],"nul":"a\u0000b"})");
  id object = toObject(value);
  EXPECT_EQ(toJson(object), value);
  EXPECT_EQ(toJsonStrictly(object), value);
  EXPECT_EQ(toJson(object)["yes"].type(), JsonValue::Type::Boolean);
  EXPECT_EQ(toJson(object)["one"].type(), JsonValue::Type::Integer);
  EXPECT_EQ(toJson(object)["big"].type(), JsonValue::Type::Unsigned);
  EXPECT_TRUE(toJson(@"ad-1").isIdenticalTo(toJson([@"ad" stringByAppendingString:@"-1"])));
  EXPECT_EQ(toObject(nullptr), nil);
  EXPECT_EQ(toNSString(std::string("\xff")), nil);
  EXPECT_EQ(toString(nil), "");
}

TEST_F(FoundationCase, BoundsWhatJsonCannotCarry) {
  NSMutableArray* deep = [NSMutableArray array];
  NSMutableArray* inner = deep;
  for (int i = 0; i < 100000; ++i) {
    NSMutableArray* next = [NSMutableArray array];
    [inner addObject:next];
    inner = next;
  }
  EXPECT_FALSE(toJsonStrictly(deep));
  EXPECT_TRUE(toJson(deep).isArray());
  EXPECT_FALSE(toJsonStrictly(@{@1 : @"a"}));
  EXPECT_FALSE(toJsonStrictly(@[ [NSDate date] ]));
  EXPECT_FALSE(toJsonStrictly([NSNumber numberWithDouble:NAN]));
  EXPECT_TRUE(toJson([NSDate date]).isString());
  while ([deep count]) {  // A release from the outside would recurse.
    NSMutableArray* next = deep[0];
    [deep removeAllObjects];
    deep = next;
  }
}

TEST_F(FoundationCase, ConvertsErrorsBothWays) {
  VMRError error{"VMRErrorDomain", 5002, "What", "Why", "How", nullptr};
  error.underlyingError = std::make_shared<VMRError>(VMRError{"Other", -3, "Inner", {}, {}, nullptr});
  EXPECT_EQ(toError(toNSError(error)), error);
  EXPECT_FALSE(toError(nil));
}

TEST_F(FoundationCase, DispatchesInOrderAndReleasesWork) {
  Dispatch& queues = dispatch();
  std::vector<int> order;
  auto token = std::make_shared<int>();
  queues.mainAfter(2, [&, token] { order.push_back(3); });
  queues.mainAfter(-1, [&] { order.push_back(1); });
  queues.mainAsync([&] { order.push_back(2); });
  auto cancelled = std::make_shared<DispatchBlock>([&] { order.push_back(99); });
  queues.globalAfter(1, cancelled);
  cancelled->cancel();
  std::atomic<bool> wasMain{true};
  queues.globalAfter(1, std::make_shared<DispatchBlock>([&] { wasMain = queues.isMainThread(); }));
  const double before = queues.now();
  fake::advance(3);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
  EXPECT_FALSE(wasMain);
  EXPECT_GE(queues.now() - before, 3);
  EXPECT_EQ(token.use_count(), 1);

  std::atomic<int> ran{0};
  queues.globalAsync([&] { ++ran; });
  queues.detachNewThread([&] { ran += !queues.isMainThread(); });
  fake::settle();
  EXPECT_EQ(ran, 2);
}

TEST_F(FoundationCase, WaitsUntilNotifiedOrDue) {
  Mutex mutex;
  std::condition_variable condition;
  MutexLock lock(mutex);
  EXPECT_FALSE(dispatch().waitUntil(mutex, condition, dispatch().now() - 1));
  EXPECT_FALSE(dispatch().waitUntil(mutex, condition, dispatch().now() + 0.01));
  std::thread notifier([&] {
    MutexLock inner(mutex);
    condition.notify_all();
  });
  EXPECT_TRUE(dispatch().waitUntil(mutex, condition, dispatch().now() + 100));
  notifier.join();
}

TEST_F(FoundationCase, LogsPubliclyByLevel) {
  System& system = Platform::shared().system();
  fake::takeLog();
  system.log(LogLevel::Default, "100 %s");
  system.log(LogLevel::Error, "bad");
  const auto lines = fake::takeLog();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].text, "100 %s");
  EXPECT_FALSE(lines[0].isError);
  EXPECT_TRUE(lines[1].isError);
}

TEST_F(FoundationCase, ProvidesRandomNumbersDigestsAndAddresses) {
  System& system = Platform::shared().system();
  EXPECT_NE(system.newUUIDString(), system.newUUIDString());
  EXPECT_EQ(system.newUUIDString().size(), 36u);
  EXPECT_TRUE(system.randomUInt32() != system.randomUInt32() ||
              system.randomUInt32() != system.randomUInt32());
  EXPECT_EQ(system.sha1("abc")[0], 0xa9);
  const auto url = system.urlWithString("HTTPS://Example.com/a?b=1");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme, "https");
  EXPECT_EQ(system.urlWithString("https://example.com/a?b=1")->absoluteString, "https://example.com/a?b=1");
  EXPECT_EQ(system.urlWithString("mailto:a@b")->host, "");
  EXPECT_FALSE(system.urlWithString(""));
  EXPECT_FALSE(system.urlWithString("/relative"));
  EXPECT_FALSE(system.urlWithString("\xff"));
}

TEST_F(FoundationCase, SendsRequestsInSessionsThatEnd) {
  URLRequest request;
  request.url = "http://localhost/beacon?x=1";
  request.cachePolicy = URLRequestCachePolicy::ReloadIgnoringLocalCacheData;
  request.addValue("Agent/1", "User-Agent");
  std::vector<std::optional<VMRError>> answers;
  std::atomic<bool> onMain{false};
  const auto send = [&](const URLRequest& sent) {
    Platform::shared().system().createEphemeralURLSession()->downloadTaskWithRequest(
        sent, [&](const std::optional<VMRError>& error) {
          onMain = dispatch().isMainThread();
          answers.push_back(error);
        });
    fake::settle();
  };
  send(request);
  fake::setNetworkError(-1009);
  send(request);
  request.url = "";
  send(request);
  ASSERT_EQ(answers.size(), 3u);
  EXPECT_FALSE(onMain);
  EXPECT_FALSE(answers[0]);
  EXPECT_EQ(answers[1]->code, -1009);
  EXPECT_EQ(answers[2]->code, -1000);
  const auto sent = fake::takeRequests();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].url, "http://localhost/beacon?x=1");
  EXPECT_EQ(sent[0].method, "GET");
  EXPECT_TRUE(sent[0].ignoresCache);
  EXPECT_EQ(sent[0].headers.at("User-Agent"), "Agent/1");
}

TEST_F(FoundationCase, StoresDefaults) {
  UserDefaults& defaults = Platform::shared().userDefaults();
  const char* key = "vemora.test.value";
  defaults.removeObjectForKey(key);
  EXPECT_TRUE(defaults.objectForKey(key).isNull());
  EXPECT_EQ(defaults.setObjectIfAbsent("first", key), JsonValue("first"));
  EXPECT_EQ(defaults.setObjectIfAbsent("second", key), JsonValue("first"));
  EXPECT_EQ(defaults.stringForKey(key), "first");
  defaults.setObject(parsed(R"({"a":[1,null,{"b":null}],"c":true})"), key);
  EXPECT_EQ(defaults.objectForKey(key), parsed(R"({"a":[1,{}],"c":true})")) << "property lists have no null";
  defaults.setObject(nullptr, key);
  EXPECT_TRUE(defaults.objectForKey(key).isObject());
  EXPECT_TRUE(defaults.synchronize());
  defaults.removeObjectForKey(key);
  EXPECT_FALSE(defaults.stringForKey(key));
}

TEST_F(FoundationCase, DescribesBundleAndLocale) {
  Bundle& bundle = Platform::shared().bundle();
  EXPECT_EQ(bundle.mainInfo("CFBundleIdentifier"), "com.example.host");
  EXPECT_FALSE(bundle.mainInfo("Number"));
  EXPECT_FALSE(bundle.mainInfo("Missing"));
  EXPECT_EQ(bundle.libraryInfo("CFBundleShortVersionString"), VEMORA_VERSION);
  EXPECT_FALSE(bundle.libraryInfo("CFBundleName"));
  EXPECT_EQ(bundle.preferredLocalizations(), (std::vector<std::string>{"pt-PT", "en"}));
  EXPECT_EQ(bundle.localizedString("Some text"), "Some text");
  EXPECT_EQ(bundle.countryCode(), "PT");
  EXPECT_EQ(bundle.displayNameForCountryCode("PT"), "Portugal");
  EXPECT_FALSE(bundle.displayNameForCountryCode("??"));
}

struct LocationRecorder : LocationManagerDelegate {
  void locationManagerDidUpdateLocations(const std::vector<Location>& locations) override {
    latitudes.push_back(locations.back().latitude);
  }
  std::vector<double> latitudes;
};

TEST_F(FoundationCase, FollowsThePermissionForLocations) {
  LocationServices& services = Platform::shared().locationServices();
  fake::setLocation({true, 4});
  fake::settle();
  EXPECT_TRUE(services.locationServicesEnabled());
  EXPECT_EQ(services.authorizationStatus(), LocationAuthorizationStatus::AuthorizedWhenInUse);
  fake::setLocation({false, 2});
  fake::settle();
  EXPECT_FALSE(services.locationServicesEnabled());
  EXPECT_EQ(services.authorizationStatus(), LocationAuthorizationStatus::Denied);
}

TEST_F(FoundationCase, DeliversLocationsUntilTheManagerGoes) {
  LocationServices& services = Platform::shared().locationServices();
  const auto recorder = std::make_shared<LocationRecorder>();
  auto manager = services.createLocationManager();
  manager->setDelegate(recorder);
  fake::moveTo(1, 2);
  manager->startUpdatingLocation();
  fake::moveTo(3, 4);
  fake::failLocation();
  EXPECT_EQ(recorder->latitudes, std::vector<double>{3});
  manager = nullptr;
  fake::moveTo(5, 6);
  EXPECT_EQ(recorder->latitudes, std::vector<double>{3});
  dispatch().detachNewThread([&] {
    manager = services.createLocationManager();
    manager->setDelegate(recorder);
    manager->startUpdatingLocation();
  });
  fake::settle();
  fake::moveTo(7, 8);
  EXPECT_EQ(recorder->latitudes, (std::vector<double>{3, 7}));
  dispatch().detachNewThread([&] { manager = nullptr; });
  fake::settle();
  fake::moveTo(9, 10);
  EXPECT_EQ(recorder->latitudes, (std::vector<double>{3, 7}));
}

TEST_F(FoundationCase, NotifiesOfReachabilityWhileScheduled) {
  NetworkReachabilityFactory& factory = Platform::shared().networkReachability();
  EXPECT_FALSE(factory.createWithName(""));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  EXPECT_TRUE(factory.createWithAddress(reinterpret_cast<const sockaddr&>(address)));
  auto handle = factory.createWithName("example.com");
  fake::setReachability(2);
  EXPECT_EQ(handle->flags(), 2u);
  fake::setReachability({});
  EXPECT_FALSE(handle->flags());
  int changes = 0;
  EXPECT_TRUE(handle->setCallback([&] { ++changes; }));
  fake::changeReachability(2);
  EXPECT_EQ(changes, 0);
  EXPECT_TRUE(handle->scheduleWithRunLoop());
  EXPECT_TRUE(handle->scheduleWithRunLoop());
  fake::changeReachability(0);
  EXPECT_EQ(changes, 1);
  handle->unscheduleFromRunLoop();
  fake::changeReachability(2);
  EXPECT_EQ(changes, 1);
  // A callback may destroy the handle that calls it.
  EXPECT_TRUE(handle->setCallback([&] { handle = nullptr; }));
  EXPECT_TRUE(handle->scheduleWithRunLoop());
  fake::changeReachability(0);
  EXPECT_EQ(handle, nullptr);
}

TEST_F(FoundationCase, SendsMessagesToClassesByName) {
  ClassRegistry& registry = Platform::shared().classRegistry();
  EXPECT_FALSE(registry.classNamed("NoSuchClass"));
  const auto trackers = registry.classNamed("MeasurementTracker");
  ASSERT_TRUE(trackers);
  EXPECT_EQ(trackers->className(), "MeasurementTracker");
  const auto objectOf = [](const ExternalValue& value) {
    const auto* object = std::get_if<std::shared_ptr<ExternalObject>>(&value);
    return object ? *object : nullptr;
  };
  const auto tracker = objectOf(trackers->send("trackerWithPartnerCode:", {std::string("code")}));
  ASSERT_TRUE(tracker);
  EXPECT_EQ(tracker->className(), "MeasurementTracker");
  EXPECT_FALSE(objectOf(trackers->send("trackerWithPartnerCode:", {std::string("other")})));
  const ExternalValue tracked = tracker->send("trackAd:withDuration:flag:count:",
                                              {parsed(R"({"adid":"ad-1"})"), 2.5, true, std::int64_t{3}});
  EXPECT_EQ(tracked, ExternalValue(true));
  EXPECT_EQ(tracker->send("intValue", {}), ExternalValue(std::int64_t{-4}));
  EXPECT_EQ(tracker->send("shortValue", {}), ExternalValue(std::int64_t{6}));
  EXPECT_EQ(tracker->send("longValue", {}), ExternalValue(std::int64_t{1} << 40));
  EXPECT_EQ(tracker->send("doubleValue", {}), ExternalValue(1.5));
  EXPECT_EQ(tracker->send("floatValue", {}), ExternalValue(2.5));
  EXPECT_EQ(tracker->send("boolValue", {}), ExternalValue(true));
  EXPECT_EQ(tracker->send("echo:", {true}), ExternalValue(JsonValue(true)));
  EXPECT_EQ(tracker->send("echo:", {std::monostate()}), ExternalValue());
  EXPECT_EQ(objectOf(tracker->send("echo:", {tracker}))->className(), "MeasurementTracker");
  // What the receiver does not support, has other arguments or a type that no value has: no value.
  EXPECT_EQ(tracker->send("missing", {}), ExternalValue());
  EXPECT_EQ(tracker->send("echo:", {}), ExternalValue());
  EXPECT_EQ(tracker->send("takeRect:", {1.0}), ExternalValue());

  const auto event = trackers->create("initWithType:withPlayheadMillis:", {std::int64_t{8}, 1500.0});
  ASSERT_TRUE(event);
  EXPECT_EQ(event->send("describe", {}), ExternalValue(std::string("8 at 1500")));
  EXPECT_FALSE(trackers->create("initWithNothing:", {1.0}));
  EXPECT_FALSE(trackers->create("init", {1.0}));
  const int live = fake::liveObjects("MeasurementTracker");
  @autoreleasepool {
    for (int i = 0; i < 3; ++i) trackers->create("init", {});
  }
  EXPECT_EQ(fake::liveObjects("MeasurementTracker"), live) << "created objects are released";
}

}  // namespace
}  // namespace vemora::apple
