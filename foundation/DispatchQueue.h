#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "foundation/MainExecutor.h"
#include "foundation/QualityOfService.h"

namespace foundation {

class WorkerPool;

// Thrown by sync() when the call could never return: the target queue is serial and the
// calling thread is running its work, or is what that queue's work is waiting for.
class DispatchDeadlock : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// A queue of work. A serial queue runs one item at a time, in the order they were queued, on
// a thread of its own; the global queues run items concurrently on a pool per quality of
// service; the main queue runs on the thread of whatever MainExecutor is installed.
class DispatchQueue {
 public:
  using Work = std::function<void()>;

  // A serial queue. Destroying it runs the work already queued, drops delayed work that is
  // not yet due, and waits for its thread unless destroyed from its own work.
  explicit DispatchQueue(std::string label, QualityOfService qos = QualityOfService::Default);
  ~DispatchQueue();
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  static DispatchQueue& global(QualityOfService qos = QualityOfService::Default);
  static DispatchQueue& main();
  // Until an executor is installed, main-queue work runs on a dedicated thread.
  static void installMainExecutor(std::shared_ptr<MainExecutor> executor);
  // True on the thread that runs main-queue work.
  static bool isMainThread();

  const std::string& label() const;
  bool isCurrent() const;

  void async(Work work);
  void asyncAfter(std::chrono::steady_clock::duration delay, Work work);

  // Runs the work on this queue and waits for it; its result or exception comes back here.
  template <typename Function>
  std::invoke_result_t<Function&> sync(Function&& function);

 private:
  friend class Timer;
  DispatchQueue(std::shared_ptr<WorkerPool> pool);
  void syncInvoke(const Work& work);
  std::weak_ptr<WorkerPool> pool() const { return pool_; }

  std::shared_ptr<WorkerPool> pool_;
  bool ownsPool_;
};

template <typename Function>
std::invoke_result_t<Function&> DispatchQueue::sync(Function&& function) {
  using Result = std::invoke_result_t<Function&>;
  if constexpr (std::is_void_v<Result>) {
    syncInvoke([&function] { function(); });
  } else {
    std::optional<Result> result;
    syncInvoke([&function, &result] { result.emplace(function()); });
    return std::move(*result);
  }
}

}  // namespace foundation
