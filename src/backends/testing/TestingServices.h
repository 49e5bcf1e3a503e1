#pragma once

#include "base/Mutex.h"
#include "ports/Platform.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// Stand-ins for the facilities that need no view. A test scripts them from the main thread; the core uses
// them from any.

namespace vemora::testing {

struct LogLine {
  LogLevel level;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

/// Real digests, UUIDs and addresses; a log that is kept; random numbers that the test chooses; beacons that
/// never leave.
///
/// A download is recorded by the session's `downloadTaskWithRequest`, then answered once by
/// `completeDownload` on a separate thread.
class FakeSystem final : public System {
 public:
  struct Download {
    URLRequest request;
    std::size_t session;  ///< Counted from 1.
  };

  void log(LogLevel level, std::string_view line) override;
  std::uint32_t randomUInt32() override;
  std::string newUUIDString() override;
  SHA1Digest sha1(std::string_view bytes) override;
  std::optional<URL> urlWithString(std::string_view text) override;
  std::unique_ptr<URLSession> createEphemeralURLSession() override;

  std::vector<LogLine> lines() const;
  bool hasLine(LogLevel level, std::string_view text) const;
  std::size_t countLines(std::string_view text) const;
  void clearLog();
  /// Called for each line on the thread that logs it: a place in which to stop that thread.
  void setOnLog(std::function<void(std::string_view)> hook);

  std::vector<Download> downloads() const;
  void completeDownload(std::size_t index, const std::optional<VMRError>& error);

 private:
  class Session;
  void addDownload(Download download, URLSession::Completion completion);

  mutable Mutex mutex_;  ///< Guards all below; not held while hooks and completions run.
  std::vector<LogLine> lines_ VMR_GUARDED_BY(mutex_);
  std::function<void(std::string_view)> onLog_ VMR_GUARDED_BY(mutex_);
  std::vector<Download> downloads_ VMR_GUARDED_BY(mutex_);
  std::vector<URLSession::Completion> completions_ VMR_GUARDED_BY(mutex_);
  std::size_t sessions_ VMR_GUARDED_BY(mutex_) = 0;
};

class FakeUserDefaults final : public UserDefaults {
 public:
  JsonValue objectForKey(std::string_view key) override;
  std::optional<std::string> stringForKey(std::string_view key) override;
  void setObject(const JsonValue& value, std::string_view key) override;
  JsonValue setObjectIfAbsent(const JsonValue& value, std::string_view key) override;
  void removeObjectForKey(std::string_view key) override;
  bool synchronize() override;

  std::size_t synchronizations() const;

 private:
  mutable Mutex mutex_;  ///< Guards both below.
  JsonDictionary values_ VMR_GUARDED_BY(mutex_);
  std::size_t synchronizations_ VMR_GUARDED_BY(mutex_) = 0;
};

/// An application "com.example.host" named "Host" in Portugal, until the test says otherwise, before any
/// thread asks.
class FakeBundle final : public Bundle {
 public:
  using Texts = std::map<std::string, std::string, std::less<>>;

  std::optional<std::string> mainInfo(std::string_view key) override;
  std::optional<std::string> libraryInfo(std::string_view key) override;
  std::vector<std::string> preferredLocalizations() override { return localizations; }
  std::string localizedString(std::string_view key) override;
  std::optional<std::string> countryCode() override { return country; }
  std::optional<std::string> displayNameForCountryCode(std::string_view code) override;

  Texts main = {{"CFBundleIdentifier", "com.example.host"}, {"CFBundleName", "Host"}};
  Texts library = {{"CFBundleShortVersionString", "1.2.3"}};
  Texts strings;
  Texts countryNames = {{"PT", "Portugal"}};
  std::vector<std::string> localizations = {"pt-PT", "en"};
  std::optional<std::string> country = "PT";
};

/// A device whose fields the test sets before any thread asks.
class FakeDevice final : public Device {
 public:
  std::optional<std::string> model() override { return modelName; }
  std::optional<std::string> systemName() override { return "FakeOS"; }
  std::optional<std::string> systemVersion() override { return "9.1"; }
  std::optional<std::string> identifierForVendor() override { return vendorIdentifier; }
  UserInterfaceIdiom userInterfaceIdiom() override { return idiom; }
  std::optional<std::string> advertisingIdentifier() override { return advertisingId; }
  bool isAdvertisingTrackingEnabled() override { return trackingEnabled; }
  bool hasTelephonyNetworkInfo() override { return telephony; }
  std::optional<int> statusBarDataNetworkType() override { return networkType; }

  std::optional<std::string> modelName = "FakePhone";
  std::optional<std::string> vendorIdentifier = "11111111-2222-3333-4444-555555555555";
  std::optional<std::string> advertisingId = "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE";
  UserInterfaceIdiom idiom = UserInterfaceIdiom::Phone;
  bool trackingEnabled = true;
  bool telephony = true;
  std::optional<int> networkType;
};

/// No permission at first. With one, a manager that was started is notified of each `report` until it is
/// destroyed.
class FakeLocationServices final : public LocationServices {
 public:
  bool locationServicesEnabled() override;
  LocationAuthorizationStatus authorizationStatus() override;
  std::unique_ptr<LocationManager> createLocationManager() override;

  void allow(LocationAuthorizationStatus status);
  void setEnabled(bool enabled);
  /// Notifies the delegates of all managers that have been started.
  void report(const std::vector<Location>& locations);
  std::size_t managerCount() const;

 private:
  class Manager;

  mutable Mutex mutex_;  ///< Guards all below; not held while delegates are called.
  bool enabled_ VMR_GUARDED_BY(mutex_) = true;
  LocationAuthorizationStatus status_ VMR_GUARDED_BY(mutex_) = LocationAuthorizationStatus::NotDetermined;
  std::map<const Manager*, std::weak_ptr<LocationManagerDelegate>> managers_ VMR_GUARDED_BY(mutex_);
};

/// Handles that all show the same flags. `change` notifies those that are scheduled, never one that was
/// unscheduled or destroyed.
class FakeNetworkReachability final : public NetworkReachabilityFactory {
 public:
  std::unique_ptr<NetworkReachability> createWithName(std::string_view hostName) override;
  std::unique_ptr<NetworkReachability> createWithAddress(const sockaddr& address) override;

  void change(std::optional<std::uint32_t> flags);
  bool givesHandles = true;
  bool acceptsCallbacks = true;
  std::optional<std::uint32_t> flags;
  std::vector<std::string> targets;

 private:
  class Handle;
  std::unique_ptr<NetworkReachability> create(std::string target);

  std::vector<Handle*> handles_;
};

/// No route change before the category has been read.
class FakeAudioSession final : public AudioSession {
 public:
  std::string category() override;
  /// Posts the notification on a background thread. False when the category has not been read yet.
  bool changeRoute(int reason);

 private:
  std::atomic<bool> exists_{false};
};

}  // namespace vemora::testing
