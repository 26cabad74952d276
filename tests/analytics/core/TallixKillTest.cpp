// A process killed while it logs: what it logged before the kill is on disk, and the next
// start reports the killed session and begins a new one.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <string_view>
#include <thread>

#include "AgentTestSupport.h"
#include "analytics/core/agent/TallixAgent.h"

extern char** environ;

namespace tallix {
namespace {

using foundation::Value;
using namespace std::chrono_literals;

constexpr const char* kApiKey = "KILL TEST";
constexpr const char* kFileKey = "KILLTEST";
// Sanitized children start slowly; these only bound a wait that normally ends at once.
constexpr auto kLineTimeout = 30s;
constexpr auto kReapTimeout = 10s;

// The child program, killed on the way out should a test stop early.
class LoggingChild {
 public:
  explicit LoggingChild(const std::filesystem::path& directory) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
      return;
    output_ = fds[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    std::string program = TALLIX_KILL_CHILD_PATH;
    std::string directoryArgument = directory.string();
    std::string key = kApiKey;
    char* argv[] = {program.data(), directoryArgument.data(), key.data(), nullptr};
    if (::posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv, environ) != 0)
      pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
  }

  ~LoggingChild() {
    kill();
    if (output_ >= 0)
      ::close(output_);
  }
  LoggingChild(const LoggingChild&) = delete;
  LoggingChild& operator=(const LoggingChild&) = delete;

  bool started() const { return pid_ > 0; }

  // The first line the child writes, or "" when none comes in time.
  std::string readLine() {
    std::string line;
    const auto deadline = std::chrono::steady_clock::now() + kLineTimeout;
    char c = 0;
    while (c != '\n') {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      pollfd ready{output_, POLLIN, 0};
      if (left <= 0ms || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0)
        return "";
      if (::read(output_, &c, 1) != 1)
        return "";
      line += c;
    }
    return line;
  }

  // Kills the child and reaps it; true when it died of the kill, not on its own.
  bool kill() {
    if (pid_ <= 0)
      return false;
    ::kill(pid_, SIGKILL);
    const auto deadline = std::chrono::steady_clock::now() + kReapTimeout;
    int status = 0;
    pid_t reaped = 0;
    while ((reaped = ::waitpid(pid_, &status, WNOHANG)) == 0 &&
           std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(1ms);
    pid_ = -1;
    return reaped > 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

 private:
  pid_t pid_ = -1;
  int output_ = -1;
};

bool recordMentions(const Value& record, std::string_view text) {
  const auto* bytes = record.bytes();
  return bytes &&
         std::search(bytes->begin(), bytes->end(), text.begin(), text.end()) != bytes->end();
}

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
  LoggingChild child(directory);
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
  EXPECT_TRUE(recordMentions(saved->array()->front(), kChildNames[3]));

  const auto current = currentSessionFileIn(directory.path());
  ASSERT_TRUE(current) << "the restart left no current session";
  EXPECT_GT(current->fields().startTime, killed->fields().startTime);
  EXPECT_EQ(current->eventLog().countedTotal(), 0);
  EXPECT_NE(agent.getSessionID(), TallixSession::sessionIdFor(killed->fields().startTime));
}

}  // namespace
}  // namespace tallix
