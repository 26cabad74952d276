#include "app/OrvaneServices.h"

#include "audio/OrvaneEngine.h"
#include "platform/AudioSession.h"
#include "platform/RouteList.h"
#include "platform/SystemVolume.h"

namespace app {

OrvaneServices OrvaneServices::shared() {
  return {platform::AudioSession::sharedInstance(), platform::SystemVolume::sharedInstance(),
          platform::RouteList::sharedInstance(),
          [] { return std::make_shared<audio::OrvaneEngine>(); }};
}

}  // namespace app
