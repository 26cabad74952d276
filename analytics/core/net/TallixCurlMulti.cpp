#include "analytics/core/net/TallixCurlMulti.h"

#include "analytics/core/net/TallixHttpAsyncTask.h"

namespace tallix {
namespace {

// libcurl's global set-up, once for the process; it is thread-safe in the libcurl we build on.
CURLM* newMultiHandle() {
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
  (void)initialised;
  return curl_multi_init();
}

}  // namespace

TallixCurlMulti::TallixCurlMulti(TallixConnectionLimits limits) : multi_(newMultiHandle()) {
  curl_multi_setopt(multi_, CURLMOPT_MAX_TOTAL_CONNECTIONS, limits.total);
  curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, limits.perHost);
}

TallixCurlMulti::~TallixCurlMulti() {
  removeAll();
  curl_multi_cleanup(multi_);
}

void TallixCurlMulti::add(std::shared_ptr<TallixHttpAsyncTask> task) {
  auto transfer = std::make_unique<TallixCurlTransfer>(task);
  if (curl_multi_add_handle(multi_, transfer->handle()) != CURLM_OK) {
    transfer->complete(CURLE_FAILED_INIT);
    return;
  }
  curl_easy_setopt(transfer->handle(), CURLOPT_PRIVATE, transfer.get());
  transfers_[task.get()] = std::move(transfer);
}

std::vector<std::shared_ptr<TallixHttpAsyncTask>> TallixCurlMulti::removeAll() {
  std::vector<std::shared_ptr<TallixHttpAsyncTask>> tasks;
  while (!transfers_.empty()) {
    tasks.push_back(transfers_.begin()->second->task());
    remove(*transfers_.begin()->first);
  }
  return tasks;
}

void TallixCurlMulti::performAndWait(std::chrono::milliseconds limit) {
  int running = 0;
  curl_multi_perform(multi_, &running);
  completeFinishedTransfers();
  curl_multi_poll(multi_, nullptr, 0, static_cast<int>(limit.count()), nullptr);
}

void TallixCurlMulti::wakeUp() {
  curl_multi_wakeup(multi_);
}

void TallixCurlMulti::completeFinishedTransfers() {
  int queued = 0;
  while (CURLMsg* message = curl_multi_info_read(multi_, &queued)) {
    if (message->msg != CURLMSG_DONE)
      continue;
    TallixCurlTransfer* transfer = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
    // The message points into the handle: read the result before the handle goes.
    const CURLcode result = message->data.result;
    transfer->complete(result);
    remove(*transfer->task());
  }
}

void TallixCurlMulti::remove(const TallixHttpAsyncTask& task) {
  const auto found = transfers_.find(&task);
  if (found == transfers_.end())
    return;
  curl_multi_remove_handle(multi_, found->second->handle());
  transfers_.erase(found);
}

}  // namespace tallix
