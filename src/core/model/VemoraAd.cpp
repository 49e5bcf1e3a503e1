#include "base/InitNotValid.h"
#include "base/VMRUtilities.h"

#include <Vemora/VemoraAd.h>

#include <atomic>

namespace vemora {

namespace {

JsonValue numberedId() {
  static std::atomic<std::ptrdiff_t> counter{0};
  return JsonValue::internedString(std::to_string(++counter));
}

/// Reads text by its leading number, as `VemoraAdGroup::totalDuration` does.
std::optional<double> numberOf(const JsonValue& value) {
  if (!value.isNumber() && !value.isString()) return std::nullopt;
  return value.doubleValue();
}

}  // namespace

std::shared_ptr<VemoraAd> VemoraAd::init() {
  throwInitNotValid("VemoraAd");
}

std::shared_ptr<VemoraAd> VemoraAd::initWithAdDictionary(const JsonValue& dictionary) {
  return std::shared_ptr<VemoraAd>(new VemoraAd(dictionary));
}

VemoraAd::VemoraAd(const JsonValue& dictionary)
    : index_(VMRUtilities::jsonValueFrom(dictionary, "index")),
      id_(VMRUtilities::jsonValueFrom(dictionary, "id")),
      vpi_(VMRUtilities::jsonValueFrom(dictionary, "vpi")),
      title_(VMRUtilities::jsonValueFrom(dictionary, "title")),
      duration_(VMRUtilities::jsonValueFrom(dictionary, "duration")),
      price_(VMRUtilities::jsonValueFrom(dictionary, "price")),
      url_(VMRUtilities::jsonValueFrom(dictionary, "url")),
      clickthru_(VMRUtilities::jsonValueFrom(dictionary, "clickthru")) {
  if (id_.isNull() || id_.asString() == std::string_view()) id_ = numberedId();
}

std::int64_t VemoraAd::indexNumber() const {
  return index_.integerValue();
}
std::string VemoraAd::idText() const {
  return id_.stringValue().value_or(std::string());
}
std::optional<std::string> VemoraAd::vpiText() const {
  return vpi_.stringValue();
}
std::optional<std::string> VemoraAd::titleText() const {
  return title_.stringValue();
}
std::optional<double> VemoraAd::durationSeconds() const {
  return numberOf(duration_);
}
std::optional<double> VemoraAd::priceNumber() const {
  return numberOf(price_);
}
std::optional<std::string> VemoraAd::urlText() const {
  return url_.stringValue();
}
std::optional<std::string> VemoraAd::clickthruText() const {
  return clickthru_.stringValue();
}

}  // namespace vemora
