#include "MessageFuzz.h"

#include "backends/testing/TestingPlatform.h"
#include "base/VMRUtilities.h"
#include "core/bridge/VMRRpc.h"
#include "core/player/VemoraAdPlayerBase_p.h"

#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraInlineAdPlayer.h>

#include <cstdlib>
#include <string_view>

namespace vemora {

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

/// Every accessor on every value: none may fail for any type.
void readAll(const JsonValue& value) {
  value.stringValue();
  value.integerValue();
  value.unsignedValue();
  value.doubleValue();
  value.boolValue();
  value.count();
  require(value == value);
  for (const JsonValue& element : value.elements()) readAll(element);
  for (const JsonValue::Entry& entry : value.entries()) {
    require(entry.key.isString());
    require(value[*entry.key.asString()] == entry.value);
    readAll(entry.value);
  }
}

void roundTrip(const JsonValue& value) {
  const auto text = value.serialized();
  require(text.has_value());
  const auto again = JsonValue::parse(*text);
  require(again && *again == value);
  require(again->serialized() == text);
}

void roundTrip(const VMRRpc& message) {
  const std::string text = message.jsonString();
  if (text.empty()) return;
  const auto again = VMRRpc::messageWithString(text);
  // A message with nothing but an empty result or empty params is no longer a message once written.
  if (!again) return require(!message.method().isString() || message.method().asString()->empty());
  require(again->ID() == message.ID());
  require(again->jsonString() == text);
}

/// A player without a session, as its page's messages find it after a shutdown.
VemoraAdPlayerBase_p& idlePlayer() {
  static const auto& player =
      *new std::shared_ptr<VemoraInlineAdPlayer>(VemoraInlineAdPlayer::initInView(nullptr));
  return VemoraAdPlayerBase_p::of(*player);
}

}  // namespace

void fuzzMessage(const std::uint8_t* data, std::size_t size) {
  static testing::TestingPlatform& platform = testing::TestingPlatform::current();
  static const bool isReady = (platform.reset(), true);
  require(isReady);

  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto value = JsonValue::parse(text);
  const auto message = VMRRpc::messageWithString(text);
  if (!value) return require(!message);
  readAll(*value);
  roundTrip(*value);
  VMRUtilities::jsonValueFrom(*value, text);
  if (const auto group = VemoraAdGroup::initWithAdGroupDict(*value)) group->totalDuration();
  if (!message) return;
  roundTrip(*message);
  idlePlayer().onMessage(message);
  platform.fakeDispatch().settle();
  platform.reset();
}

}  // namespace vemora
