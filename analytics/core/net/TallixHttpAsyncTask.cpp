#include "analytics/core/net/TallixHttpAsyncTask.h"

#include <curl/curl.h>

#include <sstream>

#include "analytics/core/net/TallixHttpTransport.h"

namespace tallix {
namespace {

template <typename Resource, void (*release)(Resource*)>
struct CurlReleaser {
  void operator()(Resource* resource) const { release(resource); }
};
using CurlString = std::unique_ptr<char, CurlReleaser<void, curl_free>>;
using CurlUrl = std::unique_ptr<CURLU, CurlReleaser<CURLU, curl_url_cleanup>>;

// Since libcurl 7.82 escaping ignores the handle, so none is made for it.
std::string escaped(const std::string& text) {
  CurlString encoded(curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())));
  return encoded ? std::string(static_cast<char*>(encoded.get())) : std::string();
}

std::string unescaped(const std::string& text) {
  int length = 0;
  CurlString decoded(
      curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length));
  return decoded ? std::string(static_cast<char*>(decoded.get()), length) : std::string();
}

TallixHttpError statusError(long statusCode) {
  return {TallixHttpError::kLoadFailedDomain, TallixHttpError::kLoadFailedCode,
          "The server answered with status " + std::to_string(statusCode)};
}

}  // namespace

std::shared_ptr<TallixHttpAsyncTask> TallixHttpAsyncTask::sendMethod(
    TallixHttpTransport& transport, std::string method, std::string url, Bytes body,
    HeaderFields headerFields, Delegate delegate, bool startImmediately,
    std::chrono::milliseconds timeoutInterval) {
  auto task = std::make_shared<TallixHttpAsyncTask>(
      transport,
      TallixHttpRequest{std::move(method), std::move(url), std::move(body), std::move(headerFields),
                        timeoutInterval},
      std::move(delegate));
  if (startImmediately)
    task->start();
  return task;
}

std::shared_ptr<TallixHttpAsyncTask> TallixHttpAsyncTask::get(TallixHttpTransport& transport,
                                                              std::string url, Delegate delegate,
                                                              HeaderFields headerFields) {
  return sendMethod(transport, "GET", std::move(url), {}, std::move(headerFields),
                    std::move(delegate), true);
}

std::shared_ptr<TallixHttpAsyncTask> TallixHttpAsyncTask::post(TallixHttpTransport& transport,
                                                               std::string url, Bytes body,
                                                               Delegate delegate,
                                                               HeaderFields headerFields) {
  return sendMethod(transport, "POST", std::move(url), std::move(body), std::move(headerFields),
                    std::move(delegate), true);
}

std::string TallixHttpAsyncTask::queryDictionaryToString(const QueryDictionary& query) {
  std::string joined;
  for (const auto& [key, value] : query) {
    if (!joined.empty())
      joined += '&';
    joined += escaped(key) + '=' + escaped(value);
  }
  return joined;
}

TallixHttpAsyncTask::QueryDictionary TallixHttpAsyncTask::stringToQueryDictionary(
    const std::string& query) {
  QueryDictionary dictionary;
  std::istringstream pairs(query);
  for (std::string pair; std::getline(pairs, pair, '&');) {
    if (pair.empty())
      continue;
    const auto equals = pair.find('=');
    const std::string value = equals == std::string::npos ? "" : pair.substr(equals + 1);
    dictionary[unescaped(pair.substr(0, equals))] = unescaped(value);
  }
  return dictionary;
}

std::string TallixHttpAsyncTask::urlWithProtocol(const std::string& protocol,
                                                 const std::string& host, int port,
                                                 const std::string& path,
                                                 const QueryDictionary& query) {
  CurlUrl url(curl_url());
  const std::string portText = port > 0 ? std::to_string(port) : "";
  const std::string queryText = queryDictionaryToString(query);
  const std::pair<CURLUPart, const std::string*> parts[] = {{CURLUPART_SCHEME, &protocol},
                                                            {CURLUPART_HOST, &host},
                                                            {CURLUPART_PORT, &portText},
                                                            {CURLUPART_PATH, &path},
                                                            {CURLUPART_QUERY, &queryText}};
  for (const auto& [part, text] : parts) {
    if (!text->empty() && curl_url_set(url.get(), part, text->c_str(), 0) != CURLUE_OK)
      return {};
  }
  char* joined = nullptr;
  if (curl_url_get(url.get(), CURLUPART_URL, &joined, CURLU_NO_DEFAULT_PORT) != CURLUE_OK)
    return {};
  const CurlString owner(joined);
  return joined;
}

TallixHttpAsyncTask::TallixHttpAsyncTask(TallixHttpTransport& transport, TallixHttpRequest request,
                                         Delegate delegate)
    : transport_(transport), request_(std::move(request)), delegate_(std::move(delegate)) {}

void TallixHttpAsyncTask::start() {
  if (finished_ || started_.exchange(true))
    return;
  transport_.add(shared_from_this());
}

void TallixHttpAsyncTask::cancelTask() {
  if (reportCancel() && started_)
    transport_.cancel(shared_from_this());
}

void TallixHttpAsyncTask::complete(TallixHTTPResponse response,
                                   std::optional<TallixHttpError> connectionError) {
  const long status = response.statusCode();
  if (!connectionError && status >= 200 && status < 300) {
    finish([response = std::move(response)](TallixHttpTaskDelegate& delegate, const auto& task) {
      delegate.requestSuccessful(task, response);
    });
    return;
  }
  finish([response = std::move(response), error = connectionError.value_or(statusError(status))](
             TallixHttpTaskDelegate& delegate, const auto& task) {
    delegate.requestDidFail(task, response, error);
  });
}

bool TallixHttpAsyncTask::reportCancel() {
  return finish([](TallixHttpTaskDelegate& delegate, const auto& task) {
    delegate.requestDidCancel(task, TallixHTTPResponse());
  });
}

bool TallixHttpAsyncTask::finish(Report report) {
  if (finished_.exchange(true))
    return false;
  transport_.completionExecutor()([self = shared_from_this(), report = std::move(report)] {
    if (const auto delegate = self->delegate_.lock())
      report(*delegate, self);
  });
  return true;
}

}  // namespace tallix
