#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <chrono>

#include "app/ControlConnection.h"

class QLocalServer;

namespace app {

// Keeps Orvane to one instance per user session. A second start hands its messages (the URLs
// it was opened with) to the running instance over a local socket in the user's runtime
// directory, then ends. The same socket answers orvanectl, the command-line remote: a peer that
// opens with the remote's hello is served by the request handler (see ControlConnection).
class SingleInstance : public QObject {
  Q_OBJECT

 public:
  // A peer silent for `idleLimit` is hung up on.
  explicit SingleInstance(QString serverName = defaultServerName(), QObject* parent = nullptr,
                          std::chrono::milliseconds idleLimit = std::chrono::seconds(10));

  // control::InstanceSocket::defaultPath(), where the remote looks too.
  static QString defaultServerName();

  // Carries out the remote's requests; until one is set they are refused.
  void setRequestHandler(ControlConnection::Handler handler) { handler_ = std::move(handler); }

  // True when a running instance took the messages (an empty list just asks it to come
  // forward); this process should then end.
  bool sendToRunningInstance(const QStringList& messages) const;
  // Starts answering later instances, replacing a socket left by one that died. False, with a
  // console line, when that is not possible; Orvane then runs on alone.
  bool listen();

 signals:
  void messagesReceived(const QStringList& messages);

 private:
  void accept();

  QString serverName_;
  QLocalServer* server_;
  std::chrono::milliseconds idleLimit_;
  ControlConnection::Handler handler_;
};

}  // namespace app
