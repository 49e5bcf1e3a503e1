#pragma once

#include <Vemora/JsonValue.h>

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vemora {

class View;
class ExternalObject;

/// An argument or the result of a message to external code. `monostate` is "no value".
using ExternalValue = std::variant<std::monostate, bool, std::int64_t, double, std::string, JsonValue,
                                   std::shared_ptr<View>, std::shared_ptr<ExternalObject>>;

/// An object or a class of a library that this one was not built with. Messages are addressed by selector,
/// such as "initWithType:withPlayheadMillis:"; the receiver decides which selectors it supports.
///
/// Lifetime: Shared. The last reference releases the external object.
///
/// Threads: Main thread; the last reference may be dropped on any thread.
///
/// Completion: `send` and `create` return the result.
///
/// Errors: A selector that the receiver does not support gives no value.
class ExternalObject {
 public:
  virtual ~ExternalObject() = default;
  virtual ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) = 0;
  /// The name of the class, or of the class of the object.
  virtual std::string className() const = 0;
};

class ExternalClass : public ExternalObject {
 public:
  /// Makes an instance with an initialiser such as "init"; null when the class does not support it.
  virtual std::shared_ptr<ExternalObject> create(std::string_view initialiser,
                                                 const std::vector<ExternalValue>& arguments) = 0;
};

class ClassRegistry {
 public:
  virtual ~ClassRegistry() = default;
  /// Null when the process has no such class.
  virtual std::shared_ptr<ExternalClass> classNamed(std::string_view name) = 0;
};

}  // namespace vemora
