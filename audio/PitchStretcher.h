#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace RubberBand {
class RubberBandStretcher;
}

namespace audio {

// Rubber Band's R3 engine in real-time mode, as a pitch shifter whose output lines up with its
// input: before the first samples it is fed the silent start pad it asks for, and its start delay
// is dropped from its output, so frame n out is frame n in, shifted. finish() drains
// the tail, so a stream comes out exactly as long as it went in.
class PitchStretcher {
 public:
  PitchStretcher(int sampleRate, int channels);
  // Measures now where the output of a shift by `pitchScale` lines up, which is otherwise done
  // (once per rate and ratio, about 10 ms of CPU) at the first frames of such a shift.
  static void prepare(int sampleRate, double pitchScale);
  ~PitchStretcher();
  PitchStretcher(const PitchStretcher&) = delete;
  PitchStretcher& operator=(const PitchStretcher&) = delete;

  // Both take effect at once; before the first frames they also decide the start pad and delay.
  void setPitchScale(double scale);
  void setPreserveFormants(bool preserve);

  // Interleaved frames in; the aligned frames that are ready are appended to `output`.
  void process(const float* interleaved, std::size_t frames, std::vector<float>& output);
  // The rest of the output, up to as many frames as went in. Call once, at the end of a stream.
  void finish(std::vector<float>& output);
  // Frames the stretcher holds back before the matching output can leave: its start pad and
  // start delay at the present pitch (measured the first time a rate and pitch are used).
  std::size_t latencyFrames() const;

 private:
  void prime();
  void feed(const float* interleaved, std::size_t frames);
  void collect(std::vector<float>& output);

  std::unique_ptr<RubberBand::RubberBandStretcher> stretcher_;
  int sampleRate_;
  int channels_;
  double pitchScale_ = 1.0;
  bool primed_ = false;
  std::size_t delayLeft_ = 0;  // output frames still to drop
  std::size_t framesIn_ = 0;   // real frames fed, pad excluded
  std::size_t framesOut_ = 0;  // aligned frames handed out
  // One channel each, for the stretcher's planar calls; kept to spare the streaming thread
  // an allocation a block.
  std::vector<std::vector<float>> planes_;
  std::vector<float*> planePointers_;
};

}  // namespace audio
