#pragma once

#include <cstdint>
#include <string>

namespace audio {

// What a take is written as, and from which source. The linear-PCM fields describe the samples
// handed to the encoder.
struct RecorderSettings {
  static constexpr std::uint32_t kFormatMPEG4AAC = 0x61616320;  // 'aac '

  std::uint32_t formatID = kFormatMPEG4AAC;
  double sampleRate = 44100.0;
  int numberOfChannels = 1;
  int linearPCMBitDepth = 16;
  bool linearPCMIsBigEndian = false;
  bool linearPCMIsFloat = false;
  // The capture source's name on the sound server; empty for the server's default.
  std::string device;

  // The raw caps the encoder is fed, e.g. "audio/x-raw,format=S16LE,rate=44100,channels=1".
  std::string rawCaps() const;
  // The encoder (named "encoder", for probes) and muxer of the chosen format; throws
  // std::invalid_argument for other formats.
  std::string encoderDescription() const;
};

}  // namespace audio
