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
  std::uint16_t type = RTM_NEWROUTE;
  std::uint8_t family = AF_INET;
  std::uint8_t dstLength = 0;
  std::uint8_t table = RT_TABLE_MAIN;
  std::uint8_t routeType = RTN_UNICAST;
  std::optional<std::uint32_t> tableAttribute = std::nullopt;
  std::uint32_t interface = 2;
  const char* gateway = "192.168.1.1";

  Bytes message() const {
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

  Route deleted() const {
    Route copy = *this;
    copy.type = RTM_DELROUTE;
    return copy;
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

const Route kDefaultV4;
const Route kDefaultV6{.family = AF_INET6, .gateway = "fe80::1"};

TEST(TallixRouteTableTest, ADefaultRouteOfTheMainTableMakesTheNetworkReachable) {
  for (const Route& route : {kDefaultV4, kDefaultV6}) {
    TallixRouteTable table;
    EXPECT_TRUE(table.apply(route.message()));
    EXPECT_TRUE(table.hasDefaultRoute());
    EXPECT_FALSE(table.apply(route.message()));
    EXPECT_TRUE(table.apply(route.deleted().message()));
    EXPECT_FALSE(table.hasDefaultRoute());
  }
}

TEST(TallixRouteTableTest, OtherRoutesLeadNowhere) {
  const Route others[] = {
      {.dstLength = 24},
      {.table = 100},
      {.tableAttribute = 1000},
      {.routeType = RTN_UNREACHABLE},
      {.family = AF_INET6, .routeType = RTN_PROHIBIT, .gateway = "::"},
  };
  for (const Route& route : others) {
    TallixRouteTable table;
    EXPECT_FALSE(table.apply(route.message()));
    EXPECT_FALSE(table.hasDefaultRoute());
  }
  // Tables past 255 carry their number in an attribute, which wins over the header.
  TallixRouteTable table;
  EXPECT_TRUE(
      table.apply(Route{.table = RT_TABLE_COMPAT, .tableAttribute = RT_TABLE_MAIN}.message()));
}

TEST(TallixRouteTableTest, StaysReachableUntilTheLastDefaultRouteGoes) {
  const Route secondV4{.interface = 3, .gateway = "10.0.0.1"};
  Bytes dump = kDefaultV4.message();
  for (const Route& route : {kDefaultV6, secondV4}) {
    const Bytes message = route.message();
    dump.insert(dump.end(), message.begin(), message.end());
  }
  TallixRouteTable table;
  EXPECT_TRUE(table.apply(dump));
  EXPECT_FALSE(table.apply(kDefaultV4.deleted().message()));
  EXPECT_FALSE(table.apply(Route{.gateway = "10.9.9.9"}.deleted().message()));
  EXPECT_FALSE(table.apply(kDefaultV6.deleted().message()));
  EXPECT_TRUE(table.apply(secondV4.deleted().message()));
}

TEST(TallixRouteTableTest, SkipsATruncatedMessage) {
  Bytes cut = kDefaultV4.message();
  cut.resize(NLMSG_LENGTH(sizeof(rtmsg)) - 1);
  TallixRouteTable table;
  EXPECT_FALSE(table.apply(cut));
  EXPECT_FALSE(table.hasDefaultRoute());
}

TEST(TallixNetworkUtilTest, PostsTheStatusOncePerChange) {
  foundation::NotificationCenter center;
  TallixNetworkUtil network(center, "data.example.org");
  std::vector<foundation::Value> posted;
  center.addObserver("TallixNetworkStatusChangedNotification", &posted,
                     [&](const foundation::Notification& note) {
                       posted.push_back(*note.userInfo.find("networkStatus"));
                     });
  TallixRouteTable table;
  const auto follow = [&](const Route& route) {
    table.apply(route.message());
    network.reachabilityChanged(table.hasDefaultRoute());
  };
  EXPECT_EQ(network.networkStatus(), TallixNetworkUtil::kNotReachable);
  follow(kDefaultV4);
  follow(kDefaultV6);
  EXPECT_EQ(network.networkStatus(), TallixNetworkUtil::kReachable);
  follow(kDefaultV4.deleted());
  follow(kDefaultV6.deleted());
  follow(Route{.dstLength = 8});
  EXPECT_EQ(network.networkStatus(), TallixNetworkUtil::kNotReachable);
  EXPECT_EQ(posted, (std::vector<foundation::Value>{1, 0}));
}

TEST(TallixNetworkUtilTest, BuildsTheServerURLForTheTransport) {
  foundation::NotificationCenter center;
  TallixNetworkUtil network(center, "data.example.org");
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

TEST(TallixReachabilityTest, ReportsTheKernelsStatusAndStops) {
  std::atomic<int> reports = 0;
  TallixReachability reachability([&](bool) { ++reports; });
  ASSERT_TRUE(reachability.start());
  EXPECT_TRUE(foundation::eventually([&] { return reports > 0; }));
  reachability.stop();
  const int seen = reports;
  reachability.stop();
  EXPECT_EQ(reports, seen);
}

TEST(TallixNetworkUtilTest, TakesItsStatusFromTheKernelsRoutes) {
  std::atomic<int> kernelSays = -1;
  TallixReachability reachability([&](bool reachable) { kernelSays = reachable; });
  ASSERT_TRUE(reachability.start());
  ASSERT_TRUE(foundation::eventually([&] { return kernelSays >= 0; }));

  foundation::NotificationCenter center;
  TallixNetworkUtil network(center, "data.example.org");
  network.initNetworkReachability();
  EXPECT_TRUE(foundation::eventually([&] { return network.networkStatus() == kernelSays; }));
}

}  // namespace
}  // namespace tallix
