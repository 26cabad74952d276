#include "app/ControlConnection.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <QPointer>
#include <algorithm>

namespace app {
namespace {

using control::ControlProtocol;

// A peer that sends commands faster than they are carried out, never reading the replies, is
// cut off here rather than left to grow the queue and the socket's write buffer.
constexpr std::size_t kWaitingLimit = 64;
constexpr std::chrono::seconds kFlushLimit{2};

}  // namespace

ControlConnection::ControlConnection(QLocalSocket* socket, Handler handler,
                                     std::chrono::milliseconds idleLimit, QObject* parent)
    : QObject(parent),
      socket_(socket),
      protocol_(QCoreApplication::applicationVersion().toStdString()),
      handler_(std::move(handler)) {
  socket_->setParent(this);
  idle_.setSingleShot(true);
  idle_.setInterval(idleLimit);
  connect(&idle_, &QTimer::timeout, this, [this] { close(false); });
  connect(socket_, &QLocalSocket::readyRead, this, &ControlConnection::readAvailable);
  connect(socket_, &QLocalSocket::disconnected, this, &ControlConnection::peerHungUp);
  idle_.start();
  readAvailable();  // bytes may have come with the connection
}

void ControlConnection::readAvailable() {
  const QByteArray bytes = socket_->readAll();  // read even when closing, so nothing piles up
  if (closing_ || bytes.isEmpty())
    return;
  if (!busy_)
    idle_.start();
  take(protocol_.read(std::string_view(bytes.constData(), std::size_t(bytes.size()))));
}

void ControlConnection::peerHungUp() {
  if (!closing_) {
    readAvailable();
    take(protocol_.finish());
  }
  closing_ = true;
  idle_.stop();
  deleteLater();
}

void ControlConnection::take(std::vector<ControlProtocol::Step> steps) {
  for (auto& step : steps) {
    if (waiting_.size() >= kWaitingLimit) {
      waiting_.clear();
      waiting_.push_back(ControlProtocol::Reply{"ERR too many commands waiting", true});
      break;
    }
    waiting_.push_back(std::move(step));
  }
  advance();
}

void ControlConnection::advance() {
  while (!busy_ && !closing_ && !waiting_.empty()) {
    ControlProtocol::Step step = std::move(waiting_.front());
    waiting_.pop_front();
    if (auto* reply = std::get_if<ControlProtocol::Reply>(&step)) {
      send(reply->line);
      if (reply->close)
        close(true);
    } else if (auto* request = std::get_if<ControlProtocol::Request>(&step)) {
      if (!handler_) {
        send("ERR Orvane is not ready for commands yet");
        continue;
      }
      busy_ = true;
      idle_.stop();
      handler_(*request, [self = QPointer<ControlConnection>(this)](std::string reply) {
        if (self)
          self->answered(std::move(reply));
      });
    } else if (auto* addresses = std::get_if<ControlProtocol::Addresses>(&step)) {
      QStringList list;
      for (const auto& line : addresses->lines)
        list.append(QString::fromUtf8(line.data(), qsizetype(line.size())));
      emit addressesReceived(list);
    } else {
      close(false);
    }
  }
}

void ControlConnection::answered(std::string reply) {
  if (!busy_)
    return;  // a handler that answers twice is heard once
  busy_ = false;
  send(std::move(reply));
  if (!closing_)
    idle_.start();
  advance();
}

// One line each, whatever the handler's text holds.
void ControlConnection::send(std::string line) {
  if (closing_ || socket_->state() != QLocalSocket::ConnectedState)
    return;
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  line += '\n';
  socket_->write(line.data(), qint64(line.size()));
}

// Flushed: the last reply still goes out before the end.
void ControlConnection::close(bool flush) {
  if (closing_)
    return;
  closing_ = true;
  idle_.stop();
  waiting_.clear();
  if (flush) {
    socket_->disconnectFromServer();
    // A peer that never reads would keep the last reply, and this connection, forever.
    QTimer::singleShot(kFlushLimit, socket_, [socket = socket_] { socket->abort(); });
  } else {
    socket_->abort();
  }
  if (socket_->state() == QLocalSocket::UnconnectedState)
    deleteLater();
}

}  // namespace app
