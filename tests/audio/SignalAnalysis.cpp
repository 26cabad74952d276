#include "SignalAnalysis.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numbers>

namespace audio::testing {
namespace {

constexpr std::size_t kRiffHeaderBytes = 12;  // "RIFF", size, "WAVE"

std::uint32_t littleEndian32(const char* bytes) {
  std::uint32_t value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// Goertzel: the power of one frequency, cheaper than a whole transform for a scan.
double powerAt(const std::vector<float>& samples, int sampleRate, double frequency) {
  double coefficient = 2 * std::cos(2 * std::numbers::pi * frequency / sampleRate);
  double previous = 0, beforePrevious = 0;
  for (float sample : samples) {
    double current = sample + coefficient * previous - beforePrevious;
    beforePrevious = previous;
    previous = current;
  }
  return previous * previous + beforePrevious * beforePrevious -
         coefficient * previous * beforePrevious;
}

}  // namespace

Signal Signal::slice(double fromSeconds, double toSeconds) const {
  auto clampIndex = [this](double seconds) {
    return std::min(samples.size(), static_cast<std::size_t>(std::max(0.0, seconds) * sampleRate));
  };
  return {{samples.begin() + clampIndex(fromSeconds), samples.begin() + clampIndex(toSeconds)},
          sampleRate};
}

std::optional<Signal> readCompleteWav(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  // wavenc fills in the sizes last, when the stream has ended.
  if (bytes.size() < kRiffHeaderBytes || std::memcmp(bytes.data(), "RIFF", 4) != 0 ||
      littleEndian32(&bytes[4]) != bytes.size() - 8) {
    return {};
  }
  Signal signal;
  for (std::size_t at = kRiffHeaderBytes; at + 8 <= bytes.size();) {
    std::uint32_t size = littleEndian32(&bytes[at + 4]);
    const char* body = &bytes[at + 8];
    if (at + 8 + size > bytes.size())
      return {};
    if (std::memcmp(&bytes[at], "fmt ", 4) == 0)
      signal.sampleRate = littleEndian32(body + 4);
    if (std::memcmp(&bytes[at], "data", 4) == 0) {
      for (std::uint32_t offset = 0; offset + 1 < size; offset += 2) {
        std::int16_t sample;
        std::memcpy(&sample, body + offset, sizeof sample);
        signal.samples.push_back(sample / 32768.0f);
      }
    }
    at += 8 + size + (size & 1);
  }
  if (signal.sampleRate == 0 || signal.samples.empty())
    return {};
  return signal;
}

double dominantFrequency(const Signal& signal, double lowest, double highest) {
  double best = lowest, bestPower = -1;
  for (double frequency = lowest; frequency <= highest; frequency += 1) {
    double power = powerAt(signal.samples, signal.sampleRate, frequency);
    if (power > bestPower)
      bestPower = power, best = frequency;
  }
  return best;
}

std::size_t firstSampleAbove(const Signal& signal, std::size_t from, float threshold) {
  for (std::size_t i = from; i < signal.samples.size(); ++i) {
    if (std::fabs(signal.samples[i]) >= threshold)
      return i;
  }
  return signal.samples.size();
}

}  // namespace audio::testing
