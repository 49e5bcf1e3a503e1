#include "backends/gtk/GtkPorts.h"
#include "base/Mutex.h"
#include "ports/View.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraViewability.h>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace vemora::gtk {

namespace {

/// The least that a structure must hold for its magic, version and size to be read.
constexpr std::size_t kHeaderSize = offsetof(VemoraExternalClass, name);

/// Why a class cannot be used; null when it can.
const char* refusal(const VemoraExternalClass* candidate) {
  if (!candidate) return "there is none";
  if (candidate->magic != VEMORA_EXTERNAL_CLASS_MAGIC) return "it is not an external class";
  if (candidate->abiVersion != VEMORA_EXTERNAL_ABI_VERSION) return "it was built for another version";
  if (candidate->structSize < sizeof(VemoraExternalClass)) return "it is incomplete";
  if (!candidate->name || !*candidate->name) return "it has no name";
  if (!candidate->send || !candidate->retain || !candidate->release) return "it lacks a function";
  return nullptr;
}

/// Keeps the library loaded, because its code may be called at any time.
void keepLibraryLoaded(const void* address) {
  Dl_info library{};
  if (!dladdr(address, &library) || !library.dli_fname) return;
  if (void* handle = dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE)) dlclose(handle);
}

/// The arguments of one call in their C form; holds the texts that they point at.
class Arguments {
 public:
  explicit Arguments(const std::vector<ExternalValue>& values) {
    texts_.reserve(values.size());
    values_.reserve(values.size());
    for (const ExternalValue& value : values) {
      values_.push_back(std::visit([this](const auto& held) { return convert(held); }, value));
    }
  }

  const VemoraExternalValue* data() const { return values_.data(); }
  std::size_t size() const { return values_.size(); }

 private:
  static VemoraExternalValue valueOfType(VemoraExternalValueType type) {
    VemoraExternalValue value{};
    value.type = type;
    return value;
  }
  VemoraExternalValue textOfType(VemoraExternalValueType type, std::string text) {
    texts_.push_back(std::move(text));
    VemoraExternalValue value = valueOfType(type);
    value.as.string = {texts_.back().c_str(), texts_.back().size()};
    return value;
  }

  VemoraExternalValue convert(std::monostate) { return valueOfType(VEMORA_EXTERNAL_NONE); }
  VemoraExternalValue convert(bool boolean) {
    VemoraExternalValue value = valueOfType(VEMORA_EXTERNAL_BOOL);
    value.as.boolean = boolean;
    return value;
  }
  VemoraExternalValue convert(std::int64_t integer) {
    VemoraExternalValue value = valueOfType(VEMORA_EXTERNAL_INT64);
    value.as.integer = integer;
    return value;
  }
  VemoraExternalValue convert(double real) {
    VemoraExternalValue value = valueOfType(VEMORA_EXTERNAL_DOUBLE);
    value.as.real = real;
    return value;
  }
  VemoraExternalValue convert(const std::string& text) { return textOfType(VEMORA_EXTERNAL_STRING, text); }
  VemoraExternalValue convert(const JsonValue& json);
  VemoraExternalValue convert(const std::shared_ptr<View>& view) {
    if (!view) return valueOfType(VEMORA_EXTERNAL_NONE);
    VemoraExternalValue value = valueOfType(VEMORA_EXTERNAL_VIEW);
    value.as.view = view->layer();
    return value;
  }
  VemoraExternalValue convert(const std::shared_ptr<ExternalObject>& object);

  std::vector<std::string> texts_;
  std::vector<VemoraExternalValue> values_;
};

VemoraExternalValue Arguments::convert(const JsonValue& json) {
  switch (json.type()) {
    case JsonValue::Type::Null:
      return convert(std::monostate());
    case JsonValue::Type::Boolean:
      return convert(json.boolValue());
    case JsonValue::Type::Integer:
      return convert(json.integerValue());
    case JsonValue::Type::Unsigned:
    case JsonValue::Type::Double:
      return convert(json.doubleValue());
    case JsonValue::Type::String:
      return convert(std::string(*json.asString()));
    case JsonValue::Type::Array:
    case JsonValue::Type::Object:
      break;
  }
  std::optional<std::string> text = json.serialized();
  return text ? textOfType(VEMORA_EXTERNAL_JSON, std::move(*text)) : convert(std::monostate());
}

