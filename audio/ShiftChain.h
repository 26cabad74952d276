#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "audio/RateConverter.h"

namespace RubberBand {
class RubberBandStretcher;
}

namespace audio {

// A pitch shift by p as a time stretch by p (Rubber Band's R3 engine, short window) and a rate
// conversion by 1/p (soxr). Rubber Band can do both, but the converter built into Debian's
// Rubber Band took half of its time at our ratios. The conversion comes first for shifts up and
// last for shifts down, so the stretcher never works on more frames than the stream has. The output
// is not aligned: it starts with the stretcher's start delay (PitchStretcher lines it up).
class ShiftChain {
 public:
  ShiftChain(int sampleRate, int channels, double pitchScale, bool preserveFormants);
  ~ShiftChain();
  ShiftChain(const ShiftChain&) = delete;
  ShiftChain& operator=(const ShiftChain&) = delete;

  // The silent frames the stretcher asks for ahead of the stream, in the chain's input frames.
  std::size_t startPadFrames() const;
  // Interleaved frames in; the frames that are ready are appended to `output`.
  void process(const float* interleaved, std::size_t frames, std::vector<float>& output);

 private:
  void stretch(const float* interleaved, std::size_t frames, std::vector<float>& output);

  std::unique_ptr<RubberBand::RubberBandStretcher> stretcher_;
  RateConverter converter_;
  double pitchScale_;
  bool convertFirst_;
  int channels_;
  // Scratch space kept to spare the streaming thread allocations: the stretcher's planes and
  // the frames between the two stages.
  std::vector<std::vector<float>> planes_;
  std::vector<float*> planePointers_;
  std::vector<float> between_;
};

}  // namespace audio
