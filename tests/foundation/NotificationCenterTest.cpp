#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "foundation/NotificationCenter.h"

namespace foundation {
namespace {

using namespace std::chrono_literals;

class NotificationCenterTest : public ::testing::Test {
 protected:
  NotificationCenter center;
  std::vector<std::string> calls;

  NotificationCenter::Callback record(std::string tag) {
    return [this, tag](const Notification&) { calls.push_back(tag); };
  }
};

TEST_F(NotificationCenterTest, DeliversInRegistrationOrderToMatchingNameAndSender) {
  int sender = 0;
  int otherSender = 0;
  center.addObserver("Ping", this, record("any-1"));
  center.addObserver("Ping", this, record("from-sender"), &sender);
  center.addObserver("Pong", this, record("pong"));
  center.addObserver("Ping", this, record("any-2"));

  center.post("Ping", &otherSender);
  EXPECT_EQ(calls, (std::vector<std::string>{"any-1", "any-2"}));
  calls.clear();
  center.post("Ping", &sender);
  EXPECT_EQ(calls, (std::vector<std::string>{"any-1", "from-sender", "any-2"}));

  Notification received;
  center.addObserver("Launch", this, [&](const Notification& n) { received = n; });
  center.post("Launch", &sender, Value(Value::Dictionary{{"url", Value("orvane://x")}}));
  EXPECT_EQ(received.object, &sender);
  EXPECT_EQ(*received.userInfo.find("url"), Value("orvane://x"));
}

TEST_F(NotificationCenterTest, RemovesByTokenAndByOwner) {
  int ownerA = 0;
  int ownerB = 0;
  const auto token = center.addObserver("N", &ownerA, record("a1"));
  center.addObserver("N", &ownerA, record("a2"));
  center.addObserver("N", &ownerB, record("b"));
  center.removeObserver(token);
  center.post("N");
  EXPECT_EQ(calls, (std::vector<std::string>{"a2", "b"}));
  calls.clear();
  center.removeObserver(static_cast<const void*>(&ownerA));
  center.post("N");
  EXPECT_EQ(calls, (std::vector<std::string>{"b"}));
}

TEST_F(NotificationCenterTest, ObserversChangedDuringAPostTakeEffectSafely) {
  NotificationCenter::Token later = 0;
  center.addObserver("N", this, [&](const Notification&) {
    calls.push_back("first");
    center.removeObserver(later);                    // not called in this post any more
    center.addObserver("N", this, record("added"));  // waits for the next post
  });
  NotificationCenter::Token self = 0;
  self = center.addObserver("N", this, [&](const Notification&) {
    calls.push_back("self-removing");
    center.removeObserver(self);
  });
  later = center.addObserver("N", this, record("later"));

  center.post("N");
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "self-removing"}));
  calls.clear();
  center.post("N");
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "added"}));
}

TEST_F(NotificationCenterTest, ObserverMayPostFromInsideItsCallback) {
  center.addObserver("Outer", this, [&](const Notification&) {
    calls.push_back("outer");
    center.post("Inner");
  });
  center.addObserver("Inner", this, record("inner"));
  center.post("Outer");
  EXPECT_EQ(calls, (std::vector<std::string>{"outer", "inner"}));
}

TEST_F(NotificationCenterTest, RemovalWaitsForADeliveryInProgressElsewhere) {
  std::latch delivering(1);
  std::atomic<bool> finished{false};
  int owner = 0;
  center.addObserver("Slow", &owner, [&](const Notification&) {
    delivering.count_down();
    std::this_thread::sleep_for(30ms);
    finished = true;
  });
  std::thread poster([&] { center.post("Slow"); });
  delivering.wait();
  center.removeObserver(static_cast<const void*>(&owner));
  EXPECT_TRUE(finished);
  poster.join();
}

TEST_F(NotificationCenterTest, ManyThreadsPostingAddingAndRemovingAgree) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  std::atomic<int> stableDeliveries{0};
  center.addObserver("Load", this, [&](const Notification&) { ++stableDeliveries; });
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        const auto token = center.addObserver("Load", &threads, [](const Notification&) {});
        center.post("Load", nullptr, Value(t));
        center.removeObserver(token);
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(stableDeliveries, kThreads * kRounds);
  calls.clear();
  center.post("Load");
  EXPECT_EQ(stableDeliveries, kThreads * kRounds + 1);
}

}  // namespace
}  // namespace foundation
