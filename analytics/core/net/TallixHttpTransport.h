#pragma once

#include <functional>
#include <memory>

namespace tallix {

class TallixHttpAsyncTask;

// What carries tasks' requests to the network and back: libcurl in the agent
// (TallixHttpClient), memory in tests of the code above it. A transport ends every task it was
// given exactly once, with TallixHttpAsyncTask::complete() or reportCancel(), and never calls a
// delegate itself: tasks reach their delegates through the completion executor.
class TallixHttpTransport {
 public:
  using Work = std::function<void()>;
  using Executor = std::function<void(Work)>;

  virtual ~TallixHttpTransport() = default;

  // From any thread.
  virtual void add(std::shared_ptr<TallixHttpAsyncTask> task) = 0;
  // From any thread; the task has already reported its cancel.
  virtual void cancel(std::shared_ptr<TallixHttpAsyncTask> task) = 0;
  virtual const Executor& completionExecutor() const = 0;
};

}  // namespace tallix
