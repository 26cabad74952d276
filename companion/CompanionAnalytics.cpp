#include "companion/CompanionAnalytics.h"

#include <chrono>
#include <cstdio>
#include <memory>

#include "companion/OrvanectlTallixApplication.h"
#include "platform/AnalyticsServer.h"
#include "platform/Bundle.h"
#include "tallix/Tallix.h"
#include "tallix/TallixWatch.h"

namespace companion {
namespace {

// A cron job waits no longer than this for the agent after the command is done.
constexpr std::chrono::milliseconds kIdleLimit{2000};

const char* outcomeName(ControlClient::Outcome outcome) {
  switch (outcome) {
    case ControlClient::Outcome::Done:
      return "done";
    case ControlClient::Outcome::Refused:
      return "refused";
    case ControlClient::Outcome::NotRunning:
      return "not running";
    case ControlClient::Outcome::Broken:
      return "broken";
  }
  return "unknown";
}

// A broken key file leaves orvanectl without analytics, not without its commands.
platform::InfoDictionary shippedInformation() {
  try {
    return platform::InfoDictionary::load(
        platform::Bundle::main().pathForResource("Orvane", "info"));
  } catch (const platform::InfoDictionary::Malformed& malformed) {
    std::fprintf(stderr, "orvanectl: %s\n", malformed.what());
    return {};
  }
}

// The same server Orvane reports to, from its environment variable (cron and systemd units set
// it there); a bad address costs the reports, not the command.
void reportToConfiguredServer() {
  const auto server = platform::AnalyticsServer::fromSettings(std::nullopt);
  if (const auto* problem = std::get_if<std::string>(&server))
    std::fprintf(stderr, "orvanectl: analytics server: %s\n", problem->c_str());
  if (const auto* address = std::get_if<platform::AnalyticsServer>(&server)) {
    tallix::Tallix::setSecureTransportEnabled(address->secure);
    tallix::Tallix::setServerURL(address->hostAndPort);
  }
}

}  // namespace

CompanionAnalytics::CompanionAnalytics() {
  tallix::Tallix::setApplication(
      std::make_shared<OrvanectlTallixApplication>(shippedInformation()));
  reportToConfiguredServer();
}

void CompanionAnalytics::recordOutcome(const std::string& command,
                                       const ControlClient::Result& result) {
  const std::string name = "orvanectl." + command;
  if (result.outcome == ControlClient::Outcome::Done) {
    tallix::TallixWatch::logWatchEvent(name, tallix::TallixValue::Dictionary{{"outcome", "done"}});
    return;
  }
  tallix::TallixWatch::logWatchError(name,
                                     std::string(outcomeName(result.outcome)) + ": " + result.text,
                                     std::make_error_code(std::errc::operation_canceled));
}

void CompanionAnalytics::finish() {
  tallix::TallixWatch::waitUntilIdle(kIdleLimit);
}

}  // namespace companion
