#include "platform/pulse/RouteCache.h"

#include <utility>

namespace platform::pulse {
namespace {

constexpr auto kFirstRouteWait = std::chrono::seconds(1);

}  // namespace

bool RouteCache::store(AudioSessionRouteDescription route, std::string identity) {
  std::lock_guard lock(routeMutex_);
  const bool changed = answered_ && identity != identity_;
  answered_ = true;
  route_ = std::move(route);
  identity_ = std::move(identity);
  firstAnswer_.notify_all();
  return changed;
}

AudioSessionRouteDescription RouteCache::current() {
  std::unique_lock lock(routeMutex_);
  if (!firstWaitEnds_)
    firstWaitEnds_ = std::chrono::steady_clock::now() + kFirstRouteWait;
  firstAnswer_.wait_until(lock, *firstWaitEnds_, [this] { return answered_; });
  return route_;
}

}  // namespace platform::pulse
