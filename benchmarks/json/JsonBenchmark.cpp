#include "support/Messages.h"
#include "support/Report.h"

#include <Vemora/JsonValue.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

// Reads a message into a JsonValue and writes it, compared with two libraries. Reading includes releasing the
// value. Nothing else holds the strings of a message meanwhile. This is the most expensive case: every long
// string is interned and removed each time.

namespace {

using namespace vemora;
using namespace vemora::bench;

/// Keeps a result from being optimised away.
template <typename T>
void use(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

/// Nanoseconds of CPU time that one call takes.
template <typename Work>
double cost(std::size_t calls, Work work) {
  const Usage used = usageOf([&] {
    for (std::size_t i = 0; i < calls; ++i) work();
  });
  return used.cpu / static_cast<double>(calls) * 1e9;
}

std::size_t callsFor(const std::string& text) {
  return 4'000'000 / (text.size() + 100);
}

rapidjson::Document readByRapidJson(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag |
                 rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return document;
}

std::string writtenByRapidJson(const rapidjson::Document& document) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return {buffer.GetString(), buffer.GetSize()};
}

void compareReading(Report& report, const NamedMessage& message) {
  const std::string& text = message.text;
  const std::size_t calls = callsFor(text);
  const auto ours = [&] { return cost(calls, [&] { use(JsonValue::parse(text)); }); };
  const auto nlohmann = [&] { return cost(calls, [&] { use(nlohmann::json::parse(text)); }); };
  const auto rapid = [&] { return cost(calls, [&] { use(readByRapidJson(text)); }); };
  report.ratio("reading " + message.name, "ns", "nlohmann/json", takeTurns(report.rounds(21), nlohmann, ours),
               0.7);
  report.ratio("reading " + message.name, "ns", "RapidJSON's own DOM",
               takeTurns(report.rounds(21), rapid, ours), {});
}

void compareWriting(Report& report, const NamedMessage& message) {
  const std::size_t calls = callsFor(message.text);
  const JsonValue our = JsonValue::parse(message.text).value();
  const auto their = nlohmann::json::parse(message.text);
  const auto document = readByRapidJson(message.text);
  const auto ours = [&] { return cost(calls, [&] { use(our.serialized()); }); };
  const auto nlohmann = [&] { return cost(calls, [&] { use(their.dump()); }); };
  const auto rapid = [&] { return cost(calls, [&] { use(writtenByRapidJson(document)); }); };
  report.ratio("writing " + message.name, "ns", "nlohmann/json", takeTurns(report.rounds(21), nlohmann, ours),
               0.7);
  report.ratio("writing " + message.name, "ns", "RapidJSON's own DOM",
               takeTurns(report.rounds(21), rapid, ours), {});
}

/// The cost of an interned string compared with a plain one.
void measureInterning(Report& report) {
  std::vector<std::string> texts;
  for (int i = 0; i < 64; ++i) texts.push_back("a string of the usual length " + std::to_string(i));
  const auto plain = [&] {
    return cost(2000,
                [&] {
                  for (const std::string& text : texts) use(JsonValue(text));
                }) /
           64;
  };
  const auto interned = [&] {
    return cost(2000,
                [&] {
                  for (const std::string& text : texts) use(JsonValue::internedString(text));
                }) /
           64;
  };
  const Comparison fresh = takeTurns(report.rounds(21), plain, interned);
  std::vector<JsonValue> held;
  for (const std::string& text : texts) held.push_back(JsonValue::internedString(text));
  const Comparison known = takeTurns(report.rounds(21), plain, interned);
  report.ratio("interning a new string", "ns", "a plain string", fresh, {});
  report.ratio("interning a string in use", "ns", "a plain string", known, {});
}

/// Reads a million random doubles, each written with 17 digits, and counts those that come back changed.
void countMisreadDoubles(Report& report) {
  std::mt19937_64 random(20240229);
  int misread = 0;
  for (int count = 0; count < 1'000'000;) {
    const std::uint64_t bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    ++count;
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", number);
    const auto value = JsonValue::parse(text);
    if (!value || value->doubleValue() != number) ++misread;
  }
  report.value("misread of a million random doubles", "doubles", misread, 0);
}

}  // namespace

int main(int argc, char** argv) {
  Report report("JSON, CPU time", argc, argv);
  for (const NamedMessage& message : allMessages()) compareReading(report, message);
  for (const NamedMessage& message : allMessages()) compareWriting(report, message);
  measureInterning(report);
  countMisreadDoubles(report);
  return report.finish();
}
