#include "companion/CommandLine.h"

#include <array>
#include <filesystem>
#include <string_view>

namespace companion {
namespace {

struct Syntax {
  std::string_view command;
  std::size_t arguments;
};
// The commands with their number of arguments; Orvane checks the arguments' values itself.
constexpr std::array kSyntax = {Syntax{"replay", 0}, Syntax{"effect", 1}, Syntax{"tone", 1},
                                Syntax{"output", 0}, Syntax{"play", 1},   Syntax{"status", 0},
                                Syntax{"version", 0}};

std::string absolute(const std::string& path) {
  std::error_code error;
  const auto made = std::filesystem::absolute(path, error);
  return error ? path : made.lexically_normal().string();
}

}  // namespace

CommandLine::Action CommandLine::parse(const std::vector<std::string>& arguments) {
  if (arguments.empty())
    return Misuse{"no command given"};
  const std::string& command = arguments.front();
  if (command == "--help" || command == "-h" || command == "help")
    return arguments.size() == 1 ? Action(ShowHelp{}) : Misuse{command + " takes no arguments"};
  if (command == "--version")
    return arguments.size() == 1 ? Action(ShowVersion{}) : Misuse{command + " takes no arguments"};
  for (const Syntax& syntax : kSyntax) {
    if (command != syntax.command)
      continue;
    if (arguments.size() != syntax.arguments + 1)
      return Misuse{command +
                    (syntax.arguments == 0 ? " takes no arguments" : " takes one argument")};
    if (syntax.arguments == 0)
      return Send{command, command};
    const std::string& argument = arguments[1];
    return Send{command + ' ' + (command == "play" ? absolute(argument) : argument), command};
  }
  return Misuse{"unknown command \"" + command + "\""};
}

const char* CommandLine::usage() {
  return "Usage: orvanectl COMMAND\n"
         "Drives the running Orvane.\n"
         "\n"
         "Commands:\n"
         "  replay         play the last announcement again\n"
         "  effect NAME    voice effect of announcements: normal, monster or chipmunk\n"
         "  tone on|off    the start tone before announcements\n"
         "  output         the output Orvane plays to\n"
         "  play FILE      play an audio file as an announcement\n"
         "  status         effect, start tone and output\n"
         "  version        the running Orvane's version\n"
         "  --help         this text\n"
         "  --version      orvanectl's version\n"
         "\n"
         "Exit status: 0 done, 1 Orvane refused the command, 2 wrong usage,\n"
         "3 Orvane is not running, 4 the connection broke or Orvane did not answer in time.\n"
         "\n"
         "Each command is counted in Orvane's usage reports, sent to $ORVANE_ANALYTICS_SERVER\n"
         "(such as http://127.0.0.1:8080) when it is set, else kept on this machine.\n";
}

}  // namespace companion
