#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// What the application is about to do with audio. The sound server learns it as the media
// role of our streams, so its policy (corking music during a call, say) can act on it.
enum class AudioSessionCategory { Playback, PlayAndRecord };

struct AudioSessionPortDescription {
  std::string portName;  // what a person would call the output: "Speaker", "Headphones", a device
  std::string uid;       // the sink's name on the sound server, stable across restarts
};

struct AudioSessionRouteDescription {
  std::vector<AudioSessionPortDescription> outputs;
};

// The application's view of the sound server (PulseAudio, or PipeWire through pipewire-pulse):
// the current output route is the default sink and its active port. Talks to the server on a
// thread of its own and never blocks the caller for long: every wait is bounded.
class AudioSession {
 public:
  // Posted through the default notification centre, with the session as object, whenever the
  // default sink or its active port changes. Observers run on the session's thread.
  static constexpr std::string_view kRouteChangeNotification =
      "AVAudioSessionRouteChangeNotification";

  static AudioSession& sharedInstance();

  // An empty address means the user's own server ($PULSE_SERVER or the default).
  explicit AudioSession(std::string serverAddress = {});
  // Stops the session's thread; not to be called from the session's own callbacks.
  ~AudioSession();
  AudioSession(const AudioSession&) = delete;
  AudioSession& operator=(const AudioSession&) = delete;

  void setCategory(AudioSessionCategory category);
  AudioSessionCategory category() const;
  // The PulseAudio media role of the current category, for our streams' properties.
  std::string mediaRole() const;

  // Granted when the server has a capture source (not the monitor of an output) that can be
  // opened for recording; refused otherwise, or when the server does not answer in time. The
  // completion runs once, never inside this call: on the session's thread, or on the thread
  // destroying the session while the question is still open.
  void requestRecordPermission(std::function<void(bool granted)> completion);

  // The default sink as the one output; no outputs while there is no server. Only the first
  // call may wait (about a second) for the server's first answer.
  AudioSessionRouteDescription currentRoute() const;

 private:
  class Connection;
  std::atomic<AudioSessionCategory> category_{AudioSessionCategory::Playback};
  std::unique_ptr<Connection> connection_;
};

}  // namespace platform
