// An application that is killed while it logs, for the kill test. It logs a known set of
// events, gives them time to reach the disk, says on standard output how many it logged,
// then goes on logging until the test kills it.
//   tallix_kill_child DIRECTORY API_KEY
#include <sys/prctl.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/support/TallixLog.h"
#include "tests/analytics/KillSettleTime.h"

namespace {

using foundation::Value;
using namespace std::chrono_literals;

constexpr int kEventsBeforeTheLine = 300;
// Should the test never kill us, we do not outlive it by much.
constexpr auto kLifetime = 30s;
constexpr int kBatch = 200;

// Four names a push-to-talk application would use; one in four carries parameters.
void logNumbered(tallix::TallixAgent& agent, int number) {
  static const char* const kNames[] = {"talk.pressed", "talk.released", "route.changed",
                                       "voice.chosen"};
  const char* name = kNames[number % 4];
  if (number % 4 == 3)
    agent.logEvent(name, Value(Value::Dictionary{{"voice", "Monster"}, {"take", number}}), false);
  else
    agent.logEvent(name, {}, false);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s DIRECTORY API_KEY\n", argv[0]);
    return 2;
  }
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  tallix::TallixLog::setLogLevel(0);
  tallix::TallixEnvironment environment;
  environment.fileDirectory = argv[1];
  tallix::TallixAgent agent(std::move(environment));
  agent.startSession(argv[2]);

  int logged = 0;
  while (logged < kEventsBeforeTheLine)
    logNumbered(agent, logged++);
  std::this_thread::sleep_for(kKillSettleTime);
  std::printf("%d\n", logged);
  std::fflush(stdout);

  // Batches that wait for the queue keep memory bounded and the saver busy when the kill comes.
  const auto giveUpAt = std::chrono::steady_clock::now() + kLifetime;
  while (std::chrono::steady_clock::now() < giveUpAt) {
    for (int i = 0; i < kBatch; ++i)
      logNumbered(agent, logged++);
    agent.waitUntilIdle(1s);
  }
  return 1;
}
