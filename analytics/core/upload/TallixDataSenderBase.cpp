#include "analytics/core/upload/TallixDataSenderBase.h"

#include <algorithm>
#include <utility>

#include "analytics/core/net/TallixHttpAsyncTask.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/NotificationCenter.h"

namespace tallix {

TallixDataSenderBase::TallixDataSenderBase(Executor onQueue, ServerURLSource serverURL,
                                           std::unique_ptr<TallixHttpTransport> transport)
    : onQueue_(std::move(onQueue)),
      serverURL_(std::move(serverURL)),
      transport_(std::move(transport)) {}

TallixDataSenderBase::~TallixDataSenderBase() {
  if (center_)
    center_->removeObserver(this);
}

void TallixDataSenderBase::observeNetworkStatus(foundation::NotificationCenter& center) {
  center_ = &center;
  center.addObserver(TallixNetworkUtil::kStatusChangedNotification, this,
                     [this](const foundation::Notification& notification) {
                       const auto* status = notification.userInfo.find("networkStatus");
                       const bool reachable =
                           status && status->integer() == TallixNetworkUtil::kReachable;
                       onQueue([reachable](TallixDataSenderBase& sender) {
                         sender.networkStatusChanged(reachable);
                       });
                     });
}

void TallixDataSenderBase::onQueue(std::function<void(TallixDataSenderBase&)> work) {
  onQueue_([sender = weak_from_this(), work = std::move(work)] {
    if (const auto alive = sender.lock())
      work(*alive);
  });
}

void TallixDataSenderBase::requestSuccessful(const Task& task, const TallixHTTPResponse& response) {
  // Delegate calls already come through the queue executor.
  handleSuccess(task->tag(), response);
  unregisterTask(task, true);
}

void TallixDataSenderBase::requestDidFail(const Task& task, const TallixHTTPResponse&,
                                          const TallixHttpError& error) {
  handleFailure(task->tag(), error);
  unregisterTask(task, false);
}

void TallixDataSenderBase::requestDidCancel(const Task& task, const TallixHTTPResponse&) {
  unregisterTask(task, false);
}

bool TallixDataSenderBase::isSending(const std::string& identifier) const {
  return std::ranges::any_of(runningTasks_,
                             [&](const Task& task) { return task->tag() == identifier; });
}

bool TallixDataSenderBase::sendData(const Bytes& body, const std::string& identifier) {
  const std::string url = serverURL_();
  if (url.empty()) {
    TallixLog::debug("TallixDataSenderBase: no server configured, block [%s] stays stored",
                     identifier.c_str());
    return false;
  }
  auto task = TallixHttpAsyncTask::sendMethod(*transport_, "POST", url, body,
                                              {{"content-type", "application/octet-stream"}},
                                              weak_from_this(), false);
  task->setTag(identifier);
  if (runningTasks_.empty() && !inExtension())
    TallixLog::debug("Tallix: start background task");
  runningTasks_.push_back(task);
  task->start();
  return true;
}

void TallixDataSenderBase::unregisterTask(const Task& task, bool successful) {
  std::erase(runningTasks_, task);
  if (successful)
    retransmitNotSentBlocks();
  if (!runningTasks_.empty())
    return;
  if (!inExtension())
    TallixLog::debug("Tallix: stop background task");
  didCompleteAllTasks();
  for (const auto& callback : std::exchange(idleCallbacks_, {}))
    callback();
}

void TallixDataSenderBase::notifyWhenIdle(std::function<void()> callback) {
  if (runningTasks_.empty())
    callback();
  else
    idleCallbacks_.push_back(std::move(callback));
}

void TallixDataSenderBase::networkStatusChanged(bool reachable) {
  TallixLog::debug("TallixDataSenderBase: networkStatusChanged to %s reachable",
                   reachable ? "" : "not");
  if (reachable)
    retransmitNotSentBlocks();
}

}  // namespace tallix
