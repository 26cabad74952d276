#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <tuple>
#include <vector>

namespace tallix {

// The default routes of the main routing table, IPv4 and IPv6, kept up to date from rtnetlink
// route messages. The network counts as reachable while there is one.
class TallixRouteTable {
 public:
  // Applies each RTM_NEWROUTE and RTM_DELROUTE in a buffer of netlink messages as the kernel
  // writes them (4-byte aligned); other and malformed messages are skipped. True when this
  // changed whether a default route exists.
  bool apply(std::span<const std::uint8_t> messages);
  bool hasDefaultRoute() const { return !defaultRoutes_.empty(); }

 private:
  // What tells two default routes apart: family, metric, interface, gateway.
  using RouteKey = std::tuple<int, std::uint32_t, std::uint32_t, std::vector<std::uint8_t>>;

  std::set<RouteKey> defaultRoutes_;
};

}  // namespace tallix
