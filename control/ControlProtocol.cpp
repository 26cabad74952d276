#include "control/ControlProtocol.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

namespace control {
namespace {

constexpr std::size_t kShownWordLimit = 40;

// Strict UTF-8: no overlong forms, no surrogates, nothing past U+10FFFF.
bool isUtf8(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const auto lead = static_cast<std::uint8_t>(text[at]);
    int length;
    std::uint32_t point;
    if (lead < 0x80) {
      ++at;
      continue;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, point = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, point = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, point = lead & 0x07;
    } else {
      return false;
    }
    if (text.size() - at < static_cast<std::size_t>(length))
      return false;
    for (int i = 1; i < length; ++i) {
      const auto next = static_cast<std::uint8_t>(text[at + i]);
      if ((next & 0xC0) != 0x80)
        return false;
      point = (point << 6) | (next & 0x3F);
    }
    const std::array<std::uint32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    if (point < smallest[length] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF))
      return false;
    at += length;
  }
  return true;
}

bool hasControlCharacters(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7F;
  });
}

std::vector<std::string_view> words(std::string_view line) {
  std::vector<std::string_view> found;
  std::size_t at = 0;
  while (at < line.size()) {
    at = line.find_first_not_of(" \t", at);
    if (at == std::string_view::npos)
      break;
    const auto end = std::min(line.find_first_of(" \t", at), line.size());
    found.push_back(line.substr(at, end - at));
    at = end;
  }
  return found;
}

// A word of the peer's, quoted back in a reply: bounded, and already known to be clean UTF-8.
std::string quoted(std::string_view word) {
  std::size_t cut = std::min(word.size(), kShownWordLimit);
  while (cut > 0 && cut < word.size() && (static_cast<unsigned char>(word[cut]) & 0xC0) == 0x80)
    --cut;  // never inside a character
  return '"' + std::string(word.substr(0, cut)) + (cut < word.size() ? "...\"" : "\"");
}

bool allDigits(std::string_view text) {
  return !text.empty() && text.size() <= 9 &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

const char* const kHelp =
    "OK help, version, status, replay, effect normal|monster|chipmunk, tone on|off, output, "
    "play <absolute path>, quit";

}  // namespace

std::string ControlProtocol::hello() {
  return std::string(kName) + ' ' + std::to_string(kVersion);
}

ControlProtocol::ControlProtocol(std::string applicationVersion)
    : applicationVersion_(std::move(applicationVersion)) {}

std::vector<ControlProtocol::Step> ControlProtocol::read(std::string_view bytes) {
  std::vector<Step> steps;
  if (closed())
    return steps;
  lines_.append(bytes);
  while (!closed()) {
    if (auto line = lines_.next()) {
      if (auto step = onLine(*line))
        steps.push_back(std::move(*step));
    } else {
      if (lines_.overflowed()) {
        steps.push_back(
            state_ == State::Addresses
                ? Step(Drop{})
                : refuse("line longer than " + std::to_string(kLineLimit) + " bytes", true));
        state_ = State::Closed;
      }
      break;
    }
  }
  return steps;
}

std::vector<ControlProtocol::Step> ControlProtocol::finish() {
  std::vector<Step> steps;
  if (state_ == State::AwaitingHello || state_ == State::Addresses) {
    std::string rest = lines_.takeRest();
    addressBytes_ += rest.size();
    if (!rest.empty())
      addresses_.push_back(std::move(rest));
    if (addressBytes_ <= kLineLimit)
      steps.push_back(Addresses{std::move(addresses_)});
  }
  state_ = State::Closed;
  return steps;
}

std::optional<ControlProtocol::Step> ControlProtocol::onLine(const std::string& line) {
  switch (state_) {
    case State::AwaitingHello:
      if (line.compare(0, kName.size(), kName) == 0)
        return onHello(line);
      state_ = State::Addresses;
      [[fallthrough]];
    case State::Addresses:
      addressBytes_ += line.size() + 1;
      if (addressBytes_ > kLineLimit) {
        state_ = State::Closed;
        return Drop{};
      }
      if (!line.empty())
        addresses_.push_back(line);
      return std::nullopt;  // delivered together once the peer hangs up
    case State::Commands:
      return onCommand(line);
    case State::Closed:
      break;
  }
  return std::nullopt;
}

ControlProtocol::Step ControlProtocol::onHello(const std::string& line) {
  const auto parts = words(line);
  if (parts.size() != 2 || parts[0] != kName || !allDigits(parts[1]) || !isUtf8(line))
    return refuse("malformed hello; expected \"" + hello() + "\"", true);
  if (std::stoi(std::string(parts[1])) != kVersion)
    return refuse(
        "unsupported protocol version " + std::string(parts[1]) + "; this Orvane speaks " + hello(),
        true);
  state_ = State::Commands;
  return Reply{hello() + " Orvane " + applicationVersion_};
}

ControlProtocol::Step ControlProtocol::onCommand(const std::string& line) {
  if (!isUtf8(line))
    return refuse("the line is not UTF-8 text");
  if (hasControlCharacters(line))
    return refuse("the line holds control characters");
  const auto parts = words(line);
  if (parts.empty())
    return refuse("empty line; try help");
  const std::string_view verb = parts[0];
  const auto takesNothing = [&](Step step) {
    return parts.size() == 1 ? step : refuse(std::string(verb) + " takes no arguments");
  };
  if (verb == "help")
    return takesNothing(Reply{kHelp});
  if (verb == "version")
    return takesNothing(Reply{"OK Orvane " + applicationVersion_ + ", protocol " + hello()});
  if (verb == "quit") {
    if (parts.size() == 1)
      state_ = State::Closed;
    return takesNothing(Reply{"OK bye", true});
  }
  if (verb == "status")
    return takesNothing(Request{Verb::Status, {}});
  if (verb == "replay")
    return takesNothing(Request{Verb::Replay, {}});
  if (verb == "output")
    return takesNothing(Request{Verb::Output, {}});
  if (verb == "effect") {
    if (parts.size() != 2 ||
        (parts[1] != "normal" && parts[1] != "monster" && parts[1] != "chipmunk"))
      return refuse("effect takes one of normal, monster, chipmunk");
    return Request{Verb::Effect, std::string(parts[1])};
  }
  if (verb == "tone") {
    if (parts.size() != 2 || (parts[1] != "on" && parts[1] != "off"))
      return refuse("tone takes on or off");
    return Request{Verb::Tone, std::string(parts[1])};
  }
  if (verb == "play") {
    if (parts.size() < 2)
      return refuse("play takes the absolute path of an audio file");
    // The path is the rest of the line: file names may hold spaces.
    const std::string path = line.substr(static_cast<std::size_t>(parts[1].data() - line.data()));
    if (path.front() != '/')
      return refuse("play takes an absolute path, not " + quoted(path));
    return Request{Verb::Play, path};
  }
  return refuse("unknown command " + quoted(verb) + "; try help");
}

ControlProtocol::Step ControlProtocol::refuse(std::string reason, bool close) {
  if (close)
    state_ = State::Closed;
  return Reply{"ERR " + std::move(reason), close};
}

}  // namespace control
