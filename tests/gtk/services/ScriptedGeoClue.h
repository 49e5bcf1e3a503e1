#pragma once

#include "backends/gtk/base/ContextThread.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "base/Mutex.h"

#include <gio/gio.h>

#include <future>
#include <string>
#include <vector>

namespace vemora::gtk::test {

/// A location service and a permission store that the test scripts, on a separate thread.
///
/// The service is not on the bus until `appear`. It takes one client, records every call, and reports a
/// fix only when the test requests it. Every operation has had its effect on the bus when it returns.
class ScriptedGeoClue {
 public:
  explicit ScriptedGeoClue(const std::string& busAddress);
  ~ScriptedGeoClue();

  void appear();
  void vanish();
  /// From now on the start of a client is answered with AccessDenied.
  void refuseStart();
  void setAvailableAccuracy(guint32 level);
  void report(double latitude, double longitude);

  /// The permission store, on the bus until the end. An empty accuracy removes the entry.
  void serveStore(const std::string& desktopId, const std::string& accuracy);
  void changePermission(const std::string& desktopId, const std::string& accuracy);

  /// "GetClient", "DesktopId=...", "RequestedAccuracyLevel=...", "Start", "Stop", "DeleteClient" and so on.
  std::vector<std::string> calls();
  int count(const std::string& call);
  /// All connections to the bus.
  std::size_t peers();

 private:
  void run(std::function<void()> work);
  void note(const std::string& call);
  guint registerObject(const char* path, const char* interface);
  bool ownName(const char* name);
  GVariant* permissions() const;
  void handle(const char* path, const char* method, GVariant* parameters, GDBusMethodInvocation* invocation);
  GVariant* property(const char* path, const char* name) const;
  static const GDBusInterfaceVTable& vtable();

  GObjectPtr<GDBusConnection> bus_;
  bool refusesStart_ = false;
  guint32 availableAccuracy_ = 8;
  std::vector<std::pair<double, double>> fixes_;
  std::string storedId_;
  std::string storedAccuracy_;

  Mutex mutex_;
  std::vector<std::string> calls_ VMR_GUARDED_BY(mutex_);
  ContextThread thread_{"geoclue"};
};

}  // namespace vemora::gtk::test
