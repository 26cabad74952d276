#include "platform/SoundServer.h"

#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/ServerLink.h"

namespace platform {

SoundServer& SoundServer::shared() {
  // The server posts into the notification centre until it is destroyed at exit; creating the
  // centre first makes it outlive the server.
  foundation::NotificationCenter::defaultCenter();
  static SoundServer server;
  return server;
}

// The link starts only once the facades, the objects of its notifications, exist.
SoundServer::SoundServer(std::string address)
    : link_(std::make_unique<ServerLink>(
          std::move(address),
          pulse::DeviceDirectory::Objects{&session_, &volume_, &routes_, &inputs_})),
      session_(*link_),
      volume_(*link_),
      routes_(*link_),
      inputs_(*link_) {
  link_->start();
}

// The link's thread ends before the facades go; the link goes last.
SoundServer::~SoundServer() {
  link_.reset();
}

}  // namespace platform
