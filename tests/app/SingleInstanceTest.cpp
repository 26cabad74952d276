#include <gtest/gtest.h>

#include <QLocalSocket>
#include <QSignalSpy>
#include <fstream>
#include <memory>
#include <optional>

#include "EventuallyShown.h"
#include "TemporaryDirectory.h"
#include "app/SingleInstance.h"

namespace app {
namespace {

class SingleInstanceTest : public ::testing::Test {
 protected:
  foundation::TemporaryDirectory directory_;
  QString name_ = QString::fromStdString((directory_.path() / "instance").string());
};

TEST_F(SingleInstanceTest, ALaterStartHandsItsAddressesToTheRunningInstance) {
  SingleInstance second(name_);
  EXPECT_FALSE(second.sendToRunningInstance({"orvane://"})) << "nobody is running yet";

  SingleInstance running(name_);
  ASSERT_TRUE(running.listen());
  QSignalSpy received(&running, &SingleInstance::messagesReceived);
  EXPECT_TRUE(second.sendToRunningInstance({"orvane://?a=1", "orvane://?b=2"}));
  ASSERT_TRUE(views::eventuallyShown([&] { return received.count() == 1; }));
  EXPECT_EQ(received.front().front().toStringList(),
            (QStringList{"orvane://?a=1", "orvane://?b=2"}));

  EXPECT_TRUE(second.sendToRunningInstance({}));
  ASSERT_TRUE(views::eventuallyShown([&] { return received.count() == 2; }));
  EXPECT_TRUE(received.back().front().toStringList().isEmpty()) << "a bare start asks to be shown";
}

// A remote as orvanectl is one, driven from the test's thread: every wait runs the event loop,
// which the server shares.
class Remote {
 public:
  explicit Remote(const QString& name) {
    socket_.connectToServer(name);
    socket_.write("ORVANECTL 1\n");
  }
  void send(const QByteArray& bytes) { socket_.write(bytes); }
  // The next line from Orvane, or nothing if none came within the limit.
  std::optional<QByteArray> nextLine(std::chrono::milliseconds limit = std::chrono::seconds(5)) {
    if (!views::eventuallyShown([&] { return socket_.canReadLine(); }, limit))
      return std::nullopt;
    return socket_.readLine().chopped(1);
  }
  bool hungUpOn() {
    return views::eventuallyShown(
        [&] { return socket_.state() == QLocalSocket::UnconnectedState; });
  }

 private:
  QLocalSocket socket_;
};

class RemoteControlTest : public SingleInstanceTest {
 protected:
  using Request = control::ControlProtocol::Request;

  // Status is answered at once; replay only when the test says so, as a slow command would be.
  void SetUp() override {
    ASSERT_TRUE(running_.listen());
    running_.setRequestHandler([this](const Request& request, ControlConnection::Answer answer) {
      if (request.verb == control::ControlProtocol::Verb::Replay)
        heldAnswers_.push_back(std::move(answer));
      else
        answer("OK status of " + std::to_string(++statusCount_));
    });
  }

  SingleInstance running_{name_, nullptr, std::chrono::milliseconds(300)};
  std::vector<ControlConnection::Answer> heldAnswers_;
  int statusCount_ = 0;
};

// One remote waiting on a slow command, then sending a megabyte line, holds up nobody else, and
// its own replies keep the order of its lines.
TEST_F(RemoteControlTest, TwoRemotesAtOnceAreServedApart) {
  Remote slow(name_), quick(name_);
  ASSERT_EQ(slow.nextLine(),
            "ORVANECTL 1 Orvane " + QCoreApplication::applicationVersion().toUtf8());
  ASSERT_TRUE(quick.nextLine());

  slow.send("replay\nstatus\n");
  ASSERT_TRUE(views::eventuallyShown([&] { return heldAnswers_.size() == 1; }));
  quick.send("status\n\xff\n");
  EXPECT_EQ(quick.nextLine(), "OK status of 1");
  EXPECT_EQ(quick.nextLine(), "ERR the line is not UTF-8 text");
  EXPECT_FALSE(slow.nextLine(std::chrono::milliseconds(100))) << "answered before its turn";

  heldAnswers_.front()("OK replaying\nsecond line");
  EXPECT_EQ(slow.nextLine(), "OK replaying second line") << "a reply is one line";
  EXPECT_EQ(slow.nextLine(), "OK status of 2");

  // Just past the limit: a longer one would fill the socket, and Qt's client drops what it has
  // read when its write breaks. The megabyte is the protocol test's.
  slow.send(QByteArray(control::ControlProtocol::kLineLimit + 1, 'x'));
  EXPECT_EQ(slow.nextLine(), "ERR line longer than 65536 bytes");
  EXPECT_TRUE(slow.hungUpOn());
  quick.send("status\n");
  EXPECT_EQ(quick.nextLine(), "OK status of 3");
}

TEST_F(RemoteControlTest, APeerThatNeverSpeaksIsHungUpOnAndDeliversNothing) {
  QSignalSpy received(&running_, &SingleInstance::messagesReceived);
  QLocalSocket silent;
  silent.connectToServer(name_);
  Remote idle(name_);
  ASSERT_TRUE(idle.nextLine());
  EXPECT_TRUE(views::eventuallyShown(
      [&] { return silent.state() == QLocalSocket::UnconnectedState; }, std::chrono::seconds(3)));
  EXPECT_TRUE(idle.hungUpOn()) << "a remote that stops speaking is hung up on too";
  EXPECT_EQ(received.count(), 0);

  EXPECT_TRUE(SingleInstance(name_).sendToRunningInstance({"orvane://?c=3"}))
      << "an older start is still heard";
  ASSERT_TRUE(views::eventuallyShown([&] { return received.count() == 1; }));
  EXPECT_EQ(received.front().front().toStringList(), QStringList{"orvane://?c=3"});
}

// An instance that dies leaves its socket file behind, and nobody answers on it.
TEST_F(SingleInstanceTest, AnUnansweredSocketLeftBehindIsTakenOver) {
  std::ofstream(name_.toStdString()) << "";
  SingleInstance running(name_);
  EXPECT_TRUE(running.listen());
  EXPECT_TRUE(SingleInstance(name_).sendToRunningInstance({"orvane://"}));
}

}  // namespace
}  // namespace app
