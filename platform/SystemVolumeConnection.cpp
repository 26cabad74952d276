#include "platform/SystemVolumeConnection.h"

#include <utility>

namespace platform {

SystemVolume::Connection::Connection(std::string address, const void* volume)
    : server_(std::move(address)), tracker_(server_, volume) {
  server_.start({&tracker_});
}

// The tracker must not hear from the server's thread while it is destroyed.
SystemVolume::Connection::~Connection() {
  server_.stop();
}

}  // namespace platform
