#include "platform/SystemVolume.h"

#include "platform/ServerLink.h"

namespace platform {

float SystemVolume::volume() const {
  return link_.devices().volume();
}

void SystemVolume::setVolume(float fraction) {
  link_.volumeSetter().set(fraction);
}

}  // namespace platform
