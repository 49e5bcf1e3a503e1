#pragma once

namespace vemora {

/// Logs, in debug mode, each operation of the SDK that held the main thread for longer than 50 ms:
/// "Main thread held for 63 ms: load".
///
///     void load() {
///       StallWatch watch("load");  // reports at the end of the scope
///       ...
///       StallWatch::HostCall call;  // what the host does in its callback is not counted
///       delegate->vemoraDidLoadAds(...);
///     }
///
/// Of watches inside each other only the outermost reports. On any other thread it does nothing. Both kinds
/// are for the stack alone.
class StallWatch {
 public:
  static constexpr double kLimit = 0.05;

  /// `operation` must outlive the watch.
  explicit StallWatch(const char* operation);
  ~StallWatch();
  StallWatch(const StallWatch&) = delete;
  StallWatch& operator=(const StallWatch&) = delete;

  /// Stops the watch around it. An operation that the host calls meanwhile is watched by itself.
  class HostCall {
   public:
    HostCall();
    ~HostCall();
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

   private:
    StallWatch* const stopped_;
    const double begin_;
  };

 private:
  const char* const operation_;  ///< Null for a watch that reports nothing.
  double begin_ = 0;
  double inHost_ = 0;
};

}  // namespace vemora
