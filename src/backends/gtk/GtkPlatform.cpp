#include "backends/gtk/GtkPorts.h"
#include "core/settings/StallWatch.h"

namespace vemora {

namespace {

using namespace gtk;

/// Creates each port at its first use, so that a process pays only for the ports it uses.
template <typename Port, auto Make>
class LazyPort {
 public:
  Port& get() {
    static const std::unique_ptr<Port>& port = *new std::unique_ptr<Port>(Make());
    return *port;
  }
};

class GtkPlatform final : public Platform {
 public:
  Dispatch& dispatch() override { return LazyPort<Dispatch, makeDispatch>().get(); }
  System& system() override { return LazyPort<System, makeSystem>().get(); }
  Application& application() override { return LazyPort<Application, makeApplication>().get(); }
  UserDefaults& userDefaults() override { return LazyPort<UserDefaults, makeUserDefaults>().get(); }
  Bundle& bundle() override { return LazyPort<Bundle, makeBundle>().get(); }
  Device& device() override { return LazyPort<Device, makeDevice>().get(); }
  LocationServices& locationServices() override {
    return LazyPort<LocationServices, makeLocationServices>().get();
  }
  NetworkReachabilityFactory& networkReachability() override {
    return LazyPort<NetworkReachabilityFactory, makeNetworkReachability>().get();
  }
  AudioSession& audioSession() override { return LazyPort<AudioSession, makeAudioSession>().get(); }
  ClassRegistry& classRegistry() override { return LazyPort<ClassRegistry, makeClassRegistry>().get(); }
};

}  // namespace

std::unique_ptr<Platform> createPlatform() {
  setMainQueueBlockRunner([](const std::function<void()>& block) {
    const StallWatch watch("main queue");
    block();
  });
  return std::make_unique<GtkPlatform>();
}

}  // namespace vemora
