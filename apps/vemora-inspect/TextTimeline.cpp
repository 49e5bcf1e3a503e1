#include "TextTimeline.h"

#include "recording/Hazards.h"
#include "recording/Timeline.h"

#include <map>
#include <string_view>

namespace vemora {

namespace {

constexpr std::size_t kLongestText = 160;
constexpr std::size_t kTimeWidth = 10;
constexpr std::size_t kLaneWidth = 9;

// ECMA-48, "select graphic rendition".
constexpr char kBold[] = "\033[1m";
constexpr char kDim[] = "\033[2m";
constexpr char kWarning[] = "\033[1;33m";
constexpr char kReset[] = "\033[0m";

/// Without control characters of ASCII and of the upper half (U+0080 to U+009F).
std::string withoutControls(std::string_view text) {
  std::string made;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    const bool isUpperControl = byte == 0xC2 && next >= 0x80 && next <= 0x9F;
    if (byte == '\n' || byte == '\t') {
      made += ' ';
    } else if (byte < 0x20 || byte == 0x7F || isUpperControl) {
      made += '?';
      i += isUpperControl ? 1 : 0;
    } else {
      made += text[i];
    }
  }
  return made;
}

std::string shown(std::string_view text) {
  std::string made = withoutControls(text);
  if (made.size() <= kLongestText) return made;
  std::size_t end = kLongestText;
  while (end > 0 && (static_cast<unsigned char>(made[end]) & 0xC0) == 0x80) --end;  // Whole characters.
  return made.substr(0, end) + "…";
}

std::string padded(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

class Writer {
 public:
  Writer(const Recording& recording, TextTimelineOptions options) : options_(options) {
    for (Hazard& hazard : hazardsOf(recording)) hazards_.emplace(hazard.line, std::move(hazard));
    for (const TimelineRow& row : timelineOf(recording)) add(row);
  }

  std::string finish(const std::string& name, const Recording& recording) const {
    std::string text = colour(kBold, withoutControls(name)) + "\n" + text_;
    if (recording.isCutOff) text += "The last line is cut off and was left out.\n";
    const std::size_t count = hazards_.size();
    return text + std::to_string(recording.records.size()) + " records, " + std::to_string(count) +
           (count == 1 ? " hazard\n" : " hazards\n");
  }

 private:
  void add(const TimelineRow& row) {
    const auto [first, last] = hazards_.equal_range(row.record->line);
    const bool isShown = !options_.showsHazardsOnly || first != last;
    if (isShown && row.record->session != session_ && row.record->session > 0) {
      session_ = row.record->session;
      text_ += colour(kBold, "session " + std::to_string(session_)) + "\n";
    }
    if (isShown) text_ += line(row);
    for (auto each = first; each != last; ++each) {
      const Hazard& hazard = each->second;
      text_ += colour(kWarning, "         ! " + hazard.name + ": " + withoutControls(hazard.says)) + "\n";
      text_ += "           To do: " + withoutControls(hazard.advice) + "\n";
    }
  }

  std::string line(const TimelineRow& row) const {
    std::string time = secondsText(row.record->time);
    if (time.size() < kTimeWidth) time.insert(0, kTimeWidth - time.size(), ' ');
    const std::string text = time + "  " + padded(row.lane, kLaneWidth) + shown(row.text);
    return (row.lane == std::string_view("log") ? colour(kDim, text) : text) + "\n";
  }

  std::string colour(const char* code, const std::string& text) const {
    return options_.isColoured ? code + text + kReset : text;
  }

  const TextTimelineOptions options_;
  std::multimap<std::size_t, Hazard> hazards_;
  std::string text_;
  std::uint64_t session_ = 0;
};

}  // namespace

std::string textTimeline(const std::string& name, const Recording& recording, TextTimelineOptions options) {
  return Writer(recording, options).finish(name, recording);
}

std::string jsonTimeline(const std::string& name, const Recording& recording) {
  std::vector<JsonValue> records;
  for (const TimelineRow& row : timelineOf(recording))
    records.push_back(JsonValue::object({{"line", row.record->line},
                                         {"lane", row.lane},
                                         {"text", row.text},
                                         {"record", row.record->members}}));
  std::vector<JsonValue> hazards;
  for (const Hazard& hazard : hazardsOf(recording))
    hazards.push_back(JsonValue::object({{"line", hazard.line},
                                         {"t", hazard.time},
                                         {"session", hazard.session},
                                         {"name", hazard.name},
                                         {"says", hazard.says},
                                         {"advice", hazard.advice}}));
  return JsonValue::object({{"file", name},
                            {"header", recording.header},
                            {"isCutOff", recording.isCutOff},
                            {"missing", recording.missing},
                            {"records", records},
                            {"hazards", hazards}})
      .serialized()
      .value_or("null");
}

}  // namespace vemora
