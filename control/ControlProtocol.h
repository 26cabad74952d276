#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "control/LineReader.h"

namespace control {

// The remote-control protocol on Orvane's single-instance socket, version 1.
//
// A remote opens with a hello line and Orvane answers with its own:
//   > ORVANECTL 1
//   < ORVANECTL 1 Orvane 0.1.0
// Then every line sent gets exactly one line back, "OK <text>" or "ERR <reason>", in order:
//   help                  the commands, on one line
//   version               Orvane's version and the protocol's
//   status                effect, start tone and current output
//   replay                plays the last announcement again
//   effect normal|monster|chipmunk
//   tone on|off           the start tone before announcements
//   output                the output Orvane plays to, named as the route picker names it
//   play <absolute path>  plays a prepared audio file as an announcement (the rest of the line
//                         is the path, spaces and all)
//   quit                  "OK bye", then Orvane closes the connection
// Lines end with "\n" (a "\r" before it is dropped), are UTF-8 and at most kLineLimit bytes.
// An unsupported version, a line past the limit or a first line that is a malformed hello is
// answered with ERR and the connection is closed; any other bad line gets ERR and the
// connection goes on. Words are separated by spaces; commands are lower case.
//
// A peer whose first line is no hello is an older Orvane being started a second time: its lines
// are addresses (orvane://...), delivered together once it hangs up.
//
// This class is the protocol alone, without sockets or Qt: bytes in, steps out, so it can be
// tested and fuzzed by itself. State machine: AwaitingHello → Commands (hello accepted) or
// Addresses (first line not a hello) → Closed (refusal, quit, overflow or the peer's end).
class ControlProtocol {
 public:
  static constexpr std::string_view kName = "ORVANECTL";
  static constexpr int kVersion = 1;
  // A path or an address fits with room to spare; anything longer is not one of ours.
  static constexpr std::size_t kLineLimit = 64 * 1024;

  // "ORVANECTL 1": what a remote opens with.
  static std::string hello();

  enum class Verb { Status, Replay, Effect, Tone, Output, Play };
  // A command to be carried out by Orvane; its reply comes from whoever carries it out.
  struct Request {
    Verb verb;
    std::string argument;  // the effect's name, "on"/"off", or the path
    bool operator==(const Request&) const = default;
  };
  // A line to send back; the connection closes after it when `close` is set.
  struct Reply {
    std::string line;
    bool close = false;
    bool operator==(const Reply&) const = default;
  };
  // An older start's addresses, in order.
  struct Addresses {
    std::vector<std::string> lines;
    bool operator==(const Addresses&) const = default;
  };
  // The connection is to be closed without a word (an address list past the limit).
  struct Drop {
    bool operator==(const Drop&) const = default;
  };
  using Step = std::variant<Reply, Request, Addresses, Drop>;

  // `applicationVersion` goes into the hello and the version reply.
  explicit ControlProtocol(std::string applicationVersion);

  // What to do about these bytes, in order. Nothing more once closed.
  std::vector<Step> read(std::string_view bytes);
  // The peer has hung up: an older start's addresses are delivered now.
  std::vector<Step> finish();
  bool closed() const { return state_ == State::Closed; }

 private:
  enum class State { AwaitingHello, Commands, Addresses, Closed };

  std::optional<Step> onLine(const std::string& line);
  Step onHello(const std::string& line);
  Step onCommand(const std::string& line);
  Step refuse(std::string reason, bool close = false);

  std::string applicationVersion_;
  State state_ = State::AwaitingHello;
  LineReader lines_{kLineLimit};
  std::vector<std::string> addresses_;
  std::size_t addressBytes_ = 0;
};

}  // namespace control
