#pragma once

#include <filesystem>

namespace audio {

// A media file looked at afresh on every question: nothing about it is cached.
class AudioAsset {
 public:
  explicit AudioAsset(std::filesystem::path url) : url_(std::move(url)) {}

  // The audible duration in seconds; 0 for a file that is missing or cannot be read.
  double duration() const;

 private:
  std::filesystem::path url_;
};

}  // namespace audio
