#pragma once

#include <functional>
#include <memory>

namespace audio {
class OrvaneEngine;
}
namespace platform {
class AudioSession;
class InputList;
class RouteList;
class SoundServer;
class SystemVolume;
}  // namespace platform

namespace app {

// What the main screen talks to besides its own widgets: the sound server's facades and a way
// to make the engine. The application uses the shared ones; tests give their own.
struct OrvaneServices {
  using MakeEngine = std::function<std::shared_ptr<audio::OrvaneEngine>()>;

  platform::AudioSession& session;
  platform::SystemVolume& volume;
  platform::RouteList& routes;
  platform::InputList& inputs;
  MakeEngine makeEngine;

  static OrvaneServices shared();
  static OrvaneServices of(platform::SoundServer& server, MakeEngine makeEngine);
};

}  // namespace app
