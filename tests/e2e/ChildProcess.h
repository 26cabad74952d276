#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace e2e {

using Clock = std::chrono::steady_clock;

// A program to start: its arguments (the first names it) and variables set on top of ours.
struct Command {
  std::vector<std::string> arguments;
  std::map<std::string, std::string> environment;

  std::string describe() const;
};

// What a child writes to one of its streams, read line by line on a thread of its own as it comes,
// each line stamped with its arrival.
class CapturedStream {
 public:
  explicit CapturedStream(int readEnd);
  ~CapturedStream();  // awaits the end
  CapturedStream(const CapturedStream&) = delete;
  CapturedStream& operator=(const CapturedStream&) = delete;

  std::string text() const;
  // Returns once the writer has closed the stream and all it wrote has been read.
  void awaitEnd();
  // When the first line containing `text` that arrived at or after `since` came, waiting up to
  // `limit` for it; nothing if it did not come.
  std::optional<Clock::time_point> waitForLine(const std::string& text, Clock::time_point since,
                                               Clock::duration limit) const;
  // How many lines containing `text` arrived at or after `since`.
  std::size_t countLines(const std::string& text, Clock::time_point since) const;

 private:
  void readToEnd();

  int readEnd_;
  mutable std::mutex mutex_;
  mutable std::condition_variable arrived_;
  std::vector<std::pair<std::string, Clock::time_point>> lines_;
  std::string partialLine_;
  std::thread reader_;
};

// A program running in a process group of its own. It is ended (TERM, then KILL) when this
// object goes, and by the kernel when the process that started it dies, so a crashing test leaves
// nothing behind.
class ChildProcess {
 public:
  explicit ChildProcess(const Command& command);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Taken just before the process was made.
  Clock::time_point started() const { return started_; }
  const CapturedStream& output() const { return *output_; }
  const CapturedStream& errors() const { return *errors_; }
  // Its standard output and error, for a failure message.
  std::string transcript() const;

  // Its exit status once it has ended by itself within `limit` (128 + n for signal n), with all
  // it wrote read.
  std::optional<int> wait(Clock::duration limit);
  // Sends the process, not its group, the signal while it runs.
  void signal(int number);
  // Asks it to end, then makes it; its group goes with it.
  void stop();

 private:
  Clock::time_point started_;
  void reap(int status);

  pid_t pid_ = -1;
  std::optional<int> status_;
  std::optional<CapturedStream> output_;
  std::optional<CapturedStream> errors_;
};

// Runs a command to its end and returns its standard output; one that fails or outlasts `limit`
// throws, with what it wrote.
std::string runToEnd(const Command& command, Clock::duration limit = std::chrono::seconds(20));

}  // namespace e2e
