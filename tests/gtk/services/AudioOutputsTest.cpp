#include "backends/gtk/services/AudioOutputs.h"

#include <gtest/gtest.h>

namespace vemora::gtk {

namespace {

constexpr int kNothing = -1;

const AudioOutput kSpeakers{1, "speakers", "", {}};
const AudioOutput kUsb{2, "usb", "", {}};
const AudioOutput kDummy{3, "auto_null", "", {}};

AudioOutput card(const std::string& active, bool headphones, bool speaker = true) {
  return {4, "card", active, {{"speaker", speaker}, {"headphones", headphones}}};
}

int reason(const AudioOutputs& before, const AudioOutputs& after) {
  const auto found = routeChangeReason(before, after);
  return found ? *found : kNothing;
}

TEST(AudioOutputsTest, ReportsWhyTheRouteChanged) {
  const AudioOutputs onUsb{{kSpeakers, kUsb}, "usb"};
  const AudioOutputs onSpeakers{{kSpeakers, kUsb}, "speakers"};
  const AudioOutputs onlySpeakers{{kSpeakers}, "speakers"};

  EXPECT_EQ(reason(onUsb, onUsb), kNothing);
  EXPECT_EQ(reason(onUsb, onlySpeakers), 2);
  EXPECT_EQ(reason(onSpeakers, onlySpeakers), kNothing) << "not the one in use";
  EXPECT_EQ(reason(onlySpeakers, onUsb), 1);
  EXPECT_EQ(reason(onlySpeakers, onSpeakers), 1) << "also when it is not used at once";
  EXPECT_EQ(reason(onUsb, onSpeakers), 8) << "by choice";
  EXPECT_EQ(reason({{kSpeakers}, "speakers"}, {{kUsb}, "usb"}), 2) << "one came as the other went";
  AudioOutput replaced = kUsb;
  replaced.index = 9;
  EXPECT_EQ(reason({{kUsb}, "usb"}, {{replaced}, "usb"}), 2) << "another device of the same name";
}

TEST(AudioOutputsTest, FollowsTheSocketsOfOneCard) {
  const AudioOutputs plugged{{card("headphones", true)}, "card"};
  const AudioOutputs unplugged{{card("speaker", false)}, "card"};
  EXPECT_EQ(reason(plugged, unplugged), 2);
  EXPECT_EQ(reason(plugged, {{card("headphones", false)}, "card"}), 2) << "before the server has switched";
  EXPECT_EQ(reason({{card("headphones", false)}, "card"}, unplugged), 8) << "and it is reported once";
  EXPECT_EQ(reason(unplugged, plugged), 1);
  EXPECT_EQ(reason(plugged, {{card("speaker", true)}, "card"}), 8);
}

TEST(AudioOutputsTest, CountsTheNullOutputAsNone) {
  const AudioOutputs nothing{{kDummy}, "auto_null"};
  EXPECT_EQ(reason({{kUsb}, "usb"}, nothing), 2);
  EXPECT_EQ(reason(nothing, {{kUsb}, "usb"}), 1);
  EXPECT_EQ(reason({{}, ""}, nothing), kNothing);
  EXPECT_EQ(reason({{kSpeakers, kUsb}, "gone"}, {{kSpeakers, kUsb}, "usb"}), kNothing)
      << "the rest of a loss that was already reported";
}

}  // namespace

}  // namespace vemora::gtk
