#include "core/settings/StallWatch.h"

#include "core/inspect/Inspection.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

#include <cmath>
#include <string>
#include <utility>

namespace vemora {

namespace {

/// The outermost watch that runs. Only ever set on the main thread.
thread_local StallWatch* current = nullptr;

}  // namespace

StallWatch::StallWatch(const char* operation)
    : operation_(!current && dispatch().isMainThread() ? operation : nullptr) {
  if (!operation_) return;
  begin_ = dispatch().now();
  current = this;
}

StallWatch::~StallWatch() {
  if (!operation_) return;
  current = nullptr;
  const double held = dispatch().now() - begin_ - inHost_;
  if (held <= kLimit) return;
  if (inspect::isOn())
    inspect::record("held", 0,
                    {{"by", "sdk"}, {"operation", operation_}, {"duration", inspect::durationOf(held)}});
  Vemora::log("Main thread held for " + std::to_string(std::lround(held * 1000)) + " ms: " + operation_);
}

StallWatch::HostCall::HostCall()
    : stopped_(std::exchange(current, nullptr)), begin_(stopped_ ? dispatch().now() : 0) {}

StallWatch::HostCall::~HostCall() {
  if (!stopped_) return;
  stopped_->inHost_ += dispatch().now() - begin_;
  current = stopped_;
}

}  // namespace vemora
