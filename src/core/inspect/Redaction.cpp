#include "core/inspect/Redaction.h"

#include "base/Ascii.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <utility>

namespace vemora::inspect {

namespace {

/// Shorter values are not looked for in other texts: a "1" is everywhere.
constexpr std::size_t kShortestSecret = 4;
constexpr double kSmallestNumber = 1000;

/// Members that are private wherever they are.
constexpr std::string_view kPrivateNames[] = {"ifa",
                                              "idfa",
                                              "gaid",
                                              "aaid",
                                              "advertisingid",
                                              "geo",
                                              "lat",
                                              "lon",
                                              "latitude",
                                              "longitude",
                                              "uid",
                                              "apikey",
                                              "api_key",
                                              "consent",
                                              "gdpr",
                                              "gdpr_consent",
                                              "gdprconsent",
                                              "user[consent]",
                                              "regs[gdpr]",
                                              "us_privacy",
                                              "addtl_consent",
                                              "gpp",
                                              "user%5bconsent%5d",
                                              "regs%5bgdpr%5d"};
/// Members of the payload that hold what the host has put into its request.
constexpr std::string_view kHostNames[] = {"params", "custom", "playback"};
/// Params that the SDK sets itself: their values are not secret and appear in every recording.
constexpr std::string_view kOwnParams[] = {"platform_type", "placement_type", "vpi"};

constexpr std::string_view kScriptBegin = "JSON.stringify(";
constexpr std::string_view kScriptEnd = "));";

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), asciiLower);
  return lower;
}

template <typename Names>
bool isOneOf(const Names& names, std::string_view name) {
  return std::any_of(std::begin(names), std::end(names),
                     [&](std::string_view known) { return equalsIgnoringCase(known, name); });
}

