#include "SourceRecorder.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace e2e {
namespace {

using namespace std::chrono_literals;

// 10 ms fragments: small against the latencies measured, large enough not to starve.
constexpr std::size_t kFragmentFrames = SourceRecorder::kSampleRate / 100;
// Far under the start chime (−8 dBFS) and a spoken take, far over a null sink's digital zeros.
constexpr float kSoundThreshold = 0.005f;
constexpr auto kPollInterval = 10ms;
constexpr auto kSettledLatency = 20ms;

pa_simple* openRecording(const std::string& server, const std::string& source) {
  const pa_sample_spec format{PA_SAMPLE_FLOAT32LE, SourceRecorder::kSampleRate, 1};
  pa_buffer_attr buffering{};
  buffering.maxlength = std::uint32_t(-1);
  buffering.fragsize = std::uint32_t(kFragmentFrames * sizeof(float));
  int error = 0;
  pa_simple* stream =
      pa_simple_new(server.c_str(), "Orvane end-to-end test", PA_STREAM_RECORD, source.c_str(),
                    "speaker monitor", &format, nullptr, &buffering, &error);
  if (!stream)
    throw std::runtime_error("cannot record " + source + ": " + pa_strerror(error));
  return stream;
}

Clock::duration framesToDuration(double frames) {
  return std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(frames / SourceRecorder::kSampleRate));
}

}  // namespace

SourceRecorder::SourceRecorder(const std::string& server, const std::string& source)
    : stream_(openRecording(server, source)), recorder_([this] { record(); }) {}

SourceRecorder::~SourceRecorder() {
  stopping_ = true;
  recorder_.join();
  pa_simple_free(stream_);
}

void SourceRecorder::record() {
  std::vector<float> fragment(kFragmentFrames);
  while (!stopping_) {
    int error = 0;
    if (pa_simple_read(stream_, fragment.data(), fragment.size() * sizeof(float), &error) < 0) {
      std::lock_guard lock(mutex_);
      failure_ = std::string("recording failed: ") + pa_strerror(error);
      return;
    }
    const auto arrived = Clock::now();
    // What is still in the server's buffers was heard after our last sample.
    pa_usec_t buffered = pa_simple_get_latency(stream_, &error);
    if (buffered == pa_usec_t(-1))
      buffered = 0;  // not known yet: the fragment's arrival is the best there is
    std::lock_guard lock(mutex_);
    samples_.insert(samples_.end(), fragment.begin(), fragment.end());
    latestLatency_ = std::chrono::microseconds(buffered);
    fragments_.push_back({samples_.size(), arrived - *latestLatency_});
  }
}

void SourceRecorder::waitUntilSettled(Clock::duration limit) const {
  const auto deadline = Clock::now() + limit;
  for (;;) {
    {
      std::lock_guard lock(mutex_);
      if (!failure_.empty())
        throw std::runtime_error(failure_);
      if (latestLatency_ && *latestLatency_ <= kSettledLatency)
        return;
    }
    if (Clock::now() >= deadline)
      throw std::runtime_error("the speaker's monitor did not settle");
    std::this_thread::sleep_for(kPollInterval);
  }
}

std::size_t SourceRecorder::sampleAt(Clock::time_point time) const {
  const auto after = std::find_if(fragments_.begin(), fragments_.end(),
                                  [&](const Fragment& f) { return f.lastHeard >= time; });
  if (after == fragments_.end())
    return samples_.size();
  const double framesBefore =
      std::chrono::duration<double>(after->lastHeard - time).count() * kSampleRate;
  return after->end - std::min<std::size_t>(after->end, std::size_t(framesBefore));
}

Clock::time_point SourceRecorder::timeOf(std::size_t sample) const {
  const auto within = std::upper_bound(fragments_.begin(), fragments_.end(), sample,
                                       [](std::size_t s, const Fragment& f) { return s < f.end; });
  return within->lastHeard - framesToDuration(double(within->end - 1 - sample));
}

std::optional<Sound> SourceRecorder::endedSoundAfter(Clock::time_point since,
                                                     Clock::duration silence) const {
  auto loud = [this](std::size_t i) { return std::fabs(samples_[i]) >= kSoundThreshold; };
  std::size_t first = sampleAt(since);
  while (first < samples_.size() && !loud(first))
    ++first;
  const auto silentFrames =
      std::size_t(std::chrono::duration<double>(silence).count() * kSampleRate);
  std::size_t last = first;
  for (std::size_t i = first; i < samples_.size(); ++i) {
    if (loud(i))
      last = i;
    else if (i - last >= silentFrames)
      return Sound{timeOf(first),
                   {{samples_.begin() + first, samples_.begin() + last + 1}, kSampleRate}};
  }
  return {};
}

std::optional<Sound> SourceRecorder::soundAfter(Clock::time_point since, Clock::duration silence,
                                                Clock::duration limit) const {
  const auto deadline = Clock::now() + limit;
  for (;;) {
    {
      std::lock_guard lock(mutex_);
      if (!failure_.empty())
        throw std::runtime_error(failure_);
      if (auto sound = endedSoundAfter(since, silence))
        return sound;
    }
    if (Clock::now() >= deadline)
      return {};
    std::this_thread::sleep_for(kPollInterval);
  }
}

}  // namespace e2e
