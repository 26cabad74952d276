// Whatever a peer sends, in whatever pieces the socket hands it over, the protocol must answer
// with well-formed single lines, hand on only requests whose arguments it checked, deliver
// addresses within the limit, and say nothing more once it has closed.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

#include "control/ControlProtocol.h"

namespace {

using control::ControlProtocol;

void check(bool holds) {
  if (!holds)
    std::abort();
}

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

void checkStep(const ControlProtocol::Step& step, std::size_t& lineEnds) {
  if (const auto* reply = std::get_if<ControlProtocol::Reply>(&step)) {
    check(reply->line.find('\n') == std::string::npos && reply->line.size() < 200);
    check(startsWith(reply->line, "OK ") || startsWith(reply->line, "ERR ") ||
          startsWith(reply->line, ControlProtocol::hello() + ' '));
  } else if (const auto* request = std::get_if<ControlProtocol::Request>(&step)) {
    check(lineEnds-- > 0);  // a request takes a whole line
    const std::string& argument = request->argument;
    switch (request->verb) {
      case ControlProtocol::Verb::Effect:
        check(argument == "normal" || argument == "monster" || argument == "chipmunk");
        break;
      case ControlProtocol::Verb::Tone:
        check(argument == "on" || argument == "off");
        break;
      case ControlProtocol::Verb::Play:
        check(startsWith(argument, "/") && argument.size() <= ControlProtocol::kLineLimit);
        for (char c : argument)
          check(static_cast<unsigned char>(c) >= 0x20 || c == '\t');
        break;
      default:
        check(argument.empty());
    }
  } else if (const auto* addresses = std::get_if<ControlProtocol::Addresses>(&step)) {
    std::size_t bytes = 0;
    for (const auto& line : addresses->lines)
      bytes += line.size();
    check(bytes <= ControlProtocol::kLineLimit);
  }
}

bool ends(const ControlProtocol::Step& step) {
  const auto* reply = std::get_if<ControlProtocol::Reply>(&step);
  return std::holds_alternative<ControlProtocol::Drop>(step) || (reply && reply->close);
}

}  // namespace

// The first byte sets the size of the pieces the rest arrives in.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0)
    return 0;
  const std::size_t piece = 1 + data[0] % 64;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  ControlProtocol protocol("1.0");
  std::size_t lineEnds = 0;
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    const auto chunk = bytes.substr(at, piece);
    lineEnds += std::count(chunk.begin(), chunk.end(), '\n');
    const bool wasClosed = protocol.closed();
    const auto steps = protocol.read(chunk);
    check(!wasClosed || steps.empty());
    for (std::size_t index = 0; index < steps.size(); ++index) {
      checkStep(steps[index], lineEnds);
      check(!ends(steps[index]) || (index + 1 == steps.size() && protocol.closed()));
    }
  }
  for (const auto& step : protocol.finish())
    checkStep(step, lineEnds);
  check(protocol.closed());
  return 0;
}
