#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

// A child program whose first line of standard output the test reads, killed with SIGKILL
// when the test says so, or on the way out should the test stop early.
class SpawnedChild {
 public:
  // Sanitized children start slowly; these only bound a wait that normally ends at once.
  static constexpr auto kLineTimeout = std::chrono::seconds(30);
  static constexpr auto kReapTimeout = std::chrono::seconds(10);

  explicit SpawnedChild(std::vector<std::string> arguments) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
      return;
    output_ = fds[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    std::vector<char*> argv;
    for (auto& argument : arguments)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0)
      pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
  }

  ~SpawnedChild() {
    kill();
    if (output_ >= 0)
      ::close(output_);
  }
  SpawnedChild(const SpawnedChild&) = delete;
  SpawnedChild& operator=(const SpawnedChild&) = delete;

  bool started() const { return pid_ > 0; }

  // The first line the child writes, or "" when none comes in time.
  std::string readLine() {
    using namespace std::chrono;
    std::string line;
    const auto deadline = steady_clock::now() + kLineTimeout;
    char c = 0;
    while (c != '\n') {
      const auto left = duration_cast<milliseconds>(deadline - steady_clock::now());
      pollfd ready{output_, POLLIN, 0};
      if (left <= milliseconds(0) || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0)
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
    const int status = reap();
    return status >= 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

  // Waits for the child to end by itself; its wait status, or -1 when it does not in time
  // (it is then killed).
  int waitForExit() {
    const int status = reap();
    if (status < 0)
      kill();
    return status;
  }

 private:
  int reap() {
    if (pid_ <= 0)
      return -1;
    const auto deadline = std::chrono::steady_clock::now() + kReapTimeout;
    int status = 0;
    pid_t reaped = 0;
    while ((reaped = ::waitpid(pid_, &status, WNOHANG)) == 0 &&
           std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (reaped <= 0)
      return -1;
    pid_ = -1;
    return status;
  }

  pid_t pid_ = -1;
  int output_ = -1;
};
