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

/// The ports of the backend that is built in.
///
/// Lifetime: Made at first use and kept until the process ends.
///
/// Threads: `shared` and the accessors are thread-safe. Each port states its own rules.
///
/// Completion: Accessors return at once, except that the first use of a port sets it up.
///
/// Errors: Every port exists. It states what it returns for facilities that the machine lacks.
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

/// Aborts the process, in every build, when called off the main thread. The message names the operation, if
/// one is given.
void assertMainThread(const char* operation = nullptr);

}  // namespace vemora
