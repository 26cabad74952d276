#pragma once

namespace audio {

// For an object that wants to hear that an announcement has finished playing. The engine itself
// keeps no delegate; the screen decides how it notices the end.
class PlaybackDelegate {
 public:
  virtual ~PlaybackDelegate() = default;
  virtual void playbackFinished() = 0;
};

}  // namespace audio
