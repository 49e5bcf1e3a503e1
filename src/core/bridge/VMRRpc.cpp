#include "core/bridge/VMRRpc.h"

#include "base/Mutex.h"
#include "ports/Platform.h"

namespace vemora {

namespace {

/// Absent for what has no length: anything but a string or nothing at all.
std::optional<std::size_t> length(const JsonValue& text) {
  if (text.isNull()) return 0;
  const auto string = text.asString();
  return string ? std::optional(string->size()) : std::nullopt;
}

/// Absent for what has no entries to count: anything but an object, an array or nothing at all.
std::optional<std::size_t> entryCount(const JsonValue& container) {
  return container.isNull() ? std::optional<std::size_t>(0) : container.count();
}

/// A message needs a method, or params with entries, or any result, or an error with entries. An empty result
/// counts and an empty error does not: kept on purpose. The members are tested in
/// this order up to the first one that makes the message valid; those after it may be of any type.
bool isValid(const JsonValue& method, const JsonValue& params, const JsonValue& result,
             const JsonValue& error) {
  const auto methodLength = length(method);
  if (!methodLength || *methodLength > 0) return methodLength.has_value();
  const auto paramCount = entryCount(params);
  if (!paramCount || *paramCount > 0) return paramCount.has_value();
  return !result.isNull() || entryCount(error).value_or(0) > 0;
}

}  // namespace

std::shared_ptr<VMRRpc> VMRRpc::messageWithString(std::string_view text) {
  const std::optional<JsonValue> decoded = JsonValue::parse(text);
  return decoded ? messageWithProperties(*decoded) : nullptr;
}

std::shared_ptr<VMRRpc> VMRRpc::messageWithProperties(const JsonValue& properties) {
  if (!properties.isObject()) return nullptr;
  return initWithID(properties["id"], properties["method"], properties["params"], properties["result"],
                    properties["error"]);
}

std::ptrdiff_t VMRRpc::nextID() {
  struct Counter {
    Mutex mutex;  ///< Guards `next`. Nothing is locked under it.
    // Unsigned, so that it wraps at the end of its range.
    std::size_t next VMR_GUARDED_BY(mutex) = Platform::shared().system().randomUInt32();
  };
  static Counter& counter = *new Counter;
  MutexLock lock(counter.mutex);
  return static_cast<std::ptrdiff_t>(counter.next++);
}

std::shared_ptr<VMRRpc> VMRRpc::initWithMethod(const JsonValue& method, const JsonValue& params) {
  return initWithID(nullptr, method, params, nullptr, nullptr);
}

std::shared_ptr<VMRRpc> VMRRpc::initWithID(const JsonValue& ID, const JsonValue& method,
                                           const JsonValue& params, const JsonValue& result,
                                           const JsonValue& error) {
  const auto idLength = length(ID);
  if (!idLength) return nullptr;
  // A message that turns out invalid has taken its id all the same.
  const JsonValue id = *idLength > 0 ? ID : JsonValue::internedString(std::to_string(nextID()));
  if (!isValid(method, params, result, error)) return nullptr;
  std::shared_ptr<VMRRpc> message(new VMRRpc);
  message->id_ = id;
  message->method_ = method;
  message->params_ = params;
  message->result_ = result;
  message->error_ = error;
  return message;
}

bool VMRRpc::isKindOf(std::string_view method) const {
  return method_.asString() == method;
}

bool VMRRpc::isResponse() const {
  return hasResult() || hasError() || method_.asString().value_or(std::string_view()).empty();
}

JsonValue VMRRpc::properties() const {
  std::vector<JsonValue::Entry> members = {{"jsonrpc", "2.0"}, {"id", id_}};
  if (length(method_).value_or(0) > 0) members.push_back({"method", method_});
  const auto addIfAny = [&](const char* key, const JsonValue& value) {
    const auto count = entryCount(value);
    if (count.value_or(0) > 0) members.push_back({key, value});
    return count.has_value();
  };
  const bool allCount =
      addIfAny("params", params_) && addIfAny("result", result_) && addIfAny("error", error_);
  return allCount ? JsonValue::object(std::move(members)) : nullptr;
}

std::string VMRRpc::jsonString() const {
  const JsonValue members = properties();
  return members.isNull() ? std::string() : members.serialized().value_or(std::string());
}

std::shared_ptr<VMRRpc> VMRRpc::replyWith(const JsonValue& result) const {
  return initWithID(id_, method_, nullptr, result, nullptr);
}

std::shared_ptr<VMRRpc> VMRRpc::replyWithError(const JsonValue& error) const {
  return initWithID(id_, method_, nullptr, nullptr, error);
}

}  // namespace vemora
