#include "platform/ServerLink.h"

#include <utility>

namespace platform {

ServerLink::ServerLink(std::string address, pulse::DeviceDirectory::Objects objects)
    : server_(std::move(address)),
      devices_(objects),
      volumeSetter_(server_),
      permissions_(server_, "the sound server link closed before the server answered"),
      outputSwitches_(server_, "the sound server link closed before the server answered") {}

ServerLink::~ServerLink() {
  server_.stop();
}

void ServerLink::start() {
  server_.start({&devices_, &volumeSetter_, &permissions_, &outputSwitches_});
}

}  // namespace platform
