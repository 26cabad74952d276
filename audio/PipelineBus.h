#pragma once

#include <gst/gst.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace audio {

// Watches a pipeline's bus without a main loop: messages are handled on the thread that posts
// them (a streaming thread, usually), errors are logged, and a caller can wait, bounded, for the
// end of the stream. Nothing is left queued on the bus.
class PipelineBus {
 public:
  enum class Outcome { EndOfStream, Error, TimedOut };
  // Receives the rms power of channel 0 in dBFS from each "level" message.
  using LevelHandler = std::function<void(double decibels)>;
  // Receives the first error of each run, after it has been logged.
  using ErrorHandler = std::function<void(const std::string& reason)>;

  // `label` starts the log lines: "<label> failed: <reason>". The handlers run on the thread that
  // posts the message, a streaming thread usually: they must not change the pipeline's state.
  PipelineBus(GstElement* pipeline, std::string label, LevelHandler levelHandler = {},
              ErrorHandler errorHandler = {});
  ~PipelineBus();
  PipelineBus(const PipelineBus&) = delete;
  PipelineBus& operator=(const PipelineBus&) = delete;

  // Forgets the end of stream and error of the last run, before the pipeline runs again.
  void rearm();
  Outcome waitForEndOfStream(std::chrono::milliseconds limit);
  bool hasEnded() const;
  std::optional<std::string> lastError() const;
  // Errors are logged as they come, except while the owner reports them itself.
  void setLoggingErrors(bool logging) { loggingErrors_.store(logging); }

 private:
  static GstBusSyncReply onMessage(GstBus* bus, GstMessage* message, gpointer self);
  void handle(GstMessage* message);
  void handleLevel(const GstStructure* structure);

  GstBus* bus_;
  std::string label_;
  LevelHandler levelHandler_;
  ErrorHandler errorHandler_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<bool> loggingErrors_{true};
  bool endOfStream_ = false;
  std::optional<std::string> error_;
};

}  // namespace audio
