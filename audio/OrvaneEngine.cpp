#include "audio/OrvaneEngine.h"

#include <cmath>
#include <system_error>

#include "audio/AudioAsset.h"
#include "audio/AudioFile.h"
#include "audio/AudioPlayerNode.h"
#include "audio/MediaDiscoverer.h"
#include "foundation/ApplicationPaths.h"
#include "foundation/Console.h"
#include "foundation/NotificationCenter.h"
#include "platform/AudioSession.h"
#include "platform/Bundle.h"
#include "platform/SoundServer.h"

namespace audio {
namespace {

// A release shorter than this is a tap, not an announcement.
constexpr std::uintmax_t kMinimumTakeBytes = 10000;

using foundation::Console;
using platform::AudioSessionCategory;

double levelOfPower(float decibels) {
  return std::pow(10.0f, decibels / 60.0f);
}

}  // namespace

OrvaneEngineConfiguration OrvaneEngineConfiguration::defaults() {
  OrvaneEngineConfiguration configuration;
  configuration.documentsDirectory = foundation::ApplicationPaths("Orvane").dataDirectory();
  configuration.startTonePath = platform::Bundle::main().pathForResource("Beep1", "m4a");
  return configuration;
}

const std::string& OrvaneEngine::playbackStartedNotificationName() {
  static const std::string name =
      std::string(platform::Bundle::bundleIdentifier()) + "_Playback_Started";
  return name;
}

OrvaneEngine::OrvaneEngine(OrvaneEngineConfiguration configuration)
    : session_(configuration.session ? *configuration.session
                                     : platform::SoundServer::shared().session()),
      recordingURL_(configuration.documentsDirectory / "recording.m4a"),
      playbackURL_(configuration.documentsDirectory / "playback.m4a"),
      startTonePath_(configuration.startTonePath),
      engine_(configuration.sinkDescription, session_,
              [this](const std::string&) { audioQueue().async([this] { stopFailedPlayback(); }); }),
      timePitchEngine_(AudioUnitTimePitch::chooseEngine()),
      recorder_(recordingURL_, RecorderSettings{}, configuration.sourceDescription, session_) {
  recorder_.prepareToRecord();
  if (startTonePath_.empty()) {
    Console::line("Start tone \"Beep1.m4a\" is not installed; announcements play without it");
  }
  // Loads the decoders and prepares the pitch shifts now, so the first release does not wait.
  warmUp_ = std::async(std::launch::async, [tone = startTonePath_, timePitch = timePitchEngine_] {
    MediaDiscoverer::discover(tone);
    for (auto effect : {PlaybackEffects::NormalVoice, PlaybackEffects::MonsterVoice,
                        PlaybackEffects::ChipmunkVoice})
      AudioUnitTimePitch::prepare(timePitch, *pitchForEffect(effect));
  });
}

OrvaneEngine::~OrvaneEngine() {
  // A play still queued refers to this engine, and so does a failure reported before the graph
  // stopped; once it has stopped nothing reports any more. Plugins still loading must not meet
  // the exit either.
  audioQueue().sync([this] { engine_.stop(); });
  audioQueue().sync([] {});
  warmUp_.wait();
}

foundation::DispatchQueue& OrvaneEngine::audioQueue() {
  // One for the process, made on first use and never released.
  static auto* queue =
      new foundation::DispatchQueue("Audio_Queue", foundation::QualityOfService::UserInitiated);
  return *queue;
}

double OrvaneEngine::audioLevel() {
  if (recorder_.isRecording()) {
    recorder_.updateMeters();
    return levelOfPower(recorder_.averagePowerForChannel(0));
  }
  if (engine_.isRunning()) {
    // The playback level's power is worked out but not yet shown: the waveform rests while
    // the announcement plays.
    [[maybe_unused]] float power = std::pow(10.0f, playbackLevel_ / 10.0f);
    return playbackLevel_ * 7.0;
  }
  return 0.0;
}

double OrvaneEngine::roomLevel() const {
  return levelOfPower(recorder_.inputPower());
}

double OrvaneEngine::playbackLength() const {
  return AudioAsset(playbackURL_).duration();
}

void OrvaneEngine::startRecording() {
  session_.setCategory(AudioSessionCategory::PlayAndRecord);
  recorder_.setMeteringEnabled(true);
  recorder_.record();
}

void OrvaneEngine::stopRecording() {
  recorder_.stop();
  session_.setCategory(AudioSessionCategory::Playback);
  std::error_code error;
  auto size = std::filesystem::file_size(recordingURL_, error);
  if (error)
    return;
  Console::line("File size is " + std::to_string(size));
  if (size > kMinimumTakeBytes) {
    keepTake();
  } else {
    postPlaybackFailed();
    readyForPlayback_.store(false);
  }
}

// A take that cannot be moved must not leave the one before it to be played in its place.
void OrvaneEngine::keepTake() {
  std::error_code error;
  if (std::filesystem::remove(playbackURL_, error))
    Console::line("Old file deleted");
  std::filesystem::rename(recordingURL_, playbackURL_, error);
  if (error) {
    Console::line("The take could not be kept: " + error.message());
    readyForPlayback_.store(false);
    postPlaybackFailed();
    return;
  }
  readyForPlayback_.store(true);
  std::filesystem::remove(recordingURL_, error);
}

void OrvaneEngine::play() {
  audioQueue().async(
      [this] { playOnAudioQueue(AudioFile::forReading(playbackURL_), readyForPlayback_.load()); });
}

// The kept take stays on disk after it has played, so it can be heard again without a new one.
bool OrvaneEngine::replay() {
  std::error_code error;
  if (!std::filesystem::is_regular_file(playbackURL_, error))
    return false;
  audioQueue().async([this] { playOnAudioQueue(AudioFile::forReading(playbackURL_), true); });
  return true;
}

void OrvaneEngine::playFile(std::shared_ptr<AudioFile> voice) {
  audioQueue().async([this, voice = std::move(voice)] { playOnAudioQueue(voice, true); });
}

void OrvaneEngine::playOnAudioQueue(const std::shared_ptr<AudioFile>& voice, bool ready) {
  engine_.stop();
  engine_.reset();
  auto player = std::make_shared<AudioPlayerNode>();
  auto timePitch = std::make_shared<AudioUnitTimePitch>(timePitchEngine_);
  engine_.attach(player);
  engine_.attach(timePitch);
  engine_.connect(*player, *timePitch, player->outputFormat(0));
  engine_.connect(*timePitch, engine_.outputNode(), timePitch->outputFormat(0));
  timePitch->setPitch(1.0f);
  session_.setCategory(AudioSessionCategory::Playback);
  // Connected again after the category change, as the output may have changed with it.
  engine_.connect(*timePitch, engine_.outputNode(), timePitch->outputFormat(0));
  if (auto cents = pitchForEffect(effect()))
    timePitch->setPitch(*cents);
  if (isStartToneOn())
    scheduleStartTone(*player);
  scheduleVoice(*player, voice);
  if (ready) {
    startPlayer(*player);
  } else {
    Console::line("User Error - Audio was not ready for playback");
    postPlaybackFailed();
    readyForPlayback_.store(false);
  }
}

void OrvaneEngine::scheduleStartTone(AudioPlayerNode& player) {
  auto tone = AudioFile::forReading(startTonePath_);
  if (!tone) {
    Console::line("Start tone \"Beep1.m4a\" could not be read; playing the announcement alone");
    return;
  }
  player.scheduleFile(tone);
}

void OrvaneEngine::scheduleVoice(AudioPlayerNode& player, const std::shared_ptr<AudioFile>& voice) {
  if (!voice) {
    Console::line("User Error - Audio file was nil");
    postPlaybackFailed();
    return;
  }
  player.scheduleFile(voice);
}

void OrvaneEngine::startPlayer(AudioPlayerNode& player) {
  if (!engine_.isRunning()) {
    std::string error;
    if (!engine_.start(error))
      Console::line("*** Audio Engine startup Failure: " + error + " ***");
  }
  if (!engine_.isRunning())
    return;  // the take stays ready for another try
  player.play();
  foundation::NotificationCenter::defaultCenter().post(playbackStartedNotificationName(), this);
  readyForPlayback_.store(false);
  Console::line("Playback started");
}

// On the audio queue, so a play being built there is never taken apart halfway.
void OrvaneEngine::reset() {
  audioQueue().sync([this] {
    engine_.stop();
    engine_.reset();
  });
  recorder_.stop();
  session_.setCategory(AudioSessionCategory::Playback);
}

// The output went away, the take would not decode or the sound server left while playing: the
// person hears nothing more, and must hear of it. A failure of a run that has since been stopped
// or replaced is old news.
void OrvaneEngine::stopFailedPlayback() {
  if (!engine_.hasFailedWhileRunning())
    return;
  engine_.stop();
  postPlaybackFailed();
}

void OrvaneEngine::postPlaybackFailed() {
  foundation::NotificationCenter::defaultCenter().post(std::string(kPlaybackFailedNotification),
                                                       this);
}

}  // namespace audio
