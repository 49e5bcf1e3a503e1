#include "backends/apple/Facade/FacadeObjects.h"

#include <map>
#include <mutex>

namespace vemora::apple {

namespace {

std::mutex& objectsMutex() {
  static auto& mutex = *new std::mutex;
  return mutex;
}

/// Guarded by the mutex. While an object lives, it keeps its object of the core, whose address is then unique.
std::map<const void*, __weak id>& objects() {
  static auto& all = *new std::map<const void*, __weak id>;
  return all;
}

}  // namespace

id objectStandingFor(const void* core, id (^make)(void)) {
  std::lock_guard lock(objectsMutex());
  const auto found = objects().find(core);
  id object = found == objects().end() ? nil : found->second;
  if (!object) {
    object = make();
    objects()[core] = object;
  }
  return object;
}

void forgetObjectFor(const void* core) {
  std::lock_guard lock(objectsMutex());
  const auto found = objects().find(core);
  // Meanwhile another object may have taken its place.
  if (found != objects().end() && !found->second) objects().erase(found);
}

void raiseInitNotValid(id receiver) {
  [NSException
       raise:NSInternalInconsistencyException
      format:@"-init is not a valid initializer for the class %@", NSStringFromClass([receiver class])];
}

}  // namespace vemora::apple
