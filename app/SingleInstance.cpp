#include "app/SingleInstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <memory>

#include "foundation/Console.h"

namespace app {
namespace {

constexpr int kWaitMilliseconds = 1000;
// URLs are short; a peer sending more than this is not an Orvane.
constexpr qint64 kMessageLimitBytes = 64 * 1024;

}  // namespace

SingleInstance::SingleInstance(QString serverName, QObject* parent)
    : QObject(parent), serverName_(std::move(serverName)), server_(new QLocalServer(this)) {
  server_->setSocketOptions(QLocalServer::UserAccessOption);
  connect(server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

QString SingleInstance::defaultServerName() {
  QString directory = qEnvironmentVariable("XDG_RUNTIME_DIR");
  if (directory.isEmpty())
    directory = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
  return QDir(directory).filePath(QStringLiteral("orvane-instance"));
}

bool SingleInstance::sendToRunningInstance(const QStringList& messages) const {
  QLocalSocket socket;
  socket.connectToServer(serverName_);
  if (!socket.waitForConnected(kWaitMilliseconds))
    return false;
  for (const QString& message : messages)
    socket.write(message.toUtf8() + '\n');
  socket.flush();
  socket.disconnectFromServer();
  return socket.state() == QLocalSocket::UnconnectedState ||
         socket.waitForDisconnected(kWaitMilliseconds);
}

bool SingleInstance::listen() {
  if (server_->listen(serverName_))
    return true;
  // Nobody answered on it (sendToRunningInstance came first), so the socket is a leftover.
  if (server_->serverError() == QAbstractSocket::AddressInUseError) {
    QLocalServer::removeServer(serverName_);
    if (server_->listen(serverName_))
      return true;
  }
  foundation::Console::line("Cannot keep Orvane to one instance: " +
                            server_->errorString().toStdString());
  return false;
}

void SingleInstance::accept() {
  while (QLocalSocket* socket = server_->nextPendingConnection()) {
    auto received = std::make_shared<QByteArray>();
    connect(socket, &QLocalSocket::readyRead, this, [socket, received] {
      received->append(socket->readAll());
      if (received->size() > kMessageLimitBytes)
        socket->abort();
    });
    connect(socket, &QLocalSocket::disconnected, this, [this, socket, received] {
      received->append(socket->readAll());
      socket->deleteLater();
      if (received->size() > kMessageLimitBytes)
        return;
      QStringList messages;
      for (const QByteArray& line : received->split('\n')) {
        if (!line.isEmpty())
          messages.append(QString::fromUtf8(line));
      }
      emit messagesReceived(messages);
    });
  }
}

}  // namespace app
