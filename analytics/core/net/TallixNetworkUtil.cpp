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

void TallixNetworkUtil::setServerURL(std::string host, int port) {
  std::lock_guard lock(serverMutex_);
  serverHost_ = std::move(host);
  serverPort_ = port;
}

void TallixNetworkUtil::setSecureTransportEnabled(bool enabled) {
  std::lock_guard lock(serverMutex_);
  secureTransport_ = enabled;
}

}  // namespace tallix
