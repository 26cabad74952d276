#pragma once

#include <curl/curl.h>

#include <array>
#include <memory>

#include "foundation/Value.h"

namespace tallix {

class TallixHttpAsyncTask;
struct TallixHttpRequest;

// One task's libcurl easy handle: set up from the task's request, it gathers the answer and
// tells the task how the exchange ended.
class TallixCurlTransfer {
 public:
  explicit TallixCurlTransfer(std::shared_ptr<TallixHttpAsyncTask> task);
  ~TallixCurlTransfer();
  TallixCurlTransfer(const TallixCurlTransfer&) = delete;
  TallixCurlTransfer& operator=(const TallixCurlTransfer&) = delete;

  CURL* handle() const { return handle_; }
  const std::shared_ptr<TallixHttpAsyncTask>& task() const { return task_; }
  void complete(CURLcode result);

 private:
  void configure();
  // Any method but GET sends the request's body, empty or not.
  void configureBody(const TallixHttpRequest& request);
  static size_t appendBody(char* data, size_t size, size_t count, void* transfer);

  const std::shared_ptr<TallixHttpAsyncTask> task_;
  CURL* const handle_;
  curl_slist* headers_ = nullptr;
  foundation::Value::Bytes body_;
  std::array<char, CURL_ERROR_SIZE> error_{};
};

}  // namespace tallix
