#pragma once

#include "base/Locked.h"

#include <Vemora/JsonValue.h>

#include <memory>
#include <optional>
#include <string>

namespace vemora {

/// The controller's configuration, stored unchanged. Any thread.
class VMRConfig {
 public:
  /// Never null; any value is accepted.
  static std::shared_ptr<VMRConfig> initWithConfigDict(const JsonValue& dictionary);

  /// True when viewability measurement is on: "features"/"moat" is a number other than zero.
  bool featureMOATEnabled() const;
  /// The viewability vendor's partner code; absent unless it is a string.
  std::optional<std::string> moatPartnerCode() const;

  /// The whole configuration.
  JsonValue configDict() const { return configDict_.get(); }
  void setConfigDict(JsonValue dictionary) { configDict_.set(std::move(dictionary)); }

 private:
  Locked<JsonValue> configDict_;
};

}  // namespace vemora
