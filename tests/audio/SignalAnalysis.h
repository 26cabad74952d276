#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace audio::testing {

// Mono audio read back from what reached a test sink.
struct Signal {
  std::vector<float> samples;  // −1…1
  int sampleRate = 0;

  double seconds() const { return sampleRate ? double(samples.size()) / sampleRate : 0; }
  Signal slice(double fromSeconds, double toSeconds) const;
};

// A 16-bit mono WAV file as written by GStreamer's wavenc; empty until the file is complete.
std::optional<Signal> readCompleteWav(const std::filesystem::path& path);

// The strongest frequency between `lowest` and `highest` Hz, to the nearest hertz.
double dominantFrequency(const Signal& signal, double lowest = 100, double highest = 2000);

// The first sample at or after `from` whose magnitude reaches `threshold`; the size if none.
std::size_t firstSampleAbove(const Signal& signal, std::size_t from, float threshold);

// The median fundamental frequency of a voice in hertz, over its voiced 10 ms steps (YIN: the
// first clear dip of the normalised difference function, which does not jump an octave up or down
// as a plain autocorrelation peak does); empty when too few steps are voiced to tell.
std::optional<double> medianPitch(const Signal& signal, double lowest = 60, double highest = 500);

// A steady periodic tone's fundamental and its harmonic-to-noise ratio: in a Blackman-Harris
// windowed transform of its first 2^16 samples (1.5 s at 44.1 kHz; fewer when it is shorter),
// the power within five bins of each harmonic against the power everywhere else above 20 Hz.
// The fundamental is the one within 3 % of `nearHertz` whose harmonics hold the most power.
struct HarmonicContent {
  double fundamental = 0;
  double harmonicToNoiseDb = 0;
};
HarmonicContent harmonicContent(const Signal& signal, double nearHertz);

// The harmonic-to-noise ratio of a voice, whose pitch moves: Boersma's autocorrelation measure,
// 10·log10(r / (1 − r)) with r the highest normalised autocorrelation of a 40 ms step at a lag
// of 60 to 500 Hz; the median over the steps that are loud (within 30 dB of the loudest) and
// voiced (r above one half). Empty when too few steps are voiced.
std::optional<double> voiceHarmonicToNoise(const Signal& signal);

}  // namespace audio::testing
