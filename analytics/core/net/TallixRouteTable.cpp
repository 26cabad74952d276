#include "analytics/core/net/TallixRouteTable.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>
#include <optional>

namespace tallix {
namespace {

struct DefaultRoute {
  int family = 0;
  std::uint32_t table = 0;
  std::uint32_t metric = 0;
  std::uint32_t interface = 0;
  std::vector<std::uint8_t> gateway;
};

std::uint32_t attributeNumber(const rtattr* attribute) {
  std::uint32_t number = 0;
  if (RTA_PAYLOAD(attribute) >= sizeof number)
    std::memcpy(&number, RTA_DATA(attribute), sizeof number);
  return number;
}

void readAttribute(const rtattr* attribute, DefaultRoute& route) {
  const auto* data = static_cast<const std::uint8_t*>(RTA_DATA(attribute));
  switch (attribute->rta_type) {
    case RTA_TABLE:
      route.table = attributeNumber(attribute);
      break;
    case RTA_PRIORITY:
      route.metric = attributeNumber(attribute);
      break;
    case RTA_OIF:
      route.interface = attributeNumber(attribute);
      break;
    case RTA_GATEWAY:
      route.gateway.assign(data, data + RTA_PAYLOAD(attribute));
      break;
  }
}

// A unicast route to everywhere in the main table; unreachable and prohibit defaults, as
// some IPv6 set-ups install, lead nowhere.
std::optional<DefaultRoute> defaultRouteIn(const nlmsghdr* message) {
  if (message->nlmsg_len < NLMSG_LENGTH(sizeof(rtmsg)))
    return std::nullopt;
  const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(message));
  const bool internet = route->rtm_family == AF_INET || route->rtm_family == AF_INET6;
  if (!internet || route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST)
    return std::nullopt;
  DefaultRoute found;
  found.family = route->rtm_family;
  found.table = route->rtm_table;
  int length = static_cast<int>(RTM_PAYLOAD(message));
  for (const rtattr* attribute = RTM_RTA(route); RTA_OK(attribute, length);
       attribute = RTA_NEXT(attribute, length))
    readAttribute(attribute, found);
  if (found.table != RT_TABLE_MAIN)
    return std::nullopt;
  return found;
}

}  // namespace

bool TallixRouteTable::apply(std::span<const std::uint8_t> messages) {
  const bool hadDefaultRoute = hasDefaultRoute();
  int length = static_cast<int>(messages.size());
  for (const auto* message = reinterpret_cast<const nlmsghdr*>(messages.data());
       NLMSG_OK(message, length); message = NLMSG_NEXT(message, length)) {
    const bool added = message->nlmsg_type == RTM_NEWROUTE;
    if (!added && message->nlmsg_type != RTM_DELROUTE)
      continue;
    auto route = defaultRouteIn(message);
    if (!route)
      continue;
    RouteKey key{route->family, route->metric, route->interface, std::move(route->gateway)};
    if (added)
      defaultRoutes_.insert(std::move(key));
    else
      defaultRoutes_.erase(key);
  }
  return hadDefaultRoute != hasDefaultRoute();
}

}  // namespace tallix
