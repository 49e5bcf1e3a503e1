#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/Conversions.h"

#import <Foundation/Foundation.h>

#include <cstring>

namespace vemora::apple {

namespace {

class NativeObject final : public ExternalObject {
 public:
  explicit NativeObject(id object) : object_(object) {}
  id object() const { return object_; }

  ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) override;
  std::string className() const override { return toString(NSStringFromClass([object_ class])); }

 private:
  const id object_;
};

/// The object of an argument; a number where the receiver wants an object becomes an NSNumber.
struct ToObject {
  id operator()(std::monostate) const { return nil; }
  id operator()(bool value) const { return [NSNumber numberWithBool:value]; }
  id operator()(std::int64_t value) const { return [NSNumber numberWithLongLong:value]; }
  id operator()(double value) const { return [NSNumber numberWithDouble:value]; }
  id operator()(const std::string& text) const { return toNSString(text); }
  id operator()(const JsonValue& value) const { return apple::toObject(value); }
  // Measurement libraries watch the layer of a view.
  id operator()(const std::shared_ptr<View>& view) const { return view ? (__bridge id)view->layer() : nil; }
  id operator()(const std::shared_ptr<ExternalObject>& object) const {
    const auto native = std::dynamic_pointer_cast<NativeObject>(object);
    return native ? native->object() : nil;
  }
};

struct ToDouble {
  double operator()(bool value) const { return value; }
  double operator()(std::int64_t value) const { return static_cast<double>(value); }
  double operator()(double value) const { return value; }
  template <typename T>
  double operator()(const T&) const {
    return 0;
  }
};

struct ToInteger {
  std::int64_t operator()(bool value) const { return value; }
  std::int64_t operator()(std::int64_t value) const { return value; }
  std::int64_t operator()(double value) const { return static_cast<std::int64_t>(value); }
  template <typename T>
  std::int64_t operator()(const T&) const {
    return 0;
  }
};

/// The type of an encoding without its qualifiers, such as "const".
char typeOf(const char* encoding) {
  return encoding[std::strspn(encoding, "rnNoORV")];
}

template <typename T, typename Value>
void setNumber(NSInvocation* invocation, NSUInteger index, Value value) {
  T converted = static_cast<T>(value);
  [invocation setArgument:&converted atIndex:static_cast<NSInteger>(index)];
}

/// Writes an argument as the type that the receiver declares. False for a type that no argument has.
bool setArgument(NSInvocation* invocation, NSUInteger index, char type, const ExternalValue& value) {
  const double real = std::visit(ToDouble{}, value);
  const std::int64_t integer = std::visit(ToInteger{}, value);
  switch (type) {
    case '@':
    case '#': {
      __unsafe_unretained id object = nil;
      id kept = std::visit(ToObject{}, value);
      object = kept;
      [invocation setArgument:&object atIndex:static_cast<NSInteger>(index)];
      [invocation retainArguments];
      return true;
    }
    case 'd':
      return setNumber<double>(invocation, index, real), true;
    case 'f':
      return setNumber<float>(invocation, index, real), true;
    case 'B':
      return setNumber<bool>(invocation, index, integer), true;
    case 'c':
    case 'C':
      return setNumber<signed char>(invocation, index, integer), true;
    case 's':
    case 'S':
      return setNumber<short>(invocation, index, integer), true;
    case 'i':
    case 'I':
      return setNumber<int>(invocation, index, integer), true;
    case 'l':
    case 'L':
    case 'q':
    case 'Q':
      return setNumber<long long>(invocation, index, integer), true;
    default:
      return false;
  }
}

ExternalValue valueOf(id object) {
  if (!object) return {};
  if ([object isKindOfClass:[NSString class]]) return toString(object);
  if ([object isKindOfClass:[NSNumber class]] || [object isKindOfClass:[NSArray class]] ||
      [object isKindOfClass:[NSDictionary class]]) {
    return toJson(object);
  }
  return std::shared_ptr<ExternalObject>(std::make_shared<NativeObject>(object));
}

template <typename T>
T returnOf(NSInvocation* invocation) {
  T value{};
  [invocation getReturnValue:&value];
  return value;
}

ExternalValue resultOf(NSInvocation* invocation, NSMethodSignature* signature) {
  switch (typeOf([signature methodReturnType])) {
    case '@':
    case '#': {
      __unsafe_unretained id object = nil;
      [invocation getReturnValue:&object];
      return valueOf(object);
    }
    case 'B':
      return returnOf<bool>(invocation);
    case 'c':  // The type of BOOL on some devices.
    case 'C':
      return returnOf<signed char>(invocation) != 0;
    case 's':
      return static_cast<std::int64_t>(returnOf<short>(invocation));
    case 'i':
    case 'I':
      return static_cast<std::int64_t>(returnOf<int>(invocation));
    case 'l':
    case 'L':
    case 'q':
    case 'Q':
      return static_cast<std::int64_t>(returnOf<long long>(invocation));
    case 'f':
      return static_cast<double>(returnOf<float>(invocation));
    case 'd':
      return returnOf<double>(invocation);
    default:
      return {};
  }
}

/// nil when the receiver does not support the selector with as many arguments of these types.
NSInvocation* invocationOf(SEL selector, NSMethodSignature* signature,
                           const std::vector<ExternalValue>& arguments) {
  constexpr NSUInteger kImplicit = 2;  // The receiver and the selector.
  if (!signature || [signature numberOfArguments] != arguments.size() + kImplicit) return nil;
  NSInvocation* invocation = [NSInvocation invocationWithMethodSignature:signature];
  [invocation setSelector:selector];
  for (NSUInteger i = 0; i < arguments.size(); ++i) {
    const char type = typeOf([signature getArgumentTypeAtIndex:i + kImplicit]);
    if (!setArgument(invocation, i + kImplicit, type, arguments[i])) return nil;
  }
  return invocation;
}

SEL selectorOf(std::string_view name) {
  return NSSelectorFromString(toNSString(name) ?: @"");
}

ExternalValue sendTo(id receiver, std::string_view name, const std::vector<ExternalValue>& arguments) {
  @autoreleasepool {
    SEL selector = selectorOf(name);
    if (![receiver respondsToSelector:selector]) return {};
    NSMethodSignature* signature = [receiver methodSignatureForSelector:selector];
    NSInvocation* invocation = invocationOf(selector, signature, arguments);
    if (!invocation) return {};
    [invocation invokeWithTarget:receiver];
    return resultOf(invocation, signature);
  }
}

ExternalValue NativeObject::send(std::string_view selector, const std::vector<ExternalValue>& arguments) {
  return sendTo(object_, selector, arguments);
}

class NativeClass final : public ExternalClass {
 public:
  explicit NativeClass(Class native) : class_(native) {}

  ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) override {
    return sendTo(class_, selector, arguments);
  }

