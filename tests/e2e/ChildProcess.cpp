#include "ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

extern char** environ;

namespace e2e {
namespace {

using namespace std::chrono_literals;

constexpr auto kStopGrace = 3s;
constexpr auto kPollInterval = 2ms;

// Our environment with the command's variables set on top, as "NAME=value" strings.
std::vector<std::string> environmentFor(const Command& command) {
  std::map<std::string, std::string> variables;
  for (char** entry = environ; *entry; ++entry) {
    const std::string text = *entry;
    const auto equals = text.find('=');
    if (equals != std::string::npos)
      variables[text.substr(0, equals)] = text.substr(equals + 1);
  }
  for (const auto& [name, value] : command.environment)
    variables[name] = value;
  std::vector<std::string> entries;
  for (const auto& [name, value] : variables)
    entries.push_back(name + '=' + value);
  return entries;
}

std::vector<char*> nullTerminated(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  for (auto& string : strings)
    pointers.push_back(string.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::pair<int, int> makePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0)
    throw std::runtime_error(std::string("pipe2: ") + std::strerror(errno));
  return {ends[0], ends[1]};
}

int exitStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// In the child, between fork and exec: only async-signal-safe calls.
[[noreturn]] void becomeCommand(pid_t parent, int outputEnd, int errorEnd, char** arguments,
                                char** environment) {
  ::setpgid(0, 0);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent)
    ::_exit(127);  // the parent died before the line above
  const int nothing = ::open("/dev/null", O_RDONLY);
  ::dup2(nothing, STDIN_FILENO);
  ::dup2(outputEnd, STDOUT_FILENO);
  ::dup2(errorEnd, STDERR_FILENO);
  ::execvpe(arguments[0], arguments, environment);
  const char* reason = std::strerror(errno);
  [[maybe_unused]] auto written = ::write(STDERR_FILENO, reason, std::strlen(reason));
  ::_exit(127);
}

}  // namespace

std::string Command::describe() const {
  std::string text;
  for (const auto& argument : arguments)
    text += (text.empty() ? "" : " ") + argument;
  return text;
}

CapturedStream::CapturedStream(int readEnd) : readEnd_(readEnd), reader_([this] { readToEnd(); }) {}

CapturedStream::~CapturedStream() {
  awaitEnd();
}

void CapturedStream::awaitEnd() {
  if (reader_.joinable())
    reader_.join();
}

void CapturedStream::readToEnd() {
  char chunk[4096];
  for (;;) {
    const ssize_t read = ::read(readEnd_, chunk, sizeof chunk);
    if (read < 0 && errno == EINTR)
      continue;
    if (read <= 0)
      break;
    const auto now = Clock::now();
    std::lock_guard lock(mutex_);
    partialLine_.append(chunk, std::size_t(read));
    for (auto newline = partialLine_.find('\n'); newline != std::string::npos;
         newline = partialLine_.find('\n')) {
      lines_.emplace_back(partialLine_.substr(0, newline), now);
      partialLine_.erase(0, newline + 1);
    }
    arrived_.notify_all();
  }
  ::close(readEnd_);
  std::lock_guard lock(mutex_);
  if (!partialLine_.empty())
    lines_.emplace_back(std::exchange(partialLine_, {}), Clock::now());
  arrived_.notify_all();
}

std::string CapturedStream::text() const {
  std::lock_guard lock(mutex_);
  std::string text;
  for (const auto& [line, arrival] : lines_)
    text += line + '\n';
  return text + partialLine_;
}

std::optional<Clock::time_point> CapturedStream::waitForLine(const std::string& text,
                                                             Clock::time_point since,
                                                             Clock::duration limit) const {
  std::optional<Clock::time_point> found;
  std::unique_lock lock(mutex_);
  arrived_.wait_for(lock, limit, [&] {
    for (const auto& [line, arrival] : lines_) {
      if (arrival >= since && line.find(text) != std::string::npos) {
        found = arrival;
        return true;
      }
    }
    return false;
  });
  return found;
}

std::size_t CapturedStream::countLines(const std::string& text, Clock::time_point since) const {
  std::lock_guard lock(mutex_);
  return std::count_if(lines_.begin(), lines_.end(), [&](const auto& entry) {
    return entry.second >= since && entry.first.find(text) != std::string::npos;
  });
}

ChildProcess::ChildProcess(const Command& command) {
  auto arguments = command.arguments;
  auto environment = environmentFor(command);
  auto argumentPointers = nullTerminated(arguments);
  auto environmentPointers = nullTerminated(environment);
  const auto [outputRead, outputWrite] = makePipe();
  const auto [errorRead, errorWrite] = makePipe();
  const pid_t parent = ::getpid();
  started_ = Clock::now();
  pid_ = ::fork();
  if (pid_ == 0)
    becomeCommand(parent, outputWrite, errorWrite, argumentPointers.data(),
                  environmentPointers.data());
  ::close(outputWrite);
  ::close(errorWrite);
  output_.emplace(outputRead);
  errors_.emplace(errorRead);
  if (pid_ < 0)
    throw std::runtime_error("cannot start " + command.describe() + ": " + std::strerror(errno));
  ::setpgid(pid_, pid_);  // as the child does, so a stop right away reaches the whole group
}

ChildProcess::~ChildProcess() {
  stop();
}

std::string ChildProcess::transcript() const {
  return "--- standard output ---\n" + output_->text() + "--- standard error ---\n" +
         errors_->text() + "---";
}

void ChildProcess::reap(int status) {
  status_ = exitStatus(status);
  output_->awaitEnd();
  errors_->awaitEnd();
}

std::optional<int> ChildProcess::wait(Clock::duration limit) {
  const auto deadline = Clock::now() + limit;
  while (!status_) {
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_)
      reap(status);
    else if (Clock::now() >= deadline)
      break;
    else
      std::this_thread::sleep_for(kPollInterval);
  }
  return status_;
}

void ChildProcess::signal(int number) {
  if (pid_ > 0 && !status_)
    ::kill(pid_, number);
}

void ChildProcess::stop() {
  if (pid_ <= 0 || status_)
    return;
  ::kill(-pid_, SIGTERM);
  if (wait(kStopGrace))
    return;
  ::kill(-pid_, SIGKILL);
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  reap(status);
}

std::string runToEnd(const Command& command, Clock::duration limit) {
  ChildProcess process(command);
  const auto status = process.wait(limit);
  if (!status) {
    process.stop();
    throw std::runtime_error(command.describe() + " did not finish in time\n" +
                             process.transcript());
  }
  if (*status != 0) {
    throw std::runtime_error(command.describe() + " failed with status " + std::to_string(*status) +
                             '\n' + process.transcript());
  }
  return process.output().text();
}

}  // namespace e2e
