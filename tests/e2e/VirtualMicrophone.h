#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "SignalAnalysis.h"

namespace e2e {

// A microphone on the sound server (module-pipe-source) that hears `speech`, then `pauseSeconds`
// of silence, over and over, fed from a thread at the pace of a real one. While nobody records,
// the pipe fills and what it would hear is dropped, as a live microphone's sound is.
class VirtualMicrophone {
 public:
  // The server line that makes the source, reading from `pipe`, for speech at that rate.
  static std::string serverLine(const std::string& sourceName, const std::string& description,
                                const std::filesystem::path& pipe, int sampleRate);

  // The server must have made `pipe` already.
  VirtualMicrophone(const std::filesystem::path& pipe, const audio::testing::Signal& speech,
                    double pauseSeconds);
  ~VirtualMicrophone();
  VirtualMicrophone(const VirtualMicrophone&) = delete;
  VirtualMicrophone& operator=(const VirtualMicrophone&) = delete;

  // When the speech next begins from its first word.
  std::chrono::steady_clock::time_point nextStartOfSpeech() const;
  // What the microphone was hearing between the two moments.
  audio::testing::Signal heardBetween(std::chrono::steady_clock::time_point from,
                                      std::chrono::steady_clock::time_point to) const;

 private:
  void feed();
  std::size_t chunkFrames() const;
  std::size_t framesSinceStart(std::chrono::steady_clock::time_point time) const;

  int pipe_;
  audio::testing::Signal loop_;
  std::chrono::steady_clock::time_point start_;
  std::atomic<bool> stopping_{false};
  std::thread feeder_;
};

}  // namespace e2e
