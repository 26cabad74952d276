#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;

namespace app {

// Keeps Orvane to one instance per user session. A second start hands its messages (the URLs
// it was opened with) to the running instance over a local socket in the user's runtime
// directory, then ends.
class SingleInstance : public QObject {
  Q_OBJECT

 public:
  explicit SingleInstance(QString serverName = defaultServerName(), QObject* parent = nullptr);

  // $XDG_RUNTIME_DIR/orvane-instance, or Qt's private runtime directory without one.
  static QString defaultServerName();

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
};

}  // namespace app
