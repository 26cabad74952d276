#include "analytics/core/net/TallixHttpClient.h"

#include "analytics/core/net/TallixCurlMulti.h"
#include "analytics/core/net/TallixHttpAsyncTask.h"

namespace tallix {
TallixHttpClient::TallixHttpClient(Executor completionExecutor, TallixConnectionLimits limits)
    : completionExecutor_(std::move(completionExecutor)),
      multi_(std::make_unique<TallixCurlMulti>(limits)) {}

TallixHttpClient::~TallixHttpClient() {
  {
    std::lock_guard lock(requestsMutex_);
    stopping_ = true;
  }
  multi_->wakeUp();
  if (thread_.joinable())
    thread_.join();
  auto unfinished = multi_->removeAll();
  unfinished.insert(unfinished.end(), added_.begin(), added_.end());
  for (const auto& task : unfinished)
    task->reportCancel();
}

void TallixHttpClient::add(std::shared_ptr<TallixHttpAsyncTask> task) {
  std::lock_guard lock(requestsMutex_);
  added_.push_back(std::move(task));
  startThreadIfNeeded();
  multi_->wakeUp();
}

void TallixHttpClient::cancel(std::shared_ptr<TallixHttpAsyncTask> task) {
  std::lock_guard lock(requestsMutex_);
  cancelled_.push_back(std::move(task));
  multi_->wakeUp();
}

void TallixHttpClient::startThreadIfNeeded() {
  if (!thread_.joinable() && !stopping_)
    thread_ = std::thread([this] { run(); });
}

void TallixHttpClient::run() {
  while (takeRequests())
    multi_->performAndWait(kPollInterval);
}

bool TallixHttpClient::takeRequests() {
  std::vector<std::shared_ptr<TallixHttpAsyncTask>> added;
  std::vector<std::shared_ptr<TallixHttpAsyncTask>> cancelled;
  {
    std::lock_guard lock(requestsMutex_);
    if (stopping_)
      return false;
    added.swap(added_);
    cancelled.swap(cancelled_);
  }
  // Added first: a task cancelled right after its start goes in and straight out again.
  for (auto& task : added)
    multi_->add(std::move(task));
  for (const auto& task : cancelled)
    multi_->remove(*task);
  return true;
}

}  // namespace tallix
