#pragma once

#include <string>

namespace audio {

// The samples flowing between two nodes of the playback graph: 32-bit float, interleaved.
struct AudioFormat {
  int sampleRate = 44100;
  int channels = 1;

  std::string caps() const {
    return "audio/x-raw,format=F32LE,layout=interleaved,rate=" + std::to_string(sampleRate) +
           ",channels=" + std::to_string(channels);
  }
  bool operator==(const AudioFormat&) const = default;
};

}  // namespace audio
