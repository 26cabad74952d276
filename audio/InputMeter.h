#pragma once

#include <gst/gst.h>

#include <atomic>
#include <memory>
#include <string>

#include "audio/GStreamer.h"

namespace audio {

class PipelineBus;

// What the capture source hears between takes, so the screen can show the room before anyone
// speaks: source → level → fakesink. It is a stream of its own beside the recorder's, so a take
// never waits on it, and it reads in coarse chunks, so it costs next to nothing while it runs.
class InputMeter {
 public:
  // `sourceDescription` is the recorder's launch line for the capture source.
  explicit InputMeter(const std::string& sourceDescription);
  ~InputMeter();
  InputMeter(const InputMeter&) = delete;
  InputMeter& operator=(const InputMeter&) = delete;

  // Connects anew to the named source (empty: the server's default) and runs. Not thread-safe:
  // its owner calls it from one queue.
  void start(const std::string& device);
  // In dBFS, −160 to 0; −160 before the first reading and after the source failed.
  float power() const { return power_.load(); }

 private:
  GstPtr<GstElement> pipeline_;
  std::unique_ptr<PipelineBus> bus_;
  std::atomic<float> power_;
};

}  // namespace audio
