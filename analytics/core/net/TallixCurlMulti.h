#pragma once

#include <curl/curl.h>

#include <chrono>
#include <map>
#include <memory>
#include <vector>

#include "analytics/core/net/TallixConnectionLimits.h"
#include "analytics/core/net/TallixCurlTransfer.h"

namespace tallix {

class TallixHttpAsyncTask;

// A libcurl multi handle and the transfers on it. Used from one thread, except wakeUp().
class TallixCurlMulti {
 public:
  explicit TallixCurlMulti(TallixConnectionLimits limits = {});
  ~TallixCurlMulti();
  TallixCurlMulti(const TallixCurlMulti&) = delete;
  TallixCurlMulti& operator=(const TallixCurlMulti&) = delete;

  void add(std::shared_ptr<TallixHttpAsyncTask> task);
  void remove(const TallixHttpAsyncTask& task);
  // Drops every transfer, handing back their tasks.
  std::vector<std::shared_ptr<TallixHttpAsyncTask>> removeAll();

  // Moves the transfers on, completes the finished ones, then waits for network activity or
  // wakeUp(), at most `limit`.
  void performAndWait(std::chrono::milliseconds limit);
  // From any thread: ends the current or next wait.
  void wakeUp();

 private:
  void completeFinishedTransfers();

  CURLM* const multi_;
  std::map<const TallixHttpAsyncTask*, std::unique_ptr<TallixCurlTransfer>> transfers_;
};

}  // namespace tallix
