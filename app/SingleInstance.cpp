#include "app/SingleInstance.h"

#include <QLocalServer>
#include <QLocalSocket>

#include "control/InstanceSocket.h"
#include "foundation/Console.h"

namespace app {
namespace {

constexpr int kWaitMilliseconds = 1000;

}  // namespace

SingleInstance::SingleInstance(QString serverName, QObject* parent,
                               std::chrono::milliseconds idleLimit)
    : QObject(parent),
      serverName_(std::move(serverName)),
      server_(new QLocalServer(this)),
      idleLimit_(idleLimit) {
  server_->setSocketOptions(QLocalServer::UserAccessOption);
  connect(server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

QString SingleInstance::defaultServerName() {
  return QString::fromStdString(control::InstanceSocket::defaultPath());
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
    auto* connection = new ControlConnection(socket, handler_, idleLimit_, this);
    connect(connection, &ControlConnection::addressesReceived, this,
            &SingleInstance::messagesReceived);
  }
}

}  // namespace app
