#include "backends/testing/TestingClassRegistry.h"

#include "ports/View.h"

#include <sstream>
#include <utility>

namespace vemora::testing {

namespace {

std::vector<std::string>& processStartLines() {
  static auto& lines = *new std::vector<std::string>;
  return lines;
}

class RecordedObject final : public ExternalObject {
 public:
  RecordedObject(FakeClassRegistry& registry, std::string className, std::string description)
      : registry_(registry), className_(std::move(className)), description_(std::move(description)) {}

  ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) override;
  std::string className() const override { return className_; }
  const std::string& description() const { return description_; }

 private:
  FakeClassRegistry& registry_;
  const std::string className_;
  const std::string description_;
};

struct Describe {
  std::string operator()(std::monostate) const { return "none"; }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const {
    std::ostringstream text;
    text << value;
    return text.str();
  }
  std::string operator()(const std::string& text) const { return text; }
  std::string operator()(const JsonValue& value) const { return value.serialized().value_or("?"); }
  std::string operator()(const std::shared_ptr<View>& view) const { return view ? "view" : "no view"; }
  std::string operator()(const std::shared_ptr<ExternalObject>& object) const {
    const auto recorded = std::dynamic_pointer_cast<RecordedObject>(object);
    return recorded ? recorded->description() : "no object";
  }
};

std::string describeCall(const std::string& receiver, std::string_view selector,
                         const std::vector<ExternalValue>& arguments) {
  std::string line = receiver + " " + std::string(selector);
  for (const ExternalValue& argument : arguments) line += " " + std::visit(Describe{}, argument);
  return line;
}

ExternalValue RecordedObject::send(std::string_view selector, const std::vector<ExternalValue>& arguments) {
  registry_.write(describeCall(className_, selector, arguments));
  if (selector == "trackVideoAd:withLayer:withDurationMillis:") return registry_.acceptsViews();
  return {};
}

class RecordedClass final : public ExternalClass {
 public:
  RecordedClass(FakeClassRegistry& registry, std::string name)
      : registry_(registry), name_(std::move(name)) {}

  ExternalValue send(std::string_view selector, const std::vector<ExternalValue>& arguments) override {
    registry_.write("+" + describeCall(name_, selector, arguments));
    if (selector != "sharedInstance" && selector != "trackerWithPartnerCode:") return {};
    return std::shared_ptr<ExternalObject>(std::make_shared<RecordedObject>(registry_, name_, name_));
  }

  std::shared_ptr<ExternalObject> create(std::string_view initialiser,
                                         const std::vector<ExternalValue>& arguments) override {
    if (initialiser == "init") return std::make_shared<RecordedObject>(registry_, name_, "options");
    if (initialiser != "initWithType:withPlayheadMillis:") return nullptr;
    const std::string description = "event(" + std::visit(Describe{}, arguments.at(0)) + ", " +
                                    std::visit(Describe{}, arguments.at(1)) + ")";
    return std::make_shared<RecordedObject>(registry_, name_, description);
  }

  std::string className() const override { return name_; }

 private:
  FakeClassRegistry& registry_;
  const std::string name_;
};

}  // namespace

std::shared_ptr<ExternalClass> FakeClassRegistry::classNamed(std::string_view name) {
  const auto found = classes_.find(name);
  return found == classes_.end() ? nullptr : found->second;
}

void FakeClassRegistry::installMoat() {
  for (const char* name :
       {"VEMORAMoatOptions", "VEMORAMoatAnalytics", "VEMORAMoatReactiveVideoTracker", "VEMORAMoatAdEvent"}) {
    classes_[name] = std::make_shared<RecordedClass>(*this, name);
  }
}

void FakeClassRegistry::remove(std::string_view name) {
  if (const auto found = classes_.find(name); found != classes_.end()) classes_.erase(found);
}

std::vector<std::string> FakeClassRegistry::takeLines() {
  return std::exchange(lines_, {});
}

std::vector<std::string> FakeClassRegistry::startLines() {
  return processStartLines();
}

void FakeClassRegistry::write(std::string line) {
  const bool isStart = line.find("VEMORAMoatOptions") != std::string::npos ||
                       line.find("VEMORAMoatAnalytics") != std::string::npos;
  (isStart ? processStartLines() : lines_).push_back(std::move(line));
}

}  // namespace vemora::testing
