#pragma once

#include "audio/AudioNode.h"

namespace audio {

// Shifts the pitch without changing the tempo (SoundTouch's "pitch" element).
class AudioUnitTimePitch : public AudioNode {
 public:
  AudioUnitTimePitch();

  // In cents: 1200 is an octave up, -600 half an octave down.
  void setPitch(float cents);
};

}  // namespace audio
