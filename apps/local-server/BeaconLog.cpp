#include "BeaconLog.h"

#include <Vemora/JsonValue.h>

namespace vemora {

std::string beaconsAsJson(const std::vector<Beacon>& beacons) {
  std::vector<JsonValue> list;
  list.reserve(beacons.size());
  for (const Beacon& beacon : beacons) {
    list.push_back(JsonValue::object({{"method", beacon.method},
                                      {"path", beacon.path},
                                      {"query", beacon.query},
                                      {"userAgent", beacon.userAgent}}));
  }
  return JsonValue::object({{"count", beacons.size()}, {"beacons", JsonValue::array(std::move(list))}})
      .serialized()
      .value_or("null");
}

}  // namespace vemora
