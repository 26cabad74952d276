#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "analytics/core/net/TallixHttpTaskDelegate.h"
#include "analytics/core/net/TallixHttpTransport.h"
#include "foundation/Value.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

// The HTTP side of uploading: the running requests, each tagged with the stored block it
// carries, at most nine at once. Its state belongs to the agent queue: HTTP completions and
// network changes reach it through the queue executor. Owned by a shared_ptr, since tasks
// hold it weakly as their delegate.
class TallixDataSenderBase : public TallixHttpTaskDelegate,
                             public std::enable_shared_from_this<TallixDataSenderBase> {
 public:
  using Bytes = foundation::Value::Bytes;
  using Executor = TallixHttpTransport::Executor;
  // Where bodies go; empty while no server is configured.
  using ServerURLSource = std::function<std::string()>;
  // A new request starts only while fewer than this many are running.
  static constexpr std::size_t kTasksWindow = 9;

  // The transport's completions must come through the same queue as `onQueue`.
  TallixDataSenderBase(Executor onQueue, ServerURLSource serverURL,
                       std::unique_ptr<TallixHttpTransport> transport);
  ~TallixDataSenderBase() override;

  // Retransmits when "TallixNetworkStatusChangedNotification" says the network is reachable.
  void observeNetworkStatus(foundation::NotificationCenter& center);

  void requestSuccessful(const Task& task, const TallixHTTPResponse& response) override;
  void requestDidFail(const Task& task, const TallixHTTPResponse& response,
                      const TallixHttpError& error) override;
  void requestDidCancel(const Task& task, const TallixHTTPResponse& response) override;

  std::size_t runningTaskCount() const { return runningTasks_.size(); }
  // An extension's process has no background time to hold while requests run.
  void setInExtension(bool inExtension) { inExtension_ = inExtension; }
  bool inExtension() const { return inExtension_; }
  // Calls back, on the queue, once no request is running: the hold a terminating application
  // keeps so that what it just sent gets through.
  void notifyWhenIdle(std::function<void()> callback);

 protected:
  bool hasOngoingTasksWindow() const { return runningTasks_.size() < kTasksWindow; }
  bool isSending(const std::string& identifier) const;
  // Posts the body tagged with the block's identifier; false when no server is configured.
  bool sendData(const Bytes& body, const std::string& identifier);

  virtual void handleSuccess(const std::string& identifier, const TallixHTTPResponse& response) = 0;
  virtual void handleFailure(const std::string& identifier, const TallixHttpError& error) = 0;
  virtual void retransmitNotSentBlocks() = 0;
  virtual void didCompleteAllTasks() = 0;

 private:
  // Runs the work on the agent queue while this sender still exists.
  void onQueue(std::function<void(TallixDataSenderBase&)> work);
  void unregisterTask(const Task& task, bool successful);
  void networkStatusChanged(bool reachable);

  const Executor onQueue_;
  const ServerURLSource serverURL_;
  foundation::NotificationCenter* center_ = nullptr;
  std::vector<Task> runningTasks_;
  std::vector<std::function<void()>> idleCallbacks_;
  // Set when the agent starts, read on the queue.
  std::atomic<bool> inExtension_{false};
  // Last: destroyed first, cancelling what still runs while the rest stands.
  const std::unique_ptr<TallixHttpTransport> transport_;
};

}  // namespace tallix
