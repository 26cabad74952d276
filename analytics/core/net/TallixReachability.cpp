#include "analytics/core/net/TallixReachability.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "analytics/core/support/TallixLog.h"

namespace tallix {
namespace {

constexpr std::size_t kReceiveBufferSize = 64 * 1024;

struct RouteDumpRequest {
  nlmsghdr header;
  rtmsg route;
};

}  // namespace

TallixReachability::TallixReachability(Callback callback) : callback_(std::move(callback)) {}

TallixReachability::~TallixReachability() {
  stop();
}

bool TallixReachability::start() {
  if (thread_.joinable())
    return true;
  if (!openSocket() || !requestRouteDump()) {
    TallixLog::debug("Tallix: cannot watch the network's routes: %s", std::strerror(errno));
    closeDescriptors();
    return false;
  }
  thread_ = std::thread([this] { run(); });
  return true;
}

void TallixReachability::stop() {
  if (!thread_.joinable())
    return;
  const std::uint64_t wake = 1;
  (void)!write(stopEvent_, &wake, sizeof wake);
  thread_.join();
  closeDescriptors();
}

// Subscribing before asking for the table means no change can fall between the two.
bool TallixReachability::openSocket() {
  socket_ = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  stopEvent_ = eventfd(0, EFD_CLOEXEC);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
  return socket_ >= 0 && stopEvent_ >= 0 &&
         bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

bool TallixReachability::requestRouteDump() const {
  RouteDumpRequest request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = RTM_GETROUTE;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.route.rtm_family = AF_UNSPEC;
  return send(socket_, &request, sizeof request, 0) == sizeof request;
}

void TallixReachability::run() {
  pollfd watched[] = {{socket_, POLLIN, 0}, {stopEvent_, POLLIN, 0}};
  std::vector<std::uint8_t> buffer(kReceiveBufferSize);
  bool reported = false;
  while (poll(watched, 2, -1) >= 0 || errno == EINTR) {
    if (watched[1].revents != 0)
      return;
    if (watched[0].revents != 0 && !receive(buffer, reported))
      return;
  }
}

bool TallixReachability::receive(std::vector<std::uint8_t>& buffer, bool& reported) {
  const ssize_t received = recv(socket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (received < 0 && errno == ENOBUFS)
    return requestRouteDump();  // The kernel dropped changes: read the whole table again.
  if (received < 0)
    return errno == EAGAIN || errno == EINTR;
  const bool changed = routes_.apply({buffer.data(), static_cast<std::size_t>(received)});
  if (changed || !reported)
    callback_(routes_.hasDefaultRoute());
  reported = true;
  return true;
}

void TallixReachability::closeDescriptors() {
  for (int* descriptor : {&socket_, &stopEvent_}) {
    if (*descriptor >= 0)
      close(*descriptor);
    *descriptor = -1;
  }
}

}  // namespace tallix
