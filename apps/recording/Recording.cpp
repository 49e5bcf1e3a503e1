#include "recording/Recording.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

namespace vemora {

namespace {

constexpr std::int64_t kVersion = 1;

std::string placed(const std::string& name, std::size_t line, const std::string& what) {
  return name + ":" + std::to_string(line) + ": " + what;
}

void checkHeader(const JsonValue& header, const std::string& name) {
  if (header["format"] != JsonValue("vemora-inspect"))
    throw BadRecording(
        placed(name, 1, "this is no recording: the first line has no \"format\":\"vemora-inspect\""));
  const JsonValue version = header["version"];
  if (!version.isNumber() || version.integerValue() < 1)
    throw BadRecording(placed(name, 1, "the header has no version"));
  if (version.integerValue() > kVersion)
    throw BadRecording(placed(name, 1,
                              "the recording has version " + version.stringValue().value_or("?") +
                                  ", and this program reads version " + std::to_string(kVersion) +
                                  ": use the program of the SDK that made it"));
}

Record recordOf(const JsonValue& members, std::size_t line, const std::string& name) {
  const JsonValue time = members["t"];
  const auto kind = members["kind"].asString();
  if (!time.isNumber() || time.integerValue() < 0 || !kind || kind->empty())
    throw BadRecording(placed(name, line, "a record needs a time \"t\" and a \"kind\""));
  return {line, time.integerValue(), std::string(*kind), members["session"].unsignedValue(), members};
}

}  // namespace

Recording Recording::read(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream || std::filesystem::is_directory(file))
    throw BadRecording(file.string() + ": " + (stream ? "this is a folder" : std::strerror(errno)));
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  return parse(text, file.string());
}

Recording Recording::parse(std::string_view text, const std::string& name) {
  if (text.empty()) throw BadRecording(name + ": the file is empty");
  Recording recording;
  std::size_t line = 0;
  while (!text.empty()) {
    ++line;
    const std::size_t end = text.find('\n');
    const auto members = JsonValue::parse(text.substr(0, end));
    if (!members || !members->isObject()) {
      // The process ended while it wrote the line.
      if (end == std::string_view::npos && line > 1) {
        recording.isCutOff = true;
        break;
      }
      throw BadRecording(placed(name, line,
                                line == 1 ? "this is no recording: the first line is no JSON object"
                                          : "the line is no JSON object"));
    }
    if (line == 1) {
      checkHeader(*members, name);
      recording.header = *members;
    } else {
      recording.records.push_back(recordOf(*members, line, name));
      if (recording.records.back().is("gap")) recording.missing += (*members)["count"].unsignedValue();
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return recording;
}

std::string secondsText(std::int64_t microseconds) {
  constexpr double kPerSecond = 1e6;
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", static_cast<double>(microseconds) / kPerSecond);
  return text;
}

std::string describeCallback(const JsonValue& callback) {
  std::string text = callback["name"].stringValue().value_or("?");
  if (const auto ad = callback["ad"].stringValue()) text += " " + *ad;
  if (const auto value = callback["value"].stringValue()) text += " " + *value;
  if (const auto ads = callback["ads"].stringValue()) text += ", " + *ads + (*ads == "1" ? " ad" : " ads");
  if (const JsonValue code = callback["error"]["code"]; !code.isNull())
    text += ", error " + code.stringValue().value_or("?");
  return text;
}

}  // namespace vemora
