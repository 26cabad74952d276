#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include "analytics/core/net/TallixHttpAsyncTask.h"
#include "analytics/core/net/TallixHttpTransport.h"

namespace tallix {

// Carries requests nowhere: the test answers each one itself, oldest first. Completions go
// through the executor given, as the agent's go through its queue.
class InMemoryTransport final : public TallixHttpTransport {
 public:
  explicit InMemoryTransport(Executor completions) : completions_(std::move(completions)) {}

  void add(std::shared_ptr<TallixHttpAsyncTask> task) override {
    std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(task));
  }
  void cancel(std::shared_ptr<TallixHttpAsyncTask> task) override {
    std::lock_guard lock(mutex_);
    std::erase(waiting_, task);
  }
  const Executor& completionExecutor() const override { return completions_; }

  std::size_t waiting() const {
    std::lock_guard lock(mutex_);
    return waiting_.size();
  }
  // Answers the oldest request, or fails it without an answer when there is no status; returns
  // the body it carried.
  foundation::Value::Bytes answerOldest(std::optional<long> status,
                                        foundation::Value::Bytes answer = {}) {
    std::shared_ptr<TallixHttpAsyncTask> task;
    {
      std::lock_guard lock(mutex_);
      task = waiting_.front();
      waiting_.pop_front();
    }
    if (status)
      task->complete(TallixHTTPResponse(*status, std::move(answer)), std::nullopt);
    else
      task->complete({}, TallixHttpError{TallixHttpError::kConnectionDomain, 7, "refused"});
    return task->request().body;
  }

 private:
  const Executor completions_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<TallixHttpAsyncTask>> waiting_;
};

}  // namespace tallix
