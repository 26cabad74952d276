#include "audio/PitchStretcher.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <numbers>
#include <utility>

#include "audio/ShiftChain.h"

namespace audio {
namespace {

// Where a shift's output lines up with its input, measured once per rate and ratio for the
// process, as the delay the library reports is right only at a ratio of 1: tones of 250, 500
// and 1000 Hz are fed right after the start pad, and the median of the output frames at which
// they first reach half their level is the delay. With each onset is noted how far the input
// had got past the pad, which is the shift's latency.
struct Alignment {
  std::size_t delayFrames = 0;  // output frames to drop after feeding the start pad
  std::size_t latencyFrames = 0;
};

class Alignments {
 public:
  static Alignment of(int sampleRate, double pitchScale) {
    static Alignments alignments;
    std::lock_guard lock(alignments.mutex_);
    auto [found, added] = alignments.measured_.try_emplace({sampleRate, pitchScale});
    if (added)
      found->second = measure(sampleRate, pitchScale);
    return found->second;
  }

 private:
  static constexpr float kLevel = 0.5f;
  // Fine enough for the latency, which is known only to a block.
  static constexpr std::size_t kMeasureBlockFrames = 256;

  struct Onset {
    std::size_t outputFrame;
    std::size_t inputFrames;  // fed past the start pad when the onset came out
    bool operator<(const Onset& other) const { return outputFrame < other.outputFrame; }
  };

  static Alignment measure(int sampleRate, double pitchScale) {
    Onset onsets[] = {onset(sampleRate, pitchScale, 250), onset(sampleRate, pitchScale, 500),
                      onset(sampleRate, pitchScale, 1000)};
    std::sort(std::begin(onsets), std::end(onsets));
    return {onsets[1].outputFrame, onsets[1].inputFrames};
  }

  static Onset onset(int sampleRate, double pitchScale, double hertz) {
    ShiftChain chain(sampleRate, 1, pitchScale, false);
    const std::size_t silent = chain.startPadFrames();
    std::vector<float> input(silent + std::size_t(sampleRate));  // a second of tone at most
    for (std::size_t i = silent; i < input.size(); ++i)
      input[i] =
          kLevel * float(std::sin(2 * std::numbers::pi * hertz * double(i - silent) / sampleRate));
    std::vector<float> output;
    for (std::size_t at = 0; at < input.size(); at += kMeasureBlockFrames) {
      const std::size_t fed = std::min(at + kMeasureBlockFrames, input.size());
      const std::size_t before = output.size();
      chain.process(&input[at], fed - at, output);
      for (std::size_t frame = before; frame < output.size(); ++frame) {
        if (std::fabs(output[frame]) >= kLevel / 2)
          return {frame, fed - std::min(fed, silent)};
      }
    }
    return {input.size(), input.size()};  // never reached for a working stretcher
  }

  std::mutex mutex_;
  std::map<std::pair<int, double>, Alignment> measured_;
};

}  // namespace

PitchStretcher::PitchStretcher(int sampleRate, int channels)
    : sampleRate_(sampleRate), channels_(channels) {}

PitchStretcher::~PitchStretcher() = default;

void PitchStretcher::prepare(int sampleRate, double pitchScale) {
  Alignments::of(sampleRate, pitchScale);
}

void PitchStretcher::setPitchScale(double scale) {
  if (scale != pitchScale_)
    restart();
  pitchScale_ = scale;
}

void PitchStretcher::setPreserveFormants(bool preserve) {
  if (preserve != preserveFormants_)
    restart();
  preserveFormants_ = preserve;
}

std::size_t PitchStretcher::latencyFrames() const {
  return Alignments::of(sampleRate_, pitchScale_).latencyFrames;
}

void PitchStretcher::process(const float* interleaved, std::size_t frames,
                             std::vector<float>& output) {
  shifted_.clear();
  if (!chain_)
    prime();
  framesIn_ += frames;
  chain_->process(interleaved, frames, shifted_);
  collect(output);
}

void PitchStretcher::finish(std::vector<float>& output) {
  if (!chain_)
    return;
  // Silence pushes the held tail out; a bounded amount, in case the chain keeps some back
  // whatever it is fed.
  const std::vector<float> silence(std::size_t(sampleRate_ / 10) * channels_, 0.0f);
  const std::size_t rounds = latencyFrames() / (silence.size() / channels_) + 4;
  for (std::size_t round = 0; round < rounds && framesOut_ < framesIn_; ++round) {
    shifted_.clear();
    chain_->process(silence.data(), silence.size() / channels_, shifted_);
    collect(output);
  }
}

// What the old chain held is dropped: the new one's output lines up with the frames after it.
void PitchStretcher::restart() {
  chain_.reset();
  framesIn_ = framesOut_;
}

// What the start pad gives is the start of the delay to drop.
void PitchStretcher::prime() {
  chain_ = std::make_unique<ShiftChain>(sampleRate_, channels_, pitchScale_, preserveFormants_);
  delayLeft_ = Alignments::of(sampleRate_, pitchScale_).delayFrames;
  const std::vector<float> pad(chain_->startPadFrames() * channels_, 0.0f);
  chain_->process(pad.data(), chain_->startPadFrames(), shifted_);
}

void PitchStretcher::collect(std::vector<float>& output) {
  const std::size_t got = shifted_.size() / channels_;
  const std::size_t dropped = std::min(got, delayLeft_);
  delayLeft_ -= dropped;
  // The tail past the input's end is the padding's echo, not the stream's.
  const std::size_t kept = std::min(got - dropped, framesIn_ - framesOut_);
  output.insert(output.end(), shifted_.begin() + dropped * channels_,
                shifted_.begin() + (dropped + kept) * channels_);
  framesOut_ += kept;
}

}  // namespace audio
