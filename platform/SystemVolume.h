#pragma once

#include <string_view>

namespace platform {

class ServerLink;

// The system output volume: the default sink's volume as a fraction, 0 (silent or muted) to 1
// (the sink's normal level; amplification above it reads as 1), following whichever sink is the
// default (see SoundServer.h).
class SystemVolume {
 public:
  // Posted through the default notification centre, with the SystemVolume as object, whenever
  // the volume changes, from here or anywhere else (a mixer, a hardware key, a new default
  // sink), and when the server first answers. Observers run on the sound server's thread.
  static constexpr std::string_view kVolumeChangeNotification =
      "AVSystemController_SystemVolumeDidChangeNotification";

  // Made by the SoundServer, over its link.
  explicit SystemVolume(ServerLink& link) : link_(link) {}
  SystemVolume(const SystemVolume&) = delete;
  SystemVolume& operator=(const SystemVolume&) = delete;

  // 0 until the server has answered, or while there is none.
  float volume() const;
  // Sets every channel of the default sink, keeping their balance, and unmutes it when the
  // fraction is above 0. Returns at once; the change notification follows.
  void setVolume(float fraction);

 private:
  ServerLink& link_;
};

}  // namespace platform
