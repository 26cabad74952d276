#include "platform/ServerLink.h"

#include <utility>

namespace platform {

ServerLink::ServerLink(std::string address, pulse::SinkDirectory::Objects objects)
    : server_(std::move(address)),
      sinks_(objects),
      volumeSetter_(server_),
      permissions_(server_, "the sound server link closed before the server answered"),
      outputSwitches_(server_, "the sound server link closed before the server answered") {}

ServerLink::~ServerLink() {
  server_.stop();
}

void ServerLink::start() {
  server_.start({&sinks_, &volumeSetter_, &permissions_, &outputSwitches_});
}

}  // namespace platform
