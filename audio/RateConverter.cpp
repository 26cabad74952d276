#include "audio/RateConverter.h"

#include <soxr.h>

#include <cmath>
#include <stdexcept>
#include <string>

namespace audio {

RateConverter::RateConverter(double outputPerInput, int channels)
    : outputPerInput_(outputPerInput), channels_(channels) {
  const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
  soxr_error_t error = nullptr;
  converter_ = soxr_create(1.0, outputPerInput, channels, &error, &io, &quality, nullptr);
  if (error)
    throw std::runtime_error(std::string("Cannot convert the sample rate: ") + error);
}

RateConverter::~RateConverter() {
  soxr_delete(converter_);
}

void RateConverter::process(const float* interleaved, std::size_t frames,
                            std::vector<float>& output) {
  // A null input would tell soxr the stream has ended, and an empty vector's data may be null.
  if (frames == 0)
    return;
  // soxr stops when its output is full, so it is called until the input is taken and it has
  // nothing more to give.
  const std::size_t room = std::size_t(std::ceil(double(frames) * outputPerInput_)) + 64;
  for (std::size_t taken = 0;;) {
    const std::size_t at = output.size();
    output.resize(at + room * channels_);
    std::size_t used = 0, made = 0;
    soxr_process(converter_, interleaved + taken * channels_, frames - taken, &used,
                 output.data() + at, room, &made);
    output.resize(at + made * channels_);
    taken += used;
    const bool drained = taken == frames && made < room;
    if (drained || (used == 0 && made == 0))
      return;
  }
}

}  // namespace audio
