#pragma once

#include <QObject>

class QSocketNotifier;

namespace app {

// Turns SIGTERM, SIGINT and SIGHUP into an ordinary quit, so a logout or Ctrl-C ends Orvane
// as closing its window does: the analytics session ends and its report goes out. The signal
// handler only writes a byte; the quit happens in the event loop. One per process.
class TerminationSignals : public QObject {
  Q_OBJECT

 public:
  explicit TerminationSignals(QObject* parent = nullptr);
  ~TerminationSignals() override;

 private:
  static void handle(int signal);
  void quit();

  QSocketNotifier* notifier_ = nullptr;
};

}  // namespace app
