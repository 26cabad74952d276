#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <deque>
#include <functional>
#include <string>

#include "control/ControlProtocol.h"

class QLocalSocket;

namespace app {

// One peer on the single-instance socket, spoken to in the remote-control protocol (see
// control/ControlProtocol.h). Requests are carried out one at a time by the handler; lines that
// arrive meanwhile wait their turn, so replies keep the order of the lines. Everything happens
// on the socket's signals and timers: a slow, silent or misbehaving peer never holds up the
// event loop nor any other peer. The connection deletes itself, with its socket, once closed.
class ControlConnection : public QObject {
  Q_OBJECT

 public:
  // Called on the GUI thread with the reply line ("OK ..." or "ERR ..."), once.
  using Answer = std::function<void(std::string reply)>;
  // Carries out a request and answers it, now or later, on the GUI thread.
  using Handler = std::function<void(const control::ControlProtocol::Request&, Answer)>;

  ControlConnection(QLocalSocket* socket, Handler handler, std::chrono::milliseconds idleLimit,
                    QObject* parent);

 signals:
  // An older start's addresses, once it has hung up (none: it only asks Orvane to come forward).
  void addressesReceived(const QStringList& addresses);

 private:
  void readAvailable();
  void peerHungUp();
  void take(std::vector<control::ControlProtocol::Step> steps);
  void advance();
  void answered(std::string reply);
  void send(std::string line);
  void close(bool flush);

  QLocalSocket* socket_;
  control::ControlProtocol protocol_;
  Handler handler_;
  QTimer idle_;
  std::deque<control::ControlProtocol::Step> waiting_;
  bool busy_ = false;     // a request is being carried out
  bool closing_ = false;  // we ended it: nothing more is read or delivered
};

}  // namespace app
