#include "companion/ControlClient.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "control/ControlProtocol.h"

namespace companion {
namespace {

using Clock = std::chrono::steady_clock;
using control::ControlProtocol;

struct Failure {
  ControlClient::Outcome outcome;
  std::string text;
};

// A connected socket that closes itself; every read and write waits no longer than `deadline`.
class Connection {
 public:
  Connection(const std::string& path, Clock::time_point deadline) : deadline_(deadline) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
      throw Failure{ControlClient::Outcome::NotRunning, "the socket path is too long: " + path};
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor_ < 0)
      throw Failure{ControlClient::Outcome::Broken, std::strerror(errno)};
    if (::connect(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
      return;
    if (errno == ENOENT || errno == ECONNREFUSED)
      throw Failure{ControlClient::Outcome::NotRunning,
                    "Orvane is not running (nothing answers at " + path + ")"};
    if (errno != EINPROGRESS && errno != EAGAIN)
      throw Failure{ControlClient::Outcome::Broken,
                    "cannot reach Orvane: " + std::string(std::strerror(errno))};
    await(POLLOUT);
  }
  ~Connection() { ::close(descriptor_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void writeLine(std::string line) {
    line += '\n';
    std::size_t sent = 0;
    while (sent < line.size()) {
      await(POLLOUT);
      const auto wrote = ::send(descriptor_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
      if (wrote < 0 && errno != EAGAIN && errno != EINTR)
        broken("the connection to Orvane broke: " + std::string(std::strerror(errno)));
      sent += wrote > 0 ? std::size_t(wrote) : 0;
    }
  }

  std::string readLine() {
    for (;;) {
      if (const auto end = pending_.find('\n'); end != std::string::npos) {
        std::string line = pending_.substr(0, end);
        pending_.erase(0, end + 1);
        return line;
      }
      if (pending_.size() > ControlProtocol::kLineLimit)
        broken("Orvane's answer is too long");
      await(POLLIN);
      char buffer[4096];
      const auto got = ::recv(descriptor_, buffer, sizeof buffer, 0);
      if (got == 0)
        broken("Orvane closed the connection without an answer");
      if (got < 0 && errno != EAGAIN && errno != EINTR)
        broken("the connection to Orvane broke: " + std::string(std::strerror(errno)));
      if (got > 0)
        pending_.append(buffer, std::size_t(got));
    }
  }

 private:
  [[noreturn]] static void broken(std::string text) {
    throw Failure{ControlClient::Outcome::Broken, std::move(text)};
  }

  void await(short events) {
    for (;;) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now());
      if (left.count() <= 0)
        broken("Orvane did not answer in time");
      pollfd waiting{descriptor_, events, 0};
      const int ready = ::poll(&waiting, 1, int(left.count()));
      if (ready > 0) {
        int error = 0;
        socklen_t size = sizeof error;
        ::getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &size);
        if (error == ECONNREFUSED)
          throw Failure{ControlClient::Outcome::NotRunning, "Orvane is not running"};
        if (error != 0)
          broken("cannot reach Orvane: " + std::string(std::strerror(error)));
        return;
      }
      if (ready < 0 && errno != EINTR)
        broken(std::string("cannot wait for Orvane: ") + std::strerror(errno));
    }
  }

  int descriptor_ = -1;
  Clock::time_point deadline_;
  std::string pending_;
};

bool startsWith(const std::string& text, std::string_view prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

ControlClient::ControlClient(std::string socketPath, std::chrono::milliseconds limit)
    : socketPath_(std::move(socketPath)), limit_(limit) {}

ControlClient::Result ControlClient::send(const std::string& line) const {
  try {
    Connection connection(socketPath_, Clock::now() + limit_);
    connection.writeLine(ControlProtocol::hello());
    const std::string hello = connection.readLine();
    if (startsWith(hello, "ERR "))
      return {Outcome::Refused, "Orvane refused the connection: " + hello.substr(4)};
    if (!startsWith(hello, ControlProtocol::hello() + ' '))
      return {Outcome::Broken, "something other than Orvane answered: " + hello};
    connection.writeLine(line);
    const std::string reply = connection.readLine();
    if (reply == "OK" || startsWith(reply, "OK "))
      return {Outcome::Done, reply.size() > 3 ? reply.substr(3) : std::string()};
    if (startsWith(reply, "ERR "))
      return {Outcome::Refused, reply.substr(4)};
    return {Outcome::Broken, "Orvane's answer makes no sense: " + reply};
  } catch (const Failure& failure) {
    return {failure.outcome, failure.text};
  }
}

}  // namespace companion
