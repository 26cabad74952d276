#include <gtest/gtest.h>

#include <QApplication>
#include <string>
#include <vector>

#include "app/ApplicationStateNotifier.h"
#include "foundation/NotificationCenter.h"
#include "tallix/TallixApplication.h"

namespace app {
namespace {

using namespace tallix;

// What the agent would hear, in order.
class ApplicationStateNotifierTest : public ::testing::Test {
 protected:
  ApplicationStateNotifierTest() {
    for (const char* name :
         {kApplicationDidFinishLaunchingNotification, kApplicationWillResignActiveNotification,
          kApplicationWillEnterForegroundNotification, kApplicationDidBecomeActiveNotification,
          kApplicationWillTerminateNotification}) {
      center.addObserver(name, this,
                         [this](const foundation::Notification& n) { heard.push_back(n.name); });
    }
  }

  foundation::NotificationCenter center;
  ApplicationStateNotifier notifier{center, *qApp};
  std::vector<std::string> heard;
};

TEST_F(ApplicationStateNotifierTest, QtStatesBecomeTheAgentsLifecycle) {
  notifier.applicationStateChanged(Qt::ApplicationActive);
  notifier.applicationStateChanged(Qt::ApplicationInactive);
  notifier.applicationStateChanged(Qt::ApplicationHidden);
  notifier.applicationStateChanged(Qt::ApplicationSuspended);
  notifier.applicationStateChanged(Qt::ApplicationActive);
  notifier.applicationStateChanged(Qt::ApplicationActive);
  notifier.aboutToQuit();
  const std::vector<std::string> expected = {
      kApplicationDidBecomeActiveNotification, kApplicationWillResignActiveNotification,
      kApplicationWillEnterForegroundNotification, kApplicationDidBecomeActiveNotification,
      kApplicationWillTerminateNotification};
  // Offscreen, Qt starts inactive: the first change is the activation.
  EXPECT_EQ(heard, expected);
}

TEST_F(ApplicationStateNotifierTest, HiddenToInactiveEntersTheForegroundWithoutBecomingActive) {
  notifier.applicationStateChanged(Qt::ApplicationHidden);
  notifier.applicationStateChanged(Qt::ApplicationInactive);
  EXPECT_EQ(heard, std::vector<std::string>{kApplicationWillEnterForegroundNotification});
  EXPECT_EQ(ApplicationStateNotifier::agentState(Qt::ApplicationSuspended),
            ApplicationState::Background);
}

}  // namespace
}  // namespace app
