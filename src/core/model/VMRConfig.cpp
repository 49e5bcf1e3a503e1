#include "core/model/VMRConfig.h"

namespace vemora {

std::shared_ptr<VMRConfig> VMRConfig::initWithConfigDict(const JsonValue& dictionary) {
  auto config = std::make_shared<VMRConfig>();
  config->setConfigDict(dictionary);
  return config;
}

bool VMRConfig::featureMOATEnabled() const {
  const JsonValue moat = configDict()["features"]["moat"];
  return moat.isNumber() && moat.boolValue();
}

std::optional<std::string> VMRConfig::moatPartnerCode() const {
  const JsonValue code = configDict()["moat_partner_code"];
  return code.isString() ? code.stringValue() : std::nullopt;
}

}  // namespace vemora
