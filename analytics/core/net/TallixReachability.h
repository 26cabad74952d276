#pragma once

#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

#include "analytics/core/net/TallixRouteTable.h"

namespace tallix {

// Watches the kernel's routing table over rtnetlink on a thread of its own: the network is
// reachable while a default route exists. The callback runs on that thread, once the first
// routes have been read and then on every change between reachable and not reachable.
class TallixReachability {
 public:
  using Callback = std::function<void(bool reachable)>;

  explicit TallixReachability(Callback callback);
  ~TallixReachability();
  TallixReachability(const TallixReachability&) = delete;
  TallixReachability& operator=(const TallixReachability&) = delete;

  // False, with a log line, when the kernel will not let us listen.
  bool start();
  // Returns as soon as the thread has seen the request. Not to be called from the callback.
  void stop();

 private:
  bool openSocket();
  bool requestRouteDump() const;
  void run();
  // False when the socket has failed for good. The buffer is the kernel's to fill (a vector's
  // storage is aligned enough for netlink headers).
  bool receive(std::vector<std::uint8_t>& buffer, bool& reported);
  void closeDescriptors();

  const Callback callback_;
  TallixRouteTable routes_;
  int socket_ = -1;
  int stopEvent_ = -1;
  std::thread thread_;
};

}  // namespace tallix
