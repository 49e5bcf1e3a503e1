#include "backends/gtk/ui/HostWindows.h"
#include "common/ChildProcess.h"
#include "gtk/GtkTest.h"

#include <Vemora/NotificationCenter.h>

#include <optional>

/// Under a window manager, which alone makes windows active.
namespace vemora::test {

namespace {

struct FinishCounter : SFSafariViewControllerDelegate {
  void safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>&) override { ++finished; }
  int finished = 0;
};

class LifeCycleTest : public testing::Test {
 protected:
  void SetUp() override {
    application();
    for (const char* name :
         {UIApplicationWillResignActiveNotification, UIApplicationDidBecomeActiveNotification}) {
      tokens_.push_back(NotificationCenter::defaultCenter().addObserver(
          name, [this](const Notification& notification) { heard_.push_back(notification.name); }));
    }
    ASSERT_TRUE(waitUntil([this] { return gtk_window_is_active(host_.window()); }));
    // Events left pending by an earlier test have been handled.
    runFor(gtk::HostWindows::kLeaveDelay * 1.5);
    heard_.clear();
  }

  bool waitForActive(GtkWindow* window) {
    return waitUntil([window] { return gtk_window_is_active(window); });
  }
  static void waitOutTheDelay() { runFor(gtk::HostWindows::kLeaveDelay * 1.5); }

  HostWindow host_;
  std::vector<NotificationCenter::Token> tokens_;
  std::vector<std::string> heard_;
};

const std::vector<std::string> kLeft{UIApplicationWillResignActiveNotification};
const std::vector<std::string> kLeftAndBack{UIApplicationWillResignActiveNotification,
                                            UIApplicationDidBecomeActiveNotification};

}  // namespace

TEST_F(LifeCycleTest, LeavesWhenAnotherProgramIsInUseAndComesBack) {
  std::optional<ChildProcess> other(std::in_place,
                                    std::vector<std::string>{"xmessage", "-center", "Another program"});
  ASSERT_TRUE(waitUntil([this] { return !heard_.empty(); }));
  EXPECT_EQ(heard_, kLeft);
  EXPECT_EQ(application().keyWindow()->layer(), host_.window()) << "it is the last that was active";
  other.reset();
  gtk_window_present(host_.window());
  EXPECT_TRUE(waitUntil([this] { return heard_.size() == 2; }));
  EXPECT_EQ(heard_, kLeftAndBack);
}

TEST_F(LifeCycleTest, PostsAReturnOnlyToThoseWhoObservedTheLeaving) {
  gtk_window_minimize(host_.window());
  ASSERT_TRUE(waitUntil([this] { return heard_ == kLeft; }));
  int late = 0;
  const auto addLate = [&late](const char* name) {
    return NotificationCenter::defaultCenter().addObserver(name, [&late](const Notification&) { ++late; });
  };
  const auto leaving = addLate(UIApplicationWillResignActiveNotification);
  const auto coming = addLate(UIApplicationDidBecomeActiveNotification);
  gtk_window_present(host_.window());
  ASSERT_TRUE(waitUntil([this] { return heard_ == kLeftAndBack; }));
  EXPECT_EQ(late, 0);
  gtk_window_minimize(host_.window());
  ASSERT_TRUE(waitUntil([this] { return heard_.size() == 3; }));
  gtk_window_present(host_.window());
  ASSERT_TRUE(waitUntil([this] { return heard_.size() == 4; }));
  EXPECT_EQ(late, 2);
}

TEST_F(LifeCycleTest, StaysWhileFocusMovesBetweenItsWindows) {
  HostWindow second;
  ASSERT_TRUE(waitForActive(second.window()));
  EXPECT_EQ(application().keyWindow()->layer(), second.window());
  for (int i = 0; i < 5; ++i) {
    gtk_window_present(host_.window());
    ASSERT_TRUE(waitForActive(host_.window()));
    gtk_window_present(second.window());
    ASSERT_TRUE(waitForActive(second.window()));
  }
  second.destroy();
  ASSERT_TRUE(waitForActive(host_.window()));
  waitOutTheDelay();
  EXPECT_TRUE(heard_.empty());
  EXPECT_EQ(application().keyWindow()->layer(), host_.window());
}

TEST_F(LifeCycleTest, StaysWhileTheSdksWindowsComeAndGo) {
  const auto root = application().keyWindow()->rootViewController();
  const auto controller = application().createViewController({true});
  bool shown = false;
  root->presentViewController(controller, true, [&] { shown = true; });
  ASSERT_TRUE(waitUntil([&] { return shown; }));
  GtkWidget* area = GTK_WIDGET(controller->view()->layer());
  auto* window = GTK_WINDOW(gtk_widget_get_root(area));
  ASSERT_TRUE(waitForActive(window));
  EXPECT_TRUE(waitUntil([&] { return gtk_window_is_fullscreen(window); }));
  EXPECT_TRUE(waitUntil([&] { return controller->view()->bounds() == Rect{0, 0, 1280, 1024}; }));
  EXPECT_EQ(application().keyWindow()->layer(), host_.window());

  const auto counter = std::make_shared<FinishCounter>();
  const auto browser = application().createSafariViewController({"http://127.0.0.1:1/", "http", "127.0.0.1"});
  browser->setDelegate(counter);
  controller->presentViewController(browser, true, {});
  ASSERT_TRUE(waitForActive(GTK_WINDOW(gtk_widget_get_root(GTK_WIDGET(browser->view()->layer())))));
  runTool({"xdotool", "key", "Escape"});
  EXPECT_TRUE(waitUntil([&] { return counter->finished == 1; }));
  EXPECT_EQ(root->presentedViewController(), controller);
  ASSERT_TRUE(waitForActive(window));

  // The window manager's own way of closing a window.
  controller->presentViewController(browser, true, {});
  ASSERT_TRUE(waitForActive(GTK_WINDOW(gtk_widget_get_root(GTK_WIDGET(browser->view()->layer())))));
  runTool({"xdotool", "key", "alt+F4"});
  EXPECT_TRUE(waitUntil([&] { return counter->finished == 2; }));
  ASSERT_TRUE(waitForActive(window));
  runTool({"xdotool", "key", "alt+F4"});
  EXPECT_TRUE(waitUntil([&] { return root->presentedViewController() == nullptr; }));
  ASSERT_TRUE(waitForActive(host_.window()));
  waitOutTheDelay();
  EXPECT_TRUE(heard_.empty());
}

TEST_F(LifeCycleTest, LeavesWhenMinimised) {
  gtk_window_minimize(host_.window());
  EXPECT_TRUE(waitUntil([this] { return heard_ == kLeft; }));
  gtk_window_present(host_.window());
  EXPECT_TRUE(waitUntil([this] { return heard_ == kLeftAndBack; }));
}

}  // namespace vemora::test
