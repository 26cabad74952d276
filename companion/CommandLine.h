#pragma once

#include <string>
#include <variant>
#include <vector>

namespace companion {

// What orvanectl was asked to do, read from its arguments.
struct CommandLine {
  struct ShowHelp {};
  struct ShowVersion {};
  // A command for Orvane: the protocol line to send, and its first word.
  struct Send {
    std::string line;
    std::string command;
  };
  // Arguments that make no command, and why.
  struct Misuse {
    std::string reason;
  };
  using Action = std::variant<ShowHelp, ShowVersion, Send, Misuse>;

  // `arguments` leave out the program's name. A relative path to play is made absolute here,
  // against the current directory, since Orvane runs elsewhere.
  static Action parse(const std::vector<std::string>& arguments);
  static const char* usage();
};

}  // namespace companion
