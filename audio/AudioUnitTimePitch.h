#pragma once

#include <cstdint>

#include "audio/AudioNode.h"

namespace audio {

// What shifts the pitch: Rubber Band's R3 engine ("rubberbandpitch"), or SoundTouch's "pitch"
// element where this build has no Rubber Band.
enum class TimePitchEngine : std::uint8_t { RubberBand, SoundTouch };

// Shifts the pitch without changing the tempo. With Rubber Band the output lines up with the
// input (the stretcher's delay is compensated inside the element), so a start tone ahead of the
// voice keeps its place.
class AudioUnitTimePitch : public AudioNode {
 public:
  // The best engine at hand, said on the console; throws, naming the package, when there is none.
  static TimePitchEngine chooseEngine();

  // Does the one-time work of a shift by `cents` now, so the first announcement with it does
  // not wait for it (Rubber Band measures its delay once per ratio).
  static void prepare(TimePitchEngine engine, float cents);

  explicit AudioUnitTimePitch(TimePitchEngine engine);

  // In cents: 1200 is an octave up, -600 half an octave down.
  void setPitch(float cents);
};

}  // namespace audio
