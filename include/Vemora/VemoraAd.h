#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraExport.h>

#include <memory>

namespace vemora {

/// One ad of a group, as the controller described it. Immutable; any thread.
///
/// Each accessor hands out what was found, without conversion: a text where the controller sent a text, null
/// where it sent nothing.
class VEMORA_EXPORT VemoraAd {
 public:
  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VemoraAd> init();
  /// Never null. An ad without an id, or with an empty one, is numbered "1", "2", ... for the life of the
  /// process.
  static std::shared_ptr<VemoraAd> initWithAdDictionary(const JsonValue& dictionary);

  const JsonValue& index() const { return index_; }  ///< Position in its group.
  const JsonValue& id() const { return id_; }        ///< Never null and never empty.
  const JsonValue& vpi() const { return vpi_; }
  const JsonValue& title() const { return title_; }
  const JsonValue& duration() const { return duration_; }  ///< Seconds.
  const JsonValue& price() const { return price_; }
  const JsonValue& url() const { return url_; }
  const JsonValue& clickthru() const { return clickthru_; }  ///< The click-through address.

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
