#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraTypes.h>

#include <memory>
#include <string>

namespace vemora {

class ExternalObject;
class VMRContext;
class View;

/// Tells an outside viewability library what the ads do, if the process has such a library: its classes are
/// looked up by name, and without them nothing is measured. Main thread.
class VMRMoatTracker {
 public:
  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VMRMoatTracker> init();
  static std::shared_ptr<VMRMoatTracker> initWithContext(std::shared_ptr<VMRContext> context,
                                                         std::shared_ptr<VemoraAdRequest> request,
                                                         std::string partnerCode);

  /// `params` are the controller event's own; `ad` may be null. Throws `InternalInconsistencyException` for a
  /// request without a channel, when a tracker is to be attached.
  void trackEvent(VemoraAdEvent event, const JsonValue& params, const std::shared_ptr<VemoraAd>& ad,
                  const std::shared_ptr<View>& playerView);

  const std::shared_ptr<VMRContext>& context() const { return context_; }
  void setContext(std::shared_ptr<VMRContext> context) { context_ = std::move(context); }
  const std::shared_ptr<VemoraAdRequest>& request() const { return request_; }
  void setRequest(std::shared_ptr<VemoraAdRequest> request) { request_ = std::move(request); }
  /// The library's tracker of the ad that plays; null between ads.
  const std::shared_ptr<ExternalObject>& moatTracker() const { return moatTracker_; }
  void setMoatTracker(std::shared_ptr<ExternalObject> tracker) { moatTracker_ = std::move(tracker); }
  double playheadMillis() const { return playheadMillis_; }
  void setPlayheadMillis(double milliseconds) { playheadMillis_ = milliseconds; }
  const std::string& moatPartnerCode() const { return moatPartnerCode_; }
  void setMoatPartnerCode(std::string code) { moatPartnerCode_ = std::move(code); }
  /// An ad has started and its tracker is still to be made.
  bool createTracker() const { return createTracker_; }
  void setCreateTracker(bool create) { createTracker_ = create; }

 private:
  VMRMoatTracker() = default;
  void attach(const VemoraAd& ad, const std::shared_ptr<View>& playerView);
  void makeLibraryTracker(const JsonValue& identifiers, const VemoraAd& ad,
                          const std::shared_ptr<View>& playerView);
  JsonValue identifiersOf(const VemoraAd& ad) const;
  void detach();
  void dispatchEvent(int type);

  std::shared_ptr<VMRContext> context_;
  std::shared_ptr<VemoraAdRequest> request_;
  std::shared_ptr<ExternalObject> moatTracker_;
  double playheadMillis_ = 0;
  std::string moatPartnerCode_;
  bool createTracker_ = false;
};

}  // namespace vemora
