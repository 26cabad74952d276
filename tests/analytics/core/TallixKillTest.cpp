// A process killed while it logs: what it logged before the kill is on disk, and the next
// start reports the killed session and begins a new one.
#include <chrono>
#include <random>
#include <string>
#include <thread>

#include "AgentTestSupport.h"
#include "analytics/core/agent/TallixAgent.h"
#include "tests/analytics/SpawnedChild.h"

namespace tallix {
namespace {

using foundation::Value;
using namespace std::chrono_literals;

constexpr const char* kApiKey = "KILL TEST";
constexpr const char* kFileKey = "KILLTEST";

TallixFilePaths pathsIn(const std::filesystem::path& directory) {
  return TallixFilePaths(directory, kFileKey);
}

std::shared_ptr<TallixSession> currentSessionFileIn(const std::filesystem::path& directory) {
  return foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(
      pathsIn(directory).currentSession());
}

// Runs the child until its line, waits the given time and kills it. Returns the number of
// events the line announced, or -1 after a failure already reported.
int killChildAfterItsLine(const std::filesystem::path& directory,
                          std::chrono::microseconds delay = 0us) {
  SpawnedChild child({TALLIX_KILL_CHILD_PATH, directory.string(), kApiKey});
  EXPECT_TRUE(child.started()) << TALLIX_KILL_CHILD_PATH;
  const std::string line = child.readLine();
  EXPECT_FALSE(line.empty()) << "the child never said how many events it logged";
  std::this_thread::sleep_for(delay);
  EXPECT_TRUE(child.kill()) << "the child ended before it was killed";
  return line.empty() ? -1 : std::stoi(line);
}

// The child logs its four names in turn.
constexpr const char* kChildNames[] = {"talk.pressed", "talk.released", "route.changed",
                                       "voice.chosen"};

TEST(TallixKillTest, EveryEventLoggedBeforeTheKillIsInTheCurrentSessionFile) {
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    foundation::TemporaryDirectory directory;
    // Anywhere from the moment of the line to one saver window past it.
    const int logged =
        killChildAfterItsLine(directory.path(), std::chrono::microseconds(random() % 15000));
    ASSERT_GT(logged, 0);

    const auto session = currentSessionFileIn(directory.path());
    ASSERT_TRUE(session) << "no readable current session after the kill";
    EXPECT_GE(session->eventLog().countedTotal(), logged);
    const auto& counts = session->eventLog().counts();
    for (const char* name : kChildNames) {
      const auto counted = counts.find(name);
      EXPECT_GE(counted == counts.end() ? 0 : counted->second, logged / 4) << name;
    }
    // The log keeps the order and the parameters of what was logged.
    const auto& events = session->eventLog().events();
    ASSERT_GE(events.size(), 4u);
    EXPECT_EQ(events[0]->name(), kChildNames[0]);
    EXPECT_EQ(events[3]->name(), kChildNames[3]);
    EXPECT_EQ(events[3]->parameters(), Value(Value::Dictionary{{"voice", "Monster"}, {"take", 3}}));
  }
}

TEST(TallixKillTest, TheNextStartSavesTheKilledSessionAndBeginsANewOne) {
  foundation::TemporaryDirectory directory;
  ASSERT_GT(killChildAfterItsLine(directory.path()), 0);
  const auto killed = currentSessionFileIn(directory.path());
  ASSERT_TRUE(killed);

  foundation::NotificationCenter center;
  TallixEnvironment environment;
  environment.notificationCenter = &center;
  environment.fileDirectory = directory.path();
  TallixAgent agent(std::move(environment));
  agent.setApplication(std::make_shared<TestApplication>(directory.path()));
  agent.startSession(kApiKey);
  ASSERT_TRUE(agent.waitUntilIdle(10s));

  const auto saved = foundation::KeyedUnarchiver::unarchiveValueWithFile(
      pathsIn(directory.path()).savedSessions());
  ASSERT_TRUE(saved && saved->array()) << "no saved sessions after the restart";
  ASSERT_EQ(saved->array()->size(), 1u);
  const auto* record = saved->array()->front().bytes();
  ASSERT_TRUE(record);
  EXPECT_TRUE(recordMentions(*record, kChildNames[3]));

  const auto current = currentSessionFileIn(directory.path());
  ASSERT_TRUE(current) << "the restart left no current session";
  EXPECT_GT(current->fields().startTime, killed->fields().startTime);
  EXPECT_EQ(current->eventLog().countedTotal(), 0);
  EXPECT_NE(agent.getSessionID(), TallixSession::sessionIdFor(killed->fields().startTime));
}

}  // namespace
}  // namespace tallix
