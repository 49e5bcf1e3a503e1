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

}  // namespace vemora
