// orvanectl: the command-line remote of a running Orvane, for shells, scripts and timers.
#include <chrono>
#include <cstdio>
#include <variant>

#include "companion/CommandLine.h"
#include "companion/CompanionAnalytics.h"
#include "companion/ControlClient.h"
#include "control/InstanceSocket.h"

namespace {

using companion::CommandLine;
using companion::ControlClient;

enum ExitStatus { kDone = 0, kRefused = 1, kMisuse = 2, kNotRunning = 3, kBroken = 4 };

// Long enough for Orvane to load its decoders for a first file to play; short enough for cron.
constexpr std::chrono::seconds kAnswerLimit{5};

int report(const ControlClient::Result& result) {
  switch (result.outcome) {
    case ControlClient::Outcome::Done:
      if (!result.text.empty())
        std::printf("%s\n", result.text.c_str());
      return kDone;
    case ControlClient::Outcome::Refused:
      std::fprintf(stderr, "orvanectl: %s\n", result.text.c_str());
      return kRefused;
    case ControlClient::Outcome::NotRunning:
      std::fprintf(stderr, "orvanectl: %s\n", result.text.c_str());
      return kNotRunning;
    case ControlClient::Outcome::Broken:
      break;
  }
  std::fprintf(stderr, "orvanectl: %s\n", result.text.c_str());
  return kBroken;
}

}  // namespace

int main(int argc, char** argv) {
  const auto action = CommandLine::parse(std::vector<std::string>(argv + 1, argv + argc));
  if (std::holds_alternative<CommandLine::ShowHelp>(action)) {
    std::fputs(CommandLine::usage(), stdout);
    return kDone;
  }
  if (std::holds_alternative<CommandLine::ShowVersion>(action)) {
    std::printf("orvanectl %s\n", ORVANE_VERSION);
    return kDone;
  }
  if (const auto* misuse = std::get_if<CommandLine::Misuse>(&action)) {
    std::fprintf(stderr, "orvanectl: %s\n\n%s", misuse->reason.c_str(), CommandLine::usage());
    return kMisuse;
  }
  const auto& send = std::get<CommandLine::Send>(action);
  companion::CompanionAnalytics analytics;
  const ControlClient client(control::InstanceSocket::defaultPath(), kAnswerLimit);
  const auto result = client.send(send.line);
  analytics.recordOutcome(send.command, result);
  const int status = report(result);
  analytics.finish();
  return status;
}
