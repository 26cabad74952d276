#include "analytics/core/agent/TallixApplicationStateObserver.h"

#include "analytics/core/agent/TallixAgent.h"
#include "foundation/NotificationCenter.h"
#include "tallix/TallixApplication.h"

namespace tallix {

using foundation::Notification;

TallixApplicationStateObserver::TallixApplicationStateObserver(
    foundation::NotificationCenter& center, TallixAgent& agent)
    : center_(center), agent_(agent) {}

TallixApplicationStateObserver::~TallixApplicationStateObserver() {
  center_.removeObserver(this);
}

void TallixApplicationStateObserver::observeStateChanges() {
  center_.addObserver(kApplicationWillTerminateNotification, this,
                      [this](const Notification&) { agent_.applicationWillTerminate(); });
  center_.addObserver(kApplicationWillResignActiveNotification, this,
                      [this](const Notification&) { agent_.applicationWillResignActive(); });
  center_.addObserver(kApplicationWillEnterForegroundNotification, this,
                      [this](const Notification&) { agent_.applicationWillEnterForeground(); });
  center_.addObserver(kApplicationDidBecomeActiveNotification, this,
                      [this](const Notification&) { agent_.applicationDidBecomeActive(); });
}

void TallixApplicationStateObserver::observeDidFinishLaunching() {
  auto token = std::make_shared<foundation::NotificationCenter::Token>();
  *token =
      center_.addObserver(kApplicationDidFinishLaunchingNotification, this,
                          [this, token](const Notification& notification) {
                            center_.removeObserver(*token);
                            agent_.didFinishLaunchingWithOptionsInBackground(notification.userInfo);
                          });
}

}  // namespace tallix
