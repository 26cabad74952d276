#include "platform/AnalyticsServer.h"

#include <curl/curl.h>

#include <cstdlib>
#include <memory>

namespace platform {

namespace {

// One part of a parsed address, empty when the address has none.
std::string part(CURLU* url, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(url, which, &text, 0) != CURLUE_OK || !text)
    return {};
  std::string value(text);
  curl_free(text);
  return value;
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

std::string AnalyticsServer::configurationUrl() const {
  return (secure ? "https://" : "http://") + hostAndPort + "/sdk/v1/config";
}

AnalyticsServer::Parsed AnalyticsServer::fromText(std::string_view text) {
  const std::string address(trimmed(text));
  if (address.empty())
    return std::monostate{};
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
  const std::string scheme = curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) == CURLUE_OK
                                 ? part(url.get(), CURLUPART_SCHEME)
                                 : std::string();
  if (scheme != "http" && scheme != "https")
    return '"' + std::string(text) + "\" is not an http:// or https:// address";
  // The agent posts to its own path; anything else in the address would be silently dropped.
  const std::string path = part(url.get(), CURLUPART_PATH);
  const bool bare = (path.empty() || path == "/") && part(url.get(), CURLUPART_QUERY).empty() &&
                    part(url.get(), CURLUPART_FRAGMENT).empty() &&
                    part(url.get(), CURLUPART_USER).empty();
  const std::string host = part(url.get(), CURLUPART_HOST);
  if (host.empty() || !bare)
    return '"' + std::string(text) + "\" should name a server only, like http://127.0.0.1:8080";
  const std::string port = part(url.get(), CURLUPART_PORT);
  return AnalyticsServer{port.empty() ? host : host + ':' + port, scheme == "https"};
}

AnalyticsServer::Parsed AnalyticsServer::fromSettings(const std::optional<std::string>& option) {
  if (option)
    return fromText(*option);
  const char* environment = std::getenv(kEnvironmentVariable);
  return fromText(environment ? environment : "");
}

}  // namespace platform
