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

/// Reports ad events to an outside viewability library. The library's classes are looked up by name;
/// without them nothing is measured. Main thread.
class VMRMoatTracker {
 public:
  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VMRMoatTracker> init();
  /// Holds context and request strongly. Never null.
  static std::shared_ptr<VMRMoatTracker> initWithContext(std::shared_ptr<VMRContext> context,
                                                         std::shared_ptr<VemoraAdRequest> request,
                                                         std::string partnerCode);

  /// Reports one event. `params` are those of the controller's message. `ad` may be null; a tracker is
  /// attached only once there is one. Throws `InternalInconsistencyException` when a tracker is to be
  /// attached and the request has no channel.
  void trackEvent(VemoraAdEvent event, const JsonValue& params, const std::shared_ptr<VemoraAd>& ad,
                  const std::shared_ptr<View>& playerView);

  const std::shared_ptr<VMRContext>& context() const { return context_; }
  void setContext(std::shared_ptr<VMRContext> context) { context_ = std::move(context); }
  const std::shared_ptr<VemoraAdRequest>& request() const { return request_; }
  void setRequest(std::shared_ptr<VemoraAdRequest> request) { request_ = std::move(request); }
  /// The library's tracker of the current ad; null between ads.
  const std::shared_ptr<ExternalObject>& moatTracker() const { return moatTracker_; }
  void setMoatTracker(std::shared_ptr<ExternalObject> tracker) { moatTracker_ = std::move(tracker); }
  double playheadMillis() const { return playheadMillis_; }
  void setPlayheadMillis(double milliseconds) { playheadMillis_ = milliseconds; }
  const std::string& moatPartnerCode() const { return moatPartnerCode_; }
  void setMoatPartnerCode(std::string code) { moatPartnerCode_ = std::move(code); }
  /// True when an ad has started and its tracker has not been created yet.
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
