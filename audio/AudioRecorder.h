#pragma once

#include <gst/gst.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

#include "audio/GStreamer.h"
#include "audio/InputMeter.h"
#include "audio/RecorderSettings.h"
#include "foundation/DispatchQueue.h"

namespace platform {
class AudioSession;
}

namespace audio {

class PipelineBus;

// Records a capture source into one file, a take at a time: source → level → convert and
// resample to the settings → encoder → muxer → file. Between takes the pipeline stays built and
// connected to the sound server, so a take starts without setting anything up, and a meter of
// its own keeps listening to the source. State changes run on the recorder's own queue; callers
// may come from any thread.
class AudioRecorder {
 public:
  // `sourceDescription` is a GStreamer launch line for the capture source, e.g. "pulsesrc".
  AudioRecorder(std::filesystem::path url, RecorderSettings settings, std::string sourceDescription,
                platform::AudioSession& session);
  ~AudioRecorder();
  AudioRecorder(const AudioRecorder&) = delete;
  AudioRecorder& operator=(const AudioRecorder&) = delete;

  // Connects to the capture device and starts the meter in the background; returns at once.
  void prepareToRecord();
  // Records from the named source from the next take on (empty: the server's default); a take
  // under way keeps its source. Returns at once.
  void setDevice(std::string device);
  // Starts a take, overwriting the file. False when the source or the file cannot be opened.
  bool record();
  // Ends the take and returns once the file is complete, or after a bounded wait.
  void stop();
  bool isRecording() const { return recording_.load(std::memory_order_acquire); }

  void setMeteringEnabled(bool enabled) { meteringEnabled_.store(enabled); }
  bool isMeteringEnabled() const { return meteringEnabled_.load(); }
  void updateMeters();
  // In dBFS, −160 (silence, or metering off) to 0; only channel 0 is metered.
  float averagePowerForChannel(int channel) const;
  // What the source hears, in dBFS, −160 to 0, whether or not a take runs; only channel 0.
  float inputPower() const { return meter_.power(); }

  // The capture pipeline, for probes in tests and benchmarks.
  GstElement* pipeline() const { return pipeline_.get(); }

 private:
  void build(const std::string& sourceDescription);
  void watchForStreaming(GstElement* encoder);
  bool prepareOnQueue();
  bool recordOnQueue();
  bool openFile();
  void closeFile();
  void stopOnQueue();
  void connectDevice();
  void storeLevel(double decibels);

  std::filesystem::path url_;
  RecorderSettings settings_;
  platform::AudioSession& session_;
  GstPtr<GstElement> pipeline_;
  GstPtr<GstElement> file_;
  GstPtr<GstPad> takeInput_;  // where the captured sound enters the encoding
  std::unique_ptr<PipelineBus> bus_;
  std::atomic<bool> recording_{false};
  std::atomic<bool> streaming_{false};  // the take's segment has reached the meter
  std::atomic<bool> meteringEnabled_{false};
  std::atomic<float> latestPower_;
  std::atomic<float> meteredPower_;
  InputMeter meter_;
  std::string connectedDevice_;  // the device the pipeline last connected to; on the queue
  // Declared last so it is destroyed first: queued state changes finish before the pipeline goes.
  foundation::DispatchQueue queue_;
};

}  // namespace audio
