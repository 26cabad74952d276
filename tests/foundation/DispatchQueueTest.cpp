#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "Eventually.h"
#include "foundation/DispatchQueue.h"

namespace foundation {
namespace {

using namespace std::chrono_literals;

TEST(DispatchQueueTest, SerialQueueKeepsEachProducersOrderAndRunsOneAtATime) {
  constexpr int kProducers = 4;
  constexpr int kItemsEach = 5000;
  DispatchQueue queue("test.serial");
  std::vector<int> lastSeen(kProducers, -1);
  std::atomic<int> running{0};
  std::atomic<bool> overlapped{false};
  std::atomic<bool> outOfOrder{false};

  std::vector<std::thread> producers;
  for (int producer = 0; producer < kProducers; ++producer) {
    producers.emplace_back([&, producer] {
      for (int item = 0; item < kItemsEach; ++item) {
        queue.async([&, producer, item] {
          if (running.fetch_add(1) != 0)
            overlapped = true;
          if (lastSeen[producer] != item - 1)
            outOfOrder = true;
          lastSeen[producer] = item;
          running.fetch_sub(1);
        });
      }
    });
  }
  for (auto& producer : producers)
    producer.join();
  queue.sync([] {});

  EXPECT_FALSE(overlapped);
  EXPECT_FALSE(outOfOrder);
  for (int last : lastSeen)
    EXPECT_EQ(last, kItemsEach - 1);
}

TEST(DispatchQueueTest, SyncReturnsTheResultAndRethrowsOnTheCaller) {
  DispatchQueue queue("test.sync");
  EXPECT_EQ(queue.sync([] { return 42; }), 42);
  EXPECT_TRUE(queue.sync([&] { return queue.isCurrent(); }));
  EXPECT_FALSE(queue.isCurrent());
  EXPECT_THROW(queue.sync([]() -> int { throw std::runtime_error("boom"); }), std::runtime_error);
  queue.async([] { throw std::runtime_error("lost"); });
  // The queue survives both exceptions.
  EXPECT_EQ(queue.sync([] { return 7; }), 7);
}

TEST(DispatchQueueTest, SyncThatWouldDeadlockIsReportedInsteadOfHanging) {
  DispatchQueue first("test.first");
  DispatchQueue second("test.second");

  EXPECT_THROW(first.sync([&] { first.sync([] {}); }), DispatchDeadlock);
  // first waits for second, whose work waits for first: a cycle through another thread.
  EXPECT_THROW(first.sync([&] { second.sync([&] { first.sync([] {}); }); }), DispatchDeadlock);
}

TEST(DispatchQueueTest, SyncOntoOtherQueuesFromInsideWorkDoesNotDeadlock) {
  DispatchQueue first("test.first");
  DispatchQueue second("test.second");
  const int nested = first.sync(
      [&] { return second.sync([&] { return DispatchQueue::global().sync([] { return 3; }); }); });
  EXPECT_EQ(nested, 3);
  // After the chain has unwound, first may be used from second again.
  EXPECT_NO_THROW(second.sync([&] { first.sync([] {}); }));
}

TEST(DispatchQueueTest, DelayedWorkRunsInDeadlineOrderWithoutHoldingUpOtherWork) {
  DispatchQueue queue("test.delayed");
  std::mutex mutex;
  std::vector<int> order;
  auto record = [&](int tag) {
    return [&, tag] {
      std::lock_guard lock(mutex);
      order.push_back(tag);
    };
  };
  queue.asyncAfter(60ms, record(3));
  queue.asyncAfter(20ms, record(1));
  queue.asyncAfter(40ms, record(2));
  queue.async(record(0));
  ASSERT_TRUE(eventually([&] { return queue.sync([&] { return order.size() == 4; }); }));
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
}

TEST(DispatchQueueTest, DestructionRunsQueuedWorkAndDropsDelayedWork) {
  std::atomic<int> ran{0};
  auto delayedCapture = std::make_shared<int>(0);
  {
    DispatchQueue queue("test.destroyed");
    queue.async([] { std::this_thread::sleep_for(20ms); });
    for (int i = 0; i < 1000; ++i)
      queue.async([&] { ++ran; });
    queue.asyncAfter(10s, [&, delayedCapture] { ran += 1000000; });
  }
  EXPECT_EQ(ran, 1000);
  EXPECT_EQ(delayedCapture.use_count(), 1);  // the dropped work released what it held
}

TEST(DispatchQueueTest, QueueDestroyedFromItsOwnWorkFinishesSafely) {
  auto queue = std::make_unique<DispatchQueue>("test.self-destroying");
  std::atomic<bool> afterReset{false};
  std::latch bothQueued(1);
  std::latch done(1);
  queue->async([&] {
    bothQueued.wait();
    queue.reset();
  });
  queue->async([&] {
    afterReset = true;
    done.count_down();
  });
  bothQueued.count_down();
  done.wait();
  EXPECT_TRUE(afterReset);
  EXPECT_EQ(queue, nullptr);
}

TEST(DispatchQueueTest, GlobalQueueRunsWorkConcurrently) {
  // Each item waits for the other: this only finishes if both run at once.
  std::latch bothRunning(2);
  std::latch finished(2);
  for (int i = 0; i < 2; ++i) {
    DispatchQueue::global(QualityOfService::Utility).async([&] {
      bothRunning.arrive_and_wait();
      finished.count_down();
    });
  }
  finished.wait();
  SUCCEED();
}

// Stands in for a GUI toolkit: its "main thread" is a serial queue of its own.
class QueueBackedExecutor : public MainExecutor {
 public:
  void post(std::function<void()> work) override { thread_.async(std::move(work)); }
  bool isMainThread() const override { return std::this_thread::get_id() == threadId_; }

 private:
  DispatchQueue thread_{"test.gui-thread"};
  const std::thread::id threadId_ = thread_.sync([] { return std::this_thread::get_id(); });
};

TEST(DispatchQueueTest, MainQueueRunsOnItsOwnThreadUntilAnExecutorIsInstalled) {
  EXPECT_FALSE(DispatchQueue::isMainThread());
  EXPECT_TRUE(DispatchQueue::main().sync([] { return DispatchQueue::isMainThread(); }));

  auto executor = std::make_shared<QueueBackedExecutor>();
  DispatchQueue::installMainExecutor(executor);
  std::vector<int> order;
  for (int i = 0; i < 100; ++i)
    DispatchQueue::main().async([&, i] { order.push_back(i); });
  const bool onGuiThread = DispatchQueue::main().sync([&] { return executor->isMainThread(); });
  const bool sawDeadlock = DispatchQueue::main().sync([] {
    try {
      DispatchQueue::main().sync([] {});
    } catch (const DispatchDeadlock&) {
      return true;
    }
    return false;
  });
  DispatchQueue::installMainExecutor(nullptr);

  EXPECT_TRUE(onGuiThread);
  EXPECT_TRUE(sawDeadlock);
  ASSERT_EQ(order.size(), 100u);
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(order[i], i);
  EXPECT_TRUE(DispatchQueue::main().sync([] { return DispatchQueue::isMainThread(); }));
}

}  // namespace
}  // namespace foundation
