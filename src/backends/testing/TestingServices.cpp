#include "backends/testing/TestingServices.h"

#include "backends/glib/GLibSystem.h"

#include <Vemora/NotificationCenter.h>

#include <sys/socket.h>

#include <algorithm>

namespace vemora::testing {

namespace {

std::optional<std::string> lookUp(const FakeBundle::Texts& texts, std::string_view key) {
  const auto found = texts.find(key);
  return found == texts.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

// System.

class FakeSystem::Session final : public URLSession {
 public:
  Session(FakeSystem& system, std::size_t number) : system_(system), number_(number) {}
  void downloadTaskWithRequest(const URLRequest& request, Completion completion) override {
    system_.addDownload({request, number_}, std::move(completion));
  }

 private:
  FakeSystem& system_;
  const std::size_t number_;
};

void FakeSystem::log(LogLevel level, std::string_view line) {
  std::function<void(std::string_view)> hook;
  {
    MutexLock lock(mutex_);
    lines_.push_back({level, std::string(line)});
    hook = onLog_;
  }
  if (hook) hook(line);
}

std::uint32_t FakeSystem::randomUInt32() {
  return 4294967295u;  // The largest: what counts on from it must not be 32 bits wide.
}

std::string FakeSystem::newUUIDString() {
  return glib::newUUIDString();
}

System::SHA1Digest FakeSystem::sha1(std::string_view bytes) {
  return glib::sha1(bytes);
}

std::optional<URL> FakeSystem::urlWithString(std::string_view text) {
  return glib::urlWithString(text);
}

std::unique_ptr<URLSession> FakeSystem::createEphemeralURLSession() {
  MutexLock lock(mutex_);
  return std::make_unique<Session>(*this, ++sessions_);
}

std::vector<LogLine> FakeSystem::lines() const {
  MutexLock lock(mutex_);
  return lines_;
}

bool FakeSystem::hasLine(LogLevel level, std::string_view text) const {
  MutexLock lock(mutex_);
  return std::find(lines_.begin(), lines_.end(), LogLine{level, std::string(text)}) != lines_.end();
}

std::size_t FakeSystem::countLines(std::string_view text) const {
  MutexLock lock(mutex_);
  return static_cast<std::size_t>(
      std::count_if(lines_.begin(), lines_.end(), [text](const LogLine& line) { return line.text == text; }));
}

void FakeSystem::clearLog() {
  MutexLock lock(mutex_);
  lines_.clear();
}

void FakeSystem::setOnLog(std::function<void(std::string_view)> hook) {
  MutexLock lock(mutex_);
  onLog_ = std::move(hook);
}

std::vector<FakeSystem::Download> FakeSystem::downloads() const {
  MutexLock lock(mutex_);
  return downloads_;
}

void FakeSystem::addDownload(Download download, URLSession::Completion completion) {
  MutexLock lock(mutex_);
  downloads_.push_back(std::move(download));
  completions_.push_back(std::move(completion));
}

void FakeSystem::completeDownload(std::size_t index, const std::optional<VMRError>& error) {
  URLSession::Completion completion;
  {
    MutexLock lock(mutex_);
    completion = std::exchange(completions_.at(index), nullptr);
  }
  dispatch().detachNewThread([completion = std::move(completion), error] { completion(error); });
}

// User defaults, bundle.

JsonValue FakeUserDefaults::objectForKey(std::string_view key) {
  MutexLock lock(mutex_);
  const auto found = values_.find(key);
  return found == values_.end() ? JsonValue() : found->second;
}

std::optional<std::string> FakeUserDefaults::stringForKey(std::string_view key) {
  return objectForKey(key).stringValue();
}

void FakeUserDefaults::setObject(const JsonValue& value, std::string_view key) {
  MutexLock lock(mutex_);
  values_.insert_or_assign(std::string(key), value);
}

JsonValue FakeUserDefaults::setObjectIfAbsent(const JsonValue& value, std::string_view key) {
  MutexLock lock(mutex_);
  return values_.try_emplace(std::string(key), value).first->second;
}

void FakeUserDefaults::removeObjectForKey(std::string_view key) {
  MutexLock lock(mutex_);
  if (const auto found = values_.find(key); found != values_.end()) values_.erase(found);
}

bool FakeUserDefaults::synchronize() {
  MutexLock lock(mutex_);
  ++synchronizations_;
  return true;
}

std::size_t FakeUserDefaults::synchronizations() const {
  MutexLock lock(mutex_);
  return synchronizations_;
}

std::optional<std::string> FakeBundle::mainInfo(std::string_view key) {
  return lookUp(main, key);
}

std::optional<std::string> FakeBundle::libraryInfo(std::string_view key) {
  return lookUp(library, key);
}

std::string FakeBundle::localizedString(std::string_view key) {
  return lookUp(strings, key).value_or(std::string(key));
}

std::optional<std::string> FakeBundle::displayNameForCountryCode(std::string_view code) {
  return lookUp(countryNames, code);
}

// Location.

class FakeLocationServices::Manager final : public LocationManager {
 public:
  explicit Manager(FakeLocationServices& services) : services_(services) {}
  ~Manager() override {
    MutexLock lock(services_.mutex_);
    services_.managers_.erase(this);
  }
  void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }
  void startUpdatingLocation() override {
    MutexLock lock(services_.mutex_);
    services_.managers_[this] = delegate_;
  }

 private:
  FakeLocationServices& services_;
  std::weak_ptr<LocationManagerDelegate> delegate_;
};

bool FakeLocationServices::locationServicesEnabled() {
  MutexLock lock(mutex_);
  return enabled_;
}

LocationAuthorizationStatus FakeLocationServices::authorizationStatus() {
  MutexLock lock(mutex_);
  return status_;
}

std::unique_ptr<LocationManager> FakeLocationServices::createLocationManager() {
  return std::make_unique<Manager>(*this);
}

void FakeLocationServices::allow(LocationAuthorizationStatus status) {
  MutexLock lock(mutex_);
  status_ = status;
}

void FakeLocationServices::setEnabled(bool enabled) {
  MutexLock lock(mutex_);
  enabled_ = enabled;
}

void FakeLocationServices::report(const std::vector<Location>& locations) {
  std::vector<std::shared_ptr<LocationManagerDelegate>> delegates;
  {
    MutexLock lock(mutex_);
    for (const auto& [manager, delegate] : managers_) delegates.push_back(delegate.lock());
  }
  for (const auto& delegate : delegates) {
    if (delegate) delegate->locationManagerDidUpdateLocations(locations);
  }
}

std::size_t FakeLocationServices::managerCount() const {
  MutexLock lock(mutex_);
  return managers_.size();
}

// Reachability.

class FakeNetworkReachability::Handle final : public NetworkReachability {
 public:
  explicit Handle(FakeNetworkReachability& network) : network_(network) { network.handles_.push_back(this); }
  ~Handle() override { std::erase(network_.handles_, this); }