  std::shared_ptr<ExternalObject> create(std::string_view initialiser,
                                         const std::vector<ExternalValue>& arguments) override {
    @autoreleasepool {
      SEL selector = selectorOf(initialiser);
      if (![class_ instancesRespondToSelector:selector]) return nullptr;
      NSInvocation* invocation =
          invocationOf(selector, [class_ instanceMethodSignatureForSelector:selector], arguments);
      if (!invocation) return nullptr;
      // An initialiser takes over the reference of its receiver and returns one of its result, which
      // automatic counting does not see here.
      void* allocated = (__bridge_retained void*)[class_ alloc];
      [invocation invokeWithTarget:(__bridge id)allocated];
      void* made = nullptr;
      [invocation getReturnValue:&made];
      id object = (__bridge_transfer id)made;
      return object ? std::make_shared<NativeObject>(object) : nullptr;
    }
  }

  std::string className() const override { return toString(NSStringFromClass(class_)); }

 private:
  const Class class_;
};

class AppleClassRegistry final : public ClassRegistry {
 public:
  std::shared_ptr<ExternalClass> classNamed(std::string_view name) override {
    @autoreleasepool {
      Class found = NSClassFromString(toNSString(name) ?: @"");
      return found ? std::make_shared<NativeClass>(found) : nullptr;
    }
  }
};

}  // namespace

std::unique_ptr<ClassRegistry> makeClassRegistry() {
  return std::make_unique<AppleClassRegistry>();
}

}  // namespace vemora::apple
