#include <Vemora/Vemora.h>
#include <Vemora/VemoraAdRequest.h>

namespace vemora {

namespace {

/// One entry that cannot be written as JSON would make the whole request unreadable.
bool isWritable(std::string_view key, const JsonValue& value) {
  return JsonValue::object({{key, value}}).serialized().has_value();
}

void setOrRemove(JsonDictionary& dictionary, std::string_view key, const JsonValue& value) {
  if (!isWritable(key, value)) {
    Vemora::logError("The request's entry \"" + std::string(key) + "\" was refused: it is not valid JSON");
  } else if (!value.isNull()) {
    dictionary.insert_or_assign(std::string(key), value);
  } else if (const auto found = dictionary.find(key); found != dictionary.end()) {
    dictionary.erase(found);
  }
}

}  // namespace

VemoraAdRequest::VemoraAdRequest() {
  setPlacementType("none");
}

std::shared_ptr<VemoraAdRequest> VemoraAdRequest::init() {
  return initWithApiKey(std::nullopt);
}

std::shared_ptr<VemoraAdRequest> VemoraAdRequest::initWithApiKey(std::optional<std::string> key) {
  auto request = initPrivate();
  if (!key) key = Vemora::apiKey();
  request->apiKey_ = std::move(key).value_or("unkeyed-client");
  return request;
}

std::shared_ptr<VemoraAdRequest> VemoraAdRequest::initPrivate() {
  return std::shared_ptr<VemoraAdRequest>(new VemoraAdRequest);
}

std::optional<std::string> VemoraAdRequest::placementType() const {
  std::lock_guard lock(mutex_);
  return placementType_;
}

void VemoraAdRequest::setPlacementType(std::optional<std::string> type) {
  std::lock_guard lock(mutex_);
  placementType_.swap(type);
}

void VemoraAdRequest::setParam(std::string_view key, const JsonValue& value) {
  setOrRemove(paramDict_, key, value);
}
void VemoraAdRequest::setParam(std::string_view key, std::initializer_list<JsonValue> list) {
  setParam(key, JsonValue::array(list));
}
void VemoraAdRequest::setCustom(std::string_view key, const JsonValue& value) {
  setOrRemove(customDict_, key, value);
}
void VemoraAdRequest::setCustom(std::string_view key, std::initializer_list<JsonValue> list) {
  setCustom(key, JsonValue::array(list));
}
void VemoraAdRequest::setPlaybackOption(std::string_view key, const JsonValue& value) {
  setOrRemove(playbackDict_, key, value);
}
void VemoraAdRequest::setPlaybackOption(std::string_view key, std::initializer_list<JsonValue> list) {
  setPlaybackOption(key, JsonValue::array(list));
}

}  // namespace vemora
