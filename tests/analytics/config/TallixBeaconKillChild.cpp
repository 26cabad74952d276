// An application killed while its sessions keep preparing and firing partner callbacks, for
// the kill test. Its callbacks go to a closed port, so each stays pending once fired. It runs
// a known number of sessions, gives their callbacks time to reach the disk, says on standard
// output how many it ran, then goes on until the test kills it.
//   tallix_beacon_kill_child DIRECTORY
#include <sys/prctl.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include "analytics/config/callbacks/TallixBeaconEventController.h"
#include "analytics/config/exchange/TallixBeaconAppTemplate.h"
#include "analytics/config/exchange/TallixBeaconSettings.h"
#include "analytics/config/exchange/TallixBeaconSettingsStore.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/NotificationCenter.h"
#include "tests/analytics/KillSettleTime.h"
#include "tests/analytics/config/BeaconKillChildProtocol.h"

namespace {

using namespace std::chrono_literals;
using foundation::Date;

constexpr auto kLifetime = 30s;

void storeSettings(tallix::TallixGlobalVariableStorage& storage) {
  auto callback = std::make_shared<tallix::TallixBeaconAppTemplate>();
  callback->setPartner("kill-test");
  callback->setEvents({"tallix.session_end"});
  callback->setUriTemplate(std::string(tallix::BeaconKillChildProtocol::kUriTemplate));
  tallix::TallixBeaconSettings settings;
  const auto farAhead =
      static_cast<std::int64_t>(Date::now().timeIntervalSince1970() * 1000) + 24 * 3600 * 1000;
  settings.setNextRefreshTTL(farAhead);
  settings.setExpirationTTL(farAhead);
  settings.setCallbacks({callback});
  tallix::TallixBeaconSettingsStore(storage.persistentGlobalsMap()).store(settings);
}

// Session n pauses (its callback is prepared), and every other session start fires what is
// prepared (the callbacks become pending).
void runSession(tallix::TallixBeaconEventController& controller, int number) {
  const Date start = tallix::BeaconKillChildProtocol::sessionStart(number);
  controller.sessionDidPause({start, start.dateByAddingTimeInterval(1.5), 0});
  if (number % 2 == 1)
    controller.sessionDidStart("", "");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
    return 2;
  }
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  tallix::TallixLog::setLogLevel(0);
  foundation::NotificationCenter center;
  tallix::TallixGlobalVariableStorage storage("1.0");
  storage.setApiKey(tallix::BeaconKillChildProtocol::kApiKey, argv[1]);
  storage.setBeaconMonitoringEnabled(true);
  storeSettings(storage);
  const tallix::TallixSystemClock clock;
  auto controller = std::make_shared<tallix::TallixBeaconEventController>();
  controller->agentDidStart({tallix::BeaconKillChildProtocol::kApiKey,
                             argv[1],
                             storage,
                             std::make_shared<tallix::TallixNetworkUtil>(center, ""),
                             clock,
                             center,
                             {}});

  int sessions = 0;
  while (sessions < tallix::BeaconKillChildProtocol::kSessionsBeforeTheLine)
    runSession(*controller, sessions++);
  // Every session leaves one URL, prepared or pending; once all are stored, the clock starts.
  const auto stored = [&storage] {
    return storage.persistentBeaconPrepUrlsMap().entries().size() +
           storage.persistentBeaconUrlsMap().entries().size();
  };
  while (stored() < static_cast<std::size_t>(sessions))
    std::this_thread::sleep_for(1ms);
  std::this_thread::sleep_for(kKillSettleTime);
  std::printf("%d\n", sessions);
  std::fflush(stdout);

  const auto giveUpAt = std::chrono::steady_clock::now() + kLifetime;
  while (std::chrono::steady_clock::now() < giveUpAt) {
    for (int i = 0; i < 20; ++i)
      runSession(*controller, sessions++);
    controller->waitUntilIdle(1s);
  }
  return 1;
}
