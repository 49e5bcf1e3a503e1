#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// What the tests of the Apple backend read and set in the fakes. Main thread, unless stated otherwise.

namespace fake {

// Faults

/// Notes a misuse of the platform. Any thread.
void fault(const std::string& what);
/// Those since the last call.
std::vector<std::string> takeFaults();
/// Notes a fault when called off the main thread.
void mainThreadOnly(const char* what);

// Time and queues: delays run on a clock that `advance` moves on

/// Runs the main queue until the condition holds. False when it does not within some real seconds.
bool runUntil(const std::function<bool()>& done);
/// Runs the main queue until it and all background work are done, except for delays.
void settle();
/// Lets delays of up to so many seconds come due, one after the other.
void advance(double seconds);

// Live objects

void countObjects();  ///< To be called before the first is made.
int liveObjects(const char* className);

// The log

struct LogLine {
  bool isError;
  std::string text;
};
std::vector<LogLine> takeLog();

// Networking

struct Request {
  std::string url, method;
  std::map<std::string, std::string> headers;
  bool ignoresCache;
};
std::vector<Request> takeRequests();
/// The next requests fail with this code.
void setNetworkError(std::optional<int> code);
int sessionsNotInvalidated();

// Pages

/// What a load of the address runs, in a context with `window.webkit.messageHandlers`. Others fail.
void setPage(const std::string& url, const std::string& script);
void removePages();
/// Makes the next evaluations fail with this code of WKErrorDomain.
void setEvaluationError(std::optional<int> code);

/// JavaScript behind the fake web view.
struct Script {
  virtual ~Script() = default;
  std::function<void(std::string handler, std::string json)> posted;
  /// The text of the exception, empty without one. A string result goes to `result`.
  virtual std::string evaluate(const std::string& source, std::string& result) = 0;
};
Script* makeScript();

// Scenes

/// Whether the scene is active, and whether its window is the key window.
void setScene(bool active, bool key);

// Controllers

/// Presentations complete when the test calls `finishPresentation`.
void holdPresentations(bool hold);
void finishPresentation();

// Device

void setTracking(int status);
struct LocationState {
  bool enabled = false;
  int status = 0;
};
void setLocation(LocationState state);
/// Notifies the managers that were started.
void moveTo(double latitude, double longitude);
void failLocation();
int startedLocationManagers();
void changeRoute(int reason);

// Reachability

void setReachability(std::optional<unsigned> flags);
/// Calls back what is scheduled.
void changeReachability(unsigned flags);
int liveReachabilityTargets();

}  // namespace fake

#ifdef __OBJC__
#import <WebKit/WebKit.h>
@interface WKUserContentController (Fake)
- (void)deliver:(NSString*)name body:(id)body frame:(WKFrameInfo*)frame;
@end
@class UIWindow, UIView;
namespace fake {
WKFrameInfo* frame(bool isMainFrame);
/// The name and reason of the exception that the block raises; empty without one.
std::string exceptionOf(void (^block)(void));
/// 320 by 480 points, with a root view controller. Its safe area leaves out 20 points at the top and 10 at
/// the bottom.
UIWindow* window();
/// A new window without subviews, for the next test.
void resetWindow();
}
#endif
