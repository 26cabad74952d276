#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "analytics/core/net/TallixHTTPResponse.h"
#include "analytics/core/net/TallixHttpError.h"
#include "analytics/core/net/TallixHttpRequest.h"
#include "analytics/core/net/TallixHttpTaskDelegate.h"
#include "foundation/Value.h"

namespace tallix {

class TallixHttpTransport;

// One HTTP request on a transport. Its delegate hears exactly once how it ended; a delegate
// that is gone by then hears nothing. The transport must outlive the tasks made on it.
class TallixHttpAsyncTask : public std::enable_shared_from_this<TallixHttpAsyncTask> {
 public:
  using Bytes = foundation::Value::Bytes;
  using HeaderFields = TallixHttpRequest::HeaderFields;
  using QueryDictionary = std::map<std::string, std::string>;
  using Delegate = std::weak_ptr<TallixHttpTaskDelegate>;

  static std::shared_ptr<TallixHttpAsyncTask> sendMethod(
      TallixHttpTransport& transport, std::string method, std::string url, Bytes body,
      HeaderFields headerFields, Delegate delegate, bool startImmediately,
      std::chrono::milliseconds timeoutInterval = TallixHttpRequest::kDefaultTimeout);
  // Started at once.
  static std::shared_ptr<TallixHttpAsyncTask> get(TallixHttpTransport& transport, std::string url,
                                                  Delegate delegate,
                                                  HeaderFields headerFields = {});
  static std::shared_ptr<TallixHttpAsyncTask> post(TallixHttpTransport& transport, std::string url,
                                                   Bytes body, Delegate delegate,
                                                   HeaderFields headerFields = {});

  // Keys and values percent-encoded, joined as k=v&k=v.
  static std::string queryDictionaryToString(const QueryDictionary& query);
  // The reverse; a pair without "=" gives an empty value.
  static QueryDictionary stringToQueryDictionary(const std::string& query);
  // Empty when the parts make no URL. A port of 0, or the scheme's own, is left out.
  static std::string urlWithProtocol(const std::string& protocol, const std::string& host, int port,
                                     const std::string& path, const QueryDictionary& query);

  TallixHttpAsyncTask(TallixHttpTransport& transport, TallixHttpRequest request, Delegate delegate);
  TallixHttpAsyncTask(const TallixHttpAsyncTask&) = delete;
  TallixHttpAsyncTask& operator=(const TallixHttpAsyncTask&) = delete;

  // Hands the request to the transport; later calls, or calls after a cancel, do nothing.
  void start();
  // Unless the task has already ended, stops it and tells the delegate so.
  void cancelTask();

  const TallixHttpRequest& request() const { return request_; }
  const std::string& tag() const { return tag_; }
  void setTag(std::string tag) { tag_ = std::move(tag); }
  const foundation::Value& taskParams() const { return taskParams_; }
  void setTaskParams(foundation::Value params) { taskParams_ = std::move(params); }

  // For the transport, when the exchange is over; a connection error means no answer.
  void complete(TallixHTTPResponse response, std::optional<TallixHttpError> connectionError);
  // For the transport, when it drops the task unfinished. False when the task had ended.
  bool reportCancel();

 private:
  using Report =
      std::function<void(TallixHttpTaskDelegate&, const std::shared_ptr<TallixHttpAsyncTask>&)>;
  // Only the first report of a task reaches its delegate, through the completion executor.
  bool finish(Report report);

  TallixHttpTransport& transport_;
  const TallixHttpRequest request_;
  const Delegate delegate_;
  std::string tag_;
  foundation::Value taskParams_;
  std::atomic<bool> started_ = false;
  std::atomic<bool> finished_ = false;
};

}  // namespace tallix
