#include "../common/HeadlessDesktop.h"
#include "DemoRun.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <utility>
#include <vector>

namespace vemora::test {
namespace {

using Strings = std::vector<std::string>;

/// How much of a picture is neither the white of paper nor the black of an empty video, 0 to 1.
double colouredShareOf(const std::filesystem::path& file) {
  const auto pixbuf = GObjectPtr<GdkPixbuf>::adopt(gdk_pixbuf_new_from_file(file.c_str(), nullptr));
  if (!pixbuf) return 0;
  const int width = gdk_pixbuf_get_width(pixbuf.get());
  const int height = gdk_pixbuf_get_height(pixbuf.get());
  const int channels = gdk_pixbuf_get_n_channels(pixbuf.get());
  const guint8* const pixels = gdk_pixbuf_read_pixels(pixbuf.get());
  int coloured = 0;
  for (int y = 0; y < height; ++y) {
    const guint8* const row =
        pixels + static_cast<std::ptrdiff_t>(y) * gdk_pixbuf_get_rowstride(pixbuf.get());
    for (int x = 0; x < width; ++x) {
      const auto [darkest, brightest] = std::minmax_element(row + x * channels, row + x * channels + 3);
      if (*brightest > 32 && *darkest < 200) ++coloured;
    }
  }
  return static_cast<double>(coloured) / (static_cast<double>(width) * height);
}

/// The beacons of each ad, by their names; "progress 1.5" has an offset.
Strings beaconsOf(const std::vector<std::pair<std::string, Strings>>& ads) {
  Strings beacons;
  for (const auto& [ad, names] : ads) {
    for (const std::string& name : names) {
      const std::size_t blank = name.find(' ');
      const std::string offset = blank == std::string::npos ? "" : "&offset=" + name.substr(blank + 1);
      beacons.push_back("/beacon/" + name.substr(0, blank) + "?ad=" + ad + offset);
    }
  }
  return beacons;
}

class DemoSessionTest : public testing::Test {
 protected:
  /// Arguments that give the page of the demo's own server this configuration.
  Strings withConfig(const std::string& json) {
    return {"--config", folder.write("config.json", json).string()};
  }

  /// The origin in the demo's first line, "Loading from https://...".
  static std::string originOf(DemoRun& run) {
    const std::string line = run.process().line().value_or("");
    return line.substr(std::min(line.find("https://"), line.size()));
  }

  static bool isServed(const std::string& origin) {
    const auto client = GObjectPtr<GSocketClient>::adopt(g_socket_client_new());
    return static_cast<bool>(GObjectPtr<GSocketConnection>::adopt(
        g_socket_client_connect_to_uri(client.get(), origin.c_str(), 443, nullptr, nullptr)));
  }

