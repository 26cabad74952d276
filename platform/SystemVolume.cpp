#include "platform/SystemVolume.h"

#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/SystemVolumeConnection.h"

namespace platform {

SystemVolume& SystemVolume::sharedInstance() {
  // The volume posts into the notification centre until it is destroyed at exit; creating the
  // centre first makes it outlive the volume.
  foundation::NotificationCenter::defaultCenter();
  static SystemVolume volume;
  return volume;
}

SystemVolume::SystemVolume(std::string serverAddress)
    : connection_(std::make_unique<Connection>(std::move(serverAddress), this)) {}

SystemVolume::~SystemVolume() = default;

float SystemVolume::volume() const {
  return connection_->volume();
}

void SystemVolume::setVolume(float fraction) {
  connection_->setVolume(fraction);
}

}  // namespace platform
