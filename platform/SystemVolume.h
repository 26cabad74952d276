#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace platform {

// The system output volume: the default sink's volume as a fraction, 0 (silent or muted) to 1
// (the sink's normal level; amplification above it reads as 1). Talks to the sound server on a
// thread of its own and follows whichever sink is the default.
class SystemVolume {
 public:
  // Posted through the default notification centre, with the SystemVolume as object, whenever
  // the volume changes, from here or anywhere else (a mixer, a hardware key, a new default
  // sink). Observers run on the volume's thread.
  static constexpr std::string_view kVolumeChangeNotification =
      "AVSystemController_SystemVolumeDidChangeNotification";

  static SystemVolume& sharedInstance();

  // An empty address means the user's own server ($PULSE_SERVER or the default).
  explicit SystemVolume(std::string serverAddress = {});
  // Stops the volume's thread; not to be called from its own observers.
  ~SystemVolume();
  SystemVolume(const SystemVolume&) = delete;
  SystemVolume& operator=(const SystemVolume&) = delete;

  // 0 while there is no server. Only the first call may wait (about a second) for the
  // server's first answer.
  float volume() const;
  // Sets every channel of the default sink, keeping their balance, and unmutes it when the
  // fraction is above 0. Returns at once; the change notification follows.
  void setVolume(float fraction);

 private:
  class Connection;
  std::unique_ptr<Connection> connection_;
};

}  // namespace platform
