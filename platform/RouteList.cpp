#include "platform/RouteList.h"

#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/RouteListConnection.h"

namespace platform {

RouteList& RouteList::sharedInstance() {
  // The list posts into the notification centre until it is destroyed at exit; creating the
  // centre first makes it outlive the list.
  foundation::NotificationCenter::defaultCenter();
  static RouteList list;
  return list;
}

RouteList::RouteList(std::string serverAddress)
    : connection_(std::make_unique<Connection>(std::move(serverAddress), this)) {}

RouteList::~RouteList() = default;

std::vector<RouteListEntry> RouteList::routes() const {
  return connection_->routes();
}

void RouteList::choose(const std::string& sinkName, const std::string& port,
                       std::function<void(bool accepted)> completion) {
  connection_->choose(sinkName, port, std::move(completion));
}

}  // namespace platform
