#include "RecordingViewabilityLibrary.h"

#include <Vemora/VemoraViewability.h>

#include <cstdio>
#include <string>
#include <string_view>

// A viewability library that measures nothing and records every call. Opened with dlopen; it does not link
// Vemora.

namespace {

struct Instance {
  const VemoraExternalClass* isa;
  int number;
  int references;
};

std::string record;
int nextNumber = 1;
int liveInstances = 0;
bool acceptsAds = true;

std::string nameOf(const VemoraExternalClass* isa, const void* instance) {
  if (!instance) return isa->name;
  return std::string(isa->name) + "#" + std::to_string(static_cast<const Instance*>(instance)->number);
}

std::string quoted(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') json += '\\';
    if (static_cast<unsigned char>(c) >= 0x20) {
      json += c;
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      json += escape;
    }
  }
  return json + "\"";
}

std::string number(double real) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", real);
  return text;
}

std::string described(const VemoraExternalValue& value) {
  switch (value.type) {
    case VEMORA_EXTERNAL_BOOL:
      return value.as.boolean ? "true" : "false";
    case VEMORA_EXTERNAL_INT64:
      return std::to_string(value.as.integer);
    case VEMORA_EXTERNAL_DOUBLE:
      return number(value.as.real);
    case VEMORA_EXTERNAL_STRING:
      return quoted({value.as.string.text, value.as.string.length});
    case VEMORA_EXTERNAL_JSON:
      return {value.as.string.text, value.as.string.length};
    case VEMORA_EXTERNAL_OBJECT:
      return quoted(nameOf(value.as.object.isa, value.as.object.instance));
    case VEMORA_EXTERNAL_VIEW:
      return value.as.view ? "\"view\"" : "null";
    default:
      return "null";
  }
}

void note(const std::string& receiver, const char* verb, const char* selector,
          const VemoraExternalValue* arguments, std::size_t count, const std::string& made = {}) {
  record += "{\"to\":" + quoted(receiver) + ",\"" + verb + "\":" + quoted(selector) + ",\"arguments\":[";
  for (std::size_t i = 0; i < count; ++i) record += (i ? "," : "") + described(arguments[i]);
  record += made.empty() ? "]}\n" : "],\"made\":" + quoted(made) + "}\n";
}

Instance* newInstance(const VemoraExternalClass& isa) {
  ++liveInstances;
  return new Instance{&isa, nextNumber++, 1};
}

void retain(void* instance) {
  ++static_cast<Instance*>(instance)->references;
}

void release(void* instance) {
  auto* object = static_cast<Instance*>(instance);
  if (--object->references > 0) return;
  record += "{\"to\":" + quoted(nameOf(object->isa, object)) + ",\"dealloc\":true}\n";
  --liveInstances;
  delete object;
}

template <const VemoraExternalClass& isa>
void* create(const char* initialiser, const VemoraExternalValue* arguments, std::size_t count) {
  Instance* made = newInstance(isa);
  note(isa.name, "create", initialiser, arguments, count, nameOf(&isa, made));
  return made;
}

void answerWith(VemoraExternalValue* result, const VemoraExternalClass& isa, void* instance) {
  result->type = VEMORA_EXTERNAL_OBJECT;
  result->as.object = {&isa, instance};
}

template <const VemoraExternalClass& isa>
bool send(void* receiver, const char* selector, const VemoraExternalValue* arguments, std::size_t count,
          VemoraExternalValue* result) {
  const std::string_view name = selector;
  const bool makes = !receiver && (name == "sharedInstance" || name == "trackerWithPartnerCode:");
  Instance* made = makes ? newInstance(isa) : nullptr;
  note(nameOf(&isa, receiver), "send", selector, arguments, count, made ? nameOf(&isa, made) : "");
  if (made) answerWith(result, isa, made);
  if (name == "trackVideoAd:withLayer:withDurationMillis:") {
    result->type = VEMORA_EXTERNAL_BOOL;
    result->as.boolean = acceptsAds;
  }
  return true;
}

}  // namespace

#define RECORDING_CLASS(name)                \
  extern "C" const VemoraExternalClass name; \
  VEMORA_EXTERNAL_CLASS(name) = {            \
      VEMORA_EXTERNAL_CLASS_HEADER, #name, create<name>, send<name>, retain, release}

RECORDING_CLASS(VEMORAMoatOptions);
RECORDING_CLASS(VEMORAMoatAnalytics);
RECORDING_CLASS(VEMORAMoatReactiveVideoTracker);
RECORDING_CLASS(VEMORAMoatAdEvent);

extern "C" {

VEMORA_EXPORT const char* RecordingViewabilityLibraryRecord() {
  return record.c_str();
}

VEMORA_EXPORT void RecordingViewabilityLibraryClear() {
  record.clear();
  nextNumber = 1;
}

VEMORA_EXPORT void RecordingViewabilityLibrarySetAcceptsAds(bool accepts) {
  acceptsAds = accepts;
}

VEMORA_EXPORT int RecordingViewabilityLibraryLiveInstances() {
  return liveInstances;
}
}
