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

}  // namespace audio::testing
