#include "backends/testing/TestingPlatform.h"

#include <Vemora/Testing/VemoraTesting.h>

#include <algorithm>

namespace vemora {

namespace {

constexpr Rect kWindow = {0, 0, 1280, 720};
/// Views are laid out this often, in seconds, as frames of a display would be.
constexpr double kFrame = 0.25;

testing::TestingPlatform& platform() {
  return testing::TestingPlatform::current();
}

testing::FakeApplication& application() {
  assertMainThread("VemoraTesting");
  return platform().fakeApplication();
}

}  // namespace

void VemoraTesting::reset() {
  platform().reset();
  application().window()->setFrame(kWindow);
  application().rootViewController()->fakeView()->setFrame(kWindow);
}

void VemoraTesting::settle() {
  platform().fakeDispatch().settle();
  application().window()->layoutIfNeeded();
  platform().fakeDispatch().settle();
}

void VemoraTesting::advance(double seconds) {
  settle();
  const double end = dispatch().now() + seconds;
  while (dispatch().now() < end) {
    platform().fakeDispatch().advance(std::min(kFrame, end - dispatch().now()));
    settle();
  }
}

std::shared_ptr<View> VemoraTesting::makeView(double width, double height) {
  auto view = std::make_shared<testing::FakeView>(Rect{0, 0, width, height});
  application().window()->addSubview(view);
  return view;
}

void VemoraTesting::leaveForeground() {
  application().resignActive();
}

void VemoraTesting::enterForeground() {
  application().becomeActive();
}

bool VemoraTesting::viewerClosesWindow() {
  std::shared_ptr<ViewController> top = application().rootViewController();
  if (!top->presentedViewController()) return false;
  while (top->presentedViewController()) top = top->presentedViewController();
  std::dynamic_pointer_cast<testing::FakeViewController>(top)->userCloses();
  return true;
}

std::vector<std::string> VemoraTesting::log() {
  std::vector<std::string> lines;
  for (const auto& line : platform().fakeSystem().lines()) lines.push_back(line.text);
  return lines;
}

std::vector<std::string> VemoraTesting::beacons() {
  std::vector<std::string> addresses;
  for (const auto& download : platform().fakeSystem().downloads()) addresses.push_back(download.request.url);
  return addresses;
}

std::vector<std::string> VemoraTesting::openedPages() {
  std::vector<std::string> addresses;
  for (const auto& browser : application().browsers()) addresses.push_back(browser->url().absoluteString);
  return addresses;
}

}  // namespace vemora
