#pragma once

#include "ports/Application.h"
#include "ports/AudioSession.h"
#include "ports/Bundle.h"
#include "ports/ClassRegistry.h"
#include "ports/Device.h"
#include "ports/Dispatch.h"
#include "ports/LocationServices.h"
#include "ports/NetworkReachability.h"
#include "ports/System.h"
#include "ports/UserDefaults.h"

#include <memory>

namespace vemora {

/// All the outside facilities of one backend.
///
/// Lifetime: made at first use and kept until the process ends.
/// Threads: `shared` and the accessors from any thread; see each port for its own rules.
/// Completion: accessors return at once; a port may be set up at its first use.
/// Errors: every port is there; a facility that the machine lacks answers as its port says.
class Platform {
 public:
  static Platform& shared();

  virtual ~Platform() = default;
  virtual Dispatch& dispatch() = 0;
  virtual System& system() = 0;
  virtual Application& application() = 0;
  virtual UserDefaults& userDefaults() = 0;
  virtual Bundle& bundle() = 0;
  virtual Device& device() = 0;
  virtual LocationServices& locationServices() = 0;
  virtual NetworkReachabilityFactory& networkReachability() = 0;
  virtual AudioSession& audioSession() = 0;
  virtual ClassRegistry& classRegistry() = 0;
};

/// Defined by the backend that is built in.
std::unique_ptr<Platform> createPlatform();

inline Dispatch& dispatch() {
  return Platform::shared().dispatch();
}

/// Stops the process, in every build, when called off the main thread. The message names the operation, if
/// one is given.
void assertMainThread(const char* operation = nullptr);

}  // namespace vemora
