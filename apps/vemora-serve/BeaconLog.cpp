#include "BeaconLog.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace vemora {
namespace {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void writeMember(JsonWriter& writer, const char* name, const std::string& text) {
  writer.Key(name);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

}  // namespace

std::string beaconsAsJson(const std::vector<Beacon>& beacons) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  writer.StartObject();
  writer.Key("count");
  writer.Uint64(beacons.size());
  writer.Key("beacons");
  writer.StartArray();
  for (const Beacon& beacon : beacons) {
    writer.StartObject();
    writeMember(writer, "method", beacon.method);
    writeMember(writer, "path", beacon.path);
    writeMember(writer, "query", beacon.query);
    writeMember(writer, "userAgent", beacon.userAgent);
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace vemora
