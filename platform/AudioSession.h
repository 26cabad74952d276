#pragma once

#include <atomic>
#include <functional>
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

class ServerLink;

// The application's audio session on the sound server (see SoundServer.h): the category of its
// streams, the record permission, and the current output route, which is the default sink and
// its active port.
class AudioSession {
 public:
  // Posted through the default notification centre, with the session as object, whenever the
  // default sink or its active port changes. Observers run on the sound server's thread.
  static constexpr std::string_view kRouteChangeNotification =
      "AVAudioSessionRouteChangeNotification";

  // Made by the SoundServer, over its link.
  explicit AudioSession(ServerLink& link) : link_(link) {}
  AudioSession(const AudioSession&) = delete;
  AudioSession& operator=(const AudioSession&) = delete;

  void setCategory(AudioSessionCategory category);
  AudioSessionCategory category() const;
  // The PulseAudio media role of the current category, for our streams' properties.
  std::string mediaRole() const;

  // Granted when the server has a capture source (not the monitor of an output) that can be
  // opened for recording; refused otherwise, or when the server does not answer in time. The
  // completion runs once, never inside this call: on the sound server's thread, or on the
  // thread destroying the SoundServer while the question is still open.
  void requestRecordPermission(std::function<void(bool granted)> completion);

  // The default sink as the one output; no outputs until the server has answered, or while
  // there is none.
  AudioSessionRouteDescription currentRoute() const;

 private:
  ServerLink& link_;
  std::atomic<AudioSessionCategory> category_{AudioSessionCategory::Playback};
};

}  // namespace platform
