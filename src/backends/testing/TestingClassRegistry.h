#pragma once

#include "ports/ClassRegistry.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vemora::testing {

/// No classes at first. `installMoat` adds a viewability library whose four classes record every
/// message that they and their objects are sent, one line each, such as
///
///     VEMORAMoatReactiveVideoTracker dispatchEvent: event(1, 0)
///
/// Main thread.
class FakeClassRegistry final : public ClassRegistry {
 public:
  std::shared_ptr<ExternalClass> classNamed(std::string_view name) override;

  void installMoat();
  void remove(std::string_view name);
  /// What the library's trackers answer when they are asked to track a view; true at first.
  void setAcceptsViews(bool accepts) { acceptsViews_ = accepts; }

  /// The lines since the last call, except those about the start of the library.
  std::vector<std::string> takeLines();
  /// The lines about the start of the library since the process began: it starts once in a process.
  static std::vector<std::string> startLines();

  void write(std::string line);
  bool acceptsViews() const { return acceptsViews_; }

 private:
  std::map<std::string, std::shared_ptr<ExternalClass>, std::less<>> classes_;
  std::vector<std::string> lines_;
  bool acceptsViews_ = true;
};

}  // namespace vemora::testing
