#pragma once

#include <chrono>
#include <string>

namespace companion {

// One exchange with the running Orvane over its single-instance socket: the protocol's hello,
// one command, its reply (see control/ControlProtocol.h). Every wait is bounded, so a wedged
// Orvane cannot hang the caller.
class ControlClient {
 public:
  enum class Outcome {
    Done,        // "OK ..."
    Refused,     // "ERR ..."
    NotRunning,  // nobody listens on the socket
    Broken,      // the connection broke, the answer made no sense, or time ran out
  };
  struct Result {
    Outcome outcome;
    std::string text;  // the reply without its OK/ERR, or what went wrong
  };

  ControlClient(std::string socketPath, std::chrono::milliseconds limit);
  Result send(const std::string& line) const;

 private:
  std::string socketPath_;
  std::chrono::milliseconds limit_;
};

}  // namespace companion
