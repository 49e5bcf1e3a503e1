#pragma once

#include "ports/Platform.h"

#include <memory>

// The makers of this backend's ports. Plain C++.

namespace vemora::apple {

// On Foundation alone.
std::unique_ptr<Dispatch> makeDispatch();
std::unique_ptr<System> makeSystem();
std::unique_ptr<UserDefaults> makeUserDefaults();
std::unique_ptr<Bundle> makeBundle();
std::unique_ptr<LocationServices> makeLocationServices();
std::unique_ptr<NetworkReachabilityFactory> makeNetworkReachability();
std::unique_ptr<ClassRegistry> makeClassRegistry();

// On UIKit and the frameworks that come with it.
std::unique_ptr<Application> makeApplication();
std::unique_ptr<Device> makeDevice();
std::unique_ptr<AudioSession> makeAudioSession();

}  // namespace vemora::apple
