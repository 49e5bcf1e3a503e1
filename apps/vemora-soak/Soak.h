#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vemora {

enum class SoakPlacement { Inline, Resizable, Interstitial, All };

struct SoakOptions {
  int cycles = 200;
  /// Cycles before those that count: the toolkit and its libraries set themselves up meanwhile.
  int warmUp = 10;
  SoakPlacement placement = SoakPlacement::All;
  bool usesFeatures = false;
  bool isBare = false;      ///< WebKit's web view alone, without the SDK.
  bool reportOnly = false;  ///< Growth is reported but no failure.
  double maxSeconds = 0;    ///< Stops before the next cycle once they have passed; 0: never.
  /// Fails when the longest hold of the main thread is longer; 0: any is fine.
  double maxHoldMilliseconds = 0;
};

/// Loads, starts, ends and releases players on the real web view, one after the other, and reports what each
/// cycle leaves behind. True when nothing grows.
///
/// It needs a display, and belongs to the main thread. `host` serves the page with the certificate in PEM.
bool soak(const SoakOptions& options, const std::string& host, const std::string& certificatePem);

}  // namespace vemora
