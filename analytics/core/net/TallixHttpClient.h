#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "analytics/core/net/TallixConnectionLimits.h"
#include "analytics/core/net/TallixHttpTransport.h"

namespace tallix {

class TallixCurlMulti;

// Runs the agent's HTTP transfers on one thread of its own, started with the first request.
// Delegates are called through the completion executor, so they run wherever it puts them
// (the agent queue), never on this thread. Destroying the client cancels what is still
// running and waits for the thread, which never blocks longer than one poll interval.
class TallixHttpClient final : public TallixHttpTransport {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{250};

  explicit TallixHttpClient(Executor completionExecutor, TallixConnectionLimits limits = {});
  ~TallixHttpClient() override;
  TallixHttpClient(const TallixHttpClient&) = delete;
  TallixHttpClient& operator=(const TallixHttpClient&) = delete;

  // The work is picked up by the client's thread.
  void add(std::shared_ptr<TallixHttpAsyncTask> task) override;
  // Held until the client's thread has seen it, so its address cannot be taken by a newer task.
  void cancel(std::shared_ptr<TallixHttpAsyncTask> task) override;
  const Executor& completionExecutor() const override { return completionExecutor_; }

 private:
  void run();
  // False once the client is stopping.
  bool takeRequests();
  void startThreadIfNeeded();

  const Executor completionExecutor_;
  const std::unique_ptr<TallixCurlMulti> multi_;
  std::mutex requestsMutex_;
  std::vector<std::shared_ptr<TallixHttpAsyncTask>> added_;
  std::vector<std::shared_ptr<TallixHttpAsyncTask>> cancelled_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace tallix
