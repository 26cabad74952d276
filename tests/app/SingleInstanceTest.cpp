#include <gtest/gtest.h>

#include <QSignalSpy>
#include <fstream>

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

// An instance that dies leaves its socket file behind, and nobody answers on it.
TEST_F(SingleInstanceTest, AnUnansweredSocketLeftBehindIsTakenOver) {
  std::ofstream(name_.toStdString()) << "";
  SingleInstance running(name_);
  EXPECT_TRUE(running.listen());
  EXPECT_TRUE(SingleInstance(name_).sendToRunningInstance({"orvane://"}));
}

}  // namespace
}  // namespace app
