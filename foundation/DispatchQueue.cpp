#include "foundation/DispatchQueue.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "foundation/WorkerPool.h"

namespace foundation {
namespace {

std::mutex gMainExecutorMutex;
std::shared_ptr<MainExecutor> gMainExecutor;

std::shared_ptr<MainExecutor> installedMainExecutor() {
  std::lock_guard lock(gMainExecutorMutex);
  return gMainExecutor;
}

const char* globalLabel(QualityOfService qos) {
  static constexpr std::array labels = {
      "com.orvane.global.user-interactive", "com.orvane.global.user-initiated",
      "com.orvane.global.default", "com.orvane.global.utility", "com.orvane.global.background"};
  return labels[static_cast<int>(qos)];
}

}  // namespace

DispatchQueue::DispatchQueue(std::string label, QualityOfService qos)
    : pool_(WorkerPool::start(std::move(label), 1, qos)), ownsPool_(true) {}

DispatchQueue::DispatchQueue(std::shared_ptr<WorkerPool> pool)
    : pool_(std::move(pool)), ownsPool_(false) {}

DispatchQueue::~DispatchQueue() {
  if (ownsPool_)
    pool_->stop();
}

DispatchQueue& DispatchQueue::global(QualityOfService qos) {
  // Process-wide and never destroyed: work may still be queued while statics are torn down.
  static std::array<std::once_flag, kQualityOfServiceCount> created;
  static std::array<DispatchQueue*, kQualityOfServiceCount> queues{};
  const auto index = static_cast<std::size_t>(qos);
  std::call_once(created[index], [&] {
    const int width = std::max(2, static_cast<int>(std::thread::hardware_concurrency()));
    queues[index] = new DispatchQueue(WorkerPool::start(globalLabel(qos), width, qos));
  });
  return *queues[index];
}

DispatchQueue& DispatchQueue::main() {
  static DispatchQueue* queue =
      new DispatchQueue(WorkerPool::start("com.orvane.main", 1, QualityOfService::UserInteractive));
  return *queue;
}

void DispatchQueue::installMainExecutor(std::shared_ptr<MainExecutor> executor) {
  {
    std::lock_guard lock(gMainExecutorMutex);
    gMainExecutor = executor;
  }
  WorkerPool::Forwarder forwarder;
  if (executor)
    forwarder = [executor](Work work) { executor->post(std::move(work)); };
  main().pool_->setForwarder(std::move(forwarder));
}

bool DispatchQueue::isMainThread() {
  if (const auto executor = installedMainExecutor())
    return executor->isMainThread();
  return WorkerPool::current() == main().pool_.get();
}

const std::string& DispatchQueue::label() const {
  return pool_->label();
}

bool DispatchQueue::isCurrent() const {
  if (this == &main())
    return isMainThread();
  return WorkerPool::current() == pool_.get();
}

void DispatchQueue::async(Work work) {
  pool_->enqueue(std::move(work));
}

void DispatchQueue::asyncAfter(std::chrono::steady_clock::duration delay, Work work) {
  pool_->enqueueAfter(delay, std::move(work));
}

void DispatchQueue::syncInvoke(const Work& work) {
  auto blocked = WorkerPool::queuesBlockedByCallingThread();
  // The main thread holds up main-queue work even when it is not running any of it.
  if (isMainThread())
    blocked.push_back(main().pool_.get());
  if (pool_->isSerial() && std::ranges::find(blocked, pool_.get()) != blocked.end()) {
    throw DispatchDeadlock("sync onto queue \"" + label() +
                           "\" from work that queue would have to wait for");
  }

  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  std::exception_ptr error;
  pool_->enqueue(
      [&] {
        try {
          work();
        } catch (...) {
          error = std::current_exception();
        }
        // Notify under the lock: the waiter's stack frame owns the condition variable.
        std::lock_guard lock(mutex);
        done = true;
        finished.notify_one();
      },
      std::move(blocked));
  std::unique_lock lock(mutex);
  finished.wait(lock, [&] { return done; });
  if (error)
    std::rethrow_exception(error);
}

}  // namespace foundation
