#include "SignalAnalysis.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
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

// YIN's settings: a step is voiced where the normalised difference dips below the threshold. The
// window holds the longest period at 60 Hz and more; steps quieter than 30 dB under the loudest
// are breath and noise, not voice.
constexpr double kVoicedDip = 0.2;
constexpr double kWindowSeconds = 0.025;
constexpr double kStepSeconds = 0.01;
constexpr double kQuietestStep = 0.03;  // −30 dB, as a ratio of rms
constexpr std::size_t kFewestVoicedSteps = 10;

double rms(const float* samples, std::size_t count) {
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i)
    sum += double(samples[i]) * samples[i];
  return count ? std::sqrt(sum / count) : 0;
}

// The cumulative-mean-normalised difference of the window at `x` for lags 0…longestLag + 1.
std::vector<double> normalisedDifference(const float* x, std::size_t window,
                                         std::size_t longestLag) {
  std::vector<double> normalised(longestLag + 2, 1.0);
  double running = 0;
  for (std::size_t lag = 1; lag < normalised.size(); ++lag) {
    double difference = 0;
    for (std::size_t j = 0; j < window; ++j) {
      const double step = double(x[j]) - x[j + lag];
      difference += step * step;
    }
    running += difference;
    normalised[lag] = running > 0 ? difference * double(lag) / running : 1.0;
  }
  return normalised;
}

// The period in samples of the window at `x`, between the two lags; none if it is not voiced.
std::optional<double> periodOf(const float* x, std::size_t window, std::size_t shortestLag,
                               std::size_t longestLag) {
  const auto normalised = normalisedDifference(x, window, longestLag);
  for (std::size_t lag = shortestLag; lag <= longestLag; ++lag) {
    if (normalised[lag] >= kVoicedDip)
      continue;
    while (lag < longestLag && normalised[lag + 1] < normalised[lag])
      ++lag;
    // A parabola through the dip and its neighbours places it between samples.
    const double before = normalised[lag - 1], at = normalised[lag], after = normalised[lag + 1];
    const double curvature = before - 2 * at + after;
    return double(lag) + (curvature > 0 ? 0.5 * (before - after) / curvature : 0.0);
  }
  return {};
}

// In place, radix 2: `values` has a power-of-two size.
void transform(std::vector<std::complex<double>>& values) {
  const std::size_t size = values.size();
  for (std::size_t i = 1, j = 0; i < size; ++i) {
    std::size_t bit = size >> 1;
    for (; j & bit; bit >>= 1)
      j ^= bit;
    j ^= bit;
    if (i < j)
      std::swap(values[i], values[j]);
  }
  for (std::size_t length = 2; length <= size; length <<= 1) {
    const auto step = std::polar(1.0, -2 * std::numbers::pi / double(length));
    for (std::size_t start = 0; start < size; start += length) {
      std::complex<double> twiddle = 1;
      for (std::size_t k = 0; k < length / 2; ++k, twiddle *= step) {
        const auto odd = values[start + k + length / 2] * twiddle;
        values[start + k + length / 2] = values[start + k] - odd;
        values[start + k] += odd;
      }
    }
  }
}

// The power spectrum of the first power-of-two samples (at most 2^16), Blackman-Harris windowed:
// its side lobes sit 92 dB down, so the space between harmonics shows the noise, not leakage.
std::vector<double> powerSpectrum(const Signal& signal) {
  const std::size_t size = std::min<std::size_t>(std::bit_floor(signal.samples.size()), 1 << 16);
  std::vector<std::complex<double>> values(size);
  for (std::size_t i = 0; i < size; ++i) {
    const double phase = 2 * std::numbers::pi * double(i) / double(size - 1);
    const double window = 0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2 * phase) -
                          0.01168 * std::cos(3 * phase);
    values[i] = signal.samples[i] * window;
  }
  transform(values);
  std::vector<double> power(size / 2);
  for (std::size_t bin = 0; bin < power.size(); ++bin)
    power[bin] = std::norm(values[bin]);
  return power;
}

constexpr long kHarmonicHalfWidthBins = 5;  // the window's main lobe is four bins either side

// The power within the half width of every harmonic of `fundamental`, in bins.
double harmonicPower(const std::vector<double>& power, double fundamentalBins) {
  double sum = 0;
  const auto bins = static_cast<long>(power.size());
  for (double centre = fundamentalBins;; centre += fundamentalBins) {
    const long middle = std::lround(centre);
    if (middle + kHarmonicHalfWidthBins >= bins)
      break;
    for (long bin = middle - kHarmonicHalfWidthBins; bin <= middle + kHarmonicHalfWidthBins; ++bin)
      sum += power[bin];
  }
  return sum;
}