/// Common base of external objects and classes: a receiver of messages.
class ForeignReceiver {
 public:
  virtual ~ForeignReceiver() = default;
  virtual VemoraExternalObject receiver() const = 0;
};

VemoraExternalValue Arguments::convert(const std::shared_ptr<ExternalObject>& object) {
  const auto* foreign = dynamic_cast<const ForeignReceiver*>(object.get());
  if (!foreign) return valueOfType(VEMORA_EXTERNAL_NONE);
  VemoraExternalValue value = valueOfType(VEMORA_EXTERNAL_OBJECT);
  value.as.object = foreign->receiver();
  return value;
}

ExternalValue valueFromResult(const VemoraExternalValue& result);

ExternalValue sendMessage(const VemoraExternalObject& receiver, std::string_view selector,
                          const std::vector<ExternalValue>& arguments) {
  const Arguments converted(arguments);
  VemoraExternalValue result{};
  const bool understood = receiver.isa->send(receiver.instance, std::string(selector).c_str(),
                                             converted.data(), converted.size(), &result);
  return understood ? valueFromResult(result) : ExternalValue();
}

class ForeignObject final : public ExternalObject, public ForeignReceiver {
 public:
  /// Takes over one reference.
  explicit ForeignObject(const VemoraExternalObject& object) : object_(object) {}
  ~ForeignObject() override {
    if (dispatch().isMainThread()) {
      object_.isa->release(object_.instance);
    } else {
      // External objects are released on the main thread, whichever thread drops the last reference.
      dispatch().mainAsync([object = object_] { object.isa->release(object.instance); });
    }
  }
  ForeignObject(const ForeignObject&) = delete;
  ForeignObject& operator=(const ForeignObject&) = delete;

  VemoraExternalObject receiver() const override { return object_; }
  ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) override {
    assertMainThread();
    return sendMessage(object_, selector, arguments);
  }
  std::string className() const override { return object_.isa->name; }

 private:
  const VemoraExternalObject object_;
};

class ForeignClass final : public ExternalClass, public ForeignReceiver {
 public:
  explicit ForeignClass(const VemoraExternalClass& isa) : isa_(isa) { keepLibraryLoaded(&isa); }

  VemoraExternalObject receiver() const override { return {&isa_, nullptr}; }
  ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) override {
    assertMainThread();
    return sendMessage(receiver(), selector, arguments);
  }
  std::string className() const override { return isa_.name; }
  std::shared_ptr<ExternalObject> create(std::string_view initialiser,
                                         const std::vector<ExternalValue>& arguments) override {
    assertMainThread();
    if (!isa_.create) return nullptr;
    const Arguments converted(arguments);
    void* instance = isa_.create(std::string(initialiser).c_str(), converted.data(), converted.size());
    if (!instance) return nullptr;
    return std::make_shared<ForeignObject>(VemoraExternalObject{&isa_, instance});
  }

 private:
  const VemoraExternalClass& isa_;
};

ExternalValue objectFromResult(const VemoraExternalObject& object) {
  if (refusal(object.isa)) return {};
  if (!object.instance) return std::shared_ptr<ExternalObject>(std::make_shared<ForeignClass>(*object.isa));
  return std::shared_ptr<ExternalObject>(std::make_shared<ForeignObject>(object));
}

ExternalValue valueFromResult(const VemoraExternalValue& result) {
  const auto text = [&result]() -> std::string_view {
    return result.as.string.text ? std::string_view(result.as.string.text, result.as.string.length) : "";
  };
  switch (result.type) {
    case VEMORA_EXTERNAL_BOOL:
      return result.as.boolean;
    case VEMORA_EXTERNAL_INT64:
      return result.as.integer;
    case VEMORA_EXTERNAL_DOUBLE:
      return result.as.real;
    case VEMORA_EXTERNAL_STRING:
      return std::string(text());
    case VEMORA_EXTERNAL_JSON:
      if (std::optional<JsonValue> json = JsonValue::parse(text())) return *std::move(json);
      return {};
    case VEMORA_EXTERNAL_OBJECT:
      return objectFromResult(result.as.object);
    default:
      return {};
  }
}

