#include "analytics/core/net/TallixCurlTransfer.h"

#include "analytics/core/net/TallixHttpAsyncTask.h"

namespace tallix {

TallixCurlTransfer::TallixCurlTransfer(std::shared_ptr<TallixHttpAsyncTask> task)
    : task_(std::move(task)), handle_(curl_easy_init()) {
  configure();
}

TallixCurlTransfer::~TallixCurlTransfer() {
  curl_easy_cleanup(handle_);
  curl_slist_free_all(headers_);
}

// Peer verification stays at libcurl's default (on), and libcurl keeps no response cache, so
// every request reaches the server.
void TallixCurlTransfer::configure() {
  const TallixHttpRequest& request = task_->request();
  for (const auto& [name, value] : request.headerFields)
    headers_ = curl_slist_append(headers_, (name + ": " + value).c_str());
  // Bodies are small and go whole: libcurl would otherwise ask first ("Expect: 100-continue")
  // and wait up to a second for a server that does not answer the question.
  headers_ = curl_slist_append(headers_, "Expect:");
  curl_easy_setopt(handle_, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, headers_);
  curl_easy_setopt(handle_, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeoutInterval.count()));
  curl_easy_setopt(handle_, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
  // Removing a handle must not wait for a name look-up still running in libcurl's resolver.
  curl_easy_setopt(handle_, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(handle_, CURLOPT_ERRORBUFFER, error_.data());
  curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, &TallixCurlTransfer::appendBody);
  curl_easy_setopt(handle_, CURLOPT_WRITEDATA, this);
  if (request.method != "GET")
    configureBody(request);
}

void TallixCurlTransfer::configureBody(const TallixHttpRequest& request) {
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE,
                   static_cast<curl_off_t>(request.body.size()));
  // Never null: libcurl would read the body from standard input instead.
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDS,
                   request.body.empty() ? "" : reinterpret_cast<const char*>(request.body.data()));
  if (request.method != "POST")
    curl_easy_setopt(handle_, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

size_t TallixCurlTransfer::appendBody(char* data, size_t size, size_t count, void* transfer) {
  auto& body = static_cast<TallixCurlTransfer*>(transfer)->body_;
  body.insert(body.end(), data, data + size * count);
  return size * count;
}

void TallixCurlTransfer::complete(CURLcode result) {
  long status = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
  std::optional<TallixHttpError> connectionError;
  if (result != CURLE_OK) {
    connectionError = TallixHttpError{TallixHttpError::kConnectionDomain, result,
                                      error_[0] ? error_.data() : curl_easy_strerror(result)};
  }
  task_->complete(TallixHTTPResponse(status, std::move(body_)), std::move(connectionError));
}

}  // namespace tallix
