#include "DesktopSession.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

#include "OrvaneScreen.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;

constexpr const char* kSpeakerName = "lobby_speaker";
// Not "Speaker": Orvane takes a route named exactly that for a built-in speaker and asks for
// another.
constexpr const char* kSpeakerDescription = "Lobby PA Speaker";
constexpr const char* kMicrophoneName = "desk_microphone";
constexpr double kPauseBetweenSpeeches = 0.5;

// The first start builds GStreamer's registry in the private cache directory.
constexpr auto kFirstFrameLimit = 60s;
constexpr auto kMonitorSettleLimit = 15s;
constexpr auto kRecordingShownLimit = 2s;
constexpr auto kTalkEnabledLimit = 20s;
// orvanectl waits 5 s for an answer at most.
constexpr auto kRemoteLimit = 10s;
constexpr auto kPauseBetweenLooks = 100ms;
// The lightness of the Talk title's brightest pixel: 162 while disabled, 255 once enabled.
constexpr int kEnabledTitleLightness = 230;

int brightestIn(const QImage& image, const QRect& area) {
  int brightest = 0;
  for (int y = area.top(); y <= area.bottom(); ++y)
    for (int x = area.left(); x <= area.right(); ++x)
      brightest = std::max(brightest, image.pixelColor(x, y).lightness());
  return brightest;
}

std::filesystem::path privateDirectory(const std::filesystem::path& root, const char* name) {
  const auto path = root / name;
  std::filesystem::create_directories(path);
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  return path;
}

std::string serverLines(const std::filesystem::path& microphonePipe, int speechRate) {
  return std::string("load-module module-null-sink sink_name=") + kSpeakerName +
         " sink_properties=\"device.description='" + kSpeakerDescription + "'\"\n" +
         VirtualMicrophone::serverLine(kMicrophoneName, "Desk Microphone", microphonePipe,
                                       speechRate) +
         "set-default-sink " + kSpeakerName + "\nset-default-source " + kMicrophoneName + '\n';
}

}  // namespace

DesktopSession::DesktopSession(const audio::testing::Signal& speech,
                               const std::optional<std::filesystem::path>& soundServerDirectory)
    : soundServerDirectory_(soundServerDirectory.value_or(directory_.path() / "pulse")),
      display_(screen::kWidth, screen::kHeight),
      keyboard_(display_.name()),
      soundServer_(soundServerDirectory_,
                   serverLines(soundServerDirectory_ / "microphone", speech.sampleRate)) {
  microphone_.emplace(soundServer_.directory() / "microphone", speech, kPauseBetweenSpeeches);
  speaker_.emplace(soundServer_.address(), std::string(kSpeakerName) + ".monitor");
  speaker_->waitUntilSettled(kMonitorSettleLimit);
}

DesktopSession::~DesktopSession() {
  quitOrvane();
}

std::map<std::string, std::string> DesktopSession::orvaneEnvironment() const {
  auto environment = soundServer_.environment();
  const auto& root = directory_.path();
  environment.insert({{"DISPLAY", display_.name()},
                      {"QT_QPA_PLATFORM", "xcb"},
                      {"XDG_RUNTIME_DIR", privateDirectory(root, "runtime")},
                      {"XDG_DATA_HOME", orvaneDirectory("data")},
                      {"XDG_CACHE_HOME", orvaneDirectory("cache")},
                      {"XDG_CONFIG_HOME", orvaneDirectory("config")}});
  return environment;
}

DesktopSession::RemoteRun DesktopSession::runRemote(
    const std::vector<std::string>& arguments,
    const std::map<std::string, std::string>& environment) const {
  Command command{{ORVANECTL_BINARY}, orvaneEnvironment()};
  for (const auto& [name, value] : environment)
    command.environment[name] = value;
  command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
  ChildProcess remote(command);
  const auto status = remote.wait(kRemoteLimit);
  if (!status)
    throw std::runtime_error("orvanectl did not end in time\n" + remote.transcript());
  return {*status, remote.output().text(), remote.errors().text()};
}

std::filesystem::path DesktopSession::instanceSocket() const {
  return privateDirectory(directory_.path(), "runtime") / "orvane-instance";
}

Clock::duration DesktopSession::startOrvane(const std::vector<std::string>& arguments) {
  quitOrvane();
  Command command{{ORVANE_BINARY, "--report-first-frame", "-geometry",
                   std::to_string(screen::kWidth) + 'x' + std::to_string(screen::kHeight) + "+0+0"},
                  orvaneEnvironment()};
  command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
  orvane_.emplace(command);
  const auto painted =
      orvane_->output().waitForLine("First frame painted", orvane_->started(), kFirstFrameLimit);
  if (!painted)
    throw std::runtime_error("Orvane painted no first frame\n" + orvane_->transcript());
  // Qt makes a hidden leader window with the same title; ours is the one shown.
  std::string window =
      runToEnd({{"xdotool", "search", "--sync", "--onlyvisible", "--name", "^Orvane$"},
                {{"DISPLAY", display_.name()}}});
  window = window.substr(0, window.find('\n'));
  pointer_.emplace(display_.name(), window);
  return *painted - orvane_->started();
}

void DesktopSession::quitOrvane() {
  pointer_.reset();
  if (orvane_)
    orvane_->stop();
}

std::optional<int> DesktopSession::signalOrvane(int signal, Clock::duration limit) {
  orvane_->signal(signal);
  return orvane_->wait(limit);
}

std::filesystem::path DesktopSession::orvaneDirectory(const char* name) const {
  return privateDirectory(directory_.path(), name);
}

const CapturedStream& DesktopSession::orvaneOutput() const {
  return orvane_->output();
}

std::string DesktopSession::orvaneErrors() const {
  return orvane_->errors().text();
}

std::string DesktopSession::orvaneTranscript() {
  if (!orvane_)
    return "Orvane was not started";
  const auto status = orvane_->wait(Clock::duration::zero());
  return "Orvane " + (status ? "exited with status " + std::to_string(*status) : "is running") +
         "; its " + orvane_->transcript();
}

void DesktopSession::waitUntilTalkEnabled() const {
  const auto deadline = Clock::now() + kTalkEnabledLimit;
  while (brightestIn(screenshot(), screen::kTalkTitle) < kEnabledTitleLightness) {
    if (Clock::now() >= deadline)
      throw std::runtime_error("Talk stayed disabled");
    std::this_thread::sleep_for(kPauseBetweenLooks);
  }
}

Clock::time_point DesktopSession::pressTalk() {
  const auto pressed = Clock::now();
  pointer_->press(screen::kTalkButton);
  return awaitRecording(pressed);
}

Clock::time_point DesktopSession::pressTalkKey(const std::string& key) {
  return awaitRecording(keyboard_.press(key));
}

Clock::time_point DesktopSession::awaitRecording(Clock::time_point pressed) const {
  if (!orvaneOutput().waitForLine("ShowWaveformView", pressed, kRecordingShownLimit))
    throw std::runtime_error("holding Talk did not start a recording");
  return pressed;
}

QImage DesktopSession::screenshot() const {
  const auto file = directory_.path() / "screen.png";
  saveScreenshot(file);
  return QImage(QString::fromStdString(file.string()));
}

void DesktopSession::saveScreenshot(const std::filesystem::path& file) const {
  std::filesystem::create_directories(file.parent_path());
  runToEnd({{ORVANE_GRAB_SCREEN, file.string()},
            {{"DISPLAY", display_.name()},
             {"XDG_RUNTIME_DIR", privateDirectory(directory_.path(), "runtime")}}});
}

}  // namespace e2e
