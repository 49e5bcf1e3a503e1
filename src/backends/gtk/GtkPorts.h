#pragma once

#include "ports/Platform.h"

#include <functional>
#include <memory>

namespace vemora::gtk {

/// Sets what calls each block of the main queue, such as a watch around it. Call it before the first block.
void setMainQueueBlockRunner(void (*runner)(const std::function<void()>& block));

// The makers of this backend's ports. Each is defined in the file of the class that it makes.
std::unique_ptr<Dispatch> makeDispatch();
std::unique_ptr<System> makeSystem();
std::unique_ptr<Application> makeApplication();
std::unique_ptr<UserDefaults> makeUserDefaults();
std::unique_ptr<Bundle> makeBundle();
std::unique_ptr<Device> makeDevice();
std::unique_ptr<LocationServices> makeLocationServices();
std::unique_ptr<NetworkReachabilityFactory> makeNetworkReachability();
std::unique_ptr<AudioSession> makeAudioSession();
std::unique_ptr<ClassRegistry> makeClassRegistry();

}  // namespace vemora::gtk
