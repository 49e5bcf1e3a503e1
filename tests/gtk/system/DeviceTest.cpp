#include "../../common/TestFolder.h"
#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/system/AdvertisingChoice.h"
#include "backends/gtk/system/MachineInfo.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vemora::gtk {

namespace {

constexpr char kNobody[] = "00000000-0000-0000-0000-000000000000";

class MachineInfoTest : public testing::Test {
 protected:
  test::TestFolder root_;
  const MachineInfo machine_{root_.path()};
};

TEST_F(MachineInfoTest, TakesTheModelFromTheFirstSourceThatHasIt) {
  EXPECT_EQ(machine_.model(), "Linux");
  root_.write("/proc/device-tree/model", std::string("Small Board 4\0", 14));
  EXPECT_EQ(machine_.model(), "Small Board 4");
  root_.write("/sys/class/dmi/id/product_name", "To Be Filled By O.E.M.\n");
  root_.write("/sys/class/dmi/id/board_name", "B450 \xFF\n");
  EXPECT_EQ(machine_.model(), "B450 \xEF\xBF\xBD");
  root_.write("/sys/class/dmi/id/product_name", "  Notebook 7490 \n");
  EXPECT_EQ(machine_.model(), "Notebook 7490");
}

TEST_F(MachineInfoTest, ReadsTheSystemsNameAndVersion) {
  EXPECT_EQ(machine_.systemName(), "Linux");
  EXPECT_EQ(machine_.systemVersion(), std::nullopt);
  root_.write("/usr/lib/os-release", "PRETTY_NAME=\"Rolling\"\nNAME=Rolling\n");
  EXPECT_EQ(machine_.systemName(), "Rolling");
  EXPECT_EQ(machine_.systemVersion(), std::nullopt);
  root_.write("/etc/os-release", "# NAME=no\nNAME=\"A \\\"quoted\\\" name\"\nVERSION_ID='12'\nbroken\n=\n");
  EXPECT_EQ(machine_.systemName(), "A \"quoted\" name");
  EXPECT_EQ(machine_.systemVersion(), "12");
}

TEST_F(MachineInfoTest, DetectsPhonesAndTabletsByTheirChassis) {
  EXPECT_EQ(machine_.userInterfaceIdiom(), UserInterfaceIdiom::Unspecified);
  root_.write("/proc/device-tree/chassis-type", std::string("handset\0", 8));
  EXPECT_EQ(machine_.userInterfaceIdiom(), UserInterfaceIdiom::Phone);
  root_.write("/sys/class/dmi/id/chassis_type", "30\n");
  EXPECT_EQ(machine_.userInterfaceIdiom(), UserInterfaceIdiom::Pad);
  root_.write("/etc/machine-info", "CHASSIS=desktop\n");
  EXPECT_EQ(machine_.userInterfaceIdiom(), UserInterfaceIdiom::Unspecified);
}

TEST_F(MachineInfoTest, DerivesTheVendorsIdentifier) {
  EXPECT_EQ(machine_.identifierForVendor("com.example"), std::nullopt);
  root_.write("/etc/machine-id", "uninitialized\n");
  EXPECT_EQ(machine_.identifierForVendor("com.example"), std::nullopt);
  root_.write("/etc/machine-id", "0123456789abcdef0123456789abcdef\n");
  // HMAC-SHA256 of the name with the id's bytes as its key, computed elsewhere.
  EXPECT_EQ(machine_.identifierForVendor("com.example"), "14D30AE3-8411-4338-977C-4B7210473A35");
  EXPECT_NE(machine_.identifierForVendor("com.example"), machine_.identifierForVendor("com.example2"));
}

TEST(VendorTest, IsTheSharedPrefixOfAVendorsApplications) {
  EXPECT_EQ(vendorOfApplication("com.example.Player"), "com.example");
  EXPECT_EQ(vendorOfApplication("com.example.games.Player"), "com.example");
  EXPECT_EQ(vendorOfApplication("COM.Example.Other"), "com.example");
  EXPECT_EQ(vendorOfApplication("uk.co.example.Player"), "uk.co.example");
  EXPECT_EQ(vendorOfApplication("io.github.someone.Player"), "io.github.someone");
  EXPECT_EQ(vendorOfApplication("local.Player"), "local");
  EXPECT_EQ(vendorOfApplication("com.Player"), "com");
  EXPECT_EQ(vendorOfApplication("player"), "player");
  EXPECT_EQ(vendorOfApplication(""), std::nullopt);
  EXPECT_EQ(vendorOfApplication(".."), ".");
}

TEST(AdvertisingChoiceTest, IsLimitedUntilTheUserOptsIn) {
  const test::TestFolder folder;
  const std::string path = folder.path("/vemora/advertising-identifier");
  AdvertisingChoice choice(path);
  EXPECT_FALSE(choice.isTrackingEnabled());
  EXPECT_EQ(choice.identifier(), kNobody);
  choice.setTrackingEnabled(false);
  EXPECT_EQ(choice.identifier(), kNobody);

  choice.setTrackingEnabled(true);
  const std::string first = choice.identifier();
  EXPECT_TRUE(choice.isTrackingEnabled());
  EXPECT_EQ(first.size(), 36u);
  EXPECT_EQ(first.find_first_not_of("0123456789ABCDEF-"), std::string::npos);
  EXPECT_NE(first, kNobody);
  choice.setTrackingEnabled(true);
  EXPECT_EQ(choice.identifier(), first);
  EXPECT_EQ(AdvertisingChoice(path).identifier(), first);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);

