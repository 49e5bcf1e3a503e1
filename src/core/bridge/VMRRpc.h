#pragma once

#include <Vemora/JsonValue.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// One JSON-RPC 2.0 message between the native side and the controller page: a request or notification, or a
/// response. Immutable; any thread.
class VMRRpc {
 public:
  /// The message in a JSON text; null when there is none in it.
  static std::shared_ptr<VMRRpc> messageWithString(std::string_view text);
  /// The message in a decoded JSON object; null when there is none in it.
  static std::shared_ptr<VMRRpc> messageWithProperties(const JsonValue& properties);
  /// The next identifier of the process: consecutive numbers from a random start. Any thread.
  static std::ptrdiff_t nextID();

  /// A request with a fresh id; null when there is neither a method nor any params.
  static std::shared_ptr<VMRRpc> initWithMethod(const JsonValue& method, const JsonValue& params);
  /// Null when the message would be invalid: see the validity rule in the source.
  static std::shared_ptr<VMRRpc> initWithID(const JsonValue& ID, const JsonValue& method,
                                            const JsonValue& params, const JsonValue& result,
                                            const JsonValue& error);

  const JsonValue& ID() const { return id_; }  ///< A string, never empty.
  /// A string, or null.
  const JsonValue& method() const { return method_; }
  const JsonValue& params() const { return params_; }
  const JsonValue& result() const { return result_; }
  const JsonValue& error() const { return error_; }

  bool isKindOf(std::string_view method) const;
  bool hasResult() const { return !result_.isNull(); }
  bool hasError() const { return !error_.isNull(); }
  bool isResponse() const;

  /// The members as they go onto the wire; null when params or error are of a type that has no entries to
  /// count.
  JsonValue properties() const;
  /// Compact JSON text of the properties; empty when they cannot be written.
  std::string jsonString() const;

  /// Replies carry this message's id and, on purpose, its method as well.
  std::shared_ptr<VMRRpc> replyWith(const JsonValue& result) const;
  std::shared_ptr<VMRRpc> replyWithError(const JsonValue& error) const;

 private:
  VMRRpc() = default;

  JsonValue id_;
  JsonValue method_;
  JsonValue params_;
  JsonValue result_;
  JsonValue error_;
};

}  // namespace vemora
