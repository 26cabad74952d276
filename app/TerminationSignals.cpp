#include "app/TerminationSignals.h"

#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>

namespace app {

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};
int wakeUp[2] = {-1, -1};  // the handler writes to [0], the event loop reads [1]

}  // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, wakeUp) != 0)
    return;
  notifier_ = new QSocketNotifier(wakeUp[1], QSocketNotifier::Read, this);
  connect(notifier_, &QSocketNotifier::activated, this, &TerminationSignals::quit);
  struct sigaction action = {};
  action.sa_handler = &TerminationSignals::handle;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (int signal : kSignals)
    ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
  for (int signal : kSignals)
    std::signal(signal, SIG_DFL);
  for (int& end : wakeUp) {
    if (end >= 0)
      ::close(end);
    end = -1;
  }
}

void TerminationSignals::handle(int signal) {
  const char byte = static_cast<char>(signal);
  [[maybe_unused]] const auto written = ::write(wakeUp[0], &byte, 1);
}

void TerminationSignals::quit() {
  char byte;
  while (::read(wakeUp[1], &byte, 1) > 0) {
  }
  QCoreApplication::quit();
}

}  // namespace app
