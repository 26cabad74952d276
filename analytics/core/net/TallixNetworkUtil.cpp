#include "analytics/core/net/TallixNetworkUtil.h"

#include "analytics/core/net/TallixHttpAsyncTask.h"
#include "analytics/core/net/TallixReachability.h"
#include "foundation/NotificationCenter.h"

namespace tallix {

TallixNetworkUtil::TallixNetworkUtil(foundation::NotificationCenter& center, std::string serverHost)
    : center_(center), serverHost_(std::move(serverHost)) {}

// The monitor goes first: its thread calls back into this object.
TallixNetworkUtil::~TallixNetworkUtil() {
  reachability_.reset();
}

void TallixNetworkUtil::initNetworkReachability() {
  std::lock_guard lock(reachabilityMutex_);
  if (reachability_)
    return;
  reachability_ = std::make_unique<TallixReachability>(
      [this](bool reachable) { reachabilityChanged(reachable); });
  if (!reachability_->start())
    reachability_.reset();
}

void TallixNetworkUtil::reachabilityChanged(bool reachable) {
  const int status = reachable ? kReachable : kNotReachable;
  if (status_.exchange(status) == status)
    return;
  center_.post(kStatusChangedNotification, this,
               foundation::Value::Dictionary{{"networkStatus", status}});
}

std::string TallixNetworkUtil::serverURL() const {
  std::lock_guard lock(serverMutex_);
  return TallixHttpAsyncTask::urlWithProtocol(secureTransport_ ? "https" : "http", serverHost_,
                                              serverPort_, kDataPath, {});
}

bool TallixNetworkUtil::setServerURL(const std::string& server) {
  // An IPv6 host is bracketed, since its own colons would read as a port's.
  const auto hostEnd = server.starts_with('[') ? server.find(']') + 1 : server.find(':');
  const std::string host = server.substr(0, hostEnd);
  const std::string rest = hostEnd == std::string::npos ? "" : server.substr(hostEnd);
  const std::string port = rest.starts_with(':') ? rest.substr(1) : rest;
  const bool hostValid =
      !host.empty() && host != "[]" && host.find_first_of("/?#@ ") == std::string::npos;
  const bool portValid =
      rest.empty() ||
      (!port.empty() && port.size() <= 5 && rest != port &&
       port.find_first_not_of("0123456789") == std::string::npos && std::stoi(port) <= 65535);
  if (!hostValid || !portValid)
    return false;
  std::lock_guard lock(serverMutex_);
  serverHost_ = host;
  serverPort_ = rest.empty() ? 0 : std::stoi(port);
  return true;
}

void TallixNetworkUtil::setSecureTransportEnabled(bool enabled) {
  std::lock_guard lock(serverMutex_);
  secureTransport_ = enabled;
}

std::string TallixNetworkUtil::configServerUrl() const {
  std::lock_guard lock(serverMutex_);
  return configServerUrl_;
}

bool TallixNetworkUtil::setConfigServerUrl(const std::string& url) {
  const auto schemeEnd = url.find("://");
  const std::string scheme = url.substr(0, schemeEnd);
  const bool valid = schemeEnd != std::string::npos && (scheme == "http" || scheme == "https") &&
                     url.size() > schemeEnd + 3 &&
                     url.find_first_of(" \t\r\n") == std::string::npos && url[schemeEnd + 3] != '/';
  if (!valid)
    return false;
  std::lock_guard lock(serverMutex_);
  configServerUrl_ = url;
  return true;
}

}  // namespace tallix
