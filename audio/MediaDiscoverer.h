#pragma once

#include <filesystem>
#include <optional>

namespace audio {

// What an audio file holds, as its container and codec tell it.
struct MediaInfo {
  double durationSeconds = 0;  // of the audible content: encoder priming excluded
  int sampleRate = 0;
  int channels = 0;
  bool isAac = false;
  // Silent frames an AAC encoder puts in front of the audio; decoders return them, so gapless
  // playback drops them.
  int encoderDelayFrames = 0;
};

// Reads a file's streams with GstDiscoverer, bounded in time.
class MediaDiscoverer {
 public:
  // Empty when the file is missing or has no decodable audio. The first discovery of a process
  // loads the plugins (about 200 ms): do one ahead of need, off the main thread.
  static std::optional<MediaInfo> discover(const std::filesystem::path& path);
};

}  // namespace audio
