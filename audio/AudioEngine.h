#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "audio/AudioFormat.h"
#include "audio/AudioNode.h"
#include "audio/GStreamer.h"

namespace platform {
class AudioSession;
}

namespace audio {

class AudioOutputNode;
class PipelineBus;

// The playback graph: nodes attached to one pipeline and connected bus to bus, ending in the
// output node. Thread-safe, though its owner keeps the order of attach, connect, start and reset.
class AudioEngine {
 public:
  // Hears, on a streaming thread, that the running graph failed: the output went away, a file
  // would not decode, the sound server left. Once a run, and never for a start that failed.
  using FailureHandler = std::function<void(const std::string& reason)>;

  AudioEngine(const std::string& sinkDescription, platform::AudioSession& session,
              FailureHandler onFailure = {});
  ~AudioEngine();
  AudioEngine(const AudioEngine&) = delete;
  AudioEngine& operator=(const AudioEngine&) = delete;

  void attach(std::shared_ptr<AudioNode> node);
  // Replaces whatever fed `to` and whatever `from` fed.
  void connect(AudioNode& from, AudioNode& to, const AudioFormat& format);
  AudioNode& outputNode();

  // False, with the reason in `error`, when the output cannot be opened.
  bool start(std::string& error);
  void stop();
  // Stops, and lets go of every attached node; the output node stays.
  void reset();
  bool isRunning() const { return running_.load(std::memory_order_acquire); }
  // True once everything the players had scheduled has reached the output.
  bool hasFinishedPlaying() const;
  // True while the run under way has failed and has not been stopped.
  bool hasFailedWhileRunning() const;

  // The playback pipeline, for probes in tests and benchmarks.
  GstElement* pipeline() const { return pipeline_.get(); }

 private:
  struct Link {
    AudioNode* from;
    AudioNode* to;
    GstElement* filter;
  };
  void disconnect(const Link& link);
  void stopLocked();
  void failed(const std::string& reason) const;

  platform::AudioSession& session_;
  FailureHandler onFailure_;
  GstPtr<GstElement> pipeline_;
  std::unique_ptr<PipelineBus> bus_;
  std::unique_ptr<AudioOutputNode> output_;
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<AudioNode>> nodes_;
  std::vector<Link> links_;
  std::atomic<bool> running_{false};
};

}  // namespace audio
