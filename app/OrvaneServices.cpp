#include "app/OrvaneServices.h"

#include <utility>

#include "audio/OrvaneEngine.h"
#include "platform/SoundServer.h"

namespace app {

OrvaneServices OrvaneServices::shared() {
  return of(platform::SoundServer::shared(),
            [] { return std::make_shared<audio::OrvaneEngine>(); });
}

OrvaneServices OrvaneServices::of(platform::SoundServer& server, MakeEngine makeEngine) {
  return {server.session(), server.volume(), server.routes(), server.inputs(),
          std::move(makeEngine)};
}

}  // namespace app
