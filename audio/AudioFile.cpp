#include "audio/AudioFile.h"

namespace audio {

std::shared_ptr<AudioFile> AudioFile::forReading(const std::filesystem::path& url) {
  auto info = MediaDiscoverer::discover(url);
  if (!info)
    return nullptr;
  return std::shared_ptr<AudioFile>(new AudioFile(url, *info));
}

AudioFile::AudioFile(std::filesystem::path url, MediaInfo info)
    : url_(std::move(url)), info_(info) {}

}  // namespace audio
