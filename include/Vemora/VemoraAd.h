#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraExport.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

/// One ad of a group, as the controller page described it. Immutable; any thread.
///
/// The accessors named after the page's keys return what the page sent, without conversion: text where it
/// sent text, a number where it sent a number, null where it sent nothing. The accessors below them convert
/// the same values to C++ types, numbers to decimal text and text to its leading number where necessary. They
/// are absent where the page sent nothing, an object or a list.
class VEMORA_EXPORT VemoraAd {
 public:
  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VemoraAd> init();
  /// Reads the eight keys of an ad from a JSON object. Never null: a key that is missing, and every key of
  /// a value that is not an object, is null. An ad whose id is missing or empty gets "1", "2", ... as its
  /// id, counted for the life of the process.
  static std::shared_ptr<VemoraAd> initWithAdDictionary(const JsonValue& dictionary);

  /// The ad's position in its group: a number. Groups are sorted by it.
  const JsonValue& index() const { return index_; }
  /// The ad's identifier: text. Never null and never empty.
  const JsonValue& id() const { return id_; }
  /// The video player interface that the ad needs: text, such as "mp4". Not used by the SDK.
  const JsonValue& vpi() const { return vpi_; }
  /// The ad's title: text.
  const JsonValue& title() const { return title_; }
  /// The ad's length: a number of seconds.
  const JsonValue& duration() const { return duration_; }
  /// The ad's price: a number, in whatever currency the page uses. Not used by the SDK.
  const JsonValue& price() const { return price_; }
  /// An address that belongs to the ad, usually its video: text. Not used by the SDK.
  const JsonValue& url() const { return url_; }
  /// The address of the advertiser's page: text. Not used by the SDK; the page opens it.
  const JsonValue& clickthru() const { return clickthru_; }

  /// `index` as an integer; 0 when the page sent none.
  std::int64_t indexNumber() const;
  /// `id` as text. Empty only when the page sent an object or a list.
  std::string idText() const;
  /// `vpi` as text.
  std::optional<std::string> vpiText() const;
  /// `title` as text.
  std::optional<std::string> titleText() const;
  /// `duration` in seconds.
  std::optional<double> durationSeconds() const;
  /// `price` as a number.
  std::optional<double> priceNumber() const;
  /// `url` as text.
  std::optional<std::string> urlText() const;
  /// `clickthru` as text.
  std::optional<std::string> clickthruText() const;

 private:
  explicit VemoraAd(const JsonValue& dictionary);

  JsonValue index_;
  JsonValue id_;
  JsonValue vpi_;
  JsonValue title_;
  JsonValue duration_;
  JsonValue price_;
  JsonValue url_;
  JsonValue clickthru_;
};

}  // namespace vemora