constexpr double kLowestNoiseHertz = 20;
constexpr double kVoiceStepSeconds = 0.04;
constexpr double kVoiceHopSeconds = 0.02;
constexpr double kVoicedCorrelation = 0.5;
constexpr double kHighestCorrelation = 0.99999;  // 50 dB: beyond, the figure says nothing more

// The highest normalised autocorrelation of the `window` samples at `x` over the lags given.
double peakCorrelation(const float* x, std::size_t window, std::size_t shortestLag,
                       std::size_t longestLag) {
  double best = 0;
  for (std::size_t lag = shortestLag; lag <= longestLag; ++lag) {
    double product = 0, energy = 0, lagEnergy = 0;
    for (std::size_t j = 0; j < window; ++j) {
      product += double(x[j]) * x[j + lag];
      energy += double(x[j]) * x[j];
      lagEnergy += double(x[j + lag]) * x[j + lag];
    }
    if (energy > 0 && lagEnergy > 0)
      best = std::max(best, product / std::sqrt(energy * lagEnergy));
  }
  return best;
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

std::optional<double> medianPitch(const Signal& signal, double lowest, double highest) {
  const auto window = std::size_t(kWindowSeconds * signal.sampleRate);
  const auto step = std::size_t(kStepSeconds * signal.sampleRate);
  const auto shortestLag = std::max<std::size_t>(2, std::size_t(signal.sampleRate / highest));
  const auto longestLag = std::size_t(std::ceil(signal.sampleRate / lowest));
  if (signal.samples.size() < window + longestLag + 2)
    return {};
  const std::size_t lastStart = signal.samples.size() - window - longestLag - 2;

  double loudest = 0;
  for (std::size_t start = 0; start <= lastStart; start += step)
    loudest = std::max(loudest, rms(&signal.samples[start], window));
  std::vector<double> pitches;
  for (std::size_t start = 0; start <= lastStart; start += step) {
    const float* x = &signal.samples[start];
    if (rms(x, window) < kQuietestStep * loudest)
      continue;
    if (auto period = periodOf(x, window, shortestLag, longestLag))
      pitches.push_back(signal.sampleRate / *period);
  }
  if (pitches.size() < kFewestVoicedSteps)
    return {};
  std::nth_element(pitches.begin(), pitches.begin() + pitches.size() / 2, pitches.end());
  return pitches[pitches.size() / 2];
}

HarmonicContent harmonicContent(const Signal& signal, double nearHertz) {
  const auto power = powerSpectrum(signal);
  if (power.empty())
    return {};
  const double binHertz = signal.sampleRate / (2.0 * power.size());
  // Steps fine enough that the highest harmonic moves by under half a bin from one to the next.
  const double highestHarmonic = signal.sampleRate / 2.0 / (nearHertz * 0.97);
  const double stepBins = 0.5 / highestHarmonic;
  HarmonicContent best;
  double bestPower = -1;
  for (double bins = nearHertz * 0.97 / binHertz; bins <= nearHertz * 1.03 / binHertz;
       bins += stepBins) {
    if (double sum = harmonicPower(power, bins); sum > bestPower)
      bestPower = sum, best.fundamental = bins * binHertz;
  }
  double total = 0;
  for (auto bin = std::size_t(std::ceil(kLowestNoiseHertz / binHertz)); bin < power.size(); ++bin)
    total += power[bin];
  best.harmonicToNoiseDb = 10 * std::log10(bestPower / std::max(total - bestPower, 1e-30));
  return best;
}

std::optional<double> voiceHarmonicToNoise(const Signal& signal) {
  const auto window = std::size_t(kVoiceStepSeconds * signal.sampleRate);
  const auto hop = std::size_t(kVoiceHopSeconds * signal.sampleRate);
  const auto shortestLag = std::size_t(signal.sampleRate / 500.0);
  const auto longestLag = std::size_t(std::ceil(signal.sampleRate / 60.0));
  if (signal.samples.size() < window + longestLag)
    return {};
  const std::size_t lastStart = signal.samples.size() - window - longestLag;
  double loudest = 0;
  for (std::size_t start = 0; start <= lastStart; start += hop)
    loudest = std::max(loudest, rms(&signal.samples[start], window));
  std::vector<double> ratios;
  for (std::size_t start = 0; start <= lastStart; start += hop) {
    const float* x = &signal.samples[start];
    if (rms(x, window) < kQuietestStep * loudest)
      continue;
    const double r =
        std::min(peakCorrelation(x, window, shortestLag, longestLag), kHighestCorrelation);
    if (r > kVoicedCorrelation)
      ratios.push_back(10 * std::log10(r / (1 - r)));
  }
  if (ratios.size() < kFewestVoicedSteps)
    return {};
  std::nth_element(ratios.begin(), ratios.begin() + ratios.size() / 2, ratios.end());
  return ratios[ratios.size() / 2];
}

}  // namespace audio::testing
