#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace audio {

class ShiftChain;

// A pitch shifter whose output lines up with its input: before the first samples it is fed the
// silence its stretcher asks for, and the delay that makes is dropped from its output, so
// frame n out is frame n in, shifted. finish() drains the tail, so a stream comes out exactly as
// long as it went in.
class PitchStretcher {
 public:
  PitchStretcher(int sampleRate, int channels);
  // Measures now where the output of a shift by `pitchScale` lines up, which is otherwise done
  // (once per rate and ratio, about 10 ms of CPU) at the first frames of such a shift.
  static void prepare(int sampleRate, double pitchScale);
  ~PitchStretcher();
  PitchStretcher(const PitchStretcher&) = delete;
  PitchStretcher& operator=(const PitchStretcher&) = delete;

  // Before the first frames these only choose the shift. Later they start the shift afresh from
  // the next frames: what the old one held back (a tenth of a second or so) is dropped.
  void setPitchScale(double scale);
  void setPreserveFormants(bool preserve);

  // Interleaved frames in; the aligned frames that are ready are appended to `output`.
  void process(const float* interleaved, std::size_t frames, std::vector<float>& output);
  // The rest of the output, up to as many frames as went in. Call once, at the end of a stream.
  void finish(std::vector<float>& output);
  // Input frames the shifter holds back before the matching output can leave, at the present
  // pitch (measured the first time a rate and pitch are used).
  std::size_t latencyFrames() const;

 private:
  void restart();
  void prime();
  void collect(std::vector<float>& output);

  int sampleRate_;
  int channels_;
  double pitchScale_ = 1.0;
  bool preserveFormants_ = false;
  std::unique_ptr<ShiftChain> chain_;  // made at the first frames after a change
  std::size_t delayLeft_ = 0;          // output frames still to drop
  std::size_t framesIn_ = 0;           // real frames fed, padding excluded
  std::size_t framesOut_ = 0;          // aligned frames handed out
  std::vector<float> shifted_;         // the chain's output before alignment; kept to spare
                                       // the streaming thread an allocation a block
};

}  // namespace audio
