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
  std::string received;
  const auto first = center.addObserver("news", [&](const Notification&) { received += 'a'; });
  const auto other = center.addObserver("weather", [&](const Notification&) { received += 'x'; });
  const auto second = center.addObserver("news", [&](const Notification&) { received += 'b'; });
  center.postNotification(kNews);
  EXPECT_EQ(received, "ab");
  EXPECT_TRUE(center.hasObservers("news"));
  EXPECT_FALSE(center.hasObservers("sport"));
}

TEST(NotificationCenter, PostsToThoseWhoObservedAtAMoment) {
  NotificationCenter center;
  std::string received;
  const auto early = center.addObserver("news", [&](const Notification&) { received += 'e'; });
  const auto moment = center.now();
  const auto late = center.addObserver("news", [&](const Notification&) { received += 'l'; });
  center.postNotification(kNews, moment);
  EXPECT_EQ(received, "e");
  center.postNotification(kNews, center.now());
  EXPECT_EQ(received, "eel");
}

TEST(NotificationCenter, MovingATokenMovesTheObservation) {
  NotificationCenter center;
  int received = 0;
  const auto count = [&](const Notification&) { ++received; };
  std::vector<NotificationCenter::Token> tokens;
  for (int i = 0; i < 10; ++i) tokens.push_back(center.addObserver("news", count));
  center.postNotification(kNews);
  EXPECT_EQ(received, 10);

  NotificationCenter::Token kept = std::move(tokens[3]);
  tokens.clear();
  received = 0;
  center.postNotification(kNews);
  EXPECT_EQ(received, 1);

  NotificationCenter::Token& same = kept;
  kept = std::move(same);
  center.postNotification(kNews);
  EXPECT_EQ(received, 2) << "moving a token onto itself keeps it";

  kept = center.addObserver("weather", count);
  center.postNotification(kNews);
  EXPECT_EQ(received, 2) << "assigning ends what the token stood for";
  EXPECT_FALSE(center.hasObservers("news"));
}

TEST(NotificationCenter, LetsHandlersAddAndRemove) {
  NotificationCenter center;
  std::string received;
  std::optional<NotificationCenter::Token> removed;
  std::vector<NotificationCenter::Token> added;
  const auto first = center.addObserver("news", [&](const Notification&) {
    received += 'a';
    removed.reset();
    added.push_back(center.addObserver("news", [&](const Notification&) { received += 'n'; }));
  });
  removed = center.addObserver("news", [&](const Notification&) { received += 'r'; });
  center.postNotification(kNews);
  EXPECT_EQ(received, "a") << "what went is not called, and what came is called from the next post on";
  center.postNotification(kNews);
  EXPECT_EQ(received, "aan");
}

TEST(NotificationCenter, MayBeUsedFromManyThreads) {
  NotificationCenter center;
  std::atomic<int> received{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 300; ++round) {
        auto token = center.addObserver("news", [&](const Notification&) { ++received; });
        center.postNotification(kNews);
        NotificationCenter::Token moved = std::move(token);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_GE(received, 1200);
  EXPECT_FALSE(center.hasObservers("news"));
}

}  // namespace
}  // namespace vemora
