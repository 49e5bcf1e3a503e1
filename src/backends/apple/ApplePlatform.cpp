#include "backends/apple/ApplePorts.h"

namespace vemora {

namespace {

class ApplePlatform final : public Platform {
 public:
  Dispatch& dispatch() override { return *dispatch_; }
  System& system() override { return *system_; }
  Application& application() override { return *application_; }
  UserDefaults& userDefaults() override { return *userDefaults_; }
  Bundle& bundle() override { return *bundle_; }
  Device& device() override { return *device_; }
  LocationServices& locationServices() override { return *locationServices_; }
  NetworkReachabilityFactory& networkReachability() override { return *networkReachability_; }
  AudioSession& audioSession() override { return *audioSession_; }
  ClassRegistry& classRegistry() override { return *classRegistry_; }

 private:
  const std::unique_ptr<Dispatch> dispatch_ = apple::makeDispatch();
  const std::unique_ptr<System> system_ = apple::makeSystem();
  const std::unique_ptr<Application> application_ = apple::makeApplication();
  const std::unique_ptr<UserDefaults> userDefaults_ = apple::makeUserDefaults();
  const std::unique_ptr<Bundle> bundle_ = apple::makeBundle();
  const std::unique_ptr<Device> device_ = apple::makeDevice();
  const std::unique_ptr<LocationServices> locationServices_ = apple::makeLocationServices();
  const std::unique_ptr<NetworkReachabilityFactory> networkReachability_ = apple::makeNetworkReachability();
  const std::unique_ptr<AudioSession> audioSession_ = apple::makeAudioSession();
  const std::unique_ptr<ClassRegistry> classRegistry_ = apple::makeClassRegistry();
};

}  // namespace

std::unique_ptr<Platform> createPlatform() {
  return std::make_unique<ApplePlatform>();
}

}  // namespace vemora
