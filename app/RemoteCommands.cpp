#include "app/RemoteCommands.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "app/OrvaneVC.h"
#include "audio/AudioFile.h"
#include "audio/OrvaneEngine.h"
#include "views/RoutePicker.h"

namespace app {
namespace {

using audio::PlaybackEffects;
using Verb = control::ControlProtocol::Verb;

struct EffectName {
  PlaybackEffects effect;
  const char* name;
};
constexpr std::array kEffectNames = {EffectName{PlaybackEffects::NormalVoice, "normal"},
                                     EffectName{PlaybackEffects::MonsterVoice, "monster"},
                                     EffectName{PlaybackEffects::ChipmunkVoice, "chipmunk"}};

const char* nameOf(PlaybackEffects effect) {
  for (const auto& entry : kEffectNames)
    if (entry.effect == effect)
      return entry.name;
  return "normal";
}

const std::string kNotReady = "ERR Orvane is still setting up its sound system";

// Why the file cannot be announced, or nothing: it must open and decode as audio. Slow on the
// first call (the decoders load), so never on the GUI thread.
std::string fileRefusal(const std::string& path, std::shared_ptr<audio::AudioFile>& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error))
    return "ERR not a file: " + path;
  if (!std::ifstream(path, std::ios::binary))
    return "ERR cannot read " + path + ": " + std::strerror(errno);
  file = audio::AudioFile::forReading(path);
  if (!file)
    return "ERR cannot decode " + path + " as audio";
  return {};
}

}  // namespace

RemoteCommands::RemoteCommands(OrvaneVC& screen, platform::RouteList& routes)
    : screen_(screen), routes_(routes) {}

void RemoteCommands::perform(const control::ControlProtocol::Request& request,
                             ControlConnection::Answer answer) {
  switch (request.verb) {
    case Verb::Status:
      return answer(status());
    case Verb::Output:
      return answer(output());
    case Verb::Effect:
      return answer(setEffect(request.argument));
    case Verb::Tone:
      return answer(setTone(request.argument));
    case Verb::Replay:
      return answer(replay());
    case Verb::Play:
      return play(request.argument, std::move(answer));
  }
}

std::string RemoteCommands::status() const {
  const auto& engine = screen_.orvane();
  if (!engine)
    return kNotReady;
  const std::string route = views::RoutePicker::currentTitle(routes_).toStdString();
  return std::string("OK effect ") + nameOf(engine->effect()) + ", tone " +
         (engine->isStartToneOn() ? "on" : "off") + ", output " + (route.empty() ? "none" : route);
}

std::string RemoteCommands::output() const {
  const QString route = views::RoutePicker::currentTitle(routes_);
  if (route.isEmpty())
    return "ERR the sound server has no output";
  return "OK " + route.toStdString();
}

std::string RemoteCommands::setEffect(const std::string& name) {
  for (const auto& entry : kEffectNames)
    if (name == entry.name)
      return screen_.setVoiceEffect(entry.effect) ? "OK effect " + name : kNotReady;
  return "ERR no effect named " + name;
}

std::string RemoteCommands::setTone(const std::string& state) {
  return screen_.setStartTone(state == "on") ? "OK tone " + state : kNotReady;
}

std::string RemoteCommands::announcementRefusal() const {
  if (!screen_.orvane())
    return kNotReady;
  if (screen_.talkHeld())
    return "ERR Talk is held; the take being recorded comes first";
  return {};
}

std::string RemoteCommands::replay() {
  if (auto refusal = announcementRefusal(); !refusal.empty())
    return refusal;
  if (!screen_.orvane()->replay())
    return "ERR no announcement to replay yet";
  return "OK replaying the last announcement";
}

void RemoteCommands::play(const std::string& path, ControlConnection::Answer answer) {
  if (auto refusal = announcementRefusal(); !refusal.empty())
    return answer(refusal);
  screen_.audioQ().async([engine = screen_.orvane(), path, answer = std::move(answer)] {
    std::shared_ptr<audio::AudioFile> file;
    std::string reply = fileRefusal(path, file);
    if (reply.empty()) {
      engine->playFile(file);
      reply = "OK playing " + path;
    }
    foundation::DispatchQueue::main().async([answer, reply] { answer(reply); });
  });
}

}  // namespace app
