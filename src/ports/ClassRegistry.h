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

/// What goes into and comes out of a message to outside code. `monostate` is "no value".
using ExternalValue = std::variant<std::monostate, bool, std::int64_t, double, std::string, JsonValue,
                                   std::shared_ptr<View>, std::shared_ptr<ExternalObject>>;

/// An object, or a class, of a library that was not there when this one was built. Messages go by selector
/// text, such as "initWithType:withPlayheadMillis:"; the receiver decides what it understands.
///
/// Lifetime: shared; the outside object is let go of with the last reference.
/// Threads: the main thread.
/// Completion: sending returns with the answer.
/// Errors: a selector that the receiver does not understand answers with no value.
class ExternalObject {
 public:
  virtual ~ExternalObject() = default;
  virtual ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) = 0;
  /// Of an object, the name of its class; of a class, its own.
  virtual std::string className() const = 0;
};

class ExternalClass : public ExternalObject {
 public:
  /// A new instance made with an initialiser such as "init"; null when the class does not understand it.
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
