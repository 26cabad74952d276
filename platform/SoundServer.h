#pragma once

#include <memory>
#include <string>

#include "platform/AudioSession.h"
#include "platform/InputList.h"
#include "platform/RouteList.h"
#include "platform/SystemVolume.h"

namespace platform {

class ServerLink;

// The sound server (PulseAudio, or PipeWire through pipewire-pulse) as the application sees it:
// the audio session, the system volume and the lists of outputs and inputs, all over one link on a
// thread of its own. Nothing here waits for the server: until it answers there is no route, no
// output and no volume, and its first answer arrives as a change.
class SoundServer {
 public:
  // The application's server, linked on first use; start-up asks early, so that the first
  // answer is in before the screen reads it.
  static SoundServer& shared();

  // An empty address means the user's own server ($PULSE_SERVER or the default).
  explicit SoundServer(std::string address = {});
  // Stops the link's thread; not to be called from its observers or completions.
  ~SoundServer();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  AudioSession& session() { return session_; }
  SystemVolume& volume() { return volume_; }
  RouteList& routes() { return routes_; }
  InputList& inputs() { return inputs_; }

 private:
  std::unique_ptr<ServerLink> link_;
  AudioSession session_;
  SystemVolume volume_;
  RouteList routes_;
  InputList inputs_;
};

}  // namespace platform
