#pragma once

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <string_view>

#include "audio/AudioEngine.h"
#include "audio/AudioRecorder.h"
#include "audio/AudioUnitTimePitch.h"
#include "audio/PlaybackEffects.h"

namespace platform {
class AudioSession;
}

namespace audio {

class AudioFile;
class AudioPlayerNode;

// Where the engine keeps its files and which devices it uses. The defaults are the
// application's data directory, the installed start tone and the sound server's default
// input and output.
struct OrvaneEngineConfiguration {
  std::filesystem::path documentsDirectory;
  std::filesystem::path startTonePath;
  std::string sourceDescription = "pulsesrc latency-time=5000 buffer-time=40000";
  std::string sinkDescription = "pulsesink";
  platform::AudioSession* session = nullptr;  // null: the shared session

  static OrvaneEngineConfiguration defaults();
};

// Records an announcement while the Talk button is held, keeps it if it is long enough, and
// plays it once with the chosen voice effect and, optionally, the start tone in front. Failures
// the user must hear of are posted as "AudioPlaybackFailed".
class OrvaneEngine {
 public:
  static constexpr std::string_view kPlaybackFailedNotification = "AudioPlaybackFailed";
  // The bundle identifier followed by "_Playback_Started"; the screen observes the same name.
  static const std::string& playbackStartedNotificationName();

  explicit OrvaneEngine(
      OrvaneEngineConfiguration configuration = OrvaneEngineConfiguration::defaults());
  ~OrvaneEngine();
  OrvaneEngine(const OrvaneEngine&) = delete;
  OrvaneEngine& operator=(const OrvaneEngine&) = delete;

  // 0…1 for the waveform: 10^(dB/60) of the input while recording.
  double audioLevel();
  // 0…1 on the same scale: what the input hears, takes or not, for the waveform at rest.
  double roomLevel() const;
  // The playback file's duration in seconds, read afresh at every call.
  double playbackLength() const;
  bool isStartToneOn() const { return startToneOn_.load(); }
  void setStartToneOn(bool on) { startToneOn_.store(on); }
  float audioPeak() const { return audioPeak_.load(); }
  void setAudioPeak(float peak) { audioPeak_.store(peak); }
  PlaybackEffects effect() const { return effect_.load(); }
  void setEffect(PlaybackEffects effect) { effect_.store(effect); }

  void startRecording();
  void stopRecording();
  // Returns at once; the announcement is played from the audio queue.
  void play();
  // Plays the last kept take again, as it is announced now (effect, tone). False, with nothing
  // played, when no take has been kept.
  bool replay();
  // Plays a prepared file (see AudioFile::forReading) as an announcement instead of a take.
  void playFile(std::shared_ptr<AudioFile> voice);
  void reset();

  // The two graphs, for probes in tests and benchmarks.
  AudioRecorder& recorder() { return recorder_; }
  AudioEngine& audioEngine() { return engine_; }

 private:
  static foundation::DispatchQueue& audioQueue();
  // `ready`: the voice may be played; otherwise the attempt is reported as a failure.
  void playOnAudioQueue(const std::shared_ptr<AudioFile>& voice, bool ready);
  void keepTake();
  void scheduleStartTone(AudioPlayerNode& player);
  void scheduleVoice(AudioPlayerNode& player, const std::shared_ptr<AudioFile>& voice);
  void startPlayer(AudioPlayerNode& player);
  void stopFailedPlayback();
  void postPlaybackFailed();

  platform::AudioSession& session_;
  std::atomic<bool> startToneOn_{false};
  std::atomic<PlaybackEffects> effect_{PlaybackEffects::NormalVoice};
  float playbackLevel_ = 0.0f;  // nothing measures the playback yet, so it stays 0
  std::filesystem::path recordingURL_;
  std::filesystem::path playbackURL_;
  std::filesystem::path startTonePath_;
  AudioEngine engine_;
  TimePitchEngine timePitchEngine_;
  AudioRecorder recorder_;
  std::atomic<bool> readyForPlayback_{false};
  std::atomic<float> audioPeak_{0.0f};
  std::future<void> warmUp_;
};

}  // namespace audio