std::string percentEncoded(std::string_view text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isUnreserved = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                              std::string_view("-._~").find(c) != std::string_view::npos;
    if (isUnreserved) {
      encoded += c;
    } else {
      encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return encoded;
}

std::string escapedForJson(std::string_view text) {
  const std::string quoted = JsonValue(text).serialized().value_or("\"\"");
  return quoted.substr(1, quoted.size() - 2);
}

std::string replaced(std::string text, char from, char to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

bool endsName(char c) {
  return std::string_view("&;# \t\r\n\"'<>").find(c) != std::string_view::npos;
}

/// The values of private members in the query of an address, or of several in one text.
std::string withoutPrivateQuery(std::string_view text) {
  std::string made;
  std::size_t kept = 0;
  for (std::size_t mark = text.find_first_of("?&;"); mark != std::string_view::npos;
       mark = text.find_first_of("?&;", mark + 1)) {
    const std::size_t equals = text.find('=', mark);
    if (equals == std::string_view::npos) break;
    if (!isOneOf(kPrivateNames, text.substr(mark + 1, equals - mark - 1))) continue;
    std::size_t end = equals + 1;
    while (end < text.size() && !endsName(text[end])) ++end;
    if (end == equals + 1 || mark < kept) continue;
    made.append(text.substr(kept, equals + 1 - kept)).append(Redaction::kMark);
    kept = end;
  }
  return made.append(text.substr(kept));
}

}  // namespace

// Learning.

void Redaction::learn(const std::vector<JsonValue>& payloads) {
  secrets_ = {};
  numbers_.clear();
  for (const JsonValue& payload : payloads) learnPayload(payload);
  for (auto& bucket : secrets_)
    std::sort(bucket.begin(), bucket.end(),
              [](const Secret& a, const Secret& b) { return a.text.size() > b.text.size(); });
}

void Redaction::learnPayload(const JsonValue& payload) {
  const JsonValue device = payload["device"];
  learnTree(payload["apikey"], true);
  learnTree(device["ifa"], true);
  learnTree(device["geo"], true);
  learnTree(payload["app"]["uid"], true);
  for (const auto& [key, value] : payload["params"].entries()) {
    const std::string_view name = *key.asString();
    if (!isOneOf(kOwnParams, name)) learnTree(value, isOneOf(kPrivateNames, name));
  }
  learnTree(payload["custom"], false);
  learnTree(payload["playback"], false);
}

void Redaction::learnTree(const JsonValue& value, bool isPersonal) {
  for (const JsonValue& element : value.elements()) learnTree(element, isPersonal);
  for (const auto& entry : value.entries()) learnTree(entry.value, isPersonal);
  if (value.type() == JsonValue::Type::Boolean) return;
  if (value.isNumber() && std::isfinite(value.doubleValue()) &&
      (isPersonal || std::abs(value.doubleValue()) >= kSmallestNumber))
    numbers_.insert(value.doubleValue());
  const auto text = value.stringValue();
  if (!text) return;
  learnText(*text, isPersonal);
  // A coordinate may be text here and a number elsewhere.
  if (const auto number = value.isString() ? JsonValue::parse(*text) : std::nullopt)
    if (number->isNumber()) learnTree(*number, isPersonal);
}

void Redaction::learnText(std::string_view text, bool isPersonal) {
  if (text.size() < kShortestSecret) return;
  const std::string lower = lowerCase(text);
  const std::string encoded = lowerCase(percentEncoded(text));
  const std::string escaped = lowerCase(escapedForJson(text));
  addSecret(lower, isPersonal);
  for (const std::string& variant : {encoded, escaped, replaced(lower, ' ', '+')})
    if (variant != lower && variant.size() >= kShortestSecret) addSecret(variant, isPersonal);
}

void Redaction::addSecret(std::string text, bool isPersonal) {
  auto& bucket = secrets_.at(static_cast<unsigned char>(text.front()));
  const auto known =
      std::find_if(bucket.begin(), bucket.end(), [&](const Secret& secret) { return secret.text == text; });
  if (known == bucket.end()) {
    bucket.push_back({std::move(text), isPersonal});
  } else {
    known->isPersonal |= isPersonal;
  }
}

// Replacing.

JsonValue Redaction::redacted(std::string_view member, const JsonValue& value) const {
  if (member == "body") return message(value);
  if (member == "facts" || member == "error") return tree(value);
  if (member == "text" || member == "url" || member == "reason") return tree(value);
  if (member == "id" || member == "method" || member == "ad") return tree(value, Depth::Personal);
  return value;  // The recorder's own words and numbers.
}

JsonValue Redaction::message(const JsonValue& body) const {
  if (!body.isObject()) return tree(body);
  const std::string method(body["method"].asString().value_or(std::string_view()));
  std::vector<JsonValue::Entry> members;
  for (const auto& [key, value] : body.entries()) {
    const std::string_view name = *key.asString();
    if (name == "id" || name == "method" || name == "jsonrpc") {
      members.push_back({key, tree(value, Depth::Personal)});
      continue;
    }
    if (name != "params" || !value.isObject()) {
      members.push_back({key, entry({key, value})});
      continue;
    }
    std::vector<JsonValue::Entry> params;
    for (const auto& param : value.entries()) {
      const std::string_view paramName = *param.key.asString();
      if (method.starts_with("get.") && isOneOf(kHostNames, paramName)) {
        params.push_back({param.key, kMark});
      } else if (paramName == "event") {
        params.push_back({param.key, tree(param.value, Depth::Personal)});
      } else {
        params.push_back({param.key, entry(param)});
      }
    }
    members.push_back({key, JsonValue::object(std::move(params))});
  }
  return JsonValue::object(std::move(members));
}

JsonValue Redaction::tree(const JsonValue& value, Depth depth) const {
  if (value.isArray()) {
    std::vector<JsonValue> elements;
    for (const JsonValue& element : value.elements()) elements.push_back(tree(element, depth));
    return JsonValue::array(std::move(elements));
  }
  if (value.isObject()) {
    std::vector<JsonValue::Entry> entries;
    for (const auto& each : value.entries()) {
      JsonValue made = entry(each);
      entries.push_back({text(*each.key.asString(), Depth::Personal), std::move(made)});
    }
    return JsonValue::object(std::move(entries));
  }
  if (const auto string = value.asString()) return text(*string, depth);
  const bool isSecretNumber = value.isNumber() && value.type() != JsonValue::Type::Boolean &&
                              depth == Depth::Everything && numbers_.contains(value.doubleValue());
  return isSecretNumber ? JsonValue(kMark) : value;
}

JsonValue Redaction::entry(const JsonValue::Entry& entry) const {
  const std::string_view name = *entry.key.asString();
  if (!entry.value.isNull() && isOneOf(kPrivateNames, name)) return kMark;
  return tree(entry.value, name == "id" ? Depth::Personal : Depth::Everything);
}

std::string Redaction::text(std::string_view text, Depth depth) const {
  return withoutPrivateQuery(withoutSecrets(withoutScript(text), depth));
}

/// A call of the page's bridge contains a whole message: its short values are only known by their members.
std::string Redaction::withoutScript(std::string_view text) const {
  const std::size_t begin = text.find(kScriptBegin);
  const std::size_t end = text.rfind(kScriptEnd);
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin + kScriptBegin.size())
    return std::string(text);
  const std::size_t first = begin + kScriptBegin.size();
  const auto body = JsonValue::parse(text.substr(first, end - first));
  const auto shown = body ? message(*body).serialized() : std::nullopt;
  return std::string(text.substr(0, first)) + shown.value_or(kMark) + std::string(text.substr(end));
}

std::string Redaction::withoutSecrets(std::string_view text, Depth depth) const {
  const std::string lower = lowerCase(text);
  std::string made;
  for (std::size_t i = 0; i < text.size();) {
    const Secret* secret = secretAt(lower, i, depth);
    if (secret) {
      made += kMark;
      i += secret->text.size();
    } else {
      made += text[i++];
    }
  }
  return made;
}

const Redaction::Secret* Redaction::secretAt(std::string_view lowerCase, std::size_t position,
                                             Depth depth) const {
  const auto rest = lowerCase.substr(position);
  for (const Secret& secret : secrets_.at(static_cast<unsigned char>(rest.front()))) {
    if ((depth == Depth::Everything || secret.isPersonal) && rest.starts_with(secret.text)) return &secret;
  }
  return nullptr;
}

}  // namespace vemora::inspect
