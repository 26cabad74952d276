#pragma once

#include <filesystem>
#include <memory>

#include "audio/MediaDiscoverer.h"

namespace audio {

// An audio file opened for reading: a file whose audio could be found and described.
class AudioFile {
 public:
  // Null when the file is missing, empty, damaged or holds no audio.
  static std::shared_ptr<AudioFile> forReading(const std::filesystem::path& url);

  const std::filesystem::path& url() const { return url_; }
  const MediaInfo& info() const { return info_; }

 private:
  AudioFile(std::filesystem::path url, MediaInfo info);

  std::filesystem::path url_;
  MediaInfo info_;
};

}  // namespace audio
