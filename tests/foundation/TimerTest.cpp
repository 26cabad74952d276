#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <random>
#include <thread>

#include "Eventually.h"
#include "foundation/Timer.h"

namespace foundation {
namespace {

using namespace std::chrono_literals;

TEST(TimerTest, OneShotFiresOnceOnItsQueue) {
  DispatchQueue queue("test.timer");
  std::atomic<int> fired{0};
  std::atomic<bool> onQueue{false};
  auto timer = Timer::scheduled(queue, 10ms, false, [&](Timer&) {
    onQueue = queue.isCurrent();
    ++fired;
  });
  ASSERT_TRUE(eventually([&] { return fired > 0; }));
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(fired, 1);
  EXPECT_TRUE(onQueue);
}

TEST(TimerTest, RepeatingTimerInvalidatedFromItsOwnCallbackStopsAtOnce) {
  DispatchQueue queue("test.timer");
  std::atomic<int> fired{0};
  std::latch third(1);
  auto timer = Timer::scheduled(queue, 2ms, true, [&](Timer& self) {
    if (++fired == 3) {
      self.invalidate();
      third.count_down();
    }
  });
  third.wait();
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(fired, 3);
  EXPECT_FALSE(timer->isValid());
}

TEST(TimerTest, InvalidateWaitsForACallbackRunningOnAnotherThread) {
  DispatchQueue queue("test.timer");
  std::latch started(1);
  std::atomic<bool> finished{false};
  std::atomic<int> fired{0};
  auto timer = Timer::scheduled(queue, 1ms, true, [&](Timer&) {
    if (++fired == 1) {
      started.count_down();
      std::this_thread::sleep_for(30ms);
      finished = true;
    }
  });
  started.wait();
  timer->invalidate();
  EXPECT_TRUE(finished);  // the callback was done before invalidate returned
  const int firedAtInvalidate = fired;
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(fired, firedAtInvalidate);
}

TEST(TimerTest, NoCallbackStartsAfterInvalidateReturnsEvenUnderRaces) {
  DispatchQueue queue("test.timer");
  std::mt19937 random(20261122);
  for (int round = 0; round < 50; ++round) {
    std::atomic<bool> invalidated{false};
    std::atomic<bool> lateCallback{false};
    auto timer = Timer::scheduled(queue, 100us, true, [&](Timer&) {
      if (invalidated)
        lateCallback = true;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
    std::thread other([&] {
      timer->invalidate();
      invalidated = true;
    });
    other.join();
    std::this_thread::sleep_for(1ms);
    EXPECT_FALSE(lateCallback) << "round " << round;
  }
}

TEST(TimerTest, DroppingTheLastReferenceEndsTheTimer) {
  DispatchQueue queue("test.timer");
  std::atomic<int> fired{0};
  auto timer = Timer::scheduled(queue, 1ms, true, [&](Timer&) { ++fired; });
  ASSERT_TRUE(eventually([&] { return fired > 2; }));
  timer.reset();
  const int firedAtReset = fired;
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(fired, firedAtReset);
  EXPECT_GT(firedAtReset, 0);
}

}  // namespace
}  // namespace foundation
