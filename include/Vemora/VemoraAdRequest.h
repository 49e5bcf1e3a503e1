#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraExport.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// What the host app wants to show. Fill it on one thread, hand it to a player, and do not change it
/// afterwards: the player reads it on a thread of its own while it loads.
///
///     auto request = VemoraAdRequest::initWithApiKey("my-key");
///     request->setChannel("42");
///     request->setParam("section", "news");
class VEMORA_EXPORT VemoraAdRequest {
 public:
  /// With the key of `Vemora::apiKey`, or "unkeyed-client" when there is none.
  static std::shared_ptr<VemoraAdRequest> init();
  /// With this key, even if it is empty; without one, as `init`.
  static std::shared_ptr<VemoraAdRequest> initWithApiKey(std::optional<std::string> key);
  /// Without any key. For internal construction.
  static std::shared_ptr<VemoraAdRequest> initPrivate();

  const std::optional<std::string>& apiKey() const { return apiKey_; }
  void setApiKey(std::optional<std::string> key) { apiKey_ = std::move(key); }

  /// The channel's number as text. Absent until set.
  const std::optional<std::string>& channel() const { return channel_; }
  void setChannel(std::optional<std::string> channel) { channel_ = std::move(channel); }

  /// "none" until a player that loads the request writes its own kind: "inline", "resizeable" or
  /// "interstitial". Any thread: several loads may share a request.
  std::optional<std::string> placementType() const;
  void setPlacementType(std::optional<std::string> type);

  /// Request parameters. A null value, or an absent list, removes the entry; a list is kept whole as one
  /// value.
  void setParam(std::string_view key, const JsonValue& value);
  /// Targeting values of the host's own, in the same way.
  void setCustom(std::string_view key, const JsonValue& value);
  /// Playback options, in the same way; a boolean is always kept.
  void setPlaybackOption(std::string_view key, const JsonValue& value);

  /// The live dictionaries behind the setters.
  JsonDictionary& paramDict() { return paramDict_; }
  JsonDictionary& customDict() { return customDict_; }
  JsonDictionary& playbackDict() { return playbackDict_; }
  const JsonDictionary& paramDict() const { return paramDict_; }
  const JsonDictionary& customDict() const { return customDict_; }
  const JsonDictionary& playbackDict() const { return playbackDict_; }

 private:
  VemoraAdRequest();

  std::optional<std::string> apiKey_;
  std::optional<std::string> channel_;
  mutable std::mutex mutex_;  ///< Guards the placement type, the one field that players write.
  std::optional<std::string> placementType_;
  JsonDictionary paramDict_;
  JsonDictionary customDict_;
  JsonDictionary playbackDict_;
};

}  // namespace vemora
