#pragma once

namespace audio {

// "rubberbandpitch", the time-pitch element on Rubber Band's R3 engine, registered in this
// process only (a GstAudioFilter on F32 interleaved audio). Like SoundTouch's "pitch" it has a
// "pitch" property, a frequency ratio, so either element can fill the time-pitch unit; its
// "preserve-formants" keeps the spectral envelope of a voice where it was. It answers the
// latency query with the stretcher's delay and stamps its output as the input it lines up with.
inline constexpr const char* kRubberBandPitchFactory = "rubberbandpitch";

// After gst_init; registering again is harmless.
void registerRubberBandPitch();

// Does the one-time work of a shift by `pitch` (a frequency ratio) at `sampleRate` now, so the
// first stream with it does not wait.
void prepareRubberBandPitch(int sampleRate, double pitch);

}  // namespace audio