  static bool comesToAnEnd(const std::string& origin) {
    constexpr int kTries = 200;
    for (int i = 0; i < kTries && isServed(origin); ++i) g_usleep(20'000);
    return !isServed(origin);
  }

  const Strings playedToItsEnd{"requestForPlayer", "didLoadAds",      "adGroupStart",
                               "adStart ad-1",     "adComplete ad-1", "adGroupComplete"};
  const std::string single = VEMORA_FIXTURES "/single.xml";
  HeadlessDesktop desktop;
  TestFolder folder;
  const std::string shot = (folder.path() / "shot.png").string();
};

TEST_F(DemoSessionTest, PlaysAGroupInline) {
  DemoRun run({"--screenshot", shot});
  ASSERT_EQ(run.finish(), 0) << run.output();
  EXPECT_EQ(run.callbacks(), (Strings{"requestForPlayer", "didLoadAds", "adGroupStart", "adStart ad-1",
                                      "adComplete ad-1", "adStart ad-2", "adComplete ad-2", "adStart ad-3",
                                      "adComplete ad-3", "adGroupComplete"}));
  // The third ad has its progress beacons where its quartiles are.
  EXPECT_TRUE(
      haveArrived(run.beacons(), beaconsOf({{"1",
                                             {"impression", "start", "firstQuartile", "progress 1.5",
                                              "midpoint", "thirdQuartile", "complete"}},
                                            {"2",
                                             {"impression", "start", "firstQuartile", "progress 2.5",
                                              "midpoint", "thirdQuartile", "complete"}},
                                            {"3",
                                             {"impression", "start", "progress 1.5", "firstQuartile",
                                              "midpoint", "progress 4.5", "thirdQuartile", "complete"}}})));
  EXPECT_EQ(run.criticals(), "");
  EXPECT_GT(colouredShareOf(shot), 0.15) << "the video is in the picture";

  double time = 0;
  double elapsed = 0;
  std::string running;
  for (const JsonValue& event : run.events()) {
    EXPECT_GE(event["t"].doubleValue(), time);
    time = event["t"].doubleValue();
    if (event["timeElapsed"].isNull()) continue;
    const std::string id = event["ad"]["id"].stringValue().value_or("");
    if (id != running) elapsed = 0;
    running = id;
    EXPECT_GT(event["timeElapsed"].doubleValue(), elapsed) << id;
    elapsed = event["timeElapsed"].doubleValue();
  }
  EXPECT_NEAR(elapsed, 6, 1) << "the last ad's time came near its end";
  EXPECT_EQ(run.event("didLoadAds")["group"]["totalDuration"].doubleValue(), 15);
  EXPECT_EQ(run.event("adStart")["ad"].count(), 8u);
}

TEST_F(DemoSessionTest, HasNoControllerOnAWrongHost) {
  // One that refuses connections. Then, since two windows take the focus from each other, one that takes them
  // and never answers.
  DemoRun refused({"--controller-host", "127.0.0.1:1"});
  EXPECT_EQ(refused.finish(), 1);
  EXPECT_EQ(refused.callbacks(), (Strings{"requestForPlayer", "didLoadAds"})) << refused.output();
  EXPECT_EQ(refused.event("didLoadAds")["error"]["code"].integerValue(), 5002);
  EXPECT_NE(refused.output().find("5002: The controller page did not load: https://127.0.0.1:1/"),
            std::string::npos)
      << refused.output();
  EXPECT_NE(refused.output().find("Check the host and port of --controller-host"), std::string::npos)
      << refused.output();

  const auto silent = GObjectPtr<GSocketListener>::adopt(g_socket_listener_new());
  const guint16 port = g_socket_listener_add_any_inet_port(silent.get(), nullptr, nullptr);
  DemoRun waiting({"--controller-host", "127.0.0.1:" + std::to_string(port)});
  EXPECT_EQ(waiting.finish(), 1);
  EXPECT_EQ(waiting.callbacks(), (Strings{"requestForPlayer", "didLoadAds"})) << waiting.output();
  const JsonValue loaded = waiting.event("didLoadAds");
  EXPECT_GE(loaded["t"].doubleValue(), 10) << "the configuration and the ads are given five seconds each";
  EXPECT_EQ(loaded["error"]["code"].integerValue(), 5002);
  EXPECT_NE(waiting.output().find("5002: RPC bridge failure (Failed to send get.ads)"), std::string::npos)
      << waiting.output();
}

TEST_F(DemoSessionTest, HasNoAds) {
  DemoRun run(withConfig(R"({"faults":{"noAds":true}})"));
  EXPECT_EQ(run.finish(), 1);
  EXPECT_EQ(run.callbacks(), (Strings{"requestForPlayer", "didLoadAds"})) << run.output();
  const JsonValue loaded = run.event("didLoadAds");
  EXPECT_EQ(loaded["error"]["code"].integerValue(), 5003);
  EXPECT_EQ(loaded["group"]["ads"].count(), 0u);
  EXPECT_NE(run.output().find("5003: No ads available"), std::string::npos) << run.output();
}

TEST_F(DemoSessionTest, EndsFiveSecondsAfterThePageHasGoneSilent) {
  DemoRun run(withConfig(R"({"faults":{"stopPingAfter":2.5}})"));
  EXPECT_EQ(run.finish(), 1);
  EXPECT_EQ(run.lastCallback(), "adError") << run.output();
  const JsonValue error = run.event("adError");
  EXPECT_EQ(error["error"]["code"].integerValue(), 5005);
  EXPECT_TRUE(error["ad"].isNull());
  const double silent = error["t"].doubleValue() - run.event("didLoadAds")["t"].doubleValue();
  EXPECT_GT(silent, 4.9);
  EXPECT_LT(silent, 12);
}

TEST_F(DemoSessionTest, ReportsWhyThePageFailed) {
  DemoRun run(withConfig(R"({"faults":{"adError":"The file is damaged"}})"));
  EXPECT_EQ(run.finish(), 1);
  EXPECT_EQ(run.lastCallback().substr(0, 7), "adError") << run.output();
  const JsonValue error = run.event("adError")["error"];
  EXPECT_EQ(error["domain"], JsonValue("VMRErrorDomain"));
  EXPECT_EQ(error["code"].integerValue(), 5004);
  EXPECT_EQ(error["description"], JsonValue("Ad playback failed"));
  EXPECT_EQ(error["reason"], JsonValue("The file is damaged"));
}

TEST_F(DemoSessionTest, ResizesAnAdThatPlays) {
  DemoRun run({"--placement", "resizable", "--size", "0.5", "--vast", single, "--do", "smaller@0.5", "--do",
               "larger@0.8", "--do", "larger@1", "--screenshot", shot});
  EXPECT_EQ(run.finish(), 0) << run.output();
  EXPECT_EQ(run.callbacks(), playedToItsEnd) << run.output();
  EXPECT_TRUE(std::filesystem::exists(shot));
}

TEST_F(DemoSessionTest, PlaysOverTheWholeScreen) {
  DemoRun run({"--placement", "interstitial", "--vast", single, "--screenshot", shot, "--do", "close@3.4"});
  EXPECT_EQ(run.finish(), 0) << run.output();
  EXPECT_EQ(run.callbacks(), (Strings{"requestForPlayer", "didLoadAds", "adGroupStart", "adStart ad-1",
                                      "adUserClose ad-1", "adGroupComplete"}))
      << run.output();
  EXPECT_EQ(run.criticals(), "");
  EXPECT_GT(colouredShareOf(shot), 0.4) << "the video fills the picture";
}

TEST_F(DemoSessionTest, TerminatesItsServerOnEveryExit) {
  for (const int signal : {SIGTERM, SIGKILL}) {
    DemoRun run({});
    const std::string origin = originOf(run);
    EXPECT_TRUE(isServed(origin)) << origin;
    run.process().signal(signal);
    const int status = run.finish();
    EXPECT_EQ(status, signal == SIGTERM ? 1 : -1) << run.output();
    EXPECT_TRUE(comesToAnEnd(origin)) << "the server has outlived signal " << signal;
  }
}

TEST_F(DemoSessionTest, BadArgumentsExitWithTwoAndAreNamed) {
  const std::string broken = folder.write("broken.json", "{").string();
  const std::string misspelt = folder.write("misspelt.json", R"({"stallTimeot":3})").string();
  const std::string cut = folder.write("cut.xml", "<VAST>").string();
  struct Case {
    Strings arguments;
    const char* named;
  };
  for (const Case& c : {Case{{"--nonsense"}, "--nonsense"},
                        Case{{"stray"}, "stray"},
                        Case{{"--placement", "sideways"}, "sideways"},
                        Case{{"--size", "0.5"}, "--size"},
                        Case{{"--placement", "resizable", "--size", "half"}, "half"},
                        Case{{"--param", "novalue"}, "novalue"},
                        Case{{"--param", "=x"}, "=x"},
                        Case{{"--controller-host", "https://host"}, "https://host"},
                        Case{{"--controller-host", "host:port"}, "host:port"},
                        Case{{"--controller-host", ""}, "--controller-host"},
                        Case{{"--controller-host", "host", "--ads", single}, "--ads"},
                        Case{{"--ca", single}, "--ca"},
                        Case{{"--ads", "/missing.json"}, "/missing.json"},
                        Case{{"--vast", "/missing.xml"}, "/missing.xml"},
                        Case{{"--config", "/"}, "--config"},
                        Case{{"--screenshot", "/missing/shot.png"}, "/missing/shot.png"},
                        Case{{"--events", "/missing/events"}, "/missing/events"},
                        Case{{"--placement", "resizable", "--size", "nan"}, "nan"},
                        Case{{"--placement", "resizable", "--size", "0"}, "0"},
                        Case{{"--config", broken}, "not valid JSON"},
                        Case{{"--config", misspelt}, "nothing reads 'stallTimeot'"},
                        Case{{"--ads", broken}, "not valid JSON"},
                        Case{{"--vast", cut}, "not well-formed XML"},
                        Case{{"--vast", "https://127.0.0.1:1/tag"}, "cannot reach 'https://127.0.0.1:1/tag'"},
                        Case{{"--vast", "https://"}, "not a web address"},
                        Case{{"--channel", "abc"}, "abc"},
                        Case{{"--gdpr", "maybe"}, "maybe"},
                        Case{{"--controller-host", "host", "--ca", single}, "no certificate"},
                        Case{{"--screenshot", "shot.jpg"}, ".png"},
                        Case{{"--events", ""}, "--events"},
                        Case{{"--screenshot", ""}, "--screenshot"},
                        Case{{"--timeout", "-1"}, "-1"},
                        Case{{"--timeout", "soon"}, "soon"},
                        Case{{"--do", "dance@1"}, "dance@1"},
                        Case{{"--do", "pause@never"}, "pause@never"},
                        Case{{"--do", "pause"}, "pause"}}) {
    DemoRun run(c.arguments);
    EXPECT_EQ(run.finish(), 2) << c.named;
    EXPECT_NE(run.errors().find(c.named), std::string::npos) << c.named << " in: " << run.output();
    EXPECT_TRUE(run.events().empty());
  }
  for (const char* option : {"--help", "--version"}) {
    DemoRun run({option});
    EXPECT_EQ(run.finish(), 0) << option;
    EXPECT_NE(run.output().find("vemora-demo"), std::string::npos) << option;
    EXPECT_EQ(run.errors(), "") << option;
  }
}

}  // namespace
}  // namespace vemora::test
