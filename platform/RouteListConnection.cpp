#include "platform/RouteListConnection.h"

#include <utility>

namespace platform {

RouteList::Connection::Connection(std::string address, const void* list)
    : server_(std::move(address)), sinks_(list), switches_(server_) {
  server_.start({&sinks_, &switches_});
}

// The clients must not hear from the server's thread while they are destroyed.
RouteList::Connection::~Connection() {
  server_.stop();
}

}  // namespace platform
