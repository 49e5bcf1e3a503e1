#include <Vemora/NotificationCenter.h>

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vemora {
namespace {

const Notification kNews{"news", nullptr, nullptr};

TEST(NotificationCenter, CallsInOrderAndOnlyForTheName) {
  NotificationCenter center;
  std::string heard;
  const auto first = center.addObserver("news", [&](const Notification&) { heard += 'a'; });
  const auto other = center.addObserver("weather", [&](const Notification&) { heard += 'x'; });
  const auto second = center.addObserver("news", [&](const Notification&) { heard += 'b'; });
  center.postNotification(kNews);
  EXPECT_EQ(heard, "ab");
  EXPECT_TRUE(center.hasObservers("news"));
  EXPECT_FALSE(center.hasObservers("sport"));
}

TEST(NotificationCenter, PostsToThoseWhoObservedAtAMoment) {
  NotificationCenter center;
  std::string heard;
  const auto early = center.addObserver("news", [&](const Notification&) { heard += 'e'; });
  const auto moment = center.now();
  const auto late = center.addObserver("news", [&](const Notification&) { heard += 'l'; });
  center.postNotification(kNews, moment);
  EXPECT_EQ(heard, "e");
  center.postNotification(kNews, center.now());
  EXPECT_EQ(heard, "eel");
}

TEST(NotificationCenter, MovingATokenMovesTheObservation) {
  NotificationCenter center;
  int heard = 0;
  const auto count = [&](const Notification&) { ++heard; };
  std::vector<NotificationCenter::Token> tokens;
  for (int i = 0; i < 10; ++i) tokens.push_back(center.addObserver("news", count));
  center.postNotification(kNews);
  EXPECT_EQ(heard, 10);

  NotificationCenter::Token kept = std::move(tokens[3]);
  tokens.clear();
  heard = 0;
  center.postNotification(kNews);
  EXPECT_EQ(heard, 1);

  NotificationCenter::Token& same = kept;
  kept = std::move(same);
  center.postNotification(kNews);
  EXPECT_EQ(heard, 2) << "moving a token onto itself keeps it";

  kept = center.addObserver("weather", count);
  center.postNotification(kNews);
  EXPECT_EQ(heard, 2) << "assigning ends what the token stood for";
  EXPECT_FALSE(center.hasObservers("news"));
}

TEST(NotificationCenter, LetsHandlersAddAndRemove) {
  NotificationCenter center;
  std::string heard;
  std::optional<NotificationCenter::Token> removed;
  std::vector<NotificationCenter::Token> added;
  const auto first = center.addObserver("news", [&](const Notification&) {
    heard += 'a';
    removed.reset();
    added.push_back(center.addObserver("news", [&](const Notification&) { heard += 'n'; }));
  });
  removed = center.addObserver("news", [&](const Notification&) { heard += 'r'; });
  center.postNotification(kNews);
  EXPECT_EQ(heard, "a") << "what went is not called, and what came is called from the next post on";
  center.postNotification(kNews);
  EXPECT_EQ(heard, "aan");
}

TEST(NotificationCenter, MayBeUsedFromManyThreads) {
  NotificationCenter center;
  std::atomic<int> heard{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 300; ++round) {
        auto token = center.addObserver("news", [&](const Notification&) { ++heard; });
        center.postNotification(kNews);
        NotificationCenter::Token moved = std::move(token);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_GE(heard, 1200);
  EXPECT_FALSE(center.hasObservers("news"));
}

}  // namespace
}  // namespace vemora
