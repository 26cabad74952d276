#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "SignalAnalysis.h"

struct pa_simple;

namespace e2e {

// A sound that came out: when its first sample was heard, and the samples up to its last.
struct Sound {
  Clock::time_point start;
  audio::testing::Signal signal;

  Clock::time_point end() const {
    return start + std::chrono::duration_cast<Clock::duration>(
                       std::chrono::duration<double>(signal.seconds()));
  }
};

// Records a source of the sound server (an output's monitor) from the moment it is made, in mono,
// on a thread of its own, in small fragments. Each fragment's arrival is noted with the stream's
// latency at that moment, so the time a sample was heard can be told to within a fragment.
class SourceRecorder {
 public:
  SourceRecorder(const std::string& server, const std::string& source);
  ~SourceRecorder();
  SourceRecorder(const SourceRecorder&) = delete;
  SourceRecorder& operator=(const SourceRecorder&) = delete;

  static constexpr int kSampleRate = 44100;

  // Waits until fragments come as they are heard. A fresh monitor of a null sink gives nothing for
  // about two seconds, then reports a latency that falls from some 650 ms to 0 over the next
  // 650 ms at the pace of the clock; times read before that are off by as much.
  void waitUntilSettled(Clock::duration limit) const;

  // Waits up to `limit` for a sound to start after `since` and for `silence` after it (the monitor
  // of a null sink is digital silence when nothing plays); nothing if no sound ended in time.
  std::optional<Sound> soundAfter(Clock::time_point since, Clock::duration silence,
                                  Clock::duration limit) const;

 private:
  // Samples recorded up to `end`, and when the last of them was heard.
  struct Fragment {
    std::size_t end;
    Clock::time_point lastHeard;
  };

  void record();
  std::size_t sampleAt(Clock::time_point time) const;  // under the lock
  Clock::time_point timeOf(std::size_t sample) const;  // under the lock
  std::optional<Sound> endedSoundAfter(Clock::time_point since, Clock::duration silence) const;

  pa_simple* stream_;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::vector<float> samples_;
  std::vector<Fragment> fragments_;
  std::optional<Clock::duration> latestLatency_;
  std::string failure_;
  std::thread recorder_;
};

}  // namespace e2e