/// The classes that the host application or a shim has made known. Never destroyed: a library may take its
/// class back while the process ends.
class Registrations {
 public:
  static Registrations& shared() {
    static Registrations& registrations = *new Registrations;
    return registrations;
  }

  bool add(const VemoraExternalClass* candidate) VMR_EXCLUDES(mutex_) {
    if (const char* reason = refusal(candidate)) {
      Vemora::logError(std::string("External class not registered: ") + reason);
      return false;
    }
    const VemoraExternalClass* registered = nullptr;
    {
      MutexLock lock(mutex_);
      registered = classes_.try_emplace(candidate->name, candidate).first->second;
    }
    if (registered == candidate) return true;
    Vemora::logError(std::string("External class ") + candidate->name +
                     " not registered: there is another one of this name");
    return false;
  }

  void remove(const VemoraExternalClass* candidate) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    std::erase_if(classes_, [candidate](const auto& entry) { return entry.second == candidate; });
  }

  const VemoraExternalClass* find(std::string_view name) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    const auto found = classes_.find(name);
    return found == classes_.end() ? nullptr : found->second;
  }

 private:
  /// Guards `classes_`.
  Mutex mutex_;
  std::map<std::string, const VemoraExternalClass*, std::less<>> classes_ VMR_GUARDED_BY(mutex_);
};

/// True when the symbol is data and large enough for its header to be read.
bool isReadableData(void* symbol) {
  Dl_info where{};
  void* extra = nullptr;
  if (!dladdr1(symbol, &where, &extra, RTLD_DL_SYMENT) || !extra || where.dli_saddr != symbol) return false;
  const auto& entry = *static_cast<const ElfW(Sym)*>(extra);
  return ELF64_ST_TYPE(entry.st_info) == STT_OBJECT && entry.st_size >= kHeaderSize &&
         reinterpret_cast<std::uintptr_t>(symbol) % alignof(VemoraExternalClass) == 0;
}

/// Classes are symbols of the process, or registrations.
class DynamicClassRegistry final : public ClassRegistry {
 public:
  std::shared_ptr<ExternalClass> classNamed(std::string_view name) override {
    const VemoraExternalClass* found = Registrations::shared().find(name);
    if (!found) found = symbolNamed(std::string(name));
    return found ? classFor(*found) : nullptr;
  }

 private:
  /// Classes are asked for with every event: each is made once.
  std::shared_ptr<ExternalClass> classFor(const VemoraExternalClass& isa) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    std::shared_ptr<ForeignClass>& made = classes_[&isa];
    if (!made) made = std::make_shared<ForeignClass>(isa);
    return made;
  }

  const VemoraExternalClass* symbolNamed(const std::string& name) VMR_EXCLUDES(mutex_) {
    if (name.find('\0') != std::string::npos) return nullptr;
    void* symbol = dlsym(RTLD_DEFAULT, name.c_str());
    if (!symbol) return nullptr;
    const auto* candidate =
        isReadableData(symbol) ? static_cast<const VemoraExternalClass*>(symbol) : nullptr;
    const char* reason = candidate ? refusal(candidate) : "the symbol of its name is not an external class";
    if (!reason && name != candidate->name) reason = "its symbol has another name";
    if (!reason) return candidate;
    if (isFirstRefusal(name)) Vemora::logError("External class " + name + " not used: " + reason);
    return nullptr;
  }

  bool isFirstRefusal(const std::string& name) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    return refused_.insert(name).second;
  }

  /// Guards everything below.
  Mutex mutex_;
  std::map<const VemoraExternalClass*, std::shared_ptr<ForeignClass>> classes_ VMR_GUARDED_BY(mutex_);
  std::set<std::string> refused_ VMR_GUARDED_BY(mutex_);
};

}  // namespace

std::unique_ptr<ClassRegistry> makeClassRegistry() {
  return std::make_unique<DynamicClassRegistry>();
}

}  // namespace vemora::gtk

bool VemoraRegisterExternalClass(const VemoraExternalClass* externalClass) {
  return vemora::gtk::Registrations::shared().add(externalClass);
}

void VemoraUnregisterExternalClass(const VemoraExternalClass* externalClass) {
  vemora::gtk::Registrations::shared().remove(externalClass);
}
