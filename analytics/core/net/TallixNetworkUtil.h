#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixReachability;

// The agent's view of the network: whether it is reachable, as the code written into reports,
// and where reports go. Observers of "TallixNetworkStatusChangedNotification" are called on
// the reachability monitor's thread, with the new code under "networkStatus"; they hop to
// their own queue.
class TallixNetworkUtil {
 public:
  // The codes of networkStatus(), as reports carry them.
  static constexpr int kNotReachable = 0;
  static constexpr int kReachable = 1;
  static constexpr const char* kStatusChangedNotification =
      "TallixNetworkStatusChangedNotification";
  static constexpr const char* kDataPath = "/aas.do";

  TallixNetworkUtil(foundation::NotificationCenter& center, std::string serverHost);
  ~TallixNetworkUtil();
  TallixNetworkUtil(const TallixNetworkUtil&) = delete;
  TallixNetworkUtil& operator=(const TallixNetworkUtil&) = delete;

  // Starts following the routing table; until it has been read the network is not reachable.
  void initNetworkReachability();
  int networkStatus() const { return status_; }
  // Where the monitor's findings arrive; posts the notification when the code changes.
  void reachabilityChanged(bool reachable);

  std::string serverURL() const;
  // "host" or "host:port" (an IPv6 host in brackets); without a port, the scheme's own. False,
  // with nothing changed, for anything else.
  bool setServerURL(const std::string& server);
  // On by default: reports go over https, or plain http when switched off.
  void setSecureTransportEnabled(bool enabled);

  // The configuration service's full URL; empty until one is set.
  std::string configServerUrl() const;
  // An http or https URL with a host; false, with nothing changed, for anything else.
  bool setConfigServerUrl(const std::string& url);

 private:
  foundation::NotificationCenter& center_;
  std::atomic<int> status_ = kNotReachable;
  mutable std::mutex serverMutex_;
  std::string serverHost_;
  int serverPort_ = 0;
  bool secureTransport_ = true;
  std::string configServerUrl_;
  // The agent's start and an extension's may both start following the network.
  std::mutex reachabilityMutex_;
  std::unique_ptr<TallixReachability> reachability_;
};

}  // namespace tallix
