#include "../../common/MainLoop.h"
#include "RecordingViewabilityLibrary.h"
#include "backends/gtk/GtkPorts.h"
#include "ports/View.h"

#include <Vemora/VemoraViewability.h>

#include <dlfcn.h>
#include <glib.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace vemora::gtk {

namespace {

/// The lines of the log, of the SDK's domain.
class LogLines {
 public:
  LogLines() {
    static const bool installed = [] {
      g_log_set_writer_func(
          [](GLogLevelFlags, const GLogField* fields, gsize count, gpointer) {
            for (gsize i = 0; i < count; ++i) {
              if (g_str_equal(fields[i].key, "MESSAGE"))
                lines() += static_cast<const char*>(fields[i].value) + std::string("\n");
            }
            return G_LOG_WRITER_HANDLED;
          },
          nullptr, nullptr);
      return true;
    }();
    static_cast<void>(installed);
    lines().clear();
  }
  static std::string& lines() {
    static std::string& text = *new std::string;
    return text;
  }
};

/// A view of which only the layer matters.
class LayerOnlyView final : public View {
 public:
  std::shared_ptr<View> superview() const override { return nullptr; }
  std::shared_ptr<Window> window() const override { return nullptr; }
  bool isHidden() const override { return false; }
  Rect frame() const override { return {}; }
  Rect bounds() const override { return {}; }
  bool isDescendantOfView(const View&) const override { return false; }
  std::optional<Rect> convertRectToView(const Rect&, const View&) const override { return std::nullopt; }
  void addSubview(const std::shared_ptr<View>&) override {}
  void removeFromSuperview() override {}
  void setFrame(const Rect&) override {}
  void setUserInteractionEnabled(bool) override {}
  void setOpaque(bool) override {}
  void setBackgroundColorBlack() override {}
  void setTranslatesAutoresizingMaskIntoConstraints(bool) override {}
  void addConstraint(const std::shared_ptr<LayoutConstraint>&) override {}
  void removeConstraint(const std::shared_ptr<LayoutConstraint>&) override {}
  void setNeedsLayout() override {}
  void addObserver(std::weak_ptr<KeyValueObserver>, std::string_view, bool) override {}
  void removeObserver(const KeyValueObserver*, std::string_view) override {}
  void setLayoutObserver(std::weak_ptr<LayoutObserver>) override {}
  void* layer() const override { return const_cast<LayerOnlyView*>(this); }
};

class DynamicClassRegistryTest : public testing::Test {
 protected:
  std::shared_ptr<ExternalObject> object(const ExternalValue& value) {
    const auto* held = std::get_if<std::shared_ptr<ExternalObject>>(&value);
    return held ? *held : nullptr;
  }
  template <typename Function>
  Function* recording(const char* name) {
    static void* library = dlopen(RECORDING_VIEWABILITY_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
    return reinterpret_cast<Function*>(dlsym(library, name));
  }

  LogLines log_;
  const std::unique_ptr<ClassRegistry> registry_ = makeClassRegistry();
};

TEST_F(DynamicClassRegistryTest, ForwardsEveryMessageToTheLibrary) {
  recording<RecordingViewabilityLibraryClearFunction>(kRecordingViewabilityLibraryClear)();
  const auto options = registry_->classNamed("VEMORAMoatOptions");
  const auto analytics = registry_->classNamed("VEMORAMoatAnalytics");
  const auto trackers = registry_->classNamed("VEMORAMoatReactiveVideoTracker");
  const auto events = registry_->classNamed("VEMORAMoatAdEvent");
  ASSERT_TRUE(options && analytics && trackers && events);
  EXPECT_EQ(trackers->className(), "VEMORAMoatReactiveVideoTracker");
  {
    const auto made = options->create("init", {});
    made->send("setDebugLoggingEnabled:", {true});
    object(analytics->send("sharedInstance", {}))->send("startWithOptions:", {made});
    const auto tracker = object(trackers->send("trackerWithPartnerCode:", {std::string("a\"b")}));
    EXPECT_EQ(tracker->className(), "VEMORAMoatReactiveVideoTracker");
    const auto view = std::make_shared<LayerOnlyView>();
    const ExternalValue accepted =
        tracker->send("trackVideoAd:withLayer:withDurationMillis:",
                      {JsonValue::object({{"adid", "7"}}), std::shared_ptr<View>(view), 12500.5});
    EXPECT_EQ(std::get<bool>(accepted), true);
    tracker->send("dispatchEvent:",
                  {events->create("initWithType:withPlayheadMillis:", {std::int64_t{8}, 0.5})});
  }
  EXPECT_EQ(
      std::string(recording<RecordingViewabilityLibraryRecordFunction>(kRecordingViewabilityLibraryRecord)()),
      R"({"to":"VEMORAMoatOptions","create":"init","arguments":[],"made":"VEMORAMoatOptions#1"}
{"to":"VEMORAMoatOptions#1","send":"setDebugLoggingEnabled:","arguments":[true]}
{"to":"VEMORAMoatAnalytics","send":"sharedInstance","arguments":[],"made":"VEMORAMoatAnalytics#2"}
{"to":"VEMORAMoatAnalytics#2","send":"startWithOptions:","arguments":["VEMORAMoatOptions#1"]}
{"to":"VEMORAMoatAnalytics#2","dealloc":true}
{"to":"VEMORAMoatReactiveVideoTracker","send":"trackerWithPartnerCode:","arguments":["a\"b"],"made":"VEMORAMoatReactiveVideoTracker#3"}
{"to":"VEMORAMoatReactiveVideoTracker#3","send":"trackVideoAd:withLayer:withDurationMillis:","arguments":[{"adid":"7"},"view",12500.5]}
{"to":"VEMORAMoatAdEvent","create":"initWithType:withPlayheadMillis:","arguments":[8,0.5],"made":"VEMORAMoatAdEvent#4"}
{"to":"VEMORAMoatReactiveVideoTracker#3","send":"dispatchEvent:","arguments":["VEMORAMoatAdEvent#4"]}
{"to":"VEMORAMoatAdEvent#4","dealloc":true}
{"to":"VEMORAMoatReactiveVideoTracker#3","dealloc":true}
{"to":"VEMORAMoatOptions#1","dealloc":true}
)");
  EXPECT_EQ(recording<RecordingViewabilityLibraryLiveInstancesFunction>(
                kRecordingViewabilityLibraryLiveInstances)(),
            0);
}

TEST_F(DynamicClassRegistryTest, ReleasesObjectsOnTheMainThread) {
  const auto live =
      recording<RecordingViewabilityLibraryLiveInstancesFunction>(kRecordingViewabilityLibraryLiveInstances);
  auto made = registry_->classNamed("VEMORAMoatOptions")->create("init", {});
  std::thread([&made] { made.reset(); }).join();
  EXPECT_EQ(live(), 1);
  EXPECT_TRUE(vemora::test::waitUntil([live] { return live() == 0; }));
}

TEST_F(DynamicClassRegistryTest, SeesALocalLibraryOnlyByRegistration) {
  void* library = dlopen(LOCAL_VIEWABILITY_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(library);
  EXPECT_FALSE(registry_->classNamed("LocalClass"));
  const auto* local = static_cast<const VemoraExternalClass*>(dlsym(library, "LocalClass"));
  EXPECT_TRUE(VemoraRegisterExternalClass(local));
  EXPECT_TRUE(VemoraRegisterExternalClass(local));
  EXPECT_TRUE(registry_->classNamed("LocalClass"));
  VemoraUnregisterExternalClass(local);
  EXPECT_FALSE(registry_->classNamed("LocalClass"));
  EXPECT_EQ(LogLines::lines(), "");
}

TEST_F(DynamicClassRegistryTest, FindsOnlyWhatIsUsableAndSaysWhyOnce) {
  ASSERT_TRUE(dlopen(ODD_VIEWABILITY_LIBRARY, RTLD_NOW | RTLD_GLOBAL));
  EXPECT_TRUE(registry_->classNamed("OddEcho"));
  EXPECT_FALSE(registry_->classNamed("NoSuchClass"));
  EXPECT_FALSE(registry_->classNamed(std::string_view("OddEcho\0", 8)));
  EXPECT_EQ(LogLines::lines(), "");
  for (const char* name :
       {"OddVersion", "OddMagic", "OddSize", "OddFunctions", "OddName", "OddByte", "OddFunction", "malloc"}) {
    LogLines::lines().clear();
    EXPECT_FALSE(registry_->classNamed(name)) << name;
    EXPECT_FALSE(registry_->classNamed(name)) << name;
    const std::string lines = LogLines::lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1) << lines;
    EXPECT_NE(lines.find(name), std::string::npos) << lines;
  }
}

TEST_F(DynamicClassRegistryTest, RefusesRegistrationsThatCannotWork) {
  void* library = dlopen(ODD_VIEWABILITY_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(library);
  const auto* echo = static_cast<const VemoraExternalClass*>(dlsym(library, "OddEcho"));
  EXPECT_FALSE(VemoraRegisterExternalClass(nullptr));
  EXPECT_FALSE(
      VemoraRegisterExternalClass(static_cast<const VemoraExternalClass*>(dlsym(library, "OddVersion"))));
  const VemoraExternalClass rival = *echo;
  ASSERT_TRUE(VemoraRegisterExternalClass(echo));
  EXPECT_FALSE(VemoraRegisterExternalClass(&rival));
  VemoraUnregisterExternalClass(&rival);
  EXPECT_TRUE(registry_->classNamed("OddEcho")) << "taking back what is not registered leaves the other";
  VemoraUnregisterExternalClass(echo);
  const std::string lines = LogLines::lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3) << lines;
}

TEST_F(DynamicClassRegistryTest, ConvertsEveryKindOfValueBothWays) {
  void* library = dlopen(ODD_VIEWABILITY_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  const auto* isa = static_cast<const VemoraExternalClass*>(dlsym(library, "OddEcho"));
  ASSERT_TRUE(VemoraRegisterExternalClass(isa));
  const auto echo = registry_->classNamed("OddEcho");
  const auto back = [&echo](ExternalValue value) { return echo->send("echo:", {std::move(value)}); };

  EXPECT_EQ(std::get<bool>(back(true)), true);
  EXPECT_EQ(std::get<std::int64_t>(back(std::int64_t{INT64_MIN})), INT64_MIN);
  EXPECT_EQ(std::get<double>(back(0.1)), 0.1);
  EXPECT_EQ(std::get<std::string>(back(std::string("a\0b", 3))), std::string("a\0b", 3));
  EXPECT_EQ(std::get<JsonValue>(back(JsonValue::array({1, "x", nullptr}))),
            JsonValue::array({1, "x", nullptr}));
  EXPECT_EQ(std::get<std::string>(back(JsonValue("text"))), "text");
  EXPECT_EQ(std::get<std::int64_t>(back(JsonValue(3))), 3);
  EXPECT_EQ(back(JsonValue(nullptr)).index(), 0u);
  EXPECT_EQ(back(std::monostate()).index(), 0u);
  EXPECT_EQ(back(std::shared_ptr<View>()).index(), 0u);
  EXPECT_EQ(back(std::shared_ptr<View>(std::make_shared<LayerOnlyView>())).index(), 0u)
      << "views do not come back";
  EXPECT_EQ(object(back(std::shared_ptr<ExternalObject>(echo)))->className(), "OddEcho");
  EXPECT_EQ(echo->send("nothing", {std::int64_t{1}}).index(), 0u) << "not understood";
  EXPECT_FALSE(echo->create("init", {})) << "it has no initialiser";
  VemoraUnregisterExternalClass(isa);
}

}  // namespace

}  // namespace vemora::gtk
