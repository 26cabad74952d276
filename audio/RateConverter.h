#pragma once

#include <cstddef>
#include <vector>

struct soxr;

namespace audio {

// A fixed-ratio sample-rate converter for interleaved float frames (soxr, very high quality). It
// holds a few milliseconds back, which come out as later frames arrive.
class RateConverter {
 public:
  // Frames come out at `outputPerInput` times the rate they go in.
  RateConverter(double outputPerInput, int channels);
  ~RateConverter();
  RateConverter(const RateConverter&) = delete;
  RateConverter& operator=(const RateConverter&) = delete;

  // Converts `frames` frames and appends the frames that are ready to `output`.
  void process(const float* interleaved, std::size_t frames, std::vector<float>& output);

 private:
  soxr* converter_;
  double outputPerInput_;
  int channels_;
};

}  // namespace audio
