#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraExport.h>

#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// What the host app asks the controller page for.
///
///     auto request = VemoraAdRequest::initWithApiKey("my-key");
///     request->setChannel("42");
///     request->setParam("section", "news");
///
/// **Threads.** Not thread-safe, except for the placement type. Fill a request on one thread, hand it to a
/// player, and do not change it afterwards: the player reads it on a background thread during the load, and
/// its params each time the app leaves the foreground.
///
/// **Ownership.** Shared. A player keeps the request until its next load.
///
/// **Errors.** The setters refuse values that JSON cannot carry and log an error. Such values that are put
/// into the dictionaries directly make the load fail with error 5002.
class VEMORA_EXPORT VemoraAdRequest {
 public:
  /// A request with the key of `Vemora::apiKey`, or with "unkeyed-client" when that is absent. Never null.
  static std::shared_ptr<VemoraAdRequest> init();
  /// A request with this key, also when it is empty. An absent key is as in `init`. Never null.
  static std::shared_ptr<VemoraAdRequest> initWithApiKey(std::optional<std::string> key);
  /// A request without any key. For internal construction. Never null.
  static std::shared_ptr<VemoraAdRequest> initPrivate();

  /// The key that identifies the publisher; absent only after `initPrivate` or when cleared.
  const std::optional<std::string>& apiKey() const { return apiKey_; }
  /// Replaces the key; an absent one clears it.
  void setApiKey(std::optional<std::string> key) { apiKey_ = std::move(key); }

  /// The channel: a number as decimal text. Absent until set.
  const std::optional<std::string>& channel() const { return channel_; }
  /// Sets the channel, or clears it. The page gets the text's leading number, 0 when there is none.
  /// Viewability measurement needs a channel: without one, it measures nothing.
  void setChannel(std::optional<std::string> channel) { channel_ = std::move(channel); }

  /// "none" until a player loads the request and writes its own kind into it: "inline", "resizeable" (so
  /// spelt) or "interstitial". Any thread: several loads may share a request.
  std::optional<std::string> placementType() const;
  /// For players, which overwrite what the host app has set. Any thread.
  void setPlacementType(std::optional<std::string> type);

  /// Sets a request parameter, such as a section or a keyword: a single value, or a list as in
  /// `setParam("section", {"news", "sport"})`. A null value or an absent list removes the entry. A value or
  /// key that JSON cannot carry (text that is not UTF-8, a number that is not finite) is refused: the entry
  /// stays as it was, and an error is logged. The parameter "VPAID" with the value "js" makes an ad play on
  /// whenever the app returns to the foreground, also when it was paused before. Parameters of the SDK's own
  /// ("channel_id", "placement_type", "platform_type", "vpi", and with consent "regs[gdpr]" and
  /// "user[consent]") overwrite equal names.
  void setParam(std::string_view key, const JsonValue& value);
  /// The same with a list.
  void setParam(std::string_view key, std::initializer_list<JsonValue> list);
  /// Sets a targeting value of the host app's own, with the same rules. The SDK passes it on without reading
  /// it.
  void setCustom(std::string_view key, const JsonValue& value);
  /// The same with a list.
  void setCustom(std::string_view key, std::initializer_list<JsonValue> list);
  /// Sets a playback option that the page knows, with the same rules. A boolean is always kept, also `false`.
  /// The SDK passes it on without reading it.
  void setPlaybackOption(std::string_view key, const JsonValue& value);
  /// The same with a list.
  void setPlaybackOption(std::string_view key, std::initializer_list<JsonValue> list);

  /// The live dictionary behind `setParam`; changes to it change the request.
  JsonDictionary& paramDict() { return paramDict_; }
  /// The live dictionary behind `setCustom`.
  JsonDictionary& customDict() { return customDict_; }
  /// The live dictionary behind `setPlaybackOption`.
  JsonDictionary& playbackDict() { return playbackDict_; }
  /// The params, for reading.
  const JsonDictionary& paramDict() const { return paramDict_; }
  /// The targeting values, for reading.
  const JsonDictionary& customDict() const { return customDict_; }
  /// The playback options, for reading.
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
