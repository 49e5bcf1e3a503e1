#include "AdRequest.h"

#include <utility>
#include <vector>

namespace vemora::check {

namespace {

constexpr const char* kRequest = R"json({
  "apikey": "vemora-serve-check",
  "params": {
    "channel_id": "0",
    "platform_type": "apple",
    "placement_type": "inline",
    "vpi": ["mp4", "tvjs", "vpaid_js"]
  },
  "custom": {},
  "playback": {},
  "device": {
    "ifa": null, "ua": null, "lang": "en_GB", "make": "Apple", "model": null, "os": null, "osv": null,
    "dnt": true, "lmt": true,
    "geo": {"country": null, "lat": null, "lon": null, "type": null}
  },
  "app": {
    "ext": {"vemorasdk": {"ver": "1.0.0", "name": "vemora-serve"}},
    "bundle": "org.example.check", "uid": "check", "ver": "1.0.0", "name": "vemora-serve", "id": "check"
  },
  "imp": {}
})json";

}  // namespace

JsonValue adRequest(const JsonValue& own) {
  const JsonValue base = JsonValue::parse(kRequest).value_or(nullptr);
  std::vector<JsonValue::Entry> entries(base.entries().begin(), base.entries().end());
  for (const JsonValue::Entry& entry : own.entries()) {
    const JsonValue before = base[entry.key.asString().value_or("")];
    if (!before.isObject() || !entry.value.isObject()) {
      entries.push_back(entry);
      continue;
    }
    std::vector<JsonValue::Entry> merged(before.entries().begin(), before.entries().end());
    merged.insert(merged.end(), entry.value.entries().begin(), entry.value.entries().end());
    entries.push_back({entry.key, JsonValue::object(std::move(merged))});
  }
  return JsonValue::object(std::move(entries));
}

}  // namespace vemora::check