  choice.setTrackingEnabled(false);
  EXPECT_EQ(choice.identifier(), kNobody);
  EXPECT_EQ(folder.read("/vemora/advertising-identifier"), "");
  choice.setTrackingEnabled(true);
  EXPECT_NE(choice.identifier(), first);
}

TEST(AdvertisingChoiceTest, IgnoresTextThatIsNoIdentifier) {
  const test::TestFolder folder;
  const AdvertisingChoice choice(folder.path("/file"));
  for (const char* text : {"", "garbage", "00000000-0000-0000-0000-000000000000\n",
                           "8e5c2c0b-0d3c-4a7e-9d53-6d0a7f2d1c3a and more"}) {
    folder.write("/file", text);
    EXPECT_FALSE(choice.isTrackingEnabled()) << text;
  }
  folder.write("/file", "8e5c2c0b-0d3c-4a7e-9d53-6d0a7f2d1c3a");
  EXPECT_EQ(choice.identifier(), "8E5C2C0B-0D3C-4A7E-9D53-6D0A7F2D1C3A");
}

TEST(AdvertisingChoiceTest, HoldsForTheProcessWhenItCannotBeWritten) {
  const test::TestFolder folder;
  folder.write("/file", "");
  AdvertisingChoice choice(folder.path("/file/below"));
  choice.setTrackingEnabled(true);
  EXPECT_TRUE(choice.isTrackingEnabled());
  choice.setTrackingEnabled(false);
  EXPECT_EQ(choice.identifier(), kNobody);
}

TEST(DeviceTest, DerivesTheVendorFromTheApplication) {
  const std::unique_ptr<Device> device = makeDevice();
  setInfoDictionaryEntry("CFBundleIdentifier", std::nullopt);
  EXPECT_EQ(device->identifierForVendor(), std::nullopt);
  setInfoDictionaryEntry("CFBundleIdentifier", "com.example.One");
  const auto one = device->identifierForVendor();
  setInfoDictionaryEntry("CFBundleIdentifier", "com.example.Two");
  EXPECT_EQ(device->identifierForVendor(), one);
  setInfoDictionaryEntry("CFBundleIdentifier", std::nullopt);
}

TEST(DeviceTest, KeepsTheChoiceAboutTrackingForEachApplication) {
  const std::unique_ptr<Device> device = makeDevice();
  setInfoDictionaryEntry("CFBundleIdentifier", "com.example.One");
  setAdvertisingTrackingEnabled(true);
  EXPECT_TRUE(device->isAdvertisingTrackingEnabled());
  const auto identifier = device->advertisingIdentifier();
  EXPECT_NE(identifier, kNobody);
  setInfoDictionaryEntry("CFBundleIdentifier", "com.example.Two");
  EXPECT_FALSE(isAdvertisingTrackingEnabled());
  EXPECT_EQ(device->advertisingIdentifier(), kNobody);
  setInfoDictionaryEntry("CFBundleIdentifier", "com.example.One");
  EXPECT_EQ(device->advertisingIdentifier(), identifier);
  setAdvertisingTrackingEnabled(false);
  EXPECT_EQ(device->advertisingIdentifier(), kNobody);
  setInfoDictionaryEntry("CFBundleIdentifier", std::nullopt);
}

}  // namespace

}  // namespace vemora::gtk
