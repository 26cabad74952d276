#pragma once

#include "SignalAnalysis.h"
#include "audio/AudioUnitTimePitch.h"

namespace audio::testing {

// A band-limited sawtooth (harmonics below 16 kHz), peak about 0.5, at 44.1 kHz: every partial
// a harmonic, so whatever else a shifter's output holds is its own noise.
Signal sawtooth(double hertz, double seconds);

// `input` resampled to the graph's 44.1 kHz and shifted by `cents` through a time-pitch unit of
// `engine`, in 4096-frame buffers as a player would deliver them; all that came out. Rubber
// Band can be asked to keep the formants where they were.
Signal shifted(const Signal& input, TimePitchEngine engine, float cents,
               bool preserveFormants = false);

}  // namespace audio::testing
