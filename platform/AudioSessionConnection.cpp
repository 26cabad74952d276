#include "platform/AudioSessionConnection.h"

#include <utility>

namespace platform {

AudioSession::Connection::Connection(std::string address, const void* session)
    : server_(std::move(address)), routes_(session), permissions_(server_) {
  server_.start({&routes_, &permissions_});
}

// The clients must not hear from the server's thread while they are destroyed.
AudioSession::Connection::~Connection() {
  server_.stop();
}

}  // namespace platform
