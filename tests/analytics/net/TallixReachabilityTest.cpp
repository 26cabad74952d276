#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <atomic>
#include <cstring>
#include <optional>

#include "Eventually.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/net/TallixReachability.h"
#include "analytics/core/net/TallixRouteTable.h"
#include "foundation/NotificationCenter.h"

namespace tallix {
namespace {

using Bytes = std::vector<std::uint8_t>;

// An rtnetlink route message as the kernel would send it.
struct Route {
  std::uint8_t family = AF_INET;
  std::uint8_t dstLength = 0;
  std::uint8_t table = RT_TABLE_MAIN;
  std::uint8_t routeType = RTN_UNICAST;
  std::optional<std::uint32_t> tableAttribute = std::nullopt;
  std::uint32_t interface = 2;
  const char* gateway = "192.168.1.1";

  Bytes message(std::uint16_t type = RTM_NEWROUTE) const {
    Bytes bytes(NLMSG_LENGTH(sizeof(rtmsg)));
    auto* route = static_cast<rtmsg*>(NLMSG_DATA(reinterpret_cast<nlmsghdr*>(bytes.data())));
    route->rtm_family = family;
    route->rtm_dst_len = dstLength;
    route->rtm_table = table;
    route->rtm_type = routeType;
    addAttribute(bytes, RTA_OIF, &interface, sizeof interface);
    if (tableAttribute)
      addAttribute(bytes, RTA_TABLE, &*tableAttribute, sizeof *tableAttribute);
    std::uint8_t address[16];
    inet_pton(family, gateway, address);
    addAttribute(bytes, RTA_GATEWAY, address, family == AF_INET ? 4 : 16);
    auto* header = reinterpret_cast<nlmsghdr*>(bytes.data());
    header->nlmsg_len = bytes.size();
    header->nlmsg_type = type;
    return bytes;
  }

 private:
  static void addAttribute(Bytes& bytes, std::uint16_t type, const void* data, std::size_t size) {
    const std::size_t start = bytes.size();
    bytes.resize(start + RTA_SPACE(size));
    auto* attribute = reinterpret_cast<rtattr*>(bytes.data() + start);
    attribute->rta_type = type;
    attribute->rta_len = RTA_LENGTH(size);
    std::memcpy(RTA_DATA(attribute), data, size);
  }
};

TEST(TallixRouteTableTest, ReachableWhileAnyUnicastDefaultRouteOfTheMainTableLasts) {
  const Route firstV4, secondV4{.interface = 3, .gateway = "10.0.0.1"};
  const Route v6{.family = AF_INET6, .gateway = "fe80::1"};
  Bytes dump = firstV4.message();
  for (const Route& route : {secondV4, v6}) {
    const Bytes message = route.message();
    dump.insert(dump.end(), message.begin(), message.end());
  }
  TallixRouteTable table;
  EXPECT_TRUE(table.apply(dump));
  EXPECT_TRUE(table.hasDefaultRoute());
  // Each apply says whether reachability changed.
  EXPECT_FALSE(table.apply(firstV4.message()));
  EXPECT_FALSE(table.apply(Route{.gateway = "10.9.9.9"}.message(RTM_DELROUTE)));
  EXPECT_FALSE(table.apply(firstV4.message(RTM_DELROUTE)));
  EXPECT_FALSE(table.apply(secondV4.message(RTM_DELROUTE)));
  EXPECT_TRUE(table.apply(v6.message(RTM_DELROUTE)));
  EXPECT_FALSE(table.hasDefaultRoute());
}

TEST(TallixRouteTableTest, OtherRoutesAndTruncatedMessagesLeadNowhere) {
  Bytes truncated = Route{}.message();
  truncated.resize(NLMSG_LENGTH(sizeof(rtmsg)) - 1);
  const Bytes others[] = {
      Route{.dstLength = 24}.message(),
      Route{.table = 100}.message(),
      Route{.tableAttribute = 1000}.message(),
      Route{.routeType = RTN_UNREACHABLE}.message(),
      Route{.family = AF_INET6, .routeType = RTN_PROHIBIT, .gateway = "::"}.message(),
      truncated,
  };
  for (const Bytes& message : others)
    EXPECT_FALSE(TallixRouteTable().apply(message));
  // Tables past 255 carry their number in an attribute, which wins over the header.
  EXPECT_TRUE(TallixRouteTable().apply(
      Route{.table = RT_TABLE_COMPAT, .tableAttribute = RT_TABLE_MAIN}.message()));
}

class TallixNetworkUtilTest : public ::testing::Test {
 protected:
  foundation::NotificationCenter center;
  TallixNetworkUtil network{center, "data.example.org"};
};

TEST_F(TallixNetworkUtilTest, PostsTheStatusOncePerChange) {
  std::vector<foundation::Value> posted;
  center.addObserver("TallixNetworkStatusChangedNotification", &posted,
                     [&](const foundation::Notification& note) {
                       posted.push_back(*note.userInfo.find("networkStatus"));
                     });
  EXPECT_EQ(network.networkStatus(), TallixNetworkUtil::kNotReachable);
  for (const bool reachable : {false, true, true})
    network.reachabilityChanged(reachable);
  EXPECT_EQ(network.networkStatus(), TallixNetworkUtil::kReachable);
  network.reachabilityChanged(false);
  EXPECT_EQ(posted, (std::vector<foundation::Value>{1, 0}));
}

TEST_F(TallixNetworkUtilTest, BuildsTheServerURLForTheTransport) {
  EXPECT_EQ(network.serverURL(), "https://data.example.org/aas.do");
  network.setSecureTransportEnabled(false);
  EXPECT_TRUE(network.setServerURL("127.0.0.1:8080"));
  EXPECT_EQ(network.serverURL(), "http://127.0.0.1:8080/aas.do");
  EXPECT_TRUE(network.setServerURL("[::1]:9000"));
  EXPECT_EQ(network.serverURL(), "http://[::1]:9000/aas.do");

  for (const char* refused : {"", ":80", "::1", "host:", "host:99999", "host:8x", "[]:80",
                              "http://host", "host/aas.do", "user@host"})
    EXPECT_FALSE(network.setServerURL(refused)) << refused;
  EXPECT_EQ(network.serverURL(), "http://[::1]:9000/aas.do");
}

TEST_F(TallixNetworkUtilTest, TakesItsStatusFromTheKernelsRoutesThroughAMonitorThatStops) {
  std::atomic<int> reports = 0, kernelSays = -1;
  TallixReachability reachability([&](bool reachable) {
    kernelSays = reachable;
    ++reports;
  });
  ASSERT_TRUE(reachability.start());
  ASSERT_TRUE(foundation::eventually([&] { return reports > 0; }));
  reachability.stop();
  const int seen = reports;
  reachability.stop();
  EXPECT_EQ(reports, seen);

  network.initNetworkReachability();
  EXPECT_TRUE(foundation::eventually([&] { return network.networkStatus() == kernelSays; }));
}

}  // namespace
}  // namespace tallix
