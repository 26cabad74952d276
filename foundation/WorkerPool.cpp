#include "foundation/WorkerPool.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

namespace foundation {
namespace {

thread_local const WorkerPool* tlsCurrentPool = nullptr;
thread_local std::vector<const WorkerPool*> tlsBlockedQueues;

int niceness(QualityOfService qos) {
  switch (qos) {
    case QualityOfService::Utility:
      return 5;
    case QualityOfService::Background:
      return 10;
    default:
      return 0;
  }
}

void nameCallingThread(const std::string& label, QualityOfService qos) {
  // The kernel keeps 15 characters; the end of a reverse-DNS label says the most.
  const std::string shortName = label.size() > 15 ? label.substr(label.size() - 15) : label;
  pthread_setname_np(pthread_self(), shortName.c_str());
  if (const int nice = niceness(qos))
    setpriority(PRIO_PROCESS, gettid(), nice);
}

}  // namespace

WorkerPool::WorkScope::WorkScope(const WorkerPool* pool,
                                 std::vector<const WorkerPool*> blockedQueues)
    : previousPool_(tlsCurrentPool), previousBlocked_(std::move(tlsBlockedQueues)) {
  tlsCurrentPool = pool;
  tlsBlockedQueues = std::move(blockedQueues);
}

WorkerPool::WorkScope::~WorkScope() {
  tlsCurrentPool = previousPool_;
  tlsBlockedQueues = std::move(previousBlocked_);
}

std::shared_ptr<WorkerPool> WorkerPool::start(std::string label, int width, QualityOfService qos) {
  std::shared_ptr<WorkerPool> pool(new WorkerPool(std::move(label), width));
  for (int i = 0; i < width; ++i) {
    pool->workers_.emplace_back([pool, qos] { pool->workerLoop(qos); });
  }
  return pool;
}

WorkerPool::WorkerPool(std::string label, int width) : label_(std::move(label)), width_(width) {}

std::vector<const WorkerPool*> WorkerPool::queuesBlockedByCallingThread() {
  auto blocked = tlsBlockedQueues;
  if (tlsCurrentPool)
    blocked.push_back(tlsCurrentPool);
  return blocked;
}

const WorkerPool* WorkerPool::current() {
  return tlsCurrentPool;
}

void WorkerPool::enqueue(Work work, std::vector<const WorkerPool*> blockedQueues) {
  bool wake;
  {
    std::lock_guard lock(mutex_);
    ready_.push_back({std::move(work), std::move(blockedQueues)});
    wake = sleepingWorkers_ > 0;
  }
  // Busy workers come back for more on their own; only a sleeping one needs the system call.
  if (wake)
    wakeUp_.notify_one();
}

void WorkerPool::enqueueAfter(Clock::duration delay, Work work) {
  {
    std::lock_guard lock(mutex_);
    if (stopping_)
      return;
    delayed_.push({Clock::now() + delay, nextSequence_++, std::move(work)});
  }
  // A sleeping worker may be waiting for a later deadline than this one.
  wakeUp_.notify_all();
}

void WorkerPool::setForwarder(Forwarder forwarder) {
  auto shared = forwarder ? std::make_shared<const Forwarder>(std::move(forwarder)) : nullptr;
  std::lock_guard lock(mutex_);
  forwarder_ = std::move(shared);
}

void WorkerPool::stop() {
  decltype(delayed_) dropped;
  {
    std::lock_guard lock(mutex_);
    if (stopping_)
      return;
    stopping_ = true;
    std::swap(dropped, delayed_);
  }
  wakeUp_.notify_all();
  dropped = {};  // outside the lock: dropped work may own objects that use this pool
  for (auto& worker : workers_) {
    if (worker.get_id() == std::this_thread::get_id()) {
      worker.detach();
    } else {
      worker.join();
    }
  }
}

void WorkerPool::workerLoop(QualityOfService qos) {
  nameCallingThread(label_, qos);
  Item item;
  std::shared_ptr<const Forwarder> forwarder;
  while (nextItem(item, forwarder)) {
    if (forwarder) {
      auto self = shared_from_this();
      (*forwarder)([self, item = std::move(item)]() mutable { self->run(item); });
    } else {
      run(item);
    }
    item = {};
  }
}

bool WorkerPool::nextItem(Item& item, std::shared_ptr<const Forwarder>& forwarder) {
  std::unique_lock lock(mutex_);
  for (;;) {
    promoteDueWork(Clock::now());
    if (!ready_.empty()) {
      item = std::move(ready_.front());
      ready_.pop_front();
      forwarder = forwarder_;
      return true;
    }
    if (stopping_)
      return false;
    ++sleepingWorkers_;
    if (delayed_.empty()) {
      wakeUp_.wait(lock);
    } else {
      // A copy: the heap may reallocate while the lock is released.
      const Clock::time_point due = delayed_.top().due;
      wakeUp_.wait_until(lock, due);
    }
    --sleepingWorkers_;
  }
}

void WorkerPool::promoteDueWork(Clock::time_point now) {
  while (!delayed_.empty() && delayed_.top().due <= now) {
    // The heap only hands out const references; the work is moved out just before the pop.
    ready_.push_back({std::move(const_cast<Delayed&>(delayed_.top()).work), {}});
    delayed_.pop();
  }
}

void WorkerPool::run(Item& item) {
  WorkScope scope(this, std::move(item.blockedQueues));
  try {
    item.work();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "DispatchQueue \"%s\": work ended with an exception: %s\n", label_.c_str(),
                 error.what());
  } catch (...) {
    std::fprintf(stderr, "DispatchQueue \"%s\": work ended with an unknown exception\n",
                 label_.c_str());
  }
}

}  // namespace foundation