  std::optional<std::uint32_t> flags() override { return network_.flags; }
  bool setCallback(std::function<void()> callback) override {
    callback_ = std::move(callback);
    return network_.acceptsCallbacks;
  }
  bool scheduleWithRunLoop() override { return isScheduled_ = true; }
  void unscheduleFromRunLoop() override { isScheduled_ = false; }
  void changed() {
    if (isScheduled_ && callback_) callback_();
  }

 private:
  FakeNetworkReachability& network_;
  std::function<void()> callback_;
  bool isScheduled_ = false;
};

std::unique_ptr<NetworkReachability> FakeNetworkReachability::create(std::string target) {
  targets.push_back(std::move(target));
  return givesHandles ? std::make_unique<Handle>(*this) : nullptr;
}

std::unique_ptr<NetworkReachability> FakeNetworkReachability::createWithName(std::string_view hostName) {
  return create("name " + std::string(hostName));
}

std::unique_ptr<NetworkReachability> FakeNetworkReachability::createWithAddress(const sockaddr& address) {
  return create("family " + std::to_string(address.sa_family));
}

void FakeNetworkReachability::change(std::optional<std::uint32_t> now) {
  flags = now;
  const auto snapshot = handles_;
  for (Handle* handle : snapshot) handle->changed();
}

// Audio.

std::string FakeAudioSession::category() {
  exists_ = true;
  return "AVAudioSessionCategoryAmbient";
}

bool FakeAudioSession::changeRoute(int reason) {
  if (!exists_) return false;
  dispatch().detachNewThread([reason] {
    NotificationCenter::defaultCenter().postNotification(
        {AVAudioSessionRouteChangeNotification, nullptr,
         JsonValue::object({{AVAudioSessionRouteChangeReasonKey, reason}})});
  });
  return true;
}

}  // namespace vemora::testing
