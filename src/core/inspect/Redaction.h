#pragma once

#include <Vemora/JsonValue.h>

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::inspect {

/// Replaces private values in what is recorded. It knows them by the members that hold them, and by the
/// payloads of ad requests, whose values it then finds anywhere. One thread at a time.
class Redaction {
 public:
  static constexpr char kMark[] = "[redacted]";

  /// Forgets what it has learnt and learns the values in these payloads.
  void learn(const std::vector<JsonValue>& payloads);
  /// The value of a record's member as it may be written.
  JsonValue redacted(std::string_view member, const JsonValue& value) const;

 private:
  /// Names and ids of the protocol keep the params' texts, or a record could not be read; nothing keeps what
  /// identifies a person.
  enum class Depth { Personal, Everything };
  struct Secret {
    std::string text;  ///< In lower case.
    bool isPersonal;
  };

  void learnPayload(const JsonValue& payload);
  void learnTree(const JsonValue& value, bool isPersonal);
  void learnText(std::string_view text, bool isPersonal);
  void addSecret(std::string text, bool isPersonal);

  JsonValue message(const JsonValue& body) const;
  JsonValue tree(const JsonValue& value, Depth depth = Depth::Everything) const;
  JsonValue entry(const JsonValue::Entry& entry) const;
  std::string text(std::string_view text, Depth depth = Depth::Everything) const;
  std::string withoutScript(std::string_view text) const;
  std::string withoutSecrets(std::string_view text, Depth depth) const;
  const Secret* secretAt(std::string_view lowerCase, std::size_t position, Depth depth) const;

  /// By their first byte; the longest first.
  std::array<std::vector<Secret>, 256> secrets_;
  std::set<double> numbers_;
};

}  // namespace vemora::inspect
