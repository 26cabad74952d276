// The agent's session saving under load, each measurement in a child process of its own.
//  (a) Events per second recorded through the agent queue while the session keeps being
//      saved. Goal: 50,000 events/s or more.
//  (b) Kills at random moments of a child that logs without pause: every event acknowledged
//      (its logEvent returned) more than 50 ms before the kill must be in the current-session
//      file. Prints the runs, the loss and how far the file lagged behind the kill. Then the
//      same with the child held to the rate of (a)'s goal, to tell a queue that cannot keep
//      up from a saver that is late.
//   agent_persistence [RUNS]
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/support/TallixFilePaths.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedUnarchiver.h"
#include "tests/foundation/TemporaryDirectory.h"

namespace {

using foundation::Value;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr const char* kApiKey = "PERSISTENCE BENCH";
constexpr const char* kFileKey = "PERSISTENCEBENCH";
constexpr auto kSustainedFor = 3s;
constexpr int kBatch = 10000;
constexpr auto kPromise = 50ms;
constexpr auto kEarliestKill = 200ms;
constexpr auto kLatestKill = 1200ms;
// Bounds for waits that normally end at once; a child never outlives the harness by more.
constexpr auto kChildLimit = 30s;
constexpr int kDefaultRuns = 20;
constexpr double kPacedEventsPerSecond = 50000;

std::int64_t nanosecondsOf(Clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

double millisecondsBetween(std::int64_t earlier, std::int64_t later) {
  return static_cast<double>(later - earlier) / 1e6;
}

// A forked copy of this single-threaded harness that runs one body and writes what it has
// to say into a pipe. Killed and reaped at the latest when this object goes.
class ForkedChild {
 public:
  using Body = std::function<void(int output)>;

  explicit ForkedChild(const Body& body) {
    int fds[2];
    if (::pipe(fds) != 0)
      return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::close(fds[0]);
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      tallix::TallixLog::setLogLevel(0);
      body(fds[1]);
      ::_exit(0);
    }
    ::close(fds[1]);
    output_ = fds[0];
  }
  ~ForkedChild() {
    kill();
    if (output_ >= 0)
      ::close(output_);
  }
  ForkedChild(const ForkedChild&) = delete;
  ForkedChild& operator=(const ForkedChild&) = delete;

  // Whatever arrives up to the deadline, in one piece; empty at end of file or on timeout.
  std::vector<char> read(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd ready{output_, POLLIN, 0};
    if (left <= 0ms || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0)
      return {};
    std::vector<char> chunk(1 << 16);
    const ssize_t size = ::read(output_, chunk.data(), chunk.size());
    chunk.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return chunk;
  }

  void kill() {
    if (pid_ <= 0)
      return;
    ::kill(pid_, SIGKILL);
    reap();
  }
  // True when the child ended by itself and with success.
  bool reap() {
    const auto deadline = Clock::now() + kChildLimit;
    int status = 0;
    pid_t reaped = 0;
    while ((reaped = ::waitpid(pid_, &status, WNOHANG)) == 0 && Clock::now() < deadline)
      std::this_thread::sleep_for(1ms);
    pid_ = -1;
    return reaped > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

 private:
  pid_t pid_ = -1;
  int output_ = -1;
};

// An agent over the given directory with its session started and on disk.
std::unique_ptr<tallix::TallixAgent> startedAgent(const std::filesystem::path& directory) {
  tallix::TallixEnvironment environment;
  environment.fileDirectory = directory;
  auto agent = std::make_unique<tallix::TallixAgent>(std::move(environment));
  agent->startSession(kApiKey);
  agent->waitUntilIdle(10s);
  return agent;
}

// Four names in turn, one in four with parameters, as an application would log them.
void logNumbered(tallix::TallixAgent& agent, std::int64_t number) {
  static const Value names[] = {"talk.pressed", "talk.released", "route.changed", "voice.chosen"};
  static const Value parameters(Value::Dictionary{{"voice", "Monster"}, {"tone", true}});
  agent.logEvent(names[number % 4], number % 4 == 3 ? parameters : Value(), false);
}

bool writeAll(int output, const void* data, std::size_t size) {
  return ::write(output, data, size) == static_cast<ssize_t>(size);
}

// (a) -------------------------------------------------------------------------------------

struct SustainedFigures {
  std::int64_t events = 0;
  double seconds = 0;
  std::uintmax_t sessionFileBytes = 0;
};

// Batches that wait for the queue to drain and the session to be saved: the rate is what the
// queue completes, not what it merely accepts.
void recordSustained(const std::filesystem::path& directory, int output) {
  auto agent = startedAgent(directory);
  SustainedFigures figures;
  const auto start = Clock::now();
  while (Clock::now() - start < kSustainedFor) {
    for (int i = 0; i < kBatch; ++i)
      logNumbered(*agent, figures.events++);
    agent->waitUntilIdle(kChildLimit);
  }
  figures.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::error_code ignored;
  figures.sessionFileBytes = std::filesystem::file_size(
      tallix::TallixFilePaths(directory, kFileKey).currentSession(), ignored);
  writeAll(output, &figures, sizeof figures);
}

bool measureSustainedRecording() {
  foundation::TemporaryDirectory directory;
  ForkedChild child([&](int output) { recordSustained(directory.path(), output); });
  SustainedFigures figures;
  const auto answer = child.read(Clock::now() + kChildLimit);
  if (answer.size() != sizeof figures || !child.reap()) {
    std::printf("(a) sustained recording: the child gave no figures\n");
    return false;
  }
  std::memcpy(&figures, answer.data(), sizeof figures);
  const double rate = static_cast<double>(figures.events) / figures.seconds;
  std::printf(
      "(a) sustained recording with saving: %.0f events/s (%lld events in %.2f s, batches of "
      "%d, session file %ju bytes)  goal >= 50000: %s\n",
      rate, static_cast<long long>(figures.events), figures.seconds, kBatch,
      figures.sessionFileBytes, rate >= 50000 ? "met" : "MISSED");
  return rate >= 50000;
}

// (b) -------------------------------------------------------------------------------------

// One acknowledged event: how many logEvent calls had returned, and when.
struct Acknowledgement {
  std::int64_t count;
  std::int64_t nanoseconds;
};

// Holds a child to an average rate; a rate of 0 lets it go flat out.
class Pace {
 public:
  explicit Pace(double eventsPerSecond) : eventsPerSecond_(eventsPerSecond) {}
  void waitForTurn(std::int64_t event) const {
    if (eventsPerSecond_ <= 0)
      return;
    const auto due = start_ + std::chrono::duration_cast<Clock::duration>(
                                  std::chrono::duration<double>(event / eventsPerSecond_));
    std::this_thread::sleep_until(due);
  }

 private:
  const double eventsPerSecond_;
  const Clock::time_point start_ = Clock::now();
};

[[noreturn]] void logAndAcknowledge(const std::filesystem::path& directory, double eventsPerSecond,
                                    int output) {
  auto agent = startedAgent(directory);
  const Pace pace(eventsPerSecond);
  const auto giveUpAt = Clock::now() + kChildLimit;
  for (std::int64_t count = 1; Clock::now() < giveUpAt; ++count) {
    pace.waitForTurn(count);
    logNumbered(*agent, count - 1);
    const Acknowledgement acknowledged{count, nanosecondsOf(Clock::now())};
    if (!writeAll(output, &acknowledged, sizeof acknowledged))
      break;
  }
  ::_exit(1);
}

// The acknowledgements as they arrive; pipe reads may split one in two.
class AcknowledgementReader {
 public:
  explicit AcknowledgementReader(ForkedChild& child) : child_(child) {}

  // False at end of file or when the deadline passes with nothing read.
  bool readUntil(Clock::time_point deadline) {
    const auto chunk = child_.read(deadline);
    bytes_.insert(bytes_.end(), chunk.begin(), chunk.end());
    const std::size_t whole = bytes_.size() / sizeof(Acknowledgement);
    const std::size_t first = acknowledged_.size();
    acknowledged_.resize(whole);
    std::memcpy(acknowledged_.data() + first, bytes_.data() + first * sizeof(Acknowledgement),
                (whole - first) * sizeof(Acknowledgement));
    return !chunk.empty();
  }
  const std::vector<Acknowledgement>& acknowledged() const { return acknowledged_; }

 private:
  ForkedChild& child_;
  std::vector<char> bytes_;
  std::vector<Acknowledgement> acknowledged_;
};

struct KillRun {
  std::int64_t acknowledged = 0;  // by the kill
  std::int64_t promised = 0;      // acknowledged more than 50 ms before the kill
  std::int64_t onDisk = 0;
  double windowMs = 0;  // the kill minus the acknowledgement of the last event on disk
  double eventsPerSecond = 0;
};

std::int64_t eventsOnDisk(const std::filesystem::path& directory) {
  const auto session = foundation::KeyedUnarchiver::unarchiveObjectWithFile<tallix::TallixSession>(
      tallix::TallixFilePaths(directory, kFileKey).currentSession());
  return session ? session->eventLog().countedTotal() : 0;
}

KillRun judge(const std::vector<Acknowledgement>& acknowledged, std::int64_t killedAt,
              std::int64_t onDisk) {
  KillRun run;
  run.onDisk = onDisk;
  run.acknowledged = acknowledged.back().count;
  const std::int64_t promiseLine = killedAt - std::chrono::nanoseconds(kPromise).count();
  for (const auto& each : acknowledged) {
    if (each.nanoseconds <= promiseLine)
      run.promised = each.count;
  }
  // Counts run 1, 2, 3...: the n-th acknowledgement is event n. An event on disk that was
  // never acknowledged was at most as old as the last acknowledgement.
  const auto& last = acknowledged[std::clamp<std::int64_t>(onDisk, 1, run.acknowledged) - 1];
  run.windowMs = millisecondsBetween(last.nanoseconds, killedAt);
  run.eventsPerSecond = static_cast<double>(run.acknowledged) /
                        (millisecondsBetween(acknowledged.front().nanoseconds, killedAt) / 1e3);
  return run;
}

std::optional<KillRun> killAtRandom(std::mt19937& random, double eventsPerSecond) {
  foundation::TemporaryDirectory directory;
  ForkedChild child(
      [&](int output) { logAndAcknowledge(directory.path(), eventsPerSecond, output); });
  AcknowledgementReader reader(child);
  while (reader.acknowledged().empty() && reader.readUntil(Clock::now() + kChildLimit)) {
  }
  if (reader.acknowledged().empty())
    return std::nullopt;
  std::uniform_int_distribution<std::int64_t> delay(
      std::chrono::microseconds(kEarliestKill).count(),
      std::chrono::microseconds(kLatestKill).count());
  const auto killAt = Clock::now() + std::chrono::microseconds(delay(random));
  while (Clock::now() < killAt)
    reader.readUntil(killAt);
  const std::int64_t killedAt = nanosecondsOf(Clock::now());
  child.kill();
  // What the child wrote before it died is still in the pipe.
  while (reader.readUntil(Clock::now() + 1s)) {
  }
  return judge(reader.acknowledged(), killedAt, eventsOnDisk(directory.path()));
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

bool measureKillsWithoutLoss(int runs, double eventsPerSecond) {
  const std::string pace = eventsPerSecond > 0
                               ? "at " + std::to_string(static_cast<int>(eventsPerSecond)) + "/s"
                               : "flat out";
  std::mt19937 random(std::random_device{}());
  std::vector<double> windows;
  std::vector<double> rates;
  std::int64_t lostEvents = 0;
  int runsWithLoss = 0;
  for (int i = 0; i < runs; ++i) {
    const auto run = killAtRandom(random, eventsPerSecond);
    if (!run) {
      std::printf("(b) run %d: the child never acknowledged an event\n", i + 1);
      return false;
    }
    const std::int64_t lost = std::max<std::int64_t>(0, run->promised - run->onDisk);
    std::printf(
        "(b) run %2d: acknowledged %8lld  promised %8lld  on disk %8lld  window %7.1f ms%s\n",
        i + 1, static_cast<long long>(run->acknowledged), static_cast<long long>(run->promised),
        static_cast<long long>(run->onDisk), run->windowMs, lost ? "  LOSS" : "");
    windows.push_back(run->windowMs);
    rates.push_back(run->eventsPerSecond);
    lostEvents += lost;
    runsWithLoss += lost > 0;
  }
  std::printf(
      "(b) %d kills, logging %s: window median %.1f ms, worst %.1f ms; logging at a median %.0f "
      "events/s; "
      "loss: %lld events in %d runs  goal none: %s\n",
      runs, pace.c_str(), median(windows), *std::max_element(windows.begin(), windows.end()),
      median(rates), static_cast<long long>(lostEvents), runsWithLoss,
      runsWithLoss ? "MISSED" : "met");
  return runsWithLoss == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : kDefaultRuns;
  const bool sustained = measureSustainedRecording();
  const bool noLossFlatOut = measureKillsWithoutLoss(runs, 0);
  const bool noLossPaced = measureKillsWithoutLoss(runs, kPacedEventsPerSecond);
  return sustained && noLossFlatOut && noLossPaced ? 0 : 1;
}
