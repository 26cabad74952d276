#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <queue>
#include <string>
#include <thread>
#include <vector>

#include "foundation/QualityOfService.h"

namespace foundation {

// The threads behind a DispatchQueue: a FIFO of ready work, a heap of delayed work and a
// fixed number of workers. Width 1 makes a serial queue. Workers keep the pool alive, so a
// queue destroyed from inside its own work still finishes safely.
class WorkerPool : public std::enable_shared_from_this<WorkerPool> {
 public:
  using Work = std::function<void()>;
  using Clock = std::chrono::steady_clock;
  // Hands work to another thread instead of running it on the pool's own worker.
  using Forwarder = std::function<void(Work)>;

  static std::shared_ptr<WorkerPool> start(std::string label, int width, QualityOfService qos);

  const std::string& label() const { return label_; }
  bool isSerial() const { return width_ == 1; }

  // Queues of which the calling thread is blocked in sync() (directly or through a chain of
  // sync calls), plus the queue whose work it is running now. Syncing onto any serial one of
  // them cannot make progress.
  static std::vector<const WorkerPool*> queuesBlockedByCallingThread();
  // The pool whose work the calling thread is running, if any.
  static const WorkerPool* current();
  // Marks the calling thread as running this pool's work for the life of the returned token.
  class WorkScope;

  void enqueue(Work work, std::vector<const WorkerPool*> blockedQueues = {});
  void enqueueAfter(Clock::duration delay, Work work);
  void setForwarder(Forwarder forwarder);

  // Runs everything already queued, drops delayed work not yet due, and ends the workers.
  // Joins them unless called from one of them.
  void stop();

 private:
  struct Item {
    Work work;
    std::vector<const WorkerPool*> blockedQueues;
  };
  struct Delayed {
    Clock::time_point due;
    std::uint64_t sequence;
    Work work;
    bool operator>(const Delayed& other) const {
      return due != other.due ? due > other.due : sequence > other.sequence;
    }
  };

  WorkerPool(std::string label, int width);
  void workerLoop(QualityOfService qos);
  // Takes the next item and, under the same lock, the forwarder it must go through.
  bool nextItem(Item& item, std::shared_ptr<const Forwarder>& forwarder);
  void promoteDueWork(Clock::time_point now);
  void run(Item& item);

  const std::string label_;
  const int width_;
  std::mutex mutex_;
  std::condition_variable wakeUp_;
  std::deque<Item> ready_;
  std::priority_queue<Delayed, std::vector<Delayed>, std::greater<>> delayed_;
  std::uint64_t nextSequence_ = 0;
  int sleepingWorkers_ = 0;
  bool stopping_ = false;
  std::shared_ptr<const Forwarder> forwarder_;
  std::vector<std::thread> workers_;
};

class WorkerPool::WorkScope {
 public:
  WorkScope(const WorkerPool* pool, std::vector<const WorkerPool*> blockedQueues);
  ~WorkScope();
  WorkScope(const WorkScope&) = delete;
  WorkScope& operator=(const WorkScope&) = delete;

 private:
  const WorkerPool* previousPool_;
  std::vector<const WorkerPool*> previousBlocked_;
};

}  // namespace foundation
